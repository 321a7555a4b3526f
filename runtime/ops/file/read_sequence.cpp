// read_sequence: one image cut out of a file of raw pixels without a format
// of its own. The file holds a header of `header_size` bytes, then frames of
// source_width x source_height pixels each, row by row; `index` (from 1)
// picks the frame. The image is the dest_width x dest_height part whose
// upper left pixel is (start_row, start_column) of the frame.
//
// Pixel types: every type of one channel but complex, and "bit", which
// gives a byte image with 255 for a set bit. bit_order ("MSBFirst" or
// "LSBFirst") tells which bit of a byte is the leftmost pixel; pad tells
// whether each row of bits starts on a new byte ("byte") or follows the
// last bit of the row before ("none"). byte_order ("MSBFirst" or
// "LSBFirst") is the order of the bytes of one pixel of two or more bytes.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "image_store.h"
#include "objdb.h"
#include "ops/common/op_objects.h"
#include "registry.h"
#include "vexa/errors.h"

namespace vexa {
namespace {

// Input control numbers.
enum Par {
  kHeaderSize,
  kSourceWidth,
  kSourceHeight,
  kStartRow,
  kStartColumn,
  kDestWidth,
  kDestHeight,
  kPixelType,
  kBitOrder,
  kByteOrder,
  kPad,
  kIndex,
  kFileName,
};

struct Layout {
  Vlong header = 0;
  Vlong source_width = 0, source_height = 0;
  Vlong start_row = 0, start_column = 0;
  Vlong dest_width = 0, dest_height = 0;
  Vlong index = 0;
  bool bits = false;       // "bit": one bit per pixel
  PixelType type = PixelType::kByte;
  bool msb_bit_first = true;
  bool big_endian = false;
  bool pad_rows = true;    // bit rows start on a byte
};

// One of two words of input control `par`: true for `first`.
Vresult GetChoice(const OpContext& ctx, int par, const char* first,
                  const char* second, bool* is_first) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(s, first) == 0) {
    *is_first = true;
  } else if (std::strcmp(s, second) == 0) {
    *is_first = false;
  } else {
    return VERR_CTRL_VALUE(par);
  }
  return VRESULT_OK;
}

Vresult GetInRange(const OpContext& ctx, int par, Vlong lo, Vlong hi, Vlong* v) {
  const Vresult rc = ctx.GetLong(par, v);
  if (rc != VRESULT_OK) return rc;
  return *v < lo || *v > hi ? VERR_CTRL_VALUE(par) : VRESULT_OK;
}

Vresult ReadLayout(const OpContext& ctx, Layout* l) {
  const Vlong side = kMaxImageSide;
  Vresult rc = GetInRange(ctx, kHeaderSize, 0, INT64_MAX / 2, &l->header);
  if (rc == VRESULT_OK) rc = GetInRange(ctx, kSourceWidth, 1, side, &l->source_width);
  if (rc == VRESULT_OK) rc = GetInRange(ctx, kSourceHeight, 1, side, &l->source_height);
  if (rc == VRESULT_OK) rc = GetInRange(ctx, kStartRow, 0, side, &l->start_row);
  if (rc == VRESULT_OK) rc = GetInRange(ctx, kStartColumn, 0, side, &l->start_column);
  if (rc == VRESULT_OK) rc = GetInRange(ctx, kDestWidth, 1, side, &l->dest_width);
  if (rc == VRESULT_OK) rc = GetInRange(ctx, kDestHeight, 1, side, &l->dest_height);
  if (rc == VRESULT_OK) rc = GetInRange(ctx, kIndex, 1, INT32_MAX, &l->index);
  if (rc != VRESULT_OK) return rc;
  // The cut must lie inside the frame.
  if (l->start_column + l->dest_width > l->source_width) return VERR_CTRL_VALUE(kDestWidth);
  if (l->start_row + l->dest_height > l->source_height) return VERR_CTRL_VALUE(kDestHeight);
  const char* type = nullptr;
  rc = ctx.GetString(kPixelType, &type);
  if (rc != VRESULT_OK) return rc;
  l->bits = std::strcmp(type, "bit") == 0;
  if (!l->bits && !ParsePixelType(type, &l->type)) return VERR_CTRL_VALUE(kPixelType);
  if (l->type == PixelType::kComplex) return VERR_PIXEL_TYPE;
  rc = GetChoice(ctx, kBitOrder, "MSBFirst", "LSBFirst", &l->msb_bit_first);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, kByteOrder, "MSBFirst", "LSBFirst", &l->big_endian);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, kPad, "byte", "none", &l->pad_rows);
  return rc;
}

// The file's bytes from `offset` on, `n` of them.
Vresult ReadBytes(const char* name, Vlong offset, size_t n, std::vector<unsigned char>* out) {
  std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(name, "rb"), &std::fclose);
  if (!file) return VERR_FILE_NOT_FOUND;
  if (fseeko(file.get(), static_cast<off_t>(offset), SEEK_SET) != 0) return VERR_FILE_READ;
  out->resize(n);
  const size_t got = std::fread(out->data(), 1, n, file.get());
  if (got != n) return std::ferror(file.get()) ? VERR_FILE_READ : VERR_FILE_TRUNCATED;
  return VRESULT_OK;
}

