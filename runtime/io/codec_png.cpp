// libpng reports failures by longjmp. Every libpng call that can fail runs
// inside one of the small *Safely functions below, which hold no object
// with a destructor, so the jump back to their setjmp skips nothing; the
// libpng structures and all buffers belong to their callers and are freed
// on every path.
#include "io/codec_png.h"

#include <png.h>

#include <csetjmp>
#include <cstring>

#include "vexa/errors.h"

namespace vexa {
namespace io {
namespace {

struct MemoryReader {
  const unsigned char* data;
  size_t size;
  size_t pos;
  bool ended;  // the file ended before libpng had all it needed
};

struct MemoryWriter {
  Bytes* out;
  bool out_of_memory;
};

// Errors jump back silently: the caller turns them into a result code.
void OnError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void OnWarning(png_structp, png_const_charp) {}

void ReadFromMemory(png_structp png, png_bytep out, size_t n) {
  auto* in = static_cast<MemoryReader*>(png_get_io_ptr(png));
  if (n > in->size - in->pos) {
    in->ended = true;
    png_error(png, "file ends early");
  }
  std::memcpy(out, in->data + in->pos, n);
  in->pos += n;
}

void WriteToMemory(png_structp png, png_bytep data, size_t n) {
  auto* w = static_cast<MemoryWriter*>(png_get_io_ptr(png));
  try {
    w->out->insert(w->out->end(), data, data + n);
  } catch (const std::bad_alloc&) {
    w->out_of_memory = true;
  }
  if (w->out_of_memory) png_error(png, "out of memory");
}

void FlushMemory(png_structp) {}

struct ReadStructs {
  png_structp png = nullptr;
  png_infop info = nullptr;
  ~ReadStructs() { png_destroy_read_struct(&png, &info, nullptr); }
};

struct WriteStructs {
  png_structp png = nullptr;
  png_infop info = nullptr;
  ~WriteStructs() { png_destroy_write_struct(&png, &info); }
};

struct Layout {
  png_uint_32 width, height;
  int channels, depth;
};

// Reads the header and sets up the expansions: palette to RGB, gray below
// 8 bits to 8 bits, transparency to alpha; 16-bit samples arrive in the
// platform's byte order.
bool ReadHeaderSafely(png_structp png, png_infop info, Layout* layout) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_read_info(png, info);
  png_set_expand(png);
  png_set_swap(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  layout->width = png_get_image_width(png, info);
  layout->height = png_get_image_height(png, info);
  layout->channels = png_get_channels(png, info);
  layout->depth = png_get_bit_depth(png, info);
  return true;
}

// Reads all rows and the chunks behind them up to the end marker, so a
// file cut after its pixel data is still reported.
bool ReadRowsSafely(png_structp png, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_read_image(png, rows);
  png_read_end(png, nullptr);
  return true;
}

bool WriteSafely(png_structp png, png_infop info, const Layout& layout,
                 png_bytepp rows) {
  static const int kColorTypes[] = {PNG_COLOR_TYPE_GRAY,
                                    PNG_COLOR_TYPE_GRAY_ALPHA,
                                    PNG_COLOR_TYPE_RGB, PNG_COLOR_TYPE_RGBA};
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_IHDR(png, info, layout.width, layout.height, layout.depth,
               kColorTypes[layout.channels - 1], PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_write_info(png, info);
  png_set_swap(png);
  png_write_image(png, rows);
  png_write_end(png, info);
  return true;
}

// Row pointers into one interleaved buffer of `height` rows.
std::vector<png_bytep> RowPointers(Bytes& pixels, png_uint_32 height) {
  std::vector<png_bytep> rows(height);
  const size_t stride = pixels.size() / height;
  for (png_uint_32 r = 0; r < height; ++r) rows[r] = pixels.data() + r * stride;
  return rows;
}

}  // namespace

Vresult DecodePng(const Bytes& file, DecodedImage* image) {
  ReadStructs s;
  s.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError,
                                 OnWarning);
  if (s.png) s.info = png_create_info_struct(s.png);
  if (!s.info) return VERR_OUT_OF_MEMORY;
  MemoryReader in{file.data(), file.size(), 0, false};
  png_set_read_fn(s.png, &in, ReadFromMemory);
  const auto failure = [&in] {
    return in.ended ? VERR_FILE_TRUNCATED : VERR_FILE_CORRUPT;
  };

  Layout layout{};
  if (!ReadHeaderSafely(s.png, s.info, &layout)) return failure();
  const PixelType type = layout.depth == 16 ? PixelType::kUInt2 : PixelType::kByte;
  if (layout.depth != 8 && layout.depth != 16) return VERR_FILE_UNSUPPORTED;
  Vresult rc = NewChannels(type, layout.width, layout.height, layout.channels,
                           file.size(), image);
  if (rc != VRESULT_OK) return rc;

  const size_t sample = layout.depth / 8;
  Bytes pixels(static_cast<size_t>(layout.width) * layout.height *
               layout.channels * sample);
  std::vector<png_bytep> rows = RowPointers(pixels, layout.height);
  if (!ReadRowsSafely(s.png, rows.data())) return failure();
  for (png_uint_32 r = 0; r < layout.height; ++r)
    ScatterRow(rows[r], layout.channels, 0, static_cast<int32_t>(r), false,
               image);
  return VRESULT_OK;
}

Vresult EncodePng(const EncodeSource& source, Bytes* file) {
  const PixelType type = source.type();
  if (type != PixelType::kByte && type != PixelType::kUInt2)
    return VERR_PIXEL_TYPE;
  if (source.channels.size() > 4) return VERR_CHANNEL;
  const Layout layout{static_cast<png_uint_32>(source.width()),
                      static_cast<png_uint_32>(source.height()),
                      static_cast<int>(source.channels.size()),
                      type == PixelType::kUInt2 ? 16 : 8};

  Bytes pixels(static_cast<size_t>(layout.width) * layout.height *
               layout.channels * (layout.depth / 8));
  std::vector<png_bytep> rows = RowPointers(pixels, layout.height);
  for (png_uint_32 r = 0; r < layout.height; ++r)
    GatherRow(source.channels, static_cast<int32_t>(r), false, rows[r]);

  WriteStructs s;
  s.png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnError,
                                  OnWarning);
  if (s.png) s.info = png_create_info_struct(s.png);
  if (!s.info) return VERR_OUT_OF_MEMORY;
  MemoryWriter out{file, false};
  file->clear();
  png_set_write_fn(s.png, &out, WriteToMemory, FlushMemory);
  if (!WriteSafely(s.png, s.info, layout, rows.data()))
    return out.out_of_memory ? VERR_OUT_OF_MEMORY : VERR_INTERNAL;
  return VRESULT_OK;
}

}  // namespace io
}  // namespace vexa
