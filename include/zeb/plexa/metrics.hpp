// Plexa metrics: metric tensors (sizes and directions) and metric fields.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// A metric is a symmetric positive definite matrix M prescribing a target
// size, possibly different in each direction: a vector v has length
// sqrt(v^T M v) in the metric, and a size h along a unit direction u means
// u^T M u = 1/h^2.  An isotropic size h is the metric diag(1/h^2); a zero
// eigenvalue means no constraint (infinite size) in its direction.
//
// Metrics are symmetric_fixed<double, 2|3>: the upper triangle packed column
// by column, (m11, m12, m22) in 2-D and (m11, m12, m22, m13, m23, m33) in
// 3-D.  A metric is valid when its smallest eigenvalue is > 0 (not NaN).
// 2-D eigen-problems use closed forms; 3-D ones the packed symmetric solver
// zeb::lapack::dspev.  A 3-D matrix with a non-finite coefficient is not
// handed to the solver: its solve fails.
//
// Fields hold one metric per node: an isotropic field is a
// dense1D<double, 8> of sizes (a size is valid when 0 < h < the largest
// double, 1.7976931348623157e308); an anisotropic field a dense2D<double> of
// 3 rows (2-D) or 6 rows (3-D), one packed metric per column.  Any other row
// count is not a metric field.  Matrices are walked with their leading
// dimension, so sub-matrix views are accepted everywhere.
//
// Outputs may be the same objects as inputs, or views sharing their storage:
// every function reads its inputs as they were on entry.  Output fields are
// never resized: the caller sizes them.
//
// Threads: the functions keep no state between calls and start no thread.
// Calls may run at the same time on shared inputs, which they only read, as
// long as no thread writes an input or an output of a call still running.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// ---------------------------------------------------------------------------
// Building metrics from sizes.
// ---------------------------------------------------------------------------

// Isotropic metric of size h.
// Inputs: h.
// Output: M = diag(1/h^2) when h > 0, the zero metric otherwise (zero,
// negative or NaN h).
PLEXA_API void metric_aniso(double h, symmetric_fixed<double, 2>& M);
PLEXA_API void metric_aniso(double h, symmetric_fixed<double, 3>& M);

// Metric with the given sizes along the coordinate axes.
// Inputs: h1, h2 (, h3), or the vector H of them.
// Output: M diagonal, m_kk = 1/h_k^2 when h_k > 0, else 0; off-diagonals 0.
PLEXA_API void metric_aniso(double h1, double h2, symmetric_fixed<double, 2>& M);
PLEXA_API void metric_aniso(double h1, double h2, double h3, symmetric_fixed<double, 3>& M);
PLEXA_API void metric_aniso(const vector_fixed<double, 2>& H, symmetric_fixed<double, 2>& M);
PLEXA_API void metric_aniso(const vector_fixed<double, 3>& H, symmetric_fixed<double, 3>& M);

// Metric with the sizes H_k along the axes R_k.
// Inputs: H; R, whose columns are the axes (not checked for orthonormality).
// Output: M = R diag(d) R^T with d_k = 1/H_k^2 for H_k != 0 and d_k = 0 for
// H_k == 0.  Negative sizes count by their magnitude; a NaN size gives NaN
// coefficients.
PLEXA_API void metric_aniso(const vector_fixed<double, 2>& H, const matrix_fixed<double, 2, 2>& R,
                            symmetric_fixed<double, 2>& M);
PLEXA_API void metric_aniso(const vector_fixed<double, 3>& H, const matrix_fixed<double, 3, 3>& R,
                            symmetric_fixed<double, 3>& M);

// Isotropic size h seen in a tangent plane.
// Inputs: h; T, a (possibly non orthonormal) basis whose two columns are
// 3-D vectors t1, t2.
// Output: M(i, j) = (t_i . t_j)/h^2 when h > 0, the zero metric otherwise.
PLEXA_API void metric_aniso2d(double h, const matrix_fixed<double, 3, 2>& T, symmetric_fixed<double, 2>& M);

