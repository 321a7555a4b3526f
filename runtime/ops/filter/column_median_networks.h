// Comparator networks for byte medians over masks whose columns are
// presorted: the wires are the mask's columns from left to right, each
// column's values in ascending order (column heights 2h + 1 centred on the
// pixel's row). A comparator {lo, hi} leaves the smaller value on wire lo
// and the larger on wire hi; after the last one, wire kMedian holds the
// median.
//
// How the larger ones were made: columns merged pairwise by Batcher's
// odd-even merge (every merge order tried), then comparators removed that
// never exchange or whose removal keeps the median right, each step checked on every 0-1
// input with sorted columns (the 0-1 principle holds for such inputs, as a
// threshold keeps columns sorted), and the comparators dropped that no
// longer reach the median wire. The rank filter tests compare the results
// with plainly sorted neighbourhoods.
#pragma once

#include <cstdint>

namespace vexa {

struct Comparator {
  uint8_t lo, hi;
};

// The 3x3 square (also the disc of radius 1), made by hand: the median of
// the largest column minimum, the median of the column middles and the
// smallest column maximum. 12 min/max operations.
struct Square3Network {
  static constexpr int kHeights[] = {1, 1, 1};
  static constexpr int kMedian = 6;
  static constexpr Comparator kNet[] = {
      {0, 3}, {3, 6}, {2, 5}, {2, 8}, {1, 4}, {4, 7}, {1, 4}, {4, 6}, {6, 2}, {4, 6}};
};

// The disc of radius 2 (the 5x5 square without its corners): 51
// comparators, 82 min/max operations.
struct Disc2Network {
  static constexpr int kHeights[] = {1, 2, 2, 2, 1};
  static constexpr int kMedian = 10;
  static constexpr Comparator kNet[] = {
      {0, 3}, {7, 3}, {2, 5}, {2, 7}, {5, 3}, {1, 4}, {6, 4}, {1, 2}, {6, 7}, {4, 5},
      {8, 18}, {12, 18}, {10, 20}, {10, 12}, {20, 18}, {9, 19}, {11, 19}, {9, 10}, {11, 12},
      {19, 20}, {0, 8}, {7, 12}, {7, 8}, {2, 10}, {5, 20}, {5, 10}, {5, 8}, {10, 12},
      {1, 9}, {4, 19}, {4, 9}, {6, 11}, {3, 18}, {3, 11}, {6, 4}, {3, 9}, {4, 5}, {3, 8},
      {9, 10}, {8, 13}, {12, 17}, {12, 13}, {10, 15}, {5, 10}, {10, 12}, {9, 14}, {4, 9},
      {11, 16}, {3, 11}, {3, 9}, {9, 10}};
};

// The 5x5 square: 66 comparators, 108 min/max operations.
struct Square5Network {
  static constexpr int kHeights[] = {2, 2, 2, 2, 2};
  static constexpr int kMedian = 14;
  static constexpr Comparator kNet[] = {
      {0, 5}, {4, 9}, {4, 5}, {2, 7}, {2, 4}, {7, 5}, {1, 6}, {3, 8}, {3, 6}, {1, 2},
      {3, 4}, {6, 7}, {8, 5}, {10, 15}, {14, 19}, {14, 15}, {12, 17}, {12, 14}, {17, 15},
      {11, 16}, {13, 18}, {13, 16}, {11, 12}, {13, 14}, {16, 17}, {18, 15}, {0, 10},
      {5, 15}, {5, 10}, {4, 14}, {4, 5}, {14, 10}, {2, 12}, {7, 17}, {7, 12}, {7, 5},
      {12, 14}, {1, 11}, {9, 19}, {9, 11}, {6, 16}, {6, 9}, {16, 11}, {3, 13}, {8, 18},
      {8, 13}, {8, 9}, {13, 16}, {8, 5}, {9, 12}, {13, 14}, {10, 20}, {5, 10}, {14, 24},
      {14, 10}, {15, 22}, {12, 15}, {12, 14}, {11, 21}, {9, 11}, {16, 11}, {19, 23},
      {13, 19}, {8, 13}, {13, 16}, {13, 14}};
};

// Sorting networks for one column of 3 and of 5 values (3 and 9
// comparators, both the fewest possible).
constexpr Comparator kSort3[] = {{0, 1}, {1, 2}, {0, 1}};
constexpr Comparator kSort5[] = {{0, 1}, {3, 4}, {2, 4}, {2, 3}, {0, 3},
                                 {0, 2}, {1, 4}, {1, 3}, {1, 2}};

}  // namespace vexa
