// Operators that make images: a constant one, and one copied from memory
// the caller owns. Both get the full image as domain.
#include <cstdint>
#include <cstring>

#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {
namespace {

// Reads pixel type, width and height from input controls 0, 1, 2 and makes
// a zeroed one-channel image of that kind with the full domain.
Vresult NewImageFromControls(const OpContext& ctx, Vkey* key) {
  const char* type_name = nullptr;
  Vlong width = 0, height = 0;
  Vresult rc = ctx.GetString(0, &type_name);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &width);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &height);
  if (rc != VRESULT_OK) return rc;
  PixelType type;
  if (!ParsePixelType(type_name, &type)) return VERR_CTRL_VALUE(0);
  if (width < 1) return VERR_CTRL_VALUE(1);
  if (height < 1) return VERR_CTRL_VALUE(2);
  if (width > kMaxImageSide || height > kMaxImageSide) return VERR_TOO_LARGE;
  return db::NewBlankImage(type, static_cast<int32_t>(width),
                           static_cast<int32_t>(height), 1, nullptr, key);
}

}  // namespace

// An image of zeros.
VEXA_OPERATOR(gen_image_const) {
  NewKeys out;
  Vkey key = VKEY_UNDEF;
  const Vresult rc = NewImageFromControls(ctx, &key);
  if (rc != VRESULT_OK) return rc;
  out.Add(key);
  return out.HandOver(ctx, 1);
}

// An image whose pixels are copied from the address given as an integer
// (for complex images: the real plane, then the imaginary plane). The
// caller keeps its memory.
VEXA_OPERATOR(gen_image1) {
  Vlong address = 0;
  Vresult rc = ctx.GetLong(3, &address);
  if (rc != VRESULT_OK) return rc;
  if (address == 0) return VERR_CTRL_VALUE(3);
  NewKeys out;
  Vkey key = VKEY_UNDEF;
  rc = NewImageFromControls(ctx, &key);
  if (rc != VRESULT_OK) return rc;
  out.Add(key);
  PixelBuffer* buffer = nullptr;
  rc = db::WritableChannel(key, 0, &buffer);
  if (rc != VRESULT_OK) return rc;
  std::memcpy(buffer->data(),
              reinterpret_cast<const void*>(static_cast<uintptr_t>(address)),
              buffer->pixel_bytes());
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
