#include "shape_search.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <new>
#include <system_error>
#include <thread>

#include "gradient_pyramid.h"
#include "match_overlap.h"
#include "pose_refine.h"
#include "shape_score.h"

namespace vexa {
namespace matching {
namespace {

struct Candidate {
  int r, c;  // reference pixel on the current level
  double angle, sr, sc;
  float score;
};

// Best first; ties by pose, so the order never depends on threads.
bool Better(const Candidate& a, const Candidate& b) {
  if (a.score != b.score) return a.score > b.score;
  if (a.r != b.r) return a.r < b.r;
  if (a.c != b.c) return a.c < b.c;
  if (a.angle != b.angle) return a.angle < b.angle;
  return a.sr != b.sr ? a.sr < b.sr : a.sc < b.sc;
}

// What the search of one image needs per level.
struct LevelData {
  DirectionPlanes dirs;
  std::vector<unsigned char> allowed;  // reference pixel may lie here (empty: everywhere)
  bool Allowed(int r, int c) const {
    return allowed.empty() || allowed[static_cast<size_t>(r) * dirs.width + c];
  }
};

// The scale pairs (rows, columns) a level searches.
using Scales = std::vector<std::pair<double, double>>;

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

// Values from lo to hi at most `step` apart, evenly (just lo when equal).
std::vector<double> EvenSteps(double lo, double hi, double step) {
  if (!(hi > lo) || !(step > 0)) return {lo};
  const int n = static_cast<int>(std::ceil((hi - lo) / step - 1e-9)) + 1;
  std::vector<double> v(static_cast<size_t>(n));
  for (int i = 0; i < n; ++i) v[static_cast<size_t>(i)] = lo + (hi - lo) * i / (n - 1);
  return v;
}

Scales TopScales(Scaling scaling, const SearchRequest& q, const ModelLevel& level) {
  const std::vector<double> rows = EvenSteps(q.scale_min[0], q.scale_max[0], level.scale_step[0]);
  if (scaling != Scaling::kAnisotropic) {
    Scales out;
    for (double s : rows) out.emplace_back(s, scaling == Scaling::kNone ? 1.0 : s);
    return out;
  }
  const std::vector<double> cols = EvenSteps(q.scale_min[1], q.scale_max[1], level.scale_step[1]);
  Scales out;
  for (double r : rows)
    for (double c : cols) out.emplace_back(r, c);
  return out;
}

// The scales within one step of (sr, sc), kept inside the searched range.
Scales NeighbourScales(Scaling scaling, const SearchRequest& q, const ModelLevel& level, double sr,
                       double sc) {
  auto clamp = [&](double v, int axis) { return std::max(q.scale_min[axis], std::min(q.scale_max[axis], v)); };
  Scales out;
  const int reach_r = scaling == Scaling::kNone ? 0 : 1;
  const int reach_c = scaling == Scaling::kAnisotropic ? 1 : 0;
  for (int i = -reach_r; i <= reach_r; ++i)
    for (int j = -reach_c; j <= reach_c; ++j) {
      const double r = clamp(sr + i * level.scale_step[0], 0);
      const double c = scaling == Scaling::kAnisotropic ? clamp(sc + j * level.scale_step[1], 1)
                                                        : scaling == Scaling::kNone ? sc : r;
      if (std::find(out.begin(), out.end(), std::make_pair(r, c)) == out.end()) out.emplace_back(r, c);
    }
  return out;
}

// Candidates within `reach` pixels, 1.5 angle steps and 1.5 scale steps of
// a better one are dropped; at most `limit` remain.
void Deduplicate(std::vector<Candidate>* cands, int reach, const ModelLevel& level, size_t limit) {
  std::sort(cands->begin(), cands->end(), Better);
  auto close = [](double a, double b, double step) { return std::fabs(a - b) <= 1.5 * step + 1e-12; };
  std::vector<Candidate> kept;
  for (const Candidate& c : *cands) {
    bool near = false;
    for (const Candidate& k : kept) {
      if (std::abs(k.r - c.r) <= reach && std::abs(k.c - c.c) <= reach &&
          std::fabs(std::remainder(k.angle - c.angle, 2 * M_PI)) <= 1.5 * level.angle_step &&
          close(k.sr, c.sr, level.scale_step[0]) && close(k.sc, c.sc, level.scale_step[1])) {
        near = true;
        break;
      }
    }
    if (!near) kept.push_back(c);
    if (kept.size() >= limit) break;
  }
  cands->swap(kept);
}

// Exhaustive search of one level over all pixels, `angles` and `scales`.
std::vector<Candidate> SearchTopLevel(const ModelLevel& level, const LevelData& data, Metric metric,
                                      const std::vector<double>& angles, const Scales& scales,
                                      double min_score, double greediness) {
  const DirectionPlanes& d = data.dirs;
  const Termination term(level.points.size(), min_score, greediness);
  const size_t jobs = angles.size() * scales.size();
  const int threads = ThreadCount(jobs);
  std::vector<std::vector<Candidate>> found(static_cast<size_t>(threads));
  // Jobs are handed out one by one, so any number of threads covers all.
  std::atomic<size_t> next_job{0};
  std::atomic<bool> out_of_memory{false};
  auto search = [&](int t) {
    std::vector<RotatedPoint> pts;
    std::vector<float> map(static_cast<size_t>(d.width) * d.height);
    for (size_t job; (job = next_job++) < jobs;) {
      const double angle = angles[job / scales.size()];
      const std::pair<double, double> scale = scales[job % scales.size()];
      PlacePoints(level.points, angle, scale.first, scale.second, d.stride, &pts);
      for (int r = 0; r < d.height; ++r)
        for (int c = 0; c < d.width; ++c)
          map[static_cast<size_t>(r) * d.width + c] =
              data.Allowed(r, c) ? ScoreAt(metric, d, d.Index(r, c), pts, term) : -1.0f;
      // Local maxima of this pose's score map.
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
          if (peak) found[static_cast<size_t>(t)].push_back({r, c, angle, scale.first, scale.second, s});
        }
    }
  };
  // An exception must not leave a thread: it is reported after the join.
  auto work = [&](int t) {
    try {
      search(t);
    } catch (const std::bad_alloc&) {
      out_of_memory = true;
      next_job = jobs;
    }
  };
  std::vector<std::thread> pool;
  try {
    for (int t = 1; t < threads; ++t) pool.emplace_back(work, t);
  } catch (const std::system_error&) {
    // No more threads to be had: those that started and this one do all.
  }
  work(0);
  for (std::thread& th : pool) th.join();
  if (out_of_memory) throw std::bad_alloc();
  std::vector<Candidate> all;
  for (auto& f : found) all.insert(all.end(), f.begin(), f.end());
  return all;
}

// The angle clamped into the searched range (a full circle wraps freely).
double ClampAngle(double a, const SearchRequest& q) {
  if (q.angle_extent >= 2 * M_PI) return a;
  return std::max(q.angle_start, std::min(q.angle_start + q.angle_extent, a));
}

// Best pose within +-2 pixels, +-1 angle step and +-1 scale step of `c`
// (already in this level's pixels); a score below min_score when none
// reaches it.
Candidate Track(const ModelLevel& level, const LevelData& data, Metric metric, Scaling scaling,
                const Candidate& c, const SearchRequest& q, double min_score,
                std::vector<RotatedPoint>* pts) {
  const DirectionPlanes& d = data.dirs;
  const Termination term(level.points.size(), min_score, q.greediness);
  Candidate best = c;
  best.score = -1;
  const Scales scales = NeighbourScales(scaling, q, level, c.sr, c.sc);
  for (int k = -1; k <= 1; ++k) {
    const double angle = ClampAngle(c.angle + k * level.angle_step, q);
    if (k != 0 && angle == ClampAngle(c.angle, q)) continue;
    for (const std::pair<double, double>& s : scales) {
      PlacePoints(level.points, angle, s.first, s.second, d.stride, pts);
      for (int r = std::max(0, c.r - 2); r <= std::min(d.height - 1, c.r + 2); ++r)
        for (int col = std::max(0, c.c - 2); col <= std::min(d.width - 1, c.c + 2); ++col) {
          if (!data.Allowed(r, col)) continue;
          const float score = ScoreAt(metric, d, d.Index(r, col), *pts, term);
          if (score > best.score) best = {r, col, angle, s.first, s.second, score};
        }
    }
  }
  return best;
}

// Vertex of the parabola through (-1, a), (0, b), (1, c), within +-0.5.
double ParabolaPeak(double a, double b, double c) {
  const double curvature = a - 2 * b + c;
  if (curvature >= 0) return 0;
  return std::max(-0.5, std::min(0.5, 0.5 * (a - c) / curvature));
}

// The candidate's pose moved to the vertices of parabolas through the
// unterminated scores one pixel and one angle step to either side.
Pose InterpolatedPose(const ModelLevel& level, const LevelData& data, Metric metric,
                      const Candidate& c, std::vector<RotatedPoint>* pts) {
  const Termination none(level.points.size(), 0, 0);
  auto s = [&](int dr, int dc, double da) -> double {
    const int r = c.r + dr, col = c.c + dc;
    if (r < 0 || col < 0 || r >= data.dirs.height || col >= data.dirs.width) return 0;
    PlacePoints(level.points, c.angle + da, c.sr, c.sc, data.dirs.stride, pts);
    return std::max(0.0f, ScoreAt(metric, data.dirs, data.dirs.Index(r, col), *pts, none));
  };
  const double s0 = s(0, 0, 0);
  const double step = level.angle_step;
  Pose pose;
  pose.row = c.r + ParabolaPeak(s(-1, 0, 0), s0, s(1, 0, 0));
  pose.col = c.c + ParabolaPeak(s(0, -1, 0), s0, s(0, 1, 0));
  pose.angle = c.angle + step * ParabolaPeak(s(0, 0, -step), s0, s(0, 0, step));
  pose.scale_r = c.sr;
  pose.scale_c = c.sc;
  return pose;
}

}  // namespace

std::vector<Match> FindShapeModel(const ShapeModel& model, const cv::Mat& image,
                                  const Region* domain, const SearchRequest& q) {
  const std::vector<ModelLevel>& levels = *model.levels;
  const Metric metric = model.params.metric;
  const Scaling scaling = q.scaling;
  int num_levels = static_cast<int>(levels.size());
  if (q.num_levels > 0) num_levels = std::min(num_levels, q.num_levels);
  const std::vector<cv::Mat> gray = MeanPyramid(image, num_levels);
  num_levels = static_cast<int>(gray.size());
  const int lowest = std::min(q.lowest_level, num_levels - 1);
  const int top = num_levels - 1;
  const double reach = std::max({q.scale_max[0], q.scale_max[1], 1.0});

  std::vector<LevelData> data(static_cast<size_t>(num_levels));
  cv::Mat grad_r0, grad_c0;
  for (int l = lowest; l <= top; ++l) {
    cv::Mat gr, gc;
    Gradients(gray[l], &gr, &gc);
    UnitDirections(gr, gc, model.params.min_contrast,
                   static_cast<int>(std::ceil(levels[l].radius * reach)) + 2, &data[l].dirs);
    if (domain != nullptr) {
      std::vector<unsigned char>& allowed = data[l].allowed;
      allowed.assign(static_cast<size_t>(gr.rows) * gr.cols, 0);
      for (int r = 0; r < gr.rows; ++r)
        for (int c = 0; c < gr.cols; ++c)
          allowed[static_cast<size_t>(r) * gr.cols + c] =
              domain->Contains(static_cast<int32_t>(std::lround(ToLevel0(r, l))),
                               static_cast<int32_t>(std::lround(ToLevel0(c, l))));
    }
  }
  if (lowest == 0 && q.sub_pixel == SubPixel::kLeastSquares) SmoothedGradients(gray[0], &grad_r0, &grad_c0);

  // Angle steps of the top level that cover the range evenly.
  const double top_step = levels[top].angle_step;
  std::vector<double> angles;
  if (q.angle_extent >= 2 * M_PI - 1e-9) {
    const int count = static_cast<int>(std::ceil(2 * M_PI / top_step));
    for (int k = 0; k < count; ++k) angles.push_back(q.angle_start + 2 * M_PI * k / count);
  } else {
    angles = EvenSteps(q.angle_start, q.angle_start + q.angle_extent, top_step);
  }
  std::vector<Candidate> cands =
      SearchTopLevel(levels[top], data[top], metric, angles, TopScales(scaling, q, levels[top]),
                     LevelMinScore(q, top, top), q.greediness);
  constexpr size_t kMaxCandidates = 64;
  const size_t limit = std::max(kMaxCandidates, static_cast<size_t>(q.num_matches) * 4);
  Deduplicate(&cands, 1, levels[top], limit);

  std::vector<RotatedPoint> pts;
  for (int l = top - 1; l >= lowest; --l) {
    const double min_score = LevelMinScore(q, l, top);
    std::vector<Candidate> next;
    for (const Candidate& c : cands) {
      // The reference pixel's centre moves to 2 r + 0.5: searching +-2
      // around 2 r covers it with room for the coarse level's error.
      Candidate child = c;
      child.r = 2 * c.r;
      child.c = 2 * c.c;
      const Candidate t = Track(levels[l], data[l], metric, scaling, child, q, min_score, &pts);
      if (t.score >= min_score) next.push_back(t);
    }
    Deduplicate(&next, 2, levels[l], limit);
    cands.swap(next);
  }

  // Poses in level-0 pixels, refined.
  std::vector<Match> matches;
  for (const Candidate& c : cands) {
    Pose pose;
    pose.row = c.r;
    pose.col = c.c;
    pose.angle = c.angle;
    pose.scale_r = c.sr;
    pose.scale_c = c.sc;
    if (q.sub_pixel != SubPixel::kNone) pose = InterpolatedPose(levels[lowest], data[lowest], metric, c, &pts);
    if (q.sub_pixel == SubPixel::kLeastSquares && lowest == 0)
      RefinePoseLeastSquares(levels[0].points, grad_r0, grad_c0, metric, scaling,
                             model.params.min_contrast, &pose);
    pose.row = ToLevel0(pose.row, lowest);
    pose.col = ToLevel0(pose.col, lowest);
    matches.push_back({pose, c.score});
  }
  std::stable_sort(matches.begin(), matches.end(),
                   [](const Match& a, const Match& b) { return a.score > b.score; });

  // Matches that overlap a better one too much are dropped.
  const ModelBox box = BoundingBox(levels[0].points);
  std::vector<Match> kept;
  for (const Match& m : matches) {
    bool covered = false;
    for (const Match& k : kept)
      if (PoseOverlap(box, k.pose, box, m.pose) > q.max_overlap) {
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
