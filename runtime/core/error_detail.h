// What the last failing operator call of a thread said beyond its code.
//
// An operator may name the object of its failure (the file it could not
// read, the value it refused) with SetErrorDetail. CCallVProc brackets every
// call: it clears the detail before the call and, when the call fails,
// keeps the operator, the code and the detail as the thread's last failure.
// VErrorMessage appends the detail to the text of that code as long as no
// other call followed, so the report of the failure that the interface makes
// right after the call names the file; get_extended_error_info reads the
// whole record.
#pragma once

#include <cstdint>
#include <string>

#include "vexa/runtime.h"

namespace vexa {

struct CallFailure {
  int32_t op = -1;  // -1: no call of this thread has failed yet
  Vresult code = VRESULT_OK;
  std::string detail;
};

// Names what the running operator failed on; the last call wins.
void SetErrorDetail(std::string detail);
// Sets the detail "file 'NAME'" and returns `code`, for the file readers
// and writers.
Vresult FileFailure(Vresult code, const std::string& name);

// The bracket of CCallVProc.
void BeginOperatorCall();
void EndOperatorCall(int32_t op, Vresult code);

// The thread's last failure, kept over later successful calls; and its
// detail for `code`, which is "" unless the thread's most recent call is
// that failure, with that code.
const CallFailure& LastCallFailure();
const std::string& DetailOfLastFailure(Vresult code);

}  // namespace vexa
