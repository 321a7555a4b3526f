// The line Hough transform shared by the region form (hough_line_trans,
// hough_lines) and the direction-image form (hough_line_trans_dir,
// hough_lines_dir).
//
// A line is given by the angle `phi` of its normal (radians, 0 <= phi <
// pi, counter-clockwise from the column axis with rows pointing up) and
// its signed distance `dist` from the origin: the points (row, col) with
// col * cos(phi) - row * sin(phi) = dist. The accumulator has
// 180 * angle_resolution columns (angles i / angle_resolution degrees)
// and 2 D + 1 rows for distances -D..D, D the distance of the voters'
// farthest bounding-box corner from the origin, rounded up.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/imgseg/seg_support.h"

namespace vexa {

// Largest accumulator, in cells: voters spread wider are refused.
constexpr double kMaxHoughCells = double(1 << 26);

struct LineAccumulator {
  int num_angles = 0;
  int max_dist = 0;  // D
  std::vector<double> cos_phi, sin_phi;
  cv::Mat votes;     // CV_32S, (2 D + 1) x num_angles
  double Angle(int i) const { return i * M_PI / num_angles; }
};

// angle_resolution: 1 to 4 columns per degree.
Vresult ReadAngleResolution(const OpContext& ctx, int par, int* resolution);

// Sizes the accumulator for voters within `box` (empty: none).
Vresult NewLineAccumulator(const cv::Rect& box, int resolution, LineAccumulator* acc);

// Adds the votes of the pixel (row, col) for the angle columns lo..hi
// (taken modulo the number of columns, so a range may wrap).
inline void VoteLine(int32_t row, int32_t col, int lo, int hi, LineAccumulator* acc) {
  const int n = acc->num_angles;
  for (int j = lo; j <= hi; ++j) {
    const int i = ((j % n) + n) % n;
    const long d = std::lround(col * acc->cos_phi[static_cast<size_t>(i)] -
                               row * acc->sin_phi[static_cast<size_t>(i)]);
    ++acc->votes.at<int32_t>(static_cast<int>(d) + acc->max_dist, i);
  }
}

// A cell of the accumulator chosen as a line.
struct LinePeak {
  double votes;
  int angle, row;
};

// The cells of `votes` (CV_64F, the accumulator's layout) with at least
// `threshold` that are the strongest within angle_gap columns and dist_gap
// rows of every stronger line found, strongest first (equal votes: smaller
// angle, then smaller distance, first). Angles are cyclic: a line near
// 180 degrees is near the one near 0 degrees of opposite distance.
std::vector<LinePeak> StrongestLines(const cv::Mat& votes, const LineAccumulator& acc,
                                     double threshold, long angle_gap, long dist_gap);

// Writes the lines' angles and distances to output controls angle_par and
// angle_par + 1.
Vresult OutpLines(OpContext& ctx, const LineAccumulator& acc, const std::vector<LinePeak>& lines,
                  int angle_par);

// A new int4 image holding `votes` (CV_32S), added to `out`.
Vresult VoteImage(const cv::Mat& votes, NewKeys* out);

}  // namespace vexa
