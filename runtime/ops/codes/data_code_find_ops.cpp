// Reading 2D data codes with a model, and querying what the last search
// found. Result handles count the decoded symbols of the last search from
// 0; "all_results" names them all, "all_candidates" every symbol the
// engine saw, decoded or not.
#include <cmath>
#include <cstring>

#include "ops/codes/code_objects.h"
#include "ops/codes/data_code_model.h"
#include "ops/codes/data_code_params.h"
#include "registry.h"

namespace vexa {
namespace {

enum ResultName {
  kString, kData, kType, kOrientation, kEccLevel, kMirrored, kStatus,
  kSymbolRows, kSymbolCols, kModuleWidth, kModuleHeight, kModuleSeparation, kQualityGrade,
  kNumResults
};
const char* const kResultNames[kNumResults] = {
    "decoded_string", "decoded_data",  "symbol_type",   "orientation",       "ecc_level",
    "mirrored",       "status",        "symbol_rows",   "symbol_cols",       "module_width",
    "module_height",  "module_separation", "quality_isoiec15415"};

enum ObjectName { kSymbolXld, kCandidateXld, kSearchXld, kNumObjects };
const char* const kObjectNames[kNumObjects] = {"symbol_xld", "candidate_xld", "search_xld"};

int IndexOf(const char* const* names, int n, const char* name) {
  for (int i = 0; i < n; ++i)
    if (std::strcmp(names[i], name) == 0) return i;
  return -1;
}

// The grid results need the symbol's fitted grid (`grid` null or empty:
// VERR_CODE_RESULT_NA); a print quality grade is never measured.
Vresult AddResult(const CodeHit& hit, const SymbolGrid* grid, int which, CtrlValues* out) {
  if (which >= kSymbolRows && (grid == nullptr || grid->rows == 0 || which == kQualityGrade))
    return VERR_CODE_RESULT_NA;
  switch (which) {
    case kString: out->Add(hit.text); break;
    case kData:
      for (uint8_t b : hit.bytes) out->Add(static_cast<Vlong>(b));
      break;
    case kType: out->Add(SymbologyName(hit.format)); break;
    case kOrientation: out->Add(hit.Orientation() * 180 / M_PI); break;
    case kEccLevel: out->Add(hit.ec_level); break;
    case kMirrored: out->Add(hit.mirrored ? "yes" : "no"); break;
    case kStatus: out->Add(hit.valid ? "decoded" : "not decodable"); break;
    case kSymbolRows: out->Add(grid->rows); break;
    case kSymbolCols: out->Add(grid->cols); break;
    case kModuleWidth: out->Add(grid->module_width); break;
    case kModuleHeight: out->Add(grid->module_height); break;
    default: out->Add(grid->separation); break;
  }
  return VRESULT_OK;
}

// The symbols named by the candidate handle at input `par`.
Vresult InpHits(const OpContext& ctx, int par, const CodeResults& results,
                std::vector<const CodeHit*>* hits) {
  hits->clear();
  const Vcpar& v = ctx.CtrlElem(par, 0);
  if (ctx.CtrlNum(par) == 1 && v.type == VPAR_STRING &&
      std::strcmp(v.par.s, "all_candidates") == 0) {
    for (const CodeHit& hit : results.candidates) hits->push_back(&hit);
    return VRESULT_OK;
  }
  std::vector<size_t> indices;
  const Vresult rc = InpResultIndices(ctx, par, results.decoded.size(), "all_results", &indices);
  for (size_t i : indices) hits->push_back(&results.decoded[i]);
  return rc;
}

// The grid of a decoded symbol (null for a candidate).
const SymbolGrid* GridOf(const CodeResults& results, const CodeHit* hit) {
  for (size_t i = 0; i < results.decoded.size(); ++i)
    if (&results.decoded[i] == hit) return &results.grids[i];
  return nullptr;
}

}  // namespace

std::vector<std::string> DataCodeResultNames() {
  return std::vector<std::string>(kResultNames, kResultNames + kNumResults);
}

std::vector<std::string> DataCodeObjectNames() {
  return std::vector<std::string>(kObjectNames, kObjectNames + kNumObjects);
}

// The optional parameters apply to this search only.
VEXA_OPERATOR(find_data_code_2d) {
  std::shared_ptr<DataCodeModel> model;
  CodeImage image;
  Vresult rc = InpCodeImage(ctx, 1, &image);
  if (rc == VRESULT_OK) rc = InpTool(ctx, 0, &model);
  if (rc != VRESULT_OK) return rc;
  DataCodeParams params = model->Params();
  rc = ApplyDataCodeParams(ctx, 1, &params);
  if (rc != VRESULT_OK) return rc;
  std::vector<CodeHit> hits = ReadCodes(image, DataCodeReadOptions(params));
  CodeResults results{image, {}, hits, {}};
  for (CodeHit& hit : hits)
    if (hit.valid && (params.stop_after == 0 ||
                      results.decoded.size() < static_cast<size_t>(params.stop_after)))
      results.decoded.push_back(std::move(hit));
  for (const CodeHit& hit : results.decoded) {
    results.grids.emplace_back();
    FitSymbolGrid(image, hit, &results.grids.back());
  }
  std::vector<Vlong> handles;
  std::vector<std::string> strings;
  NewKeys xlds;
  for (size_t i = 0; rc == VRESULT_OK && i < results.decoded.size(); ++i) {
    handles.push_back(static_cast<Vlong>(i));
    strings.push_back(results.decoded[i].text);
    rc = AddSymbolXld(results.decoded[i], &xlds);
  }
  if (rc == VRESULT_OK) rc = ctx.SetOutpLongs(0, handles);
  if (rc == VRESULT_OK) rc = ctx.SetOutpStrings(1, strings);
  if (rc == VRESULT_OK) model->results().Set(std::move(results));
  return rc == VRESULT_OK ? xlds.HandOver(ctx, 1) : rc;
}

// Each named result of each named symbol, symbols varying slowest.
VEXA_OPERATOR(get_data_code_2d_results) {
  std::shared_ptr<DataCodeModel> model;
  std::vector<const char*> names;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(2, names);
  if (rc == VRESULT_OK && names.empty()) rc = VERR_CTRL_NUM(2);
  std::vector<int> which;
  for (size_t i = 0; rc == VRESULT_OK && i < names.size(); ++i) {
    which.push_back(IndexOf(kResultNames, kNumResults, names[i]));
    if (which.back() < 0) rc = VERR_CTRL_VALUE(2);
  }
  if (rc != VRESULT_OK) return rc;
  const CodeResults results = model->results().Get();
  std::vector<const CodeHit*> hits;
  rc = InpHits(ctx, 1, results, &hits);
  if (rc != VRESULT_OK) return rc;
  CtrlValues out;
  for (const CodeHit* hit : hits) {
    const SymbolGrid* grid = GridOf(results, hit);
    for (int w : which) {
      rc = AddResult(*hit, grid, w, &out);
      if (rc != VRESULT_OK) return rc;
    }
  }
  return ctx.SetOutpValues(0, out);
}

// "symbol_xld" and "candidate_xld": the symbols' corners as closed
// contours; "search_xld": the outline of the searched area.
VEXA_OPERATOR(get_data_code_2d_objects) {
  std::shared_ptr<DataCodeModel> model;
  const char* name = nullptr;
  Vresult rc = InpTool(ctx, 0, &model);
  if (rc == VRESULT_OK) rc = ctx.GetString(2, &name);
  if (rc != VRESULT_OK) return rc;
  const int which = IndexOf(kObjectNames, kNumObjects, name);
  if (which < 0) return VERR_CTRL_VALUE(2);
  const CodeResults results = model->results().Get();
  std::vector<const CodeHit*> hits;
  rc = InpHits(ctx, 1, results, &hits);
  if (rc != VRESULT_OK) return rc;
  NewKeys xlds;
  if (which == kSearchXld) {
    rc = AddSearchAreaXld(results.searched, &xlds);
  } else {
    for (size_t i = 0; rc == VRESULT_OK && i < hits.size(); ++i)
      if (which == kCandidateXld || hits[i]->valid) rc = AddSymbolXld(*hits[i], &xlds);
  }
  return rc == VRESULT_OK ? xlds.HandOver(ctx, 1) : rc;
}

}  // namespace vexa
