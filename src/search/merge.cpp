// merge: maps every node lying within a tolerance of an eligible node onto a
// representative.  All overloads end in one core working on a source list
// and a target list of distinct nodes (merge_core.hpp).
#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/search.hpp>

#include "core/aliasing.hpp"
#include "core/result_codes.hpp"
#include "search/merge_core.hpp"

namespace zeb {
namespace plexa {

namespace {

bool bad_tolerance(double tolerance) { return !(tolerance >= 0.0); }

int run_core(const dense2D<double>& pos, const dense1D<unsigned, 8>& S, const dense1D<unsigned, 8>& T,
             const dense2D<unsigned>* first, const dense2D<unsigned>* last, unsigned mode, double tolerance,
             dense1D<unsigned, 8>& new_IDs) {
  dense1D<unsigned, 8> map;
  const int r = detail::merge_core(pos, S, T, first, last, mode, tolerance, map);
  if (r >= 0) new_IDs = static_cast<dense1D<unsigned, 8>&&>(map);
  return r;
}

// The identity list 0 ... n - 1.
bool identity(unsigned n, dense1D<unsigned, 8>& list) {
  if (!list.resize(n)) return false;
  unsigned* p = list.data();
  for (unsigned i = 0; i < n; ++i) p[i] = i;
  return true;
}

}  // namespace

int merge(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes1, const dense1D<unsigned int, 8>& nodes2,
          dense1D<unsigned int, 8>& new_IDs, double tolerance) {
  // The lists as on entry: new_IDs may be one of them.
  const dense1D<unsigned int, 8> list1 = nodes1, list2 = nodes2;
  detail::empty_output(new_IDs, list1, list2);
  const unsigned n = pos.cols();
  if (n == 0) return 0;
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  if (!check_IDs(list1, n)) return -2;
  if (!check_IDs(list2, n)) return -3;
  if (bad_tolerance(tolerance)) return -4;

  dense1D<unsigned int, 8> S, T;
  if (unique_indices(S, list1, dense1D<unsigned int, 8>()) < 0) return detail::OUT_OF_MEMORY;
  if (list1 == list2)
    T = S;
  else if (unique_indices(T, list2, dense1D<unsigned int, 8>()) < 0)
    return detail::OUT_OF_MEMORY;
  if (S.empty() || T.empty()) return 0;
  return run_core(pos, S, T, nullptr, nullptr, 0, tolerance, new_IDs);
}

int merge(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes, dense1D<unsigned int, 8>& new_IDs,
          double tolerance) {
  return merge(pos, nodes, nodes, new_IDs, tolerance);
}

int merge(dense2D<double>& pos, dense1D<unsigned int, 8>& new_IDs, double tolerance) {
  new_IDs.clear_hard();
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  if (bad_tolerance(tolerance)) return -3;
  const unsigned n = pos.cols();
  if (n == 0) return 0;

  // The node-list form on 0 ... n - 1, already distinct.
  dense1D<unsigned int, 8> all, map;
  if (!identity(n, all)) return detail::OUT_OF_MEMORY;
  const int r = run_core(pos, all, all, nullptr, nullptr, 0, tolerance, map);
  // Argument codes of the inner form read one higher here (its tolerance is
  // this form's third argument); memory stays -199.
  if (r < 0) return (r < -2 && r != detail::OUT_OF_MEMORY) ? r + 1 : r;
  all.clear_hard();

  if (r > 0) {
    dense2D<double> moved;
    if (!moved.copy(pos)) return detail::OUT_OF_MEMORY;
    const unsigned rows = moved.rows();
    double* x = moved.data();
    for (unsigned i = 0; i < n; ++i) {
      const unsigned t = map[i];
      if (t != i)
        for (unsigned k = 0; k < rows; ++k) x[std::size_t(i) * rows + k] = x[std::size_t(t) * rows + k];
    }
    pos = static_cast<dense2D<double>&&>(moved);
  }
  new_IDs = static_cast<dense1D<unsigned int, 8>&&>(map);
  return r;
}

int merge(dense2D<double>& pos, double tolerance) {
  dense1D<unsigned int, 8> map;
  return merge(pos, map, tolerance);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>* first, dense2D<unsigned int>* last,
          dense1D<unsigned int, 8>& new_IDs, double tolerance, unsigned int mode) {
  new_IDs.clear_hard();
  const unsigned n = pos.cols();
  if (n == 0 || first == last) return 0;
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  if (first > last) return -3;
  if (bad_tolerance(tolerance)) return -5;
  if (mode > 2) return -6;
  for (const dense2D<unsigned int>* m = first; m != last; ++m)
    if (!check_IDs(*m, n)) return -2;

  dense1D<unsigned int, 8> nodes, map;
  if (unique_indices(nodes, first, last, dense1D<unsigned int, 8>()) < 0) return detail::OUT_OF_MEMORY;
  if (nodes.empty()) return 0;
  const int r = run_core(pos, nodes, nodes, first, last, mode, tolerance, map);
  if (r < 0) return r;
  if (r > 0)
    for (dense2D<unsigned int>* m = first; m != last; ++m) change_indices(*m, map);
  new_IDs = static_cast<dense1D<unsigned int, 8>&&>(map);
  return r;
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>* first, dense2D<unsigned int>* last, double tolerance,
          unsigned int mode) {
  dense1D<unsigned int, 8> map;
  return merge(pos, first, last, map, tolerance, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect1, dense2D<unsigned int>& connect2,
          dense1D<unsigned int, 8>& new_IDs, double tolerance, unsigned int mode) {
  // Views sharing the callers' storage: renumbering them renumbers the callers'.
  dense2D<unsigned int> range[2] = {connect1, connect2};
  return merge(pos, range, range + 2, new_IDs, tolerance, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect1, dense2D<unsigned int>& connect2,
          double tolerance, unsigned int mode) {
  dense1D<unsigned int, 8> map;
  return merge(pos, connect1, connect2, map, tolerance, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& new_IDs,
          double tolerance, unsigned int mode) {
  return merge(pos, &connect, &connect + 1, new_IDs, tolerance, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect, double tolerance, unsigned int mode) {
  dense1D<unsigned int, 8> map;
  return merge(pos, &connect, &connect + 1, map, tolerance, mode);
}

}  // namespace plexa
}  // namespace zeb
