// Segmentations that join pixels by connectivity (8-neighbourhood):
//   hysteresis_threshold  pixels >= high are kept, and pixels in [low, high)
//                         reached from them through at most max_length
//                         such pixels; one region per image
//   dual_threshold        the components of g >= threshold and of
//                         g <= -threshold with at least min_size pixels
//                         whose extreme value reaches min_gray (-min_gray);
//                         the light components first, then the dark ones
//   regiongrowing         the image cut into raster_height x raster_width
//                         cells, each represented by its centre pixel;
//                         4-neighbouring cells whose values differ by at
//                         most tolerance are merged; regions of at least
//                         min_size pixels (within the domain), in the order
//                         of their first cell
//   regiongrowing_mean    one region per start point, grown while the
//                         neighbours stay within tolerance of its mean
//   expand_line           from a start row (column), each column (row)
//                         grown both ways while its gray values agree
#include <algorithm>
#include <cmath>
#include <deque>
#include <numeric>
#include <vector>

#include "ops/common/pixel_dispatch.h"
#include "ops/filter/filter_support.h"
#include "ops/segmentation/pixel_select.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// The gray values of a channel as doubles, for the connectivity passes
// that look at neighbours.
std::vector<double> Values(const PixelBuffer& im) {
  std::vector<double> v(static_cast<size_t>(im.num_pixels()));
  DispatchPixelType(im.type(), [&](auto tag) {
    const auto* p = PixelsOf(im, tag);
    for (size_t k = 0; k < v.size(); ++k) v[k] = static_cast<double>(p[k]);
  });
  return v;
}

std::vector<Chord> Hysteresis(const PixelBuffer& im, const DomainScan& s, double low,
                              double high, Vlong max_length) {
  const std::vector<double> g = Values(im);
  const int32_t w = s.width(), h = s.height();
  // -2 outside the candidates, -1 a candidate not reached yet, else the
  // number of weak pixels on the shortest path from a strong one.
  std::vector<int64_t> dist(g.size(), -2);
  std::deque<size_t> queue;
  s.ForEachRun([&](size_t o, size_t n) {
    for (size_t k = o; k < o + n; ++k) {
      if (g[k] >= high) {
        dist[k] = 0;
        queue.push_back(k);
      } else if (g[k] >= low) {
        dist[k] = -1;
      }
    }
  });
  while (!queue.empty()) {
    const size_t k = queue.front();
    queue.pop_front();
    if (dist[k] >= max_length) continue;
    const int32_t r = static_cast<int32_t>(k / static_cast<size_t>(w));
    const int32_t c = static_cast<int32_t>(k % static_cast<size_t>(w));
    for (int32_t dr = -1; dr <= 1; ++dr) {
      for (int32_t dc = -1; dc <= 1; ++dc) {
        const int32_t rr = r + dr, cc = c + dc;
        if (rr < 0 || rr >= h || cc < 0 || cc >= w) continue;
        const size_t n = s.Offset(rr, cc);
        if (dist[n] != -1) continue;
        dist[n] = dist[k] + 1;
        queue.push_back(n);
      }
    }
  }
  return SelectRuns(s, [&](size_t k) { return dist[k] >= 0; });
}

}  // namespace

VEXA_OPERATOR(hysteresis_threshold) {
  Vlong low = 0, high = 0, max_length = 0;
  Vresult rc = ctx.GetLong(0, &low);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &high);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &max_length);
  if (rc != VRESULT_OK) return rc;
  if (high < low) return VERR_CTRL_VALUE(1);
  if (max_length < 0) return VERR_CTRL_VALUE(2);
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong,
                                NewKeys* out) {
    return AddRegion(Hysteresis(im, s, static_cast<double>(low), static_cast<double>(high),
                                max_length), out);
  });
}

