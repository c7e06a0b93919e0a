// Pieces shared by the benchmarks: structured test meshes and the peak
// memory that one call adds.
#pragma once

#include <cstdio>
#include <cstring>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <zeb/dense.hpp>

namespace plexa_bench {

using zeb::dense2D;

// Corner b (bit 0: +x, bit 1: +y, bit 2: +z) of cell (i, j, k) of an n^d grid.
inline unsigned corner(unsigned n, unsigned i, unsigned j, unsigned k, unsigned b) {
  return (i + (b & 1)) + (n + 1) * ((j + (b >> 1 & 1)) + (n + 1) * (k + (b >> 2 & 1)));
}

// About 1M tetrahedra: 55^3 cubes of 56^3 nodes (175,616), 6 tetrahedra each.
inline const dense2D<unsigned>& tetrahedra() {
  static const dense2D<unsigned> c = [] {
    const unsigned n = 55;
    // The 6 tetrahedra around the cube diagonal, one per order of the axes.
    const unsigned split[6][4] = {{0, 1, 3, 7}, {0, 1, 5, 7}, {0, 2, 3, 7}, {0, 2, 6, 7}, {0, 4, 5, 7}, {0, 4, 6, 7}};
    dense2D<unsigned> m(4, 6 * n * n * n);
    unsigned* p = m.data();
    for (unsigned k = 0; k < n; ++k)
      for (unsigned j = 0; j < n; ++j)
        for (unsigned i = 0; i < n; ++i)
          for (const auto& t : split)
            for (unsigned b : t) *p++ = corner(n, i, j, k, b);
    return m;
  }();
  return c;
}

inline long status_kb(const char* field) {
  FILE* f = std::fopen("/proc/self/status", "r");
  if (!f) return -1;
  char line[256];
  long kb = -1;
  const std::size_t len = std::strlen(field);
  while (std::fgets(line, sizeof line, f))
    if (std::strncmp(line, field, len) == 0) std::sscanf(line + len, "%ld", &kb);
  std::fclose(f);
  return kb;
}

// Peak memory added by one call of f beyond `output_bytes`, over
// output_bytes.  Measured in a child process, whose allocator is set to map
// large blocks afresh so that the peak shows them; the parent's allocator
// keeps its settings.  `setup` runs in the child before the measure starts
// (to write, for instance, the pages of an argument that f changes in
// place, which the child otherwise copies from the parent on first write).
template <class Setup, class F>
double extra_over_output(Setup&& setup, F&& f, double output_bytes) {
  int fd[2];
  if (pipe(fd) != 0) return -1;
  const pid_t child = fork();
  if (child == 0) {
    mallopt(M_MMAP_THRESHOLD, 1 << 16);
    setup();
    malloc_trim(0);
    if (FILE* c = std::fopen("/proc/self/clear_refs", "w")) {
      std::fputs("5", c);
      std::fclose(c);
    }
    const long before = status_kb("VmRSS:");
    f();
    const long peak = status_kb("VmHWM:");
    const double ratio = before < 0 || peak < 0 ? -1 : (double(peak - before) * 1024.0 - output_bytes) / output_bytes;
    if (write(fd[1], &ratio, sizeof ratio) != sizeof ratio) _exit(1);
    _exit(0);
  }
  close(fd[1]);
  double ratio = -1;
  if (child < 0 || read(fd[0], &ratio, sizeof ratio) != sizeof ratio) ratio = -1;
  close(fd[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  return ratio;
}

template <class F>
double extra_over_output(F&& f, double output_bytes) {
  return extra_over_output([] {}, f, output_bytes);
}

}  // namespace plexa_bench
