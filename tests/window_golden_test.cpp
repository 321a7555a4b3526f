// What windows show, compared pixel by pixel with references computed
// here: a scene of a gray image, a filled and an outlined region, a
// contour and text; zoom by set_part; several colours, dashes, look-up
// tables, xor, region shapes, channels, and dumps into files.
#include <cmath>
#include <cstdio>
#include <string>

#include "random_region_support.h"
#include "window_test_support.h"

namespace {

using namespace Vexa;
using test_support::Dump;
using test_support::kBlack;
using test_support::kGreen;
using test_support::kRed;
using test_support::Mask;
using test_support::RandomRegion;
using test_support::Raster;
using test_support::Rgb;

constexpr Rgb kYellow{255, 255, 0};

// A byte image whose gray values 20..219 never equal a pure colour.
struct GrayImage {
  Vobject image;
  std::vector<uint8_t> px;
  int width, height;
  GrayImage(int w, int h) : width(w), height(h) {
    EXPECT_EQ(gen_image_const(&image, "byte", w, h), VRESULT_OK);
    Vlong pointer = 0, pw = 0, ph = 0;
    char type[32];
    EXPECT_EQ(get_image_pointer1(image, &pointer, type, &pw, &ph), VRESULT_OK);
    auto* data = reinterpret_cast<uint8_t*>(static_cast<uintptr_t>(pointer));
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c) data[r * w + c] = static_cast<uint8_t>(20 + (r * 7 + c * 3) % 200);
    px.assign(data, data + w * h);
  }
  int At(int r, int c) const { return px[static_cast<size_t>(r) * width + c]; }
};

// The mask moved by (dr, dc).
Mask Shifted(const Mask& m, int dr, int dc, int width, int height) {
  Mask out;
  out.width = width;
  out.height = height;
  out.in.assign(static_cast<size_t>(width) * height, 0);
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c) out.in[r * width + c] = m.At(r - dr, c - dc);
  return out;
}

double DistanceToSegment(double r, double c, double r0, double c0, double r1, double c1) {
  const double dr = r1 - r0, dc = c1 - c0;
  const double t = std::fmax(0.0, std::fmin(1.0, ((r - r0) * dr + (c - c0) * dc) / (dr * dr + dc * dc)));
  return std::hypot(r0 + t * dr - r, c0 + t * dc - c);
}

class WindowGoldenTest : public test_support::OffscreenWindowTest {};

