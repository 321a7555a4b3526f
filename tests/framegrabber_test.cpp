// The "File" acquisition interface: images of a directory in name order,
// of a list file and of a single file, delivered one per grab and
// cycling, each equal to what read_image reads from its file; parameters,
// the data of grab_data, the information queries and the refusals.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "serialized_objects_support.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
namespace fs = std::filesystem;

class FramegrabberTest : public image_test::ImageOpsTest {
 protected:
  void SetUp() override {
    image_test::ImageOpsTest::SetUp();
    dir_ = fs::temp_directory_path() / ("framegrabber_test_" + std::to_string(getpid()));
    fs::create_directories(dir_);
    // Written out of name order; a text file that is no image is skipped.
    for (const char* name : {"c.png", "a.png", "b.tif"}) {
      const Vobject image = image_test::RandomImage(rng_, "byte", 6 + name[0] - 'a', 5);
      ASSERT_EQ(write_image(image, fs::path(name).extension() == ".png" ? "png" : "tiff", 0,
                            (dir_ / name).c_str()),
                VRESULT_OK);
    }
    std::ofstream(dir_ / "notes.txt") << "not an image";
  }
  void TearDown() override {
    EXPECT_EQ(close_all_framegrabbers(), VRESULT_OK);
    fs::remove_all(dir_);
    image_test::ImageOpsTest::TearDown();
  }
  static unsigned int Open(const std::string& camera_type, Vlong* handle, const char* name = "File") {
    return open_framegrabber(name, 1, 1, 0, 0, 0, 0, "default", -1, "default", -1.0, "false",
                             camera_type.c_str(), "default", -1, -1, handle);
  }
  void ExpectGrabbed(Vlong fg, const std::string& file) {
    Vobject grabbed, expected;
    ASSERT_EQ(grab_image(&grabbed, fg), VRESULT_OK);
    ASSERT_EQ(read_image(&expected, file.c_str()), VRESULT_OK);
    serial_test::ExpectSameObject(expected, grabbed);
  }
  fs::path dir_;
};

