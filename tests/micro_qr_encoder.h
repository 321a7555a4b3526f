// A Micro QR Code encoder for the tests: the decoding engine reads these
// symbols but cannot write them, so they are built here from the published
// construction. Versions M1..M4 (11..17 modules square), one mode per
// symbol (numeric, alphanumeric or byte), error correction L, M or Q where
// the version has it; one Reed-Solomon block over GF(256) (polynomial
// 0x11D), the four Micro QR masks chosen by the dark modules on the right
// and bottom edges, and the 15-bit BCH format information.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace micro_qr {

enum class Level { kL, kM, kQ };
enum class Mode { kNumeric, kAlphanumeric, kByte };

// The capacity of one version and level: data bits and error correction
// codewords. M1 and M3 end their data with a codeword of 4 bits.
struct Capacity {
  int version;  // 1..4
  Level level;
  int symbol_number;  // in the format information
  int data_bits, ec_codewords;
};
constexpr Capacity kCapacities[] = {
    {1, Level::kL, 0, 20, 2},  {2, Level::kL, 1, 40, 5},  {2, Level::kM, 2, 32, 6},
    {3, Level::kL, 3, 84, 6},  {3, Level::kM, 4, 68, 8},  {4, Level::kL, 5, 128, 8},
    {4, Level::kM, 6, 112, 10}, {4, Level::kQ, 7, 80, 14},
};

struct Symbol {
  int size = 0;             // modules per side
  std::vector<bool> dark;   // size x size, row-major
  bool At(int row, int col) const { return dark[static_cast<size_t>(row) * size + col]; }
};