// Restriction of a 3-D metric to the plane of a basis.
// Inputs: M3; T, whose columns t1, t2 span the plane.
// Output: M2 = T^T M3 T, computed as M2(i, j) = t_i . (M3 t_j).
PLEXA_API void metric_aniso3d_to_aniso2d(const symmetric_fixed<double, 3>& M3, const matrix_fixed<double, 3, 2>& T,
                                         symmetric_fixed<double, 2>& M2);

// ---------------------------------------------------------------------------
// Eigen-decompositions.
// 2-D, for M = (a, b, c): s = sqrt((a - c)^2 + 4 b^2), l1 = (a + c - s)/2,
// l2 = s + l1; when |l1| < 1e-12 |l2| then l1 = (ac - b^2)/l2, else when
// |l2| < 1e-12 |l1| then l2 = (ac - b^2)/l1.  The solve succeeds when both
// are finite.
// ---------------------------------------------------------------------------

// Eigenvalues of M.
// Inputs: M.
// Output: L (2 or 3 values), in ascending order.  After a failed solve L
// holds whatever the solver left (2-D: the values computed; 3-D: NaN for a
// non-finite M, what dspev wrote otherwise).
PLEXA_API void eigen_values(const symmetric_fixed<double, 2>& M, vector_fixed<double, 2>& L);
PLEXA_API void eigen_values(const symmetric_fixed<double, 3>& M, vector_fixed<double, 3>& L);

// Eigenvalues and unit eigenvectors of M, the eigenvectors forming a
// right-handed basis.  2-D: a nearly isotropic M (max(a^2, c^2) 1e-24 at or
// above the squared norm of the unnormalised first vector) gives
// V = ((1, 0), (-0.0, 1)); otherwise v2 = (-v1.y, v1.x).  3-D: dspev, then
// v3 = v1 x v2.
// Inputs: M.
// Outputs: L (2 or 3 values, ascending); V (2 x 2 or 3 x 3), column k the
// eigenvector of L[k].
// Returns: false when the solve fails (L and V unspecified); true.
PLEXA_API bool eigen_pairs(const symmetric_fixed<double, 2>& M, vector_fixed<double, 2>& L,
                           matrix_fixed<double, 2, 2>& V);
PLEXA_API bool eigen_pairs(const symmetric_fixed<double, 3>& M, vector_fixed<double, 3>& L,
                           matrix_fixed<double, 3, 3>& V);

// Generalized problem M2 v = l M1 v (the eigen-pairs of M1^-1 M2).
// 2-D: needs m11 != 0 and det M1 > 0.  3-D: M1 = L L^T by a Cholesky
// factorisation that tolerates a zero leading pivot (m11 = m12 = m13 = 0, or
// m12 = m22 = m23 = 0, factorises the remaining 2 x 2 block; a zero last
// pivot is accepted).  The direction of a zero pivot gets a zero eigenvalue
// and a zero vector; the other pairs solve the problem restricted to the
// range of M1.
// Inputs: M1, M2.
// Outputs: L (2 or 3 eigenvalues); V (2 x 2 or 3 x 3), column k the
// eigenvector of L[k], scaled to unit length unless its squared length is
// exactly 0 or 1.
// Returns: false when M1 cannot be factorised; false when the solve fails
// (L and V unspecified in both cases); true.
PLEXA_API bool eigen_pairs(const symmetric_fixed<double, 2>& M1, const symmetric_fixed<double, 2>& M2,
                           vector_fixed<double, 2>& L, matrix_fixed<double, 2, 2>& V);
PLEXA_API bool eigen_pairs(const symmetric_fixed<double, 3>& M1, const symmetric_fixed<double, 3>& M2,
                           vector_fixed<double, 3>& L, matrix_fixed<double, 3, 3>& V);

// Whether M is a valid metric.
// Inputs: M.
// Returns: true when the smallest eigenvalue of M is > 0; false also when
// the solve fails (NaN or infinite coefficients included).
PLEXA_API bool is_valid_metric(const symmetric_fixed<double, 2>& M);
PLEXA_API bool is_valid_metric(const symmetric_fixed<double, 3>& M);

// ---------------------------------------------------------------------------
// Clamping, maximum, minimum, isotropic size.
// ---------------------------------------------------------------------------

