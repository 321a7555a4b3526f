// Shape-based matching against OpenCV on a 640 x 480 byte scene with one
// instance of an L-shaped part (with a hole and a disc) at an arbitrary
// pose and Gaussian noise of sigma 5.
//
// find_shape_model searches the full circle with least-squares refinement
// (MinScore 0.7, greediness 0.9), once with the default threads and once
// with VEXA_MATCHING_THREADS=1. The OpenCV loop is cv::matchTemplate with
// TM_CCOEFF_NORMED over template rotations in 1-degree steps: all 360 on
// the quarter-size pyramid level, then +-2 degrees around the best at full
// size in a +-6 pixel window, with parabola interpolation of position and
// angle at the peak. Both report their position and angle errors as
// counters (pixels, degrees).
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <vexaobj.h>

namespace {

using namespace Vexa;

constexpr int kW = 640, kH = 480, kT = 200;  // scene and template sizes
constexpr double kRow = 231.3, kCol = 352.7, kAngle = 2.2;

bool InObject(double r, double c) {
  const bool vertical = c >= -40 && c <= -15 && r >= -40 && r <= 40;
  const bool foot = c >= -40 && c <= 40 && r >= 15 && r <= 40;
  const bool hole = std::hypot(r + 20, c + 27) <= 6;
  const bool disc = std::hypot(r + 15, c - 15) <= 14;
  return ((vertical || foot) && !hole) || disc;
}

// The object anti-aliased (8x8 samples per pixel) at a pose, gray 190 on
// 60, with noise of `sigma`.
cv::Mat Render(int w, int h, double row, double col, double angle, double sigma) {
  cv::Mat img(h, w, CV_8UC1);
  std::mt19937 rng(11);
  std::normal_distribution<double> noise(0, sigma);
  const double ca = std::cos(angle), sa = std::sin(angle);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      int inside = 0;
      if (std::hypot(r - row, c - col) < 60)
        for (int i = 0; i < 8; ++i)
          for (int j = 0; j < 8; ++j) {
            const double dr = r - 0.5 + (i + 0.5) / 8 - row, dc = c - 0.5 + (j + 0.5) / 8 - col;
            inside += InObject(ca * dr + sa * dc, -sa * dr + ca * dc);
          }
      const double v = 60 + 130.0 * inside / 64 + (sigma > 0 ? noise(rng) : 0);
      img.at<uint8_t>(r, c) = static_cast<uint8_t>(std::lround(std::min(255.0, std::max(0.0, v))));
    }
  return img;
}

const cv::Mat& Scene() {
  static const cv::Mat scene = Render(kW, kH, kRow, kCol, kAngle, 5);
  return scene;
}
const cv::Mat& Template() {
  static const cv::Mat tmpl = Render(kT, kT, kT / 2.0, kT / 2.0, 0, 0);
  return tmpl;
}

Vobject ToImage(const cv::Mat& m) {
  Vobject img;
  gen_image1(&img, "byte", m.cols, m.rows, static_cast<Vlong>(reinterpret_cast<uintptr_t>(m.data)));
  return img;
}

double AngleErrorDeg(double a, double b) {
  return std::fabs(std::remainder(a - b, 2 * M_PI)) * 180 / M_PI;
}

void BM_FindShapeModel(benchmark::State& state) {
  if (state.range(0) == 1) setenv("VEXA_MATCHING_THREADS", "1", 1);
  Vobject box, model_image;
  gen_rectangle1(&box, 40, 40, 160, 160);
  reduce_domain(ToImage(Template()), box, &model_image);
  Vlong model = 0;
  create_shape_model(model_image, VTuple("auto"), VTuple(0.0), VTuple(2 * M_PI), VTuple("auto"),
                     VTuple("auto"), VTuple("use_polarity"), VTuple("auto"), VTuple("auto"), &model);
  const Vobject scene = ToImage(Scene());
  VTuple row, col, angle, score;
  for (auto _ : state)
    find_shape_model(scene, model, 0.0, 2 * M_PI, 0.7, 1, 0.5, "least_squares", 0, 0.9, &row, &col,
                     &angle, &score);
  if (row.Num() == 1) {
    state.counters["pos_err"] = std::hypot(row[0].D() - kRow, col[0].D() - kCol);
    state.counters["ang_err"] = AngleErrorDeg(angle[0].D(), kAngle);
  }
  state.counters["found"] = static_cast<double>(row.Num());
  clear_shape_model(model);
  unsetenv("VEXA_MATCHING_THREADS");
}
BENCHMARK(BM_FindShapeModel)->Arg(1)->Arg(0)->Unit(benchmark::kMillisecond);

