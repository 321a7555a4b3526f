// VWindow: the handle of one graphics window of the runtime. A VWindow owns
// its window: the handle is not shared or counted, and destroying the
// VWindow closes the window. Handle 0 means that no window is open.
//
// The life-cycle operations run their operators in the procedural mode and
// hand the result code back unchecked (a failed open_window in a
// constructor leaves the handle as the operator left it). The drawing
// primitives are class methods: they raise on every failure.
#ifndef VEXAOBJ_VWINDOW_H
#define VEXAOBJ_VWINDOW_H

#include <vexaobj/VBase.h>

#if __has_include(<vexaobj/methods/VWindow_classes.inc>)
#include <vexaobj/methods/VWindow_classes.inc>
#endif

namespace Vexa {

class VTuple;

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

  // Drawing primitives; coordinates go row first.
  virtual void DispLine(const VTuple& row1, const VTuple& column1,
                        const VTuple& row2, const VTuple& column2) const;
  virtual void DispLine(double row1, double column1, double row2,
                        double column2) const;
  virtual void DispPolygon(const VTuple& row, const VTuple& column) const;
  virtual void DispArrow(const VTuple& row1, const VTuple& column1,
                         const VTuple& row2, const VTuple& column2,
                         const VTuple& size) const;
  virtual void DispArrow(double row1, double column1, double row2,
                         double column2, double size) const;
  virtual void DispRectangle1(const VTuple& row1, const VTuple& column1,
                              const VTuple& row2, const VTuple& column2) const;
  virtual void DispRectangle1(double row1, double column1, double row2,
                              double column2) const;
  virtual void DispRectangle2(const VTuple& center_row,
                              const VTuple& center_column, const VTuple& phi,
                              const VTuple& length1,
                              const VTuple& length2) const;
  virtual void DispRectangle2(double center_row, double center_column,
                              double phi, double length1,
                              double length2) const;
  virtual void DispEllipse(const VTuple& center_row,
                           const VTuple& center_column, const VTuple& phi,
                           const VTuple& radius1, const VTuple& radius2) const;
  virtual void DispEllipse(Vlong center_row, Vlong center_column, double phi,
                           double radius1, double radius2) const;
  virtual void DispCircle(const VTuple& row, const VTuple& column,
                          const VTuple& radius) const;
  virtual void DispCircle(double row, double column, double radius) const;

  // The further window methods, wrappers of one operator each.
#if __has_include(<vexaobj/methods/VWindow.inc>)
#include <vexaobj/methods/VWindow.inc>
#endif

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

}  // namespace Vexa

#endif  // VEXAOBJ_VWINDOW_H
