// The search for the best position (and angle) of a gray-value template:
// exhaustive on the top pyramid level, the best candidates followed down
// in small windows, a parabola through the errors around the minimum for
// sub-pixel positions and angles.
#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "gradient_pyramid.h"
#include "template_model.h"

namespace vexa {
namespace matching {
namespace {

// Candidates of the top level followed down.
constexpr size_t kTopCandidates = 10;
// Smallest side of the template on the top level searched.
constexpr int kMinTopSide = 8;

struct Spot {
  double row = 0, col = 0, angle = 0, error = 1e30;
};

// The smallest error of `m` at reference points within `radius` of
// (row, col) (any radius < 0: everywhere) that `allowed` accepts.
template <class Allowed>
Spot Smallest(const ErrorMap& m, double angle, double row, double col, double radius, Allowed&& allowed) {
  Spot best;
  for (int i = 0; i < m.map.rows; ++i)
    for (int j = 0; j < m.map.cols; ++j) {
      const double r = m.top + i, c = m.left + j, e = m.map.at<float>(i, j);
      if (e >= best.error || !allowed(r, c)) continue;
      if (radius >= 0 && (std::fabs(r - row) > radius + 0.5 || std::fabs(c - col) > radius + 0.5)) continue;
      best = {r, c, angle, e};
    }
  return best;
}

// The errors around (row, col) of `image` within `radius`.
ErrorMap ErrorsNear(const cv::Mat& image, const GrayPatch& patch, double offset, double angle, double row,
                    double col, int radius) {
  const int reach = std::max(patch.gray.rows, patch.gray.cols) + radius + 2;
  const int y0 = std::max(0, static_cast<int>(row) - reach), x0 = std::max(0, static_cast<int>(col) - reach);
  const int y1 = std::min(image.rows, static_cast<int>(row) + reach + 1);
  const int x1 = std::min(image.cols, static_cast<int>(col) + reach + 1);
  ErrorMap m;
  if (y1 <= y0 || x1 <= x0) return m;
  m = TemplateErrors(image(cv::Range(y0, y1), cv::Range(x0, x1)), patch, offset, angle);
  m.top += y0;
  m.left += x0;
  return m;
}

}  // namespace

ErrorMap TemplateErrors(const cv::Mat& image, const GrayPatch& patch, double gray_offset, double angle) {
  cv::Mat gray = patch.gray, mask = patch.mask;
  ErrorMap m;
  m.top = patch.ref_row;
  m.left = patch.ref_col;
  if (angle != 0) {
    const RotatedPatch rp = RotatePatch(patch, angle);
    gray = rp.gray, mask = rp.mask;
    m.top = m.left = rp.centre;
  }
  const double n = cv::countNonZero(mask);
  if (image.rows < gray.rows || image.cols < gray.cols || n < 1) return m;
  cv::Mat mask_f;
  mask.convertTo(mask_f, CV_32F);
  cv::Mat shifted = gray + gray_offset;
  cv::matchTemplate(image, shifted, m.map, cv::TM_SQDIFF, mask_f);
  cv::max(m.map, 0, m.map);
  cv::sqrt(m.map / n, m.map);
  return m;
}

TemplateMatch BestTemplateMatch(const TemplateData& t, const std::vector<cv::Mat>& images, const Region* domain,
                                double angle_start, double angle_extent, double max_error, bool sub_pixel,
                                int lowest) {
  const std::vector<GrayPatch> patches = PatchPyramid(t.patch, static_cast<int>(images.size()));
  int top = static_cast<int>(std::min(patches.size(), images.size())) - 1;
  // The top level must hold the template, and keep enough of it (8
  // pixels across) to tell the object from its surroundings.
  while (top > 0 && (patches[top].gray.rows > images[top].rows || patches[top].gray.cols > images[top].cols ||
                     std::min(patches[top].gray.rows, patches[top].gray.cols) < kMinTopSide))
    --top;
  lowest = std::min(lowest, top);
  const bool rotating = angle_extent > 0 && t.angle_step > 0;
  const auto step_at = [&](int l) { return std::min(t.angle_step * (1 << l), M_PI / 8); };
  const double lo = angle_start, hi = angle_start + angle_extent;
  int level = top;
  // Reference points must lie in the search domain (level-0 pixel).
  const auto allowed = [&](double r, double c) {
    return domain == nullptr ||
           domain->Contains(static_cast<int32_t>(std::lround(ToLevel0(r, level))),
                            static_cast<int32_t>(std::lround(ToLevel0(c, level))));
  };
  std::vector<Spot> spots;
  for (double a : rotating ? AngleRange(lo, angle_extent, step_at(top)) : std::vector<double>{0.0}) {
    const ErrorMap m = TemplateErrors(images[top], patches[top], t.gray_offset, a);
    if (!m.map.empty()) spots.push_back(Smallest(m, a, 0, 0, -1, allowed));
  }
  std::sort(spots.begin(), spots.end(), [](const Spot& a, const Spot& b) { return a.error < b.error; });
  if (spots.size() > kTopCandidates) spots.resize(kTopCandidates);
  Spot best;
  for (Spot s : spots) {
    for (level = top - 1; level >= lowest; --level) {
      const double row = 2 * s.row + 0.5, col = 2 * s.col + 0.5;
      Spot next;
      for (int k = rotating ? -1 : 0; k <= (rotating ? 1 : 0); ++k) {
        const double a = rotating ? std::min(hi, std::max(lo, s.angle + k * step_at(level))) : 0.0;
        const Spot here = Smallest(ErrorsNear(images[level], patches[level], t.gray_offset, a, row, col, 2), a,
                                   row, col, 2, allowed);
        if (here.error < next.error) next = here;
      }
      s = next;
    }
    level = lowest;
    if (s.error < best.error) best = s;
  }
  if (!(best.error <= max_error)) return TemplateMatch{};
  TemplateMatch out{best.row, best.col, best.angle, best.error};
  const auto to_level0 = [&](TemplateMatch m) {
    m.row = ToLevel0(m.row, lowest);
    m.col = ToLevel0(m.col, lowest);
    return m;
  };
  if (!sub_pixel) return to_level0(out);
  const cv::Mat& image = images[lowest];
  const GrayPatch& patch = patches[lowest];
  if (rotating) {
    double e[3];
    const double step = step_at(lowest);
    for (int k = -1; k <= 1; ++k)
      e[k + 1] = Smallest(ErrorsNear(image, patch, t.gray_offset, best.angle + k * step, best.row, best.col, 1), 0,
                          best.row, best.col, 1, allowed)
                     .error;
    if (e[1] <= e[0] && e[1] <= e[2])
      out.angle = std::min(hi, std::max(lo, best.angle + ParabolaPeak(-e[0], -e[1], -e[2]) * step));
  }
  const ErrorMap m = ErrorsNear(image, patch, t.gray_offset, out.angle, best.row, best.col, 1);
  const Spot at = Smallest(m, out.angle, best.row, best.col, 1, allowed);
  if (m.map.empty() || !(at.error <= max_error)) return to_level0(out);
  const int i = static_cast<int>(std::lround(at.row - m.top)), j = static_cast<int>(std::lround(at.col - m.left));
  const auto e = [&](int y, int x) { return -static_cast<double>(m.map.at<float>(y, x)); };
  out.row = at.row, out.col = at.col, out.error = at.error;
  if (i > 0 && i + 1 < m.map.rows) out.row += ParabolaPeak(e(i - 1, j), e(i, j), e(i + 1, j));
  if (j > 0 && j + 1 < m.map.cols) out.col += ParabolaPeak(e(i, j - 1), e(i, j), e(i, j + 1));
  return to_level0(out);
}

}  // namespace matching
}  // namespace vexa
