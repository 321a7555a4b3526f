// The algebra of VMatrix over its operator methods.
#include <vexaobj/VMatrix.h>
#include <vexaobj/VTuple.h>

namespace Vexa {

VMatrix VMatrix::operator+(const VMatrix& b) const { return AddMatrix(b); }
VMatrix VMatrix::operator-(const VMatrix& b) const { return SubMatrix(b); }
VMatrix VMatrix::operator-() const { return ScaleMatrix(-1.0); }
VMatrix VMatrix::operator*(const VMatrix& b) const { return MultMatrix(b, "AB"); }
VMatrix VMatrix::operator*(double k) const { return ScaleMatrix(k); }
VMatrix VMatrix::operator*(int k) const { return ScaleMatrix(static_cast<double>(k)); }
VMatrix VMatrix::operator*(Vlong k) const { return ScaleMatrix(static_cast<double>(k)); }
VMatrix VMatrix::operator/(const VMatrix& b) const { return b.SolveMatrix("general", 0.0, *this); }
VMatrix::operator VTuple() const { return GetFullMatrix(); }

}  // namespace Vexa
