// Measures taken at every point of a contour: its direction, and its
// distance to another contour.
#include <algorithm>
#include <cmath>

#include "ops/common/named_values.h"
#include "ops/geometry/contour_chain.h"
#include "registry.h"

namespace vexa {
namespace geo {
namespace {

enum class DirectionCalc { kRange, kMean, kRegress };

constexpr Named<DirectionCalc> kDirectionCalcs[] = {
    {"range", DirectionCalc::kRange},
    {"mean", DirectionCalc::kMean},
    {"regress", DirectionCalc::kRegress},
};

// The points around index i: `offset` steps along the chain, wrapped on a
// closed contour (whose last point repeats the first), clipped to the
// ends of an open one.
class Around {
 public:
  explicit Around(const std::vector<Pt>& p)
      : p_(p), closed_(IsClosedChain(p)), period_(static_cast<long>(p.size()) - (closed_ ? 1 : 0)) {}

  // True when the point `offset` steps from i exists without clipping.
  bool Has(size_t i, long offset) const {
    const long j = static_cast<long>(i) + offset;
    return closed_ || (j >= 0 && j < period_);
  }

  const Pt& At(size_t i, long offset) const {
    long j = static_cast<long>(i) + offset;
    if (closed_) {
      j %= period_;
      if (j < 0) j += period_;
    } else {
      j = std::clamp(j, 0L, period_ - 1);
    }
    return p_[static_cast<size_t>(j)];
  }

  // The direction from point i to the next point that differs from it,
  // or from the last one before it that differs; (0, 0) when all points
  // are equal.
  Pt Step(size_t i) const {
    for (long d = 1; d < period_; ++d)
      if (Norm(At(i, d) - p_[i]) > 0) return At(i, d) - p_[i];
    for (long d = 1; d < period_; ++d)
      if (Norm(At(i, -d) - p_[i]) > 0) return p_[i] - At(i, -d);
    return {0, 0};
  }

 private:
  const std::vector<Pt>& p_;
  bool closed_;
  long period_;
};

// Direction of the contour at point i from the points up to k steps
// before and after it.
Pt DirectionAt(const Around& around, size_t i, long k, DirectionCalc calc) {
  const Pt chord = around.At(i, k) - around.At(i, -k);
  Pt v = chord;
  if (calc == DirectionCalc::kMean) {
    v = {0, 0};
    for (long d = -k; d < k; ++d) {
      const Pt s = around.At(i, d + 1) - around.At(i, d);
      if (Norm(s) > 0) v = v + (1 / Norm(s)) * s;
    }
  } else if (calc == DirectionCalc::kRegress) {
    Pt mean{0, 0};
    double n = 0;
    for (long d = -k; d <= k; ++d)
      if (around.Has(i, d)) mean = mean + around.At(i, d), n += 1;
    mean = (1 / n) * mean;
    double srr = 0, scc = 0, src = 0;
    for (long d = -k; d <= k; ++d) {
      if (!around.Has(i, d)) continue;
      const Pt q = around.At(i, d) - mean;
      srr += q.r * q.r, scc += q.c * q.c, src += q.r * q.c;
    }
    // Major axis of the scatter, turned to run along the chord.
    const double t = 0.5 * std::atan2(2 * src, scc - srr);
    v = srr == scc && src == 0 ? Pt{0, 0} : Pt{std::sin(t), std::cos(t)};
    if (Dot(v, chord) < 0) v = -1 * v;
  }
  return Norm(v) > 0 ? v : around.Step(i);
}

}  // namespace

// angle_mode "abs": the direction at each point along the point order,
// in (-pi, pi]; "rel": the turn from the first point's direction,
// accumulated along the contour (no jump of 2 pi). calc_mode "range": the
// chord from the point look_around before to the one look_around after;
// "mean": the sum of the unit directions of the segments between them;
// "regress": the regression line through the points from the one before
// to the one after (those beyond the ends of an open contour left out),
// pointing along the contour. Where that gives no direction (all points
// equal, a sum of 0), the direction to the next different point is taken.
// look_around beyond the point count counts as the point count.
VEXA_OPERATOR(get_contour_angle_xld) {
  std::vector<Pt> p;
  const char* mode = nullptr;
  const char* calc_name = nullptr;
  DirectionCalc calc = DirectionCalc::kRange;
  Vlong look = 0;
  Vresult rc = InpContourPoints(ctx, 1, &p);
  if (rc == VRESULT_OK) rc = ctx.GetString(0, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &calc_name);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &look);
  if (rc != VRESULT_OK) return rc;
  const std::string angle_mode(mode);
  if (angle_mode != "abs" && angle_mode != "rel") return VERR_CTRL_VALUE(0);
  if (!LookUpName(kDirectionCalcs, calc_name, &calc)) return VERR_CTRL_VALUE(1);
  if (look < 1) return VERR_CTRL_VALUE(2);
  // Beyond the point count a window adds nothing new: it reaches the ends
  // of an open contour and goes round a closed one.
  const long k = static_cast<long>(std::min<Vlong>(look, static_cast<Vlong>(p.size())));
  const Around around(p);
  std::vector<double> angles(p.size());
  for (size_t i = 0; i < p.size(); ++i) {
    const Pt v = DirectionAt(around, i, k, calc);
    if (Norm(v) == 0) return VERR_EMPTY_OBJECT;  // one distinct point: no direction
    angles[i] = DirectionAngle(v);
  }
  if (angle_mode == "rel") {
    std::vector<double> turn(angles.size(), 0.0);
    for (size_t i = 1; i < angles.size(); ++i) turn[i] = turn[i - 1] + WrapAngle(angles[i] - angles[i - 1]);
    angles.swap(turn);
  }
  return ctx.SetOutpDoubles(0, angles);
}

enum class DistanceMode { kPointToPoint, kPointToSegment };

constexpr Named<DistanceMode> kDistanceModes[] = {
    {"point_to_point", DistanceMode::kPointToPoint},
    {"point_to_segment", DistanceMode::kPointToSegment},
};

// Copies of the contours of input 1 with the per-point attribute
// "distance" (replacing one of that name): the distance of each point to
// the nearest point ("point_to_point") or segment ("point_to_segment") of
// the contour of input 2.
VEXA_OPERATOR(distance_contours_xld) {
  std::vector<XldPtr> from;
  std::vector<Pt> to;
  const char* name = nullptr;
  DistanceMode mode = DistanceMode::kPointToPoint;
  Vresult rc = xld::InpXlds(ctx, 1, VOBJ_XLD_CONT, &from);
  if (rc == VRESULT_OK) rc = InpContourPoints(ctx, 2, &to);
  if (rc == VRESULT_OK) rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  if (!LookUpName(kDistanceModes, name, &mode)) return VERR_CTRL_VALUE(0);
  std::vector<XldPtr> out;
  for (const XldPtr& x : from) {
    auto copy = std::make_shared<Xld>(*x);
    auto& attribs = copy->attribs;
    attribs.erase(std::remove_if(attribs.begin(), attribs.end(),
                                 [](const XldAttrib& a) { return a.name == "distance"; }),
                  attribs.end());
    XldAttrib distance{"distance", {}};
    for (const Pt& p : xld::PointsOf(*x))
      distance.values.push_back(mode == DistanceMode::kPointToPoint ? xld::PointDistance(to, p)
                                                                    : xld::ChainDistance(to, p));
    attribs.push_back(std::move(distance));
    out.push_back(std::move(copy));
  }
  return xld::HandOverXlds(ctx, 1, out);
}

}  // namespace geo
}  // namespace vexa
