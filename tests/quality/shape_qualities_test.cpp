// Shape qualities: the regular elements score 1, the measure is the
// documented corner mean ratio (recomputed here from the regular elements'
// own corners), it ignores similarities, tends to 0 on degeneration and
// changes sign with orientation; the metric form measures mapped meshes;
// min_quality agrees with a scan of shape_qualities.
#include <algorithm>
#include <limits>

#include "quality/quality_test.hpp"
#include "support/meshes.hpp"
#include "topology/boundary_tables.hpp"

using namespace quality_test;

namespace {

// --- The documented measure, computed the long way ------------------------

// M^-1 of a 2 x 2 or 3 x 3 matrix given by columns.
std::vector<point> inverse(const std::vector<point>& w, unsigned n) {
  if (n == 2) {
    const double det = w[0][0] * w[1][1] - w[1][0] * w[0][1];
    return {{w[1][1] / det, -w[0][1] / det, 0}, {-w[1][0] / det, w[0][0] / det, 0}};
  }
  matrix a, inv;
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) a[i][j] = w[j][i];
  const double det = a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) -
                     a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
                     a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      const int i1 = (j + 1) % 3, i2 = (j + 2) % 3, j1 = (i + 1) % 3, j2 = (i + 2) % 3;
      inv[i][j] = (a[i1][j1] * a[i2][j2] - a[i1][j2] * a[i2][j1]) / det;
    }
  return {{inv[0][0], inv[1][0], inv[2][0]}, {inv[0][1], inv[1][1], inv[2][1]}, {inv[0][2], inv[1][2], inv[2][2]}};
}

double det_of(const std::vector<point>& s, unsigned n, const point& normal) {
  if (n == 3)
    return s[0][0] * (s[1][1] * s[2][2] - s[1][2] * s[2][1]) - s[1][0] * (s[0][1] * s[2][2] - s[0][2] * s[2][1]) +
           s[2][0] * (s[0][1] * s[1][2] - s[0][2] * s[1][1]);
  const point c = {s[0][1] * s[1][2] - s[0][2] * s[1][1], s[0][2] * s[1][0] - s[0][0] * s[1][2],
                   s[0][0] * s[1][1] - s[0][1] * s[1][0]};
  return c[0] * normal[0] + c[1] * normal[1] + c[2] * normal[2];
}

// The quality by the header's definition: the mean ratio of S = A W^-1 at
// every vertex joined to `dim` others by edges (W from the regular element,
// the neighbours ordered to make det W > 0), combined by sign.
double documented_quality(element_type linear, const points& x, bool surface) {
  const unsigned dim = detail::dimension(linear);
  const points w = regular(linear);
  const auto* edges = detail::edges_of(linear);
  point normal = {0, 0, 1};
  if (surface) {  // the unit normal of the corners
    const bool quad = linear == ELT_QUAD4;
    const point u = {x[quad ? 2 : 1][0] - x[0][0], x[quad ? 2 : 1][1] - x[0][1], x[quad ? 2 : 1][2] - x[0][2]};
    const point v = {x[quad ? 3 : 2][0] - x[quad ? 1 : 0][0], x[quad ? 3 : 2][1] - x[quad ? 1 : 0][1],
                     x[quad ? 3 : 2][2] - x[quad ? 1 : 0][2]};
    normal = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
    const double n = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
    for (double& c : normal) c = n > 0 ? c / n : 0;
  }
  std::vector<double> q;
  for (unsigned v = 0; v < x.size(); ++v) {
    std::vector<unsigned> nb;
    for (unsigned e = 0; e < edges->count; ++e)
      if (edges->node[e][0] == v || edges->node[e][1] == v) nb.push_back(edges->node[e][0] ^ edges->node[e][1] ^ v);
    if (nb.size() != dim) continue;  // the apex of a pyramid
    std::vector<point> a(dim), wv(dim);
    for (unsigned k = 0; k < dim; ++k)
      for (int d = 0; d < 3; ++d) a[k][d] = x[nb[k]][d] - x[v][d], wv[k][d] = w[nb[k]][d] - w[v][d];
    if (det_of(wv, dim, {0, 0, 1}) < 0) std::swap(a[0], a[1]), std::swap(wv[0], wv[1]);
    const std::vector<point> wi = inverse(wv, dim);
    std::vector<point> s(dim, point{0, 0, 0});
    double frob = 0;
    for (unsigned k = 0; k < dim; ++k) {
      for (unsigned m = 0; m < dim; ++m)
        for (int d = 0; d < 3; ++d) s[k][d] += a[m][d] * wi[k][m];
      for (int d = 0; d < 3; ++d) frob += s[k][d] * s[k][d];
    }
    const double det = det_of(s, dim, normal);
    q.push_back(dim == 2 ? 2 * det / frob : std::copysign(3 * std::cbrt(det * det) / frob, det));
  }
  const double lo = *std::min_element(q.begin(), q.end()), hi = *std::max_element(q.begin(), q.end());
  const double r = lo >= 0 ? lo : hi <= 0 ? hi : -std::min(hi, -lo);
  return surface ? std::max(r, 0.0) : r;
}

