// lines_gauss: sub-pixel centre lines of bright or dark lines.
//
// Line points come from the Hessian of the image smoothed with a Gaussian
// of `sigma` (line_points.h); hysteresis on their response |lambda| (low,
// high) and the linking of edges_sub_pix make them contours. With
// extract_width "true" each point gets its half-widths on both sides
// (line_width.h), corrected for the smoothing by `line_model`, and with a
// model other than "none" also the line's contrast.
//
// complete_junctions "true": where a line meets another one, the
// Hessian points fade out (the second derivative is no longer that of a
// line), so contours end short of the junction. Each open end is then
// continued straight along its last direction (over the last two pixels)
// for at most 3 sigma + 1; if that reaches a contour, the meeting point
// is added as the new end, with the attributes of the old end.
//
// Attributes per point: "angle" (the normal's direction folded into
// [0, pi), counter-clockwise on the screen from the column axis),
// "response", and with widths "width_left", "width_right" (left and right
// when walking along the contour) and "contrast".
#include <algorithm>
#include <cmath>
#include <vector>

#include "line_width.h"
#include "ops/edges/gauss_masks.h"
#include "registry.h"
#include "xld_image.h"

namespace vexa {
namespace xld {
namespace {

struct LineContour {
  std::vector<Pt> pts;
  std::vector<std::vector<double>> attribs;  // per attribute, per point
  bool closed = false;
};

// Where the segment a-b meets the segment c-d, as the parameter along
// a-b in [0, 1]; false when they do not meet or are parallel.
bool SegmentHit(const Pt& a, const Pt& b, const Pt& c, const Pt& d, double* t) {
  const double er = b.r - a.r, ec = b.c - a.c, fr = d.r - c.r, fc = d.c - c.c;
  const double den = er * fc - ec * fr;
  if (std::fabs(den) < 1e-12) return false;
  const double s = ((c.r - a.r) * fc - (c.c - a.c) * fr) / den;
  const double u = ((c.r - a.r) * ec - (c.c - a.c) * er) / den;
  if (s < 0 || s > 1 || u < 0 || u > 1) return false;
  *t = s;
  return true;
}

// Extends the open ends of `lines` to the contour they point at, if one
// lies within `reach`.
void CompleteJunctions(std::vector<LineContour>* lines, double reach) {
  const size_t n = lines->size();
  std::vector<Pt> ends(2 * n);  // the extension's meeting points
  std::vector<char> found(2 * n, 0);
  for (size_t i = 0; i < n; ++i) {
    const LineContour& li = (*lines)[i];
    if (li.closed || li.pts.size() < 3) continue;
    for (int side = 0; side < 2; ++side) {
      const size_t m = li.pts.size();
      const Pt& e = side ? li.pts[m - 1] : li.pts[0];
      const Pt& back = side ? li.pts[m - 3] : li.pts[2];
      const double len = std::hypot(e.r - back.r, e.c - back.c);
      if (len == 0) continue;
      const Pt far{e.r + (e.r - back.r) / len * reach, e.c + (e.c - back.c) / len * reach};
      double best = 2;
      for (size_t j = 0; j < n; ++j) {
        const std::vector<Pt>& q = (*lines)[j].pts;
        for (size_t k = 0; k + 1 < q.size(); ++k) {
          // Not the segments the end itself belongs to.
          if (j == i && (side ? k + 3 >= m : k < 2)) continue;
          double t = 0;
          if (SegmentHit(e, far, q[k], q[k + 1], &t) && t > 1e-9 && t < best) best = t;
        }
      }
      if (best <= 1) {
        found[2 * i + side] = 1;
        ends[2 * i + side] = {e.r + best * (far.r - e.r), e.c + best * (far.c - e.c)};
      }
    }
  }
  for (size_t i = 0; i < n; ++i) {
    LineContour& li = (*lines)[i];
    if (found[2 * i + 1]) {
      li.pts.push_back(ends[2 * i + 1]);
      for (auto& a : li.attribs) a.push_back(a.back());
    }
    if (found[2 * i]) {
      li.pts.insert(li.pts.begin(), ends[2 * i]);
      for (auto& a : li.attribs) a.insert(a.begin(), a.front());
    }
  }
}

XldPtr ToContour(const LineContour& line, const std::vector<const char*>& names) {
  auto x = std::make_shared<Xld>();
  for (const Pt& p : line.pts) {
    x->rows.push_back(static_cast<float>(p.r));
    x->cols.push_back(static_cast<float>(p.c));
  }
  for (size_t a = 0; a < names.size(); ++a) x->attribs.push_back({names[a], line.attribs[a]});
  return x;
}

}  // namespace

VEXA_OPERATOR(lines_gauss) {
  Vkey key = VKEY_UNDEF;
  double sigma = 0, low = 0, high = 0;
  int light_dark = 0, extract_width = 0, model = 0, complete = 0;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = GetSigma(ctx, 0, &sigma);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &low);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 2, &high);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 3, {"light", "dark", "all"}, &light_dark);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 4, {"false", "true"}, &extract_width);
  if (rc == VRESULT_OK)
    rc = GetChoice(ctx, 5, {"none", "bar-shaped", "gaussian", "parabolic"}, &model);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 6, {"false", "true"}, &complete);
  if (rc != VRESULT_OK) return rc;
  if (low < 0) return VERR_CTRL_VALUE(1);
  if (high < low) return VERR_CTRL_VALUE(2);
  FloatImage image;
  rc = InpFloatImage(1, key, 0, &image);
  if (rc != VRESULT_OK) return rc;
  LineDerivatives d;
  rc = GaussLineDerivatives(image.values, sigma, &d);
  if (rc != VRESULT_OK) return rc;
  std::vector<EdgePoint> pts;
  cv::Mat index;
  LinePoints(d, image.domain, static_cast<LineKind>(light_dark), low, high, &pts, &index);
  Hysteresis(pts, &index);

  const LineModel line_model = static_cast<LineModel>(model);
  const LineWidthCorrection correction(line_model, sigma);
  std::vector<const char*> names = {"angle", "response"};
  if (extract_width) {
    names.push_back("width_left");
    names.push_back("width_right");
    if (line_model != LineModel::kNone) names.push_back("contrast");
  }
  std::vector<LineContour> lines;
  for (const Chain& chain : LinkChains(pts, index)) {
    LineContour line;
    line.closed = chain.closed;
    line.attribs.resize(names.size());
    const size_t n = chain.points.size() + (chain.closed ? 1 : 0);
    for (size_t k = 0; k < n; ++k) {
      const EdgePoint& p = pts[static_cast<size_t>(chain.points[k % chain.points.size()])];
      line.pts.push_back({p.sr, p.sc});
      line.attribs[0].push_back(WrapAngle(std::atan2(-p.nr, p.nc), M_PI));
      line.attribs[1].push_back(p.response);
      if (!extract_width) continue;
      const LineWidth v = MeasureLineWidth(d, p, std::max(3.0, 5.0 * sigma));
      const double mean = 0.5 * (v.left + v.right);
      const double w = correction.TrueHalfWidth(mean);
      const double scale = mean > 0 ? w / mean : 0.0;
      // The contour runs along (-nc, nr): the normal points to its right.
      line.attribs[2].push_back(v.left * scale);
      line.attribs[3].push_back(v.right * scale);
      if (line_model != LineModel::kNone)
        line.attribs[4].push_back(correction.Contrast(w, p.response));
    }
    lines.push_back(std::move(line));
  }
  if (complete) CompleteJunctions(&lines, 3.0 * sigma + 1.0);
  std::vector<XldPtr> contours;
  contours.reserve(lines.size());
  for (const LineContour& line : lines) contours.push_back(ToContour(line, names));
  return HandOverXlds(ctx, 1, contours);
}

}  // namespace xld
}  // namespace vexa
