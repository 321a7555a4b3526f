// gen_image_interleaved: a color image from the caller's interleaved pixel
// array (as frame grabbers and display buffers deliver them), cut to a
// rectangle of it.
//
// A format names the order of the components in one pixel: 8-bit
// components (rgb, bgr, rgbx, xrgb, ..., with an alpha channel for the "a"
// formats), 16-bit components (rgb48, ..., rgba64) or 16-bit words packing
// 5 or 6 bits per component (rgb555, rgb565, ...), all little-endian. Of
// each component, bits_per_channel bits from bit_shift on are taken (-1:
// all of it, from bit 0). uint2 images keep these values; byte images get
// them brought to 8 bits: wider values lose their low bits, narrower ones
// are scaled to 0..255.
#include <cstdint>
#include <cstring>

#include "image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Packing { k8, k16, kWord };

struct Format {
  const char* name;
  Packing packing;
  int bytes;         // per pixel
  int channels;      // 3, or 4 with alpha
  int pos[4];        // k8, k16: index of r, g, b, a in units of the
                     // component size; kWord: lowest bit of r, g, b
  int bits[3];       // kWord: bits of r, g, b
};

constexpr Format kFormats[] = {
    {"rgb", Packing::k8, 3, 3, {0, 1, 2}, {}},
    {"bgr", Packing::k8, 3, 3, {2, 1, 0}, {}},
    {"rgbx", Packing::k8, 4, 3, {0, 1, 2}, {}},
    {"bgrx", Packing::k8, 4, 3, {2, 1, 0}, {}},
    {"xrgb", Packing::k8, 4, 3, {1, 2, 3}, {}},
    {"xbgr", Packing::k8, 4, 3, {3, 2, 1}, {}},
    {"rgba", Packing::k8, 4, 4, {0, 1, 2, 3}, {}},
    {"bgra", Packing::k8, 4, 4, {2, 1, 0, 3}, {}},
    {"argb", Packing::k8, 4, 4, {1, 2, 3, 0}, {}},
    {"abgr", Packing::k8, 4, 4, {3, 2, 1, 0}, {}},
    {"rgb48", Packing::k16, 6, 3, {0, 1, 2}, {}},
    {"bgr48", Packing::k16, 6, 3, {2, 1, 0}, {}},
    {"rgbx64", Packing::k16, 8, 3, {0, 1, 2}, {}},
    {"bgrx64", Packing::k16, 8, 3, {2, 1, 0}, {}},
    {"rgba64", Packing::k16, 8, 4, {0, 1, 2, 3}, {}},
    {"bgra64", Packing::k16, 8, 4, {2, 1, 0, 3}, {}},
    {"rgb555", Packing::kWord, 2, 3, {10, 5, 0}, {5, 5, 5}},
    {"bgr555", Packing::kWord, 2, 3, {0, 5, 10}, {5, 5, 5}},
    {"rgb565", Packing::kWord, 2, 3, {11, 5, 0}, {5, 6, 5}},
    {"bgr565", Packing::kWord, 2, 3, {0, 5, 11}, {5, 6, 5}},
};

const Format* FindFormat(const char* name) {
  for (const Format& f : kFormats)
    if (std::strcmp(f.name, name) == 0) return &f;
  return nullptr;
}

int NativeBits(const Format& f, int ch) {
  switch (f.packing) {
    case Packing::k8: return 8;
    case Packing::k16: return 16;
    case Packing::kWord: return f.bits[ch < 3 ? ch : 0];
  }
  return 8;
}

uint32_t Load16(const unsigned char* p) { return p[0] | (uint32_t{p[1]} << 8); }

// The raw value of component `ch` of the pixel at `p`.
uint32_t Component(const Format& f, const unsigned char* p, int ch) {
  switch (f.packing) {
    case Packing::k8: return p[f.pos[ch]];
    case Packing::k16: return Load16(p + 2 * f.pos[ch]);
    case Packing::kWord:
      return (Load16(p) >> f.pos[ch]) & ((1u << f.bits[ch]) - 1);
  }
  return 0;
}

// The controls of the operator, checked.
struct Request {
  const unsigned char* pixels = nullptr;
  const Format* format = nullptr;
  Vlong stride = 0;  // bytes per row of the caller's array
  PixelType type = PixelType::kByte;
  int32_t width = 0, height = 0;
  Vlong row = 0, col = 0;
  Vlong bits = -1, shift = -1;

