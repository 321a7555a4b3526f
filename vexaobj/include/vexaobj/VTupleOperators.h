// Tuple operators with a scalar on the left: `2 * t`, `"x" + t`,
// `5 < t`, `1 && t`, `1 << t`. The scalar stays the left operand of every
// element operation, which matters for -, /, %, shifts and the order of
// concatenated text. Included by <vexaobj/VTuple.h>.
#ifndef VEXAOBJ_VTUPLEOPERATORS_H
#define VEXAOBJ_VTUPLEOPERATORS_H

#include <vexaobj/VBase.h>

namespace Vexa {

class VTuple;

// Arithmetic (VTupleArith.cpp).
VTuple operator+(double val1, const VTuple& val2);
VTuple operator+(int val1, const VTuple& val2);
VTuple operator+(Vlong val1, const VTuple& val2);
VTuple operator+(const char* val1, const VTuple& val2);
VTuple operator-(double val1, const VTuple& val2);
VTuple operator-(int val1, const VTuple& val2);
VTuple operator-(Vlong val1, const VTuple& val2);
VTuple operator*(double val1, const VTuple& val2);
VTuple operator*(int val1, const VTuple& val2);
VTuple operator*(Vlong val1, const VTuple& val2);
VTuple operator/(double val1, const VTuple& val2);
VTuple operator/(int val1, const VTuple& val2);
VTuple operator/(Vlong val1, const VTuple& val2);
VTuple operator%(Vlong val1, const VTuple& val2);

// Comparison of the scalar as a one-element tuple (VTupleCompare.cpp).
int operator==(double val1, const VTuple& val2);
int operator==(int val1, const VTuple& val2);
int operator==(Vlong val1, const VTuple& val2);
int operator!=(double val1, const VTuple& val2);
int operator!=(int val1, const VTuple& val2);
int operator!=(Vlong val1, const VTuple& val2);
int operator<(double val1, const VTuple& val2);
int operator<(int val1, const VTuple& val2);
int operator<(Vlong val1, const VTuple& val2);
int operator>(double val1, const VTuple& val2);
int operator>(int val1, const VTuple& val2);
int operator>(Vlong val1, const VTuple& val2);
int operator<=(double val1, const VTuple& val2);
int operator<=(int val1, const VTuple& val2);
int operator<=(Vlong val1, const VTuple& val2);
int operator>=(double val1, const VTuple& val2);
int operator>=(int val1, const VTuple& val2);
int operator>=(Vlong val1, const VTuple& val2);

// Logic and bit operations (VTupleLogic.cpp).
int operator&&(Vlong val1, const VTuple& val2);
int operator||(Vlong val1, const VTuple& val2);
VTuple operator&(Vlong val1, const VTuple& val2);
VTuple operator|(Vlong val1, const VTuple& val2);
VTuple operator^(Vlong val1, const VTuple& val2);
VTuple operator<<(Vlong val1, const VTuple& val2);
VTuple operator>>(Vlong val1, const VTuple& val2);

}  // namespace Vexa

#endif  // VEXAOBJ_VTUPLEOPERATORS_H
