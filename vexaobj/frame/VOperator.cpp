// VOperator: the one place where the number and names of an operator's
// parameters are looked up at run time. It has no access of its own to the
// instance: Execute is a sequence of frame calls like any generated
// function.
#include <vexaobj/VOperator.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include <vexa/errors.h>
#include <vexaobj/VCPP.h>
#include <vexaobj/VException.h>
#include <vexaobj/VProcedural.h>

#include "control/raise.h"
#include "frame/VCPPUtil.h"

namespace Vexa {

namespace {

constexpr const char* kConstructorProc = "VOperator::VOperator(char *op_name)";
// The runtime's names of an operator's C function and type fit in here.
constexpr int kScratchSize = 50;

char* CopyName(const char* name) {
  if (name == nullptr) return nullptr;
  char* copy = new (std::nothrow) char[std::strlen(name) + 1];
  if (copy == nullptr) {
    VEXA_RAISE("new", "Out of memory");
    return nullptr;
  }
  std::strcpy(copy, name);
  return copy;
}

// The checked slot access of the Set/Get operations: `num` counts from 1
// and must not exceed the operator's `count`. If the handler returns from
// the range failure, the access still goes to the computed place, as long
// as that place is one of the `slots`; otherwise there is nothing to reach
// and null is returned.
template <class Slot>
Slot* CheckedSlot(Slot* slots, int slot_count, int num, int count,
                  const char* proc, const char* text) {
  if (num < 1 || num > count) VEXA_RAISE(proc, "%s", text);
  if (num < 1 || num > slot_count) return nullptr;
  return &slots[num - 1];
}

// What a read of a slot that does not exist returns after a handler
// returned from the range failure.
template <class Slot>
const Slot& Missing() {
  static const Slot nothing;
  return nothing;
}

}  // namespace

VOperator::VOperator(const char* name)
    : _inp_obj_num(0),
      _outp_obj_num(0),
      _inp_ctrl_num(0),
      _outp_ctrl_num(0),
      op_name(nullptr),
      op_number(-1) {
  // The allocations are held locally until the end, so that a handler
  // that throws out of one of the raises below loses nothing.
  const VTuple name_tuple(name);
  std::unique_ptr<char[]> c_name(new (std::nothrow) char[kScratchSize]);
  std::unique_ptr<char[]> op_type(new (std::nothrow) char[kScratchSize]);
  if (c_name == nullptr || op_type == nullptr) VEXA_RAISE("new", "Out of memory");
  std::unique_ptr<char[]> own_name(CopyName(name));

  void* proc = nullptr;
  unsigned int rc = VGetVProc(-1, &proc);
  if (rc != VRESULT_OK)
    internal::RaiseRuntimeText(__FILE__, __LINE__, kConstructorProc, rc);
  const unsigned int found = VFindProcNumber(proc, name, &op_number);
  rc = VPutVProc(proc);
  if (rc != VRESULT_OK)
    internal::RaiseRuntimeText(__FILE__, __LINE__, kConstructorProc, rc);
  if (found != VRESULT_OK) {
    char message[frame::kErrorTextSize];
    std::snprintf(message, sizeof message, "Operator %s does not exist!", name);
    VException(__FILE__, __LINE__, kConstructorProc, found, message).React();
  }

  Vlong counts[4] = {0, 0, 0, 0};
  get_param_num(name_tuple, c_name.get(), &counts[0], &counts[1], &counts[2],
                &counts[3], op_type.get());
  _inp_obj_num = static_cast<int>(counts[0]);
  _outp_obj_num = static_cast<int>(counts[1]);
  _inp_ctrl_num = static_cast<int>(counts[2]);
  _outp_ctrl_num = static_cast<int>(counts[3]);
  get_param_names(name_tuple, &inp_obj_names, &outp_obj_names, &inp_ctrl_names,
                  &outp_ctrl_names);
  op_name = own_name.release();
}

VOperator::VOperator(const VOperator& other)
    : _inp_obj_num(0),
      _outp_obj_num(0),
      _inp_ctrl_num(0),
      _outp_ctrl_num(0),
      op_name(nullptr),
      op_number(-1) {
  CopyOperator(other);
}

VOperator& VOperator::operator=(const VOperator& other) {
  if (this == &other) return *this;
  delete[] op_name;
  op_name = nullptr;
  CopyOperator(other);
  return *this;
}

VOperator::~VOperator() { delete[] op_name; }

void VOperator::CopyOperator(const VOperator& other) {
  // Held locally until the end, so that a throwing handler loses nothing.
  std::unique_ptr<char[]> own_name(CopyName(other.op_name));
  op_number = other.op_number;
  _inp_obj_num = other._inp_obj_num;
  _outp_obj_num = other._outp_obj_num;
  _inp_ctrl_num = other._inp_ctrl_num;
  _outp_ctrl_num = other._outp_ctrl_num;
  inp_obj_names = other.inp_obj_names;
  outp_obj_names = other.outp_obj_names;
  inp_ctrl_names = other.inp_ctrl_names;
  outp_ctrl_names = other.outp_ctrl_names;
  // Slots beyond the counts are left as they are.
  std::copy_n(other.inp_obj, std::clamp(_inp_obj_num, 0, kObjSlots), inp_obj);
  std::copy_n(other.outp_obj, std::clamp(_outp_obj_num, 0, kObjSlots), outp_obj);
  std::copy_n(other.inp_ctrl, std::clamp(_inp_ctrl_num, 0, kCtrlSlots), inp_ctrl);
  std::copy_n(other.outp_ctrl, std::clamp(_outp_ctrl_num, 0, kCtrlSlots),
              outp_ctrl);
  op_name = own_name.release();
}

int VOperator::Search_Number(const char* name, const VTuple& names) {
  if (name == nullptr) return 0;
  for (Vlong i = 0; i < names.Num(); ++i) {
    const VCtrlVal value = names[i];
    if (value.ValType() == VPAR_STRING && std::strcmp(value.S(), name) == 0)
      return static_cast<int>(i + 1);
  }
  return 0;
}

void VOperator::SetInputObject(int num, const Vobject& obj) {
  Vobject* slot = CheckedSlot(
      inp_obj, kObjSlots, num, _inp_obj_num,
      "void VOperator::SetInputObject(int num, const Vobject &obj)",
      "int param_num <1 or param_num > _inp_obj_num");
  if (slot != nullptr) *slot = obj;
}

void VOperator::SetInputObject(const char* name, const Vobject& obj) {
  SetInputObject(Search_Number(name, inp_obj_names), obj);
}

const Vobject& VOperator::GetOutputObject(int num) const {
  const Vobject* slot =
      CheckedSlot(outp_obj, kObjSlots, num, _outp_obj_num,
                  "void VOperator::GetOutputObject(int param_num)",
                  "int param_num <1 or param_num > _outp_obj_num");
  return slot != nullptr ? *slot : Missing<Vobject>();
}

const Vobject& VOperator::GetOutputObject(const char* name) const {
  return GetOutputObject(Search_Number(name, outp_obj_names));
}

void VOperator::SetInputCtrl(int num, const VTuple& ctrl) {
  VTuple* slot =
      CheckedSlot(inp_ctrl, kCtrlSlots, num, _inp_ctrl_num,
                  "void VOperator::SetInputCtrl(int num, const VTuple &ctrl)",
                  "int param_num <1 or param_num > _inp_ctrl_num");
  if (slot != nullptr) *slot = ctrl;
}

void VOperator::SetInputCtrl(const char* name, const VTuple& ctrl) {
  SetInputCtrl(Search_Number(name, inp_ctrl_names), ctrl);
}

const VTuple& VOperator::GetOutputCtrl(int num) const {
  const VTuple* slot =
      CheckedSlot(outp_ctrl, kCtrlSlots, num, _outp_ctrl_num,
                  "void VOperator::GetOutputCtrl(int param_num)",
                  "int param_num <1 or param_num > _outp_ctrl_num");
  return slot != nullptr ? *slot : Missing<VTuple>();
}

const VTuple& VOperator::GetOutputCtrl(const char* name) const {
  return GetOutputCtrl(Search_Number(name, outp_ctrl_names));
}

unsigned int VOperator::Execute() {
  if (!VOpIdIsValid(op_number)) {
    VEXA_RAISE("VOperator::Execute()", "Operator %s: Proc is not set!",
               op_name != nullptr ? op_name : "");
    // An instance of a missing operator cannot be made; a handler that
    // returns gets the runtime's code for it.
    return VERR_OP_INDEX;
  }
  void* proc = nullptr;
  unsigned int code = VcppPreCall(op_number, &proc, 1);
  const int inp_objs = std::min(_inp_obj_num, kObjSlots);
  const int outp_objs = std::min(_outp_obj_num, kObjSlots);
  const int inp_ctrls = std::min(_inp_ctrl_num, kCtrlSlots);
  const int outp_ctrls = std::min(_outp_ctrl_num, kCtrlSlots);
  for (int i = 0; i < inp_objs && code == VRESULT_OK; ++i)
    code = VcppStoreIO(proc, i + 1, inp_obj[i]);
  for (int i = 0; i < inp_ctrls && code == VRESULT_OK; ++i)
    code = VcppStoreIC(proc, i, inp_ctrl[i]);
  if (code == VRESULT_OK) code = VcppCall(proc);
  for (int i = 0; i < outp_objs; ++i)
    code = VcppStoreOO(proc, i + 1, &outp_obj[i], code);
  for (int i = 0; i < outp_ctrls; ++i)
    code = VcppStoreOC(proc, i, &outp_ctrl[i], code);
  return VcppPostCall(proc, code, 0);
}

}  // namespace Vexa
