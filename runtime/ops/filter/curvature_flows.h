// Steps of the geometric flows that inpainting runs inside a region too:
// mean curvature flow and coherence-enhancing diffusion.
#pragma once

#include "ops/filter/explicit_flow.h"

namespace vexa {

// u += theta * u_ee, the second difference of u along the level line,
// e perpendicular to the gradient of u smoothed by `sigma`; where that
// gradient vanishes, half the Laplacian (the mean over all directions).
FlowStep MeanCurvatureStep(double sigma, double theta);
int MeanCurvatureReach(double sigma);

// u += theta * div(D grad u), D the coherence-enhancing diffusion tensor
// of the structure tensor of u at scales sigma and rho.
FlowStep CoherenceStep(double sigma, double rho, double theta);
int CoherenceReach(double sigma, double rho);

// The unit eigenvector (cx, cy) of the smaller eigenvalue of the symmetric
// tensor (p q; q r): the direction along a structure; (0, 1) or (1, 0)
// for an isotropic tensor.
void CoherenceDirection(double p, double q, double r, double* cx, double* cy);

// Mean curvature flow of parameters sigma (0 to 15), theta (over 0 to 0.5)
// and iterations.
Vresult ReadMeanCurvatureFlow(const OpContext& ctx, Flow* flow);
// Coherence-enhancing diffusion of parameters sigma, rho (0 to 15), theta
// (over 0 to 0.25) and iterations.
Vresult ReadCoherenceFlow(const OpContext& ctx, Flow* flow);

}  // namespace vexa
