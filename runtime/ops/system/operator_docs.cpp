// Operators that tell what the documentation says of operators and their
// parameters: a line of meaning and the chapter per operator (generated
// from the documentation into kOperatorInfo), the kind and type of each
// parameter, a search over names and meanings, and the chapters.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "ops/common/named_values.h"
#include "ops/system/named_operator.h"
#include "registry.h"

namespace vexa {
namespace {

enum class OpSlot { kShort, kAbstract, kChapter, kImplemented };
const Named<OpSlot> kOpSlots[] = {
    {"short", OpSlot::kShort},
    {"abstract", OpSlot::kAbstract},
    {"chapter", OpSlot::kChapter},
    {"implemented", OpSlot::kImplemented},
};

enum class ParamSlot { kClass, kType, kToolClass, kMultivalue };
const Named<ParamSlot> kParamSlots[] = {
    {"parameter_class", ParamSlot::kClass},
    {"type", ParamSlot::kType},
    {"tool_class", ParamSlot::kToolClass},
    {"multivalue", ParamSlot::kMultivalue},
};

const char* const kDirectionWords[] = {"input_object", "output_object", "input_control",
                                       "output_control"};

template <class T, size_t N>
Vresult OutpSlotNames(OpContext& ctx, const Named<T> (&table)[N]) {
  std::vector<std::string> names;
  for (const Named<T>& entry : table) names.emplace_back(entry.name);
  return ctx.SetOutpStrings(0, names);
}

// The meaning up to the end of its first sentence or clause.
std::string ShortMeaning(const char* meaning) {
  std::string text(meaning);
  size_t end = text.size();
  for (const char* stop : {". ", "; "}) end = std::min(end, text.find(stop));
  text.resize(end);
  if (!text.empty() && text.back() == '.') text.pop_back();
  return text;
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

int32_t IndexOf(const OpDecl* decl) { return static_cast<int32_t>(decl - kOperatorTable); }

}  // namespace

VEXA_OPERATOR(query_operator_info) { return OutpSlotNames(ctx, kOpSlots); }
VEXA_OPERATOR(query_param_info) { return OutpSlotNames(ctx, kParamSlots); }

// "short": the meaning's first sentence; "abstract": the whole line of
// meaning; "chapter": the title of the chapter that documents the
// operator ("" for none); "implemented": "true" or "false".
VEXA_OPERATOR(get_operator_info) {
  const OpDecl* decl = nullptr;
  const char* slot_name = nullptr;
  Vresult rc = NamedOperator(ctx, 0, &decl);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &slot_name);
  if (rc != VRESULT_OK) return rc;
  OpSlot slot;
  if (!LookUpName(kOpSlots, slot_name, &slot)) return VERR_CTRL_VALUE(1);
  const OpInfo& info = kOperatorInfo[IndexOf(decl)];
  switch (slot) {
    case OpSlot::kShort: return ctx.SetOutpString(0, ShortMeaning(info.meaning).c_str());
    case OpSlot::kAbstract: return ctx.SetOutpString(0, info.meaning);
    case OpSlot::kChapter: return ctx.SetOutpString(0, info.chapter);
    case OpSlot::kImplemented:
      return ctx.SetOutpString(0, HasRegisteredImpl(IndexOf(decl)) ? "true" : "false");
  }
  return VERR_INTERNAL;
}

// "parameter_class": input_object, output_object, input_control or
// output_control; "type": an object parameter's class, a control's
// integer, real, string or any; "tool_class": the tool class of a handle
// ("" for none); "multivalue": "true" for object parameters that take any
// number of objects and tuple-valued controls.
VEXA_OPERATOR(get_param_info) {
  const OpDecl* decl = nullptr;
  const char *param_name = nullptr, *slot_name = nullptr;
  Vresult rc = NamedOperator(ctx, 0, &decl);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &param_name);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &slot_name);
  if (rc != VRESULT_OK) return rc;
  ParamSlot slot;
  if (!LookUpName(kParamSlots, slot_name, &slot)) return VERR_CTRL_VALUE(2);
  for (int d = kInpObj; d <= kOutpCtrl; ++d) {
    for (int i = 0; i < decl->num[d]; ++i) {
      const OpParamDecl& p = *decl->param(d, i);
      if (std::strcmp(p.name, param_name) != 0) continue;
      const bool object = d == kInpObj || d == kOutpObj;
      switch (slot) {
        case ParamSlot::kClass: return ctx.SetOutpString(0, kDirectionWords[d]);
        case ParamSlot::kType: return ctx.SetOutpString(0, object ? p.cls : ControlTypeWord(p.type));
        case ParamSlot::kToolClass: return ctx.SetOutpString(0, !object && p.cls ? p.cls : "");
        case ParamSlot::kMultivalue:
          return ctx.SetOutpString(0, (object ? p.array : p.type == 't') ? "true" : "false");
      }
    }
  }
  return VERR_CTRL_VALUE(1);
}

// The operators whose name or line of meaning contains `keyword` (letters
// compared without case), in index order; an empty keyword finds none.
VEXA_OPERATOR(search_operator) {
  const char* keyword = nullptr;
  const Vresult rc = ctx.GetString(0, &keyword);
  if (rc != VRESULT_OK) return rc;
  const std::string key = Lower(keyword);
  std::vector<std::string> found;
  for (int32_t op = 0; op < kOperatorCount && !key.empty(); ++op) {
    if (Lower(kOperatorTable[op].name).find(key) != std::string::npos ||
        Lower(kOperatorInfo[op].meaning).find(key) != std::string::npos)
      found.emplace_back(kOperatorTable[op].name);
  }
  return ctx.SetOutpStrings(0, found);
}

// "": the titles of all chapters, in byte order; a title: the operators
// it documents, in index order.
VEXA_OPERATOR(get_chapter_info) {
  const char* chapter = nullptr;
  const Vresult rc = ctx.GetString(0, &chapter);
  if (rc != VRESULT_OK) return rc;
  if (*chapter == '\0') {
    std::set<std::string> titles;
    for (const OpInfo& info : kOperatorInfo)
      if (*info.chapter != '\0') titles.insert(info.chapter);
    return ctx.SetOutpStrings(0, std::vector<std::string>(titles.begin(), titles.end()));
  }
  std::vector<std::string> names;
  for (int32_t op = 0; op < kOperatorCount; ++op)
    if (std::strcmp(kOperatorInfo[op].chapter, chapter) == 0) names.emplace_back(kOperatorTable[op].name);
  return names.empty() ? VERR_CTRL_VALUE(0) : ctx.SetOutpStrings(0, names);
}

}  // namespace vexa
