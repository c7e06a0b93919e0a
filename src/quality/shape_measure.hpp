// The shape measure of one element from its vertices.
//
// Simplices: the mean ratio, 2 sqrt(3) d / L for triangles (d twice the
// signed area), 12 (|d| / 2)^(2/3) / L with the sign of d for tetrahedra
// (d six times the signed volume), L the sum of the squared edge lengths.
// Other kinds: the mean ratio at each corner (element_corners.hpp), with S
// = A W^-1 (A the corner's edge matrix, W the same corner of the regular
// element with unit edges): 2 det S / |S|^2 for quadrangles, 3 sign(det S)
// |det S|^(2/3) / |S|^2 for solids (|.| the Frobenius norm).  The corners
// are combined into one value: the one nearest to 0 when they all have one
// sign (so a mirrored element has the opposite value), and otherwise
// -min(largest positive value, largest magnitude of a negative value), which
// keeps the measure continuous and negative for a tangled element in either
// orientation.  Faces in 3-D coordinates have no orientation: their corners
// are measured against the face's own normal and a negative result reads as
// 0.
//
// The kernels take the vertices relative to vertex 0 (y[0] = 0), already
// mapped by the element's metric when there is one.
#pragma once

#include <cfloat>
#include <cmath>
#include <limits>

#include "quality/element_corners.hpp"

