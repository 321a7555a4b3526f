#include "xld_fit.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace xld {

Vresult ReadFitOptions(const OpContext& ctx, const FitParams& pars, FitOptions* o) {
  Vresult rc = ctx.GetLong(pars.max_num_points, &o->max_num_points);
  if (rc != VRESULT_OK) return rc;
  if (o->max_num_points != -1 && o->max_num_points < 3) return VERR_CTRL_VALUE(pars.max_num_points);
  if (pars.max_closure_dist >= 0) {
    rc = GetFinite(ctx, pars.max_closure_dist, &o->max_closure_dist);
    if (rc != VRESULT_OK) return rc;
    if (o->max_closure_dist < 0) return VERR_CTRL_VALUE(pars.max_closure_dist);
  }
  rc = ctx.GetLong(pars.clipping_end_points, &o->clipping_end_points);
  if (rc != VRESULT_OK) return rc;
  if (o->clipping_end_points < 0) return VERR_CTRL_VALUE(pars.clipping_end_points);
  rc = ctx.GetLong(pars.iterations, &o->iterations);
  if (rc != VRESULT_OK) return rc;
  if (o->iterations < 0 || o->iterations > 1000) return VERR_CTRL_VALUE(pars.iterations);
  rc = GetFinite(ctx, pars.clipping_factor, &o->clipping_factor);
  if (rc != VRESULT_OK) return rc;
  return o->clipping_factor > 0 ? VRESULT_OK : VERR_CTRL_VALUE(pars.clipping_factor);
}

FitPoints SelectFitPoints(const Xld& x, const FitOptions& o) {
  FitPoints f;
  std::vector<Pt> p = PointsOf(x);
  if (p.size() > 1) {
    const double gap = std::hypot(p.front().r - p.back().r, p.front().c - p.back().c);
    f.closed = gap <= o.max_closure_dist;
  }
  if (f.closed && p.size() > 1 && p.front().r == p.back().r && p.front().c == p.back().c)
    p.pop_back();
  if (!f.closed) {
    const size_t clip = static_cast<size_t>(o.clipping_end_points);
    if (2 * clip >= p.size())
      p.clear();
    else
      p = std::vector<Pt>(p.begin() + static_cast<std::ptrdiff_t>(clip),
                          p.end() - static_cast<std::ptrdiff_t>(clip));
  }
  if (o.max_num_points > 0 && p.size() > static_cast<size_t>(o.max_num_points)) {
    const size_t m = static_cast<size_t>(o.max_num_points);
    std::vector<Pt> s(m);
    for (size_t i = 0; i < m; ++i) s[i] = p[i * (p.size() - 1) / (m - 1)];
    p.swap(s);
  }
  f.p = std::move(p);
  return f;
}

Line FitLine(const std::vector<Pt>& p, const std::vector<double>& w) {
  double sw = 0, mr = 0, mc = 0;
  for (size_t i = 0; i < p.size(); ++i) sw += w[i], mr += w[i] * p[i].r, mc += w[i] * p[i].c;
  if (sw <= 0) return {p[0].r, p[0].c, 0, 1};
  mr /= sw, mc /= sw;
  double srr = 0, scc = 0, src = 0;
  for (size_t i = 0; i < p.size(); ++i) {
    const double a = p[i].r - mr, b = p[i].c - mc;
    srr += w[i] * a * a, scc += w[i] * b * b, src += w[i] * a * b;
  }
  // Direction of the larger eigenvalue of the scatter matrix.
  const double theta = 0.5 * std::atan2(2 * src, scc - srr);
  return {mr, mc, std::sin(theta), std::cos(theta)};
}

void RobustWeights(Weighting w, double clipping_factor, const std::vector<double>& d,
                   std::vector<double>* weights) {
  weights->assign(d.size(), 1.0);
  if (w == Weighting::kNone || d.empty()) return;
  std::vector<double> a(d.size());
  for (size_t i = 0; i < d.size(); ++i) a[i] = std::fabs(d[i]);
  std::nth_element(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(a.size() / 2), a.end());
  const double sigma = a[a.size() / 2] / 0.6745;
  // When the points that fit do so exactly, the median residual is 0: a
  // floor keeps the scale positive, so that the remaining outliers still
  // lose their weight instead of all points regaining it.
  constexpr double kMinScale = 1e-6;
  const double s = std::max(clipping_factor * sigma, kMinScale);
  for (size_t i = 0; i < d.size(); ++i) {
    const double e = std::fabs(d[i]);
    double& v = (*weights)[i];
    switch (w) {
      case Weighting::kHuber: v = e <= s ? 1.0 : s / e; break;
      case Weighting::kTukey: v = e < s ? std::pow(1 - (e / s) * (e / s), 2) : 0.0; break;
      case Weighting::kDrop: v = e <= s ? 1.0 : 0.0; break;
      case Weighting::kGauss: v = std::exp(-e * e / (2 * s * s)); break;
      case Weighting::kNone: break;
    }
  }
}

const char* PointOrderAround(const std::vector<Pt>& p, double row, double col) {
  double swept = 0;
  for (size_t i = 1; i < p.size(); ++i) {
    const double a0 = std::atan2(-(p[i - 1].r - row), p[i - 1].c - col);
    const double a1 = std::atan2(-(p[i].r - row), p[i].c - col);
    double d = a1 - a0;
    if (d > M_PI) d -= 2 * M_PI;
    if (d < -M_PI) d += 2 * M_PI;
    swept += d;
  }
  return swept >= 0 ? "positive" : "negative";
}

}  // namespace xld
}  // namespace vexa
