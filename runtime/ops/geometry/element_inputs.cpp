#include "ops/geometry/element_inputs.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vexa {
namespace geo {

Vresult ElementInputs::Fit(int par, size_t length) const {
  return length == n_ || length == 1 ? VRESULT_OK : VERR_CTRL_NUM(par);
}

Vresult ElementInputs::Read(const OpContext& ctx, const std::vector<int>& reals,
                            const std::vector<int>& orders) {
  reals_.assign(reals.size(), {});
  orders_.assign(orders.size(), {});
  n_ = 0;
  size_t k = 0;
  for (int par : reals) {
    std::vector<double>& v = reals_[k++];
    const Vresult rc = ctx.GetDoubles(par, v);
    if (rc != VRESULT_OK) return rc;
    for (double x : v)
      if (!(std::fabs(x) <= kMaxMagnitude)) return VERR_CTRL_VALUE(par);
    n_ = std::max(n_, v.size());
  }
  k = 0;
  for (int par : orders) {
    std::vector<const char*> names;
    const Vresult rc = ctx.GetStrings(par, names);
    if (rc != VRESULT_OK) return rc;
    std::vector<char>& v = orders_[k++];
    for (const char* name : names) {
      if (std::strcmp(name, "positive") != 0 && std::strcmp(name, "negative") != 0)
        return VERR_CTRL_VALUE(par);
      v.push_back(name[0] == 'p');
    }
    n_ = std::max(n_, v.size());
  }
  k = 0;
  for (int par : reals) {
    const Vresult rc = Fit(par, reals_[k++].size());
    if (rc != VRESULT_OK) return rc;
  }
  k = 0;
  for (int par : orders) {
    const Vresult rc = Fit(par, orders_[k++].size());
    if (rc != VRESULT_OK) return rc;
  }
  return VRESULT_OK;
}

Vresult ElementInputs::ReadFirst(const OpContext& ctx, int count, std::initializer_list<size_t> lines) {
  std::vector<int> pars(static_cast<size_t>(count));
  for (int k = 0; k < count; ++k) pars[static_cast<size_t>(k)] = k;
  Vresult rc = Read(ctx, pars);
  for (auto k = lines.begin(); rc == VRESULT_OK && k != lines.end(); ++k)
    rc = RequireDistinctPoints(*k, static_cast<int>(*k) + 2);
  return rc;
}

Vresult ElementInputs::RequireDistinctPoints(size_t k, int par) const {
  for (size_t i = 0; i < n_; ++i)
    if (Real(k, i) == Real(k + 2, i) && Real(k + 1, i) == Real(k + 3, i)) return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

Vresult ElementInputs::RequirePositive(size_t k, int par, bool zero_allowed) const {
  for (size_t i = 0; i < n_; ++i)
    if (Real(k, i) < 0 || (Real(k, i) == 0 && !zero_allowed)) return VERR_CTRL_VALUE(par);
  return VRESULT_OK;
}

Vresult SetRealOutputs(OpContext& ctx, int first,
                       const std::vector<std::vector<double>>& columns) {
  Vresult rc = VRESULT_OK;
  for (size_t k = 0; rc == VRESULT_OK && k < columns.size(); ++k)
    rc = ctx.SetOutpDoubles(first + static_cast<int>(k), columns[k]);
  return rc;
}

}  // namespace geo
}  // namespace vexa
