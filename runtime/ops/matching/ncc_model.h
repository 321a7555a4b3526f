// The tool behind an NCC model handle: a gray-value patch (the template
// image's domain) matched by normalised cross-correlation, with the
// parameters it was made with.
//
// The search rotates the patch about its reference point (the domain's
// centre of gravity) by the angles of the model's range, correlates it
// with every position of the top pyramid level, and follows the
// candidates down the pyramid in a window of a few pixels and one angle
// step to either side. Angles are counter-clockwise as displayed, as for
// shape models. The origin that matches report is relative to the
// reference point (set_ncc_model_origin).
#pragma once

#include <cmath>
#include <memory>

#include "gray_patch.h"
#include "handle_registry.h"
#include "locked_tool.h"

namespace vexa {
namespace matching {

constexpr int kMaxNccLevels = 10;
constexpr double kMaxNccAngleStep = M_PI / 4;

struct NccModelData {
  GrayPatch patch;
  int num_levels = 1;
  double angle_start = 0, angle_extent = 0, angle_step = 0;
  bool ignore_polarity = false;  // "ignore_global_polarity": |score|
  double origin_row = 0, origin_col = 0;
};

class NccModel : public LockedTool<NccModelData> {
 public:
  static constexpr ToolKind kKind = ToolKind::kNccModel;
  static constexpr ItemKind kItemKind = ItemKind::kNccModel;
  using LockedTool::LockedTool;
  ItemBytes Payload() const;
  static Vresult FromPayload(ByteReader* r, std::shared_ptr<NccModel>* model);
};

struct NccMatch {
  double row, col, angle, score;  // reference point, level 0
};

struct NccSearch {
  double angle_start = 0, angle_extent = 0;
  double min_score = 0.8;
  Vlong num_matches = 1;  // 0: all
  double max_overlap = 0.5;
  bool sub_pixel = true;
  int num_levels = 0;  // 0: the model's
};

// Matches of the model in `image` (CV_32F) whose reference point lies in
// `domain` (null: anywhere), best first.
std::vector<NccMatch> FindNccModel(const NccModelData& model, const cv::Mat& image, const Region* domain,
                                   const NccSearch& search);

// Default angle step for a patch: the angle that moves its farthest pixel
// by one pixel.
double AutoAngleStep(const GrayPatch& patch);
// Default number of levels: halve while the top level keeps at least
// 8 pixels across its domain.
int AutoNumLevels(const GrayPatch& patch);

}  // namespace matching
}  // namespace vexa
