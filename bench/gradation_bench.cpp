// Gradation control, size generation and shock on about 1M tetrahedra
// (55^3 jittered cubes of edge 0.137, 6 tetrahedra each; 175,616 nodes,
// 1.2M edges).
//
// The field: random sizes, uniform in [0.1, 0.4] (the edges are 0.14 to
// 0.24 long), or random metrics with sizes in that range along random
// axes; and 5 sharp point sources of size 0.001.  Nearly every edge is
// above the bound at first.  "noisy" is the milder field 0.2 (1 +- 10%)
// with the same sources.  The bound is g = 0.2
// (variation: 1.0), in mode -1 (sizes only shrink).  Counters: "changed"
// (nodes), "pushes" and "pops" of the queue, and "extra_over_graph", the
// peak memory one call adds over the size of the node graph it builds.
//
// metrics_gen_iso and H_shock are compared with one pass over the element
// edges that reads the coordinates of both ends and sums the lengths.
#include <cmath>
#include <cstring>
#include <random>

#include <benchmark/benchmark.h>

#include <zeb/plexa.hpp>

#include "bench_support.hpp"
#include "metrics/gradation_control.hpp"
#include "tet_mesh.hpp"

namespace {

using zeb::dense1D;
using zeb::dense2D;
using namespace zeb::plexa;
using namespace plexa_bench;

constexpr double G = 0.2, G_VARIATION = 1.0;

void add_sources(std::mt19937_64& g, unsigned n, double* h, unsigned stride) {
  for (int k = 0; k < 5; ++k) {
    double* m = h + std::size_t(g() % n) * stride;
    if (stride == 1)
      m[0] = 0.001;
    else
      for (unsigned r = 0; r < 6; ++r) m[r] = r == 0 || r == 2 || r == 5 ? 1e6 : 0.0;
  }
}

dense1D<double, 8> random_sizes(double lo, double hi) {
  const unsigned n = million_tets().pos.cols();
  dense1D<double, 8> h(n);
  std::mt19937_64 g(7);
  std::uniform_real_distribution<double> u(lo, hi);
  for (unsigned v = 0; v < n; ++v) h[v] = u(g);
  add_sources(g, n, h.data(), 1);
  return h;
}

const dense1D<double, 8>& sizes() {
  static const dense1D<double, 8> H = random_sizes(0.1, 0.4);
  return H;
}

const dense1D<double, 8>& noisy_sizes() {
  static const dense1D<double, 8> H = random_sizes(0.18, 0.22);
  return H;
}

// R diag(1/h_k^2) R^T, R a random rotation (Gram-Schmidt on Gaussian
// vectors).
const dense2D<double>& metrics() {
  static const dense2D<double> M = [] {
    const unsigned n = million_tets().pos.cols();
    dense2D<double> m(6, n);
    std::mt19937_64 g(8);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> u(0.1, 0.4);
    for (unsigned v = 0; v < n; ++v) {
      double R[9];
      for (unsigned k = 0; k < 3; ++k) {
        double* r = R + 3 * k;
        for (unsigned i = 0; i < 3; ++i) r[i] = normal(g);
        for (unsigned q = 0; q < k; ++q) {
          const double d = r[0] * R[3 * q] + r[1] * R[3 * q + 1] + r[2] * R[3 * q + 2];
          for (unsigned i = 0; i < 3; ++i) r[i] -= d * R[3 * q + i];
        }
        const double s = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
        for (unsigned i = 0; i < 3; ++i) r[i] /= s;
      }
      double l[3];
      for (double& x : l) x = 1 / std::pow(u(g), 2);
      for (unsigned c = 0, at = 0; c < 3; ++c)
        for (unsigned r = 0; r <= c; ++r, ++at)
          m(at, v) = l[0] * R[r] * R[c] + l[1] * R[3 + r] * R[3 + c] + l[2] * R[6 + r] * R[6 + c];
    }
    add_sources(g, n, m.data(), 6);
    return m;
  }();
  return M;
}

const dense2D<unsigned>& edges() {
  static const dense2D<unsigned> e = [] {
    dense2D<unsigned> out;
    copy_edges(million_tets().tets, ELT_TETRA4, out);
    return out;
  }();
  return e;
}

double graph_bytes() {
  static const double bytes = [] {
    dense1D<unsigned, 8> offsets, nodes;
    get_node_graph(million_tets().tets, offsets, nodes, ELT_TETRA4);
    return double(offsets.size() + nodes.size()) * sizeof(unsigned);
  }();
  return bytes;
}

dense1D<double, 8> fresh(const dense1D<double, 8>& f) {
  dense1D<double, 8> c;
  c.copy(f);
  return c;
}
dense2D<double> fresh(const dense2D<double>& f) {
  dense2D<double> c;
  c.copy(f);
  return c;
}

template <class Field>
void bound_field(benchmark::State& s, detail::size_change measure, const Field& field0, double g) {
  const tet_mesh& mesh = million_tets();
  const dense1D<unsigned, 8> none;
  detail::propagation_stats stats;
  int changed = 0;
  for (auto _ : s) {
    s.PauseTiming();
    Field field = fresh(field0);
    s.ResumeTiming();
    changed = detail::bound_size_change(measure, mesh.pos, mesh.tets, ELT_TETRA4, none, true, -1, g, field, &stats);
    if (changed <= 0) s.SkipWithError("nothing changed");
  }
  s.counters["changed"] = changed;
  s.counters["pushes"] = double(stats.pushes);
  s.counters["pops"] = double(stats.pops);
  s.counters["largest_queue"] = stats.largest_queue;
  s.counters["sweeps"] = double(stats.sweeps);
  Field field = fresh(field0);
  s.counters["extra_over_graph"] = 1 + extra_over_output(
                                           [&] { field = fresh(field0); },
                                           [&] {
                                             detail::bound_size_change(measure, mesh.pos, mesh.tets, ELT_TETRA4,
                                                                       none, true, -1, g, field, nullptr);
                                           },
                                           graph_bytes());
}

void BM_bound_metric_gradations_iso(benchmark::State& s) {
  bound_field(s, detail::size_change::gradation, sizes(), G);
}
void BM_bound_metric_gradations_iso_noisy(benchmark::State& s) {
  bound_field(s, detail::size_change::gradation, noisy_sizes(), G);
}
void BM_bound_metric_gradations_aniso(benchmark::State& s) {
  bound_field(s, detail::size_change::gradation, metrics(), G);
}
void BM_bound_metric_variations_iso(benchmark::State& s) {
  bound_field(s, detail::size_change::variation, sizes(), G_VARIATION);
}

// The baseline: the length of every element edge, coordinates read from
// the node matrix, summed.
void BM_element_edge_lengths(benchmark::State& s) {
  const tet_mesh& mesh = million_tets();
  const unsigned pairs[6][2] = {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}};
  for (auto _ : s) {
    const double* p = mesh.pos.data();
    const unsigned* t = mesh.tets.data();
    double sum = 0;
    for (unsigned e = 0, n = mesh.tets.cols(); e < n; ++e, t += 4)
      for (const auto& pr : pairs) {
        const double *a = p + 3 * std::size_t(t[pr[0]]), *b = p + 3 * std::size_t(t[pr[1]]);
        sum += std::sqrt((b[0] - a[0]) * (b[0] - a[0]) + (b[1] - a[1]) * (b[1] - a[1]) + (b[2] - a[2]) * (b[2] - a[2]));
      }
    benchmark::DoNotOptimize(sum);
  }
  s.counters["element_edges"] = 6.0 * mesh.tets.cols();
}