struct case_of {
  element_type type;
  unsigned dim;
};

std::vector<case_of> every_case() {
  std::vector<case_of> all;
  for (element_type t : face_kinds) all.push_back({t, 2}), all.push_back({t, 3});
  for (element_type t : solid_kinds) all.push_back({t, 3});
  return all;
}

// A random element of the type near the regular one, moved off its plane
// when it is a surface element.
points random_element(std::mt19937_64& g, const case_of& c, double amount) {
  const element_type linear = detail::linear_type(c.type);
  points x = jiggled(regular(linear), g, amount, c.dim == 2);
  if (c.dim == 3 && detail::dimension(linear) == 2) x = transformed(random_similarity(g, false), x);
  return with_higher_order_nodes(c.type, x);
}

}  // namespace

TEST(ShapeQualities, RegularElementsScoreOne) {
  for (const case_of& c : every_case()) {
    const points x = with_higher_order_nodes(c.type, regular(detail::linear_type(c.type)));
    EXPECT_NEAR(quality_of(x, c.type, c.dim), 1.0, 1e-15) << c.type << ' ' << c.dim;
  }
  // Mixed connectivities: each column measured as its kind.
  const auto tria = regular(ELT_TRIA3), quad = regular(ELT_QUAD4);
  points faces = quad;
  faces.insert(faces.end(), tria.begin(), tria.end());
  one_element m = mesh_of(faces, 2);
  m.connect = plexa_test::connectivity(4, {0, 1, 2, 3, 4, 5, 6, plexa_test::NO});
  dense1D<double, 8> q;
  ASSERT_EQ(shape_qualities(m.pos, m.connect, ELT_FACE_MIX, q), 0);
  EXPECT_TRUE(plexa_test::near(plexa_test::to_vector(q), {1, 1}, 1e-15));
}

TEST(ShapeQualities, AreTheDocumentedCornerMeanRatios) {
  auto g = plexa_test::rng(17);
  for (const case_of& c : every_case())
    for (double amount : {0.1, 0.3, 0.6})
      for (int trial = 0; trial < 20; ++trial) {
        const points x = random_element(g, c, amount);
        const element_type linear = detail::linear_type(c.type);
        const points vertices(x.begin(), x.begin() + detail::base_node_count(linear));
        const bool surface = c.dim == 3 && detail::dimension(linear) == 2;
        EXPECT_NEAR(quality_of(x, c.type, c.dim), documented_quality(linear, vertices, surface), 1e-12)
            << c.type << ' ' << c.dim << ' ' << amount;
      }
}

