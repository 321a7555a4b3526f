// The operator table: one declaration per operator, in index order,
// generated from decl/ (generated/runtime/op_table.cpp).
#pragma once

#include <cstdint>

namespace vexa {

enum ParamDirection : int { kInpObj = 0, kOutpObj = 1, kInpCtrl = 2, kOutpCtrl = 3 };

struct OpParamDecl {
  const char* name;
  char type;          // controls: 'l', 'd', 's' or 't' (tuple); objects: 0
  const char* cls;    // objects: class ("region", "image", ...); controls:
                      // tool class ("VShapeModel") or nullptr
  bool array;         // objects: takes or yields any number of objects
};

struct OpDecl {
  const char* name;
  uint8_t num[4];              // by ParamDirection
  const OpParamDecl* params;   // num[0]+num[1]+num[2]+num[3] entries, in
                               // direction order
  const OpParamDecl* param(int direction, int i) const {
    int off = 0;
    for (int d = 0; d < direction; ++d) off += num[d];
    return params + off + i;
  }
};

constexpr int32_t kOperatorCount = 2075;
extern const OpDecl kOperatorTable[kOperatorCount];

// What the documentation says of an operator: its line of meaning and the
// title of the chapter that documents it ("" where only the declaration
// table's list of meanings has it), generated (generated/runtime/op_info.cpp).
struct OpInfo {
  const char* meaning;
  const char* chapter;
};
extern const OpInfo kOperatorInfo[kOperatorCount];

// Index of the operator called `name`, or -1.
int32_t FindOperatorIndex(const char* name);

}  // namespace vexa
