// STL files: reading and welding a binary soup of a million triangles and an
// ASCII one of 200,000, and writing both variants, each against a plain
// baseline in this binary:
// - binary read: fread of the whole file, then an exact weld by a hash map
//   of coordinates (std::unordered_map; no tolerance, no clean-up);
// - ASCII read: fgets and sscanf of every line (the soup only, no weld);
// - writers: fprintf of every line ("%e") and fwrite of every value.
// The surfaces are closed tori (two triangles per quadrangle) whose nodes
// are jittered, the triangles in shuffled order, as in files whose
// triangles come in no particular order.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include <zeb/plexa/io/stl.hpp>

#include "tet_mesh.hpp"

namespace {

using zeb::dense2D;
using plexa_bench::file_size;
using plexa_bench::scratch_path;

struct surface {
  dense2D<double> pos;
  dense2D<unsigned> tris;
};

// A torus of nu x nv nodes, 2 nu nv triangles in shuffled order.
surface torus(unsigned nu, unsigned nv) {
  surface s{dense2D<double>(3, nu * nv), dense2D<unsigned>(3, 2 * nu * nv)};
  std::mt19937_64 g(11);
  std::uniform_real_distribution<double> jitter(-0.1, 0.1);
  std::vector<unsigned> order(2 * nu * nv);
  for (unsigned k = 0; k < order.size(); ++k) order[k] = k;
  std::shuffle(order.begin(), order.end(), g);
  for (unsigned i = 0; i < nu; ++i)
    for (unsigned j = 0; j < nv; ++j) {
      const double a = 2 * M_PI * (i + jitter(g)) / nu, b = 2 * M_PI * (j + jitter(g)) / nv, r = 100 + 30 * std::cos(b);
      const unsigned k = i * nv + j, right = (i + 1) % nu * nv + j, up = i * nv + (j + 1) % nv,
                     both = (i + 1) % nu * nv + (j + 1) % nv;
      s.pos(0, k) = r * std::cos(a);
      s.pos(1, k) = r * std::sin(a);
      s.pos(2, k) = 30 * std::sin(b);
      const unsigned t[6] = {k, right, both, k, both, up};
      for (unsigned c = 0; c < 6; ++c) s.tris(c % 3, order[2 * k + c / 3]) = t[c];
    }
  return s;
}

// 500,000 nodes and a million triangles; 100,000 nodes and 200,000 triangles.
const surface& large() {
  static const surface s = torus(1000, 500);
  return s;
}
const surface& small() {
  static const surface s = torus(400, 250);
  return s;
}

// A file removed when the program ends.
struct scratch_file {
  std::string path;
  ~scratch_file() {
    if (!path.empty()) std::remove(path.c_str());
  }
};

// The surface written once as a file of the given variant.
const std::string& file_of(const surface& s, bool ascii) {
  static scratch_file files[2][2];
  std::string& path = files[&s == &large()][ascii].path;
  if (path.empty()) {
    path = scratch_path(ascii ? "ascii.stl" : "binary.stl") + (&s == &large() ? "1" : "2");
    zeb::plexa::STL_output(path.c_str(), s.pos, s.tris, ascii);
  }
  return path;
}

void read_with_plexa(benchmark::State& state, const surface& s, bool ascii) {
  const std::string& path = file_of(s, ascii);
  unsigned nodes = 0;
  for (auto _ : state) {
    dense2D<double> pos;
    dense2D<unsigned> tris;
    if (zeb::plexa::STL_input(path.c_str(), pos, tris) != 0) state.SkipWithError("the reader failed");
    nodes = pos.cols();
  }
  state.counters["nodes"] = nodes;
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}

// ---------------------------------------------------------------------------
// Binary: read and weld a million triangles
// ---------------------------------------------------------------------------

void BM_binary_read_weld(benchmark::State& state) { read_with_plexa(state, large(), false); }
BENCHMARK(BM_binary_read_weld)->Unit(benchmark::kMillisecond);

// The coordinates of a vertex as a hash key.
struct vertex_key {
  float x[3];
  bool operator==(const vertex_key& o) const { return std::memcmp(x, o.x, sizeof x) == 0; }
};
struct vertex_hash {
  std::size_t operator()(const vertex_key& k) const {
    std::uint32_t b[3];
    std::memcpy(b, k.x, sizeof b);
    return std::size_t((b[0] * 73856093u) ^ (b[1] * 19349663u) ^ (b[2] * 83492791u));
  }
};

void BM_binary_fread_hash_baseline(benchmark::State& state) {
  const std::string& path = file_of(large(), false);
  unsigned nodes = 0;
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "rb");
    std::vector<unsigned char> bytes(file_size(path));
    const bool whole = std::fread(bytes.data(), 1, bytes.size(), f) == bytes.size();
    std::fclose(f);
    std::uint32_t count;
    std::memcpy(&count, bytes.data() + 80, 4);
    if (!whole || bytes.size() < 84 + 50 * std::size_t(count)) state.SkipWithError("short file");
    std::unordered_map<vertex_key, unsigned, vertex_hash> index;
    index.reserve(count);
    std::vector<double> pos;
    std::vector<unsigned> tris(3 * std::size_t(count));
    pos.reserve(3 * std::size_t(count));
    for (std::uint32_t t = 0; t < count; ++t)
      for (unsigned v = 0; v < 3; ++v) {
        vertex_key k;
        std::memcpy(k.x, bytes.data() + 84 + 50 * std::size_t(t) + 12 + 12 * v, 12);
        const auto found = index.emplace(k, unsigned(pos.size() / 3));
        if (found.second) pos.insert(pos.end(), {k.x[0], k.x[1], k.x[2]});
        tris[3 * std::size_t(t) + v] = found.first->second;
      }
    nodes = unsigned(pos.size() / 3);
    benchmark::DoNotOptimize(tris.data());
  }
  state.counters["nodes"] = nodes;
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}
BENCHMARK(BM_binary_fread_hash_baseline)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------------------
// ASCII: read (and weld) 200,000 triangles
// ---------------------------------------------------------------------------

