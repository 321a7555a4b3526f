// Morphology operators called through the procedural functions, against
// per-pixel definitions on pixel sets: dilations, erosions, Minkowski
// operations with discs, rectangles and arbitrary elements at their
// reference points; openings and closings by their definitions (translates
// that fit; translates that meet), hats, boundaries, the segmenting
// opening; parameter errors; nothing left behind.
#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>

#include "region_pixelset_support.h"

namespace {

using namespace Vexa;
using namespace pixelset;

PixelSet AddRef(const PixelSet& a, const PixelSet& b) {
  PixelSet out;
  for (const Pixel& p : a)
    for (const Pixel& q : b) out.insert({p.first + q.first, p.second + q.second});
  return out;
}

// The points p with p + b inside a.
PixelSet FitRef(const PixelSet& a, const PixelSet& b) {
  PixelSet out;
  const Pixel b0 = *b.begin();
  for (const Pixel& p : a) {
    const Pixel cand{p.first - b0.first, p.second - b0.second};
    bool fits = true;
    for (const Pixel& q : b)
      fits = fits && a.count({cand.first + q.first, cand.second + q.second});
    if (fits) out.insert(cand);
  }
  return out;
}

PixelSet Mirror(const PixelSet& b) {
  PixelSet out;
  for (const Pixel& p : b) out.insert({-p.first, -p.second});
  return out;
}

PixelSet Minus(const PixelSet& a, const PixelSet& b) {
  PixelSet out;
  for (const Pixel& p : a)
    if (!b.count(p)) out.insert(p);
  return out;
}

// Union of the translates of b that lie inside a.
PixelSet OpeningRef(const PixelSet& a, const PixelSet& b) {
  PixelSet out;
  for (const Pixel& q : FitRef(a, b))
    for (const Pixel& p : b) out.insert({q.first + p.first, q.second + p.second});
  return out;
}

PixelSet Shift(const PixelSet& b, int dr, int dc);

// The points p such that every translate q + b holding p meets a: the
// complement of the opening of the complement. The complement is taken in
// a window wide enough that translates cut by its edge cannot reach the
// points kept (the closing lies within a + b' + b; b moved to hold the
// origin, which changes no translate).
PixelSet ClosingRef(const PixelSet& a, const PixelSet& element) {
  if (a.empty()) return {};
  const PixelSet b = Shift(element, -element.begin()->first, -element.begin()->second);
  int reach = 0;
  for (const Pixel& p : b) reach = std::max({reach, std::abs(p.first), std::abs(p.second)});
  int r1 = a.begin()->first, r2 = a.rbegin()->first, c1 = 1 << 30, c2 = -(1 << 30);
  for (const Pixel& p : a) c1 = std::min(c1, p.second), c2 = std::max(c2, p.second);
  const int m = 3 * reach + 2, keep = 2 * reach;
  PixelSet outside;
  for (int r = r1 - m; r <= r2 + m; ++r)
    for (int c = c1 - m; c <= c2 + m; ++c)
      if (!a.count({r, c})) outside.insert({r, c});
  const PixelSet open = OpeningRef(outside, b);
  PixelSet out;
  for (int r = r1 - keep; r <= r2 + keep; ++r)
    for (int c = c1 - keep; c <= c2 + keep; ++c)
      if (!open.count({r, c})) out.insert({r, c});
  return out;
}

PixelSet DiscRef(double radius) {
  PixelSet out;
  const int reach = static_cast<int>(radius) + 1;
  for (int r = -reach; r <= reach; ++r)
    for (int c = -reach; c <= reach; ++c)
      if (r * r + c * c <= radius * radius) out.insert({r, c});
  return out;
}

// Reference point: the centre for odd sizes, top left of it for even.
PixelSet RectRef(int width, int height) {
  PixelSet out;
  for (int r = -(height - 1) / 2; r <= height / 2; ++r)
    for (int c = -(width - 1) / 2; c <= width / 2; ++c) out.insert({r, c});
  return out;
}

PixelSet Shift(const PixelSet& b, int dr, int dc) {
  PixelSet out;
  for (const Pixel& p : b) out.insert({p.first + dr, p.second + dc});
  return out;
}

// Several random regions, one of them empty, as one object list.
struct Inputs {
  std::vector<PixelSet> sets;
  Vobject objects;
};

Inputs RandomInputs(std::mt19937& rng) {
  Inputs in;
  in.sets = {RandomRegion(rng, -3, -4, 30, 40, 10), RandomRegion(rng, 5, 7, 25, 20, 4),
             PixelSet{}, RandomRegion(rng, 0, 0, 12, 60, 30)};
  EXPECT_EQ(gen_empty_obj(&in.objects), VRESULT_OK);
  for (const PixelSet& s : in.sets) {
    Vobject next;
    EXPECT_EQ(concat_obj(in.objects, MakeRegion(s), &next), VRESULT_OK);
    in.objects = next;
  }
  return in;
}

using Call = std::function<unsigned(const Vobject& in, Vobject* out)>;
using Expect = std::function<PixelSet(const PixelSet& in)>;

void ExpectEachMatches(const Inputs& in, const Call& call, const Expect& expect) {
  Vobject out;
  ASSERT_EQ(call(in.objects, &out), VRESULT_OK);
  const std::vector<PixelSet> got = PixelsOfAll(out);
  ASSERT_EQ(got.size(), in.sets.size());
  for (size_t i = 0; i < got.size(); ++i) EXPECT_EQ(got[i], expect(in.sets[i])) << "region " << i;
}

using RegionPixels = std::function<PixelSet(const PixelSet&, const PixelSet&)>;

TEST_F(RegionOpsTest, CircleOperatorsMatchTheDiscDefinition) {
  const Inputs in = RandomInputs(rng_);
  for (double radius : {0.5, 1.0, 1.5, 2.5, 3.0, 4.2, 6.5}) {
    SCOPED_TRACE(radius);
    const PixelSet disc = DiscRef(radius);
    const struct {
      unsigned (*op)(const Vobject&, Vobject*, double);
      RegionPixels ref;
    } cases[] = {{dilation_circle, AddRef}, {erosion_circle, FitRef},
                 {opening_circle, OpeningRef}, {closing_circle, ClosingRef}};
    for (const auto& t : cases)
      ExpectEachMatches(
          in, [&](const Vobject& a, Vobject* out) { return t.op(a, out, radius); },
          [&](const PixelSet& a) { return t.ref(a, disc); });
  }
}

TEST_F(RegionOpsTest, RectangleOperatorsMatchTheBoxDefinition) {
  const Inputs in = RandomInputs(rng_);
  const int sizes[][2] = {{1, 1}, {3, 3}, {4, 2}, {2, 5}, {7, 1}, {1, 6}, {9, 4}};
  for (const auto& s : sizes) {
    SCOPED_TRACE(testing::Message() << s[0] << "x" << s[1]);
    const PixelSet box = RectRef(s[0], s[1]);
    const struct {
      unsigned (*op)(const Vobject&, Vobject*, Vlong, Vlong);
      RegionPixels ref;
    } cases[] = {
        {dilation_rectangle1, [](const PixelSet& a, const PixelSet& b) { return AddRef(a, Mirror(b)); }},
        {erosion_rectangle1, FitRef},
        {opening_rectangle1, OpeningRef},
        {closing_rectangle1, ClosingRef}};
    for (const auto& t : cases)
      ExpectEachMatches(
          in, [&](const Vobject& a, Vobject* out) { return t.op(a, out, s[0], s[1]); },
          [&](const PixelSet& a) { return t.ref(a, box); });
  }
}

// Random elements, placed anywhere, with their reference at the rounded
// centre of gravity (the *1 operators) or at a given point (the *2 ones).
TEST_F(RegionOpsTest, ElementOperatorsUseTheReferencePoint) {
  const Inputs in = RandomInputs(rng_);
  for (int round = 0; round < 6; ++round) {
    PixelSet element = RandomRegion(rng_, 100 + round, -50, 4, 5, 2);
    element.insert({100 + round, -48});
    const Vobject el = MakeRegion(element);
    double sr = 0, sc = 0;
    for (const Pixel& p : element) sr += p.first, sc += p.second;
    const int cr = static_cast<int>(std::llround(sr / element.size()));
    const int cc = static_cast<int>(std::llround(sc / element.size()));
    const PixelSet centred = Shift(element, -cr, -cc);
    const int rr = 101, rc = -49;  // the reference of the *2 operators
    const PixelSet at = Shift(element, -rr, -rc);
    auto iterate = [](PixelSet a, int n, const std::function<PixelSet(const PixelSet&)>& f) {
      for (int i = 0; i < n; ++i) a = f(a);
      return a;
    };
    for (int n : {0, 1, 2}) {
      SCOPED_TRACE(testing::Message() << "round " << round << " iterations " << n);
      const struct {
        unsigned (*op1)(const Vobject&, const Vobject&, Vobject*, Vlong);
        unsigned (*op2)(const Vobject&, const Vobject&, Vobject*, Vlong, Vlong, Vlong);
        RegionPixels ref;
      } cases[] = {
          {dilation1, dilation2, [](const PixelSet& a, const PixelSet& b) { return AddRef(a, Mirror(b)); }},
          {erosion1, erosion2, FitRef},
          {minkowski_add1, minkowski_add2, AddRef},
          {minkowski_sub1, minkowski_sub2, [](const PixelSet& a, const PixelSet& b) { return FitRef(a, Mirror(b)); }}};
      for (const auto& t : cases) {
        ExpectEachMatches(
            in, [&](const Vobject& a, Vobject* out) { return t.op1(a, el, out, n); },
            [&](const PixelSet& a) { return iterate(a, n, [&](const PixelSet& x) { return t.ref(x, centred); }); });
        ExpectEachMatches(
            in, [&](const Vobject& a, Vobject* out) { return t.op2(a, el, out, rr, rc, n); },
            [&](const PixelSet& a) { return iterate(a, n, [&](const PixelSet& x) { return t.ref(x, at); }); });
      }
    }
    const struct {
      unsigned (*op)(const Vobject&, const Vobject&, Vobject*);
      RegionPixels ref;
    } combined[] = {
        {opening, OpeningRef},
        {closing, ClosingRef},
        {top_hat, [](const PixelSet& a, const PixelSet& b) { return Minus(a, OpeningRef(a, b)); }},
        {bottom_hat, [](const PixelSet& a, const PixelSet& b) { return Minus(ClosingRef(a, b), a); }}};
    for (const auto& t : combined)
      ExpectEachMatches(
          in, [&](const Vobject& a, Vobject* out) { return t.op(a, el, out); },
          [&](const PixelSet& a) { return t.ref(a, element); });
  }
}

PixelSet Cross() { return {{-1, 0}, {0, -1}, {0, 0}, {0, 1}, {1, 0}}; }

// The holes of a: background pixels (4-connected) not joined to the frame
// of the bounding box grown by one.
PixelSet Filled(const PixelSet& a) {
  if (a.empty()) return a;
  int r1 = a.begin()->first, r2 = a.rbegin()->first, c1 = 1 << 30, c2 = -(1 << 30);
  for (const Pixel& p : a) c1 = std::min(c1, p.second), c2 = std::max(c2, p.second);
  PixelSet outside{{r1 - 1, c1 - 1}}, todo{{r1 - 1, c1 - 1}};
  while (!todo.empty()) {
    const Pixel p = *todo.begin();
    todo.erase(todo.begin());
    for (const Pixel& d : {Pixel{-1, 0}, Pixel{1, 0}, Pixel{0, -1}, Pixel{0, 1}}) {
      const Pixel q{p.first + d.first, p.second + d.second};
      if (q.first < r1 - 1 || q.first > r2 + 1 || q.second < c1 - 1 || q.second > c2 + 1 ||
          a.count(q) || outside.count(q))
        continue;
      outside.insert(q);
      todo.insert(q);
    }
  }
  PixelSet out;
  for (int r = r1; r <= r2; ++r)
    for (int c = c1; c <= c2; ++c)
      if (!outside.count({r, c})) out.insert({r, c});
  return out;
}

TEST_F(RegionOpsTest, BoundariesAndTheSegmentingOpening) {
  const Inputs in = RandomInputs(rng_);
  const struct {
    const char* type;
    Expect ref;
  } cases[] = {
      {"inner", [](const PixelSet& a) { return Minus(a, FitRef(a, Cross())); }},
      {"outer", [](const PixelSet& a) { return Minus(AddRef(a, Cross()), a); }},
      {"inner_filled", [](const PixelSet& a) {
         const PixelSet f = Filled(a);
         return Minus(f, FitRef(f, Cross()));
       }}};
  for (const auto& t : cases) {
    SCOPED_TRACE(t.type);
    ExpectEachMatches(
        in, [&](const Vobject& a, Vobject* out) { return boundary(a, out, t.type); }, t.ref);
  }
  // opening_seg: each 8-connected part of the erosion grown back alone,
  // parts in the order of their first pixel.
  const PixelSet square = RectRef(3, 3);
  Vobject el = MakeRegion(Shift(square, 7, 7)), out;
  ASSERT_EQ(opening_seg(in.objects, el, &out), VRESULT_OK);
  std::vector<PixelSet> want;
  for (const PixelSet& a : in.sets) {
    PixelSet rest = FitRef(a, square);
    while (!rest.empty()) {
      PixelSet part{*rest.begin()}, todo = part;
      rest.erase(rest.begin());
      while (!todo.empty()) {
        const Pixel p = *todo.begin();
        todo.erase(todo.begin());
        for (int dr = -1; dr <= 1; ++dr)
          for (int dc = -1; dc <= 1; ++dc)
            if (rest.erase({p.first + dr, p.second + dc})) {
              part.insert({p.first + dr, p.second + dc});
              todo.insert({p.first + dr, p.second + dc});
            }
      }
      want.push_back(AddRef(part, square));
    }
  }
  EXPECT_EQ(PixelsOfAll(out), want);
}

// One thinning step, pixel by pixel: remove the pixels whose 3 x 3 ring,
// turned by `turn` eighths, matches `ring` ('1' set, '0' unset).
PixelSet ThinRef(const PixelSet& a, const char* ring, int turn) {
  static const int rr[8] = {-1, -1, -1, 0, 1, 1, 1, 0}, cc[8] = {-1, 0, 1, 1, 1, 0, -1, -1};
  PixelSet out;
  for (const Pixel& p : a) {
    bool hit = true;
    for (int i = 0; i < 8; ++i) {
      const int k = (i + turn) % 8;
      const bool set = a.count({p.first + rr[k], p.second + cc[k]}) != 0;
      if ((ring[i] == '1' && !set) || (ring[i] == '0' && set)) hit = false;
    }
    if (!hit) out.insert(p);
  }
  return out;
}

PixelSet GolayPass(PixelSet a) {
  for (int turn = 0; turn < 8; ++turn) a = ThinRef(a, "000.111.", turn);
  return a;
}

TEST_F(RegionOpsTest, ThinningAndSkeletonFollowTheGolayElement) {
  const Inputs in = RandomInputs(rng_);
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return thinning_seq(a, out, "l", 2); },
      [](const PixelSet& a) { return GolayPass(GolayPass(a)); });
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return skeleton(a, out); },
      [](const PixelSet& a) {
        PixelSet cur = a, next = GolayPass(a);
        while (next != cur) cur = next, next = GolayPass(cur);
        return cur;
      });
  // The first rotation given as two elements around (50, 60), twice.
  const Vobject fg = MakeRegion({{50, 60}, {51, 59}, {51, 60}, {51, 61}});
  const Vobject bg = MakeRegion({{49, 59}, {49, 60}, {49, 61}});
  ExpectEachMatches(
      in, [&](const Vobject& a, Vobject* out) { return thinning(a, fg, bg, out, 50, 60, 2); },
      [](const PixelSet& a) { return ThinRef(ThinRef(a, "000.111.", 0), "000.111.", 0); });
  Vobject out;
  EXPECT_EQ(thinning_seq(in.objects, &out, "q", 1), VERR_CTRL_VALUE(0));
  // pruning: a spur of 3 pixels leaves a line of 40, whose ends grow back.
  PixelSet line, spur;
  for (int c = 0; c < 40; ++c) line.insert({10, c});
  spur = line;
  for (int r = 7; r <= 9; ++r) spur.insert({r, 20});
  ASSERT_EQ(pruning(MakeRegion(spur), &out, 5), VRESULT_OK);
  EXPECT_EQ(PixelsOf(out), line);
  ASSERT_EQ(pruning(MakeRegion(spur), &out, 0), VRESULT_OK);
  EXPECT_EQ(PixelsOf(out), spur);
  EXPECT_EQ(pruning(MakeRegion(spur), &out, -1), VERR_CTRL_VALUE(0));
}

