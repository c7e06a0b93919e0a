// Validation of metric fields: the first invalid entry or column, and the
// list of valid columns.
#include <zeb/plexa/metrics.hpp>

#include "core/result_codes.hpp"
#include "metrics/eigen.hpp"

namespace zeb {
namespace plexa {

namespace {

// A size is valid when 0 < h < the largest double (NaN is not).
inline bool valid_size(double h) noexcept { return h > 0 && h < detail::LARGEST; }

template <unsigned D>
unsigned first_invalid_column(const dense2D<double>& M) {
  const double* p = M.data();
  const std::size_t ld = M.ld();
  for (unsigned j = 0, n = M.cols(); j < n; ++j)
    if (!detail::is_valid<D>(p + j * ld)) return j;
  return M.cols();
}

template <unsigned D>
unsigned first_invalid_node(const dense1D<unsigned int, 8>& nodes, const dense2D<double>& M) {
  const unsigned* ids = nodes.data();
  const double* p = M.data();
  const std::size_t ld = M.ld();
  const unsigned cols = M.cols();
  for (unsigned i = 0, n = nodes.size(); i < n; ++i)
    if (ids[i] >= cols || !detail::is_valid<D>(p + std::size_t(ids[i]) * ld)) return i;
  return nodes.size();
}

template <unsigned D>
void append_valid_columns(const dense2D<double>& M, dense1D<unsigned int, 8>& ids) {
  // All or nothing: a partial list would look like a field with fewer valid
  // columns.
  const unsigned before = ids.size();
  const double* p = M.data();
  const std::size_t ld = M.ld();
  for (unsigned j = 0, n = M.cols(); j < n; ++j)
    if (detail::is_valid<D>(p + j * ld) && !ids.push_back(j)) {
      ids.resize(before);
      return;
    }
}

}  // namespace

unsigned int first_invalid_metric(const dense1D<unsigned int, 8>& nodes, const dense1D<double, 8>& H) {
  const unsigned* ids = nodes.data();
  const double* h = H.data();
  const unsigned size = H.size();
  for (unsigned i = 0, n = nodes.size(); i < n; ++i)
    if (ids[i] >= size || !valid_size(h[ids[i]])) return i;
  return nodes.size();
}

unsigned int first_invalid_metric(const dense1D<unsigned int, 8>& nodes, const dense2D<double>& M) {
  switch (M.rows()) {
    case 3: return first_invalid_node<2>(nodes, M);
    case 6: return first_invalid_node<3>(nodes, M);
    default: return 0;
  }
}

unsigned int first_invalid_metric(const dense1D<double, 8>& H) {
  const double* h = H.data();
  for (unsigned i = 0, n = H.size(); i < n; ++i)
    if (!valid_size(h[i])) return i;
  return H.size();
}

unsigned int first_invalid_metric(const dense2D<double>& M) {
  switch (M.rows()) {
    case 3: return first_invalid_column<2>(M);
    case 6: return first_invalid_column<3>(M);
    default: return 0;
  }
}

bool are_valid_metrics(const dense1D<unsigned int, 8>& nodes, const dense1D<double, 8>& H) {
  return first_invalid_metric(nodes, H) == nodes.size();
}
bool are_valid_metrics(const dense1D<unsigned int, 8>& nodes, const dense2D<double>& M) {
  return first_invalid_metric(nodes, M) == nodes.size();
}
bool are_valid_metrics(const dense1D<double, 8>& H) { return first_invalid_metric(H) == H.size(); }
bool are_valid_metrics(const dense2D<double>& M) { return first_invalid_metric(M) == M.cols(); }

void valid_metrics(const dense2D<double>& M, dense1D<unsigned int, 8>& ids) {
  switch (M.rows()) {
    case 3: return append_valid_columns<2>(M, ids);
    case 6: return append_valid_columns<3>(M, ids);
    default: return;
  }
}

}  // namespace plexa
}  // namespace zeb
