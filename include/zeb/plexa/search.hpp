// Plexa spatial search and node merging: the node_detector k-d tree, merge,
// removal of degenerate elements and of unused nodes.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Coordinates are a dense2D<double> with one column per node and 2 or 3 rows;
// connectivities a dense2D<unsigned int> with one column per element.  Every
// matrix is walked with its leading dimension, so sub-matrix views are
// accepted.  UINT_MAX is the absent-node marker.
//
// An output may be the same object as an input, or a view sharing its
// storage: the call reads its inputs as they were on entry.  An output that
// the call empties is then detached from the shared block (the other views
// keep their entries).
//
// Threads: the functions keep no state between calls and start no thread.
// Calls may run at the same time on shared inputs, which they only read, as
// long as no thread writes an input or an output of a call still running.
// The const queries of one node_detector (find_closest, find_in_box, size)
// may run at the same time from several threads; reinit, insert, clear and
// assignment may not run beside any other use of that detector, and its
// coordinate matrix must not change while it is in use.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// A k-d tree over nodes of a caller's 2-D or 3-D coordinate matrix, answering
// closest-node and box queries.
//
// The detector keeps a pointer to the coordinate matrix object it was given
// (and, for its closest-node searches, a copy of the coordinates of the
// indexed nodes, 2 or 3 doubles per tree slot): the caller keeps that object
// alive, does not change its row count and does not move indexed nodes
// while the detector is in use.  Columns appended to the matrix later may be
// indexed with insert().
//
// The tree is balanced at construction (median splits on x, y[, z] in turn,
// equal coordinates ordered by node index) and grows afterwards by insertion
// in a shuffled but reproducible order (a fresh std::mt19937 seeded with 1
// per call, whose sequence the standard fixes), so that the same inputs
// always give the same tree.
class PLEXA_API node_detector {
 public:
  // An empty detector: queries find nothing, insert() adds nothing.
  node_detector() noexcept;
  // As the matching reinit(); the detector stays empty when it fails.
  explicit node_detector(const dense2D<double>& pos);
  node_detector(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes);
  node_detector(const dense2D<double>& pos, const dense2D<unsigned int>& connect);
  node_detector(const dense2D<double>& pos, const dense2D<unsigned int>* first, const dense2D<unsigned int>* last);
  // The detector keeps a pointer to the coordinate matrix object: a
  // temporary matrix would leave it dangling, so these do not compile.
  explicit node_detector(const dense2D<double>&& pos) = delete;
  node_detector(const dense2D<double>&& pos, const dense1D<unsigned int, 8>& nodes) = delete;
  node_detector(const dense2D<double>&& pos, const dense2D<unsigned int>& connect) = delete;
  node_detector(const dense2D<double>&& pos, const dense2D<unsigned int>* first,
                const dense2D<unsigned int>* last) = delete;
  // Independent copy of the tree, referring to the same coordinate matrix.
  // When memory cannot be had the copy is an empty detector.
  node_detector(const node_detector& other);
  // As the copy constructor; on memory failure this detector becomes empty.
  node_detector& operator=(const node_detector& other);
  ~node_detector();

  // Discards the tree and indexes the nodes of `pos`:
  //   reinit(pos)                 every column 0 ... cols - 1;
  //   reinit(pos, nodes)          the listed nodes (UINT_MAX entries skipped;
  //                               the list should not repeat a node);
  //   reinit(pos, connect)        the distinct nodes of the connectivity;
  //   reinit(pos, first, last)    the distinct nodes of the connectivities of
  //                               the half-open array range [first, last).
  // Returns the number of tree slots (nodes indexed), or
  //   -1    pos has neither 2 nor 3 rows,
  //   -2    a node index (list or connectivity entry other than UINT_MAX) is
  //         not below pos.cols(),
  //   -3    first is after last (range form),
  //   -199  memory could not be had.
  // On failure the detector keeps its previous tree.
  int reinit(const dense2D<double>& pos);
  int reinit(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes);
  int reinit(const dense2D<double>& pos, const dense2D<unsigned int>& connect);
  int reinit(const dense2D<double>& pos, const dense2D<unsigned int>* first, const dense2D<unsigned int>* last);
  // Not from a temporary matrix (the detector keeps a pointer to it).
  int reinit(const dense2D<double>&& pos) = delete;
  int reinit(const dense2D<double>&& pos, const dense1D<unsigned int, 8>& nodes) = delete;
  int reinit(const dense2D<double>&& pos, const dense2D<unsigned int>& connect) = delete;
  int reinit(const dense2D<double>&& pos, const dense2D<unsigned int>* first,
             const dense2D<unsigned int>* last) = delete;

