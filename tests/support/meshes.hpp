// Meshes made by splitting a structured grid, for oracle tests.
//
// Grid node (i, j, k) is i + (nx+1) * (j + (ny+1) * k); the centre of cube c
// (used by pyramids) is node (grid nodes) + c.  Without a generator the
// elements are in their reference orientation (triangles counter-clockwise,
// solids with outward faces); with one the splits and each element's node
// order are drawn from it (only relabellings that keep edges and faces).
#pragma once

#include <random>
#include <set>
#include <utility>

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

namespace plexa_test {

// 2 triangles per square of an nx x ny grid.
zeb::dense2D<unsigned> grid_triangles(unsigned nx, unsigned ny, std::mt19937_64* g = nullptr);
// 1 quadrangle per square.
zeb::dense2D<unsigned> grid_quadrangles(unsigned nx, unsigned ny, std::mt19937_64* g = nullptr);
// 6 tetrahedra per cube around its diagonal (0,0,0)-(1,1,1): a conforming split.
zeb::dense2D<unsigned> grid_tetrahedra(unsigned nx, unsigned ny, unsigned nz, std::mt19937_64* g = nullptr);
// 8-row ELT_SOLID_MIX connectivity: per cube (drawn, or cycling without a
// generator) a hexahedron, 2 wedges, 6 pyramids on the cube centre or 6
// tetrahedra.  Cubes of different kinds may meet on faces that do not match.
zeb::dense2D<unsigned> grid_mixed_solids(unsigned nx, unsigned ny, unsigned nz, std::mt19937_64* g = nullptr);

// How the cells of a grid are cut into elements by random_conforming_mesh.
enum class cell_cut {
  triangles,     // 2 per square, either diagonal (ELT_TRIA3)
  quadrangles,   // 1 per square (ELT_QUAD4)
  mixed_faces,   // per square a quadrangle or 2 triangles (ELT_FACE_MIX, 4 rows)
  tetrahedra,    // 6 per cube around its diagonal (ELT_TETRA4)
  wedges,        // 2 per cube, cut through one vertical diagonal plane (ELT_WEDGE6)
  pyramids,      // 6 per cube on its centre node (ELT_PYRA5)
  hexahedra,     // 1 per cube (ELT_HEXA8)
  mixed_solids,  // per column of cubes 2 wedges each, or per cube a hexahedron
                 // or 6 pyramids (ELT_SOLID_MIX, 8 rows)
};

struct random_mesh {
  zeb::dense2D<double> coords;  // 2 rows for the face cuts, 3 for the solid ones
  zeb::dense2D<unsigned> connect;
  zeb::plexa::element_type type;
};

// A conforming mesh (neighbouring elements share whole edges or faces) of
// the nx x ny (x nz) grid of [0, nx] x [0, ny] (x [0, nz]), its nodes moved
// by up to 0.2 in each direction.  Drawn from g: the cut of each cell where
// there is a choice, each element's labelling (a relabelling that keeps its
// edges and faces, not always its orientation), the node numbers, the
// element order, and the `holes` share of the elements that is removed
// (their nodes stay).
random_mesh random_conforming_mesh(std::mt19937_64& g, cell_cut cut, unsigned nx, unsigned ny, unsigned nz = 1,
                                   double holes = 0.1);

// The vertex edges of a linear connectivity (mixed types read per column)
// as (smaller, larger) pairs, from the library's edge tables.
std::set<std::pair<unsigned, unsigned>> vertex_edges(const zeb::dense2D<unsigned>& connect,
                                                     zeb::plexa::element_type type);

// Appends `count` copies of random columns of `connect` with the last row
// replaced by a new node (numbered from `first_new_node`): each shares a
// boundary with the copied element, so boundaries become non-manifold, some
// with four or more elements.
zeb::dense2D<unsigned> with_fins(const zeb::dense2D<unsigned>& connect, unsigned first_new_node, unsigned count,
                                 std::mt19937_64& g);

// Blocks sharing one connectivity, as the block writers (NASTRAN, FEMAP)
// take them: block i is the columns ranges[i] to ranges[i+1] - 1, of type
// types[i]; one id (property) per column.
struct ranged_blocks {
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, ids;
  zeb::dense1D<int, 8> types;
};

// Random conforming meshes of the linear kinds of `dim` dimensions (mixed
// blocks included) over dim x n random nodes, and, when `quadratic`, two
// elements of every quadratic type (and ELT_EDGE2) on distinct random
// nodes, in a 27-row connectivity (the writers read mixed solids from 8
// rows only: they are left out then, and the connectivity has 8 rows
// otherwise); ids below 1000.
ranged_blocks random_ranged_blocks(std::mt19937_64& g, unsigned dim, bool quadratic);

}  // namespace plexa_test