TEST_F(RegionOpsTest, BadParametersGiveTheirCodes) {
  const Vobject a = MakeRegion({{0, 0}, {0, 1}, {3, 4}});
  const Vobject empty = MakeRegion({});
  Vobject two, out, image;
  ASSERT_EQ(concat_obj(a, a, &two), VRESULT_OK);
  EXPECT_EQ(dilation_circle(a, &out, 0.4), VERR_CTRL_VALUE(0));
  EXPECT_EQ(erosion_circle(a, &out, std::nan("")), VERR_CTRL_VALUE(0));
  EXPECT_EQ(dilation_circle(a, &out, 1e12), VERR_TOO_LARGE);
  EXPECT_EQ(dilation_circle(a, &out, VTuple("x")), VERR_CTRL_TYPE(0));
  EXPECT_EQ(opening_rectangle1(a, &out, 0, 3), VERR_CTRL_VALUE(0));
  EXPECT_EQ(closing_rectangle1(a, &out, 3, -1), VERR_CTRL_VALUE(1));
  EXPECT_EQ(dilation_rectangle1(a, &out, Vlong{1} << 40, 1), VERR_TOO_LARGE);
  EXPECT_EQ(dilation1(a, empty, &out, 1), VERR_EMPTY_OBJECT);
  EXPECT_EQ(dilation1(a, two, &out, 1), VERR_OBJ_NUM(2));
  EXPECT_EQ(erosion1(a, a, &out, -1), VERR_CTRL_VALUE(0));
  EXPECT_EQ(erosion1(a, a, &out, Vlong{1} << 40), VERR_TOO_LARGE);
  EXPECT_EQ(erosion2(a, a, &out, Vlong{1} << 40, 0, 1), VERR_CTRL_VALUE(0));
  EXPECT_EQ(boundary(a, &out, "sideways"), VERR_CTRL_VALUE(0));
  // Results beyond the coordinate range.
  const int big = std::numeric_limits<int32_t>::max() - 2;
  std::vector<vexa::Chord> edge{{big, 0, 0}};
  Vkey key = VKEY_UNDEF;
  ASSERT_EQ(vexa::db::NewRegion(vexa::Region::FromChords(edge), &key), VRESULT_OK);
  const Vobject far(key, 1);
  EXPECT_EQ(dilation_circle(far, &out, 5.0), VERR_TOO_LARGE);
  // An image stands for its domain; no input objects give no output.
  ASSERT_EQ(gen_image_const(&image, "byte", 6, 4), VRESULT_OK);
  ASSERT_EQ(erosion_rectangle1(image, &out, 3, 3), VRESULT_OK);
  EXPECT_EQ(PixelsOf(out), Shift(RectRef(4, 2), 1, 2));  // rows 1..2, columns 1..4
  Vobject none;
  ASSERT_EQ(gen_empty_obj(&none), VRESULT_OK);
  ASSERT_EQ(dilation_circle(none, &out, 2.0), VRESULT_OK);
  EXPECT_TRUE(PixelsOfAll(out).empty());
}


