#include "ops/serialize/item_format.h"

#include <zlib.h>

#include <cstring>
#include <limits>

namespace vexa {
namespace {

static_assert(sizeof(double) == 8, "doubles are stored as 8 bytes");

bool LittleEndianHost() {
  const uint16_t one = 1;
  unsigned char b;
  std::memcpy(&b, &one, 1);
  return b == 1;
}

const unsigned char kMagic[4] = {'V', 'X', 'S', 'I'};

uint32_t Crc(const unsigned char* p, size_t n) {
  uLong crc = crc32(0L, Z_NULL, 0);
  // zlib takes lengths as uInt: feed large payloads in pieces.
  while (n > 0) {
    const uInt piece = n > (1u << 30) ? (1u << 30) : static_cast<uInt>(n);
    crc = crc32(crc, p, piece);
    p += piece;
    n -= piece;
  }
  return static_cast<uint32_t>(crc);
}

}  // namespace

void ByteWriter::Raw(const void* p, size_t n) {
  const auto* b = static_cast<const unsigned char*>(p);
  if (LittleEndianHost()) {
    out_.insert(out_.end(), b, b + n);
  } else {
    for (size_t i = n; i-- > 0;) out_.push_back(b[i]);
  }
}

void ByteWriter::Bytes(const void* p, size_t n) {
  const auto* b = static_cast<const unsigned char*>(p);
  out_.insert(out_.end(), b, b + n);
}

void ByteWriter::String(const std::string& s) {
  U64(s.size());
  Bytes(s.data(), s.size());
}

bool ByteReader::Raw(void* v, size_t n) {
  if (remaining() < n) return false;
  auto* b = static_cast<unsigned char*>(v);
  if (LittleEndianHost()) {
    std::memcpy(b, p_, n);
  } else {
    for (size_t i = 0; i < n; ++i) b[i] = p_[n - 1 - i];
  }
  p_ += n;
  return true;
}

bool ByteReader::Bytes(size_t n, const unsigned char** p) {
  if (remaining() < n) return false;
  *p = p_;
  p_ += n;
  return true;
}

bool ByteReader::String(std::string* s) {
  uint64_t n = 0;
  const unsigned char* p = nullptr;
  if (!U64(&n) || n > remaining() || !Bytes(static_cast<size_t>(n), &p)) return false;
  s->assign(reinterpret_cast<const char*>(p), static_cast<size_t>(n));
  return true;
}

bool ByteReader::Count(size_t min_size, uint64_t* n) {
  return U64(n) && *n <= remaining() / (min_size ? min_size : 1);
}

ItemBytes WrapItem(ItemKind kind, const ItemBytes& payload) {
  ByteWriter w;
  w.Bytes(kMagic, 4);
  w.U16(kItemVersion);
  w.U16(static_cast<uint16_t>(kind));
  w.U64(payload.size());
  w.U32(Crc(payload.data(), payload.size()));
  w.Bytes(payload.data(), payload.size());
  return std::move(w.bytes());
}

Vresult ItemSizeFromHeader(const unsigned char* header, uint64_t max_total, uint64_t* total) {
  if (std::memcmp(header, kMagic, 4) != 0) return VERR_FILE_FORMAT;
  ByteReader r(header + 4, kItemHeaderSize - 4);
  uint16_t version = 0, kind = 0;
  uint64_t length = 0;
  r.U16(&version);
  r.U16(&kind);
  r.U64(&length);
  if (version != kItemVersion) return VERR_FILE_UNSUPPORTED;
  if (length > max_total - kItemHeaderSize) return VERR_TOO_LARGE;
  *total = kItemHeaderSize + length;
  return VRESULT_OK;
}

namespace {

Vresult CheckItem(const unsigned char* data, size_t size, ItemKind* kind, ByteReader* payload) {
  if (size < kItemHeaderSize) return size >= 4 && std::memcmp(data, kMagic, 4) != 0
                                        ? VERR_FILE_FORMAT
                                        : VERR_FILE_TRUNCATED;
  uint64_t total = 0;
  const Vresult rc =
      ItemSizeFromHeader(data, std::numeric_limits<uint64_t>::max(), &total);
  if (rc != VRESULT_OK) return rc;
  if (size < total) return VERR_FILE_TRUNCATED;
  if (size > total) return VERR_FILE_CORRUPT;
  ByteReader r(data + 6, 14);
  uint16_t k = 0;
  uint64_t length = 0;
  uint32_t crc = 0;
  r.U16(&k);
  r.U64(&length);
  r.U32(&crc);
  if (Crc(data + kItemHeaderSize, static_cast<size_t>(length)) != crc) return VERR_FILE_CORRUPT;
  *kind = static_cast<ItemKind>(k);
  *payload = ByteReader(data + kItemHeaderSize, static_cast<size_t>(length));
  return VRESULT_OK;
}

}  // namespace

Vresult OpenItem(const unsigned char* data, size_t size, ItemKind expected, ByteReader* payload) {
  ItemKind kind;
  const Vresult rc = CheckItem(data, size, &kind, payload);
  if (rc != VRESULT_OK) return rc;
  return kind == expected ? VRESULT_OK : VERR_DATA_KIND;
}

Vresult ItemKindOf(const unsigned char* data, size_t size, ItemKind* kind) {
  ByteReader payload(nullptr, 0);
  return CheckItem(data, size, kind, &payload);
}

}  // namespace vexa
