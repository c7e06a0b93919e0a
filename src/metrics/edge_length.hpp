// Lengths of an edge in a size field: the mean size along an edge whose
// size varies linearly between its ends, the edge's length in sizes, and
// its lengths in the metrics of its two ends.  Shared by the edge qualities
// and the operations that bound or measure size variation along edges.
#pragma once

#include <cmath>

#include "metrics/tensor.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// The mean size seen by an edge along which the size varies linearly from
// a to b (both > 0): with m = min(a, b) and r = (max(a, b) - m)/m, m times
// g = r/ln(1 + r).  Near r = 0 that quotient loses its digits, so below
// r = 0.1 its series in x = r/2 is used instead:
// g = 1 + x (1 - x (1/3 - x (1/3 - c x))), c = 19/45 as the constant
// 0.42222222222222217, which is the value the series is defined with: one
// unit in the last place below the double nearest to 19/45, not 19.0/45.
// The two forms differ by about 1.7e-7 at the switch.
inline double mean_size(double a, double b) noexcept {
  const double m = a < b ? a : b, big = a < b ? b : a;
  const double r = (big - m) / m;
  double g;
  if (r < 0.1) {
    constexpr double third = 1.0 / 3.0, c = 0.42222222222222217;
    const double x = r / 2;
    const double p = x * (third - x * (third - c * x));
    g = 1 + x * (1 - p);
  } else {
    g = r / std::log(1 + r);
  }
  return m * g;
}

// Length in sizes of an edge of Euclidean length L between ends of sizes a
// and b: L over their mean size, 0 when that is not positive.
inline double length_in_sizes(double L, double a, double b) noexcept {
  const double h = mean_size(a, b);
  return h > 0 ? L / h : 0.0;
}

// Lengths of the edge vector e in the metrics mi and mj (packed, D = 2 or
// 3): li = sqrt(e^T mi e), lj = sqrt(e^T mj e) (NaN for a negative form).
// True when both forms are positive (not NaN).
template <unsigned D>
inline bool metric_lengths(const double* mi, const double* mj, const double* e, double& li, double& lj) noexcept {
  const double li2 = quadratic_form<D>(mi, e), lj2 = quadratic_form<D>(mj, e);
  li = std::sqrt(li2);
  lj = std::sqrt(lj2);
  return li2 > 0 && lj2 > 0;
}

// The lengths li and lj as above, and the edge's length in the metric
// field, li lj / H(li, lj) (the size varying linearly between the ends):
// 0 when either form is not positive.
template <unsigned D>
inline double metric_edge_length(const double* mi, const double* mj, const double* e, double& li,
                                 double& lj) noexcept {
  if (!metric_lengths<D>(mi, mj, e, li, lj)) return 0.0;
  return length_in_sizes(li * lj, li, lj);
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
