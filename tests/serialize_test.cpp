// Serialised items: byte-exact round trips of tuples, images of every
// pixel type under random domains, regions, sub-pixel objects and mixed
// objects, through the handle, through raw pointers and through files;
// refusal of items of the wrong kind; and damaged items (cut at every
// length, every byte flipped) that must give a code and no object, never
// a crash.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <vexaobj.h>

#include "serialized_objects_support.h"
#include "vexa/errors.h"

namespace {

using namespace Vexa;
using serial_test::ExpectSameObjects;

class SerializeTest : public image_test::ImageOpsTest {
 protected:
  void TearDown() override {
    EXPECT_EQ(clear_all_serialized_items(), VRESULT_OK);
    image_test::ImageOpsTest::TearDown();
  }
  // The bytes of an item, copied out.
  static std::vector<unsigned char> BytesOf(Vlong item) {
    Vlong ptr = 0, size = 0;
    EXPECT_EQ(get_serialized_item_ptr(item, &ptr, &size), VRESULT_OK);
    const auto* p = reinterpret_cast<const unsigned char*>(static_cast<uintptr_t>(ptr));
    return std::vector<unsigned char>(p, p + size);
  }
  // An item made from `bytes` (copied).
  static Vlong ItemOf(const std::vector<unsigned char>& bytes) {
    Vlong item = -1;
    EXPECT_EQ(create_serialized_item_ptr(
                  static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data())),
                  static_cast<Vlong>(bytes.size()), "true", &item),
              VRESULT_OK);
    return item;
  }
};

TEST_F(SerializeTest, TuplesRoundTripWithTypesAndBitsIntact) {
  VTuple t;
  t.Append(VTuple(Vlong{-5})).Append(VTuple(Vlong{1} << 60)).Append(VTuple(-0.0));
  t.Append(VTuple(std::nan(""))).Append(VTuple("")).Append(VTuple("text with\nbreaks"));
  for (const VTuple& original : {t, VTuple()}) {
    Vlong item = -1;
    ASSERT_EQ(serialize_tuple(original, &item), VRESULT_OK);
    VTuple back;
    ASSERT_EQ(deserialize_tuple(item, &back), VRESULT_OK);
    ASSERT_EQ(back.Num(), original.Num());
    for (Vlong i = 0; i < back.Num(); ++i) {
      ASSERT_EQ(back[i].ValType(), original[i].ValType()) << i;
      if (back[i].ValType() == VPAR_STRING) {
        EXPECT_STREQ(back[i].S(), original[i].S());
      } else if (back[i].ValType() == VPAR_LONG) {
        EXPECT_EQ(back[i].L(), original[i].L());
      } else {
        const double x = back[i].D(), y = original[i].D();
        EXPECT_EQ(std::memcmp(&x, &y, 8), 0);
      }
    }
    EXPECT_EQ(clear_serialized_item(item), VRESULT_OK);
  }
}

TEST_F(SerializeTest, ObjectsRoundTripByteExactAndKindsAreChecked) {
  const std::vector<Vobject> samples = serial_test::Samples(rng_);
  std::vector<Vobject> images(samples.begin(), samples.end() - 2);
  std::vector<Vobject> regions(samples.end() - 2, samples.end());
  Vlong image_item = -1, region_item = -1, object_item = -1;
  ASSERT_EQ(serialize_image(image_test::Concat(images), &image_item), VRESULT_OK);
  ASSERT_EQ(serialize_region(image_test::Concat(regions), &region_item), VRESULT_OK);
  ASSERT_EQ(serialize_object(image_test::Concat(samples), &object_item), VRESULT_OK);
  Vobject back;
  ASSERT_EQ(deserialize_image(&back, image_item), VRESULT_OK);
  ExpectSameObjects(images, back);
  ASSERT_EQ(deserialize_region(&back, region_item), VRESULT_OK);
  ExpectSameObjects(regions, back);
  ASSERT_EQ(deserialize_object(&back, object_item), VRESULT_OK);
  ExpectSameObjects(samples, back);
  ASSERT_EQ(deserialize_object(&back, image_item), VRESULT_OK);  // any object item
  ExpectSameObjects(images, back);

  // An image serialised as region keeps its domain only.
  Vlong domain_item = -1;
  ASSERT_EQ(serialize_region(images[0], &domain_item), VRESULT_OK);
  ASSERT_EQ(deserialize_region(&back, domain_item), VRESULT_OK);
  Vobject domain;
  ASSERT_EQ(get_domain(images[0], &domain), VRESULT_OK);
  serial_test::ExpectSameObject(domain, back);

  Vlong item = -1;
  EXPECT_EQ(serialize_image(regions[0], &item), VERR_OBJ_CLASS(1));
  EXPECT_EQ(deserialize_image(&back, region_item), VERR_DATA_KIND);
  EXPECT_EQ(deserialize_region(&back, object_item), VERR_DATA_KIND);
  VTuple t;
  EXPECT_EQ(deserialize_tuple(image_item, &t), VERR_DATA_KIND);
  EXPECT_EQ(deserialize_tuple(Vlong{1}, &t), VERR_HANDLE_INVALID);
  EXPECT_EQ(clear_serialized_item(image_item), VRESULT_OK);
  EXPECT_EQ(deserialize_image(&back, image_item), VERR_HANDLE_CLOSED);
}

