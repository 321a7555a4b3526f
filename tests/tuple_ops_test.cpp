// The runtime's tuple operators, called through the C interface: results
// (types included) and error codes, table by table, with memory tracing on
// so that every call must give back what it allocated.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "tuple_ops_call.h"

namespace {

using tuple_test::Call;
using tuple_test::T;

const double kPi = std::acos(-1.0);
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const Vlong kMinLong = std::numeric_limits<Vlong>::min();
const Vlong kMaxLong = std::numeric_limits<Vlong>::max();

struct Case {
  const char* op;
  std::vector<T> in;
  T out;
};

struct Failure {
  const char* op;
  std::vector<T> in;
  Vresult code;
};

class TupleOps : public ::testing::Test {
 protected:
  void SetUp() override {
    VTraceMemory = 1;
    live_ = VMemTraceLiveCount();
  }
  void TearDown() override {
    EXPECT_EQ(VMemTraceLiveCount(), live_) << "allocations left behind";
    VTraceMemory = 0;
  }

  static void Expect(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
      const tuple_test::Result r = Call(c.op, c.in);
      EXPECT_EQ(r.code, VRESULT_OK) << c.op;
      EXPECT_EQ(r.out[0], c.out) << c.op;
    }
  }
  static void ExpectFailures(const std::vector<Failure>& cases) {
    for (const Failure& c : cases) {
      const tuple_test::Result r = Call(c.op, c.in);
      EXPECT_EQ(r.code, c.code) << c.op;
      EXPECT_TRUE(r.out[0].empty()) << c.op << " wrote a result on failure";
    }
  }

  Vlong live_ = 0;
};

TEST_F(TupleOps, ArithmeticPromotesBroadcastsAndConcatenates) {
  Expect({
      {"tuple_add", {{1, 2.5, "a"}, {1}}, {2, 3.5, "a1"}},
      {"tuple_add", {{"x"}, {1.5, 7}}, {"x1.5", "x7"}},
      {"tuple_add", {{1234567.0}, {"s"}}, {"1.23457e+06s"}},
      {"tuple_add", {{}, {1, 2, 3}}, {}},
      {"tuple_add", {{kMaxLong}, {1}}, {kMinLong}},
      {"tuple_sub", {{5, 2.5}, {2}}, {3, 0.5}},
      {"tuple_mult", {{3}, {4, 0.5}}, {12, 1.5}},
      {"tuple_div", {{7, -7, 7}, {2, 2, 2.0}}, {3, -3, 3.5}},
      {"tuple_div", {{kMinLong}, {-1}}, {kMinLong}},
      {"tuple_mod", {{7, -7}, {3}}, {1, -1}},
      {"tuple_fmod", {{7.5}, {2}}, {1.5}},
      {"tuple_neg", {{3, -2.5}}, {-3, 2.5}},
      {"tuple_abs", {{-3, -2.5}}, {3, 2.5}},
      {"tuple_fabs", {{-3}}, {3.0}},
      {"tuple_sgn", {{-3.5, 0, 7}}, {-1, 0, 1}},
      {"tuple_min2", {{1, 5}, {3}}, {1, 3}},
      {"tuple_min2", {{1}, {2.5}}, {1.0}},
      {"tuple_min2", {{"b"}, {"a"}}, {"a"}},
      {"tuple_max2", {{1, 5}, {3.0}}, {3.0, 5.0}},
      {"tuple_pow", {{2}, {3, 0.5}}, {8.0, std::sqrt(2.0)}},
      {"tuple_ldexp", {{1.5}, {3}}, {12.0}},
  });
  ExpectFailures({
      {"tuple_add", {{1, 2}, {1, 2, 3}}, VERR_CTRL_NUM(1)},
      {"tuple_sub", {{1}, {"a"}}, VERR_CTRL_TYPE(1)},
      {"tuple_mult", {{"a"}, {1}}, VERR_CTRL_TYPE(0)},
      {"tuple_div", {{1}, {0}}, VERR_CTRL_VALUE(1)},
      {"tuple_div", {{1.0}, {0.0}}, VERR_CTRL_VALUE(1)},
      {"tuple_mod", {{1.5}, {2}}, VERR_CTRL_TYPE(0)},
      {"tuple_mod", {{1}, {0}}, VERR_CTRL_VALUE(1)},
      {"tuple_fmod", {{1}, {0}}, VERR_CTRL_VALUE(1)},
      {"tuple_neg", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_abs", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_fabs", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_sgn", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_min2", {{1}, {"a"}}, VERR_CTRL_TYPE(1)},
      {"tuple_max2", {{"a"}, {1}}, VERR_CTRL_TYPE(1)},
      {"tuple_pow", {{-8}, {0.5}}, VERR_CTRL_VALUE(1)},
      {"tuple_pow", {{0}, {-1}}, VERR_CTRL_VALUE(1)},
      {"tuple_ldexp", {{1}, {"a"}}, VERR_CTRL_TYPE(1)},
  });
}

