// Complex images from and into their parts: real_to_complex joins a real
// and an imaginary image, complex_to_real splits a complex image into two
// real images. Channels go one by one; results keep the domain (the
// common domain of both parts) and copy every pixel, inside it or not,
// since spectra are read whole.
#include <cstring>
#include <memory>
#include <vector>

#include "ops/common/cv_wrap.h"
#include "ops/edges/edge_support.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// The height x width plane of floats starting `offset` floats into a
// buffer (a complex buffer holds the real plane, then the imaginary one).
cv::Mat PlaneOf(PixelBuffer* buffer, size_t offset) {
  float* base = reinterpret_cast<float*>(buffer->data()) + offset;
  return cv::Mat(buffer->height(), buffer->width(), CV_32F, base);
}

}  // namespace

VEXA_OPERATOR(real_to_complex) {
  NewKeys out;
  const Vresult rc = ZipImages(ctx, {1, 2}, [&](Vlong, const std::vector<Vkey>&,
                                              const std::vector<db::ImageData>& images) {
    const db::ImageData &re = images[0], &im = images[1];
    if (!SameSize(*re.channels[0], *im.channels[0])) return VERR_IMAGE_SIZE;
    if (re.channels.size() != im.channels.size()) return VERR_CHANNEL;
    Channels planes;
    for (size_t ch = 0; ch < re.channels.size(); ++ch) {
      const PixelBuffer &a = *re.channels[ch], &b = *im.channels[ch];
      if (!IsGrayType(a.type()) || !IsGrayType(b.type())) return VERR_PIXEL_TYPE;
      std::unique_ptr<PixelBuffer> buffer;
      const Vresult r = PixelBuffer::Create(PixelType::kComplex, a.width(), a.height(), &buffer);
      if (r != VRESULT_OK) return r;
      const cv::Rect all(0, 0, a.width(), a.height());
      const size_t n = static_cast<size_t>(a.num_pixels());
      SourceFor(a, all, 0, CV_32F).Roi().copyTo(PlaneOf(buffer.get(), 0));
      SourceFor(b, all, 0, CV_32F).Roi().copyTo(PlaneOf(buffer.get(), n));
      planes.push_back(std::move(buffer));
    }
    Vkey key = VKEY_UNDEF;
    const Vresult r = db::NewImage(CommonDomain(images), std::move(planes), &key);
    if (r == VRESULT_OK) out.Add(key);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

VEXA_OPERATOR(complex_to_real) {
  NewKeys real, imaginary;
  Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    Channels parts[2];
    for (const PixelBuffer* ch : image.channels) {
      if (ch->type() != PixelType::kComplex) return VERR_PIXEL_TYPE;
      const size_t n = static_cast<size_t>(ch->num_pixels());
      for (size_t part = 0; part < 2; ++part) {
        std::unique_ptr<PixelBuffer> buffer;
        r = PixelBuffer::Create(PixelType::kReal, ch->width(), ch->height(), &buffer);
        if (r != VRESULT_OK) return r;
        const float* src = reinterpret_cast<const float*>(ch->data()) + part * n;
        std::memcpy(buffer->data(), src, n * sizeof(float));
        parts[part].push_back(std::move(buffer));
      }
    }
    Vkey made[2] = {VKEY_UNDEF, VKEY_UNDEF};
    r = db::NewImage(image.domain, std::move(parts[0]), &made[0]);
    if (r != VRESULT_OK) return r;
    real.Add(made[0]);
    r = db::NewImage(image.domain, std::move(parts[1]), &made[1]);
    if (r == VRESULT_OK) imaginary.Add(made[1]);
    return r;
  });
  if (rc == VRESULT_OK) rc = real.HandOver(ctx, 1);
  if (rc == VRESULT_OK) rc = imaginary.HandOver(ctx, 2);
  return rc;
}

}  // namespace vexa
