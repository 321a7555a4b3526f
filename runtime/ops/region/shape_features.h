// The named shape features of regions, shared by region_features,
// select_shape and the operators that give a fixed set of them
// (elliptic_axis, moments_region_2nd, ...).
//
// A ShapeMeasures object computes what several features share (moments,
// hull, contour, holes, ...) once, on first use, for one region. Every
// feature of the empty region is 0.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ops/region/kernels/shape_kernels.h"
#include "region_store_moments.h"

namespace vexa {

class ShapeMeasures {
 public:
  explicit ShapeMeasures(RegionPtr region) : region_(std::move(region)) {}
  const Region& region() const { return *region_; }

  // Moments divided by the area (m20 = sum (r - row)^2 / area, ...).
  const RegionMoments& Moments2();
  const Moments3& MomentSums();
  const std::vector<PixelPoint>& Hull();
  // The traced outer border of the first component (contour.h).
  const std::vector<PixelPoint>& Contour();
  double ContourLength();
  // Distances of the contour pixels from the centre: mean and deviation.
  void ContourDistances(double* mean, double* deviation);
  int64_t Components();
  int64_t Holes();
  int64_t HoleArea();
  // Squared radius of the largest inscribed disc and its centre.
  void InnerDiscOf(int64_t* k, PixelPoint* centre);
  // The direction of the major axis pointing to the farthest pixel, in
  // (-pi, pi].
  double Orientation();
  const Rect2& SmallestRect();
  const Circle& SmallestCircleOf();
  // The Flusser affine moment invariants I1..I4 over the moments divided
  // by the area.
  double AffineInvariant(int which, bool normalised);

 private:
  void ComputeHoles();

  RegionPtr region_;
  std::unique_ptr<RegionMoments> m2_;
  std::unique_ptr<Moments3> m3_;
  std::unique_ptr<std::vector<PixelPoint>> hull_, contour_;
  std::unique_ptr<Rect2> rect_;
  std::unique_ptr<Circle> circle_;
  int64_t components_ = -1, holes_ = -1, hole_area_ = -1;
  int64_t inner_k_ = -1;
  PixelPoint inner_centre_{0, 0};
};

// The value of feature `name` for the region; false for a name that is no
// feature.
bool FeatureValue(const std::string& name, ShapeMeasures& m, double* value);
bool IsFeatureName(const std::string& name);

}  // namespace vexa
