// Releasing and converting control records in each of their shapes: empty,
// one value in place, an element array; with strings owned by the record.
#include <gtest/gtest.h>

#include <cstring>

#include <vexa/errors.h>
#include <vexa/runtime.h>

namespace {

class RuntimeCtrlRecord : public ::testing::Test {
 protected:
  void SetUp() override {
    live_ = VMemTraceLiveCount();
    VTraceMemory = 1;
  }
  void TearDown() override {
    VTraceMemory = 0;
    EXPECT_EQ(VMemTraceLiveCount(), live_);  // every shape released fully
  }

  // The record as the interface prepares an output.
  static Vctuple Empty() {
    Vctuple rec{};
    rec.elem = reinterpret_cast<Vcpar*>(&rec);
    return rec;
  }
  static char* Text(const char* s) {
    void* p = nullptr;
    EXPECT_EQ(VXAllocMemCheck(nullptr, std::strlen(s) + 1, __FILE__, __LINE__, -112, &p),
              VRESULT_OK);
    return static_cast<char*>(std::memcpy(p, s, std::strlen(s) + 1));
  }
  static void ExpectEmptyState(Vctuple& rec) {
    EXPECT_EQ(rec.type, VPAR_UNDEF);
    EXPECT_EQ(rec.num, 0);
    EXPECT_EQ(rec.capacity, 0);
    EXPECT_EQ(static_cast<void*>(rec.elem), static_cast<void*>(&rec));
  }

  Vlong live_ = 0;
};

TEST_F(RuntimeCtrlRecord, ClearReleasesEveryShape) {
  Vctuple empty = Empty();
  EXPECT_EQ(VctClearElem(nullptr, &empty), VRESULT_OK);
  ExpectEmptyState(empty);
  EXPECT_EQ(VctClearElem(nullptr, &empty), VRESULT_OK);  // twice is harmless

  Vctuple text = Empty();
  text.val.s = Text("in place");
  text.type = VPAR_STRING;
  text.num = 1;
  EXPECT_EQ(VctClearElem(nullptr, &text), VRESULT_OK);
  ExpectEmptyState(text);

  Vctuple array = Empty();
  void* elems = nullptr;
  ASSERT_EQ(VXAlloc(nullptr, 4 * sizeof(Vcpar), &elems), VRESULT_OK);
  array.elem = static_cast<Vcpar*>(elems);
  array.elem[0].par.s = Text("one");
  array.elem[0].type = VPAR_STRING;
  array.elem[1].par.l = 2;
  array.elem[1].type = VPAR_LONG;
  array.elem[2].par.s = s_default;  // a text the interface already took
  array.elem[2].type = VPAR_STRING;
  array.type = VPAR_MIXED;
  array.num = 3;
  array.capacity = 4;
  EXPECT_EQ(VctClearElem(nullptr, &array), VRESULT_OK);
  ExpectEmptyState(array);
}

TEST_F(RuntimeCtrlRecord, ClearLeavesBorrowedStorageAlone) {
  Vcpar values[2] = {};
  values[0].par.s = const_cast<char*>("caller's");
  values[0].type = VPAR_STRING;
  Vctuple lent = Empty();
  lent.type = VPAR_MIXED;
  lent.elem = values;
  lent.num = 2;
  lent.capacity = 2;
  lent.borrowed = 1;
  EXPECT_EQ(VctClearElem(nullptr, &lent), VRESULT_OK);
  ExpectEmptyState(lent);
  EXPECT_STREQ(values[0].par.s, "caller's");
}

TEST_F(RuntimeCtrlRecord, ClearReportsAForeignString) {
  void* block = nullptr;
  ASSERT_EQ(VXAlloc(nullptr, 256, &block), VRESULT_OK);
  Vctuple rec = Empty();
  rec.val.s = static_cast<char*>(block) + 128;  // aligned, but no block start
  rec.type = VPAR_STRING;
  rec.num = 1;
  EXPECT_EQ(VctClearElem(nullptr, &rec), VERR_MEM_FREE);
  ExpectEmptyState(rec);
  EXPECT_EQ(VXFree(nullptr, block), VRESULT_OK);
}

TEST_F(RuntimeCtrlRecord, ConvertMakesAnElementArray) {
  Vctuple one = Empty();
  one.val.d = 2.5;
  one.type = VPAR_DOUBLE;
  one.num = 1;
  ASSERT_EQ(VctConvert2Mixed(nullptr, &one, 2), VRESULT_OK);
  EXPECT_EQ(one.type, VPAR_MIXED);
  EXPECT_EQ(one.num, 1);
  EXPECT_EQ(one.capacity, 1);
  ASSERT_NE(static_cast<void*>(one.elem), static_cast<void*>(&one));
  EXPECT_EQ(one.elem[0].type, VPAR_DOUBLE);
  EXPECT_EQ(one.elem[0].par.d, 2.5);
  EXPECT_EQ(VctConvert2Mixed(nullptr, &one, 2), VRESULT_OK);  // already mixed
  EXPECT_EQ(one.capacity, 1);
  EXPECT_EQ(VctClearElem(nullptr, &one), VRESULT_OK);

  // A string moves with its pointer; the array then owns it.
  Vctuple text = Empty();
  text.val.s = Text("moved");
  text.type = VPAR_STRING;
  text.num = 1;
  ASSERT_EQ(VctConvert2Mixed(nullptr, &text, 2), VRESULT_OK);
  EXPECT_STREQ(text.elem[0].par.s, "moved");
  EXPECT_EQ(VctClearElem(nullptr, &text), VRESULT_OK);

  Vctuple empty = Empty();
  ASSERT_EQ(VctConvert2Mixed(nullptr, &empty, 2), VRESULT_OK);
  EXPECT_EQ(empty.type, VPAR_MIXED);
  EXPECT_EQ(empty.num, 0);
  EXPECT_EQ(empty.capacity, 0);
  EXPECT_EQ(VctClearElem(nullptr, &empty), VRESULT_OK);

  EXPECT_EQ(VctConvert2Mixed(nullptr, nullptr, 2), VERR_INTERNAL);
}

}  // namespace
