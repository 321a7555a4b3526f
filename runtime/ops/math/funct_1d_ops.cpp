// Making sampled functions, reading their points and values, and the
// point-wise changes of their y values.
#include <cmath>

#include "ops/math/funct_1d.h"
#include "ops/math/hom_mat.h"
#include "registry.h"

namespace vexa {
namespace {

// Applies fn to every y value of the function of input 0.
template <class Fn>
Vresult MapY(OpContext& ctx, Fn&& fn) {
  Funct1D f;
  const Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc != VRESULT_OK) return rc;
  for (double& y : f.y) y = fn(y);
  return SetFunct1D(ctx, 0, f);
}

}  // namespace

// x = 0, 1, 2, ...
VEXA_OPERATOR(create_funct_1d_array) {
  std::vector<double> y;
  const Vresult rc = GetFiniteDoubles(ctx, 0, &y);
  if (rc != VRESULT_OK) return rc;
  Funct1D f;
  f.y = y;
  for (size_t i = 0; i < y.size(); ++i) f.x.push_back(static_cast<double>(i));
  return SetFunct1D(ctx, 0, f);
}

// The points in any order; they are sorted by x, which must differ.
VEXA_OPERATOR(create_funct_1d_pairs) {
  std::vector<double> x, y;
  Vresult rc = GetFiniteDoubles(ctx, 0, &x);
  if (rc == VRESULT_OK) rc = GetFiniteDoubles(ctx, 1, &y);
  if (rc != VRESULT_OK) return rc;
  if (y.size() != x.size()) return VERR_CTRL_NUM(1);
  Funct1D f;
  rc = MakeFunct1D(std::move(x), std::move(y), 0, &f);
  if (rc != VRESULT_OK) return rc;
  return SetFunct1D(ctx, 0, f);
}

VEXA_OPERATOR(funct_1d_to_pairs) {
  Funct1D f;
  Vresult rc = GetFunct1D(ctx, 0, &f, 0);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(0, f.x);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, f.y);
  return rc;
}

VEXA_OPERATOR(num_points_funct_1d) {
  Funct1D f;
  const Vresult rc = GetFunct1D(ctx, 0, &f, 0);
  if (rc != VRESULT_OK) return rc;
  return ctx.SetOutpLong(0, static_cast<Vlong>(f.size()));
}

// The points of the given indices (from 0).
VEXA_OPERATOR(get_pair_funct_1d) {
  Funct1D f;
  std::vector<Vlong> index;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = ctx.GetLongs(1, index);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> x, y;
  for (Vlong i : index) {
    if (i < 0 || static_cast<size_t>(i) >= f.size()) return VERR_CTRL_VALUE(1);
    x.push_back(f.x[i]);
    y.push_back(f.y[i]);
  }
  rc = ctx.SetOutpDoubles(0, x);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, y) : rc;
}

VEXA_OPERATOR(x_range_funct_1d) {
  Funct1D f;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(0, f.x.front());
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, f.x.back());
  return rc;
}

VEXA_OPERATOR(y_range_funct_1d) {
  Funct1D f;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc != VRESULT_OK) return rc;
  const auto mm = std::minmax_element(f.y.begin(), f.y.end());
  rc = ctx.SetOutpDouble(0, *mm.first);
  return rc == VRESULT_OK ? ctx.SetOutpDouble(1, *mm.second) : rc;
}

// Linear between the points; beyond them as the border rule says
// (VERR_CTRL_VALUE(1) for "error").
VEXA_OPERATOR(get_y_value_funct_1d) {
  Funct1D f;
  std::vector<double> x;
  Border border;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = GetFiniteDoubles(ctx, 1, &x);
  if (rc == VRESULT_OK) rc = GetBorder(ctx, 2, &border);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> y(x.size());
  for (size_t i = 0; i < x.size(); ++i)
    if (!ValueAt(f, x[i], border, &y[i])) return VERR_CTRL_VALUE(1);
  return ctx.SetOutpDoubles(0, y);
}

// y * mult + add.
VEXA_OPERATOR(scale_y_funct_1d) {
  double mult = 0.0, add = 0.0;
  Vresult rc = GetFiniteDouble(ctx, 1, &mult);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 2, &add);
  if (rc != VRESULT_OK) return rc;
  return MapY(ctx, [&](double y) { return y * mult + add; });
}

VEXA_OPERATOR(negate_funct_1d) {
  return MapY(ctx, [](double y) { return -y; });
}

VEXA_OPERATOR(abs_funct_1d) {
  return MapY(ctx, [](double y) { return std::fabs(y); });
}

// The function at x_min, x_min + x_dist, ... up to x_max.
VEXA_OPERATOR(sample_funct_1d) {
  Funct1D f;
  double lo = 0.0, hi = 0.0, step = 0.0;
  Border border;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 1, &lo);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 2, &hi);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 3, &step);
  if (rc == VRESULT_OK) rc = GetBorder(ctx, 4, &border);
  if (rc != VRESULT_OK) return rc;
  if (!(hi >= lo)) return VERR_CTRL_VALUE(2);
  constexpr double kMaxSamples = 1e8;
  if (!(step > 0.0) || (hi - lo) / step > kMaxSamples) return VERR_CTRL_VALUE(3);
  const size_t n = static_cast<size_t>(std::floor((hi - lo) / step + 1e-9)) + 1;
  Funct1D s;
  s.x.resize(n);
  s.y.resize(n);
  for (size_t i = 0; i < n; ++i) {
    s.x[i] = lo + step * static_cast<double>(i);
    if (!ValueAt(f, s.x[i], border, &s.y[i])) return VERR_CTRL_VALUE(1);
  }
  return SetFunct1D(ctx, 0, s);
}

}  // namespace vexa
