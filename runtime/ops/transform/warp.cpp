// The resampling engine of the geometric image transforms (see warp.h).
#include "ops/transform/warp.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "ops/common/pixel_dispatch.h"

namespace vexa {
namespace {

// Restricts the integers t of [lo, hi] to p t + q >= 0 (> 0 when strict).
void Narrow(double p, double q, bool strict, double* lo, double* hi) {
  if (p == 0.0) {
    if (q < 0.0 || (strict && q == 0.0) || !(q == q)) *hi = *lo - 1.0;
    return;
  }
  const double t = -q / p;
  if (p > 0.0) *lo = std::max(*lo, strict ? std::floor(t) + 1.0 : std::ceil(t));
  else *hi = std::min(*hi, strict ? std::ceil(t) - 1.0 : std::floor(t));
}

// The linear pieces, in the output column t, of the homogeneous source
// point (X, Y, W) along output row y; `sign` -1 flips all three, so that
// the points with W < 0 are found as well.
struct RowLine {
  double pa, qa, pb, qb, pw, qw;
  RowLine(const Mat2D& inv, double y, double sign)
      : pa(sign * inv(0, 1)), qa(sign * (inv(0, 0) * y + inv(0, 2))),
        pb(sign * inv(1, 1)), qb(sign * (inv(1, 0) * y + inv(1, 2))),
        pw(sign * inv(2, 1)), qw(sign * (inv(2, 0) * y + inv(2, 2))) {}
};

// Appends the run of output row `row` (columns 0..last) whose source point
// lies in [r1, r2) x [c1, c2) with W > 0.
void AppendRun(const RowLine& l, int32_t row, double last, double r1,
               double r2, double c1, double c2, std::vector<Chord>* out) {
  double lo = 0.0, hi = last;
  Narrow(l.pw, l.qw, true, &lo, &hi);
  Narrow(l.pa - r1 * l.pw, l.qa - r1 * l.qw, false, &lo, &hi);
  Narrow(r2 * l.pw - l.pa, r2 * l.qw - l.qa, true, &lo, &hi);
  Narrow(l.pb - c1 * l.pw, l.qb - c1 * l.qw, false, &lo, &hi);
  Narrow(c2 * l.pw - l.pb, c2 * l.qw - l.qb, true, &lo, &hi);
  if (lo <= hi)
    out->push_back({row, static_cast<int32_t>(lo), static_cast<int32_t>(hi)});
}

bool IsRectangle(const Region& r, int32_t* r1, int32_t* c1, int32_t* r2, int32_t* c2) {
  return r.BoundingBox(r1, c1, r2, c2) &&
         r.area() == Vlong{*r2 - *r1 + 1} * (*c2 - *c1 + 1);
}

// OpenCV's element type of a channel for warping; -1 when it has none.
int CvTypeOf(PixelType type) {
  switch (type) {
    case PixelType::kByte:
    case PixelType::kDirection:
    case PixelType::kCyclic: return CV_8U;
    case PixelType::kInt2: return CV_16S;
    case PixelType::kUInt2: return CV_16U;
    case PixelType::kReal:
    case PixelType::kComplex: return CV_32F;
    default: return -1;
  }
}

bool IsAngle(PixelType type) {
  return type == PixelType::kDirection || type == PixelType::kCyclic;
}

// One axis of a resize of n source pixels to m output pixels restricted to
// the output pixels lo..hi: the output range [dst_begin, dst_end) and the
// source range [src_begin, src_end) that the resize kernel maps onto each
// other with the whole image's scale. With g = gcd(n, m), every m / g output
// pixels cover exactly n / g source pixels, so both ranges run between
// multiples of these steps; they are grown by two source pixels beyond
// those the interpolation of lo and hi reads, so that the kernel's
// repeated border at the range's ends (where they are not the image's)
// never reaches the pixels lo..hi.
struct ResizeSpan {
  int src_begin, src_end, dst_begin, dst_end;

