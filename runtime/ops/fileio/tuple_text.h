// Control tuples as text of our own format (docs/formats/tuple-text.md):
// a line "vexa-tuple 1", the count, then one value per line with its type,
// so that integers, reals and strings come back as they went in: reals in
// 17 significant digits, strings with backslash escapes.
#pragma once

#include <string>

#include "ops/serialize/tuple_values.h"

namespace vexa {

std::string TupleText(const TupleValues& values);
// The values of a text; VERR_FILE_FORMAT for another first line,
// VERR_FILE_TRUNCATED for missing lines, VERR_FILE_CORRUPT for anything
// else that is not the format.
Vresult ParseTuple(const std::string& text, TupleValues* values);

}  // namespace vexa
