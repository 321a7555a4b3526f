// watersheds and watersheds_threshold: the basins of the gray-value
// relief, flooded from its regional minima (8-neighbours, inside the
// domain).
//
// Flooding takes the pixels in order of gray value (equal values first
// come, first served) from the borders of the growing basins: a pixel
// whose labelled neighbours all belong to one basin joins it, one that
// touches two basins (or none, when reached only across a line) becomes
// part of the watershed lines.
//
// watersheds_threshold then merges neighbouring basins whose pass (the
// lowest watershed pixel between them) lies less than `threshold` above
// the higher of their two minima, lowest passes first, the merged basin
// keeping the lower minimum; the line pixels between merged basins join
// them.
#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <queue>
#include <tuple>
#include <vector>

#include "ops/imgseg/extrema.h"
#include "registry.h"

namespace vexa {
namespace {

// Label of watershed pixels; basins are 1..count.
constexpr int32_t kLine = -1;

struct Queued {
  double value;
  uint64_t order;
  int r, c;
  bool operator>(const Queued& o) const {
    return std::tie(value, order) > std::tie(o.value, o.order);
  }
};

// Floods the grid; labels: basins 1..count, kLine on watershed pixels.
int Flood(const GrayGrid& grid, cv::Mat* labels) {
  const int count = LabelExtrema(grid, false, labels);
  cv::Mat queued = cv::Mat::zeros(labels->size(), CV_8U);
  std::priority_queue<Queued, std::vector<Queued>, std::greater<Queued>> queue;
  uint64_t order = 0;
  auto push_neighbours = [&](int r, int c) {
    for (int n = 0; n < 8; ++n) {
      const int rr = r + kNeighbourDr[n], cc = c + kNeighbourDc[n];
      if (!grid.In(rr, cc) || labels->at<int32_t>(rr, cc) != 0 || queued.at<uint8_t>(rr, cc))
        continue;
      queued.at<uint8_t>(rr, cc) = 1;
      queue.push({grid.values.at<double>(rr, cc), order++, rr, cc});
    }
  };
  for (int r = 0; r < labels->rows; ++r)
    for (int c = 0; c < labels->cols; ++c)
      if (labels->at<int32_t>(r, c) > 0) push_neighbours(r, c);
  while (!queue.empty()) {
    const Queued q = queue.top();
    queue.pop();
    int32_t basin = 0;
    for (int n = 0; n < 8 && basin != kLine; ++n) {
      const int rr = q.r + kNeighbourDr[n], cc = q.c + kNeighbourDc[n];
      if (!grid.In(rr, cc)) continue;
      const int32_t l = labels->at<int32_t>(rr, cc);
      if (l <= 0) continue;
      basin = basin == 0 || basin == l ? l : kLine;
    }
    labels->at<int32_t>(q.r, q.c) = basin == 0 ? kLine : basin;
    // Line pixels pass the flood on too: in narrow parts of a domain the
    // pixels behind a line are reachable only across it (and become line
    // pixels when no basin reaches them otherwise).
    push_neighbours(q.r, q.c);
  }
  return count;
}

// Union-find over basins, each root keeping the basin's lowest value.
struct Basins {
  std::vector<int> parent;
  std::vector<double> minimum;
  int Find(int b) {
    while (parent[static_cast<size_t>(b)] != b)
      b = parent[static_cast<size_t>(b)] = parent[static_cast<size_t>(parent[static_cast<size_t>(b)])];
    return b;
  }
};

// Merges basins by their passes and relabels `labels` with the merged
// basins 1..n in the order of their first pixel; returns n.
int MergeByThreshold(const GrayGrid& grid, int count, double threshold, cv::Mat* labels) {
  Basins basins;
  basins.parent.resize(static_cast<size_t>(count) + 1);
  std::iota(basins.parent.begin(), basins.parent.end(), 0);
  basins.minimum.assign(static_cast<size_t>(count) + 1, HUGE_VAL);
  std::map<std::pair<int, int>, double> passes;
  for (int r = 0; r < labels->rows; ++r)
    for (int c = 0; c < labels->cols; ++c) {
      const int32_t l = labels->at<int32_t>(r, c);
      const double v = grid.values.at<double>(r, c);
      if (l > 0) basins.minimum[static_cast<size_t>(l)] = std::min(basins.minimum[static_cast<size_t>(l)], v);
      if (l != kLine) continue;
      std::vector<int> touching;
      for (int n = 0; n < 8; ++n) {
        const int rr = r + kNeighbourDr[n], cc = c + kNeighbourDc[n];
        if (grid.In(rr, cc) && labels->at<int32_t>(rr, cc) > 0)
          touching.push_back(labels->at<int32_t>(rr, cc));
      }
      for (size_t i = 0; i < touching.size(); ++i)
        for (size_t j = 0; j < touching.size(); ++j)
          if (touching[i] < touching[j]) {
            auto it = passes.emplace(std::make_pair(touching[i], touching[j]), v).first;
            it->second = std::min(it->second, v);
          }
    }
  std::vector<std::tuple<double, int, int>> order;
  for (const auto& p : passes) order.emplace_back(p.second, p.first.first, p.first.second);
  std::sort(order.begin(), order.end());
  for (const auto& [pass, a, b] : order) {
    const int ra = basins.Find(a), rb = basins.Find(b);
    if (ra == rb) continue;
    const double ma = basins.minimum[static_cast<size_t>(ra)];
    const double mb = basins.minimum[static_cast<size_t>(rb)];
    if (pass - std::max(ma, mb) >= threshold) continue;
    basins.parent[static_cast<size_t>(rb)] = ra;
    basins.minimum[static_cast<size_t>(ra)] = std::min(ma, mb);
  }
  // Line pixels whose basins all merged into one join it.
  cv::Mat merged = labels->clone();
  for (int r = 0; r < labels->rows; ++r)
    for (int c = 0; c < labels->cols; ++c) {
      const int32_t l = labels->at<int32_t>(r, c);
      if (l > 0) {
        merged.at<int32_t>(r, c) = basins.Find(l);
        continue;
      }
      if (l != kLine) continue;
      int root = 0;
      for (int n = 0; n < 8 && root != kLine; ++n) {
        const int rr = r + kNeighbourDr[n], cc = c + kNeighbourDc[n];
        if (!grid.In(rr, cc) || labels->at<int32_t>(rr, cc) <= 0) continue;
        const int f = basins.Find(labels->at<int32_t>(rr, cc));
        root = root == 0 || root == f ? f : kLine;
      }
      merged.at<int32_t>(r, c) = root > 0 ? root : 0;
    }
  // Number the merged basins by first pixel.
  std::vector<int32_t> number(static_cast<size_t>(count) + 1, 0);
  int n = 0;
  for (int r = 0; r < merged.rows; ++r)
    for (int c = 0; c < merged.cols; ++c) {
      int32_t& l = merged.at<int32_t>(r, c);
      if (l <= 0) continue;
      if (number[static_cast<size_t>(l)] == 0) number[static_cast<size_t>(l)] = ++n;
      l = number[static_cast<size_t>(l)];
    }
  *labels = merged;
  return n;
}

}  // namespace

VEXA_OPERATOR(watersheds) {
  NewKeys basins, lines;
  Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    GrayGrid grid;
    if (r == VRESULT_OK) r = GrayGridOf(image, &grid);
    if (r != VRESULT_OK) return r;
    if (grid.box.empty()) return AddRegions({Region::Empty()}, &lines);
    cv::Mat labels;
    const int count = Flood(grid, &labels);
    r = AddRegions(RegionsOfLabels(labels, grid.box, count), &basins);
    if (r != VRESULT_OK) return r;
    cv::Mat line_labels = cv::Mat::zeros(labels.size(), CV_32S);
    line_labels.setTo(1, labels == kLine);
    return AddRegions(RegionsOfLabels(line_labels, grid.box, 1), &lines);
  });
  if (rc == VRESULT_OK) rc = basins.HandOver(ctx, 1);
  if (rc == VRESULT_OK) rc = lines.HandOver(ctx, 2);
  return rc;
}

VEXA_OPERATOR(watersheds_threshold) {
  Vlong threshold = 0;
  Vresult rc = ctx.GetLong(0, &threshold);
  if (rc != VRESULT_OK) return rc;
  if (threshold < 0) return VERR_CTRL_VALUE(0);
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  GrayGrid grid;
  rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc == VRESULT_OK) rc = GrayGridOf(image, &grid);
  if (rc != VRESULT_OK) return rc;
  NewKeys basins;
  if (!grid.box.empty()) {
    cv::Mat labels;
    const int count = Flood(grid, &labels);
    const int merged = MergeByThreshold(grid, count, static_cast<double>(threshold), &labels);
    rc = AddRegions(RegionsOfLabels(labels, grid.box, merged), &basins);
    if (rc != VRESULT_OK) return rc;
  }
  return basins.HandOver(ctx, 1);
}

}  // namespace vexa
