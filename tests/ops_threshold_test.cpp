// threshold, area_center and the image operators, called through the
// procedural functions: exact selections for every pixel type on a
// non-rectangular domain, centres against a per-pixel loop, pixel access,
// and no object or memory left behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

using namespace Vexa;

constexpr int kW = 50, kH = 40;

// Objects and traced memory are back where they were when a test ends.
class OpsTest : public LeakCheckedTest {};

// The gray value pattern, 0..199, before a type's scale and offset.
int Pattern(int r, int c) { return (r * 37 + c * 11) % 200; }

// A ring with a bar through it: holes and several runs per row.
bool InDomain(int r, int c) {
  const int d2 = (r - 20) * (r - 20) + (c - 25) * (c - 25);
  return (d2 <= 18 * 18 && d2 >= 6 * 6) || (r >= 18 && r <= 21 && c >= 2);
}

struct TypeCase {
  const char* type;
  size_t size;  // bytes of one stored value
  double scale, offset;
  bool floating;
};

std::vector<unsigned char> Pixels(const TypeCase& t) {
  const size_t planes = std::string(t.type) == "complex" ? 2 : 1;
  std::vector<unsigned char> bytes(kW * kH * t.size * planes, 0xA5);
  for (int r = 0; r < kH; ++r) {
    for (int c = 0; c < kW; ++c) {
      const double v = t.scale * Pattern(r, c) + t.offset;
      unsigned char* p = bytes.data() + (static_cast<size_t>(r) * kW + c) * t.size;
      if (t.floating) {
        const float f = static_cast<float>(v);
        std::memcpy(p, &f, 4);
      } else {
        const int64_t i = static_cast<int64_t>(v);
        std::memcpy(p, &i, t.size);  // little-endian: the low bytes
      }
    }
  }
  return bytes;
}

// An image of the pattern with the domain above.
Vobject PatternImage(const TypeCase& t) {
  std::vector<unsigned char> bytes = Pixels(t);
  Vobject full;
  EXPECT_EQ(gen_image1(&full, t.type, kW, kH,
                       static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
            VRESULT_OK);
  std::vector<vexa::Chord> chords;
  for (int r = 0; r < kH; ++r)
    for (int c = 0; c < kW; ++c)
      if (InDomain(r, c)) chords.push_back({r, c, c});
  Vkey reduced = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImageWithDomain(
                full.Id(), vexa::Region::FromChords(chords), &reduced),
            VRESULT_OK);
  return Vobject(reduced, 1);
}

class ThresholdTypes : public OpsTest,
                       public ::testing::WithParamInterface<TypeCase> {};

TEST_P(ThresholdTypes, SelectsExactlyTheDomainPixelsInRange) {
  const TypeCase t = GetParam();
  Vobject image = PatternImage(t);
  // Bounds half a step of the scale outside pattern values 60 and 140,
  // so that rounding of the bounds in either direction would show.
  const double a = t.scale * 59.5 + t.offset, b = t.scale * 140.5 + t.offset;
  const double lo = std::min(a, b), hi = std::max(a, b);
  Vobject region;
  ASSERT_EQ(threshold(image, &region, lo, hi), VRESULT_OK);

  vexa::RegionPtr got;
  ASSERT_EQ(vexa::db::GetRegion(region.Id(), &got), VRESULT_OK);
  std::vector<vexa::Chord> expected;
  double sum_r = 0, sum_c = 0;
  for (int r = 0; r < kH; ++r) {
    for (int c = 0; c < kW; ++c) {
      const int g = Pattern(r, c);
      if (InDomain(r, c) && g >= 60 && g <= 140) {
        expected.push_back({r, c, c});
        sum_r += r;
        sum_c += c;
      }
    }
  }
  EXPECT_EQ(got->chords(), vexa::Region::FromChords(expected)->chords());

  Vlong area = 0;
  double row = 0, col = 0;
  ASSERT_EQ(area_center(region, &area, &row, &col), VRESULT_OK);
  ASSERT_EQ(area, static_cast<Vlong>(expected.size()));
  EXPECT_NEAR(row, sum_r / area, 1e-9);
  EXPECT_NEAR(col, sum_c / area, 1e-9);
}

