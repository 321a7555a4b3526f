// Reading and writing the parameters of metrology objects by name, and
// the inputs the metrology operators share.
//
// Names and values (defaults in metrology_model.h):
//   measure_length1, measure_length2  half lengths of the measures, > 0
//   measure_sigma                     smoothing, in (0, 1000]
//   measure_threshold                 minimum edge amplitude, >= 0
//   num_measures                      integer >= 1 (measure_distance reads -1 then)
//   measure_distance                  spacing > 0 (num_measures reads -1 then)
//   measure_transition                "all", "positive", "negative", "uniform"
//   measure_select                    "all", "first", "last"
//   measure_interpolation             "nearest_neighbor", "bilinear", "bicubic"
//   num_instances                     integer in 1..1000
//   min_score                         in [0, 1]
//   distance_threshold                >= 0
//   max_num_iterations                -1 (adaptive) or an integer >= 1
//   rand_seed                         integer >= 0
//   instances_outside_measure_regions "true", "false"
// Reading also knows "object_type" (the shape's name) and "object_params"
// (its parameters in the model's frame).
#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "metrology_model.h"
#include "op_context.h"

namespace vexa {

// Sets one parameter; VERR_CTRL_VALUE(name_par) for an unknown name,
// VERR_CTRL_VALUE(value_par) for a value of the wrong kind or range.
Vresult SetMetrologyParam(MetrologyParams* p, const char* name, const Vcpar& value, int name_par,
                          int value_par);

// Sets the pairs of names at `name_par` and values at `name_par + 1` (as
// many of each).
Vresult SetMetrologyParams(const OpContext& ctx, int name_par, MetrologyParams* p);

// Appends the value of parameter `name`; false for an unknown name.
bool GetMetrologyParam(const MetrologyObject& o, const char* name, CtrlValues* out);

// Calls fn(name, value) for every settable parameter whose value can be
// set again (of num_measures and measure_distance the one in use), for
// writing models out.
void ForEachMetrologyParam(const MetrologyParams& p,
                           const std::function<void(const char*, const Vcpar&)>& fn);

// The model of the handle at input `par`, locked while `lock` lives.
Vresult InpMetrology(const OpContext& ctx, int par, std::shared_ptr<MetrologyTool>* tool,
                     std::unique_lock<std::mutex>* lock);

// Object indices at `par`: "all" (every object, in order) or indices of
// existing objects (VERR_CTRL_VALUE otherwise); none is VERR_CTRL_NUM.
Vresult InpObjectIndices(const OpContext& ctx, int par, const MetrologyModel& m,
                         std::vector<Vlong>* indices);

// The model of the handle at input 0, locked while the struct lives, and
// the objects that input 1 chooses (as InpObjectIndices reads them).
struct ChosenObjects {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  std::vector<Vlong> indices;
};
Vresult InpChosenObjects(const OpContext& ctx, ChosenObjects* chosen);

// One real or integer value at `par` as a double, within +-1e7.
Vresult InpCoordinate(const OpContext& ctx, int par, double* v);

}  // namespace vexa