// The template patch (the model square, 121 x 121, around the object's
// centre) rotated about its centre by `deg` degrees counter-clockwise, at
// scale `scale`.
cv::Mat RotatedPatch(const cv::Mat& patch, double deg, double scale) {
  const cv::Point2f centre((patch.cols - 1) / 2.0f, (patch.rows - 1) / 2.0f);
  cv::Mat rot = cv::getRotationMatrix2D(centre, deg, scale), out;
  const int side = static_cast<int>(std::lround(patch.cols * scale)) | 1;
  rot.at<double>(0, 2) += (side - patch.cols) / 2.0;
  rot.at<double>(1, 2) += (side - patch.rows) / 2.0;
  cv::warpAffine(patch, out, rot, cv::Size(side, side), cv::INTER_LINEAR, cv::BORDER_REPLICATE);
  return out;
}

double Parabola(double a, double b, double c) {
  const double d = a - 2 * b + c;
  return d < 0 ? 0.5 * (a - c) / d : 0;
}

void BM_OpenCvRotatedMatchTemplate(benchmark::State& state) {
  cv::setNumThreads(1);
  const cv::Mat patch = Template()(cv::Rect(40, 40, 121, 121)).clone();
  cv::Mat small;
  cv::resize(Scene(), small, cv::Size(kW / 4, kH / 4), 0, 0, cv::INTER_AREA);
  double row = 0, col = 0, angle = 0;
  cv::Mat result;
  for (auto _ : state) {
    // Coarse: every degree on the quarter-size level.
    double best = -2;
    int best_deg = 0;
    cv::Point best_loc;
    for (int deg = 0; deg < 360; ++deg) {
      cv::matchTemplate(small, RotatedPatch(patch, deg, 0.25), result, cv::TM_CCOEFF_NORMED);
      double mx;
      cv::Point loc;
      cv::minMaxLoc(result, nullptr, &mx, nullptr, &loc);
      if (mx > best) {
        best = mx;
        best_deg = deg;
        best_loc = loc;
      }
    }
    // Fine: +-2 degrees at full size around the coarse position.
    // The quarter-size patch's centre (its pixel 15) lies at level-0
    // 4 (loc + 15) + 1.5; the full patch's corner 60 pixels before that.
    const int half = 60, reach = 6;
    const int cr = best_loc.y * 4 + 2, cc = best_loc.x * 4 + 2;
    const cv::Rect window(std::max(0, cc - reach), std::max(0, cr - reach), 121 + 2 * reach, 121 + 2 * reach);
    const cv::Mat roi = Scene()(window & cv::Rect(0, 0, kW, kH));
    double fine[5] = {0};
    cv::Mat best_result;
    int best_k = 2;
    for (int k = 0; k < 5; ++k) {
      cv::matchTemplate(roi, RotatedPatch(patch, best_deg + k - 2, 1.0), result, cv::TM_CCOEFF_NORMED);
      double mx;
      cv::minMaxLoc(result, nullptr, &mx);
      fine[k] = mx;
      if (mx > fine[best_k] || k == 0) {
        best_k = k;
        best_result = result.clone();
      }
    }
    cv::Point loc;
    cv::minMaxLoc(best_result, nullptr, nullptr, nullptr, &loc);
    auto at = [&](int r, int c) {
      r = std::max(0, std::min(best_result.rows - 1, r));
      c = std::max(0, std::min(best_result.cols - 1, c));
      return static_cast<double>(best_result.at<float>(r, c));
    };
    const double s0 = at(loc.y, loc.x);
    row = window.y + loc.y + half + Parabola(at(loc.y - 1, loc.x), s0, at(loc.y + 1, loc.x));
    col = window.x + loc.x + half + Parabola(at(loc.y, loc.x - 1), s0, at(loc.y, loc.x + 1));
    const int k = std::max(1, std::min(3, best_k));
    angle = (best_deg + k - 2 + Parabola(fine[k - 1], fine[k], fine[k + 1])) * M_PI / 180;
    benchmark::DoNotOptimize(row);
  }
  // The patch centre is the template's (100, 100), the object's centre.
  state.counters["pos_err"] = std::hypot(row - kRow, col - kCol);
  state.counters["ang_err"] = AngleErrorDeg(angle, kAngle);
}
BENCHMARK(BM_OpenCvRotatedMatchTemplate)->Unit(benchmark::kMillisecond);

}  // namespace
