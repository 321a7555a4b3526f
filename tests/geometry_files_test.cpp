// Filter mask files: round trips of random integer and real masks against
// file texts composed here, every failure of the reader with its text and
// code, files cut at every length, and the writer's refusals.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <vexa/errors.h>
#include <vexaobj/VConvol.h>

#include "control_test_support.h"
#include "scratch_dir.h"

using namespace Vexa;
using control_test::ExpectRaise;
using control_test::Returning;
using control_test::ScopedHandler;
using control_test::ScopedMemTrace;

namespace {

constexpr const char* kReadInt = "static VConvolInt VConvolInt::ReadFile(const char *file_name)";
constexpr const char* kWriteInt = "void VConvolInt::WriteFile(const char *file_name) const";
constexpr const char* kReadReal = "void VConvolFloat::ReadFile(const char *file_name)";
constexpr const char* kWriteReal = "void VConvolFloat::WriteFile(const char *file_name) const";
constexpr const char* kBadSize = "width and height must be odd numbers from 1 to 4095";

// A real mask as an application would derive it: coefficient (x, y) at
// x * height + y, no checks.
class RealMask : public VConvolFloat {
 public:
  RealMask(int width, int height) : w(width), h(height), v(size_t(width) * height) {}
  int Width() const override { return w; }
  int Height() const override { return h; }
  void SetValueAbs(int x, int y, double value) override { v[size_t(x) * h + y] = value; }
  double GetValueAbs(int x, int y) const override { return v[size_t(x) * h + y]; }
  void SetValueRel(int x, int y, double value) override { SetValueAbs(x + w / 2, y + h / 2, value); }
  double GetValueRel(int x, int y) const override { return GetValueAbs(x + w / 2, y + h / 2); }

  int w, h;
  std::vector<double> v;
};

std::string Join(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& w : words) line += (line.empty() ? "" : " ") + w;
  return line;
}

class GeometryFiles : public control_test::ThrowingTest {
 protected:
  std::string Path(const std::string& name) const { return scratch_.Path(name); }
  std::string Put(const std::string& name, const std::string& text) const {
    return scratch_.Put(name, text);
  }
  static std::string Get(const std::string& path) { return ScratchDir::Get(path); }
  // The message the reader gives for `path`.
  static std::string About(const std::string& path, const std::string& what) {
    return "filter mask file '" + path + "': " + what;
  }

  ScratchDir scratch_;
  std::mt19937 rng_{20240611};
};

TEST_F(GeometryFiles, IntegerMasksRoundTrip) {
  const std::string binomial = Put("binomial.fil", "integer 3 3 16\n1 2 1 2 4 2 1 2 1\n");
  const VConvolInt read = VConvolInt::ReadFile(binomial.c_str());
  EXPECT_EQ(16, read.Div());
  EXPECT_EQ(4.0, read.GetValueRel(0, 0));
  read.WriteFile(Path("again.fil").c_str());
  EXPECT_EQ(Get(binomial), Get(Path("again.fil")));

  std::uniform_int_distribution<int> side(0, 4), any(INT32_MIN, INT32_MAX), small(-9, 9);
  for (int round = 0; round < 40; ++round) {
    const int w = 2 * side(rng_) + 1, h = round % 2 ? w : 2 * side(rng_) + 1;
    std::vector<int> c(size_t(w) * h);
    std::vector<std::string> words;
    for (int& x : c) words.push_back(std::to_string(x = round % 3 ? small(rng_) : any(rng_)));
    const Vlong div = Vlong(any(rng_)) * any(rng_);
    const std::string text = "integer " + std::to_string(w) + " " + std::to_string(h) + " " +
                             std::to_string(div) + "\n" + Join(words) + "\n";
    // Built from the text form, written, and read back.
    VConvolInt mask(w, h, 0, Join(words).c_str());
    mask.Div() = div;
    const std::string path = Path("m" + std::to_string(round));
    mask.WriteFile(path.c_str());
    ASSERT_EQ(text, Get(path));
    const VConvolInt back = VConvolInt::ReadFile(path.c_str());
    ASSERT_EQ(w, back.Width());
    ASSERT_EQ(h, back.Height());
    EXPECT_EQ(div, back.Div());
    if (w != h) continue;  // the absolute addressing matches the file order on squares
    for (size_t k = 0; k < c.size(); ++k)
      ASSERT_EQ(c[k], back.GetValueAbs(int(k / h), int(k % h))) << "round " << round;
  }
}

