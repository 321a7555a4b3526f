// The tool behind a measure handle: a rectangle or an annular arc in an
// image of known size along which gray profiles are taken, and the
// sampling of that profile.
//
// Geometry. The rectangle has its centre at (row, column); its main axis
// points at angle phi (counter-clockwise from the column axis, rows grow
// downwards) and reaches length1 to both sides; across it the rectangle
// reaches length2 to both sides. Pixel centres lie at integer coordinates.
// The profile has one sample per pixel along the axis, each the mean of
// the samples on the line across the axis at that position (one per pixel
// as well).
//
// Arcs. An arc runs from angle_start through angle_extent (counter-clockwise
// for a positive extent) at `radius` around (row, column); the profile has
// one sample per pixel of arc length from the start, each the mean along
// the radius within annulus_radius (kept in length2).
//
// Clipping. Only the positions along the axis whose whole line across lies
// inside the image (between the first and the last pixel centre) are
// sampled, so a rectangle that reaches outside the image gives a shorter
// profile; one with no such position is refused with VERR_COORD_RANGE. An
// arc must lie inside the image as a whole (VERR_COORD_RANGE otherwise).
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "fuzzy_sets.h"
#include "handle_registry.h"
#include "objdb.h"

namespace vexa {

// Largest image side a measure accepts.
constexpr Vlong kMaxMeasureImageSide = Vlong{1} << 20;

enum class MeasureInterpolation { kNearest, kBilinear, kBicubic };

struct MeasureGeometry {
  bool arc = false;
  double row = 0, column = 0, phi = 0, length1 = 0, length2 = 0;
  double radius = 0, angle_start = 0, angle_extent = 0;  // arcs only
  Vlong width = 0, height = 0;
  MeasureInterpolation interpolation = MeasureInterpolation::kBilinear;
};

// The sample positions of a geometry after clipping.
struct MeasureSampling {
  // Rectangles: unit steps along and across the axis, and the axis
  // coordinate of sample 0.
  double dir_row = 0, dir_col = 0, across_row = 0, across_col = 0, first_t = 0;
  // Arcs: angle per sample.
  double angle_step = 0;
  Vlong count = 0;             // samples along the axis
  std::vector<double> across;  // offsets of the lines across
  // Image coordinates of profile position `x` (in samples, fractional)
  // and the unit step across there.
  void PointAt(double x, const MeasureGeometry& g, double* r, double* c) const;
  void AcrossAt(double x, const MeasureGeometry& g, double* r, double* c) const;
};

// VERR_COORD_RANGE when no position along the axis lies inside the image.
Vresult PlanSampling(const MeasureGeometry& g, MeasureSampling* s);

class MeasureTool : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kMeasure;
  explicit MeasureTool(MeasureGeometry g) : g_(g) {}
  MeasureGeometry Get() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return g_;
  }
  void Set(const MeasureGeometry& g) {
    std::lock_guard<std::mutex> lock(mutex_);
    g_ = g;
  }
  // The fuzzy sets stay with the measure when it moves; they are not
  // serialised.
  FuzzySets Fuzzy() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return fuzzy_;
  }
  void EditFuzzy(const std::function<void(FuzzySets*)>& edit) {
    std::lock_guard<std::mutex> lock(mutex_);
    edit(&fuzzy_);
  }

 private:
  mutable std::mutex mutex_;
  MeasureGeometry g_;
  FuzzySets fuzzy_;
};

// The geometry of the measure whose handle is input control `par`.
Vresult InpMeasure(const OpContext& ctx, int par, MeasureGeometry* g,
                   std::shared_ptr<MeasureTool>* tool = nullptr);

// The mean gray profile of `channel` under geometry `g`, with the sampling
// it used. The channel must have the geometry's size (VERR_IMAGE_SIZE) and
// a real-valued pixel type (VERR_PIXEL_TYPE for complex).
Vresult ProfileOf(const PixelBuffer& channel, const MeasureGeometry& g, MeasureSampling* s,
                  std::vector<double>* profile);

// The mean gray profile of the single image at input object 1 under the
// measure at input control 0, with the sampling it used. The image must
// have the measure's size (VERR_IMAGE_SIZE) and a real-valued pixel type
// (VERR_PIXEL_TYPE for complex); its first channel is measured and its
// domain is not looked at (see ProfileOf).
Vresult InpProfile(OpContext& ctx, MeasureGeometry* g, MeasureSampling* s,
                   std::vector<double>* profile);

}  // namespace vexa
