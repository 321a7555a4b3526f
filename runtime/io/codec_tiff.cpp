// The TIFF library reads and writes through client procedures over memory
// here, and reports failures through per-file handlers that stay silent:
// the result codes say what went wrong.
#include "io/codec_tiff.h"

#include <tiffio.h>

#include <algorithm>
#include <cstdarg>
#include <cstring>

#include "vexa/errors.h"

namespace vexa {
namespace io {
namespace {

// A file in memory: read from `data`, or written into `out`.
struct MemoryFile {
  const unsigned char* data;
  Bytes* out;
  uint64_t size;
  uint64_t pos;
  bool ended;  // a read asked for bytes beyond the end
};

MemoryFile& File(thandle_t h) { return *static_cast<MemoryFile*>(h); }

tmsize_t ReadProc(thandle_t h, void* buf, tmsize_t n) {
  MemoryFile& f = File(h);
  const uint64_t available = f.pos < f.size ? f.size - f.pos : 0;
  const uint64_t got = std::min<uint64_t>(available, static_cast<uint64_t>(n));
  if (got < static_cast<uint64_t>(n)) f.ended = true;
  if (got > 0) std::memcpy(buf, f.data + f.pos, got);
  f.pos += got;
  return static_cast<tmsize_t>(got);
}

tmsize_t WriteProc(thandle_t h, void* buf, tmsize_t n) {
  MemoryFile& f = File(h);
  if (!f.out || n < 0) return -1;
  try {
    if (f.out->size() < f.pos + n) f.out->resize(f.pos + n);
  } catch (const std::bad_alloc&) {
    return -1;
  }
  std::memcpy(f.out->data() + f.pos, buf, static_cast<size_t>(n));
  f.pos += n;
  f.size = f.out->size();
  return n;
}

toff_t SeekProc(thandle_t h, toff_t off, int whence) {
  MemoryFile& f = File(h);
  uint64_t base = 0;
  if (whence == SEEK_CUR) base = f.pos;
  if (whence == SEEK_END) base = f.size;
  f.pos = base + off;
  return f.pos;
}

int CloseProc(thandle_t) { return 0; }
toff_t SizeProc(thandle_t h) { return File(h).size; }
// No mapping: every read goes through ReadProc, which notices the end.
int MapProc(thandle_t, void**, toff_t*) { return 0; }
void UnmapProc(thandle_t, void*, toff_t) {}

int Silent(TIFF*, void*, const char*, const char*, va_list) { return 1; }

struct Handle {
  TIFF* tif = nullptr;
  ~Handle() {
    if (tif) TIFFClose(tif);
  }
};

// Opens `file` with silent handlers ("m": no memory mapping).
TIFF* Open(MemoryFile* file, const char* mode) {
  TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
  if (!options) return nullptr;
  TIFFOpenOptionsSetErrorHandlerExtR(options, Silent, nullptr);
  TIFFOpenOptionsSetWarningHandlerExtR(options, Silent, nullptr);
  TIFF* tif = TIFFClientOpenExt("memory", mode, file, ReadProc, WriteProc,
                                SeekProc, CloseProc, SizeProc, MapProc,
                                UnmapProc, options);
  TIFFOpenOptionsFree(options);
  return tif;
}

struct SampleKind {
  PixelType type;
  uint16_t bits;
  uint16_t format;
};

constexpr SampleKind kSampleKinds[] = {
    {PixelType::kByte, 8, SAMPLEFORMAT_UINT},
    {PixelType::kInt1, 8, SAMPLEFORMAT_INT},
    {PixelType::kUInt2, 16, SAMPLEFORMAT_UINT},
    {PixelType::kInt2, 16, SAMPLEFORMAT_INT},
    {PixelType::kInt4, 32, SAMPLEFORMAT_INT},
    {PixelType::kInt8, 64, SAMPLEFORMAT_INT},
    {PixelType::kReal, 32, SAMPLEFORMAT_IEEEFP},
};

const SampleKind* KindOf(PixelType type) {
  for (const SampleKind& k : kSampleKinds)
    if (k.type == type) return &k;
  return nullptr;
}

const SampleKind* KindOf(uint16_t bits, uint16_t format) {
  for (const SampleKind& k : kSampleKinds)
    if (k.bits == bits && k.format == format) return &k;
  return nullptr;
}

struct Layout {
  uint32_t width = 0, height = 0;
  uint16_t channels = 1;
  bool planar = false;
  bool tiled = false;
  uint32_t tile_width = 0, tile_height = 0;
};

// Checks the directory's fields and fills `layout`; VERR_FILE_UNSUPPORTED
// for what this codec does not read.
Vresult ReadLayout(TIFF* tif, Layout* layout, PixelType* type) {
  uint16_t bits = 1, format = SAMPLEFORMAT_UINT, planar = PLANARCONFIG_CONTIG;
  uint16_t photometric = PHOTOMETRIC_MINISBLACK, compression = COMPRESSION_NONE;
  if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &layout->width) ||
      !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &layout->height))
    return VERR_FILE_CORRUPT;
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &layout->channels);
  TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &bits);
  TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &format);
  TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &planar);
  TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &compression);
  TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &photometric);
  if (photometric != PHOTOMETRIC_MINISBLACK && photometric != PHOTOMETRIC_RGB &&
      photometric != PHOTOMETRIC_SEPARATED)
    return VERR_FILE_UNSUPPORTED;
  if (!TIFFIsCODECConfigured(compression)) return VERR_FILE_UNSUPPORTED;
  const SampleKind* kind = KindOf(bits, format);
  if (!kind) return VERR_FILE_UNSUPPORTED;
  *type = kind->type;
  layout->planar = planar == PLANARCONFIG_SEPARATE;
  layout->tiled = TIFFIsTiled(tif) != 0;
  if (layout->tiled &&
      (!TIFFGetField(tif, TIFFTAG_TILEWIDTH, &layout->tile_width) ||
       !TIFFGetField(tif, TIFFTAG_TILELENGTH, &layout->tile_height) ||
       layout->tile_width == 0 || layout->tile_height == 0))
    return VERR_FILE_CORRUPT;
  return VRESULT_OK;
}

