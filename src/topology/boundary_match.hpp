// Comparing element boundaries as cyclic node sequences (their bucket key
// is detail::unordered_key of core/hashing.hpp).
#pragma once

#include <cstdint>

#include <zeb/plexa/indices.hpp>

#include "core/matrix_walk.hpp"
#include "topology/boundary_tables.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// True when b is a cyclic rotation of a, read forwards (step +1) or
// backwards (step k - 1).
inline bool rotated_cycle(const unsigned* a, const unsigned* b, unsigned k, unsigned step) noexcept {
  for (unsigned s = 0; s < k; ++s) {
    if (b[s] != a[0]) continue;
    unsigned i = 1, p = s;
    for (; i < k; ++i) {
      p = (p + step) % k;
      if (a[i] != b[p]) break;
    }
    if (i == k) return true;
  }
  return false;
}

// Same boundary with the same orientation: b is a rotation of a.
inline bool same_cycle(const unsigned* a, const unsigned* b, unsigned k) noexcept {
  return rotated_cycle(a, b, k, 1);
}
// Same boundary with the opposite orientation: b is a rotation of a reversed.
inline bool reversed_cycle(const unsigned* a, const unsigned* b, unsigned k) noexcept {
  return rotated_cycle(a, b, k, k - 1);
}
// Same boundary in either direction.
inline bool equal_boundaries(const unsigned* a, unsigned ka, const unsigned* b, unsigned kb) noexcept {
  if (ka != kb) return false;
  if (ka <= 2) return ka == 1 ? a[0] == b[0] : (a[0] == b[0] && a[1] == b[1]) || (a[0] == b[1] && a[1] == b[0]);
  return same_cycle(a, b, ka) || reversed_cycle(a, b, ka);
}

// Entry checks shared by the boundary operations: narrows the type by row
// count, then 0 when the connectivity fits it, -1 when check_IDs rejects it
// (row count or indices), -2 when the type has no boundary tables (or is no
// element type at all).
inline int check_boundary_input(const dense2D<unsigned>& connect, element_type type, element_type& narrowed) noexcept {
  narrowed = type;
  if (!is_element_type(type)) return -2;
  narrowed = narrow_type(type, connect.rows());
  if (!check_IDs(connect, narrowed, NO_INDEX)) return -1;
  if (!has_boundary_tables(narrowed)) return -2;
  return 0;
}

// True when `neighbors` has the shape of the neighbour matrix of n elements
// with nb boundaries each (an empty matrix fits no element at all) and, with
// `entries`, every entry is UINT_MAX or an element index.
inline bool neighbors_fit(const dense2D<unsigned>& neighbors, unsigned nb, unsigned n, bool entries) noexcept {
  if (neighbors.empty()) return n == 0;
  if (neighbors.rows() != nb || neighbors.cols() != n) return false;
  if (!entries) return true;
  return all_runs(neighbors, [n](const unsigned* p, std::size_t k) {
    unsigned bad = 0;
    for (std::size_t i = 0; i < k; ++i) bad |= unsigned(p[i] >= n && p[i] != NO_INDEX);
    return bad == 0;
  });
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
