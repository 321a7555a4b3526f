#include "region_algebra.h"

#include <algorithm>
#include <memory>
#include <numeric>

namespace vexa {

namespace {

// Whether two runs of adjacent rows belong to one component.
inline bool Adjacent(const Chord& up, const Chord& down, int64_t reach) {
  return int64_t{up.cb} <= down.ce + reach && int64_t{down.cb} <= up.ce + reach;
}

uint32_t Find(std::vector<uint32_t>& parent, uint32_t i) {
  while (parent[i] != i) {
    parent[i] = parent[parent[i]];  // path halving
    i = parent[i];
  }
  return i;
}

void Join(std::vector<uint32_t>& parent, uint32_t i, uint32_t j) {
  i = Find(parent, i);
  j = Find(parent, j);
  // The smaller index becomes the root, so a root is its component's first
  // chord.
  if (i < j) parent[j] = i;
  else if (j < i) parent[i] = j;
}

}  // namespace

// Canonical order of chords as one unsigned comparison: row, then the
// given column (sign bits flipped so that negative numbers sort first).
inline uint64_t OrderKey(int32_t row, int32_t col) {
  return (uint64_t{static_cast<uint32_t>(row) ^ 0x80000000u} << 32) |
         (static_cast<uint32_t>(col) ^ 0x80000000u);
}

// Union, intersection and difference have leaner forms than the edge walk.
// Their inner loops choose with comparisons instead of branches (which
// chord comes next, whether runs join, whether an overlap is kept): on
// fragmented scenes those outcomes are random and mispredicted branches
// would dominate the cost. Outputs are sized for the worst case once and
// trimmed at the end.

// Feeds the chords of both lists to add() in canonical order. Which list
// goes next is chosen by a comparison, not a branch: on fragmented scenes
// that choice is random and would be mispredicted half the time.
template <class Add>
void InCanonicalOrder(const ChordList& a, const ChordList& b, Add&& add) {
  const Chord *pa = a.data(), *ea = pa + a.size();
  const Chord *pb = b.data(), *eb = pb + b.size();
  while (pa != ea && pb != eb) {
    const bool take_a = OrderKey(pa->r, pa->cb) < OrderKey(pb->r, pb->cb);
    const Chord c = take_a ? *pa : *pb;
    pa += take_a;
    pb += !take_a;
    add(c);
  }
  for (; pa != ea; ++pa) add(*pa);
  for (; pb != eb; ++pb) add(*pb);
}

// A merge in canonical order that joins overlapping and touching runs.
ChordList ChordUnion(const ChordList& a, const ChordList& b) {
  if (a.empty() || b.empty()) return a.empty() ? b : a;
  ChordList out(a.size() + b.size());
  Chord* o = out.data();
  // cur: the run being built; it is stored at *o on every step, and o
  // moves on only when the next chord starts a new run. It starts as the
  // first chord, which the merge then feeds again and which joins itself.
  Chord cur = OrderKey(a[0].r, a[0].cb) < OrderKey(b[0].r, b[0].cb) ? a[0] : b[0];
  InCanonicalOrder(a, b, [&](const Chord& c) {
    const bool join = c.r == cur.r && int64_t{cur.ce} + 1 >= c.cb;
    *o = cur;
    o += !join;
    cur.r = c.r;
    cur.cb = join ? cur.cb : c.cb;
    cur.ce = join ? std::max(cur.ce, c.ce) : c.ce;
  });
  *o++ = cur;
  out.resize(static_cast<size_t>(o - out.data()));
  return out;
}

// Two cursors: every step stores the overlap of the current chords (kept
// when they share a row and overlap) and moves past the one that ends
// first, so the output comes out canonical. A step writes one slot whether
// or not it keeps it, and the walk takes fewer steps than the lists have
// chords; the room for that is left uninitialised (the kept chords, few
// on most scenes, are copied out), since clearing it would cost as much
// as a tenth of the walk.
ChordList ChordIntersection(const ChordList& a, const ChordList& b) {
  if (a.empty() || b.empty()) return {};
  std::unique_ptr<Chord[]> room(new Chord[a.size() + b.size()]);
  Chord* o = room.get();
  const Chord *pa = a.data(), *ea = pa + a.size();
  const Chord *pb = b.data(), *eb = pb + b.size();
  while (pa != ea && pb != eb) {
    const Chord x = *pa, y = *pb;
    const int32_t cb = std::max(x.cb, y.cb), ce = std::min(x.ce, y.ce);
    *o = {x.r, cb, ce};
    o += (x.r == y.r) & (cb <= ce);
    const bool next_a = OrderKey(x.r, x.ce) < OrderKey(y.r, y.ce);
    pa += next_a;
    pb += !next_a;
  }
  return ChordList(room.get(), o);
}

// Every chord of a loses the runs of b that overlap it; b's cursor stays
// on the first run that can still overlap a later chord of a.
ChordList ChordDifference(const ChordList& a, const ChordList& b) {
  if (a.empty() || b.empty()) return a;
  // Each chord of b splits at most one chord of a in two.
  ChordList out(a.size() + b.size());
  Chord* o = out.data();
  const Chord *pb = b.data(), *eb = pb + b.size();
  for (const Chord& x : a) {
    const uint64_t start = OrderKey(x.r, x.cb);
    while (pb != eb && OrderKey(pb->r, pb->ce) < start) ++pb;
    int64_t from = x.cb;
    for (const Chord* q = pb; q != eb && q->r == x.r && q->cb <= x.ce; ++q) {
      if (q->cb > from) *o++ = {x.r, static_cast<int32_t>(from), q->cb - 1};
      from = int64_t{q->ce} + 1;
      if (q->ce >= x.ce) break;
    }
    if (from <= x.ce) *o++ = {x.r, static_cast<int32_t>(from), x.ce};
  }
  out.resize(static_cast<size_t>(o - out.data()));
  return out;
}

// A merge in canonical order that keeps one pending run, the part of the
// result not yet closed. A chord that starts past its end closes it; one
// that touches it extends it; one that overlaps it (always a chord of the
// other list: chords of one list neither overlap nor touch) cuts the
// overlap out, closing what lies before and leaving the longer tail
// pending. Each chord adds at most one run, which bounds the output.
ChordList ChordSymmDifference(const ChordList& a, const ChordList& b) {
  if (a.empty() || b.empty()) return a.empty() ? b : a;
  ChordList out(a.size() + b.size());
  Chord* o = out.data();
  Chord cur{0, 0, 0};
  bool pending = false;
  InCanonicalOrder(a, b, [&](const Chord& c) {
    if (!pending || c.r != cur.r || c.cb > int64_t{cur.ce} + 1) {
      *o = cur;
      o += pending;
      cur = c;
      pending = true;
    } else if (c.cb == int64_t{cur.ce} + 1) {
      cur.ce = c.ce;
    } else {
      if (c.cb > cur.cb) *o++ = {cur.r, cur.cb, c.cb - 1};
      const int32_t end = cur.ce;
      pending = c.ce != end;
      cur = c.ce < end ? Chord{cur.r, c.ce + 1, end} : Chord{cur.r, end + 1, c.ce};
    }
  });
  if (pending) *o++ = cur;
  out.resize(static_cast<size_t>(o - out.data()));
  return out;
}

ChordList ChordUnionMany(const std::vector<const ChordList*>& lists) {
  std::vector<const ChordList*> inputs;
  for (const ChordList* l : lists)
    if (l != nullptr && !l->empty()) inputs.push_back(l);
  if (inputs.empty()) return {};
  if (inputs.size() == 1) return *inputs.front();
  // Pairwise rounds: every chord takes part in log2(k) merges; the first
  // round reads the inputs in place.
  std::vector<ChordList> level;
  level.reserve((inputs.size() + 1) / 2);
  for (size_t i = 0; i + 1 < inputs.size(); i += 2)
    level.push_back(ChordUnion(*inputs[i], *inputs[i + 1]));
  if (inputs.size() % 2 == 1) level.push_back(*inputs.back());
  while (level.size() > 1) {
    std::vector<ChordList> next;
    next.reserve((level.size() + 1) / 2);
    for (size_t i = 0; i + 1 < level.size(); i += 2)
      next.push_back(ChordUnion(level[i], level[i + 1]));
    if (level.size() % 2 == 1) next.push_back(std::move(level.back()));
    level.swap(next);
  }
  return std::move(level.front());
}

ChordList ChordComplementIn(const ChordList& a, int32_t r1, int32_t c1,
                            int32_t r2, int32_t c2) {
  if (r2 < r1 || c2 < c1) return {};
  ChordList frame;
  frame.reserve(static_cast<size_t>(int64_t{r2} - r1 + 1));
  for (int64_t r = r1; r <= r2; ++r)
    frame.push_back({static_cast<int32_t>(r), c1, c2});
  return ChordDifference(frame, a);
}

bool ChordIsSubset(const ChordList& a, const ChordList& b) {
  // Each run of a must lie inside one run of b (runs of b never touch).
  size_t j = 0;
  for (const Chord& x : a) {
    while (j < b.size() && (b[j].r < x.r || (b[j].r == x.r && b[j].ce < x.cb)))
      ++j;
    if (j == b.size() || b[j].r != x.r || b[j].cb > x.cb || b[j].ce < x.ce)
      return false;
  }
  return true;
}

int64_t ChordComponentLabels(const ChordList& a, Neighbourhood nb,
                             std::vector<int64_t>* labels) {
  const size_t n = a.size();
  const int64_t reach = nb == Neighbourhood::k8 ? 1 : 0;
  std::vector<uint32_t> parent(n);
  std::iota(parent.begin(), parent.end(), 0u);
  // [prev_begin, prev_end): the runs of the row above the current one.
  size_t prev_begin = 0, prev_end = 0;
  for (size_t cur = 0; cur < n;) {
    const int32_t row = a[cur].r;
    size_t cur_end = cur;
    while (cur_end < n && a[cur_end].r == row) ++cur_end;
    if (prev_end > prev_begin && a[prev_begin].r == row - 1) {
      size_t i = prev_begin, j = cur;
      while (i < prev_end && j < cur_end) {
        if (Adjacent(a[i], a[j], reach))
          Join(parent, static_cast<uint32_t>(i), static_cast<uint32_t>(j));
        // The run that ends first cannot touch anything further right.
        if (a[i].ce < a[j].ce) ++i;
        else ++j;
      }
    }
    prev_begin = cur;
    prev_end = cur_end;
    cur = cur_end;
  }
  labels->assign(n, -1);
  int64_t count = 0;
  for (size_t i = 0; i < n; ++i) {
    const uint32_t root = Find(parent, static_cast<uint32_t>(i));
    if (root == i) (*labels)[i] = count++;
    else (*labels)[i] = (*labels)[root];  // the root came earlier
  }
  return count;
}

std::vector<ChordList> ChordComponents(const ChordList& a, Neighbourhood nb) {
  std::vector<int64_t> labels;
  const int64_t count = ChordComponentLabels(a, nb, &labels);
  std::vector<size_t> sizes(static_cast<size_t>(count), 0);
  for (int64_t l : labels) ++sizes[static_cast<size_t>(l)];
  std::vector<ChordList> parts(static_cast<size_t>(count));
  for (size_t k = 0; k < parts.size(); ++k) parts[k].reserve(sizes[k]);
  // Chords go out in input order, so every component stays canonical.
  for (size_t i = 0; i < a.size(); ++i)
    parts[static_cast<size_t>(labels[i])].push_back(a[i]);
  return parts;
}

ChordList ChordHoles(const ChordList& a) {
  if (a.empty()) return {};
  int32_t c1 = a.front().cb, c2 = a.front().ce;
  for (const Chord& ch : a) {
    c1 = std::min(c1, ch.cb);
    c2 = std::max(c2, ch.ce);
  }
  // Outside a, within the bounding box grown by one pixel: the grown frame
  // is one component, the first one (it holds the top-left pixel); every
  // other component is a hole.
  const ChordList outside =
      ChordComplementIn(a, a.front().r - 1, c1 - 1, a.back().r + 1, c2 + 1);
  std::vector<int64_t> labels;
  ChordComponentLabels(outside, Neighbourhood::k4, &labels);
  ChordList holes;
  for (size_t i = 0; i < outside.size(); ++i)
    if (labels[i] != 0) holes.push_back(outside[i]);
  return holes;
}

ChordList ChordTranslate(const ChordList& a, int32_t dr, int32_t dc) {
  ChordList out(a);
  for (Chord& c : out) {
    c.r += dr;
    c.cb += dc;
    c.ce += dc;
  }
  return out;
}

RegionPtr RegionDifference(const Region& a, const Region& b) {
  return Region::FromCanonicalChords(ChordDifference(a.chords(), b.chords()));
}

RegionPtr RegionSymmDifference(const Region& a, const Region& b) {
  return Region::FromCanonicalChords(
      ChordSymmDifference(a.chords(), b.chords()));
}

RegionPtr RegionUnionMany(const std::vector<RegionPtr>& regions) {
  // A single non-empty region is its own union: share it, no copy.
  std::vector<const ChordList*> lists;
  const RegionPtr* only = nullptr;
  for (const RegionPtr& r : regions) {
    if (r->empty()) continue;
    lists.push_back(&r->chords());
    only = &r;
  }
  if (lists.empty()) return Region::Empty();
  if (lists.size() == 1) return *only;
  return Region::FromCanonicalChords(ChordUnionMany(lists));
}

}  // namespace vexa
