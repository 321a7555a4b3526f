// Non-maximum suppression, hysteresis and linking of sub-pixel edge
// points: see edge_points.h.
#include "edge_points.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

namespace vexa {
namespace xld {
namespace {

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

float Bilinear(const cv::Mat& m, double r, double c) {
  const int r0 = static_cast<int>(std::floor(r)), c0 = static_cast<int>(std::floor(c));
  const double fr = r - r0, fc = c - c0;
  const float* a = m.ptr<float>(r0);
  const float* b = m.ptr<float>(r0 + 1);
  return static_cast<float>((1 - fr) * ((1 - fc) * a[c0] + fc * a[c0 + 1]) +
                            fr * ((1 - fc) * b[c0] + fc * b[c0 + 1]));
}

// The neighbour point on the side `sign` of p's tangent with the closest
// sub-pixel position and a normal within 90 degrees; -1 if none.
int32_t Neighbour(const std::vector<EdgePoint>& pts, const cv::Mat& index, const EdgePoint& p,
                  int sign) {
  const double tr = -p.nc * sign, tc = p.nr * sign;
  int32_t best = -1;
  double best_d = 0;
  for (int dr = -1; dr <= 1; ++dr)
    for (int dc = -1; dc <= 1; ++dc) {
      if (dr * tr + dc * tc <= 1e-6) continue;
      const int r = p.r + dr, c = p.c + dc;
      if (r < 0 || c < 0 || r >= index.rows || c >= index.cols) continue;
      const int32_t q = index.at<int32_t>(r, c);
      if (q < 0) continue;
      const EdgePoint& e = pts[static_cast<size_t>(q)];
      if (e.nr * p.nr + e.nc * p.nc <= 0) continue;
      const double d = std::hypot(e.sr - p.sr, e.sc - p.sc);
      if (best < 0 || d < best_d) best = q, best_d = d;
    }
  return best;
}

}  // namespace

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

cv::Mat EmptyPointIndex(cv::Size size) { return cv::Mat(size, CV_32S, cv::Scalar(-1)); }

void Maxima(const Gradient& g, const cv::Mat& domain, double low, double high,
            std::vector<EdgePoint>* pts, cv::Mat* index) {
  *index = EmptyPointIndex(g.mag.size());
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

void Hysteresis(const std::vector<EdgePoint>& pts, cv::Mat* index) {
  std::vector<char> keep(pts.size(), 0);
  std::vector<int32_t> work;
  for (size_t i = 0; i < pts.size(); ++i)
    if (pts[i].strong) keep[i] = 1, work.push_back(static_cast<int32_t>(i));
  while (!work.empty()) {
    const EdgePoint& p = pts[static_cast<size_t>(work.back())];
    work.pop_back();
    for (int dr = -1; dr <= 1; ++dr)
      for (int dc = -1; dc <= 1; ++dc) {
        const int r = p.r + dr, c = p.c + dc;
        if (r < 0 || c < 0 || r >= index->rows || c >= index->cols) continue;
        const int32_t q = index->at<int32_t>(r, c);
        if (q >= 0 && !keep[static_cast<size_t>(q)]) keep[static_cast<size_t>(q)] = 1, work.push_back(q);
      }
  }
  for (size_t i = 0; i < pts.size(); ++i)
    if (!keep[i]) index->at<int32_t>(pts[i].r, pts[i].c) = -1;
}

void AlignNormals(std::vector<EdgePoint>* pts, const cv::Mat& index) {
  std::vector<char> seen(pts->size(), 0);
  std::vector<int32_t> work;
  for (size_t s = 0; s < pts->size(); ++s) {
    if (seen[s]) continue;
    seen[s] = 1;
    work.push_back(static_cast<int32_t>(s));
    while (!work.empty()) {
      const EdgePoint p = (*pts)[static_cast<size_t>(work.back())];
      work.pop_back();
      for (int dr = -1; dr <= 1; ++dr)
        for (int dc = -1; dc <= 1; ++dc) {
          const int32_t q = index.at<int32_t>(p.r + dr, p.c + dc);
          if (q < 0 || seen[static_cast<size_t>(q)]) continue;
          EdgePoint& e = (*pts)[static_cast<size_t>(q)];
          if (e.nr * p.nr + e.nc * p.nc < 0) e.nr = -e.nr, e.nc = -e.nc;
          seen[static_cast<size_t>(q)] = 1;
          work.push_back(q);
        }
    }
  }
}

std::vector<Chain> LinkChains(const std::vector<EdgePoint>& pts, const cv::Mat& index) {
  const size_t n = pts.size();
  auto kept = [&](size_t i) { return index.at<int32_t>(pts[i].r, pts[i].c) >= 0; };
  std::vector<int32_t> next(n, -1), prev(n, -1);
  for (size_t i = 0; i < n; ++i) {
    if (!kept(i)) continue;
    const int32_t f = Neighbour(pts, index, pts[i], 1);
    if (f >= 0 && Neighbour(pts, index, pts[static_cast<size_t>(f)], -1) == static_cast<int32_t>(i)) {
      next[i] = f;
      prev[static_cast<size_t>(f)] = static_cast<int32_t>(i);
    }
  }
  std::vector<char> done(n, 0);
  std::vector<Chain> out;
  auto follow = [&](size_t start) {
    Chain chain;
    int32_t k = static_cast<int32_t>(start);
    while (k >= 0 && !done[static_cast<size_t>(k)]) {
      done[static_cast<size_t>(k)] = 1;
      chain.points.push_back(k);
      k = next[static_cast<size_t>(k)];
    }
    chain.closed = k == static_cast<int32_t>(start) && chain.points.size() > 2;
    if (chain.points.size() > 1) out.push_back(std::move(chain));
  };
  // Open chains from their first point, then the loops.
  for (size_t i = 0; i < n; ++i)
    if (kept(i) && prev[i] < 0 && !done[i]) follow(i);
  for (size_t i = 0; i < n; ++i)
    if (kept(i) && !done[i]) follow(i);
  return out;
}

XldPtr EdgeContour(const std::vector<EdgePoint>& pts, const Chain& chain) {
  auto x = std::make_shared<Xld>();
  XldAttrib dir{"edge_direction", {}}, angle{"angle", {}}, response{"response", {}};
  const size_t n = chain.points.size() + (chain.closed ? 1 : 0);
  for (size_t k = 0; k < n; ++k) {
    const EdgePoint& p = pts[static_cast<size_t>(chain.points[k % chain.points.size()])];
    x->rows.push_back(p.sr);
    x->cols.push_back(p.sc);
    const double tangent = std::atan2(p.nc, p.nr);  // of (-nc, nr)
    dir.values.push_back(WrapAngle(tangent, 2 * M_PI));
    angle.values.push_back(WrapAngle(std::atan2(-p.nr, p.nc), M_PI));
    response.values.push_back(p.response);
  }
  x->attribs = {std::move(dir), std::move(angle), std::move(response)};
  return x;
}

double WrapAngle(double a, double period) {
  a = std::fmod(a, period);
  return a < 0 ? a + period : a;
}

}  // namespace xld
}  // namespace vexa
