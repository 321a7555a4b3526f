// The string side of VTuple: number parsing, formatting by a pattern and
// splitting. Input: text, zero byte, pattern.
#include <cstring>

#include "fuzz_support.h"

using namespace Vexa;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexa_fuzz::ThrowOnFailure();
  const std::vector<std::string> parts = vexa_fuzz::SplitInput(data, size, 2);
  const VTuple text(parts[0].c_str());
  const char* pattern = parts[1].c_str();
  // Widths and precisions of thousands of digits are legal patterns and
  // merely slow: the C library renders every digit asked for. Keeping the
  // numbers short keeps the target exploring instead of waiting.
  for (size_t i = 0, digits = 0; pattern[i] != '\0'; ++i) {
    digits = (pattern[i] >= '0' && pattern[i] <= '9') ? digits + 1 : 0;
    if (digits > 3) return 0;
  }
  // Numbers of both kinds from the input's first bytes, so that formatting
  // sees integers and reals of every size.
  Vlong integer = 0;
  double real = 0;
  std::memcpy(&integer, parts[0].data(), std::min(parts[0].size(), sizeof integer));
  std::memcpy(&real, parts[0].data(), std::min(parts[0].size(), sizeof real));

  vexa_fuzz::CodeOf([&] { text.Number(); return 0u; });
  vexa_fuzz::CodeOf([&] { text.IsNumber(); return 0u; });
  vexa_fuzz::CodeOf([&] { text.Split(pattern); return 0u; });
  vexa_fuzz::CodeOf([&] { text.ToString(pattern); return 0u; });
  vexa_fuzz::CodeOf([&] { VTuple(integer).ToString(pattern); return 0u; });
  vexa_fuzz::CodeOf([&] { VTuple(real).ToString(pattern); return 0u; });
  return 0;
}
