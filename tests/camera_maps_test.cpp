// Images, map images and contours through the camera model, checked on
// ramp images (whose gray value is the column or the row, so that the
// resampled value tells where each pixel was read) against the
// point-wise operators.
#include "camera_test_support.h"

namespace {

using namespace camera_test;
using namespace math_test;
using namespace Vexa;

class CameraMapsTest : public LeakCheckedTest {};

// A real 640 x 480 image whose value is the column (or the row).
Vobject Ramp(bool rows) {
  Vobject image;
  EXPECT_EQ(gen_image_surface_first_order(&image, "real", rows ? 1.0 : 0.0, rows ? 0.0 : 1.0, 0.0,
                                          0.0, 0.0, Vlong{640}, Vlong{480}),
            VRESULT_OK);
  return image;
}

VTuple Pixels(const std::vector<Vlong>& v) {
  VTuple t;
  for (size_t i = 0; i < v.size(); ++i) t[static_cast<Vlong>(i)] = v[i];
  return t;
}
VTuple SampleRows() { return Pixels({10, 10, 75, 75, 140, 140, 30}); }
VTuple SampleCols() { return Pixels({10, 190, 100, 20, 10, 190, 150}); }

// The values of `image` at the sample pixels.
VTuple Values(const Vobject& image) {
  VTuple v;
  EXPECT_EQ(get_grayval(image, SampleRows(), SampleCols(), &v), VRESULT_OK);
  return v;
}

const VTuple kWorld = Pose(-0.05, -0.0375, 0.5, 5, 3, 10);

TEST_F(CameraMapsTest, WorldPlaneImagesShowTheProjectedPoints) {
  const VTuple cam = PolynomialCam();
  // Output pixel (r, c) is the world point (c, r) * 0.5 mm.
  const Eigen::Matrix4d map = PoseMap(kWorld);
  VTuple rows, cols;
  for (Vlong i = 0; i < SampleRows().Num(); ++i) {
    const Eigen::Vector4d p =
        map * Eigen::Vector4d(SampleCols()[i].D() * 5e-4, SampleRows()[i].D() * 5e-4, 0, 1);
    VTuple r, c;
    ASSERT_EQ(project_3d_point(p.x(), p.y(), p.z(), cam, &r, &c), VRESULT_OK);
    rows[i] = r[0], cols[i] = c[0];
  }
  Vobject col_view, row_view, map_image_out, world_map;
  ASSERT_EQ(image_to_world_plane(Ramp(false), &col_view, cam, kWorld, 200, 150, 5e-4, "bilinear"),
            VRESULT_OK);
  ASSERT_EQ(image_to_world_plane(Ramp(true), &row_view, cam, kWorld, 200, 150, 5e-4, "bilinear"),
            VRESULT_OK);
  const VTuple got_cols = Values(col_view), got_rows = Values(row_view);
  for (Vlong i = 0; i < rows.Num(); ++i) {
    EXPECT_NEAR(got_cols[i].D(), cols[i].D(), 1e-3) << i;
    EXPECT_NEAR(got_rows[i].D(), rows[i].D(), 1e-3) << i;
  }
  // The map image, applied by map_image, reads the same pixels.
  ASSERT_EQ(gen_image_to_world_plane_map(&world_map, cam, kWorld, 640, 480, 200, 150, 5e-4,
                                         "bilinear"),
            VRESULT_OK);
  ASSERT_EQ(map_image(Ramp(false), world_map, &map_image_out), VRESULT_OK);
  const VTuple a = Values(col_view), b = Values(map_image_out);
  for (Vlong i = 0; i < a.Num(); ++i) EXPECT_NEAR(a[i].D(), b[i].D(), 1e-3);

  // An index map holds the rounded source pixel.
  Vobject index_map;
  ASSERT_EQ(gen_image_to_world_plane_map(&index_map, cam, kWorld, 640, 480, 200, 150, 5e-4,
                                         "nearest_neighbor"),
            VRESULT_OK);
  const VTuple index = Values(index_map);
  for (Vlong i = 0; i < index.Num(); ++i)
    EXPECT_EQ(index[i].L(), std::lround(rows[i].D()) * 640 + std::lround(cols[i].D())) << i;

  Vobject out;
  EXPECT_EQ(gen_image_to_world_plane_map(&out, cam, kWorld, 640, 480, 200, 150, 5e-4, "cubic"),
            VERR_CTRL_VALUE(7));
  EXPECT_EQ(gen_image_to_world_plane_map(&out, cam, kWorld, 0, 480, 200, 150, 5e-4, "bilinear"),
            VERR_CTRL_VALUE(2));
  EXPECT_EQ(image_to_world_plane(Ramp(false), &out, cam, kWorld, 200, 150, -1.0, "bilinear"),
            VERR_CTRL_VALUE(4));
  EXPECT_EQ(image_to_world_plane(Ramp(false), &out, cam, kWorld, 200, 150, 1.0, "spline"),
            VERR_CTRL_VALUE(5));
}

TEST_F(CameraMapsTest, ImagesOfAnotherCameraReadWhereThatCameraLooks) {
  const VTuple in = PolynomialCam(), out = PolynomialCam(0, 0, 0, 0, 0);
  VTuple rows, cols;
  ASSERT_EQ(change_radial_distortion_points(SampleRows(), SampleCols(), out, in, &rows, &cols),
            VRESULT_OK);
  Vobject region, col_view, row_view, map, mapped;
  ASSERT_EQ(gen_rectangle1(&region, 0.0, 0.0, 479.0, 639.0), VRESULT_OK);
  ASSERT_EQ(change_radial_distortion_image(Ramp(false), region, &col_view, in, out), VRESULT_OK);
  ASSERT_EQ(change_radial_distortion_image(Ramp(true), region, &row_view, in, out), VRESULT_OK);
  const VTuple got_cols = Values(col_view), got_rows = Values(row_view);
  for (Vlong i = 0; i < rows.Num(); ++i) {
    EXPECT_NEAR(got_cols[i].D(), cols[i].D(), 1e-3) << i;
    EXPECT_NEAR(got_rows[i].D(), rows[i].D(), 1e-3) << i;
  }
  ASSERT_EQ(gen_radial_distortion_map(&map, in, out, "bilinear"), VRESULT_OK);
  ASSERT_EQ(map_image(Ramp(false), map, &mapped), VRESULT_OK);
  const VTuple via_map = Values(mapped);
  for (Vlong i = 0; i < rows.Num(); ++i) EXPECT_NEAR(via_map[i].D(), cols[i].D(), 1e-3);

  // Only the region is computed.
  Vobject small, part, domain;
  ASSERT_EQ(gen_rectangle1(&small, 0.0, 0.0, 20.0, 20.0), VRESULT_OK);
  ASSERT_EQ(change_radial_distortion_image(Ramp(false), small, &part, in, out), VRESULT_OK);
  ASSERT_EQ(get_domain(part, &domain), VRESULT_OK);
  VTuple area, r, c;
  ASSERT_EQ(area_center(domain, &area, &r, &c), VRESULT_OK);
  EXPECT_LE(area[0].L(), 21 * 21);
  EXPECT_GT(area[0].L(), 0);

  Vobject wrong;
  EXPECT_EQ(change_radial_distortion_image(Ramp(false), region, &wrong,
                                           With(in, 11, Vlong{320}), out),
            VERR_IMAGE_SIZE);
  EXPECT_EQ(gen_radial_distortion_map(&wrong, in, out, "bicubic"), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_radial_distortion_map(&wrong, in, VTuple(), "bilinear"), VERR_CAM_PAR_NUM);
}

TEST_F(CameraMapsTest, ContoursAgreeWithThePointOperators) {
  const VTuple cam = DivisionCam(-3000);
  Vobject contour, world, changed;
  ASSERT_EQ(gen_contour_polygon_xld(&contour, SampleRows(), SampleCols()), VRESULT_OK);
  ASSERT_EQ(contour_to_world_plane_xld(contour, &world, cam, kWorld, "mm"), VRESULT_OK);
  VTuple x, y, rows, cols;
  ASSERT_EQ(image_points_to_world_plane(cam, kWorld, SampleRows(), SampleCols(), "mm", &x, &y),
            VRESULT_OK);
  ASSERT_EQ(get_contour_xld(world, &rows, &cols), VRESULT_OK);
  ASSERT_EQ(rows.Num(), x.Num());
  for (Vlong i = 0; i < x.Num(); ++i) {
    EXPECT_NEAR(rows[i].D(), y[i].D(), 1e-4);
    EXPECT_NEAR(cols[i].D(), x[i].D(), 1e-4);
  }
  const VTuple ideal = DivisionCam(0);
  ASSERT_EQ(change_radial_distortion_contours_xld(contour, &changed, cam, ideal), VRESULT_OK);
  ASSERT_EQ(change_radial_distortion_points(SampleRows(), SampleCols(), cam, ideal, &x, &y),
            VRESULT_OK);
  ASSERT_EQ(get_contour_xld(changed, &rows, &cols), VRESULT_OK);
  for (Vlong i = 0; i < x.Num(); ++i) {
    EXPECT_NEAR(rows[i].D(), x[i].D(), 1e-3);
    EXPECT_NEAR(cols[i].D(), y[i].D(), 1e-3);
  }
  // A point beyond the lens model's range fails the whole call.
  Vobject far;
  ASSERT_EQ(gen_contour_polygon_xld(&far, Tup({236, 236}), Tup({322, 1022})), VRESULT_OK);
  EXPECT_EQ(change_radial_distortion_contours_xld(far, &changed, DivisionCam(1e5), ideal),
            VERR_CAM_DISTORTION);
}

}  // namespace
