// merge_cont_line_scan_xld: contours cut by the border between two
// consecutive line-scan images joined again.
//
// "top": the previous image lies above the current one (its contours'
// rows move by -image_height), the border is the row -0.5 of the current
// image; "bottom": it lies below (rows move by +image_height), the border
// is the row image_height - 0.5. An end of a previous contour and an end
// of a current contour join when both lie within merge_border of the
// border row and at most 2 merge_border apart; pairs are taken nearest
// first, each end once, no rings (contour_joining.h), keeping the
// attributes all pieces share. Each chain, in the current image's
// coordinates, is clipped to the max_images_contour images counted from
// the current one (the runs of points inside, of at least two points);
// current_merged_contours: the chains and the current contours that
// joined nothing (unchanged); previous_merged_contours: the previous
// contours that joined nothing, unchanged.
#include <cmath>

#include "contour_joining.h"
#include "contour_pieces.h"
#include "registry.h"

namespace vexa {
namespace xld {
namespace {

// A copy of `x` with every row moved by `dr`.
XldPtr Shifted(const Xld& x, double dr) {
  auto y = std::make_shared<Xld>(x);
  for (float& r : y->rows) r = static_cast<float>(r + dr);
  return y;
}

}  // namespace

VEXA_OPERATOR(merge_cont_line_scan_xld) {
  std::vector<XldPtr> current, previous;
  Vlong height = 0, max_images = 0;
  double border = 0;
  int mode = 0;
  Vresult rc = InpXlds(ctx, 1, VOBJ_XLD_CONT, &current);
  if (rc == VRESULT_OK) rc = InpXlds(ctx, 2, VOBJ_XLD_CONT, &previous);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &height);
  if (rc == VRESULT_OK) rc = GetFinite(ctx, 1, &border);
  if (rc == VRESULT_OK) rc = GetChoice(ctx, 2, {"top", "bottom"}, &mode);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &max_images);
  if (rc != VRESULT_OK) return rc;
  if (height < 1 || height > kMaxImageSide) return VERR_CTRL_VALUE(0);
  if (border < 0) return VERR_CTRL_VALUE(1);
  if (max_images < 1 || max_images > kMaxImageSide) return VERR_CTRL_VALUE(3);
  const double h = static_cast<double>(height);
  const double shift = mode == 0 ? -h : h;
  const double border_row = mode == 0 ? -0.5 : h - 0.5;
  // Current contours first, then the previous ones moved into the current
  // image's coordinates.
  std::vector<XldPtr> all = current;
  for (const XldPtr& x : previous) all.push_back(Shifted(*x, shift));
  const size_t num_current = current.size();
  bool joined = false;
  std::vector<std::vector<size_t>> chains;
  const std::vector<XldPtr> made = JoinContours(all, [&](const ContourEnd& a, const ContourEnd& b) {
    if ((a.contour < num_current) == (b.contour < num_current)) return -1.0;
    const Pt pa = EndPoint(*all[a.contour], a.last), pb = EndPoint(*all[b.contour], b.last);
    const double d = Distance(pa, pb);
    const bool ok = std::fabs(pa.r - border_row) <= border &&
                    std::fabs(pb.r - border_row) <= border && d <= 2 * border;
    return ok ? d : -1.0;
  }, true, &joined, &chains);
  // The rows of the images a chain may keep.
  const double images = static_cast<double>(max_images);
  const double lo = mode == 0 ? -(images - 1) * h - 0.5 : -0.5;
  const double hi = mode == 0 ? h - 0.5 : images * h - 0.5;
  std::vector<XldPtr> merged, ended;
  for (size_t k = 0; k < made.size(); ++k) {
    const size_t first = chains[k][0];
    if (chains[k].size() == 1) {
      (first < num_current ? merged : ended)
          .push_back(first < num_current ? current[first] : previous[first - num_current]);
      continue;
    }
    std::vector<bool> keep(made[k]->size());
    for (size_t i = 0; i < keep.size(); ++i) keep[i] = made[k]->rows[i] >= lo && made[k]->rows[i] < hi;
    KeptRuns(made[k], keep, &merged);
  }
  rc = HandOverXlds(ctx, 1, merged);
  if (rc == VRESULT_OK) rc = HandOverXlds(ctx, 2, ended);
  return rc;
}

}  // namespace xld
}  // namespace vexa
