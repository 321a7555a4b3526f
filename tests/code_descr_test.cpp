// The description operators of linear and 2D codes on scenes written by
// the engine's encoder (turned, blurred and noised like the model tests):
// found codes decode, their measured elements and module grids equal the
// encoder's own, element widths and module data decode back to the
// content; malformed descriptions, elements and grids are refused.
#include <gtest/gtest.h>

#include <vexaobj.h>

#include <cmath>

#include "code_test_support.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
using namespace code_test;
using ZXing::BarcodeFormat;

// Run lengths of the encoder's modules, a bar first.
std::vector<Vlong> EncodedRuns(BarcodeFormat format, const std::string& content) {
  const ZXing::BitMatrix bits = ZXing::MultiFormatWriter(format).setMargin(0).encode(content, 0, 0);
  std::vector<Vlong> runs;
  for (int x = 0; x < bits.width(); ++x) {
    if (x == 0 || bits.get(x, 0) != bits.get(x - 1, 0)) runs.push_back(0);
    ++runs.back();
  }
  return runs;
}

// The first n values of t.
VTuple Head(const VTuple& t, Vlong n) {
  VTuple head;
  for (Vlong i = 0; i < n; ++i) head.Append(VTuple(t[i]));
  return head;
}

std::vector<Vlong> Longs(const VTuple& t) {
  std::vector<Vlong> v;
  for (Vlong i = 0; i < t.Num(); ++i) v.push_back(t[i].L());
  return v;
}

class CodeDescrTest : public LeakCheckedTest {};

// --- linear codes ---------------------------------------------------------

struct LinearDescrCase {
  const char* type;
  BarcodeFormat format;
  const char* content;
  double angle;
};

TEST_F(CodeDescrTest, FindsLinearCodesAndMeasuresTheirElements) {
  const LinearDescrCase cases[] = {{"EAN-13", BarcodeFormat::EAN13, "4006381333931", 25},
                                   {"Code 128", BarcodeFormat::Code128, "VEXA-128", -120},
                                   {"Code 39", BarcodeFormat::Code39, "CODE39", 70},
                                   {"2/5 Interleaved", BarcodeFormat::ITF, "12345678901231", 160}};
  std::mt19937 rng(17);
  for (const LinearDescrCase& c : cases) {
    SCOPED_TRACE(c.type);
    const Vobject scene = MakeScene({c.format, c.content, 4, c.angle}, &rng);
    VTuple descr, found, elements, orientation;
    ASSERT_EQ(gen_1d_bar_code_descr(c.type, 1, 0, &descr), VRESULT_OK);
    Vobject regions;
    ASSERT_EQ(find_1d_bar_code(scene, &regions, descr, VTuple(), VTuple(), &found, &elements,
                               &orientation),
              VRESULT_OK);
    ASSERT_EQ(found.Num(), 1);
    EXPECT_EQ(Str(found, 0), c.content);
    EXPECT_LT(AngleGap(orientation[0].D() * 180 / M_PI, c.angle), 5.0);
    // Every element counted, each a whole number of the encoder's modules.
    const std::vector<Vlong> runs = EncodedRuns(c.format, c.content);
    ASSERT_EQ(elements.Num(), static_cast<Vlong>(runs.size()));
    VTuple discrete, decoded, reference, check;
    ASSERT_EQ(discrete_1d_bar_code(elements, descr, &discrete), VRESULT_OK);
    EXPECT_EQ(Longs(discrete), runs);
    // The measured widths decode on their own.
    ASSERT_EQ(decode_1d_bar_code(elements, descr, &decoded, &reference, &check), VRESULT_OK);
    EXPECT_EQ(Str(decoded, 0), c.content);
    const bool optional_check = c.format == BarcodeFormat::Code39 || c.format == BarcodeFormat::ITF;
    EXPECT_EQ(Str(check, 0), optional_check ? "not checked" : "correct");
  }
}

