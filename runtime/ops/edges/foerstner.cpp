// points_foerstner: interest points from the structure tensor M of
// smoothed gradients (products integrated over sigma_int). Candidates are
// the domain pixels where the inhomogeneity det(M) / trace(M) exceeds
// threshold_inhom and the roundness 4 det(M) / trace(M)^2 exceeds
// threshold_shape, at local maxima of the inhomogeneity. Each is placed by
// least squares in a window of sigma_points around it, under two models:
// a junction, the point closest to the lines through the window pixels
// across their gradients (the edges meeting there), and an area point,
// the point closest to the lines along the gradients (the centre of a
// round blob). The model with the smaller residual decides the kind; the
// covariance of the position is the residual variance times the inverse
// normal matrix.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <unordered_map>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "ops/edges/edge_support.h"
#include "ops/edges/gauss_masks.h"
#include "ops/edges/response_peaks.h"
#include "registry.h"

namespace vexa {
namespace {

// A located point: position, covariance and the inhomogeneity at its
// candidate pixel, which ranks doublets.
struct Point {
  double row, col, rr, rc, cc, weight;
};

// One observation of the window: a pixel position, its gradient (row and
// column components) and its weight.
struct Observation {
  double row, col, gr, gc, w;
};

// The averaging of `smoothing`: a Gaussian of sigma or a mean of the same
// variance (side 2 round(sqrt(3) sigma) + 1).
struct Smoothing {
  bool gauss;
  int Reach(double sigma) const {
    return gauss ? GaussRadius(sigma) : std::max(1, int(std::lround(std::sqrt(3.0) * sigma)));
  }
  cv::Mat Mask(double sigma) const {
    if (gauss) return GaussMask(sigma, 0);
    const int side = 2 * Reach(sigma) + 1;
    return cv::Mat(side, 1, CV_64F, cv::Scalar(1.0 / side));
  }
};

// The least-squares point of the lines through the observations with
// normal n = the gradient (`across` false: lines along the edges) or the
// gradient turned by 90 degrees (`across` true: lines along the
// gradients): minimises sum w (n . (x - p))^2. False if the lines do not
// fix a point.
bool Intersect(const std::vector<Observation>& obs, bool across, Point* p, double* residual) {
  double a = 0, b = 0, c = 0, u = 0, v = 0;
  for (const Observation& o : obs) {
    const double nr = across ? -o.gc : o.gr, nc = across ? o.gr : o.gc;
    const double d = nr * o.row + nc * o.col;
    a += o.w * nr * nr;
    b += o.w * nr * nc;
    c += o.w * nc * nc;
    u += o.w * nr * d;
    v += o.w * nc * d;
  }
  const double det = a * c - b * b;
  if (!(det > 1e-12 * (a + c) * (a + c)) || obs.size() < 3) return false;
  p->row = (c * u - b * v) / det;
  p->col = (a * v - b * u) / det;
  double e = 0;
  for (const Observation& o : obs) {
    const double nr = across ? -o.gc : o.gr, nc = across ? o.gr : o.gc;
    const double d = nr * (o.row - p->row) + nc * (o.col - p->col);
    e += o.w * d * d;
  }
  const double sigma0 = e / double(obs.size() - 2);
  p->rr = sigma0 * c / det;
  p->rc = -sigma0 * b / det;
  p->cc = sigma0 * a / det;
  *residual = e;
  return true;
}

// Drops every point that lies within one pixel of a point of higher
// weight (of equal weight: an earlier one); keeps the order.
std::vector<Point> WithoutDoublets(const std::vector<Point>& points) {
  std::vector<size_t> order(points.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t i, size_t j) { return points[i].weight > points[j].weight; });
  // Kept points by the unit cell they lie in.
  std::unordered_map<uint64_t, std::vector<size_t>> cells;
  auto cell = [](double r, double c) {
    // Rows and columns may lie a little below 0; unsigned shifts wrap.
    const auto row = static_cast<uint32_t>(static_cast<int32_t>(std::floor(r)));
    const auto col = static_cast<uint32_t>(static_cast<int32_t>(std::floor(c)));
    return (static_cast<uint64_t>(row) << 32) | col;
  };
  std::vector<bool> keep(points.size(), false);
  for (size_t i : order) {
    const Point& p = points[i];
    bool near = false;
    for (int dr = -1; dr <= 1 && !near; ++dr)
      for (int dc = -1; dc <= 1 && !near; ++dc) {
        const auto it = cells.find(cell(p.row + dr, p.col + dc));
        if (it == cells.end()) continue;
        for (size_t j : it->second)
          if (std::hypot(points[j].row - p.row, points[j].col - p.col) < 1.0) near = true;
      }
    if (near) continue;
    keep[i] = true;
    cells[cell(p.row, p.col)].push_back(i);
  }
  std::vector<Point> kept;
  for (size_t i = 0; i < points.size(); ++i)
    if (keep[i]) kept.push_back(points[i]);
  return kept;
}

Vresult SetPoints(OpContext& ctx, int first, const std::vector<Point>& points) {
  std::vector<double> values[5];
  for (const Point& p : points) {
    values[0].push_back(p.row);
    values[1].push_back(p.col);
    values[2].push_back(p.rr);
    values[3].push_back(p.rc);
    values[4].push_back(p.cc);
  }
  Vresult rc = VRESULT_OK;
  for (int k = 0; k < 5 && rc == VRESULT_OK; ++k) rc = ctx.SetOutpDoubles(first + k, values[k]);
  return rc;
}

Vresult ReadBool(const OpContext& ctx, int par, const char* yes, const char* no, bool* value) {
  const char* text = nullptr;
  const Vresult rc = ctx.GetString(par, &text);
  if (rc != VRESULT_OK) return rc;
  *value = std::strcmp(text, yes) == 0;
  return *value || std::strcmp(text, no) == 0 ? VRESULT_OK : VERR_CTRL_VALUE(par);
}

}  // namespace

