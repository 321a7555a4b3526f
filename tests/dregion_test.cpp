// Discrete regions: sharing and copy on write of the representation, the
// complement that only Full sets, the conversion that hands out copies,
// and the array that shares its elements; every held region is counted so
// that a lost or doubly deleted one shows.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <vexaobj.h>
#include <vexaobj/VDRegion.h>

namespace {

using namespace Vexa;

// A region of chords that counts its living instances.
struct CountedRegion : VAbstractRegion {
  static inline int live = 0;
  CountedRegion() : runs(0) { ++live; }
  explicit CountedRegion(const VDChord& c) : runs(c) { ++live; }
  CountedRegion(const CountedRegion& o) : VAbstractRegion(o), runs(o.runs) { ++live; }
  ~CountedRegion() override { --live; }
  const char* ClassName() const override { return "CountedRegion"; }
  VAbstractRegion* CopyAbstractRegion() const override { return new CountedRegion(*this); }
  VAbstractRegion* NewEmpty() const override { return new CountedRegion(); }
  VRectangle1 BoundingBox() const override { return runs.BoundingBox(); }
  int In(const VDPoint2D& p) const override { return runs.In(p); }
  int IsEmpty() const override { return runs.IsEmpty(); }
  void Display(const VWindow&) const override {}
  VRLRegion* ToRLRegion() const override { return nullptr; }
  VRegion* ToVRegion() const override { return nullptr; }
  RunLength runs;
};

// Exposes the representation.
struct Probe : VDRegion {
  using VDRegion::VDRegion;
  Probe(const VDRegion& r) : VDRegion(r) {}
  VRepRegion* Rep() const { return rep; }
};

struct ReturningHandler {
  static inline std::vector<std::string> messages;
  static inline std::vector<std::string> procs;
  static void Handle(const VException& e) {
    messages.push_back(e.message);
    procs.push_back(e.proc);
  }
};

class DRegionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CountedRegion::live = 0;
    ReturningHandler::messages.clear();
    ReturningHandler::procs.clear();
    old_ = VException::InstallVHandler(&ReturningHandler::Handle);
  }
  void TearDown() override {
    VException::InstallVHandler(old_);
    EXPECT_EQ(CountedRegion::live, 0) << "held regions left over";
  }
  static VAbstractRegion* Row(int y, int xb, int xe) { return new CountedRegion(VDChord(y, xb, xe)); }
  VHandlerProc old_ = nullptr;
};

TEST_F(DRegionTest, CopiesShareAndModifyDetaches) {
  Probe a(Row(2, 0, 9));
  EXPECT_EQ(a.Rep()->refs, 1);
  {
    Probe b(a);
    EXPECT_EQ(b.Rep(), a.Rep());
    EXPECT_EQ(a.Rep()->refs, 2);

    VRepRegion* old = b.Rep();
    b.Modify();
    EXPECT_NE(b.Rep(), old);
    EXPECT_EQ(old->refs, 1);
    EXPECT_EQ(b.Rep()->refs, 1);
    EXPECT_EQ(CountedRegion::live, 2);
    EXPECT_TRUE(b.In(VDPoint2D(5, 2)));

    VRepRegion* own = b.Rep();
    b.Modify();  // sole owner: nothing happens
    EXPECT_EQ(b.Rep(), own);
  }
  EXPECT_EQ(CountedRegion::live, 1);
}

TEST_F(DRegionTest, AssignmentReleasesAndShares) {
  Probe a(Row(0, 0, 1));
  Probe b(Row(1, 0, 1));
  VRepRegion* shared = a.Rep();
  b = a;
  EXPECT_EQ(b.Rep(), shared);
  EXPECT_EQ(shared->refs, 2);
  {
    VDRegion c;
    const VDRegion returned = (c = a);  // a further sharer
    EXPECT_EQ(shared->refs, 4);
  }
  EXPECT_EQ(CountedRegion::live, 1);  // b's old region was released

  b = b;  // a self-assignment keeps the representation alive
  EXPECT_EQ(shared->refs, 2);
  EXPECT_TRUE(b.In(VDPoint2D(1, 0)));

  Probe none;
  b = none;
  EXPECT_EQ(b.Rep(), nullptr);
  EXPECT_EQ(shared->refs, 1);
}

