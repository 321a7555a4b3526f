// VWindow: the handle of one graphics window of the runtime. A VWindow owns
// its window: the handle is not shared or counted, and destroying the
// VWindow closes the window. Handle 0 means that no window is open.
//
// The life-cycle operations run their operators in the procedural mode and
// hand the result code back unchecked (a failed open_window in a
// constructor leaves the handle as the operator left it). The operator
// methods are class methods: they raise on every failure.
#ifndef VEXAOBJ_VWINDOW_H
#define VEXAOBJ_VWINDOW_H

#include <vexaobj/VBase.h>

#include <vexaobj/methods/VWindow_classes.inc>

namespace Vexa {

class VTuple;
class VDPoint2D;
class VCircle;
class VEllipse;
class VRectangle1;
class VRectangle2;
class VObject;
class VObjectArray;

class VWindow : public VRootObject {
 public:
  // Opens a window of the runtime's default size at the origin.
  VWindow();
  VWindow(int row, int column, int width, int height, const VWindow& father,
          const char* mode, const char* machine);
  // Opens a window only if `open` is non-zero; otherwise the handle is 0.
  VWindow(int row, int column, int width, int height, Vlong father,
          const char* mode, const char* machine, int open);
  // A handle without a window; the argument is not used.
  explicit VWindow(const char* unused);
  // Closes the window if one is open.
  ~VWindow() override;

  const char* ClassName() const override { return "VWindow"; }

  Vlong WindowHandle() const { return handle; }

  // Open a window into a handle that has none; with a window already open
  // nothing happens and the result is success (2).
  unsigned int OpenWindow(int row, int column, int width, int height,
                          Vlong father, const char* mode, const char* machine);
  unsigned int NewExternWindow(Vlong window_id, int row, int column,
                               int width, int height);
  unsigned int SetDC(Vlong dc);
  // Closes the window; the handle is 0 afterwards.
  unsigned int CloseWindow();

  // Mouse: wait for a click and drop its position; the position of the
  // next button press, or (Mposition) the pointer now; x is the column, y
  // the row. GetButton answers 0 when the pointer is outside the window.
  void Click() const;
  VDPoint2D GetMbutton(int* button) const;
  VDPoint2D GetMbutton() const;
  VDPoint2D GetMposition(int* button) const;
  VDPoint2D GetMposition() const;
  int GetButton() const;

  // Interactive drawing, returning the drawn figure.
  VCircle DrawCircle() const;
  VEllipse DrawEllipse() const;
  VRectangle1 DrawRectangle1() const;
  VRectangle2 DrawRectangle2() const;

  // The object's own display operation.
  virtual void Display(const VObject& object) const;
  virtual void Display(const VObjectArray& objects) const;

  // The operator methods, wrappers of one operator each with the window's
  // handle as its window input; the drawing primitives that the display
  // operations of the other classes use are among them (DispLine,
  // DispPolygon, DispArrow, DispRectangle1/2, DispEllipse, DispCircle:
  // coordinates go row first).
#include <vexaobj/methods/VWindow.inc>

 private:
  // Copying opens a second window of the source's extents; assigning closes
  // the target's window first. Neither is open to applications: a window
  // has one owner.
  VWindow(const VWindow& other);
  VWindow& operator=(const VWindow& other);
  // Opens a window of the extents of `source` into `handle`.
  void OpenLike(const VWindow& source);

  Vlong handle;
};

// The runtime's stack of window handles, one of them active. Every
// operation raises "Error" with the runtime's code when the runtime fails.
class VBenchWindowStack {
 public:
  static void Push(const VTuple& win_handle);
  static VTuple Pop();
  static VTuple GetActive();
  static void SetActive(const VTuple& win_handle);
  static bool IsOpen();
  static void CloseAll();
};

}  // namespace Vexa

#endif  // VEXAOBJ_VWINDOW_H
