// Conversions between poses, matrices and quaternions (layouts in pose.h).
#include "ops/math/pose.h"

#include <cmath>
#include <cstring>

namespace vexa {
namespace {

constexpr double kDeg = M_PI / 180.0;

Eigen::Matrix3d Axis(int axis, double angle) {
  return Eigen::AngleAxisd(angle, Eigen::Vector3d::Unit(axis)).toRotationMatrix();
}

Eigen::Matrix3d RotationOf(int order, double a, double b, double c) {
  if (order == 4) {
    const Eigen::Vector3d v(a, b, c);
    const double t = v.norm();
    if (t == 0.0) return Eigen::Matrix3d::Identity();
    return Eigen::AngleAxisd(2.0 * std::atan(t), v / t).toRotationMatrix();
  }
  a *= kDeg, b *= kDeg, c *= kDeg;
  if (order == 0) return Axis(0, a) * Axis(1, b) * Axis(2, c);
  return Axis(2, c) * Axis(1, b) * Axis(0, a);
}

// An angle in degrees in [0, 360).
double Degrees(double rad) {
  double d = std::fmod(rad / kDeg, 360.0);
  if (d < 0.0) d += 360.0;
  return d >= 360.0 ? 0.0 : d;
}

// The rotation values of r in the given order.
bool AnglesOf(const Eigen::Matrix3d& r, int order, double v[3]) {
  if (order == 4) {
    Eigen::Quaterniond q(r);
    if (q.w() < 0.0) q.coeffs() = -q.coeffs();
    if (!(q.w() > 1e-12)) return false;
    v[0] = q.x() / q.w(), v[1] = q.y() / q.w(), v[2] = q.z() / q.w();
    return true;
  }
  double a, b, c;
  if (order == 0) {  // Rx(a) Ry(b) Rz(c): r02 = sin b
    b = std::asin(std::max(-1.0, std::min(1.0, r(0, 2))));
    if (std::fabs(r(0, 2)) < 1.0 - 1e-12) {
      a = std::atan2(-r(1, 2), r(2, 2));
      c = std::atan2(-r(0, 1), r(0, 0));
    } else {  // gimbal lock: only a + c or a - c is fixed; c = 0
      a = std::atan2(r(2, 1), r(1, 1));
      c = 0.0;
    }
  } else {  // Rz(c) Ry(b) Rx(a): r20 = -sin b
    b = -std::asin(std::max(-1.0, std::min(1.0, r(2, 0))));
    if (std::fabs(r(2, 0)) < 1.0 - 1e-12) {
      a = std::atan2(r(2, 1), r(2, 2));
      c = std::atan2(r(1, 0), r(0, 0));
    } else {
      a = 0.0;
      c = std::atan2(-r(0, 1), r(1, 1));
    }
  }
  v[0] = Degrees(a), v[1] = Degrees(b), v[2] = Degrees(c);
  return true;
}

}  // namespace

bool DecodePoseType(double code, PoseType* type) {
  if (!(code >= 0.0 && code <= 15.0) || code != std::floor(code)) return false;
  const int c = static_cast<int>(code);
  type->rotation = c & 6;
  type->minus_t = (c & 8) != 0;
  type->coordinate_system = (c & 1) != 0;
  return type->rotation != 6;
}

Vresult ParsePoseType(const char* transform, const char* rotation,
                      const char* view, int first_par, PoseType* type) {
  if (std::strcmp(transform, "Rp+T") == 0) type->minus_t = false;
  else if (std::strcmp(transform, "R(p-T)") == 0) type->minus_t = true;
  else return VERR_CTRL_VALUE(first_par);
  if (std::strcmp(rotation, "gba") == 0) type->rotation = 0;
  else if (std::strcmp(rotation, "abg") == 0) type->rotation = 2;
  else if (std::strcmp(rotation, "rodriguez") == 0) type->rotation = 4;
  else return VERR_CTRL_VALUE(first_par + 1);
  if (std::strcmp(view, "point") == 0) type->coordinate_system = false;
  else if (std::strcmp(view, "coordinate_system") == 0) type->coordinate_system = true;
  else return VERR_CTRL_VALUE(first_par + 2);
  return VRESULT_OK;
}

bool IsRotation(const Eigen::Matrix3d& r) {
  return (r.transpose() * r - Eigen::Matrix3d::Identity()).cwiseAbs().maxCoeff() < 1e-6 &&
         r.determinant() > 0.0;
}

bool PoseToMatrix(const double pose[7], Mat3D* m) {
  PoseType type;
  if (!DecodePoseType(pose[6], &type)) return false;
  const Eigen::Matrix3d r = RotationOf(type.rotation, pose[3], pose[4], pose[5]);
  const Eigen::Vector3d t(pose[0], pose[1], pose[2]);
  m->setIdentity();
  m->topLeftCorner<3, 3>() = r;
  m->topRightCorner<3, 1>() = type.minus_t ? Eigen::Vector3d(-r * t) : t;
  if (type.coordinate_system) {
    const Mat3D moved = *m;
    m->topLeftCorner<3, 3>() = r.transpose();
    m->topRightCorner<3, 1>() = -r.transpose() * moved.topRightCorner<3, 1>();
  }
  return m->allFinite();
}

bool MatrixToPose(const Mat3D& m, PoseType type, double pose[7]) {
  Eigen::Matrix3d r = m.topLeftCorner<3, 3>();
  Eigen::Vector3d t = m.topRightCorner<3, 1>();
  if (!IsRotation(r)) return false;
  if (type.coordinate_system) {
    r.transposeInPlace();
    t = -r * t;
  }
  if (type.minus_t) t = -r.transpose() * t;
  if (!AnglesOf(r, type.rotation, pose + 3)) return false;
  pose[0] = t[0], pose[1] = t[1], pose[2] = t[2];
  pose[6] = type.code();
  return true;
}

Vresult GetPose(const OpContext& ctx, int par, Mat3D* m, PoseType* type) {
  std::vector<double> v;
  const Vresult rc = GetFiniteDoubles(ctx, par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v.size() != 7) return VERR_CTRL_NUM(par);
  if (!DecodePoseType(v[6], type) || !PoseToMatrix(v.data(), m))
    return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

Vresult SetPose(OpContext& ctx, int par, const Mat3D& m, PoseType type,
                int bad_par) {
  double pose[7];
  if (!MatrixToPose(m, type, pose)) return VERR_CTRL_VALUE(bad_par);
  CtrlValues out;
  for (int i = 0; i < 6; ++i) out.Add(pose[i]);
  out.Add(static_cast<Vlong>(pose[6]));
  return ctx.SetOutpValues(par, out);
}

Vresult GetQuat(const OpContext& ctx, int par, bool unit, Eigen::Quaterniond* q) {
  std::vector<double> v;
  const Vresult rc = GetFiniteDoubles(ctx, par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v.size() != 4) return VERR_CTRL_NUM(par);
  *q = Eigen::Quaterniond(v[0], v[1], v[2], v[3]);
  if (unit) {
    const double n = q->norm();
    if (!(n > 0.0) || !std::isfinite(n)) return VERR_CTRL_VALUE(par);
    q->coeffs() /= n;
  }
  return VRESULT_OK;
}

Vresult SetQuat(OpContext& ctx, int par, const Eigen::Quaterniond& q) {
  return ctx.SetOutpDoubles(par, {q.w(), q.x(), q.y(), q.z()});
}

}  // namespace vexa
