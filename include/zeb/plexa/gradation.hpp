// Plexa gradation: control of how fast a size field changes along the edges
// of a mesh, size fields generated from a mesh's edges, and the measure of
// their largest change at each node.
//
// Fields are those of <zeb/plexa/metrics.hpp>: isotropic sizes, a
// dense1D<double, 8> with one size per node; or metrics, a dense2D<double>
// with one packed symmetric matrix per column (m11, m12, m22) in 2-D and
// (m11, m12, m22, m13, m23, m33) in 3-D, a size h along a unit direction u
// meaning u^T M u = 1/h^2.  Coordinates have 2 or 3 rows (the space
// dimension), one column per node.  Matrices are walked with their leading
// dimension, so sub-matrix views are accepted everywhere.
//
// Measures of an edge (i, j), of Euclidean length d, with sizes hi and hj
// along it (for a metric M, h = 1/sqrt(u^T M u), u the edge's direction)
// and L its length in the field (the length in sizes d/H(hi, hj) of
// <zeb/plexa/edges.hpp>, with the mean size H of a linearly varying size;
// for metrics li lj/H(li, lj) with li, lj the edge's lengths in the two end
// metrics):
//   gradation  exp(ln(r)/L) - 1, r = max(hi, hj)/min(hi, hj): the growth
//              factor of the size per unit of length in the field, minus
//              one (the largest double once ln(r)/L reaches 700).  Where the
//              sizes differ by 10% or more this is exp(|hi - hj|/d) - 1;
//              nearer, the mean size is a series that stays within 2e-7 of
//              it.
//   variation  |hi - hj|/d, the slope of the size (for metrics computed as
//              |li - lj|/(li lj)).
// Both are 0 for an edge with L at or above the largest double; for L below
// 1e-12 they are 0 when the two end values are equal (every coefficient),
// the largest double otherwise.  An edge exceeds a bound g when its measure
// is > g (a NaN measure exceeds nothing).
//
// Threads: the functions keep no state between calls and start no thread.
// Calls may run at the same time on shared inputs, which they only read, as
// long as no thread writes an input or an output of a call still running.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// Gradation control.
//
// Smooths a size field in place so that along the mesh's edges the
// gradation (bound_metric_gradations) or the variation
// (bound_metric_variations) stays at or below g.  The edges exceeding g go
// into a priority queue, worst first (keys are the measures as floats;
// equal keys come out by increasing node to correct, then increasing
// neighbour, so the result does not depend on the order of the elements).
// Each edge (i, j) that comes out and is still current corrects i against
// j: i's size along the edge is brought to j's plus or minus the change
// the bound allows over the edge's length (ln(1 + g) d for the gradation,
// g d for the variation), i.e. to the parameter t (0 at i, 1 at j) where
// the edge meets the bound; every change puts the node's edges that now
// exceed g back into the queue.
//   - Isotropic fields: the new size is hi + t (hj - hi).
//   - Metrics: the two metrics are reduced simultaneously (P^T Mi P and
//     P^T Mj P diagonal), their sizes are interpolated direction by
//     direction in that basis, and the metric rebuilt; then in mode 1 the
//     result is maximum_metric(Mi, M), in mode -1 minimum_metric(Mi, M).
//     The size along the edge lands near, not on, the target, so an edge
//     may take several corrections.
// A correction is made only when t > 0.001 (smaller ones are not worth a
// pass), the node's mode allows its direction, and the node really changes
// (a size by a factor above 1 + 1e-12; a metric when a diagonal coefficient
// changes by a factor whose square root is above 1 + 1e-12).
//
// Frozen neighbours: when node i has frozen neighbours, its correction goes
// only as far along [0, t] as they allow: the parameter chosen is the one
// with the least excess over g of the measures against them, and among
// equal excesses the largest, found by sampling at 0, t/6, ..., 5t/6 and
// refining around the best sample (to 0.001 in the parameter, or as soon as
// an admissible point lies within 0.001 of g).  Since 0 (no change) is
// always a candidate, a node within the bound against its frozen neighbours
// stays within it, and one above it never moves further above.  When no
// admissible parameter is found above 0.001 the node is not corrected.
//
// What holds after a successful call:
//   - Mode 1 (grow only) or -1 (shrink only), no node frozen: every edge is
//     within the bound up to the 0.001 threshold on t.  For isotropic sizes
//     that is |hi - hj| <= ln(1 + g) d / 0.999 (gradation: a measure of at
//     most (1 + g)^(1/0.999) - 1, about g + 0.001 (1 + g) ln(1 + g), with
//     a further relative 2e-7 where the sizes differ by less than 10%) and
//     |hi - hj| <= g d / 0.999 (variation).  For metrics the same holds for
//     the sizes along each edge, save for edges whose correction cannot be
//     made (the reduction fails, the mode filter reports false, or the new
//     metric changes no diagonal coefficient by the threshold).  In every
//     mode, an edge shorter than 1e-12 in the field between values that
//     differ by no more than the change threshold stays at the largest
//     double.
//   - With frozen nodes, edges to frozen nodes, and edges between free
//     nodes whose correction was capped by a frozen neighbour, may stay
//     above the bound: the frozen sizes may themselves be at odds with it.
//   - Mode 0 gives no guarantee: a node grows or shrinks by its first
//     change and keeps that direction, so an edge can be left above the
//     bound between a node that grew and one that shrank.  Other modes
//     change nothing.
//   - Frozen nodes never change; a field already within the bound is left
//     as it is (bit for bit) and the call returns 0; a second call with the
//     same arguments on the result changes nothing in modes 1 and -1.
//
// Arguments, the same for the four overloads:
//   pos      node coordinates, 2 or 3 rows;
//   connect  element connectivity, one column per element, of element type
//            `type` (mixed types narrowed by row count): ELT_EDGE2,
//            ELT_TRIA3, ELT_QUAD4, ELT_FACE_MIX, ELT_TETRA4, ELT_PYRA5,
//            ELT_WEDGE6, ELT_HEXA8 or ELT_SOLID_MIX; the edges of the
//            elements (every node pair of a simplex) are the node graph
//            walked;
//   nodes    a node list (UINT_MAX entries ignored);
//   frozen   true: the listed nodes are frozen, the others free; false:
//            the listed nodes are the only free ones;
//   mode     the direction mode of every node (its low byte is read): 0, a
//            node may grow or shrink, its first change deciding which; 1,
//            sizes only grow; -1, sizes only shrink; other values block
//            every correction;
//   g        the bound, >= 0; the largest double means no bound;
//   M or H   the field, changed in place: metrics of 3 rows with 2-D
//            coordinates, 6 with 3-D, or sizes; one column (entry) for
//            every node up to the largest index of connect.
// Invalid sizes or metrics are not repaired (see overwrite_invalid_metrics):
// a node whose size is not positive (NaN included), or whose metric cannot
// be reduced with its neighbour's, is not corrected; an infinite size
// comes down to its neighbour's where the mode lets it shrink.
// Working memory: the node graph (4 bytes per edge end, built through the
// node-to-element lists of the connectivity), 5 bytes per node, and 16
// bytes per queued correction (one per edge above the bound in modes 1 and
// -1, up to two in mode 0; corrections that would change nothing are not
// queued, stale ones are swept out before the queue grows).
// Returns the number of distinct nodes whose value changed (>= 0); or, in
// the order tested:
//    0  connect is empty, or g is the largest double (nothing is read);
//   -1  pos has neither 2 nor 3 rows;
//   -2  connect does not fit `type` or names a node without coordinates
//       (check_IDs against pos.cols());
//   -3  `type` is none of the types above;
//   -4  nodes names a node without coordinates;
//   -7  g is negative or NaN;
//   -8  the field has another row count, or no value for some node of
//       connect;
//   -199 memory could not be had.  The nodes already corrected keep their
//       new values (each one a whole correction), the others theirs: the
//       propagation is not finished.
// The field may share storage with pos: coordinates are then read from a
// copy made first (-199, field unchanged, when it cannot be made).
PLEXA_API int bound_metric_gradations(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                                      element_type type, const dense1D<unsigned int, 8>& nodes, bool frozen,
                                      int mode, double g, dense2D<double>& M);
