// Dense disparities of a rectified image pair by window matching along
// the rows, for binocular_disparity and binocular_distance. A pixel (r, c) of image1 matches the
// pixel (r, c + d) of image2 whose window of mask_width x mask_height
// compares best, d from min_disparity to max_disparity:
//   "sad"  mean absolute difference (lower is better),
//   "ssd"  mean squared difference (lower is better),
//   "ncc"  normalised cross-correlation in [-1, 1] (higher is better).
// A pixel gets a disparity when its window lies inside image1 and, at
// every disparity of the range, inside image2 (so that no match is chosen
// because the right one was cut off by the border), image1's standard
// deviation in the window is at least texture_thresh,
// the best score passes score_thresh (at most it for sad/ssd, at least it
// for ncc), and, with filter "left_right_check", image2's best match for
// (r, c + d) lies back within one disparity of c. sub_disparity
// "interpolation" refines d by the parabola through the scores at d - 1,
// d, d + 1. The search is exhaustive at full resolution; num_levels (1 to
// 8) does not change the result. Results are real images of image1's
// size: disparity and score, with the matched pixels of image1's domain as
// their domain. The scores of all disparities are streamed, one image of
// scores per disparity, so memory does not grow with the range.
#pragma once

#include <opencv2/core.hpp>

#include "ops/common/op_objects.h"

namespace vexa {

enum class MatchMethod { kSad, kSsd, kNcc };

struct MatchParams {
  MatchMethod method = MatchMethod::kSad;
  int mask_w = 0, mask_h = 0;
  double texture = 0, score_thresh = 0;
  int min_d = 0, max_d = 0;
  bool check = false, subpixel = false;
};

// method, mask_width, mask_height, texture_thresh, min_disparity,
// max_disparity, num_levels, score_thresh, filter and sub-disparity from
// controls first .. first + 9.
Vresult ReadMatchParams(const OpContext& ctx, int first, MatchParams* p);

// The disparities and scores (CV_64F) of the pixels of image1 (input 1)
// in image2 (input 2), and which pixels were matched (CV_8U, 255).
struct PairMatch {
  cv::Mat disparity, score, matched;
};
Vresult MatchRectifiedPair(OpContext& ctx, const MatchParams& p, PairMatch* match);

// Real images of `first` and `second` (image1's size) with the matched
// pixels as their domain, into output objects 1 and 2.
Vresult OutpMatchImages(OpContext& ctx, const cv::Mat& first, const cv::Mat& second,
                        const cv::Mat& matched);

}  // namespace vexa