TEST_F(FramegrabberTest, DirectoryImagesComeInNameOrderAndCycle) {
  Vlong fg = -1;
  ASSERT_EQ(Open(dir_.string(), &fg), VRESULT_OK);
  VTuple n;
  ASSERT_EQ(get_framegrabber_param(fg, "num_images", &n), VRESULT_OK);
  EXPECT_EQ(n[0].L(), 3);
  for (int round = 0; round < 2; ++round)
    for (const char* name : {"a.png", "b.tif", "c.png"}) ExpectGrabbed(fg, (dir_ / name).string());

  ASSERT_EQ(set_framegrabber_param(fg, "image_index", Vlong{2}), VRESULT_OK);
  Vobject image, region, contours;
  VTuple data;
  ASSERT_EQ(grab_data(&image, &region, &contours, fg, &data), VRESULT_OK);
  EXPECT_EQ(fs::path(data[0].S()).filename(), "c.png");
  Vlong count = -1;
  ASSERT_EQ(count_obj(region, &count), VRESULT_OK);
  EXPECT_EQ(count, 1);
  ASSERT_EQ(get_framegrabber_param(fg, "last_file", &data), VRESULT_OK);
  EXPECT_EQ(fs::path(data[0].S()).filename(), "c.png");

  ASSERT_EQ(set_framegrabber_param(fg, "loop", "false"), VRESULT_OK);
  EXPECT_EQ(grab_image_start(fg, -1.0), VRESULT_OK);
  EXPECT_EQ(grab_image_async(&image, fg, -1.0), VERR_GRAB_SOURCE);  // c was the last
  ASSERT_EQ(set_framegrabber_param(fg, "image_index", Vlong{0}), VRESULT_OK);
  EXPECT_EQ(grab_image_async(&image, fg, -1.0), VRESULT_OK);
  EXPECT_EQ(set_framegrabber_param(fg, "image_index", Vlong{3}), VERR_CTRL_VALUE(2));
  EXPECT_EQ(set_framegrabber_param(fg, "exposure", 1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(close_framegrabber(fg), VRESULT_OK);
  EXPECT_EQ(grab_image(&image, fg), VERR_HANDLE_CLOSED);
}

TEST_F(FramegrabberTest, ListsAndSingleFiles) {
  std::ofstream(dir_ / "list.seq") << "# two images\nc.png\n\n" << (dir_ / "a.png").string() << "\n";
  Vlong fg = -1;
  ASSERT_EQ(Open((dir_ / "list.seq").string(), &fg), VRESULT_OK);
  for (const char* name : {"c.png", "a.png", "c.png"}) ExpectGrabbed(fg, (dir_ / name).string());
  Vlong single = -1;
  ASSERT_EQ(Open((dir_ / "b.tif").string(), &single), VRESULT_OK);
  ExpectGrabbed(single, (dir_ / "b.tif").string());
  ExpectGrabbed(single, (dir_ / "b.tif").string());
}

TEST_F(FramegrabberTest, InformationAndRefusals) {
  VTuple info, values;
  ASSERT_EQ(info_framegrabber("File", "parameters", &info, &values), VRESULT_OK);
  EXPECT_EQ(values.Num(), 2);
  EXPECT_EQ(info_framegrabber("File", "colour", &info, &values), VERR_CTRL_VALUE(1));
  EXPECT_EQ(info_framegrabber("GigE", "general", &info, &values), VERR_CTRL_VALUE(0));
  Vlong fg = -1;
  EXPECT_EQ(Open(dir_.string(), &fg, "GigE"), VERR_CTRL_VALUE(0));
  EXPECT_EQ(Open((dir_ / "missing").string(), &fg), VERR_FILE_NOT_FOUND);
  fs::create_directories(dir_ / "empty");
  EXPECT_EQ(Open((dir_ / "empty").string(), &fg), VERR_GRAB_SOURCE);
  ASSERT_EQ(Open((dir_ / "notes.txt").string(), &fg), VRESULT_OK);  // read at grab time
  Vobject image;
  const unsigned int rc = grab_image(&image, fg);
  EXPECT_TRUE(rc >= VERR_FILE_NOT_FOUND && rc <= VERR_FILE_UNSUPPORTED) << rc;
}

}  // namespace

namespace {

struct CallbackLog {
  int calls = 0;
  Vexa::Vlong handle = 0;
  std::string file;
  Vresult answer = VRESULT_OK;
};

Vresult RecordTransferEnd(void* acq_handle, void* context, void* user_context) {
  auto* log = static_cast<CallbackLog*>(user_context);
  ++log->calls;
  log->handle = static_cast<Vexa::Vlong>(reinterpret_cast<uintptr_t>(acq_handle));
  log->file = static_cast<const char*>(context);
  return log->answer;
}

Vexa::Vlong AddressOf(const void* p) { return static_cast<Vexa::Vlong>(reinterpret_cast<uintptr_t>(p)); }

TEST_F(FramegrabberTest, LookupTablesMapTheChannelsOfGrabbedImages) {
  Vlong fg = -1;
  const std::string file = (dir_ / "a.png").string();
  ASSERT_EQ(Open(file, &fg), VRESULT_OK);
  VTuple invert, red, green, blue;
  for (Vlong v = 255; v >= 0; --v) invert.Append(VTuple(v));
  ASSERT_EQ(set_framegrabber_lut(VTuple(fg), invert, VTuple(), VTuple()), VRESULT_OK);
  ASSERT_EQ(get_framegrabber_lut(fg, &red, &green, &blue), VRESULT_OK);
  ASSERT_EQ(red.Num(), 256);
  EXPECT_EQ(red[0].L(), 255);
  EXPECT_EQ(green.Num(), 0);

  Vobject grabbed, original, expected;
  ASSERT_EQ(grab_image(&grabbed, fg), VRESULT_OK);
  ASSERT_EQ(read_image(&original, file.c_str()), VRESULT_OK);
  ASSERT_EQ(invert_image(original, &expected), VRESULT_OK);
  serial_test::ExpectSameObject(expected, grabbed);

  // Removing the table gives the file's pixels again.
  ASSERT_EQ(set_framegrabber_lut(VTuple(fg), VTuple(), VTuple(), VTuple()), VRESULT_OK);
  ASSERT_EQ(grab_image(&grabbed, fg), VRESULT_OK);
  serial_test::ExpectSameObject(original, grabbed);

  EXPECT_EQ(set_framegrabber_lut(VTuple(fg), VTuple(Vlong{1}), VTuple(), VTuple()), VERR_CTRL_NUM(1));
  VTuple too_high = invert;
  too_high[3] = Vlong{256};
  EXPECT_EQ(set_framegrabber_lut(VTuple(fg), VTuple(), VTuple(), too_high), VERR_CTRL_VALUE(3));
}

TEST_F(FramegrabberTest, TransferEndCallbackSeesEveryGrabAndCanFailIt) {
  Vlong fg = -1;
  ASSERT_EQ(Open(dir_.string(), &fg), VRESULT_OK);
  CallbackLog log;
  ASSERT_EQ(set_framegrabber_callback(fg, "transfer_end", AddressOf(reinterpret_cast<void*>(&RecordTransferEnd)),
                                      AddressOf(&log)),
            VRESULT_OK);
  Vlong function = 0, context = 0;
  ASSERT_EQ(get_framegrabber_callback(fg, "transfer_end", &function, &context), VRESULT_OK);
  EXPECT_EQ(context, AddressOf(&log));

  Vobject image;
  ASSERT_EQ(grab_image(&image, fg), VRESULT_OK);
  EXPECT_EQ(log.calls, 1);
  EXPECT_EQ(log.handle, fg);
  EXPECT_EQ(fs::path(log.file).filename(), "a.png");

  // A callback's failure fails the grab and leaves no image behind.
  log.answer = VERR_CTRL_VALUE(0);
  const vexa::db::Stats before = vexa::db::GetStats();
  Vobject failed;
  EXPECT_EQ(grab_image(&failed, fg), VERR_CTRL_VALUE(0));
  EXPECT_EQ(vexa::db::GetStats().images, before.images);
  EXPECT_EQ(log.calls, 2);

  ASSERT_EQ(set_framegrabber_callback(fg, "transfer_end", 0, 0), VRESULT_OK);
  ASSERT_EQ(grab_image(&image, fg), VRESULT_OK);
  EXPECT_EQ(log.calls, 2);
  EXPECT_EQ(set_framegrabber_callback(fg, "exposure_end", 0, 0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(get_framegrabber_callback(fg, "exposure_end", &function, &context), VERR_CTRL_VALUE(1));
}

}  // namespace
