// The maps of the quadratic elements from their reference elements,
// tabulated at the points where `jacobians` samples them.
//
// Reference elements (parametric coordinates r, s, t):
//   triangle     (0,0) (1,0) (0,1)                 tetrahedron  the origin and the unit axis points
//   quadrangle   the unit square, nodes 0 1 2 3 counter-clockwise from (0,0)
//   hexahedron   the unit cube, base 0 1 2 3 at t = 0 as the square, top 4 5 6 7 at t = 1
//   wedge        the triangle times [0, 1]: base 0 1 2 at t = 0, top 3 4 5 at t = 1
//   pyramid      base as the square at t = 0, apex (1/2, 1/2, 1)
// Higher-order nodes sit at the centres of their parents
// (core/higher_order_nodes.hpp).
//
// Each map is the Lagrange interpolation of the node positions in the
// element's space: P2 for triangles and tetrahedra, the serendipity spaces
// for ELT_QUAD8 and ELT_HEXA20, Q2 for ELT_QUAD9 and ELT_HEXA27, P2(r, s) x
// P1(t) plus {1, r, s} t^2 for ELT_WEDGE15 and P2(r, s) x P2(t) for
// ELT_WEDGE18.  Pyramids use the rational space of the pyramid, polynomial
// in the collapsed coordinates a, b, c, where (r, s, t) = (1/2 + (1 - c)
// (a - 1/2), 1/2 + (1 - c)(b - 1/2), c): the functions a^i b^j (1 - c)^m
// c^k with i, j <= 2, m = max(i, j), k <= 2 - m (ELT_PYRA13 without
// a^2 b^2).  Its traces are P2 on the triangular faces and the 8- or 9-node
// quadrangle on the base, so it matches its neighbours.  The determinant of
// the pyramid's Jacobian is that of the columns x_a / (1 - c), x_b / (1 - c),
// x_c, which stay finite at the apex, where they depend on the direction
// (a, b) of approach.
//
// The tables are built at compile time: the Vandermonde matrix of the space
// at the nodes is inverted, which gives the coefficients of the nodal basis,
// whose derivatives are then evaluated at the sample points.
#pragma once

#include "core/element_model.hpp"
#include "core/higher_order_nodes.hpp"

