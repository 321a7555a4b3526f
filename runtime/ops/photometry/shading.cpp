// shade_height_field and sfs_pentland: Lambertian shading of a height
// field under a distant light, and heights back from such shading by the
// linear (small-slope) model in the Fourier domain. Conventions in
// lighting.h.
#include <algorithm>
#include <cmath>

#include "ops/common/cv_wrap.h"
#include "ops/filter/filter_support.h"
#include "ops/photometry/lighting.h"
#include "registry.h"

namespace vexa {
namespace {

// Central differences, one-sided at the border.
void Slopes(const cv::Mat& h, cv::Mat* d_row, cv::Mat* d_col) {
  *d_row = cv::Mat(h.size(), CV_64F);
  *d_col = cv::Mat(h.size(), CV_64F);
  for (int r = 0; r < h.rows; ++r)
    for (int c = 0; c < h.cols; ++c) {
      const int r0 = std::max(r - 1, 0), r1 = std::min(r + 1, h.rows - 1);
      const int c0 = std::max(c - 1, 0), c1 = std::min(c + 1, h.cols - 1);
      d_row->at<double>(r, c) = r1 > r0 ? (h.at<double>(r1, c) - h.at<double>(r0, c)) / (r1 - r0) : 0.0;
      d_col->at<double>(r, c) = c1 > c0 ? (h.at<double>(r, c1) - h.at<double>(r, c0)) / (c1 - c0) : 0.0;
    }
}

double Bilinear(const cv::Mat& m, double r, double c) {
  const int r0 = static_cast<int>(std::floor(r)), c0 = static_cast<int>(std::floor(c));
  const int r1 = std::min(r0 + 1, m.rows - 1), c1 = std::min(c0 + 1, m.cols - 1);
  const double fr = r - r0, fc = c - c0;
  return (1 - fr) * ((1 - fc) * m.at<double>(r0, c0) + fc * m.at<double>(r0, c1)) +
         fr * ((1 - fc) * m.at<double>(r1, c0) + fc * m.at<double>(r1, c1));
}

// Whether the surface rises above the ray from (r, c) towards the light.
bool InShadow(const cv::Mat& h, int r, int c, const Vec3& light) {
  const double horizontal = std::hypot(light[0], light[1]);
  if (horizontal < 1e-12) return false;
  const double step_r = -light[1] / horizontal, step_c = light[0] / horizontal;
  const double rise = light[2] / horizontal;  // ray height gained per pixel
  const double base = h.at<double>(r, c);
  for (int k = 1;; ++k) {
    const double rr = r + k * step_r, cc = c + k * step_c;
    if (rr < 0 || cc < 0 || rr > h.rows - 1 || cc > h.cols - 1) return false;
    if (Bilinear(h, rr, cc) > base + k * rise) return true;
  }
}

// Reads albedo and ambient (finite, albedo >= 0).
Vresult ReadReflectance(const OpContext& ctx, int albedo_par, double* albedo, double* ambient) {
  Vresult rc = ReadReal(ctx, albedo_par, 0.0, 1e12, albedo);
  return rc == VRESULT_OK ? ReadReal(ctx, albedo_par + 1, -1e12, 1e12, ambient) : rc;
}

// One real result per image of input 1: make(values, &result) with the
// first channel's values (CV_64F); the result has the input's domain.
template <class Make>
Vresult MapHeights(OpContext& ctx, Make&& make) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const PixelBuffer& px = *image.channels[0];
    if (CvDepthOf(px.type()) < 0) return VERR_PIXEL_TYPE;
    cv::Mat values, result;
    MatOf(px).convertTo(values, CV_64F);
    make(values, &result);
    Vkey made = VKEY_UNDEF;
    r = db::NewBlankImage(PixelType::kReal, px.width(), px.height(), 1, image.domain, &made);
    if (r != VRESULT_OK) return r;
    out.Add(made);
    PixelBuffer* dst = nullptr;
    r = db::WritableChannel(made, 0, &dst);
    if (r == VRESULT_OK) StoreInDomain(result, cv::Rect(0, 0, px.width(), px.height()), *image.domain, dst);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace

// albedo * max(0, n . light) + ambient per pixel; with shadows "true" a
// pixel that the surface hides from the light gets the ambient only.
// Slopes by central differences; real result under the input's domain.
VEXA_OPERATOR(shade_height_field) {
  Vec3 light;
  double albedo = 0.0, ambient = 0.0;
  int shadows = 0;
  Vresult rc = ReadLight(ctx, 0, 1, &light);
  if (rc == VRESULT_OK) rc = ReadReflectance(ctx, 2, &albedo, &ambient);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 4, {"false", "true"}, &shadows);
  if (rc != VRESULT_OK) return rc;
  return MapHeights(ctx, [&](const cv::Mat& h, cv::Mat* shade) {
    cv::Mat d_row, d_col;
    Slopes(h, &d_row, &d_col);
    *shade = cv::Mat(h.size(), CV_64F);
    for (int r = 0; r < h.rows; ++r)
      for (int c = 0; c < h.cols; ++c) {
        const double nx = -d_col.at<double>(r, c), ny = d_row.at<double>(r, c);
        const double lit = (nx * light[0] + ny * light[1] + light[2]) / std::sqrt(nx * nx + ny * ny + 1);
        const bool dark = shadows && InShadow(h, r, c, light);
        shade->at<double>(r, c) = ambient + (dark ? 0.0 : albedo * std::max(0.0, lit));
      }
  });
}

// Small slopes make the shading linear in them:
//   (I - ambient) / albedo - lz = -lx dh/dx - ly dh/dy,
// which the Fourier transform solves per frequency; frequencies
// perpendicular to the light's tilt carry no shading and get no height.
// Real result, mean height 0, under the input's domain.
VEXA_OPERATOR(sfs_pentland) {
  Vec3 light;
  double albedo = 0.0, ambient = 0.0;
  Vresult rc = ReadLight(ctx, 0, 1, &light);
  if (rc == VRESULT_OK) rc = ReadReflectance(ctx, 2, &albedo, &ambient);
  if (rc != VRESULT_OK) return rc;
  if (albedo <= 0) return VERR_CTRL_VALUE(2);
  return MapHeights(ctx, [&](const cv::Mat& image, cv::Mat* heights) {
    cv::Mat rhs = (image - ambient) / albedo - light[2], spectrum;
    cv::dft(rhs, spectrum, cv::DFT_COMPLEX_OUTPUT);
    const int h = image.rows, w = image.cols;
    for (int v = 0; v < h; ++v)
      for (int u = 0; u < w; ++u) {
        // Angular frequencies along x (columns) and y (up the image).
        const double wx = 2 * M_PI * (u <= w / 2 ? u : u - w) / w;
        const double wy = -2 * M_PI * (v <= h / 2 ? v : v - h) / h;
        const double k = light[0] * wx + light[1] * wy;
        cv::Vec2d& z = spectrum.at<cv::Vec2d>(v, u);
        // d/dx is i wx in the transform: rhs = -i k H, so H = i rhs / k.
        z = std::fabs(k) > 1e-9 ? cv::Vec2d(-z[1] / k, z[0] / k) : cv::Vec2d(0, 0);
      }
    cv::dft(spectrum, *heights, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
    *heights -= cv::mean(*heights)[0];
  });
}

}  // namespace vexa
