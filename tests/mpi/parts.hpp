// What the MPI tests share: a cube of tetrahedra, the world's rank and
// size, and one part of a partitioned mesh per rank.
#pragma once

#include <mpi.h>

#include <random>
#include <vector>

#include <zeb/dense.hpp>
#include <zeb/plexa/mpi.hpp>

namespace plexa_mpi_test {

using zeb::dense1D;
using zeb::dense2D;

inline int world_rank() {
  int r = 0;
  MPI_Comm_rank(MPI_COMM_WORLD, &r);
  return r;
}
inline int world_size() {
  int s = 0;
  MPI_Comm_size(MPI_COMM_WORLD, &s);
  return s;
}

// n^3 cubes of side h from `origin`, 6 tetrahedra each around the cube's
// diagonal; node (i, j, k) is i + (n+1) (j + (n+1) k).
struct cube {
  dense2D<double> pos;
  dense2D<unsigned> tets;

  explicit cube(unsigned n, double h = 1.0 / 8, double x0 = 0, double y0 = 0, double z0 = 0) {
    const unsigned m = n + 1;
    pos.resize(3, m * m * m);
    for (unsigned k = 0, v = 0; k < m; ++k)
      for (unsigned j = 0; j < m; ++j)
        for (unsigned i = 0; i < m; ++i, ++v) {
          pos(0, v) = x0 + i * h;
          pos(1, v) = y0 + j * h;
          pos(2, v) = z0 + k * h;
        }
    static const unsigned six[6][4] = {{0, 1, 3, 7}, {0, 3, 2, 7}, {0, 2, 6, 7},
                                       {0, 6, 4, 7}, {0, 4, 5, 7}, {0, 5, 1, 7}};
    tets.resize(4, 6 * n * n * n);
    for (unsigned k = 0, e = 0; k < n; ++k)
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

// This rank's part of a mesh split into `parts` parts (rank r takes part
// r; ranks beyond the parts take nothing).
struct part {
  dense2D<double> pos;
  dense2D<unsigned> connect;
  dense1D<unsigned, 8> ids;
};

inline part part_of_rank(const dense2D<double>& pos, const dense2D<unsigned>& connect, unsigned parts) {
  dense1D<unsigned, 8> part_of;
  part p;
  if (zeb::plexa::partition(connect, zeb::plexa::ELT_TETRA4, parts, part_of) == 0)
    zeb::plexa::extract_part(pos, connect, part_of, unsigned(world_rank()), p.pos, p.connect, p.ids);
  return p;
}

// The field entries of a part, from the whole mesh's.
inline dense1D<double, 8> sizes_of(const part& p, const dense1D<double, 8>& whole) {
  dense1D<double, 8> h(p.ids.size());
  for (unsigned i = 0; i < p.ids.size(); ++i) h[i] = whole[p.ids[i]];
  return h;
}
inline dense2D<double> metrics_of(const part& p, const dense2D<double>& whole) {
  dense2D<double> m(whole.rows(), p.ids.size());
  for (unsigned i = 0; i < p.ids.size(); ++i)
    for (unsigned r = 0; r < whole.rows(); ++r) m(r, i) = whole(r, p.ids[i]);
  return m;
}

}  // namespace plexa_mpi_test
