// Plexa over MPI: partitioned meshes (library zebplexa_mpi, CMake target
// zeb::plexa_mpi; not part of <zeb/plexa.hpp>).
//
// Model.  Each rank of a communicator holds its part of a mesh as usual
// (coordinates `pos`, a connectivity `connect` of one element type) plus one
// global id per local node, global_ids[i] for column i of pos.  A node on a
// border between parts appears on every rank that has an element touching
// it, with the same global id; ids are unsigned values below UINT_MAX and
// need not be contiguous.  Every element lies on exactly one rank.
//
// The functions taking a communicator are collective: every rank of `comm`
// calls them with the same scalar arguments (mode, bound, tolerance), and
// every rank returns the same value.  Arguments are checked on every rank
// first and the ranks agree before any work starts: when some rank finds
// an argument invalid, or runs out of memory, every rank returns the lowest
// (most negative) code found, and none has changed its outputs' callers'
// data (outputs are left empty, fields as on entry).
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.  Matrices are walked with their leading dimension.
//
// Threads: like the rest of the library, no state between calls and no
// thread started; MPI must be initialised by the caller (any thread level;
// calls from one thread per rank at a time).
#pragma once

#include <mpi.h>

#include <cstdint>

#include <zeb/dense.hpp>
#include <zeb/export.hpp>
#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// Partitioning (serial: no communicator).
// ---------------------------------------------------------------------------

// Splits the elements of a mesh into `parts` parts of balanced element
// counts with small borders: METIS's k-way partitioning of the element
// graph, two elements adjacent when they share a boundary (get_neighbors
// with non-manifold links).  The result is reproducible (fixed seed).
// Inputs: connect and its type (those get_neighbors accepts: ELT_EDGE2,
// ELT_TRIA3, ELT_QUAD4, ELT_FACE_MIX, ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6,
// ELT_HEXA8, ELT_SOLID_MIX); parts >= 1.
// Output: part_of, connect.cols() entries, the part (0 to parts - 1) of
// each element.  With parts = 1 every element is in part 0; with at least
// as many parts as elements element e is in part e (the later parts stay
// empty).  Parts are not guaranteed connected.
// Returns 0 (also for an empty connect, part_of left empty); or, in the
// order tested: -1 when connect does not fit the type or names UINT_MAX
// where a node is needed; -2 when the type is not accepted; -3 when parts
// is 0 or METIS rejects the request; -199 when memory could not be had.
// part_of may share storage with connect (it is then detached).
PLEXA_MPI_API int partition(const dense2D<unsigned int>& connect, element_type type, unsigned int parts,
                            dense1D<unsigned int, 8>& part_of);

// One part of a partitioned mesh as a mesh of its own.
// Inputs: pos (any row count), connect (UINT_MAX entries are kept as
// absent nodes, as mixed columns have them), part_of (one part per element
// of connect, as partition makes it), part.
// Outputs:
//   part_pos      pos.rows() x m, the coordinates of the m distinct nodes
//                 of the part's elements, by increasing node index;
//   part_connect  connect.rows() x e, the part's elements in their order,
//                 renumbered to the columns of part_pos;
//   global_ids    m, the node of pos each column of part_pos comes from
//                 (the global ids of the model above).
// A part without elements gives three empty outputs (0 rows, 0 columns).
// Returns the number of elements of the part (>= 0); or, in the order
// tested: -2 when connect names a node without coordinates; -3 when
// part_of.size() differs from connect.cols(); -199 when memory could not
// be had.  Outputs are emptied first and left empty on failure; each may be
// the same object as the input of its type or share its storage.
PLEXA_MPI_API int extract_part(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                               const dense1D<unsigned int, 8>& part_of, unsigned int part,
                               dense2D<double>& part_pos, dense2D<unsigned int>& part_connect,
                               dense1D<unsigned int, 8>& global_ids);

// ---------------------------------------------------------------------------
// Global numbering of parts made independently (collective).
// ---------------------------------------------------------------------------

