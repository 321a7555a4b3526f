// Pieces of contours: runs of points cut out of a source contour with
// their per-point attributes and the source's global attributes.
#pragma once

#include <memory>
#include <vector>

#include "xld_support.h"

namespace vexa {
namespace xld {

// Builds a contour from points of `src`, each either a source point i or
// a point at fraction t of the way from i to i + 1.
class PieceBuilder {
 public:
  explicit PieceBuilder(const Xld& src) : src_(src) { Reset(); }
  void Add(size_t i, double t = 0) {
    const size_t j = t > 0 ? i + 1 : i;
    auto mix = [&](double a, double b) { return a + t * (b - a); };
    piece_->rows.push_back(static_cast<float>(mix(src_.rows[i], src_.rows[j])));
    piece_->cols.push_back(static_cast<float>(mix(src_.cols[i], src_.cols[j])));
    for (size_t k = 0; k < src_.attribs.size(); ++k)
      piece_->attribs[k].values.push_back(mix(src_.attribs[k].values[i], src_.attribs[k].values[j]));
  }
  // Ends the piece; pieces of fewer than two points are dropped.
  void Finish(std::vector<XldPtr>* out) {
    if (piece_->size() > 1) out->push_back(piece_);
    Reset();
  }

 private:
  void Reset() {
    piece_ = std::make_shared<Xld>();
    piece_->globals = src_.globals;
    for (const XldAttrib& a : src_.attribs) piece_->attribs.push_back({a.name, {}});
  }
  const Xld& src_;
  std::shared_ptr<Xld> piece_;
};

// The maximal runs of consecutive points of `x` with keep[i] set, as
// pieces of at least two points, appended to `out` in contour order. A
// closed contour's runs wrap round its end (its last point counts as its
// first); kept whole, it stays closed.
void KeptRuns(const XldPtr& x, const std::vector<bool>& keep, std::vector<XldPtr>* out);

}  // namespace xld
}  // namespace vexa
