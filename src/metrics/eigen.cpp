// Eigen-decompositions of metrics: the 3-D solvers through dspev, the
// generalized problems, and the exported eigen_values, eigen_pairs and
// is_valid_metric.
#include <cmath>

#include <zeb/lapack.hpp>
#include <zeb/plexa/metrics.hpp>

#include "metrics/eigen.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

// dspev on a private copy of the packed 3 x 3 matrix m, upper triangle,
// with a zeroed work area of 10 doubles (the routine needs 9): jobz 'N'
// when z is null, else 'V' with z the 3 x 3 eigenvector matrix.
bool packed_dspev(const double* m, double* w, double* z) noexcept {
  for (unsigned k = 0; k < 6; ++k)
    if (!std::isfinite(m[k])) return false;
  double ap[6] = {m[0], m[1], m[2], m[3], m[4], m[5]};
  double work[10] = {};
  long info = 0;
  if (z)
    zeb::lapack::dspev('V', 'U', 3, ap, w, z, 3, work, info);
  else
    zeb::lapack::dspev('N', 'U', 3, ap, w, nullptr, 1, work, info);
  return info == 0;
}

// Scales each of the D columns of v to unit length unless its squared
// length is exactly 0 or 1.
template <unsigned D>
void normalise_columns(double* v) noexcept {
  for (unsigned k = 0; k < D; ++k) {
    double* c = v + k * D;
    double n2 = 0.0;
    for (unsigned i = 0; i < D; ++i) n2 += c[i] * c[i];
    if (n2 == 0.0 || n2 == 1.0) continue;
    const double n = std::sqrt(n2);
    for (unsigned i = 0; i < D; ++i) c[i] /= n;
  }
}

// Cholesky factor (x, y, z) = (L11, L21, L22) of the 2 x 2 block (a, b, c),
// accepting a zero pivot: a == 0 needs b == 0 and c >= 0.
bool block_cholesky(double a, double b, double c, double& x, double& y, double& z) noexcept {
  if (a == 0.0) {
    if (b != 0.0 || !(c >= 0.0)) return false;
    x = 0.0, y = 0.0, z = std::sqrt(c);
    return true;
  }
  if (!(a > 0.0)) return false;
  const double d = a * c - b * b;
  if (!(d >= 0.0)) return false;
  const double s = std::sqrt(a);
  x = s, y = b / s, z = std::sqrt(d) / s;
  return true;
}

// Lower triangular L with m = L L^T, stored (L11, L21, L22, L31, L32, L33).
// A zero leading row (m11 = m12 = m13 = 0) or a zero second row and column
// (m12 = m22 = m23 = 0) leaves a zero pivot and factorises the other 2 x 2
// block; a zero last pivot is accepted.
bool tolerant_cholesky(const double* m, double* L) noexcept {
  const double m11 = m[0], m12 = m[1], m22 = m[2], m13 = m[3], m23 = m[4], m33 = m[5];
  for (unsigned k = 0; k < 6; ++k) L[k] = 0.0;
  if (m11 == 0.0 && m12 == 0.0 && m13 == 0.0) return block_cholesky(m22, m23, m33, L[2], L[4], L[5]);
  if (m12 == 0.0 && m22 == 0.0 && m23 == 0.0) return block_cholesky(m11, m13, m33, L[0], L[3], L[5]);
  if (!(m11 > 0.0)) return false;
  const double d = m11 * m22 - m12 * m12;
  if (!(d > 0.0)) return false;
  const double l11 = std::sqrt(m11), sd = std::sqrt(d);
  L[0] = l11;
  L[1] = m12 / l11;
  L[2] = sd / l11;
  L[3] = m13 / l11;
  L[4] = (m23 * m11 - m13 * m12) / sd / l11;
  const double r = m33 - L[3] * L[3] - L[4] * L[4];
  if (!(r >= 0.0)) return false;
  L[5] = std::sqrt(r);
  return true;
}

// The inverse of the factor, as a full lower triangular 3 x 3 (row-major
// lower part in X[i][j], j <= i).  A zero pivot gives a zero row, so the
// directions it stands for drop out of the transformed problem.
void inverse_factor(const double* L, double X[3][3]) noexcept {
  const double d0 = L[0] != 0.0 ? 1.0 / L[0] : 0.0;
  const double d1 = L[2] != 0.0 ? 1.0 / L[2] : 0.0;
  const double d2 = L[5] != 0.0 ? 1.0 / L[5] : 0.0;
  X[0][0] = d0, X[0][1] = 0.0, X[0][2] = 0.0;
  X[1][0] = -d1 * L[1] * d0, X[1][1] = d1, X[1][2] = 0.0;
  X[2][0] = -d2 * (L[3] * d0 + L[4] * X[1][0]), X[2][1] = -d2 * L[4] * d1, X[2][2] = d2;
}

}  // namespace

