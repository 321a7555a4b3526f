// Region generation, geometric transforms, tests, conversions and files,
// called through the procedural functions and compared with per-pixel
// references written here.
#include <cmath>
#include <cstdio>
#include <fstream>
#include <string>

#include "region_algebra_support.h"

namespace {

using namespace Vexa;
using namespace region_algebra_test;

VTuple Tup(const std::vector<double>& v) {
  VTuple t;
  for (size_t i = 0; i < v.size(); ++i) t[static_cast<Vlong>(i)] = v[i];
  return t;
}
VTuple Tup(const std::vector<Vlong>& v) {
  VTuple t;
  for (size_t i = 0; i < v.size(); ++i) t[static_cast<Vlong>(i)] = v[i];
  return t;
}
std::vector<Vlong> Longs(const VTuple& t) {
  std::vector<Vlong> v;
  for (Vlong i = 0; i < t.Num(); ++i) v.push_back(t[i].L());
  return v;
}

double Uniform(std::mt19937& rng, double lo, double hi) {
  return std::uniform_real_distribution<double>(lo, hi)(rng);
}

// Coordinates of a pixel in the frame of a shape at (row, col) turned by
// phi: u along the first axis, w along the second (counter-clockwise, rows
// growing downwards).
struct Local {
  double u, w;
};
Local ToLocal(int r, int c, double row, double col, double phi) {
  const double dr = r - row, dc = c - col;
  return {dc * std::cos(phi) - dr * std::sin(phi), -(dc * std::sin(phi) + dr * std::cos(phi))};
}

TEST_F(RegionOpsTest, ShapesHoldExactlyThePixelCentresInside) {
  for (int round = 0; round < 20; ++round) {
    const double row = Uniform(rng_, 10, 30), col = Uniform(rng_, 10, 30);
    const double phi = Uniform(rng_, -3, 3), a = Uniform(rng_, 1, 12), b = Uniform(rng_, 1, 12);
    const double start = Uniform(rng_, -4, 4), span = Uniform(rng_, 0.2, 6.0);
    Vobject circle, ellipse, rect, sector;
    ASSERT_EQ(gen_circle(&circle, row, col, a), VRESULT_OK);
    ASSERT_EQ(gen_ellipse(&ellipse, row, col, phi, a, b), VRESULT_OK);
    ASSERT_EQ(gen_rectangle2(&rect, row, col, phi, a, b), VRESULT_OK);
    ASSERT_EQ(gen_ellipse_sector(&sector, row, col, phi, a, b, start, start + span), VRESULT_OK);
    const auto in_ellipse = [&](int r, int c) {
      const Local p = ToLocal(r, c, row, col, phi);
      return (p.u / a) * (p.u / a) + (p.w / b) * (p.w / b) <= 1.0;
    };
    ExpectRegionIs(*RegionsOf(circle).at(0), MaskOf(-5, -5, 50, 50, [&](int r, int c) {
      return (r - row) * (r - row) + (c - col) * (c - col) <= a * a;
    }));
    ExpectRegionIs(*RegionsOf(ellipse).at(0), MaskOf(-5, -5, 50, 50, in_ellipse));
    ExpectRegionIs(*RegionsOf(rect).at(0), MaskOf(-5, -5, 50, 50, [&](int r, int c) {
      const Local p = ToLocal(r, c, row, col, phi);
      return std::fabs(p.u) <= a && std::fabs(p.w) <= b;
    }));
    ExpectRegionIs(*RegionsOf(sector).at(0), MaskOf(-5, -5, 50, 50, [&](int r, int c) {
      const Local p = ToLocal(r, c, row, col, phi);
      const double t = std::fmod(std::atan2(p.w, p.u) - start + 8 * M_PI, 2 * M_PI);
      return in_ellipse(r, c) && t <= span;
    }));
  }
}

TEST_F(RegionOpsTest, ShapeTuplesMakeOneRegionPerIndexAndCheckTheirValues) {
  Vobject out;
  ASSERT_EQ(gen_circle(&out, Tup(std::vector<double>{5, 50, 90}), 7.0, Tup(std::vector<double>{1, 2, 3})),
            VRESULT_OK);
  const auto regions = RegionsOf(out);
  ASSERT_EQ(regions.size(), 3u);
  EXPECT_EQ(regions[0]->area(), 5);   // radius 1: the centre and 4 neighbours
  EXPECT_DOUBLE_EQ(regions[2]->row(), 90.0);
  EXPECT_EQ(gen_circle(&out, Tup(std::vector<double>{5, 6}), 7.0, Tup(std::vector<double>{1, 2, 3})),
            VERR_CTRL_NUM(0));
  EXPECT_EQ(gen_circle(&out, 5.0, 5.0, -1.0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_circle(&out, 5.0, 5.0, 1e12), VERR_TOO_LARGE);
  EXPECT_EQ(gen_ellipse(&out, 1e12, 5.0, 0.0, 1.0, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gen_rectangle2(&out, 5.0, 5.0, std::nan(""), 1.0, 1.0), VERR_CTRL_VALUE(2));
}

TEST_F(RegionOpsTest, RunsPointsLinesAndPolygons) {
  Vobject runs, points, empty, lines, filled, outline;
  ASSERT_EQ(gen_region_runs(&runs, Tup(std::vector<Vlong>{3, 3, -2}), Tup(std::vector<Vlong>{0, 4, 7}),
                            Tup(std::vector<Vlong>{5, 9, 7})),
            VRESULT_OK);
  ExpectRegionIs(*RegionsOf(runs).at(0), MaskOf(-5, -5, 20, 20, [](int r, int c) {
    return (r == 3 && c >= 0 && c <= 9) || (r == -2 && c == 7);
  }));
  VTuple rows, cbs, ces;
  ASSERT_EQ(get_region_runs(runs, &rows, &cbs, &ces), VRESULT_OK);
  EXPECT_EQ(Longs(rows), (std::vector<Vlong>{-2, 3}));
  EXPECT_EQ(Longs(cbs), (std::vector<Vlong>{7, 0}));
  EXPECT_EQ(Longs(ces), (std::vector<Vlong>{7, 9}));
  EXPECT_EQ(gen_region_runs(&runs, 1, 5, 4), VERR_CTRL_VALUE(2));

  ASSERT_EQ(gen_region_points(&points, Tup(std::vector<Vlong>{4, 1, 4}), Tup(std::vector<Vlong>{2, 2, 3})),
            VRESULT_OK);
  VTuple pr, pc;
  ASSERT_EQ(get_region_points(points, &pr, &pc), VRESULT_OK);
  EXPECT_EQ(Longs(pr), (std::vector<Vlong>{1, 4, 4}));
  EXPECT_EQ(Longs(pc), (std::vector<Vlong>{2, 2, 3}));
  ASSERT_EQ(gen_empty_region(&empty), VRESULT_OK);
  EXPECT_EQ(RegionsOf(empty).at(0)->area(), 0);

  // Digital lines: 8-connected, one pixel per step of the longer axis,
  // each within half a pixel of the true line across it.
  for (int round = 0; round < 20; ++round) {
    std::uniform_int_distribution<int> d(-20, 20);
    const Vlong r1 = d(rng_), c1 = d(rng_), r2 = d(rng_), c2 = d(rng_);
    ASSERT_EQ(gen_region_line(&lines, r1, c1, r2, c2), VRESULT_OK);
    const vexa::Region& line = *RegionsOf(lines).at(0);
    EXPECT_EQ(line.area(), std::max(std::labs(r2 - r1), std::labs(c2 - c1)) + 1);
    EXPECT_TRUE(line.Contains(r1, c1) && line.Contains(r2, c2));
    const double len = std::hypot(r2 - r1, c2 - c1), steep = std::max(std::labs(r2 - r1), std::labs(c2 - c1));
    for (const vexa::Chord& ch : line.chords())
      for (int c = ch.cb; c <= ch.ce; ++c) {
        const double cross = std::fabs((ch.r - r1) * double(c2 - c1) - (c - c1) * double(r2 - r1));
        EXPECT_LE(cross, 0.5 * steep + 1e-9) << len;  // half a pixel along the minor axis
      }
  }

  // A filled polygon holds every pixel centre strictly inside and only
  // pixels within one pixel of it; its outline lies in it.
  const std::vector<double> pr_ = {2, 30, 18, 9}, pc_ = {3, 8, 35, 20};
  ASSERT_EQ(gen_region_polygon_filled(&filled, Tup(pr_), Tup(pc_)), VRESULT_OK);
  ASSERT_EQ(gen_region_polygon(&outline, Tup(pr_), Tup(pc_)), VRESULT_OK);
  const vexa::Region& f = *RegionsOf(filled).at(0);
  EXPECT_TRUE(vexa::ChordIsSubset(RegionsOf(outline).at(0)->chords(), f.chords()));
  for (int r = 0; r < 40; ++r)
    for (int c = 0; c < 40; ++c) {
      int crossings = 0;
      double dist = 1e9;
      for (size_t i = 0; i < 4; ++i) {
        const size_t j = (i + 1) % 4;
        if ((pr_[i] > r) != (pr_[j] > r) &&
            c < pc_[i] + (r - pr_[i]) * (pc_[j] - pc_[i]) / (pr_[j] - pr_[i]))
          ++crossings;
        const double len = std::hypot(pr_[j] - pr_[i], pc_[j] - pc_[i]);
        const double t = std::clamp(((r - pr_[i]) * (pr_[j] - pr_[i]) + (c - pc_[i]) * (pc_[j] - pc_[i])) / (len * len), 0.0, 1.0);
        dist = std::min(dist, std::hypot(r - pr_[i] - t * (pr_[j] - pr_[i]), c - pc_[i] - t * (pc_[j] - pc_[i])));
      }
      if (crossings % 2 == 1 && dist > 1e-6) {
        EXPECT_TRUE(f.Contains(r, c)) << r << "," << c;
      }
      if (crossings % 2 == 0 && dist >= 1.0) {
        EXPECT_FALSE(f.Contains(r, c)) << r << "," << c;
      }
    }
  EXPECT_EQ(gen_region_polygon(&outline, Tup(pr_), Tup(std::vector<double>{1, 2})), VERR_CTRL_NUM(1));
}

// Transforms against the pixel each output pixel comes from.
TEST_F(RegionOpsTest, TransformsMoveEveryPixelWhereTheMapSends) {
  for (int round = 0; round < 6; ++round) {
    const Mask m = RandomMask(rng_);
    const Vobject in = ToObject(m);
    Vobject out;
    ASSERT_EQ(move_region(in, &out, 7, -9), VRESULT_OK);
    ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-10, -20, 60, 70, [&](int r, int c) { return m.Get(r - 7, c + 9); }));
    ASSERT_EQ(mirror_region(in, &out, "row", 40), VRESULT_OK);
    ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-10, -10, 60, 60, [&](int r, int c) { return m.Get(39 - r, c); }));
    ASSERT_EQ(mirror_region(in, &out, "column", 30), VRESULT_OK);
    ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-30, -30, 80, 80, [&](int r, int c) { return m.Get(r, 29 - c); }));
    ASSERT_EQ(mirror_region(in, &out, "diagonal", 1), VRESULT_OK);
    ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-10, -10, 60, 60, [&](int r, int c) { return m.Get(c, r); }));
    ASSERT_EQ(transpose_region(in, &out, 3, 5), VRESULT_OK);
    ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-40, -40, 80, 80, [&](int r, int c) { return m.Get(6 - r, 10 - c); }));
    ASSERT_EQ(zoom_region(in, &out, 2.5, 0.5), VRESULT_OK);
    ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-20, -20, 160, 160, [&](int r, int c) {
      return m.Get(2 * r, static_cast<int>(std::floor(c / 2.5)));
    }));
    // An affine and a projective map: rotation, scale, shift, perspective.
    const double a = 0.3 + 0.1 * round, s = 1.3;
    const double h[9] = {s * std::cos(a), -s * std::sin(a), 2.25, s * std::sin(a), s * std::cos(a), -1.75,
                         round % 2 ? 0.004 : 0.0, round % 2 ? -0.003 : 0.0, 1.0};
    if (round % 2 == 0) {
      ASSERT_EQ(affine_trans_region(in, &out, Tup(std::vector<double>(h, h + 6)), "nearest_neighbor"), VRESULT_OK);
    } else {
      ASSERT_EQ(projective_trans_region(in, &out, Tup(std::vector<double>(h, h + 9)), "nearest_neighbor"), VRESULT_OK);
    }
    // The inverse of h by cofactors.
    const double det = h[0] * (h[4] * h[8] - h[5] * h[7]) - h[1] * (h[3] * h[8] - h[5] * h[6]) +
                       h[2] * (h[3] * h[7] - h[4] * h[6]);
    const double inv[9] = {(h[4] * h[8] - h[5] * h[7]) / det, (h[2] * h[7] - h[1] * h[8]) / det,
                           (h[1] * h[5] - h[2] * h[4]) / det, (h[5] * h[6] - h[3] * h[8]) / det,
                           (h[0] * h[8] - h[2] * h[6]) / det, (h[2] * h[3] - h[0] * h[5]) / det,
                           (h[3] * h[7] - h[4] * h[6]) / det, (h[1] * h[6] - h[0] * h[7]) / det,
                           (h[0] * h[4] - h[1] * h[3]) / det};
    ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-90, -90, 200, 200, [&](int r, int c) {
      const double w = inv[6] * r + inv[7] * c + inv[8];
      const double y = (inv[0] * r + inv[1] * c + inv[2]) / w, x = (inv[3] * r + inv[4] * c + inv[5]) / w;
      return w > 0 && m.Get(static_cast<int>(std::floor(y + 0.5)), static_cast<int>(std::floor(x + 0.5)));
    }));
  }
  Vobject out;
  const Vobject in = ToObject(RandomMask(rng_));
  EXPECT_EQ(mirror_region(in, &out, "sideways", 10), VERR_CTRL_VALUE(0));
  EXPECT_EQ(zoom_region(in, &out, 0.0, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(zoom_region(in, &out, 1e9, 1.0), VERR_TOO_LARGE);
  EXPECT_EQ(affine_trans_region(in, &out, Tup(std::vector<double>{1, 0, 0, 2, 0, 0}), "nearest_neighbor"),
            VERR_CTRL_VALUE(0));  // singular
  EXPECT_EQ(affine_trans_region(in, &out, Tup(std::vector<double>{1, 0, 0}), "nearest_neighbor"), VERR_CTRL_NUM(0));
}

TEST_F(RegionOpsTest, PolarTransformUnrollsADiscIntoABand) {
  // A disc of radius 10 about (50, 60): rows of radii up to 9 are all
  // inside, rows from 11 on empty (rounding moves a point by at most 0.71).
  Vobject disc, polar;
  ASSERT_EQ(gen_circle(&disc, 50.0, 60.0, 10.0), VRESULT_OK);
  ASSERT_EQ(polar_trans_region(disc, &polar, 50, 60, 0, 2 * M_PI, 0, 19, 90, 20, "nearest_neighbor"),
            VRESULT_OK);
  const vexa::RegionPtr band = RegionsOf(polar).at(0);
  for (int r = 0; r < 20; ++r)
    for (int c = 0; c < 90; ++c)
      if (r != 10) EXPECT_EQ(band->Contains(r, c), r < 10) << r << "," << c;
  EXPECT_EQ(polar_trans_region(disc, &polar, 50, 60, 0, 1, 0, 19, 90, 20, "bilinear"), VERR_CTRL_VALUE(8));
}

TEST_F(RegionOpsTest, ClippingAndPartitioning) {
  const Mask m = RandomMask(rng_);
  const Vobject in = ToObject(m);
  Vobject out;
  ASSERT_EQ(clip_region(in, &out, 2, 5, 20, 31), VRESULT_OK);
  ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-3, -4, 40, 50, [&](int r, int c) {
    return m.Get(r, c) && r >= 2 && r <= 20 && c >= 5 && c <= 31;
  }));
  int32_t r1, c1, r2, c2;
  ASSERT_TRUE(RegionsOf(in).at(0)->BoundingBox(&r1, &c1, &r2, &c2));
  ASSERT_EQ(clip_region_rel(in, &out, 1, 2, 3, 4), VRESULT_OK);
  ExpectRegionIs(*RegionsOf(out).at(0), MaskOf(-3, -4, 40, 50, [&](int r, int c) {
    return m.Get(r, c) && r >= r1 + 1 && r <= r2 - 2 && c >= c1 + 3 && c <= c2 - 4;
  }));
  EXPECT_EQ(clip_region_rel(in, &out, -1, 0, 0, 0), VERR_CTRL_VALUE(0));
  // The parts cover the region without overlap, each inside one cell.
  ASSERT_EQ(partition_rectangle(in, &out, 10.0, 7.0), VRESULT_OK);
  Mask covered(-3, -4, 40, 50);
  for (const auto& part : RegionsOf(out)) {
    int32_t a1, b1, a2, b2;
    ASSERT_TRUE(part->BoundingBox(&a1, &b1, &a2, &b2));
    EXPECT_LE(b2 - b1 + 1, 11);
    EXPECT_LE(a2 - a1 + 1, 8);
    for (const vexa::Chord& ch : part->chords())
      for (int c = ch.cb; c <= ch.ce; ++c) {
        EXPECT_FALSE(covered.Get(ch.r, c));
        covered.Set(ch.r, c);
      }
  }
  EXPECT_TRUE(covered.SamePixels(m));
  EXPECT_EQ(partition_rectangle(in, &out, 0.0, 7.0), VERR_CTRL_VALUE(0));
}

