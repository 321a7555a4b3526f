// regiongrowing_n: region growing on images of several channels. Two
// 4-neighbouring pixels of the domain belong to one region when the
// distance between their vectors of channel values lies in
// [min_tolerance, max_tolerance]; the regions are the groups so joined,
// those of min_size pixels or more, in the order of their first pixel.
//
// Metrics of two vectors a and b of n values: "1-norm" sum |a_i - b_i|,
// "2-norm" sqrt(sum (a_i - b_i)^2), "max-diff" max |a_i - b_i|,
// "min-diff" min |a_i - b_i|, "mean-diff" sum |a_i - b_i| / n.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <vector>

#include "ops/common/domain_scan.h"
#include "ops/common/named_values.h"
#include "ops/common/op_objects.h"
#include "ops/segmentation/pixel_select.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Metric { kOneNorm, kTwoNorm, kMaxDiff, kMinDiff, kMeanDiff };

bool MetricOf(const char* name, Metric* m) {
  static const Named<Metric> kMetrics[] = {{"1-norm", Metric::kOneNorm},
                                           {"2-norm", Metric::kTwoNorm},
                                           {"max-diff", Metric::kMaxDiff},
                                           {"min-diff", Metric::kMinDiff},
                                           {"mean-diff", Metric::kMeanDiff}};
  return LookUpName(kMetrics, name, m);
}

double Distance(Metric m, const double* a, const double* b, size_t n) {
  double sum = 0.0, sq = 0.0, most = 0.0, least = HUGE_VAL;
  for (size_t i = 0; i < n; ++i) {
    const double d = std::fabs(a[i] - b[i]);
    sum += d;
    sq += d * d;
    most = std::max(most, d);
    least = std::min(least, d);
  }
  switch (m) {
    case Metric::kOneNorm: return sum;
    case Metric::kTwoNorm: return std::sqrt(sq);
    case Metric::kMaxDiff: return most;
    case Metric::kMinDiff: return least;
    case Metric::kMeanDiff: return sum / static_cast<double>(n);
  }
  return sum;
}

// The regions of one image, added to `out`.
Vresult GrowImage(const db::ImageData& image, Metric metric, double lo, double hi, Vlong min_size,
                  NewKeys* out) {
  const size_t n = image.channels.size();
  for (const auto& channel : image.channels)
    if (channel->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  const DomainScan scan = DomainScan::Of(image);
  const size_t width = static_cast<size_t>(scan.width());
  const size_t pixels = width * static_cast<size_t>(scan.height());
  // Pixel indices fit in 32 bits (images are at most 32767 pixels a
  // side), which halves the union-find's memory.
  std::vector<char> inside(pixels, 0);
  scan.ForEachRun([&](size_t o, size_t count) { std::fill_n(inside.begin() + static_cast<std::ptrdiff_t>(o), count, 1); });
  std::vector<uint32_t> parent(pixels);
  std::iota(parent.begin(), parent.end(), uint32_t{0});
  const auto find = [&](uint32_t a) {
    while (parent[a] != a) a = parent[a] = parent[parent[a]];
    return a;
  };
  std::vector<double> va(n), vb(n);
  const auto load = [&](size_t k, std::vector<double>* v) {
    const auto r = static_cast<int32_t>(k / width), c = static_cast<int32_t>(k % width);
    for (size_t i = 0; i < n; ++i) (*v)[i] = image.channels[i]->Get(r, c);
  };
  const auto join = [&](size_t a, size_t b) {
    if (!inside[b]) return;
    load(a, &va);
    load(b, &vb);
    const double d = Distance(metric, va.data(), vb.data(), n);
    if (d < lo || d > hi) return;
    uint32_t x = find(static_cast<uint32_t>(a)), y = find(static_cast<uint32_t>(b));
    if (x != y) parent[std::max(x, y)] = std::min(x, y);
  };
  scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
    for (int32_t c = cb; c <= ce; ++c) {
      const size_t k = o + static_cast<size_t>(c - cb);
      if (static_cast<size_t>(c) + 1 < width) join(k, k + 1);
      if (r + 1 < scan.height()) join(k, k + width);
    }
  });
  // Each group's runs, in the order of the group's first pixel (its root,
  // the smallest index); rows are visited in order, so the runs come out
  // canonical.
  constexpr uint32_t kNone = UINT32_MAX;
  std::vector<uint32_t> group_of(pixels, kNone);
  std::vector<std::vector<Chord>> groups;
  scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
    for (int32_t c = cb; c <= ce; ++c) {
      const uint32_t root = find(static_cast<uint32_t>(o + static_cast<size_t>(c - cb)));
      if (group_of[root] == kNone) {
        group_of[root] = static_cast<uint32_t>(groups.size());
        groups.emplace_back();
      }
      std::vector<Chord>& g = groups[group_of[root]];
      if (!g.empty() && g.back().r == r && g.back().ce + 1 == c) {
        g.back().ce = c;
      } else {
        g.push_back({r, c, c});
      }
    }
  });
  for (std::vector<Chord>& g : groups) {
    RegionPtr region = Region::FromCanonicalChords(std::move(g));
    if (region->area() < min_size) continue;
    const Vresult rc = AddRegion(std::move(region), out);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(regiongrowing_n) {
  const char* metric_name = nullptr;
  double lo = 0, hi = 0;
  Vlong min_size = 0;
  Vresult rc = ctx.GetString(0, &metric_name);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &lo);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &hi);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &min_size);
  if (rc != VRESULT_OK) return rc;
  Metric metric;
  if (!MetricOf(metric_name, &metric)) return VERR_CTRL_VALUE(0);
  if (!std::isfinite(lo)) return VERR_CTRL_VALUE(1);
  if (std::isnan(hi) || hi < lo) return VERR_CTRL_VALUE(2);
  if (min_size < 1) return VERR_CTRL_VALUE(3);
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    return r == VRESULT_OK ? GrowImage(image, metric, lo, hi, min_size, &out) : r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
