#include "ops/codes/code_objects.h"

#include <memory>

#include "ops/region/kernels/raster.h"

namespace vexa {
namespace {

Vresult AddClosedContour(const double* rows, const double* cols, int n, NewKeys* out) {
  auto xld = std::make_shared<Xld>();
  xld->cls = VOBJ_XLD_CONT;
  for (int i = 0; i <= n; ++i) {
    xld->rows.push_back(static_cast<float>(rows[i % n]));
    xld->cols.push_back(static_cast<float>(cols[i % n]));
  }
  Vkey key = VKEY_UNDEF;
  const Vresult rc = db::NewXld(std::move(xld), &key);
  if (rc == VRESULT_OK) out->Add(key);
  return rc;
}

}  // namespace

Vresult AddSymbolRegion(const CodeHit& hit, NewKeys* out) {
  const std::vector<double> rows(hit.rows, hit.rows + 4), cols(hit.cols, hit.cols + 4);
  Vkey key = VKEY_UNDEF;
  const Vresult rc = db::NewRegion(Region::FromChords(RasterConvexPolygon(rows, cols)), &key);
  if (rc == VRESULT_OK) out->Add(key);
  return rc;
}

Vresult AddSymbolXld(const CodeHit& hit, NewKeys* out) {
  return AddClosedContour(hit.rows, hit.cols, 4, out);
}

Vresult AddSearchAreaXld(const CodeImage& image, NewKeys* out) {
  if (image.width == 0) return VRESULT_OK;
  const double r1 = image.row0, c1 = image.col0;
  const double r2 = r1 + image.height - 1, c2 = c1 + image.width - 1;
  const double rows[4] = {r1, r1, r2, r2}, cols[4] = {c1, c2, c2, c1};
  return AddClosedContour(rows, cols, 4, out);
}

}  // namespace vexa
