// `plexa quality`: the element quality of a mesh.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <zeb/plexa/messages.hpp>

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_input.hpp"
#include "mesh_quality.hpp"

namespace plexa_cli {

namespace {

constexpr unsigned default_worst = 5;

// A count of at most 1000 written in decimal digits.
bool parse_count(const char* text, unsigned& value) {
  if (*text < '0' || *text > '9') return false;
  char* end;
  errno = 0;
  const unsigned long v = std::strtoul(text, &end, 10);
  if (*end != '\0' || errno != 0 || v > 1000) return false;
  value = unsigned(v);
  return true;
}

int quality_main(const invocation& call) {
  const char* input = nullptr;
  unsigned worst = default_worst;
  for (int k = 0; k < call.argc; ++k) {
    const char* arg = call.argv[k];
    if (std::strcmp(arg, "--worst") == 0) {
      if (++k == call.argc) return usage_error(call, "missing count after '%s'", arg);
      if (!parse_count(call.argv[k], worst)) return usage_error(call, "invalid count '%s' of '%s'", call.argv[k], arg);
    } else if (arg[0] == '-' && arg[1] != '\0') {
      return usage_error(call, "unknown option '%s'", arg);
    } else if (input) {
      return usage_error(call, "unexpected argument '%s'", arg);
    } else {
      input = arg;
    }
  }
  mesh_input in;
  if (const int status = find_mesh_input(call, input, in)) return status;
  mesh m;
  if (const int status = read_mesh_input(call, in, m)) return status;

  mesh_quality q;
  const char* failed = nullptr;
  if (const int code = measure_quality(m, worst, q, failed)) {
    char reason[160];
    zeb::plexa::result_message(failed, code, reason, sizeof reason);
    if (in.builtin()) return failure(call, "cannot measure the built-in mesh: %s", reason);
    return failure(call, "cannot measure '%s': %s", in.path, reason);
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
    "Usage: plexa quality [builtin | <mesh file>] [--worst <n>]\n"
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
    "  --worst <n>  how many of the worst elements to list (0 to 1000; default 5)\n",
    quality_main,
};

}  // namespace plexa_cli