  ResizeSpan(int n, int m, int lo, int hi) {
    const int g = std::gcd(n, m), src_step = n / g, dst_step = m / g;
    const double scale = static_cast<double>(n) / m;
    const double first = std::floor((lo + 0.5) * scale - 0.5) - 2;
    const double last = std::floor((hi + 0.5) * scale - 0.5) + 3;
    const int k1 = static_cast<int>(std::max(0.0, std::floor(first / src_step)));
    const int k2 = static_cast<int>(std::min<double>(g, std::ceil((last + 1) / src_step)));
    src_begin = k1 * src_step, src_end = k2 * src_step;
    dst_begin = k1 * dst_step, dst_end = k2 * dst_step;
  }
};

// Resamples one channel with the OpenCV kernels; false when they do not
// apply to this channel and map.
bool FastWarp(const PixelBuffer& in, const Warp& w, PixelBuffer* out) {
  const int cv_type = CvTypeOf(in.type());
  if (cv_type < 0 || !w.projective) return false;
  Interp interp = w.interp;
  if (w.samples == 1 && interp == Interp::kWeighted) interp = Interp::kBilinear;
  if (w.samples == 1 && interp == Interp::kConstant) interp = Interp::kNearest;
  if (IsAngle(in.type())) interp = Interp::kNearest;
  if (interp != Interp::kNearest && interp != Interp::kBilinear) return false;
  int32_t r1, c1, r2, c2;
  if (!w.domain->BoundingBox(&r1, &c1, &r2, &c2)) return true;
  const size_t elem = CV_ELEM_SIZE(cv_type);
  const int planes = in.type() == PixelType::kComplex ? 2 : 1;
  for (int plane = 0; plane < planes; ++plane) {
    const cv::Mat src(in.height(), in.width(), cv_type,
                      const_cast<unsigned char*>(in.data()) + plane * in.num_pixels() * elem);
    unsigned char* base = out->data() + plane * out->num_pixels() * elem;
    if (w.pixel_scale) {
      // The box, grown to whole steps of the scale (see ResizeSpan), maps
      // onto a box of the source with the same scale: the resize kernel
      // gives its pixels exactly as over the whole image.
      const ResizeSpan rows(in.height(), out->height(), r1, r2);
      const ResizeSpan cols(in.width(), out->width(), c1, c2);
      const cv::Mat src_box = src(cv::Range(rows.src_begin, rows.src_end),
                                  cv::Range(cols.src_begin, cols.src_end));
      cv::Mat dst(rows.dst_end - rows.dst_begin, cols.dst_end - cols.dst_begin, cv_type,
                  base + (static_cast<size_t>(rows.dst_begin) * out->width() + cols.dst_begin) * elem,
                  static_cast<size_t>(out->width()) * elem);
      cv::resize(src_box, dst, dst.size(), 0, 0,
                 interp == Interp::kNearest ? cv::INTER_NEAREST_EXACT : cv::INTER_LINEAR);
      continue;
    }
    cv::Mat dst(r2 - r1 + 1, c2 - c1 + 1, cv_type,
                base + (static_cast<size_t>(r1) * out->width() + c1) * elem,
                static_cast<size_t>(out->width()) * elem);
    // OpenCV counts x (column) first: swap the axes, then start at the
    // box's corner.
    Mat2D swap;
    swap << 0, 1, 0, 1, 0, 0, 0, 0, 1;
    Mat2D shift = Mat2D::Identity();
    shift(0, 2) = c1, shift(1, 2) = r1;
    const Mat2D m = swap * w.inverse * swap * shift;
    const int flags = (interp == Interp::kNearest ? cv::INTER_NEAREST : cv::INTER_LINEAR) |
                      cv::WARP_INVERSE_MAP;
    const int border = w.zero_outside ? cv::BORDER_CONSTANT : cv::BORDER_REPLICATE;
    if (m(2, 0) == 0.0 && m(2, 1) == 0.0 && m(2, 2) == 1.0) {
      const cv::Matx23d a(m(0, 0), m(0, 1), m(0, 2), m(1, 0), m(1, 1), m(1, 2));
      cv::warpAffine(src, dst, a, dst.size(), flags, border, cv::Scalar());
    } else {
      const cv::Matx33d p(m(0, 0), m(0, 1), m(0, 2), m(1, 0), m(1, 1), m(1, 2),
                          m(2, 0), m(2, 1), m(2, 2));
      cv::warpPerspective(src, dst, p, dst.size(), flags, border, cv::Scalar());
    }
  }
  return true;
}

// Resamples one channel pixel by pixel through w.source.
void SlowWarp(const PixelBuffer& in, const Warp& w, PixelBuffer* out) {
  const Interp interp = IsAngle(in.type()) ? Interp::kNearest : w.interp;
  const bool spread = (interp == Interp::kWeighted || interp == Interp::kConstant) && w.samples > 1;
  const int k = spread ? w.samples : 1;
  DispatchPixelType(in.type(), [&](auto tag) {
    using T = typename decltype(tag)::Value;
    constexpr PixelType kType = decltype(tag)::kType;
    const int planes = kType == PixelType::kComplex ? 2 : 1;
    for (int plane = 0; plane < planes; ++plane) {
      const Sampler<T> s(PixelsOf(in, tag) + plane * in.num_pixels(), in.width(),
                         in.height(), w.zero_outside);
      T* dst = PixelsOf(out, tag) + plane * out->num_pixels();
      auto sample = [&](double y, double x) {
        double sr = 0.0, sc = 0.0;
        w.source(y, x, &sr, &sc);
        switch (interp) {
          case Interp::kNearest:
          case Interp::kConstant: return s.Nearest(sr, sc);
          case Interp::kBicubic: return s.Bicubic(sr, sc);
          default: return s.Bilinear(sr, sc);
        }
      };
      for (const Chord& ch : w.domain->chords()) {
        T* row = dst + static_cast<size_t>(ch.r) * out->width();
        for (int32_t x = ch.cb; x <= ch.ce; ++x) {
          double v = 0.0;
          if (k == 1) {
            v = sample(ch.r, x);
          } else {
            for (int i = 0; i < k; ++i)
              for (int j = 0; j < k; ++j)
                v += sample(ch.r + (i + 0.5) / k - 0.5, x + (j + 0.5) / k - 0.5);
            v /= k * k;
          }
          row[x] = StorePixel<kType>(v);
        }
      }
    }
  });
}

// A region as a mask over its bounding box within a width x height image,
// asked for the nearest pixel of real points.
class DomainMask {
 public:
  DomainMask(const Region& region, int32_t width, int32_t height) {
    if (!region.BoundingBox(&r1_, &c1_, &r2_, &c2_)) return;
    r1_ = std::max(r1_, 0), c1_ = std::max(c1_, 0);
    r2_ = std::min(r2_, height - 1), c2_ = std::min(c2_, width - 1);
    if (r1_ > r2_ || c1_ > c2_) return;
    w_ = c2_ - c1_ + 1;
    bits_.assign(static_cast<size_t>(r2_ - r1_ + 1) * w_, 0);
    for (const Chord& ch : region.chords()) {
      if (ch.r < r1_ || ch.r > r2_) continue;
      const int32_t cb = std::max(ch.cb, c1_), ce = std::min(ch.ce, c2_);
      if (cb <= ce)
        std::fill_n(&bits_[static_cast<size_t>(ch.r - r1_) * w_ + (cb - c1_)], ce - cb + 1, 1);
    }
  }
  bool Contains(double r, double c) const {
    r = std::floor(r + 0.5), c = std::floor(c + 0.5);
    if (!(r >= r1_ && r <= r2_ && c >= c1_ && c <= c2_) || bits_.empty()) return false;
    return bits_[static_cast<size_t>(r - r1_) * w_ + static_cast<size_t>(c - c1_)] != 0;
  }
  // The bounding box; false when empty.
  bool Box(int32_t* r1, int32_t* c1, int32_t* r2, int32_t* c2) const {
    *r1 = r1_, *c1 = c1_, *r2 = r2_, *c2 = c2_;
    return !bits_.empty();
  }

