// Local numbering of element boundaries and edges: which local nodes make
// each boundary (end node of an edge element, side of a face, face of a
// solid) and each vertex edge of every linear element type, in which order.
// The order of a boundary is its orientation.  Every operation that walks
// element boundaries or edges (neighbours, mesh boundaries, edge sets,
// qualities, writers) reads them from here.
#pragma once

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

struct boundary_list {
  unsigned char count;        // boundaries of the element
  unsigned char size[6];      // nodes of boundary j
  unsigned char node[6][4];   // local nodes of boundary j, in orientation order
};

// Edge elements: boundary j is the node opposite node j.
inline constexpr boundary_list edge2_boundaries = {2, {1, 1}, {{1}, {0}}};
// Triangles: edge j is opposite node j.
inline constexpr boundary_list tria3_boundaries = {3, {2, 2, 2}, {{1, 2}, {2, 0}, {0, 1}}};
// Quadrangles: edge j runs from node j to node j + 1.
inline constexpr boundary_list quad4_boundaries = {4, {2, 2, 2, 2}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}};
// Tetrahedra: face j is opposite node j; the faces point out when nodes
// 0, 1, 2 run counter-clockwise seen from node 3.
inline constexpr boundary_list tetra4_boundaries = {4, {3, 3, 3, 3}, {{1, 2, 3}, {2, 0, 3}, {0, 1, 3}, {2, 1, 0}}};
// Pyramids, wedges, hexahedra: the faces point out when the base runs
// clockwise seen from the apex or the top face.
inline constexpr boundary_list pyra5_boundaries = {
    5, {3, 3, 3, 3, 4}, {{0, 4, 1}, {1, 4, 2}, {2, 4, 3}, {3, 4, 0}, {0, 1, 2, 3}}};
inline constexpr boundary_list wedge6_boundaries = {
    5, {3, 3, 4, 4, 4}, {{0, 1, 2}, {3, 5, 4}, {2, 1, 4, 5}, {0, 2, 5, 3}, {1, 0, 3, 4}}};
inline constexpr boundary_list hexa8_boundaries = {
    6, {4, 4, 4, 4, 4, 4}, {{0, 3, 7, 4}, {1, 5, 6, 2}, {0, 4, 5, 1}, {3, 2, 6, 7}, {0, 1, 2, 3}, {4, 7, 6, 5}}};

// Boundary table of a linear element kind (ELT_EDGE_MIX reads as ELT_EDGE2);
// nullptr for the mixed, quadratic and node-less types.
constexpr const boundary_list* boundaries_of(element_type kind) noexcept {
  switch (kind) {
    case ELT_EDGE_MIX:
    case ELT_EDGE2: return &edge2_boundaries;
    case ELT_TRIA3: return &tria3_boundaries;
    case ELT_QUAD4: return &quad4_boundaries;
    case ELT_TETRA4: return &tetra4_boundaries;
    case ELT_PYRA5: return &pyra5_boundaries;
    case ELT_WEDGE6: return &wedge6_boundaries;
    case ELT_HEXA8: return &hexa8_boundaries;
    default: return nullptr;
  }
}

// Rows of a matrix of boundary elements of each type (indexed by
// element_type): the most nodes any boundary of the type has, quadratic
// boundaries included.  Shorter boundaries fill the rest with UINT_MAX.
inline constexpr unsigned char boundary_rows_table[ELEMENT_TYPE_COUNT] = {0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4,
                                                                          3, 6, 4, 8, 9, 4, 8, 9, 4, 8, 9};

constexpr unsigned boundary_rows(element_type type) noexcept { return boundary_rows_table[type]; }

// The types the boundary operations accept (after narrowing by row count).
constexpr bool has_boundary_tables(element_type narrowed) noexcept {
  switch (narrowed) {
    case ELT_EDGE2:
    case ELT_TRIA3:
    case ELT_QUAD4:
    case ELT_FACE_MIX:
    case ELT_TETRA4:
    case ELT_PYRA5:
    case ELT_WEDGE6:
    case ELT_HEXA8:
    case ELT_SOLID_MIX: return true;
    default: return false;
  }
}

// The types whose vertex edges the edge tables give, column by column for
// the mixed ones (after narrowing by row count): the same types.
constexpr bool has_edge_tables(element_type narrowed) noexcept { return has_boundary_tables(narrowed); }

// Linear kind of one column of a connectivity of type `type`: read from the
// markers for the mixed face and solid types, the type itself otherwise.
inline element_type column_kind(element_type type, const unsigned* col) noexcept {
  if (type == ELT_FACE_MIX) return face_column_kind(col);
  if (type == ELT_SOLID_MIX) return solid_column_kind(col);
  if (type == ELT_EDGE_MIX) return ELT_EDGE2;
  return type;
}

// Copies the nodes of boundary j of `col` (an element of table t) into out;
// returns their count.
inline unsigned boundary_nodes(const boundary_list& t, const unsigned* col, unsigned j, unsigned* out) noexcept {
  const unsigned k = t.size[j];
  for (unsigned i = 0; i < k; ++i) out[i] = col[t.node[j][i]];
  return k;
}

// Writes boundary j of `col` as a column of `rows` entries: its nodes in
// table order, then UINT_MAX.
inline void boundary_column(const boundary_list& t, const unsigned* col, unsigned j, unsigned rows,
                            unsigned* out) noexcept {
  for (unsigned i = boundary_nodes(t, col, j, out); i < rows; ++i) out[i] = NO_INDEX;
}

struct edge_list {
  unsigned char count;
  unsigned char node[12][2];
};

// Vertex edges of the linear kinds, in the order in which edge sets and node
// graphs discover them.  Tetrahedra list their node pairs in lexicographic
// order, which discovers the same neighbours in the same order as reading
// the whole column.
inline constexpr edge_list edge2_edges = {1, {{0, 1}}};
inline constexpr edge_list tria3_edges = {3, {{1, 2}, {2, 0}, {0, 1}}};
inline constexpr edge_list quad4_edges = {4, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}};
inline constexpr edge_list tetra4_edges = {6, {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}}};
inline constexpr edge_list pyra5_edges = {8, {{0, 4}, {1, 4}, {2, 4}, {3, 4}, {0, 1}, {1, 2}, {2, 3}, {3, 0}}};
inline constexpr edge_list wedge6_edges = {
    9, {{0, 3}, {1, 4}, {2, 5}, {1, 2}, {2, 0}, {0, 1}, {4, 5}, {5, 3}, {3, 4}}};
inline constexpr edge_list hexa8_edges = {
    12, {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}}};

// Edge table of a linear kind (ELT_EDGE_MIX reads as ELT_EDGE2); nullptr
// for the others.
constexpr const edge_list* edges_of(element_type kind) noexcept {
  switch (kind) {
    case ELT_EDGE_MIX:
    case ELT_EDGE2: return &edge2_edges;
    case ELT_TRIA3: return &tria3_edges;
    case ELT_QUAD4: return &quad4_edges;
    case ELT_TETRA4: return &tetra4_edges;
    case ELT_PYRA5: return &pyra5_edges;
    case ELT_WEDGE6: return &wedge6_edges;
    case ELT_HEXA8: return &hexa8_edges;
    default: return nullptr;
  }
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
