// The XLD handle classes: the three levels of class tests and their texts,
// the typed arrays (class tests on the way in, growth, slices, keys of a
// result), operator methods on contours against analytic values, the XLD
// methods of the region and image classes, and the exchange with the point
// sequences of the geometry classes.
#include <gtest/gtest.h>
#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <cmath>
#include <string>

#include "leak_checked_test.h"
#include "objdb.h"

namespace {

using namespace Vexa;

constexpr double kPi = 3.14159265358979323846;

void ThrowCopy(const VException& e) { throw VException(e); }

// Reports throw; traced memory and the object database, sub-pixel objects
// included, are back where they were when a test ends.
class XldClassTest : public LeakCheckedTest {
 protected:
  void SetUp() override {
    old_ = VException::InstallVHandler(&ThrowCopy);
    LeakCheckedTest::SetUp();
    xlds_ = vexa::db::GetStats().xlds;
  }
  void TearDown() override {
    EXPECT_EQ(vexa::db::GetStats().xlds, xlds_);
    LeakCheckedTest::TearDown();
    VException::InstallVHandler(old_);
  }
  VHandlerProc old_ = nullptr;
  Vlong xlds_ = 0;
};

// Runs `body`, which must report `message` from `proc`.
template <class Body>
void ExpectReport(Body body, const std::string& message, const std::string& proc) {
  try {
    body();
    ADD_FAILURE() << "no report, expected: " << message;
  } catch (const VException& e) {
    EXPECT_EQ(std::string(e.message), message);
    EXPECT_EQ(std::string(e.proc), proc);
  }
}

// A new reference to the object of `obj`, for the constructors that take
// over a key.
Vkey NewKey(const VObject& obj) {
  void* proc = nullptr;
  Vkey copy = VKEY_UNDEF;
  VGetVProc(-1, &proc);
  EXPECT_EQ(DBCopyObjectId(proc, obj.Key(), &copy), VRESULT_OK);
  VPutVProc(proc);
  return copy;
}

VXLDCont Circle(double radius = 10.0) {
  return VXLDCont::GenCircleContourXld(50.0, 60.0, radius, 0.0, 2 * kPi, "positive", 0.5);
}

VXLDCont Polyline(const VTuple& rows, const VTuple& columns) {
  return VXLDCont::GenContourPolygonXld(rows, columns);
}

VXLDPolyArray Polygons(const VXLDContArray& contours) {
  return contours.GenPolygonsXld("ramer", 2.0);
}

VRegion Square(int r1, int c1, int r2, int c2) {
  Vobject out;
  EXPECT_EQ(gen_rectangle1(&out, double(r1), double(c1), double(r2), double(c2)), VRESULT_OK);
  return VRegion(out);
}

TEST_F(XldClassTest, TheRangeTestOfVXLDAcceptsEveryXldClassAndNothingElse) {
  const VRegion region = Square(2, 2, 9, 9);
  // Unchecked, any key is taken over.
  const VXLD unchecked(NewKey(region), 0);
  EXPECT_NE(unchecked.Key(), VKEY_UNDEF);
  ExpectReport([&] { VXLD checked(NewKey(region), 1); }, "wrong object class passed",
               "VXLD::VXLD(Vkey key)");
  ExpectReport([&] { VXLD checked(region.Id(), 1); },
               "wrong object class: 'region' (ID=3)",
               "Vobject::Vobject(const Vobject &obj, const char *class)");
  // A contour and a polygon pass both checked forms.
  const VXLDCont contour = Circle();
  const VXLDPolyArray polygons = Polygons(VXLDContArray(contour));
  ASSERT_EQ(polygons.Num(), 1);
  const VXLD from_key(NewKey(contour), 1);
  const VXLD from_object(polygons[0].Id(), 1);
  EXPECT_EQ(from_object.ClassDBID(), 3);
  EXPECT_STREQ(from_object.VClassName(), "xld");
}

TEST_F(XldClassTest, TypedHandlesTestTheirOwnClassWithTheirOwnTexts) {
  const VXLDCont contour = Circle();
  const VXLDPoly polygon = Polygons(VXLDContArray(contour))[0];
  const VXLD any_polygon = polygon;
  // From a VXLD: the raw tag, the short message.
  ExpectReport([&] { VXLDCont c(any_polygon); }, "wrong object class passed",
               "VXLDCont::VXLDCont(const VXLD &xld)");
  ExpectReport(
      [&] {
        VXLDCont c;
        c = any_polygon;
      },
      "wrong object class passed", "VXLDCont &VXLDCont::operator= (const VXLD &xld)");
  ExpectReport([&] { VXLDPara p(any_polygon); }, "wrong object class passed",
               "VXLDPara::VXLDPara(const VXLD &xld)");
  // From a key or a Vobject: CheckMyObjClass with the class's ID and word.
  ExpectReport([&] { VXLDCont c(polygon.Id()); },
               "wrong object class: 'xld_poly' (ID=6); requested class: 'xld_ext_para' (ID=5)",
               "Vobject::Vobject(const Vobject &obj, const char *class)");
  ExpectReport([&] { VXLDPoly p(NewKey(contour)); },
               "wrong object class: 'xld_cont' (ID=5); requested class: 'xld_poly' (ID=6)",
               "Vobject::Vobject(const Vobject &obj, const char *class)");
  // The right class passes every form, and the copies own their keys.
  const VXLD any_contour = contour;
  VXLDCont copy(any_contour);
  copy = any_contour;
  const VXLDCont from_object(contour.Id());
  EXPECT_NE(copy.Key(), contour.Key());
  EXPECT_NEAR(from_object.LengthXld()[0].D(), contour.LengthXld()[0].D(), 1e-12);
  // The empty handle fits every class.
  const VXLDPoly empty{VXLD()};
  EXPECT_EQ(empty.Key(), VKEY_UNDEF);
}

TEST_F(XldClassTest, ClassNamesAndIdsFollowTheClassTable) {
  const VXLDCont contour;
  const VXLDContArray contours;
  EXPECT_STREQ(contour.VClassName(), "xld_ext_para");
  EXPECT_STREQ(contours.VClassName(), "xld_cont");
  EXPECT_STREQ(contour.ClassName(), "VXLDCont");
  EXPECT_STREQ(contours.InstClassName(), "VXLDContArray");
  EXPECT_EQ(contour.ClassDBID(), 5);
  EXPECT_EQ(contours.ClassDBID(), 5);
  EXPECT_EQ(VXLDPoly().ClassDBID(), 6);
  EXPECT_STREQ(VXLDPolyArray().VClassName(), "xld_poly");
  EXPECT_EQ(VXLDModPara().ClassDBID(), 8);
  EXPECT_STREQ(VXLDExtParaArray().VClassName(), "xld_ext_para");
  EXPECT_EQ(VXLDExtParaArray().ClassDBID(), 9);
  EXPECT_STREQ(VXLDArray().VClassName(), "xld");
  EXPECT_EQ(contour.Shared(), 1);
}

TEST_F(XldClassTest, OnlyTheSingleAppendTestsTheClass) {
  const VXLDCont contour = Circle();
  const VXLDPolyArray polygons = Polygons(VXLDContArray(contour));
  // A general array of polygons appends to a contour array unchecked.
  VXLDContArray contours;
  contours.Append(contour);
  EXPECT_EQ(contours.Num(), 1);
  contours.Append(VXLDArray(polygons[0]));
  ASSERT_EQ(contours.Num(), 2);
  EXPECT_NE(contours.Key(1), polygons.Key(0));
  // A single polygon does not.
  ExpectReport([&] { contours.Append(VXLD(polygons[0])); }, "wrong object class passed",
               "VXLDContArray &VXLDContArray::Append(const VXLD &xld)");
  // Copy from a general array tests every key.
  const VXLDArray mixed = contours;
  ExpectReport([&] { VXLDContArray copy(mixed); }, "wrong object class passed",
               "void VXLDContArray::CopyVXLDArray(const VXLDArray &in)");
  // An array appended to itself doubles.
  VXLDContArray twice;
  twice.Append(contour).Append(contour);
  twice.Append(twice);
  EXPECT_EQ(twice.Num(), 4);
  EXPECT_NEAR(twice.LengthXld()[3].D(), contour.LengthXld()[0].D(), 1e-12);
}

TEST_F(XldClassTest, IndexingGrowsAndSlicesReportWithTheClassNames) {
  VXLDContArray contours;
  contours[2] = Circle(4.0);
  ASSERT_EQ(contours.Num(), 3);
  EXPECT_EQ(contours[0].Key(), VKEY_UNDEF);
  EXPECT_NE(contours[2].Key(), VKEY_UNDEF);
  const VXLDContArray& read = contours;
  ExpectReport([&] { read[3]; }, "Index out of range: 3, range = (0,3)",
               "VXLDCont const &VXLDContArray::operator [] (Vlong index) const");
  ExpectReport([&] { contours[-1]; }, "negative Index: -1",
               "VXLDCont &VXLDContArray::operator [] (Vlong index)");
  const char* slice = "VXLDContArray VXLDContArray::operator()(Vlong min, Vlong max)";
  ExpectReport([&] { contours(-1, 1); }, "negative Value for Parameter 'min'", slice);
  ExpectReport([&] { contours(0, 3); }, "Parameter 'max' exceeds number of elements", slice);
  ExpectReport([&] { contours(2, 1); }, "'max' < 'min'", slice);
  const VXLDContArray tail = contours(1, 2);
  ASSERT_EQ(tail.Num(), 2);
  EXPECT_EQ(tail[0].Key(), VKEY_UNDEF);
  EXPECT_NEAR(tail[1].LengthXld()[0].D(), contours[2].LengthXld()[0].D(), 1e-12);
  // The general array's texts name VXLD.
  const VXLDArray general = contours;
  ExpectReport([&] { general[7]; }, "Index out of range: 7, range = (0,3)",
               "VXLD const &VXLDArray::operator [] (Vlong index) const");
}

TEST_F(XldClassTest, KeysOfTheWrongClassAreRefusedAndReleased) {
  const VXLDCont contour = Circle();
  VXLDPolyArray polygons;
  Vkey keys[2] = {NewKey(contour), NewKey(contour)};
  unsigned int error = 0;
  polygons.SetKeys(keys, 2, &error);
  EXPECT_EQ(error, 4052u);
  EXPECT_EQ(polygons.Num(), 0);
  VXLDContArray contours;
  Vkey more[2] = {NewKey(contour), NewKey(contour)};
  contours.SetKeys(more, 2, &error);
  EXPECT_EQ(error, static_cast<unsigned int>(VRESULT_OK));
  EXPECT_EQ(contours.Num(), 2);
  // The general array takes any sub-pixel class but no region.
  const VRegion region = Square(1, 1, 4, 4);
  VXLDArray general;
  Vkey region_key[1] = {NewKey(region)};
  general.SetKeys(region_key, 1, &error);
  EXPECT_EQ(error, 4052u);
  ExpectReport([&] { VXLDPolyArray p(keys, 0), q(more, 1); }, "wrong object class passed",
               "VXLDPolyArray::VXLDPolyArray(Vkey *key, Vlong num)");
}

TEST_F(XldClassTest, AKeyTupleBecomesOneElementPerKey) {
  VXLDContArray contours;
  contours.Append(Circle(3.0)).Append(Circle(6.0));
  const VXLDContArray back(contours.Id());
  ASSERT_EQ(back.Num(), 2);
  EXPECT_NEAR(back[1].LengthXld()[0].D(), contours[1].LengthXld()[0].D(), 1e-12);
  const VXLDArray general(contours.Id());
  EXPECT_EQ(general.Num(), 2);
  const VXLDPolyArray polygons = Polygons(contours);
  ExpectReport([&] { VXLDContArray wrong(polygons.Id()); }, "wrong object class passed",
               "VXLDContArray::VXLDContArray(const Vobject &obj)");
  // Only the generic object (ID 3) goes in as one element; a single
  // sub-pixel object's own tag is none of the two accepted ones.
  EXPECT_EQ(VXLDArray(Square(1, 1, 4, 4).Id()).Num(), 1);
  ExpectReport([&] { VXLDArray wrong(Circle().Id()); }, "wrong object class passed",
               "VXLDArray::VXLDArray(const Vobject &obj)");
  EXPECT_EQ(VXLDContArray(VXLDContArray().Id()).Num(), 0);
}

TEST_F(XldClassTest, CopiesKeepHolesAndOwnTheirKeys) {
  VXLDContArray contours;
  contours[0] = Circle(3.0);
  contours[2] = Circle(5.0);
  const VXLDContArray copy = contours;
  ASSERT_EQ(copy.Num(), 3);
  EXPECT_EQ(copy[1].Key(), VKEY_UNDEF);
  EXPECT_NE(copy[2].Key(), contours[2].Key());
  // A general array holding only contours converts back; assignment
  // replaces the elements.
  const VXLDArray general = contours;
  VXLDContArray back;
  back.Append(Circle(9.0));
  back = general;
  ASSERT_EQ(back.Num(), 3);
  EXPECT_EQ(back[1].Key(), VKEY_UNDEF);
  // The first element and a copy of any element, without range test.
  const VXLDCont first(contours);
  const VXLD third = contours.Elem(2);
  EXPECT_NEAR(first.LengthXld()[0].D(), contours[0].LengthXld()[0].D(), 1e-12);
  EXPECT_NEAR(third.LengthXld()[0].D(), contours[2].LengthXld()[0].D(), 1e-12);
  // A handle keeps its key through self-assignment.
  VXLDCont self = Circle();
  const Vkey before = self.Key();
  self = *&self;
  EXPECT_EQ(self.Key(), before);
  // The reporting SetKeys names the class.
  Vkey keys[1] = {NewKey(contours[0])};
  ExpectReport([&] { VXLDPolyArray().SetKeys(keys, 1); }, "wrong object class passed",
               "void VXLDPolyArray::SetKeys(Vkey *key, Vlong n)");
}

// The first channel of a window's contents.
std::string Pixels(const VWindow& w) {
  Vobject dump;
  EXPECT_EQ(dump_window_image(&dump, w.WindowHandle()), VRESULT_OK);
  const VImage image(dump);
  std::string bytes;
  for (int y = 0; y < image.Height(); ++y)
    for (int x = 0; x < image.Width(); ++x)
      bytes += static_cast<char>(static_cast<int>(image.GetPixVal(x, y)));
  return bytes;
}

TEST_F(XldClassTest, DisplayDrawsAllElementsInOneCall) {
  VXLDContArray contours;
  contours.Append(Circle(8.0)).Append(Circle(20.0));
  const VWindow together(0, 0, 120, 100, 0, "", "", 1);
  const VWindow one_by_one(0, 0, 120, 100, 0, "", "", 1);
  const std::string blank = Pixels(together);
  contours.Display(together);
  for (Vlong i = 0; i < contours.Num(); ++i) contours[i].Display(one_by_one);
  const std::string drawn = Pixels(together);
  EXPECT_NE(drawn, blank);
  EXPECT_EQ(drawn, Pixels(one_by_one));
  // The empty handle draws nothing; a cleared one reports.
  VXLDCont none;
  none.Display(together);
  EXPECT_EQ(Pixels(together), drawn);
  none.Clear();
  ExpectReport([&] { none.Display(together); }, "Region is cleared",
               "void VXLD::Display(const VWindow &w)");
}

TEST_F(XldClassTest, ACircleContourHasTheLengthAndAreaOfItsPolygon) {
  const double radius = 10.0;
  const VXLDCont circle = Circle(radius);
  VTuple columns;
  const VTuple rows = circle.GetContourXld(&columns);
  // The contour's points lie on the circle; length and area are those of
  // the inscribed polygon through them.
  const Vlong n = rows.Num();
  ASSERT_GT(n, 10);
  double length = 0.0, twice_area = 0.0;
  for (Vlong i = 0; i + 1 < n; ++i) {
    const double r0 = rows[i].D() - 50, c0 = columns[i].D() - 60;
    const double r1 = rows[i + 1].D() - 50, c1 = columns[i + 1].D() - 60;
    // The runtime keeps the points in single precision.
    EXPECT_NEAR(std::hypot(r0, c0), radius, 1e-5);
    length += std::hypot(r1 - r0, c1 - c0);
    twice_area += c0 * r1 - c1 * r0;
  }
  EXPECT_NEAR(circle.LengthXld()[0].D(), length, 1e-6);
  EXPECT_NEAR(length, 2 * kPi * radius, 2 * kPi * radius * 1e-3);
  double row = 0, column = 0;
  char order[32] = {};
  const double area = circle.AreaCenterXld(&row, &column, order);
  EXPECT_NEAR(area, std::fabs(twice_area) / 2, 1e-6);
  EXPECT_NEAR(area, kPi * radius * radius, kPi * radius * radius * 2e-3);
  EXPECT_NEAR(row, 50.0, 1e-5);
  EXPECT_NEAR(column, 60.0, 1e-5);
}

TEST_F(XldClassTest, RegionAndImageMethodsGiveContours) {
  const VRegion square = Square(10, 20, 29, 49);
  const VXLDCont border = square.GenContourRegionXld("border");
  double row = 0, column = 0;
  char order[32] = {};
  // The border runs along the outer pixel edges: 20 by 30.
  EXPECT_NEAR(border.AreaCenterXld(&row, &column, order), 20.0 * 30.0, 1e-9);
  EXPECT_NEAR(row, 19.5, 1e-9);
  EXPECT_NEAR(column, 34.5, 1e-9);
  // A bright square in a dark image: its edge is one closed contour
  // around the square's border.
  const VImage image(64, 64, "byte");
  const VImage painted = square.PaintRegion(image, 200.0, "fill");
  const VXLDCont edge = painted.EdgesSubPix("canny", 1.0, 20, 40);
  EXPECT_EQ(edge.TestClosedXld()[0].L(), 1);
  edge.AreaCenterXld(&row, &column, order);
  EXPECT_NEAR(row, 19.5, 0.5);
  EXPECT_NEAR(column, 34.5, 0.5);
  // The array form gives the same.
  const VXLDContArray edges(edge);
  EXPECT_NEAR(edges.LengthXld()[0].D(), edge.LengthXld()[0].D(), 1e-12);
}

TEST_F(XldClassTest, PointSequencesTakeTheRuntimesPoints) {
  const VTuple rows = VTuple(1.0).Append(VTuple(1.0)).Append(VTuple(8.0)).Append(VTuple(8.0));
  const VTuple cols = VTuple(2.0).Append(VTuple(12.0)).Append(VTuple(12.0)).Append(VTuple(2.0));
  const VXLDCont polyline = Polyline(rows, cols);
  const VContour2D contour(polyline);
  ASSERT_EQ(contour.Num(), 4);
  for (Vlong i = 0; i < 4; ++i) {
    EXPECT_EQ(contour[i].Y(), rows[i].D());
    EXPECT_EQ(contour[i].X(), cols[i].D());
  }
  EXPECT_DOUBLE_EQ(contour.Length(), 10.0 + 7.0 + 10.0);
  VXLDContArray contours;
  contours.Append(polyline).Append(Circle());
  const VContourArray2D sequences(contours);
  ASSERT_EQ(sequences.Num(), 2);
  EXPECT_EQ(sequences[0].Num(), 4);
  EXPECT_NEAR(sequences[1].Length(), Circle().LengthXld()[0].D(), 1e-3);
  // A polygon of the polyline keeps its corners.
  const VXLDPolyArray polygons = Polygons(VXLDContArray(polyline));
  ASSERT_EQ(polygons.Num(), 1);
  const VPolygon2D polygon(polygons[0]);
  ASSERT_EQ(polygon.Num(), 4);
  EXPECT_EQ(polygon[2].Y(), 8.0);
  EXPECT_EQ(polygon[2].X(), 12.0);
  EXPECT_EQ(VPolygonArray2D(polygons).Num(), 1);
  // An empty handle has no contour to give.
  EXPECT_THROW(VContour2D{VXLDCont()}, VException);
}

}  // namespace
