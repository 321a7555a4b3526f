#include "ops/region/kernels/region_file.h"

#include <cstring>

#include "vexa/errors.h"

namespace vexa {
namespace {

constexpr char kMagic[8] = {'V', 'X', 'R', 'E', 'G', 'I', 'O', 'N'};
constexpr uint32_t kVersion = 1;
constexpr size_t kChordBytes = 12;

uint64_t Fnv1a(const char* p, size_t n) {
  uint64_t h = 1469598103934665603ull;
  for (size_t i = 0; i < n; ++i) {
    h ^= static_cast<unsigned char>(p[i]);
    h *= 1099511628211ull;
  }
  return h;
}

void Put(std::string* out, uint64_t v, int bytes) {
  for (int i = 0; i < bytes; ++i) out->push_back(static_cast<char>(v >> (8 * i)));
}

// Reads little-endian numbers from a byte range; `ok` turns false, and
// stays so, once a read would pass the end.
class Reader {
 public:
  Reader(const char* p, size_t n) : p_(p), left_(n) {}
  uint64_t Get(int bytes) {
    if (left_ < static_cast<size_t>(bytes)) {
      ok_ = false;
      return 0;
    }
    uint64_t v = 0;
    for (int i = 0; i < bytes; ++i)
      v |= uint64_t{static_cast<unsigned char>(p_[i])} << (8 * i);
    p_ += bytes;
    left_ -= static_cast<size_t>(bytes);
    return v;
  }
  bool ok() const { return ok_; }
  size_t left() const { return left_; }

 private:
  const char* p_;
  size_t left_;
  bool ok_ = true;
};

bool ValidChord(const Chord& c, const Chord* prev) {
  const auto in = [](int32_t v) { return v >= -kMaxRegionCoord && v <= kMaxRegionCoord; };
  if (!in(c.r) || !in(c.cb) || !in(c.ce) || c.ce < c.cb) return false;
  // Canonical: rows ascending; within a row a gap of at least one pixel.
  return prev == nullptr || prev->r < c.r || (prev->r == c.r && int64_t{prev->ce} + 1 < c.cb);
}

}  // namespace

std::string EncodeRegions(const std::vector<RegionPtr>& regions) {
  std::string out(kMagic, sizeof kMagic);
  Put(&out, kVersion, 4);
  Put(&out, regions.size(), 8);
  for (const RegionPtr& r : regions) {
    Put(&out, r->chords().size(), 8);
    for (const Chord& c : r->chords()) {
      Put(&out, static_cast<uint32_t>(c.r), 4);
      Put(&out, static_cast<uint32_t>(c.cb), 4);
      Put(&out, static_cast<uint32_t>(c.ce), 4);
    }
  }
  Put(&out, Fnv1a(out.data() + sizeof kMagic, out.size() - sizeof kMagic), 8);
  return out;
}

Vresult DecodeRegions(const std::string& bytes, std::vector<RegionPtr>* regions) {
  if (bytes.size() < sizeof kMagic)
    return bytes.empty() || std::memcmp(bytes.data(), kMagic, bytes.size()) != 0
               ? VERR_FILE_FORMAT
               : VERR_FILE_READ;
  if (std::memcmp(bytes.data(), kMagic, sizeof kMagic) != 0) return VERR_FILE_FORMAT;
  Reader in(bytes.data() + sizeof kMagic, bytes.size() - sizeof kMagic);
  const uint64_t version = in.Get(4);
  const uint64_t count = in.Get(8);
  if (!in.ok()) return VERR_FILE_READ;
  if (version != kVersion) return VERR_FILE_FORMAT;
  // Counts are checked against the bytes left before anything is
  // allocated, so a corrupt count cannot ask for absurd memory.
  if (count > in.left() / 8) return VERR_FILE_READ;
  std::vector<RegionPtr> out;
  out.reserve(static_cast<size_t>(count));
  for (uint64_t k = 0; k < count; ++k) {
    const uint64_t n = in.Get(8);
    if (!in.ok() || n > in.left() / kChordBytes) return VERR_FILE_READ;
    std::vector<Chord> chords(static_cast<size_t>(n));
    for (size_t i = 0; i < chords.size(); ++i) {
      chords[i] = {static_cast<int32_t>(in.Get(4)), static_cast<int32_t>(in.Get(4)),
                   static_cast<int32_t>(in.Get(4))};
      if (!ValidChord(chords[i], i > 0 ? &chords[i - 1] : nullptr)) return VERR_FILE_FORMAT;
    }
    out.push_back(Region::FromCanonicalChords(std::move(chords)));
  }
  const size_t body = bytes.size() - sizeof kMagic - in.left();
  const uint64_t sum = in.Get(8);
  if (!in.ok()) return VERR_FILE_READ;
  if (in.left() != 0 || sum != Fnv1a(bytes.data() + sizeof kMagic, body))
    return VERR_FILE_FORMAT;
  regions->swap(out);
  return VRESULT_OK;
}

}  // namespace vexa
