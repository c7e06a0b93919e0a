// Shifting and renumbering of node indices.
#include <zeb/plexa/indices.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

int shift_indices(dense1D<unsigned int, 8>& ids, int shift) {
  if (shift == 0 || ids.empty()) return 0;
  const unsigned s = static_cast<unsigned>(shift);
  unsigned* p = ids.data();
  for (unsigned i = 0, n = ids.size(); i < n; ++i)
    if (p[i] != NO_INDEX) p[i] += s;
  return 0;
}

int shift_indices(dense2D<unsigned int>& connect, int shift, element_type type) {
  if (shift == 0) return 0;
  const unsigned s = static_cast<unsigned>(shift);
  if (type == ELT_FACE_MIX || type == ELT_SOLID_MIX) {
    detail::for_each_entry(connect, [s](unsigned& v) {
      if (v != NO_INDEX) v += s;
    });
  } else {
    // Single-type connectivities hold no markers: shift without testing.
    detail::for_each_entry(connect, [s](unsigned& v) { v += s; });
  }
  return 0;
}

// The map is read from a copy when ids or connect share its storage; when
// that copy cannot be made nothing changes (the functions report nothing).

void change_indices(dense1D<unsigned int, 8>& ids, const dense1D<unsigned int, 8>& new_IDs) {
  if (ids.empty() || new_IDs.empty()) return;
  dense1D<unsigned int, 8> table;
  if (!detail::detach(new_IDs, ids, table)) return;
  const unsigned* map = table.data();
  const unsigned m = table.size();
  unsigned* p = ids.data();
  for (unsigned i = 0, n = ids.size(); i < n; ++i)
    if (p[i] < m) p[i] = map[p[i]];
}

void change_indices(dense2D<unsigned int>& connect, const dense1D<unsigned int, 8>& new_IDs) {
  if (connect.empty() || new_IDs.empty()) return;
  dense1D<unsigned int, 8> table;
  if (!detail::detach(new_IDs, connect, table)) return;
  const unsigned* map = table.data();
  const unsigned m = table.size();
  detail::for_each_entry(connect, [map, m](unsigned& v) {
    if (v < m) v = map[v];
  });
}

}  // namespace plexa
}  // namespace zeb
