// The hand-written operations of VWindow: mouse queries that give points,
// interactive drawing that gives geometric objects, display of iconic
// objects by their own operation; and the runtime's window stack.
#include <vexa/runtime.h>
#include <vexaobj/VCPP.h>
#include <vexaobj/VEllipse.h>
#include <vexaobj/VException.h>
#include <vexaobj/VObject.h>
#include <vexaobj/VObjectArray.h>
#include <vexaobj/VPrimitives.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VRectangle.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>

namespace Vexa {

namespace {

// The point of a mouse query: x from the column, y from the row, the
// first element of each, as integers.
VDPoint2D MousePoint(const VTuple& row, const VTuple& column) {
  return VDPoint2D(static_cast<int>(column[0].L()), static_cast<int>(row[0].L()));
}

template <class Query>
VDPoint2D Mouse(Query query, Vlong handle, int* button) {
  VTuple row, column, pressed;
  query(handle, &row, &column, &pressed);
  if (button != nullptr) *button = static_cast<int>(pressed[0].L());
  return MousePoint(row, column);
}

unsigned int QueryMbutton(Vlong h, VTuple* r, VTuple* c, VTuple* b) {
  return get_mbutton(h, r, c, b);
}
unsigned int QueryMposition(Vlong h, VTuple* r, VTuple* c, VTuple* b) {
  return get_mposition(h, r, c, b);
}

// Raises "Error" with the runtime's code under `function` unless `rc` is
// success.
void CheckStack(Vresult rc, const char* function) {
  if (rc == VRESULT_OK) return;
  VException(__FILE__, __LINE__, function, rc, "Error").React();
}

}  // namespace

void VWindow::Click() const {
  VTuple row, column;
  get_mbutton(handle, &row, &column, nullptr);
  row[0];
  column[0];
}

VDPoint2D VWindow::GetMbutton(int* button) const { return Mouse(&QueryMbutton, handle, button); }
VDPoint2D VWindow::GetMbutton() const { return Mouse(&QueryMbutton, handle, nullptr); }
VDPoint2D VWindow::GetMposition(int* button) const {
  return Mouse(&QueryMposition, handle, button);
}
VDPoint2D VWindow::GetMposition() const { return Mouse(&QueryMposition, handle, nullptr); }

int VWindow::GetButton() const {
  VTuple row, column, button;
  // 5: the pointer is not in the window.
  if (get_mposition(handle, &row, &column, &button) == 5) return 0;
  return static_cast<int>(button[0].L());
}

VCircle VWindow::DrawCircle() const {
  double row = 0, column = 0, radius = 0;
  draw_circle(handle, &row, &column, &radius);
  return VCircle(VPoint2D(column, row), radius);
}

VEllipse VWindow::DrawEllipse() const {
  double row = 0, column = 0, phi = 0, ra = 0, rb = 0;
  draw_ellipse(handle, &row, &column, &phi, &ra, &rb);
  return VEllipse(VPoint2D(column, row), ra, rb, phi);
}

VRectangle1 VWindow::DrawRectangle1() const {
  double row1 = 0, column1 = 0, row2 = 0, column2 = 0;
  draw_rectangle1(handle, &row1, &column1, &row2, &column2);
  return VRectangle1(VPoint2D(column1, row1), VPoint2D(column2, row2));
}

VRectangle2 VWindow::DrawRectangle2() const {
  double row = 0, column = 0, phi = 0, length1 = 0, length2 = 0;
  draw_rectangle2(handle, &row, &column, &phi, &length1, &length2);
  return VRectangle2(VPoint2D(column, row), length1, length2, phi);
}

void VWindow::Display(const VObject& object) const { object.Display(*this); }
void VWindow::Display(const VObjectArray& objects) const { objects.Display(*this); }

void VBenchWindowStack::Push(const VTuple& win_handle) {
  CheckStack(VWindowStackPush(win_handle[0].L()),
             "VBenchWindowStack::Push(const VTuple &win_handle)");
}

VTuple VBenchWindowStack::Pop() {
  Vlong window = 0;
  CheckStack(VWindowStackPop(&window), "VBenchWindowStack::Pop(void)");
  return VTuple(window);
}

VTuple VBenchWindowStack::GetActive() {
  Vlong window = 0;
  CheckStack(VWindowStackGetActive(&window), "VBenchWindowStack::GetActive(void)");
  return VTuple(window);
}

void VBenchWindowStack::SetActive(const VTuple& win_handle) {
  CheckStack(VWindowStackSetActive(win_handle[0].L()),
             "VBenchWindowStack::SetActive(const VTuple &win_handle)");
}

bool VBenchWindowStack::IsOpen() {
  Vlong open = 0;
  CheckStack(VWindowStackIsOpen(&open), "VBenchWindowStack::IsOpen(void)");
  return open != 0;
}

void VBenchWindowStack::CloseAll() {
  CheckStack(VWindowStackCloseAll(), "VBenchWindowStack::CloseAll(void)");
}

}  // namespace Vexa
