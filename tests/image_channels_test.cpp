// Channel operators and color transforms through the procedural functions:
// channels taken apart and put together under common domains, gray values
// against the luminance formula, color spaces at known colors, against an
// independent hsv reference and in round trips.
#include <algorithm>
#include <cmath>

#include "image_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

constexpr double kPi = 3.14159265358979323846;

Vobject Compose(const std::vector<Vobject>& in) {
  Vobject out;
  Vresult rc = VERR_INTERNAL;
  switch (in.size()) {
    case 2: rc = compose2(in[0], in[1], &out); break;
    case 3: rc = compose3(in[0], in[1], in[2], &out); break;
    case 4: rc = compose4(in[0], in[1], in[2], in[3], &out); break;
    case 5: rc = compose5(in[0], in[1], in[2], in[3], in[4], &out); break;
    case 6: rc = compose6(in[0], in[1], in[2], in[3], in[4], in[5], &out); break;
    case 7: rc = compose7(in[0], in[1], in[2], in[3], in[4], in[5], in[6], &out); break;
  }
  EXPECT_EQ(rc, VRESULT_OK);
  return out;
}

std::vector<Vobject> Decompose(const Vobject& in, size_t n) {
  std::vector<Vobject> o(7);
  Vresult rc = VERR_INTERNAL;
  switch (n) {
    case 2: rc = decompose2(in, &o[0], &o[1]); break;
    case 3: rc = decompose3(in, &o[0], &o[1], &o[2]); break;
    case 4: rc = decompose4(in, &o[0], &o[1], &o[2], &o[3]); break;
    case 5: rc = decompose5(in, &o[0], &o[1], &o[2], &o[3], &o[4]); break;
    case 6: rc = decompose6(in, &o[0], &o[1], &o[2], &o[3], &o[4], &o[5]); break;
    case 7: rc = decompose7(in, &o[0], &o[1], &o[2], &o[3], &o[4], &o[5], &o[6]); break;
  }
  EXPECT_EQ(rc, VRESULT_OK);
  o.resize(n);
  return o;
}

// Same pixels in channel `ca` of a and `cb` of b.
void ExpectSameChannel(const Vobject& a, size_t ca, const Vobject& b, size_t cb) {
  Pixels pa(a), pb(b);
  ASSERT_EQ(pa[ca].type(), pb[cb].type());
  ASSERT_EQ(0, std::memcmp(pa[ca].data(), pb[cb].data(), pa[ca].pixel_bytes()));
}

using ChannelTest = ImageOpsTest;

TEST_F(ChannelTest, ComposeAndDecomposeAreInverseUnderTheCommonDomain) {
  for (size_t n = 2; n <= 7; ++n) {
    std::vector<Vobject> parts;
    std::vector<Mask> domains;
    for (size_t i = 0; i < n; ++i) {
      domains.push_back(RandomMask(rng_, 12, 15));
      parts.push_back(RandomImage(rng_, "int4", 15, 12, 1, &domains.back()));
    }
    Vobject multi = Compose(parts);
    Pixels m(multi);
    ASSERT_EQ(m.channels(), n);
    for (int r = 0; r < 12; ++r)
      for (int c = 0; c < 15; ++c) {
        bool all = true;
        for (const Mask& d : domains) all = all && d.At(r, c);
        ASSERT_EQ(m.InDomain(r, c), all);
      }
    const std::vector<Vobject> back = Decompose(multi, n);
    for (size_t i = 0; i < n; ++i) {
      ExpectSameChannel(parts[i], 0, back[i], 0);
      EXPECT_EQ(Pixels(back[i]).data.domain->chords(), m.data.domain->chords());
    }
    Vobject o1, o2;
    if (n != 2) {
      EXPECT_EQ(decompose2(multi, &o1, &o2), VERR_CHANNEL);
    }
  }
  Vobject a = RandomImage(rng_, "byte", 4, 4), b = RandomImage(rng_, "byte", 4, 5), out;
  Vobject c = RandomImage(rng_, "int1", 4, 4);
  EXPECT_EQ(compose2(a, b, &out), VERR_IMAGE_SIZE);
  EXPECT_EQ(compose2(a, c, &out), VERR_PIXEL_TYPE);
  EXPECT_EQ(compose2(Concat({a, a}), a, &out), VERR_OBJ_NUM(2));
}