TEST(ShapeQualities, IgnoreRigidMotionsAndScalingsAndFlipSignInAMirror) {
  auto g = plexa_test::rng(23);
  std::uniform_real_distribution<double> shift(-10, 10);
  for (const case_of& c : every_case())
    for (int trial = 0; trial < 30; ++trial) {
      const points x = random_element(g, c, 0.4);
      const double q = quality_of(x, c.type, c.dim);
      const bool planar = c.dim == 2;
      // The shift is kept within a few element sizes: the coordinates of a
      // small element far from the origin hold fewer bits of its shape.
      const matrix m = random_similarity(g, planar);
      const double size = std::sqrt(m[0][0] * m[0][0] + m[1][0] * m[1][0] + m[2][0] * m[2][0]);
      const point t = {size * shift(g), size * shift(g), planar ? 0 : size * shift(g)};
      const points moved = transformed(m, x, t);
      EXPECT_NEAR(quality_of(moved, c.type, c.dim), q, 1e-12 * std::fabs(q)) << c.type << ' ' << c.dim;
      for (double scale : {1e-200, 1e200}) {
        const matrix s = {{{scale, 0, 0}, {0, scale, 0}, {0, 0, scale}}};
        EXPECT_NEAR(quality_of(transformed(s, x), c.type, c.dim), q, 1e-12 * std::fabs(q)) << c.type << ' ' << scale;
      }
      // A mirror: faces in the plane and solids change sign, surfaces do not
      // (a tangled element is negative both ways, see below).
      if (q <= 0) continue;
      const matrix mirror = {{{1, 0, 0}, {0, -1, 0}, {0, 0, 1}}};
      const bool oriented = c.dim == detail::dimension(c.type);
      EXPECT_NEAR(quality_of(transformed(mirror, moved), c.type, c.dim), oriented ? -q : q, 1e-12 * std::fabs(q))
          << c.type << ' ' << c.dim;
    }
}

// Flattening, stretching into a needle, and (tetrahedra) the cap and the
// sliver: the quality falls towards 0, continuously, and is 0 at the end.
TEST(ShapeQualities, FallToZeroAsElementsDegenerate) {
  for (const case_of& c : every_case()) {
    const element_type linear = detail::linear_type(c.type);
    const points x = with_higher_order_nodes(c.type, regular(linear));
    const int squashed_axis = detail::dimension(linear) == 3 ? 2 : 1;
    double last = 1;
    for (double t : {0.9, 0.5, 0.1, 1e-2, 1e-4, 1e-8, 0.0}) {
      matrix squash = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
      squash[squashed_axis][squashed_axis] = t;
      const double q = quality_of(transformed(squash, x), c.type, c.dim);
      EXPECT_LT(q, last) << c.type << ' ' << t;
      EXPECT_GE(q, 0.0);
      // q falls like t for faces and like t^(2/3) for solids.
      EXPECT_LE(q, 3 * (c.dim == 2 || detail::dimension(linear) == 2 ? t : std::cbrt(t * t))) << c.type << ' ' << t;
      last = q;
    }
    EXPECT_EQ(last, 0.0) << c.type;
    matrix needle = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    needle[0][0] = 1e6;
    EXPECT_LT(quality_of(transformed(needle, x), c.type, c.dim), 1e-5) << c.type;
  }
  // Tetrahedra: a cap (node 3 dropped into the middle of face 0 1 2) and a
  // sliver (four nodes near the corners of a square, alternately lifted).
  double last_cap = 1, last_sliver = 1;
  for (double e : {0.3, 0.1, 1e-3, 1e-6, 0.0}) {
    const points cap = {{0, 0, 0}, {1, 0, 0}, {0.5, 0.8, 0}, {0.5, 0.3, e}};
    const points sliver = {{0, 0, -e}, {1, 0, e}, {1, 1, -e}, {0, 1, e}};
    const double qc = quality_of(cap, ELT_TETRA4, 3), qs = std::fabs(quality_of(sliver, ELT_TETRA4, 3));
    EXPECT_LT(qc, last_cap);
    EXPECT_LT(qs, last_sliver);
    last_cap = qc, last_sliver = qs;
  }
  EXPECT_EQ(last_cap, 0.0);
  EXPECT_EQ(last_sliver, 0.0);
  // A repeated node is exactly degenerate.
  points hex = regular(ELT_HEXA8);
  hex[6] = hex[5];
  EXPECT_EQ(quality_of(hex, ELT_HEXA8, 3), 0.0);
}

