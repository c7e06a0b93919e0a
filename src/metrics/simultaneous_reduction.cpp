// Simultaneous reduction of two metrics through their generalized
// eigen-pairs.
#include "metrics/simultaneous_reduction.hpp"

#include <cmath>

#include "metrics/eigen.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

// Q = P^-T: the cofactor matrix of P over its determinant; zero when the
// determinant is 0 or NaN.
void transposed_inverse_2d(const double* P, double* Q) noexcept {
  for (unsigned k = 0; k < 4; ++k) Q[k] = 0.0;
  const double det = P[0] * P[3] - P[2] * P[1];
  if (det == 0.0 || std::isnan(det)) return;
  Q[0] = P[3] / det, Q[1] = -P[2] / det, Q[2] = -P[1] / det, Q[3] = P[0] / det;
}

// In 3-D, column k of P^-T is p_(k+1) x p_(k+2) over det P.
void transposed_inverse_3d(const double* P, double* Q) noexcept {
  double C[9];
  for (unsigned k = 0; k < 3; ++k) cross3(P + 3 * ((k + 1) % 3), P + 3 * ((k + 2) % 3), C + 3 * k);
  const double det = dot3(P, C);
  for (unsigned k = 0; k < 9; ++k) Q[k] = 0.0;
  if (det == 0.0 || std::isnan(det)) return;
  for (unsigned k = 0; k < 9; ++k) Q[k] = C[k] / det;
}

}  // namespace

template <unsigned D>
bool reduce_simultaneously(const double* m1, const double* m2, reduction<D>& r) noexcept {
  double mu[D];
  if (!generalized_eigenpairs<D>(m1, m2, mu, r.P)) {
    r = reduction<D>{};
    return false;
  }
  if constexpr (D == 2)
    transposed_inverse_2d(r.P, r.Q);
  else
    transposed_inverse_3d(r.P, r.Q);
  for (unsigned k = 0; k < D; ++k) {
    r.a[k] = quadratic_form<D>(m1, r.P + k * D);
    r.b[k] = r.a[k] * mu[k];
  }
  return true;
}

template bool reduce_simultaneously<2>(const double*, const double*, reduction<2>&) noexcept;
template bool reduce_simultaneously<3>(const double*, const double*, reduction<3>&) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
