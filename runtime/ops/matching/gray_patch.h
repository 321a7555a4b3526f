// A gray-value patch: the pixels of a template image's domain inside its
// bounding box, the domain as a 0/1 mask, and the reference point (the
// domain's centre of gravity) in patch coordinates. NCC models and
// gray-value templates both match such patches; this file holds what they
// share: reading one from an image, its pyramid, rotated copies, the
// masked correlation, and its bytes in a stored model.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "op_context.h"
#include "ops/serialize/item_format.h"
#include "region_store.h"

namespace vexa {
namespace matching {

struct GrayPatch {
  cv::Mat gray;  // CV_32F
  cv::Mat mask;  // CV_8U, 1 inside the domain, same size
  double ref_row = 0, ref_col = 0;
};

// The patch of the single byte image at input object `par` (its first
// channel): VERR_PIXEL_TYPE for other types; an empty domain gives
// VERR_OBJ_NUM(par), as there is no template.
Vresult InpPatch(OpContext& ctx, int par, GrayPatch* patch);
// The patch of `plane` (CV_32F) under `domain`; false for an empty domain.
bool PatchOf(const cv::Mat& plane, const Region& domain, GrayPatch* patch);

// The first channel of the single byte image at input object `par` as
// float, with its domain.
Vresult InpByteImage(OpContext& ctx, int par, cv::Mat* plane, RegionPtr* domain);

// Levels 0..levels-1 of the patch, each a 2x2 mean of the one below; a
// mask pixel of a level is set when all four pixels below it are. Stops
// early when a level would lose its last domain pixel.
std::vector<GrayPatch> PatchPyramid(const GrayPatch& patch, int levels);

// The patch rotated by `angle` (counter-clockwise as displayed) about its
// reference point, on a square canvas whose centre pixel (centre, centre)
// is the reference point. Mask pixels whose source falls partly outside
// the domain are dropped.
struct RotatedPatch {
  cv::Mat gray, mask;
  int centre = 0;
};
RotatedPatch RotatePatch(const GrayPatch& patch, double angle);

// The normalised cross-correlation of the masked template at every
// position where it lies inside `image` (result (r, c) for the template's
// top-left corner at (r, c)), in -1..1; 0 where the image under the mask is
// flat or the template is.
cv::Mat MaskedNcc(const cv::Mat& image, const cv::Mat& templ, const cv::Mat& mask);

// Smallest angle step a model or template may use: finer steps would
// multiply the search time without a measurable gain.
constexpr double kMinAngleStep = 1e-3;

// Angles start .. start + extent (at most a full turn) in equal steps of
// at most `step`; just `start` for an extent of 0.
std::vector<double> AngleRange(double start, double extent, double step);

// Largest patch side a stored model may hold.
constexpr int kMaxPatchSide = 4096;
void WritePatch(ByteWriter& w, const GrayPatch& patch);
bool ReadPatch(ByteReader& r, GrayPatch* patch);

// Sub-pixel offset (-0.5..0.5) of the peak of a parabola through three
// equally spaced values with the middle one largest.
inline double ParabolaPeak(double before, double at, double after) {
  const double denom = before - 2 * at + after;
  if (!(denom < 0)) return 0;
  const double t = 0.5 * (before - after) / denom;
  return t < -0.5 ? -0.5 : (t > 0.5 ? 0.5 : t);
}

}  // namespace matching
}  // namespace vexa
