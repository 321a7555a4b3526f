// What a model made from an image would hold. determine_shape_model_params
// gives the values "auto" resolves to; inspect_shape_model, for the given
// NumLevels and Contrast, gives for each level the pyramid
// image (pixel type real, 2x2 means of the level below) whose domain is
// the model region on that level (pixels at least half covered), and the
// region of the pixels the level's model points lie on.
#include <cstring>

#include "gradient_pyramid.h"
#include "model_build.h"
#include "ops/common/op_objects.h"
#include "registry.h"
#include "shape_model_params.h"

namespace vexa {
namespace matching {
namespace {

// The pixels of `mask` (CV_32F) that are at least half set.
RegionPtr MaskRegion(const cv::Mat& mask) {
  std::vector<Chord> chords;
  for (int r = 0; r < mask.rows; ++r) {
    const float* row = mask.ptr<float>(r);
    for (int c = 0; c < mask.cols; ++c) {
      if (row[c] < 0.5f) continue;
      int e = c;
      while (e + 1 < mask.cols && row[e + 1] >= 0.5f) ++e;
      chords.push_back({r, c, e});
      c = e;
    }
  }
  return Region::FromCanonicalChords(std::move(chords));
}

Vresult NewFloatImage(const cv::Mat& plane, RegionPtr domain, Vkey* key) {
  std::unique_ptr<PixelBuffer> buffer;
  Vresult rc = PixelBuffer::Create(PixelType::kReal, plane.cols, plane.rows, &buffer);
  if (rc != VRESULT_OK) return rc;
  for (int r = 0; r < plane.rows; ++r)
    std::memcpy(buffer->data() + static_cast<size_t>(r) * plane.cols * sizeof(float), plane.ptr<float>(r),
                static_cast<size_t>(plane.cols) * sizeof(float));
  std::vector<std::unique_ptr<PixelBuffer>> channels;
  channels.push_back(std::move(buffer));
  return db::NewImage(std::move(domain), std::move(channels), key);
}

}  // namespace

// Parameters: "num_levels", "angle_step", "scale_step", "optimization",
// "contrast_low", "contrast_high", "min_size", "min_contrast", or "all".
VEXA_OPERATOR(determine_shape_model_params) {
  static const char* const kNames[] = {"num_levels", "angle_step", "scale_step", "optimization",
                                       "contrast_low", "contrast_high", "min_size", "min_contrast"};
  BuildRequest request;
  ShapeModel model;
  std::vector<const char*> asked;
  Vresult rc = InpDetermineParams(ctx, &request, &model.params);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(9, asked);
  if (rc == VRESULT_OK && asked.empty()) rc = VERR_CTRL_NUM(9);
  std::vector<int> which;
  for (size_t i = 0; rc == VRESULT_OK && i < asked.size(); ++i) {
    const bool all = std::strcmp(asked[i], "all") == 0;
    bool known = all;
    for (int k = 0; k < 8; ++k)
      if (all || std::strcmp(asked[i], kNames[k]) == 0) {
        which.push_back(k);
        known = true;
      }
    if (!known) rc = VERR_CTRL_VALUE(9);
  }
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  cv::Mat plane;
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc == VRESULT_OK) rc = FloatPlane(*image.channels[0], &plane);
  if (rc == VRESULT_OK) rc = BuildShapeModel(plane, *image.domain, request, &model);
  if (rc != VRESULT_OK) return rc;
  const ShapeModelParams& p = model.params;
  const std::vector<double>& c = p.contrast;
  CtrlValues names, values;
  for (int k : which) {
    names.Add(kNames[k]);
    switch (k) {
      case 0: values.Add(static_cast<Vlong>(p.num_levels)); break;
      case 1: values.Add(p.angle_step); break;
      case 2: values.Add(p.scale_step[0]); break;
      case 3: values.Add(p.optimization.c_str()); break;
      case 4: values.Add(c[0]); break;
      case 5: values.Add(c.size() > 1 ? c[1] : c[0]); break;
      case 6: values.Add(c.size() > 2 ? c[2] : 0.0); break;
      default: values.Add(p.min_contrast); break;
    }
  }
  rc = ctx.SetOutpValues(0, names);
  return rc == VRESULT_OK ? ctx.SetOutpValues(1, values) : rc;
}

VEXA_OPERATOR(inspect_shape_model) {
  Vkey key = VKEY_UNDEF;
  db::ImageData image;
  cv::Mat plane;
  Vlong levels = 0;
  Vresult rc = IsAuto(ctx, 0) ? VRESULT_OK : ctx.GetLong(0, &levels);
  if (rc == VRESULT_OK && !IsAuto(ctx, 0) && (levels < 1 || levels > kMaxModelLevels)) rc = VERR_CTRL_VALUE(0);
  BuildRequest request;
  request.num_levels = static_cast<int>(levels);
  if (rc == VRESULT_OK) rc = InpContrast(ctx, 1, &request.contrast);
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(1, &key);
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc == VRESULT_OK) rc = FloatPlane(*image.channels[0], &plane);
  ShapeModel model;
  if (rc == VRESULT_OK) rc = BuildShapeModel(plane, *image.domain, request, &model);
  if (rc != VRESULT_OK) return rc;
  const int n = model.params.num_levels;
  const std::vector<cv::Mat> gray = MeanPyramid(plane, n);
  const std::vector<cv::Mat> masks = MeanPyramid(RegionMask(*image.domain, plane.cols, plane.rows), n);
  NewKeys images, regions;
  for (int l = 0; l < n; ++l) {
    Vkey made = VKEY_UNDEF;
    rc = NewFloatImage(gray[l], MaskRegion(masks[l]), &made);
    if (rc != VRESULT_OK) return rc;
    images.Add(made);
    std::vector<Chord> chords;
    const double ref_r = FromLevel0(model.ref_row, l), ref_c = FromLevel0(model.ref_col, l);
    for (const ModelPoint& p : (*model.levels)[l].points) {
      const int32_t r = static_cast<int32_t>(std::lround(ref_r + p.r));
      const int32_t c = static_cast<int32_t>(std::lround(ref_c + p.c));
      chords.push_back({r, c, c});
    }
    rc = db::NewRegion(Region::FromChords(std::move(chords)), &made);
    if (rc != VRESULT_OK) return rc;
    regions.Add(made);
  }
  rc = images.HandOver(ctx, 1);
  return rc == VRESULT_OK ? regions.HandOver(ctx, 2) : rc;
}

}  // namespace matching
}  // namespace vexa
