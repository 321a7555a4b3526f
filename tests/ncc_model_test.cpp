// Correlation-based matching on scenes rendered here: a smooth random
// texture inside a square, drawn at known poses on another texture, with
// the gray values of the scene changed linearly. Matches must come out at
// the true pose to a tenth of a pixel and of a degree; scenes without the
// patch or with inverted gray values (under "use_polarity") give nothing;
// the origin, stored models and parameters behave; bad input is refused.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
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

constexpr double kFullCircle = 2 * M_PI;

double AngleErrorDeg(double found, double truth) {
  return std::fabs(std::remainder(found - truth, kFullCircle)) * 180 / M_PI;
}

struct Found {
  VTuple row, col, angle, score;
};

class NccModelTest : public LeakCheckedTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(clear_all_ncc_models(), VRESULT_OK);
    LeakCheckedTest::TearDown();
  }
  static Vlong Model(const char* metric = "use_polarity") {
    Vlong model = -1;
    EXPECT_EQ(create_ncc_model(TemplateImage(), VTuple("auto"), VTuple(0.0), VTuple(kFullCircle), VTuple("auto"),
                               VTuple(metric), &model),
              VRESULT_OK);
    return model;
  }
  static Found Find(const Vobject& scene, Vlong model, double min_score, Vlong num = 1,
                    const char* sub_pixel = "true") {
    Found f;
    EXPECT_EQ(find_ncc_model(scene, model, 0.0, kFullCircle, min_score, num, 0.5, sub_pixel, 0, &f.row, &f.col,
                             &f.angle, &f.score),
              VRESULT_OK);
    return f;
  }
};

TEST_F(NccModelTest, PatchIsFoundToATenthAtRandomPosesUnderALinearGrayChange) {
  const Vlong model = Model();
  std::mt19937 gen(20261122);
  std::uniform_real_distribution<double> pos(50, 150), angle(0, kFullCircle);
  double worst_pos = 0, worst_angle = 0;
  for (int i = 0; i < 10; ++i) {
    const Pose truth{pos(gen), pos(gen), angle(gen)};
    SCOPED_TRACE(testing::Message() << "pose " << truth.row << ", " << truth.col << ", " << truth.angle);
    const Found f = Find(Scene(200, 200, {truth}, 0.6, 40), model, 0.8);
    ASSERT_EQ(f.row.Num(), 1);
    worst_pos = std::max(worst_pos, std::hypot(f.row[0].D() - truth.row, f.col[0].D() - truth.col));
    worst_angle = std::max(worst_angle, AngleErrorDeg(f.angle[0].D(), truth.angle));
    EXPECT_GT(f.score[0].D(), 0.9);
  }
  EXPECT_LT(worst_pos, 0.1);
  EXPECT_LT(worst_angle, 0.1);
}

TEST_F(NccModelTest, NoPatchOrInvertedPatchGivesNothingUnlessPolarityIsIgnored) {
  const Vlong model = Model();
  EXPECT_EQ(Find(Scene(160, 160, {}), model, 0.8).row.Num(), 0);
  const Pose truth{80, 90, 1.0};
  const Vobject inverted = Scene(160, 160, {truth}, -1, 255);
  EXPECT_EQ(Find(inverted, model, 0.8).row.Num(), 0);
  const Found f = Find(inverted, Model("ignore_global_polarity"), 0.8);
  ASSERT_EQ(f.row.Num(), 1);
  EXPECT_NEAR(f.row[0].D(), truth.row, 0.1);
  EXPECT_NEAR(f.col[0].D(), truth.col, 0.1);
  EXPECT_LT(AngleErrorDeg(f.angle[0].D(), truth.angle), 0.1);
}

