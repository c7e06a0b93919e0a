#include "support/meshes.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "topology/boundary_tables.hpp"

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

random_mesh random_conforming_mesh(std::mt19937_64& g, cell_cut cut, unsigned nx, unsigned ny, unsigned nz,
                                   double holes) {
  using zeb::plexa::element_type;
  const bool solid = cut >= cell_cut::tetrahedra;
  if (!solid) nz = 1;
  const unsigned dim = solid ? 3 : 2, grid = (nx + 1) * (ny + 1) * (solid ? nz + 1 : 1), cells = nx * ny * nz;
  const unsigned rows = cut == cell_cut::triangles     ? 3
                        : cut == cell_cut::quadrangles ? 4
                        : cut == cell_cut::mixed_faces ? 4
                        : cut == cell_cut::tetrahedra  ? 4
                        : cut == cell_cut::wedges      ? 6
                        : cut == cell_cut::pyramids    ? 5
                                                       : 8;
  const element_type types[] = {zeb::plexa::ELT_TRIA3,  zeb::plexa::ELT_QUAD4,  zeb::plexa::ELT_FACE_MIX,
                                zeb::plexa::ELT_TETRA4, zeb::plexa::ELT_WEDGE6, zeb::plexa::ELT_PYRA5,
                                zeb::plexa::ELT_HEXA8,  zeb::plexa::ELT_SOLID_MIX};
  std::uniform_real_distribution<double> jitter(-0.2, 0.2);

  // Nodes: the grid, then one centre per cell (used by the pyramids).
  std::vector<double> xyz;
  for (unsigned k = 0; k < (solid ? nz + 1 : 1); ++k)
    for (unsigned j = 0; j <= ny; ++j)
      for (unsigned i = 0; i <= nx; ++i) {
        xyz.insert(xyz.end(), {i + jitter(g), j + jitter(g)});
        if (solid) xyz.push_back(k + jitter(g));
      }
  for (unsigned k = 0; k < nz; ++k)
    for (unsigned j = 0; j < ny; ++j)
      for (unsigned i = 0; i < nx; ++i) {
        xyz.insert(xyz.end(), {i + 0.5 + jitter(g) / 2, j + 0.5 + jitter(g) / 2});
        if (solid) xyz.push_back(k + 0.5 + jitter(g) / 2);
      }

  std::vector<unsigned> v;
  auto add = [&](std::initializer_list<unsigned> nodes) {
    v.insert(v.end(), nodes);
    v.insert(v.end(), rows - nodes.size(), NO);
  };
  std::vector<bool> wedge_column(nx * ny);
  for (unsigned c = 0; c < nx * ny; ++c) wedge_column[c] = cut == cell_cut::wedges || (cut == cell_cut::mixed_solids && g() % 3 == 0);
  unsigned index = 0;
  for (unsigned k = 0; k < nz; ++k)
    for (unsigned j = 0; j < ny; ++j)
      for (unsigned i = 0; i < nx; ++i, ++index) {
        const cube c{nx, ny, i, j, k};
        const unsigned r = unsigned(g() % 4);
        const bool flip = g() % 2;
        if (!solid) {
          const bool quad = cut == cell_cut::quadrangles || (cut == cell_cut::mixed_faces && g() % 2);
          if (quad) {
            unsigned q[4] = {c(0), c(1), c(3), c(2)};
            relabel(q, 1, 4, r, flip);
            add({q[0], q[1], q[2], q[3]});
            continue;
          }
          unsigned t[6] = {c(0), c(1), c(3), c(0), c(3), c(2)};
          if (g() % 2) t[2] = c(2), t[3] = c(1), t[4] = c(3), t[5] = c(2);
          std::shuffle(t, t + 3, g);
          std::shuffle(t + 3, t + 6, g);
          add({t[0], t[1], t[2]});
          add({t[3], t[4], t[5]});
          continue;
        }
        unsigned h[8];
        for (unsigned b = 0; b < 8; ++b) h[b] = c(hex_corner[b]);
        if (cut == cell_cut::tetrahedra) {
          push_tetrahedra(v, c, rows, &g);
        } else if (wedge_column[i + nx * j]) {
          for (const auto& w : wedge_split) {
            unsigned n[6] = {h[w[0]], h[w[1]], h[w[2]], h[w[3]], h[w[4]], h[w[5]]};
            relabel(n, 2, 3, r, flip);
            add({n[0], n[1], n[2], n[3], n[4], n[5]});
          }
        } else if (cut == cell_cut::pyramids || (cut == cell_cut::mixed_solids && g() % 2)) {
          for (const auto& f : hex_face) {
            unsigned n[4] = {h[f[0]], h[f[1]], h[f[2]], h[f[3]]};
            relabel(n, 1, 4, r, flip);
            add({n[0], n[1], n[2], n[3], grid + index});
          }
        } else {
          relabel(h, 2, 4, r, flip);
          add({h[0], h[1], h[2], h[3], h[4], h[5], h[6], h[7]});
        }
      }

  // New node numbers, element order and holes.
  const unsigned nodes = grid + cells;
  std::vector<unsigned> number(nodes);
  for (unsigned n = 0; n < nodes; ++n) number[n] = n;
  std::shuffle(number.begin(), number.end(), g);
  std::vector<unsigned> order(v.size() / rows);
  for (unsigned e = 0; e < order.size(); ++e) order[e] = e;
  std::shuffle(order.begin(), order.end(), g);
  order.resize(order.size() - std::size_t(holes * double(order.size())));

  random_mesh m;
  m.type = types[int(cut)];
  m.coords = dense2D<double>(dim, nodes);
  for (unsigned n = 0; n < nodes; ++n)
    for (unsigned d = 0; d < dim; ++d) m.coords(d, number[n]) = xyz[std::size_t(n) * dim + d];
  m.connect = dense2D<unsigned>(rows, unsigned(order.size()));
  for (unsigned e = 0; e < order.size(); ++e)
    for (unsigned i = 0; i < rows; ++i) {
      const unsigned node = v[std::size_t(order[e]) * rows + i];
      m.connect(i, e) = node == NO ? NO : number[node];
    }
  return m;
}

