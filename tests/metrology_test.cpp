// Metrology models on images rendered here: bright shapes on a dark
// ground, each pixel the mean over its area of a step across the shape's
// outline blurred with a Gaussian of sigma 1 (exact for straight edges,
// off by sigma^2 / 2R on a circle of radius R). Circles, lines and
// rectangles must come out to a twentieth of a pixel from rough starting
// shapes, also with part of the outline hidden; scenes without the shape
// give no instance; models survive alignment, copying and serialisation;
// bad handles, indices, names, values and image sizes are refused.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "area_sampled_image.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

constexpr int kW = 240, kH = 200;
constexpr double kDark = 40, kBright = 200;

// Pixels sampled 6 x 6 times over their area.
struct Image : AreaSampledImage {
  explicit Image(const std::function<double(double, double)>& f, int w = kW, int h = kH)
      : AreaSampledImage(f, w, h, 6) {}
};

// Gray of a point at signed distance d inside an outline.
double Inside(double d) { return kDark + (kBright - kDark) * Phi(d); }

struct Circle {
  double row, column, radius;
};

double InCircle(const Circle& k, double r, double c) {
  return k.radius - std::hypot(r - k.row, c - k.column);
}

// Distances inside a rectangle along and across its axis phi.
struct Rect {
  double row, column, phi, length1, length2;
};

double InRect(const Rect& k, double r, double c) {
  const double u = -(r - k.row) * std::sin(k.phi) + (c - k.column) * std::cos(k.phi);
  const double v = -(r - k.row) * std::cos(k.phi) - (c - k.column) * std::sin(k.phi);
  return std::min(k.length1 - std::fabs(u), k.length2 - std::fabs(v));
}

VTuple Tuple(std::initializer_list<VTuple> items) {
  VTuple t;
  for (const VTuple& i : items) t.Append(i);
  return t;
}

class MetrologyTest : public LeakCheckedTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(clear_all_metrology_models(), VRESULT_OK);
    LeakCheckedTest::TearDown();
  }
  Vlong Model() {
    Vlong h = -1;
    EXPECT_EQ(create_metrology_model(&h), VRESULT_OK);
    return h;
  }
  // All parameters of instance 0 of object `index`.
  static VTuple Result(Vlong model, Vlong index, const char* type = "all_param") {
    VTuple v;
    EXPECT_EQ(get_metrology_object_result(model, index, 0, "result_type", type, &v), VRESULT_OK);
    return v;
  }
  static double NumInstances(Vlong model, Vlong index) {
    double n = -1;
    EXPECT_EQ(get_metrology_object_num_instances(model, index, &n), VRESULT_OK);
    return n;
  }
  static Vlong AddCircle(Vlong model, const Circle& k, double length2 = 2) {
    Vlong index = -1;
    EXPECT_EQ(add_metrology_object_circle_measure(VTuple(model), k.row, k.column, k.radius, 15.0,
                                                  length2, 1.0, 20.0, VTuple(), VTuple(), &index),
              VRESULT_OK);
    return index;
  }
};

// A bar of middle gray over the right fifth of the circle's outline: its
// own edges lie off the circle and must not pull the fit.
TEST_F(MetrologyTest, OccludedCircleIsRecoveredToATwentiethOfAPixel) {
  const Circle truth{101.37, 118.62, 60.41};
  const double bar_from = truth.column + truth.radius * std::cos(M_PI / 5);
  Image img([&](double r, double c) {
    const double disc = Inside(InCircle(truth, r, c));
    const double bar = Phi(c - bar_from);
    return disc * (1 - bar) + 120 * bar;
  });
  const Vlong model = Model();
  const Vlong index = AddCircle(model, {truth.row + 2.1, truth.column - 1.7, truth.radius + 1.4});
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  ASSERT_EQ(NumInstances(model, index), 1);
  const VTuple p = Result(model, index);
  ASSERT_EQ(p.Num(), 3);
  EXPECT_NEAR(p[0].D(), truth.row, 0.05);
  EXPECT_NEAR(p[1].D(), truth.column, 0.05);
  EXPECT_NEAR(p[2].D(), truth.radius, 0.05);
  // About four fifths of the measures see the circle.
  const double score = Result(model, index, "score")[0].D();
  EXPECT_GT(score, 0.72);
  EXPECT_LT(score, 0.9);
  // Every used edge lies on the circle.
  VTuple rows, cols;
  ASSERT_EQ(get_metrology_object_result(model, index, 0, "used_edges", "row", &rows), VRESULT_OK);
  ASSERT_EQ(get_metrology_object_result(model, index, 0, "used_edges", "column", &cols), VRESULT_OK);
  ASSERT_EQ(rows.Num(), cols.Num());
  for (Vlong i = 0; i < rows.Num(); ++i)
    EXPECT_NEAR(std::hypot(rows[i].D() - truth.row, cols[i].D() - truth.column), truth.radius, 0.15);
  // The same seed gives the same result to the last bit.
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  EXPECT_EQ(Result(model, index)[2].D(), p[2].D());
}

