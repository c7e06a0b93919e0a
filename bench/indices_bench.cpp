// Index utilities on a connectivity of 1M random tetrahedra over 700k nodes
// (4M entries, about 700k distinct values), each against a baseline built
// from the standard library or a plain loop.
#include <algorithm>
#include <random>
#include <unordered_set>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include <zeb/plexa.hpp>

namespace {

using zeb::dense1D;
using zeb::dense2D;

constexpr unsigned nodes = 700000;
constexpr unsigned tetrahedra = 1000000;

const dense2D<unsigned>& tets() {
  static const dense2D<unsigned> m = [] {
    dense2D<unsigned> c(4, tetrahedra);
    std::mt19937_64 g(42);
    std::uniform_int_distribution<unsigned> d(0, nodes - 1);
    unsigned* p = c.data();
    for (unsigned k = 0; k < 4 * tetrahedra; ++k) p[k] = d(g);
    return c;
  }();
  return m;
}

// The same connectivity with its values spread over 32 bits (an odd
// multiplier keeps them distinct): the hash set path.
const dense2D<unsigned>& spread_tets() {
  static const dense2D<unsigned> m = [] {
    dense2D<unsigned> c;
    c.copy(tets());
    unsigned* p = c.data();
    for (std::size_t k = 0; k < std::size_t(4) * tetrahedra; ++k) p[k] *= 2654435761u;
    return c;
  }();
  return m;
}

// A random renumbering of the nodes.
const dense1D<unsigned, 8>& renumbering() {
  static const dense1D<unsigned, 8> v = [] {
    dense1D<unsigned, 8> r(nodes);
    for (unsigned i = 0; i < nodes; ++i) r[i] = i;
    std::shuffle(r.begin(), r.end(), std::mt19937_64(7));
    return r;
  }();
  return v;
}

const unsigned* entries() { return tets().data(); }
constexpr std::size_t entry_count = std::size_t(4) * tetrahedra;

// Distinct values.

void unique_indices_plexa(benchmark::State& state) {
  for (auto _ : state) {
    dense1D<unsigned, 8> u;
    benchmark::DoNotOptimize(zeb::plexa::unique_indices(u, tets(), dense1D<unsigned, 8>()));
    benchmark::DoNotOptimize(u.data());
  }
}
BENCHMARK(unique_indices_plexa)->Unit(benchmark::kMillisecond);

void count_unique_indices_plexa(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(zeb::plexa::count_unique_indices(tets()));
}
BENCHMARK(count_unique_indices_plexa)->Unit(benchmark::kMillisecond);

void count_unique_indices_spread_plexa(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(zeb::plexa::count_unique_indices(spread_tets()));
}
BENCHMARK(count_unique_indices_spread_plexa)->Unit(benchmark::kMillisecond);

// Baseline: insertion into std::unordered_set, without and with pre-sizing.
void unordered_set_insert_baseline(benchmark::State& state) {
  const bool presized = state.range(0) != 0;
  for (auto _ : state) {
    std::unordered_set<unsigned> s;
    if (presized) s.reserve(entry_count);
    const unsigned* p = entries();
    for (std::size_t k = 0; k < entry_count; ++k) s.insert(p[k]);
    benchmark::DoNotOptimize(s.size());
  }
}
BENCHMARK(unordered_set_insert_baseline)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Grouping by key.

void get_sorted_order_plexa(benchmark::State& state) {
  const dense1D<unsigned, 8> keys = tets().as_vector();
  for (auto _ : state) {
    dense1D<unsigned, 8> order, offsets;
    benchmark::DoNotOptimize(zeb::plexa::get_sorted_order(keys, order, offsets));
    benchmark::DoNotOptimize(order.data());
  }
}
BENCHMARK(get_sorted_order_plexa)->Unit(benchmark::kMillisecond);

// Baseline: std::stable_sort of (key, position) pairs.
void stable_sort_pairs_baseline(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<std::pair<unsigned, unsigned>> pairs(entry_count);
    const unsigned* p = entries();
    for (std::size_t k = 0; k < entry_count; ++k) pairs[k] = {p[k], unsigned(k)};
    std::stable_sort(pairs.begin(), pairs.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    benchmark::DoNotOptimize(pairs.data());
  }
}
BENCHMARK(stable_sort_pairs_baseline)->Unit(benchmark::kMillisecond);

// Validity tests.

void check_IDs_plexa(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(zeb::plexa::check_IDs(tets(), nodes));
}
BENCHMARK(check_IDs_plexa)->Unit(benchmark::kMillisecond);

void check_IDs_typed_plexa(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(zeb::plexa::check_IDs(tets(), zeb::plexa::ELT_TETRA4, nodes));
}
BENCHMARK(check_IDs_typed_plexa)->Unit(benchmark::kMillisecond);

// Baseline: a plain loop over the entries.
void check_plain_loop_baseline(benchmark::State& state) {
  for (auto _ : state) {
    const unsigned* p = entries();
    bool ok = true;
    for (std::size_t k = 0; k < entry_count; ++k)
      if (p[k] >= nodes && p[k] != 4294967295u) {
        ok = false;
        break;
      }
    benchmark::DoNotOptimize(ok);
  }
}
BENCHMARK(check_plain_loop_baseline)->Unit(benchmark::kMillisecond);

// Renumbering (a permutation of the nodes, so repeated runs stay valid).

void change_indices_plexa(benchmark::State& state) {
  dense2D<unsigned> c;
  c.copy(tets());
  for (auto _ : state) {
    zeb::plexa::change_indices(c, renumbering());
    benchmark::DoNotOptimize(c.data());
  }
}
BENCHMARK(change_indices_plexa)->Unit(benchmark::kMillisecond);

// Baseline: a plain loop over the entries.
void change_plain_loop_baseline(benchmark::State& state) {
  dense2D<unsigned> c;
  c.copy(tets());
  const unsigned* map = renumbering().data();
  for (auto _ : state) {
    unsigned* p = c.data();
    for (std::size_t k = 0; k < entry_count; ++k)
      if (p[k] < nodes) p[k] = map[p[k]];
    benchmark::DoNotOptimize(c.data());
  }
}
BENCHMARK(change_plain_loop_baseline)->Unit(benchmark::kMillisecond);

}  // namespace
