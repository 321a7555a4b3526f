// Shape features called through the procedural functions, against sums
// and searches over the pixels of random regions: moments, ellipse,
// bounding box, holes and components, convex measures, enclosing and
// inscribed circles, diameter, rotated rectangle; contour length of known
// shapes; region_features agrees with the single operators.
#include <algorithm>
#include <cmath>

#include "region_pixelset_support.h"

namespace {

using namespace Vexa;
using namespace pixelset;

struct Sums {
  double area = 0, row = 0, col = 0;
  double m[4][4] = {};  // m[p][q] = sum dr^p dc^q
};

Sums SumsOf(const PixelSet& s) {
  Sums out;
  for (const Pixel& p : s) out.area += 1, out.row += p.first, out.col += p.second;
  out.row /= out.area;
  out.col /= out.area;
  for (const Pixel& p : s)
    for (int i = 0; i < 4; ++i)
      for (int j = 0; i + j < 4; ++j)
        out.m[i][j] += std::pow(p.first - out.row, i) * std::pow(p.second - out.col, j);
  return out;
}

std::vector<PixelSet> Samples(std::mt19937& rng, int h, int w, int blobs) {
  std::vector<PixelSet> out;
  for (int i = 0; i < 8; ++i) {
    PixelSet s = RandomRegion(rng, -5 + i, 3 * i, h, w, blobs);
    if (s.empty()) s.insert({0, 0});
    out.push_back(s);
  }
  return out;
}

TEST_F(RegionOpsTest, MomentsAndEllipseMatchPixelSums) {
  const std::vector<PixelSet> sets = Samples(rng_, 30, 40, 8);
  const Vobject obj = AsObjects(sets);
  VTuple m11, m20, m02, ia, ib, i11, i20, i02, m21, m12, m03, m30, j21, j12, j03, j30, ra, rb, phi;
  ASSERT_EQ(moments_region_2nd(obj, &m11, &m20, &m02, &ia, &ib), VRESULT_OK);
  ASSERT_EQ(moments_region_2nd_invar(obj, &i11, &i20, &i02), VRESULT_OK);
  ASSERT_EQ(moments_region_3rd(obj, &m21, &m12, &m03, &m30), VRESULT_OK);
  ASSERT_EQ(moments_region_3rd_invar(obj, &j21, &j12, &j03, &j30), VRESULT_OK);
  ASSERT_EQ(elliptic_axis(obj, &ra, &rb, &phi), VRESULT_OK);
  ASSERT_EQ(m11.Num(), static_cast<Vlong>(sets.size()));
  for (size_t k = 0; k < sets.size(); ++k) {
    const Sums s = SumsOf(sets[k]);
    const Vlong i = static_cast<Vlong>(k);
    const double a = s.area, a25 = std::pow(a, 2.5);
    EXPECT_NEAR(m11[i].D(), s.m[1][1] / a, 1e-9);
    EXPECT_NEAR(m20[i].D(), s.m[2][0] / a, 1e-9);
    EXPECT_NEAR(m02[i].D(), s.m[0][2] / a, 1e-9);
    EXPECT_NEAR(i20[i].D(), s.m[2][0] / (a * a), 1e-9);
    EXPECT_NEAR(m21[i].D(), s.m[2][1] / a, 1e-9);
    EXPECT_NEAR(m12[i].D(), s.m[1][2] / a, 1e-9);
    EXPECT_NEAR(m03[i].D(), s.m[0][3] / a, 1e-9);
    EXPECT_NEAR(m30[i].D(), s.m[3][0] / a, 1e-9);
    EXPECT_NEAR(j21[i].D(), s.m[2][1] / a25, 1e-9);
    // Principal values and the ellipse: eigenvalues of the covariance.
    const double c20 = s.m[2][0] / a, c02 = s.m[0][2] / a, c11 = s.m[1][1] / a;
    const double root = std::sqrt((c20 - c02) * (c20 - c02) / 4 + c11 * c11);
    EXPECT_NEAR(ia[i].D(), (c20 + c02) / 2 + root, 1e-9);
    EXPECT_NEAR(ib[i].D(), std::max(0.0, (c20 + c02) / 2 - root), 1e-9);
    EXPECT_NEAR(ra[i].D(), 2 * std::sqrt((c20 + c02) / 2 + root), 1e-9);
    // The major axis direction (column cos phi, row -sin phi) is an
    // eigenvector of the covariance for the larger value.
    const double vr = -std::sin(phi[i].D()), vc = std::cos(phi[i].D());
    EXPECT_NEAR(c20 * vr + c11 * vc, ia[i].D() * vr, 1e-9);
    EXPECT_NEAR(c11 * vr + c02 * vc, ia[i].D() * vc, 1e-9);
  }
}

// Components (8-connected) and holes (4-connected background parts that do
// not reach beyond the bounding box), by flood fill.
void Topology(const PixelSet& s, Vlong* components, Vlong* holes, Vlong* hole_area) {
  int r1 = s.begin()->first, r2 = s.rbegin()->first, c1 = 1 << 30, c2 = -(1 << 30);
  for (const Pixel& p : s) c1 = std::min(c1, p.second), c2 = std::max(c2, p.second);
  auto flood = [](PixelSet* rest, Pixel seed, bool eight) {
    PixelSet todo{seed};
    rest->erase(seed);
    while (!todo.empty()) {
      const Pixel p = *todo.begin();
      todo.erase(todo.begin());
      for (int dr = -1; dr <= 1; ++dr)
        for (int dc = -1; dc <= 1; ++dc) {
          if (!eight && dr != 0 && dc != 0) continue;
          if (rest->erase({p.first + dr, p.second + dc})) todo.insert({p.first + dr, p.second + dc});
        }
    }
  };
  PixelSet rest = s;
  *components = 0;
  while (!rest.empty()) flood(&rest, *rest.begin(), true), ++*components;
  PixelSet back;
  for (int r = r1 - 1; r <= r2 + 1; ++r)
    for (int c = c1 - 1; c <= c2 + 1; ++c)
      if (!s.count({r, c})) back.insert({r, c});
  flood(&back, {r1 - 1, c1 - 1}, false);  // the outside
  *hole_area = static_cast<Vlong>(back.size());
  *holes = 0;
  while (!back.empty()) flood(&back, *back.begin(), false), ++*holes;
}

TEST_F(RegionOpsTest, TopologyAndBoxMatchFloodFills) {
  const std::vector<PixelSet> sets = Samples(rng_, 25, 30, 14);
  const Vobject obj = AsObjects(sets);
  VTuple conn, holes, euler, area, r1, c1, r2, c2;
  ASSERT_EQ(connect_and_holes(obj, &conn, &holes), VRESULT_OK);
  ASSERT_EQ(euler_number(obj, &euler), VRESULT_OK);
  ASSERT_EQ(area_holes(obj, &area), VRESULT_OK);
  ASSERT_EQ(smallest_rectangle1(obj, &r1, &c1, &r2, &c2), VRESULT_OK);
  for (size_t k = 0; k < sets.size(); ++k) {
    const Vlong i = static_cast<Vlong>(k);
    Vlong n, h, ha;
    Topology(sets[k], &n, &h, &ha);
    EXPECT_EQ(conn[i].L(), n);
    EXPECT_EQ(holes[i].L(), h);
    EXPECT_EQ(euler[i].L(), n - h);
    EXPECT_EQ(area[i].L(), ha);
    int minc = 1 << 30, maxc = -(1 << 30);
    for (const Pixel& p : sets[k]) minc = std::min(minc, p.second), maxc = std::max(maxc, p.second);
    EXPECT_EQ(r1[i].L(), sets[k].begin()->first);
    EXPECT_EQ(r2[i].L(), sets[k].rbegin()->first);
    EXPECT_EQ(c1[i].L(), minc);
    EXPECT_EQ(c2[i].L(), maxc);
  }
}

double D(const Pixel& a, double r, double c) { return std::hypot(a.first - r, a.second - c); }

// Small regions, so that the searches over pixel pairs and triples stay
// quick: diameter, enclosing circle, rotated rectangle, inscribed disc.
TEST_F(RegionOpsTest, ExtremalShapesMatchSearchesOverThePixels) {
  std::vector<PixelSet> sets;
  for (int i = 0; i < 10; ++i) {
    PixelSet s = RandomRegion(rng_, i, -i, 6, 7, 2);
    if (s.empty()) s.insert({i, -i});
    sets.push_back(s);
  }
  sets.push_back({{4, 4}});
  const Vobject obj = AsObjects(sets);
  VTuple dr1, dc1, dr2, dc2, diam, cr, cc, rad, rr, rc, rphi, l1, l2, ir, ic, irad;
  ASSERT_EQ(diameter_region(obj, &dr1, &dc1, &dr2, &dc2, &diam), VRESULT_OK);
  ASSERT_EQ(smallest_circle(obj, &cr, &cc, &rad), VRESULT_OK);
  ASSERT_EQ(smallest_rectangle2(obj, &rr, &rc, &rphi, &l1, &l2), VRESULT_OK);
  ASSERT_EQ(inner_circle(obj, &ir, &ic, &irad), VRESULT_OK);
  for (size_t k = 0; k < sets.size(); ++k) {
    SCOPED_TRACE(k);
    const PixelSet& s = sets[k];
    const Vlong i = static_cast<Vlong>(k);
    const std::vector<Pixel> px(s.begin(), s.end());
    double best = 0;
    for (const Pixel& a : px)
      for (const Pixel& b : px) best = std::max(best, D(a, b.first, b.second));
    EXPECT_NEAR(diam[i].D(), best, 1e-9);
    EXPECT_NEAR(D({static_cast<int>(dr1[i].L()), static_cast<int>(dc1[i].L())}, dr2[i].L(), dc2[i].L()), best, 1e-9);
    // Enclosing circle: the smallest circle over two or three pixels
    // that holds them all.
    double smallest = 1e300;
    auto consider = [&](double r, double c, double radius) {
      for (const Pixel& p : px)
        if (D(p, r, c) > radius + 1e-9) return;
      smallest = std::min(smallest, radius);
    };
    for (const Pixel& a : px)
      for (const Pixel& b : px) {
        consider((a.first + b.first) / 2.0, (a.second + b.second) / 2.0, D(a, b.first, b.second) / 2);
        for (const Pixel& c : px) {
          const double ax = a.second, ay = a.first, bx = b.second, by = b.first, cx = c.second, cy = c.first;
          const double d = 2 * (ax * (by - cy) + bx * (cy - ay) + cx * (ay - by));
          if (d == 0) continue;
          const double ux = ((ax * ax + ay * ay) * (by - cy) + (bx * bx + by * by) * (cy - ay) +
                             (cx * cx + cy * cy) * (ay - by)) / d;
          const double uy = ((ax * ax + ay * ay) * (cx - bx) + (bx * bx + by * by) * (ax - cx) +
                             (cx * cx + cy * cy) * (bx - ax)) / d;
          consider(uy, ux, std::hypot(ax - ux, ay - uy));
        }
      }
    EXPECT_NEAR(rad[i].D(), smallest, 1e-9);
    for (const Pixel& a : px) EXPECT_LE(D(a, cr[i].D(), cc[i].D()), rad[i].D() + 1e-9);
    // Rotated rectangle: holds every pixel, and its area is the least over
    // all directions given by pixel pairs.
    double least = 1e300;
    for (const Pixel& a : px)
      for (const Pixel& b : px) {
        if (a == b) continue;
        const double len = D(a, b.first, b.second);
        const double ur = (b.first - a.first) / len, uc = (b.second - a.second) / len;
        double u0 = 1e300, u1 = -1e300, v0 = 1e300, v1 = -1e300;
        for (const Pixel& p : px) {
          const double u = p.first * ur + p.second * uc, v = p.first * uc - p.second * ur;
          u0 = std::min(u0, u), u1 = std::max(u1, u), v0 = std::min(v0, v), v1 = std::max(v1, v);
        }
        least = std::min(least, (u1 - u0) * (v1 - v0));
      }
    if (px.size() == 1) least = 0;
    EXPECT_NEAR(4 * l1[i].D() * l2[i].D(), least, 1e-9);
    EXPECT_GE(l1[i].D(), l2[i].D());
    const double ur = -std::sin(rphi[i].D()), uc = std::cos(rphi[i].D());
    for (const Pixel& p : px) {
      const double dr = p.first - rr[i].D(), dc = p.second - rc[i].D();
      EXPECT_LE(std::fabs(dr * ur + dc * uc), l1[i].D() + 1e-9);
      EXPECT_LE(std::fabs(dr * uc - dc * ur), l2[i].D() + 1e-9);
    }
    // Inscribed disc: the largest squared radius over the pixels, and the
    // first pixel that reaches it.
    long best_k = -1;
    Pixel at{0, 0};
    for (const Pixel& p : px) {
      long k = 0;
      for (;; ++k) {
        bool fits = true;
        for (int dr = -8; dr <= 8; ++dr)
          for (int dc = -8; dc <= 8; ++dc)
            if (dr * dr + dc * dc <= k + 1 && !s.count({p.first + dr, p.second + dc})) fits = false;
        if (!fits) break;
      }
      if (k > best_k) best_k = k, at = p;
    }
    EXPECT_NEAR(irad[i].D(), std::sqrt(static_cast<double>(best_k)), 1e-12);
    EXPECT_EQ(ir[i].D(), at.first);
    EXPECT_EQ(ic[i].D(), at.second);
  }
}

PixelSet Rect(int r1, int c1, int r2, int c2) {
  PixelSet s;
  for (int r = r1; r <= r2; ++r)
    for (int c = c1; c <= c2; ++c) s.insert({r, c});
  return s;
}

TEST_F(RegionOpsTest, ContourConvexityAndCircularityOfKnownShapes) {
  PixelSet ell = Rect(0, 0, 3, 0);
  for (int c = 1; c <= 3; ++c) ell.insert({3, c});  // an L of 7 pixels
  const struct {
    PixelSet s;
    double length, convexity;
  } cases[] = {
      {Rect(2, 3, 4, 7), 12.0, 1.0},  // 5 x 3: 2 (4 + 2)
      {{{1, 1}}, 0.0, 1.0},
      {{{0, 0}, {1, 1}, {2, 2}}, 4 * M_SQRT2, 1.0},
      {Rect(0, 0, 0, 3), 6.0, 1.0},
      {ell, 10.0 + M_SQRT2, 7.0 / 10.0},  // back inside cuts the corner; hull holds 10
  };
  for (const auto& t : cases) {
    Vobject r = MakeRegion(t.s);
    double length = -1, convex = -1, circ = -1, compact = -1;
    ASSERT_EQ(contlength(r, &length), VRESULT_OK);
    ASSERT_EQ(convexity(r, &convex), VRESULT_OK);
    ASSERT_EQ(circularity(r, &circ), VRESULT_OK);
    ASSERT_EQ(compactness(r, &compact), VRESULT_OK);
    EXPECT_NEAR(length, t.length, 1e-9);
    EXPECT_NEAR(convex, t.convexity, 1e-9);
    EXPECT_NEAR(compact, t.length * t.length / (4 * M_PI * t.s.size()), 1e-9);
    const Sums s = SumsOf(t.s);
    double far = 0;
    for (const Pixel& p : t.s) far = std::max(far, D(p, s.row, s.col));
    EXPECT_NEAR(circ, far == 0 ? 1.0 : std::min(1.0, t.s.size() / (M_PI * far * far)), 1e-9);
  }
}

TEST_F(RegionOpsTest, RegionFeaturesAgreeWithTheSingleOperators) {
  const std::vector<PixelSet> sets = Samples(rng_, 20, 20, 6);
  const Vobject obj = AsObjects(sets);
  VTuple values, anis, bulk, sf, phi;
  const VTuple names = VTuple("anisometry").Concat("orientation").Concat("area");
  ASSERT_EQ(region_features(obj, names, &values), VRESULT_OK);
  ASSERT_EQ(eccentricity(obj, &anis, &bulk, &sf), VRESULT_OK);
  ASSERT_EQ(orientation_region(obj, &phi), VRESULT_OK);
  ASSERT_EQ(values.Num(), 3 * static_cast<Vlong>(sets.size()));
  for (Vlong i = 0; i < static_cast<Vlong>(sets.size()); ++i) {
    EXPECT_EQ(values[3 * i].D(), anis[i].D());
    EXPECT_EQ(values[3 * i + 1].D(), phi[i].D());
    EXPECT_EQ(values[3 * i + 2].D(), static_cast<double>(sets[static_cast<size_t>(i)].size()));
    EXPECT_GT(phi[i].D(), -M_PI - 1e-12);
    EXPECT_LE(phi[i].D(), M_PI);
  }
  EXPECT_EQ(region_features(obj, "no_such_feature", &values), VERR_CTRL_VALUE(0));
  EXPECT_EQ(region_features(obj, 3, &values), VERR_CTRL_TYPE(0));
  // The empty region has all features 0.
  ASSERT_EQ(region_features(MakeRegion({}), names, &values), VRESULT_OK);
  EXPECT_EQ(values[0].D() + values[1].D() + values[2].D(), 0.0);
}

TEST_F(RegionOpsTest, RunsSelectionSortingAndDistances) {
  const std::vector<PixelSet> sets = Samples(rng_, 15, 18, 5);
  const Vobject obj = AsObjects(sets);
  VTuple runs, kf, lf, mean, bytes;
  ASSERT_EQ(runlength_features(obj, &runs, &kf, &lf, &mean, &bytes), VRESULT_OK);
  std::vector<double> areas;
  for (size_t k = 0; k < sets.size(); ++k) {
    const Vlong i = static_cast<Vlong>(k);
    Vlong n = 0, rows = 0;
    for (const Pixel& p : sets[k]) {
      n += !sets[k].count({p.first, p.second - 1});
      rows += !sets[k].count({p.first, p.second - 1}) &&
              std::none_of(sets[k].begin(), sets[k].end(), [&](const Pixel& q) {
                return q.first == p.first && q.second < p.second;
              });
    }
    EXPECT_EQ(runs[i].L(), n);
    EXPECT_NEAR(lf[i].D(), double(n) / rows, 1e-12);
    EXPECT_NEAR(mean[i].D(), double(sets[k].size()) / n, 1e-12);
    EXPECT_EQ(bytes[i].L(), 6 * n);
    areas.push_back(double(sets[k].size()));
  }
  // select_shape by area, "and" of two bounds; select_shape_std max_area.
  std::vector<double> sorted = areas;
  std::sort(sorted.begin(), sorted.end());
  const double lo = sorted[2], hi = sorted[5];
  Vobject chosen;
  ASSERT_EQ(select_shape(obj, &chosen, VTuple("area").Concat("area"), "and", VTuple(lo).Concat(0.0),
                         VTuple(hi).Concat(1e9)),
            VRESULT_OK);
  std::vector<PixelSet> want;
  for (size_t k = 0; k < sets.size(); ++k)
    if (areas[k] >= lo && areas[k] <= hi) want.push_back(sets[k]);
  EXPECT_EQ(PixelsOfAll(chosen), want);
  ASSERT_EQ(select_shape_std(obj, &chosen, "max_area", 0.0), VRESULT_OK);
  const size_t biggest = std::max_element(areas.begin(), areas.end()) - areas.begin();
  EXPECT_EQ(PixelsOfAll(chosen), std::vector<PixelSet>{sets[biggest]});
  EXPECT_EQ(select_shape(obj, &chosen, "area", "xor", 0.0, 1.0), VERR_CTRL_VALUE(1));
  // sort_region by first point, column first, descending.
  Vobject sorted_objs;
  ASSERT_EQ(sort_region(obj, &sorted_objs, "first_point", "false", "column"), VRESULT_OK);
  std::vector<PixelSet> by_first = sets;
  std::stable_sort(by_first.begin(), by_first.end(), [](const PixelSet& a, const PixelSet& b) {
    return std::make_pair(a.begin()->second, a.begin()->first) >
           std::make_pair(b.begin()->second, b.begin()->first);
  });
  EXPECT_EQ(PixelsOfAll(sorted_objs), by_first);
  // Hamming distance and least distances of each region to the next one.
  std::vector<PixelSet> next(sets.begin() + 1, sets.end());
  next.push_back(sets.front());
  const Vobject obj2 = AsObjects(next);
  VTuple dist, sim, dmin, r1, c1, r2, c2;
  ASSERT_EQ(hamming_distance(obj, obj2, &dist, &sim), VRESULT_OK);
  ASSERT_EQ(distance_rr_min(obj, obj2, &dmin, &r1, &c1, &r2, &c2), VRESULT_OK);
  for (size_t k = 0; k < sets.size(); ++k) {
    const Vlong i = static_cast<Vlong>(k);
    Vlong d = 0;
    for (const Pixel& p : sets[k]) d += !next[k].count(p);
    for (const Pixel& p : next[k]) d += !sets[k].count(p);
    EXPECT_EQ(dist[i].L(), d);
    EXPECT_NEAR(sim[i].D(), 1.0 - double(d) / double(sets[k].size() + next[k].size()), 1e-12);
    double least = 1e300;
    for (const Pixel& p : sets[k])
      for (const Pixel& q : next[k]) least = std::min(least, D(p, q.first, q.second));
    EXPECT_NEAR(dmin[i].D(), least, 1e-9);
    EXPECT_TRUE(sets[k].count({int(r1[i].L()), int(c1[i].L())}));
    EXPECT_TRUE(next[k].count({int(r2[i].L()), int(c2[i].L())}));
    EXPECT_NEAR(D({int(r1[i].L()), int(c1[i].L())}, r2[i].L(), c2[i].L()), least, 1e-9);
  }
  // Neighbours within 3 pixels among the regions themselves.
  VTuple n1, n2;
  ASSERT_EQ(find_neighbors(obj, obj, 3, &n1, &n2), VRESULT_OK);
  std::vector<std::pair<Vlong, Vlong>> pairs, want_pairs;
  for (Vlong k = 0; k < n1.Num(); ++k) pairs.push_back({n1[k].L(), n2[k].L()});
  for (size_t a = 0; a < sets.size(); ++a)
    for (size_t b = 0; b < sets.size(); ++b) {
      bool close = false;
      for (const Pixel& p : sets[a])
        for (const Pixel& q : sets[b]) close = close || D(p, q.first, q.second) <= 3.0;
      if (a != b && close) want_pairs.push_back({Vlong(a) + 1, Vlong(b) + 1});
    }
  EXPECT_EQ(pairs, want_pairs);
  double near = 0, far = 0;
  ASSERT_EQ(distance_pr(MakeRegion(sets[0]), 2.5, -7.0, &near, &far), VRESULT_OK);
  double want_near = 1e300, want_far = 0;
  for (const Pixel& p : sets[0])
    want_near = std::min(want_near, D(p, 2.5, -7.0)), want_far = std::max(want_far, D(p, 2.5, -7.0));
  EXPECT_NEAR(near, want_near, 1e-9);
  EXPECT_NEAR(far, want_far, 1e-9);
  Vobject shorter;
  ASSERT_EQ(select_obj(obj2, &shorter, 1), VRESULT_OK);
  EXPECT_EQ(hamming_distance(obj, shorter, &dist, &sim), VERR_OBJ_NUM(2));
}


TEST_F(RegionOpsTest, DistancesToSegmentsLinesAndByDilation) {
  const std::vector<PixelSet> sets = Samples(rng_, 20, 25, 4);
  std::vector<PixelSet> next(sets.begin() + 1, sets.end());
  next.push_back(sets.front());
  VTuple dil;
  ASSERT_EQ(distance_rr_min_dil(AsObjects(sets), AsObjects(next), &dil), VRESULT_OK);
  ASSERT_EQ(dil.Num(), static_cast<Vlong>(sets.size()));
  for (size_t k = 0; k < sets.size(); ++k) {
    Vlong least = 1 << 30;
    for (const Pixel& p : sets[k])
      for (const Pixel& q : next[k])
        least = std::min<Vlong>(least, std::max(std::abs(p.first - q.first), std::abs(p.second - q.second)));
    EXPECT_EQ(dil[static_cast<Vlong>(k)].L(), least) << "pair " << k;
  }
  ASSERT_EQ(distance_rr_min_dil(MakeRegion(sets[0]), MakeRegion({}), &dil), VRESULT_OK);
  EXPECT_EQ(dil[0].L(), -1);
  // Segments (one of them a point) and lines, against every pixel.
  const double seg[3][4] = {{-3.5, 2.0, 14.0, 30.5}, {5.0, 40.0, 5.0, -2.0}, {7.25, 9.5, 7.25, 9.5}};
  for (const auto& s : seg) {
    const PixelSet& a = sets[3];
    double near = 0, far = 0, lnear = 0, lfar = 0;
    ASSERT_EQ(distance_sr(MakeRegion(a), s[0], s[1], s[2], s[3], &near, &far), VRESULT_OK);
    double want_near = 1e300, want_far = 0, want_lnear = 1e300, want_lfar = 0;
    const double dr = s[2] - s[0], dc = s[3] - s[1], len2 = dr * dr + dc * dc;
    for (const Pixel& p : a) {
      const double pr = p.first - s[0], pc = p.second - s[1];
      const double t = len2 == 0 ? 0 : std::clamp((pr * dr + pc * dc) / len2, 0.0, 1.0);
      const double d = std::hypot(pr - t * dr, pc - t * dc);
      want_near = std::min(want_near, d), want_far = std::max(want_far, d);
      if (len2 > 0) {
        const double l = std::fabs(pr * dc - pc * dr) / std::sqrt(len2);
        want_lnear = std::min(want_lnear, l), want_lfar = std::max(want_lfar, l);
      }
    }
    EXPECT_NEAR(near, want_near, 1e-9);
    EXPECT_NEAR(far, want_far, 1e-9);
    if (len2 > 0) {
      ASSERT_EQ(distance_lr(MakeRegion(a), s[0], s[1], s[2], s[3], &lnear, &lfar), VRESULT_OK);
      EXPECT_NEAR(lnear, want_lnear, 1e-9);
      EXPECT_NEAR(lfar, want_lfar, 1e-9);
    } else {
      EXPECT_EQ(distance_lr(MakeRegion(a), s[0], s[1], s[2], s[3], &lnear, &lfar), VERR_CTRL_VALUE(2));
    }
  }
  double near = 0, far = 0;
  EXPECT_EQ(distance_sr(MakeRegion({}), 0.0, 0.0, 1.0, 1.0, &near, &far), VERR_EMPTY_OBJECT);
  VTuple tn, tf;
  EXPECT_EQ(distance_sr(MakeRegion(sets[0]), VTuple(0.0), VTuple(0.0), VTuple(1.0).Append(2.0), VTuple(1.0), &tn, &tf),
            VERR_CTRL_NUM(2));
}

}  // namespace
