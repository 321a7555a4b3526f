// Windows in tests: the raster read back through dump_window_image, and a
// fixture that opens off-screen windows and closes them at the end.
#pragma once

#include <gtest/gtest.h>
#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <array>
#include <vector>

#include "leak_checked_test.h"
#include "objdb.h"

namespace test_support {

using Rgb = std::array<int, 3>;
constexpr Rgb kBlack{0, 0, 0};
constexpr Rgb kRed{255, 0, 0};
constexpr Rgb kGreen{0, 255, 0};

struct Raster {
  int width = 0, height = 0;
  std::vector<Rgb> px;
  Rgb At(int r, int c) const { return px[static_cast<size_t>(r) * width + c]; }
  // The number of pixels equal to `value`.
  long long Count(const Rgb& value) const {
    long long n = 0;
    for (const Rgb& p : px) n += p == value;
    return n;
  }
};

inline Raster RasterOf(const Vexa::Vobject& image) {
  Raster out;
  vexa::db::ImageData data;
  EXPECT_EQ(vexa::db::GetImage(image.Id(), &data), VRESULT_OK);
  EXPECT_EQ(data.channels.size(), 3u);
  if (data.channels.size() != 3) return out;
  out.width = data.channels[0]->width();
  out.height = data.channels[0]->height();
  out.px.resize(static_cast<size_t>(out.width) * out.height);
  for (size_t p = 0; p < out.px.size(); ++p)
    for (int ch = 0; ch < 3; ++ch) out.px[p][ch] = data.channels[ch]->data()[p];
  return out;
}

inline Raster Dump(Vlong window) {
  Vexa::Vobject image;
  EXPECT_EQ(Vexa::dump_window_image(&image, window), VRESULT_OK);
  return RasterOf(image);
}

// Off-screen windows, also where a display is reachable, so that what is
// compared does not depend on the machine.
class OffscreenWindowTest : public LeakCheckedTest {
 protected:
  void SetUp() override {
    LeakCheckedTest::SetUp();
    ASSERT_EQ(Vexa::set_window_type("pixmap"), VRESULT_OK);
  }
  void TearDown() override {
    for (Vlong w : windows_) Vexa::close_window(w);
    Vexa::set_window_type("auto");
    LeakCheckedTest::TearDown();
  }
  Vlong Open(Vlong width, Vlong height) {
    Vlong handle = 0;
    EXPECT_EQ(Vexa::open_window(0, 0, width, height, 0, "", "", &handle), VRESULT_OK);
    windows_.push_back(handle);
    return handle;
  }

 private:
  std::vector<Vlong> windows_;
};

}  // namespace test_support
