// deviation_n against the standard deviation over the channels computed
// here, for integer and real images under a non-rectangular domain.
#include <cmath>

#include "edge_test_support.h"

namespace {

using namespace Vexa;
using namespace image_test;
using namespace edge_test;

class ChannelDeviation : public LeakCheckedTest {};

TEST_F(ChannelDeviation, IsThePopulationDeviationOverTheChannels) {
  std::mt19937 gen(5);
  for (const char* type : {"byte", "int2", "real"}) {
    SCOPED_TRACE(type);
    const std::vector<uint8_t> domain = RandomMask(9, 7, gen, false);
    std::vector<TestImage> parts;
    for (int k = 0; k < 3; ++k) parts.push_back(MakeImage(type, 9, 7, domain, gen, 0, 250));
    Vobject image, deviation;
    ASSERT_EQ(compose3(parts[0].image, parts[1].image, parts[2].image, &image), VRESULT_OK);
    ASSERT_EQ(deviation_n(image, &deviation), VRESULT_OK);
    EXPECT_EQ(Pixels(deviation) != nullptr, true);
    ExpectFiltered(deviation, parts[0], type, 1e-5, [&](int r, int c) {
      double mean = 0, sq = 0;
      for (const TestImage& p : parts) mean += p.At(r, c) / 3;
      for (const TestImage& p : parts) sq += (p.At(r, c) - mean) * (p.At(r, c) - mean);
      return std::sqrt(sq / 3);
    });
    // One channel: no spread.
    ASSERT_EQ(deviation_n(parts[0].image, &deviation), VRESULT_OK);
    ExpectFiltered(deviation, parts[0], type, 0, [](int, int) { return 0.0; });
  }
}

}  // namespace
