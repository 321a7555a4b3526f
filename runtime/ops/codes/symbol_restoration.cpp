#include "ops/codes/symbol_restoration.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <opencv2/imgproc.hpp>

#include "ops/codes/code_pixels.h"

namespace vexa {
namespace {

// The rings of a pattern out to `rings` modules from its centre (in the
// maximum norm): ring d is dark when bit d of `dark_rings` is set. A line
// through the centre crosses the rings at equal steps whatever its
// direction; `crossings` are the run patterns such a line shows (see
// CrossingsOf). `max_radius` bounds the modules a symbol of the type can
// reach from its pattern's centre.
struct RunPattern {
  bool dark;     // the central run's colour
  double steps;  // the central run's length in steps
  int sides;     // runs of one step on each side, before a longer last one
};
struct PatternShape {
  int rings;
  unsigned dark_rings;
  std::vector<RunPattern> crossings;
  int max_radius;

  bool Dark(int i, int j) const { return (dark_rings >> std::max(std::abs(i), std::abs(j))) & 1; }
};

// The Aztec bull's-eye: a dark central module, on each side three runs of
// a module and a longer fourth (the outer dark ring, which may merge with
// dark modules beyond it). Under blur the central module, alone in a light
// ring, is often lost: then the central run is light and three steps
// long, with two runs of one step and a longer third on each side.
// The Micro QR finder: a dark core of three modules, on each side a light
// and a dark run of one module and a longer light one (the separator or
// the quiet zone). The symbol reaches 13 modules beyond the finder's
// centre on two sides and 3 on the others.
const PatternShape& ShapeOf(RingPattern pattern) {
  static const PatternShape kAztec = {4, 0b10101, {{true, 1, 3}, {false, 3, 2}}, 75};
  static const PatternShape kMicroQr = {4, 0b01011, {{true, 3, 2}}, 14};
  return pattern == RingPattern::kAztecBullsEye ? kAztec : kMicroQr;
}

// The search for patterns runs on the image enlarged this many times,
// so that rings of two pixels give runs long enough to compare.
constexpr double kScanScale = 2;
// Shortest ring width and grey margin of a dark pixel in the enlarged view.
constexpr double kMinRun = 1.5 * kScanScale;
constexpr double kNoiseMargin = 8;

CodeImage ImageOf(const cv::Mat& gray) {
  CodeImage image;
  image.data = gray.ptr<uint8_t>();
  image.stride = static_cast<int>(gray.step[0]);
  image.width = gray.cols, image.height = gray.rows;
  return image;
}

// Grey value at the centre of module (i, j) of `g`; false outside the image.
bool ModuleGray(const CodeImage& image, const ModuleGrid& g, double i, double j, double* v) {
  const double c = std::cos(g.angle), s = std::sin(g.angle);
  return SampleGray(image, g.row + g.module * (i * s + j * c),
                    g.col + g.module * (i * c - j * s), v);
}

// Mean grey value of the pattern's light rings minus that of its dark
// rings; 0 when the pattern leaves the image.
double RingContrast(const CodeImage& image, const ModuleGrid& g, const PatternShape& shape) {
  double sums[2] = {0, 0};
  int counts[2] = {0, 0};
  for (int j = -shape.rings; j <= shape.rings; ++j)
    for (int i = -shape.rings; i <= shape.rings; ++i) {
      double v = 0;
      if (!ModuleGray(image, g, i, j, &v)) return 0;
      sums[shape.Dark(i, j)] += v, ++counts[shape.Dark(i, j)];
    }
  return sums[0] / counts[0] - sums[1] / counts[1];
}

// The grid `g` of an image in an image enlarged `scale` times.
ModuleGrid Enlarged(ModuleGrid g, double scale) {
  g.col = (g.col + 0.5) * scale - 0.5, g.row = (g.row + 0.5) * scale - 0.5;
  g.module *= scale;
  return g;
}

// How clearly the module centres within `radius` stand out from their
// surroundings, as the mean square of `detail` (grey value minus its blur
// over about a module, offset by kDetailZero, of the image enlarged
// kScanScale times) at the grid's points: highest when the grid meets the
// centres, lower wherever its points drift towards the modules' edges.
// Even areas (the quiet zone) add nothing. The bicubic enlargement keeps
// the grey values between pixels, which bilinear samples of the image
// itself would flatten, drawing the grid towards pixel centres.
constexpr int kDetailZero = 128;
double GridSharpness(const CodeImage& detail, const ModuleGrid& g, int radius) {
  const ModuleGrid enlarged = Enlarged(g, kScanScale);
  double sum = 0;
  int count = 0;
  for (int j = -radius; j <= radius; ++j)
    for (int i = -radius; i <= radius; ++i) {
      double v = 0;
      if (ModuleGray(detail, enlarged, i, j, &v)) sum += (v - kDetailZero) * (v - kDetailZero), ++count;
    }
  return count ? sum / count : 0;
}

cv::Mat Detail(const cv::Mat& enlarged, double sigma) {
  cv::Mat blurred, detail;
  cv::GaussianBlur(enlarged, blurred, cv::Size(0, 0), sigma);
  cv::addWeighted(enlarged, 1, blurred, -1, kDetailZero, detail);
  return detail;
}

// Improves `g` by `score` in coordinate steps of centre, module and angle,
// halving the steps from `shift` pixels, `scale` (relative) and `turn`
// radians `rounds` times.
template <class Score>
void Refine(ModuleGrid* g, double shift, double scale, double turn, int rounds, Score score) {
  double best = score(*g);
  for (int round = 0; round < rounds; ++round, shift /= 2, scale /= 2, turn /= 2)
    for (bool moved = true; moved;) {
      moved = false;
      for (int p = 0; p < 4; ++p)
        for (double sign : {-1.0, 1.0}) {
          ModuleGrid t = *g;
          if (p == 0) t.col += sign * shift;
          if (p == 1) t.row += sign * shift;
          if (p == 2) t.module *= 1 + sign * scale;
          if (p == 3) t.angle += sign * turn;
          const double v = score(t);
          if (v > best) best = v, *g = t, moved = true;
        }
    }
  g->angle = std::fmod(g->angle + 2 * M_PI, M_PI / 2);
}

// A run of equal binary pixels along a scan line.
struct Run {
  int start, length;
  bool dark;
};

std::vector<Run> RunsOf(const std::vector<uint8_t>& dark) {
  std::vector<Run> runs;
  for (int i = 0; i < static_cast<int>(dark.size()); ++i)
    if (runs.empty() || runs.back().dark != (dark[i] != 0))
      runs.push_back({i, 1, dark[i] != 0});
    else
      ++runs.back().length;
  return runs;
}

// The crossings of a pattern in a scan line: runs that match one of the
// shape's run patterns (PatternShape::crossings). Gives the centre of the
// central run and the step.
struct Crossing {
  double centre, run;
};
std::vector<Crossing> CrossingsOf(const std::vector<Run>& runs, const PatternShape& shape) {
  std::vector<Crossing> out;
  const int n = static_cast<int>(runs.size());
  for (int k = 0; k < n; ++k) {
    const auto pattern = std::find_if(shape.crossings.begin(), shape.crossings.end(),
                                      [&](const RunPattern& p) { return p.dark == runs[k].dark; });
    if (pattern == shape.crossings.end()) continue;
    const int sides = pattern->sides;
    if (k - sides - 1 < 0 || k + sides + 1 >= n) continue;
    double step = 0;
    for (int d = 1; d <= sides; ++d) step += runs[k - d].length + runs[k + d].length;
    step /= 2 * sides;
    const double centre = runs[k].length / pattern->steps;
    bool equal = step >= kMinRun && centre >= step / 1.6 && centre <= step * 1.6 &&
                 runs[k - sides - 1].length >= step / 2 && runs[k + sides + 1].length >= step / 2;
    for (int d = 1; d <= sides && equal; ++d)
      for (int e : {k - d, k + d})
        equal = equal && runs[e].length >= step / 2 && runs[e].length <= step * 1.6;
    if (equal) out.push_back({runs[k].start + (runs[k].length - 1) / 2.0, step});
  }
  return out;
}

// Pixels darker than their neighbourhood (a Gaussian of `sigma`) by more
// than `margin`, so that noise on an even background stays light.
cv::Mat DarkPixels(const cv::Mat& gray, double sigma, double margin) {
  cv::Mat local, dark;
  cv::GaussianBlur(gray, local, cv::Size(0, 0), sigma);
  cv::compare(gray, local - margin, dark, cv::CMP_LT);
  return dark;
}

std::vector<uint8_t> Line(const cv::Mat& dark, int index, bool column) {
  std::vector<uint8_t> out(column ? dark.rows : dark.cols);
  for (int k = 0; k < static_cast<int>(out.size()); ++k)
    out[k] = column ? dark.at<uint8_t>(k, index) : dark.at<uint8_t>(index, k);
  return out;
}

// Crossings of every row (x = crossing, y = line) or column (x = line,
// y = crossing) of `dark`.
struct Candidate {
  double x, y, run;
  int votes;
};
std::vector<Candidate> LineCrossings(const cv::Mat& dark, bool columns, const PatternShape& shape) {
  std::vector<Candidate> out;
  for (int k = 0; k < (columns ? dark.cols : dark.rows); ++k)
    for (const Crossing& c : CrossingsOf(RunsOf(Line(dark, k, columns)), shape))
      out.push_back(columns ? Candidate{1.0 * k, c.centre, c.run, 1}
                            : Candidate{c.centre, 1.0 * k, c.run, 1});
  return out;
}

// Pattern centres (x, y) and ring widths in the enlarged image, the one
// with most votes first: crossings of a row paired with crossings of a
// column within a ring width of them (x from the row, y from the column).
std::vector<Candidate> ScanPatterns(const cv::Mat& dark, const PatternShape& shape) {
  const std::vector<Candidate> columns = LineCrossings(dark, true, shape);
  std::vector<Candidate> found;
  for (const Candidate& h : LineCrossings(dark, false, shape))
    for (const Candidate& v : columns)
      if (std::fabs(v.x - h.x) <= h.run && std::fabs(v.y - h.y) <= h.run)
        found.push_back({h.x, v.y, (h.run + v.run) / 2, 1});
  // Crossings of one pattern merged: mean position, their count as votes.
  std::vector<Candidate> merged;
  for (const Candidate& c : found) {
    auto near = std::find_if(merged.begin(), merged.end(), [&](const Candidate& m) {
      return std::hypot(m.x / m.votes - c.x, m.y / m.votes - c.y) < 2 * c.run;
    });
    if (near == merged.end()) {
      merged.push_back(c);
    } else {
      near->x += c.x, near->y += c.y, near->run += c.run, ++near->votes;
    }
  }
  for (Candidate& m : merged) m.x /= m.votes, m.y /= m.votes, m.run /= m.votes;
  std::sort(merged.begin(), merged.end(),
            [](const Candidate& a, const Candidate& b) { return a.votes > b.votes; });
  return merged;
}

// The grid of a pattern candidate (centre and run length in image
// pixels): the centre (whole pixels up to kCentreReach runs away: the scan
// may meet a ring pattern off the centre), angle and module of the best
// ring contrast over a coarse search (a line crosses the rings at between
// one and sqrt 2 modules per run), then refined on the rings and on the
// sharpness of the modules around them.
constexpr double kCentreReach = 1.5;
ModuleGrid FitGrid(const cv::Mat& gray, const cv::Mat& enlarged, double x, double y, double run,
                  const PatternShape& shape) {
  const CodeImage image = ImageOf(gray);
  ModuleGrid best;
  const int reach = static_cast<int>(std::ceil(kCentreReach * run));
  for (double module = run / std::sqrt(2.0) * 0.85; module <= run * 1.15; module *= 1.05)
    for (double deg = 0; deg < 90; deg += 5)
      for (int dy = -reach; dy <= reach; ++dy)
        for (int dx = -reach; dx <= reach; ++dx) {
          ModuleGrid g;
          g.col = x + dx, g.row = y + dy, g.module = module, g.angle = deg * M_PI / 180;
          g.contrast = RingContrast(image, g, shape);
          if (g.contrast > best.contrast) best = g;
        }
  if (best.contrast <= 0) return best;
  auto rings = [&](const ModuleGrid& g) { return RingContrast(image, g, shape); };
  Refine(&best, 0.5, 0.025, 2.5 * M_PI / 180, 5, rings);
  best.contrast = rings(best);
  // The sharpness alone can drift to a grid that misses the pattern
  // (a neighbouring turn or module size that meets other points): grids
  // that lose a tenth of the rings' contrast are not taken.
  const cv::Mat detail = Detail(enlarged, best.module * kScanScale);
  const double rings_fit = best.contrast;
  for (int radius : {8, 16})
    Refine(&best, 0.25, 0.01, 0.5 * M_PI / 180, 4, [&](const ModuleGrid& g) {
      if (rings(g) < 0.9 * rings_fit) return 0.0;
      return GridSharpness(ImageOf(detail), g, radius);
    });
  best.contrast = rings(best);
  return best;
}

// Least-squares fit of the blur model v = b + w0 s + w1 (sum of the 4 edge
// neighbours' s) + w2 (sum of the 4 corner neighbours' s), s = 1 for dark
// and -1 for light, on the pattern's modules whose neighbours are all
// known.
cv::Vec4d BlurModel(const cv::Mat& grey, int radius, const PatternShape& shape) {
  cv::Mat a(0, 4, CV_64F), v(0, 1, CV_64F);
  auto s = [&](int i, int j) { return shape.Dark(i, j) ? 1.0 : -1.0; };
  for (int j = 1 - shape.rings; j < shape.rings; ++j)
    for (int i = 1 - shape.rings; i < shape.rings; ++i) {
      const double row[4] = {1, s(i, j), s(i - 1, j) + s(i + 1, j) + s(i, j - 1) + s(i, j + 1),
                             s(i - 1, j - 1) + s(i + 1, j - 1) + s(i - 1, j + 1) + s(i + 1, j + 1)};
      a.push_back(cv::Mat(1, 4, CV_64F, const_cast<double*>(row)));
      v.push_back(grey.at<double>(j + radius, i + radius));
    }
  cv::Mat w;
  cv::solve(a, v, w, cv::DECOMP_SVD);
  return cv::Vec4d(w.ptr<double>());
}

}  // namespace

std::vector<ModuleGrid> FindModuleGrids(const cv::Mat& gray, RingPattern pattern) {
  const PatternShape& shape = ShapeOf(pattern);
  cv::Mat enlarged;
  cv::resize(gray, enlarged, cv::Size(), kScanScale, kScanScale, cv::INTER_CUBIC);
  std::vector<ModuleGrid> grids;
  constexpr int kMaxCandidates = 4;
  for (const Candidate& c : ScanPatterns(DarkPixels(enlarged, 3 * kScanScale, kNoiseMargin), shape)) {
    if (static_cast<int>(grids.size()) == kMaxCandidates) break;
    const double x = (c.x + 0.5) / kScanScale - 0.5, y = (c.y + 0.5) / kScanScale - 0.5;
    const ModuleGrid g = FitGrid(gray, enlarged, x, y, c.run / kScanScale, shape);
    if (g.contrast > 0) grids.push_back(g);
  }
  std::sort(grids.begin(), grids.end(),
            [](const ModuleGrid& a, const ModuleGrid& b) { return a.contrast > b.contrast; });
  return grids;
}

cv::Mat SampleModules(const cv::Mat& gray, const ModuleGrid& grid, int radius,
                      RingPattern pattern) {
  const CodeImage image = ImageOf(gray);
  const int n = 2 * radius + 1;
  cv::Mat grey(n, n, CV_64F), inside(n, n, CV_8U);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i) {
      double v = 0;
      inside.at<uint8_t>(j, i) = ModuleGray(image, grid, i - radius, j - radius, &v);
      grey.at<double>(j, i) = v;
    }
  const cv::Vec4d w = BlurModel(grey, radius, ShapeOf(pattern));
  // Each module from its grey value less its neighbours' share, with the
  // neighbours as classified so far (first against the light-dark
  // middle), until no module changes. Modules outside the image are light.
  cv::Mat s(n, n, CV_64F);
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i)
      s.at<double>(j, i) = inside.at<uint8_t>(j, i) && (grey.at<double>(j, i) - w[0]) * w[1] > 0 ? 1 : -1;
  auto at = [&](int j, int i) { return i < 0 || j < 0 || i >= n || j >= n ? -1.0 : s.at<double>(j, i); };
  constexpr int kMaxSweeps = 10;
  for (int sweep = 0, changed = 1; sweep < kMaxSweeps && changed; ++sweep) {
    changed = 0;
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i) {
        if (!inside.at<uint8_t>(j, i)) continue;
        const double edges = at(j, i - 1) + at(j, i + 1) + at(j - 1, i) + at(j + 1, i);
        const double corners = at(j - 1, i - 1) + at(j - 1, i + 1) + at(j + 1, i - 1) + at(j + 1, i + 1);
        const double own = (grey.at<double>(j, i) - w[0] - w[2] * edges - w[3] * corners) / w[1];
        const double next = own > 0 ? 1 : -1;
        if (next != s.at<double>(j, i)) s.at<double>(j, i) = next, changed = 1;
      }
  }
  cv::Mat modules;
  cv::compare(s, 0, modules, cv::CMP_GT);
  return modules / 255;
}

