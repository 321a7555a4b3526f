// Analysis of sampled functions: smoothing along the sequence of points,
// derivatives and integrals over x, extrema and zero crossings, and the
// composition, inversion and distance of functions.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "ops/math/funct_1d.h"
#include "ops/math/hom_mat.h"
#include "registry.h"

namespace vexa {
namespace {

// Index i reflected into 0..n-1 (the end points are not repeated).
size_t Mirror(long i, size_t n) {
  if (n == 1) return 0;
  const long period = 2 * static_cast<long>(n) - 2;
  long m = i % period;
  if (m < 0) m += period;
  return static_cast<size_t>(m < static_cast<long>(n) ? m : period - m);
}

// y convolved with the symmetric kernel k (k[0] the centre), mirrored at
// the ends.
std::vector<double> Convolve(const std::vector<double>& y, const std::vector<double>& k) {
  const size_t n = y.size();
  std::vector<double> out(n);
  for (size_t i = 0; i < n; ++i) {
    double s = k[0] * y[i];
    for (size_t j = 1; j < k.size(); ++j)
      s += k[j] * (y[Mirror(static_cast<long>(i) - static_cast<long>(j), n)] +
                   y[Mirror(static_cast<long>(i + j), n)]);
    out[i] = s;
  }
  return out;
}

// Half of a normalised Gaussian of sigma > 0, to 3 sigma (k[0] the centre).
std::vector<double> GaussKernel(double sigma) {
  const size_t half = static_cast<size_t>(std::ceil(3.0 * sigma));
  std::vector<double> k(half + 1);
  double sum = 0.0;
  for (size_t j = 0; j <= half; ++j) {
    k[j] = std::exp(-0.5 * j * j / (sigma * sigma));
    sum += j == 0 ? k[j] : 2 * k[j];
  }
  for (double& v : k) v /= sum;
  return k;
}

// Index of the extremum of a parabola through three equally weighted
// samples, relative to the middle one.
double ParabolaOffset(double a, double b, double c) {
  const double d = a - 2 * b + c;
  return d != 0.0 ? 0.5 * (a - c) / d : 0.0;
}

}  // namespace

// Gaussian of sigma (in points) along the sequence of points.
VEXA_OPERATOR(smooth_funct_1d_gauss) {
  Funct1D f;
  double sigma = 0.0;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 1, &sigma);
  if (rc != VRESULT_OK) return rc;
  if (!(sigma > 0.0) || sigma > 1e6) return VERR_CTRL_VALUE(1);
  f.y = Convolve(f.y, GaussKernel(sigma));
  return SetFunct1D(ctx, 0, f);
}

// Mean over 2 * smooth_size + 1 points, repeated `iterations` times.
VEXA_OPERATOR(smooth_funct_1d_mean) {
  Funct1D f;
  Vlong size = 0, iterations = 0;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &size);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &iterations);
  if (rc != VRESULT_OK) return rc;
  if (size < 1 || size > 1000000) return VERR_CTRL_VALUE(1);
  if (iterations < 1 || iterations > 10000) return VERR_CTRL_VALUE(2);
  const std::vector<double> k(static_cast<size_t>(size) + 1, 1.0 / (2 * size + 1));
  for (Vlong i = 0; i < iterations; ++i) f.y = Convolve(f.y, k);
  return SetFunct1D(ctx, 0, f);
}

// dy/dx ("first") or d2y/dx2 ("second") by differences over the neighbours
// (one-sided at the ends; the second derivative repeats its neighbour's
// value there).
VEXA_OPERATOR(derivate_funct_1d) {
  Funct1D f;
  const char* mode = nullptr;
  Vresult rc = GetFunct1D(ctx, 0, &f, 2);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &mode);
  if (rc != VRESULT_OK) return rc;
  const bool second = std::strcmp(mode, "second") == 0;
  if (!second && std::strcmp(mode, "first") != 0) return VERR_CTRL_VALUE(1);
  const size_t n = f.size();
  const std::vector<double>& x = f.x;
  const std::vector<double>& y = f.y;
  std::vector<double> d(n);
  if (!second) {
    for (size_t i = 0; i < n; ++i) {
      const size_t a = i == 0 ? 0 : i - 1, b = i + 1 == n ? i : i + 1;
      d[i] = (y[b] - y[a]) / (x[b] - x[a]);
    }
  } else if (n >= 3) {
    for (size_t i = 1; i + 1 < n; ++i) {
      const double h1 = x[i] - x[i - 1], h2 = x[i + 1] - x[i];
      d[i] = 2.0 * (h1 * y[i + 1] - (h1 + h2) * y[i] + h2 * y[i - 1]) / (h1 * h2 * (h1 + h2));
    }
    d[0] = d[1];
    d[n - 1] = d[n - 2];
  }
  f.y = d;
  return SetFunct1D(ctx, 0, f);
}

// The areas above and below the x axis of the polygonal function
// (trapezoids split at their zero crossings); both >= 0.
VEXA_OPERATOR(integrate_funct_1d) {
  Funct1D f;
  const Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc != VRESULT_OK) return rc;
  double pos = 0.0, neg = 0.0;
  for (size_t i = 1; i < f.size(); ++i) {
    const double a = f.y[i - 1], b = f.y[i], h = f.x[i] - f.x[i - 1];
    if ((a >= 0) == (b >= 0)) {
      (a >= 0 ? pos : neg) += 0.5 * h * std::fabs(a + b);
    } else {
      const double t = a / (a - b);  // fraction of h before the crossing
      (a >= 0 ? pos : neg) += 0.5 * h * t * std::fabs(a);
      (b >= 0 ? pos : neg) += 0.5 * h * (1 - t) * std::fabs(b);
    }
  }
  const Vresult r = ctx.SetOutpDouble(0, pos);
  return r == VRESULT_OK ? ctx.SetOutpDouble(1, neg) : r;
}

