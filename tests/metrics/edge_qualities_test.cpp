// Edge qualities (src/metrics/edge_qualities.cpp, edge_length.hpp) against
// a direct loop over a std::set of the mesh's edges.
#include <cmath>
#include <set>

#include "metrics/metric_samples.hpp"
#include "support/meshes.hpp"

using namespace plexa_test;

namespace {

using pair_set = std::set<std::pair<unsigned, unsigned>>;
using V = std::vector<unsigned>;

// Keeps every value it is given, in order, and counts them as the base does.
struct recorder : zeb::misc::histogram {
  std::vector<double> values;
  void process(double v) override {
    values.push_back(v);
    histogram::process(v);
  }
};

// m r / ln(1 + r), the mean size along an edge whose size varies linearly.
double mean_size(double a, double b) {
  const double m = std::min(a, b), r = (std::max(a, b) - m) / m;
  return r == 0 ? m : m * r / std::log1p(r);
}

// Excluded edges: a third of the set, some reversed, some twice, and random
// node pairs (mostly joined by no edge).
dense2D<unsigned> pick_excluded(std::mt19937_64& g, const pair_set& edges, unsigned nodes, pair_set& removed) {
  V v;
  for (const auto& [a, b] : edges) {
    if (g() % 3) continue;
    removed.insert({a, b});
    if (g() % 2)
      v.insert(v.end(), {a, b});
    else
      v.insert(v.end(), {b, a});
    if (g() % 5 == 0) v.insert(v.end(), {a, b});
  }
  for (int k = 0; k < 10; ++k) {
    const unsigned a = unsigned(g() % nodes), b = unsigned(g() % nodes);
    v.insert(v.end(), {a, b});
    removed.insert({std::min(a, b), std::max(a, b)});
  }
  dense2D<unsigned> m(2, unsigned(v.size() / 2));
  std::copy(v.begin(), v.end(), m.data());
  return strided(m);
}

double distance(const dense2D<double>& pos, unsigned i, unsigned j) {
  double s = 0;
  for (unsigned k = 0; k < pos.rows(); ++k) s += (pos(k, j) - pos(k, i)) * (pos(k, j) - pos(k, i));
  return std::sqrt(s);
}

// e^T M e, written out.
double metric_square(const dense2D<double>& M, unsigned v, const double* e, unsigned dim) {
  const auto m = [&](unsigned k) { return M(k, v); };
  if (dim == 2) return m(0) * e[0] * e[0] + 2 * m(1) * e[0] * e[1] + m(2) * e[1] * e[1];
  return m(0) * e[0] * e[0] + 2 * m(1) * e[0] * e[1] + m(2) * e[1] * e[1] + 2 * m(3) * e[0] * e[2] +
         2 * m(4) * e[1] * e[2] + m(5) * e[2] * e[2];
}

struct expectation {
  std::vector<double> values;
  int kept = 0;
  bool skipped = false;
};

// The direct loop: every edge of the set not removed, in set order; those
// with a node whose size (metric) is not usable are skipped.
template <class Quality>
expectation direct_loop(const pair_set& edges, const pair_set& removed, const std::vector<bool>& usable,
                        Quality quality) {
  expectation x;
  for (const auto& [i, j] : edges) {
    if (removed.count({i, j})) continue;
    ++x.kept;
    if (!usable[i] || !usable[j])
      x.skipped = true;
    else
      x.values.push_back(quality(i, j));
  }
  return x;
}

}  // namespace

TEST(EdgeQuality, LogarithmicMeanWithItsSeriesNearEqualSizes) {
  double q = 7;
  EXPECT_EQ(edge_quality(1, 1, 1, q), 0);
  EXPECT_EQ(q, 1.0);
  EXPECT_EQ(edge_quality(2, 1, 1, q), 0);
  EXPECT_EQ(q, 2.0);
  EXPECT_EQ(edge_quality(3, 2, 2, q), 0);
  EXPECT_EQ(q, 1.5);

  // Below r = 0.1 the series, to the last bit (its constant 19/45 is the
  // double 0.42222222222222217, not the one nearest to 19/45); from r = 0.1
  // on the logarithm.
  for (const double h2 : {1.05, 1.0999999, 0.5, 1.2, 1.1}) {
    const double m = std::min(1.0, h2), r = (std::max(1.0, h2) - m) / m;
    double g;
    if (r < 0.1) {
      const double x = r / 2;
      g = 1 + x * (1 - x * (1.0 / 3 - x * (1.0 / 3 - 0.42222222222222217 * x)));
    } else {
      g = r / std::log(1 + r);
    }
    ASSERT_EQ(edge_quality(0.75, 1, h2, q), 0);
    EXPECT_EQ(q, 0.75 / (m * g)) << h2;
    ASSERT_EQ(edge_quality(0.75, h2, 1, q), 0);
    EXPECT_EQ(q, 0.75 / (m * g)) << h2;
    EXPECT_NEAR(q, 0.75 / mean_size(1, h2), 2e-7) << h2;
  }
  // The accepted step at the switch.
  ASSERT_EQ(edge_quality(1, 1, 1.0999999999, q), 0);
  EXPECT_NEAR(1 / q, 1.0492056944, 1e-10);
  ASSERT_EQ(edge_quality(1, 1, 1.1, q), 0);
  EXPECT_NEAR(1 / q, 1.0492058687, 1e-10);

  EXPECT_EQ(edge_quality(1, 0, 1, q), -2);
  EXPECT_EQ(q, 0.0);
  EXPECT_EQ(edge_quality(1, NAN, -1, q), -2);
  EXPECT_EQ(edge_quality(1, 1, NAN, q), -3);
  EXPECT_EQ(edge_quality(1, 1, -2, q), -3);
}

