// An operator chosen by name at run time, with its inputs given by name:
//   operator_by_name [OPERATOR]
// Without an argument it runs gen_circle. The parameter names and their
// number come from the runtime's own tables (get_param_names).
#include <vexa/runtime.h>
#include <vexaobj.h>

#include <cstdio>

using namespace Vexa;

int main(int argc, char** argv) {
  const char* name = argc > 1 ? argv[1] : "gen_circle";
  VTuple in_obj, out_obj, in_ctrl, out_ctrl, in_types, out_types;
  unsigned int rc = get_param_names(name, &in_obj, &out_obj, &in_ctrl, &out_ctrl);
  if (rc != 2) {
    char text[1024];
    VErrorMessage(rc, text);
    std::fprintf(stderr, "%s: %s\n", name, text);
    return 1;
  }
  std::printf("%s: %lld input objects, %lld input control values\n", name,
              (long long)in_obj.Num(), (long long)in_ctrl.Num());
  for (Vlong i = 0; i < in_ctrl.Num(); ++i) std::printf("  input  %s\n", in_ctrl[i].S());
  for (Vlong i = 0; i < out_ctrl.Num(); ++i) std::printf("  output %s\n", out_ctrl[i].S());
  if (argc > 1) return 0;

  // gen_circle with its inputs by name, then area_center of the result.
  VOperator circle((char*)"gen_circle");
  circle.SetInputCtrl("row", VTuple(50.0));
  circle.SetInputCtrl("column", VTuple(60.0));
  circle.SetInputCtrl("radius", VTuple(10.5));
  rc = circle.Execute();
  VOperator measure((char*)"area_center");
  measure.SetInputObject(1, circle.GetOutputObject(1));
  if (rc == 2) rc = measure.Execute();
  std::printf("gen_circle + area_center: code %u, area %lld\n", rc,
              rc == 2 ? (long long)measure.GetOutputCtrl(1)[0].L() : -1LL);
  return rc == 2 ? 0 : 1;
}
