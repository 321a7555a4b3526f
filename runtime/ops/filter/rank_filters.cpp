// Rank filters: median_image, median_rect, median_separate,
// median_weighted, rank_image, rank_rect, dual_rank, trimmed_mean and
// midrange_image. Results keep the input's type; values that are not a
// single rank (means, midranges) are rounded.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "ops/filter/neighbour_kernels.h"
#include "registry.h"

namespace vexa {
namespace {

// Every image through RankFilter with one mask, border and rank.
Vresult RankImages(OpContext& ctx, const NeighbourMask& mask, const Border& border, int k) {
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    RankFilter(src, dst, rect, mask, border, k);
    return VRESULT_OK;
  }, FilterWrites::kAll);
}

// Every image through fn(values, n, centre) over the mask.
template <class Fn>
Vresult GatherImages(OpContext& ctx, const NeighbourMask& mask, const Border& border, Fn fn) {
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    cv::Mat out = dst(rect);
    GatherFilter(BorderedTile(src, rect, mask.ry(), mask.rx(), border), mask, out, fn);
    return VRESULT_OK;
  }, FilterWrites::kAll);
}

// mask_type ("circle" or "square") and radius at pars `type_par` and
// `type_par + 1`.
Vresult ReadRoundMask(const OpContext& ctx, int type_par, NeighbourMask* mask) {
  int type = 0, radius = 0;
  Vresult rc = ReadChoice(ctx, type_par, {"circle", "square"}, &type);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, type_par + 1, 0, kMaxMaskSide / 2, &radius);
  if (rc != VRESULT_OK) return rc;
  *mask = type == 0 ? NeighbourMask::Circle(radius)
                    : NeighbourMask::Rectangle(2 * radius + 1, 2 * radius + 1);
  return VRESULT_OK;
}

// The mask region of input object `par`, centred on the middle of its
// bounding box; it must not be empty nor reach beyond kMaxMaskSide / 2.
Vresult ReadRegionMask(OpContext& ctx, int par, NeighbourMask* mask) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = ctx.InpObjSingle(par, &key);
  RegionPtr region;
  if (rc == VRESULT_OK) rc = InpRegion(par, key, &region);
  if (rc != VRESULT_OK) return rc;
  if (region->empty()) return VERR_EMPTY_OBJECT;
  *mask = NeighbourMask::OfRegion(*region);
  return mask->ry() > kMaxMaskSide / 2 || mask->rx() > kMaxMaskSide / 2 ? VERR_TOO_LARGE
                                                                          : VRESULT_OK;
}

// mask_width and mask_height at pars 0 and 1.
Vresult ReadRectMask(const OpContext& ctx, NeighbourMask* mask) {
  int w = 0, h = 0;
  Vresult rc = ReadMaskSide(ctx, 0, &w);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &h);
  if (rc == VRESULT_OK) *mask = NeighbourMask::Rectangle(h, w);
  return rc;
}

}  // namespace

VEXA_OPERATOR(median_image) {
  NeighbourMask mask;
  Border border;
  Vresult rc = ReadRoundMask(ctx, 0, &mask);
  if (rc == VRESULT_OK) rc = ReadBorder(ctx, 2, &border);
  if (rc != VRESULT_OK) return rc;
  return RankImages(ctx, mask, border, mask.count() / 2);
}

VEXA_OPERATOR(median_rect) {
  NeighbourMask mask;
  const Vresult rc = ReadRectMask(ctx, &mask);
  return rc == VRESULT_OK ? RankImages(ctx, mask, Border{}, mask.count() / 2) : rc;
}

VEXA_OPERATOR(rank_rect) {
  NeighbourMask mask;
  int rank = 0;
  Vresult rc = ReadRectMask(ctx, &mask);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 1, mask.count(), &rank);
  return rc == VRESULT_OK ? RankImages(ctx, mask, Border{}, rank - 1) : rc;
}

VEXA_OPERATOR(rank_image) {
  NeighbourMask mask;
  Border border;
  int rank = 0;
  Vresult rc = ReadRegionMask(ctx, 2, &mask);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 0, 1, mask.count(), &rank);
  if (rc == VRESULT_OK) rc = ReadBorder(ctx, 1, &border);
  return rc == VRESULT_OK ? RankImages(ctx, mask, border, rank - 1) : rc;
}

// The median along each row over mask_width, then along each column over
// mask_height.
VEXA_OPERATOR(median_separate) {
  int w = 0, h = 0;
  Border border;
  Vresult rc = ReadMaskSide(ctx, 0, &w);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &h);
  if (rc == VRESULT_OK) rc = ReadBorder(ctx, 2, &border);
  if (rc != VRESULT_OK) return rc;
  const NeighbourMask row = NeighbourMask::Rectangle(1, w), col = NeighbourMask::Rectangle(h, 1);
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    return ChainFilters(
        src, dst, rect, h / 2, 0, border,
        [&](const cv::Mat& s, cv::Mat& d, const cv::Rect& r) {
          RankFilter(s, d, r, row, border, w / 2);
          return VRESULT_OK;
        },
        [&](const cv::Mat& s, cv::Mat& d, const cv::Rect& r) {
          RankFilter(s, d, r, col, border, h / 2);
          return VRESULT_OK;
        });
  }, FilterWrites::kAll);
}

