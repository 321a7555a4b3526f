// exhaustive_match: the error or correlation of a template image at every
// position of a region of interest, as a real image.
#include <cmath>
#include <cstring>

#include "gradient_pyramid.h"
#include "ops/common/op_objects.h"
#include "registry.h"
#include "template_model.h"

namespace vexa {
namespace matching {

// Mode "dfd": the root mean square gray-value difference under the
// template's domain; "norm_correlation": the normalised cross-correlation
// (-1..1). The value of a pixel is that of the template's reference point
// (its domain's centre of gravity, rounded) placed there. The result's
// domain is the region of interest where the template lies inside the
// image; other pixels are 0.
VEXA_OPERATOR(exhaustive_match) {
  const char* mode = nullptr;
  Vresult rc = ctx.GetString(0, &mode);
  const bool dfd = rc == VRESULT_OK && std::strcmp(mode, "dfd") == 0;
  if (rc == VRESULT_OK && !dfd && std::strcmp(mode, "norm_correlation") != 0) rc = VERR_CTRL_VALUE(0);
  Vkey roi_key = VKEY_UNDEF;
  RegionPtr roi;
  GrayPatch patch;
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(2, &roi_key);
  if (rc == VRESULT_OK) rc = InpRegion(2, roi_key, &roi);
  if (rc == VRESULT_OK) rc = InpPatch(ctx, 3, &patch);
  if (rc != VRESULT_OK) return rc;
  const int dr = static_cast<int>(std::lround(patch.ref_row)), dc = static_cast<int>(std::lround(patch.ref_col));
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    cv::Mat plane;
    Vresult r = InpImage(1, key, &image);
    if (r == VRESULT_OK && image.channels[0]->type() != PixelType::kByte) r = VERR_PIXEL_TYPE;
    if (r == VRESULT_OK) r = FloatPlane(*image.channels[0], &plane);
    if (r != VRESULT_OK) return r;
    cv::Mat values;
    if (plane.rows >= patch.gray.rows && plane.cols >= patch.gray.cols)
      values = dfd ? TemplateErrors(plane, patch, 0, 0).map : MaskedNcc(plane, patch.gray, patch.mask);
    const RegionPtr valid = values.empty() ? Region::Empty()
                                           : Region::Rectangle(dr, dc, dr + values.rows - 1, dc + values.cols - 1);
    const RegionPtr domain = Region::Intersection(*Region::Intersection(*valid, *roi), *image.domain);
    std::unique_ptr<PixelBuffer> buffer;
    r = PixelBuffer::Create(PixelType::kReal, plane.cols, plane.rows, &buffer);
    if (r != VRESULT_OK) return r;
    float* px = reinterpret_cast<float*>(buffer->data());
    for (const Chord& ch : domain->chords())
      for (int32_t c = ch.cb; c <= ch.ce; ++c)
        px[static_cast<size_t>(ch.r) * plane.cols + c] = values.at<float>(ch.r - dr, c - dc);
    std::vector<std::unique_ptr<PixelBuffer>> channels;
    channels.push_back(std::move(buffer));
    Vkey made = VKEY_UNDEF;
    r = db::NewImage(domain, std::move(channels), &made);
    if (r == VRESULT_OK) out.Add(made);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace matching
}  // namespace vexa
