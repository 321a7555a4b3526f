// Per-pixel loops of the filters over an arbitrary mask, on a bordered
// tile (filter_support.h): gathering the mask's values for a function of
// them, and a running histogram for byte images, which costs per pixel only
// the mask's left and right edges instead of its whole area.
#pragma once

#include <cstdint>
#include <vector>

#include <opencv2/core.hpp>

#include "ops/filter/filter_support.h"
#include "ops/filter/neighbour_mask.h"

namespace vexa {

// For every pixel (i, j) of `out` (the result rectangle, type of the tile):
// out(i, j) = fn(values, n, centre) with the n values of the mask around
// tile pixel (i + ry, j + rx), in chord order; fn may reorder them and
// returns a double, stored rounded and clipped.
template <class Fn>
void GatherFilter(const cv::Mat& tile, const NeighbourMask& mask, cv::Mat& out, Fn&& fn) {
  DispatchDepth(tile.depth(), [&](auto tag) {
    using T = typename decltype(tag)::Value;
    constexpr PixelType kType = decltype(tag)::kType;
    std::vector<T> values(static_cast<size_t>(mask.count()));
    for (int i = 0; i < out.rows; ++i) {
      T* o = out.ptr<T>(i);
      const T* centre_row = tile.ptr<T>(i + mask.ry()) + mask.rx();
      for (int j = 0; j < out.cols; ++j) {
        size_t n = 0;
        for (const MaskChord& c : mask.chords()) {
          const T* row = tile.ptr<T>(i + mask.ry() + c.dy) + j + mask.rx();
          for (int dx = c.dx0; dx <= c.dx1; ++dx) values[n++] = row[dx];
        }
        o[j] = StorePixel<kType>(fn(values.data(), n, centre_row[j]));
      }
    }
  });
}

// For every pixel (i, j) of an out_size result on a byte tile:
// emit(i, j, hist) with `hist` holding the mask's values around tile pixel
// (i + ry, j + rx). Hist has Reset(), Add(uint8_t), Remove(uint8_t).
template <class Hist, class Emit>
void SlideHistogram(const cv::Mat& tile, const NeighbourMask& mask, cv::Size out_size,
                    Hist& hist, Emit&& emit) {
  const std::vector<MaskChord>& chords = mask.chords();
  std::vector<const uint8_t*> rows(chords.size());
  for (int i = 0; i < out_size.height; ++i) {
    hist.Reset();
    for (size_t k = 0; k < chords.size(); ++k) {
      rows[k] = tile.ptr<uint8_t>(i + mask.ry() + chords[k].dy) + mask.rx();
      for (int dx = chords[k].dx0; dx <= chords[k].dx1; ++dx) hist.Add(rows[k][dx]);
    }
    emit(i, 0, hist);
    for (int j = 1; j < out_size.width; ++j) {
      for (size_t k = 0; k < chords.size(); ++k) {
        hist.Remove(rows[k][j - 1 + chords[k].dx0]);
        hist.Add(rows[k][j + chords[k].dx1]);
      }
      emit(i, j, hist);
    }
  }
}

// dst(rect) = the value of rank `k` (0 the smallest) among the values of
// `mask` around each pixel, the border by `border`.
void RankFilter(const cv::Mat& src, cv::Mat& dst, const cv::Rect& rect,
                const NeighbourMask& mask, const Border& border, int k);

}  // namespace vexa
