// The handle table: one mutex over a map from handle to kind and tool.
#include "handle_registry.h"

#include <mutex>
#include <unordered_map>
#include <utility>

namespace vexa {
namespace handles {
namespace {

// Far above the small integers that stray values tend to be.
constexpr Vlong kFirstHandle = Vlong{1} << 20;

struct Entry {
  ToolKind kind;
  std::shared_ptr<Tool> tool;
};

struct Table {
  std::mutex mutex;
  std::unordered_map<Vlong, Entry> live;
  Vlong next = kFirstHandle;
};

Table& TheTable() {
  static Table* table = new Table;  // outlives static destructors of users
  return *table;
}

// Looks `handle` up in a locked table.
Vresult Lookup(Table& t, Vlong handle, ToolKind kind,
               std::unordered_map<Vlong, Entry>::iterator* it) {
  if (handle < kFirstHandle || handle >= t.next) return VERR_HANDLE_INVALID;
  *it = t.live.find(handle);
  if (*it == t.live.end()) return VERR_HANDLE_CLOSED;
  if ((*it)->second.kind != kind) return VERR_HANDLE_TYPE;
  return VRESULT_OK;
}

}  // namespace

Vlong Add(ToolKind kind, std::shared_ptr<Tool> tool) {
  Table& t = TheTable();
  std::lock_guard<std::mutex> lock(t.mutex);
  const Vlong handle = t.next++;
  t.live.emplace(handle, Entry{kind, std::move(tool)});
  return handle;
}

Vresult Find(Vlong handle, ToolKind kind, std::shared_ptr<Tool>* tool) {
  Table& t = TheTable();
  std::lock_guard<std::mutex> lock(t.mutex);
  std::unordered_map<Vlong, Entry>::iterator it;
  const Vresult rc = Lookup(t, handle, kind, &it);
  if (rc == VRESULT_OK) *tool = it->second.tool;
  return rc;
}

Vresult Remove(Vlong handle, ToolKind kind) {
  std::shared_ptr<Tool> removed;
  {
    Table& t = TheTable();
    std::lock_guard<std::mutex> lock(t.mutex);
    std::unordered_map<Vlong, Entry>::iterator it;
    const Vresult rc = Lookup(t, handle, kind, &it);
    if (rc != VRESULT_OK) return rc;
    removed = std::move(it->second.tool);
    t.live.erase(it);
  }
  // Outside the lock: closing may wake threads that look handles up.
  removed->Close();
  return VRESULT_OK;
}

void RemoveAll(ToolKind kind) {
  std::vector<std::shared_ptr<Tool>> removed;
  {
    Table& t = TheTable();
    std::lock_guard<std::mutex> lock(t.mutex);
    for (auto it = t.live.begin(); it != t.live.end();) {
      if (it->second.kind == kind) {
        removed.push_back(std::move(it->second.tool));
        it = t.live.erase(it);
      } else {
        ++it;
      }
    }
  }
  for (auto& tool : removed) tool->Close();
}

size_t Count(ToolKind kind) {
  Table& t = TheTable();
  std::lock_guard<std::mutex> lock(t.mutex);
  size_t n = 0;
  for (const auto& e : t.live) n += e.second.kind == kind;
  return n;
}

}  // namespace handles

Vresult CloseInpTool(const OpContext& ctx, int par, ToolKind kind) {
  Vlong handle = 0;
  const Vresult rc = ctx.GetLong(par, &handle);
  return rc == VRESULT_OK ? handles::Remove(handle, kind) : rc;
}

}  // namespace vexa
