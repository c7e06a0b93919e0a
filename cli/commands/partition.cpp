// `plexa partition`: splits a mesh into parts of balanced element counts
// and writes one MEDIT file per part, whose vertex references are the
// nodes' global ids (see part_files.hpp).
#include <cerrno>
#include <new>
#include <vector>
#include <cstdlib>
#include <cstring>
#include <string>

#include <zeb/plexa/messages.hpp>
#include <zeb/plexa/mpi.hpp>

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_input.hpp"
#include "part_files.hpp"

namespace plexa_cli {

namespace {

constexpr unsigned NONE = 4294967295u;

// Part q's elements of the lower-dimensional blocks: those whose nodes all
// belong to the part and that no earlier part took (`taken`, one flag per
// column of each block).  `local` maps the mesh's nodes to the part's.
bool add_lower_blocks(const mesh& whole, const zeb::dense1D<unsigned, 8>& local, unsigned main_dim,
                      std::vector<zeb::dense1D<unsigned char, 8>>& taken, mesh& part) {
  using namespace zeb::plexa;
  for (unsigned k = 0; k < whole.block_count(); ++k) {
    const zeb::dense2D<unsigned>& b = whole.blocks[k];
    if (b.empty() || element_dim(element_type(whole.types[k])) == main_dim) continue;
    unsigned count = 0;
    for (int pass = 0; pass < 2; ++pass) {
      zeb::dense2D<unsigned> out;
      zeb::dense1D<unsigned, 8> ids;
      if (pass == 1 && (!out.resize(b.rows(), count, NONE) || !ids.resize(count))) return false;
      for (unsigned j = 0, at = 0; j < b.cols(); ++j) {
        if (taken[k][j]) continue;
        bool inside = true;
        for (unsigned i = 0; i < b.rows() && inside; ++i) inside = b(i, j) == NONE || local[b(i, j)] != NONE;
        if (!inside) continue;
        if (pass == 0) {
          ++count;
          continue;
        }
        for (unsigned i = 0; i < b.rows(); ++i) out(i, at) = b(i, j) == NONE ? NONE : local[b(i, j)];
        ids[at++] = whole.ids[k].empty() ? k : whole.ids[k][j];
        taken[k][j] = 1;
      }
      if (pass == 1 && count && !part.add_block(out, element_type(whole.types[k]), ids)) return false;
    }
  }
  return true;
}

int partition_main(const invocation& call) {
  const char* input = nullptr;
  const char* prefix = nullptr;
  unsigned parts = 0;
  for (int k = 0; k < call.argc; ++k) {
    const char* arg = call.argv[k];
    if (std::strcmp(arg, "-n") == 0 || std::strcmp(arg, "--parts") == 0) {
      if (++k == call.argc) return usage_error(call, "%s needs a number of parts", arg);
      char* end = nullptr;
      errno = 0;
      const unsigned long n = std::strtoul(call.argv[k], &end, 10);
      if (*call.argv[k] == '-' || *end != '\0' || end == call.argv[k] || errno != 0 || n == 0 || n > 100000)
        return usage_error(call, "the number of parts must be from 1 to 100000, not '%s'", call.argv[k]);
      parts = unsigned(n);
    } else if (std::strcmp(arg, "-o") == 0 || std::strcmp(arg, "--output") == 0) {
      if (++k == call.argc) return usage_error(call, "%s needs a file prefix", arg);
      prefix = call.argv[k];
    } else if (arg[0] == '-' && arg[1] != '\0') {
      return usage_error(call, "unknown option '%s'", arg);
    } else if (input) {
      return usage_error(call, "unexpected argument '%s'", arg);
    } else {
      input = arg;
    }
  }
  if (!input) return usage_error(call, "missing input mesh");
  if (parts == 0) return usage_error(call, "missing number of parts (-n)");
  if (!prefix) return usage_error(call, "missing output prefix (-o)");
  mesh_input in;
  if (const int status = find_mesh_input(call, input, in)) return status;
  mesh whole;
  if (const int status = read_mesh_input(call, in, whole)) return status;

  using namespace zeb::plexa;
  zeb::dense2D<unsigned> elements;
  element_type type;
  zeb::dense1D<unsigned, 8> block_of, column_of, part_of;
  if (whole.element_count() == 0) return failure(call, "'%s' has no element to partition", in.name());
  if (!main_elements(whole, elements, type, block_of, column_of)) return failure(call, "out of memory");
  if (const int code = partition(elements, type, parts, part_of)) {
    char reason[160];
    result_message("partition(connect, type, parts, part_of)", code, reason, sizeof reason);
    return failure(call, "cannot partition '%s': %s", in.name(), reason);
  }
  const unsigned main_dim = element_dim(type);
  std::vector<zeb::dense1D<unsigned char, 8>> taken;
  zeb::dense1D<unsigned, 8> local(whole.coords.cols(), NONE);
  try {
    for (unsigned k = 0; k < whole.block_count(); ++k) taken.emplace_back(whole.blocks[k].empty() ? 0 : whole.blocks[k].cols(), 0);
  } catch (const std::bad_alloc&) {
    return failure(call, "out of memory");
  }
  unsigned copies = 0;
  for (unsigned q = 0; q < parts; ++q) {
    mesh part;
    zeb::dense2D<unsigned> connect;
    zeb::dense1D<unsigned, 8> global_ids, refs;
    const int count = extract_part(whole.coords, elements, part_of, q, part.coords, connect, global_ids);
    if (count < 0 || !refs.resize(unsigned(count))) return failure(call, "out of memory");
    for (unsigned e = 0, at = 0; e < part_of.size(); ++e)
      if (part_of[e] == q) {
        const unsigned b = block_of[e];
        refs[at++] = whole.ids[b].empty() ? b : whole.ids[b][column_of[e]];
      }
    for (unsigned i = 0; i < global_ids.size(); ++i) local[global_ids[i]] = i;
    if ((count && !part.add_block(connect, type, refs)) || !add_lower_blocks(whole, local, main_dim, taken, part))
      return failure(call, "out of memory");
    for (unsigned i = 0; i < global_ids.size(); ++i) local[global_ids[i]] = NONE;
    const std::string path = part_path(prefix, q, ".mesh");
    if (const int status = write_part(call, path.c_str(), part, global_ids)) return status;
    std::fprintf(call.out, "wrote %s: %u nodes, %u elements\n", path.c_str(), part.coords.cols(),
                 part.element_count());
    copies += part.coords.cols();
  }
  unsigned used = 0;
  {
    zeb::dense1D<unsigned char, 8> seen(whole.coords.cols(), 0);
    for (unsigned e = 0; e < elements.cols(); ++e)
      for (unsigned r = 0; r < elements.rows(); ++r)
        if (elements(r, e) != NONE && !seen[elements(r, e)]) seen[elements(r, e)] = 1, ++used;
  }
  std::fprintf(call.out, "%s: %u elements in %u parts; %u node copies for %u nodes\n", in.name(),
               elements.cols(), parts, copies, used);
  return EXIT_OK;
}

}  // namespace

extern const command partition_command = {
    "partition",
    "split a mesh into parts for one process each (MEDIT part files)",
    "Usage: plexa partition <input> -n <parts> -o <prefix>\n"
    "\n"
    "Splits the elements of highest dimension of the mesh into <parts> parts of\n"
    "balanced element counts with small borders (graph partitioning of the\n"
    "elements, neighbours across faces), and writes part k to <prefix>.<k>.mesh\n"
    "(MEDIT, k from 0).  Each part file holds the part's elements with their\n"
    "references, the lower-dimensional elements (boundary faces, say) whose\n"
    "nodes all lie in it (each in the first such part), and its nodes, whose\n"
    "vertex references are their node numbers in the input mesh (global ids):\n"
    "nodes on a border between parts appear in each of them with the same id.\n"
    "'plexa merge-parts' glues the parts back together.\n"
    "\n"
    "  -n, --parts <k>      the number of parts (1 to 100000)\n"
    "  -o, --output <pfx>   the prefix of the part files (its folder must exist)\n",
    partition_main,
};

}  // namespace plexa_cli
