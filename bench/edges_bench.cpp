// Edge sets and edge qualities on about 1M tetrahedra (55^3 cubes, 6 each,
// 175,616 nodes, 1.2M edges).
//
// copy_edges is compared with sorting all element edges as 64-bit keys
// (std::sort + std::unique); "extra_over_output" is the peak memory one call
// adds beyond its output, over the output's size.  edge_qualities is timed
// whole, with sizes and with 3-D metrics; "edges_per_second" counts the
// edges measured, "measure_edges_per_second" leaves out the time of the
// edge set (one copy_edges call), and "edge_set_share" is that time over the
// whole call; these three are in processor time (the CPU column), as the
// machine may be shared.
#include <algorithm>
#include <ctime>
#include <cmath>
#include <cstdint>
#include <vector>

#include <benchmark/benchmark.h>

#include <zeb/plexa.hpp>

#include "bench_support.hpp"

namespace {

using zeb::dense1D;
using zeb::dense2D;
using namespace zeb::plexa;
using namespace plexa_bench;

const unsigned grid = 55;

const dense2D<double>& coordinates() {
  static const dense2D<double> xyz = [] {
    const unsigned n = grid + 1;
    dense2D<double> m(3, n * n * n);
    for (unsigned v = 0; v < m.cols(); ++v) {
      m(0, v) = v % n;
      m(1, v) = v / n % n;
      m(2, v) = v / n / n;
    }
    return m;
  }();
  return xyz;
}

// Processor time of this process, in seconds: the machine may be shared, so
// the split between edge set and measuring is taken from processor time.
double cpu_seconds() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// Processor seconds of one copy_edges call on the mesh, the best of five.
double edge_set_seconds() {
  static const double best = [] {
    double t = 1e30;
    for (int k = 0; k < 5; ++k) {
      dense2D<unsigned> edges;
      const double start = cpu_seconds();
      copy_edges(tetrahedra(), ELT_TETRA4, edges);
      t = std::min(t, cpu_seconds() - start);
    }
    return t;
  }();
  return best;
}

void BM_copy_edges(benchmark::State& s) {
  dense2D<unsigned> edges;
  for (auto _ : s) {
    edges = dense2D<unsigned>();
    if (copy_edges(tetrahedra(), ELT_TETRA4, edges) != 0) s.SkipWithError("copy_edges failed");
    benchmark::DoNotOptimize(edges.data());
  }
  const double out = double(edges.rows()) * edges.cols() * sizeof(unsigned);
  s.counters["edges"] = edges.cols();
  s.counters["edges_per_second"] = benchmark::Counter(double(edges.cols()), benchmark::Counter::kIsIterationInvariantRate);
  edges = dense2D<unsigned>();
  s.counters["extra_over_output"] = extra_over_output(
      [] {
        dense2D<unsigned> fresh;
        copy_edges(tetrahedra(), ELT_TETRA4, fresh);
      },
      out);
}

// Baseline: every element edge as the key (smaller << 32 | larger), sorted,
// duplicates removed, written out as a 2-row matrix.
void BM_sort_baseline(benchmark::State& s) {
  const dense2D<unsigned>& c = tetrahedra();
  const unsigned pairs[6][2] = {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}};
  std::size_t count = 0;
  for (auto _ : s) {
    std::vector<std::uint64_t> keys;
    keys.reserve(std::size_t(6) * c.cols());
    for (unsigned e = 0; e < c.cols(); ++e) {
      const unsigned* col = c.data() + std::size_t(4) * e;
      for (const auto& p : pairs) {
        const std::uint64_t a = col[p[0]], b = col[p[1]];
        keys.push_back(a < b ? a << 32 | b : b << 32 | a);
      }
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    dense2D<unsigned> edges(2, unsigned(keys.size()));
    unsigned* out = edges.data();
    for (const std::uint64_t k : keys) *out++ = unsigned(k >> 32), *out++ = unsigned(k);
    count = keys.size();
    benchmark::DoNotOptimize(edges.data());
  }
  s.counters["edges"] = double(count);
}

template <class Field>
void qualities_bench(benchmark::State& s, const Field& field) {
  zeb::misc::histogram h;
  int measured = 0;
  double seconds = 0;
  for (auto _ : s) {
    h.reset();
    const double start = cpu_seconds();
    measured = edge_qualities(coordinates(), tetrahedra(), ELT_TETRA4, field, h, dense2D<unsigned>());
    seconds += cpu_seconds() - start;
    if (measured <= 0) s.SkipWithError("edge_qualities failed");
  }
  const double per_call = seconds / double(s.iterations()), edge_set = edge_set_seconds();
  s.counters["edges_per_second"] = double(measured) / per_call;
  s.counters["measure_edges_per_second"] = double(measured) / (per_call - edge_set);
  s.counters["edge_set_share"] = edge_set / per_call;
  s.counters["mean"] = h.mean();
}

// Sizes growing smoothly across the box: neighbouring sizes differ by a few
// per cent (the series), a tenth of the nodes by more (the logarithm).
void BM_edge_qualities_sizes(benchmark::State& s) {
  const dense2D<double>& xyz = coordinates();
  dense1D<double> h(xyz.cols());
  for (unsigned v = 0; v < xyz.cols(); ++v) h[v] = (1 + 0.01 * xyz(0, v)) * (v % 10 == 0 ? 1.3 : 1.0);
  qualities_bench(s, h);
}

// Anisotropic metrics: sizes 1 + x/100 along x, half that across.
void BM_edge_qualities_metrics_3d(benchmark::State& s) {
  const dense2D<double>& xyz = coordinates();
  dense2D<double> M(6, xyz.cols());
  for (unsigned v = 0; v < xyz.cols(); ++v) {
    const double a = 1 + 0.01 * xyz(0, v), b = a / 2, t = 0.3;
    const double la = 1 / (a * a), lb = 1 / (b * b), c = std::cos(t), sn = std::sin(t);
    const double m[6] = {la * c * c + lb * sn * sn, (la - lb) * c * sn, la * sn * sn + lb * c * c, 0, 0, lb};
    for (unsigned k = 0; k < 6; ++k) M(k, v) = m[k];
  }
  qualities_bench(s, M);
}

BENCHMARK(BM_copy_edges)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_sort_baseline)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_edge_qualities_sizes)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_edge_qualities_metrics_3d)->Unit(benchmark::kMillisecond);

}  // namespace
