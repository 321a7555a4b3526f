// PNG files: gray, gray + alpha, RGB and RGBA with 8 or 16 bits per
// sample. Palette and low-bit-depth files are expanded to 8-bit samples,
// a transparency chunk to an alpha channel; alpha is one more channel.
#pragma once

#include "io/codec_image.h"

namespace vexa {
namespace io {

// 8-bit files give byte channels, 16-bit files uint2 channels.
Vresult DecodePng(const Bytes& file, DecodedImage* image);
// byte or uint2 channels, 1 to 4 of them (VERR_PIXEL_TYPE, VERR_CHANNEL).
Vresult EncodePng(const EncodeSource& source, Bytes* file);

}  // namespace io
}  // namespace vexa
