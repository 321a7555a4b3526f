// Degradation and restoration: the point spread functions of motion and
// defocus against their defining moments, simulate_* against a plain
// convolution with those PSFs, gen_filter_mask's layout, and the Wiener
// filters on circularly blurred images, exactly without noise and better
// than the degraded image with it.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include <vexaobj.h>

#include "filter_test_support.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
using namespace filter_test;

// A real image's values, row order.
std::vector<double> Values(const Vobject& image, int* w = nullptr, int* h = nullptr) {
  const vexa::PixelBuffer* p = Pixels(image);
  if (w) *w = p->width();
  if (h) *h = p->height();
  std::vector<double> v;
  for (int r = 0; r < p->height(); ++r)
    for (int c = 0; c < p->width(); ++c) v.push_back(p->Get(r, c));
  return v;
}

Vobject RealImage(const std::vector<double>& v, int w, int h) {
  Vobject image;
  EXPECT_EQ(gen_image_const(&image, "real", w, h), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c)
      EXPECT_EQ(set_grayval(image, r, c, v[static_cast<size_t>(r) * w + c]), VRESULT_OK);
  return image;
}

// Sum, centroid and second moment about the origin of a PSF image whose
// displacements wrap around its edges (row and column offsets taken in
// -h/2 .. h/2).
struct Moments {
  double sum = 0, row = 0, col = 0, r2 = 0;
};
Moments PsfMoments(const Vobject& psf) {
  int w = 0, h = 0;
  const std::vector<double> v = Values(psf, &w, &h);
  Moments m;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const double x = v[static_cast<size_t>(r) * w + c];
      const int dr = r > h / 2 ? r - h : r, dc = c > w / 2 ? c - w : c;
      m.sum += x;
      m.row += x * dr;
      m.col += x * dc;
      m.r2 += x * (dr * dr + dc * dc);
    }
  m.row /= m.sum;
  m.col /= m.sum;
  m.r2 /= m.sum;
  return m;
}

// B(p) = sum_q psf(q) I(p - q), with the image continued by `edge`.
std::vector<double> Convolve(const std::vector<double>& image, int w, int h,
                             const std::vector<double>& psf, int pw, int ph, Edge edge) {
  std::vector<double> out(image.size(), 0.0);
  TestImage im;
  im.width = w;
  im.height = h;
  im.value = image;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      double sum = 0;
      for (int qr = 0; qr < ph; ++qr)
        for (int qc = 0; qc < pw; ++qc) {
          const double k = psf[static_cast<size_t>(qr) * pw + qc];
          if (k == 0) continue;
          const int dr = qr > ph / 2 ? qr - ph : qr, dc = qc > pw / 2 ? qc - pw : qc;
          sum += k * Value(im, r - dr, c - dc, edge);
        }
      out[static_cast<size_t>(r) * w + c] = sum;
    }
  return out;
}

double MeanSquare(const std::vector<double>& a, const std::vector<double>& b) {
  double s = 0;
  for (size_t i = 0; i < a.size(); ++i) s += (a[i] - b[i]) * (a[i] - b[i]);
  return s / static_cast<double>(a.size());
}

class Restoration : public LeakCheckedTest {};

