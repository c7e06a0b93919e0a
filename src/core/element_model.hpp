// Internal element model: the count tables as constants, the narrowing of a
// mixed type by row count, and the reading of mixed face and solid columns.
// Every operation that reads a connectivity goes through these helpers.
#pragma once

#include <climits>

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// The absent-node marker.
constexpr unsigned NO_INDEX = UINT_MAX;

struct element_counts {
  unsigned char nodes, base_nodes, boundaries, dim;
};

inline constexpr element_counts element_table[ELEMENT_TYPE_COUNT] = {
    {0, 0, 0, 0},   // ELT_NONE
    {1, 1, 0, 0},   // ELT_NODE
    {2, 2, 2, 1},   // ELT_EDGE_MIX
    {2, 2, 2, 1},   // ELT_EDGE2
    {3, 2, 2, 1},   // ELT_EDGE3
    {4, 4, 4, 2},   // ELT_FACE_MIX
    {3, 3, 3, 2},   // ELT_TRIA3
    {4, 4, 4, 2},   // ELT_QUAD4
    {6, 3, 3, 2},   // ELT_TRIA6
    {8, 4, 4, 2},   // ELT_QUAD8
    {9, 4, 4, 2},   // ELT_QUAD9
    {8, 8, 6, 3},   // ELT_SOLID_MIX
    {4, 4, 4, 3},   // ELT_TETRA4
    {10, 4, 4, 3},  // ELT_TETRA10
    {5, 5, 5, 3},   // ELT_PYRA5
    {13, 5, 5, 3},  // ELT_PYRA13
    {14, 5, 5, 3},  // ELT_PYRA14
    {6, 6, 5, 3},   // ELT_WEDGE6
    {15, 6, 5, 3},  // ELT_WEDGE15
    {18, 6, 5, 3},  // ELT_WEDGE18
    {8, 8, 6, 3},   // ELT_HEXA8
    {20, 8, 6, 3},  // ELT_HEXA20
    {27, 8, 6, 3},  // ELT_HEXA27
};

constexpr bool is_element_type(int type) noexcept { return type >= 0 && type < int(ELEMENT_TYPE_COUNT); }
constexpr unsigned node_count(element_type type) noexcept { return element_table[type].nodes; }
constexpr unsigned base_node_count(element_type type) noexcept { return element_table[type].base_nodes; }
constexpr unsigned boundary_count(element_type type) noexcept { return element_table[type].boundaries; }
constexpr unsigned dimension(element_type type) noexcept { return element_table[type].dim; }

// A mixed type whose row count is that of a single member is read as that
// member: 3 rows of ELT_FACE_MIX are triangles, 4, 5, 6 rows of
// ELT_SOLID_MIX tetrahedra, pyramids, wedges.  Other types are unchanged.
constexpr element_type narrow_type(element_type type, unsigned rows) noexcept {
  if (type == ELT_FACE_MIX && rows == 3) return ELT_TRIA3;
  if (type == ELT_SOLID_MIX) {
    if (rows == 4) return ELT_TETRA4;
    if (rows == 5) return ELT_PYRA5;
    if (rows == 6) return ELT_WEDGE6;
  }
  return type;
}

// True when a connectivity of `rows` rows may be declared `type` (after
// narrowing): ELT_FACE_MIX needs 4 rows, ELT_SOLID_MIX 8, others nbr_nodes.
constexpr bool rows_fit(element_type narrowed, unsigned rows) noexcept {
  return is_element_type(narrowed) && node_count(narrowed) == rows;
}

// Kind of a 4-row mixed face column, by the test of the topology
// operations: a triangle when row 3 holds the marker, else a quadrangle.
inline element_type face_column_kind(const unsigned* col) noexcept {
  return col[3] == NO_INDEX ? ELT_TRIA3 : ELT_QUAD4;
}

// Kind of an 8-row mixed solid column, tested in this order: marker in row 4
// a tetrahedron, in row 5 a pyramid, in row 6 a wedge, else a hexahedron.
inline element_type solid_column_kind(const unsigned* col) noexcept {
  if (col[4] == NO_INDEX) return ELT_TETRA4;
  if (col[5] == NO_INDEX) return ELT_PYRA5;
  if (col[6] == NO_INDEX) return ELT_WEDGE6;
  return ELT_HEXA8;
}

// Node count of a valid 4-row mixed face column (3 or 4), 0 when a marker
// stands in rows 0 to 2.
inline unsigned face_column_nodes(const unsigned* col) noexcept {
  if (col[0] == NO_INDEX || col[1] == NO_INDEX || col[2] == NO_INDEX) return 0;
  return col[3] == NO_INDEX ? 3u : 4u;
}

// Node count of a valid 8-row mixed solid column (4, 5, 6 or 8): the first
// marker must stand in row 4, 5 or 6 and every later row must hold a marker
// too; no marker at all is a hexahedron.  0 for an invalid column.
inline unsigned solid_column_nodes(const unsigned* col) noexcept {
  unsigned first = 0;
  while (first < 8 && col[first] != NO_INDEX) ++first;
  if (first == 8) return 8;
  if (first < 4 || first > 6) return 0;
  for (unsigned i = first + 1; i < 8; ++i)
    if (col[i] != NO_INDEX) return 0;
  return first;
}

// Number of entries before the first marker of a column of `rows` entries
// (the node count by which mixed columns are grouped).
inline unsigned leading_nodes(const unsigned* col, unsigned rows) noexcept {
  unsigned k = 0;
  while (k < rows && col[k] != NO_INDEX) ++k;
  return k;
}

// Linear type of a column holding `nodes` nodes in a mixed block of the
// given kind, ELT_NONE for a count that names no member.
constexpr element_type mixed_member(element_type mixed, unsigned nodes) noexcept {
  if (mixed == ELT_FACE_MIX) return nodes == 3 ? ELT_TRIA3 : nodes == 4 ? ELT_QUAD4 : ELT_NONE;
  if (mixed == ELT_SOLID_MIX) {
    switch (nodes) {
      case 4: return ELT_TETRA4;
      case 5: return ELT_PYRA5;
      case 6: return ELT_WEDGE6;
      case 8: return ELT_HEXA8;
      default: return ELT_NONE;
    }
  }
  if (mixed == ELT_EDGE_MIX) return nodes == 2 ? ELT_EDGE2 : ELT_NONE;
  return ELT_NONE;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
