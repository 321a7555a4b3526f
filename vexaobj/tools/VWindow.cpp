// VWindow: life of the runtime's window behind the handle. The operator
// methods are generated (window_methods.cpp).
#include <vexaobj/VCPP.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>

namespace Vexa {

VWindow::VWindow() : handle(0) {
  open_window(0, 0, -1, -1, 0, "", "", &handle);
}

VWindow::VWindow(int row, int column, int width, int height,
                 const VWindow& father, const char* mode, const char* machine)
    : handle(0) {
  open_window(row, column, width, height, father.handle, mode, machine,
              &handle);
}

VWindow::VWindow(int row, int column, int width, int height, Vlong father,
                 const char* mode, const char* machine, int open)
    : handle(0) {
  if (open)
    open_window(row, column, width, height, father, mode, machine, &handle);
}

VWindow::VWindow(const char*) : handle(0) {}

VWindow::VWindow(const VWindow& other) : VRootObject(other), handle(0) {
  OpenLike(other);
}

VWindow& VWindow::operator=(const VWindow& other) {
  if (this == &other) return *this;
  if (handle != 0) CloseWindow();
  OpenLike(other);
  return *this;
}

VWindow::~VWindow() {
  if (handle != 0) close_window(handle);
  handle = 0;
}

void VWindow::OpenLike(const VWindow& source) {
  Vlong row = 0, column = 0, width = 0, height = 0;
  get_window_extents(source.handle, &row, &column, &width, &height);
  open_window(row, column, width, height, 0, "", "", &handle);
}

unsigned int VWindow::OpenWindow(int row, int column, int width, int height,
                                 Vlong father, const char* mode,
                                 const char* machine) {
  if (handle != 0) return VRESULT_OK;
  return open_window(row, column, width, height, father, mode, machine,
                     &handle);
}

unsigned int VWindow::NewExternWindow(Vlong window_id, int row, int column,
                                      int width, int height) {
  if (handle != 0) return VRESULT_OK;
  return new_extern_window(window_id, row, column, width, height, &handle);
}

unsigned int VWindow::SetDC(Vlong dc) { return set_window_dc(handle, dc); }

unsigned int VWindow::CloseWindow() {
  const unsigned int err = close_window(handle);
  handle = 0;
  return err;
}

}  // namespace Vexa
