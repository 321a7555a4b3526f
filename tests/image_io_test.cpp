// read_image and write_image through the procedural functions: exact round
// trips of every lossless format and pixel type (pixels outside the domain
// written as the fill colour), the native format's domain, JPEG within a
// bounded error, file names and error codes, and damaged files (cut at
// many lengths, bytes flipped) that must give a file error code or a valid
// image, never a crash, a leak or a stray object.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

using namespace Vexa;
using vexa::PixelBuffer;
using vexa::PixelType;
using Bytes = std::vector<unsigned char>;

constexpr int kW = 37, kH = 23;  // odd sizes: rows and tiles do not divide evenly
constexpr Vlong kFill = 77;      // fits every pixel type

// Objects and traced memory are back where they were when a test ends;
// every test works in a temporary directory of its own.
class ImageIoTest : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/image_io_test_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    dir_ = pattern;
    VTraceMemory = 1;
    live_ = VMemTraceLiveCount();
    stats_ = vexa::db::GetStats();
  }
  void TearDown() override {
    EXPECT_EQ(VMemTraceLiveCount(), live_);
    VTraceMemory = 0;
    const vexa::db::Stats now = vexa::db::GetStats();
    EXPECT_EQ(now.regions, stats_.regions);
    EXPECT_EQ(now.images, stats_.images);
    EXPECT_EQ(now.tuples, stats_.tuples);
    EXPECT_EQ(now.channels, stats_.channels);
    std::filesystem::remove_all(dir_);
  }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }

  std::string dir_;
  Vlong live_ = 0;
  vexa::db::Stats stats_;
};

// A disc with a slot through it: rows with two runs, rows with none.
bool InDomain(int r, int c) {
  const int d2 = (r - 11) * (r - 11) + (c - 18) * (c - 18);
  return d2 <= 10 * 10 && !(c >= 16 && c <= 19 && r > 4);
}

vexa::RegionPtr Domain() {
  std::vector<vexa::Chord> chords;
  for (int r = 0; r < kH; ++r)
    for (int c = 0; c < kW; ++c)
      if (InDomain(r, c)) chords.push_back({r, c, c});
  return vexa::Region::FromChords(chords);
}

bool IsFloat(PixelType t) { return t == PixelType::kReal || t == PixelType::kComplex; }

// Random pixels: any bit pattern for integer types, floats of both signs
// for real and complex (both planes).
std::unique_ptr<PixelBuffer> RandomChannel(PixelType type, std::mt19937& rng) {
  std::unique_ptr<PixelBuffer> b;
  EXPECT_EQ(PixelBuffer::Create(type, kW, kH, &b), VRESULT_OK);
  if (IsFloat(type)) {
    std::uniform_real_distribution<float> value(-1000.0f, 1000.0f);
    for (size_t i = 0; i < b->pixel_bytes(); i += 4) {
      const float f = value(rng);
      std::memcpy(b->data() + i, &f, 4);
    }
  } else {
    for (size_t i = 0; i < b->pixel_bytes(); ++i)
      b->data()[i] = static_cast<unsigned char>(rng());
  }
  return b;
}

// An image of random channels on Domain() (or the full image).
Vobject RandomImage(PixelType type, int channels, uint32_t seed, bool reduced) {
  std::mt19937 rng(seed);
  std::vector<std::unique_ptr<PixelBuffer>> buffers;
  for (int i = 0; i < channels; ++i) buffers.push_back(RandomChannel(type, rng));
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImage(reduced ? Domain() : nullptr, std::move(buffers), &key),
            VRESULT_OK);
  return Vobject(key, 1);
}

vexa::db::ImageData Data(const Vobject& image) {
  vexa::db::ImageData data;
  EXPECT_EQ(vexa::db::GetImage(image.Id(), &data), VRESULT_OK);
  return data;
}

