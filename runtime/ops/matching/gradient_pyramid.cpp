#include "gradient_pyramid.h"

#include <cmath>
#include <opencv2/imgproc.hpp>

#include "ops/common/cv_wrap.h"

namespace vexa {
namespace matching {

Vresult FloatPlane(const PixelBuffer& px, cv::Mat* out) {
  try {
    if (StoredCvDepth(px.type()) >= 0 && px.type() != PixelType::kComplex) {
      CvHeaderOf(px).convertTo(*out, CV_32F);
      return VRESULT_OK;
    }
    // int8 and complex have no OpenCV depth: through the generic reader.
    out->create(px.height(), px.width(), CV_32F);
    for (int r = 0; r < px.height(); ++r) {
      float* row = out->ptr<float>(r);
      for (int c = 0; c < px.width(); ++c) row[c] = static_cast<float>(px.Get(r, c));
    }
    return VRESULT_OK;
  } catch (const cv::Exception&) {
    return VERR_OUT_OF_MEMORY;
  }
}

std::vector<cv::Mat> MeanPyramid(const cv::Mat& level0, int num_levels) {
  std::vector<cv::Mat> levels{level0};
  while (static_cast<int>(levels.size()) < num_levels) {
    const cv::Mat& prev = levels.back();
    const int w = prev.cols / 2, h = prev.rows / 2;
    if (w < 2 || h < 2) break;
    cv::Mat next;
    // An exact halving, so INTER_AREA is the plain 2x2 mean.
    cv::resize(prev(cv::Rect(0, 0, 2 * w, 2 * h)), next, cv::Size(w, h), 0, 0, cv::INTER_AREA);
    levels.push_back(next);
  }
  return levels;
}

void Gradients(const cv::Mat& plane, cv::Mat* grad_r, cv::Mat* grad_c) {
  cv::Sobel(plane, *grad_c, CV_32F, 1, 0, 3, 0.25, 0, cv::BORDER_REPLICATE);
  cv::Sobel(plane, *grad_r, CV_32F, 0, 1, 3, 0.25, 0, cv::BORDER_REPLICATE);
}

void SmoothedGradients(const cv::Mat& plane, cv::Mat* grad_r, cv::Mat* grad_c) {
  cv::Mat smooth;
  cv::GaussianBlur(plane, smooth, cv::Size(0, 0), kRefineSigma, kRefineSigma, cv::BORDER_REPLICATE);
  Gradients(smooth, grad_r, grad_c);
}

void UnitDirections(const cv::Mat& grad_r, const cv::Mat& grad_c, double min_contrast, int pad,
                    DirectionPlanes* out) {
  out->width = grad_r.cols;
  out->height = grad_r.rows;
  out->pad = pad;
  out->stride = grad_r.cols + 2 * pad;
  const size_t total = static_cast<size_t>(out->stride) * (grad_r.rows + 2 * pad);
  out->dr.assign(total, 0.0f);
  out->dc.assign(total, 0.0f);
  const float min_sq = static_cast<float>(min_contrast * min_contrast);
  for (int r = 0; r < grad_r.rows; ++r) {
    const float* gr = grad_r.ptr<float>(r);
    const float* gc = grad_c.ptr<float>(r);
    float* dr = &out->dr[out->Index(r, 0)];
    float* dc = &out->dc[out->Index(r, 0)];
    for (int c = 0; c < grad_r.cols; ++c) {
      const float sq = gr[c] * gr[c] + gc[c] * gc[c];
      if (sq >= min_sq && sq > 0) {
        const float inv = 1.0f / std::sqrt(sq);
        dr[c] = gr[c] * inv;
        dc[c] = gc[c] * inv;
      }
    }
  }
}

}  // namespace matching
}  // namespace vexa