VEXA_OPERATOR(dual_threshold) {
  Vlong min_size = 0;
  double min_gray = 0, thr = 0;
  Vresult rc = ctx.GetLong(0, &min_size);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &min_gray);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &thr);
  if (rc != VRESULT_OK) return rc;
  if (min_size < 1) return VERR_CTRL_VALUE(0);
  if (!std::isfinite(min_gray)) return VERR_CTRL_VALUE(1);
  if (!(thr > 0) || !std::isfinite(thr)) return VERR_CTRL_VALUE(2);
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong,
                                NewKeys* out) {
    // sign +1: light components, -1: dark ones, tested on sign * g.
    for (const double sign : {1.0, -1.0}) {
      std::vector<Chord> runs = SelectRuns(s, [&](size_t k) {
        return sign * im.Get(static_cast<int32_t>(k / static_cast<size_t>(s.width())),
                             static_cast<int32_t>(k % static_cast<size_t>(s.width()))) >= thr;
      });
      for (ChordList& comp : ChordComponents(runs, Neighbourhood::k8)) {
        Vlong area = 0;
        double extreme = -HUGE_VAL;
        for (const Chord& ch : comp) {
          area += ch.ce - ch.cb + 1;
          for (int32_t c = ch.cb; c <= ch.ce; ++c) extreme = std::max(extreme, sign * im.Get(ch.r, c));
        }
        if (area < min_size || extreme < min_gray) continue;
        const Vresult r = AddRegion(std::move(comp), out);
        if (r != VRESULT_OK) return r;
      }
    }
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(regiongrowing) {
  Vlong rh = 0, rw = 0, min_size = 0;
  double tolerance = 0;
  Vresult rc = ctx.GetLong(0, &rh);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &rw);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &tolerance);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &min_size);
  if (rc != VRESULT_OK) return rc;
  if (rh < 1 || rh > kMaxImageSide) return VERR_CTRL_VALUE(0);
  if (rw < 1 || rw > kMaxImageSide) return VERR_CTRL_VALUE(1);
  if (!(tolerance >= 0) || !std::isfinite(tolerance)) return VERR_CTRL_VALUE(2);
  if (min_size < 1) return VERR_CTRL_VALUE(3);
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong,
                                NewKeys* out) {
    const int32_t ch = static_cast<int32_t>(rh), cw = static_cast<int32_t>(rw);
    const int32_t rows = (s.height() + ch - 1) / ch, cols = (s.width() + cw - 1) / cw;
    const size_t cells = static_cast<size_t>(rows) * static_cast<size_t>(cols);
    // The value of each cell at its centre (clipped to the image), and
    // whether that centre lies in the domain.
    std::vector<double> value(cells);
    std::vector<char> live(cells);
    for (int32_t i = 0; i < rows; ++i) {
      for (int32_t j = 0; j < cols; ++j) {
        const int32_t r = std::min(i * ch + ch / 2, s.height() - 1);
        const int32_t c = std::min(j * cw + cw / 2, s.width() - 1);
        const size_t n = static_cast<size_t>(i) * static_cast<size_t>(cols) + static_cast<size_t>(j);
        value[n] = im.Get(r, c);
        live[n] = s.domain()->Contains(r, c);
      }
    }
    std::vector<size_t> parent(cells);
    std::iota(parent.begin(), parent.end(), size_t{0});
    const auto find = [&](size_t a) {
      while (parent[a] != a) a = parent[a] = parent[parent[a]];
      return a;
    };
    const auto join = [&](size_t a, size_t b) {
      if (!live[a] || !live[b] || std::fabs(value[a] - value[b]) > tolerance) return;
      a = find(a);
      b = find(b);
      if (a != b) parent[std::max(a, b)] = std::min(a, b);
    };
    for (size_t n = 0; n < cells; ++n) {
      if (n % static_cast<size_t>(cols) + 1 < static_cast<size_t>(cols)) join(n, n + 1);
      if (n + static_cast<size_t>(cols) < cells) join(n, n + static_cast<size_t>(cols));
    }
    // Each group's cells as chords, in the order of the group's first cell
    // (its root, the smallest index), clipped to the domain.
    std::vector<std::vector<Chord>> groups(cells);
    for (size_t n = 0; n < cells; ++n) {
      if (!live[n]) continue;
      const int32_t i = static_cast<int32_t>(n / static_cast<size_t>(cols));
      const int32_t j = static_cast<int32_t>(n % static_cast<size_t>(cols));
      const int32_t c2 = std::min((j + 1) * cw, s.width()) - 1;
      for (int32_t r = i * ch; r < std::min((i + 1) * ch, s.height()); ++r)
        groups[find(n)].push_back({r, j * cw, c2});
    }
    for (std::vector<Chord>& g : groups) {
      if (g.empty()) continue;
      RegionPtr region = Region::Intersection(*Region::FromChords(std::move(g)), *s.domain());
      if (region->area() < min_size) continue;
      const Vresult r = AddRegion(std::move(region), out);
      if (r != VRESULT_OK) return r;
    }
    return VRESULT_OK;
  });
}

