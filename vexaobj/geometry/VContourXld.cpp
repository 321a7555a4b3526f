// The exchange of the point sequences with the runtime's sub-pixel
// objects: each sequence takes the rows and columns that the access
// operators of the XLD handles give. A failure of an operator raises, as
// the handles' methods do.
#include <vexaobj/VContour.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VXLDContArray.h>
#include <vexaobj/VXLDExtParaArray.h>
#include <vexaobj/VXLDModParaArray.h>
#include <vexaobj/VXLDParaArray.h>
#include <vexaobj/VXLDPolyArray.h>

namespace Vexa {

namespace {

// The polygon of the first part of a parallels object.
VPolygon2D FirstPart(const VXLD& parallels) {
  VTuple columns, length, phi, row2, column2, length2, phi2;
  const VTuple rows =
      parallels.GetParallelsXld(&columns, &length, &phi, &row2, &column2, &length2, &phi2);
  return VPolygon2D(rows, columns);
}

// Fills `sequences` with make(element) for each element of `handles`.
template <class Sequences, class Handles, class Make>
void FromHandles(Sequences& sequences, const Handles& handles, Make make) {
  for (Vlong i = handles.Num() - 1; i >= 0; --i) sequences[i] = make(handles[i]);
}

}  // namespace

VContour2D::VContour2D(const VXLDCont& contour) {
  VTuple columns;
  const VTuple rows = contour.GetContourXld(&columns);
  *this = VContour2D(rows, columns);
}

VPolygon2D::VPolygon2D(const VXLDPoly& polygon) {
  VTuple columns, length, phi;
  const VTuple rows = polygon.GetPolygonXld(&columns, &length, &phi);
  *this = VPolygon2D(rows, columns);
}

VContourArray2D::VContourArray2D(const VXLDContArray& contours) {
  FromHandles(*this, contours, [](const VXLDCont& c) { return VContour2D(c); });
}

VPolygonArray2D::VPolygonArray2D(const VXLDPolyArray& polygons) {
  FromHandles(*this, polygons, [](const VXLDPoly& p) { return VPolygon2D(p); });
}

VPolygonArray2D::VPolygonArray2D(const VXLDParaArray& parallels) {
  FromHandles(*this, parallels, FirstPart);
}

VPolygonArray2D::VPolygonArray2D(const VXLDModParaArray& parallels) {
  FromHandles(*this, parallels, FirstPart);
}

VPolygonArray2D::VPolygonArray2D(const VXLDExtParaArray& parallels) {
  FromHandles(*this, parallels, FirstPart);
}

}  // namespace Vexa
