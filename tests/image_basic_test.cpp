// Image creation, pixel access, painting, type conversion and domains,
// through the procedural functions, against per-pixel references on random
// images under random domains (a 1x1 image among the sizes).
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <map>

#include "image_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

struct Size {
  int w, h;
};
constexpr Size kSizes[] = {{1, 1}, {23, 17}, {64, 48}};

void ExpectDomain(const Vobject& image, const std::function<bool(int, int)>& want) {
  Pixels p(image);
  for (int r = 0; r < p.height(); ++r)
    for (int c = 0; c < p.width(); ++c)
      ASSERT_EQ(p.InDomain(r, c), want(r, c)) << r << "," << c;
}

using ImageDomainTest = ImageOpsTest;

TEST_F(ImageDomainTest, DomainsFollowTheRegionsAndShareThePixels) {
  for (const Size s : kSizes) {
    const Mask dom = RandomMask(rng_, s.h, s.w), reg = RandomMask(rng_, s.h, s.w);
    Vobject image = RandomImage(rng_, "int2", s.w, s.h, 2, &dom);
    Vobject region = RegionObject(reg);
    Vobject reduced, changed, full, rect, domain;
    ASSERT_EQ(reduce_domain(image, region, &reduced), VRESULT_OK);
    ASSERT_EQ(change_domain(image, region, &changed), VRESULT_OK);
    ASSERT_EQ(full_domain(reduced, &full), VRESULT_OK);
    ASSERT_EQ(rectangle1_domain(image, &rect, -2, 1, s.h / 2, s.w + 5), VRESULT_OK);
    ASSERT_EQ(get_domain(image, &domain), VRESULT_OK);
    ExpectDomain(reduced, [&](int r, int c) { return dom.At(r, c) && reg.At(r, c); });
    ExpectDomain(changed, [&](int r, int c) { return reg.At(r, c); });
    ExpectDomain(full, [](int, int) { return true; });
    ExpectDomain(rect, [&](int r, int c) { return dom.At(r, c) && r <= s.h / 2 && c >= 1; });
    vexa::RegionPtr got;
    ASSERT_EQ(vexa::db::GetRegion(domain.Id(), &got), VRESULT_OK);
    EXPECT_EQ(got->chords(), ToRegion(dom)->chords());
    EXPECT_EQ(Pixels(reduced)[1].data(), Pixels(image)[1].data());
  }
  Vobject image = RandomImage(rng_, "byte", 5, 5), out;
  EXPECT_EQ(rectangle1_domain(image, &out, 3, 0, 2, 4), VERR_CTRL_VALUE(2));
  EXPECT_EQ(reduce_domain(image, Concat({image, image}), &out), VERR_OBJ_NUM(2));
}

// Every output pixel (r, c) and its domain flag are those of input pixel
// (r + r0, c + c0); the output is h x w.
void ExpectPart(const Vobject& in, const Vobject& out, int r0, int c0, int h, int w) {
  Pixels a(in), b(out);
  ASSERT_EQ(b.height(), h);
  ASSERT_EQ(b.width(), w);
  for (size_t ch = 0; ch < a.channels(); ++ch)
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) {
        const bool inside = r + r0 < a.height() && c + c0 < a.width();
        ASSERT_EQ(b[ch].Get(r, c), inside ? a[ch].Get(r + r0, c + c0) : 0.0);
        ASSERT_EQ(b[ch].GetImaginary(r, c), inside ? a[ch].GetImaginary(r + r0, c + c0) : 0.0);
        ASSERT_EQ(b.InDomain(r, c), inside && a.InDomain(r + r0, c + c0));
      }
}

