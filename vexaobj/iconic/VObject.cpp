// VObject: key ownership, the cleared state, the class check on keys and
// the display of any iconic object.
#include <vexaobj/VObject.h>

#include <cstdio>
#include <cstring>

#include <vexaobj/VException.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VTuple.h>

#include "control/raise.h"
#include "frame/VCPPUtil.h"

namespace Vexa {

namespace {

// 0 is accepted at every boundary and stands for "no object".
Vkey Normalized(Vkey k) { return k == nullptr ? VKEY_UNDEF : k; }

// A new reference of the object of `source` (not 1), made in a bracket.
Vkey CopiedKey(Vkey source) {
  Vkey copy = VKEY_UNDEF;
  frame::RuntimeBracket(
      [source, &copy](void* context) {
        return DBCopyObjectId(context, source, &copy);
      },
      __LINE__);
  return Normalized(copy);
}

void ReleaseKey(Vkey k) {
  frame::RuntimeBracket(
      [k](void* context) { return DBDelObjectId(context, k); }, __LINE__);
}

// Copies the one string of `values` into `buffer` of `size` bytes,
// truncating; an empty text when `values` holds no single string.
void CopySingleString(const VTuple& values, char* buffer, size_t size) {
  buffer[0] = '\0';
  if (values.Num() != 1 || values[0].ValType() != VPAR_STRING) return;
  std::snprintf(buffer, size, "%s", values[0].S());
}

// Room for the runtime's texts of a creator or a class name.
constexpr size_t kNameSize = 1024;

}  // namespace

const char VObject::kRegionCleared[] = "Region is cleared";

VObject::VObject() : used(1), key(VKEY_UNDEF) {}

VObject::VObject(Vkey k) : used(1), key(Normalized(k)) {}

VObject::VObject(const Vobject& obj) : used(1), key(VKEY_UNDEF) {
  if (obj.Id() != VKEY_UNDEF) key = CopiedKey(obj.Id());
}

VObject::VObject(const VObject& other) : VRootObject(other), used(1), key(VKEY_UNDEF) {
  CopyVObject(other);
}

VObject& VObject::operator=(const VObject& other) {
  used = other.used;
  key = other.key;
  return *this;
}

VObject::~VObject() {
  if (used && key != VKEY_UNDEF) ReleaseKey(key);
}

Vobject VObject::Id() const {
  if (!used) VEXA_RAISE("Vobject VObject::Id(void) const", "%s", kRegionCleared);
  if (key == VKEY_UNDEF) return Vobject(1);
  return Vobject(CopiedKey(key), 1);
}

Vkey VObject::Key() const {
  if (!used) ClearedException("Key");
  return key;
}

const char* VObject::VClassName() const { return "object"; }

const char* VObject::Creator() const {
  static char creator[kNameSize];
  if (key == VKEY_UNDEF) return "none";
  VTuple information;
  get_channel_info(Vobject(key, 0), VTuple("creator"), VTuple(Vlong{0}),
                   &information);
  CopySingleString(information, creator, sizeof creator);
  return creator;
}

int VObject::ClassDBID() const { return VOBJ_ICONIC; }

void VObject::Reset() { SetKey(VKEY_UNDEF); }

void VObject::SetKey(Vkey k) {
  if (used && key != VKEY_UNDEF) ReleaseKey(key);
  used = 1;
  key = Normalized(k);
}

void VObject::InitKey(Vkey k) {
  key = Normalized(k);
  used = 1;
}

void VObject::FreeData() {
  if (used && key != VKEY_UNDEF) ReleaseKey(key);
  key = VKEY_UNDEF;
  used = 0;
}

void VObject::CopyVObject(const VObject& in) {
  if (!in.used) {
    VEXA_RAISE("void VObject::CopyVObject(const VObject &in)",
               "copy of cleared or unused VObject");
    return;
  }
  key = in.key != VKEY_UNDEF ? CopiedKey(in.key) : VKEY_UNDEF;
  used = 1;
}

void VObject::CheckMyObjClass() const { CheckMyObjClass(ClassDBID()); }

void VObject::CheckMyObjClass(int id) const {
  // The undefined key fits every class.
  if (key == nullptr || key == VKEY_UNDEF) return;
  const int found = static_cast<const VKeyRecordHead*>(key)->tag - VOBJ_TAG_BASE;
  if (found == id) return;
  VTuple class_name;
  get_obj_class(Vobject(key, 0), &class_name);
  char name[kNameSize];
  CopySingleString(class_name, name, sizeof name);
  char message[2 * kNameSize];
  std::snprintf(message, sizeof message,
                "wrong object class: '%s' (ID=%d); requested class: '%s' (ID=%d)",
                name, found, VClassName(), id);
  VException exception("VCPPUtil", __LINE__,
                       "Vobject::Vobject(const Vobject &obj, const char *class)",
                       message);
  exception.React();
}

void VObject::ClearedException(const char* function) const {
  VException exception("VCPPUtil", __LINE__, function, "VObject is cleared");
  exception.React();
}

void VObject::TestUsed(const char* function) const {
  if (!used) ClearedException(function);
}

}  // namespace Vexa
