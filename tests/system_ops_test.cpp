// The runtime's own services through the procedural functions: files and
// directories, the clock, result texts with what a call failed on, the
// settings, tuples and objects in files. Every refusal names its cause.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <vexaobj.h>

#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
namespace fs = std::filesystem;

class SystemOps : public LeakCheckedTest {
 protected:
  void SetUp() override {
    LeakCheckedTest::SetUp();
    dir_ = fs::temp_directory_path() / ("system_ops_" + std::to_string(getpid()));
    fs::remove_all(dir_);
  }
  void TearDown() override {
    fs::remove_all(dir_);
    LeakCheckedTest::TearDown();
  }
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  static void Write(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
  }
  // What the thread's last failure said.
  static std::string LastMessage() {
    VTuple op, code, message;
    EXPECT_EQ(get_extended_error_info(&op, &code, &message), VRESULT_OK);
    return message[0].S();
  }
  fs::path dir_;
};

TEST_F(SystemOps, DirectoriesAndFiles) {
  const std::string nested = Path("a/b");
  ASSERT_EQ(make_dir(nested.c_str()), VRESULT_OK);  // parents too
  ASSERT_EQ(make_dir(nested.c_str()), VRESULT_OK);  // already there
  Write(Path("a/one.txt"), "1");
  Write(Path("a/b/two.txt"), "22");
  Vlong exists = -1;
  ASSERT_EQ(file_exists(Path("a/one.txt").c_str(), &exists), VRESULT_OK);
  EXPECT_EQ(exists, 1);
  ASSERT_EQ(file_exists(Path("nothing").c_str(), &exists), VRESULT_OK);
  EXPECT_EQ(exists, 0);

  VTuple files;
  ASSERT_EQ(list_files(Path("a").c_str(), VTuple(), &files), VRESULT_OK);
  ASSERT_EQ(files.Num(), 2);
  EXPECT_EQ(std::string(files[0].S()), Path("a/b") + "/");
  EXPECT_EQ(std::string(files[1].S()), Path("a/one.txt"));
  ASSERT_EQ(list_files(Path("a").c_str(), VTuple("files").Append("recursive"), &files), VRESULT_OK);
  ASSERT_EQ(files.Num(), 2);
  EXPECT_EQ(std::string(files[0].S()), Path("a/b/two.txt"));
  ASSERT_EQ(list_files(Path("a").c_str(), VTuple("files").Append("recursive").Append("max_depth 1"),
                       &files), VRESULT_OK);
  EXPECT_EQ(files.Num(), 1);
  ASSERT_EQ(list_files(Path("a").c_str(), VTuple("recursive").Append("max_files 2"), &files),
            VRESULT_OK);
  EXPECT_EQ(files.Num(), 2);
  EXPECT_EQ(list_files(Path("a").c_str(), "max_depth x", &files), VERR_CTRL_VALUE(1));
  EXPECT_EQ(list_files(Path("a").c_str(), "everything", &files), VERR_CTRL_VALUE(1));
  EXPECT_EQ(list_files(Path("none").c_str(), VTuple(), &files), VERR_FILE_NOT_FOUND);

  // Copying into a directory keeps the name; over a file replaces it.
  ASSERT_EQ(copy_file(Path("a/one.txt").c_str(), nested.c_str()), VRESULT_OK);
  ASSERT_EQ(copy_file(Path("a/b/two.txt").c_str(), Path("a/b/one.txt").c_str()), VRESULT_OK);
  EXPECT_EQ(fs::file_size(Path("a/b/one.txt")), 2u);
  EXPECT_EQ(copy_file(Path("a/one.txt").c_str(), Path("a/one.txt").c_str()), VERR_CTRL_VALUE(1));
  EXPECT_EQ(copy_file(Path("a/gone").c_str(), nested.c_str()), VERR_FILE_NOT_FOUND);

  EXPECT_EQ(remove_dir(nested.c_str()), VERR_FILE_WRITE);  // not empty
  EXPECT_NE(LastMessage().find("is not empty"), std::string::npos);
  EXPECT_EQ(delete_file(nested.c_str()), VERR_CTRL_VALUE(0));  // a directory
  ASSERT_EQ(delete_file(Path("a/b/one.txt").c_str()), VRESULT_OK);
  ASSERT_EQ(delete_file(Path("a/b/two.txt").c_str()), VRESULT_OK);
  EXPECT_EQ(delete_file(Path("a/b/two.txt").c_str()), VERR_FILE_NOT_FOUND);
  ASSERT_EQ(remove_dir(nested.c_str()), VRESULT_OK);
  EXPECT_EQ(remove_dir(Path("a/one.txt").c_str()), VERR_CTRL_VALUE(0));
  EXPECT_EQ(make_dir(Path("a/one.txt").c_str()), VERR_FILE_WRITE);
  EXPECT_EQ(make_dir(""), VERR_CTRL_VALUE(0));
}

