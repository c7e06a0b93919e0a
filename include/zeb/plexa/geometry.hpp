// Plexa geometry: transforms, bounding boxes, centroids, mesh copies,
// symmetry and clipping.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.  The transforms share the rules below.
//
// Transforms work in place on a coordinate matrix `pos` (one column per
// node).  Each comes in a 2-D and a 3-D form and with three node selections:
// every column, a node list, or the nodes used by a connectivity (each
// distinct node once, UINT_MAX markers ignored).  Common rules:
//   - an empty `pos` (rows x cols == 0) returns 0;
//   - an identity transform returns 0 and changes nothing: a shift of exact
//     zeros, a 2-D angle of 0 or NaN, a 3-D rotation vector of exact zeros, a
//     zoom factor of 1 or NaN;
//   - a 2-D transform widens a `pos` of fewer than 2 rows to 2 rows, a 3-D
//     transform one of fewer than 3 rows to 3 rows (new entries 0.0); rows
//     beyond the dimension of the transform are left alone;
//   - a node list is applied entry by entry (a node listed twice moves twice);
//     entries that are not valid node indices (>= pos.cols(), UINT_MAX
//     included) are skipped silently, by every family, zoom included.
// Results: translate and rotate return the number of nodes moved (the column
// count for the all-nodes forms, the list entries used for the list forms,
// the distinct valid nodes for the connectivity forms); zoom returns the
// column count in its all-nodes forms and 0 in its list and connectivity
// forms.  -199 when memory could not be had (collecting the nodes of a
// connectivity, widening `pos`); `pos` is then unchanged.
//
// An output may be the same object as an input, or a view sharing its
// storage: the call reads its inputs as they were on entry.  An output that
// the call empties is then detached from the shared block (the other views
// keep their entries); where an output that grows or an argument changed in
// place shares storage with an input, that input is read from a copy made
// before anything changes (-199 when it cannot be made).
//
// Threads: the functions keep no state between calls and start no thread.
// Calls may run at the same time on shared inputs, which they only read, as
// long as no thread writes an input or an output of a call still running.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// Transforms (rules above).  In place: pos.  Inputs: the transform, and the
// node selection when there is one (nodes, or connect for its distinct
// nodes).  Returns: the count above; -199 when memory could not be had (pos
// unchanged).
// ---------------------------------------------------------------------------

// Translation: x <- x + T.
PLEXA_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& T);
PLEXA_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& T, const dense1D<unsigned int, 8>& nodes);
PLEXA_API int translate(dense2D<double>& pos, const vector_fixed<double, 2>& T, const dense2D<unsigned int>& connect);
PLEXA_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& T);
PLEXA_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& T, const dense1D<unsigned int, 8>& nodes);
PLEXA_API int translate(dense2D<double>& pos, const vector_fixed<double, 3>& T, const dense2D<unsigned int>& connect);

// Rotation.
// 2-D: about C by `angle` radians, counter-clockwise for a positive angle:
//   x <- C + (c dx - s dy, s dx + c dy), d = x - C, c = cos angle, s = sin angle.
// 3-D: about the axis through C along the rotation vector R, by the angle
//   theta = |R| (right-hand rule): x <- C + M (x - C), M = I + a K + b K^2,
//   K the cross-product matrix of R, a = sin(theta)/theta,
//   b = (1 - cos theta)/theta^2 (Taylor series in theta^2 for theta <= 0.1).
PLEXA_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& C, double angle);
PLEXA_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& C, double angle,
                     const dense1D<unsigned int, 8>& nodes);
PLEXA_API int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& C, double angle,
                     const dense2D<unsigned int>& connect);
PLEXA_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& R);
PLEXA_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& R,
                     const dense1D<unsigned int, 8>& nodes);
PLEXA_API int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& R,
                     const dense2D<unsigned int>& connect);

// Scaling about C: x <- x + (x - C) (factor - 1).  The list and
// connectivity forms return 0 on success; an empty list returns 0 at once
// (before any widening).
PLEXA_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& C, double factor);
PLEXA_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& C, double factor,
                   const dense1D<unsigned int, 8>& nodes);
PLEXA_API int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& C, double factor,
                   const dense2D<unsigned int>& connect);
PLEXA_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& C, double factor);
PLEXA_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& C, double factor,
                   const dense1D<unsigned int, 8>& nodes);
PLEXA_API int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& C, double factor,
                   const dense2D<unsigned int>& connect);

// ---------------------------------------------------------------------------
// Bounding box
// ---------------------------------------------------------------------------

// Grows the caller's box [min, max] over the selected nodes: for every
// component k, min[k] and max[k] take x[k] when it lies outside them.  The
// box is never reset (start it from a first point or from +inf / -inf); a
// NaN component never changes it.
// Inputs: pos (its row count must be the dimension of the corners), and
// nodes (UINT_MAX entries skipped) or connect (its distinct nodes) when
// given.
// In place: min, max (two distinct objects), changed only on success.
// Returns, in this order:
//   all nodes:    -3 when min and max are one object; -1 when pos.rows() is
//                 not the corner dimension; 0 for an empty pos; 0.
//   node list:    -4 when min and max are one object; 0 at once for an empty
//                 list; -1 for the row count; -2 when an entry is neither
//                 UINT_MAX nor below pos.cols(); 0.
//   connectivity: -4 when min and max are one object; -199 when the distinct
//                 nodes cannot be collected; then the node-list form (-2 for
//                 a bad index in connect).
PLEXA_API int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 2>& min, vector_fixed<double, 2>& max);
PLEXA_API int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes,
                               vector_fixed<double, 2>& min, vector_fixed<double, 2>& max);
