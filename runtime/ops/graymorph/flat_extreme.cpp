#include "ops/graymorph/flat_extreme.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace vexa {
namespace {

bool IsFullRectangle(const NeighbourMask& mask) {
  return mask.count() == (2 * mask.ry() + 1) * (2 * mask.rx() + 1);
}

// run(y, x) = better of tile(y, x .. x + len - 1), for x + len <= cols: per
// row, blocks of `len` with running extremes forward (g) and backward (h);
// a window spans at most two blocks, so run = better(h[x], g[x + len - 1]).
template <class T, class Better>
cv::Mat RunExtreme(const cv::Mat& tile, int len, Better better) {
  cv::Mat run(tile.size(), tile.type());
  const int n = tile.cols;
  std::vector<T> g(static_cast<size_t>(n)), h(static_cast<size_t>(n));
  for (int y = 0; y < tile.rows; ++y) {
    const T* p = tile.ptr<T>(y);
    for (int x = 0; x < n; ++x) g[x] = x % len == 0 ? p[x] : better(g[x - 1], p[x]);
    for (int x = n - 1; x >= 0; --x)
      h[x] = (x % len == len - 1 || x == n - 1) ? p[x] : better(h[x + 1], p[x]);
    T* r = run.ptr<T>(y);
    for (int x = 0; x + len <= n; ++x) r[x] = better(h[x], g[x + len - 1]);
  }
  return run;
}

template <class T, class Better>
void MaskExtreme(const cv::Mat& tile, const NeighbourMask& mask, cv::Mat& out, Better better) {
  std::map<int, cv::Mat> runs;  // by chord length
  for (const MaskChord& c : mask.chords()) {
    const int len = c.dx1 - c.dx0 + 1;
    if (!runs.count(len)) runs[len] = RunExtreme<T>(tile, len, better);
  }
  for (int i = 0; i < out.rows; ++i) {
    T* o = out.ptr<T>(i);
    bool first = true;
    for (const MaskChord& c : mask.chords()) {
      const T* r = runs[c.dx1 - c.dx0 + 1].template ptr<T>(i + mask.ry() + c.dy) + mask.rx() + c.dx0;
      if (first) {
        std::copy(r, r + out.cols, o);
        first = false;
      } else {
        for (int j = 0; j < out.cols; ++j) o[j] = better(o[j], r[j]);
      }
    }
  }
}

}  // namespace

void FlatExtremeFilter(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                       const NeighbourMask& mask, Extreme extreme) {
  const int d = src.depth();
  if (IsFullRectangle(mask) && d != CV_8S && d != CV_32S) {
    const cv::Mat kernel = cv::getStructuringElement(
        cv::MORPH_RECT, cv::Size(2 * mask.rx() + 1, 2 * mask.ry() + 1));
    RunCvFilter(src, dst, rect, mask.ry(), mask.rx(), [&](const cv::Mat& in, cv::Mat& out) {
      if (extreme == Extreme::kMin)
        cv::erode(in, out, kernel, cv::Point(-1, -1), 1, cv::BORDER_REFLECT_101);
      else
        cv::dilate(in, out, kernel, cv::Point(-1, -1), 1, cv::BORDER_REFLECT_101);
    });
    return;
  }
  const cv::Mat tile = BorderedTile(src, rect, mask.ry(), mask.rx(), Border{});
  cv::Mat out = dst(rect);
  DispatchDepth(d, [&](auto tag) {
    using T = typename decltype(tag)::Value;
    if (extreme == Extreme::kMin)
      MaskExtreme<T>(tile, mask, out, [](T a, T b) { return std::min(a, b); });
    else
      MaskExtreme<T>(tile, mask, out, [](T a, T b) { return std::max(a, b); });
  });
}

}  // namespace vexa
