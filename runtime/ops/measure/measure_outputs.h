// Writing edge positions and amplitudes of measure profiles to output
// controls, and reading the edge parameters, as the measure operators
// share them.
#pragma once

#include <vector>

#include "measure_params.h"
#include "measure_tool.h"

namespace vexa {

// Distances between neighbouring positions, in pixels (profile samples are
// one pixel apart).
inline std::vector<double> Gaps(const std::vector<double>& from, const std::vector<double>& to) {
  std::vector<double> gaps;
  for (size_t i = 0; i + 1 < to.size(); ++i) gaps.push_back(to[i + 1] - from[i]);
  return gaps;
}

// Writes image rows and columns of profile positions to outputs
// `row_par` and `row_par + 1`.
inline Vresult OutpPositions(OpContext& ctx, int row_par, const std::vector<double>& pos,
                             const MeasureGeometry& g, const MeasureSampling& s) {
  std::vector<double> rows, cols;
  for (double x : pos) {
    double r = 0, c = 0;
    s.PointAt(x, g, &r, &c);
    rows.push_back(r);
    cols.push_back(c);
  }
  const Vresult rc = ctx.SetOutpDoubles(row_par, rows);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(row_par + 1, cols) : rc;
}

// Writes the positions and amplitudes of edges to outputs `row_par` ..
// `row_par + 2`.
inline Vresult OutpEdges(OpContext& ctx, int row_par, const std::vector<ProfileEdge>& edges,
                         const MeasureGeometry& g, const MeasureSampling& s) {
  std::vector<double> pos, amp;
  for (const ProfileEdge& e : edges) {
    pos.push_back(e.pos);
    amp.push_back(e.amplitude);
  }
  const Vresult rc = OutpPositions(ctx, row_par, pos, g, s);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(row_par + 2, amp) : rc;
}

// The smoothing sigma at 1 and the edge threshold (not negative) at 2.
inline Vresult InpEdgeParams(const OpContext& ctx, double* sigma, double* threshold) {
  Vresult rc = InpSigma(ctx, 1, sigma);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 2, threshold);
  if (rc == VRESULT_OK && *threshold < 0) rc = VERR_CTRL_VALUE(2);
  return rc;
}

inline std::vector<double> Positions(const std::vector<ProfileEdge>& edges) {
  std::vector<double> pos;
  for (const ProfileEdge& e : edges) pos.push_back(e.pos);
  return pos;
}

}  // namespace vexa
