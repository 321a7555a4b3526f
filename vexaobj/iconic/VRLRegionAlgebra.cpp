// Set algebra of RunLength: union, intersection and difference, each a
// linear pass over sorted chord lists. Union and intersection work on the
// merged list that Merge leaves, with its count as Merge sets it.
#include <vexaobj/VRLRegion.h>

#include <algorithm>
#include <memory>

#include "rl_chords.h"

namespace Vexa {

using internal::CopyChords;
using internal::NewChords;

void RunLength::Merge(const RunLength& r) {
  const Vlong m = r.Count();
  if (m == 0) return;
  if (Count() == 0) {
    *this = r;
    return;
  }
  Vlong j = m - 1;
  Vlong i = num - 1;
  Vlong k = num + m - 1;
  // The one step that may grow the array and set the count.
  (*this)[k] = VDChord();
  if (k >= num_alloc) return;  // the growth failed and was reported
  // Read after the growth: `r` may be this list.
  const VDChord* other = r.chords;
  while (k >= 0) {
    const VDChord& a = other[j];
    const VDChord& b = chords[i];
    if (a.y < b.y || (a.y == b.y && a.xb < b.xb)) {
      chords[k--] = chords[i--];
      if (i < 0) {
        if (other != chords) CopyChords(other, j + 1, chords);
        break;
      }
    } else {
      // On a tie the chord of `r` goes behind; once `r` is used up the
      // rest of this list is already in place.
      chords[k--] = other[j--];
      if (j < 0) break;
    }
  }
}

void RunLength::Pack() {
  if (num < 1) {
    num = 0;
    return;
  }
  Vlong out = 0;
  Vlong in = 0;
  while (in < num) {
    chords[out] = chords[in++];
    VDChord& c = chords[out];
    while (in < num) {
      const VDChord& d = chords[in];
      if (c.y != d.y || d.xb < c.xb || d.xb > static_cast<Vlong>(c.xe) + 1) break;
      c.xe = std::max(c.xe, d.xe);
      ++in;
    }
    ++out;
  }
  num = out;
}

void RunLength::Union(const RunLength& r) {
  Merge(r);
  Pack();
}

void RunLength::Intersection(const RunLength& r) {
  if (Count() == 0 || r.Count() == 0 || chords[num - 1] < r.chords[0] ||
      r.chords[r.num - 1] < chords[0]) {
    Empty();
    return;
  }
  Merge(r);
  const Vlong n = Count();
  VDChord* result = NewChords(n);
  if (result == nullptr) return;
  // Each overlapping neighbour pair of the merged list is one chord of the
  // result; the longer chord of a pair is carried on to the next pair.
  Vlong out = 0;
  for (Vlong i = 0; i + 1 < n; ++i) {
    const VDChord& a = chords[i];
    VDChord& b = chords[i + 1];
    if (a.y == b.y && b.xb <= a.xe) {
      result[out++] = VDChord(a.y, b.xb, std::min(b.xe, a.xe));
      if (b.xe < a.xe) b = a;
    }
  }
  delete[] chords;
  chords = result;
  num = out;
  num_alloc = n;
}

void RunLength::Difference(const RunLength& r) {
  const Vlong n = Count();
  if (n == 0) {
    Empty();
    return;
  }
  const Vlong m = r.Count();
  if (m == 0) return;
  // Each chord of `r` splits at most one chord of this.
  const Vlong capacity = n + m;
  std::unique_ptr<VDChord[]> out(NewChords(capacity));
  if (out == nullptr) return;
  Vlong i = 0;
  Vlong j = 0;
  Vlong o = 0;
  bool this_used_up = false;
  VDChord c = chords[0];
  // Every read of `r` goes through the checked access: when the last chord
  // of `r` lies inside a chord of this, the read behind it is reported.
  VDChord d = r[0];
  const auto next_c = [&] {
    if (++i < n)
      c = chords[i];
    else
      this_used_up = true;
  };
  while (!this_used_up && j < m) {
    while (c < d) {
      if (c.xe >= c.xb) out[o++] = c;
      next_c();
      if (this_used_up) break;
    }
    if (this_used_up) break;
    if (c.y == d.y && d.xe >= c.xb) {
      if (d.xb > c.xb && d.xe < c.xe) {
        out[o++] = VDChord(d.y, c.xb, d.xb - 1);
        c.xb = d.xe + 1;
        d = r[++j];
      } else if (d.xb > c.xb) {
        c.xe = d.xb - 1;
      } else if (d.xe >= c.xe) {
        next_c();
      } else {
        c.xb = d.xe + 1;
        if (++j >= m) break;
        d = r[j];
      }
    } else {
      if (++j >= m) break;
      d = r[j];
    }
  }
  if (!this_used_up) {
    out[o++] = c;
    CopyChords(chords + i + 1, n - i - 1, out.get() + o);
    o += n - i - 1;
  }
  delete[] chords;
  chords = out.release();
  num = o;
  num_alloc = capacity;
}

}  // namespace Vexa
