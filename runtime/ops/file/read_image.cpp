// read_image: one image per file name, the format told by the file's
// contents. A name that names no file and has no extension is tried with
// the known extensions in turn.
#include <string>
#include <utility>

#include "error_detail.h"
#include "io/image_codecs.h"
#include "io/image_file.h"
#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {
namespace {

Vresult ReadImageFile(const std::string& name, Vkey* key) {
  const std::string path =
      io::ResolveImagePath(name, io::kReadExtensions, io::kNumReadExtensions);
  io::Bytes file;
  Vresult rc = io::ReadWholeFile(path, &file);
  if (rc != VRESULT_OK) return rc;
  io::DecodedImage image;
  rc = io::DecodeImage(file, &image);
  if (rc != VRESULT_OK) return FileFailure(rc, path);
  return db::NewImage(std::move(image.domain), std::move(image.channels), key);
}

}  // namespace

VEXA_OPERATOR(read_image) {
  std::vector<const char*> names;
  Vresult rc = ctx.GetStrings(0, names);
  if (rc != VRESULT_OK) return rc;
  if (names.empty()) return VERR_CTRL_NUM(0);
  NewKeys out;
  out.Reserve(names.size());
  for (const char* name : names) {
    Vkey key = VKEY_UNDEF;
    rc = ReadImageFile(name, &key);
    if (rc != VRESULT_OK) return rc;
    out.Add(key);
  }
  return out.HandOver(ctx, 1);
}

}  // namespace vexa