TEST_F(SerializeTest, DamagedItemsGiveCodesAndNoObjects) {
  const std::vector<Vobject> samples = serial_test::Samples(rng_);
  Vlong good = -1;
  ASSERT_EQ(serialize_object(image_test::Concat({samples[0], samples.back()}), &good),
            VRESULT_OK);
  const std::vector<unsigned char> bytes = BytesOf(good);
  const vexa::db::Stats before = vexa::db::GetStats();
  auto expect_refused = [&](const std::vector<unsigned char>& damaged, const char* what) {
    const Vlong item = ItemOf(damaged);
    Vobject back;
    const unsigned int rc = deserialize_object(&back, item);
    // A flipped kind field names another kind of item.
    EXPECT_TRUE((rc >= VERR_FILE_FORMAT && rc <= VERR_FILE_UNSUPPORTED) || rc == VERR_DATA_KIND)
        << what << " " << rc;
    EXPECT_EQ(vexa::db::GetStats().regions, before.regions) << what;
    EXPECT_EQ(clear_serialized_item(item), VRESULT_OK);
  };
  for (size_t len = 0; len < bytes.size(); len += 1 + len / 16)
    expect_refused(std::vector<unsigned char>(bytes.begin(), bytes.begin() + len), "cut");
  for (size_t i = 0; i < bytes.size(); i += 1 + i / 32) {
    std::vector<unsigned char> flipped = bytes;
    flipped[i] ^= 0x5a;
    expect_refused(flipped, "flipped");
  }
  std::vector<unsigned char> longer = bytes;
  longer.push_back(0);
  expect_refused(longer, "extra byte");
}

TEST_F(SerializeTest, PointersShareOrCopyTheBytes) {
  Vlong item = -1;
  ASSERT_EQ(serialize_tuple(VTuple("payload"), &item), VRESULT_OK);
  std::vector<unsigned char> bytes = BytesOf(item);
  Vlong copied = ItemOf(bytes), shared = -1;
  ASSERT_EQ(create_serialized_item_ptr(static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data())),
                                       static_cast<Vlong>(bytes.size()), "false", &shared),
            VRESULT_OK);
  Vlong ptr = 0, size = 0;
  ASSERT_EQ(get_serialized_item_ptr(shared, &ptr, &size), VRESULT_OK);
  EXPECT_EQ(ptr, static_cast<Vlong>(reinterpret_cast<uintptr_t>(bytes.data())));
  bytes.back() ^= 1;  // the shared item sees the change, the copy does not
  VTuple t;
  EXPECT_EQ(deserialize_tuple(shared, &t), VERR_FILE_CORRUPT);
  EXPECT_EQ(deserialize_tuple(copied, &t), VRESULT_OK);
  EXPECT_STREQ(t[0].S(), "payload");
  EXPECT_EQ(create_serialized_item_ptr(Vlong{0}, Vlong{4}, "true", &item), VERR_CTRL_VALUE(0));
  ASSERT_EQ(create_serialized_item_ptr(Vlong{0}, Vlong{0}, "true", &item), VRESULT_OK);
  EXPECT_EQ(deserialize_tuple(item, &t), VERR_FILE_TRUNCATED);
  EXPECT_EQ(create_serialized_item_ptr(ptr, Vlong{-1}, "true", &item), VERR_CTRL_VALUE(1));
  EXPECT_EQ(create_serialized_item_ptr(ptr, size, "maybe", &item), VERR_CTRL_VALUE(2));
}

