// Robust fitting of metrology shapes to the edges their measures found.
//
// Each instance is found by RANSAC: minimal samples of edges from distinct
// measures (2 for a line, 3 for a circle, 5 for an ellipse; for a
// rectangle 2 edges on one side and 1 on each other side) give candidate
// shapes, and the candidate with edges within distance_threshold in the
// most measures wins (ties: more inlying edges, then the smaller sum of
// distances). Sampling uses a Mersenne twister seeded with rand_seed, so
// results repeat exactly. Rounds: max_num_iterations when set, else until
// a clean sample has been drawn with 99% confidence given the best
// inlier ratio so far, at most kMaxRansacRounds; in both cases no more
// rounds than keep rounds x edges within 5e7 (at least 100).
//
// The winner is refitted by least squares to its inliers (one edge per
// measure, the nearest), then the inliers are recomputed and reweighted
// with Tukey's biweight from their residuals (xld::RobustWeights, 4.685
// robust sigmas) and refitted, five rounds in all: lines by total least
// squares, circles, ellipses and rectangles by Gauss-Newton on the
// geometric distance (for ellipses its first-order approximation). The
// instance's used edges are the inliers of non-zero weight. With
// "uniform" transition an instance takes edges of the polarity of its
// sample only.
//
// An instance counts when its score (measures with a used edge / measures
// placed) reaches min_score and, unless instances_outside_measure_regions
// is true, the fitted outline passes through every measure within its
// half length measure_length1. Its inliers are then removed and the next
// of num_instances is searched among the remaining edges.
#pragma once

#include <vector>

#include "metrology_model.h"

namespace vexa {

constexpr Vlong kMaxRansacRounds = 10000;

// Instances of `shape` among `edges` of the object's `measures`; `expected`
// is the aligned shape (lines take the ends of their result from it).
std::vector<MetrologyInstance> FitInstances(MetrologyShape shape,
                                            const std::vector<double>& expected,
                                            const std::vector<MetrologyMeasure>& measures,
                                            const std::vector<MetrologyEdge>& edges,
                                            const MetrologyParams& params);

}  // namespace vexa
