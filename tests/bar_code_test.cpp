// Linear codes written by the engine's encoder (GS1 DataBar Omnidirectional
// and Expanded by the test's own, databar_encoder.h and
// databar_expanded_encoder.h), scaled to 2..6 pixels per module, turned to
// ten random angles, blurred (sigma 1) and noised (sigma 5) by the runtime's
// operators: every code type must give back its exact content, once, with
// its reading direction and a region at the symbol, as high as its bars
// and as long as the symbol (but not across its quiet zone into clutter).
// A scene without a code gives nothing; the domain limits the search; parameters, models in items
// and bad input are checked.
#include <gtest/gtest.h>

#include <vexaobj.h>

#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "code_test_support.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
using namespace code_test;
using ZXing::BarcodeFormat;

struct LinearCase {
  const char* type;  // the runtime's name
  BarcodeFormat format;
  const char* written;
  const char* decoded;
};

const LinearCase kCases[] = {
    {"EAN-13", BarcodeFormat::EAN13, "4006381333931", "4006381333931"},
    {"EAN-8", BarcodeFormat::EAN8, "96385074", "96385074"},
    {"UPC-A", BarcodeFormat::UPCA, "036000291452", "036000291452"},
    {"UPC-E", BarcodeFormat::UPCE, "04252614", "04252614"},
    {"Code 128", BarcodeFormat::Code128, "VEXA-128 test 42", "VEXA-128 test 42"},
    {"Code 39", BarcodeFormat::Code39, "CODE39 TEST", "CODE39 TEST"},
    {"Code 93", BarcodeFormat::Code93, "CODE93-TEST", "CODE93-TEST"},
    {"Codabar", BarcodeFormat::Codabar, "A40156B", "40156"},  // start/stop not reported
    {"2/5 Interleaved", BarcodeFormat::ITF, "12345678901231", "12345678901231"},
    // Written by the test's own encoder; read as the GTIN-14 with its check digit.
    {"GS1 DataBar Omnidir", BarcodeFormat::DataBar, "2001234567890", "20012345678909"},
    // Read with its application identifiers in parentheses, as written.
    {"GS1 DataBar Expanded", BarcodeFormat::DataBarExpanded,
     "(01)98898765432106(3202)012345(15)991231", "(01)98898765432106(3202)012345(15)991231"},
};

class BarCodeTest : public LeakCheckedTest {
 protected:
  void SetUp() override {
    LeakCheckedTest::SetUp();
    ASSERT_EQ(create_bar_code_model(VTuple(), VTuple(), &model_), VRESULT_OK);
  }
  void TearDown() override {
    EXPECT_EQ(clear_bar_code_model(model_), VRESULT_OK);
    LeakCheckedTest::TearDown();
  }
  Vlong model_ = 0;
};

class BarCodeTypeTest : public BarCodeTest, public ::testing::WithParamInterface<LinearCase> {};

TEST_P(BarCodeTypeTest, DecodesTurnedScaledBlurredNoisyCodes) {
  const LinearCase& c = GetParam();
  std::mt19937 rng(1234);
  for (const auto& [angle, module] : TurnsAndModules(77, 2)) {
    SCOPED_TRACE(std::string(c.type) + " at " + std::to_string(angle) + " deg, module " +
                 std::to_string(module));
    const SceneSetup setup{c.format, c.written, module, angle};
    const Vobject scene = MakeScene(setup, &rng);
    // "auto" must find the code among all types, with its own type.
    Vobject regions;
    VTuple strings, types, orientation;
    ASSERT_EQ(find_bar_code(scene, &regions, model_, "auto", &strings), VRESULT_OK);
    EXPECT_EQ(strings.Num(), 1);
    if (strings.Num() != 1) continue;
    EXPECT_EQ(Str(strings, 0), c.decoded);
    ASSERT_EQ(get_bar_code_result(model_, 0, "decoded_types", &types), VRESULT_OK);
    EXPECT_EQ(Str(types, 0), c.type);
    ASSERT_EQ(get_bar_code_result(model_, 0, "orientation", &orientation), VRESULT_OK);
    EXPECT_LT(AngleGap(orientation[0].D(), angle), 10.0);
    // The region runs through the symbol, whose centre is the image's,
    // and spans the bars' full height and the symbol's full length (the
    // engine may report a part of a GS1 DataBar code).
    Vlong area = 0;
    double row = 0, col = 0;
    ASSERT_EQ(area_center(regions, &area, &row, &col), VRESULT_OK);
    const double centre = (ImageSide(scene) - 1) / 2.0;
    EXPECT_LT(std::hypot(row - centre, col - centre), 20 * module);
    double phi = 0, len1 = 0, len2 = 0;
    ASSERT_EQ(smallest_rectangle2(regions, &row, &col, &phi, &len1, &len2), VRESULT_OK);
    const double to_reading = std::fmod(AngleGap(phi * 180 / M_PI, angle), 180);
    const bool len1_along = to_reading < 45 || to_reading > 135;
    EXPECT_NEAR(2 * (len1_along ? len2 : len1) / SymbolHeight(setup), 1.0, 0.15);
    EXPECT_NEAR(2 * (len1_along ? len1 : len2) / SymbolLength(setup), 1.0, 0.15);
  }
}

