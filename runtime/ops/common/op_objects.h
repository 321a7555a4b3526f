// Helpers shared by operators that read and make iconic objects.
#pragma once

#include <vector>

#include "objdb.h"
#include "op_context.h"

namespace vexa {

// Keys an operator made and has not handed over yet. Whatever is still
// held when the operator leaves early (a failure, an exception) is
// released, so no path leaks an object.
class NewKeys {
 public:
  NewKeys() = default;
  NewKeys(const NewKeys&) = delete;
  NewKeys& operator=(const NewKeys&) = delete;
  ~NewKeys() {
    for (Vkey k : keys_) db::Release(k);
  }
  void Reserve(size_t n) { keys_.reserve(n); }
  // Takes over the reference of `key`.
  void Add(Vkey key) { keys_.push_back(key); }
  // Hands all keys to output object parameter `par` (which takes them over
  // in every case).
  Vresult HandOver(OpContext& ctx, int par) {
    std::vector<Vkey> keys;
    keys.swap(keys_);
    return ctx.SetOutpObjs(par, keys);
  }

 private:
  std::vector<Vkey> keys_;
};

// The region of an input object; an image stands for its domain.
inline Vresult InpRegion(int par, Vkey key, RegionPtr* region) {
  const Vresult rc = db::GetRegion(key, region);
  return rc == VERR_NOT_REGION ? VERR_OBJ_CLASS(par) : rc;
}

// The pixel data of an input object, which must be an image.
inline Vresult InpImage(int par, Vkey key, db::ImageData* image) {
  const Vresult rc = db::GetImage(key, image);
  return rc == VERR_NOT_IMAGE ? VERR_OBJ_CLASS(par) : rc;
}

// The image of the single object of input parameter `par`
// (VERR_OBJ_NUM(par) for none or several).
inline Vresult InpSingleImage(OpContext& ctx, int par, db::ImageData* image) {
  Vkey key = VKEY_UNDEF;
  const Vresult rc = ctx.InpObjSingle(par, &key);
  return rc == VRESULT_OK ? InpImage(par, key, image) : rc;
}

}  // namespace vexa
