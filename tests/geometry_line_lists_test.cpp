// Selection of lines from lists by length, centre and orientation, the
// split into passing and failing lines, and the longest lines.
#include <cmath>

#include "geometry_test_support.h"

namespace {

using namespace Vexa;
using namespace geometry_test;

class GeometryLineLists : public GeometryTest {};


// Four lines: horizontal of length 10, vertical of length 4, diagonal of
// length 5 (3-4-5), and one of length 0.
const std::vector<double> kRowBegin{0, 10, 20, 7}, kColBegin{0, 0, 0, 7}, kRowEnd{0, 14, 17, 7},
    kColEnd{10, 0, 4, 7};

struct Lines {
  VTuple rb, cb, re, ce;
};

Lines Select(const VTuple& feature, const char* op, const VTuple& lo, const VTuple& hi) {
  Lines out;
  EXPECT_EQ(select_lines(Tuple(kRowBegin), Tuple(kColBegin), Tuple(kRowEnd), Tuple(kColEnd), feature, op,
                         lo, hi, &out.rb, &out.cb, &out.re, &out.ce),
            VRESULT_OK);
  return out;
}

TEST_F(GeometryLineLists, SelectionByFeatures) {
  Lines s = Select("length", "and", 4.5, 20.0);
  EXPECT_EQ(Values(s.rb), std::vector<double>({0, 20}));
  EXPECT_EQ(Values(s.ce), std::vector<double>({10, 4}));
  // Centre rows 0, 12, 18.5, 7; columns 5, 0, 2, 7.
  s = Select("row", "and", 10.0, 20.0);
  EXPECT_EQ(Values(s.rb), std::vector<double>({10, 20}));
  s = Select("column", "and", 4.0, 7.0);
  EXPECT_EQ(Values(s.rb), std::vector<double>({0, 7}));
  // Vertical: pi/2; the diagonal rises to the right: atan2(3, 4). The line
  // of length 0 has no orientation and never passes.
  s = Select("phi", "and", 0.5, 2.0);
  EXPECT_EQ(Values(s.rb), std::vector<double>({10, 20}));
  s = Select("phi", "and", -0.1, 0.1);
  EXPECT_EQ(Values(s.rb), std::vector<double>({0}));
  // Two features, both or either; one bound pair per feature.
  VTuple features = Tuple({});
  features[0] = "length";
  features[1] = "phi";
  s = Select(features, "and", Tuple({4.5, 0.5}), Tuple({20, 2}));
  EXPECT_EQ(Values(s.rb), std::vector<double>({20}));
  s = Select(features, "or", Tuple({4.5, 1.5}), Tuple({20, 2}));
  EXPECT_EQ(Values(s.rb), std::vector<double>({0, 10, 20}));
}

TEST_F(GeometryLineLists, PartitionGivesTheOthersInOrder) {
  VTuple rb, cb, re, ce, frb, fcb, fre, fce;
  ASSERT_EQ(partition_lines(Tuple(kRowBegin), Tuple(kColBegin), Tuple(kRowEnd), Tuple(kColEnd), "length", "and",
                            4.5, 20.0, &rb, &cb, &re, &ce, &frb, &fcb, &fre, &fce),
            VRESULT_OK);
  EXPECT_EQ(Values(rb), std::vector<double>({0, 20}));
  EXPECT_EQ(Values(frb), std::vector<double>({10, 7}));
  EXPECT_EQ(Values(fre), std::vector<double>({14, 7}));
  EXPECT_EQ(Values(fce), std::vector<double>({0, 7}));
}

TEST_F(GeometryLineLists, LongestFirstAndStableForTies) {
  VTuple rb, cb, re, ce;
  ASSERT_EQ(select_lines_longest(Tuple({0, 1, 2, 3}), Tuple({0, 0, 0, 0}), Tuple({0, 1, 2, 3}),
                                 Tuple({3, 8, 3, 5}), 3, &rb, &cb, &re, &ce),
            VRESULT_OK);
  EXPECT_EQ(Values(rb), std::vector<double>({1, 3, 0}));
  ASSERT_EQ(select_lines_longest(Tuple({0, 1}), Tuple({0, 0}), Tuple({0, 1}), Tuple({3, 8}), 10, &rb, &cb,
                                 &re, &ce),
            VRESULT_OK);
  EXPECT_EQ(Values(ce), std::vector<double>({8, 3}));
  ASSERT_EQ(select_lines_longest(Tuple({0, 1}), Tuple({0, 0}), Tuple({0, 1}), Tuple({3, 8}), 0, &rb, &cb,
                                 &re, &ce),
            VRESULT_OK);
  EXPECT_EQ(rb.Num(), 0);
}

TEST_F(GeometryLineLists, BadInputGivesClearCodes) {
  VTuple rb, cb, re, ce;
  const VTuple r = Tuple(kRowBegin), c = Tuple(kColBegin), r2 = Tuple(kRowEnd), c2 = Tuple(kColEnd);
  EXPECT_EQ(select_lines(r, c, r2, c2, "area", "and", 0.0, 1.0, &rb, &cb, &re, &ce), VERR_CTRL_VALUE(4));
  EXPECT_EQ(select_lines(r, c, r2, c2, "length", "xor", 0.0, 1.0, &rb, &cb, &re, &ce), VERR_CTRL_VALUE(5));
  EXPECT_EQ(select_lines(r, c, r2, c2, "length", "and", Tuple({0, 1}), 1.0, &rb, &cb, &re, &ce),
            VERR_CTRL_NUM(6));
  EXPECT_EQ(select_lines(r, c, r2, c2, VTuple(), "and", 0.0, 1.0, &rb, &cb, &re, &ce), VERR_CTRL_NUM(4));
  EXPECT_EQ(select_lines(r, c, Tuple({1, 2}), c2, "length", "and", 0.0, 1.0, &rb, &cb, &re, &ce),
            VERR_CTRL_NUM(2));
  EXPECT_EQ(select_lines_longest(r, c, r2, c2, -1, &rb, &cb, &re, &ce), VERR_CTRL_VALUE(4));
  EXPECT_EQ(select_lines_longest(r, c, r2, c2, 1.5, &rb, &cb, &re, &ce), VERR_CTRL_TYPE(4));
}

}  // namespace