PLEXA_API int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                               vector_fixed<double, 2>& min, vector_fixed<double, 2>& max);
PLEXA_API int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 3>& min, vector_fixed<double, 3>& max);
PLEXA_API int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes,
                               vector_fixed<double, 3>& min, vector_fixed<double, 3>& max);
PLEXA_API int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                               vector_fixed<double, 3>& min, vector_fixed<double, 3>& max);

// ---------------------------------------------------------------------------
// Centroids
// ---------------------------------------------------------------------------

// The centroid of every element: the mean of its nodes (the nodes present in
// the column for the mixed types; triangle sums are multiplied by 1/3).
// Inputs: pos (1, 2 or 3 rows), connect (one column per element) of the
// given type.
// Output: G, emptied first, then pos.rows() x connect.cols(): column j is the
// centroid of element j.
// Returns, in this order: -4 for a value outside the enumeration; -1 when
// pos.rows() is not 1, 2 or 3 or is below element_dim(type); -2 when
// check_IDs(connect, type, pos.cols()) fails (rows that do not fit the type,
// bad or misplaced indices); -199 when G cannot be sized; -4 unless the type
// is linear: ELT_EDGE2, ELT_FACE_MIX, ELT_TRIA3, ELT_QUAD4, ELT_SOLID_MIX,
// ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8 (G then stays sized and
// zero-filled); 0.
PLEXA_API int centroids(const dense2D<double>& pos, const dense2D<unsigned int>& connect, dense2D<double>& G,
                        element_type type);

// ---------------------------------------------------------------------------
// Mesh copies.  Duplicating the nodes of a base connectivity connect0 appends
// to `pos`, in order of first appearance in connect0, one copy of every node
// it uses: the k-th distinct node is duplicated as node m + k, m being
// pos.cols() before the call.  The duplicated connectivity is connect0
// renumbered onto the duplicates (UINT_MAX entries stay UINT_MAX).  Entries
// of connect0 must be UINT_MAX or below pos.cols(); a base that breaks this
// is refused with -k, k its argument position, before anything changes.
// ---------------------------------------------------------------------------

// Duplicates the nodes of connect0 and replaces connect by connect0
// renumbered onto the duplicates.
// Inputs: connect0.
// Outputs: pos gains one column per distinct node of connect0; connect
// becomes connect0.rows() x connect0.cols().
// Returns: -3 (bad index in connect0); -199 (pos and connect unchanged); 0.
PLEXA_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const dense2D<unsigned int>& connect0);

// n copies in the plane: copy k (k = 1 ... n) is rotated about C by
// k x angle, then translated by k x T.
// Inputs: T, C, angle, n, connect0.
// Outputs: pos gains n x (distinct nodes of connect0) columns and is widened
// to 2 rows when needed; connect (empty, or of connect0.rows() rows) gains
// the n copies' columns.
// Returns: 0 when pos is empty or n is 0; -2 (connect of another height); -7
// (bad index in connect0); -199 (the copies completed before the failure stay
// in pos and connect); 0.
PLEXA_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, 2>& T,
                        const vector_fixed<double, 2>& C, double angle, unsigned int n,
                        const dense2D<unsigned int>& connect0);

// n copies in space: copy k is rotated about C by the rotation vector k x R,
// then translated by k x T; otherwise as the plane form (pos widened to 3
// rows when needed).  Returns 0, -2, -7, -199 as the plane form.
PLEXA_API int copy_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, 3>& T,
                        const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& R, unsigned int n,
                        const dense2D<unsigned int>& connect0);

// One copy mirrored across the line (2-D) or plane (3-D) through P with
// normal N: x <- x - 2 ((x - P).N / N.N) N.  N may have any finite non-zero
// length (huge and tiny normals are scaled exactly before use); a NaN
// component is not caught: the mirrored nodes are then NaN.
// Inputs: P, N, connect0.
// Outputs: pos gains the mirrored nodes and is widened to 2 (3) rows when
// needed; connect is replaced by the duplicated connectivity.
// Returns: 0 for an empty pos; -4 when N.N computes to exactly 0 (N is zero,
// or every component is below about 1e-162 so that the squares underflow);
// -5 (bad index in connect0); -199 (pos and connect unchanged); 0.
PLEXA_API int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, 2>& P,
                            const vector_fixed<double, 2>& N, const dense2D<unsigned int>& connect0);
PLEXA_API int copy_sym_mesh(dense2D<double>& pos, dense2D<unsigned int>& connect, const vector_fixed<double, 3>& P,
                            const vector_fixed<double, 3>& N, const dense2D<unsigned int>& connect0);

// ---------------------------------------------------------------------------
// Clipping
// ---------------------------------------------------------------------------

// Selects the elements on one side of a plane: the columns of connect whose
// nodes all lie on the side of the plane through P towards which N points,
// or on it: (x - P).N >= 0 over the first min(pos.rows(), 3) components.  A
// column is read up to its first UINT_MAX; a NaN side rejects the column.
// Inputs: pos, connect, P, N.
// Output: kept (empty, or of connect.rows() rows) gains, in their order, one
// column per selected element (unchanged when none is selected).
// Returns: 0 for an empty connect; -2 when check_IDs(connect, pos.cols())
// fails; -4 when N is exactly (0, 0, 0); -5 when kept is not empty and its row
// count differs from connect's; -199 (kept unchanged); 0.
PLEXA_API int clip(const dense2D<double>& pos, const dense2D<unsigned int>& connect, const vector_fixed<double, 3>& P,
                   const vector_fixed<double, 3>& N, dense2D<unsigned int>& kept);

}  // namespace plexa
}  // namespace zeb
