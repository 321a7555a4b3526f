// Scaffolding of the runtime tests: instances that delete themselves, fake
// operators whose body a test writes as a lambda against OpContext, input
// records filled the way the interface fills them, and objects of the
// database.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include <vexa/errors.h>
#include <vexa/runtime.h>

#include "objdb.h"
#include "op_context.h"
#include "op_table.h"
#include "region_store.h"

namespace runtime_test {

inline int32_t OpIndex(const char* name) {
  const int32_t op = vexa::FindOperatorIndex(name);
  EXPECT_GE(op, 0) << name;
  return op;
}

// An instance of `op`, deleted at the end of the scope unless the test
// deleted it itself (Release()).
class Instance {
 public:
  explicit Instance(int32_t op, uint8_t global = 1) {
    EXPECT_EQ(VCreateVProc(op, &proc_), VRESULT_OK);
    if (proc_) inst()->call->global = global;
  }
  ~Instance() {
    if (proc_) VDeleteVProc(proc_, 0, VRESULT_OK);
  }
  Instance(const Instance&) = delete;
  Instance& operator=(const Instance&) = delete;

  void* proc() const { return proc_; }
  VProcInstance* inst() const { return static_cast<VProcInstance*>(proc_); }
  VParamBlock& params() const { return *inst()->params; }
  Vresult Delete() {
    Vresult rc = VDeleteVProc(proc_, 0, VRESULT_OK);
    proc_ = nullptr;
    return rc;
  }

 private:
  void* proc_ = nullptr;
};

// Runs a lambda as the implementation of an operator for one scope.
class FakeOperator {
 public:
  using Body = std::function<Vresult(vexa::OpContext&)>;
  FakeOperator(int32_t op, Body body) : op_(op) {
    body_() = std::move(body);
    old_ = VSetOperatorFn(op, &Run);
  }
  ~FakeOperator() {
    VSetOperatorFn(op_, old_);
    body_() = nullptr;
  }

 private:
  static Body& body_() {
    static Body body;
    return body;
  }
  static Vresult Run(void* proc) {
    vexa::OpContext ctx(proc);
    return body_()(ctx);
  }
  int32_t op_;
  VOperatorFn old_ = nullptr;
};

// Input control records as the interface lends them: one value in place,
// or several as an element array owned by the test.
inline Vctuple& InpRecord(Instance& in, int par) {
  Vctuple& rec = in.params().inp_ctrl_rec[par];
  in.params().inp_ctrl[par] = &rec;
  rec.borrowed = 1;
  rec.capacity = 0;
  rec.num = 1;
  rec.elem = reinterpret_cast<Vcpar*>(&rec);
  return rec;
}
inline void SetInpLong(Instance& in, int par, Vlong v) {
  Vctuple& rec = InpRecord(in, par);
  rec.val.l = v;
  rec.type = VPAR_LONG;
}
inline void SetInpDouble(Instance& in, int par, double v) {
  Vctuple& rec = InpRecord(in, par);
  rec.val.d = v;
  rec.type = VPAR_DOUBLE;
}
inline void SetInpString(Instance& in, int par, const char* s) {
  Vctuple& rec = InpRecord(in, par);
  rec.val.s = const_cast<char*>(s);
  rec.type = VPAR_STRING;
}
inline void SetInpArray(Instance& in, int par, std::vector<Vcpar>& values) {
  Vctuple& rec = InpRecord(in, par);
  rec.type = VPAR_MIXED;
  rec.num = static_cast<Vlong>(values.size());
  rec.capacity = static_cast<Vlong>(values.size());
  rec.elem = values.data();
}
inline Vcpar LongPar(Vlong v) {
  Vcpar p{};
  p.par.l = v;
  p.type = VPAR_LONG;
  return p;
}
inline Vcpar DoublePar(double v) {
  Vcpar p{};
  p.par.d = v;
  p.type = VPAR_DOUBLE;
  return p;
}

// A new region object (one reference, the caller's).
inline Vkey NewRegionKey(int32_t rows = 2, int32_t cols = 3) {
  Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewRegion(vexa::Region::Rectangle(0, 0, rows - 1, cols - 1), &key),
            VRESULT_OK);
  return key;
}

// Number of live objects of any kind, to show that a test released all.
inline Vlong LiveObjects() {
  vexa::db::Stats s = vexa::db::GetStats();
  return s.regions + s.images + s.tuples;
}

// Reads the key count of a key tuple in place, as the interface does.
inline int32_t TupleCount(Vkey key) {
  return static_cast<const VKeyRecordHead*>(key)->tuple_num;
}
inline int32_t ClassId(Vkey key) {
  return static_cast<const VKeyRecordHead*>(key)->tag - VOBJ_TAG_BASE;
}

}  // namespace runtime_test