// Pushing a node through the element: the quality crosses 0 continuously
// and stays negative once the element is tangled, in either orientation.
TEST(ShapeQualities, InvertedAndTangledElementsAreNegative) {
  for (element_type k : {ELT_QUAD4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8, ELT_TETRA4, ELT_TRIA3}) {
    const unsigned dim = detail::dimension(k);
    const points x = regular(k);
    const unsigned moved = detail::base_node_count(k) - 1;  // the apex, a top or last node
    double previous = quality_of(x, k, dim);
    bool crossed = false;
    for (double t = 0; t <= 2.0; t += 1.0 / 512) {
      points y = x;
      y[moved][dim - 1] = x[moved][dim - 1] * (1 - t);  // down through the base
      const double q = quality_of(y, k, dim);
      EXPECT_LT(std::fabs(q - previous), 0.05) << k << ' ' << t;
      if (q < 0) crossed = true;
      if (crossed) {
        EXPECT_LE(q, 0.0) << k << ' ' << t;
      }
      previous = q;
      if (t > 1.01) {
        const matrix mirror = {{{1, 0, 0}, {0, -1, 0}, {0, 0, 1}}};
        const double qm = quality_of(transformed(mirror, y), k, dim);
        if (k == ELT_TRIA3 || k == ELT_TETRA4 || k == ELT_PYRA5) {  // inverted as a whole
          EXPECT_NEAR(qm, -q, 1e-12) << k << ' ' << t;
        } else {  // tangled: negative both ways
          EXPECT_LT(qm, 0.0) << k << ' ' << t;
        }
      }
    }
    EXPECT_TRUE(crossed) << k;
  }
}

