// Helpers shared by the image operators of this folder: one result per
// input image, images taken index by index from several input parameters,
// and the channel and size checks that these operators all make.
#pragma once

#include <cstring>
#include <memory>
#include <vector>

#include "ops/common/op_objects.h"

namespace vexa {

using Channels = std::vector<std::unique_ptr<PixelBuffer>>;

// Makes one output object per image of input object `in_par` with
// `make(key, image, &out_key)` and hands them all to output `out_par`.
template <class Make>
Vresult MakePerImage(OpContext& ctx, int in_par, int out_par, Make&& make) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(in_par, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(in_par, key, &image);
    Vkey made = VKEY_UNDEF;
    if (r == VRESULT_OK) r = make(key, image, &made);
    if (r == VRESULT_OK) out.Add(made);
    return r;
  });
  if (rc != VRESULT_OK) return rc;
  return out.HandOver(ctx, out_par);
}

// The images of input parameters `pars`, taken index by index: calls
// `fn(index, keys, images)` with the i-th image of every parameter. All
// parameters must hold the same number of images (VERR_OBJ_NUM of the first
// that differs from the first parameter).
template <class Fn>
Vresult ZipImages(OpContext& ctx, const std::vector<int>& pars, Fn&& fn) {
  std::vector<const std::vector<Vkey>*> lists(pars.size());
  for (size_t p = 0; p < pars.size(); ++p) {
    const Vresult rc = ctx.InpObjs(pars[p], &lists[p]);
    if (rc != VRESULT_OK) return rc;
    if (lists[p]->size() != lists[0]->size()) return VERR_OBJ_NUM(pars[p]);
  }
  for (size_t i = 0; i < lists[0]->size(); ++i) {
    std::vector<Vkey> keys(pars.size());
    std::vector<db::ImageData> images(pars.size());
    for (size_t p = 0; p < pars.size(); ++p) {
      keys[p] = (*lists[p])[i];
      const Vresult rc = InpImage(pars[p], keys[p], &images[p]);
      if (rc != VRESULT_OK) return rc;
    }
    const Vresult rc = fn(static_cast<Vlong>(i), keys, images);
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

inline bool SameSize(const PixelBuffer& a, const PixelBuffer& b) {
  return a.width() == b.width() && a.height() == b.height();
}

// The common domain of several images.
inline RegionPtr CommonDomain(const std::vector<db::ImageData>& images) {
  RegionPtr domain = images[0].domain;
  for (size_t i = 1; i < images.size(); ++i)
    domain = Region::Intersection(*domain, *images[i].domain);
  return domain;
}

// Private copies of all channels of an image.
inline Vresult CloneChannels(const db::ImageData& image, Channels* out) {
  out->clear();
  for (const PixelBuffer* ch : image.channels) {
    std::unique_ptr<PixelBuffer> copy;
    const Vresult rc = ch->Clone(&copy);
    if (rc != VRESULT_OK) return rc;
    out->push_back(std::move(copy));
  }
  return VRESULT_OK;
}

// A one-channel image holding a private copy of `channel` under `domain`.
inline Vresult NewImageOfChannel(const PixelBuffer& channel, RegionPtr domain,
                                 Vkey* key) {
  Channels one(1);
  const Vresult rc = channel.Clone(&one[0]);
  if (rc != VRESULT_OK) return rc;
  return db::NewImage(std::move(domain), std::move(one), key);
}

// Copies the block of `rows` x `cols` pixels at (r, c) of `src` to
// (to_r, to_c) of `dst` (of the same type), both planes of complex pixels.
// The block must lie inside both images.
inline void CopyBlock(const PixelBuffer& src, int32_t r, int32_t c, int32_t rows, int32_t cols,
                      PixelBuffer* dst, int32_t to_r = 0, int32_t to_c = 0) {
  const bool complex = src.type() == PixelType::kComplex;
  const size_t pix = complex ? 4 : PixelSize(src.type());
  const size_t src_plane = complex ? src.pixel_bytes() / 2 : 0;
  const size_t dst_plane = complex ? dst->pixel_bytes() / 2 : 0;
  for (int plane = 0; plane < (complex ? 2 : 1); ++plane) {
    for (int32_t i = 0; i < rows; ++i) {
      const unsigned char* from =
          src.data() + plane * src_plane + (static_cast<size_t>(r + i) * src.width() + c) * pix;
      unsigned char* to = dst->data() + plane * dst_plane +
                          (static_cast<size_t>(to_r + i) * dst->width() + to_c) * pix;
      std::memcpy(to, from, static_cast<size_t>(cols) * pix);
    }
  }
}

// Reads a pixel type name from input control `par`: VERR_CTRL_VALUE(par)
// for an unknown name.
inline Vresult GetPixelType(const OpContext& ctx, int par, PixelType* type) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(par, &name);
  if (rc != VRESULT_OK) return rc;
  return ParsePixelType(name, type) ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

// Reads an image side from input control `par`: below 1 is a wrong value,
// beyond the largest image side VERR_TOO_LARGE.
inline Vresult GetImageSide(const OpContext& ctx, int par, int32_t* side) {
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 1) return VERR_CTRL_VALUE(par);
  if (v > kMaxImageSide) return VERR_TOO_LARGE;
  *side = static_cast<int32_t>(v);
  return VRESULT_OK;
}

}  // namespace vexa
