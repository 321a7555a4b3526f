// gen_rectangle1: axis-parallel rectangles from corner coordinates.
#include <cmath>

#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {

// One rectangle per index of the four tuples (row1, column1, row2,
// column2), which must have equal lengths. Coordinates are rounded to the
// nearest pixel; the second corner may not lie above or left of the first.
VEXA_OPERATOR(gen_rectangle1) {
  std::vector<double> v[4];
  for (int par = 0; par < 4; ++par) {
    const Vresult rc = ctx.GetDoubles(par, v[par]);
    if (rc != VRESULT_OK) return rc;
    if (v[par].size() != v[0].size()) return VERR_CTRL_NUM(par);
  }
  NewKeys out;
  out.Reserve(v[0].size());
  for (size_t i = 0; i < v[0].size(); ++i) {
    int32_t c[4];
    for (int par = 0; par < 4; ++par) {
      const double x = std::round(v[par][i]);
      if (!(std::fabs(x) <= kMaxRegionCoord)) return VERR_CTRL_VALUE(par);
      c[par] = static_cast<int32_t>(x);
    }
    if (c[2] < c[0]) return VERR_CTRL_VALUE(2);
    if (c[3] < c[1]) return VERR_CTRL_VALUE(3);
    Vkey key = VKEY_UNDEF;
    const Vresult rc =
        db::NewRegion(Region::Rectangle(c[0], c[1], c[2], c[3]), &key);
    if (rc != VRESULT_OK) return rc;
    out.Add(key);
  }
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
