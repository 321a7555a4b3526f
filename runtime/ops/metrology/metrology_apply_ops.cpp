// Measuring and fitting metrology objects in an image, and their results.
#include <cmath>
#include <cstring>

#include "metrology_fit.h"
#include "metrology_params.h"
#include "metrology_placement.h"
#include "ops/common/op_objects.h"
#include "ops/xld/xld_support.h"
#include "registry.h"

namespace vexa {
namespace {

EdgeTransition MeasureTransition(MetrologyTransition t) {
  switch (t) {
    case MetrologyTransition::kPositive: return EdgeTransition::kPositive;
    case MetrologyTransition::kNegative: return EdgeTransition::kNegative;
    case MetrologyTransition::kAll:
    case MetrologyTransition::kUniform: break;
  }
  return EdgeTransition::kAll;
}

// Places the object's measures, finds their edges and fits its instances.
Vresult MeasureObject(const PixelBuffer& channel, const MetrologyModel& m, MetrologyObject* o) {
  const MetrologyParams& p = o->params;
  const std::vector<double> expected = AlignedShape(m, *o);
  Vresult rc = PlaceMeasures(o->shape, expected, p, m.width, m.height, &o->measures);
  if (rc != VRESULT_OK) return rc;
  o->edges.clear();
  for (size_t i = 0; i < o->measures.size(); ++i) {
    const MeasureGeometry& g = o->measures[i].geometry;
    MeasureSampling s;
    std::vector<double> profile;
    rc = ProfileOf(channel, g, &s, &profile);
    if (rc != VRESULT_OK) return rc;
    FuzzyProfile fp{&profile, FindEdges(SmoothedDerivative(profile, p.measure_sigma), p.measure_threshold,
                                         MeasureTransition(p.transition), p.measure_sigma)};
    std::vector<ProfileEdge> kept;
    for (const ProfileEdge& e : fp.edges)
      if (o->fuzzy.sets.empty() || EdgeScore(o->fuzzy, fp, e) >= o->fuzzy_thresh) kept.push_back(e);
    const std::vector<ProfileEdge> found = SelectItems(kept, p.select);
    for (const ProfileEdge& e : found) {
      MetrologyEdge edge{0, 0, e.amplitude, static_cast<int>(i), o->measures[i].side};
      s.PointAt(e.pos, g, &edge.row, &edge.column);
      o->edges.push_back(edge);
    }
  }
  o->instances = FitInstances(o->shape, expected, o->measures, o->edges, p);
  return VRESULT_OK;
}

// Instance numbers at `par`: "all" or numbers >= 0; those an object does
// not have give nothing.
Vresult InpInstances(const OpContext& ctx, int par, std::vector<Vlong>* wanted, bool* all) {
  *all = false;
  if (ctx.CtrlNum(par) == 1 && ctx.CtrlElem(par, 0).type == VPAR_STRING) {
    const char* s = ctx.CtrlElem(par, 0).par.s;
    *all = s != nullptr && std::strcmp(s, "all") == 0;
    return *all ? VRESULT_OK : VERR_CTRL_VALUE(par);
  }
  const Vresult rc = ctx.GetLongs(par, *wanted);
  if (rc != VRESULT_OK) return rc;
  if (wanted->empty()) return VERR_CTRL_NUM(par);
  for (Vlong i : *wanted)
    if (i < 0) return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

// The instances of `o` the numbers choose.
std::vector<const MetrologyInstance*> Chosen(const MetrologyObject& o, const std::vector<Vlong>& wanted,
                                             bool all) {
  std::vector<const MetrologyInstance*> chosen;
  if (all) {
    for (const MetrologyInstance& inst : o.instances) chosen.push_back(&inst);
  } else {
    for (Vlong i : wanted)
      if (static_cast<size_t>(i) < o.instances.size()) chosen.push_back(&o.instances[static_cast<size_t>(i)]);
  }
  return chosen;
}

// The names of each shape's parameters, as result types.
const char* const kParamNames[4][5] = {
    {"row_begin", "column_begin", "row_end", "column_end", nullptr},
    {"row", "column", "radius", nullptr, nullptr},
    {"row", "column", "phi", "radius1", "radius2"},
    {"row", "column", "phi", "length1", "length2"},
};

enum class ResultKind { kAllParams, kScore, kParam, kEdgeRow, kEdgeColumn, kEdgeAmplitude };

struct ResultChoice {
  ResultKind kind;
  size_t param;  // for kParam
};

// What name and value ask for of a shape; false for what it does not have.
bool ParseResult(MetrologyShape shape, const char* name, const char* value, ResultChoice* r) {
  *r = {ResultKind::kAllParams, 0};
  if (std::strcmp(name, "used_edges") == 0) {
    static const char* const kEdgeValues[] = {"row", "column", "amplitude"};
    for (int k = 0; k < 3; ++k)
      if (std::strcmp(value, kEdgeValues[k]) == 0) {
        r->kind = static_cast<ResultKind>(static_cast<int>(ResultKind::kEdgeRow) + k);
        return true;
      }
    return false;
  }
  if (std::strcmp(name, "result_type") != 0) return false;
  if (std::strcmp(value, "all_param") == 0) return true;
  r->kind = ResultKind::kScore;
  if (std::strcmp(value, "score") == 0) return true;
  r->kind = ResultKind::kParam;
  const char* const* names = kParamNames[static_cast<int>(shape)];
  for (r->param = 0; r->param < ShapeParamCount(shape); ++r->param)
    if (std::strcmp(names[r->param], value) == 0) return true;
  return false;
}

void AddResult(const MetrologyInstance& inst, const ResultChoice& r, CtrlValues* out) {
  switch (r.kind) {
    case ResultKind::kAllParams:
      for (double v : inst.params) out->Add(v);
      break;
    case ResultKind::kScore: out->Add(inst.score); break;
    case ResultKind::kParam: out->Add(inst.params[r.param]); break;
    case ResultKind::kEdgeRow:
      for (const MetrologyEdge& e : inst.used) out->Add(e.row);
      break;
    case ResultKind::kEdgeColumn:
      for (const MetrologyEdge& e : inst.used) out->Add(e.column);
      break;
    case ResultKind::kEdgeAmplitude:
      for (const MetrologyEdge& e : inst.used) out->Add(e.amplitude);
      break;
  }
}

Vresult InpResolution(const OpContext& ctx, int par, double* resolution) {
  const Vresult rc = ctx.GetDouble(par, resolution);
  if (rc != VRESULT_OK) return rc;
  // Finer than a hundredth of a pixel helps no one.
  return *resolution >= 0.01 && *resolution <= 1e7 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

Vresult EmitOutline(NewKeys& out, const std::vector<std::pair<double, double>>& pts) {
  std::vector<xld::Pt> contour;
  for (const auto& p : pts) contour.push_back({p.first, p.second});
  return xld::Emit(out, xld::NewContour(contour));
}

}  // namespace

// Every object of the model, in the model's image size (taken from the
// image when not set before).
VEXA_OPERATOR(apply_metrology_model) {
  db::ImageData image;
  Vresult rc = InpSingleImage(ctx, 1, &image);
  if (rc == VRESULT_OK && image.channels.empty()) rc = VERR_CHANNEL;
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  if (rc == VRESULT_OK) rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& channel = *image.channels[0];
  if (channel.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  MetrologyModel& m = tool->model();
  if (m.width == 0) {
    m.width = channel.width();
    m.height = channel.height();
  }
  if (channel.width() != m.width || channel.height() != m.height) return VERR_IMAGE_SIZE;
  for (auto& entry : m.objects) {
    rc = MeasureObject(channel, m, &entry.second);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

VEXA_OPERATOR(get_metrology_object_num_instances) {
  ChosenObjects chosen;
  Vresult rc = InpChosenObjects(ctx, &chosen);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> counts;
  for (Vlong i : chosen.indices)
    counts.push_back(static_cast<double>(chosen.tool->model().objects[i].instances.size()));
  return ctx.SetOutpDoubles(0, counts);
}

// Name "result_type" with "all_param", "score" or a parameter name of the
// shape; name "used_edges" with "row", "column" or "amplitude".
VEXA_OPERATOR(get_metrology_object_result) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  std::vector<Vlong> indices, wanted;
  bool all = false;
  const char* name = nullptr;
  const char* value = nullptr;
  Vresult rc = ctx.GetString(3, &name);
  if (rc == VRESULT_OK) rc = ctx.GetString(4, &value);
  if (rc == VRESULT_OK && std::strcmp(name, "result_type") != 0 && std::strcmp(name, "used_edges") != 0)
    rc = VERR_CTRL_VALUE(3);
  if (rc == VRESULT_OK) rc = InpInstances(ctx, 2, &wanted, &all);
  if (rc == VRESULT_OK) rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc == VRESULT_OK) rc = InpObjectIndices(ctx, 1, tool->model(), &indices);
  if (rc != VRESULT_OK) return rc;
  CtrlValues out;
  for (Vlong i : indices) {
    const MetrologyObject& o = tool->model().objects[i];
    ResultChoice r{};
    if (!ParseResult(o.shape, name, value, &r)) return VERR_CTRL_VALUE(4);
    for (const MetrologyInstance* inst : Chosen(o, wanted, all)) AddResult(*inst, r, &out);
  }
  return ctx.SetOutpValues(0, out);
}

VEXA_OPERATOR(get_metrology_object_result_contour) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  std::vector<Vlong> indices, wanted;
  bool all = false;
  double resolution = 0;
  Vresult rc = InpResolution(ctx, 3, &resolution);
  if (rc == VRESULT_OK) rc = InpInstances(ctx, 2, &wanted, &all);
  if (rc == VRESULT_OK) rc = InpMetrology(ctx, 0, &tool, &lock);
  if (rc == VRESULT_OK) rc = InpObjectIndices(ctx, 1, tool->model(), &indices);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  for (Vlong i : indices) {
    const MetrologyObject& o = tool->model().objects[i];
    for (const MetrologyInstance* inst : Chosen(o, wanted, all)) {
      rc = EmitOutline(out, OutlinePoints(o.shape, inst->params, resolution));
      if (rc != VRESULT_OK) return rc;
    }
  }
  return out.HandOver(ctx, 1);
}

VEXA_OPERATOR(get_metrology_object_model_contour) {
  ChosenObjects chosen;
  double resolution = 0;
  Vresult rc = InpResolution(ctx, 2, &resolution);
  if (rc == VRESULT_OK) rc = InpChosenObjects(ctx, &chosen);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  for (Vlong i : chosen.indices) {
    const MetrologyObject& o = chosen.tool->model().objects[i];
    rc = EmitOutline(out, OutlinePoints(o.shape, AlignedShape(chosen.tool->model(), o), resolution));
    if (rc != VRESULT_OK) return rc;
  }
  return out.HandOver(ctx, 1);
}

// The measure rectangles of the last apply_metrology_model as closed
// contours, and the edges they found of the polarity `transition` asks
// for ("all", "positive", "negative").
VEXA_OPERATOR(get_metrology_object_measures) {
  ChosenObjects chosen;
  const char* transition = nullptr;
  Vresult rc = ctx.GetString(2, &transition);
  double sign = 0;
  if (rc == VRESULT_OK) {
    if (std::strcmp(transition, "positive") == 0) sign = 1;
    else if (std::strcmp(transition, "negative") == 0) sign = -1;
    else if (std::strcmp(transition, "all") != 0) rc = VERR_CTRL_VALUE(2);
  }
  if (rc == VRESULT_OK) rc = InpChosenObjects(ctx, &chosen);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  std::vector<double> rows, cols;
  for (Vlong i : chosen.indices) {
    const MetrologyObject& o = chosen.tool->model().objects[i];
    for (const MetrologyMeasure& m : o.measures) {
      const MeasureGeometry& g = m.geometry;
      std::vector<std::pair<double, double>> corners =
          RectangleCorners({g.row, g.column, g.phi, g.length1, g.length2});
      corners.push_back(corners.front());
      rc = EmitOutline(out, corners);
      if (rc != VRESULT_OK) return rc;
    }
    for (const MetrologyEdge& e : o.edges) {
      if (sign * e.amplitude < 0) continue;
      rows.push_back(e.row);
      cols.push_back(e.column);
    }
  }
  rc = ctx.SetOutpDoubles(0, rows);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, cols);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