TEST_F(NccModelTest, SeveralInstancesBestFirstWithoutOverlapAndADomain) {
  const Vlong model = Model();
  const Vobject scene = Scene(260, 160, {{70, 60, 0.3}, {90, 190, 4.0}});
  const Found all = Find(scene, model, 0.7, 0);
  ASSERT_EQ(all.row.Num(), 2);
  EXPECT_GE(all.score[0].D(), all.score[1].D());
  // A domain around the second instance only finds that one.
  Vobject box, reduced;
  ASSERT_EQ(gen_rectangle1(&box, 80, 180, 100, 200), VRESULT_OK);
  ASSERT_EQ(reduce_domain(scene, box, &reduced), VRESULT_OK);
  const Found one = Find(reduced, model, 0.7, 0);
  ASSERT_EQ(one.row.Num(), 1);
  EXPECT_NEAR(one.row[0].D(), 90, 0.1);
  EXPECT_NEAR(one.col[0].D(), 190, 0.1);
  // Without sub-pixel refinement positions are whole pixels.
  const Found coarse = Find(scene, model, 0.7, 1, "false");
  ASSERT_EQ(coarse.row.Num(), 1);
  EXPECT_EQ(coarse.row[0].D(), std::round(coarse.row[0].D()));
}

TEST_F(NccModelTest, OriginParamsAndStoredModels) {
  const Vlong model = Model();
  Vlong levels = 0;
  double start = 0, extent = 0, step = 0;
  char metric[64] = {};
  ASSERT_EQ(get_ncc_model_params(model, &levels, &start, &extent, &step, metric), VRESULT_OK);
  EXPECT_GE(levels, 2);
  EXPECT_EQ(extent, kFullCircle);
  EXPECT_GT(step, 0);
  EXPECT_STREQ(metric, "use_polarity");

  const Pose truth{80, 80, M_PI / 2};
  const Vobject scene = Scene(160, 160, {truth});
  ASSERT_EQ(set_ncc_model_origin(model, -20.0, 10.0), VRESULT_OK);
  double orow = 0, ocol = 0;
  ASSERT_EQ(get_ncc_model_origin(model, &orow, &ocol), VRESULT_OK);
  EXPECT_EQ(orow, -20.0);
  const Found moved = Find(scene, model, 0.8);
  ASSERT_EQ(moved.row.Num(), 1);
  // (-20, 10) turned by 90 degrees counter-clockwise is (-10, -20).
  EXPECT_NEAR(moved.row[0].D(), truth.row - 10, 0.1);
  EXPECT_NEAR(moved.col[0].D(), truth.col - 20, 0.1);

  Vlong item = 0, copy = 0, read = 0;
  ASSERT_EQ(serialize_ncc_model(model, &item), VRESULT_OK);
  ASSERT_EQ(deserialize_ncc_model(item, &copy), VRESULT_OK);
  ASSERT_EQ(clear_serialized_item(item), VRESULT_OK);
  const std::string path = testing::TempDir() + "ncc_model_test.vnm";
  ASSERT_EQ(write_ncc_model(model, path.c_str()), VRESULT_OK);
  ASSERT_EQ(read_ncc_model(path.c_str(), &read), VRESULT_OK);
  for (Vlong other : {copy, read}) {
    const Found f = Find(scene, other, 0.8);
    ASSERT_EQ(f.row.Num(), 1);
    EXPECT_EQ(f.row[0].D(), moved.row[0].D());
    EXPECT_EQ(f.angle[0].D(), moved.angle[0].D());
  }
  std::FILE* file = std::fopen(path.c_str(), "r+b");
  ASSERT_NE(file, nullptr);
  std::fseek(file, 0, SEEK_END);
  const long size = std::ftell(file);
  std::fseek(file, size - 1, SEEK_SET);
  std::fputc(7, file);  // a mask byte that is neither 0 nor 1
  std::fclose(file);
  EXPECT_NE(read_ncc_model(path.c_str(), &read), VRESULT_OK);
  std::remove(path.c_str());

  // The determined values are those "auto" chose.
  VTuple names, values;
  ASSERT_EQ(determine_ncc_model_params(TemplateImage(), VTuple("auto"), VTuple(0.0), VTuple(kFullCircle),
                                       VTuple("use_polarity"), VTuple("all"), &names, &values),
            VRESULT_OK);
  ASSERT_EQ(names.Num(), 2);
  EXPECT_EQ(values[0].L(), levels);
  EXPECT_EQ(values[1].D(), step);

  // A changed level count is what the model reports.
  ASSERT_EQ(set_ncc_model_param(model, "num_levels", 1), VRESULT_OK);
  ASSERT_EQ(get_ncc_model_params(model, &levels, &start, &extent, &step, metric), VRESULT_OK);
  EXPECT_EQ(levels, 1);
  EXPECT_EQ(set_ncc_model_param(model, "greediness", 0.5), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_ncc_model_param(model, "angle_step", 0.0), VERR_CTRL_VALUE(2));
}

