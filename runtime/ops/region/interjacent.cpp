// interjacent: the lines between regions. Every free pixel of the
// smallest rectangle holding all regions belongs to the zone of the region
// nearest to it (Euclidean distance, ties to the pixel OpenCV's labelling
// finds first); "medial_axis" gives the one-pixel lines where two zones
// meet, "border" the free pixels that touch a region (4-neighbourhood),
// "mixed" both. Overlapping regions count as the later one.
#include <cstring>

#include <opencv2/imgproc.hpp>

#include "ops/common/cv_wrap.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr double kMaxZonePixels = 1 << 26;

// Zone index (1..n) of every pixel of `box`: regions' own pixels carry
// their index, free pixels that of the nearest region pixel.
cv::Mat Zones(const std::vector<RegionPtr>& regions, const cv::Rect& box, cv::Mat* owned) {
  cv::Mat own = cv::Mat::zeros(box.size(), CV_32S);
  for (size_t i = 0; i < regions.size(); ++i)
    own.setTo(static_cast<int>(i + 1), MaskOfRegion(*regions[i], box));
  cv::Mat free = own == 0, dist, labels;
  cv::distanceTransform(free, dist, labels, cv::DIST_L2, cv::DIST_MASK_5, cv::DIST_LABEL_PIXEL);
  // Each region pixel has a label of its own; free pixels take the label
  // of their nearest region pixel.
  std::vector<int> zone_of_label(static_cast<size_t>(box.area()) + 1, 0);
  for (int r = 0; r < box.height; ++r)
    for (int c = 0; c < box.width; ++c)
      if (own.at<int>(r, c) != 0) zone_of_label[static_cast<size_t>(labels.at<int>(r, c))] = own.at<int>(r, c);
  cv::Mat zones(box.size(), CV_32S);
  for (int r = 0; r < box.height; ++r)
    for (int c = 0; c < box.width; ++c)
      zones.at<int>(r, c) = zone_of_label[static_cast<size_t>(labels.at<int>(r, c))];
  *owned = own;
  return zones;
}

}  // namespace

VEXA_OPERATOR(interjacent) {
  const char* mode = nullptr;
  std::vector<RegionPtr> regions;
  Vresult rc = ctx.GetString(0, &mode);
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 1, &regions);
  if (rc != VRESULT_OK) return rc;
  const bool medial = std::strcmp(mode, "medial_axis") == 0 || std::strcmp(mode, "mixed") == 0;
  const bool border = std::strcmp(mode, "border") == 0 || std::strcmp(mode, "mixed") == 0;
  if (!medial && !border) return VERR_CTRL_VALUE(0);
  const cv::Rect box = BoxOf(*RegionUnionMany(regions));
  if (box.empty()) return OutRegion(ctx, 1, Region::Empty());
  // Five matrices of the rectangle's size are held at once.
  if (static_cast<double>(box.width) * box.height > kMaxZonePixels) return VERR_TOO_LARGE;
  cv::Mat own;
  const cv::Mat zones = Zones(regions, box, &own);
  cv::Mat lines = cv::Mat::zeros(box.size(), CV_8U);
  const int dr[] = {-1, 1, 0, 0}, dc[] = {0, 0, -1, 1};
  for (int r = 0; r < box.height; ++r) {
    for (int c = 0; c < box.width; ++c) {
      if (own.at<int>(r, c) != 0) continue;
      const int zone = zones.at<int>(r, c);
      bool mark = false;
      for (int k = 0; k < 4 && !mark; ++k) {
        const int rr = r + dr[k], cc = c + dc[k];
        if (rr < 0 || cc < 0 || rr >= box.height || cc >= box.width) continue;
        const bool touches_region = own.at<int>(rr, cc) != 0;
        // Of two free pixels on either side of a zone boundary, the one in
        // the zone of higher index takes the line, so it is one pixel wide.
        mark = (border && touches_region) ||
               (medial && zones.at<int>(rr, cc) != zone &&
                (touches_region || zones.at<int>(rr, cc) < zone));
      }
      if (mark) lines.at<uint8_t>(r, c) = 255;
    }
  }
  return OutRegion(ctx, 1, RegionOfMask(lines, box.tl()));
}

}  // namespace vexa
