// Making, searching, adapting, storing and closing gray-value templates.
#include <cmath>
#include <cstring>

#include "gradient_pyramid.h"
#include "ops/serialize/tool_item_ops.h"
#include "ops/common/op_objects.h"
#include "registry.h"
#include "shape_model_params.h"
#include "template_model.h"

namespace vexa {
namespace matching {
namespace {

constexpr double kMaxAngle = 1e3;

Vresult InpTemplate(const OpContext& ctx, int par, TemplateData* data,
                    std::shared_ptr<TemplateModel>* tool = nullptr) {
  std::shared_ptr<TemplateModel> found;
  const Vresult rc = InpTool(ctx, par, &found);
  if (rc != VRESULT_OK) return rc;
  *data = found->Get();
  if (tool != nullptr) *tool = std::move(found);
  return VRESULT_OK;
}

// "true" or "false" at control `par`.
Vresult InpFlag(const OpContext& ctx, int par, bool* on) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(s, "true") != 0 && std::strcmp(s, "false") != 0) return VERR_CTRL_VALUE(par);
  *on = s[0] == 't';
  return VRESULT_OK;
}

// A level count at control `par`: "auto" (the template's) or 1..10.
Vresult InpLevels(const OpContext& ctx, int par, int automatic, int* levels) {
  if (IsAuto(ctx, par)) {
    *levels = automatic;
    return VRESULT_OK;
  }
  Vlong v = 0;
  const Vresult rc = ctx.GetLong(par, &v);
  if (rc != VRESULT_OK) return rc;
  if (v < 1 || v > kMaxTemplateLevels) return VERR_CTRL_VALUE(par);
  *levels = static_cast<int>(v);
  return VRESULT_OK;
}

Vresult InpRange(const OpContext& ctx, int par, double lo, double hi, double* v) {
  const Vresult rc = ctx.GetDouble(par, v);
  return rc == VRESULT_OK && !(*v >= lo && *v <= hi) ? VERR_CTRL_VALUE(par) : rc;
}

// The template of the single byte image at input object 1, its gray
// values transformed by the mode at control `mode_par`, the optimisation
// ("none", "sort" or "auto": the search order is fixed) at `opt_par`.
Vresult InpNewTemplate(OpContext& ctx, int opt_par, int mode_par, TemplateData* t) {
  const char* optimize = nullptr;
  const char* mode = nullptr;
  Vresult rc = ctx.GetString(opt_par, &optimize);
  if (rc == VRESULT_OK && std::strcmp(optimize, "none") != 0 && std::strcmp(optimize, "sort") != 0 &&
      std::strcmp(optimize, "auto") != 0)
    rc = VERR_CTRL_VALUE(opt_par);
  if (rc == VRESULT_OK) rc = ctx.GetString(mode_par, &mode);
  if (rc == VRESULT_OK && !ParseGrayMode(mode, &t->mode)) rc = VERR_CTRL_VALUE(mode_par);
  cv::Mat plane;
  RegionPtr domain;
  if (rc == VRESULT_OK) rc = InpByteImage(ctx, 1, &plane, &domain);
  if (rc == VRESULT_OK && !PatchOf(GrayValues(plane, t->mode), *domain, &t->patch)) rc = VERR_OBJ_NUM(1);
  if (rc != VRESULT_OK) return rc;
  t->ref_row = domain->row();
  t->ref_col = domain->col();
  return VRESULT_OK;
}

// The search image at input object 1 and its pyramid of `levels` levels,
// in the template's gray values.
Vresult InpSearchImage(OpContext& ctx, const TemplateData& t, int levels, std::vector<cv::Mat>* pyramid,
                       RegionPtr* domain) {
  cv::Mat plane;
  const Vresult rc = InpByteImage(ctx, 1, &plane, domain);
  if (rc == VRESULT_OK) *pyramid = MeanPyramid(GrayValues(plane, t.mode), levels);
  return rc;
}

const Region* Restriction(const RegionPtr& domain, const cv::Mat& plane) {
  return domain->area() == static_cast<Vlong>(plane.rows) * plane.cols ? nullptr : domain.get();
}

// The point a match reports: the reference offset turned with the match.
TemplateMatch Reported(const TemplateData& t, TemplateMatch m) {
  if (m.error >= 255) return m;
  const double ca = std::cos(m.angle), sa = std::sin(m.angle);
  m.row += ca * t.report_row - sa * t.report_col;
  m.col += sa * t.report_row + ca * t.report_col;
  return m;
}

Vresult OutpMatch(OpContext& ctx, const TemplateData& t, const TemplateMatch& found, bool with_angle) {
  const TemplateMatch m = Reported(t, found);
  int i = 0;
  Vresult rc = ctx.SetOutpDouble(i++, m.error >= 255 ? 0 : m.row);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(i++, m.error >= 255 ? 0 : m.col);
  if (rc == VRESULT_OK && with_angle) rc = ctx.SetOutpDouble(i++, m.angle);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDouble(i, m.error);
  return rc;
}

// best_match and best_match_mg (`pyramid`): template, MaxError, SubPixel
// [, NumLevels, WhichLevels].
Vresult BestMatch(OpContext& ctx, bool pyramid, bool given_pyramid) {
  TemplateData t;
  double max_error = 0;
  bool sub_pixel = false;
  int levels = 1;
  Vlong lowest = 0;
  Vresult rc = InpTemplate(ctx, 0, &t);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 1, 0, 255, &max_error);
  if (rc == VRESULT_OK) rc = InpFlag(ctx, 2, &sub_pixel);
  if (rc == VRESULT_OK && pyramid) rc = InpLevels(ctx, 3, t.num_levels, &levels);
  if (rc == VRESULT_OK && pyramid) rc = ctx.GetLong(4, &lowest);
  if (rc == VRESULT_OK && (lowest < 0 || lowest >= levels)) rc = VERR_CTRL_VALUE(4);
  std::vector<cv::Mat> images;
  RegionPtr domain;
  if (rc == VRESULT_OK && given_pyramid) {
    // The caller's pyramid: image l is level l, in the template's gray values.
    Vlong n = 0;
    rc = ctx.InpObjCount(1, &n);
    if (rc == VRESULT_OK && n < levels) rc = VERR_OBJ_NUM(1);
    for (Vlong l = 0; rc == VRESULT_OK && l < levels; ++l) {
      db::ImageData image;
      cv::Mat plane;
      rc = InpImage(1, ctx.InpObjKey(1, l), &image);
      if (rc == VRESULT_OK && image.channels[0]->type() != PixelType::kByte) rc = VERR_PIXEL_TYPE;
      if (rc == VRESULT_OK) rc = FloatPlane(*image.channels[0], &plane);
      if (rc == VRESULT_OK && l > 0 && (plane.rows != images[0].rows >> l || plane.cols != images[0].cols >> l))
        rc = VERR_IMAGE_SIZE;
      if (rc == VRESULT_OK) images.push_back(GrayValues(plane, t.mode));
      if (l == 0) domain = image.domain;
    }
  } else if (rc == VRESULT_OK) {
    rc = InpSearchImage(ctx, t, levels, &images, &domain);
  }
  if (rc != VRESULT_OK) return rc;
  const TemplateMatch m = BestTemplateMatch(t, images, Restriction(domain, images[0]), 0, 0, max_error, sub_pixel,
                                            static_cast<int>(lowest));
  return OutpMatch(ctx, t, m, false);
}

