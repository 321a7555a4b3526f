// Joining open contours end to end: what the union_*_contours_xld
// operators share. Each operator decides which pairs of ends may be
// joined and at what cost; the joining itself is the same for all.
#pragma once

#include <functional>
#include <vector>

#include "xld_support.h"

namespace vexa {
namespace xld {

// An end of contour `contour`: its first point (last == false) or its
// last point.
struct ContourEnd {
  size_t contour;
  bool last;
};

// The cost of joining two ends of different contours; negative when they
// may not be joined.
using JoinCost = std::function<double(const ContourEnd&, const ContourEnd&)>;

// Joins the open contours of `in`: the admissible end pairs are taken in
// order of rising cost, each end at most once, and a pair that would
// close a chain into a ring is left out. Each chain becomes one contour,
// its pieces turned as needed, the points of each piece kept (the gap
// between two pieces is bridged by a straight segment). With
// `keep_attribs`, the per-point attributes that all pieces of a chain
// have are kept (values as they were); else there are none. Closed
// contours and contours without points pass unchanged. *joined tells
// whether any pair was joined; `chains`, when given, receives for each
// result the indices of the inputs it was made of.
std::vector<XldPtr> JoinContours(const std::vector<XldPtr>& in, const JoinCost& cost,
                                 bool keep_attribs, bool* joined,
                                 std::vector<std::vector<size_t>>* chains = nullptr);

// The point at an end, and the unit direction in which the contour runs
// out of it, from the point `back` points before the end.
Pt EndPoint(const Xld& x, bool last);
Pt EndDirection(const Xld& x, bool last, size_t back);

// Centre, unit direction and length of the regression line of a
// contour's points; direction (0, 0) when the points do not define one.
struct LineFit {
  Pt centre, dir;
  double length = 0;  // of the chain
};
LineFit FitLine(const Xld& x);

// The unit direction of `fit` turned to point out of the contour at the
// given end.
Pt OutwardAt(const LineFit& fit, const Xld& x, bool last);

double Distance(const Pt& a, const Pt& b);

// Distance from p to the (infinite) line of `f`.
double LineDistance(const LineFit& f, const Pt& p);

Pt Reverse(const Pt& u);

// Two ends about to be joined, each with a line through its contour
// directed out of it: the end points, the outward directions, their gap
// d, how far each end point lies off the other's line (the larger:
// shift), and how far the second end lies back along the first's
// direction (overlap, 0 when it lies ahead).
struct EndPair {
  Pt pa, pb, ua, ub;
  double d = 0, shift = 0, overlap = 0;
};
EndPair PairOfEnds(const Xld& xa, bool a_last, const LineFit& fa, const Xld& xb, bool b_last,
                   const LineFit& fb);

// The regression line of the points of two contours together and each
// point's distance to it.
std::vector<double> CommonLineDistances(const Xld& xa, const Xld& xb);

// Angle in [0, pi] between two unit directions.
double AngleBetween(const Pt& u, const Pt& v);

}  // namespace xld
}  // namespace vexa
