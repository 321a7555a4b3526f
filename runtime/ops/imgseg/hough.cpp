// Hough transforms of regions: hough_line_trans, hough_lines,
// select_matching_lines, hough_circle_trans and hough_circles. Lines and
// the accumulator are those of hough_lines.h.
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/imgseg/hough_lines.h"
#include "registry.h"

namespace vexa {
namespace {

// The accumulator of every pixel of `region` voting for every angle.
Vresult VoteRegion(const Region& region, int resolution, LineAccumulator* acc) {
  const Vresult rc = NewLineAccumulator(BoxOf(region), resolution, acc);
  if (rc != VRESULT_OK) return rc;
  for (const Chord& ch : region.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) VoteLine(ch.r, c, 0, acc->num_angles - 1, acc);
  return VRESULT_OK;
}

Vresult InpRegionSingle(OpContext& ctx, RegionPtr* region) {
  Vkey key = VKEY_UNDEF;
  const Vresult rc = ctx.InpObjSingle(1, &key);
  return rc == VRESULT_OK ? InpRegion(1, key, region) : rc;
}

// A filled disc.
RegionPtr Disc(int32_t row, int32_t col, int32_t radius) {
  std::vector<Chord> chords;
  for (int32_t dr = -radius; dr <= radius; ++dr) {
    const auto half = static_cast<int32_t>(std::floor(std::sqrt(double(radius) * radius - dr * dr)));
    chords.push_back({row + dr, col - half, col + half});
  }
  return Region::FromCanonicalChords(std::move(chords));
}

// Reads the circle radius of control 0: 1..1000.
Vresult ReadRadius(const OpContext& ctx, int* radius) {
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(0, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 1 || v > 1000) return VERR_CTRL_VALUE(0);
  *radius = static_cast<int>(v);
  return VRESULT_OK;
}

// The pixels of the digital circle of radius `rad` about the origin, as
// (column, row) offsets, each once.
std::vector<cv::Point> Ring(int rad) {
  std::vector<cv::Point> ring;
  cv::Mat seen = cv::Mat::zeros(2 * rad + 1, 2 * rad + 1, CV_8U);
  const int steps = static_cast<int>(std::ceil(2 * M_PI * rad * 2));
  for (int s = 0; s < steps; ++s) {
    const double a = 2 * M_PI * s / steps;
    const int dc = static_cast<int>(std::lround(rad * std::cos(a)));
    const int dr = static_cast<int>(std::lround(rad * std::sin(a)));
    if (!seen.at<uint8_t>(dr + rad, dc + rad)) {
      seen.at<uint8_t>(dr + rad, dc + rad) = 1;
      ring.emplace_back(dc, dr);
    }
  }
  return ring;
}

// For every centre within `area`, the number of region pixels on the
// circle `ring` about it (CV_32S, area's size, origin at area's corner);
// votes for centres outside `area` are dropped.
cv::Mat CircleVotes(const Region& region, const std::vector<cv::Point>& ring, const cv::Rect& area) {
  cv::Mat votes = cv::Mat::zeros(area.size(), CV_32S);
  for (const Chord& ch : region.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c)
      for (const cv::Point& p : ring) {
        const int r = ch.r - area.y + p.y, col = c - area.x + p.x;
        if (r >= 0 && r < area.height && col >= 0 && col < area.width) ++votes.at<int32_t>(r, col);
      }
  return votes;
}

}  // namespace

VEXA_OPERATOR(hough_line_trans) {
  int resolution = 0;
  RegionPtr region;
  Vresult rc = ReadAngleResolution(ctx, 0, &resolution);
  if (rc == VRESULT_OK) rc = InpRegionSingle(ctx, &region);
  LineAccumulator acc;
  if (rc == VRESULT_OK) rc = VoteRegion(*region, resolution, &acc);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  rc = VoteImage(acc.votes, &out);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// hough_lines: the lines with at least `threshold` votes (StrongestLines).
VEXA_OPERATOR(hough_lines) {
  int resolution = 0;
  Vlong threshold = 0, angle_gap = 0, dist_gap = 0;
  RegionPtr region;
  Vresult rc = ReadAngleResolution(ctx, 0, &resolution);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &threshold);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &angle_gap);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &dist_gap);
  if (rc != VRESULT_OK) return rc;
  if (threshold < 1) return VERR_CTRL_VALUE(1);
  if (angle_gap < 0) return VERR_CTRL_VALUE(2);
  if (dist_gap < 0) return VERR_CTRL_VALUE(3);
  rc = InpRegionSingle(ctx, &region);
  LineAccumulator acc;
  if (rc == VRESULT_OK) rc = VoteRegion(*region, resolution, &acc);
  if (rc != VRESULT_OK) return rc;
  cv::Mat votes;
  acc.votes.convertTo(votes, CV_64F);
  return OutpLines(ctx, acc, StrongestLines(votes, acc, static_cast<double>(threshold), angle_gap, dist_gap), 0);
}

