// Shared by the fuzz targets: failures raise instead of ending the process,
// file readers get their input through a scratch file, and one input can
// carry several strings.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <vexaobj.h>

namespace vexa_fuzz {

inline void ThrowCopy(const Vexa::VException& e) { throw Vexa::VException(e); }

// Without a handler a failure prints and ends the process, which the fuzzer
// would count as a crash; a throwing handler turns it into a return.
inline void ThrowOnFailure() {
  static const bool installed = (Vexa::VException::InstallVHandler(&ThrowCopy), true);
  (void)installed;
}

// Runs `call`; a raised failure counts as its error number.
template <class F>
unsigned int CodeOf(F call) {
  try {
    return call();
  } catch (const Vexa::VException& e) {
    return e.err;
  }
}

// Writes `data` to this process's scratch file and returns its name; in
// memory-backed /dev/shm where there is one, so that a run is not bound by
// the disk.
inline const std::string& ScratchFile(const uint8_t* data, size_t size) {
  static const std::string path =
      std::string(access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp") +
      "/vexa_fuzz_" + std::to_string(getpid());
  FILE* f = std::fopen(path.c_str(), "wb");
  if (f == nullptr) std::abort();
  if (size > 0 && std::fwrite(data, 1, size, f) != size) std::abort();
  std::fclose(f);
  return path;
}

// The input as `count` strings separated by zero bytes; missing ones are
// empty, and the last one takes the rest (zero bytes included, so it ends
// at its first one when used as a C string).
inline std::vector<std::string> SplitInput(const uint8_t* data, size_t size, size_t count) {
  std::vector<std::string> parts;
  const char* p = reinterpret_cast<const char*>(data);
  const char* end = p + size;
  while (parts.size() + 1 < count) {
    const char* zero = p;
    while (zero < end && *zero != '\0') ++zero;
    parts.emplace_back(p, zero);
    p = zero < end ? zero + 1 : end;
  }
  parts.emplace_back(p, end);
  return parts;
}

}  // namespace vexa_fuzz
