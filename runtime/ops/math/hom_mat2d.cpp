// Building and applying 2D homogeneous matrices: the elementary steps
// (translation, rotation, scaling, slant, reflection), each either applied
// after the given matrix ("global": in the coordinates of the result) or
// before it ("_local": in the coordinates the matrix starts from), and the
// algebra of composition, inversion, transposition and determinant.
#include <cmath>
#include <cstring>
#include <type_traits>

#include "ops/math/hom_mat.h"
#include "registry.h"

namespace vexa {
namespace {

Mat2D Translation(double tx, double ty) {
  Mat2D t = Mat2D::Identity();
  t(0, 2) = tx;
  t(1, 2) = ty;
  return t;
}

Mat2D Rotation(double phi) {
  Mat2D r = Mat2D::Identity();
  r(0, 0) = std::cos(phi), r(0, 1) = -std::sin(phi);
  r(1, 0) = std::sin(phi), r(1, 1) = std::cos(phi);
  return r;
}

Mat2D Scaling(double sx, double sy) {
  Mat2D s = Mat2D::Identity();
  s(0, 0) = sx;
  s(1, 1) = sy;
  return s;
}

// Slant about axis "x" turns the x axis by theta and keeps the y axis;
// about "y" it turns the y axis by theta and keeps the x axis.
Vresult Slant(const OpContext& ctx, int theta_par, int axis_par, Mat2D* out) {
  double theta = 0.0;
  const char* axis = nullptr;
  Vresult rc = GetFiniteDouble(ctx, theta_par, &theta);
  if (rc == VRESULT_OK) rc = ctx.GetString(axis_par, &axis);
  if (rc != VRESULT_OK) return rc;
  *out = Mat2D::Identity();
  if (std::strcmp(axis, "x") == 0) {
    (*out)(0, 0) = std::cos(theta);
    (*out)(1, 0) = std::sin(theta);
  } else if (std::strcmp(axis, "y") == 0) {
    (*out)(0, 1) = -std::sin(theta);
    (*out)(1, 1) = std::cos(theta);
  } else {
    return VERR_CTRL_VALUE(axis_par);
  }
  return VRESULT_OK;
}

// Reflection at the line through the origin in direction (dx, dy).
Vresult Reflection(double dx, double dy, int par, Mat2D* out) {
  const double len = std::hypot(dx, dy);
  if (!(len > 0.0)) return VERR_CTRL_VALUE(par);
  dx /= len, dy /= len;
  *out = Mat2D::Identity();
  (*out)(0, 0) = 2 * dx * dx - 1, (*out)(0, 1) = 2 * dx * dy;
  (*out)(1, 0) = 2 * dx * dy, (*out)(1, 1) = 2 * dy * dy - 1;
  return VRESULT_OK;
}

// Reads `n` single finite numbers from inputs first..first+n-1.
Vresult GetScalars(const OpContext& ctx, int first, int n, double* v) {
  for (int i = 0; i < n; ++i) {
    const Vresult rc = GetFiniteDouble(ctx, first + i, &v[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

// The step `step` placed about the fixed point (px, py): applied after
// `m` in the result's coordinates.
Mat2D AboutPoint(const Mat2D& step, double px, double py, const Mat2D& m) {
  return Translation(px, py) * step * Translation(-px, -py) * m;
}

// The operators that change one matrix by a step made of `N` numbers:
// reads the matrix (control 0) and the numbers (controls 1..N) and writes
// change(matrix, numbers). `change` returns a Mat2D, not a product
// expression that would refer to its own dead temporaries.
template <int N, class Change>
Vresult ChangeMatrix(OpContext& ctx, Change change) {
  static_assert(std::is_same_v<std::invoke_result_t<Change, const Mat2D&, const double*>, Mat2D>,
                "the change must evaluate its product");
  Mat2D m;
  double v[N];
  Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetScalars(ctx, 1, N, v);
  return rc == VRESULT_OK ? SetHomMat2D(ctx, 0, change(m, v)) : rc;
}

// Writes a matrix in the form it came in: 6 values for an affine one.
Vresult SetInForm(OpContext& ctx, int par, const Mat2D& m, bool projective) {
  return SetMatRows(ctx, par, m, projective ? 3 : 2);
}

}  // namespace

VEXA_OPERATOR(hom_mat2d_identity) {
  return SetHomMat2D(ctx, 0, Mat2D::Identity());
}

VEXA_OPERATOR(hom_mat2d_translate) {
  return ChangeMatrix<2>(ctx, [](const Mat2D& m, const double* t) -> Mat2D {
    return Translation(t[0], t[1]) * m;
  });
}

VEXA_OPERATOR(hom_mat2d_translate_local) {
  return ChangeMatrix<2>(ctx, [](const Mat2D& m, const double* t) -> Mat2D {
    return m * Translation(t[0], t[1]);
  });
}

// Rotation by phi (radians) about (px, py); positive phi turns the x axis
// towards the y axis.
VEXA_OPERATOR(hom_mat2d_rotate) {
  return ChangeMatrix<3>(ctx, [](const Mat2D& m, const double* v) -> Mat2D {
    return AboutPoint(Rotation(v[0]), v[1], v[2], m);
  });
}

VEXA_OPERATOR(hom_mat2d_rotate_local) {
  return ChangeMatrix<1>(ctx, [](const Mat2D& m, const double* phi) -> Mat2D {
    return m * Rotation(phi[0]);
  });
}

VEXA_OPERATOR(hom_mat2d_scale) {
  return ChangeMatrix<4>(ctx, [](const Mat2D& m, const double* v) -> Mat2D {
    return AboutPoint(Scaling(v[0], v[1]), v[2], v[3], m);
  });
}

VEXA_OPERATOR(hom_mat2d_scale_local) {
  return ChangeMatrix<2>(ctx, [](const Mat2D& m, const double* v) -> Mat2D {
    return m * Scaling(v[0], v[1]);
  });
}

VEXA_OPERATOR(hom_mat2d_slant) {
  Mat2D m, s;
  double p[2];
  Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = Slant(ctx, 1, 2, &s);
  if (rc == VRESULT_OK) rc = GetScalars(ctx, 3, 2, p);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat2D(ctx, 0, AboutPoint(s, p[0], p[1], m));
}

VEXA_OPERATOR(hom_mat2d_slant_local) {
  Mat2D m, s;
  Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = Slant(ctx, 1, 2, &s);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat2D(ctx, 0, m * s);
}

// Reflection at the line through (px, py) and (qx, qy).
VEXA_OPERATOR(hom_mat2d_reflect) {
  Mat2D m, r;
  double v[4];
  Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetScalars(ctx, 1, 4, v);
  if (rc == VRESULT_OK) rc = Reflection(v[2] - v[0], v[3] - v[1], 3, &r);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat2D(ctx, 0, AboutPoint(r, v[0], v[1], m));
}

// Reflection at the line through the origin and (px, py), before `m`.
VEXA_OPERATOR(hom_mat2d_reflect_local) {
  Mat2D m, r;
  double v[2];
  Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetScalars(ctx, 1, 2, v);
  if (rc == VRESULT_OK) rc = Reflection(v[0], v[1], 1, &r);
  if (rc != VRESULT_OK) return rc;
  return SetHomMat2D(ctx, 0, m * r);
}

// left * right: right acts first. Affine inputs give an affine result.
VEXA_OPERATOR(hom_mat2d_compose) {
  Mat2D a, b;
  bool pa = false, pb = false;
  Vresult rc = GetAnyMat2D(ctx, 0, &a, &pa);
  if (rc == VRESULT_OK) rc = GetAnyMat2D(ctx, 1, &b, &pb);
  if (rc != VRESULT_OK) return rc;
  return SetInForm(ctx, 0, a * b, pa || pb);
}

VEXA_OPERATOR(hom_mat2d_invert) {
  Mat2D m, inv;
  bool projective = false;
  const Vresult rc = GetAnyMat2D(ctx, 0, &m, &projective);
  if (rc != VRESULT_OK) return rc;
  if (!InvertHomMat(m, &inv)) return VERR_CTRL_VALUE(0);
  return SetInForm(ctx, 0, inv, projective);
}

// The transposed 3x3 matrix, always 9 values.
VEXA_OPERATOR(hom_mat2d_transpose) {
  Mat2D m;
  bool projective = false;
  const Vresult rc = GetAnyMat2D(ctx, 0, &m, &projective);
  if (rc != VRESULT_OK) return rc;
  return SetInForm(ctx, 0, m.transpose(), true);
}

VEXA_OPERATOR(hom_mat2d_determinant) {
  Mat2D m;
  bool projective = false;
  const Vresult rc = GetAnyMat2D(ctx, 0, &m, &projective);
  if (rc != VRESULT_OK) return rc;
  return ctx.SetOutpDouble(0, m.determinant());
}

// Scale, slant, rotation and translation with
// m = T(tx, ty) * R(phi) * Slant_x(theta) * S(sx, sy); sy >= 0, theta in
// (-pi/2, pi/2], and a reflection shows as a negative sx.
VEXA_OPERATOR(hom_mat2d_to_affine_par) {
  Mat2D m;
  const Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc != VRESULT_OK) return rc;
  const double sy = std::hypot(m(0, 1), m(1, 1));
  if (!(sy > 0.0)) return VERR_CTRL_VALUE(0);
  const double phi = std::atan2(-m(0, 1), m(1, 1));
  double sx = std::hypot(m(0, 0), m(1, 0));
  if (!(sx > 0.0)) return VERR_CTRL_VALUE(0);
  double dir = std::atan2(m(1, 0), m(0, 0));  // phi + theta
  if (m.topLeftCorner<2, 2>().determinant() < 0.0) {
    sx = -sx;
    dir = std::atan2(-m(1, 0), -m(0, 0));
  }
  const double theta = std::remainder(dir - phi, 2.0 * M_PI);
  const double out[6] = {sx, sy, phi, theta, m(0, 2), m(1, 2)};
  for (int i = 0; i < 6; ++i) {
    const Vresult r = ctx.SetOutpDouble(i, out[i]);
    if (r != VRESULT_OK) return r;
  }
  return VRESULT_OK;
}

}  // namespace vexa
