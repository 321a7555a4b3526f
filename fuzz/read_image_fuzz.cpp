// read_image over arbitrary file contents: the format is told by the
// contents, so one target covers every codec. A file that reads must also
// write back in the native format and read again to the same size.
#include "fuzz_support.h"

using namespace Vexa;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexa_fuzz::ThrowOnFailure();
  const std::string& path = vexa_fuzz::ScratchFile(data, size);
  Vobject image;
  if (vexa_fuzz::CodeOf([&] { return read_image(&image, path.c_str()); }) != VRESULT_OK) {
    return 0;
  }
  VTuple width, height;
  if (get_image_size(image, &width, &height) != VRESULT_OK) std::abort();
  const std::string copy = path + ".vxi";
  if (write_image(image, "native", 0, copy.c_str()) != VRESULT_OK) std::abort();
  Vobject again;
  VTuple width2, height2;
  if (read_image(&again, copy.c_str()) != VRESULT_OK ||
      get_image_size(again, &width2, &height2) != VRESULT_OK ||
      width2 != width || height2 != height) {
    std::abort();
  }
  std::remove(copy.c_str());
  return 0;
}
