// Relations, sizes and drawing of a single chord.
#include <vexaobj/VDChord.h>

#include <vexaobj/VWindow.h>

namespace Vexa {

namespace {
// xe - xb + 1 in 32 bits with wrap-around, as the integer classes count.
int ChordWidth(int xb, int xe) { return geometry::WrapAdd(geometry::WrapSub(xe, xb), 1); }
}  // namespace

const char* VDChord::ClassName() const { return "VDChord"; }

Vlong VDChord::NumPoints() const { return ChordWidth(xb, xe); }

int VDChord::Length() const { return ChordWidth(xb, xe); }

void VDChord::Display(const VWindow& w) const {
  w.DispLine(static_cast<double>(y), static_cast<double>(xb), static_cast<double>(y),
             static_cast<double>(xe));
}

void VDChord::Transform(const VAffineTrans&) {}

int VDChord::RightOverlaped(const VDChord& d) const {
  return y == d.y && d.xb >= xb && static_cast<Vlong>(xe) + 1 >= d.xb;
}

int VDChord::LeftOf(const VDChord& d) const {
  return y < d.y || (y == d.y && xb < d.xb);
}

int VDChord::operator<(const VDChord& d) const {
  return y < d.y || (y == d.y && xe < d.xb);
}

int VDChord::operator<=(const VDChord& d) const {
  return y < d.y || (y == d.y && xe <= d.xb);
}

int VDChord::operator>(const VDChord& d) const {
  return d.y < y || (d.y == y && d.xe < xb);
}

int VDChord::In(const VDPoint2D& p) const {
  return p.Y() == y && xb <= p.X() && p.X() <= xe;
}

}  // namespace Vexa
