// Plexa quality: the shape quality of elements, the smallest quality of a
// mesh, and the determinants of the elements' Jacobians.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Element types: every face and solid type, linear, quadratic and mixed
// (ELT_FACE_MIX, ELT_TRIA3 ... ELT_QUAD9, ELT_SOLID_MIX, ELT_TETRA4 ...
// ELT_HEXA27), read as check_IDs reads them (a mixed connectivity whose row
// count is that of a single member is that member; in a mixed column the
// markers give the kind).  Faces take 2-D coordinates (pos.rows() == 2) or
// 3-D ones (surface elements); solids take 3-D coordinates.  The local
// order of the higher-order nodes is the one core.hpp gives.
//
// Orientation.  An element is positive when the map from its reference
// element has a positive Jacobian determinant, the convention of other mesh
// tools:
//   faces in the plane   nodes 0, 1, 2 (, 3) counter-clockwise;
//   tetrahedra           nodes 0, 1, 2 counter-clockwise seen from node 3;
//   pyramids, wedges,    the base 0, 1, 2 (, 3) counter-clockwise seen from
//   hexahedra            the apex or the top face.
// The boundary tables of topology.hpp are deliberately not uniform in this
// convention: they see the faces of a positive tetrahedron pointing out of
// it, and those of a positive pyramid, wedge or hexahedron pointing into it.
// Faces in 3-D coordinates have no orientation: their measures never depend
// on the node order (a mirror image or a reversed node order gives the same
// values).
//
// Shape quality: 1 for the regular element of each kind (the equilateral
// triangle, the square, the regular tetrahedron, the cube, the right prism
// on an equilateral triangle with square sides, the pyramid on a square
// whose four triangles are equilateral); below 1 for every other shape,
// tending to 0 as the element degenerates (flat, needle, cap, sliver) and 0
// for a degenerate one; negative for an inverted element, a mirrored element
// having the opposite value; never negative for faces in 3-D coordinates.
// It does not change under translation, rotation and uniform scaling, and
// varies continuously with the nodes.  It is the mean ratio of the element
// to the regular one, measured on the vertices (the higher-order nodes of a
// quadratic element are not read: its curvature shows in `jacobians`):
//   - triangles: q = 2 sqrt(3) d / L, d = twice the signed area, L the sum of
//     the squared edge lengths;
//   - tetrahedra: q = 12 (|d| / 2)^(2/3) / L with the sign of d, d = six times
//     the signed volume;
//   - quadrangles, pyramids, wedges, hexahedra: at each corner, the vertex
//     with the vertices it shares an edge with, q_k = 2 det S / |S|^2 (faces)
//     or 3 sign(det S) |det S|^(2/3) / |S|^2 (solids), S = A W^-1, A the
//     matrix of the corner's edge vectors and W the same corner of the
//     regular element with unit edges (|S| the Frobenius norm); pyramids
//     are measured at their four base corners.  When all q_k have one sign
//     the quality is the q_k nearest to 0; a tangled element, whose corners
//     disagree, gets -min(largest q_k, largest -q_k), negative in either
//     orientation and continuous with the untangled values.
// A face in 3-D coordinates is measured in its own orientation (its
// determinants taken along the normal of its corners, see `jacobians`), and
// a negative value reads as 0.  The quality is NaN when a coordinate is
// not finite.  Elements of any size are measured alike: one whose squared
// edge lengths would leave the range of doubles is first scaled by a power
// of two, which changes no ratio.
//
// An output may be the same object as an input, or a view sharing its
// storage: the call reads its inputs as they were on entry, and an output it
// empties is then detached from the shared block (the other views keep
// their entries).
//
// Threads: the functions keep no state between calls and start no thread.
// Calls may run at the same time on shared inputs, which they only read, as
// long as no thread writes an input or an output of a call still running.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// Shape quality of every element (see above).
// Inputs: pos (2 rows for faces in the plane, 3 for surfaces and solids),
// connect (one column per element) of the given type.
// Output: qualities, emptied first, then connect.cols() values: value j for
// element j.
// Returns, in this order: -3 for a type without quality (ELT_NONE,
// ELT_NODE, edges, values outside the enumeration); 0 for a connectivity
// without entries (qualities empty); -1 when pos has another row count (2
// rows with a solid type included); -2 when check_IDs(connect, type,
// pos.cols()) fails; -199 when qualities cannot be sized (qualities empty);
// 0 on success.
PLEXA_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                              dense1D<double, 8>& qualities);

