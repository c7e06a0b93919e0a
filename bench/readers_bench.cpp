// Reading about a million tetrahedra (175,616 nodes) in NASTRAN bulk data
// (as NASTRAN_output writes it: GRID* large-field points, free-field
// CTETRA cards) and as a FEMAP neutral file, in MB/s of file read; each
// against a baseline in the same binary that reads the same file line by
// line with fgets and takes the same numbers out with sscanf, into plain
// arrays (no ID resolution: a lower bound of the work).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <zeb/plexa/io/femap.hpp>
#include <zeb/plexa/io/nastran.hpp>

#include "tet_mesh.hpp"

namespace {

using zeb::dense1D;
using zeb::dense2D;
using plexa_bench::file_size;
using plexa_bench::million_tets;
using plexa_bench::scratch_path;

// The file of a format, written once for all the runs of the program.
struct bench_file {
  std::string path;
  long bytes = 0;
  template <class Write>
  bench_file(const char* extension, Write write) : path(scratch_path(extension)) {
    const auto& mesh = million_tets();
    dense1D<unsigned, 8> ranges(2, 0u);
    ranges[1] = mesh.tets.cols();
    const dense1D<unsigned, 8> ids(mesh.tets.cols(), 1u);
    const dense1D<int, 8> types(1, int(zeb::plexa::ELT_TETRA4));
    if (write(path.c_str(), mesh.pos, mesh.tets, ranges, types, ids) == 0) bytes = file_size(path);
  }
  ~bench_file() { std::remove(path.c_str()); }
};

const bench_file& nastran_file() {
  static const bench_file f("nas", [](auto&&... args) { return zeb::plexa::NASTRAN_output(args...); });
  return f;
}
const bench_file& femap_file() {
  static const bench_file f("neu", [](auto&&... args) { return zeb::plexa::FEMAP_output(args...); });
  return f;
}

// What the baselines read into.
struct plain_mesh {
  std::vector<unsigned> node_ids, elements;
  std::vector<double> coords;
};

int fgets_nastran(const char* path, plain_mesh& m) {
  std::FILE* f = std::fopen(path, "r");
  if (!f) return -1;
  char line[256];
  while (std::fgets(line, sizeof line, f)) {
    unsigned id, v[5];
    double x[3];
    if (std::strncmp(line, "GRID*", 5) == 0) {
      if (std::sscanf(line + 8, "%16u%*16c%16lf%16lf", &id, x, x + 1) != 3 || !std::fgets(line, sizeof line, f) ||
          std::sscanf(line + 8, "%16lf", x + 2) != 1)
        break;
      m.node_ids.push_back(id);
      m.coords.insert(m.coords.end(), x, x + 3);
    } else if (std::sscanf(line, "CTETRA,%u,%u,%u,%u,%u,%u", &id, v, v + 1, v + 2, v + 3, v + 4) == 6) {
      m.elements.insert(m.elements.end(), v + 1, v + 5);
    }
  }
  std::fclose(f);
  return 0;
}

int fgets_femap(const char* path, plain_mesh& m) {
  std::FILE* f = std::fopen(path, "r");
  if (!f) return -1;
  char line[256];
  int block = 0;  // the block being read, 0 between blocks
  bool number = false;  // the next line is a block number
  while (std::fgets(line, sizeof line, f)) {
    if (std::strcmp(line, "   -1\n") == 0) {
      number = block == 0;
      block = 0;
      continue;
    }
    if (number) {
      number = false;
      std::sscanf(line, "%d", &block);
      continue;
    }
    unsigned id, property, s[20];
    int topology;
    double x[3];
    if (block == 403 &&
        std::sscanf(line, "%u,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%lf,%lf,%lf", &id, x, x + 1, x + 2) == 4) {
      m.node_ids.push_back(id);
      m.coords.insert(m.coords.end(), x, x + 3);
    } else if (block == 404 && std::sscanf(line, "%u,%*d,%u,%*d,%d", &id, &property, &topology) == 3) {
      for (unsigned half = 0; half < 2; ++half)
        if (!std::fgets(line, sizeof line, f) ||
            std::sscanf(line, "%u,%u,%u,%u,%u,%u,%u,%u,%u,%u", s + 10 * half, s + 10 * half + 1, s + 10 * half + 2,
                        s + 10 * half + 3, s + 10 * half + 4, s + 10 * half + 5, s + 10 * half + 6,
                        s + 10 * half + 7, s + 10 * half + 8, s + 10 * half + 9) != 10)
          break;
      for (unsigned k = 0; k < 5; ++k) std::fgets(line, sizeof line, f);
      const unsigned corners[4] = {s[0], s[1], s[2], s[4]};
      m.elements.insert(m.elements.end(), corners, corners + 4);
    }
  }
  std::fclose(f);
  return 0;
}

template <class Read>
void run_reader(benchmark::State& state, const bench_file& file, Read read) {
  if (file.bytes == 0) state.SkipWithError("the file could not be written");
  for (auto _ : state) {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    dense1D<unsigned, 8> ranges, ids;
    dense1D<int, 8> types;
    if (read(file.path.c_str(), pos, connect, ranges, types, ids) != 0 || connect.cols() != million_tets().tets.cols())
      state.SkipWithError("the reader failed");
    benchmark::DoNotOptimize(pos.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * file.bytes);
}

template <class Read>
void run_baseline(benchmark::State& state, const bench_file& file, Read read) {
  for (auto _ : state) {
    plain_mesh m;
    if (read(file.path.c_str(), m) != 0 || m.elements.size() != 4 * std::size_t(million_tets().tets.cols()))
      state.SkipWithError("the baseline failed");
    benchmark::DoNotOptimize(m.coords.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * file.bytes);
}

void BM_NASTRAN_input(benchmark::State& state) {
  run_reader(state, nastran_file(), [](auto&&... args) { return zeb::plexa::NASTRAN_input(args...); });
}
BENCHMARK(BM_NASTRAN_input)->Unit(benchmark::kMillisecond);

void BM_NASTRAN_fgets_sscanf(benchmark::State& state) { run_baseline(state, nastran_file(), fgets_nastran); }
BENCHMARK(BM_NASTRAN_fgets_sscanf)->Unit(benchmark::kMillisecond);

void BM_FEMAP_input(benchmark::State& state) {
  run_reader(state, femap_file(), [](auto&&... args) { return zeb::plexa::FEMAP_input(args...); });
}
BENCHMARK(BM_FEMAP_input)->Unit(benchmark::kMillisecond);

void BM_FEMAP_fgets_sscanf(benchmark::State& state) { run_baseline(state, femap_file(), fgets_femap); }
BENCHMARK(BM_FEMAP_fgets_sscanf)->Unit(benchmark::kMillisecond);

}  // namespace
