// bound_metric: the sizes of one metric clamped between hmin and hmax.
#include <zeb/plexa/metrics.hpp>

#include "metrics/clamping.hpp"

namespace zeb {
namespace plexa {

namespace {

template <unsigned D>
int bound(symmetric_fixed<double, D>& M, double hmin, double hmax) {
  if (detail::no_bounds(hmin, hmax)) return detail::SUCCESS;
  if (const int code = detail::check_bounds(hmin, hmax)) return code;
  return detail::clamp_metric<D>(M.m, detail::eigenvalue_range_of(hmin, hmax));
}

}  // namespace

int bound_metric(symmetric_fixed<double, 2>& M, double hmin, double hmax) { return bound<2>(M, hmin, hmax); }
int bound_metric(symmetric_fixed<double, 3>& M, double hmin, double hmax) { return bound<3>(M, hmin, hmax); }

}  // namespace plexa
}  // namespace zeb