TEST_F(ImageDomainTest, CropsCopyTheRectangleAndMoveTheDomain) {
  for (const char* type : {"byte", "int4", "complex"}) {
    for (const Size s : kSizes) {
      const Mask dom = RandomMask(rng_, s.h, s.w);
      Vobject image = RandomImage(rng_, type, s.w, s.h, 2, &dom), out;
      const int r1 = s.h / 3, c1 = s.w / 4;
      ASSERT_EQ(crop_rectangle1(image, &out, r1, c1, s.h + 3, s.w - 1), VRESULT_OK);
      ExpectPart(image, out, r1, c1, s.h - r1, s.w - c1);
      ASSERT_EQ(crop_part(image, &out, -2, c1, 3, s.h + 9), VRESULT_OK);
      ExpectPart(image, out, 0, c1, std::min(s.h, s.h + 7), std::min(3, s.w - c1));
      int br1 = s.h, bc1 = s.w, br2 = -1, bc2 = -1;
      for (int r = 0; r < s.h; ++r)
        for (int c = 0; c < s.w; ++c)
          if (dom.At(r, c)) {
            br1 = std::min(br1, r), bc1 = std::min(bc1, c);
            br2 = std::max(br2, r), bc2 = std::max(bc2, c);
          }
      ASSERT_EQ(crop_domain(image, &out), VRESULT_OK);
      ExpectPart(image, out, br1, bc1, br2 - br1 + 1, bc2 - bc1 + 1);
      ASSERT_EQ(change_format(image, &out, s.w + 3, std::max(1, s.h - 2)), VRESULT_OK);
      ExpectPart(image, out, 0, 0, std::max(1, s.h - 2), s.w + 3);
    }
  }
  Vobject image = RandomImage(rng_, "byte", 8, 8), empty, out;
  EXPECT_EQ(crop_part(image, &out, 8, 0, 2, 2), VERR_COORD_RANGE);
  EXPECT_EQ(crop_part(image, &out, 0, 0, 0, 2), VERR_CTRL_VALUE(2));
  EXPECT_EQ(change_format(image, &out, 40000, 2), VERR_TOO_LARGE);
  ASSERT_EQ(change_domain(image, RegionObject(Mask(8, 8)), &empty), VRESULT_OK);
  EXPECT_EQ(crop_domain(empty, &out), VERR_EMPTY_OBJECT);
}

// The stored value of v in a type: rounded half away from zero and clipped,
// cyclic modulo 256, real and complex as float.
double Converted(double v, const std::string& to) {
  if (to == "real" || to == "complex") return static_cast<float>(v);
  const double r = std::round(v);
  if (to == "cyclic") return r - 256 * std::floor(r / 256);
  const std::map<std::string, std::pair<double, double>> range = {
      {"byte", {0, 255}}, {"direction", {0, 255}}, {"int1", {-128, 127}},
      {"int2", {-32768, 32767}}, {"uint2", {0, 65535}},
      {"int4", {-2147483648.0, 2147483647.0}}, {"int8", {-9.2e18, 9.2e18}}};
  return std::clamp(r, range.at(to).first, range.at(to).second);
}

TEST_F(ImageOpsTest, ConvertImageTypeConvertsTheDomainPixels) {
  for (const char* from : kAllTypes) {
    if (std::string(from) == "complex") continue;
    for (bool full : {true, false}) {
      const Mask dom = full ? Mask(13, 21, true) : RandomMask(rng_, 13, 21);
      Vobject image = RandomImage(rng_, from, 21, 13, 2, &dom);
      for (const char* to : kAllTypes) {
        Vobject out;
        ASSERT_EQ(convert_image_type(image, &out, to), VRESULT_OK);
        Pixels a(image), b(out);
        ASSERT_EQ(std::string(vexa::PixelTypeName(b[1].type())), to);
        const bool same = std::string(from) == to;
        for (int ch = 0; ch < 2; ++ch)
          for (int r = 0; r < 13; ++r)
            for (int c = 0; c < 21; ++c)
              ASSERT_EQ(b[ch].Get(r, c),
                        dom.At(r, c) || same ? Converted(a[ch].Get(r, c), to) : 0.0)
                  << from << "->" << to << " " << r << "," << c;
        ExpectDomain(out, [&](int r, int c) { return dom.At(r, c); });
      }
    }
  }
  Vobject complex = RandomImage(rng_, "complex", 3, 3), out;
  EXPECT_EQ(convert_image_type(complex, &out, "byte"), VERR_PIXEL_TYPE);
  EXPECT_EQ(convert_image_type(complex, &out, "bit"), VERR_CTRL_VALUE(0));
}

TEST_F(ImageOpsTest, CopyImageIsIndependentOfItsSource) {
  for (const char* type : kAllTypes) {
    const Mask dom = RandomMask(rng_, 9, 11);
    Vobject image = RandomImage(rng_, type, 11, 9, 3, &dom), copy;
    ASSERT_EQ(copy_image(image, &copy), VRESULT_OK);
    Pixels a(image), b(copy);
    for (int ch = 0; ch < 3; ++ch) {
      ASSERT_NE(a[ch].data(), b[ch].data());
      ASSERT_EQ(0, std::memcmp(a[ch].data(), b[ch].data(), a[ch].pixel_bytes()));
    }
    EXPECT_EQ(a.data.domain->chords(), b.data.domain->chords());
  }
}

