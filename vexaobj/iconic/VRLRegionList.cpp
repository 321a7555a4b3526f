// RunLength as a list: construction, copying, growth, access, insertion and
// deletion of single chords and points, search, sorting and the list-wide
// queries. The set algebra is in VRLRegionAlgebra.cpp.
#include <vexaobj/VRLRegion.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "rl_chords.h"

namespace Vexa {

using internal::CopyChords;
using internal::NewChords;

const float RunLength::incr = 1.7f;
const Vlong RunLength::num_def = 100;

RunLength::RunLength(Vlong n) : num(0), num_alloc(0), chords(nullptr), sorted(1) {
  if (n < 1) return;
  chords = NewChords(n);
  if (chords != nullptr) num_alloc = n;
}

RunLength::RunLength(const VDChord& c)
    : num(0), num_alloc(0), chords(NewChords(num_def)), sorted(1) {
  if (chords == nullptr) return;
  num = 1;
  num_alloc = num_def;
  chords[0] = c;
}

RunLength::RunLength(const RunLength& r) : num(0), num_alloc(0), chords(nullptr), sorted(1) {
  r.SortIfNeeded();
  const Vlong n = r.Count();
  if (n > 0) {
    chords = NewChords(n);
    if (chords == nullptr) return;
    CopyChords(r.chords, n, chords);
  }
  num = r.num;
  num_alloc = n;
}

RunLength& RunLength::operator=(const RunLength& r) {
  if (&r == this) return *this;
  r.SortIfNeeded();
  const Vlong n = r.Count();
  if (num_alloc < n) {
    VDChord* block = NewChords(n);
    if (block == nullptr) return *this;
    delete[] chords;
    chords = block;
    num_alloc = n;
  }
  CopyChords(r.chords, n, chords);
  num = r.num;
  sorted = 1;
  return *this;
}

RunLength::~RunLength() { delete[] chords; }

void RunLength::Empty() {
  delete[] chords;
  chords = nullptr;
  num = 0;
  num_alloc = 0;
}

bool RunLength::Incr(Vlong n) {
  if (num < 0) num = 0;
  if (num_alloc == 0) {
    const Vlong capacity = std::max(n, num_def);
    VDChord* block = NewChords(capacity);
    if (block == nullptr) return false;
    delete[] chords;
    chords = block;
    num_alloc = capacity;
    num = 0;
    return true;
  }
  // The factor is applied in single precision and truncated.
  const Vlong grown = static_cast<Vlong>(static_cast<float>(num_alloc) * incr);
  const Vlong capacity = std::max(grown, num + n);
  VDChord* block = NewChords(capacity);
  if (block == nullptr) return false;
  CopyChords(chords, num, block);
  delete[] chords;
  chords = block;
  num_alloc = capacity;
  return true;
}

bool RunLength::PrepInsert() { return num < num_alloc || Incr(1); }

const VDChord& RunLength::operator[](Vlong i) const {
  if (i < 0 || i >= num)
    internal::RaiseRunLength(__LINE__, "VDChord const & operator [] (Vlong i) const",
                             "index out of range");
  // A returning reaction reads the chord all the same, as far as there is one.
  if (i < 0 || i >= num_alloc) return internal::StandInChord();
  return chords[i];
}

VDChord& RunLength::operator[](Vlong i) {
  if (i < 0) internal::RaiseRunLength(__LINE__, "VDChord & operator [] (Vlong i)", "index < 0");
  if (i >= num_alloc) {
    VDChord* block = NewChords(i + 1);
    if (block == nullptr) return internal::StandInChord();
    CopyChords(chords, Count(), block);
    delete[] chords;
    chords = block;
    num_alloc = i + 1;
    // One less than the chords written so far: Merge relies on it.
    num = i - 1;
  }
  sorted = 0;
  if (i < 0) return internal::StandInChord();
  return chords[i];
}

void RunLength::Append(const VDChord& c) {
  if (num < 0) num = 0;
  if (num >= num_alloc && !Incr(1)) return;
  chords[num] = c;
  ++num;
}

void RunLength::Insert(const VDChord& c) {
  if (!PrepInsert()) return;
  if (num <= 0) {
    chords[0] = c;
    sorted = 1;
    num = 1;
    return;
  }
  VDChord& last = chords[num - 1];
  if (c.y == last.y && c.xb >= last.xb && c.xb <= static_cast<Vlong>(last.xe) + 1) {
    last.xe = std::max(last.xe, c.xe);
    return;
  }
  chords[num] = c;
  if (sorted) sorted = last < c;
  ++num;
}

void RunLength::Insert(const VDPoint2D& p) { Insert(VDChord(p.Y(), p.X(), p.X())); }

void RunLength::Insert(const RunLength& r) {
  const Vlong n = r.Count();
  if (n == 0) return;
  if (num < 0) num = 0;
  if (!sorted || !r.sorted)
    sorted = 0;
  else
    sorted = num == 0 || chords[num - 1] < r.chords[0];
  if (num + n >= num_alloc && !Incr(n)) return;
  // `r` may be this list: its chords are read from the current array.
  CopyChords(r.chords, n, chords + num);
  num += n;
}

void RunLength::Delete(const VDPoint2D& p) {
  SortIfNeeded();
  Vlong i = 0;
  if (!InclPoint(p, &i)) return;
  const VDChord c = chords[i];
  if (c.xb == c.xe) {
    std::copy(chords + i + 1, chords + num, chords + i);
    --num;
  } else if (p.X() == c.xb) {
    chords[i].xb = p.X() + 1;
  } else if (p.X() == c.xe) {
    chords[i].xe = c.xe - 1;
  } else {
    chords[i].xe = p.X() - 1;
    Insert(VDChord(c.y, p.X() + 1, c.xe));
  }
}

int RunLength::In(const VDPoint2D& p) const {
  SortIfNeeded();
  Vlong index = 0;
  return InclPoint(p, &index);
}

int RunLength::InclPoint(const VDPoint2D& p, Vlong* index) const {
  const Vlong n = Count();
  const int x = p.X();
  const int y = p.Y();
  if (n == 0 || y < chords[0].y || y > chords[n - 1].y) return 0;
  // p lies at or before the last pixel of chord c.
  const auto up_to_end = [&](const VDChord& c) { return y < c.y || (y == c.y && x <= c.xe); };
  const auto starts_after = [&](const VDChord& c) { return c.y > y || (c.y == y && c.xb > x); };
  Vlong lo = 0;
  Vlong hi = n - 1;
  while (hi > lo + 1) {
    const Vlong mid = (lo + hi) / 2;
    if (!starts_after(chords[lo]) && up_to_end(chords[mid])) {
      hi = mid;
      continue;
    }
    if (starts_after(chords[mid])) return 0;
    if (!up_to_end(chords[hi])) return 0;
    lo = mid;
  }
  if (chords[lo].In(p)) {
    *index = lo;
    return 1;
  }
  if (chords[hi].In(p)) {
    *index = hi;
    return 1;
  }
  return 0;
}

void RunLength::SortIfNeeded() const {
  if (!sorted) Sort();
}

void RunLength::Sort() const {
  const Vlong n = Count();
  if (n < 2) return;
  // Two stacks of segment bounds; never more pending segments than chords.
  std::unique_ptr<Vlong[]> lefts(new (std::nothrow) Vlong[n]);
  std::unique_ptr<Vlong[]> rights(new (std::nothrow) Vlong[n]);
  if (lefts == nullptr || rights == nullptr) {
    internal::RaiseRunLength(__LINE__, "new", "Out of memory");
    return;
  }
  Vlong top = 0;
  lefts[top] = 0;
  rights[top] = n - 1;
  ++top;
  while (top > 0) {
    --top;
    const Vlong left = lefts[top];
    Vlong right = rights[top];
    Vlong j;
    do {
      Vlong i = left;
      j = right;
      const VDChord pivot = chords[(left + right) / 2];
      do {
        // The bounds only matter for chords with xe < xb, which compare
        // before themselves.
        while (i < right && chords[i] < pivot) ++i;
        while (j > left && pivot < chords[j]) --j;
        if (i <= j) {
          std::swap(chords[i], chords[j]);
          ++i;
          --j;
        }
      } while (i <= j);
      if (i < right && top < n) {
        lefts[top] = i;
        rights[top] = right;
        ++top;
      }
      right = j;
    } while (j > left);
  }
  sorted = 1;
}

VRectangle1 RunLength::BoundingBox() const {
  const Vlong n = Count();
  if (n == 0) return VRectangle1();
  int left = chords[0].xb;
  int right = chords[0].xe;
  for (Vlong i = 1; i < n; ++i) {
    left = std::max(left, chords[i].xb);
    right = std::min(right, chords[i].xe);
  }
  return VRectangle1(VPoint2D(VDPoint2D(left, chords[0].y)),
                     VPoint2D(VDPoint2D(right, chords[n - 1].y)));
}

int RunLength::Equal(const RunLength& r) const {
  r.SortIfNeeded();
  SortIfNeeded();
  if (num != r.num) return 0;
  // Every chord of an array of VDChord has the same object header, so the
  // byte comparison of the arrays comes down to the three coordinates.
  for (Vlong i = 0; i < Count(); ++i) {
    const VDChord& a = chords[i];
    const VDChord& b = r.chords[i];
    if (a.y != b.y || a.xb != b.xb || a.xe != b.xe) return 1;
  }
  return 0;
}

}  // namespace Vexa
