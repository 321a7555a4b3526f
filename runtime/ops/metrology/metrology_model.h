// The tool behind a metrology handle: shapes of known approximate
// position (lines, circles, ellipses, rectangles), each measured by edge
// measures placed across its outline and fitted robustly to the edges
// found.
//
// Shapes and their parameters (phi counter-clockwise from the column axis,
// rows growing downwards, as for measure rectangles):
//   line:       row_begin, column_begin, row_end, column_end
//   circle:     row, column, radius
//   ellipse:    row, column, phi, radius1, radius2
//   rectangle2: row, column, phi, length1, length2
// Shape parameters are kept in the model's frame; align_metrology_model
// moves the model's reference system (reference_system, default 0, 0, 0)
// to a new position and angle, and every placement and result is in that
// aligned frame.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "handle_registry.h"
#include "ops/measure/measure_tool.h"
#include "ops/measure/profile_edges.h"

namespace vexa {

enum class MetrologyShape { kLine, kCircle, kEllipse, kRectangle2 };

// Number of shape parameters of each shape.
size_t ShapeParamCount(MetrologyShape shape);
const char* ShapeName(MetrologyShape shape);
bool ShapeFromName(const char* name, MetrologyShape* shape);

// "uniform" takes edges of both polarities but fits each instance to
// edges of one polarity only.
enum class MetrologyTransition { kAll, kPositive, kNegative, kUniform };

// The measuring and fitting parameters of one object.
struct MetrologyParams {
  double measure_length1 = 20, measure_length2 = 5, measure_sigma = 1, measure_threshold = 30;
  Vlong num_measures = -1;  // -1: from measure_distance
  double measure_distance = 10;
  MetrologyTransition transition = MetrologyTransition::kAll;
  EdgeSelect select = EdgeSelect::kAll;
  MeasureInterpolation interpolation = MeasureInterpolation::kBilinear;
  Vlong num_instances = 1;
  double min_score = 0.7;
  double distance_threshold = 3.5;
  Vlong max_num_iterations = -1;  // -1: until 99% confidence (see metrology_fit.h)
  Vlong rand_seed = 42;
  bool instances_outside_measure_regions = false;
};

// An edge found by one of the object's measures, in image coordinates.
struct MetrologyEdge {
  double row, column, amplitude;
  int measure;  // index of the measure that found it
  int side;     // rectangle side the measure lies on (0 otherwise)
};

// One fitted instance of a shape.
struct MetrologyInstance {
  std::vector<double> params;  // as the shape's parameters
  double score = 0;            // fraction of the measures with an inlier
  std::vector<MetrologyEdge> used;  // the inliers
};

// A measure placed across the outline, and the rectangle side it lies on
// (0 for the other shapes).
struct MetrologyMeasure {
  MeasureGeometry geometry;
  int side = 0;
};

struct MetrologyObject {
  MetrologyShape shape = MetrologyShape::kLine;
  std::vector<double> shape_params;  // in the model's frame
  MetrologyParams params;
  // Edge sets (set_metrology_object_fuzzy_param): when any is set, edges
  // scoring below fuzzy_thresh are dropped before selection and fitting.
  FuzzySets fuzzy;
  double fuzzy_thresh = 0.5;
  // From the last apply_metrology_model.
  std::vector<MetrologyMeasure> measures;
  std::vector<MetrologyEdge> edges;
  std::vector<MetrologyInstance> instances;
};

// A rigid placement: rotate by `angle` about the origin, then translate.
struct MetrologyPose {
  double row = 0, column = 0, angle = 0;
};

struct MetrologyModel {
  Vlong width = 0, height = 0;  // 0 until set or until the first image
  MetrologyPose reference;      // reference_system
  MetrologyPose aligned;        // where align_metrology_model put it
  std::map<Vlong, MetrologyObject> objects;
  Vlong next_index = 0;
};

class MetrologyTool : public Tool {
 public:
  static constexpr ToolKind kKind = ToolKind::kMetrologyModel;
  explicit MetrologyTool(MetrologyModel m = {}) : model_(std::move(m)) {}
  // The model, for exclusive use while the returned lock lives.
  std::unique_lock<std::mutex> Lock() { return std::unique_lock<std::mutex>(mutex_); }
  MetrologyModel& model() { return model_; }

 private:
  std::mutex mutex_;
  MetrologyModel model_;
};

// The shape parameters of `o` in image coordinates, the model aligned.
std::vector<double> AlignedShape(const MetrologyModel& m, const MetrologyObject& o);

// Shape parameters moved by the pose (rotation about the origin first).
std::vector<double> MoveShape(MetrologyShape shape, const std::vector<double>& p,
                              const MetrologyPose& pose);

// The pose from `a` to `b`: MoveShape(..., Relative(a, b)) takes a shape
// at `a`'s frame to `b`'s.
MetrologyPose RelativePose(const MetrologyPose& from, const MetrologyPose& to);

// Checks shape parameters: finite, within the coordinate range, positive
// radii and lengths, a line of positive length.
bool ValidShape(MetrologyShape shape, const std::vector<double>& p);

}  // namespace vexa
