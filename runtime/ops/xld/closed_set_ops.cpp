// Intersection, union, difference and symmetric difference of the areas
// that closed contours or polygons enclose (polygon_clipping.h). Each
// input object is a ring closed from its last point back to its first;
// all objects of one input together enclose what lies inside an odd
// number of them, so holes are objects of their own. The result is one
// closed object (first point repeated at the end) per boundary ring,
// holes included, with no attributes.
#include <vector>

#include "polygon_clipping.h"
#include "registry.h"
#include "xld_support.h"

namespace vexa {
namespace xld {
namespace {

Vresult InpRings(OpContext& ctx, int par, int32_t cls, std::vector<Ring>* rings) {
  std::vector<XldPtr> xs;
  const Vresult rc = InpXlds(ctx, par, cls, &xs);
  for (const XldPtr& x : xs) {
    Ring ring = PointsOf(*x);
    if (IsClosed(*x)) ring.pop_back();
    rings->push_back(std::move(ring));
  }
  return rc;
}

Vresult SetOperationOf(OpContext& ctx, int32_t cls, SetOperation op) {
  std::vector<Ring> a, b;
  Vresult rc = InpRings(ctx, 1, cls, &a);
  if (rc == VRESULT_OK) rc = InpRings(ctx, 2, cls, &b);
  if (rc != VRESULT_OK) return rc;
  std::vector<XldPtr> out;
  for (Ring& ring : ClipRings(a, b, op)) {
    ring.push_back(ring.front());
    auto x = NewContour(ring);
    if (cls == VOBJ_XLD_POLY) {
      // A polygon of its own corners, made without a source contour.
      x->cls = VOBJ_XLD_POLY;
      x->source_index.resize(ring.size());
      for (size_t i = 0; i < ring.size(); ++i) x->source_index[i] = static_cast<int64_t>(i);
    }
    out.push_back(std::move(x));
  }
  return HandOverXlds(ctx, 1, out);
}

}  // namespace

VEXA_OPERATOR(intersection_closed_contours_xld) {
  return SetOperationOf(ctx, VOBJ_XLD_CONT, SetOperation::kIntersection);
}
VEXA_OPERATOR(union2_closed_contours_xld) {
  return SetOperationOf(ctx, VOBJ_XLD_CONT, SetOperation::kUnion);
}
VEXA_OPERATOR(difference_closed_contours_xld) {
  return SetOperationOf(ctx, VOBJ_XLD_CONT, SetOperation::kDifference);
}
VEXA_OPERATOR(symm_difference_closed_contours_xld) {
  return SetOperationOf(ctx, VOBJ_XLD_CONT, SetOperation::kSymmetricDifference);
}
VEXA_OPERATOR(intersection_closed_polygons_xld) {
  return SetOperationOf(ctx, VOBJ_XLD_POLY, SetOperation::kIntersection);
}
VEXA_OPERATOR(union2_closed_polygons_xld) {
  return SetOperationOf(ctx, VOBJ_XLD_POLY, SetOperation::kUnion);
}
VEXA_OPERATOR(difference_closed_polygons_xld) {
  return SetOperationOf(ctx, VOBJ_XLD_POLY, SetOperation::kDifference);
}
VEXA_OPERATOR(symm_difference_closed_polygons_xld) {
  return SetOperationOf(ctx, VOBJ_XLD_POLY, SetOperation::kSymmetricDifference);
}

}  // namespace xld
}  // namespace vexa
