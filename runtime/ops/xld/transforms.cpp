// Geometric transformations of contours and polygons: affine, projective
// and polar maps, and the parallel contour at a distance. Per-point
// attributes and global attributes go along unchanged.
#include <cmath>

#include "ops/transform/polar_map.h"
#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

// A copy of `x` (and of a polygon's source) with every point mapped by
// `f`; false when a point maps to no finite place.
template <class Map>
bool Transformed(const Xld& x, const Map& f, XldPtr* out) {
  auto y = std::make_shared<Xld>(x);
  for (size_t i = 0; i < y->size(); ++i) {
    double r = y->rows[i], c = y->cols[i];
    if (!f(&r, &c) || !(std::fabs(r) <= kMaxValue && std::fabs(c) <= kMaxValue)) return false;
    y->rows[i] = static_cast<float>(r);
    y->cols[i] = static_cast<float>(c);
  }
  if (x.source && !Transformed(*x.source, f, &y->source)) return false;
  *out = y;
  return true;
}

// A 2D homogeneous matrix of `n` values (6 affine, 9 projective).
Vresult Matrix(const OpContext& ctx, size_t n, std::vector<double>* h) {
  const Vresult rc = GetFinites(ctx, 0, h);
  if (rc != VRESULT_OK) return rc;
  return h->size() == n ? VRESULT_OK : VERR_CTRL_NUM(0);
}

template <class Map>
Vresult MapAll(OpContext& ctx, int32_t cls, const Map& f) {
  std::vector<XldPtr> xs;
  const Vresult rc = InpXlds(ctx, 1, cls, &xs);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out(xs.size());
  for (size_t i = 0; i < xs.size(); ++i)
    if (!Transformed(*xs[i], f, &out[i])) return VERR_CTRL_VALUE(0);
  return HandOverXlds(ctx, 1, out);
}

Vresult Affine(OpContext& ctx, int32_t cls) {
  std::vector<double> h;
  const Vresult rc = Matrix(ctx, 6, &h);
  if (rc != VRESULT_OK) return rc;
  return MapAll(ctx, cls, [&](double* r, double* c) {
    const double r0 = *r, c0 = *c;
    *r = h[0] * r0 + h[1] * c0 + h[2];
    *c = h[3] * r0 + h[4] * c0 + h[5];
    return true;
  });
}

// Every contour point through a polar map (a SourceMap of polar_map.h).
Vresult MapPolar(OpContext& ctx, const SourceMap& map) {
  return MapAll(ctx, VOBJ_XLD_CONT, [&](double* r, double* c) {
    map(*r, *c, r, c);
    return true;
  });
}

}  // namespace

// Each point goes to the polar coordinates where polar_trans_image_ext
// puts its pixel in a width x height polar image. Contours are not
// clipped: points outside the annular arc land outside that image
// (clip_contours_xld cuts them off).
VEXA_OPERATOR(polar_trans_contour_xld) {
  Polar p{};
  Vresult rc = GetPolarRange(ctx, 0, &p);
  if (rc == VRESULT_OK) rc = GetPolarSize(ctx, 6, &p.width, &p.height);
  if (rc == VRESULT_OK) rc = CheckInvertible(p, 0);
  return rc == VRESULT_OK ? MapPolar(ctx, ImageToPolar(p)) : rc;
}

// Each point of a contour in a width_in x height_in polar image goes back
// to its image point; width x height, the size of that image, is checked
// but does not clip.
VEXA_OPERATOR(polar_trans_contour_xld_inv) {
  Polar p{};
  int32_t w = 0, h = 0;
  Vresult rc = GetPolarRange(ctx, 0, &p);
  if (rc == VRESULT_OK) rc = GetPolarSize(ctx, 6, &p.width, &p.height);
  if (rc == VRESULT_OK) rc = GetPolarSize(ctx, 8, &w, &h);
  return rc == VRESULT_OK ? MapPolar(ctx, PolarToImage(p)) : rc;
}

// hom_mat2d: the six values (a b tr; d e tc) of r' = a r + b c + tr,
// c' = d r + e c + tc.
VEXA_OPERATOR(affine_trans_contour_xld) { return Affine(ctx, VOBJ_XLD_CONT); }

VEXA_OPERATOR(affine_trans_polygon_xld) { return Affine(ctx, VOBJ_XLD_POLY); }

// hom_mat2d: nine values, (r', c', w') = H (r, c, 1); points with w' = 0
// are VERR_CTRL_VALUE(0).
VEXA_OPERATOR(projective_trans_contour_xld) {
  std::vector<double> h;
  const Vresult rc = Matrix(ctx, 9, &h);
  if (rc != VRESULT_OK) return rc;
  return MapAll(ctx, VOBJ_XLD_CONT, [&](double* r, double* c) {
    const double r0 = *r, c0 = *c;
    const double w = h[6] * r0 + h[7] * c0 + h[8];
    if (w == 0) return false;
    *r = (h[0] * r0 + h[1] * c0 + h[2]) / w;
    *c = (h[3] * r0 + h[4] * c0 + h[5]) / w;
    return true;
  });
}

// Each point moved by `distance` along the contour's normal (the
// direction of travel turned a quarter clockwise on the screen), the
// normal taken from the neighbouring points. mode "regression_normal"
// and "contour_normal" both use the neighbours' chord.
VEXA_OPERATOR(gen_parallel_contour_xld) {
  std::vector<XldPtr> xs;
  int mode = 0;
  double distance = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"regression_normal", "contour_normal"}, &mode);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &distance);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs) {
    auto y = std::make_shared<Xld>(*x);
    const size_t n = x->size();
    const bool closed = IsClosed(*x);
    for (size_t i = 0; n > 1 && i < n; ++i) {
      size_t a = i == 0 ? (closed ? n - 2 : 0) : i - 1;
      size_t b = i + 1 == n ? (closed ? 1 : n - 1) : i + 1;
      const double dr = x->rows[b] - x->rows[a], dc = x->cols[b] - x->cols[a];
      const double len = std::hypot(dr, dc);
      if (len == 0) continue;
      y->rows[i] = static_cast<float>(x->rows[i] + distance * dc / len);
      y->cols[i] = static_cast<float>(x->cols[i] - distance * dr / len);
    }
    out.push_back(y);
  }
  return HandOverXlds(ctx, 1, out);
}

}  // namespace xld
}  // namespace vexa
