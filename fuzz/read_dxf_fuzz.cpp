// The DXF and arc-info readers of contours over arbitrary file contents: a
// bad file must give a code and leave no object behind; what a reader
// accepts must survive being written and read again.
#include "fuzz_support.h"

using namespace Vexa;

namespace {

// Writes what was read to a second scratch file and reads it back.
template <class Write, class Read>
void ExpectRoundTrip(const std::string& path, const Vobject& contours, Write write, Read read) {
  const std::string copy = path + ".copy";
  Vobject again;
  Vlong n = 0, m = 0;
  if (vexa_fuzz::CodeOf([&] { return write(contours, copy.c_str()); }) != VRESULT_OK ||
      vexa_fuzz::CodeOf([&] { return read(&again, copy.c_str()); }) != VRESULT_OK ||
      count_obj(contours, &n) != VRESULT_OK || count_obj(again, &m) != VRESULT_OK || n != m)
    std::abort();
  std::remove(copy.c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  vexa_fuzz::ThrowOnFailure();
  const std::string& path = vexa_fuzz::ScratchFile(data, size);
  Vobject contours;
  char status[1024];
  // A coarse arc resolution keeps huge radii from asking for many points.
  const auto read_dxf = [&](Vobject* out, const char* name) {
    return read_contour_xld_dxf(out, name, "max_approx_error", 1.0, status);
  };
  if (vexa_fuzz::CodeOf([&] { return read_dxf(&contours, path.c_str()); }) == VRESULT_OK)
    ExpectRoundTrip(path, contours, [](const Vobject& c, const char* n) { return write_contour_xld_dxf(c, n); },
                    read_dxf);
  Vobject lines;
  const auto read_gen = [](Vobject* out, const char* name) {
    return read_contour_xld_arc_info(out, name);
  };
  if (vexa_fuzz::CodeOf([&] { return read_gen(&lines, path.c_str()); }) == VRESULT_OK)
    ExpectRoundTrip(path, lines,
                    [](const Vobject& c, const char* n) { return write_contour_xld_arc_info(c, n); },
                    read_gen);
  return 0;
}
