// Pixel types and pixel buffers of image objects.
//
// One PixelBuffer holds one channel: width * height pixels in row order,
// plus one spare pixel behind the last one. The spare cell holds a constant
// border value, so that iterators may read one step past the end without a
// bounds test. Complex pixels are two float planes, the real plane first and
// the imaginary plane `width * height` floats later; the spare cell then
// lies behind both planes.
//
// Buffers are owned and shared by the object database (objdb.h), which
// copies one before it is written while another object still uses it.
//
// A buffer made from pixels the caller hands over (gen_image1_extern) can
// carry a release hook: the caller's procedure that frees the caller's
// array. It runs once, when the buffer is destroyed, that is when the last
// image using these pixels is deleted. The buffer keeps its own copy of the
// pixels, so that the border cell behind the last pixel exists for it as
// for every other buffer; the caller's array is left alone until the hook.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "vexa/types.h"

namespace vexa {

enum class PixelType : uint8_t {
  kByte,
  kInt1,
  kInt2,
  kUInt2,
  kInt4,
  kInt8,
  kReal,
  kComplex,
  kDirection,  // byte-sized: edge directions in 2-degree steps, 255 undefined
  kCyclic,     // byte-sized: values that wrap around at 256
};

// "byte", "int1", ... as the operators name them.
const char* PixelTypeName(PixelType type);
// Parses a type name; false for an unknown one.
bool ParsePixelType(const char* name, PixelType* type);
// Bytes per pixel (8 for complex: both planes together).
size_t PixelSize(PixelType type);

// Largest width or height: the database's run-length view holds int16
// coordinates, so the full domain of every image stays representable.
constexpr int32_t kMaxImageSide = 32767;
// Largest pixel buffer of one channel; bigger requests are refused rather
// than left to the system's overcommit.
constexpr size_t kMaxChannelBytes = size_t{1} << 32;

class PixelBuffer {
 public:
  // A buffer of zeros. Sizes below 1 give VERR_IMAGE_SIZE, sizes above
  // kMaxImageSide or a buffer beyond kMaxChannelBytes VERR_TOO_LARGE, a
  // failed allocation VERR_OUT_OF_MEMORY.
  static Vresult Create(PixelType type, int32_t width, int32_t height,
                        std::unique_ptr<PixelBuffer>* out);
  // The same checks and codes, but the pixels are left as the allocator
  // hands them over (only the border cell is set): for results that write
  // every pixel, where clearing first would cost a whole extra pass.
  static Vresult CreateUncleared(PixelType type, int32_t width, int32_t height,
                                 std::unique_ptr<PixelBuffer>* out);
  // A copy of the pixels (border cell included). The copy has no release
  // hook: the hook stays with the buffer that other images still use.
  Vresult Clone(std::unique_ptr<PixelBuffer>* out) const;
  // Runs the release hook, if any, then frees the pixels.
  ~PixelBuffer();

  using ReleaseFn = void (*)(void* arg);
  // Sets the procedure called with `arg` when the buffer is destroyed.
  void SetReleaseHook(ReleaseFn fn, void* arg) {
    release_ = fn;
    release_arg_ = arg;
  }
  PixelBuffer(const PixelBuffer&) = delete;
  PixelBuffer& operator=(const PixelBuffer&) = delete;

  PixelType type() const { return type_; }
  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  Vlong num_pixels() const { return static_cast<Vlong>(width_) * height_; }
  // Bytes of the pixels proper, without the border cell.
  size_t pixel_bytes() const;
  unsigned char* data() { return data_; }
  const unsigned char* data() const { return data_; }

  // The value of pixel (r, c) as a double; for complex the real part (int8
  // values beyond 2^53 lose their low bits). No bounds check: callers clip
  // to the image first.
  double Get(int32_t r, int32_t c) const;
  // The imaginary part of a complex pixel; 0 for every other type.
  double GetImaginary(int32_t r, int32_t c) const;
  // Writes pixel (r, c), rounding and clipping to the type's range (the
  // real part for complex; the imaginary part becomes 0).
  void Set(int32_t r, int32_t c, double value);

 private:
  PixelBuffer(PixelType type, int32_t width, int32_t height,
              unsigned char* data);
  static Vresult Allocate(PixelType type, int32_t width, int32_t height,
                          bool cleared, std::unique_ptr<PixelBuffer>* out);
  PixelType type_;
  int32_t width_;
  int32_t height_;
  unsigned char* data_;  // malloc'd: pixel_bytes() + one pixel
  ReleaseFn release_ = nullptr;
  void* release_arg_ = nullptr;
};

}  // namespace vexa
