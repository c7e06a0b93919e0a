// H_shock: at every node, the largest gradation of a size field along the
// edges that meet there.
#include <zeb/plexa/gradation.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/aliasing.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "metrics/size_fields.hpp"

namespace zeb {
namespace plexa {

namespace {

// The largest exponent of the gradation at each node first (the
// gradation grows with it), turned into a gradation once per node.
template <unsigned D, class Values>
void accumulate(const dense2D<double>& pos, const dense2D<unsigned>& edges, const Values& values,
                dense1D<double, 8>& largest, dense1D<double, 8>& S) noexcept {
  const auto field = detail::view_of<D>(pos, values);
  using Field = decltype(field);
  double* top = largest.data();
  detail::for_each_column(edges, [&](const unsigned* e, unsigned) {
    const unsigned i = e[0], j = e[1];
    const double x =
        Field::template measure<detail::gradation_exponent>(field.at(i), field.point(i), field.at(j), field.point(j));
    if (x > top[i]) top[i] = x;  // NaN neither enters nor leaves
    if (x > top[j]) top[j] = x;
  });
  double* s = S.data();
  for (unsigned v = 0, n = largest.size(); v < n; ++v) {
    if (!(top[v] >= 0)) continue;
    const double m = detail::gradation::of_exponent(top[v]);
    if (m > s[v]) s[v] = m;
  }
}

template <class Values>
int shock(const dense2D<double>& pos_arg, const dense2D<unsigned>& edges, const Values& values_arg,
          dense1D<double, 8>& S) noexcept {
  if (edges.empty()) return 0;
  const unsigned dim = pos_arg.rows(), count = pos_arg.cols();
  if (dim != 2 && dim != 3) return detail::bad_argument(1);
  if (!check_IDs(edges, ELT_EDGE2, count)) return detail::bad_argument(2);
  if (!detail::covers(values_arg, dim, max_ID(edges))) return detail::bad_argument(3);
  // S grows and is written in place: inputs in its storage are read from
  // copies made first.
  dense2D<double> pos;
  Values values;
  dense1D<double, 8> largest;
  if (!detail::detach(pos_arg, S, pos) || !detail::detach(values_arg, S, values) || !largest.resize(count, -1.0))
    return detail::OUT_OF_MEMORY;
  if (S.size() < count && !S.resize(count, 0.0)) return detail::OUT_OF_MEMORY;
  if (dim == 2)
    accumulate<2>(pos, edges, values, largest, S);
  else
    accumulate<3>(pos, edges, values, largest, S);
  return 0;
}

}  // namespace

int H_shock(const dense2D<double>& pos, const dense2D<unsigned int>& edges, const dense2D<double>& M,
            dense1D<double, 8>& S) {
  return shock(pos, edges, M, S);
}

int H_shock(const dense2D<double>& pos, const dense2D<unsigned int>& edges, const dense1D<double, 8>& H,
            dense1D<double, 8>& S) {
  return shock(pos, edges, H, S);
}

}  // namespace plexa
}  // namespace zeb
