// Plexa index utilities: validity checks, largest index, renumbering,
// permutation, matching of lists and connectivities, distinct indices and
// grouping by key.
//
// UINT_MAX is the absent-node marker; each function states how it treats it.
// Matrices are walked column by column with their leading dimension, so
// sub-matrix views are accepted everywhere.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// An output may be the same object as an input, or a view sharing its
// storage: the call reads its inputs as they were on entry.  An output that
// the call empties is then detached from the shared block (the other views
// keep their entries); where an output that grows or an argument changed in
// place shares storage with an input, that input is read from a copy made
// before anything changes (-199 when it cannot be made).  Two outputs of one
// call that are the same object are refused, as each function states.
//
// Threads: the functions keep no state between calls and start no thread.
// Calls may run at the same time on shared inputs, which they only read, as
// long as no thread writes an input or an output of a call still running.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// Validity tests and the largest index
// ---------------------------------------------------------------------------

// Whether a node list names only nodes of a mesh of `nods` nodes.
// Inputs: ids, nods.
// Returns: true when every entry is UINT_MAX or below nods; true at once for
// an empty list or nods == UINT_MAX.
PLEXA_API bool check_IDs(const dense1D<unsigned int, 8>& ids, unsigned int nods);

// The same test over every entry of a matrix.
// Inputs: connect (any shape), nods.
// Returns: true when every entry is UINT_MAX or below nods; true at once when
// rows x cols is 0 or nods == UINT_MAX.
PLEXA_API bool check_IDs(const dense2D<unsigned int>& connect, unsigned int nods);

// Strict test of a connectivity of the given element type.
// Inputs: connect, type (narrowed by row count first), nods.
// Returns: true at once when rows x cols is 0; otherwise true when
//   ELT_FACE_MIX (4 rows): rows 0-2 are below nods, row 3 below nods or
//     UINT_MAX;
//   ELT_SOLID_MIX (8 rows): a UINT_MAX in row 4, 5 or 6 ends the column and
//     every later row is UINT_MAX, every earlier entry below nods;
//   any other type: rows == nbr_nodes(type) and every entry below nods
//     (UINT_MAX never accepted, even for nods == UINT_MAX).
// A row count that does not fit the type gives false.
PLEXA_API bool check_IDs(const dense2D<unsigned int>& connect, element_type type, unsigned int nods);

// Largest node index of a list.
// Inputs: ids.
// Returns: the largest entry other than UINT_MAX, starting from 0 (0 for
// markers only); UINT_MAX for an empty list.
PLEXA_API unsigned int max_ID(const dense1D<unsigned int, 8>& ids);

// Largest node index of a matrix.
// Inputs: connect.
// Returns: as above over the entries.  A contiguous matrix (ld == rows) is
// read as one list (UINT_MAX when empty); a strided view is walked column by
// column and gives 0 when it has no column.
PLEXA_API unsigned int max_ID(const dense2D<unsigned int>& connect);

// ---------------------------------------------------------------------------
// Renumbering and permuting
// ---------------------------------------------------------------------------

// Adds `shift` to every entry of a list other than UINT_MAX.
// Inputs: shift.  In place: ids.
// Returns: 0.
PLEXA_API int shift_indices(dense1D<unsigned int, 8>& ids, int shift);

// Adds `shift` to the entries of a connectivity.
// Inputs: shift, type.  In place: connect; for ELT_FACE_MIX and ELT_SOLID_MIX
// markers are left unchanged, for every other type every entry is shifted,
// markers included (a single-type connectivity holds none).
// Returns: 0; nothing happens when shift is 0.
PLEXA_API int shift_indices(dense2D<unsigned int>& connect, int shift, element_type type);

// Renumbers a list through a map.
// Inputs: new_IDs (the map).  In place: ids; every entry x < new_IDs.size()
// becomes new_IDs[x], other entries (UINT_MAX included) are left unchanged.
// When ids shares storage with new_IDs the map is read from a copy; if that
// copy cannot be made nothing changes (there is no result code to say so).
PLEXA_API void change_indices(dense1D<unsigned int, 8>& ids, const dense1D<unsigned int, 8>& new_IDs);

// The same on every entry of a matrix, column by column (with the same rule
// when connect shares storage with new_IDs).
PLEXA_API void change_indices(dense2D<unsigned int>& connect, const dense1D<unsigned int, 8>& new_IDs);

