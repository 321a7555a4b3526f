// Where the measures of a metrology object go.
//
// Measures stand across the outline, their axis along its normal (outwards
// for closed shapes, to the right of the direction from begin to end for
// lines, rows growing downwards), so that "positive" edges go from dark to
// bright outwards. Their count is num_measures when set, else the outline
// length divided by measure_distance, rounded (at least one per line or
// rectangle side, three per circle or ellipse). They sit at the centres of
// equal pieces of the outline: lines and rectangle sides are cut into that
// many pieces of equal length (a rectangle's measures shared among its
// sides by their lengths), circles and ellipses at equal arc lengths from
// the end of their first axis.
//
// Measures reaching out of the image are clipped along their axis as every
// measure is; those with no part inside are left out and do not count for
// the score.
#pragma once

#include <vector>

#include "metrology_model.h"

namespace vexa {

// Largest number of measures of one object.
constexpr Vlong kMaxMetrologyMeasures = 100000;

// The measures of `shape` with (aligned) parameters `p`, whole or clipped,
// in an image of `width` x `height`. VERR_TOO_LARGE beyond
// kMaxMetrologyMeasures.
Vresult PlaceMeasures(MetrologyShape shape, const std::vector<double>& p,
                      const MetrologyParams& params, Vlong width, Vlong height,
                      std::vector<MetrologyMeasure>* measures);

// Points along the outline no more than `resolution` apart (a closed
// contour repeats its first point).
std::vector<std::pair<double, double>> OutlinePoints(MetrologyShape shape,
                                                     const std::vector<double>& p,
                                                     double resolution);

// The corners of a rectangle, counter-clockwise on the screen from the
// end of side 0.
std::vector<std::pair<double, double>> RectangleCorners(const std::vector<double>& p);

}  // namespace vexa
