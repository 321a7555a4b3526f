// The text form of integer filter masks. Input: width, height and divisor
// as one signed byte each, then the coefficient text.
#include "fuzz_support.h"

using namespace Vexa;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexa_fuzz::ThrowOnFailure();
  if (size < 3) return 0;
  // Sizes within -16..16 keep masks small while reaching negative, even
  // and zero sizes.
  const int width = static_cast<int8_t>(data[0]) % 17;
  const int height = static_cast<int8_t>(data[1]) % 17;
  const int div = static_cast<int8_t>(data[2]);
  const std::string text(reinterpret_cast<const char*>(data + 3), size - 3);
  vexa_fuzz::CodeOf([&] {
    VConvolInt mask(width, height, div, text.c_str());
    // A coefficient read back, kept from being optimised away; the value
    // may be negative, so it is no result code.
    volatile double value = mask.GetValueRel(0, 0);
    (void)value;
    return static_cast<unsigned int>(VRESULT_OK);
  });
  vexa_fuzz::CodeOf([&] {
    VConvolInt mask(width, height, text.c_str());
    VConvolInt copy = mask.Resize(height, width);
    return static_cast<unsigned int>(copy.Div());
  });
  return 0;
}
