// Plexa core: version, element types and their count tables.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
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
// Local node order.  The first nbr_base_nodes rows of a column are the
// vertices; each higher-order node follows at the middle of an edge (a, b)
// or at the centre of a face or of the element:
//   ELT_EDGE3    2 (0,1)
//   ELT_TRIA6    3 (1,2), 4 (2,0), 5 (0,1): node 3 + j opposite node j
//   ELT_QUAD8    4 (0,1), 5 (1,2), 6 (2,3), 7 (3,0)
//   ELT_QUAD9    those of ELT_QUAD8; 8 at the centre
//   ELT_TETRA10  4 (1,2), 5 (0,2), 6 (0,1), 7 (0,3), 8 (1,3), 9 (2,3)
//   ELT_PYRA13   5 (0,1), 6 (1,2), 7 (2,3), 8 (3,0), 9 (0,4), 10 (1,4),
//                11 (2,4), 12 (3,4)
//   ELT_PYRA14   those of ELT_PYRA13; 13 at the centre of the base (0,1,2,3)
//   ELT_WEDGE15  6 (0,3), 7 (1,4), 8 (2,5), 9 (1,2), 10 (2,0), 11 (0,1),
//                12 (4,5), 13 (5,3), 14 (3,4)
//   ELT_WEDGE18  those of ELT_WEDGE15; 15, 16, 17 at the centres of the
//                faces (2,1,4,5), (0,2,5,3), (1,0,3,4)
//   ELT_HEXA20   8 (0,1), 9 (1,2), 10 (2,3), 11 (3,0), 12 (4,5), 13 (5,6),
//                14 (6,7), 15 (7,4), 16 (0,4), 17 (1,5), 18 (2,6), 19 (3,7)
//   ELT_HEXA27   those of ELT_HEXA20; 20 to 25 at the centres of the faces
//                (0,3,7,4), (1,5,6,2), (0,4,5,1), (3,2,6,7), (0,1,2,3),
//                (4,7,6,5); 26 at the centre
// The edge nodes are in the order the NASTRAN and EnSight writers' node
// tables imply; the face nodes follow the boundary tables of topology.hpp.
//
// Orientation.  An element is positive, in the convention of other mesh
// tools and of quality.hpp (a positive Jacobian of the map from the
// reference element), when its nodes 0, 1, 2 (, 3) run counter-clockwise
// for a face in the plane; for a tetrahedron, counter-clockwise seen from
// node 3; for a pyramid, wedge or hexahedron, its base 0, 1, 2 (, 3) runs
// counter-clockwise seen from the apex or the top face.  The boundary
// tables of topology.hpp are deliberately not uniform in this convention:
// they see the faces of a positive tetrahedron pointing out of it and those
// of a positive pyramid, wedge or hexahedron pointing into it.
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

// The library's version.
// Returns: the string "5.3.0.0"; never fails, valid for the life of the
// library.
PLEXA_API const char* version() noexcept;

// Table look-ups of one element type; none fails.
// Inputs: type.  A value outside the 23 of the enumeration gives 0, as
// ELT_NONE does.

// Nodes per element (rows of a connectivity).
// Returns: the count; 4 for ELT_FACE_MIX, 8 for ELT_SOLID_MIX.
PLEXA_API unsigned int nbr_nodes(element_type type) noexcept;
// Vertex (corner) nodes per element.
// Returns: the count.
PLEXA_API unsigned int nbr_base_nodes(element_type type) noexcept;
// Boundaries of one element: end points of an edge, sides of a face, faces of
// a solid (the largest member for the mixed types).
// Returns: the count.
PLEXA_API unsigned int nbr_boundaries(element_type type) noexcept;
// Dimension of the element.
// Returns: 0 for ELT_NONE and ELT_NODE, 1 for edges, 2 for faces, 3 for
// solids.
PLEXA_API unsigned int element_dim(element_type type) noexcept;

}  // namespace plexa
}  // namespace zeb
