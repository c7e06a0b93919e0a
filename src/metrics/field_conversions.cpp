// Conversions between field layouts: isotropic sizes to metrics, sizes in
// tangent planes, 3-D metrics restricted to tangent planes.  The output
// field is sized by the caller and only its first columns are written.
#include <zeb/plexa/metrics.hpp>

#include "core/aliasing.hpp"
#include "core/result_codes.hpp"
#include "metrics/tensor.hpp"

namespace zeb {
namespace plexa {

namespace {

template <unsigned D>
int iso_to_aniso(const dense1D<double, 8>& H, dense2D<double>& M) {
  if (H.empty() && M.empty()) return 0;
  if (M.rows() != detail::packed_size<D> || M.cols() < H.size()) return detail::bad_argument(2);
  dense1D<double, 8> sizes;
  if (!detail::detach(H, M, sizes)) return detail::OUT_OF_MEMORY;
  const double* h = sizes.data();
  double* p = M.data();
  const std::size_t ld = M.ld();
  for (unsigned i = 0, n = sizes.size(); i < n; ++i)
    if (h[i] > 0) detail::isotropic<D>(detail::eigenvalue_of_size(h[i]), p + i * ld);
  return 0;
}

}  // namespace

int metrics_iso_to_aniso2d(const dense1D<double, 8>& H, dense2D<double>& M) { return iso_to_aniso<2>(H, M); }
int metrics_iso_to_aniso3d(const dense1D<double, 8>& H, dense2D<double>& M) { return iso_to_aniso<3>(H, M); }

int metrics_iso_to_aniso2d(const dense1D<double, 8>& H, const dense2D<double>& T, dense2D<double>& M) {
  if (H.empty() && T.empty() && M.empty()) return 0;
  const unsigned n = H.size();
  if (T.rows() != 6 || T.cols() != n) return detail::bad_argument(2);
  if (M.rows() != 3 || M.cols() < n) return detail::bad_argument(3);
  dense1D<double, 8> sizes;
  dense2D<double> bases;
  if (!detail::detach(H, M, sizes) || !detail::detach(T, M, bases)) return detail::OUT_OF_MEMORY;
  const double* h = sizes.data();
  const double* t = bases.data();
  double* p = M.data();
  const std::size_t tld = bases.ld(), ld = M.ld();
  for (unsigned i = 0; i < n; ++i) detail::tangent_metric(h[i], t + i * tld, p + i * ld);
  return 0;
}

int metrics_aniso3d_to_aniso2d(const dense2D<double>& M3, const dense2D<double>& T, dense2D<double>& M2) {
  if (M3.empty() && T.empty() && M2.empty()) return 0;
  const unsigned n = M3.cols();
  if (M3.rows() != 6) return detail::bad_argument(1);
  if (T.rows() != 6 || T.cols() != n) return detail::bad_argument(2);
  if (M2.rows() != 3 || M2.cols() < n) return detail::bad_argument(3);
  dense2D<double> metrics, bases;
  if (!detail::detach(M3, M2, metrics) || !detail::detach(T, M2, bases)) return detail::OUT_OF_MEMORY;
  const double* m = metrics.data();
  const double* t = bases.data();
  double* p = M2.data();
  const std::size_t mld = metrics.ld(), tld = bases.ld(), ld = M2.ld();
  for (unsigned i = 0; i < n; ++i) detail::restrict_to_plane(m + i * mld, t + i * tld, p + i * ld);
  return 0;
}

}  // namespace plexa
}  // namespace zeb