TEST_F(SystemOps, CurrentDirectory) {
  VTuple before;
  ASSERT_EQ(get_current_dir(&before), VRESULT_OK);
  ASSERT_EQ(make_dir(dir_.c_str()), VRESULT_OK);
  ASSERT_EQ(set_current_dir(dir_.c_str()), VRESULT_OK);
  VTuple now;
  ASSERT_EQ(get_current_dir(&now), VRESULT_OK);
  EXPECT_EQ(fs::path(now[0].S()), fs::canonical(dir_));
  EXPECT_EQ(set_current_dir(Path("missing").c_str()), VERR_FILE_NOT_FOUND);
  ASSERT_EQ(set_current_dir(before[0].S()), VRESULT_OK);
}

TEST_F(SystemOps, ClockAndWaiting) {
  double start = 0, end = 0;
  ASSERT_EQ(count_seconds(&start), VRESULT_OK);
  ASSERT_EQ(wait_seconds(0.02), VRESULT_OK);
  ASSERT_EQ(count_seconds(&end), VRESULT_OK);
  EXPECT_GE(end - start, 0.02);
  EXPECT_EQ(wait_seconds(-1.0), VERR_CTRL_VALUE(0));
  VTuple ms, s, min, h, day, yday, month, year;
  ASSERT_EQ(get_system_time(&ms, &s, &min, &h, &day, &yday, &month, &year), VRESULT_OK);
  EXPECT_GE(year[0].L(), 2024);
  EXPECT_TRUE(month[0].L() >= 1 && month[0].L() <= 12);
  EXPECT_TRUE(day[0].L() >= 1 && day[0].L() <= 31 && yday[0].L() >= day[0].L());
  EXPECT_TRUE(ms[0].L() >= 0 && ms[0].L() < 1000);
}

TEST_F(SystemOps, FailuresNameWhatTheyFailedOn) {
  VTuple text;
  ASSERT_EQ(get_error_text(Vlong{VERR_FILE_TRUNCATED}, &text), VRESULT_OK);
  EXPECT_STREQ(text[0].S(), "File is truncated: it ends before all of its data");
  EXPECT_EQ(get_error_text(Vlong{-1}, &text), VERR_CTRL_VALUE(0));

  // A truncated image file: the code, and a text that names the file for
  // as long as no other call followed.
  ASSERT_EQ(make_dir(dir_.c_str()), VRESULT_OK);
  const std::string png = Path("cut.png");
  Write(png, std::string("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR", 16));
  Vobject image;
  const unsigned int rc = read_image(&image, png.c_str());
  ASSERT_GT(rc, VRESULT_OK);
  char message[1024];
  VErrorMessage(rc, message);
  EXPECT_NE(std::string(message).find("'" + png + "'"), std::string::npos) << message;

  VTuple op, code, info;
  ASSERT_EQ(get_extended_error_info(&op, &code, &info), VRESULT_OK);
  EXPECT_STREQ(op[0].S(), "read_image");
  EXPECT_EQ(code[0].L(), static_cast<Vlong>(rc));
  EXPECT_NE(std::string(info[0].S()).find(png), std::string::npos);
  // After a successful call the plain text again, but the record stays.
  VErrorMessage(rc, message);
  char plain[1024];
  VErrorMessage(VERR_FILE_NOT_FOUND, plain);
  EXPECT_EQ(std::string(message).find(png), std::string::npos);
  EXPECT_STREQ(LastMessage().c_str(), info[0].S());
}

