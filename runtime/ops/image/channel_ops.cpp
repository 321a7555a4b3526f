// Operators that take multi-channel images apart and put them together.
// Channels travel as copies (the database shares only whole images); the
// domain of a result made from several images is their common domain.
#include "image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// One multi-channel image of all channels of `images`, in order, under
// their common domain. Sizes and pixel types must agree.
Vresult Compose(const std::vector<db::ImageData>& images, Vkey* out) {
  Channels channels;
  const PixelBuffer& first = *images[0].channels[0];
  for (size_t i = 0; i < images.size(); ++i) {
    for (const PixelBuffer* ch : images[i].channels) {
      if (!SameSize(*ch, first)) return VERR_IMAGE_SIZE;
      if (ch->type() != first.type()) return VERR_PIXEL_TYPE;
      std::unique_ptr<PixelBuffer> copy;
      const Vresult rc = ch->Clone(&copy);
      if (rc != VRESULT_OK) return rc;
      channels.push_back(std::move(copy));
    }
  }
  return db::NewImage(CommonDomain(images), std::move(channels), out);
}

// composeN: the i-th images of inputs 1..n as the channels of one image.
Vresult ComposeN(OpContext& ctx, int n) {
  std::vector<int> pars;
  for (int p = 1; p <= n; ++p) pars.push_back(p);
  NewKeys out;
  const Vresult rc = ZipImages(
      ctx, pars,
      [&](Vlong, const std::vector<Vkey>&,
          const std::vector<db::ImageData>& images) {
        Vkey made = VKEY_UNDEF;
        const Vresult r = Compose(images, &made);
        if (r == VRESULT_OK) out.Add(made);
        return r;
      });
  return rc != VRESULT_OK ? rc : out.HandOver(ctx, 1);
}

// decomposeN: each image of input 1, which must have n channels, as n
// one-channel images at outputs 1..n.
Vresult DecomposeN(OpContext& ctx, int n) {
  std::vector<NewKeys> outs(static_cast<size_t>(n));
  Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    if (image.channels.size() != static_cast<size_t>(n)) return VERR_CHANNEL;
    for (int i = 0; i < n; ++i) {
      Vkey made = VKEY_UNDEF;
      r = NewImageOfChannel(*image.channels[i], image.domain, &made);
      if (r != VRESULT_OK) return r;
      outs[i].Add(made);
    }
    return VRESULT_OK;
  });
  for (int i = 0; i < n; ++i) {
    // Every output takes its keys over, also after a failure.
    const Vresult r = outs[i].HandOver(ctx, i + 1);
    if (rc == VRESULT_OK) rc = r;
  }
  return rc;
}

}  // namespace

VEXA_OPERATOR(count_channels) {
  std::vector<Vlong> counts;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r == VRESULT_OK) counts.push_back(static_cast<Vlong>(image.channels.size()));
    return r;
  });
  return rc != VRESULT_OK ? rc : ctx.SetOutpLongs(0, counts);
}

// Channel `channel` (counted from 1) as a one-channel image.
VEXA_OPERATOR(access_channel) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  Vlong channel = 0;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &channel);
  if (rc != VRESULT_OK) return rc;
  if (channel < 1 || channel > static_cast<Vlong>(image.channels.size()))
    return VERR_CHANNEL;
  NewKeys out;
  Vkey made = VKEY_UNDEF;
  rc = NewImageOfChannel(*image.channels[channel - 1], image.domain, &made);
  if (rc != VRESULT_OK) return rc;
  out.Add(made);
  return out.HandOver(ctx, 1);
}

// The channels of the second image behind those of the first.
VEXA_OPERATOR(append_channel) {
  NewKeys out;
  const Vresult rc = ZipImages(
      ctx, {1, 2},
      [&](Vlong, const std::vector<Vkey>&,
          const std::vector<db::ImageData>& images) {
        Vkey made = VKEY_UNDEF;
        const Vresult r = Compose(images, &made);
        if (r == VRESULT_OK) out.Add(made);
        return r;
      });
  if (rc != VRESULT_OK) return rc;
  return out.HandOver(ctx, 1);
}

// All channels of all input images as one image.
VEXA_OPERATOR(channels_to_image) {
  const std::vector<Vkey>* keys = nullptr;
  Vresult rc = ctx.InpObjs(1, &keys);
  if (rc != VRESULT_OK) return rc;
  if (keys->empty()) return VERR_OBJ_NUM(1);
  std::vector<db::ImageData> images(keys->size());
  for (size_t i = 0; i < keys->size(); ++i) {
    rc = InpImage(1, (*keys)[i], &images[i]);
    if (rc != VRESULT_OK) return rc;
  }
  NewKeys out;
  Vkey made = VKEY_UNDEF;
  rc = Compose(images, &made);
  if (rc != VRESULT_OK) return rc;
  out.Add(made);
  return out.HandOver(ctx, 1);
}

// Every channel as a one-channel image, in order.
VEXA_OPERATOR(image_to_channels) {
  db::ImageData image;
  Vresult rc = InpSingleImage(ctx, 1, &image);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  for (const PixelBuffer* ch : image.channels) {
    Vkey made = VKEY_UNDEF;
    rc = NewImageOfChannel(*ch, image.domain, &made);
    if (rc != VRESULT_OK) return rc;
    out.Add(made);
  }
  return out.HandOver(ctx, 1);
}

VEXA_OPERATOR(compose2) { return ComposeN(ctx, 2); }
VEXA_OPERATOR(compose3) { return ComposeN(ctx, 3); }
VEXA_OPERATOR(compose4) { return ComposeN(ctx, 4); }
VEXA_OPERATOR(compose5) { return ComposeN(ctx, 5); }
VEXA_OPERATOR(compose6) { return ComposeN(ctx, 6); }
VEXA_OPERATOR(compose7) { return ComposeN(ctx, 7); }

VEXA_OPERATOR(decompose2) { return DecomposeN(ctx, 2); }
VEXA_OPERATOR(decompose3) { return DecomposeN(ctx, 3); }
VEXA_OPERATOR(decompose4) { return DecomposeN(ctx, 4); }
VEXA_OPERATOR(decompose5) { return DecomposeN(ctx, 5); }
VEXA_OPERATOR(decompose6) { return DecomposeN(ctx, 6); }
VEXA_OPERATOR(decompose7) { return DecomposeN(ctx, 7); }

}  // namespace vexa