namespace zeb {
namespace plexa {
namespace detail {

struct measured {
  double q;
  double scale;  // a sum of squared edge lengths, to detect over- and underflow
};

// Within these bounds on the scale no square, cube or determinant of the
// kernels over- or underflows.
constexpr double SMALLEST_SCALE = 0x1p-300, LARGEST_SCALE = 0x1p300;

constexpr double SQRT3 = 1.7320508075688772;
constexpr double SQRT2 = 1.4142135623730951;
constexpr double TETRA_FACTOR = 7.5595262993692365;  // 12 / 4^(1/3)

// One value from the corner values (see above); any monotone transform of
// the corner mean ratios that keeps their sign may be combined.
inline double combine_corners(const double* v, unsigned n) noexcept {
  double lo = v[0], hi = v[0];
  for (unsigned k = 1; k < n; ++k) {
    lo = v[k] < lo ? v[k] : lo;
    hi = v[k] > hi ? v[k] : hi;
  }
  if (lo >= 0) return lo;
  if (hi <= 0) return hi;
  return hi < -lo ? -hi : lo;
}

template <unsigned D, unsigned N>
inline measured tria_measure(const double (&y)[N][D]) noexcept {
  const face_frame<D> f = frame_of(y, false);
  double e[D];
  difference<D>(y[2], y[1], e);
  const double n = dot<D>(y[1], y[1]) + dot<D>(y[2], y[2]) + dot<D>(e, e);
  return {n > 0 ? 2 * SQRT3 * f.det(y[1], y[2]) / n : 0.0, n};
}

template <unsigned D, unsigned N>
inline measured quad_measure(const double (&y)[N][D]) noexcept {
  const face_frame<D> f = frame_of(y, true);
  double v[4], total = 0;
  for (unsigned k = 0; k < 4; ++k) {
    const corner& c = quad4_corners.k[k];
    double a[D], b[D];
    difference<D>(y[c.a], y[c.at], a);
    difference<D>(y[c.b], y[c.at], b);
    const double n = dot<D>(a, a) + dot<D>(b, b);
    total += n;
    v[k] = n > 0 ? 2 * f.det(a, b) / n : 0.0;
  }
  const double q = combine_corners(v, 4);
  return {D == 3 && q < 0 ? 0.0 : q, total};
}

template <unsigned N>
inline measured tetra_measure(const double (&y)[N][3]) noexcept {
  const double d = det3(y[1], y[2], y[3]);
  double ab[3], ac[3], bc[3];
  difference<3>(y[2], y[1], ab);
  difference<3>(y[3], y[1], ac);
  difference<3>(y[3], y[2], bc);
  const double n =
      dot<3>(y[1], y[1]) + dot<3>(y[2], y[2]) + dot<3>(y[3], y[3]) + dot<3>(ab, ab) + dot<3>(ac, ac) + dot<3>(bc, bc);
  const double m = n > 0 ? TETRA_FACTOR * std::cbrt(d * d) / n : 0.0;
  return {d < 0 ? -m : m, n};
}

// Pyramids, wedges, hexahedra.  The corners are compared through
// det S |det S| / |S|^6, the cube of their mean ratio over 27, so that one
// cube root serves the whole element.
template <element_type K, unsigned N>
inline measured solid_corners_measure(const double (&y)[N][3]) noexcept {
  constexpr const corner_list& list = corners_of(K);
  double t[8], total = 0;
  for (unsigned k = 0; k < list.count; ++k) {
    const corner& c = list.k[k];
    double a[3], b[3], h[3];
    difference<3>(y[c.a], y[c.at], a);
    difference<3>(y[c.b], y[c.at], b);
    difference<3>(y[c.c], y[c.at], h);
    double det = det3(a, b, h), n;
    if constexpr (K == ELT_WEDGE6) {
      // W has the triangle's edges 60 degrees apart: S = (a, (2b - a) / sqrt 3, h).
      double s[3] = {2 * b[0] - a[0], 2 * b[1] - a[1], 2 * b[2] - a[2]};
      n = dot<3>(a, a) + dot<3>(s, s) * (1.0 / 3) + dot<3>(h, h);
      det *= 2 / SQRT3;
    } else if constexpr (K == ELT_PYRA5) {
      // W has the apex above the centre of the unit base square at height
      // 1 / sqrt 2: S = (a, b, sqrt 2 (h - (a + b) / 2)).
      double s[3] = {h[0] - 0.5 * (a[0] + b[0]), h[1] - 0.5 * (a[1] + b[1]), h[2] - 0.5 * (a[2] + b[2])};
      n = dot<3>(a, a) + dot<3>(b, b) + 2 * dot<3>(s, s);
      det *= SQRT2;
    } else {
      n = dot<3>(a, a) + dot<3>(b, b) + dot<3>(h, h);
    }
    total += n;
    const double n3 = n * n * n;
    t[k] = n3 > 0 ? det * std::fabs(det) / n3 : 0.0;
  }
  const double c = combine_corners(t, list.count);
  const double q = 3 * std::cbrt(std::fabs(c));
  return {c < 0 ? -q : q, total};
}

template <element_type K, unsigned D, unsigned N>
inline measured measure(const double (&y)[N][D]) noexcept {
  if constexpr (K == ELT_TRIA3) return tria_measure(y);
  else if constexpr (K == ELT_QUAD4) return quad_measure(y);
  else if constexpr (K == ELT_TETRA4) return tetra_measure(y);
  else return solid_corners_measure<K>(y);
}

// The element again with its vertices scaled by a power of two (which
// changes no ratio and rounds nothing) so that the largest coordinate lies
// in [1, 2): 0 when all vertices coincide, NaN when a coordinate is not
// finite.
template <element_type K, unsigned D, unsigned N>
[[gnu::noinline]] double measure_rescaled(double (&y)[N][D]) noexcept {
  double largest = 0;
  for (unsigned i = 0; i < N; ++i)
    for (unsigned d = 0; d < D; ++d) {
      const double a = std::fabs(y[i][d]);
      if (!(a <= DBL_MAX)) return std::numeric_limits<double>::quiet_NaN();
      largest = a > largest ? a : largest;
    }
  if (largest == 0) return 0;
  const int e = std::ilogb(largest);
  for (unsigned i = 0; i < N; ++i)
    for (unsigned d = 0; d < D; ++d) y[i][d] = std::ldexp(y[i][d], -e);
  return measure<K>(y).q;
}

// The shape quality of an element of linear kind K.  y may be overwritten.
template <element_type K, unsigned D, unsigned N>
inline double shape_quality(double (&y)[N][D]) noexcept {
  static_assert(N == base_node_count(K), "one row per vertex");
  const measured m = measure<K>(y);
  // + 0.0 turns a zero of either sign into +0.
  if (m.scale >= SMALLEST_SCALE && m.scale <= LARGEST_SCALE) [[likely]]
    return m.q + 0.0;
  return measure_rescaled<K>(y) + 0.0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
