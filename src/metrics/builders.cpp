// Metrics from sizes and axes, surface metrics, and one isotropic size from
// a metric.
#include <cmath>

#include <zeb/plexa/metrics.hpp>

#include "metrics/eigen.hpp"
#include "metrics/tensor.hpp"

namespace zeb {
namespace plexa {

namespace {

// Diagonal metric from sizes: 1/h_k^2 for h_k > 0, else 0.
template <unsigned D>
void axis_metric(const double* h, symmetric_fixed<double, D>& M) {
  const symmetric_fixed<double, D> zero;
  M = zero;
  for (unsigned k = 0; k < D; ++k) M(k, k) = detail::eigenvalue_of_size(h[k]);
}

// R diag(d) R^T with d_k = 1/H_k^2; only a size of exactly 0 gives d_k = 0,
// so negative sizes count by their magnitude and NaN propagates.
template <unsigned D>
void axes_metric(const vector_fixed<double, D>& H, const matrix_fixed<double, D, D>& R,
                 symmetric_fixed<double, D>& M) {
  double d[D];
  for (unsigned k = 0; k < D; ++k) d[k] = H[k] != 0.0 ? 1.0 / (H[k] * H[k]) : 0.0;
  detail::assemble<D>(R.a, d, M.m);
}

template <unsigned D>
double iso_size(const symmetric_fixed<double, D>& M, double t) {
  double l[D];
  if (!detail::eigenvalues<D>(M.m, l) || !(l[0] > 0)) return 0.0;
  const double hmin = 1.0 / std::sqrt(l[D - 1]), hmax = 1.0 / std::sqrt(l[0]);
  return hmin + t * (hmax - hmin);
}

}  // namespace

void metric_aniso(double h, symmetric_fixed<double, 2>& M) { detail::isotropic<2>(detail::eigenvalue_of_size(h), M.m); }
void metric_aniso(double h, symmetric_fixed<double, 3>& M) { detail::isotropic<3>(detail::eigenvalue_of_size(h), M.m); }

void metric_aniso(double h1, double h2, symmetric_fixed<double, 2>& M) {
  const double h[2] = {h1, h2};
  axis_metric<2>(h, M);
}
void metric_aniso(double h1, double h2, double h3, symmetric_fixed<double, 3>& M) {
  const double h[3] = {h1, h2, h3};
  axis_metric<3>(h, M);
}
void metric_aniso(const vector_fixed<double, 2>& H, symmetric_fixed<double, 2>& M) { metric_aniso(H[0], H[1], M); }
void metric_aniso(const vector_fixed<double, 3>& H, symmetric_fixed<double, 3>& M) {
  metric_aniso(H[0], H[1], H[2], M);
}

void metric_aniso(const vector_fixed<double, 2>& H, const matrix_fixed<double, 2, 2>& R,
                  symmetric_fixed<double, 2>& M) {
  axes_metric<2>(H, R, M);
}
void metric_aniso(const vector_fixed<double, 3>& H, const matrix_fixed<double, 3, 3>& R,
                  symmetric_fixed<double, 3>& M) {
  axes_metric<3>(H, R, M);
}

void metric_aniso2d(double h, const matrix_fixed<double, 3, 2>& T, symmetric_fixed<double, 2>& M) {
  detail::tangent_metric(h, T.a, M.m);
}

void metric_aniso3d_to_aniso2d(const symmetric_fixed<double, 3>& M3, const matrix_fixed<double, 3, 2>& T,
                               symmetric_fixed<double, 2>& M2) {
  detail::restrict_to_plane(M3.m, T.a, M2.m);
}

double metric_aniso_to_iso(const symmetric_fixed<double, 2>& M, double t) { return iso_size<2>(M, t); }
double metric_aniso_to_iso(const symmetric_fixed<double, 3>& M, double t) { return iso_size<3>(M, t); }

}  // namespace plexa
}  // namespace zeb
