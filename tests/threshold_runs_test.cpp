// threshold and binary_threshold on rows wider than one 64-pixel mask word:
// runs that start or end on word boundaries, cross several words, fill a
// whole row or hold a single pixel, under a full and a ragged domain, must
// select exactly the pixels a per-pixel loop selects.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "image_ops_support.h"

namespace {

using namespace Vexa;
using namespace image_test;

class ThresholdRunsTest : public LeakCheckedTest {};

// A byte image of constant blocks with random lengths of 1 to 150 pixels,
// so that runs of every length meet the word boundaries at random places;
// every `period`-th row is one block, a run that fills the row.
std::vector<uint8_t> BlockPixels(int width, int height, std::mt19937& gen) {
  std::vector<uint8_t> p(static_cast<size_t>(width) * height);
  std::uniform_int_distribution<int> len(1, 150), value(0, 255);
  for (int r = 0; r < height; ++r) {
    uint8_t* row = p.data() + static_cast<size_t>(r) * width;
    if (r % 7 == 3) {
      std::fill(row, row + width, static_cast<uint8_t>(200));
      continue;
    }
    for (int c = 0; c < width;) {
      const int n = std::min(len(gen), width - c);
      std::fill(row + c, row + c + n, static_cast<uint8_t>(value(gen)));
      c += n;
    }
  }
  return p;
}

// `pixels` under `domain` as an image object.
Vobject ByteImage(std::vector<uint8_t>& pixels, int width, int height,
                  const std::vector<uint8_t>& domain) {
  Vobject full;
  EXPECT_EQ(gen_image1(&full, "byte", width, height,
                       static_cast<Vlong>(reinterpret_cast<uintptr_t>(pixels.data()))),
            VRESULT_OK);
  Vkey reduced = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewImageWithDomain(full.Id(), MaskRegion(domain, width, height), &reduced),
            VRESULT_OK);
  return Vobject(reduced, 1);
}

template <class Pred>
std::vector<uint8_t> Expected(const std::vector<uint8_t>& pixels,
                              const std::vector<uint8_t>& domain, Pred pred) {
  std::vector<uint8_t> m(pixels.size(), 0);
  for (size_t k = 0; k < m.size(); ++k) m[k] = domain[k] && pred(pixels[k]);
  return m;
}

TEST_F(ThresholdRunsTest, RunsAcrossMaskWordsMatchAPerPixelLoop) {
  std::mt19937 gen(71);
  for (const int width : {1, 63, 64, 65, 128, 130, 333}) {
    const int height = 15;
    std::vector<uint8_t> pixels = BlockPixels(width, height, gen);
    for (const bool full : {true, false}) {
      SCOPED_TRACE("width " + std::to_string(width) + (full ? " full" : " ragged"));
      const std::vector<uint8_t> domain = RandomMask(width, height, gen, full);
      const Vobject image = ByteImage(pixels, width, height, domain);

      Vobject region;
      ASSERT_EQ(threshold(image, &region, 60.5, 200.0), VRESULT_OK);
      EXPECT_EQ(MaskOf(region, width, height),
                Expected(pixels, domain, [](uint8_t v) { return v >= 61 && v <= 200; }));

      for (const char* mode : {"dark", "light"}) {
        Vobject split;
        Vlong used = 0;
        ASSERT_EQ(binary_threshold(image, &split, "max_separability", mode, &used), VRESULT_OK);
        const bool dark = std::string(mode) == "dark";
        EXPECT_EQ(MaskOf(split, width, height),
                  Expected(pixels, domain, [&](uint8_t v) { return dark ? v <= used : v > used; }));
      }
    }
  }
}

// The region's runs exactly: the canonical runs of the expected mask, so a
// run split in two or a row out of order fails as well as a wrong pixel.
void ExpectRuns(const Vobject& region, const std::vector<uint8_t>& expected, int width,
                int height) {
  vexa::RegionPtr reg;
  ASSERT_EQ(vexa::db::GetRegion(region.Id(), &reg), VRESULT_OK);
  EXPECT_EQ(reg->chords(), MaskRegion(expected, width, height)->chords());
}

// Whether the region is held as bit rows.
bool HeldAsBits(const Vobject& region) {
  vexa::RegionPtr reg;
  return vexa::db::GetRegion(region.Id(), &reg) == VRESULT_OK && reg->plane() != nullptr;
}

