// Absurd sizes are refused with a code before anything is allocated, and an
// allocation the system cannot give is a code too, never the end of the
// process.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdlib>

#include <vexaobj.h>

#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

using namespace Vexa;

class ResourceLimits : public ::testing::Test {
 protected:
  void SetUp() override { stats_ = vexa::db::GetStats(); }
  void TearDown() override {
    const vexa::db::Stats now = vexa::db::GetStats();
    EXPECT_EQ(now.images, stats_.images);
    EXPECT_EQ(now.regions, stats_.regions);
    EXPECT_EQ(now.channels, stats_.channels);
  }
  vexa::db::Stats stats_;
};

TEST_F(ResourceLimits, ImagesBeyondTheSizeLimitsAreRefused) {
  struct Case {
    const char* type;
    Vlong width, height;
  } const cases[] = {
      {"byte", 1000000, 1000000},
      {"byte", 1000000, 1},            // one side too long
      {"real", 1, 1000000},
      {"byte", Vlong{1} << 32, 1},     // would wrap to 0 in 32 bits
      {"complex", 32767, 32767},       // sides allowed, 8.6 GB of pixels not
  };
  for (const Case& c : cases) {
    Vobject image;
    EXPECT_EQ(gen_image_const(&image, c.type, c.width, c.height), VERR_TOO_LARGE)
        << c.type << " " << c.width << " x " << c.height;
    EXPECT_EQ(image.Id(), VKEY_UNDEF);
  }
}

TEST_F(ResourceLimits, RectanglesBeyondTheCoordinateRangeAreRefused) {
  const double far = std::ldexp(1.0, 40);
  for (const double corner : {far, 1e300, -far}) {
    Vobject rectangle;
    const unsigned int code = gen_rectangle1(&rectangle, 0.0, 0.0, corner, corner);
    // The coordinate itself is the bad parameter (row1 for a negative one,
    // which comes before row2).
    EXPECT_TRUE(code == VERR_CTRL_VALUE(2) || code == VERR_CTRL_VALUE(0)) << corner << ": " << code;
    EXPECT_EQ(rectangle.Id(), VKEY_UNDEF);
  }
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define VEXA_SHADOW_MEMORY 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define VEXA_SHADOW_MEMORY 1
#endif
#endif

#ifndef VEXA_SHADOW_MEMORY
// Exits with 0 when a 4 GB real image under a 1 GB address-space limit
// gives VERR_OUT_OF_MEMORY.
void AllocateUnderOneGigabyte() {
  const rlimit limit{Vlong{1} << 30, Vlong{1} << 30};
  if (setrlimit(RLIMIT_AS, &limit) != 0) std::_Exit(2);
  Vobject image;
  const unsigned int code = gen_image_const(&image, "real", 32767, 32767);
  std::_Exit(code == VERR_OUT_OF_MEMORY ? 0 : 1);
}
#endif

// Under a 1 GB address-space limit, a 4 GB image within the size limits
// cannot be allocated: the answer must be VERR_OUT_OF_MEMORY. Runs in a
// child process, so that the limit does not bind the other tests.
TEST(ResourceLimitsDeathTest, AnAllocationTheSystemRefusesIsACode) {
#ifdef VEXA_SHADOW_MEMORY
  GTEST_SKIP() << "sanitizers reserve terabytes of shadow memory, so an "
                  "address-space limit stops the process before the runtime";
#else
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(AllocateUnderOneGigabyte(), ::testing::ExitedWithCode(0), "");
#endif
}

}  // namespace
