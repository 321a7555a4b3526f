// Operators that give fixed shape features of every input region, one
// value per region in each output, and region_features with the features
// named by the caller. All read their values from the feature table.
#include <cmath>
#include <cstring>

#include "ops/common/op_objects.h"
#include "ops/region/shape_features.h"
#include "registry.h"

namespace vexa {
namespace {

// One output control per feature name; names starting with '#' are given
// as integers.
Vresult Measure(OpContext& ctx, std::initializer_list<const char*> names) {
  std::vector<std::vector<double>> values(names.size());
  const Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    const Vresult r = InpRegion(1, key, &region);
    if (r != VRESULT_OK) return r;
    ShapeMeasures m(region);
    size_t i = 0;
    for (const char* name : names) {
      double v = 0.0;
      FeatureValue(name[0] == '#' ? name + 1 : name, m, &v);
      values[i++].push_back(v);
    }
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  int par = 0;
  for (const char* name : names) {
    const std::vector<double>& v = values[static_cast<size_t>(par)];
    Vresult out;
    if (name[0] == '#') {
      std::vector<Vlong> longs;
      for (double x : v) longs.push_back(static_cast<Vlong>(std::llround(x)));
      out = ctx.SetOutpLongs(par, longs);
    } else {
      out = ctx.SetOutpDoubles(par, v);
    }
    if (out != VRESULT_OK) return out;
    ++par;
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(smallest_rectangle1) { return Measure(ctx, {"#row1", "#column1", "#row2", "#column2"}); }
VEXA_OPERATOR(elliptic_axis) { return Measure(ctx, {"ra", "rb", "phi"}); }
VEXA_OPERATOR(orientation_region) { return Measure(ctx, {"orientation"}); }
VEXA_OPERATOR(eccentricity) { return Measure(ctx, {"anisometry", "bulkiness", "struct_factor"}); }
VEXA_OPERATOR(moments_region_2nd) {
  return Measure(ctx, {"moments_m11", "moments_m20", "moments_m02", "moments_ia", "moments_ib"});
}
VEXA_OPERATOR(moments_region_2nd_invar) {
  return Measure(ctx, {"moments_m11_invar", "moments_m20_invar", "moments_m02_invar"});
}
VEXA_OPERATOR(moments_region_2nd_rel_invar) { return Measure(ctx, {"moments_phi1", "moments_phi2"}); }
VEXA_OPERATOR(moments_region_3rd) {
  return Measure(ctx, {"moments_m21", "moments_m12", "moments_m03", "moments_m30"});
}
VEXA_OPERATOR(moments_region_3rd_invar) {
  return Measure(ctx, {"moments_m21_invar", "moments_m12_invar", "moments_m03_invar",
                       "moments_m30_invar"});
}
VEXA_OPERATOR(moments_region_central) {
  return Measure(ctx, {"moments_i1", "moments_i2", "moments_i3", "moments_i4"});
}
VEXA_OPERATOR(moments_region_central_invar) {
  return Measure(ctx, {"moments_psi1", "moments_psi2", "moments_psi3", "moments_psi4"});
}
VEXA_OPERATOR(circularity) { return Measure(ctx, {"circularity"}); }
VEXA_OPERATOR(compactness) { return Measure(ctx, {"compactness"}); }
VEXA_OPERATOR(convexity) { return Measure(ctx, {"convexity"}); }
VEXA_OPERATOR(contlength) { return Measure(ctx, {"contlength"}); }
VEXA_OPERATOR(roundness) { return Measure(ctx, {"dist_mean", "dist_deviation", "roundness", "num_sides"}); }
VEXA_OPERATOR(euler_number) { return Measure(ctx, {"#euler_number"}); }
VEXA_OPERATOR(connect_and_holes) { return Measure(ctx, {"#connect_num", "#holes_num"}); }
VEXA_OPERATOR(area_holes) { return Measure(ctx, {"#area_holes"}); }
VEXA_OPERATOR(smallest_circle) { return Measure(ctx, {"outer_row", "outer_column", "outer_radius"}); }
VEXA_OPERATOR(smallest_rectangle2) {
  return Measure(ctx, {"rect2_row", "rect2_column", "rect2_phi", "rect2_len1", "rect2_len2"});
}
VEXA_OPERATOR(inner_circle) { return Measure(ctx, {"inner_row", "inner_column", "inner_radius"}); }
VEXA_OPERATOR(runlength_features) {
  return Measure(ctx, {"#num_runs", "k_factor", "l_factor", "mean_length", "#bytes"});
}
VEXA_OPERATOR(diameter_region) {
  return Measure(ctx, {"#diameter_row1", "#diameter_column1", "#diameter_row2",
                       "#diameter_column2", "max_diameter"});
}

// The features named in control 0, for every region: the values region by
// region, all features of the first region first.
VEXA_OPERATOR(region_features) {
  std::vector<const char*> names;
  Vresult rc = ctx.GetStrings(0, names);
  if (rc != VRESULT_OK) return rc;
  for (const char* name : names)
    if (!IsFeatureName(name)) return VERR_CTRL_VALUE(0);
  std::vector<double> values;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    RegionPtr region;
    const Vresult r = InpRegion(1, key, &region);
    if (r != VRESULT_OK) return r;
    ShapeMeasures m(region);
    for (const char* name : names) {
      values.push_back(0.0);
      FeatureValue(name, m, &values.back());
    }
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(0, values) : rc;
}

}  // namespace vexa
