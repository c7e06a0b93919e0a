// Small tensor algebra on packed symmetric metrics, shared by the primitives
// and the field loops.  A D x D metric is D(D+1)/2 doubles, the upper
// triangle column by column: element (i, j), i <= j, at j(j+1)/2 + i.
// Square matrices (eigenvectors, axes, tangent bases) are column-major.
#pragma once

#include <cfloat>

namespace zeb {
namespace plexa {
namespace detail {

// The largest double stands for "no bound" and caps eigenvalues.
constexpr double LARGEST = DBL_MAX;

template <unsigned D>
constexpr unsigned packed_size = D * (D + 1) / 2;

// Index of element (i, j) in the packed storage.
constexpr unsigned packed_index(unsigned i, unsigned j) noexcept {
  return i < j ? j * (j + 1) / 2 + i : i * (i + 1) / 2 + j;
}

// The eigenvalue of a size: 1/h^2 for h > 0, 0 otherwise (NaN included).
inline double eigenvalue_of_size(double h) noexcept { return h > 0 ? 1.0 / (h * h) : 0.0; }

// m = q I.
template <unsigned D>
inline void isotropic(double q, double* m) noexcept {
  for (unsigned j = 0; j < D; ++j)
    for (unsigned i = 0; i <= j; ++i) m[packed_index(i, j)] = i == j ? q : 0.0;
}

// m = C diag(d) C^T, the columns c_k of C (D x D) weighted by d_k:
// m(i, j) = sum over k of d_k c_k(i) c_k(j).  Reads C and d before writing.
template <unsigned D>
inline void assemble(const double* C, const double* d, double* m) noexcept {
  double out[packed_size<D>];
  for (unsigned j = 0; j < D; ++j)
    for (unsigned i = 0; i <= j; ++i) {
      double s = 0.0;
      for (unsigned k = 0; k < D; ++k) s += d[k] * C[k * D + i] * C[k * D + j];
      out[packed_index(i, j)] = s;
    }
  for (unsigned k = 0; k < packed_size<D>; ++k) m[k] = out[k];
}

// v^T m v.
template <unsigned D>
inline double quadratic_form(const double* m, const double* v) noexcept {
  double s = 0.0;
  for (unsigned i = 0; i < D; ++i) {
    double r = 0.0;
    for (unsigned j = 0; j < D; ++j) r += m[packed_index(i, j)] * v[j];
    s += v[i] * r;
  }
  return s;
}

inline double dot3(const double* a, const double* b) noexcept { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

inline void cross3(const double* a, const double* b, double* c) noexcept {
  const double x = a[1] * b[2] - a[2] * b[1], y = a[2] * b[0] - a[0] * b[2], z = a[0] * b[1] - a[1] * b[0];
  c[0] = x;
  c[1] = y;
  c[2] = z;
}

// The 2-D metric of the isotropic size h in the tangent basis t (two 3-D
// columns): (t_i . t_j)/h^2 for h > 0, the zero metric otherwise.
inline void tangent_metric(double h, const double* t, double* m2) noexcept {
  if (!(h > 0)) {
    m2[0] = m2[1] = m2[2] = 0.0;
    return;
  }
  const double q = 1.0 / (h * h);
  const double a = dot3(t, t), b = dot3(t, t + 3), c = dot3(t + 3, t + 3);
  m2[0] = q * a;
  m2[1] = q * b;
  m2[2] = q * c;
}

// The 3-D metric m3 restricted to the tangent basis t: W = m3 t, then
// m2(i, j) = t_i . w_j.
inline void restrict_to_plane(const double* m3, const double* t, double* m2) noexcept {
  double w[6];
  for (unsigned j = 0; j < 2; ++j)
    for (unsigned i = 0; i < 3; ++i) {
      double s = 0.0;
      for (unsigned k = 0; k < 3; ++k) s += m3[packed_index(i, k)] * t[3 * j + k];
      w[3 * j + i] = s;
    }
  const double a = dot3(t, w), b = dot3(t, w + 3), c = dot3(t + 3, w + 3);
  m2[0] = a;
  m2[1] = b;
  m2[2] = c;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
