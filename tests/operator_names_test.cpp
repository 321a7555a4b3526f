// get_operator_name: the names that contain a pattern, against a search
// of the operator table by hand; a pattern longer than every name finds
// nothing at once, however long it is.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

using namespace Vexa;

std::vector<std::string> NamesContaining(const std::string& pattern) {
  std::vector<std::string> names;
  for (int32_t op = 0; op < VOperatorCount(); ++op) {
    const std::string name = VOIGet_LogicalName(op);
    if (name.find(pattern) != std::string::npos) names.push_back(name);
  }
  return names;
}

std::vector<std::string> Strings(const VTuple& t) {
  std::vector<std::string> out;
  for (Vlong i = 0; i < t.Num(); ++i) out.push_back(t[i].S());
  return out;
}

TEST(OperatorNames, ThoseContainingThePatternInTableOrder) {
  for (const char* pattern : {"threshold", "_xld", "gen_rectangle1", "", "no such name"}) {
    VTuple names;
    ASSERT_EQ(get_operator_name(pattern, &names), VRESULT_OK) << pattern;
    EXPECT_EQ(Strings(names), NamesContaining(pattern)) << pattern;
  }
}

TEST(OperatorNames, AMegabytePatternFindsNothingAtOnce) {
  const std::string pattern(1 << 20, 'a');
  const auto start = std::chrono::steady_clock::now();
  VTuple names;
  ASSERT_EQ(get_operator_name(pattern.c_str(), &names), VRESULT_OK);
  EXPECT_EQ(names.Num(), 0);
  // A search that prepares over the whole pattern for each of the 2,000
  // names takes seconds; one that looks at lengths first, well under a
  // millisecond.
  const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::steady_clock::now() - start);
  EXPECT_LT(took.count(), 2000);
}

}  // namespace
