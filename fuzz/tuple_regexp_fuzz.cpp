// The regular-expression operators with arbitrary subjects, expressions
// and replacements. Input: subject, zero byte, expression, zero byte,
// replacement.
#include "fuzz_support.h"

using namespace Vexa;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexa_fuzz::ThrowOnFailure();
  const std::vector<std::string> parts = vexa_fuzz::SplitInput(data, size, 3);
  const VTuple subject(parts[0].c_str()), expression(parts[1].c_str());
  const VTuple replacement(parts[2].c_str());
  VTuple out;
  vexa_fuzz::CodeOf([&] { return tuple_regexp_match(subject, expression, &out); });
  vexa_fuzz::CodeOf([&] { return tuple_regexp_test(subject, expression, &out); });
  vexa_fuzz::CodeOf([&] { return tuple_regexp_select(subject, expression, &out); });
  vexa_fuzz::CodeOf(
      [&] { return tuple_regexp_replace(subject, expression, replacement, &out); });
  return 0;
}
