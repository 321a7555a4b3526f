// expand_gray and expand_gray_ref: regions grown step by step into free
// pixels, as expand_region grows them, but only into pixels of similar gray
// value (first channel of the image).
//
// expand_gray admits a reached pixel into a region when its gray value
// differs by at most `threshold` from that of a pixel of the region it
// shares an edge with; expand_gray_ref when it differs by at most
// `threshold` from `ref_gray` (one value for all regions, or one per
// region). Free pixels lie in the image's domain, outside the forbidden
// area and outside every region; mode "region" further limits them to the
// smallest rectangle holding all input regions. iterations is a count or
// "maximal". A pixel that two regions take in the same step stays free.
#include <cmath>
#include <cstring>

#include "ops/common/op_objects.h"
#include "ops/region/region_growth.h"
#include "registry.h"

namespace vexa {
namespace {

// The pixels of canonical `chords` for which keep(r, c) holds.
template <class Keep>
ChordList KeepPixels(const ChordList& chords, Keep keep) {
  ChordList out;
  for (const Chord& ch : chords) {
    int32_t start = -1;
    for (int32_t c = ch.cb; c <= ch.ce + 1; ++c) {
      const bool in = c <= ch.ce && keep(ch.r, c);
      if (in && start < 0) start = c;
      if (!in && start >= 0) {
        out.push_back({ch.r, start, c - 1});
        start = -1;
      }
    }
  }
  return out;
}

struct GrowthInput {
  Vlong iterations = 0;
  double threshold = 0;
  std::vector<ChordList> grown;
  ChordList free;
  const PixelBuffer* gray = nullptr;
  db::ImageData image;  // keeps `gray` valid
};

// Reads the regions, image, forbidden area, iterations, mode and the
// threshold at control `threshold_par`.
Vresult ReadGrowth(OpContext& ctx, int threshold_par, GrowthInput* in) {
  std::vector<RegionPtr> regions, forbidden;
  Vkey image_key = VKEY_UNDEF;
  const char* mode = nullptr;
  Vresult rc = GetIterations(ctx, 0, &in->iterations);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(threshold_par, &in->threshold);
  if (rc == VRESULT_OK && !(in->threshold >= 0 && std::isfinite(in->threshold)))
    rc = VERR_CTRL_VALUE(threshold_par);
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 1, &regions);
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(2, &image_key);
  if (rc == VRESULT_OK) rc = InpImage(2, image_key, &in->image);
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 3, &forbidden);
  if (rc != VRESULT_OK) return rc;
  in->gray = in->image.channels[0];
  if (in->gray->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  ChordList limit = in->image.domain->chords();
  if (std::strcmp(mode, "region") == 0) {
    int32_t r1, c1, r2, c2;
    limit = RegionUnionMany(regions)->BoundingBox(&r1, &c1, &r2, &c2)
                ? ChordIntersection(limit, Region::Rectangle(r1, c1, r2, c2)->chords())
                : ChordList();
  } else if (std::strcmp(mode, "image") != 0) {
    return VERR_CTRL_VALUE(1);
  }
  for (const RegionPtr& r : regions) in->grown.push_back(r->chords());
  in->free = FreePixels(limit, forbidden, in->grown);
  return VRESULT_OK;
}

Vresult WriteGrown(OpContext& ctx, std::vector<ChordList>* grown) {
  std::vector<RegionPtr> out;
  for (ChordList& g : *grown) out.push_back(Region::FromCanonicalChords(std::move(g)));
  return OutRegions(ctx, 1, out);
}

}  // namespace

VEXA_OPERATOR(expand_gray) {
  GrowthInput in;
  const Vresult rc = ReadGrowth(ctx, 2, &in);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& g = *in.gray;
  const std::vector<ChordList>& grown = in.grown;
  const int32_t steps[4][2] = {{-1, 0}, {1, 0}, {0, -1}, {0, 1}};
  GrowIntoFree(&in.grown, std::move(in.free), in.iterations, [&](size_t i, ChordList reached) {
    ChordList admitted;
    for (const auto& d : steps) {
      // The reached pixels whose neighbour in direction d is in region i.
      const ChordList beside = ChordIntersection(reached, ChordTranslate(grown[i], -d[0], -d[1]));
      admitted = ChordUnion(admitted, KeepPixels(beside, [&](int32_t r, int32_t c) {
        const int32_t nr = r + d[0], nc = c + d[1];
        return nr >= 0 && nr < g.height() && nc >= 0 && nc < g.width() &&
               std::fabs(g.Get(r, c) - g.Get(nr, nc)) <= in.threshold;
      }));
    }
    return admitted;
  });
  return WriteGrown(ctx, &in.grown);
}

VEXA_OPERATOR(expand_gray_ref) {
  GrowthInput in;
  std::vector<double> ref;
  Vresult rc = ReadGrowth(ctx, 3, &in);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, ref);
  if (rc != VRESULT_OK) return rc;
  if (ref.empty() || (ref.size() != 1 && ref.size() != in.grown.size())) return VERR_CTRL_NUM(2);
  for (double v : ref)
    if (!std::isfinite(v)) return VERR_CTRL_VALUE(2);
  const PixelBuffer& g = *in.gray;
  GrowIntoFree(&in.grown, std::move(in.free), in.iterations, [&](size_t i, ChordList reached) {
    const double target = ref[ref.size() == 1 ? 0 : i];
    return KeepPixels(reached, [&](int32_t r, int32_t c) {
      return std::fabs(g.Get(r, c) - target) <= in.threshold;
    });
  });
  return WriteGrown(ctx, &in.grown);
}

}  // namespace vexa
