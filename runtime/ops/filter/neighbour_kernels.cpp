#include "ops/filter/neighbour_kernels.h"

#include <algorithm>
#include <cstring>

#include <opencv2/imgproc.hpp>

namespace vexa {
namespace {

// A byte histogram that tracks the value of one rank as values come and
// go: `below` counts the values under `value`, and a query moves `value`
// only as far as the rank has moved, usually a step or two.
class RankHistogram {
 public:
  explicit RankHistogram(int k) : k_(k) {}
  void Reset() {
    std::memset(count_, 0, sizeof count_);
    value_ = 0;
    below_ = 0;
  }
  void Add(uint8_t v) {
    ++count_[v];
    if (v < value_) ++below_;
  }
  void Remove(uint8_t v) {
    --count_[v];
    if (v < value_) --below_;
  }
  uint8_t Value() {
    while (below_ > k_) below_ -= count_[--value_];
    while (below_ + count_[value_] <= k_) below_ += count_[value_++];
    return static_cast<uint8_t>(value_);
  }

 private:
  int count_[256];
  int k_;
  int value_ = 0;
  int below_ = 0;
};

// A square mask whose median is asked for: what cv::medianBlur computes.
bool IsSquareMedian(const NeighbourMask& mask, int k) {
  const int side = 2 * mask.ry() + 1;
  return mask.ry() > 0 && mask.ry() == mask.rx() && mask.count() == side * side &&
         k == mask.count() / 2;
}

}  // namespace

void RankFilter(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                const NeighbourMask& mask, const Border& border, int k) {
  const cv::Mat tile = BorderedTile(src, rect, mask.ry(), mask.rx(), border);
  cv::Mat out = dst(rect);
  if (src.depth() == CV_8U && IsSquareMedian(mask, k)) {
    // The tile holds every neighbour of the result pixels, so medianBlur's
    // own border only touches the margin, which is dropped.
    cv::Mat blurred;
    cv::medianBlur(tile, blurred, 2 * mask.ry() + 1);
    blurred(cv::Rect(mask.rx(), mask.ry(), rect.width, rect.height)).copyTo(out);
  } else if (src.depth() == CV_8U) {
    RankHistogram hist(k);
    SlideHistogram(tile, mask, rect.size(), hist, [&](int i, int j, RankHistogram& h) {
      out.ptr<uint8_t>(i)[j] = h.Value();
    });
  } else {
    GatherFilter(tile, mask, out, [k](auto* v, size_t n, auto) {
      std::nth_element(v, v + k, v + n);
      return static_cast<double>(v[k]);
    });
  }
}

}  // namespace vexa
