#include "ops/camera/distortion.h"

#include <algorithm>
#include <cmath>

namespace vexa {
namespace {

// Distance in pixels within which a distorted point must undistort back.
constexpr double kRoundTripTolerance = 1e-6;

// The polynomial map at `u` and its Jacobian.
Eigen::Vector2d PolynomialMap(const CamPar& cam, const Eigen::Vector2d& u, Eigen::Matrix2d* jac) {
  const double x = u.x(), y = u.y();
  const double r2 = x * x + y * y;
  const double radial = 1.0 + r2 * (cam.k[0] + r2 * (cam.k[1] + r2 * cam.k[2]));
  // d radial / d (r^2)
  const double radial_r2 = cam.k[0] + r2 * (2.0 * cam.k[1] + 3.0 * r2 * cam.k[2]);
  const double p1 = cam.p[0], p2 = cam.p[1];
  const Eigen::Vector2d d(x * radial + 2.0 * p1 * x * y + p2 * (r2 + 2.0 * x * x),
                          y * radial + p1 * (r2 + 2.0 * y * y) + 2.0 * p2 * x * y);
  if (jac) {
    (*jac)(0, 0) = radial + 2.0 * x * x * radial_r2 + 2.0 * p1 * y + 6.0 * p2 * x;
    (*jac)(0, 1) = 2.0 * x * y * radial_r2 + 2.0 * p1 * x + 2.0 * p2 * y;
    (*jac)(1, 0) = 2.0 * x * y * radial_r2 + 2.0 * p1 * x + 2.0 * p2 * y;
    (*jac)(1, 1) = radial + 2.0 * y * y * radial_r2 + 6.0 * p1 * y + 2.0 * p2 * x;
  }
  return d;
}

// True where the map is locally invertible and its radial part still
// grows with the radius: radial factor and its radial derivative positive,
// Jacobian determinant positive.
bool OnInvertiblePart(const CamPar& cam, const Eigen::Vector2d& u) {
  const double r2 = u.squaredNorm();
  const double radial = 1.0 + r2 * (cam.k[0] + r2 * (cam.k[1] + r2 * cam.k[2]));
  const double growth = 1.0 + r2 * (3.0 * cam.k[0] + r2 * (5.0 * cam.k[1] + r2 * 7.0 * cam.k[2]));
  Eigen::Matrix2d jac;
  PolynomialMap(cam, u, &jac);
  return radial > 0.0 && growth > 0.0 && jac.determinant() > 0.0;
}

bool PolynomialUndistort(const CamPar& cam, const Eigen::Vector2d& observed,
                         Eigen::Vector2d* ideal) {
  const double tolerance = kUndistortTolerance * std::min(cam.sx, cam.sy);
  Eigen::Vector2d u = observed;
  Eigen::Matrix2d jac;
  double residual = (PolynomialMap(cam, u, &jac) - observed).norm();
  for (int step = 0; step < kUndistortMaxSteps && residual > tolerance; ++step) {
    const Eigen::Vector2d f = PolynomialMap(cam, u, &jac) - observed;
    if (!(jac.determinant() > 0.0)) return false;
    const Eigen::Vector2d delta = jac.inverse() * f;
    // Halve the step until the residual falls, so that the iteration stays
    // on the invertible part of the map.
    double t = 1.0;
    Eigen::Vector2d next = u - delta;
    double next_residual = (PolynomialMap(cam, next, nullptr) - observed).norm();
    while (!(next_residual < residual) && t > 1e-6) {
      t *= 0.5;
      next = u - t * delta;
      next_residual = (PolynomialMap(cam, next, nullptr) - observed).norm();
    }
    if (!(next_residual < residual)) return false;
    u = next;
    residual = next_residual;
  }
  if (!(residual <= tolerance) || !OnInvertiblePart(cam, u)) return false;
  *ideal = u;
  return true;
}

}  // namespace

bool Distort(const CamPar& cam, const Eigen::Vector2d& ideal, Eigen::Vector2d* observed) {
  if (cam.model == CamModel::kDivision) {
    // Solves r = s / (1 + kappa s^2) for the radius s of the observed point
    // on the branch through 0: s = 2 r / (1 + sqrt(1 - 4 kappa r^2)).
    const double disc = 1.0 - 4.0 * cam.kappa * ideal.squaredNorm();
    if (!(disc > 0.0)) return false;
    *observed = ideal * (2.0 / (1.0 + std::sqrt(disc)));
    return observed->allFinite();
  }
  // Valid only where undistorting the result leads back to `ideal`: a
  // point beyond a fold of the map would come back as another point.
  *observed = PolynomialMap(cam, ideal, nullptr);
  Eigen::Vector2d back;
  return observed->allFinite() && OnInvertiblePart(cam, ideal) &&
         PolynomialUndistort(cam, *observed, &back) &&
         (back - ideal).norm() <= kRoundTripTolerance * std::min(cam.sx, cam.sy);
}

bool Undistort(const CamPar& cam, const Eigen::Vector2d& observed, Eigen::Vector2d* ideal) {
  if (cam.model == CamModel::kDivision) {
    const double kr2 = cam.kappa * observed.squaredNorm();
    if (!(std::fabs(kr2) < 1.0)) return false;
    *ideal = observed / (1.0 + kr2);
    return true;
  }
  return PolynomialUndistort(cam, observed, ideal);
}

}  // namespace vexa
