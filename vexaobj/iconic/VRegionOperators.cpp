// VRegion: the symbol operators. Each runs the operator method it names by
// virtual call; the compound forms replace the object by the result.
#include <vexaobj/VRegion.h>

#if __has_include(<vexaobj/methods/VRegion.inc>)

#include <vexaobj/VPrimitives.h>
#include <vexaobj/VTuple.h>

namespace Vexa {

namespace {

// 1 when `d`, the difference of two regions, holds a pixel.
int HasPixels(const VRegion& d) { return d.Key() != VKEY_UNDEF && d.Area() > 0; }

}  // namespace

VRegion VRegion::operator+(const VDPoint2D& p) const {
  return MoveRegion(static_cast<Vlong>(p.Y()), static_cast<Vlong>(p.X()));
}
VRegion VRegion::operator+(const VRegion& b) const { return MinkowskiAdd1(b, Vlong{1}); }
VRegion VRegion::operator-(const VRegion& b) const { return MinkowskiSub1(b, Vlong{1}); }
VRegion VRegion::operator*(double d) const { return ZoomRegion(d, d); }
VRegion VRegion::operator>>(double d) const { return ErosionCircle(d); }
VRegion VRegion::operator<<(double d) const { return DilationCircle(d); }
VRegion VRegion::operator~() const { return Complement(); }
VRegion VRegion::operator!() const { return TransposeRegion(Vlong{0}, Vlong{0}); }
VRegion VRegion::operator&(const VRegion& b) const { return Intersection(b); }
VRegion VRegion::operator|(const VRegion& b) const { return Union2(b); }
VRegion VRegion::operator/(const VRegion& b) const { return Difference(b); }

// The result is a temporary, never this object, so the test of the
// assignment operator is not needed here.
VRegion& VRegion::operator++() {
  TakeOver(DilationRectangle1(Vlong{3}, Vlong{3}));
  return *this;
}
VRegion& VRegion::operator--() {
  TakeOver(ErosionRectangle1(Vlong{3}, Vlong{3}));
  return *this;
}
VRegion& VRegion::operator+=(const VDPoint2D& p) { TakeOver(*this + p); return *this; }
VRegion& VRegion::operator+=(const VRegion& b) { TakeOver(*this + b); return *this; }
VRegion& VRegion::operator-=(const VRegion& b) { TakeOver(*this - b); return *this; }
VRegion& VRegion::operator>>=(double d) { TakeOver(*this >> d); return *this; }
VRegion& VRegion::operator<<=(double d) { TakeOver(*this << d); return *this; }
VRegion& VRegion::operator&=(const VRegion& b) { TakeOver(*this & b); return *this; }
VRegion& VRegion::operator|=(const VRegion& b) { TakeOver(*this | b); return *this; }
VRegion& VRegion::operator/=(const VRegion& b) { TakeOver(*this / b); return *this; }

int VRegion::operator==(const VRegion& b) const {
  const VTuple equal = TestEqualRegion(b);
  return equal.Num() > 0 && equal[0].L() == 1;
}

int VRegion::operator>(const VRegion& b) const { return HasPixels(Difference(b)); }
int VRegion::operator<(const VRegion& b) const { return HasPixels(b.Difference(*this)); }
int VRegion::operator>=(const VRegion& b) const { return *this == b || *this > b; }
int VRegion::operator<=(const VRegion& b) const { return *this == b || *this < b; }

}  // namespace Vexa

#endif  // generated operator methods
