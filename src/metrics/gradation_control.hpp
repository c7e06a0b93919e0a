// Gradation control with its run's figures: the exported
// bound_metric_gradations and bound_metric_variations call these, and the
// benchmarks call them for the queue counts.
#pragma once

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

#include "metrics/propagation.hpp"

namespace zeb {
namespace plexa {
namespace detail {

enum class size_change { gradation, variation };

// What prepare_size_change returns when there is nothing to propagate
// (connect empty, g the largest double, no edge).
constexpr int NOTHING_TO_DO = 1;

// The exported functions' checks, in their order, and what a run needs:
// `pos` the coordinates to read (a copy when the field shares their
// storage) and the node graph.  0, NOTHING_TO_DO or a code.
int prepare_size_change(const dense2D<double>& pos_arg, const dense2D<unsigned>& connect, element_type type,
                        const dense1D<unsigned, 8>& nodes, double g, const dense1D<double, 8>& H,
                        dense2D<double>& pos, dense1D<unsigned, 8>& offsets, dense1D<unsigned, 8>& adjacent) noexcept;
int prepare_size_change(const dense2D<double>& pos_arg, const dense2D<unsigned>& connect, element_type type,
                        const dense1D<unsigned, 8>& nodes, double g, const dense2D<double>& M,
                        dense2D<double>& pos, dense1D<unsigned, 8>& offsets, dense1D<unsigned, 8>& adjacent) noexcept;

// The exported functions' checks and run; `stats`, when not null, receives
// the figures of the run (left alone when there is none).
int bound_size_change(size_change measure, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                      element_type type, const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g,
                      dense1D<double, 8>& H, propagation_stats* stats) noexcept;
int bound_size_change(size_change measure, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                      element_type type, const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g,
                      dense2D<double>& M, propagation_stats* stats) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