// The points p with p + fg inside a and p + bg outside it; only points
// whose p + fg meets a can hit, so the candidates come from a.
PixelSet HitOrMissRef(const PixelSet& a, const PixelSet& fg, const PixelSet& bg) {
  PixelSet out;
  for (const Pixel& p : FitRef(a, fg)) {
    bool misses = true;
    for (const Pixel& q : bg) misses = misses && !a.count({p.first + q.first, p.second + q.second});
    if (misses) out.insert(p);
  }
  return out;
}

PixelSet Union(PixelSet a, const PixelSet& b) {
  a.insert(b.begin(), b.end());
  return a;
}

// The two parts of a Golay letter, turned, around the origin.
std::pair<PixelSet, PixelSet> Letter(const char* name, Vlong rotation) {
  Vobject fg, bg;
  EXPECT_EQ(golay_elements(&fg, &bg, name, rotation, 0, 0), VRESULT_OK);
  return {PixelsOf(fg), PixelsOf(bg)};
}

TEST_F(RegionOpsTest, HitOrMissAndThickeningMatchTheirDefinitions) {
  const Inputs in = RandomInputs(rng_);
  // An L-shaped foreground around the reference (40, 30) and a background
  // that holds the reference itself, so that thickening adds pixels.
  const PixelSet fg_at = {{39, 30}, {39, 31}, {40, 31}};
  const PixelSet bg_at = {{40, 30}, {41, 29}};
  const PixelSet fg = Shift(fg_at, -40, -30), bg = Shift(bg_at, -40, -30);
  const Vobject fg_obj = MakeRegion(fg_at), bg_obj = MakeRegion(bg_at);
  ExpectEachMatches(
      in, [&](const Vobject& a, Vobject* out) { return hit_or_miss(a, fg_obj, bg_obj, out, 40, 30); },
      [&](const PixelSet& a) { return HitOrMissRef(a, fg, bg); });
  for (Vlong n : {0, 1, 3}) {
    SCOPED_TRACE(n);
    ExpectEachMatches(
        in, [&](const Vobject& a, Vobject* out) { return thickening(a, fg_obj, bg_obj, out, 40, 30, n); },
        [&](PixelSet a) {
          for (Vlong i = 0; i < n; ++i) a = Union(a, HitOrMissRef(a, fg, bg));
          return a;
        });
  }
  // The letters: golay_elements gives the parts that the letter operators
  // use, turned clockwise by the rotation.
  const auto [l_fg, l_bg] = Letter("l", 0);
  EXPECT_EQ(l_fg, (PixelSet{{0, 0}, {1, -1}, {1, 0}, {1, 1}}));
  EXPECT_EQ(l_bg, (PixelSet{{-1, -1}, {-1, 0}, {-1, 1}}));
  EXPECT_EQ(Letter("l", 90).second, (PixelSet{{-1, 1}, {0, 1}, {1, 1}}));
  for (Vlong rotation : {0, 135, 270}) {
    SCOPED_TRACE(rotation);
    const auto [f, b] = Letter("m", rotation);
    ExpectEachMatches(
        in, [&](const Vobject& a, Vobject* out) { return hit_or_miss_golay(a, out, "m", rotation); },
        [&](const PixelSet& a) { return HitOrMissRef(a, f, b); });
    // Thickening by a letter is the dual of thinning: the parts swap.
    ExpectEachMatches(
        in, [&](const Vobject& a, Vobject* out) { return thickening_golay(a, out, "m", rotation); },
        [&](const PixelSet& a) { return Union(a, HitOrMissRef(a, b, f)); });
  }
  const auto all_turns = [](const char* name, const std::function<PixelSet(PixelSet, const PixelSet&, const PixelSet&)>& step,
                            PixelSet a) {
    for (Vlong t = 0; t < 8; ++t) {
      const auto [f, b] = Letter(name, 45 * t);
      a = step(a, f, b);
    }
    return a;
  };
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return hit_or_miss_seq(a, out, "e"); },
      [&](const PixelSet& a) {
        return all_turns("e", [&](PixelSet acc, const PixelSet& f, const PixelSet& b) {
          return Union(acc, HitOrMissRef(a, f, b));
        }, {});
      });
  // thinning_seq with any letter: each pass thins with the eight turns.
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return thinning_seq(a, out, "m", 1); },
      [&](const PixelSet& a) {
        return all_turns("m", [](PixelSet x, const PixelSet& f, const PixelSet& b) {
          return Minus(x, HitOrMissRef(x, f, b));
        }, a);
      });
  // thickening_seq stops once a pass adds nothing.
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return thickening_seq(a, out, "l", 50); },
      [&](PixelSet a) {
        for (int pass = 0; pass < 50; ++pass) {
          const PixelSet next = all_turns("l", [](PixelSet x, const PixelSet& f, const PixelSet& b) {
            return Union(x, HitOrMissRef(x, b, f));
          }, a);
          if (next == a) break;
          a = next;
        }
        return a;
      });
}

