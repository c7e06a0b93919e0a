// Compressed lists and the incidence structures built from them: element
// lists, their transpose (node-to-element lists) and the node graph of
// pieces.  Shared by the topology operations and the metric gradation.
//
// A compressed list is a pair of vectors, offsets (one more than the number
// of lists, offsets[0] = 0, the last one the item count) and items; list i is
// items[offsets[i]] up to items[offsets[i+1]] exclusive.  Lists all of one
// length (the columns of a connectivity, the two ends of edges) are read
// without offsets: list i of length L is items[i*L] up to items[(i+1)*L].
// UINT_MAX items (unused rows of mixed columns) may stand in a list; every
// consumer skips them.  All builders empty their outputs first and return
// 0, or -199 with their outputs emptied when memory could not be had.
#pragma once

#include <cstddef>

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// Lists to read: with offsets, or all of length `length` (offsets null).
struct list_view {
  const unsigned* offsets;
  unsigned length;
  unsigned count;  // of lists
  const unsigned* items;
  unsigned item_count;

  std::size_t begin(unsigned i) const noexcept { return offsets ? offsets[i] : std::size_t(i) * length; }
  std::size_t end(unsigned i) const noexcept { return offsets ? offsets[i + 1] : std::size_t(i + 1) * length; }
};

inline list_view view_of(const dense1D<unsigned, 8>& items, unsigned length) noexcept {
  return {nullptr, length, length ? items.size() / length : 0, items.data(), items.size()};
}

// Element lists of a connectivity of R rows, lists of length R: list e is
// column e in row order.  A contiguous connectivity is shared, not copied.
int build_element_lists(const dense2D<unsigned>& connect, dense1D<unsigned, 8>& items) noexcept;

// Transpose by a two-pass counting sort: list v of the result holds, in
// ascending order, every list i in which v stands (once per occurrence), for
// every v from 0 to the largest item.  No item at all gives offsets = (0).
int transpose_lists(const list_view& lists, dense1D<unsigned, 8>& t_offsets, dense1D<unsigned, 8>& t_items) noexcept;

// Node graph from pieces (lists of nodes: elements or edges) and their
// transpose (the pieces of each node): list v holds each node that shares a
// piece with v, once, v excluded, in order of discovery (pieces of v in
// ascending order, nodes of a piece in list order).  Two passes over a
// marker array, one to count and one to write.
int node_graph_of_pieces(const list_view& pieces, const dense1D<unsigned, 8>& node_offsets,
                         const dense1D<unsigned, 8>& node_pieces, dense1D<unsigned, 8>& offsets,
                         dense1D<unsigned, 8>& nodes) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