namespace zeb {
namespace plexa {
namespace detail {

struct ref_point {
  double r, s, t;
};

// Column d of the Jacobian at sample point p is sum over nodes i of
// coef[p][d][i] x_i (d < 2 for faces, d < 3 for solids).
template <unsigned Nodes, unsigned Points>
struct jacobian_table {
  static constexpr unsigned nodes = Nodes;
  static constexpr unsigned points = Points;
  ref_point sample[Points];  // in collapsed coordinates for pyramids
  double coef[Points][3][Nodes];
};

namespace reference {

constexpr bool is_pyramid(element_type t) noexcept { return t == ELT_PYRA13 || t == ELT_PYRA14; }

// Sample points: the nodes of the complete quadratic element of the same
// shape (a 3 x 3 lattice on quadrangles, 18 points on wedges, 27 on
// hexahedra); on pyramids the 3 x 3 x 3 lattice of the collapsed
// coordinates, the apex read in its nine directions.
constexpr unsigned sample_count(element_type t) noexcept {
  switch (t) {
    case ELT_TRIA6: return 6;
    case ELT_QUAD8:
    case ELT_QUAD9: return 9;
    case ELT_TETRA10: return 10;
    case ELT_WEDGE15:
    case ELT_WEDGE18: return 18;
    default: return 27;  // hexahedra and pyramids
  }
}

// The complete element whose nodes are the sample points.
constexpr element_type complete_type(element_type t) noexcept {
  switch (t) {
    case ELT_QUAD8: return ELT_QUAD9;
    case ELT_PYRA13: return ELT_PYRA14;
    case ELT_WEDGE15: return ELT_WEDGE18;
    case ELT_HEXA20: return ELT_HEXA27;
    default: return t;
  }
}

// Reference vertices of the linear kinds.
constexpr ref_point vertex(element_type linear, unsigned k) noexcept {
  constexpr ref_point tri[3] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  constexpr ref_point quad[4] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
  switch (linear) {
    case ELT_TRIA3: return tri[k];
    case ELT_QUAD4: return quad[k];
    case ELT_TETRA4: return k == 3 ? ref_point{0, 0, 1} : tri[k];
    case ELT_PYRA5: return k == 4 ? ref_point{0.5, 0.5, 1} : quad[k];
    case ELT_WEDGE6: return {tri[k % 3].r, tri[k % 3].s, double(k / 3)};
    default: return {quad[k % 4].r, quad[k % 4].s, double(k / 4)};  // ELT_HEXA8
  }
}

// Reference position of node k of a quadratic type (pyramids: in pyramid
// coordinates r, s, t, not collapsed).
constexpr ref_point node(element_type t, unsigned k) noexcept {
  const element_type linear = linear_type(t);
  const unsigned base = base_node_count(t);
  if (k < base) return vertex(linear, k);
  const node_parents& p = higher_order_nodes(t)->node[k - base];
  ref_point c{0, 0, 0};
  for (unsigned i = 0; i < p.count; ++i) {
    const ref_point v = vertex(linear, p.vertex[i]);
    c.r += v.r / p.count;
    c.s += v.s / p.count;
    c.t += v.t / p.count;
  }
  return c;
}

// Pyramid coordinates to collapsed ones (the apex reads as direction
// (1/2, 1/2)).
constexpr ref_point collapse(ref_point p) noexcept {
  if (p.t >= 1) return {0.5, 0.5, 1};
  return {0.5 + (p.r - 0.5) / (1 - p.t), 0.5 + (p.s - 0.5) / (1 - p.t), p.t};
}

// Sample point k of a type.
constexpr ref_point sample(element_type t, unsigned k) noexcept {
  if (!is_pyramid(t)) return node(complete_type(t), k);
  if (k < 14) return collapse(node(ELT_PYRA14, k));
  // The lattice points that are not nodes: five at mid-height, eight at the
  // apex.
  constexpr ref_point extra[13] = {{0.5, 0, 0.5}, {1, 0.5, 0.5}, {0.5, 1, 0.5}, {0, 0.5, 0.5}, {0.5, 0.5, 0.5},
                                   {0, 0, 1},     {0.5, 0, 1},   {1, 0, 1},     {1, 0.5, 1},   {1, 1, 1},
                                   {0.5, 1, 1},   {0, 1, 1},     {0, 0.5, 1}};
  return extra[k - 14];
}

// r^i s^j t^k (1 - t)^m.
struct monomial {
  unsigned char i, j, k, m;
};

constexpr double power(double x, unsigned n) noexcept {
  double y = 1;
  for (unsigned e = 0; e < n; ++e) y *= x;
  return y;
}

constexpr double value(monomial f, ref_point p) noexcept {
  return power(p.r, f.i) * power(p.s, f.j) * power(p.t, f.k) * power(1 - p.t, f.m);
}

// Derivative along direction d; for pyramids (m counts) the a and b
// derivatives are divided by 1 - c, which every function depending on a or
// b carries as a factor.
constexpr double derivative(monomial f, ref_point p, unsigned d, bool collapsed) noexcept {
  const double ti = power(p.r, f.i), tj = power(p.s, f.j), tk = power(p.t, f.k);
  const unsigned m = collapsed && d < 2 ? f.m - (f.i + f.j > 0) : f.m;
  const double tm = power(1 - p.t, m);
  if (d == 0) return f.i == 0 ? 0 : f.i * power(p.r, f.i - 1) * tj * tk * tm;
  if (d == 1) return f.j == 0 ? 0 : f.j * ti * power(p.s, f.j - 1) * tk * tm;
  double dt = f.k == 0 ? 0 : f.k * power(p.t, f.k - 1) * power(1 - p.t, f.m);
  if (f.m > 0) dt -= f.m * tk * power(1 - p.t, f.m - 1);
  return ti * tj * dt;
}

// The space of a quadratic type, one monomial per node.
using uchar = unsigned char;
constexpr unsigned space(element_type t, monomial* out) noexcept {
  unsigned n = 0;
  if (is_pyramid(t)) {
    for (unsigned i = 0; i <= 2; ++i)
      for (unsigned j = 0; j <= 2; ++j) {
        const unsigned m = i > j ? i : j;
        if (t == ELT_PYRA13 && i == 2 && j == 2) continue;
        for (unsigned k = 0; k + m <= 2; ++k) out[n++] = {uchar(i), uchar(j), uchar(k), uchar(m)};
      }
    return n;
  }
  const unsigned dim = dimension(t);
  for (unsigned i = 0; i <= 2; ++i)
    for (unsigned j = 0; j <= 2; ++j)
      for (unsigned k = 0; k <= (dim == 3 ? 2u : 0u); ++k) {
        const unsigned total = i + j + k;
        // Serendipity: the degree counted without the variables that appear
        // linearly is at most 2, i.e. at most one exponent is 2.
        const unsigned superlinear = (i > 1 ? i : 0) + (j > 1 ? j : 0) + (k > 1 ? k : 0);
        bool in = false;
        switch (t) {
          case ELT_TRIA6:
          case ELT_TETRA10: in = total <= 2; break;
          case ELT_QUAD8:
          case ELT_HEXA20: in = superlinear <= 2; break;
          case ELT_QUAD9:
          case ELT_HEXA27: in = true; break;
          case ELT_WEDGE15: in = i + j <= 2 && (k <= 1 || i + j <= 1); break;
          case ELT_WEDGE18: in = i + j <= 2; break;
          default: break;
        }
        if (in) out[n++] = {uchar(i), uchar(j), uchar(k), 0};
      }
  return n;
}

}  // namespace reference

// The table of a quadratic type, built at compile time.
template <element_type T>
constexpr auto build_jacobian_table() {
  constexpr unsigned N = node_count(T), P = reference::sample_count(T);
  constexpr bool pyramid = reference::is_pyramid(T);
  jacobian_table<N, P> table{};
  reference::monomial f[N] = {};
  const unsigned space_size = reference::space(T, f);
  if (space_size != N) throw "the space of the element does not match its node count";

  // Gauss-Jordan inversion of V[i][q] = f_q(node i) with partial pivoting;
  // column i of the inverse holds the coefficients of the basis function of
  // node i.
  double a[N][2 * N] = {};
  for (unsigned i = 0; i < N; ++i) {
    const ref_point x = pyramid ? reference::collapse(reference::node(T, i)) : reference::node(T, i);
    for (unsigned q = 0; q < N; ++q) a[i][q] = reference::value(f[q], x);
    a[i][N + i] = 1;
  }
  for (unsigned c = 0; c < N; ++c) {
    unsigned best = c;
    for (unsigned r = c + 1; r < N; ++r) {
      const double x = a[r][c] < 0 ? -a[r][c] : a[r][c], y = a[best][c] < 0 ? -a[best][c] : a[best][c];
      if (x > y) best = r;
    }
    if (a[best][c] == 0) throw "the nodes do not determine the space";
    for (unsigned q = 0; q < 2 * N; ++q) {
      const double t = a[c][q];
      a[c][q] = a[best][q];
      a[best][q] = t;
    }
    const double pivot = a[c][c];
    for (unsigned q = 0; q < 2 * N; ++q) a[c][q] /= pivot;
    for (unsigned r = 0; r < N; ++r) {
      if (r == c || a[r][c] == 0) continue;
      const double factor = a[r][c];
      for (unsigned q = 0; q < 2 * N; ++q) a[r][q] -= factor * a[c][q];
    }
  }
  // inverse(q, i) = a[q][N + i]
  for (unsigned p = 0; p < P; ++p) {
    const ref_point x = reference::sample(T, p);
    table.sample[p] = x;
    for (unsigned d = 0; d < dimension(T); ++d)
      for (unsigned i = 0; i < N; ++i) {
        double sum = 0;
        for (unsigned q = 0; q < N; ++q) sum += reference::derivative(f[q], x, d, pyramid) * a[q][N + i];
        table.coef[p][d][i] = sum;
      }
  }
  return table;
}

template <element_type T>
inline constexpr auto jacobian_table_of = build_jacobian_table<T>();

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
