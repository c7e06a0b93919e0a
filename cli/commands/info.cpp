// `plexa info`: what a mesh or solution file holds.
#include <cstring>
#include <string>

#include <zeb/plexa/messages.hpp>

#include "command.hpp"
#include "format.hpp"
#include "json.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "mesh_input.hpp"
#include "mesh_summary.hpp"
#include "options.hpp"
#include "progress.hpp"

namespace plexa_cli {

namespace {

// The kind of a field of `rows` values per node in dimension `dim`.
const char* field_kind(unsigned rows, unsigned dim) {
  if (rows == 1) return "scalar";
  if (rows == dim) return "vector";
  if (rows == dim * (dim + 1) / 2) return "symmetric tensor";
  if (rows == dim * dim) return "matrix";
  return "values";
}

enum { JSON };
const option_info options[] = {{"--json", '\0', nullptr}};

// The range of row i of the field.
void row_range(const field& f, unsigned i, double& lo, double& hi) {
  lo = f.values(i, 0), hi = lo;
  for (unsigned j = 1; j < f.values.cols(); ++j) {
    lo = f.values(i, j) < lo ? f.values(i, j) : lo;
    hi = f.values(i, j) > hi ? f.values(i, j) : hi;
  }
}

int solution_info(const invocation& call, const char* path, const field_format& format, bool json) {
  field f;
  if (const int status = read_field_input(call, path, format, f)) return status;
  const unsigned rows = f.values.rows(), nodes = f.values.cols();
  double lo, hi;
  if (json) {
    json_writer j(call.out);
    j.begin_object();
    j.text("file", path);
    j.text("format", format.name);
    j.count("dimension", f.dim);
    j.count("nodes", nodes);
    j.count("values_per_node", rows);
    j.text("kind", field_kind(rows, f.dim));
    j.begin_array("ranges");
    for (unsigned i = 0; i < rows && nodes > 0; ++i) {
      row_range(f, i, lo, hi);
      j.begin_array();
      j.number(lo);
      j.number(hi);
      j.end_array();
    }
    j.end_array();
    j.end_object();
    j.finish();
    return EXIT_OK;
  }
  std::fprintf(call.out, "%s (%s)\ndimension: %u\nnodes: %u\nvalues per node: %u (%s)\n", path, format.name, f.dim,
               nodes, rows, field_kind(rows, f.dim));
  for (unsigned i = 0; i < rows && nodes > 0; ++i) {
    row_range(f, i, lo, hi);
    std::fprintf(call.out, "  row %u: [%s, %s]\n", i, format_number(lo).text, format_number(hi).text);
  }
  return EXIT_OK;
}

int info_main(const invocation& call) {
  parsed_arguments args;
  if (const int status = parse_arguments(call, options, 1, 1, args)) return status;
  if (args.positionals.empty()) return usage_error(call, "missing file");
  const char* input = args.positionals[0];
  const bool json = args.has(JSON);
  if (const field_format* format = field_format_of(input)) return solution_info(call, input, *format, json);
  progress shown(call.err, call.self.name);
  mesh_input in;
  mesh m;
  if (const int status = read_mesh_argument(call, input, shown, in, m)) return status;
  shown.done();
  if (json) {
    json_writer j(call.out);
    j.begin_object();
    j.text("file", in.name());
    j.text("format", in.builtin() ? "built-in" : in.format->name);
    if (!write_mesh_summary(j, m)) return failure(call, "cannot describe '%s'", in.name());
    j.end_object();
    j.finish();
    return EXIT_OK;
  }
  std::fprintf(call.out, "%s (%s)\n", in.name(), in.builtin() ? "built-in" : in.format->name);
  if (!write_mesh_summary(call.out, m)) return failure(call, "cannot describe '%s'", in.name());
  return EXIT_OK;
}

}  // namespace

extern const command info_command = {
    "info",
    "describe what a mesh or solution file holds",
    "Usage: plexa info <file> | builtin [--json]\n"
    "\n"
    "Reads a mesh file and prints its node count, its elements by kind, its\n"
    "bounding box and its blocks (runs of one element type in file order),\n"
    "each with its element count and the ids its elements carry: the property\n"
    "numbers of NASTRAN and FEMAP files, the references of MEDIT files, the\n"
    "groups of OBJ files (whose names follow).  Of a solution file it prints\n"
    "the dimension, the node count, the values per node and the range of each\n"
    "row.\n"
    "\n"
    "Mesh formats read: .mesh (MEDIT), .obj (Wavefront OBJ), .stl (STL, ASCII\n"
    "or binary), and those that 'plexa help convert' lists.  Solution formats:\n"
    ".sol and .bb (MEDIT solutions, both layouts).\n"
    "\n"
    "Options:\n"
    "  --json  print one JSON object instead of the text.  Of a mesh: file,\n"
    "          format, dimension, nodes, elements, kinds {<TYPE>: count},\n"
    "          bounding_box {min: [...], max: [...]} (null without nodes),\n"
    "          blocks [{type, elements, ids: [[first, last], ...]}], names\n"
    "          [...].  Of a solution: file, format, dimension, nodes,\n"
    "          values_per_node, kind, ranges [[min, max], ...] (one per row).\n",
    info_main,
};

}  // namespace plexa_cli
