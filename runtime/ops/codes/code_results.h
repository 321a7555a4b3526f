// What a find operator of the code tools leaves in its tool for the
// result and object queries: the decoded symbols and every candidate the
// engine saw (decoded, refused by the tool's filters, or undecodable).
#pragma once

#include <mutex>
#include <vector>

#include "ops/codes/symbol_grid.h"
#include "ops/codes/zxing_bridge.h"

namespace vexa {

struct CodeResults {
  CodeImage searched;  // the area of the last search (pixels not kept)
  std::vector<CodeHit> decoded;
  std::vector<CodeHit> candidates;
  // Per decoded symbol of a 2D code type; rows 0 where none was fitted.
  std::vector<SymbolGrid> grids;
};

// The results of a tool, replaced as a whole by each search.
class CodeResultStore {
 public:
  CodeResults Get() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return results_;
  }
  void Set(CodeResults results) {
    results.searched.data = nullptr;
    std::lock_guard<std::mutex> lock(mutex_);
    results_ = std::move(results);
  }

 private:
  mutable std::mutex mutex_;
  CodeResults results_;
};

// The indices named by input control `par` among `n` results: one index
// (0 <= i < n, else VERR_CTRL_VALUE), or the string `all_name` for all of
// them.
Vresult InpResultIndices(const OpContext& ctx, int par, size_t n, const char* all_name,
                         std::vector<size_t>* indices);

}  // namespace vexa
