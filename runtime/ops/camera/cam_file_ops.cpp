// Camera parameters and poses in text files of our own format
// (keyed_text_file.h) and camera parameters as serialised items.
#include <cmath>

#include "error_detail.h"
#include "ops/camera/cam_par.h"
#include "ops/camera/keyed_text_file.h"
#include "ops/math/pose.h"
#include "ops/serialize/value_item.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr const char* kCamFormat = "VXCAM";
constexpr const char* kPoseFormat = "VXPOSE";
const std::vector<const char*> kPoseKeys{"tx", "ty", "tz", "alpha", "beta", "gamma", "type"};

Vresult CheckCamPar(const OpContext& ctx, int par) {
  CamPar cam;
  return GetCamPar(ctx, par, &cam);
}

bool PlausibleCamPar(const TupleValues& values) {
  CamPar cam;
  return CamParFromValues(values, 0, &cam) == VRESULT_OK;
}

constexpr ValueItemKind kCamParValue{ItemKind::kCamPar, CheckCamPar, PlausibleCamPar};

// The numbers of `values` from index `first` on, as key lines.
std::vector<KeyedLine> NumberLines(const std::vector<const char*>& keys, const TupleValues& values,
                                   size_t first) {
  std::vector<KeyedLine> lines;
  for (size_t k = 0; k < keys.size(); ++k) {
    const TupleValue& v = values[first + k];
    lines.push_back({keys[k], v.IsLong() ? std::to_string(v.l) : FormatNumber(v.d)});
  }
  return lines;
}

}  // namespace

VEXA_OPERATOR(write_cam_par) {
  CamPar cam;
  const char* name = nullptr;
  Vresult rc = GetCamPar(ctx, 0, &cam);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  const TupleValues values = CamParValues(cam);
  std::vector<KeyedLine> lines{{"model", values[0].s}};
  for (KeyedLine& line : NumberLines(CamParFieldNames(cam.model), values, 1))
    lines.push_back(line);
  return WriteKeyedTextFile(name, kCamFormat, lines);
}

namespace {

// The camera of a camera file. A file whose model is unknown gives
// VERR_CAM_MODEL; one whose values form no valid camera the code of that
// fault (cam_par.h).
Vresult ReadCamParFile(const char* name, CamPar* cam) {
  std::vector<KeyedLine> lines;
  Vresult rc = ReadKeyedTextFile(name, kCamFormat, &lines);
  if (rc != VRESULT_OK) return rc;
  if (lines.empty()) return VERR_FILE_TRUNCATED;
  if (lines[0].key != "model") return VERR_FILE_CORRUPT;
  TupleValues values{TupleValue::String(lines[0].value)};
  if (CamParFromValues(values, 0, cam) == VERR_CAM_MODEL) return VERR_CAM_MODEL;
  std::vector<double> numbers;
  rc = KeyedNumbers(lines, 1, CamParFieldNames(cam->model), &numbers);
  if (rc != VRESULT_OK) return rc;
  for (double v : numbers) values.push_back(TupleValue::Double(v));
  return CamParFromValues(values, 0, cam);
}

// The seven values of a pose file; a type code that names no pose type
// is VERR_FILE_CORRUPT.
Vresult ReadPoseFile(const char* name, std::vector<double>* v) {
  std::vector<KeyedLine> lines;
  Vresult rc = ReadKeyedTextFile(name, kPoseFormat, &lines);
  if (rc == VRESULT_OK) rc = KeyedNumbers(lines, 0, kPoseKeys, v);
  if (rc != VRESULT_OK) return rc;
  Mat3D m;
  return PoseToMatrix(v->data(), &m) ? VRESULT_OK : VERR_FILE_CORRUPT;
}

}  // namespace

// Failures of the file name it.
VEXA_OPERATOR(read_cam_par) {
  const char* name = nullptr;
  CamPar cam;
  Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  rc = ReadCamParFile(name, &cam);
  return rc == VRESULT_OK ? SetCamPar(ctx, 0, cam) : FileFailure(rc, name);
}

VEXA_OPERATOR(serialize_cam_par) { return SerializeValueItem(ctx, kCamParValue); }
VEXA_OPERATOR(deserialize_cam_par) { return DeserializeValueItem(ctx, kCamParValue); }

VEXA_OPERATOR(write_pose) {
  Mat3D m;
  PoseType type;
  TupleValues values;
  const char* name = nullptr;
  Vresult rc = GetPose(ctx, 0, &m, &type);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 0, &values);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  values[6] = TupleValue::Long(type.code());
  return WriteKeyedTextFile(name, kPoseFormat, NumberLines(kPoseKeys, values, 0));
}

// Failures of the file name it.
VEXA_OPERATOR(read_pose) {
  const char* name = nullptr;
  std::vector<double> v;
  Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  rc = ReadPoseFile(name, &v);
  if (rc != VRESULT_OK) return FileFailure(rc, name);
  CtrlValues out;
  for (int i = 0; i < 6; ++i) out.Add(v[i]);
  out.Add(static_cast<Vlong>(v[6]));
  return ctx.SetOutpValues(0, out);
}

}  // namespace vexa