TEST_F(CodeDescrTest, ReadsScanLinesOfAFoundRegion) {
  std::mt19937 rng(23);
  const Vobject scene = MakeScene({BarcodeFormat::EAN13, "4006381333931", 3, 35}, &rng);
  VTuple descr, orientation;
  ASSERT_EQ(gen_1d_bar_code_descr("EAN-13", 13, 13, &descr), VRESULT_OK);
  Vobject regions, domain;
  ASSERT_EQ(find_1d_bar_code_region(scene, &regions, descr, VTuple(), VTuple(), &orientation),
            VRESULT_OK);
  ASSERT_EQ(orientation.Num(), 1);
  EXPECT_LT(AngleGap(orientation[0].D() * 180 / M_PI, 35), 5.0);
  // The region alone, read along the found orientation.
  ASSERT_EQ(reduce_domain(scene, regions, &domain), VRESULT_OK);
  VTuple elements, decoded, reference, check;
  ASSERT_EQ(get_1d_bar_code(domain, descr, VTuple(), VTuple(), orientation, &elements), VRESULT_OK);
  ASSERT_EQ(decode_1d_bar_code(elements, descr, &decoded, &reference, &check), VRESULT_OK);
  EXPECT_EQ(Str(decoded, 0), "4006381333931");
  ASSERT_EQ(reference.Num(), 13);
  EXPECT_EQ(reference[0].L(), '4');
  // Five scan lines, each with an edge per element boundary, all decoding;
  // with stop_if_found only the first.
  VTuple num_points, line_decoded, rows, cols;
  ASSERT_EQ(get_1d_bar_code_scanline(domain, descr, VTuple(), VTuple(), orientation, "false",
                                     &elements, &num_points, &line_decoded, &rows, &cols),
            VRESULT_OK);
  ASSERT_EQ(num_points.Num(), 5);
  Vlong total = 0;
  for (Vlong i = 0; i < 5; ++i) {
    EXPECT_EQ(num_points[i].L(), 60);
    EXPECT_EQ(line_decoded[i].L(), 1);
    total += num_points[i].L();
  }
  EXPECT_EQ(rows.Num(), total);
  ASSERT_EQ(get_1d_bar_code_scanline(domain, descr, VTuple(), VTuple(), orientation, "true",
                                     &elements, &num_points, &line_decoded, &rows, &cols),
            VRESULT_OK);
  EXPECT_EQ(num_points.Num(), 1);
  // The whole search with scan lines: the edges lie in the code's region.
  VTuple found;
  ASSERT_EQ(find_1d_bar_code_scanline(scene, &regions, descr, VTuple(), VTuple(), "false", &found,
                                      &elements, &orientation, &num_points, &line_decoded, &rows,
                                      &cols),
            VRESULT_OK);
  ASSERT_EQ(found.Num(), 1);
  EXPECT_EQ(num_points.Num(), 5);
  EXPECT_EQ(elements.Num(), 59);
  Vobject dilated;
  ASSERT_EQ(dilation_circle(regions, &dilated, 3.5), VRESULT_OK);
  VTuple inside;
  for (Vlong i = 0; i < rows.Num(); ++i) {
    ASSERT_EQ(test_region_point(dilated, std::lround(rows[i].D()), std::lround(cols[i].D()),
                                &inside),
              VRESULT_OK);
    EXPECT_EQ(inside[0].L(), 1) << "edge " << i;
  }
  // Background and noise alone cross no bars.
  const std::vector<uint8_t> flat(200 * 200, kLight);
  const Vobject plain = AddNoise(ByteImage(flat, 200, 200), 5, &rng);
  ASSERT_EQ(get_1d_bar_code(plain, descr, VTuple(), VTuple(), 0.3, &elements), VRESULT_OK);
  EXPECT_EQ(elements.Num(), 0);
}

