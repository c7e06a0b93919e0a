// Shared pieces of the quality tests: the regular elements, elements with
// their higher-order nodes, random rigid motions.
#pragma once

#include <array>
#include <cmath>
#include <vector>

#include "core/higher_order_nodes.hpp"
#include "support/support.hpp"

namespace quality_test {

using namespace zeb::plexa;
using zeb::dense1D;
using zeb::dense2D;
using point = std::array<double, 3>;
using points = std::vector<point>;

constexpr element_type face_kinds[] = {ELT_TRIA3, ELT_QUAD4, ELT_TRIA6, ELT_QUAD8, ELT_QUAD9};
constexpr element_type solid_kinds[] = {ELT_TETRA4,  ELT_TETRA10, ELT_PYRA5, ELT_PYRA13, ELT_PYRA14, ELT_WEDGE6,
                                        ELT_WEDGE15, ELT_WEDGE18, ELT_HEXA8, ELT_HEXA20, ELT_HEXA27};

// The regular element of a linear kind with unit edges, positive.
inline points regular(element_type linear) {
  const double h = std::sqrt(3.0) / 2, z = std::sqrt(2.0 / 3), a = 1 / std::sqrt(2.0);
  switch (linear) {
    case ELT_TRIA3: return {{0, 0, 0}, {1, 0, 0}, {0.5, h, 0}};
    case ELT_QUAD4: return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    case ELT_TETRA4: return {{0, 0, 0}, {1, 0, 0}, {0.5, h, 0}, {0.5, h / 3, z}};
    case ELT_PYRA5: return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5, 0.5, a}};
    case ELT_WEDGE6: return {{0, 0, 0}, {1, 0, 0}, {0.5, h, 0}, {0, 0, 1}, {1, 0, 1}, {0.5, h, 1}};
    default:
      return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
  }
}

// The vertices followed by the higher-order nodes of `type` at the centres
// of their parents (a straight-sided element).
inline points with_higher_order_nodes(element_type type, points x) {
  if (const auto* list = detail::higher_order_nodes(type))
    for (unsigned k = 0; k < list->count; ++k) {
      point c{0, 0, 0};
      const auto& p = list->node[k];
      for (unsigned i = 0; i < p.count; ++i)
        for (int d = 0; d < 3; ++d) c[d] += x[p.vertex[i]][d] / p.count;
      x.push_back(c);
    }
  return x;
}

// One element (nodes 0 ... n-1 in order) as a mesh of `dim` coordinates.
struct one_element {
  dense2D<double> pos;
  dense2D<unsigned> connect;
};

inline one_element mesh_of(const points& x, unsigned dim) {
  one_element m{dense2D<double>(dim, unsigned(x.size())), dense2D<unsigned>(unsigned(x.size()), 1)};
  for (unsigned j = 0; j < x.size(); ++j) {
    for (unsigned d = 0; d < dim; ++d) m.pos(d, j) = x[j][d];
    m.connect(j, 0) = j;
  }
  return m;
}

// A 3 x 3 matrix, rows first.
using matrix = std::array<std::array<double, 3>, 3>;

inline point transformed(const matrix& a, const point& x, const point& shift = {0, 0, 0}) {
  point y;
  for (int i = 0; i < 3; ++i) y[i] = a[i][0] * x[0] + a[i][1] * x[1] + a[i][2] * x[2] + shift[i];
  return y;
}

inline points transformed(const matrix& a, const points& x, const point& shift = {0, 0, 0}) {
  points y;
  for (const point& p : x) y.push_back(transformed(a, p, shift));
  return y;
}

// A random rotation (a rotation about z in the plane when planar) times a
// random scale in [1e-3, 1e3].
inline matrix random_similarity(std::mt19937_64& g, bool planar) {
  std::normal_distribution<double> n;
  std::uniform_real_distribution<double> u(-3, 3);
  const double s = std::pow(10.0, u(g));
  if (planar) {
    const double t = n(g);
    return {{{s * std::cos(t), -s * std::sin(t), 0}, {s * std::sin(t), s * std::cos(t), 0}, {0, 0, s}}};
  }
  double q[4];
  double norm = 0;
  for (double& c : q) {
    c = n(g);
    norm += c * c;
  }
  norm = std::sqrt(norm);
  const double w = q[0] / norm, x = q[1] / norm, y = q[2] / norm, z = q[3] / norm;
  return {{{s * (1 - 2 * (y * y + z * z)), s * 2 * (x * y - z * w), s * 2 * (x * z + y * w)},
           {s * 2 * (x * y + z * w), s * (1 - 2 * (x * x + z * z)), s * 2 * (y * z - x * w)},
           {s * 2 * (x * z - y * w), s * 2 * (y * z + x * w), s * (1 - 2 * (x * x + y * y))}}};
}

// The element's vertices moved at random by up to `amount` of an edge.
inline points jiggled(const points& x, std::mt19937_64& g, double amount, bool planar) {
  std::uniform_real_distribution<double> u(-amount, amount);
  points y = x;
  for (point& p : y)
    for (int d = 0; d < (planar ? 2 : 3); ++d) p[d] += u(g);
  return y;
}

inline double quality_of(const points& x, element_type type, unsigned dim) {
  const one_element m = mesh_of(x, dim);
  dense1D<double, 8> q;
  EXPECT_EQ(shape_qualities(m.pos, m.connect, type, q), 0);
  return q.size() == 1 ? q[0] : NAN;
}

}  // namespace quality_test
