// `plexa demo`: the tool's embedded default run on the built-in mesh.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <zeb/plexa/core.hpp>
#include <zeb/plexa/io.hpp>

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_edges.hpp"
#include "mesh_output.hpp"
#include "mesh_quality.hpp"
#include "mesh_sizes.hpp"
#include "mesh_summary.hpp"
#include "options.hpp"

namespace plexa_cli {

namespace {

constexpr const char* default_folder = "plexa-demo";

// The size-field pipeline: a point source at the node shared by both
// hexahedra and both wedges, a twentieth of its mean edge length, graded
// to 0.5.
constexpr unsigned source_node = 10;
constexpr const char* solution_signature = "medit_solution_output(path, dim, values)";
constexpr double source_factor = 0.05, gradation = 0.5;

// Writes the mesh, a scalar field on it (the distance of each node to the
// origin) and the graded size field as MEDIT files into `folder`, created
// when missing.
int write_files(const invocation& call, const std::string& folder, const zeb::dense2D<double>& coords,
                const zeb::dense2D<unsigned>& solids, const zeb::dense1D<double, 8>& sizes) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error && !std::filesystem::is_directory(folder))
    return failure(call, "cannot create the output folder '%s': %s", folder.c_str(), system_reason(error.value()));

  const std::string mesh = folder + "/demo.mesh", field = folder + "/demo.sol", graded = folder + "/demo-sizes.sol";
  errno = 0;
  int code = zeb::plexa::medit_output(mesh.c_str(), coords, solids, zeb::plexa::ELT_SOLID_MIX);
  if (code != 0) return write_failure(call, mesh.c_str(), "medit_output(path, pos, connect, type)", code, errno);

  zeb::dense2D<double> distance(1, coords.cols());
  if (distance.cols() != coords.cols()) return failure(call, "out of memory");
  for (unsigned j = 0; j < coords.cols(); ++j) {
    double sum = 0;
    for (unsigned i = 0; i < coords.rows(); ++i) sum += coords(i, j) * coords(i, j);
    distance(0, j) = std::sqrt(sum);
  }
  errno = 0;
  if ((code = zeb::plexa::medit_solution_output(field.c_str(), coords.rows(), distance)) != 0)
    return write_failure(call, field.c_str(), solution_signature, code, errno);
  zeb::dense2D<double> size_row(1, sizes.size());
  if (size_row.cols() != sizes.size()) return failure(call, "out of memory");
  for (unsigned j = 0; j < sizes.size(); ++j) size_row(0, j) = sizes[j];
  errno = 0;
  if ((code = zeb::plexa::medit_solution_output(graded.c_str(), coords.rows(), size_row)) != 0)
    return write_failure(call, graded.c_str(), solution_signature, code, errno);
  return EXIT_OK;
}

void write_file_list(const invocation& call, const std::string& folder) {
  std::fprintf(call.out,
               "output folder: %s\n"
               "  demo.mesh: the mesh (MEDIT)\n"
               "  demo.sol: distance of each node to the origin (MEDIT scalar solution)\n"
               "  demo-sizes.sol: the graded size field (MEDIT scalar solution)\n",
               folder.c_str());
}

// The description of the built-in mesh, into `out`: its summary, the
// histogram of its qualities, its free boundary (faces by kind), the
// histogram of its edge lengths against a uniform size of 1, and the graded
// size field (returned in `sizes`).  A message, or nullptr.
const char* describe(std::FILE* out, const mesh& m, zeb::dense1D<double, 8>& sizes) {
  const zeb::dense2D<unsigned>& solids = m.blocks[0];
  std::fputs("built-in mesh of mixed solids\n", out);
  mesh_quality q;
  const char* failed = nullptr;
  if (!write_mesh_summary(out, m.coords, solids, zeb::plexa::ELT_SOLID_MIX) || measure_quality(m, 0, q, failed) != 0)
    return "the built-in mesh is not a valid mixed solid mesh";
  write_quality_histogram(out, q);
  if (!write_free_boundary(out, solids, zeb::plexa::ELT_SOLID_MIX) ||
      !write_edge_lengths(out, m.coords, solids, zeb::plexa::ELT_SOLID_MIX, 1.0))
    return "cannot measure the boundary and the edges of the built-in mesh";
  if (!write_size_gradation(out, m.coords, solids, zeb::plexa::ELT_SOLID_MIX, source_node, source_factor, gradation,
                            sizes))
    return "cannot grade a size field on the built-in mesh";
  return nullptr;
}

enum { OUTPUT_DIR };
const option_info options[] = {{"--output-dir", 'o', "folder"}};

int demo_main(const invocation& call) {
  parsed_arguments args;
  if (const int status = parse_arguments(call, options, 1, 0, args)) return status;
  const std::string folder = args.has(OUTPUT_DIR) ? args.value(OUTPUT_DIR) : default_folder;
  if (folder.empty()) return usage_error(call, "empty output folder");

  mesh m;
  if (!builtin_mesh(m)) return failure(call, "out of memory");
  // The description is printed once the files are written, so that a
  // failure leaves only its message.
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* description = open_memstream(&text, &size);
  if (!description) return failure(call, "out of memory");
  zeb::dense1D<double, 8> sizes;
  const char* problem = describe(description, m, sizes);
  const bool complete = std::fclose(description) == 0;
  const std::string summary = text ? std::string(text, size) : std::string();
  std::free(text);
  if (problem) return failure(call, "%s", problem);
  if (!complete) return failure(call, "out of memory");
  if (const int status = write_files(call, folder, m.coords, m.blocks[0], sizes)) return status;
  std::fputs(summary.c_str(), call.out);
  write_file_list(call, folder);
  return EXIT_OK;
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