bool eigenvalues_3d(const double* m, double* l) noexcept { return packed_dspev(m, l, nullptr); }

bool eigenpairs_3d(const double* m, double* l, double* v) noexcept {
  if (!packed_dspev(m, l, v)) return false;
  cross3(v, v + 3, v + 6);
  return true;
}

// m1 = (a, b, c), m2 = (p, q, r).  With d = det m1 and T = (sqrt(d), -b;
// 0, a), T^T m1 T = a d I and T^T m2 T = (dp, sqrt(d)(aq - pb); ...), so the
// eigen-pairs (l', w) of the latter give l = l'/(a d) and v = T w.
bool generalized_eigenpairs_2d(const double* m1, const double* m2, double* l, double* v) noexcept {
  const double a = m1[0], b = m1[1], c = m1[2], p = m2[0], q = m2[1], r = m2[2];
  if (a == 0.0) return false;
  const double det = a * c - b * b;
  if (!(det > 0.0)) return false;
  const double sd = std::sqrt(det);
  const double s[3] = {det * p, sd * (a * q - p * b), a * a * r - b * (2.0 * a * q - p * b)};
  double w[4];
  if (!eigenpairs_2d(s, l, w, false)) return false;
  const double f = 1.0 / (det * a);
  l[0] *= f;
  l[1] *= f;
  for (unsigned k = 0; k < 2; ++k) {
    const double x = w[2 * k], y = w[2 * k + 1];
    v[2 * k] = x * sd - y * b;
    v[2 * k + 1] = y * a;
  }
  normalise_columns<2>(v);
  return true;
}

// m1 = L L^T; the eigen-pairs (l, z) of X m2 X^T, X = L^-1, give v = X^T z.
bool generalized_eigenpairs_3d(const double* m1, const double* m2, double* l, double* v) noexcept {
  double L[6], X[3][3];
  if (!tolerant_cholesky(m1, L)) return false;
  inverse_factor(L, X);
  double B[3][3];  // X m2
  for (unsigned i = 0; i < 3; ++i)
    for (unsigned j = 0; j < 3; ++j) {
      double s = 0.0;
      for (unsigned k = 0; k <= i; ++k) s += X[i][k] * m2[packed_index(k, j)];
      B[i][j] = s;
    }
  double a[6];  // X m2 X^T, packed
  for (unsigned j = 0; j < 3; ++j)
    for (unsigned i = 0; i <= j; ++i) {
      double s = 0.0;
      for (unsigned k = 0; k <= j; ++k) s += B[i][k] * X[j][k];
      a[packed_index(i, j)] = s;
    }
  double z[9];
  if (!packed_dspev(a, l, z)) return false;
  for (unsigned k = 0; k < 3; ++k)
    for (unsigned i = 0; i < 3; ++i) {
      double s = 0.0;
      for (unsigned j = i; j < 3; ++j) s += X[j][i] * z[3 * k + j];
      v[3 * k + i] = s;
    }
  normalise_columns<3>(v);
  return true;
}

}  // namespace detail

void eigen_values(const symmetric_fixed<double, 2>& M, vector_fixed<double, 2>& L) {
  detail::eigenvalues_2d(M.m, L.v);
}

void eigen_values(const symmetric_fixed<double, 3>& M, vector_fixed<double, 3>& L) {
  double l[3] = {NAN, NAN, NAN};
  detail::eigenvalues_3d(M.m, l);
  L = vector_fixed<double, 3>(l[0], l[1], l[2]);
}

bool eigen_pairs(const symmetric_fixed<double, 2>& M, vector_fixed<double, 2>& L, matrix_fixed<double, 2, 2>& V) {
  return detail::eigenpairs_2d(M.m, L.v, V.a, true);
}

bool eigen_pairs(const symmetric_fixed<double, 3>& M, vector_fixed<double, 3>& L, matrix_fixed<double, 3, 3>& V) {
  return detail::eigenpairs_3d(M.m, L.v, V.a);
}

bool eigen_pairs(const symmetric_fixed<double, 2>& M1, const symmetric_fixed<double, 2>& M2,
                 vector_fixed<double, 2>& L, matrix_fixed<double, 2, 2>& V) {
  return detail::generalized_eigenpairs_2d(M1.m, M2.m, L.v, V.a);
}

bool eigen_pairs(const symmetric_fixed<double, 3>& M1, const symmetric_fixed<double, 3>& M2,
                 vector_fixed<double, 3>& L, matrix_fixed<double, 3, 3>& V) {
  return detail::generalized_eigenpairs_3d(M1.m, M2.m, L.v, V.a);
}

bool is_valid_metric(const symmetric_fixed<double, 2>& M) { return detail::is_valid<2>(M.m); }
bool is_valid_metric(const symmetric_fixed<double, 3>& M) { return detail::is_valid<3>(M.m); }

}  // namespace plexa
}  // namespace zeb
