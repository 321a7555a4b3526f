// derivate_gauss: derivatives of the Gaussian-smoothed image and the
// differential invariants built from them, as real images.
//
// x is the column axis, y the row axis (pointing down). Each component
// asks only for the derivatives it uses; each is one separable filter.
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <utility>

#include "ops/edges/edge_support.h"
#include "ops/edges/gauss_masks.h"
#include "registry.h"

namespace vexa {
namespace {

// The derivatives at one pixel, by order along x and y.
struct Jet {
  double g, x, y, xx, xy, yy, xxx, xxy, xyy, yyy;
};

// A component: the derivatives it needs, as (order along x, order along
// y), and its value from them.
struct Component {
  const char* name;
  std::vector<std::pair<int, int>> orders;
  double (*value)(const Jet&);
};

double Hypot2(const Jet& j) { return j.x * j.x + j.y * j.y; }
double MeanCurvature(const Jet& j) {
  const double q = 1.0 + Hypot2(j);
  return ((1 + j.x * j.x) * j.yy - 2 * j.x * j.y * j.xy + (1 + j.y * j.y) * j.xx) /
         (2.0 * std::pow(q, 1.5));
}
double GaussCurvature(const Jet& j) {
  const double q = 1.0 + Hypot2(j);
  return (j.xx * j.yy - j.xy * j.xy) / (q * q);
}
// Eigenvalues of the Hessian: the larger (sign +1) or smaller.
double Eigen(const Jet& j, double sign) {
  const double half = 0.5 * (j.xx - j.yy);
  return 0.5 * (j.xx + j.yy) + sign * std::sqrt(half * half + j.xy * j.xy);
}
// Principal curvatures of the gray-value surface.
double Principal(const Jet& j, double sign) {
  const double h = MeanCurvature(j), k = GaussCurvature(j);
  return h + sign * std::sqrt(std::max(0.0, h * h - k));
}
// The second derivative across the gradient's direction, times |grad|^2:
// the numerator of the isophote curvatures.
double IsophoteNumerator(const Jet& j) {
  return j.xx * j.y * j.y + j.yy * j.x * j.x - 2 * j.xy * j.x * j.y;
}

const std::pair<int, int> kG{0, 0}, kX{1, 0}, kY{0, 1}, kXX{2, 0}, kXY{1, 1}, kYY{0, 2},
    kXXX{3, 0}, kXXY{2, 1}, kXYY{1, 2}, kYYY{0, 3};

const std::vector<Component>& Components() {
  static const std::vector<Component> list = {
      {"none", {kG}, [](const Jet& j) { return j.g; }},
      {"x", {kX}, [](const Jet& j) { return j.x; }},
      {"y", {kY}, [](const Jet& j) { return j.y; }},
      {"gradient", {kX, kY}, [](const Jet& j) { return std::sqrt(Hypot2(j)); }},
      {"gradient_dir", {kX, kY}, [](const Jet& j) { return std::atan2(-j.y, j.x); }},
      {"xx", {kXX}, [](const Jet& j) { return j.xx; }},
      {"yy", {kYY}, [](const Jet& j) { return j.yy; }},
      {"xy", {kXY}, [](const Jet& j) { return j.xy; }},
      {"xxx", {kXXX}, [](const Jet& j) { return j.xxx; }},
      {"yyy", {kYYY}, [](const Jet& j) { return j.yyy; }},
      {"xxy", {kXXY}, [](const Jet& j) { return j.xxy; }},
      {"xyy", {kXYY}, [](const Jet& j) { return j.xyy; }},
      {"det", {kXX, kYY, kXY}, [](const Jet& j) { return j.xx * j.yy - j.xy * j.xy; }},
      {"laplace", {kXX, kYY}, [](const Jet& j) { return j.xx + j.yy; }},
      {"mean_curvature", {kX, kY, kXX, kYY, kXY}, MeanCurvature},
      {"gauss_curvature", {kX, kY, kXX, kYY, kXY}, GaussCurvature},
      {"area", {kX, kY}, [](const Jet& j) { return std::sqrt(1.0 + Hypot2(j)); }},
      {"eigenvalue1", {kXX, kYY, kXY}, [](const Jet& j) { return Eigen(j, 1.0); }},
      {"eigenvalue2", {kXX, kYY, kXY}, [](const Jet& j) { return Eigen(j, -1.0); }},
      {"main1", {kX, kY, kXX, kYY, kXY}, [](const Jet& j) { return Principal(j, 1.0); }},
      {"main2", {kX, kY, kXX, kYY, kXY}, [](const Jet& j) { return Principal(j, -1.0); }},
      {"kitchen_rosenfeld", {kX, kY, kXX, kYY, kXY},
       [](const Jet& j) { const double g2 = Hypot2(j);
                          return g2 == 0 ? 0.0 : IsophoteNumerator(j) / g2; }},
      {"zuniga_haralick", {kX, kY, kXX, kYY, kXY},
       [](const Jet& j) { const double g2 = Hypot2(j);
                          return g2 == 0 ? 0.0 : IsophoteNumerator(j) / std::pow(g2, 1.5); }},
      {"2nd_ddg", {kX, kY, kXX, kYY, kXY},
       [](const Jet& j) { const double g2 = Hypot2(j);
                          return g2 == 0 ? 0.0
                                         : (j.x * j.x * j.xx + 2 * j.x * j.y * j.xy +
                                            j.y * j.y * j.yy) / g2; }},
      {"de_saint_venant", {kX, kY, kXX, kYY, kXY},
       [](const Jet& j) { return j.x * j.y * (j.xx - j.yy) - (j.x * j.x - j.y * j.y) * j.xy; }},
  };
  return list;
}

double Jet::*Slot(std::pair<int, int> o) {
  static const std::map<std::pair<int, int>, double Jet::*> kSlots = {
      {kG, &Jet::g},     {kX, &Jet::x},     {kY, &Jet::y},     {kXX, &Jet::xx},
      {kXY, &Jet::xy},   {kYY, &Jet::yy},   {kXXX, &Jet::xxx}, {kXXY, &Jet::xxy},
      {kXYY, &Jet::xyy}, {kYYY, &Jet::yyy}};
  return kSlots.at(o);
}

}  // namespace

VEXA_OPERATOR(derivate_gauss) {
  double sigma;
  const char* name = nullptr;
  Vresult rc = GetSigma(ctx, 0, &sigma);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
  if (rc != VRESULT_OK) return rc;
  const Component* component = nullptr;
  for (const Component& c : Components())
    if (std::strcmp(c.name, name) == 0) component = &c;
  if (component == nullptr) return VERR_CTRL_VALUE(1);
  return FilterImages(ctx, 1, RealGrayType,
                      [&](const PixelBuffer& in, const FilterArea& area, PixelBuffer** outs) {
    std::vector<cv::Mat> derivs;
    std::vector<double Jet::*> slots;
    for (const auto& o : component->orders) {
      derivs.push_back(GaussDerivative(in, area.box, sigma, o.first, o.second));
      slots.push_back(Slot(o));
    }
    cv::Mat result(area.box.size(), CV_64F);
    Jet jet{};
    for (int r = 0; r < result.rows; ++r)
      for (int c = 0; c < result.cols; ++c) {
        for (size_t k = 0; k < derivs.size(); ++k)
          jet.*slots[k] = derivs[k].at<double>(r, c);
        result.at<double>(r, c) = component->value(jet);
      }
    StoreInDomain(result, area.box, area.domain, outs[0]);
    return VRESULT_OK;
  });
}

}  // namespace vexa
