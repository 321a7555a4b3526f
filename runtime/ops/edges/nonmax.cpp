// nonmax_suppression_amp and nonmax_suppression_dir: set to 0 every
// domain pixel of an amplitude image that is no local maximum; the others
// keep their value. Neighbours are read from the whole image, mirrored at
// its border.
//
// nonmax_suppression_amp: "hvnms" keeps pixels not below both horizontal
// or not below both vertical neighbours, "loc_max" pixels not below any
// of their 8 neighbours.
// nonmax_suppression_dir: "nms" compares with the two neighbours along the
// direction image's direction (nearest of 8), "inms" with the amplitudes
// interpolated along it; pixels of undefined direction (255) keep their
// value.
#include <cmath>
#include <cstring>

#include "ops/edges/edge_thinning.h"
#include "ops/edges/gradient.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

bool NotBelow(const cv::Mat& amp, int r, int c, int dr, int dc) {
  const int rr = cv::borderInterpolate(r + dr, amp.rows, kMirrorBorder);
  const int cc = cv::borderInterpolate(c + dc, amp.cols, kMirrorBorder);
  return amp.at<double>(r, c) >= amp.at<double>(rr, cc);
}

// The amplitude over `box` grown by one pixel, in double.
cv::Mat GrownAmplitude(const PixelBuffer& amp, const cv::Rect& box, cv::Rect* grown) {
  *grown = GrowBox(box, 1, cv::Size(amp.width(), amp.height()));
  return SourceFor(amp, *grown, 0, CV_64F).Roi();
}

}  // namespace

VEXA_OPERATOR(nonmax_suppression_amp) {
  const char* mode = nullptr;
  const Vresult rc = ctx.GetString(0, &mode);
  if (rc != VRESULT_OK) return rc;
  const bool hv = std::strcmp(mode, "hvnms") == 0;
  if (!hv && std::strcmp(mode, "loc_max") != 0) return VERR_CTRL_VALUE(0);
  return FilterImages(ctx, 1, SameGrayType,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    cv::Rect grown;
    const cv::Mat amp = GrownAmplitude(in, area.box, &grown);
    cv::Mat out = amp.clone();
    for (int r = 0; r < amp.rows; ++r)
      for (int c = 0; c < amp.cols; ++c) {
        bool keep;
        if (hv) {
          keep = (NotBelow(amp, r, c, 0, 1) && NotBelow(amp, r, c, 0, -1)) ||
                 (NotBelow(amp, r, c, 1, 0) && NotBelow(amp, r, c, -1, 0));
        } else {
          keep = true;
          for (int dr = -1; dr <= 1 && keep; ++dr)
            for (int dc = -1; dc <= 1 && keep; ++dc) keep = NotBelow(amp, r, c, dr, dc);
        }
        if (!keep) out.at<double>(r, c) = 0.0;
      }
    StoreInDomain(out(area.box - grown.tl()), area.box, area.domain, outs[0]);
    return VRESULT_OK;
  });
}

VEXA_OPERATOR(nonmax_suppression_dir) {
  const char* mode = nullptr;
  Vresult rc = ctx.GetString(0, &mode);
  if (rc != VRESULT_OK) return rc;
  const bool interpolated = std::strcmp(mode, "inms") == 0;
  if (!interpolated && std::strcmp(mode, "nms") != 0) return VERR_CTRL_VALUE(0);
  NewKeys out;
  rc = ZipImages(ctx, {1, 2}, [&](Vlong, const std::vector<Vkey>&,
                                  const std::vector<db::ImageData>& images) {
    const PixelBuffer& amp_px = *images[0].channels[0];
    const PixelBuffer& dir_px = *images[1].channels[0];
    if (!IsGrayType(amp_px.type()) || dir_px.type() != PixelType::kDirection)
      return VERR_PIXEL_TYPE;
    if (!SameSize(amp_px, dir_px)) return VERR_IMAGE_SIZE;
    Vkey made = VKEY_UNDEF;
    Vresult r = db::NewBlankImage(amp_px.type(), amp_px.width(), amp_px.height(), 1,
                                  images[0].domain, &made);
    if (r != VRESULT_OK) return r;
    out.Add(made);
    const cv::Rect box = BoxOf(*images[0].domain);
    if (box.empty()) return VRESULT_OK;
    PixelBuffer* result = nullptr;
    r = db::WritableChannel(made, 0, &result);
    if (r != VRESULT_OK) return r;
    cv::Rect grown;
    const cv::Mat amp = GrownAmplitude(amp_px, box, &grown);
    const cv::Mat dir = CvHeaderOf(dir_px)(grown);
    cv::Mat thinned;
    if (interpolated) {
      cv::Mat angle(amp.size(), CV_64F);
      for (int rr = 0; rr < amp.rows; ++rr)
        for (int c = 0; c < amp.cols; ++c) {
          const int code = dir.at<uint8_t>(rr, c);
          angle.at<double>(rr, c) = code >= 180 ? NAN : code * 2.0 * M_PI / 180.0;
        }
      thinned = SuppressInterpolated(amp, angle);
    } else {
      thinned = SuppressNonMaxima(amp, [&](int rr, int c, int* dr, int* dc) {
        const int code = dir.at<uint8_t>(rr, c);
        *dr = *dc = 0;
        if (code < 180) DirectionStep(code, dr, dc);
      });
    }
    StoreInDomain(thinned(box - grown.tl()), box, *images[0].domain, result);
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
