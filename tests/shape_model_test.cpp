// Shape-based matching on scenes rendered here: a non-symmetric object (an
// L with a hole and a separate disc) drawn anti-aliased at known poses,
// with Gaussian noise and a bar painted over part of it. Matches must come
// out at the true pose to a twentieth of a pixel and of a degree; empty
// scenes give nothing; several instances, polarity, the model origin and
// stored models behave; bad handles and parameters are refused.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

constexpr int kW = 640, kH = 480;
constexpr double kFullCircle = 2 * M_PI;
constexpr double kBackground = 60, kObject = 190, kBar = 120;

struct Pose {
  double row, col, angle, scale_r = 1, scale_c = 1;
};

// The object in model coordinates (row and column relative to its
// centre): an L of two bars with a round hole, and a disc beside it.
bool InObject(double r, double c, bool mirrored = false) {
  if (mirrored) c = -c;
  const bool vertical = c >= -40 && c <= -15 && r >= -40 && r <= 40;
  const bool foot = c >= -40 && c <= 40 && r >= 15 && r <= 40;
  const bool hole = std::hypot(r + 20, c + 27) <= 6;
  const bool disc = std::hypot(r + 15, c - 15) <= 14;
  return ((vertical || foot) && !hole) || disc;
}
constexpr double kObjectRadius = 58;

// A byte scene: background, the objects at `poses` (each pixel the mean of
// 8x8 samples), optionally a bar over rows bar_r1..bar_r2 and noise.
struct Scene {
  std::vector<double> gray;
  int w, h;
  Scene(int width, int height) : gray(static_cast<size_t>(width) * height, kBackground), w(width), h(height) {}

  void Draw(const Pose& p, double object = kObject, bool mirrored = false) {
    constexpr int kSub = 8;
    const double ca = std::cos(p.angle), sa = std::sin(p.angle);
    const double reach = kObjectRadius * std::max(p.scale_r, p.scale_c);
    for (int r = std::max(0, int(p.row - reach)); r < std::min(h, int(p.row + reach) + 2); ++r)
      for (int c = std::max(0, int(p.col - reach)); c < std::min(w, int(p.col + reach) + 2); ++c) {
        int inside = 0;
        for (int i = 0; i < kSub; ++i)
          for (int j = 0; j < kSub; ++j) {
            const double dr = r - 0.5 + (i + 0.5) / kSub - p.row, dc = c - 0.5 + (j + 0.5) / kSub - p.col;
            // Back into model coordinates: rotate by -angle, unscale.
            inside += InObject((ca * dr + sa * dc) / p.scale_r, (-sa * dr + ca * dc) / p.scale_c, mirrored);
          }
        double& g = gray[static_cast<size_t>(r) * w + c];
        g += (object - g) * inside / (kSub * kSub);
      }
  }
  void Bar(int r1, int r2) {
    for (int r = std::max(0, r1); r <= std::min(h - 1, r2); ++r)
      for (int c = 0; c < w; ++c) gray[static_cast<size_t>(r) * w + c] = kBar;
  }
  void Noise(double sigma, std::mt19937* gen) {
    std::normal_distribution<double> n(0, sigma);
    for (double& g : gray) g += n(*gen);
  }
  Vobject Image() const {
    std::vector<uint8_t> bytes(gray.size());
    for (size_t i = 0; i < gray.size(); ++i)
      bytes[i] = static_cast<uint8_t>(std::lround(std::min(255.0, std::max(0.0, gray[i]))));
    Vobject img;
    EXPECT_EQ(gen_image1(&img, "byte", w, h, static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data()))),
              VRESULT_OK);
    return img;
  }
};

// The template: the object upright at the centre of a 200x200 image, the
// model region a square around it, whose centre is the object's centre.
constexpr double kTemplateCentre = 100;
Vobject TemplateImage(bool mirrored = false) {
  Scene s(200, 200);
  s.Draw({kTemplateCentre, kTemplateCentre, 0}, kObject, mirrored);
  Vobject img = s.Image(), box, reduced;
  EXPECT_EQ(gen_rectangle1(&box, 40, 40, 160, 160), VRESULT_OK);
  EXPECT_EQ(reduce_domain(img, box, &reduced), VRESULT_OK);
  return reduced;
}

double AngleErrorDeg(double found, double truth) {
  return std::fabs(std::remainder(found - truth, kFullCircle)) * 180 / M_PI;
}

struct Found {
  VTuple row, col, angle, score;
};

