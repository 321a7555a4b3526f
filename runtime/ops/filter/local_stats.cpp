// Filters from local statistics of a rectangle: sigma_image,
// eliminate_min_max, deviation_image and entropy_image.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/filter/neighbour_kernels.h"
#include "registry.h"

namespace vexa {
namespace {

// Rectangle sides at pars `w_par` and `h_par`.
Vresult ReadRect(const OpContext& ctx, int w_par, int h_par, NeighbourMask* mask) {
  int w = 0, h = 0;
  Vresult rc = ReadMaskSide(ctx, w_par, &w);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, h_par, &h);
  if (rc == VRESULT_OK) *mask = NeighbourMask::Rectangle(h, w);
  return rc;
}

template <class Fn>
Vresult GatherRect(OpContext& ctx, const NeighbourMask& mask, Fn fn) {
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    cv::Mat out = dst(rect);
    GatherFilter(BorderedTile(src, rect, mask.ry(), mask.rx(), Border{}), mask, out, fn);
    return VRESULT_OK;
  });
}

// A byte histogram that keeps sum n log2 n over its counts, so that the
// entropy of the values, log2 N - (sum n log2 n) / N, costs O(1).
class EntropyHistogram {
 public:
  explicit EntropyHistogram(int total) : total_(total), nlogn_(static_cast<size_t>(total) + 1) {
    for (int n = 1; n <= total; ++n) nlogn_[n] = n * std::log2(static_cast<double>(n));
  }
  void Reset() {
    std::memset(count_, 0, sizeof count_);
    sum_ = 0.0;
  }
  void Add(uint8_t v) {
    const int n = count_[v]++;
    sum_ += nlogn_[n + 1] - nlogn_[n];
  }
  void Remove(uint8_t v) {
    const int n = count_[v]--;
    sum_ -= nlogn_[n] - nlogn_[n - 1];
  }
  double Entropy() const { return std::max(0.0, nlogn_[total_] / total_ - sum_ / total_); }

 private:
  int count_[256];
  int total_;
  double sum_ = 0.0;
  std::vector<double> nlogn_;
};

}  // namespace

// The mean of the values within `sigma` of the centre's value (the centre
// always among them).
VEXA_OPERATOR(sigma_image) {
  NeighbourMask mask;
  int sigma = 0;
  Vresult rc = ReadRect(ctx, 1, 0, &mask);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 2, 0, 1 << 30, &sigma);
  if (rc != VRESULT_OK) return rc;
  return GatherRect(ctx, mask, [sigma](auto* v, size_t n, auto centre) {
    const double c = static_cast<double>(centre);
    double sum = 0.0;
    int num = 0;
    for (size_t i = 0; i < n; ++i) {
      if (std::fabs(static_cast<double>(v[i]) - c) <= sigma) {
        sum += static_cast<double>(v[i]);
        ++num;
      }
    }
    return sum / num;
  });
}

// Spike removal: a pixel more than `gap` above the largest or below the
// smallest of its neighbours (the mask without the centre) is replaced,
// by mode 1: that bound; 2: the median of the neighbours; 3: their mean.
// Other pixels stay.
VEXA_OPERATOR(eliminate_min_max) {
  NeighbourMask mask;
  double gap = 0.0;
  int mode = 0;
  Vresult rc = ReadRect(ctx, 0, 1, &mask);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 2, 0.0, 1e30, &gap);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 3, 1, 3, &mode);
  if (rc != VRESULT_OK) return rc;
  return GatherRect(ctx, mask, [gap, mode](auto* v, size_t n, auto centre) {
    const double c = static_cast<double>(centre);
    if (n < 2) return c;
    // The centre is the middle value of the chord order; move it out.
    std::swap(v[n / 2], v[n - 1]);
    const size_t m = n - 1;
    const auto mm = std::minmax_element(v, v + m);
    const double lo = static_cast<double>(*mm.first), hi = static_cast<double>(*mm.second);
    if (c <= hi + gap && c >= lo - gap) return c;
    if (mode == 1) return c > hi ? hi : lo;
    if (mode == 2) {
      std::nth_element(v, v + m / 2, v + m);
      return static_cast<double>(v[m / 2]);
    }
    double sum = 0.0;
    for (size_t i = 0; i < m; ++i) sum += static_cast<double>(v[i]);
    return sum / static_cast<double>(m);
  });
}

// The standard deviation of the values of the width x height rectangle,
// sqrt(E[g^2] - E[g]^2) computed in double.
VEXA_OPERATOR(deviation_image) {
  int w = 0, h = 0;
  Vresult rc = ReadMaskSide(ctx, 0, &w);
  if (rc == VRESULT_OK) rc = ReadMaskSide(ctx, 1, &h);
  if (rc != VRESULT_OK) return rc;
  return FilterImages(ctx, FilterableType, [&](const cv::Mat& src, cv::Mat& dst,
                                               const cv::Rect& rect) {
    cv::Mat tile, mean, mean_sq;
    BorderedTile(src, rect, h / 2, w / 2, Border{}).convertTo(tile, CV_64F);
    cv::blur(tile, mean, cv::Size(w, h));
    cv::blur(tile.mul(tile), mean_sq, cv::Size(w, h));
    const cv::Rect inner(w / 2, h / 2, rect.width, rect.height);
    cv::Mat var = cv::max(mean_sq(inner) - mean(inner).mul(mean(inner)), 0.0), dev;
    cv::sqrt(var, dev);
    cv::Mat out = dst(rect);
    dev.convertTo(out, dst.type());
    return VRESULT_OK;
  });
}

// The entropy in bits of the gray values of the width x height rectangle
// (0 to 8), byte images only, as a real image.
VEXA_OPERATOR(entropy_image) {
  NeighbourMask mask;
  const Vresult rc = ReadRect(ctx, 0, 1, &mask);
  if (rc != VRESULT_OK) return rc;
  return FilterImages(ctx, ByteToReal, [&](const cv::Mat& src, cv::Mat& dst,
                                           const cv::Rect& rect) {
    EntropyHistogram hist(mask.count());
    cv::Mat out = dst(rect);
    SlideHistogram(BorderedTile(src, rect, mask.ry(), mask.rx(), Border{}), mask, rect.size(),
                   hist, [&](int i, int j, const EntropyHistogram& h) {
                     out.ptr<float>(i)[j] = static_cast<float>(h.Entropy());
                   });
    return VRESULT_OK;
  });
}

}  // namespace vexa
