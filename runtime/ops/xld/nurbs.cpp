// A contour that approximates a NURBS curve given by control points,
// knots, weights and degree.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

// Highest degree accepted: far beyond any practical curve, and it keeps
// de Boor's triangle small.
constexpr Vlong kMaxDegree = 25;

struct Nurbs {
  std::vector<Pt> ctrl;
  std::vector<double> weights, knots;
  int degree = 3;

  double Begin() const { return knots[static_cast<size_t>(degree)]; }
  double End() const { return knots[ctrl.size()]; }

  // The curve point at t (de Boor on homogeneous coordinates); t is
  // clamped to the domain, and the domain's end belongs to the last
  // non-empty span.
  Pt At(double t) const {
    const size_t p = static_cast<size_t>(degree), n = ctrl.size();
    t = std::clamp(t, Begin(), End());
    size_t k = p;
    while (k + 1 < n && knots[k + 1] <= t) ++k;
    double h[kMaxDegree + 1][3];
    for (size_t j = 0; j <= p; ++j) {
      const size_t i = k - p + j;
      h[j][0] = ctrl[i].r * weights[i];
      h[j][1] = ctrl[i].c * weights[i];
      h[j][2] = weights[i];
    }
    for (size_t r = 1; r <= p; ++r)
      for (size_t j = p; j >= r; --j) {
        const size_t i = k - p + j;
        const double span = knots[i + p - r + 1] - knots[i];
        const double alpha = span > 0 ? (t - knots[i]) / span : 0;
        for (int d = 0; d < 3; ++d) h[j][d] = (1 - alpha) * h[j - 1][d] + alpha * h[j][d];
      }
    return {h[p][0] / h[p][2], h[p][1] / h[p][2]};
  }
};

// Clamped uniform knots: degree + 1 equal knots at 0 and at 1, the
// interior ones evenly between.
std::vector<double> AutoKnots(size_t n, size_t p) {
  std::vector<double> k(n + p + 1);
  for (size_t i = 0; i < k.size(); ++i) {
    if (i <= p)
      k[i] = 0;
    else if (i >= n)
      k[i] = 1;
    else
      k[i] = static_cast<double>(i - p) / static_cast<double>(n - p);
  }
  return k;
}

// True when control parameter `par` is the single string "auto".
bool IsAuto(const OpContext& ctx, int par) {
  const char* s = nullptr;
  return ctx.CtrlNum(par) == 1 && ctx.GetString(par, &s) == VRESULT_OK &&
         std::strcmp(s, "auto") == 0;
}

// A positive limit, or `def` for "auto".
Vresult Limit(const OpContext& ctx, int par, double def, double* v) {
  if (IsAuto(ctx, par)) {
    *v = def;
    return VRESULT_OK;
  }
  const Vresult rc = GetFinite(ctx, par, v);
  if (rc != VRESULT_OK) return rc;
  return *v > 0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

Vresult ReadNurbs(const OpContext& ctx, Nurbs* c) {
  std::vector<double> rows, cols;
  Vlong degree = 0;
  Vresult rc = GetFinites(ctx, 0, &rows);
  if (rc == VRESULT_OK) rc = GetFinites(ctx, 1, &cols);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &degree);
  if (rc != VRESULT_OK) return rc;
  if (cols.size() != rows.size()) return VERR_CTRL_NUM(1);
  if (degree < 1 || degree > kMaxDegree) return VERR_CTRL_VALUE(4);
  const size_t n = rows.size(), p = static_cast<size_t>(degree);
  if (n < p + 1) return VERR_CTRL_NUM(0);
  c->degree = static_cast<int>(degree);
  for (size_t i = 0; i < n; ++i) c->ctrl.push_back({rows[i], cols[i]});

  if (IsAuto(ctx, 2)) {
    c->knots = AutoKnots(n, p);
  } else {
    rc = GetFinites(ctx, 2, &c->knots);
    if (rc != VRESULT_OK) return rc;
    if (c->knots.size() != n + p + 1) return VERR_CTRL_NUM(2);
    for (size_t i = 1; i < c->knots.size(); ++i)
      if (c->knots[i] < c->knots[i - 1]) return VERR_CTRL_VALUE(2);
    if (!(c->Begin() < c->End())) return VERR_CTRL_VALUE(2);
  }

  if (IsAuto(ctx, 3)) {
    c->weights.assign(n, 1.0);
  } else {
    rc = GetFinites(ctx, 3, &c->weights);
    if (rc != VRESULT_OK) return rc;
    if (c->weights.size() == 1) c->weights.assign(n, c->weights[0]);
    if (c->weights.size() != n) return VERR_CTRL_NUM(3);
    for (double w : c->weights)
      if (!(w > 0)) return VERR_CTRL_VALUE(3);
  }
  return VRESULT_OK;
}

