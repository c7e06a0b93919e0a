// Reading meshes: medit_input, NASTRAN_input and FEMAP_input on about a
// million tetrahedra (175,616 nodes) and WavefrontOBJ_input on as many
// triangles (the first three nodes of each tetrahedron), as the library's
// writers write them (NASTRAN: GRID* large-field points and free-field
// CTETRA cards), against fgets + sscanf readers of the same files in this
// binary, in MB/s of file read.  The solution reader on one scalar per
// node, against the same baseline.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <zeb/plexa/io/femap.hpp>
#include <zeb/plexa/io/medit.hpp>
#include <zeb/plexa/io/nastran.hpp>
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
  std::string mesh = scratch_path("mesh"), obj = scratch_path("obj"), sol = scratch_path("sol"),
              nas = scratch_path("nas"), neu = scratch_path("neu");
  files() {
    const auto& m = million_tets();
    zeb::plexa::medit_output(mesh.c_str(), m.pos, m.tets, zeb::plexa::ELT_TETRA4);
    const unsigned n = m.tets.cols();
    dense1D<unsigned, 8> ranges(2), groups(n, 0u), properties(n, 1u);
    ranges[0] = 0, ranges[1] = n;
    dense1D<int, 8> types(1, int(zeb::plexa::ELT_TRIA3));
    zeb::plexa::WavefrontOBJ_output(obj.c_str(), m.pos, m.tets.sub_matrix(0, 0, 3, n), ranges, types, groups);
    zeb::plexa::medit_solution_output(sol.c_str(), 3, m.pos.sub_matrix(0, 0, 1, m.pos.cols()));
    types[0] = zeb::plexa::ELT_TETRA4;
    zeb::plexa::NASTRAN_output(nas.c_str(), m.pos, m.tets, ranges, types, properties);
    zeb::plexa::FEMAP_output(neu.c_str(), m.pos, m.tets, ranges, types, properties);
  }
  ~files() {
    for (const std::string* f : {&mesh, &obj, &sol, &nas, &neu}) std::remove(f->c_str());
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

// fgets + sscanf: GRID* points (two lines each) and CTETRA cards.
int sscanf_nastran(const char* path, std::vector<double>& x, std::vector<unsigned>& tets) {
  std::FILE* f = std::fopen(path, "r");
  if (!f) return -1;
  char line[256];
  x.clear();
  tets.clear();
  while (std::fgets(line, sizeof line, f)) {
    unsigned id, v[5];
    double p[3];
    if (std::strncmp(line, "GRID*", 5) == 0) {
      if (std::sscanf(line + 8, "%16u%*16c%16lf%16lf", &id, p, p + 1) != 3 || !std::fgets(line, sizeof line, f) ||
          std::sscanf(line + 8, "%16lf", p + 2) != 1)
        break;
      x.insert(x.end(), p, p + 3);
    } else if (std::sscanf(line, "CTETRA,%u,%u,%u,%u,%u,%u", &id, v, v + 1, v + 2, v + 3, v + 4) == 6) {
      tets.insert(tets.end(), v + 1, v + 5);
    }
  }
  std::fclose(f);
  return 0;
}

// fgets + sscanf: the node records and the three first records of each
// element (the five others are read past).
int sscanf_femap(const char* path, std::vector<double>& x, std::vector<unsigned>& tets) {
  std::FILE* f = std::fopen(path, "r");
  if (!f) return -1;
  char line[256];
  x.clear();
  tets.clear();
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
    double p[3];
    if (block == 403 &&
        std::sscanf(line, "%u,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%*d,%lf,%lf,%lf", &id, p, p + 1, p + 2) == 4) {
      x.insert(x.end(), p, p + 3);
    } else if (block == 404 && std::sscanf(line, "%u,%*d,%u,%*d,%d", &id, &property, &topology) == 3) {
      for (unsigned half = 0; half < 2; ++half)
        if (!std::fgets(line, sizeof line, f) ||
            std::sscanf(line, "%u,%u,%u,%u,%u,%u,%u,%u,%u,%u", s + 10 * half, s + 10 * half + 1, s + 10 * half + 2,
                        s + 10 * half + 3, s + 10 * half + 4, s + 10 * half + 5, s + 10 * half + 6,
                        s + 10 * half + 7, s + 10 * half + 8, s + 10 * half + 9) != 10)
          break;
      for (unsigned k = 0; k < 5; ++k) std::fgets(line, sizeof line, f);
      const unsigned corners[4] = {s[0], s[1], s[2], s[4]};
      tets.insert(tets.end(), corners, corners + 4);
    }
  }
  std::fclose(f);
  return 0;
}

using mesh_reader = int (*)(const char*, dense2D<double>&, dense2D<unsigned>&, dense1D<unsigned, 8>&,
                            dense1D<int, 8>&, dense1D<unsigned, 8>&);
using baseline_reader = int (*)(const char*, std::vector<double>&, std::vector<unsigned>&);

// A reader of the library on one of the files.
void BM_read(benchmark::State& state, std::string files::*file, mesh_reader read) {
  const std::string& path = sample_files().*file;
  dense2D<double> pos;
  dense2D<unsigned> connect;
  dense1D<unsigned, 8> ranges, ids;
  dense1D<int, 8> types;
  for (auto _ : state)
    if (read(path.c_str(), pos, connect, ranges, types, ids) != 0) state.SkipWithError("reading failed");
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}

// Its fgets + sscanf baseline on the same file.
void BM_sscanf_baseline(benchmark::State& state, std::string files::*file, baseline_reader read) {
  const std::string& path = sample_files().*file;
  std::vector<double> x;
  std::vector<unsigned> elements;
  for (auto _ : state) read(path.c_str(), x, elements);
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}

BENCHMARK_CAPTURE(BM_read, medit_input, &files::mesh, zeb::plexa::medit_input)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_sscanf_baseline, medit, &files::mesh, sscanf_medit)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_read, WavefrontOBJ_input, &files::obj, zeb::plexa::WavefrontOBJ_input)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_sscanf_baseline, obj, &files::obj, sscanf_obj)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_read, NASTRAN_input, &files::nas, zeb::plexa::NASTRAN_input)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_sscanf_baseline, nastran, &files::nas, sscanf_nastran)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_read, FEMAP_input, &files::neu, zeb::plexa::FEMAP_input)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_sscanf_baseline, femap, &files::neu, sscanf_femap)->Unit(benchmark::kMillisecond);

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
