// The edge-word kernels in every instruction-set form this processor runs:
// chords of every length from 0 to 200 pixels, with runs from single
// pixels (an edge at every pixel) to whole chords, must give the runs of a
// per-pixel loop, and the kernels must stay within the slack they declare.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "../ops/common/edge_words.h"

namespace {

using vexa::Chord;
using vexa::EdgeKernelForm;

// The forms to check: the processor's best and every lower one.
std::vector<EdgeKernelForm> Forms() {
  std::vector<EdgeKernelForm> forms{EdgeKernelForm::kBaseline};
  if (vexa::BestEdgeKernelForm() != EdgeKernelForm::kBaseline)
    forms.push_back(EdgeKernelForm::kAvx2);
  if (vexa::BestEdgeKernelForm() == EdgeKernelForm::kAvx512)
    forms.push_back(EdgeKernelForm::kAvx512);
  return forms;
}

std::string FormName(EdgeKernelForm form) {
  switch (form) {
    case EdgeKernelForm::kBaseline: return "baseline";
    case EdgeKernelForm::kAvx2: return "avx2";
    case EdgeKernelForm::kAvx512: return "avx512";
  }
  return "?";
}

// Restores the best form when a test ends, whatever it switched to.
class EdgeRunsTest : public ::testing::Test {
 protected:
  void TearDown() override { vexa::UseEdgeKernelForm(vexa::BestEdgeKernelForm()); }
};

// The runs of the passing pixels, one pixel at a time.
std::vector<Chord> ReferenceRuns(const std::vector<bool>& pass, int32_t r, int32_t cb) {
  std::vector<Chord> runs;
  const int32_t n = static_cast<int32_t>(pass.size());
  for (int32_t c = 0; c < n;) {
    if (!pass[c]) {
      ++c;
      continue;
    }
    const int32_t start = c;
    while (c < n && pass[c]) ++c;
    runs.push_back({r, cb + start, cb + c - 1});
  }
  return runs;
}

constexpr uint64_t kGuardWord = 0x5A5A5A5A5A5A5A5Aull;
constexpr int32_t kGuardInt = 0x5A5A5A5A;
constexpr size_t kGuard = 16;

// Runs of a chord from its edge words through EdgeRuns, with buffers of
// exactly the documented size followed by guards that must stay intact.
std::vector<Chord> DecodedRuns(const std::vector<uint64_t>& words, size_t n, int32_t r,
                               int32_t cb) {
  std::vector<int32_t> cols(n + 1 + vexa::kEdgeColumnSlack + kGuard, kGuardInt);
  const size_t max_runs = (n + 1) / 2;
  std::vector<Chord> runs(max_runs + vexa::kEdgeRunSlack + kGuard,
                          Chord{kGuardInt, kGuardInt, kGuardInt});
  const size_t m = vexa::EdgeRuns(words.data(), words.size(), r, cb, cols.data(), runs.data());
  EXPECT_LE(m, max_runs);
  for (size_t k = cols.size() - kGuard; k < cols.size(); ++k)
    EXPECT_EQ(cols[k], kGuardInt) << "column scratch overrun at " << k;
  for (size_t k = runs.size() - kGuard; k < runs.size(); ++k)
    EXPECT_EQ(runs[k].r, kGuardInt) << "run overrun at " << k;
  runs.resize(m);
  return runs;
}

// Edge words of byte pixels under lo..hi (in a buffer with a guard word),
// checked for their count; returns the words.
std::vector<uint64_t> RangeWords(const std::vector<uint8_t>& pixels, uint8_t lo, uint8_t hi,
                                 size_t expected_edges) {
  const size_t n = pixels.size();
  std::vector<uint64_t> words(vexa::EdgeWordCount(n) + 1, kGuardWord);
  EXPECT_EQ(vexa::ByteRangeEdgeWords(pixels.data(), n, lo, hi, words.data()), expected_edges);
  EXPECT_EQ(words.back(), kGuardWord);
  words.pop_back();
  return words;
}

// Edge words of the same test through a mask of bytes.
std::vector<uint64_t> MaskWords(const std::vector<bool>& pass, size_t expected_edges) {
  const size_t n = pass.size();
  std::vector<uint8_t> mask(vexa::EdgeWordCount(n) * vexa::kEdgeWordBits);
  for (size_t k = 0; k < n; ++k) mask[k] = pass[k] ? 0xFF : 0x00;
  std::vector<uint64_t> words(vexa::EdgeWordCount(n));
  EXPECT_EQ(vexa::MaskEdgeWords(mask.data(), n, words.data()), expected_edges);
  return words;
}

// Pixels of one chord: noise, alternating values (an edge at every
// pixel), or blocks of random length.
std::vector<uint8_t> ChordPixels(size_t n, int pattern, std::mt19937& gen) {
  std::vector<uint8_t> p(n);
  std::uniform_int_distribution<int> value(0, 255), len(1, 90);
  for (size_t k = 0; k < n;) {
    if (pattern == 0) {
      p[k++] = static_cast<uint8_t>(value(gen));
    } else if (pattern == 1) {
      p[k] = k % 2 ? 10 : 200;
      ++k;
    } else {
      const uint8_t v = static_cast<uint8_t>(value(gen));
      for (int j = len(gen); j > 0 && k < n; --j) p[k++] = v;
    }
  }
  return p;
}

TEST_F(EdgeRunsTest, EveryFormGivesThePerPixelRunsOfChordsUpTo200Pixels) {
  std::mt19937 gen(314);
  std::uniform_int_distribution<int32_t> coord(-1000, 100000);
  for (const EdgeKernelForm form : Forms()) {
    vexa::UseEdgeKernelForm(form);
    for (size_t n = 0; n <= 200; ++n) {
      for (int pattern = 0; pattern < 3; ++pattern) {
        SCOPED_TRACE(FormName(form) + ", " + std::to_string(n) + " pixels, pattern " +
                     std::to_string(pattern));
        const std::vector<uint8_t> pixels = ChordPixels(n, pattern, gen);
        const uint8_t lo = pattern == 1 ? 200 : static_cast<uint8_t>(gen() % 200);
        const uint8_t hi = pattern == 1 ? 255 : static_cast<uint8_t>(lo + gen() % (256 - lo));
        std::vector<bool> pass(n);
        for (size_t k = 0; k < n; ++k) pass[k] = pixels[k] >= lo && pixels[k] <= hi;
        const int32_t r = coord(gen), cb = coord(gen);
        const std::vector<Chord> expected = ReferenceRuns(pass, r, cb);
        const std::vector<uint64_t> words = RangeWords(pixels, lo, hi, 2 * expected.size());
        EXPECT_EQ(words, MaskWords(pass, 2 * expected.size()));
        EXPECT_EQ(DecodedRuns(words, n, r, cb), expected);
      }
    }
  }
}

// Whole chords selected or rejected, and the widest byte ranges, at word
// boundaries: no edge but the closing one, or none at all.
TEST_F(EdgeRunsTest, EveryFormHandlesChordsWithoutInnerEdges) {
  for (const EdgeKernelForm form : Forms()) {
    vexa::UseEdgeKernelForm(form);
    for (const size_t n : {1, 63, 64, 65, 128, 1000}) {
      SCOPED_TRACE(FormName(form) + ", " + std::to_string(n) + " pixels");
      const std::vector<uint8_t> pixels(n, 255);
      EXPECT_EQ(DecodedRuns(RangeWords(pixels, 0, 255, 2), n, 7, 3),
                (std::vector<Chord>{{7, 3, 3 + static_cast<int32_t>(n) - 1}}));
      EXPECT_TRUE(DecodedRuns(RangeWords(pixels, 0, 254, 0), n, 7, 3).empty());
    }
  }
}

}  // namespace
