// `plexa weld`: reads an STL file, whose triangle soup the reader welds,
// reports what the weld did and what the surface looks like, and writes the
// welded mesh in the format that the output file's extension names.
#include <cstring>

#include <zeb/plexa/io/stl.hpp>
#include <zeb/plexa/messages.hpp>

#include "command.hpp"
#include "format.hpp"
#include "json.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "mesh_output.hpp"
#include "mesh_topology.hpp"
#include "options.hpp"
#include "progress.hpp"

namespace plexa_cli {

namespace {

enum { JSON };
const option_info options[] = {{"--json", '\0', nullptr}};

int weld_main(const invocation& call) {
  parsed_arguments args;
  if (const int status = parse_arguments(call, options, 1, 2, args)) return status;
  const char* input = args.positionals.size() > 0 ? args.positionals[0] : nullptr;
  const char* output = args.positionals.size() > 1 ? args.positionals[1] : nullptr;
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
  progress shown(call.err, call.self.name);
  shown.step("reading and welding");
  const int code = zeb::plexa::STL_input(input, m.coords, triangles, report);
  if (code != 0) {
    char reason[160];
    zeb::plexa::result_message("STL_input(path, pos, connect, report)", code, reason, sizeof reason);
    return failure(call, "cannot read '%s': %s", input, reason);
  }
  boundary_counts edges;
  if (!m.add_block(triangles, zeb::plexa::ELT_TRIA3) || !count_boundaries(triangles, zeb::plexa::ELT_TRIA3, 0, edges))
    return failure(call, "out of memory");

  // The file first, so that a report is printed only for a file written.
  shown.step("writing");
  if (const int status = write_mesh_file(call, *format, output, m)) return status;
  shown.done();
  if (args.has(JSON)) {
    json_writer j(call.out);
    j.begin_object();
    j.text("input", input);
    j.text("variant", report.binary ? "binary" : "ASCII");
    j.count("triangles_read", report.triangles);
    if (report.welded)
      j.number("tolerance", report.tolerance);
    else
      j.null("tolerance");
    j.count("nodes_read", 3ull * report.triangles);
    j.count("nodes", m.coords.cols());
    j.count("degenerate_removed", report.removed);
    j.count("triangles", triangles.cols());
    j.count("free_edges", edges.free);
    j.count("non_manifold_edges", edges.non_manifold);
    j.text("output", output);
    j.text("output_format", format->name);
    j.end_object();
    j.finish();
    return EXIT_OK;
  }
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
  report_written(call, *format, output, m);
  return EXIT_OK;
}

}  // namespace

extern const command weld_command = {
    "weld",
    "weld the triangle soup of an STL file into a conforming surface",
    "Usage: plexa weld <input.stl> <output file> [--json]\n"
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
    "output file (.mesh, .vtk, .nas, .bdf, .geo, .stl: see 'plexa help convert').\n"
    "\n"
    "Options:\n"
    "  --json  print one JSON object instead of the text: input, variant\n"
    "          (\"ASCII\" or \"binary\"), triangles_read, tolerance (null when\n"
    "          nothing was welded), nodes_read, nodes, degenerate_removed,\n"
    "          triangles, free_edges, non_manifold_edges, output,\n"
    "          output_format.\n",
    weld_main,
};

}  // namespace plexa_cli
