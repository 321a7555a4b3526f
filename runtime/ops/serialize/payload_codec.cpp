#include "ops/serialize/payload_codec.h"

#include <memory>
#include <utility>

namespace vexa {
namespace {

enum ObjectTag : uint8_t { kRegionTag = 1, kImageTag = 2 };
constexpr size_t kChordBytes = 12;
constexpr int kNumPixelTypes = static_cast<int>(PixelType::kCyclic) + 1;

void EncodeRegion(const Region& region, ByteWriter* w) {
  w->U64(region.chords().size());
  for (const Chord& c : region.chords()) {
    w->I32(c.r);
    w->I32(c.cb);
    w->I32(c.ce);
  }
}

bool InRange(int32_t v) { return v >= -kMaxRegionCoord && v <= kMaxRegionCoord; }

Vresult DecodeRegion(ByteReader* r, RegionPtr* region) {
  uint64_t n = 0;
  if (!r->Count(kChordBytes, &n)) return VERR_FILE_CORRUPT;
  std::vector<Chord> chords(static_cast<size_t>(n));
  for (Chord& c : chords) {
    r->I32(&c.r);
    r->I32(&c.cb);
    r->I32(&c.ce);
    if (!InRange(c.r) || !InRange(c.cb) || !InRange(c.ce) || c.ce < c.cb) return VERR_FILE_CORRUPT;
  }
  *region = Region::FromChords(std::move(chords));
  return VRESULT_OK;
}

Vresult EncodeObject(Vkey key, bool as_region, ByteWriter* w) {
  RegionPtr region;
  Vresult rc = db::GetRegion(key, &region);
  if (rc != VRESULT_OK) return rc;
  db::ImageData image;
  rc = db::GetImage(key, &image);
  if (rc == VERR_NOT_IMAGE || (rc == VRESULT_OK && as_region)) {
    w->U8(kRegionTag);
    EncodeRegion(*region, w);
    return VRESULT_OK;
  }
  if (rc != VRESULT_OK) return rc;
  w->U8(kImageTag);
  EncodeRegion(*image.domain, w);
  const PixelBuffer& first = *image.channels[0];
  w->U8(static_cast<uint8_t>(first.type()));
  w->I32(first.width());
  w->I32(first.height());
  w->U32(static_cast<uint32_t>(image.channels.size()));
  for (const PixelBuffer* channel : image.channels) w->Bytes(channel->data(), channel->pixel_bytes());
  return VRESULT_OK;
}

Vresult DecodeImage(ByteReader* r, Vkey* key) {
  RegionPtr domain;
  Vresult rc = DecodeRegion(r, &domain);
  if (rc != VRESULT_OK) return rc;
  uint8_t type = 0;
  int32_t width = 0, height = 0;
  uint32_t channels = 0;
  if (!r->U8(&type) || !r->I32(&width) || !r->I32(&height) || !r->U32(&channels))
    return VERR_FILE_CORRUPT;
  if (type >= kNumPixelTypes || width < 1 || height < 1 || width > kMaxImageSide ||
      height > kMaxImageSide || channels < 1)
    return VERR_FILE_CORRUPT;
  const PixelType pixel_type = static_cast<PixelType>(type);
  const uint64_t bytes = static_cast<uint64_t>(width) * height * PixelSize(pixel_type);
  if (bytes * channels > r->remaining()) return VERR_FILE_CORRUPT;
  std::vector<std::unique_ptr<PixelBuffer>> buffers(channels);
  for (auto& buffer : buffers) {
    rc = PixelBuffer::Create(pixel_type, width, height, &buffer);
    if (rc != VRESULT_OK) return rc;
    const unsigned char* p = nullptr;
    r->Bytes(static_cast<size_t>(bytes), &p);
    std::copy(p, p + bytes, buffer->data());
  }
  return db::NewImage(std::move(domain), std::move(buffers), key);
}

}  // namespace

void EncodeTuple(const TupleValues& values, ByteWriter* w) {
  w->U64(values.size());
  for (const TupleValue& v : values) {
    w->U8(static_cast<uint8_t>(v.type));
    switch (v.type) {
      case VPAR_LONG: w->I64(v.l); break;
      case VPAR_DOUBLE: w->F64(v.d); break;
      default: w->String(v.s); break;
    }
  }
}

Vresult DecodeTuple(ByteReader* r, TupleValues* values) {
  uint64_t n = 0;
  if (!r->Count(9, &n)) return VERR_FILE_CORRUPT;
  values->clear();
  values->reserve(static_cast<size_t>(n));
  for (uint64_t i = 0; i < n; ++i) {
    uint8_t type = 0;
    TupleValue v;
    bool ok = r->U8(&type);
    switch (type) {
      case VPAR_LONG: ok = ok && r->I64(&v.l); break;
      case VPAR_DOUBLE: ok = ok && r->F64(&v.d); break;
      case VPAR_STRING: ok = ok && r->String(&v.s); break;
      default: ok = false; break;
    }
    if (!ok) return VERR_FILE_CORRUPT;
    v.type = type;
    values->push_back(std::move(v));
  }
  return r->remaining() == 0 ? VRESULT_OK : VERR_FILE_CORRUPT;
}

Vresult EncodeObjects(const std::vector<Vkey>& keys, bool as_regions, ByteWriter* w) {
  w->U64(keys.size());
  for (Vkey key : keys) {
    const Vresult rc = EncodeObject(key, as_regions, w);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

Vresult DecodeObjects(ByteReader* r, NewKeys* out) {
  uint64_t n = 0;
  // Each object is at least its tag and a chord count.
  if (!r->Count(9, &n)) return VERR_FILE_CORRUPT;
  for (uint64_t i = 0; i < n; ++i) {
    uint8_t tag = 0;
    if (!r->U8(&tag)) return VERR_FILE_CORRUPT;
    Vkey key = VKEY_UNDEF;
    Vresult rc;
    if (tag == kRegionTag) {
      RegionPtr region;
      rc = DecodeRegion(r, &region);
      if (rc == VRESULT_OK) rc = db::NewRegion(std::move(region), &key);
    } else if (tag == kImageTag) {
      rc = DecodeImage(r, &key);
    } else {
      rc = VERR_FILE_CORRUPT;
    }
    if (rc != VRESULT_OK) return rc;
    out->Add(key);
  }
  return r->remaining() == 0 ? VRESULT_OK : VERR_FILE_CORRUPT;
}

}  // namespace vexa