// Paint: the margin of a region is its pixels with a 4-neighbour outside.
bool OnMargin(const Mask& m, int r, int c) {
  return m.At(r, c) && (!m.At(r - 1, c) || !m.At(r + 1, c) || !m.At(r, c - 1) || !m.At(r, c + 1));
}

TEST_F(ImageOpsTest, PaintRegionFillsOrOutlinesTheRegionsInEveryChannel) {
  for (const Size s : kSizes) {
    for (const char* mode : {"fill", "margin"}) {
      const Mask dom = RandomMask(rng_, s.h, s.w);
      std::vector<Mask> masks = {RandomMask(rng_, s.h, s.w), RandomMask(rng_, s.h, s.w)};
      Vobject image = RandomImage(rng_, "uint2", s.w, s.h, 2, &dom), painted, original;
      ASSERT_EQ(copy_image(image, &original), VRESULT_OK);
      Vobject regions = Concat({RegionObject(masks[0]), RegionObject(masks[1])});
      const VTuple gray = VTuple(70000.0).Append(VTuple(-3.6));
      ASSERT_EQ(paint_region(regions, image, &painted, gray, VTuple(mode)), VRESULT_OK);
      Vobject shared, over;
      ASSERT_EQ(reduce_domain(image, RegionObject(Mask(s.h, s.w, true)), &shared), VRESULT_OK);
      ASSERT_EQ(overpaint_region(shared, regions, gray, VTuple(mode)), VRESULT_OK);
      Pixels a(image), b(painted), o(shared), before(original);
      for (int ch = 0; ch < 2; ++ch)  // painting the sharer left the image alone
        ASSERT_EQ(0, std::memcmp(a[ch].data(), before[ch].data(), a[ch].pixel_bytes()));
      for (int r = 0; r < s.h; ++r)
        for (int c = 0; c < s.w; ++c) {
          bool hit = false;
          for (const Mask& m : masks)
            hit |= std::string(mode) == "fill" ? m.At(r, c) : OnMargin(m, r, c);
          for (int ch = 0; ch < 2; ++ch) {
            const double want = hit ? (ch == 0 ? 65535.0 : 0.0) : a[ch].Get(r, c);
            ASSERT_EQ(b[ch].Get(r, c), want);
            ASSERT_EQ(o[ch].Get(r, c), want);
          }
        }
      ExpectDomain(painted, [&](int r, int c) { return dom.At(r, c); });
    }
  }
  Vobject image = RandomImage(rng_, "byte", 4, 4, 3), out;
  Vobject region = RegionObject(Mask(4, 4, true));
  EXPECT_EQ(paint_region(region, image, &out, VTuple(1.0).Append(VTuple(2.0)), VTuple("fill")),
            VERR_CTRL_NUM(0));
  EXPECT_EQ(paint_region(region, image, &out, 1.0, "outline"), VERR_CTRL_VALUE(1));
}

TEST_F(ImageOpsTest, PaintGrayCopiesTheSourceDomainPixels) {
  for (const Size s : kSizes) {
    const Mask dom = RandomMask(rng_, s.h, s.w);
    Vobject source = RandomImage(rng_, "complex", s.w, s.h, 2, &dom);
    Vobject dest = RandomImage(rng_, "complex", s.w, s.h, 2), mixed, before;
    ASSERT_EQ(paint_gray(source, dest, &mixed), VRESULT_OK);
    ASSERT_EQ(copy_image(dest, &before), VRESULT_OK);
    ASSERT_EQ(overpaint_gray(dest, source), VRESULT_OK);
    Pixels src(source), old(before), m(mixed), d(dest);
    for (int ch = 0; ch < 2; ++ch)
      for (int r = 0; r < s.h; ++r)
        for (int c = 0; c < s.w; ++c) {
          const Pixels& want = dom.At(r, c) ? src : old;
          ASSERT_EQ(m[ch].Get(r, c), want[ch].Get(r, c));
          ASSERT_EQ(m[ch].GetImaginary(r, c), want[ch].GetImaginary(r, c));
          ASSERT_EQ(d[ch].Get(r, c), want[ch].Get(r, c));
        }
  }
  Vobject a = RandomImage(rng_, "byte", 4, 4), b = RandomImage(rng_, "byte", 5, 4), out;
  Vobject c = RandomImage(rng_, "int1", 4, 4);
  EXPECT_EQ(paint_gray(a, b, &out), VERR_IMAGE_SIZE);
  EXPECT_EQ(overpaint_gray(a, c), VERR_PIXEL_TYPE);
}

