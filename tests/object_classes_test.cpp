// The iconic handle bases: the states of a VObject, the class check on
// keys, the one key of a whole VObjectArray, and the frame's stores for
// handles, with every reference counted in the object database.
#include <memory>
#include <string>
#include <vector>

#include <vexa/errors.h>
#include <vexaobj/VCPP.h>
#include <vexaobj/VObject.h>
#include <vexaobj/VObjectArray.h>

#include "frame_test_support.h"
#include "objdb.h"
#include "region_store.h"

namespace {

using namespace Vexa;
using namespace frame_test;

// The smallest concrete handle: the class of iconic objects (ID 3).
class Plain : public VObject {
 public:
  using VObject::VObject;
  const char* ClassName() const override { return "Plain"; }
  int Shared() const override { return 1; }
  const char* InstClassName() const override { return "Plain"; }
  // Widened so that the tests can reach the protected operations.
  using VObject::CheckMyObjClass;
  using VObject::CopyVObject;
  using VObject::FreeData;
  int Used() const { return used; }
  Vkey RawKey() const { return key; }
};

// A handle whose class ID (1) no runtime object carries as its tag.
class Strict : public Plain {
 public:
  using Plain::Plain;
  const char* VClassName() const override { return "region"; }
  int ClassDBID() const override { return VOBJ_REGION; }
};

// An array of Plain handles; SetKeys refuses keys whose tag is not ID 3,
// as the array classes do.
class PlainArray : public VObjectArray {
 public:
  const char* ClassName() const override { return "PlainArray"; }
  Vkey Key(Vlong i) const override { return elems_[i]->Key(); }
  Vobject ElemId(Vlong i) const override { return elems_[i]->Id(); }
  void Display(const VWindow&) const override {}
  void SetKeys(Vkey* keys, Vlong n, unsigned int* error) override {
    *error = VRESULT_OK;
    elems_.clear();
    for (Vlong i = 0; keys != nullptr && i < n; ++i) {
      elems_.push_back(std::make_unique<Plain>(keys[i]));
      if (static_cast<VKeyRecordHead*>(keys[i])->tag != VOBJ_TAG_BASE + VOBJ_ICONIC)
        *error = VERR_OBJ_CLASS(1);
    }
    num = num_alloc = static_cast<Vlong>(elems_.size());
  }
  void SetKeys(Vkey* keys, Vlong n) override {
    unsigned int ignored;
    SetKeys(keys, n, &ignored);
  }
  void Append(Vkey k) {
    elems_.push_back(std::make_unique<Plain>(k));
    num = num_alloc = static_cast<Vlong>(elems_.size());
  }

