// Shape measures of a run-length view (Vrlregion), as the interface library
// asks for them; the formulas are in region_store_moments.h.
#include "region_store_moments.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

vexa::RegionMoments MomentsOf(const Vrlregion* rl) {
  if (rl->num <= 0 || rl->rl == nullptr) return vexa::RegionMoments();
  return vexa::ComputeMoments(rl->rl, static_cast<size_t>(rl->num));
}

}  // namespace

extern "C" {

void VRLCalcArea(const Vrlregion* rl, Vlong* area, double* row, double* col) {
  const vexa::RegionMoments m =
      rl != nullptr ? MomentsOf(rl) : vexa::RegionMoments();
  if (area != nullptr) *area = static_cast<Vlong>(m.area);
  if (row != nullptr) *row = m.row;
  if (col != nullptr) *col = m.col;
}

Vresult VRLMoments(void* proc, const Vrlregion* rl, double* m11, double* m20,
                   double* m02, double* ia, double* ib) {
  if (rl == nullptr || m11 == nullptr || m20 == nullptr || m02 == nullptr ||
      ia == nullptr || ib == nullptr)
    return VERR_INTERNAL;
  const vexa::RegionMoments m = MomentsOf(rl);
  *m11 = m.m11;
  *m20 = m.m20;
  *m02 = m.m02;
  *ia = m.ia;
  *ib = m.ib;
  return VRESULT_OK;
}

Vresult VRLEllipseAxis(void* proc, const Vrlregion* rl, double* ra, double* rb,
                       double* phi) {
  if (rl == nullptr || ra == nullptr || rb == nullptr || phi == nullptr)
    return VERR_INTERNAL;
  const vexa::EllipseAxes e = vexa::EllipseFromMoments(MomentsOf(rl));
  *ra = e.ra;
  *rb = e.rb;
  *phi = e.phi;
  return VRESULT_OK;
}

Vresult VRLExcentricity(void* proc, const Vrlregion* rl, double* anisometry,
                        double* bulkiness, double* structure_factor) {
  if (rl == nullptr || anisometry == nullptr || bulkiness == nullptr ||
      structure_factor == nullptr)
    return VERR_INTERNAL;
  const vexa::ShapeFactors s = vexa::ShapeFactorsFromMoments(MomentsOf(rl));
  *anisometry = s.anisometry;
  *bulkiness = s.bulkiness;
  *structure_factor = s.structure_factor;
  return VRESULT_OK;
}

}  // extern "C"
