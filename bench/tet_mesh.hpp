// The mesh the writer benchmarks write, and their scratch files.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <random>
#include <string>

#include <zeb/dense.hpp>

namespace plexa_bench {

using zeb::dense2D;

// A structured block of n^3 cubes, each split into six tetrahedra around a
// main diagonal; the nodes are slightly jittered so that their coordinates
// have all their digits.  n = 55: 175,616 nodes, 998,250 tetrahedra.
struct tet_mesh {
  dense2D<double> pos;
  dense2D<unsigned> tets;

  explicit tet_mesh(unsigned n) {
    const unsigned m = n + 1;
    pos.resize(3, m * m * m);
    std::mt19937_64 g(1);
    std::uniform_real_distribution<double> jitter(-0.2, 0.2);
    for (unsigned k = 0, v = 0; k < m; ++k)
      for (unsigned j = 0; j < m; ++j)
        for (unsigned i = 0; i < m; ++i, ++v) {
          pos(0, v) = (i + jitter(g)) * 0.137;
          pos(1, v) = (j + jitter(g)) * 0.137;
          pos(2, v) = (k + jitter(g)) * 0.137;
        }
    static const unsigned six[6][4] = {{0, 1, 3, 7}, {0, 3, 2, 7}, {0, 2, 6, 7},
                                       {0, 6, 4, 7}, {0, 4, 5, 7}, {0, 5, 1, 7}};
    tets.resize(4, 6 * n * n * n);
    unsigned e = 0;
    for (unsigned k = 0; k < n; ++k)
      for (unsigned j = 0; j < n; ++j)
        for (unsigned i = 0; i < n; ++i) {
          unsigned c[8];
          for (unsigned b = 0; b < 8; ++b) c[b] = (i + (b & 1)) + m * ((j + ((b >> 1) & 1)) + m * (k + (b >> 2)));
          for (const auto& t : six) {
            for (unsigned r = 0; r < 4; ++r) tets(r, e) = c[t[r]];
            ++e;
          }
        }
  }
};

inline const tet_mesh& million_tets() {
  static const tet_mesh mesh(55);
  return mesh;
}

// A file in memory where possible, so that the disk does not set the pace.
inline std::string scratch_path(const char* extension) {
  const char* dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  return std::string(dir) + "/plexa-bench-" + std::to_string(getpid()) + "." + extension;
}

inline long file_size(const std::string& path) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return 0;
  std::fseek(f, 0, SEEK_END);
  const long n = std::ftell(f);
  std::fclose(f);
  return n;
}

}  // namespace plexa_bench