 private:
  void NewLength(Vlong, Vlong) override {}
  std::vector<std::unique_ptr<Plain>> elems_;
};

Vkey NewRegionKey(int size = 3) {
  Vkey key = nullptr;
  EXPECT_EQ(vexa::db::NewRegion(vexa::Region::Rectangle(0, 0, size, size), &key),
            VRESULT_OK);
  return key;
}

bool Alive(Vkey key) { return vexa::db::Check(key) == VRESULT_OK; }

// Every count of the database, for before-and-after comparisons.
struct Counts {
  Vlong regions, tuples;
  static Counts Now() {
    const vexa::db::Stats s = vexa::db::GetStats();
    return {s.regions, s.tuples};
  }
  bool operator==(const Counts& o) const {
    return regions == o.regions && tuples == o.tuples;
  }
};

// The keys of a key tuple, or the key itself for any other object.
std::vector<Vkey> Expand(Vkey key) {
  Vkey* keys = nullptr;
  Vlong n = 0;
  if (DBFetchTuple(nullptr, key, &keys, &n) != VRESULT_OK) return {key};
  return std::vector<Vkey>(keys, keys + n);
}

class ObjectClassesTest : public ::testing::Test {
 protected:
  ScopedThrowingHandler handler_;
  const Counts at_start_ = Counts::Now();
  void TearDown() override { EXPECT_TRUE(Counts::Now() == at_start_); }
};

// The message of the raise that `fn` makes, or "" if it does not raise.
template <class Fn>
std::string RaisedText(Fn fn, std::string* function = nullptr) {
  try {
    fn();
  } catch (const VException& e) {
    if (function != nullptr) *function = e.proc;
    return e.message;
  }
  return "";
}

TEST_F(ObjectClassesTest, ZeroBecomesTheUndefinedKeyEverywhere) {
  Plain from_zero{Vkey(nullptr)};
  EXPECT_EQ(from_zero.RawKey(), VKEY_UNDEF);
  EXPECT_EQ(from_zero.Used(), 1);
  Plain handle;
  handle.SetKey(nullptr);
  EXPECT_EQ(handle.Key(), VKEY_UNDEF);
  handle.InitKey(nullptr);
  EXPECT_EQ(handle.Key(), VKEY_UNDEF);
  EXPECT_EQ(Plain(Vobject()).Key(), VKEY_UNDEF);
}

TEST_F(ObjectClassesTest, HoldingReleasesItsKeyOnceAndClearingIsFinal) {
  const Vkey made = NewRegionKey();
  {
    Plain holder(made);
    EXPECT_EQ(holder.Key(), made);
    // An empty handle's Id makes nothing.
    EXPECT_EQ(Plain().Id().Id(), VKEY_UNDEF);
    {
      const Vobject id = holder.Id();
      EXPECT_NE(id.Id(), made);
      EXPECT_TRUE(Alive(id.Id()));
    }
    holder.Clear();
    EXPECT_FALSE(Alive(made));
    EXPECT_TRUE(holder.IsCleared());
    EXPECT_EQ(holder.RawKey(), VKEY_UNDEF);
    holder.Clear();  // twice does nothing

    std::string function;
    EXPECT_EQ(RaisedText([&] { holder.Key(); }, &function), "VObject is cleared");
    EXPECT_EQ(function, "Key");
    EXPECT_EQ(RaisedText([&] { holder.Id(); }, &function), "Region is cleared");
    EXPECT_EQ(function, "Vobject VObject::Id(void) const");

    // Reset of a cleared handle makes it empty again without a release.
    holder.Reset();
    EXPECT_FALSE(holder.IsCleared());
    EXPECT_EQ(holder.Key(), VKEY_UNDEF);
    holder.SetKey(NewRegionKey());
  }
}

TEST_F(ObjectClassesTest, CopiesMakeKeysOfTheirOwn) {
  Plain original(NewRegionKey());
  Plain copy(original);
  EXPECT_NE(copy.Key(), original.Key());
  EXPECT_EQ(Expand(copy.Key()).size(), 1u);

  // CopyVObject keeps the old key: the caller releases it first.
  Plain target(NewRegionKey());
  target.FreeData();
  target.CopyVObject(original);
  EXPECT_TRUE(Alive(target.Key()));

  // From a cleared handle: a report, and the target stays as it was.
  Plain cleared;
  cleared.Clear();
  const Vkey before = target.Key();
  std::string function;
  EXPECT_EQ(RaisedText([&] { target.CopyVObject(cleared); }, &function),
            "copy of cleared or unused VObject");
  EXPECT_EQ(function, "void VObject::CopyVObject(const VObject &in)");
  EXPECT_EQ(target.Key(), before);

  // A copy through Vobject takes a reference of its own too.
  const Vobject lent(original.Key(), 0);
  Plain from_vobject(lent);
  EXPECT_NE(from_vobject.Key(), original.Key());
  EXPECT_TRUE(Alive(from_vobject.Key()));
}

TEST_F(ObjectClassesTest, AssignmentSharesTheKeyWithoutACopy) {
  Plain a(NewRegionKey());
  Plain b;
  b = a;
  EXPECT_EQ(b.Key(), a.Key());
  // Two holders of one reference: one of them must let go without a
  // release, which InitKey allows.
  b.InitKey(nullptr);
}

TEST_F(ObjectClassesTest, ClassCheckComparesTheTag) {
  EXPECT_EQ(Plain().ClassDBID(), VOBJ_ICONIC);
  EXPECT_STREQ(Plain().VClassName(), "object");
  EXPECT_STREQ(Plain().Creator(), "none");
  // Key 1 fits every class.
  EXPECT_EQ(RaisedText([] { Strict().CheckMyObjClass(); }), "");
  // A region's tag is the iconic class 3.
  Plain region(NewRegionKey());
  EXPECT_EQ(RaisedText([&] { region.CheckMyObjClass(); }), "");
  EXPECT_EQ(RaisedText([&] { region.CheckMyObjClass(VOBJ_ICONIC); }), "");
  Strict strict(NewRegionKey());
  std::string function;
  EXPECT_EQ(RaisedText([&] { strict.CheckMyObjClass(); }, &function),
            "wrong object class: 'region' (ID=3); requested class: 'region' (ID=1)");
  EXPECT_EQ(function, "Vobject::Vobject(const Vobject &obj, const char *class)");
}

TEST_F(ObjectClassesTest, ArrayIdIsATupleThatKeepsHoles) {
  PlainArray array;
  array.Append(NewRegionKey());
  array.Append(nullptr);
  array.Append(NewRegionKey());
  {
    const Vobject id = array.Id();
    const std::vector<Vkey> keys = Expand(id.Id());
    ASSERT_EQ(keys.size(), 3u);
    EXPECT_EQ(keys[0], array.Key(0));
    EXPECT_EQ(keys[1], CGetKeyName("empty"));
    EXPECT_EQ(keys[2], array.Key(2));
    EXPECT_EQ(Counts::Now().tuples, at_start_.tuples + 1);
  }
  // The tuple's references went with it; the elements' keys live on.
  EXPECT_TRUE(Alive(array.Key(0)));
  EXPECT_EQ(Counts::Now().tuples, at_start_.tuples);

  const Vobject none = PlainArray().Id();
  EXPECT_TRUE(Expand(none.Id()).empty());
  EXPECT_EQ(array.Id(1).Id(), VKEY_UNDEF);
}

// ---- The frame's stores for handles --------------------------------------

// The expanded keys that reached input object 1.
std::vector<Vkey> seen_inputs;
Vresult RecordInputs(void* proc) {
  vexa::OpContext ctx(proc);
  const std::vector<Vkey>* keys = nullptr;
  const Vresult rc = ctx.InpObjs(1, &keys);
  if (rc == VRESULT_OK) seen_inputs = *keys;
  return rc;
}

// Hands `n` new regions to output object 1 and returns `code`.
template <int n, unsigned int code = VRESULT_OK>
Vresult EmitRegions(void* proc) {
  std::vector<Vkey> keys;
  for (int i = 0; i < n; ++i) keys.push_back(NewRegionKey(i + 1));
  vexa::OpContext ctx(proc);
  const Vresult rc = ctx.SetOutpObjs(1, keys);
  return rc == VRESULT_OK ? code : rc;
}

// Hands output object 1 a key tuple, which no array element accepts.
Vresult EmitTuple(void* proc) {
  Vkey region = NewRegionKey();
  Vkey tuple = nullptr;
  DBStoreTuple(proc, &region, 1, &tuple);
  DBDelObjectId(proc, region);
  vexa::OpContext ctx(proc);
  return ctx.SetOutpObjs(1, {tuple});
}

class HandleStoreTest : public ObjectClassesTest {
 protected:
  const int32_t op_ = OperatorIndex("binary_threshold");

