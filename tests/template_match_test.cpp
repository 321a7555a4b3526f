// Gray-value templates on textured scenes: the best position with and
// without a pyramid (whole pixels, then fractions), with angles, the
// region of good positions, the error image against a per-pixel
// reference, the reference point, gray offset and stored templates, and
// refused input.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "textured_scene.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
using namespace textured_scene;

class TemplateMatchTest : public LeakCheckedTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(clear_all_templates(), VRESULT_OK);
    LeakCheckedTest::TearDown();
  }
  static Vlong Template(const char* gray_values = "original") {
    Vlong t = -1;
    EXPECT_EQ(create_template(TemplateImage(), 255, 3, "sort", gray_values, &t), VRESULT_OK);
    return t;
  }
};

struct Best {
  double row = -1, col = -1, error = -1;
};

TEST_F(TemplateMatchTest, BestMatchFindsWholeAndFractionalPositionsWithAndWithoutPyramid) {
  const Vlong t = Template();
  const Vobject whole = Scene(200, 180, {{70, 110, 0}});
  for (int levels : {0, 1, 3}) {
    SCOPED_TRACE(levels);
    Best b;
    ASSERT_EQ(levels == 0 ? best_match(whole, t, 30.0, "false", &b.row, &b.col, &b.error)
                          : best_match_mg(whole, t, 30.0, "false", levels, 0, &b.row, &b.col, &b.error),
              VRESULT_OK);
    EXPECT_EQ(b.row, 70);
    EXPECT_EQ(b.col, 110);
    EXPECT_LT(b.error, 0.5);
  }
  std::mt19937 gen(5);
  std::uniform_real_distribution<double> frac(-0.5, 0.5);
  for (int i = 0; i < 4; ++i) {
    const double row = 80 + frac(gen), col = 95 + frac(gen);
    SCOPED_TRACE(testing::Message() << row << ", " << col);
    const Vobject shifted = Scene(200, 180, {{row, col, 0}});
    Best b, mg;
    ASSERT_EQ(best_match(shifted, t, 30.0, "true", &b.row, &b.col, &b.error), VRESULT_OK);
    ASSERT_EQ(best_match_mg(shifted, t, 30.0, "true", 3, 0, &mg.row, &mg.col, &mg.error), VRESULT_OK);
    EXPECT_NEAR(b.row, row, 0.2);
    EXPECT_NEAR(b.col, col, 0.2);
    EXPECT_NEAR(mg.row, row, 0.2);
    EXPECT_NEAR(mg.col, col, 0.2);
  }
  // Nothing within MaxError: error 255.
  Best none;
  ASSERT_EQ(best_match(Scene(200, 180, {}), t, 5.0, "true", &none.row, &none.col, &none.error), VRESULT_OK);
  EXPECT_EQ(none.error, 255);
  // A search domain away from the patch finds something else, worse.
  Vobject box, reduced;
  ASSERT_EQ(gen_rectangle1(&box, 30, 30, 60, 60), VRESULT_OK);
  ASSERT_EQ(reduce_domain(whole, box, &reduced), VRESULT_OK);
  Best away;
  ASSERT_EQ(best_match(reduced, t, 255.0, "false", &away.row, &away.col, &away.error), VRESULT_OK);
  EXPECT_LE(away.row, 60);
  EXPECT_GT(away.error, 5);
}

