// Plexa edges: the vertex edges of a mesh, and their lengths measured in a
// size field (edge qualities).
//
// Edge set: every vertex edge of the elements once, as the node pair
// (smaller, larger), sorted by smaller node then larger node.  Edges per
// element (local nodes; mid-edge, face and volume nodes are ignored):
//   ELT_EDGE2, ELT_EDGE3                (0,1)
//   ELT_TRIA3, ELT_TRIA6                (1,2), (2,0), (0,1)
//   ELT_QUAD4, ELT_QUAD8, ELT_QUAD9     (0,1), (1,2), (2,3), (3,0)
//   ELT_TETRA4, ELT_TETRA10             the 6 pairs of nodes 0 to 3
//   ELT_PYRA5, ELT_PYRA14               (0,4), (1,4), (2,4), (3,4), (0,1), (1,2), (2,3), (3,0)
//   ELT_WEDGE6, ELT_WEDGE18             (0,3), (1,4), (2,5), (1,2), (2,0), (0,1), (4,5), (5,3), (3,4)
//   ELT_HEXA8, ELT_HEXA27               (0,1), (1,2), (2,3), (3,0), (4,5), (5,6), (6,7), (7,4),
//                                       (0,4), (1,5), (2,6), (3,7)
//   ELT_FACE_MIX, ELT_SOLID_MIX         those of the kind each column holds
//   ELT_PYRA13, ELT_WEDGE15, ELT_HEXA20,
//   ELT_NONE, ELT_NODE, ELT_EDGE_MIX    none: such a block adds no edge and is no error
// A mixed connectivity whose row count is that of a single member is read
// as that member.  An element naming a node twice adds the pair (v, v).
//
// Edge quality: the length of an edge measured in a size field, 1 for an
// edge of exactly the wanted size.  With sizes a, b at the ends, the mean
// size seen along the edge (the size varying linearly from a to b) is
// H(a, b) = m g, with m = min(a, b), r = (max(a, b) - m)/m and
// g = r/ln(1 + r), replaced for r < 0.1 by its series in x = r/2:
// g = 1 + x (1 - x (1/3 - x (1/3 - 19/45 x))).  An edge of length L then
// measures L / H(a, b) (0 when H is not positive).  In a metric field, with
// l_i^2 = e^T M_i e and l_j^2 = e^T M_j e its lengths in the metrics of its
// ends (e = the edge's vector), it measures l_i l_j / H(l_i, l_j), or 0 when
// either square is not positive.
//
// Sizes are a dense1D<double> with one size per node; metrics a
// dense2D<double> with one column per node holding (M11, M12, M22) in 2-D
// and (M11, M12, M22, M13, M23, M33) in 3-D.  Matrices are walked with
// their leading dimension, so sub-matrix views are accepted everywhere.
//
// An output may be the same object as an input, or a view sharing its
// storage: copy_edges reads every block before its output changes.
//
// Threads: the functions keep no state between calls and start no thread.
// Calls may run at the same time on shared inputs, which they only read, as
// long as no thread writes an input or an output of a call still running
// (a histogram is an output).
#pragma once

#include <zeb/misc/histogram.hpp>
#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// The edge set of a mesh.
// Inputs: `connectivity` (one column per element) and its `type`.
// Output: `edges` gets one new 2-row column (smaller, larger) per edge, in
// set order, after its existing columns: it must be empty or have 2 rows.
// Returns 0 (also for an empty connectivity, which leaves `edges`
// untouched); then, in the order tested: -2 when `type` is no element type
// at all; -1 when the connectivity does not fit the type (check_IDs with no
// node count); -3 when `edges` is non-empty and does not have 2 rows; -199
// when memory could not be had (`edges` unchanged).
PLEXA_API int copy_edges(const dense2D<unsigned int>& connectivity, element_type type, dense2D<unsigned int>& edges);

// The edge set of the blocks [first, last), block k read with element type
// types[k]; an edge shared by several blocks is written once.
// Output: `edges` as above.
// Returns 0 (also for no block); then, in the order tested: -2 when last
// precedes first; -3 when `types` does not hold one element type per block;
// -4 when `edges` is non-empty and does not have 2 rows; -1 when a block
// does not fit its type; -199 when memory could not be had (`edges`
// unchanged).
PLEXA_API int copy_edges(const dense2D<unsigned int>* first, const dense2D<unsigned int>* last,
                         const dense1D<int, 8>& types, dense2D<unsigned int>& edges);

// Quality of an edge of the given length between nodes of sizes h1 and h2:
// length / H(h1, h2).
// Output: `quality`, set to 0 first.
// Returns 0; -2 when h1 is not positive (NaN included), -3 when h2 is not.
PLEXA_API int edge_quality(double length, double h1, double h2, double& quality);

// The qualities of the edges of a mesh in a size field, each passed to
// `histogram`.process (so a derived histogram sees every value) in set
// order; the histogram is not reset.
// Inputs: `pos`, the coordinates (2 or 3 rows, one column per node); the
// mesh, one block (`connectivity`, `type`) or the blocks [first, last) with
// their `types` (as copy_edges); `sizes` (one per node) or `metrics` (one
// column per node, 3 rows with 2-D coordinates, 6 with 3-D); `excluded`,
// edges left out (2 rows, one edge per column, its nodes in either order;
// may be empty).
// An edge is skipped, and the call reported as failed, when one of its
// nodes has no entry in the size field, a size that is not positive (NaN
// included), or a metric that is not valid (is_valid_metric; a field of
// another row count holds no valid metric).  The other edges are measured
// and passed on all the same.
// Returns the number of edges of the set once the excluded ones are removed
// (measured or skipped); or, in the order tested, for the block range:
//    0  first equals last;
//   -1  `pos` has neither 2 nor 3 rows;
//   -3  last precedes first;
//   -4  `types` does not hold one element type per block;
//   -2  a block does not fit its type, or names a node without coordinates;
//   -7  `excluded` does not have 2 rows, or names a node without coordinates;
//   -5  some edge was skipped (see above);
//   -199 memory could not be had (nothing passed to the histogram).
// The single-block overloads give the same codes with those below -3
// raised by one (-3 for a type that is not an element type, -4 for a
// skipped edge, -6 for `excluded`); -199 stays -199.
PLEXA_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned int>& connectivity, element_type type,
                             const dense1D<double, 8>& sizes, misc::histogram& histogram,
                             const dense2D<unsigned int>& excluded);
PLEXA_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned int>& connectivity, element_type type,
                             const dense2D<double>& metrics, misc::histogram& histogram,
                             const dense2D<unsigned int>& excluded);
PLEXA_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned int>* first,
                             const dense2D<unsigned int>* last, const dense1D<int, 8>& types,
                             const dense1D<double, 8>& sizes, misc::histogram& histogram,
                             const dense2D<unsigned int>& excluded);
PLEXA_API int edge_qualities(const dense2D<double>& pos, const dense2D<unsigned int>* first,
                             const dense2D<unsigned int>* last, const dense1D<int, 8>& types,
                             const dense2D<double>& metrics, misc::histogram& histogram,
                             const dense2D<unsigned int>& excluded);

}  // namespace plexa
}  // namespace zeb