void BM_ascii_read_weld(benchmark::State& state) { read_with_plexa(state, small(), true); }
BENCHMARK(BM_ascii_read_weld)->Unit(benchmark::kMillisecond);

void BM_ascii_fgets_sscanf_baseline(benchmark::State& state) {
  const std::string& path = file_of(small(), true);
  std::size_t vertices = 0;
  for (auto _ : state) {
    std::FILE* f = std::fopen(path.c_str(), "r");
    std::vector<double> soup;
    char line[256];
    double v[3];
    while (std::fgets(line, sizeof line, f)) {
      if (std::sscanf(line, " vertex %lg %lg %lg", &v[0], &v[1], &v[2]) == 3)
        soup.insert(soup.end(), v, v + 3);
      else if (std::sscanf(line, " facet normal %lg %lg %lg", &v[0], &v[1], &v[2]) == 3)
        benchmark::DoNotOptimize(v);
    }
    std::fclose(f);
    vertices = soup.size() / 3;
  }
  state.counters["nodes"] = double(vertices);
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
}
BENCHMARK(BM_ascii_fgets_sscanf_baseline)->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------------------
// Writing a million triangles
// ---------------------------------------------------------------------------

template <class Write>
void measure_writer(benchmark::State& state, const char* extension, Write write) {
  const surface& s = large();
  const std::string path = scratch_path(extension);
  for (auto _ : state)
    if (write(path.c_str(), s) != 0) state.SkipWithError("the writer failed");
  state.SetBytesProcessed(int64_t(state.iterations()) * file_size(path));
  std::remove(path.c_str());
}

// The unit normal of a triangle, as both baselines write it.
void normal_of(const surface& s, unsigned j, double* n) {
  const double* p[3];
  for (unsigned i = 0; i < 3; ++i) p[i] = &s.pos(0, s.tris(i, j));
  double a[3], b[3];
  for (unsigned k = 0; k < 3; ++k) a[k] = p[1][k] - p[0][k], b[k] = p[2][k] - p[0][k];
  n[0] = a[1] * b[2] - a[2] * b[1], n[1] = a[2] * b[0] - a[0] * b[2], n[2] = a[0] * b[1] - a[1] * b[0];
  const double l = std::sqrt(n[0] * n[0] + n[1] * n[1] + n[2] * n[2]);
  if (l > 0)
    for (unsigned k = 0; k < 3; ++k) n[k] /= l;
}

void BM_ascii_output(benchmark::State& state) {
  measure_writer(state, "a.stl", [](const char* path, const surface& s) {
    return zeb::plexa::STL_output(path, s.pos, s.tris, true);
  });
}
BENCHMARK(BM_ascii_output)->Unit(benchmark::kMillisecond);

void BM_ascii_fprintf_baseline(benchmark::State& state) {
  measure_writer(state, "a.stl", [](const char* path, const surface& s) {
    std::FILE* f = std::fopen(path, "w");
    if (!f) return -1;
    std::fprintf(f, "solid ZEB\n");
    for (unsigned j = 0; j < s.tris.cols(); ++j) {
      double n[3];
      normal_of(s, j, n);
      std::fprintf(f, "   facet normal %le %le %le\n      outer loop\n", n[0], n[1], n[2]);
      for (unsigned i = 0; i < 3; ++i) {
        const unsigned v = s.tris(i, j);
        std::fprintf(f, "         vertex %le %le %le\n", s.pos(0, v), s.pos(1, v), s.pos(2, v));
      }
      std::fprintf(f, "      endloop\n   endfacet\n");
    }
    std::fprintf(f, "endsolid ZEB\n");
    return std::fclose(f) == 0 ? 0 : -1;
  });
}
BENCHMARK(BM_ascii_fprintf_baseline)->Unit(benchmark::kMillisecond);

void BM_binary_output(benchmark::State& state) {
  measure_writer(state, "b.stl", [](const char* path, const surface& s) {
    return zeb::plexa::STL_output(path, s.pos, s.tris, false);
  });
}
BENCHMARK(BM_binary_output)->Unit(benchmark::kMillisecond);

void BM_binary_fwrite_baseline(benchmark::State& state) {
  measure_writer(state, "b.stl", [](const char* path, const surface& s) {
    std::FILE* f = std::fopen(path, "wb");
    if (!f) return -1;
    char header[80] = "ZEB STL Binary";
    std::fwrite(header, 1, 80, f);
    const std::uint32_t count = s.tris.cols();
    std::fwrite(&count, 4, 1, f);
    const std::uint16_t attribute = 0;
    for (unsigned j = 0; j < count; ++j) {
      double n[3];
      normal_of(s, j, n);
      for (double x : n) {
        const float v = float(x);
        std::fwrite(&v, 4, 1, f);
      }
      for (unsigned i = 0; i < 3; ++i)
        for (unsigned k = 0; k < 3; ++k) {
          const float v = float(s.pos(k, s.tris(i, j)));
          std::fwrite(&v, 4, 1, f);
        }
      std::fwrite(&attribute, 2, 1, f);
    }
    return std::fclose(f) == 0 ? 0 : -1;
  });
}
BENCHMARK(BM_binary_fwrite_baseline)->Unit(benchmark::kMillisecond);

}  // namespace
