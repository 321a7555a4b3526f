// Painting into images: regions in a gray value or in their mean gray
// value, or the domain pixels of one image into another of the same size.
// The paint_* operators and region_to_mean return a painted copy; the
// overpaint_* operators change their input image (its pixels are copied
// first if another object shares them).
//
// A region is painted wherever it lies inside the image, whatever the
// image's domain, which stays as it was.
#include <cstring>

#include "image_op_util.h"
#include "ops/image/gray_measures.h"
#include "pixel_runs.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// The pixels of `region` with a 4-neighbour outside it: the one-pixel-wide
// outline that the margin mode draws.
RegionPtr Margin(const Region& region) {
  const ChordList& a = region.chords();
  ChordList inner = ChordIntersection(a, ChordTranslate(a, 1, 0));
  inner = ChordIntersection(inner, ChordTranslate(a, -1, 0));
  inner = ChordIntersection(inner, ChordTranslate(a, 0, 1));
  inner = ChordIntersection(inner, ChordTranslate(a, 0, -1));
  return Region::FromCanonicalChords(ChordDifference(a, inner));
}

// What the region operators paint: the gray values (one for all channels
// or one per channel) and the pixels of the regions of one input
// parameter, outlines only in margin mode.
struct RegionPaint {
  std::vector<double> values;
  std::vector<RegionPtr> regions;

  Vresult Read(OpContext& ctx, int region_par) {
    const char* mode = nullptr;
    Vresult rc = ctx.GetDoubles(0, values);
    if (rc == VRESULT_OK) rc = ctx.GetString(1, &mode);
    if (rc != VRESULT_OK) return rc;
    if (values.empty()) return VERR_CTRL_NUM(0);
    const bool margin = std::strcmp(mode, "margin") == 0;
    if (!margin && std::strcmp(mode, "fill") != 0) return VERR_CTRL_VALUE(1);
    return ctx.ForEachInpObj(region_par, [&](Vkey key, Vlong) {
      RegionPtr region;
      const Vresult r = InpRegion(region_par, key, &region);
      if (r == VRESULT_OK) regions.push_back(margin ? Margin(*region) : region);
      return r;
    });
  }

  // Paints into channel `ch` (Check has accepted the value count).
  void Paint(PixelBuffer* buffer, size_t ch) const {
    const double v = values.size() == 1 ? values[0] : values[ch];
    for (const RegionPtr& region : regions)
      FillRegion(buffer,
                 *region->ClipToRectangle(0, 0, buffer->height() - 1,
                                          buffer->width() - 1),
                 v);
  }

  Vresult Check(size_t num_channels) const {
    return values.size() == 1 || values.size() == num_channels
               ? VRESULT_OK
               : VERR_CTRL_NUM(0);
  }
};

// Paints into every channel of image `key`, which the caller owns.
Vresult PaintRegions(Vkey key, size_t num_channels, const RegionPaint& paint) {
  Vresult rc = paint.Check(num_channels);
  for (size_t ch = 0; rc == VRESULT_OK && ch < num_channels; ++ch) {
    PixelBuffer* buffer = nullptr;
    rc = db::WritableChannel(key, static_cast<int>(ch), &buffer);
    if (rc == VRESULT_OK) paint.Paint(buffer, ch);
  }
  return rc;
}

// Copies the domain pixels of `source` into image `key` (described by
// `dest`), which must agree with it in size, channels and pixel type.
Vresult PaintGray(const db::ImageData& source, Vkey key,
                  const db::ImageData& dest) {
  if (!SameSize(*source.channels[0], *dest.channels[0])) return VERR_IMAGE_SIZE;
  if (source.channels.size() != dest.channels.size()) return VERR_CHANNEL;
  for (size_t ch = 0; ch < dest.channels.size(); ++ch)
    if (source.channels[ch]->type() != dest.channels[ch]->type())
      return VERR_PIXEL_TYPE;
  const DomainScan scan = DomainScan::Of(source);
  for (size_t ch = 0; ch < dest.channels.size(); ++ch) {
    PixelBuffer* buffer = nullptr;
    const Vresult rc = db::WritableChannel(key, static_cast<int>(ch), &buffer);
    if (rc != VRESULT_OK) return rc;
    // An image painted into itself keeps its pixels.
    if (buffer != source.channels[ch]) CopyRuns(*source.channels[ch], buffer, scan);
  }
  return VRESULT_OK;
}

// The one image of input `par`, with its key.
Vresult SingleImage(OpContext& ctx, int par, Vkey* key, db::ImageData* image) {
  const Vresult rc = ctx.InpObjSingle(par, key);
  return rc != VRESULT_OK ? rc : InpImage(par, *key, image);
}

