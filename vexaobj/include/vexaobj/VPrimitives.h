// The geometric value classes: angles and complex numbers, points and
// vectors, lines, ellipses and circles, affine transformations.
#ifndef VEXAOBJ_VPRIMITIVES_H
#define VEXAOBJ_VPRIMITIVES_H

#include <vexaobj/VNumeric.h>
#include <vexaobj/VGeometryBase.h>
#include <vexaobj/VDPoint.h>
#include <vexaobj/VPoint.h>
#include <vexaobj/VLine.h>
#include <vexaobj/VEllipse.h>
#include <vexaobj/VAffineTrans.h>

#endif  // VEXAOBJ_VPRIMITIVES_H