TEST(EdgeQualities, SizesMatchADirectLoopOverTheEdgeSet) {
  auto g = rng(31);
  for (const cell_cut cut : {cell_cut::tetrahedra, cell_cut::mixed_solids, cell_cut::mixed_faces}) {
    const random_mesh m = random_conforming_mesh(g, cut, 5, 4, 3, 0.1);
    SCOPED_TRACE(testing::Message() << "type " << m.type);
    const unsigned nodes = m.coords.cols();
    std::uniform_real_distribution<double> u(0.3, 1.5);
    dense1D<double> h(nodes);
    std::vector<bool> usable(nodes, true);
    for (unsigned v = 0; v < nodes; ++v) {
      // Mostly close to a smooth field (the series), sometimes far off.
      h[v] = g() % 4 ? 0.5 + 0.02 * m.coords(0, v) : u(g);
      if (g() % 20 == 0) h[v] = g() % 2 ? 0.0 : NAN, usable[v] = false;
    }
    h[m.connect(0, 0)] = -1, usable[m.connect(0, 0)] = false;
    const pair_set edges = vertex_edges(m.connect, m.type);
    pair_set removed;
    const dense2D<unsigned> excluded = pick_excluded(g, edges, nodes, removed);
    const expectation x = direct_loop(edges, removed, usable, [&](unsigned i, unsigned j) {
      return distance(m.coords, i, j) / mean_size(h[i], h[j]);
    });
    ASSERT_TRUE(x.skipped);

    recorder single;
    EXPECT_EQ(edge_qualities(strided(m.coords), strided(m.connect), m.type, h, single, excluded), -4);
    EXPECT_TRUE(near(single.values, x.values, 2e-7));
    EXPECT_EQ(single.count(), x.values.size());

    // The same mesh in two blocks, an edge on the cut written once.
    const unsigned half = m.connect.cols() / 2;
    const dense2D<unsigned> blocks[] = {m.connect.sub_matrix(0, 0, m.connect.rows(), half),
                                        m.connect.sub_matrix(0, half, m.connect.rows(), m.connect.cols() - half)};
    dense1D<int> types(2, int(m.type));
    recorder range;
    EXPECT_EQ(edge_qualities(m.coords, blocks, blocks + 2, types, h, range, excluded), -5);
    EXPECT_EQ(range.values, single.values);

    // With every size usable, the count of the edges kept.
    for (unsigned v = 0; v < nodes; ++v)
      if (!usable[v]) h[v] = 1;
    recorder all;
    EXPECT_EQ(edge_qualities(m.coords, m.connect, m.type, h, all, excluded), x.kept);
    EXPECT_EQ(all.values.size(), std::size_t(x.kept));
  }
}

namespace {

template <unsigned D>
void check_metrics(std::mt19937_64& g, cell_cut cut) {
  const random_mesh m = random_conforming_mesh(g, cut, 4, 4, 3, 0.1);
  const unsigned nodes = m.coords.cols();
  constexpr unsigned P = D * (D + 1) / 2;
  dense2D<double> M(P, nodes);
  std::vector<bool> usable(nodes, true);
  for (unsigned v = 0; v < nodes; ++v) {
    Sym<D> s = random_metric<D>(g, -0.5, 0.5);
    if (g() % 30 == 0) {
      Vec<D> l = spread_values<D>(g, -0.5, 0.5);
      l[g() % D] *= -1;  // indefinite
      s = compose<D>(random_rotation<D>(g), l);
      usable[v] = false;
    }
    for (unsigned k = 0; k < P; ++k) M(k, v) = s[k];
  }
  const pair_set edges = vertex_edges(m.connect, m.type);
  pair_set removed;
  const dense2D<unsigned> excluded = pick_excluded(g, edges, nodes, removed);
  const expectation x = direct_loop(edges, removed, usable, [&](unsigned i, unsigned j) {
    double e[D];
    for (unsigned k = 0; k < D; ++k) e[k] = m.coords(k, j) - m.coords(k, i);
    const double li = std::sqrt(metric_square(M, i, e, D)), lj = std::sqrt(metric_square(M, j, e, D));
    return li * lj / mean_size(li, lj);
  });
  recorder single;
  EXPECT_EQ(edge_qualities(m.coords, m.connect, m.type, strided(M), single, excluded), x.skipped ? -4 : x.kept);
  EXPECT_TRUE(near(single.values, x.values, 2e-7));
  const dense2D<unsigned> blocks[] = {m.connect};
  recorder range;
  EXPECT_EQ(edge_qualities(m.coords, blocks, blocks + 1, dense1D<int>(1, int(m.type)), M, range, excluded),
            x.skipped ? -5 : x.kept);
  EXPECT_EQ(range.values, single.values);

  // A field of the other dimension's row count holds no valid metric.
  dense2D<double> other(D == 2 ? 6 : 3, nodes, 1.0);
  recorder none;
  EXPECT_EQ(edge_qualities(m.coords, m.connect, m.type, other, none, dense2D<unsigned>()), -4);
  EXPECT_EQ(none.count(), 0u);
}

}  // namespace

