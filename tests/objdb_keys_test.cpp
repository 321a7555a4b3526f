// Keys of the object database through its C functions: reference counts,
// key tuples, the empty object, dead and foreign keys, object counts.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "objdb.h"
#include "vexa/errors.h"
#include "vexa/runtime.h"

namespace {

using vexa::Region;
using vexa::db::GetStats;

const VKeyRecordHead& Head(Vkey key) {
  return *static_cast<const VKeyRecordHead*>(key);
}

Vkey MakeRegion(int32_t rows = 3) {
  Vkey key = nullptr;
  EXPECT_EQ(vexa::db::NewRegion(Region::Rectangle(0, 0, rows - 1, 4), &key),
            VRESULT_OK);
  return key;
}

Vkey MakeImage(int channels = 1) {
  std::vector<std::unique_ptr<vexa::PixelBuffer>> buffers(channels);
  for (auto& b : buffers)
    EXPECT_EQ(vexa::PixelBuffer::Create(vexa::PixelType::kByte, 8, 6, &b),
              VRESULT_OK);
  Vkey key = nullptr;
  EXPECT_EQ(vexa::db::NewImage(Region::Rectangle(0, 0, 5, 7),
                               std::move(buffers), &key),
            VRESULT_OK);
  return key;
}

class ObjDbKeys : public ::testing::Test {
 protected:
  void SetUp() override { start_ = GetStats(); }
  void TearDown() override {
    const vexa::db::Stats now = GetStats();
    EXPECT_EQ(now.regions, start_.regions);
    EXPECT_EQ(now.images, start_.images);
    EXPECT_EQ(now.tuples, start_.tuples);
    EXPECT_EQ(now.channels, start_.channels);
  }
  vexa::db::Stats start_;
};

TEST_F(ObjDbKeys, RecordHeadCarriesClassTagAndChannelCount) {
  Vkey region = MakeRegion();
  Vkey image = MakeImage(3);
  EXPECT_EQ(Head(region).tag, VOBJ_TAG_BASE + VOBJ_ICONIC);
  EXPECT_EQ(Head(region).channels, 0);
  EXPECT_EQ(Head(image).tag, VOBJ_TAG_BASE + VOBJ_ICONIC);
  EXPECT_EQ(Head(image).channels, 3);
  EXPECT_EQ(DBDelObjectId(nullptr, region), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, image), VRESULT_OK);
}

TEST_F(ObjDbKeys, CopyIsAnIndependentKeyForTheSameData) {
  Vkey region = MakeRegion();
  Vkey copy = nullptr;
  ASSERT_EQ(DBCopyObjectId(nullptr, region, &copy), VRESULT_OK);
  EXPECT_NE(copy, region);
  vexa::RegionPtr a, b;
  ASSERT_EQ(vexa::db::GetRegion(region, &a), VRESULT_OK);
  ASSERT_EQ(vexa::db::GetRegion(copy, &b), VRESULT_OK);
  EXPECT_EQ(a.get(), b.get());  // shared, not duplicated
  EXPECT_EQ(DBDelObjectId(nullptr, region), VRESULT_OK);
  // The copy outlives the original.
  EXPECT_EQ(vexa::db::Check(copy), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, copy), VRESULT_OK);
}

