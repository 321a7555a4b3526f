// Complex images as OpenCV matrices: see spectrum.h.
#include "ops/fft/spectrum.h"

#include <memory>
#include <vector>

#include "ops/common/cv_wrap.h"

namespace vexa {

cv::Mat ComplexPixels(const PixelBuffer& buffer) {
  const int h = buffer.height(), w = buffer.width();
  cv::Mat planes[2] = {cv::Mat(h, w, CV_64F), cv::Mat::zeros(h, w, CV_64F)};
  if (buffer.type() == PixelType::kComplex) {
    const float* re = reinterpret_cast<const float*>(buffer.data());
    cv::Mat(h, w, CV_32F, const_cast<float*>(re)).convertTo(planes[0], CV_64F);
    cv::Mat(h, w, CV_32F, const_cast<float*>(re) + static_cast<size_t>(h) * w)
        .convertTo(planes[1], CV_64F);
  } else {
    planes[0] = SourceFor(buffer, cv::Rect(0, 0, w, h), 0, CV_64F).Roi();
  }
  cv::Mat pairs;
  cv::merge(planes, 2, pairs);
  return pairs;
}

Vresult NewComplexImage(const cv::Mat& pairs, Vkey* key) {
  std::unique_ptr<PixelBuffer> buffer;
  Vresult rc = PixelBuffer::Create(PixelType::kComplex, pairs.cols, pairs.rows, &buffer);
  if (rc != VRESULT_OK) return rc;
  float* re = reinterpret_cast<float*>(buffer->data());
  cv::Mat planes[2];
  cv::split(pairs, planes);
  cv::Mat re_plane(pairs.rows, pairs.cols, CV_32F, re);
  cv::Mat im_plane(pairs.rows, pairs.cols, CV_32F, re + static_cast<size_t>(pairs.rows) * pairs.cols);
  planes[0].convertTo(re_plane, CV_32F);
  planes[1].convertTo(im_plane, CV_32F);
  std::vector<std::unique_ptr<PixelBuffer>> channels;
  channels.push_back(std::move(buffer));
  return db::NewImage(nullptr, std::move(channels), key);
}

Vresult NewImageOfValues(const cv::Mat& values, PixelType type, Vkey* key) {
  Vresult rc = db::NewBlankImage(type, values.cols, values.rows, 1, nullptr, key);
  if (rc != VRESULT_OK) return rc;
  PixelBuffer* px = nullptr;
  rc = db::WritableChannel(*key, 0, &px);
  if (rc != VRESULT_OK) {
    db::Release(*key);
    return rc;
  }
  StoreInDomain(values, cv::Rect(0, 0, values.cols, values.rows),
                *Region::Rectangle(0, 0, values.rows - 1, values.cols - 1), px);
  return VRESULT_OK;
}

}  // namespace vexa
