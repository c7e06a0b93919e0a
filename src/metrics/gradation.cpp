// bound_metric_gradations and bound_metric_variations: the checks, the node
// graph, and the propagation engine for the field and measure at hand.
#include <zeb/plexa/gradation.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "metrics/gradation_control.hpp"
#include "topology/boundary_tables.hpp"
#include "topology/incidence.hpp"

namespace zeb {
namespace plexa {

namespace detail {

namespace {

// One worker: a field view of dimension D and a measure.
template <class Measure, unsigned D, class Values>
int propagate(const dense2D<double>& pos, Values& values, const dense1D<unsigned, 8>& offsets,
              const dense1D<unsigned, 8>& adjacent, const dense1D<unsigned, 8>& nodes, bool frozen,
              unsigned char mode, double g, propagation_stats* stats) noexcept {
  auto field = view_of<D>(pos, values);
  propagation<decltype(field), Measure> run(field, offsets, adjacent, g);
  if (const int r = run.prepare(nodes, frozen, mode)) return r;
  const int r = run.run();
  if (stats) *stats = run.stats();
  return r;
}

template <class Values>
int prepare(const dense2D<double>& pos_arg, const dense2D<unsigned>& connect, element_type type,
            const dense1D<unsigned, 8>& nodes, double g, const Values& values, dense2D<double>& pos,
            dense1D<unsigned, 8>& offsets, dense1D<unsigned, 8>& adjacent) noexcept {
  if (connect.empty() || g == LARGEST) return NOTHING_TO_DO;
  const unsigned dim = pos_arg.rows(), count = pos_arg.cols();
  if (dim != 2 && dim != 3) return bad_argument(1);
  if (!check_IDs(connect, type, count)) return bad_argument(2);
  const element_type narrowed = narrow_type(type, connect.rows());
  if (!has_edge_tables(narrowed)) return bad_argument(3);
  if (!check_IDs(nodes, count)) return bad_argument(4);
  if (!(g >= 0)) return bad_argument(7);
  if (!covers(values, dim, max_ID(connect))) return bad_argument(8);
  // The field is changed in place: coordinates in its storage are read
  // from a copy.
  if (!detach(pos_arg, values, pos)) return OUT_OF_MEMORY;
  if (build_node_graph(connect, narrowed, offsets, adjacent) != 0) return OUT_OF_MEMORY;
  return offsets.size() < 2 ? NOTHING_TO_DO : SUCCESS;
}

template <class Measure, class Values>
int bound_changes(const dense2D<double>& pos_arg, const dense2D<unsigned>& connect, element_type type,
                  const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g, Values& values,
                  propagation_stats* stats) noexcept {
  dense2D<double> pos;
  dense1D<unsigned, 8> offsets, adjacent;
  const int ready = prepare(pos_arg, connect, type, nodes, g, values, pos, offsets, adjacent);
  if (ready != SUCCESS) return ready == NOTHING_TO_DO ? 0 : ready;
  const unsigned char m = static_cast<unsigned char>(mode & 0xFF);
  if (pos.rows() == 2) return propagate<Measure, 2>(pos, values, offsets, adjacent, nodes, frozen, m, g, stats);
  return propagate<Measure, 3>(pos, values, offsets, adjacent, nodes, frozen, m, g, stats);
}

template <class Values>
int bound_change_of(size_change measure, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                    element_type type, const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g,
                    Values& values, propagation_stats* stats) noexcept {
  if (measure == size_change::gradation)
    return bound_changes<gradation>(pos, connect, type, nodes, frozen, mode, g, values, stats);
  return bound_changes<variation>(pos, connect, type, nodes, frozen, mode, g, values, stats);
}

}  // namespace

int prepare_size_change(const dense2D<double>& pos_arg, const dense2D<unsigned>& connect, element_type type,
                        const dense1D<unsigned, 8>& nodes, double g, const dense1D<double, 8>& H,
                        dense2D<double>& pos, dense1D<unsigned, 8>& offsets, dense1D<unsigned, 8>& adjacent) noexcept {
  return prepare(pos_arg, connect, type, nodes, g, H, pos, offsets, adjacent);
}

int prepare_size_change(const dense2D<double>& pos_arg, const dense2D<unsigned>& connect, element_type type,
                        const dense1D<unsigned, 8>& nodes, double g, const dense2D<double>& M,
                        dense2D<double>& pos, dense1D<unsigned, 8>& offsets, dense1D<unsigned, 8>& adjacent) noexcept {
  return prepare(pos_arg, connect, type, nodes, g, M, pos, offsets, adjacent);
}

int bound_size_change(size_change measure, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                      element_type type, const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g,
                      dense1D<double, 8>& H, propagation_stats* stats) noexcept {
  return bound_change_of(measure, pos, connect, type, nodes, frozen, mode, g, H, stats);
}

int bound_size_change(size_change measure, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                      element_type type, const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g,
                      dense2D<double>& M, propagation_stats* stats) noexcept {
  return bound_change_of(measure, pos, connect, type, nodes, frozen, mode, g, M, stats);
}

}  // namespace detail

int bound_metric_gradations(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                            dense2D<double>& M) {
  return detail::bound_size_change(detail::size_change::gradation, pos, connect, type, nodes, frozen, mode, g, M,
                                   nullptr);
}

int bound_metric_gradations(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                            dense1D<double, 8>& H) {
  return detail::bound_size_change(detail::size_change::gradation, pos, connect, type, nodes, frozen, mode, g, H,
                                   nullptr);
}

int bound_metric_variations(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                            dense2D<double>& M) {
  return detail::bound_size_change(detail::size_change::variation, pos, connect, type, nodes, frozen, mode, g, M,
                                   nullptr);
}

int bound_metric_variations(const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
                            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                            dense1D<double, 8>& H) {
  return detail::bound_size_change(detail::size_change::variation, pos, connect, type, nodes, frozen, mode, g, H,
                                   nullptr);
}

}  // namespace plexa
}  // namespace zeb
