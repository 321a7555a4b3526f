// Version queries of the class tree and the growth rule of all arrays.
#include <vexaobj/VBase.h>

#include "build_info.h"

#include <climits>
#include <cstdio>
#include <cstring>

namespace Vexa {

namespace internal {

// Turns the compiler's __DATE__ ("Mmm dd yyyy") into "day.month.year".
const char* BuildDate() {
  static const struct Text {
    char chars[16];
    Text() : chars() {
      static const char months[] = "JanFebMarAprMayJunJulAugSepOctNovDec";
      const char* date = __DATE__;
      int month = 1;
      for (int m = 0; m < 12; ++m) {
        if (std::strncmp(months + 3 * m, date, 3) == 0) month = m + 1;
      }
      int day = 0;
      int year = 0;
      std::sscanf(date + 3, "%d %d", &day, &year);
      std::snprintf(chars, sizeof chars, "%d.%d.%d", day, month, year);
    }
  } text;
  return text.chars;
}

}  // namespace internal

int VRootObject::Version() const { return internal::kVersion; }
int VRootObject::Revision() const { return internal::kRevision; }
const char* VRootObject::Creation() const { return internal::BuildDate(); }

const float VBaseArray::incr = 1.7f;
const Vlong VBaseArray::num_def = 10;

VBaseArray::VBaseArray() : num(0), num_alloc(0) {}

VBaseArray::VBaseArray(Vlong n, unsigned char use_default)
    : num(n), num_alloc(use_default ? num_def : n) {}

void VBaseArray::Extend(Vlong index) {
  if (index < num) return;
  const Vlong old_num = num;
  num = index + 1;
  if (index < num_alloc) return;

  Vlong capacity = num_def;
  if (index != 0) {
    // The factor is applied to the index in single precision and truncated
    // to 32 bits; a product beyond that range reads as the smallest int, as
    // the processor's conversion gives it, and the index + 1 floor wins.
    const float grown = static_cast<float>(index) * incr;
    const Vlong truncated = grown < 2147483648.0f && grown >= -2147483648.0f
                                ? static_cast<int32_t>(grown)
                                : INT32_MIN;
    capacity = truncated > index + 1 ? truncated : index + 1;
  }
  const Vlong old_alloc = num_alloc;
  num_alloc = capacity;
  try {
    NewLength(capacity, old_num);
  } catch (...) {
    // A handler threw out of a failed reallocation: the counts go back to
    // the storage that is still in place.
    num = old_num;
    num_alloc = old_alloc;
    throw;
  }
}

}  // namespace Vexa
