// write_region, read_region: regions in files of the runtime's own format
// (kernels/region_file.h). A file is read whole and checked before any
// object is made, so a bad file leaves nothing behind.
#include <fstream>
#include <iterator>

#include "error_detail.h"
#include "ops/region/kernels/region_file.h"
#include "ops/region/region_ops.h"
#include "registry.h"

namespace vexa {

VEXA_OPERATOR(write_region) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  if (*name == '\0') return VERR_CTRL_VALUE(0);
  std::vector<RegionPtr> in;
  if ((rc = InpRegions(ctx, 1, &in)) != VRESULT_OK) return rc;
  const std::string bytes = EncodeRegions(in);
  std::ofstream file(name, std::ios::binary | std::ios::trunc);
  if (!file) return FileFailure(VERR_FILE_WRITE, name);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  return file ? VRESULT_OK : FileFailure(VERR_FILE_WRITE, name);
}

VEXA_OPERATOR(read_region) {
  const char* name = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  std::ifstream file(name, std::ios::binary);
  if (!file) return FileFailure(VERR_FILE_NOT_FOUND, name);
  std::string bytes((std::istreambuf_iterator<char>(file)),
                    std::istreambuf_iterator<char>());
  if (file.bad()) return FileFailure(VERR_FILE_READ, name);
  std::vector<RegionPtr> regions;
  if ((rc = DecodeRegions(bytes, &regions)) != VRESULT_OK) return FileFailure(rc, name);
  return OutRegions(ctx, 1, regions);
}

}  // namespace vexa
