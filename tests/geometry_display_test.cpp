// Display of the geometric values: recording stand-ins for the window's
// drawing operators check that every class runs the right operator with
// the window's handle, row before column (the ellipse and circle centres
// excepted), and the stated truncations and types; a failing operator
// raises.
#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

#include <vexa/errors.h>
#include <vexa/runtime.h>
#include <vexaobj/VDChord.h>
#include <vexaobj/VEllipse.h>
#include <vexaobj/VLine.h>
#include <vexaobj/VPrimitives.h>
#include <vexaobj/VRectangle.h>
#include <vexaobj/VWindow.h>

#include "control_test_support.h"
#include "frame_test_support.h"
#include "op_context.h"

using namespace Vexa;
using frame_test::OperatorIndex;
using frame_test::ScopedOperator;

namespace {

constexpr Vlong kHandle = 4711;
constexpr int kMaxControls = 20;

// One control value as the operator saw it.
struct Value {
  int type;
  double v;
  bool operator==(const Value& o) const { return type == o.type && v == o.v; }
};
Value L(Vlong v) { return {VPAR_LONG, static_cast<double>(v)}; }
Value D(double v) { return {VPAR_DOUBLE, v}; }

struct Call {
  std::string op;
  std::vector<std::vector<Value>> controls;
  bool operator==(const Call& o) const { return op == o.op && controls == o.controls; }
};

std::ostream& operator<<(std::ostream& out, const Call& c) {
  out << c.op << "(";
  for (const auto& par : c.controls) {
    out << "[";
    for (const Value& v : par) out << (v.type == VPAR_LONG ? "L" : "D") << v.v << " ";
    out << "]";
  }
  return out << ")";
}

std::vector<Call> calls;
Vresult answer = VRESULT_OK;

// Records the operator and its control inputs, without trailing unset ones.
Vresult Record(void* proc) {
  vexa::OpContext ctx(proc);
  Call call{VOIGet_LogicalName(ctx.op()), {}};
  for (int par = 0; par < kMaxControls; ++par) {
    std::vector<Value> values;
    for (Vlong i = 0; i < ctx.CtrlNum(par); ++i) {
      const Vcpar& e = ctx.CtrlElem(par, i);
      values.push_back({e.type, e.type == VPAR_LONG ? static_cast<double>(e.par.l) : e.par.d});
    }
    call.controls.push_back(values);
  }
  while (!call.controls.empty() && call.controls.back().empty()) call.controls.pop_back();
  calls.push_back(call);
  return answer;
}

Vresult OpenFake(void* proc) { return vexa::OpContext(proc).SetOutpLong(0, kHandle); }
Vresult CloseFake(void*) { return VRESULT_OK; }

class GeometryDisplay : public control_test::ThrowingTest {
 protected:
  void SetUp() override {
    calls.clear();
    answer = VRESULT_OK;
  }
  // The one call that `shown` made.
  template <class Shown>
  Call Shows(const Shown& shown) {
    calls.clear();
    shown.Display(window_);
    EXPECT_EQ(1u, calls.size()) << shown.ClassName();
    return calls.empty() ? Call{} : calls.back();
  }

