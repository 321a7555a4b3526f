// The byte layout of serialised items (docs/formats/serialized-item.md).
//
// An item is a 20-byte header and a payload, all numbers little-endian:
//   magic "VXSI" | version u16 | kind u16 | payload length u64 | CRC-32 u32
// The CRC (zlib's) covers the payload. Readers check every field and every
// count against the bytes that are really there, so corrupt or hostile
// input gives a code, never a huge allocation or a read past the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "vexa/errors.h"
#include "vexa/types.h"

namespace vexa {

using ItemBytes = std::vector<unsigned char>;

enum class ItemKind : uint16_t {
  kTuple = 1,
  kImage = 2,
  kRegion = 3,
  kObject = 4,
  kMatrix = 5,
  kMeasure = 6,
  kBarCodeModel = 7,
  kDataCode2DModel = 8,
  kXld = 9,
  kHomMat2D = 10,
  kHomMat3D = 11,
  kPose = 12,
  kQuat = 13,
  kCamPar = 14,
  kMetrologyModel = 16,
  kShapeModel = 20,
  kNccModel = 21,
  kTemplate = 22,
};

constexpr size_t kItemHeaderSize = 20;
constexpr uint16_t kItemVersion = 1;

// Appends little-endian numbers and byte strings.
class ByteWriter {
 public:
  void U8(uint8_t v) { out_.push_back(v); }
  void U16(uint16_t v) { Raw(&v, 2); }
  void U32(uint32_t v) { Raw(&v, 4); }
  void U64(uint64_t v) { Raw(&v, 8); }
  void I32(int32_t v) { Raw(&v, 4); }
  void I64(int64_t v) { Raw(&v, 8); }
  void F32(float v) { Raw(&v, 4); }
  void F64(double v) { Raw(&v, 8); }
  void Bytes(const void* p, size_t n);
  void String(const std::string& s);
  ItemBytes& bytes() { return out_; }

 private:
  void Raw(const void* p, size_t n);  // host order is little-endian (checked)
  ItemBytes out_;
};

// Reads what ByteWriter wrote; every reader answers false when the bytes
// run out.
class ByteReader {
 public:
  ByteReader(const unsigned char* p, size_t n) : p_(p), end_(p + n) {}
  bool U8(uint8_t* v) { return Raw(v, 1); }
  bool U16(uint16_t* v) { return Raw(v, 2); }
  bool U32(uint32_t* v) { return Raw(v, 4); }
  bool U64(uint64_t* v) { return Raw(v, 8); }
  bool I32(int32_t* v) { return Raw(v, 4); }
  bool I64(int64_t* v) { return Raw(v, 8); }
  bool F32(float* v) { return Raw(v, 4); }
  bool F64(double* v) { return Raw(v, 8); }
  // `n` bytes in place (valid while the source lives).
  bool Bytes(size_t n, const unsigned char** p);
  bool String(std::string* s);
  // A count of items of at least `min_size` bytes each: false when the
  // remaining bytes cannot hold that many.
  bool Count(size_t min_size, uint64_t* n);
  size_t remaining() const { return static_cast<size_t>(end_ - p_); }

 private:
  bool Raw(void* v, size_t n);
  const unsigned char* p_;
  const unsigned char* end_;
};

// A complete item of `kind` around `payload`.
ItemBytes WrapItem(ItemKind kind, const ItemBytes& payload);

// The total size of the item whose header is `header` (kItemHeaderSize
// bytes), for readers of streams: VERR_FILE_FORMAT for another magic,
// VERR_FILE_UNSUPPORTED for another version, VERR_TOO_LARGE for a length
// beyond `max_total`.
Vresult ItemSizeFromHeader(const unsigned char* header, uint64_t max_total, uint64_t* total);

// Checks a whole item and gives its payload: the header codes above,
// VERR_FILE_TRUNCATED when bytes are missing, VERR_FILE_CORRUPT for extra
// bytes or a wrong checksum, VERR_DATA_KIND when the item's kind is not
// `expected`.
Vresult OpenItem(const unsigned char* data, size_t size, ItemKind expected, ByteReader* payload);
// The kind of a whole, checked item.
Vresult ItemKindOf(const unsigned char* data, size_t size, ItemKind* kind);

}  // namespace vexa