class ShapeModelTest : public LeakCheckedTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(clear_all_shape_models(), VRESULT_OK);
    LeakCheckedTest::TearDown();
  }
  static Vlong Model(const char* metric = "use_polarity", const Vobject& tmpl = TemplateImage()) {
    Vlong model = -1;
    EXPECT_EQ(create_shape_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(kFullCircle), VTuple("auto"),
                                 VTuple("auto"), VTuple(metric), VTuple("auto"), VTuple("auto"), &model),
              VRESULT_OK);
    return model;
  }
  static Found Find(const Vobject& scene, Vlong model, double min_score, Vlong num = 1,
                    const char* sub_pixel = "least_squares", double greediness = 0.8) {
    Found f;
    EXPECT_EQ(find_shape_model(scene, model, 0.0, kFullCircle, min_score, num, 0.5, sub_pixel, 0,
                               greediness, &f.row, &f.col, &f.angle, &f.score),
              VRESULT_OK);
    return f;
  }
};

TEST_F(ShapeModelTest, OccludedNoisyObjectIsFoundToAFiftiethOfAPixelAtRandomPoses) {
  const Vlong model = Model();
  std::mt19937 gen(20261122);
  std::uniform_real_distribution<double> row(90, kH - 90), col(90, kW - 90), angle(0, kFullCircle);
  double worst_pos = 0, worst_angle = 0;
  for (int i = 0; i < 20; ++i) {
    const Pose truth{row(gen), col(gen), angle(gen)};
    SCOPED_TRACE(testing::Message() << "pose " << truth.row << ", " << truth.col << ", " << truth.angle);
    Scene s(kW, kH);
    s.Draw(truth);
    // A bar across about 30% of the object's height.
    const int bar = static_cast<int>(truth.row) + (i % 2 ? 4 : -30);
    s.Bar(bar, bar + 25);
    s.Noise(5, &gen);
    const Found f = Find(s.Image(), model, 0.5);
    ASSERT_EQ(f.row.Num(), 1);
    const double pos = std::hypot(f.row[0].D() - truth.row, f.col[0].D() - truth.col);
    const double ang = AngleErrorDeg(f.angle[0].D(), truth.angle);
    EXPECT_LT(pos, 0.05);
    EXPECT_LT(ang, 0.05);
    EXPECT_GT(f.score[0].D(), 0.5);
    EXPECT_LT(f.score[0].D(), 0.9);  // the bar hides part of the points
    worst_pos = std::max(worst_pos, pos);
    worst_angle = std::max(worst_angle, ang);
  }
  std::printf("worst position error %.4f px, worst angle error %.4f deg\n", worst_pos, worst_angle);
}

TEST_F(ShapeModelTest, SceneWithoutTheObjectGivesNoMatch) {
  const Vlong model = Model();
  std::mt19937 gen(7);
  Scene s(kW, kH);
  s.Bar(200, 260);  // straight edges only
  s.Noise(5, &gen);
  EXPECT_EQ(Find(s.Image(), model, 0.7, 0).row.Num(), 0);
}

TEST_F(ShapeModelTest, SeveralInstancesBestFirstAndCoarserSubPixelModes) {
  const Vlong model = Model();
  const Pose poses[] = {{120.3, 150.6, 0.4}, {300.2, 420.7, 2.5}, {330.9, 140.1, -1.2}};
  Scene s(kW, kH);
  for (const Pose& p : poses) s.Draw(p);
  const Vobject img = s.Image();
  const Found all = Find(img, model, 0.7, 0);
  ASSERT_EQ(all.row.Num(), 3);
  for (Vlong i = 0; i < 3; ++i) {
    if (i > 0) EXPECT_LE(all.score[i].D(), all.score[i - 1].D());
    double nearest = 1e9;
    for (const Pose& p : poses) nearest = std::min(nearest, std::hypot(all.row[i].D() - p.row, all.col[i].D() - p.col));
    EXPECT_LT(nearest, 0.05);
  }
  EXPECT_EQ(Find(img, model, 0.7, 2).row.Num(), 2);
  // With the mirrored object's model beside it, each instance is reported
  // once, by the model it really is.
  Scene mixed(kW, kH);
  mixed.Draw(poses[0]);
  mixed.Draw(poses[1], kObject, true);
  const VTuple models = VTuple(model).Append(VTuple(Model("use_polarity", TemplateImage(true))));
  VTuple r, c, a, sc, index;
  ASSERT_EQ(find_shape_models(mixed.Image(), models, 0.0, kFullCircle, 0.7, 0, 0.5, "least_squares", 0, 0.8, &r, &c,
                              &a, &sc, &index),
            VRESULT_OK);
  ASSERT_EQ(r.Num(), 2);
  for (Vlong i = 0; i < 2; ++i) {
    const Pose& truth = poses[index[i].L()];
    EXPECT_LT(std::hypot(r[i].D() - truth.row, c[i].D() - truth.col), 0.05);
  }
  EXPECT_NE(index[0].L(), index[1].L());
  // Parameters per model: a minimum score no match reaches silences the
  // second model only.
  ASSERT_EQ(find_shape_models(mixed.Image(), models, VTuple(0.0), VTuple(kFullCircle), VTuple(0.7).Append(VTuple(1.0)),
                              VTuple(0), VTuple(0.5), VTuple("least_squares"), VTuple(0), VTuple(0.8), &r, &c, &a, &sc,
                              &index),
            VRESULT_OK);
  ASSERT_GE(r.Num(), 1);
  for (Vlong i = 0; i < index.Num(); ++i) EXPECT_EQ(index[i].L(), 0);
  EXPECT_LT(std::hypot(r[0].D() - poses[0].row, c[0].D() - poses[0].col), 0.05);
  EXPECT_EQ(find_shape_models(mixed.Image(), models, VTuple(0.0), VTuple(kFullCircle), VTuple(0.7).Append(VTuple(0.7)).Append(VTuple(0.7)),
                              VTuple(0), VTuple(0.5), VTuple("least_squares"), VTuple(0), VTuple(0.8), &r, &c, &a, &sc,
                              &index),
            VERR_CTRL_NUM(3));
  // Without least squares the pose is coarser but still close.
  const Found none = Find(img, model, 0.7, 0, "none");
  const Found interp = Find(img, model, 0.7, 0, "interpolation");
  ASSERT_EQ(none.row.Num(), 3);
  ASSERT_EQ(interp.row.Num(), 3);
  for (Vlong i = 0; i < 3; ++i) {
    EXPECT_LT(std::hypot(none.row[i].D() - all.row[i].D(), none.col[i].D() - all.col[i].D()), 1.0);
    EXPECT_LT(std::hypot(interp.row[i].D() - all.row[i].D(), interp.col[i].D() - all.col[i].D()), 0.5);
    EXPECT_LT(AngleErrorDeg(interp.angle[i].D(), all.angle[i].D()), 1.0);
  }
}

