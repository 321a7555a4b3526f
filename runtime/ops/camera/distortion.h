// Lens distortion on the image plane, in metres from the principal point.
//
// Division model: an observed (distorted) point d goes to the ideal point
//   u = d / (1 + kappa |d|^2),
// valid where |kappa| |d|^2 < 1 (beyond it the map folds back or has a
// pole). Both directions are closed-form.
//
// Polynomial model: an ideal point u = (x, y), r^2 = x^2 + y^2, goes to
//   dx = x (1 + k1 r^2 + k2 r^4 + k3 r^6) + 2 p1 x y + p2 (r^2 + 2 x^2)
//   dy = y (1 + k1 r^2 + k2 r^4 + k3 r^6) + p1 (r^2 + 2 y^2) + 2 p2 x y,
// valid where the radial factor 1 + k1 r^2 + k2 r^4 + k3 r^6 and its
// growth d(r factor)/dr are positive and the Jacobian of the map has a
// positive determinant. Undistorting solves it by damped Newton steps from
// the observed point until the residual is below kUndistortTolerance
// pixels; distorting also checks that undistorting leads back to the
// ideal point (within 1e-6 pixels), so that a point beyond a fold of the
// map is refused rather than sent to a pixel that means another point.
#pragma once

#include <Eigen/Dense>

#include "ops/camera/cam_par.h"

namespace vexa {

// Residual (in pixels) at which the Newton iteration of the polynomial
// model stops, and its largest number of steps.
constexpr double kUndistortTolerance = 1e-9;
constexpr int kUndistortMaxSteps = 100;

// The observed point of the ideal point `ideal`; false (VERR_CAM_DISTORTION)
// where the model is not invertible.
bool Distort(const CamPar& cam, const Eigen::Vector2d& ideal, Eigen::Vector2d* observed);
// The ideal point of the observed point `observed`; false where the model
// is not invertible or the iteration does not converge.
bool Undistort(const CamPar& cam, const Eigen::Vector2d& observed, Eigen::Vector2d* ideal);

}  // namespace vexa
