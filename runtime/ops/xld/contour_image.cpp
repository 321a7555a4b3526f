// Contours and images together: the gray values along a contour, and
// contours and polygons painted into an image.
#include <algorithm>
#include <cmath>

#include <opencv2/core.hpp>

#include "ops/common/interpolation.h"
#include "ops/image/image_op_util.h"
#include "registry.h"
#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

// Anti-aliasing coverage of pixel centres near the segment a-b (a point
// when a == b): 1 - distance, for distances below 1; the largest coverage
// of any segment is kept in `cover` (CV_32F, the image's size).
void CoverSegment(const Pt& a, const Pt& b, cv::Mat* cover) {
  const double r0 = std::max(0.0, std::ceil(std::min(a.r, b.r) - 1));
  const double r1 = std::min(cover->rows - 1.0, std::floor(std::max(a.r, b.r) + 1));
  const double c0 = std::max(0.0, std::ceil(std::min(a.c, b.c) - 1));
  const double c1 = std::min(cover->cols - 1.0, std::floor(std::max(a.c, b.c) + 1));
  for (int r = static_cast<int>(r0); r <= r1; ++r) {
    float* row = cover->ptr<float>(r);
    for (int c = static_cast<int>(c0); c <= c1; ++c) {
      const double d = SegmentDistance({double(r), double(c)}, a, b);
      if (d < 1) row[c] = std::max(row[c], static_cast<float>(1 - d));
    }
  }
}

}  // namespace

// The gray value of the image's first channel at every point of the
// contour, by "nearest_neighbor", "bilinear" or "bicubic" interpolation
// (neighbours beyond the border repeat the border pixels); a point whose
// nearest pixel lies outside the domain gets -1.
VEXA_OPERATOR(get_grayval_contour_xld) {
  db::ImageData image;
  XldPtr x;
  const char* name = nullptr;
  Interpolation mode = Interpolation::kNearest;
  Vresult rc = InpSingleImage(ctx, 1, &image);
  if (rc == VRESULT_OK) rc = InpSingleXld(ctx, 2, VOBJ_XLD_CONT, &x);
  if (rc == VRESULT_OK) rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  if (!ParseInterpolation(name, &mode)) return VERR_CTRL_VALUE(0);
  const PixelBuffer& ch = *image.channels[0];
  if (ch.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  std::vector<double> values(x->size());
  for (size_t i = 0; i < x->size(); ++i) {
    const double r = x->rows[i], c = x->cols[i];
    values[i] = NearestInDomain(*image.domain, r, c) ? Interpolate(ch, mode, r, c) : -1.0;
  }
  return ctx.SetOutpDoubles(0, values);
}

// The contours and polygons drawn into a copy of the image, anti-aliased:
// a pixel whose centre lies at distance d < 1 from the nearest segment
// (or from the only point of a one-point object) becomes
// v + (1 - d) (grayval - v), rounded and clipped to the pixel type; all
// channels, one gray value for all or one per channel; the domain is not
// consulted and stays as it was.
VEXA_OPERATOR(paint_xld) {
  std::vector<XldPtr> xs;
  db::ImageData image;
  std::vector<double> gray;
  Vresult rc = InpPointXlds(ctx, 1, &xs);
  if (rc == VRESULT_OK) rc = InpSingleImage(ctx, 2, &image);
  if (rc == VRESULT_OK) rc = GetFinites(ctx, 0, &gray);
  if (rc != VRESULT_OK) return rc;
  if (gray.size() != 1 && gray.size() != image.channels.size()) return VERR_CTRL_NUM(0);
  for (const PixelBuffer* ch : image.channels)
    if (ch->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  const PixelBuffer& first = *image.channels[0];
  cv::Mat cover = cv::Mat::zeros(first.height(), first.width(), CV_32F);
  for (const XldPtr& x : xs) {
    const std::vector<Pt> p = PointsOf(*x);
    for (size_t i = 0; i < p.size(); ++i) CoverSegment(p[i], p[std::min(i + 1, p.size() - 1)], &cover);
  }
  Channels channels;
  rc = CloneChannels(image, &channels);
  for (size_t k = 0; rc == VRESULT_OK && k < channels.size(); ++k) {
    PixelBuffer& ch = *channels[k];
    const double g = gray[std::min(k, gray.size() - 1)];
    for (int r = 0; r < cover.rows; ++r)
      for (int c = 0; c < cover.cols; ++c) {
        const float a = cover.at<float>(r, c);
        if (a > 0) ch.Set(r, c, ch.Get(r, c) + a * (g - ch.Get(r, c)));
      }
  }
  Vkey key = VKEY_UNDEF;
  if (rc == VRESULT_OK) rc = db::NewImage(image.domain, std::move(channels), &key);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

}  // namespace xld
}  // namespace vexa
