// Neighbours, node graph and node-to-element lists on structured grids:
// 2M triangles (1000 x 1000 squares, 2 each) and about 1M tetrahedra (55^3
// cubes, 6 each), against a straightforward std::unordered_map from the
// sorted boundary nodes to (element, side).
//
// The "extra_over_output" counter is the peak resident memory that one call
// adds beyond its neighbour output, divided by the size of that output
// (measured by resetting the peak with /proc/self/clear_refs, with large
// blocks mapped afresh so that memory freed earlier is not reused unseen).
#include <algorithm>
#include <array>
#include <unordered_map>

#include <benchmark/benchmark.h>

#include <zeb/plexa.hpp>

#include "bench_support.hpp"

namespace {

using zeb::dense1D;
using zeb::dense2D;
using namespace zeb::plexa;
using namespace plexa_bench;

constexpr unsigned NO = 4294967295u;

const dense2D<unsigned>& triangles() {
  static const dense2D<unsigned> c = [] {
    const unsigned n = 1000;
    dense2D<unsigned> m(3, 2 * n * n);
    unsigned* p = m.data();
    for (unsigned j = 0; j < n; ++j)
      for (unsigned i = 0; i < n; ++i)
        for (unsigned b : {0u, 1u, 3u, 0u, 3u, 2u}) *p++ = corner(n, i, j, 0, b);
    return m;
  }();
  return c;
}

void neighbors_bench(benchmark::State& s, const dense2D<unsigned>& c, element_type type) {
  dense2D<unsigned> nbr;
  for (auto _ : s) {
    nbr = dense2D<unsigned>();
    if (get_neighbors(c, type, false, nbr) != 0) s.SkipWithError("get_neighbors failed");
    benchmark::DoNotOptimize(nbr.data());
  }
  const double out = double(nbr.rows()) * nbr.cols() * sizeof(unsigned);
  nbr = dense2D<unsigned>();
  s.counters["extra_over_output"] = extra_over_output(
      [&] {
        dense2D<unsigned> fresh;
        get_neighbors(c, type, false, fresh);
      },
      out);
  s.SetItemsProcessed(s.iterations() * c.cols());
}

// Baseline: sorted boundary nodes -> (element, side); the second element on
// a boundary links both.
template <unsigned K>
struct key_hash {
  std::size_t operator()(const std::array<unsigned, K>& a) const noexcept {
    std::size_t h = 0;
    for (unsigned v : a) h = h * 0x9E3779B97F4A7C15ull + v;
    return h ^ (h >> 29);
  }
};

template <unsigned K>
void baseline_bench(benchmark::State& s, const dense2D<unsigned>& c, const unsigned (*faces)[K], unsigned nb) {
  for (auto _ : s) {
    const unsigned n = c.cols();
    dense2D<unsigned> nbr(nb, n, NO);
    std::unordered_map<std::array<unsigned, K>, std::pair<unsigned, unsigned>, key_hash<K>> map;
    map.reserve(std::size_t(n) * nb / 2);
    for (unsigned e = 0; e < n; ++e)
      for (unsigned j = 0; j < nb; ++j) {
        std::array<unsigned, K> key;
        for (unsigned i = 0; i < K; ++i) key[i] = c(faces[j][i], e);
        std::sort(key.begin(), key.end());
        auto [it, fresh] = map.try_emplace(key, e, j);
        if (!fresh) {
          nbr(j, e) = it->second.first;
          nbr(it->second.second, it->second.first) = e;
        }
      }
    benchmark::DoNotOptimize(nbr.data());
  }
  s.SetItemsProcessed(s.iterations() * c.cols());
}

const unsigned tria_edges[3][2] = {{1, 2}, {2, 0}, {0, 1}};
const unsigned tetra_faces[4][3] = {{1, 2, 3}, {2, 0, 3}, {0, 1, 3}, {2, 1, 0}};

void BM_neighbors_2M_triangles(benchmark::State& s) { neighbors_bench(s, triangles(), ELT_TRIA3); }
void BM_baseline_2M_triangles(benchmark::State& s) { baseline_bench<2>(s, triangles(), tria_edges, 3); }
void BM_neighbors_1M_tetrahedra(benchmark::State& s) { neighbors_bench(s, tetrahedra(), ELT_TETRA4); }
void BM_baseline_1M_tetrahedra(benchmark::State& s) { baseline_bench<3>(s, tetrahedra(), tetra_faces, 4); }

void BM_node_graph_1M_tetrahedra(benchmark::State& s) {
  dense1D<unsigned> offsets, nodes;
  for (auto _ : s) {
    if (get_node_graph(tetrahedra(), offsets, nodes, ELT_TETRA4) != 0) s.SkipWithError("get_node_graph failed");
    benchmark::DoNotOptimize(nodes.data());
  }
  s.counters["graph_entries"] = nodes.size();
}

void BM_connected_elements_1M_tetrahedra(benchmark::State& s) {
  dense1D<unsigned> offsets, elements;
  for (auto _ : s) {
    if (get_connected_elements(tetrahedra(), offsets, elements) != 0) s.SkipWithError("get_connected_elements failed");
    benchmark::DoNotOptimize(elements.data());
  }
}

BENCHMARK(BM_neighbors_2M_triangles)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_baseline_2M_triangles)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_neighbors_1M_tetrahedra)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_baseline_1M_tetrahedra)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_node_graph_1M_tetrahedra)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_connected_elements_1M_tetrahedra)->Unit(benchmark::kMillisecond);

}  // namespace
