// Conversions between regions and images: region_to_bin, region_to_label,
// label_to_region. Images are written and read run by run.
#include <algorithm>
#include <cstring>
#include <limits>

#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {
namespace {

// Most distinct labels label_to_region turns into regions.
constexpr Vlong kMaxLabel = Vlong{1} << 20;

// A new one-channel image of zeros with its writable buffer.
Vresult NewZeroImage(PixelType type, int32_t width, int32_t height, Vkey* key,
                     PixelBuffer** buffer) {
  Vresult rc = db::NewBlankImage(type, width, height, 1, nullptr, key);
  if (rc != VRESULT_OK) return rc;
  rc = db::WritableChannel(*key, 0, buffer);
  if (rc != VRESULT_OK) db::Release(*key);
  return rc;
}

// Calls fn(row pointer, first column, last column) for the part of every
// run of `r` inside a width x height image.
template <class T, class Fn>
void ForRunsInside(const Region& r, PixelBuffer* buf, Fn&& fn) {
  T* px = reinterpret_cast<T*>(buf->data());
  for (const Chord& ch : r.chords()) {
    if (ch.r < 0 || ch.r >= buf->height()) continue;
    const int32_t cb = std::max(ch.cb, 0), ce = std::min(ch.ce, buf->width() - 1);
    if (cb <= ce) fn(px + static_cast<size_t>(ch.r) * buf->width(), cb, ce);
  }
}

// Image width and height from parameters `par`, `par` + 1.
Vresult GetImageSize(const OpContext& ctx, int par, int32_t* w, int32_t* h) {
  Vlong v[2];
  for (int k = 0; k < 2; ++k) {
    const Vresult rc = ctx.GetLong(par + k, &v[k]);
    if (rc != VRESULT_OK) return rc;
    if (v[k] < 1) return VERR_CTRL_VALUE(par + k);
    if (v[k] > kMaxImageSide) return VERR_TOO_LARGE;
  }
  *w = static_cast<int32_t>(v[0]);
  *h = static_cast<int32_t>(v[1]);
  return VRESULT_OK;
}

template <class T>
void PaintLabels(const std::vector<RegionPtr>& regions, PixelBuffer* buf) {
  // Later regions paint over earlier ones; labels beyond the type's range
  // saturate.
  for (size_t i = 0; i < regions.size(); ++i) {
    const T label = static_cast<T>(
        std::min<size_t>(i + 1, static_cast<size_t>(std::numeric_limits<T>::max())));
    ForRunsInside<T>(*regions[i], buf, [&](T* row, int32_t cb, int32_t ce) {
      std::fill(row + cb, row + ce + 1, label);
    });
  }
}

// Runs of equal positive label along the domain's runs, per label.
template <class T>
Vresult CollectLabels(const db::ImageData& image, std::vector<ChordList>* parts) {
  const PixelBuffer& buf = *image.channels[0];
  const T* px = reinterpret_cast<const T*>(buf.data());
  for (const Chord& ch : image.domain->chords()) {
    const T* row = px + static_cast<size_t>(ch.r) * buf.width();
    for (int32_t c = ch.cb; c <= ch.ce;) {
      const T v = row[c];
      const int32_t start = c;
      while (c <= ch.ce && row[c] == v) ++c;
      if (!(v > 0)) continue;
      if (static_cast<Vlong>(v) > kMaxLabel) return VERR_TOO_LARGE;
      if (parts->size() < static_cast<size_t>(v)) parts->resize(static_cast<size_t>(v));
      (*parts)[static_cast<size_t>(v) - 1].push_back({ch.r, start, c - 1});
    }
  }
  return VRESULT_OK;
}

}  // namespace

// One byte image per region: foreground_gray inside the region,
// background_gray elsewhere.
VEXA_OPERATOR(region_to_bin) {
  Vlong fg = 0, bg = 0;
  int32_t w = 0, h = 0;
  Vresult rc = ctx.GetLong(0, &fg);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &bg);
  if (rc == VRESULT_OK) rc = GetImageSize(ctx, 2, &w, &h);
  if (rc != VRESULT_OK) return rc;
  if (fg < 0 || fg > 255) return VERR_CTRL_VALUE(0);
  if (bg < 0 || bg > 255) return VERR_CTRL_VALUE(1);
  std::vector<RegionPtr> in;
  if ((rc = InpRegions(ctx, 1, &in)) != VRESULT_OK) return rc;
  NewKeys out;
  for (const RegionPtr& r : in) {
    Vkey key = VKEY_UNDEF;
    PixelBuffer* buf = nullptr;
    if ((rc = NewZeroImage(PixelType::kByte, w, h, &key, &buf)) != VRESULT_OK) return rc;
    out.Add(key);
    std::memset(buf->data(), static_cast<int>(bg), static_cast<size_t>(w) * h);
    ForRunsInside<uint8_t>(*r, buf, [&](uint8_t* row, int32_t cb, int32_t ce) {
      std::memset(row + cb, static_cast<int>(fg), static_cast<size_t>(ce - cb + 1));
    });
  }
  return out.HandOver(ctx, 1);
}

// One image of type "byte", "int2" or "int4": region i (from 0) gets label
// i + 1, the rest 0.
VEXA_OPERATOR(region_to_label) {
  const char* type_name = nullptr;
  int32_t w = 0, h = 0;
  Vresult rc = ctx.GetString(0, &type_name);
  if (rc == VRESULT_OK) rc = GetImageSize(ctx, 1, &w, &h);
  if (rc != VRESULT_OK) return rc;
  PixelType type;
  if (!ParsePixelType(type_name, &type) ||
      (type != PixelType::kByte && type != PixelType::kInt2 && type != PixelType::kInt4))
    return VERR_CTRL_VALUE(0);
  std::vector<RegionPtr> in;
  if ((rc = InpRegions(ctx, 1, &in)) != VRESULT_OK) return rc;
  Vkey key = VKEY_UNDEF;
  PixelBuffer* buf = nullptr;
  if ((rc = NewZeroImage(type, w, h, &key, &buf)) != VRESULT_OK) return rc;
  NewKeys out;
  out.Add(key);
  if (type == PixelType::kByte) PaintLabels<uint8_t>(in, buf);
  else if (type == PixelType::kInt2) PaintLabels<int16_t>(in, buf);
  else PaintLabels<int32_t>(in, buf);
  return out.HandOver(ctx, 1);
}

// Per image: one region per label 1..largest label within the domain
// (empty for labels that do not occur); 0 and negative values belong to
// no region. Integer images only.
VEXA_OPERATOR(label_to_region) {
  std::vector<RegionPtr> out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    std::vector<ChordList> parts;
    switch (image.channels[0]->type()) {
      case PixelType::kByte: r = CollectLabels<uint8_t>(image, &parts); break;
      case PixelType::kInt1: r = CollectLabels<int8_t>(image, &parts); break;
      case PixelType::kInt2: r = CollectLabels<int16_t>(image, &parts); break;
      case PixelType::kUInt2: r = CollectLabels<uint16_t>(image, &parts); break;
      case PixelType::kInt4: r = CollectLabels<int32_t>(image, &parts); break;
      case PixelType::kInt8: r = CollectLabels<int64_t>(image, &parts); break;
      default: return Vresult{VERR_PIXEL_TYPE};
    }
    // Runs of one label come out in domain order, which is canonical.
    for (ChordList& p : parts) out.push_back(Region::FromCanonicalChords(std::move(p)));
    return r;
  });
  if (rc != VRESULT_OK) return rc;
  return OutRegions(ctx, 1, out);
}

}  // namespace vexa