TEST_F(ShapeModelTest, PolarityMetricsAndSearchDomain) {
  const Pose truth{240.4, 320.8, 1.0};
  Scene s(kW, kH);
  s.Draw(truth, 10);  // dark object on a brighter background: inverted contrast
  const Vobject inverted = s.Image();
  const Vlong strict = Model("use_polarity");
  EXPECT_EQ(Find(inverted, strict, 0.7).row.Num(), 0);
  for (const char* metric : {"ignore_global_polarity", "ignore_local_polarity"}) {
    SCOPED_TRACE(metric);
    const Found f = Find(inverted, Model(metric), 0.7);
    ASSERT_EQ(f.row.Num(), 1);
    EXPECT_LT(std::hypot(f.row[0].D() - truth.row, f.col[0].D() - truth.col), 0.05);
  }
  // The reference point must lie in the image's domain.
  Scene bright(kW, kH);
  bright.Draw(truth);
  Vobject away, near, reduced;
  ASSERT_EQ(gen_rectangle1(&away, 0, 0, 100, 100), VRESULT_OK);
  ASSERT_EQ(reduce_domain(bright.Image(), away, &reduced), VRESULT_OK);
  EXPECT_EQ(Find(reduced, strict, 0.7).row.Num(), 0);
  ASSERT_EQ(gen_rectangle1(&near, 230, 310, 250, 330), VRESULT_OK);
  ASSERT_EQ(reduce_domain(bright.Image(), near, &reduced), VRESULT_OK);
  EXPECT_EQ(Find(reduced, strict, 0.7).row.Num(), 1);
}

