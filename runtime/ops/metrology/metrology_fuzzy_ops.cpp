// Fuzzy edge sets of metrology objects: the edge features of fuzzy
// measuring ("contrast", "position", "position_end", "position_center",
// "position_first_edge", "position_last_edge"; pair features are refused)
// each with a membership function, and "fuzzy_thresh" (0 .. 1, default
// 0.5), the score an edge needs to be kept once any set is given.
#include <cstring>

#include "metrology_params.h"
#include "registry.h"

namespace vexa {
namespace {

bool IsThreshold(const char* name) { return std::strcmp(name, "fuzzy_thresh") == 0; }

// The edge feature named at `par`.
Vresult InpEdgeFeature(const char* name, int par, FuzzyFeature* f) {
  return FuzzyFeatureFromName(name, f) && !PairOnly(*f) ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// The model at 0 and the chosen objects at 1.
Vresult InpObjects(const OpContext& ctx, std::shared_ptr<MetrologyTool>* tool,
                   std::unique_lock<std::mutex>* lock, std::vector<Vlong>* indices) {
  const Vresult rc = InpMetrology(ctx, 0, tool, lock);
  return rc == VRESULT_OK ? InpObjectIndices(ctx, 1, (*tool)->model(), indices) : rc;
}

}  // namespace

// One name at 2 and its value (a membership function, or the threshold)
// at 3.
VEXA_OPERATOR(set_metrology_object_fuzzy_param) {
  std::vector<const char*> names;
  Vresult rc = ctx.GetStrings(2, names);
  if (rc == VRESULT_OK && names.size() != 1) rc = VERR_CTRL_NUM(2);
  double thresh = 0;
  FuzzyFeature feature{};
  Funct1D membership;
  if (rc == VRESULT_OK && IsThreshold(names[0])) {
    rc = ctx.GetDouble(3, &thresh);
    if (rc == VRESULT_OK && !(thresh >= 0 && thresh <= 1)) rc = VERR_CTRL_VALUE(3);
  } else if (rc == VRESULT_OK) {
    rc = InpEdgeFeature(names[0], 2, &feature);
    if (rc == VRESULT_OK) rc = InpMembership(ctx, 3, &membership);
  }
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  std::vector<Vlong> indices;
  if (rc == VRESULT_OK) rc = InpObjects(ctx, &tool, &lock, &indices);
  if (rc != VRESULT_OK) return rc;
  for (Vlong i : indices) {
    MetrologyObject& o = tool->model().objects[i];
    if (IsThreshold(names[0])) o.fuzzy_thresh = thresh;
    else o.fuzzy.sets[feature] = FuzzySet{membership, false};
  }
  return VRESULT_OK;
}

// "fuzzy_thresh", or a feature's function as [n, x.., y..] (nothing while
// unset), per chosen object.
VEXA_OPERATOR(get_metrology_object_fuzzy_param) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  std::vector<Vlong> indices;
  const char* name = nullptr;
  FuzzyFeature feature{};
  Vresult rc = ctx.GetString(2, &name);
  if (rc == VRESULT_OK && !IsThreshold(name)) rc = InpEdgeFeature(name, 2, &feature);
  if (rc == VRESULT_OK) rc = InpObjects(ctx, &tool, &lock, &indices);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> out;
  for (Vlong i : indices) {
    const MetrologyObject& o = tool->model().objects[i];
    if (IsThreshold(name)) {
      out.push_back(o.fuzzy_thresh);
      continue;
    }
    const auto it = o.fuzzy.sets.find(feature);
    if (it == o.fuzzy.sets.end()) continue;
    const Funct1D& f = it->second.membership;
    out.push_back(static_cast<double>(f.size()));
    out.insert(out.end(), f.x.begin(), f.x.end());
    out.insert(out.end(), f.y.begin(), f.y.end());
  }
  return ctx.SetOutpDoubles(0, out);
}

VEXA_OPERATOR(reset_metrology_object_fuzzy_param) {
  std::shared_ptr<MetrologyTool> tool;
  std::unique_lock<std::mutex> lock;
  std::vector<Vlong> indices;
  const Vresult rc = InpObjects(ctx, &tool, &lock, &indices);
  if (rc != VRESULT_OK) return rc;
  for (Vlong i : indices) {
    MetrologyObject& o = tool->model().objects[i];
    const MetrologyObject defaults;
    o.fuzzy = defaults.fuzzy;
    o.fuzzy_thresh = defaults.fuzzy_thresh;
  }
  return VRESULT_OK;
}

}  // namespace vexa
