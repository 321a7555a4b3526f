// pouring: regions that water poured onto the gray-value relief turned
// upside down would fill, grown from the regional maxima (8-neighbours,
// inside the domain and the gray range [min_gray, max_gray]). Pixels are
// taken in order of falling gray value (equal values first come, first
// served) from the borders of the growing regions, and each joins the
// region that reached it first; there are no lines between regions.
// "maxima" gives the maxima's plateaus, "regions" the grown regions, "all"
// both, the maxima first.
#include <queue>
#include <tuple>
#include <vector>

#include "ops/filter/filter_support.h"
#include "ops/imgseg/extrema.h"
#include "registry.h"

namespace vexa {
namespace {

struct Queued {
  double value;
  uint64_t order;
  int r, c, label;
  // The highest value first; of equal values the earliest.
  bool operator<(const Queued& o) const {
    return std::tie(value, o.order) < std::tie(o.value, order);
  }
};

// Grows the labelled maxima over the grid.
void Pour(const GrayGrid& grid, cv::Mat* labels) {
  std::priority_queue<Queued> queue;
  cv::Mat queued = *labels != 0;
  uint64_t order = 0;
  auto push_neighbours = [&](int r, int c, int label) {
    for (int n = 0; n < 8; ++n) {
      const int rr = r + kNeighbourDr[n], cc = c + kNeighbourDc[n];
      if (!grid.In(rr, cc) || queued.at<uint8_t>(rr, cc)) continue;
      queued.at<uint8_t>(rr, cc) = 1;
      queue.push({grid.values.at<double>(rr, cc), order++, rr, cc, label});
    }
  };
  for (int r = 0; r < labels->rows; ++r)
    for (int c = 0; c < labels->cols; ++c)
      if (labels->at<int32_t>(r, c) > 0) push_neighbours(r, c, labels->at<int32_t>(r, c));
  while (!queue.empty()) {
    const Queued q = queue.top();
    queue.pop();
    labels->at<int32_t>(q.r, q.c) = q.label;
    push_neighbours(q.r, q.c, q.label);
  }
}

}  // namespace

VEXA_OPERATOR(pouring) {
  int mode = 0;
  Vlong min_gray = 0, max_gray = 0;
  db::ImageData image;
  GrayGrid grid;
  Vresult rc = ReadChoice(ctx, 0, {"all", "maxima", "regions"}, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &min_gray);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &max_gray);
  if (rc == VRESULT_OK && max_gray < min_gray) rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK) rc = InpSingleImage(ctx, 1, &image);
  if (rc == VRESULT_OK) rc = GrayGridOf(image, &grid);
  if (rc != VRESULT_OK) return rc;
  // Pixels outside the gray range take no part.
  grid.inside &= (grid.values >= static_cast<double>(min_gray)) &
                 (grid.values <= static_cast<double>(max_gray));
  cv::Mat labels;
  const int count = LabelExtrema(grid, true, &labels);
  NewKeys out;
  if (mode != 2) rc = AddRegions(RegionsOfLabels(labels, grid.box, count), &out);
  if (rc == VRESULT_OK && mode != 1) {
    Pour(grid, &labels);
    rc = AddRegions(RegionsOfLabels(labels, grid.box, count), &out);
  }
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