TEST_F(ShapeModelTest, ScaledAndAnisotropicModelsRecoverTheScales) {
  const Vobject tmpl = TemplateImage();
  const Pose truth{250.6, 330.2, 0.7, 1.13, 0.91};
  std::mt19937 gen(3);
  Scene iso(kW, kH);
  iso.Draw({truth.row, truth.col, truth.angle, truth.scale_r, truth.scale_r});
  iso.Noise(5, &gen);
  Vlong scaled = 0;
  ASSERT_EQ(create_scaled_shape_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(kFullCircle), VTuple("auto"),
                                      VTuple(0.8), VTuple(1.2), VTuple("auto"), VTuple("auto"),
                                      VTuple("use_polarity"), VTuple("auto"), VTuple("auto"), &scaled),
            VRESULT_OK);
  VTuple r, c, a, s, sc, score;
  ASSERT_EQ(find_scaled_shape_model(iso.Image(), scaled, 0.0, kFullCircle, 0.8, 1.2, 0.7, 1, 0.5,
                                    "least_squares", 0, 0.8, &r, &c, &a, &s, &score),
            VRESULT_OK);
  ASSERT_EQ(r.Num(), 1);
  EXPECT_LT(std::hypot(r[0].D() - truth.row, c[0].D() - truth.col), 0.05);
  EXPECT_LT(AngleErrorDeg(a[0].D(), truth.angle), 0.05);
  EXPECT_NEAR(s[0].D(), truth.scale_r, 0.001);
  // The search range must lie within the model's.
  EXPECT_EQ(find_scaled_shape_model(iso.Image(), scaled, 0.0, kFullCircle, 0.7, 1.2, 0.7, 1, 0.5,
                                    "least_squares", 0, 0.8, &r, &c, &a, &s, &score),
            VERR_CTRL_VALUE(3));

  Scene aniso(kW, kH);
  aniso.Draw(truth);
  aniso.Noise(5, &gen);
  Vlong model = 0;
  ASSERT_EQ(create_aniso_shape_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(kFullCircle), VTuple("auto"),
                                     VTuple(0.85), VTuple(1.2), VTuple("auto"), VTuple(0.85), VTuple(1.2),
                                     VTuple("auto"), VTuple("auto"), VTuple("use_polarity"), VTuple("auto"),
                                     VTuple("auto"), &model),
            VRESULT_OK);
  ASSERT_EQ(find_aniso_shape_model(aniso.Image(), model, 0.0, kFullCircle, 0.85, 1.2, 0.85, 1.2, 0.7, 1, 0.5,
                                   "least_squares", 0, 0.8, &r, &c, &a, &s, &sc, &score),
            VRESULT_OK);
  ASSERT_EQ(r.Num(), 1);
  EXPECT_LT(std::hypot(r[0].D() - truth.row, c[0].D() - truth.col), 0.05);
  EXPECT_LT(AngleErrorDeg(a[0].D(), truth.angle), 0.05);
  EXPECT_NEAR(s[0].D(), truth.scale_r, 0.001);
  EXPECT_NEAR(sc[0].D(), truth.scale_c, 0.001);
}

// The object's outline as contours, upright around (100, 100).
Vobject ObjectContours() {
  VTuple rows, cols;
  const double outline[][2] = {{-40, -40}, {-40, -15}, {15, -15}, {15, 40}, {40, 40}, {40, -40}, {-40, -40}};
  for (const auto& p : outline) {
    rows.Append(VTuple(kTemplateCentre + p[0]));
    cols.Append(VTuple(kTemplateCentre + p[1]));
  }
  Vobject l_shape, hole, disc, two, all;
  EXPECT_EQ(gen_contour_polygon_xld(&l_shape, rows, cols), VRESULT_OK);
  EXPECT_EQ(gen_circle_contour_xld(&hole, kTemplateCentre - 20, kTemplateCentre - 27, 6, 0, kFullCircle, "positive", 0.5),
            VRESULT_OK);
  EXPECT_EQ(gen_circle_contour_xld(&disc, kTemplateCentre - 15, kTemplateCentre + 15, 14, 0, kFullCircle, "positive", 0.5),
            VRESULT_OK);
  EXPECT_EQ(concat_obj(l_shape, hole, &two), VRESULT_OK);
  EXPECT_EQ(concat_obj(two, disc, &all), VRESULT_OK);
  return all;
}

TEST_F(ShapeModelTest, ContourModelsMatchWithoutAndWithPolarity) {
  Vlong model = 0;
  ASSERT_EQ(create_shape_model_xld(ObjectContours(), VTuple("auto"), VTuple(0.0), VTuple(kFullCircle), VTuple("auto"),
                                   VTuple("auto"), VTuple("ignore_local_polarity"), VTuple(10), &model),
            VRESULT_OK);
  const Pose a{200.3, 250.8, 0.9}, b{300.6, 420.1, -2.3};
  std::mt19937 gen(5);
  Scene sa(kW, kH), sb(kW, kH), inverted(kW, kH);
  sa.Draw(a);
  sb.Draw(b);
  inverted.Draw(b, 10);
  sa.Noise(5, &gen);
  sb.Noise(5, &gen);
  const Found fa = Find(sa.Image(), model, 0.7), fb = Find(sb.Image(), model, 0.7);
  ASSERT_EQ(fa.row.Num(), 1);
  ASSERT_EQ(fb.row.Num(), 1);
  EXPECT_LT(AngleErrorDeg(fa.angle[0].D(), a.angle), 0.05);
  EXPECT_LT(AngleErrorDeg(fb.angle[0].D(), b.angle), 0.05);
  // The reference point is the contours' mean, some fixed offset o from
  // the object's centre: o seen in scene a predicts where b reports it.
  const double ca = std::cos(a.angle), sa_ = std::sin(a.angle);
  const double dr = fa.row[0].D() - a.row, dc = fa.col[0].D() - a.col;
  const double o_r = ca * dr + sa_ * dc, o_c = -sa_ * dr + ca * dc;
  const double cb = std::cos(b.angle), sb_ = std::sin(b.angle);
  EXPECT_NEAR(fb.row[0].D(), b.row + cb * o_r - sb_ * o_c, 0.05);
  EXPECT_NEAR(fb.col[0].D(), b.col + sb_ * o_r + cb * o_c, 0.05);

  // Polarity taken from scene a at its pose: then the inverted object no
  // longer matches, the upright one still does.
  const VTuple hom = VTuple(ca).Append(VTuple(-sa_)).Append(VTuple(a.row - (ca - sa_) * kTemplateCentre))
                         .Append(VTuple(sa_)).Append(VTuple(ca)).Append(VTuple(a.col - (sa_ + ca) * kTemplateCentre));
  ASSERT_EQ(set_shape_model_metric(sa.Image(), model, hom, "use_polarity"), VRESULT_OK);
  EXPECT_EQ(Find(inverted.Image(), model, 0.7).row.Num(), 0);
  const Found again = Find(sb.Image(), model, 0.7);
  ASSERT_EQ(again.row.Num(), 1);
  EXPECT_NEAR(again.row[0].D(), fb.row[0].D(), 0.02);
}

