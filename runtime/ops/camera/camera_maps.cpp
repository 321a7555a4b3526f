#include "ops/camera/camera_maps.h"

#include <cmath>
#include <cstring>

#include "objdb.h"
#include "ops/camera/projection.h"
#include "ops/image/image_op_util.h"
#include "ops/transform/warp.h"

namespace vexa {

CameraSource CameraChange(const CamPar& in, const CamPar& out) {
  return [in, out](double y, double x, double* sr, double* sc) {
    return ChangeCamera(out, in, y, x, sr, sc) == VRESULT_OK;
  };
}

CameraSource WorldPlaneView(const CamPar& cam, const Mat3D& world_to_cam,
                            double metres_per_pixel) {
  return [cam, world_to_cam, metres_per_pixel](double y, double x, double* sr, double* sc) {
    const Eigen::Vector4d p = world_to_cam * Eigen::Vector4d(x * metres_per_pixel,
                                                             y * metres_per_pixel, 0.0, 1.0);
    return ProjectPoint(cam, p.head<3>(), sr, sc) == VRESULT_OK;
  };
}

SampledMap SampleMap(const CameraSource& source, int32_t width, int32_t height) {
  SampledMap map;
  map.width = width, map.height = height;
  const size_t n = static_cast<size_t>(width) * height;
  map.rows.assign(n, -1.0f);
  map.cols.assign(n, -1.0f);
  std::vector<Chord> chords;
  for (int32_t y = 0; y < height; ++y) {
    int32_t begin = -1;
    for (int32_t x = 0; x <= width; ++x) {
      double sr = 0.0, sc = 0.0;
      const size_t o = static_cast<size_t>(y) * width + x;
      const bool ok = x < width && source(y, x, &sr, &sc) && std::fabs(sr) < 1e7 &&
                      std::fabs(sc) < 1e7;
      if (ok) {
        map.rows[o] = static_cast<float>(sr), map.cols[o] = static_cast<float>(sc);
        if (begin < 0) begin = x;
      } else if (begin >= 0) {
        chords.emplace_back(y, begin, x - 1);
        begin = -1;
      }
    }
  }
  map.valid = Region::FromChords(std::move(chords));
  return map;
}

Vresult GetMapType(const OpContext& ctx, int par, bool* index_map) {
  const char* name = nullptr;
  const Vresult rc = ctx.GetString(par, &name);
  if (rc != VRESULT_OK) return rc;
  *index_map = std::strcmp(name, "nearest_neighbor") == 0;
  return *index_map || std::strcmp(name, "bilinear") == 0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

Vresult OutpMapImage(OpContext& ctx, const SampledMap& map, bool index_map, int32_t in_width,
                     int32_t in_height) {
  Channels channels(index_map ? 1 : 2);
  for (auto& ch : channels) {
    const Vresult rc = PixelBuffer::Create(index_map ? PixelType::kInt4 : PixelType::kReal,
                                           map.width, map.height, &ch);
    if (rc != VRESULT_OK) return rc;
  }
  const size_t n = map.rows.size();
  if (index_map) {
    int32_t* index = reinterpret_cast<int32_t*>(channels[0]->data());
    for (size_t o = 0; o < n; ++o) {
      const double r = std::floor(map.rows[o] + 0.5), c = std::floor(map.cols[o] + 0.5);
      const bool inside = r >= 0 && c >= 0 && r < in_height && c < in_width;
      index[o] = inside ? static_cast<int32_t>(r) * in_width + static_cast<int32_t>(c) : -1;
    }
  } else {
    std::memcpy(channels[0]->data(), map.rows.data(), n * sizeof(float));
    std::memcpy(channels[1]->data(), map.cols.data(), n * sizeof(float));
  }
  Vkey key = VKEY_UNDEF;
  const Vresult rc = db::NewImage(map.valid, std::move(channels), &key);
  return rc == VRESULT_OK ? ctx.SetOutpObj(1, key) : rc;
}

Vresult WarpThroughMap(OpContext& ctx, const SampledMap& map, Interp interp, RegionPtr region) {
  const RegionPtr valid = region ? Region::Intersection(*map.valid, *region) : map.valid;
  return MakePerImage(ctx, 1, 1, [&](Vkey, const db::ImageData& image, Vkey* out) {
    Warp w;
    w.width = map.width;
    w.height = map.height;
    w.interp = interp;
    const float* rows = map.rows.data();
    const float* cols = map.cols.data();
    const int32_t width = map.width;
    w.source = [=](double y, double x, double* sr, double* sc) {
      const size_t o = static_cast<size_t>(y) * width + static_cast<size_t>(x);
      *sr = rows[o], *sc = cols[o];
    };
    w.domain = Region::Intersection(*valid, *MappedDomain(*image.domain,
                                                          image.channels[0]->width(),
                                                          image.channels[0]->height(), w));
    return WarpImage(image, w, out);
  });
}

}  // namespace vexa