// For nodes X and a B with det B > 0, the metric B^T B (= A^-T A^-1 for
// A = B^-1, X = A x) measures the mesh on X as the plain measure does on
// x = B X.
TEST(ShapeQualities, MetricFormMeasuresTheMappedMesh) {
  auto g = plexa_test::rng(29);
  std::uniform_real_distribution<double> u(-1, 1);
  const struct {
    dense2D<unsigned> connect;
    element_type type;
  } meshes[] = {{plexa_test::grid_triangles(4, 3), ELT_TRIA3},
                {plexa_test::grid_quadrangles(4, 3), ELT_QUAD4},
                {plexa_test::grid_tetrahedra(3, 2, 2), ELT_TETRA4},
                {plexa_test::grid_mixed_solids(3, 2, 2), ELT_SOLID_MIX}};
  for (unsigned dim : {2u, 3u})
    for (const auto& m : meshes) {
      if (dim < detail::dimension(m.type)) continue;
      const unsigned nodes = max_ID(m.connect) + 1;
      const dense2D<double> X = plexa_test::random_coordinates(g, dim, nodes, 0, 4);
      matrix b = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
      for (unsigned i = 0; i < dim; ++i)
        for (unsigned j = 0; j < dim; ++j) b[i][j] += 0.4 * u(g);
      const std::vector<point> columns = {{b[0][0], b[1][0], b[2][0]}, {b[0][1], b[1][1], b[2][1]},
                                          {b[0][2], b[1][2], b[2][2]}};
      if (det_of(columns, 3, {}) < 0) b[0] = {-b[0][0], -b[0][1], -b[0][2]};  // B^T B stays
      auto btb = [&](int i, int j) { return b[0][i] * b[0][j] + b[1][i] * b[1][j] + b[2][i] * b[2][j]; };
      const std::vector<double> packed = dim == 2 ? std::vector<double>{btb(0, 0), btb(0, 1), btb(1, 1)}
                                                  : std::vector<double>{btb(0, 0), btb(0, 1), btb(1, 1),
                                                                        btb(0, 2), btb(1, 2), btb(2, 2)};
      dense2D<double> metrics(unsigned(packed.size()), nodes), x(dim, nodes);
      for (unsigned j = 0; j < nodes; ++j) {
        for (unsigned k = 0; k < packed.size(); ++k) metrics(k, j) = packed[k];
        const point y = transformed(b, point{X(0, j), X(1, j), dim == 3 ? X(2, j) : 0.0});
        for (unsigned d = 0; d < dim; ++d) x(d, j) = y[d];
      }
      dense1D<double, 8> plain, measured;
      ASSERT_EQ(shape_qualities(x, m.connect, m.type, plain), 0);
      ASSERT_EQ(shape_qualities(plexa_test::strided(X), plexa_test::strided(m.connect), m.type,
                                plexa_test::strided(metrics), measured), 0);
      EXPECT_TRUE(plexa_test::near(plexa_test::to_vector(measured), plexa_test::to_vector(plain), 1e-11))
          << m.type << ' ' << dim;
    }
  // The element's metric is the mean of its vertices' metrics.
  const one_element t = mesh_of(regular(ELT_TRIA3), 2);
  dense2D<double> field = plexa_test::coordinates(3, {4, 1, 1, 2, 1, 1, 3, 1, 1});
  dense2D<double> mean = plexa_test::coordinates(3, {3, 1, 1, 3, 1, 1, 3, 1, 1});
  dense1D<double, 8> q1, q2;
  ASSERT_EQ(shape_qualities(t.pos, t.connect, ELT_TRIA3, field, q1), 0);
  ASSERT_EQ(shape_qualities(t.pos, t.connect, ELT_TRIA3, mean, q2), 0);
  EXPECT_NEAR(q1[0], q2[0], 1e-15);
  EXPECT_LT(q1[0], 0.9);
}

TEST(ShapeQualities, MinQualityIsTheFirstSmallestOfAScan) {
  auto g = plexa_test::rng(31);
  for (int trial = 0; trial < 40; ++trial) {
    const bool tets = trial % 2 == 0;
    dense2D<unsigned> c = tets ? plexa_test::grid_tetrahedra(3, 3, 2, &g) : plexa_test::grid_mixed_solids(3, 3, 2, &g);
    dense2D<double> x = plexa_test::random_coordinates(g, 3, 4 * 4 * 3 + 18, -0.5, 3.5);
    if (trial % 5 == 1) {  // ties: the first of equal columns wins
      for (unsigned r = 0; r < c.rows(); ++r) c(r, 7) = c(r, 3);
    }
    if (trial % 5 == 2) x(1, c(0, 9)) = NAN;
    dense1D<double, 8> q;
    ASSERT_EQ(shape_qualities(x, c, tets ? ELT_TETRA4 : ELT_SOLID_MIX, q), 0);
    unsigned expected = 0;
    for (unsigned j = 1; j < q.size(); ++j)
      if (!std::isnan(q[expected]) && (std::isnan(q[j]) || q[j] < q[expected])) expected = j;
    double quality = 7;
    unsigned element = 7;
    ASSERT_EQ(min_quality(plexa_test::strided(x), plexa_test::strided(c), tets ? ELT_TETRA4 : ELT_SOLID_MIX,
                          quality, element), 0);
    EXPECT_EQ(element, expected);
    if (std::isnan(q[expected]))
      EXPECT_TRUE(std::isnan(quality));
    else
      EXPECT_EQ(quality, q[expected]);
  }
  double quality = 7;
  unsigned element = 7;
  EXPECT_EQ(min_quality(dense2D<double>(), dense2D<unsigned>(4, 0), ELT_TETRA4, quality, element), 0);
  EXPECT_EQ(quality, 1.0);
  EXPECT_EQ(element, plexa_test::NO);
}
