// node_detector and merge on one million random 3-D points, against
// nanoflann (build, nearest queries, and a radius-search merge loop) and a
// uniform-bin point locator (merge).
//
// Merge input: 1M points of which 30% are copies of earlier points moved by
// less than 1e-7, merged with tolerance 1e-6.  The peak memory of merge is
// counted by the malloc wrappers below and reported as bytes per point.
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <nanoflann.hpp>

#include <zeb/plexa.hpp>

// Byte counting through the C allocator: every container block, and every
// std::vector of the peers, goes through these.
extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);
void* __libc_memalign(size_t, size_t);
void __libc_free(void*);
}

namespace {
std::atomic<long long> live_bytes{0}, peak_bytes{0};

void count(void* p, long long sign) {
  if (!p) return;
  const long long now = live_bytes.fetch_add(sign * (long long)malloc_usable_size(p)) + sign * (long long)malloc_usable_size(p);
  long long peak = peak_bytes.load();
  while (now > peak && !peak_bytes.compare_exchange_weak(peak, now)) {
  }
}

// Peak bytes above the level at the start of the measured region.
struct peak_meter {
  long long base = live_bytes.load();
  peak_meter() { peak_bytes.store(base); }
  long long bytes() const { return peak_bytes.load() - base; }
};
}  // namespace

extern "C" {
void* malloc(size_t n) {
  void* p = __libc_malloc(n);
  count(p, 1);
  return p;
}
void* calloc(size_t k, size_t n) {
  void* p = __libc_calloc(k, n);
  count(p, 1);
  return p;
}
void* realloc(void* old, size_t n) {
  count(old, -1);
  void* p = __libc_realloc(old, n);
  count(p ? p : (n ? old : nullptr), 1);
  return p;
}
void* memalign(size_t a, size_t n) {
  void* p = __libc_memalign(a, n);
  count(p, 1);
  return p;
}
void* aligned_alloc(size_t a, size_t n) { return memalign(a, n); }
int posix_memalign(void** out, size_t a, size_t n) {
  *out = memalign(a, n);
  return *out ? 0 : 12;
}
void free(void* p) {
  count(p, -1);
  __libc_free(p);
}
}