TEST_F(ObjDbKeys, ImageReferencesCountEveryKeyReachingThePixels) {
  Vkey image = MakeImage();
  Vlong refs = 0;
  ASSERT_EQ(DBNumImaRefs(image, &refs), VRESULT_OK);
  EXPECT_EQ(refs, 1);
  Vkey copy = nullptr;
  ASSERT_EQ(DBCopyObjectId(nullptr, image, &copy), VRESULT_OK);
  Vkey tuple = nullptr;
  ASSERT_EQ(DBStoreTuple(nullptr, &image, 1, &tuple), VRESULT_OK);
  ASSERT_EQ(DBNumImaRefs(image, &refs), VRESULT_OK);
  EXPECT_EQ(refs, 3);
  // Writing makes the written key's pixels private; the others keep theirs.
  vexa::PixelBuffer* buffer = nullptr;
  ASSERT_EQ(vexa::db::WritableChannel(copy, 0, &buffer), VRESULT_OK);
  buffer->Set(1, 1, 77);
  vexa::db::ImageData original;
  ASSERT_EQ(vexa::db::GetImage(image, &original), VRESULT_OK);
  EXPECT_EQ(original.channels[0]->Get(1, 1), 0);
  ASSERT_EQ(DBNumImaRefs(copy, &refs), VRESULT_OK);
  EXPECT_EQ(refs, 1);
  ASSERT_EQ(DBNumImaRefs(image, &refs), VRESULT_OK);
  EXPECT_EQ(refs, 2);
  EXPECT_EQ(DBDelObjectId(nullptr, tuple), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, copy), VRESULT_OK);
  ASSERT_EQ(DBNumImaRefs(image, &refs), VRESULT_OK);
  EXPECT_EQ(refs, 1);
  Vkey region = MakeRegion();
  EXPECT_EQ(DBNumImaRefs(region, &refs), VERR_NOT_IMAGE);
  EXPECT_EQ(DBDelObjectId(nullptr, region), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, image), VRESULT_OK);
}

TEST_F(ObjDbKeys, ImageDomainsStayInsideTheImage) {
  Vkey image = nullptr;
  ASSERT_EQ(vexa::db::NewBlankImage(vexa::PixelType::kInt2, 8, 6, 2,
                                    Region::Rectangle(-3, 5, 2, 20), &image),
            VRESULT_OK);
  EXPECT_EQ(Head(image).channels, 2);
  vexa::RegionPtr domain;
  ASSERT_EQ(vexa::db::GetRegion(image, &domain), VRESULT_OK);
  EXPECT_EQ(*domain, *Region::Rectangle(0, 5, 2, 7));
  Vkey reduced = nullptr;
  ASSERT_EQ(vexa::db::NewImageWithDomain(
                image, Region::Rectangle(4, -1, 9, 1), &reduced),
            VRESULT_OK);
  ASSERT_EQ(vexa::db::GetRegion(reduced, &domain), VRESULT_OK);
  EXPECT_EQ(*domain, *Region::Rectangle(4, 0, 5, 1));
  EXPECT_EQ(vexa::db::NewBlankImage(vexa::PixelType::kByte, 0, 6, 1, nullptr,
                                    &reduced),
            VERR_IMAGE_SIZE);
  EXPECT_EQ(vexa::db::NewBlankImage(vexa::PixelType::kByte, 40000, 6, 1,
                                    nullptr, &reduced),
            VERR_TOO_LARGE);
  EXPECT_EQ(DBDelObjectId(nullptr, image), VRESULT_OK);
  // The reduced image keeps the shared pixels alive.
  vexa::db::ImageData data;
  ASSERT_EQ(vexa::db::GetImage(reduced, &data), VRESULT_OK);
  EXPECT_EQ(data.channels.size(), 2u);
  EXPECT_EQ(DBDelObjectId(nullptr, reduced), VRESULT_OK);
}

TEST_F(ObjDbKeys, ConcurrentCopiesAndReleasesBalance) {
  Vkey image = MakeImage();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([image] {
      for (int i = 0; i < 2000; ++i) {
        Vkey copy = nullptr, tuple = nullptr;
        if (DBCopyObjectId(nullptr, image, &copy) != VRESULT_OK) return;
        DBStoreTuple(nullptr, &copy, 1, &tuple);
        DBDelObjectId(nullptr, copy);
        DBDelObjectId(nullptr, tuple);
      }
    });
  }
  for (std::thread& t : threads) t.join();
  Vlong refs = 0;
  ASSERT_EQ(DBNumImaRefs(image, &refs), VRESULT_OK);
  EXPECT_EQ(refs, 1);
  EXPECT_EQ(DBDelObjectId(nullptr, image), VRESULT_OK);
}

