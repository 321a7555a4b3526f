// The stereo operators on image pairs: disparities, and distances through
// the cameras of the rectified pair (window_matching.h).
#include "ops/camera/rectified_pair.h"
#include "ops/stereo/window_matching.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(binocular_disparity) {
  MatchParams p;
  PairMatch match;
  Vresult rc = ReadMatchParams(ctx, 0, &p);
  if (rc == VRESULT_OK) rc = MatchRectifiedPair(ctx, p, &match);
  return rc == VRESULT_OK ? OutpMatchImages(ctx, match.disparity, match.score, match.matched) : rc;
}

// The distance (z in the first camera) of every matched pixel; a pixel
// whose disparity puts its point on or behind the camera is left out.
VEXA_OPERATOR(binocular_distance) {
  RectifiedPair pair;
  MatchParams p;
  PairMatch match;
  Vresult rc = GetRectifiedPair(ctx, &pair);
  if (rc == VRESULT_OK) rc = ReadMatchParams(ctx, 3, &p);
  if (rc == VRESULT_OK) rc = MatchRectifiedPair(ctx, p, &match);
  if (rc != VRESULT_OK) return rc;
  cv::Mat distance(match.disparity.size(), CV_64F, cv::Scalar(0));
  for (int r = 0; r < distance.rows; ++r)
    for (int c = 0; c < distance.cols; ++c) {
      if (!match.matched.at<uint8_t>(r, c)) continue;
      double z = 0.0;
      if (DistanceOfDisparity(pair, match.disparity.at<double>(r, c), &z) == VRESULT_OK)
        distance.at<double>(r, c) = z;
      else
        match.matched.at<uint8_t>(r, c) = 0;
    }
  return OutpMatchImages(ctx, distance, match.score, match.matched);
}

}  // namespace vexa
