// area_center: area and centre of gravity of each region (of an image: of
// its domain). An empty region has area 0 and centre 0, 0.
#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(area_center) {
  std::vector<Vlong> areas;
  std::vector<double> rows, cols;
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    const Vresult r = InpRegion(1, key, &region);
    if (r != VRESULT_OK) return r;
    areas.push_back(region->area());
    rows.push_back(region->row());
    cols.push_back(region->col());
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  Vresult out = ctx.SetOutpLongs(0, areas);
  if (out == VRESULT_OK) out = ctx.SetOutpDoubles(1, rows);
  if (out == VRESULT_OK) out = ctx.SetOutpDoubles(2, cols);
  return out;
}

}  // namespace vexa
