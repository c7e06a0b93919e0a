// Reading meshes: medit_input on about a million tetrahedra (175,616 nodes)
// and WavefrontOBJ_input on as many triangles (the first three nodes of
// each tetrahedron), as the library's writers write them, against fgets +
// sscanf readers of the same files in this binary, in MB/s of file read.
// The solution reader on one scalar per node, against the same baseline.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <zeb/plexa/io/medit.hpp>
#include <zeb/plexa/io/obj.hpp>

#include "tet_mesh.hpp"

namespace {

using zeb::dense1D;
using zeb::dense2D;
using plexa_bench::file_size;
using plexa_bench::million_tets;
using plexa_bench::scratch_path;

// The files, written once.
struct files {
  std::string mesh = scratch_path("mesh"), obj = scratch_path("obj"), sol = scratch_path("sol");
  files() {
    const auto& m = million_tets();
    zeb::plexa::medit_output(mesh.c_str(), m.pos, m.tets, zeb::plexa::ELT_TETRA4);
    const unsigned n = m.tets.cols();
    dense1D<unsigned, 8> ranges(2), groups(n, 0u);
    ranges[0] = 0, ranges[1] = n;
    dense1D<int, 8> types(1, int(zeb::plexa::ELT_TRIA3));
    zeb::plexa::WavefrontOBJ_output(obj.c_str(), m.pos, m.tets.sub_matrix(0, 0, 3, n), ranges, types, groups);
    zeb::plexa::medit_solution_output(sol.c_str(), 3, m.pos.sub_matrix(0, 0, 1, m.pos.cols()));
  }
  ~files() {
    std::remove(mesh.c_str());
    std::remove(obj.c_str());
    std::remove(sol.c_str());
  }
};

const files& sample_files() {
  static const files f;
  return f;
}

// fgets + sscanf: the MEDIT sections of vertices and tetrahedra.
int sscanf_medit(const char* path, std::vector<double>& x, std::vector<unsigned>& tets) {
  std::FILE* f = std::fopen(path, "r");
  if (!f) return -1;
  char line[256];
  x.clear();
  tets.clear();
  while (std::fgets(line, sizeof line, f)) {
    int n = 0;
    if (std::strncmp(line, "Vertices", 8) == 0 && std::fgets(line, sizeof line, f) && std::sscanf(line, "%d", &n) == 1) {
      for (int k = 0; k < n && std::fgets(line, sizeof line, f); ++k) {
        double a, b, c;
        int ref;
        if (std::sscanf(line, "%lg %lg %lg %d", &a, &b, &c, &ref) != 4) break;
        x.insert(x.end(), {a, b, c});
      }
    } else if (std::strncmp(line, "Tetrahedra", 10) == 0 && std::fgets(line, sizeof line, f) &&
               std::sscanf(line, "%d", &n) == 1) {
      for (int k = 0; k < n && std::fgets(line, sizeof line, f); ++k) {
        unsigned a, b, c, d;
        int ref;
        if (std::sscanf(line, "%u %u %u %u %d", &a, &b, &c, &d, &ref) != 5) break;
        tets.insert(tets.end(), {a - 1, b - 1, c - 1, d - 1});
      }
    }
  }
  std::fclose(f);
  return 0;
}

// fgets + sscanf: "v" and "f" lines.
int sscanf_obj(const char* path, std::vector<double>& x, std::vector<unsigned>& faces) {
  std::FILE* f = std::fopen(path, "r");
  if (!f) return -1;
  char line[256];
  x.clear();
  faces.clear();
  while (std::fgets(line, sizeof line, f)) {
    double a, b, c;
    unsigned i, j, k;
    if (line[0] == 'v' && std::sscanf(line + 1, "%lg %lg %lg", &a, &b, &c) == 3)
      x.insert(x.end(), {a, b, c});
    else if (line[0] == 'f' && std::sscanf(line + 1, "%u %u %u", &i, &j, &k) == 3)
      faces.insert(faces.end(), {i - 1, j - 1, k - 1});
  }
  std::fclose(f);
  return 0;
}

// fgets + sscanf: the values of a one-scalar SolAtVertices section.
int sscanf_sol(const char* path, std::vector<double>& values) {
  std::FILE* f = std::fopen(path, "r");
  if (!f) return -1;
  char line[256];
  values.clear();
  while (std::fgets(line, sizeof line, f) && std::strncmp(line, "SolAtVertices", 13) != 0) {
  }
  int n = 0, fields, kind;
  if (std::fgets(line, sizeof line, f) && std::sscanf(line, "%d", &n) == 1 && std::fgets(line, sizeof line, f) &&
      std::sscanf(line, "%d %d", &fields, &kind) == 2)
    for (int k = 0; k < n && std::fgets(line, sizeof line, f); ++k) {
      double v;
      if (std::sscanf(line, "%lg", &v) != 1) break;
      values.push_back(v);
    }
  std::fclose(f);
  return 0;
}

struct read_mesh {
  dense2D<double> pos;
  dense2D<unsigned> connect;
  dense1D<unsigned, 8> ranges, ids;
  dense1D<int, 8> types;
};

void BM_medit_input(benchmark::State& state) {
  const std::string& path = sample_files().mesh;
  read_mesh r;
  for (auto _ : state)
    if (zeb::plexa::medit_input(path.c_str(), r.pos, r.connect, r.ranges, r.types, r.ids) != 0)
      state.SkipWithError("medit_input failed");
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}
BENCHMARK(BM_medit_input)->Unit(benchmark::kMillisecond);

void BM_medit_sscanf_baseline(benchmark::State& state) {
  const std::string& path = sample_files().mesh;
  std::vector<double> x;
  std::vector<unsigned> tets;
  for (auto _ : state) sscanf_medit(path.c_str(), x, tets);
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}
BENCHMARK(BM_medit_sscanf_baseline)->Unit(benchmark::kMillisecond);

void BM_WavefrontOBJ_input(benchmark::State& state) {
  const std::string& path = sample_files().obj;
  read_mesh r;
  for (auto _ : state)
    if (zeb::plexa::WavefrontOBJ_input(path.c_str(), r.pos, r.connect, r.ranges, r.types, r.ids) != 0)
      state.SkipWithError("WavefrontOBJ_input failed");
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}
BENCHMARK(BM_WavefrontOBJ_input)->Unit(benchmark::kMillisecond);

void BM_obj_sscanf_baseline(benchmark::State& state) {
  const std::string& path = sample_files().obj;
  std::vector<double> x;
  std::vector<unsigned> faces;
  for (auto _ : state) sscanf_obj(path.c_str(), x, faces);
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}
BENCHMARK(BM_obj_sscanf_baseline)->Unit(benchmark::kMillisecond);

void BM_medit_solution_input(benchmark::State& state) {
  const std::string& path = sample_files().sol;
  unsigned dim;
  dense2D<double> values;
  for (auto _ : state)
    if (zeb::plexa::medit_solution_input(path.c_str(), dim, values) != 0)
      state.SkipWithError("medit_solution_input failed");
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}
BENCHMARK(BM_medit_solution_input)->Unit(benchmark::kMillisecond);

void BM_sol_sscanf_baseline(benchmark::State& state) {
  const std::string& path = sample_files().sol;
  std::vector<double> values;
  for (auto _ : state) sscanf_sol(path.c_str(), values);
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}
BENCHMARK(BM_sol_sscanf_baseline)->Unit(benchmark::kMillisecond);

}  // namespace
