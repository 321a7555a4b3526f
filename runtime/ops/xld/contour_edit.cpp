// Editing contours: closing, clipping to rectangles, clipping end points;
// selecting and sorting contours. Pieces keep the per-point
// attributes of their points; points made on a clipping border take the
// interpolated attribute values.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "contour_pieces.h"
#include "registry.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

// The parts of each contour inside the rectangle. With `exact`, segments
// are cut where they cross the border (Liang-Barsky); otherwise only
// points inside are kept.
std::vector<XldPtr> ClipToRectangle(const Xld& x, double r1, double c1, double r2, double c2,
                                    bool exact) {
  std::vector<XldPtr> out;
  PieceBuilder b(x);
  auto inside = [&](size_t i) {
    return x.rows[i] >= r1 && x.rows[i] <= r2 && x.cols[i] >= c1 && x.cols[i] <= c2;
  };
  const size_t n = x.size();
  for (size_t i = 0; i < n; ++i) {
    const bool in = inside(i);
    if (in) b.Add(i);
    if (i + 1 == n) break;
    if (!exact) {
      if (in && !inside(i + 1)) b.Finish(&out);
      continue;
    }
    // The parameter range [t0, t1] of segment i inside the rectangle.
    const double dr = x.rows[i + 1] - x.rows[i], dc = x.cols[i + 1] - x.cols[i];
    double t0 = 0, t1 = 1;
    const double p[4] = {-dr, dr, -dc, dc};
    const double q[4] = {x.rows[i] - r1, r2 - x.rows[i], x.cols[i] - c1, c2 - x.cols[i]};
    bool visible = true;
    for (int k = 0; k < 4 && visible; ++k) {
      if (p[k] == 0) {
        visible = q[k] >= 0;
      } else {
        const double t = q[k] / p[k];
        if (p[k] < 0) t0 = std::max(t0, t);
        else t1 = std::min(t1, t);
      }
    }
    if (!visible || t0 > t1) continue;
    if (t0 > 0) b.Add(i, t0);
    if (t1 < 1) {
      b.Add(i, t1);
      b.Finish(&out);
    }
  }
  b.Finish(&out);
  // A closed contour cut open: its last piece runs on into its first.
  if (IsClosed(x) && out.size() > 1 && inside(0)) {
    auto joined = std::make_shared<Xld>(*out.back());
    const Xld& first = *out.front();
    joined->rows.insert(joined->rows.end(), first.rows.begin() + 1, first.rows.end());
    joined->cols.insert(joined->cols.end(), first.cols.begin() + 1, first.cols.end());
    for (size_t k = 0; k < joined->attribs.size(); ++k)
      joined->attribs[k].values.insert(joined->attribs[k].values.end(),
                                       first.attribs[k].values.begin() + 1,
                                       first.attribs[k].values.end());
    out.front() = joined;
    out.pop_back();
  }
  return out;
}

// The piece closed by its first point appended.
XldPtr Closed(const XldPtr& x) {
  if (IsClosed(*x)) return x;
  auto y = std::make_shared<Xld>(*x);
  y->rows.push_back(x->rows[0]);
  y->cols.push_back(x->cols[0]);
  for (XldAttrib& a : y->attribs) a.values.push_back(a.values[0]);
  return y;
}

}  // namespace

// The first point appended to every contour that is not closed yet.
VEXA_OPERATOR(close_contours_xld) {
  std::vector<XldPtr> xs;
  const Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs) {
    out.push_back(x->size() < 2 ? x : Closed(x));
  }
  return HandOverXlds(ctx, 1, out);
}

// The runs of points inside the rectangle (integer corners, inclusive).
VEXA_OPERATOR(clip_contours_xld) {
  std::vector<XldPtr> xs;
  Vlong v[4];
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  for (int k = 0; rc == VRESULT_OK && k < 4; ++k) rc = ctx.GetLong(k, &v[k]);
  if (rc != VRESULT_OK) return rc;
  if (v[2] < v[0]) return VERR_CTRL_VALUE(2);
  if (v[3] < v[1]) return VERR_CTRL_VALUE(3);
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs)
    for (XldPtr& p : ClipToRectangle(*x, static_cast<double>(v[0]), static_cast<double>(v[1]),
                                     static_cast<double>(v[2]), static_cast<double>(v[3]), false))
      out.push_back(std::move(p));
  return HandOverXlds(ctx, 1, out);
}

// The parts inside the rectangle, cut exactly at its border;
// close_contours "true" closes the pieces of closed contours.
VEXA_OPERATOR(crop_contours_xld) {
  std::vector<XldPtr> xs;
  double v[4];
  int close = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  for (int k = 0; rc == VRESULT_OK && k < 4; ++k) rc = GetFinite(ctx, k, &v[k]);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 4, {"true", "false"}, &close);
  if (rc != VRESULT_OK) return rc;
  if (v[2] < v[0]) return VERR_CTRL_VALUE(2);
  if (v[3] < v[1]) return VERR_CTRL_VALUE(3);
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs)
    for (XldPtr& p : ClipToRectangle(*x, v[0], v[1], v[2], v[3], true))
      out.push_back(close == 0 && IsClosed(*x) ? Closed(p) : std::move(p));
  return HandOverXlds(ctx, 1, out);
}

