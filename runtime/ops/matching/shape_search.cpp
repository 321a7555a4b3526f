#include "shape_search.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <thread>

#include "gradient_pyramid.h"
#include "match_overlap.h"
#include "pose_refine.h"
#include "shape_score.h"

namespace vexa {
namespace matching {
namespace {

struct Candidate {
  int r, c;      // reference pixel on the current level
  double angle;  // radians
  float score;
};

// Best first; ties by pose, so the order never depends on threads.
bool Better(const Candidate& a, const Candidate& b) {
  if (a.score != b.score) return a.score > b.score;
  if (a.r != b.r) return a.r < b.r;
  if (a.c != b.c) return a.c < b.c;
  return a.angle < b.angle;
}

// What the search of one image needs per level.
struct LevelData {
  DirectionPlanes dirs;
  std::vector<unsigned char> allowed;  // reference pixel may lie here (empty: everywhere)
};

int ThreadCount(size_t jobs) {
  int n = static_cast<int>(std::thread::hardware_concurrency());
  if (const char* env = std::getenv("VEXA_MATCHING_THREADS")) n = std::atoi(env);
  n = std::max(1, std::min(n, 8));
  return static_cast<int>(std::min<size_t>(static_cast<size_t>(n), std::max<size_t>(jobs, 1)));
}

double LevelMinScore(const SearchRequest& q, int level, int top) {
  if (level <= q.lowest_level || top <= q.lowest_level) return q.min_score;
  return q.min_score * (1.0 - 0.2 * (level - q.lowest_level) / (top - q.lowest_level));
}

// Candidates within `r_reach` pixels and `a_reach` radians of a better one
// are dropped; at most `limit` remain.
void Deduplicate(std::vector<Candidate>* cands, int reach, double a_reach, size_t limit) {
  std::sort(cands->begin(), cands->end(), Better);
  std::vector<Candidate> kept;
  for (const Candidate& c : *cands) {
    bool near = false;
    for (const Candidate& k : kept) {
      if (std::abs(k.r - c.r) <= reach && std::abs(k.c - c.c) <= reach &&
          std::fabs(std::remainder(k.angle - c.angle, 2 * M_PI)) <= a_reach) {
        near = true;
        break;
      }
    }
    if (!near) kept.push_back(c);
    if (kept.size() >= limit) break;
  }
  cands->swap(kept);
}

// Exhaustive search of one level over all pixels and the angles
// angle_start + k step, k in 0..count-1.
std::vector<Candidate> SearchTopLevel(const ModelLevel& level, const LevelData& data,
                                      Metric metric, double start, double step, int count,
                                      double min_score, double greediness) {
  const DirectionPlanes& d = data.dirs;
  const Termination term(level.points.size(), min_score, greediness);
  const int threads = ThreadCount(static_cast<size_t>(count));
  std::vector<std::vector<Candidate>> found(static_cast<size_t>(threads));
  auto work = [&](int t) {
    std::vector<RotatedPoint> pts;
    std::vector<float> map(static_cast<size_t>(d.width) * d.height);
    for (int k = t; k < count; k += threads) {
      const double angle = start + k * step;
      RotatePoints(level.points, angle, d.stride, &pts);
      for (int r = 0; r < d.height; ++r)
        for (int c = 0; c < d.width; ++c) {
          const size_t i = static_cast<size_t>(r) * d.width + c;
          map[i] = data.allowed.empty() || data.allowed[i] ? ScoreAt(metric, d, d.Index(r, c), pts, term)
                                                           : -1.0f;
        }
      // Local maxima of this angle's score map.
      for (int r = 0; r < d.height; ++r)
        for (int c = 0; c < d.width; ++c) {
          const float s = map[static_cast<size_t>(r) * d.width + c];
          if (s < min_score) continue;
          bool peak = true;
          for (int dr = -1; dr <= 1 && peak; ++dr)
            for (int dc = -1; dc <= 1; ++dc) {
              const int rr = r + dr, cc = c + dc;
              if ((dr || dc) && rr >= 0 && cc >= 0 && rr < d.height && cc < d.width &&
                  map[static_cast<size_t>(rr) * d.width + cc] > s) {
                peak = false;
                break;
              }
            }
          if (peak) found[static_cast<size_t>(t)].push_back({r, c, angle, s});
        }
    }
  };
  std::vector<std::thread> pool;
  for (int t = 1; t < threads; ++t) pool.emplace_back(work, t);
  work(0);
  for (std::thread& th : pool) th.join();
  std::vector<Candidate> all;
  for (auto& f : found) all.insert(all.end(), f.begin(), f.end());
  return all;
}

// The angle clamped into the searched range (a full circle wraps freely).
double ClampAngle(double a, const SearchRequest& q) {
  if (q.angle_extent >= 2 * M_PI) return a;
  return std::max(q.angle_start, std::min(q.angle_start + q.angle_extent, a));
}

// Best pose within +-2 pixels and +-1 angle step of `c` (already in this
// level's pixels), or a score below min_score.
Candidate Track(const ModelLevel& level, const LevelData& data, Metric metric, const Candidate& c,
                const SearchRequest& q, double min_score, std::vector<RotatedPoint>* pts) {
  const DirectionPlanes& d = data.dirs;
  const Termination term(level.points.size(), min_score, q.greediness);
  Candidate best = c;
  best.score = -1;
  for (int k = -1; k <= 1; ++k) {
    const double angle = ClampAngle(c.angle + k * level.angle_step, q);
    if (k != 0 && angle == ClampAngle(c.angle, q)) continue;
    RotatePoints(level.points, angle, d.stride, pts);
    for (int r = c.r - 2; r <= c.r + 2; ++r)
      for (int col = c.c - 2; col <= c.c + 2; ++col) {
        if (r < 0 || col < 0 || r >= d.height || col >= d.width) continue;
        if (!data.allowed.empty() && !data.allowed[static_cast<size_t>(r) * d.width + col]) continue;
        const float s = ScoreAt(metric, d, d.Index(r, col), *pts, term);
        if (s > best.score) best = {r, col, angle, s};
      }
  }
  return best;
}

// Unterminated score of `level` at a pose.
float PlainScore(const ModelLevel& level, const LevelData& data, Metric metric, int r, int c,
                 double angle, std::vector<RotatedPoint>* pts) {
  if (r < 0 || c < 0 || r >= data.dirs.height || c >= data.dirs.width) return 0;
  RotatePoints(level.points, angle, data.dirs.stride, pts);
  return std::max(0.0f, ScoreAt(metric, data.dirs, data.dirs.Index(r, c), *pts,
                                Termination(level.points.size(), 0, 0)));
}

// Vertex of the parabola through (-1, a), (0, b), (1, c), within +-0.5.
double ParabolaPeak(double a, double b, double c) {
  const double curvature = a - 2 * b + c;
  if (curvature >= 0) return 0;
  return std::max(-0.5, std::min(0.5, 0.5 * (a - c) / curvature));
}

Pose InterpolatedPose(const ModelLevel& level, const LevelData& data, Metric metric,
                      const Candidate& c, std::vector<RotatedPoint>* pts) {
  auto s = [&](int dr, int dc, double da) {
    return PlainScore(level, data, metric, c.r + dr, c.c + dc, c.angle + da, pts);
  };
  const double s0 = s(0, 0, 0);
  const double step = level.angle_step;
  return {c.r + ParabolaPeak(s(-1, 0, 0), s0, s(1, 0, 0)),
          c.c + ParabolaPeak(s(0, -1, 0), s0, s(0, 1, 0)),
          c.angle + step * ParabolaPeak(s(0, 0, -step), s0, s(0, 0, step))};
}

}  // namespace

std::vector<Match> FindShapeModel(const ShapeModel& model, const cv::Mat& image,
                                  const Region* domain, const SearchRequest& q) {
  const std::vector<ModelLevel>& levels = *model.levels;
  const Metric metric = model.params.metric;
  int num_levels = static_cast<int>(levels.size());
  if (q.num_levels > 0) num_levels = std::min(num_levels, q.num_levels);
  const std::vector<cv::Mat> gray = MeanPyramid(image, num_levels);
  num_levels = static_cast<int>(gray.size());
  const int lowest = std::min(q.lowest_level, num_levels - 1);
  const int top = num_levels - 1;

  std::vector<LevelData> data(static_cast<size_t>(num_levels));
  cv::Mat grad_r0, grad_c0;
  for (int l = lowest; l <= top; ++l) {
    cv::Mat gr, gc;
    Gradients(gray[l], &gr, &gc);
    UnitDirections(gr, gc, model.params.min_contrast,
                   static_cast<int>(std::ceil(levels[l].radius)) + 2, &data[l].dirs);
    if (l == 0 && q.sub_pixel == SubPixel::kLeastSquares) SmoothedGradients(gray[0], &grad_r0, &grad_c0);
    if (domain != nullptr) {
      std::vector<unsigned char>& allowed = data[l].allowed;
      allowed.assign(static_cast<size_t>(gr.rows) * gr.cols, 0);
      for (int r = 0; r < gr.rows; ++r)
        for (int c = 0; c < gr.cols; ++c)
          allowed[static_cast<size_t>(r) * gr.cols + c] = domain->Contains(
              static_cast<int32_t>(std::lround(ToLevel0(r, l))), static_cast<int32_t>(std::lround(ToLevel0(c, l))));
    }
  }

  // Angle steps of the top level that cover the range evenly.
  const double top_step = levels[top].angle_step;
  const bool full_circle = q.angle_extent >= 2 * M_PI - 1e-9;
  int count = 1;
  double step = 0;
  if (full_circle) {
    count = static_cast<int>(std::ceil(2 * M_PI / top_step));
    step = 2 * M_PI / count;
  } else if (q.angle_extent > 0) {
    count = static_cast<int>(std::ceil(q.angle_extent / top_step)) + 1;
    step = q.angle_extent / (count - 1);
  }
  std::vector<Candidate> cands = SearchTopLevel(levels[top], data[top], metric, q.angle_start, step,
                                                count, LevelMinScore(q, top, top), q.greediness);
  constexpr size_t kMaxCandidates = 64;
  const size_t limit = std::max(kMaxCandidates, static_cast<size_t>(q.num_matches) * 4);
  Deduplicate(&cands, 1, top_step * 1.5, limit);

  std::vector<RotatedPoint> pts;
  for (int l = top - 1; l >= lowest; --l) {
    const double min_score = LevelMinScore(q, l, top);
    std::vector<Candidate> next;
    for (const Candidate& c : cands) {
      Candidate child = c;
      child.r = 2 * c.r;
      child.c = 2 * c.c;
      // The reference pixel's centre moves to 2 r + 0.5: searching +-2 around
      // 2 r covers it with room for the coarse level's error.
      const Candidate t = Track(levels[l], data[l], metric, child, q, min_score, &pts);
      if (t.score >= min_score) next.push_back(t);
    }
    Deduplicate(&next, 2, levels[l].angle_step * 1.5, limit);
    cands.swap(next);
  }

  // Poses in level-0 pixels, refined.
  std::vector<Match> matches;
  for (const Candidate& c : cands) {
    Pose pose{static_cast<double>(c.r), static_cast<double>(c.c), c.angle};
    if (q.sub_pixel != SubPixel::kNone) pose = InterpolatedPose(levels[lowest], data[lowest], metric, c, &pts);
    if (q.sub_pixel == SubPixel::kLeastSquares && lowest == 0)
      RefinePoseLeastSquares(levels[0].points, grad_r0, grad_c0, metric, model.params.min_contrast, &pose);
    matches.push_back({ToLevel0(pose.row, lowest), ToLevel0(pose.col, lowest), pose.angle, c.score});
  }
  std::stable_sort(matches.begin(), matches.end(),
                   [](const Match& a, const Match& b) { return a.score > b.score; });

  // Matches that overlap a better one too much are dropped.
  const ModelBox box = BoundingBox(levels[0].points);
  std::vector<Match> kept;
  for (const Match& m : matches) {
    bool covered = false;
    for (const Match& k : kept)
      if (PoseOverlap(box, k.row, k.col, k.angle, m.row, m.col, m.angle) > q.max_overlap) {
        covered = true;
        break;
      }
    if (!covered) kept.push_back(m);
    if (q.num_matches > 0 && static_cast<int>(kept.size()) >= q.num_matches) break;
  }
  return kept;
}

}  // namespace matching
}  // namespace vexa
