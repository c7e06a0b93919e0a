// Simultaneous reduction of two metrics: the basis P in which both are
// diagonal.  The maximum and minimum of two metrics build on it, and so does
// the interpolation of metrics along an edge.
#pragma once

namespace zeb {
namespace plexa {
namespace detail {

// For metrics M1, M2 of dimension D:
//   P   columns p_k: the unit generalized eigenvectors of M2 p = mu M1 p;
//   Q   the transposed inverse of P (zero when det P is 0 or NaN), so that
//       Q diag(d) Q^T is the metric with p_k^T M p_k = d_k;
//   a   a_k = p_k^T M1 p_k;
//   b   b_k = a_k mu_k (= p_k^T M2 p_k).
// Matrices are column-major.
template <unsigned D>
struct reduction {
  double P[D * D];
  double Q[D * D];
  double a[D];
  double b[D];
};

// Fills r from the packed metrics m1 and m2.  False when the generalized
// eigen-problem cannot be solved; every field of r is then zero.
template <unsigned D>
bool reduce_simultaneously(const double* m1, const double* m2, reduction<D>& r) noexcept;

extern template bool reduce_simultaneously<2>(const double*, const double*, reduction<2>&) noexcept;
extern template bool reduce_simultaneously<3>(const double*, const double*, reduction<3>&) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
