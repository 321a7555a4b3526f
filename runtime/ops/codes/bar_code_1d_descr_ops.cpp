// Linear code descriptions: making them, and decoding or discretising
// element widths with them.
#include <cmath>
#include <cstring>

#include "ops/codes/code_type_input.h"
#include "ops/codes/linear_descr_reading.h"
#include "ops/measure/measure_params.h"
#include "registry.h"

namespace vexa {
namespace {

// Element widths at `par` (pixels, each positive and finite) and the
// description at `par + 1`.
Vresult InpElementsAndDescr(const OpContext& ctx, int par, std::vector<double>* widths,
                            LinearDescr* d) {
  Vresult rc = ctx.GetDoubles(par, *widths);
  if (rc != VRESULT_OK) return rc;
  for (double w : *widths)
    if (!(w > 0 && std::isfinite(w))) return VERR_CTRL_VALUE(par);
  return InpLinearDescr(ctx, par + 1, d);
}

// Whether a decoded code of this type had its check character verified:
// EAN, UPC, Code 128, Code 93 and GS1 DataBar always carry one, Code 39
// and 2/5 Interleaved only when the description asks for it.
bool CheckVerified(const CodeHit& hit, const LinearDescr& d) {
  using ZXing::BarcodeFormat;
  if (hit.format == BarcodeFormat::Code39 || hit.format == BarcodeFormat::ITF)
    return d.check_present;
  return hit.format != BarcodeFormat::Codabar;
}

}  // namespace

VEXA_OPERATOR(gen_1d_bar_code_descr) {
  LinearDescr d;
  std::vector<int> types;
  Vresult rc = InpBarCodeTypes(ctx, 0, false, &types);
  if (rc == VRESULT_OK && types.size() != 1) rc = VERR_CTRL_NUM(0);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &d.min_length);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &d.max_length);
  if (rc != VRESULT_OK) return rc;
  d.types = types;
  d.elements_per_char = ElementsPerChar(types.front());
  return OutpLinearDescr(ctx, 0, 1, d);
}

VEXA_OPERATOR(gen_1d_bar_code_descr_gen) {
  static const char* const kChecks[] = {"absent", "present"};
  LinearDescr d;
  d.generic = true;
  Vlong min_element = 0, max_element = 0;
  int check = 0;
  Vresult rc = ctx.GetLong(0, &d.min_length);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &d.max_length);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &min_element);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &max_element);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &d.elements_per_char);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 5, &d.tolerance);
  if (rc == VRESULT_OK) rc = InpChoice(ctx, 6, kChecks, 2, &check);
  if (rc != VRESULT_OK) return rc;
  d.min_element = static_cast<double>(min_element), d.max_element = static_cast<double>(max_element);
  d.types = TypesWithElementsPerChar(d.elements_per_char);
  d.check_present = check == 1;
  return OutpLinearDescr(ctx, 0, 0, d);
}

// The decoded string, its bytes (check characters included) and whether a
// check character was verified ("correct" or "not checked").
VEXA_OPERATOR(decode_1d_bar_code) {
  std::vector<double> widths;
  LinearDescr d;
  Vresult rc = InpElementsAndDescr(ctx, 0, &widths, &d);
  if (rc != VRESULT_OK) return rc;
  CodeHit hit;
  if (!DecodeElements(widths, d, LinearDescrParams(d), &hit)) return VERR_CODE_UNREADABLE;
  CtrlValues bytes;
  for (uint8_t b : hit.bytes) bytes.Add(static_cast<Vlong>(b));
  rc = ctx.SetOutpString(0, hit.text.c_str());
  if (rc == VRESULT_OK) rc = ctx.SetOutpValues(1, bytes);
  if (rc == VRESULT_OK) rc = ctx.SetOutpString(2, CheckVerified(hit, d) ? "correct" : "not checked");
  return rc;
}

// Each element as a whole number of modules (at least 1);
// VERR_CODE_UNREADABLE when one deviates from it by more than the
// description's element tolerance.
VEXA_OPERATOR(discrete_1d_bar_code) {
  std::vector<double> widths;
  LinearDescr d;
  const Vresult rc = InpElementsAndDescr(ctx, 0, &widths, &d);
  if (rc != VRESULT_OK) return rc;
  const int total = d.types.size() == 1 ? TotalModules(d.types.front(), widths.size()) : 0;
  const double module = ModuleWidth(widths, total);
  std::vector<Vlong> modules;
  for (double w : widths) {
    const double m = w / module;
    const double whole = std::max(1.0, std::round(m));
    if (std::fabs(m - whole) > d.tolerance) return VERR_CODE_UNREADABLE;
    modules.push_back(static_cast<Vlong>(whole));
  }
  return ctx.SetOutpLongs(0, modules);
}

}  // namespace vexa
