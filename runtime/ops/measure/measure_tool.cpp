// Clipping of the measure rectangle and sampling of its gray profile.
#include "measure_tool.h"

#include <algorithm>
#include <cmath>

#include "ops/common/op_objects.h"
#include "ops/common/pixel_dispatch.h"

namespace vexa {
namespace {

// Small tolerance so that lines ending exactly on the last pixel centre,
// up to rounding of sin/cos, count as inside.
constexpr double kInsideEps = 1e-9;

bool Inside(double r, double c, const MeasureGeometry& g) {
  return r >= -kInsideEps && c >= -kInsideEps && r <= g.height - 1 + kInsideEps &&
         c <= g.width - 1 + kInsideEps;
}

// Sample coordinates lie inside the image (>= -kInsideEps), where
// truncation is the floor up to that tolerance and, unlike std::floor,
// needs no library call.
inline Vlong Floor(double x) { return static_cast<Vlong>(x); }

// Reads one channel of type T at real coordinates inside the image.
template <class T>
class Sampler {
 public:
  Sampler(const T* data, Vlong width, Vlong height) : data_(data), w_(width), h_(height) {}

  double Nearest(double r, double c) const {
    return At(Floor(r + 0.5), Floor(c + 0.5));
  }
  double Bilinear(double r, double c) const {
    const Vlong r0 = Floor(r), c0 = Floor(c);
    const double ar = r - static_cast<double>(r0), ac = c - static_cast<double>(c0);
    if (r0 + 1 < h_ && c0 + 1 < w_) {  // all four neighbours inside: no clamping
      const T* p = data_ + r0 * w_ + c0;
      const double top = (1 - ac) * p[0] + ac * p[1];
      const double bottom = (1 - ac) * p[w_] + ac * p[w_ + 1];
      return (1 - ar) * top + ar * bottom;
    }
    const double top = (1 - ac) * At(r0, c0) + ac * At(r0, c0 + 1);
    const double bottom = (1 - ac) * At(r0 + 1, c0) + ac * At(r0 + 1, c0 + 1);
    return (1 - ar) * top + ar * bottom;
  }
  // Cubic convolution (a = -0.5) over 4x4 pixels, the border repeated.
  double Bicubic(double r, double c) const {
    const Vlong r0 = Floor(r), c0 = Floor(c);
    double wr[4], wc[4];
    CubicWeights(r - static_cast<double>(r0), wr);
    CubicWeights(c - static_cast<double>(c0), wc);
    double sum = 0;
    for (int i = 0; i < 4; ++i) {
      double line = 0;
      for (int j = 0; j < 4; ++j) line += wc[j] * At(r0 - 1 + i, c0 - 1 + j);
      sum += wr[i] * line;
    }
    return sum;
  }

 private:
  // Clamped, so that neighbours with zero weight beyond the last pixel and
  // the outer taps of the cubic kernel stay inside.
  double At(Vlong r, Vlong c) const {
    r = std::min(std::max<Vlong>(r, 0), h_ - 1);
    c = std::min(std::max<Vlong>(c, 0), w_ - 1);
    return static_cast<double>(data_[r * w_ + c]);
  }
  static void CubicWeights(double t, double w[4]) {
    const double a = -0.5;
    auto near = [a](double x) { return ((a + 2) * x - (a + 3)) * x * x + 1; };
    auto far = [a](double x) { return ((a * x - 5 * a) * x + 8 * a) * x - 4 * a; };
    w[0] = far(1 + t);
    w[1] = near(t);
    w[2] = near(1 - t);
    w[3] = far(2 - t);
  }

