// bound_metrics: sizes or metrics of a whole field clamped between hmin and
// hmax, with an optional list of the entries changed.
#include <zeb/plexa/metrics.hpp>

#include "metrics/clamping.hpp"

namespace zeb {
namespace plexa {

namespace {

// Where the changed indices go: nowhere, or a list emptied on entry and
// sized for every index before the field is touched, so that recording
// cannot fail half-way.
struct no_list {
  void clear() noexcept {}
  bool make_room(unsigned) noexcept { return true; }
  void add(unsigned) noexcept {}
};
struct index_list {
  dense1D<unsigned int, 8>& ids;
  void clear() noexcept { ids.clear_hard(); }
  bool make_room(unsigned n) noexcept { return ids.reserve(n); }
  void add(unsigned j) noexcept { ids.push_back(j); }  // within the room made: cannot fail
};

template <class List>
int bound_sizes(dense1D<double, 8>& H, double hmin, double hmax, List list) {
  list.clear();
  if (H.empty()) return 0;
  if (detail::no_bounds(hmin, hmax)) return 0;
  if (const int code = detail::check_bounds(hmin, hmax)) return code;
  const unsigned n = H.size();
  if (!list.make_room(n)) return detail::OUT_OF_MEMORY;
  double* h = H.data();
  int changed = 0;
  for (unsigned i = 0; i < n; ++i) {
    if (h[i] < hmin)
      h[i] = hmin;
    else if (h[i] > hmax)
      h[i] = hmax;
    else
      continue;
    ++changed;
    list.add(i);
  }
  return changed;
}

template <unsigned D, class List>
int bound_columns(dense2D<double>& M, const detail::eigenvalue_range& range, List list) {
  double* p = M.data();
  const std::size_t ld = M.ld();
  int changed = 0;
  for (unsigned j = 0, n = M.cols(); j < n; ++j)
    if (detail::clamp_metric<D>(p + j * ld, range) == detail::SUCCESS) {
      ++changed;
      list.add(j);
    }
  return changed;
}

template <class List>
int bound_field(dense2D<double>& M, double hmin, double hmax, List list) {
  list.clear();
  if (M.empty()) return 0;
  if (detail::no_bounds(hmin, hmax)) return 0;
  const unsigned rows = M.rows();
  if (rows != 3 && rows != 6) return detail::bad_argument(1);
  if (const int code = detail::check_bounds(hmin, hmax)) return code;
  if (!list.make_room(M.cols())) return detail::OUT_OF_MEMORY;
  const detail::eigenvalue_range range = detail::eigenvalue_range_of(hmin, hmax);
  return rows == 3 ? bound_columns<2>(M, range, list) : bound_columns<3>(M, range, list);
}

}  // namespace

int bound_metrics(dense1D<double, 8>& H, double hmin, double hmax) { return bound_sizes(H, hmin, hmax, no_list()); }
int bound_metrics(dense1D<double, 8>& H, double hmin, double hmax, dense1D<unsigned int, 8>& modified) {
  return bound_sizes(H, hmin, hmax, index_list{modified});
}
int bound_metrics(dense2D<double>& M, double hmin, double hmax) { return bound_field(M, hmin, hmax, no_list()); }
int bound_metrics(dense2D<double>& M, double hmin, double hmax, dense1D<unsigned int, 8>& modified) {
  return bound_field(M, hmin, hmax, index_list{modified});
}

}  // namespace plexa
}  // namespace zeb