  // A class-method call (global 0, mode 1) whose input object 1 is `in`
  // and whose output object 1 goes to `out`; returns the code before
  // VcppPostCall, which raises any failure.
  template <class In, class Out>
  unsigned int Run(const In* in, Out* out) {
    void* proc = nullptr;
    unsigned int code = VcppPreCall(op_, &proc, 0);
    if (in != nullptr) code = VcppStoreIO(proc, 1, in);
    if (code == VRESULT_OK) code = VcppCall(proc);
    code = VcppStoreOO(proc, 1, out, code);
    const unsigned int result = code;
    VcppPostCall(proc, code, 1);
    return result;
  }
  // The code of a raising call.
  template <class In, class Out>
  unsigned int RaisedCode(const In* in, Out* out) {
    try {
      return Run(in, out);
    } catch (const VException& e) {
      return e.err;
    }
  }
};

TEST_F(HandleStoreTest, InputsReachTheOperatorAsKeysWithHolesEmpty) {
  ScopedOperator fake(op_, &RecordInputs);
  ScopedMemTrace trace;
  const Vlong blocks = VMemTraceLiveCount();
  Plain out;
  Plain region(NewRegionKey());
  EXPECT_EQ(Run(&region, &out), VRESULT_OK);
  EXPECT_EQ(seen_inputs, std::vector<Vkey>{region.Key()});

  // An empty handle is the empty object: no object at all.
  const Plain empty;
  EXPECT_EQ(Run(&empty, &out), VRESULT_OK);
  EXPECT_TRUE(seen_inputs.empty());

  PlainArray array;
  array.Append(NewRegionKey());
  array.Append(nullptr);
  array.Append(NewRegionKey(5));
  EXPECT_EQ(Run(&array, &out), VRESULT_OK);
  EXPECT_EQ(seen_inputs, (std::vector<Vkey>{array.Key(0), array.Key(2)}));
  const PlainArray no_elements;
  EXPECT_EQ(Run(&no_elements, &out), VRESULT_OK);
  EXPECT_TRUE(seen_inputs.empty());
  // The key arrays went with their instances.
  EXPECT_EQ(VMemTraceLiveCount(), blocks);
}

TEST_F(HandleStoreTest, OutputObjectTakesTheOneKey) {
  const Plain* no_input = nullptr;
  Plain out(NewRegionKey());
  {
    ScopedOperator fake(op_, &EmitRegions<1>);
    const Vkey old = out.Key();
    EXPECT_EQ(Run(no_input, &out), VRESULT_OK);
    EXPECT_FALSE(Alive(old));
    EXPECT_EQ(Expand(out.Key()).size(), 1u);
    EXPECT_EQ(Counts::Now().regions, at_start_.regions + 1);
  }
  {
    // No object back: the handle holds the empty object, not key 1.
    ScopedOperator fake(op_, &EmitRegions<0>);
    EXPECT_EQ(Run(no_input, &out), VRESULT_OK);
    EXPECT_NE(out.Key(), VKEY_UNDEF);
    EXPECT_TRUE(Expand(out.Key()).empty());
    EXPECT_EQ(Counts::Now().regions, at_start_.regions);
  }
  {
    // Several objects: 7200 raises, the handle is left as it was and the
    // instance releases the keys nobody took.
    ScopedOperator fake(op_, &EmitRegions<2>);
    const Vkey before = out.Key();
    EXPECT_EQ(RaisedCode(no_input, &out), VRESULT_OUT_OBJ_COUNT);
    EXPECT_EQ(out.Key(), before);
  }
  {
    ScopedOperator fake(op_, &EmitRegions<1, VERR_FILE_NOT_FOUND>);
    EXPECT_EQ(RaisedCode(no_input, &out), VERR_FILE_NOT_FOUND);
    EXPECT_EQ(out.Key(), VKEY_UNDEF);
    Plain* none = nullptr;
    EXPECT_EQ(RaisedCode(no_input, none), VRESULT_OUT_NULL);
  }
}

TEST_F(HandleStoreTest, OutputArrayTakesEveryKey) {
  const Plain* no_input = nullptr;
  PlainArray out;
  {
    ScopedOperator fake(op_, &EmitRegions<3>);
    EXPECT_EQ(Run(no_input, &out), VRESULT_OK);
    ASSERT_EQ(out.Num(), 3);
    EXPECT_EQ(Counts::Now().regions, at_start_.regions + 3);
    ScopedOperator none(op_, &EmitRegions<0>);
    EXPECT_EQ(Run(no_input, &out), VRESULT_OK);
    EXPECT_EQ(out.Num(), 0);
    EXPECT_EQ(Counts::Now().regions, at_start_.regions);
  }
  {
    // The array's own refusal is the call's failure; it keeps the keys.
    ScopedOperator fake(op_, &EmitTuple);
    EXPECT_EQ(RaisedCode(no_input, &out), VERR_OBJ_CLASS(1));
    EXPECT_EQ(out.Num(), 1);
  }
  {
    ScopedOperator fake(op_, &EmitRegions<2, VERR_FILE_NOT_FOUND>);
    EXPECT_EQ(RaisedCode(no_input, &out), VERR_FILE_NOT_FOUND);
    EXPECT_EQ(out.Num(), 0);
    PlainArray* none = nullptr;
    EXPECT_EQ(RaisedCode(no_input, none), VRESULT_OUT_NULL);
  }
}

}  // namespace