TEST_F(RegionOpsTest, LetterMorphologyUsesTheForegroundPart) {
  const Inputs in = RandomInputs(rng_);
  const auto [f0, b0] = Letter("l", 0);
  const auto [f90, b90] = Letter("l", 90);
  for (Vlong n : {0, 2}) {
    ExpectEachMatches(
        in, [&](const Vobject& a, Vobject* out) { return dilation_golay(a, out, "l", n, 90); },
        [&](PixelSet a) {
          for (Vlong i = 0; i < n; ++i) a = AddRef(a, Mirror(f90));
          return a;
        });
    ExpectEachMatches(
        in, [&](const Vobject& a, Vobject* out) { return erosion_golay(a, out, "l", n, 0); },
        [&](PixelSet a) {
          for (Vlong i = 0; i < n; ++i) a = FitRef(a, f0);
          return a;
        });
  }
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return opening_golay(a, out, "l", 0); },
      [&](const PixelSet& a) { return OpeningRef(a, f0); });
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return closing_golay(a, out, "l", 90); },
      [&](const PixelSet& a) { return ClosingRef(a, f90); });
  // The *_seq forms: one pass goes through the eight turns in order.
  const auto pass = [](PixelSet a, bool grow) {
    for (Vlong t = 0; t < 8; ++t) {
      const PixelSet f = Letter("m", 45 * t).first;
      a = grow ? AddRef(a, Mirror(f)) : FitRef(a, f);
    }
    return a;
  };
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return dilation_seq(a, out, "m", 2); },
      [&](const PixelSet& a) { return pass(pass(a, true), true); });
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return erosion_seq(a, out, "m", 1); },
      [&](const PixelSet& a) { return pass(a, false); });
}

