// Eigen-solvers of packed symmetric metrics.  The 2-D closed forms are
// inline (the field loops run them per column); the 3-D solvers call
// zeb::lapack::dspev on a private copy of the six coefficients.  Every
// solver reads its inputs before writing its outputs.
#pragma once

#include <cmath>

#include "metrics/tensor.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// Ascending eigenvalues of (a, b, c) by the closed form, with a relative
// guard of 1e-12 against cancellation in the smaller one: when one value is
// below 1e-12 times the other it is recomputed as det/other.  True when
// both are finite (l is written either way).
inline bool eigenvalues_2d(const double* m, double* l) noexcept {
  const double a = m[0], b = m[1], c = m[2];
  const double det = a * c - b * b;
  const double s = std::sqrt((a - c) * (a - c) + 4.0 * b * b);
  double l1 = (a + c - s) / 2.0;
  double l2 = s + l1;
  if (std::fabs(l1) < 1e-12 * std::fabs(l2))
    l1 = det / l2;
  else if (std::fabs(l2) < 1e-12 * std::fabs(l1))
    l2 = det / l1;
  l[0] = l1;
  l[1] = l2;
  return std::isfinite(l1) && std::isfinite(l2);
}

// Eigen-pairs of (a, b, c).  The first vector is taken from the better
// conditioned row of M - l1 I; a nearly isotropic M gives the basis (1, 0),
// (-0.0, 1).  With `unit` the first vector is normalised; the second is the
// first turned by +90 degrees, so the basis is right-handed.
inline bool eigenpairs_2d(const double* m, double* l, double* v, bool unit) noexcept {
  const double a = m[0], b = m[1], c = m[2];
  if (!eigenvalues_2d(m, l)) return false;
  const double ra = l[0] - a, rc = l[0] - c;
  double x, y, norm2;
  if (ra * ra < rc * rc) {
    x = rc, y = b, norm2 = rc * rc + b * b;
  } else {
    x = b, y = ra, norm2 = ra * ra + b * b;
  }
  const double big = a * a > c * c ? a * a : c * c;
  if (big * 1e-24 >= norm2) {
    v[0] = 1.0, v[1] = 0.0, v[2] = -0.0, v[3] = 1.0;
    return true;
  }
  if (unit) {
    const double n = std::sqrt(norm2);
    x /= n;
    y /= n;
  }
  v[0] = x, v[1] = y, v[2] = -y, v[3] = x;
  return true;
}

// The 3-D solvers.  A matrix with a non-finite coefficient is not handed to
// dspev: the solve fails and l is left as it was.
bool eigenvalues_3d(const double* m, double* l) noexcept;
// Unit eigenvectors, the third replaced by the cross product of the first
// two (a right-handed basis).
bool eigenpairs_3d(const double* m, double* l, double* v) noexcept;

// Generalized problem m2 v = l m1 v; each vector scaled to unit length
// unless its squared length is exactly 0 or 1.
bool generalized_eigenpairs_2d(const double* m1, const double* m2, double* l, double* v) noexcept;
bool generalized_eigenpairs_3d(const double* m1, const double* m2, double* l, double* v) noexcept;

template <unsigned D>
inline bool eigenvalues(const double* m, double* l) noexcept {
  if constexpr (D == 2)
    return eigenvalues_2d(m, l);
  else
    return eigenvalues_3d(m, l);
}

// Unit eigenvectors forming a right-handed basis.
template <unsigned D>
inline bool eigenpairs(const double* m, double* l, double* v) noexcept {
  if constexpr (D == 2)
    return eigenpairs_2d(m, l, v, true);
  else
    return eigenpairs_3d(m, l, v);
}

template <unsigned D>
inline bool generalized_eigenpairs(const double* m1, const double* m2, double* l, double* v) noexcept {
  if constexpr (D == 2)
    return generalized_eigenpairs_2d(m1, m2, l, v);
  else
    return generalized_eigenpairs_3d(m1, m2, l, v);
}

// The smallest eigenvalue, 0 when the solve fails.
template <unsigned D>
inline double smallest_eigenvalue(const double* m) noexcept {
  double l[D] = {};
  return eigenvalues<D>(m, l) ? l[0] : 0.0;
}

// A metric is valid when its smallest eigenvalue is > 0 (NaN is not).
template <unsigned D>
inline bool is_valid(const double* m) noexcept {
  return smallest_eigenvalue<D>(m) > 0.0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
