// Gradation control across parts, run by mpirun (one part per rank):
//   mpirun -n 1|2|4|8 gradation_across_parts_mpibench [--benchmark_filter=...]
// The mesh: n^3 jittered cubes of 6 tetrahedra (tet_mesh.hpp; n = 88 gives
// 4.09M tetrahedra, n = 55 1M), partitioned into one part per rank before
// timing.  The field: sizes 0.2 (1 +- 10%) with 5 sharp point sources of
// size 0.001; isotropic gradation bound g = 0.2, mode -1.
//
// Times are those of the slowest rank (every rank times the call between
// two barriers, the maximum is reported); "cpu_ms" is the slowest rank's
// CPU time, the figure to compare on a loaded machine.  Counters: "rounds" (local
// propagations, each followed by an exchange), "KB_per_round" (border
// values sent by all ranks in one round), "shared" (node copies on a
// border, all ranks), "setup_KB" (sent while finding them), "changed".
// "serial" runs the serial call on rank 0's whole mesh, for comparison.
#include <mpi.h>

#include <time.h>

#include <algorithm>
#include <random>

#include <benchmark/benchmark.h>

#include <zeb/plexa.hpp>
#include <zeb/plexa/mpi.hpp>

#include "tet_mesh.hpp"

namespace {

using zeb::dense1D;
using zeb::dense2D;
using namespace zeb::plexa;
using plexa_bench::tet_mesh;

constexpr double G = 0.2;

int rank_of_world() {
  int r = 0;
  MPI_Comm_rank(MPI_COMM_WORLD, &r);
  return r;
}
int size_of_world() {
  int s = 0;
  MPI_Comm_size(MPI_COMM_WORLD, &s);
  return s;
}

dense1D<double, 8> point_sources(unsigned n) {
  dense1D<double, 8> h(n);
  std::mt19937_64 g(7);
  std::uniform_real_distribution<double> u(0.18, 0.22);
  for (unsigned v = 0; v < n; ++v) h[v] = u(g);
  for (int k = 0; k < 5; ++k) h[unsigned(g() % n)] = 0.001;
  return h;
}

// This rank's part of the n^3 mesh and its sizes, made once per n.
struct part_data {
  unsigned n = 0;
  dense2D<double> pos;
  dense2D<unsigned> connect;
  dense1D<unsigned, 8> ids;
  dense1D<double, 8> sizes;
};

const part_data& part_of(unsigned n) {
  static part_data p;
  if (p.n == n) return p;
  const tet_mesh whole(n);
  dense1D<unsigned, 8> part_of;
  partition(whole.tets, ELT_TETRA4, unsigned(size_of_world()), part_of);
  p.n = n;
  extract_part(whole.pos, whole.tets, part_of, unsigned(rank_of_world()), p.pos, p.connect, p.ids);
  const dense1D<double, 8> all = point_sources(whole.pos.cols());
  p.sizes.resize(p.ids.size());
  for (unsigned i = 0; i < p.ids.size(); ++i) p.sizes[i] = all[p.ids[i]];
  return p;
}

// This process's CPU time: on a machine shared with other work the wall
// time of a rank waiting for a core says little, its CPU time more.
double cpu_seconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

double slowest(double seconds) {
  double worst = 0;
  MPI_Allreduce(&seconds, &worst, 1, MPI_DOUBLE, MPI_MAX, MPI_COMM_WORLD);
  return worst;
}

void BM_gradation_across_parts(benchmark::State& state) {
  const part_data& p = part_of(unsigned(state.range(0)));
  exchange_report report;
  int changed = 0;
  double cpu = 0;
  for (auto _ : state) {
    dense1D<double, 8> h;
    h.copy(p.sizes);
    MPI_Barrier(MPI_COMM_WORLD);
    const double start = MPI_Wtime(), cpu_start = cpu_seconds();
    changed = bound_metric_gradations(MPI_COMM_WORLD, p.pos, p.connect, ELT_TETRA4, p.ids, {}, true, -1, G, h,
                                      &report);
    cpu += slowest(cpu_seconds() - cpu_start);
    state.SetIterationTime(slowest(MPI_Wtime() - start));
  }
  state.counters["cpu_ms"] = 1e3 * cpu / double(state.iterations());
  unsigned long long mine[3] = {report.bytes_sent, report.shared_nodes, report.setup_bytes}, all[3];
  MPI_Allreduce(mine, all, 3, MPI_UNSIGNED_LONG_LONG, MPI_SUM, MPI_COMM_WORLD);
  state.counters["ranks"] = size_of_world();
  state.counters["rounds"] = report.rounds;
  state.counters["KB_per_round"] = double(all[0]) / 1024 / std::max(1u, report.rounds);
  state.counters["shared"] = double(all[1]);
  state.counters["setup_KB"] = double(all[2]) / 1024;
  state.counters["changed"] = changed;
}

void BM_serial(benchmark::State& state) {
  // Every rank runs it on its own copy; the slowest is reported.
  const tet_mesh whole(unsigned(state.range(0)));
  const dense1D<double, 8> sizes = point_sources(whole.pos.cols());
  double cpu = 0;
  for (auto _ : state) {
    dense1D<double, 8> h;
    h.copy(sizes);
    MPI_Barrier(MPI_COMM_WORLD);
    const double start = MPI_Wtime(), cpu_start = cpu_seconds();
    benchmark::DoNotOptimize(bound_metric_gradations(whole.pos, whole.tets, ELT_TETRA4, {}, true, -1, G, h));
    cpu += slowest(cpu_seconds() - cpu_start);
    state.SetIterationTime(slowest(MPI_Wtime() - start));
  }
  state.counters["cpu_ms"] = 1e3 * cpu / double(state.iterations());
}

// Fixed iteration counts: every rank must make the same collective calls.
BENCHMARK(BM_gradation_across_parts)->Arg(30)->Arg(55)->Arg(88)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(2);
BENCHMARK(BM_serial)->Arg(55)->Arg(88)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(2);

// Reports on rank 0 only.
class quiet_reporter : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>&) override {}
};

}  // namespace

int main(int argc, char** argv) {
  MPI_Init(&argc, &argv);
  benchmark::Initialize(&argc, argv);
  if (rank_of_world() == 0) {
    benchmark::RunSpecifiedBenchmarks();
  } else {
    quiet_reporter quiet;
    benchmark::RunSpecifiedBenchmarks(&quiet);
  }
  benchmark::Shutdown();
  MPI_Finalize();
  return 0;
}
