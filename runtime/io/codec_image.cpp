#include "io/codec_image.h"

#include <algorithm>
#include <cstring>

#include "vexa/errors.h"

namespace vexa {
namespace io {

// The codecs hand pixel memory to the file libraries and write it to
// native files as it lies in memory; both assume little-endian samples.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the image codecs assume a little-endian platform");

Vresult NewChannels(PixelType type, int64_t width, int64_t height,
                    int64_t count, size_t file_size, DecodedImage* image) {
  if (width < 1 || height < 1 || count < 1) return VERR_FILE_CORRUPT;
  if (width > kMaxImageSide || height > kMaxImageSide) return VERR_TOO_LARGE;
  // Computed in double: a damaged count times a large image overflows int64.
  const double bytes = static_cast<double>(width) * height * count *
                       static_cast<double>(PixelSize(type));
  if (bytes > static_cast<double>(file_size) * kMaxExpansion)
    return VERR_FILE_CORRUPT;
  image->channels.clear();
  image->channels.reserve(static_cast<size_t>(count));
  for (int64_t i = 0; i < count; ++i) {
    std::unique_ptr<PixelBuffer> buffer;
    const Vresult rc = PixelBuffer::Create(type, static_cast<int32_t>(width),
                                           static_cast<int32_t>(height), &buffer);
    if (rc != VRESULT_OK) return rc;
    image->channels.push_back(std::move(buffer));
  }
  return VRESULT_OK;
}

namespace {

void CopySample(const unsigned char* from, size_t size, bool swap,
                unsigned char* to) {
  if (swap)
    std::reverse_copy(from, from + size, to);
  else
    std::memcpy(to, from, size);
}

}  // namespace

void ScatterPixels(const unsigned char* samples, int channels, int first,
                   int32_t r, int32_t c, int32_t count, bool swap,
                   DecodedImage* image) {
  const PixelBuffer& any = *image->channels.front();
  const size_t size = PixelSize(any.type());
  const size_t offset = (static_cast<size_t>(r) * any.width() + c) * size;
  for (int ch = 0; ch < channels; ++ch) {
    unsigned char* to = image->channels[first + ch]->data() + offset;
    const unsigned char* from = samples + ch * size;
    for (int32_t i = 0; i < count; ++i, to += size, from += channels * size)
      CopySample(from, size, swap, to);
  }
}

void GatherRow(const std::vector<const PixelBuffer*>& channels, int32_t r,
               bool swap, unsigned char* row) {
  const size_t size = PixelSize(channels.front()->type());
  const int32_t width = channels.front()->width();
  const size_t offset = static_cast<size_t>(r) * width * size;
  const size_t stride = channels.size() * size;
  for (size_t ch = 0; ch < channels.size(); ++ch) {
    const unsigned char* from = channels[ch]->data() + offset;
    unsigned char* to = row + ch * size;
    for (int32_t c = 0; c < width; ++c, from += size, to += stride)
      CopySample(from, size, swap, to);
  }
}

}  // namespace io
}  // namespace vexa
