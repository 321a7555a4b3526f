// The tuple methods that run a runtime operator: each must reach its
// operator and bring back the operator's result, with the receiver as the
// first input.
#include <gtest/gtest.h>
#include <vexaobj.h>

#include <cstring>

#include "tuple_test_support.h"

namespace {

using namespace Vexa;
using tuple_test::Show;
using tuple_test::Tup;

void ThrowCopy(const VException& e) { throw VException(e); }

class TupleThinMethods : public ::testing::Test {
 protected:
  void SetUp() override { old_ = VException::InstallVHandler(&ThrowCopy); }
  void TearDown() override { VException::InstallVHandler(old_); }
  VHandlerProc old_ = nullptr;
};

TEST_F(TupleThinMethods, SequenceAndSetOperationsReachTheRuntime) {
  const VTuple t = Tup({3, 1, 2, 1});
  EXPECT_EQ(Show(t.Insert(Tup({1}), Tup({9}))), "[3, 9, 1, 2, 1]");
  EXPECT_EQ(Show(t.Replace(Tup({0, 3}), Tup({7}))), "[7, 1, 2, 7]");
  EXPECT_EQ(Show(t.Union(Tup({5, 2}))), "[1, 2, 3, 5]");
  EXPECT_EQ(Show(t.Intersection(Tup({2, 3, 4}))), "[2, 3]");
  EXPECT_EQ(Show(t.Difference(Tup({1}))), "[2, 3]");
  EXPECT_EQ(Show(t.Symmdiff(Tup({1, 4}))), "[2, 3, 4]");
  EXPECT_EQ(Show(t.FindFirst(Tup({1}))), "[1]");
  EXPECT_EQ(Show(t.FindLast(Tup({1}))), "[3]");
  EXPECT_EQ(Show(VTuple::GenSequence(Tup({1}), Tup({7}), Tup({3}))), "[1, 4, 7]");
}

TEST_F(TupleThinMethods, StringOperationsReachTheRuntime) {
  const VTuple words = Tup({"abc12", "x7", "none"});
  EXPECT_EQ(Show(words.RegexpMatch("[0-9]+")), "[\"12\", \"7\", \"\"]");
  EXPECT_EQ(Show(words.RegexpReplace("[0-9]", "#")), "[\"abc#2\", \"x#\", \"none\"]");
  EXPECT_EQ(Show(words.RegexpSelect("[0-9]")), "[\"abc12\", \"x7\"]");
  EXPECT_EQ(words.RegexpTest("^x"), 1);
  EXPECT_EQ(Show(Tup({"vision"}).Substr(Tup({1}), Tup({3}))), "[\"isi\"]");
}

TEST_F(TupleThinMethods, TypeTestsAndElementComparisonsReachTheRuntime) {
  const VTuple mixed = Tup({1, 2.5, "s"});
  EXPECT_EQ(Show(mixed.TypeElem()), "[1, 2, 4]");
  EXPECT_EQ(Show(mixed.IsIntElem()), "[1, 0, 0]");
  EXPECT_EQ(Show(Tup({1, 2, 3}).EqualElem(Tup({2}))), "[0, 1, 0]");
  EXPECT_EQ(Show(Tup({1, 2, 3}).LessEqualElem(Tup({2}))), "[1, 1, 0]");
}

TEST_F(TupleThinMethods, AFailingOperatorRaisesTheRuntimeTextUnderTheMethodsName) {
  try {
    Tup({"abc"}).RegexpMatch("(");
    FAIL() << "no exception";
  } catch (const VException& e) {
    EXPECT_STREQ(e.proc, "VTuple VTuple::RegexpMatch(const char *expression)");
    EXPECT_EQ(e.err, 0u);  // raised with the text alone
    EXPECT_GT(std::strlen(e.message), 0u);
  }
}

}  // namespace
