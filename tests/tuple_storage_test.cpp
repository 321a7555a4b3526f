// VTuple storage: growth rule, constructors, checked access, slices,
// joining, lending to and adopting from the runtime's records, and freedom
// from leaks in the runtime's allocator.
#include <vexa/errors.h>
#include <vexaobj/VTuple.h>

#include <cstring>
#include <string>

#include "control_test_support.h"
#include "tuple_test_support.h"

using Vexa::VCtrlVal;
using Vexa::Vlong;
using Vexa::VTuple;
using control_test::ExpectRaise;
using tuple_test::Probe;

namespace {

class TupleTest : public control_test::ThrowingTest {};

const char kConstIndexProc[] = "VCtrlVal VTuple::operator [] (long index) const";

VTuple Longs(std::initializer_list<Vlong> values) {
  VTuple t;
  for (Vlong v : values) t[t.Num()] = VCtrlVal(v);
  return t;
}

TEST_F(TupleTest, GrowthScalesTheIndexNotTheCapacity) {
  Probe t;
  t[5] = 1;
  EXPECT_EQ(t.Num(), 6);
  EXPECT_EQ(t.AllocNum(), 8);
  for (Vlong i = 0; i < 5; ++i) EXPECT_EQ(t[i].ValType(), VPAR_UNDEF);
  ExpectRaise([&] { t[2].I(); }, "int VCtrlVal::I() const", "not instantiated");
  EXPECT_EQ(t[5].I(), 1);

  const struct { Vlong index, capacity; } rule[] = {
      {0, 10}, {1, 2}, {10, 17}, {100, 170}};
  for (const auto& step : rule) {
    Probe grown;
    grown[step.index] = 0;
    EXPECT_EQ(grown.AllocNum(), step.capacity) << "index " << step.index;
  }
  Probe in_place;
  in_place[10] = 1;
  in_place[16] = 2;  // inside capacity 17: no reallocation
  EXPECT_EQ(in_place.AllocNum(), 17);
  EXPECT_EQ(in_place[10].I(), 1);
}

TEST_F(TupleTest, OneValueConstructorsReserveTen) {
  const Probe seven(7);
  EXPECT_EQ(seven.Num(), 1);
  EXPECT_EQ(seven.AllocNum(), 10);
  EXPECT_EQ(Probe(2.5f)[0].D(), 2.5);
  EXPECT_EQ(Probe(Vlong{1} << 40)[0].L(), Vlong{1} << 40);
  EXPECT_STREQ(Probe("abc")[0].S(), "abc");
  EXPECT_EQ(Probe(VCtrlVal(1.5))[0].ValType(), VPAR_DOUBLE);
  EXPECT_EQ(VTuple().Num(), 0);
  EXPECT_EQ(VTuple().State(), 1);
  EXPECT_EQ(VTuple(Vexa::SpecialTuple{7}).State(), 7);
}

TEST_F(TupleTest, CopyKeepsCapacityAndState) {
  Probe source(Vexa::SpecialTuple{3});
  source[30] = "x";
  source.Reset();  // keeps state 3
  EXPECT_EQ(source.AllocNum(), 0);
  for (int i = 0; i < 3; ++i) source[i] = i;
  source[10] = "last";
  Probe copy(source);
  EXPECT_EQ(copy.AllocNum(), 17);
  EXPECT_EQ(copy.State(), 3);
  EXPECT_STREQ(copy[10].S(), "last");
  VTuple assigned("old");
  assigned = copy;
  EXPECT_EQ(assigned.Num(), 11);
  EXPECT_NE(assigned[10].S(), copy[10].S());
  assigned = assigned;
  EXPECT_STREQ(assigned[10].S(), "last");
}

TEST_F(TupleTest, LengthConstructors) {
  const VTuple three(3, VTuple("x"));
  ASSERT_EQ(three.Num(), 3);
  EXPECT_STREQ(three[2].S(), "x");
  EXPECT_EQ(Probe(3, VTuple(1)).AllocNum(), 3);
  EXPECT_EQ(VTuple(0, VTuple()).Num(), 0);
  // A negative length is kept as given, with no storage.
  EXPECT_EQ(VTuple(-2, VTuple(1)).Num(), -2);
  EXPECT_EQ(VTuple(VTuple(2), VTuple(5.5))[1].D(), 5.5);
  ExpectRaise([] { VTuple(2, VTuple()); }, kConstIndexProc,
              "index out of range: index = 0, Num() = 0\n");
  ExpectRaise([] { VTuple(Longs({1, 2}), VTuple(1)); },
              "VTuple::VTuple(const VTuple &length, const VTuple &value)",
              "Length with length != 1: length = 2\n");
}

TEST_F(TupleTest, CheckedAccessTexts) {
  VTuple t = Longs({10, 20});
  const VTuple& ct = t;
  ExpectRaise([&] { ct[2]; }, kConstIndexProc,
              "index out of range: index = 2, Num() = 2\n");
  ExpectRaise([&] { t[-1]; }, "VCtrlVal & VTuple::operator [] (long index)",
              "index out of range: index = -1\n");
  const char* tuple_proc = "VCtrlVal & VTuple::operator [] (const VTuple &index)";
  ExpectRaise([&] { t[VTuple()]; }, tuple_proc, "Index with length != 1: length = 0\n");
  ExpectRaise([&] { t[VTuple(-4)]; }, tuple_proc, "negative index: index = -4\n");
  ExpectRaise([&] { ct[Longs({0, 1})]; },
              "VCtrlVal VTuple::operator [] (const VTuple &index) const",
              "Index tuple with length != 1: length = 2\n");
  ExpectRaise([&] { VCtrlVal v = ct; }, "VTuple::operator VCtrlVal(void) const",
              "length of tuple != 1");
  EXPECT_EQ(ct[VTuple(1.7)].I(), 20);  // a real index is truncated
  t[VTuple(3)] = 40;
  EXPECT_EQ(t.Num(), 4);
  EXPECT_EQ(static_cast<VCtrlVal>(VTuple(9)).I(), 9);
}

TEST(TupleReturningHandler, FailedWritesLandOutsideTheTuple) {
  control_test::ScopedHandler handler(&control_test::Returning::Handle);
  VTuple t = Longs({1});
  t[-3] = 5;
  EXPECT_EQ(t.Num(), 1);
  EXPECT_EQ(t[-3].ValType(), VPAR_UNDEF);  // a write to the sink does not stay
  EXPECT_EQ(static_cast<const VTuple&>(t)[7].ValType(), VPAR_UNDEF);
}

TEST_F(TupleTest, SliceKeepsItsAsymmetry) {
  const VTuple t = Longs({0, 1, 2, 3, 4, 5, 6});
  const char* proc = "VTuple VTuple::operator () (long min, long max)";
  EXPECT_EQ(t(5, 4).Num(), 0);
  ExpectRaise([&] { t(0, -1); }, proc, "index out of range");
  ExpectRaise([&] { t(1, 7); }, proc, "index out of range");
  ExpectRaise([&] { t(3, 1); }, proc, "index out of range");
  EXPECT_EQ(VTuple()(-5, 99).Num(), 0);
  const VTuple middle = t(2, 4);
  ASSERT_EQ(middle.Num(), 3);
  EXPECT_EQ(middle[0].I(), 2);
  EXPECT_EQ(middle[2].I(), 4);
  EXPECT_EQ(t(VTuple(6), VTuple(6))[0].I(), 6);
  const char* tuple_proc =
      "VTuple VTuple::operator () (const VTuple &min, const VTuple &max)";
  ExpectRaise([&] { t(VTuple(), VTuple(1)); }, tuple_proc, "length of index min != 1");
  ExpectRaise([&] { t(VTuple(1), Longs({1, 2})); }, tuple_proc,
              "length of index max != 1");
}

TEST_F(TupleTest, AppendAndConcatKeepOrder) {
  VTuple t = Longs({1});
  t[1] = "a";
  t[2] = 2.5;
  t.Append(t);
  ASSERT_EQ(t.Num(), 6);
  EXPECT_EQ(t[3].I(), 1);
  EXPECT_STREQ(t[4].S(), "a");
  EXPECT_NE(t[4].S(), t[1].S());
  EXPECT_EQ(t[5].D(), 2.5);
  EXPECT_EQ(t.Append(VTuple()).Num(), 6);

  const Probe joined = Longs({1, 2}).Concat(Longs({3, 4, 5}));
  ASSERT_EQ(joined.Num(), 5);
  EXPECT_EQ(joined.AllocNum(), 6);  // sized once, by index 4
  for (Vlong i = 0; i < 5; ++i) EXPECT_EQ(joined[i].L(), i + 1);
  EXPECT_EQ(VTuple().Concat(VTuple()).Num(), 0);
}

TEST_F(TupleTest, LendsToARecordWithoutCopying) {
  Vctuple rec;
  std::memset(&rec, 0xAB, sizeof rec);
  VTuple().CastToVctuple(rec);
  EXPECT_EQ(rec.type, VPAR_MIXED);
  EXPECT_EQ(rec.num, 0);
  EXPECT_EQ(rec.capacity, 0);
  EXPECT_EQ(rec.borrowed, 1);

  VTuple text("lent");
  text.CastToVctuple(rec);
  EXPECT_EQ(rec.type, VPAR_STRING);
  EXPECT_EQ(rec.val.s, text[0].S());
  EXPECT_EQ(rec.elem, reinterpret_cast<Vcpar*>(&rec));
  EXPECT_EQ(rec.capacity, 0);
  EXPECT_EQ(rec.num, 1);

  Probe many = Longs({1, 2, 3});
  many.CastToVctuple(rec);
  EXPECT_EQ(rec.type, VPAR_MIXED);
  EXPECT_EQ(rec.num, 3);
  EXPECT_EQ(rec.capacity, many.AllocNum());
  EXPECT_EQ(rec.elem[2].par.l, 3);
  EXPECT_EQ(static_cast<const void*>(&rec.elem[0]), &many[0]);
}

// An output record as the runtime fills it: `values` in an array of
// `capacity` entries from the runtime's allocator.
Vctuple ArrayRecord(Vlong num, Vlong capacity) {
  Vctuple rec{};
  void* block = nullptr;
  EXPECT_EQ(VXAlloc(nullptr, capacity * sizeof(Vcpar), &block), VRESULT_OK);
  rec.elem = static_cast<Vcpar*>(block);
  for (Vlong i = 0; i < capacity; ++i) {
    rec.elem[i].par.l = i;
    rec.elem[i].type = i < num ? VPAR_LONG : VPAR_UNDEF;
  }
  rec.type = VPAR_MIXED;
  rec.num = num;
  rec.capacity = capacity;
  return rec;
}

TEST_F(TupleTest, AdoptsWhatTheRuntimeHandsOver) {
  Vctuple array = ArrayRecord(3, 17);
  Probe adopted(Vexa::SpecialTuple{0});
  adopted.CastFromVctuple(&array);
  EXPECT_EQ(adopted.Num(), 3);
  EXPECT_EQ(adopted.AllocNum(), 17);
  EXPECT_EQ(adopted.State(), 1);
  EXPECT_EQ(static_cast<const void*>(&adopted[0]), array.elem);
  EXPECT_EQ(Probe(adopted).AllocNum(), 17);  // copies keep the capacity

  Vctuple single{};
  void* text = nullptr;
  ASSERT_EQ(VXAlloc(nullptr, 3, &text), VRESULT_OK);
  std::memcpy(text, "ok", 3);
  single.val.s = static_cast<char*>(text);
  single.type = VPAR_STRING;
  single.num = 1;
  single.elem = reinterpret_cast<Vcpar*>(&single);
  Probe one;
  one.CastFromVctuple(&single);
  EXPECT_EQ(one.Num(), 1);
  EXPECT_EQ(one.AllocNum(), 1);
  EXPECT_EQ(one[0].S(), text);  // the string is taken over, not copied

  Vctuple empty{};
  empty.type = VPAR_MIXED;
  VTuple kept = Longs({1, 2});
  kept.CastFromVctuple(&empty);
  EXPECT_EQ(kept.Num(), 2);
}

TEST_F(TupleTest, FailedAllocationRaisesTheRuntimeText) {
  char text[1024];
  VErrorMessage(VERR_TOO_LARGE, text);
  VTuple t = Longs({1, 2});
  ExpectRaise([&] { t[Vlong{1} << 40] = 1; },
              "VTuple::NewLength(Vlong new_num, Vlong old_num)", text);
  // The tuple is left as it was and stays usable.
  ASSERT_EQ(t.Num(), 2);
  EXPECT_EQ(t[1].I(), 2);
  t[2] = 3;
  EXPECT_EQ(t.Num(), 3);
}

TEST_F(TupleTest, NothingLeaksInTheRuntimeAllocator) {
  control_test::ScopedMemTrace trace;
  {
    VTuple t("a");
    t[20] = "far";
    t.Append(t);
    VTuple copy = t(1, 25);
    copy = t.Concat(VTuple(3, VTuple("fill")));
    VTuple filled(VTuple(4), VTuple(2.0));
    filled.Reset();
    filled[0] = VCtrlVal("again");
    Vctuple rec;
    copy.CastToVctuple(rec);
    try {
      t[-1] = 1;
    } catch (const Vexa::VException&) {
    }
  }
  EXPECT_EQ(trace.Leaked(), 0) << trace.Report();
}

}  // namespace
