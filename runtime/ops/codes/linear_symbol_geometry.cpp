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

// Gray values at c + (first + i) * u for i in [0, count); false when a
// point lies outside the crop. The crop is convex, so the points lie in it
// when both ends do, and the samples between need no check.
bool Profile(const CodeImage& image, Vec c, Vec u, double first, int count,
             std::vector<double>* p) {
  p->clear();
  if (count <= 0) return true;
  const Vec start = c + first * u, end = c + (first + count - 1) * u;
  if (!InsideCrop(image, start.y, start.x) || !InsideCrop(image, end.y, end.x)) return false;
  p->resize(static_cast<size_t>(count));
  const double x0 = start.x - image.col0, y0 = start.y - image.row0;
  for (int i = 0; i < count; ++i) (*p)[i] = SampleInside(image, x0 + i * u.x, y0 + i * u.y);
  return true;
}

// The bars' sideways drift, in pixels along u, that a profile is searched
// for around the drift expected from the nearer offsets: the reading
// direction may be a degree or two off, and the expectation follows it
// from step to step.
constexpr int kSlack = 2;

// The gray profile through the code's centre c, at c + (first + i) * u,
// kept less its mean (with its norm) for the correlations.
struct CentreProfile {
  Vec c, u;
  double first;
  std::vector<double> gray;  // less the mean
  double norm = 0;           // of `gray`

  bool Measure(const CodeImage& image, int count) {
    if (!Profile(image, c, u, first, count, &gray)) return false;
    double mean = 0;
    for (double g : gray) mean += g;
    mean /= count;
    for (double& g : gray) g -= mean, norm += g * g;
    norm = std::sqrt(norm);
    return norm > 0;
  }

  // Normalised correlations with the windows p[k..k + gray.size()) for k
  // in [0, num): the windows' sums and sums of squares slide from one
  // window to the next, so only the products with `gray` cost a pass
  // each. (`gray` has mean 0, so its products need no centring of p.)
  void Correlations(const double* p, int num, double* corr) const {
    const size_t n = gray.size();
    double sp = 0, spp = 0;
    for (size_t i = 0; i < n; ++i) sp += p[i], spp += p[i] * p[i];
    for (int k = 0; k < num; ++k) {
      if (k > 0) {
        const double out = p[k - 1], in = p[k - 1 + n];
        sp += in - out, spp += in * in - out * out;
      }
      double sgp = 0;
      for (size_t i = 0; i < n; ++i) sgp += gray[i] * p[k + i];
      const double spread = spp - sp * sp / n;
      corr[k] = spread > 0 ? sgp / (norm * std::sqrt(spread)) : 0;
    }
  }
};

// The bars at some offset along them: their drift along u from the
// centre, and whether the profile there still matches the centre's.
struct BarPlace {
  double drift = 0;
  bool matches = false;
};

// The bars at offset d along v: the drift whose profile best matches the
// centre's, searched within kSlack pixels of `expected` (refined between
// pixels by a parabola through the best correlations).
BarPlace PlaceBars(const CodeImage& image, const CentreProfile& centre, Vec v, double d,
                   double expected, std::vector<double>* p) {
  const int n = static_cast<int>(centre.gray.size());
  BarPlace place;
  if (!Profile(image, centre.c + d * v, centre.u, centre.first + expected - kSlack,
               n + 2 * kSlack, p))
    return place;
  double corr[2 * kSlack + 1];
  centre.Correlations(p->data(), 2 * kSlack + 1, corr);
  int best = 0;
  for (int k = 1; k <= 2 * kSlack; ++k)
    if (corr[k] > corr[best]) best = k;
  double frac = 0;
  if (best > 0 && best < 2 * kSlack) {
    const double curve = corr[best - 1] - 2 * corr[best] + corr[best + 1];
    if (curve < 0) frac = 0.5 * (corr[best - 1] - corr[best + 1]) / curve;
  }
  place.drift = expected + best - kSlack + frac;
  place.matches = corr[best] >= kMinCorrelation;
  return place;
}

