// exhaustive_match and exhaustive_match_mg: the error or correlation of a
// template image at every position, as a real image.
//
// Mode "dfd": the root mean square gray-value difference under the
// template's domain; "norm_correlation": the normalised cross-correlation
// (-1..1). The value of a pixel is that of the template's reference point
// (its domain's centre of gravity, rounded) placed there; other pixels
// are 0.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "gradient_pyramid.h"
#include "ops/common/op_objects.h"
#include "registry.h"
#include "template_model.h"

namespace vexa {
namespace matching {
namespace {

// "dfd" or "norm_correlation" at control 0.
Vresult InpMode(const OpContext& ctx, bool* dfd) {
  const char* mode = nullptr;
  const Vresult rc = ctx.GetString(0, &mode);
  if (rc != VRESULT_OK) return rc;
  *dfd = std::strcmp(mode, "dfd") == 0;
  return *dfd || std::strcmp(mode, "norm_correlation") == 0 ? VRESULT_OK : VERR_CTRL_VALUE(0);
}

// The values of the mode for the template's top-left corner at each
// position where it lies inside `plane`; empty when it does not fit.
cv::Mat MatchValues(const cv::Mat& plane, const GrayPatch& patch, bool dfd) {
  if (plane.rows < patch.gray.rows || plane.cols < patch.gray.cols) return cv::Mat();
  return dfd ? TemplateErrors(plane, patch, 0, 0).map : MaskedNcc(plane, patch.gray, patch.mask);
}

// Position of the template's reference point on the first value.
cv::Point RefOffset(const GrayPatch& patch) {
  return {static_cast<int>(std::lround(patch.ref_col)), static_cast<int>(std::lround(patch.ref_row))};
}

// For each byte image at input object 1: `values(plane, &domain)` gives the
// values of level 0 and narrows the domain (which starts as the image's);
// the real image of them is made.
template <class Values>
Vresult MatchImages(OpContext& ctx, const GrayPatch& patch, Values&& values) {
  const cv::Point ref = RefOffset(patch);
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    cv::Mat plane;
    Vresult r = InpImage(1, key, &image);
    if (r == VRESULT_OK && image.channels[0]->type() != PixelType::kByte) r = VERR_PIXEL_TYPE;
    if (r == VRESULT_OK) r = FloatPlane(*image.channels[0], &plane);
    if (r != VRESULT_OK) return r;
    RegionPtr domain = image.domain;
    const cv::Mat v = values(plane, &domain);
    const RegionPtr valid =
        v.empty() ? Region::Empty() : Region::Rectangle(ref.y, ref.x, ref.y + v.rows - 1, ref.x + v.cols - 1);
    domain = Region::Intersection(*valid, *domain);
    std::unique_ptr<PixelBuffer> buffer;
    r = PixelBuffer::Create(PixelType::kReal, plane.cols, plane.rows, &buffer);
    if (r != VRESULT_OK) return r;
    float* px = reinterpret_cast<float*>(buffer->data());
    for (const Chord& ch : domain->chords())
      for (int32_t c = ch.cb; c <= ch.ce; ++c)
        px[static_cast<size_t>(ch.r) * plane.cols + c] = v.at<float>(ch.r - ref.y, c - ref.x);
    std::vector<std::unique_ptr<PixelBuffer>> channels;
    channels.push_back(std::move(buffer));
    Vkey made = VKEY_UNDEF;
    r = db::NewImage(domain, std::move(channels), &made);
    if (r == VRESULT_OK) out.Add(made);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace

// The result's domain is `region_of_interest` inside the image's domain
// where the template fits.
VEXA_OPERATOR(exhaustive_match) {
  bool dfd = false;
  Vkey roi_key = VKEY_UNDEF;
  RegionPtr roi;
  GrayPatch patch;
  Vresult rc = InpMode(ctx, &dfd);
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(2, &roi_key);
  if (rc == VRESULT_OK) rc = InpRegion(2, roi_key, &roi);
  if (rc == VRESULT_OK) rc = InpPatch(ctx, 3, &patch);
  if (rc != VRESULT_OK) return rc;
  return MatchImages(ctx, patch, [&](const cv::Mat& plane, RegionPtr* domain) {
    *domain = Region::Intersection(**domain, *roi);
    return MatchValues(plane, patch, dfd);
  });
}

// The values of level 0, on the pixels whose values pass `threshold` on
// every pyramid level from `level` (2x2 means of image and template) down
// to 0: for "dfd" an error of at most the threshold, for
// "norm_correlation" a correlation of at least threshold / 100.
VEXA_OPERATOR(exhaustive_match_mg) {
  bool dfd = false;
  Vlong level = 0, threshold = 0;
  GrayPatch patch;
  Vresult rc = InpMode(ctx, &dfd);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &level);
  if (rc == VRESULT_OK && (level < 0 || level >= kMaxTemplateLevels)) rc = VERR_CTRL_VALUE(1);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &threshold);
  if (rc == VRESULT_OK && (dfd ? threshold < 0 || threshold > 255 : threshold < -100 || threshold > 100))
    rc = VERR_CTRL_VALUE(2);
  if (rc == VRESULT_OK) rc = InpPatch(ctx, 2, &patch);
  if (rc != VRESULT_OK) return rc;
  const std::vector<GrayPatch> patches = PatchPyramid(patch, static_cast<int>(level) + 1);
  return MatchImages(ctx, patch, [&](const cv::Mat& plane, RegionPtr* domain) {
    const std::vector<cv::Mat> images = MeanPyramid(plane, static_cast<int>(patches.size()));
    std::vector<Chord> chords;
    cv::Mat level0;
    for (size_t l = std::min(images.size(), patches.size()); l-- > 0;) {
      const cv::Mat v = MatchValues(images[l], patches[l], dfd);
      if (l == 0) level0 = v;
      if (v.empty()) continue;
      // The level-0 positions whose pixel on this level passes.
      const cv::Point ref = RefOffset(patches[l]);
      const int scale = 1 << l;
      std::vector<Chord> passing;
      for (int i = 0; i < v.rows; ++i)
        for (int j = 0; j < v.cols; ++j) {
          const float x = v.at<float>(i, j);
          if (dfd ? x <= threshold : x * 100 >= threshold)
            passing.push_back({(i + ref.y) * scale, (j + ref.x) * scale, (j + ref.x) * scale + scale - 1});
        }
      for (std::vector<Chord> rows(passing); scale > 1 && !rows.empty();) {
        // Each chord covers `scale` rows of level 0.
        for (Chord& ch : rows) ++ch.r;
        rows.erase(std::remove_if(rows.begin(), rows.end(), [&](const Chord& ch) { return ch.r % scale == 0; }),
                   rows.end());
        passing.insert(passing.end(), rows.begin(), rows.end());
      }
      *domain = Region::Intersection(**domain, *Region::FromChords(std::move(passing)));
    }
    return level0;
  });
}

}  // namespace matching
}  // namespace vexa