TEST_F(MetrologyTest, LineAndRectangleToATwentiethOfAPixelAndATenthOfADegree) {
  const Rect truth{97.6, 121.3, 0.41, 62.7, 38.2};
  Image img([&](double r, double c) { return Inside(InRect(truth, r, c)); });
  const Vlong model = Model();
  Vlong rect = -1, line = -1;
  ASSERT_EQ(add_metrology_object_rectangle2_measure(
                VTuple(model), truth.row - 1.2, truth.column + 0.9, truth.phi + 0.02,
                truth.length1 + 1.5, truth.length2 - 1.1, 12.0, 3.0, 1.0, 20.0,
                Tuple({"measure_distance", "measure_transition"}), Tuple({8.0, "negative"}), &rect),
            VRESULT_OK);
  // The rectangle's long side at +length2 runs from one corner to the other.
  const double sn = std::sin(truth.phi), cs = std::cos(truth.phi);
  const double mid_r = truth.row - truth.length2 * cs, mid_c = truth.column - truth.length2 * sn;
  const double rb = mid_r + truth.length1 * 0.8 * sn, cb = mid_c - truth.length1 * 0.8 * cs;
  const double re = mid_r - truth.length1 * 0.8 * sn, ce = mid_c + truth.length1 * 0.8 * cs;
  ASSERT_EQ(add_metrology_object_line_measure(VTuple(model), rb + 1.5, cb, re + 0.5, ce, 12.0, 3.0,
                                              1.0, 20.0, VTuple(), VTuple(), &line),
            VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);

  ASSERT_EQ(NumInstances(model, rect), 1);
  const VTuple r = Result(model, rect);
  ASSERT_EQ(r.Num(), 5);
  EXPECT_NEAR(r[0].D(), truth.row, 0.05);
  EXPECT_NEAR(r[1].D(), truth.column, 0.05);
  EXPECT_NEAR(r[2].D(), truth.phi, 0.1 * M_PI / 180);
  EXPECT_NEAR(r[3].D(), truth.length1, 0.05);
  EXPECT_NEAR(r[4].D(), truth.length2, 0.05);
  EXPECT_DOUBLE_EQ(Result(model, rect, "length2")[0].D(), r[4].D());

  ASSERT_EQ(NumInstances(model, line), 1);
  const VTuple l = Result(model, line);
  ASSERT_EQ(l.Num(), 4);
  // Both ends on the true side, and the direction the rectangle's.
  for (int k = 0; k < 4; k += 2) {
    const double across = (l[k].D() - mid_r) * cs + (l[k + 1].D() - mid_c) * sn;
    EXPECT_NEAR(across, 0, 0.05);
  }
  const double angle = std::atan2(-(l[2].D() - l[0].D()), l[3].D() - l[1].D());
  EXPECT_NEAR(std::remainder(angle - truth.phi, M_PI), 0, 0.1 * M_PI / 180);

  // Result contours: a closed rectangle of five points, the line's ends.
  Vobject contour;
  VTuple rows, cols;
  ASSERT_EQ(get_metrology_object_result_contour(&contour, model, rect, 0, 1.0), VRESULT_OK);
  ASSERT_EQ(get_contour_xld(contour, &rows, &cols), VRESULT_OK);
  ASSERT_EQ(rows.Num(), 5);
  EXPECT_NEAR(InRect(truth, rows[0].D(), cols[0].D()), 0, 0.1);
  ASSERT_EQ(get_metrology_object_result_contour(&contour, model, line, 0, 1.0), VRESULT_OK);
  ASSERT_EQ(get_contour_xld(contour, &rows, &cols), VRESULT_OK);
  EXPECT_EQ(rows.Num(), 2);
}

