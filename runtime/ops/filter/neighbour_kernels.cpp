#include "ops/filter/neighbour_kernels.h"

#include <algorithm>
#include <cstring>

#include <opencv2/imgproc.hpp>

#include "ops/filter/byte_median_select.h"
#include "ops/filter/column_median.h"

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
  // Branch-free: values near the median fall on either side of it at
  // random, which a branch would mispredict half the time.
  void Add(uint8_t v) {
    ++count_[v];
    below_ += v < value_;
  }
  void Remove(uint8_t v) {
    --count_[v];
    below_ -= v < value_;
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

// A mask small enough for the median by selection, and a median asked for.
bool IsSmallMedian(const NeighbourMask& mask, int k) {
  const int n = mask.count();
  return n % 2 == 1 && n >= 3 && n <= kMaxSelectMedianCount && k == n / 2;
}

// Byte ranks by the running histogram over `rect`.
void HistogramRank(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                   const NeighbourMask& mask, const Border& border, int k) {
  const cv::Mat tile = BorderedTile(src, rect, mask.ry(), mask.rx(), border);
  cv::Mat out = dst(rect);
  RankHistogram hist(k);
  SlideHistogram(tile, mask, rect.size(), hist, [&](int i, int j, RankHistogram& h) {
    out.ptr<uint8_t>(i)[j] = h.Value();
  });
}

// Any type: the mask's values gathered per pixel, the rank by nth_element.
void GatherRank(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                const NeighbourMask& mask, const Border& border, int k) {
  cv::Mat out = dst(rect);
  GatherFilter(BorderedTile(src, rect, mask.ry(), mask.rx(), border), mask, out,
               [k](auto* v, size_t n, auto) {
                 std::nth_element(v, v + k, v + n);
                 return static_cast<double>(v[k]);
               });
}

// Byte medians of small masks by selection over `rect`.
void SelectRank(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                const NeighbourMask& mask, const Border& border) {
  cv::Mat out = dst(rect);
  SelectMedianBytes(BorderedTile(src, rect, mask.ry(), mask.rx(), border), mask, out);
}

// Byte ranks without cv::medianBlur: selection where it is faster, the
// running histogram otherwise.
void ByteRank(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
              const NeighbourMask& mask, const Border& border, int k) {
  if (IsSmallMedian(mask, k)) SelectRank(src, dst, rect, mask, border);
  else HistogramRank(src, dst, rect, mask, border, k);
}

// Byte square medians: cv::medianBlur straight on the rectangle, no copy.
// It treats the rectangle as a whole image, so its results within r of the
// rectangle's edge, whose neighbours reach outside, are redone with the
// true neighbours and the border rule: the rows by ByteRank, the narrow
// columns by gathering (a histogram would be set up anew for every few
// pixels).
void SquareMedian(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                  const NeighbourMask& mask, const Border& border, int k) {
  const int r = mask.ry();
  if (rect.width <= 2 * r || rect.height <= 2 * r) {
    ByteRank(src, dst, rect, mask, border, k);
    return;
  }
  cv::Mat out = dst(rect);
  cv::medianBlur(src(rect), out, 2 * r + 1);
  const int inner = rect.height - 2 * r;
  for (const cv::Rect& strip : {cv::Rect(rect.x, rect.y, rect.width, r),
                                cv::Rect(rect.x, rect.y + rect.height - r, rect.width, r)})
    ByteRank(src, dst, strip, mask, border, k);
  for (const cv::Rect& strip : {cv::Rect(rect.x, rect.y + r, r, inner),
                                cv::Rect(rect.x + rect.width - r, rect.y + r, r, inner)})
    GatherRank(src, dst, strip, mask, border, k);
}

// The parts of `rect` outside `inner` (a rectangle within it, or empty):
// the rows above and below, the columns left and right.
std::vector<cv::Rect> FrameOf(const cv::Rect& rect, const cv::Rect& inner) {
  if (inner.empty()) return {rect};
  const int right = inner.x + inner.width, bottom = inner.y + inner.height;
  std::vector<cv::Rect> parts;
  for (const cv::Rect& part :
       {cv::Rect(rect.x, rect.y, rect.width, inner.y - rect.y),
        cv::Rect(rect.x, bottom, rect.width, rect.y + rect.height - bottom),
        cv::Rect(rect.x, inner.y, inner.x - rect.x, inner.height),
        cv::Rect(right, inner.y, rect.x + rect.width - right, inner.height)})
    if (!part.empty()) parts.push_back(part);
  return parts;
}

// Byte medians by a column network: the pixels whose mask lies inside the
// image straight from it, the frame along the image's edges from bordered
// tiles.
void NetworkMedian(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                   const NeighbourMask& mask, const Border& border) {
  const int ry = mask.ry(), rx = mask.rx();
  cv::Rect inner;
  if (src.cols > 2 * rx && src.rows > 2 * ry)
    inner = rect & cv::Rect(rx, ry, src.cols - 2 * rx, src.rows - 2 * ry);
  if (!inner.empty()) {
    cv::Mat out = dst(inner);
    ColumnMedianBytes(src, inner.tl(), mask, out);
  }
  for (const cv::Rect& part : FrameOf(rect, inner)) {
    cv::Mat out = dst(part);
    ColumnMedianBytes(BorderedTile(src, part, ry, rx, border), cv::Point(rx, ry), mask, out);
  }
}

}  // namespace

void RankFilter(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                const NeighbourMask& mask, const Border& border, int k) {
  if (src.depth() == CV_8U && k == mask.count() / 2 && HasColumnMedian(mask)) {
    NetworkMedian(src, dst, rect, mask, border);
  } else if (src.depth() == CV_8U && IsSquareMedian(mask, k)) {
    SquareMedian(src, dst, rect, mask, border, k);
  } else if (src.depth() == CV_8U) {
    ByteRank(src, dst, rect, mask, border, k);
  } else {
    GatherRank(src, dst, rect, mask, border, k);
  }
}

}  // namespace vexa