TEST_F(ShapeModelTest, OriginParamsContoursAndStoredModels) {
  const Vlong model = Model();
  Vlong levels = 0, min_contrast = 0;
  double start = 0, extent = 0, step = 0, smin = 0, smax = 0, sstep = 0;
  char metric[64] = {0};
  ASSERT_EQ(get_shape_model_params(model, &levels, &start, &extent, &step, &smin, &smax, &sstep, metric,
                                   &min_contrast),
            VRESULT_OK);
  EXPECT_GE(levels, 3);
  EXPECT_DOUBLE_EQ(extent, kFullCircle);
  // About one pixel of movement at the object's outermost edge point.
  EXPECT_NEAR(step, std::atan(1 / 57.0), 0.004);
  EXPECT_EQ(std::string(metric), "use_polarity");
  EXPECT_GT(min_contrast, 0);

  // Level-1 contours lie on the object's outline around the origin.
  Vobject contours;
  ASSERT_EQ(get_shape_model_contours(&contours, model, 1), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(contours, &n), VRESULT_OK);
  EXPECT_GE(n, 3);  // outer L, hole, disc
  EXPECT_NE(get_shape_model_contours(&contours, model, levels + 1), VRESULT_OK);

  // A moved origin moves (and turns with) every match.
  ASSERT_EQ(set_shape_model_origin(model, -20.0, 10.0), VRESULT_OK);
  double orow = 0, ocol = 0;
  ASSERT_EQ(get_shape_model_origin(model, &orow, &ocol), VRESULT_OK);
  EXPECT_EQ(orow, -20.0);
  EXPECT_EQ(ocol, 10.0);
  const Pose truth{250.5, 300.25, M_PI / 2};
  Scene s(kW, kH);
  s.Draw(truth);
  const Vobject img = s.Image();
  const Found moved = Find(img, model, 0.7);
  ASSERT_EQ(moved.row.Num(), 1);
  // (-20, 10) turned by 90 degrees counter-clockwise is (-10, -20).
  EXPECT_NEAR(moved.row[0].D(), truth.row - 10, 0.05);
  EXPECT_NEAR(moved.col[0].D(), truth.col - 20, 0.05);

  // Serialised, written and read back models find the same.
  Vlong item = 0, copy = 0, read = 0;
  ASSERT_EQ(serialize_shape_model(model, &item), VRESULT_OK);
  ASSERT_EQ(deserialize_shape_model(item, &copy), VRESULT_OK);
  ASSERT_EQ(clear_serialized_item(item), VRESULT_OK);
  const std::string path = testing::TempDir() + "shape_model_test.vsm";
  ASSERT_EQ(write_shape_model(model, path.c_str()), VRESULT_OK);
  ASSERT_EQ(read_shape_model(path.c_str(), &read), VRESULT_OK);
  for (Vlong other : {copy, read}) {
    const Found f = Find(img, other, 0.7);
    ASSERT_EQ(f.row.Num(), 1);
    EXPECT_EQ(f.row[0].D(), moved.row[0].D());
    EXPECT_EQ(f.angle[0].D(), moved.angle[0].D());
  }
  // A damaged file is refused.
  std::FILE* file = std::fopen(path.c_str(), "r+b");
  ASSERT_NE(file, nullptr);
  std::fseek(file, 60, SEEK_SET);
  std::fputc(0x5A, file);
  std::fclose(file);
  EXPECT_EQ(read_shape_model(path.c_str(), &read), VERR_FILE_CORRUPT);
  std::remove(path.c_str());
}

