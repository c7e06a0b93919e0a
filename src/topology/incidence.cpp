// Incidence lists of a connectivity that depend on the element tables: the
// vertex edges of every element and the node graph.
#include "topology/incidence.hpp"

#include <cstdint>

#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "topology/boundary_tables.hpp"

namespace zeb {
namespace plexa {
namespace detail {

int build_edge_lists(const dense2D<unsigned>& connect, element_type narrowed, dense1D<unsigned, 8>& offsets,
                     dense1D<unsigned, 8>& items) noexcept {
  offsets.clear();
  items.clear();
  std::uint64_t count = 0;
  for_each_column(connect, [&](const unsigned* col, unsigned) { count += edges_of(column_kind(narrowed, col))->count; });
  if (2 * count >= NO_INDEX || !offsets.resize(static_cast<unsigned>(count + 1)) ||
      !items.resize(static_cast<unsigned>(2 * count)))
    return fail(OUT_OF_MEMORY, offsets, items);
  unsigned* off = offsets.data();
  unsigned* out = items.data();
  unsigned p = 0;
  for_each_column(connect, [&](const unsigned* col, unsigned) {
    const edge_list& t = *edges_of(column_kind(narrowed, col));
    for (unsigned k = 0; k < t.count; ++k, ++p) {
      off[p] = 2 * p;
      out[2 * p] = col[t.node[k][0]];
      out[2 * p + 1] = col[t.node[k][1]];
    }
  });
  off[p] = 2 * p;
  return 0;
}

int build_node_graph(const dense2D<unsigned>& connect, element_type narrowed, dense1D<unsigned, 8>& offsets,
                     dense1D<unsigned, 8>& nodes) noexcept {
  offsets.clear();
  nodes.clear();
  dense1D<unsigned, 8> piece_offsets, pieces, node_offsets, node_pieces;
  int r;
  switch (narrowed) {
    case ELT_NONE:
    case ELT_EDGE2:
    case ELT_TRIA3:
    case ELT_TETRA4: r = build_element_lists(connect, piece_offsets, pieces); break;
    case ELT_QUAD4:
    case ELT_PYRA5:
    case ELT_WEDGE6:
    case ELT_HEXA8:
    case ELT_FACE_MIX:
    case ELT_SOLID_MIX: r = build_edge_lists(connect, narrowed, piece_offsets, pieces); break;
    default: return -5;
  }
  if (r == 0) r = transpose_lists(piece_offsets, pieces, node_offsets, node_pieces);
  if (r == 0) r = node_graph_of_pieces(piece_offsets, pieces, node_offsets, node_pieces, offsets, nodes);
  return r;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
