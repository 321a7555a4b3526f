// A GS1 DataBar Expanded encoder (single row) for the tests, written from
// the published construction; the decoding engine has no writer for it.
//
// Payload: "(01)" and 14 digits, optionally followed by further
// predefined fixed-length AIs written with parentheses, digits only, e.g.
// "(01)98898765432106(3202)012345(15)991231". The bits use the method for
// AI (01) followed by general data: linkage flag 0, method "1", the
// two-bit length field, the GTIN's first digit in 4 bits and its next 12
// digits in groups of three (10 bits each; the check digit is implied),
// then the remaining digits in numeric compaction (7 bits per pair) and
// the standard padding. The 12-bit data characters follow a check
// character; each pair of characters sits around a finder pattern whose
// sequence depends on the number of pairs, every second finder mirrored.
#pragma once

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "databar_encoder.h"

namespace databar {

// Appends `value` as `bits` bits, most significant first.
inline void PutBits(std::string* out, int value, int bits) {
  for (int b = bits - 1; b >= 0; --b) out->push_back((value >> b & 1) ? '1' : '0');
}

// The data bits (without the two-bit length field filled in) of an
// element string "(01)..." of digits only.
inline std::string ExpandedBits(const std::string& payload) {
  if (payload.rfind("(01)", 0) != 0 || payload.size() < 18)
    throw std::invalid_argument("payload must start with (01) and 14 digits");
  const std::string gtin = payload.substr(4, 14);
  std::string rest;
  for (char c : payload.substr(18))
    if (c != '(' && c != ')') rest.push_back(c);
  std::string bits = "01";  // linkage 0, method "1"
  bits += "00";             // length field, set once the length is known
  PutBits(&bits, gtin[0] - '0', 4);
  for (int g = 0; g < 4; ++g) PutBits(&bits, std::stoi(gtin.substr(1 + 3 * g, 3)), 10);
  // Numeric compaction: a pair (d1, d2) as 11 d1 + d2 + 8; a last single
  // digit pairs with FNC1 (10).
  for (size_t i = 0; i < rest.size(); i += 2) {
    const int d1 = rest[i] - '0', d2 = i + 1 < rest.size() ? rest[i + 1] - '0' : 10;
    PutBits(&bits, 11 * d1 + d2 + 8, 7);
  }
  const size_t chars = std::max<size_t>(3, (bits.size() + 11) / 12);
  // Padding: the latch to alphanumeric (0000), then 00100 repeated.
  const size_t total = 12 * chars;
  if (total - bits.size() >= 4) bits += "0000";
  for (size_t k = 0; bits.size() < total; ++k) bits.push_back("00100"[k % 5]);
  // Length field: parity of the symbol characters (with the check
  // character), then whether there are more than 14.
  const size_t symbol_chars = chars + 1;
  bits[2] = symbol_chars % 2 ? '1' : '0';
  bits[3] = symbol_chars > 14 ? '1' : '0';
  return bits;
}

// Group parameters of the 17-module characters: first value, odd
// modules, widest odd and even element, number of even combinations.
struct ExpandedGroup {
  int first, odd_modules, widest_odd, widest_even, even_count;
};
constexpr ExpandedGroup kExpandedGroups[5] = {{0, 12, 7, 2, 4},
                                              {348, 10, 5, 4, 20},
                                              {1388, 8, 4, 5, 52},
                                              {2948, 6, 3, 6, 104},
                                              {3988, 4, 1, 8, 204}};

// The eight widths of a character, outermost element first (for the
// character left of its finder that is left to right, for the one right
// of it right to left).
inline std::vector<int> ExpandedCharacter(int value) {
  int g = 4;
  while (kExpandedGroups[g].first > value) --g;
  const ExpandedGroup& p = kExpandedGroups[g];
  const int v = value - p.first;
  // Odd elements need a single-module element, even ones need not.
  const std::vector<int> odd = Widths(v / p.even_count, p.odd_modules, 4, p.widest_odd, false);
  const std::vector<int> even =
      Widths(v % p.even_count, 17 - p.odd_modules, 4, p.widest_even, true);
  std::vector<int> out;
  for (int i = 0; i < 4; ++i) out.push_back(odd[i]), out.push_back(even[i]);
  return out;
}

// Finder patterns A..F, as they read left to right in a first-of-two
// (unmirrored) position.
constexpr int kExpandedFinders[6][5] = {{1, 8, 4, 1, 1}, {3, 6, 4, 1, 1}, {3, 4, 6, 1, 1},
                                        {3, 2, 8, 1, 1}, {2, 6, 5, 1, 1}, {2, 2, 9, 1, 1}};

// The finders (0 = A) of symbols of 2..11 pairs.
inline std::vector<int> FinderSequence(int pairs) {
  static const std::vector<int> kSequences[] = {
      {0, 0},          {0, 1, 1},          {0, 2, 1, 3},          {0, 4, 1, 3, 2},
      {0, 4, 1, 3, 3, 5}, {0, 4, 1, 3, 4, 5, 5}, {0, 0, 1, 1, 2, 2, 3, 3},
      {0, 0, 1, 1, 2, 2, 3, 3, 4}, {0, 0, 1, 1, 2, 2, 3, 3, 4, 4},
      {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5}};
  if (pairs < 2 || pairs > 11) throw std::invalid_argument("payload too long");
  return kSequences[pairs - 2];
}

// The element widths (a space first) of the symbol.
inline std::vector<int> ExpandedElements(const std::string& payload) {
  const std::string bits = ExpandedBits(payload);
  std::vector<int> values(1, 0);  // check character first
  for (size_t i = 0; i < bits.size(); i += 12) values.push_back(std::stoi(bits.substr(i, 12), nullptr, 2));
  const int symbol_chars = static_cast<int>(values.size());
  const std::vector<int> finders = FinderSequence((symbol_chars + 1) / 2);
  // Checksum: every element of the data characters weighted by a power
  // of 3 (mod 211) that depends on the character's finder, the finder's
  // mirroring and the character's side.
  int checksum = 0;
  for (int k = 1; k < symbol_chars; ++k) {
    const int pair = k / 2;
    const int row = 4 * finders[pair] + (pair % 2 ? 2 : 0) + k % 2 - 1;
    int weight = 1;
    for (int j = 0; j < 8 * row; ++j) weight = weight * 3 % 211;
    for (int w : ExpandedCharacter(values[k])) checksum += w * weight, weight = weight * 3 % 211;
  }
  values[0] = 211 * (symbol_chars - 4) + checksum % 211;
  std::vector<int> e = {1, 1};
  for (size_t pair = 0; pair < finders.size(); ++pair) {
    const std::vector<int> left = ExpandedCharacter(values[2 * pair]);
    e.insert(e.end(), left.begin(), left.end());
    const int* f = kExpandedFinders[finders[pair]];
    if (pair % 2) e.insert(e.end(), std::make_reverse_iterator(f + 5), std::make_reverse_iterator(f));
    else e.insert(e.end(), f, f + 5);
    if (2 * pair + 1 < values.size()) {
      const std::vector<int> right = ExpandedCharacter(values[2 * pair + 1]);
      e.insert(e.end(), right.rbegin(), right.rend());
    }
  }
  e.push_back(1), e.push_back(1);
  return e;
}

// The symbol as modules, true for a bar.
inline std::vector<bool> ExpandedModules(const std::string& payload) {
  return ElementModules(ExpandedElements(payload));
}

}  // namespace databar
