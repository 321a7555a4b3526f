// Operators that make images: from three of the caller's pixel arrays, from
// one the caller hands over with a procedure that frees it, like another
// image, and from a formula of the pixel position (ramps and polynomial
// surfaces). Every new image has the full domain unless told otherwise.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "image_op_util.h"
#include "pixel_runs.h"
#include "registry.h"

namespace vexa {
namespace {

const void* AsPointer(Vlong address) {
  return reinterpret_cast<const void*>(static_cast<uintptr_t>(address));
}

// An image of `type` and the given size whose channels are copies of the
// caller's arrays at `addresses` (for complex: real plane, imaginary plane),
// each checked to be non-null as input control `first_par` + i.
Vresult NewImageFromAddresses(PixelType type, int32_t width, int32_t height,
                              const std::vector<Vlong>& addresses,
                              int first_par, Vkey* key) {
  for (size_t i = 0; i < addresses.size(); ++i)
    if (addresses[i] == 0) return VERR_CTRL_VALUE(first_par + static_cast<int>(i));
  Channels channels(addresses.size());
  for (size_t i = 0; i < addresses.size(); ++i) {
    const Vresult rc = PixelBuffer::Create(type, width, height, &channels[i]);
    if (rc != VRESULT_OK) return rc;
    std::memcpy(channels[i]->data(), AsPointer(addresses[i]),
                channels[i]->pixel_bytes());
  }
  return db::NewImage(nullptr, std::move(channels), key);
}

Vresult HandOverOne(OpContext& ctx, Vresult rc, Vkey key) {
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

// A one-channel image of `type` (input control `type_par`) whose pixel
// (r, c) is value(r, c); the size comes from input controls `size_par`
// (width) and `size_par` + 1 (height). Complex surfaces are refused.
template <class ValueFn>
Vresult GenerateImage(OpContext& ctx, PixelType type, int size_par,
                      ValueFn&& value) {
  int32_t width = 0, height = 0;
  Vresult rc = GetImageSide(ctx, size_par, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, size_par + 1, &height);
  if (rc != VRESULT_OK) return rc;
  if (type == PixelType::kComplex) return VERR_PIXEL_TYPE;
  Channels channels(1);
  rc = PixelBuffer::Create(type, width, height, &channels[0]);
  if (rc != VRESULT_OK) return rc;
  FillImage(channels[0].get(), value);
  Vkey key = VKEY_UNDEF;
  rc = db::NewImage(nullptr, std::move(channels), &key);
  return HandOverOne(ctx, rc, key);
}

// Reads `n` real input controls from `first` on.
Vresult GetCoefficients(const OpContext& ctx, int first, int n,
                        std::vector<double>* v) {
  v->assign(static_cast<size_t>(n), 0.0);
  for (int i = 0; i < n; ++i) {
    const Vresult rc = ctx.GetDouble(first + i, &(*v)[static_cast<size_t>(i)]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

using ClearProc = void (*)(void*);

// Hands the caller's arrays to the new image `key`, whose channel i holds
// a copy of addresses[i]: clear(addresses[i]) runs once for each different
// address, when the last image using that channel is deleted (0: no
// procedure). On failure the image is released and no procedure will run.
Vresult AttachClearProc(Vkey key, const std::vector<Vlong>& addresses, Vlong clear) {
  if (clear == 0) return VRESULT_OK;
  for (size_t i = 0; i < addresses.size(); ++i) {
    if (std::find(addresses.begin(), addresses.begin() + static_cast<std::ptrdiff_t>(i),
                  addresses[i]) != addresses.begin() + static_cast<std::ptrdiff_t>(i))
      continue;
    // The image is new and known to no one else yet, so its channels are
    // the buffers that carry the hooks.
    PixelBuffer* buffer = nullptr;
    const Vresult rc = db::WritableChannel(key, static_cast<int>(i), &buffer);
    if (rc != VRESULT_OK) {
      db::Release(key);
      return rc;
    }
    buffer->SetReleaseHook(reinterpret_cast<ClearProc>(static_cast<uintptr_t>(clear)),
                           const_cast<void*>(AsPointer(addresses[i])));
  }
  return VRESULT_OK;
}

// The pixel type of a rectangle of memory by its bits per pixel.
bool RectPixelType(Vlong bits, PixelType* type) {
  if (bits == 8) *type = PixelType::kByte;
  else if (bits == 16) *type = PixelType::kUInt2;
  else return false;
  return true;
}

}  // namespace

// Red, green and blue arrays of the caller as a three-channel image.
VEXA_OPERATOR(gen_image3) {
  PixelType type;
  int32_t width = 0, height = 0;
  std::vector<Vlong> addresses(3);
  Vresult rc = GetPixelType(ctx, 0, &type);
  for (int i = 0; rc == VRESULT_OK && i < 3; ++i)
    rc = ctx.GetLong(1 + i, &addresses[static_cast<size_t>(i)]);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 4, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 5, &height);
  if (rc != VRESULT_OK) return rc;
  Vkey key = VKEY_UNDEF;
  rc = NewImageFromAddresses(type, width, height, addresses, 1, &key);
  return HandOverOne(ctx, rc, key);
}

// An image of the caller's array, which the caller hands over: the runtime
// calls clear_proc(pixel_pointer) exactly once, when the last image using
// these pixels is deleted (0: no procedure, the caller keeps the array).
// On failure the array stays the caller's and the procedure is not called.
VEXA_OPERATOR(gen_image1_extern) {
  PixelType type;
  int32_t width = 0, height = 0;
  Vlong address = 0, clear = 0;
  Vresult rc = GetPixelType(ctx, 0, &type);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 1, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 2, &height);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &address);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &clear);
  if (rc != VRESULT_OK) return rc;
  Vkey key = VKEY_UNDEF;
  rc = NewImageFromAddresses(type, width, height, {address}, 3, &key);
  if (rc == VRESULT_OK) rc = AttachClearProc(key, {address}, clear);
  return HandOverOne(ctx, rc, key);
}

// gen_image1_extern with three arrays, one per channel: clear_proc runs
// once for each different array.
VEXA_OPERATOR(gen_image3_extern) {
  PixelType type;
  int32_t width = 0, height = 0;
  std::vector<Vlong> addresses(3);
  Vlong clear = 0;
  Vresult rc = GetPixelType(ctx, 0, &type);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 1, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 2, &height);
  for (int i = 0; rc == VRESULT_OK && i < 3; ++i) rc = ctx.GetLong(3 + i, &addresses[static_cast<size_t>(i)]);
  if (rc == VRESULT_OK) rc = ctx.GetLong(6, &clear);
  if (rc != VRESULT_OK) return rc;
  Vkey key = VKEY_UNDEF;
  rc = NewImageFromAddresses(type, width, height, addresses, 3, &key);
  if (rc == VRESULT_OK) rc = AttachClearProc(key, addresses, clear);
  return HandOverOne(ctx, rc, key);
}

