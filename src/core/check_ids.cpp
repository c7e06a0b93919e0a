// Validity tests of node lists and connectivities, and the largest index.
#include <zeb/plexa/indices.hpp>

#include "core/element_model.hpp"
#include "core/index_bitmap.hpp"
#include "core/matrix_walk.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// Runs are scanned in blocks: the inner loop has no exit and vectorises, and
// a bad entry still ends the scan within one block.
constexpr std::size_t scan_block = 512;

// True when every entry of the run is below nods or the marker.  With
// nods < UINT_MAX, v + 1 wraps the marker to 0, so one comparison
// (v + 1 > nods) flags exactly the bad entries.
bool run_below_or_marker(const unsigned* p, std::size_t n, unsigned nods) {
  for (std::size_t k = 0; k < n;) {
    const std::size_t end = n - k > scan_block ? k + scan_block : n;
    unsigned bad = 0;
    for (; k < end; ++k) bad |= unsigned(p[k] + 1u > nods);
    if (bad) return false;
  }
  return true;
}

// True when every entry of the run is below nods (markers rejected).
bool run_below(const unsigned* p, std::size_t n, unsigned nods) {
  for (std::size_t k = 0; k < n;) {
    const std::size_t end = n - k > scan_block ? k + scan_block : n;
    unsigned bad = 0;
    for (; k < end; ++k) bad |= unsigned(p[k] >= nods);
    if (bad) return false;
  }
  return true;
}

// A mixed column is valid when the shared column reading finds a member
// shape in it and every node of that shape is below nods.
bool mixed_column_ok(const unsigned* c, bool face, unsigned nods) {
  const unsigned n = face ? detail::face_column_nodes(c) : detail::solid_column_nodes(c);
  return n != 0 && run_below(c, n, nods);
}

}  // namespace

bool check_IDs(const dense1D<unsigned int, 8>& ids, unsigned int nods) {
  if (ids.empty() || nods == NO_INDEX) return true;
  return run_below_or_marker(ids.data(), ids.size(), nods);
}

bool check_IDs(const dense2D<unsigned int>& connect, unsigned int nods) {
  if (connect.empty() || nods == NO_INDEX) return true;
  return detail::all_runs(connect, [nods](const unsigned* p, std::size_t n) { return run_below_or_marker(p, n, nods); });
}

bool check_IDs(const dense2D<unsigned int>& connect, element_type type, unsigned int nods) {
  if (connect.empty()) return true;
  const unsigned rows = connect.rows();
  type = detail::narrow_type(type, rows);
  if (!detail::rows_fit(type, rows)) return false;
  if (type == ELT_FACE_MIX || type == ELT_SOLID_MIX) {
    const bool face = type == ELT_FACE_MIX;
    const unsigned* p = connect.data();
    const std::size_t ld = connect.ld();
    for (unsigned j = 0, cols = connect.cols(); j < cols; ++j, p += ld)
      if (!mixed_column_ok(p, face, nods)) return false;
    return true;
  }
  return detail::all_runs(connect, [nods](const unsigned* p, std::size_t n) { return run_below(p, n, nods); });
}

unsigned int max_ID(const dense1D<unsigned int, 8>& ids) {
  if (ids.empty()) return NO_INDEX;
  return detail::fold_max(ids.data(), ids.size(), 0);
}

unsigned int max_ID(const dense2D<unsigned int>& connect) {
  // A contiguous matrix is one list (UINT_MAX when empty); a strided view
  // starts from 0, so one without columns gives 0.
  if (connect.ld() == connect.rows()) {
    if (connect.empty()) return NO_INDEX;
    return detail::fold_max(connect.data(), std::size_t(connect.rows()) * connect.cols(), 0);
  }
  unsigned m = 0;
  detail::all_runs(connect, [&m](const unsigned* p, std::size_t n) {
    m = detail::fold_max(p, n, m);
    return true;
  });
  return m;
}

}  // namespace plexa
}  // namespace zeb
