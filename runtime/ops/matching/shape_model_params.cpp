#include "shape_model_params.h"

#include <cmath>
#include <cstring>

namespace vexa {
namespace matching {
namespace {

constexpr double kTwoPi = 2 * M_PI;

const char* const kMetricNames[] = {"use_polarity", "ignore_global_polarity",
                                    "ignore_local_polarity"};

// The value of `par` that `pick` selects: the only one, or the
// pick.index-th of pick.count (anything else is VERR_CTRL_NUM).
Vresult PickElem(const OpContext& ctx, int par, Pick pick, const Vcpar** elem) {
  const Vlong n = ctx.CtrlNum(par);
  if (n != 1 && n != static_cast<Vlong>(pick.count)) return VERR_CTRL_NUM(par);
  *elem = &ctx.CtrlElem(par, n == 1 ? 0 : static_cast<Vlong>(pick.index));
  return VRESULT_OK;
}

Vresult PickDouble(const OpContext& ctx, int par, Pick pick, double* v) {
  const Vcpar* e = nullptr;
  const Vresult rc = PickElem(ctx, par, pick, &e);
  if (rc != VRESULT_OK) return rc;
  if (e->type == VPAR_DOUBLE) {
    *v = e->par.d;
  } else if (e->type == VPAR_LONG) {
    *v = static_cast<double>(e->par.l);
  } else {
    return VERR_CTRL_TYPE(par);
  }
  return VRESULT_OK;
}

Vresult PickLong(const OpContext& ctx, int par, Pick pick, Vlong* v) {
  const Vcpar* e = nullptr;
  const Vresult rc = PickElem(ctx, par, pick, &e);
  if (rc != VRESULT_OK) return rc;
  if (e->type != VPAR_LONG) return VERR_CTRL_TYPE(par);
  *v = e->par.l;
  return VRESULT_OK;
}

// The index of the string at `par` among `names`.
Vresult InpChoice(const OpContext& ctx, int par, const char* const* names, int n, int* choice,
                  Pick pick = {}) {
  const Vcpar* e = nullptr;
  const Vresult rc = PickElem(ctx, par, pick, &e);
  if (rc != VRESULT_OK) return rc;
  if (e->type != VPAR_STRING || e->par.s == nullptr) return VERR_CTRL_TYPE(par);
  const char* s = e->par.s;
  for (int i = 0; i < n; ++i)
    if (std::strcmp(s, names[i]) == 0) {
      *choice = i;
      return VRESULT_OK;
    }
  return VERR_CTRL_VALUE(par);
}

// One real value in [lo, hi].
Vresult InpRange(const OpContext& ctx, int par, double lo, double hi, double* v, Pick pick = {}) {
  const Vresult rc = PickDouble(ctx, par, pick, v);
  if (rc != VRESULT_OK) return rc;
  return *v >= lo && *v <= hi ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// An angle range: any finite start, an extent of 0 .. 2 pi (more is the
// full circle).
Vresult InpAngles(const OpContext& ctx, int par, double* start, double* extent, Pick pick = {}) {
  Vresult rc = InpRange(ctx, par, -1e6, 1e6, start, pick);
  if (rc == VRESULT_OK) rc = InpRange(ctx, par + 1, 0, 1e6, extent, pick);
  if (rc == VRESULT_OK) *extent = std::min(*extent, kTwoPi);
  return rc;
}

// "auto" (0) or an integer count in [lo, hi].
Vresult InpAutoLong(const OpContext& ctx, int par, Vlong lo, Vlong hi, Vlong* v) {
  if (IsAuto(ctx, par)) {
    *v = 0;
    return VRESULT_OK;
  }
  const Vresult rc = ctx.GetLong(par, v);
  if (rc != VRESULT_OK) return rc;
  return *v >= lo && *v <= hi ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// The optimization names; the point reduction keeps every (1 + i)-th
// point for the i-th "point_reduction_*". Pregeneration is accepted and
// has no effect: rotated point sets are made per search anyway.
Vresult InpOptimization(const OpContext& ctx, int par, std::string* name, int* reduction) {
  static const char* const kNames[] = {"auto",  "none",  "point_reduction_low", "point_reduction_medium",
                                       "point_reduction_high", "pregeneration", "no_pregeneration"};
  static const int kReduction[] = {0, 0, 1, 2, 3, 0, 0};
  int i = 0;
  const Vresult rc = InpChoice(ctx, par, kNames, 7, &i);
  if (rc != VRESULT_OK) return rc;
  *name = kNames[i];
  *reduction = kReduction[i];
  return VRESULT_OK;
}

// "auto" (0) or a step in (0, hi].
Vresult InpAutoStep(const OpContext& ctx, int par, double hi, double* step) {
  *step = 0;
  if (IsAuto(ctx, par)) return VRESULT_OK;
  const Vresult rc = InpRange(ctx, par, 0, hi, step);
  return rc == VRESULT_OK && *step <= 0 ? VERR_CTRL_VALUE(par) : rc;
}

// A scale range: 0 < min <= max <= kMaxScale.
constexpr double kMaxScale = 10;
Vresult InpScaleRange(const OpContext& ctx, int par, double* lo, double* hi, Pick pick = {}) {
  Vresult rc = InpRange(ctx, par, 0, kMaxScale, lo, pick);
  if (rc == VRESULT_OK && *lo <= 0) rc = VERR_CTRL_VALUE(par);
  if (rc == VRESULT_OK) rc = InpRange(ctx, par + 1, *lo, kMaxScale, hi, pick);
  return rc;
}

}  // namespace

// "auto" (the contrast is then taken from the template: empty) or one to
// three numbers: low, high (hysteresis), minimum size of an edge.
Vresult InpContrast(const OpContext& ctx, int par, std::vector<double>* contrast) {
  contrast->clear();
  if (IsAuto(ctx, par)) return VRESULT_OK;
  const Vresult rc = ctx.GetDoubles(par, *contrast);
  if (rc != VRESULT_OK) return rc;
  if (contrast->empty() || contrast->size() > 3) return VERR_CTRL_NUM(par);
  for (double v : *contrast)
    if (!(v >= 0 && v <= 1e6)) return VERR_CTRL_VALUE(par);
  if ((*contrast)[0] <= 0 || (contrast->size() > 1 && (*contrast)[1] < (*contrast)[0]))
    return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

bool IsAuto(const OpContext& ctx, int par) {
  if (ctx.CtrlNum(par) != 1) return false;
  const Vcpar& v = ctx.CtrlElem(par, 0);
  return v.type == VPAR_STRING && v.par.s != nullptr && std::strcmp(v.par.s, "auto") == 0;
}

const char* MetricName(Metric m) { return kMetricNames[static_cast<int>(m)]; }

int ScaleAxes(Scaling scaling) {
  return scaling == Scaling::kNone ? 0 : scaling == Scaling::kIsotropic ? 1 : 2;
}

Vresult InpCreateParams(const OpContext& ctx, Scaling scaling, bool with_contrast,
                        BuildRequest* build, ShapeModelParams* params) {
  Vlong levels = 0;
  Vresult rc = InpAutoLong(ctx, 0, 1, kMaxModelLevels, &levels);
  build->num_levels = static_cast<int>(levels);
  if (rc == VRESULT_OK) rc = InpAngles(ctx, 1, &params->angle_start, &params->angle_extent);
  if (rc == VRESULT_OK) rc = InpAutoStep(ctx, 3, M_PI, &build->angle_step);
  params->scaling = scaling;
  int par = 4;
  for (int axis = 0; axis < ScaleAxes(scaling) && rc == VRESULT_OK; ++axis, par += 3) {
    rc = InpScaleRange(ctx, par, &params->scale_min[axis], &params->scale_max[axis]);
    if (rc == VRESULT_OK) rc = InpAutoStep(ctx, par + 2, 1, &build->scale_step[axis]);
  }
  if (scaling == Scaling::kIsotropic) {
    params->scale_min[1] = params->scale_min[0];
    params->scale_max[1] = params->scale_max[0];
    build->scale_step[1] = build->scale_step[0];
  }
  if (rc == VRESULT_OK) rc = InpOptimization(ctx, par, &params->optimization, &build->point_reduction);
  int metric = 0;
  if (rc == VRESULT_OK) rc = InpChoice(ctx, par + 1, kMetricNames, 3, &metric);
  params->metric = static_cast<Metric>(metric);
  par += 2;
  if (rc == VRESULT_OK && with_contrast) rc = InpContrast(ctx, par++, &build->contrast);
  if (rc == VRESULT_OK && !IsAuto(ctx, par)) {
    Vlong min_contrast = 0;
    rc = InpAutoLong(ctx, par, 0, 1000000, &min_contrast);
    build->min_contrast = static_cast<double>(min_contrast);
  }
  return rc;
}

Vresult InpDetermineParams(const OpContext& ctx, BuildRequest* build, ShapeModelParams* params) {
  Vlong levels = 0;
  Vresult rc = InpAutoLong(ctx, 0, 1, kMaxModelLevels, &levels);
  build->num_levels = static_cast<int>(levels);
  if (rc == VRESULT_OK) rc = InpAngles(ctx, 1, &params->angle_start, &params->angle_extent);
  if (rc == VRESULT_OK) rc = InpScaleRange(ctx, 3, &params->scale_min[0], &params->scale_max[0]);
  params->scale_min[1] = params->scale_min[0];
  params->scale_max[1] = params->scale_max[0];
  params->scaling = params->scale_min[0] == params->scale_max[0] ? Scaling::kNone : Scaling::kIsotropic;
  if (rc == VRESULT_OK) rc = InpOptimization(ctx, 5, &params->optimization, &build->point_reduction);
  int metric = 0;
  if (rc == VRESULT_OK) rc = InpChoice(ctx, 6, kMetricNames, 3, &metric);
  params->metric = static_cast<Metric>(metric);
  if (rc == VRESULT_OK) rc = InpContrast(ctx, 7, &build->contrast);
  if (rc == VRESULT_OK && !IsAuto(ctx, 8)) {
    Vlong min_contrast = 0;
    rc = InpAutoLong(ctx, 8, 0, 1000000, &min_contrast);
    build->min_contrast = static_cast<double>(min_contrast);
  }
  return rc;
}

Vresult InpSearchParams(const OpContext& ctx, Scaling scaling, const ShapeModelParams& model,
                        Pick pick, SearchRequest* q) {
  Vresult rc = InpAngles(ctx, 1, &q->angle_start, &q->angle_extent, pick);
  q->scaling = scaling;
  int par = 3;
  for (int axis = 0; axis < ScaleAxes(scaling) && rc == VRESULT_OK; ++axis, par += 2) {
    rc = InpScaleRange(ctx, par, &q->scale_min[axis], &q->scale_max[axis], pick);
    // A search outside the range the model was made for would use angle
    // and scale steps too coarse for it.
    if (rc == VRESULT_OK && q->scale_min[axis] < model.scale_min[axis] - 1e-9) rc = VERR_CTRL_VALUE(par);
    if (rc == VRESULT_OK && q->scale_max[axis] > model.scale_max[axis] + 1e-9) rc = VERR_CTRL_VALUE(par + 1);
  }
  if (scaling == Scaling::kIsotropic) {
    q->scale_min[1] = q->scale_min[0];
    q->scale_max[1] = q->scale_max[0];
  }
  if (rc == VRESULT_OK) rc = InpRange(ctx, par, 0, 1, &q->min_score, pick);
  Vlong num = 0;
  if (rc == VRESULT_OK) rc = PickLong(ctx, par + 1, pick, &num);
  if (rc == VRESULT_OK && (num < 0 || num > 100000)) rc = VERR_CTRL_VALUE(par + 1);
  q->num_matches = static_cast<int>(num);
  if (rc == VRESULT_OK) rc = InpRange(ctx, par + 2, 0, 1, &q->max_overlap, pick);
  static const char* const kSubPixel[] = {"none", "interpolation", "least_squares",
                                          "least_squares_high", "least_squares_very_high"};
  int sub = 0;
  if (rc == VRESULT_OK) rc = InpChoice(ctx, par + 3, kSubPixel, 5, &sub, pick);
  q->sub_pixel = static_cast<SubPixel>(std::min(sub, 2));
  // NumLevels: the number of levels, optionally followed by the lowest
  // level the tracking descends to (counting from 1); 0 is every level.
  std::vector<Vlong> levels;
  if (rc == VRESULT_OK) rc = ctx.GetLongs(par + 4, levels);
  if (rc == VRESULT_OK && (levels.empty() || levels.size() > 2)) rc = VERR_CTRL_NUM(par + 4);
  if (rc == VRESULT_OK) {
    const bool ok = levels[0] >= 0 && levels[0] <= kMaxModelLevels &&
                    (levels.size() < 2 || (levels[1] >= 1 && levels[1] <= kMaxModelLevels &&
                                           (levels[0] == 0 || levels[1] <= levels[0])));
    if (!ok) rc = VERR_CTRL_VALUE(par + 4);
  }
  if (rc == VRESULT_OK) {
    q->num_levels = static_cast<int>(levels[0]);
    q->lowest_level = levels.size() > 1 ? static_cast<int>(levels[1]) - 1 : 0;
  }
  if (rc == VRESULT_OK) rc = InpRange(ctx, par + 5, 0, 1, &q->greediness, pick);
  return rc;
}

}  // namespace matching
}  // namespace vexa
