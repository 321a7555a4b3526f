// edges_color_sub_pix: sub-pixel edges of a multi-channel image.
//
// Each channel k gets the Gaussian gradient g_k of edges_sub_pix. Their
// tensor T = sum_k g_k g_k^T has the largest eigenvalue lambda along the
// direction v in which the channels change most; sqrt(lambda) is the
// edge amplitude (for one channel exactly |g|) and v the edge normal.
// v's sign is free: it is first taken from the gradient of the channel
// that changes most, then made to agree between neighbouring edge points
// so that they link (two channels changing alike in opposite senses
// would otherwise flip it from pixel to pixel). Non-maximum suppression,
// hysteresis (real thresholds on the amplitude) and linking are those of
// edges_sub_pix; the attributes are "edge_direction", "angle" and
// "response" as there.
#include <cmath>
#include <vector>

#include "edge_points.h"
#include "registry.h"
#include "xld_image.h"

namespace vexa {
namespace xld {
namespace {

// The largest eigenvalue's direction of the channels' gradient tensor,
// scaled by sqrt(lambda), in g->gr and g->gc, and sqrt(lambda) in g->mag.
void ColorGradient(const std::vector<Gradient>& channels, Gradient* g) {
  const cv::Size size = channels.front().mag.size();
  g->gr.create(size, CV_32F);
  g->gc.create(size, CV_32F);
  g->mag.create(size, CV_32F);
  for (int r = 0; r < size.height; ++r)
    for (int c = 0; c < size.width; ++c) {
      double rr = 0, rc = 0, cc = 0, strongest = -1, sr = 0, sc = 0;
      for (const Gradient& k : channels) {
        const double gr = k.gr.at<float>(r, c), gc = k.gc.at<float>(r, c);
        rr += gr * gr, rc += gr * gc, cc += gc * gc;
        const double m = gr * gr + gc * gc;
        if (m > strongest) strongest = m, sr = gr, sc = gc;
      }
      const double half_trace = 0.5 * (rr + cc);
      const double root = std::sqrt(0.25 * (rr - cc) * (rr - cc) + rc * rc);
      const double lambda = half_trace + root;
      // Eigenvector of the 2x2 tensor for lambda; the better conditioned
      // of the two equivalent forms.
      double vr = rc, vc = lambda - rr;
      if (std::fabs(lambda - cc) > std::fabs(lambda - rr)) vr = lambda - cc, vc = rc;
      double len = std::hypot(vr, vc);
      if (len == 0) vr = sr, vc = sc, len = std::hypot(vr, vc);
      const double amp = std::sqrt(std::max(lambda, 0.0));
      if (len == 0 || amp == 0) {
        g->gr.at<float>(r, c) = g->gc.at<float>(r, c) = g->mag.at<float>(r, c) = 0;
        continue;
      }
      const double sign = vr * sr + vc * sc < 0 ? -1.0 : 1.0;
      g->gr.at<float>(r, c) = static_cast<float>(sign * amp * vr / len);
      g->gc.at<float>(r, c) = static_cast<float>(sign * amp * vc / len);
      g->mag.at<float>(r, c) = static_cast<float>(amp);
    }
}
}  // namespace

VEXA_OPERATOR(edges_color_sub_pix) {
  Vkey key = VKEY_UNDEF;
  int filter = 0;
  double alpha = 0, low = 0, high = 0;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 0, {"canny"}, &filter);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &alpha);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 2, &low);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 3, &high);
  if (rc != VRESULT_OK) return rc;
  if (!(alpha > 0 && alpha <= kMaxEdgeSigma)) return VERR_CTRL_VALUE(1);
  if (low < 0) return VERR_CTRL_VALUE(2);
  if (high < low) return VERR_CTRL_VALUE(3);
  db::ImageData data;
  rc = InpImage(1, key, &data);
  if (rc != VRESULT_OK) return rc;
  std::vector<Gradient> channels(data.channels.size());
  FloatImage image;
  for (size_t k = 0; k < channels.size() && rc == VRESULT_OK; ++k) {
    rc = InpFloatImage(1, key, static_cast<int>(k), &image);
    if (rc == VRESULT_OK) rc = GaussGradient(image.values, alpha, &channels[k]);
  }
  if (rc != VRESULT_OK) return rc;
  Gradient g;
  ColorGradient(channels, &g);
  std::vector<EdgePoint> pts;
  cv::Mat index;
  Maxima(g, image.domain, low, high, &pts, &index);
  AlignNormals(&pts, index);
  Hysteresis(pts, &index);
  std::vector<XldPtr> contours;
  for (const Chain& chain : LinkChains(pts, index)) contours.push_back(EdgeContour(pts, chain));
  return HandOverXlds(ctx, 1, contours);
}
}  // namespace xld
}  // namespace vexa