TEST_F(DRegionTest, FullIsTheComplementOfNothing) {
  const VDRegion held(Row(3, 4, 6));
  const VDRegion full = held.Full();
  const VDRegion empty = held.Empty();
  for (int y = -2; y < 6; ++y)
    for (int x = -2; x < 9; ++x) {
      EXPECT_EQ(full.In(VDPoint2D(x, y)), 1);
      EXPECT_EQ(empty.In(VDPoint2D(x, y)), 0);
    }
  EXPECT_TRUE(held.In(VDPoint2D(4, 3)));
  EXPECT_FALSE(held.In(VDPoint2D(7, 3)));
  EXPECT_TRUE(full.BoundingBox().IsEmpty());  // that of the empty region held

  // Neither a copy nor an assignment carries the flag.
  const VDRegion copy(full);
  EXPECT_EQ(copy.In(VDPoint2D(0, 0)), 0);
  VDRegion assigned;
  assigned = full;
  EXPECT_EQ(assigned.In(VDPoint2D(0, 0)), 0);
}

TEST_F(DRegionTest, ConversionHandsOutACopyEachTime) {
  VDRegion d(Row(0, 2, 3));
  VAbstractRegion* first = d;
  VAbstractRegion* second = d;
  ASSERT_NE(first, nullptr);
  EXPECT_NE(first, second);
  EXPECT_EQ(CountedRegion::live, 3);
  EXPECT_TRUE(first->In(VDPoint2D(3, 0)));
  delete first;
  delete second;

  VDRegion none;
  VAbstractRegion* nothing = none;
  EXPECT_EQ(nothing, nullptr);
  ASSERT_EQ(ReturningHandler::messages.size(), 1u);
  EXPECT_EQ(ReturningHandler::messages[0], "reg is NULL");
  EXPECT_EQ(ReturningHandler::procs[0], "VDRegion::operator VAbstractRegion* (void)");
}

TEST_F(DRegionTest, RepresentationCopyIsDeep) {
  VRepRegion original(Row(1, 1, 1));
  VRepRegion copy(&original);
  EXPECT_NE(copy.reg, original.reg);
  EXPECT_EQ(copy.refs, 1);
  EXPECT_TRUE(copy.reg->In(VDPoint2D(1, 1)));
  EXPECT_STREQ(copy.ClassName(), "VRepRegion");

  const VDRegion held(Row(0, 0, 0));
  EXPECT_EQ(held.NumPoints(), 0);
  EXPECT_STREQ(held.ClassName(), "VDRegion");
}

TEST_F(DRegionTest, ArraySharesItsElements) {
  Probe d(Row(0, 0, 4));
  {
    VDRegionArray array(d);
    EXPECT_EQ(array.Num(), 1);
    EXPECT_EQ(d.Rep()->refs, 2);

    VDRegion other(Row(1, 0, 0));
    array.Append(other);
    EXPECT_EQ(array.Num(), 2);
    EXPECT_TRUE(array[1].In(VDPoint2D(0, 1)));

    array[14] = d;  // grows through the array rule
    EXPECT_EQ(array.Num(), 15);
    EXPECT_EQ(d.Rep()->refs, 3);

    VDRegionArray copy(array);
    EXPECT_EQ(copy.Num(), 15);
    EXPECT_EQ(d.Rep()->refs, 5);
    copy = VDRegionArray();
    EXPECT_EQ(copy.Num(), 0);
    EXPECT_EQ(d.Rep()->refs, 3);

    array[-1];
    ASSERT_EQ(ReturningHandler::messages.size(), 1u);
    EXPECT_EQ(ReturningHandler::messages[0], "index < 0");
    EXPECT_EQ(ReturningHandler::procs[0], "VDRegion &VDRegionArray::operator [] (Vlong index)");
    EXPECT_STREQ(array.ClassName(), "VDRegionArray");
  }
  EXPECT_EQ(d.Rep()->refs, 1);
  EXPECT_EQ(CountedRegion::live, 1);
}

}  // namespace
