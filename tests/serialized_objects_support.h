// Shared by the serialisation and socket tests: objects of every kind to
// send through an item or a connection, and a byte-exact comparison of
// what comes back (class, pixel type, sizes, domain chords, every pixel
// byte of every channel; for sub-pixel objects every point, attribute,
// source contour and part).
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
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

inline Vobject XldObject(std::shared_ptr<vexa::Xld> xld) {
  Vexa::Vkey key = VKEY_UNDEF;
  EXPECT_EQ(vexa::db::NewXld(std::move(xld), &key), VRESULT_OK);
  return Vobject(key, 1);
}

// A contour with per-point and global attributes, an empty contour, a
// polygon with its source contour, one without, and parallels of two
// polygons.
inline std::vector<Vobject> XldSamples(std::mt19937& rng) {
  std::uniform_real_distribution<float> coord(-50.0f, 500.0f);
  auto contour = std::make_shared<vexa::Xld>();
  for (int i = 0; i < 40; ++i) {
    contour->rows.push_back(coord(rng));
    contour->cols.push_back(coord(rng));
  }
  vexa::XldAttrib angle{"angle", {}};
  for (int i = 0; i < 40; ++i) angle.values.push_back(0.01 * i - 0.2);
  contour->attribs = {angle};
  contour->globals = {{"regr_norm_row", {0.25}}, {"cont_approx", {-1.0}}};
  auto polygon = std::make_shared<vexa::Xld>();
  polygon->cls = VOBJ_XLD_POLY;
  for (int i : {0, 11, 25, 39}) {
    polygon->rows.push_back(contour->rows[i]);
    polygon->cols.push_back(contour->cols[i]);
    polygon->source_index.push_back(i);
  }
  polygon->source = contour;
  auto bare_polygon = std::make_shared<vexa::Xld>();
  bare_polygon->cls = VOBJ_XLD_POLY;
  bare_polygon->rows = {1.5f, 2.5f, 3.5f};
  bare_polygon->cols = {0.0f, 10.0f, 0.0f};
  bare_polygon->source_index = {0, 1, 2};
  auto parallels = std::make_shared<vexa::Xld>();
  parallels->cls = VOBJ_XLD_MOD_PARA;
  parallels->part1 = polygon;
  parallels->part2 = bare_polygon;
  parallels->first1 = 0;
  parallels->last1 = 2;
  parallels->first2 = 0;
  parallels->last2 = 1;
  parallels->quality = {0.75, 3.0};
  return {XldObject(contour), XldObject(std::make_shared<vexa::Xld>()), XldObject(polygon),
          XldObject(bare_polygon), XldObject(parallels)};
}

inline void ExpectSameObject(const Vobject& a, const Vobject& b) {
  vexa::XldPtr xa, xb;
  if (vexa::db::GetXld(a.Id(), &xa) == VRESULT_OK) {
    ASSERT_EQ(vexa::db::GetXld(b.Id(), &xb), VRESULT_OK);
    EXPECT_TRUE(*xa == *xb);
    return;
  }
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

// CRC-32 with zlib's polynomial, for items the tests assemble by hand.
inline uint32_t Crc32(const unsigned char* p, size_t n) {
  uint32_t crc = 0xffffffffu;
  for (size_t i = 0; i < n; ++i) {
    crc ^= p[i];
    for (int b = 0; b < 8; ++b) crc = (crc >> 1) ^ (0xedb88320u & (0u - (crc & 1u)));
  }
  return ~crc;
}

// `item` with its payload replaced by `payload` and the header's length
// and checksum made to match, so that the payload decoder is what judges.
inline std::vector<unsigned char> WithPayload(std::vector<unsigned char> item,
                                              const std::vector<unsigned char>& payload) {
  item.resize(20);
  const uint64_t length = payload.size();
  const uint32_t crc = Crc32(payload.data(), payload.size());
  std::memcpy(&item[8], &length, 8);
  std::memcpy(&item[16], &crc, 4);
  item.insert(item.end(), payload.begin(), payload.end());
  return item;
}

}  // namespace serial_test
