// Iterators over the pixels of an image's domain, chord by chord.
//
// VImageIterator splits the domain once, at construction, into an inner
// part, where a filter mask of the given reach stays inside the image, and
// a border part. A walk runs over the inner part, then over the border
// part; the iterator's value is the linear offset y * width + x of the
// current pixel. Inside, the offset of a neighbour is plain arithmetic;
// on the border it follows the border treatment:
//   0  mirror at the image edge;
//   1  continue the edge pixel;
//   2  a constant: the offset width * height, the cell behind the last
//      pixel, into which the constructor writes the value.
// The walk ends on arriving at its very last pixel: a loop that tests
// Continue() before each pixel does not visit that pixel.
#ifndef VEXAOBJ_VITERATOR_H
#define VEXAOBJ_VITERATOR_H

#include <vexaobj/VBase.h>
#include <vexaobj/VDChord.h>
#include <vexaobj/VRLRegion.h>

namespace Vexa {

class VImage;
class VRegion;

class VIterator : public VRootObject {};
class VAbstractImageIterator : public VIterator {};
class VAbstractRegionIterator : public VIterator {};

class VRegionIterator : public VAbstractRegionIterator {
 public:
  const char* ClassName() const override { return "VRegionIterator"; }
};

class VImageIterator : public VAbstractImageIterator {
 public:
  VImageIterator();
  // The domain of `image` within `region`, with the mask's reach in each
  // direction.
  VImageIterator(VImage& image, const VRegion& region, int left, int top,
                 int right, int bottom, int mode, double value);
  // A mask of `width` by `height` pixels, each odd or 0; the reach is half
  // of it, rounded down, in both directions.
  VImageIterator(VImage& image, const VRegion& region, int width, int height,
                 int mode, double value);
  // The same over the image's whole domain.
  VImageIterator(VImage& image, int left, int top, int right, int bottom,
                 int mode, double value);
  VImageIterator(VImage& image, int width, int height, int mode, double value);
  VImageIterator(const VImageIterator& it) = default;
  VImageIterator& operator=(const VImageIterator& it) = default;
  ~VImageIterator() override { Reset(); }
  const char* ClassName() const override { return "VImageIterator"; }

  Vlong LinCoor() const { return lin_coor; }
  operator Vlong() const { return lin_coor; }
  Vlong X() const { return x; }
  Vlong Y() const { return y; }
  int Continue() const { return go_on; }
  int IsInner() const { return in_inner; }
  VRLRegion InnerDomain() const { return inner; }
  VRLRegion BorderDomain() const { return border; }

  VImageIterator& operator++();
  // The offset of the neighbour (x + dx, y + dy).
  Vlong operator()(int dx, int dy) const {
    return in_inner ? lin_coor + static_cast<Vlong>(width) * dy + dx
                    : BorderOffset(dx, dy);
  }

 private:
  void Create(VImage& image, const VRegion& region, int left, int top,
              int right, int bottom, int mode, double value);
  // Create with the reach of a mask of the given size.
  void CreateForMask(VImage& image, const VRegion& region, int mask_width,
                     int mask_height, int mode, double value);
  void PrepNextChord();
  void NextChord();
  // The offset of a neighbour of a border pixel by the border treatment.
  Vlong BorderOffset(int dx, int dy) const;
  // The end state: no pixel, Continue() 0.
  void Reset();
  // Starts on chord `chord`.
  void InitChord();
  const VRLRegion& Current() const { return in_inner ? inner : border; }

  int width = 0;
  int height = 0;
  int border_left = 0;
  int border_top = 0;
  int border_right = 0;
  int border_bottom = 0;
  VRLRegion inner;
  VRLRegion border;
  int in_inner = 0;
  Vlong chord_index = 0;
  VDChord chord;
  Vlong lin_end = -2147483648LL;
  Vlong lin_coor = 0;
  int x = 0;
  int y = 0;
  int go_on = 0;
  int border_mode = 0;
  double border_value = 0.0;
};

}  // namespace Vexa

#endif  // VEXAOBJ_VITERATOR_H
