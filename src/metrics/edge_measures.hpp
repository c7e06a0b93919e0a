// How fast a size field changes along an edge: the gradation (growth rate
// of the size per unit of metric length) and the variation (size change per
// unit of Euclidean length), and the point along an edge at which the size
// of one end meets a bound on either.  Gradation control bounds these
// measures; H_shock reports the gradation.
#pragma once

#include <cmath>

#include "metrics/edge_length.hpp"
#include "metrics/tensor.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// An edge as the measures see it: its ends a and b, either its sizes along
// it or its lengths in the two end metrics, and `scale`, such that its
// length in the field is L = scale / H(a, b) (H the mean size of
// metrics/edge_length.hpp; L = 0 when H is not positive): scale is the
// Euclidean length d for sizes, li lj for lengths in metrics.  Either way
// the size changes along the edge by (max - min)/scale per unit of length
// (for lengths, |li - lj|/(li lj) = |hi - hj|/d).
//
// The guards both measures share: an edge with L below 1e-12 measures 0
// when its end values are equal (equal_ends(), asked only then), the
// largest double otherwise; one with L at or above the largest double
// measures 0.  Otherwise Measure::of(m, M, scale, L) gives the measure, m
// and M the smaller and larger end.  L is passed as NaN where it was not
// computed: where H takes its logarithmic form (the ends differ by 10% or
// more) and its bounds m <= H <= M keep L clear of both guards, since the
// measures need only (M - m)/scale there.
template <class Measure, class Equal>
inline double edge_measure(double a, double b, double scale, Equal&& equal_ends) noexcept {
  const double m = a < b ? a : b, M = a < b ? b : a;
  if (m > 0 && M < LARGEST && (M - m) / m >= 0.1 && scale > 2e-12 * M && scale < 0.25 * LARGEST * m)
    return Measure::of(m, M, scale, NAN);
  const double h = mean_size(a, b);
  const double L = h > 0 ? scale / h : 0.0;
  if (L < 1e-12) return equal_ends() ? 0.0 : LARGEST;
  if (L >= LARGEST) return 0.0;
  return Measure::of(m, M, scale, L);
}

// Both measures also give, for the correction of one end against the other
// under the bound g, the change the bound allows per unit of Euclidean
// length (`step`), and the parameter t from i (t = 0) to j (t = 1) at which
// hi + t (hj - hi) lies `step` d from hj, 0 when i is already that close.

// ln(r)/L, r = M/m: the gradation's exponent.  Where H takes its
// logarithmic form, ln(r)/L = (M - m)/scale exactly (H = (M - m)/ln(r)),
// which is how it is computed when L was not.  The guards' values, 0 and
// the largest double, stand for themselves.
struct gradation_exponent {
  static double of(double m, double M, double scale, double L) noexcept {
    return L == L ? std::log(M / m) / L : (M - m) / scale;
  }
};

// exp(ln(r)/L) - 1: the growth factor of the size per unit of length in
// the field, minus one; the largest double once ln(r)/L reaches 700.
// Increasing in the exponent, so the largest gradation of several edges is
// that of their largest exponent.
struct gradation {
  static double of_exponent(double x) noexcept { return x >= 700 ? LARGEST : std::expm1(x); }
  static double of(double m, double M, double scale, double L) noexcept {
    return of_exponent(gradation_exponent::of(m, M, scale, L));
  }

  // Along an edge of length d a size may change by ln(1 + g) d: with the
  // size varying linearly, ln(r)/L = |hj - hi|/d, so that is where the
  // measure meets g.
  static double step(double g) noexcept { return std::log1p(g); }

  static double parameter(double hi, double hj, double d, double step) noexcept {
    const double gap = std::fabs(hj - hi);
    if (!(gap > 0)) return 0.0;
    const double t = 1 - step * d / gap;
    return t > 0 ? t : 0.0;
  }
};

// (M - m)/scale: |hi - hj|/d for sizes, |li - lj|/(li lj) for lengths.
struct variation {
  static double of(double m, double M, double scale, double) noexcept { return (M - m) / scale; }

  static double step(double g) noexcept { return g; }

  // As for the gradation with a change of g d; sizes closer than 1e-12 d
  // count as equal.
  static double parameter(double hi, double hj, double d, double step) noexcept {
    const double gap = std::fabs(hj - hi);
    if (!(gap > 1e-12 * d)) return 0.0;
    const double t = 1 - step * d / gap;
    return t > 0 ? t : 0.0;
  }
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
