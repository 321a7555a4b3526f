// Inpainting by harmonic interpolation and by the diffusion flows run
// inside the region: harmonic_interpolation, inpainting_mcf, inpainting_ced
// and inpainting_aniso.
#include "ops/filter/inpainting.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/common/op_objects.h"
#include "ops/filter/curvature_flows.h"
#include "registry.h"

namespace vexa {
namespace {

// The region's pixels inside `tile`, nonzero.
cv::Mat TileMask(const Region& region, const cv::Rect& tile) {
  cv::Mat mask = cv::Mat::zeros(tile.size(), CV_8U);
  for (const Chord& ch : region.chords()) {
    if (ch.r < tile.y || ch.r >= tile.y + tile.height) continue;
    const int b = std::max<int>(ch.cb, tile.x), e = std::min<int>(ch.ce, tile.x + tile.width - 1);
    if (b <= e) mask.row(ch.r - tile.y).colRange(b - tile.x, e - tile.x + 1).setTo(255);
  }
  return mask;
}

// The bounding box of the region's pixels inside an image of `size`.
cv::Rect RegionRect(const Region& region, const cv::Size& size) {
  int32_t r1, c1, r2, c2;
  if (!region.BoundingBox(&r1, &c1, &r2, &c2)) return cv::Rect();
  return cv::Rect(c1, r1, c2 - c1 + 1, r2 - r1 + 1) & cv::Rect(cv::Point(), size);
}

// A safety bound on the sweeps, far beyond what SOR needs: with the
// omega of a square of side n it gains a decimal digit in about n / 3
// sweeps.
long SweepLimit(int side) { return 100000 + 1000L * side; }

// Each channel: the harmonic interpolation, then the flow's steps, which
// change only the region's pixels.
RegionFill FlowFill(const Flow& flow) {
  return [flow](std::vector<cv::Mat>& channels, const cv::Mat& mask) {
    cv::Mat next;
    for (cv::Mat& u : channels) {
      const Vresult rc = HarmonicFill(u, mask, 1e-6);
      if (rc != VRESULT_OK) return rc;
      for (int s = 0; s < flow.steps; ++s) {
        flow.step(u, next);
        next.copyTo(u, mask);
      }
    }
    return VRESULT_OK;
  };
}

// The channels' copies in dst(rect), the region's pixels filled.
Vresult InpaintChannels(const Region& region, int reach, const RegionFill& fill,
                        const std::vector<cv::Mat>& src, std::vector<cv::Mat>& dst,
                        const cv::Rect& rect) {
  for (size_t ch = 0; ch < src.size(); ++ch) src[ch](rect).copyTo(dst[ch](rect));
  const cv::Rect holes = RegionRect(region, src[0].size());
  if (holes.empty()) return VRESULT_OK;
  const cv::Rect tile = GrowRect(holes, reach + 1, reach + 1, src[0].size());
  const cv::Mat mask = TileMask(region, tile);
  std::vector<cv::Mat> u(src.size());
  for (size_t ch = 0; ch < src.size(); ++ch) src[ch](tile).convertTo(u[ch], CV_64F);
  const Vresult rc = fill(u, mask);
  if (rc != VRESULT_OK) return rc;
  const cv::Rect common = rect & tile;
  if (common.empty()) return VRESULT_OK;
  const cv::Rect local = common - tile.tl();
  for (size_t ch = 0; ch < src.size(); ++ch) {
    cv::Mat filled;
    u[ch](local).convertTo(filled, dst[ch].type());
    cv::Mat out = dst[ch](common);
    filled.copyTo(out, mask(local));
  }
  return VRESULT_OK;
}

}  // namespace

Vresult InpaintImages(OpContext& ctx, int reach, const RegionFill& fill) {
  Vkey key = VKEY_UNDEF;
  RegionPtr region;
  Vresult rc = ctx.InpObjSingle(2, &key);
  if (rc == VRESULT_OK) rc = InpRegion(2, key, &region);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey image, Vlong) {
    db::ImageData in;
    Vresult r = InpImage(1, image, &in);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& first = *in.channels[0];
    PixelType type;
    if (!FilterableType(first.type(), &type)) return static_cast<Vresult>(VERR_PIXEL_TYPE);
    const int channels = static_cast<int>(in.channels.size());
    Vkey made = VKEY_UNDEF;
    r = NewFilterResult(type, first, channels, in.domain, FilterWrites::kSome, &made);
    if (r != VRESULT_OK) return r;
    out.Add(made);
    std::vector<cv::Mat> src, dst;
    for (int ch = 0; ch < channels && r == VRESULT_OK; ++ch) {
      PixelBuffer* buffer = nullptr;
      r = db::WritableChannel(made, ch, &buffer);
      src.push_back(MatOf(*in.channels[ch]));
      dst.push_back(buffer ? MatOf(buffer) : cv::Mat());
    }
    const cv::Rect rect = DomainRect(*in.domain);
    if (r != VRESULT_OK || rect.empty()) return r;
    r = Guarded([&] { return InpaintChannels(*region, reach, fill, src, dst, rect); });
    for (cv::Mat& d : dst) ClearOutsideDomain(*in.domain, rect, &d);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

Vresult HarmonicFill(cv::Mat& u, const cv::Mat& mask, double precision) {
  // Unknowns with the positions of their four neighbours (mirror rule).
  struct Unknown {
    int at, n[4];
  };
  std::vector<Unknown> unknowns;
  double sum = 0.0, scale = 0.0;
  long known = 0;
  const int dy[4] = {-1, 1, 0, 0}, dx[4] = {0, 0, -1, 1};
  for (int y = 0; y < u.rows; ++y)
    for (int x = 0; x < u.cols; ++x) {
      if (!mask.at<uint8_t>(y, x)) continue;
      Unknown k{y * u.cols + x, {}};
      for (int i = 0; i < 4; ++i) {
        const int ny = BorderIndex(y + dy[i], u.rows, BorderMode::kMirrored);
        const int nx = BorderIndex(x + dx[i], u.cols, BorderMode::kMirrored);
        k.n[i] = ny * u.cols + nx;
        if (!mask.at<uint8_t>(ny, nx)) {
          const double v = u.at<double>(ny, nx);
          sum += v;
          scale = std::max(scale, std::fabs(v));
          ++known;
        }
      }
      unknowns.push_back(k);
    }
  if (unknowns.empty()) return VRESULT_OK;
  if (known == 0) return VERR_EMPTY_OBJECT;
  double* v = u.ptr<double>();
  for (const Unknown& k : unknowns) v[k.at] = sum / static_cast<double>(known);
  const int side = std::max(u.rows, u.cols);
  const double omega = 2.0 / (1.0 + std::sin(M_PI / (side + 1)));
  const double tolerance = std::max(precision, 1e-12 * std::max(1.0, scale));
  for (long sweep = 0; sweep < SweepLimit(side); ++sweep) {
    double largest = 0.0;
    for (const Unknown& k : unknowns) {
      const double update =
          omega * (0.25 * (v[k.n[0]] + v[k.n[1]] + v[k.n[2]] + v[k.n[3]]) - v[k.at]);
      v[k.at] += update;
      largest = std::max(largest, std::fabs(update));
    }
    if (largest <= tolerance) return VRESULT_OK;
  }
  return VERR_INTERNAL;
}

// Harmonic interpolation: the region's pixels solve the discrete Laplace
// equation with the rest of the image as boundary values, iterated until
// the largest update is at most `precision` (0 or more).
VEXA_OPERATOR(harmonic_interpolation) {
  double precision = 0.0;
  const Vresult rc = ReadReal(ctx, 0, 0.0, 1e30, &precision);
  if (rc != VRESULT_OK) return rc;
  return InpaintImages(ctx, 0, [precision](std::vector<cv::Mat>& channels, const cv::Mat& mask) {
    for (cv::Mat& u : channels) {
      const Vresult r = HarmonicFill(u, mask, precision);
      if (r != VRESULT_OK) return r;
    }
    return VRESULT_OK;
  });
}

// Mean curvature flow inside the region (the parameters of
// mean_curvature_flow), started from its harmonic interpolation.
VEXA_OPERATOR(inpainting_mcf) {
  Flow flow;
  const Vresult rc = ReadMeanCurvatureFlow(ctx, &flow);
  return rc == VRESULT_OK ? InpaintImages(ctx, flow.reach, FlowFill(flow)) : rc;
}

// Coherence-enhancing diffusion inside the region (the parameters of
// coherence_enhancing_diff), started from its harmonic interpolation.
VEXA_OPERATOR(inpainting_ced) {
  Flow flow;
  const Vresult rc = ReadCoherenceFlow(ctx, &flow);
  return rc == VRESULT_OK ? InpaintImages(ctx, flow.reach, FlowFill(flow)) : rc;
}

// Nonlinear diffusion inside the region (the parameters of
// anisotropic_diffusion), started from its harmonic interpolation; the
// differences the conductance sees are taken on the image smoothed by
// `rho` (0 to 15).
VEXA_OPERATOR(inpainting_aniso) {
  double rho = 0.0;
  Flow flow;
  Vresult rc = ReadReal(ctx, 4, 0.0, 15.0, &rho);
  if (rc == VRESULT_OK) rc = ReadDiffusionFlow(ctx, rho, &flow);
  return rc == VRESULT_OK ? InpaintImages(ctx, flow.reach, FlowFill(flow)) : rc;
}

}  // namespace vexa
