// Non-maximum suppression and hysteresis of Canny's edge detector on 16-bit
// derivatives, fed one row at a time. The decisions are those of OpenCV's
// cv::Canny(dx, dy, ..., L2gradient = true), which the runtime used before
// on whole planes: squared amplitudes, the direction quantised by integer
// tan(22.5) tests, ties broken toward the right and the lower neighbour
// along horizontal and vertical gradients, strict comparisons along the
// diagonals, 8-connected tracking. Rows come sparse: the derivatives are
// zero but at a list of columns, and only those are visited. Only the byte
// map of the decisions covers the whole area; it starts as zero pages, and
// only the pixels that pass low and their neighbours in the tracking are
// touched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace vexa {

class CannyTracker {
 public:
  // `low` and `high` in units of the derivatives, as cv::Canny takes them;
  // low must be at least 1, so that a zero derivative never passes it.
  CannyTracker(int width, int height, double low, double high);

  // Adds the next row, whose derivatives are zero but at the n columns
  // cols[i] (increasing), where they are dx[i] and dy[i]; this completes
  // the suppression of the previous row.
  void AddRow(const int32_t* cols, const int16_t* dx, const int16_t* dy, int n);
  // Completes the last row after all rows were added.
  void FinishRows();
  // Connects the candidates to the strong pixels; call after FinishRows.
  void Track();

  // Decisions of row r: kNone, kCandidate (a peak above low, not connected
  // to an edge) or kEdge, once Track has run.
  static constexpr uint8_t kNone = 0, kCandidate = 1, kEdge = 2;
  const uint8_t* MapRow(int r) const {
    return map_.get() + static_cast<size_t>(r + 1) * static_cast<size_t>(width_ + 2) + 1;
  }

 private:
  // The nonzero derivatives of one row.
  struct SparseRow {
    std::vector<int32_t> cols;
    std::vector<int16_t> dx, dy;
  };
  struct Free {
    void operator()(uint8_t* p) const { std::free(p); }
  };

  void Suppress(int r);

  int width_, height_, rows_added_ = 0;
  int low_, high_;  // thresholds on squared amplitudes
  // (height + 2) x (width + 2), kNone (zero) where nothing was decided.
  std::unique_ptr<uint8_t[], Free> map_;
  std::vector<uint8_t*> stack_;
  // The previous, current and next row: their nonzero derivatives, and
  // their squared amplitudes padded by one zero on either side, zero
  // beside the listed columns.
  SparseRow rows_[3];
  std::vector<int32_t> mag_[3];
};

}  // namespace vexa