// Gives every node of every rank a global id, nodes within `tolerance` of
// one another sharing one, by merge's rule over the ranks' nodes taken in
// rank order (rank 0's nodes first, each rank's in column order): a node
// joins the closest node before it within the tolerance, chains are
// followed to their first node, and each such first node gets its own id.
// The number of ids is therefore the number of nodes that the serial
// merge(pos, new_IDs, tolerance) of all ranks' nodes, concatenated in rank
// order, leaves unmerged; which of several equally close nodes is joined
// may differ from it, as merge leaves ties to its tree walk.
// How: the ranks exchange their bounding boxes; each rank sends to every
// later rank its nodes lying within that rank's box enlarged by the
// tolerance; each rank runs merge over the candidates it received (in rank
// order) followed by its own nodes, joining its nodes only; ids are then
// settled along the joins that reach other ranks (one exchange per rank a
// chain crosses, at most size - 1).
// Inputs: comm; pos (2 or 3 rows, the same on every rank; a rank without
// nodes may pass an empty matrix); tolerance (>= 0, the same on every
// rank).
// Output: global_ids, pos.cols() entries: ids 0 to count - 1, numbered by
// the rank and column of each id's first node.
// Returns the number of distinct ids over all ranks (>= 0); or, in the
// order tested: -1 when comm is MPI_COMM_NULL; -2 when pos has neither 2
// nor 3 rows (on a rank with nodes), the ranks' row counts differ, or the
// total node count reaches 2147483647; -3 when the tolerance is negative,
// NaN or not the same on every rank; -199 when memory could not be had;
// -200 when an MPI call returns an error (only with an error handler that
// returns: MPI's default aborts).  global_ids is emptied first and left
// empty on failure.
PLEXA_MPI_API int number_nodes_globally(MPI_Comm comm, const dense2D<double>& pos, double tolerance,
                                        dense1D<unsigned int, 8>& global_ids);

// ---------------------------------------------------------------------------
// Gradation control across parts (collective).
// ---------------------------------------------------------------------------

// What the exchanges of one call cost on this rank.
struct exchange_report {
  unsigned int rounds = 0;          // local propagations, each followed by an exchange
  unsigned int neighbors = 0;       // ranks this rank shares nodes with
  unsigned int shared_nodes = 0;    // local nodes shared with another rank
  std::uint64_t bytes_sent = 0;     // border values sent, all rounds (set-up excluded)
  std::uint64_t setup_bytes = 0;    // sent while finding the shared nodes
};

// bound_metric_gradations and bound_metric_variations of
// <zeb/plexa/gradation.hpp> over a partitioned mesh.  The first round is
// the serial call on every rank's part; each later round resumes that
// propagation (its node graph and state kept) from the nodes the last
// exchange changed.  After each round the ranks exchange the values of the
// shared nodes with the ranks that hold them: a free node whose copies
// differ takes on every rank the same combination of them, the smallest
// size (mode -1; for metrics minimum_metric, folded over the copies in rank
// order) or the largest (mode 1; maximum_metric).  Rounds repeat until an
// allreduce finds that no exchange changed anything.  A node frozen on any
// rank is frozen on all.
//
// What holds afterwards: every edge of the whole mesh, border edges
// included, satisfies what the serial call guarantees in the same mode
// (every edge lies in one part, whose last propagation left it so, and the
// copies of every free shared node agree).
//
// How it differs from the serial call.  The serial engine corrects the
// worst edge first over the whole mesh; here each part does so on its own
// and the parts meet at the exchanges, so a correction that the serial
// call makes from a source in another part arrives here through the border
// in a later round, and the order of corrections differs.
//   - Isotropic sizes: both results are fixed points of the engine within
//     the bound, at or below (mode -1) or at or above (mode 1) the entry
//     sizes, and they differ only through the 0.001 threshold on t with
//     which each correction may stop short: both lie between the
//     shortest-path envelopes of the entry sizes for the rates c and
//     c / 0.999 (c = ln(1 + g) or g), so a node's values differ by a
//     relative 1e-3 at the very most.  Measured on tetrahedral cubes
//     split in 2 and 4 parts: 1e-15 (rounding) for gradations, 5e-5 for
//     variations in mode 1.
//   - Metrics: each correction intersects (or unites) a metric with one
//     interpolated from its neighbour, and the outcome depends on the order
//     of the corrections even serially; the parallel result satisfies the
//     same bound (the same largest gradation in the tests) but its
//     coefficients may differ from the serial ones by as much as the
//     corrections themselves (a relative 1 on strongly anisotropic random
//     fields).
//   - With one rank the result is the serial call's, bit for bit, and so is
//     every part that shares no node with another.
// Rounds: one, plus one for each time a change crosses a border; at most
// the number of parts along the longest chain of parts a correction
// travels, plus one.

