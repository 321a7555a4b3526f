// Readers of the control parameters the shape model operators share.
#pragma once

#include "model_build.h"
#include "op_context.h"
#include "shape_search.h"

namespace vexa {
namespace matching {

// Contrast: "auto" (empty: taken from the template) or one to three
// numbers: low, high (hysteresis, >= low), minimum size of an edge.
Vresult InpContrast(const OpContext& ctx, int par, std::vector<double>* contrast);

// Number of scale axes of a kind of model: 0, 1 or 2.
int ScaleAxes(Scaling scaling);

// True when input control `par` is the single string "auto".
bool IsAuto(const OpContext& ctx, int par);

// The creation parameters of create_shape_model and its relatives, in
// this order from control 0: NumLevels, AngleStart, AngleExtent,
// AngleStep, then per scale axis of `scaling` (none, one, or rows and
// columns) ScaleMin, ScaleMax, ScaleStep, then Optimization, Metric,
// Contrast (unless `with_contrast` is false, as for the XLD forms) and
// MinContrast.
Vresult InpCreateParams(const OpContext& ctx, Scaling scaling, bool with_contrast,
                        BuildRequest* build, ShapeModelParams* params);

// The parameters of determine_shape_model_params, from control 0:
// NumLevels, AngleStart, AngleExtent, ScaleMin, ScaleMax (a model with a
// range other than 1..1 is isotropically scaled), Optimization, Metric,
// Contrast, MinContrast.
Vresult InpDetermineParams(const OpContext& ctx, BuildRequest* build, ShapeModelParams* params);

// Which value of a parameter that holds one value for all models or one
// per model applies to model `index` of `count`.
struct Pick {
  size_t index = 0, count = 1;
};

// The search parameters after the model handle(s) at control 0:
// AngleStart, AngleExtent, per scale axis of `scaling` ScaleMin and
// ScaleMax (inside the model's range, `model`), then MinScore,
// NumMatches, MaxOverlap, SubPixel, NumLevels, Greediness. Each but
// NumLevels (shared) holds one value, or one per model, of which `pick`
// selects.
Vresult InpSearchParams(const OpContext& ctx, Scaling scaling, const ShapeModelParams& model,
                        Pick pick, SearchRequest* q);

const char* MetricName(Metric m);

}  // namespace matching
}  // namespace vexa
