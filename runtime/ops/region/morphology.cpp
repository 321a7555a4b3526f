// Dilations, erosions, Minkowski additions and subtractions, openings and
// closings of regions, with arbitrary structuring elements, discs and
// rectangles. One output region per input region.
//
// With the element B relative to its reference point and B' its mirror:
//   dilation       A + B'  (the points p whose translate p + B meets A)
//   erosion        the points p whose translate p + B lies inside A
//   minkowski_add  A + B
//   minkowski_sub  the points p with p + B' inside A
//   opening        erosion, then minkowski_add: the union of all
//                  translates of B inside A (independent of the reference)
//   closing        dilation, then minkowski_sub: the dual of the opening.
// The *1 operators take the element's centre of gravity, rounded to a
// pixel, as its reference point; the *2 operators take (row, column).
#include "ops/region/morphology_ops.h"
#include "registry.h"

namespace vexa {

Vresult Opening(const Region& a, const Element& b, RegionPtr* out) {
  RegionPtr fit;
  const Vresult rc = Fit(a, b, &fit);
  return rc == VRESULT_OK ? Add(*fit, b, out) : rc;
}

Vresult Closing(const Region& a, const Element& b, RegionPtr* out) {
  const Element mirrored = b.Mirrored();
  RegionPtr grown;
  const Vresult rc = Add(a, mirrored, &grown);
  return rc == VRESULT_OK ? Fit(*grown, mirrored, out) : rc;
}

namespace {

// The four basic operations, each applied `iterations` times.
enum class Basic { kDilation, kErosion, kMinkowskiAdd, kMinkowskiSub };

Vresult RunBasic(OpContext& ctx, Basic op, const Element& element,
                 int64_t iterations) {
  const bool mirror = op == Basic::kDilation || op == Basic::kMinkowskiSub;
  const bool grow = op == Basic::kDilation || op == Basic::kMinkowskiAdd;
  const Element e = mirror ? element.Mirrored() : element;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    return Repeat(in, iterations,
                  [&](const Region& a, RegionPtr* r) {
                    return grow ? Add(a, e, r) : Fit(a, e, r);
                  },
                  out);
  });
}

// dilation1 and kin: element around its centre, iterations at control 0.
Vresult Basic1(OpContext& ctx, Basic op) {
  Element element;
  int64_t iterations = 0;
  Vresult rc = ReadCentredElement(ctx, 2, &element);
  if (rc == VRESULT_OK) rc = ReadIterations(ctx, 0, element, &iterations);
  return rc == VRESULT_OK ? RunBasic(ctx, op, element, iterations) : rc;
}

// dilation2 and kin: reference (row, column) at controls 0 and 1,
// iterations at control 2.
Vresult Basic2(OpContext& ctx, Basic op) {
  Element element;
  int64_t iterations = 0;
  Vresult rc = ReadElementAt(ctx, 2, 0, 1, &element);
  if (rc == VRESULT_OK) rc = ReadIterations(ctx, 2, element, &iterations);
  return rc == VRESULT_OK ? RunBasic(ctx, op, element, iterations) : rc;
}

using ElementOp = Vresult (*)(const Region&, const Element&, RegionPtr*);

Vresult Dilate(const Region& a, const Element& b, RegionPtr* out) {
  return Add(a, b.Mirrored(), out);
}

Vresult MapWith(OpContext& ctx, Vresult read_rc, const Element& e,
                ElementOp op) {
  if (read_rc != VRESULT_OK) return read_rc;
  return MapRegions(ctx, [&](const Region& in, RegionPtr* out) {
    return op(in, e, out);
  });
}

Vresult CircleOp(OpContext& ctx, ElementOp op) {
  Element e;
  const Vresult rc = ReadDisc(ctx, 0, &e);
  return MapWith(ctx, rc, e, op);
}

Vresult RectangleOp(OpContext& ctx, ElementOp op) {
  Element e;
  const Vresult rc = ReadRectangleSize(ctx, 0, 1, &e);
  return MapWith(ctx, rc, e, op);
}

Vresult ElementOpCentred(OpContext& ctx, ElementOp op) {
  Element e;
  const Vresult rc = ReadCentredElement(ctx, 2, &e);
  return MapWith(ctx, rc, e, op);
}

}  // namespace

VEXA_OPERATOR(dilation1) { return Basic1(ctx, Basic::kDilation); }
VEXA_OPERATOR(erosion1) { return Basic1(ctx, Basic::kErosion); }
VEXA_OPERATOR(minkowski_add1) { return Basic1(ctx, Basic::kMinkowskiAdd); }
VEXA_OPERATOR(minkowski_sub1) { return Basic1(ctx, Basic::kMinkowskiSub); }
VEXA_OPERATOR(dilation2) { return Basic2(ctx, Basic::kDilation); }
VEXA_OPERATOR(erosion2) { return Basic2(ctx, Basic::kErosion); }
VEXA_OPERATOR(minkowski_add2) { return Basic2(ctx, Basic::kMinkowskiAdd); }
VEXA_OPERATOR(minkowski_sub2) { return Basic2(ctx, Basic::kMinkowskiSub); }

VEXA_OPERATOR(dilation_circle) { return CircleOp(ctx, Dilate); }
VEXA_OPERATOR(erosion_circle) { return CircleOp(ctx, Fit); }
VEXA_OPERATOR(opening_circle) { return CircleOp(ctx, Opening); }
VEXA_OPERATOR(closing_circle) { return CircleOp(ctx, Closing); }

VEXA_OPERATOR(dilation_rectangle1) { return RectangleOp(ctx, Dilate); }
VEXA_OPERATOR(erosion_rectangle1) { return RectangleOp(ctx, Fit); }
VEXA_OPERATOR(opening_rectangle1) { return RectangleOp(ctx, Opening); }
VEXA_OPERATOR(closing_rectangle1) { return RectangleOp(ctx, Closing); }

VEXA_OPERATOR(opening) { return ElementOpCentred(ctx, Opening); }
VEXA_OPERATOR(closing) { return ElementOpCentred(ctx, Closing); }

}  // namespace vexa
