// Walking caller storage: first element plus stride (the leading dimension).
#pragma once

#include <cstddef>

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// The walkers take a dense2D<T> or a const dense2D<T> (M) and hand out
// pointers of the matching constness.

// Calls f(column pointer, column index) for every column of m.
template <class M, class F>
inline void for_each_column(M& m, F&& f) {
  if (m.empty()) return;
  auto* p = m.data();
  const std::size_t ld = m.ld();
  for (unsigned j = 0, n = m.cols(); j < n; ++j) f(p + j * ld, j);
}

// Calls f(entry) for every entry of m, column by column; a contiguous matrix
// is walked as one run.
template <class M, class F>
inline void for_each_entry(M& m, F&& f) {
  if (m.empty()) return;
  auto* p = m.data();
  const unsigned rows = m.rows();
  if (m.contiguous()) {
    const std::size_t n = std::size_t(rows) * m.cols();
    for (std::size_t k = 0; k < n; ++k) f(p[k]);
    return;
  }
  const std::size_t ld = m.ld();
  for (unsigned j = 0, c = m.cols(); j < c; ++j, p += ld)
    for (unsigned i = 0; i < rows; ++i) f(p[i]);
}

// Calls f(pointer, count) on each contiguous run of m's entries, in column
// order: the whole matrix at once when it is contiguous, else one run per
// column.  Stops at the first run for which f returns false; true when every
// run was accepted (also for an empty matrix).
template <class T, class F>
inline bool all_runs(const dense2D<T>& m, F&& f) {
  if (m.empty()) return true;
  const T* p = m.data();
  const unsigned rows = m.rows();
  if (m.contiguous()) return f(p, std::size_t(rows) * m.cols());
  const std::size_t ld = m.ld();
  for (unsigned j = 0, c = m.cols(); j < c; ++j, p += ld)
    if (!f(p, std::size_t(rows))) return false;
  return true;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
