// Text files through handles: what fwrite_string and fnew_line write, what
// fread_line, fread_string and fread_char read back (line ends, words
// across white space, the end of the file), appending, and the refusals
// (wrong direction, missing file, unknown type, closed handle).
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

class FileIoTest : public LeakCheckedTest {
 protected:
  void SetUp() override {
    LeakCheckedTest::SetUp();
    path_ = std::filesystem::temp_directory_path() / ("fileio_test_" + std::to_string(getpid()));
  }
  void TearDown() override {
    std::filesystem::remove(path_);
    LeakCheckedTest::TearDown();
  }
  std::string Contents() const {
    std::ifstream in(path_, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  Vlong Open(const char* type) {
    Vlong h = -1;
    EXPECT_EQ(open_file(path_.c_str(), type, &h), VRESULT_OK) << type;
    return h;
  }
  std::string path_;
};

TEST_F(FileIoTest, WrittenValuesAndLinesAreReadBackAsWritten) {
  Vlong out = Open("output");
  VTuple values;
  values.Append(VTuple("x = ")).Append(VTuple(Vlong{-12})).Append(VTuple(" ")).Append(VTuple(0.25));
  EXPECT_EQ(fwrite_string(out, values), VRESULT_OK);
  EXPECT_EQ(fnew_line(out), VRESULT_OK);
  EXPECT_EQ(fwrite_string(out, VTuple("  two words\tthen")), VRESULT_OK);
  EXPECT_EQ(close_file(out), VRESULT_OK);
  EXPECT_EQ(Contents(), "x = -12 0.25\n  two words\tthen");

  out = Open("append");
  EXPECT_EQ(fwrite_string(out, VTuple(" end")), VRESULT_OK);
  EXPECT_EQ(close_file(out), VRESULT_OK);

  Vlong in = Open("input");
  VTuple line, eof;
  EXPECT_EQ(fread_line(in, &line, &eof), VRESULT_OK);
  EXPECT_STREQ(line[0].S(), "x = -12 0.25\n");
  EXPECT_EQ(eof[0].L(), 0);
  for (const char* word : {"two", "words", "then", "end"}) {
    EXPECT_EQ(fread_string(in, &line, &eof), VRESULT_OK);
    EXPECT_STREQ(line[0].S(), word);
    EXPECT_EQ(eof[0].L(), 0);
  }
  EXPECT_EQ(fread_string(in, &line, &eof), VRESULT_OK);
  EXPECT_EQ(eof[0].L(), 1);
  EXPECT_EQ(fread_line(in, &line, &eof), VRESULT_OK);
  EXPECT_EQ(eof[0].L(), 1);
  EXPECT_EQ(close_file(in), VRESULT_OK);
}

TEST_F(FileIoTest, CharactersIncludingLineEndsAndTheEnd) {
  std::ofstream(path_) << "a\nb";
  const Vlong in = Open("input_binary");
  VTuple c;
  for (const char* expected : {"a", "nl", "b", "eof", "eof"}) {
    EXPECT_EQ(fread_char(in, &c), VRESULT_OK);
    EXPECT_STREQ(c[0].S(), expected);
  }
  EXPECT_EQ(close_file(in), VRESULT_OK);
}

TEST_F(FileIoTest, RefusalsNameTheirCause) {
  Vlong h = -1;
  EXPECT_EQ(open_file((path_ + "_missing").c_str(), "input", &h), VERR_FILE_NOT_FOUND);
  EXPECT_EQ(open_file("/no/such/dir/file", "output", &h), VERR_FILE_WRITE);
  EXPECT_EQ(open_file(path_.c_str(), "read", &h), VERR_CTRL_VALUE(1));
  const Vlong out = Open("output");
  VTuple line, eof;
  EXPECT_EQ(fread_line(out, &line, &eof), VERR_FILE_MODE);
  EXPECT_EQ(close_file(out), VRESULT_OK);
  EXPECT_EQ(fwrite_string(out, VTuple("late")), VERR_HANDLE_CLOSED);
  const Vlong in = Open("input");
  EXPECT_EQ(fwrite_string(in, VTuple("no")), VERR_FILE_MODE);
  EXPECT_EQ(fnew_line(in), VERR_FILE_MODE);
  EXPECT_EQ(close_all_files(), VRESULT_OK);
  EXPECT_EQ(fread_char(in, &line), VERR_HANDLE_CLOSED);
}

}  // namespace