// Clamps the sizes of M between hmin and hmax: every eigenvalue above
// 1/hmin^2 (none when hmin <= 0) is lowered to it, then every eigenvalue
// below 1/hmax^2 (0 when hmax <= 0) is raised to it, so that the hmax bound
// wins when hmin > hmax.  The eigenvectors are kept: M = V diag(l) V^T.
// Inputs: hmin, hmax.  In place: M.
// Returns, in the order tested:
//    0  hmin <= 0 and hmax is exactly 1.7976931348623157e308 (no bound;
//       +infinity is not this case): M unchanged;
//   -2  hmin not finite (M unchanged);
//   -3  hmax not finite (M unchanged);
//   -1  the eigen-solve failed, or no eigenvalue needed clamping, or the
//       clamped eigenvalues are not all in (0, largest double): M unchanged.
//       -1 therefore also means "not modified";
//    0  M rebuilt and valid;
//   -1  M rebuilt (and overwritten) but not valid.
PLEXA_API int bound_metric(symmetric_fixed<double, 2>& M, double hmin, double hmax);
PLEXA_API int bound_metric(symmetric_fixed<double, 3>& M, double hmin, double hmax);

// The larger (maximum_metric: its unit ball holds both unit balls, d_k =
// min(a_k, b_k)) or the smaller (minimum_metric: its unit ball lies in both,
// d_k = max(a_k, b_k)) of M1 and M2, built in the basis P that reduces both
// at once (p_k^T M1 p_k = a_k, p_k^T M2 p_k = b_k, p_k^T M p_k = d_k).
// Inputs: M1, M2 (M may be either of them).
// Output: M, as the result says.
// Returns, in this order:
//   false  the reduction fails: M = M1;
//   true   every d_k is a_k: M = M1; else every d_k is b_k: M = M2;
//   otherwise whether the largest d_k is > 0 (whether the result has a
//   positive eigenvalue, not full validity), with M = P^-T diag(d) P^-1, or
//   M unchanged when the largest d_k is at or above the largest double.
PLEXA_API bool maximum_metric(const symmetric_fixed<double, 2>& M1, const symmetric_fixed<double, 2>& M2,
                              symmetric_fixed<double, 2>& M);
PLEXA_API bool maximum_metric(const symmetric_fixed<double, 3>& M1, const symmetric_fixed<double, 3>& M2,
                              symmetric_fixed<double, 3>& M);
PLEXA_API bool minimum_metric(const symmetric_fixed<double, 2>& M1, const symmetric_fixed<double, 2>& M2,
                              symmetric_fixed<double, 2>& M);
PLEXA_API bool minimum_metric(const symmetric_fixed<double, 3>& M1, const symmetric_fixed<double, 3>& M2,
                              symmetric_fixed<double, 3>& M);

// One isotropic size for M, between its smallest and its largest size.
// Inputs: M; t (0 the smallest size, 1 the largest; t is not clamped).
// Returns: 0.0 when the solve fails or l1 is not > 0; otherwise, with
// l1 <= ld the extreme eigenvalues, hmin = 1/sqrt(ld) and hmax = 1/sqrt(l1),
// hmin + t (hmax - hmin).
PLEXA_API double metric_aniso_to_iso(const symmetric_fixed<double, 2>& M, double t);
PLEXA_API double metric_aniso_to_iso(const symmetric_fixed<double, 3>& M, double t);

// ---------------------------------------------------------------------------
// Field validation.
// ---------------------------------------------------------------------------

// The first listed node whose size is not valid.
// Inputs: nodes, H.
// Returns: the position in `nodes` of the first node whose index is not
// below H.size() or whose size is not valid; nodes.size() when there is
// none.
PLEXA_API unsigned int first_invalid_metric(const dense1D<unsigned int, 8>& nodes, const dense1D<double, 8>& H);
// The first listed node whose metric is not valid.
// Inputs: nodes, M.
// Returns: 0 when M has neither 3 nor 6 rows; the position in `nodes` of
// the first node whose index is not below M.cols() or whose column is not a
// valid metric; nodes.size() when there is none.
PLEXA_API unsigned int first_invalid_metric(const dense1D<unsigned int, 8>& nodes, const dense2D<double>& M);
// The first size of a field that is not valid.
// Inputs: H.
// Returns: the index of the first size of H that is not valid; H.size()
// when none.
PLEXA_API unsigned int first_invalid_metric(const dense1D<double, 8>& H);
// The first column of a field that is not a valid metric.
// Inputs: M.
// Returns: 0 when M has neither 3 nor 6 rows; the index of the first column
// of M that is not a valid metric; M.cols() when none.
PLEXA_API unsigned int first_invalid_metric(const dense2D<double>& M);

