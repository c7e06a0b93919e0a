// Size fields from a mesh and their shock (src/metrics/size_generation.cpp,
// shock.cpp): metrics_gen_iso against a direct loop over the element edges,
// H_shock against the gradation written out.
#include <cfloat>
#include <cmath>
#include <map>

#include "metrics/metric_samples.hpp"
#include "support/meshes.hpp"

using namespace plexa_test;

namespace {

// Vertex edges of the linear kinds, per element (local nodes).
const std::map<int, std::vector<std::pair<unsigned, unsigned>>> element_edges = {
    {ELT_EDGE2, {{0, 1}}},
    {ELT_TRIA3, {{0, 1}, {1, 2}, {2, 0}}},
    {ELT_QUAD4, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}},
    {ELT_TETRA4, {{0, 1}, {0, 2}, {0, 3}, {1, 2}, {1, 3}, {2, 3}}},
    {ELT_PYRA5, {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {0, 4}, {1, 4}, {2, 4}, {3, 4}}},
    {ELT_WEDGE6, {{0, 1}, {1, 2}, {2, 0}, {3, 4}, {4, 5}, {5, 3}, {0, 3}, {1, 4}, {2, 5}}},
    {ELT_HEXA8,
     {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}}},
};

// The kind of a column, from its leading entries.
int kind_of(const dense2D<unsigned>& c, unsigned e, element_type type) {
  unsigned n = 0;
  while (n < c.rows() && c(n, e) != NO) ++n;
  if (type == ELT_FACE_MIX) return n == 3 ? ELT_TRIA3 : ELT_QUAD4;
  if (type == ELT_SOLID_MIX) return n == 4 ? ELT_TETRA4 : n == 5 ? ELT_PYRA5 : n == 6 ? ELT_WEDGE6 : ELT_HEXA8;
  return type;
}

double distance(const dense2D<double>& pos, unsigned i, unsigned j) {
  double s = 0;
  for (unsigned r = 0; r < pos.rows(); ++r) s += (pos(r, j) - pos(r, i)) * (pos(r, j) - pos(r, i));
  return std::sqrt(s);
}

// The power means of the lengths at each node, element by element; nodes
// no edge reaches keep `before`.
std::vector<double> direct_means(const random_mesh& m, double p, const std::vector<double>& before) {
  std::vector<std::vector<double>> at(m.coords.cols());
  for (unsigned e = 0; e < m.connect.cols(); ++e)
    for (const auto& [a, b] : element_edges.at(kind_of(m.connect, e, m.type))) {
      const unsigned i = m.connect(a, e), j = m.connect(b, e);
      const double l = distance(m.coords, i, j);
      if (!std::isfinite(l)) continue;
      at[i].push_back(l);
      at[j].push_back(l);
    }
  std::vector<double> out = before;
  if (out.size() < m.coords.cols()) out.resize(m.coords.cols(), 0.0);
  for (unsigned v = 0; v < at.size(); ++v) {
    const auto& ls = at[v];
    if (ls.empty()) continue;
    if (p == 0) {
      out[v] = *std::min_element(ls.begin(), ls.end());
    } else if (p == DBL_MAX) {
      out[v] = *std::max_element(ls.begin(), ls.end());
    } else {
      double s = 0;
      for (double l : ls) s += std::pow(l, p);
      out[v] = std::pow(s / double(ls.size()), 1 / p);
    }
  }
  return out;
}

// The gradation of an edge with sizes a and b along it: exp(|a - b|/d) - 1
// (the library's mean size near equal sizes is a series within 2e-7 of it).
double gradation_of(double a, double b, double d) { return std::expm1(std::fabs(a - b) / d); }

}  // namespace

