// The weld of an STL triangle soup.  Its result is the one of the calls
//   merge(pos, slice, map, 0.0, 0) for each slice of the triangles,
//   merge(pos, connect, map, 0.05 * h, 0),
//   remove_degenerated(connect, map, true), simplify(pos, connect, map, 0)
// (zeb/plexa/search.hpp), reached more directly:
// - every triangle owns its nodes, in file order, so the nodes of a slice
//   are a range of indices ranked in index order, and its exact merge sends
//   each node to the first node of the slice at its place (a hash of the
//   places, exact_places.hpp);
// - after those merges the nodes the triangles use are the first nodes of
//   their places, and each appears first at its own position: ranked in
//   order of first appearance they are in index order, which is the list
//   the merging core is given;
// - the renumbering, the removal of degenerate triangles and of unused
//   nodes keep their order, as the library's functions do.
#include <cmath>

#include <zeb/plexa/search.hpp>

#include "core/result_codes.hpp"
#include "io/stl_soup.hpp"
#include "search/exact_places.hpp"
#include "search/merge_core.hpp"
#include "search/uniform_grid.hpp"

namespace zeb {
namespace plexa {
namespace detail {

int weld_soup(dense2D<double>& pos, dense2D<unsigned>& connect, double h2, unsigned slice) noexcept {
  const unsigned n = pos.cols();
  const double* x = pos.data();

  // 1. Exact merges within the slices: `first` maps every node to the first
  // node of its slice at its place (nodes with a non-finite coordinate are
  // never merged).
  dense1D<unsigned, 8> first;
  first_at_place<3> places;
  if (!first.resize(n)) return OUT_OF_MEMORY;
  const std::uint64_t slice_nodes = 3 * std::uint64_t(slice);
  unsigned kept = 0;
  for (std::uint64_t begin = 0; begin < n; begin += slice_nodes) {
    const unsigned end = unsigned(begin + slice_nodes < n ? begin + slice_nodes : n);
    if (!places.reset(pos, end - unsigned(begin))) return OUT_OF_MEMORY;
    for (unsigned v = unsigned(begin); v < end; ++v) {
      const double* p = x + 3 * std::size_t(v);
      first[v] = finite_point<3>(p) ? places.first(v, p) : v;
      kept += first[v] == v;
    }
  }
  places = first_at_place<3>();

  // 2. The nodes left, in index order, merged within the tolerance.
  dense1D<unsigned, 8> left, merged;
  if (!left.resize(kept)) return OUT_OF_MEMORY;
  for (unsigned v = 0, k = 0; v < n; ++v)
    if (first[v] == v) left[k++] = v;
  if (merge_core(pos, left, left, nullptr, nullptr, 0, 0.05 * std::sqrt(h2), merged) < 0) return OUT_OF_MEMORY;
  left.clear_hard();
  unsigned* c = connect.data();
  for (unsigned v = 0; v < n; ++v) c[v] = merged[first[v]];
  first.clear_hard();
  merged.clear_hard();

  // 3. Degenerate triangles and unused nodes.
  dense1D<unsigned, 8> map;
  const int removed = remove_degenerated(connect, map, true);
  if (removed < 0 || simplify(pos, connect, map, 0) < 0) return OUT_OF_MEMORY;
  return removed;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