// Points of the curve from t0 to t1 (t0 excluded): the interval is halved
// while the curve at its quarter points leaves the chord by more than
// `max_error` or the chord is longer than `max_distance`.
Vresult Sample(const Nurbs& c, double t0, double t1, double max_error, double max_distance,
               std::vector<Pt>* out) {
  struct Piece {
    double t0, t1;
    Pt a, b;
    int depth;
  };
  std::vector<Piece> work{{t0, t1, c.At(t0), c.At(t1), 0}};
  while (!work.empty()) {
    const Piece q = work.back();
    work.pop_back();
    bool split = false;
    if (q.depth < 48) {
      split = std::hypot(q.b.r - q.a.r, q.b.c - q.a.c) > max_distance;
      for (double f : {0.25, 0.5, 0.75}) {
        if (split) break;
        const Pt m = c.At(q.t0 + f * (q.t1 - q.t0));
        const double dr = q.b.r - q.a.r, dc = q.b.c - q.a.c, len = std::hypot(dr, dc);
        const double d = len > 0 ? std::fabs((m.r - q.a.r) * dc - (m.c - q.a.c) * dr) / len
                                 : std::hypot(m.r - q.a.r, m.c - q.a.c);
        split = d > max_error;
      }
    }
    if (!split) {
      if (out->size() >= kMaxPoints) return VERR_TOO_LARGE;
      out->push_back(q.b);
      continue;
    }
    const double tm = (q.t0 + q.t1) / 2;
    const Pt m = c.At(tm);
    // The later half goes first on the stack, so points come in order.
    work.push_back({tm, q.t1, m, q.b, q.depth + 1});
    work.push_back({q.t0, tm, q.a, m, q.depth + 1});
  }
  return VRESULT_OK;
}

}  // namespace

// knots and weights: "auto" (clamped uniform knots; all weights 1) or the
// values; one weight stands for all. max_error (default 0.5) bounds the
// distance between the curve and the contour's segments, max_distance
// (default: no bound) the length of each segment. Each non-empty knot span
// is sampled on its own, so every span boundary is a contour point.
VEXA_OPERATOR(gen_contour_nurbs_xld) {
  Nurbs c;
  double max_error = 0, max_distance = 0;
  Vresult rc = ReadNurbs(ctx, &c);
  if (rc == VRESULT_OK) rc = Limit(ctx, 5, 0.5, &max_error);
  if (rc == VRESULT_OK) rc = Limit(ctx, 6, INFINITY, &max_distance);
  if (rc != VRESULT_OK) return rc;
  // The curve is no longer than its control polygon: a bound on the
  // points max_distance asks for, checked before any is made.
  double polygon_length = 0;
  for (size_t i = 1; i < c.ctrl.size(); ++i)
    polygon_length += std::hypot(c.ctrl[i].r - c.ctrl[i - 1].r, c.ctrl[i].c - c.ctrl[i - 1].c);
  if (polygon_length / max_distance > static_cast<double>(kMaxPoints)) return VERR_TOO_LARGE;
  std::vector<Pt> pts{c.At(c.Begin())};
  const size_t p = static_cast<size_t>(c.degree);
  for (size_t k = p; rc == VRESULT_OK && k < c.ctrl.size(); ++k)
    if (c.knots[k] < c.knots[k + 1])
      rc = Sample(c, c.knots[k], c.knots[k + 1], max_error, max_distance, &pts);
  if (rc != VRESULT_OK) return rc;
  Vkey key = VKEY_UNDEF;
  rc = db::NewXld(NewContour(pts), &key);
  return rc == VRESULT_OK ? ctx.SetOutpObj(1, key) : rc;
}

}  // namespace xld
}  // namespace vexa
