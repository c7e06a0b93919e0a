// overwrite_invalid_metrics: invalid sizes or metrics of a field replaced
// from a reference.
#include <zeb/plexa/metrics.hpp>

#include "core/aliasing.hpp"
#include "core/result_codes.hpp"
#include "metrics/eigen.hpp"

namespace zeb {
namespace plexa {

namespace {

inline void copy_column(const double* from, unsigned rows, double* to) noexcept {
  for (unsigned i = 0; i < rows; ++i) to[i] = from[i];
}

template <unsigned D>
int repair_from_field(dense2D<double>& M, const dense2D<double>& ref) {
  double* p = M.data();
  const double* q = ref.data();
  const std::size_t ld = M.ld(), rld = ref.ld();
  const unsigned n = M.cols() < ref.cols() ? M.cols() : ref.cols();
  int replaced = 0;
  for (unsigned j = 0; j < n; ++j) {
    double* col = p + j * ld;
    const double* r = q + j * rld;
    if (!detail::is_valid<D>(col) && detail::is_valid<D>(r)) {
      copy_column(r, detail::packed_size<D>, col);
      ++replaced;
    }
  }
  return replaced;
}

template <unsigned D>
int repair_from_sizes(dense2D<double>& M, const dense1D<double, 8>& H) {
  double* p = M.data();
  const double* h = H.data();
  const std::size_t ld = M.ld();
  const unsigned n = M.cols() < H.size() ? M.cols() : H.size();
  int replaced = 0;
  for (unsigned j = 0; j < n; ++j) {
    double* col = p + j * ld;
    if (h[j] > 0 && !detail::is_valid<D>(col)) {
      detail::isotropic<D>(detail::eigenvalue_of_size(h[j]), col);
      ++replaced;
    }
  }
  return replaced;
}

template <unsigned D>
int repair_from_metric(dense2D<double>& M, const symmetric_fixed<double, D>& Mref) {
  if (M.empty()) return 0;
  if (M.rows() != detail::packed_size<D>) return detail::bad_argument(1);
  const symmetric_fixed<double, D> ref = Mref;
  if (!detail::is_valid<D>(ref.m)) return detail::bad_argument(2);
  double* p = M.data();
  const std::size_t ld = M.ld();
  int replaced = 0;
  for (unsigned j = 0, n = M.cols(); j < n; ++j) {
    double* col = p + j * ld;
    if (!detail::is_valid<D>(col)) {
      copy_column(ref.m, detail::packed_size<D>, col);
      ++replaced;
    }
  }
  return replaced;
}

}  // namespace

int overwrite_invalid_metrics(dense1D<double, 8>& H, const dense1D<double, 8>& Href) {
  if (H.empty() || Href.empty()) return 0;
  dense1D<double, 8> ref;
  if (!detail::detach(Href, H, ref)) return detail::OUT_OF_MEMORY;
  double* h = H.data();
  const double* r = ref.data();
  const unsigned n = H.size() < ref.size() ? H.size() : ref.size();
  int replaced = 0;
  for (unsigned i = 0; i < n; ++i)
    if (r[i] > 0 && h[i] <= 0) {
      h[i] = r[i];
      ++replaced;
    }
  return replaced;
}

int overwrite_invalid_metrics(dense1D<double, 8>& H, double h) {
  if (H.empty()) return 0;
  if (!(h > 0)) return detail::bad_argument(2);
  double* p = H.data();
  int replaced = 0;
  for (unsigned i = 0, n = H.size(); i < n; ++i)
    if (p[i] <= 0) {
      p[i] = h;
      ++replaced;
    }
  return replaced;
}

int overwrite_invalid_metrics(dense2D<double>& M, const dense2D<double>& Mref) {
  if (M.empty()) return 0;
  const unsigned rows = M.rows();
  if (rows != 3 && rows != 6) return detail::bad_argument(1);
  if (Mref.rows() != rows) return detail::bad_argument(2);
  dense2D<double> ref;
  if (!detail::detach(Mref, M, ref)) return detail::OUT_OF_MEMORY;
  return rows == 3 ? repair_from_field<2>(M, ref) : repair_from_field<3>(M, ref);
}

int overwrite_invalid_metrics(dense2D<double>& M, const dense1D<double, 8>& Href) {
  if (M.empty()) return 0;
  const unsigned rows = M.rows();
  if (rows != 3 && rows != 6) return detail::bad_argument(1);
  dense1D<double, 8> ref;
  if (!detail::detach(Href, M, ref)) return detail::OUT_OF_MEMORY;
  return rows == 3 ? repair_from_sizes<2>(M, ref) : repair_from_sizes<3>(M, ref);
}

int overwrite_invalid_metrics(dense2D<double>& M, const symmetric_fixed<double, 2>& Mref) {
  return repair_from_metric<2>(M, Mref);
}
int overwrite_invalid_metrics(dense2D<double>& M, const symmetric_fixed<double, 3>& Mref) {
  return repair_from_metric<3>(M, Mref);
}

}  // namespace plexa
}  // namespace zeb
