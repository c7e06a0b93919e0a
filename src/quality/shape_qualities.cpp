// Shape qualities of the elements of a mesh, and the smallest one.
#include <zeb/plexa/quality.hpp>

#include <limits>

#include "core/aliasing.hpp"
#include "core/result_codes.hpp"
#include "quality/element_walk.hpp"
#include "quality/shape_measure.hpp"

namespace zeb {
namespace plexa {

namespace {

// Calls out(j, q) with the shape quality q of every element j, measured
// after `map` (euclidean, or an element metric).
template <unsigned D, class Map, class Out>
void measure_elements(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type narrowed,
                      const Map& map, Out&& out) {
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  detail::for_each_element(connect, narrowed, [&](auto kind, const unsigned* col, unsigned j) {
    constexpr element_type K = detail::linear_type(decltype(kind)::value);
    if constexpr (D >= detail::dimension(K)) {
      double y[detail::base_node_count(K)][D];
      detail::gather(p, ld, col, y);
      map.apply(col, y);
      out(j, detail::shape_quality<K>(y));
    }
  });
}

template <class Out>
void measure_elements(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type narrowed,
                      Out&& out) {
  if (pos.rows() == 2)
    measure_elements<2>(pos, connect, narrowed, detail::euclidean(), out);
  else
    measure_elements<3>(pos, connect, narrowed, detail::euclidean(), out);
}

// Sizes the output and fills it through `measure`.
template <class Measure>
int fill_qualities(unsigned elements, dense1D<double, 8>& qualities, Measure&& measure) {
  if (!qualities.resize(elements)) return detail::fail(detail::OUT_OF_MEMORY, qualities);
  double* q = qualities.data();
  measure([q](unsigned j, double v) { q[j] = v; });
  return detail::SUCCESS;
}

}  // namespace

int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                    dense1D<double, 8>& qualities) {
  // Shallow copies first: qualities may share its storage with pos.
  const dense2D<double> x = pos;
  const dense2D<unsigned> c = connect;
  detail::empty_output(qualities, x);
  element_type narrowed;
  const int check = detail::check_mesh(x, c, type, narrowed);
  if (check != 0) return check < 0 ? check : detail::SUCCESS;
  return fill_qualities(c.cols(), qualities, [&](auto out) { measure_elements(x, c, narrowed, out); });
}

int shape_qualities(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                    const dense2D<double>& metrics, dense1D<double, 8>& qualities) {
  const dense2D<double> x = pos, m = metrics;
  const dense2D<unsigned> c = connect;
  detail::empty_output(qualities, x, m);
  element_type narrowed;
  int check = detail::check_mesh(x, c, type, narrowed);
  if (check != 0) return check < 0 ? check : detail::SUCCESS;
  if ((check = detail::check_metrics(x, m)) != 0) return check;
  return fill_qualities(c.cols(), qualities, [&](auto out) {
    if (x.rows() == 2)
      measure_elements<2>(x, c, narrowed, detail::metric_field<2>{m.data(), m.ld()}, out);
    else
      measure_elements<3>(x, c, narrowed, detail::metric_field<3>{m.data(), m.ld()}, out);
  });
}

int min_quality(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                double& quality, unsigned int& element) {
  // The outputs are written last: they may be entries of the inputs.
  element_type narrowed;
  const int check = detail::check_mesh(pos, connect, type, narrowed);
  if (check < 0) {
    quality = std::numeric_limits<double>::quiet_NaN();
    element = detail::NO_INDEX;
    return check;
  }
  double best = std::numeric_limits<double>::infinity();
  unsigned at = detail::NO_INDEX;
  if (check == 0)
    measure_elements(pos, connect, narrowed, [&](unsigned j, double q) {
      // The first smallest value; the first NaN beats every number.
      if (q < best || (q != q && best == best)) {
        best = q;
        at = j;
      }
    });
  quality = at == detail::NO_INDEX ? 1.0 : best;
  element = at;
  return detail::SUCCESS;
}

}  // namespace plexa
}  // namespace zeb
