#include "support/meshes.hpp"

#include <algorithm>
#include <array>
#include <vector>

namespace plexa_test {

using zeb::dense2D;

namespace {

constexpr unsigned NO = 4294967295u;

dense2D<unsigned> from_columns(unsigned rows, const std::vector<unsigned>& v) {
  dense2D<unsigned> m(rows, unsigned(v.size() / rows));
  std::copy(v.begin(), v.end(), m.data());
  return m;
}

// Corner b (bit 0: +x, bit 1: +y, bit 2: +z) of cube (i, j, k).
struct cube {
  unsigned nx, ny, i, j, k;
  unsigned operator()(unsigned b) const {
    return (i + (b & 1)) + (nx + 1) * ((j + (b >> 1 & 1)) + (ny + 1) * (k + (b >> 2 & 1)));
  }
};

// Reference hexahedron: base (000, 010, 110, 100) clockwise seen from the top.
constexpr unsigned hex_corner[8] = {0, 2, 3, 1, 4, 6, 7, 5};
// Its faces, outward.
constexpr unsigned hex_face[6][4] = {{0, 3, 7, 4}, {1, 5, 6, 2}, {0, 4, 5, 1}, {3, 2, 6, 7}, {0, 1, 2, 3}, {4, 7, 6, 5}};
// The two wedges of the hexahedron cut through its base diagonal (0, 2).
constexpr unsigned wedge_split[2][6] = {{0, 1, 2, 4, 5, 6}, {0, 2, 3, 4, 6, 7}};
// The 6 tetrahedra of the cube split, as corners, 0, 1, 2 counter-clockwise seen from 3.
constexpr unsigned kuhn[6][4] = {{0, 1, 3, 7}, {1, 0, 5, 7}, {2, 0, 3, 7}, {0, 2, 6, 7}, {0, 4, 5, 7}, {4, 0, 6, 7}};

// Rotates each of `rings` groups of `len` nodes by r and reverses them all when flip.
void relabel(unsigned* nodes, unsigned rings, unsigned len, unsigned r, bool flip) {
  for (unsigned* c = nodes; c < nodes + rings * len; c += len) {
    std::rotate(c, c + r % len, c + len);
    if (flip) std::reverse(c, c + len);
  }
}

void push_tetrahedra(std::vector<unsigned>& v, const cube& c, unsigned rows, std::mt19937_64* g) {
  for (const auto& t : kuhn) {
    unsigned n[4] = {c(t[0]), c(t[1]), c(t[2]), c(t[3])};
    if (g) std::shuffle(n, n + 4, *g);
    v.insert(v.end(), n, n + 4);
    v.insert(v.end(), rows - 4, NO);
  }
}

}  // namespace

dense2D<unsigned> grid_triangles(unsigned nx, unsigned ny, std::mt19937_64* g) {
  std::vector<unsigned> v;
  for (unsigned j = 0; j < ny; ++j)
    for (unsigned i = 0; i < nx; ++i) {
      const cube c{nx, ny, i, j, 0};
      const bool other = g && (*g)() % 2;  // split along the other diagonal
      std::array<unsigned, 6> t = other ? std::array<unsigned, 6>{c(0), c(1), c(2), c(1), c(3), c(2)}
                                        : std::array<unsigned, 6>{c(0), c(1), c(3), c(0), c(3), c(2)};
      for (unsigned* tri = t.data(); tri < t.data() + 6; tri += 3) {
        if (g) std::shuffle(tri, tri + 3, *g);
        v.insert(v.end(), tri, tri + 3);
      }
    }
  return from_columns(3, v);
}

dense2D<unsigned> grid_quadrangles(unsigned nx, unsigned ny, std::mt19937_64* g) {
  std::vector<unsigned> v;
  for (unsigned j = 0; j < ny; ++j)
    for (unsigned i = 0; i < nx; ++i) {
      const cube c{nx, ny, i, j, 0};
      unsigned q[4] = {c(0), c(1), c(3), c(2)};
      if (g) relabel(q, 1, 4, unsigned((*g)() % 4), (*g)() % 2);
      v.insert(v.end(), q, q + 4);
    }
  return from_columns(4, v);
}

dense2D<unsigned> grid_tetrahedra(unsigned nx, unsigned ny, unsigned nz, std::mt19937_64* g) {
  std::vector<unsigned> v;
  for (unsigned k = 0; k < nz; ++k)
    for (unsigned j = 0; j < ny; ++j)
      for (unsigned i = 0; i < nx; ++i) push_tetrahedra(v, cube{nx, ny, i, j, k}, 4, g);
  return from_columns(4, v);
}

dense2D<unsigned> grid_mixed_solids(unsigned nx, unsigned ny, unsigned nz, std::mt19937_64* g) {
  std::vector<unsigned> v;
  const unsigned centre0 = (nx + 1) * (ny + 1) * (nz + 1);
  unsigned index = 0;
  for (unsigned k = 0; k < nz; ++k)
    for (unsigned j = 0; j < ny; ++j)
      for (unsigned i = 0; i < nx; ++i, ++index) {
        const cube c{nx, ny, i, j, k};
        unsigned h[8];
        for (unsigned b = 0; b < 8; ++b) h[b] = c(hex_corner[b]);
        const unsigned r = g ? unsigned((*g)() % 4) : 0;
        const bool flip = g && (*g)() % 2;
        switch (g ? (*g)() % 4 : index % 4) {
          case 0:
            relabel(h, 2, 4, r, flip);
            v.insert(v.end(), h, h + 8);
            break;
          case 1:
            for (const auto& w : wedge_split) {
              unsigned n[8] = {h[w[0]], h[w[1]], h[w[2]], h[w[3]], h[w[4]], h[w[5]], NO, NO};
              relabel(n, 2, 3, r, flip);
              v.insert(v.end(), n, n + 8);
            }
            break;
          case 2:
            for (const auto& f : hex_face) {
              unsigned n[8] = {h[f[0]], h[f[1]], h[f[2]], h[f[3]], centre0 + index, NO, NO, NO};
              relabel(n, 1, 4, r, false);
              v.insert(v.end(), n, n + 8);
            }
            break;
          default: push_tetrahedra(v, c, 8, g); break;
        }
      }
  return from_columns(8, v);
}

dense2D<unsigned> with_fins(const dense2D<unsigned>& connect, unsigned first_new_node, unsigned count,
                            std::mt19937_64& g) {
  const unsigned rows = connect.rows(), n = connect.cols();
  dense2D<unsigned> out(rows, n + count);
  for (unsigned j = 0; j < n; ++j)
    for (unsigned i = 0; i < rows; ++i) out(i, j) = connect(i, j);
  for (unsigned f = n; f < n + count; ++f) {
    const unsigned src = unsigned(g() % f);
    for (unsigned i = 0; i < rows; ++i) out(i, f) = out(i, src);
    out(rows - 1, f) = first_new_node + (f - n);
  }
  return out;
}

}  // namespace plexa_test
