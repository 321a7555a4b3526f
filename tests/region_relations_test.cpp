// Region operators measured against per-pixel references: the background
// components, the fitting with several elements, selection against a
// prototype and by direction, the histogram region and the Hamming change.
#include <algorithm>
#include <cmath>
#include <deque>
#include <initializer_list>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "region_pixelset_support.h"

namespace {

using namespace Vexa;
using namespace pixelset;

PixelSet Translated(const PixelSet& s, int dr, int dc) {
  PixelSet out;
  for (const Pixel& p : s) out.insert({p.first + dr, p.second + dc});
  return out;
}

bool Inside(const PixelSet& part, const PixelSet& whole) {
  return std::all_of(part.begin(), part.end(), [&](const Pixel& p) { return whole.count(p) != 0; });
}

// The 4-connected components of the 512 x 512 frame's pixels outside
// `fg`, each in the order of its first pixel, by flood filling.
std::vector<PixelSet> BackgroundComponents(const PixelSet& fg) {
  constexpr int kSide = 512;
  std::vector<int> label(kSide * kSide, -1);
  std::vector<PixelSet> parts;
  for (int r = 0; r < kSide; ++r)
    for (int c = 0; c < kSide; ++c) {
      if (label[r * kSide + c] >= 0 || fg.count({r, c})) continue;
      const int id = static_cast<int>(parts.size());
      parts.emplace_back();
      std::deque<Pixel> todo{{r, c}};
      label[r * kSide + c] = id;
      while (!todo.empty()) {
        const Pixel p = todo.front();
        todo.pop_front();
        parts.back().insert(p);
        const int steps[4][2] = {{-1, 0}, {1, 0}, {0, -1}, {0, 1}};
        for (const auto& s : steps) {
          const int nr = p.first + s[0], nc = p.second + s[1];
          if (nr < 0 || nr >= kSide || nc < 0 || nc >= kSide) continue;
          if (label[nr * kSide + nc] >= 0 || fg.count({nr, nc})) continue;
          label[nr * kSide + nc] = id;
          todo.push_back({nr, nc});
        }
      }
    }
  return parts;
}

TEST_F(RegionOpsTest, BackgroundComponentsAreTheFourConnectedPartsOfTheRest) {
  // A diagonal line across the frame: 8-connected it is one line, and the
  // background on its two sides must stay two parts.
  PixelSet diagonal;
  for (int k = 0; k < 512; ++k) diagonal.insert({k, 511 - k});
  // Rings with holes, and random blobs split into two input regions.
  PixelSet ring = Box(100, 100, 140, 160);
  for (const Pixel& p : Box(110, 110, 130, 150)) ring.erase(p);
  const PixelSet blobs = RandomRegion(rng_, 300, 300, 60, 80, 25);
  for (const auto& inputs : std::vector<std::vector<PixelSet>>{
           {diagonal}, {ring, blobs}, {PixelSet()}, {Box(0, 0, 511, 511)}}) {
    PixelSet fg;
    for (const PixelSet& s : inputs) fg.insert(s.begin(), s.end());
    Vobject out;
    ASSERT_EQ(background_seg(AsObjects(inputs), &out), VRESULT_OK);
    EXPECT_EQ(PixelsOfAll(out), BackgroundComponents(fg));
  }
}

// The opening by a symmetric element: the union of its translates inside a.
PixelSet Opened(const PixelSet& a, const PixelSet& e) {
  PixelSet out;
  for (const Pixel& p : a)
    for (const Pixel& q : e) {
      const PixelSet placed = Translated(e, p.first - q.first, p.second - q.second);
      if (Inside(placed, a)) out.insert(placed.begin(), placed.end());
    }
  return out;
}

// The closing by a symmetric element: the points every translate holding
// them meets a; candidates lie within the element's reach of a.
PixelSet Closed(const PixelSet& a, const PixelSet& e) {
  PixelSet candidates;
  for (const Pixel& p : a)
    for (const Pixel& q : e) candidates.insert({p.first + q.first, p.second + q.second});
  PixelSet out;
  for (const Pixel& x : candidates) {
    bool all_meet = true;
    for (const Pixel& q : e) {
      const PixelSet placed = Translated(e, x.first - q.first, x.second - q.second);
      const bool meets = std::any_of(placed.begin(), placed.end(),
                                     [&](const Pixel& p) { return a.count(p) != 0; });
      if (!meets) {
        all_meet = false;
        break;
      }
    }
    if (all_meet) out.insert(x);
  }
  return out;
}

TEST_F(RegionOpsTest, FittingIsTheUnionOfTheOpenedAndClosedRegionPerElement) {
  // Bars centred on their middle pixel: symmetric, so mirroring them
  // changes nothing and the reference needs no reflection.
  const PixelSet across = Box(0, -2, 0, 2), down = Box(-2, 0, 2, 0);
  for (int round = 0; round < 3; ++round) {
    const PixelSet a = RandomRegion(rng_, 0, 0, 30, 34, 8);
    Vobject out;
    ASSERT_EQ(fitting(MakeRegion(a), AsObjects({across, down}), &out), VRESULT_OK);
    PixelSet expected = Closed(Opened(a, across), across);
    const PixelSet second = Closed(Opened(a, down), down);
    expected.insert(second.begin(), second.end());
    EXPECT_EQ(PixelsOf(out), expected) << "round " << round;
  }
  Vobject out;
  EXPECT_EQ(fitting(MakeRegion(Box(0, 0, 3, 3)), AsObjects({}), &out), VERR_OBJ_NUM(2));
  EXPECT_EQ(fitting(MakeRegion(Box(0, 0, 3, 3)), AsObjects({PixelSet()}), &out),
            VERR_EMPTY_OBJECT);
}

// Per-pixel values of the prototype features.
double ChessboardDistance(const PixelSet& a, const PixelSet& b) {
  if (a.empty() || b.empty()) return -1;
  int best = std::numeric_limits<int>::max();
  for (const Pixel& p : a)
    for (const Pixel& q : b)
      best = std::min(best, std::max(std::abs(p.first - q.first), std::abs(p.second - q.second)));
  return best;
}

double EuclideanDistance(const PixelSet& a, const PixelSet& b) {
  if (a.empty() || b.empty()) return -1;
  double best = std::numeric_limits<double>::max();
  for (const Pixel& p : a)
    for (const Pixel& q : b)
      best = std::min(best, std::hypot(p.first - q.first, p.second - q.second));
  return best;
}

double Shared(const PixelSet& a, const PixelSet& b) {
  return static_cast<double>(std::count_if(a.begin(), a.end(), [&](const Pixel& p) { return b.count(p) != 0; }));
}

bool Fits(const PixelSet& proto, const PixelSet& region) {
  for (const Pixel& p : region) {
    const Pixel& q = *proto.begin();
    if (Inside(Translated(proto, p.first - q.first, p.second - q.second), region)) return true;
  }
  return false;
}

TEST_F(RegionOpsTest, SelectShapeProtoKeepsTheRegionsWhoseFeatureAgainstThePrototypeIsInRange) {
  // The prototype is the union of two parts; regions near it, on it,
  // inside it and far from it, one empty.
  const PixelSet proto_a = Box(30, 30, 32, 32), proto_b = Box(30, 40, 31, 41);
  PixelSet proto = proto_a;
  proto.insert(proto_b.begin(), proto_b.end());
  std::vector<PixelSet> regions = {Box(29, 29, 40, 36), Box(35, 45, 36, 60), Box(0, 0, 2, 2),
                                   Box(31, 35, 31, 38), PixelSet()};
  for (int k = 0; k < 3; ++k) regions.push_back(RandomRegion(rng_, 20, 20, 30, 30, 4));
  const Vobject objects = AsObjects(regions), protos = AsObjects({proto_a, proto_b});
  struct Feature {
    const char* name;
    double (*value)(const PixelSet& region, const PixelSet& proto);
  };
  const Feature features[] = {
      {"distance_dilate", [](const PixelSet& r, const PixelSet& p) { return ChessboardDistance(r, p); }},
      {"distance_contour", [](const PixelSet& r, const PixelSet& p) { return EuclideanDistance(r, p); }},
      {"fits", [](const PixelSet& r, const PixelSet& p) { return Fits(p, r) ? 1.0 : 0.0; }},
      {"overlaps_abs", [](const PixelSet& r, const PixelSet& p) { return Shared(r, p); }},
      {"overlaps_rel",
       [](const PixelSet& r, const PixelSet& p) { return r.empty() ? 0.0 : 100.0 * Shared(r, p) / r.size(); }},
  };
  for (const Feature& f : features) {
    // Each region's own value must select exactly the regions with that
    // value, and a band around a middle value those within it.
    for (size_t i = 0; i < regions.size(); ++i) {
      const double v = f.value(regions[i], proto);
      Vobject picked;
      ASSERT_EQ(select_shape_proto(objects, protos, &picked, f.name, v - 1e-9, v + 1e-9), VRESULT_OK);
      std::vector<PixelSet> expected;
      for (const PixelSet& r : regions)
        if (std::fabs(f.value(r, proto) - v) <= 1e-9) expected.push_back(r);
      EXPECT_EQ(PixelsOfAll(picked), expected) << f.name << " region " << i;
    }
  }
  Vobject picked;
  EXPECT_EQ(select_shape_proto(objects, protos, &picked, "area", 0, 1), VERR_CTRL_VALUE(0));
  EXPECT_EQ(select_shape_proto(objects, AsObjects({}), &picked, "fits", 0, 1), VERR_OBJ_NUM(2));
}

TEST_F(RegionOpsTest, SelectRegionSpatialPairsCentresWithinFortyFiveDegreesOfTheDirection) {
  // Centres: the first set at (10, 10) and (50, 50); the second at
  // (10, 20), (20, 10), (0, 0) on the diagonal, (12, 30) and one empty.
  const std::vector<PixelSet> first = {Box(9, 9, 11, 11), Box(49, 49, 51, 51)};
  const std::vector<PixelSet> second = {Box(10, 19, 10, 21), Box(19, 10, 21, 10), Box(0, 0, 0, 0),
                                        Box(12, 30, 12, 30), PixelSet()};
  const auto pairs = [&](const char* direction) {
    VTuple i1, i2;
    EXPECT_EQ(select_region_spatial(AsObjects(first), AsObjects(second), direction, &i1, &i2),
              VRESULT_OK);
    std::vector<std::pair<Vlong, Vlong>> out;
    for (Vlong k = 0; k < i1.Num(); ++k) out.push_back({i1[k].L(), i2[k].L()});
    return out;
  };
  using P = std::vector<std::pair<Vlong, Vlong>>;
  EXPECT_EQ(pairs("right"), (P{{1, 1}, {1, 4}}));
  EXPECT_EQ(pairs("below"), (P{{1, 2}}));
  // From (50, 50) every centre lies up and left: (10, 20) and (12, 30)
  // more up than left, (20, 10) more left than up, (0, 0) on the diagonal.
  EXPECT_EQ(pairs("left"), (P{{1, 3}, {2, 2}, {2, 3}}));
  EXPECT_EQ(pairs("above"), (P{{1, 3}, {2, 1}, {2, 3}, {2, 4}}));
  VTuple i1, i2;
  EXPECT_EQ(select_region_spatial(AsObjects(first), AsObjects(second), "up", &i1, &i2),
            VERR_CTRL_VALUE(0));
}

VTuple Reals(std::initializer_list<double> values) {
  VTuple t;
  for (double v : values) t.Append(v);
  return t;
}

TEST_F(RegionOpsTest, HistogramRegionDrawsOneColumnPerBinFromTheBaseRow) {
  Vobject out;
  ASSERT_EQ(gen_region_histo(&out, Reals({3.0, 0.0, -2.0, 1.4}), 10, 5, 1.0), VRESULT_OK);
  PixelSet expected = Box(7, 5, 10, 5);
  expected.insert({10, 6});
  for (const Pixel& p : Box(10, 7, 12, 7)) expected.insert(p);
  for (const Pixel& p : Box(9, 8, 10, 8)) expected.insert(p);
  EXPECT_EQ(PixelsOf(out), expected);
  ASSERT_EQ(gen_region_histo(&out, Reals({2.0, 4.0}), 0, 0, 0.5), VRESULT_OK);
  EXPECT_EQ(PixelsOf(out), (PixelSet{{-1, 0}, {0, 0}, {-2, 1}, {-1, 1}, {0, 1}}));
  ASSERT_EQ(gen_region_histo(&out, VTuple(), 0, 0, 1.0), VRESULT_OK);
  EXPECT_TRUE(PixelsOf(out).empty());
  EXPECT_EQ(gen_region_histo(&out, Reals({1.0, std::nan("")}), 0, 0, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gen_region_histo(&out, Reals({1.0}), 0.5, 0, 1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(gen_region_histo(&out, Reals({1.0}), 0, 0, HUGE_VAL), VERR_CTRL_VALUE(3));
  EXPECT_EQ(gen_region_histo(&out, Reals({1e9}), 0, 0, 1e6), VERR_CTRL_VALUE(0));
  VTuple tall;
  for (int k = 0; k < 100; ++k) tall.Append(1e6);  // 10^8 pixels of bars
  EXPECT_EQ(gen_region_histo(&out, tall, 0, 0, 1.0), VERR_TOO_LARGE);
}

TEST_F(RegionOpsTest, HammingChangeFlipsExactlyTheGivenNumberOfPixelsInTheRectangle) {
  // The region reaches beyond the 20 x 15 rectangle, where nothing changes.
  const PixelSet in = RandomRegion(rng_, 0, 0, 25, 30, 6);
  const int width = 20, height = 15;
  for (const Vlong distance : {Vlong{0}, Vlong{1}, Vlong{37}, Vlong{150}, Vlong{299}, Vlong{300}}) {
    Vobject out;
    ASSERT_EQ(hamming_change_region(MakeRegion(in), &out, width, height, distance), VRESULT_OK);
    const PixelSet changed = PixelsOf(out);
    Vlong flipped = 0;
    for (int r = 0; r < 25; ++r)
      for (int c = 0; c < 30; ++c) {
        const bool differs = in.count({r, c}) != changed.count({r, c});
        if (r >= height || c >= width) {
          ASSERT_FALSE(differs) << "outside the rectangle at " << r << ", " << c;
        }
        flipped += differs;
      }
    EXPECT_EQ(flipped, distance);
  }
  Vobject out;
  EXPECT_EQ(hamming_change_region(MakeRegion(in), &out, width, height, 301), VERR_CTRL_VALUE(2));
  EXPECT_EQ(hamming_change_region(MakeRegion(in), &out, 0, height, 1), VERR_CTRL_VALUE(0));
}

// Two discs: the influence-zone lines keep off both, part them (in the
// box less the lines they lie in different 4-connected parts), cross the
// row of their centres halfway between them, and have no loose ends.
TEST_F(RegionOpsTest, InfluenceZoneLinesPartTheComponentsHalfwayBetweenThem) {
  PixelSet discs;
  for (int dr = -6; dr <= 6; ++dr)
    for (int dc = -6; dc <= 6; ++dc)
      if (dr * dr + dc * dc <= 36) discs.insert({20 + dr, 20 + dc}), discs.insert({20 + dr, 50 + dc});
  Vobject skiz;
  ASSERT_EQ(morph_skiz(MakeRegion(discs), &skiz, -1, -1), VRESULT_OK);
  const PixelSet lines = PixelsOf(skiz);
  ASSERT_FALSE(lines.empty());
  for (const Pixel& p : lines) EXPECT_FALSE(discs.count(p)) << p.first << "," << p.second;
  // Crossing the centre row halfway (column 35), give or take a pixel.
  bool crosses = false;
  for (int c = 34; c <= 36; ++c) crosses = crosses || lines.count({20, c});
  EXPECT_TRUE(crosses);
  // Flood the box (rows 13..27, columns 13..57, grown by one) from the
  // first disc's centre with 4-steps that avoid the lines.
  std::set<Pixel> seen{{20, 20}};
  std::deque<Pixel> todo{{20, 20}};
  while (!todo.empty()) {
    const Pixel p = todo.front();
    todo.pop_front();
    for (const auto& s : {Pixel{-1, 0}, Pixel{1, 0}, Pixel{0, -1}, Pixel{0, 1}}) {
      const Pixel q{p.first + s.first, p.second + s.second};
      if (q.first < 13 || q.first > 27 || q.second < 13 || q.second > 57) continue;
      if (lines.count(q) || !seen.insert(q).second) continue;
      todo.push_back(q);
    }
  }
  EXPECT_FALSE(seen.count({20, 50})) << "the lines do not part the discs";
  // No end points: every line pixel has at least two line neighbours.
  for (const Pixel& p : lines) {
    int n = 0;
    for (int dr = -1; dr <= 1; ++dr)
      for (int dc = -1; dc <= 1; ++dc) n += (dr || dc) && lines.count({p.first + dr, p.second + dc});
    EXPECT_GE(n, 2) << p.first << "," << p.second;
  }
  Vobject empty, out;
  ASSERT_EQ(gen_empty_region(&empty), VRESULT_OK);
  ASSERT_EQ(morph_skiz(empty, &out, -1, -1), VRESULT_OK);
  EXPECT_TRUE(PixelsOf(out).empty());
}

// A line of ten "characters" (6 x 12 pixel blocks, 9 pixels apart) at a
// known angle, and slanted strokes at a known slant: the searches find
// both within a hundredth of a radian.
TEST_F(RegionOpsTest, TextLineOrientationAndSlantFindTheAnglesOfSyntheticText) {
  Vobject image;
  ASSERT_EQ(gen_image_const(&image, "byte", 200, 200), VRESULT_OK);
  for (const double angle : {0.0, 0.15, -0.3}) {
    PixelSet text;
    for (int k = 0; k < 10; ++k)
      for (double u = -3; u <= 3; u += 0.25)      // along the line
        for (double v = -6; v <= 6; v += 0.25) {  // across it
          const double along = 9.0 * k + u;
          const double r = 100 - along * std::sin(angle) + v * std::cos(angle);
          const double c = 40 + along * std::cos(angle) + v * std::sin(angle);
          text.insert({static_cast<int>(std::lround(r)), static_cast<int>(std::lround(c))});
        }
    // An underline along the rows, far wider than a character, is left
    // out of the estimate.
    for (int c = 30; c < 150; ++c) text.insert({150, c});
    double found = 0;
    ASSERT_EQ(text_line_orientation(MakeRegion(text), image, 12, -0.5, 0.5, &found), VRESULT_OK);
    EXPECT_NEAR(found, angle, 0.01);
  }
  for (const double slant : {0.0, 0.3, -0.2}) {
    PixelSet strokes;
    for (int k = 0; k < 8; ++k)
      for (int r = 80; r < 100; ++r)
        for (int w = 0; w < 2; ++w)
          strokes.insert({r, static_cast<int>(std::lround(40 + 10 * k - (r - 90) * std::tan(slant))) + w});
    double found = 0;
    ASSERT_EQ(text_line_slant(MakeRegion(strokes), image, 20, -0.6, 0.6, &found), VRESULT_OK);
    EXPECT_NEAR(found, slant, 0.01);
  }
  double found = 0;
  EXPECT_EQ(text_line_slant(MakeRegion(Box(0, 0, 3, 3)), image, 20, 0.5, 0.1, &found), VERR_CTRL_VALUE(2));
  EXPECT_EQ(text_line_orientation(MakeRegion(Box(0, 0, 3, 3)), image, 0, -0.1, 0.1, &found), VERR_CTRL_VALUE(0));
}

}  // namespace