// From each start point (row, column) in turn, a region grows breadth
// first over the 8-neighbours in the domain that no earlier region took,
// taking a neighbour whose value lies within `tolerance` of the mean of
// the region so far (which then includes it). Start points outside the
// domain, or taken by an earlier region, start nothing; regions of fewer
// than min_size pixels are left out. Regions in the order of the points.
VEXA_OPERATOR(regiongrowing_mean) {
  std::vector<Vlong> rows, cols;
  double tolerance = 0;
  Vlong min_size = 0;
  Vresult rc = ctx.GetLongs(0, rows);
  if (rc == VRESULT_OK) rc = ctx.GetLongs(1, cols);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &tolerance);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &min_size);
  if (rc != VRESULT_OK) return rc;
  if (cols.size() != rows.size()) return VERR_CTRL_NUM(1);
  if (!(tolerance >= 0) || !std::isfinite(tolerance)) return VERR_CTRL_VALUE(2);
  if (min_size < 1) return VERR_CTRL_VALUE(3);
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong, NewKeys* out) {
    const std::vector<double> g = Values(im);
    const int32_t w = s.width(), h = s.height();
    // 0 outside the domain, 1 free, 2 taken.
    std::vector<uint8_t> state(g.size(), 0);
    s.ForEachRun([&](size_t o, size_t n) { std::fill_n(state.begin() + static_cast<std::ptrdiff_t>(o), n, 1); });
    for (size_t p = 0; p < rows.size(); ++p) {
      if (rows[p] < 0 || rows[p] >= h || cols[p] < 0 || cols[p] >= w) continue;
      const size_t start = static_cast<size_t>(rows[p]) * w + static_cast<size_t>(cols[p]);
      if (state[start] != 1) continue;
      std::deque<size_t> queue{start};
      std::vector<Chord> pixels;
      state[start] = 2;
      double sum = g[start], n = 1;
      while (!queue.empty()) {
        const size_t k = queue.front();
        queue.pop_front();
        const auto r = static_cast<int32_t>(k / w), c = static_cast<int32_t>(k % w);
        pixels.push_back({r, c, c});
        for (int dr = -1; dr <= 1; ++dr)
          for (int dc = -1; dc <= 1; ++dc) {
            const int32_t y = r + dr, x = c + dc;
            if ((!dr && !dc) || y < 0 || y >= h || x < 0 || x >= w) continue;
            const size_t q = static_cast<size_t>(y) * w + x;
            if (state[q] != 1 || std::fabs(g[q] - sum / n) > tolerance) continue;
            state[q] = 2;
            sum += g[q], n += 1;
            queue.push_back(q);
          }
      }
      if (static_cast<Vlong>(pixels.size()) < min_size) continue;
      Vkey key = VKEY_UNDEF;
      const Vresult r = db::NewRegion(Region::FromChords(std::move(pixels)), &key);
      if (r != VRESULT_OK) return r;
      out->Add(key);
    }
    return VRESULT_OK;
  });
}

// From row `coordinate` ("row") or column `coordinate` ("column") each
// line across it grows pixel by pixel through the domain, first towards
// smaller coordinates, then towards larger ones, while the next value
// passes the test: "gradient" while it
// differs from the last one taken by at most `threshold`, "mean" while it
// differs from the mean of the pixels taken on that line by at most
// `threshold`. The start pixel itself is taken when it lies in the domain.
// One region per image.
VEXA_OPERATOR(expand_line) {
  Vlong coordinate = 0;
  int type = 0, along = 0;
  double threshold = 0;
  Vresult rc = ctx.GetLong(0, &coordinate);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 1, {"gradient", "mean"}, &type);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 2, {"row", "column"}, &along);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &threshold);
  if (rc != VRESULT_OK) return rc;
  if (!(threshold >= 0) || !std::isfinite(threshold)) return VERR_CTRL_VALUE(3);
  const bool by_row = along == 0, by_mean = type == 1;
  return SegmentImages(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong, NewKeys* out) {
    const int32_t lines = by_row ? s.width() : s.height(), length = by_row ? s.height() : s.width();
    if (coordinate < 0 || coordinate >= length) return VERR_CTRL_VALUE(0);
    const auto start = static_cast<int32_t>(coordinate);
    const Region& domain = *s.domain();
    // Pixel k of line j: (k, j) along a column for "row", (j, k) otherwise.
    const auto in_domain = [&](int32_t j, int32_t k) { return by_row ? domain.Contains(k, j) : domain.Contains(j, k); };
    const auto value = [&](int32_t j, int32_t k) { return by_row ? im.Get(k, j) : im.Get(j, k); };
    std::vector<Chord> pixels;
    for (int32_t j = 0; j < lines; ++j) {
      if (!in_domain(j, start)) continue;
      double sum = value(j, start), n = 1;
      int32_t ends[2] = {start, start};
      for (int dir = 0; dir < 2; ++dir) {
        const int32_t step = dir == 0 ? -1 : 1;
        double last = value(j, start);
        for (int32_t k = start + step; k >= 0 && k < length && in_domain(j, k); k += step) {
          const double g = value(j, k);
          if (std::fabs(g - (by_mean ? sum / n : last)) > threshold) break;
          last = g, sum += g, n += 1;
          ends[dir] = k;
        }
      }
      if (by_row) {
        for (int32_t k = ends[0]; k <= ends[1]; ++k) pixels.push_back({k, j, j});
      } else {
        pixels.push_back({j, ends[0], ends[1]});
      }
    }
    return AddRegion(Region::FromChords(std::move(pixels))->chords(), out);
  });
}

}  // namespace vexa
