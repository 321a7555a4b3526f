// Color operators: gray from red, green and blue, and transforms between
// RGB and other color spaces (color_spaces.h). The three channels of a
// pixel go in and out together; results cover the common domain of the
// inputs, the rest of the result stays 0.
//
// Integer images are scaled: byte and uint2 map their whole range onto
// [0, 1] for RGB and onto each component's range for the other spaces.
// Real images hold RGB in [0, 1] and the other spaces in their own units.
#include <cstring>

#include "color_spaces.h"
#include "image_op_util.h"
#include "ops/common/domain_scan.h"
#include "ops/common/pixel_dispatch.h"
#include "registry.h"

namespace vexa {
namespace {

// Runs fn(in values, out values) for every pixel of `scan`, reading the
// channels `in` and writing the channels `out`, all of one pixel type;
// values cross as doubles, stored with rounding and clipping.
template <class Fn>
void MapPixels(const std::vector<const PixelBuffer*>& in,
               const std::vector<PixelBuffer*>& out, const DomainScan& scan,
               Fn&& fn) {
  DispatchPixelType(in[0]->type(), [&](auto tag) {
    constexpr PixelType kType = decltype(tag)::kType;
    using T = typename decltype(tag)::Value;
    std::vector<const T*> src;
    std::vector<T*> dst;
    for (const PixelBuffer* b : in) src.push_back(PixelsOf(*b, tag));
    for (PixelBuffer* b : out) dst.push_back(PixelsOf(b, tag));
    double a[3], r[3];
    scan.ForEachRun([&](size_t o, size_t n) {
      for (size_t k = o; k < o + n; ++k) {
        for (size_t i = 0; i < src.size(); ++i) a[i] = static_cast<double>(src[i][k]);
        fn(a, r);
        for (size_t i = 0; i < dst.size(); ++i) dst[i][k] = StorePixel<kType>(r[i]);
      }
    });
  });
}

// The three images of one color pixel set: same size and pixel type,
// one channel each (the first is used).
Vresult CheckTriple(const std::vector<db::ImageData>& images) {
  for (const db::ImageData& im : images) {
    if (!SameSize(*im.channels[0], *images[0].channels[0])) return VERR_IMAGE_SIZE;
    if (im.channels[0]->type() != images[0].channels[0]->type()) return VERR_PIXEL_TYPE;
  }
  return VRESULT_OK;
}

// New blank images like `like` under `domain`, one per output; their
// writable channels go to `buffers`.
Vresult NewOutputs(const PixelBuffer& like, const RegionPtr& domain, size_t num,
                   std::vector<NewKeys>* outs, std::vector<PixelBuffer*>* buffers) {
  buffers->assign(num, nullptr);
  for (size_t i = 0; i < num; ++i) {
    Vkey key = VKEY_UNDEF;
    Vresult rc = db::NewBlankImage(like.type(), like.width(), like.height(), 1,
                                   domain, &key);
    if (rc != VRESULT_OK) return rc;
    (*outs)[i].Add(key);
    rc = db::WritableChannel(key, 0, &(*buffers)[i]);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

// Hands every output list to output parameters 1, 2, ...; every list is
// taken over, also after a failure.
Vresult HandOverAll(OpContext& ctx, Vresult rc, std::vector<NewKeys>* outs) {
  for (size_t i = 0; i < outs->size(); ++i) {
    const Vresult r = (*outs)[i].HandOver(ctx, static_cast<int>(i) + 1);
    if (rc == VRESULT_OK) rc = r;
  }
  return rc;
}

// A scan of the common domain of `images`.
DomainScan CommonScan(const std::vector<db::ImageData>& images) {
  db::ImageData common;
  common.domain = CommonDomain(images);
  common.channels = {images[0].channels[0]};
  return DomainScan::Of(common);
}

void Gray(const double c[3], double out[3]) {
  out[0] = kLumaR * c[0] + kLumaG * c[1] + kLumaB * c[2];
}

// The largest value of a scaled type; 0 for real, whose values are taken
// as they are.
double ScaleOf(PixelType type) {
  switch (type) {
    case PixelType::kByte: return 255.0;
    case PixelType::kUInt2: return 65535.0;
    default: return 0.0;
  }
}

// The color operators work on byte, uint2 and real images.
bool ColorType(PixelType type) {
  return type == PixelType::kByte || type == PixelType::kUInt2 ||
         type == PixelType::kReal;
}

// The three-image color operators: for each triple of inputs 1, 2, 3, the
// channels made by `fn` at outputs 1..num_out.
template <class Fn>
Vresult MapTriples(OpContext& ctx, size_t num_out, bool color_types_only, Fn&& fn) {
  std::vector<NewKeys> outs(num_out);
  const Vresult rc = ZipImages(
      ctx, {1, 2, 3},
      [&](Vlong, const std::vector<Vkey>&, const std::vector<db::ImageData>& images) {
        Vresult r = CheckTriple(images);
        if (r != VRESULT_OK) return r;
        const PixelBuffer& first = *images[0].channels[0];
        if (first.type() == PixelType::kComplex ||
            (color_types_only && !ColorType(first.type())))
          return VERR_PIXEL_TYPE;
        const DomainScan scan = CommonScan(images);
        std::vector<PixelBuffer*> buffers;
        r = NewOutputs(first, scan.domain(), num_out, &outs, &buffers);
        if (r != VRESULT_OK) return r;
        MapPixels({images[0].channels[0], images[1].channels[0], images[2].channels[0]},
                  buffers, scan, [&](const double* a, double* b) { fn(first.type(), a, b); });
        return VRESULT_OK;
      });
  return HandOverAll(ctx, rc, &outs);
}

// Reads the color space of input control 0.
Vresult GetColorSpace(const OpContext& ctx, const ColorSpace** space) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  *space = FindColorSpace(name);
  return *space ? VRESULT_OK : VERR_CTRL_VALUE(0);
}

}  // namespace

// Gray values 0.299 R + 0.587 G + 0.114 B of a three-channel image; a
// one-channel image is passed on as it is.
VEXA_OPERATOR(rgb1_to_gray) {
  return MakePerImage(ctx, 1, 1, [](Vkey key, const db::ImageData& image, Vkey* out) {
    if (image.channels.size() == 1) return db::Copy(key, out);
    if (image.channels.size() != 3) return VERR_CHANNEL;
    const PixelBuffer& first = *image.channels[0];
    for (const PixelBuffer* ch : image.channels)
      if (ch->type() != first.type() || ch->type() == PixelType::kComplex)
        return VERR_PIXEL_TYPE;
    const DomainScan scan = DomainScan::Of(image);
    Vresult rc = db::NewBlankImage(first.type(), first.width(), first.height(), 1,
                                   image.domain, out);
    PixelBuffer* gray = nullptr;
    if (rc == VRESULT_OK) rc = db::WritableChannel(*out, 0, &gray);
    if (rc != VRESULT_OK) {
      if (*out != VKEY_UNDEF) db::Release(*out);
      return rc;
    }
    MapPixels(image.channels, {gray}, scan, Gray);
    return VRESULT_OK;
  });
}

// The same from three one-channel images.
VEXA_OPERATOR(rgb3_to_gray) {
  return MapTriples(ctx, 1, false,
                    [](PixelType, const double* c, double* out) { Gray(c, out); });
}

VEXA_OPERATOR(trans_from_rgb) {
  const ColorSpace* space = nullptr;
  const Vresult rc = GetColorSpace(ctx, &space);
  if (rc != VRESULT_OK) return rc;
  return MapTriples(ctx, 3, true, [space](PixelType type, const double* c, double* out) {
    const double scale = ScaleOf(type);
    if (scale == 0.0) return space->from_rgb(c, out);
    const double rgb[3] = {c[0] / scale, c[1] / scale, c[2] / scale};
    space->from_rgb(rgb, out);
    for (int i = 0; i < 3; ++i)
      out[i] = (out[i] - space->lo[i]) / (space->hi[i] - space->lo[i]) * scale;
  });
}

VEXA_OPERATOR(trans_to_rgb) {
  const ColorSpace* space = nullptr;
  const Vresult rc = GetColorSpace(ctx, &space);
  if (rc != VRESULT_OK) return rc;
  return MapTriples(ctx, 3, true, [space](PixelType type, const double* c, double* out) {
    const double scale = ScaleOf(type);
    if (scale == 0.0) return space->to_rgb(c, out);
    double value[3];
    for (int i = 0; i < 3; ++i)
      value[i] = space->lo[i] + c[i] / scale * (space->hi[i] - space->lo[i]);
    space->to_rgb(value, out);
    for (int i = 0; i < 3; ++i) out[i] *= scale;
  });
}

}  // namespace vexa
