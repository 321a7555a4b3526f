// The tuple form of an exception: parsing it, writing it, and reading named
// slots out of it for an application's error handling.
#include <string.h>

#include <vexaobj/VException.h>
#include <vexaobj/VTuple.h>

#include "control/raise.h"

namespace Vexa {

namespace {

// Error numbers from here up are the application's; their tuple form holds
// no line, file, procedure or message.
constexpr unsigned int kFirstUserError = 30000;
constexpr Vlong kSystemUserDataOffset = 5;
constexpr Vlong kUserUserDataOffset = 1;

// Element `index` if the tuple has it and it is an integer, else `fallback`.
Vlong IntegerSlot(const VTuple& tuple, Vlong index, Vlong fallback) {
  if (index >= tuple.Num()) return fallback;
  const VCtrlVal value = tuple[index];
  return value.ValType() == VPAR_LONG ? value.L() : fallback;
}

// Element `index` if the tuple has it and it is a string, else "".
VCtrlVal TextSlot(const VTuple& tuple, Vlong index) {
  if (index < tuple.Num()) {
    VCtrlVal value = tuple[index];
    if (value.ValType() == VPAR_STRING) return value;
  }
  return VCtrlVal("");
}

void AppendValue(VTuple* tuple, const VCtrlVal& value) {
  (*tuple)[tuple->Num()] = value;
}

}  // namespace

VException::VException(const VTuple& tuple) {
  const Vlong n = tuple.Num();
  const unsigned int code =
      static_cast<unsigned int>(IntegerSlot(tuple, 0, 0xFFFFFFFF));
  // A user-defined form is read the same way; its elements 1 to 4 then
  // count as user data as well.
  const Vlong offset =
      code < kFirstUserError ? kSystemUserDataOffset : kUserUserDataOffset;
  InitException(TextSlot(tuple, 2).S(), IntegerSlot(tuple, 1, 0),
                TextSlot(tuple, 3).S(), code, TextSlot(tuple, 4).S(),
                offset >= n ? VTuple() : tuple(offset, n - 1));
}

void VException::ToVTuple(VTuple* out) const {
  if (out == nullptr) return;
  (*out)[0] = VCtrlVal(static_cast<Vlong>(err));
  if (err < kFirstUserError) {
    (*out)[1] = VCtrlVal(line);
    (*out)[2] = VCtrlVal(file);
    (*out)[3] = VCtrlVal(proc);
    (*out)[4] = VCtrlVal(MessageOrOutOfMemory());
  }
  if (user_data != nullptr && user_data->Num() > 0) out->Append(*user_data);
}

void VException::GetExceptionData(const VTuple& exception, const VTuple& name,
                                  VTuple* value) {
  static const char proc[] = "void VTuple::GetExceptionData()";
  static const char* const always_empty[] = {
      "add_error_code", "add_error_msg", "add_error_message", "proc_line",
      "program_line",   "call_stack_depth", "procedure"};
  // Slots of the system form, by name; a user-defined form has none of
  // them but the code.
  static const struct {
    const char* name;
    Vlong index;
  } system_slots[] = {{"line", 1},     {"file", 2},      {"operator", 3},
                      {"error_msg", 4}, {"error_message", 4}};

  if (value == nullptr) return;
  value->Reset();
  const bool user_defined = exception.Num() >= 1 &&
                            exception[0].ValType() == VPAR_LONG &&
                            exception[0].I() >= static_cast<int>(kFirstUserError);

  for (Vlong k = 0; k < name.Num(); ++k) {
    const VCtrlVal slot = name[k];
    if (slot.ValType() != VPAR_STRING) {
      VEXA_RAISE(proc, "wrong type of input parameter 'name'");
      return;
    }
    const char* text = slot.S();
    bool known = false;

    if (strcmp(text, "error_code") == 0) {
      AppendValue(value, exception[0]);
      known = true;
    }
    for (const auto& system_slot : system_slots) {
      if (strcmp(text, system_slot.name) != 0) continue;
      AppendValue(value, user_defined ? VCtrlVal("User defined exception")
                                      : exception[system_slot.index]);
      known = true;
    }
    for (const char* empty_slot : always_empty) {
      if (strcmp(text, empty_slot) != 0) continue;
      AppendValue(value, VCtrlVal(""));
      known = true;
    }
    if (strcmp(text, "user_data") == 0) {
      if (name.Num() > 1) {
        value->Reset();
        VEXA_RAISE(proc,
                   "slot 'user_data' on parameter 'Name' cannot be requested "
                   "together with other slots");
        return;
      }
      const Vlong start = user_defined ? kUserUserDataOffset : kSystemUserDataOffset;
      if (exception.Num() > start) value->Append(exception(start, exception.Num() - 1));
      known = true;
    }
    if (!known) {
      value->Reset();
      VEXA_RAISE(proc, "wrong value of input parameter 'name'");
      return;
    }
  }
}

}  // namespace Vexa
