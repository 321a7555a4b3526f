// Polygons from contours (Ramer's recursive split) and contour pieces back
// from polygons.
#include <algorithm>
#include <cmath>
#include <utility>

#include "registry.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

// Marks the points kept when the chain first..last is split at its
// farthest point until no point lies more than `tolerance` from its chord.
void Ramer(const std::vector<Pt>& p, size_t first, size_t last,
           double tolerance, std::vector<char>* keep) {
  std::vector<std::pair<size_t, size_t>> work{{first, last}};
  while (!work.empty()) {
    const auto [a, b] = work.back();
    work.pop_back();
    double worst = -1;
    size_t at = a;
    for (size_t i = a + 1; i < b; ++i) {
      const double d = SegmentDistance(p[i], p[a], p[b]);
      if (d > worst) {
        worst = d;
        at = i;
      }
    }
    if (worst > tolerance) {
      (*keep)[at] = 1;
      work.push_back({a, at});
      work.push_back({at, b});
    }
  }
}

// The polygon of contour `c`: its corners, their indices, `c` as source.
XldPtr PolygonOf(const XldPtr& c, double tolerance) {
  const std::vector<Pt> p = PointsOf(*c);
  auto poly = std::make_shared<Xld>();
  poly->cls = VOBJ_XLD_POLY;
  poly->source = c;
  if (!p.empty()) {
    std::vector<char> keep(p.size(), 0);
    keep.front() = keep.back() = 1;
    if (IsClosed(*c) && p.size() > 3) {
      // A closed contour is split first at the point farthest from its
      // start, so that the start is the only fixed corner.
      size_t far = 0;
      double best = -1;
      for (size_t i = 1; i + 1 < p.size(); ++i) {
        const double d = std::hypot(p[i].r - p[0].r, p[i].c - p[0].c);
        if (d > best) best = d, far = i;
      }
      keep[far] = 1;
      Ramer(p, 0, far, tolerance, &keep);
      Ramer(p, far, p.size() - 1, tolerance, &keep);
    } else {
      Ramer(p, 0, p.size() - 1, tolerance, &keep);
    }
    for (size_t i = 0; i < p.size(); ++i) {
      if (!keep[i]) continue;
      poly->rows.push_back(c->rows[i]);
      poly->cols.push_back(c->cols[i]);
      poly->source_index.push_back(static_cast<int64_t>(i));
    }
  }
  return poly;
}

// The source points from corner k to corner k + 1 of polygon `p`, or the
// straight segment when the polygon has no source contour.
XldPtr Piece(const Xld& p, size_t k, bool along_contour) {
  auto piece = std::make_shared<Xld>();
  if (along_contour && p.source) {
    const Xld& c = *p.source;
    const size_t from = static_cast<size_t>(p.source_index[k]);
    const size_t to = static_cast<size_t>(p.source_index[k + 1]);
    piece->rows.assign(c.rows.begin() + from, c.rows.begin() + to + 1);
    piece->cols.assign(c.cols.begin() + from, c.cols.begin() + to + 1);
    for (const XldAttrib& a : c.attribs)
      piece->attribs.push_back({a.name, std::vector<double>(a.values.begin() + from,
                                                            a.values.begin() + to + 1)});
  } else {
    piece->rows = {p.rows[k], p.rows[k + 1]};
    piece->cols = {p.cols[k], p.cols[k + 1]};
  }
  return piece;
}

}  // namespace

// type "ramer": no contour point lies farther than `alpha` from its
// polygon segment.
VEXA_OPERATOR(gen_polygons_xld) {
  std::vector<XldPtr> contours;
  int type = 0;
  double alpha = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &contours);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"ramer"}, &type);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &alpha);
  if (rc != VRESULT_OK) return rc;
  if (alpha < 0) return VERR_CTRL_VALUE(1);
  std::vector<XldPtr> polys;
  for (const XldPtr& c : contours) polys.push_back(PolygonOf(c, alpha));
  return HandOverXlds(ctx, 1, polys);
}

// One contour per polygon segment: mode "polygon" gives the straight
// segment, "contour" the points of the source contour between the two
// corners (with their attributes). `weight` and `smooth` take part in no
// computation and must be non-negative.
VEXA_OPERATOR(split_contours_xld) {
  std::vector<XldPtr> polys;
  int mode = 0;
  Vlong weight = 0, smooth = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_POLY, &polys);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"polygon", "contour"}, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &weight);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &smooth);
  if (rc != VRESULT_OK) return rc;
  if (weight < 0) return VERR_CTRL_VALUE(1);
  if (smooth < 0) return VERR_CTRL_VALUE(2);
  std::vector<XldPtr> pieces;
  for (const XldPtr& p : polys)
    for (size_t k = 0; k + 1 < p->size(); ++k) pieces.push_back(Piece(*p, k, mode == 1));
  return HandOverXlds(ctx, 1, pieces);
}

}  // namespace xld
}  // namespace vexa
