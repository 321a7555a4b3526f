// Lambertian photometry on surfaces with known answers: heights from
// exact gradients, shading of planes and a wall's shadow, photometric
// stereo recovering a surface it rendered, linear shape from shading on a
// gentle wave, and the lighting estimates of a rendered sphere.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include <vexaobj.h>

#include "image_ops_support.h"
#include "leak_checked_test.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;

Vobject Real(int w, int h, const std::function<double(int, int)>& f) {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, "real", w, h), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) EXPECT_EQ(set_grayval(image, r, c, f(r, c)), VRESULT_OK);
  return image;
}

double At(const Vobject& image, int r, int c, int ch = 0) {
  vexa::db::ImageData data;
  EXPECT_EQ(vexa::db::GetImage(image.Id(), &data), VRESULT_OK);
  return data.channels[static_cast<size_t>(ch)]->Get(r, c);
}

// The mean of f over the image, for comparing heights known up to a
// constant.
double Mean(int w, int h, const std::function<double(int, int)>& f) {
  double s = 0;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) s += f(r, c);
  return s / (w * h);
}

const double kPi = 3.14159265358979323846;

class Photometry : public LeakCheckedTest {};

TEST_F(Photometry, HeightsFromExactGradients) {
  const int w = 33, h = 25;
  auto height = [](int r, int c) { return 0.02 * (r - 10) * (r - 10) + 0.5 * c - 0.01 * c * c + 0.03 * r * c; };
  const Vobject d_row = Real(w, h, [](int r, int c) { return 0.04 * (r - 10) + 0.03 * c; });
  const Vobject d_col = Real(w, h, [](int r, int c) { return 0.5 - 0.02 * c + 0.03 * r; });
  Vobject gradient, heights;
  ASSERT_EQ(compose2(d_row, d_col, &gradient), VRESULT_OK);
  ASSERT_EQ(reconstruct_height_field_from_gradient(gradient, &heights, "poisson", VTuple(), VTuple()),
            VRESULT_OK);
  const double mean = Mean(w, h, height);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) ASSERT_NEAR(At(heights, r, c), height(r, c) - mean, 2e-3) << r << "," << c;
  Vobject bad;
  EXPECT_EQ(reconstruct_height_field_from_gradient(d_row, &bad, "poisson", VTuple(), VTuple()),
            VERR_CHANNEL);
  EXPECT_EQ(reconstruct_height_field_from_gradient(gradient, &bad, "fourier", VTuple(), VTuple()),
            VERR_CTRL_VALUE(0));
}

TEST_F(Photometry, ShadingOfPlanesAndAWallsShadow) {
  const Vobject plane = Real(20, 10, [](int, int c) { return 0.5 * c; });
  Vobject shade;
  ASSERT_EQ(shade_height_field(plane, &shade, 45.0, 0.0, 100.0, 10.0, "false"), VRESULT_OK);
  // Normal (-0.5, 0, 1) / |.|, light (sin 45, 0, cos 45).
  const double expected = 10 + 100 * (-0.5 + 1) * std::sqrt(0.5) / std::sqrt(1.25);
  EXPECT_NEAR(At(shade, 5, 7), expected, 1e-4);
  // A wall of height 50 at column 30, the light from the right at slant
  // 60: everything left of the wall lies in its shadow.
  const Vobject wall = Real(40, 10, [](int, int c) { return c >= 30 ? 50.0 : 0.0; });
  ASSERT_EQ(shade_height_field(wall, &shade, 60.0, 0.0, 100.0, 10.0, "true"), VRESULT_OK);
  EXPECT_NEAR(At(shade, 5, 10), 10.0, 1e-6);
  EXPECT_NEAR(At(shade, 5, 35), 10 + 100 * 0.5, 1e-4);  // on top of the wall
  ASSERT_EQ(shade_height_field(wall, &shade, 60.0, 0.0, 100.0, 10.0, "false"), VRESULT_OK);
  EXPECT_NEAR(At(shade, 5, 10), 10 + 100 * 0.5, 1e-4);
  Vobject bad;
  EXPECT_EQ(shade_height_field(wall, &bad, 95.0, 0.0, 100.0, 10.0, "true"), VERR_CTRL_VALUE(0));
}