INSTANTIATE_TEST_SUITE_P(Types, BarCodeTypeTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) {
                           std::string name;
                           for (const char* p = info.param.type; *p; ++p)
                             if (std::isalnum(static_cast<unsigned char>(*p))) name += *p;
                           return name;
                         });

// Two-pixel modules at 50 angles around the circle, for the types that
// were hardest there: EAN-13 codes lost where the skewed read had to be
// confirmed in a resampled view, Code 93 codes more than 8 degrees from
// every view. Each must decode.
TEST_F(BarCodeTest, TwoPixelModulesDecodeAtEveryAngle) {
  for (const LinearCase& c : {kCases[0], kCases[6]}) {
    SCOPED_TRACE(c.type);
    std::mt19937 rng(77);
    for (double angle = -180; angle < 180; angle += 7.3) {
      const Vobject scene = MakeScene({c.format, c.written, 2, angle}, &rng);
      Vobject regions;
      VTuple strings;
      ASSERT_EQ(find_bar_code(scene, &regions, model_, c.type, &strings), VRESULT_OK);
      EXPECT_EQ(strings.Num(), 1) << angle;
      if (strings.Num() == 1) EXPECT_EQ(Str(strings, 0), c.decoded) << angle;
    }
  }
}

// The outline follows the bars out to the quiet zone but not across it:
// dark stripes of bar width 12 modules beyond either end, as high as the
// bars, stay outside, also for a DataBar code, whose widest element (8
// modules) the outline must cross.
TEST_F(BarCodeTest, OutlineStopsAtTheQuietZone) {
  std::mt19937 rng(9);
  for (const LinearCase& c : {kCases[0], kCases[9]}) {
    SCOPED_TRACE(c.type);
    const SceneSetup setup{c.format, c.written, 3, 30};
    int side = 0;
    std::vector<uint8_t> pixels = DrawSymbol(setup, &side);
    const ZXing::BitMatrix bits = EncodeSymbol(c.format, c.written);
    const int length = bits.width() * kBaseModule, height = SymbolRows(bits) * kBaseModule;
    const int r0 = (side - height) / 2, c0 = (side - length) / 2;
    for (int stripe = 0; stripe < 4; ++stripe) {
      const int offset = (12 + 3 * stripe) * kBaseModule;
      for (const int first : {c0 - offset - 2 * kBaseModule, c0 + length + offset})
        for (int r = r0; r < r0 + height; ++r)
          for (int x = first; x < first + 2 * kBaseModule; ++x)
            pixels[static_cast<size_t>(r) * side + x] = kDark;
    }
    const Vobject scene = FinishScene(setup, pixels, side, &rng);
    Vobject regions;
    VTuple strings;
    ASSERT_EQ(find_bar_code(scene, &regions, model_, c.type, &strings), VRESULT_OK);
    ASSERT_EQ(strings.Num(), 1);
    double row = 0, col = 0, phi = 0, len1 = 0, len2 = 0;
    ASSERT_EQ(smallest_rectangle2(regions, &row, &col, &phi, &len1, &len2), VRESULT_OK);
    EXPECT_NEAR(2 * std::max(len1, len2) / SymbolLength(setup), 1.0, 0.05);
  }
}

