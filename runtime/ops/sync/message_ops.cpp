// Operators of messages: tuples and objects stored under keys.
//
// get_message_param answers "message_keys" (all keys), "key_exists" (0 or
// 1 per key) and "key_data_type" ("tuple", "object" or "none" per key);
// set_message_param knows "remove_key", which removes the given keys.
#include <memory>
#include <string>
#include <vector>

#include "handle_registry.h"
#include "objdb.h"
#include "ops/sync/message.h"
#include "registry.h"

namespace vexa {
namespace {

// The single key of input control `par`.
Vresult InpKey(const OpContext& ctx, int par, TupleValue* key) {
  TupleValues keys;
  const Vresult rc = ReadInpValues(ctx, par, &keys);
  if (rc != VRESULT_OK) return rc;
  if (keys.size() != 1) return VERR_CTRL_NUM(par);
  *key = keys[0];
  return Message::CheckKey(*key, par);
}

// All keys of input control `par`.
Vresult InpKeys(const OpContext& ctx, int par, TupleValues* keys) {
  Vresult rc = ReadInpValues(ctx, par, keys);
  for (size_t i = 0; rc == VRESULT_OK && i < keys->size(); ++i)
    rc = Message::CheckKey((*keys)[i], par);
  return rc;
}

}  // namespace

VEXA_OPERATOR(create_message) { return OutpNewTool(ctx, 0, std::make_shared<Message>()); }

// Also closes a message queue: the interface's queue class releases its
// handle through clear_message.
VEXA_OPERATOR(clear_message) {
  const Vresult rc = CloseInpTool(ctx, 0, ToolKind::kMessage);
  return rc == VERR_HANDLE_TYPE ? CloseInpTool(ctx, 0, ToolKind::kMessageQueue) : rc;
}

VEXA_OPERATOR(set_message_tuple) {
  std::shared_ptr<Message> message;
  TupleValue key;
  TupleValues values;
  Vresult rc = InpTool(ctx, 0, &message);
  if (rc == VRESULT_OK) rc = InpKey(ctx, 1, &key);
  if (rc == VRESULT_OK) rc = ReadInpValues(ctx, 2, &values);
  if (rc == VRESULT_OK) message->SetTuple(key, std::move(values));
  return rc;
}

VEXA_OPERATOR(get_message_tuple) {
  std::shared_ptr<Message> message;
  TupleValue key;
  TupleValues values;
  Vresult rc = InpTool(ctx, 0, &message);
  if (rc == VRESULT_OK) rc = InpKey(ctx, 1, &key);
  if (rc == VRESULT_OK) rc = message->GetTuple(key, &values);
  return rc == VRESULT_OK ? WriteOutpValues(ctx, 0, values) : rc;
}

VEXA_OPERATOR(set_message_obj) {
  std::shared_ptr<Message> message;
  TupleValue key;
  Vresult rc = InpTool(ctx, 0, &message);
  if (rc == VRESULT_OK) rc = InpKey(ctx, 1, &key);
  if (rc != VRESULT_OK) return rc;
  // The message keeps copies, so the caller may delete its objects.
  std::vector<Vkey> held;
  rc = ctx.ForEachInpObj(1, [&](Vkey k, Vlong) {
    Vkey copy = VKEY_UNDEF;
    const Vresult r = db::Copy(k, &copy);
    if (r == VRESULT_OK) held.push_back(copy);
    return r;
  });
  if (rc != VRESULT_OK) {
    for (Vkey k : held) db::Release(k);
    return rc;
  }
  message->SetObjects(key, std::move(held));
  return VRESULT_OK;
}

VEXA_OPERATOR(get_message_obj) {
  std::shared_ptr<Message> message;
  TupleValue key;
  std::vector<Vkey> objects;
  Vresult rc = InpTool(ctx, 0, &message);
  if (rc == VRESULT_OK) rc = InpKey(ctx, 1, &key);
  if (rc == VRESULT_OK) rc = message->GetObjects(key, &objects);
  return rc == VRESULT_OK ? ctx.SetOutpObjs(1, objects) : rc;
}

VEXA_OPERATOR(set_message_param) {
  std::shared_ptr<Message> message;
  const char* name = nullptr;
  TupleValues keys;
  Vresult rc = InpTool(ctx, 0, &message);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
  if (rc == VRESULT_OK) rc = InpKeys(ctx, 2, &keys);
  if (rc != VRESULT_OK) return rc;
  if (std::string(name) != "remove_key") return VERR_CTRL_VALUE(1);
  for (const TupleValue& key : keys) message->Remove(key);
  return VRESULT_OK;
}

VEXA_OPERATOR(get_message_param) {
  std::shared_ptr<Message> message;
  const char* name = nullptr;
  TupleValues keys;
  Vresult rc = InpTool(ctx, 0, &message);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &name);
  if (rc == VRESULT_OK) rc = InpKeys(ctx, 2, &keys);
  if (rc != VRESULT_OK) return rc;
  const std::string what = name;
  TupleValues answer;
  if (what == "message_keys") {
    answer = message->Keys();
  } else if (what == "key_exists") {
    for (const TupleValue& key : keys)
      answer.push_back(TupleValue::Long(std::string(message->KindOf(key)) != "none"));
  } else if (what == "key_data_type") {
    for (const TupleValue& key : keys) answer.push_back(TupleValue::String(message->KindOf(key)));
  } else {
    return VERR_CTRL_VALUE(1);
  }
  return WriteOutpValues(ctx, 0, answer);
}

}  // namespace vexa