// Reads scanlines: all channels of a row at once, or plane after plane
// (which keeps every plane's compressed strips in order).
bool ReadStrips(TIFF* tif, const Layout& layout, DecodedImage* image) {
  Bytes row(static_cast<size_t>(TIFFScanlineSize64(tif)));
  const int planes = layout.planar ? layout.channels : 1;
  const int per_row = layout.planar ? 1 : layout.channels;
  const size_t needed = static_cast<size_t>(layout.width) * per_row *
                        PixelSize(image->channels[0]->type());
  if (row.size() < needed) return false;
  for (int s = 0; s < planes; ++s) {
    for (uint32_t r = 0; r < layout.height; ++r) {
      if (TIFFReadScanline(tif, row.data(), r, static_cast<uint16_t>(s)) < 0)
        return false;
      ScatterRow(row.data(), per_row, s, static_cast<int32_t>(r), false, image);
    }
  }
  return true;
}

// Reads tiles, clipping those on the right and bottom edges to the image.
// The tile's size comes from the file too, independently of the image's,
// so it gets the same bound against the file's length before the buffer is
// made: a damaged tile shape must not ask for terabytes.
bool ReadTiles(TIFF* tif, const Layout& layout, size_t file_size,
               DecodedImage* image) {
  const int planes = layout.planar ? layout.channels : 1;
  const int per_pixel = layout.planar ? 1 : layout.channels;
  const size_t pixel = per_pixel * PixelSize(image->channels[0]->type());
  const double claimed = static_cast<double>(pixel) * layout.tile_width *
                         static_cast<double>(layout.tile_height);
  const uint64_t tile_size = TIFFTileSize64(tif);
  if (static_cast<double>(tile_size) < claimed ||
      static_cast<double>(tile_size) > static_cast<double>(file_size) * kMaxExpansion)
    return false;
  Bytes tile(static_cast<size_t>(tile_size));
  for (int s = 0; s < planes; ++s) {
    for (uint32_t y = 0; y < layout.height; y += layout.tile_height) {
      for (uint32_t x = 0; x < layout.width; x += layout.tile_width) {
        if (TIFFReadTile(tif, tile.data(), x, y, 0, static_cast<uint16_t>(s)) < 0)
          return false;
        const uint32_t w = std::min(layout.tile_width, layout.width - x);
        const uint32_t h = std::min(layout.tile_height, layout.height - y);
        for (uint32_t i = 0; i < h; ++i)
          ScatterPixels(tile.data() + i * layout.tile_width * pixel, per_pixel, s,
                        static_cast<int32_t>(y + i), static_cast<int32_t>(x),
                        static_cast<int32_t>(w), false, image);
      }
    }
  }
  return true;
}

uint16_t CompressionTag(TiffCompression c) {
  switch (c) {
    case TiffCompression::kLzw:
      return COMPRESSION_LZW;
    case TiffCompression::kDeflate:
      return COMPRESSION_ADOBE_DEFLATE;
    case TiffCompression::kPackBits:
      return COMPRESSION_PACKBITS;
    case TiffCompression::kNone:
      break;
  }
  return COMPRESSION_NONE;
}