// Where the bars end in one direction: how far from the centre, and their
// drift along u there.
struct BarEnd {
  double reach, drift;
};

// The first offset of the doubling search below: bars are rarely shorter,
// so the searches at 1, 2, 4 and 8 pixels would only confirm what the
// centre shows; and the drift a degree or two of error in the reading
// direction builds up over it stays within kSlack.
constexpr double kFirstReach = 16;

// How far the bars reach from the centre in direction v (to a pixel, at
// most `limit`), in about 2 log2(reach / kFirstReach) + log2(kFirstReach)
// profile searches: doubling the offset from kFirstReach, then halving
// the last step, each search expecting the drift the last matching offset
// showed, scaled to the new one.
BarEnd BarReach(const CodeImage& image, const CentreProfile& centre, Vec v, double limit) {
  std::vector<double> p;
  BarPlace good;  // at offset `reached`
  double reached = 0;
  auto step = [&](double d) {
    const double expected = reached > 0 ? good.drift * d / reached : 0;
    const BarPlace place = PlaceBars(image, centre, v, d, expected, &p);
    if (place.matches) good = place, reached = d;
    return place.matches;
  };
  double bad = limit + 1;
  for (double d = std::min(kFirstReach, limit); d <= limit; d *= 2) {
    if (!step(d)) {
      bad = d;
      break;
    }
  }
  if (bad > limit) {
    step(limit);
  } else {
    while (bad - reached > 1) {
      const double mid = std::floor((reached + bad) / 2);
      if (!step(mid)) bad = mid;
    }
  }
  return {reached, good.drift};
}

// The turning points of a gray profile fed sample by sample: a running
// maximum or minimum counts once the profile has come back from it by
// `band`, which noise alone rarely does while the thinnest elements, even
// blurred to a fraction of the code's contrast, still do.
struct TurningPoints {
  double band;
  bool rising = true;
  bool started = false;
  double extreme = 0;  // the running extreme, at sample `at`
  size_t at = 0;
  size_t turn = 0;  // the last confirmed turning point

  // Feeds sample i of value g; true when that confirms a turning point
  // (`turn`, a minimum when `rising`).
  bool Feed(size_t i, double g) {
    if (!started || (rising ? g >= extreme : g <= extreme)) {
      started = true, extreme = g, at = i;
      return false;
    }
    if (std::fabs(g - extreme) < band) return false;
    turn = at, rising = !rising, extreme = g, at = i;
    return true;
  }
};

// The outer edge of the symbol's last bar seen from the decoded line's
// end: `line` holds the decoded line's profile towards that end, sample i
// at position start + i along `step` (a unit vector from c). The profile is
// followed past the end while turning points follow each other within
// `max_gap` samples; the edge is where it then climbs halfway from the
// last minimum to the light level, never short of the decoded end.
double OuterEdge(const CodeImage& image, Vec c, Vec step, double start, std::vector<double> line,
                 double band, double light, double max_gap) {
  const size_t decoded = line.size();
  TurningPoints turns{band};
  size_t last_min = 0;
  bool any_min = false;
  for (size_t i = 0;; ++i) {
    if (i >= decoded) {
      double g = 0;
      if (i - turns.turn > max_gap || !Sample(image, c + (start + static_cast<double>(i)) * step, &g))
        break;
      line.push_back(g);
    }
    if (turns.Feed(i, line[i]) && turns.rising) last_min = turns.turn, any_min = true;
  }
  double edge = 0;
  if (any_min) {
    const double halfway = (line[last_min] + light) / 2;
    size_t i = last_min;
    while (i + 1 < line.size() && line[i + 1] < halfway) ++i;
    const double rise = i + 1 < line.size() ? line[i + 1] - line[i] : 0;
    edge = static_cast<double>(i) + (rise > 0 ? (halfway - line[i]) / rise : 0);
  }
  return start + std::max(edge, static_cast<double>(decoded - 1));
}

