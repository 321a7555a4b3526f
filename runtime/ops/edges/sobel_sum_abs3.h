// The 3x3 Sobel amplitude |gx| + |gy| of byte images in one pass over
// three source rows (AVX-512, AVX2 or baseline code, chosen when loaded).
#pragma once

#include <cstdint>

#include <opencv2/core.hpp>

namespace vexa {

// dst_row[c] for c in [cb, ce] of row y of src (CV_8U): the amplitude
// |gx| + |gy| of the normalised 3x3 Sobel masks, rounded half up (the
// integer masks give 8 times it, so (|8 gx| + |8 gy| + 4) >> 3, which
// never exceeds 255). Neighbours outside src mirror into it without
// repeating the border pixel (... 2 1 | 0 1 2 ...); a side of 1 repeats
// its pixel.
void SobelSumAbs3Bytes(const cv::Mat& src, int y, int cb, int ce, uint8_t* dst_row);

}  // namespace vexa
