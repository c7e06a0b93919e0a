// jacobians: the determinants of the documented maps at the documented
// sample points, recomputed here from the maps themselves (finite
// differences of the linear maps, exact derivatives of quadratic fields the
// quadratic maps reproduce), and the certificate of the quadratic simplices
// against dense sampling.
#include <algorithm>

#include "quality/quality_test.hpp"
#include "quality/reference_maps.hpp"

using namespace quality_test;

namespace {

// The documented reference elements.
points reference_vertices(element_type linear) {
  switch (linear) {
    case ELT_TRIA3: return {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    case ELT_QUAD4: return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    case ELT_TETRA4: return {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    case ELT_PYRA5: return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0.5, 0.5, 1}};
    case ELT_WEDGE6: return {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}};
    default: return {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}, {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
  }
}

// The documented sample points of a quadratic type, in reference coordinates.
points sample_points(element_type type) {
  const element_type linear = detail::linear_type(type);
  if (linear == ELT_PYRA5) {
    points p;
    for (double c : {0.0, 0.5, 1.0})
      for (double a : {0.0, 0.5, 1.0})
        for (double b : {0.0, 0.5, 1.0}) p.push_back({0.5 + (1 - c) * (a - 0.5), 0.5 + (1 - c) * (b - 0.5), c});
    return p;
  }
  const element_type complete = type == ELT_QUAD8 ? ELT_QUAD9 : type == ELT_WEDGE15 ? ELT_WEDGE18
                                : type == ELT_HEXA20 ? ELT_HEXA27 : type;
  return with_higher_order_nodes(complete, reference_vertices(linear));
}

// A quadratic polynomial map of the reference element, x_d(r) = c_d +
// a_d . r + r . b_d r / 2 (b_d symmetric), and its Jacobian (column j: the
// derivative along r_j).
struct quadratic_map {
  matrix a{};
  std::array<matrix, 3> b{};
  point c{};

  point x(const point& r) const {
    point y = c;
    for (int d = 0; d < 3; ++d)
      for (int j = 0; j < 3; ++j) {
        y[d] += a[d][j] * r[j];
        for (int k = 0; k < 3; ++k) y[d] += 0.5 * b[d][j][k] * r[j] * r[k];
      }
    return y;
  }
  std::array<point, 3> jacobian(const point& r) const {
    std::array<point, 3> J{};
    for (int j = 0; j < 3; ++j)
      for (int d = 0; d < 3; ++d) {
        J[j][d] = a[d][j];
        for (int k = 0; k < 3; ++k) J[j][d] += b[d][j][k] * r[k];
      }
    return J;
  }
};

// Near the identity on the element's rdim reference axes, into dim
// coordinates (faces in space get a curved z).
quadratic_map random_quadratic(std::mt19937_64& g, unsigned rdim, unsigned dim, double curvature) {
  std::uniform_real_distribution<double> u(-1, 1);
  quadratic_map f;
  for (unsigned d = 0; d < dim; ++d) {
    f.c[d] = u(g);
    for (unsigned j = 0; j < rdim; ++j) {
      f.a[d][j] = (d == j ? 1.0 : 0.0) + 0.2 * u(g);
      for (unsigned k = 0; k <= j; ++k) f.b[d][j][k] = f.b[d][k][j] = curvature * u(g);
    }
  }
  return f;
}

point cross(const point& u, const point& v) {
  return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}
double dot(const point& u, const point& v) { return u[0] * v[0] + u[1] * v[1] + u[2] * v[2]; }

// The documented determinant: plain for faces in the plane and solids,
// along the unit normal of the corners for faces in space.
double documented_det(const std::array<point, 3>& J, unsigned rdim, unsigned dim, const points& vertices) {
  if (rdim == 3) return dot(J[0], cross(J[1], J[2]));
  if (dim == 2) return J[0][0] * J[1][1] - J[0][1] * J[1][0];
  const bool quad = vertices.size() == 4;
  point u, v;
  for (int d = 0; d < 3; ++d) {
    u[d] = vertices[quad ? 2 : 1][d] - vertices[0][d];
    v[d] = vertices[quad ? 3 : 2][d] - vertices[quad ? 1 : 0][d];
  }
  point n = cross(u, v);
  const double length = std::sqrt(dot(n, n));
  for (double& x : n) x /= length;
  return dot(cross(J[0], J[1]), n);
}

// jacobians of one element.
std::array<double, 2> dets_of(const points& x, element_type type, unsigned dim) {
  const one_element m = mesh_of(x, dim);
  dense2D<double> d;
  EXPECT_EQ(jacobians(m.pos, m.connect, type, d), 0);
  return {d(0, 0), d(1, 0)};
}

// The linear maps, written out (pyramids: the rational map through the
// coordinates collapsed at the apex).
point linear_map(element_type k, const points& v, const point& p) {
  const double r = p[0], s = p[1], t = p[2];
  auto mix = [&](std::initializer_list<double> w) {
    point y{0, 0, 0};
    unsigned i = 0;
    for (double wi : w) {
      for (int d = 0; d < 3; ++d) y[d] += wi * v[i][d];
      ++i;
    }
    return y;
  };
  switch (k) {
    case ELT_TRIA3: return mix({1 - r - s, r, s});
    case ELT_QUAD4: return mix({(1 - r) * (1 - s), r * (1 - s), r * s, (1 - r) * s});
    case ELT_TETRA4: return mix({1 - r - s - t, r, s, t});
    case ELT_WEDGE6:
      return mix({(1 - r - s) * (1 - t), r * (1 - t), s * (1 - t), (1 - r - s) * t, r * t, s * t});
    case ELT_PYRA5: {
      const double a = 0.5 + (r - 0.5) / (1 - t), b = 0.5 + (s - 0.5) / (1 - t);
      return mix({(1 - t) * (1 - a) * (1 - b), (1 - t) * a * (1 - b), (1 - t) * a * b, (1 - t) * (1 - a) * b, t});
    }
    default:
      return mix({(1 - r) * (1 - s) * (1 - t), r * (1 - s) * (1 - t), r * s * (1 - t), (1 - r) * s * (1 - t),
                  (1 - r) * (1 - s) * t, r * (1 - s) * t, r * s * t, (1 - r) * s * t});
  }
}

std::array<point, 3> finite_difference_jacobian(element_type k, const points& v, const point& p) {
  const double h = 1e-5;
  std::array<point, 3> J{};
  for (unsigned j = 0; j < detail::dimension(k); ++j) {
    point lo = p, hi = p;
    lo[j] -= h, hi[j] += h;
    const point a = linear_map(k, v, lo), b = linear_map(k, v, hi);
    for (int d = 0; d < 3; ++d) J[j][d] = (b[d] - a[d]) / (2 * h);
  }
  return J;
}

}  // namespace