TEST_F(SystemOps, Settings) {
  Vlong value = -1;
  ASSERT_EQ(get_system("operator_num", &value), VRESULT_OK);
  EXPECT_EQ(value, 2075);
  ASSERT_EQ(get_system("implemented_operator_num", &value), VRESULT_OK);
  EXPECT_GT(value, 1000);
  EXPECT_LE(value, 2075);
  ASSERT_EQ(get_system("processor_num", &value), VRESULT_OK);
  EXPECT_GE(value, 1);

  ASSERT_EQ(set_system("raise_on_error", "true"), VRESULT_OK);
  ASSERT_EQ(get_system("raise_on_error", &value), VRESULT_OK);
  EXPECT_EQ(value, 1);
  EXPECT_EQ(VGetRaiseOnError(), 1);
  ASSERT_EQ(set_system("raise_on_error", "false"), VRESULT_OK);
  EXPECT_EQ(VGetRaiseOnError(), 0);

  // The same seed gives the same random numbers.
  VTuple first, second;
  ASSERT_EQ(set_system("seed_rand", Vlong{42}), VRESULT_OK);
  ASSERT_EQ(tuple_rand(Vlong{3}, &first), VRESULT_OK);
  ASSERT_EQ(set_system("seed_rand", Vlong{42}), VRESULT_OK);
  ASSERT_EQ(tuple_rand(Vlong{3}, &second), VRESULT_OK);
  EXPECT_EQ(first, second);

  EXPECT_EQ(set_system("raise_on_error", "maybe"), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_system("seed_rand", "x"), VERR_CTRL_TYPE(1));
  EXPECT_EQ(set_system("operator_num", Vlong{3}), VERR_CTRL_VALUE(0));
  EXPECT_EQ(set_system(VTuple("seed_rand").Append("raise_on_error"), Vlong{1}), VERR_CTRL_NUM(1));
  EXPECT_EQ(get_system("no_such_setting", &value), VERR_CTRL_VALUE(0));
}

TEST_F(SystemOps, TuplesInTextFiles) {
  ASSERT_EQ(make_dir(dir_.c_str()), VRESULT_OK);
  const std::string file = Path("values.tup");
  const VTuple values = VTuple(Vlong{-7}).Append(0.1).Append("two\nlines\\ and\ttab")
                            .Append(1e300).Append("").Append(Vlong{1} << 62);
  ASSERT_EQ(write_tuple(values, file.c_str()), VRESULT_OK);
  VTuple back;
  ASSERT_EQ(read_tuple(file.c_str(), &back), VRESULT_OK);
  ASSERT_EQ(back.Num(), values.Num());
  for (Vlong i = 0; i < values.Num(); ++i) {
    EXPECT_EQ(back[i].ValType(), values[i].ValType()) << i;
  }
  EXPECT_EQ(back, values);
  ASSERT_EQ(write_tuple(VTuple(), file.c_str()), VRESULT_OK);
  ASSERT_EQ(read_tuple(file.c_str(), &back), VRESULT_OK);
  EXPECT_EQ(back.Num(), 0);

  // Damaged files: each with its code and the file named.
  const struct {
    const char* text;
    unsigned int code;
  } damaged[] = {
      {"something else\n", VERR_FILE_FORMAT},
      {"vexa-tuple 1\n3\ni 1\n", VERR_FILE_TRUNCATED},
      {"vexa-tuple 1\n1\ni 1", VERR_FILE_TRUNCATED},
      {"vexa-tuple 1\n1\ni 1\ni 2\n", VERR_FILE_CORRUPT},
      {"vexa-tuple 1\n1\nx 1\n", VERR_FILE_CORRUPT},
      {"vexa-tuple 1\n1\ni 1.5\n", VERR_FILE_CORRUPT},
      {"vexa-tuple 1\n1\ns bad\\q\n", VERR_FILE_CORRUPT},
      {"vexa-tuple 1\n-1\n", VERR_FILE_CORRUPT},
  };
  for (const auto& d : damaged) {
    Write(file, d.text);
    EXPECT_EQ(read_tuple(file.c_str(), &back), d.code) << d.text;
    EXPECT_NE(LastMessage().find(file), std::string::npos);
  }
  EXPECT_EQ(read_tuple(Path("missing").c_str(), &back), VERR_FILE_NOT_FOUND);
}

