// `plexa info`: what a mesh or solution file holds.
#include <cstring>
#include <string>

#include <zeb/plexa/messages.hpp>

#include "command.hpp"
#include "format.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "mesh_input.hpp"
#include "mesh_summary.hpp"

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

int solution_info(const invocation& call, const char* path, const field_format& format) {
  field f;
  if (const int status = read_field_input(call, path, format, f)) return status;
  const unsigned rows = f.values.rows(), nodes = f.values.cols();
  std::fprintf(call.out, "%s (%s)\ndimension: %u\nnodes: %u\nvalues per node: %u (%s)\n", path, format.name, f.dim,
               nodes, rows, field_kind(rows, f.dim));
  for (unsigned i = 0; i < rows && nodes > 0; ++i) {
    double lo = f.values(i, 0), hi = lo;
    for (unsigned j = 1; j < nodes; ++j) {
      lo = f.values(i, j) < lo ? f.values(i, j) : lo;
      hi = f.values(i, j) > hi ? f.values(i, j) : hi;
    }
    std::fprintf(call.out, "  row %u: [%s, %s]\n", i, format_number(lo).text, format_number(hi).text);
  }
  return EXIT_OK;
}

int info_main(const invocation& call) {
  const char* input = nullptr;
  for (int k = 0; k < call.argc; ++k) {
    const char* arg = call.argv[k];
    if (arg[0] == '-' && arg[1] != '\0') return usage_error(call, "unknown option '%s'", arg);
    if (input) return usage_error(call, "unexpected argument '%s'", arg);
    input = arg;
  }
  if (!input) return usage_error(call, "missing file");
  if (const field_format* format = field_format_of(input)) return solution_info(call, input, *format);
  mesh_input in;
  if (const int status = find_mesh_input(call, input, in)) return status;
  mesh m;
  if (const int status = read_mesh_input(call, in, m)) return status;
  std::fprintf(call.out, "%s (%s)\n", in.name(), in.builtin() ? "built-in" : in.format->name);
  if (!write_mesh_summary(call.out, m)) return failure(call, "cannot describe '%s'", in.name());
  return EXIT_OK;
}

}  // namespace

extern const command info_command = {
    "info",
    "describe what a mesh or solution file holds",
    "Usage: plexa info <file> | builtin\n"
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
    ".sol and .bb (MEDIT solutions, both layouts).\n",
    info_main,
};

}  // namespace plexa_cli