TEST(Jacobians, LinearElementsGiveTheirMapsAtTheCorners) {
  auto g = plexa_test::rng(41);
  const element_type kinds[] = {ELT_TRIA3, ELT_QUAD4, ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8};
  for (element_type k : kinds)
    for (unsigned dim : {2u, 3u}) {
      const unsigned rdim = detail::dimension(k);
      if (dim < rdim) continue;
      for (int trial = 0; trial < 20; ++trial) {
        points v = jiggled(regular(k), g, 0.3, dim == 2);
        if (dim == 3 && rdim == 2) v = transformed(random_similarity(g, false), jiggled(v, g, 0.2, false));
        const points corners = reference_vertices(k);
        double lo = INFINITY, hi = -INFINITY;
        for (unsigned i = 0; i < (k == ELT_PYRA5 ? 4u : corners.size()); ++i) {
          const double d = documented_det(finite_difference_jacobian(k, v, corners[i]), rdim, dim, v);
          lo = std::min(lo, d), hi = std::max(hi, d);
        }
        const auto got = dets_of(v, k, dim);
        const double tol = 1e-8 * std::max(std::fabs(lo), std::fabs(hi));
        EXPECT_NEAR(got[0], lo, tol) << k << ' ' << dim;
        EXPECT_NEAR(got[1], hi, tol) << k << ' ' << dim;
        if (k == ELT_PYRA5) {  // the base corners bound the whole pyramid
          std::uniform_real_distribution<double> u(0, 1);
          for (int s = 0; s < 200; ++s) {
            const double t = 0.999 * u(g), a = u(g), b = u(g);
            const point p = {0.5 + (1 - t) * (a - 0.5), 0.5 + (1 - t) * (b - 0.5), t};
            const double d = documented_det(finite_difference_jacobian(k, v, p), 3, 3, v);
            EXPECT_GE(d, lo - 1e-6);
            EXPECT_LE(d, hi + 1e-6);
          }
        }
      }
    }
}

