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

#include <opencv2/imgproc.hpp>

#include "registry.h"
#include "xld_image.h"

namespace vexa {
namespace xld {
namespace {

constexpr double kMaxSigma = 200.0;  // 1600 taps; beyond, no image helps

struct Gradient {
  cv::Mat gr, gc, mag;  // CV_32F
};

// Sampled Gaussian of `sigma` and its derivative, radius ceil(4 sigma);
// the derivative is scaled so that a unit ramp gives exactly 1.
void GaussKernels(double sigma, cv::Mat* g, cv::Mat* dg) {
  const int radius = std::max(1, static_cast<int>(std::ceil(4 * sigma)));
  *g = cv::Mat(2 * radius + 1, 1, CV_32F);
  *dg = cv::Mat(2 * radius + 1, 1, CV_32F);
  double sum = 0, moment = 0;
  for (int j = -radius; j <= radius; ++j) {
    const double v = std::exp(-0.5 * j * j / (sigma * sigma));
    g->at<float>(j + radius) = static_cast<float>(v);
    sum += v;
    moment += j * j * v;
  }
  for (int j = -radius; j <= radius; ++j) {
    const double v = g->at<float>(j + radius);
    g->at<float>(j + radius) = static_cast<float>(v / sum);
    // Correlation: out(x) = sum_j k_j f(x + j), so k_j grows with j.
    dg->at<float>(j + radius) = static_cast<float>(j * v / moment);
  }
}

Vresult GaussGradient(const cv::Mat& f, double sigma, Gradient* out) {
  cv::Mat g, dg;
  GaussKernels(sigma, &g, &dg);
  try {
    cv::sepFilter2D(f, out->gc, CV_32F, dg, g, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(f, out->gr, CV_32F, g, dg, cv::Point(-1, -1), 0, cv::BORDER_REPLICATE);
    cv::magnitude(out->gr, out->gc, out->mag);
  } catch (const cv::Exception&) {
    return VERR_OUT_OF_MEMORY;
  }
  return VRESULT_OK;
}

float Bilinear(const cv::Mat& m, double r, double c) {
  const int r0 = static_cast<int>(std::floor(r)), c0 = static_cast<int>(std::floor(c));
  const double fr = r - r0, fc = c - c0;
  const float* a = m.ptr<float>(r0);
  const float* b = m.ptr<float>(r0 + 1);
  return static_cast<float>((1 - fr) * ((1 - fc) * a[c0] + fc * a[c0 + 1]) +
                            fr * ((1 - fc) * b[c0] + fc * b[c0 + 1]));
}

struct EdgePoint {
  int32_t r, c;
  float sr, sc;  // sub-pixel position
  float nr, nc;  // unit gradient
  float response;
  bool strong;
};

// Maxima of the magnitude of at least `low`, with their sub-pixel points;
// `index` maps each pixel to its maximum or -1.
void Maxima(const Gradient& g, const cv::Mat& domain, double low, double high,
            std::vector<EdgePoint>* pts, cv::Mat* index) {
  *index = cv::Mat(g.mag.size(), CV_32S, cv::Scalar(-1));
  for (int r = 1; r + 1 < g.mag.rows; ++r) {
    const float* m = g.mag.ptr<float>(r);
    const uint8_t* d = domain.ptr<uint8_t>(r);
    for (int c = 1; c + 1 < g.mag.cols; ++c) {
      const float m0 = m[c];
      if (!d[c] || !(m0 >= low) || m0 <= 0) continue;
      const double nr = g.gr.at<float>(r, c) / m0, nc = g.gc.at<float>(r, c) / m0;
      const double mp = Bilinear(g.mag, r + nr, c + nc);
      const double mm = Bilinear(g.mag, r - nr, c - nc);
      if (!(m0 > mm && m0 >= mp)) continue;
      const double denom = mm - 2.0 * m0 + mp;
      const double t = denom < 0 ? std::clamp(0.5 * (mm - mp) / denom, -0.5, 0.5) : 0.0;
      index->at<int32_t>(r, c) = static_cast<int32_t>(pts->size());
      pts->push_back({r, c, static_cast<float>(r + t * nr), static_cast<float>(c + t * nc),
                      static_cast<float>(nr), static_cast<float>(nc),
                      static_cast<float>(m0 - 0.25 * (mm - mp) * t), m0 >= high});
    }
  }
}

// Keeps the maxima 8-connected to a strong one; the others leave `index`.
void Hysteresis(std::vector<EdgePoint>* pts, cv::Mat* index) {
  std::vector<char> keep(pts->size(), 0);
  std::vector<int32_t> work;
  for (size_t i = 0; i < pts->size(); ++i)
    if ((*pts)[i].strong) keep[i] = 1, work.push_back(static_cast<int32_t>(i));
  while (!work.empty()) {
    const EdgePoint& p = (*pts)[static_cast<size_t>(work.back())];
    work.pop_back();
    for (int dr = -1; dr <= 1; ++dr)
      for (int dc = -1; dc <= 1; ++dc) {
        const int32_t q = index->at<int32_t>(p.r + dr, p.c + dc);
        if (q >= 0 && !keep[static_cast<size_t>(q)]) keep[static_cast<size_t>(q)] = 1, work.push_back(q);
      }
  }
  for (size_t i = 0; i < pts->size(); ++i)
    if (!keep[i]) index->at<int32_t>((*pts)[i].r, (*pts)[i].c) = -1;
}

// The neighbour edge pixel on the side `sign` of p's tangent with the
// closest sub-pixel point and a gradient within 90 degrees; -1 if none.
int32_t Neighbour(const std::vector<EdgePoint>& pts, const cv::Mat& index, const EdgePoint& p,
                  int sign) {
  const double tr = -p.nc * sign, tc = p.nr * sign;
  int32_t best = -1;
  double best_d = 0;
  for (int dr = -1; dr <= 1; ++dr)
    for (int dc = -1; dc <= 1; ++dc) {
      if (dr * tr + dc * tc <= 1e-6) continue;
      const int32_t q = index.at<int32_t>(p.r + dr, p.c + dc);
      if (q < 0) continue;
      const EdgePoint& e = pts[static_cast<size_t>(q)];
      if (e.nr * p.nr + e.nc * p.nc <= 0) continue;
      const double d = std::hypot(e.sr - p.sr, e.sc - p.sc);
      if (best < 0 || d < best_d) best = q, best_d = d;
    }
  return best;
}

double Wrap(double a, double period) {
  a = std::fmod(a, period);
  return a < 0 ? a + period : a;
}

XldPtr ChainContour(const std::vector<EdgePoint>& pts, const std::vector<int32_t>& chain,
                    bool closed) {
  auto x = std::make_shared<Xld>();
  XldAttrib dir{"edge_direction", {}}, angle{"angle", {}}, response{"response", {}};
  const size_t n = chain.size() + (closed ? 1 : 0);
  for (size_t k = 0; k < n; ++k) {
    const EdgePoint& p = pts[static_cast<size_t>(chain[k % chain.size()])];
    x->rows.push_back(p.sr);
    x->cols.push_back(p.sc);
    const double tangent = std::atan2(p.nc, p.nr);  // of (-nc, nr)
    dir.values.push_back(Wrap(tangent, 2 * M_PI));
    angle.values.push_back(Wrap(std::atan2(-p.nr, p.nc), M_PI));
    response.values.push_back(p.response);
  }
  x->attribs = {std::move(dir), std::move(angle), std::move(response)};
  return x;
}

std::vector<XldPtr> Link(const std::vector<EdgePoint>& pts, const cv::Mat& index) {
  const size_t n = pts.size();
  std::vector<int32_t> next(n, -1), prev(n, -1);
  for (size_t i = 0; i < n; ++i) {
    const EdgePoint& p = pts[i];
    if (index.at<int32_t>(p.r, p.c) < 0) continue;
    const int32_t f = Neighbour(pts, index, p, 1);
    if (f >= 0 && Neighbour(pts, index, pts[static_cast<size_t>(f)], -1) == static_cast<int32_t>(i)) {
      next[i] = f;
      prev[static_cast<size_t>(f)] = static_cast<int32_t>(i);
    }
  }
  std::vector<char> done(n, 0);
  std::vector<XldPtr> out;
  auto follow = [&](size_t start) {
    std::vector<int32_t> chain;
    int32_t k = static_cast<int32_t>(start);
    while (k >= 0 && !done[static_cast<size_t>(k)]) {
      done[static_cast<size_t>(k)] = 1;
      chain.push_back(k);
      k = next[static_cast<size_t>(k)];
    }
    const bool closed = k == static_cast<int32_t>(start) && chain.size() > 2;
    if (chain.size() > 1) out.push_back(ChainContour(pts, chain, closed));
  };
  // Open chains from their first pixel, then the loops.
  for (size_t i = 0; i < n; ++i)
    if (index.at<int32_t>(pts[i].r, pts[i].c) >= 0 && prev[i] < 0 && !done[i]) follow(i);
  for (size_t i = 0; i < n; ++i)
    if (index.at<int32_t>(pts[i].r, pts[i].c) >= 0 && !done[i]) follow(i);
  return out;
}

}  // namespace

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
  if (!(alpha > 0 && alpha <= kMaxSigma)) return VERR_CTRL_VALUE(1);
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
  Hysteresis(&pts, &index);
  return HandOverXlds(ctx, 1, Link(pts, index));
}

}  // namespace xld
}  // namespace vexa