TEST_F(TemplateMatchTest, RotatedTemplatesFindTheAngleToADegree) {
  Vlong t = -1;
  ASSERT_EQ(create_template_rot(TemplateImage(), 3, 0.0, 2 * M_PI, 0.04, "sort", "original", &t), VRESULT_OK);
  std::mt19937 gen(11);
  std::uniform_real_distribution<double> pos(70, 110), angle(0, 2 * M_PI);
  for (int i = 0; i < 4; ++i) {
    const double row = pos(gen), col = pos(gen), a = angle(gen);
    SCOPED_TRACE(testing::Message() << row << ", " << col << ", " << a);
    const Vobject scene = Scene(180, 180, {{row, col, a}});
    double r = 0, c = 0, found = 0, error = 0;
    ASSERT_EQ(best_match_rot(scene, t, 0.0, 2 * M_PI, 40.0, "true", &r, &c, &found, &error), VRESULT_OK);
    EXPECT_NEAR(r, row, 0.5);
    EXPECT_NEAR(c, col, 0.5);
    EXPECT_LT(std::fabs(std::remainder(found - a, 2 * M_PI)) * 180 / M_PI, 1.0);
    ASSERT_EQ(best_match_rot_mg(scene, t, 0.0, 2 * M_PI, 40.0, "true", 4, &r, &c, &found, &error), VRESULT_OK);
    EXPECT_NEAR(r, row, 0.5);
    EXPECT_NEAR(c, col, 0.5);
    EXPECT_LT(std::fabs(std::remainder(found - a, 2 * M_PI)) * 180 / M_PI, 1.0);
  }
}

TEST_F(TemplateMatchTest, FastMatchGivesThePositionsBelowTheError) {
  const Vlong t = Template();
  const Vobject scene = Scene(200, 180, {{70, 110, 0}});
  Vobject matches, coarse;
  ASSERT_EQ(fast_match(scene, &matches, t, 10.0), VRESULT_OK);
  ASSERT_EQ(fast_match_mg(scene, &coarse, t, 10.0, 3), VRESULT_OK);
  Vlong area = 0, area_mg = 0;
  double row = 0, col = 0;
  ASSERT_EQ(area_center(matches, &area, &row, &col), VRESULT_OK);
  ASSERT_EQ(area_center(coarse, &area_mg, &row, &col), VRESULT_OK);
  EXPECT_EQ(area_mg, area);
  EXPECT_GE(area, 1);
  EXPECT_LE(area, 9);
  Vlong inside = 0;
  ASSERT_EQ(test_region_point(matches, 70, 110, &inside), VRESULT_OK);
  EXPECT_EQ(inside, 1);
}

// The error image against sums taken here, pixel by pixel.
TEST_F(TemplateMatchTest, ExhaustiveMatchAgreesWithAPerPixelReference) {
  constexpr int kW = 23, kH = 19, kTw = 5, kTh = 7;
  std::mt19937 gen(3);
  std::uniform_int_distribution<int> v(0, 255);
  std::vector<uint8_t> img(kW * kH), tpl(kTw * kTh);
  for (auto& p : img) p = static_cast<uint8_t>(v(gen));
  for (auto& p : tpl) p = static_cast<uint8_t>(v(gen));
  Vobject image, templ, roi;
  ASSERT_EQ(gen_image1(&image, "byte", kW, kH, static_cast<Vlong>(reinterpret_cast<uintptr_t>(img.data()))), VRESULT_OK);
  ASSERT_EQ(gen_image1(&templ, "byte", kTw, kTh, static_cast<Vlong>(reinterpret_cast<uintptr_t>(tpl.data()))), VRESULT_OK);
  ASSERT_EQ(gen_rectangle1(&roi, 0, 0, kH - 1, kW - 1), VRESULT_OK);
  for (const char* mode : {"dfd", "norm_correlation"}) {
    SCOPED_TRACE(mode);
    Vobject result;
    ASSERT_EQ(exhaustive_match(image, roi, templ, &result, mode), VRESULT_OK);
    Vlong ptr = 0, w = 0, h = 0;
    char type[32] = {};
    ASSERT_EQ(get_image_pointer1(result, &ptr, type, &w, &h), VRESULT_OK);
    EXPECT_STREQ(type, "real");
    const float* px = reinterpret_cast<const float*>(ptr);
    Vlong area = 0;
    double crow = 0, ccol = 0;
    ASSERT_EQ(area_center(result, &area, &crow, &ccol), VRESULT_OK);
    EXPECT_EQ(area, (kH - kTh + 1) * (kW - kTw + 1));
    // The template's centre (3, 2) lies on the pixel.
    for (int r = 3; r + 3 < kH; ++r)
      for (int c = 2; c + 2 < kW; ++c) {
        double sq = 0, si = 0, st = 0, sii = 0, stt = 0, sit = 0;
        for (int i = 0; i < kTh; ++i)
          for (int j = 0; j < kTw; ++j) {
            const double a = img[(r - 3 + i) * kW + c - 2 + j], b = tpl[i * kTw + j];
            sq += (a - b) * (a - b), si += a, st += b, sii += a * a, stt += b * b, sit += a * b;
          }
        const double n = kTh * kTw;
        const double expected = std::strcmp(mode, "dfd") == 0
                                    ? std::sqrt(sq / n)
                                    : (sit - si * st / n) / std::sqrt((sii - si * si / n) * (stt - st * st / n));
        ASSERT_NEAR(px[r * kW + c], expected, 1e-3 * std::max(1.0, std::fabs(expected))) << r << ", " << c;
      }
  }
}

