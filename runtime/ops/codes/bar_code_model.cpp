#include "ops/codes/bar_code_model.h"

#include <cmath>
#include <cstring>

namespace vexa {

const BarCodeParamSpec kBarCodeParams[kNumBarCodeParams] = {
    {"stop_after_result_num", 0, 0, 255, true, false},
    {"persistence", 1, 0, 1, true, false},
    {"min_identical_scanlines", 2, 1, 255, true, false},
    {"orientation", 0, -180, 180, false, false},
    {"orientation_tol", 180, 0, 180, false, false},
    {"min_code_length", 0, 0, 10000, true, true},
    {"check_char", 0, 0, 1, true, true},
};

namespace {

enum ParamIndex { kStopAfter, kPersistence, kMinScanlines, kOrientation, kOrientationTol,
                  kMinLength, kCheckChar };

int TypeOf(ZXing::BarcodeFormat format) {
  for (int t = 0; t < kNumBarCodeTypes; ++t)
    if (kBarCodeTypes[t].format == format) return t;
  return -1;
}

bool Contains(const std::vector<int>& types, int t) {
  for (int u : types)
    if (u == t) return true;
  return false;
}

bool OrientationAccepted(const CodeHit& hit, const BarCodeParamValues& params) {
  const double tol = params[kOrientationTol][0];
  if (tol >= 180) return true;
  const double deg = hit.Orientation() * 180 / M_PI;
  return std::fabs(std::remainder(deg - params[kOrientation][0], 360.0)) <= tol;
}

int ResultLimit(const BarCodeParamValues& params) {
  return static_cast<int>(params[kStopAfter][0]);
}

}  // namespace

Vresult InpBarCodeParamPairs(const OpContext& ctx, int name_par, bool specific_only,
                      std::vector<int>* params, std::vector<double>* values) {
  std::vector<const char*> names;
  Vresult rc = ctx.GetStrings(name_par, names);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(name_par + 1, *values);
  if (rc != VRESULT_OK) return rc;
  if (values->size() != names.size()) return VERR_CTRL_NUM(name_par + 1);
  params->clear();
  for (size_t i = 0; i < names.size(); ++i) {
    const int p = FindBarCodeParam(names[i]);
    if (p < 0 || (specific_only && !kBarCodeParams[p].specific)) return VERR_CTRL_VALUE(name_par);
    if (!BarCodeModel::ValidValue(p, (*values)[i])) return VERR_CTRL_VALUE(name_par + 1);
    params->push_back(p);
  }
  return VRESULT_OK;
}

size_t CharCount(const std::string& s) {
  size_t n = 0;
  for (unsigned char c : s) n += (c & 0xC0) != 0x80;
  return n;
}

int FindBarCodeParam(const char* name) {
  for (int p = 0; p < kNumBarCodeParams; ++p)
    if (std::strcmp(kBarCodeParams[p].name, name) == 0) return p;
  return -1;
}

BarCodeModel::BarCodeModel() {
  for (int p = 0; p < kNumBarCodeParams; ++p) params_[p].fill(kBarCodeParams[p].initial);
}

bool BarCodeModel::ValidValue(int p, double v) {
  const BarCodeParamSpec& s = kBarCodeParams[p];
  return std::isfinite(v) && v >= s.min && v <= s.max && (!s.integer || v == std::floor(v));
}

void BarCodeModel::SetParam(int p, const std::vector<int>& types, double value) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (!kBarCodeParams[p].specific) {
    params_[p].fill(value);
    return;
  }
  for (int t : types) params_[p][t] = value;
}

ItemBytes BarCodeModel::Payload() const {
  const BarCodeParamValues params = Params();
  ByteWriter w;
  w.U32(kNumBarCodeParams);
  w.U32(kNumBarCodeTypes);
  for (const auto& row : params)
    for (double v : row) w.F64(v);
  return w.bytes();
}

Vresult BarCodeModel::FromPayload(ByteReader* r, std::shared_ptr<BarCodeModel>* model) {
  uint32_t num_params = 0, num_types = 0;
  if (!r->U32(&num_params) || !r->U32(&num_types) || num_params != kNumBarCodeParams ||
      num_types != kNumBarCodeTypes)
    return VERR_FILE_CORRUPT;
  auto m = std::make_shared<BarCodeModel>();
  for (int p = 0; p < kNumBarCodeParams; ++p)
    for (int t = 0; t < kNumBarCodeTypes; ++t) {
      double v = 0;
      if (!r->F64(&v) || !ValidValue(p, v)) return VERR_FILE_CORRUPT;
      if (!kBarCodeParams[p].specific && t > 0 && v != m->params_[p][0]) return VERR_FILE_CORRUPT;
      m->params_[p][t] = v;
    }
  if (r->remaining() != 0) return VERR_FILE_CORRUPT;
  *model = std::move(m);
  return VRESULT_OK;
}

CodeReadOptions BarCodeReadOptions(const BarCodeParamValues& params, const std::vector<int>& types) {
  CodeReadOptions o;
  for (int t : types) o.formats |= kBarCodeTypes[t].format;
  o.try_harder = params[kPersistence][0] != 0;
  o.max_symbols = ResultLimit(params);
  o.min_line_count = static_cast<int>(params[kMinScanlines][0]);
  o.code39_check = params[kCheckChar][TypeOf(ZXing::BarcodeFormat::Code39)] != 0;
  o.itf_check = params[kCheckChar][TypeOf(ZXing::BarcodeFormat::ITF)] != 0;
  return o;
}

std::vector<CodeHit> FilterBarCodes(const std::vector<CodeHit>& hits,
                                    const BarCodeParamValues& params,
                                    const std::vector<int>& types) {
  std::vector<CodeHit> kept;
  const size_t limit = static_cast<size_t>(ResultLimit(params));
  for (const CodeHit& hit : hits) {
    const int t = TypeOf(hit.format);
    if (!hit.valid || t < 0 || !Contains(types, t)) continue;
    if (CharCount(hit.text) < params[kMinLength][t] || !OrientationAccepted(hit, params)) continue;
    kept.push_back(hit);
    if (limit > 0 && kept.size() == limit) break;
  }
  return kept;
}

}  // namespace vexa
