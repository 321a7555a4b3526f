// Operators that describe operators, answered from the operator table:
// how many parameters an operator has, their names and their types, and
// which operators exist. The interface's run-time operator object relies on
// get_param_num and get_param_names.
#include <string>
#include <string_view>
#include <vector>

#include "op_context.h"
#include "op_table.h"
#include "ops/system/named_operator.h"
#include "registry.h"

namespace {

std::vector<std::string> ParamNames(const vexa::OpDecl& decl, int direction) {
  std::vector<std::string> names;
  for (int i = 0; i < decl.num[direction]; ++i)
    names.emplace_back(decl.param(direction, i)->name);
  return names;
}

std::vector<std::string> ParamTypes(const vexa::OpDecl& decl, int direction) {
  std::vector<std::string> types;
  for (int i = 0; i < decl.num[direction]; ++i)
    types.emplace_back(vexa::ControlTypeWord(decl.param(direction, i)->type));
  return types;
}

// Every operator is a plain operator of this runtime; the class exists for
// callers that distinguish kinds of procedures.
const char kProcedureClass[] = "operator";

}  // namespace

// Outputs: name of the procedural function, the four parameter counts
// (input objects, output objects, input controls, output controls), and
// the procedure class.
VEXA_OPERATOR(get_param_num) {
  const vexa::OpDecl* decl = nullptr;
  Vresult rc = vexa::NamedOperator(ctx, 0, &decl);
  if (rc != VRESULT_OK) return rc;
  rc = ctx.SetOutpString(0, decl->name);
  for (int d = vexa::kInpObj; rc == VRESULT_OK && d <= vexa::kOutpCtrl; ++d)
    rc = ctx.SetOutpLong(1 + d, decl->num[d]);
  if (rc == VRESULT_OK) rc = ctx.SetOutpString(5, kProcedureClass);
  return rc;
}

// Outputs: the names of the parameters of each direction, one tuple each.
VEXA_OPERATOR(get_param_names) {
  const vexa::OpDecl* decl = nullptr;
  Vresult rc = vexa::NamedOperator(ctx, 0, &decl);
  for (int d = vexa::kInpObj; rc == VRESULT_OK && d <= vexa::kOutpCtrl; ++d)
    rc = ctx.SetOutpStrings(d, ParamNames(*decl, d));
  return rc;
}

// Outputs: the types of the input and of the output control parameters.
VEXA_OPERATOR(get_param_types) {
  const vexa::OpDecl* decl = nullptr;
  Vresult rc = vexa::NamedOperator(ctx, 0, &decl);
  if (rc == VRESULT_OK) rc = ctx.SetOutpStrings(0, ParamTypes(*decl, vexa::kInpCtrl));
  if (rc == VRESULT_OK) rc = ctx.SetOutpStrings(1, ParamTypes(*decl, vexa::kOutpCtrl));
  return rc;
}

// The names of all operators that contain the pattern, in index order; an
// empty pattern lists all.
VEXA_OPERATOR(get_operator_name) {
  const char* pattern = nullptr;
  Vresult rc = ctx.GetString(0, &pattern);
  if (rc != VRESULT_OK) return rc;
  // string_view::find gives up at once on a pattern longer than the name;
  // strstr would prepare its search over the whole pattern for every name,
  // which for a pattern of megabytes takes seconds.
  const std::string_view wanted(pattern);
  std::vector<std::string> names;
  for (int32_t op = 0; op < vexa::kOperatorCount; ++op) {
    const std::string_view name(vexa::kOperatorTable[op].name);
    if (name.find(wanted) != std::string_view::npos) names.emplace_back(name);
  }
  return ctx.SetOutpStrings(0, names);
}