// An image of the width x height pixels of a rectangle of the caller's
// memory: rows `vertical_pitch` bytes apart, pixels `horizontal_bit_pitch`
// bits apart (a multiple of 8, at least bits_per_pixel: every fourth byte
// of an interleaved four-channel row, say), of 8 (byte) or 16 (uint2)
// bits. The pixels are always copied. With do_copy "false" the caller
// hands the memory over and clear_proc(pixel_pointer) runs once, when the
// last image using the pixels is deleted; with "true" the caller keeps it.
VEXA_OPERATOR(gen_image1_rect) {
  Vlong address = 0, row_pitch = 0, bit_pitch = 0, bits = 0, clear = 0;
  int32_t width = 0, height = 0;
  const char* do_copy = nullptr;
  Vresult rc = ctx.GetLong(0, &address);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 1, &width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 2, &height);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &row_pitch);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &bit_pitch);
  if (rc == VRESULT_OK) rc = ctx.GetLong(5, &bits);
  if (rc == VRESULT_OK) rc = ctx.GetString(6, &do_copy);
  if (rc == VRESULT_OK) rc = ctx.GetLong(7, &clear);
  if (rc != VRESULT_OK) return rc;
  PixelType type;
  if (address == 0) return VERR_CTRL_VALUE(0);
  if (!RectPixelType(bits, &type)) return VERR_CTRL_VALUE(5);
  // Pitches beyond these would reach past any memory a process has.
  if (bit_pitch < bits || bit_pitch % 8 != 0 || bit_pitch > (Vlong{1} << 20)) return VERR_CTRL_VALUE(4);
  const Vlong step = bit_pitch / 8;
  if (row_pitch < step * (width - 1) + bits / 8 || row_pitch > (Vlong{1} << 40))
    return VERR_CTRL_VALUE(3);
  const bool copy = std::strcmp(do_copy, "true") == 0;
  if (!copy && std::strcmp(do_copy, "false") != 0) return VERR_CTRL_VALUE(6);
  Channels channels(1);
  rc = PixelBuffer::Create(type, width, height, &channels[0]);
  if (rc != VRESULT_OK) return rc;
  const auto* base = static_cast<const unsigned char*>(AsPointer(address));
  const size_t pix = PixelSize(type);
  for (int32_t r = 0; r < height; ++r)
    for (int32_t c = 0; c < width; ++c)
      std::memcpy(channels[0]->data() + (static_cast<size_t>(r) * width + c) * pix,
                  base + r * row_pitch + c * step, pix);
  Vkey key = VKEY_UNDEF;
  rc = db::NewImage(nullptr, std::move(channels), &key);
  if (rc == VRESULT_OK && !copy) rc = AttachClearProc(key, {address}, clear);
  return HandOverOne(ctx, rc, key);
}