TEST_F(BarCodeTest, SceneWithoutCodeGivesNothing) {
  // Text-like clutter: random dark blocks of bar-like widths on light ground.
  std::mt19937 rng(5);
  const int side = 400;
  std::vector<uint8_t> pixels(side * side, kLight);
  std::uniform_int_distribution<int> pos(0, side - 40), len(2, 30);
  for (int k = 0; k < 300; ++k) {
    const int r = pos(rng), c = pos(rng), h = len(rng), w = len(rng) / 4 + 1;
    for (int i = 0; i < h; ++i)
      for (int j = 0; j < w; ++j) pixels[(r + i) * side + c + j] = kDark;
  }
  const Vobject scene = AddNoise(ByteImage(pixels, side, side), 5, &rng);
  Vobject regions;
  VTuple strings;
  ASSERT_EQ(find_bar_code(scene, &regions, model_, "auto", &strings), VRESULT_OK);
  EXPECT_EQ(strings.Num(), 0);
  Vlong num = -1;
  ASSERT_EQ(count_obj(regions, &num), VRESULT_OK);
  EXPECT_EQ(num, 0);
}

TEST_F(BarCodeTest, SearchesOnlyTheDomainAndTheAskedTypes) {
  std::mt19937 rng(9);
  const Vobject scene = MakeScene({BarcodeFormat::EAN13, "4006381333931", 3, 0}, &rng);
  const int side = ImageSide(scene);
  VTuple strings;
  Vobject regions, corner, corner_image, middle, middle_image;
  // A corner far from the code holds none; a box around it does.
  ASSERT_EQ(gen_rectangle1(&corner, 0, 0, 60, 60), VRESULT_OK);
  ASSERT_EQ(reduce_domain(scene, corner, &corner_image), VRESULT_OK);
  ASSERT_EQ(find_bar_code(corner_image, &regions, model_, "EAN-13", &strings), VRESULT_OK);
  EXPECT_EQ(strings.Num(), 0);
  const double c = side / 2.0;
  ASSERT_EQ(gen_rectangle1(&middle, c - 250, c - 250, c + 250, c + 250), VRESULT_OK);
  ASSERT_EQ(reduce_domain(scene, middle, &middle_image), VRESULT_OK);
  ASSERT_EQ(find_bar_code(middle_image, &regions, model_, "EAN-13", &strings), VRESULT_OK);
  ASSERT_EQ(strings.Num(), 1);
  EXPECT_EQ(Str(strings, 0), "4006381333931");
  // Asking for other types only finds nothing.
  VTuple others;
  others.Append(VTuple("Code 128")).Append(VTuple("EAN-8"));
  ASSERT_EQ(find_bar_code(scene, &regions, VTuple(model_), others, &strings), VRESULT_OK);
  EXPECT_EQ(strings.Num(), 0);
}