TEST_F(RegionOpsTest, PointEqualityAndSubsetTests) {
  const Mask m = RandomMask(rng_), n = RandomMask(rng_);
  const Vobject a = ToObject(m), b = ToObject(n), both = ToObjects({m, n});
  VTuple inside;
  std::vector<Vlong> rows, cols, want;
  for (int k = 0; k < 30; ++k) {
    rows.push_back(static_cast<int>(rng_() % 40) - 3);
    cols.push_back(static_cast<int>(rng_() % 50) - 4);
    want.push_back(m.Get(static_cast<int>(rows.back()), static_cast<int>(cols.back())));
  }
  ASSERT_EQ(test_region_point(a, Tup(rows), Tup(cols), &inside), VRESULT_OK);
  EXPECT_EQ(Longs(inside), want);
  ASSERT_EQ(test_region_point(both, rows[0], cols[0], &inside), VRESULT_OK);
  EXPECT_EQ(Longs(inside), (std::vector<Vlong>{m.Get(rows[0], cols[0]), n.Get(rows[0], cols[0])}));

  Vlong flag = -1;
  ASSERT_EQ(test_equal_region(a, ToObject(m), &flag), VRESULT_OK);
  EXPECT_EQ(flag, 1);
  ASSERT_EQ(test_equal_region(both, ToObjects({m, m}), &flag), VRESULT_OK);
  EXPECT_EQ(flag, m.SamePixels(n));
  EXPECT_EQ(test_equal_region(both, ToObjects({m, m, n}), &flag), VERR_OBJ_NUM(2));

  Vobject u;
  ASSERT_EQ(union2(a, b, &u), VRESULT_OK);
  VTuple subset;
  ASSERT_EQ(test_subset_region(both, u, &subset), VRESULT_OK);
  EXPECT_EQ(Longs(subset), (std::vector<Vlong>{1, 1}));
  ASSERT_EQ(test_subset_region(u, a, &subset), VRESULT_OK);
  bool n_in_m = true;
  n.ForEach([&](int r, int c) { n_in_m = n_in_m && m.Get(r, c); });
  EXPECT_EQ(Longs(subset), (std::vector<Vlong>{n_in_m ? 1 : 0}));
}

