#include "image_store.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "vexa/errors.h"

namespace vexa {

namespace {

struct PixelTypeInfo {
  PixelType type;
  const char* name;
  size_t size;
};

constexpr PixelTypeInfo kPixelTypes[] = {
    {PixelType::kByte, "byte", 1},       {PixelType::kInt1, "int1", 1},
    {PixelType::kInt2, "int2", 2},       {PixelType::kUInt2, "uint2", 2},
    {PixelType::kInt4, "int4", 4},       {PixelType::kInt8, "int8", 8},
    {PixelType::kReal, "real", 4},       {PixelType::kComplex, "complex", 8},
    {PixelType::kDirection, "direction", 1},
    {PixelType::kCyclic, "cyclic", 1},
};

const PixelTypeInfo& Info(PixelType type) {
  return kPixelTypes[static_cast<size_t>(type)];
}

// Rounds to the nearest integer and clips to [lo, hi]; NaN gives 0.
template <class T>
T RoundClip(double v) {
  if (std::isnan(v)) return 0;
  const double r = std::round(v);
  // Compare in double; the bounds of int64 are not exact in double, so the
  // upper test uses >= on the first double beyond the range.
  if (r <= static_cast<double>(std::numeric_limits<T>::min()))
    return std::numeric_limits<T>::min();
  if (r >= static_cast<double>(std::numeric_limits<T>::max()))
    return std::numeric_limits<T>::max();
  return static_cast<T>(r);
}

template <class T>
void Store(unsigned char* p, T v) {
  std::memcpy(p, &v, sizeof v);
}

template <class T>
T Load(const unsigned char* p) {
  T v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

}  // namespace

static_assert(sizeof(kPixelTypes) / sizeof(kPixelTypes[0]) ==
                  static_cast<size_t>(PixelType::kCyclic) + 1,
              "one table row per pixel type, in enum order");

const char* PixelTypeName(PixelType type) { return Info(type).name; }

size_t PixelSize(PixelType type) { return Info(type).size; }

bool ParsePixelType(const char* name, PixelType* type) {
  if (name == nullptr) return false;
  for (const PixelTypeInfo& info : kPixelTypes) {
    if (std::strcmp(info.name, name) == 0) {
      *type = info.type;
      return true;
    }
  }
  return false;
}

PixelBuffer::PixelBuffer(PixelType type, int32_t width, int32_t height,
                         unsigned char* data)
    : type_(type), width_(width), height_(height), data_(data) {}

PixelBuffer::~PixelBuffer() {
  if (release_ != nullptr) release_(release_arg_);
  std::free(data_);
}

size_t PixelBuffer::pixel_bytes() const {
  return static_cast<size_t>(num_pixels()) * PixelSize(type_);
}

Vresult PixelBuffer::Allocate(PixelType type, int32_t width, int32_t height,
                              bool cleared, std::unique_ptr<PixelBuffer>* out) {
  if (width < 1 || height < 1) return VERR_IMAGE_SIZE;
  if (width > kMaxImageSide || height > kMaxImageSide) return VERR_TOO_LARGE;
  // Both sides are below 2^15, so the product cannot overflow size_t.
  const size_t bytes = static_cast<size_t>(width) * height * PixelSize(type);
  if (bytes > kMaxChannelBytes) return VERR_TOO_LARGE;
  const size_t total = bytes + PixelSize(type);
  auto* data = static_cast<unsigned char*>(cleared ? std::calloc(total, 1)
                                                   : std::malloc(total));
  if (data == nullptr) return VERR_OUT_OF_MEMORY;
  if (!cleared) std::memset(data + bytes, 0, PixelSize(type));  // the border cell
  out->reset(new PixelBuffer(type, width, height, data));
  return VRESULT_OK;
}

Vresult PixelBuffer::Create(PixelType type, int32_t width, int32_t height,
                            std::unique_ptr<PixelBuffer>* out) {
  return Allocate(type, width, height, true, out);
}

Vresult PixelBuffer::CreateUncleared(PixelType type, int32_t width, int32_t height,
                                     std::unique_ptr<PixelBuffer>* out) {
  return Allocate(type, width, height, false, out);
}

Vresult PixelBuffer::Clone(std::unique_ptr<PixelBuffer>* out) const {
  std::unique_ptr<PixelBuffer> copy;
  const Vresult err = CreateUncleared(type_, width_, height_, &copy);
  if (err != VRESULT_OK) return err;
  std::memcpy(copy->data_, data_, pixel_bytes() + PixelSize(type_));
  *out = std::move(copy);
  return VRESULT_OK;
}

double PixelBuffer::Get(int32_t r, int32_t c) const {
  const size_t k = static_cast<size_t>(r) * width_ + c;
  switch (type_) {
    case PixelType::kByte:
    case PixelType::kDirection:
    case PixelType::kCyclic:
      return data_[k];
    case PixelType::kInt1:
      return static_cast<int8_t>(data_[k]);
    case PixelType::kInt2:
      return Load<int16_t>(data_ + 2 * k);
    case PixelType::kUInt2:
      return Load<uint16_t>(data_ + 2 * k);
    case PixelType::kInt4:
      return Load<int32_t>(data_ + 4 * k);
    case PixelType::kInt8:
      return static_cast<double>(Load<int64_t>(data_ + 8 * k));
    case PixelType::kReal:
    case PixelType::kComplex:  // the real plane comes first
      return Load<float>(data_ + 4 * k);
  }
  return 0.0;
}

double PixelBuffer::GetImaginary(int32_t r, int32_t c) const {
  if (type_ != PixelType::kComplex) return 0.0;
  const size_t k = static_cast<size_t>(r) * width_ + c;
  return Load<float>(data_ + 4 * (k + static_cast<size_t>(num_pixels())));
}

void PixelBuffer::Set(int32_t r, int32_t c, double v) {
  const size_t k = static_cast<size_t>(r) * width_ + c;
  switch (type_) {
    case PixelType::kByte:
    case PixelType::kDirection:
      data_[k] = RoundClip<uint8_t>(v);
      return;
    case PixelType::kCyclic: {
      // Cyclic values wrap instead of clipping.
      const double w = std::fmod(std::round(std::isnan(v) ? 0.0 : v), 256.0);
      data_[k] = static_cast<uint8_t>(w < 0 ? w + 256.0 : w);
      return;
    }
    case PixelType::kInt1:
      data_[k] = static_cast<uint8_t>(RoundClip<int8_t>(v));
      return;
    case PixelType::kInt2:
      Store(data_ + 2 * k, RoundClip<int16_t>(v));
      return;
    case PixelType::kUInt2:
      Store(data_ + 2 * k, RoundClip<uint16_t>(v));
      return;
    case PixelType::kInt4:
      Store(data_ + 4 * k, RoundClip<int32_t>(v));
      return;
    case PixelType::kInt8:
      Store(data_ + 8 * k, RoundClip<int64_t>(v));
      return;
    case PixelType::kReal:
      Store(data_ + 4 * k, static_cast<float>(v));
      return;
    case PixelType::kComplex:
      Store(data_ + 4 * k, static_cast<float>(v));
      Store(data_ + 4 * (k + static_cast<size_t>(num_pixels())), 0.0f);
      return;
  }
}

}  // namespace vexa