VEXA_OPERATOR(points_foerstner) {
  double sigma_grad, sigma_int, sigma_points, inhom, shape;
  Smoothing smoothing{true};
  bool doublets = false;
  Vresult rc = GetSigma(ctx, 0, &sigma_grad);
  if (rc == VRESULT_OK) rc = GetSigma(ctx, 1, &sigma_int);
  if (rc == VRESULT_OK) rc = GetSigma(ctx, 2, &sigma_points);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(3, &inhom);
  if (rc == VRESULT_OK) rc = ctx.GetDouble(4, &shape);
  if (rc == VRESULT_OK) rc = ReadBool(ctx, 5, "gauss", "mean", &smoothing.gauss);
  if (rc == VRESULT_OK) rc = ReadBool(ctx, 6, "true", "false", &doublets);
  if (rc != VRESULT_OK) return rc;
  if (!(inhom >= 0 && std::isfinite(inhom))) return VERR_CTRL_VALUE(3);
  if (!(shape >= 0 && shape <= 1)) return VERR_CTRL_VALUE(4);
  Vkey key = VKEY_UNDEF;
  rc = ctx.InpObjSingle(1, &key);
  db::ImageData image;
  if (rc == VRESULT_OK) rc = InpImage(1, key, &image);
  if (rc != VRESULT_OK) return rc;
  const PixelBuffer& in = *image.channels[0];
  if (!IsGrayType(in.type())) return VERR_PIXEL_TYPE;
  std::vector<Point> junctions, areas;
  const cv::Rect box = BoxOf(*image.domain);
  if (!box.empty()) {
    const cv::Size size(in.width(), in.height());
    const int window = smoothing.Reach(sigma_points);
    // Gradients wherever a window reaches, the tensor one pixel around the
    // box for the comparison with the neighbours.
    const cv::Rect outer = GrowBox(box, 1, size);
    const cv::Rect span = GrowBox(box, window, size) | outer;
    const cv::Rect grads = GrowBox(span, smoothing.Reach(sigma_int), size);
    const cv::Mat gx = GaussDerivative(in, grads, sigma_grad, 1, 0);
    const cv::Mat gy = GaussDerivative(in, grads, sigma_grad, 0, 1);
    const cv::Rect inner = outer - grads.tl();
    const cv::Mat mask = smoothing.Mask(sigma_int);
    cv::Mat sxx, sxy, syy;
    const cv::Mat xx = gx.mul(gx), xy = gx.mul(gy), yy = gy.mul(gy);
    cv::sepFilter2D(xx(inner), sxx, CV_64F, mask, mask, cv::Point(-1, -1), 0, kMirrorBorder);
    cv::sepFilter2D(xy(inner), sxy, CV_64F, mask, mask, cv::Point(-1, -1), 0, kMirrorBorder);
    cv::sepFilter2D(yy(inner), syy, CV_64F, mask, mask, cv::Point(-1, -1), 0, kMirrorBorder);
    // The inhomogeneity where the tensor is round enough, -1 elsewhere
    // (below every threshold).
    cv::Mat weight(sxx.size(), CV_64F);
    for (int r = 0; r < weight.rows; ++r)
      for (int c = 0; c < weight.cols; ++c) {
        const double a = sxx.at<double>(r, c), b = sxy.at<double>(r, c), d = syy.at<double>(r, c);
        const double trace = a + d, det = a * d - b * b;
        const bool round = trace > 0 && 4 * det / (trace * trace) > shape;
        weight.at<double>(r, c) = round ? det / trace : -1.0;
      }
    std::vector<double> rows, cols;
    ResponsePeaks(weight, outer, *image.domain, inhom, false, &rows, &cols);
    const cv::Mat point_mask = smoothing.Mask(sigma_points);
    std::vector<Observation> obs;
    for (size_t i = 0; i < rows.size(); ++i) {
      const int r0 = static_cast<int>(rows[i]), c0 = static_cast<int>(cols[i]);
      obs.clear();
      for (int dr = -window; dr <= window; ++dr)
        for (int dc = -window; dc <= window; ++dc) {
          const int r = r0 + dr, c = c0 + dc;
          if (r < 0 || c < 0 || r >= size.height || c >= size.width) continue;
          const double w = point_mask.at<double>(dr + window) * point_mask.at<double>(dc + window);
          obs.push_back({double(r), double(c), gy.at<double>(r - grads.y, c - grads.x),
                         gx.at<double>(r - grads.y, c - grads.x), w});
        }
      Point junction, area;
      double ej = 0, ea = 0;
      const bool has_junction = Intersect(obs, false, &junction, &ej);
      const bool has_area = Intersect(obs, true, &area, &ea);
      const bool is_junction = has_junction && (!has_area || ej <= ea);
      if (!is_junction && !has_area) continue;
      Point p = is_junction ? junction : area;
      // A position outside the window is no point of this window.
      if (std::fabs(p.row - r0) > window || std::fabs(p.col - c0) > window) continue;
      p.weight = weight.at<double>(r0 - outer.y, c0 - outer.x);
      (is_junction ? junctions : areas).push_back(p);
    }
    if (doublets) {
      junctions = WithoutDoublets(junctions);
      areas = WithoutDoublets(areas);
    }
  }
  rc = SetPoints(ctx, 0, junctions);
  if (rc == VRESULT_OK) rc = SetPoints(ctx, 5, areas);
  return rc;
}

}  // namespace vexa
