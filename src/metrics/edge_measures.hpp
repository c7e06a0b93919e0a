// How fast a size field changes along an edge: the gradation (growth rate
// of the size per unit of metric length) and the variation (size change per
// unit of Euclidean length), and the point along an edge at which the size
// of one end meets a bound on either.  Gradation control bounds these
// measures; H_shock reports the gradation.
#pragma once

#include <cmath>

#include "metrics/tensor.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// The guards both measures share, on L, the edge's length in the field: an
// edge of (nearly) zero length measures 0 when its end metrics are equal
// and the largest double otherwise; an edge of unbounded length measures 0.
// Otherwise the measure is body().
template <class Body>
inline double guarded_measure(double L, bool equal_ends, Body body) noexcept {
  if (L < 1e-12) return equal_ends ? 0.0 : LARGEST;
  if (L >= LARGEST) return 0.0;
  return body();
}

// Both measures take the ends either as sizes along the edge (hi, hj, with
// d its Euclidean length) or as the edge's lengths in the two end metrics
// (li = d/hi, lj = d/hj); L is the edge's length in the field.  `step` and
// `parameter` serve the correction of one end against the other under the
// bound g.

// exp(ln(r)/L) - 1, r the ratio of the larger end size to the smaller: the
// growth factor of the size per unit of metric length, minus one.  The
// largest double once ln(r)/L reaches 700.
struct gradation {
  static double of_ratio(double a, double b, double L) noexcept {
    const double r = a < b ? b / a : a / b;
    const double x = std::log(r) / L;
    return x >= 700 ? LARGEST : std::expm1(x);
  }
  static double of_sizes(double hi, double hj, double, double L) noexcept { return of_ratio(hi, hj, L); }
  static double of_lengths(double li, double lj, double L) noexcept { return of_ratio(li, lj, L); }

  // Along an edge of length d, a size may change by ln(1 + g) d: with the
  // size varying linearly, the edge's length in sizes is d/H and
  // ln(r)/(d/H) = |hj - hi|/d, so that change is where the measure meets g.
  static double step(double g) noexcept { return std::log1p(g); }

  // The parameter t from i (t = 0) to j (t = 1) at which hi + t (hj - hi)
  // lies ln(1 + g) d from hj (argument `step`); 0 when the sizes are equal
  // or i is already that close.
  static double parameter(double hi, double hj, double d, double step) noexcept {
    const double gap = std::fabs(hj - hi);
    if (!(gap > 0)) return 0.0;
    const double t = 1 - step * d / gap;
    return t > 0 ? t : 0.0;
  }
};

// |hi - hj|/d, written |li - lj|/(li lj) for lengths in metrics.
struct variation {
  static double of_sizes(double hi, double hj, double d, double) noexcept { return std::fabs(hi - hj) / d; }
  static double of_lengths(double li, double lj, double) noexcept { return std::fabs(li - lj) / (li * lj); }

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
