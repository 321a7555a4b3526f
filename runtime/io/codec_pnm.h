// Portable gray and pixel maps: P2 and P5 (gray, one channel), P3 and P6
// (RGB, three channels), in text or binary form, with a maximum value up
// to 65,535.
#pragma once

#include "io/codec_image.h"

namespace vexa {
namespace io {

// A maximum value up to 255 gives byte channels, a larger one uint2
// channels; samples are taken as they are, not scaled. A sample above the
// maximum value gives VERR_FILE_CORRUPT; bitmaps (P1, P4) and arbitrary
// maps (P7) VERR_FILE_UNSUPPORTED.
Vresult DecodePnm(const Bytes& file, DecodedImage* image);
// One channel as a gray map, three as a pixel map (VERR_CHANNEL
// otherwise), byte with maximum value 255 or uint2 with 65,535
// (VERR_PIXEL_TYPE otherwise); `text` writes P2/P3, else P5/P6.
Vresult EncodePnm(const EncodeSource& source, bool text, Bytes* file);

}  // namespace io
}  // namespace vexa
