// vexa-op: runs one operator of the runtime by name, for trying an
// operator without writing C++.
//
//   vexa-op OPERATOR [NAME=VALUE ...] [--out DIR]
//
// NAME is a parameter name of the operator (vexa-op OPERATOR --help lists
// them). An input object takes a file: a region file (.vxr) is read with
// read_region, anything else with read_image. An input control takes a
// comma-separated list; each item is an integer, a real or else a string.
// Output objects are written into DIR (default "."): images as
// NAME_<i>.png if byte, else in the native format (.vxi), regions as
// NAME_<i>.vxr. Output controls are printed as "NAME = v1, v2, ...".
// The exit status is 0 when the operator succeeded.
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

using namespace Vexa;

namespace {

// One item of a control list: integer, real, or text.
VTuple ParseItem(const std::string& item) {
  if (item.empty()) return VTuple(item.c_str());
  char* end = nullptr;
  errno = 0;
  const long long l = std::strtoll(item.c_str(), &end, 10);
  if (*end == '\0' && errno == 0) return VTuple(static_cast<Vlong>(l));
  const double d = std::strtod(item.c_str(), &end);
  if (*end == '\0') return VTuple(d);
  return VTuple(item.c_str());
}

VTuple ParseList(const std::string& text) {
  VTuple values;
  size_t start = 0;
  while (start <= text.size()) {
    const size_t comma = text.find(',', start);
    const size_t stop = comma == std::string::npos ? text.size() : comma;
    values.Append(ParseItem(text.substr(start, stop - start)));
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return values;
}

bool EndsWith(const std::string& s, const char* tail) {
  const size_t n = std::strlen(tail);
  return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

std::string Text(unsigned int code) {
  char text[1024];
  VErrorMessage(code, text);
  return text;
}

int Fail(const std::string& message) {
  std::fprintf(stderr, "vexa-op: %s\n", message.c_str());
  return 2;
}

// Position of `name` among the names, from 1; 0 if absent.
int Find(const VTuple& names, const std::string& name) {
  for (Vlong i = 0; i < names.Num(); ++i)
    if (name == names[i].S()) return static_cast<int>(i) + 1;
  return 0;
}

void PrintNames(const char* label, const VTuple& names) {
  std::printf("  %-15s", label);
  for (Vlong i = 0; i < names.Num(); ++i) std::printf(" %s", names[i].S());
  std::printf("\n");
}

void PrintValues(const char* name, const VTuple& values) {
  std::printf("%s =", name);
  for (Vlong i = 0; i < values.Num(); ++i) {
    const VCtrlVal v = values[i];
    if (v.ValType() == VPAR_LONG) std::printf("%s %lld", i ? "," : "", (long long)v.L());
    else if (v.ValType() == VPAR_DOUBLE) std::printf("%s %.10g", i ? "," : "", v.D());
    else std::printf("%s \"%s\"", i ? "," : "", v.S());
  }
  std::printf("\n");
}

// Writes each object of `objects` into `dir`; returns the first failure.
unsigned int WriteObjects(const Vobject& objects, const std::string& dir, const char* name) {
  Vlong n = 0;
  unsigned int rc = count_obj(objects, &n);
  for (Vlong i = 1; rc == 2 && i <= n; ++i) {
    Vobject one;
    rc = select_obj(objects, &one, i);
    VTuple cls;
    if (rc == 2) rc = get_obj_class(one, &cls);
    if (rc != 2) break;
    const std::string base = dir + "/" + name + "_" + std::to_string(i);
    if (std::strcmp(cls[0].S(), "region") == 0) {
      rc = write_region(one, (base + ".vxr").c_str());
    } else if (std::strcmp(cls[0].S(), "image") == 0) {
      char type[64] = "";
      rc = get_image_type(one, type);
      const bool png = rc == 2 && std::strcmp(type, "byte") == 0;
      if (rc == 2) rc = write_image(one, png ? "png" : "vxi", 0, (base + (png ? ".png" : ".vxi")).c_str());
    } else {
      std::printf("%s_%lld: a %s object (not written)\n", name, (long long)i, cls[0].S());
      continue;
    }
    if (rc == 2) std::printf("%s_%lld written to %s\n", name, (long long)i, base.c_str());
  }
  return rc;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || std::strcmp(argv[1], "--help") == 0) {
    std::printf("usage: vexa-op OPERATOR [NAME=VALUE ...] [--out DIR]\n"
                "       vexa-op OPERATOR --help   lists the operator's parameters\n");
    return argc < 2 ? 2 : 0;
  }
  const char* op_name = argv[1];
  VTuple in_obj, out_obj, in_ctrl, out_ctrl;
  const unsigned int found = get_param_names(op_name, &in_obj, &out_obj, &in_ctrl, &out_ctrl);
  if (found != 2) return Fail(std::string(op_name) + ": " + Text(found));

  std::string out_dir = ".";
  VOperator op(op_name);
  for (int a = 2; a < argc; ++a) {
    const std::string arg = argv[a];
    if (arg == "--help") {
      std::printf("%s\n", op_name);
      PrintNames("input objects:", in_obj);
      PrintNames("output objects:", out_obj);
      PrintNames("input controls:", in_ctrl);
      PrintNames("output controls:", out_ctrl);
      return 0;
    }
    if (arg == "--out") {
      if (++a == argc) return Fail("--out needs a directory");
      out_dir = argv[a];
      continue;
    }
    const size_t eq = arg.find('=');
    if (eq == std::string::npos) return Fail("expected NAME=VALUE, got \"" + arg + "\"");
    const std::string name = arg.substr(0, eq), value = arg.substr(eq + 1);
    if (const int obj = Find(in_obj, name)) {
      Vobject read;
      const unsigned int rc = EndsWith(value, ".vxr") ? read_region(&read, value.c_str())
                                                      : read_image(&read, value.c_str());
      if (rc != 2) return Fail(value + ": " + Text(rc));
      op.SetInputObject(obj, read);
    } else if (const int ctrl = Find(in_ctrl, name)) {
      op.SetInputCtrl(ctrl, ParseList(value));
    } else {
      return Fail(std::string(op_name) + " has no input parameter \"" + name + "\"");
    }
  }

  const unsigned int rc = op.Execute();
  if (rc != 2) return Fail(std::string(op_name) + ": " + Text(rc));
  for (Vlong i = 0; i < out_obj.Num(); ++i) {
    const unsigned int wrc = WriteObjects(op.GetOutputObject(static_cast<int>(i) + 1), out_dir,
                                          out_obj[i].S());
    if (wrc != 2) return Fail(std::string("writing ") + out_obj[i].S() + ": " + Text(wrc));
  }
  for (Vlong i = 0; i < out_ctrl.Num(); ++i)
    PrintValues(out_ctrl[i].S(), op.GetOutputCtrl(static_cast<int>(i) + 1));
  return 0;
}