PLEXA_API int bound_metric_gradations(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                                      element_type type, const dense1D<unsigned int, 8>& nodes, bool frozen,
                                      int mode, double g, dense1D<double, 8>& H);
PLEXA_API int bound_metric_variations(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                                      element_type type, const dense1D<unsigned int, 8>& nodes, bool frozen,
                                      int mode, double g, dense2D<double>& M);
PLEXA_API int bound_metric_variations(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                                      element_type type, const dense1D<unsigned int, 8>& nodes, bool frozen,
                                      int mode, double g, dense1D<double, 8>& H);

// ---------------------------------------------------------------------------
// Size fields from a mesh, and their shock.
// ---------------------------------------------------------------------------

// An isotropic size field from the Euclidean lengths (over all rows of pos)
// of the element edges at each node: their power mean of exponent p.  Each
// element counts each of its edges, so an edge shared by k elements counts
// k times; edges of non-finite length are left out.  p = 0 gives the
// shortest length, p = the largest double (1.7976931348623157e308) the
// longest, p = 1 the arithmetic mean, other p (sum of l^p over the count)^(1/p)
// (2 the quadratic mean).  A NaN p is accepted (the sizes come out NaN).
// Edges per element (local nodes): ELT_EDGE2 (0,1); ELT_TRIA3 (1,2), (2,0),
// (0,1); ELT_QUAD4 (0,1), (1,2), (2,3), (3,0); ELT_TETRA4 the 6 node
// pairs; ELT_PYRA5 (0,4), (1,4), (2,4), (3,4) and the base sides; ELT_WEDGE6
// the 3 vertical edges and the sides of both triangles; ELT_HEXA8 the 12
// sides; ELT_FACE_MIX (4 rows) and ELT_SOLID_MIX (8 rows) those of the kind
// each column holds (3 rows of ELT_FACE_MIX are triangles, 4, 5, 6 rows of
// ELT_SOLID_MIX tetrahedra, pyramids, wedges).
// Inputs: pos (any row count at or above the element dimension), connect,
// type, p >= 0.
// Output: H, grown to pos.cols() entries when shorter (new entries 0);
// every node that an edge reaches gets its mean, the others keep their
// value.
// Returns 0 (also for an empty connect, H untouched); or, in the order
// tested: -3 when `type` is no element type at all; -1 when the element
// dimension of the type is above pos.rows(); -2 when connect does not fit
// the type or names a node without coordinates; -5 when p < 0; -3 when the
// type is none of those above (ELT_EDGE3, the quadratic types, ELT_NODE,
// ELT_EDGE_MIX); -199 when memory could not be had (H unchanged).  Nothing
// is written before these checks pass.  H may share storage with pos
// (coordinates are then read from a copy).
PLEXA_API int metrics_gen_iso(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                              dense1D<double, 8>& H, double p);

