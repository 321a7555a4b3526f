// Camera parameters and poses through text files and serialised items:
// exact round trips, the written text, and damaged files and items.
#include <cstring>
#include <filesystem>

#include "camera_test_support.h"
#include "scratch_dir.h"

namespace {

using namespace camera_test;
using namespace math_test;
using namespace Vexa;

class CameraFilesTest : public LeakCheckedTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(clear_all_serialized_items(), VRESULT_OK);
    LeakCheckedTest::TearDown();
  }
  std::string Path(const std::string& name) const { return scratch_.Path(name); }
  std::string Put(const std::string& name, const std::string& text) const {
    return scratch_.Put(name, text);
  }
  static std::string Get(const std::string& path) { return ScratchDir::Get(path); }

 private:
  ScratchDir scratch_;
};

// Same length, types and values bit for bit.
void ExpectSameTuple(const VTuple& a, const VTuple& b) {
  ASSERT_EQ(a.Num(), b.Num());
  for (Vlong i = 0; i < a.Num(); ++i) {
    ASSERT_EQ(a[i].ValType(), b[i].ValType()) << i;
    if (a[i].ValType() == VPAR_STRING) EXPECT_STREQ(a[i].S(), b[i].S());
    else EXPECT_EQ(a[i].D(), b[i].D()) << i;
  }
}

const char kDivisionText[] =
    "VXCAM 1\nmodel area_scan_division\nfocus 0.012\nkappa -3000\nsx 5e-06\nsy 5.5e-06\n"
    "cx 322.5\ncy 236.25\nimage_width 640\nimage_height 480\n";

TEST_F(CameraFilesTest, CamerasAndPosesRoundTripExactly) {
  const VTuple odd = With(PolynomialCam(-4321.123456789, 1.0 / 3, 1e13, 0.1, -2.0 / 7), 9,
                          1.0 / 3 + 300);
  for (const VTuple& cam : {DivisionCam(-3000), odd}) {
    const std::string path = Path("cam.txt");
    ASSERT_EQ(write_cam_par(cam, path.c_str()), VRESULT_OK);
    VTuple back;
    ASSERT_EQ(read_cam_par(path.c_str(), &back), VRESULT_OK);
    ExpectSameTuple(back, cam);
  }
  ASSERT_EQ(write_cam_par(DivisionCam(-3000), Path("d.txt").c_str()), VRESULT_OK);
  EXPECT_EQ(Get(Path("d.txt")), kDivisionText);

  VTuple pose;
  ASSERT_EQ(create_pose(0.1, -2.0 / 3, 5.0, 10.0, 200.0, 1.0 / 7, "R(p-T)", "abg",
                        "coordinate_system", &pose),
            VRESULT_OK);
  ASSERT_EQ(write_pose(pose, Path("p.txt").c_str()), VRESULT_OK);
  VTuple back;
  ASSERT_EQ(read_pose(Path("p.txt").c_str(), &back), VRESULT_OK);
  ExpectSameTuple(back, pose);
  EXPECT_EQ(back[6].L(), 11);
}

TEST_F(CameraFilesTest, DamagedCameraFilesHaveClearCodes) {
  VTuple cam;
  const std::string good = kDivisionText;
  auto read = [&](const std::string& text) {
    return read_cam_par(Put("c.txt", text).c_str(), &cam);
  };
  EXPECT_EQ(read(good), VRESULT_OK);
  // Comments, blank lines, CR LF and tabs are fine.
  EXPECT_EQ(read("# camera\r\n\r\nVXCAM 1\r\nmodel\tarea_scan_division\r\n" + good.substr(33)),
            VRESULT_OK);
  EXPECT_EQ(read_cam_par(Path("none.txt").c_str(), &cam), VERR_FILE_NOT_FOUND);
  EXPECT_EQ(read(""), VERR_FILE_FORMAT);
  EXPECT_EQ(read("VXPOSE 1\n" + good.substr(8)), VERR_FILE_FORMAT);
  EXPECT_EQ(read(std::string("VXCAM 1\0", 8) + good.substr(8)), VERR_FILE_FORMAT);
  EXPECT_EQ(read("VXCAM 2\n" + good.substr(8)), VERR_FILE_UNSUPPORTED);
  EXPECT_EQ(read("VXCAM 1\n"), VERR_FILE_TRUNCATED);
  EXPECT_EQ(read(good.substr(0, good.find("image_height"))), VERR_FILE_TRUNCATED);
  EXPECT_EQ(read(good + "extra 1\n"), VERR_FILE_CORRUPT);
  // The text of the failure names the file.
  char text[1024];
  VErrorMessage(VERR_FILE_CORRUPT, text);
  EXPECT_NE(std::string(text).find(Path("c.txt")), std::string::npos) << text;
  // The good file with its first `from` replaced by `to`, read.
  auto edited = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    return read(text.replace(text.find(from), from.size(), to));
  };
  EXPECT_EQ(edited("-3000", "-3,0"), VERR_FILE_CORRUPT);
  EXPECT_EQ(edited("sy", "sz"), VERR_FILE_CORRUPT);
  EXPECT_EQ(edited("0.012", "nan"), VERR_FILE_CORRUPT);
  EXPECT_EQ(edited("cx 322.5", "cx 322.5 1"), VERR_FILE_CORRUPT);
  EXPECT_EQ(edited("model", "camera"), VERR_FILE_CORRUPT);
  // Well-formed files with values no camera has.
  EXPECT_EQ(edited("division", "fisheye"), VERR_CAM_MODEL);
  EXPECT_EQ(edited("0.012", "-0.012"), VERR_CAM_FOCUS);
  EXPECT_EQ(edited("480", "48.5"), VERR_CAM_IMAGE_SIZE);

  // Every prefix of the file is read without harm: a whole camera or a
  // file code.
  for (size_t n = 0; n < good.size(); ++n) {
    const unsigned int rc = read(good.substr(0, n));
    EXPECT_TRUE(rc == VRESULT_OK || rc == VERR_FILE_FORMAT || rc == VERR_FILE_TRUNCATED ||
                rc == VERR_FILE_CORRUPT || rc == VERR_FILE_UNSUPPORTED || rc == VERR_CAM_MODEL ||
                rc == VERR_CAM_IMAGE_SIZE)
        << n << " " << rc;
  }
  EXPECT_EQ(write_cam_par(DivisionCam(0, 0.0), Path("x.txt").c_str()), VERR_CAM_FOCUS);
  EXPECT_EQ(write_cam_par(DivisionCam(0), Path("no/such/dir/x.txt").c_str()), VERR_FILE_WRITE);
}