// Scatter of a vector by a permutation.
// Inputs: perm.  In place: v; with m = min(v.size(), perm.size()), the entry
// at position i < m moves to position perm[i] when perm[i] < v.size() and
// perm[i] != i; positions nothing moves to keep their value, entries beyond m
// stay.  The result is built in a deep copy that v then holds: v no longer
// shares its storage with other views.
// Returns: 0 (also for an empty v); -199 when the working copy cannot be made
// (v unchanged).
PLEXA_API int permutation(dense1D<unsigned int, 8>& v, const dense1D<unsigned int, 8>& perm);
PLEXA_API int permutation(dense1D<double, 8>& v, const dense1D<unsigned int, 8>& perm);

// ---------------------------------------------------------------------------
// Matching
// ---------------------------------------------------------------------------

// Matches the values of two lists.
// Inputs: IDs1, IDs2.
// Outputs: pos1 (size IDs2.size()): pos1[j] is the first position in IDs1 of
// IDs2[j]; pos2 (size IDs1.size()): for the first occurrence i of a value,
// pos2[i] is its first position in IDs2.  Unmatched entries, later
// occurrences and UINT_MAX values give UINT_MAX.
// Returns: 0 (also when a list is empty); -4 when pos1 and pos2 are the same
// object (left empty); -199 when the outputs or the value map cannot be sized
// (both outputs empty).
PLEXA_API int get_IDs(const dense1D<unsigned int, 8>& IDs1, const dense1D<unsigned int, 8>& IDs2,
                      dense1D<unsigned int, 8>& pos1, dense1D<unsigned int, 8>& pos2);

// Matches the columns of two connectivities.  With strict, columns match
// when equal entry by entry; otherwise when equal once both are rotated to
// start at their largest entry (the first one if it repeats), or once one of
// them is also read backwards from there (the symmetries of a polygon).
// Inputs: connect1, connect2, strict.
// Outputs: pos1 (size connect2.cols()): pos1[j] is the smallest column of
// connect1 matching column j of connect2; pos2 (size connect1.cols()): the
// smallest column of connect2 matching column i of connect1; UINT_MAX when
// none.
// Returns: 0 (also when a matrix is empty); -4 when pos1 and pos2 are the
// same object (left empty); -199 when the outputs cannot be sized (both
// empty); -2 when the row counts differ (outputs sized and filled with
// UINT_MAX); -199 when the column table cannot be built (both empty).
PLEXA_API int get_IDs(const dense2D<unsigned int>& connect1, const dense2D<unsigned int>& connect2,
                      dense1D<unsigned int, 8>& pos1, dense1D<unsigned int, 8>& pos2, bool strict);

// ---------------------------------------------------------------------------
// Distinct indices and grouping
// ---------------------------------------------------------------------------

// Collects the distinct values of a list.
// Inputs: IDs, excluded (values to leave out).
// Output: uIDs, appended to (neither emptied nor consulted): in order of
// first appearance in IDs, every value that is not UINT_MAX, not in excluded
// and not yet appended by this call.
// Returns: 0; -199 on memory failure (uIDs keeps its previous size).
PLEXA_API int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense1D<unsigned int, 8>& IDs,
                             dense1D<unsigned int, 8> excluded);

// The same over the entries of `connect`, column by column.
PLEXA_API int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense2D<unsigned int>& connect,
                             dense1D<unsigned int, 8> excluded);

// The same over every matrix of the array range [first, last) in order.
// Returns: 0 (also for an empty range); -3 when first is after last or only
// one of them is null; -199 on memory failure.
PLEXA_API int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense2D<unsigned int>* first,
                             const dense2D<unsigned int>* last, dense1D<unsigned int, 8> excluded);

// Counts the distinct values other than UINT_MAX of the matrices of the
// array range [first, last).
// Inputs: first, last.
// Returns: the count (0 for an empty range); -2 when first is after last or
// only one of them is null; -199 on memory failure.
PLEXA_API int count_unique_indices(const dense2D<unsigned int>* first, const dense2D<unsigned int>* last);

// The range form on one matrix.
PLEXA_API int count_unique_indices(const dense2D<unsigned int>& connect);

// Stable counting sort of positions by key.
// Inputs: keys (UINT_MAX: no key).
// Outputs, both emptied first: with M the largest key other than UINT_MAX
// (0 if none), offsets (M + 2 entries) and order (the positions of all keys
// other than UINT_MAX, by increasing key and by increasing position within a
// key): the positions of key k are order[offsets[k]] ... order[offsets[k+1]
// - 1].  Empty keys give offsets = (0) and an empty order.
// Returns: 0; -3 when order and offsets are the same object (left empty);
// -199 on memory failure (both outputs emptied).
PLEXA_API int get_sorted_order(const dense1D<unsigned int, 8>& keys, dense1D<unsigned int, 8>& order,
                               dense1D<unsigned int, 8>& offsets);

}  // namespace plexa
}  // namespace zeb