// The file offset of byte `first` of the frame picked by the index; a
// frame beyond any file offset gives VERR_CTRL_VALUE of the index.
Vresult FrameOffset(const Layout& l, Vlong frame_bytes, Vlong first, Vlong* offset) {
  Vlong skip = 0;
  if (__builtin_mul_overflow(l.index - 1, frame_bytes, &skip) ||
      __builtin_add_overflow(skip, l.header + first, offset))
    return VERR_CTRL_VALUE(kIndex);
  return VRESULT_OK;
}

// Bits: the frame's rows from start_row on, unpacked into 0 and 255.
Vresult ReadBitFrame(const Layout& l, const char* name, PixelBuffer* out) {
  const Vlong row_bits = l.pad_rows ? (l.source_width + 7) / 8 * 8 : l.source_width;
  const Vlong frame_bytes = (row_bits * l.source_height + 7) / 8;
  const Vlong first_bit = l.start_row * row_bits;
  const Vlong last_bit = (l.start_row + l.dest_height - 1) * row_bits +
                         l.start_column + l.dest_width - 1;
  const Vlong first_byte = first_bit / 8;
  Vlong offset = 0;
  Vresult rc = FrameOffset(l, frame_bytes, first_byte, &offset);
  std::vector<unsigned char> bytes;
  if (rc == VRESULT_OK)
    rc = ReadBytes(name, offset, static_cast<size_t>(last_bit / 8 - first_byte + 1), &bytes);
  if (rc != VRESULT_OK) return rc;
  unsigned char* dst = out->data();
  for (Vlong r = 0; r < l.dest_height; ++r) {
    for (Vlong c = 0; c < l.dest_width; ++c) {
      const Vlong bit = (l.start_row + r) * row_bits + l.start_column + c - first_byte * 8;
      const int shift = l.msb_bit_first ? 7 - static_cast<int>(bit % 8)
                                        : static_cast<int>(bit % 8);
      *dst++ = (bytes[static_cast<size_t>(bit / 8)] >> shift) & 1 ? 255 : 0;
    }
  }
  return VRESULT_OK;
}

// Whole pixels: the cut's rows, each pixel's bytes put into this
// machine's order.
Vresult ReadPixelFrame(const Layout& l, const char* name, PixelBuffer* out) {
  const Vlong size = static_cast<Vlong>(PixelSize(l.type));
  const Vlong frame_bytes = l.source_width * l.source_height * size;
  const Vlong first = (l.start_row * l.source_width + l.start_column) * size;
  const Vlong last = ((l.start_row + l.dest_height - 1) * l.source_width +
                      l.start_column + l.dest_width) * size;
  Vlong offset = 0;
  Vresult rc = FrameOffset(l, frame_bytes, first, &offset);
  std::vector<unsigned char> bytes;
  if (rc == VRESULT_OK) rc = ReadBytes(name, offset, static_cast<size_t>(last - first), &bytes);
  if (rc != VRESULT_OK) return rc;
  const uint16_t probe = 1;
  const bool host_big_endian = *reinterpret_cast<const unsigned char*>(&probe) == 0;
  const bool swap = size > 1 && host_big_endian != l.big_endian;
  unsigned char* dst = out->data();
  const size_t row_bytes = static_cast<size_t>(l.dest_width * size);
  for (Vlong r = 0; r < l.dest_height; ++r) {
    const unsigned char* src = bytes.data() + r * l.source_width * size;
    std::memcpy(dst, src, row_bytes);
    if (swap)
      for (size_t p = 0; p < row_bytes; p += static_cast<size_t>(size))
        for (Vlong i = 0; i < size / 2; ++i) std::swap(dst[p + i], dst[p + size - 1 - i]);
    dst += row_bytes;
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(read_sequence) {
  Layout layout;
  const char* name = nullptr;
  Vresult rc = ReadLayout(ctx, &layout);
  if (rc == VRESULT_OK) rc = ctx.GetString(kFileName, &name);
  if (rc != VRESULT_OK) return rc;
  std::vector<std::unique_ptr<PixelBuffer>> channels(1);
  rc = PixelBuffer::Create(layout.bits ? PixelType::kByte : layout.type,
                           static_cast<int32_t>(layout.dest_width),
                           static_cast<int32_t>(layout.dest_height), &channels[0]);
  if (rc != VRESULT_OK) return rc;
  rc = layout.bits ? ReadBitFrame(layout, name, channels[0].get())
                   : ReadPixelFrame(layout, name, channels[0].get());
  if (rc != VRESULT_OK) return rc;
  Vkey key = VKEY_UNDEF;
  rc = db::NewImage(nullptr, std::move(channels), &key);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
