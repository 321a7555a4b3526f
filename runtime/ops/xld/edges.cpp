// edges_sub_pix: sub-pixel edges along the maxima of the gradient
// magnitude ("canny").
//
// 1. Gradient: the image convolved with the derivatives of a Gaussian of
//    sigma `alpha` (separable, sampled to 4 sigma, replicated border), so
//    that the magnitude of a blurred step of height h is h times the
//    Gaussian's peak.
// 2. Non-maximum suppression along the gradient direction n: a pixel is a
//    maximum when its magnitude m0 exceeds the magnitude one pixel against
//    n and is not below the one one pixel along n (both interpolated
//    bilinearly). A parabola through the three values places the edge at
//    offset t = (m- - m+) / (2 (m- - 2 m0 + m+)) along n, |t| <= 1/2.
// 3. Hysteresis: maxima of magnitude >= high start edges, which grow
//    through 8-connected maxima of magnitude >= low.
// 4. Linking: each edge pixel links forward (along the edge tangent, which
//    keeps the brighter side on the right) to the 8-neighbour edge pixel
//    of like gradient direction whose sub-pixel point lies closest, and
//    backward alike; a link holds where both ends agree. Chains become
//    contours, loops closed ones.
//
// Attributes per point: "response" (the interpolated maximum),
// "edge_direction" (tangent direction in [0, 2 pi)), "angle" (gradient
// direction folded into [0, pi)); angles counter-clockwise on the screen
// from the column axis. Only pixels of the domain that are not on the
// image border give edge points.
#include <algorithm>
#include <cmath>
#include <vector>

#include "edge_points.h"
#include "registry.h"
#include "xld_image.h"

namespace vexa {
namespace xld {
VEXA_OPERATOR(edges_sub_pix) {
  Vkey key = VKEY_UNDEF;
  int filter = 0;
  double alpha = 0;
  Vlong low = 0, high = 0;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"canny"}, &filter);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &alpha);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &low);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &high);
  if (rc != VRESULT_OK) return rc;
  if (!(alpha > 0 && alpha <= kMaxEdgeSigma)) return VERR_CTRL_VALUE(1);
  if (low < 0) return VERR_CTRL_VALUE(2);
  if (high < low) return VERR_CTRL_VALUE(3);
  FloatImage image;
  rc = InpFloatImage(1, key, 0, &image);
  if (rc != VRESULT_OK) return rc;
  Gradient g;
  rc = GaussGradient(image.values, alpha, &g);
  if (rc != VRESULT_OK) return rc;
  std::vector<EdgePoint> pts;
  cv::Mat index;
  Maxima(g, image.domain, static_cast<double>(low), static_cast<double>(high), &pts, &index);
  Hysteresis(pts, &index);
  std::vector<XldPtr> contours;
  for (const Chain& chain : LinkChains(pts, index)) contours.push_back(EdgeContour(pts, chain));
  return HandOverXlds(ctx, 1, contours);
}

}  // namespace xld
}  // namespace vexa