// Cubic convolution kernel (a = -0.5) as a function of the distance.
double Cubic(double x) {
  x = std::fabs(x);
  if (x <= 1) return 1.5 * x * x * x - 2.5 * x * x + 1;
  if (x < 2) return -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2;
  return 0;
}

TEST_F(ImageOpsTest, GrayvalInterpolatedMatchesTheKernels) {
  for (const Size s : kSizes) {
    const Mask dom = RandomMask(rng_, s.h, s.w);
    Vobject image = RandomImage(rng_, "real", s.w, s.h, 1, &dom);
    Pixels p(image);
    auto at = [&](int r, int c) {
      return p[0].Get(std::clamp(r, 0, s.h - 1), std::clamp(c, 0, s.w - 1));
    };
    std::uniform_real_distribution<double> row(-0.49, s.h - 0.51), col(-0.49, s.w - 0.51);
    VTuple rows, cols;
    for (int i = 0; i < 200; ++i) {
      rows.Append(VTuple(row(rng_)));
      cols.Append(VTuple(col(rng_)));
    }
    for (const char* mode : {"nearest_neighbor", "bilinear", "bicubic"}) {
      VTuple got;
      ASSERT_EQ(get_grayval_interpolated(image, rows, cols, VTuple(mode), &got), VRESULT_OK);
      ASSERT_EQ(got.Num(), 200);
      for (int i = 0; i < 200; ++i) {
        const double y = rows[i].D(), x = cols[i].D();
        const int ry = static_cast<int>(std::lround(y)), rx = static_cast<int>(std::lround(x));
        const int y0 = static_cast<int>(std::floor(y)), x0 = static_cast<int>(std::floor(x));
        double want = 0;
        if (std::string(mode) == "nearest_neighbor") {
          want = at(ry, rx);
        } else {
          const int reach = std::string(mode) == "bilinear" ? 1 : 2;
          for (int yy = y0 - reach + 1; yy <= y0 + reach; ++yy)
            for (int xx = x0 - reach + 1; xx <= x0 + reach; ++xx) {
              const double wy = reach == 1 ? 1 - std::fabs(y - yy) : Cubic(y - yy);
              const double wx = reach == 1 ? 1 - std::fabs(x - xx) : Cubic(x - xx);
              want += wy * wx * at(yy, xx);
            }
        }
        if (!dom.At(ry, rx)) want = -1;
        ASSERT_NEAR(got[i].D(), want, 1e-6 * (1 + std::fabs(want))) << mode << " " << y << "," << x;
      }
    }
  }
  Vobject image = RandomImage(rng_, "byte", 4, 4);
  double v = 0;
  EXPECT_EQ(get_grayval_interpolated(image, 1.0, 1.0, "spline", &v), VERR_CTRL_VALUE(2));
}

int cleared = 0;
void* cleared_pointer = nullptr;
void CountClear(void* p) {
  ++cleared;
  cleared_pointer = p;
}

