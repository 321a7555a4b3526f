// Outlines, derived shapes, growing, distances and pattern generators of
// the region operators, against per-pixel references on random regions.
#include <cmath>
#include <set>

#include "region_algebra_support.h"

namespace {

using namespace Vexa;
using namespace region_algebra_test;

std::vector<Vlong> Longs(const VTuple& t) {
  std::vector<Vlong> v;
  for (Vlong i = 0; i < t.Num(); ++i) v.push_back(t[i].L());
  return v;
}

// The first 8-connected component of a random mask (the one holding its
// topmost-leftmost pixel), as a mask.
Mask FirstComponent(const Vobject& obj) {
  Vobject parts, first;
  EXPECT_EQ(connection(obj, &parts), VRESULT_OK);
  EXPECT_EQ(select_obj(parts, &first, 1), VRESULT_OK);
  return ToMask(*RegionsOf(first).at(0), -3, -4, 40, 50);
}

// Border pixels of a mask: set pixels with an unset 4-neighbour.
bool IsBorder(const Mask& m, int r, int c) {
  return m.Get(r, c) && (!m.Get(r - 1, c) || !m.Get(r + 1, c) || !m.Get(r, c - 1) || !m.Get(r, c + 1));
}

TEST_F(RegionOpsTest, ContourAndChainWalkTheOuterBorder) {
  constexpr int kStepR[8] = {0, -1, -1, -1, 0, 1, 1, 1};
  constexpr int kStepC[8] = {1, 1, 0, -1, -1, -1, 0, 1};
  for (int round = 0; round < 15; ++round) {
    const Vobject obj = ToObject(RandomMask(rng_));
    const Mask comp = FirstComponent(obj);
    VTuple rows, cols, chain;
    Vlong r0 = 0, c0 = 0;
    ASSERT_EQ(get_region_contour(obj, &rows, &cols), VRESULT_OK);
    VTuple tr, tc;
    ASSERT_EQ(get_region_chain(obj, &tr, &tc, &chain), VRESULT_OK);
    r0 = tr[0].L(), c0 = tc[0].L();
    const auto rs = Longs(rows), cs = Longs(cols), codes = Longs(chain);
    ASSERT_FALSE(rs.empty());
    EXPECT_EQ(rs[0], r0);
    EXPECT_EQ(cs[0], c0);
    // Every contour pixel is a border pixel of the component, each step
    // is the chain code's step, and the chain returns to its start.
    ASSERT_EQ(codes.size(), rs.size() == 1 ? 0u : rs.size());
    Vlong r = r0, c = c0;
    for (size_t i = 0; i < codes.size(); ++i) {
      EXPECT_EQ(r, rs[i]);
      EXPECT_EQ(c, cs[i]);
      EXPECT_TRUE(IsBorder(comp, static_cast<int>(r), static_cast<int>(c)));
      r += kStepR[codes[i]], c += kStepC[codes[i]];
    }
    EXPECT_EQ(r, r0);
    EXPECT_EQ(c, c0);
  }
}

TEST_F(RegionOpsTest, OuterBorderOfAFilledShapeIsEveryBorderPixel) {
  Vobject ellipse;
  ASSERT_EQ(gen_ellipse(&ellipse, 20.3, 20.6, 0.4, 14.2, 8.1), VRESULT_OK);
  const Mask m = ToMask(*RegionsOf(ellipse).at(0), -3, -4, 50, 50);
  VTuple rows, cols;
  ASSERT_EQ(get_region_contour(ellipse, &rows, &cols), VRESULT_OK);
  std::set<std::pair<Vlong, Vlong>> got;
  for (Vlong i = 0; i < rows.Num(); ++i) got.insert({rows[i].L(), cols[i].L()});
  std::set<std::pair<Vlong, Vlong>> want;
  m.ForEach([&](int r, int c) {
    if (IsBorder(m, r, c)) want.insert({r, c});
  });
  EXPECT_EQ(got, want);
}

TEST_F(RegionOpsTest, HullShapesEncloseTheRegion) {
  for (int round = 0; round < 10; ++round) {
    const Mask m = RandomMask(rng_);
    const Vobject obj = ToObject(m);
    // Every pixel lies on the inner side of every hull edge.
    VTuple hr, hc;
    ASSERT_EQ(get_region_convex(obj, &hr, &hc), VRESULT_OK);
    const auto rs = Longs(hr), cs = Longs(hc);
    ASSERT_GE(rs.size(), 4u);
    EXPECT_EQ(rs.front(), rs.back());
    m.ForEach([&](int r, int c) {
      for (size_t i = 0; i + 1 < rs.size(); ++i) {
        const double cross = double(cs[i + 1] - cs[i]) * (rs[i] - r) - double(rs[i] - rs[i + 1]) * (c - cs[i]);
        ASSERT_GE(cross, 0) << r << "," << c;
      }
    });
    // Every derived shape holds the region; the convex one is the
    // smallest of them.
    Vlong subset = 0;
    std::vector<Vlong> areas;
    for (const char* type : {"convex", "rectangle1", "rectangle2", "outer_circle"}) {
      Vobject shape;
      ASSERT_EQ(shape_trans(obj, &shape, type), VRESULT_OK);
      ASSERT_EQ(test_subset_region(obj, shape, &subset), VRESULT_OK);
      EXPECT_EQ(subset, 1) << type;
      areas.push_back(RegionsOf(shape).at(0)->area());
    }
    EXPECT_LE(areas[0], areas[1]);
    EXPECT_LE(areas[0], areas[2]);
    EXPECT_LE(areas[2], areas[1] + 2 * (40 + 50));  // rounding at the sides
    // The polygon's vertices are border pixels of the first component.
    VTuple pr, pc;
    ASSERT_EQ(get_region_polygon(obj, 1.5, &pr, &pc), VRESULT_OK);
    const Mask comp = FirstComponent(obj);
    for (Vlong i = 0; i < pr.Num(); ++i)
      EXPECT_TRUE(IsBorder(comp, static_cast<int>(pr[i].L()), static_cast<int>(pc[i].L())));
  }
  Vobject shape;
  EXPECT_EQ(shape_trans(ToObject(RandomMask(rng_)), &shape, "star"), VERR_CTRL_VALUE(0));
}

// Both transforms against a search over every pixel: the distance to the
// nearest source, and for closest_point_transform a source pixel at
// exactly that distance, given as coordinates or as an offset.
TEST_F(RegionOpsTest, DistanceAndClosestPointTransformsMatchBruteForce) {
  const Mask m = RandomMask(rng_, 0, 0, 20, 24, 6);
  const Vobject obj = ToObject(m);
  struct Case {
    const char* metric;
    double (*dist)(int, int);
  } cases[] = {
      {"city-block", [](int dr, int dc) { return double(std::abs(dr) + std::abs(dc)); }},
      {"chessboard", [](int dr, int dc) { return double(std::max(std::abs(dr), std::abs(dc))); }},
      {"euclidean", [](int dr, int dc) { return std::hypot(dr, dc); }},
  };
  const auto value = [](const vexa::PixelBuffer* px, bool real, size_t i) {
    return real ? reinterpret_cast<const float*>(px->data())[i]
                : reinterpret_cast<const int32_t*>(px->data())[i];
  };
  for (const Case& t : cases)
    for (const char* fg : {"true", "false"}) {
      SCOPED_TRACE(std::string(t.metric) + " " + fg);
      Vobject image, closest[2], points[2];
      ASSERT_EQ(distance_transform(obj, &image, t.metric, fg, 24, 20), VRESULT_OK);
      ASSERT_EQ(closest_point_transform(obj, &closest[0], &points[0], t.metric, fg, "absolute", 24, 20),
                VRESULT_OK);
      ASSERT_EQ(closest_point_transform(obj, &closest[1], &points[1], t.metric, fg, "relative", 24, 20),
                VRESULT_OK);
      vexa::db::ImageData img, dist[2], at[2];
      ASSERT_EQ(vexa::db::GetImage(image.Id(), &img), VRESULT_OK);
      for (int k = 0; k < 2; ++k) {
        ASSERT_EQ(vexa::db::GetImage(closest[k].Id(), &dist[k]), VRESULT_OK);
        ASSERT_EQ(vexa::db::GetImage(points[k].Id(), &at[k]), VRESULT_OK);
        ASSERT_EQ(at[k].channels.size(), 2u);
      }
      const bool real = std::string(t.metric) == "euclidean";
      const bool source_is_set = std::string(fg) == "false";
      for (int r = 0; r < 20; ++r)
        for (int c = 0; c < 24; ++c) {
          double best = 24 + 20;
          for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 24; ++x)
              if (m.Get(y, x) == source_is_set) best = std::min(best, t.dist(y - r, x - c));
          const size_t i = static_cast<size_t>(r) * 24 + c;
          ASSERT_NEAR(value(img.channels[0], real, i), best, 1e-5) << r << "," << c;
          for (int k = 0; k < 2; ++k) {
            ASSERT_EQ(value(dist[k].channels[0], real, i), value(img.channels[0], real, i));
            int sr = static_cast<int>(value(at[k].channels[0], false, i));
            int sc = static_cast<int>(value(at[k].channels[1], false, i));
            if (k == 1) sr += r, sc += c;
            ASSERT_TRUE(sr >= 0 && sr < 20 && sc >= 0 && sc < 24) << r << "," << c;
            EXPECT_EQ(m.Get(sr, sc), source_is_set) << "not a source, for " << r << "," << c;
            EXPECT_NEAR(t.dist(sr - r, sc - c), best, 1e-9) << "not nearest, for " << r << "," << c;
          }
        }
    }
  // Without any source pixel there is no closest point.
  Vobject empty, closest, points;
  ASSERT_EQ(gen_empty_region(&empty), VRESULT_OK);
  ASSERT_EQ(closest_point_transform(empty, &closest, &points, "chessboard", "false", "absolute", 5, 4),
            VRESULT_OK);
  vexa::db::ImageData none;
  ASSERT_EQ(vexa::db::GetImage(points.Id(), &none), VRESULT_OK);
  EXPECT_EQ(none.channels[0]->Get(3, 4), -1);
  EXPECT_EQ(none.channels[1]->Get(0, 0), -1);
  Vobject image;
  EXPECT_EQ(distance_transform(obj, &image, "octagonal", "true", 24, 20), VERR_CTRL_VALUE(0));
  EXPECT_EQ(distance_transform(obj, &image, "euclidean", "maybe", 24, 20), VERR_CTRL_VALUE(1));
  EXPECT_EQ(closest_point_transform(obj, &image, &closest, "euclidean", "true", "polar", 24, 20),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(closest_point_transform(obj, &image, &closest, "euclidean", "true", "absolute", 0, 20),
            VERR_CTRL_VALUE(3));
}

TEST_F(RegionOpsTest, ExpandRegionGrowsStepByStepAndLeavesTiesFree) {
  // Seeds grow within their common bounding box around a forbidden bar;
  // the reference takes, step by step, every free pixel that exactly one
  // region touches by an edge.
  for (const Vlong iterations : {Vlong{3}, Vlong{-1}}) {
    std::vector<Mask> seeds(3, Mask(0, 0, 16, 26));
    seeds[0].Set(3, 4), seeds[1].Set(14, 25), seeds[2].Set(0, 20), seeds[2].Set(1, 20);
    const auto forbidden = [](int r, int c) { return r >= 8 && r <= 9 && c >= 10; };
    std::vector<Mask> want = seeds;
    for (Vlong step = 0; iterations < 0 || step < iterations; ++step) {
      std::vector<std::pair<int, std::pair<int, int>>> taken;
      for (int r = 0; r <= 14; ++r)
        for (int c = 4; c <= 25; ++c) {
          bool used = forbidden(r, c);
          for (const Mask& w : want) used = used || w.Get(r, c);
          if (used) continue;
          int who = -1, count = 0;
          for (size_t i = 0; i < want.size(); ++i)
            if (want[i].Get(r - 1, c) || want[i].Get(r + 1, c) || want[i].Get(r, c - 1) || want[i].Get(r, c + 1))
              who = static_cast<int>(i), ++count;
          if (count == 1) taken.push_back({who, {r, c}});
        }
      if (taken.empty()) break;
      for (const auto& t : taken) want[t.first].Set(t.second.first, t.second.second);
    }
    Vobject bar, grown;
    ASSERT_EQ(gen_rectangle1(&bar, 8, 10, 9, 30), VRESULT_OK);
    const VTuple it = iterations < 0 ? VTuple("maximal") : VTuple(iterations);
    ASSERT_EQ(expand_region(ToObjects(seeds), bar, &grown, it, VTuple("region")), VRESULT_OK);
    const auto regions = RegionsOf(grown);
    ASSERT_EQ(regions.size(), 3u);
    for (size_t i = 0; i < 3; ++i) ExpectRegionIs(*regions[i], want[i]);
  }
}

TEST_F(RegionOpsTest, PatternsAndHolesByFeature) {
  Vobject checker, grid, points, line, random1, random2, shapes;
  ASSERT_EQ(gen_checker_region(&checker, 23, 17, 4, 3), VRESULT_OK);
  ExpectRegionIs(*RegionsOf(checker).at(0), [] {
    Mask m(0, 0, 17, 23);
    for (int r = 0; r < 17; ++r)
      for (int c = 0; c < 23; ++c) m.Set(r, c, (r / 3 + c / 4) % 2 == 0);
    return m;
  }());
  ASSERT_EQ(gen_grid_region(&grid, 5, 0, "lines", 12, 11), VRESULT_OK);
  ASSERT_EQ(gen_grid_region(&points, 5, 4, "points", 12, 11), VRESULT_OK);
  Mask g(0, 0, 11, 12), p(0, 0, 11, 12);
  for (int r = 0; r < 11; ++r)
    for (int c = 0; c < 12; ++c) g.Set(r, c, r % 5 == 0), p.Set(r, c, r % 5 == 0 && c % 4 == 0);
  ExpectRegionIs(*RegionsOf(grid).at(0), g);
  ExpectRegionIs(*RegionsOf(points).at(0), p);
  EXPECT_EQ(gen_grid_region(&grid, 5, 0, "points", 12, 11), VERR_CTRL_VALUE(1));

  const double theta = 0.7, dist = 40.3;
  ASSERT_EQ(gen_region_hline(&line, theta, dist), VRESULT_OK);
  Mask h(0, 0, 512, 512);
  for (int r = 0; r < 512; ++r)
    for (int c = 0; c < 512; ++c) {
      const double e = c * std::cos(theta) - r * std::sin(theta) - dist;
      h.Set(r, c, e >= -0.5 && e < 0.5);
    }
  ExpectRegionIs(*RegionsOf(line).at(0), h);

  VSrand48(42);
  ASSERT_EQ(gen_random_region(&random1, 64, 48), VRESULT_OK);
  VSrand48(42);
  ASSERT_EQ(gen_random_region(&random2, 64, 48), VRESULT_OK);
  const vexa::Region& ra = *RegionsOf(random1).at(0);
  EXPECT_TRUE(ra == *RegionsOf(random2).at(0));
  EXPECT_NEAR(ra.area(), 64 * 48 / 2, 200);
  ASSERT_EQ(gen_random_regions(&shapes, "ellipse", 2, 5, 1, 3, -1, 1, 12, 100, 80), VRESULT_OK);
  for (const auto& s : RegionsOf(shapes)) {
    EXPECT_GT(s->area(), 0);
    EXPECT_TRUE(s->row() >= -1 && s->row() <= 80 && s->col() >= -1 && s->col() <= 100);
  }
  EXPECT_EQ(RegionsOf(shapes).size(), 12u);

  // Holes of area 1 and 9 in a block: area in [1, 4] fills only the small.
  Mask block(0, 0, 12, 12);
  for (int r = 0; r < 12; ++r)
    for (int c = 0; c < 12; ++c) block.Set(r, c, !(r == 2 && c == 2) && !(r >= 6 && r <= 8 && c >= 6 && c <= 8));
  Vobject filled;
  ASSERT_EQ(fill_up_shape(ToObject(block), &filled, "area", 1, 4), VRESULT_OK);
  Mask want = block;
  want.Set(2, 2);
  ExpectRegionIs(*RegionsOf(filled).at(0), want);
  EXPECT_EQ(fill_up_shape(ToObject(block), &filled, "weight", 1, 4), VERR_CTRL_VALUE(0));
}

}  // namespace
