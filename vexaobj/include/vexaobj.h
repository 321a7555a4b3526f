// The whole interface of the library in one include: control values and
// tuples, exceptions, the call frame, object keys, the dynamic operator,
// the procedural operator functions, and the iconic, geometric, tool and
// value classes. Headers of class families that are
// not part of every build are taken only when present.
#ifndef VEXAOBJ_H
#define VEXAOBJ_H

#include <vexaobj/VBase.h>
#include <vexaobj/VCtrlVal.h>
#include <vexaobj/VException.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VPrimitives.h>
#include <vexaobj/VRectangle.h>
#include <vexaobj/VConvol.h>
#include <vexaobj/VDChord.h>
#include <vexaobj/VRLRegion.h>
#include <vexaobj/VDRegion.h>
#include <vexaobj/VWindow.h>
#include <vexaobj/VRegion.h>
#include <vexaobj/VRegionArray.h>
#include <vexaobj/VPixVal.h>
#include <vexaobj/VImage.h>
#include <vexaobj/VImageArray.h>
#include <vexaobj/VXLD.h>
#include <vexaobj/VXLDArray.h>
#include <vexaobj/VXLDCont.h>
#include <vexaobj/VXLDContArray.h>
#include <vexaobj/VXLDPoly.h>
#include <vexaobj/VXLDPolyArray.h>
#include <vexaobj/VXLDPara.h>
#include <vexaobj/VXLDParaArray.h>
#include <vexaobj/VXLDModPara.h>
#include <vexaobj/VXLDModParaArray.h>
#include <vexaobj/VXLDExtPara.h>
#include <vexaobj/VXLDExtParaArray.h>
#include <vexaobj/VTypedImage.h>
#include <vexaobj/VIterator.h>
#include <vexaobj/VContour.h>
#include <vexaobj/VToolBase.h>
#include <vexaobj/VTools.h>
#include <vexaobj/VFunction1D.h>
#include <vexaobj/VBarCode1D.h>
#include <vexaobj/VBarCode2D.h>

#if __has_include(<vexaobj/VCPP.h>)
#include <vexaobj/VCPP.h>
#endif
#if __has_include(<vexaobj/Vobject.h>)
#include <vexaobj/Vobject.h>
#endif
#if __has_include(<vexaobj/VOperator.h>)
#include <vexaobj/VOperator.h>
#endif
#if __has_include(<vexaobj/VProcedural.h>)
#include <vexaobj/VProcedural.h>
#endif

#endif  // VEXAOBJ_H