TEST_F(CodeDescrTest, GenericDescriptionsSelectTypesAndElementSizes) {
  std::mt19937 rng(29);
  const Vobject scene = MakeScene({BarcodeFormat::Code128, "generic", 3, 10}, &rng);
  VTuple descr, found, elements, orientation;
  Vobject regions;
  // Six elements per character: Code 128 and Code 93.
  ASSERT_EQ(gen_1d_bar_code_descr_gen(1, 0, 2, 6, 6, 0.5, "absent", &descr), VRESULT_OK);
  ASSERT_EQ(descr.Num(), 9);
  EXPECT_EQ(Str(descr, 0), "bar_code_1d_descr");
  EXPECT_EQ(Str(descr, 1), "generic");
  ASSERT_EQ(find_1d_bar_code(scene, &regions, descr, VTuple(), VTuple(), &found, &elements,
                             &orientation),
            VRESULT_OK);
  ASSERT_EQ(found.Num(), 1);
  EXPECT_EQ(Str(found, 0), "generic");
  // Narrow elements of at most 2 pixels, or codes of four elements per
  // character: nothing.
  ASSERT_EQ(gen_1d_bar_code_descr_gen(1, 0, 1, 2, 6, 0.5, "absent", &descr), VRESULT_OK);
  ASSERT_EQ(find_1d_bar_code(scene, &regions, descr, VTuple(), VTuple(), &found, &elements,
                             &orientation),
            VRESULT_OK);
  EXPECT_EQ(found.Num(), 0);
  ASSERT_EQ(gen_1d_bar_code_descr_gen(1, 0, 1, 10, 4, 0.5, "absent", &descr), VRESULT_OK);
  ASSERT_EQ(find_1d_bar_code(scene, &regions, descr, VTuple(), VTuple(), &found, &elements,
                             &orientation),
            VRESULT_OK);
  EXPECT_EQ(found.Num(), 0);
}

TEST_F(CodeDescrTest, RefusesBadLinearDescriptionsAndElements) {
  VTuple descr, out, out2, out3;
  EXPECT_EQ(gen_1d_bar_code_descr("EAN-13", 5, 4, &descr), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_1d_bar_code_descr("Micro QR Code", 1, 0, &descr), VERR_CTRL_VALUE(0));
  EXPECT_EQ(gen_1d_bar_code_descr("EAN-14", 1, 0, &descr), VERR_CTRL_VALUE(0));
  // No type has seven elements per character; element sizes upside down.
  EXPECT_EQ(gen_1d_bar_code_descr_gen(1, 0, 1, 8, 7, 0.5, "absent", &descr), VERR_CTRL_VALUE(4));
  EXPECT_EQ(gen_1d_bar_code_descr_gen(1, 0, 8, 1, 6, 0.5, "absent", &descr), VERR_CTRL_VALUE(3));
  EXPECT_EQ(gen_1d_bar_code_descr_gen(1, 0, 1, 8, 6, 0.7, "absent", &descr), VERR_CTRL_VALUE(5));
  EXPECT_EQ(gen_1d_bar_code_descr_gen(1, 0, 1, 8, 6, 0.5, "maybe", &descr), VERR_CTRL_VALUE(6));
  ASSERT_EQ(gen_1d_bar_code_descr("EAN-13", 1, 0, &descr), VRESULT_OK);
  // A tampered description: wrong tag, elements per character not the type's.
  VTuple tampered = descr;
  tampered[0] = "bar_code_2d_descr";
  VTuple widths;
  for (int i = 0; i < 59; ++i) widths.Append(VTuple(3.0 * (1 + i % 3)));
  EXPECT_EQ(decode_1d_bar_code(widths, tampered, &out, &out2, &out3), VERR_CODE_DESCR);
  tampered = descr;
  tampered[6] = Vlong{6};
  EXPECT_EQ(discrete_1d_bar_code(widths, tampered, &out), VERR_CODE_DESCR);
  EXPECT_EQ(discrete_1d_bar_code(widths, VTuple("bar_code_1d_descr"), &out), VERR_CODE_DESCR);
  // Widths that are no code; a negative width; a width between modules
  // beyond a tolerance of 0.1.
  EXPECT_EQ(decode_1d_bar_code(widths, descr, &out, &out2, &out3), VERR_CODE_UNREADABLE);
  VTuple negative = widths;
  negative[4] = -1.0;
  EXPECT_EQ(decode_1d_bar_code(negative, descr, &out, &out2, &out3), VERR_CTRL_VALUE(0));
  VTuple tight;
  ASSERT_EQ(gen_1d_bar_code_descr_gen(1, 0, 1, 8, 4, 0.1, "absent", &tight), VRESULT_OK);
  VTuple uneven = widths;
  uneven[1] = 4.5;
  EXPECT_EQ(discrete_1d_bar_code(uneven, tight, &out), VERR_CODE_UNREADABLE);
  // Searches: a bad parameter name, a bad stop_if_found, an empty domain.
  std::mt19937 rng(31);
  const Vobject scene = MakeScene({BarcodeFormat::EAN13, "4006381333931", 3, 0}, &rng);
  Vobject regions, empty, nothing;
  EXPECT_EQ(find_1d_bar_code(scene, &regions, descr, VTuple("no_such_param"), VTuple(1.0), &out,
                             &out2, &out3),
            VERR_CTRL_VALUE(1));
  VTuple a, b, c, d;
  EXPECT_EQ(find_1d_bar_code_scanline(scene, &regions, descr, VTuple(), VTuple(), "sometimes", &out,
                                      &out2, &out3, &a, &b, &c, &d),
            VERR_CTRL_VALUE(3));
  EXPECT_EQ(get_1d_bar_code(scene, descr, VTuple(), VTuple(), VTuple("up"), &out),
            VERR_CTRL_TYPE(3));
  ASSERT_EQ(gen_empty_region(&nothing), VRESULT_OK);
  ASSERT_EQ(reduce_domain(scene, nothing, &empty), VRESULT_OK);
  ASSERT_EQ(find_1d_bar_code_region(empty, &regions, descr, VTuple(), VTuple(), &out), VRESULT_OK);
  EXPECT_EQ(out.Num(), 0);
  ASSERT_EQ(get_1d_bar_code_scanline(empty, descr, VTuple(), VTuple(), 0.0, "true", &out, &a, &b,
                                     &c, &d),
            VRESULT_OK);
  EXPECT_EQ(out.Num(), 0);
}

