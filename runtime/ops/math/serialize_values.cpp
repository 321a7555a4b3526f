// serialize_* and deserialize_* of transformation values: 2D matrices (6
// reals), 3D matrices (12), poses (six reals and the type code) and
// quaternions (4), as items of their own kinds (ops/serialize/value_item.h).
#include <cmath>

#include "ops/math/hom_mat.h"
#include "ops/math/pose.h"
#include "ops/serialize/value_item.h"
#include "registry.h"

namespace vexa {
namespace {

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

// `count` finite numbers.
template <size_t count>
bool FiniteNumbers(const TupleValues& values) {
  if (values.size() != count) return false;
  for (const TupleValue& v : values)
    if (!v.IsNumber() || !std::isfinite(v.Real())) return false;
  return true;
}

bool PlausiblePose(const TupleValues& values) {
  PoseType type;
  return FiniteNumbers<7>(values) && DecodePoseType(values[6].Real(), &type);
}

constexpr ValueItemKind kHomMat2DValue{ItemKind::kHomMat2D, CheckHomMat2D, FiniteNumbers<6>};
constexpr ValueItemKind kHomMat3DValue{ItemKind::kHomMat3D, CheckHomMat3D, FiniteNumbers<12>};
constexpr ValueItemKind kPoseValue{ItemKind::kPose, CheckPose, PlausiblePose};
constexpr ValueItemKind kQuatValue{ItemKind::kQuat, CheckQuat, FiniteNumbers<4>};

}  // namespace

VEXA_OPERATOR(serialize_hom_mat2d) { return SerializeValueItem(ctx, kHomMat2DValue); }
VEXA_OPERATOR(deserialize_hom_mat2d) { return DeserializeValueItem(ctx, kHomMat2DValue); }
VEXA_OPERATOR(serialize_hom_mat3d) { return SerializeValueItem(ctx, kHomMat3DValue); }
VEXA_OPERATOR(deserialize_hom_mat3d) { return DeserializeValueItem(ctx, kHomMat3DValue); }
VEXA_OPERATOR(serialize_pose) { return SerializeValueItem(ctx, kPoseValue); }
VEXA_OPERATOR(deserialize_pose) { return DeserializeValueItem(ctx, kPoseValue); }
VEXA_OPERATOR(serialize_quat) { return SerializeValueItem(ctx, kQuatValue); }
VEXA_OPERATOR(deserialize_quat) { return DeserializeValueItem(ctx, kQuatValue); }

}  // namespace vexa
