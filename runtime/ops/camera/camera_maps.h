// Maps from the pixels of an output image to source pixels of a camera
// image: the same scene seen by a camera with other parameters, or the
// world plane z = 0 seen by a camera. They are sampled once per output
// pixel into a SampledMap, which becomes a map image (the convention of
// map_image: two real channels, source row and column, or one int4
// channel, the source index row * width + column) or resamples images
// directly.
#pragma once

#include <functional>
#include <vector>

#include "ops/camera/cam_par.h"
#include "ops/math/hom_mat.h"
#include "ops/transform/interpolation.h"
#include "region_store.h"

namespace vexa {

// The source point (sr, sc) of output pixel (y, x); false when it has none.
using CameraSource = std::function<bool(double y, double x, double* sr, double* sc)>;

// Output pixels of camera `out` to the pixels of camera `in` that see the
// same line of sight.
CameraSource CameraChange(const CamPar& in, const CamPar& out);
// Output pixel (y, x) is the world plane point (x, y) * metres_per_pixel
// of the world pose `world_to_cam`; its source is that point's pixel.
CameraSource WorldPlaneView(const CamPar& cam, const Mat3D& world_to_cam,
                            double metres_per_pixel);

struct SampledMap {
  int32_t width = 0, height = 0;
  std::vector<float> rows, cols;  // row order, one per output pixel
  RegionPtr valid;                // pixels with a source
};

SampledMap SampleMap(const CameraSource& source, int32_t width, int32_t height);

// Input `par`: "bilinear" (false) or "nearest_neighbor" (true) map.
Vresult GetMapType(const OpContext& ctx, int par, bool* index_map);
// The map as a map image at output object 1; an index map addresses an
// in_width x in_height image (-1 for sources outside it).
Vresult OutpMapImage(OpContext& ctx, const SampledMap& map, bool index_map, int32_t in_width,
                     int32_t in_height);
// Every image of input object 1 resampled through the map to output
// object 1; the result's domain is the map's valid pixels within
// `region` (all when null) whose source rounds into the image's domain.
Vresult WarpThroughMap(OpContext& ctx, const SampledMap& map, Interp interp, RegionPtr region);

}  // namespace vexa
