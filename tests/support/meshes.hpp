// Meshes made by splitting a structured grid, for oracle tests.
//
// Grid node (i, j, k) is i + (nx+1) * (j + (ny+1) * k); cube centres (used by
// pyramids) follow the grid nodes, centre of cube c at (grid nodes) + c.
// Without a generator the elements are in their reference orientation
// (triangles counter-clockwise, solids with outward faces); with one the
// splits and each element's node order are drawn from it (node orders only
// among the relabellings that keep the element's edges and faces).
#pragma once

#include <random>

#include <zeb/dense.hpp>

namespace plexa_test {

// 2 triangles per square of an nx x ny grid.
zeb::dense2D<unsigned> grid_triangles(unsigned nx, unsigned ny, std::mt19937_64* g = nullptr);
// 1 quadrangle per square.
zeb::dense2D<unsigned> grid_quadrangles(unsigned nx, unsigned ny, std::mt19937_64* g = nullptr);
// 6 tetrahedra per cube, around the cube diagonal from (0,0,0) to (1,1,1)
// (a conforming split).
zeb::dense2D<unsigned> grid_tetrahedra(unsigned nx, unsigned ny, unsigned nz, std::mt19937_64* g = nullptr);
// An 8-row ELT_SOLID_MIX connectivity: per cube, drawn from the generator
// (cycling through the kinds without one), a hexahedron, 2 wedges, 6
// pyramids on the cube centre, or 6 tetrahedra.  Neighbouring cubes of
// different kinds may meet on faces that do not match.
zeb::dense2D<unsigned> grid_mixed_solids(unsigned nx, unsigned ny, unsigned nz, std::mt19937_64* g = nullptr);
// Node coordinates of the grid (2 rows when nz is 0), unit spacing, with the
// cube centres appended when asked.
zeb::dense2D<double> grid_coordinates(unsigned nx, unsigned ny, unsigned nz, bool centres = false);

// Appends `count` elements that each copy a random column of `connect` with
// its last row replaced by a new node (numbered from `first_new_node` on):
// each shares a boundary of the copied element (an edge of a triangle, a face
// of a tetrahedron), which makes non-manifold boundaries; repeated picks put
// four or more elements on a boundary.
zeb::dense2D<unsigned> with_fins(const zeb::dense2D<unsigned>& connect, unsigned first_new_node, unsigned count,
                                 std::mt19937_64& g);

}  // namespace plexa_test
