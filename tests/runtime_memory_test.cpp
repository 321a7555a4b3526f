// The runtime's allocator: tracing of live blocks by file and line, the
// allocation counter, and refusal of foreign pointers and absurd sizes.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include <vexa/errors.h>
#include <vexa/runtime.h>

namespace {

class ScopedTrace {
 public:
  ScopedTrace() { VTraceMemory = 1; }
  ~ScopedTrace() { VTraceMemory = 0; }
};

std::string Report() {
  char buffer[4096];
  VMemTraceReport(buffer, sizeof buffer);
  return buffer;
}

TEST(RuntimeMemory, TracedBlocksAreListedByFileAndLine) {
  const Vlong live = VMemTraceLiveCount();
  void* checked = nullptr;
  void* plain = nullptr;
  {
    ScopedTrace trace;
    ASSERT_EQ(VXAllocMemCheck(nullptr, 40, "probe.cpp", 17, -112, &checked), VRESULT_OK);
    ASSERT_EQ(VXAlloc(nullptr, 8, &plain), VRESULT_OK);
  }
  EXPECT_EQ(VMemTraceLiveCount(), live + 2);
  const std::string report = Report();
  EXPECT_NE(report.find("probe.cpp:17 40\n"), std::string::npos) << report;
  EXPECT_NE(report.find("(unchecked) 8\n"), std::string::npos) << report;

  // Freed with the other form than made: both forms free any block.
  EXPECT_EQ(VXFree(nullptr, checked), VRESULT_OK);
  EXPECT_EQ(VXFreeMemCheck(nullptr, plain, "probe.cpp", 20), VRESULT_OK);
  EXPECT_EQ(VMemTraceLiveCount(), live);
  EXPECT_EQ(Report().find("probe.cpp:17"), std::string::npos);
}

TEST(RuntimeMemory, UntracedBlocksAreCountedButNotListed) {
  const Vlong live = VMemTraceLiveCount();
  const Vlong count = VMemTraceAllocCount();
  void* p = nullptr;
  ASSERT_EQ(VXAlloc(nullptr, 16, &p), VRESULT_OK);
  EXPECT_EQ(VMemTraceAllocCount(), count + 1);
  EXPECT_EQ(VMemTraceLiveCount(), live);
  {
    ScopedTrace trace;  // tracing is decided at allocation, not at free
    EXPECT_EQ(VXFree(nullptr, p), VRESULT_OK);
  }
  EXPECT_EQ(VMemTraceLiveCount(), live);
  EXPECT_EQ(VMemTraceAllocCount(), count + 1);  // frees are not counted
}

TEST(RuntimeMemory, ReportIsBoundedByTheBuffer) {
  ScopedTrace trace;
  void* blocks[20];
  for (void*& b : blocks) ASSERT_EQ(VXAllocMemCheck(nullptr, 1, "a_rather_long_file_name.cpp", 1, -112, &b), VRESULT_OK);
  char small[32];
  std::memset(small, 'x', sizeof small);
  EXPECT_GE(VMemTraceReport(small, sizeof small), 20);
  EXPECT_LT(std::strlen(small), sizeof small);
  EXPECT_EQ(VMemTraceReport(nullptr, 0), VMemTraceLiveCount());
  for (void* b : blocks) VXFree(nullptr, b);
}

TEST(RuntimeMemory, RefusesForeignPointersAndAbsurdSizes) {
  EXPECT_EQ(VXFree(nullptr, nullptr), VRESULT_OK);
  EXPECT_EQ(VXFreeMemCheck(nullptr, nullptr, "f", 1), VRESULT_OK);

  void* block = nullptr;
  ASSERT_EQ(VXAlloc(nullptr, 256, &block), VRESULT_OK);
  char* inside = static_cast<char*>(block);
  EXPECT_EQ(VXFree(nullptr, inside + 128), VERR_MEM_FREE);  // not a block start
  EXPECT_EQ(VXFree(nullptr, inside + 3), VERR_MEM_FREE);    // misaligned
  EXPECT_EQ(VXFree(nullptr, block), VRESULT_OK);

  void* huge = reinterpret_cast<void*>(1);
  EXPECT_EQ(VXAlloc(nullptr, SIZE_MAX, &huge), VERR_TOO_LARGE);
  EXPECT_EQ(huge, nullptr);
  EXPECT_EQ(VXAllocMemCheck(nullptr, SIZE_MAX / 2, "f", 1, -112, &huge), VERR_TOO_LARGE);
}

TEST(RuntimeMemory, ZeroBytesAndDefaultString) {
  void* p = nullptr;
  ASSERT_EQ(VXAlloc(nullptr, 0, &p), VRESULT_OK);
  EXPECT_NE(p, nullptr);
  EXPECT_EQ(VXFree(nullptr, p), VRESULT_OK);
  ASSERT_NE(s_default, nullptr);
  EXPECT_STREQ(s_default, "");
}

}  // namespace
