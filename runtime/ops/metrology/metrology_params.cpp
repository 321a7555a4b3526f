// The named parameters of metrology objects and the shared inputs.
#include "metrology_params.h"

#include <cmath>
#include <cstring>
#include <functional>

#include "metrology_placement.h"
#include "ops/measure/measure_params.h"

namespace vexa {
namespace {

constexpr double kMaxLength = 1e7;

// In the order of the enumerations.
const char* const kTransitions[] = {"all", "positive", "negative", "uniform"};
const char* const kSelects[] = {"first", "last", "all"};
const char* const kInterpolations[] = {"nearest_neighbor", "bilinear", "bicubic"};
const char* const kBooleans[] = {"false", "true"};

bool Real(const Vcpar& v, double lo, double hi, bool open_lo, double* out) {
  double d = 0;
  if (v.type == VPAR_LONG) d = static_cast<double>(v.par.l);
  else if (v.type == VPAR_DOUBLE) d = v.par.d;
  else return false;
  if (!(d >= lo && d <= hi) || (open_lo && d == lo)) return false;
  *out = d;
  return true;
}

// Integers also as reals without a fraction.
bool Integer(const Vcpar& v, Vlong lo, Vlong hi, Vlong* out) {
  double d = 0;
  if (v.type == VPAR_LONG) {
    if (v.par.l < lo || v.par.l > hi) return false;
    *out = v.par.l;
    return true;
  }
  if (!Real(v, static_cast<double>(lo), static_cast<double>(hi), false, &d) || d != std::floor(d))
    return false;
  *out = static_cast<Vlong>(d);
  return true;
}

template <class E, size_t N>
bool Choice(const Vcpar& v, const char* const (&names)[N], E* out) {
  if (v.type != VPAR_STRING || v.par.s == nullptr) return false;
  int i = 0;
  for (const char* n : names) {
    if (std::strcmp(n, v.par.s) == 0) {
      *out = static_cast<E>(i);
      return true;
    }
    ++i;
  }
  return false;
}


Vcpar Value(double d) {
  Vcpar v{};
  v.par.d = d;
  v.type = VPAR_DOUBLE;
  return v;
}
Vcpar Value(Vlong l) {
  Vcpar v{};
  v.par.l = l;
  v.type = VPAR_LONG;
  return v;
}
// Names are static strings.
Vcpar Value(const char* s) {
  Vcpar v{};
  v.par.s = const_cast<char*>(s);
  v.type = VPAR_STRING;
  return v;
}

struct Entry {
  const char* name;
  bool (*set)(MetrologyParams*, const Vcpar&);
  Vcpar (*get)(const MetrologyParams&);
};

const Entry kEntries[] = {
    {"measure_length1",
     [](MetrologyParams* p, const Vcpar& v) { return Real(v, 0, kMaxLength, true, &p->measure_length1); },
     [](const MetrologyParams& p) { return Value(p.measure_length1); }},
    {"measure_length2",
     [](MetrologyParams* p, const Vcpar& v) { return Real(v, 0, kMaxLength, true, &p->measure_length2); },
     [](const MetrologyParams& p) { return Value(p.measure_length2); }},
    {"measure_sigma",
     [](MetrologyParams* p, const Vcpar& v) { return Real(v, 0, kMaxMeasureSigma, true, &p->measure_sigma); },
     [](const MetrologyParams& p) { return Value(p.measure_sigma); }},
    {"measure_threshold",
     [](MetrologyParams* p, const Vcpar& v) { return Real(v, 0, 1e300, false, &p->measure_threshold); },
     [](const MetrologyParams& p) { return Value(p.measure_threshold); }},
    {"num_measures",
     [](MetrologyParams* p, const Vcpar& v) {
       if (!Integer(v, 1, kMaxMetrologyMeasures, &p->num_measures)) return false;
       p->measure_distance = -1;
       return true;
     },
     [](const MetrologyParams& p) { return Value(p.num_measures); }},
    {"measure_distance",
     [](MetrologyParams* p, const Vcpar& v) {
       if (!Real(v, 0, kMaxLength, true, &p->measure_distance)) return false;
       p->num_measures = -1;
       return true;
     },
     [](const MetrologyParams& p) { return Value(p.measure_distance); }},
    {"measure_transition",
     [](MetrologyParams* p, const Vcpar& v) {
       return Choice(v, kTransitions, &p->transition);
     },
     [](const MetrologyParams& p) { return Value(kTransitions[static_cast<int>(p.transition)]); }},
    {"measure_select",
     [](MetrologyParams* p, const Vcpar& v) { return Choice(v, kSelects, &p->select); },
     [](const MetrologyParams& p) { return Value(kSelects[static_cast<int>(p.select)]); }},
    {"measure_interpolation",
     [](MetrologyParams* p, const Vcpar& v) {
       return Choice(v, kInterpolations, &p->interpolation);
     },
     [](const MetrologyParams& p) {
       return Value(kInterpolations[static_cast<int>(p.interpolation)]);
     }},
    {"num_instances",
     [](MetrologyParams* p, const Vcpar& v) { return Integer(v, 1, 1000, &p->num_instances); },
     [](const MetrologyParams& p) { return Value(p.num_instances); }},
    {"min_score", [](MetrologyParams* p, const Vcpar& v) { return Real(v, 0, 1, false, &p->min_score); },
     [](const MetrologyParams& p) { return Value(p.min_score); }},
    {"distance_threshold",
     [](MetrologyParams* p, const Vcpar& v) { return Real(v, 0, kMaxLength, false, &p->distance_threshold); },
     [](const MetrologyParams& p) { return Value(p.distance_threshold); }},
    {"max_num_iterations",
     [](MetrologyParams* p, const Vcpar& v) {
       Vlong n = 0;
       if (!Integer(v, -1, 1000000, &n) || n == 0) return false;
       p->max_num_iterations = n;
       return true;
     },
     [](const MetrologyParams& p) { return Value(p.max_num_iterations); }},
    {"rand_seed",
     [](MetrologyParams* p, const Vcpar& v) { return Integer(v, 0, 0xffffffffLL, &p->rand_seed); },
     [](const MetrologyParams& p) { return Value(p.rand_seed); }},
    {"instances_outside_measure_regions",
     [](MetrologyParams* p, const Vcpar& v) {
       bool outside = false;
       if (!Choice(v, kBooleans, &outside)) return false;
       p->instances_outside_measure_regions = outside;
       return true;
     },
     [](const MetrologyParams& p) {
       return Value(p.instances_outside_measure_regions ? "true" : "false");
     }},
};

const Entry* Find(const char* name) {
  for (const Entry& e : kEntries)
    if (std::strcmp(e.name, name) == 0) return &e;
  return nullptr;
}

}  // namespace

Vresult SetMetrologyParam(MetrologyParams* p, const char* name, const Vcpar& value, int name_par,
                          int value_par) {
  const Entry* e = Find(name);
  if (e == nullptr) return VERR_CTRL_VALUE(name_par);
  return e->set(p, value) ? VRESULT_OK : VERR_CTRL_VALUE(value_par);
}

Vresult SetMetrologyParams(const OpContext& ctx, int name_par, MetrologyParams* p) {
  std::vector<const char*> names;
  const Vresult rc = ctx.GetStrings(name_par, names);
  if (rc != VRESULT_OK) return rc;
  if (ctx.CtrlNum(name_par + 1) != static_cast<Vlong>(names.size())) return VERR_CTRL_NUM(name_par + 1);
  MetrologyParams changed = *p;
  for (size_t i = 0; i < names.size(); ++i) {
    const Vresult set = SetMetrologyParam(&changed, names[i], ctx.CtrlElem(name_par + 1, static_cast<Vlong>(i)),
                                          name_par, name_par + 1);
    if (set != VRESULT_OK) return set;
  }
  *p = changed;
  return VRESULT_OK;
}

bool GetMetrologyParam(const MetrologyObject& o, const char* name, CtrlValues* out) {
  if (std::strcmp(name, "object_type") == 0) {
    out->Add(ShapeName(o.shape));
    return true;
  }
  if (std::strcmp(name, "object_params") == 0) {
    for (double v : o.shape_params) out->Add(v);
    return true;
  }
  const Entry* e = Find(name);
  if (e == nullptr) return false;
  const Vcpar v = e->get(o.params);
  if (v.type == VPAR_STRING) out->Add(v.par.s);
  else if (v.type == VPAR_LONG) out->Add(v.par.l);
  else out->Add(v.par.d);
  return true;
}

void ForEachMetrologyParam(const MetrologyParams& p,
                           const std::function<void(const char*, const Vcpar&)>& fn) {
  for (const Entry& e : kEntries) {
    // Of num_measures and measure_distance only the one in use (the
    // other is -1, which no setter takes).
    const bool unused = (std::strcmp(e.name, "num_measures") == 0 && p.num_measures < 0) ||
                        (std::strcmp(e.name, "measure_distance") == 0 && p.measure_distance < 0);
    if (!unused) fn(e.name, e.get(p));
  }
}

Vresult InpMetrology(const OpContext& ctx, int par, std::shared_ptr<MetrologyTool>* tool,
                     std::unique_lock<std::mutex>* lock) {
  const Vresult rc = InpTool(ctx, par, tool);
  if (rc == VRESULT_OK) *lock = (*tool)->Lock();
  return rc;
}

Vresult InpObjectIndices(const OpContext& ctx, int par, const MetrologyModel& m,
                         std::vector<Vlong>* indices) {
  indices->clear();
  const Vlong n = ctx.CtrlNum(par);
  if (n == 0) return VERR_CTRL_NUM(par);
  const Vcpar& first = ctx.CtrlElem(par, 0);
  if (n == 1 && first.type == VPAR_STRING) {
    if (first.par.s == nullptr || std::strcmp(first.par.s, "all") != 0) return VERR_CTRL_VALUE(par);
    for (const auto& entry : m.objects) indices->push_back(entry.first);
    return VRESULT_OK;
  }
  const Vresult rc = ctx.GetLongs(par, *indices);
  if (rc != VRESULT_OK) return rc;
  for (Vlong i : *indices)
    if (m.objects.count(i) == 0) return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

Vresult InpChosenObjects(const OpContext& ctx, ChosenObjects* chosen) {
  const Vresult rc = InpMetrology(ctx, 0, &chosen->tool, &chosen->lock);
  return rc == VRESULT_OK ? InpObjectIndices(ctx, 1, chosen->tool->model(), &chosen->indices) : rc;
}

Vresult InpCoordinate(const OpContext& ctx, int par, double* v) {
  const Vresult rc = ctx.GetDouble(par, v);
  if (rc != VRESULT_OK) return rc;
  return std::fabs(*v) <= kMaxLength ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

}  // namespace vexa