TEST(Jacobians, QuadraticMapsReproduceQuadraticFields) {
  auto g = plexa_test::rng(43);
  for (element_type type : {ELT_TRIA6, ELT_QUAD8, ELT_QUAD9, ELT_TETRA10, ELT_PYRA13, ELT_PYRA14, ELT_WEDGE15,
                            ELT_WEDGE18, ELT_HEXA20, ELT_HEXA27})
    for (unsigned dim : {2u, 3u}) {
      const element_type linear = detail::linear_type(type);
      const unsigned rdim = detail::dimension(type);
      if (dim < rdim) continue;
      for (int trial = 0; trial < 10; ++trial) {
        // The first map is affine: the determinant is constant.
        const quadratic_map f = random_quadratic(g, rdim, dim, trial == 0 ? 0.0 : 0.15);
        const points ref = with_higher_order_nodes(type, reference_vertices(linear));
        points x;
        for (const point& r : ref) x.push_back(f.x(r));
        const points vertices(x.begin(), x.begin() + detail::base_node_count(type));
        double lo = INFINITY, hi = -INFINITY;
        for (const point& p : sample_points(type)) {
          const double d = documented_det(f.jacobian(p), rdim, dim, vertices);
          lo = std::min(lo, d), hi = std::max(hi, d);
        }
        const auto got = dets_of(x, type, dim);
        const double tol = 1e-12 * std::max(std::fabs(lo), std::fabs(hi));
        if (trial == 0) {
          EXPECT_NEAR(got[0], got[1], tol) << type << ' ' << dim;
        }
        EXPECT_NEAR(got[1], hi, tol) << type << ' ' << dim;
        if (type == ELT_TRIA6 || type == ELT_TETRA10)
          EXPECT_LE(got[0], lo + tol) << type << ' ' << dim;  // the certificate
        else
          EXPECT_NEAR(got[0], lo, tol) << type << ' ' << dim;
      }
    }
}

// Every sample point of every table: the documented points, and the
// Jacobian the table gives for a quadratic field is the field's (for
// pyramids: its columns in the collapsed coordinates).
template <element_type T>
void check_table(std::mt19937_64& g) {
  constexpr auto& table = detail::jacobian_table_of<T>;
  const unsigned rdim = detail::dimension(T);
  points expected = sample_points(T), got;
  const quadratic_map f = random_quadratic(g, rdim, 3, 0.3);
  const points ref = with_higher_order_nodes(T, reference_vertices(detail::linear_type(T)));
  for (unsigned p = 0; p < table.points; ++p) {
    const auto& q = table.sample[p];
    const bool pyramid = detail::linear_type(T) == ELT_PYRA5;
    const point r = pyramid ? point{0.5 + (1 - q.t) * (q.r - 0.5), 0.5 + (1 - q.t) * (q.s - 0.5), q.t}
                            : point{q.r, q.s, q.t};
    got.push_back(r);
    std::array<point, 3> want = f.jacobian(r);
    if (pyramid)
      for (int d = 0; d < 3; ++d) want[2][d] += -(q.r - 0.5) * want[0][d] - (q.s - 0.5) * want[1][d];
    for (unsigned j = 0; j < rdim; ++j)
      for (int d = 0; d < 3; ++d) {
        double sum = 0;
        for (unsigned i = 0; i < ref.size(); ++i) sum += table.coef[p][j][i] * f.x(ref[i])[d];
        EXPECT_NEAR(sum, want[j][d], 1e-12) << T << " point " << p << " column " << j;
      }
  }
  auto order = [](points v) {
    std::sort(v.begin(), v.end());
    v.erase(std::unique(v.begin(), v.end(), [](const point& a, const point& b) {
              return std::fabs(a[0] - b[0]) + std::fabs(a[1] - b[1]) + std::fabs(a[2] - b[2]) < 1e-15;
            }), v.end());
    return v;
  };
  EXPECT_EQ(order(got), order(expected)) << T;
}

TEST(Jacobians, TablesHoldTheDocumentedSamplesAndDerivatives) {
  auto g = plexa_test::rng(61);
  check_table<ELT_TRIA6>(g);
  check_table<ELT_QUAD8>(g);
  check_table<ELT_QUAD9>(g);
  check_table<ELT_TETRA10>(g);
  check_table<ELT_PYRA13>(g);
  check_table<ELT_PYRA14>(g);
  check_table<ELT_WEDGE15>(g);
  check_table<ELT_WEDGE18>(g);
  check_table<ELT_HEXA20>(g);
  check_table<ELT_HEXA27>(g);
}