RestoredSymbol DrawModules(const cv::Mat& modules, const ModuleGrid& grid) {
  constexpr int kQuiet = 4, P = kRestoredModulePixels;
  const int n = modules.rows, radius = n / 2;
  RestoredSymbol out;
  out.pixels = cv::Mat((n + 2 * kQuiet) * P, (n + 2 * kQuiet) * P, CV_8U, cv::Scalar(255));
  for (int j = 0; j < n; ++j)
    for (int i = 0; i < n; ++i)
      if (modules.at<uint8_t>(j, i))
        out.pixels(cv::Rect((kQuiet + i) * P, (kQuiet + j) * P, P, P)).setTo(0);
  // Pixel x lies at module offset x / P + k0 from the centre.
  const double k0 = 0.5 / P - kQuiet - radius - 0.5;
  const double c = std::cos(grid.angle) * grid.module, s = std::sin(grid.angle) * grid.module;
  const double m[6] = {c / P, -s / P, grid.col + (c - s) * k0,
                       s / P, c / P,  grid.row + (s + c) * k0};
  std::copy(m, m + 6, out.m);
  return out;
}

std::vector<RestoredSymbol> RestoreSymbols(const cv::Mat& gray, RingPattern pattern) {
  const int max_radius = ShapeOf(pattern).max_radius;
  std::vector<RestoredSymbol> out;
  for (const ModuleGrid& g : FindModuleGrids(gray, pattern)) {
    const double reach = std::max(std::max(g.col, gray.cols - 1 - g.col),
                                  std::max(g.row, gray.rows - 1 - g.row));
    const int radius = std::min(max_radius, static_cast<int>(std::ceil(reach / g.module)));
    out.push_back(DrawModules(SampleModules(gray, g, radius, pattern), g));
  }
  return out;
}

}  // namespace vexa