TEST_F(MetrologyTest, EllipseIsRecovered) {
  const double row = 96.2, col = 122.7, phi = -0.63, a = 70.4, b = 41.8;
  Image img([&](double r, double c) {
    const double u = -(r - row) * std::sin(phi) + (c - col) * std::cos(phi);
    const double v = -(r - row) * std::cos(phi) - (c - col) * std::sin(phi);
    // Signed distance to first order, enough for a smooth ellipse.
    const double f = u * u / (a * a) + v * v / (b * b) - 1;
    return Inside(-f / (2 * std::hypot(u / (a * a), v / (b * b))));
  });
  const Vlong model = Model();
  Vlong index = -1;
  ASSERT_EQ(add_metrology_object_ellipse_measure(VTuple(model), row + 1, col - 1, phi + 0.05, a - 2,
                                                 b + 1.5, 12.0, 2.0, 1.0, 20.0, VTuple(), VTuple(),
                                                 &index),
            VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  ASSERT_EQ(NumInstances(model, index), 1);
  const VTuple p = Result(model, index);
  ASSERT_EQ(p.Num(), 5);
  EXPECT_NEAR(p[0].D(), row, 0.1);
  EXPECT_NEAR(p[1].D(), col, 0.1);
  EXPECT_NEAR(p[2].D(), phi, 0.2 * M_PI / 180);
  EXPECT_NEAR(p[3].D(), a, 0.15);
  EXPECT_NEAR(p[4].D(), b, 0.15);
}

TEST_F(MetrologyTest, SceneWithoutTheShapeGivesNoInstance) {
  Image flat([](double, double) { return 90.0; });
  const Vlong model = Model();
  const Vlong index = AddCircle(model, {100, 120, 50});
  ASSERT_EQ(apply_metrology_model(flat.obj, model), VRESULT_OK);
  EXPECT_EQ(NumInstances(model, index), 0);
  VTuple v;
  ASSERT_EQ(get_metrology_object_result(model, index, "all", "result_type", "all_param", &v), VRESULT_OK);
  EXPECT_EQ(v.Num(), 0);
  Vobject contour;
  ASSERT_EQ(get_metrology_object_result_contour(&contour, model, index, 0, 1.0), VRESULT_OK);
  Vlong n = -1;
  ASSERT_EQ(count_obj(contour, &n), VRESULT_OK);
  EXPECT_EQ(n, 0);
  // The measures were placed all the same: as many rectangles as measures.
  Vobject measures;
  VTuple rows, cols;
  ASSERT_EQ(get_metrology_object_measures(&measures, model, index, "all", &rows, &cols), VRESULT_OK);
  ASSERT_EQ(count_obj(measures, &n), VRESULT_OK);
  EXPECT_EQ(n, 31);  // 2 pi 50 / 10, rounded
  EXPECT_EQ(rows.Num(), 0);
}

// A model made around the origin finds its circle once aligned to where
// the part lies; copies and serialised models do the same.
TEST_F(MetrologyTest, AlignedCopiedAndSerialisedModelsMeasureTheSame) {
  const Circle truth{88.4, 131.9, 45.3};
  Image img([&](double r, double c) { return Inside(InCircle(truth, r, c)); });
  const Vlong model = Model();
  ASSERT_EQ(set_metrology_model_param(VTuple(model), "reference_system", Tuple({10.0, 20.0, 0.5})),
            VRESULT_OK);
  // At 30 from the reference point along its 0.5 rad axis.
  const Circle local{10 - 30 * std::sin(0.5), 20 + 30 * std::cos(0.5), 45.0};
  const Vlong index = AddCircle(model, local);
  ASSERT_EQ(set_metrology_object_param(VTuple(model), VTuple(index), "num_measures", 24), VRESULT_OK);
  // Put the reference point where the part's lies, 30 before its centre on
  // an axis of -0.2 rad.
  ASSERT_EQ(align_metrology_model(model, truth.row + 30 * std::sin(-0.2),
                                  truth.column - 30 * std::cos(-0.2), -0.2),
            VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  const VTuple p = Result(model, index);
  ASSERT_EQ(p.Num(), 3);
  EXPECT_NEAR(p[0].D(), truth.row, 0.05);
  EXPECT_NEAR(p[1].D(), truth.column, 0.05);
  EXPECT_NEAR(p[2].D(), truth.radius, 0.05);
  // The model contour is where the aligned circle lies.
  Vobject contour;
  VTuple rows, cols;
  ASSERT_EQ(get_metrology_object_model_contour(&contour, model, index, 2.0), VRESULT_OK);
  ASSERT_EQ(get_contour_xld(contour, &rows, &cols), VRESULT_OK);
  ASSERT_GT(rows.Num(), 100);
  for (Vlong i = 0; i < rows.Num(); i += 17)
    EXPECT_NEAR(std::hypot(rows[i].D() - truth.row, cols[i].D() - truth.column), 45.0, 0.01);

  Vlong copy = -1, item = -1, restored = -1;
  ASSERT_EQ(copy_metrology_model(VTuple(model), "all", &copy), VRESULT_OK);
  ASSERT_EQ(serialize_metrology_model(model, &item), VRESULT_OK);
  ASSERT_EQ(deserialize_metrology_model(item, &restored), VRESULT_OK);
  ASSERT_EQ(clear_serialized_item(item), VRESULT_OK);
  for (Vlong other : {copy, restored}) {
    VTuple n;
    ASSERT_EQ(get_metrology_object_param(VTuple(other), VTuple(index), "num_measures", &n), VRESULT_OK);
    EXPECT_EQ(n[0].L(), 24);
    ASSERT_EQ(apply_metrology_model(img.obj, other), VRESULT_OK);
    EXPECT_EQ(Result(other, index)[2].D(), p[2].D());
  }
  // A copied object moved onto the part by an absolute placement finds it
  // without the model's alignment.
  ASSERT_EQ(align_metrology_model(model, 10, 20, 0.5), VRESULT_OK);
  Vlong moved = -1;
  ASSERT_EQ(copy_metrology_object(VTuple(model), VTuple(index), &moved), VRESULT_OK);
  ASSERT_EQ(transform_metrology_object(VTuple(model), VTuple(moved), truth.row + 1, truth.column - 1,
                                       0.0, "absolute"),
            VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  EXPECT_NEAR(Result(model, moved)[2].D(), truth.radius, 0.05);
  EXPECT_EQ(NumInstances(model, index), 0);
  VTuple indices;
  ASSERT_EQ(get_metrology_object_indices(model, &indices), VRESULT_OK);
  ASSERT_EQ(indices.Num(), 2);
  ASSERT_EQ(clear_metrology_object(VTuple(model), VTuple(index)), VRESULT_OK);
  ASSERT_EQ(get_metrology_object_indices(model, &indices), VRESULT_OK);
  ASSERT_EQ(indices.Num(), 1);
  EXPECT_EQ(indices[0].L(), moved);
}

TEST_F(MetrologyTest, ParametersAreCheckedAndRead) {
  const Vlong model = Model();
  const Vlong index = AddCircle(model, {100, 120, 50});
  VTuple v;
  ASSERT_EQ(get_metrology_object_param(VTuple(model), VTuple(index),
                                       Tuple({"measure_transition", "rand_seed", "min_score", "object_type"}),
                                       &v),
            VRESULT_OK);
  ASSERT_EQ(v.Num(), 4);
  EXPECT_STREQ(v[0].S(), "all");
  EXPECT_EQ(v[1].L(), 42);
  EXPECT_DOUBLE_EQ(v[2].D(), 0.7);
  EXPECT_STREQ(v[3].S(), "circle");
  ASSERT_EQ(set_metrology_object_param(VTuple(model), "all", Tuple({"measure_transition", "min_score"}),
                                       Tuple({"uniform", 0.5})),
            VRESULT_OK);
  ASSERT_EQ(get_metrology_object_param(VTuple(model), VTuple(index), "measure_transition", &v), VRESULT_OK);
  EXPECT_STREQ(v[0].S(), "uniform");
  // A bad pair leaves the good ones before it unset.
  EXPECT_EQ(set_metrology_object_param(VTuple(model), VTuple(index), Tuple({"min_score", "num_instances"}),
                                       Tuple({0.9, 0})),
            VERR_CTRL_VALUE(3));
  ASSERT_EQ(get_metrology_object_param(VTuple(model), VTuple(index), "min_score", &v), VRESULT_OK);
  EXPECT_DOUBLE_EQ(v[0].D(), 0.5);
  ASSERT_EQ(reset_metrology_object_param(VTuple(model), VTuple(index)), VRESULT_OK);
  ASSERT_EQ(get_metrology_object_param(VTuple(model), VTuple(index), "measure_length1", &v), VRESULT_OK);
  EXPECT_DOUBLE_EQ(v[0].D(), 20);
}

TEST_F(MetrologyTest, BadInputIsRefusedWithItsCode) {
  Image img([](double, double) { return 90.0; });
  const Vlong model = Model();
  const Vlong index = AddCircle(model, {100, 120, 50});
  Vlong measure = -1;
  ASSERT_EQ(gen_measure_rectangle2(50, 50, 0, 10, 3, kW, kH, "bilinear", &measure), VRESULT_OK);
  EXPECT_EQ(apply_metrology_model(img.obj, measure), VERR_HANDLE_TYPE);
  EXPECT_EQ(close_measure(measure), VRESULT_OK);
  VTuple v;
  EXPECT_EQ(get_metrology_object_result(model, index + 7, 0, "result_type", "all_param", &v),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(get_metrology_object_result(model, index, 0, "result_type", "length1", &v), VERR_CTRL_VALUE(4));
  EXPECT_EQ(get_metrology_object_result(model, index, 0, "flavour", "row", &v), VERR_CTRL_VALUE(3));
  EXPECT_EQ(set_metrology_object_param(VTuple(model), VTuple(index), "measure_colour", 3), VERR_CTRL_VALUE(2));
  EXPECT_EQ(set_metrology_object_param(VTuple(model), VTuple(index), "measure_transition", "sideways"),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(get_metrology_object_param(VTuple(model), VTuple(index), "measure_colour", &v), VERR_CTRL_VALUE(2));
  EXPECT_EQ(set_metrology_model_param(VTuple(model), "reference_system", Tuple({1.0, 2.0})), VERR_CTRL_NUM(2));
  Vlong other = -1;
  EXPECT_EQ(add_metrology_object_circle_measure(VTuple(model), 100.0, 120.0, -5.0, 15.0, 2.0, 1.0, 20.0,
                                                VTuple(), VTuple(), &other),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(add_metrology_object_generic(VTuple(model), "triangle", Tuple({1.0, 2.0, 3.0}), 15.0, 2.0, 1.0,
                                         20.0, VTuple(), VTuple(), &other),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(add_metrology_object_generic(VTuple(model), "circle", Tuple({1.0, 2.0}), 15.0, 2.0, 1.0, 20.0,
                                         VTuple(), VTuple(), &other),
            VERR_CTRL_NUM(2));
  ASSERT_EQ(set_metrology_model_image_size(model, 100, 100), VRESULT_OK);
  EXPECT_EQ(apply_metrology_model(img.obj, model), VERR_IMAGE_SIZE);
  ASSERT_EQ(clear_metrology_model(model), VRESULT_OK);
  EXPECT_EQ(get_metrology_object_indices(model, &v), VERR_HANDLE_CLOSED);
}

// A bright ring between radii 45.2 and 53.7: its inner edge rises
// outwards, its outer one falls. Two instances come out, one per edge,
// each of one polarity with "uniform"; "positive" sees the inner one only.
TEST_F(MetrologyTest, TwoInstancesOfOnePolarityEach) {
  const Circle inner{99.6, 121.1, 45.2}, outer{99.6, 121.1, 53.7};
  Image img([&](double r, double c) {
    return kDark + (kBright - kDark) * (Phi(-InCircle(inner, r, c)) - Phi(-InCircle(outer, r, c)));
  });
  const Vlong model = Model();
  const Vlong index = AddCircle(model, {100.5, 120.4, 49.5});
  ASSERT_EQ(set_metrology_object_param(VTuple(model), VTuple(index),
                                       Tuple({"num_instances", "measure_transition", "distance_threshold"}),
                                       Tuple({2, "uniform", 2.0})),
            VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  ASSERT_EQ(NumInstances(model, index), 2);
  VTuple radii;
  ASSERT_EQ(get_metrology_object_result(model, index, "all", "result_type", "radius", &radii), VRESULT_OK);
  ASSERT_EQ(radii.Num(), 2);
  const double small = std::min(radii[0].D(), radii[1].D()), big = std::max(radii[0].D(), radii[1].D());
  EXPECT_NEAR(small, inner.radius, 0.05);
  EXPECT_NEAR(big, outer.radius, 0.05);
  for (Vlong instance : {0, 1}) {
    VTuple amp, radius;
    ASSERT_EQ(get_metrology_object_result(model, index, instance, "used_edges", "amplitude", &amp), VRESULT_OK);
    ASSERT_EQ(get_metrology_object_result(model, index, instance, "result_type", "radius", &radius), VRESULT_OK);
    ASSERT_GT(amp.Num(), 20);
    const double sign = radius[0].D() < 49.5 ? 1 : -1;
    for (Vlong i = 0; i < amp.Num(); ++i) EXPECT_GT(sign * amp[i].D(), 0);
  }
  ASSERT_EQ(set_metrology_object_param(VTuple(model), VTuple(index), "measure_transition", "positive"),
            VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  ASSERT_EQ(NumInstances(model, index), 1);
  EXPECT_NEAR(Result(model, index, "radius")[0].D(), inner.radius, 0.05);
  // The measures' edges by polarity: one rising and one falling per measure.
  Vobject measures;
  VTuple rows, cols;
  Vlong n = 0;
  ASSERT_EQ(get_metrology_object_measures(&measures, model, index, "negative", &rows, &cols), VRESULT_OK);
  ASSERT_EQ(count_obj(measures, &n), VRESULT_OK);
  EXPECT_EQ(rows.Num(), 0);  // "positive" found no falling edge
  ASSERT_EQ(set_metrology_object_param(VTuple(model), VTuple(index), "measure_transition", "all"), VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  ASSERT_EQ(get_metrology_object_measures(&measures, model, index, "negative", &rows, &cols), VRESULT_OK);
  EXPECT_EQ(rows.Num(), n);
  for (Vlong i = 0; i < rows.Num(); ++i)
    EXPECT_NEAR(std::hypot(rows[i].D() - outer.row, cols[i].D() - outer.column), outer.radius, 0.1);
}

// A circle cut by the image's top border: the measures wholly outside are
// left out, and the fit is as good as in the open.
TEST_F(MetrologyTest, MeasuresOutsideTheImageAreLeftOut) {
  const Circle truth{31.3, 119.8, 50.6};
  Image img([&](double r, double c) { return Inside(InCircle(truth, r, c)); });
  const Vlong model = Model();
  const Vlong index = AddCircle(model, {truth.row + 1, truth.column + 1, truth.radius - 1});
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  ASSERT_EQ(NumInstances(model, index), 1);
  const VTuple p = Result(model, index);
  EXPECT_NEAR(p[0].D(), truth.row, 0.05);
  EXPECT_NEAR(p[1].D(), truth.column, 0.05);
  EXPECT_NEAR(p[2].D(), truth.radius, 0.05);
  Vobject measures;
  VTuple rows, cols;
  Vlong n = 0;
  ASSERT_EQ(get_metrology_object_measures(&measures, model, index, "all", &rows, &cols), VRESULT_OK);
  ASSERT_EQ(count_obj(measures, &n), VRESULT_OK);
  EXPECT_LT(n, 32);  // 2 pi 50.6 / 10, rounded, when all fit
  EXPECT_GT(n, 20);
  EXPECT_GT(Result(model, index, "score")[0].D(), 0.7);
  VTuple size;
  ASSERT_EQ(get_metrology_model_param(VTuple(model), "image_size", &size), VRESULT_OK);
  ASSERT_EQ(size.Num(), 2);
  EXPECT_EQ(size[0].L(), kW);
  EXPECT_EQ(size[1].L(), kH);
}

// Turning a line about the origin and moving it: both ends follow.
TEST_F(MetrologyTest, RelativeTransformTurnsAboutTheOriginThenMoves) {
  const Vlong model = Model();
  Vlong index = -1;
  ASSERT_EQ(add_metrology_object_line_measure(VTuple(model), 10.0, 0.0, 10.0, 20.0, 5.0, 2.0, 1.0, 20.0,
                                              VTuple(), VTuple(), &index),
            VRESULT_OK);
  ASSERT_EQ(transform_metrology_object(VTuple(model), VTuple(index), 3.0, 4.0, M_PI / 2, "relative"),
            VRESULT_OK);
  VTuple p;
  ASSERT_EQ(get_metrology_object_param(VTuple(model), VTuple(index), "object_params", &p), VRESULT_OK);
  ASSERT_EQ(p.Num(), 4);
  // A quarter turn counter-clockwise on the screen takes (10, 0) to (0, 10)
  // and (10, 20) to (-20, 10).
  const double want[4] = {3, 14, -17, 14};
  for (int k = 0; k < 4; ++k) EXPECT_NEAR(p[k].D(), want[k], 1e-9);
  EXPECT_EQ(transform_metrology_object(VTuple(model), VTuple(index), Tuple({1.0, 2.0}), 0.0, 0.0, "relative"),
            VERR_CTRL_NUM(2));
  EXPECT_EQ(transform_metrology_object(VTuple(model), VTuple(index), 1.0, 2.0, 0.0, "sideways"),
            VERR_CTRL_VALUE(5));
}

TEST_F(MetrologyTest, ModelFilesRoundTripAndDamageIsDetected) {
  const Vlong model = Model();
  Vlong index = -1;
  ASSERT_EQ(add_metrology_object_rectangle2_measure(VTuple(model), 90.0, 110.0, 0.3, 40.0, 20.0, 10.0, 2.0,
                                                    1.5, 25.0, Tuple({"measure_select", "rand_seed"}),
                                                    Tuple({"last", 7}), &index),
            VRESULT_OK);
  ASSERT_EQ(set_metrology_model_image_size(model, kW, kH), VRESULT_OK);
  const std::string path = testing::TempDir() + "metrology_model_test.vxm";
  ASSERT_EQ(write_metrology_model(model, path.c_str()), VRESULT_OK);
  Vlong read = -1;
  ASSERT_EQ(read_metrology_model(path.c_str(), &read), VRESULT_OK);
  VTuple v;
  ASSERT_EQ(get_metrology_object_param(VTuple(read), VTuple(index),
                                       Tuple({"object_params", "measure_sigma", "measure_select", "rand_seed"}), &v),
            VRESULT_OK);
  ASSERT_EQ(v.Num(), 8);
  EXPECT_DOUBLE_EQ(v[2].D(), 0.3);
  EXPECT_DOUBLE_EQ(v[5].D(), 1.5);
  EXPECT_STREQ(v[6].S(), "last");
  EXPECT_EQ(v[7].L(), 7);
  ASSERT_EQ(get_metrology_model_param(VTuple(read), "image_size", &v), VRESULT_OK);
  EXPECT_EQ(v[0].L(), kW);
  // One byte changed in the payload fails the checksum.
  std::FILE* f = std::fopen(path.c_str(), "r+b");
  ASSERT_NE(f, nullptr);
  std::fseek(f, 30, SEEK_SET);
  const int byte = std::fgetc(f);
  std::fseek(f, 30, SEEK_SET);
  std::fputc(byte ^ 0x40, f);
  std::fclose(f);
  EXPECT_EQ(read_metrology_model(path.c_str(), &read), VERR_FILE_CORRUPT);
  std::remove(path.c_str());
  // A measure's item is not a model.
  Vlong measure = -1, item = -1;
  ASSERT_EQ(gen_measure_rectangle2(50, 50, 0, 10, 3, kW, kH, "bilinear", &measure), VRESULT_OK);
  ASSERT_EQ(serialize_measure(measure, &item), VRESULT_OK);
  EXPECT_EQ(deserialize_metrology_model(item, &read), VERR_DATA_KIND);
  EXPECT_EQ(clear_serialized_item(item), VRESULT_OK);
  EXPECT_EQ(close_measure(measure), VRESULT_OK);
}

// A faint step (12 gray levels) 7 pixels inside a circle's edge: the
// first edge of each measure is the faint one, until a contrast set
// drops it.
TEST_F(MetrologyTest, FuzzyContrastSetDropsAFaintInnerEdge) {
  const Circle truth{100.2, 119.7, 50.3}, faint{100.2, 119.7, 43.1};
  Image img([&](double r, double c) { return Inside(InCircle(truth, r, c)) + 12 * Phi(InCircle(faint, r, c)); });
  const Vlong model = Model();
  Vlong index = -1;
  ASSERT_EQ(add_metrology_object_circle_measure(VTuple(model), 100.0, 120.0, 47.0, 12.0, 2.0, 1.0, 2.0,
                                                "measure_select", "first", &index),
            VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  // The tail of the strong edge's response pulls the faint one outwards.
  EXPECT_NEAR(Result(model, index, "radius")[0].D(), faint.radius, 0.25);
  const VTuple contrast = Tuple({3, 0.0, 10.0, 20.0, 0.0, 0.0, 1.0});
  ASSERT_EQ(set_metrology_object_fuzzy_param(VTuple(model), VTuple(index), "contrast", contrast), VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  EXPECT_NEAR(Result(model, index, "radius")[0].D(), truth.radius, 0.05);
  VTuple v;
  ASSERT_EQ(get_metrology_object_fuzzy_param(VTuple(model), VTuple(index), "contrast", &v), VRESULT_OK);
  ASSERT_EQ(v.Num(), 7);
  EXPECT_EQ(v[6].D(), 1.0);
  // The set survives serialisation; a threshold above every score keeps
  // no edge at all.
  Vlong item = -1, restored = -1;
  ASSERT_EQ(serialize_metrology_model(model, &item), VRESULT_OK);
  ASSERT_EQ(deserialize_metrology_model(item, &restored), VRESULT_OK);
  ASSERT_EQ(clear_serialized_item(item), VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, restored), VRESULT_OK);
  EXPECT_NEAR(Result(restored, index, "radius")[0].D(), truth.radius, 0.05);
  ASSERT_EQ(set_metrology_object_fuzzy_param(VTuple(restored), "all", "fuzzy_thresh", 1.0), VRESULT_OK);
  ASSERT_EQ(set_metrology_object_fuzzy_param(VTuple(restored), "all", "contrast",
                                             Tuple({2, 0.0, 1000.0, 0.0, 0.9})),
            VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, restored), VRESULT_OK);
  EXPECT_EQ(NumInstances(restored, index), 0);
  ASSERT_EQ(reset_metrology_object_fuzzy_param(VTuple(model), VTuple(index)), VRESULT_OK);
  ASSERT_EQ(apply_metrology_model(img.obj, model), VRESULT_OK);
  EXPECT_NEAR(Result(model, index, "radius")[0].D(), faint.radius, 0.25);
  EXPECT_EQ(set_metrology_object_fuzzy_param(VTuple(model), VTuple(index), "size", contrast), VERR_CTRL_VALUE(2));
  EXPECT_EQ(set_metrology_object_fuzzy_param(VTuple(model), VTuple(index), "contrast",
                                             Tuple({2, 0.0, 1.0, 0.0, 2.0})),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(set_metrology_object_fuzzy_param(VTuple(model), VTuple(index), "fuzzy_thresh", 1.5),
            VERR_CTRL_VALUE(3));
}

}  // namespace
