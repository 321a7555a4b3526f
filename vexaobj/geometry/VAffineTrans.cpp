// The 2D and 3D affine transformations: composing steps on the rows of the
// matrix, and applying the matrix to points and vectors through their
// writable accessors.
#include <cmath>
#include <algorithm>

#include <vexaobj/VAffineTrans.h>

namespace Vexa {

namespace {

// How a computed coordinate is stored: reals as they are, integers as
// (int)(value + 0.5), truncating toward zero, so -0.6 gives 0.
inline void Store(double& target, double value) { target = value; }
inline void Store(int& target, double value) {
  target = geometry::TruncInt(value + 0.5);
}

// Applies a 2x3 matrix; z, if any, stays as it is.
template <class Obj>
void Apply2D(const double* m, Obj& p) {
  auto& rx = p.X();
  auto& ry = p.Y();
  const double x = rx, y = ry;
  Store(rx, m[0] * x + m[1] * y + m[2]);
  Store(ry, m[3] * x + m[4] * y + m[5]);
}

// Applies a 3x4 matrix. The accessors are taken before anything is
// computed, so a 2D object reports its missing z once.
template <class Obj>
void Apply3D(const double* m, Obj& p) {
  auto& rx = p.X();
  auto& ry = p.Y();
  auto& rz = p.Z();
  const double x = rx, y = ry, z = rz;
  Store(rx, m[0] * x + m[1] * y + m[2] * z + m[3]);
  Store(ry, m[4] * x + m[5] * y + m[6] * z + m[7]);
  Store(rz, m[8] * x + m[9] * y + m[10] * z + m[11]);
}

// Mixes two rows of `columns` entries: new p = c*p - s*q, new q = s*p + c*q.
void MixRows(double* p, double* q, int columns, double phi) {
  const double c = std::cos(phi), s = std::sin(phi);
  for (int i = 0; i < columns; ++i) {
    const double old_p = p[i], old_q = q[i];
    p[i] = c * old_p - s * old_q;
    q[i] = s * old_p + c * old_q;
  }
}

void ScaleRow(double* row, int columns, double factor) {
  for (int i = 0; i < columns; ++i) row[i] *= factor;
}

}  // namespace

// --- VAffineTrans2D

void VAffineTrans2D::Identity() {
  const double identity[6] = {1.0, 0.0, 0.0, 0.0, 1.0, 0.0};
  std::copy(identity, identity + 6, matrix);
}

void VAffineTrans2D::Translate(const VVector& v) {
  matrix[2] += v.X();
  matrix[5] += v.Y();
}

void VAffineTrans2D::Scale(const VVector& v) {
  ScaleRow(matrix, 3, v.X());
  ScaleRow(matrix + 3, 3, v.Y());
}

void VAffineTrans2D::Rotate(double phi) {
  MixRows(matrix, matrix + 3, 3, phi);
}

void VAffineTrans2D::Transform(VDPoint& p) const { Apply2D(matrix, p); }
void VAffineTrans2D::Transform(VPoint& p) const { Apply2D(matrix, p); }
void VAffineTrans2D::Transform(VDVector& v) const { Apply2D(matrix, v); }
void VAffineTrans2D::Transform(VVector& v) const { Apply2D(matrix, v); }

// --- VAffineTrans3D

void VAffineTrans3D::Identity() {
  const double identity[12] = {1.0, 0.0, 0.0, 0.0, 0.0, 1.0,
                               0.0, 0.0, 0.0, 0.0, 1.0, 0.0};
  std::copy(identity, identity + 12, matrix);
}

void VAffineTrans3D::Translate(const VVector& v) {
  matrix[3] += v.X();
  matrix[7] += v.Y();
  matrix[11] += v.Z();
}

void VAffineTrans3D::Scale(const VVector& v) {
  ScaleRow(matrix, 4, v.X());
  ScaleRow(matrix + 4, 4, v.Y());
  ScaleRow(matrix + 8, 4, v.Z());
}

void VAffineTrans3D::Rotate(double phi) { RotateZ(phi); }
void VAffineTrans3D::RotateX(double phi) {
  MixRows(matrix + 4, matrix + 8, 4, phi);
}
void VAffineTrans3D::RotateY(double phi) {
  MixRows(matrix, matrix + 8, 4, phi);
}
void VAffineTrans3D::RotateZ(double phi) {
  MixRows(matrix, matrix + 4, 4, phi);
}

void VAffineTrans3D::Transform(VDPoint& p) const { Apply3D(matrix, p); }
void VAffineTrans3D::Transform(VPoint& p) const { Apply3D(matrix, p); }
void VAffineTrans3D::Transform(VDVector& v) const { Apply3D(matrix, v); }
void VAffineTrans3D::Transform(VVector& v) const { Apply3D(matrix, v); }

}  // namespace Vexa
