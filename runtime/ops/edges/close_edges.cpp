// close_edges, close_edges_length: closing gaps of edge regions along the
// edge amplitude.
//
// From every end point of an edge (a pixel with exactly one 8-neighbour in
// the edge) a path goes on forwards, each step to the strongest of the
// three pixels straight ahead and 45 degrees to either side, as long as
// that pixel's amplitude is at least min_amplitude. The path closes a gap
// when one of those three pixels belongs to an edge other than the end
// point's own stretch (the end point and its neighbours); then the path's
// pixels join the edge. A path that fails (too weak, too long, leaving the
// image) adds nothing. close_edges_length stops paths after
// max_gap_length pixels; close_edges lets them run across the image.
// End points are taken in scan order and a closed gap is part of the edge
// for later paths.
#include <algorithm>
#include <vector>

#include "ops/common/cv_wrap.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// The 8 directions in turn around the pixel, so that k +- 1 are the
// directions 45 degrees beside k.
const int kDr[8] = {0, -1, -1, -1, 0, 1, 1, 1};
const int kDc[8] = {1, 1, 0, -1, -1, -1, 0, 1};

struct Gaps {
  cv::Mat edge;       // CV_8U over the image, 255 on edge pixels
  cv::Mat amplitude;  // CV_64F over the image
  double min_amplitude = 0;
  long max_length = 0;

  bool Inside(int r, int c) const { return r >= 0 && c >= 0 && r < edge.rows && c < edge.cols; }
  bool IsEdge(int r, int c) const { return Inside(r, c) && edge.at<uint8_t>(r, c) != 0; }

  int Neighbours(int r, int c, int* direction) const {
    int n = 0;
    for (int k = 0; k < 8; ++k)
      if (IsEdge(r + kDr[k], c + kDc[k])) {
        ++n;
        *direction = k;
      }
    return n;
  }

  // Follows the path from end point (r0, c0) whose only neighbour lies in
  // `back`; adds it to the edge when it closes a gap.
  void Close(int r0, int c0, int back) {
    std::vector<cv::Point> path;
    int r = r0, c = c0, dir = (back + 4) % 8;
    auto own = [&](int rr, int cc) { return std::abs(rr - r0) <= 1 && std::abs(cc - c0) <= 1; };
    for (;;) {
      int best = -1;
      double best_amp = 0;
      for (int turn : {0, -1, 1}) {
        const int k = (dir + turn + 8) % 8, rr = r + kDr[k], cc = c + kDc[k];
        if (!Inside(rr, cc)) continue;
        if (IsEdge(rr, cc) && !own(rr, cc)) {
          for (const cv::Point& p : path) edge.at<uint8_t>(p.y, p.x) = 255;
          return;
        }
        const double a = amplitude.at<double>(rr, cc);
        if (!IsEdge(rr, cc) && (best < 0 || a > best_amp)) {
          best = k;
          best_amp = a;
        }
      }
      if (best < 0 || best_amp < min_amplitude || static_cast<long>(path.size()) == max_length) return;
      r += kDr[best];
      c += kDc[best];
      dir = best;
      path.emplace_back(c, r);
    }
  }

  void CloseAll() {
    for (int r = 0; r < edge.rows; ++r)
      for (int c = 0; c < edge.cols; ++c) {
        int back = 0;
        if (edge.at<uint8_t>(r, c) != 0 && Neighbours(r, c, &back) == 1) Close(r, c, back);
      }
  }
};

// Reads the amplitude image (input 2) and min_amplitude; max_length -1
// lets paths run across the image.
Vresult CloseEdges(OpContext& ctx, long max_length) {
  db::ImageData image;
  Vlong min_amplitude = 0;
  Vresult rc = InpSingleImage(ctx, 2, &image);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &min_amplitude);
  if (rc != VRESULT_OK) return rc;
  if (min_amplitude < 0) return VERR_CTRL_VALUE(0);
  const PixelBuffer& amp = *image.channels[0];
  if (StoredCvDepth(amp.type()) < 0) return VERR_PIXEL_TYPE;
  Gaps gaps;
  CvHeaderOf(amp).convertTo(gaps.amplitude, CV_64F);
  gaps.min_amplitude = static_cast<double>(min_amplitude);
  gaps.max_length = max_length < 0 ? static_cast<long>(amp.width()) * amp.height() : max_length;
  const cv::Rect frame(0, 0, amp.width(), amp.height());
  return MapRegions(ctx, [&](const Region& edges, RegionPtr* out) {
    gaps.edge = MaskOfRegion(edges, frame);
    gaps.CloseAll();
    // Edge pixels outside the image stay as they were.
    *out = Region::Union(*RegionOfMask(gaps.edge, frame.tl()), edges);
    return VRESULT_OK;
  });
}

}  // namespace

VEXA_OPERATOR(close_edges) { return CloseEdges(ctx, -1); }

VEXA_OPERATOR(close_edges_length) {
  Vlong max_gap = 0;
  const Vresult rc = ctx.GetLong(1, &max_gap);
  if (rc != VRESULT_OK) return rc;
  if (max_gap < 1 || max_gap > 1 << 20) return VERR_CTRL_VALUE(1);
  return CloseEdges(ctx, static_cast<long>(max_gap));
}

}  // namespace vexa
