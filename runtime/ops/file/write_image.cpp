// write_image: one file per image, in the format the format text names.
// Pixels outside an image's domain are written as fill_color; a name
// without extension gets the format's extension.
#include <memory>
#include <string>
#include <vector>

#include "io/image_codecs.h"
#include "io/image_file.h"
#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {
namespace {

// Sets every pixel of `buffer` outside `domain` (which lies inside the
// image) to `fill`, rounded and clipped to the pixel type.
void FillOutside(const Region& domain, double fill, PixelBuffer* buffer) {
  const std::vector<Chord>& chords = domain.chords();
  size_t i = 0;
  for (int32_t r = 0; r < buffer->height(); ++r) {
    int32_t c = 0;
    for (; i < chords.size() && chords[i].r == r; ++i) {
      for (; c < chords[i].cb; ++c) buffer->Set(r, c, fill);
      c = chords[i].ce + 1;
    }
    for (; c < buffer->width(); ++c) buffer->Set(r, c, fill);
  }
}

Vresult WriteImageFile(Vkey key, const io::WriteFormat& format, double fill,
                       const std::string& name) {
  db::ImageData data;
  Vresult rc = InpImage(1, key, &data);
  if (rc != VRESULT_OK) return rc;
  io::EncodeSource source{data.channels, data.domain};
  // Copies with the fill colour, unless the domain covers the image.
  std::vector<std::unique_ptr<PixelBuffer>> filled;
  if (data.domain->area() != data.channels[0]->num_pixels()) {
    for (size_t ch = 0; ch < data.channels.size(); ++ch) {
      std::unique_ptr<PixelBuffer> copy;
      rc = data.channels[ch]->Clone(&copy);
      if (rc != VRESULT_OK) return rc;
      FillOutside(*data.domain, fill, copy.get());
      source.channels[ch] = copy.get();
      filled.push_back(std::move(copy));
    }
  }
  io::Bytes file;
  rc = io::EncodeImage(source, format, &file);
  if (rc != VRESULT_OK) return rc;
  const std::string path =
      io::HasExtension(name) ? name : name + io::FormatExtension(format);
  return io::WriteWholeFile(path, file);
}

}  // namespace

VEXA_OPERATOR(write_image) {
  const char* format_text = nullptr;
  double fill = 0;
  std::vector<const char*> names;
  const std::vector<Vkey>* images = nullptr;
  Vresult rc = ctx.GetString(0, &format_text);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &fill);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(2, names);
  if (rc == VRESULT_OK) rc = ctx.InpObjs(1, &images);
  if (rc != VRESULT_OK) return rc;
  io::WriteFormat format;
  if (!io::ParseWriteFormat(format_text, &format)) return VERR_CTRL_VALUE(0);
  if (images->empty()) return VERR_OBJ_NUM(1);
  if (names.size() != images->size()) return VERR_CTRL_NUM(2);
  for (size_t i = 0; i < images->size(); ++i) {
    rc = WriteImageFile((*images)[i], format, fill, names[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

}  // namespace vexa
