// The runtime's own lossless image format: every pixel type, any number
// of channels, and the domain. docs/formats/native-image.md describes the
// layout; kNativeVersion is the only version written and read.
#pragma once

#include "io/codec_image.h"

namespace vexa {
namespace io {

constexpr unsigned char kNativeMagic[8] = {0x89, 'V', 'X', 'I',
                                           '\r', '\n', 0x1A, '\n'};
constexpr uint32_t kNativeVersion = 1;

// A file cut short gives VERR_FILE_TRUNCATED; a checksum that does not
// match, fields out of range, a domain that is not in canonical order or
// leaves the image, or bytes behind the checksum give VERR_FILE_CORRUPT;
// a later version VERR_FILE_UNSUPPORTED.
Vresult DecodeNative(const Bytes& file, DecodedImage* image);
// The source's domain is stored with the pixels.
Vresult EncodeNative(const EncodeSource& source, Bytes* file);

}  // namespace io
}  // namespace vexa
