// Images and map images between cameras and onto the world plane.
#include "ops/camera/camera_maps.h"
#include "ops/camera/projection.h"
#include "ops/common/op_objects.h"
#include "ops/image/image_op_util.h"
#include "registry.h"

namespace vexa {
namespace {

// Camera, world pose and the unit of one output pixel (inputs 0, 1 and
// scale_par) as the map onto the world plane.
Vresult GetWorldPlaneView(const OpContext& ctx, int scale_par, CameraSource* source) {
  WorldPlane plane;
  const Vresult rc = GetWorldPlane(ctx, 0, scale_par, &plane);
  if (rc == VRESULT_OK) *source = WorldPlaneView(plane.cam, plane.world_to_cam, plane.metres);
  return rc;
}

}  // namespace

// A map of camera_out's image size whose pixels hold where camera_in sees
// their lines of sight.
VEXA_OPERATOR(gen_radial_distortion_map) {
  CamPar in, out;
  bool index_map = false;
  Vresult rc = GetCamPar(ctx, 0, &in);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 1, &out);
  if (rc == VRESULT_OK) rc = GetMapType(ctx, 2, &index_map);
  if (rc != VRESULT_OK) return rc;
  const SampledMap map = SampleMap(CameraChange(in, out), static_cast<int32_t>(out.width),
                                   static_cast<int32_t>(out.height));
  return OutpMapImage(ctx, map, index_map, static_cast<int32_t>(in.width),
                      static_cast<int32_t>(in.height));
}

// Images of camera_in (of its image size) as camera_out would show them,
// bilinear, computed inside `region`.
VEXA_OPERATOR(change_radial_distortion_image) {
  CamPar in, out;
  Vkey region_key = VKEY_UNDEF;
  RegionPtr region;
  Vresult rc = GetCamPar(ctx, 0, &in);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 1, &out);
  if (rc == VRESULT_OK) rc = ctx.InpObjSingle(2, &region_key);
  if (rc == VRESULT_OK) rc = InpRegion(2, region_key, &region);
  if (rc == VRESULT_OK)
    rc = ctx.ForEachInpObj(1, [&](Vkey key, Vlong) {
      db::ImageData image;
      Vresult r = InpImage(1, key, &image);
      if (r == VRESULT_OK && (image.channels[0]->width() != in.width ||
                              image.channels[0]->height() != in.height))
        r = VERR_IMAGE_SIZE;
      return r;
    });
  if (rc != VRESULT_OK) return rc;
  const SampledMap map = SampleMap(CameraChange(in, out), static_cast<int32_t>(out.width),
                                   static_cast<int32_t>(out.height));
  return WarpThroughMap(ctx, map, Interp::kBilinear, region);
}

// A map of width_mapped x height_mapped whose pixel (r, c) is the world
// plane point (c, r) * scale, for camera images of width_in x height_in.
VEXA_OPERATOR(gen_image_to_world_plane_map) {
  CameraSource source;
  int32_t in_w = 0, in_h = 0, out_w = 0, out_h = 0;
  bool index_map = false;
  Vresult rc = GetWorldPlaneView(ctx, 6, &source);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 2, &in_w);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 3, &in_h);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 4, &out_w);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 5, &out_h);
  if (rc == VRESULT_OK) rc = GetMapType(ctx, 7, &index_map);
  if (rc != VRESULT_OK) return rc;
  return OutpMapImage(ctx, SampleMap(source, out_w, out_h), index_map, in_w, in_h);
}

// Camera images resampled onto the world plane: pixel (r, c) of the
// width x height result shows the world point (c, r) * scale.
VEXA_OPERATOR(image_to_world_plane) {
  CameraSource source;
  int32_t w = 0, h = 0;
  Interp interp = Interp::kBilinear;
  Vresult rc = GetWorldPlaneView(ctx, 4, &source);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 2, &w);
  if (rc == VRESULT_OK) rc = GetImageSide(ctx, 3, &h);
  if (rc == VRESULT_OK) rc = GetInterpolation(ctx, 5, &interp);
  if (rc != VRESULT_OK) return rc;
  return WarpThroughMap(ctx, SampleMap(source, w, h), interp, nullptr);
}

}  // namespace vexa
