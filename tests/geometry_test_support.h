// Helpers of the plane geometry operator tests: the leak-checked fixture,
// tuples to and from vectors, and contours made from their points.
#pragma once

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace geometry_test {

constexpr double kPi = 3.141592653589793;

using xld_test::Tuple;
using xld_test::Values;

class GeometryTest : public xld_test::XldTest {};

inline Vexa::Vobject Contour(const std::vector<double>& rows, const std::vector<double>& cols) {
  Vexa::Vobject x;
  EXPECT_EQ(Vexa::gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return x;
}

}  // namespace geometry_test
