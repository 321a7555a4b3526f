// Contour parts chosen point by point: attribute ranges (against runs
// found by a plain loop) and ridges of gray values across the contour.
#include <random>

#include "vexa/errors.h"
#include "xld_test_support.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

class XldContourParts : public xld_test::XldTest {};

// A contour with per-point attributes, straight along the column axis
// (point i at (0, i)); with `closed` the first point is repeated.
Vobject AttribContour(const std::vector<std::pair<std::string, std::vector<double>>>& attribs,
                      bool closed = false) {
  auto x = std::make_shared<vexa::Xld>();
  const size_t n = attribs[0].second.size();
  for (size_t i = 0; i < n; ++i) {
    // Closed contours run round a hexagon-like path so the points differ.
    x->rows.push_back(closed ? static_cast<float>(10 * std::sin(i)) : 0.0f);
    x->cols.push_back(closed ? static_cast<float>(10 * std::cos(i)) : static_cast<float>(i));
  }
  for (const auto& a : attribs) x->attribs.push_back({a.first, a.second});
  if (closed) {
    x->rows.push_back(x->rows[0]);
    x->cols.push_back(x->cols[0]);
    for (auto& a : x->attribs) a.values.push_back(a.values[0]);
  }
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewXld(x, &key), VRESULT_OK);
  return Vobject(key, 1);
}

// The parts as lists of the attribute "i" (each point's source index).
std::vector<std::vector<double>> PartIndices(const Vobject& parts) {
  Vlong n = 0;
  EXPECT_EQ(count_obj(parts, &n), VRESULT_OK);
  std::vector<std::vector<double>> out;
  for (Vlong k = 1; k <= n; ++k) {
    Vobject part;
    VTuple v;
    EXPECT_EQ(select_obj(parts, &part, k), VRESULT_OK);
    EXPECT_EQ(get_contour_attrib_xld(part, "i", &v), VRESULT_OK);
    out.push_back(Values(v));
  }
  return out;
}

std::vector<double> Iota(size_t n) {
  std::vector<double> v(n);
  for (size_t i = 0; i < n; ++i) v[i] = static_cast<double>(i);
  return v;
}

// ---- Attribute ranges -----------------------------------------------------------

TEST_F(XldContourParts, AndOrOfTwoRangesGiveTheRunsOfAPlainLoop) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> u(0, 10);
  std::vector<double> a(300), b(300);
  for (size_t i = 0; i < a.size(); ++i) a[i] = u(random), b[i] = u(random);
  const Vobject c = AttribContour({{"i", Iota(300)}, {"a", a}, {"b", b}});
  for (const char* op : {"and", "or"}) {
    Vobject parts;
    ASSERT_EQ(segment_contour_attrib_xld(c, &parts, VTuple(), VTuple(op), VTuple(0.0), VTuple(0.0)), VERR_CTRL_NUM(0));
    VTuple names;
    names[0] = "a";
    names[1] = "b";
    ASSERT_EQ(segment_contour_attrib_xld(c, &parts, names, VTuple(op), Tuple({2, 1}), Tuple({8, 6})),
              VRESULT_OK);
    std::vector<std::vector<double>> expected;
    std::vector<double> run;
    for (size_t i = 0; i <= a.size(); ++i) {
      const bool ina = i < a.size() && a[i] >= 2 && a[i] <= 8;
      const bool inb = i < b.size() && b[i] >= 1 && b[i] <= 6;
      if (std::string(op) == "and" ? ina && inb : ina || inb) {
        run.push_back(static_cast<double>(i));
      } else {
        if (run.size() > 1) expected.push_back(run);
        run.clear();
      }
    }
    ASSERT_GT(expected.size(), 5u);
    EXPECT_EQ(PartIndices(parts), expected) << op;
  }
}

TEST_F(XldContourParts, ClosedContoursWrapRoundAndStayWholeWhenAllPointsPass) {
  const std::vector<double> v = {5, 5, 0, 5, 5, 5};
  const Vobject c = AttribContour({{"i", Iota(6)}, {"v", v}}, true);
  Vobject parts;
  ASSERT_EQ(segment_contour_attrib_xld(c, &parts, "v", "and", 4.0, 6.0), VRESULT_OK);
  EXPECT_EQ(PartIndices(parts), (std::vector<std::vector<double>>{{3, 4, 5, 0, 1}}));
  ASSERT_EQ(segment_contour_attrib_xld(c, &parts, "v", "or", 0.0, 6.0), VRESULT_OK);
  EXPECT_EQ(PartIndices(parts), (std::vector<std::vector<double>>{{0, 1, 2, 3, 4, 5, 0}}));
  Vlong closed = 0;
  ASSERT_EQ(test_closed_xld(parts, &closed), VRESULT_OK);
  EXPECT_EQ(closed, 1);
}

