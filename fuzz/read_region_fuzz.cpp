// read_region over arbitrary file contents: a bad file must give a code
// and leave no object behind.
#include "fuzz_support.h"

using namespace Vexa;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexa_fuzz::ThrowOnFailure();
  const std::string& path = vexa_fuzz::ScratchFile(data, size);
  Vobject regions;
  if (vexa_fuzz::CodeOf([&] { return read_region(&regions, path.c_str()); }) == VRESULT_OK) {
    VTuple area, row, column;
    if (area_center(regions, &area, &row, &column) != VRESULT_OK) std::abort();
  }
  return 0;
}
