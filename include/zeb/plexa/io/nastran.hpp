// Plexa NASTRAN files: bulk-data decks.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Text is written byte for byte in the C locale's conventions ("%16E" and
// "%d" of printf), whatever locale the calling program has set.
//
// Threads: the writers keep no state and only read their inputs; calls may
// run at the same time, each writing its own file or stream.
#pragma once

#include <cstdio>

#include <zeb/plexa/core.hpp>
#include <zeb/plexa/io/write_options.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// NASTRAN bulk data
//
// Layout: a comment banner, "BEGIN BULK", one placeholder material
// ("MAT1    1       0.                 0.  0."), the nodes as large-field
// cards of two lines each,
//   "GRID*   " id (%16d), 16 blanks, x and y (%16E), "*C"
//   "*C      " z (%16E; 0 for planar nodes)
// the elements as free-field cards "CARD,id,pid,n1,n2,...", and "ENDDATA".
// Node id = node index + 1; element id = column index + 1 over the whole
// connectivity; pid = the element's property number.  An element card holds
// 9 fields on its first line (card, id, pid and six nodes) and continues
// with ",+C" / "+C" and up to eight more nodes per line.
//
// Cards and node order (local rows of a column) by element type:
//   ELT_EDGE2, ELT_EDGE3     CBAR    0 1 (the middle node is dropped)
//   ELT_TRIA3                CTRIA3  0 1 2
//   ELT_TRIA6                CTRIA6  0 1 2 5 3 4
//   ELT_QUAD4                CQUAD4  0 1 2 3
//   ELT_QUAD8, ELT_QUAD9     CQUAD8  0 to 7 (the centre of ELT_QUAD9 is dropped)
//   ELT_TETRA4               CTETRA  0 2 1 3
//   ELT_TETRA10              CTETRA  0 2 1 3 5 4 6 7 9 8
//   ELT_PYRA5                CPYRAM  0 to 4
//   ELT_PYRA13, ELT_PYRA14   CPYRAM  0 to 12 (the 14th node is dropped)
//   ELT_WEDGE6               CPENTA  0 to 5
//   ELT_WEDGE15, ELT_WEDGE18 CPENTA  0 1 2 3 4 5 11 9 10 6 7 8 14 12 13
//   ELT_HEXA8                CHEXA   0 to 7
//   ELT_HEXA20, ELT_HEXA27   CHEXA   0 to 11, 16 17 18 19, 12 13 14 15
// Mixed blocks are read column by column: ELT_FACE_MIX as ELT_QUAD4 or
// ELT_TRIA3, ELT_SOLID_MIX as ELT_HEXA8, ELT_PYRA5, ELT_WEDGE6 or
// ELT_TETRA4.  Blocks of ELT_NONE, ELT_NODE and ELT_EDGE_MIX write nothing.
//
// Write errors are detected: a write, flush or close that fails turns a
// success into -1, so that 0 always means the whole deck was written.
// ---------------------------------------------------------------------------

// Writes the deck to an open stream.  The blocks share one connectivity:
// block i holds the columns ranges[i] to ranges[i+1] - 1 and has the
// element type types[i]; it is read through its first min(rows, 4) rows for
// ELT_FACE_MIX, min(rows, 20) for ELT_SOLID_MIX (so a mixed solid block
// needs a connectivity of 4, 5, 6 or 8 rows) and nbr_nodes(type) rows
// otherwise.  Node indices are not bounded by the node count.
// Inputs: f, pos (2 or 3 x n), connect (rows x m), ranges (blocks + 1),
// types (blocks), pids (m).
// Output: the deck laid out as above, written to `f`, which is flushed (so
// that a write error shows) but not closed.
// Returns, in this order (nothing is written on a failed check):
//   -1  f is null or in error;
//   -2  pos has neither 2 nor 3 rows;
//   -5  ranges.size() differs from types.size() + 1;
//   -6  pids.size() differs from connect.cols();
//   -4  the ranges decrease or go past connect.cols();
//   -3  a block with columns is rejected by check_IDs(block, type, UINT_MAX)
//       (fewer rows than its type needs and out-of-range types included);
//   -1  a write or the flush failed;
//    0  written.
// `options` (write_options.hpp): the digits of the coordinates, as many as
// the 16 characters of a large field hold at most; "%16E" by default.
PLEXA_API int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                             const dense1D<unsigned int, 8>& pids, const write_options& options = write_options());

// The stream writer above on two blocks: the connectivities are joined into
// one matrix of as many rows as the larger node count of the two types
// (unused entries UINT_MAX; rows beyond that are not written), the first
// block's elements with pid 1, the second's with pid 2 and the ids that
// follow.
// Returns: -199 when the joined matrix cannot be allocated (tested first),
// then the codes above.
PLEXA_API int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect1,
                             const dense2D<unsigned int>& connect2, element_type type1, element_type type2);

// The stream writer above on one block, pid 1 for every element.
// Returns: -199 when its ranges and property numbers cannot be allocated
// (tested first), then the codes above.
PLEXA_API int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             element_type type);

// The same three writing to the file `path`, which they open first and
// close on every path: a failed check leaves the file empty.
// Output: the file `path`, replaced.
// Returns: -1 when the file cannot be opened (a null path included); then
// the codes of the stream form (-199 first for the one- and two-block
// forms); a failing close turns a success into -1.
PLEXA_API int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                             const dense1D<unsigned int, 8>& pids, const write_options& options = write_options());
PLEXA_API int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect1,
                             const dense2D<unsigned int>& connect2, element_type type1, element_type type2);
PLEXA_API int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                             element_type type);

}  // namespace plexa
}  // namespace zeb
