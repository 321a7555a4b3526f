#include "ops/region/kernels/golay_elements.h"

#include <cstring>

namespace vexa {
namespace {

// The 3 x 3 ring clockwise from the top-left corner.
constexpr int kRingR[8] = {-1, -1, -1, 0, 1, 1, 1, 0};
constexpr int kRingC[8] = {-1, 0, 1, 1, 1, 0, -1, -1};

struct Letter {
  const char* name;
  const char* ring;  // '1' foreground, '0' background, '.' either
};
constexpr Letter kLetters[] = {
    {"l", "000.111."}, {"m", ".000.1.1"}, {"e", ".1.00000"},
    {"i", "00000000"}, {"noise", ".0.0.0.0"},
};

}  // namespace

bool GolayElement(const std::string& name, int turns, GolayPair* pair) {
  for (const Letter& letter : kLetters) {
    if (name != letter.name) continue;
    const int turn = ((turns % 8) + 8) % 8;
    std::vector<Chord> fg{{0, 0, 0}}, bg;
    for (int i = 0; i < 8; ++i) {
      const int k = (i + turn) % 8;
      const Chord pixel{kRingR[k], kRingC[k], kRingC[k]};
      if (letter.ring[i] == '1') fg.push_back(pixel);
      if (letter.ring[i] == '0') bg.push_back(pixel);
    }
    pair->fg = Region::FromChords(fg);
    pair->bg = Region::FromChords(bg);
    return true;
  }
  return false;
}

}  // namespace vexa