TEST_F(ShapeModelTest, InspectionAndAChangedMinContrast) {
  const Vobject tmpl = TemplateImage();
  Vobject images, regions;
  ASSERT_EQ(inspect_shape_model(tmpl, &images, &regions, 3, 30), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(regions, &n), VRESULT_OK);
  ASSERT_EQ(n, 3);
  VTuple area, row, col;
  ASSERT_EQ(area_center(regions, &area, &row, &col), VRESULT_OK);
  // One pixel per pixel of outline: about 2 (80 + 80) + 2 pi (6 + 14)
  // on level 1, half of that on level 2.
  const double outline = 2 * (80 + 80) + 2 * M_PI * (6 + 14);
  EXPECT_NEAR(area[0].D(), outline, 0.15 * outline);
  EXPECT_NEAR(area[1].D(), outline / 2, 0.2 * outline / 2);
  // The reference point (100, 100) is the outline's centre up to the
  // object's own asymmetry.
  EXPECT_NEAR(row[0].D(), 100, 15);
  Vobject second;
  ASSERT_EQ(select_obj(images, &second, 2), VRESULT_OK);
  Vlong w = 0, h = 0;
  ASSERT_EQ(get_image_size(second, &w, &h), VRESULT_OK);
  EXPECT_EQ(w, 100);

  // Search pixels weaker than min_contrast do not count: above the
  // object's contrast nothing matches.
  const Vlong model = Model();
  Scene s(kW, kH);
  s.Draw({200, 300, 1.0});
  const Vobject img = s.Image();
  ASSERT_EQ(set_shape_model_param(model, "min_contrast", 300), VRESULT_OK);
  EXPECT_EQ(Find(img, model, 0.5).row.Num(), 0);
  ASSERT_EQ(set_shape_model_param(model, "min_contrast", 10), VRESULT_OK);
  EXPECT_EQ(Find(img, model, 0.5).row.Num(), 1);
  EXPECT_EQ(set_shape_model_param(model, "contrast", 10), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_shape_model_param(model, "min_contrast", -1), VERR_CTRL_VALUE(2));
}

TEST_F(ShapeModelTest, DeterminedParamsAreWhatTheAutomaticModelUses) {
  const Vobject tmpl = TemplateImage();
  VTuple names, values;
  ASSERT_EQ(determine_shape_model_params(tmpl, VTuple("auto"), VTuple(0.0), VTuple(kFullCircle), VTuple(1.0),
                                         VTuple(1.0), VTuple("auto"), VTuple("use_polarity"), VTuple("auto"),
                                         VTuple("auto"), VTuple("all"), &names, &values),
            VRESULT_OK);
  ASSERT_EQ(names.Num(), 8);
  const Vlong model = Model();
  Vlong levels = 0, min_contrast = 0;
  double start = 0, extent = 0, step = 0, smin = 0, smax = 0, sstep = 0;
  char metric[64] = {0};
  ASSERT_EQ(get_shape_model_params(model, &levels, &start, &extent, &step, &smin, &smax, &sstep, metric,
                                   &min_contrast),
            VRESULT_OK);
  EXPECT_EQ(std::string(names[0].S()), "num_levels");
  EXPECT_EQ(values[0].L(), levels);
  EXPECT_DOUBLE_EQ(values[1].D(), step);
  EXPECT_EQ(std::lround(values[7].D()), min_contrast);
  // The auto contrast separates the part's edges (130 gray levels) from
  // nothing: it lies well inside the step.
  EXPECT_GT(values[5].D(), 20);
  EXPECT_LT(values[5].D(), 130);
  // A model that may grow by 20% needs finer angle steps; its scale step
  // moves the outermost point by about a pixel.
  VTuple scaled_names, scaled;
  ASSERT_EQ(determine_shape_model_params(tmpl, VTuple("auto"), VTuple(0.0), VTuple(kFullCircle), VTuple(0.8),
                                         VTuple(1.2), VTuple("auto"), VTuple("use_polarity"), VTuple("auto"),
                                         VTuple("auto"), VTuple("angle_step").Append(VTuple("scale_step")),
                                         &scaled_names, &scaled),
            VRESULT_OK);
  ASSERT_EQ(scaled.Num(), 2);
  EXPECT_NEAR(scaled[0].D(), std::atan(1 / (1.2 * 57)), 0.002);
  EXPECT_NEAR(scaled[1].D(), 1 / (1.2 * 57), 0.002);
  EXPECT_EQ(determine_shape_model_params(tmpl, VTuple("auto"), VTuple(0.0), VTuple(kFullCircle), VTuple(1.0),
                                         VTuple(1.0), VTuple("auto"), VTuple("use_polarity"), VTuple("auto"),
                                         VTuple("auto"), VTuple("speed"), &names, &values),
            VERR_CTRL_VALUE(9));
}