TEST_F(BarCodeTest, FiltersByLengthAndOrientation) {
  std::mt19937 rng(11);
  const Vobject scene = MakeScene({BarcodeFormat::Code128, "AB12", 3, 40}, &rng);
  VTuple strings;
  Vobject regions;
  ASSERT_EQ(set_bar_code_param_specific(model_, "Code 128", "min_code_length", 5), VRESULT_OK);
  ASSERT_EQ(find_bar_code(scene, &regions, model_, "Code 128", &strings), VRESULT_OK);
  EXPECT_EQ(strings.Num(), 0);
  ASSERT_EQ(set_bar_code_param_specific(model_, "Code 128", "min_code_length", 4), VRESULT_OK);
  ASSERT_EQ(find_bar_code(scene, &regions, model_, "Code 128", &strings), VRESULT_OK);
  EXPECT_EQ(strings.Num(), 1);
  // The code reads at 40 degrees: an expectation of -50 +- 20 drops it.
  ASSERT_EQ(set_bar_code_param(model_, "orientation", -50.0), VRESULT_OK);
  ASSERT_EQ(set_bar_code_param(model_, "orientation_tol", 20.0), VRESULT_OK);
  ASSERT_EQ(find_bar_code(scene, &regions, model_, "Code 128", &strings), VRESULT_OK);
  EXPECT_EQ(strings.Num(), 0);
  ASSERT_EQ(set_bar_code_param(model_, "orientation", 30.0), VRESULT_OK);
  ASSERT_EQ(find_bar_code(scene, &regions, model_, "Code 128", &strings), VRESULT_OK);
  EXPECT_EQ(strings.Num(), 1);
  // What the filters refused stays a candidate.
  Vobject candidates;
  Vlong num = 0;
  ASSERT_EQ(get_bar_code_object(&candidates, VTuple(model_), VTuple("all"),
                                VTuple("candidate_regions")),
            VRESULT_OK);
  ASSERT_EQ(count_obj(candidates, &num), VRESULT_OK);
  EXPECT_GE(num, 1);
}

TEST_F(BarCodeTest, DecodesInsideARotatedRectangle) {
  std::mt19937 rng(13);
  const double angle = 117;
  const Vobject scene = MakeScene({BarcodeFormat::EAN8, "96385074", 3, angle}, &rng);
  const double c = (ImageSide(scene) - 1) / 2.0, phi = angle * M_PI / 180;
  VTuple strings;
  ASSERT_EQ(decode_bar_code_rectangle2(scene, model_, "EAN-8", c, c, phi, 130, 70, &strings),
            VRESULT_OK);
  ASSERT_EQ(strings.Num(), 1);
  EXPECT_EQ(Str(strings, 0), "96385074");
  // A rectangle beside the code holds none.
  ASSERT_EQ(decode_bar_code_rectangle2(scene, model_, "EAN-8", 40, 40, phi, 30, 20, &strings),
            VRESULT_OK);
  EXPECT_EQ(strings.Num(), 0);
}

TEST_F(BarCodeTest, ParametersGeneralAndPerType) {
  double v = 0;
  ASSERT_EQ(get_bar_code_param(model_, "persistence", &v), VRESULT_OK);
  EXPECT_EQ(v, 1);
  ASSERT_EQ(set_bar_code_param(model_, "min_code_length", 3.0), VRESULT_OK);
  ASSERT_EQ(set_bar_code_param_specific(model_, "EAN-8", "min_code_length", 8), VRESULT_OK);
  VTuple types, values;
  types.Append(VTuple("EAN-13")).Append(VTuple("EAN-8"));
  ASSERT_EQ(get_bar_code_param_specific(VTuple(model_), types, VTuple("min_code_length"), &values),
            VRESULT_OK);
  ASSERT_EQ(values.Num(), 2);
  EXPECT_EQ(values[0].D(), 3);
  EXPECT_EQ(values[1].D(), 8);
  // Differing per-type values come back one per type.
  ASSERT_EQ(get_bar_code_param(VTuple(model_), VTuple("min_code_length"), &values), VRESULT_OK);
  EXPECT_EQ(values.Num(), 11);
  VTuple names;
  ASSERT_EQ(query_bar_code_params(model_, "specific", &names), VRESULT_OK);
  ASSERT_EQ(names.Num(), 2);
  EXPECT_EQ(Str(names, 0), "min_code_length");
  // A bad pair leaves the model unchanged.
  VTuple pn, pv;
  pn.Append(VTuple("persistence")).Append(VTuple("orientation_tol"));
  pv.Append(VTuple(0.0)).Append(VTuple(500.0));
  EXPECT_EQ(set_bar_code_param(VTuple(model_), pn, pv), VERR_CTRL_VALUE(2));
  ASSERT_EQ(get_bar_code_param(model_, "persistence", &v), VRESULT_OK);
  EXPECT_EQ(v, 1);
}

