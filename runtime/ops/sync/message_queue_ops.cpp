// Operators of message queues.
//
// enqueue_message and dequeue_message take a "timeout" in seconds or
// "infinite": dequeue waits that long for a message (default: infinite),
// enqueue that long for room in a queue with a maximum (default: 0, so a
// full queue refuses at once). Queue parameters: "max_message_num" (a
// positive number, or -1 for no maximum; read back as -1 when none),
// "message_num" (read only), "flush_queue" (1 drops every message),
// "abort_dequeue" (1 makes waiting and later dequeues answer
// VERR_WAIT_ABORTED until it is set to 0 again).
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "handle_registry.h"
#include "ops/sync/message.h"
#include "registry.h"

namespace vexa {
namespace {

// The deadline of the "timeout" among the generic parameters at controls
// `names_par` and `names_par` + 1.
Vresult TimeoutParam(const OpContext& ctx, int names_par, double default_seconds,
                     Deadline* deadline) {
  std::vector<GenParam> params;
  const Vresult rc = ReadGenParams(ctx, names_par, names_par + 1, &params);
  if (rc != VRESULT_OK) return rc;
  double seconds = default_seconds;
  for (const GenParam& p : params) {
    if (p.name != "timeout") return VERR_CTRL_VALUE(names_par);
    const Vresult r = SecondsOrInfinite(p.value, names_par + 1, &seconds);
    if (r != VRESULT_OK) return r;
  }
  *deadline = Deadline::After(seconds);
  return VRESULT_OK;
}

Vresult Flag(const TupleValue& v, int par, bool* flag) {
  if (v.type != VPAR_LONG) return VERR_CTRL_TYPE(par);
  if (v.l != 0 && v.l != 1) return VERR_CTRL_VALUE(par);
  *flag = v.l == 1;
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(create_message_queue) {
  return OutpNewTool(ctx, 0, std::make_shared<MessageQueue>());
}

VEXA_OPERATOR(clear_message_queue) { return CloseInpTool(ctx, 0, ToolKind::kMessageQueue); }

VEXA_OPERATOR(enqueue_message) {
  std::shared_ptr<MessageQueue> queue;
  std::vector<std::shared_ptr<Message>> messages;
  Deadline deadline;
  Vresult rc = InpTool(ctx, 0, &queue);
  if (rc == VRESULT_OK) rc = InpTools(ctx, 1, &messages);
  if (rc == VRESULT_OK) rc = TimeoutParam(ctx, 2, 0.0, &deadline);
  std::vector<std::shared_ptr<Message>> copies(messages.size());
  for (size_t i = 0; rc == VRESULT_OK && i < messages.size(); ++i)
    rc = messages[i]->Clone(&copies[i]);
  return rc == VRESULT_OK ? queue->Enqueue(std::move(copies), deadline) : rc;
}

VEXA_OPERATOR(dequeue_message) {
  std::shared_ptr<MessageQueue> queue;
  Deadline deadline;
  Vresult rc = InpTool(ctx, 0, &queue);
  if (rc == VRESULT_OK) rc = TimeoutParam(ctx, 1, std::numeric_limits<double>::infinity(), &deadline);
  std::shared_ptr<Message> message;
  if (rc == VRESULT_OK) rc = queue->Dequeue(deadline, &message);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::move(message)) : rc;
}

VEXA_OPERATOR(set_message_queue_param) {
  std::shared_ptr<MessageQueue> queue;
  std::vector<GenParam> params;
  Vresult rc = InpTool(ctx, 0, &queue);
  if (rc == VRESULT_OK) rc = ReadGenParams(ctx, 1, 2, &params);
  if (rc != VRESULT_OK) return rc;
  // Every pair is checked before the first takes effect.
  for (int pass = 0; pass < 2; ++pass) {
    for (const GenParam& p : params) {
      bool flag = false;
      if (p.name == "max_message_num") {
        if (p.value.type != VPAR_LONG) return VERR_CTRL_TYPE(2);
        if (p.value.l < 1 && p.value.l != -1) return VERR_CTRL_VALUE(2);
        if (pass == 1) queue->SetMaxMessages(p.value.l == -1 ? 0 : p.value.l);
      } else if (p.name == "flush_queue") {
        rc = Flag(p.value, 2, &flag);
        if (rc != VRESULT_OK) return rc;
        if (pass == 1 && flag) queue->Flush();
      } else if (p.name == "abort_dequeue") {
        rc = Flag(p.value, 2, &flag);
        if (rc != VRESULT_OK) return rc;
        if (pass == 1) queue->SetAbort(flag);
      } else {
        return VERR_CTRL_VALUE(1);
      }
    }
  }
  return VRESULT_OK;
}

VEXA_OPERATOR(get_message_queue_param) {
  std::shared_ptr<MessageQueue> queue;
  std::vector<const char*> names;
  Vresult rc = InpTool(ctx, 0, &queue);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(1, names);
  if (rc != VRESULT_OK) return rc;
  std::vector<Vlong> values;
  for (const std::string name : names) {
    if (name == "max_message_num") {
      const Vlong max = queue->MaxMessages();
      values.push_back(max == 0 ? -1 : max);
    } else if (name == "message_num") {
      values.push_back(queue->Size());
    } else if (name == "abort_dequeue") {
      values.push_back(queue->Aborting() ? 1 : 0);
    } else {
      return VERR_CTRL_VALUE(1);
    }
  }
  return ctx.SetOutpLongs(0, values);
}

}  // namespace vexa
