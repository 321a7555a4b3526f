// Non-maximum suppression and hysteresis of Canny's edge detector on 16-bit
// derivatives, fed one row at a time. The decisions are those of OpenCV's
// cv::Canny(dx, dy, ..., L2gradient = true), which the runtime used before
// on whole planes: squared amplitudes, the direction quantised by integer
// tan(22.5) tests, ties broken toward the right and the lower neighbour
// along horizontal and vertical gradients, strict comparisons along the
// diagonals, 8-connected tracking. Only the byte map of the decisions
// covers the whole area.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace vexa {

class CannyTracker {
 public:
  // `low` and `high` in units of the derivatives, as cv::Canny takes them.
  CannyTracker(int width, int height, double low, double high);

  // Adds the next row of derivatives (width values each), which completes
  // the suppression of the previous row.
  void AddRow(const int16_t* dx, const int16_t* dy);
  // Completes the last row after all rows were added.
  void FinishRows();
  // Connects the candidates to the strong pixels; call after FinishRows.
  void Track();

  // Decisions of row r: kCandidate (above low, not connected to an edge),
  // kNone or kEdge, once Track has run.
  static constexpr uint8_t kCandidate = 0, kNone = 1, kEdge = 2;
  const uint8_t* MapRow(int r) const {
    return map_.get() + static_cast<size_t>(r + 1) * static_cast<size_t>(width_ + 2) + 1;
  }

 private:
  void Suppress(int r);

  int width_, height_, rows_added_ = 0;
  int low_, high_;  // thresholds on squared amplitudes
  // (height + 2) x (width + 2), border kNone; the inside is written row by
  // row by Suppress, so it starts uninitialised.
  std::unique_ptr<uint8_t[]> map_;
  std::vector<uint8_t*> stack_;
  // Squared amplitudes of the previous, current and next row, padded by one
  // zero on either side; derivatives of the current and next row.
  std::vector<int32_t> mag_[3];
  std::vector<int16_t> dx_[2], dy_[2];
};

}  // namespace vexa
