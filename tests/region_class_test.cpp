// VRegion and VRegionArray: features from the run-length record against a
// per-pixel reference, the rules of the record cache, the members answered
// by operators, the symbol operators, and the array machinery (keys of a
// result, copies with holes, growth, tuples of keys).
#include <gtest/gtest.h>
#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj.h>
#include <vexaobj/VPrimitives.h>
#include <vexaobj/VRectangle.h>
#include <vexaobj/VRegion.h>
#include <vexaobj/VRegionArray.h>

#include <cmath>
#include <cstring>
#include <string>

#include "leak_checked_test.h"
#include "objdb.h"
#include "random_region_support.h"
#include "registry.h"

namespace {

using namespace Vexa;
using test_support::Mask;
using test_support::RandomRegion;

void ThrowCopy(const VException& e) { throw VException(e); }

// True when the runtime implements the operator; tests of members that
// need an operator still being written are skipped until it lands.
bool Implemented(const char* name) {
  int32_t op = -1;
  return VFindProcNumber(nullptr, name, &op) == VRESULT_OK &&
         vexa::HasRegisteredImpl(op);
}

#define REQUIRE_OPERATORS(...)                                      \
  for (const char* op : {__VA_ARGS__})                              \
    if (!Implemented(op)) GTEST_SKIP() << op << " is not implemented yet"

// A region of the rectangle rows r1..r2, columns c1..c2.
VRegion Rect(int r1, int c1, int r2, int c2) {
  Vobject out;
  EXPECT_EQ(gen_rectangle1(&out, double(r1), double(c1), double(r2), double(c2)),
            VRESULT_OK);
  return VRegion(out);
}

// Moments of the mask, pixel by pixel, in the region store's definitions.
struct Reference {
  double area = 0, row = 0, col = 0, m11 = 0, m20 = 0, m02 = 0, ia = 0, ib = 0;
  explicit Reference(const Mask& m) {
    for (int r = 0; r < m.height; ++r)
      for (int c = 0; c < m.width; ++c)
        if (m.At(r, c)) area += 1, row += r, col += c;
    row /= area;
    col /= area;
    for (int r = 0; r < m.height; ++r)
      for (int c = 0; c < m.width; ++c)
        if (m.At(r, c)) {
          m20 += (r - row) * (r - row);
          m02 += (c - col) * (c - col);
          m11 += (r - row) * (c - col);
        }
    m20 /= area, m02 /= area, m11 /= area;
    const double root = std::sqrt((m20 - m02) * (m20 - m02) / 4 + m11 * m11);
    ia = (m20 + m02) / 2 + root;
    ib = (m20 + m02) / 2 - root;
  }
};

// Objects and traced memory are back where they were when a test ends.
class RegionClassTest : public LeakCheckedTest {
 protected:
  void SetUp() override {
    old_ = VException::InstallVHandler(&ThrowCopy);
    LeakCheckedTest::SetUp();
  }
  void TearDown() override {
    LeakCheckedTest::TearDown();
    VException::InstallVHandler(old_);
  }
  VHandlerProc old_ = nullptr;
};

TEST_F(RegionClassTest, FeaturesMatchAPerPixelReference) {
  for (unsigned seed : {11u, 12u, 13u}) {
    const RandomRegion shape(50, 35, seed, 100, 255);
    const Reference ref(shape.mask);
    const VRegion region(shape.region);
    const double eps = 1e-9;
    EXPECT_EQ(region.Area(), shape.mask.Area());
    EXPECT_NEAR(region.Row(), ref.row, eps);
    EXPECT_NEAR(region.Col(), ref.col, eps);
    EXPECT_EQ(region.Y(), region.Row());
    EXPECT_EQ(region.X(), region.Col());
    EXPECT_NEAR(region.M11(), ref.m11, eps);
    EXPECT_NEAR(region.M20(), ref.m20, eps);
    EXPECT_NEAR(region.M02(), ref.m02, eps);
    EXPECT_NEAR(region.Ia(), ref.ia, eps);
    EXPECT_NEAR(region.Ib(), ref.ib, eps);
    EXPECT_NEAR(region.Ra(), 2 * std::sqrt(ref.ia), eps);
    EXPECT_NEAR(region.Rb(), 2 * std::sqrt(ref.ib), eps);
    EXPECT_NEAR(region.Phi(), std::atan2(-2 * ref.m11, ref.m02 - ref.m20) / 2, eps);
    EXPECT_NEAR(region.Anisometry(), region.Ra() / region.Rb(), 1e-9);
  }
  // A wide rectangle lies along the columns.
  const VRegion wide = Rect(10, 5, 13, 24);
  EXPECT_EQ(wide.Area(), 4 * 20);
  EXPECT_DOUBLE_EQ(wide.Row(), 11.5);
  EXPECT_DOUBLE_EQ(wide.Col(), 14.5);
  EXPECT_DOUBLE_EQ(wide.Phi(), 0.0);
  EXPECT_GT(wide.Ra(), wide.Rb());
}

TEST_F(RegionClassTest, AnEmptyHandleGivesZeroFeaturesAndGetRLReports) {
  const VRegion none;
  EXPECT_EQ(none.Area(), 0);
  EXPECT_EQ(none.Row(), 0.0);
  EXPECT_EQ(none.Ra(), 0.0);
  EXPECT_EQ(none.M11(), 0.0);
  EXPECT_EQ(none.Bulkiness(), 0.0);
  EXPECT_EQ(none.IsEmpty(), 1);
  try {
    none.GetRL();
    ADD_FAILURE() << "GetRL of key 1 must report";
  } catch (const VException& e) {
    EXPECT_STREQ(e.message, "called for empty-region");
    EXPECT_STREQ(e.proc, "void VRegion::GetRL(void)");
  }
  // A key whose region has no pixels is empty too.
  Vobject image, nothing;
  ASSERT_EQ(gen_image_const(&image, "byte", 8, 8), VRESULT_OK);
  ASSERT_EQ(threshold(image, &nothing, 10.0, 20.0), VRESULT_OK);
  const VRegion no_pixels(nothing);
  EXPECT_EQ(no_pixels.IsEmpty(), 1);
  EXPECT_EQ(no_pixels.Area(), 0);
  EXPECT_EQ(Rect(0, 0, 1, 1).IsEmpty(), 0);
}

TEST_F(RegionClassTest, ClearedHandlesReport) {
  VRegion region = Rect(0, 0, 3, 3);
  region.Clear();
  EXPECT_EQ(region.IsCleared(), 1);
  EXPECT_THROW(region.IsEmpty(), VException);
  EXPECT_THROW(region.In(VDPoint2D(0, 0)), VException);
  EXPECT_THROW(region.BoundingBox(), VException);
  EXPECT_THROW(region.Insert(VDPoint2D(0, 0)), VException);
}

TEST_F(RegionClassTest, ClassTablesAndConversions) {
  const VRegion region = Rect(2, 2, 5, 6);
  EXPECT_STREQ(region.ClassName(), "VRegion");
  EXPECT_STREQ(region.InstClassName(), "VRegion");
  EXPECT_STREQ(region.VClassName(), "region");
  EXPECT_EQ(region.ClassDBID(), 1);
  EXPECT_EQ(region.Shared(), 1);
  EXPECT_EQ(region.ToRLRegion(), nullptr);

  const VAbstractRegion& abstract = region;
  VAbstractRegion* copy = abstract.CopyAbstractRegion();
  ASSERT_NE(copy, nullptr);
  const VRegion* as_region = static_cast<const VRegion*>(copy);
  EXPECT_NE(as_region->Key(), region.Key());  // a key of its own
  EXPECT_EQ(as_region->Area(), 20);
  delete copy;
  VAbstractRegion* empty = abstract.NewEmpty();
  EXPECT_EQ(static_cast<VRegion*>(empty)->Key(), VKEY_UNDEF);
  delete empty;
}

TEST_F(RegionClassTest, AssignmentTakesKeyAndRecordAndCopiesOwnKeys) {
  VRegion a = Rect(0, 0, 9, 9);
  const VRegion b = Rect(0, 0, 1, 1);
  EXPECT_EQ(b.Area(), 4);  // fills b's record
  a = b;
  EXPECT_NE(a.Key(), b.Key());
  EXPECT_EQ(a.GetRL(), b.GetRL());  // the record pointer came with it
  EXPECT_EQ(a.Area(), 4);
  a = a;
  EXPECT_EQ(a.Area(), 4);
  const VRegion c(a);
  EXPECT_EQ(c.Area(), 4);
  EXPECT_EQ(VRegion(Vkey(nullptr)).Key(), VKEY_UNDEF);
}

TEST_F(RegionClassTest, InsertAndDeleteKeepTheOldRecord) {
  REQUIRE_OPERATORS("gen_region_points", "union2", "difference", "test_region_point");
  VRegion region = Rect(0, 0, 2, 2);
  EXPECT_EQ(region.Area(), 9);  // fills the record
  region.Insert(VDPoint2D(10, 20));  // x is the column
  EXPECT_EQ(region.Area(), 9);       // the old record, as the class defines
  EXPECT_EQ(region.In(VDPoint2D(10, 20)), 1);
  EXPECT_EQ(region.In(VDPoint2D(20, 10)), 0);
  region = VRegion(region.Id());
  EXPECT_EQ(region.Area(), 10);  // right again after an assignment
  region.Delete(VDPoint2D(0, 0));
  region = VRegion(region.Id());
  EXPECT_EQ(region.Area(), 9);
  EXPECT_EQ(region.In(VDPoint2D(0, 0)), 0);

  VRegion none;
  none.Insert(VDPoint2D(3, 4));
  EXPECT_EQ(none.Area(), 1);
  VRegion still_none;
  still_none.Delete(VDPoint2D(3, 4));
  EXPECT_EQ(still_none.Key(), VKEY_UNDEF);
}

TEST_F(RegionClassTest, BoundingBoxOfARandomRegion) {
  REQUIRE_OPERATORS("smallest_rectangle1");
  const RandomRegion shape(40, 30, 21, 250, 255);
  int r1 = 1 << 20, c1 = 1 << 20, r2 = -1, c2 = -1;
  for (int r = 0; r < 30; ++r)
    for (int c = 0; c < 40; ++c)
      if (shape.mask.At(r, c))
        r1 = std::min(r1, r), c1 = std::min(c1, c), r2 = std::max(r2, r),
        c2 = std::max(c2, c);
  const VRectangle1 box = VRegion(shape.region).BoundingBox();
  EXPECT_EQ(box.UpperLeft().Y(), r1);
  EXPECT_EQ(box.UpperLeft().X(), c1);
  EXPECT_EQ(box.LowerRight().Y(), r2);
  EXPECT_EQ(box.LowerRight().X(), c2);
  EXPECT_EQ(VRegion().BoundingBox().IsEmpty(), 1);
}

TEST_F(RegionClassTest, ComparisonsAreNoInclusionTests) {
  REQUIRE_OPERATORS("difference", "test_equal_region");
  const VRegion a = Rect(0, 0, 5, 5);
  const VRegion b = Rect(3, 3, 8, 8);
  EXPECT_EQ(a > b, 1);
  EXPECT_EQ(a < b, 1);  // overlapping regions satisfy both
  const VRegion same = Rect(0, 0, 5, 5);
  EXPECT_EQ(a == same, 1);
  EXPECT_EQ(a <= same, 1);
  EXPECT_EQ(a >= same, 1);
  EXPECT_EQ(a < same, 0);
  EXPECT_EQ(a > same, 0);
  const VRegion inner = Rect(1, 1, 2, 2);
  EXPECT_EQ(inner > a, 0);
  EXPECT_EQ(inner < a, 1);
}

TEST_F(RegionClassTest, SetOperatorsAndCompoundForms) {
  REQUIRE_OPERATORS("union2", "intersection", "difference", "move_region");
  const VRegion a = Rect(0, 0, 3, 3);
  const VRegion b = Rect(2, 2, 5, 5);
  EXPECT_EQ((a | b).Area(), 16 + 16 - 4);
  EXPECT_EQ((a & b).Area(), 4);
  EXPECT_EQ((a / b).Area(), 12);
  const VRegion moved = a + VDPoint2D(10, 20);
  EXPECT_DOUBLE_EQ(moved.Row(), 1.5 + 20);
  EXPECT_DOUBLE_EQ(moved.Col(), 1.5 + 10);

  VRegion c = a;
  EXPECT_EQ(c.Area(), 16);
  const Vkey before = c.Key();
  c |= b;  // a new key and a new record
  EXPECT_NE(c.Key(), before);
  EXPECT_EQ(c.Area(), 28);
  c &= b;
  EXPECT_EQ(c.Area(), 16);
  c /= a;
  EXPECT_EQ(c.Area(), 12);
}

// ---- VRegionArray ----------------------------------------------------------

// An array of `n` rectangles, one key tuple made in the runtime.
Vobject RectangleTuple(int n) {
  VTuple r1, c1, r2, c2;
  for (int i = 0; i < n; ++i) {
    r1.Append(VTuple(double(i))), c1.Append(VTuple(0.0));
    r2.Append(VTuple(double(i))), c2.Append(VTuple(double(i)));
  }
  Vobject out;
  EXPECT_EQ(gen_rectangle1(&out, r1, c1, r2, c2), VRESULT_OK);
  return out;
}

TEST_F(RegionClassTest, ArrayFromAKeyTupleAndBack) {
  const VRegionArray array(RectangleTuple(4));
  ASSERT_EQ(array.Num(), 4);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(array[i].Area(), i + 1);
  EXPECT_STREQ(array.ClassName(), "VRegionArray");
  EXPECT_STREQ(array.VClassName(), "region");

  const VRegionArray none(RectangleTuple(0));
  EXPECT_EQ(none.Num(), 0);
  Vobject single;
  ASSERT_EQ(gen_rectangle1(&single, 0.0, 0.0, 1.0, 1.0), VRESULT_OK);
  const VRegionArray one(single);
  ASSERT_EQ(one.Num(), 1);
  EXPECT_EQ(one[0].Area(), 4);
  EXPECT_THROW(array[4], VException);
  EXPECT_THROW(array[-1], VException);
}

TEST_F(RegionClassTest, CopiesKeepHolesAndGrowthMakesDefaults) {
  VRegionArray array;
  array.Append(Rect(0, 0, 1, 1));
  array[2] = Rect(0, 0, 2, 2);  // grows; element 1 is a hole
  ASSERT_EQ(array.Num(), 3);
  EXPECT_EQ(array[1].Key(), VKEY_UNDEF);

  const VRegionArray copy(array);
  ASSERT_EQ(copy.Num(), 3);
  EXPECT_EQ(copy[1].Key(), VKEY_UNDEF);
  EXPECT_NE(copy[2].Key(), array[2].Key());
  EXPECT_EQ(copy[2].Area(), 9);

  VRegionArray assigned;
  assigned = copy;
  assigned.Append(VRegionArray());  // appending nothing changes nothing
  EXPECT_EQ(assigned.Num(), 3);
  assigned.Append(copy);
  EXPECT_EQ(assigned.Num(), 6);
  EXPECT_EQ(assigned[5].Area(), 9);

  const VRegionArray part = assigned(2, 3);
  ASSERT_EQ(part.Num(), 2);
  EXPECT_EQ(part[0].Area(), 9);
  EXPECT_EQ(part[1].Area(), 4);
  EXPECT_THROW(assigned(-1, 2), VException);
  EXPECT_THROW(assigned(0, 6), VException);
  EXPECT_THROW(assigned(3, 2), VException);

  // The array's tuple of keys keeps the hole as the empty object, which is
  // no region: reading the tuple back reports it, and loses nothing.
  EXPECT_THROW(VRegionArray{copy.Id()}, VException);
  const VRegionArray round_trip(part.Id());
  ASSERT_EQ(round_trip.Num(), 2);
  EXPECT_EQ(round_trip[1].Area(), 4);
}

TEST_F(RegionClassTest, SetKeysRefusesKeysOfAnotherClass) {
  const Vobject tuple = RectangleTuple(2);
  VRegionArray array;
  // A key tuple is no iconic object. SetKeys takes the key it is given
  // over, so it gets a copy of its own.
  Vkey wrong[1] = {tuple.Id()};
  Vkey copy = VKEY_UNDEF;
  {
    void* proc = nullptr;
    ASSERT_EQ(VGetVProc(-1, &proc), VRESULT_OK);
    ASSERT_EQ(DBCopyObjectId(proc, wrong[0], &copy), VRESULT_OK);
    ASSERT_EQ(VPutVProc(proc), VRESULT_OK);
  }
  wrong[0] = copy;
  unsigned int error = 0;
  array.SetKeys(wrong, 1, &error);
  EXPECT_EQ(error, 4052u);
  EXPECT_EQ(array.Num(), 0);
  // The refused key was released by the array.
  EXPECT_EQ(vexa::db::Check(copy), VERR_KEY_DELETED);

  // A refused key among good ones: the array took all of them, so all are
  // released (the fixture counts the objects left over).
  Vkey mixed[3] = {VKEY_UNDEF, VKEY_UNDEF, VKEY_UNDEF};
  {
    void* proc = nullptr;
    ASSERT_EQ(VGetVProc(-1, &proc), VRESULT_OK);
    ASSERT_EQ(DBCopyObjectId(proc, Rect(0, 0, 1, 1).Key(), &mixed[0]), VRESULT_OK);
    ASSERT_EQ(DBCopyObjectId(proc, tuple.Id(), &mixed[1]), VRESULT_OK);
    ASSERT_EQ(DBCopyObjectId(proc, Rect(0, 0, 2, 2).Key(), &mixed[2]), VRESULT_OK);
    ASSERT_EQ(VPutVProc(proc), VRESULT_OK);
  }
  array.SetKeys(mixed, 3, &error);
  EXPECT_EQ(error, 4052u);
  EXPECT_EQ(array.Num(), 0);
  for (Vkey k : mixed) EXPECT_EQ(vexa::db::Check(k), VERR_KEY_DELETED);
}

TEST_F(RegionClassTest, AppendingTheArrayOrItsOwnElementToItself) {
  VRegionArray array;
  array.Append(Rect(0, 0, 1, 1));
  array.Append(Rect(0, 0, 2, 2));
  // Both appends grow the storage that their argument lives in.
  array.Append(array);
  ASSERT_EQ(array.Num(), 4);
  array.Append(array[3]);
  ASSERT_EQ(array.Num(), 5);
  const Vlong areas[] = {4, 9, 4, 9, 9};
  for (Vlong i = 0; i < 5; ++i) EXPECT_EQ(array[i].Area(), areas[i]);
  EXPECT_NE(array[4].Key(), array[3].Key());
}

}  // namespace
