// The runtime behind two image constructors and generators: an image of the
// caller's pixels whose clear procedure runs once, when the last image
// using them is gone; and read_sequence, which cuts an image out of a raw
// pixel file.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <vexaobj/VImage.h>
#include <vexaobj/VImageArray.h>
#include <vexaobj/VRegion.h>
#include <vexaobj/VTypedImage.h>

#include "image_class_support.h"

namespace {

using namespace Vexa;

// The clear procedure of the tests: counts its calls and remembers the
// array it was given.
struct ClearLog {
  static inline int calls = 0;
  static inline void* last = nullptr;
  static void Clear(void* p) {
    ++calls;
    last = p;
  }
};

class ExternImageTest : public ImageClassTest {
 protected:
  void SetUp() override {
    ImageClassTest::SetUp();
    ClearLog::calls = 0;
    ClearLog::last = nullptr;
  }
  void* clear_ = reinterpret_cast<void*>(&ClearLog::Clear);
  std::vector<unsigned char> pixels_ = {1, 2, 3, 4, 5, 6};
};

TEST_F(ExternImageTest, ClearRunsOnceAfterTheLastSharingImage) {
  {
    VImage* first = new VImage(pixels_.data(), clear_, 3, 2, "byte");
    VImage second(*first);
    VImageArray third;
    third.Append(second);
    const VImage reduced = first->ReduceDomain(VRegion::GenRectangle1(0.0, 0.0, 0.0, 0.0));
    EXPECT_DOUBLE_EQ(Gray(second, 1, 2), 6.0);
    delete first;
    EXPECT_EQ(ClearLog::calls, 0);
    second = VImage();
    third = VImageArray();
    EXPECT_EQ(ClearLog::calls, 0);  // the reduced image still shows them
  }
  EXPECT_EQ(ClearLog::calls, 1);
  EXPECT_EQ(ClearLog::last, pixels_.data());
}

TEST_F(ExternImageTest, WritingToACopyLeavesTheCallersPixelsInUse) {
  {
    VByteImage shared(pixels_.data(), clear_, 3, 2);
    VByteImage writer(shared);
    writer[0] = 42;  // a copy of its own: the original buffer is still used
    EXPECT_DOUBLE_EQ(Gray(shared, 0, 0), 1.0);
    EXPECT_DOUBLE_EQ(Gray(writer, 0, 0), 42.0);
    shared = VByteImage();
    EXPECT_EQ(ClearLog::calls, 1);
  }
  EXPECT_EQ(ClearLog::calls, 1);
}

TEST_F(ExternImageTest, NoProcedureAndFailuresCallNothing) {
  { const VImage image(pixels_.data(), nullptr, 3, 2, "byte"); }
  EXPECT_TRUE(Raises([&] { VImage bad(pixels_.data(), clear_, 0, 2, "byte"); }));
  EXPECT_TRUE(Raises([&] { VImage bad(pixels_.data(), clear_, 3, 2, "no type"); }));
  EXPECT_EQ(ClearLog::calls, 0);
}

// A raw file written for one test and removed afterwards.
class RawFile {
 public:
  explicit RawFile(const std::vector<unsigned char>& bytes)
      : name_(::testing::TempDir() + "read_sequence_" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".raw") {
    FILE* f = std::fopen(name_.c_str(), "wb");
    std::fwrite(bytes.data(), 1, bytes.size(), f);
    std::fclose(f);
  }
  ~RawFile() { std::remove(name_.c_str()); }
  const char* name() const { return name_.c_str(); }

