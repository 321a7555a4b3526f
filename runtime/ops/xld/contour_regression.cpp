// Operators that look at each contour point through the regression line
// of a window of its neighbours: smoothing (the point projected onto the
// line) and noise (the point moved along the line's normal).
#include <algorithm>
#include <cmath>

#include "registry.h"
#include "vexa/runtime.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

// The total-least-squares line through the points lo..hi of `x`, indices
// taken modulo n (closed contours wrap round): the centre and the unit
// direction. Coincident points give the column axis as direction.
struct WindowLine {
  double r = 0, c = 0, dr = 0, dc = 1;
};

WindowLine RegressionLine(const Xld& x, long lo, long hi, long n) {
  auto at = [&](long k) { return static_cast<size_t>(((k % n) + n) % n); };
  const double m = static_cast<double>(hi - lo + 1);
  WindowLine l;
  for (long k = lo; k <= hi; ++k) l.r += x.rows[at(k)] / m, l.c += x.cols[at(k)] / m;
  double srr = 0, scc = 0, src = 0;
  for (long k = lo; k <= hi; ++k) {
    const double a = x.rows[at(k)] - l.r, b = x.cols[at(k)] - l.c;
    srr += a * a, scc += b * b, src += a * b;
  }
  const double theta = 0.5 * std::atan2(2 * src, scc - srr);
  l.dr = std::sin(theta);
  l.dc = std::cos(theta);
  return l;
}

// The contours of input 1 and the window size of control 0, checked
// against `min_points`.
Vresult ReadWindowed(OpContext& ctx, Vlong min_points, std::vector<XldPtr>* xs, Vlong* num) {
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, xs);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, num);
  if (rc != VRESULT_OK) return rc;
  return *num < min_points || *num > 100001 ? VERR_CTRL_VALUE(0) : VRESULT_OK;
}

// Distinct points of a contour: a closed contour's last point repeats its
// first and is set from it after the others have moved.
long DistinctPoints(const Xld& x) { return static_cast<long>(x.size()) - (IsClosed(x) ? 1 : 0); }

void CloseAgain(const Xld& src, Xld* y) {
  if (IsClosed(src)) y->rows.back() = y->rows.front(), y->cols.back() = y->cols.front();
}

}  // namespace

// Each point projected onto the regression line of the
// num_regression_points (odd, >= 3) points centred on it; windows shrink
// at the ends of open contours and wrap round closed ones.
VEXA_OPERATOR(smooth_contours_xld) {
  std::vector<XldPtr> xs;
  Vlong num = 0;
  const Vresult rc = ReadWindowed(ctx, 3, &xs, &num);
  if (rc != VRESULT_OK) return rc;
  if (num % 2 == 0) return VERR_CTRL_VALUE(0);
  const long half = static_cast<long>(num / 2);
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs) {
    auto y = std::make_shared<Xld>(*x);
    const long n = DistinctPoints(*x);
    for (long i = 0; i < n && n > 2; ++i) {
      const long h = IsClosed(*x) ? std::min(half, (n - 1) / 2) : std::min({half, i, n - 1 - i});
      const WindowLine l = RegressionLine(*x, i - h, i + h, n);
      const size_t k = static_cast<size_t>(i);
      const double t = (x->rows[k] - l.r) * l.dr + (x->cols[k] - l.c) * l.dc;
      y->rows[k] = static_cast<float>(l.r + t * l.dr);
      y->cols[k] = static_cast<float>(l.c + t * l.dc);
    }
    if (n > 2) CloseAgain(*x, y.get());
    out.push_back(y);
  }
  return HandOverXlds(ctx, 1, out);
}

// Each point moved along the normal of the regression line of
// num_regression_points (>= 2) neighbours by a distance drawn uniformly
// from [-amplitude, amplitude] with the runtime's generator (one draw per
// distinct point, contours and points in order, so seed_rand repeats it).
// The window holds min(num_regression_points, points) points centred on
// the point, shifted inwards at the ends of open contours and wrapping
// round closed ones. Contours of fewer than two distinct points are
// passed on unchanged; attributes are kept.
VEXA_OPERATOR(add_noise_white_contour_xld) {
  std::vector<XldPtr> xs;
  Vlong num = 0;
  double amplitude = 0;
  Vresult rc = ReadWindowed(ctx, 2, &xs, &num);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &amplitude);
  if (rc != VRESULT_OK) return rc;
  if (amplitude < 0) return VERR_CTRL_VALUE(1);
  std::vector<XldPtr> out;
  for (const XldPtr& x : xs) {
    auto y = std::make_shared<Xld>(*x);
    const long n = DistinctPoints(*x);
    const long m = std::min(static_cast<long>(num), n);
    for (long i = 0; i < n && n > 1; ++i) {
      const long lo = IsClosed(*x) ? i - m / 2 : std::clamp(i - m / 2, 0L, n - m);
      const WindowLine l = RegressionLine(*x, lo, lo + m - 1, n);
      const double shift = amplitude * (2.0 * VDrand48() - 1.0);
      const size_t k = static_cast<size_t>(i);
      y->rows[k] = static_cast<float>(x->rows[k] + shift * l.dc);
      y->cols[k] = static_cast<float>(x->cols[k] - shift * l.dr);
    }
    if (n > 1) CloseAgain(*x, y.get());
    out.push_back(y);
  }
  return HandOverXlds(ctx, 1, out);
}

}  // namespace xld
}  // namespace vexa
