// Window settings read back as set, the lists the query operators give,
// window types, attributes and parameters, and the codes of bad input and
// of interactive input without a display.
#include <cmath>
#include <cstring>
#include <string>

#include "window_test_support.h"

namespace {

using namespace Vexa;
using test_support::Dump;
using test_support::Rgb;

class WindowSettingsTest : public test_support::OffscreenWindowTest {};

bool Holds(const VTuple& t, const char* value) {
  for (Vlong i = 0; i < t.Num(); ++i)
    if (std::strcmp(t[i].S(), value) == 0) return true;
  return false;
}

TEST_F(WindowSettingsTest, ModesReadBackAsSet) {
  const Vlong w = Open(20, 20);
  char text[64];
  ASSERT_EQ(get_comprise(w, text), VRESULT_OK);
  EXPECT_STREQ(text, "object");
  ASSERT_EQ(set_comprise(w, "image"), VRESULT_OK);
  ASSERT_EQ(get_comprise(w, text), VRESULT_OK);
  EXPECT_STREQ(text, "image");
  ASSERT_EQ(set_insert(w, "xor"), VRESULT_OK);
  ASSERT_EQ(get_insert(w, text), VRESULT_OK);
  EXPECT_STREQ(text, "xor");
  ASSERT_EQ(set_shape(w, "convex"), VRESULT_OK);
  ASSERT_EQ(get_shape(w, text), VRESULT_OK);
  EXPECT_STREQ(text, "convex");
  VTuple paint;
  ASSERT_EQ(get_paint(w, &paint), VRESULT_OK);
  EXPECT_STREQ(paint[0].S(), "default");
  ASSERT_EQ(set_line_approx(w, 3), VRESULT_OK);
  Vlong approx = 0;
  ASSERT_EQ(get_line_approx(w, &approx), VRESULT_OK);
  EXPECT_EQ(approx, 3);

  EXPECT_EQ(set_comprise(w, "all"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_line_approx(w, -1), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_paint(w, "default"), VRESULT_OK);
  EXPECT_EQ(set_paint(w, "3d_plot"), VERR_WINDOW_MODE);
  EXPECT_EQ(set_paint(w, "row"), VERR_WINDOW_MODE);
  EXPECT_EQ(set_paint(w, "sideways"), VERR_CTRL_VALUE(1));
}

// Hue, saturation and intensity: the primaries have their known values and
// a colour set by them reads back within rounding.
TEST_F(WindowSettingsTest, HsiOfColours) {
  const Vlong w = Open(10, 10);
  ASSERT_EQ(set_color(w, "red"), VRESULT_OK);
  VTuple h, s, i;
  ASSERT_EQ(get_hsi(w, &h, &s, &i), VRESULT_OK);
  EXPECT_EQ(h[0].L(), 0);
  EXPECT_EQ(s[0].L(), 255);
  EXPECT_EQ(i[0].L(), 85);
  ASSERT_EQ(set_color(w, "blue"), VRESULT_OK);
  ASSERT_EQ(get_hsi(w, &h, &s, &i), VRESULT_OK);
  EXPECT_NEAR(h[0].L(), 171, 1);  // two thirds of the turn
  for (const auto& hsi : {std::array<Vlong, 3>{30, 100, 120}, {128, 60, 90}, {200, 200, 60}}) {
    ASSERT_EQ(set_hsi(w, hsi[0], hsi[1], hsi[2]), VRESULT_OK);
    ASSERT_EQ(get_hsi(w, &h, &s, &i), VRESULT_OK);
    EXPECT_NEAR(h[0].L(), hsi[0], 2);
    EXPECT_NEAR(s[0].L(), hsi[1], 3);
    EXPECT_NEAR(i[0].L(), hsi[2], 1);
  }
  ASSERT_EQ(set_color(w, VTuple("red").Append("green")), VRESULT_OK);
  ASSERT_EQ(get_hsi(w, &h, &s, &i), VRESULT_OK);
  EXPECT_EQ(h.Num(), 2);
  EXPECT_EQ(set_hsi(w, 256, 0, 0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_hsi(w, 0, 0, -1), VERR_CTRL_VALUE(3));
}

TEST_F(WindowSettingsTest, QueriesListWhatTheSettersTake) {
  const Vlong w = Open(10, 10);
  VTuple list;
  ASSERT_EQ(query_color(w, &list), VRESULT_OK);
  for (Vlong k = 0; k < list.Num(); ++k) EXPECT_EQ(set_color(w, list[k].S()), VRESULT_OK);
  EXPECT_TRUE(Holds(list, "red"));
  ASSERT_EQ(query_all_colors(w, &list), VRESULT_OK);
  EXPECT_TRUE(Holds(list, "navy"));
  ASSERT_EQ(query_colored(&list), VRESULT_OK);
  for (Vlong k = 0; k < list.Num(); ++k) EXPECT_EQ(set_colored(w, list[k].L()), VRESULT_OK);
  ASSERT_EQ(query_insert(w, &list), VRESULT_OK);
  for (Vlong k = 0; k < list.Num(); ++k) EXPECT_EQ(set_insert(w, list[k].S()), VRESULT_OK);
  ASSERT_EQ(query_paint(w, &list), VRESULT_OK);
  for (Vlong k = 0; k < list.Num(); ++k) EXPECT_EQ(set_paint(w, list[k].S()), VRESULT_OK);
  ASSERT_EQ(query_font(w, &list), VRESULT_OK);
  for (Vlong k = 0; k < list.Num(); ++k) EXPECT_EQ(set_font(w, list[k].S()), VRESULT_OK);
  ASSERT_EQ(query_gray(w, &list), VRESULT_OK);
  EXPECT_EQ(list.Num(), 256);
  Vlong lo = 0, hi = 0;
  ASSERT_EQ(query_line_width(&lo, &hi), VRESULT_OK);
  EXPECT_EQ(set_line_width(w, lo), VRESULT_OK);
  EXPECT_EQ(set_line_width(w, hi), VRESULT_OK);
  EXPECT_NE(set_line_width(w, hi + 1), VRESULT_OK);
  ASSERT_EQ(query_window_type(&list), VRESULT_OK);
  EXPECT_TRUE(Holds(list, "pixmap"));
}

// Attributes apply to windows opened later, parameters to one window.
TEST_F(WindowSettingsTest, TypesAttributesAndParameters) {
  const Vlong w = Open(10, 10);
  char text[64];
  ASSERT_EQ(get_window_type(w, text), VRESULT_OK);
  EXPECT_STREQ(text, "pixmap");
  EXPECT_EQ(set_window_type("vector"), VERR_CTRL_VALUE(0));

  ASSERT_EQ(set_window_attr("background_color", "blue"), VRESULT_OK);
  ASSERT_EQ(get_window_attr("background_color", text), VRESULT_OK);
  EXPECT_STREQ(text, "blue");
  const Vlong blue = Open(4, 3);
  ASSERT_EQ(set_window_attr("background_color", "black"), VRESULT_OK);
  EXPECT_EQ(Dump(blue).Count({0, 0, 255}), 12);
  EXPECT_EQ(set_window_attr("background_color", "mauve"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_window_attr("opacity", "1"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(get_window_attr("opacity", text), VERR_CTRL_VALUE(0));

  ASSERT_EQ(set_window_param(w, "background_color", "#010203"), VRESULT_OK);
  ASSERT_EQ(clear_window(w), VRESULT_OK);
  EXPECT_EQ(Dump(w).Count({1, 2, 3}), 100);
  VTuple value;
  ASSERT_EQ(get_window_param(w, "background_color", &value), VRESULT_OK);
  EXPECT_STREQ(value[0].S(), "#010203");
  ASSERT_EQ(set_window_param(w, "window_title", "inspection"), VRESULT_OK);
  ASSERT_EQ(get_window_param(w, "window_title", &value), VRESULT_OK);
  EXPECT_STREQ(value[0].S(), "inspection");
  ASSERT_EQ(get_window_param(w, "window_id", &value), VRESULT_OK);
  EXPECT_EQ(value[0].L(), 0);
  EXPECT_EQ(set_window_param(w, "window_id", "5"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_window_param(w, "background_color", "nope"), VERR_CTRL_VALUE(2));
  EXPECT_EQ(get_window_param(w, "depth", &value), VERR_CTRL_VALUE(1));
}

// An off-screen window has no pointer; the _mod forms check their figure
// first; closed windows are invalid for every operator of this family.
TEST_F(WindowSettingsTest, InteractiveInputNeedsADisplay) {
  const Vlong w = Open(10, 10);
  Vlong r, c, b;
  double rd, cd, rad, phi, l1, l2;
  EXPECT_EQ(get_mposition(w, &r, &c, &b), VERR_NO_DISPLAY);
  EXPECT_EQ(get_mposition_sub_pix(w, &rd, &cd, &b), VERR_NO_DISPLAY);
  EXPECT_EQ(get_mbutton(w, &r, &c, &b), VERR_NO_DISPLAY);
  EXPECT_EQ(draw_circle(w, &rd, &cd, &rad), VERR_NO_DISPLAY);
  EXPECT_EQ(draw_rectangle2(w, &rd, &cd, &phi, &l1, &l2), VERR_NO_DISPLAY);
  Vobject region;
  EXPECT_EQ(draw_region(&region, w), VERR_NO_DISPLAY);
  EXPECT_EQ(draw_polygon(&region, w), VERR_NO_DISPLAY);
  EXPECT_EQ(draw_circle_mod(w, 5.0, 5.0, 0.0, &rd, &cd, &rad), VERR_CTRL_VALUE(3));
  EXPECT_EQ(draw_rectangle1_mod(w, 5.0, 5.0, 4.0, 6.0, &rd, &cd, &rad, &phi), VERR_CTRL_VALUE(3));
  EXPECT_EQ(draw_line_mod(w, NAN, 5.0, 4.0, 6.0, &rd, &cd, &rad, &phi), VERR_CTRL_VALUE(1));

  ASSERT_EQ(close_window(w), VRESULT_OK);
  char text[64];
  VTuple t;
  EXPECT_EQ(get_mposition(w, &r, &c, &b), VERR_WINDOW_INVALID);
  EXPECT_EQ(draw_point(w, &rd, &cd), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_part(w, &r, &c, &b, &b), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_font(w, text), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_tposition(w, &r, &c), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_font_extents(w, &r, &c, &b, &b), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_string_extents(w, "x", &r, &c, &b, &b), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_lut(w, &t), VERR_WINDOW_INVALID);
  EXPECT_EQ(query_lut(w, &t), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_line_style(w, &t), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_hsi(w, &t, &t, &t), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_window_type(w, text), VERR_WINDOW_INVALID);
  EXPECT_EQ(get_window_param(w, "window_id", &t), VERR_WINDOW_INVALID);
  EXPECT_EQ(query_color(w, &t), VERR_WINDOW_INVALID);
  EXPECT_EQ(set_colored(w, 3), VERR_WINDOW_INVALID);
  EXPECT_EQ(set_icon(region, w), VERR_OBJ_NUM(1));
}

}  // namespace