 private:
  std::string name_;
};

struct Sequence {
  Vlong header = 0, source_width = 0, source_height = 0;
  Vlong start_row = 0, start_column = 0, dest_width = 0, dest_height = 0;
  const char* type = "byte";
  const char* bit_order = "MSBFirst";
  const char* byte_order = "MSBFirst";
  const char* pad = "byte";
  Vlong index = 1;
};

unsigned int Read(const Sequence& s, const char* file, Vobject* image) {
  return read_sequence(image, s.header, s.source_width, s.source_height, s.start_row,
                       s.start_column, s.dest_width, s.dest_height, s.type,
                       s.bit_order, s.byte_order, s.pad, s.index, file);
}

TEST_F(ImageClassTest, ReadSequenceCutsAFrameOfWidePixels) {
  // A 3-byte header, then two 4 x 3 frames of big-endian int2 pixels whose
  // value is 1000 * frame + 10 * row + column.
  std::vector<unsigned char> bytes = {0xAA, 0xBB, 0xCC};
  for (int frame = 1; frame <= 2; ++frame)
    for (int r = 0; r < 3; ++r)
      for (int c = 0; c < 4; ++c) {
        const int16_t v = static_cast<int16_t>(-(1000 * frame + 10 * r + c));
        bytes.push_back(static_cast<unsigned char>((v >> 8) & 0xff));
        bytes.push_back(static_cast<unsigned char>(v & 0xff));
      }
  const RawFile file(bytes);
  Sequence s;
  s.header = 3;
  s.source_width = 4;
  s.source_height = 3;
  s.start_row = 1;
  s.start_column = 2;
  s.dest_width = 2;
  s.dest_height = 2;
  s.type = "int2";
  s.index = 2;
  Vobject out;
  ASSERT_EQ(Read(s, file.name(), &out), VRESULT_OK);
  const VImage image(out);
  EXPECT_STREQ(image.PixType(), "int2");
  for (int r = 0; r < 2; ++r)
    for (int c = 0; c < 2; ++c)
      EXPECT_DOUBLE_EQ(Gray(image, r, c), -(2000.0 + 10 * (r + 1) + (c + 2)));
  // The same bytes read as little-endian give other values.
  s.byte_order = "LSBFirst";
  ASSERT_EQ(Read(s, file.name(), &out), VRESULT_OK);
  EXPECT_NE(Gray(VImage(out), 0, 0), -2012.0);
}

TEST_F(ImageClassTest, ReadSequenceUnpacksBits) {
  // Two rows of 5 pixels, no padding: bits 10110 01101, LSB first in each
  // byte: byte 0 holds bits 0..7, byte 1 bits 8..9.
  const std::vector<unsigned char> bits = {1, 0, 1, 1, 0, 0, 1, 1, 0, 1};
  std::vector<unsigned char> bytes(2, 0);
  for (size_t i = 0; i < bits.size(); ++i)
    if (bits[i]) bytes[i / 8] |= static_cast<unsigned char>(1u << (i % 8));
  const RawFile file(bytes);
  Sequence s;
  s.source_width = 5;
  s.source_height = 2;
  s.dest_width = 5;
  s.dest_height = 2;
  s.type = "bit";
  s.bit_order = "LSBFirst";
  s.pad = "none";
  Vobject out;
  ASSERT_EQ(Read(s, file.name(), &out), VRESULT_OK);
  const VImage image(out);
  EXPECT_STREQ(image.PixType(), "byte");
  for (int i = 0; i < 10; ++i)
    EXPECT_DOUBLE_EQ(Gray(image, i / 5, i % 5), bits[static_cast<size_t>(i)] ? 255.0 : 0.0)
        << i;
}

TEST_F(ImageClassTest, ReadSequenceRefusesBadLayouts) {
  const RawFile file(std::vector<unsigned char>(12, 7));
  Sequence s;
  s.source_width = 4;
  s.source_height = 3;
  s.dest_width = 4;
  s.dest_height = 3;
  Vobject out;
  ASSERT_EQ(Read(s, file.name(), &out), VRESULT_OK);
  EXPECT_DOUBLE_EQ(Gray(VImage(out), 2, 3), 7.0);

  Sequence outside = s;
  outside.start_column = 1;  // the cut would leave the frame
  EXPECT_EQ(Read(outside, file.name(), &out), VERR_CTRL_VALUE(5));
  Sequence second = s;
  second.index = 2;  // the file holds one frame only
  EXPECT_EQ(Read(second, file.name(), &out), VERR_FILE_TRUNCATED);
  Sequence far = s;
  far.index = 2147483647;
  far.header = Vlong{1} << 61;
  EXPECT_NE(Read(far, file.name(), &out), VRESULT_OK);
  Sequence complex = s;
  complex.type = "complex";
  EXPECT_EQ(Read(complex, file.name(), &out), VERR_PIXEL_TYPE);
  Sequence order = s;
  order.bit_order = "middle";
  EXPECT_EQ(Read(order, file.name(), &out), VERR_CTRL_VALUE(8));
  EXPECT_EQ(Read(s, "/nonexistent/raw/file", &out), VERR_FILE_NOT_FOUND);
  // As a static method, a failure raises.
  EXPECT_EQ(RaisedCode([&] {
              VImage::ReadSequence(0, 4, 3, 0, 0, 4, 3, "byte", "MSBFirst", "MSBFirst",
                                   "byte", 1, "/nonexistent/raw/file");
            }),
            VERR_FILE_NOT_FOUND);
}

}  // namespace