  ScopedOperator open_{OperatorIndex("open_window"), &OpenFake};
  ScopedOperator close_{OperatorIndex("close_window"), &CloseFake};
  std::deque<ScopedOperator> drawing_ = [] {
    std::deque<ScopedOperator> fakes;
    for (const char* op : {"disp_polygon", "disp_arrow", "disp_line", "disp_circle",
                           "disp_ellipse", "disp_rectangle1", "disp_rectangle2"})
      fakes.emplace_back(OperatorIndex(op), &Record);
    return fakes;
  }();
  VWindow window_{0, 0, 512, 512, 0, "", "", 1};
  control_test::ScopedMemTrace trace_;
  std::mt19937 rng_{7411};
};

TEST_F(GeometryDisplay, PointsAreOneVertexPolygonsAndVectorsArrowsFromTheOrigin) {
  ASSERT_EQ(kHandle, window_.WindowHandle());
  const Value h = L(kHandle);
  EXPECT_EQ((Call{"disp_polygon", {{h}, {L(20)}, {L(10)}}}), Shows(VDPoint2D(10, 20)));
  EXPECT_EQ((Call{"disp_polygon", {{h}, {L(7)}, {L(-5)}}}), Shows(VDPoint3D(-5, 7, 99)));
  EXPECT_EQ((Call{"disp_arrow", {{h}, {D(0)}, {D(0)}, {D(4)}, {D(3)}, {D(1)}}}),
            Shows(VDVector2D(3, 4)));
  EXPECT_EQ((Call{"disp_arrow", {{h}, {D(0)}, {D(0)}, {D(-6)}, {D(2)}, {D(1)}}}),
            Shows(VDVector3D(2, -6, 8)));
  EXPECT_EQ((Call{"disp_arrow", {{h}, {D(0)}, {D(0)}, {D(-2.25)}, {D(1.5)}, {D(1)}}}),
            Shows(VVector2D(1.5, -2.25)));
  EXPECT_EQ((Call{"disp_arrow", {{h}, {D(0)}, {D(0)}, {D(0.125)}, {D(-9.5)}, {D(1)}}}),
            Shows(VVector3D(-9.5, 0.125, 4)));
  // Real points truncate toward zero to integers, from their single
  // precision values.
  std::uniform_real_distribution<double> coord(-1000.0, 1000.0);
  for (int round = 0; round < 50; ++round) {
    const double x = coord(rng_), y = coord(rng_);
    const Vlong row = static_cast<Vlong>(std::trunc(static_cast<float>(y)));
    const Vlong column = static_cast<Vlong>(std::trunc(static_cast<float>(x)));
    const Call expected{"disp_polygon", {{h}, {L(row)}, {L(column)}}};
    ASSERT_EQ(expected, Shows(VPoint2D(x, y)));
    ASSERT_EQ(expected, Shows(VPoint3D(x, y, coord(rng_))));
  }
  EXPECT_EQ(0, trace_.Leaked()) << trace_.Report();
}

TEST_F(GeometryDisplay, LinesRectanglesEllipsesAndChords) {
  const Value h = L(kHandle);
  EXPECT_EQ((Call{"disp_polygon", {{h}, {D(2.5), D(8)}, {D(1.5), D(-4)}}}),
            Shows(VLine2D(VPoint2D(1.5, 2.5), VPoint2D(-4, 8))));
  EXPECT_EQ((Call{"disp_polygon", {{h}, {D(2.5), D(8)}, {D(1.5), D(-4)}}}),
            Shows(VLine3D(VPoint3D(1.5, 2.5, 3), VPoint3D(-4, 8, -7))));
  EXPECT_EQ((Call{"disp_rectangle1", {{h}, {D(2.5)}, {D(1)}, {D(9)}, {D(5.25)}}}),
            Shows(VRectangle1(VPoint2D(1, 2.5), VPoint2D(5.25, 9))));
  EXPECT_EQ((Call{"disp_rectangle2", {{h}, {D(4.5)}, {D(3.5)}, {D(0.5)}, {D(2)}, {D(1)}}}),
            Shows(VRectangle2(VPoint2D(3.5, 4.5), 2, 1, 0.5)));
  EXPECT_EQ((Call{"disp_line", {{h}, {D(7)}, {D(2)}, {D(7)}, {D(9)}}}), Shows(VDChord(7, 2, 9)));
  // The centre of ellipses and circles goes column first; the ellipse's
  // truncated to integers.
  EXPECT_EQ((Call{"disp_circle", {{h}, {D(10.75)}, {D(-20.5)}, {D(4)}}}),
            Shows(VCircle(VPoint2D(10.75, -20.5), 4)));
  std::uniform_real_distribution<double> coord(-500.0, 500.0), radius(0.0, 50.0);
  for (int round = 0; round < 30; ++round) {
    const double x = coord(rng_), y = coord(rng_), ra = radius(rng_), rb = radius(rng_);
    const double phi = coord(rng_) / 100;
    const Call expected{"disp_ellipse",
                        {{h},
                         {L(static_cast<Vlong>(std::trunc(static_cast<float>(x))))},
                         {L(static_cast<Vlong>(std::trunc(static_cast<float>(y))))},
                         {D(phi)},
                         {D(ra)},
                         {D(rb)}}};
    ASSERT_EQ(expected, Shows(VEllipse(VPoint2D(x, y), ra, rb, phi)));
  }
  // Empty rectangles show nothing.
  calls.clear();
  VRectangle1().Display(window_);
  VRectangle1(VPoint2D(5, 5), VPoint2D(1, 1)).Display(window_);
  VRectangle2().Display(window_);
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(0, trace_.Leaked()) << trace_.Report();
}

TEST_F(GeometryDisplay, AFailingOperatorRaises) {
  answer = VERR_WINDOW_INVALID;
  for (int kind = 0; kind < 2; ++kind) {
    try {
      if (kind == 0) VDPoint2D(1, 2).Display(window_);
      if (kind == 1) VCircle(VPoint2D(1, 2), 3).Display(window_);
      ADD_FAILURE() << "no raise for kind " << kind;
    } catch (const VException& e) {
      EXPECT_EQ(VERR_WINDOW_INVALID, e.err);
    }
  }
  EXPECT_EQ(0, trace_.Leaked()) << trace_.Report();
}

}  // namespace
