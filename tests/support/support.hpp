// Shared test support: seeded generators, tiny meshes, near-equality checks
// that name the first bad entry.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>
#include <zeb/testing/allocation_failure.hpp>

namespace plexa_test {

using zeb::dense1D;
using zeb::dense2D;

constexpr unsigned NO = 4294967295u;  // the absent-node marker

// Deterministic generator for oracle tests.
inline std::mt19937_64 rng(std::uint64_t seed) { return std::mt19937_64(seed); }

dense1D<unsigned, 8> ids(std::initializer_list<unsigned> v);
dense1D<double, 8> reals(std::initializer_list<double> v);
// A list of element types (ints, so that out-of-range values can be given).
dense1D<int, 8> type_list(std::initializer_list<int> v);
// A rows x cols matrix given column by column (a short last column is dropped).
dense2D<unsigned> connectivity(unsigned rows, std::initializer_list<unsigned> by_columns);
dense2D<double> coordinates(unsigned rows, std::initializer_list<double> by_columns);
// The same matrix as a view with ld() = rows + pad and `garbage` in the
// padding, to test walkers that must skip it.
dense2D<unsigned> strided(const dense2D<unsigned>& m, unsigned pad = 2, unsigned garbage = 0xDEADBEEFu);
dense2D<double> strided(const dense2D<double>& m, unsigned pad = 2, double garbage = -9.75e300);

// Entries in order; matrices column by column, padding skipped.
std::vector<unsigned> to_vector(const dense1D<unsigned, 8>& v);
std::vector<double> to_vector(const dense1D<double, 8>& v);
std::vector<unsigned> to_vector(const dense2D<unsigned>& m);
std::vector<double> to_vector(const dense2D<double>& m);

// `cols` columns of `rows` uniform indices below `nodes`.
dense2D<unsigned> random_connectivity(std::mt19937_64& g, unsigned rows, unsigned cols, unsigned nodes);
// Uniform coordinates in [lo, hi)^rows.
dense2D<double> random_coordinates(std::mt19937_64& g, unsigned rows, unsigned cols, double lo = 0.0,
                                   double hi = 1.0);

// Passes when a == b or |a - b| <= tol * max(1, |a|, |b|) everywhere (NaN
// matches NaN, an infinity matches itself);
// otherwise the message names the first bad entry.
::testing::AssertionResult near(const std::vector<double>& a, const std::vector<double>& b, double tol = 1e-12);
::testing::AssertionResult near(const dense2D<double>& a, const dense2D<double>& b, double tol = 1e-12);

// Runs `attempt` with the allocator failing after k = 0, 1, 2, ... successful
// allocations until it stops returning -199; `on_failure` checks what a
// failed attempt left behind.  Returns the number of failing k found.
template <class Attempt, class OnFailure>
unsigned for_each_allocation_failure(Attempt attempt, OnFailure on_failure, unsigned max_k = 10000) {
  for (unsigned k = 0; k < max_k; ++k) {
    int r;
    {
      zeb::testing::allocation_failure_scope scope(k);
      r = attempt();
    }
    if (r != -199) return k;
    on_failure();
  }
  ADD_FAILURE() << "still failing after " << max_k << " allocations";
  return max_k;
}

}  // namespace plexa_test
