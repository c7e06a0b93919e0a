// Plexa core: version, element types and their count tables.
//
// A mesh is a coordinate matrix (dense2D<double>, one column per node, 2 or 3
// rows) and connectivities (dense2D<unsigned>, one column per element, 0-based
// node indices).  The element_type tells how the columns are read.  Result
// convention of the library: 0 or a count on success, -k when the k-th
// argument is invalid, -199 when memory could not be had.  UINT_MAX means "no
// index" everywhere (trailing rows of mixed columns, no neighbour, ...).
//
// Mixed types hold linear elements only, one per column, trailing rows filled
// with UINT_MAX: ELT_EDGE_MIX (2 rows, edges), ELT_FACE_MIX (4 rows: a
// triangle when row 3 is UINT_MAX, else a quadrangle), ELT_SOLID_MIX (8 rows:
// the first UINT_MAX in row 4, 5 or 6 makes a tetrahedron, pyramid or wedge,
// none a hexahedron).  A mixed connectivity whose row count is that of a
// single member is read as that member (3 rows of ELT_FACE_MIX are
// triangles; 4, 5, 6 rows of ELT_SOLID_MIX are tetrahedra, pyramids, wedges).
//
// Threads: the library keeps no global mutable state and starts no thread;
// the table look-ups below may be called from any thread.
#pragma once

#include <zeb/dense.hpp>
#include <zeb/export.hpp>

namespace zeb {
namespace plexa {

// Element kinds; the first nbr_base_nodes rows of a column are the vertices,
// the rest the higher-order nodes.
enum element_type {
  ELT_NONE = 0,
  ELT_NODE = 1,
  ELT_EDGE_MIX = 2,
  ELT_EDGE2 = 3,
  ELT_EDGE3 = 4,
  ELT_FACE_MIX = 5,
  ELT_TRIA3 = 6,
  ELT_QUAD4 = 7,
  ELT_TRIA6 = 8,
  ELT_QUAD8 = 9,
  ELT_QUAD9 = 10,
  ELT_SOLID_MIX = 11,
  ELT_TETRA4 = 12,
  ELT_TETRA10 = 13,
  ELT_PYRA5 = 14,
  ELT_PYRA13 = 15,
  ELT_PYRA14 = 16,
  ELT_WEDGE6 = 17,
  ELT_WEDGE15 = 18,
  ELT_WEDGE18 = 19,
  ELT_HEXA8 = 20,
  ELT_HEXA20 = 21,
  ELT_HEXA27 = 22
};

// Number of element types (values 0 to 22).
constexpr unsigned ELEMENT_TYPE_COUNT = 23;

// The library's version string, "5.3.0.0"; never fails, valid for the life
// of the library.
PLEXA_API const char* version() noexcept;

// Table look-ups.  A value outside the 23 of the enumeration gives 0, as
// ELT_NONE does.
// Nodes per element (rows of a connectivity): 4 for ELT_FACE_MIX, 8 for ELT_SOLID_MIX.
PLEXA_API unsigned int nbr_nodes(element_type type) noexcept;
// Vertex (corner) nodes per element.
PLEXA_API unsigned int nbr_base_nodes(element_type type) noexcept;
// Boundaries of one element: end points of an edge, sides of a face, faces of
// a solid (the largest member for the mixed types).
PLEXA_API unsigned int nbr_boundaries(element_type type) noexcept;
// 0 for ELT_NONE and ELT_NODE, 1 for edges, 2 for faces, 3 for solids.
PLEXA_API unsigned int element_dim(element_type type) noexcept;

}  // namespace plexa
}  // namespace zeb
