// union_straight_contours_histo_xld: contours that run beside a reference
// line at the most frequent distance from it, selected and joined.
//
// Each contour point has a signed distance s from the reference line (the
// normal is the line's direction turned a quarter clockwise) and a
// position t along it. The points with |s| <= max_width + 0.5 fill a
// histogram of 2 max_width + 1 bins (bin k for s rounded to
// k - max_width), smoothed by a centred moving mean over filter_size (odd)
// bins that shrinks at the ends: histo_values. At the first highest bin
// s*, the contours whose mean s lies within width / 2 of s* are selected
// (in input order) and joined into one contour, ordered by their mean t
// and each turned to run along the reference direction (no attributes).
// No point in the histogram selects nothing and joins nothing.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

constexpr Vlong kMaxHistogramWidth = 100000;

// Mean signed distance and mean position of a contour's points.
struct Placement {
  double s = 0, t = 0;
};

std::vector<double> MovingMean(const std::vector<double>& h, long half) {
  const long n = static_cast<long>(h.size());
  std::vector<double> out(h.size());
  for (long k = 0; k < n; ++k) {
    const long lo = std::max(0L, k - half), hi = std::min(n - 1, k + half);
    double sum = 0;
    for (long j = lo; j <= hi; ++j) sum += h[static_cast<size_t>(j)];
    out[static_cast<size_t>(k)] = sum / static_cast<double>(hi - lo + 1);
  }
  return out;
}

}  // namespace

VEXA_OPERATOR(union_straight_contours_histo_xld) {
  std::vector<XldPtr> xs;
  Vlong v[7] = {};
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &xs);
  for (int k = 0; rc == VRESULT_OK && k < 7; ++k) rc = ctx.GetLong(k, &v[k]);
  if (rc != VRESULT_OK) return rc;
  for (int k = 0; k < 4; ++k)
    if (std::llabs(v[k]) > static_cast<Vlong>(kMaxValue)) return VERR_CTRL_VALUE(k);
  const double r0 = static_cast<double>(v[0]), c0 = static_cast<double>(v[1]);
  const double len = std::hypot(static_cast<double>(v[2]) - r0, static_cast<double>(v[3]) - c0);
  if (!(len > 0)) return VERR_CTRL_VALUE(2);
  if (v[4] < 1 || v[4] > kMaxHistogramWidth) return VERR_CTRL_VALUE(4);
  if (v[5] < 1 || v[5] > kMaxHistogramWidth) return VERR_CTRL_VALUE(5);
  if (v[6] < 1 || v[6] % 2 == 0 || v[6] > 2 * kMaxHistogramWidth + 1) return VERR_CTRL_VALUE(6);
  const double dr = (static_cast<double>(v[2]) - r0) / len, dc = (static_cast<double>(v[3]) - c0) / len;
  const double max_width = static_cast<double>(v[5]);
  auto signed_dist = [&](size_t x, size_t i) {
    return (xs[x]->rows[i] - r0) * dc - (xs[x]->cols[i] - c0) * dr;
  };
  auto along = [&](size_t x, size_t i) {
    return (xs[x]->rows[i] - r0) * dr + (xs[x]->cols[i] - c0) * dc;
  };
  std::vector<double> histo(static_cast<size_t>(2 * v[5] + 1), 0.0);
  std::vector<Placement> place(xs.size());
  size_t counted = 0;
  for (size_t x = 0; x < xs.size(); ++x) {
    for (size_t i = 0; i < xs[x]->size(); ++i) {
      const double s = signed_dist(x, i);
      place[x].s += s / static_cast<double>(xs[x]->size());
      place[x].t += along(x, i) / static_cast<double>(xs[x]->size());
      if (std::fabs(s) <= max_width + 0.5) {
        histo[static_cast<size_t>(std::clamp(std::lround(s + max_width), 0L, 2L * v[5]))] += 1;
        ++counted;
      }
    }
  }
  histo = MovingMean(histo, static_cast<long>(v[6] / 2));
  std::vector<XldPtr> selected;
  std::vector<size_t> order;
  if (counted > 0) {
    const double peak =
        static_cast<double>(std::max_element(histo.begin(), histo.end()) - histo.begin()) - max_width;
    for (size_t x = 0; x < xs.size(); ++x)
      if (xs[x]->size() > 0 && std::fabs(place[x].s - peak) <= static_cast<double>(v[4]) / 2) {
        selected.push_back(xs[x]);
        order.push_back(x);
      }
  }
  std::vector<XldPtr> joined;
  if (!selected.empty()) {
    std::stable_sort(order.begin(), order.end(),
                     [&](size_t a, size_t b) { return place[a].t < place[b].t; });
    auto out = std::make_shared<Xld>();
    for (size_t x : order) {
      const Xld& c = *xs[x];
      const bool reversed = along(x, 0) > along(x, c.size() - 1);
      for (size_t k = 0; k < c.size(); ++k) {
        const size_t i = reversed ? c.size() - 1 - k : k;
        out->rows.push_back(c.rows[i]);
        out->cols.push_back(c.cols[i]);
      }
    }
    joined.push_back(out);
  }
  rc = HandOverXlds(ctx, 1, joined);
  if (rc == VRESULT_OK) rc = HandOverXlds(ctx, 2, selected);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(0, histo);
  return rc;
}

}  // namespace xld
}  // namespace vexa