// A new image with private copies of the channels of `image`.
Vresult NewCopy(const db::ImageData& image, NewKeys* out, Vkey* key) {
  Channels channels;
  Vresult rc = CloneChannels(image, &channels);
  if (rc == VRESULT_OK) rc = db::NewImage(image.domain, std::move(channels), key);
  if (rc == VRESULT_OK) out->Add(*key);
  return rc;
}

}  // namespace

// Regions of input 1 painted into a copy of the image of input 2.
VEXA_OPERATOR(paint_region) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  RegionPaint paint;
  Vresult rc = SingleImage(ctx, 2, &key, &image);
  if (rc == VRESULT_OK) rc = paint.Read(ctx, 1);
  if (rc == VRESULT_OK) rc = paint.Check(image.channels.size());
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  Vkey made = VKEY_UNDEF;
  rc = NewCopy(image, &out, &made);
  if (rc == VRESULT_OK) rc = PaintRegions(made, image.channels.size(), paint);
  return rc != VRESULT_OK ? rc : out.HandOver(ctx, 1);
}

// Regions of input 2 painted into the image of input 1 itself.
VEXA_OPERATOR(overpaint_region) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  RegionPaint paint;
  Vresult rc = SingleImage(ctx, 1, &key, &image);
  if (rc == VRESULT_OK) rc = paint.Read(ctx, 2);
  if (rc != VRESULT_OK) return rc;
  return PaintRegions(key, image.channels.size(), paint);
}

// The domain pixels of input 1 painted into a copy of input 2.
VEXA_OPERATOR(paint_gray) {
  Vkey src_key = VKEY_UNDEF, dst_key = VKEY_UNDEF;
  db::ImageData source, dest;
  Vresult rc = SingleImage(ctx, 1, &src_key, &source);
  if (rc == VRESULT_OK) rc = SingleImage(ctx, 2, &dst_key, &dest);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  Vkey made = VKEY_UNDEF;
  rc = NewCopy(dest, &out, &made);
  if (rc == VRESULT_OK) rc = PaintGray(source, made, dest);
  return rc != VRESULT_OK ? rc : out.HandOver(ctx, 1);
}

// The domain pixels of input 2 painted into the image of input 1 itself.
VEXA_OPERATOR(overpaint_gray) {
  Vkey dst_key = VKEY_UNDEF, src_key = VKEY_UNDEF;
  db::ImageData dest, source;
  Vresult rc = SingleImage(ctx, 1, &dst_key, &dest);
  if (rc == VRESULT_OK) rc = SingleImage(ctx, 2, &src_key, &source);
  if (rc != VRESULT_OK) return rc;
  return PaintGray(source, dst_key, dest);
}

// A copy of the image of input 2 with each region of input 1 painted, in
// every channel, with the mean of that channel over the region's pixels
// in the image's domain (rounded and clipped to the pixel type). Regions
// are painted in order, where they lie inside the image; a region without
// pixels in the domain is not painted.
VEXA_OPERATOR(region_to_mean) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  std::vector<RegionPtr> regions;
  Vresult rc = SingleImage(ctx, 2, &key, &image);
  if (rc == VRESULT_OK) {
    rc = ctx.ForEachInpObj(1, [&](Vkey k, Vlong) {
      RegionPtr region;
      const Vresult r = InpRegion(1, k, &region);
      if (r == VRESULT_OK) regions.push_back(region);
      return r;
    });
  }
  if (rc != VRESULT_OK) return rc;
  if (image.channels[0]->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  NewKeys out;
  Vkey made = VKEY_UNDEF;
  rc = NewCopy(image, &out, &made);
  for (size_t ch = 0; ch < image.channels.size() && rc == VRESULT_OK; ++ch) {
    PixelBuffer* buffer = nullptr;
    rc = db::WritableChannel(made, static_cast<int>(ch), &buffer);
    if (rc != VRESULT_OK) break;
    // Means from the input's pixels, so that earlier regions painted into
    // the copy do not change those of later ones.
    for (const RegionPtr& region : regions) {
      const GrayMoments m = GrayMoments::Of(*image.channels[ch], DomainScan::Within(*region, image));
      if (m.n == 0) continue;
      FillRegion(buffer, *region->ClipToRectangle(0, 0, buffer->height() - 1, buffer->width() - 1),
                 m.Mean());
    }
  }
  return rc != VRESULT_OK ? rc : out.HandOver(ctx, 1);
}

}  // namespace vexa
