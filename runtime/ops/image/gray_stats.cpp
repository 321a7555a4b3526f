// Gray-value statistics of regions in an image: one value per region in
// each output (intensity, min_max_gray, area_center_gray,
// elliptic_axis_gray, plane_deviation, entropy_gray) or the projections of
// one region.
#include <cmath>
#include <cstring>
#include <vector>

#include "ops/image/gray_histogram.h"
#include "ops/image/gray_measures.h"
#include "ops/image/region_gray_scan.h"
#include "region_store_moments.h"
#include "registry.h"

namespace vexa {

// Mean and standard deviation (divided by the number of pixels).
VEXA_OPERATOR(intensity) {
  std::vector<double> mean, dev;
  const Vresult rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im,
                                                const DomainScan& s, Vlong) {
    const GrayMoments m = GrayMoments::Of(im, s);
    mean.push_back(m.Mean());
    dev.push_back(m.Deviation());
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  const Vresult r = ctx.SetOutpDoubles(0, mean);
  return r == VRESULT_OK ? ctx.SetOutpDoubles(1, dev) : r;
}

// The gray values below and above which `percent` percent (0..50) of the
// region's pixels lie, and their difference.
VEXA_OPERATOR(min_max_gray) {
  double percent = 0.0;
  Vresult rc = ctx.GetDouble(0, &percent);
  if (rc != VRESULT_OK) return rc;
  if (!(percent >= 0.0 && percent <= 50.0)) return VERR_CTRL_VALUE(0);
  std::vector<double> mins, maxs, ranges;
  rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    double lo, hi;
    if (percent == 0.0) {
      const GrayMoments m = GrayMoments::Of(im, s);
      lo = m.min;
      hi = m.max;
    } else {
      std::vector<double> values = ScanValues(im, s);
      PercentileRange(&values, percent, &lo, &hi);
    }
    mins.push_back(lo);
    maxs.push_back(hi);
    ranges.push_back(hi - lo);
    return VRESULT_OK;
  });
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(0, mins);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, maxs);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(2, ranges) : rc;
}

// The sum of the gray values ("gray area") and the gray-weighted centre.
VEXA_OPERATOR(area_center_gray) {
  std::vector<double> area, row, col;
  Vresult rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im,
                                          const DomainScan& s, Vlong) {
    double a, r, c;
    GrayMoments::Of(im, s).GrayCentre(&a, &r, &c);
    area.push_back(a);
    row.push_back(r);
    col.push_back(c);
    return VRESULT_OK;
  });
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(0, area);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, row);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(2, col) : rc;
}

// The ellipse of each region with every pixel weighted by its gray value:
// half axes and orientation of the ellipse with the same gray-weighted
// second moments, as elliptic_axis finds them with equal weights. Regions
// whose gray values sum to 0, or hold a negative one (no weight), give 0.
VEXA_OPERATOR(elliptic_axis_gray) {
  std::vector<double> ra, rb, phi;
  Vresult rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    RegionMoments m;
    double volume = 0;
    const GrayMoments gm = GrayMoments::Of(im, s);
    gm.GrayCentre(&volume, &m.row, &m.col);
    if (volume > 0 && gm.min >= 0) {
      // Second pass about the weighted centre.
      s.ForEachChord([&](int32_t r, int32_t cb, int32_t ce, size_t) {
        const double dr = r - m.row;
        for (int32_t c = cb; c <= ce; ++c) {
          const double g = im.Get(r, c), dc = c - m.col;
          m.m20 += g * dr * dr;
          m.m02 += g * dc * dc;
          m.m11 += g * dr * dc;
        }
      });
      m.area = volume;
      m.m20 /= volume, m.m02 /= volume, m.m11 /= volume;
      SetInertia(&m);
    }
    const EllipseAxes e = EllipseFromMoments(m);
    ra.push_back(e.ra);
    rb.push_back(e.rb);
    phi.push_back(e.phi);
    return VRESULT_OK;
  });
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(0, ra);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(1, rb);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(2, phi) : rc;
}

// The deviation of the gray values from their least-squares plane.
VEXA_OPERATOR(plane_deviation) {
  std::vector<double> dev;
  const Vresult rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im,
                                                const DomainScan& s, Vlong) {
    double a, b, d;
    GrayMoments::Of(im, s).Plane(&a, &b, &d);
    dev.push_back(d);
    return VRESULT_OK;
  });
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(0, dev) : rc;
}

// Entropy in bits and anisotropy; 8- and 16-bit integer images.
VEXA_OPERATOR(entropy_gray) {
  std::vector<double> ent, aniso;
  const Vresult rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im,
                                                const DomainScan& s, Vlong) {
    if (!HasValueHistogram(im.type())) return VERR_PIXEL_TYPE;
    double e, a;
    GrayEntropy(im, s, &e, &a);
    ent.push_back(e);
    aniso.push_back(a);
    return VRESULT_OK;
  });
  if (rc != VRESULT_OK) return rc;
  const Vresult r = ctx.SetOutpDoubles(0, ent);
  return r == VRESULT_OK ? ctx.SetOutpDoubles(1, aniso) : r;
}

// Mode "simple": the mean gray value of the region's pixels in each row
// (horizontal projection) and in each column (vertical projection) of its
// bounding box within the domain; rows and columns without pixels give 0.
VEXA_OPERATOR(gray_projections) {
  const char* mode = nullptr;
  Vresult rc = ctx.GetString(0, &mode);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(mode, "simple") != 0) return VERR_CTRL_VALUE(0);
  Vlong num = 0;
  rc = ctx.InpObjCount(1, &num);
  if (rc != VRESULT_OK) return rc;
  if (num != 1) return VERR_OBJ_NUM(1);
  std::vector<double> hor, vert;
  rc = ForEachRegionScan(ctx, [&](const PixelBuffer& im, const DomainScan& s, Vlong) {
    int32_t r1, c1, r2, c2;
    if (!s.domain()->BoundingBox(&r1, &c1, &r2, &c2)) return VRESULT_OK;
    std::vector<double> rsum(static_cast<size_t>(r2 - r1 + 1)), csum(static_cast<size_t>(c2 - c1 + 1));
    std::vector<double> rn(rsum.size()), cn(csum.size());
    for (const Chord& ch : s.domain()->chords()) {
      for (int32_t c = ch.cb; c <= ch.ce; ++c) {
        const double v = im.Get(ch.r, c);
        rsum[static_cast<size_t>(ch.r - r1)] += v;
        rn[static_cast<size_t>(ch.r - r1)] += 1;
        csum[static_cast<size_t>(c - c1)] += v;
        cn[static_cast<size_t>(c - c1)] += 1;
      }
    }
    for (size_t i = 0; i < rsum.size(); ++i) hor.push_back(rn[i] > 0 ? rsum[i] / rn[i] : 0.0);
    for (size_t i = 0; i < csum.size(); ++i) vert.push_back(cn[i] > 0 ? csum[i] / cn[i] : 0.0);
    return VRESULT_OK;
  });
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(0, hor);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(1, vert) : rc;
}

}  // namespace vexa
