// Part files of a partitioned mesh: PREFIX.<k>.mesh, MEDIT meshes whose
// vertex references are the nodes' global ids (their numbers in the whole
// mesh), with per-part fields beside them as PREFIX.<k>.sol.  Written by
// `plexa partition`, read back by `plexa merge-parts`; a command that runs
// once per part under mpirun (rank k on part k) finds its part here and
// grades its sizes across the parts with grade_sizes_across_parts.
#pragma once

#include <string>

#include <zeb/dense.hpp>

#include "command.hpp"
#include "mesh.hpp"

namespace plexa_cli {

// "PREFIX.<k><extension>".
std::string part_path(const char* prefix, unsigned k, const char* extension);

// Writes part `m` with its global ids as the vertex references.  EXIT_OK,
// or EXIT_FAILURE_STATUS after reporting why.
int write_part(const invocation& call, const char* path, const mesh& m, const zeb::dense1D<unsigned, 8>& global_ids);

// Reads a part file: its mesh and the global ids of its nodes.  EXIT_OK,
// or EXIT_FAILURE_STATUS after reporting why.
int read_part(const invocation& call, const char* path, mesh& m, zeb::dense1D<unsigned, 8>& global_ids);

// The ranks running this command, MPI started on first use when the tool
// was launched by mpirun (and finished at exit); one rank otherwise.
struct ranks {
  int rank = 0, size = 1;
};
ranks mpi_ranks();

// Whether `ok` holds on every rank: a collective step, which every rank
// reaches on its success and on its failure alike, so that a failing rank
// never leaves the others waiting in a later one.  `ok` on one rank.
bool all_ranks_ok(bool ok);

// Sums, minima and maxima over the ranks, in place (collective steps).
void sum_over_ranks(unsigned* values, int count);
void min_over_ranks(double* values, int count);
void max_over_ranks(double* values, int count);

// Bounds the gradation of the isotropic sizes of this rank's part, across
// the parts of all ranks (mode -1: sizes only shrink): the parallel
// bound_metric_gradations over the part's element blocks of highest
// dimension.  Returns its result (the number of nodes changed, or a
// code); without MPI in the tool, the serial call's.
int grade_sizes_across_parts(const mesh& part, const zeb::dense1D<unsigned, 8>& global_ids, double g,
                             zeb::dense1D<double, 8>& sizes);

// The element blocks of highest dimension as one connectivity: their own
// type when they share one, else the mixed type of their dimension
// (ELT_FACE_MIX, 4 rows; ELT_SOLID_MIX, 8 rows).  Also the index of each
// of its columns' block and column.  False when memory runs out or the
// mesh has no element.
bool main_elements(const mesh& m, zeb::dense2D<unsigned>& connect, zeb::plexa::element_type& type,
                   zeb::dense1D<unsigned, 8>& block_of, zeb::dense1D<unsigned, 8>& column_of);

}  // namespace plexa_cli
