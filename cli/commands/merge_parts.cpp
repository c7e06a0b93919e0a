// `plexa merge-parts`: glues part files (as `plexa partition` writes them)
// back into one mesh through their global ids, with their fields.
#include <cstring>
#include <string>
#include <vector>

#include <zeb/plexa/messages.hpp>
#include <zeb/plexa/mpi.hpp>

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "mesh_input.hpp"
#include "mesh_output.hpp"
#include "part_files.hpp"

namespace plexa_cli {

namespace {

// "X.mesh" -> "X.sol": the field beside a part file.
std::string field_beside(const char* part) {
  std::string path(part);
  const std::size_t dot = path.rfind('.');
  if (dot != std::string::npos && path.find('/', dot) == std::string::npos) path.erase(dot);
  return path + ".sol";
}

int merge_parts_main(const invocation& call) {
  std::vector<const char*> inputs;
  const char* output = nullptr;
  const char* field_output = nullptr;
  for (int k = 0; k < call.argc; ++k) {
    const char* arg = call.argv[k];
    if (std::strcmp(arg, "-o") == 0 || std::strcmp(arg, "--output") == 0) {
      if (++k == call.argc) return usage_error(call, "%s needs an output file", arg);
      output = call.argv[k];
    } else if (std::strcmp(arg, "--field") == 0) {
      if (++k == call.argc) return usage_error(call, "%s needs an output solution file", arg);
      field_output = call.argv[k];
    } else if (arg[0] == '-' && arg[1] != '\0') {
      return usage_error(call, "unknown option '%s'", arg);
    } else {
      inputs.push_back(arg);
    }
  }
  if (inputs.empty()) return usage_error(call, "missing part files");
  if (!output) return usage_error(call, "missing output mesh (-o)");
  const mesh_format* format;
  if (const int status = find_mesh_output(call, output, format)) return status;
  const field_format* out_field = nullptr;
  if (field_output && !(out_field = field_format_of(field_output)))
    return usage_error(call, "'%s' is no solution file (%s)", field_output, field_extensions().c_str());

  const unsigned parts = unsigned(inputs.size());
  std::vector<mesh> meshes(parts);
  std::vector<zeb::dense2D<double>> coords(parts);
  std::vector<zeb::dense2D<unsigned>> connects(parts);
  std::vector<zeb::dense1D<unsigned, 8>> ids(parts), ranges(parts), refs(parts);
  std::vector<field> fields(parts);
  for (unsigned q = 0; q < parts; ++q) {
    if (const int status = read_part(call, inputs[q], meshes[q], ids[q])) return status;
    if (!meshes[q].joined(connects[q], ranges[q]) || !meshes[q].joined_ids(refs[q], 0))
      return failure(call, "out of memory");
    coords[q] = meshes[q].coords;
    if (!out_field) continue;
    const std::string path = field_beside(inputs[q]);
    if (const int status = read_field_input(call, path.c_str(), *out_field, fields[q])) return status;
    if (fields[q].values.cols() != coords[q].cols() || fields[q].values.rows() != fields[0].values.rows())
      return failure(call, "'%s' does not hold one value of the same kind per node of '%s'", path.c_str(),
                     inputs[q]);
  }
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> node_of;
  const int nodes = zeb::plexa::assemble_parts(coords.data(), connects.data(), ids.data(), parts, pos, connect, node_of);
  if (nodes < 0) {
    char reason[160];
    zeb::plexa::result_message("assemble_parts(pos, connect, ids, parts, pos, connect, node_of)", nodes, reason,
                               sizeof reason);
    return failure(call, "cannot glue the parts: %s", reason);
  }
  // The parts' blocks one after the other.
  unsigned blocks = 0, elements = 0;
  for (unsigned q = 0; q < parts; ++q) blocks += meshes[q].block_count();
  zeb::dense1D<unsigned, 8> all_ranges(blocks + 1), all_refs(connect.empty() ? 0 : connect.cols());
  zeb::dense1D<int, 8> all_types(blocks);
  if (all_ranges.size() != blocks + 1 || all_types.size() != blocks) return failure(call, "out of memory");
  all_ranges[0] = 0;
  for (unsigned q = 0, b = 0; q < parts; ++q) {
    for (unsigned k = 0; k < meshes[q].block_count(); ++k, ++b) {
      all_types[b] = meshes[q].types[k];
      all_ranges[b + 1] = elements + ranges[q][k + 1];
    }
    for (unsigned j = 0; j < refs[q].size(); ++j) all_refs[elements + j] = refs[q][j];
    elements += refs[q].size();
  }
  mesh merged;
  if (!merged.assign(pos, connect, all_ranges, all_types, all_refs)) return failure(call, "out of memory");
  if (const int status = write_mesh_output(call, *format, output, merged)) return status;
  if (!out_field) return EXIT_OK;
  // Each node's value from its first copy.
  field f;
  f.dim = fields[0].dim;
  zeb::dense1D<unsigned char, 8> filled(unsigned(nodes), 0);
  if (!f.values.resize(fields[0].values.rows(), unsigned(nodes)) || filled.size() != unsigned(nodes))
    return failure(call, "out of memory");
  for (unsigned q = 0, at = 0; q < parts; ++q)
    for (unsigned i = 0; i < fields[q].values.cols(); ++i, ++at) {
      const unsigned v = node_of[at];
      if (filled[v]) continue;
      filled[v] = 1;
      for (unsigned r = 0; r < f.values.rows(); ++r) f.values(r, v) = fields[q].values(r, i);
    }
  if (const int status = write_field_file(call, *out_field, field_output, f)) return status;
  std::fprintf(call.out, "wrote %s (%s): %u values per node, %d nodes\n", field_output, out_field->name,
               f.values.rows(), nodes);
  return EXIT_OK;
}

}  // namespace

extern const command merge_parts_command = {
    "merge-parts",
    "glue part files back into one mesh, with their fields",
    "Usage: plexa merge-parts <part.mesh>... -o <output> [--field <output.sol>]\n"
    "\n"
    "Reads part files as 'plexa partition' writes them (MEDIT meshes whose vertex\n"
    "references are global node ids) and glues them into one mesh: one node per\n"
    "global id, numbered by increasing id, with the coordinates of its first\n"
    "copy; the parts' elements one part after the other.  Writes the mesh in the\n"
    "format named by the output's extension.  With --field, reads beside each\n"
    "part file its field (<part>.sol for <part>.mesh: the same number of values\n"
    "per node in every part) and writes the glued field, each node's values\n"
    "taken from its first copy.\n"
    "\n"
    "  -o, --output <file>   the mesh to write\n"
    "  --field <file.sol>    also glue the parts' fields into this solution file\n",
    merge_parts_main,
};

}  // namespace plexa_cli
