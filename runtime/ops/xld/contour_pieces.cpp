// Runs of kept points as contour pieces.
#include "contour_pieces.h"

namespace vexa {
namespace xld {

void KeptRuns(const XldPtr& x, const std::vector<bool>& keep, std::vector<XldPtr>* out) {
  const bool closed = IsClosed(*x);
  const size_t n = x->size() - (closed ? 1 : 0);
  size_t start = 0;
  if (closed) {
    while (start < n && keep[start]) ++start;
    if (start == n) {
      out->push_back(x);
      return;
    }
  }
  // From the first dropped point of a closed contour once round; an open
  // one from its first point to its last.
  PieceBuilder b(*x);
  for (size_t k = 0; k < n; ++k) {
    const size_t i = (start + k) % n;
    if (keep[i]) {
      b.Add(i);
    } else {
      b.Finish(out);
    }
  }
  b.Finish(out);
}

}  // namespace xld
}  // namespace vexa
