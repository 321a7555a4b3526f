// Finding the instances of a shape model in an image.
//
// Score. At a pose (position of the reference point, angle) the score is
// the mean over the model points of the dot product of the point's rotated
// direction and the unit gradient direction of the image at the point's
// rotated position (0 where the image's magnitude is below the model's
// min_contrast or the point falls outside the image). "ignore_global_
// polarity" takes the absolute value of that mean, "ignore_local_polarity"
// the mean of the absolute values. A perfect, unoccluded instance scores
// 1; an occluded part lowers the score by its share of the points.
//
// Early termination. The sum over the first j of n points is abandoned
// when it falls below n (1 - g)(s - 1) + j ((1 - g) + g s), s the minimum
// score and g the greediness: for g = 0 that is exactly "the remaining
// points cannot lift the score to s any more" (never misses a match), for
// g = 1 it asks every prefix to reach s on its own (fast, may miss
// occluded instances).
//
// Search. The model's top pyramid level is searched exhaustively, at every
// pixel and every angle and scale step of that level (threads over the
// angles and scales; the candidates are sorted by score and pose, so the
// result does not depend on the number of threads). Candidates are then
// followed down the pyramid, each level looking at +-2 pixels, +-1 angle
// step and +-1 scale step around the pose the level above found. On the
// levels above 0 the minimum score is relaxed (to 0.8 s at the top), since
// a coarse level cannot place the model as exactly.
//
// Threads: VEXA_MATCHING_THREADS in the environment limits the number of
// threads of the top-level search (default: the number of cores, at most
// 8).
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "region_store.h"
#include "shape_model.h"

namespace vexa {
namespace matching {

enum class SubPixel { kNone, kInterpolation, kLeastSquares };

struct SearchRequest {
  double angle_start = 0, angle_extent = 0;
  Scaling scaling = Scaling::kNone;  // which scales vary (at most the model's)
  // Scale ranges searched, [0] rows (or both), [1] columns; within the
  // model's.
  double scale_min[2] = {1, 1}, scale_max[2] = {1, 1};
  double min_score = 0.5;
  int num_matches = 1;  // 0: all
  double max_overlap = 0.5;
  SubPixel sub_pixel = SubPixel::kLeastSquares;
  int num_levels = 0;    // 0: all levels of the model
  int lowest_level = 0;  // the level the tracking stops at
  double greediness = 0.9;
};

// A match: the pose of the reference point and its score.
struct Match {
  Pose pose;
  double score;
};

// The matches of `model` in `image` (CV_32F, level 0) whose reference point
// lies in `domain` (null: anywhere), best first.
std::vector<Match> FindShapeModel(const ShapeModel& model, const cv::Mat& image,
                                  const Region* domain, const SearchRequest& request);

}  // namespace matching
}  // namespace vexa