TEST_F(RegionOpsTest, BinaryAndLabelImagesRoundTrip) {
  const Mask m = RandomMask(rng_), n = RandomMask(rng_);
  const Vobject regions = ToObjects({m, n});
  Vobject bin, label, back;
  ASSERT_EQ(region_to_bin(regions, &bin, 200, 7, 30, 25), VRESULT_OK);
  ASSERT_EQ(region_to_label(regions, &label, "int2", 30, 25), VRESULT_OK);
  // The binary image of the first region, read back pixel by pixel.
  Vobject first;
  ASSERT_EQ(select_obj(bin, &first, 1), VRESULT_OK);
  vexa::db::ImageData img;
  ASSERT_EQ(vexa::db::GetImage(first.Id(), &img), VRESULT_OK);
  ASSERT_EQ(img.channels[0]->width(), 30);
  ASSERT_EQ(img.channels[0]->height(), 25);
  for (int r = 0; r < 25; ++r)
    for (int c = 0; c < 30; ++c)
      ASSERT_EQ(img.channels[0]->data()[r * 30 + c], m.Get(r, c) ? 200 : 7);
  // Labels: the second region paints over the first.
  ASSERT_EQ(label_to_region(label, &back), VRESULT_OK);
  const auto parts = RegionsOf(back);
  ASSERT_EQ(parts.size(), 2u);
  const auto in_image = [](int r, int c) { return r >= 0 && r < 25 && c >= 0 && c < 30; };
  ExpectRegionIs(*parts[0], MaskOf(-3, -4, 40, 50, [&](int r, int c) { return in_image(r, c) && m.Get(r, c) && !n.Get(r, c); }));
  ExpectRegionIs(*parts[1], MaskOf(-3, -4, 40, 50, [&](int r, int c) { return in_image(r, c) && n.Get(r, c); }));
  EXPECT_EQ(region_to_label(regions, &label, "real", 30, 25), VERR_CTRL_VALUE(0));
  EXPECT_EQ(region_to_bin(regions, &bin, 256, 0, 30, 25), VERR_CTRL_VALUE(0));
  EXPECT_EQ(region_to_bin(regions, &bin, 1, 0, 100000, 25), VERR_TOO_LARGE);
  EXPECT_EQ(label_to_region(regions, &back), VERR_OBJ_CLASS(1));
}