// The bytes of pixel (r, c), both planes for complex.
std::string Sample(const PixelBuffer& b, int r, int c) {
  const size_t index = static_cast<size_t>(r) * b.width() + c;
  if (b.type() == PixelType::kComplex) {
    const auto* plane = b.data();
    return std::string(reinterpret_cast<const char*>(plane + index * 4), 4) +
           std::string(reinterpret_cast<const char*>(plane + (b.num_pixels() + index) * 4), 4);
  }
  const size_t size = vexa::PixelSize(b.type());
  return std::string(reinterpret_cast<const char*>(b.data() + index * size), size);
}

// Every pixel of `got` is the original inside the domain and the fill
// colour outside it.
void ExpectWrittenPixels(const Vobject& original, const Vobject& got) {
  const vexa::db::ImageData a = Data(original), b = Data(got);
  ASSERT_EQ(a.channels.size(), b.channels.size());
  for (size_t ch = 0; ch < a.channels.size(); ++ch) {
    ASSERT_EQ(b.channels[ch]->width(), kW);
    ASSERT_EQ(b.channels[ch]->height(), kH);
    int wrong = 0;
    for (int r = 0; r < kH; ++r) {
      for (int c = 0; c < kW; ++c) {
        const bool ok = InDomain(r, c)
                            ? Sample(*a.channels[ch], r, c) == Sample(*b.channels[ch], r, c)
                            : b.channels[ch]->Get(r, c) == kFill &&
                                  b.channels[ch]->GetImaginary(r, c) == 0;
        wrong += !ok;
      }
    }
    EXPECT_EQ(wrong, 0) << "channel " << ch;
  }
}

Bytes Load(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(in), {});
}

