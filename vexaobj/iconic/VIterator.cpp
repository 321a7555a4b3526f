// VImageIterator: the split of the domain into inner and border part, the
// walk over both, and the border treatments.
#include <vexaobj/VIterator.h>

#include <cstdlib>

#include <vexaobj/VImage.h>
#include <vexaobj/VRegion.h>
#include <vexaobj/VTuple.h>

#include "control/raise.h"

namespace Vexa {

VImageIterator::VImageIterator() = default;

VImageIterator::VImageIterator(VImage& image, const VRegion& region, int left,
                               int top, int right, int bottom, int mode,
                               double value) {
  Create(image, region, left, top, right, bottom, mode, value);
}

VImageIterator::VImageIterator(VImage& image, const VRegion& region,
                               int mask_width, int mask_height, int mode,
                               double value) {
  CreateForMask(image, region, mask_width, mask_height, mode, value);
}

VImageIterator::VImageIterator(VImage& image, int left, int top, int right,
                               int bottom, int mode, double value) {
  Create(image, image.GetDomain(), left, top, right, bottom, mode, value);
}

VImageIterator::VImageIterator(VImage& image, int mask_width, int mask_height,
                               int mode, double value) {
  CreateForMask(image, image.GetDomain(), mask_width, mask_height, mode, value);
}

void VImageIterator::CreateForMask(VImage& image, const VRegion& region,
                                   int mask_width, int mask_height, int mode,
                                   double value) {
  if (mask_width != 0 && mask_width % 2 == 0)
    VEXA_RAISE("VImageIterator::VImageIterator", "even number for width not allowed");
  if (mask_height != 0 && mask_height % 2 == 0)
    VEXA_RAISE("VImageIterator::VImageIterator", "even number for height not allowed");
  const int rx = mask_width / 2, ry = mask_height / 2;
  Create(image, region, rx, ry, rx, ry, mode, value);
}

void VImageIterator::Create(VImage& image, const VRegion& region, int left,
                            int top, int right, int bottom, int mode,
                            double value) {
  border_left = left;
  border_top = top;
  border_right = right;
  border_bottom = bottom;
  border_mode = mode;
  width = image.Width();
  height = image.Height();
  const VRegion domain = region.Intersection(image.GetDomain());
  const VRegion inside = domain.ClipRegion(Vlong{top}, Vlong{left},
                                           Vlong{height - bottom - 1},
                                           Vlong{width - right - 1});
  inner = VRLRegion(inside);
  border = VRLRegion(domain.Difference(inside));
  chord_index = 0;
  border_value = value;
  // The constant border is read from the cell behind the last pixel.
  if (mode == 2)
    image.SetPixVal(static_cast<Vlong>(width) * height, VPixVal(value));
  if (!inner.IsEmpty()) {
    go_on = 1;
    in_inner = 1;
    chord = inner[0];
  } else if (!border.IsEmpty()) {
    go_on = 1;
    in_inner = 0;
    chord = border[0];
  } else {
    Reset();
    return;
  }
  InitChord();
}

void VImageIterator::Reset() {
  chord_index = 0;
  lin_end = -2147483648LL;
  lin_coor = 0;
  x = 0;
  y = 0;
  go_on = 0;
}

void VImageIterator::InitChord() {
  y = chord.Y();
  x = chord.Xb();
  // Both products in 32 bits, as the offsets of all images fit there.
  lin_coor = chord.Y() * width + chord.Xb();
  lin_end = chord.Y() * width + chord.Xe();
}

VImageIterator& VImageIterator::operator++() {
  ++lin_coor;
  ++x;
  if (lin_coor < lin_end) return *this;
  PrepNextChord();
  return *this;
}

void VImageIterator::PrepNextChord() {
  if (!go_on) {
    VEXA_RAISE("void VImageIterator::PrepNextChord(void)", "no more pixel available");
    return;
  }
  if (lin_coor != lin_end) {
    NextChord();
    return;
  }
  // On the last pixel of a chord: the walk goes on if any chord follows.
  const Vlong next = chord_index + 1;
  if (in_inner && (next < inner.Num() || !border.IsEmpty())) return;
  if (!in_inner && next < border.Num()) return;
  go_on = 0;
}

void VImageIterator::NextChord() {
  ++chord_index;
  if (in_inner && chord_index >= inner.Num()) {
    in_inner = 0;
    chord_index = 0;
    if (border.IsEmpty()) {
      Reset();
      return;
    }
    chord = border[0];
    InitChord();
    return;
  }
  if (!in_inner && chord_index >= border.Num()) {
    Reset();
    return;
  }
  chord = Current()[chord_index];
  InitChord();
}

Vlong VImageIterator::BorderOffset(int dx, int dy) const {
  int bx = x + dx, by = y + dy;
  switch (border_mode) {
    case 0:
      bx = std::abs(bx);
      by = std::abs(by);
      if (bx >= width) bx = 2 * width - bx - 2;
      if (by >= height) by = 2 * height - by - 2;
      break;
    case 1:
      // Greater-than only: x equal to width (or y to height) passes as it
      // is, into the next row or behind the last one.
      if (bx < 1) bx = 0;
      if (by < 0) by = 0;
      if (bx > width) bx = width - 1;
      if (by > height) by = height - 1;
      break;
    case 2:
      return static_cast<Vlong>(width) * height;
    default:
      VEXA_RAISE("Vlong VImageIterator::BorderOffset(int RelX, int RelY) const",
                 "wrong border treatment");
      break;
  }
  return static_cast<Vlong>(by) * width + bx;
}

}  // namespace Vexa