// A curved quadratic simplex whose certificate is positive has no negative
// determinant anywhere; one folded inside has a negative sample and a
// negative certificate.  The dense samples use the P2 basis written out.
TEST(Jacobians, CertificateBoundsCurvedQuadraticSimplices) {
  auto g = plexa_test::rng(53);
  std::uniform_real_distribution<double> u(-1, 1);
  for (element_type type : {ELT_TRIA6, ELT_TETRA10}) {
    const unsigned dim = detail::dimension(type), n = detail::node_count(type), v = dim + 1;
    const auto* list = detail::higher_order_nodes(type);
    // Determinant at barycentric point l from the P2 basis: vertices
    // l_i (2 l_i - 1), edge nodes 4 l_a l_b; d/dr_j with l_0 = 1 - sum r.
    auto det_at = [&](const points& x, const double* l) {
      std::array<point, 3> J{};
      for (unsigned i = 0; i < n; ++i) {
        double grad_l[4] = {};  // d N_i / d l_k
        if (i < v) {
          grad_l[i] = 4 * l[i] - 1;
        } else {
          const unsigned a = list->node[i - v].vertex[0], b = list->node[i - v].vertex[1];
          grad_l[a] += 4 * l[b];
          grad_l[b] += 4 * l[a];
        }
        for (unsigned j = 0; j < dim; ++j)
          for (int d = 0; d < 3; ++d) J[j][d] += (grad_l[j + 1] - grad_l[0]) * x[i][d];
      }
      return dim == 2 ? J[0][0] * J[1][1] - J[0][1] * J[1][0] : dot(J[0], cross(J[1], J[2]));
    };
    auto dense_minimum = [&](const points& x) {
      double lo = INFINITY;
      const int m = 24;
      for (int a = 0; a <= m; ++a)
        for (int b = 0; a + b <= m; ++b)
          for (int c = 0; a + b + c <= m; ++c) {
            if (dim == 2 && c > 0) break;
            const double l[4] = {double(m - a - b - c) / m, double(a) / m, double(b) / m, double(c) / m};
            lo = std::min(lo, det_at(x, l));
          }
      return lo;
    };
    unsigned certified = 0, uncertain = 0;
    for (int trial = 0; trial < 300; ++trial) {
      points x = with_higher_order_nodes(type, reference_vertices(detail::linear_type(type)));
      const double bend = 0.05 + 0.25 * (trial % 4);
      for (unsigned i = v; i < n; ++i)
        for (unsigned d = 0; d < dim; ++d) x[i][d] += bend * u(g);
      const auto got = dets_of(x, type, dim);
      const double lo = dense_minimum(x);
      EXPECT_LE(got[0], lo + 1e-12) << type;
      if (got[0] > 0) {
        ++certified;
        EXPECT_GT(lo, 0.0) << type;
      } else {
        ++uncertain;
      }
    }
    EXPECT_GT(certified, 20u) << type;
    EXPECT_GT(uncertain, 20u) << type;
    // Folded: the node on edge (0, 1) pushed past the opposite vertex.
    points x = with_higher_order_nodes(type, reference_vertices(detail::linear_type(type)));
    const unsigned edge01 = v + 2;  // node 5 of a triangle, 6 of a tetrahedron
    x[edge01] = dim == 2 ? point{0.6, 1.2, 0} : point{0.6, 0.7, 0.7};
    EXPECT_LT(dense_minimum(x), 0.0) << type;
    EXPECT_LT(dets_of(x, type, dim)[0], 0.0) << type;
  }
}

// Faces in space have no orientation: a reversed node order or a mirror
// changes nothing; in the plane both swap the sign.
TEST(Jacobians, SurfaceDeterminantsIgnoreTheNodeOrder) {
  auto g = plexa_test::rng(59);
  for (element_type type : {ELT_TRIA3, ELT_TRIA6, ELT_QUAD4, ELT_QUAD8, ELT_QUAD9}) {
    const element_type linear = detail::linear_type(type);
    const quadratic_map f = random_quadratic(g, 2, 3, 0.2);
    points ref = reference_vertices(linear);
    points reversed_ref = ref;
    std::reverse(reversed_ref.begin() + 1, reversed_ref.end());
    points x, y;
    for (const point& r : with_higher_order_nodes(type, ref)) x.push_back(f.x(r));
    for (const point& r : with_higher_order_nodes(type, reversed_ref)) y.push_back(f.x(r));
    const auto a = dets_of(x, type, 3), b = dets_of(y, type, 3);
    const matrix mirror = {{{1, 0, 0}, {0, 1, 0}, {0, 0, -1}}};
    const auto c = dets_of(transformed(mirror, x), type, 3);
    for (int k = 0; k < 2; ++k) {
      EXPECT_NEAR(a[k], b[k], 1e-12) << type;
      EXPECT_NEAR(a[k], c[k], 1e-12) << type;
    }
    const auto p = dets_of(x, type, 2), q = dets_of(y, type, 2);
    EXPECT_NEAR(p[0], -q[1], 1e-12) << type;
    EXPECT_NEAR(p[1], -q[0], 1e-12) << type;
  }
}