// select_matching_lines: the points of the region within line_width / 2
// of the line (angle_in, dist_in). With at least `thresh` of them, they
// form region_lines; otherwise region_lines is empty. The line itself is
// passed on.
VEXA_OPERATOR(select_matching_lines) {
  double angle, dist;
  Vlong width = 0, thresh = 0;
  RegionPtr region;
  Vresult rc = ctx.GetDouble(0, &angle);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &dist);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &width);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &thresh);
  if (rc != VRESULT_OK) return rc;
  if (!std::isfinite(angle)) return VERR_CTRL_VALUE(0);
  if (!std::isfinite(dist)) return VERR_CTRL_VALUE(1);
  if (width < 1) return VERR_CTRL_VALUE(2);
  if (thresh < 0) return VERR_CTRL_VALUE(3);
  rc = InpRegionSingle(ctx, &region);
  if (rc != VRESULT_OK) return rc;
  const double cs = std::cos(angle), sn = std::sin(angle), half = 0.5 * width;
  std::vector<Chord> points;
  for (const Chord& ch : region->chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c)
      if (std::fabs(c * cs - ch.r * sn - dist) <= half) points.push_back({ch.r, c, c});
  if (static_cast<Vlong>(points.size()) < thresh) points.clear();
  Vkey key = VKEY_UNDEF;
  rc = db::NewRegion(Region::FromChords(std::move(points)), &key);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(key);
  rc = out.HandOver(ctx, 1);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(0, angle);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(1, dist);
  return rc;
}

// hough_circles: discs of the given radius centred where at least
// `percent` % of the circle's points belong to the region and no better
// centre lies within the radius; mode is the largest number of circles
// returned (0: all), strongest first.
VEXA_OPERATOR(hough_circles) {
  int rad = 0;
  Vlong percent = 0, mode = 0;
  RegionPtr region;
  Vresult rc = ReadRadius(ctx, &rad);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &percent);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &mode);
  if (rc != VRESULT_OK) return rc;
  if (percent < 1 || percent > 100) return VERR_CTRL_VALUE(1);
  if (mode < 0) return VERR_CTRL_VALUE(2);
  rc = InpRegionSingle(ctx, &region);
  if (rc != VRESULT_OK) return rc;
  const std::vector<cv::Point> ring = Ring(rad);
  NewKeys out;
  const cv::Rect box = BoxOf(*region);
  if (!box.empty()) {
    const cv::Rect area(box.x - rad, box.y - rad, box.width + 2 * rad, box.height + 2 * rad);
    if (double(area.width) * area.height > kMaxHoughCells) return VERR_TOO_LARGE;
    const cv::Mat votes = CircleVotes(*region, ring, area);
    const double needed = percent / 100.0 * static_cast<double>(ring.size());
    struct Centre {
      int votes, r, c;
    };
    std::vector<Centre> candidates;
    for (int r = 0; r < votes.rows; ++r)
      for (int c = 0; c < votes.cols; ++c)
        if (votes.at<int32_t>(r, c) >= needed) candidates.push_back({votes.at<int32_t>(r, c), r, c});
    std::stable_sort(candidates.begin(), candidates.end(),
                     [](const Centre& a, const Centre& b) { return a.votes > b.votes; });
    std::vector<Centre> found;
    for (const Centre& cand : candidates) {
      if (mode > 0 && static_cast<Vlong>(found.size()) >= mode) break;
      const bool near = std::any_of(found.begin(), found.end(), [&](const Centre& f) {
        return std::hypot(f.r - cand.r, f.c - cand.c) <= rad;
      });
      if (!near) found.push_back(cand);
    }
    std::vector<RegionPtr> discs;
    for (const Centre& f : found) discs.push_back(Disc(f.r + area.y, f.c + area.x, rad));
    rc = AddRegions(discs, &out);
    if (rc != VRESULT_OK) return rc;
  }
  return out.HandOver(ctx, 1);
}

// hough_circle_trans: an int4 image whose pixel (row, column) counts the
// region pixels on the circle of the given radius about it, so circles of
// that radius in the region show as peaks at their centres. The image
// reaches the radius beyond the region's bottom and right ends; centres
// at negative coordinates fall outside it. An empty region gives a 1 x 1
// image of 0.
VEXA_OPERATOR(hough_circle_trans) {
  int rad = 0;
  RegionPtr region;
  Vresult rc = ReadRadius(ctx, &rad);
  if (rc == VRESULT_OK) rc = InpRegionSingle(ctx, &region);
  if (rc != VRESULT_OK) return rc;
  int32_t r1 = 0, c1 = 0, r2 = -1, c2 = -1;
  cv::Rect area(0, 0, 1, 1);
  if (region->BoundingBox(&r1, &c1, &r2, &c2)) {
    const double width = std::max(1.0, double(c2) + rad + 1), height = std::max(1.0, double(r2) + rad + 1);
    if (width * height > kMaxHoughCells) return VERR_TOO_LARGE;
    area = cv::Rect(0, 0, static_cast<int>(width), static_cast<int>(height));
  }
  NewKeys out;
  rc = VoteImage(CircleVotes(*region, Ring(rad), area), &out);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
