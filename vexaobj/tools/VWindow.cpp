// VWindow: life of the runtime's window behind the handle, and the drawing
// primitives that the display operations of the iconic and geometric
// classes use.
#include <vexaobj/VCPP.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>

namespace Vexa {

namespace {

// Indices of the drawing operators in the runtime's operator table.
constexpr int kDispRectangle2 = 1272;
constexpr int kDispRectangle1 = 1273;
constexpr int kDispPolygon = 1274;
constexpr int kDispLine = 1275;
constexpr int kDispEllipse = 1280;
constexpr int kDispCircle = 1282;
constexpr int kDispArrow = 1283;

// Runs drawing operator `op` as a class method: the window's handle is the
// first control input, `values` follow in order; every failure raises.
template <class... Values>
void Draw(int op, Vlong handle, const Values&... values) {
  void* proc = nullptr;
  unsigned int err = VcppPreCall(op, &proc, 0);
  if (err == VRESULT_OK) err = VcppStoreIC(proc, 0, handle);
  int par = 0;
  // Each store runs only while every store before it succeeded.
  ((++par, err = err == VRESULT_OK ? VcppStoreIC(proc, par, values) : err),
   ...);
  if (err == VRESULT_OK) err = VcppCall(proc);
  VcppPostCall(proc, err, 1);
}

}  // namespace

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

void VWindow::DispLine(const VTuple& row1, const VTuple& column1,
                       const VTuple& row2, const VTuple& column2) const {
  Draw(kDispLine, handle, row1, column1, row2, column2);
}
void VWindow::DispLine(double row1, double column1, double row2,
                       double column2) const {
  Draw(kDispLine, handle, row1, column1, row2, column2);
}

void VWindow::DispPolygon(const VTuple& row, const VTuple& column) const {
  Draw(kDispPolygon, handle, row, column);
}

void VWindow::DispArrow(const VTuple& row1, const VTuple& column1,
                        const VTuple& row2, const VTuple& column2,
                        const VTuple& size) const {
  Draw(kDispArrow, handle, row1, column1, row2, column2, size);
}
void VWindow::DispArrow(double row1, double column1, double row2,
                        double column2, double size) const {
  Draw(kDispArrow, handle, row1, column1, row2, column2, size);
}

void VWindow::DispRectangle1(const VTuple& row1, const VTuple& column1,
                             const VTuple& row2, const VTuple& column2) const {
  Draw(kDispRectangle1, handle, row1, column1, row2, column2);
}
void VWindow::DispRectangle1(double row1, double column1, double row2,
                             double column2) const {
  Draw(kDispRectangle1, handle, row1, column1, row2, column2);
}

void VWindow::DispRectangle2(const VTuple& center_row,
                             const VTuple& center_column, const VTuple& phi,
                             const VTuple& length1,
                             const VTuple& length2) const {
  Draw(kDispRectangle2, handle, center_row, center_column, phi, length1,
       length2);
}
void VWindow::DispRectangle2(double center_row, double center_column,
                             double phi, double length1,
                             double length2) const {
  Draw(kDispRectangle2, handle, center_row, center_column, phi, length1,
       length2);
}

void VWindow::DispEllipse(const VTuple& center_row,
                          const VTuple& center_column, const VTuple& phi,
                          const VTuple& radius1, const VTuple& radius2) const {
  Draw(kDispEllipse, handle, center_row, center_column, phi, radius1, radius2);
}
void VWindow::DispEllipse(Vlong center_row, Vlong center_column, double phi,
                          double radius1, double radius2) const {
  Draw(kDispEllipse, handle, center_row, center_column, phi, radius1, radius2);
}

void VWindow::DispCircle(const VTuple& row, const VTuple& column,
                         const VTuple& radius) const {
  Draw(kDispCircle, handle, row, column, radius);
}
void VWindow::DispCircle(double row, double column, double radius) const {
  Draw(kDispCircle, handle, row, column, radius);
}

}  // namespace Vexa