std::set<std::pair<unsigned, unsigned>> vertex_edges(const dense2D<unsigned>& connect, zeb::plexa::element_type type) {
  namespace detail = zeb::plexa::detail;
  std::set<std::pair<unsigned, unsigned>> out;
  for (unsigned e = 0; e < connect.cols(); ++e) {
    const unsigned* col = &connect(0, e);
    const detail::edge_list& t = *detail::edges_of(detail::column_kind(type, col));
    for (unsigned k = 0; k < t.count; ++k) {
      const unsigned a = col[t.node[k][0]], b = col[t.node[k][1]];
      out.insert({std::min(a, b), std::max(a, b)});
    }
  }
  return out;
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

ranged_blocks random_ranged_blocks(std::mt19937_64& g, unsigned dim, bool quadratic) {
  std::vector<random_mesh> parts;
  std::vector<cell_cut> cuts = {cell_cut::triangles, cell_cut::quadrangles, cell_cut::mixed_faces};
  if (dim == 3) {
    cuts = {cell_cut::tetrahedra, cell_cut::pyramids, cell_cut::wedges, cell_cut::hexahedra, cell_cut::triangles};
    if (!quadratic) cuts.push_back(cell_cut::mixed_solids);
  }
  for (cell_cut c : cuts) parts.push_back(random_conforming_mesh(g, c, 3, 2, dim == 3 ? 2 : 1));
  unsigned n = 27, m = 0;
  for (const random_mesh& p : parts) n = std::max(n, p.coords.cols()), m += p.connect.cols();
  using namespace zeb::plexa;
  std::vector<element_type> higher;
  if (quadratic)
    higher = {ELT_EDGE2,  ELT_EDGE3,  ELT_TRIA6,   ELT_QUAD8,   ELT_QUAD9,  ELT_TETRA10,
              ELT_PYRA13, ELT_PYRA14, ELT_WEDGE15, ELT_WEDGE18, ELT_HEXA20, ELT_HEXA27};
  m += 2 * unsigned(higher.size());

  ranged_blocks d;
  std::uniform_real_distribution<double> coordinate(-50.0, 50.0);
  d.pos.resize(dim, n);
  for (unsigned p = 0; p < n; ++p)
    for (unsigned k = 0; k < dim; ++k) d.pos(k, p) = coordinate(g);
  d.connect.resize(quadratic ? 27 : 8, m, 4294967295u);
  d.ids.resize(m);
  d.ranges.resize(1, 0u);
  unsigned j = 0;
  auto block = [&](element_type type) {
    d.types.push_back(type);
    d.ranges.push_back(j);
  };
  for (const random_mesh& p : parts) {
    for (unsigned c = 0; c < p.connect.cols(); ++c, ++j)
      for (unsigned i = 0; i < p.connect.rows(); ++i) d.connect(i, j) = p.connect(i, c);
    block(p.type);
  }
  std::vector<unsigned> nodes(n);
  for (unsigned k = 0; k < n; ++k) nodes[k] = k;
  for (element_type t : higher) {
    for (unsigned c = 0; c < 2; ++c, ++j) {
      std::shuffle(nodes.begin(), nodes.end(), g);
      for (unsigned i = 0; i < nbr_nodes(t); ++i) d.connect(i, j) = nodes[i];
    }
    block(t);
  }
  for (unsigned k = 0; k < m; ++k) d.ids[k] = unsigned(g() % 1000);
  return d;
}

}  // namespace plexa_test
