// Surfaces fitted to the gray values of regions: moments_gray_plane,
// fit_surface_first_order and fit_surface_second_order. One value per
// region in each output; an empty region gives 0 throughout.
#include <Eigen/Dense>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "ops/common/pixel_dispatch.h"
#include "ops/image/gray_measures.h"
#include "ops/image/region_gray_scan.h"
#include "registry.h"

namespace vexa {
namespace {

// How the fit treats pixels far from the surface: "regression" weighs all
// alike; "huber" and "tukey" reweigh the pixels by their residuals over
// `iterations` rounds, beyond clipping_factor times the residuals' robust
// spread (1.4826 times their median absolute value) Huber's weights fall
// as 1 / residual and Tukey's are 0.
enum class FitWeights { kRegression, kHuber, kTukey };

struct FitOptions {
  FitWeights weights = FitWeights::kRegression;
  int64_t iterations = 0;
  double clipping = 2.0;
};

Vresult ReadFitOptions(const OpContext& ctx, FitOptions* o) {
  const char* name = nullptr;
  Vlong iterations = 0;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &iterations);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &o->clipping);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(name, "regression") == 0) o->weights = FitWeights::kRegression;
  else if (std::strcmp(name, "huber") == 0) o->weights = FitWeights::kHuber;
  else if (std::strcmp(name, "tukey") == 0) o->weights = FitWeights::kTukey;
  else return VERR_CTRL_VALUE(0);
  if (iterations < 0 || iterations > 1000) return VERR_CTRL_VALUE(1);
  if (!(o->clipping > 0.0) || !std::isfinite(o->clipping)) return VERR_CTRL_VALUE(2);
  o->iterations = o->weights == FitWeights::kRegression ? 0 : iterations;
  return VRESULT_OK;
}

// The pixels of a scan: coordinates relative to their mean (which keeps
// the squares of a second-order fit well conditioned) and gray values.
struct Samples {
  double row0 = 0, col0 = 0;
  std::vector<double> u, v, g;
};

Samples SamplesOf(const PixelBuffer& image, const DomainScan& scan) {
  Samples s;
  DispatchPixelType(image.type(), [&](auto tag) {
    const auto* px = PixelsOf(image, tag);
    scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
      for (int32_t c = cb; c <= ce; ++c) {
        s.u.push_back(r);
        s.v.push_back(c);
        s.g.push_back(static_cast<double>(px[o + static_cast<size_t>(c - cb)]));
      }
    });
  });
  if (s.g.empty()) return s;
  const double n = static_cast<double>(s.g.size());
  for (size_t k = 0; k < s.g.size(); ++k) s.row0 += s.u[k] / n, s.col0 += s.v[k] / n;
  for (size_t k = 0; k < s.g.size(); ++k) s.u[k] -= s.row0, s.v[k] -= s.col0;
  return s;
}

// Weighted least squares of g over the columns of `basis` (one row per
// sample), reweighted by the residuals as `o` asks. The minimum-norm
// solution where the samples do not fix every coefficient (all pixels on
// one line).
Eigen::VectorXd RobustFit(const Eigen::MatrixXd& basis, const Eigen::VectorXd& g,
                          const FitOptions& o) {
  Eigen::VectorXd w = Eigen::VectorXd::Ones(g.size());
  Eigen::VectorXd x;
  for (int64_t round = 0;; ++round) {
    const Eigen::MatrixXd a = w.asDiagonal() * basis;
    x = a.completeOrthogonalDecomposition().solve(w.asDiagonal() * g);
    if (round >= o.iterations) return x;
    const Eigen::VectorXd e = g - basis * x;
    std::vector<double> mags(static_cast<size_t>(e.size()));
    for (Eigen::Index k = 0; k < e.size(); ++k) mags[static_cast<size_t>(k)] = std::fabs(e[k]);
    std::nth_element(mags.begin(), mags.begin() + static_cast<std::ptrdiff_t>(mags.size() / 2),
                     mags.end());
    const double spread = 1.4826 * mags[mags.size() / 2];
    if (spread <= 0.0) return x;  // more than half the pixels lie on the surface
    const double k = o.clipping * spread;
    for (Eigen::Index i = 0; i < e.size(); ++i) {
      const double a_e = std::fabs(e[i]);
      double wi = 1.0;
      if (o.weights == FitWeights::kHuber) {
        wi = a_e <= k ? 1.0 : k / a_e;
      } else {
        const double t = a_e / k;
        wi = a_e <= k ? (1.0 - t * t) * (1.0 - t * t) : 0.0;
      }
      // Row weights multiply both sides, so their square roots weigh the
      // squared residuals as the weight function says.
      w[i] = std::sqrt(wi);
    }
  }
}

