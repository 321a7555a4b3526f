// Joining contours end to end: see contour_joining.h.
#include "contour_joining.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "xld_geometry.h"

namespace vexa {
namespace xld {
namespace {

struct Candidate {
  double cost;
  ContourEnd a, b;
};

size_t Root(std::vector<size_t>* parent, size_t i) {
  while ((*parent)[i] != i) i = (*parent)[i] = (*parent)[(*parent)[i]];
  return i;
}

size_t EndId(const ContourEnd& e) { return 2 * e.contour + (e.last ? 1 : 0); }

// The contour of the pieces `chain`, each with its direction (true:
// reversed).
XldPtr Concatenate(const std::vector<XldPtr>& in, const std::vector<std::pair<size_t, bool>>& chain,
                   bool keep_attribs) {
  auto out = std::make_shared<Xld>();
  std::vector<std::string> names;
  if (keep_attribs) {
    for (const XldAttrib& a : in[chain.front().first]->attribs) {
      bool everywhere = true;
      for (const auto& piece : chain) everywhere = everywhere && in[piece.first]->Attrib(a.name);
      if (everywhere) names.push_back(a.name);
    }
  }
  for (const std::string& name : names) out->attribs.push_back({name, {}});
  for (const auto& piece : chain) {
    const Xld& x = *in[piece.first];
    for (size_t k = 0; k < x.size(); ++k) {
      const size_t i = piece.second ? x.size() - 1 - k : k;
      out->rows.push_back(x.rows[i]);
      out->cols.push_back(x.cols[i]);
      for (size_t a = 0; a < names.size(); ++a)
        out->attribs[a].values.push_back(x.Attrib(names[a])->values[i]);
    }
  }
  return out;
}

}  // namespace

std::vector<XldPtr> JoinContours(const std::vector<XldPtr>& in, const JoinCost& cost,
                                 bool keep_attribs, bool* joined,
                                 std::vector<std::vector<size_t>>* chains) {
  const size_t n = in.size();
  auto joinable = [&](size_t i) { return in[i]->size() > 0 && !IsClosed(*in[i]); };
  std::vector<Candidate> cands;
  for (size_t i = 0; i < n; ++i)
    for (size_t j = i + 1; j < n; ++j) {
      if (!joinable(i) || !joinable(j)) continue;
      for (int s = 0; s < 4; ++s) {
        const ContourEnd a{i, (s & 1) != 0}, b{j, (s & 2) != 0};
        const double c = cost(a, b);
        if (c >= 0) cands.push_back({c, a, b});
      }
    }
  std::stable_sort(cands.begin(), cands.end(),
                   [](const Candidate& x, const Candidate& y) { return x.cost < y.cost; });
  std::vector<size_t> parent(n);
  std::iota(parent.begin(), parent.end(), 0);
  std::vector<long> partner(2 * n, -1);  // end id -> end id
  *joined = false;
  for (const Candidate& c : cands) {
    const size_t ea = EndId(c.a), eb = EndId(c.b);
    if (partner[ea] >= 0 || partner[eb] >= 0) continue;
    const size_t ra = Root(&parent, c.a.contour), rb = Root(&parent, c.b.contour);
    if (ra == rb) continue;  // would close a ring
    parent[ra] = rb;
    partner[ea] = static_cast<long>(eb);
    partner[eb] = static_cast<long>(ea);
    *joined = true;
  }
  // Chains start at a piece whose first or last end is free.
  std::vector<char> used(n, 0);
  std::vector<XldPtr> out;
  for (size_t i = 0; i < n; ++i) {
    if (used[i]) continue;
    if (!joinable(i)) {
      used[i] = 1;
      out.push_back(in[i]);
      if (chains) chains->push_back({i});
      continue;
    }
    const bool first_free = partner[2 * i] < 0, last_free = partner[2 * i + 1] < 0;
    if (!first_free && !last_free) continue;  // inside a chain: reached from its start
    std::vector<std::pair<size_t, bool>> chain;
    size_t k = i;
    bool reversed = !first_free;  // enter at the free end
    while (true) {
      used[k] = 1;
      chain.push_back({k, reversed});
      const long exit_partner = partner[2 * k + (reversed ? 0 : 1)];
      if (exit_partner < 0) break;
      k = static_cast<size_t>(exit_partner) / 2;
      reversed = (exit_partner & 1) != 0;  // entered at its last point
    }
    out.push_back(Concatenate(in, chain, keep_attribs));
    if (chains) {
      chains->emplace_back();
      for (const auto& piece : chain) chains->back().push_back(piece.first);
    }
  }
  return out;
}

Pt EndPoint(const Xld& x, bool last) {
  const size_t i = last ? x.size() - 1 : 0;
  return {x.rows[i], x.cols[i]};
}

Pt EndDirection(const Xld& x, bool last, size_t back) {
  back = std::min(back, x.size() - 1);
  const size_t i = last ? x.size() - 1 : 0, j = last ? x.size() - 1 - back : back;
  const double dr = x.rows[i] - x.rows[j], dc = x.cols[i] - x.cols[j];
  const double len = std::hypot(dr, dc);
  return len > 0 ? Pt{dr / len, dc / len} : Pt{0, 0};
}

LineFit FitLine(const Xld& x) {
  LineFit f;
  const std::vector<Pt> p = PointsOf(x);
  f.length = ChainLength(p);
  if (p.empty()) return f;
  for (const Pt& q : p) f.centre.r += q.r, f.centre.c += q.c;
  f.centre.r /= p.size(), f.centre.c /= p.size();
  double rr = 0, rc = 0, cc = 0;
  for (const Pt& q : p) {
    const double dr = q.r - f.centre.r, dc = q.c - f.centre.c;
    rr += dr * dr, rc += dr * dc, cc += dc * dc;
  }
  if (rr + cc == 0) return f;
  // Principal axis of the scatter matrix.
  const double phi = 0.5 * std::atan2(2 * rc, cc - rr);
  f.dir = {std::sin(phi), std::cos(phi)};
  return f;
}

Pt OutwardAt(const LineFit& fit, const Xld& x, bool last) {
  const Pt e = EndPoint(x, last);
  const double s = (e.r - fit.centre.r) * fit.dir.r + (e.c - fit.centre.c) * fit.dir.c;
  return s >= 0 ? fit.dir : Pt{-fit.dir.r, -fit.dir.c};
}

double Distance(const Pt& a, const Pt& b) { return std::hypot(a.r - b.r, a.c - b.c); }

double LineDistance(const LineFit& f, const Pt& p) {
  return std::fabs((p.r - f.centre.r) * f.dir.c - (p.c - f.centre.c) * f.dir.r);
}

Pt Reverse(const Pt& u) { return {-u.r, -u.c}; }

EndPair PairOfEnds(const Xld& xa, bool a_last, const LineFit& fa, const Xld& xb, bool b_last,
                   const LineFit& fb) {
  EndPair e;
  e.pa = EndPoint(xa, a_last), e.pb = EndPoint(xb, b_last);
  e.ua = OutwardAt(fa, xa, a_last), e.ub = OutwardAt(fb, xb, b_last);
  e.d = Distance(e.pa, e.pb);
  e.shift = std::max(LineDistance(fa, e.pb), LineDistance(fb, e.pa));
  e.overlap = std::max(0.0, -((e.pb.r - e.pa.r) * e.ua.r + (e.pb.c - e.pa.c) * e.ua.c));
  return e;
}

std::vector<double> CommonLineDistances(const Xld& xa, const Xld& xb) {
  Xld both;
  both.rows = xa.rows, both.cols = xa.cols;
  both.rows.insert(both.rows.end(), xb.rows.begin(), xb.rows.end());
  both.cols.insert(both.cols.end(), xb.cols.begin(), xb.cols.end());
  const LineFit f = FitLine(both);
  std::vector<double> d(both.size());
  for (size_t i = 0; i < both.size(); ++i) d[i] = LineDistance(f, {both.rows[i], both.cols[i]});
  return d;
}

double AngleBetween(const Pt& u, const Pt& v) {
  return std::acos(std::clamp(u.r * v.r + u.c * v.c, -1.0, 1.0));
}

}  // namespace xld
}  // namespace vexa