TEST_F(Restoration, PsfsHaveTheirDefiningMoments) {
  const double kPi = 3.14159265358979323846;
  for (int angle : {0, 30, 90, 135, -60}) {
    Vobject psf;
    ASSERT_EQ(gen_psf_motion(&psf, 64, 48, 10.0, Vlong{angle}, Vlong{1}), VRESULT_OK);
    const Moments m = PsfMoments(psf);
    EXPECT_NEAR(m.sum, 1.0, 1e-5);
    // Uniform motion: the centroid halfway along the path, rows upwards.
    EXPECT_NEAR(m.row, -5.0 * std::sin(angle * kPi / 180), 0.02) << angle;
    EXPECT_NEAR(m.col, 5.0 * std::cos(angle * kPi / 180), 0.02) << angle;
  }
  Vobject rising, falling;
  ASSERT_EQ(gen_psf_motion(&rising, 32, 32, 9.0, Vlong{0}, Vlong{2}), VRESULT_OK);
  ASSERT_EQ(gen_psf_motion(&falling, 32, 32, 9.0, Vlong{0}, Vlong{3}), VRESULT_OK);
  EXPECT_NEAR(PsfMoments(rising).col, 6.0, 0.05);   // weight t: mean 2/3 of the path
  EXPECT_NEAR(PsfMoments(falling).col, 3.0, 0.05);  // weight 1 - t: mean 1/3

  // A disk of radius R has E[r^2] = R^2 / 2, plus 1/6 for the pixels' own
  // extent.
  Vobject disk;
  ASSERT_EQ(gen_psf_defocus(&disk, 40, 40, 6.0), VRESULT_OK);
  const Moments d = PsfMoments(disk);
  EXPECT_NEAR(d.sum, 1.0, 1e-5);
  EXPECT_NEAR(d.row, 0.0, 1e-6);
  EXPECT_NEAR(d.col, 0.0, 1e-6);
  EXPECT_NEAR(d.r2, 18.0 + 1.0 / 6, 0.1);

  Vobject bad;
  EXPECT_EQ(gen_psf_motion(&bad, 8, 8, 10.0, Vlong{0}, Vlong{1}), VERR_CTRL_VALUE(2));
  EXPECT_EQ(gen_psf_motion(&bad, 32, 32, 3.0, Vlong{0}, Vlong{6}), VERR_CTRL_VALUE(4));
  EXPECT_EQ(gen_psf_defocus(&bad, 32, 32, -1.0), VERR_CTRL_VALUE(2));
}

TEST_F(Restoration, SimulatedBlurIsTheConvolutionWithThePsf) {
  std::mt19937 gen(7);
  const int w = 37, h = 29;
  TestImage im = MakeImage("byte", w, h, RandomMask(w, h, gen, true), gen, 0, 256);
  struct Case {
    bool motion;
    double blur;
    int angle, type;
  } cases[] = {{true, 4.5, 30, 1}, {true, 6.0, 200, 4}, {false, 3.2, 0, 0}, {false, 0.0, 0, 0}};
  for (const Case& k : cases) {
    Vobject blurred, psf;
    if (k.motion) {
      ASSERT_EQ(simulate_motion(im.image, &blurred, k.blur, Vlong{k.angle}, Vlong{k.type}), VRESULT_OK);
      ASSERT_EQ(gen_psf_motion(&psf, 16, 16, k.blur, Vlong{k.angle}, Vlong{k.type}), VRESULT_OK);
    } else {
      ASSERT_EQ(simulate_defocus(im.image, &blurred, k.blur), VRESULT_OK);
      ASSERT_EQ(gen_psf_defocus(&psf, 16, 16, k.blur), VRESULT_OK);
    }
    const std::vector<double> expected =
        Convolve(im.value, w, h, Values(psf), 16, 16, Edge::kMirror);
    const std::vector<double> got = Values(blurred);
    for (size_t i = 0; i < got.size(); ++i)
      ASSERT_NEAR(got[i], std::round(expected[i]), 1.0) << k.blur << " at " << i;
  }
}

TEST_F(Restoration, FilterMaskIsCentredOnTheOrigin) {
  // Coefficients column by column: c0 = (0,0), c1 = (1,0), c3 = (0,1).
  VTuple mask = VTuple(Vlong{3}).Append(Vlong{3}).Append(Vlong{1});
  for (int k = 0; k < 9; ++k) mask.Append(Vlong{k + 1});
  Vobject image;
  ASSERT_EQ(gen_filter_mask(&image, mask, 2.0, Vlong{8}, Vlong{6}), VRESULT_OK);
  const vexa::PixelBuffer* p = Pixels(image);
  EXPECT_EQ(p->width(), 8);
  EXPECT_EQ(p->height(), 6);
  EXPECT_DOUBLE_EQ(p->Get(0, 0), 10.0);  // centre c4
  EXPECT_DOUBLE_EQ(p->Get(5, 0), 8.0);   // one row up: c3
  EXPECT_DOUBLE_EQ(p->Get(0, 7), 4.0);   // one column left: c1
  EXPECT_DOUBLE_EQ(p->Get(5, 7), 2.0);   // c0
  EXPECT_DOUBLE_EQ(p->Get(2, 3), 0.0);
  Vobject bad;
  EXPECT_EQ(gen_filter_mask(&bad, mask, 2.0, Vlong{2}, Vlong{6}), VERR_CTRL_VALUE(0));
}