INSTANTIATE_TEST_SUITE_P(
    PixelTypes, ThresholdTypes,
    ::testing::Values(TypeCase{"byte", 1, 1, 0, false},
                      TypeCase{"int1", 1, 1, -100, false},
                      TypeCase{"int2", 2, 300, -30000, false},
                      TypeCase{"uint2", 2, 300, 0, false},
                      TypeCase{"int4", 4, 100000, -10000000, false},
                      TypeCase{"int8", 8, 1e12, -5e13, false},
                      TypeCase{"real", 4, 0.5, 0.25, true},
                      TypeCase{"complex", 4, -2, 7, true},
                      TypeCase{"direction", 1, 1, 0, false},
                      TypeCase{"cyclic", 1, 1, 50, false}),
    [](const ::testing::TestParamInfo<TypeCase>& info) {
      return std::string(info.param.type);
    });

TEST_F(OpsTest, ThresholdEdgeCases) {
  Vobject image;
  ASSERT_EQ(gen_image_const(&image, "byte", 8, 4), VRESULT_OK);
  Vobject region;
  Vlong area = -1;
  double row = -1, col = -1;
  // Nothing in range: an empty region, area and centre 0.
  ASSERT_EQ(threshold(image, &region, 1.0, 255.0), VRESULT_OK);
  ASSERT_EQ(area_center(region, &area, &row, &col), VRESULT_OK);
  EXPECT_EQ(area, 0);
  EXPECT_EQ(row, 0.0);
  EXPECT_EQ(col, 0.0);
  // Bounds beyond the type select all; min above max selects none.
  ASSERT_EQ(threshold(image, &region, -1e300, 1e300), VRESULT_OK);
  ASSERT_EQ(area_center(region, &area, &row, &col), VRESULT_OK);
  EXPECT_EQ(area, 32);
  ASSERT_EQ(threshold(image, &region, 0.5, 0.4), VRESULT_OK);
  ASSERT_EQ(area_center(region, &area, &row, &col), VRESULT_OK);
  EXPECT_EQ(area, 0);
  // Several images give one region each; a region is no image.
  Vobject both;
  ASSERT_EQ(concat_obj(image, image, &both), VRESULT_OK);
  ASSERT_EQ(threshold(both, &region, 0.0, 0.0), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(region, &n), VRESULT_OK);
  EXPECT_EQ(n, 2);
  Vobject select;
  ASSERT_EQ(select_obj(region, &select, 1), VRESULT_OK);
  EXPECT_EQ(threshold(select, &region, 0.0, 0.0), VERR_OBJ_CLASS(1));
  EXPECT_EQ(threshold(image, &region, std::nan(""), 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(threshold(image, &region, VTuple(), VTuple(1.0)), VERR_CTRL_NUM(0));
}

TEST_F(OpsTest, AreaCenterMatchesAPerPixelLoop) {
  const VTuple r1 = VTuple(0).Concat(5).Concat(-3), c1 = VTuple(0).Concat(2).Concat(7);
  const VTuple r2 = VTuple(3).Concat(5).Concat(10), c2 = VTuple(4).Concat(30).Concat(7);
  Vobject rects;
  ASSERT_EQ(gen_rectangle1(&rects, r1, c1, r2, c2), VRESULT_OK);
  VTuple area, row, col;
  ASSERT_EQ(area_center(rects, &area, &row, &col), VRESULT_OK);
  ASSERT_EQ(area.Num(), 3);
  for (Vlong i = 0; i < 3; ++i) {
    double n = 0, sr = 0, sc = 0;
    for (Vlong r = r1[i].L(); r <= r2[i].L(); ++r)
      for (Vlong c = c1[i].L(); c <= c2[i].L(); ++c) {
        n += 1;
        sr += r;
        sc += c;
      }
    EXPECT_EQ(area[i].L(), static_cast<Vlong>(n));
    EXPECT_NEAR(row[i].D(), sr / n, 1e-12);
    EXPECT_NEAR(col[i].D(), sc / n, 1e-12);
  }
  // gen_rectangle1 refuses reversed corners, unequal lengths, huge values.
  Vobject bad;
  EXPECT_EQ(gen_rectangle1(&bad, 5.0, 0.0, 4.0, 3.0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_rectangle1(&bad, 0.0, 3.0, 4.0, 2.0), VERR_CTRL_VALUE(3));
  EXPECT_EQ(gen_rectangle1(&bad, r1, c1, r2, VTuple(1)), VERR_CTRL_NUM(3));
  EXPECT_EQ(gen_rectangle1(&bad, 0.0, 0.0, 1e12, 3.0), VERR_CTRL_VALUE(2));
}

TEST_F(OpsTest, GrayValuesAreWrittenClippedAndPrivately) {
  Vobject image;
  ASSERT_EQ(gen_image_const(&image, "byte", 4, 3), VRESULT_OK);
  Vobject shared(image);  // a second key on the same pixels
  const VTuple rows = VTuple(0).Concat(2).Concat(1), cols = VTuple(3).Concat(0).Concat(1);
  ASSERT_EQ(set_grayval(image, rows, cols, VTuple(300.0).Concat(-4.0).Concat(17.4)),
            VRESULT_OK);
  VTuple values;
  ASSERT_EQ(get_grayval(image, rows, cols, &values), VRESULT_OK);
  ASSERT_EQ(values.Num(), 3);
  EXPECT_EQ(values[0].L(), 255);
  EXPECT_EQ(values[1].L(), 0);
  EXPECT_EQ(values[2].L(), 17);
  double untouched = -1;
  ASSERT_EQ(get_grayval(shared, 0, 3, &untouched), VRESULT_OK);
  EXPECT_EQ(untouched, 0.0);

  Vlong pointer = 0, width = 0, height = 0;
  char type[64] = {};
  ASSERT_EQ(get_image_pointer1(image, &pointer, type, &width, &height), VRESULT_OK);
  EXPECT_STREQ(type, "byte");
  EXPECT_EQ(width, 4);
  EXPECT_EQ(height, 3);
  const auto* px = reinterpret_cast<const unsigned char*>(static_cast<uintptr_t>(pointer));
  EXPECT_EQ(px[0 * 4 + 3], 255);
  EXPECT_EQ(px[1 * 4 + 1], 17);

  EXPECT_EQ(set_grayval(image, 3, 0, 1.0), VERR_COORD_RANGE);
  EXPECT_EQ(get_grayval(image, 0, -1, &untouched), VERR_COORD_RANGE);
  EXPECT_EQ(set_grayval(image, rows, VTuple(1), VTuple(1.0)), VERR_CTRL_NUM(1));
  EXPECT_EQ(set_grayval(image, rows, cols, VTuple(1.0).Concat(2.0)), VERR_CTRL_NUM(2));
  Vobject none;
  EXPECT_EQ(get_image_pointer1(none, &pointer, type, &width, &height), VERR_OBJ_NUM(1));
}

TEST_F(OpsTest, RealAndComplexPixelsReadBackAsReals) {
  const float planes[4] = {1.5f, -2.25f, 8.0f, 0.5f};  // 2x1: real, then imaginary
  Vobject image;
  ASSERT_EQ(gen_image1(&image, "complex", 2, 1,
                       static_cast<Vlong>(reinterpret_cast<uintptr_t>(planes))),
            VRESULT_OK);
  VTuple values;
  ASSERT_EQ(get_grayval(image, 0, 1, &values), VRESULT_OK);
  ASSERT_EQ(values.Num(), 2);
  EXPECT_EQ(values[0].D(), -2.25);
  EXPECT_EQ(values[1].D(), 0.5);
}

TEST_F(OpsTest, ImageCreationChecksItsArguments) {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, "float", 4, 4), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gen_image_const(&image, "byte", 0, 4), VERR_CTRL_VALUE(1));
  EXPECT_EQ(gen_image_const(&image, "byte", 4, -2), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_image_const(&image, "byte", 1 << 20, 4), VERR_TOO_LARGE);
  EXPECT_EQ(gen_image_const(&image, "byte", Vlong{1} << 40, Vlong{1} << 40),
            VERR_TOO_LARGE);
  EXPECT_EQ(gen_image1(&image, "byte", 4, 4, Vlong{0}), VERR_CTRL_VALUE(3));
  EXPECT_EQ(gen_image_const(&image, VTuple(4), 4, 4), VERR_CTRL_TYPE(0));
  ASSERT_EQ(gen_image_const(&image, "int4", 7, 5), VRESULT_OK);
  Vlong area = 0;
  double row = 0, col = 0;
  ASSERT_EQ(area_center(image, &area, &row, &col), VRESULT_OK);  // the domain
  EXPECT_EQ(area, 35);
  EXPECT_EQ(row, 2.0);
  EXPECT_EQ(col, 3.0);
}

}  // namespace
