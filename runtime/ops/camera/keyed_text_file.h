// The text files of camera parameters and poses: a first line naming the
// format and its version ("VXCAM 1", "VXPOSE 1"), then one "key value"
// line per value in a fixed order (key, blanks or tabs, value). Lines end
// in LF or CR LF; blank lines and lines starting with '#' are skipped.
// Numbers are written with 17 significant digits and read back exactly,
// independently of the locale.
//
// Reading gives, for the file's faults: VERR_FILE_FORMAT when the first
// line names another format, VERR_FILE_UNSUPPORTED for another version,
// VERR_FILE_TRUNCATED when the file ends before the last key,
// VERR_FILE_CORRUPT for a line that is not the expected key with one
// valid value, or for lines after the last key.
#pragma once

#include <string>
#include <vector>

#include "vexa/types.h"

namespace vexa {

struct KeyedLine {
  std::string key;
  std::string value;
};

// The header `format` and the key lines of file `name`, in file order.
Vresult ReadKeyedTextFile(const char* name, const char* format, std::vector<KeyedLine>* lines);
// Writes header and lines anew (VERR_FILE_WRITE on failure).
Vresult WriteKeyedTextFile(const char* name, const char* format,
                           const std::vector<KeyedLine>& lines);

// Checks that `lines`, from index `first` on, are exactly `keys` in order
// and parses their values as finite numbers (codes as above).
Vresult KeyedNumbers(const std::vector<KeyedLine>& lines, size_t first,
                     const std::vector<const char*>& keys, std::vector<double>* values);

// A number in the form the files use (shortest exact, locale-free).
std::string FormatNumber(double v);

}  // namespace vexa
