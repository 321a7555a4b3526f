#include "io/image_codecs.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "io/codec_jpeg.h"
#include "io/codec_native.h"
#include "io/codec_png.h"
#include "io/codec_pnm.h"
#include "vexa/errors.h"

namespace vexa {
namespace io {
namespace {

using Decoder = Vresult (*)(const Bytes&, DecodedImage*);

struct Signature {
  const char* bytes;
  size_t size;
  Decoder decode;
};

// Portable maps start with 'P' and a digit; DecodePnm tells the kinds
// apart, so one signature per digit would add nothing.
const Signature kSignatures[] = {
    {"\x89PNG\r\n\x1a\n", 8, DecodePng},
    {"\xff\xd8\xff", 3, DecodeJpeg},
    {"II*\0", 4, DecodeTiff},
    {"MM\0*", 4, DecodeTiff},
    {"II+\0", 4, DecodeTiff},  // BigTIFF
    {"MM\0+", 4, DecodeTiff},
    {reinterpret_cast<const char*>(kNativeMagic), sizeof kNativeMagic,
     DecodeNative},
};

bool IsPnm(const Bytes& file) {
  return file.size() >= 2 && file[0] == 'P' && file[1] >= '1' && file[1] <= '7';
}

}  // namespace

const char* const kReadExtensions[] = {".png", ".tif", ".tiff", ".jpg", ".jpeg",
                                       ".pgm", ".ppm", ".vxi"};
const size_t kNumReadExtensions =
    sizeof kReadExtensions / sizeof kReadExtensions[0];

Vresult DecodeImage(const Bytes& file, DecodedImage* image) {
  for (const Signature& s : kSignatures) {
    const size_t n = std::min(s.size, file.size());
    if (n == 0 || std::memcmp(file.data(), s.bytes, n) != 0) continue;
    if (n < s.size) return VERR_FILE_TRUNCATED;
    return s.decode(file, image);
  }
  if (IsPnm(file)) return DecodePnm(file, image);
  return VERR_FILE_FORMAT;
}

bool ParseWriteFormat(const char* text, WriteFormat* format) {
  if (!text) return false;
  std::istringstream words(text);
  std::string name, option;
  if (!(words >> name)) return false;
  WriteFormat f;
  using Kind = WriteFormat::Kind;
  if (name == "png") {
    f.kind = Kind::kPng;
  } else if (name == "tiff") {
    f.kind = Kind::kTiff;
  } else if (name == "jpeg") {
    f.kind = Kind::kJpeg;
  } else if (name == "pgm" || name == "ppm") {
    f.kind = name == "pgm" ? Kind::kPgm : Kind::kPpm;
  } else if (name == "native") {
    f.kind = Kind::kNative;
  } else {
    return false;
  }
  bool seen_quality = false, seen_compression = false;
  while (words >> option) {
    if (f.kind == Kind::kTiff && option == "planar" && !f.tiff.planar) {
      f.tiff.planar = true;
    } else if (f.kind == Kind::kTiff && option == "tiled" && !f.tiff.tiled) {
      f.tiff.tiled = true;
    } else if (f.kind == Kind::kTiff && !seen_compression &&
               (option == "lzw" || option == "deflate" || option == "packbits")) {
      seen_compression = true;
      f.tiff.compression = option == "lzw"       ? TiffCompression::kLzw
                           : option == "deflate" ? TiffCompression::kDeflate
                                                 : TiffCompression::kPackBits;
    } else if (f.kind == Kind::kJpeg && !seen_quality) {
      char* end = nullptr;
      const long q = std::strtol(option.c_str(), &end, 10);
      if (*end != '\0' || q < 0 || q > 100) return false;
      f.jpeg_quality = static_cast<int>(q);
      seen_quality = true;
    } else if ((f.kind == Kind::kPgm || f.kind == Kind::kPpm) && !f.ascii &&
               option == "ascii") {
      f.ascii = true;
    } else {
      return false;
    }
  }
  *format = f;
  return true;
}

const char* FormatExtension(const WriteFormat& format) {
  switch (format.kind) {
    case WriteFormat::Kind::kPng:
      return ".png";
    case WriteFormat::Kind::kTiff:
      return ".tif";
    case WriteFormat::Kind::kJpeg:
      return ".jpg";
    case WriteFormat::Kind::kPgm:
      return ".pgm";
    case WriteFormat::Kind::kPpm:
      return ".ppm";
    case WriteFormat::Kind::kNative:
      break;
  }
  return ".vxi";
}

Vresult EncodeImage(const EncodeSource& source, const WriteFormat& format,
                    Bytes* file) {
  switch (format.kind) {
    case WriteFormat::Kind::kPng:
      return EncodePng(source, file);
    case WriteFormat::Kind::kTiff:
      return EncodeTiff(source, format.tiff, file);
    case WriteFormat::Kind::kJpeg:
      return EncodeJpeg(source, format.jpeg_quality, file);
    case WriteFormat::Kind::kPgm:
      if (source.channels.size() != 1) return VERR_CHANNEL;
      return EncodePnm(source, format.ascii, file);
    case WriteFormat::Kind::kPpm:
      if (source.channels.size() != 3) return VERR_CHANNEL;
      return EncodePnm(source, format.ascii, file);
    case WriteFormat::Kind::kNative:
      break;
  }
  return EncodeNative(source, file);
}

}  // namespace io
}  // namespace vexa
