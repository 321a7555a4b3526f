// Display of the geometric values in a graphics window, row first. Points
// show as a polygon of one vertex, vectors as an arrow from the image
// origin, lines as a polygon of their two ends; z is never shown.
#include <vexaobj/VEllipse.h>
#include <vexaobj/VLine.h>
#include <vexaobj/VRectangle.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>

namespace Vexa {

namespace {

// A one-vertex polygon at (row, column).
template <class Coord>
void DisplayVertex(const VWindow& w, Coord row, Coord column) {
  w.DispPolygon(VTuple(row), VTuple(column));
}

// An arrow of size 1.0 from the origin to (row, column).
void DisplayArrow(const VWindow& w, double row, double column) {
  w.DispArrow(0.0, 0.0, row, column, 1.0);
}

// The polygon through both ends of a line.
void DisplaySegment(const VWindow& w, const VPoint& start, const VPoint& end) {
  VTuple rows, columns;
  rows[0] = start.Y();
  rows[1] = end.Y();
  columns[0] = start.X();
  columns[1] = end.X();
  w.DispPolygon(rows, columns);
}

}  // namespace

void VDPoint2D::Display(const VWindow& w) const { DisplayVertex<Vlong>(w, y, x); }
void VDPoint3D::Display(const VWindow& w) const { DisplayVertex<Vlong>(w, y, x); }

// No sub-pixel position is shown: both coordinates truncate.
void VPoint2D::Display(const VWindow& w) const {
  DisplayVertex(w, geometry::TruncLong(y), geometry::TruncLong(x));
}
void VPoint3D::Display(const VWindow& w) const {
  DisplayVertex(w, geometry::TruncLong(y), geometry::TruncLong(x));
}

void VDVector2D::Display(const VWindow& w) const { DisplayArrow(w, y, x); }
void VDVector3D::Display(const VWindow& w) const { DisplayArrow(w, y, x); }
void VVector2D::Display(const VWindow& w) const { DisplayArrow(w, y, x); }
void VVector3D::Display(const VWindow& w) const { DisplayArrow(w, y, x); }

void VLine2D::Display(const VWindow& w) const { DisplaySegment(w, start, end); }
void VLine3D::Display(const VWindow& w) const { DisplaySegment(w, start, end); }

// The centre goes column first here, unlike every other display.
void VEllipse::Display(const VWindow& w) const {
  const Vlong column = geometry::TruncLong(Center().X());
  const Vlong row = geometry::TruncLong(Center().Y());
  w.DispEllipse(column, row, phi, ra, rb);
}

void VCircle::Display(const VWindow& w) const {
  w.DispCircle(Center().X(), Center().Y(), ra);
}

void VRectangle1::Display(const VWindow& w) const {
  if (empty) return;
  w.DispRectangle1(upper_left.Y(), upper_left.X(), lower_right.Y(), lower_right.X());
}

void VRectangle2::Display(const VWindow& w) const {
  if (empty) return;
  w.DispRectangle2(center.Y(), center.X(), phi, ra, rb);
}

}  // namespace Vexa
