// Points in 3D between Cartesian and spherical coordinates. The sphere's
// axis (`equat_plane_normal`) and the direction of longitude 0
// (`zero_meridian_direction`, in the equatorial plane) are coordinate
// axes named "x", "y", "z", "-x", "-y", "-z". Longitude turns from the
// zero meridian right-handed about the axis, in (-pi, pi]; latitude rises
// from the equatorial plane towards the axis, in [-pi/2, pi/2]; radius is
// the distance from the origin. Inputs are tuples of one length, or of one
// value shared by all.
#include <cmath>
#include <vector>

#include <Eigen/Dense>

#include "ops/common/named_values.h"
#include "ops/math/hom_mat.h"
#include "registry.h"

namespace vexa {
namespace {

const Named<int> kAxes[] = {{"x", 1}, {"y", 2}, {"z", 3}, {"-x", -1}, {"-y", -2}, {"-z", -3}};

Vresult ReadAxis(const OpContext& ctx, int par, Eigen::Vector3d* axis) {
  const char* name = nullptr;
  int code = 0;
  const Vresult rc = ctx.GetString(par, &name);
  if (rc != VRESULT_OK) return rc;
  if (!LookUpName(kAxes, name, &code)) return VERR_CTRL_VALUE(par);
  *axis = Eigen::Vector3d::Zero();
  (*axis)[std::abs(code) - 1] = code > 0 ? 1.0 : -1.0;
  return VRESULT_OK;
}

// The axis (north), the zero meridian and the direction of longitude 90,
// from controls par and par + 1; the meridian must lie in the equator.
struct Frame {
  Eigen::Vector3d north, meridian, east;
};

Vresult ReadFrame(const OpContext& ctx, int par, Frame* f) {
  Vresult rc = ReadAxis(ctx, par, &f->north);
  if (rc == VRESULT_OK) rc = ReadAxis(ctx, par + 1, &f->meridian);
  if (rc != VRESULT_OK) return rc;
  if (f->north.dot(f->meridian) != 0.0) return VERR_CTRL_VALUE(par + 1);
  f->east = f->north.cross(f->meridian);
  return VRESULT_OK;
}

// The three coordinate tuples (controls 0 to 2, each of one length or one
// value) and the frame (controls 3 and 4).
Vresult ReadInputs(const OpContext& ctx, std::vector<std::vector<double>>* cols, Frame* f) {
  const Vresult rc = GetPointTuples(ctx, {0, 1, 2}, cols);
  return rc == VRESULT_OK ? ReadFrame(ctx, 3, f) : rc;
}

Vresult WriteTriples(OpContext& ctx, const std::vector<std::vector<double>>& cols) {
  Vresult rc = VRESULT_OK;
  for (int k = 0; k < 3 && rc == VRESULT_OK; ++k) rc = ctx.SetOutpDoubles(k, cols[static_cast<size_t>(k)]);
  return rc;
}

}  // namespace

VEXA_OPERATOR(convert_point_3d_spher_to_cart) {
  std::vector<std::vector<double>> in, out(3);
  Frame f;
  const Vresult rc = ReadInputs(ctx, &in, &f);
  if (rc != VRESULT_OK) return rc;
  for (size_t i = 0; i < in[0].size(); ++i) {
    const double lon = in[0][i], lat = in[1][i], r = in[2][i];
    if (r < 0) return VERR_CTRL_VALUE(2);
    const Eigen::Vector3d p =
        r * (std::cos(lat) * (std::cos(lon) * f.meridian + std::sin(lon) * f.east) + std::sin(lat) * f.north);
    for (int k = 0; k < 3; ++k) out[static_cast<size_t>(k)].push_back(p[k]);
  }
  return WriteTriples(ctx, out);
}

VEXA_OPERATOR(convert_point_3d_cart_to_spher) {
  std::vector<std::vector<double>> in, out(3);
  Frame f;
  const Vresult rc = ReadInputs(ctx, &in, &f);
  if (rc != VRESULT_OK) return rc;
  for (size_t i = 0; i < in[0].size(); ++i) {
    const Eigen::Vector3d p(in[0][i], in[1][i], in[2][i]);
    const double m = p.dot(f.meridian), e = p.dot(f.east), n = p.dot(f.north);
    out[0].push_back(std::atan2(e, m));
    out[1].push_back(std::atan2(n, std::hypot(m, e)));
    out[2].push_back(p.norm());
  }
  return WriteTriples(ctx, out);
}

}  // namespace vexa
