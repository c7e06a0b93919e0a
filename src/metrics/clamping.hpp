// Clamping the sizes of a metric between hmin and hmax: the bounds checks
// shared by bound_metric and bound_metrics, and the per-metric step that
// works in place on packed coefficients.
#pragma once

#include <cmath>

#include "core/result_codes.hpp"
#include "metrics/eigen.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// hmin <= 0 together with hmax exactly the largest double: nothing to bound
// (hmax = +infinity is not this case).
inline bool no_bounds(double hmin, double hmax) noexcept { return hmin <= 0 && hmax == LARGEST; }

// -2 for a non-finite hmin, -3 for a non-finite hmax, else 0.
inline int check_bounds(double hmin, double hmax) noexcept {
  if (!std::isfinite(hmin)) return bad_argument(2);
  if (!std::isfinite(hmax)) return bad_argument(3);
  return SUCCESS;
}

// The eigenvalue range of the sizes [hmin, hmax]: lmax = 1/hmin^2 (the
// largest double when hmin <= 0), lmin = 1/hmax^2 (0 when hmax <= 0).
struct eigenvalue_range {
  double lmin, lmax;
};
inline eigenvalue_range eigenvalue_range_of(double hmin, double hmax) noexcept {
  return {hmax > 0 ? 1.0 / (hmax * hmax) : 0.0, hmin > 0 ? 1.0 / (hmin * hmin) : LARGEST};
}

// Clamps the eigenvalues of the packed metric m into r, first from above,
// then from below (so lmin wins when the range is empty), keeping the
// eigenvectors.  Returns 0 when m was rebuilt and is valid; -1 when the
// solve failed, nothing needed clamping or the clamped values are not all
// in (0, largest double) (m unchanged in these three cases), or when the
// rebuilt m is not valid (m overwritten).
template <unsigned D>
int clamp_metric(double* m, const eigenvalue_range& r) noexcept {
  double l[D], v[D * D];
  if (!eigenpairs<D>(m, l, v)) return -1;
  bool changed = false;
  for (unsigned k = 0; k < D; ++k) {
    if (l[k] > r.lmax) l[k] = r.lmax, changed = true;
    if (l[k] < r.lmin) l[k] = r.lmin, changed = true;
  }
  if (!changed) return -1;
  for (unsigned k = 0; k < D; ++k)
    if (!(l[k] > 0 && l[k] < LARGEST)) return -1;
  assemble<D>(v, l, m);
  return is_valid<D>(m) ? SUCCESS : -1;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
