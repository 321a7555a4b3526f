// Roots of the two geometric trees and the value arithmetic they share:
// single-precision rounding of real coordinates, truncation of reals to
// integers as the processor does it, and 32-bit integer arithmetic that
// wraps instead of overflowing.
#ifndef VEXAOBJ_VGEOMETRYBASE_H
#define VEXAOBJ_VGEOMETRYBASE_H

#include <cstdint>

#include <vexaobj/VBase.h>

namespace Vexa {

class VWindow;
class VAffineTrans;

// Coordinate of the integer ("discrete") classes: a signed 32-bit integer.
typedef int VDCoord;
// Coordinate of the real ("spatial") classes.
typedef double VCoord;

// Root of the integer objects: points, vectors, chords, discrete regions.
class VDiscreteObject : public VRootObject {
 public:
  const char* ClassName() const override = 0;
  ~VDiscreteObject() override = default;
  virtual Vlong NumPoints() const = 0;
  virtual void Display(const VWindow& w) const = 0;
  virtual void Transform(const VAffineTrans& t) = 0;
};

// Root of the real objects. Lists Transform before Display, the reverse of
// the integer tree.
class VSpatialObject : public VRootObject {
 public:
  const char* ClassName() const override = 0;
  ~VSpatialObject() override = default;
  virtual void Transform(const VAffineTrans& t) = 0;
  virtual void Display(const VWindow& w) const = 0;
};

namespace geometry {

// The nearest single-precision value, widened back to double. Every new
// real point or vector is stored this way.
inline double Single(double v) {
  return static_cast<double>(static_cast<float>(v));
}

// Truncation toward zero to 32 bits. Out of range and not-a-number give
// the processor's integer indefinite value instead of undefined behaviour.
inline int TruncInt(double v) {
  return (v > -2147483649.0 && v < 2147483648.0) ? static_cast<int>(v)
                                                 : INT32_MIN;
}

// The same to 64 bits.
inline Vlong TruncLong(double v) {
  return (v >= -9223372036854775808.0 && v < 9223372036854775808.0)
             ? static_cast<Vlong>(v)
             : INT64_MIN;
}

// 32-bit arithmetic with wrap-around, as the integer classes compute.
inline int WrapAdd(int a, int b) {
  return static_cast<int>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
}
inline int WrapSub(int a, int b) {
  return static_cast<int>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
}
inline int WrapMul(int a, int b) {
  return static_cast<int>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
}

// Pi and its multiples as the geometric classes use them.
constexpr double kPi = 3.141592653589793;
constexpr double kTwoPi = 6.283185307179586;

}  // namespace geometry
}  // namespace Vexa

#endif  // VEXAOBJ_VGEOMETRYBASE_H