// An image of the size, type and channels of the input whose pixels all
// hold `grayval` (one value for all channels or one per channel), under
// the input's domain.
VEXA_OPERATOR(gen_image_proto) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  std::vector<double> values;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(0, values);
  if (rc != VRESULT_OK) return rc;
  const size_t num = image.channels.size();
  if (values.size() != 1 && values.size() != num) return VERR_CTRL_NUM(0);
  const PixelBuffer& first = *image.channels[0];
  const RegionPtr all =
      Region::Rectangle(0, 0, first.height() - 1, first.width() - 1);
  Channels channels(num);
  for (size_t i = 0; i < num; ++i) {
    const PixelBuffer& in = *image.channels[i];
    rc = PixelBuffer::Create(in.type(), in.width(), in.height(), &channels[i]);
    if (rc != VRESULT_OK) return rc;
    FillRegion(channels[i].get(), *all, values[values.size() == 1 ? 0 : i]);
  }
  Vkey made = VKEY_UNDEF;
  rc = db::NewImage(image.domain, std::move(channels), &made);
  return HandOverOne(ctx, rc, made);
}

// A byte image of the plane alpha * (r - row) + beta * (c - column) + mean.
VEXA_OPERATOR(gen_image_gray_ramp) {
  std::vector<double> k;
  Vlong row = 0, col = 0;
  Vresult rc = GetCoefficients(ctx, 0, 3, &k);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &row);
  if (rc == VRESULT_OK) rc = ctx.GetLong(4, &col);
  if (rc != VRESULT_OK) return rc;
  const double r0 = static_cast<double>(row), c0 = static_cast<double>(col);
  return GenerateImage(ctx, PixelType::kByte, 5, [&](int32_t r, int32_t c) {
    return k[0] * (r - r0) + k[1] * (c - c0) + k[2];
  });
}

// The plane alpha * (r - row) + beta * (c - column) + gamma.
VEXA_OPERATOR(gen_image_surface_first_order) {
  PixelType type;
  std::vector<double> k;
  Vresult rc = GetPixelType(ctx, 0, &type);
  if (rc == VRESULT_OK) rc = GetCoefficients(ctx, 1, 5, &k);
  if (rc != VRESULT_OK) return rc;
  return GenerateImage(ctx, type, 6, [&](int32_t r, int32_t c) {
    const double y = r - k[3], x = c - k[4];
    return k[0] * y + k[1] * x + k[2];
  });
}

// The quadric alpha * y^2 + beta * x^2 + gamma * y * x + delta * y +
// epsilon * x + zeta with y = r - row, x = c - column.
VEXA_OPERATOR(gen_image_surface_second_order) {
  PixelType type;
  std::vector<double> k;
  Vresult rc = GetPixelType(ctx, 0, &type);
  if (rc == VRESULT_OK) rc = GetCoefficients(ctx, 1, 8, &k);
  if (rc != VRESULT_OK) return rc;
  return GenerateImage(ctx, type, 9, [&](int32_t r, int32_t c) {
    const double y = r - k[6], x = c - k[7];
    return k[0] * y * y + k[1] * x * x + k[2] * y * x + k[3] * y + k[4] * x +
           k[5];
  });
}

}  // namespace vexa
