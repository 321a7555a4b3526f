// TIFF files: 1 to 65,535 channels of 8, 16, 32 or 64-bit integers or
// 32-bit floats, stored contiguously (samples of one pixel together) or
// planar (one plane per channel), uncompressed or with any compression
// the TIFF library decodes. The first image of a multi-image file is read.
#pragma once

#include "io/codec_image.h"

namespace vexa {
namespace io {

constexpr uint32_t kTileSide = 16;

enum class TiffCompression { kNone, kLzw, kDeflate, kPackBits };

struct TiffOptions {
  bool planar = false;
  bool tiled = false;  // tiles of kTileSide pixels square instead of strips
  TiffCompression compression = TiffCompression::kNone;
};

// Sample formats map to pixel types: unsigned 8/16 bits to byte/uint2,
// signed 8/16/32/64 bits to int1/int2/int4/int8, 32-bit floats to real.
// Strips and tiles are read. Other layouts (palettes, YCbCr, bit depths
// below 8, doubles)
// give VERR_FILE_UNSUPPORTED.
Vresult DecodeTiff(const Bytes& file, DecodedImage* image);
// byte, int1, int2, uint2, int4, int8 and real channels (VERR_PIXEL_TYPE
// for the others); three or four byte or uint2 channels are written as
// RGB, every other layout as gray with further channels.
Vresult EncodeTiff(const EncodeSource& source, const TiffOptions& options,
                   Bytes* file);

}  // namespace io
}  // namespace vexa