TEST_F(GeometryFiles, RealMasksRoundTripExactly) {
  std::uniform_int_distribution<int> side(0, 3), exponent(-300, 300);
  std::uniform_real_distribution<double> mantissa(-1.0, 1.0);
  for (int round = 0; round < 30; ++round) {
    RealMask mask(2 * side(rng_) + 1, 2 * side(rng_) + 1);
    for (double& x : mask.v) x = std::ldexp(mantissa(rng_), round % 2 ? exponent(rng_) : 0);
    const std::string path = Path("r" + std::to_string(round));
    mask.WriteFile(path.c_str());
    RealMask back(mask.w, mask.h);
    back.ReadFile(path.c_str());
    ASSERT_EQ(mask.v, back.v) << Get(path);
  }
  // Hand-written numbers in every allowed shape, column by column.
  RealMask mask(3, 1);
  mask.ReadFile(Put("shapes", "real 3 1\r\n+1.5e-3 -.25 7.\r\n").c_str());
  EXPECT_EQ((std::vector<double>{0.0015, -0.25, 7.0}), mask.v);
  RealMask column(1, 3);
  column.ReadFile(Put("column", "real 1 3\n1 2E2 3\n").c_str());
  EXPECT_EQ(200.0, column.GetValueAbs(0, 1));
}

TEST_F(GeometryFiles, ReaderNamesEveryFault) {
  struct Case {
    const char* text;
    unsigned int err;
    const char* what;
  };
  const std::string coeffs9 = "1 2 1 2 4 2 1 2 1\n";
  const Case cases[] = {
      {"", VERR_FILE_TRUNCATED, "truncated: the first line is not complete"},
      {"integer 3 3 16", VERR_FILE_TRUNCATED, "truncated: the first line is not complete"},
      {"integer 3 3 16\n", VERR_FILE_TRUNCATED, "truncated: the coefficient line is not complete"},
      {"integer 3 3 16\n1 2 1 2 4 2 1 2 1", VERR_FILE_TRUNCATED,
       "truncated: the coefficient line is not complete"},
      {"int 3 3 16\n", VERR_FILE_FORMAT, "the first word must be 'integer' or 'real'"},
      {"\n", VERR_FILE_FORMAT, "the first line must be words separated by single blanks"},
      {"integer  3 3 16\n", VERR_FILE_FORMAT,
       "the first line must be words separated by single blanks"},
      {"integer 3 3\n", VERR_FILE_FORMAT,
       "the first line must be 'integer <width> <height> <divisor>'"},
      {"real 3 3 16\n", VERR_FILE_FORMAT, "the first line must be 'real <width> <height>'"},
      {"integer 3 x3 16\n", VERR_FILE_FORMAT, "width and height must be whole numbers"},
      {"integer 3 3 1.5\n", VERR_FILE_FORMAT, "the divisor must be a whole number"},
      {"integer 4 3 16\n", VERR_FILE_CORRUPT, kBadSize},
      {"integer 3 0 16\n", VERR_FILE_CORRUPT, kBadSize},
      {"integer -3 3 16\n", VERR_FILE_CORRUPT, kBadSize},
      {"integer 4097 1 16\n", VERR_FILE_CORRUPT, kBadSize},
      {"integer 3 99999999999 16\n", VERR_FILE_CORRUPT, kBadSize},
      {"integer 1 3 0\n1  2 3\n", VERR_FILE_FORMAT,
       "the coefficients must be separated by single blanks"},
      {"integer 1 3 0\n1 2 3 \n", VERR_FILE_FORMAT,
       "the coefficients must be separated by single blanks"},
      {"integer 1 3 0\n1\t2 3\n", VERR_FILE_FORMAT,
       "coefficient 1 '1\t2' is not a whole number from -2147483648 to 2147483647"},
      {"integer 1 3 0\n1 2.0 3\n", VERR_FILE_FORMAT,
       "coefficient 2 '2.0' is not a whole number from -2147483648 to 2147483647"},
      {"integer 1 3 0\n1 2 2147483648\n", VERR_FILE_FORMAT,
       "coefficient 3 '2147483648' is not a whole number from -2147483648 to 2147483647"},
      {"integer 3 3 16\n1 2 1\n", VERR_FILE_CORRUPT, "too few coefficients: 9 expected, 3 found"},
      {"integer 1 1 1\n1 2\n", VERR_FILE_CORRUPT, "too many coefficients: 1 expected, 2 found"},
      {"integer 1 1 1\n5\n\n", VERR_FILE_FORMAT, "text after the coefficient line"},
      {"real 1 1\n5\n", VERR_FILE_UNSUPPORTED,
       "holds a real mask, an integer mask was expected"},
  };
  ScopedMemTrace trace;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    const std::string path = Put("bad", c.text);
    ExpectRaise([&] { VConvolInt::ReadFile(path.c_str()); }, kReadInt, About(path, c.what),
                c.err);
  }
  const std::string missing = Path("missing");
  ExpectRaise([&] { VConvolInt::ReadFile(missing.c_str()); }, kReadInt,
              About(missing, "cannot open: No such file or directory"), VERR_FILE_NOT_FOUND);
  ExpectRaise([] { VConvolInt::ReadFile(nullptr); }, kReadInt, "filter mask file name missing",
              VERR_FILE_NOT_FOUND);
  const std::string& dir = scratch_.dir();
  ExpectRaise([&] { VConvolInt::ReadFile(dir.c_str()); }, kReadInt, About(dir, "cannot read"),
              VERR_FILE_READ);

  // The real form: numbers of its own shape, the form, the mask's size.
  const std::string integer = Put("integer", "integer 1 1 1\n5\n");
  const std::string words = Put("words", "real 1 3\n1 inf 0x1p3\n");
  const std::string huge = Put("huge", "real 1 1\n1e999\n");
  const std::string wide = Put("wide", "real 5 1\n1 2 3 4 5\n");
  RealMask mask(1, 3);
  ExpectRaise([&] { mask.ReadFile(integer.c_str()); }, kReadReal,
              About(integer, "holds an integer mask, a real mask was expected"),
              VERR_FILE_UNSUPPORTED);
  ExpectRaise([&] { mask.ReadFile(words.c_str()); }, kReadReal,
              About(words, "coefficient 2 'inf' is not a finite real number"), VERR_FILE_FORMAT);
  ExpectRaise([&] { mask.ReadFile(huge.c_str()); }, kReadReal,
              About(huge, "coefficient 1 '1e999' is not a finite real number"), VERR_FILE_FORMAT);
  ExpectRaise([&] { mask.ReadFile(wide.c_str()); }, kReadReal,
              About(wide, "holds a 5x1 mask, this mask is 1x3"));
  EXPECT_EQ(std::vector<double>(3, 0.0), mask.v);
  EXPECT_EQ(0, trace.Leaked()) << trace.Report();
}