TEST_F(Photometry, PhotometricStereoRecoversTheSurfaceItRendered) {
  const int w = 30, h = 24;
  auto height = [](int r, int c) { return 0.01 * (r - 12) * (r - 12) - 0.008 * (c - 15) * (c - 15) + 0.1 * c; };
  const Vobject surface = Real(w, h, height);
  const double slants[] = {30, 35, 40}, tilts[] = {0, 120, 240};
  std::vector<Vobject> shots(3);
  for (int k = 0; k < 3; ++k)
    ASSERT_EQ(shade_height_field(surface, &shots[k], slants[k], tilts[k], 150.0, 0.0, "false"),
              VRESULT_OK);
  Vobject all, heights, gradient, albedo;
  ASSERT_EQ(concat_obj(shots[0], shots[1], &all), VRESULT_OK);
  ASSERT_EQ(concat_obj(all, shots[2], &all), VRESULT_OK);
  const VTuple s = VTuple(30.0).Append(35.0).Append(40.0), t = VTuple(0.0).Append(120.0).Append(240.0);
  ASSERT_EQ(photometric_stereo(all, &heights, &gradient, &albedo, s, t, "all", "poisson", VTuple(),
                               VTuple()),
            VRESULT_OK);
  EXPECT_NEAR(At(albedo, 10, 10), 150.0, 0.05);
  // The rendering's slopes were central differences, exact for this
  // quadratic away from the border.
  EXPECT_NEAR(At(gradient, 10, 10, 0), 0.02 * (10 - 12), 1e-4);
  EXPECT_NEAR(At(gradient, 10, 10, 1), -0.016 * (10 - 15) + 0.1, 1e-4);
  Vobject composed, heights3;
  ASSERT_EQ(compose3(shots[0], shots[1], shots[2], &composed), VRESULT_OK);
  ASSERT_EQ(phot_stereo(composed, &heights3, s, t), VRESULT_OK);
  // Heights agree with the surface up to a constant, and with each other;
  // the one-sided border slopes bend the edge a little.
  const double mean = Mean(w, h, height), offset = At(heights, 12, 15) - (height(12, 15) - mean);
  for (int r = 2; r < h - 2; ++r)
    for (int c = 2; c < w - 2; ++c) {
      ASSERT_NEAR(At(heights, r, c) - offset, height(r, c) - mean, 0.05) << r << "," << c;
      ASSERT_NEAR(At(heights3, r, c), At(heights, r, c), 1e-4);
    }
  Vobject bad;
  EXPECT_EQ(photometric_stereo(all, &heights, &gradient, &albedo, s, VTuple(0.0), "all", "poisson",
                               VTuple(), VTuple()),
            VERR_CTRL_NUM(1));
  EXPECT_EQ(phot_stereo(shots[0], &bad, VTuple(30.0), VTuple(0.0)), VERR_CHANNEL);
}

TEST_F(Photometry, LinearShapeFromShadingOfAGentleWave) {
  const int w = 64, h = 16;
  auto height = [](int, int c) { return 0.4 * std::sin(2 * kPi * c / 16.0); };
  const Vobject surface = Real(w, h, height);
  Vobject shade, recovered;
  ASSERT_EQ(shade_height_field(surface, &shade, 30.0, 0.0, 100.0, 5.0, "false"), VRESULT_OK);
  ASSERT_EQ(sfs_pentland(shade, &recovered, 30.0, 0.0, 100.0, 5.0), VRESULT_OK);
  double dot = 0, norm_a = 0, norm_b = 0;
  for (int c = 0; c < w; ++c) {
    const double a = height(8, c), b = At(recovered, 8, c);
    dot += a * b;
    norm_a += a * a;
    norm_b += b * b;
  }
  EXPECT_GT(dot / std::sqrt(norm_a * norm_b), 0.98);
  EXPECT_NEAR(std::sqrt(norm_b / norm_a), 1.0, 0.25);
  Vobject bad;
  EXPECT_EQ(sfs_pentland(shade, &bad, 30.0, 0.0, 0.0, 5.0), VERR_CTRL_VALUE(2));
}

TEST_F(Photometry, LightingEstimatesOfASphere) {
  // An orthographic sphere of radius 60 lit from slant 25, tilt 40,
  // albedo 200: the normals of its disc spread as the estimates assume.
  const double slant = 25 * kPi / 180, tilt = 40 * kPi / 180;
  const double l[3] = {std::sin(slant) * std::cos(tilt), std::sin(slant) * std::sin(tilt), std::cos(slant)};
  const Vobject sphere = Real(121, 121, [&](int r, int c) {
    const double x = (c - 60) / 60.0, y = (60 - r) / 60.0, zz = 1 - x * x - y * y;
    return zz > 0 ? 200 * std::max(0.0, x * l[0] + y * l[1] + std::sqrt(zz) * l[2]) : 0.0;
  });
  Vobject disc, on_sphere;
  ASSERT_EQ(gen_circle(&disc, 60.0, 60.0, 58.0), VRESULT_OK);
  ASSERT_EQ(reduce_domain(sphere, disc, &on_sphere), VRESULT_OK);
  double est_slant = 0, est_albedo = 0, est_tilt = 0;
  ASSERT_EQ(estimate_sl_al_lr(on_sphere, &est_slant, &est_albedo), VRESULT_OK);
  ASSERT_EQ(estimate_tilt_lr(on_sphere, &est_tilt), VRESULT_OK);
  EXPECT_NEAR(est_slant, 25.0, 8.0);
  EXPECT_NEAR(est_albedo, 200.0, 30.0);
  EXPECT_NEAR(est_tilt, 40.0, 3.0);
  const Vobject ramp = Real(101, 1, [](int, int c) { return 20 + 2.0 * c; });
  double albedo = 0, ambient = 0;
  ASSERT_EQ(estimate_al_am(ramp, &albedo, &ambient), VRESULT_OK);
  EXPECT_NEAR(ambient, 22.0, 1e-9);
  EXPECT_NEAR(albedo, 196.0, 1e-9);
}

}  // namespace
