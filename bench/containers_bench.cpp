// Containers against std::vector doing the same work: appending one entry at
// a time (into kept capacity, and growing from empty), and walking a 3-row
// matrix column by column through pointer and leading dimension.
#include <malloc.h>

#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include <zeb/dense.hpp>

namespace {

// Growing blocks of a few MB would otherwise be mapped and unmapped on every
// iteration, and the page faults of fresh mappings (not the containers)
// would decide the figures depending on the order the runs happen in.
const bool steady_heap = [] {
  mallopt(M_MMAP_THRESHOLD, 256 << 20);
  mallopt(M_TRIM_THRESHOLD, 512 << 20);
  return true;
}();

void dense1D_push_back_reserved(benchmark::State& state) {
  const unsigned n = unsigned(state.range(0));
  zeb::dense1D<unsigned, 8> v;
  if (!v.reserve(n, 1)) state.SkipWithError("allocation failed");
  for (auto _ : state) {
    v.clear();
    for (unsigned k = 0; k < n; ++k)
      if (!v.push_back(k * 7u)) state.SkipWithError("allocation failed");
    benchmark::DoNotOptimize(v.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * n);
}

void std_vector_push_back_reserved(benchmark::State& state) {
  const unsigned n = unsigned(state.range(0));
  std::vector<unsigned> v;
  v.reserve(n);
  for (auto _ : state) {
    v.clear();
    for (unsigned k = 0; k < n; ++k) v.push_back(k * 7u);
    benchmark::DoNotOptimize(v.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * n);
}

void dense1D_push_back(benchmark::State& state) {
  const unsigned n = unsigned(state.range(0));
  for (auto _ : state) {
    zeb::dense1D<unsigned, 8> v;
    for (unsigned k = 0; k < n; ++k)
      if (!v.push_back(k * 7u)) state.SkipWithError("allocation failed");
    benchmark::DoNotOptimize(v.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * n);
}

void std_vector_push_back(benchmark::State& state) {
  const unsigned n = unsigned(state.range(0));
  for (auto _ : state) {
    std::vector<unsigned> v;
    for (unsigned k = 0; k < n; ++k) v.push_back(k * 7u);
    benchmark::DoNotOptimize(v.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * n);
}


void dense2D_walk_columns(benchmark::State& state) {
  const unsigned cols = unsigned(state.range(0));
  zeb::dense2D<double> m(3, cols, 0.5);
  for (auto _ : state) {
    double total = 0;
    const double* p = m.data();
    const unsigned rows = m.rows(), cols_m = m.cols(), ld = m.ld();
    for (unsigned j = 0; j < cols_m; ++j) {
      const double* c = p + std::size_t(j) * ld;
      double s = 0;
      for (unsigned i = 0; i < rows; ++i) s += c[i] * c[i];
      total += s;
    }
    benchmark::DoNotOptimize(total);
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * cols);
}

void std_vector_walk_columns(benchmark::State& state) {
  const unsigned cols = unsigned(state.range(0));
  const unsigned rows = 3;
  std::vector<double> m(std::size_t(rows) * cols, 0.5);
  for (auto _ : state) {
    double total = 0;
    const double* p = m.data();
    for (unsigned j = 0; j < cols; ++j) {
      const double* c = p + std::size_t(j) * rows;
      double s = 0;
      for (unsigned i = 0; i < rows; ++i) s += c[i] * c[i];
      total += s;
    }
    benchmark::DoNotOptimize(total);
  }
  state.SetItemsProcessed(std::int64_t(state.iterations()) * cols);
}

}  // namespace

BENCHMARK(dense1D_push_back_reserved)->Arg(1 << 16);
BENCHMARK(std_vector_push_back_reserved)->Arg(1 << 16);
BENCHMARK(dense1D_push_back)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK(std_vector_push_back)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20);
BENCHMARK(dense2D_walk_columns)->Arg(1 << 16);
BENCHMARK(std_vector_walk_columns)->Arg(1 << 16);