TEST_F(NccModelTest, BadHandlesParametersAndImages) {
  const Vobject tmpl = TemplateImage();
  const Vobject scene = Scene(100, 100, {});
  VTuple r, c, a, s;
  Vlong measure = 0, model = 0;
  ASSERT_EQ(gen_measure_rectangle2(50.0, 50.0, 0.0, 10.0, 5.0, 100, 100, "bilinear", &measure), VRESULT_OK);
  EXPECT_EQ(find_ncc_model(scene, measure, 0.0, 1.0, 0.5, 1, 0.5, "true", 0, &r, &c, &a, &s), VERR_HANDLE_TYPE);
  EXPECT_EQ(close_measure(measure), VRESULT_OK);
  const Vlong gone = Model();
  ASSERT_EQ(clear_ncc_model(gone), VRESULT_OK);
  EXPECT_EQ(find_ncc_model(scene, gone, 0.0, 1.0, 0.5, 1, 0.5, "true", 0, &r, &c, &a, &s), VERR_HANDLE_CLOSED);

  const Vlong ok = Model();
  EXPECT_EQ(find_ncc_model(scene, ok, 0.0, -1.0, 0.5, 1, 0.5, "true", 0, &r, &c, &a, &s), VERR_CTRL_VALUE(2));
  EXPECT_EQ(find_ncc_model(scene, ok, 0.0, 1.0, 1.5, 1, 0.5, "true", 0, &r, &c, &a, &s), VERR_CTRL_VALUE(3));
  EXPECT_EQ(find_ncc_model(scene, ok, 0.0, 1.0, 0.5, -1, 0.5, "true", 0, &r, &c, &a, &s), VERR_CTRL_VALUE(4));
  EXPECT_EQ(find_ncc_model(scene, ok, 0.0, 1.0, 0.5, 1, 0.5, "maybe", 0, &r, &c, &a, &s), VERR_CTRL_VALUE(6));
  EXPECT_EQ(create_ncc_model(tmpl, VTuple(0), VTuple(0.0), VTuple(1.0), VTuple("auto"), VTuple("use_polarity"),
                             &model),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(create_ncc_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple(0.0), VTuple("use_polarity"),
                             &model),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(create_ncc_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple("auto"),
                             VTuple("ignore_local_polarity"), &model),
            VERR_CTRL_VALUE(4));
  // Only byte images; a region is no image.
  Vobject real, box;
  ASSERT_EQ(gen_image_const(&real, "real", 100, 100), VRESULT_OK);
  EXPECT_EQ(find_ncc_model(real, ok, 0.0, 1.0, 0.5, 1, 0.5, "true", 0, &r, &c, &a, &s), VERR_PIXEL_TYPE);
  EXPECT_EQ(create_ncc_model(real, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple("auto"),
                             VTuple("use_polarity"), &model),
            VERR_PIXEL_TYPE);
  ASSERT_EQ(gen_rectangle1(&box, 0, 0, 10, 10), VRESULT_OK);
  EXPECT_EQ(find_ncc_model(box, ok, 0.0, 1.0, 0.5, 1, 0.5, "true", 0, &r, &c, &a, &s), VERR_OBJ_CLASS(1));
}

}  // namespace
