// Operators that combine the channels of a pixel, against per-pixel loops:
// ranks and means, linear maps, the principal component transform (whose
// inverse must give the image back), selection by an index image, and the
// channels tiled into one image.
#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

class ChannelMixTest : public LeakCheckedTest {};

// A multi-channel image of random values of `type` under a ragged domain,
// with its channels as test images.
struct MultiImage {
  std::vector<TestImage> channels;
  Vobject image;
};

MultiImage RandomChannels(const char* type, int n, int w, int h, std::mt19937& gen) {
  MultiImage m;
  const std::vector<uint8_t> domain = RandomMask(w, h, gen, false);
  double lo, hi;
  ValueRange(type, &lo, &hi);
  for (int c = 0; c < n; ++c) m.channels.push_back(MakeImage(type, w, h, domain, gen, lo, hi));
  Vobject all = m.channels[0].image;
  for (int c = 1; c < n; ++c) {
    Vobject next;
    EXPECT_EQ(append_channel(all, m.channels[c].image, &next), VRESULT_OK);
    all = next;
  }
  m.image = all;
  return m;
}

const vexa::PixelBuffer* Channel(const Vobject& image, int c) {
  vexa::db::ImageData data;
  EXPECT_EQ(vexa::db::GetImage(image.Id(), &data), VRESULT_OK);
  return data.channels.at(static_cast<size_t>(c));
}

TEST_F(ChannelMixTest, RanksMeansAndLinearMapsFollowEachPixelsChannels) {
  std::mt19937 gen(41);
  const int w = 19, h = 13;
  const MultiImage m = RandomChannels("byte", 4, w, h, gen);
  Vobject low, high, mean, mapped;
  ASSERT_EQ(rank_n(m.image, &low, 1), VRESULT_OK);
  ASSERT_EQ(rank_n(m.image, &high, 4), VRESULT_OK);
  ASSERT_EQ(mean_n(m.image, &mean), VRESULT_OK);
  // Two output channels: x0 - x3 + 1000 and 0.5 (x1 + x2).
  VTuple matrix;
  for (double v : {1.0, 0.0, 0.0, -1.0, 1000.0, 0.0, 0.5, 0.5, 0.0, 0.0}) matrix.Append(v);
  ASSERT_EQ(linear_trans_color(m.image, &mapped, matrix), VRESULT_OK);
  const TestImage& t0 = m.channels[0];
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      std::vector<double> v;
      for (const TestImage& t : m.channels) v.push_back(t.At(r, c));
      const bool in = t0.In(r, c);
      ASSERT_EQ(Channel(low, 0)->Get(r, c), in ? *std::min_element(v.begin(), v.end()) : 0);
      ASSERT_EQ(Channel(high, 0)->Get(r, c), in ? *std::max_element(v.begin(), v.end()) : 0);
      ASSERT_EQ(Channel(mean, 0)->Get(r, c), in ? std::round((v[0] + v[1] + v[2] + v[3]) / 4) : 0);
      ASSERT_EQ(Channel(mapped, 0)->Get(r, c), in ? v[0] - v[3] + 1000 : 0);
      ASSERT_EQ(Channel(mapped, 1)->Get(r, c), in ? 0.5 * (v[1] + v[2]) : 0);
    }
  EXPECT_EQ(rank_n(m.image, &low, 5), VERR_CTRL_VALUE(0));
  EXPECT_EQ(rank_n(m.image, &low, 0), VERR_CTRL_VALUE(0));
  VTuple bad;
  for (int k = 0; k < 7; ++k) bad.Append(1.0);
  EXPECT_EQ(linear_trans_color(m.image, &mapped, bad), VERR_CTRL_NUM(0));
}