// Pixel noise gives runs of one or two pixels and many edges per mask word;
// every fourth row alternates between a selected and a rejected value, 64
// edges in each word. Bounds at both ends of the byte range and a single
// value; full and ragged domains.
TEST_F(ThresholdRunsTest, NoisyBytesGiveTheRunsOfAPerPixelLoop) {
  std::mt19937 gen(2024);
  std::uniform_int_distribution<int> value(0, 255);
  for (const int width : {1, 2, 64, 65, 127, 129, 300}) {
    const int height = 12;
    std::vector<uint8_t> pixels(static_cast<size_t>(width) * height);
    for (size_t k = 0; k < pixels.size(); ++k)
      pixels[k] = (k / width) % 4 == 1 ? (k % 2 ? 10 : 250) : static_cast<uint8_t>(value(gen));
    for (const bool full : {true, false}) {
      SCOPED_TRACE("width " + std::to_string(width) + (full ? " full" : " ragged"));
      const std::vector<uint8_t> domain = RandomMask(width, height, gen, full);
      const Vobject image = ByteImage(pixels, width, height, domain);
      for (const auto& [lo, hi] : {std::pair<int, int>{0, 127}, {128, 255}, {0, 255},
                                   {77, 77}, {90, 170}, {251, 255}}) {
        SCOPED_TRACE("bounds " + std::to_string(lo) + ".." + std::to_string(hi));
        Vobject region;
        ASSERT_EQ(threshold(image, &region, lo, hi), VRESULT_OK);
        ExpectRuns(region, Expected(pixels, domain, [&](uint8_t v) { return v >= lo && v <= hi; }),
                   width, height);
      }
      for (const char* mode : {"dark", "light"}) {
        Vobject split;
        Vlong used = 0;
        ASSERT_EQ(binary_threshold(image, &split, "max_separability", mode, &used), VRESULT_OK);
        const bool dark = std::string(mode) == "dark";
        ExpectRuns(split,
                   Expected(pixels, domain, [&](uint8_t v) { return dark ? v <= used : v > used; }),
                   width, height);
      }
    }
  }
}

// Domains of four million pixels and more are done in two halves of their
// chords at once: the halves must meet without a run lost, doubled or out
// of order, whatever the middle chord holds, under full and ragged
// domains and with an odd number of chords.
TEST_F(ThresholdRunsTest, LargeImagesSplitOverTwoThreadsGiveTheRunsOfAPerPixelLoop) {
  std::mt19937 gen(5);
  const int width = 2131, height = 2001;
  std::vector<uint8_t> pixels = BlockPixels(width, height, gen);
  for (size_t k = 0; k < pixels.size(); k += 3) pixels[k] = static_cast<uint8_t>(gen());
  for (const bool full : {true, false}) {
    SCOPED_TRACE(full ? "full" : "ragged");
    // Ragged: gaps cut into every fifth row, the area still far above the
    // size at which the work is split.
    std::vector<uint8_t> domain(pixels.size(), 1);
    for (int r = 2; !full && r < height; r += 5)
      std::fill_n(domain.begin() + static_cast<std::ptrdiff_t>(r) * width + r % 97, 40, 0);
    const Vobject image = ByteImage(pixels, width, height, domain);
    Vobject region;
    ASSERT_EQ(threshold(image, &region, 70, 190), VRESULT_OK);
    // Over the whole image the noise keeps the result as bit rows, whose
    // runs are then read in two halves as well.
    EXPECT_EQ(HeldAsBits(region), full);
    ExpectRuns(region, Expected(pixels, domain, [](uint8_t v) { return v >= 70 && v <= 190; }), width,
               height);
    Vobject split;
    Vlong used = 0;
    ASSERT_EQ(binary_threshold(image, &split, "max_separability", "dark", &used), VRESULT_OK);
    ExpectRuns(split, Expected(pixels, domain, [&](uint8_t v) { return v <= used; }), width, height);
  }
}

// The same for 16-bit pixels, which go through a mask of bytes first.
TEST_F(ThresholdRunsTest, NoisyWordsGiveTheRunsOfAPerPixelLoop) {
  std::mt19937 gen(99);
  for (const int width : {3, 64, 130}) {
    for (const bool full : {true, false}) {
      SCOPED_TRACE("width " + std::to_string(width) + (full ? " full" : " ragged"));
      const int height = 10;
      const TestImage t =
          MakeImage("uint2", width, height, RandomMask(width, height, gen, full), gen, 0.0, 8.0);
      std::vector<uint8_t> expected(t.value.size(), 0);
      for (size_t k = 0; k < expected.size(); ++k)
        expected[k] = t.domain[k] && t.value[k] >= 3 && t.value[k] <= 5;
      Vobject region;
      ASSERT_EQ(threshold(t.image, &region, 2.5, 5.0), VRESULT_OK);
      ExpectRuns(region, expected, width, height);
    }
  }
}

// The same pixels under the full domain and under a domain that is the
// full image given as a non-rectangular union of pieces select the same
// region, whichever way the scan walks them.
TEST_F(ThresholdRunsTest, FullDomainAndPiecewiseDomainAgree) {
  std::mt19937 gen(5);
  const int width = 200, height = 9;
  std::vector<uint8_t> pixels = BlockPixels(width, height, gen);
  const std::vector<uint8_t> all(pixels.size(), 1);
  std::vector<uint8_t> left = all, right = all;
  for (int r = 0; r < height; ++r)
    for (int c = 0; c < width; ++c) (c < 64 + r ? right : left)[static_cast<size_t>(r) * width + c] = 0;
  Vobject whole, part_left, part_right;
  ASSERT_EQ(threshold(ByteImage(pixels, width, height, all), &whole, 0.0, 99.0), VRESULT_OK);
  ASSERT_EQ(threshold(ByteImage(pixels, width, height, left), &part_left, 0.0, 99.0), VRESULT_OK);
  ASSERT_EQ(threshold(ByteImage(pixels, width, height, right), &part_right, 0.0, 99.0), VRESULT_OK);
  std::vector<uint8_t> joined = MaskOf(part_left, width, height);
  const std::vector<uint8_t> second = MaskOf(part_right, width, height);
  for (size_t k = 0; k < joined.size(); ++k) joined[k] |= second[k];
  EXPECT_EQ(MaskOf(whole, width, height), joined);
}

}  // namespace
