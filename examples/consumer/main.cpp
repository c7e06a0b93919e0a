// Builds two triangles sharing an edge, checks them and lists their nodes.
#include <cstdio>

#include <zeb/plexa.hpp>

int main() {
  using namespace zeb::plexa;

  // Four nodes in the plane, one column per node.
  zeb::dense2D<double> coords(2, 4);
  const double xy[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
  for (unsigned j = 0; j < 4; ++j)
    for (unsigned i = 0; i < 2; ++i) coords(i, j) = xy[j][i];

  // Two triangles, one column per element, nbr_nodes(ELT_TRIA3) rows.
  zeb::dense2D<unsigned> triangles(nbr_nodes(ELT_TRIA3), 2);
  const unsigned nodes[2][3] = {{0, 1, 2}, {0, 2, 3}};
  for (unsigned j = 0; j < 2; ++j)
    for (unsigned i = 0; i < 3; ++i) triangles(i, j) = nodes[j][i];

  if (!check_IDs(triangles, ELT_TRIA3, coords.cols())) {
    std::fprintf(stderr, "invalid connectivity\n");
    return 1;
  }

  zeb::dense1D<unsigned, 8> used;
  if (unique_indices(used, triangles, zeb::dense1D<unsigned, 8>()) != 0) {
    std::fprintf(stderr, "out of memory\n");
    return 1;
  }

  std::printf("plexa %s: %u triangles on %u nodes:", version(), triangles.cols(), used.size());
  for (unsigned n : used) std::printf(" %u", n);
  std::printf("\n");
  return used.size() == 4 ? 0 : 1;
}