TEST_F(ShapeModelTest, ModelContoursLieOnTheOutline) {
  const Vlong model = Model();
  Vobject contours;
  ASSERT_EQ(get_shape_model_contours(&contours, model, 1), VRESULT_OK);
  Vlong n = 0;
  ASSERT_EQ(count_obj(contours, &n), VRESULT_OK);
  Vlong points = 0, misses = 0;
  for (Vlong i = 1; i <= n; ++i) {
    Vobject one;
    VTuple rows, cols;
    ASSERT_EQ(select_obj(contours, &one, i), VRESULT_OK);
    ASSERT_EQ(get_contour_xld(one, &rows, &cols), VRESULT_OK);
    // Relative to the origin, the template's centre: the part's own
    // coordinates. A point on the outline has inside and outside within
    // a fifth of a pixel; only the L's six corners, where the gradient
    // turns diagonal, sit up to a pixel inside.
    for (Vlong k = 0; k < rows.Num(); ++k, ++points) {
      const double r = rows[k].D(), c = cols[k].D();
      bool in = false, out = false;
      for (double dr : {-0.2, 0.0, 0.2})
        for (double dc : {-0.2, 0.0, 0.2}) (InObject(r + dr, c + dc) ? in : out) = true;
      misses += !(in && out);
    }
  }
  EXPECT_GT(points, 400);
  EXPECT_LE(misses, 6);
}

TEST_F(ShapeModelTest, ThreadsAngleRangesAndGreedinessDoNotChangeTheResult) {
  const Vlong model = Model();
  const Pose truth{200.7, 300.2, 0.3};
  std::mt19937 gen(9);
  Scene s(kW, kH);
  s.Draw(truth);
  s.Draw({330.1, 470.4, 2.0});
  s.Noise(5, &gen);
  const Vobject img = s.Image();
  setenv("VEXA_MATCHING_THREADS", "1", 1);
  const Found one = Find(img, model, 0.7, 0);
  setenv("VEXA_MATCHING_THREADS", "3", 1);
  const Found three = Find(img, model, 0.7, 0);
  unsetenv("VEXA_MATCHING_THREADS");
  ASSERT_EQ(one.row.Num(), 2);
  ASSERT_EQ(three.row.Num(), 2);
  for (Vlong i = 0; i < 2; ++i) {
    EXPECT_EQ(one.row[i].D(), three.row[i].D());
    EXPECT_EQ(one.angle[i].D(), three.angle[i].D());
    EXPECT_EQ(one.score[i].D(), three.score[i].D());
  }
  // Greediness 0 examines every point: the same matches.
  const Found safe = Find(img, model, 0.7, 0, "least_squares", 0.0);
  ASSERT_EQ(safe.row.Num(), 2);
  EXPECT_NEAR(safe.row[0].D(), one.row[0].D(), 1e-6);
  // An angle range that excludes the instance at 2.0 finds only the other.
  Found part;
  ASSERT_EQ(find_shape_model(img, model, 0.0, 1.0, 0.7, 0, 0.5, "least_squares", 0, 0.8, &part.row, &part.col,
                             &part.angle, &part.score),
            VRESULT_OK);
  ASSERT_EQ(part.row.Num(), 1);
  EXPECT_LT(std::hypot(part.row[0].D() - truth.row, part.col[0].D() - truth.col), 0.05);
  // Two levels only, tracked to level 2: a coarser pose near one of the
  // two.
  Found coarse;
  VTuple levels = VTuple(2).Append(VTuple(2));
  ASSERT_EQ(find_shape_model(img, VTuple(model), VTuple(0.0), VTuple(kFullCircle), VTuple(0.7), VTuple(1), VTuple(0.5),
                             VTuple("interpolation"), levels, VTuple(0.8), &coarse.row, &coarse.col, &coarse.angle,
                             &coarse.score),
            VRESULT_OK);
  ASSERT_EQ(coarse.row.Num(), 1);
  EXPECT_LT(std::min(std::hypot(coarse.row[0].D() - one.row[0].D(), coarse.col[0].D() - one.col[0].D()),
                     std::hypot(coarse.row[0].D() - one.row[1].D(), coarse.col[0].D() - one.col[1].D())),
            1.0);
}