// --- 2D codes -------------------------------------------------------------

struct MatrixDescrCase {
  const char* type;
  BarcodeFormat format;
  const char* content;
  double angle;
};

TEST_F(CodeDescrTest, SamplesTheModulesOf2dSymbolsAndDecodesThem) {
  const MatrixDescrCase cases[] = {
      {"QR Code", BarcodeFormat::QRCode, "https://example.org/vexa", 33},
      {"Data Matrix ECC 200", BarcodeFormat::DataMatrix, "Vexa DataMatrix 42", -75},
      {"Aztec Code", BarcodeFormat::Aztec, "Aztec 42", 140}};
  std::mt19937 rng(37);
  for (const MatrixDescrCase& c : cases) {
    SCOPED_TRACE(c.type);
    const Vobject scene = MakeScene({c.format, c.content, 4, c.angle}, &rng);
    VTuple descr, corners;
    ASSERT_EQ(gen_2d_bar_code_descr(c.type, 2.0, 8.0, &descr), VRESULT_OK);
    Vobject regions;
    ASSERT_EQ(find_2d_bar_code(scene, &regions, descr, VTuple(), VTuple(), &corners), VRESULT_OK);
    ASSERT_EQ(corners.Num(), 8);
    // The grid equals the encoder's, module for module.
    const ZXing::BitMatrix bits =
        ZXing::MultiFormatWriter(c.format).setMargin(0).encode(c.content, 0, 0);
    VTuple dims, data, centre_rows, centre_cols;
    ASSERT_EQ(get_2d_bar_code_pos(regions, scene, descr, corners, VTuple(), VTuple(), &dims, &data,
                                  &centre_rows, &centre_cols),
              VRESULT_OK);
    ASSERT_EQ(Longs(dims), (std::vector<Vlong>{bits.height(), bits.width()}));
    ASSERT_EQ(data.Num(), static_cast<Vlong>(bits.width()) * bits.height());
    int wrong = 0;
    for (int y = 0; y < bits.height(); ++y)
      for (int x = 0; x < bits.width(); ++x) wrong += data[y * bits.width() + x].L() != bits.get(x, y);
    // The engine extrapolates Aztec corners from the bullseye: an outer
    // module may be sampled on its neighbour's edge.
    EXPECT_LE(wrong, c.format == BarcodeFormat::Aztec ? 2 : 0);
    // Module centres: the first half a module diagonal from the first corner.
    ASSERT_EQ(centre_rows.Num(), data.Num());
    EXPECT_NEAR(std::hypot(centre_rows[0].D() - corners[0].D(), centre_cols[0].D() - corners[4].D()),
                4 * M_SQRT1_2, 1.5);
    // The sampled data decode on their own.
    VTuple bytes, unused, corrected, ecc, status;
    ASSERT_EQ(decode_2d_bar_code(descr, dims, data, &bytes, &unused, &corrected, &ecc, &status),
              VRESULT_OK);
    EXPECT_EQ(Str(status, 0), "decoded");
    std::string text;
    for (Vlong i = 0; i < bytes.Num(); ++i) text += static_cast<char>(bytes[i].L());
    EXPECT_EQ(text, c.content);
    VTuple plain;
    ASSERT_EQ(get_2d_bar_code(regions, scene, descr, corners, VTuple(), VTuple(), &dims, &plain),
              VRESULT_OK);
    EXPECT_EQ(Longs(plain), Longs(data));
    // Module sizes outside the description's find nothing.
    ASSERT_EQ(gen_2d_bar_code_descr(c.type, 5.0, 8.0, &descr), VRESULT_OK);
    ASSERT_EQ(find_2d_bar_code(scene, &regions, descr, VTuple(), VTuple(), &corners), VRESULT_OK);
    EXPECT_EQ(corners.Num(), 0);
  }
}