// Four objects in four separate areas over a gray image: every pixel is
// either the image's gray or explained by the object of its area.
TEST_F(WindowGoldenTest, SceneOfImageRegionsContourAndText) {
  const int W = 120, H = 100;
  const Vlong w = Open(W, H);
  const GrayImage gray(W, H);
  ASSERT_EQ(disp_image(gray.image, w), VRESULT_OK);

  const RandomRegion filled(50, 35, 11, 100, 255);  // rows 0..34, columns 0..49
  const RandomRegion outlined(50, 35, 12, 60, 255);
  Vobject moved;
  ASSERT_EQ(move_region(outlined.region, &moved, 0, 60), VRESULT_OK);
  ASSERT_EQ(set_color(w, "red"), VRESULT_OK);
  ASSERT_EQ(disp_region(filled.region, w), VRESULT_OK);
  ASSERT_EQ(set_color(w, "green"), VRESULT_OK);
  ASSERT_EQ(set_draw(w, "margin"), VRESULT_OK);
  ASSERT_EQ(disp_region(moved, w), VRESULT_OK);

  const double cr0 = 48, cc0 = 5, cr1 = 58, cc1 = 110;
  Vobject contour;
  ASSERT_EQ(gen_contour_polygon_xld(&contour, VTuple(cr0).Append(cr1), VTuple(cc0).Append(cc1)),
            VRESULT_OK);
  ASSERT_EQ(set_color(w, "blue"), VRESULT_OK);
  ASSERT_EQ(disp_xld(contour, w), VRESULT_OK);

  ASSERT_EQ(set_color(w, "yellow"), VRESULT_OK);
  ASSERT_EQ(set_tposition(w, 75, 10), VRESULT_OK);
  ASSERT_EQ(write_string(w, "Vexa 42!"), VRESULT_OK);
  Vlong ascent = 0, descent = 0, tw = 0, th = 0;
  ASSERT_EQ(get_string_extents(w, "Vexa 42!", &ascent, &descent, &tw, &th), VRESULT_OK);
  EXPECT_EQ(ascent + descent, th);

  const Mask outline = Shifted(outlined.mask, 0, 60, W, H);
  const Raster raster = Dump(w);
  int wrong = 0;
  long long text_pixels = 0;
  for (int r = 0; r < H; ++r)
    for (int c = 0; c < W; ++c) {
      const Rgb p = raster.At(r, c);
      const int g = gray.At(r, c);
      Rgb expect{g, g, g};
      bool ok;
      if (r < 35 && c < 60) {
        ok = p == (filled.mask.At(r, c) ? kRed : expect);
      } else if (r < 35) {
        ok = p == (outline.OnBoundary(r, c) ? kGreen : expect);
      } else if (r < 65) {
        // Anti-aliased: changed pixels lie near the line; a pixel whose
        // centre is within 0.3 of it is covered by 0.7 or more, so mostly
        // blue over gray.
        const double d = DistanceToSegment(r, c, cr0, cc0, cr1, cc1);
        ok = d <= 0.3 ? (p[0] == p[1] && p[2] >= 178 && p[0] < p[2])
                      : (p == expect || d < 1.5);
      } else {
        const bool inside = r >= 75 && r < 75 + th && c >= 10 && c < 10 + tw;
        text_pixels += p == kYellow;
        ok = p == expect || (inside && p == kYellow);
      }
      if (!ok && ++wrong <= 5) ADD_FAILURE() << "pixel (" << r << ", " << c << ")";
    }
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(text_pixels, 40);
}

// At zoom 2 every image pixel is a 2 x 2 block: a region covers four times
// its area, its outline four times its boundary, an image repeats its
// pixels, and a filled rectangle still ends on pixel borders.
TEST_F(WindowGoldenTest, PartZoomsRegionsImagesAndFigures) {
  const Vlong w = Open(100, 80);
  const RandomRegion shape(60, 50, 21, 90, 255);
  ASSERT_EQ(set_part(w, 5, 10, 44, 59), VRESULT_OK);
  Vlong r1, c1, r2, c2;
  ASSERT_EQ(get_part(w, &r1, &c1, &r2, &c2), VRESULT_OK);
  EXPECT_EQ((std::vector<Vlong>{r1, c1, r2, c2}), (std::vector<Vlong>{5, 10, 44, 59}));
  ASSERT_EQ(set_color(w, "red"), VRESULT_OK);
  ASSERT_EQ(disp_region(shape.region, w), VRESULT_OK);
  Raster raster = Dump(w);
  long long visible = 0;
  for (int r = 0; r < 80; ++r)
    for (int c = 0; c < 100; ++c) {
      const bool in = shape.mask.At(5 + r / 2, 10 + c / 2);
      ASSERT_EQ(raster.At(r, c), in ? kRed : kBlack) << r << ", " << c;
    }
  for (int r = 5; r <= 44; ++r)
    for (int c = 10; c <= 59; ++c) visible += shape.mask.At(r, c);
  EXPECT_EQ(raster.Count(kRed), 4 * visible);

  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(set_draw(w, "margin"), VRESULT_OK);
  Vobject clipped;
  ASSERT_EQ(clip_region(shape.region, &clipped, 10, 15, 40, 55), VRESULT_OK);
  ASSERT_EQ(disp_region(clipped, w), VRESULT_OK);
  Vobject border;
  ASSERT_EQ(boundary(clipped, &border, "inner"), VRESULT_OK);
  Vlong border_area = 0;
  double br, bc;
  ASSERT_EQ(area_center(border, &border_area, &br, &bc), VRESULT_OK);
  EXPECT_EQ(Dump(w).Count(kRed), 4 * border_area);

  ASSERT_EQ(set_draw(w, "fill"), VRESULT_OK);
  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(disp_rectangle1(w, 10.0, 20.0, 14.0, 29.0), VRESULT_OK);
  EXPECT_EQ(Dump(w).Count(kRed), 4 * 5 * 10);

  const GrayImage gray(60, 50);
  ASSERT_EQ(disp_image(gray.image, w), VRESULT_OK);
  raster = Dump(w);
  for (int r = 0; r < 80; ++r)
    for (int c = 0; c < 100; ++c) {
      const int g = gray.At(5 + r / 2, 10 + c / 2);
      ASSERT_EQ(raster.At(r, c), (Rgb{g, g, g})) << r << ", " << c;
    }
  // Half zoom: raster pixel k shows the image pixel under its centre, 2k + 1.
  ASSERT_EQ(set_part(w, 0, 0, 159, 199), VRESULT_OK);
  const GrayImage big(200, 160);
  ASSERT_EQ(disp_image(big.image, w), VRESULT_OK);
  raster = Dump(w);
  for (int r = 0; r < 80; ++r)
    for (int c = 0; c < 100; ++c) {
      const int g = big.At(2 * r + 1, 2 * c + 1);
      ASSERT_EQ(raster.At(r, c), (Rgb{g, g, g})) << r << ", " << c;
    }
  ASSERT_EQ(set_part(w, -1, -1, -1, -1), VRESULT_OK);
  ASSERT_EQ(get_part(w, &r1, &c1, &r2, &c2), VRESULT_OK);
  EXPECT_EQ((std::vector<Vlong>{r1, c1, r2, c2}), (std::vector<Vlong>{0, 0, 79, 99}));
  EXPECT_EQ(set_part(w, 10, 0, 9, 5), VERR_CTRL_VALUE(3));
  EXPECT_EQ(set_part(w, 0, 10, 5, 9), VERR_CTRL_VALUE(4));
  EXPECT_EQ(set_part(999999, 0, 0, 5, 5), VERR_WINDOW_INVALID);
}

