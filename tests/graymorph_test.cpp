// Gray morphology against minima and maxima written out per pixel: flat
// rectangles and shapes, and the structuring images of gen_disc_se, on
// every pixel type the filters take, a domain with holes and a 1 x 1
// image; the composed operators against their definitions; the checks.
#include "filter_test_support.h"

namespace {

using namespace Vexa;
using namespace filter_test;

struct SePoint {
  int dy, dx;
  double v;
};

// Erosion (sign -1: min of g(x + p) - s) or dilation (sign +1: max of
// g(x - p) + s) of the image's values, stored in its type; the result
// image keeps the values for a second step.
TestImage Morph(const TestImage& im, const std::vector<SePoint>& se, int sign) {
  TestImage out = im;
  for (int r = 0; r < im.height; ++r)
    for (int c = 0; c < im.width; ++c) {
      double best = sign < 0 ? 1e300 : -1e300;
      for (const SePoint& p : se) {
        const double v = Value(im, r - sign * p.dy, c - sign * p.dx) + sign * p.v;
        best = sign < 0 ? std::min(best, v) : std::max(best, v);
      }
      out.value[static_cast<size_t>(r) * im.width + c] = Stored(im.type, best);
    }
  return out;
}

std::vector<SePoint> Flat(const std::vector<Offset>& offsets) {
  std::vector<SePoint> se;
  for (const Offset& o : offsets) se.push_back({o.dy, o.dx, 0.0});
  return se;
}

// |dx| / a + |dy| / b <= cut within the a x b rectangle.
std::vector<Offset> CutOffsets(double a, double b, double cut) {
  std::vector<Offset> o;
  for (int dy = -static_cast<int>(b); dy <= static_cast<int>(b); ++dy)
    for (int dx = -static_cast<int>(a); dx <= static_cast<int>(a); ++dx)
      if (std::abs(dx) / a + std::abs(dy) / b <= cut + 1e-9) o.push_back({dy, dx});
  return o;
}

void ExpectImageOf(const Vobject& result, const TestImage& in, const TestImage& want,
                   const std::string& what) {
  ExpectFiltered(result, in, [&](int r, int c) { return want.At(r, c); }, 0, what);
}

// Every operator of one family (the erosion, dilation, opening and closing
// calls given) against the reference for the element `se`.
void ExpectFamily(const TestImage& im, const std::vector<SePoint>& se, const std::string& what,
                  const std::function<unsigned(Vobject*, int)>& call) {
  const TestImage ero = Morph(im, se, -1), dil = Morph(im, se, +1);
  const TestImage open = Morph(ero, se, +1), close = Morph(dil, se, -1);
  const char* names[] = {"erosion", "dilation", "opening", "closing"};
  const TestImage* wants[] = {&ero, &dil, &open, &close};
  for (int k = 0; k < 4; ++k) {
    Vobject out;
    ASSERT_EQ(call(&out, k), VRESULT_OK) << what << " " << names[k];
    ExpectImageOf(out, im, *wants[k], what + " " + names[k]);
  }
}

class MorphTypes : public LeakCheckedTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(MorphTypes, FlatRectanglesAndShapes) {
  const std::string type = GetParam();
  std::mt19937 gen(31);
  for (const TestImage& im : FilterInputs(type, gen)) {
    ExpectFamily(im, Flat(RectOffsets(3, 7)), "rect", [&](Vobject* out, int k) {
      switch (k) {
        case 0: return gray_erosion_rect(im.image, out, 3, 7);
        case 1: return gray_dilation_rect(im.image, out, 3, 7);
        case 2: return gray_opening_rect(im.image, out, 3, 7);
        default: return gray_closing_rect(im.image, out, 3, 7);
      }
    });
    struct Shape {
      const char* name;
      double h, w;
      std::vector<Offset> offsets;
    };
    for (const Shape& s : {Shape{"rhombus", 7, 9, CutOffsets(4, 3, 1.0)},
                           Shape{"octagon", 9, 9, CutOffsets(4, 4, 1.5)},
                           Shape{"rectangle", 4.5, 2.9, RectOffsets(3, 1)}}) {
      ExpectFamily(im, Flat(s.offsets), s.name, [&](Vobject* out, int k) {
        switch (k) {
          case 0: return gray_erosion_shape(im.image, out, s.h, s.w, s.name);
          case 1: return gray_dilation_shape(im.image, out, s.h, s.w, s.name);
          case 2: return gray_opening_shape(im.image, out, s.h, s.w, s.name);
          default: return gray_closing_shape(im.image, out, s.h, s.w, s.name);
        }
      });
    }
    Vobject out;
    ASSERT_EQ(gray_range_rect(im.image, &out, 5, 3), VRESULT_OK);
    const TestImage lo = Morph(im, Flat(RectOffsets(5, 3)), -1), hi = Morph(im, Flat(RectOffsets(5, 3)), 1);
    ExpectFiltered(out, im, [&](int r, int c) { return Stored(type, hi.At(r, c) - lo.At(r, c)); }, 0,
                   "gray_range_rect");
  }
}

TEST_P(MorphTypes, StructuringImagesAndHats) {
  const std::string type = GetParam();
  std::mt19937 gen(32);
  Vobject se;
  ASSERT_EQ(gen_disc_se(&se, type.c_str(), 5, 3, 20.0), VRESULT_OK);
  // The ellipse of half axes 2.5 and 1.5 around (1, 2), valued
  // 20 sqrt(1 - rho^2), stored in the element's type.
  std::vector<SePoint> points;
  vexa::RegionPtr se_domain;
  const vexa::PixelBuffer* se_px = Pixels(se, &se_domain);
  for (int r = 0; r < 3; ++r)
    for (int c = 0; c < 5; ++c) {
      const double rho = std::pow((c - 2) / 2.5, 2) + std::pow((r - 1) / 1.5, 2);
      ASSERT_EQ(se_domain->Contains(r, c), rho <= 1) << r << "," << c;
      if (rho > 1) continue;
      const double v = Stored(type, 20 * std::sqrt(1 - rho));
      ASSERT_NEAR(se_px->Get(r, c), v, 1e-5);
      points.push_back({r - 1, c - 2, v});
    }
  for (const TestImage& im : FilterInputs(type, gen)) {
    ExpectFamily(im, points, "disc", [&](Vobject* out, int k) {
      switch (k) {
        case 0: return gray_erosion(im.image, se, out);
        case 1: return gray_dilation(im.image, se, out);
        case 2: return gray_opening(im.image, se, out);
        default: return gray_closing(im.image, se, out);
      }
    });
    const TestImage open = Morph(Morph(im, points, -1), points, 1);
    const TestImage close = Morph(Morph(im, points, 1), points, -1);
    Vobject out;
    ASSERT_EQ(gray_tophat(im.image, se, &out), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) { return Stored(type, im.At(r, c) - open.At(r, c)); },
                   type == "real" ? 1e-6 : 0, "gray_tophat");
    ASSERT_EQ(gray_bothat(im.image, se, &out), VRESULT_OK);
    ExpectFiltered(out, im, [&](int r, int c) { return Stored(type, close.At(r, c) - im.At(r, c)); },
                   type == "real" ? 1e-6 : 0, "gray_bothat");
  }
}

