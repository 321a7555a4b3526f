// Classification of pixels by their values as points of a feature space:
// two byte images span a 256 x 256 plane (row: the value of the second
// image, column: the value of the first, as histo_2dim counts them), and
// the channels of a multi-channel image an n-dimensional space.
#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/common/domain_scan.h"
#include "ops/filter/filter_support.h"
#include "ops/imgseg/seg_support.h"
#include "ops/region/region_ops.h"
#include "ops/segmentation/pixel_select.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr int kPlane = 256;

// Two byte images of one size and their common domain.
struct BytePair {
  db::ImageData a, b;
  DomainScan scan;
};

Vresult ReadBytePair(Vkey ka, int pa, Vkey kb, int pb, BytePair* pair) {
  Vresult rc = InpImage(pa, ka, &pair->a);
  if (rc == VRESULT_OK) rc = InpImage(pb, kb, &pair->b);
  if (rc != VRESULT_OK) return rc;
  if (pair->a.channels[0]->type() != PixelType::kByte ||
      pair->b.channels[0]->type() != PixelType::kByte)
    return VERR_PIXEL_TYPE;
  return DomainScan::Of(pair->a, pair->b, &pair->scan);
}

// The pixels of the pair whose feature-space cell (row: b, column: a)
// passes in(cell).
template <class In>
std::vector<Chord> PixelsInCells(const BytePair& pair, In&& in) {
  const uint8_t* a = pair.a.channels[0]->data();
  const uint8_t* b = pair.b.channels[0]->data();
  return SelectRuns(pair.scan, [&](size_t k) { return in(b[k] * kPlane + a[k]); });
}

// Distance of a pixel vector from a centre.
enum class Metric { kEuclid, kMaximum };

Vresult ReadMetric(const OpContext& ctx, int par, Metric* metric) {
  int index = 0;
  const Vresult rc = ReadChoice(ctx, par, {"euclid", "maximum"}, &index);
  *metric = index == 0 ? Metric::kEuclid : Metric::kMaximum;
  return rc;
}

double Distance(Metric metric, const double* x, const double* centre, size_t n) {
  double d = 0.0;
  for (size_t i = 0; i < n; ++i) {
    const double e = std::fabs(x[i] - centre[i]);
    d = metric == Metric::kEuclid ? d + e * e : std::max(d, e);
  }
  return metric == Metric::kEuclid ? std::sqrt(d) : d;
}

// The value vectors of the pixels of `region` in the domain of the
// multi-channel image, row-major (one vector of image.channels.size()
// values per pixel).
std::vector<double> Vectors(const db::ImageData& image, const Region& region) {
  std::vector<double> values;
  const DomainScan scan = DomainScan::Within(region, image);
  scan.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
    for (int32_t c = cb; c <= ce; ++c)
      for (const PixelBuffer* ch : image.channels) values.push_back(ch->Get(r, c));
  });
  return values;
}

struct Cluster {
  std::vector<double> sum;
  Vlong count = 0;
  double radius = 0.0;
  std::vector<double> Centre() const {
    std::vector<double> c(sum);
    for (double& v : c) v /= static_cast<double>(count);
    return c;
  }
};

// Share of the vectors within `radius` of some centre.
double Covered(const std::vector<double>& vectors, size_t n, const std::vector<Cluster>& clusters,
               Metric metric) {
  if (vectors.empty()) return 0.0;
  std::vector<std::vector<double>> centres;
  for (const Cluster& k : clusters) centres.push_back(k.Centre());
  size_t in = 0;
  for (size_t p = 0; p < vectors.size(); p += n)
    for (size_t i = 0; i < clusters.size(); ++i)
      if (Distance(metric, &vectors[p], centres[i].data(), n) <= clusters[i].radius) {
        ++in;
        break;
      }
  return static_cast<double>(in) / static_cast<double>(vectors.size() / n);
}

}  // namespace

