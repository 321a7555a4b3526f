#include "model_build.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "gradient_pyramid.h"
#include "pose_refine.h"

namespace vexa {
namespace matching {
namespace {

struct EdgePixel {
  int r, c;
  float mag;
};

// Bilinear sample of a float matrix; 0 outside.
float Sample(const cv::Mat& m, double r, double c) {
  const int r0 = static_cast<int>(std::floor(r)), c0 = static_cast<int>(std::floor(c));
  if (r0 < 0 || c0 < 0 || r0 + 1 >= m.rows || c0 + 1 >= m.cols) return 0.0f;
  const float fr = static_cast<float>(r - r0), fc = static_cast<float>(c - c0);
  const float* a = m.ptr<float>(r0);
  const float* b = m.ptr<float>(r0 + 1);
  return (1 - fr) * ((1 - fc) * a[c0] + fc * a[c0 + 1]) + fr * ((1 - fc) * b[c0] + fc * b[c0 + 1]);
}

// Pixels inside `mask` (and off the image border) whose magnitude is at
// least `low` and not below either neighbour across the edge (the gradient
// direction rounded to one of four).
std::vector<EdgePixel> ThinnedEdges(const cv::Mat& gr, const cv::Mat& gc, const cv::Mat& mag,
                                    const cv::Mat& mask, double low) {
  std::vector<EdgePixel> out;
  for (int r = 1; r + 1 < mag.rows; ++r) {
    for (int c = 1; c + 1 < mag.cols; ++c) {
      const float m = mag.at<float>(r, c);
      if (m < low || m <= 0 || mask.at<float>(r, c) < 0.5f) continue;
      const float vr = gr.at<float>(r, c), vc = gc.at<float>(r, c);
      int dr = 0, dc = 0;
      if (std::fabs(vc) > 2.4142f * std::fabs(vr)) {
        dc = 1;
      } else if (std::fabs(vr) > 2.4142f * std::fabs(vc)) {
        dr = 1;
      } else {
        dr = 1;
        dc = (vr > 0) == (vc > 0) ? 1 : -1;
      }
      // Strict on one side, so a plateau of two equal pixels keeps one.
      if (m > mag.at<float>(r - dr, c - dc) && m >= mag.at<float>(r + dr, c + dc))
        out.push_back({r, c, m});
    }
  }
  return out;
}

// Keeps the 8-connected groups of `edges` that hold a pixel of at least
// `high` and at least `min_size` pixels.
std::vector<EdgePixel> Hysteresis(const std::vector<EdgePixel>& edges, int width, int height,
                                  double high, double min_size) {
  std::vector<int32_t> index(static_cast<size_t>(width) * height, -1);
  for (size_t i = 0; i < edges.size(); ++i)
    index[static_cast<size_t>(edges[i].r) * width + edges[i].c] = static_cast<int32_t>(i);
  std::vector<char> seen(edges.size(), 0);
  std::vector<EdgePixel> kept;
  std::vector<int32_t> group, stack;
  for (size_t start = 0; start < edges.size(); ++start) {
    if (seen[start]) continue;
    group.clear();
    stack.assign(1, static_cast<int32_t>(start));
    seen[start] = 1;
    bool strong = false;
    while (!stack.empty()) {
      const EdgePixel& e = edges[stack.back()];
      group.push_back(stack.back());
      stack.pop_back();
      strong = strong || e.mag >= high;
      for (int dr = -1; dr <= 1; ++dr)
        for (int dc = -1; dc <= 1; ++dc) {
          const int r = e.r + dr, c = e.c + dc;
          if (r < 0 || c < 0 || r >= height || c >= width) continue;
          const int32_t j = index[static_cast<size_t>(r) * width + c];
          if (j >= 0 && !seen[j]) {
            seen[j] = 1;
            stack.push_back(j);
          }
        }
    }
    if (strong && static_cast<double>(group.size()) >= min_size)
      for (int32_t i : group) kept.push_back(edges[i]);
  }
  return kept;
}

// Otsu's threshold of the magnitudes of `edges`: the contrast that best
// separates the object's edges from texture and noise.
double OtsuContrast(const std::vector<EdgePixel>& edges) {
  float top = 0;
  for (const EdgePixel& e : edges) top = std::max(top, e.mag);
  if (top <= 0) return 1;
  constexpr int kBins = 256;
  std::vector<double> hist(kBins, 0.0);
  for (const EdgePixel& e : edges)
    hist[std::min(kBins - 1, static_cast<int>(e.mag / top * (kBins - 1)))] += 1;
  double total = 0, total_sum = 0;
  for (int i = 0; i < kBins; ++i) {
    total += hist[i];
    total_sum += i * hist[i];
  }
  double w0 = 0, sum0 = 0, best = -1;
  int best_i = 0;
  for (int i = 0; i < kBins - 1; ++i) {
    w0 += hist[i];
    sum0 += i * hist[i];
    const double w1 = total - w0;
    if (w0 == 0 || w1 == 0) continue;
    const double m0 = sum0 / w0, m1 = (total_sum - sum0) / w1;
    const double between = w0 * w1 * (m0 - m1) * (m0 - m1);
    if (between > best) {
      best = between;
      best_i = i;
    }
  }
  return std::max(1.0, (best_i + 1) * static_cast<double>(top) / (kBins - 1));
}

// The model points of one level: edge pixels moved across the edge to
// its sub-pixel position, relative to (ref_r, ref_c), in a fixed
// pseudo-random order. With smoothed gradients (level 0) the position is
// found as the least-squares refinement finds edges in a search image, so
// that both carry the same small bias; otherwise by a parabola through the
// magnitudes across the edge.
std::vector<ModelPoint> ToModelPoints(const std::vector<EdgePixel>& edges, const cv::Mat& gr,
                                      const cv::Mat& gc, const cv::Mat& mag,
                                      const cv::Mat* smooth_r, const cv::Mat* smooth_c,
                                      double ref_r, double ref_c, int reduction) {
  std::vector<ModelPoint> points;
  for (size_t i = 0; i < edges.size(); i += 1 + reduction) {
    const EdgePixel& e = edges[i];
    const double ur = gr.at<float>(e.r, e.c) / e.mag, uc = gc.at<float>(e.r, e.c) / e.mag;
    double shift = 0;
    if (smooth_r == nullptr || !EdgeOffset(*smooth_r, *smooth_c, e.r, e.c, ur, uc,
                                           Metric::kUsePolarity, 0, &shift)) {
      const double before = Sample(mag, e.r - ur, e.c - uc), after = Sample(mag, e.r + ur, e.c + uc);
      const double curvature = before - 2 * e.mag + after;
      shift = curvature < 0 ? 0.5 * (before - after) / curvature : 0;
    }
    shift = std::max(-1.0, std::min(1.0, shift));
    points.push_back({static_cast<float>(e.r + shift * ur - ref_r),
                      static_cast<float>(e.c + shift * uc - ref_c), static_cast<float>(ur),
                      static_cast<float>(uc)});
  }
  ShufflePoints(&points);
  return points;
}

}  // namespace

cv::Mat RegionMask(const Region& region, int width, int height) {
  cv::Mat mask(height, width, CV_32F, cv::Scalar(0));
  for (const Chord& ch : region.chords()) {
    if (ch.r < 0 || ch.r >= height) continue;
    const int cb = std::max(ch.cb, 0), ce = std::min(ch.ce, width - 1);
    float* row = mask.ptr<float>(ch.r);
    for (int c = cb; c <= ce; ++c) row[c] = 1.0f;
  }
  return mask;
}

void ShufflePoints(std::vector<ModelPoint>* points) {
  // Fisher-Yates with a fixed linear congruential generator: the same
  // order on every platform.
  uint64_t state = 0x9E3779B97F4A7C15ull;
  for (size_t i = points->size(); i > 1; --i) {
    state = state * 6364136223846793005ull + 1442695040888963407ull;
    std::swap((*points)[i - 1], (*points)[(state >> 33) % i]);
  }
}

void SetLevelSteps(double angle_step, const double scale_step[2], double scale_reach,
                   std::vector<ModelLevel>* levels) {
  for (size_t l = 0; l < levels->size(); ++l) {
    ModelLevel& level = (*levels)[l];
    const double radius = level.radius * std::max(1.0, scale_reach);
    const double factor = static_cast<double>(1 << l);
    level.angle_step = l == 0 && angle_step > 0 ? angle_step
                                                : std::max(AngleStepForRadius(radius), angle_step * factor);
    for (int axis = 0; axis < 2; ++axis)
      level.scale_step[axis] = l == 0 && scale_step[axis] > 0
                                   ? scale_step[axis]
                                   : std::max(ScaleStepForRadius(radius), scale_step[axis] * factor);
  }
}

Vresult BuildShapeModel(const cv::Mat& image, const Region& region, const BuildRequest& request,
                        ShapeModel* model) {
  if (region.empty()) return VERR_MODEL_POINTS;
  const int want = request.num_levels > 0 ? request.num_levels : kMaxModelLevels;
  const std::vector<cv::Mat> gray = MeanPyramid(image, want);
  const std::vector<cv::Mat> masks = MeanPyramid(RegionMask(region, image.cols, image.rows), want);
  ShapeModelParams& p = model->params;
  model->ref_row = region.row();
  model->ref_col = region.col();

  auto levels = std::make_shared<std::vector<ModelLevel>>();
  for (size_t l = 0; l < gray.size(); ++l) {
    cv::Mat gr, gc, mag;
    Gradients(gray[l], &gr, &gc);
    cv::magnitude(gr, gc, mag);
    if (l == 0 && request.contrast.empty()) {
      const double t = OtsuContrast(ThinnedEdges(gr, gc, mag, masks[0], 1.0));
      p.contrast = {0.6 * t, t};
    } else if (l == 0) {
      p.contrast = request.contrast;
    }
    const double low = p.contrast[0];
    const double high = p.contrast.size() > 1 ? p.contrast[1] : low;
    const double min_size = p.contrast.size() > 2 ? p.contrast[2] : 0;
    std::vector<EdgePixel> edges = ThinnedEdges(gr, gc, mag, masks[l], low);
    if (high > low || min_size > 1) edges = Hysteresis(edges, mag.cols, mag.rows, high, min_size);
    cv::Mat smooth_r, smooth_c;
    if (l == 0) SmoothedGradients(gray[0], &smooth_r, &smooth_c);
    ModelLevel level;
    level.points = ToModelPoints(edges, gr, gc, mag, l == 0 ? &smooth_r : nullptr,
                                 l == 0 ? &smooth_c : nullptr,
                                 FromLevel0(model->ref_row, static_cast<int>(l)),
                                 FromLevel0(model->ref_col, static_cast<int>(l)),
                                 request.point_reduction);
    if (level.points.size() < kMinModelPoints) break;
    for (const ModelPoint& mp : level.points)
      level.radius = std::max(level.radius, std::hypot(static_cast<double>(mp.r), static_cast<double>(mp.c)));
    // Without a level count, stop where the object gets too small to be
    // told apart from clutter reliably.
    if (request.num_levels == 0 && l > 0 && (level.points.size() < 4 * kMinModelPoints || level.radius < 6))
      break;
    levels->push_back(std::move(level));
  }
  if (levels->empty()) return VERR_MODEL_POINTS;
  SetLevelSteps(request.angle_step, request.scale_step, std::max(p.scale_max[0], p.scale_max[1]),
                levels.get());
  p.num_levels = static_cast<int>(levels->size());
  p.angle_step = levels->front().angle_step;
  for (int axis = 0; axis < 2; ++axis) p.scale_step[axis] = levels->front().scale_step[axis];
  p.min_contrast = request.min_contrast >= 0 ? request.min_contrast
                                             : std::max(1.0, std::round(p.contrast[0] / 3));
  model->levels = std::move(levels);
  return VRESULT_OK;
}

}  // namespace matching
}  // namespace vexa