// The pyramid form keeps the full-resolution values, on the positions
// that pass the threshold on every level: around the patch only.
TEST_F(TemplateMatchTest, PyramidErrorImageKeepsThePassingPositions) {
  const Vobject scene = Scene(200, 180, {{70, 110, 0}}), tmpl = TemplateImage();
  Vobject roi, full, all, near;
  ASSERT_EQ(gen_rectangle1(&roi, 0, 0, 179, 199), VRESULT_OK);
  ASSERT_EQ(exhaustive_match(scene, roi, tmpl, &full, "dfd"), VRESULT_OK);
  ASSERT_EQ(exhaustive_match_mg(scene, tmpl, &all, "dfd", 0, 255), VRESULT_OK);
  Vlong area_full = 0, area_all = 0, area_near = 0;
  double r, c;
  ASSERT_EQ(area_center(full, &area_full, &r, &c), VRESULT_OK);
  ASSERT_EQ(area_center(all, &area_all, &r, &c), VRESULT_OK);
  EXPECT_EQ(area_all, area_full);
  for (const char* mode : {"dfd", "norm_correlation"}) {
    SCOPED_TRACE(mode);
    const bool dfd = std::strcmp(mode, "dfd") == 0;
    ASSERT_EQ(exhaustive_match_mg(scene, tmpl, &near, mode, 2, dfd ? 15 : 80), VRESULT_OK);
    ASSERT_EQ(area_center(near, &area_near, &r, &c), VRESULT_OK);
    EXPECT_GE(area_near, 1);
    EXPECT_LT(area_near, area_full / 20);
    EXPECT_NEAR(r, 70, 3);
    EXPECT_NEAR(c, 110, 3);
    double at = 0, reference = 0;
    ASSERT_EQ(get_grayval(near, VTuple(70), VTuple(110), &at), VRESULT_OK);
    if (dfd) {
      ASSERT_EQ(get_grayval(full, VTuple(70), VTuple(110), &reference), VRESULT_OK);
      EXPECT_EQ(at, reference);
    } else {
      EXPECT_GT(at, 0.99);
    }
  }
}

TEST_F(TemplateMatchTest, ReferencePointOffsetAndStoredTemplates) {
  const Vlong t = Template();
  // Brighter by 20: the template needs the offset to match exactly.
  const Vobject bright = Scene(200, 180, {{70, 110, 0}}, 1, 20);
  Best plain, offset;
  ASSERT_EQ(best_match(bright, t, 255.0, "false", &plain.row, &plain.col, &plain.error), VRESULT_OK);
  ASSERT_EQ(set_offset_template(t, 20), VRESULT_OK);
  ASSERT_EQ(best_match(bright, t, 255.0, "false", &offset.row, &offset.col, &offset.error), VRESULT_OK);
  EXPECT_GT(plain.error, 10);
  EXPECT_LT(offset.error, 1);
  // The template's centre is at (60, 60) of its image: report (50, 65).
  ASSERT_EQ(set_reference_template(t, 50.0, 65.0), VRESULT_OK);
  Best moved;
  ASSERT_EQ(best_match(bright, t, 255.0, "false", &moved.row, &moved.col, &moved.error), VRESULT_OK);
  EXPECT_EQ(moved.row, 60);
  EXPECT_EQ(moved.col, 115);

  Vlong item = 0, copy = 0, read = 0;
  ASSERT_EQ(serialize_template(t, &item), VRESULT_OK);
  ASSERT_EQ(deserialize_template(item, &copy), VRESULT_OK);
  ASSERT_EQ(clear_serialized_item(item), VRESULT_OK);
  const std::string path = testing::TempDir() + "template_match_test.vtp";
  ASSERT_EQ(write_template(t, path.c_str()), VRESULT_OK);
  ASSERT_EQ(read_template(path.c_str(), &read), VRESULT_OK);
  std::remove(path.c_str());
  for (Vlong other : {copy, read}) {
    Best b;
    ASSERT_EQ(best_match(bright, other, 255.0, "false", &b.row, &b.col, &b.error), VRESULT_OK);
    EXPECT_EQ(b.row, moved.row);
    EXPECT_EQ(b.error, moved.error);
  }
  ASSERT_EQ(adapt_template(bright, t), VRESULT_OK);
}

