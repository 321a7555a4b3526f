// Photometric stereo and the integration of gradients: per pixel the
// albedo-scaled normal g that explains the gray values of images taken
// under known lights (I_k = l_k . g, least squares over the lights), its
// gradient, and the heights that the gradient integrates to
// (HeightFromGradient, lighting.h).
#include <cmath>
#include <cstring>
#include <vector>

#include <Eigen/Dense>

#include "ops/common/cv_wrap.h"
#include "ops/filter/filter_support.h"
#include "ops/photometry/lighting.h"
#include "registry.h"

namespace vexa {
namespace {

// The lights of `n` images: slants and tilts (degrees), one each.
Vresult ReadLights(const OpContext& ctx, int slants_par, size_t n, std::vector<Vec3>* lights) {
  std::vector<double> slants, tilts;
  Vresult rc = ctx.GetDoubles(slants_par, slants);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(slants_par + 1, tilts);
  if (rc != VRESULT_OK) return rc;
  if (slants.size() != n) return VERR_CTRL_NUM(slants_par);
  if (tilts.size() != n) return VERR_CTRL_NUM(slants_par + 1);
  for (size_t k = 0; k < n; ++k) {
    if (!(slants[k] >= 0 && slants[k] <= 90)) return VERR_CTRL_VALUE(slants_par);
    if (!std::isfinite(tilts[k])) return VERR_CTRL_VALUE(slants_par + 1);
    lights->push_back(LightDirection(slants[k], tilts[k]));
  }
  return VRESULT_OK;
}

// The gray values of the channels or images, all of one size, CV_64F.
Vresult PlanesOf(const std::vector<const PixelBuffer*>& buffers, std::vector<cv::Mat>* planes) {
  for (const PixelBuffer* b : buffers) {
    if (CvDepthOf(b->type()) < 0) return VERR_PIXEL_TYPE;
    if (b->width() != buffers[0]->width() || b->height() != buffers[0]->height()) return VERR_IMAGE_SIZE;
    planes->emplace_back();
    MatOf(*b).convertTo(planes->back(), CV_64F);
  }
  return VRESULT_OK;
}

// Albedo and gradient (d/drow, d/dcol) of every pixel; pixels whose
// normal faces away from the viewer (or has no length) get gradient 0.
struct Surface {
  cv::Mat albedo, d_row, d_col;
};

Vresult Solve(const std::vector<cv::Mat>& planes, const std::vector<Vec3>& lights, Surface* s) {
  const size_t n = lights.size();
  Eigen::MatrixXd l(n, 3);
  for (size_t k = 0; k < n; ++k) l.row(static_cast<Eigen::Index>(k)) << lights[k][0], lights[k][1], lights[k][2];
  Eigen::FullPivLU<Eigen::Matrix3d> normal(l.transpose() * l);
  if (normal.rank() < 3) return VERR_MATRIX_SINGULAR;
  const Eigen::MatrixXd solve = normal.inverse() * l.transpose();
  const cv::Size size = planes[0].size();
  s->albedo = cv::Mat(size, CV_64F);
  s->d_row = cv::Mat::zeros(size, CV_64F);
  s->d_col = cv::Mat::zeros(size, CV_64F);
  Eigen::VectorXd values(n);
  for (int r = 0; r < size.height; ++r)
    for (int c = 0; c < size.width; ++c) {
      for (size_t k = 0; k < n; ++k) values(static_cast<Eigen::Index>(k)) = planes[k].at<double>(r, c);
      const Eigen::Vector3d g = solve * values;
      s->albedo.at<double>(r, c) = g.norm();
      if (g.z() > 1e-9 * g.norm()) {
        s->d_col.at<double>(r, c) = -g.x() / g.z();
        s->d_row.at<double>(r, c) = g.y() / g.z();
      }
    }
  return VRESULT_OK;
}

// A new real image of the planes, full domain, added to `out`.
Vresult AddImage(const std::vector<cv::Mat>& planes, NewKeys* out) {
  Vkey key = VKEY_UNDEF;
  Vresult rc = db::NewBlankImage(PixelType::kReal, planes[0].cols, planes[0].rows,
                                 static_cast<int>(planes.size()), nullptr, &key);
  if (rc != VRESULT_OK) return rc;
  out->Add(key);
  for (size_t ch = 0; ch < planes.size() && rc == VRESULT_OK; ++ch) {
    PixelBuffer* px = nullptr;
    rc = db::WritableChannel(key, static_cast<int>(ch), &px);
    if (rc == VRESULT_OK) planes[ch].convertTo(CvHeaderOf(px), CV_32F);
  }
  return rc;
}

// "poisson" is the one reconstruction; no generic parameters are known.
Vresult ReadReconstruction(const OpContext& ctx, int par) {
  int method = 0;
  const Vresult rc = ReadChoice(ctx, par, {"poisson"}, &method);
  if (rc != VRESULT_OK) return rc;
  if (ctx.CtrlNum(par + 1) != 0) return VERR_CTRL_VALUE(par + 1);
  return ctx.CtrlNum(par + 2) != 0 ? VERR_CTRL_NUM(par + 2) : VRESULT_OK;
}

}  // namespace

// One image whose channels (at least 3) were taken under the lights
// `slants`, `tilts`: the heights.
VEXA_OPERATOR(phot_stereo) {
  db::ImageData image;
  Vresult rc = InpSingleImage(ctx, 1, &image);
  if (rc != VRESULT_OK) return rc;
  if (image.channels.size() < 3) return VERR_CHANNEL;
  std::vector<Vec3> lights;
  std::vector<cv::Mat> planes;
  Surface s;
  rc = ReadLights(ctx, 0, image.channels.size(), &lights);
  if (rc == VRESULT_OK) rc = PlanesOf(image.channels, &planes);
  if (rc == VRESULT_OK) rc = Solve(planes, lights, &s);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  rc = AddImage({HeightFromGradient(s.d_row, s.d_col)}, &out);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

// Images (at least 3, one channel each) under `slants`, `tilts`;
// result_type names the results wanted ("height_field", "gradient",
// "albedo", or "all"): the heights, the gradient as a two-channel real
// image (d/drow, d/dcol) and the albedo; the others stay empty.
VEXA_OPERATOR(photometric_stereo) {
  std::vector<const PixelBuffer*> buffers;
  std::vector<db::ImageData> images;
  Vresult rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    images.emplace_back();
    const Vresult r = InpImage(1, key, &images.back());
    if (r == VRESULT_OK) buffers.push_back(images.back().channels[0]);
    return r;
  });
  if (rc != VRESULT_OK) return rc;
  if (buffers.size() < 3) return VERR_OBJ_NUM(1);
  std::vector<const char*> wanted;
  rc = ctx.GetStrings(2, wanted);
  if (rc == VRESULT_OK) rc = ReadReconstruction(ctx, 3);
  if (rc != VRESULT_OK) return rc;
  bool want[3] = {false, false, false};
  const char* const kNames[] = {"height_field", "gradient", "albedo"};
  for (const char* w : wanted) {
    bool known = std::strcmp(w, "all") == 0;
    for (int k = 0; k < 3; ++k) {
      if (known || std::strcmp(w, kNames[k]) == 0) want[k] = true;
      known |= std::strcmp(w, kNames[k]) == 0;
    }
    if (!known) return VERR_CTRL_VALUE(2);
  }
  std::vector<Vec3> lights;
  std::vector<cv::Mat> planes;
  Surface s;
  rc = ReadLights(ctx, 0, buffers.size(), &lights);
  if (rc == VRESULT_OK) rc = PlanesOf(buffers, &planes);
  if (rc == VRESULT_OK) rc = Solve(planes, lights, &s);
  if (rc != VRESULT_OK) return rc;
  NewKeys heights, gradient, albedo;
  if (want[0]) rc = AddImage({HeightFromGradient(s.d_row, s.d_col)}, &heights);
  if (rc == VRESULT_OK && want[1]) rc = AddImage({s.d_row, s.d_col}, &gradient);
  if (rc == VRESULT_OK && want[2]) rc = AddImage({s.albedo}, &albedo);
  if (rc == VRESULT_OK) rc = heights.HandOver(ctx, 1);
  if (rc == VRESULT_OK) rc = gradient.HandOver(ctx, 2);
  return rc == VRESULT_OK ? albedo.HandOver(ctx, 3) : rc;
}

// A two-channel image of d/drow and d/dcol integrated to heights
// ("poisson", lighting.h), real, full domain.
VEXA_OPERATOR(reconstruct_height_field_from_gradient) {
  db::ImageData image;
  Vresult rc = InpSingleImage(ctx, 1, &image);
  if (rc == VRESULT_OK) rc = ReadReconstruction(ctx, 0);
  if (rc != VRESULT_OK) return rc;
  if (image.channels.size() != 2) return VERR_CHANNEL;
  std::vector<cv::Mat> planes;
  rc = PlanesOf(image.channels, &planes);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  rc = AddImage({HeightFromGradient(planes[0], planes[1])}, &out);
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
