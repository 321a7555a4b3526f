// Making, moving and closing measure objects.
#include <cmath>

#include "measure_params.h"
#include "measure_tool.h"
#include "registry.h"

namespace vexa {
namespace {

Vresult InpImageSide(const OpContext& ctx, int par, Vlong* side) {
  const Vresult rc = ctx.GetLong(par, side);
  if (rc != VRESULT_OK) return rc;
  return *side >= 1 && *side <= kMaxMeasureImageSide ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// A half length: not negative and not beyond the image's width plus
// height (longer rectangles would be clipped to the image anyway).
Vresult InpHalfLength(const OpContext& ctx, int par, const MeasureGeometry& g, double* v) {
  const Vresult rc = InpFinite(ctx, par, v);
  if (rc != VRESULT_OK) return rc;
  return *v >= 0 && *v <= static_cast<double>(g.width + g.height) ? VRESULT_OK
                                                                    : VERR_CTRL_VALUE(par);
}

Vresult InpInterpolation(const OpContext& ctx, int par, MeasureInterpolation* mode) {
  static const char* const kNames[] = {"nearest_neighbor", "bilinear", "bicubic"};
  int i = 0;
  const Vresult rc = InpChoice(ctx, par, kNames, 3, &i);
  *mode = static_cast<MeasureInterpolation>(i);
  return rc;
}

// A new measure with geometry `g` at output control 0, once its rectangle
// has been checked to reach into the image.
Vresult OutpNewMeasure(OpContext& ctx, const MeasureGeometry& g) {
  MeasureSampling s;
  const Vresult rc = PlanSampling(g, &s);
  if (rc != VRESULT_OK) return rc;
  return OutpNewTool(ctx, 0, std::make_shared<MeasureTool>(g));
}

}  // namespace

VEXA_OPERATOR(gen_measure_rectangle2) {
  MeasureGeometry g;
  Vresult rc = InpImageSide(ctx, 5, &g.width);
  if (rc == VRESULT_OK) rc = InpImageSide(ctx, 6, &g.height);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 0, &g.row);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 1, &g.column);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 2, &g.phi);
  if (rc == VRESULT_OK) rc = InpHalfLength(ctx, 3, g, &g.length1);
  if (rc == VRESULT_OK) rc = InpHalfLength(ctx, 4, g, &g.length2);
  if (rc == VRESULT_OK) rc = InpInterpolation(ctx, 7, &g.interpolation);
  if (rc != VRESULT_OK) return rc;
  // Keep the angle small so that sin/cos stay exact to the last bits.
  g.phi = std::remainder(g.phi, 2 * M_PI);
  return OutpNewMeasure(ctx, g);
}

VEXA_OPERATOR(gen_measure_arc) {
  MeasureGeometry g;
  g.arc = true;
  Vresult rc = InpImageSide(ctx, 6, &g.width);
  if (rc == VRESULT_OK) rc = InpImageSide(ctx, 7, &g.height);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 0, &g.row);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 1, &g.column);
  if (rc == VRESULT_OK) rc = InpHalfLength(ctx, 2, g, &g.radius);
  if (rc == VRESULT_OK && g.radius <= 0) rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 3, &g.angle_start);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 4, &g.angle_extent);
  if (rc == VRESULT_OK && (g.angle_extent == 0 || std::fabs(g.angle_extent) > 2 * M_PI))
    rc = VERR_CTRL_VALUE(4);
  if (rc == VRESULT_OK) rc = InpHalfLength(ctx, 5, g, &g.length2);
  if (rc == VRESULT_OK) rc = InpInterpolation(ctx, 8, &g.interpolation);
  if (rc != VRESULT_OK) return rc;
  g.angle_start = std::remainder(g.angle_start, 2 * M_PI);
  return OutpNewMeasure(ctx, g);
}

VEXA_OPERATOR(translate_measure) {
  std::shared_ptr<MeasureTool> tool;
  MeasureGeometry g;
  Vresult rc = InpMeasure(ctx, 0, &g, &tool);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 1, &g.row);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 2, &g.column);
  if (rc != VRESULT_OK) return rc;
  MeasureSampling s;
  rc = PlanSampling(g, &s);
  if (rc == VRESULT_OK) tool->Set(g);
  return rc;
}

VEXA_OPERATOR(close_measure) { return CloseInpTool(ctx, 0, ToolKind::kMeasure); }

VEXA_OPERATOR(close_all_measures) {
  handles::RemoveAll(ToolKind::kMeasure);
  return VRESULT_OK;
}

}  // namespace vexa
