#include "ops/codes/linear_symbol_geometry.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "ops/codes/code_pixels.h"

namespace vexa {
namespace {

constexpr double kMinCorrelation = 0.7;

struct Vec {
  double x, y;  // column, row
};
Vec operator+(Vec a, Vec b) { return {a.x + b.x, a.y + b.y}; }
Vec operator-(Vec a, Vec b) { return {a.x - b.x, a.y - b.y}; }
Vec operator*(double s, Vec a) { return {s * a.x, s * a.y}; }
double Dot(Vec a, Vec b) { return a.x * b.x + a.y * b.y; }

bool Sample(const CodeImage& image, Vec p, double* v) { return SampleGray(image, p.y, p.x, v); }

// Unit reading direction: the dominant gradient direction at the points
// of the segment a..b, turned to point from a to b.
Vec ReadingDirection(const CodeImage& image, Vec a, Vec b) {
  const double len = std::sqrt(Dot(b - a, b - a));
  double sxx = 0, syy = 0, sxy = 0;
  for (double t = 0; t <= len; t += 1) {
    const Vec p = a + (t / len) * (b - a);
    double l = 0, r = 0, u = 0, d = 0;
    if (!Sample(image, p - Vec{1, 0}, &l) || !Sample(image, p + Vec{1, 0}, &r) ||
        !Sample(image, p - Vec{0, 1}, &u) || !Sample(image, p + Vec{0, 1}, &d))
      continue;
    const double gx = r - l, gy = d - u;
    sxx += gx * gx, syy += gy * gy, sxy += gx * gy;
  }
  const double theta = 0.5 * std::atan2(2 * sxy, sxx - syy);
  Vec dir{std::cos(theta), std::sin(theta)};
  return Dot(dir, b - a) < 0 ? -1.0 * dir : dir;
}

// Gray values at c + offset + s * u for s in [-half, half]; false when a
// point lies outside the crop.
bool Profile(const CodeImage& image, Vec c, Vec u, double half, std::vector<double>* p) {
  p->clear();
  for (double s = -half; s <= half; s += 1) {
    double v = 0;
    if (!Sample(image, c + s * u, &v)) return false;
    p->push_back(v);
  }
  return true;
}

double Correlation(const std::vector<double>& a, const std::vector<double>& b) {
  double ma = 0, mb = 0;
  for (size_t i = 0; i < a.size(); ++i) ma += a[i], mb += b[i];
  ma /= a.size(), mb /= b.size();
  double sab = 0, saa = 0, sbb = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    sab += (a[i] - ma) * (b[i] - mb);
    saa += (a[i] - ma) * (a[i] - ma);
    sbb += (b[i] - mb) * (b[i] - mb);
  }
  return saa > 0 && sbb > 0 ? sab / std::sqrt(saa * sbb) : 0;
}

// How far the bars reach from c in direction v (to a pixel, at most
// `limit`), in about 2 log2(reach) profiles.
double BarReach(const CodeImage& image, Vec c, Vec u, Vec v, double half,
                const std::vector<double>& centre, double limit) {
  std::vector<double> p;
  auto matches = [&](double d) {
    return Profile(image, c + d * v, u, half, &p) && Correlation(centre, p) >= kMinCorrelation;
  };
  double good = 0, bad = limit + 1;
  for (double d = 1; d <= limit; d *= 2) {
    if (!matches(d)) {
      bad = d;
      break;
    }
    good = d;
  }
  if (bad > limit) return matches(limit) ? limit : good;
  while (bad - good > 1) {
    const double mid = std::floor((good + bad) / 2);
    (matches(mid) ? good : bad) = mid;
  }
  return good;
}

}  // namespace

void MeasureLinearSymbol(const CodeImage& image, CodeHit* hit) {
  // The scan line: from the middle of the left end to the middle of the
  // right end of what the engine reported.
  const Vec a{(hit->cols[0] + hit->cols[3]) / 2, (hit->rows[0] + hit->rows[3]) / 2};
  const Vec b{(hit->cols[1] + hit->cols[2]) / 2, (hit->rows[1] + hit->rows[2]) / 2};
  if (Dot(b - a, b - a) < 16) return;
  const Vec u = ReadingDirection(image, a, b);
  const Vec v{-u.y, u.x};  // along the bars, "down" in the symbol
  const Vec c = 0.5 * (a + b);
  const double half = std::fabs(Dot(b - a, u)) / 2;
  std::vector<double> centre;
  // The profiles cover the middle quarter of the code: still a dozen or
  // more modules, enough to tell the bars from the background, at a
  // quarter of the cost of the whole length.
  const double reach = std::max(half / 4, 8.0);
  if (!Profile(image, c, u, reach, &centre)) return;
  const double up = BarReach(image, c, u, -1.0 * v, reach, centre, 2 * half);
  const double down = BarReach(image, c, u, v, reach, centre, 2 * half);
  const Vec corners[4] = {c - half * u - up * v, c + half * u - up * v, c + half * u + down * v,
                          c - half * u + down * v};
  for (int i = 0; i < 4; ++i) hit->cols[i] = corners[i].x, hit->rows[i] = corners[i].y;
}

}  // namespace vexa
