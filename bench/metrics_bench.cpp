// Metric validity and clamping over a million random metrics.  The 2-D
// paths are closed forms; the 3-D ones are measured against the bare dspev
// calls they make, on the same matrices in the same binary.
#include <cmath>
#include <cstddef>
#include <cstring>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>

#include <zeb/lapack.hpp>
#include <zeb/plexa.hpp>

namespace {

using zeb::dense2D;
using Sym2 = zeb::symmetric_fixed<double, 2>;
using Sym3 = zeb::symmetric_fixed<double, 3>;

constexpr unsigned COLUMNS = 1000000;

// Bounds that every generated metric violates: its largest eigenvalue, 1e6,
// is above 1/HMIN^2; the others lie in [1e-3, 1e3], inside the bounds.
constexpr double HMIN = 0.01, HMAX = 100.0;

// Column j: R diag(1e6, l2 [, l3]) R^T, R a random rotation, l_k = 10^u with
// u uniform in [-3, 3].
dense2D<double> make_field(unsigned dim) {
  const unsigned rows = dim == 2 ? 3 : 6;
  dense2D<double> M(rows, COLUMNS);
  std::mt19937_64 g(dim);
  std::normal_distribution<double> n;
  std::uniform_real_distribution<double> u(-3, 3);
  double* p = M.data();
  for (unsigned j = 0; j < COLUMNS; ++j, p += rows) {
    double R[9] = {};
    for (unsigned k = 0; k < dim; ++k) {  // Gram-Schmidt on Gaussian vectors
      double* r = R + 3 * k;
      for (unsigned i = 0; i < dim; ++i) r[i] = n(g);
      for (unsigned q = 0; q < k; ++q) {
        double d = 0;
        for (unsigned i = 0; i < dim; ++i) d += r[i] * R[3 * q + i];
        for (unsigned i = 0; i < dim; ++i) r[i] -= d * R[3 * q + i];
      }
      double s = 0;
      for (unsigned i = 0; i < dim; ++i) s += r[i] * r[i];
      for (unsigned i = 0; i < dim; ++i) r[i] /= std::sqrt(s);
    }
    const double l[3] = {1e6, std::pow(10.0, u(g)), std::pow(10.0, u(g))};
    for (unsigned c = 0, at = 0; c < dim; ++c)
      for (unsigned r = 0; r <= c; ++r, ++at) {
        double s = 0;
        for (unsigned k = 0; k < dim; ++k) s += l[k] * R[3 * k + r] * R[3 * k + c];
        p[at] = s;
      }
  }
  return M;
}

const dense2D<double>& field(unsigned dim) {
  static const dense2D<double> f2 = make_field(2), f3 = make_field(3);
  return dim == 2 ? f2 : f3;
}

// The 3-D field after bound_metrics, for the baseline's second solve.
const dense2D<double>& bounded_field() {
  static const dense2D<double> b = [] {
    dense2D<double> m;
    m.copy(field(3));
    zeb::plexa::bound_metrics(m, HMIN, HMAX);
    return m;
  }();
  return b;
}

template <class Sym>
std::vector<Sym> as_metrics(const dense2D<double>& M) {
  std::vector<Sym> out(M.cols());
  std::memcpy(static_cast<void*>(out.data()), M.data(), sizeof(Sym) * M.cols());
  return out;
}

// One dspev call on a copy of six packed coefficients, as the library makes
// it: 'N' for eigenvalues only, 'V' with eigenvectors.
inline double bare_dspev(const double* m, bool vectors) {
  double ap[6] = {m[0], m[1], m[2], m[3], m[4], m[5]}, w[3], z[9], work[10] = {};
  long info = 0;
  zeb::lapack::dspev(vectors ? 'V' : 'N', 'U', 3, ap, w, vectors ? z : nullptr, vectors ? 3 : 1, work, info);
  return w[0] + (vectors ? z[0] : 0.0);
}

void BM_is_valid_metric_2d(benchmark::State& s) {
  const std::vector<Sym2> metrics = as_metrics<Sym2>(field(2));
  for (auto _ : s) {
    unsigned valid = 0;
    for (const Sym2& m : metrics) valid += zeb::plexa::is_valid_metric(m);
    benchmark::DoNotOptimize(valid);
  }
  s.SetItemsProcessed(s.iterations() * COLUMNS);
}

void BM_is_valid_metric_3d(benchmark::State& s) {
  const std::vector<Sym3> metrics = as_metrics<Sym3>(field(3));
  for (auto _ : s) {
    unsigned valid = 0;
    for (const Sym3& m : metrics) valid += zeb::plexa::is_valid_metric(m);
    benchmark::DoNotOptimize(valid);
  }
  s.SetItemsProcessed(s.iterations() * COLUMNS);
}

void BM_first_invalid_metric_3d(benchmark::State& s) {
  const dense2D<double>& M = field(3);
  for (auto _ : s) benchmark::DoNotOptimize(zeb::plexa::first_invalid_metric(M));
  s.SetItemsProcessed(s.iterations() * COLUMNS);
}

// Baseline of the two above: dspev 'N' on every column.
void BM_dspev_values_3d(benchmark::State& s) {
  const double* p = field(3).data();
  for (auto _ : s) {
    double sum = 0;
    for (std::size_t j = 0; j < COLUMNS; ++j) sum += bare_dspev(p + 6 * j, false);
    benchmark::DoNotOptimize(sum);
  }
  s.SetItemsProcessed(s.iterations() * COLUMNS);
}

// Every column is clamped; the field is restored outside the timing.
void bound_field(benchmark::State& s, unsigned dim) {
  dense2D<double> M;
  M.copy(field(dim));
  const std::size_t bytes = sizeof(double) * M.rows() * M.cols();
  for (auto _ : s) {
    s.PauseTiming();
    std::memcpy(M.data(), field(dim).data(), bytes);
    s.ResumeTiming();
    if (zeb::plexa::bound_metrics(M, HMIN, HMAX) != int(COLUMNS)) s.SkipWithError("a column was left alone");
  }
  s.SetItemsProcessed(s.iterations() * COLUMNS);
}
void BM_bound_metrics_2d(benchmark::State& s) { bound_field(s, 2); }
void BM_bound_metrics_3d(benchmark::State& s) { bound_field(s, 3); }

// Baseline of bound_metrics 3-D: dspev 'V' on every column, then 'N' on
// its clamped value.
void BM_dspev_pairs_then_values_3d(benchmark::State& s) {
  const double* p = field(3).data();
  const double* b = bounded_field().data();
  for (auto _ : s) {
    double sum = 0;
    for (std::size_t j = 0; j < COLUMNS; ++j) sum += bare_dspev(p + 6 * j, true) + bare_dspev(b + 6 * j, false);
    benchmark::DoNotOptimize(sum);
  }
  s.SetItemsProcessed(s.iterations() * COLUMNS);
}

}  // namespace

BENCHMARK(BM_is_valid_metric_2d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_bound_metrics_2d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_dspev_values_3d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_is_valid_metric_3d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_first_invalid_metric_3d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_dspev_pairs_then_values_3d)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_bound_metrics_3d)->Unit(benchmark::kMillisecond);