TEST_F(TemplateMatchTest, GradientModesIgnoreBrightness) {
  const Vobject bright = Scene(200, 180, {{70, 110, 0}}, 1, 25);
  for (const char* mode : {"gradient", "sobel", "normalized"}) {
    SCOPED_TRACE(mode);
    Best b;
    ASSERT_EQ(best_match(bright, Template(mode), 255.0, "false", &b.row, &b.col, &b.error), VRESULT_OK);
    EXPECT_EQ(b.row, 70);
    EXPECT_EQ(b.col, 110);
  }
}

TEST_F(TemplateMatchTest, BadHandlesParametersAndImages) {
  const Vobject scene = Scene(100, 100, {});
  Vlong t = Template(), made = 0, measure = 0;
  double r, c, e;
  ASSERT_EQ(gen_measure_rectangle2(50.0, 50.0, 0.0, 10.0, 5.0, 100, 100, "bilinear", &measure), VRESULT_OK);
  EXPECT_EQ(best_match(scene, measure, 20.0, "true", &r, &c, &e), VERR_HANDLE_TYPE);
  EXPECT_EQ(close_measure(measure), VRESULT_OK);
  EXPECT_EQ(best_match(scene, t, -1.0, "true", &r, &c, &e), VERR_CTRL_VALUE(1));
  EXPECT_EQ(best_match(scene, t, 20.0, "yes", &r, &c, &e), VERR_CTRL_VALUE(2));
  EXPECT_EQ(best_match_mg(scene, t, 20.0, "true", 2, 5, &r, &c, &e), VERR_CTRL_VALUE(4));
  EXPECT_EQ(create_template(TemplateImage(), 255, 3, "sort", "fancy", &made), VERR_CTRL_VALUE(3));
  EXPECT_EQ(create_template(TemplateImage(), 255, 3, "fast", "original", &made), VERR_CTRL_VALUE(2));
  EXPECT_EQ(create_template_rot(TemplateImage(), 3, 0.0, 1.0, 0.0, "sort", "original", &made), VERR_CTRL_VALUE(3));
  // A template without angles is not turned.
  double a;
  EXPECT_EQ(best_match_rot(scene, t, 0.0, 1.0, 20.0, "true", &r, &c, &a, &e), VERR_HANDLE_TYPE);
  Vobject real, result, roi;
  ASSERT_EQ(gen_image_const(&real, "real", 100, 100), VRESULT_OK);
  EXPECT_EQ(best_match(real, t, 20.0, "true", &r, &c, &e), VERR_PIXEL_TYPE);
  EXPECT_EQ(create_template(real, 255, 3, "sort", "original", &made), VERR_PIXEL_TYPE);
  ASSERT_EQ(gen_rectangle1(&roi, 0, 0, 10, 10), VRESULT_OK);
  EXPECT_EQ(exhaustive_match(scene, roi, TemplateImage(), &result, "sad"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(exhaustive_match(real, roi, TemplateImage(), &result, "dfd"), VERR_PIXEL_TYPE);
  ASSERT_EQ(clear_template(t), VRESULT_OK);
  EXPECT_EQ(best_match(scene, t, 20.0, "true", &r, &c, &e), VERR_HANDLE_CLOSED);
}

}  // namespace
