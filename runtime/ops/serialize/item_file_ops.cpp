// Serialised items in files: written as their bytes, read back by their
// header's length, so several items can follow each other in one file.
#include <algorithm>
#include <memory>

#include "ops/fileio/file_tool.h"
#include "ops/serialize/serialized_item.h"
#include "registry.h"

namespace vexa {
namespace {

// Items read from files are bounded, so a damaged length cannot ask for
// all memory.
constexpr uint64_t kMaxFileItem = uint64_t{1} << 34;

}  // namespace

VEXA_OPERATOR(fwrite_serialized_item) {
  std::shared_ptr<FileTool> file;
  std::shared_ptr<SerializedItem> item;
  Vresult rc = InpTool(ctx, 0, &file);
  if (rc == VRESULT_OK) rc = InpTool(ctx, 1, &item);
  return rc == VRESULT_OK ? file->Write(item->data(), item->size()) : rc;
}

VEXA_OPERATOR(fread_serialized_item) {
  std::shared_ptr<FileTool> file;
  Vresult rc = InpTool(ctx, 0, &file);
  if (rc != VRESULT_OK) return rc;
  ItemBytes bytes(kItemHeaderSize);
  size_t got = 0;
  rc = file->Read(bytes.data(), bytes.size(), &got);
  if (rc != VRESULT_OK) return rc;
  if (got < kItemHeaderSize) return VERR_FILE_TRUNCATED;
  uint64_t total = 0;
  rc = ItemSizeFromHeader(bytes.data(), kMaxFileItem, &total);
  if (rc != VRESULT_OK) return rc;
  // Grows piece by piece, so a damaged length costs no more memory than
  // the file really holds.
  constexpr size_t kPiece = size_t{1} << 20;
  while (bytes.size() < total) {
    const size_t have = bytes.size();
    const size_t want = static_cast<size_t>(std::min<uint64_t>(kPiece, total - have));
    bytes.resize(have + want);
    rc = file->Read(bytes.data() + have, want, &got);
    if (rc != VRESULT_OK) return rc;
    if (got < want) return VERR_FILE_TRUNCATED;
  }
  return OutpNewItem(ctx, 0, std::move(bytes));
}

}  // namespace vexa
