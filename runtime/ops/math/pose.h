// 3D poses and quaternions as the operators exchange them.
//
// A pose is 7 values: translation (tx, ty, tz), three rotation values and
// a type code. The code is the sum of
//   rotation order: 0 "gba" (R = Rx(a) Ry(b) Rz(c): about z first),
//                   2 "abg" (R = Rz(c) Ry(b) Rx(a): about x first),
//                   4 "rodriguez" (the values are axis * tan(angle / 2));
//   order of transform: 0 "Rp+T" (p' = R p + T), 8 "R(p-T)" (p' = R (p - T));
//   view: 0 "point" (the map moves points), 1 "coordinate_system" (the
//         values move the coordinate system; points move by the inverse).
// Angles of "gba" and "abg" are in degrees; rotations are right-handed.
// A quaternion is 4 values (w, x, y, z), w the real part.
#pragma once

#include <Eigen/Geometry>

#include "ops/math/hom_mat.h"

namespace vexa {

struct PoseType {
  int rotation = 0;  // 0 gba, 2 abg, 4 rodriguez
  bool minus_t = false;
  bool coordinate_system = false;
  int code() const { return rotation + (minus_t ? 8 : 0) + (coordinate_system ? 1 : 0); }
};

// The type of a code; false for a code that names none.
bool DecodePoseType(double code, PoseType* type);
// The type named by the three strings; VERR_CTRL_VALUE of the parameter
// (first_par, first_par + 1, first_par + 2) whose name is unknown.
Vresult ParsePoseType(const char* transform, const char* rotation,
                      const char* view, int first_par, PoseType* type);

// The point map of a pose (7 values); false for a bad type code.
bool PoseToMatrix(const double pose[7], Mat3D* m);
// The pose of type `type` for a rigid map m; false when m is not rigid
// (rotation part not orthonormal with determinant 1) or a Rodriguez
// vector would be infinite (a half turn).
bool MatrixToPose(const Mat3D& m, PoseType type, double pose[7]);

// A pose from input `par` (7 finite values, valid type code).
Vresult GetPose(const OpContext& ctx, int par, Mat3D* m, PoseType* type);
// Writes the pose of m in `type`; VERR_CTRL_VALUE(bad_par) when m has no
// pose of that type.
Vresult SetPose(OpContext& ctx, int par, const Mat3D& m, PoseType type,
                int bad_par);

// A quaternion from input `par` (4 finite values); `unit` also requires
// a non-zero one and normalises it.
Vresult GetQuat(const OpContext& ctx, int par, bool unit, Eigen::Quaterniond* q);
Vresult SetQuat(OpContext& ctx, int par, const Eigen::Quaterniond& q);

// True when the 3x3 part of m is a rotation (to a relative 1e-6).
bool IsRotation(const Eigen::Matrix3d& r);

}  // namespace vexa