TEST_F(ChannelMixTest, PrincipalComponentsAreUncorrelatedAndTheInverseRestoresTheImage) {
  std::mt19937 gen(43);
  const int w = 24, h = 18;
  // Three correlated channels: a, a + noise, 2 b - a.
  std::vector<uint8_t> full(static_cast<size_t>(w) * h, 1);
  const TestImage a = MakeImage("real", w, h, full, gen, 0, 100);
  const TestImage b = MakeImage("real", w, h, full, gen, 0, 10);
  Vobject c1, c2, three, pcs;
  ASSERT_EQ(add_image(a.image, b.image, &c1, 1.0, 0.0), VRESULT_OK);
  ASSERT_EQ(sub_image(b.image, a.image, &c2, 1.0, 0.0), VRESULT_OK);
  ASSERT_EQ(append_channel(a.image, c1, &three), VRESULT_OK);
  ASSERT_EQ(append_channel(three, c2, &three), VRESULT_OK);
  VTuple trans, inverse, mean, covariance, info;
  ASSERT_EQ(gen_principal_comp_trans(three, &trans, &inverse, &mean, &covariance, &info), VRESULT_OK);
  ASSERT_EQ(trans.Num(), 12);
  ASSERT_EQ(covariance.Num(), 9);
  ASSERT_EQ(info.Num(), 3);
  EXPECT_NEAR(info[0].D() + info[1].D() + info[2].D(), 1.0, 1e-12);
  EXPECT_GE(info[0].D(), info[1].D());
  EXPECT_GE(info[1].D(), info[2].D());
  EXPECT_NEAR(info[2].D(), 0.0, 1e-9);  // the third channel is a combination of the others

  VTuple info_again;
  ASSERT_EQ(principal_comp(three, &pcs, &info_again), VRESULT_OK);
  // The components are uncorrelated and centred.
  double s[3] = {0, 0, 0}, s01 = 0, s02 = 0, s12 = 0;
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const double p0 = Channel(pcs, 0)->Get(r, c), p1 = Channel(pcs, 1)->Get(r, c),
                   p2 = Channel(pcs, 2)->Get(r, c);
      s[0] += p0, s[1] += p1, s[2] += p2, s01 += p0 * p1, s02 += p0 * p2, s12 += p1 * p2;
    }
  const double n = w * h;
  for (double v : s) EXPECT_NEAR(v / n, 0.0, 1e-3);
  EXPECT_NEAR(s01 / n, 0.0, 1e-2);
  EXPECT_NEAR(s02 / n, 0.0, 1e-2);
  EXPECT_NEAR(s12 / n, 0.0, 1e-2);
  // Back through the inverse map: the original channels (float pixels).
  Vobject back;
  ASSERT_EQ(linear_trans_color(pcs, &back, inverse), VRESULT_OK);
  for (int ch = 0; ch < 3; ++ch)
    for (int r = 0; r < h; ++r)
      for (int c = 0; c < w; ++c)
        ASSERT_NEAR(Channel(back, ch)->Get(r, c), Channel(three, ch)->Get(r, c), 1e-3) << ch;
}

TEST_F(ChannelMixTest, IndexImageSelectsTheChannelOfEachPixel) {
  std::mt19937 gen(47);
  const int w = 15, h = 11;
  const MultiImage m = RandomChannels("int2", 3, w, h, gen);
  std::vector<uint8_t> full(static_cast<size_t>(w) * h, 1);
  // Indices 0..4: 0 and 4 name no channel.
  const TestImage index = MakeImage("byte", w, h, full, gen, 0, 5);
  Vobject picked;
  ASSERT_EQ(select_grayvalues_from_channels(m.image, index.image, &picked), VRESULT_OK);
  for (int r = 0; r < h; ++r)
    for (int c = 0; c < w; ++c) {
      const int k = static_cast<int>(index.At(r, c));
      const double want = m.channels[0].In(r, c) && k >= 1 && k <= 3 ? m.channels[k - 1].At(r, c) : 0;
      ASSERT_EQ(Channel(picked, 0)->Get(r, c), want) << r << "," << c;
    }
}

TEST_F(ChannelMixTest, TiledChannelsLieInTheGridWithTheDomainInEachTile) {
  std::mt19937 gen(53);
  const int w = 7, h = 5;
  const MultiImage m = RandomChannels("byte", 5, w, h, gen);
  for (const char* order : {"horizontal", "vertical"}) {
    Vobject tiled;
    ASSERT_EQ(tile_channels(m.image, &tiled, 2, order), VRESULT_OK);
    Vlong tw = 0, th = 0;
    ASSERT_EQ(get_image_size(tiled, &tw, &th), VRESULT_OK);
    ASSERT_EQ(tw, 2 * w);
    ASSERT_EQ(th, 3 * h);
    vexa::RegionPtr domain;
    const vexa::PixelBuffer* px = Pixels(tiled, &domain);
    const bool by_rows = std::string(order) == "horizontal";
    for (int k = 0; k < 5; ++k) {
      const int row = by_rows ? k / 2 : k % 3, col = by_rows ? k % 2 : k / 3;
      for (int r = 0; r < h; ++r)
        for (int c = 0; c < w; ++c) {
          const bool in = m.channels[k].In(r, c);
          ASSERT_EQ(domain->Contains(row * h + r, col * w + c), in) << order << " tile " << k;
          if (in) {
            ASSERT_EQ(px->Get(row * h + r, col * w + c), m.channels[k].At(r, c)) << order << " tile " << k;
          }
        }
    }
  }
}

}  // namespace
