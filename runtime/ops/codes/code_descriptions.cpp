#include "ops/codes/code_descriptions.h"

#include <cmath>
#include <cstring>

namespace vexa {
namespace {

constexpr const char* kLinearTag = "bar_code_1d_descr";
constexpr const char* kMatrixTag = "bar_code_2d_descr";
constexpr const char* kGeneric = "generic";
constexpr int kLinearFields = 9, kMatrixFields = 4;
constexpr double kLargestElement = 1000;  // pixels; larger symbols do not fit an image

// Per linear type, in the order of kBarCodeTypes: EAN/UPC digits are two
// bars and two spaces; Code 39 and Codabar characters are followed by a
// gap; 2/5 Interleaved characters come in pairs of five bars and five
// spaces; GS1 DataBar characters have four of each.
const int kElementsPerChar[kNumBarCodeTypes] = {4, 4, 4, 4, 6, 10, 6, 8, 10, 8, 8};

enum Field { kTag, kType, kMinLength, kMaxLength, kMinElement, kMaxElement, kPerChar, kTolerance,
             kCheck };

bool IsString(const Vcpar& v, const char** s) {
  if (v.type != VPAR_STRING) return false;
  *s = v.par.s;
  return true;
}

bool IsLong(const Vcpar& v, Vlong* l) {
  if (v.type != VPAR_LONG) return false;
  *l = v.par.l;
  return true;
}

bool IsNumber(const Vcpar& v, double* d) {
  if (v.type == VPAR_LONG) return *d = static_cast<double>(v.par.l), true;
  if (v.type == VPAR_DOUBLE) return *d = v.par.d, std::isfinite(v.par.d);
  return false;
}

// Which field of a linear description is out of range (-1: none).
int BadLinearField(const LinearDescr& d) {
  if (d.types.empty()) return kPerChar;
  if (d.min_length < 0 || d.min_length > 10000) return kMinLength;
  if (d.max_length < 0 || d.max_length > 10000 || (d.max_length > 0 && d.max_length < d.min_length))
    return kMaxLength;
  if (!(d.min_element > 0 && d.min_element <= kLargestElement)) return kMinElement;
  if (!(d.max_element >= d.min_element && d.max_element <= kLargestElement)) return kMaxElement;
  if (d.elements_per_char < 1 || d.elements_per_char > 64) return kPerChar;
  if (!(d.tolerance >= 0 && d.tolerance <= 0.5)) return kTolerance;
  return -1;
}

}  // namespace

int ElementsPerChar(int type) { return kElementsPerChar[type]; }

int TotalModules(int type, size_t num_elements) {
  // Elements and modules of EAN-13, EAN-8, UPC-A, UPC-E (guards included).
  const size_t kElements[4] = {59, 43, 59, 33};
  const int kModules[4] = {95, 67, 95, 51};
  return type < 4 && num_elements == kElements[type] ? kModules[type] : 0;
}

std::vector<int> TypesWithElementsPerChar(Vlong n) {
  std::vector<int> types;
  for (int t = 0; t < kNumBarCodeTypes; ++t)
    if (kElementsPerChar[t] == n) types.push_back(t);
  return types;
}

Vresult OutpLinearDescr(OpContext& ctx, int out_par, int first_par, const LinearDescr& d) {
  const int bad = BadLinearField(d);
  if (bad >= 0) return VERR_CTRL_VALUE(first_par + bad - kMinLength);
  CtrlValues v;
  v.Add(kLinearTag).Add(d.generic ? kGeneric : kBarCodeTypes[d.types.front()].name);
  v.Add(d.min_length).Add(d.max_length).Add(d.min_element).Add(d.max_element);
  v.Add(d.elements_per_char).Add(d.tolerance).Add(d.check_present ? "present" : "absent");
  return ctx.SetOutpValues(out_par, v);
}

Vresult InpLinearDescr(const OpContext& ctx, int par, LinearDescr* d) {
  if (ctx.CtrlNum(par) != kLinearFields) return VERR_CODE_DESCR;
  auto at = [&](int i) -> const Vcpar& { return ctx.CtrlElem(par, i); };
  const char *tag = nullptr, *type = nullptr, *check = nullptr;
  if (!IsString(at(kTag), &tag) || std::strcmp(tag, kLinearTag) != 0 ||
      !IsString(at(kType), &type) || !IsLong(at(kMinLength), &d->min_length) ||
      !IsLong(at(kMaxLength), &d->max_length) || !IsNumber(at(kMinElement), &d->min_element) ||
      !IsNumber(at(kMaxElement), &d->max_element) || !IsLong(at(kPerChar), &d->elements_per_char) ||
      !IsNumber(at(kTolerance), &d->tolerance) || !IsString(at(kCheck), &check))
    return VERR_CODE_DESCR;
  d->generic = std::strcmp(type, kGeneric) == 0;
  if (d->generic) {
    d->types = TypesWithElementsPerChar(d->elements_per_char);
  } else {
    const int t = FindSymbology(kBarCodeTypes, kNumBarCodeTypes, type);
    if (t < 0 || ElementsPerChar(t) != d->elements_per_char) return VERR_CODE_DESCR;
    d->types = {t};
  }
  const bool present = std::strcmp(check, "present") == 0;
  if (!present && std::strcmp(check, "absent") != 0) return VERR_CODE_DESCR;
  d->check_present = present;
  return BadLinearField(*d) < 0 ? VRESULT_OK : VERR_CODE_DESCR;
}

Vresult OutpMatrixDescr(OpContext& ctx, int out_par, const MatrixDescr& d) {
  CtrlValues v;
  v.Add(kMatrixTag).Add(kDataCodeTypes[d.type].name).Add(d.module_size).Add(d.max_module_size);
  return ctx.SetOutpValues(out_par, v);
}

Vresult InpMatrixDescr(const OpContext& ctx, int par, MatrixDescr* d) {
  if (ctx.CtrlNum(par) != kMatrixFields) return VERR_CODE_DESCR;
  const char *tag = nullptr, *type = nullptr;
  if (!IsString(ctx.CtrlElem(par, 0), &tag) || std::strcmp(tag, kMatrixTag) != 0 ||
      !IsString(ctx.CtrlElem(par, 1), &type) || !IsNumber(ctx.CtrlElem(par, 2), &d->module_size) ||
      !IsNumber(ctx.CtrlElem(par, 3), &d->max_module_size))
    return VERR_CODE_DESCR;
  d->type = FindSymbology(kDataCodeTypes, kNumDataCodeTypes, type);
  const bool sizes = d->module_size > 0 && d->max_module_size >= d->module_size &&
                     d->max_module_size <= kLargestElement;
  return d->type >= 0 && sizes ? VRESULT_OK : VERR_CODE_DESCR;
}

namespace {

// A model set from the description, with `names` set to `values` for its
// types.
BarCodeParamValues ParamsOf(const LinearDescr& d, const std::vector<int>& names,
                            const std::vector<double>& values) {
  BarCodeModel model;
  model.SetParam(FindBarCodeParam("min_code_length"), d.types, static_cast<double>(d.min_length));
  model.SetParam(FindBarCodeParam("check_char"), d.types, d.check_present ? 1 : 0);
  for (size_t i = 0; i < names.size(); ++i) model.SetParam(names[i], d.types, values[i]);
  return model.Params();
}

}  // namespace

BarCodeParamValues LinearDescrParams(const LinearDescr& d) { return ParamsOf(d, {}, {}); }

Vresult LinearDescrParams(const OpContext& ctx, int name_par, const LinearDescr& d,
                          BarCodeParamValues* params) {
  std::vector<int> names;
  std::vector<double> values;
  const Vresult rc = InpBarCodeParamPairs(ctx, name_par, false, &names, &values);
  if (rc == VRESULT_OK) *params = ParamsOf(d, names, values);
  return rc;
}

bool LinearDescrAccepts(const LinearDescr& d, const CodeHit& hit, double narrow_element) {
  if (d.max_length > 0 && CharCount(hit.text) > static_cast<size_t>(d.max_length)) return false;
  return narrow_element >= d.min_element && narrow_element <= d.max_element;
}

}  // namespace vexa
