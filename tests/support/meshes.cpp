#include "support/meshes.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <vector>

namespace plexa_test {

using zeb::dense2D;

namespace {

constexpr unsigned NO = UINT_MAX;

dense2D<unsigned> from_columns(unsigned rows, const std::vector<unsigned>& v) {
  dense2D<unsigned> m(rows, static_cast<unsigned>(v.size() / rows));
  std::copy(v.begin(), v.end(), m.data());
  return m;
}

// Cube corner b (bit 0: +x, bit 1: +y, bit 2: +z) of cube (i, j, k).
struct cube {
  unsigned nx, ny, i, j, k;
  unsigned operator()(unsigned b) const {
    return (i + (b & 1)) + (nx + 1) * ((j + (b >> 1 & 1)) + (ny + 1) * (k + (b >> 2 & 1)));
  }
};

// Reference hexahedron: base (000, 010, 110, 100) runs clockwise seen from the top.
constexpr unsigned hex_corner[8] = {0, 2, 3, 1, 4, 6, 7, 5};
// Faces of the reference hexahedron, outward.
constexpr unsigned hex_face[6][4] = {{0, 3, 7, 4}, {1, 5, 6, 2}, {0, 4, 5, 1}, {3, 2, 6, 7}, {0, 1, 2, 3}, {4, 7, 6, 5}};

// The two wedges of a hexahedron cut through its base diagonal (0, 2).
constexpr unsigned wedge_split[2][6] = {{0, 1, 2, 4, 5, 6}, {0, 2, 3, 4, 6, 7}};

int orientation(const std::array<unsigned, 4>& corner) {
  // Corners as bit patterns: coordinates are their bits.
  int x[4][3];
  for (int p = 0; p < 4; ++p)
    for (int a = 0; a < 3; ++a) x[p][a] = int(corner[p] >> a & 1);
  int d[3][3];
  for (int p = 0; p < 3; ++p)
    for (int a = 0; a < 3; ++a) d[p][a] = x[p + 1][a] - x[0][a];
  return d[0][0] * (d[1][1] * d[2][2] - d[1][2] * d[2][1]) - d[0][1] * (d[1][0] * d[2][2] - d[1][2] * d[2][0]) +
         d[0][2] * (d[1][0] * d[2][1] - d[1][1] * d[2][0]);
}

// The 6 tetrahedra of the split, as cube corners, 0, 1, 2 counter-clockwise seen from 3.
std::vector<std::array<unsigned, 4>> kuhn_tetrahedra() {
  std::vector<std::array<unsigned, 4>> out;
  unsigned axes[3] = {0, 1, 2};
  do {
    std::array<unsigned, 4> t{0, 1u << axes[0], (1u << axes[0]) | (1u << axes[1]), 7};
    if (orientation(t) < 0) std::swap(t[0], t[1]);
    out.push_back(t);
  } while (std::next_permutation(axes, axes + 3));
  return out;
}

// Rotates the cycles of `rings` equal-length groups by r and reverses them all when flip.
void relabel(unsigned* nodes, unsigned rings, unsigned len, unsigned r, bool flip) {
  for (unsigned q = 0; q < rings; ++q) {
    unsigned* c = nodes + q * len;
    std::rotate(c, c + r % len, c + len);
    if (flip) std::reverse(c, c + len);
  }
}

void push_tetrahedra(std::vector<unsigned>& v, const cube& c, unsigned rows, std::mt19937_64* g) {
  for (const auto& t : kuhn_tetrahedra()) {
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
      const bool other = g && (*g)() % 2;
      unsigned t[2][3] = {{c(0), c(1), c(3)}, {c(0), c(3), c(2)}};
      if (other) {
        const unsigned u[2][3] = {{c(0), c(1), c(2)}, {c(1), c(3), c(2)}};
        std::copy(&u[0][0], &u[0][0] + 6, &t[0][0]);
      }
      for (auto& tri : t) {
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
  const unsigned grid_nodes = (nx + 1) * (ny + 1) * (nz + 1);
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
              unsigned n[8] = {h[f[0]], h[f[1]], h[f[2]], h[f[3]], grid_nodes + index, NO, NO, NO};
              relabel(n, 1, 4, r, false);
              v.insert(v.end(), n, n + 8);
            }
            break;
          default: push_tetrahedra(v, c, 8, g); break;
        }
      }
  return from_columns(8, v);
}

dense2D<double> grid_coordinates(unsigned nx, unsigned ny, unsigned nz, bool centres) {
  const unsigned dim = nz == 0 ? 2 : 3;
  const unsigned grid = (nx + 1) * (ny + 1) * (nz + 1), cubes = nx * ny * (nz == 0 ? 1 : nz);
  dense2D<double> x(dim, grid + (centres ? cubes : 0));
  unsigned p = 0;
  for (unsigned k = 0; k <= nz; ++k)
    for (unsigned j = 0; j <= ny; ++j)
      for (unsigned i = 0; i <= nx; ++i, ++p) {
        x(0, p) = i;
        x(1, p) = j;
        if (dim == 3) x(2, p) = k;
      }
  if (centres)
    for (unsigned k = 0; k < std::max(nz, 1u); ++k)
      for (unsigned j = 0; j < ny; ++j)
        for (unsigned i = 0; i < nx; ++i, ++p) {
          x(0, p) = i + 0.5;
          x(1, p) = j + 0.5;
          if (dim == 3) x(2, p) = k + 0.5;
        }
  return x;
}

dense2D<unsigned> with_fins(const dense2D<unsigned>& connect, unsigned first_new_node, unsigned count,
                            std::mt19937_64& g) {
  const unsigned rows = connect.rows(), n = connect.cols();
  dense2D<unsigned> out(rows, n + count);
  for (unsigned j = 0; j < n; ++j)
    for (unsigned i = 0; i < rows; ++i) out(i, j) = connect(i, j);
  for (unsigned f = 0; f < count; ++f) {
    const unsigned src = unsigned(g() % (n + f));
    for (unsigned i = 0; i < rows; ++i) out(i, n + f) = out(i, src);
    out(rows - 1, n + f) = first_new_node + f;
  }
  return out;
}

}  // namespace plexa_test