TEST_F(ChannelTest, ChannelsAreAccessedAppendedAndSplitInOrder) {
  for (const int side : {1, 9}) {
    const Mask ma = RandomMask(rng_, side, side), mb = RandomMask(rng_, side, side);
    Vobject a = RandomImage(rng_, "complex", side, side, 3, &ma);
    Vobject b = RandomImage(rng_, "complex", side, side, 2, &mb);
    Vobject second, appended, joined, split;
    ASSERT_EQ(access_channel(a, &second, 2), VRESULT_OK);
    ExpectSameChannel(a, 1, second, 0);
    ASSERT_EQ(append_channel(a, b, &appended), VRESULT_OK);
    ASSERT_EQ(channels_to_image(Concat({b, a}), &joined), VRESULT_OK);
    ASSERT_EQ(image_to_channels(a, &split), VRESULT_OK);
    VTuple counts;
    ASSERT_EQ(count_channels(Concat({a, b, appended, joined, split}), &counts), VRESULT_OK);
    ASSERT_EQ(counts.Num(), 7);  // the split image's tuple counts as its 3 images
    const Vlong want[] = {3, 2, 5, 5, 1, 1, 1};
    for (int i = 0; i < 7; ++i) EXPECT_EQ(counts[i].L(), want[i]);
    for (size_t ch = 0; ch < 5; ++ch) {
      ExpectSameChannel(appended, ch, ch < 3 ? a : b, ch < 3 ? ch : ch - 3);
      ExpectSameChannel(joined, ch, ch < 2 ? b : a, ch < 2 ? ch : ch - 2);
    }
    const std::vector<Vobject> parts = ObjectsOf(split);
    for (size_t ch = 0; ch < 3; ++ch) ExpectSameChannel(a, ch, parts[ch], 0);
    Pixels pa(appended);
    for (int r = 0; r < side; ++r)
      for (int c = 0; c < side; ++c) ASSERT_EQ(pa.InDomain(r, c), ma.At(r, c) && mb.At(r, c));
    Vobject out;
    EXPECT_EQ(access_channel(a, &out, 4), VERR_CHANNEL);
    EXPECT_EQ(access_channel(a, &out, 0), VERR_CHANNEL);
  }
}

double Luma(double r, double g, double b) { return 0.299 * r + 0.587 * g + 0.114 * b; }

TEST_F(ChannelTest, GrayIsTheRoundedLuminanceOverTheCommonDomain) {
  for (const int side : {1, 14}) {
    const Mask m = RandomMask(rng_, side, side), m2 = RandomMask(rng_, side, side);
    Vobject rgb = RandomImage(rng_, "uint2", side, side, 3, &m), gray1, gray3, one, same;
    std::vector<Vobject> planes = Decompose(rgb, 3);
    Vobject green;
    ASSERT_EQ(change_domain(planes[1], RegionObject(m2), &green), VRESULT_OK);
    ASSERT_EQ(rgb1_to_gray(rgb, &gray1), VRESULT_OK);
    ASSERT_EQ(rgb3_to_gray(planes[0], green, planes[2], &gray3), VRESULT_OK);
    Pixels p(rgb), g1(gray1), g3(gray3);
    for (int r = 0; r < side; ++r)
      for (int c = 0; c < side; ++c) {
        const double want = std::round(Luma(p[0].Get(r, c), p[1].Get(r, c), p[2].Get(r, c)));
        ASSERT_EQ(g1[0].Get(r, c), m.At(r, c) ? want : 0.0);
        ASSERT_EQ(g3[0].Get(r, c), m.At(r, c) && m2.At(r, c) ? want : 0.0);
        ASSERT_EQ(g3.InDomain(r, c), m.At(r, c) && m2.At(r, c));
      }
    ASSERT_EQ(rgb1_to_gray(planes[0], &same), VRESULT_OK);
    ExpectSameChannel(planes[0], 0, same, 0);
  }
  Vobject two = RandomImage(rng_, "byte", 3, 3, 2), out;
  EXPECT_EQ(rgb1_to_gray(two, &out), VERR_CHANNEL);
}

// Three real one-channel images of values in [0, 1] under one domain.
std::vector<Vobject> UnitRgb(std::mt19937& rng, int side, const Mask& dom) {
  std::vector<Vobject> planes;
  std::uniform_real_distribution<double> unit(0, 1);
  for (int i = 0; i < 3; ++i) {
    planes.push_back(RandomImage(rng, "real", side, side, 1, &dom));
    vexa::PixelBuffer* b = nullptr;
    EXPECT_EQ(vexa::db::WritableChannel(planes.back().Id(), 0, &b), VRESULT_OK);
    for (int r = 0; r < side; ++r)
      for (int c = 0; c < side; ++c) b->Set(r, c, unit(rng));
  }
  return planes;
}

std::vector<Vobject> Trans(bool from_rgb, const std::vector<Vobject>& in, const char* space) {
  std::vector<Vobject> out(3);
  const Vresult rc = from_rgb
      ? trans_from_rgb(in[0], in[1], in[2], &out[0], &out[1], &out[2], space)
      : trans_to_rgb(in[0], in[1], in[2], &out[0], &out[1], &out[2], space);
  EXPECT_EQ(rc, VRESULT_OK) << space;
  return out;
}

// One pixel of a real color space image, as written.
std::vector<double> Pixel(const std::vector<Vobject>& planes, int r, int c) {
  std::vector<double> v;
  for (const Vobject& p : planes) v.push_back(Pixels(p)[0].Get(r, c));
  return v;
}

