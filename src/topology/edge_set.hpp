// The edge set of one or several element blocks: every vertex edge once, as
// a (smaller, larger) node pair, sorted by smaller node then larger node.
// Shared by copy_edges, the edge qualities and the metric operations that
// walk mesh edges.
#pragma once

#include <cstddef>

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// One block of elements: its columns (pointer and leading dimension) and
// its type, narrowed by row count.  The connectivity must pass check_IDs for
// that type.
struct element_block {
  const unsigned* data;
  std::size_t ld;
  unsigned cols;
  element_type type;
};

element_block block_of(const dense2D<unsigned>& connect, element_type narrowed) noexcept;

// For a range of blocks with one type each (a dense1D<int> of element_type
// values): whether every type is an element type; whether every block fits
// its type with node indices below `nodes` (check_IDs); the blocks, once
// both hold (false when memory could not be had).
bool element_types(const dense1D<int, 8>& types) noexcept;
bool blocks_fit(const dense2D<unsigned>* first, const dense1D<int, 8>& types, unsigned nodes) noexcept;
bool blocks_of(const dense2D<unsigned>* first, const dense1D<int, 8>& types, dense1D<element_block, 8>& blocks) noexcept;

// Linear kind whose vertex edges a block of the (narrowed) type adds: the
// type itself for the linear ones, the linear kind of ELT_EDGE3, ELT_TRIA6,
// ELT_QUAD8, ELT_QUAD9, ELT_TETRA10, ELT_PYRA14, ELT_WEDGE18 and ELT_HEXA27
// (their other nodes are ignored), the mixed face and solid types (the kind
// is read per column), and ELT_NONE for the types that add no edge:
// ELT_NONE, ELT_NODE, ELT_EDGE_MIX and the serendipity ELT_PYRA13,
// ELT_WEDGE15, ELT_HEXA20.
element_type edge_kind(element_type narrowed) noexcept;

// Replaces `edges` with the edge set of the blocks, a 2-row contiguous
// matrix, one column per edge (left empty when there is none).  An edge
// shared by several elements or blocks is listed once; an element naming a
// node twice adds the pair (v, v).
// Built from the node-to-element lists, each element listed only at the
// nodes where it has an edge to a node not below them: for each node v in
// ascending order, the larger ends of the edges at v are collected once
// with a marker array and sorted.  Extra memory: one entry per listing plus
// two per node.  Returns 0, or -199 with `edges` emptied.
int build_edge_set(const element_block* blocks, unsigned count, dense2D<unsigned>& edges) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
