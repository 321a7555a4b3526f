// Failures and how to handle them. A procedural function returns a code;
// a class method raises a VException. By default a raise prints a report
// and ends the process; an installed handler decides instead. Here the
// handler turns it into a C++ exception, and the exception's tuple form
// gives its parts by name.
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <cstdio>

using namespace Vexa;

namespace {

void ThrowIt(const VException& e) { throw VException(e); }

}  // namespace

int main() {
  // 1. The code of a procedural call and the runtime's text for it.
  Vobject image;
  unsigned int rc = gen_image_const(&image, "no_such_type", 10, 10);
  char text[1024];
  VErrorMessage(rc, text);
  std::printf("procedural: code %u (%s)\n", rc, text);

  // 2. A raise caught through a handler that throws.
  VException::InstallVHandler(&ThrowIt);
  bool caught = false;
  try {
    VRegion::GenCircle(10.0, 10.0, -1.0);  // a negative radius is refused
  } catch (const VException& e) {
    caught = true;
    VTuple tuple, values;
    e.ToVTuple(&tuple);
    VException::GetExceptionData(
        tuple, VTuple("error_code").Append("error_msg").Append("operator"), &values);
    std::printf("raised: code %lld, \"%s\" in %s\n", (long long)values[0].L(),
                values[1].S(), values[2].S());
  }
  return rc != 2 && caught ? 0 : 1;
}
