// Resampling an image through a map from output pixels to source points:
// the common engine of the geometric image transforms.
//
// The result has the map's output size and domain; each domain pixel gets
// the source interpolated at its source point, every channel and both
// planes of complex pixels alike. Direction and cyclic pixels hold angles,
// which do not interpolate: they are always read at the nearest pixel.
// Pixels outside the domain are left undefined.
//
// Projective maps of byte, int2, uint2, real and complex images with
// nearest or bilinear sampling run on the OpenCV warping kernels, over the
// bounding box of the output domain only, so that a small domain costs
// little (their bilinear weights are quantised to 1/32 pixel).
#pragma once

#include <functional>

#include "objdb.h"
#include "ops/math/hom_mat.h"
#include "ops/transform/interpolation.h"

namespace vexa {

// The source point (sr, sc) of output point (y, x).
using SourceMap = std::function<void(double y, double x, double* sr, double* sc)>;

struct Warp {
  int32_t width = 0, height = 0;  // output size
  RegionPtr domain;               // output domain, inside the output
  Interp interp = Interp::kBilinear;
  // Samples per axis over an output pixel for "weighted" and "constant".
  int samples = 1;
  // Source pixels beyond the image read 0 instead of repeating the border.
  bool zero_outside = false;
  SourceMap source;
  // When the map is the projective `inverse` (output -> source, on
  // (row, column, 1)): enables the OpenCV kernels.
  bool projective = false;
  Mat2D inverse = Mat2D::Identity();
  // The map scales the whole image to the output size, pixel squares onto
  // pixel squares: the resize kernel applies, over the whole output or a
  // box around the domain.
  bool pixel_scale = false;
};

// A Warp for the projective map `inverse`, output domain and sampling
// still to be set.
Warp ProjectiveWarp(const Mat2D& inverse, int32_t width, int32_t height);

// Samples per axis for "weighted"/"constant" when one output pixel spans
// `span` source pixels (1 up to a limit).
int SamplesForSpan(double span);
// The largest source span of one output pixel under an affine or
// projective map, measured at the output point (y, x).
double ProjectiveSpan(const Mat2D& inverse, double y, double x);

// Output pixels (of a width x height image) whose source point under the
// projective `inverse` has its nearest pixel in `domain`.
RegionPtr ProjectiveDomain(const Region& domain, const Mat2D& inverse,
                           int32_t width, int32_t height);
// The same for any map: output pixels of w.width x w.height whose source
// point rounds to a pixel of `domain` within in_width x in_height.
RegionPtr MappedDomain(const Region& domain, int32_t in_width,
                       int32_t in_height, const Warp& w);

// The resampled image.
Vresult WarpImage(const db::ImageData& image, const Warp& w, Vkey* out);

// Output size of a map of the whole in_width x in_height image by the
// forward matrix `fwd`: from 0 to just past its farthest pixel corner
// (at least 1 pixel). VERR_TOO_LARGE beyond the largest image or when the
// image reaches infinity.
Vresult AdaptedSize(const Mat2D& fwd, int32_t in_width, int32_t in_height,
                    int32_t* width, int32_t* height);

}  // namespace vexa