TEST_F(ObjDbKeys, TupleHoldsItsKeysUntilReleased) {
  Vkey a = MakeRegion(1), b = MakeRegion(2);
  Vkey keys[] = {a, b, a};
  Vkey tuple = nullptr;
  ASSERT_EQ(DBStoreTuple(nullptr, keys, 3, &tuple), VRESULT_OK);
  EXPECT_EQ(Head(tuple).tag, VOBJ_TAG_BASE + VOBJ_TUPLE);
  EXPECT_EQ(Head(tuple).tuple_num, 3);
  EXPECT_EQ(DBDelObjectId(nullptr, a), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, b), VRESULT_OK);
  Vkey* stored = nullptr;
  Vlong num = 0;
  ASSERT_EQ(DBFetchTuple(nullptr, tuple, &stored, &num), VRESULT_OK);
  ASSERT_EQ(num, 3);
  EXPECT_EQ(stored[0], a);
  EXPECT_EQ(stored[2], a);
  EXPECT_EQ(vexa::db::Check(a), VRESULT_OK);  // kept alive by the tuple
  // A copy of a tuple holds its own references to the same keys.
  Vkey copy = nullptr;
  ASSERT_EQ(DBCopyObjectId(nullptr, tuple, &copy), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, tuple), VRESULT_OK);
  EXPECT_EQ(vexa::db::Check(b), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, copy), VRESULT_OK);
  EXPECT_EQ(vexa::db::Check(a), VERR_KEY_DELETED);
  EXPECT_EQ(vexa::db::Check(b), VERR_KEY_DELETED);
}

TEST_F(ObjDbKeys, TupleRefusesBadKeysWithoutSideEffects) {
  Vkey a = MakeRegion();
  Vkey dead = MakeRegion();
  ASSERT_EQ(DBDelObjectId(nullptr, dead), VRESULT_OK);
  Vkey keys[] = {a, dead};
  Vkey tuple = nullptr;
  EXPECT_EQ(DBStoreTuple(nullptr, keys, 2, &tuple), VERR_KEY_DELETED);
  EXPECT_EQ(DBStoreTuple(nullptr, keys, -1, &tuple), VERR_OBJ_INDEX);
  Vkey* stored = nullptr;
  Vlong num = 0;
  EXPECT_EQ(DBFetchTuple(nullptr, a, &stored, &num), VERR_NOT_KEY_TUPLE);
  // `a` gained no reference from the failed store: one release frees it.
  EXPECT_EQ(DBDelObjectId(nullptr, a), VRESULT_OK);
  EXPECT_EQ(vexa::db::Check(a), VERR_KEY_DELETED);
}

TEST_F(ObjDbKeys, EmptyObjectIsAPermanentTupleOfNoKeys) {
  Vkey empty = CGetKeyName("empty");
  ASSERT_NE(empty, VKEY_UNDEF);
  EXPECT_EQ(CGetKeyName("empty"), empty);
  EXPECT_EQ(Head(empty).tag, VOBJ_TAG_BASE + VOBJ_TUPLE);
  EXPECT_EQ(Head(empty).tuple_num, 0);
  Vkey copy = nullptr;
  ASSERT_EQ(DBCopyObjectId(nullptr, empty, &copy), VRESULT_OK);
  EXPECT_EQ(copy, empty);
  EXPECT_EQ(DBDelObjectId(nullptr, empty), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, empty), VRESULT_OK);
  EXPECT_EQ(vexa::db::Check(empty), VRESULT_OK);
  // A tuple of no keys made on request is an ordinary, releasable object.
  Vkey none = nullptr;
  ASSERT_EQ(DBStoreTuple(nullptr, nullptr, 0, &none), VRESULT_OK);
  EXPECT_NE(none, empty);
  EXPECT_EQ(Head(none).tuple_num, 0);
  EXPECT_EQ(DBDelObjectId(nullptr, none), VRESULT_OK);
  EXPECT_EQ(CGetKeyName("no such object"), VKEY_UNDEF);
  EXPECT_EQ(CGetKeyName(nullptr), VKEY_UNDEF);
}

