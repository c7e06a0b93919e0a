// `plexa demo`: the tool's embedded default run on the built-in mesh.
#include <zeb/plexa/core.hpp>

#include "builtin_mesh.hpp"
#include "command.hpp"
#include "mesh_summary.hpp"

namespace plexa_cli {

namespace {

int demo_main(const invocation& call) {
  if (call.argc > 0) return usage_error(call, "unexpected argument '%s'", call.argv[0]);

  zeb::dense2D<double> coords;
  zeb::dense2D<unsigned> solids;
  if (!builtin_mesh(coords, solids)) return failure(call, "out of memory");

  std::fputs("built-in mesh of mixed solids\n", call.out);
  if (!write_mesh_summary(call.out, coords, solids, zeb::plexa::ELT_SOLID_MIX))
    return failure(call, "the built-in mesh is not a valid mixed solid mesh");
  return EXIT_OK;
}

}  // namespace

extern const command demo_command = {
    "demo",
    "describe the built-in mesh of mixed solids",
    "Usage: plexa demo\n"
    "\n"
    "Builds the built-in mesh (two hexahedra, a roof of two wedges, a pyramid\n"
    "and two tetrahedra sharing faces) and prints its node count, its elements\n"
    "by type and its bounding box.\n",
    demo_main,
};

}  // namespace plexa_cli
