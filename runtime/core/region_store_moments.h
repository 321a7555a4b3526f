// Shape features of run-length regions from their moments, for both chord
// formats (the store's int32 Chord and the database view's int16 Vrlchord).
//
// Pixels count as points at their integer coordinates. With area A and
// centre (r0, c0):
//   m20 = sum (r - r0)^2 / A          (spread along the rows)
//   m02 = sum (c - c0)^2 / A          (spread along the columns)
//   m11 = sum (r - r0)(c - c0) / A
// A run of n pixels with mean column m contributes, exactly,
//   sum (c - c0)^2 = n (m - c0)^2 + n (n^2 - 1) / 12,
// so the cost is one step per chord, not per pixel.
//   ia, ib = (m20 + m02) / 2 +- sqrt(((m20 - m02) / 2)^2 + m11^2)
// are the principal inertia values (eigenvalues of the covariance), and the
// ellipse of the same moments has half axes ra = 2 sqrt(ia), rb = 2 sqrt(ib)
// and the angle phi = atan2(-2 m11, m02 - m20) / 2 of its major axis,
// measured counter-clockwise from the column axis with rows growing
// downwards, in (-pi/2, pi/2].
//   anisometry = ra / rb, bulkiness = pi ra rb / A,
//   structure factor = anisometry * bulkiness - 1.
// Where rb is 0 (a line of pixels, one pixel) anisometry, bulkiness and the
// structure factor are 0: the ratios have no finite value there.
#pragma once

#include <cmath>
#include <cstddef>

namespace vexa {

struct RegionMoments {
  double area = 0.0;
  double row = 0.0, col = 0.0;
  double m11 = 0.0, m20 = 0.0, m02 = 0.0;
  double ia = 0.0, ib = 0.0;
};

struct EllipseAxes {
  double ra = 0.0, rb = 0.0, phi = 0.0;
};

struct ShapeFactors {
  double anisometry = 0.0, bulkiness = 0.0, structure_factor = 0.0;
};

// The principal inertia values ia >= ib of m20, m02 and m11.
inline void SetInertia(RegionMoments* m) {
  const double mean = 0.5 * (m->m20 + m->m02);
  const double half_diff = 0.5 * (m->m20 - m->m02);
  const double root = std::sqrt(half_diff * half_diff + m->m11 * m->m11);
  m->ia = mean + root;
  m->ib = mean - root > 0.0 ? mean - root : 0.0;  // rounding below 0
}

// `ChordT` has members r, cb, ce. The empty region gives all zeros.
template <class ChordT>
RegionMoments ComputeMoments(const ChordT* chords, size_t num) {
  RegionMoments m;
  double sum_r = 0.0, sum_c = 0.0;
  for (size_t i = 0; i < num; ++i) {
    const double n = static_cast<double>(chords[i].ce) - chords[i].cb + 1;
    m.area += n;
    sum_r += n * chords[i].r;
    sum_c += n * 0.5 * (static_cast<double>(chords[i].cb) + chords[i].ce);
  }
  if (m.area <= 0.0) return m;
  m.row = sum_r / m.area;
  m.col = sum_c / m.area;
  // Second pass about the centre keeps the sums small and exact enough.
  for (size_t i = 0; i < num; ++i) {
    const double n = static_cast<double>(chords[i].ce) - chords[i].cb + 1;
    const double dr = chords[i].r - m.row;
    const double dc =
        0.5 * (static_cast<double>(chords[i].cb) + chords[i].ce) - m.col;
    m.m20 += n * dr * dr;
    m.m11 += n * dr * dc;
    m.m02 += n * (dc * dc + (n * n - 1.0) / 12.0);
  }
  m.m20 /= m.area;
  m.m11 /= m.area;
  m.m02 /= m.area;
  SetInertia(&m);
  return m;
}

inline EllipseAxes EllipseFromMoments(const RegionMoments& m) {
  EllipseAxes e;
  if (m.area <= 0.0) return e;
  e.ra = 2.0 * std::sqrt(m.ia);
  e.rb = 2.0 * std::sqrt(m.ib);
  // 0.0 - x rather than -x: a zero m11 must not become -0.0, which would
  // turn a vertical region's pi/2 into -pi/2.
  e.phi = 0.5 * std::atan2(0.0 - 2.0 * m.m11, m.m02 - m.m20);
  return e;
}

inline ShapeFactors ShapeFactorsFromMoments(const RegionMoments& m) {
  ShapeFactors s;
  const EllipseAxes e = EllipseFromMoments(m);
  if (e.rb <= 0.0) return s;
  s.anisometry = e.ra / e.rb;
  s.bulkiness = M_PI * e.ra * e.rb / m.area;
  s.structure_factor = s.anisometry * s.bulkiness - 1.0;
  return s;
}

}  // namespace vexa