  // Adds nodes to the tree, in a shuffled order (a fresh std::mt19937 seeded
  // with 1).
  // Inputs: nodes, or connect for its distinct nodes.  Entries not below the current column count of the coordinate matrix
  // (UINT_MAX included) are skipped; a node already indexed takes an unlinked
  // slot that queries never reach (size() still grows) and is not counted.
  // The connectivity form inserts the distinct nodes of `connect`.
  // Returns the number of nodes added: 0 for an empty detector and when
  // memory cannot be had (the tree is then unchanged).
  //
  // Cost: the tree is never rebalanced, and its shape decides which node
  // wins a tie, so nodes inserted one per call in sorted order (along a
  // line, say) or at one place make a chain as deep as their number.  Such
  // insertions stay O(1) per call (the walk restarts near the end of the
  // previous one), but closest-node and box queries on a chain cost O(depth)
  // each.  To keep the tree shallow, insert nodes in batches (each call
  // shuffles its list) or reinit() once they are all known.
  unsigned int insert(const dense1D<unsigned int, 8>& nodes);
  unsigned int insert(const dense2D<unsigned int>& connect);

  // Index of the indexed node closest to p (squared Euclidean distance);
  // among nodes at the same distance the first met by the search wins.
  // UINT_MAX for an empty detector, or when no squared distance is finite
  // (NaN coordinates, overflow beyond the largest double); nodes with NaN
  // coordinates never hide the others.
  // A 2-D point asked of a 3-D tree is taken with z = 0; a 3-D point asked
  // of a 2-D tree is taken by its x and y.
  unsigned int find_closest(const vector_fixed<double, 2>& p) const;
  unsigned int find_closest(const vector_fixed<double, 3>& p) const;
  // The indexed node closest to node `node`, that node itself excluded;
  // UINT_MAX when node is not a column of the coordinate matrix, or no other
  // indexed node is at a finite squared distance (none is from a node with
  // a NaN or infinite coordinate).
  unsigned int find_closest(unsigned int node) const;

  // Appends to IDs, in visiting order, every indexed node inside the closed
  // box min <= x <= max (component-wise); IDs is not emptied first.  A 2-D box
  // asked of a 3-D tree has z from 0 to 0; a 3-D box asked of a 2-D tree is
  // taken by its x and y ranges.  Returns the number of nodes appended, or
  // -199 when memory could not be had (IDs then keeps its former size).
  int find_in_box(const vector_fixed<double, 2>& min, const vector_fixed<double, 2>& max,
                  dense1D<unsigned int, 8>& IDs) const;
  int find_in_box(const vector_fixed<double, 3>& min, const vector_fixed<double, 3>& max,
                  dense1D<unsigned int, 8>& IDs) const;

  // Number of tree slots, unlinked ones included; 0 for an empty detector.
  unsigned int size() const noexcept;
  // Releases the tree; the detector becomes empty.
  void clear() noexcept;

 private:
  // Replaces the tree by a balanced one over `nodes` (checked, distinct).
  int adopt(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes);
  // The cache of the last insertion walk, made on first use; nullptr when
  // memory cannot be had.
  unsigned int* insertion_path();

  // At most one of the two is set: the coordinates of a 2-D or of a 3-D tree.
  const dense2D<double>* pos2_ = nullptr;
  const dense2D<double>* pos3_ = nullptr;
  // One column per slot: (node, left child slot, right child slot), UINT_MAX
  // for an absent child; slot 0 is the root.
  dense2D<unsigned int> table_;
  // The coordinates of every slot's node, in slot order (2 or 3 per slot):
  // a copy that the closest-node search reads without going through the
  // node index (indexed nodes do not move).
  dense1D<double, 8> slot_x_;
  // One bit per slot (32-bit words), set for the unlinked slots, and the list
  // of those slots.
  dense1D<unsigned int, 8> flag_bits_;
  dense1D<unsigned int, 8> flagged_;
  // The deepest slots of the last insertion walk with the bounds of their
  // regions, where the next walk may start (src/search/insertion_path.hpp).
  // A pure cache: emptied by reinit and clear, never copied.
  dense1D<unsigned int, 8> path_;
};