// The pixels whose feature-space cell lies in `feature_space`, one region
// per pair of images (paired in order).
VEXA_OPERATOR(class_2dim_sup) {
  const std::vector<Vkey>* columns = nullptr;
  const std::vector<Vkey>* rows = nullptr;
  RegionPtr space;
  Vresult rc = ctx.InpObjs(1, &columns);
  if (rc == VRESULT_OK) rc = ctx.InpObjs(2, &rows);
  if (rc == VRESULT_OK) rc = InpSingleRegion(ctx, 3, &space);
  if (rc != VRESULT_OK) return rc;
  if (columns->size() != rows->size()) return VERR_OBJ_NUM(2);
  std::vector<uint8_t> in(kPlane * kPlane, 0);
  for (const Chord& ch : space->chords()) {
    if (ch.r < 0 || ch.r >= kPlane) continue;
    for (int32_t c = std::max(ch.cb, 0); c <= std::min(ch.ce, kPlane - 1); ++c) in[ch.r * kPlane + c] = 1;
  }
  NewKeys out;
  for (size_t i = 0; i < columns->size() && rc == VRESULT_OK; ++i) {
    BytePair pair;
    rc = ReadBytePair((*columns)[i], 1, (*rows)[i], 2, &pair);
    if (rc == VRESULT_OK) rc = AddRegion(PixelsInCells(pair, [&](int cell) { return in[cell] != 0; }), &out);
  }
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// Classes found in the pair's 2D histogram: the most frequent cell not yet
// classed seeds a class, which takes the 8-connected cells around it of
// frequency at least `threshold`; at most `num_classes` classes, each
// the region of its cells' pixels, in the order found.
VEXA_OPERATOR(class_2dim_unsup) {
  Vkey ka = VKEY_UNDEF, kb = VKEY_UNDEF;
  Vlong threshold = 0, num_classes = 0;
  BytePair pair;
  Vresult rc = ctx.InpObjSingle(1, &ka);
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(2, &kb);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &threshold);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &num_classes);
  if (rc == VRESULT_OK && threshold < 1) rc = VERR_CTRL_VALUE(0);
  if (rc == VRESULT_OK && (num_classes < 1 || num_classes > kPlane * kPlane)) rc = VERR_CTRL_VALUE(1);
  if (rc == VRESULT_OK) rc = ReadBytePair(ka, 1, kb, 2, &pair);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> histo(kPlane * kPlane, 0);
  // Counts every pixel's cell; the selection itself stays empty.
  PixelsInCells(pair, [&](int cell) { ++histo[cell]; return false; });
  std::vector<int> class_of(kPlane * kPlane, 0);
  NewKeys out;
  for (int k = 1; k <= num_classes && rc == VRESULT_OK; ++k) {
    int seed = -1;
    for (int cell = 0; cell < kPlane * kPlane; ++cell)
      if (class_of[cell] == 0 && histo[cell] >= threshold && (seed < 0 || histo[cell] > histo[seed]))
        seed = cell;
    if (seed < 0) break;
    std::vector<int> open{seed};
    class_of[seed] = k;
    while (!open.empty()) {
      const int cell = open.back();
      open.pop_back();
      for (int n = 0; n < 8; ++n) {
        const int r = cell / kPlane + kNeighbourDr[n], c = cell % kPlane + kNeighbourDc[n];
        if (r < 0 || c < 0 || r >= kPlane || c >= kPlane) continue;
        const int next = r * kPlane + c;
        if (class_of[next] != 0 || histo[next] < threshold) continue;
        class_of[next] = k;
        open.push_back(next);
      }
    }
    rc = AddRegion(PixelsInCells(pair, [&](int cell) { return class_of[cell] == k; }), &out);
  }
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// Hyperspheres around the foreground's pixel vectors: each vector joins the
// first cluster whose centre (running mean) lies within `distance`, else
// starts one; clusters with less than min_number_percent of the
// foreground's pixels are dropped. Per cluster its radius (the largest
// distance of a member from the final centre) and centre (the channels'
// values in order, all centres one after another); quality: the shares of
// the foreground's and of the background's pixels inside some sphere.
VEXA_OPERATOR(learn_ndim_norm) {
  RegionPtr foreground, background;
  db::ImageData image;
  Metric metric;
  double distance = 0.0, min_percent = 0.0;
  Vresult rc = ReadMetric(ctx, 0, &metric);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 1, 1e-9, 1e12, &distance);
  if (rc == VRESULT_OK) rc = ReadReal(ctx, 2, 0.0, 100.0, &min_percent);
  if (rc == VRESULT_OK) rc = InpSingleRegion(ctx, 1, &foreground);
  if (rc == VRESULT_OK) rc = InpSingleRegion(ctx, 2, &background);
  if (rc == VRESULT_OK) rc = InpSingleImage(ctx, 3, &image);
  if (rc != VRESULT_OK) return rc;
  for (const PixelBuffer* ch : image.channels)
    if (ch->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  const size_t n = image.channels.size();
  const std::vector<double> fg = Vectors(image, *foreground);
  if (fg.empty()) return VERR_EMPTY_OBJECT;
  std::vector<Cluster> clusters;
  std::vector<size_t> member_of;
  for (size_t p = 0; p < fg.size(); p += n) {
    size_t found = clusters.size();
    for (size_t i = 0; i < clusters.size() && found == clusters.size(); ++i)
      if (Distance(metric, &fg[p], clusters[i].Centre().data(), n) <= distance) found = i;
    if (found == clusters.size()) clusters.push_back({std::vector<double>(n, 0.0), 0, 0.0});
    Cluster& k = clusters[found];
    for (size_t j = 0; j < n; ++j) k.sum[j] += fg[p + j];
    ++k.count;
    member_of.push_back(found);
  }
  const double total = static_cast<double>(fg.size() / n);
  std::vector<std::vector<double>> centres;
  for (const Cluster& k : clusters) centres.push_back(k.Centre());
  for (size_t p = 0, m = 0; p < fg.size(); p += n, ++m) {
    Cluster& k = clusters[member_of[m]];
    k.radius = std::max(k.radius, Distance(metric, &fg[p], centres[member_of[m]].data(), n));
  }
  std::vector<Cluster> kept;
  for (const Cluster& k : clusters)
    if (100.0 * static_cast<double>(k.count) / total >= min_percent) kept.push_back(k);
  std::vector<double> radii, centre_values;
  for (const Cluster& k : kept) {
    radii.push_back(k.radius);
    for (double v : k.Centre()) centre_values.push_back(v);
  }
  const std::vector<double> quality = {Covered(fg, n, kept, metric),
                                       Covered(Vectors(image, *background), n, kept, metric)};
  rc = ctx.SetOutpDoubles(0, radii);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, centre_values);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(2, quality) : rc;
}

