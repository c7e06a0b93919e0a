#include "builtin_mesh.hpp"

#include <climits>

namespace plexa_cli {

namespace {

constexpr unsigned NO = UINT_MAX;

// Nodes 0-11: the grid x in {0, 1, 2}, y in {0, 1}, z in {0, 1}, node
// x + 3y + 6z; 12-14: the roof ridge above x = 0, 1, 2; 15: apex of the
// pyramid; 16: apex of the tetrahedron at x = 0.
constexpr double node_xyz[17][3] = {
    {0, 0, 0},   {1, 0, 0},   {2, 0, 0},   {0, 1, 0},     {1, 1, 0},    {2, 1, 0},
    {0, 0, 1},   {1, 0, 1},   {2, 0, 1},   {0, 1, 1},     {1, 1, 1},    {2, 1, 1},
    {0, 0.5, 1.5}, {1, 0.5, 1.5}, {2, 0.5, 1.5}, {2.5, 0.5, 0.5}, {-0.5, 0.5, 1.25},
};

constexpr unsigned element_nodes[7][8] = {
    {0, 1, 4, 3, 6, 7, 10, 9},       // hexahedron x in [0, 1]
    {1, 2, 5, 4, 7, 8, 11, 10},      // hexahedron x in [1, 2]
    {6, 9, 12, 7, 10, 13, NO, NO},   // wedge on top of the first
    {7, 10, 13, 8, 11, 14, NO, NO},  // wedge on top of the second
    {2, 5, 11, 8, 15, NO, NO, NO},   // pyramid on the face x = 2
    {8, 11, 14, 15, NO, NO, NO, NO}, // tetrahedron: roof end x = 2 to the pyramid
    {9, 6, 12, 16, NO, NO, NO, NO},  // tetrahedron capping the roof end x = 0
};
}  // namespace

bool builtin_mesh(zeb::dense2D<double>& coords, zeb::dense2D<unsigned>& solids) {
  if (!coords.resize(3, 17) || !solids.resize(8, 7)) {
    coords = zeb::dense2D<double>();
    solids = zeb::dense2D<unsigned>();
    return false;
  }
  for (unsigned j = 0; j < 17; ++j)
    for (unsigned i = 0; i < 3; ++i) coords(i, j) = node_xyz[j][i];
  for (unsigned j = 0; j < 7; ++j)
    for (unsigned i = 0; i < 8; ++i) solids(i, j) = element_nodes[j][i];
  return true;
}

}  // namespace plexa_cli