TEST(SizeGeneration, TriangleBySides) {
  // A = (0, 0), B = (3, 0), C = (3, 4): AB = 3, BC = 4, CA = 5.
  const dense2D<double> pos = coordinates(2, {0, 0, 3, 0, 3, 4});
  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2});
  auto means = [&](double p) {
    dense1D<double, 8> H;
    EXPECT_EQ(metrics_gen_iso(pos, tri, ELT_TRIA3, H, p), 0);
    return to_vector(H);
  };
  EXPECT_EQ(means(0), (std::vector<double>{3, 3, 4}));
  EXPECT_EQ(means(DBL_MAX), (std::vector<double>{5, 4, 5}));
  EXPECT_EQ(means(1), (std::vector<double>{4, 3.5, 4.5}));
  EXPECT_TRUE(near(means(2), {std::sqrt(17), std::sqrt(12.5), std::sqrt(20.5)}));
  dense1D<double, 8> H;
  EXPECT_EQ(metrics_gen_iso(pos, tri, ELT_TRIA3, H, NAN), 0);
  EXPECT_TRUE(std::isnan(H[0]));

  // Codes, in order; H untouched by a refused call.
  H = reals({7});
  EXPECT_EQ(metrics_gen_iso(pos, dense2D<unsigned>(3, 0), ELT_TRIA3, H, -1), 0);
  EXPECT_EQ(metrics_gen_iso(pos, tri, element_type(99), H, -1), -3);
  EXPECT_EQ(metrics_gen_iso(pos, connectivity(4, {0, 1, 2, 3}), ELT_TETRA4, H, -1), -1);
  EXPECT_EQ(metrics_gen_iso(pos, connectivity(3, {0, 1, 3}), ELT_TRIA3, H, -1), -2);
  EXPECT_EQ(metrics_gen_iso(pos, tri, ELT_TRIA3, H, -1), -5);
  EXPECT_EQ(metrics_gen_iso(pos, connectivity(6, {0, 1, 2, 0, 1, 2}), ELT_TRIA6, H, 1), -3);
  EXPECT_EQ(metrics_gen_iso(pos, connectivity(3, {0, 1, 2}), ELT_EDGE3, H, 1), -3);
  EXPECT_EQ(metrics_gen_iso(pos, connectivity(2, {0, 1}), ELT_EDGE_MIX, H, 1), -3);
  EXPECT_EQ(to_vector(H), std::vector<double>{7});
  // Three rows of mixed faces are triangles.
  EXPECT_EQ(metrics_gen_iso(pos, tri, ELT_FACE_MIX, H, 1), 0);
  EXPECT_EQ(to_vector(H), (std::vector<double>{4, 3.5, 4.5}));
}

TEST(SizeGeneration, PowerMeansMatchADirectLoopOverElementEdges) {
  auto g = rng(81);
  for (const cell_cut cut : {cell_cut::triangles, cell_cut::mixed_faces, cell_cut::tetrahedra, cell_cut::pyramids,
                             cell_cut::wedges, cell_cut::hexahedra, cell_cut::mixed_solids}) {
    random_mesh m = random_conforming_mesh(g, cut, 4, 3, 3, 0.2);
    m.coords = strided(m.coords);
    m.connect = strided(m.connect);
    const unsigned n = m.coords.cols();
    for (const double p : {0.0, 1.0, 2.0, 0.5, 3.7, DBL_MAX}) {
      SCOPED_TRACE(testing::Message() << "type " << m.type << ", p " << p);
      // H longer than the node count keeps its tail; untouched nodes keep
      // their value.
      std::vector<double> before(n + 3);
      for (double& x : before) x = double(g() % 100);
      dense1D<double, 8> H(n + 3);
      std::copy(before.begin(), before.end(), H.begin());
      ASSERT_EQ(metrics_gen_iso(m.coords, m.connect, m.type, H, p), 0);
      EXPECT_TRUE(near(to_vector(H), direct_means(m, p, before), 1e-13));
      // A short H grows with zeros.
      dense1D<double, 8> S = reals({-1});
      ASSERT_EQ(metrics_gen_iso(m.coords, m.connect, m.type, S, p), 0);
      EXPECT_TRUE(near(to_vector(S), direct_means(m, p, {-1}), 1e-13));
    }
  }
}