TEST_F(CodeDescrTest, RefusesBad2dDescriptionsAndGrids) {
  VTuple descr, out[5];
  EXPECT_EQ(gen_2d_bar_code_descr("QR Code", 4.0, 2.0, &descr), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_2d_bar_code_descr("QR Code", 0.0, 2.0, &descr), VERR_CTRL_VALUE(1));
  EXPECT_EQ(gen_2d_bar_code_descr("Maxi Code", 2.0, 4.0, &descr), VERR_CTRL_VALUE(0));
  ASSERT_EQ(gen_2d_bar_code_descr("QR Code", 2.0, 8.0, &descr), VRESULT_OK);
  ASSERT_EQ(descr.Num(), 4);
  // A grid of modules that is no symbol decodes to nothing.
  VTuple dims, data;
  dims.Append(VTuple(Vlong{21})).Append(VTuple(Vlong{21}));
  for (int i = 0; i < 21 * 21; ++i) data.Append(VTuple(Vlong{i % 7 == 0}));
  ASSERT_EQ(decode_2d_bar_code(descr, dims, data, &out[0], &out[1], &out[2], &out[3], &out[4]),
            VRESULT_OK);
  EXPECT_EQ(Str(out[4], 0), "not decodable");
  EXPECT_EQ(out[0].Num(), 0);
  // Too few modules for the size; a module value of 2; a linear description.
  EXPECT_EQ(decode_2d_bar_code(descr, dims, Head(data, 100), &out[0], &out[1], &out[2], &out[3], &out[4]),
            VERR_CTRL_NUM(2));
  VTuple two = data;
  two[3] = Vlong{2};
  EXPECT_EQ(decode_2d_bar_code(descr, dims, two, &out[0], &out[1], &out[2], &out[3], &out[4]),
            VERR_CTRL_VALUE(2));
  VTuple linear;
  ASSERT_EQ(gen_1d_bar_code_descr("EAN-13", 1, 0, &linear), VRESULT_OK);
  EXPECT_EQ(decode_2d_bar_code(linear, dims, data, &out[0], &out[1], &out[2], &out[3], &out[4]),
            VERR_CODE_DESCR);
  // Sampling: corners of the wrong count; PDF417 has no fitted grid.
  std::mt19937 rng(41);
  const Vobject scene = MakeScene({BarcodeFormat::PDF417, "PDF417 grid", 3, 0}, &rng);
  VTuple pdf, corners;
  Vobject regions;
  ASSERT_EQ(gen_2d_bar_code_descr("PDF417", 1.0, 8.0, &pdf), VRESULT_OK);
  ASSERT_EQ(find_2d_bar_code(scene, &regions, pdf, VTuple(), VTuple(), &corners), VRESULT_OK);
  ASSERT_EQ(corners.Num(), 8);
  EXPECT_EQ(get_2d_bar_code(regions, scene, pdf, corners, VTuple(), VTuple(), &out[0], &out[1]),
            VERR_CODE_RESULT_NA);
  EXPECT_EQ(get_2d_bar_code_pos(regions, scene, descr, Head(corners, 6), VTuple(),
                                VTuple(), &out[0], &out[1], &out[2], &out[3]),
            VERR_CTRL_NUM(1));
  EXPECT_EQ(find_2d_bar_code(scene, &regions, descr, VTuple("polarity"), VTuple("sideways"),
                             &corners),
            VERR_CTRL_VALUE(2));
}

}  // namespace
