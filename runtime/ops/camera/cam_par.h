// The camera parameter tuple (docs/operators/camera.md) and its reader.
//
// A camera travels as a tuple whose first value names the model and whose
// numbers follow in a fixed order:
//   "area_scan_division":   focus, kappa, sx, sy, cx, cy, width, height
//   "area_scan_polynomial": focus, k1, k2, k3, p1, p2, sx, sy, cx, cy,
//                           width, height
// focus, sx and sy in metres, cx and cy in pixels (column, row of the
// principal point), width and height in pixels; kappa in 1/m^2, k1..k3
// in 1/m^2, 1/m^4, 1/m^6 and p1, p2 in 1/m. Every operator that takes a
// camera reads it through GetCamPar, so all of them refuse the same
// tuples with the same codes.
#pragma once

#include "op_context.h"
#include "ops/serialize/tuple_values.h"

namespace vexa {

enum class CamModel { kDivision, kPolynomial };

struct CamPar {
  CamModel model = CamModel::kDivision;
  double focus = 0.0;
  double kappa = 0.0;                  // division model
  double k[3] = {0.0, 0.0, 0.0};       // polynomial model, radial
  double p[2] = {0.0, 0.0};            // polynomial model, tangential
  double sx = 0.0, sy = 0.0;
  double cx = 0.0, cy = 0.0;
  Vlong width = 0, height = 0;

  bool HasDistortion() const;
  // The same camera with every distortion coefficient 0.
  CamPar WithoutDistortion() const;
};

// The number of distortion coefficients of a model (1 or 5).
size_t DistortionCoeffCount(CamModel model);
// Sets the model's coefficients from `coeffs` (DistortionCoeffCount values).
void SetDistortionCoeffs(const std::vector<double>& coeffs, CamPar* cam);

const char* CamModelName(CamModel model);
// The names of the numbers after the model name, in tuple order (the keys
// of a camera file).
const std::vector<const char*>& CamParFieldNames(CamModel model);

// Checks a camera tuple and fills `cam`. Codes, in the order checked:
// VERR_CAM_PAR_NUM for an empty tuple, VERR_CTRL_TYPE(par) when the first
// value is no string, VERR_CAM_MODEL for an unknown model name,
// VERR_CAM_PAR_NUM when the count does not fit the model,
// VERR_CTRL_TYPE(par) for a string among the numbers, VERR_CAM_PAR_VALUE
// for NaN or an infinity, VERR_CAM_FOCUS, VERR_CAM_CELL_SIZE,
// VERR_CAM_IMAGE_SIZE (width and height whole numbers in 1..32767).
Vresult CamParFromValues(const TupleValues& values, int par, CamPar* cam);
// The camera tuple of input control `par`.
Vresult GetCamPar(const OpContext& ctx, int par, CamPar* cam);

// The tuple of a camera: name string, reals, width and height integers.
TupleValues CamParValues(const CamPar& cam);
Vresult SetCamPar(OpContext& ctx, int par, const CamPar& cam);

}  // namespace vexa
