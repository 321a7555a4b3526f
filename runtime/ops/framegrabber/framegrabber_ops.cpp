// The acquisition operators with the one interface this runtime has,
// "File", which delivers image files (file_source.h).
//
// open_framegrabber reads only the interface name and camera_type; the
// other inputs describe hardware and are accepted as given. grab_image,
// grab_image_async and grab_data(_async) deliver the next image at once
// (files have no exposure to wait for), so grab_image_start has nothing to
// start. grab_data gives the image, an empty region and no contours, and
// the file name as data. Parameters: "image_index" (the next image, from
// 0), "loop" ("true": start again after the last image, the default),
// read only "name", "camera_type", "num_images" and "last_file". Lookup
// tables and the "transfer_end" callback: framegrabber_lut_callback.cpp.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ops/common/op_objects.h"
#include "ops/framegrabber/file_source.h"
#include "ops/serialize/tuple_values.h"
#include "registry.h"
#include "vexa/framegrabber.h"

namespace vexa {
namespace {

constexpr const char* kInterface = "File";
constexpr int kCameraTypePar = 12;

// Runs the "transfer_end" callback of the device `handle`, if any.
Vresult TransferEnd(const FileSource& source, Vlong handle, const std::string& file) {
  const FileSource::Callback callback = source.transfer_end();
  if (callback.function == 0) return VRESULT_OK;
  const auto fn = reinterpret_cast<VFramegrabberCallback>(static_cast<uintptr_t>(callback.function));
  return fn(reinterpret_cast<void*>(static_cast<uintptr_t>(handle)),
            const_cast<char*>(file.c_str()),
            reinterpret_cast<void*>(static_cast<uintptr_t>(callback.user_context)));
}

Vresult GrabNext(OpContext& ctx, std::string* file) {
  std::shared_ptr<FileSource> source;
  Vlong handle = 0;
  Vresult rc = InpTool(ctx, 0, &source);
  if (rc == VRESULT_OK) rc = ctx.GetLong(0, &handle);
  Vkey image = VKEY_UNDEF;
  if (rc == VRESULT_OK) rc = source->Grab(&image, file);
  if (rc != VRESULT_OK) return rc;
  rc = TransferEnd(*source, handle, *file);
  if (rc != VRESULT_OK) {
    db::Release(image);
    return rc;
  }
  return ctx.SetOutpObj(1, image);
}

// max_delay of the asynchronous forms: any number; -1 means none.
Vresult CheckDelay(const OpContext& ctx) {
  double delay = 0.0;
  const Vresult rc = ctx.GetDouble(1, &delay);
  return rc == VRESULT_OK && delay != delay ? VERR_CTRL_VALUE(1) : rc;
}

Vresult GrabData(OpContext& ctx) {
  std::string file;
  Vresult rc = GrabNext(ctx, &file);
  Vkey empty_region = VKEY_UNDEF;
  if (rc == VRESULT_OK) rc = db::NewRegion(Region::Empty(), &empty_region);
  if (rc == VRESULT_OK) rc = ctx.SetOutpObj(2, empty_region);
  if (rc == VRESULT_OK) rc = ctx.SetOutpObjs(3, {});
  return rc == VRESULT_OK ? ctx.SetOutpString(0, file.c_str()) : rc;
}

}  // namespace

VEXA_OPERATOR(open_framegrabber) {
  const char* name = nullptr;
  const char* camera_type = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc != VRESULT_OK) return rc;
  if (std::string(name) != kInterface) return VERR_CTRL_VALUE(0);
  rc = ctx.GetString(kCameraTypePar, &camera_type);
  std::shared_ptr<FileSource> source;
  if (rc == VRESULT_OK) rc = FileSource::Open(camera_type, &source);
  return rc == VRESULT_OK ? OutpNewTool(ctx, 0, std::move(source)) : rc;
}

VEXA_OPERATOR(close_framegrabber) { return CloseInpTool(ctx, 0, ToolKind::kFramegrabber); }

VEXA_OPERATOR(close_all_framegrabbers) {
  handles::RemoveAll(ToolKind::kFramegrabber);
  return VRESULT_OK;
}

VEXA_OPERATOR(grab_image) {
  std::string file;
  return GrabNext(ctx, &file);
}

VEXA_OPERATOR(grab_image_async) {
  const Vresult rc = CheckDelay(ctx);
  std::string file;
  return rc == VRESULT_OK ? GrabNext(ctx, &file) : rc;
}