// The domain pixels whose channel vector lies within radius[i] of
// centre[i] (the centres one after another, as learn_ndim_norm gives
// them): "single" one region of all spheres, "multiple" one per sphere.
VEXA_OPERATOR(class_ndim_norm) {
  Metric metric;
  int multiple = 0;
  std::vector<double> radii, centres;
  Vresult rc = ReadMetric(ctx, 0, &metric);
  if (rc == VRESULT_OK) rc = ReadChoice(ctx, 1, {"single", "multiple"}, &multiple);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(2, radii);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(3, centres);
  if (rc != VRESULT_OK) return rc;
  if (radii.empty()) return VERR_CTRL_NUM(2);
  for (double r : radii)
    if (!(r >= 0) || std::isinf(r)) return VERR_CTRL_VALUE(2);
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    Vresult r = InpImage(1, key, &image);
    if (r != VRESULT_OK) return r;
    const size_t n = image.channels.size();
    if (centres.size() != radii.size() * n) return VERR_CTRL_NUM(3);
    for (const PixelBuffer* ch : image.channels)
      if (ch->type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
    const DomainScan scan = DomainScan::Of(image);
    std::vector<double> x(n);
    const auto inside = [&](size_t k, size_t sphere) {
      const int32_t w = image.channels[0]->width();
      const int32_t row = static_cast<int32_t>(k / w), col = static_cast<int32_t>(k % w);
      for (size_t j = 0; j < n; ++j) x[j] = image.channels[j]->Get(row, col);
      return Distance(metric, x.data(), &centres[sphere * n], n) <= radii[sphere];
    };
    if (!multiple) {
      return AddRegion(SelectRuns(scan, [&](size_t k) {
        for (size_t s = 0; s < radii.size(); ++s)
          if (inside(k, s)) return true;
        return false;
      }), &out);
    }
    for (size_t s = 0; s < radii.size() && r == VRESULT_OK; ++s)
      r = AddRegion(SelectRuns(scan, [&](size_t k) { return inside(k, s); }), &out);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
