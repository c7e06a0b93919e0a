// metrics_gen_iso: an isotropic size field from the lengths of the element
// edges at each node, as a power mean.
#include <cmath>

#include <zeb/plexa/gradation.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "metrics/tensor.hpp"
#include "topology/boundary_tables.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::LARGEST;

// How the lengths at a node combine: the first contribution resets the
// node's entry to `start`, then each edge's term, from its squared length
// s, is folded in.
struct shortest {
  static constexpr double start = LARGEST;
  double term(double s) const noexcept { return std::sqrt(s); }
  static void fold(double& h, double x) noexcept { h = x < h ? x : h; }
};
struct longest {
  static constexpr double start = 0.0;
  double term(double s) const noexcept { return std::sqrt(s); }
  static void fold(double& h, double x) noexcept { h = x > h ? x : h; }
};
struct sum {
  static constexpr double start = 0.0;
  double term(double s) const noexcept { return std::sqrt(s); }
  static void fold(double& h, double x) noexcept { h += x; }
};
// l^2 is the squared length itself.
struct sum_of_squares : sum {
  double term(double s) const noexcept { return s; }
};
struct power_sum : sum {
  double p;
  double term(double s) const noexcept { return std::pow(std::sqrt(s), p); }
};

// Every edge of every element, once per element; a length that is not
// finite is left out.  R is the row count of pos (0: read at run time).
template <unsigned R, class Rule>
void gather(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type narrowed, Rule rule,
            double* h, unsigned* count) noexcept {
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  const unsigned rows = R ? R : pos.rows();
  detail::for_each_column(connect, [&](const unsigned* col, unsigned) {
    const detail::edge_list& t = *detail::edges_of(detail::column_kind(narrowed, col));
    for (unsigned k = 0; k < t.count; ++k) {
      const unsigned a = col[t.node[k][0]], b = col[t.node[k][1]];
      const double *pa = p + a * ld, *pb = p + b * ld;
      double s = 0;
      for (unsigned r = 0; r < rows; ++r) s += (pb[r] - pa[r]) * (pb[r] - pa[r]);
      if (!std::isfinite(s)) continue;  // the length is not finite
      const double x = rule.term(s);
      if (count[a]++ == 0) h[a] = Rule::start;
      Rule::fold(h[a], x);
      if (count[b]++ == 0) h[b] = Rule::start;
      Rule::fold(h[b], x);
    }
  });
}

template <class Rule>
void gather_by_rows(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type narrowed, Rule rule,
                    double* h, unsigned* count) noexcept {
  if (pos.rows() == 3)
    gather<3>(pos, connect, narrowed, rule, h, count);
  else if (pos.rows() == 2)
    gather<2>(pos, connect, narrowed, rule, h, count);
  else
    gather<0>(pos, connect, narrowed, rule, h, count);
}

}  // namespace

int metrics_gen_iso(const dense2D<double>& pos_arg, const dense2D<unsigned int>& connect, element_type type,
                    dense1D<double, 8>& H, double p) {
  if (connect.empty()) return 0;
  if (!detail::is_element_type(type)) return detail::bad_argument(3);
  const element_type narrowed = detail::narrow_type(type, connect.rows());
  const unsigned nodes = pos_arg.cols();
  if (detail::dimension(narrowed) > pos_arg.rows()) return detail::bad_argument(1);
  if (!check_IDs(connect, type, nodes)) return detail::bad_argument(2);
  if (p < 0) return detail::bad_argument(5);
  if (!detail::has_edge_tables(narrowed)) return detail::bad_argument(3);
  // H grows and is written in place: coordinates in its storage are read
  // from a copy made first.
  dense2D<double> pos;
  dense1D<unsigned, 8> counts;
  if (!detail::detach(pos_arg, H, pos) || !counts.resize(nodes, 0u)) return detail::OUT_OF_MEMORY;
  if (H.size() < nodes && !H.resize(nodes, 0.0)) return detail::OUT_OF_MEMORY;
  double* h = H.data();
  unsigned* c = counts.data();
  if (p == 0)
    gather_by_rows(pos, connect, narrowed, shortest{}, h, c);
  else if (p == LARGEST)
    gather_by_rows(pos, connect, narrowed, longest{}, h, c);
  else if (p == 1)
    gather_by_rows(pos, connect, narrowed, sum{}, h, c);
  else if (p == 2)
    gather_by_rows(pos, connect, narrowed, sum_of_squares{}, h, c);
  else
    gather_by_rows(pos, connect, narrowed, power_sum{{}, p}, h, c);
  if (p > 0 && p < LARGEST) {
    for (unsigned v = 0; v < nodes; ++v) {
      if (c[v] == 0) continue;
      const double mean = h[v] / c[v];
      h[v] = p == 1 ? mean : p == 2 ? std::sqrt(mean) : std::pow(mean, 1 / p);
    }
  }
  return 0;
}

}  // namespace plexa
}  // namespace zeb
