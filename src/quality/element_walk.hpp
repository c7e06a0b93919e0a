// Walking the elements of a mesh for the quality family: the types it
// accepts, its argument checks, the dispatch of every column to its kind,
// the gathering of an element's nodes and the element's metric.
#pragma once

#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

#include <zeb/plexa/core.hpp>

#include "core/element_model.hpp"
#include "core/higher_order_nodes.hpp"
#include "core/matrix_walk.hpp"

namespace zeb {
namespace plexa {
namespace detail {

template <element_type K>
using kind = std::integral_constant<element_type, K>;

// Faces and solids, linear, quadratic and mixed (after narrowing).
constexpr bool has_quality(element_type narrowed) noexcept {
  return is_element_type(narrowed) && dimension(narrowed) >= 2;
}

// The checks the three functions share, in this order: -3 for a type
// without quality; 1 (nothing to do) for a connectivity without entries;
// -1 for coordinates of the wrong dimension (2 or 3 rows for faces, 3 for
// solids); -2 when check_IDs rejects the connectivity.  0 to go on, with
// `narrowed` the type narrowed by row count.
int check_mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type type,
               element_type& narrowed) noexcept;

// The metric field of the metric form: -4 unless it has 3 rows for 2-D
// coordinates or 6 for 3-D ones, one column per node, and every column
// positive definite with finite entries; 0 otherwise.
int check_metrics(const dense2D<double>& pos, const dense2D<double>& metrics) noexcept;

// Calls f(kind<K>(), column, j) for every column j of connect: K is the
// declared type, or for the mixed types the kind the column's markers give.
template <class F>
void for_each_element(const dense2D<unsigned>& connect, element_type narrowed, F&& f) {
  const auto each = [&](auto k) { for_each_column(connect, [&](const unsigned* col, unsigned j) { f(k, col, j); }); };
  switch (narrowed) {
    case ELT_TRIA3: return each(kind<ELT_TRIA3>());
    case ELT_QUAD4: return each(kind<ELT_QUAD4>());
    case ELT_TRIA6: return each(kind<ELT_TRIA6>());
    case ELT_QUAD8: return each(kind<ELT_QUAD8>());
    case ELT_QUAD9: return each(kind<ELT_QUAD9>());
    case ELT_TETRA4: return each(kind<ELT_TETRA4>());
    case ELT_TETRA10: return each(kind<ELT_TETRA10>());
    case ELT_PYRA5: return each(kind<ELT_PYRA5>());
    case ELT_PYRA13: return each(kind<ELT_PYRA13>());
    case ELT_PYRA14: return each(kind<ELT_PYRA14>());
    case ELT_WEDGE6: return each(kind<ELT_WEDGE6>());
    case ELT_WEDGE15: return each(kind<ELT_WEDGE15>());
    case ELT_WEDGE18: return each(kind<ELT_WEDGE18>());
    case ELT_HEXA8: return each(kind<ELT_HEXA8>());
    case ELT_HEXA20: return each(kind<ELT_HEXA20>());
    case ELT_HEXA27: return each(kind<ELT_HEXA27>());
    case ELT_FACE_MIX:
      return for_each_column(connect, [&](const unsigned* col, unsigned j) {
        if (face_column_kind(col) == ELT_TRIA3)
          f(kind<ELT_TRIA3>(), col, j);
        else
          f(kind<ELT_QUAD4>(), col, j);
      });
    case ELT_SOLID_MIX:
      return for_each_column(connect, [&](const unsigned* col, unsigned j) {
        switch (solid_column_kind(col)) {
          case ELT_TETRA4: return f(kind<ELT_TETRA4>(), col, j);
          case ELT_PYRA5: return f(kind<ELT_PYRA5>(), col, j);
          case ELT_WEDGE6: return f(kind<ELT_WEDGE6>(), col, j);
          default: return f(kind<ELT_HEXA8>(), col, j);
        }
      });
    default: return;
  }
}

// The first N nodes of a column, relative to its node 0 (y[0] = 0): the
// quality of an element and its Jacobian do not depend on translation, and
// relative coordinates keep far-off elements accurate.
template <unsigned N, unsigned D>
inline void gather(const double* pos, std::size_t ld, const unsigned* col, double (&y)[N][D]) noexcept {
  const double* x0 = pos + std::size_t(col[0]) * ld;
  for (unsigned d = 0; d < D; ++d) y[0][d] = 0;
  for (unsigned i = 1; i < N; ++i) {
    const double* x = pos + std::size_t(col[i]) * ld;
    for (unsigned d = 0; d < D; ++d) y[i][d] = x[d] - x0[d];
  }
}

// Upper triangular R with R^T R = M (M packed as symmetric_fixed: m11, m12,
// m22 (, m13, m23, m33)), stored (r11, r12, r22 (, r13, r23, r33)).  False
// when M has an entry that is not finite or is not positive definite.
template <unsigned D>
inline bool cholesky(const double* m, double* r) noexcept {
  constexpr unsigned n = D == 2 ? 3 : 6;
  for (unsigned k = 0; k < n; ++k)
    if (!std::isfinite(m[k])) return false;
  if (!(m[0] > 0)) return false;
  r[0] = std::sqrt(m[0]);
  r[1] = m[1] / r[0];
  const double p2 = m[2] - r[1] * r[1];
  if (!(p2 > 0)) return false;
  r[2] = std::sqrt(p2);
  if constexpr (D == 3) {
    r[3] = m[3] / r[0];
    r[4] = (m[4] - r[1] * r[3]) / r[2];
    const double p3 = m[5] - r[3] * r[3] - r[4] * r[4];
    if (!(p3 > 0)) return false;
    r[5] = std::sqrt(p3);
  }
  return true;
}

// No metric: elements are measured as they are.
struct euclidean {
  template <unsigned N, unsigned D>
  void apply(const unsigned*, double (&)[N][D]) const noexcept {}
};

// A metric field (checked by check_metrics): the element's metric is the
// mean of the metrics of its N vertices, and the element is measured after
// the map x -> R x of that metric's Cholesky factor, which turns lengths in
// the metric into Euclidean ones.
template <unsigned D>
struct metric_field {
  const double* m;
  std::size_t ld;

  template <unsigned N>
  void apply(const unsigned* col, double (&y)[N][D]) const noexcept {
    constexpr unsigned n = D == 2 ? 3 : 6;
    double mean[n] = {}, r[n];
    for (unsigned i = 0; i < N; ++i) {
      const double* c = m + std::size_t(col[i]) * ld;
      for (unsigned k = 0; k < n; ++k) mean[k] += c[k];
    }
    for (unsigned k = 0; k < n; ++k) mean[k] *= 1.0 / N;
    if (!cholesky<D>(mean, r)) {  // only when rounding breaks the mean of valid metrics
      for (unsigned i = 0; i < N; ++i)
        for (unsigned d = 0; d < D; ++d) y[i][d] = std::numeric_limits<double>::quiet_NaN();
      return;
    }
    for (unsigned i = 1; i < N; ++i) {
      double* v = y[i];
      if constexpr (D == 2) {
        v[0] = r[0] * v[0] + r[1] * v[1];
        v[1] = r[2] * v[1];
      } else {
        v[0] = r[0] * v[0] + r[1] * v[1] + r[3] * v[2];
        v[1] = r[2] * v[1] + r[4] * v[2];
        v[2] = r[5] * v[2];
      }
    }
  }
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
