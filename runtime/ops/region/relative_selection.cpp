// Selection of regions by their relation to other regions: to a prototype
// (select_shape_proto) and by direction (select_region_spatial).
#include <cmath>
#include <cstring>
#include <vector>

#include "ops/common/named_values.h"
#include "ops/region/region_distance.h"
#include "ops/region/region_op_util.h"
#include "ops/region/region_ops.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

// The features of a region against the union of the prototype regions.
enum class ProtoFeature { kDistanceDilate, kDistanceContour, kFits, kOverlapsAbs, kOverlapsRel };

bool ParseProtoFeature(const char* name, ProtoFeature* f) {
  static const Named<ProtoFeature> kNames[] = {
      {"distance_dilate", ProtoFeature::kDistanceDilate},
      {"distance_contour", ProtoFeature::kDistanceContour},
      {"fits", ProtoFeature::kFits},
      {"overlaps_abs", ProtoFeature::kOverlapsAbs},
      {"overlaps_rel", ProtoFeature::kOverlapsRel}};
  return LookUpName(kNames, name, f);
}

// The feature's value for `region`; `fit` is the prototype as a
// structuring element (when it is not empty).
Vresult ProtoValue(ProtoFeature f, const Region& region, const Region& proto,
                   const Element* fit, double* value) {
  switch (f) {
    case ProtoFeature::kDistanceDilate:
      *value = static_cast<double>(LeastChessboardDistance(region, proto));
      return VRESULT_OK;
    case ProtoFeature::kDistanceContour: {
      Vlong at[4];
      const int64_t d2 = LeastSquaredDistance(region, proto, at);
      *value = d2 < 0 ? -1.0 : std::sqrt(static_cast<double>(d2));
      return VRESULT_OK;
    }
    case ProtoFeature::kFits: {
      // The empty prototype fits everywhere, into no region only when the
      // region holds nothing to fit it into.
      if (!fit) return *value = region.empty() ? 0.0 : 1.0, VRESULT_OK;
      RegionPtr positions;
      const Vresult rc = Fit(region, *fit, &positions);
      *value = positions && !positions->empty() ? 1.0 : 0.0;
      return rc;
    }
    case ProtoFeature::kOverlapsAbs:
      *value = static_cast<double>(Region::Intersection(region, proto)->area());
      return VRESULT_OK;
    case ProtoFeature::kOverlapsRel: {
      const Vlong area = region.area();
      *value = area == 0 ? 0.0
                         : 100.0 * static_cast<double>(Region::Intersection(region, proto)->area()) /
                               static_cast<double>(area);
      return VRESULT_OK;
    }
  }
  return VERR_CTRL_VALUE(0);
}

// The direction from one centre of gravity to another that
// select_region_spatial asks for.
enum class Direction { kLeft, kRight, kAbove, kBelow };

bool ParseDirection(const char* name, Direction* d) {
  static const struct {
    const char* name;
    Direction direction;
  } kNames[] = {{"left", Direction::kLeft},
                {"right", Direction::kRight},
                {"above", Direction::kAbove},
                {"below", Direction::kBelow}};
  for (const auto& n : kNames)
    if (std::strcmp(name, n.name) == 0) return *d = n.direction, true;
  return false;
}

// Whether the point at offset (dr, dc) lies in direction d: within the
// quarter plane of 45 degrees to either side of it, its boundary rays
// included, the point itself not.
bool LiesIn(Direction d, double dr, double dc) {
  switch (d) {
    case Direction::kLeft:
      return dc < 0 && std::fabs(dr) <= -dc;
    case Direction::kRight:
      return dc > 0 && std::fabs(dr) <= dc;
    case Direction::kAbove:
      return dr < 0 && std::fabs(dc) <= -dr;
    case Direction::kBelow:
      return dr > 0 && std::fabs(dc) <= dr;
  }
  return false;
}

}  // namespace

// The regions whose feature against the union of the prototype regions
// lies within [min, max]:
//   distance_dilate   the chessboard distance to the prototype (0 when
//                     they touch, -1 for an empty region or prototype)
//   distance_contour  the least Euclidean pixel distance (likewise)
//   fits              1 where the prototype fits into the region as a
//                     whole (the erosion by it is not empty), else 0
//   overlaps_abs      the pixels shared with the prototype
//   overlaps_rel      their percentage of the region's area (0 if empty)
VEXA_OPERATOR(select_shape_proto) {
  const char* name = nullptr;
  double lo = 0, hi = 0;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(1, &lo);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(2, &hi);
  if (rc != VRESULT_OK) return rc;
  ProtoFeature feature;
  if (!ParseProtoFeature(name, &feature)) return VERR_CTRL_VALUE(0);
  if (std::isnan(lo)) return VERR_CTRL_VALUE(1);
  if (std::isnan(hi)) return VERR_CTRL_VALUE(2);
  std::vector<RegionPtr> protos;
  if ((rc = InpRegions(ctx, 2, &protos)) != VRESULT_OK) return rc;
  if (protos.empty()) return VERR_OBJ_NUM(2);
  const RegionPtr proto = RegionUnionMany(protos);
  // Fitting does not depend on where the element's reference point lies.
  Element element;
  const bool has_element = feature == ProtoFeature::kFits && !proto->empty();
  if (has_element && (rc = ElementOf(*proto, true, 0, 0, &element)) != VRESULT_OK) return rc;
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    Vresult r = InpRegion(1, key, &region);
    double value = 0;
    if (r == VRESULT_OK)
      r = ProtoValue(feature, *region, *proto, has_element ? &element : nullptr, &value);
    if (r != VRESULT_OK || value < lo || value > hi) return r;
    // The selected input itself, as a new reference.
    Vkey copy = VKEY_UNDEF;
    r = db::Copy(key, &copy);
    if (r == VRESULT_OK) out.Add(copy);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// Every pair (i, j), counted from 1, of regions1[i] and regions2[j] where
// the centre of gravity of regions2[j] lies in `direction` ("left",
// "right", "above", "below") of the centre of regions1[i]: within 45
// degrees to either side of that direction. Empty regions have no centre
// and take part in no pair; pairs in order of i, then j.
VEXA_OPERATOR(select_region_spatial) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  Direction direction;
  if (!ParseDirection(name, &direction)) return VERR_CTRL_VALUE(0);
  std::vector<RegionPtr> a, b;
  if ((rc = InpRegions(ctx, 1, &a)) != VRESULT_OK) return rc;
  if ((rc = InpRegions(ctx, 2, &b)) != VRESULT_OK) return rc;
  std::vector<Vlong> index1, index2;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i]->empty()) continue;
    for (size_t j = 0; j < b.size(); ++j) {
      if (b[j]->empty() ||
          !LiesIn(direction, b[j]->row() - a[i]->row(), b[j]->col() - a[i]->col()))
        continue;
      index1.push_back(static_cast<Vlong>(i + 1));
      index2.push_back(static_cast<Vlong>(j + 1));
    }
  }
  if ((rc = ctx.SetOutpLongs(0, index1)) != VRESULT_OK) return rc;
  return ctx.SetOutpLongs(1, index2);
}

}  // namespace vexa
