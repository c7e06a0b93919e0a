#include "mesh_sizes.hpp"

#include <zeb/plexa/edges.hpp>
#include <zeb/plexa/gradation.hpp>

#include "format.hpp"

namespace plexa_cli {

using namespace zeb::plexa;

namespace {

// The largest gradation of the field over the mesh's edges.
bool largest_gradation(const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& edges,
                       const zeb::dense1D<double, 8>& sizes, double& largest) {
  zeb::dense1D<double, 8> shock;
  if (H_shock(coords, edges, sizes, shock) != 0) return false;
  largest = 0;
  for (unsigned v = 0; v < shock.size(); ++v)
    if (shock[v] > largest) largest = shock[v];
  return true;
}

}  // namespace

bool write_size_gradation(std::FILE* out, const zeb::dense2D<double>& coords, const zeb::dense2D<unsigned>& connect,
                          element_type type, unsigned source, double factor, double g,
                          zeb::dense1D<double, 8>& sizes) {
  zeb::dense2D<unsigned> edges;
  sizes = zeb::dense1D<double, 8>();
  if (source >= coords.cols() || metrics_gen_iso(coords, connect, type, sizes, 1) != 0 ||
      copy_edges(connect, type, edges) != 0 || sizes.empty())
    return false;
  double low = sizes[0], high = sizes[0];
  for (unsigned v = 1; v < sizes.size(); ++v) {
    if (sizes[v] < low) low = sizes[v];
    if (sizes[v] > high) high = sizes[v];
  }
  sizes[source] *= factor;
  double before, after;
  if (!largest_gradation(coords, edges, sizes, before)) return false;
  const int changed = bound_metric_gradations(coords, connect, type, zeb::dense1D<unsigned, 8>(), true, -1, g, sizes);
  if (changed < 0 || !largest_gradation(coords, edges, sizes, after)) return false;
  std::fprintf(out, "size field: mean edge length at each node, %s to %s\n", format_number(low, 6).text,
               format_number(high, 6).text);
  std::fprintf(out, "point source at node %u: size %s\n", source, format_number(sizes[source], 6).text);
  std::fprintf(out, "largest gradation: %s before, %s after bounding it to %s (sizes only shrink)\n",
               format_number(before, 6).text, format_number(after, 6).text, format_number(g).text);
  std::fprintf(out, "nodes changed: %d\n", changed);
  return true;
}

}  // namespace plexa_cli
