// Complex images as OpenCV matrices, for the Fourier operators.
//
// A complex image keeps its real and imaginary parts as two float planes;
// OpenCV's dft works on interleaved pairs. These helpers convert between
// the two (in double, for the transform's accuracy) and make the result
// images, which always cover the whole image: a transform is global, so
// the Fourier operators read every pixel whatever the domain.
#pragma once

#include <opencv2/core.hpp>

#include "ops/common/op_objects.h"

namespace vexa {

// The pixels of one channel as CV_64FC2 (real, imaginary); the imaginary
// part is 0 for every type but complex.
cv::Mat ComplexPixels(const PixelBuffer& buffer);

// A new complex image of the pairs in `pairs` (CV_64FC2), full domain.
Vresult NewComplexImage(const cv::Mat& pairs, Vkey* key);

// A new one-channel image of `type` from `values` (CV_64F, rounded and
// clipped to the type), full domain.
Vresult NewImageOfValues(const cv::Mat& values, PixelType type, Vkey* key);

// One result per image of input object 1 (first channel) into output
// object 1: make(pixels, &key) with the pixels as CV_64FC2.
template <class Make>
Vresult MapSpectra(OpContext& ctx, Make&& make) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    Vkey made = VKEY_UNDEF;
    r = make(*image.channels[0], &made);
    if (r == VRESULT_OK) out.Add(made);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