 private:
  int32_t r1_ = 0, c1_ = 0, r2_ = -1, c2_ = -1, w_ = 0;
  std::vector<uint8_t> bits_;
};

// Run bookkeeping of a row scan: opens a run at the first pixel in,
// closes it at the first pixel out.
void CloseRun(bool in, int32_t y, int32_t x, int32_t* start, std::vector<Chord>* runs) {
  if (in && *start < 0) *start = x;
  if (!in && *start >= 0) {
    runs->push_back({y, *start, x - 1});
    *start = -1;
  }
}

// The output domain of a projective map for any input domain: the output
// pixels within the image of the domain's bounding box, tested one by one
// against a mask of the domain.
RegionPtr ScanDomain(const Region& domain, const Mat2D& inv, int32_t width, int32_t height) {
  const DomainMask mask(domain, INT32_MAX, INT32_MAX);
  int32_t r1, c1, r2, c2;
  if (!mask.Box(&r1, &c1, &r2, &c2)) return Region::Empty();
  Mat2D fwd;
  double y1 = 0, x1 = 0, y2 = height - 1.0, x2 = width - 1.0;
  if (InvertHomMat(inv, &fwd)) {
    double lo_y = 1e300, hi_y = -1e300, lo_x = 1e300, hi_x = -1e300;
    bool finite = true;
    for (double r : {r1 - 0.5, r2 + 0.5})
      for (double c : {c1 - 0.5, c2 + 0.5}) {
        const Eigen::Vector3d p = fwd * Eigen::Vector3d(r, c, 1.0);
        finite = finite && p[2] > 0.0;
        lo_y = std::min(lo_y, p[0] / p[2]), hi_y = std::max(hi_y, p[0] / p[2]);
        lo_x = std::min(lo_x, p[1] / p[2]), hi_x = std::max(hi_x, p[1] / p[2]);
      }
    if (finite) {  // a box whose image stays finite maps to its corners' hull
      y1 = std::max(y1, std::floor(lo_y)), y2 = std::min(y2, std::ceil(hi_y));
      x1 = std::max(x1, std::floor(lo_x)), x2 = std::min(x2, std::ceil(hi_x));
    }
  }
  std::vector<Chord> runs;
  for (double y = y1; y <= y2; ++y) {
    const int32_t row = static_cast<int32_t>(y);
    int32_t start = -1;
    Eigen::Vector3d p = inv * Eigen::Vector3d(y, x1, 1.0);
    const Eigen::Vector3d step = inv.col(1);
    for (double x = x1; x <= x2 + 1.0; ++x, p += step) {
      const bool in = x <= x2 && mask.Contains(p[0] / p[2], p[1] / p[2]);
      CloseRun(in, row, static_cast<int32_t>(x), &start, &runs);
    }
  }
  return Region::FromChords(std::move(runs));
}

}  // namespace

Warp ProjectiveWarp(const Mat2D& inverse, int32_t width, int32_t height) {
  Warp w;
  w.width = width;
  w.height = height;
  w.projective = true;
  w.inverse = inverse;
  w.source = [inverse](double y, double x, double* sr, double* sc) {
    const Eigen::Vector3d p = inverse * Eigen::Vector3d(y, x, 1.0);
    *sr = p[0] / p[2];
    *sc = p[1] / p[2];
  };
  return w;
}

int SamplesForSpan(double span) {
  constexpr int kMaxSamples = 16;
  if (!(span > 1.0)) return 1;
  return span >= kMaxSamples ? kMaxSamples : static_cast<int>(std::ceil(span - 1e-9));
}

double ProjectiveSpan(const Mat2D& inv, double y, double x) {
  auto at = [&](double yy, double xx) {
    const Eigen::Vector3d p = inv * Eigen::Vector3d(yy, xx, 1.0);
    return Eigen::Vector2d(p[0] / p[2], p[1] / p[2]);
  };
  const Eigen::Vector2d c = at(y, x);
  return std::max((at(y + 1.0, x) - c).norm(), (at(y, x + 1.0) - c).norm());
}

RegionPtr ProjectiveDomain(const Region& domain, const Mat2D& inverse,
                           int32_t width, int32_t height) {
  int32_t br1, bc1, br2, bc2;
  if (!IsRectangle(domain, &br1, &bc1, &br2, &bc2)) return ScanDomain(domain, inverse, width, height);
  // A rectangle: per output row, the columns whose source point lies in
  // it solve linear inequalities.
  std::vector<Chord> runs;
  for (int32_t y = 0; y < height; ++y)
    for (double sign : {1.0, -1.0})
      AppendRun(RowLine(inverse, y, sign), y, width - 1.0, br1 - 0.5, br2 + 0.5, bc1 - 0.5,
                bc2 + 0.5, &runs);
  return Region::FromChords(std::move(runs));
}

RegionPtr MappedDomain(const Region& domain, int32_t in_width, int32_t in_height,
                       const Warp& w) {
  const DomainMask mask(domain, in_width, in_height);
  std::vector<Chord> runs;
  for (int32_t y = 0; y < w.height; ++y) {
    int32_t start = -1;
    for (int32_t x = 0; x <= w.width; ++x) {
      bool in = false;
      if (x < w.width) {
        double sr = 0.0, sc = 0.0;
        w.source(y, x, &sr, &sc);
        in = mask.Contains(sr, sc);
      }
      CloseRun(in, y, x, &start, &runs);
    }
  }
  return Region::FromChords(std::move(runs));
}

Vresult WarpImage(const db::ImageData& image, const Warp& w, Vkey* out) {
  std::vector<std::unique_ptr<PixelBuffer>> channels(image.channels.size());
  // Both kernels write every pixel of the domain: a domain that covers the
  // output needs no cleared buffer.
  const bool covered = w.domain->area() == Vlong{w.width} * w.height;
  for (size_t i = 0; i < channels.size(); ++i) {
    const PixelBuffer& in = *image.channels[i];
    const Vresult rc = covered
        ? PixelBuffer::CreateUncleared(in.type(), w.width, w.height, &channels[i])
        : PixelBuffer::Create(in.type(), w.width, w.height, &channels[i]);
    if (rc != VRESULT_OK) return rc;
    // OpenCV refuses some extreme sizes and maps; the pixel loop takes any.
    bool fast = false;
    try {
      fast = FastWarp(in, w, channels[i].get());
    } catch (const cv::Exception&) {
      fast = false;
    }
    if (!fast) SlowWarp(in, w, channels[i].get());
  }
  return db::NewImage(w.domain, std::move(channels), out);
}

Vresult AdaptedSize(const Mat2D& fwd, int32_t in_width, int32_t in_height,
                    int32_t* width, int32_t* height) {
  double far_r = -1e300, far_c = -1e300;
  for (double r : {-0.5, in_height - 0.5})
    for (double c : {-0.5, in_width - 0.5}) {
      const Eigen::Vector3d p = fwd * Eigen::Vector3d(r, c, 1.0);
      if (!(p[2] > 0.0)) return VERR_TOO_LARGE;
      far_r = std::max(far_r, p[0] / p[2]);
      far_c = std::max(far_c, p[1] / p[2]);
    }
  const double h = std::ceil(far_r + 0.5), w = std::ceil(far_c + 0.5);
  if (!(h <= kMaxImageSide && w <= kMaxImageSide)) return VERR_TOO_LARGE;
  *height = static_cast<int32_t>(std::max(1.0, h));
  *width = static_cast<int32_t>(std::max(1.0, w));
  return VRESULT_OK;
}

}  // namespace vexa
