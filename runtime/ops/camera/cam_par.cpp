#include "ops/camera/cam_par.h"

#include <cmath>

#include "ops/common/named_values.h"

namespace vexa {
namespace {

constexpr Vlong kMaxImageSide = 32767;

const Named<CamModel> kModels[] = {
    {"area_scan_division", CamModel::kDivision},
    {"area_scan_polynomial", CamModel::kPolynomial},
};

// The numbers of a camera in tuple order, as pointers into `cam`, so that
// reading and writing share one order.
std::vector<double*> NumberSlots(CamPar* cam) {
  std::vector<double*> slots{&cam->focus};
  if (cam->model == CamModel::kDivision) {
    slots.push_back(&cam->kappa);
  } else {
    for (double& k : cam->k) slots.push_back(&k);
    for (double& p : cam->p) slots.push_back(&p);
  }
  for (double* v : {&cam->sx, &cam->sy, &cam->cx, &cam->cy}) slots.push_back(v);
  return slots;
}

// Numbers after the model name: the slots, then width and height.
size_t NumberCount(CamModel model) {
  CamPar cam;
  cam.model = model;
  return NumberSlots(&cam).size() + 2;
}

bool IsImageSide(double v) {
  return v >= 1.0 && v <= static_cast<double>(kMaxImageSide) && v == std::floor(v);
}

}  // namespace

bool CamPar::HasDistortion() const {
  return kappa != 0.0 || k[0] != 0.0 || k[1] != 0.0 || k[2] != 0.0 || p[0] != 0.0 ||
         p[1] != 0.0;
}

CamPar CamPar::WithoutDistortion() const {
  CamPar out = *this;
  SetDistortionCoeffs(std::vector<double>(DistortionCoeffCount(model), 0.0), &out);
  return out;
}

size_t DistortionCoeffCount(CamModel model) { return model == CamModel::kDivision ? 1 : 5; }

void SetDistortionCoeffs(const std::vector<double>& coeffs, CamPar* cam) {
  std::vector<double*> slots = NumberSlots(cam);
  for (size_t i = 0; i < coeffs.size(); ++i) *slots[1 + i] = coeffs[i];
}

const char* CamModelName(CamModel model) {
  for (const Named<CamModel>& m : kModels)
    if (m.value == model) return m.name;
  return "";
}

const std::vector<const char*>& CamParFieldNames(CamModel model) {
  static const std::vector<const char*> division{"focus", "kappa", "sx", "sy", "cx",
                                                 "cy", "image_width", "image_height"};
  static const std::vector<const char*> polynomial{
      "focus", "k1", "k2", "k3", "p1", "p2", "sx", "sy", "cx", "cy", "image_width", "image_height"};
  return model == CamModel::kDivision ? division : polynomial;
}

Vresult CamParFromValues(const TupleValues& values, int par, CamPar* cam) {
  if (values.empty()) return VERR_CAM_PAR_NUM;
  if (!values[0].IsString()) return VERR_CTRL_TYPE(par);
  *cam = CamPar();
  if (!LookUpName(kModels, values[0].s.c_str(), &cam->model)) return VERR_CAM_MODEL;
  const size_t count = NumberCount(cam->model);
  if (values.size() != count + 1) return VERR_CAM_PAR_NUM;
  std::vector<double> numbers;
  for (size_t i = 1; i < values.size(); ++i) {
    if (!values[i].IsNumber()) return VERR_CTRL_TYPE(par);
    numbers.push_back(values[i].Real());
  }
  for (double v : numbers)
    if (!std::isfinite(v)) return VERR_CAM_PAR_VALUE;
  std::vector<double*> slots = NumberSlots(cam);
  for (size_t i = 0; i < slots.size(); ++i) *slots[i] = numbers[i];
  if (!(cam->focus > 0.0)) return VERR_CAM_FOCUS;
  if (!(cam->sx > 0.0 && cam->sy > 0.0)) return VERR_CAM_CELL_SIZE;
  const double width = numbers[count - 2], height = numbers[count - 1];
  if (!IsImageSide(width) || !IsImageSide(height)) return VERR_CAM_IMAGE_SIZE;
  cam->width = static_cast<Vlong>(width);
  cam->height = static_cast<Vlong>(height);
  return VRESULT_OK;
}

Vresult GetCamPar(const OpContext& ctx, int par, CamPar* cam) {
  TupleValues values;
  const Vresult rc = ReadInpValues(ctx, par, &values);
  return rc == VRESULT_OK ? CamParFromValues(values, par, cam) : rc;
}

TupleValues CamParValues(const CamPar& cam) {
  CamPar copy = cam;
  TupleValues values{TupleValue::String(CamModelName(cam.model))};
  for (const double* v : NumberSlots(&copy)) values.push_back(TupleValue::Double(*v));
  values.push_back(TupleValue::Long(cam.width));
  values.push_back(TupleValue::Long(cam.height));
  return values;
}

Vresult SetCamPar(OpContext& ctx, int par, const CamPar& cam) {
  return WriteOutpValues(ctx, par, CamParValues(cam));
}

}  // namespace vexa