// best_match_rot and best_match_rot_mg (`pyramid`): template, AngleStart,
// AngleExtent, MaxError, SubPixel [, NumLevels].
Vresult BestMatchRot(OpContext& ctx, bool pyramid) {
  TemplateData t;
  double start = 0, extent = 0, max_error = 0;
  bool sub_pixel = false;
  int levels = 1;
  Vresult rc = InpTemplate(ctx, 0, &t);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 1, -kMaxAngle, kMaxAngle, &start);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 2, 0, kMaxAngle, &extent);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 3, 0, 255, &max_error);
  if (rc == VRESULT_OK) rc = InpFlag(ctx, 4, &sub_pixel);
  if (rc == VRESULT_OK && pyramid) rc = InpLevels(ctx, 5, t.num_levels, &levels);
  // A template made without angles cannot be turned.
  if (rc == VRESULT_OK && extent > 0 && t.angle_step == 0) rc = VERR_HANDLE_TYPE;
  std::vector<cv::Mat> images;
  RegionPtr domain;
  if (rc == VRESULT_OK) rc = InpSearchImage(ctx, t, levels, &images, &domain);
  if (rc != VRESULT_OK) return rc;
  const TemplateMatch m =
      BestTemplateMatch(t, images, Restriction(domain, images[0]), start, extent, max_error, sub_pixel, 0);
  return OutpMatch(ctx, t, m, true);
}

// fast_match and fast_match_mg: per image the region of the positions
// whose error is at most MaxError. The pyramid form gives the same,
// exact set (NumLevels is checked, the full-resolution errors are exact).
Vresult FastMatch(OpContext& ctx, bool pyramid) {
  TemplateData t;
  double max_error = 0;
  int levels = 1;
  Vresult rc = InpTemplate(ctx, 0, &t);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 1, 0, 255, &max_error);
  if (rc == VRESULT_OK && pyramid) rc = InpLevels(ctx, 2, t.num_levels, &levels);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
    db::ImageData image;
    cv::Mat plane;
    Vresult r = InpImage(1, key, &image);
    if (r == VRESULT_OK && image.channels[0]->type() != PixelType::kByte) r = VERR_PIXEL_TYPE;
    if (r == VRESULT_OK) r = FloatPlane(*image.channels[0], &plane);
    if (r != VRESULT_OK) return r;
    const ErrorMap m = TemplateErrors(GrayValues(plane, t.mode), t.patch, t.gray_offset, 0);
    std::vector<Chord> chords;
    for (int i = 0; i < m.map.rows; ++i)
      for (int j = 0; j < m.map.cols; ++j)
        if (m.map.at<float>(i, j) <= max_error) {
          const int32_t row = static_cast<int32_t>(std::lround(m.top + i)), col = static_cast<int32_t>(std::lround(m.left + j));
          chords.push_back({row, col, col});
        }
    Vkey made = VKEY_UNDEF;
    r = db::NewRegion(Region::Intersection(*Region::FromChords(std::move(chords)), *image.domain), &made);
    if (r == VRESULT_OK) out.Add(made);
    return r;
  });
  return rc == VRESULT_OK ? out.HandOver(ctx, 1) : rc;
}

}  // namespace