TEST_F(ChannelTest, ColorSpacesAtKnownColors) {
  struct Known {
    const char* space;
    double rgb[3], want[3];
  };
  const Known known[] = {
      {"hsv", {1, 0, 0}, {0, 1, 1}},           {"hsv", {0, 0.5, 0}, {2 * kPi / 3, 1, 0.5}},
      {"hsv", {0, 0, 1}, {4 * kPi / 3, 1, 1}}, {"hsv", {0.5, 0.5, 0.5}, {0, 0, 0.5}},
      {"hsi", {1, 0, 0}, {0, 1, 1.0 / 3}},     {"hsi", {0, 0, 1}, {4 * kPi / 3, 1, 1.0 / 3}},
      {"yuv", {1, 1, 1}, {1, 0, 0}},           {"yuv", {1, 0, 0}, {0.299, -0.492 * 0.299, 0.877 * 0.701}},
      {"yiq", {1, 1, 1}, {1, 0, 0}},           {"cielab", {1, 1, 1}, {100, 0, 0}},
      {"cielab", {0, 0, 0}, {0, 0, 0}},
  };
  for (const Known& k : known) {
    std::vector<Vobject> rgb;
    for (double v : k.rgb) {
      Vobject p;
      ASSERT_EQ(gen_image_const(&p, "real", 1, 1), VRESULT_OK);
      ASSERT_EQ(set_grayval(p, 0, 0, v), VRESULT_OK);
      rgb.push_back(p);
    }
    const std::vector<double> got = Pixel(Trans(true, rgb, k.space), 0, 0);
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(got[i], k.want[i], 2e-3) << k.space << " " << i;
  }
}

TEST_F(ChannelTest, HsvGoesBackUnderTheTextbookInverse) {
  const Mask dom = RandomMask(rng_, 16, 16);
  const std::vector<Vobject> rgb = UnitRgb(rng_, 16, dom);
  const std::vector<Vobject> hsv = Trans(true, rgb, "hsv");
  for (int r = 0; r < 16; ++r)
    for (int c = 0; c < 16; ++c) {
      if (!dom.At(r, c)) continue;
      const std::vector<double> in = Pixel(rgb, r, c), got = Pixel(hsv, r, c);
      const double max = std::max({in[0], in[1], in[2]});
      const double min = std::min({in[0], in[1], in[2]});
      // The textbook way back: chroma C = V S, the second largest component
      // X = C (1 - |H' mod 2 - 1|) with H' the hue in sixths of a turn.
      const double chroma = got[2] * got[1], hp = got[0] / (kPi / 3);
      const double x = chroma * (1 - std::fabs(std::fmod(hp, 2.0) - 1));
      const int sector = std::min(static_cast<int>(hp), 5);
      const double rgb1[6][3] = {{chroma, x, 0}, {x, chroma, 0}, {0, chroma, x},
                                 {0, x, chroma}, {x, 0, chroma}, {chroma, 0, x}};
      for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(rgb1[sector][i] + got[2] - chroma, in[i], 1e-5);
      EXPECT_GE(got[0], 0.0);
      EXPECT_LT(got[0], 2 * kPi);
      EXPECT_NEAR(got[1], (max - min) / max, 1e-6);
      EXPECT_NEAR(got[2], max, 1e-6);
    }
}

TEST_F(ChannelTest, ColorSpacesRoundTrip) {
  for (const char* space : {"hsv", "hsi", "yuv", "yiq", "cielab"}) {
    for (const int side : {1, 12}) {
      const Mask dom = RandomMask(rng_, side, side);
      const std::vector<Vobject> rgb = UnitRgb(rng_, side, dom);
      const std::vector<Vobject> back = Trans(false, Trans(true, rgb, space), space);
      std::vector<Vobject> bytes(3), byte_back;
      for (int i = 0; i < 3; ++i) {
        Vobject scaled;
        ASSERT_EQ(gen_image_proto(rgb[i], &scaled, 0.0), VRESULT_OK);
        Pixels src(rgb[i]);
        for (int r = 0; r < side; ++r)
          for (int c = 0; c < side; ++c)
            ASSERT_EQ(set_grayval(scaled, r, c, src[0].Get(r, c) * 255), VRESULT_OK);
        ASSERT_EQ(convert_image_type(scaled, &bytes[i], "byte"), VRESULT_OK);
      }
      byte_back = Trans(false, Trans(true, bytes, space), space);
      for (int r = 0; r < side; ++r)
        for (int c = 0; c < side; ++c) {
          if (!dom.At(r, c)) continue;
          const std::vector<double> a = Pixel(rgb, r, c), b = Pixel(back, r, c);
          const std::vector<double> ab = Pixel(bytes, r, c), bb = Pixel(byte_back, r, c);
          for (int i = 0; i < 3; ++i) {
            ASSERT_NEAR(b[i], a[i], 1e-4) << space;
            ASSERT_NEAR(bb[i], ab[i], 5) << space;
          }
        }
    }
  }
  Vobject r = RandomImage(rng_, "int4", 2, 2), o1, o2, o3;
  EXPECT_EQ(trans_from_rgb(r, r, r, &o1, &o2, &o3, "hsv"), VERR_PIXEL_TYPE);
  EXPECT_EQ(trans_from_rgb(r, r, r, &o1, &o2, &o3, "rgb"), VERR_CTRL_VALUE(0));
}

}  // namespace
