// Operators on lists of objects of any class: counting, making the empty
// list, concatenating, selecting and copying, keys as integers and back,
// and clear_obj.
//
// Objects are immutable, so passing an input object on to an output hands
// over one more reference to the same key; copy_obj alone makes new keys
// (which share the data).
#include <cstdint>

#include "ops/common/op_objects.h"
#include "registry.h"

namespace vexa {
namespace {

// Hands `keys` on to output `par`, each with a reference of its own.
Vresult PassOn(OpContext& ctx, int par, const std::vector<Vkey>& keys) {
  NewKeys out;
  out.Reserve(keys.size());
  for (Vkey k : keys) {
    const Vresult rc = db::AddRef(k);
    if (rc != VRESULT_OK) return rc;
    out.Add(k);
  }
  return out.HandOver(ctx, 1);
}

}  // namespace

VEXA_OPERATOR(count_obj) {
  Vlong num = 0;
  const Vresult rc = ctx.InpObjCount(1, &num);
  if (rc != VRESULT_OK) return rc;
  return ctx.SetOutpLong(0, num);
}

VEXA_OPERATOR(gen_empty_obj) { return ctx.SetOutpObjs(1, {}); }

VEXA_OPERATOR(concat_obj) {
  const std::vector<Vkey>* first = nullptr;
  const std::vector<Vkey>* second = nullptr;
  Vresult rc = ctx.InpObjs(1, &first);
  if (rc == VRESULT_OK) rc = ctx.InpObjs(2, &second);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vkey> all(*first);
  all.insert(all.end(), second->begin(), second->end());
  return PassOn(ctx, 1, all);
}

// Indices count from 1; each must name an object of the input.
VEXA_OPERATOR(select_obj) {
  const std::vector<Vkey>* objects = nullptr;
  std::vector<Vlong> indices;
  Vresult rc = ctx.InpObjs(1, &objects);
  if (rc == VRESULT_OK) rc = ctx.GetLongs(0, indices);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vkey> selected;
  selected.reserve(indices.size());
  for (Vlong i : indices) {
    if (i < 1 || i > static_cast<Vlong>(objects->size())) return VERR_OBJ_INDEX;
    selected.push_back((*objects)[static_cast<size_t>(i - 1)]);
  }
  return PassOn(ctx, 1, selected);
}

namespace {

// The objects of input 1 that controls 0 (`index`, counting from 1) and 1
// (`num`, -1 for all from `index` to the end) select; the range must lie
// within the input.
Vresult SelectedRange(OpContext& ctx, std::vector<Vkey>* range) {
  const std::vector<Vkey>* objects = nullptr;
  Vlong index = 0, num = 0;
  Vresult rc = ctx.InpObjs(1, &objects);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &index);
  if (rc == VRESULT_OK) rc = ctx.GetLong(1, &num);
  if (rc != VRESULT_OK) return rc;
  const Vlong total = static_cast<Vlong>(objects->size());
  if (num < -1) return VERR_CTRL_VALUE(1);
  if (index < 1 || index > total) return VERR_OBJ_INDEX;
  if (num == -1) num = total - index + 1;
  if (num > total - index + 1) return VERR_OBJ_INDEX;
  range->assign(objects->begin() + (index - 1), objects->begin() + (index - 1 + num));
  return VRESULT_OK;
}

}  // namespace

// New keys for a range of objects (see SelectedRange); they share the data.
VEXA_OPERATOR(copy_obj) {
  std::vector<Vkey> range;
  Vresult rc = SelectedRange(ctx, &range);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Reserve(range.size());
  for (Vkey key : range) {
    Vkey copy = VKEY_UNDEF;
    rc = db::Copy(key, &copy);
    if (rc != VRESULT_OK) return rc;
    out.Add(copy);
  }
  return out.HandOver(ctx, 1);
}

// The keys of a range of objects (see SelectedRange) as integers. They
// hold no reference: they stay valid while the objects live.
VEXA_OPERATOR(obj_to_integer) {
  std::vector<Vkey> range;
  const Vresult rc = SelectedRange(ctx, &range);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> values;
  values.reserve(range.size());
  for (Vkey key : range) values.push_back(static_cast<Vlong>(reinterpret_cast<intptr_t>(key)));
  return ctx.SetOutpLongs(0, values);
}

// The objects whose keys obj_to_integer gave; an integer that names no
// live object is refused (VERR_KEY_INVALID, VERR_KEY_DELETED), as is the
// key of a key tuple.
VEXA_OPERATOR(integer_to_obj) {
  std::vector<Vlong> values;
  Vresult rc = ctx.GetLongs(0, values);
  if (rc != VRESULT_OK) return rc;
  NewKeys out;
  out.Reserve(values.size());
  for (Vlong v : values) {
    const Vkey key = reinterpret_cast<Vkey>(static_cast<intptr_t>(v));
    db::ObjKind kind;
    rc = db::KindOf(key, &kind);
    if (rc == VRESULT_OK && kind == db::ObjKind::kTuple) rc = VERR_CTRL_VALUE(0);
    if (rc == VRESULT_OK) rc = db::AddRef(key);
    if (rc != VRESULT_OK) return rc;
    out.Add(key);
  }
  return out.HandOver(ctx, 1);
}

// The objects live as long as their holders keep their keys: clearing
// them here would take references the caller still owns and releases
// later. So clear_obj checks its input and leaves the objects alone.
VEXA_OPERATOR(clear_obj) {
  const std::vector<Vkey>* objects = nullptr;
  return ctx.InpObjs(1, &objects);
}

}  // namespace vexa