TEST_F(Restoration, WienerFiltersUndoCircularBlur) {
  std::mt19937 gen(3);
  std::uniform_real_distribution<double> u(0, 200);
  const int w = 32, h = 24;
  std::vector<double> original(static_cast<size_t>(w) * h);
  for (double& v : original) v = std::round(u(gen));
  // A flat patch where the noise can be measured.
  for (int r = 2; r < 10; ++r)
    for (int c = 2; c < 12; ++c) original[static_cast<size_t>(r) * w + c] = 100;
  // A PSF whose transfer function has no zero: 0.6 in the centre, 0.1 at
  // the four neighbours.
  std::vector<double> psf(original.size(), 0.0);
  psf[0] = 0.6;
  psf[1] = psf[w - 1] = psf[w] = psf[static_cast<size_t>(h - 1) * w] = 0.1;
  const std::vector<double> blurred = Convolve(original, w, h, psf, w, h, Edge::kCyclic);
  Vobject image = RealImage(blurred, w, h), psf_image = RealImage(psf, w, h);

  // Without noise the estimate is 0 and the filter inverts the blur.
  Vobject flat, restored;
  ASSERT_EQ(gen_rectangle1(&flat, 4.0, 4.0, 7.0, 9.0), VRESULT_OK);
  ASSERT_EQ(wiener_filter_ni(image, psf_image, flat, &restored, Vlong{3}, Vlong{3}), VRESULT_OK);
  const std::vector<double> back = Values(restored);
  for (size_t i = 0; i < back.size(); ++i) ASSERT_NEAR(back[i], original[i], 2e-3) << i;

  // With noise: closer to the original than the noisy blurred image.
  std::normal_distribution<double> noise(0, 3);
  std::vector<double> noisy = blurred;
  for (double& v : noisy) v += noise(gen);
  Vobject noisy_image = RealImage(noisy, w, h), smooth = RealImage(original, w, h);
  ASSERT_EQ(wiener_filter_ni(noisy_image, psf_image, flat, &restored, Vlong{3}, Vlong{3}),
            VRESULT_OK);
  EXPECT_LT(MeanSquare(Values(restored), original), 0.8 * MeanSquare(noisy, original));
  ASSERT_EQ(wiener_filter(noisy_image, psf_image, smooth, &restored), VRESULT_OK);
  EXPECT_LT(MeanSquare(Values(restored), original), 0.8 * MeanSquare(noisy, original));

  // Refusals.
  Vobject small, two_channels, empty, bad;
  ASSERT_EQ(gen_image_const(&small, "real", 8, 8), VRESULT_OK);
  ASSERT_EQ(compose2(image, image, &two_channels), VRESULT_OK);
  ASSERT_EQ(gen_empty_region(&empty), VRESULT_OK);
  EXPECT_EQ(wiener_filter(image, small, image, &bad), VERR_IMAGE_SIZE);
  EXPECT_EQ(wiener_filter(two_channels, psf_image, image, &bad), VERR_CHANNEL);
  EXPECT_EQ(wiener_filter_ni(image, psf_image, empty, &bad, Vlong{3}, Vlong{3}), VERR_EMPTY_OBJECT);
  EXPECT_EQ(wiener_filter_ni(image, psf_image, flat, &bad, Vlong{1}, Vlong{1}), VERR_CTRL_VALUE(0));
}

}  // namespace