constexpr char kAlphanumerics[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ $%*+-./:";

inline int AlphanumericValue(char c) {
  for (int i = 0; i < 45; ++i)
    if (kAlphanumerics[i] == c) return i;
  return -1;
}

// The narrowest mode that holds every character of `text`.
inline Mode ModeOf(const std::string& text) {
  bool digits = true, alphanumerics = true;
  for (char c : text) {
    digits = digits && c >= '0' && c <= '9';
    alphanumerics = alphanumerics && AlphanumericValue(c) >= 0;
  }
  return digits ? Mode::kNumeric : alphanumerics ? Mode::kAlphanumeric : Mode::kByte;
}

// Bits of the mode indicator and of the character count; 0 count bits for
// a mode the version lacks.
inline int ModeBits(int version) { return version - 1; }
inline int CountBits(int version, Mode mode) {
  if (mode == Mode::kNumeric) return version + 2;
  if (mode == Mode::kAlphanumeric) return version == 1 ? 0 : version + 1;
  return version < 3 ? 0 : version + 1;
}

struct Bits {
  std::vector<bool> bits;
  void Add(unsigned value, int n) {
    for (int i = n - 1; i >= 0; --i) bits.push_back((value >> i) & 1);
  }
};

// Mode indicator, count and data of `text` in `mode` for `version`.
inline Bits Segment(const std::string& text, Mode mode, int version) {
  Bits b;
  b.Add(static_cast<unsigned>(mode), ModeBits(version));
  b.Add(static_cast<unsigned>(text.size()), CountBits(version, mode));
  const size_t n = text.size();
  if (mode == Mode::kNumeric) {
    for (size_t i = 0; i < n; i += 3) {
      const std::string group = text.substr(i, 3);
      b.Add(static_cast<unsigned>(std::stoi(group)), 3 * static_cast<int>(group.size()) + 1);
    }
  } else if (mode == Mode::kAlphanumeric) {
    for (size_t i = 0; i < n; i += 2) {
      if (i + 1 < n) {
        b.Add(static_cast<unsigned>(45 * AlphanumericValue(text[i]) + AlphanumericValue(text[i + 1])), 11);
      } else {
        b.Add(static_cast<unsigned>(AlphanumericValue(text[i])), 6);
      }
    }
  } else {
    for (char c : text) b.Add(static_cast<uint8_t>(c), 8);
  }
  return b;
}

// Whether `text` fits `cap` in `mode` (the count must fit its field too).
inline bool Fits(const std::string& text, Mode mode, const Capacity& cap) {
  const int count_bits = CountBits(cap.version, mode);
  if (count_bits == 0 || text.size() >= (1u << count_bits)) return false;
  return static_cast<int>(Segment(text, mode, cap.version).bits.size()) <= cap.data_bits;
}

// The data codewords: the segment, the terminator (as much as fits), zero
// bits to the codeword boundary, then pad codewords 0xEC, 0x11; a final
// codeword of 4 bits is held in the high nibble.
inline std::vector<uint8_t> DataCodewords(const std::string& text, Mode mode, const Capacity& cap) {
  Bits b = Segment(text, mode, cap.version);
  const int terminator = 2 * cap.version + 1;
  const auto room = [&] { return cap.data_bits - static_cast<int>(b.bits.size()); };
  b.Add(0, std::min(terminator, room()));
  while (b.bits.size() % 8 != 0 && room() > 0) b.bits.push_back(false);
  for (int pad = 0; room() >= 8; pad ^= 1) b.Add(pad ? 0x11 : 0xEC, 8);
  b.Add(0, room());
  std::vector<uint8_t> words((cap.data_bits + 7) / 8, 0);
  for (size_t i = 0; i < b.bits.size(); ++i)
    if (b.bits[i]) words[i / 8] |= static_cast<uint8_t>(0x80 >> (i % 8));
  return words;
}

inline uint8_t GfMultiply(uint8_t a, uint8_t b) {
  unsigned product = 0, x = a;
  for (; b; b >>= 1) {
    if (b & 1) product ^= x;
    x <<= 1;
    if (x & 0x100) x ^= 0x11D;
  }
  return static_cast<uint8_t>(product);
}

// The Reed-Solomon error correction codewords of `data`: the remainder of
// data(x) x^n divided by the generator with roots 2^0 .. 2^(n-1).
inline std::vector<uint8_t> ErrorCorrection(const std::vector<uint8_t>& data, int n) {
  std::vector<uint8_t> generator = {1};  // highest power first
  uint8_t root = 1;
  for (int i = 0; i < n; ++i) {
    std::vector<uint8_t> next(generator.size() + 1, 0);
    for (size_t j = 0; j < generator.size(); ++j) {
      next[j] ^= generator[j];
      next[j + 1] ^= GfMultiply(generator[j], root);
    }
    generator = next;
    root = GfMultiply(root, 2);
  }
  std::vector<uint8_t> remainder(n, 0);
  for (uint8_t d : data) {
    const uint8_t factor = d ^ remainder[0];
    remainder.erase(remainder.begin());
    remainder.push_back(0);
    for (int j = 0; j < n; ++j) remainder[j] ^= GfMultiply(generator[j + 1], factor);
  }
  return remainder;
}

// The four Micro QR masks (those of QR Code numbered 1, 4, 6 and 7).
inline bool MaskBit(int mask, int row, int col) {
  switch (mask) {
    case 0: return row % 2 == 0;
    case 1: return (row / 2 + col / 3) % 2 == 0;
    case 2: return ((row * col) % 2 + (row * col) % 3) % 2 == 0;
    default: return ((row + col) % 2 + (row * col) % 3) % 2 == 0;
  }
}

// The 15 format bits: symbol number and mask, BCH(15,5) remainder of the
// generator 0x537, XORed with 0x4445.
inline unsigned FormatBits(int symbol_number, int mask) {
  const unsigned data = static_cast<unsigned>(symbol_number << 2 | mask);
  unsigned rem = data << 10;
  for (int bit = 14; bit >= 10; --bit)
    if (rem & (1u << bit)) rem ^= 0x537u << (bit - 10);
  return (data << 10 | rem) ^ 0x4445;
}

// Modules outside the data area: finder, separator and format information
// (the top-left 9 x 9), and the timing patterns along row 0 and column 0.
inline bool IsFunction(int row, int col) { return (row <= 8 && col <= 8) || row == 0 || col == 0; }

inline void DrawFunctionPatterns(int symbol_number, int mask, Symbol* s) {
  auto set = [&](int r, int c, bool v) { s->dark[static_cast<size_t>(r) * s->size + c] = v; };
  for (int r = 0; r < 7; ++r)
    for (int c = 0; c < 7; ++c) {
      const int ring = std::max(std::abs(r - 3), std::abs(c - 3));
      set(r, c, ring != 2);
    }
  for (int i = 8; i < s->size; ++i) set(0, i, i % 2 == 0), set(i, 0, i % 2 == 0);
  // Format bits from the most significant: row 8 columns 1..8, then
  // column 8 rows 7..1.
  const unsigned format = FormatBits(symbol_number, mask);
  for (int i = 0; i < 15; ++i) {
    const bool bit = (format >> (14 - i)) & 1;
    if (i < 8) set(8, i + 1, bit); else set(7 - (i - 8), 8, bit);
  }
}

// The data area's modules in placement order: column pairs from the right,
// alternately upwards and downwards, the right module of a pair first.
inline std::vector<std::array<int, 2>> DataPositions(int size) {
  std::vector<std::array<int, 2>> out;
  bool up = true;
  for (int right = size - 1; right > 0; right -= 2, up = !up)
    for (int i = 0; i < size; ++i) {
      const int row = up ? size - 1 - i : i;
      for (int col : {right, right - 1})
        if (!IsFunction(row, col)) out.push_back({row, col});
    }
  return out;
}

// The mask score: with SUM1 and SUM2 the dark modules of the right and
// bottom edges (timing modules excluded), 16 * min + max; higher wins.
inline int MaskScore(const Symbol& s) {
  int right = 0, bottom = 0;
  for (int i = 1; i < s.size; ++i) right += s.At(i, s.size - 1), bottom += s.At(s.size - 1, i);
  return right <= bottom ? right * 16 + bottom : bottom * 16 + right;
}

// The symbol for `text` in `cap` with `mask`.
inline Symbol Draw(const std::string& text, Mode mode, const Capacity& cap, int mask) {
  Symbol s;
  s.size = 2 * cap.version + 9;
  s.dark.assign(static_cast<size_t>(s.size) * s.size, false);
  DrawFunctionPatterns(cap.symbol_number, mask, &s);
  const std::vector<uint8_t> data = DataCodewords(text, mode, cap);
  const std::vector<uint8_t> ec = ErrorCorrection(data, cap.ec_codewords);
  // Bits in placement order; a final data codeword of 4 bits gives 4.
  std::vector<bool> bits;
  for (size_t w = 0; w < data.size() + ec.size(); ++w) {
    const uint8_t word = w < data.size() ? data[w] : ec[w - data.size()];
    const int n = w + 1 == data.size() && cap.data_bits % 8 ? 4 : 8;
    for (int i = 0; i < n; ++i) bits.push_back((word >> (7 - i)) & 1);
  }
  const auto positions = DataPositions(s.size);
  for (size_t i = 0; i < positions.size(); ++i) {
    const auto [r, c] = positions[i];
    s.dark[static_cast<size_t>(r) * s.size + c] = bits.at(i) != MaskBit(mask, r, c);
  }
  return s;
}

// The smallest symbol (version, then level, no lower than `level`) for
// `text` in its narrowest mode, or exactly `version` when given (1..4);
// throws when nothing fits.
inline Symbol Encode(const std::string& text, Level level = Level::kL, int version = 0) {
  const Mode mode = ModeOf(text);
  for (const Capacity& cap : kCapacities) {
    if (cap.level < level || (version != 0 && cap.version != version)) continue;
    if (!Fits(text, mode, cap)) continue;
    Symbol best;
    int best_score = -1;
    for (int mask = 0; mask < 4; ++mask) {
      Symbol s = Draw(text, mode, cap, mask);
      const int score = MaskScore(s);
      if (score > best_score) best_score = score, best = std::move(s);
    }
    return best;
  }
  throw std::invalid_argument("no Micro QR symbol holds " + text);
}

}  // namespace micro_qr