void Save(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

// ---- Lossless round trips ---------------------------------------------------

struct RoundTrip {
  const char* format;
  PixelType type;
  int channels;
  PixelType read_type;  // what the file gives back
  bool keeps_domain;
};

std::string CaseName(const RoundTrip& t) {
  std::string name = std::string(t.format) + "_" + vexa::PixelTypeName(t.type) + "_" +
                     std::to_string(t.channels);
  for (char& ch : name)
    if (ch == ' ') ch = '_';
  return name;
}

std::vector<RoundTrip> RoundTrips() {
  using T = PixelType;
  std::vector<RoundTrip> cases;
  for (int ch = 1; ch <= 4; ++ch) {
    cases.push_back({"png", T::kByte, ch, T::kByte, false});
    cases.push_back({"png", T::kUInt2, ch, T::kUInt2, false});
  }
  for (T t : {T::kByte, T::kInt1, T::kInt2, T::kUInt2, T::kInt4, T::kInt8, T::kReal})
    for (int ch : {1, 3}) cases.push_back({"tiff", t, ch, t, false});
  cases.push_back({"tiff planar", T::kByte, 3, T::kByte, false});
  cases.push_back({"tiff planar", T::kReal, 2, T::kReal, false});
  cases.push_back({"tiff lzw", T::kUInt2, 4, T::kUInt2, false});
  cases.push_back({"tiff deflate", T::kInt4, 1, T::kInt4, false});
  cases.push_back({"tiff packbits", T::kByte, 3, T::kByte, false});
  cases.push_back({"tiff planar deflate", T::kInt2, 5, T::kInt2, false});
  cases.push_back({"tiff tiled", T::kUInt2, 3, T::kUInt2, false});
  cases.push_back({"tiff tiled planar lzw", T::kReal, 2, T::kReal, false});
  for (const char* f : {"pgm", "pgm ascii"}) {
    cases.push_back({f, T::kByte, 1, T::kByte, false});
    cases.push_back({f, T::kUInt2, 1, T::kUInt2, false});
  }
  for (const char* f : {"ppm", "ppm ascii"}) {
    cases.push_back({f, T::kByte, 3, T::kByte, false});
    cases.push_back({f, T::kUInt2, 3, T::kUInt2, false});
  }
  for (int t = 0; t <= static_cast<int>(T::kCyclic); ++t)
    for (int ch : {1, 3}) cases.push_back({"native", static_cast<T>(t), ch, static_cast<T>(t), true});
  return cases;
}

class LosslessRoundTrip : public ImageIoTest,
                          public ::testing::WithParamInterface<RoundTrip> {};

TEST_P(LosslessRoundTrip, GivesBackEveryPixelAndTheFillOutsideTheDomain) {
  const RoundTrip& t = GetParam();
  Vobject image = RandomImage(t.type, t.channels, 7, true);
  // No extension: write_image adds the format's, read_image finds it.
  ASSERT_EQ(write_image(image, t.format, kFill, Path("picture").c_str()), VRESULT_OK);
  Vobject back;
  ASSERT_EQ(read_image(&back, Path("picture").c_str()), VRESULT_OK);

  const vexa::db::ImageData data = Data(back);
  ASSERT_FALSE(data.channels.empty());
  EXPECT_EQ(data.channels[0]->type(), t.read_type);
  ExpectWrittenPixels(image, back);
  EXPECT_EQ(data.domain->chords(),
            t.keeps_domain ? Domain()->chords()
                           : vexa::Region::Rectangle(0, 0, kH - 1, kW - 1)->chords());
}

INSTANTIATE_TEST_SUITE_P(Formats, LosslessRoundTrip, ::testing::ValuesIn(RoundTrips()),
                         [](const ::testing::TestParamInfo<RoundTrip>& info) {
                           return CaseName(info.param);
                         });

// ---- JPEG -------------------------------------------------------------------

TEST_F(ImageIoTest, JpegStaysWithinABoundedErrorOfASmoothImage) {
  for (int channels : {1, 3}) {
    std::vector<std::unique_ptr<PixelBuffer>> buffers;
    for (int ch = 0; ch < channels; ++ch) {
      std::unique_ptr<PixelBuffer> b;
      ASSERT_EQ(PixelBuffer::Create(PixelType::kByte, kW, kH, &b), VRESULT_OK);
      for (int r = 0; r < kH; ++r)
        for (int c = 0; c < kW; ++c)
          b->Set(r, c, 128 + 90 * std::sin(r / 5.0 + ch) * std::cos(c / 7.0));
      buffers.push_back(std::move(b));
    }
    Vkey key = VKEY_UNDEF;
    ASSERT_EQ(vexa::db::NewImage(nullptr, std::move(buffers), &key), VRESULT_OK);
    Vobject image(key, 1);
    ASSERT_EQ(write_image(image, "jpeg 95", 0, Path("smooth.jpg").c_str()), VRESULT_OK);
    Vobject back;
    ASSERT_EQ(read_image(&back, Path("smooth.jpg").c_str()), VRESULT_OK);

    const vexa::db::ImageData a = Data(image), b = Data(back);
    ASSERT_EQ(b.channels.size(), static_cast<size_t>(channels));
    ASSERT_EQ(b.channels[0]->type(), PixelType::kByte);
    double sum = 0, worst = 0;
    for (int ch = 0; ch < channels; ++ch) {
      for (int r = 0; r < kH; ++r) {
        for (int c = 0; c < kW; ++c) {
          const double e = std::fabs(a.channels[ch]->Get(r, c) - b.channels[ch]->Get(r, c));
          sum += e;
          worst = std::max(worst, e);
        }
      }
    }
    EXPECT_LT(sum / (channels * kW * kH), 2.0) << channels << " channels";
    EXPECT_LT(worst, 20.0) << channels << " channels";
  }
}

// ---- Names and several images ---------------------------------------------

TEST_F(ImageIoTest, SeveralImagesGoToOneFileEachAndComeBackInOrder) {
  Vobject first = RandomImage(PixelType::kByte, 1, 1, false);
  Vobject second = RandomImage(PixelType::kByte, 3, 2, false);
  const Vkey keys[] = {first.Id(), second.Id()};
  Vkey both_key = VKEY_UNDEF;
  ASSERT_EQ(vexa::db::NewTuple(keys, 2, &both_key), VRESULT_OK);
  Vobject both(both_key, 1);

  VTuple names(Path("one.png").c_str());
  names.Append(Path("two.png").c_str());
  VTuple three = names;
  three.Append(Path("three.png").c_str());
  EXPECT_EQ(write_image(both, "png", kFill, three), VERR_CTRL_NUM(2));
  EXPECT_FALSE(std::filesystem::exists(Path("one.png")));
  ASSERT_EQ(write_image(both, "png", kFill, names), VRESULT_OK);

  Vobject back;
  ASSERT_EQ(read_image(&back, names), VRESULT_OK);
  Vkey* read_keys = nullptr;
  Vlong count = 0;
  ASSERT_EQ(vexa::db::FetchTuple(back.Id(), &read_keys, &count), VRESULT_OK);
  ASSERT_EQ(count, 2);
  for (int i = 0; i < 2; ++i) {
    vexa::db::ImageData data;
    ASSERT_EQ(vexa::db::GetImage(read_keys[i], &data), VRESULT_OK);
    EXPECT_EQ(data.channels.size(), i == 0 ? 1u : 3u);
  }
}

TEST_F(ImageIoTest, FormatIsToldByContentsNotByExtension) {
  Vobject image = RandomImage(PixelType::kUInt2, 2, 3, true);
  // A PNG under a TIFF name, a native file under a JPEG name.
  ASSERT_EQ(write_image(image, "png", kFill, Path("misnamed.tif").c_str()), VRESULT_OK);
  ASSERT_EQ(write_image(image, "native", kFill, Path("misnamed.jpg").c_str()), VRESULT_OK);
  for (const char* name : {"misnamed.tif", "misnamed.jpg"}) {
    Vobject back;
    ASSERT_EQ(read_image(&back, Path(name).c_str()), VRESULT_OK) << name;
    ExpectWrittenPixels(image, back);
  }
}

// ---- Error codes ----------------------------------------------------------

TEST_F(ImageIoTest, BadRequestsAndBadFilesGiveTheirCodes) {
  Vobject gray = RandomImage(PixelType::kByte, 1, 4, false);
  Vobject two = RandomImage(PixelType::kByte, 2, 5, false);
  Vobject real = RandomImage(PixelType::kReal, 1, 6, false);
  const std::string out = Path("out");
  // Formats the image does not fit.
  EXPECT_EQ(write_image(real, "png", 0, out.c_str()), VERR_PIXEL_TYPE);
  EXPECT_EQ(write_image(real, "jpeg", 0, out.c_str()), VERR_PIXEL_TYPE);
  EXPECT_EQ(write_image(RandomImage(PixelType::kComplex, 1, 1, false), "tiff", 0, out.c_str()),
            VERR_PIXEL_TYPE);
  EXPECT_EQ(write_image(two, "jpeg", 0, out.c_str()), VERR_CHANNEL);
  EXPECT_EQ(write_image(two, "ppm", 0, out.c_str()), VERR_CHANNEL);
  EXPECT_EQ(write_image(gray, "ppm", 0, out.c_str()), VERR_CHANNEL);
  EXPECT_EQ(write_image(RandomImage(PixelType::kByte, 5, 1, false), "png", 0, out.c_str()),
            VERR_CHANNEL);
  // Format texts.
  for (const char* bad : {"", "gif", "jpeg 101", "jpeg 9x", "jpeg 80 90", "png 16",
                          "tiff planar planar", "tiff lzw deflate", "pgm binary"})
    EXPECT_EQ(write_image(gray, bad, 0, out.c_str()), VERR_CTRL_VALUE(0)) << bad;
  EXPECT_FALSE(std::filesystem::exists(out + ".png"));
  EXPECT_EQ(write_image(gray, "png", 0, Path("no/such/dir/x.png").c_str()), VERR_FILE_WRITE);
  EXPECT_EQ(write_image(Vobject(), "png", 0, out.c_str()), VERR_OBJ_NUM(1));

  Vobject back;
  EXPECT_EQ(read_image(&back, Path("absent").c_str()), VERR_FILE_NOT_FOUND);
  EXPECT_EQ(read_image(&back, Path("absent.png").c_str()), VERR_FILE_NOT_FOUND);
  EXPECT_EQ(read_image(&back, dir_.c_str()), VERR_FILE_READ);
  EXPECT_EQ(read_image(&back, VTuple()), VERR_CTRL_NUM(0));

  const std::vector<std::pair<std::string, Vresult>> files = {
      {"", VERR_FILE_FORMAT},
      {"GIF89a......", VERR_FILE_FORMAT},
      {std::string("\x89PN", 3), VERR_FILE_TRUNCATED},
      {"P1\n2 2\n0 1 1 0\n", VERR_FILE_UNSUPPORTED},
      {"P2\n2 1\n100\n50 101\n", VERR_FILE_CORRUPT},
      {"P2\n2 1\n100\n50", VERR_FILE_TRUNCATED},
      {"P5\n2 2\n255\n\x01\x02\x03", VERR_FILE_TRUNCATED},
      {"P5\n2 2\n0\n\x01\x02\x03\x04", VERR_FILE_CORRUPT},
      {"P6\n40000 2\n255\n", VERR_TOO_LARGE},
      {"P5\n30000 30000\n255\n\x01", VERR_FILE_CORRUPT},  // claims far more than it holds
  };
  for (const auto& [contents, code] : files) {
    Save(Path("bad"), Bytes(contents.begin(), contents.end()));
    EXPECT_EQ(read_image(&back, Path("bad").c_str()), code) << contents;
  }
  // A native file with one byte changed fails its checksum.
  ASSERT_EQ(write_image(gray, "native", 0, Path("good.vxi").c_str()), VRESULT_OK);
  Bytes native = Load(Path("good.vxi"));
  native[native.size() / 2] ^= 0x10;
  Save(Path("bad.vxi"), native);
  EXPECT_EQ(read_image(&back, Path("bad.vxi").c_str()), VERR_FILE_CORRUPT);
}

// A tiled file whose tile shape claims far more than the file could hold is
// refused before the tile buffer is made, whatever the image size says.
TEST_F(ImageIoTest, TileShapeLargerThanTheFileCanHoldIsCorrupt) {
  ASSERT_EQ(write_image(RandomImage(PixelType::kByte, 3, 7, false), "tiff tiled", 0,
                        Path("tiled.tif").c_str()),
            VRESULT_OK);
  Bytes file = Load(Path("tiled.tif"));
  ASSERT_EQ(file[0], 'I');  // little-endian: the directory offset is at byte 4
  const auto u16 = [&file](size_t at) { return file[at] | file[at + 1] << 8; };
  const size_t dir = file[4] | file[5] << 8 | file[6] << 16 | file[7] << 24;
  int patched = 0;
  for (int e = 0; e < u16(dir); ++e) {
    const size_t entry = dir + 2 + 12 * e;
    const int tag = u16(entry);
    if (tag != 322 && tag != 323) continue;  // tile width and tile length
    // A long value of 2^28, a multiple of 16 as tile sides must be: the
    // buffer it asks for cannot be allocated at all.
    file[entry + 2] = 4;
    file[entry + 3] = 0;
    file[entry + 8] = file[entry + 9] = file[entry + 10] = 0;
    file[entry + 11] = 0x10;
    ++patched;
  }
  ASSERT_EQ(patched, 2);
  Save(Path("huge.tif"), file);
  Vobject back;
  EXPECT_EQ(read_image(&back, Path("huge.tif").c_str()), VERR_FILE_CORRUPT);
}

// ---- Damaged files ----------------------------------------------------------

struct Damage {
  const char* format;
  PixelType type;
  int channels;
  bool every_byte_counts;  // any cut must fail (no padding, no text numbers)
};

class DamagedFiles : public ImageIoTest, public ::testing::WithParamInterface<Damage> {
 protected:
  // Reads `bytes` as a file: a file error code, or an image of sane shape.
  Vresult ReadBack(const Bytes& bytes) {
    Save(Path("damaged"), bytes);
    Vobject back;
    const Vresult rc = read_image(&back, Path("damaged").c_str());
    if (rc == VRESULT_OK) {
      const vexa::db::ImageData data = Data(back);
      EXPECT_FALSE(data.channels.empty());
      EXPECT_GT(data.channels[0]->num_pixels(), 0);
    } else {
      EXPECT_TRUE(rc == VERR_FILE_TRUNCATED || rc == VERR_FILE_CORRUPT ||
                  rc == VERR_FILE_UNSUPPORTED || rc == VERR_FILE_FORMAT ||
                  rc == VERR_TOO_LARGE)
          << "code " << rc;
    }
    return rc;
  }
};

TEST_P(DamagedFiles, GiveAFileErrorOrAValidImage) {
  const Damage& d = GetParam();
  Vobject image = RandomImage(d.type, d.channels, 11, true);
  ASSERT_EQ(write_image(image, d.format, kFill, Path("good").c_str()), VRESULT_OK);
  const std::string written =
      std::filesystem::directory_iterator(dir_)->path().string();
  const Bytes good = Load(written);
  ASSERT_GT(good.size(), 64u);

  // Cuts: every length within the headers, then spread over the rest.
  std::vector<size_t> lengths;
  for (size_t n = 0; n < 64; ++n) lengths.push_back(n);
  for (size_t i = 1; i < 40; ++i) lengths.push_back(64 + (good.size() - 65) * i / 40);
  lengths.push_back(good.size() - 1);
  for (size_t n : lengths) {
    const Vresult rc = ReadBack(Bytes(good.begin(), good.begin() + n));
    if (d.every_byte_counts) {
      EXPECT_NE(rc, VRESULT_OK) << "cut at " << n;
    }
  }

  // Flips of one to four random bytes, headers and data alike.
  std::mt19937 rng(1234);
  for (int round = 0; round < 150; ++round) {
    Bytes damaged = good;
    const int flips = 1 + round % 4;
    for (int i = 0; i < flips; ++i) {
      // Half of the flips land in the first 64 bytes, where headers are.
      const size_t at = round % 2 ? rng() % 64 : rng() % damaged.size();
      damaged[at] ^= static_cast<unsigned char>(1 + rng() % 255);
    }
    const Vresult rc = ReadBack(damaged);
    if (std::string(d.format) == "native") {
      EXPECT_NE(rc, VRESULT_OK) << "round " << round;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, DamagedFiles,
    ::testing::Values(Damage{"png", PixelType::kByte, 3, true},
                      Damage{"png", PixelType::kUInt2, 2, true},
                      Damage{"jpeg", PixelType::kByte, 3, true},
                      Damage{"jpeg 50", PixelType::kByte, 1, true},
                      Damage{"tiff", PixelType::kInt2, 3, false},
                      Damage{"tiff planar lzw", PixelType::kByte, 4, false},
                      Damage{"tiff deflate", PixelType::kReal, 1, false},
                      Damage{"tiff tiled lzw", PixelType::kByte, 3, false},
                      Damage{"pgm", PixelType::kUInt2, 1, true},
                      Damage{"ppm ascii", PixelType::kByte, 3, false},
                      Damage{"native", PixelType::kInt2, 2, true}),
    [](const ::testing::TestParamInfo<Damage>& info) {
      std::string name = std::string(info.param.format) + "_" + std::to_string(info.index);
      for (char& ch : name)
        if (ch == ' ') ch = '_';
      return name;
    });

}  // namespace
