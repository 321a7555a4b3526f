// The object database: the runtime's store of iconic objects and key
// tuples, and the internal API that operators use on it.
//
// A key is the address of a record whose head is VKeyRecordHead, so the
// interface library can read the class tag, a tuple's key count and an
// image's channel count in place. A record holds either
//   - an iconic object (tag ID 3): one region (for an image: its domain)
//     plus zero or more channels; with channels it is an image, without a
//     region object; or
//   - a key tuple (tag ID 4): a list of keys, each holding one reference.
//     The tuple of no keys is the empty object ("no objects");
//   - a sub-pixel object (tag IDs 5 to 9, see xld_store.h): one immutable
//     Xld shared by pointer, like a region.
//
// Ownership. Every key handed out carries one reference; Release gives it
// back, and the record is freed at the last one (a tuple then releases its
// keys). Regions are immutable and shared by pointer. Channels are shared
// between records and counted per key reference (DBNumImaRefs); writing
// goes through WritableChannel, which copies a channel that anyone else
// still references.
//
// Copies. DBCopyObjectId makes a new key for the same data (regions and
// channels shared, a tuple's keys each gaining a reference), so every
// holder releases its own key and a double release shows up as a deleted
// key instead of silently taking another holder's reference. AddRef is the
// cheaper form for operators that pass an input object on unchanged.
//
// Dead keys. Records live in a pool that is never given back to the
// system, so reading a stale key's record is always defined. A freed record
// gets a dead magic and a zeroed tag and waits in a first-in first-out
// quarantine of kQuarantine records before it is reused; a stale key is thus
// reported as VERR_KEY_DELETED until at least that many later frees have
// happened. A key that points into no pool record is VERR_KEY_INVALID.
//
// Threads: all functions are safe to call concurrently (one mutex).
// Pixel data read through GetImage stays valid while the caller holds its
// key; writers coordinate among themselves.
#pragma once

#include <memory>
#include <vector>

#include "image_store.h"
#include "region_store.h"
#include "xld_store.h"
#include "vexa/types.h"

namespace vexa {
namespace db {

enum class ObjKind { kRegion, kImage, kTuple, kXld };

// Freed records kept out of reuse so that stale keys stay detectable.
constexpr size_t kQuarantine = 1024;

// VRESULT_OK for a live key; VERR_KEY_DELETED, VERR_KEY_INVALID otherwise
// (0 and 1 are invalid: they name no object).
Vresult Check(Vkey key);
Vresult KindOf(Vkey key, ObjKind* kind);

// ---- Making objects: each returns a new key with one reference ----------

Vresult NewRegion(RegionPtr region, Vkey* key);
// An image of the given channels, which must all have the same size. The
// domain is clipped to the image, so every domain lies inside its image;
// null means the full image.
Vresult NewImage(RegionPtr domain,
                 std::vector<std::unique_ptr<PixelBuffer>> channels,
                 Vkey* key);
// An image of `channels` zeroed channels of one type (PixelBuffer::Create
// gives the codes for bad sizes); domain as for NewImage.
Vresult NewBlankImage(PixelType type, int32_t width, int32_t height,
                      int channels, RegionPtr domain, Vkey* key);
// An image that shares the channels of `image` under another domain
// (clipped to the image).
Vresult NewImageWithDomain(Vkey image, RegionPtr domain, Vkey* key);
// A sub-pixel object of class xld->cls (VOBJ_XLD_CONT .. VOBJ_XLD_EXT_PARA);
// a null object or another class is VERR_INTERNAL, an operator's fault.
Vresult NewXld(XldPtr xld, Vkey* key);
// A key tuple; each key gains a reference (DBStoreTuple).
Vresult NewTuple(const Vkey* keys, Vlong num, Vkey* key);
// The permanent empty object: a tuple of no keys. Copying or releasing it
// has no effect.
Vkey EmptyObject();

// ---- References -----------------------------------------------------------

Vresult AddRef(Vkey key);   // same key, one more reference
Vresult Release(Vkey key);  // DBDelObjectId
Vresult Copy(Vkey key, Vkey* copy);  // DBCopyObjectId, see above

// ---- Reading ----------------------------------------------------------------

// The region of a region object or the domain of an image; VERR_NOT_REGION
// for a tuple or a sub-pixel object.
Vresult GetRegion(Vkey key, RegionPtr* region);

struct ImageData {
  RegionPtr domain;
  std::vector<const PixelBuffer*> channels;  // valid while the key lives
};
// VERR_NOT_IMAGE for a region or a tuple.
Vresult GetImage(Vkey key, ImageData* image);
// The data of a sub-pixel object; VERR_NOT_REGION for any other object
// (the caller maps it to the class code of its parameter).
Vresult GetXld(Vkey key, XldPtr* xld);
// Channel `channel` (from 0) of an image, made private to this record first
// if another record or key still references it.
Vresult WritableChannel(Vkey key, int channel, PixelBuffer** buffer);
// The keys of a tuple; the array belongs to the record (DBFetchTuple).
Vresult FetchTuple(Vkey key, Vkey** keys, Vlong* num);
// The run-length view of a region or an image domain, built on first use
// and kept with the record (DBGetRLPtr); VERR_COORD_RANGE when a
// coordinate does not fit in int16.
Vresult GetRLView(Vkey key, Vrlregion** rl);
// Number of key references to the first channel of an image.
Vresult NumImageRefs(Vkey key, Vlong* num);

// ---- Counts, for DBCount* and leak checks in tests ------------------------

struct Stats {
  Vlong regions = 0;   // live region objects
  Vlong images = 0;    // live image objects
  Vlong tuples = 0;    // live key tuples, the permanent empty one excluded
  Vlong channels = 0;  // live pixel buffers
  Vlong xlds = 0;      // live sub-pixel objects
};
Stats GetStats();

}  // namespace db
}  // namespace vexa
