// The region file format of the runtime (write_region, read_region).
//
// All numbers little-endian:
//   bytes 0..7    magic "VXREGION"
//   uint32        format version, 1
//   uint64        number of regions
//   per region:   uint64 number of chords, then per chord int32 row,
//                 int32 first column, int32 last column
//   uint64        checksum: FNV-1a (64 bit) of every byte from the version
//                 up to the checksum
// Chords are stored canonical (sorted, merged) with coordinates within
// +-kMaxRegionCoord; a file that breaks any of this is refused as a whole.
#pragma once

#include <string>
#include <vector>

#include "region_store.h"

namespace vexa {

// The bytes of a file holding `regions`.
std::string EncodeRegions(const std::vector<RegionPtr>& regions);

// The regions of a file's bytes: VERR_FILE_READ when the bytes end early,
// VERR_FILE_FORMAT for a wrong magic, version, checksum or chord list.
// Nothing is returned on failure.
Vresult DecodeRegions(const std::string& bytes, std::vector<RegionPtr>* regions);

}  // namespace vexa
