// get_shape_model_contours: the model points of one level as contours,
// in level-0 pixels relative to the model's origin, so that the contours
// of a match are these moved by its pose. Points closer than 1.5 pixels
// of their level are linked into one contour.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <map>

#include "ops/common/op_objects.h"
#include "registry.h"
#include "shape_model.h"
#include "xld_store.h"

namespace vexa {
namespace matching {
namespace {

constexpr double kLinkDistance = 1.5;

class PointGrid {
 public:
  explicit PointGrid(const std::vector<ModelPoint>& pts) : pts_(pts), used_(pts.size(), 0) {
    for (size_t i = 0; i < pts.size(); ++i) cells_[Cell(pts[i].r, pts[i].c)].push_back(i);
  }
  bool used(size_t i) const { return used_[i] != 0; }
  void Use(size_t i) { used_[i] = 1; }
  // The nearest unused point within the link distance of point `i`, or -1.
  long Nearest(size_t i) const {
    const ModelPoint& p = pts_[i];
    const std::pair<long, long> home = Cell(p.r, p.c);
    long best = -1;
    double best_d = kLinkDistance;
    for (long dr = -2; dr <= 2; ++dr)
      for (long dc = -2; dc <= 2; ++dc) {
        const auto it = cells_.find({home.first + dr, home.second + dc});
        if (it == cells_.end()) continue;
        for (size_t j : it->second) {
          const double d = std::hypot(pts_[j].r - p.r, pts_[j].c - p.c);
          if (!used_[j] && d < best_d) {
            best_d = d;
            best = static_cast<long>(j);
          }
        }
      }
    return best;
  }

 private:
  static std::pair<long, long> Cell(float r, float c) { return {std::lround(r), std::lround(c)}; }
  const std::vector<ModelPoint>& pts_;
  std::vector<char> used_;
  std::map<std::pair<long, long>, std::vector<size_t>> cells_;
};

std::vector<std::deque<size_t>> Chains(const std::vector<ModelPoint>& pts) {
  // Start chains in raster order, so the result does not depend on the
  // stored (shuffled) order more than necessary.
  std::vector<size_t> order(pts.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::sort(order.begin(), order.end(), [&](size_t a, size_t b) {
    return pts[a].r != pts[b].r ? pts[a].r < pts[b].r : pts[a].c < pts[b].c;
  });
  PointGrid grid(pts);
  std::vector<std::deque<size_t>> chains;
  for (size_t start : order) {
    if (grid.used(start)) continue;
    grid.Use(start);
    std::deque<size_t> chain{start};
    for (long next; (next = grid.Nearest(chain.back())) >= 0;) {
      grid.Use(static_cast<size_t>(next));
      chain.push_back(static_cast<size_t>(next));
    }
    for (long prev; (prev = grid.Nearest(chain.front())) >= 0;) {
      grid.Use(static_cast<size_t>(prev));
      chain.push_front(static_cast<size_t>(prev));
    }
    chains.push_back(std::move(chain));
  }
  return chains;
}

}  // namespace

VEXA_OPERATOR(get_shape_model_contours) {
  ShapeModel model;
  Vlong level = 0;
  Vresult rc = InpShapeModel(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &level);
  if (rc != VRESULT_OK) return rc;
  if (level < 1 || level > static_cast<Vlong>(model.levels->size())) return VERR_CTRL_VALUE(1);
  const int l = static_cast<int>(level) - 1;
  const std::vector<ModelPoint>& pts = (*model.levels)[l].points;
  const double scale = 1 << l;
  NewKeys keys;
  for (const std::deque<size_t>& chain : Chains(pts)) {
    auto xld = std::make_shared<Xld>();
    for (size_t i : chain) {
      xld->rows.push_back(static_cast<float>(pts[i].r * scale - model.origin_row));
      xld->cols.push_back(static_cast<float>(pts[i].c * scale - model.origin_col));
    }
    Vkey key = VKEY_UNDEF;
    rc = db::NewXld(std::move(xld), &key);
    if (rc != VRESULT_OK) return rc;
    keys.Add(key);
  }
  return keys.HandOver(ctx, 1);
}

}  // namespace matching
}  // namespace vexa
