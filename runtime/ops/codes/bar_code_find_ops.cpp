// Reading linear codes with a bar code model, and querying what the last
// search found.
#include <cmath>
#include <cstring>

#include "ops/codes/bar_code_model.h"
#include "ops/codes/code_objects.h"
#include "ops/codes/code_type_input.h"
#include "ops/measure/measure_params.h"
#include "registry.h"

namespace vexa {
namespace {

// Keeps the decoded codes that pass the model's filters (all hits stay
// candidates) and writes their strings to output control 0.
Vresult StoreBarCodes(OpContext& ctx, BarCodeModel* model, const CodeImage& image,
                      const BarCodeParamValues& params, const std::vector<int>& types,
                      std::vector<CodeHit> hits, std::vector<CodeHit>* decoded) {
  *decoded = FilterBarCodes(hits, params, types);
  std::vector<std::string> strings;
  for (const CodeHit& hit : *decoded) strings.push_back(hit.text);
  model->results().Set(CodeResults{image, *decoded, std::move(hits), {}});
  return ctx.SetOutpStrings(0, strings);
}

// A half length of the rectangle: positive and no longer than the
// half the searched area's width and height together (its diagonal at
// most; the rest would be border).
Vresult InpHalfLength(const OpContext& ctx, int par, const CodeImage& image, double* v) {
  const Vresult rc = InpFinite(ctx, par, v);
  if (rc != VRESULT_OK) return rc;
  return *v > 0 && *v <= (image.width + image.height) / 2.0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

}  // namespace

VEXA_OPERATOR(find_bar_code) {
  std::shared_ptr<BarCodeModel> model;
  CodeImage image;
  std::vector<int> types;
  Vresult rc = InpCodeImage(ctx, 1, &image);
  if (rc == VRESULT_OK) rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = InpBarCodeTypes(ctx, 1, true, &types);
  if (rc != VRESULT_OK) return rc;
  const BarCodeParamValues params = model->Params();
  std::vector<CodeHit> decoded;
  rc = StoreBarCodes(ctx, model.get(), image, params, types,
                     ReadCodes(image, BarCodeReadOptions(params, types)), &decoded);
  NewKeys regions;
  for (size_t i = 0; rc == VRESULT_OK && i < decoded.size(); ++i)
    rc = AddSymbolRegion(decoded[i], &regions);
  return rc == VRESULT_OK ? regions.HandOver(ctx, 1) : rc;
}

VEXA_OPERATOR(decode_bar_code_rectangle2) {
  std::shared_ptr<BarCodeModel> model;
  CodeImage image;
  std::vector<int> types;
  double row = 0, col = 0, phi = 0, len1 = 0, len2 = 0;
  Vresult rc = InpCodeImage(ctx, 1, &image);
  if (rc == VRESULT_OK) rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = InpBarCodeTypes(ctx, 1, true, &types);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 2, &row);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 3, &col);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 4, &phi);
  if (rc == VRESULT_OK) rc = InpHalfLength(ctx, 5, image, &len1);
  if (rc == VRESULT_OK) rc = InpHalfLength(ctx, 6, image, &len2);
  if (rc != VRESULT_OK) return rc;
  const BarCodeParamValues params = model->Params();
  std::vector<CodeHit> decoded;
  return StoreBarCodes(ctx, model.get(), image, params, types,
                       ReadCodesInRectangle(image, BarCodeReadOptions(params, types), row, col,
                                            std::remainder(phi, 2 * M_PI), len1, len2),
                       &decoded);
}

// Per decoded code: "decoded_strings", "decoded_types", "orientation"
// (degrees), "decoded_reference" (the bytes of the content, check
// characters included, as integers). A print quality grade
// ("quality_isoiec15416") is not measured: VERR_CODE_RESULT_NA.
VEXA_OPERATOR(get_bar_code_result) {
  static const char* const kNames[] = {"decoded_strings", "decoded_types", "orientation",
                                       "decoded_reference"};
  std::shared_ptr<BarCodeModel> model;
  const char* name = nullptr;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &name);
  if (rc != VRESULT_OK) return rc;
  int which = 0;
  while (which < 4 && std::strcmp(kNames[which], name) != 0) ++which;
  if (std::strcmp(name, "quality_isoiec15416") == 0) return VERR_CODE_RESULT_NA;
  if (which == 4) return VERR_CTRL_VALUE(2);
  const CodeResults results = model->results().Get();
  std::vector<size_t> indices;
  rc = InpResultIndices(ctx, 1, results.decoded.size(), "all", &indices);
  if (rc != VRESULT_OK) return rc;
  CtrlValues out;
  for (size_t i : indices) {
    const CodeHit& hit = results.decoded[i];
    if (which == 0) out.Add(hit.text);
    if (which == 1) out.Add(SymbologyName(hit.format));
    if (which == 2) out.Add(hit.Orientation() * 180 / M_PI);
    if (which == 3)
      for (uint8_t b : hit.bytes) out.Add(static_cast<Vlong>(b));
  }
  return ctx.SetOutpValues(0, out);
}

// "symbol_regions": the decoded codes; "candidate_regions": every symbol
// the last search saw, decoded or not.
VEXA_OPERATOR(get_bar_code_object) {
  std::shared_ptr<BarCodeModel> model;
  const char* name = nullptr;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &name);
  if (rc != VRESULT_OK) return rc;
  const bool symbols = std::strcmp(name, "symbol_regions") == 0;
  if (!symbols && std::strcmp(name, "candidate_regions") != 0) return VERR_CTRL_VALUE(2);
  const CodeResults results = model->results().Get();
  const std::vector<CodeHit>& hits = symbols ? results.decoded : results.candidates;
  std::vector<size_t> indices;
  rc = InpResultIndices(ctx, 1, hits.size(), "all", &indices);
  NewKeys regions;
  for (size_t k = 0; rc == VRESULT_OK && k < indices.size(); ++k)
    rc = AddSymbolRegion(hits[indices[k]], &regions);
  return rc == VRESULT_OK ? regions.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