bool WriteFields(TIFF* tif, const EncodeSource& source, const SampleKind& kind,
                 const TiffOptions& options) {
  const auto channels = static_cast<uint16_t>(source.channels.size());
  const bool rgb = channels >= 3 && channels <= 4 &&
                   (kind.type == PixelType::kByte || kind.type == PixelType::kUInt2);
  const uint16_t colour = rgb ? 3 : 1;
  const std::vector<uint16_t> extra(channels - colour, EXTRASAMPLE_UNSPECIFIED);
  bool ok = TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, static_cast<uint32_t>(source.width())) &&
            TIFFSetField(tif, TIFFTAG_IMAGELENGTH, static_cast<uint32_t>(source.height())) &&
            TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, channels) &&
            TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, kind.bits) &&
            TIFFSetField(tif, TIFFTAG_SAMPLEFORMAT, kind.format) &&
            TIFFSetField(tif, TIFFTAG_PHOTOMETRIC,
                         rgb ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK) &&
            TIFFSetField(tif, TIFFTAG_PLANARCONFIG,
                         options.planar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG) &&
            TIFFSetField(tif, TIFFTAG_COMPRESSION, CompressionTag(options.compression));
  if (ok && !extra.empty())
    ok = TIFFSetField(tif, TIFFTAG_EXTRASAMPLES, static_cast<uint16_t>(extra.size()),
                      extra.data());
  if (options.tiled)
    return ok && TIFFSetField(tif, TIFFTAG_TILEWIDTH, kTileSide) &&
           TIFFSetField(tif, TIFFTAG_TILELENGTH, kTileSide);
  return ok && TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tif, 0));
}

// Writes strips of scanlines, or tiles (the parts of edge tiles beyond
// the image stay zero); planar files plane after plane.
bool WritePixels(TIFF* tif, const EncodeSource& source, const TiffOptions& options) {
  const size_t planes = options.planar ? source.channels.size() : 1;
  const size_t per_pixel = options.planar ? 1 : source.channels.size();
  const size_t pixel = per_pixel * PixelSize(source.type());
  const uint32_t width = static_cast<uint32_t>(source.width());
  const uint32_t height = static_cast<uint32_t>(source.height());
  const uint32_t block_width = options.tiled ? kTileSide : width;
  const uint32_t block_height = options.tiled ? kTileSide : 1;
  Bytes block(block_width * block_height * pixel);
  Bytes row(width * pixel);
  for (size_t s = 0; s < planes; ++s) {
    const std::vector<const PixelBuffer*> channels =
        options.planar ? std::vector<const PixelBuffer*>{source.channels[s]}
                       : source.channels;
    for (uint32_t y = 0; y < height; y += block_height) {
      for (uint32_t x = 0; x < width; x += block_width) {
        std::fill(block.begin(), block.end(), 0);
        for (uint32_t i = 0; i < block_height && y + i < height; ++i) {
          GatherRow(channels, static_cast<int32_t>(y + i), false, row.data());
          const uint32_t n = std::min(block_width, width - x);
          std::memcpy(block.data() + i * block_width * pixel, row.data() + x * pixel,
                      n * pixel);
        }
        const auto sample = static_cast<uint16_t>(s);
        const bool ok = options.tiled
                            ? TIFFWriteTile(tif, block.data(), x, y, 0, sample) >= 0
                            : TIFFWriteScanline(tif, block.data(), y, sample) >= 0;
        if (!ok) return false;
      }
    }
  }
  return TIFFFlush(tif) == 1;
}

}  // namespace

Vresult DecodeTiff(const Bytes& file, DecodedImage* image) {
  MemoryFile in{file.data(), nullptr, file.size(), 0, false};
  const auto failure = [&in] {
    return in.ended ? VERR_FILE_TRUNCATED : VERR_FILE_CORRUPT;
  };
  Handle h;
  h.tif = Open(&in, "rm");
  if (!h.tif) return failure();
  Layout layout;
  PixelType type = PixelType::kByte;
  Vresult rc = ReadLayout(h.tif, &layout, &type);
  if (rc != VRESULT_OK) return rc;
  rc = NewChannels(type, layout.width, layout.height, layout.channels,
                   file.size(), image);
  if (rc != VRESULT_OK) return rc;
  const bool ok = layout.tiled ? ReadTiles(h.tif, layout, file.size(), image)
                               : ReadStrips(h.tif, layout, image);
  return ok ? VRESULT_OK : failure();
}

Vresult EncodeTiff(const EncodeSource& source, const TiffOptions& options,
                   Bytes* file) {
  const SampleKind* kind = KindOf(source.type());
  if (!kind) return VERR_PIXEL_TYPE;
  if (source.channels.size() > 65535) return VERR_CHANNEL;
  file->clear();
  MemoryFile out{nullptr, file, 0, 0, false};
  Handle h;
  h.tif = Open(&out, "wm");
  if (!h.tif) return VERR_OUT_OF_MEMORY;
  if (!WriteFields(h.tif, source, *kind, options) ||
      !WritePixels(h.tif, source, options))
    return VERR_OUT_OF_MEMORY;
  return VRESULT_OK;
}

}  // namespace io
}  // namespace vexa