// Whether the scanned sizes or metrics are all valid.
// Inputs: as first_invalid_metric.
// Returns: whether first_invalid_metric with the same arguments equals the
// length scanned (nodes.size(), H.size() or M.cols()).  A field of the wrong
// row count is therefore valid only when the scan is empty.
PLEXA_API bool are_valid_metrics(const dense1D<unsigned int, 8>& nodes, const dense1D<double, 8>& H);
PLEXA_API bool are_valid_metrics(const dense1D<unsigned int, 8>& nodes, const dense2D<double>& M);
PLEXA_API bool are_valid_metrics(const dense1D<double, 8>& H);
PLEXA_API bool are_valid_metrics(const dense2D<double>& M);

// Lists the valid columns of a metric field.
// Inputs: M.
// Output: ids, appended to (not emptied first: calling twice lists every
// column twice): the index of every valid column of M, in increasing order;
// nothing is appended when M has neither 3 nor 6 rows.  When ids cannot
// grow, nothing is appended at all (ids keeps its previous entries only);
// there is no result code to say so: compare ids.size() before and after
// where memory may run out.
PLEXA_API void valid_metrics(const dense2D<double>& M, dense1D<unsigned int, 8>& ids);

// ---------------------------------------------------------------------------
// Field clamping.  In place: the field (H or M).  Inputs: hmin, hmax.
// Output (the overloads with `modified`): modified, emptied on entry, then
// the index of every entry or column counted, in increasing order.
// Returns the number of entries or columns changed, or a code; checks, in
// order, for every overload:
//    0  empty field;
//    0  hmin <= 0 and hmax exactly 1.7976931348623157e308 (no bound; the
//       field is not scanned);
//   -1  (matrix fields) neither 3 nor 6 rows;
//   -2  hmin not finite;
//   -3  hmax not finite;
//   -199 (the overloads with `modified`) the list cannot be sized; the
//       field is then unchanged.
// ---------------------------------------------------------------------------

// Sizes: every h < hmin becomes hmin, otherwise every h > hmax becomes hmax
// (the bounds are sizes, used as they are); NaN entries stay.
PLEXA_API int bound_metrics(dense1D<double, 8>& H, double hmin, double hmax);
PLEXA_API int bound_metrics(dense1D<double, 8>& H, double hmin, double hmax, dense1D<unsigned int, 8>& modified);
// Metrics: bound_metric on every column; the columns for which it returns 0
// are counted.  A column that bound_metric overwrote but found invalid keeps
// the overwritten value and is not counted.
PLEXA_API int bound_metrics(dense2D<double>& M, double hmin, double hmax);
PLEXA_API int bound_metrics(dense2D<double>& M, double hmin, double hmax, dense1D<unsigned int, 8>& modified);

// ---------------------------------------------------------------------------
// Field repair: the number of entries or columns replaced, or a code.
// The size repairs test h <= 0 only: NaN and infinite sizes are neither
// replaced nor counted.  The metric repairs replace every column whose
// smallest eigenvalue is not > 0, NaN included.
// ---------------------------------------------------------------------------

