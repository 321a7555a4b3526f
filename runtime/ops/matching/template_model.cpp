// Gray-value templates: their gray-value modes and their bytes.
#include "template_model.h"

#include <cstring>
#include <opencv2/imgproc.hpp>

#include "gradient_pyramid.h"

namespace vexa {
namespace matching {

bool ParseGrayMode(const char* name, GrayMode* mode) {
  static const char* const kNames[] = {"original", "normalized", "gradient", "sobel"};
  for (int i = 0; i < 4; ++i)
    if (std::strcmp(name, kNames[i]) == 0) {
      *mode = static_cast<GrayMode>(i);
      return true;
    }
  return false;
}

cv::Mat GrayValues(const cv::Mat& plane, GrayMode mode) {
  cv::Mat out;
  switch (mode) {
    case GrayMode::kOriginal:
      return plane;
    case GrayMode::kNormalized: {
      double lo = 0, hi = 0;
      cv::minMaxLoc(plane, &lo, &hi);
      plane.convertTo(out, CV_32F, hi > lo ? 255.0 / (hi - lo) : 1.0, hi > lo ? -lo * 255.0 / (hi - lo) : 0.0);
      return out;
    }
    case GrayMode::kGradient:
    case GrayMode::kSobel: {
      cv::Mat gr, gc;
      Gradients(plane, &gr, &gc);
      if (mode == GrayMode::kGradient) {
        cv::magnitude(gr, gc, out);
      } else {
        // The sum of the absolute Sobel components (Gradients divides by 4).
        out = (cv::abs(gr) + cv::abs(gc)) * 4;
      }
      return out;
    }
  }
  return plane;
}

ItemBytes TemplateModel::Payload() const {
  const TemplateData d = Get();
  ByteWriter w;
  w.U8(static_cast<uint8_t>(d.mode));
  w.I32(d.num_levels);
  for (double v : {d.angle_start, d.angle_extent, d.angle_step, d.gray_offset, d.ref_row, d.ref_col, d.report_row,
                   d.report_col})
    w.F64(v);
  WritePatch(w, d.patch);
  return w.bytes();
}

Vresult TemplateModel::FromPayload(ByteReader* r, std::shared_ptr<TemplateModel>* model) {
  TemplateData d;
  uint8_t mode = 0;
  int32_t levels = 0;
  bool ok = r->U8(&mode) && mode <= 3 && r->I32(&levels) && levels >= 1 && levels <= kMaxTemplateLevels;
  for (double* v : {&d.angle_start, &d.angle_extent, &d.angle_step, &d.gray_offset, &d.ref_row, &d.ref_col,
                    &d.report_row, &d.report_col})
    ok = ok && r->F64(v) && std::fabs(*v) <= 1e6;
  ok = ok && d.angle_extent >= 0 && d.angle_step >= 0 && (d.angle_step == 0 || d.angle_step >= kMinAngleStep) &&
       (d.angle_extent == 0 || d.angle_step > 0) &&
       ReadPatch(*r, &d.patch) && r->remaining() == 0;
  if (!ok) return VERR_FILE_CORRUPT;
  d.mode = static_cast<GrayMode>(mode);
  d.num_levels = levels;
  *model = std::make_shared<TemplateModel>(std::move(d));
  return VRESULT_OK;
}

}  // namespace matching
}  // namespace vexa