// The shock of a field at each node: the largest gradation (as defined at
// the top of this header) along the given edges that meet there.
// Inputs: pos (2 or 3 rows); edges, 2 rows, one edge (i, j) per column;
// the field, metrics M (3 rows with 2-D pos, 6 with 3-D) or sizes H, with a
// value for every node of the edges.
// Output: S, grown to pos.cols() entries when shorter (new entries 0);
// S(i) and S(j) become the larger of their value and the edge's measure:
// S accumulates (it is not reset), so a field within the bound g leaves
// every entry at most max(g, its previous value).
// Returns 0 (also for empty edges, S untouched); or, in the order tested:
// -1 when pos has neither 2 nor 3 rows; -2 when edges does not have 2 rows
// or names a node without coordinates; -3 when the field has another row
// count or no value for some node of the edges; -199 when memory could not
// be had (S unchanged).  S may share storage with pos or the field (they
// are then read from copies).
PLEXA_API int H_shock(const dense2D<double>& pos, const dense2D<unsigned int>& edges, const dense2D<double>& M,
                      dense1D<double, 8>& S);
PLEXA_API int H_shock(const dense2D<double>& pos, const dense2D<unsigned int>& edges, const dense1D<double, 8>& H,
                      dense1D<double, 8>& S);

}  // namespace plexa
}  // namespace zeb