// The value of rank mode_percent % of the mask, then, on that result, the
// value of rank (100 - mode_percent) %: a percentile opening or closing.
VEXA_OPERATOR(dual_rank) {
  NeighbourMask mask;
  Border border;
  int percent = 0;
  Vresult rc = ReadRoundMask(ctx, 0, &mask);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 0, 100, &percent);
  if (rc == VRESULT_OK) rc = ReadBorder(ctx, 3, &border);
  if (rc != VRESULT_OK) return rc;
  const int k = static_cast<int>(std::lround(percent / 100.0 * (mask.count() - 1)));
  auto rank = [&](int kk) {
    return [&mask, &border, kk](const cv::Mat& s, cv::Mat& d, const cv::Rect& r) {
      RankFilter(s, d, r, mask, border, kk);
      return VRESULT_OK;
    };
  };
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    return ChainFilters(src, dst, rect, mask.ry(), mask.rx(), border, rank(k),
                        rank(mask.count() - 1 - k));
  }, FilterWrites::kAll);
}

// The weighted median over a mask_size square: each value counts with its
// weight, the result is the smallest value whose weights, with those of
// the smaller values, reach half the total. "gauss": binomial weights
// (size at most 37); "inner": weight 1, the centre weighs mask_size.
VEXA_OPERATOR(median_weighted) {
  int type = 0, size = 0;
  Vresult rc = ReadChoice(ctx, 0, {"gauss", "inner"}, &type);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &size);
  if (rc == VRESULT_OK && type == 0 && size > 37) rc = VERR_CTRL_VALUE(1);
  if (rc != VRESULT_OK) return rc;
  const NeighbourMask mask = NeighbourMask::Rectangle(size, size);
  // Weights in the mask's chord order (rows, left to right).
  std::vector<double> weights(static_cast<size_t>(size) * size, 1.0);
  std::vector<double> binomial(static_cast<size_t>(size), 1.0);
  for (int i = 1; i < size; ++i) binomial[i] = binomial[i - 1] * (size - i) / i;
  for (int y = 0; y < size; ++y)
    for (int x = 0; x < size; ++x)
      weights[static_cast<size_t>(y) * size + x] = type == 0 ? binomial[y] * binomial[x] : 1.0;
  if (type == 1) weights[weights.size() / 2] = size;
  double total = 0.0;
  for (double w : weights) total += w;
  std::vector<std::pair<double, double>> pairs(weights.size());
  return GatherImages(ctx, mask, Border{}, [&](auto* v, size_t n, auto) {
    for (size_t i = 0; i < n; ++i) pairs[i] = {static_cast<double>(v[i]), weights[i]};
    std::sort(pairs.begin(), pairs.end());
    double sum = 0.0;
    for (const auto& p : pairs) {
      sum += p.second;
      if (2 * sum >= total) return p.first;
    }
    return pairs.back().first;
  });
}

// The mean of the middle `number` values of the mask (the rest dropped,
// one more at the top when the rest is odd).
VEXA_OPERATOR(trimmed_mean) {
  NeighbourMask mask;
  Border border;
  int number = 0;
  Vresult rc = ReadRegionMask(ctx, 2, &mask);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 0, 1, mask.count(), &number);
  if (rc == VRESULT_OK) rc = ReadBorder(ctx, 1, &border);
  if (rc != VRESULT_OK) return rc;
  return GatherImages(ctx, mask, border, [number](auto* v, size_t n, auto) {
    std::sort(v, v + n);
    const size_t lo = (n - static_cast<size_t>(number)) / 2;
    double sum = 0.0;
    for (size_t i = lo; i < lo + static_cast<size_t>(number); ++i) sum += v[i];
    return sum / number;
  });
}

// (min + max) / 2 over the mask.
VEXA_OPERATOR(midrange_image) {
  NeighbourMask mask;
  Border border;
  Vresult rc = ReadRegionMask(ctx, 2, &mask);
  if (rc == VRESULT_OK) rc = ReadBorder(ctx, 0, &border);
  if (rc != VRESULT_OK) return rc;
  return GatherImages(ctx, mask, border, [](auto* v, size_t n, auto) {
    const auto mm = std::minmax_element(v, v + n);
    return (static_cast<double>(*mm.first) + static_cast<double>(*mm.second)) / 2;
  });
}

}  // namespace vexa
