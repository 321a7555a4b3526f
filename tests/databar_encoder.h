// A GS1 DataBar Omnidirectional encoder for the tests: the decoding engine
// has none, so the symbols are written here from the published
// construction. A GTIN of 13 digits (the 14th, its check digit, is
// implied) becomes four data characters, each a combination of four odd
// and four even elements chosen by rank, two finder patterns selected by
// the mod-79 checksum of the elements, and guards: 46 elements of 96
// modules, starting with a space.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace databar {

// n choose r (0 for r < 0 or r > n).
inline long long Choose(int n, int r) {
  if (r < 0 || r > n) return 0;
  long long c = 1;
  for (int i = 1; i <= r; ++i) c = c * (n - r + i) / i;
  return c;
}

// The element widths of rank `value` among the combinations of
// `elements` widths summing to `modules`, each at most `widest`; with
// `no_narrow`, combinations without a single-module element are included.
inline std::vector<int> Widths(int value, int modules, int elements, int widest, bool no_narrow) {
  std::vector<int> widths(elements);
  int narrow_mask = 0;
  int bar = 0;
  for (; bar < elements - 1; ++bar) {
    int width = 1;
    long long sub = 0;
    for (narrow_mask |= 1 << bar;; ++width, narrow_mask &= ~(1 << bar)) {
      sub = Choose(modules - width - 1, elements - bar - 2);
      if (!no_narrow && narrow_mask == 0 &&
          modules - width - (elements - bar - 1) >= elements - bar - 1)
        sub -= Choose(modules - width - (elements - bar), elements - bar - 2);
      if (elements - bar - 1 > 1) {
        long long less = 0;
        for (int w = modules - width - (elements - bar - 2); w > widest; --w)
          less += Choose(modules - width - w - 1, elements - bar - 3);
        sub -= less * (elements - 1 - bar);
      } else if (modules - width > widest) {
        --sub;
      }
      value -= static_cast<int>(sub);
      if (value < 0) break;
    }
    value += static_cast<int>(sub);
    modules -= width;
    widths[bar] = width;
  }
  widths[bar] = modules;
  return widths;
}

// Group parameters of the outside (16-module) and inside (15-module)
// characters: first value, odd modules, widest odd and even element,
// and the number of odd and even combinations.
struct Group {
  int first, odd_modules, widest_odd, widest_even, odd_count, even_count;
};
constexpr Group kOutside[5] = {{0, 12, 8, 1, 161, 1},
                               {161, 10, 6, 3, 80, 10},
                               {961, 8, 4, 5, 31, 34},
                               {2015, 6, 3, 6, 10, 70},
                               {2715, 4, 1, 8, 1, 126}};
constexpr Group kInside[4] = {{0, 5, 2, 7, 4, 84},
                              {336, 7, 4, 5, 20, 35},
                              {1036, 9, 6, 3, 48, 10},
                              {1516, 11, 8, 1, 81, 1}};

// The eight widths of a data character, odd and even elements alternating.
inline std::vector<int> Character(int value, bool outside) {
  const Group* groups = outside ? kOutside : kInside;
  const int n = outside ? 5 : 4, modules = outside ? 16 : 15;
  int g = n - 1;
  while (groups[g].first > value) --g;
  const Group& p = groups[g];
  const int v = value - p.first;
  const int v_odd = outside ? v / p.even_count : v % p.odd_count;
  const int v_even = outside ? v % p.even_count : v / p.odd_count;
  const std::vector<int> odd = Widths(v_odd, p.odd_modules, 4, p.widest_odd, outside);
  const std::vector<int> even = Widths(v_even, modules - p.odd_modules, 4, p.widest_even, !outside);
  std::vector<int> out;
  for (int i = 0; i < 4; ++i) out.push_back(odd[i]), out.push_back(even[i]);
  return out;
}

constexpr int kFinders[9][5] = {{3, 8, 2, 1, 1}, {3, 5, 5, 1, 1}, {3, 3, 7, 1, 1},
                                {3, 1, 9, 1, 1}, {2, 7, 4, 1, 1}, {2, 5, 6, 1, 1},
                                {2, 3, 8, 1, 1}, {1, 5, 7, 1, 1}, {1, 3, 9, 1, 1}};

// The GTIN-14 check digit of 13 digits.
inline int CheckDigit(const std::string& digits13) {
  int sum = 0;
  for (int i = 0; i < 13; ++i) sum += (digits13[i] - '0') * (i % 2 == 0 ? 3 : 1);
  return (10 - sum % 10) % 10;
}

// The 46 element widths (a space first) of the symbol for 13 digits.
inline std::vector<int> Elements(const std::string& digits13) {
  const long long value = std::stoll(digits13);
  const long long left = value / 4537077, right = value % 4537077;
  const int data[4] = {static_cast<int>(left / 1597), static_cast<int>(left % 1597),
                       static_cast<int>(right / 1597), static_cast<int>(right % 1597)};
  std::vector<int> chars[4];
  int checksum = 0, weight = 1;
  for (int c = 0; c < 4; ++c) {
    chars[c] = Character(data[c], c % 2 == 0);
    for (int w : chars[c]) checksum += w * weight, weight = weight * 3 % 79;
  }
  checksum %= 79;
  // Checksums 8 and 72 have no finder pair (they would repeat finder
  // patterns): the values from there on move up.
  if (checksum >= 8) ++checksum;
  if (checksum >= 72) ++checksum;
  const int* left_finder = kFinders[checksum / 9];
  const int* right_finder = kFinders[checksum % 9];
  std::vector<int> e = {1, 1};
  e.insert(e.end(), chars[0].begin(), chars[0].end());
  e.insert(e.end(), left_finder, left_finder + 5);
  e.insert(e.end(), chars[1].rbegin(), chars[1].rend());
  e.insert(e.end(), chars[3].begin(), chars[3].end());
  for (int i = 4; i >= 0; --i) e.push_back(right_finder[i]);
  e.insert(e.end(), chars[2].rbegin(), chars[2].rend());
  e.push_back(1), e.push_back(1);
  return e;
}

// Element widths (a space first) as modules, true for a bar.
inline std::vector<bool> ElementModules(const std::vector<int>& elements) {
  std::vector<bool> modules;
  bool bar = false;
  for (int w : elements) {
    modules.insert(modules.end(), w, bar);
    bar = !bar;
  }
  return modules;
}

// The symbol as modules, true for a bar.
inline std::vector<bool> Modules(const std::string& digits13) {
  return ElementModules(Elements(digits13));
}

}  // namespace databar
