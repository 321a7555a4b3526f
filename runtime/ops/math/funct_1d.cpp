// Reading, writing and evaluating sampled functions (layout in funct_1d.h).
#include "ops/math/funct_1d.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

namespace vexa {

Vresult GetFunct1D(const OpContext& ctx, int par, Funct1D* f, size_t min_points) {
  std::vector<double> v;
  const Vresult rc = ctx.GetDoubles(par, v);
  return rc == VRESULT_OK ? Funct1DOfValues(v, par, min_points, f) : rc;
}

Vresult Funct1DOfValues(const std::vector<double>& v, int par, size_t min_points, Funct1D* f) {
  if (v.empty()) return VERR_CTRL_NUM(par);
  const double n = v[0];
  if (!(n >= 0.0) || n != std::floor(n)) return VERR_CTRL_VALUE(par);
  if (v.size() != 1 + 2 * static_cast<size_t>(std::min(n, 1e15))) return VERR_CTRL_NUM(par);
  const size_t count = static_cast<size_t>(n);
  if (count < min_points) return VERR_CTRL_VALUE(par);
  f->x.assign(v.begin() + 1, v.begin() + 1 + count);
  f->y.assign(v.begin() + 1 + count, v.end());
  for (size_t i = 0; i < count; ++i) {
    if (!std::isfinite(f->x[i]) || !std::isfinite(f->y[i])) return VERR_CTRL_VALUE(par);
    if (i > 0 && !(f->x[i] > f->x[i - 1])) return VERR_CTRL_VALUE(par);
  }
  return VRESULT_OK;
}

Vresult SetFunct1D(OpContext& ctx, int par, const Funct1D& f) {
  CtrlValues v;
  v.Add(static_cast<Vlong>(f.size()));
  for (double x : f.x) v.Add(x);
  for (double y : f.y) v.Add(y);
  return ctx.SetOutpValues(par, v);
}

Vresult MakeFunct1D(std::vector<double> x, std::vector<double> y, int x_par, Funct1D* f) {
  std::vector<size_t> order(x.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return x[a] < x[b]; });
  f->x.resize(x.size());
  f->y.resize(x.size());
  for (size_t i = 0; i < order.size(); ++i) {
    f->x[i] = x[order[i]];
    f->y[i] = y[order[i]];
    if (i > 0 && f->x[i] == f->x[i - 1]) return VERR_CTRL_VALUE(x_par);
  }
  return VRESULT_OK;
}

Vresult GetBorder(const OpContext& ctx, int par, Border* border) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  static const struct { const char* name; Border border; } kNames[] = {
      {"zero", Border::kZero}, {"constant", Border::kConstant}, {"mirror", Border::kMirror},
      {"cyclic", Border::kCyclic}, {"error", Border::kError}};
  for (const auto& n : kNames)
    if (std::strcmp(s, n.name) == 0) {
      *border = n.border;
      return VRESULT_OK;
    }
  return VERR_CTRL_VALUE(par);
}

bool ValueAt(const Funct1D& f, double x, Border border, double* y) {
  const double lo = f.x.front(), hi = f.x.back(), len = hi - lo;
  if (!(x >= lo && x <= hi)) {
    switch (border) {
      case Border::kZero: *y = 0.0; return true;
      case Border::kError: return false;
      case Border::kConstant: *y = x < lo ? f.y.front() : f.y.back(); return true;
      case Border::kCyclic:
        if (len > 0.0) x = lo + (x - lo) - len * std::floor((x - lo) / len);
        break;
      case Border::kMirror:
        if (len > 0.0) {
          double t = std::fmod(std::fabs(x - lo), 2.0 * len);
          x = lo + (t > len ? 2.0 * len - t : t);
        }
        break;
    }
    if (!(x >= lo && x <= hi)) {  // a single point, or not a number
      *y = x < lo ? f.y.front() : f.y.back();
      return true;
    }
  }
  const size_t i = std::upper_bound(f.x.begin(), f.x.end(), x) - f.x.begin();
  if (i >= f.size()) {
    *y = f.y.back();
    return true;
  }
  const double t = (x - f.x[i - 1]) / (f.x[i] - f.x[i - 1]);
  *y = f.y[i - 1] + t * (f.y[i] - f.y[i - 1]);
  return true;
}

}  // namespace vexa
