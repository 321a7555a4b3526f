#include "ops/photometry/lighting.h"

#include "ops/filter/filter_support.h"

namespace vexa {

Vresult ReadLight(const OpContext& ctx, int slant_par, int tilt_par, Vec3* light) {
  double slant = 0.0, tilt = 0.0;
  Vresult rc = ReadReal(ctx, slant_par, 0.0, 90.0, &slant);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, tilt_par, -1e6, 1e6, &tilt);
  if (rc == VRESULT_OK) *light = LightDirection(slant, tilt);
  return rc;
}

cv::Mat HeightFromGradient(const cv::Mat& d_row, const cv::Mat& d_col) {
  const int h = d_row.rows, w = d_row.cols;
  // Targets of the forward differences, 0 past the last pixel.
  cv::Mat bx = cv::Mat::zeros(h, w, CV_64F), by = cv::Mat::zeros(h, w, CV_64F);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      if (c + 1 < w) bx.at<double>(r, c) = 0.5 * (d_col.at<double>(r, c) + d_col.at<double>(r, c + 1));
      if (r + 1 < h) by.at<double>(r, c) = 0.5 * (d_row.at<double>(r, c) + d_row.at<double>(r + 1, c));
    }
  // The normal equations: the 5-point Laplacian of the heights equals the
  // divergence of the targets, with Neumann borders. The half-sample
  // mirror of the problem to 2h x 2w is periodic, so the Fourier
  // transform diagonalises it.
  cv::Mat div(2 * h, 2 * w, CV_64F);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const double v = bx.at<double>(r, c) - (c > 0 ? bx.at<double>(r, c - 1) : 0.0) +
                       by.at<double>(r, c) - (r > 0 ? by.at<double>(r - 1, c) : 0.0);
      div.at<double>(r, c) = div.at<double>(r, 2 * w - 1 - c) = v;
      div.at<double>(2 * h - 1 - r, c) = div.at<double>(2 * h - 1 - r, 2 * w - 1 - c) = v;
    }
  cv::Mat spectrum;
  cv::dft(div, spectrum, cv::DFT_COMPLEX_OUTPUT);
  for (int v = 0; v < 2 * h; ++v)
    for (int u = 0; u < 2 * w; ++u) {
      const double eigen = 2 * std::cos(M_PI * u / w) - 2 + 2 * std::cos(M_PI * v / h) - 2;
      cv::Vec2d& z = spectrum.at<cv::Vec2d>(v, u);
      z = eigen < -1e-12 ? z / eigen : cv::Vec2d(0, 0);
    }
  cv::Mat heights;
  cv::dft(spectrum, heights, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
  cv::Mat out = heights(cv::Rect(0, 0, w, h)).clone();
  out -= cv::mean(out)[0];
  return out;
}

}  // namespace vexa