VEXA_OPERATOR(grab_image_start) {
  std::shared_ptr<FileSource> source;
  const Vresult rc = InpTool(ctx, 0, &source);
  return rc == VRESULT_OK ? CheckDelay(ctx) : rc;
}

VEXA_OPERATOR(grab_data) { return GrabData(ctx); }

VEXA_OPERATOR(grab_data_async) {
  const Vresult rc = CheckDelay(ctx);
  return rc == VRESULT_OK ? GrabData(ctx) : rc;
}

VEXA_OPERATOR(set_framegrabber_param) {
  std::shared_ptr<FileSource> source;
  std::vector<GenParam> params;
  Vresult rc = InpTool(ctx, 0, &source);
  if (rc == VRESULT_OK) rc = ReadGenParams(ctx, 1, 2, &params);
  for (size_t i = 0; rc == VRESULT_OK && i < params.size(); ++i) {
    const GenParam& p = params[i];
    if (p.name == "image_index") {
      rc = p.value.type == VPAR_LONG ? source->set_next_index(p.value.l) : VERR_CTRL_TYPE(2);
    } else if (p.name == "loop") {
      if (p.value.type != VPAR_STRING || (p.value.s != "true" && p.value.s != "false")) {
        rc = VERR_CTRL_VALUE(2);
      } else {
        source->set_looping(p.value.s == "true");
      }
    } else {
      rc = VERR_CTRL_VALUE(1);
    }
  }
  return rc;
}

VEXA_OPERATOR(get_framegrabber_param) {
  std::shared_ptr<FileSource> source;
  std::vector<const char*> names;
  Vresult rc = InpTool(ctx, 0, &source);
  if (rc == VRESULT_OK) rc = ctx.GetStrings(1, names);
  if (rc != VRESULT_OK) return rc;
  TupleValues out;
  for (const std::string name : names) {
    if (name == "name") {
      out.push_back(TupleValue::String(kInterface));
    } else if (name == "camera_type") {
      out.push_back(TupleValue::String(source->location()));
    } else if (name == "num_images") {
      out.push_back(TupleValue::Long(static_cast<Vlong>(source->count())));
    } else if (name == "image_index") {
      out.push_back(TupleValue::Long(static_cast<Vlong>(source->next_index())));
    } else if (name == "loop") {
      out.push_back(TupleValue::String(source->looping() ? "true" : "false"));
    } else if (name == "last_file") {
      out.push_back(TupleValue::String(source->last_file()));
    } else if (name == "available_callback_types") {
      out.push_back(TupleValue::String("transfer_end"));
    } else {
      return VERR_CTRL_VALUE(1);
    }
  }
  return WriteOutpValues(ctx, 0, out);
}

// Queries: "info_boards", "revision", "parameters", "parameters_readonly",
// "camera_type", "port", "device", "general".
VEXA_OPERATOR(info_framegrabber) {
  const char* name = nullptr;
  const char* query = nullptr;
  Vresult rc = ctx.GetString(0, &name);
  if (rc == VRESULT_OK) rc = ctx.GetString(1, &query);
  if (rc != VRESULT_OK) return rc;
  if (std::string(name) != kInterface) return VERR_CTRL_VALUE(0);
  const std::string q = query;
  std::string info;
  TupleValues values;
  if (q == "general") {
    info = "Delivers the image files of a directory or a list, one per grab, cycling.";
  } else if (q == "revision") {
    info = "1.0";
  } else if (q == "info_boards") {
    info = "File interface: no boards";
  } else if (q == "parameters") {
    info = "Parameters that can be set";
    values = {TupleValue::String("image_index"), TupleValue::String("loop")};
  } else if (q == "parameters_readonly") {
    info = "Parameters that can only be read";
    for (const char* p : {"name", "camera_type", "num_images", "last_file", "available_callback_types"})
      values.push_back(TupleValue::String(p));
  } else if (q == "camera_type") {
    info = "A directory of image files, a .seq list of files, or one image file";
  } else if (q == "port" || q == "device") {
    info = "Not used by this interface";
  } else {
    return VERR_CTRL_VALUE(1);
  }
  rc = ctx.SetOutpString(0, info.c_str());
  return rc == VRESULT_OK ? WriteOutpValues(ctx, 1, values) : rc;
}

}  // namespace vexa
