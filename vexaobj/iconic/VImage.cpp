// VImage: construction, assignment, the attribute cache, the copy before
// writing and pixel access through VPixVal.
#include <vexaobj/VImage.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

#include <vexaobj/VException.h>
#include <vexaobj/VImageArray.h>
#include <vexaobj/VProcedural.h>
#include <vexaobj/VTuple.h>
#include <vexaobj/VWindow.h>

#include "control/raise.h"
#include "frame/VCPPUtil.h"
#include "iconic/region_calls.h"

namespace Vexa {

using region_calls::Borrowed;
using region_calls::Check;
using region_calls::NewKey;

namespace {

// The code of an image whose pixel type the cache does not know.
constexpr unsigned int kWrongPixelType = 9007;

struct PixTypeRow {
  const char* name;
  int kind;
  int size;
};

// The pixel types the cache knows, in the order they are looked up.
// "complex" gets the kind of "real": an image of complex pixels reads as its
// real plane, and the complex branch of GetPixVal is not reached through it.
constexpr PixTypeRow kPixTypes[] = {
    {"byte", VPIX_KIND_BYTE, 1},       {"int1", VPIX_KIND_INT1, 1},
    {"cyclic", VPIX_KIND_INT1, 1},     {"direction", VPIX_KIND_INT1, 1},
    {"dvf", VPIX_KIND_INT1, 1},        {"lut", VPIX_KIND_INT1, 1},
    {"int2", VPIX_KIND_INT2, 2},       {"uint2", VPIX_KIND_UINT2, 2},
    {"int4", VPIX_KIND_INT4, 4},       {"real", VPIX_KIND_FLOAT, 4},
    {"complex", VPIX_KIND_FLOAT, 4},
};

// Raises `message` with a result code.
void RaiseCode(int line, const char* function, unsigned int code,
               const char* message) {
  VException(__FILE__, line, function, code, message).React();
}

void ReleaseKey(Vkey k) {
  frame::RuntimeBracket([k](void* context) { return DBDelObjectId(context, k); },
                        __LINE__);
}

Vlong Clip(Vlong v, Vlong lo, Vlong hi) { return v < lo ? lo : (v > hi ? hi : v); }

template <class T>
T Load(const void* data, Vlong k) {
  return static_cast<const T*>(data)[k];
}

template <class T>
void Store(void* data, Vlong k, T v) {
  static_cast<T*>(data)[k] = v;
}

Vlong Address(const void* p) {
  return static_cast<Vlong>(reinterpret_cast<uintptr_t>(p));
}

}  // namespace

VImage::VImage() = default;

VImage::VImage(Vkey k) : VObject(k) {}

VImage::VImage(const Vobject& obj) : VObject(obj) { CheckMyObjClass(); }

void VImage::CheckMyObjClass() const {
  if (key == VKEY_UNDEF) return;
  VObject::CheckMyObjClass(VOBJ_ICONIC);
  if (static_cast<const VKeyRecordHead*>(key)->channels == 0)
    VEXA_RAISE("VImage::CheckMyObjClass(void) const",
               "object has no gray value components");
}

VImage::VImage(const char* file) {
  Vobject out(0);
  const unsigned int rc = read_image(&out, file);
  if (rc != VRESULT_OK) {
    char message[1024];
    std::snprintf(message, sizeof message, "could not open file '%s'",
                  file != nullptr ? file : "");
    RaiseCode(__LINE__, "VImage::VImage(const char *file)", rc, message);
    return;
  }
  key = out.Id();
}

// A copy shares the pixels, so neither handle may keep writing into them
// unchecked: the source's cache is reset as well.
VImage::VImage(const VImage& image) : VObject(image) { image.SetInitial(); }

VImage::VImage(const VImageArray& a) : VImage(a[0]) {}

VImage::VImage(int w, int h, const char* type)
    : VObject(NewKey("VImage::VImage(int width, int height, const char *type)",
                     [&](Vobject* out) { return gen_image_const(out, type, w, h); })) {}

VImage::VImage(void* ptr, int w, int h, const char* type)
    : VObject(NewKey("VImage::VImage(void *ptr, int width, int height, const char *type)",
                     [&](Vobject* out) {
                       return gen_image1(out, type, w, h, Address(ptr));
                     })) {}

VImage::VImage(void* ptr, void* clear_proc, int w, int h, const char* type)
    : VObject(NewKey("VImage::VImage(void *ptr, void *clear_proc, int width, "
                     "int height, const char *type)",
                     [&](Vobject* out) {
                       return gen_image1_extern(out, type, w, h, Address(ptr),
                                                Address(clear_proc));
                     })) {}

VImage& VImage::operator=(const VImage& r) {
  if (this != &r) TakeOver(r);
  return *this;
}

VImage& VImage::operator=(const VImageArray& a) {
  TakeOver(a[0]);
  return *this;
}

void VImage::TakeOver(const VImage& from) {
  FreeData();
  CopyVObject(from);
  SetInitial();
  from.SetInitial();
}

void VImage::SetInitial() const {
  initialized = 0;
  is_private = 0;
  width = 0;
  height = 0;
  pix_kind = 0;
  data = nullptr;
}

int VImage::Shared() const { return NumImageRefs() != 1; }

Vlong VImage::NumImageRefs() const {
  if (key == VKEY_UNDEF) return 0;
  Vlong n = 0;
  DBNumImaRefs(key, &n);
  return n;
}

Vlong VImage::NumData() {
  Vlong num = 0;
  const Vresult rc = DBCountImage(&num);
  if (rc != VRESULT_OK)
    internal::RaiseRuntimeText(__FILE__, __LINE__, "Vlong VImage::NumData(void)", rc);
  return num;
}

const char* VImage::Creator() const {
  static char creator[1024];
  TestUsed("const char * VImage::Creator(void) const");
  creator[0] = '\0';
  VTuple information;
  get_channel_info(Borrowed(key), "creator", Vlong{1}, &information);
  if (information.Num() == 1 && information[0].ValType() == VPAR_STRING)
    std::snprintf(creator, sizeof creator, "%s", information[0].S());
  return creator;
}

void VImage::Display(const VWindow& w) const {
  static const char kFunction[] = "void VImage::Display(const VWindow &w) const";
  TestUsed(kFunction);
  if (key == VKEY_UNDEF) return;
  Vlong channels = 0;
  Check(count_channels(Borrowed(key), &channels), kFunction);
  Check(channels == 3 ? disp_color(Borrowed(key), w.WindowHandle())
                      : disp_image(Borrowed(key), w.WindowHandle()),
        kFunction);
}

void VImage::Transform(const VAffineTrans&, int) {}

bool VImage::ReadPointer(const char* function) const {
  Vlong pointer = 0, w = 0, h = 0;
  char type[1024] = "";
  const unsigned int rc = get_image_pointer1(Borrowed(key), &pointer, type, &w, &h);
  if (rc > VRESULT_OK) {
    internal::RaiseRuntimeText(__FILE__, __LINE__, function, rc);
    return false;
  }
  data = reinterpret_cast<void*>(static_cast<uintptr_t>(pointer));
  std::snprintf(pix_type, sizeof pix_type, "%s", type);
  width = static_cast<int>(w);
  height = static_cast<int>(h);
  return true;
}

void VImage::Init() const {
  static const char kFunction[] = "void VImage::Init()";
  TestUsed(kFunction);
  if (!ReadPointer(kFunction)) return;
  for (const PixTypeRow& row : kPixTypes) {
    if (std::strcmp(row.name, pix_type) != 0) continue;
    pix_kind = row.kind;
    pix_size = row.size;
    initialized = 1;
    return;
  }
  RaiseCode(__LINE__, kFunction, kWrongPixelType, "wrong pixel type");
}

void VImage::Private() const {
  static const char kFunction[] = "void VImage::Private()";
  TestUsed(kFunction);
  if (Shared()) {
    const Vkey own = NewKey(kFunction, [&](Vobject* out) {
      return copy_image(Borrowed(key), out);
    });
    if (own == VKEY_UNDEF) return;
    ReleaseKey(key);
    // The key is the handle's; the cache and its key change together, also
    // from the const members that read pixels.
    const_cast<VImage*>(this)->key = own;
    if (initialized) ReadPointer(kFunction);
  }
  if (!initialized) Init();
  is_private = 1;
}

const char* VImage::PixType() const {
  TestUsed("const char * VImage::PixType(void) const");
  NeedInit();
  return pix_type;
}

int VImage::Width() const {
  TestUsed("int VImage::Width(void) const");
  NeedInit();
  return width;
}

int VImage::Height() const {
  TestUsed("int VImage::Height(void) const");
  NeedInit();
  return height;
}

VPixVal VImage::GetPixVal(int x, int y) const {
  TestUsed("VPixVal VImage::GetPixVal(int x, int y) const");
  return GetPixVal(static_cast<Vlong>(width) * y + x);
}

VPixVal VImage::GetPixVal(Vlong k) const {
  TestUsed("VPixVal VImage::GetPixVal(Vlong k) const");
  NeedInit();
  switch (pix_kind) {
    case VPIX_KIND_BYTE:
      return VPixVal(Load<unsigned char>(data, k));
    case VPIX_KIND_INT1:
      return VPixVal(static_cast<int>(Load<int8_t>(data, k)));
    case VPIX_KIND_INT2:
      return VPixVal(static_cast<int>(Load<int16_t>(data, k)));
    case VPIX_KIND_UINT2:
      return VPixVal(static_cast<int>(Load<uint16_t>(data, k)));
    case VPIX_KIND_INT4:
      return VPixVal(static_cast<int>(Load<int32_t>(data, k)));
    case VPIX_KIND_FLOAT:
      return VPixVal(static_cast<double>(Load<float>(data, k)));
    case VPIX_KIND_COMPLEX:
      return VPixVal(VComplex(Load<float>(data, k),
                              Load<float>(data, k + static_cast<Vlong>(width) * height)));
    default:
      RaiseCode(__LINE__, "VPixVal VImage::GetPixVal(int x, int y)",
                kWrongPixelType, "wrong pixel type");
      return VPixVal(0);
  }
}

void VImage::SetPixVal(Vlong k, const VPixVal& val) {
  TestUsed("void VImage::SetPixVal(Vlong k, const VPixVal &val)");
  NeedPrivate();
  switch (pix_kind) {
    case VPIX_KIND_BYTE:
      Store(data, k, static_cast<uint8_t>(Clip(static_cast<Vlong>(val), 0, 255)));
      return;
    case VPIX_KIND_INT4:
      Store(data, k, static_cast<int32_t>(static_cast<Vlong>(val)));
      return;
    case VPIX_KIND_FLOAT:
      Store(data, k, static_cast<float>(static_cast<double>(val)));
      return;
    case VPIX_KIND_INT1:
      Store(data, k, static_cast<int8_t>(Clip(static_cast<Vlong>(val), -128, 127)));
      return;
    case VPIX_KIND_INT2:
      Store(data, k,
            static_cast<int16_t>(Clip(static_cast<Vlong>(val), -32768, 32767)));
      return;
    case VPIX_KIND_COMPLEX:
      Store(data, k, static_cast<float>(static_cast<double>(val)));
      Store(data, k + static_cast<Vlong>(width) * height, 0.0f);
      return;
    default:
      // "uint2" has no branch here: only VUInt2Image writes such pixels.
      VEXA_RAISE("void VImage::SetPixVal(int x, int y, Vlong val)",
                 "wrong pixel type: %d", pix_kind);
  }
}

void VImage::SetPixVal(int x, int y, const VPixVal& val) {
  TestUsed("void VImage::SetPixVal(int x, int y, const VPixVal &val)");
  NeedPrivate();
  SetPixVal(static_cast<Vlong>(width) * y + x, val);
}

void VImage::CopyConvertedImage(const VImage& from, const char* type) {
  const Vkey converted =
      NewKey("void VImage::CopyConvertedImage(const VImage &from, const char *type)",
             [&](Vobject* out) {
               return convert_image_type(Borrowed(from.key), out, type);
             });
  if (used && key != VKEY_UNDEF) ReleaseKey(key);
  key = converted;
  used = 1;
  // The cache spoke of the old pixels, which this handle no longer holds:
  // Init runs again on the next access.
  SetInitial();
  std::snprintf(pix_type, sizeof pix_type, "%s", type != nullptr ? type : "");
}

void VImage::FitFileToType(const char* file, const char* type) {
  Vlong channels = 0;
  if (key != VKEY_UNDEF)
    Check(count_channels(Borrowed(key), &channels),
          "VImage::VImage(const char *file)");
  if (channels != 1) {
    VEXA_RAISE("VImage::VImage(const char *file)", "Image %s has %lld channels\n",
               file != nullptr ? file : "", static_cast<long long>(channels));
    return;
  }
  FitToType(type);
}

void VImage::FitToType(const char* type) {
  if (key == VKEY_UNDEF) return;
  if (std::strcmp(PixType(), type) != 0) CopyConvertedImage(*this, type);
}

}  // namespace Vexa