TEST_F(TupleOps, MathGivesRealsAndRefusesArgumentsOutsideTheDomain) {
  Expect({
      {"tuple_sin", {{0}}, {0.0}},
      {"tuple_cos", {{0}}, {1.0}},
      {"tuple_tan", {{0.0}}, {0.0}},
      {"tuple_asin", {{1}}, {kPi / 2}},
      {"tuple_acos", {{1}}, {0.0}},
      {"tuple_atan", {{1}}, {kPi / 4}},
      {"tuple_atan2", {{1}, {1, -1}}, {kPi / 4, 3 * kPi / 4}},
      {"tuple_sinh", {{0}}, {0.0}},
      {"tuple_cosh", {{0}}, {1.0}},
      {"tuple_tanh", {{0}}, {0.0}},
      {"tuple_exp", {{0}}, {1.0}},
      {"tuple_log", {{1}}, {0.0}},
      {"tuple_log10", {{100}}, {2.0}},
      {"tuple_sqrt", {{4, kNaN}}, {2.0, kNaN}},
      {"tuple_ceil", {{1.2, -1.2}}, {2.0, -1.0}},
      {"tuple_floor", {{1.8, 3}}, {1.0, 3.0}},
      {"tuple_round", {{2.5, -2.5, 7}}, {3, -3, 7}},
      {"tuple_deg", {{kPi}}, {180.0}},
      {"tuple_rad", {{180}}, {kPi}},
  });
  ExpectFailures({
      {"tuple_sin", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_cos", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_tan", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_asin", {{2}}, VERR_CTRL_VALUE(0)},
      {"tuple_acos", {{-1.5}}, VERR_CTRL_VALUE(0)},
      {"tuple_atan", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_atan2", {{1}, {"x"}}, VERR_CTRL_TYPE(1)},
      {"tuple_sinh", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_cosh", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_tanh", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_exp", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_log", {{0}}, VERR_CTRL_VALUE(0)},
      {"tuple_log10", {{-1}}, VERR_CTRL_VALUE(0)},
      {"tuple_sqrt", {{-1}}, VERR_CTRL_VALUE(0)},
      {"tuple_ceil", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_floor", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_round", {{1e300}}, VERR_CTRL_VALUE(0)},
      {"tuple_deg", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_rad", {{"a"}}, VERR_CTRL_TYPE(0)},
  });
}

TEST_F(TupleOps, ComparisonLogicAndBits) {
  Expect({
      {"tuple_equal", {{1, "a"}, {1.0, "a"}}, {1}},
      {"tuple_equal", {{1}, {"1"}}, {0}},
      {"tuple_not_equal", {{1}, {1, 1}}, {1}},
      {"tuple_less", {{1, 2}, {1, 3}}, {1}},
      {"tuple_less", {{}, {1}}, {1}},
      {"tuple_less", {{1, 2}, {1, 2, 0}}, {1}},
      {"tuple_less", {{"a", 1}, {"a", 2}}, {1}},
      {"tuple_greater", {{2}, {1, 3}}, {1}},
      {"tuple_less_equal", {{}, {}}, {1}},
      {"tuple_greater_equal", {{kNaN}, {kNaN}}, {0}},
      {"tuple_equal_elem", {{1, 2, "a"}, {1.0}}, {1, 0, 0}},
      {"tuple_not_equal_elem", {{1, 2}, {2}}, {1, 0}},
      {"tuple_less_elem", {{1, 2, 3}, {2}}, {1, 0, 0}},
      {"tuple_greater_elem", {{"b"}, {"a", "c"}}, {1, 0}},
      {"tuple_less_equal_elem", {{1, 2, kNaN}, {2}}, {1, 1, 0}},
      {"tuple_greater_equal_elem", {{1, 2}, {2.0}}, {0, 1}},
      {"tuple_and", {{1, 0}, {1}}, {1, 0}},
      {"tuple_or", {{0}, {0, 3}}, {0, 1}},
      {"tuple_xor", {{1, 1}, {0, 1}}, {1, 0}},
      {"tuple_not", {{0, 5}}, {1, 0}},
      {"tuple_band", {{12}, {10}}, {8}},
      {"tuple_bor", {{12}, {10}}, {14}},
      {"tuple_bxor", {{12}, {10}}, {6}},
      {"tuple_bnot", {{0}}, {-1}},
      {"tuple_lsh", {{1}, {3, 63}}, {8, kMinLong}},
      {"tuple_rsh", {{-8}, {1}}, {-4}},
  });
  ExpectFailures({
      {"tuple_less", {{1}, {"1"}}, VERR_CTRL_TYPE(1)},
      {"tuple_greater", {{"a"}, {1.0}}, VERR_CTRL_TYPE(1)},
      {"tuple_less_equal", {{"a"}, {2}}, VERR_CTRL_TYPE(1)},
      {"tuple_greater_equal", {{1}, {"a"}}, VERR_CTRL_TYPE(1)},
      {"tuple_equal_elem", {{1, 2}, {1, 2, 3}}, VERR_CTRL_NUM(1)},
      {"tuple_not_equal_elem", {{1, 2}, {1, 2, 3}}, VERR_CTRL_NUM(1)},
      {"tuple_less_elem", {{1}, {"a"}}, VERR_CTRL_TYPE(1)},
      {"tuple_greater_elem", {{"a"}, {1}}, VERR_CTRL_TYPE(1)},
      {"tuple_less_equal_elem", {{1, 2}, {1, 2, 3}}, VERR_CTRL_NUM(1)},
      {"tuple_greater_equal_elem", {{1.5}, {"a"}}, VERR_CTRL_TYPE(1)},
      {"tuple_and", {{1.0}, {1}}, VERR_CTRL_TYPE(0)},
      {"tuple_or", {{1}, {"a"}}, VERR_CTRL_TYPE(1)},
      {"tuple_xor", {{1, 0}, {1, 0, 1}}, VERR_CTRL_NUM(1)},
      {"tuple_not", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_band", {{1.0}, {1}}, VERR_CTRL_TYPE(0)},
      {"tuple_bor", {{1}, {"a"}}, VERR_CTRL_TYPE(1)},
      {"tuple_bxor", {{1, 2}, {1, 2, 3}}, VERR_CTRL_NUM(1)},
      {"tuple_bnot", {{1.5}}, VERR_CTRL_TYPE(0)},
      {"tuple_lsh", {{1}, {64}}, VERR_CTRL_VALUE(1)},
      {"tuple_rsh", {{1}, {-1}}, VERR_CTRL_VALUE(1)},
  });
}

// The type tests, tuple_equal, tuple_not_equal and tuple_number accept
// every defined value: their failure-free answers are part of the tables.
TEST_F(TupleOps, TypesAndConversions) {
  Expect({
      {"tuple_type", {{1, 2}}, {VPAR_LONG}},
      {"tuple_type", {{1, 2.0}}, {VPAR_MIXED}},
      {"tuple_type", {{}}, {VPAR_UNDEF}},
      {"tuple_type_elem", {{1, 2.0, "a"}}, {1, 2, 4}},
      {"tuple_is_int", {{1, 2}}, {1}},
      {"tuple_is_real", {{1.0}}, {1}},
      {"tuple_is_string", {{"a", 1}}, {0}},
      {"tuple_is_mixed", {{"a", 1}}, {1}},
      {"tuple_is_int_elem", {{1, 1.0}}, {1, 0}},
      {"tuple_is_real_elem", {{1, 1.0}}, {0, 1}},
      {"tuple_is_string_elem", {{"a", 1}}, {1, 0}},
      {"tuple_is_number", {{1, "1.5", "0x1f", "abc", ""}}, {1, 1, 1, 0, 0}},
      {"tuple_number", {{"12", "0x10", "1.5", "abc", "", " 7", 3.5}}, {12, 16, 1.5, "abc", "", 7, 3.5}},
      {"tuple_int", {{2.7, -2.7, 5}}, {2, -2, 5}},
      {"tuple_real", {{2}}, {2.0}},
      {"tuple_string", {{1, 1.5, "a"}, {""}}, {"1", "1.5", "a"}},
      {"tuple_string", {{1, 2.5}, {".2f"}}, {"1.00", "2.50"}},
      {"tuple_string", {{255, kMaxLong}, {"x"}}, {"ff", "7fffffffffffffff"}},
      {"tuple_string", {{"a"}, {"5", "-3s"}}, {"    a", "a  "}},
      {"tuple_string", {{3.14159}, {".2e"}}, {"3.14e+00"}},
      {"tuple_string", {{42}, {"-8d"}}, {"42      "}},
      {"tuple_string", {{1.0 / 3}, {"10.3f"}}, {"     0.333"}},
      {"tuple_chr", {{97, 0}}, {"a", ""}},
      {"tuple_ord", {{"a", "\xff"}}, {97, 255}},
      {"tuple_chrt", {{97, 98, 0, 99}}, {"ab", "c"}},
      {"tuple_ords", {{"ab", "c"}}, {97, 98, 99}},
  });
  ExpectFailures({
      {"tuple_int", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_int", {{1e300}}, VERR_CTRL_VALUE(0)},
      {"tuple_real", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_string", {{1.5}, {"d"}}, VERR_CTRL_TYPE(0)},
      {"tuple_string", {{1}, {"y"}}, VERR_CTRL_VALUE(1)},
      {"tuple_string", {{1}, {"99999d"}}, VERR_CTRL_VALUE(1)},
      {"tuple_string", {{1}, {2}}, VERR_CTRL_TYPE(1)},
      {"tuple_chr", {{256}}, VERR_CTRL_VALUE(0)},
      {"tuple_chr", {{1.0}}, VERR_CTRL_TYPE(0)},
      {"tuple_ord", {{"ab"}}, VERR_CTRL_VALUE(0)},
      {"tuple_ord", {{1}}, VERR_CTRL_TYPE(0)},
      {"tuple_chrt", {{300}}, VERR_CTRL_VALUE(0)},
      {"tuple_chrt", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_ords", {{1}}, VERR_CTRL_TYPE(0)},
  });
}

TEST_F(TupleOps, StringsCountBytesAndAnswerMinusOneForNotFound) {
  setenv("VEXA_TUPLE_TEST_VAR", "value", 1);
  unsetenv("VEXA_TUPLE_TEST_UNSET");
  Expect({
      {"tuple_strlen", {{"abc", ""}}, {3, 0}},
      {"tuple_strchr", {{"abc"}, {"xc", "x", ""}}, {2, -1, -1}},
      {"tuple_strrchr", {{"abcabc"}, {"ab"}}, {4}},
      {"tuple_strstr", {{"abcabc"}, {"bc", ""}}, {1, 0}},
      {"tuple_strrstr", {{"abcabc"}, {"bc", ""}}, {4, 6}},
      {"tuple_substr", {{"abcdef", "abc"}, {1, 2}, {3, 10}}, {"bcd", "c"}},
      {"tuple_str_first_n", {{"abcdef"}, {2, -1}}, {"abc", ""}},
      {"tuple_str_last_n", {{"abcdef"}, {4}}, {"ef"}},
      {"tuple_str_bit_select", {{"abc", 5}, {2}}, {"c", 1}},
      {"tuple_split", {{"a,,b,", "c d"}, {", "}}, {"a", "b", "c", "d"}},
      {"tuple_environment", {{"VEXA_TUPLE_TEST_VAR", "VEXA_TUPLE_TEST_UNSET"}}, {"value", ""}},
  });
  ExpectFailures({
      {"tuple_strlen", {{1}}, VERR_CTRL_TYPE(0)},
      {"tuple_strchr", {{"a"}, {1}}, VERR_CTRL_TYPE(1)},
      {"tuple_strrchr", {{1}, {"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_strstr", {{"a", "b"}, {"a", "b", "c"}}, VERR_CTRL_NUM(1)},
      {"tuple_strrstr", {{"a"}, {1.0}}, VERR_CTRL_TYPE(1)},
      {"tuple_substr", {{1}, {0}, {0}}, VERR_CTRL_TYPE(0)},
      {"tuple_substr", {{"abc"}, {0}, {"x"}}, VERR_CTRL_TYPE(2)},
      {"tuple_str_first_n", {{"a"}, {"x"}}, VERR_CTRL_TYPE(1)},
      {"tuple_str_last_n", {{1}, {0}}, VERR_CTRL_TYPE(0)},
      {"tuple_str_bit_select", {{"abc"}, {3}}, VERR_CTRL_VALUE(1)},
      {"tuple_str_bit_select", {{1.5}, {0}}, VERR_CTRL_TYPE(0)},
      {"tuple_split", {{"a"}, {1}}, VERR_CTRL_TYPE(1)},
      {"tuple_environment", {{1}}, VERR_CTRL_TYPE(0)},
  });
}

TEST_F(TupleOps, RegularExpressionsWithOptions) {
  Expect({
      {"tuple_regexp_match", {{"ab12cd", "xyz"}, {"[0-9]+"}}, {"12", ""}},
      {"tuple_regexp_match", {{"key=val"}, {"(\\w+)=(\\w+)"}}, {"key", "val"}},
      {"tuple_regexp_match", {{"ABC"}, {"b", "ignore_case"}}, {"B"}},
      {"tuple_regexp_match", {{"a\nb"}, {"^b", "multiline"}}, {"b"}},
      {"tuple_regexp_replace", {{"a1b2"}, {"[0-9]"}, {"#"}}, {"a#b2"}},
      {"tuple_regexp_replace", {{"a1b2"}, {"[0-9]", "replace_all"}, {"<\\0>"}}, {"a<1>b<2>"}},
      {"tuple_regexp_replace", {{"john smith"}, {"(\\w+) (\\w+)"}, {"$2, \\1"}}, {"smith, john"}},
      {"tuple_regexp_select", {{"a.png", "b.bmp", "c.png"}, {"\\.png$"}}, {"a.png", "c.png"}},
      {"tuple_regexp_select", {{"a.png", "b.bmp"}, {"\\.png$", "invert_match"}}, {"b.bmp"}},
      {"tuple_regexp_test", {{"a1", "b", "c2"}, {"\\d"}}, {2}},
  });
  ExpectFailures({
      {"tuple_regexp_match", {{"a"}, {"("}}, VERR_CTRL_VALUE(1)},
      {"tuple_regexp_match", {{1}, {"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_regexp_replace", {{"a"}, {"a"}, {"$9"}}, VERR_CTRL_VALUE(2)},
      {"tuple_regexp_replace", {{"a"}, {"a", "invert_match"}, {""}}, VERR_CTRL_VALUE(1)},
      {"tuple_regexp_select", {{"a"}, {"a", "bogus"}}, VERR_CTRL_VALUE(1)},
      {"tuple_regexp_test", {{"a"}, {}}, VERR_CTRL_NUM(1)},
      {"tuple_regexp_test", {{"a"}, {1}}, VERR_CTRL_TYPE(1)},
  });
}

// tuple_length, tuple_concat, tuple_inverse, the sorts, tuple_uniq and the
// searches take every defined value; the sets likewise.
TEST_F(TupleOps, SequencesAndSets) {
  Expect({
      {"tuple_length", {{1, "a", 2.0}}, {3}},
      {"tuple_select", {{"a", "b", "c"}, {2, 0, 2.9}}, {"c", "a", "c"}},
      {"tuple_select_range", {{1, 2, 3, 4}, {1}, {2}}, {2, 3}},
      {"tuple_select_range", {{1, 2, 3}, {1}, {0}}, {}},
      {"tuple_select_rank", {{5, 1, 4}, {1}}, {4}},
      {"tuple_first_n", {{1, 2, 3}, {1}}, {1, 2}},
      {"tuple_last_n", {{1, 2, 3}, {1}}, {2, 3}},
      {"tuple_concat", {{1}, {"a", 2.0}}, {1, "a", 2.0}},
      {"tuple_gen_sequence", {{1}, {10}, {3}}, {1, 4, 7, 10}},
      {"tuple_gen_sequence", {{0}, {1}, {0.25}}, {0.0, 0.25, 0.5, 0.75, 1.0}},
      {"tuple_gen_sequence", {{5}, {1}, {-2}}, {5, 3, 1}},
      {"tuple_gen_const", {{3}, {"x"}}, {"x", "x", "x"}},
      {"tuple_insert", {{1, 2}, {1}, {"a", "b"}}, {1, "a", "b", 2}},
      {"tuple_replace", {{1, 2, 3}, {0, 2}, {9}}, {9, 2, 9}},
      {"tuple_remove", {{1, 2, 3}, {5, -1, 1, 1}}, {1, 3}},
      {"tuple_inverse", {{1, "a", 2.0}}, {2.0, "a", 1}},
      {"tuple_sort", {{"b", 3, 1.5, "a", "B"}}, {1.5, 3, "B", "a", "b"}},
      {"tuple_sort_index", {{5, 3, 4, 3}}, {1, 3, 2, 0}},
      {"tuple_uniq", {{1, 1.0, 2, 1}}, {1, 2, 1}},
      {"tuple_find", {{1, 1, 1}, {1, 1}}, {0, 1}},
      {"tuple_find", {{1}, {2}}, {-1}},
      {"tuple_find_first", {{1, 2, 1, 2}, {1, 2}}, {0}},
      {"tuple_find_last", {{1, 2, 1, 2}, {1, 2}}, {2}},
      {"tuple_find_last", {{1}, {3}}, {-1}},
      {"tuple_select_mask", {{1, 2, 3}, {1, 0, 2}}, {1, 3}},
      {"tuple_union", {{3, 1, "a"}, {2, 1.0}}, {1, 2, 3, "a"}},
      {"tuple_intersection", {{1, 2, 3, 3}, {3, 2, 5}}, {2, 3}},
      {"tuple_difference", {{3, 1, 2}, {2}}, {1, 3}},
      {"tuple_symmdiff", {{1, 2}, {2, 3}}, {1, 3}},
  });
  ExpectFailures({
      {"tuple_select", {{1}, {1}}, VERR_CTRL_VALUE(1)},
      {"tuple_select", {{1}, {"a"}}, VERR_CTRL_TYPE(1)},
      {"tuple_select_range", {{1, 2, 3}, {0}, {3}}, VERR_CTRL_VALUE(2)},
      {"tuple_select_range", {{1, 2, 3}, {1, 2}, {2}}, VERR_CTRL_NUM(1)},
      {"tuple_select_rank", {{1, 2}, {2}}, VERR_CTRL_VALUE(1)},
      {"tuple_first_n", {{1, 2}, {2}}, VERR_CTRL_VALUE(1)},
      {"tuple_last_n", {{1, 2}, {3}}, VERR_CTRL_VALUE(1)},
      {"tuple_gen_sequence", {{1}, {2}, {0}}, VERR_CTRL_VALUE(2)},
      {"tuple_gen_sequence", {{"a"}, {2}, {1}}, VERR_CTRL_TYPE(0)},
      {"tuple_gen_sequence", {{0}, {1e12}, {1}}, VERR_TOO_LARGE},
      {"tuple_gen_const", {{-1}, {0}}, VERR_CTRL_VALUE(0)},
      {"tuple_gen_const", {{2}, {1, 2}}, VERR_CTRL_NUM(1)},
      {"tuple_insert", {{1}, {2}, {0}}, VERR_CTRL_VALUE(1)},
      {"tuple_replace", {{1, 2}, {0, 1}, {7, 8, 9}}, VERR_CTRL_NUM(2)},
      {"tuple_replace", {{1}, {1}, {0}}, VERR_CTRL_VALUE(1)},
      {"tuple_remove", {{1}, {"x"}}, VERR_CTRL_TYPE(1)},
      {"tuple_select_mask", {{1, 2}, {1}}, VERR_CTRL_NUM(1)},
  });
}

TEST_F(TupleOps, StatisticsAndRandomValues) {
  Expect({
      {"tuple_sum", {{1, 2, 3}}, {6}},
      {"tuple_sum", {{1, 2.5}}, {3.5}},
      {"tuple_sum", {{}}, {0}},
      {"tuple_mean", {{1, 2}}, {1.5}},
      {"tuple_median", {{1, 2, 3, 4}}, {3}},
      {"tuple_median", {{3.5, 1, 2}}, {2}},
      {"tuple_deviation", {{1, 3}}, {std::sqrt(2.0)}},
      {"tuple_deviation", {{5}}, {0.0}},
      {"tuple_cumul", {{1, 2, 0.5}}, {1, 3, 3.5}},
      {"tuple_min", {{3, 1.5, 2}}, {1.5}},
      {"tuple_max", {{"a", "b"}}, {"b"}},
      {"tuple_histo_range", {{0, 1, 2, 3, 4, 10, -1}, {0}, {4}, {2}}, {2, 3}},
  });
  ExpectFailures({
      {"tuple_sum", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_mean", {{}}, VERR_CTRL_NUM(0)},
      {"tuple_median", {{}}, VERR_CTRL_NUM(0)},
      {"tuple_deviation", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_cumul", {{1, "a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_min", {{}}, VERR_CTRL_NUM(0)},
      {"tuple_max", {{1, "a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_histo_range", {{1}, {2}, {1}, {2}}, VERR_CTRL_VALUE(2)},
      {"tuple_histo_range", {{1}, {0}, {1}, {0}}, VERR_CTRL_VALUE(3)},
      {"tuple_rand", {{-1}}, VERR_CTRL_VALUE(0)},
      {"tuple_rand", {{"a"}}, VERR_CTRL_TYPE(0)},
      {"tuple_rand", {{}}, VERR_CTRL_NUM(0)},
  });
  EXPECT_EQ(Call("tuple_histo_range", {{1}, {0}, {4}, {2}}).out[1], T{2.0});
  const tuple_test::Result r = Call("tuple_rand", {{3}});
  ASSERT_EQ(r.code, VRESULT_OK);
  ASSERT_EQ(r.out[0].size(), 3u);
  for (const tuple_test::V& v : r.out[0]) {
    EXPECT_EQ(v.type, VPAR_DOUBLE);
    EXPECT_TRUE(v.d >= 0.0 && v.d < 1.0) << v.d;
  }
}

// Every tuple operator of the table has an implementation, and none of
// them fails on missing inputs other than with a result code.
TEST_F(TupleOps, EveryTupleOperatorIsAvailable) {
  int count = 0;
  for (int32_t op = 0; op < VOperatorCount(); ++op) {
    const std::string name = VOIGet_LogicalName(op);
    if (name.rfind("tuple_", 0) != 0) continue;
    ++count;
    EXPECT_NE(Call(name.c_str(), {}).code, VERR_NOT_AVAILABLE) << name;
  }
  EXPECT_EQ(count, 121);
}

}  // namespace
