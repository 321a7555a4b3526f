// Error texts, the window stack and the random number generator.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <regex>
#include <string>

#include <vexa/errors.h>
#include <vexa/runtime.h>

namespace {

std::string Text(Vresult code) {
  char buffer[1024];
  VErrorMessage(code, buffer);
  return buffer;
}

TEST(RuntimeErrorTexts, KnownCodesHaveTheirTexts) {
  EXPECT_EQ(Text(VERR_CTRL_TYPE(0)), "Wrong type of control parameter 1");
  EXPECT_EQ(Text(VERR_CTRL_NUM(19)), "Wrong number of values of control parameter 20");
  EXPECT_EQ(Text(VERR_OBJ_CLASS(9)), "Wrong object class at input object parameter 9");
  EXPECT_EQ(Text(7001), "Wrong number of values of a single-valued output parameter");
  EXPECT_EQ(Text(7002), "Wrong type of a single-valued output parameter");
  EXPECT_EQ(Text(7200), "Wrong number of objects for an output object parameter");
  EXPECT_EQ(Text(7403), "Null pointer for an output object parameter");
  EXPECT_EQ(Text(9001), "Operator not available in this runtime");
  EXPECT_EQ(Text(1221), "Unknown error code 1221");  // past the 20 parameters
  EXPECT_EQ(Text(2010), "Unknown error code 2010");
  EXPECT_EQ(Text(4294967295u), "Unknown error code 4294967295");
}

// Every code defined in errors.h has a text of its own, so a code added
// there without a text is caught here.
TEST(RuntimeErrorTexts, EveryDefinedCodeHasAText) {
  const std::string header = VEXA_ERRORS_HEADER;
  std::ifstream in(header);
  ASSERT_TRUE(in) << header;
  const std::regex define(R"(#define\s+(VERR_\w+)\s+(\d+)u)");
  std::string line;
  int codes = 0;
  while (std::getline(in, line)) {
    std::smatch m;
    if (!std::regex_search(line, m, define)) continue;
    ++codes;
    EXPECT_NE(Text(std::stoul(m[2])), "Unknown error code " + m[2].str()) << m[1];
  }
  EXPECT_GT(codes, 20);
}

TEST(RuntimeErrorTexts, NeverWritesPastTheBuffer) {
  char buffer[1100];
  std::memset(buffer, '#', sizeof buffer);
  for (Vresult code : {0u, 2u, 1205u, 3001u, 123456u}) {
    VErrorMessage(code, buffer);
    EXPECT_LT(std::strlen(buffer), 1024u);
    EXPECT_EQ(buffer[1024], '#');
  }
  VErrorMessage(3001, nullptr);  // no buffer: nothing happens
}

TEST(RuntimeWindowStack, PushPopActivateClose) {
  ASSERT_EQ(VWindowStackCloseAll(), VRESULT_OK);
  Vlong w = 0;
  Vlong open = -1;
  EXPECT_EQ(VWindowStackIsOpen(&open), VRESULT_OK);
  EXPECT_EQ(open, 0);
  EXPECT_EQ(VWindowStackPop(&w), VERR_WINDOW_STACK_EMPTY);
  EXPECT_EQ(VWindowStackGetActive(&w), VERR_WINDOW_STACK_EMPTY);

  for (Vlong h : {3600, 3601, 3602}) ASSERT_EQ(VWindowStackPush(h), VRESULT_OK);
  EXPECT_EQ(VWindowStackGetActive(&w), VRESULT_OK);
  EXPECT_EQ(w, 3602);
  EXPECT_EQ(VWindowStackSetActive(3600), VRESULT_OK);
  EXPECT_EQ(VWindowStackSetActive(77), VERR_WINDOW_INVALID);
  EXPECT_EQ(VWindowStackPop(&w), VRESULT_OK);
  EXPECT_EQ(w, 3600);
  EXPECT_EQ(VWindowStackPop(&w), VRESULT_OK);
  EXPECT_EQ(w, 3602);  // order of the others is kept
  EXPECT_EQ(VWindowStackIsOpen(&open), VRESULT_OK);
  EXPECT_EQ(open, 1);
  EXPECT_EQ(VWindowStackCloseAll(), VRESULT_OK);
  EXPECT_EQ(VWindowStackIsOpen(&open), VRESULT_OK);
  EXPECT_EQ(open, 0);
}

TEST(RuntimeRandom, SeededSequenceIsTheDrand48One) {
  // Seeding with 0 starts from 0x330E; the first value is
  // (0x5DEECE66D * 0x330E + 0xB mod 2^48) / 2^48, the known 0.170828...
  VSrand48(0);
  const double first = VDrand48();
  const uint64_t x1 = (0x5DEECE66DULL * 0x330EULL + 0xB) & ((1ULL << 48) - 1);
  EXPECT_EQ(first, static_cast<double>(x1) / static_cast<double>(1ULL << 48));
  EXPECT_NEAR(first, 0.170828, 1e-6);
  const double second = VDrand48();
  VSrand48(0);
  EXPECT_EQ(VDrand48(), first);
  EXPECT_EQ(VDrand48(), second);
  VSrand48(12345);
  for (int i = 0; i < 1000; ++i) {
    const double v = VDrand48();
    ASSERT_GE(v, 0.0);
    ASSERT_LT(v, 1.0);
  }
  EXPECT_GT(Vtime(), 1600000000);  // seconds since the epoch, not millis
}

}  // namespace