TEST_F(ShapeModelTest, BadHandlesParametersAndModelRegions) {
  const Vobject tmpl = TemplateImage();
  const Vlong model = Model();
  Scene s(kW, kH);
  const Vobject img = s.Image();
  VTuple r, c, a, sc;
  // A measure handle is no shape model; a cleared model is gone.
  Vlong measure = 0;
  ASSERT_EQ(gen_measure_rectangle2(50.0, 50.0, 0.0, 10.0, 5.0, kW, kH, "bilinear", &measure), VRESULT_OK);
  EXPECT_EQ(find_shape_model(img, measure, 0.0, 1.0, 0.5, 1, 0.5, "none", 0, 0.9, &r, &c, &a, &sc),
            VERR_HANDLE_TYPE);
  EXPECT_EQ(close_measure(measure), VRESULT_OK);
  Vlong gone = Model();
  ASSERT_EQ(clear_shape_model(gone), VRESULT_OK);
  EXPECT_EQ(find_shape_model(img, gone, 0.0, 1.0, 0.5, 1, 0.5, "none", 0, 0.9, &r, &c, &a, &sc),
            VERR_HANDLE_CLOSED);
  // Search parameters out of range.
  EXPECT_EQ(find_shape_model(img, model, 0.0, 1.0, 1.5, 1, 0.5, "none", 0, 0.9, &r, &c, &a, &sc),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(find_shape_model(img, model, 0.0, -1.0, 0.5, 1, 0.5, "none", 0, 0.9, &r, &c, &a, &sc),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(find_shape_model(img, model, 0.0, 1.0, 0.5, 1, 0.5, "cubic", 0, 0.9, &r, &c, &a, &sc),
            VERR_CTRL_VALUE(6));
  EXPECT_EQ(find_shape_model(img, model, 0.0, 1.0, 0.5, 1, 0.5, "none", 0, 1.1, &r, &c, &a, &sc),
            VERR_CTRL_VALUE(8));
  EXPECT_EQ(find_shape_model(img, model, 0.0, 1.0, 0.5, 1, 0.5, "none", -1, 0.9, &r, &c, &a, &sc),
            VERR_CTRL_VALUE(7));
  // Creation parameters out of range.
  Vlong m = 0;
  EXPECT_EQ(create_shape_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple("auto"), VTuple("auto"),
                               VTuple("use_colour"), VTuple("auto"), VTuple("auto"), &m),
            VERR_CTRL_VALUE(5));
  EXPECT_EQ(create_shape_model(tmpl, VTuple(0), VTuple(0.0), VTuple(1.0), VTuple("auto"), VTuple("auto"),
                               VTuple("use_polarity"), VTuple("auto"), VTuple("auto"), &m),
            VERR_CTRL_VALUE(0));
  EXPECT_EQ(create_shape_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple(-0.1), VTuple("auto"),
                               VTuple("use_polarity"), VTuple("auto"), VTuple("auto"), &m),
            VERR_CTRL_VALUE(3));
  VTuple hysteresis(40);
  hysteresis[1] = 20;  // high below low
  EXPECT_EQ(create_shape_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple("auto"), VTuple("auto"),
                               VTuple("use_polarity"), hysteresis, VTuple("auto"), &m),
            VERR_CTRL_VALUE(6));
  // Regions without edges: a flat template, an empty domain, a contrast
  // above every edge.
  Vobject flat, none, reduced;
  ASSERT_EQ(gen_empty_region(&none), VRESULT_OK);
  ASSERT_EQ(reduce_domain(img, none, &reduced), VRESULT_OK);
  for (const Vobject* t : std::vector<const Vobject*>{&img, &reduced})
    EXPECT_EQ(create_shape_model(*t, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple("auto"), VTuple("auto"),
                                 VTuple("use_polarity"), VTuple("auto"), VTuple("auto"), &m),
              VERR_MODEL_POINTS);
  EXPECT_EQ(create_shape_model(tmpl, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple("auto"), VTuple("auto"),
                               VTuple("use_polarity"), VTuple(500), VTuple("auto"), &m),
            VERR_MODEL_POINTS);
  // A contour of three pixels is too short; parallels are no contours.
  Vobject tiny;
  ASSERT_EQ(gen_contour_polygon_xld(&tiny, VTuple(10.0).Append(VTuple(10.0)), VTuple(10.0).Append(VTuple(13.0))),
            VRESULT_OK);
  EXPECT_EQ(create_shape_model_xld(tiny, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple("auto"), VTuple("auto"),
                                   VTuple("ignore_local_polarity"), VTuple(10), &m),
            VERR_MODEL_POINTS);
  EXPECT_EQ(create_shape_model_xld(img, VTuple("auto"), VTuple(0.0), VTuple(1.0), VTuple("auto"), VTuple("auto"),
                                   VTuple("ignore_local_polarity"), VTuple(10), &m),
            VERR_OBJ_CLASS(1));
  // A plain model has no scales to search.
  EXPECT_EQ(find_scaled_shape_model(img, model, 0.0, 1.0, 0.9, 1.1, 0.5, 1, 0.5, "none", 0, 0.9, &r, &c, &a, &sc, &sc),
            VERR_CTRL_VALUE(0));
}

}  // namespace
