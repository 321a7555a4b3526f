// The NCC search: exhaustive over angles and positions on the top pyramid
// level, candidates followed down the pyramid in small windows, then a
// quadratic fit of the score in angle, row and column.
#include <algorithm>
#include <cmath>

#include "gradient_pyramid.h"
#include "match_overlap.h"
#include "ncc_model.h"

namespace vexa {
namespace matching {
namespace {

// Top-level scores of a true match fall below the final score (coarse
// angles, blurred texture): candidates there need only this share of
// MinScore.
constexpr double kTopScoreShare = 0.6;
// Candidates followed down per wanted match, and at most.
constexpr size_t kCandidatesPerMatch = 8, kMaxCandidates = 400;

struct Peak {
  double row = 0, col = 0, score = -2;
};

// The correlation of the patch turned by `angle` with the reference point
// at the pixels within `radius` of (row, col) of `image`; the map's pixel
// (i, j) is the reference point at (top + i, left + j).
struct ScoreWindow {
  cv::Mat map;
  int top = 0, left = 0;
  bool empty() const { return map.empty(); }
};

ScoreWindow EvalWindow(const cv::Mat& image, const GrayPatch& patch, double angle, double row, double col,
                       int radius, bool ignore_polarity) {
  const RotatedPatch rp = RotatePatch(patch, angle);
  const int side = rp.gray.rows;
  const int y0 = std::max(0, static_cast<int>(std::lround(row)) - rp.centre - radius);
  const int x0 = std::max(0, static_cast<int>(std::lround(col)) - rp.centre - radius);
  const int y1 = std::min(image.rows, static_cast<int>(std::lround(row)) - rp.centre + radius + side);
  const int x1 = std::min(image.cols, static_cast<int>(std::lround(col)) - rp.centre + radius + side);
  ScoreWindow w;
  if (y1 - y0 < side || x1 - x0 < side) return w;
  w.map = MaskedNcc(image(cv::Range(y0, y1), cv::Range(x0, x1)), rp.gray, rp.mask);
  if (ignore_polarity) w.map = cv::abs(w.map);
  w.top = y0 + rp.centre;
  w.left = x0 + rp.centre;
  return w;
}

Peak BestIn(const ScoreWindow& w) {
  Peak p;
  if (w.empty()) return p;
  double best = 0;
  cv::Point at;
  cv::minMaxLoc(w.map, nullptr, &best, nullptr, &at);
  p.row = w.top + at.y;
  p.col = w.left + at.x;
  p.score = best;
  return p;
}

// The peak of the window refined by a parabola through its neighbours
// in row and in column.
Peak SubPixelPeak(const ScoreWindow& w) {
  Peak p = BestIn(w);
  if (w.empty()) return p;
  const int i = static_cast<int>(p.row) - w.top, j = static_cast<int>(p.col) - w.left;
  const auto at = [&](int y, int x) { return static_cast<double>(w.map.at<float>(y, x)); };
  // Each parabola also raises the score to its summit.
  const auto fit = [&](double before, double mid, double after, double* pos) {
    const double t = ParabolaPeak(before, mid, after);
    *pos += t;
    p.score += 0.25 * (after - before) * t;
  };
  const double mid = at(i, j);
  if (i > 0 && i + 1 < w.map.rows) fit(at(i - 1, j), mid, at(i + 1, j), &p.row);
  if (j > 0 && j + 1 < w.map.cols) fit(at(i, j - 1), mid, at(i, j + 1), &p.col);
  return p;
}

struct Candidate {
  double row, col, angle, score;
};

// Local maxima (3x3) of one top-level score map of at least `threshold`.
void CollectPeaks(const ScoreWindow& w, double angle, double threshold, std::vector<Candidate>* out) {
  const cv::Mat& m = w.map;
  for (int r = 0; r < m.rows; ++r)
    for (int c = 0; c < m.cols; ++c) {
      const float v = m.at<float>(r, c);
      if (v < threshold) continue;
      bool top = true;
      for (int dr = -1; dr <= 1 && top; ++dr)
        for (int dc = -1; dc <= 1 && top; ++dc) {
          const int y = r + dr, x = c + dc;
          if ((dr != 0 || dc != 0) && y >= 0 && y < m.rows && x >= 0 && x < m.cols)
            top = m.at<float>(y, x) < v || (m.at<float>(y, x) == v && (dr > 0 || (dr == 0 && dc > 0)));
        }
      if (top) out->push_back({static_cast<double>(w.top + r), static_cast<double>(w.left + c), angle, v});
    }
}

// Candidates best first, without those next to a better one in position
// and angle (the same object seen at a neighbouring angle).
std::vector<Candidate> Distinct(std::vector<Candidate> all, double angle_step, size_t limit) {
  std::sort(all.begin(), all.end(), [](const Candidate& a, const Candidate& b) { return a.score > b.score; });
  std::vector<Candidate> kept;
  for (const Candidate& c : all) {
    bool near = false;
    for (const Candidate& k : kept)
      near = near || (std::hypot(c.row - k.row, c.col - k.col) <= 2 &&
                      std::fabs(std::remainder(c.angle - k.angle, 2 * M_PI)) <= 1.5 * angle_step);
    if (!near) kept.push_back(c);
    if (kept.size() >= limit) break;
  }
  return kept;
}

}  // namespace

double AutoAngleStep(const GrayPatch& patch) {
  const double reach = RotatePatch(patch, 0).centre;
  return std::max(kMinAngleStep, std::atan(1.0 / std::max(1.0, reach)));
}

int AutoNumLevels(const GrayPatch& patch) {
  int levels = 1;
  while (levels < 6 && (std::min(patch.gray.rows, patch.gray.cols) >> levels) >= 8) ++levels;
  return levels;
}

std::vector<NccMatch> FindNccModel(const NccModelData& model, const cv::Mat& image, const Region* domain,
                                   const NccSearch& search) {
  const int wanted = search.num_levels > 0 ? std::min(search.num_levels, model.num_levels) : model.num_levels;
  const std::vector<GrayPatch> patches = PatchPyramid(model.patch, wanted);
  const std::vector<cv::Mat> images = MeanPyramid(image, static_cast<int>(patches.size()));
  int top = static_cast<int>(std::min(patches.size(), images.size())) - 1;
  while (top > 0 && 2 * RotatePatch(patches[top], 0).centre + 1 > std::min(images[top].rows, images[top].cols))
    --top;
  const auto step_at = [&](int l) { return std::min(model.angle_step * (1 << l), M_PI / 8); };
  const double lo = search.angle_start, hi = search.angle_start + search.angle_extent;
  const bool rotating = search.angle_extent > 0;

  // Top level: every angle, every position.
  std::vector<Candidate> found;
  const double threshold = top == 0 ? search.min_score : kTopScoreShare * search.min_score;
  for (double a : AngleRange(lo, search.angle_extent, step_at(top))) {
    const ScoreWindow w = EvalWindow(images[top], patches[top], a, images[top].rows / 2.0, images[top].cols / 2.0,
                                     std::max(images[top].rows, images[top].cols), model.ignore_polarity);
    if (!w.empty()) CollectPeaks(w, a, threshold, &found);
  }
  const size_t limit = search.num_matches > 0
                           ? std::min(kMaxCandidates, kCandidatesPerMatch * static_cast<size_t>(search.num_matches))
                           : kMaxCandidates;
  std::vector<NccMatch> matches;
  for (Candidate c : Distinct(std::move(found), step_at(top), limit)) {
    // Down the pyramid: the best of three angles in a small window.
    for (int l = top - 1; l >= 0; --l) {
      const double row = 2 * c.row + 0.5, col = 2 * c.col + 0.5, step = step_at(l);
      Peak best;
      double best_angle = c.angle;
      for (int k = rotating ? -1 : 0; k <= (rotating ? 1 : 0); ++k) {
        const double a = std::min(hi, std::max(lo, c.angle + k * step));
        const Peak p = BestIn(EvalWindow(images[l], patches[l], a, row, col, 2, model.ignore_polarity));
        if (p.score > best.score) best = p, best_angle = a;
      }
      c = {best.row, best.col, best_angle, best.score};
    }
    if (search.sub_pixel) {
      // The angle: parabolas through the scores at one step and then at
      // half a step to either side.
      for (double h = model.angle_step; rotating && h >= model.angle_step / 2; h /= 2) {
        double s[3];
        for (int k = -1; k <= 1; ++k)
          s[k + 1] = SubPixelPeak(EvalWindow(images[0], patches[0], c.angle + k * h, c.row, c.col, 1,
                                             model.ignore_polarity))
                         .score;
        if (s[1] >= s[0] && s[1] >= s[2])
          c.angle = std::min(hi, std::max(lo, c.angle + ParabolaPeak(s[0], s[1], s[2]) * h));
      }
      const Peak p = SubPixelPeak(EvalWindow(images[0], patches[0], c.angle, c.row, c.col, 1, model.ignore_polarity));
      if (p.score > -2) c = {p.row, p.col, c.angle, std::max(c.score, p.score)};
    }
    if (c.score < search.min_score) continue;
    if (domain != nullptr &&
        !domain->Contains(static_cast<int32_t>(std::lround(c.row)), static_cast<int32_t>(std::lround(c.col))))
      continue;
    matches.push_back({c.row, c.col, c.angle, std::min(1.0, c.score)});
  }

  std::sort(matches.begin(), matches.end(), [](const NccMatch& a, const NccMatch& b) { return a.score > b.score; });
  const GrayPatch& p = model.patch;
  const ModelBox box{-p.ref_row - 0.5, -p.ref_col - 0.5, p.gray.rows - 0.5 - p.ref_row, p.gray.cols - 0.5 - p.ref_col};
  std::vector<NccMatch> kept;
  for (const NccMatch& m : matches) {
    bool covered = false;
    for (const NccMatch& k : kept)
      covered = covered || PoseOverlap(box, {k.row, k.col, k.angle, 1, 1}, box, {m.row, m.col, m.angle, 1, 1}) >
                               search.max_overlap;
    if (!covered) kept.push_back(m);
    if (search.num_matches > 0 && static_cast<Vlong>(kept.size()) >= search.num_matches) break;
  }
  return kept;
}

}  // namespace matching
}  // namespace vexa
