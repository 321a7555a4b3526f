// Readers of the control parameters the shape model operators share.
#pragma once

#include "model_build.h"
#include "op_context.h"
#include "shape_search.h"

namespace vexa {
namespace matching {

// True when input control `par` is the single string "auto".
bool IsAuto(const OpContext& ctx, int par);

// The creation parameters of create_shape_model and its relatives:
// NumLevels at `first`, then AngleStart, AngleExtent, AngleStep,
// Optimization and Metric; Contrast at `contrast_par` (-1: none, as for the
// XLD forms) and MinContrast at `min_contrast_par`.
Vresult InpCreateParams(const OpContext& ctx, int first, int contrast_par, int min_contrast_par,
                        BuildRequest* build, ShapeModelParams* params);

// The search parameters of find_shape_model after the model handle:
// AngleStart at `first`, then AngleExtent, MinScore, NumMatches,
// MaxOverlap, SubPixel, NumLevels, Greediness.
Vresult InpSearchParams(const OpContext& ctx, int first, SearchRequest* q);

const char* MetricName(Metric m);

}  // namespace matching
}  // namespace vexa