TEST_F(ImageOpsTest, GeneratedImagesHoldTheCallersPixels) {
  std::vector<int16_t> planes[3];
  for (auto& plane : planes)
    for (int i = 0; i < 7 * 5; ++i) plane.push_back(static_cast<int16_t>(rng_() % 65536));
  auto address = [](const void* p) { return static_cast<Vlong>(reinterpret_cast<uintptr_t>(p)); };
  Vobject rgb;
  ASSERT_EQ(gen_image3(&rgb, "int2", address(planes[0].data()), address(planes[1].data()),
                       address(planes[2].data()), 7, 5),
            VRESULT_OK);
  Pixels p(rgb);
  for (int ch = 0; ch < 3; ++ch)
    for (int k = 0; k < 35; ++k) ASSERT_EQ(p[ch].Get(k / 7, k % 7), planes[ch][k]);

  // The caller hands the array over: the clear procedure runs once, with
  // the array, and not at all when the image cannot be made.
  auto* owned = static_cast<uint8_t*>(std::malloc(6));
  for (int k = 0; k < 6; ++k) owned[k] = static_cast<uint8_t>(40 * k);
  cleared = 0;
  Vobject ext, copy;
  EXPECT_EQ(gen_image1_extern(&ext, "byte", 0, 2, address(owned), address(reinterpret_cast<void*>(&CountClear))),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(cleared, 0);
  ASSERT_EQ(gen_image1_extern(&ext, "byte", 3, 2, address(owned),
                              address(reinterpret_cast<void*>(&CountClear))),
            VRESULT_OK);
  ASSERT_EQ(copy_image(ext, &copy), VRESULT_OK);
  ext = Vobject();
  copy = Vobject();
  EXPECT_EQ(cleared, 1);
  EXPECT_EQ(cleared_pointer, owned);
  std::free(owned);

  Vobject proto;
  const Mask dom = RandomMask(rng_, 6, 4);
  Vobject image = RandomImage(rng_, "int1", 4, 6, 2, &dom);
  ASSERT_EQ(gen_image_proto(image, &proto, VTuple(-7.4).Append(VTuple(300.0))), VRESULT_OK);
  Pixels q(proto);
  for (int r = 0; r < 6; ++r)
    for (int c = 0; c < 4; ++c) {
      ASSERT_EQ(q[0].Get(r, c), -7);
      ASSERT_EQ(q[1].Get(r, c), 127);
      ASSERT_EQ(q.InDomain(r, c), dom.At(r, c));
    }
}

TEST_F(ImageOpsTest, MemoryRectanglesAndArraysHandedOver) {
  auto address = [](const void* p) { return static_cast<Vlong>(reinterpret_cast<uintptr_t>(p)); };
  const Vlong clear = address(reinterpret_cast<void*>(&CountClear));
  // The second byte of each four-byte pixel of rows 23 bytes apart.
  auto* memory = static_cast<uint8_t*>(std::malloc(23 * 4));
  for (int k = 0; k < 23 * 4; ++k) memory[k] = static_cast<uint8_t>(rng_());
  cleared = 0;
  Vobject rect;
  ASSERT_EQ(gen_image1_rect(&rect, address(memory + 1), 5, 4, 23, 32, 8, "true", clear), VRESULT_OK);
  Pixels p(rect);
  ASSERT_EQ(p.width(), 5);
  ASSERT_EQ(p.height(), 4);
  for (int r = 0; r < 4; ++r)
    for (int c = 0; c < 5; ++c) ASSERT_EQ(p[0].Get(r, c), memory[1 + r * 23 + c * 4]) << r << "," << c;
  rect = Vobject();
  EXPECT_EQ(cleared, 0);  // "true": the caller keeps its memory
  // 16-bit pixels, handed over: cleared once, with the address given.
  ASSERT_EQ(gen_image1_rect(&rect, address(memory), 2, 3, 23, 16, 16, "false", clear), VRESULT_OK);
  Pixels q(rect);
  uint16_t second_row_first = 0;
  std::memcpy(&second_row_first, memory + 23, 2);
  EXPECT_EQ(q[0].Get(1, 0), second_row_first);
  rect = Vobject();
  EXPECT_EQ(cleared, 1);
  EXPECT_EQ(cleared_pointer, memory);
  EXPECT_EQ(gen_image1_rect(&rect, address(memory), 5, 4, 16, 32, 8, "false", clear), VERR_CTRL_VALUE(3));
  EXPECT_EQ(gen_image1_rect(&rect, address(memory), 5, 4, 23, 12, 8, "false", clear), VERR_CTRL_VALUE(4));
  EXPECT_EQ(gen_image1_rect(&rect, address(memory), 5, 4, 23, 32, 24, "false", clear), VERR_CTRL_VALUE(5));
  EXPECT_EQ(gen_image1_rect(&rect, address(memory), 5, 4, 23, 32, 8, "maybe", clear), VERR_CTRL_VALUE(6));
  EXPECT_EQ(gen_image1_rect(&rect, 0, 5, 4, 23, 32, 8, "false", clear), VERR_CTRL_VALUE(0));
  EXPECT_EQ(cleared, 1);
  std::free(memory);

  // Three arrays, two of them the same: two clear calls.
  auto* red = static_cast<uint8_t*>(std::calloc(6, 1));
  auto* green = static_cast<uint8_t*>(std::calloc(6, 1));
  red[5] = 9;
  green[5] = 7;
  cleared = 0;
  Vobject rgb;
  ASSERT_EQ(gen_image3_extern(&rgb, "byte", 3, 2, address(red), address(green), address(red), clear), VRESULT_OK);
  EXPECT_EQ(Pixels(rgb)[1].Get(1, 2), 7);
  EXPECT_EQ(Pixels(rgb)[2].Get(1, 2), 9);
  rgb = Vobject();
  EXPECT_EQ(cleared, 2);
  std::free(red);
  std::free(green);

  // The rectangle around a domain, as memory.
  Vobject image = RandomImage(rng_, "uint2", 9, 7), reduced;
  Mask box(7, 9);
  for (int r = 2; r <= 5; ++r)
    for (int c = 3; c <= 4; ++c) box.Set(r, c);
  ASSERT_EQ(reduce_domain(image, RegionObject(box), &reduced), VRESULT_OK);
  Vlong pointer = 0, width = 0, height = 0, row_pitch = 0, bit_pitch = 0, bits = 0;
  ASSERT_EQ(get_image_pointer1_rect(reduced, &pointer, &width, &height, &row_pitch, &bit_pitch, &bits), VRESULT_OK);
  EXPECT_EQ(width, 2);
  EXPECT_EQ(height, 4);
  EXPECT_EQ(row_pitch, 18);
  EXPECT_EQ(bit_pitch, 16);
  EXPECT_EQ(bits, 16);
  Pixels full(image);
  EXPECT_EQ(pointer, address(full[0].data() + (2 * 9 + 3) * 2));
  Vobject complex = RandomImage(rng_, "complex", 3, 3);
  EXPECT_EQ(get_image_pointer1_rect(complex, &pointer, &width, &height, &row_pitch, &bit_pitch, &bits),
            VERR_PIXEL_TYPE);
}

TEST_F(ImageOpsTest, RampsAndSurfacesFollowTheirFormulas) {
  Vobject ramp, first, second;
  ASSERT_EQ(gen_image_gray_ramp(&ramp, 2.5, -1.25, 128, 10, 20, 40, 30), VRESULT_OK);
  ASSERT_EQ(gen_image_surface_first_order(&first, "int2", 0.5, 3, -20, 4.5, 7.25, 40, 30), VRESULT_OK);
  ASSERT_EQ(gen_image_surface_second_order(&second, "real", 0.5, -0.25, 0.125, 1, -2, 3, 15.5, 20,
                                           40, 30),
            VRESULT_OK);
  Pixels a(ramp), b(first), c(second);
  for (int r = 0; r < 30; ++r)
    for (int col = 0; col < 40; ++col) {
      ASSERT_EQ(a[0].Get(r, col), Converted(2.5 * (r - 10) - 1.25 * (col - 20) + 128, "byte"));
      ASSERT_EQ(b[0].Get(r, col), Converted(0.5 * (r - 4.5) + 3 * (col - 7.25) - 20, "int2"));
      const double y = r - 15.5, x = col - 20;
      ASSERT_EQ(c[0].Get(r, col),
                Converted(0.5 * y * y - 0.25 * x * x + 0.125 * x * y + y - 2 * x + 3, "real"));
    }
  EXPECT_EQ(gen_image_surface_first_order(&first, "complex", 1, 1, 1, 0, 0, 4, 4), VERR_PIXEL_TYPE);
  EXPECT_EQ(gen_image_gray_ramp(&ramp, 1, 1, 1, 0, 0, 4, 1 << 20), VERR_TOO_LARGE);
}

TEST_F(ImageOpsTest, InterleavedPixelsAreUnpackedPerFormat) {
  constexpr int kOrigW = 9, kOrigH = 7, kAlign = 8;
  std::vector<uint8_t> buffer(kOrigH * 80);
  for (uint8_t& b : buffer) b = static_cast<uint8_t>(rng_());
  const Vlong address = static_cast<Vlong>(reinterpret_cast<uintptr_t>(buffer.data()));
  struct Case {
    const char* format;
    int bytes;
    const char* type;
    int bits, shift;
  };
  for (const Case& k : {Case{"bgrx", 4, "byte", -1, -1}, Case{"rgb", 3, "uint2", -1, -1},
                        Case{"rgb565", 2, "byte", -1, -1}, Case{"rgb48", 6, "byte", 12, 2},
                        Case{"argb", 4, "byte", 4, 3}}) {
    Vobject image;
    ASSERT_EQ(gen_image_interleaved(&image, address, k.format, kOrigW, kOrigH, kAlign, k.type, 5, 4,
                                    2, 3, k.bits, k.shift),
              VRESULT_OK)
        << k.format;
    Pixels p(image);
    const std::string f = k.format;
    ASSERT_EQ(p.channels(), f == "argb" ? 4u : 3u);
    const int stride = (kOrigW * k.bytes + kAlign - 1) / kAlign * kAlign;
    for (int r = 0; r < 4; ++r)
      for (int c = 0; c < 5; ++c) {
        const uint8_t* px = buffer.data() + (r + 2) * stride + (c + 3) * k.bytes;
        const unsigned word = px[0] | px[1] << 8;
        unsigned want[4];
        if (f == "bgrx") {
          want[0] = px[2], want[1] = px[1], want[2] = px[0];
        } else if (f == "rgb") {
          want[0] = px[0], want[1] = px[1], want[2] = px[2];
        } else if (f == "rgb565") {
          want[0] = ((word >> 11) & 31) * 255.0 / 31 + 0.5;
          want[1] = ((word >> 5) & 63) * 255.0 / 63 + 0.5;
          want[2] = (word & 31) * 255.0 / 31 + 0.5;
        } else if (f == "rgb48") {
          for (int i = 0; i < 3; ++i) want[i] = (((px[2 * i] | px[2 * i + 1] << 8) >> 2) & 4095) >> 4;
        } else {
          const int order[4] = {1, 2, 3, 0};
          for (int i = 0; i < 4; ++i) want[i] = ((px[order[i]] >> 3) & 15) * 17;
        }
        for (size_t ch = 0; ch < p.channels(); ++ch)
          ASSERT_EQ(p[ch].Get(r, c), want[ch]) << f << " " << r << "," << c << " ch " << ch;
      }
  }
  Vobject image;
  EXPECT_EQ(gen_image_interleaved(&image, address, "rgb", 9, 7, 0, "byte", 9, 7, 1, 0, -1, -1),
            VERR_CTRL_VALUE(7));
  EXPECT_EQ(gen_image_interleaved(&image, address, "yuv", 9, 7, 0, "byte", 0, 0, 0, 0, -1, -1),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(gen_image_interleaved(&image, address, "rgb", 9, 7, 0, "byte", 0, 0, 0, 0, 9, -1),
            VERR_CTRL_VALUE(10));
}

TEST_F(ImageOpsTest, SizesTypesAndPointersOfImageLists) {
  Vobject a = RandomImage(rng_, "real", 3, 2, 3), b = RandomImage(rng_, "uint2", 1, 1, 3);
  Vobject both = Concat({a, b});
  VTuple widths, heights, types, red, green, blue, t3, w3, h3;
  ASSERT_EQ(get_image_size(both, &widths, &heights), VRESULT_OK);
  ASSERT_EQ(get_image_type(both, &types), VRESULT_OK);
  ASSERT_EQ(get_image_pointer3(both, &red, &green, &blue, &t3, &w3, &h3), VRESULT_OK);
  EXPECT_EQ(widths[0].L(), 3);
  EXPECT_EQ(heights[0].L(), 2);
  EXPECT_EQ(widths[1].L(), 1);
  EXPECT_EQ(std::string(types[0].S()), "real");
  EXPECT_EQ(std::string(t3[1].S()), "uint2");
  Pixels pb(b);
  EXPECT_EQ(blue[1].L(), static_cast<Vlong>(reinterpret_cast<uintptr_t>(pb[2].data())));
  Vobject gray = RandomImage(rng_, "byte", 2, 2);
  EXPECT_EQ(get_image_pointer3(gray, &red, &green, &blue, &t3, &w3, &h3), VERR_CHANNEL);
  Vobject none;
  ASSERT_EQ(gen_empty_obj(&none), VRESULT_OK);
  EXPECT_EQ(get_image_size(none, &widths, &heights), VERR_OBJ_NUM(1));
}


// The expected result of placing images one after the other: values (all
// channels, later placements over earlier ones, 0 where none lands) and
// the union of the placed domain parts.
struct Placed {
  int h, w, channels;
  std::vector<std::vector<double>> values;  // [channel][r * w + c]
  std::vector<bool> domain;
  Placed(int height, int width, int num_channels)
      : h(height), w(width), channels(num_channels),
        values(num_channels, std::vector<double>(height * width, 0.0)), domain(height * width, false) {}
  // Rows r1..r2, columns c1..c2 of `image` with (r1, c1) landing at (tr, tc).
  void Put(const Vobject& image, int r1, int c1, int r2, int c2, int tr, int tc) {
    Pixels in(image);
    for (int r = std::max(r1, 0); r <= std::min(r2, in.height() - 1); ++r)
      for (int c = std::max(c1, 0); c <= std::min(c2, in.width() - 1); ++c) {
        const int rr = r - r1 + tr, cc = c - c1 + tc;
        if (rr < 0 || rr >= h || cc < 0 || cc >= w) continue;
        for (int ch = 0; ch < channels; ++ch) values[ch][rr * w + cc] = in[ch].Get(r, c);
        domain[rr * w + cc] = domain[rr * w + cc] || in.InDomain(r, c);
      }
  }
  void Expect(const Vobject& out) const {
    Pixels got(out);
    ASSERT_EQ(got.height(), h);
    ASSERT_EQ(got.width(), w);
    ASSERT_EQ(got.channels(), static_cast<size_t>(channels));
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) {
        for (int ch = 0; ch < channels; ++ch) ASSERT_EQ(got[ch].Get(r, c), values[ch][r * w + c]) << r << "," << c;
        ASSERT_EQ(got.InDomain(r, c), domain[r * w + c]) << r << "," << c;
      }
  }
};

TEST_F(ImageDomainTest, TilesPlaceCopiesAndJoinTheDomains) {
  const Size sizes[] = {{7, 5}, {4, 9}, {6, 6}};
  std::vector<Vobject> images;
  for (const Size s : sizes) {
    const Mask dom = RandomMask(rng_, s.h, s.w);
    images.push_back(RandomImage(rng_, "uint2", s.w, s.h, 2, &dom));
  }
  const Vobject all = Concat(images);
  // Cells of the largest width (7) and height (9); three images in two
  // columns fill a row, then the next, or a column, then the next.
  for (const bool by_rows : {true, false}) {
    SCOPED_TRACE(by_rows ? "horizontal" : "vertical");
    Vobject out;
    ASSERT_EQ(tile_images(all, &out, 2, by_rows ? "horizontal" : "vertical"), VRESULT_OK);
    Placed want(18, 14, 2);
    for (int k = 0; k < 3; ++k) {
      const int row = by_rows ? k / 2 : k % 2, col = by_rows ? k % 2 : k / 2;
      want.Put(images[k], 0, 0, 100, 100, row * 9, col * 7);
    }
    want.Expect(out);
  }
  // Parts at offsets, clipped on every side, the later over the earlier;
  // -1 four times takes the whole image.
  Vobject out;
  ASSERT_EQ(tile_images_offset(all, &out, VTuple(-2).Append(3).Append(5), VTuple(1).Append(-3).Append(4),
                               VTuple(-1).Append(1).Append(2), VTuple(-1).Append(0).Append(-4),
                               VTuple(-1).Append(7).Append(4), VTuple(-1).Append(3).Append(20), 10, 8),
            VRESULT_OK);
  Placed want(8, 10, 2);
  want.Put(images[0], 0, 0, 4, 6, -2, 1);
  want.Put(images[1], 1, 0, 7, 3, 3, -3);
  want.Put(images[2], 2, -4, 4, 20, 5, 4);
  want.Expect(out);
  // Refusals.
  const Vobject bytes = RandomImage(rng_, "byte", 4, 4, 2), three = RandomImage(rng_, "uint2", 4, 4, 3);
  EXPECT_EQ(tile_images(Concat({images[0], bytes}), &out, 2, "horizontal"), VERR_PIXEL_TYPE);
  EXPECT_EQ(tile_images(Concat({images[0], three}), &out, 2, "horizontal"), VERR_CHANNEL);
  EXPECT_EQ(tile_images(all, &out, 0, "horizontal"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(tile_images(all, &out, 2, "diagonal"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(tile_images(all, &out, 40000, "vertical"), VERR_TOO_LARGE);
  Vobject none;
  ASSERT_EQ(gen_empty_obj(&none), VRESULT_OK);
  EXPECT_EQ(tile_images(none, &out, 1, "vertical"), VERR_OBJ_NUM(1));
  EXPECT_EQ(tile_images_offset(all, &out, VTuple(0), VTuple(0).Append(0).Append(0), VTuple(-1).Append(-1).Append(-1),
                               VTuple(-1).Append(-1).Append(-1), VTuple(-1).Append(-1).Append(-1),
                               VTuple(-1).Append(-1).Append(-1), 10, 10),
            VERR_CTRL_NUM(0));
  EXPECT_EQ(tile_images_offset(images[0], &out, 0, 0, 3, 0, 1, 2, 10, 10), VERR_CTRL_VALUE(4));
  EXPECT_EQ(tile_images_offset(images[0], &out, 0, 0, 0, 0, 1, 1, 0, 10), VERR_CTRL_VALUE(6));
}

}  // namespace