INSTANTIATE_TEST_SUITE_P(Types, MorphTypes, ::testing::ValuesIn(kTypes));

class MorphChecks : public LeakCheckedTest {};

TEST_F(MorphChecks, BadElementsSizesAndTypesAreRefused) {
  std::mt19937 gen(33);
  const TestImage im = RandomImage("byte", 8, 8, gen);
  Vobject out, se, cplx, region;
  EXPECT_EQ(gen_disc_se(&se, "complex", 3, 3, 1.0), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gen_disc_se(&se, "byte", 0, 3, 1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(gray_erosion_rect(im.image, &out, 1000, 3), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gray_erosion_shape(im.image, &out, 3.0, 3.0, "circle"), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gray_erosion_shape(im.image, &out, 0.5, 3.0, "rhombus"), VERR_CTRL_VALUE(0));
  ASSERT_EQ(gen_empty_region(&region), VRESULT_OK);
  EXPECT_EQ(gray_erosion(im.image, region, &out), VERR_OBJ_CLASS(2));
  ASSERT_EQ(gen_image_const(&cplx, "complex", 4, 4), VRESULT_OK);
  EXPECT_EQ(gray_dilation(im.image, cplx, &out), VERR_PIXEL_TYPE);
  ASSERT_EQ(gen_disc_se(&se, "byte", 3, 3, 0.0), VRESULT_OK);
  EXPECT_EQ(gray_opening(cplx, se, &out), VERR_PIXEL_TYPE);
}

}  // namespace
