#include "mesh_edges.hpp"

#include <climits>

#include <zeb/plexa/edges.hpp>
#include <zeb/plexa/topology.hpp>

#include "format.hpp"
#include "mesh_summary.hpp"

namespace plexa_cli {

using namespace zeb::plexa;

bool write_free_boundary(std::FILE* out, const zeb::dense2D<unsigned>& connect, element_type type) {
  zeb::dense2D<unsigned> neighbors, boundary;
  if (get_neighbors(connect, type, false, neighbors) != 0 ||
      get_mesh_boundaries(connect, neighbors, type, boundary) != 0)
    return false;
  // A boundary's kind follows from its node count: the entries before the
  // first UINT_MAX.
  const element_type by_nodes[5] = {ELT_NONE, ELT_NODE, ELT_EDGE2, ELT_TRIA3, ELT_QUAD4};
  unsigned per_kind[ELEMENT_TYPE_COUNT] = {};
  const unsigned count = boundary.empty() ? 0 : boundary.cols();
  for (unsigned j = 0; j < count; ++j) {
    unsigned n = 0;
    while (n < boundary.rows() && boundary(n, j) != UINT_MAX) ++n;
    ++per_kind[by_nodes[n < 5 ? n : 0]];
  }
  const char* noun[4] = {"elements", "nodes", "edges", "faces"};
  std::fprintf(out, "free boundary: %u %s\n", count, noun[element_dim(type) <= 3 ? element_dim(type) : 0]);
  for (unsigned t = 0; t < ELEMENT_TYPE_COUNT; ++t)
    if (per_kind[t] != 0) std::fprintf(out, "  %s: %u\n", element_name(element_type(t)), per_kind[t]);
  return true;
}

bool write_edge_lengths(std::FILE* out, const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& connect,
                        element_type type, double h) {
  if (!(h > 0)) return false;
  zeb::dense1D<double, 8> sizes;
  if (!sizes.resize(coords.cols(), h)) return false;
  zeb::misc::histogram lengths;
  if (edge_qualities(coords, connect, type, sizes, lengths, zeb::dense2D<unsigned>()) < 0) return false;
  std::fprintf(out, "edge lengths against a uniform size %s:\n", format_number(h).text);
  return lengths.print(out);
}

}  // namespace plexa_cli
