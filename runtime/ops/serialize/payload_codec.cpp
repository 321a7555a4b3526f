#include "ops/serialize/payload_codec.h"

#include "ops/serialize/xld_codec.h"

#include <memory>
#include <utility>

namespace vexa {
namespace {

enum ObjectTag : uint8_t { kRegionTag = 1, kImageTag = 2, kXldTag = 3 };
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

// The tag `key` goes under in an item of `kind`, or VERR_OBJ_CLASS(par).
Vresult TagFor(int par, Vkey key, ItemKind kind, ObjectTag* tag) {
  db::ObjKind obj;
  const Vresult rc = db::KindOf(key, &obj);
  if (rc != VRESULT_OK) return rc;
  switch (obj) {
    case db::ObjKind::kXld: *tag = kXldTag; break;
    case db::ObjKind::kImage: *tag = kind == ItemKind::kRegion ? kRegionTag : kImageTag; break;
    case db::ObjKind::kRegion: *tag = kRegionTag; break;
    default: return VERR_OBJ_CLASS(par);
  }
  const bool fits = kind == ItemKind::kObject || (kind == ItemKind::kImage && *tag == kImageTag) ||
                    (kind == ItemKind::kRegion && *tag == kRegionTag) ||
                    (kind == ItemKind::kXld && *tag == kXldTag);
  return fits ? VRESULT_OK : VERR_OBJ_CLASS(par);
}

Vresult EncodeObject(Vkey key, ObjectTag tag, ByteWriter* w) {
  w->U8(tag);
  if (tag == kXldTag) {
    XldPtr xld;
    const Vresult rc = db::GetXld(key, &xld);
    if (rc == VRESULT_OK) EncodeXld(*xld, w);
    return rc;
  }
  if (tag == kRegionTag) {
    RegionPtr region;
    const Vresult rc = db::GetRegion(key, &region);
    if (rc == VRESULT_OK) EncodeRegion(*region, w);
    return rc;
  }
  db::ImageData image;
  const Vresult rc = db::GetImage(key, &image);
  if (rc != VRESULT_OK) return rc;
  EncodeRegion(*image.domain, w);
  const PixelBuffer& first = *image.channels[0];
  w->U8(static_cast<uint8_t>(first.type()));
  w->I32(first.width());
  w->I32(first.height());
  w->U32(static_cast<uint32_t>(image.channels.size()));
  for (const PixelBuffer* channel : image.channels) w->Bytes(channel->data(), channel->pixel_bytes());
  return VRESULT_OK;
}

bool Holds(ItemKind kind, uint8_t tag) {
  switch (kind) {
    case ItemKind::kImage: return tag == kImageTag;
    case ItemKind::kRegion: return tag == kRegionTag;
    case ItemKind::kXld: return tag == kXldTag;
    default: return tag == kImageTag || tag == kRegionTag || tag == kXldTag;
  }
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

Vresult EncodeInpObjects(OpContext& ctx, int par, ItemKind kind, ByteWriter* w) {
  const std::vector<Vkey>* keys = nullptr;
  Vresult rc = ctx.InpObjs(par, &keys);
  if (rc != VRESULT_OK) return rc;
  // Every object is checked before any is written.
  std::vector<ObjectTag> tags(keys->size());
  for (size_t i = 0; i < keys->size(); ++i) {
    rc = TagFor(par, (*keys)[i], kind, &tags[i]);
    if (rc != VRESULT_OK) return rc;
  }
  w->U64(keys->size());
  for (size_t i = 0; i < keys->size(); ++i) {
    rc = EncodeObject((*keys)[i], tags[i], w);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

Vresult DecodeObjects(ByteReader* r, ItemKind kind, NewKeys* out) {
  uint64_t n = 0;
  // Each object is at least its tag and a count.
  if (!r->Count(9, &n)) return VERR_FILE_CORRUPT;
  for (uint64_t i = 0; i < n; ++i) {
    uint8_t tag = 0;
    if (!r->U8(&tag) || !Holds(kind, tag)) return VERR_FILE_CORRUPT;
    Vkey key = VKEY_UNDEF;
    Vresult rc;
    if (tag == kRegionTag) {
      RegionPtr region;
      rc = DecodeRegion(r, &region);
      if (rc == VRESULT_OK) rc = db::NewRegion(std::move(region), &key);
    } else if (tag == kImageTag) {
      rc = DecodeImage(r, &key);
    } else if (tag == kXldTag) {
      XldPtr xld;
      rc = DecodeXld(r, &xld);
      if (rc == VRESULT_OK) rc = db::NewXld(std::move(xld), &key);
    } else {
      rc = VERR_FILE_CORRUPT;
    }
    if (rc != VRESULT_OK) return rc;
    out->Add(key);
  }
  return r->remaining() == 0 ? VRESULT_OK : VERR_FILE_CORRUPT;
}

Vresult DecodeObjectItem(const unsigned char* data, size_t size, ItemKind kind, NewKeys* out) {
  ItemKind actual;
  Vresult rc = ItemKindOf(data, size, &actual);
  if (rc != VRESULT_OK) return rc;
  const bool fits = actual == kind || (kind == ItemKind::kObject &&
                                       (actual == ItemKind::kImage || actual == ItemKind::kRegion ||
                                        actual == ItemKind::kXld));
  if (!fits) return VERR_DATA_KIND;
  ByteReader payload(nullptr, 0);
  rc = OpenItem(data, size, actual, &payload);
  return rc == VRESULT_OK ? DecodeObjects(&payload, actual, out) : rc;
}

}  // namespace vexa