TEST_F(XldContourParts, AttributeRangesRefuseBadInput) {
  const Vobject c = AttribContour({{"i", Iota(4)}});
  Vobject parts;
  EXPECT_EQ(segment_contour_attrib_xld(c, &parts, "width", "and", 0.0, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(segment_contour_attrib_xld(c, &parts, "i", "xor", 0.0, 1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(segment_contour_attrib_xld(c, &parts, "i", "and", 2.0, 1.0), VERR_CTRL_VALUE(3));
  EXPECT_EQ(segment_contour_attrib_xld(c, &parts, "i", "and", NAN, 1.0), VERR_CTRL_VALUE(2));
  EXPECT_EQ(segment_contour_attrib_xld(c, &parts, VTuple("i"), VTuple("and"), Tuple({0, 1}), VTuple(3.0)),
            VERR_CTRL_NUM(2));
}

// ---- Ridges across the contour ---------------------------------------------------

// A vertical ridge: 200 at column 10, falling by 20 per column.
Vobject Ridge() {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, "byte", Vlong{24}, Vlong{20}), VRESULT_OK);
  VTuple rows, cols, vals;
  for (int r = 0; r < 20; ++r)
    for (int c = 0; c < 24; ++c) {
      rows[rows.Num()] = Vlong{r};
      cols[cols.Num()] = Vlong{c};
      vals[vals.Num()] = std::max(0.0, 200.0 - 20.0 * std::abs(c - 10));
    }
  EXPECT_EQ(set_grayval(image, rows, cols, vals), VRESULT_OK);
  return image;
}

// Rows 2..9 on the ridge, rows 10..17 four columns beside it; attribute
// "i" numbers the points.
Vobject HalfOnTheRidge() {
  std::vector<double> rows, cols;
  for (int r = 2; r <= 17; ++r) rows.push_back(r), cols.push_back(r <= 9 ? 10 : 14);
  auto x = std::make_shared<vexa::Xld>();
  for (size_t i = 0; i < rows.size(); ++i) {
    x->rows.push_back(static_cast<float>(rows[i]));
    x->cols.push_back(static_cast<float>(cols[i]));
  }
  x->attribs.push_back({"i", Iota(rows.size())});
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewXld(x, &key), VRESULT_OK);
  return Vobject(key, 1);
}

TEST_F(XldContourParts, RidgePointsFormPartsWhenEnoughOfTheContourIsOnIt) {
  const Vobject image = Ridge(), c = HalfOnTheRidge();
  Vobject parts;
  // Rows 2..8 see 40 less two pixels away on both sides; at row 9 the
  // normal turns towards the step and the sides differ by less than 18.
  ASSERT_EQ(local_max_contours_xld(c, image, &parts, Vlong{40}, Vlong{30}, Vlong{2}), VRESULT_OK);
  EXPECT_EQ(PartIndices(parts), (std::vector<std::vector<double>>{{0, 1, 2, 3, 4, 5, 6}}));
  // 7 of 16 points: under half.
  ASSERT_EQ(local_max_contours_xld(c, image, &parts, Vlong{50}, Vlong{30}, Vlong{2}), VRESULT_OK);
  EXPECT_TRUE(PartIndices(parts).empty());
  ASSERT_EQ(local_max_contours_xld(c, image, &parts, Vlong{0}, Vlong{41}, Vlong{2}), VRESULT_OK);
  EXPECT_TRUE(PartIndices(parts).empty());
  // Points whose pixel is outside the domain are no maxima.
  Vobject box, reduced;
  ASSERT_EQ(gen_rectangle1(&box, 0.0, 0.0, 5.0, 23.0), VRESULT_OK);
  ASSERT_EQ(reduce_domain(image, box, &reduced), VRESULT_OK);
  ASSERT_EQ(local_max_contours_xld(c, reduced, &parts, Vlong{0}, Vlong{30}, Vlong{2}), VRESULT_OK);
  EXPECT_EQ(PartIndices(parts), (std::vector<std::vector<double>>{{0, 1, 2, 3}}));
}

TEST_F(XldContourParts, RidgeParametersAreChecked) {
  const Vobject image = Ridge(), c = HalfOnTheRidge();
  Vobject parts, complex;
  EXPECT_EQ(local_max_contours_xld(c, image, &parts, Vlong{101}, Vlong{0}, Vlong{2}), VERR_CTRL_VALUE(0));
  EXPECT_EQ(local_max_contours_xld(c, image, &parts, Vlong{0}, Vlong{-1}, Vlong{2}), VERR_CTRL_VALUE(1));
  EXPECT_EQ(local_max_contours_xld(c, image, &parts, Vlong{0}, Vlong{0}, Vlong{0}), VERR_CTRL_VALUE(2));
  ASSERT_EQ(gen_image_const(&complex, "complex", Vlong{4}, Vlong{4}), VRESULT_OK);
  EXPECT_EQ(local_max_contours_xld(c, complex, &parts, Vlong{0}, Vlong{0}, Vlong{2}), VERR_PIXEL_TYPE);
}

}  // namespace
