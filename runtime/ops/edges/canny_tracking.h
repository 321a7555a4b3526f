// Non-maximum suppression and hysteresis of Canny's edge detector on 16-bit
// derivatives, fed one row at a time. The decisions are those of OpenCV's
// cv::Canny(dx, dy, ..., L2gradient = true), which the runtime used before
// on whole planes: squared amplitudes, the direction quantised by integer
// tan(22.5) tests, ties broken toward the right and the lower neighbour
// along horizontal and vertical gradients, strict comparisons along the
// diagonals, 8-connected tracking. Rows come sparse: the derivatives are
// zero but at a list of columns, and only those are visited. Only the byte
// map of the decisions covers the whole area. A tracker marks only the
// peaks in it, returns those cells to zero when it ends and leaves the map
// to the next tracker of its thread: a fresh map would fault in every page
// again, since peaks lie on nearly every row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vexa {

class CannyTracker {
 public:
  // `low` and `high` in units of the derivatives, as cv::Canny takes them;
  // low must be at least 1, so that a zero derivative never passes it.
  CannyTracker(int width, int height, double low, double high);
  ~CannyTracker();
  CannyTracker(const CannyTracker&) = delete;
  CannyTracker& operator=(const CannyTracker&) = delete;

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
    return map_.bytes + static_cast<size_t>(r + 1) * static_cast<size_t>(width_ + 2) + 1;
  }

 private:
  // The nonzero derivatives of one row.
  struct SparseRow {
    std::vector<int32_t> cols;
    std::vector<int16_t> dx, dy;
  };
  // A zeroed block of at least n bytes (size bytes), taken from and given
  // back to the thread's kept map; zero again when it is given back.
  struct ZeroMap {
    explicit ZeroMap(size_t n);
    ~ZeroMap();
    ZeroMap(const ZeroMap&) = delete;
    ZeroMap& operator=(const ZeroMap&) = delete;
    uint8_t* bytes;
    size_t size;
  };

  uint8_t* Row(int r) { return const_cast<uint8_t*>(MapRow(r)); }
  void Suppress(int r);

  int width_, height_, rows_added_ = 0;
  int low_, high_;  // thresholds on squared amplitudes
  // (height + 2) x (width + 2), kNone (zero) where nothing was decided.
  ZeroMap map_;
  // The columns of the first and the last peak marked in each row
  // (first > last: none).
  std::vector<int32_t> first_marked_, last_marked_;
  std::vector<uint8_t*> stack_;
  // The previous, current and next row: their nonzero derivatives, and
  // their squared amplitudes padded by one zero on either side, zero
  // beside the listed columns.
  SparseRow rows_[3];
  std::vector<int32_t> mag_[3];
};

}  // namespace vexa
