// VRegionArray: the symbol operators, each by the array's operator method.
#include <vexaobj/VRegionArray.h>

#if __has_include(<vexaobj/methods/VRegionArray.inc>)

namespace Vexa {

VRegionArray VRegionArray::operator>>(double d) const { return ErosionCircle(d); }
VRegionArray VRegionArray::operator<<(double d) const { return DilationCircle(d); }
VRegionArray VRegionArray::operator~() const { return Complement(); }
VRegionArray VRegionArray::operator&(const VRegionArray& b) const { return Intersection(b); }
VRegionArray VRegionArray::operator|(const VRegionArray& b) const { return Union2(b); }
VRegionArray VRegionArray::operator/(const VRegionArray& b) const { return Difference(b); }
VRegionArray VRegionArray::operator+(const VRegion& r) const { return MinkowskiAdd1(r, Vlong{1}); }
VRegionArray VRegionArray::operator-(const VRegion& r) const { return MinkowskiSub1(r, Vlong{1}); }

}  // namespace Vexa

#endif  // generated operator methods