  const T* data_;
  Vlong w_, h_;
};

// `read(r, c)` gives the interpolated value; one loop per mode, so that
// the mode is not decided per sample.
template <class Read>
void SampleProfile(Read read, const MeasureGeometry& g, const MeasureSampling& s,
                   std::vector<double>* profile) {
  profile->assign(static_cast<size_t>(s.count), 0.0);
  const double scale = 1.0 / static_cast<double>(s.across.size());
  for (Vlong i = 0; i < s.count; ++i) {
    double r0 = 0, c0 = 0, ar = 0, ac = 0;
    s.PointAt(static_cast<double>(i), g, &r0, &c0);
    s.AcrossAt(static_cast<double>(i), g, &ar, &ac);
    double sum = 0;
    for (double off : s.across) sum += read(r0 + off * ar, c0 + off * ac);
    (*profile)[static_cast<size_t>(i)] = sum * scale;
  }
}

template <class T>
void SampleProfile(const Sampler<T>& img, const MeasureGeometry& g, const MeasureSampling& s,
                   std::vector<double>* profile) {
  switch (g.interpolation) {
    case MeasureInterpolation::kNearest:
      return SampleProfile([&](double r, double c) { return img.Nearest(r, c); }, g, s, profile);
    case MeasureInterpolation::kBilinear:
      return SampleProfile([&](double r, double c) { return img.Bilinear(r, c); }, g, s, profile);
    case MeasureInterpolation::kBicubic:
      return SampleProfile([&](double r, double c) { return img.Bicubic(r, c); }, g, s, profile);
  }
}

}  // namespace

void MeasureSampling::PointAt(double x, const MeasureGeometry& g, double* r, double* c) const {
  if (g.arc) {
    const double a = g.angle_start + x * angle_step;
    *r = g.row - g.radius * std::sin(a);
    *c = g.column + g.radius * std::cos(a);
  } else {
    *r = g.row + (first_t + x) * dir_row;
    *c = g.column + (first_t + x) * dir_col;
  }
}

void MeasureSampling::AcrossAt(double x, const MeasureGeometry& g, double* r, double* c) const {
  if (g.arc) {  // outwards along the radius
    const double a = g.angle_start + x * angle_step;
    *r = -std::sin(a);
    *c = std::cos(a);
  } else {
    *r = across_row;
    *c = across_col;
  }
}

namespace {

// Offsets of the lines across: floor(2 half) + 1 of them, one pixel apart,
// centred; VERR_COORD_RANGE when they are longer than the image's diagonal.
Vresult PlanAcross(const MeasureGeometry& g, MeasureSampling* s, double* half_across) {
  const Vlong lines = static_cast<Vlong>(std::floor(2 * g.length2)) + 1;
  *half_across = (lines - 1) / 2.0;
  if (2 * *half_across > std::hypot(g.width - 1.0, g.height - 1.0) + kInsideEps)
    return VERR_COORD_RANGE;
  s->across.resize(static_cast<size_t>(lines));
  for (Vlong j = 0; j < lines; ++j) s->across[static_cast<size_t>(j)] = j - *half_across;
  return VRESULT_OK;
}

// Arcs are convex only piecewise, so every sample must be inside; the
// extreme radii of each sample's line are checked.
Vresult PlanArc(const MeasureGeometry& g, MeasureSampling* s) {
  double half_across = 0;
  const Vresult rc = PlanAcross(g, s, &half_across);
  if (rc != VRESULT_OK) return rc;
  if (g.radius <= half_across) return VERR_CTRL_VALUE(5);  // lines would cross the centre
  s->count = static_cast<Vlong>(std::floor(std::fabs(g.angle_extent) * g.radius)) + 1;
  s->angle_step = (g.angle_extent < 0 ? -1.0 : 1.0) / g.radius;
  for (Vlong i = 0; i < s->count; ++i) {
    double r = 0, c = 0, ar = 0, ac = 0;
    s->PointAt(static_cast<double>(i), g, &r, &c);
    s->AcrossAt(static_cast<double>(i), g, &ar, &ac);
    if (!Inside(r - half_across * ar, c - half_across * ac, g) ||
        !Inside(r + half_across * ar, c + half_across * ac, g))
      return VERR_COORD_RANGE;
  }
  return VRESULT_OK;
}

}  // namespace

Vresult PlanSampling(const MeasureGeometry& g, MeasureSampling* s) {
  if (g.arc) return PlanArc(g, s);
  s->dir_row = -std::sin(g.phi);
  s->dir_col = std::cos(g.phi);
  s->across_row = s->dir_col;
  s->across_col = -s->dir_row;
  const Vlong along = static_cast<Vlong>(std::floor(2 * g.length1)) + 1;
  double half_across = 0;
  const Vresult rc = PlanAcross(g, s, &half_across);
  if (rc != VRESULT_OK) return rc;
  // The rectangle and the image are convex, so the positions whose whole
  // line across is inside form one run.
  Vlong first = -1, last = -1;
  for (Vlong i = 0; i < along; ++i) {
    const double t = i - (along - 1) / 2.0;
    const double r = g.row + t * s->dir_row, c = g.column + t * s->dir_col;
    if (Inside(r - half_across * s->across_row, c - half_across * s->across_col, g) &&
        Inside(r + half_across * s->across_row, c + half_across * s->across_col, g)) {
      if (first < 0) first = i;
      last = i;
    }
  }
  if (first < 0) return VERR_COORD_RANGE;
  s->first_t = first - (along - 1) / 2.0;
  s->count = last - first + 1;
  return VRESULT_OK;
}

Vresult InpMeasure(const OpContext& ctx, int par, MeasureGeometry* g,
                   std::shared_ptr<MeasureTool>* tool) {
  std::shared_ptr<MeasureTool> found;
  const Vresult rc = InpTool(ctx, par, &found);
  if (rc != VRESULT_OK) return rc;
  *g = found->Get();
  if (tool != nullptr) *tool = std::move(found);
  return VRESULT_OK;
}

Vresult InpProfile(OpContext& ctx, MeasureGeometry* g, MeasureSampling* s,
                   std::vector<double>* profile) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = ctx.InpObjSingle(1, &key);
  if (rc != VRESULT_OK) return rc;
  db::ImageData image;
  rc = InpImage(1, key, &image);
  if (rc != VRESULT_OK) return rc;
  rc = InpMeasure(ctx, 0, g);
  if (rc != VRESULT_OK) return rc;
  if (image.channels.empty()) return VERR_CHANNEL;
  return ProfileOf(*image.channels[0], *g, s, profile);
}

Vresult ProfileOf(const PixelBuffer& channel, const MeasureGeometry& g, MeasureSampling* s,
                  std::vector<double>* profile) {
  if (channel.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  if (channel.width() != g.width || channel.height() != g.height) return VERR_IMAGE_SIZE;
  const Vresult rc = PlanSampling(g, s);
  if (rc != VRESULT_OK) return rc;
  DispatchPixelType(channel.type(), [&](auto tag) {
    SampleProfile(Sampler(PixelsOf(channel, tag), g.width, g.height), g, *s, profile);
  });
  return VRESULT_OK;
}

}  // namespace vexa
