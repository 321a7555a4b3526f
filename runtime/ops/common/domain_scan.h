// Walking the domain of one image, or the common domain of two images of
// one size, as runs of consecutive pixels.
//
// Pixels lie in row order, so one chord of the domain is one run of
// consecutive buffer offsets. When the domain is the whole image (the usual
// case) the whole buffer is one run: the operator's inner loop then sees a
// single long array and no per-chord overhead.
//
//   DomainScan scan;
//   if (Vresult rc = DomainScan::Of(a, b, &scan); rc != VRESULT_OK) return rc;
//   scan.ForEachRun([&](size_t offset, size_t n) { ... });
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "objdb.h"
#include "region_store.h"
#include "vexa/errors.h"

namespace vexa {

class DomainScan {
 public:
  DomainScan() = default;

  // The domain of one image (its first channel gives the size).
  static DomainScan Of(const db::ImageData& image) {
    const PixelBuffer& px = *image.channels[0];
    return DomainScan(image.domain, px.width(), px.height());
  }
  // The intersection of the domains of two images, which must have the same
  // size (VERR_IMAGE_SIZE otherwise).
  static Vresult Of(const db::ImageData& a, const db::ImageData& b,
                    DomainScan* out) {
    const PixelBuffer& pa = *a.channels[0];
    const PixelBuffer& pb = *b.channels[0];
    if (pa.width() != pb.width() || pa.height() != pb.height())
      return VERR_IMAGE_SIZE;
    const Vlong full = pa.num_pixels();
    RegionPtr domain = a.domain;
    if (a.domain != b.domain && !(a.domain->area() == full && b.domain->area() == full))
      domain = Region::Intersection(*a.domain, *b.domain);
    *out = DomainScan(domain, pa.width(), pa.height());
    return VRESULT_OK;
  }
  // The pixels of `region` in the domain of `image`: what the gray-value
  // features of a region measure.
  static DomainScan Within(const Region& region, const db::ImageData& image) {
    const PixelBuffer& px = *image.channels[0];
    return DomainScan(Region::Intersection(region, *image.domain), px.width(),
                      px.height());
  }

  const RegionPtr& domain() const { return domain_; }
  int32_t width() const { return width_; }
  int32_t height() const { return height_; }
  // True when the domain covers the whole image.
  bool full() const { return full_; }

  // fn(offset, count) for each run of domain pixels, in row order; one call
  // for a full domain.
  template <class Fn>
  void ForEachRun(Fn&& fn) const {
    if (full_) {
      fn(size_t{0}, static_cast<size_t>(width_) * static_cast<size_t>(height_));
      return;
    }
    for (const Chord& ch : domain_->chords())
      fn(Offset(ch.r, ch.cb), static_cast<size_t>(ch.ce - ch.cb + 1));
  }

  // fn(row, first column, last column, offset of the first pixel) for each
  // chord: for operators that need the coordinates.
  template <class Fn>
  void ForEachChord(Fn&& fn) const {
    if (full_) {
      for (int32_t r = 0; r < height_; ++r) fn(r, 0, width_ - 1, Offset(r, 0));
      return;
    }
    for (const Chord& ch : domain_->chords()) fn(ch.r, ch.cb, ch.ce, Offset(ch.r, ch.cb));
  }

  // The number of chords ForEachChord visits.
  size_t NumChords() const {
    return full_ ? static_cast<size_t>(height_) : domain_->chords().size();
  }

  // ForEachChord for the chords first .. last - 1 of that order.
  template <class Fn>
  void ForEachChordIn(size_t first, size_t last, Fn&& fn) const {
    if (full_) {
      for (size_t r = first; r < last; ++r) {
        const auto row = static_cast<int32_t>(r);
        fn(row, 0, width_ - 1, Offset(row, 0));
      }
      return;
    }
    const auto& chords = domain_->chords();
    for (size_t i = first; i < last; ++i)
      fn(chords[i].r, chords[i].cb, chords[i].ce, Offset(chords[i].r, chords[i].cb));
  }

  size_t Offset(int32_t r, int32_t c) const {
    return static_cast<size_t>(r) * static_cast<size_t>(width_) + static_cast<size_t>(c);
  }

 private:
  // The database keeps every domain inside its image, so a domain of the
  // image's area is the whole image.
  DomainScan(RegionPtr domain, int32_t width, int32_t height)
      : domain_(std::move(domain)), width_(width), height_(height),
        full_(domain_->area() == static_cast<Vlong>(width) * height) {}

  RegionPtr domain_;
  int32_t width_ = 0;
  int32_t height_ = 0;
  bool full_ = false;
};

}  // namespace vexa
