// JPEG files with 8-bit samples: gray (one channel) or colour (three
// channels, RGB).
#pragma once

#include "io/codec_image.h"

namespace vexa {
namespace io {

// Every warning of the decoder counts as a failure: a file that ends early
// gives VERR_FILE_TRUNCATED, damaged entropy-coded data VERR_FILE_CORRUPT,
// so no half-grey image of a broken file is ever returned. CMYK files give
// VERR_FILE_UNSUPPORTED.
Vresult DecodeJpeg(const Bytes& file, DecodedImage* image);
// byte channels, one or three of them; quality 0..100.
Vresult EncodeJpeg(const EncodeSource& source, int quality, Bytes* file);

}  // namespace io
}  // namespace vexa