// Replaces the invalid sizes of H from a reference field: over the first
// min(H.size(), Href.size()) entries, H[i] <= 0 becomes Href[i] when
// Href[i] > 0.
// Inputs: Href.  In place: H.
// Returns: 0 when H or Href is empty; -199 when Href shares storage with H
// and cannot be copied first (H unchanged); the count.
PLEXA_API int overwrite_invalid_metrics(dense1D<double, 8>& H, const dense1D<double, 8>& Href);
// Replaces the invalid sizes of H by one size: every H[i] <= 0 becomes h.
// Inputs: h.  In place: H.
// Returns: 0 for an empty H; -2 when h is not > 0 (NaN included); the
// count.
PLEXA_API int overwrite_invalid_metrics(dense1D<double, 8>& H, double h);
// Replaces the invalid columns of M from a reference field: over the first
// min(M.cols(), Mref.cols()) columns, an invalid column of M becomes column
// i of Mref when that one is valid.
// Inputs: Mref.  In place: M.
// Returns: 0 for an empty M; -1 when M has neither 3 nor 6 rows; -2 when
// Mref has another row count than M; -199 when Mref shares storage with M
// and cannot be copied first (M unchanged); the count.
PLEXA_API int overwrite_invalid_metrics(dense2D<double>& M, const dense2D<double>& Mref);
// Replaces the invalid columns of M from a size field: over the first
// min(M.cols(), Href.size()) columns, an invalid column i of M becomes the
// isotropic metric of size Href[i] (diagonal 1/Href[i]^2, off-diagonals 0)
// when Href[i] > 0.
// Inputs: Href.  In place: M.
// Returns: 0 for an empty M; -1 when M has neither 3 nor 6 rows; -199 when
// Href shares storage with M and cannot be copied first (M unchanged); the
// count.
PLEXA_API int overwrite_invalid_metrics(dense2D<double>& M, const dense1D<double, 8>& Href);
// Replaces the invalid columns of M by one metric: every invalid column of
// M becomes Mref.
// Inputs: Mref.  In place: M.
// Returns: 0 for an empty M; -1 when M does not have 3 (2-D) or 6 (3-D)
// rows; -2 when Mref is not a valid metric; the count.
PLEXA_API int overwrite_invalid_metrics(dense2D<double>& M, const symmetric_fixed<double, 2>& Mref);
PLEXA_API int overwrite_invalid_metrics(dense2D<double>& M, const symmetric_fixed<double, 3>& Mref);

// ---------------------------------------------------------------------------
// Field conversions, into an output field sized by the caller; columns
// beyond the input's count are left alone.  Inputs that share storage with
// the output are copied first (-199 when they cannot be; the output is then
// unchanged).
// ---------------------------------------------------------------------------

// Isotropic sizes to metrics.
// Inputs: H.
// Output: M, 3 rows (2-D) or 6 rows (3-D) and at least H.size() columns:
// column i becomes the isotropic metric of size H[i] when H[i] > 0,
// (1/h^2, 0, 1/h^2) in 2-D, (1/h^2, 0, 1/h^2, 0, 0, 1/h^2) in 3-D; the
// other columns are untouched.
// Returns: 0 when H and M are both empty; -2 when M does not have 3 (2-D)
// or 6 (3-D) rows and at least H.size() columns; -199; 0.
PLEXA_API int metrics_iso_to_aniso2d(const dense1D<double, 8>& H, dense2D<double>& M);
PLEXA_API int metrics_iso_to_aniso3d(const dense1D<double, 8>& H, dense2D<double>& M);

// Isotropic sizes seen in tangent planes.
// Inputs: H; T, 6 rows and H.size() columns: column i the tangent basis T_i
// of node i (t1 then t2).
// Output: M, 3 rows and at least H.size() columns: column i becomes
// metric_aniso2d(H[i], T_i).
// Returns: 0 when the three are empty; -2 when T does not have 6 rows and
// H.size() columns; -3 when M does not have 3 rows and at least H.size()
// columns; -199; 0.
PLEXA_API int metrics_iso_to_aniso2d(const dense1D<double, 8>& H, const dense2D<double>& T, dense2D<double>& M);

// 3-D metrics restricted to tangent planes.
// Inputs: M3, 6 rows (one 3-D metric per column); T, 6 rows and M3.cols()
// columns (the tangent bases).
// Output: M2, 3 rows and at least M3.cols() columns: column i becomes
// T_i^T M3_i T_i, the metric in column i of M3 restricted to the basis in
// column i of T.
// Returns: 0 when the three are empty; -1 when M3 does not have 6 rows; -2
// when T does not have 6 rows and M3.cols() columns; -3 when M2 does not
// have 3 rows and at least M3.cols() columns; -199; 0.
PLEXA_API int metrics_aniso3d_to_aniso2d(const dense2D<double>& M3, const dense2D<double>& T, dense2D<double>& M2);

}  // namespace plexa
}  // namespace zeb