TEST_F(RegionOpsTest, MorphHatAndMorphSkeleton) {
  const Inputs in = RandomInputs(rng_);
  const PixelSet element = {{5, 5}, {5, 6}, {6, 5}, {7, 5}};
  const Vobject el = MakeRegion(element);
  ExpectEachMatches(
      in, [&](const Vobject& a, Vobject* out) { return morph_hat(a, el, out); },
      [&](const PixelSet& a) {
        return Union(Minus(a, OpeningRef(a, element)), Minus(ClosingRef(a, element), a));
      });
  // The skeleton of maximal squares, and the region rebuilt from it: each
  // skeleton point of order k, grown by the square of side 2k + 1.
  const PixelSet square = RectRef(3, 3);
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return morph_skeleton(a, out); },
      [&](const PixelSet& a) {
        PixelSet skeleton, rebuilt, eroded = a, grown = {{0, 0}};
        while (!eroded.empty()) {
          const PixelSet points = Minus(eroded, OpeningRef(eroded, square));
          skeleton = Union(skeleton, points);
          rebuilt = Union(rebuilt, AddRef(points, grown));
          eroded = FitRef(eroded, square);
          grown = AddRef(grown, square);
        }
        EXPECT_EQ(rebuilt, a);
        return skeleton;
      });
}

