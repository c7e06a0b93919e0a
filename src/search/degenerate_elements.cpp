// remove_degenerated: drops the columns of a connectivity in which a node
// occurs twice, keeping the others in order.
#include <zeb/plexa/search.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// True when the column repeats a node (or, with markers, the marker).
bool degenerate(const unsigned* col, unsigned rows, unsigned* work, bool markers_degenerate) {
  for (unsigned i = 0; i < rows; ++i) {
    const unsigned v = col[i];
    unsigned k = i;
    for (; k > 0 && work[k - 1] > v; --k) work[k] = work[k - 1];
    work[k] = v;
  }
  for (unsigned i = 1; i < rows; ++i)
    if (work[i] == work[i - 1]) return work[i] != NO_INDEX || markers_degenerate;
  return false;
}

}  // namespace

int remove_degenerated(dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& new_IDs, bool markers_degenerate) {
  new_IDs.clear_hard();
  const unsigned rows = connect.rows(), cols = connect.cols();
  dense1D<unsigned int, 8> map, work;
  if (!map.resize(cols, NO_INDEX) || !work.resize(rows)) return detail::OUT_OF_MEMORY;

  // First the map, without touching connect.
  const unsigned* src = connect.data();
  const std::size_t ld = connect.ld();
  unsigned kept = 0;
  for (unsigned j = 0; j < cols; ++j)
    if (!degenerate(src + j * ld, rows, work.data(), markers_degenerate)) map[j] = kept++;

  if (kept < cols) {
    if (connect.contiguous()) {
      // In place: shrinking a contiguous matrix does not allocate.
      unsigned* p = connect.data();
      for (unsigned j = 0; j < cols; ++j) {
        const unsigned k = map[j];
        if (k != NO_INDEX && k < j)
          for (unsigned i = 0; i < rows; ++i) p[std::size_t(k) * rows + i] = p[std::size_t(j) * rows + i];
      }
      connect.resize(rows, kept);
    } else {
      // A strided view gets a block of its own, made before anything changes.
      dense2D<unsigned int> fresh;
      if (!fresh.resize(rows, kept)) return detail::OUT_OF_MEMORY;
      unsigned* q = fresh.data();
      for (unsigned j = 0; j < cols; ++j)
        if (map[j] != NO_INDEX)
          for (unsigned i = 0; i < rows; ++i) q[std::size_t(map[j]) * rows + i] = src[j * ld + i];
      connect = static_cast<dense2D<unsigned int>&&>(fresh);
    }
  }
  new_IDs = static_cast<dense1D<unsigned int, 8>&&>(map);
  return int(cols - kept);
}

int remove_degenerated(dense2D<unsigned int>& connect, bool markers_degenerate) {
  dense1D<unsigned int, 8> map;
  return remove_degenerated(connect, map, markers_degenerate);
}

}  // namespace plexa
}  // namespace zeb
