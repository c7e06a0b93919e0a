// Seeded metrics for the metric tests: random rotations and symmetric
// positive definite matrices R diag(l) R^T with eigenvalues spread over many
// decades, small dense algebra to check results against, and fields mixing
// valid columns with broken ones.
#pragma once

#include <cmath>
#include <random>

#include "support/support.hpp"

using namespace zeb::plexa;
using zeb::dense1D;
using zeb::dense2D;
template <unsigned D>
using Sym = zeb::symmetric_fixed<double, D>;
template <unsigned D>
using Vec = zeb::vector_fixed<double, D>;
template <unsigned D>
using Mat = zeb::matrix_fixed<double, D, D>;

namespace plexa_test {

template <unsigned D>
Vec<D> random_unit(std::mt19937_64& g) {
  std::normal_distribution<double> n;
  Vec<D> v;
  double s = 0;
  for (unsigned i = 0; i < D; ++i) v[i] = n(g), s += v[i] * v[i];
  for (unsigned i = 0; i < D; ++i) v[i] /= std::sqrt(s);
  return v;
}

// A random rotation (orthonormal, determinant +1) by Gram-Schmidt.
template <unsigned D>
Mat<D> random_rotation(std::mt19937_64& g) {
  Mat<D> R;
  for (unsigned k = 0; k < D; ++k) {
    Vec<D> v = random_unit<D>(g);
    for (unsigned p = 0; p < k; ++p) {
      double d = 0;
      for (unsigned i = 0; i < D; ++i) d += v[i] * R(i, p);
      for (unsigned i = 0; i < D; ++i) v[i] -= d * R(i, p);
    }
    double s = 0;
    for (unsigned i = 0; i < D; ++i) s += v[i] * v[i];
    for (unsigned i = 0; i < D; ++i) R(i, k) = v[i] / std::sqrt(s);
  }
  double det = D == 2 ? R(0, 0) * R(1, 1) - R(0, 1) * R(1, 0)
                      : R(0, 0) * (R(1, 1) * R(2, 2) - R(2, 1) * R(1, 2)) -
                            R(0, 1) * (R(1, 0) * R(2, 2) - R(2, 0) * R(1, 2)) +
                            R(0, 2) * (R(1, 0) * R(2, 1) - R(2, 0) * R(1, 1));
  if (det < 0)
    for (unsigned i = 0; i < D; ++i) R(i, 0) = -R(i, 0);
  return R;
}

// Eigenvalues 10^u, u uniform in [lo, hi].
template <unsigned D>
Vec<D> spread_values(std::mt19937_64& g, double lo = -8, double hi = 8) {
  std::uniform_real_distribution<double> u(lo, hi);
  Vec<D> l;
  for (unsigned k = 0; k < D; ++k) l[k] = std::pow(10.0, u(g));
  return l;
}

// R diag(l) R^T.
template <unsigned D>
Sym<D> compose(const Mat<D>& R, const Vec<D>& l) {
  Sym<D> M;
  for (unsigned j = 0; j < D; ++j)
    for (unsigned i = 0; i <= j; ++i) {
      double s = 0;
      for (unsigned k = 0; k < D; ++k) s += l[k] * R(i, k) * R(j, k);
      M(i, j) = s;
    }
  return M;
}

template <unsigned D>
Sym<D> random_metric(std::mt19937_64& g, double lo = -8, double hi = 8) {
  return compose<D>(random_rotation<D>(g), spread_values<D>(g, lo, hi));
}

// M v.
template <unsigned D>
Vec<D> times(const Sym<D>& M, const double* v) {
  Vec<D> r;
  for (unsigned i = 0; i < D; ++i)
    for (unsigned j = 0; j < D; ++j) r[i] += M(i, j) * v[j];
  return r;
}

template <unsigned D>
double quadratic(const Sym<D>& M, const double* v) {
  const Vec<D> w = times<D>(M, v);
  double s = 0;
  for (unsigned i = 0; i < D; ++i) s += v[i] * w[i];
  return s;
}

// Largest |M(i, j)|: the scale of rounding errors in M.
template <unsigned D>
double scale(const Sym<D>& M) {
  double s = 0;
  for (double x : M.m) s = std::max(s, std::fabs(x));
  return s;
}

template <unsigned D>
Sym<D> column(const dense2D<double>& M, unsigned j) {
  Sym<D> s;
  for (unsigned k = 0; k < Sym<D>::packed_size; ++k) s[k] = M(k, j);
  return s;
}

// A field of `cols` columns (3 rows in 2-D, 6 in 3-D), stored with padding
// (ld > rows): mostly random metrics, the rest broken in one of several
// ways (zero, NaN, infinite or huge entries, negative, indefinite).
template <unsigned D>
dense2D<double> mixed_field(std::mt19937_64& g, unsigned cols) {
  constexpr unsigned P = Sym<D>::packed_size;
  dense2D<double> M(P, cols);
  for (unsigned j = 0; j < cols; ++j) {
    Sym<D> m = random_metric<D>(g);
    switch (g() % 12) {
      case 0: m = Sym<D>(); break;
      case 1: m[g() % P] = NAN; break;
      case 2: m[g() % P] = INFINITY; break;
      case 3: m[0] = 1e300; break;
      case 4:
        for (double& x : m.m) x = -x;
        break;
      case 5: {
        Vec<D> l = spread_values<D>(g);
        l[0] = -l[0];
        m = compose<D>(random_rotation<D>(g), l);
        break;
      }
      default: break;
    }
    for (unsigned k = 0; k < P; ++k) M(k, j) = m[k];
  }
  return strided(M);
}

}  // namespace plexa_test