TEST_F(RegionOpsTest, RunFiltersAndTheRankRegion) {
  const Inputs in = RandomInputs(rng_);
  // The runs of a pixel set, by their first pixels.
  const auto runs_of = [](const PixelSet& a) {
    std::vector<std::pair<Pixel, int>> runs;
    for (const Pixel& p : a) {
      if (!runs.empty() && runs.back().first.first == p.first &&
          runs.back().first.second + runs.back().second == p.second)
        ++runs.back().second;
      else
        runs.push_back({p, 1});
    }
    return runs;
  };
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return eliminate_runs(a, out, 2, 4); },
      [&](const PixelSet& a) {
        PixelSet kept;
        for (const auto& [start, length] : runs_of(a))
          if (length >= 2 && length <= 4)
            for (int k = 0; k < length; ++k) kept.insert({start.first, start.second + k});
        return kept;
      });
  // Runs of 3, 1 and 3 pixels in row 0 with gaps of 2 and 4, one of 3 in
  // row 2.
  const Vobject rows = MakeRegion({{0, 0}, {0, 1}, {0, 2}, {0, 5}, {0, 10}, {0, 11}, {0, 12}, {2, 7}, {2, 8}, {2, 9}});
  VTuple fg, bg;
  ASSERT_EQ(runlength_distribution(rows, &fg, &bg), VRESULT_OK);
  const auto longs = [](const VTuple& t) {
    std::vector<Vlong> v;
    for (Vlong i = 0; i < t.Num(); ++i) v.push_back(t[i].L());
    return v;
  };
  EXPECT_EQ(longs(fg), (std::vector<Vlong>{0, 1, 0, 3}));
  EXPECT_EQ(longs(bg), (std::vector<Vlong>{0, 0, 1, 0, 1}));
  ASSERT_EQ(runlength_distribution(MakeRegion({}), &fg, &bg), VRESULT_OK);
  EXPECT_EQ(longs(fg), std::vector<Vlong>{0});
  EXPECT_EQ(longs(bg), std::vector<Vlong>{0});
  // rank_region against a count over the rectangle around each point.
  for (const auto& [width, height, number] : {std::array<Vlong, 3>{3, 3, 5}, {4, 2, 1}, {5, 3, 15}, {1, 1, 1}}) {
    SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << number);
    ExpectEachMatches(
        in, [&](const Vobject& a, Vobject* out) { return rank_region(a, out, width, height, number); },
        [&](const PixelSet& a) {
          const PixelSet window = RectRef(static_cast<int>(width), static_cast<int>(height));
          PixelSet out;
          for (const Pixel& p : AddRef(a, Mirror(window))) {
            Vlong count = 0;
            for (const Pixel& q : window) count += a.count({p.first + q.first, p.second + q.second});
            if (count >= number) out.insert(p);
          }
          return out;
        });
  }
}

