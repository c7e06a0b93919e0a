// Incidence lists of a connectivity that depend on the element tables: the
// vertex edges of every element and the node graph, as compressed lists
// (core/compressed_lists.hpp).  Both empty their outputs first and return
// 0, or -199 with their outputs emptied when memory could not be had.
// Working memory of the node graph: the node-to-piece lists (one entry per
// piece node, one per node) and a marker per node; the pieces of a
// contiguous connectivity of simplices are its own columns.
#pragma once

#include "core/compressed_lists.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// The vertex edges of every element as lists of length 2 (the ends),
// elements in order and each element's edges in table order.  `narrowed`
// must be a type with an edge table or a mixed face or solid type (kind
// read per column).
int build_edge_lists(const dense2D<unsigned>& connect, element_type narrowed, dense1D<unsigned, 8>& items) noexcept;

// Node graph of a connectivity whose type has been checked (narrowed by row
// count): ELT_NONE, ELT_EDGE2, ELT_TRIA3 and ELT_TETRA4 join every node pair
// of a column, the other accepted types (quadrangles, pyramids, wedges,
// hexahedra, mixed faces and solids) the ends of each vertex edge.  -5 for a
// type without such a rule.
int build_node_graph(const dense2D<unsigned>& connect, element_type narrowed, dense1D<unsigned, 8>& offsets,
                     dense1D<unsigned, 8>& nodes) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
