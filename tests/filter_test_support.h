// References for the neighbourhood filter tests: gray values around a
// pixel with the border rules written out plainly, a result check over the
// input's domain, and the pixel types the filters take.
#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "image_ops_support.h"

namespace filter_test {

using namespace image_test;

const std::vector<std::string> kTypes = {"byte", "int1", "int2", "uint2", "int4", "real"};

enum class Edge { kMirror, kCyclic, kContinued, kConstant };

// Position i of a line of n, folded back into the line.
inline int Fold(int i, int n, Edge edge) {
  if (edge == Edge::kCyclic) return ((i % n) + n) % n;
  if (edge == Edge::kContinued) return std::min(std::max(i, 0), n - 1);
  if (n == 1) return 0;
  while (i < 0 || i >= n) i = i < 0 ? -i : 2 * (n - 1) - i;
  return i;
}

// The gray value at (r, c), which may lie outside the image.
inline double Value(const TestImage& im, int r, int c, Edge edge = Edge::kMirror,
                    double constant = 0) {
  if (edge == Edge::kConstant && (r < 0 || c < 0 || r >= im.height || c >= im.width))
    return constant;
  return im.At(Fold(r, im.height, edge), Fold(c, im.width, edge));
}

struct Offset {
  int dy, dx;
};

inline std::vector<Offset> RectOffsets(int h, int w) {
  std::vector<Offset> o;
  for (int dy = -(h / 2); dy <= h / 2; ++dy)
    for (int dx = -(w / 2); dx <= w / 2; ++dx) o.push_back({dy, dx});
  return o;
}

inline std::vector<Offset> DiscOffsets(int radius) {
  std::vector<Offset> o;
  for (int dy = -radius; dy <= radius; ++dy)
    for (int dx = -radius; dx <= radius; ++dx)
      if (dx * dx + dy * dy <= radius * radius + radius) o.push_back({dy, dx});
  return o;
}

inline std::vector<double> Around(const TestImage& im, int r, int c,
                                  const std::vector<Offset>& offsets, Edge edge = Edge::kMirror,
                                  double constant = 0) {
  std::vector<double> v;
  for (const Offset& o : offsets) v.push_back(Value(im, r + o.dy, c + o.dx, edge, constant));
  return v;
}

inline double Rank(std::vector<double> v, size_t k) {
  std::sort(v.begin(), v.end());
  return v[k];
}

// A value stored in `type`: rounded half away from zero and clipped.
inline double Stored(const std::string& type, double v) {
  if (type == "real") return static_cast<float>(v);
  double lo, hi;
  ValueRange(type, &lo, &hi);
  if (type == "int4") { lo = -2147483648.0; hi = 2147483647.0; }
  return std::min(std::max(std::round(v), lo), hi);
}

// The result has the input's domain and each of its pixels is expect(r, c)
// within `tolerance` (absolute; relative to the value's size for reals).
inline void ExpectFiltered(const Vobject& result, const TestImage& in,
                           const std::function<double(int, int)>& expect, double tolerance,
                           const std::string& what) {
  vexa::RegionPtr domain;
  const vexa::PixelBuffer* px = Pixels(result, &domain);
  ASSERT_NE(px, nullptr) << what;
  ASSERT_EQ(*domain, *MaskRegion(in.domain, in.width, in.height)) << what;
  for (int r = 0; r < in.height; ++r)
    for (int c = 0; c < in.width; ++c) {
      if (!in.In(r, c)) continue;
      const double e = expect(r, c);
      const double tol = in.type == "real" ? tolerance * std::max(1.0, std::fabs(e)) : tolerance;
      ASSERT_NEAR(px->Get(r, c), e, tol) << what << " at " << r << "," << c;
    }
}

// Random images of `type` to filter: a 23 x 17 image under a random domain
// with holes, the same size with the full domain, and a 1 x 1 image.
inline std::vector<TestImage> FilterInputs(const std::string& type, std::mt19937& gen) {
  return {RandomImage(type, 23, 17, gen), RandomImage(type, 23, 17, gen, true),
          RandomImage(type, 1, 1, gen, true)};
}

}  // namespace filter_test