TEST_F(SystemOps, ObjectsInFiles) {
  ASSERT_EQ(make_dir(dir_.c_str()), VRESULT_OK);
  Vobject region, image, both, back;
  ASSERT_EQ(gen_circle(&region, 20.0, 20.0, 7.5), VRESULT_OK);
  ASSERT_EQ(gen_image_gray_ramp(&image, 0.5, 1.0, 10.0, 5.0, 5.0, 12, 10), VRESULT_OK);
  ASSERT_EQ(concat_obj(region, image, &both), VRESULT_OK);
  const std::string file = Path("objects.vxo");
  ASSERT_EQ(write_object(both, file.c_str()), VRESULT_OK);
  ASSERT_EQ(read_object(&back, file.c_str()), VRESULT_OK);
  Vlong equal = 0;
  ASSERT_EQ(test_equal_obj(both, back, &equal), VRESULT_OK);
  EXPECT_EQ(equal, 1);

  // A cut file gives an error and no objects.
  const auto size = fs::file_size(file);
  fs::resize_file(file, size / 2);
  Vobject none;
  EXPECT_GT(read_object(&none, file.c_str()), VRESULT_OK);
  EXPECT_NE(LastMessage().find(file), std::string::npos);
  EXPECT_EQ(write_object(both, ""), VERR_CTRL_VALUE(0));
}

TEST_F(SystemOps, WhatTheDocumentationSaysOfOperators) {
  VTuple info;
  ASSERT_EQ(get_operator_info("file_exists", "chapter", &info), VRESULT_OK);
  EXPECT_STREQ(info[0].S(), "System operators");
  ASSERT_EQ(get_operator_info("threshold", "implemented", &info), VRESULT_OK);
  EXPECT_STREQ(info[0].S(), "true");
  ASSERT_EQ(get_operator_info("train_class_mlp", "implemented", &info), VRESULT_OK);
  EXPECT_STREQ(info[0].S(), "false");
  VTuple brief, abstract;
  ASSERT_EQ(get_operator_info("wiener_filter", "short", &brief), VRESULT_OK);
  ASSERT_EQ(get_operator_info("wiener_filter", "abstract", &abstract), VRESULT_OK);
  const std::string whole = abstract[0].S(), first = brief[0].S();
  EXPECT_FALSE(first.empty());
  EXPECT_EQ(whole.compare(0, first.size(), first), 0);
  EXPECT_LT(first.size(), whole.size());
  EXPECT_EQ(get_operator_info("no_such_operator", "short", &info), VERR_OP_NAME);
  EXPECT_EQ(get_operator_info("threshold", "colour", &info), VERR_CTRL_VALUE(1));
  ASSERT_EQ(query_operator_info(&info), VRESULT_OK);
  EXPECT_EQ(info.Num(), 4);

  const struct {
    const char *op, *param, *slot, *answer;
  } params[] = {
      {"threshold", "image", "parameter_class", "input_object"},
      {"threshold", "image", "type", "image"},
      {"threshold", "image", "multivalue", "true"},
      {"threshold", "min_gray", "type", "real"},
      {"threshold", "min_gray", "parameter_class", "input_control"},
      {"close_file", "file_handle", "tool_class", "VFile"},
      {"threshold", "region", "parameter_class", "output_object"},
  };
  for (const auto& p : params) {
    ASSERT_EQ(get_param_info(p.op, p.param, p.slot, &info), VRESULT_OK) << p.param;
    EXPECT_STREQ(info[0].S(), p.answer) << p.op << " " << p.param << " " << p.slot;
  }
  EXPECT_EQ(get_param_info("threshold", "nothing", "type", &info), VERR_CTRL_VALUE(1));

  VTuple found;
  ASSERT_EQ(search_operator("WIENER", &found), VRESULT_OK);
  ASSERT_EQ(found.Num(), 2);
  EXPECT_STREQ(found[0].S(), "wiener_filter_ni");
  VTuple chapters, members;
  ASSERT_EQ(get_chapter_info("", &chapters), VRESULT_OK);
  EXPECT_GT(chapters.Num(), 10);
  ASSERT_EQ(get_chapter_info("System operators", &members), VRESULT_OK);
  bool listed = false;
  for (Vlong i = 0; i < members.Num(); ++i) listed |= std::string(members[i].S()) == "list_files";
  EXPECT_TRUE(listed);
  EXPECT_EQ(get_chapter_info("No such chapter", &members), VERR_CTRL_VALUE(0));
}

}  // namespace
