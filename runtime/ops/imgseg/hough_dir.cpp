// Line Hough transforms of direction images (hough_lines.h): each domain
// pixel with a direction (not 255) votes only for the normal angles within
// `direction_uncertainty` degrees of its gradient direction, since the
// gradient is normal to the edge line through it. A direction image holds
// the gradient angle in 2-degree steps, counter-clockwise from the column
// axis, as the line angles are measured.
#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "ops/filter/filter_support.h"
#include "ops/imgseg/hough_lines.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr uint8_t kNoDirection = 255;

// The pixels of the direction image that vote, and their directions.
struct DirectionVoters {
  std::vector<cv::Point> points;  // (col, row)
  std::vector<int> degrees;
  cv::Rect box;
};

Vresult ReadDirections(OpContext& ctx, DirectionVoters* voters) {
  db::ImageData image;
  const Vresult rc = InpSingleImage(ctx, 1, &image);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& px = *image.channels[0];
  if (px.type() != PixelType::kDirection && px.type() != PixelType::kByte) return VERR_PIXEL_TYPE;
  for (const Chord& ch : image.domain->chords()) {
    if (ch.r < 0 || ch.r >= px.height()) continue;
    const uint8_t* row = px.data() + static_cast<size_t>(ch.r) * px.width();
    for (int32_t c = std::max(ch.cb, 0); c <= std::min(ch.ce, px.width() - 1); ++c) {
      if (row[c] == kNoDirection || row[c] >= 180) continue;
      voters->points.emplace_back(c, ch.r);
      voters->degrees.push_back(2 * row[c]);
    }
  }
  voters->box = voters->points.empty() ? cv::Rect() : cv::boundingRect(voters->points);
  return VRESULT_OK;
}

// Votes of every voter for the angle columns within `uncertainty` degrees
// of its direction.
Vresult VoteDirections(const DirectionVoters& voters, int uncertainty, int resolution,
                       LineAccumulator* acc) {
  const Vresult rc = NewLineAccumulator(voters.box, resolution, acc);
  if (rc != VRESULT_OK) return rc;
  // A range wider than half a turn covers every column once.
  const int half = std::min(uncertainty * resolution, (acc->num_angles - 1) / 2);
  for (size_t k = 0; k < voters.points.size(); ++k) {
    const int centre = voters.degrees[k] * resolution;
    VoteLine(voters.points[k].y, voters.points[k].x, centre - half, centre + half, acc);
  }
  return VRESULT_OK;
}

Vresult ReadUncertainty(const OpContext& ctx, int par, int* degrees) {
  return ReadInt(ctx, par, 0, 90, degrees);
}

}  // namespace

VEXA_OPERATOR(hough_line_trans_dir) {
  int uncertainty = 0, resolution = 0;
  DirectionVoters voters;
  Vresult rc = ReadUncertainty(ctx, 0, &uncertainty);
  if (rc == VRESULT_OK) rc = ReadAngleResolution(ctx, 1, &resolution);
  if (rc == VRESULT_OK) rc = ReadDirections(ctx, &voters);
  LineAccumulator acc;
  if (rc == VRESULT_OK) rc = VoteDirections(voters, uncertainty, resolution, &acc);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  rc = VoteImage(acc.votes, &out);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// The accumulator smoothed ("mean" or "gauss" over filter_size x
// filter_size, odd, 1 to 21) before the strongest lines are taken
// (StrongestLines with `threshold`, angle_gap, dist_gap); the unsmoothed
// accumulator is the first output. With gen_lines "true" each line also
// gets the region of its voters within half a pixel of it whose direction
// lies within the uncertainty of its angle; "false" gives no regions.
VEXA_OPERATOR(hough_lines_dir) {
  int uncertainty = 0, resolution = 0, smoothing = 0, size = 0, gen_lines = 0;
  Vlong threshold = 0, angle_gap = 0, dist_gap = 0;
  DirectionVoters voters;
  Vresult rc = ReadUncertainty(ctx, 0, &uncertainty);
  if (rc == VRESULT_OK) rc = ReadAngleResolution(ctx, 1, &resolution);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 2, {"mean", "gauss"}, &smoothing);
  if (rc == VRESULT_OK) rc = ReadInt(ctx, 3, 1, 21, &size);
  if (rc == VRESULT_OK && size % 2 == 0) rc = VERR_CTRL_VALUE(3);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &threshold);
  if (rc == VRESULT_OK && threshold < 1) rc = VERR_CTRL_VALUE(4);
  if (rc == VRESULT_OK) rc = ctx.GetLong(5, &angle_gap);
  if (rc == VRESULT_OK && angle_gap < 0) rc = VERR_CTRL_VALUE(5);
  if (rc == VRESULT_OK) rc = ctx.GetLong(6, &dist_gap);
  if (rc == VRESULT_OK && dist_gap < 0) rc = VERR_CTRL_VALUE(6);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 7, {"false", "true"}, &gen_lines);
  if (rc == VRESULT_OK) rc = ReadDirections(ctx, &voters);
  LineAccumulator acc;
  if (rc == VRESULT_OK) rc = VoteDirections(voters, uncertainty, resolution, &acc);
  if (rc != VRESULT_OK) return rc;
  cv::Mat votes, smoothed;
  acc.votes.convertTo(votes, CV_64F);
  if (smoothing == 0)
    cv::blur(votes, smoothed, cv::Size(size, size), cv::Point(-1, -1), cv::BORDER_REFLECT_101);
  else
    cv::GaussianBlur(votes, smoothed, cv::Size(size, size), 0, 0, cv::BORDER_REFLECT_101);
  const std::vector<LinePeak> lines =
      StrongestLines(smoothed, acc, static_cast<double>(threshold), angle_gap, dist_gap);
  NewKeys image, regions;
  rc = VoteImage(acc.votes, &image);
  for (size_t l = 0; gen_lines && l < lines.size() && rc == VRESULT_OK; ++l) {
    const double phi = acc.Angle(lines[l].angle), dist = lines[l].row - acc.max_dist;
    const double degrees = phi * 180.0 / M_PI;
    std::vector<Chord> pixels;
    for (size_t k = 0; k < voters.points.size(); ++k) {
      const cv::Point& p = voters.points[k];
      // The direction's distance from the line's normal, either way round.
      const double off = std::fmod(std::fabs(voters.degrees[k] - degrees), 180.0);
      if (std::min(off, 180.0 - off) > uncertainty) continue;
      if (std::fabs(p.x * std::cos(phi) - p.y * std::sin(phi) - dist) <= 0.5) pixels.emplace_back(p.y, p.x, p.x);
    }
    Vkey key = VKEY_UNDEF;
    rc = db::NewRegion(Region::FromChords(std::move(pixels)), &key);
    if (rc == VRESULT_OK) regions.Add(key);
  }
  if (rc == VRESULT_OK) rc = image.HandOver(ctx, 1);
  if (rc == VRESULT_OK) rc = regions.HandOver(ctx, 2);
  return rc == VRESULT_OK ? OutpLines(ctx, acc, lines, 0) : rc;
}

}  // namespace vexa
