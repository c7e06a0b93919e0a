// Node transforms as small value objects, and the drivers that apply them to
// a coordinate matrix: every column, a column range, or a node list.
//
// An op has a dimension `dim` (the rows it needs), `identity()` (true when it
// would change nothing) and `operator()(double* x)` moving one node in place.
#pragma once

#include <climits>
#include <cmath>
#include <cstddef>

#include <zeb/plexa/core.hpp>

#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// x <- x + t
template <unsigned D>
struct shift_op {
  static constexpr unsigned dim = D;
  double t[D];

  explicit shift_op(const vector_fixed<double, D>& v, double scale = 1.0) noexcept {
    for (unsigned k = 0; k < D; ++k) t[k] = scale * v[k];
  }
  bool identity() const noexcept {
    for (unsigned k = 0; k < D; ++k)
      if (t[k] != 0.0) return false;
    return true;
  }
  void operator()(double* x) const noexcept {
    for (unsigned k = 0; k < D; ++k) x[k] += t[k];
  }
};

// Plane rotation about c by angle a (radians, counter-clockwise).
struct rotate2_op {
  static constexpr unsigned dim = 2;
  double c0, c1, angle, co, si;

  rotate2_op(const vector_fixed<double, 2>& c, double a) noexcept
      : c0(c[0]), c1(c[1]), angle(a), co(std::cos(a)), si(std::sin(a)) {}
  bool identity() const noexcept { return angle == 0.0 || std::isnan(angle); }
  void operator()(double* x) const noexcept {
    const double dx = x[0] - c0, dy = x[1] - c1;
    x[0] = c0 + (co * dx - si * dy);
    x[1] = c1 + (si * dx + co * dy);
  }
};

// Coefficients a = sin(theta)/theta and b = (1 - cos theta)/theta^2 of the
// rotation I + a K + b K^2 for theta^2 = t.  Small angles use the Taylor
// series in t (nested), where the closed forms lose their digits.
inline void rotation_coefficients(double t, double& a, double& b) noexcept {
  const double theta = std::sqrt(t);
  if (theta > 0.1) {
    a = std::sin(theta) / theta;
    b = (1.0 - std::cos(theta)) / t;
    return;
  }
  a = 1.0 + t * (-1.0 / 6.0 + t * (1.0 / 120.0 + t * (-1.0 / 5040.0 + t * (1.0 / 362880.0 + t * (-1.0 / 39916800.0)))));
  b = 0.5 + t * (-1.0 / 24.0 + t * (1.0 / 720.0 + t * (-1.0 / 40320.0 + t * (1.0 / 3628800.0))));
}

// Spatial rotation about c by the rotation vector v (axis along v, angle |v|).
struct rotate3_op {
  static constexpr unsigned dim = 3;
  double c[3];
  double m[9];  // column-major
  bool none;

  rotate3_op(const vector_fixed<double, 3>& centre, const vector_fixed<double, 3>& v, double scale = 1.0) noexcept {
    const double x = scale * v[0], y = scale * v[1], z = scale * v[2];
    none = x == 0.0 && y == 0.0 && z == 0.0;
    for (unsigned k = 0; k < 3; ++k) c[k] = centre[k];
    const double t = x * x + y * y + z * z;
    double a, b;
    rotation_coefficients(t, a, b);
    // K^2 = v v^T - t I.
    m[0] = 1.0 + b * (x * x - t);
    m[1] = a * z + b * x * y;
    m[2] = -a * y + b * x * z;
    m[3] = -a * z + b * x * y;
    m[4] = 1.0 + b * (y * y - t);
    m[5] = a * x + b * y * z;
    m[6] = a * y + b * x * z;
    m[7] = -a * x + b * y * z;
    m[8] = 1.0 + b * (z * z - t);
  }
  bool identity() const noexcept { return none; }
  void operator()(double* p) const noexcept {
    const double dx = p[0] - c[0], dy = p[1] - c[1], dz = p[2] - c[2];
    p[0] = c[0] + (m[0] * dx + m[3] * dy + m[6] * dz);
    p[1] = c[1] + (m[1] * dx + m[4] * dy + m[7] * dz);
    p[2] = c[2] + (m[2] * dx + m[5] * dy + m[8] * dz);
  }
};

// x <- x + (x - c)(f - 1)
template <unsigned D>
struct zoom_op {
  static constexpr unsigned dim = D;
  double c[D];
  double factor, g;

  zoom_op(const vector_fixed<double, D>& centre, double f) noexcept : factor(f), g(f - 1.0) {
    for (unsigned k = 0; k < D; ++k) c[k] = centre[k];
  }
  bool identity() const noexcept { return factor == 1.0 || std::isnan(factor); }
  void operator()(double* x) const noexcept {
    for (unsigned k = 0; k < D; ++k) x[k] += (x[k] - c[k]) * g;
  }
};

// Gives `pos` at least `rows` rows, new entries 0.0; false on memory failure
// (pos unchanged).
inline bool widen(dense2D<double>& pos, unsigned rows) noexcept {
  if (pos.rows() >= rows) return true;
  return pos.resize(rows, pos.cols(), 0.0);
}

// Non-negative node counts as results (saturating).
inline int count_result(std::size_t n) noexcept { return n > std::size_t(INT_MAX) ? INT_MAX : int(n); }

// Applies op to columns [first, last) of pos, which has at least op.dim rows.
template <class Op>
inline void apply_columns(dense2D<double>& pos, unsigned first, unsigned last, const Op& op) noexcept {
  const Op o = op;  // local copy: its fields stay in registers
  double* p = pos.data();
  const std::size_t ld = pos.ld();
  for (std::size_t j = first; j < last; ++j) o(p + j * ld);
}

// Applies op to every list entry below pos.cols(), in order; returns the
// number of entries used.
template <class Op>
inline std::size_t apply_list(dense2D<double>& pos, const unsigned* ids, std::size_t n, const Op& op) noexcept {
  const Op o = op;
  double* p = pos.data();
  const std::size_t ld = pos.ld();
  const unsigned cols = pos.cols();
  std::size_t used = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const unsigned j = ids[i];
    if (j >= cols) continue;
    o(p + std::size_t(j) * ld);
    ++used;
  }
  return used;
}

// The common rules on a column range: identity returns 0, otherwise pos is
// widened to op.dim rows and the columns are moved.  Returns the number of
// columns moved or -199.
template <class Op>
inline int transform_columns(dense2D<double>& pos, unsigned first, unsigned last, const Op& op) noexcept {
  if (pos.empty() || op.identity()) return 0;
  if (!widen(pos, Op::dim)) return detail::OUT_OF_MEMORY;
  apply_columns(pos, first, last, op);
  return count_result(last - first);
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
