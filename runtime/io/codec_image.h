// What the image codecs exchange with the file operators: pixel buffers and
// a domain, never keys of the object database.
//
// Decoders fill a DecodedImage (channels of one type and size, domain null
// for the full image); encoders read an EncodeSource (borrowed channels,
// the domain only for formats that keep it). Both sides move samples
// between the channel planes of the store and the interleaved rows that
// most file formats hold, with the helpers below.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "image_store.h"
#include "region_store.h"
#include "vexa/types.h"

namespace vexa {
namespace io {

using Bytes = std::vector<unsigned char>;

struct DecodedImage {
  std::vector<std::unique_ptr<PixelBuffer>> channels;
  RegionPtr domain;  // null: the full image
};

struct EncodeSource {
  std::vector<const PixelBuffer*> channels;  // at least one, same type and size
  RegionPtr domain;                          // the image's domain
  PixelType type() const { return channels.front()->type(); }
  int32_t width() const { return channels.front()->width(); }
  int32_t height() const { return channels.front()->height(); }
};

// Makes `count` zeroed channels of one type and size in `image`, after
// checking that the file is long enough to hold that much data at all:
// no format here packs more than kMaxExpansion bytes of pixels into one
// byte of file (deflate's bound is about 1,032), so a header that claims
// more came from a damaged file and gives VERR_FILE_CORRUPT before any
// large allocation. Sizes the store refuses give its codes.
constexpr size_t kMaxExpansion = 4096;
Vresult NewChannels(PixelType type, int64_t width, int64_t height,
                    int64_t count, size_t file_size, DecodedImage* image);

// Copies `count` pixels of interleaved samples (`channels` samples per
// pixel, each of the channels' pixel size) into the channel planes at row
// `r`, columns `c`.., starting with channel `first`. With `swap` the bytes
// of every sample are reversed (big-endian files on this little-endian
// platform). Not for complex channels, whose planes the native codec
// moves whole.
void ScatterPixels(const unsigned char* samples, int channels, int first,
                   int32_t r, int32_t c, int32_t count, bool swap,
                   DecodedImage* image);
// A whole row.
inline void ScatterRow(const unsigned char* row, int channels, int first,
                       int32_t r, bool swap, DecodedImage* image) {
  ScatterPixels(row, channels, first, r, 0, image->channels[0]->width(), swap,
                image);
}
// The reverse: interleaves row `r` of the given channels into `row`.
void GatherRow(const std::vector<const PixelBuffer*>& channels, int32_t r,
               bool swap, unsigned char* row);

}  // namespace io
}  // namespace vexa
