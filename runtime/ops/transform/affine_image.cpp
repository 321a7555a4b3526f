// Affine and projective transforms of images, and rotation about the image
// centre. The matrix maps input pixel centres (row, column, 1) to output
// coordinates; each output pixel takes the input interpolated at its
// inverse image. The result's domain is the input domain carried along
// (the output pixels whose inverse image rounds into it), clipped to the
// output; projective transforms may instead keep the whole output as
// domain ("transform_domain" "false"), reading 0 beyond the input image.
#include <cstring>

#include "ops/common/op_objects.h"
#include "ops/image/image_op_util.h"
#include "ops/transform/warp.h"
#include "registry.h"

namespace vexa {
namespace {

// The output size: fixed, adapted to the transformed image, or the input's.
struct OutputSize {
  int32_t width = 0, height = 0;  // fixed when > 0
  bool adapt = false;
};

// "true" or "false" from input `par`.
Vresult GetFlag(const OpContext& ctx, int par, bool* flag) {
  const char* s = nullptr;
  const Vresult rc = ctx.GetString(par, &s);
  if (rc != VRESULT_OK) return rc;
  if (std::strcmp(s, "true") == 0) *flag = true;
  else if (std::strcmp(s, "false") == 0) *flag = false;
  else return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

Vresult TransformImages(OpContext& ctx, const Mat2D& fwd, Interp interp,
                        OutputSize size, bool transform_domain) {
  Mat2D inv;
  if (!InvertHomMat(fwd, &inv)) return VERR_CTRL_VALUE(0);
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    const PixelBuffer& in = *image.channels[0];
    int32_t width = size.width, height = size.height;
    if (width <= 0) {
      width = in.width(), height = in.height();
      if (size.adapt) {
        const Vresult rc = AdaptedSize(fwd, in.width(), in.height(), &width, &height);
        if (rc != VRESULT_OK) return rc;
      }
    }
    Warp w = ProjectiveWarp(inv, width, height);
    w.interp = interp;
    w.samples = SamplesForSpan(ProjectiveSpan(inv, 0.5 * height, 0.5 * width));
    if (transform_domain) {
      w.domain = ProjectiveDomain(*image.domain, inv, width, height);
    } else {
      w.domain = Region::Rectangle(0, 0, height - 1, width - 1);
      w.zero_outside = true;
    }
    return WarpImage(image, w, out);
  });
}

// Reads the output width and height of inputs `par`, `par` + 1.
Vresult GetSize(const OpContext& ctx, int par, OutputSize* size) {
  Vresult rc = GetImageSide(ctx, par, &size->width);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, par + 1, &size->height);
  return rc;
}

}  // namespace

VEXA_OPERATOR(affine_trans_image) {
  Mat2D m;
  Interp interp;
  OutputSize size;
  Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 1, &interp);
  if (rc == VRESULT_OK) rc = GetFlag(ctx, 2, &size.adapt);
  if (rc != VRESULT_OK) return rc;
  return TransformImages(ctx, m, interp, size, true);
}

VEXA_OPERATOR(affine_trans_image_size) {
  Mat2D m;
  Interp interp;
  OutputSize size;
  Vresult rc = GetHomMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 1, &interp);
  if (rc == VRESULT_OK) rc = GetSize(ctx, 2, &size);
  if (rc != VRESULT_OK) return rc;
  return TransformImages(ctx, m, interp, size, true);
}

VEXA_OPERATOR(projective_trans_image) {
  Mat2D m;
  Interp interp;
  OutputSize size;
  bool domain = true;
  Vresult rc = GetProjMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 1, &interp);
  if (rc == VRESULT_OK) rc = GetFlag(ctx, 2, &size.adapt);
  if (rc == VRESULT_OK) rc = GetFlag(ctx, 3, &domain);
  if (rc != VRESULT_OK) return rc;
  return TransformImages(ctx, m, interp, size, domain);
}

VEXA_OPERATOR(projective_trans_image_size) {
  Mat2D m;
  Interp interp;
  OutputSize size;
  bool domain = true;
  Vresult rc = GetProjMat2D(ctx, 0, &m);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 1, &interp);
  if (rc == VRESULT_OK) rc = GetSize(ctx, 2, &size);
  if (rc == VRESULT_OK) rc = GetFlag(ctx, 4, &domain);
  if (rc != VRESULT_OK) return rc;
  return TransformImages(ctx, m, interp, size, domain);
}

// Rotation by phi degrees, counter-clockwise as displayed (rows grow
// downwards), about the image centre; the output keeps the input size.
VEXA_OPERATOR(rotate_image) {
  double phi = 0.0;
  Interp interp;
  Vresult rc = GetFiniteDouble(ctx, 0, &phi);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 1, &interp);
  if (rc != VRESULT_OK) return rc;
  const double a = phi * M_PI / 180.0;
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    const PixelBuffer& in = *image.channels[0];
    const double cr = 0.5 * (in.height() - 1), cc = 0.5 * (in.width() - 1);
    // Inverse map: turn back by -phi about the centre.
    Mat2D inv;
    inv << std::cos(a), std::sin(a), 0.0, -std::sin(a), std::cos(a), 0.0, 0.0, 0.0, 1.0;
    inv.topRightCorner<2, 1>() =
        Eigen::Vector2d(cr, cc) - inv.topLeftCorner<2, 2>() * Eigen::Vector2d(cr, cc);
    Warp w = ProjectiveWarp(inv, in.width(), in.height());
    w.interp = interp;
    w.domain = ProjectiveDomain(*image.domain, inv, in.width(), in.height());
    return WarpImage(image, w, out);
  });
}

}  // namespace vexa
