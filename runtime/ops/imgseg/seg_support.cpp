// Helpers of the segmentation operators on images: see seg_support.h.
#include "ops/imgseg/seg_support.h"

#include "ops/edges/edge_support.h"
#include "ops/common/cv_wrap.h"
#include "ops/edges/edge_thinning.h"

namespace vexa {

Vresult GrayGridOf(const db::ImageData& image, GrayGrid* grid) {
  const PixelBuffer& px = *image.channels[0];
  if (!IsGrayType(px.type())) return VERR_PIXEL_TYPE;
  grid->box = BoxOf(*image.domain);
  if (grid->box.empty()) {
    grid->values = cv::Mat();
    grid->inside = cv::Mat();
    return VRESULT_OK;
  }
  grid->values = SourceFor(px, grid->box, 0, CV_64F).Roi();
  grid->inside = MaskOfRegion(*image.domain, grid->box);
  return VRESULT_OK;
}

std::vector<RegionPtr> RegionsOfLabels(const cv::Mat& labels, const cv::Rect& box, int count) {
  std::vector<std::vector<Chord>> chords(static_cast<size_t>(count));
  for (int r = 0; r < labels.rows; ++r) {
    const int32_t* row = labels.ptr<int32_t>(r);
    for (int c = 0; c < labels.cols;) {
      const int32_t l = row[c];
      int e = c;
      while (e + 1 < labels.cols && row[e + 1] == l) ++e;
      if (l >= 1 && l <= count)
        chords[static_cast<size_t>(l - 1)].push_back({r + box.y, c + box.x, e + box.x});
      c = e + 1;
    }
  }
  std::vector<RegionPtr> regions;
  regions.reserve(chords.size());
  for (auto& list : chords) regions.push_back(Region::FromCanonicalChords(std::move(list)));
  return regions;
}

Vresult AddRegions(const std::vector<RegionPtr>& regions, NewKeys* out) {
  for (const RegionPtr& region : regions) {
    Vkey key = VKEY_UNDEF;
    const Vresult rc = db::NewRegion(region, &key);
    if (rc != VRESULT_OK) return rc;
    out->Add(key);
  }
  return VRESULT_OK;
}

}  // namespace vexa
