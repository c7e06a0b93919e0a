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

int build_edge_lists(const dense2D<unsigned>& connect, element_type narrowed, dense1D<unsigned, 8>& items) noexcept {
  items.clear();
  std::uint64_t count = 0;
  for_each_column(connect, [&](const unsigned* col, unsigned) { count += edges_of(column_kind(narrowed, col))->count; });
  if (2 * count >= NO_INDEX || !items.resize(static_cast<unsigned>(2 * count))) return fail(OUT_OF_MEMORY, items);
  unsigned* out = items.data();
  for_each_column(connect, [&](const unsigned* col, unsigned) {
    const edge_list& t = *edges_of(column_kind(narrowed, col));
    for (unsigned k = 0; k < t.count; ++k, out += 2) {
      out[0] = col[t.node[k][0]];
      out[1] = col[t.node[k][1]];
    }
  });
  return 0;
}

int build_node_graph(const dense2D<unsigned>& connect, element_type narrowed, dense1D<unsigned, 8>& offsets,
                     dense1D<unsigned, 8>& nodes) noexcept {
  offsets.clear();
  nodes.clear();
  dense1D<unsigned, 8> pieces, node_offsets, node_pieces;
  int r;
  list_view lists;
  switch (narrowed) {
    case ELT_NONE:
    case ELT_EDGE2:
    case ELT_TRIA3:
    case ELT_TETRA4:
      r = build_element_lists(connect, pieces);
      lists = view_of(pieces, connect.rows());
      break;
    case ELT_QUAD4:
    case ELT_PYRA5:
    case ELT_WEDGE6:
    case ELT_HEXA8:
    case ELT_FACE_MIX:
    case ELT_SOLID_MIX:
      r = build_edge_lists(connect, narrowed, pieces);
      lists = view_of(pieces, 2);
      break;
    default: return -5;
  }
  if (r == 0) r = transpose_lists(lists, node_offsets, node_pieces);
  if (r == 0) r = node_graph_of_pieces(lists, node_offsets, node_pieces, offsets, nodes);
  return r;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
