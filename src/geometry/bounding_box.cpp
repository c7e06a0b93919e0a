// Growing an axis-aligned box over all nodes, a node list or the nodes of a
// connectivity.
#include <zeb/plexa/geometry.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

namespace {

// Grows [lo, hi] by the node at x.  The comparisons are false for NaN, so a
// NaN component leaves the box as it is.
template <unsigned D>
inline void grow(const double* x, double* lo, double* hi) noexcept {
  for (unsigned k = 0; k < D; ++k) {
    if (x[k] < lo[k]) lo[k] = x[k];
    if (x[k] > hi[k]) hi[k] = x[k];
  }
}

// Every form first refuses min and max being one object (no box can be
// right), naming max.

template <unsigned D>
int box_all(const dense2D<double>& pos, vector_fixed<double, D>& min, vector_fixed<double, D>& max) {
  if (&min == &max) return detail::bad_argument(3);
  if (pos.rows() != D) return -1;
  if (pos.empty()) return 0;
  double lo[D], hi[D];
  for (unsigned k = 0; k < D; ++k) lo[k] = min[k], hi[k] = max[k];
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  for (std::size_t j = 0, n = pos.cols(); j < n; ++j) grow<D>(p + j * ld, lo, hi);
  for (unsigned k = 0; k < D; ++k) min[k] = lo[k], max[k] = hi[k];
  return 0;
}

template <unsigned D>
int box_list(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes, vector_fixed<double, D>& min,
             vector_fixed<double, D>& max) {
  if (&min == &max) return detail::bad_argument(4);
  if (nodes.empty()) return 0;
  if (pos.rows() != D) return -1;
  const unsigned cols = pos.cols();
  if (!check_IDs(nodes, cols)) return -2;
  double lo[D], hi[D];
  for (unsigned k = 0; k < D; ++k) lo[k] = min[k], hi[k] = max[k];
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  const unsigned* ids = nodes.data();
  for (unsigned i = 0, n = nodes.size(); i < n; ++i)
    if (ids[i] < cols) grow<D>(p + std::size_t(ids[i]) * ld, lo, hi);  // UINT_MAX entries pass the check
  for (unsigned k = 0; k < D; ++k) min[k] = lo[k], max[k] = hi[k];
  return 0;
}

template <unsigned D>
int box_connect(const dense2D<double>& pos, const dense2D<unsigned int>& connect, vector_fixed<double, D>& min,
                vector_fixed<double, D>& max) {
  if (&min == &max) return detail::bad_argument(4);
  dense1D<unsigned int, 8> nodes;
  if (unique_indices(nodes, connect, dense1D<unsigned int, 8>()) < 0) return detail::OUT_OF_MEMORY;
  return box_list<D>(pos, nodes, min, max);
}

}  // namespace

int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 2>& min, vector_fixed<double, 2>& max) {
  return box_all<2>(pos, min, max);
}
int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes,
                     vector_fixed<double, 2>& min, vector_fixed<double, 2>& max) {
  return box_list<2>(pos, nodes, min, max);
}
int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                     vector_fixed<double, 2>& min, vector_fixed<double, 2>& max) {
  return box_connect<2>(pos, connect, min, max);
}
int inc_bounding_box(const dense2D<double>& pos, vector_fixed<double, 3>& min, vector_fixed<double, 3>& max) {
  return box_all<3>(pos, min, max);
}
int inc_bounding_box(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes,
                     vector_fixed<double, 3>& min, vector_fixed<double, 3>& max) {
  return box_list<3>(pos, nodes, min, max);
}
int inc_bounding_box(const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                     vector_fixed<double, 3>& min, vector_fixed<double, 3>& max) {
  return box_connect<3>(pos, connect, min, max);
}

}  // namespace plexa
}  // namespace zeb