// x of the local minima and maxima. "strict_min_max": points below
// (above) both neighbours; "plateaus_center": also runs of equal values
// below (above) the points around them, at their middle point. With
// interpolation "true" a parabola through the point and its neighbours
// places a strict extremum between points. End points do not count.
VEXA_OPERATOR(local_min_max_funct_1d) {
  Funct1D f;
  const char* mode = nullptr;
  const char* interp = nullptr;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &interp);
  if (rc != VRESULT_OK) return rc;
  const bool plateaus = std::strcmp(mode, "plateaus_center") == 0;
  if (!plateaus && std::strcmp(mode, "strict_min_max") != 0) return VERR_CTRL_VALUE(1);
  const bool refine = std::strcmp(interp, "true") == 0;
  if (!refine && std::strcmp(interp, "false") != 0) return VERR_CTRL_VALUE(2);
  std::vector<double> minima, maxima;
  const size_t n = f.size();
  for (size_t i = 1; i + 1 < n; ++i) {
    size_t j = i;  // last point of the run of values equal to y[i]
    if (plateaus)
      while (j + 2 < n && f.y[j + 1] == f.y[i]) ++j;
    const double before = f.y[i - 1], here = f.y[i], after = f.y[j + 1];
    const bool is_min = here < before && here < after, is_max = here > before && here > after;
    if (is_min || is_max) {
      double x = j > i ? f.x[(i + j) / 2] : f.x[i];
      if (j == i && refine) {
        const double t = ParabolaOffset(before, here, after);
        x = t < 0 ? f.x[i] + t * (f.x[i] - f.x[i - 1]) : f.x[i] + t * (f.x[i + 1] - f.x[i]);
      }
      (is_min ? minima : maxima).push_back(x);
    }
    i = j;
  }
  rc = ctx.SetOutpDoubles(0, minima);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, maxima) : rc;
}

// x where the polygonal function crosses or touches 0 (a point exactly 0
// counts once).
VEXA_OPERATOR(zero_crossings_funct_1d) {
  Funct1D f;
  const Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> zeros;
  for (size_t i = 0; i < f.size(); ++i) {
    if (f.y[i] == 0.0) zeros.push_back(f.x[i]);
    else if (i + 1 < f.size() && f.y[i + 1] != 0.0 && (f.y[i] < 0) != (f.y[i + 1] < 0))
      zeros.push_back(f.x[i] + f.y[i] / (f.y[i] - f.y[i + 1]) * (f.x[i + 1] - f.x[i]));
  }
  return ctx.SetOutpDoubles(0, zeros);
}

// function2(function1(x)) at the points of function1.
VEXA_OPERATOR(compose_funct_1d) {
  Funct1D f, g;
  Border border;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = GetFunct1D(ctx, 1, &g);
  if (rc == VRESULT_OK) rc = GetBorder(ctx, 2, &border);
  if (rc != VRESULT_OK) return rc;
  for (double& y : f.y)
    if (!ValueAt(g, y, border, &y)) return VERR_CTRL_VALUE(1);
  return SetFunct1D(ctx, 0, f);
}

// The inverse of a strictly monotone function: x and y exchanged.
VEXA_OPERATOR(invert_funct_1d) {
  Funct1D f;
  const Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc != VRESULT_OK) return rc;
  const bool rising = f.size() < 2 || f.y[1] > f.y[0];
  for (size_t i = 1; i < f.size(); ++i)
    if (rising ? !(f.y[i] > f.y[i - 1]) : !(f.y[i] < f.y[i - 1])) return VERR_CTRL_VALUE(0);
  std::swap(f.x, f.y);
  if (!rising) {
    std::reverse(f.x.begin(), f.x.end());
    std::reverse(f.y.begin(), f.y.end());
  }
  return SetFunct1D(ctx, 0, f);
}

// Distance of two functions at the points of function1 (function2 read
// linearly, constant beyond its ends), both first smoothed with a Gaussian
// of sigma points when sigma > 0: "length" the sum of the absolute
// differences, "mean" their mean. The result is the distance and the
// largest absolute difference.
VEXA_OPERATOR(distance_funct_1d) {
  Funct1D f, g;
  const char* mode = nullptr;
  double sigma = 0.0;
  Vresult rc = GetFunct1D(ctx, 0, &f);
  if (rc == VRESULT_OK) rc = GetFunct1D(ctx, 1, &g);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &mode);
  if (rc == VRESULT_OK) rc = GetFiniteDouble(ctx, 3, &sigma);
  if (rc != VRESULT_OK) return rc;
  const bool mean = std::strcmp(mode, "mean") == 0;
  if (!mean && std::strcmp(mode, "length") != 0) return VERR_CTRL_VALUE(2);
  if (sigma < 0.0 || sigma > 1e6) return VERR_CTRL_VALUE(3);
  if (sigma > 0.0) {
    const std::vector<double> k = GaussKernel(sigma);
    f.y = Convolve(f.y, k);
    g.y = Convolve(g.y, k);
  }
  double total = 0.0, largest = 0.0;
  for (size_t i = 0; i < f.size(); ++i) {
    double v = 0.0;
    ValueAt(g, f.x[i], Border::kConstant, &v);
    total += std::fabs(f.y[i] - v);
    largest = std::max(largest, std::fabs(f.y[i] - v));
  }
  return ctx.SetOutpDoubles(0, {mean ? total / f.size() : total, largest});
}

}  // namespace vexa
