// The tool behind a gray-value template handle: a gray-value patch (the
// template image's domain) found where it differs least from the image.
//
// Error. The error of a position is the root mean square difference of
// the gray values under the template's domain (the template's values plus
// its gray offset against the image's), 0..255 for byte images. The
// position of a match is the template's reference point (the domain's
// centre of gravity) moved by the reference offset of
// set_reference_template.
//
// Gray values. "original" compares the pixels as they are; "normalized"
// stretches the template and the image each to 0..255 over their own
// minimum and maximum; "gradient" compares gradient magnitudes (3x3 Sobel
// divided by 4) and "sobel" the sum of the absolute Sobel components,
// which makes the comparison independent of the brightness.
#pragma once

#include <cmath>
#include <memory>

#include "gray_patch.h"
#include "handle_registry.h"
#include "locked_tool.h"

namespace vexa {
namespace matching {

enum class GrayMode : uint8_t { kOriginal, kNormalized, kGradient, kSobel };
// "original", ...; false for an unknown name.
bool ParseGrayMode(const char* name, GrayMode* mode);
// The plane the comparison works on, `plane` (CV_32F) transformed by `mode`.
cv::Mat GrayValues(const cv::Mat& plane, GrayMode mode);

constexpr int kMaxTemplateLevels = 10;

struct TemplateData {
  GrayPatch patch;  // gray values already transformed by `mode`
  GrayMode mode = GrayMode::kOriginal;
  int num_levels = 1;
  double angle_start = 0, angle_extent = 0, angle_step = 0;  // extent 0: not rotated
  double gray_offset = 0;
  // Reference point of the template in its image, and the point matches
  // report relative to it.
  double ref_row = 0, ref_col = 0, report_row = 0, report_col = 0;
};

class TemplateModel : public LockedTool<TemplateData> {
 public:
  static constexpr ToolKind kKind = ToolKind::kTemplate;
  static constexpr ItemKind kItemKind = ItemKind::kTemplate;
  using LockedTool::LockedTool;
  ItemBytes Payload() const;
  static Vresult FromPayload(ByteReader* r, std::shared_ptr<TemplateModel>* model);
};

struct TemplateMatch {
  double row = 0, col = 0, angle = 0;
  double error = 255;  // above every possible error: nothing found
};

// The map of errors of the template turned by `angle` (0: as it is) over
// `image` (already transformed): pixel (i, j) is the reference point at
// (top + i, left + j). Empty when the template does not fit.
struct ErrorMap {
  cv::Mat map;
  double top = 0, left = 0;
};
ErrorMap TemplateErrors(const cv::Mat& image, const GrayPatch& patch, double gray_offset, double angle);

// The best match over the pyramid levels `lowest`..levels-1 of `images`
// (images[l] is level l, already transformed), the angles of
// start..start+extent, reference points inside `domain` (null: anywhere),
// with error at most `max_error`; the error is that of level `lowest`,
// the coordinates are level 0.
TemplateMatch BestTemplateMatch(const TemplateData& t, const std::vector<cv::Mat>& images, const Region* domain,
                                double angle_start, double angle_extent, double max_error, bool sub_pixel,
                                int lowest);

}  // namespace matching
}  // namespace vexa
