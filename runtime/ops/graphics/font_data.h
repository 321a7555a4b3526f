// The windows' built-in font: one fixed-size bitmap font of the printable
// ASCII characters, 5 x 8 pixels in a cell 6 wide, drawn at integer
// multiples of its size.
#pragma once

#include <cstdint>

namespace vexa {
namespace font {

constexpr int kGlyphColumns = 5;
constexpr int kGlyphRows = 8;
constexpr int kAdvance = 6;  // the cell width: one blank column between glyphs
constexpr int kAscent = 7;   // rows 0..6 above the base line
constexpr int kDescent = 1;  // row 7, for the tails of g, j, p, q, y
constexpr int kHeight = kAscent + kDescent;

// The glyph of a character as kGlyphColumns column bytes, bit k of a byte
// being row k from the top; characters without a glyph show as '?'.
const uint8_t* Glyph(unsigned char c);

}  // namespace font
}  // namespace vexa