TEST_F(ObjDbKeys, DeadAndForeignKeysAreReportedNotFollowed) {
  Vkey key = MakeRegion();
  ASSERT_EQ(DBDelObjectId(nullptr, key), VRESULT_OK);
  EXPECT_NE(Head(key).tag, VOBJ_TAG_BASE + VOBJ_ICONIC);  // tag poisoned
  Vkey copy = nullptr;
  Vrlregion* rl = nullptr;
  EXPECT_EQ(DBDelObjectId(nullptr, key), VERR_KEY_DELETED);
  EXPECT_EQ(DBCopyObjectId(nullptr, key, &copy), VERR_KEY_DELETED);
  EXPECT_EQ(DBGetRLPtr(nullptr, key, &rl), VERR_KEY_DELETED);

  int local = 0;
  const Vkey foreign[] = {nullptr, VKEY_UNDEF, &local,
                          static_cast<char*>(MakeRegion()) + 8};
  for (Vkey k : foreign) {
    EXPECT_EQ(DBDelObjectId(nullptr, k), VERR_KEY_INVALID);
    EXPECT_EQ(DBGetRLPtr(nullptr, k, &rl), VERR_KEY_INVALID);
  }
  EXPECT_EQ(DBDelObjectId(nullptr, static_cast<char*>(foreign[3]) - 8),
            VRESULT_OK);
}

TEST_F(ObjDbKeys, StaleKeysStayDetectableThroughTheQuarantine) {
  Vkey stale = MakeRegion();
  ASSERT_EQ(DBDelObjectId(nullptr, stale), VRESULT_OK);
  // Churn fewer records than the quarantine holds: none may reuse `stale`.
  for (size_t i = 0; i < vexa::db::kQuarantine / 2; ++i) {
    Vkey k = MakeRegion(1);
    ASSERT_NE(k, stale);
    ASSERT_EQ(DBDelObjectId(nullptr, k), VRESULT_OK);
  }
  EXPECT_EQ(DBDelObjectId(nullptr, stale), VERR_KEY_DELETED);
}

TEST_F(ObjDbKeys, CountsFollowRegionAndImageObjects) {
  Vlong regions0 = 0, images0 = 0, n = 0;
  ASSERT_EQ(DBCountRegion(&regions0), VRESULT_OK);
  ASSERT_EQ(DBCountImage(&images0), VRESULT_OK);
  Vkey r = MakeRegion(), i = MakeImage();
  Vkey tuple = nullptr;
  Vkey both[] = {r, i};
  ASSERT_EQ(DBStoreTuple(nullptr, both, 2, &tuple), VRESULT_OK);
  ASSERT_EQ(DBCountRegion(&n), VRESULT_OK);
  EXPECT_EQ(n, regions0 + 1);
  ASSERT_EQ(DBCountImage(&n), VRESULT_OK);
  EXPECT_EQ(n, images0 + 1);
  EXPECT_EQ(DBDelObjectId(nullptr, r), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, i), VRESULT_OK);
  EXPECT_EQ(DBDelObjectId(nullptr, tuple), VRESULT_OK);
  ASSERT_EQ(DBCountRegion(&n), VRESULT_OK);
  EXPECT_EQ(n, regions0);
  ASSERT_EQ(DBCountImage(&n), VRESULT_OK);
  EXPECT_EQ(n, images0);
}

TEST_F(ObjDbKeys, DeeplyNestedTuplesReleaseWithoutRecursion) {
  Vkey inner = MakeRegion();
  for (int depth = 0; depth < 100000; ++depth) {
    Vkey outer = nullptr;
    ASSERT_EQ(DBStoreTuple(nullptr, &inner, 1, &outer), VRESULT_OK);
    ASSERT_EQ(DBDelObjectId(nullptr, inner), VRESULT_OK);
    inner = outer;
  }
  EXPECT_EQ(DBDelObjectId(nullptr, inner), VRESULT_OK);
}

}  // namespace