// mode "num_points": `length` points off each end; "length": the ends up
// to that arc length off each end. What is left of a contour too short
// is dropped.
VEXA_OPERATOR(clip_end_points_contours_xld) {
  std::vector<XldPtr> xs;
  int mode = 0;
  double length = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"num_points", "length"}, &mode);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &length);
  if (rc != VRESULT_OK) return rc;
  if (length < 0) return VERR_CTRL_VALUE(1);
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs) {
    const size_t n = x->size();
    size_t from = 0, to = n;  // kept: [from, to)
    if (mode == 0) {
      const size_t k = static_cast<size_t>(length);
      from = std::min(n, k);
      to = n > k ? n - k : 0;
    } else {
      double run = 0;
      while (from + 1 < n && run < length) {
        run += std::hypot(x->rows[from + 1] - x->rows[from], x->cols[from + 1] - x->cols[from]);
        ++from;
      }
      run = 0;
      while (to > 1 && run < length) {
        run += std::hypot(x->rows[to - 1] - x->rows[to - 2], x->cols[to - 1] - x->cols[to - 2]);
        --to;
      }
    }
    PieceBuilder b(*x);
    for (size_t i = from; i < to; ++i) b.Add(i);
    b.Finish(&out);
  }
  return HandOverXlds(ctx, 1, out);
}

// feature "contour_length" in [min1, max1]; "maximum_extent" (the larger
// side of the bounding box) in [min1, max1]; "direction" (of the
// regression line, in [0, pi)) in [min1, max1]; "closed": first and last
// point at most max1 apart; "open": farther than max1.
VEXA_OPERATOR(select_contours_xld) {
  std::vector<XldPtr> xs;
  int feature = 0;
  double v[4];
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK)
    rc = GetChoice(ctx, 0, {"contour_length", "maximum_extent", "direction", "closed", "open"},
                   &feature);
  for (int k = 0; rc == VRESULT_OK && k < 4; ++k) rc = GetFinite(ctx, k + 1, &v[k]);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vkey> keys;
  for (size_t i = 0; i < xs.size(); ++i) {
    const Xld& x = *xs[i];
    const std::vector<Pt> p = PointsOf(x);
    double value = 0;
    bool keep = false;
    if (feature == 0) {
      value = ChainLength(p);
    } else if (feature == 1) {
      double r1 = 0, c1 = 0, r2 = 0, c2 = 0;
      if (!p.empty()) {
        r1 = r2 = p[0].r, c1 = c2 = p[0].c;
        for (const Pt& q : p) r1 = std::min(r1, q.r), r2 = std::max(r2, q.r), c1 = std::min(c1, q.c), c2 = std::max(c2, q.c);
      }
      value = std::max(r2 - r1, c2 - c1);
    } else if (feature == 2) {
      double srr = 0, scc = 0, src = 0, mr = 0, mc = 0;
      for (const Pt& q : p) mr += q.r / p.size(), mc += q.c / p.size();
      for (const Pt& q : p) srr += (q.r - mr) * (q.r - mr), scc += (q.c - mc) * (q.c - mc), src += (q.r - mr) * (q.c - mc);
      double phi = std::atan2(-2 * src, scc - srr) / 2;  // direction of the larger spread
      if (phi < 0) phi += M_PI;
      value = phi;
    }
    if (feature <= 2) {
      keep = value >= v[0] && value <= v[1];
    } else {
      const double gap = p.size() > 1 ? std::hypot(p.front().r - p.back().r, p.front().c - p.back().c) : 0.0;
      keep = p.size() > 1 && (feature == 3 ? gap <= v[1] : gap > v[1]);
    }
    if (keep) keys.push_back(ctx.InpObjKey(1, static_cast<Vlong>(i)));
  }
  return PassOnKeys(ctx, 1, keys);
}

// By a corner of each contour's bounding box ("upper_left", "upper_right",
// "lower_left", "lower_right") or by its first point ("character" sorts by
// the upper-left corner too), primarily by row or by column; order "true"
// is descending. Equal keys keep their input order.
VEXA_OPERATOR(sort_contours_xld) {
  std::vector<XldPtr> xs;
  int mode = 0, order = 0, primary = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  if (rc == VRESULT_OK)
    rc = GetChoice(ctx, 0, {"upper_left", "upper_right", "lower_left", "lower_right", "character"},
                   &mode);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 1, {"false", "true"}, &order);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 2, {"row", "column"}, &primary);
  if (rc != VRESULT_OK) return rc;
  std::vector<std::pair<double, double>> key(xs.size());
  for (size_t i = 0; i < xs.size(); ++i) {
    const Xld& x = *xs[i];
    double r1 = 0, c1 = 0, r2 = 0, c2 = 0;
    for (size_t k = 0; k < x.size(); ++k) {
      if (k == 0) r1 = r2 = x.rows[0], c1 = c2 = x.cols[0];
      r1 = std::min<double>(r1, x.rows[k]), r2 = std::max<double>(r2, x.rows[k]);
      c1 = std::min<double>(c1, x.cols[k]), c2 = std::max<double>(c2, x.cols[k]);
    }
    const double r = mode == 2 || mode == 3 ? r2 : r1;
    const double c = mode == 1 || mode == 3 ? c2 : c1;
    key[i] = primary == 0 ? std::make_pair(r, c) : std::make_pair(c, r);
  }
  std::vector<size_t> idx(xs.size());
  std::iota(idx.begin(), idx.end(), 0);
  std::stable_sort(idx.begin(), idx.end(), [&](size_t a, size_t b) {
    return order == 1 ? key[b] < key[a] : key[a] < key[b];
  });
  std::vector<Vkey> keys;
  for (size_t i : idx) keys.push_back(ctx.InpObjKey(1, static_cast<Vlong>(i)));
  return PassOnKeys(ctx, 1, keys);
}

}  // namespace xld
}  // namespace vexa
