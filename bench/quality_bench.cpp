// Element quality over a million tetrahedra and a million hexahedra:
// shape_qualities (plain and in a metric field), min_quality and jacobians,
// in elements per second.  The meshes split a structured grid of slightly
// moved nodes, numbered in grid order.
#include <cstddef>
#include <random>

#include <benchmark/benchmark.h>

#include <zeb/plexa.hpp>

namespace {

using zeb::dense1D;
using zeb::dense2D;
using namespace zeb::plexa;

struct mesh {
  dense2D<double> pos;
  dense2D<unsigned> connect;
  dense2D<double> metrics;
};

// The nodes of an n^3 grid of cubes with unit spacing, each moved by up to
// 0.2, and a smooth anisotropic metric field.
void make_nodes(unsigned n, mesh& m) {
  const unsigned k = n + 1;
  m.pos = dense2D<double>(3, k * k * k);
  m.metrics = dense2D<double>(6, k * k * k);
  std::mt19937_64 g(3);
  std::uniform_real_distribution<double> u(-0.2, 0.2);
  for (unsigned z = 0, j = 0; z < k; ++z)
    for (unsigned y = 0; y < k; ++y)
      for (unsigned x = 0; x < k; ++x, ++j) {
        m.pos(0, j) = x + u(g), m.pos(1, j) = y + u(g), m.pos(2, j) = z + u(g);
        const double t = 1 + 0.5 * x / n;
        const double e[6] = {t, 0.1, 1, 0.05, 0.2, 2 / t};
        for (unsigned i = 0; i < 6; ++i) m.metrics(i, j) = e[i];
      }
}

unsigned node(unsigned n, unsigned x, unsigned y, unsigned z) { return x + (n + 1) * (y + (n + 1) * z); }

// 6 positive tetrahedra per cube around its diagonal.
const mesh& tetrahedra() {
  static const mesh m = [] {
    const unsigned n = 55;  // 998250 tetrahedra
    mesh t;
    make_nodes(n, t);
    t.connect = dense2D<unsigned>(4, 6 * n * n * n);
    // Paths from corner 0 to corner 7 of the cube through the axes.
    const unsigned paths[6][2] = {{1, 3}, {2, 3}, {1, 5}, {4, 5}, {2, 6}, {4, 6}};
    unsigned e = 0;
    for (unsigned z = 0; z < n; ++z)
      for (unsigned y = 0; y < n; ++y)
        for (unsigned x = 0; x < n; ++x)
          for (const auto& p : paths) {
            auto corner = [&](unsigned c) { return node(n, x + (c & 1), y + (c >> 1 & 1), z + (c >> 2)); };
            const bool even = (p[0] == 1 && p[1] == 3) || (p[0] == 2 && p[1] == 6) || (p[0] == 4 && p[1] == 5);
            t.connect(0, e) = corner(0);
            t.connect(1, e) = corner(even ? p[0] : p[1]);
            t.connect(2, e) = corner(even ? p[1] : p[0]);
            t.connect(3, e) = corner(7);
            ++e;
          }
    return t;
  }();
  return m;
}

const mesh& hexahedra() {
  static const mesh m = [] {
    const unsigned n = 100;  // 1000000 hexahedra
    mesh h;
    make_nodes(n, h);
    h.connect = dense2D<unsigned>(8, n * n * n);
    unsigned e = 0;
    for (unsigned z = 0; z < n; ++z)
      for (unsigned y = 0; y < n; ++y)
        for (unsigned x = 0; x < n; ++x, ++e) {
          const unsigned base[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
          for (unsigned c = 0; c < 8; ++c) h.connect(c, e) = node(n, x + base[c % 4][0], y + base[c % 4][1], z + c / 4);
        }
    return h;
  }();
  return m;
}

template <const mesh& (*Mesh)(), element_type Type>
void BM_shape_qualities(benchmark::State& s) {
  const mesh& m = Mesh();
  dense1D<double, 8> q;
  for (auto _ : s) benchmark::DoNotOptimize(shape_qualities(m.pos, m.connect, Type, q));
  s.SetItemsProcessed(s.iterations() * m.connect.cols());
}

template <const mesh& (*Mesh)(), element_type Type>
void BM_shape_qualities_in_metric(benchmark::State& s) {
  const mesh& m = Mesh();
  dense1D<double, 8> q;
  for (auto _ : s) benchmark::DoNotOptimize(shape_qualities(m.pos, m.connect, Type, m.metrics, q));
  s.SetItemsProcessed(s.iterations() * m.connect.cols());
}

template <const mesh& (*Mesh)(), element_type Type>
void BM_min_quality(benchmark::State& s) {
  const mesh& m = Mesh();
  double q;
  unsigned e;
  for (auto _ : s) benchmark::DoNotOptimize(min_quality(m.pos, m.connect, Type, q, e));
  s.SetItemsProcessed(s.iterations() * m.connect.cols());
}

template <const mesh& (*Mesh)(), element_type Type>
void BM_jacobians(benchmark::State& s) {
  const mesh& m = Mesh();
  dense2D<double> d;
  for (auto _ : s) benchmark::DoNotOptimize(jacobians(m.pos, m.connect, Type, d));
  s.SetItemsProcessed(s.iterations() * m.connect.cols());
}

BENCHMARK(BM_shape_qualities<tetrahedra, ELT_TETRA4>)->Name("shape_qualities/tetrahedra")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_min_quality<tetrahedra, ELT_TETRA4>)->Name("min_quality/tetrahedra")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_shape_qualities_in_metric<tetrahedra, ELT_TETRA4>)
    ->Name("shape_qualities_in_metric/tetrahedra")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_jacobians<tetrahedra, ELT_TETRA4>)->Name("jacobians/tetrahedra")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_shape_qualities<hexahedra, ELT_HEXA8>)->Name("shape_qualities/hexahedra")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_min_quality<hexahedra, ELT_HEXA8>)->Name("min_quality/hexahedra")->Unit(benchmark::kMillisecond);
BENCHMARK(BM_shape_qualities_in_metric<hexahedra, ELT_HEXA8>)
    ->Name("shape_qualities_in_metric/hexahedra")
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_jacobians<hexahedra, ELT_HEXA8>)->Name("jacobians/hexahedra")->Unit(benchmark::kMillisecond);

}  // namespace
