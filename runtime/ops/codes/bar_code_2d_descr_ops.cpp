// 2D codes with a description: finding symbols, sampling their module
// grids, and decoding module grids. A symbol's region description
// (code_reg_descr) is its four corners in reading order: the four rows,
// then the four columns; find_2d_bar_code lists them symbol after symbol.
// Module data are 1 for a set module (the symbol's foreground), row by
// row in reading order.
#include <cmath>

#include "ops/codes/code_descriptions.h"
#include "ops/codes/code_objects.h"
#include "ops/codes/code_type_input.h"
#include "ops/codes/data_code_params.h"
#include "ops/measure/measure_params.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr int kCornerValues = 8;
constexpr Vlong kMaxModules = 200;  // per side; every code type stays below

// The description at `descr_par` and the data code parameters it stands
// for, with the pairs at `name_par` and `name_par + 1` applied.
Vresult InpDescrParams(const OpContext& ctx, int descr_par, int name_par, MatrixDescr* d,
                       DataCodeParams* params) {
  Vresult rc = InpMatrixDescr(ctx, descr_par, d);
  if (rc != VRESULT_OK) return rc;
  params->type = d->type;
  return ApplyDataCodeParams(ctx, name_par, params);
}

// The region at object 1, the image at object 2, the description at
// control 0, the corners at control 1 and parameters at 2 and 3, and the
// symbol's grid fitted on the image.
Vresult SampleDescribedSymbol(OpContext& ctx, SymbolGrid* grid) {
  Vkey region = VKEY_UNDEF;
  RegionPtr unused;
  CodeImage image;
  MatrixDescr d;
  DataCodeParams params;
  std::vector<double> corners;
  Vresult rc = ctx.InpObjSingle(1, &region);
  if (rc == VRESULT_OK) rc = InpRegion(1, region, &unused);
  if (rc == VRESULT_OK) rc = InpCodeImage(ctx, 2, &image);
  if (rc == VRESULT_OK) rc = InpDescrParams(ctx, 0, 2, &d, &params);
  if (rc == VRESULT_OK) rc = ctx.GetDoubles(1, corners);
  if (rc != VRESULT_OK) return rc;
  if (corners.size() != kCornerValues) return VERR_CTRL_NUM(1);
  CodeHit hit;
  hit.format = kDataCodeTypes[d.type].format;
  for (int i = 0; i < 4; ++i) {
    hit.rows[i] = corners[i], hit.cols[i] = corners[4 + i];
    if (!std::isfinite(hit.rows[i]) || !std::isfinite(hit.cols[i])) return VERR_CTRL_VALUE(1);
  }
  if (!HasFittableGrid(hit.format)) return VERR_CODE_RESULT_NA;
  return FitSymbolGrid(image, hit, grid) ? VRESULT_OK : VERR_CODE_UNREADABLE;
}

Vresult OutpGrid(OpContext& ctx, const SymbolGrid& grid) {
  std::vector<Vlong> set(grid.set.begin(), grid.set.end());
  const Vresult rc = ctx.SetOutpLongs(0, {grid.rows, grid.cols});
  return rc == VRESULT_OK ? ctx.SetOutpLongs(1, set) : rc;
}

// The module grid at controls 1 (rows, cols) and 2 (one 0 or 1 per module).
Vresult InpModules(const OpContext& ctx, Vlong* rows, Vlong* cols, std::vector<uint8_t>* set) {
  std::vector<Vlong> dims, data;
  Vresult rc = ctx.GetLongs(1, dims);
  if (rc == VRESULT_OK) rc = ctx.GetLongs(2, data);
  if (rc != VRESULT_OK) return rc;
  if (dims.size() != 2) return VERR_CTRL_NUM(1);
  *rows = dims[0], *cols = dims[1];
  if (*rows < 1 || *cols < 1 || *rows > kMaxModules || *cols > kMaxModules) return VERR_CTRL_VALUE(1);
  if (data.size() != static_cast<size_t>(*rows * *cols)) return VERR_CTRL_NUM(2);
  set->clear();
  for (Vlong v : data) {
    if (v != 0 && v != 1) return VERR_CTRL_VALUE(2);
    set->push_back(static_cast<uint8_t>(v));
  }
  return VRESULT_OK;
}

}  // namespace