TEST_F(BarCodeTest, ModelsTravelAsItemsAndFiles) {
  ASSERT_EQ(set_bar_code_param_specific(model_, "Code 39", "check_char", 1), VRESULT_OK);
  ASSERT_EQ(set_bar_code_param(model_, "stop_after_result_num", 2.0), VRESULT_OK);
  Vlong item = 0, copy = 0, read = 0;
  ASSERT_EQ(serialize_bar_code_model(model_, &item), VRESULT_OK);
  ASSERT_EQ(deserialize_bar_code_model(item, &copy), VRESULT_OK);
  char path[] = "/tmp/vexa_bar_code_model_XXXXXX";
  const int fd = mkstemp(path);
  ASSERT_GE(fd, 0);
  close(fd);
  ASSERT_EQ(write_bar_code_model(model_, path), VRESULT_OK);
  ASSERT_EQ(read_bar_code_model(path, &read), VRESULT_OK);
  std::remove(path);
  for (Vlong m : {copy, read}) {
    double v = 0;
    VTuple values;
    ASSERT_EQ(get_bar_code_param(m, "stop_after_result_num", &v), VRESULT_OK);
    EXPECT_EQ(v, 2);
    ASSERT_EQ(get_bar_code_param_specific(VTuple(m), VTuple("Code 39"), VTuple("check_char"),
                                          &values),
              VRESULT_OK);
    EXPECT_EQ(values[0].D(), 1);
    EXPECT_EQ(clear_bar_code_model(m), VRESULT_OK);
  }
  // A data code model cannot be read from a bar code item.
  Vlong data_model = 0;
  EXPECT_EQ(deserialize_data_code_2d_model(item, &data_model), VERR_DATA_KIND);
  EXPECT_EQ(clear_serialized_item(item), VRESULT_OK);
}

TEST_F(BarCodeTest, RefusesBadInput) {
  Vlong data_model = 0;
  ASSERT_EQ(create_data_code_2d_model(VTuple("QR Code"), VTuple(), VTuple(), &data_model),
            VRESULT_OK);
  std::vector<uint8_t> pixels(64 * 64, kLight);
  const Vobject image = ByteImage(pixels, 64, 64);
  Vobject regions, real_image;
  VTuple strings;
  EXPECT_EQ(find_bar_code(image, &regions, data_model, "auto", &strings), VERR_HANDLE_TYPE);
  EXPECT_EQ(find_bar_code(image, &regions, model_, "Code 11", &strings), VERR_CTRL_VALUE(1));
  EXPECT_EQ(find_bar_code(image, &regions, model_, "Micro QR Code", &strings), VERR_CTRL_VALUE(1));
  ASSERT_EQ(convert_image_type(image, &real_image, "real"), VRESULT_OK);
  EXPECT_EQ(find_bar_code(real_image, &regions, model_, "auto", &strings), VERR_PIXEL_TYPE);
  EXPECT_EQ(set_bar_code_param(model_, "no_such_param", 1.0), VERR_CTRL_VALUE(1));
  EXPECT_EQ(set_bar_code_param(model_, "persistence", 0.5), VERR_CTRL_VALUE(2));
  EXPECT_EQ(set_bar_code_param_specific(model_, "EAN-13", "persistence", 1), VERR_CTRL_VALUE(2));
  EXPECT_EQ(get_bar_code_result(VTuple(model_), VTuple(0), VTuple("decoded_strings"), &strings),
            VERR_CTRL_VALUE(1));  // nothing found yet
  EXPECT_EQ(get_bar_code_result(VTuple(model_), VTuple("all"), VTuple("colour"), &strings),
            VERR_CTRL_VALUE(2));
  // Print quality grades are not measured.
  EXPECT_EQ(get_bar_code_result(VTuple(model_), VTuple("all"), VTuple("quality_isoiec15416"),
                                &strings),
            VERR_CODE_RESULT_NA);
  EXPECT_EQ(decode_bar_code_rectangle2(image, model_, "EAN-13", 30, 30, 0, -4, 10, &strings),
            VERR_CTRL_VALUE(5));
  EXPECT_EQ(clear_data_code_2d_model(data_model), VRESULT_OK);
}

}  // namespace
