// `plexa weld`: reads an STL file, whose triangle soup the reader welds,
// reports what the weld did and what the surface looks like, and writes the
// welded mesh in the format that the output file's extension names.
#include <algorithm>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include <zeb/plexa/io/stl.hpp>
#include <zeb/plexa/messages.hpp>
#include <zeb/plexa/topology.hpp>

#include "command.hpp"
#include "format.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "mesh_output.hpp"

namespace plexa_cli {

namespace {

constexpr unsigned NONE = 4294967295u;

// Edges of one triangle (free) and of three or more (non-manifold).
struct edge_counts {
  unsigned free = 0, non_manifold = 0;
};

// From the neighbours: an edge shared by three or more triangles is left
// unlinked when non-manifold edges are not linked, and linked when they
// are; a free edge is unlinked either way.  The sides of the non-manifold
// edges are then counted by their (sorted) nodes.  False when memory runs
// out.
bool count_edges(const zeb::dense2D<unsigned>& triangles, edge_counts& counts) {
  using namespace zeb::plexa;
  zeb::dense2D<unsigned> linked, unlinked;
  if (get_neighbors(triangles, ELT_TRIA3, true, linked) != 0 ||
      get_neighbors(triangles, ELT_TRIA3, false, unlinked) != 0)
    return false;
  std::vector<std::pair<unsigned, unsigned>> shared;
  try {
    for (unsigned j = 0; j < linked.cols(); ++j)
      for (unsigned e = 0; e < 3; ++e) {
        if (linked(e, j) == NONE) {
          ++counts.free;
        } else if (unlinked(e, j) == NONE) {
          // Boundary e of a triangle is its edge opposite node e.
          const unsigned a = triangles((e + 1) % 3, j), b = triangles((e + 2) % 3, j);
          shared.emplace_back(std::min(a, b), std::max(a, b));
        }
      }
  } catch (const std::bad_alloc&) {
    return false;
  }
  std::sort(shared.begin(), shared.end());
  counts.non_manifold = unsigned(std::unique(shared.begin(), shared.end()) - shared.begin());
  return true;
}

int weld_main(const invocation& call) {
  const char* input = nullptr;
  const char* output = nullptr;
  for (int k = 0; k < call.argc; ++k) {
    const char* arg = call.argv[k];
    if (arg[0] == '-' && arg[1] != '\0') return usage_error(call, "unknown option '%s'", arg);
    if (!input)
      input = arg;
    else if (!output)
      output = arg;
    else
      return usage_error(call, "unexpected argument '%s'", arg);
  }
  if (!input) return usage_error(call, "missing input STL file");
  if (!output) return usage_error(call, "missing output file");
  const mesh_format* in_format = format_of(input);
  if (!in_format || std::strcmp(in_format->extension, ".stl") != 0)
    return usage_error(call, "the input '%s' is not an STL file (.stl)", input);
  const mesh_format* format;
  if (const int status = find_mesh_output(call, output, format)) return status;

  mesh m;
  zeb::dense2D<unsigned> triangles;
  zeb::plexa::STL_read_report report;
  const int code = zeb::plexa::STL_input(input, m.coords, triangles, report);
  if (code != 0) {
    char reason[160];
    zeb::plexa::result_message("STL_input(path, pos, connect, report)", code, reason, sizeof reason);
    return failure(call, "cannot read '%s': %s", input, reason);
  }
  edge_counts edges;
  if (!m.add_block(triangles, zeb::plexa::ELT_TRIA3) || !count_edges(triangles, edges))
    return failure(call, "out of memory");

  std::fprintf(call.out, "%s: %s STL, %u triangles\n", input, report.binary ? "binary" : "ASCII", report.triangles);
  if (report.welded)
    std::fprintf(call.out, "tolerance: %s (0.05 x the smallest triangle height)\n",
                 format_number(report.tolerance, 6).text);
  else
    std::fprintf(call.out, "tolerance: none (no triangle of positive height: the soup is kept as read)\n");
  std::fprintf(call.out,
               "nodes: %u read, %u after welding\n"
               "degenerate triangles removed: %u\n"
               "triangles: %u\n"
               "free edges: %u\n"
               "non-manifold edges: %u\n",
               3 * report.triangles, m.coords.cols(), report.removed, triangles.cols(), edges.free,
               edges.non_manifold);

  return write_mesh_output(call, *format, output, m);
}

}  // namespace

extern const command weld_command = {
    "weld",
    "weld the triangle soup of an STL file into a conforming surface",
    "Usage: plexa weld <input.stl> <output file>\n"
    "\n"
    "Reads an STL file (ASCII or binary) and welds its triangle soup: every\n"
    "vertex is read as a node of its own, exactly coincident nodes are merged,\n"
    "then nodes closer than 0.05 x the smallest triangle height, and the\n"
    "triangles left without three distinct nodes are removed.  Prints what was\n"
    "read and done:\n"
    "  - the variant and the number of triangles read;\n"
    "  - the tolerance of the second merge;\n"
    "  - the nodes read (three per triangle) and those left after welding;\n"
    "  - the degenerate triangles removed and the triangles left;\n"
    "  - the free edges (of one triangle) and the non-manifold edges (of three\n"
    "    or more) of the welded surface;\n"
    "then writes the welded surface in the format named by the extension of the\n"
    "output file (.mesh, .vtk, .nas, .bdf, .geo, .stl: see 'plexa help convert').\n",
    weld_main,
};

}  // namespace plexa_cli
