// Whole files in and out of memory, for the image file operators.
#pragma once

#include <string>

#include "io/codec_image.h"

namespace vexa {
namespace io {

// VERR_FILE_NOT_FOUND when no file has the name, VERR_FILE_READ when it
// cannot be read (a directory, no permission, an input error). Failures of
// both functions name the file as the call's error detail.
Vresult ReadWholeFile(const std::string& path, Bytes* contents);
// Writes the file anew; on failure VERR_FILE_WRITE, and no partial file
// is left under the name.
Vresult WriteWholeFile(const std::string& path, const Bytes& contents);

// True when the last component of `path` has an extension ("a/b.png"),
// false for "a.d/b" or ".hidden".
bool HasExtension(const std::string& path);

// The file read_image reads for `name`: the name itself when a file has
// it, else, for a name without extension, the name with the first of
// `extensions` under which a file exists; the name itself when none does.
std::string ResolveImagePath(const std::string& name,
                             const char* const* extensions, size_t count);

}  // namespace io
}  // namespace vexa
