// Lookup tables and callbacks of acquisition devices.
//
// A lookup table is empty (none) or 256 integers 0..255; set_framegrabber_lut
// sets the three tables of every device given, get_framegrabber_lut gives
// them back (empty ones as empty tuples). The only callback type is
// "transfer_end" (vexa/framegrabber.h): callback_function is the address of
// a VFramegrabberCallback, 0 to remove it; user_context is handed to it
// unchanged.
#include <memory>
#include <string>
#include <vector>

#include "ops/framegrabber/file_source.h"
#include "registry.h"

namespace vexa {
namespace {

constexpr size_t kLutSize = 256;
constexpr const char* kTransferEnd = "transfer_end";

Vresult InpLut(const OpContext& ctx, int par, std::vector<uint8_t>* lut) {
  std::vector<Vlong> values;
  const Vresult rc = ctx.GetLongs(par, values);
  if (rc != VRESULT_OK) return rc;
  if (!values.empty() && values.size() != kLutSize) return VERR_CTRL_NUM(par);
  lut->clear();
  for (Vlong v : values) {
    if (v < 0 || v > 255) return VERR_CTRL_VALUE(par);
    lut->push_back(static_cast<uint8_t>(v));
  }
  return VRESULT_OK;
}

Vresult OutpLut(OpContext& ctx, int par, const std::vector<uint8_t>& lut) {
  return ctx.SetOutpLongs(par, std::vector<Vlong>(lut.begin(), lut.end()));
}

Vresult InpCallbackType(const OpContext& ctx) {
  const char* type = nullptr;
  const Vresult rc = ctx.GetString(1, &type);
  if (rc != VRESULT_OK) return rc;
  return std::string(type) == kTransferEnd ? VRESULT_OK : VERR_CTRL_VALUE(1);
}

}  // namespace

VEXA_OPERATOR(set_framegrabber_lut) {
  std::vector<std::shared_ptr<FileSource>> sources;
  FileSource::Luts luts;
  Vresult rc = InpTools(ctx, 0, &sources);
  if (rc == VRESULT_OK) rc = InpLut(ctx, 1, &luts.red);
  if (rc == VRESULT_OK) rc = InpLut(ctx, 2, &luts.green);
  if (rc == VRESULT_OK) rc = InpLut(ctx, 3, &luts.blue);
  if (rc != VRESULT_OK) return rc;
  for (const auto& source : sources) source->set_luts(luts);
  return VRESULT_OK;
}

VEXA_OPERATOR(get_framegrabber_lut) {
  std::shared_ptr<FileSource> source;
  Vresult rc = InpTool(ctx, 0, &source);
  if (rc != VRESULT_OK) return rc;
  const FileSource::Luts luts = source->luts();
  rc = OutpLut(ctx, 0, luts.red);
  if (rc == VRESULT_OK) rc = OutpLut(ctx, 1, luts.green);
  return rc == VRESULT_OK ? OutpLut(ctx, 2, luts.blue) : rc;
}

VEXA_OPERATOR(set_framegrabber_callback) {
  std::shared_ptr<FileSource> source;
  FileSource::Callback callback;
  Vresult rc = InpTool(ctx, 0, &source);
  if (rc == VRESULT_OK) rc = InpCallbackType(ctx);
  if (rc == VRESULT_OK) rc = ctx.GetLong(2, &callback.function);
  if (rc == VRESULT_OK) rc = ctx.GetLong(3, &callback.user_context);
  if (rc != VRESULT_OK) return rc;
  source->set_transfer_end(callback);
  return VRESULT_OK;
}

VEXA_OPERATOR(get_framegrabber_callback) {
  std::shared_ptr<FileSource> source;
  Vresult rc = InpTool(ctx, 0, &source);
  if (rc == VRESULT_OK) rc = InpCallbackType(ctx);
  if (rc != VRESULT_OK) return rc;
  const FileSource::Callback callback = source->transfer_end();
  rc = ctx.SetOutpLong(0, callback.function);
  return rc == VRESULT_OK ? ctx.SetOutpLong(1, callback.user_context) : rc;
}

}  // namespace vexa