// Arguments: comm, then those of the serial call with the global ids
// after the element type:
//   global_ids  one id per column of pos (the model above); two nodes of
//               connect with one id on a rank are refused;
//   nodes, frozen, g, M or H as in the serial call (nodes are local);
//   mode        1 or -1 (sizes only grow, only shrink); other values than
//               0 block every correction, as serially (the call returns 0);
//               0 is refused: its per-node choice of direction does not
//               carry across parts;
//   report      when not null, receives this rank's exchange figures.
// Copies of a shared node's value should agree on entry; where they do not,
// the free copies take their combination at the first exchange.
// Returns the number of distinct global nodes whose value changed (the
// same on every rank); or, in the order tested: -1 when comm is
// MPI_COMM_NULL; -2 when pos has neither 2 nor 3 rows (empty parts may
// pass an empty matrix); -3 when connect does not fit the type or names a
// node without coordinates; -4 when the type is not accepted; -5 when
// global_ids.size() differs from pos.cols() or holds UINT_MAX; -6 when
// nodes names a node without coordinates; -8 when mode is 0 or differs
// between ranks; -9 when g is negative, NaN or differs between ranks; -10
// when the field has another row count or no value for some node of
// connect; -5 when a rank gives one id to two nodes of its connect (found
// once the ranks agree on the rest); -199 when memory could not be had; -200 when an MPI call
// returns an error (with a returning error handler).  On failure every field is as it was on entry.  Returns 0 at once,
// after the checks, when g is the largest double on every rank.
PLEXA_MPI_API int bound_metric_gradations(MPI_Comm comm, const dense2D<double>& pos,
                                          const dense2D<unsigned int>& connect, element_type type,
                                          const dense1D<unsigned int, 8>& global_ids,
                                          const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                                          dense2D<double>& M, exchange_report* report = nullptr);
PLEXA_MPI_API int bound_metric_gradations(MPI_Comm comm, const dense2D<double>& pos,
                                          const dense2D<unsigned int>& connect, element_type type,
                                          const dense1D<unsigned int, 8>& global_ids,
                                          const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                                          dense1D<double, 8>& H, exchange_report* report = nullptr);
PLEXA_MPI_API int bound_metric_variations(MPI_Comm comm, const dense2D<double>& pos,
                                          const dense2D<unsigned int>& connect, element_type type,
                                          const dense1D<unsigned int, 8>& global_ids,
                                          const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                                          dense2D<double>& M, exchange_report* report = nullptr);
PLEXA_MPI_API int bound_metric_variations(MPI_Comm comm, const dense2D<double>& pos,
                                          const dense2D<unsigned int>& connect, element_type type,
                                          const dense1D<unsigned int, 8>& global_ids,
                                          const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                                          dense1D<double, 8>& H, exchange_report* report = nullptr);

// ---------------------------------------------------------------------------
// Reassembly (serial).
// ---------------------------------------------------------------------------

// Glues parts back into one mesh through their global ids: one node per
// distinct id, numbered by increasing id, its coordinates those of its
// first copy (parts in order).
// Inputs: the arrays [first_pos, first_pos + parts), [first_connect, ...)
// and [first_ids, ...): each part's coordinates (the same row count in
// every part with nodes), connectivity (UINT_MAX entries kept) and global
// ids (one per column of its coordinates).
// Outputs: pos (rows x n, n the number of distinct ids), connect (the
// largest row count x the total element count, the parts' elements in
// order, renumbered; missing rows UINT_MAX), node_of (for each part in
// order, each of its nodes: the column of pos it became; the sum of the
// parts' node counts, so that per-node fields can be gathered the same
// way).
// Returns the number of nodes of the glued mesh; or, in the order tested:
// -1 when parts is 0 or an array pointer is null; -2 when the row counts
// of the parts' coordinates differ; -3 when a connectivity names a node
// without coordinates in its part; -4 when a part's ids do not have one
// entry per node, or hold UINT_MAX; -199 when memory could not be had.
// Outputs are emptied first and left empty on failure.
PLEXA_MPI_API int assemble_parts(const dense2D<double>* first_pos, const dense2D<unsigned int>* first_connect,
                                 const dense1D<unsigned int, 8>* first_ids, unsigned int parts,
                                 dense2D<double>& pos, dense2D<unsigned int>& connect,
                                 dense1D<unsigned int, 8>& node_of);

}  // namespace plexa
}  // namespace zeb