// Fits a surface of `order` 1 or 2 to each region and writes its
// coefficients in image coordinates (row r, column c):
//   order 1: g = alpha r + beta c + gamma
//   order 2: g = alpha r^2 + beta c^2 + gamma r c + delta r + epsilon c + zeta
Vresult FitSurface(OpContext& ctx, int order) {
  FitOptions o;
  Vresult rc = ReadFitOptions(ctx, &o);
  if (rc != VRESULT_OK) return rc;
  const int terms = order == 1 ? 3 : 6;
  std::vector<std::vector<double>> out(static_cast<size_t>(terms));
  rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& scan, Vlong) {
    const Samples s = SamplesOf(im, scan);
    std::vector<double> coef(static_cast<size_t>(terms), 0.0);
    if (!s.g.empty()) {
      const auto n = static_cast<Eigen::Index>(s.g.size());
      Eigen::MatrixXd basis(n, terms);
      for (Eigen::Index k = 0; k < n; ++k) {
        const double u = s.u[static_cast<size_t>(k)], v = s.v[static_cast<size_t>(k)];
        if (order == 1) basis.row(k) << u, v, 1.0;
        else basis.row(k) << u * u, v * v, u * v, u, v, 1.0;
      }
      const Eigen::VectorXd x =
          RobustFit(basis, Eigen::Map<const Eigen::VectorXd>(s.g.data(), n), o);
      // Back from the centred coordinates u = r - r0, v = c - c0.
      const double r0 = s.row0, c0 = s.col0;
      if (order == 1) {
        coef = {x[0], x[1], x[2] - x[0] * r0 - x[1] * c0};
      } else {
        const double a = x[0], b = x[1], m = x[2], d = x[3], e = x[4], f = x[5];
        coef = {a, b, m, d - 2 * a * r0 - m * c0, e - 2 * b * c0 - m * r0,
                f + a * r0 * r0 + b * c0 * c0 + m * r0 * c0 - d * r0 - e * c0};
      }
    }
    for (int t = 0; t < terms; ++t) out[static_cast<size_t>(t)].push_back(coef[static_cast<size_t>(t)]);
    return VRESULT_OK;
  });
  for (int t = 0; t < terms && rc == VRESULT_OK; ++t) rc = ctx.SetOutpDoubles(t, out[static_cast<size_t>(t)]);
  return rc;
}

}  // namespace

VEXA_OPERATOR(fit_surface_first_order) { return FitSurface(ctx, 1); }
VEXA_OPERATOR(fit_surface_second_order) { return FitSurface(ctx, 2); }

// Per region: m_row and m_col, the mixed moments of gray value and row or
// column about their means (sum (r - r_mean)(g - g_mean) / n and the same
// for columns); alpha and beta, the slopes of the least-squares plane
// g = alpha (r - r_mean) + beta (c - c_mean) + mean; and the mean.
VEXA_OPERATOR(moments_gray_plane) {
  std::vector<double> out[5];
  const Vresult rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    const GrayMoments m = GrayMoments::Of(im, s);
    double alpha = 0, beta = 0, deviation = 0;
    m.Plane(&alpha, &beta, &deviation);
    const double n = m.n > 0 ? m.n : 1.0;
    out[0].push_back((m.gr - m.g * m.r / n) / n);
    out[1].push_back((m.gc - m.g * m.c / n) / n);
    out[2].push_back(alpha);
    out[3].push_back(beta);
    out[4].push_back(m.Mean());
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  for (int k = 0; k < 5; ++k)
    if (const Vresult r = ctx.SetOutpDoubles(k, out[k]); r != VRESULT_OK) return r;
  return VRESULT_OK;
}

}  // namespace vexa