TEST_F(SerializeTest, ItemsFollowEachOtherInAFile) {
  const std::string path = std::filesystem::temp_directory_path() /
                           ("serialize_test_" + std::to_string(getpid()) + ".bin");
  Vlong a = -1, b = -1, file = -1;
  ASSERT_EQ(serialize_tuple(VTuple(Vlong{42}), &a), VRESULT_OK);
  ASSERT_EQ(serialize_region(image_test::RegionObject(image_test::RandomMask(rng_, 9, 9)), &b),
            VRESULT_OK);
  ASSERT_EQ(open_file(path.c_str(), "output_binary", &file), VRESULT_OK);
  EXPECT_EQ(fwrite_serialized_item(file, a), VRESULT_OK);
  EXPECT_EQ(fwrite_serialized_item(file, b), VRESULT_OK);
  Vlong unused = -1;
  EXPECT_EQ(fread_serialized_item(file, &unused), VERR_FILE_MODE);
  ASSERT_EQ(close_file(file), VRESULT_OK);

  ASSERT_EQ(open_file(path.c_str(), "input_binary", &file), VRESULT_OK);
  Vlong ra = -1, rb = -1, rc = -1;
  ASSERT_EQ(fread_serialized_item(file, &ra), VRESULT_OK);
  ASSERT_EQ(fread_serialized_item(file, &rb), VRESULT_OK);
  EXPECT_EQ(fread_serialized_item(file, &rc), VERR_FILE_TRUNCATED);
  EXPECT_EQ(BytesOf(ra), BytesOf(a));
  EXPECT_EQ(BytesOf(rb), BytesOf(b));
  EXPECT_EQ(fwrite_serialized_item(file, a), VERR_FILE_MODE);
  EXPECT_EQ(fwrite_serialized_item(a, file), VERR_HANDLE_TYPE);
  ASSERT_EQ(close_file(file), VRESULT_OK);
  std::filesystem::remove(path);
}

}  // namespace

namespace {

TEST_F(SerializeTest, SubPixelObjectsRoundTripAloneAndAmongOtherObjects) {
  const std::vector<Vobject> xlds = serial_test::XldSamples(rng_);
  std::vector<Vobject> mixed = serial_test::Samples(rng_);
  mixed.insert(mixed.begin() + 2, xlds.begin(), xlds.end());
  Vlong xld_item = -1, object_item = -1;
  ASSERT_EQ(serialize_xld(image_test::Concat(xlds), &xld_item), VRESULT_OK);
  ASSERT_EQ(serialize_object(image_test::Concat(mixed), &object_item), VRESULT_OK);
  Vobject back;
  ASSERT_EQ(deserialize_xld(&back, xld_item), VRESULT_OK);
  ExpectSameObjects(xlds, back);
  ASSERT_EQ(deserialize_object(&back, object_item), VRESULT_OK);
  ExpectSameObjects(mixed, back);
  ASSERT_EQ(deserialize_object(&back, xld_item), VRESULT_OK);
  ExpectSameObjects(xlds, back);

  Vlong item = -1;
  EXPECT_EQ(serialize_xld(mixed.back(), &item), VERR_OBJ_CLASS(1));
  EXPECT_EQ(serialize_region(xlds[0], &item), VERR_OBJ_CLASS(1));
  EXPECT_EQ(serialize_image(xlds[0], &item), VERR_OBJ_CLASS(1));
  EXPECT_EQ(deserialize_xld(&back, object_item), VERR_DATA_KIND);
  EXPECT_EQ(deserialize_region(&back, xld_item), VERR_DATA_KIND);
}

// Payloads with a valid checksum but inconsistent contents: every cut and
// many changed bytes must give a code (or, for a changed coordinate or
// value, an object) and never leave an object behind on failure.
TEST_F(SerializeTest, DamagedSubPixelPayloadsAreRefused) {
  const std::vector<Vobject> xlds = serial_test::XldSamples(rng_);
  Vlong good = -1;
  ASSERT_EQ(serialize_xld(image_test::Concat(xlds), &good), VRESULT_OK);
  const std::vector<unsigned char> bytes = BytesOf(good);
  const std::vector<unsigned char> payload(bytes.begin() + 20, bytes.end());
  const Vlong before = vexa::db::GetStats().xlds;
  auto decode = [&](const std::vector<unsigned char>& p) {
    const Vlong item = ItemOf(serial_test::WithPayload(bytes, p));
    Vobject back;
    const unsigned int rc = deserialize_xld(&back, item);
    EXPECT_EQ(clear_serialized_item(item), VRESULT_OK);
    return rc;
  };
  for (size_t len = 0; len < payload.size(); len += 1 + len / 64) {
    EXPECT_EQ(decode(std::vector<unsigned char>(payload.begin(), payload.begin() + len)),
              VERR_FILE_CORRUPT)
        << "cut at " << len;
    EXPECT_EQ(vexa::db::GetStats().xlds, before);
  }
  for (size_t i = 0; i < payload.size(); i += 1 + i / 64) {
    std::vector<unsigned char> changed = payload;
    changed[i] ^= 0xa5;
    const unsigned int rc = decode(changed);
    EXPECT_TRUE(rc == VRESULT_OK || rc == VERR_FILE_CORRUPT) << "byte " << i << ": " << rc;
    EXPECT_EQ(vexa::db::GetStats().xlds, before);
  }

  // Sub-pixel objects under the kind of a region item.
  std::vector<unsigned char> as_region = bytes;
  as_region[6] = 3;
  Vobject back;
  const Vlong item = ItemOf(as_region);
  EXPECT_EQ(deserialize_region(&back, item), VERR_FILE_CORRUPT);
  EXPECT_EQ(vexa::db::GetStats().xlds, before);
}

}  // namespace