TEST_F(GeometryFiles, FilesCutAnywhereFailCleanly) {
  const std::string whole = "integer 3 3 -16\n-1 -2 -1 -2 12 -2 -1 -2 -1\n";
  ScopedHandler returning(&Returning::Handle);
  for (size_t length = 0; length < whole.size(); ++length) {
    Returning::raised = 0;
    const std::string path = Put("cut", whole.substr(0, length));
    const VConvolInt mask = VConvolInt::ReadFile(path.c_str());
    // One report, and a mask without coefficients when the handler returns.
    EXPECT_EQ(1, Returning::raised) << length;
    EXPECT_EQ(0, mask.Width()) << length;
    EXPECT_NE(std::string::npos, Returning::message.find("truncated")) << length;
  }
}

TEST_F(GeometryFiles, WriterRefusesWhatTheFileCannotHold) {
  const std::string nowhere = Path("no/such/dir.fil");
  ExpectRaise([&] { VConvolInt(3, 3).WriteFile(nowhere.c_str()); }, kWriteInt,
              About(nowhere, "cannot create: No such file or directory"), VERR_FILE_WRITE);
  const std::string path = Path("refused");
  ExpectRaise([&] { VConvolInt().WriteFile(path.c_str()); }, kWriteInt, About(path, kBadSize),
              VERR_FILE_CORRUPT);
  ExpectRaise([&] { VConvolInt(-3, 3).WriteFile(path.c_str()); }, kWriteInt,
              About(path, kBadSize), VERR_FILE_CORRUPT);
  ExpectRaise([] { VConvolInt(3, 3).WriteFile(nullptr); }, kWriteInt,
              "filter mask file name missing", VERR_FILE_NOT_FOUND);
  RealMask mask(3, 1);
  mask.v[1] = std::nan("");
  ExpectRaise([&] { mask.WriteFile(path.c_str()); }, kWriteReal,
              About(path, "coefficient 2 is not finite and cannot be written"), VERR_FILE_WRITE);
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