TEST_F(RegionOpsTest, FilesRoundTripAndRefuseDamage) {
  const std::string path = ::testing::TempDir() + "regions_roundtrip.vxr";
  const Mask m = RandomMask(rng_), n = RandomMask(rng_);
  ASSERT_EQ(write_region(ToObjects({m, n}), path.c_str()), VRESULT_OK);
  Vobject back;
  ASSERT_EQ(read_region(&back, path.c_str()), VRESULT_OK);
  const auto regions = RegionsOf(back);
  ASSERT_EQ(regions.size(), 2u);
  ExpectRegionIs(*regions[0], m);
  ExpectRegionIs(*regions[1], n);

  std::string bytes;
  {
    std::ifstream f(path, std::ios::binary);
    bytes.assign(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
  }
  const auto write = [&](const std::string& b) {
    std::ofstream f(path, std::ios::binary | std::ios::trunc);
    f.write(b.data(), static_cast<std::streamsize>(b.size()));
  };
  back.Reset();
  const vexa::db::Stats before = vexa::db::GetStats();
  write(bytes.substr(0, bytes.size() - 5));
  EXPECT_EQ(read_region(&back, path.c_str()), VERR_FILE_READ);
  write(bytes.substr(0, 30));
  EXPECT_EQ(read_region(&back, path.c_str()), VERR_FILE_READ);
  std::string flipped = bytes;
  flipped[40] ^= 0x10;
  write(flipped);
  EXPECT_EQ(read_region(&back, path.c_str()), VERR_FILE_FORMAT);
  write("not a region file at all");
  EXPECT_EQ(read_region(&back, path.c_str()), VERR_FILE_FORMAT);
  EXPECT_EQ(vexa::db::GetStats().regions, before.regions);  // no partial object
  std::remove(path.c_str());
  EXPECT_EQ(read_region(&back, path.c_str()), VERR_FILE_NOT_FOUND);
  EXPECT_EQ(write_region(ToObject(m), "/nonexistent-dir/x.vxr"), VERR_FILE_WRITE);
}

}  // namespace
