// serialize_* and deserialize_* of transformation values: 2D matrices (6
// reals), 3D matrices (12), poses (six reals and the type code) and
// quaternions (4). An item holds the tuple as given, after the check that
// every operator taking such a value makes; reading it checks count,
// types and finiteness again (and a pose's type code), so a damaged item
// never yields a value those operators would refuse.
#include <cmath>
#include <memory>

#include "ops/math/hom_mat.h"
#include "ops/math/pose.h"
#include "ops/serialize/payload_codec.h"
#include "ops/serialize/serialized_item.h"
#include "registry.h"

namespace vexa {
namespace {

struct ValueKind {
  ItemKind kind;
  size_t count;
  // The operators' own check of an input value.
  Vresult (*check)(const OpContext& ctx, int par);
};

Vresult CheckHomMat2D(const OpContext& ctx, int par) {
  Mat2D m;
  return GetHomMat2D(ctx, par, &m);
}
Vresult CheckHomMat3D(const OpContext& ctx, int par) {
  Mat3D m;
  return GetHomMat3D(ctx, par, &m);
}
Vresult CheckPose(const OpContext& ctx, int par) {
  Mat3D m;
  PoseType type;
  return GetPose(ctx, par, &m, &type);
}
Vresult CheckQuat(const OpContext& ctx, int par) {
  Eigen::Quaterniond q;
  return GetQuat(ctx, par, false, &q);
}

constexpr ValueKind kHomMat2DValue{ItemKind::kHomMat2D, 6, CheckHomMat2D};
constexpr ValueKind kHomMat3DValue{ItemKind::kHomMat3D, 12, CheckHomMat3D};
constexpr ValueKind kPoseValue{ItemKind::kPose, 7, CheckPose};
constexpr ValueKind kQuatValue{ItemKind::kQuat, 4, CheckQuat};

Vresult SerializeValue(OpContext& ctx, const ValueKind& k) {
  TupleValues values;
  Vresult rc = k.check(ctx, 0);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 0, &values);
  if (rc != VRESULT_OK) return rc;
  ByteWriter w;
  EncodeTuple(values, &w);
  return OutpNewItem(ctx, 0, WrapItem(k.kind, w.bytes()));
}

bool Plausible(const TupleValues& values, const ValueKind& k) {
  if (values.size() != k.count) return false;
  for (const TupleValue& v : values) {
    if (v.type == VPAR_STRING || (v.type == VPAR_DOUBLE && !std::isfinite(v.d))) return false;
  }
  if (k.kind != ItemKind::kPose) return true;
  const TupleValue& code = values[6];
  PoseType type;
  return DecodePoseType(code.type == VPAR_LONG ? static_cast<double>(code.l) : code.d, &type);
}

Vresult DeserializeValue(OpContext& ctx, const ValueKind& k) {
  std::shared_ptr<SerializedItem> item;
  ByteReader payload(nullptr, 0);
  TupleValues values;
  Vresult rc = InpTool(ctx, 0, &item);
  if (rc == VRESULT_OK) rc = OpenItem(item->data(), item->size(), k.kind, &payload);
  if (rc == VRESULT_OK) rc = DecodeTuple(&payload, &values);
  if (rc == VRESULT_OK && !Plausible(values, k)) rc = VERR_FILE_CORRUPT;
  return rc == VRESULT_OK ? WriteOutpValues(ctx, 0, values) : rc;
}

}  // namespace

VEXA_OPERATOR(serialize_hom_mat2d) { return SerializeValue(ctx, kHomMat2DValue); }
VEXA_OPERATOR(deserialize_hom_mat2d) { return DeserializeValue(ctx, kHomMat2DValue); }
VEXA_OPERATOR(serialize_hom_mat3d) { return SerializeValue(ctx, kHomMat3DValue); }
VEXA_OPERATOR(deserialize_hom_mat3d) { return DeserializeValue(ctx, kHomMat3DValue); }
VEXA_OPERATOR(serialize_pose) { return SerializeValue(ctx, kPoseValue); }
VEXA_OPERATOR(deserialize_pose) { return DeserializeValue(ctx, kPoseValue); }
VEXA_OPERATOR(serialize_quat) { return SerializeValue(ctx, kQuatValue); }
VEXA_OPERATOR(deserialize_quat) { return DeserializeValue(ctx, kQuatValue); }

}  // namespace vexa
