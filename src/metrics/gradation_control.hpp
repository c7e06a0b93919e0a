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