// Node merging.  Every node lying within `tolerance` of an eligible node is
// mapped onto one representative:
// - the nodes to merge (sources) and the nodes they may be merged onto
//   (targets) are taken as distinct lists in order of first appearance;
// - the rank of a target is its position in the target list;
// - a source s is merged onto the closest eligible target c with
//   |c - s|^2 <= tolerance^2 (squared Euclidean distances), eligible meaning
//   rank(c) < rank(s) (a source that is not a target may take any target);
//   among candidates at the same distance the one visited last by the tree
//   walk wins;
// - chains are then flattened, so that every map entry is a root:
//   new_IDs[new_IDs[i]] == new_IDs[i].
// Tolerance 0 merges exactly coincident nodes only; a negative or NaN
// tolerance is refused.  On failure new_IDs is left empty and pos and the
// connectivities are unchanged.

// Merges the nodes of nodes1 onto those of nodes2.
// Inputs: pos (2 or 3 rows), nodes1 (sources) and nodes2 (targets), whose
// UINT_MAX entries are ignored, tolerance.
// Output: new_IDs, pos.cols() entries: the representative of every node
// (new_IDs[i] == i for a node not merged); left empty when pos has no column
// or either list holds no node.
// Returns the number of merged nodes, or (checks in this order)
//   -1    pos has neither 2 nor 3 rows,
//   -2    nodes1 holds an index neither below pos.cols() nor UINT_MAX,
//   -3    the same for nodes2,
//   -4    tolerance negative or NaN,
//   -199  memory could not be had.
PLEXA_API int merge(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes1,
                    const dense1D<unsigned int, 8>& nodes2, dense1D<unsigned int, 8>& new_IDs, double tolerance);

// The form above with `nodes` as both lists: each node is merged onto the
// closest node listed before it.  Same codes (tolerance: -4).
PLEXA_API int merge(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes,
                    dense1D<unsigned int, 8>& new_IDs, double tolerance);

// Merges all nodes of pos among themselves (each onto the closest node of
// smaller index), then gives every merged node the coordinates of its
// representative.
// Inputs: tolerance.  In place: pos, whose column count does not change;
// when nodes were merged it receives a contiguous copy holding the new
// coordinates.
// Output: new_IDs, pos.cols() entries, as above.
// Returns the number of merged nodes, or
//   -1    pos has neither 2 nor 3 rows,
//   -3    tolerance negative or NaN,
//   -199  memory could not be had (pos unchanged).
PLEXA_API int merge(dense2D<double>& pos, dense1D<unsigned int, 8>& new_IDs, double tolerance);

// The form above without the map.
PLEXA_API int merge(dense2D<double>& pos, double tolerance);

// Merges the nodes of the connectivities of the half-open array range
// [first, last) and renumbers those connectivities through the map, so that
// their elements refer to representative nodes.  The coordinates are not
// changed.  The nodes of the range are collected in order of first
// appearance (connectivity by connectivity, column by column) and ranked in
// that order; the "piece" of a node is the first connectivity of the range
// that uses it.  mode chooses which nodes may be merged onto which:
//   0  all nodes of the range among themselves: each node onto the closest
//      node collected before it (welding a triangle soup);
//   1  only nodes of different pieces: a node is merged onto the closest node
//      of an earlier piece and never onto a node of its own piece (gluing
//      pieces along their interfaces without collapsing small elements
//      inside a piece; two nodes of one piece still end up together when
//      both are merged onto the same node of another piece);
//   2  the nodes of the later pieces onto the nodes of the first piece only:
//      the nodes of the first connectivity are never moved, and nodes of the
//      later ones are not merged among themselves (attaching pieces to a
//      reference mesh).
// The connectivities of the range may share storage, entries included: all
// are read before any is renumbered, and an entry reached through two of
// them comes out as if renumbered once (the map sends every representative
// to itself).
// Inputs: pos (2 or 3 rows), tolerance, mode.  In place: the connectivities
// of [first, last), renumbered.
// Output: new_IDs, pos.cols() entries, as above; empty when the range uses
// no node.
// Returns the number of merged nodes, or (checks in this order)
//   -1    pos has neither 2 nor 3 rows,
//   -3    first is after last,
//   -5    tolerance negative or NaN,
//   -6    mode greater than 2,
//   -2    a connectivity holds an index neither below pos.cols() nor UINT_MAX,
//   -199  memory could not be had.
// An empty range or a pos without column gives 0 before any check.
PLEXA_API int merge(const dense2D<double>& pos, dense2D<unsigned int>* first, dense2D<unsigned int>* last,
                    dense1D<unsigned int, 8>& new_IDs, double tolerance, unsigned int mode);

