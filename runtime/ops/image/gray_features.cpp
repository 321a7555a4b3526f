// gray_features and select_gray: gray-value features of regions named by
// the caller.
//   area, row, column       gray volume and gray-weighted centre
//   mean, deviation, min, max, median
//   plane_deviation, alpha, beta   the least-squares plane and its slopes
//                                  (per row, per column)
//   entropy, anisotropy     8- and 16-bit integer images only
#include <cstring>
#include <vector>

#include "ops/image/gray_histogram.h"
#include "ops/image/gray_measures.h"
#include "ops/image/region_gray_scan.h"
#include "registry.h"

namespace vexa {
namespace {

enum class Feature {
  kArea, kRow, kColumn, kMean, kDeviation, kMin, kMax, kMedian,
  kPlaneDeviation, kAlpha, kBeta, kEntropy, kAnisotropy,
};

struct FeatureName {
  const char* name;
  Feature feature;
};
constexpr FeatureName kFeatures[] = {
    {"area", Feature::kArea}, {"row", Feature::kRow},
    {"column", Feature::kColumn}, {"mean", Feature::kMean},
    {"deviation", Feature::kDeviation}, {"min", Feature::kMin},
    {"max", Feature::kMax}, {"median", Feature::kMedian},
    {"plane_deviation", Feature::kPlaneDeviation}, {"alpha", Feature::kAlpha},
    {"beta", Feature::kBeta}, {"entropy", Feature::kEntropy},
    {"anisotropy", Feature::kAnisotropy},
};

// The features named at control `par`.
Vresult ReadFeatures(const OpContext& ctx, int par, std::vector<Feature>* out) {
  std::vector<const char*> names;
  const Vresult rc = ctx.GetStrings(par, names);
  if (rc != VRESULT_OK) return rc;
  if (names.empty()) return VERR_CTRL_NUM(par);
  for (const char* name : names) {
    const FeatureName* hit = nullptr;
    for (const FeatureName& f : kFeatures)
      if (std::strcmp(f.name, name) == 0) hit = &f;
    if (hit == nullptr) return VERR_CTRL_VALUE(par);
    out->push_back(hit->feature);
  }
  return VRESULT_OK;
}

// The values of `features` for one region, appended to `values`.
Vresult Measure(const PixelBuffer& im, const DomainScan& s,
                const std::vector<Feature>& features, std::vector<double>* values) {
  const GrayMoments m = GrayMoments::Of(im, s);
  for (Feature f : features) {
    double v = 0.0, a = 0.0, b = 0.0;
    switch (f) {
      case Feature::kArea: m.GrayCentre(&v, &a, &b); break;
      case Feature::kRow: m.GrayCentre(&a, &v, &b); break;
      case Feature::kColumn: m.GrayCentre(&a, &b, &v); break;
      case Feature::kMean: v = m.Mean(); break;
      case Feature::kDeviation: v = m.Deviation(); break;
      case Feature::kMin: v = m.min; break;
      case Feature::kMax: v = m.max; break;
      case Feature::kMedian: {
        std::vector<double> all = ScanValues(im, s);
        PercentileRange(&all, 50.0, &v, &a);
        break;
      }
      case Feature::kPlaneDeviation: m.Plane(&a, &b, &v); break;
      case Feature::kAlpha: m.Plane(&v, &a, &b); break;
      case Feature::kBeta: m.Plane(&a, &v, &b); break;
      case Feature::kEntropy:
      case Feature::kAnisotropy:
        if (!HasValueHistogram(im.type())) return VERR_PIXEL_TYPE;
        GrayEntropy(im, s, f == Feature::kEntropy ? &v : &a,
                    f == Feature::kEntropy ? &a : &v);
        break;
    }
    values->push_back(v);
  }
  return VRESULT_OK;
}

}  // namespace

// The values region by region, all features of the first region first.
VEXA_OPERATOR(gray_features) {
  std::vector<Feature> features;
  Vresult rc = ReadFeatures(ctx, 0, &features);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> values;
  rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    return Measure(im, s, features, &values);
  });
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(0, values) : rc;
}

// The regions whose features lie in [min, max] (one bound pair per
// feature, or one pair for all): for every feature with "and", for at
// least one with "or". The selected regions are passed on unchanged.
VEXA_OPERATOR(select_gray) {
  std::vector<Feature> features;
  const char* operation = nullptr;
  std::vector<double> mins, maxs;
  Vresult rc = ReadFeatures(ctx, 0, &features);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &operation);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, mins);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(3, maxs);
  if (rc != VRESULT_OK) return rc;
  const bool all = std::strcmp(operation, "and") == 0;
  if (!all && std::strcmp(operation, "or") != 0) return VERR_CTRL_VALUE(1);
  const auto bounds_fit = [&](const std::vector<double>& b) {
    return b.size() == features.size() || b.size() == 1;
  };
  if (!bounds_fit(mins)) return VERR_CTRL_NUM(2);
  if (!bounds_fit(maxs)) return VERR_CTRL_NUM(3);
  NewKeys out;
  rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong i) {
    std::vector<double> values;
    const Vresult r = Measure(im, s, features, &values);
    if (r != VRESULT_OK) return r;
    bool keep = all;
    for (size_t f = 0; f < values.size(); ++f) {
      const double lo = mins[mins.size() == 1 ? 0 : f], hi = maxs[maxs.size() == 1 ? 0 : f];
      const bool in = values[f] >= lo && values[f] <= hi;
      keep = all ? keep && in : keep || in;
    }
    if (!keep) return VRESULT_OK;
    const Vkey key = ctx.InpObjKey(1, i);
    const Vresult a = db::AddRef(key);
    if (a == VRESULT_OK) out.Add(key);
    return a;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
