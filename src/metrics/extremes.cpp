// The maximum and minimum of two metrics, direction by direction in the
// basis that reduces both.
#include <zeb/plexa/metrics.hpp>

#include "metrics/simultaneous_reduction.hpp"
#include "metrics/tensor.hpp"

namespace zeb {
namespace plexa {

namespace {

struct smaller {
  double operator()(double a, double b) const noexcept { return b < a ? b : a; }
};
struct larger {
  double operator()(double a, double b) const noexcept { return b > a ? b : a; }
};

// d_k = pick(a_k, b_k) in the reduced basis.  M may be M1 or M2: both are
// read into locals first.
template <unsigned D, class Pick>
bool extreme(const symmetric_fixed<double, D>& M1, const symmetric_fixed<double, D>& M2,
             symmetric_fixed<double, D>& M, Pick pick) {
  const symmetric_fixed<double, D> m1 = M1, m2 = M2;
  detail::reduction<D> r;
  if (!detail::reduce_simultaneously<D>(m1.m, m2.m, r)) {
    M = m1;
    return false;
  }
  double d[D];
  bool all_a = true, all_b = true;
  for (unsigned k = 0; k < D; ++k) {
    d[k] = pick(r.a[k], r.b[k]);
    all_a = all_a && d[k] == r.a[k];
    all_b = all_b && d[k] == r.b[k];
  }
  if (all_a) {
    M = m1;
    return true;
  }
  if (all_b) {
    M = m2;
    return true;
  }
  double dmax = d[0];
  for (unsigned k = 1; k < D; ++k)
    if (d[k] > dmax) dmax = d[k];
  if (!(dmax >= detail::LARGEST)) detail::assemble<D>(r.Q, d, M.m);
  return dmax > 0;
}

}  // namespace

// The larger metric takes the smaller eigenvalue (the larger size) in each
// direction, the smaller metric the larger one.
bool maximum_metric(const symmetric_fixed<double, 2>& M1, const symmetric_fixed<double, 2>& M2,
                    symmetric_fixed<double, 2>& M) {
  return extreme<2>(M1, M2, M, smaller());
}
bool maximum_metric(const symmetric_fixed<double, 3>& M1, const symmetric_fixed<double, 3>& M2,
                    symmetric_fixed<double, 3>& M) {
  return extreme<3>(M1, M2, M, smaller());
}
bool minimum_metric(const symmetric_fixed<double, 2>& M1, const symmetric_fixed<double, 2>& M2,
                    symmetric_fixed<double, 2>& M) {
  return extreme<2>(M1, M2, M, larger());
}
bool minimum_metric(const symmetric_fixed<double, 3>& M1, const symmetric_fixed<double, 3>& M2,
                    symmetric_fixed<double, 3>& M) {
  return extreme<3>(M1, M2, M, larger());
}

}  // namespace plexa
}  // namespace zeb
