#include "io/codec_native.h"

#include <zlib.h>

#include <cstring>

#include "vexa/errors.h"

namespace vexa {
namespace io {
namespace {

// File codes of the pixel types; fixed by the format, independent of the
// order of PixelType.
constexpr PixelType kTypeCodes[] = {
    PixelType::kByte, PixelType::kInt1,  PixelType::kInt2,
    PixelType::kUInt2, PixelType::kInt4, PixelType::kInt8,
    PixelType::kReal, PixelType::kComplex, PixelType::kDirection,
    PixelType::kCyclic};
constexpr uint32_t kNumTypeCodes = sizeof kTypeCodes / sizeof kTypeCodes[0];

constexpr size_t kHeaderBytes = 36;
constexpr size_t kChordBytes = 12;
constexpr size_t kChecksumBytes = 4;
constexpr uint32_t kMaxChannels = 65535;

uint32_t Load32(const unsigned char* p) {
  uint32_t v;
  std::memcpy(&v, p, 4);
  return v;
}

uint64_t Load64(const unsigned char* p) {
  uint64_t v;
  std::memcpy(&v, p, 8);
  return v;
}

template <class T>
void Append(Bytes* out, T v) {
  const auto* p = reinterpret_cast<const unsigned char*>(&v);
  out->insert(out->end(), p, p + sizeof v);
}

uint32_t Checksum(const unsigned char* data, size_t size) {
  uLong crc = crc32(0L, Z_NULL, 0);
  // crc32 takes at most 4 GiB per call.
  while (size > 0) {
    const uInt n = static_cast<uInt>(size < (1u << 30) ? size : (1u << 30));
    crc = crc32(crc, data, n);
    data += n;
    size -= n;
  }
  return static_cast<uint32_t>(crc);
}

struct Header {
  PixelType type;
  uint32_t channels, width, height;
  uint64_t chords;
  uint64_t file_bytes;  // the length the header implies
};

Vresult ParseHeader(const Bytes& file, Header* h) {
  const unsigned char* p = file.data();
  if (Load32(p + 8) != kNativeVersion) return VERR_FILE_UNSUPPORTED;
  const uint32_t code = Load32(p + 12);
  h->channels = Load32(p + 16);
  h->width = Load32(p + 20);
  h->height = Load32(p + 24);
  h->chords = Load64(p + 28);
  if (code >= kNumTypeCodes || h->channels < 1 || h->channels > kMaxChannels ||
      h->width < 1 || h->width > kMaxImageSide || h->height < 1 ||
      h->height > kMaxImageSide ||
      h->chords > uint64_t{h->height} * (h->width / 2 + 1))
    return VERR_FILE_CORRUPT;
  h->type = kTypeCodes[code];
  h->file_bytes = kHeaderBytes +
                  uint64_t{h->channels} * h->width * h->height * PixelSize(h->type) +
                  h->chords * kChordBytes + kChecksumBytes;
  return VRESULT_OK;
}

// Chords must be in the canonical order of a region (by row, then column,
// runs of one row neither overlapping nor touching) and inside the image.
Vresult ReadDomain(const unsigned char* p, const Header& h, RegionPtr* domain) {
  std::vector<Chord> chords(h.chords);
  for (uint64_t i = 0; i < h.chords; ++i, p += kChordBytes) {
    Chord& c = chords[i];
    c.r = static_cast<int32_t>(Load32(p));
    c.cb = static_cast<int32_t>(Load32(p + 4));
    c.ce = static_cast<int32_t>(Load32(p + 8));
    const bool inside = c.r >= 0 && c.r < static_cast<int32_t>(h.height) &&
                        c.cb >= 0 && c.cb <= c.ce &&
                        c.ce < static_cast<int32_t>(h.width);
    const bool ordered = i == 0 || c.r > chords[i - 1].r ||
                         (c.r == chords[i - 1].r && c.cb > chords[i - 1].ce + 1);
    if (!inside || !ordered) return VERR_FILE_CORRUPT;
  }
  *domain = Region::FromCanonicalChords(std::move(chords));
  return VRESULT_OK;
}

}  // namespace

Vresult DecodeNative(const Bytes& file, DecodedImage* image) {
  if (file.size() < kHeaderBytes + kChecksumBytes) return VERR_FILE_TRUNCATED;
  if (std::memcmp(file.data(), kNativeMagic, sizeof kNativeMagic) != 0)
    return VERR_FILE_FORMAT;
  // A sound header that asks for more bytes than there are means the file
  // was cut; any other damage shows in the checksum.
  Header h{};
  const Vresult header_rc = ParseHeader(file, &h);
  if (header_rc == VRESULT_OK && file.size() < h.file_bytes)
    return VERR_FILE_TRUNCATED;
  const size_t body = file.size() - kChecksumBytes;
  if (Checksum(file.data(), body) != Load32(file.data() + body))
    return VERR_FILE_CORRUPT;
  if (header_rc != VRESULT_OK) return header_rc;
  if (file.size() != h.file_bytes) return VERR_FILE_CORRUPT;

  Vresult rc = NewChannels(h.type, h.width, h.height, h.channels, file.size(),
                           image);
  if (rc != VRESULT_OK) return rc;
  const unsigned char* p = file.data() + kHeaderBytes;
  for (auto& channel : image->channels) {
    std::memcpy(channel->data(), p, channel->pixel_bytes());
    p += channel->pixel_bytes();
  }
  return ReadDomain(p, h, &image->domain);
}

Vresult EncodeNative(const EncodeSource& source, Bytes* file) {
  if (source.channels.size() > kMaxChannels) return VERR_CHANNEL;
  uint32_t code = 0;
  while (kTypeCodes[code] != source.type()) ++code;
  const RegionPtr domain =
      source.domain ? source.domain
                    : Region::Rectangle(0, 0, source.height() - 1, source.width() - 1);
  const std::vector<Chord>& chords = domain->chords();

  file->clear();
  file->reserve(kHeaderBytes +
                source.channels.size() * source.channels[0]->pixel_bytes() +
                chords.size() * kChordBytes + kChecksumBytes);
  file->insert(file->end(), kNativeMagic, kNativeMagic + sizeof kNativeMagic);
  Append(file, kNativeVersion);
  Append(file, code);
  Append(file, static_cast<uint32_t>(source.channels.size()));
  Append(file, static_cast<uint32_t>(source.width()));
  Append(file, static_cast<uint32_t>(source.height()));
  Append(file, static_cast<uint64_t>(chords.size()));
  for (const PixelBuffer* channel : source.channels)
    file->insert(file->end(), channel->data(), channel->data() + channel->pixel_bytes());
  for (const Chord& c : chords) {
    Append(file, c.r);
    Append(file, c.cb);
    Append(file, c.ce);
  }
  Append(file, Checksum(file->data(), file->size()));
  return VRESULT_OK;
}

}  // namespace io
}  // namespace vexa
