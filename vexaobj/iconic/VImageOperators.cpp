// The symbol operators of VImage and VByteImage: each runs the operator
// method named beside it, by virtual call.
#include <cfloat>

#include <vexaobj/VImage.h>
#include <vexaobj/VRegion.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VTypedImage.h>

namespace Vexa {

VImage VImage::operator&(const VRegion& r) const { return ReduceDomain(r); }
VImage VImage::operator+(const VImage& b) const { return AddImage(b, 1.0, 0.0); }
VImage VImage::operator-(const VImage& b) const { return SubImage(b, 1.0, 0.0); }
VImage VImage::operator*(const VImage& b) const { return MultImage(b, 1.0, 0.0); }
VImage VImage::operator-() const { return InvertImage(); }
VImage VImage::operator+(double d) const { return ScaleImage(1.0, d); }
VImage VImage::operator-(double d) const { return ScaleImage(1.0, -d); }
VImage VImage::operator*(double d) const { return ScaleImage(d, 0.0); }
// A factor of 0 gives an infinite factor; scale_image decides about it.
VImage VImage::operator/(double d) const { return ScaleImage(1.0 / d, 0.0); }

VRegion VImage::operator>=(const VImage& b) const { return DynThreshold(b, 0.0, "light"); }
VRegion VImage::operator<=(const VImage& b) const { return DynThreshold(b, 0.0, "dark"); }
VRegion VImage::operator>=(double d) const { return Threshold(d, DBL_MAX); }
VRegion VImage::operator<=(double d) const { return Threshold(-DBL_MAX, d); }
VRegion VImage::operator==(double d) const { return Threshold(d, d); }

VRegion VImage::operator!=(double d) const {
  NeedInit();
  const VRegion all = VRegion::GenRectangle1(0.0, 0.0, height - 1.0, width - 1.0);
  return all / Threshold(d, d);
}

VByteImage VByteImage::operator&(int mask) const { return VByteImage(BitMask(Vlong{mask})); }
VByteImage VByteImage::operator<<(int shift) const {
  return VByteImage(BitLshift(Vlong{shift}));
}
VByteImage VByteImage::operator>>(int shift) const {
  return VByteImage(BitRshift(Vlong{shift}));
}
VByteImage VByteImage::operator~() const { return VByteImage(BitNot()); }
VByteImage VByteImage::operator&(const VByteImage& b) const { return VByteImage(BitAnd(b)); }
VByteImage VByteImage::operator|(const VByteImage& b) const { return VByteImage(BitOr(b)); }
VByteImage VByteImage::operator^(const VByteImage& b) const { return VByteImage(BitXor(b)); }
VByteImage VByteImage::operator&(const VRegion& r) const {
  return VByteImage(VImage::operator&(r));
}

}  // namespace Vexa