// The range form without the map.
PLEXA_API int merge(const dense2D<double>& pos, dense2D<unsigned int>* first, dense2D<unsigned int>* last,
                    double tolerance, unsigned int mode);

// The range form on connect1 then connect2 (connect1 is the first piece).
// Same codes; a bad index in either connectivity gives -2.
PLEXA_API int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect1, dense2D<unsigned int>& connect2,
                    dense1D<unsigned int, 8>& new_IDs, double tolerance, unsigned int mode);

// The two-connectivity form without the map.
PLEXA_API int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect1, dense2D<unsigned int>& connect2,
                    double tolerance, unsigned int mode);

// The range form on one connectivity (a single piece: modes 1 and 2 merge
// nothing).  Same codes.
PLEXA_API int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& new_IDs,
                    double tolerance, unsigned int mode);

// The one-connectivity form without the map.
PLEXA_API int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect, double tolerance, unsigned int mode);

// Removes the degenerate columns of connect: those in which a node index
// occurs twice.  A column whose only repetition is of UINT_MAX (the trailing
// rows of a mixed column) is degenerate only when markers_degenerate is true.
// Inputs: markers_degenerate.  In place: connect; the kept columns are
// compacted in their former order and connect is resized to them (a strided
// view is replaced by a contiguous matrix).
// Output: new_IDs, one entry per former column: its new index, or UINT_MAX
// for a removed column.
// Returns the number of removed columns, or -199 when memory could not be had
// (connect unchanged, new_IDs empty).
PLEXA_API int remove_degenerated(dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& new_IDs,
                                 bool markers_degenerate);

// The same without the map.
PLEXA_API int remove_degenerated(dense2D<unsigned int>& connect, bool markers_degenerate);

// Removes the nodes of index start or more that no connectivity of the
// half-open array range [first, last) uses.  Nodes below start always keep
// their place, used or not.
// Inputs: start.  In place: pos (the kept nodes compacted in their former
// order and pos resized to them; a strided view is replaced by a contiguous
// matrix) and the connectivities of the range, renumbered.  The connectivities of the
// range may share storage: those reaching entries of another one are
// renumbered from copies of their entries taken before anything changes, so
// that an entry reached through two of them is renumbered once.
// Output: new_IDs, pos.cols() entries (the former count): the new index of
// every node, UINT_MAX for a removed one; left empty when nothing is
// examined (empty range, pos without entries, start >= pos.cols()).
// Returns the number of removed nodes, or (checks in this order)
//   -3    first is after last,
//   -2    a connectivity holds an index neither below pos.cols() nor UINT_MAX,
//   -199  memory could not be had.
// On failure pos and the connectivities are unchanged and new_IDs is empty.
PLEXA_API int simplify(dense2D<double>& pos, dense2D<unsigned int>* first, dense2D<unsigned int>* last,
                       dense1D<unsigned int, 8>& new_IDs, unsigned int start);

// The range form on connect1 and connect2, without the map.
PLEXA_API int simplify(dense2D<double>& pos, dense2D<unsigned int>& connect1, dense2D<unsigned int>& connect2,
                       unsigned int start);

// The range form on one connectivity.
PLEXA_API int simplify(dense2D<double>& pos, dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& new_IDs,
                       unsigned int start);

// The range form on one connectivity, without the map.
PLEXA_API int simplify(dense2D<double>& pos, dense2D<unsigned int>& connect, unsigned int start);

}  // namespace plexa
}  // namespace zeb