namespace {

using zeb::dense1D;
using zeb::dense2D;

constexpr unsigned N = 1000000;

const dense2D<double>& random_points() {
  static const dense2D<double> pos = [] {
    dense2D<double> m(3, N);
    std::mt19937_64 g(2024);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    for (unsigned j = 0; j < N; ++j)
      for (unsigned i = 0; i < 3; ++i) m(i, j) = u(g);
    return m;
  }();
  return pos;
}

const std::vector<double>& queries() {
  static const std::vector<double> q = [] {
    std::vector<double> v(3 * std::size_t(N));
    std::mt19937_64 g(77);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    for (double& x : v) x = u(g);
    return v;
  }();
  return q;
}

// 30% of the points are copies of earlier ones moved by less than 1e-7.
const dense2D<double>& points_with_copies() {
  static const dense2D<double> pos = [] {
    dense2D<double> m;
    m.copy(random_points());
    std::mt19937_64 g(99);
    std::uniform_real_distribution<double> move(-0.5e-7, 0.5e-7);
    for (unsigned j = 1; j < N; ++j) {
      if (g() % 10 >= 3) continue;
      const unsigned from = unsigned(g() % j);
      for (unsigned i = 0; i < 3; ++i) m(i, j) = m(i, from) + move(g);
    }
    return m;
  }();
  return pos;
}

constexpr double TOLERANCE = 1e-6;

// nanoflann's view of a coordinate matrix.
struct cloud {
  const dense2D<double>& m;
  size_t kdtree_get_point_count() const { return m.cols(); }
  double kdtree_get_pt(size_t j, size_t i) const { return m.data()[j * m.ld() + i]; }
  template <class B>
  bool kdtree_get_bbox(B&) const {
    return false;
  }
};
using flann_tree =
    nanoflann::KDTreeSingleIndexAdaptor<nanoflann::L2_Simple_Adaptor<double, cloud>, cloud, 3, unsigned>;

void BM_build_plexa(benchmark::State& state) {
  const dense2D<double>& pos = random_points();
  for (auto _ : state) {
    zeb::plexa::node_detector d(pos);
    benchmark::DoNotOptimize(d.size());
  }
}

void BM_build_nanoflann(benchmark::State& state) {
  const cloud c{random_points()};
  for (auto _ : state) {
    flann_tree t(3, c, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    benchmark::DoNotOptimize(t.size(t));
  }
}

void BM_find_closest_plexa(benchmark::State& state) {
  const zeb::plexa::node_detector d(random_points());
  const std::vector<double>& q = queries();
  for (auto _ : state) {
    unsigned sum = 0;
    for (unsigned k = 0; k < N; ++k)
      sum += d.find_closest(zeb::vector_fixed<double, 3>(q[3 * k], q[3 * k + 1], q[3 * k + 2]));
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * N);
}

void BM_find_closest_nanoflann(benchmark::State& state) {
  const cloud c{random_points()};
  flann_tree t(3, c, nanoflann::KDTreeSingleIndexAdaptorParams(10));
  const std::vector<double>& q = queries();
  for (auto _ : state) {
    unsigned sum = 0;
    for (unsigned k = 0; k < N; ++k) {
      unsigned idx;
      double d2;
      t.knnSearch(&q[3 * k], 1, &idx, &d2);
      sum += idx;
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * N);
}

// merge(pos, new_IDs, tolerance) on a copy of `input` made outside the
// timing: every node onto the closest node of smaller index, coordinates of
// merged nodes overwritten.
void time_self_merge(benchmark::State& state, const dense2D<double>& input) {
  long long peak = 0;
  int merged = 0;
  for (auto _ : state) {
    state.PauseTiming();
    dense2D<double> pos;
    pos.copy(input);
    dense1D<unsigned, 8> map;
    state.ResumeTiming();
    peak_meter meter;
    merged = zeb::plexa::merge(pos, map, TOLERANCE);
    peak = std::max(peak, meter.bytes());
  }
  state.counters["merged"] = merged;
  state.counters["peak_bytes_per_point"] = double(peak) / input.cols();
}

void BM_merge_plexa(benchmark::State& state) { time_self_merge(state, points_with_copies()); }

// The node-list form over all nodes (the distinct list is collected too).
void BM_merge_plexa_node_list(benchmark::State& state) {
  const dense2D<double>& pos = points_with_copies();
  dense1D<unsigned, 8> all(N);
  for (unsigned i = 0; i < N; ++i) all[i] = i;
  long long peak = 0;
  int merged = 0;
  for (auto _ : state) {
    dense1D<unsigned, 8> map;
    peak_meter meter;
    merged = zeb::plexa::merge(pos, all, map, TOLERANCE);
    peak = std::max(peak, meter.bytes());
  }
  state.counters["merged"] = merged;
  state.counters["peak_bytes_per_point"] = double(peak) / N;
}

// The chains of a map whose representatives precede their nodes, flattened.
void flatten(std::vector<unsigned>& map) {
  for (unsigned i = 0; i < map.size(); ++i) map[i] = map[map[i]];
  benchmark::DoNotOptimize(map.data());
}

void report_merge(benchmark::State& state, unsigned merged, long long peak) {
  state.counters["merged"] = merged;
  state.counters["peak_bytes_per_point"] = double(peak) / N;
}

// The same rule with nanoflann: build, one radius search per point keeping
// the closest neighbour of smaller index, then the chains flattened.
void BM_merge_nanoflann(benchmark::State& state) {
  const dense2D<double>& pos = points_with_copies();
  const cloud c{pos};
  long long peak = 0;
  unsigned merged = 0;
  for (auto _ : state) {
    peak_meter meter;
    flann_tree t(3, c, nanoflann::KDTreeSingleIndexAdaptorParams(10));
    std::vector<unsigned> map(N);
    std::vector<std::pair<unsigned, double>> found;
    const nanoflann::SearchParams unsorted(32, 0, false);
    merged = 0;
    for (unsigned i = 0; i < N; ++i) {
      const double* p = pos.data() + std::size_t(i) * pos.ld();
      t.radiusSearch(p, TOLERANCE * TOLERANCE, found, unsorted);
      unsigned best = i;
      double bound = TOLERANCE * TOLERANCE;
      for (const auto& f : found)
        if (f.first < i && f.second <= bound) best = f.first, bound = f.second;
      map[i] = best;
      merged += best != i;
    }
    flatten(map);
    peak = std::max(peak, meter.bytes());
  }
  report_merge(state, merged, peak);
}

// The same rule with a uniform-bin point locator, the classic static
// locator of visualisation toolkits: about one point per bin, the point ids
// sorted into their bins by a counting sort, then for every point in index
// order the bins its tolerance box overlaps are scanned for the closest
// point of smaller index.
void BM_merge_uniform_bins(benchmark::State& state) {
  const dense2D<double>& pos = points_with_copies();
  const double* x = pos.data();
  const std::size_t ld = pos.ld();
  long long peak = 0;
  unsigned merged = 0;
  for (auto _ : state) {
    peak_meter meter;
    double lo[3], hi[3];
    for (unsigned k = 0; k < 3; ++k) lo[k] = hi[k] = x[k];
    for (unsigned i = 1; i < N; ++i)
      for (unsigned k = 0; k < 3; ++k) {
        lo[k] = std::min(lo[k], x[i * ld + k]);
        hi[k] = std::max(hi[k], x[i * ld + k]);
      }
    const unsigned per_axis = unsigned(std::cbrt(double(N)));
    unsigned dims[3];
    double scale[3];
    for (unsigned k = 0; k < 3; ++k) {
      dims[k] = per_axis;
      scale[k] = hi[k] > lo[k] ? dims[k] / (hi[k] - lo[k]) : 0.0;
    }
    const auto cell = [&](unsigned k, double v) {
      const double t = (v - lo[k]) * scale[k];
      return t <= 0 ? 0u : t >= dims[k] ? dims[k] - 1 : unsigned(t);
    };
    const std::size_t bins = std::size_t(dims[0]) * dims[1] * dims[2];
    std::vector<unsigned> start(bins + 1, 0), bin_of(N), ids(N), map(N);
    for (unsigned i = 0; i < N; ++i) {
      const double* p = x + i * ld;
      bin_of[i] = cell(0, p[0]) + dims[0] * (cell(1, p[1]) + dims[1] * cell(2, p[2]));
      ++start[bin_of[i] + 1];
    }
    for (std::size_t b = 0; b < bins; ++b) start[b + 1] += start[b];
    {
      std::vector<unsigned> fill(start.begin(), start.end() - 1);
      for (unsigned i = 0; i < N; ++i) ids[fill[bin_of[i]]++] = i;
    }
    merged = 0;
    for (unsigned i = 0; i < N; ++i) {
      const double* p = x + i * ld;
      unsigned best = i;
      double bound = TOLERANCE * TOLERANCE;
      unsigned from[3], to[3];
      for (unsigned k = 0; k < 3; ++k) from[k] = cell(k, p[k] - TOLERANCE), to[k] = cell(k, p[k] + TOLERANCE);
      for (unsigned c = from[2]; c <= to[2]; ++c)
        for (unsigned b = from[1]; b <= to[1]; ++b)
          for (unsigned a = from[0]; a <= to[0]; ++a) {
            const std::size_t bin = a + dims[0] * (b + std::size_t(dims[1]) * c);
            for (unsigned k = start[bin]; k < start[bin + 1]; ++k) {
              const unsigned j = ids[k];
              if (j >= i) continue;
              const double* q = x + j * ld;
              const double d2 = (q[0] - p[0]) * (q[0] - p[0]) + (q[1] - p[1]) * (q[1] - p[1]) +
                                (q[2] - p[2]) * (q[2] - p[2]);
              if (d2 <= bound) best = j, bound = d2;
            }
          }
      map[i] = best;
      merged += best != i;
    }
    flatten(map);
    peak = std::max(peak, meter.bytes());
  }
  report_merge(state, merged, peak);
}

// A detector grown one node per insert() call, as a mesh generator grows it:
// node 0 indexed first, then nodes 1 ... n - 1 one by one.  Each call
// shuffles a list of one node, so sorted or coincident nodes make a chain.
void grow_one_per_call(benchmark::State& state, const dense2D<double>& pos) {
  const unsigned n = pos.cols();
  for (auto _ : state) {
    zeb::plexa::node_detector d(pos, dense1D<unsigned, 8>(1, 0u));
    dense1D<unsigned, 8> one(1);
    unsigned added = 0;
    for (unsigned i = 1; i < n; ++i) {
      one[0] = i;
      added += d.insert(one);
    }
    benchmark::DoNotOptimize(added);
  }
  state.SetItemsProcessed(state.iterations() * n);
}

// The common use of insert: half of the random points indexed balanced,
// the other half added in one call.
void BM_insert_batch_random(benchmark::State& state) {
  const dense2D<double>& pos = random_points();
  dense1D<unsigned, 8> first(N / 2), second(N - N / 2);
  for (unsigned i = 0; i < N; ++i) (i < N / 2 ? first[i] : second[i - N / 2]) = i;
  for (auto _ : state) {
    state.PauseTiming();
    zeb::plexa::node_detector d(pos, first);
    state.ResumeTiming();
    benchmark::DoNotOptimize(d.insert(second));
  }
  state.SetItemsProcessed(state.iterations() * second.size());
}

void BM_insert_one_per_call_sorted_line(benchmark::State& state) {
  const unsigned n = unsigned(state.range(0));
  dense2D<double> pos(3, n, 0.0);
  for (unsigned j = 0; j < n; ++j) pos(0, j) = j;
  grow_one_per_call(state, pos);
}

void BM_insert_one_per_call_coincident(benchmark::State& state) {
  grow_one_per_call(state, dense2D<double>(3, unsigned(state.range(0)), 0.5));
}

// Self-merge of points that fall exactly on `clusters` random places (the
// place of each point drawn at random), tolerance 1e-6.
void BM_merge_coincident_clusters(benchmark::State& state) {
  const unsigned n = unsigned(state.range(0)), clusters = unsigned(state.range(1));
  dense2D<double> input(3, n);
  std::mt19937_64 g(5);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::vector<double> places(3 * std::size_t(clusters));
  for (double& x : places) x = u(g);
  for (unsigned j = 0; j < n; ++j) {
    const unsigned c = unsigned(g() % clusters);
    for (unsigned i = 0; i < 3; ++i) input(i, j) = places[3 * std::size_t(c) + i];
  }
  time_self_merge(state, input);
}

}  // namespace

BENCHMARK(BM_build_plexa)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_build_nanoflann)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_find_closest_plexa)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_find_closest_nanoflann)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_merge_plexa)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_merge_plexa_node_list)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_merge_nanoflann)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_merge_uniform_bins)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_insert_batch_random)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_insert_one_per_call_sorted_line)->Arg(40000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_insert_one_per_call_coincident)->Arg(40000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_merge_coincident_clusters)->Args({1000000, 1000})->Args({100000, 1})->Unit(benchmark::kMillisecond);