  Vresult Read(const OpContext& ctx) {
    Vlong address = 0, orig_w = 0, orig_h = 0, align = 0, w = 0, h = 0;
    const char* name = nullptr;
    Vresult rc = ctx.GetLong(0, &address);
    if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
    if (rc == VRESULT_OK) rc = ctx.GetLong(2, &orig_w);
    if (rc == VRESULT_OK) rc = ctx.GetLong(3, &orig_h);
    if (rc == VRESULT_OK) rc = ctx.GetLong(4, &align);
    if (rc == VRESULT_OK) rc = GetPixelType(ctx, 5, &type);
    if (rc == VRESULT_OK) rc = ctx.GetLong(6, &w);
    if (rc == VRESULT_OK) rc = ctx.GetLong(7, &h);
    if (rc == VRESULT_OK) rc = ctx.GetLong(8, &row);
    if (rc == VRESULT_OK) rc = ctx.GetLong(9, &col);
    if (rc == VRESULT_OK) rc = ctx.GetLong(10, &bits);
    if (rc == VRESULT_OK) rc = ctx.GetLong(11, &shift);
    if (rc != VRESULT_OK) return rc;
    if (address == 0) return VERR_CTRL_VALUE(0);
    pixels = reinterpret_cast<const unsigned char*>(static_cast<uintptr_t>(address));
    format = FindFormat(name);
    if (format == nullptr) return VERR_CTRL_VALUE(1);
    if (orig_w < 1) return VERR_CTRL_VALUE(2);
    if (orig_h < 1) return VERR_CTRL_VALUE(3);
    if (orig_w > kMaxImageSide * Vlong{16} || orig_h > kMaxImageSide * Vlong{16})
      return VERR_TOO_LARGE;
    if (align < 0 || align > 4096) return VERR_CTRL_VALUE(4);
    if (type != PixelType::kByte && type != PixelType::kUInt2) return VERR_PIXEL_TYPE;
    if (row < 0 || row >= orig_h) return VERR_CTRL_VALUE(8);
    if (col < 0 || col >= orig_w) return VERR_CTRL_VALUE(9);
    // 0 takes the rest of the original from the start position.
    if (w == 0) w = orig_w - col;
    if (h == 0) h = orig_h - row;
    if (w < 1 || col + w > orig_w) return VERR_CTRL_VALUE(6);
    if (h < 1 || row + h > orig_h) return VERR_CTRL_VALUE(7);
    if (w > kMaxImageSide || h > kMaxImageSide) return VERR_TOO_LARGE;
    width = static_cast<int32_t>(w);
    height = static_cast<int32_t>(h);
    const Vlong unit = align > 1 ? align : 1;
    stride = (orig_w * format->bytes + unit - 1) / unit * unit;
    return CheckBits();
  }

  // Bits taken of component `ch`.
  Vlong Width(int ch) const {
    return bits == -1 ? NativeBits(*format, ch) - shift : bits;
  }

  // bits_per_channel and bit_shift must select bits that every component
  // has.
  Vresult CheckBits() {
    if (shift == -1) shift = 0;
    if (bits != -1 && bits < 1) return VERR_CTRL_VALUE(10);
    if (shift < 0) return VERR_CTRL_VALUE(11);
    for (int ch = 0; ch < format->channels; ++ch) {
      if (bits > NativeBits(*format, ch)) return VERR_CTRL_VALUE(10);
      if (Width(ch) < 1 || shift + Width(ch) > NativeBits(*format, ch))
        return VERR_CTRL_VALUE(11);
    }
    return VRESULT_OK;
  }

  // The stored value of a raw component `raw` of channel `ch`.
  uint32_t Convert(uint32_t raw, int ch) const {
    const int n = static_cast<int>(Width(ch));
    const uint32_t v = (raw >> shift) & ((1u << n) - 1);
    if (type == PixelType::kUInt2) return v;
    if (n >= 8) return v >> (n - 8);
    return (v * 255 + ((1u << n) - 1) / 2) / ((1u << n) - 1);
  }
};

}  // namespace

VEXA_OPERATOR(gen_image_interleaved) {
  Request req;
  Vresult rc = req.Read(ctx);
  if (rc != VRESULT_OK) return rc;
  const Format& f = *req.format;
  Channels channels(static_cast<size_t>(f.channels));
  for (auto& ch : channels) {
    rc = PixelBuffer::Create(req.type, req.width, req.height, &ch);
    if (rc != VRESULT_OK) return rc;
  }
  for (int32_t r = 0; r < req.height; ++r) {
    const unsigned char* p =
        req.pixels + (req.row + r) * req.stride + req.col * f.bytes;
    for (int32_t c = 0; c < req.width; ++c, p += f.bytes) {
      const size_t k = static_cast<size_t>(r) * req.width + c;
      for (int ch = 0; ch < f.channels; ++ch) {
        const uint32_t v = req.Convert(Component(f, p, ch), ch);
        if (req.type == PixelType::kByte)
          channels[ch]->data()[k] = static_cast<uint8_t>(v);
        else
          reinterpret_cast<uint16_t*>(channels[ch]->data())[k] =
              static_cast<uint16_t>(v);
      }
    }
  }
  NewKeys out;
  Vkey key = VKEY_UNDEF;
  rc = db::NewImage(nullptr, std::move(channels), &key);
  if (rc != VRESULT_OK) return rc;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
