// Scaffolding of the control value and exception tests: raises turned into
// thrown VException copies, a handler that returns, checks of the exact
// text and procedure of a raise, and a scope that traces the runtime's
// memory.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include <vexa/runtime.h>
#include <vexaobj/VException.h>

namespace control_test {

inline void ThrowCopy(const Vexa::VException& e) { throw Vexa::VException(e); }

// Installs a handler for the lifetime of the scope.
class ScopedHandler {
 public:
  explicit ScopedHandler(Vexa::VHandlerProc proc)
      : old_(Vexa::VException::InstallVHandler(proc)) {}
  ~ScopedHandler() { Vexa::VException::InstallVHandler(old_); }
  ScopedHandler(const ScopedHandler&) = delete;
  ScopedHandler& operator=(const ScopedHandler&) = delete;

 private:
  Vexa::VHandlerProc old_;
};

// Every test runs with raises thrown as VException copies.
class ThrowingTest : public ::testing::Test {
 private:
  ScopedHandler handler_{&ThrowCopy};
};

// Counts raises and keeps the last one's texts; the raising code goes on.
struct Returning {
  static inline int raised = 0;
  static inline std::string proc;
  static inline std::string message;
  static void Handle(const Vexa::VException& e) {
    ++raised;
    proc = e.proc;
    message = e.message;
  }
};

// Runs `action`, which must raise exactly `message` under `proc`.
template <class Action>
void ExpectRaise(Action action, const std::string& proc,
                 const std::string& message, unsigned int err = 0) {
  try {
    action();
    ADD_FAILURE() << "no raise, expected \"" << message << "\" in " << proc;
  } catch (const Vexa::VException& e) {
    EXPECT_EQ(proc, e.proc);
    EXPECT_EQ(message, e.message);
    EXPECT_EQ(err, e.err);
  }
}

// Traces the runtime's memory for the scope; Leaked() tells whether any
// block allocated while tracing is still live.
class ScopedMemTrace {
 public:
  ScopedMemTrace() : old_(VTraceMemory), start_(VMemTraceLiveCount()) {
    VTraceMemory = 1;
  }
  ~ScopedMemTrace() { VTraceMemory = old_; }
  Vlong Leaked() const { return VMemTraceLiveCount() - start_; }
  std::string Report() const {
    char buffer[4096];
    VMemTraceReport(buffer, sizeof buffer);
    return buffer;
  }

 private:
  unsigned char old_;
  Vlong start_;
};

}  // namespace control_test
