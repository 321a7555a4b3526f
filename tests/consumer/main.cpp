// A program as an application writes it: the installed umbrella header,
// one tuple computation and one operator call through the runtime.
#include <vexaobj.h>

#include <cstdio>

int main() {
  using namespace Vexa;
  VTuple t;
  t[2] = 7;
  Vlong num = -1;
  char c_name[256], class_name[256];
  Vlong n_in_obj = 0, n_out_obj = 0, n_in_ctrl = 0, n_out_ctrl = 0;
  unsigned int rc = get_param_num("threshold", c_name, &n_in_obj, &n_out_obj, &n_in_ctrl,
                                  &n_out_ctrl, class_name);
  num = t.Num();
  std::printf("tuple length %lld, threshold has %lld/%lld/%lld/%lld parameters (code %u)\n",
              (long long)num, (long long)n_in_obj, (long long)n_out_obj, (long long)n_in_ctrl,
              (long long)n_out_ctrl, rc);
  return (num == 3 && rc == 2 && n_in_obj == 1 && n_in_ctrl == 2) ? 0 : 1;
}
