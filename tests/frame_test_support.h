// Scaffolding of the call frame tests: fake operators installed in the
// runtime for the length of one test, a handler that turns raises into C++
// exceptions, and scoped runtime settings.
#pragma once

#include <gtest/gtest.h>

#include <vexa/runtime.h>
#include <vexaobj/VException.h>

#include "op_context.h"
#include "registry.h"

namespace frame_test {

// Index of an operator by name; a test that names a missing one fails.
inline int32_t OperatorIndex(const char* name) {
  void* proc = nullptr;
  int32_t op = -1;
  EXPECT_EQ(VGetVProc(-1, &proc), VRESULT_OK);
  EXPECT_EQ(VFindProcNumber(proc, name, &op), VRESULT_OK) << name;
  EXPECT_EQ(VPutVProc(proc), VRESULT_OK);
  return op;
}

// Replaces the implementation of an operator and puts the old one back.
class ScopedOperator {
 public:
  ScopedOperator(int32_t op, VOperatorFn fn)
      : op_(op), old_(VSetOperatorFn(op, fn)) {}
  ~ScopedOperator() { VSetOperatorFn(op_, old_); }
  ScopedOperator(const ScopedOperator&) = delete;
  ScopedOperator& operator=(const ScopedOperator&) = delete;

 private:
  int32_t op_;
  VOperatorFn old_;
};

// Raises arrive as thrown copies of the VException.
inline void ThrowCopy(const Vexa::VException& e) { throw Vexa::VException(e); }

class ScopedThrowingHandler {
 public:
  ScopedThrowingHandler()
      : old_(Vexa::VException::InstallVHandler(&ThrowCopy)) {}
  ~ScopedThrowingHandler() { Vexa::VException::InstallVHandler(old_); }

 private:
  Vexa::VHandlerProc old_;
};

// Counts raises and returns from the handler, so the code goes on past
// its check.
struct ReturningHandler {
  static inline int raised = 0;
  static inline unsigned int last_err = 0;
  static void Handle(const Vexa::VException& e) {
    ++raised;
    last_err = e.err;
  }
};

class ScopedReturningHandler {
 public:
  ScopedReturningHandler()
      : old_(Vexa::VException::InstallVHandler(&ReturningHandler::Handle)) {
    ReturningHandler::raised = 0;
  }
  ~ScopedReturningHandler() { Vexa::VException::InstallVHandler(old_); }

 private:
  Vexa::VHandlerProc old_;
};

class ScopedRaiseOnError {
 public:
  explicit ScopedRaiseOnError(bool on) : old_(VGetRaiseOnError()) {
    VSetRaiseOnError(on ? 1 : 0);
  }
  ~ScopedRaiseOnError() { VSetRaiseOnError(old_); }

 private:
  int old_;
};

class ScopedMemTrace {
 public:
  ScopedMemTrace() : old_(VTraceMemory) { VTraceMemory = 1; }
  ~ScopedMemTrace() { VTraceMemory = old_; }

 private:
  unsigned char old_;
};

// ---- Fake operators ---------------------------------------------------------

// Returns `code` and writes nothing.
template <unsigned int code>
Vresult ReturnCode(void*) {
  return code;
}

// Writes output control 0 with what `write` puts there, then returns
// `code`.
template <class Write, unsigned int code = VRESULT_OK>
Vresult WriteOutput0(void* proc) {
  vexa::OpContext ctx(proc);
  const Vresult rc = Write::Run(ctx);
  return rc == VRESULT_OK ? code : rc;
}

struct Long7 {
  static Vresult Run(vexa::OpContext& ctx) { return ctx.SetOutpLong(0, 7); }
};
struct ThreeLongs {
  static Vresult Run(vexa::OpContext& ctx) {
    return ctx.SetOutpLongs(0, {1, 2, 3});
  }
};
struct Double29 {
  static Vresult Run(vexa::OpContext& ctx) { return ctx.SetOutpDouble(0, 2.9); }
};
struct Text {
  static Vresult Run(vexa::OpContext& ctx) {
    return ctx.SetOutpString(0, "region_features");
  }
};
// A string first, then an array with a string: both outputs own memory.
struct TextThenMixed {
  static Vresult Run(vexa::OpContext& ctx) {
    const Vresult rc = ctx.SetOutpString(0, "first");
    if (rc != VRESULT_OK) return rc;
    return ctx.SetOutpValues(1, vexa::CtrlValues().Add(4).Add("second"));
  }
};
// Echoes input control 0 (a long) to output control 0, in place.
struct EchoLong {
  static Vresult Run(vexa::OpContext& ctx) {
    Vlong v = 0;
    const Vresult rc = ctx.GetLong(0, &v);
    return rc == VRESULT_OK ? ctx.SetOutpLong(0, v) : rc;
  }
};

}  // namespace frame_test
