// Two cameras: the point where the lines of sight of two pixels (nearly)
// meet, and depth from disparity for a rectified pair. The relative pose
// maps coordinates of the second camera into those of the first.
#include <algorithm>
#include <cmath>

#include "ops/camera/point_columns.h"
#include "ops/camera/rectified_pair.h"
#include "ops/common/cv_wrap.h"
#include "ops/common/op_objects.h"
#include "ops/camera/projection.h"
#include "ops/math/hom_mat.h"
#include "ops/math/pose.h"
#include "registry.h"

namespace vexa {
namespace {

// Writes f(value) for every value of input 3 to output 0.
template <class Fn>
Vresult MapInput3(OpContext& ctx, Fn&& fn) {
  RectifiedPair pair;
  std::vector<double> in;
  Vresult rc = GetRectifiedPair(ctx, &pair);
  if (rc == VRESULT_OK) rc = GetFiniteDoubles(ctx, 3, &in);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> out;
  for (double v : in) {
    double r = 0.0;
    rc = fn(pair, v, &r);
    if (rc != VRESULT_OK) return rc;
    out.push_back(r);
  }
  return ctx.SetOutpDoubles(0, out);
}

}  // namespace

// Depth (z in the first camera) of the point seen with a column disparity
// (column in image 2 minus column in image 1).
VEXA_OPERATOR(disparity_to_distance) {
  return MapInput3(ctx, DistanceOfDisparity);
}

VEXA_OPERATOR(distance_to_disparity) {
  return MapInput3(ctx, [](const RectifiedPair& p, double z, double* disparity) {
    if (!(z > 0.0)) return VERR_CTRL_VALUE(3);
    *disparity = p.offset - p.scale / z;
    return VRESULT_OK;
  });
}

// The 3D points (x, y, z in the first camera) of pixels of image 1 and
// their column disparities.
VEXA_OPERATOR(disparity_to_point_3d) {
  RectifiedPair pair;
  std::vector<std::vector<double>> in;
  Vresult rc = GetRectifiedPair(ctx, &pair);
  if (rc == VRESULT_OK) rc = GetPointTuples(ctx, {3, 4, 5}, &in);
  if (rc != VRESULT_OK) return rc;
  PointColumns out = MakeColumns(3, in[0].size());
  for (size_t i = 0; i < in[0].size(); ++i) {
    Eigen::Vector3d p;
    rc = PointOfDisparity(pair, in[0][i], in[1][i], in[2][i], &p);
    if (rc != VRESULT_OK) return rc;
    for (int k = 0; k < 3; ++k) out[static_cast<size_t>(k)].push_back(p[k]);
  }
  return SetOutpColumns(ctx, out);
}

// x, y and z images (real, the disparity image's domain) of the points
// that a disparity image of image 1 shows; pixels whose point would lie
// behind the camera leave the domain.
VEXA_OPERATOR(disparity_image_to_xyz) {
  RectifiedPair pair;
  db::ImageData image;
  Vresult rc = GetRectifiedPair(ctx, &pair);
  if (rc == VRESULT_OK) rc = InpSingleImage(ctx, 1, &image);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& px = *image.channels[0];
  if (px.type() == PixelType::kComplex) return VERR_PIXEL_TYPE;
  const cv::Size size(px.width(), px.height());
  // Three separate matrices (copies of one cv::Mat would share data).
  std::vector<cv::Mat> xyz(3);
  for (cv::Mat& m : xyz) m = cv::Mat::zeros(size, CV_64F);
  std::vector<Chord> seen;
  for (const Chord& ch : image.domain->chords())
    for (int32_t c = ch.cb; c <= ch.ce; ++c) {
      Eigen::Vector3d p;
      if (PointOfDisparity(pair, ch.r, c, px.Get(ch.r, c), &p) != VRESULT_OK) continue;
      for (int k = 0; k < 3; ++k) xyz[static_cast<size_t>(k)].at<double>(ch.r, c) = p[k];
      seen.emplace_back(ch.r, c, c);
    }
  const RegionPtr domain = Region::FromChords(std::move(seen));
  NewKeys out[3];
  for (int k = 0; k < 3 && rc == VRESULT_OK; ++k) {
    Vkey key = VKEY_UNDEF;
    rc = db::NewBlankImage(PixelType::kReal, size.width, size.height, 1, domain, &key);
    PixelBuffer* dst = nullptr;
    if (rc == VRESULT_OK) out[k].Add(key);
    if (rc == VRESULT_OK) rc = db::WritableChannel(key, 0, &dst);
    if (rc == VRESULT_OK) StoreInDomain(xyz[static_cast<size_t>(k)], cv::Rect(cv::Point(0, 0), size), *domain, dst);
  }
  for (int k = 0; k < 3 && rc == VRESULT_OK; ++k) rc = out[k].HandOver(ctx, k + 1);
  return rc;
}

// The midpoint of the shortest segment between the two lines of sight, in
// the first camera's coordinates, and the segment's length. Lines that
// are parallel or meet behind a camera give VERR_CAM_BEHIND.
VEXA_OPERATOR(intersect_lines_of_sight) {
  CamPar c1, c2;
  Mat3D rel;
  PoseType type;
  std::vector<std::vector<double>> px;
  Vresult rc = GetCamPar(ctx, 0, &c1);
  if (rc == VRESULT_OK) rc = GetCamPar(ctx, 1, &c2);
  if (rc == VRESULT_OK) rc = GetPose(ctx, 2, &rel, &type);
  if (rc == VRESULT_OK) rc = GetPointTuples(ctx, {3, 4, 5, 6}, &px);
  if (rc != VRESULT_OK) return rc;
  const Eigen::Matrix3d r = rel.topLeftCorner<3, 3>();
  const Eigen::Vector3d o2 = rel.topRightCorner<3, 1>();
  PointColumns out = MakeColumns(4, px[0].size());
  for (size_t i = 0; i < px[0].size(); ++i) {
    Eigen::Vector3d d1, d2;
    rc = PixelRay(c1, px[0][i], px[1][i], &d1);
    if (rc == VRESULT_OK) rc = PixelRay(c2, px[2][i], px[3][i], &d2);
    if (rc != VRESULT_OK) return rc;
    d1.normalize();
    d2 = (r * d2).normalized();
    // o1 + s d1 and o2 + u d2 closest, with o1 = 0.
    Eigen::Matrix<double, 3, 2> a;
    a << d1, -d2;
    if (!(d1.cross(d2).norm() > 1e-12)) return VERR_CAM_BEHIND;
    const Eigen::Vector2d su = a.colPivHouseholderQr().solve(o2);
    if (!(su[0] > 0.0 && su[1] > 0.0)) return VERR_CAM_BEHIND;
    const Eigen::Vector3d p1 = su[0] * d1, p2 = o2 + su[1] * d2;
    const Eigen::Vector3d mid = 0.5 * (p1 + p2);
    for (int k = 0; k < 3; ++k) out[k].push_back(mid[k]);
    out[3].push_back((p1 - p2).norm());
  }
  return SetOutpColumns(ctx, out);
}

}  // namespace vexa