void gen_iso(benchmark::State& s, double p) {
  const tet_mesh& mesh = million_tets();
  dense1D<double, 8> H;
  for (auto _ : s)
    if (metrics_gen_iso(mesh.pos, mesh.tets, ELT_TETRA4, H, p) != 0) s.SkipWithError("metrics_gen_iso failed");
}
void BM_metrics_gen_iso_mean(benchmark::State& s) { gen_iso(s, 1); }
void BM_metrics_gen_iso_quadratic(benchmark::State& s) { gen_iso(s, 2); }

void BM_H_shock_iso(benchmark::State& s) {
  const tet_mesh& mesh = million_tets();
  const dense2D<unsigned>& e = edges();
  dense1D<double, 8> S;
  for (auto _ : s) {
    S.clear();
    if (H_shock(mesh.pos, e, sizes(), S) != 0) s.SkipWithError("H_shock failed");
  }
  s.counters["edges"] = e.cols();
}

void BM_H_shock_aniso(benchmark::State& s) {
  const tet_mesh& mesh = million_tets();
  const dense2D<unsigned>& e = edges();
  dense1D<double, 8> S;
  for (auto _ : s) {
    S.clear();
    if (H_shock(mesh.pos, e, metrics(), S) != 0) s.SkipWithError("H_shock failed");
  }
  s.counters["edges"] = e.cols();
}

}  // namespace

BENCHMARK(BM_bound_metric_gradations_iso)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_bound_metric_gradations_iso_noisy)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_bound_metric_gradations_aniso)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_bound_metric_variations_iso)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_element_edge_lengths)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_metrics_gen_iso_mean)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_metrics_gen_iso_quadratic)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_H_shock_iso)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_H_shock_aniso)->Unit(benchmark::kMillisecond);
