// Regional extrema of images: local_max, local_min (all extrema of an
// image as one region), plateaus, lowlands (one region per extremum) and
// plateaus_center, lowlands_center (one pixel per extremum).
//
// An extremum is a plateau, a maximal 8-connected set of domain pixels of
// one gray value, whose other domain neighbours are all lower (maxima) or
// all higher (minima). Pixels outside the domain are not looked at.
// Extrema are numbered in the order of their first pixel in row order.
#include <cmath>
#include <vector>

#include "ops/imgseg/extrema.h"
#include "registry.h"

namespace vexa {

int LabelExtrema(const GrayGrid& grid, bool maxima, cv::Mat* labels) {
  *labels = cv::Mat::zeros(grid.values.size(), CV_32S);
  cv::Mat seen = cv::Mat::zeros(grid.values.size(), CV_8U);
  std::vector<cv::Point> plateau;
  int count = 0;
  for (int r = 0; r < grid.values.rows; ++r)
    for (int c = 0; c < grid.values.cols; ++c) {
      if (!grid.In(r, c) || seen.at<uint8_t>(r, c)) continue;
      const double v = grid.values.at<double>(r, c);
      bool extreme = true;
      plateau.assign(1, cv::Point(c, r));
      seen.at<uint8_t>(r, c) = 1;
      for (size_t k = 0; k < plateau.size(); ++k) {
        const cv::Point p = plateau[k];
        for (int n = 0; n < 8; ++n) {
          const int rr = p.y + kNeighbourDr[n], cc = p.x + kNeighbourDc[n];
          if (!grid.In(rr, cc)) continue;
          const double w = grid.values.at<double>(rr, cc);
          if (w == v) {
            if (!seen.at<uint8_t>(rr, cc)) {
              seen.at<uint8_t>(rr, cc) = 1;
              plateau.emplace_back(cc, rr);
            }
          } else if (maxima ? w > v : w < v) {
            extreme = false;
          }
        }
      }
      if (!extreme) continue;
      ++count;
      for (const cv::Point& p : plateau) labels->at<int32_t>(p.y, p.x) = count;
    }
  return count;
}

namespace {

enum class Output { kUnion, kEach, kCenter };

// The pixel of `region` nearest to its centre of gravity (the first in
// row order of equally near ones).
RegionPtr CenterPixel(const Region& region) {
  double best = HUGE_VAL;
  int32_t br = 0, bc = 0;
  for (const Chord& ch : region.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) {
      const double d = (ch.r - region.row()) * (ch.r - region.row()) +
                       (c - region.col()) * (c - region.col());
      if (d < best) {
        best = d;
        br = ch.r;
        bc = c;
      }
    }
  return Region::Rectangle(br, bc, br, bc);
}

Vresult Extrema(OpContext& ctx, bool maxima, Output output) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    GrayGrid grid;
    if (r == VRESULT_OK) r = GrayGridOf(image, &grid);
    if (r != VRESULT_OK) return r;
    cv::Mat labels;
    const int count = grid.box.empty() ? 0 : LabelExtrema(grid, maxima, &labels);
    if (output == Output::kUnion) {
      if (count > 0) labels.setTo(1, labels > 0);
      return AddRegions({count > 0 ? RegionsOfLabels(labels, grid.box, 1)[0] : Region::Empty()},
                        &out);
    }
    std::vector<RegionPtr> regions =
        count > 0 ? RegionsOfLabels(labels, grid.box, count) : std::vector<RegionPtr>{};
    if (output == Output::kCenter)
      for (RegionPtr& region : regions) region = CenterPixel(*region);
    return AddRegions(regions, &out);
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace

VEXA_OPERATOR(local_max) { return Extrema(ctx, true, Output::kUnion); }
VEXA_OPERATOR(local_min) { return Extrema(ctx, false, Output::kUnion); }
VEXA_OPERATOR(plateaus) { return Extrema(ctx, true, Output::kEach); }
VEXA_OPERATOR(lowlands) { return Extrema(ctx, false, Output::kEach); }
VEXA_OPERATOR(plateaus_center) { return Extrema(ctx, true, Output::kCenter); }
VEXA_OPERATOR(lowlands_center) { return Extrema(ctx, false, Output::kCenter); }

}  // namespace vexa
