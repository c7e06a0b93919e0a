// Meshes made by splitting a structured grid, for oracle tests.
//
// Grid node (i, j, k) is i + (nx+1) * (j + (ny+1) * k); the centre of cube c
// (used by pyramids) is node (grid nodes) + c.  Without a generator the
// elements are in their reference orientation (triangles counter-clockwise,
// solids with outward faces); with one the splits and each element's node
// order are drawn from it (only relabellings that keep edges and faces).
#pragma once

#include <random>

#include <zeb/dense.hpp>

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

// Appends `count` copies of random columns of `connect` with the last row
// replaced by a new node (numbered from `first_new_node`): each shares a
// boundary with the copied element, so boundaries become non-manifold, some
// with four or more elements.
zeb::dense2D<unsigned> with_fins(const zeb::dense2D<unsigned>& connect, unsigned first_new_node, unsigned count,
                                 std::mt19937_64& g);

}  // namespace plexa_test
