// Parts of contours chosen point by point: by ranges of their attributes,
// or where the image has a ridge of gray values across the contour.
#include <algorithm>
#include <cmath>
#include <string>

#include "contour_pieces.h"
#include "ops/common/interpolation.h"
#include "registry.h"

namespace vexa {
namespace xld {
namespace {

// Attribute names with one range each (a single min or max is shared).
struct AttribRanges {
  std::vector<const char*> names;
  std::vector<double> min, max;
  bool all = true;  // "and"; "or" when false

  Vresult Read(const OpContext& ctx) {
    int op = 0;
    Vresult rc = ctx.GetStrings(0, names);
    if (rc == VRESULT_OK) rc = GetChoice(ctx, 1, {"and", "or"}, &op);
    if (rc == VRESULT_OK) rc = GetFinites(ctx, 2, &min);
    if (rc == VRESULT_OK) rc = GetFinites(ctx, 3, &max);
    if (rc != VRESULT_OK) return rc;
    all = op == 0;
    if (names.empty()) return VERR_CTRL_NUM(0);
    if (min.size() != 1 && min.size() != names.size()) return VERR_CTRL_NUM(2);
    if (max.size() != 1 && max.size() != names.size()) return VERR_CTRL_NUM(3);
    for (size_t k = 0; k < names.size(); ++k)
      if (Min(k) > Max(k)) return VERR_CTRL_VALUE(3);
    return VRESULT_OK;
  }
  double Min(size_t k) const { return min[std::min(k, min.size() - 1)]; }
  double Max(size_t k) const { return max[std::min(k, max.size() - 1)]; }

  // keep[i]: the point's values lie in their ranges, all of them ("and")
  // or at least one ("or"). A contour without one of the attributes:
  // VERR_CTRL_VALUE(0).
  Vresult Keep(const Xld& x, std::vector<bool>* keep) const {
    keep->assign(x.size(), all);
    for (size_t k = 0; k < names.size(); ++k) {
      const XldAttrib* a = x.Attrib(names[k]);
      if (a == nullptr) return VERR_CTRL_VALUE(0);
      for (size_t i = 0; i < x.size(); ++i) {
        const bool in = a->values[i] >= Min(k) && a->values[i] <= Max(k);
        (*keep)[i] = all ? (*keep)[i] && in : (*keep)[i] || in;
      }
    }
    return VRESULT_OK;
  }
};

// Unit normal at point i from its neighbours' chord (one-sided at the ends
// of an open contour, wrapping round a closed one); false where the chord
// has no length.
bool Normal(const Xld& x, size_t i, double* nr, double* nc) {
  const bool closed = IsClosed(x);
  const size_t n = x.size() - (closed ? 1 : 0);
  const size_t prev = i > 0 ? i - 1 : (closed ? n - 1 : 0);
  const size_t next = i + 1 < n ? i + 1 : (closed ? 0 : n - 1);
  const double dr = x.rows[next] - x.rows[prev], dc = x.cols[next] - x.cols[prev];
  const double len = std::hypot(dr, dc);
  if (!(len > 0)) return false;
  *nr = dc / len;
  *nc = -dr / len;
  return true;
}

}  // namespace

// Each contour split into the runs of points whose attributes satisfy
// min <= value <= max; parts of fewer than two points are dropped.
VEXA_OPERATOR(segment_contour_attrib_xld) {
  std::vector<XldPtr> xs;
  AttribRanges ranges;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = ranges.Read(ctx);
  std::vector<XldPtr> out;
  std::vector<bool> keep;
  for (size_t i = 0; rc == VRESULT_OK && i < xs.size(); ++i) {
    rc = ranges.Keep(*xs[i], &keep);
    if (rc == VRESULT_OK) KeptRuns(xs[i], keep, &out);
  }
  return rc != VRESULT_OK ? rc : HandOverXlds(ctx, 1, out);
}

// A contour point is a local maximum when the image's first channel
// (bilinear) at the point exceeds the values `distance` pixels away on
// both sides along the normal by at least `min_diff`; the point's nearest
// pixel must lie in the domain. A contour gives the runs of its maxima
// (at least two points each) when at least `min_percent` % of its points
// are maxima, else nothing.
VEXA_OPERATOR(local_max_contours_xld) {
  std::vector<XldPtr> xs;
  db::ImageData image;
  Vlong min_percent = 0, min_diff = 0, distance = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = InpSingleImage(ctx, 2, &image);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &min_percent);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &min_diff);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &distance);
  if (rc != VRESULT_OK) return rc;
  if (min_percent < 0 || min_percent > 100) return VERR_CTRL_VALUE(0);
  if (min_diff < 0) return VERR_CTRL_VALUE(1);
  if (distance < 1 || distance > kMaxImageSide) return VERR_CTRL_VALUE(2);
  const PixelBuffer& ch = *image.channels[0];
  if (ch.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  const double d = static_cast<double>(distance);
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs) {
    std::vector<bool> keep(x->size(), false);
    size_t maxima = 0;
    for (size_t i = 0; i < x->size(); ++i) {
      const double r = x->rows[i], c = x->cols[i];
      double nr = 0, nc = 0;
      if (!NearestInDomain(*image.domain, r, c) || !Normal(*x, i, &nr, &nc)) continue;
      const double v = Interpolate(ch, Interpolation::kBilinear, r, c);
      const double a = Interpolate(ch, Interpolation::kBilinear, r + d * nr, c + d * nc);
      const double b = Interpolate(ch, Interpolation::kBilinear, r - d * nr, c - d * nc);
      keep[i] = v - a >= static_cast<double>(min_diff) && v - b >= static_cast<double>(min_diff);
      maxima += keep[i];
    }
    if (!x->size() || 100.0 * static_cast<double>(maxima) < static_cast<double>(min_percent * x->size())) continue;
    KeptRuns(x, keep, &out);
  }
  return HandOverXlds(ctx, 1, out);
}

}  // namespace xld
}  // namespace vexa