VEXA_OPERATOR(gen_2d_bar_code_descr) {
  MatrixDescr d;
  Vresult rc = InpDataCodeType(ctx, 0, &d.type);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 1, &d.module_size);
  if (rc == VRESULT_OK) rc = InpFinite(ctx, 2, &d.max_module_size);
  if (rc != VRESULT_OK) return rc;
  if (!(d.module_size > 0 && d.module_size <= 1000)) return VERR_CTRL_VALUE(1);
  if (!(d.max_module_size >= d.module_size && d.max_module_size <= 1000)) return VERR_CTRL_VALUE(2);
  return OutpMatrixDescr(ctx, 0, d);
}

// The decoded symbols whose module width lies within the description's
// module sizes: their regions and corners.
VEXA_OPERATOR(find_2d_bar_code) {
  CodeImage image;
  MatrixDescr d;
  DataCodeParams params;
  Vresult rc = InpCodeImage(ctx, 1, &image);
  if (rc == VRESULT_OK) rc = InpDescrParams(ctx, 0, 1, &d, &params);
  if (rc != VRESULT_OK) return rc;
  std::vector<double> corners;
  NewKeys regions;
  size_t found = 0;
  for (const CodeHit& hit : ReadCodes(image, DataCodeReadOptions(params))) {
    if (params.stop_after > 0 && found == static_cast<size_t>(params.stop_after)) break;
    if (!hit.valid) continue;
    SymbolGrid grid;
    if (FitSymbolGrid(image, hit, &grid) &&
        (grid.module_width < d.module_size || grid.module_width > d.max_module_size))
      continue;
    ++found;
    corners.insert(corners.end(), hit.rows, hit.rows + 4);
    corners.insert(corners.end(), hit.cols, hit.cols + 4);
    rc = AddSymbolRegion(hit, &regions);
    if (rc != VRESULT_OK) return rc;
  }
  rc = ctx.SetOutpDoubles(0, corners);
  return rc == VRESULT_OK ? regions.HandOver(ctx, 1) : rc;
}

// The symbol's size in modules (rows, columns) and its module data.
VEXA_OPERATOR(get_2d_bar_code) {
  SymbolGrid grid;
  const Vresult rc = SampleDescribedSymbol(ctx, &grid);
  return rc == VRESULT_OK ? OutpGrid(ctx, grid) : rc;
}

// get_2d_bar_code, and the module centres' rows and columns.
VEXA_OPERATOR(get_2d_bar_code_pos) {
  SymbolGrid grid;
  Vresult rc = SampleDescribedSymbol(ctx, &grid);
  if (rc == VRESULT_OK) rc = OutpGrid(ctx, grid);
  if (rc == VRESULT_OK) rc = ctx.SetOutpDoubles(2, grid.centre_rows);
  return rc == VRESULT_OK ? ctx.SetOutpDoubles(3, grid.centre_cols) : rc;
}

// Decodes module data: the content's bytes, no unused data (the engine
// does not report padding), corrected errors -1 (not reported by the
// engine), the error correction level and "decoded"; for data that form
// no symbol of the type, empty results and "not decodable".
VEXA_OPERATOR(decode_2d_bar_code) {
  MatrixDescr d;
  Vlong rows = 0, cols = 0;
  std::vector<uint8_t> set;
  Vresult rc = InpMatrixDescr(ctx, 0, &d);
  if (rc == VRESULT_OK) rc = InpModules(ctx, &rows, &cols, &set);
  if (rc != VRESULT_OK) return rc;
  std::vector<uint8_t> pixels;
  CodeImage drawn;
  DrawModules(static_cast<int>(rows), static_cast<int>(cols), set, &pixels, &drawn);
  DataCodeParams params;
  params.type = d.type;
  const CodeHit* decoded = nullptr;
  const std::vector<CodeHit> hits = ReadDrawnCodes(drawn, DataCodeReadOptions(params));
  for (const CodeHit& hit : hits)
    if (hit.valid && decoded == nullptr) decoded = &hit;
  std::vector<Vlong> bytes;
  if (decoded != nullptr) bytes.assign(decoded->bytes.begin(), decoded->bytes.end());
  rc = ctx.SetOutpLongs(0, bytes);
  if (rc == VRESULT_OK) rc = ctx.SetOutpEmpty(1);
  if (rc == VRESULT_OK)
    rc = decoded != nullptr ? ctx.SetOutpLong(2, -1) : ctx.SetOutpEmpty(2);
  if (rc == VRESULT_OK)
    rc = decoded != nullptr ? ctx.SetOutpString(3, decoded->ec_level.c_str()) : ctx.SetOutpEmpty(3);
  return rc == VRESULT_OK ? ctx.SetOutpString(4, decoded != nullptr ? "decoded" : "not decodable")
                          : rc;
}

}  // namespace vexa