// The same shape quality measured in a metric field, so that an element of
// exactly the shape the metric prescribes (regular when its edges are
// measured by sqrt(e^T M e)) scores 1, whatever its size.
// Inputs: as above, and metrics: one column per node holding its metric
// tensor packed as symmetric_fixed (m11, m12, m22 for 2-D coordinates; m11,
// m12, m22, m13, m23, m33 for 3-D ones).  The element's metric M is the
// arithmetic mean of the metrics of its vertices (quadratic elements: their
// vertices only), and the element is measured after the map x -> R x, R
// the upper triangular Cholesky factor of M (R^T R = M).  For a constant
// field M = A^-T A^-1, a mesh mapped by x -> A x (det A > 0) has the
// qualities of the unmapped mesh.
// Output: qualities, as above.
// Returns: the codes above, with -4 between -2 and -199: metrics without 3
// rows (2-D coordinates) or 6 rows (3-D), with a column count other than
// pos.cols(), or with a column that is not a valid metric (an entry that is
// not finite, or not positive definite); the whole field is checked, used
// nodes or not.  An empty connectivity gives 0 before the field is looked
// at.
PLEXA_API int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                              const dense2D<double>& metrics, dense1D<double, 8>& qualities);

// The smallest shape quality of a mesh, without storing the others.
// Inputs: as shape_qualities.
// Outputs: quality, the smallest shape quality, and element, the first
// element that has it (NaN counts as the smallest value: a mesh with
// non-finite coordinates reports its first element whose quality is NaN).
// An empty connectivity gives quality 1 and element 4294967295 (UINT_MAX).
// Both are written once, when the call returns; on failure quality is NaN
// and element 4294967295.
// Returns: the codes of shape_qualities, in the same order, except -199 (no
// memory is needed).
PLEXA_API int min_quality(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                          double& quality, unsigned int& element);

// Determinants of the Jacobian of each element's map from its reference
// element, sampled over the element.
// Reference elements: the unit right triangle and tetrahedron (nodes 0, 1,
// 2 (, 3) at the origin and the ends of the unit axes), the unit square and
// cube (nodes 0, 1, 2, 3 counter-clockwise from the origin, the top nodes
// 4 to 7 above them), the wedge on the unit right triangle of height 1, the
// pyramid on the unit square with its apex at (1/2, 1/2, 1); the higher-order
// nodes at the centres of their edges, faces or cells.  The maps are the
// usual Lagrange interpolations: P2 on triangles and tetrahedra, the
// serendipity spaces for ELT_QUAD8 and ELT_HEXA20, Q2 for ELT_QUAD9 and
// ELT_HEXA27, P2 x P1 with {1, r, s} t^2 for ELT_WEDGE15 and P2 x P2 for
// ELT_WEDGE18; pyramids use the rational pyramid space (polynomial in the
// coordinates collapsed at the apex), whose determinant stays finite at the
// apex, where it depends on the direction of approach.  On these references
// the determinant at a vertex of a linear element is the determinant of the
// edge vectors leaving it (six times the volume of a tetrahedron, the area
// of a parallelogram, the volume of a parallelepiped).
// Sample points: the vertices for the linear kinds (pyramids: the four base
// corners, whose values bound the determinant over the whole pyramid;
// triangles and tetrahedra have a constant determinant); for the quadratic
// kinds the nodes of the complete element of their shape (6 on triangles,
// 10 on tetrahedra, the 3 x 3 lattice on quadrangles, 18 points on wedges,
// 27 on hexahedra), on pyramids the 3 x 3 x 3 lattice of the collapsed
// coordinates (the apex read in its nine directions).
// Certificate: for ELT_TRIA6 and ELT_TETRA10 the smallest value is replaced
// by the smallest Bezier coefficient of the determinant (a polynomial of
// degree 2 or 3 on these elements), a lower bound over the whole element: a
// positive value proves that the determinant is positive everywhere, hence
// the element valid.  (A negative one does not prove the contrary.)
// Faces in 3-D coordinates: the determinant of two tangent vectors u, v is
// (u x v) . n, n the unit normal of the face's corners (y1 x y2 for a
// triangle, the cross product of the diagonals (x2 - x0) x (x3 - x1) for a
// quadrangle): the area element of a flat face, negative where a face folds
// over, independent of the node order.
// Inputs: pos, connect, type as shape_qualities.
// Output: dets, 2 x connect.cols(), emptied first: column j holds the
// smallest and the largest determinant of element j (NaN when a coordinate
// is not finite).  Their ratio, smallest over largest, is the scaled
// Jacobian of a positive element: 1 when the determinant is constant (every
// linear simplex, parallelogram and parallelepiped), in (0, 1] while the
// element is valid; a smallest determinant of 0 or below marks a degenerate,
// tangled or inverted element.  (For an element whose determinants are all
// negative, largest over the magnitude of the smallest is the opposite of
// its mirror image's ratio: `plexa quality` reports that.)
// Returns: the codes of shape_qualities, in the same order (0 for a
// connectivity without entries, dets empty; -199 when dets cannot be sized,
// dets then empty).
PLEXA_API int jacobians(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                        dense2D<double>& dets);

}  // namespace plexa
}  // namespace zeb
