// Transforms over every node and through a tetrahedral connectivity, against
// plain loops doing the same arithmetic on the same storage.
#include <cmath>
#include <cstddef>
#include <random>

#include <benchmark/benchmark.h>

#include <zeb/plexa.hpp>

namespace {

using zeb::dense1D;
using zeb::dense2D;
using V3 = zeb::vector_fixed<double, 3>;

constexpr unsigned ALL_NODES = 10000000;
constexpr unsigned TETS = 1000000;
constexpr unsigned TET_NODES = 180000;  // about the node count of a 1M-tetrahedra mesh

dense2D<double> make_coordinates(unsigned n) {
  dense2D<double> pos(3, n);
  std::mt19937_64 g(1);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  double* p = pos.data();
  for (std::size_t k = 0; k < std::size_t(3) * n; ++k) p[k] = u(g);
  return pos;
}

dense2D<unsigned> make_tetrahedra() {
  dense2D<unsigned> c(4, TETS);
  std::mt19937_64 g(2);
  std::uniform_int_distribution<unsigned> u(0, TET_NODES - 1);
  unsigned* p = c.data();
  for (std::size_t k = 0; k < std::size_t(4) * TETS; ++k) p[k] = u(g);
  return c;
}

dense2D<double>& big() {
  static dense2D<double> pos = make_coordinates(ALL_NODES);
  return pos;
}

const V3 centre(0.1, 0.2, 0.3);
const V3 axis(1e-3, -2e-3, 0.5);
const V3 shift(1e-9, -1e-9, 2e-9);

// The rotation matrix of `axis`, computed once for the plain loop.
struct matrix3 {
  double m[9];
};
matrix3 rotation_of(const V3& v) {
  const double t = v[0] * v[0] + v[1] * v[1] + v[2] * v[2], th = std::sqrt(t);
  const double a = std::sin(th) / th, b = (1 - std::cos(th)) / t;
  const double x = v[0], y = v[1], z = v[2];
  return {{1 + b * (x * x - t), a * z + b * x * y, -a * y + b * x * z, -a * z + b * x * y, 1 + b * (y * y - t),
           a * x + b * y * z, a * y + b * x * z, -a * x + b * y * z, 1 + b * (z * z - t)}};
}

void BM_rotate3_all(benchmark::State& s) {
  dense2D<double>& pos = big();
  for (auto _ : s) benchmark::DoNotOptimize(zeb::plexa::rotate(pos, centre, axis));
  s.SetItemsProcessed(s.iterations() * ALL_NODES);
}

void BM_rotate3_plain_loop(benchmark::State& s) {
  dense2D<double>& pos = big();
  const matrix3 r = rotation_of(axis);
  for (auto _ : s) {
    double* p = pos.data();
    const double* m = r.m;
    for (std::size_t j = 0; j < ALL_NODES; ++j, p += 3) {
      const double dx = p[0] - centre[0], dy = p[1] - centre[1], dz = p[2] - centre[2];
      p[0] = centre[0] + (m[0] * dx + m[3] * dy + m[6] * dz);
      p[1] = centre[1] + (m[1] * dx + m[4] * dy + m[7] * dz);
      p[2] = centre[2] + (m[2] * dx + m[5] * dy + m[8] * dz);
    }
    benchmark::ClobberMemory();
  }
  s.SetItemsProcessed(s.iterations() * ALL_NODES);
}

void BM_translate3_all(benchmark::State& s) {
  dense2D<double>& pos = big();
  for (auto _ : s) benchmark::DoNotOptimize(zeb::plexa::translate(pos, shift));
  s.SetItemsProcessed(s.iterations() * ALL_NODES);
}

void BM_translate3_plain_loop(benchmark::State& s) {
  dense2D<double>& pos = big();
  for (auto _ : s) {
    double* p = pos.data();
    for (std::size_t j = 0; j < ALL_NODES; ++j, p += 3) {
      p[0] += shift[0];
      p[1] += shift[1];
      p[2] += shift[2];
    }
    benchmark::ClobberMemory();
  }
  s.SetItemsProcessed(s.iterations() * ALL_NODES);
}

// Through a connectivity: the distinct nodes are collected first.
void BM_rotate3_tetrahedra(benchmark::State& s) {
  dense2D<double> pos = make_coordinates(TET_NODES);
  const dense2D<unsigned> tets = make_tetrahedra();
  for (auto _ : s) benchmark::DoNotOptimize(zeb::plexa::rotate(pos, centre, axis, tets));
  s.SetItemsProcessed(s.iterations() * TETS);
}

void BM_translate3_tetrahedra(benchmark::State& s) {
  dense2D<double> pos = make_coordinates(TET_NODES);
  const dense2D<unsigned> tets = make_tetrahedra();
  for (auto _ : s) benchmark::DoNotOptimize(zeb::plexa::translate(pos, shift, tets));
  s.SetItemsProcessed(s.iterations() * TETS);
}

// Plain loop through the connectivity: a visited flag per node, each node
// moved once.
void BM_translate3_tetrahedra_plain_loop(benchmark::State& s) {
  dense2D<double> pos = make_coordinates(TET_NODES);
  const dense2D<unsigned> tets = make_tetrahedra();
  dense1D<unsigned char, 8> seen(TET_NODES);
  for (auto _ : s) {
    seen = 0;
    double* p = pos.data();
    const unsigned* c = tets.data();
    for (std::size_t k = 0; k < std::size_t(4) * TETS; ++k) {
      if (seen[c[k]]) continue;
      seen[c[k]] = 1;
      double* x = p + std::size_t(c[k]) * 3;
      x[0] += shift[0];
      x[1] += shift[1];
      x[2] += shift[2];
    }
    benchmark::ClobberMemory();
  }
  s.SetItemsProcessed(s.iterations() * TETS);
}

}  // namespace

BENCHMARK(BM_rotate3_all)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_rotate3_plain_loop)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_translate3_all)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_translate3_plain_loop)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_rotate3_tetrahedra)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_translate3_tetrahedra)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_translate3_tetrahedra_plain_loop)->Unit(benchmark::kMillisecond);
