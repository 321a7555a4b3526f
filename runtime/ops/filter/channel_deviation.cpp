// deviation_n: the standard deviation of each pixel's values over the
// channels of an image (divided by the number of channels, so one channel
// gives 0), as a one-channel image of the input's type under its domain.
#include <cmath>
#include <vector>

#include "ops/common/cv_wrap.h"
#include "ops/filter/filter_support.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(deviation_n) {
  return MakePerImage(ctx, 1, 1, [](Vkey, const db::ImageData& image, Vkey* key) {
    const PixelBuffer& first = *image.channels[0];
    PixelType type;
    for (const PixelBuffer* ch : image.channels)
      if (!FilterableType(ch->type(), &type)) return VERR_PIXEL_TYPE;
    Vresult rc = db::NewBlankImage(first.type(), first.width(), first.height(), 1,
                                   image.domain, key);
    if (rc != VRESULT_OK) return rc;
    const cv::Rect box = BoxOf(*image.domain);
    if (box.empty()) return VRESULT_OK;
    PixelBuffer* out = nullptr;
    rc = db::WritableChannel(*key, 0, &out);
    if (rc != VRESULT_OK) {
      db::Release(*key);
      return rc;
    }
    // Two passes (mean, then squared differences): no cancellation for
    // large values with a small spread.
    std::vector<cv::Mat> values;
    for (const PixelBuffer* ch : image.channels)
      values.push_back(SourceFor(*ch, box, 0, CV_64F).Roi());
    const double n = static_cast<double>(values.size());
    cv::Mat mean = cv::Mat::zeros(box.size(), CV_64F), sum_sq = mean.clone();
    for (const cv::Mat& v : values) mean += v / n;
    for (const cv::Mat& v : values) {
      const cv::Mat d = v - mean;
      sum_sq += d.mul(d);
    }
    cv::Mat deviation;
    cv::sqrt(sum_sq / n, deviation);
    StoreInDomain(deviation, box, *image.domain, out);
    return VRESULT_OK;
  });
}

}  // namespace vexa
