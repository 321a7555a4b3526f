// Gray-value patches: reading, pyramid, rotation, masked correlation and
// storage.
#include "gray_patch.h"

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "gradient_pyramid.h"
#include "ops/common/op_objects.h"

namespace vexa {
namespace matching {

Vresult InpByteImage(OpContext& ctx, int par, cv::Mat* plane, RegionPtr* domain) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  Vresult rc = ctx.InpObjSingle(par, &key);
  if (rc == VRESULT_OK) rc = InpImage(par, key, &image);
  if (rc == VRESULT_OK && image.channels[0]->type() != PixelType::kByte) rc = VERR_PIXEL_TYPE;
  if (rc == VRESULT_OK) rc = FloatPlane(*image.channels[0], plane);
  *domain = image.domain;
  return rc;
}

bool PatchOf(const cv::Mat& plane, const Region& domain, GrayPatch* patch) {
  int32_t r1, c1, r2, c2;
  if (!domain.BoundingBox(&r1, &c1, &r2, &c2)) return false;
  const cv::Rect box(c1, r1, c2 - c1 + 1, r2 - r1 + 1);
  patch->gray = plane(box).clone();
  patch->mask = cv::Mat::zeros(box.size(), CV_8U);
  for (const Chord& ch : domain.chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) patch->mask.at<uint8_t>(ch.r - r1, c - c1) = 1;
  patch->ref_row = domain.row() - r1;
  patch->ref_col = domain.col() - c1;
  return true;
}

Vresult InpPatch(OpContext& ctx, int par, GrayPatch* patch) {
  cv::Mat plane;
  RegionPtr domain;
  const Vresult rc = InpByteImage(ctx, par, &plane, &domain);
  if (rc != VRESULT_OK) return rc;
  return PatchOf(plane, *domain, patch) ? VRESULT_OK : VERR_OBJ_NUM(par);
}

std::vector<GrayPatch> PatchPyramid(const GrayPatch& patch, int levels) {
  const std::vector<cv::Mat> grays = MeanPyramid(patch.gray, levels);
  std::vector<GrayPatch> out{patch};
  for (size_t l = 1; l < grays.size(); ++l) {
    const cv::Mat& below = out.back().mask;
    GrayPatch next;
    next.gray = grays[l];
    next.mask = cv::Mat::zeros(grays[l].size(), CV_8U);
    for (int r = 0; r < next.mask.rows; ++r)
      for (int c = 0; c < next.mask.cols; ++c)
        next.mask.at<uint8_t>(r, c) = below.at<uint8_t>(2 * r, 2 * c) & below.at<uint8_t>(2 * r, 2 * c + 1) &
                                      below.at<uint8_t>(2 * r + 1, 2 * c) &
                                      below.at<uint8_t>(2 * r + 1, 2 * c + 1);
    if (cv::countNonZero(next.mask) == 0) break;
    next.ref_row = FromLevel0(patch.ref_row, static_cast<int>(l));
    next.ref_col = FromLevel0(patch.ref_col, static_cast<int>(l));
    out.push_back(next);
  }
  return out;
}

RotatedPatch RotatePatch(const GrayPatch& patch, double angle) {
  // The canvas reaches the farthest domain pixel corner from the reference.
  double reach = 0;
  for (int r = 0; r < patch.mask.rows; ++r)
    for (int c = 0; c < patch.mask.cols; ++c)
      if (patch.mask.at<uint8_t>(r, c) != 0)
        reach = std::max(reach, std::hypot(std::fabs(r - patch.ref_row) + 0.5, std::fabs(c - patch.ref_col) + 0.5));
  RotatedPatch out;
  out.centre = static_cast<int>(std::ceil(reach)) + 1;
  const int side = 2 * out.centre + 1;
  const double ca = std::cos(angle), sa = std::sin(angle), k = out.centre;
  // Canvas (x, y) -> patch (x, y): the inverse rotation about the centre.
  const cv::Matx23d to_patch(ca, -sa, patch.ref_col - ca * k + sa * k, sa, ca, patch.ref_row - sa * k - ca * k);
  cv::warpAffine(patch.gray, out.gray, to_patch, cv::Size(side, side), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                 cv::BORDER_REPLICATE);
  cv::Mat mask_f, mask_rot;
  patch.mask.convertTo(mask_f, CV_32F);
  cv::warpAffine(mask_f, mask_rot, to_patch, cv::Size(side, side), cv::INTER_LINEAR | cv::WARP_INVERSE_MAP,
                 cv::BORDER_CONSTANT, 0);
  cv::compare(mask_rot, 0.999, out.mask, cv::CMP_GE);
  out.mask /= 255;
  return out;
}

cv::Mat MaskedNcc(const cv::Mat& image, const cv::Mat& templ, const cv::Mat& mask) {
  cv::Mat m;
  mask.convertTo(m, CV_32F);
  const double n = cv::sum(m)[0];
  cv::Mat result(image.rows - templ.rows + 1, image.cols - templ.cols + 1, CV_32F, cv::Scalar(0));
  if (n < 2 || result.rows < 1 || result.cols < 1) return result;
  // Centring both sides keeps the single-precision sums far from
  // cancellation.
  const double t_mean = cv::sum(templ.mul(m))[0] / n;
  cv::Mat t = (templ - t_mean).mul(m);
  const double t_var = cv::sum(t.mul(t))[0];
  if (t_var < 1e-6 * n) return result;
  cv::Mat img = image - cv::mean(image)[0];
  cv::Mat s1, s2, st;
  cv::matchTemplate(img, m, s1, cv::TM_CCORR);
  cv::matchTemplate(img.mul(img), m, s2, cv::TM_CCORR);
  cv::matchTemplate(img, t, st, cv::TM_CCORR);
  for (int r = 0; r < result.rows; ++r) {
    const float *a = s1.ptr<float>(r), *b = s2.ptr<float>(r), *c = st.ptr<float>(r);
    float* out = result.ptr<float>(r);
    for (int col = 0; col < result.cols; ++col) {
      const double var = b[col] - static_cast<double>(a[col]) * a[col] / n;
      if (var > 1e-3 * n) out[col] = static_cast<float>(std::max(-1.0, std::min(1.0, c[col] / std::sqrt(var * t_var))));
    }
  }
  return result;
}

std::vector<double> AngleRange(double start, double extent, double step) {
  extent = std::min(extent, 2 * M_PI);  // more than a turn repeats angles
  const int n = extent > 0 ? static_cast<int>(std::ceil(extent / step - 1e-9)) : 0;
  std::vector<double> angles;
  for (int k = 0; k <= n; ++k) angles.push_back(n == 0 ? start : start + extent * k / n);
  return angles;
}

void WritePatch(ByteWriter& w, const GrayPatch& patch) {
  w.I32(patch.gray.rows);
  w.I32(patch.gray.cols);
  w.F64(patch.ref_row);
  w.F64(patch.ref_col);
  for (int r = 0; r < patch.gray.rows; ++r)
    for (int c = 0; c < patch.gray.cols; ++c) w.F32(patch.gray.at<float>(r, c));
  for (int r = 0; r < patch.mask.rows; ++r) w.Bytes(patch.mask.ptr<uint8_t>(r), static_cast<size_t>(patch.mask.cols));
}

bool ReadPatch(ByteReader& r, GrayPatch* patch) {
  int32_t rows = 0, cols = 0;
  if (!r.I32(&rows) || !r.I32(&cols) || rows < 1 || cols < 1 || rows > kMaxPatchSide || cols > kMaxPatchSide ||
      !r.F64(&patch->ref_row) || !r.F64(&patch->ref_col))
    return false;
  if (!(patch->ref_row >= 0 && patch->ref_row <= rows - 1 && patch->ref_col >= 0 && patch->ref_col <= cols - 1))
    return false;
  if (r.remaining() < static_cast<size_t>(rows) * cols * 5) return false;
  patch->gray.create(rows, cols, CV_32F);
  patch->mask.create(rows, cols, CV_8U);
  for (int y = 0; y < rows; ++y)
    for (int x = 0; x < cols; ++x) {
      float v = 0;
      if (!r.F32(&v) || !(std::fabs(v) <= 1e6f)) return false;
      patch->gray.at<float>(y, x) = v;
    }
  for (int y = 0; y < rows; ++y) {
    const unsigned char* bytes = nullptr;
    if (!r.Bytes(static_cast<size_t>(cols), &bytes)) return false;
    for (int x = 0; x < cols; ++x) {
      if (bytes[x] > 1) return false;
      patch->mask.at<uint8_t>(y, x) = bytes[x];
    }
  }
  return cv::countNonZero(patch->mask) > 0;
}

}  // namespace matching
}  // namespace vexa