VEXA_OPERATOR(create_template) {
  TemplateData t;
  Vlong first_error = 0;
  Vresult rc = ctx.GetLong(0, &first_error);
  if (rc == VRESULT_OK && (first_error < 0 || first_error > 255)) rc = VERR_CTRL_VALUE(0);
  if (rc == VRESULT_OK) rc = InpLevels(ctx, 1, 4, &t.num_levels);
  if (rc == VRESULT_OK) rc = InpNewTemplate(ctx, 2, 3, &t);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::make_shared<TemplateModel>(std::move(t))) : rc;
}

VEXA_OPERATOR(create_template_rot) {
  TemplateData t;
  Vresult rc = InpLevels(ctx, 0, 4, &t.num_levels);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 1, -kMaxAngle, kMaxAngle, &t.angle_start);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 2, 0, kMaxAngle, &t.angle_extent);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &t.angle_step);
  if (rc == VRESULT_OK && !(t.angle_step >= kMinAngleStep && t.angle_step <= M_PI / 4)) rc = VERR_CTRL_VALUE(3);
  if (rc == VRESULT_OK) rc = InpNewTemplate(ctx, 4, 5, &t);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::make_shared<TemplateModel>(std::move(t))) : rc;
}

VEXA_OPERATOR(best_match) { return BestMatch(ctx, false, false); }
VEXA_OPERATOR(best_match_mg) { return BestMatch(ctx, true, false); }
VEXA_OPERATOR(best_match_pre_mg) { return BestMatch(ctx, true, true); }
VEXA_OPERATOR(best_match_rot) { return BestMatchRot(ctx, false); }
VEXA_OPERATOR(best_match_rot_mg) { return BestMatchRot(ctx, true); }
VEXA_OPERATOR(fast_match) { return FastMatch(ctx, false); }
VEXA_OPERATOR(fast_match_mg) { return FastMatch(ctx, true); }

// Nothing is precomputed per image size: the template and the image are
// checked, the template is unchanged.
VEXA_OPERATOR(adapt_template) {
  TemplateData t;
  cv::Mat plane;
  RegionPtr domain;
  Vresult rc = InpTemplate(ctx, 0, &t);
  if (rc == VRESULT_OK) rc = InpByteImage(ctx, 1, &plane, &domain);
  return rc;
}

// The point matches report, in the coordinates of the template image.
VEXA_OPERATOR(set_reference_template) {
  TemplateData t;
  std::shared_ptr<TemplateModel> tool;
  double row = 0, col = 0;
  Vresult rc = InpTemplate(ctx, 0, &t, &tool);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 1, -1e6, 1e6, &row);
  if (rc == VRESULT_OK) rc = InpRange(ctx, 2, -1e6, 1e6, &col);
  if (rc != VRESULT_OK) return rc;
  t.report_row = row - t.ref_row;
  t.report_col = col - t.ref_col;
  tool->Set(std::move(t));
  return VRESULT_OK;
}

// A brightness the image has over the template: the template's values
// plus the offset are compared.
VEXA_OPERATOR(set_offset_template) {
  TemplateData t;
  std::shared_ptr<TemplateModel> tool;
  Vlong offset = 0;
  Vresult rc = InpTemplate(ctx, 0, &t, &tool);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &offset);
  if (rc == VRESULT_OK && (offset < -255 || offset > 255)) rc = VERR_CTRL_VALUE(1);
  if (rc != VRESULT_OK) return rc;
  t.gray_offset = static_cast<double>(offset);
  tool->Set(std::move(t));
  return VRESULT_OK;
}

using TemplateItemOps = ToolItemOps<SharedModelCodec<TemplateModel>>;

VEXA_OPERATOR(serialize_template) { return TemplateItemOps::Serialize(ctx); }
VEXA_OPERATOR(deserialize_template) { return TemplateItemOps::Deserialize(ctx); }
VEXA_OPERATOR(write_template) { return TemplateItemOps::Write(ctx); }
VEXA_OPERATOR(read_template) { return TemplateItemOps::Read(ctx); }
VEXA_OPERATOR(clear_template) { return CloseInpTool(ctx, 0, ToolKind::kTemplate); }

VEXA_OPERATOR(clear_all_templates) {
  handles::RemoveAll(ToolKind::kTemplate);
  return VRESULT_OK;
}

}  // namespace matching
}  // namespace vexa
