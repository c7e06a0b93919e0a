// `plexa demo`: the tool's embedded default run on the built-in mesh.
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

#include <zeb/plexa/core.hpp>
#include <zeb/plexa/io.hpp>

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_edges.hpp"
#include "mesh_quality.hpp"
#include "mesh_sizes.hpp"
#include "mesh_summary.hpp"

namespace plexa_cli {

namespace {

constexpr const char* default_folder = "plexa-demo";

// The size-field pipeline: a point source at the node shared by both
// hexahedra and both wedges, a twentieth of its mean edge length, graded
// to 0.5.
constexpr unsigned source_node = 10;
constexpr double source_factor = 0.05, gradation = 0.5;

// Writes the mesh, a scalar field on it (the distance of each node to the
// origin) and the graded size field as MEDIT files into `folder`, created
// when missing, and names them on call.out.
int write_files(const invocation& call, const std::string& folder, const zeb::dense2D<double>& coords,
                const zeb::dense2D<unsigned>& solids, const zeb::dense1D<double, 8>& sizes) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error && !std::filesystem::is_directory(folder))
    return failure(call, "cannot create the output folder '%s': %s", folder.c_str(), error.message().c_str());

  const std::string mesh = folder + "/demo.mesh", field = folder + "/demo.sol", graded = folder + "/demo-sizes.sol";
  if (zeb::plexa::medit_output(mesh.c_str(), coords, solids, zeb::plexa::ELT_SOLID_MIX) != 0)
    return failure(call, "cannot write '%s'", mesh.c_str());

  zeb::dense2D<double> distance(1, coords.cols());
  if (distance.cols() != coords.cols()) return failure(call, "out of memory");
  for (unsigned j = 0; j < coords.cols(); ++j) {
    double sum = 0;
    for (unsigned i = 0; i < coords.rows(); ++i) sum += coords(i, j) * coords(i, j);
    distance(0, j) = std::sqrt(sum);
  }
  if (zeb::plexa::medit_solution_output(field.c_str(), coords.rows(), distance) != 0)
    return failure(call, "cannot write '%s'", field.c_str());
  zeb::dense2D<double> size_row(1, sizes.size());
  if (size_row.cols() != sizes.size()) return failure(call, "out of memory");
  for (unsigned j = 0; j < sizes.size(); ++j) size_row(0, j) = sizes[j];
  if (zeb::plexa::medit_solution_output(graded.c_str(), coords.rows(), size_row) != 0)
    return failure(call, "cannot write '%s'", graded.c_str());

  std::fprintf(call.out,
               "output folder: %s\n"
               "  demo.mesh: the mesh (MEDIT)\n"
               "  demo.sol: distance of each node to the origin (MEDIT scalar solution)\n"
               "  demo-sizes.sol: the graded size field (MEDIT scalar solution)\n",
               folder.c_str());
  return EXIT_OK;
}

// The free boundary of the mesh (faces by kind) and the histogram of its
// edge lengths against a uniform size of 1.
int write_boundary_and_edges(const invocation& call, const zeb::dense2D<double>& coords,
                             const zeb::dense2D<unsigned>& solids) {
  if (!write_free_boundary(call.out, solids, zeb::plexa::ELT_SOLID_MIX) ||
      !write_edge_lengths(call.out, coords, solids, zeb::plexa::ELT_SOLID_MIX, 1.0))
    return failure(call, "cannot measure the boundary and the edges of the built-in mesh");
  return EXIT_OK;
}

int demo_main(const invocation& call) {
  std::string folder = default_folder;
  for (int k = 0; k < call.argc; ++k) {
    const char* arg = call.argv[k];
    if (std::strcmp(arg, "--output-dir") == 0 || std::strcmp(arg, "-o") == 0) {
      if (++k == call.argc) return usage_error(call, "missing folder after '%s'", arg);
      folder = call.argv[k];
      if (folder.empty()) return usage_error(call, "empty output folder");
    } else {
      return usage_error(call, "unexpected argument '%s'", arg);
    }
  }

  mesh m;
  if (!builtin_mesh(m)) return failure(call, "out of memory");
  const zeb::dense2D<unsigned>& solids = m.blocks[0];

  std::fputs("built-in mesh of mixed solids\n", call.out);
  mesh_quality q;
  const char* failed = nullptr;
  if (!write_mesh_summary(call.out, m.coords, solids, zeb::plexa::ELT_SOLID_MIX) ||
      measure_quality(m, 0, q, failed) != 0)
    return failure(call, "the built-in mesh is not a valid mixed solid mesh");
  write_quality_histogram(call.out, q);
  if (const int status = write_boundary_and_edges(call, m.coords, solids)) return status;
  zeb::dense1D<double, 8> sizes;
  if (!write_size_gradation(call.out, m.coords, solids, zeb::plexa::ELT_SOLID_MIX, source_node, source_factor,
                            gradation, sizes))
    return failure(call, "cannot grade a size field on the built-in mesh");
  return write_files(call, folder, m.coords, solids, sizes);
}

}  // namespace

extern const command demo_command = {
    "demo",
    "describe the built-in mesh of mixed solids and write it as MEDIT files",
    "Usage: plexa demo [--output-dir <folder>]\n"
    "\n"
    "Builds the built-in mesh (two hexahedra, a roof of two wedges, a pyramid\n"
    "and two tetrahedra sharing faces) and prints its node count, its elements\n"
    "by type, its bounding box and a histogram of the shape qualities of its\n"
    "elements (see 'plexa help quality'), its free boundary (faces by kind) and\n"
    "a histogram of its edge lengths (each edge once) against a uniform size of\n"
    "1.  Then it builds a size field, the mean length of the edges at each node,\n"
    "makes it rough with a point source (node 10 at a twentieth of its size),\n"
    "bounds its gradation to 0.5 with sizes only shrinking, and prints the\n"
    "largest gradation along an edge before and after, and the number of nodes\n"
    "changed.  Last it writes into the output folder, which it creates when\n"
    "missing and names on the standard output:\n"
    "  demo.mesh       the mesh, as a MEDIT mesh file;\n"
    "  demo.sol        the distance of each node to the origin, as a MEDIT\n"
    "                  solution file of one scalar per vertex (SolAtVertices;\n"
    "                  viewers pair it with demo.mesh);\n"
    "  demo-sizes.sol  the graded size field, in the same layout.\n"
    "\n"
    "Options:\n"
    "  -o, --output-dir <folder>  where to write the files (default: plexa-demo,\n"
    "                             in the current directory)\n",
    demo_main,
};

}  // namespace plexa_cli