// Text stays inside its extents; a font twice the size draws every pixel
// as a 2 x 2 block; the position moves on after each text.
TEST_F(WindowGoldenTest, TextScalesAndAdvances) {
  const Vlong w = Open(200, 60);
  ASSERT_EQ(set_tposition(w, 4, 6), VRESULT_OK);
  ASSERT_EQ(write_string(w, "Ag|y"), VRESULT_OK);
  const long long small = Dump(w).Count({255, 255, 255});
  Vlong row = 0, col = 0;
  ASSERT_EQ(get_tposition(w, &row, &col), VRESULT_OK);
  Vlong asc, desc, width, height;
  ASSERT_EQ(get_string_extents(w, "Ag|y", &asc, &desc, &width, &height), VRESULT_OK);
  EXPECT_EQ(row, 4);
  EXPECT_EQ(col, 6 + width);

  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(set_font(w, "mono-16"), VRESULT_OK);
  char font[64];
  ASSERT_EQ(get_font(w, font), VRESULT_OK);
  EXPECT_STREQ(font, "mono-16");
  ASSERT_EQ(set_tposition(w, 4, 6), VRESULT_OK);
  ASSERT_EQ(write_string(w, "Ag|y"), VRESULT_OK);
  Vlong asc2, desc2, width2, height2;
  ASSERT_EQ(get_string_extents(w, "Ag|y", &asc2, &desc2, &width2, &height2), VRESULT_OK);
  EXPECT_EQ((std::vector<Vlong>{asc2, desc2, width2, height2}),
            (std::vector<Vlong>{2 * asc, 2 * desc, 2 * width, 2 * height}));
  const Raster raster = Dump(w);
  EXPECT_EQ(raster.Count({255, 255, 255}), 4 * small);
  for (int r = 0; r < 60; ++r)
    for (int c = 0; c < 200; ++c)
      if (raster.At(r, c) != kBlack) {
        ASSERT_TRUE(r >= 4 && r < 4 + height2 && c >= 6 && c < 6 + width2) << r << ", " << c;
      }

  // Two lines: the second below the first, the position after the second.
  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(set_tposition(w, 0, 0), VRESULT_OK);
  ASSERT_EQ(write_string(w, VTuple("ab").Append("c")), VRESULT_OK);
  ASSERT_EQ(get_tposition(w, &row, &col), VRESULT_OK);
  EXPECT_EQ(row, height2);
  EXPECT_EQ(col, width2 / 4);
  Vlong mr, md, mw, mh;
  ASSERT_EQ(get_font_extents(w, &mr, &md, &mw, &mh), VRESULT_OK);
  EXPECT_EQ(mh, height2);
  EXPECT_EQ(mw, width2 / 4);
  EXPECT_EQ(set_font(w, "serif-12"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_font(w, "mono-0"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(write_string(999999, "x"), VERR_WINDOW_INVALID);
}

// Several colours are taken in turn; dashes leave gaps; xor drawn twice
// restores the raster.
TEST_F(WindowGoldenTest, ColouredDashedAndXor) {
  const Vlong w = Open(60, 30);
  Vobject boxes;
  ASSERT_EQ(gen_rectangle1(&boxes, VTuple(2.0).Append(2.0).Append(2.0),
                           VTuple(2.0).Append(22.0).Append(42.0), VTuple(8.0).Append(8.0).Append(8.0),
                           VTuple(12.0).Append(32.0).Append(52.0)),
            VRESULT_OK);
  ASSERT_EQ(set_colored(w, 3), VRESULT_OK);
  ASSERT_EQ(disp_region(boxes, w), VRESULT_OK);
  Raster raster = Dump(w);
  EXPECT_EQ(raster.At(5, 5), (Rgb{255, 255, 255}));
  EXPECT_EQ(raster.At(5, 25), kRed);
  EXPECT_EQ(raster.At(5, 45), kGreen);
  EXPECT_EQ(set_colored(w, 4), VERR_CTRL_VALUE(1));

  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(set_color(w, "red"), VRESULT_OK);
  ASSERT_EQ(set_line_style(w, VTuple(5).Append(5)), VRESULT_OK);
  VTuple style;
  ASSERT_EQ(get_line_style(w, &style), VRESULT_OK);
  EXPECT_EQ(style.Num(), 2);
  ASSERT_EQ(disp_line(w, 20.0, 0.0, 20.0, 59.0), VRESULT_OK);
  raster = Dump(w);
  // Dash [0, 5] reaches pixel 5 with its round end; pixels 7 and 8 are gap.
  for (int c : {0, 2, 4, 10, 12, 14}) EXPECT_EQ(raster.At(20, c), kRed) << c;
  for (int c : {7, 8, 17, 18}) EXPECT_EQ(raster.At(20, c), kBlack) << c;
  EXPECT_EQ(set_line_style(w, VTuple(5)), VERR_CTRL_NUM(1));
  EXPECT_EQ(set_line_style(w, VTuple(5).Append(0)), VERR_CTRL_VALUE(1));
  ASSERT_EQ(set_line_style(w, VTuple()), VRESULT_OK);

  const RandomRegion shape(60, 30, 31, 80, 255);
  const Raster before = Dump(w);
  ASSERT_EQ(set_insert(w, "xor"), VRESULT_OK);
  ASSERT_EQ(disp_region(shape.region, w), VRESULT_OK);
  EXPECT_NE(Dump(w).px, before.px);
  ASSERT_EQ(disp_region(shape.region, w), VRESULT_OK);
  EXPECT_EQ(Dump(w).px, before.px);
  EXPECT_EQ(set_insert(w, "and"), VERR_CTRL_VALUE(1));
}

// Look-up tables by name and by values; comprise "image" shows pixels
// outside the domain; channels pick gray or colour.
TEST_F(WindowGoldenTest, LookUpTablesComprisAndChannels) {
  const Vlong w = Open(40, 30);
  const GrayImage gray(40, 30);
  ASSERT_EQ(set_lut(w, "inverse"), VRESULT_OK);
  ASSERT_EQ(disp_image(gray.image, w), VRESULT_OK);
  Raster raster = Dump(w);
  EXPECT_EQ(raster.At(7, 9), (Rgb{255 - gray.At(7, 9), 255 - gray.At(7, 9), 255 - gray.At(7, 9)}));
  VTuple lut;
  ASSERT_EQ(get_lut(w, &lut), VRESULT_OK);
  EXPECT_STREQ(lut[0].S(), "inverse");

  VTuple table;
  for (int ch = 0; ch < 3; ++ch)
    for (int g = 0; g < 256; ++g) table.Append(VTuple(static_cast<Vlong>(ch == 0 ? g : ch == 1 ? 255 - g : 7)));
  ASSERT_EQ(set_lut(w, table), VRESULT_OK);
  ASSERT_EQ(disp_image(gray.image, w), VRESULT_OK);
  EXPECT_EQ(Dump(w).At(3, 4), (Rgb{gray.At(3, 4), 255 - gray.At(3, 4), 7}));
  ASSERT_EQ(get_lut(w, &lut), VRESULT_OK);
  EXPECT_EQ(lut.Num(), 768);
  EXPECT_EQ(set_lut(w, "plasma"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_lut(w, VTuple(100, VTuple(1))), VERR_CTRL_NUM(1));
  EXPECT_EQ(set_lut(w, VTuple(256, VTuple(300))), VERR_CTRL_VALUE(1));
  VTuple names;
  ASSERT_EQ(query_lut(w, &names), VRESULT_OK);
  for (Vlong i = 0; i < names.Num(); ++i) EXPECT_EQ(set_lut(w, names[i].S()), VRESULT_OK);
  ASSERT_EQ(set_lut(w, "default"), VRESULT_OK);

  Vobject reduced;
  ASSERT_EQ(rectangle1_domain(gray.image, &reduced, 0, 0, 9, 9), VRESULT_OK);
  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(disp_image(reduced, w), VRESULT_OK);
  EXPECT_EQ(Dump(w).At(20, 20), kBlack);
  ASSERT_EQ(set_comprise(w, "image"), VRESULT_OK);
  ASSERT_EQ(disp_image(reduced, w), VRESULT_OK);
  EXPECT_EQ(Dump(w).At(20, 20), (Rgb{gray.At(20, 20), gray.At(20, 20), gray.At(20, 20)}));
  ASSERT_EQ(set_comprise(w, "object"), VRESULT_OK);

  const GrayImage other(40, 30);
  Vobject inverted, color;
  ASSERT_EQ(invert_image(gray.image, &inverted), VRESULT_OK);
  ASSERT_EQ(compose3(gray.image, inverted, other.image, &color), VRESULT_OK);
  ASSERT_EQ(disp_channel(color, w, 1), VRESULT_OK);
  const int inv = 255 - gray.At(5, 6);
  EXPECT_EQ(Dump(w).At(5, 6), (Rgb{inv, inv, inv}));
  ASSERT_EQ(disp_channel(color, w, VTuple(1).Append(0).Append(2)), VRESULT_OK);
  EXPECT_EQ(Dump(w).At(5, 6), (Rgb{inv, gray.At(5, 6), gray.At(5, 6)}));
  EXPECT_EQ(disp_channel(color, w, 3), VERR_CTRL_VALUE(1));
  EXPECT_EQ(disp_channel(color, w, VTuple(0).Append(1)), VERR_CTRL_NUM(1));
}

// Region shapes: the bounding box, a disc of the region's area, an
// enclosing circle that covers the region, and the icon at its centre.
TEST_F(WindowGoldenTest, RegionShapes) {
  const Vlong w = Open(80, 60);
  Vobject blob;
  ASSERT_EQ(gen_ellipse(&blob, 30.0, 40.0, 0.5, 20.0, 9.0), VRESULT_OK);
  Vlong area = 0;
  double row, col;
  ASSERT_EQ(area_center(blob, &area, &row, &col), VRESULT_OK);
  Vlong r1, c1, r2, c2;
  ASSERT_EQ(smallest_rectangle1(blob, &r1, &c1, &r2, &c2), VRESULT_OK);
  ASSERT_EQ(set_color(w, "red"), VRESULT_OK);

  ASSERT_EQ(set_shape(w, "rectangle1"), VRESULT_OK);
  ASSERT_EQ(disp_region(blob, w), VRESULT_OK);
  EXPECT_EQ(Dump(w).Count(kRed), (r2 - r1 + 1) * (c2 - c1 + 1));

  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(set_shape(w, "circle"), VRESULT_OK);
  ASSERT_EQ(disp_region(blob, w), VRESULT_OK);
  // The disc's coverage (edge pixels partly red) sums to the area.
  double cover = 0;
  for (const Rgb& p : Dump(w).px) cover += p[0] / 255.0;
  EXPECT_NEAR(cover, static_cast<double>(area), 0.02 * area);

  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(set_shape(w, "outer_circle"), VRESULT_OK);
  ASSERT_EQ(disp_region(blob, w), VRESULT_OK);
  ASSERT_EQ(set_shape(w, "original"), VRESULT_OK);
  ASSERT_EQ(set_color(w, "green"), VRESULT_OK);
  ASSERT_EQ(disp_region(blob, w), VRESULT_OK);
  Raster raster = Dump(w);
  EXPECT_EQ(raster.Count(kGreen), area);
  EXPECT_GT(raster.Count(kRed), area / 3);

  Vobject icon;
  ASSERT_EQ(gen_rectangle1(&icon, 0.0, 0.0, 2.0, 2.0), VRESULT_OK);
  ASSERT_EQ(set_icon(icon, w), VRESULT_OK);
  ASSERT_EQ(clear_window(w), VRESULT_OK);
  ASSERT_EQ(set_shape(w, "icon"), VRESULT_OK);
  ASSERT_EQ(disp_region(blob, w), VRESULT_OK);
  raster = Dump(w);
  EXPECT_EQ(raster.Count(kGreen), 9);
  EXPECT_EQ(raster.At(static_cast<int>(std::lround(row)), static_cast<int>(std::lround(col))), kGreen);
  Vobject back;
  ASSERT_EQ(get_icon(&back, w), VRESULT_OK);
  Vlong back_area = 0;
  ASSERT_EQ(area_center(back, &back_area, &row, &col), VRESULT_OK);
  EXPECT_EQ(back_area, 9);

  VTuple shapes;
  ASSERT_EQ(query_shape(&shapes), VRESULT_OK);
  for (Vlong i = 0; i < shapes.Num(); ++i) {
    ASSERT_EQ(set_shape(w, shapes[i].S()), VRESULT_OK);
    ASSERT_EQ(set_draw(w, i % 2 ? "margin" : "fill"), VRESULT_OK);
    EXPECT_EQ(disp_region(blob, w), VRESULT_OK) << shapes[i].S();
  }
  EXPECT_EQ(set_shape(w, "star"), VERR_CTRL_VALUE(1));
}

// dump_window writes the raster as it reads back: PNG and the native
// format, the extension added to a name without one.
TEST_F(WindowGoldenTest, DumpWindowWritesTheRaster) {
  const Vlong w = Open(33, 21);
  const RandomRegion shape(33, 21, 41, 120, 255);
  ASSERT_EQ(set_color(w, "#3080c0"), VRESULT_OK);
  ASSERT_EQ(disp_region(shape.region, w), VRESULT_OK);
  const Raster expect = Dump(w);
  const std::string base = ::testing::TempDir() + "vexa_dump_window";
  for (const std::string device : {"png", "native"}) {
    ASSERT_EQ(dump_window(w, device.c_str(), base.c_str()), VRESULT_OK) << device;
    const std::string file = base + (device == "png" ? ".png" : ".vxi");
    Vobject read;
    ASSERT_EQ(read_image(&read, file.c_str()), VRESULT_OK) << device;
    EXPECT_EQ(test_support::RasterOf(read).px, expect.px) << device;
    std::remove(file.c_str());
  }
  EXPECT_EQ(dump_window(w, "bmp", base.c_str()), VERR_CTRL_VALUE(1));
  EXPECT_EQ(dump_window(w, "png", ""), VERR_CTRL_VALUE(2));
  EXPECT_EQ(dump_window(999999, "png", base.c_str()), VERR_WINDOW_INVALID);
}

}  // namespace
