// `plexa quality`: the element quality of a mesh.
#include <zeb/plexa/messages.hpp>

#include "command.hpp"
#include "json.hpp"
#include "mesh.hpp"
#include "mesh_input.hpp"
#include "mesh_quality.hpp"
#include "mesh_summary.hpp"
#include "options.hpp"
#include "progress.hpp"

namespace plexa_cli {

namespace {

constexpr unsigned default_worst = 5;

enum { WORST, JSON };
const option_info options[] = {{"--worst", '\0', "count"}, {"--json", '\0', nullptr}};

void write_json(std::FILE* out, const mesh_input& in, const mesh& m, const mesh_quality& q) {
  json_writer j(out);
  j.begin_object();
  write_mesh_counts(j, in.name(), m);
  j.count("measured", q.measured);
  j.count("unmeasured", q.unmeasured);
  j.histogram("shape_quality", q.qualities);
  j.histogram("scaled_jacobian", q.scaled_jacobians);
  j.begin_array("worst");
  for (const measured_element& e : q.worst) {
    j.begin_object();
    j.count("block", e.block);
    j.count("element", e.element);
    j.text("type", element_name(e.kind));
    j.number("quality", e.quality);
    j.number("scaled_jacobian", e.scaled_jacobian);
    j.end_object();
  }
  j.end_array();
  j.count("inverted", q.inverted);
  j.count("degenerate", q.degenerate);
  j.end_object();
  j.finish();
}

int quality_main(const invocation& call) {
  parsed_arguments args;
  if (const int status = parse_arguments(call, options, 2, 1, args)) return status;
  unsigned worst = default_worst;
  if (const char* text = args.value(WORST))
    if (!parse_count(text, 1000, worst)) return usage_error(call, "invalid count '%s' of '--worst'", text);
  progress shown(call.err, call.self.name);
  mesh_input in;
  mesh m;
  const char* input = args.positionals.empty() ? nullptr : args.positionals[0];
  if (const int status = read_mesh_argument(call, input, shown, in, m)) return status;
  shown.step("measuring the elements");

  mesh_quality q;
  const char* failed = nullptr;
  if (const int code = measure_quality(m, worst, q, failed)) {
    char reason[160];
    zeb::plexa::result_message(failed, code, reason, sizeof reason);
    if (in.builtin()) return failure(call, "cannot measure the built-in mesh: %s", reason);
    return failure(call, "cannot measure '%s': %s", in.path, reason);
  }
  shown.done();
  if (args.has(JSON)) {
    write_json(call.out, in, m, q);
    return EXIT_OK;
  }
  std::fprintf(call.out, "%s: %u nodes, %u elements\n", in.name(), m.coords.cols(), m.element_count());
  if (q.unmeasured > 0) std::fprintf(call.out, "not measured (nodes and edges): %u\n", q.unmeasured);
  write_quality_report(call.out, q);
  return EXIT_OK;
}

}  // namespace

extern const command quality_command = {
    "quality",
    "measure the shape quality and the Jacobians of the elements of a mesh",
    "Usage: plexa quality [builtin | <mesh file>] [--worst <n>] [--json]\n"
    "\n"
    "Measures every face and solid of a mesh and prints:\n"
    "  - a histogram of their shape qualities: 1 for the regular element of its\n"
    "    kind (equilateral triangle, square, regular tetrahedron, cube, right\n"
    "    prism with square sides, pyramid with equilateral sides), falling to 0\n"
    "    as the element degenerates, negative when it is inverted;\n"
    "  - a histogram of their scaled Jacobians, the smallest determinant of the\n"
    "    Jacobian of the element's map over the largest (1 for an affine\n"
    "    element; for quadratic triangles and tetrahedra the smallest is a\n"
    "    certified lower bound);\n"
    "  - the worst elements, lowest shape quality first, with their block and\n"
    "    their index in it;\n"
    "  - the number of inverted elements (a negative shape quality or smallest\n"
    "    determinant) and of degenerate ones (0 instead).\n"
    "Nodes and edges are counted but not measured.\n"
    "\n"
    "Input: the built-in mesh (the mesh of 'plexa demo'), named 'builtin' or\n"
    "left out, or a mesh file of a format the tool can read.\n"
    "\n"
    "Options:\n"
    "  --worst <n>  how many of the worst elements to list (0 to 1000; default 5)\n"
    "  --json       print one JSON object instead of the text:\n"
    "                 mesh, nodes, elements, measured, unmeasured (counts);\n"
    "                 shape_quality, scaled_jacobian: histograms {count, nan,\n"
    "                   min, max, mean, bins: [{from, to, count}]} (from of the\n"
    "                   first bin and to of the last are null);\n"
    "                 worst: [{block, element, type, quality, scaled_jacobian}];\n"
    "                 inverted, degenerate.\n"
    "                 Numbers not finite are null.\n",
    quality_main,
};

}  // namespace plexa_cli
