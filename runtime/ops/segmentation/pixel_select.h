// Building regions from pixel tests: the runs of domain pixels that pass a
// test, emitted row by row in canonical order, so the region needs no sort.
#pragma once

#include <vector>

#include "ops/common/domain_scan.h"
#include "ops/common/op_objects.h"

namespace vexa {

// The runs of the scan's pixels whose buffer offset k passes keep(k).
template <class Keep>
std::vector<Chord> SelectRuns(const DomainScan& scan, Keep&& keep) {
  std::vector<Chord> runs;
  scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t o) {
    const size_t base = o - static_cast<size_t>(cb);
    for (int32_t c = cb; c <= ce;) {
      while (c <= ce && !keep(base + static_cast<size_t>(c))) ++c;
      if (c > ce) break;
      const int32_t start = c;
      while (c <= ce && keep(base + static_cast<size_t>(c))) ++c;
      runs.push_back({r, start, c - 1});
    }
  });
  return runs;
}

// A region object, added to `out`.
inline Vresult AddRegion(RegionPtr region, NewKeys* out) {
  Vkey key = VKEY_UNDEF;
  const Vresult rc = db::NewRegion(std::move(region), &key);
  if (rc == VRESULT_OK) out->Add(key);
  return rc;
}

// A region object of canonical runs, added to `out`.
inline Vresult AddRegion(std::vector<Chord> runs, NewKeys* out) {
  return AddRegion(Region::FromCanonicalChords(std::move(runs)), out);
}

// The segmentation loop over the images of input object 1: fn(image, scan,
// out) adds the image's regions to `out`; all of them go to output object 1.
// Complex images are refused.
template <class Fn>
Vresult SegmentImages(OpContext& ctx, Fn&& fn) {
  NewKeys out;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong index) {
    db::ImageData image;
    const Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    if (image.channels[0]->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
    return fn(*image.channels[0], DomainScan::Of(image), index, &out);
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