TEST(Shock, LargestGradationAtEachNode) {
  auto g = rng(82);
  for (const cell_cut cut : {cell_cut::triangles, cell_cut::tetrahedra}) {
    const random_mesh m = random_conforming_mesh(g, cut, 5, 4, 3, 0.1);
    const unsigned n = m.coords.cols(), dim = m.coords.rows();
    dense2D<unsigned> edges;
    ASSERT_EQ(copy_edges(m.connect, m.type, edges), 0);
    std::uniform_real_distribution<double> u(0.2, 2);
    dense1D<double, 8> H(n);
    dense2D<double> M(dim == 2 ? 3 : 6, n);
    for (unsigned v = 0; v < n; ++v) {
      H[v] = u(g);
      for (unsigned k = 0; k < M.rows(); ++k) M(k, v) = 0;
      for (unsigned k = 0; k < dim; ++k) M(k * (k + 3) / 2, v) = 1 / (H[v] * H[v]);
    }
    std::vector<double> expected(n, 0.0);
    for (unsigned e = 0; e < edges.cols(); ++e) {
      const unsigned i = edges(0, e), j = edges(1, e);
      const double x = gradation_of(H[i], H[j], distance(m.coords, i, j));
      expected[i] = std::max(expected[i], x);
      expected[j] = std::max(expected[j], x);
    }
    dense1D<double, 8> S, T = reals({0.5, 1e300});
    ASSERT_EQ(H_shock(m.coords, strided(edges), H, S), 0);
    EXPECT_TRUE(near(to_vector(S), expected, 1e-6));
    // An isotropic metric field measures the same; S accumulates.
    ASSERT_EQ(H_shock(m.coords, edges, strided(M), T), 0);
    expected[0] = std::max(expected[0], 0.5);
    expected[1] = 1e300;
    EXPECT_TRUE(near(to_vector(T), expected, 1e-6));
  }
}

TEST(Shock, ConstantFieldsAndCodes) {
  const dense2D<double> pos = coordinates(3, {0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 3});
  const dense2D<unsigned> edges = connectivity(2, {0, 1, 1, 2, 2, 3, 3, 0});
  dense2D<double> M(6, 4, 0.0);
  for (unsigned v = 0; v < 4; ++v) M(0, v) = 4, M(1, v) = 1, M(2, v) = 3, M(5, v) = 2;
  dense1D<double, 8> S, H = reals({2, 2, 2, 2});
  ASSERT_EQ(H_shock(pos, edges, H, S), 0);
  EXPECT_EQ(to_vector(S), std::vector<double>(4, 0.0));
  S = reals({5, 5, 5, 5, 5});
  ASSERT_EQ(H_shock(pos, edges, M, S), 0);
  EXPECT_EQ(to_vector(S), std::vector<double>(5, 5.0));
  // Two coincident nodes: zero when their values are equal, the largest
  // double when not.
  const dense2D<double> twice = coordinates(3, {1, 1, 1, 1, 1, 1});
  S = dense1D<double, 8>();
  ASSERT_EQ(H_shock(twice, connectivity(2, {0, 1}), reals({1, 1}), S), 0);
  EXPECT_EQ(to_vector(S), (std::vector<double>{0, 0}));
  ASSERT_EQ(H_shock(twice, connectivity(2, {0, 1}), reals({1, 2}), S), 0);
  EXPECT_EQ(to_vector(S), (std::vector<double>{DBL_MAX, DBL_MAX}));

  // Codes, in order; S untouched by a refused call.
  S = reals({7});
  EXPECT_EQ(H_shock(dense2D<double>(4, 4), dense2D<unsigned>(2, 0), H, S), 0);
  EXPECT_EQ(H_shock(dense2D<double>(4, 4), connectivity(2, {0, 9}), reals({}), S), -1);
  EXPECT_EQ(H_shock(pos, connectivity(2, {0, 4}), reals({}), S), -2);
  EXPECT_EQ(H_shock(pos, connectivity(3, {0, 1, 2}), reals({}), S), -2);
  EXPECT_EQ(H_shock(pos, edges, reals({1, 1, 1}), S), -3);
  EXPECT_EQ(H_shock(pos, edges, M.sub_matrix(0, 0, 6, 3), S), -3);
  EXPECT_EQ(H_shock(coordinates(2, {0, 0, 1, 0, 0, 1, 1, 1}), edges, M, S), -3);
  EXPECT_EQ(to_vector(S), std::vector<double>{7});
}
