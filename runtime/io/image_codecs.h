// The image file formats the runtime reads and writes: reading picks the
// codec by the file's first bytes, writing by a format text.
#pragma once

#include <string>

#include "io/codec_image.h"
#include "io/codec_tiff.h"

namespace vexa {
namespace io {

// Decodes a file's contents. Unknown contents give VERR_FILE_FORMAT; the
// first bytes of a known signature alone (a file cut within its
// signature) VERR_FILE_TRUNCATED.
Vresult DecodeImage(const Bytes& file, DecodedImage* image);

// A format text of write_image: a format name and options, separated by
// spaces:
//   "png"
//   "tiff" [ "planar" ] [ "tiled" ] [ "lzw" | "deflate" | "packbits" ]
//   "jpeg" [ quality 0..100, default 90 ]
//   "pgm" [ "ascii" ], "ppm" [ "ascii" ]
//   "native"
struct WriteFormat {
  enum class Kind { kPng, kTiff, kJpeg, kPgm, kPpm, kNative };
  Kind kind = Kind::kPng;
  TiffOptions tiff;
  int jpeg_quality = 90;
  bool ascii = false;
};
// False for an unknown name or option.
bool ParseWriteFormat(const char* text, WriteFormat* format);
// The extension a file of the format gets when its name has none (".png").
const char* FormatExtension(const WriteFormat& format);
// Codes: VERR_PIXEL_TYPE for a pixel type the format cannot hold,
// VERR_CHANNEL for a number of channels it cannot hold.
Vresult EncodeImage(const EncodeSource& source, const WriteFormat& format,
                    Bytes* file);

// The extensions read_image tries, in order, for a name that names no file.
extern const char* const kReadExtensions[];
extern const size_t kNumReadExtensions;

}  // namespace io
}  // namespace vexa
