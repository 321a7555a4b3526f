// VXLD: construction with the range test of the sub-pixel classes,
// assignment, display, and the class tests shared with the typed handles
// and arrays.
#include <vexaobj/VXLD.h>

#include <cstdio>
#include <string>

#include <vexaobj/VException.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>
#include <vexaobj/VXLDArray.h>

#include "control/raise.h"
#include "iconic/db_bracket.h"
#include "iconic/region_calls.h"

namespace Vexa {

namespace internal {

bool XldTagIs(Vkey key, int id) {
  return key == nullptr || key == VKEY_UNDEF || db_bracket::TagId(key) == id;
}

bool XldTagInRange(Vkey key) {
  const int id = db_bracket::TagId(key);
  return id >= VOBJ_XLD_CONT && id <= VOBJ_XLD_EXT_PARA;
}

void RaiseWrongXldClass(const char* pattern, const char* cls) {
  const std::string name = cls;
  // An array's element class is its name without "Array".
  const std::string element = name.size() > 5 && name.compare(name.size() - 5, 5, "Array") == 0
                                  ? name.substr(0, name.size() - 5)
                                  : name;
  std::string function;
  for (const char* p = pattern; *p != '\0'; ++p) {
    if (*p == '@')
      function += name;
    else if (*p == '#')
      function += element;
    else
      function += *p;
  }
  VEXA_RAISE(function.c_str(), "wrong object class passed");
}

}  // namespace internal

VXLD::VXLD() = default;

VXLD::VXLD(Vkey k, int check) : VObject(k) {
  if (check && !internal::XldTagInRange(key))
    VEXA_RAISE("VXLD::VXLD(Vkey key)", "wrong object class passed");
}

VXLD::VXLD(const Vobject& obj, int check) : VObject(obj) {
  if (!check || key == VKEY_UNDEF || internal::XldTagInRange(key)) return;
  VTuple class_name;
  get_obj_class(region_calls::Borrowed(key), &class_name);
  const char* name = class_name.Num() == 1 && class_name[0].ValType() == VPAR_STRING
                         ? class_name[0].S()
                         : "";
  char message[1100];
  std::snprintf(message, sizeof message, "wrong object class: '%.1000s' (ID=%d)", name,
                db_bracket::TagId(key));
  VException("VCPPUtil", __LINE__,
             "Vobject::Vobject(const Vobject &obj, const char *class)", message)
      .React();
}

VXLD::VXLD(const VXLD& x) : VObject() {
  FreeData();
  CopyVObject(x);
}

VXLD::VXLD(const VXLDArray& a) : VXLD(a[0]) {}

VXLD& VXLD::operator=(const VXLD& x) {
  if (this != &x) TakeOver(x);
  return *this;
}

VXLD& VXLD::operator=(const VXLDArray& a) {
  TakeOver(a[0]);
  return *this;
}

void VXLD::TakeOver(const VXLD& from) {
  FreeData();
  CopyVObject(from);
}

void VXLD::Display(const VWindow& w) const {
  if (!used) {
    VEXA_RAISE("void VXLD::Display(const VWindow &w)", "%s", kRegionCleared);
    return;
  }
  if (key == VKEY_UNDEF) return;
  region_calls::Check(disp_xld(region_calls::Borrowed(key), w.WindowHandle()),
                      "void VXLD::Display(const VWindow &w)");
}

}  // namespace Vexa