TEST_F(RegionOpsTest, LetterAndRunOperatorsRefuseBadParameters) {
  const Vobject a = MakeRegion({{0, 0}, {0, 1}, {3, 4}});
  Vobject out, out2, two;
  ASSERT_EQ(concat_obj(a, a, &two), VRESULT_OK);
  EXPECT_EQ(hit_or_miss_golay(a, &out, "q", 0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(hit_or_miss_seq(a, &out, "q"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(thickening_golay(a, &out, "l", 30), VERR_CTRL_VALUE(1));
  EXPECT_EQ(golay_elements(&out, &out2, "l", 10, 0, 0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(dilation_golay(a, &out, "l", -1, 0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(erosion_seq(a, &out, "l", -2), VERR_CTRL_VALUE(1));
  EXPECT_EQ(thickening_seq(a, &out, "l", Vlong{1} << 40), VERR_TOO_LARGE);
  EXPECT_EQ(hit_or_miss(a, MakeRegion({}), a, &out, 0, 0), VERR_EMPTY_OBJECT);
  EXPECT_EQ(eliminate_runs(a, &out, -1, 3), VERR_CTRL_VALUE(0));
  EXPECT_EQ(eliminate_runs(a, &out, 1, -3), VERR_CTRL_VALUE(1));
  VTuple fg, bg;
  EXPECT_EQ(runlength_distribution(two, &fg, &bg), VERR_OBJ_NUM(1));
  EXPECT_EQ(rank_region(a, &out, 0, 3, 1), VERR_CTRL_VALUE(0));
  EXPECT_EQ(rank_region(a, &out, 3, -1, 1), VERR_CTRL_VALUE(1));
  EXPECT_EQ(rank_region(a, &out, 3, 3, 0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(rank_region(a, &out, 3, 3, 10), VERR_CTRL_VALUE(2));
  EXPECT_EQ(rank_region(a, &out, Vlong{1} << 40, 3, 1), VERR_TOO_LARGE);
}


TEST_F(RegionOpsTest, NoisePixelsAndSkeletonPoints) {
  const Inputs in = RandomInputs(rng_);
  const auto has = [](const PixelSet& a, int r, int c) { return a.count({r, c}) != 0; };
  const auto sides = [&](const PixelSet& a, const Pixel& p) {
    return has(a, p.first - 1, p.second) + has(a, p.first + 1, p.second) + has(a, p.first, p.second - 1) +
           has(a, p.first, p.second + 1);
  };
  const auto neighbours = [&](const PixelSet& a, const Pixel& p) {
    int n = 0;
    for (int dr = -1; dr <= 1; ++dr)
      for (int dc = -1; dc <= 1; ++dc) n += (dr != 0 || dc != 0) && has(a, p.first + dr, p.second + dc);
    return n;
  };
  const auto keep = [](const PixelSet& a, const std::function<bool(const Pixel&)>& test) {
    PixelSet out;
    for (const Pixel& p : a)
      if (test(p)) out.insert(p);
    return out;
  };
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return remove_noise_region(a, out, "n_4"); },
      [&](const PixelSet& a) { return keep(a, [&](const Pixel& p) { return sides(a, p) > 0; }); });
  ExpectEachMatches(
      in, [](const Vobject& a, Vobject* out) { return remove_noise_region(a, out, "n_48"); },
      [&](const PixelSet& a) {
        PixelSet cleaned = keep(a, [&](const Pixel& p) { return neighbours(a, p) > 0; }), out = cleaned;
        for (const Pixel& p : AddRef(cleaned, Cross()))
          if (!cleaned.count(p) && sides(cleaned, p) == 4) out.insert(p);
        return out;
      });
  Vobject out;
  EXPECT_EQ(remove_noise_region(in.objects, &out, "n_5"), VERR_CTRL_VALUE(0));
  // A T of two lines: three ends and the one junction.
  PixelSet t;
  for (int c = 0; c <= 20; ++c) t.insert({10, c});
  for (int r = 0; r < 10; ++r) t.insert({r, 10});
  Vobject ends, junctions;
  ASSERT_EQ(junctions_skeleton(MakeRegion(t), &ends, &junctions), VRESULT_OK);
  EXPECT_EQ(PixelsOf(ends), (PixelSet{{0, 10}, {10, 0}, {10, 20}}));
  EXPECT_EQ(PixelsOf(junctions), (PixelSet{{10, 10}}));
  // On random regions: ends as pruning strips them (a side neighbour with
  // nothing else but the corners beside it, or a corner alone), junctions
  // where the region begins three or more times around the pixel.
  ASSERT_EQ(junctions_skeleton(in.objects, &ends, &junctions), VRESULT_OK);
  const std::vector<PixelSet> got_ends = PixelsOfAll(ends), got_junctions = PixelsOfAll(junctions);
  ASSERT_EQ(got_ends.size(), in.sets.size());
  static const int rr[8] = {-1, -1, -1, 0, 1, 1, 1, 0}, cc[8] = {-1, 0, 1, 1, 1, 0, -1, -1};
  for (size_t i = 0; i < in.sets.size(); ++i) {
    const PixelSet& a = in.sets[i];
    PixelSet want_ends, want_junctions;
    for (const Pixel& p : a) {
      bool ring[8];
      for (int k = 0; k < 8; ++k) ring[k] = has(a, p.first + rr[k], p.second + cc[k]);
      int starts = 0;
      for (int k = 0; k < 8; ++k) starts += !ring[k] && ring[(k + 1) % 8];
      if (starts >= 3) want_junctions.insert(p);
      const int n = neighbours(a, p);
      for (int k = 0; k < 8; ++k) {
        const bool side = k % 2 == 1;
        const int beside = side ? ring[(k + 7) % 8] + ring[(k + 1) % 8] : 0;
        if (ring[k] && n == 1 + beside) want_ends.insert(p);
      }
    }
    EXPECT_EQ(got_ends[i], want_ends) << "region " << i;
    EXPECT_EQ(got_junctions[i], want_junctions) << "region " << i;
  }
}

}  // namespace
