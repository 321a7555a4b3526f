// shape_histo_all and shape_histo_point: a shape feature of the pixels of
// a region that are at least as bright as each gray value g of a byte
// image, as a histogram over the 256 values of g.
//
// The selection at g holds the pixels of the region, within the image's
// domain, of gray value >= g, split into 8-connected components. Features:
// "connected_components" (the number of components), "holes" (their
// holes, counted over all components), and "convexity", "compactness",
// "anisometry" (the mean over the components, as region_features gives
// them). shape_histo_point takes the component holding (row, column)
// alone: "connected_components" is then 1 where that pixel is selected,
// and every feature is 0 where it is not. The relative histogram is the
// absolute one divided by its sum (all 0 when the sum is 0).
//
// The selection only changes at gray values that occur in the region, so
// the components are found once per such value, not 256 times.
#include <array>
#include <cstring>
#include <string>

#include "ops/common/domain_scan.h"
#include "ops/common/op_objects.h"
#include "ops/region/shape_features.h"
#include "region_algebra.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr int kValues = 256;
constexpr const char* kFeatures[] = {"connected_components", "holes", "convexity", "compactness",
                                     "anisometry"};

bool IsHistoFeature(const char* name) {
  for (const char* f : kFeatures)
    if (std::strcmp(name, f) == 0) return true;
  return false;
}

// The feature of a selection split into `parts`.
double FeatureOf(const std::string& feature, const ChordList& selection,
                 const std::vector<ChordList>& parts) {
  if (feature == "connected_components") return static_cast<double>(parts.size());
  if (feature == "holes")
    return static_cast<double>(ChordComponents(ChordHoles(selection), Neighbourhood::k4).size());
  if (parts.empty()) return 0.0;
  double sum = 0.0;
  for (const ChordList& part : parts) {
    ShapeMeasures m(Region::FromCanonicalChords(part));
    double v = 0.0;
    FeatureValue(feature, m, &v);
    sum += v;
  }
  return sum / static_cast<double>(parts.size());
}

struct HistoInput {
  std::string feature;
  db::ImageData image;   // keeps the pixels alive
  ChordList chords;      // the region within the image's domain
  const uint8_t* pixels = nullptr;
  int32_t width = 0;
};

Vresult ReadInput(OpContext& ctx, HistoInput* in) {
  const char* feature = nullptr;
  Vkey region_key = VKEY_UNDEF;
  RegionPtr region;
  Vresult rc = ctx.GetString(0, &feature);
  if (rc != VRESULT_OK) return rc;
  if (!IsHistoFeature(feature)) return VERR_CTRL_VALUE(0);
  in->feature = feature;
  rc = ctx.InpObjSingle(1, &region_key);
  if (rc == VRESULT_OK) rc = InpRegion(1, region_key, &region);
  if (rc == VRESULT_OK) rc = InpSingleImage(ctx, 2, &in->image);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& gray = *in->image.channels[0];
  if (gray.type() != PixelType::kByte) return VERR_PIXEL_TYPE;
  in->chords = DomainScan::Within(*region, in->image).domain()->chords();
  in->pixels = gray.data();
  in->width = gray.width();
  return VRESULT_OK;
}

// The selection at every gray value, handed to fn(g, selection) once per
// value at which it changes; the histogram gets fn's value at every g.
template <class Fn>
std::array<double, kValues> OverGrayValues(const HistoInput& in, Fn&& fn) {
  std::array<bool, kValues> occurs{};
  for (const Chord& ch : in.chords)
    for (int32_t c = ch.cb; c <= ch.ce; ++c)
      occurs[in.pixels[static_cast<size_t>(ch.r) * in.width + c]] = true;
  std::array<double, kValues> histo{};
  double value = 0.0;
  for (int g = 0; g < kValues; ++g) {
    // The selection at g lost the pixels of value g - 1 if there were any.
    if (g == 0 || occurs[g - 1]) {
      ChordList selection;
      for (const Chord& ch : in.chords) {
        const uint8_t* row = in.pixels + static_cast<size_t>(ch.r) * in.width;
        for (int32_t c = ch.cb; c <= ch.ce;) {
          while (c <= ch.ce && row[c] < g) ++c;
          const int32_t start = c;
          while (c <= ch.ce && row[c] >= g) ++c;
          if (c > start) selection.push_back({ch.r, start, c - 1});
        }
      }
      value = fn(selection);
    }
    histo[static_cast<size_t>(g)] = value;
  }
  return histo;
}

Vresult WriteHisto(OpContext& ctx, const std::array<double, kValues>& histo) {
  double sum = 0.0;
  for (double v : histo) sum += v;
  const std::vector<double> absolute(histo.begin(), histo.end());
  std::vector<double> relative(kValues, 0.0);
  if (sum > 0)
    for (size_t g = 0; g < relative.size(); ++g) relative[g] = absolute[g] / sum;
  const Vresult rc = ctx.SetOutpDoubles(0, absolute);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, relative) : rc;
}

}  // namespace

VEXA_OPERATOR(shape_histo_all) {
  HistoInput in;
  const Vresult rc = ReadInput(ctx, &in);
  if (rc != VRESULT_OK) return rc;
  return WriteHisto(ctx, OverGrayValues(in, [&](const ChordList& selection) {
    return FeatureOf(in.feature, selection, ChordComponents(selection, Neighbourhood::k8));
  }));
}

VEXA_OPERATOR(shape_histo_point) {
  HistoInput in;
  Vlong row = 0, column = 0;
  Vresult rc = ReadInput(ctx, &in);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &row);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &column);
  if (rc != VRESULT_OK) return rc;
  return WriteHisto(ctx, OverGrayValues(in, [&](const ChordList& selection) {
    for (ChordList& part : ChordComponents(selection, Neighbourhood::k8)) {
      const RegionPtr held = Region::FromCanonicalChords(part);
      if (held->Contains(static_cast<int32_t>(row), static_cast<int32_t>(column)))
        return FeatureOf(in.feature, held->chords(), {held->chords()});
    }
    return 0.0;
  }));
}

}  // namespace vexa
