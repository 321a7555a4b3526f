#include "xld_store.h"

namespace vexa {
namespace {

const XldAttrib* Find(const std::vector<XldAttrib>& list,
                      const std::string& name) {
  for (const XldAttrib& a : list)
    if (a.name == name) return &a;
  return nullptr;
}

// Null equals only null; otherwise the objects are compared.
bool SamePtr(const XldPtr& a, const XldPtr& b) {
  return a == b || (a && b && *a == *b);
}

}  // namespace

const XldAttrib* Xld::Attrib(const std::string& name) const {
  return Find(attribs, name);
}

const XldAttrib* Xld::Global(const std::string& name) const {
  return Find(globals, name);
}

bool operator==(const Xld& a, const Xld& b) {
  return a.cls == b.cls && a.rows == b.rows && a.cols == b.cols &&
         a.attribs == b.attribs && a.globals == b.globals &&
         a.source_index == b.source_index && SamePtr(a.source, b.source) &&
         SamePtr(a.part1, b.part1) && SamePtr(a.part2, b.part2) &&
         a.first1 == b.first1 && a.last1 == b.last1 && a.first2 == b.first2 &&
         a.last2 == b.last2 && a.quality == b.quality;
}

const char* XldClassName(int32_t cls) {
  switch (cls) {
    case VOBJ_XLD_CONT: return "xld_cont";
    case VOBJ_XLD_POLY: return "xld_poly";
    case VOBJ_XLD_PARA: return "xld_para";
    case VOBJ_XLD_MOD_PARA: return "xld_mod_para";
    case VOBJ_XLD_EXT_PARA: return "xld_ext_para";
  }
  return "xld";
}

}  // namespace vexa
