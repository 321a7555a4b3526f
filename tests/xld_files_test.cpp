// Contours and polygons in DXF and arc-info files: round trips that keep
// every point bit for bit (and the attributes of contours), foreign
// entities with arcs read at the documented resolution, and truncated or
// corrupted files that give a file code and no object.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "vexa/errors.h"
#include "xld_test_support.h"
#include "xld_store.h"

namespace {

using namespace Vexa;
using xld_test::Tuple;
using xld_test::Values;

Vlong Count(const Vobject& objects) {
  Vlong n = -1;
  EXPECT_EQ(count_obj(objects, &n), VRESULT_OK);
  return n;
}

class XldFiles : public xld_test::XldTest {
 protected:
  void SetUp() override {
    XldTest::SetUp();
    dir_ = std::filesystem::temp_directory_path() /
           ("vexa_xld_files_" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
            "_" + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override {
    std::filesystem::remove_all(dir_);
    XldTest::TearDown();
  }
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  void WriteText(const std::string& name, const std::string& text) const {
    std::ofstream(Path(name), std::ios::binary) << text;
  }
  std::string ReadText(const std::string& name) const {
    std::ifstream in(Path(name), std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }

  // Every proper prefix of a good file (cut at a line end or inside a
  // line; the last line end alone may go) fails with a file code and
  // hands over nothing.
  void ExpectEveryPrefixFails(const std::string& name, const std::string& text,
                              const std::function<unsigned(Vobject*)>& read) const {
    for (size_t cut = 0; cut + 1 < text.size(); cut += 3) {
      WriteText(name, text.substr(0, cut));
      Vobject out;
      const unsigned rc = read(&out);
      EXPECT_TRUE(rc == VERR_FILE_TRUNCATED || rc == VERR_FILE_CORRUPT || rc == VERR_FILE_FORMAT)
          << name << " cut at " << cut << ": " << rc;
      EXPECT_EQ(Count(out), 0) << name << " cut at " << cut;
    }
  }

 private:
  std::filesystem::path dir_;
};

Vobject Contour(const std::vector<double>& rows, const std::vector<double>& cols) {
  Vobject x;
  EXPECT_EQ(gen_contour_polygon_xld(&x, Tuple(rows), Tuple(cols)), VRESULT_OK);
  return x;
}

vexa::XldPtr Stored(const Vobject& objects, Vlong index) {
  Vobject one;
  EXPECT_EQ(select_obj(objects, &one, index), VRESULT_OK);
  vexa::XldPtr x;
  EXPECT_EQ(vexa::db::GetXld(one.Id(), &x), VRESULT_OK);
  return x;
}

// An open contour with awkward coordinates, a closed square, and a
// regressed contour that carries a point attribute and global attributes.
Vobject SampleContours() {
  Vobject open = Contour({0.1, 1e-7, -3.25, 12345.678}, {1.0 / 3, 2.0 / 3, -7e5, 0.5});
  Vobject square = Contour({10, 10, 20, 20, 10}, {5, 15, 15, 5, 5});
  Vobject regressed;
  EXPECT_EQ(regress_contours_xld(Contour({1, 2.5, 3, 4.75}, {0, 1, 2, 3}), &regressed, "no", 0),
            VRESULT_OK);
  Vobject all, both;
  EXPECT_EQ(concat_obj(open, square, &both), VRESULT_OK);
  EXPECT_EQ(concat_obj(both, regressed, &all), VRESULT_OK);
  return all;
}

TEST_F(XldFiles, ContoursSurviveBothFormatsUnchanged) {
  const Vobject contours = SampleContours();
  ASSERT_EQ(write_contour_xld_dxf(contours, Path("c.dxf").c_str()), VRESULT_OK);
  Vobject from_dxf;
  char status[256];
  ASSERT_EQ(read_contour_xld_dxf(&from_dxf, Path("c.dxf").c_str(), VTuple(), VTuple(), status),
            VRESULT_OK);
  EXPECT_STREQ(status, "ok");
  ASSERT_EQ(Count(from_dxf), 3);
  for (Vlong i = 1; i <= 3; ++i) EXPECT_TRUE(*Stored(from_dxf, i) == *Stored(contours, i)) << i;
  // The square is written once per corner and flagged closed.
  const std::string text = ReadText("c.dxf");
  EXPECT_NE(text.find("VEXA_XLD"), std::string::npos);

  ASSERT_EQ(write_contour_xld_arc_info(contours, Path("c.gen").c_str()), VRESULT_OK);
  Vobject from_gen;
  ASSERT_EQ(read_contour_xld_arc_info(&from_gen, Path("c.gen").c_str()), VRESULT_OK);
  ASSERT_EQ(Count(from_gen), 3);
  for (Vlong i = 1; i <= 2; ++i) EXPECT_TRUE(*Stored(from_gen, i) == *Stored(contours, i)) << i;
  // Arc-info has no place for attributes: the points come back alone.
  EXPECT_TRUE(Stored(from_gen, 3)->attribs.empty());
  EXPECT_EQ(Stored(from_gen, 3)->rows, Stored(contours, 3)->rows);
}

TEST_F(XldFiles, PolygonsSurviveBothFormatsAndArcInfoTextIsTheClassicOne) {
  Vobject polygons;
  ASSERT_EQ(gen_polygons_xld(Contour({0, 0, 0.5, 10, 20}, {0, 10, 20, 20, 20.25}), &polygons,
                             "ramer", 1.0),
            VRESULT_OK);
  ASSERT_EQ(write_polygon_xld_dxf(polygons, Path("p.dxf").c_str()), VRESULT_OK);
  ASSERT_EQ(write_polygon_xld_arc_info(polygons, Path("p.gen").c_str()), VRESULT_OK);
  Vobject a, b;
  char status[256];
  ASSERT_EQ(read_polygon_xld_dxf(&a, Path("p.dxf").c_str(), VTuple(), VTuple(), status), VRESULT_OK);
  ASSERT_EQ(read_polygon_xld_arc_info(&b, Path("p.gen").c_str()), VRESULT_OK);
  const vexa::XldPtr original = Stored(polygons, 1);
  for (const Vobject* read : {&a, &b}) {
    const vexa::XldPtr x = Stored(*read, 1);
    EXPECT_EQ(x->cls, VOBJ_XLD_POLY);
    EXPECT_EQ(x->rows, original->rows);
    EXPECT_EQ(x->cols, original->cols);
  }
  EXPECT_EQ(ReadText("p.gen"), "1\n0 0\n20 0.5\n20.25 20\nEND\nEND\n");
}

// Coordinates of contour `index` of `contours`.
void PointsOf(const Vobject& contours, Vlong index, std::vector<double>* rows,
              std::vector<double>* cols) {
  Vobject one;
  ASSERT_EQ(select_obj(contours, &one, index), VRESULT_OK);
  VTuple r, c;
  ASSERT_EQ(get_contour_xld(one, &r, &c), VRESULT_OK);
  *rows = Values(r);
  *cols = Values(c);
}

std::string Dxf(const std::string& entities) {
  return "999\nmade by hand\n0\nSECTION\n2\nHEADER\n9\n$ACADVER\n1\nAC1015\n0\nENDSEC\n"
         "0\nSECTION\n2\nENTITIES\n" +
         entities + "0\nENDSEC\n0\nEOF\n";
}

TEST_F(XldFiles, ForeignEntitiesBecomeContoursWithArcsAtTheAskedResolution) {
  WriteText("f.dxf", Dxf("0\nLINE\n8\nroads\n10\n1.5\n20\n2.5\n30\n0\n11\n4\n21\n6\n31\n0\n"
                         "0\nCIRCLE\n10\n50\n20\n40\n40\n10\n"
                         "0\nARC\n10\n0\n20\n0\n40\n5\n50\n0\n51\n90\n"
                         "0\nTEXT\n10\n0\n20\n0\n1\nlabel\n"
                         "0\nLWPOLYLINE\n90\n2\n70\n0\n10\n0\n20\n0\n42\n1\n10\n10\n20\n0\n"));
  Vobject c;
  char status[256];
  ASSERT_EQ(read_contour_xld_dxf(&c, Path("f.dxf").c_str(), "max_approx_error", 0.01, status),
            VRESULT_OK);
  EXPECT_STREQ(status, "skipped entities: TEXT 1");
  ASSERT_EQ(Count(c), 4);
  std::vector<double> r, k;
  PointsOf(c, 1, &r, &k);  // x is the column, y the row
  EXPECT_EQ(r, std::vector<double>({2.5, 6}));
  EXPECT_EQ(k, std::vector<double>({1.5, 4}));

  // The circle: closed, every point on it, and the fewest segments whose
  // chords stay within 0.01 of the arc.
  PointsOf(c, 2, &r, &k);
  ASSERT_GT(r.size(), 3u);
  EXPECT_EQ(r.front(), r.back());
  EXPECT_EQ(k.front(), k.back());
  for (size_t i = 0; i < r.size(); ++i) EXPECT_NEAR(std::hypot(r[i] - 40, k[i] - 50), 10, 1e-5);
  const double n = static_cast<double>(r.size() - 1);
  EXPECT_LE(10 * (1 - std::cos(M_PI / n)), 0.01);
  EXPECT_GT(10 * (1 - std::cos(M_PI / (n - 1))), 0.01);

  // The arc from 0 to 90 degrees, counter-clockwise in x-y.
  PointsOf(c, 3, &r, &k);
  EXPECT_NEAR(r.front(), 0, 1e-6);
  EXPECT_NEAR(k.front(), 5, 1e-6);
  EXPECT_NEAR(r.back(), 5, 1e-6);
  EXPECT_NEAR(k.back(), 0, 1e-6);

  // Bulge 1 is a half circle about the chord's middle, counter-clockwise
  // in x-y: through y = -5.
  PointsOf(c, 4, &r, &k);
  EXPECT_EQ(r.front(), 0);
  EXPECT_EQ(k.back(), 10);
  const double lowest = *std::min_element(r.begin(), r.end());
  // The lowest point lies within the asked error of the arc's bottom.
  EXPECT_GE(lowest, -5 - 1e-5);
  EXPECT_LE(lowest, -5 + 0.01);
  for (size_t i = 0; i < r.size(); ++i) EXPECT_NEAR(std::hypot(r[i], k[i] - 5), 5, 1e-5);

  // min_num_points raises the count of a coarse circle.
  Vobject coarse;
  ASSERT_EQ(read_polygon_xld_dxf(&coarse, Path("f.dxf").c_str(), Tuple({}), Tuple({}), status),
            VRESULT_OK);
  VTuple names, values;
  names[0] = "min_num_points";
  names[1] = "max_approx_error";
  values[0] = 64.0;
  values[1] = 100.0;
  Vobject fine;
  VTuple status_tuple;
  ASSERT_EQ(read_polygon_xld_dxf(&fine, VTuple(Path("f.dxf").c_str()), names, values, &status_tuple),
            VRESULT_OK);
  EXPECT_EQ(Stored(fine, 2)->size(), 65u);
}

TEST_F(XldFiles, BadParametersAndMissingFilesAreRefused) {
  Vobject c;
  char status[256];
  EXPECT_EQ(read_contour_xld_dxf(&c, Path("none.dxf").c_str(), VTuple(), VTuple(), status),
            VERR_FILE_NOT_FOUND);
  EXPECT_EQ(read_contour_xld_arc_info(&c, Path("none.gen").c_str()), VERR_FILE_NOT_FOUND);
  WriteText("e.dxf", Dxf(""));
  EXPECT_EQ(read_contour_xld_dxf(&c, Path("e.dxf").c_str(), "resolution", 1.0, status),
            VERR_CTRL_VALUE(1));
  EXPECT_EQ(read_contour_xld_dxf(&c, Path("e.dxf").c_str(), "max_approx_error", 0.0, status),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(read_contour_xld_dxf(&c, Path("e.dxf").c_str(), "min_num_points", 2.5, status),
            VERR_CTRL_VALUE(2));
  VTuple status_tuple;
  EXPECT_EQ(read_contour_xld_dxf(&c, VTuple(Path("e.dxf").c_str()), VTuple("min_num_points"),
                                 Tuple({8, 9}), &status_tuple),
            VERR_CTRL_NUM(2));
  ASSERT_EQ(read_contour_xld_dxf(&c, Path("e.dxf").c_str(), VTuple(), VTuple(), status), VRESULT_OK);
  EXPECT_EQ(Count(c), 0);
  // Writing: a polygon is no contour, and a directory is no file.
  Vobject polygons;
  ASSERT_EQ(gen_polygons_xld(Contour({0, 1, 2}, {0, 5, 0}), &polygons, "ramer", 0.5), VRESULT_OK);
  EXPECT_EQ(write_contour_xld_dxf(polygons, Path("x.dxf").c_str()), VERR_OBJ_CLASS(1));
  EXPECT_EQ(write_polygon_xld_arc_info(polygons, Path("").c_str()), VERR_FILE_WRITE);
}

TEST_F(XldFiles, TruncatedAndCorruptedFilesGiveAFileCodeAndNoObject) {
  const Vobject contours = SampleContours();
  ASSERT_EQ(write_contour_xld_dxf(contours, Path("c.dxf").c_str()), VRESULT_OK);
  ASSERT_EQ(write_contour_xld_arc_info(contours, Path("c.gen").c_str()), VRESULT_OK);
  const std::string dxf = ReadText("c.dxf"), gen = ReadText("c.gen");
  char status[256];
  const auto read_dxf = [&](Vobject* out) {
    return read_contour_xld_dxf(out, Path("t.dxf").c_str(), VTuple(), VTuple(), status);
  };
  const auto read_gen = [&](Vobject* out) {
    return read_contour_xld_arc_info(out, Path("t.gen").c_str());
  };
  ExpectEveryPrefixFails("t.dxf", dxf, read_dxf);
  ExpectEveryPrefixFails("t.gen", gen, read_gen);

  const auto replaced = [](std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return at == std::string::npos ? text : text.replace(at, from.size(), to);
  };
  const struct {
    std::string text;
    unsigned code;
  } dxf_cases[] = {
      {replaced(dxf, "VERTEX\n8\n0\n10\n", "VERTEX\n8\n0\n10\nabc\n10\n"), VERR_FILE_CORRUPT},
      {replaced(dxf, "0\nSEQEND", "x\nSEQEND"), VERR_FILE_CORRUPT},
      {replaced(dxf, "1071\n1\n", "1071\n7\n"), VERR_FILE_CORRUPT},
      {replaced(dxf, "0\nSEQEND", "0\nLINE"), VERR_FILE_CORRUPT},
      {"AutoCAD Binary DXF\r\n\x1a", VERR_FILE_UNSUPPORTED},
      {"\x89PNG\r\n\x1a\n", VERR_FILE_FORMAT},
  };
  for (const auto& c : dxf_cases) {
    WriteText("t.dxf", c.text);
    Vobject out;
    EXPECT_EQ(read_dxf(&out), c.code) << c.text.substr(0, 40);
    EXPECT_EQ(Count(out), 0);
  }
  const struct {
    std::string text;
    unsigned code;
  } gen_cases[] = {
      {"1\n0 0\n1 x\nEND\nEND\n", VERR_FILE_CORRUPT},
      {"1\n0 0 0\nEND\nEND\n", VERR_FILE_CORRUPT},
      {"1\n0 0\nEND\nEND\n2\n", VERR_FILE_CORRUPT},
      {"1\n0 0\nEND\n2 x\n", VERR_FILE_CORRUPT},
      {"1\n0 1e300\nEND\nEND\n", VERR_FILE_CORRUPT},
      {"POLYGON\n", VERR_FILE_FORMAT},
  };
  for (const auto& c : gen_cases) {
    WriteText("t.gen", c.text);
    Vobject out;
    EXPECT_EQ(read_gen(&out), c.code) << c.text;
    EXPECT_EQ(Count(out), 0);
  }
  // What the format allows besides our own output: blank lines, commas, a
  // label point on the id line, CR LF line ends, a lower-case end.
  WriteText("t.gen", "7 1.5 2.5\r\n\r\n1.0, 2.0\r\n3,4\r\nend\r\nEND\r\n");
  Vobject out;
  ASSERT_EQ(read_gen(&out), VRESULT_OK);
  std::vector<double> r, k;
  PointsOf(out, 1, &r, &k);
  EXPECT_EQ(r, std::vector<double>({2, 4}));
  EXPECT_EQ(k, std::vector<double>({1, 3}));
}

}  // namespace
