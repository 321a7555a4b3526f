// VRegion: the cached run-length record of the runtime and the features
// read from it without an operator call.
#include <vexaobj/VRegion.h>

#include <cinttypes>
#include <cstdio>

#include <vexaobj/VException.h>

#include "control/raise.h"
#include "frame/VCPPUtil.h"

namespace Vexa {

namespace {

const char kGetRL[] = "void VRegion::GetRL(void)";

// Runs one of the runtime's measures in a bracket; its failure reacts.
template <class Measure>
void RunMeasure(Measure measure) {
  frame::RuntimeBracket(measure, __LINE__);
}

}  // namespace

void VRegion::setRLptr() const {
  void* proc = nullptr;
  VGetVProc(-1, &proc);
  const Vresult rc = DBGetRLPtr(proc, key, &rl);
  VPutVProc(proc);
  if (rc == VRESULT_OK) return;
  char text[frame::kErrorTextSize];
  VErrorMessage(rc, text);
  char message[frame::kErrorTextSize + 64];
  std::snprintf(message, sizeof message, "%s; id = %" PRId64, text,
                static_cast<int64_t>(reinterpret_cast<intptr_t>(key)));
  VException(__FILE__, __LINE__, kGetRL, rc, message).React();
}

Vrlregion* VRegion::GetRL() const {
  if (key == VKEY_UNDEF) {
    VEXA_RAISE(kGetRL, "called for empty-region");
    return nullptr;
  }
  if (rl == nullptr) setRLptr();
  return rl;
}

const Vrlregion* VRegion::FeatureRL() const {
  if (key == VKEY_UNDEF) return nullptr;
  if (rl == nullptr) setRLptr();
  return rl;
}

void VRegion::AreaCenter(Vlong* area, double* row, double* col) const {
  *area = 0;
  *row = *col = 0.0;
  const Vrlregion* record = FeatureRL();
  if (record == nullptr) return;
  RunMeasure([&](void*) {
    if (record->flags & VRL_FEATURES_VALID) {
      *area = record->area;
      *row = record->row;
      *col = record->col;
    } else {
      // The runtime's area function takes no context and gives no code.
      VRLCalcArea(record, area, row, col);
    }
    return VRESULT_OK;
  });
}

void VRegion::EllipseAxis(double v[3]) const {
  v[0] = v[1] = v[2] = 0.0;
  const Vrlregion* record = FeatureRL();
  if (record == nullptr) return;
  RunMeasure([&](void* proc) {
    return VRLEllipseAxis(proc, record, &v[0], &v[1], &v[2]);
  });
}

void VRegion::Excentricity(double v[3]) const {
  v[0] = v[1] = v[2] = 0.0;
  const Vrlregion* record = FeatureRL();
  if (record == nullptr) return;
  RunMeasure([&](void* proc) {
    return VRLExcentricity(proc, record, &v[0], &v[1], &v[2]);
  });
}

void VRegion::Moments(double v[5]) const {
  for (int i = 0; i < 5; ++i) v[i] = 0.0;
  const Vrlregion* record = FeatureRL();
  if (record == nullptr) return;
  RunMeasure([&](void* proc) {
    return VRLMoments(proc, record, &v[0], &v[1], &v[2], &v[3], &v[4]);
  });
}

Vlong VRegion::Area() const {
  Vlong area;
  double row, col;
  AreaCenter(&area, &row, &col);
  return area;
}

double VRegion::Row() const {
  Vlong area;
  double row, col;
  AreaCenter(&area, &row, &col);
  return row;
}

double VRegion::Col() const {
  Vlong area;
  double row, col;
  AreaCenter(&area, &row, &col);
  return col;
}

// VRLEllipseAxis delivers ra, rb, phi.
double VRegion::Ra() const { double v[3]; EllipseAxis(v); return v[0]; }
double VRegion::Rb() const { double v[3]; EllipseAxis(v); return v[1]; }
double VRegion::Phi() const { double v[3]; EllipseAxis(v); return v[2]; }

// The three results of VRLExcentricity are, in this order, Anisometry,
// StructureFactor and Bulkiness.
double VRegion::Anisometry() const { double v[3]; Excentricity(v); return v[0]; }
double VRegion::StructureFactor() const { double v[3]; Excentricity(v); return v[1]; }
double VRegion::Bulkiness() const { double v[3]; Excentricity(v); return v[2]; }

// VRLMoments delivers m11, m20, m02, ia, ib.
double VRegion::M11() const { double v[5]; Moments(v); return v[0]; }
double VRegion::M20() const { double v[5]; Moments(v); return v[1]; }
double VRegion::M02() const { double v[5]; Moments(v); return v[2]; }
double VRegion::Ia() const { double v[5]; Moments(v); return v[3]; }
double VRegion::Ib() const { double v[5]; Moments(v); return v[4]; }

Vlong VRegion::NumData() {
  Vlong num = 0;
  const Vresult rc = DBCountRegion(&num);
  if (rc != VRESULT_OK)
    internal::RaiseRuntimeText(__FILE__, __LINE__, "Vlong VRegion::NumData(void)",
                               rc);
  return num;
}

}  // namespace Vexa
