#include "ops/codes/data_code_model.h"

#include <cstring>

namespace vexa {
namespace {

const char* const kPolarityNames[] = {"dark_on_light", "light_on_dark", "any"};

struct Preset {
  const char* name;
  bool persistence;
  CodePolarity polarity;
};
const Preset kPresets[] = {
    {"standard_recognition", false, CodePolarity::kDarkOnLight},
    {"enhanced_recognition", true, CodePolarity::kDarkOnLight},
    {"maximum_recognition", true, CodePolarity::kAny},
};

bool Is(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

// A string value that is one of `names` (VERR_CTRL_TYPE for another type).
Vresult ChoiceOf(const Vcpar& value, const char* const* names, int n, int par, int* index) {
  if (value.type != VPAR_STRING) return VERR_CTRL_TYPE(par);
  for (int i = 0; i < n; ++i)
    if (Is(names[i], value.par.s)) return *index = i, VRESULT_OK;
  return VERR_CTRL_VALUE(par);
}

Vresult IntegerOf(const Vcpar& value, int min, int max, int par, int* v) {
  if (value.type != VPAR_LONG) return VERR_CTRL_TYPE(par);
  if (value.par.l < min || value.par.l > max) return VERR_CTRL_VALUE(par);
  *v = static_cast<int>(value.par.l);
  return VRESULT_OK;
}

}  // namespace

Vresult SetDataCodeParam(DataCodeParams* params, const char* name, const Vcpar& value,
                         int name_par, int value_par) {
  int v = 0;
  Vresult rc = VRESULT_OK;
  if (Is(name, "polarity")) {
    rc = ChoiceOf(value, kPolarityNames, 3, value_par, &v);
    if (rc == VRESULT_OK) params->polarity = static_cast<CodePolarity>(v);
  } else if (Is(name, "stop_after_result_num")) {
    rc = IntegerOf(value, 0, 255, value_par, &v);
    if (rc == VRESULT_OK) params->stop_after = v;
  } else if (Is(name, "persistence")) {
    rc = IntegerOf(value, 0, 1, value_par, &v);
    if (rc == VRESULT_OK) params->persistence = v == 1;
  } else if (Is(name, "default_parameters")) {
    const char* const names[] = {kPresets[0].name, kPresets[1].name, kPresets[2].name};
    rc = ChoiceOf(value, names, 3, value_par, &v);
    if (rc == VRESULT_OK) params->persistence = kPresets[v].persistence;
    if (rc == VRESULT_OK) params->polarity = kPresets[v].polarity;
  } else {
    rc = VERR_CTRL_VALUE(name_par);
  }
  return rc;
}

Vresult GetDataCodeParam(const DataCodeParams& params, const char* name, int name_par,
                         CtrlValues* out) {
  if (Is(name, "symbol_type")) {
    out->Add(kDataCodeTypes[params.type].name);
  } else if (Is(name, "polarity")) {
    out->Add(kPolarityNames[static_cast<int>(params.polarity)]);
  } else if (Is(name, "stop_after_result_num")) {
    out->Add(params.stop_after);
  } else if (Is(name, "persistence")) {
    out->Add(params.persistence ? 1 : 0);
  } else if (Is(name, "default_parameters")) {
    const char* preset = "custom";
    for (const Preset& p : kPresets)
      if (p.persistence == params.persistence && p.polarity == params.polarity) preset = p.name;
    out->Add(preset);
  } else {
    return VERR_CTRL_VALUE(name_par);
  }
  return VRESULT_OK;
}

std::vector<std::string> DataCodeParamNames(bool settable) {
  std::vector<std::string> names;
  if (!settable) names.push_back("symbol_type");
  for (const char* n : {"polarity", "stop_after_result_num", "persistence", "default_parameters"})
    names.push_back(n);
  return names;
}

CodeReadOptions DataCodeReadOptions(const DataCodeParams& params) {
  CodeReadOptions o;
  o.formats = kDataCodeTypes[params.type].format;
  o.try_harder = params.persistence;
  o.max_symbols = params.stop_after;
  o.polarity = params.polarity;
  return o;
}

ItemBytes DataCodeModel::Payload() const {
  const DataCodeParams p = Params();
  ByteWriter w;
  w.U8(static_cast<uint8_t>(p.type));
  w.U8(static_cast<uint8_t>(p.polarity));
  w.U32(static_cast<uint32_t>(p.stop_after));
  w.U8(p.persistence ? 1 : 0);
  return w.bytes();
}

Vresult DataCodeModel::FromPayload(ByteReader* r, std::shared_ptr<DataCodeModel>* model) {
  uint8_t type = 0, polarity = 0, persistence = 0;
  uint32_t stop_after = 0;
  if (!r->U8(&type) || !r->U8(&polarity) || !r->U32(&stop_after) || !r->U8(&persistence) ||
      r->remaining() != 0 || type >= kNumDataCodeTypes || polarity > 2 || stop_after > 255 ||
      persistence > 1)
    return VERR_FILE_CORRUPT;
  DataCodeParams p;
  p.type = type;
  p.polarity = static_cast<CodePolarity>(polarity);
  p.stop_after = static_cast<int>(stop_after);
  p.persistence = persistence == 1;
  *model = std::make_shared<DataCodeModel>(p);
  return VRESULT_OK;
}

}  // namespace vexa
