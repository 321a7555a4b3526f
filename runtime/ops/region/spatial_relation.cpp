// spatial_relation: which regions of two arrays overlap, and by how much.
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {

// Every pair (i, j), counted from 1, of regions1[i] and regions2[j] that
// share pixels and where the shared pixels make up at least `percent`
// (0..100) percent of either region. relation1 is the percentage of
// regions1[i] lying in regions2[j] (100: inside it), relation2 the
// percentage of regions2[j] lying in regions1[i]; pairs in order of i,
// then j.
VEXA_OPERATOR(spatial_relation) {
  Vlong percent = 0;
  Vresult rc = ctx.GetLong(0, &percent);
  if (rc != VRESULT_OK) return rc;
  if (percent < 0 || percent > 100) return VERR_CTRL_VALUE(0);
  std::vector<RegionPtr> a, b;
  rc = InpRegions(ctx, 1, &a);
  if (rc == VRESULT_OK) rc = InpRegions(ctx, 2, &b);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> index1, index2;
  std::vector<double> relation1, relation2;
  for (size_t i = 0; i < a.size(); ++i) {
    for (size_t j = 0; j < b.size(); ++j) {
      const Vlong shared = Region::Intersection(*a[i], *b[j])->area();
      if (shared == 0) continue;
      const double p1 = 100.0 * shared / a[i]->area(), p2 = 100.0 * shared / b[j]->area();
      if (p1 < percent && p2 < percent) continue;
      index1.push_back(static_cast<Vlong>(i + 1)), index2.push_back(static_cast<Vlong>(j + 1));
      relation1.push_back(p1), relation2.push_back(p2);
    }
  }
  if ((rc = ctx.SetOutpLongs(0, index1)) != VRESULT_OK) return rc;
  if ((rc = ctx.SetOutpLongs(1, index2)) != VRESULT_OK) return rc;
  if ((rc = ctx.SetOutpDoubles(2, relation1)) != VRESULT_OK) return rc;
  return ctx.SetOutpDoubles(3, relation2);
}

}  // namespace vexa
