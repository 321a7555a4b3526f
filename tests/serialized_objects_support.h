// Shared by the serialisation and socket tests: objects of every kind to
// send through an item or a connection, and a byte-exact comparison of
// what comes back (class, pixel type, sizes, domain chords, every pixel
// byte of every channel).
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "image_test_support.h"

namespace serial_test {

using Vexa::Vobject;

// Images of every pixel type (some with several channels) under random
// domains, a 1x1 image, a full-domain image, regions with holes, and an
// empty region.
inline std::vector<Vobject> Samples(std::mt19937& rng) {
  std::vector<Vobject> out;
  int i = 0;
  for (const char* type : image_test::kAllTypes) {
    const int w = 5 + i * 3, h = 4 + i;
    const image_test::Mask domain = image_test::RandomMask(rng, h, w);
    out.push_back(image_test::RandomImage(rng, type, w, h, 1 + i % 3, &domain));
    ++i;
  }
  out.push_back(image_test::RandomImage(rng, "byte", 1, 1));
  out.push_back(image_test::RandomImage(rng, "real", 9, 7));
  out.push_back(image_test::RegionObject(image_test::RandomMask(rng, 30, 40)));
  out.push_back(image_test::RegionObject(image_test::Mask(3, 3)));
  return out;
}

inline void ExpectSameObject(const Vobject& a, const Vobject& b) {
  vexa::RegionPtr ra, rb;
  ASSERT_EQ(vexa::db::GetRegion(a.Id(), &ra), VRESULT_OK);
  ASSERT_EQ(vexa::db::GetRegion(b.Id(), &rb), VRESULT_OK);
  EXPECT_TRUE(ra->chords() == rb->chords());
  vexa::db::ImageData ia, ib;
  const Vresult ca = vexa::db::GetImage(a.Id(), &ia);
  ASSERT_EQ(vexa::db::GetImage(b.Id(), &ib), ca);
  if (ca != VRESULT_OK) return;
  ASSERT_EQ(ia.channels.size(), ib.channels.size());
  for (size_t ch = 0; ch < ia.channels.size(); ++ch) {
    const vexa::PixelBuffer& x = *ia.channels[ch];
    const vexa::PixelBuffer& y = *ib.channels[ch];
    ASSERT_EQ(x.type(), y.type());
    ASSERT_EQ(x.width(), y.width());
    ASSERT_EQ(x.height(), y.height());
    EXPECT_EQ(std::memcmp(x.data(), y.data(), x.pixel_bytes()), 0) << "channel " << ch;
  }
}

inline void ExpectSameObjects(const std::vector<Vobject>& a, const Vobject& b) {
  const std::vector<Vobject> got = image_test::ObjectsOf(b);
  ASSERT_EQ(got.size(), a.size());
  for (size_t i = 0; i < a.size(); ++i) {
    SCOPED_TRACE(i);
    ExpectSameObject(a[i], got[i]);
  }
}

}  // namespace serial_test
