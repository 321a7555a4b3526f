#include "ops/transform/polar_map.h"

#include <algorithm>
#include <cmath>

#include "ops/image/image_op_util.h"

namespace vexa {

Vresult GetPolarRange(const OpContext& ctx, int first, Polar* p) {
  double* v[6] = {&p->row, &p->col, &p->a0, &p->a1, &p->r0, &p->r1};
  for (int i = 0; i < 6; ++i) {
    const Vresult rc = GetFiniteDouble(ctx, first + i, v[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

Vresult GetPolarSize(const OpContext& ctx, int par, int32_t* w, int32_t* h) {
  Vresult rc = GetImageSide(ctx, par, w);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, par + 1, h);
  return rc;
}

Vresult CheckInvertible(const Polar& p, int first) {
  if (p.a0 == p.a1) return VERR_CTRL_VALUE(first + 3);
  if (p.r0 == p.r1) return VERR_CTRL_VALUE(first + 5);
  return VRESULT_OK;
}

SourceMap PolarToImage(const Polar& p) {
  const double da = p.width > 1 ? (p.a1 - p.a0) / (p.width - 1) : 0.0;
  const double dr = p.height > 1 ? (p.r1 - p.r0) / (p.height - 1) : 0.0;
  return [p, da, dr](double y, double x, double* sr, double* sc) {
    const double angle = p.a0 + da * x, radius = p.r0 + dr * y;
    *sr = p.row - radius * std::sin(angle);
    *sc = p.col + radius * std::cos(angle);
  };
}

SourceMap ImageToPolar(const Polar& p) {
  const double lo = std::min(p.a0, p.a1), hi = std::max(p.a0, p.a1);
  const double ax = p.width > 1 ? (p.width - 1) / (p.a1 - p.a0) : 0.0;
  const double ry = p.height > 1 ? (p.height - 1) / (p.r1 - p.r0) : 0.0;
  return [p, lo, hi, ax, ry](double y, double x, double* sr, double* sc) {
    const double dy = p.row - y, dx = x - p.col;
    double angle = lo + std::fmod(std::fmod(std::atan2(dy, dx) - lo, 2 * M_PI) + 2 * M_PI, 2 * M_PI);
    if (angle > hi && angle - hi > lo - (angle - 2 * M_PI)) angle -= 2 * M_PI;
    *sc = (angle - p.a0) * ax;
    *sr = (std::hypot(dy, dx) - p.r0) * ry;
  };
}

}  // namespace vexa