// Moves the ends lo < hi of the decoded line (positions along u from c)
// out to the symbol's outermost bar edges. Bars go on while the gray
// profile's turning points follow each other within five times their mean
// spacing in the decoded line. Elements are 1.6 to 2.1 modules wide on
// average in every linear type and the widest DataBar element is 8, so
// the walk crosses wide elements and ends in a quiet zone of 10 modules
// (at worst 10.5 modules from a DataBar code's last bar centre).
void ExtendToSymbolEnds(const CodeImage& image, Vec c, Vec u, double* lo, double* hi) {
  std::vector<double> gray;
  if (!Profile(image, c, u, *lo, static_cast<int>(*hi - *lo) + 1, &gray)) return;
  std::vector<double> sorted = gray;
  const size_t n = sorted.size(), tenth = n / 10;
  std::nth_element(sorted.begin(), sorted.begin() + tenth, sorted.end());
  const double dark = sorted[tenth];
  std::nth_element(sorted.begin(), sorted.end() - 1 - tenth, sorted.end());
  const double light = sorted[n - 1 - tenth];
  const double band = 0.15 * (light - dark);
  if (band < 2) return;
  TurningPoints turns{band};
  int count = 0;
  size_t first = 0;
  for (size_t i = 0; i < n; ++i)
    if (turns.Feed(i, gray[i]) && count++ == 0) first = turns.turn;
  if (count < 6) return;
  const double max_gap = 5.0 * static_cast<double>(turns.turn - first) / (count - 1);
  const double start = *lo, end = start + static_cast<double>(n - 1);
  *hi = OuterEdge(image, c, u, start, gray, band, light, max_gap);
  std::reverse(gray.begin(), gray.end());
  *lo = -OuterEdge(image, c, -1.0 * u, -end, gray, band, light, max_gap);
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
  // The symbol's ends along u from the decoded line's middle.
  const Vec line_mid = 0.5 * (a + b);
  double lo = Dot(a - line_mid, u), hi = Dot(b - line_mid, u);
  ExtendToSymbolEnds(image, line_mid, u, &lo, &hi);
  const Vec c = line_mid + 0.5 * (lo + hi) * u;
  // The profiles cover the middle quarter of the code: still a dozen or
  // more modules, enough to tell the bars from the background, at a
  // quarter of the cost of the whole length.
  const double length = hi - lo;
  const double reach = std::max(length / 8, 8.0);
  CentreProfile centre{c, u, -reach, {}};
  if (!centre.Measure(image, static_cast<int>(2 * reach) + 1)) return;
  // The bars may be longer than the decoded line (a segment of a long
  // code); only the crop bounds them.
  const double limit = image.width + image.height;
  const BarEnd up = BarReach(image, centre, -1.0 * v, limit);
  const BarEnd down = BarReach(image, centre, v, limit);
  // The bars run from their top end to their bottom end as followed
  // sideways; that corrects the reading direction's small error.
  const Vec top = c - up.reach * v + up.drift * u, bottom = c + down.reach * v + down.drift * u;
  const double height = std::sqrt(Dot(bottom - top, bottom - top));
  const Vec bars = height >= 1 ? (1 / height) * (bottom - top) : v;
  const Vec across{bars.y, -bars.x};
  const Vec mid = 0.5 * (top + bottom);
  const double half = length * std::fabs(Dot(u, across)) / 2;
  const Vec corners[4] = {mid - half * across - 0.5 * height * bars,
                          mid + half * across - 0.5 * height * bars,
                          mid + half * across + 0.5 * height * bars,
                          mid - half * across + 0.5 * height * bars};
  for (int i = 0; i < 4; ++i) hit->cols[i] = corners[i].x, hit->rows[i] = corners[i].y;
}

}  // namespace vexa