TEST(EdgeQualities, MetricsMatchADirectLoopOverTheEdgeSet) {
  auto g = rng(32);
  check_metrics<3>(g, cell_cut::tetrahedra);
  check_metrics<3>(g, cell_cut::mixed_solids);
  check_metrics<2>(g, cell_cut::triangles);
  check_metrics<2>(g, cell_cut::quadrangles);
}

TEST(EdgeQualities, CodesInTheOrderTested) {
  const dense2D<double> pos = coordinates(2, {0, 0, 1, 0, 0, 1, 1, 1});
  const dense2D<double> line = coordinates(1, {0, 1, 2, 3});
  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2, 1, 3, 2});
  const dense2D<unsigned> far = connectivity(3, {0, 1, 4});
  const dense1D<double> h = reals({1, 1, 1, 1}), short_h = reals({1, 1, 1});
  const dense2D<unsigned> none, bad_rows = connectivity(3, {0, 1, 2}), bad_node = connectivity(2, {0, 4});
  recorder r;
  const dense2D<unsigned> blocks[] = {tri, far};
  const dense1D<int> one(1, int(ELT_TRIA3)), two(2, int(ELT_TRIA3)), odd(1, 99);

  EXPECT_EQ(edge_qualities(line, blocks, blocks, two, h, r, none), 0);
  EXPECT_EQ(edge_qualities(line, blocks, blocks + 1, one, h, r, none), -1);
  EXPECT_EQ(edge_qualities(pos, blocks + 1, blocks, one, h, r, none), -3);
  EXPECT_EQ(edge_qualities(pos, blocks, blocks + 1, two, h, r, none), -4);
  EXPECT_EQ(edge_qualities(pos, blocks, blocks + 1, odd, h, r, none), -4);
  EXPECT_EQ(edge_qualities(pos, blocks, blocks + 2, two, h, r, none), -2);
  EXPECT_EQ(edge_qualities(pos, blocks, blocks + 1, one, h, r, bad_rows), -7);
  EXPECT_EQ(edge_qualities(pos, blocks, blocks + 1, one, h, r, bad_node), -7);
  EXPECT_EQ(edge_qualities(pos, blocks, blocks + 1, one, short_h, r, none), -5);
  EXPECT_EQ(r.count(), 3u);  // (0, 1), (0, 2), (1, 2); the edges at node 3 are skipped
  EXPECT_EQ(edge_qualities(pos, blocks, blocks + 1, one, h, r, connectivity(2, {2, 1, 9 % 4, 3})), 3);

  EXPECT_EQ(edge_qualities(line, tri, ELT_TRIA3, h, r, none), -1);
  EXPECT_EQ(edge_qualities(pos, tri, element_type(99), h, r, none), -3);
  EXPECT_EQ(edge_qualities(pos, far, ELT_TRIA3, h, r, none), -2);
  EXPECT_EQ(edge_qualities(pos, tri, ELT_TRIA3, h, r, bad_rows), -6);
  EXPECT_EQ(edge_qualities(pos, tri, ELT_TRIA3, short_h, r, none), -4);
  EXPECT_EQ(edge_qualities(pos, none, ELT_TRIA3, h, r, none), 0);
  EXPECT_EQ(edge_qualities(pos, connectivity(20, {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3}),
                           ELT_HEXA20, h, r, none),
            0);
}

TEST(EdgeQualities, NothingReachesTheHistogramWhenMemoryRunsOut) {
  auto g = rng(33);
  const random_mesh m = random_conforming_mesh(g, cell_cut::mixed_solids, 2, 2, 2, 0.0);
  dense2D<double> M(6, m.coords.cols());
  for (unsigned v = 0; v < M.cols(); ++v)
    for (unsigned k = 0; k < 6; ++k) M(k, v) = k == 0 || k == 2 || k == 5 ? 1.0 : 0.0;
  const dense2D<unsigned> excluded = connectivity(2, {1, 0});
  recorder r;
  const int expected = edge_qualities(m.coords, m.connect, m.type, M, r, excluded);
  ASSERT_GT(expected, 0);
  EXPECT_GE(for_each_allocation_failure(
                [&] {
                  r = recorder();
                  return edge_qualities(m.coords, m.connect, m.type, M, r, excluded);
                },
                [&] { EXPECT_EQ(r.count(), 0u); }),
            3u);
}
