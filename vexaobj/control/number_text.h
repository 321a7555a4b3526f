// Numbers rendered as the tuple operations write them into text: integers
// as "%I64d" (64-bit decimal) and reals as "%g" (six significant digits),
// always with the C locale's point, whatever locale the application set.
// std::to_chars gives exactly printf's text and reads no locale.
#ifndef VEXAOBJ_CONTROL_NUMBER_TEXT_H
#define VEXAOBJ_CONTROL_NUMBER_TEXT_H

#include <charconv>
#include <cstddef>

#include <vexaobj/VBase.h>

namespace Vexa {
namespace internal {

// Room for the longest text of either form and its terminating zero.
constexpr size_t kNumberTextSize = 32;

inline const char* LongText(Vlong value, char (&text)[kNumberTextSize]) {
  *std::to_chars(text, text + kNumberTextSize - 1, value).ptr = '\0';
  return text;
}

inline const char* RealText(double value, char (&text)[kNumberTextSize]) {
  *std::to_chars(text, text + kNumberTextSize - 1, value, std::chars_format::general, 6)
       .ptr = '\0';
  return text;
}

}  // namespace internal
}  // namespace Vexa

#endif  // VEXAOBJ_CONTROL_NUMBER_TEXT_H