TEST_F(CameraFilesTest, DamagedPoseFiles) {
  const std::string good = "VXPOSE 1\ntx 1\nty 2\ntz 3\nalpha 10\nbeta 20\ngamma 30\ntype 0\n";
  VTuple pose;
  ASSERT_EQ(read_pose(Put("p.txt", good).c_str(), &pose), VRESULT_OK);
  EXPECT_EQ(Vec(pose), std::vector<double>({1, 2, 3, 10, 20, 30, 0}));
  EXPECT_EQ(read_pose(Put("p.txt", good.substr(0, good.find("type"))).c_str(), &pose),
            VERR_FILE_TRUNCATED);
  EXPECT_EQ(read_pose(Put("p.txt", "VXPOSE 1\ntx 1\n" + good.substr(9)).c_str(), &pose),
            VERR_FILE_CORRUPT);
  EXPECT_EQ(read_pose(Put("p.txt", good.substr(0, good.size() - 2) + "6\n").c_str(), &pose),
            VERR_FILE_CORRUPT);
  EXPECT_EQ(read_pose(Put("p.txt", good.substr(0, good.size() - 2) + "0.5\n").c_str(), &pose),
            VERR_FILE_CORRUPT);
  EXPECT_EQ(read_pose(Put("p.txt", kDivisionText).c_str(), &pose), VERR_FILE_FORMAT);
  EXPECT_EQ(write_pose(Tup({0, 0, 0, 0, 0, 0}), Path("q.txt").c_str()), VERR_CTRL_NUM(0));
}

TEST_F(CameraFilesTest, SerialisedCameras) {
  for (const VTuple& cam : {DivisionCam(-3000), PolynomialCam()}) {
    Vlong item = -1;
    ASSERT_EQ(serialize_cam_par(cam, &item), VRESULT_OK);
    VTuple back;
    ASSERT_EQ(deserialize_cam_par(item, &back), VRESULT_OK);
    ExpectSameTuple(back, cam);
  }
  Vlong item = -1;
  VTuple back;
  EXPECT_EQ(serialize_cam_par(With(DivisionCam(0), 3, -1.0), &item), VERR_CAM_CELL_SIZE);
  ASSERT_EQ(serialize_pose(Pose(0, 0, 0, 0, 0, 0), &item), VRESULT_OK);
  EXPECT_EQ(deserialize_cam_par(item, &back), VERR_DATA_KIND);

  // A tuple item relabelled as a camera (the checksum covers only the
  // payload): a payload that is no camera is corrupt.
  ASSERT_EQ(serialize_tuple(With(DivisionCam(0), 1, 0.0), &item), VRESULT_OK);
  Vlong ptr = 0, size = 0;
  ASSERT_EQ(get_serialized_item_ptr(item, &ptr, &size), VRESULT_OK);
  const auto* p = reinterpret_cast<const unsigned char*>(static_cast<uintptr_t>(ptr));
  std::vector<unsigned char> bytes(p, p + size);
  bytes[6] = 14;
  Vlong relabelled = -1;
  ASSERT_EQ(create_serialized_item_ptr(static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data())),
                                       size, "true", &relabelled),
            VRESULT_OK);
  EXPECT_EQ(deserialize_cam_par(relabelled, &back), VERR_FILE_CORRUPT);
  // Cut short.
  ASSERT_EQ(serialize_cam_par(DivisionCam(0), &item), VRESULT_OK);
  ASSERT_EQ(get_serialized_item_ptr(item, &ptr, &size), VRESULT_OK);
  ASSERT_EQ(create_serialized_item_ptr(ptr, size - 3, "true", &relabelled), VRESULT_OK);
  EXPECT_EQ(deserialize_cam_par(relabelled, &back), VERR_FILE_TRUNCATED);
}

}  // namespace
