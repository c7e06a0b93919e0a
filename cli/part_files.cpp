// Part files, the ranks the tool runs on, and gradation across parts.
#include "part_files.hpp"

#include <cstdlib>

#include <zeb/plexa/gradation.hpp>
#include <zeb/plexa/io/medit.hpp>
#if PLEXA_CLI_MPI
#include <zeb/plexa/mpi.hpp>
#endif

#include "mesh_input.hpp"

namespace plexa_cli {

namespace {

constexpr unsigned NONE = 4294967295u;

}  // namespace

std::string part_path(const char* prefix, unsigned k, const char* extension) {
  return std::string(prefix) + "." + std::to_string(k) + extension;
}

int write_part(const invocation& call, const char* path, const mesh& m, const zeb::dense1D<unsigned, 8>& global_ids) {
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, refs;
  if (!m.joined(connect, ranges) || !m.joined_ids(refs, 0)) return failure(call, "out of memory");
  const int code = zeb::plexa::medit_output(path, m.coords, connect, ranges, m.types, refs, global_ids);
  if (code != 0)
    return file_failure(call, "write", path,
                        "medit_output(path, pos, connect, ranges, types, refs, node_refs)", code);
  return EXIT_OK;
}

int read_part(const invocation& call, const char* path, mesh& m, zeb::dense1D<unsigned, 8>& global_ids) {
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, refs;
  zeb::dense1D<int, 8> types;
  const int code = zeb::plexa::medit_input(path, pos, connect, ranges, types, refs, global_ids);
  if (code != 0)
    return file_failure(call, "read", path, "medit_input(path, pos, connect, ranges, types, refs, node_refs)", code);
  if (!m.assign(pos, connect, ranges, types, refs)) return failure(call, "out of memory");
  return EXIT_OK;
}

ranks mpi_ranks() {
  ranks r;
#if PLEXA_CLI_MPI
  // Started by mpirun: Open MPI, MPICH and others say so in the
  // environment; a tool started alone does not pay for MPI.
  if (!std::getenv("OMPI_COMM_WORLD_SIZE") && !std::getenv("PMI_SIZE")) return r;
  int started = 0;
  MPI_Initialized(&started);
  if (!started) {
    MPI_Init(nullptr, nullptr);
    std::atexit([] {
      int done = 0;
      MPI_Finalized(&done);
      if (!done) MPI_Finalize();
    });
  }
  MPI_Comm_rank(MPI_COMM_WORLD, &r.rank);
  MPI_Comm_size(MPI_COMM_WORLD, &r.size);
#endif
  return r;
}

bool all_ranks_ok(bool ok) {
#if PLEXA_CLI_MPI
  if (mpi_ranks().size > 1) {
    int all = ok ? 1 : 0;
    MPI_Allreduce(MPI_IN_PLACE, &all, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
    return all == 1;
  }
#endif
  return ok;
}

#if PLEXA_CLI_MPI
namespace {

void reduce_in_place(void* values, int count, MPI_Datatype type, MPI_Op op) {
  if (mpi_ranks().size > 1) MPI_Allreduce(MPI_IN_PLACE, values, count, type, op, MPI_COMM_WORLD);
}

}  // namespace

void sum_over_ranks(unsigned* values, int count) { reduce_in_place(values, count, MPI_UNSIGNED, MPI_SUM); }
void min_over_ranks(double* values, int count) { reduce_in_place(values, count, MPI_DOUBLE, MPI_MIN); }
void max_over_ranks(double* values, int count) { reduce_in_place(values, count, MPI_DOUBLE, MPI_MAX); }
#else
// One rank: the values are their own reductions.
void sum_over_ranks(unsigned*, int) {}
void min_over_ranks(double*, int) {}
void max_over_ranks(double*, int) {}
#endif

int grade_sizes_across_parts(const mesh& part, const zeb::dense1D<unsigned, 8>& global_ids, double g,
                             zeb::dense1D<double, 8>& sizes) {
  zeb::dense2D<unsigned> connect;
  zeb::plexa::element_type type = zeb::plexa::ELT_NONE;
  zeb::dense1D<unsigned, 8> block_of, column_of;
  if (part.element_count() != 0 && !main_elements(part, connect, type, block_of, column_of)) return -199;
#if PLEXA_CLI_MPI
  if (mpi_ranks().size > 1)
    return zeb::plexa::bound_metric_gradations(MPI_COMM_WORLD, part.coords, connect, type, global_ids, {}, true, -1,
                                               g, sizes);
#else
  (void)global_ids;
#endif
  return zeb::plexa::bound_metric_gradations(part.coords, connect, type, {}, true, -1, g, sizes);
}

bool main_elements(const mesh& m, zeb::dense2D<unsigned>& connect, zeb::plexa::element_type& type,
                   zeb::dense1D<unsigned, 8>& block_of, zeb::dense1D<unsigned, 8>& column_of) {
  using namespace zeb::plexa;
  unsigned dim = 0, count = 0;
  for (unsigned k = 0; k < m.block_count(); ++k)
    if (!m.blocks[k].empty() && element_dim(element_type(m.types[k])) > dim) dim = element_dim(element_type(m.types[k]));
  type = ELT_NONE;
  bool one_type = true;
  for (unsigned k = 0; k < m.block_count(); ++k) {
    if (m.blocks[k].empty() || element_dim(element_type(m.types[k])) != dim) continue;
    count += m.blocks[k].cols();
    if (type != ELT_NONE && type != element_type(m.types[k])) one_type = false;
    type = element_type(m.types[k]);
  }
  if (count == 0) return false;
  if (!one_type) type = dim == 3 ? ELT_SOLID_MIX : ELT_FACE_MIX;
  // Blocks of the mixed type pad their columns with UINT_MAX, as joining
  // blocks of several kinds does.
  unsigned widest = one_type ? 0 : dim == 3 ? 8 : 4;
  for (unsigned k = 0; k < m.block_count() && one_type; ++k)
    if (!m.blocks[k].empty() && element_type(m.types[k]) == type && m.blocks[k].rows() > widest)
      widest = m.blocks[k].rows();
  if (!connect.resize(widest, count, NONE) || !block_of.resize(count) || !column_of.resize(count)) return false;
  for (unsigned k = 0, at = 0; k < m.block_count(); ++k) {
    if (m.blocks[k].empty() || element_dim(element_type(m.types[k])) != dim) continue;
    const zeb::dense2D<unsigned>& b = m.blocks[k];
    for (unsigned j = 0; j < b.cols(); ++j, ++at) {
      for (unsigned i = 0; i < b.rows() && i < widest; ++i) connect(i, at) = b(i, j);
      block_of[at] = k;
      column_of[at] = j;
    }
  }
  return true;
}

}  // namespace plexa_cli
