#include <algorithm>
#include <cfloat>

#include "search/mt19937.hpp"
#include "search/point_cloud.hpp"

using namespace zeb::plexa;
using namespace plexa_test;
using zeb::vector_fixed;

namespace {

template <unsigned D>
vector_fixed<double, D> point(const double* q) {
  vector_fixed<double, D> p;
  std::copy(q, q + D, p.data());
  return p;
}

// Checks find_closest (point and node forms) and find_in_box of `d` against
// a linear scan over the indexed nodes.
template <unsigned D>
void check_against_scan(const node_detector& d, const dense2D<double>& pos, const std::vector<unsigned>& indexed,
                        std::mt19937_64& g) {
  std::uniform_real_distribution<double> u(-0.1, 1.1);
  for (unsigned t = 0; t < 300; ++t) {
    double q[3] = {u(g), u(g), u(g)};
    if (t % 2)  // half of the queries sit on a node (exact hits and near ties)
      for (unsigned i = 0, a = unsigned(g() % pos.cols()); i < D; ++i) q[i] = pos(i, a);
    double best = DBL_MAX;
    for (unsigned v : indexed) best = std::min(best, squared_distance(pos, v, q));
    const unsigned c = d.find_closest(point<D>(q));
    ASSERT_NE(c, NO);
    EXPECT_EQ(squared_distance(pos, c, q), best) << "query " << t;

    const unsigned node = indexed[g() % indexed.size()];
    best = DBL_MAX;
    for (unsigned v : indexed)
      if (v != node) best = std::min(best, squared_distance(pos, v, node));
    const unsigned cn = d.find_closest(node);
    ASSERT_NE(cn, node);
    EXPECT_EQ(squared_distance(pos, cn, node), best) << "node " << node;

    double lo[3], hi[3];
    for (unsigned i = 0; i < 3; ++i) {
      const double a = u(g), b = u(g) * 0.3;
      lo[i] = a - b;
      hi[i] = a + b;
    }
    if (t % 3 == 0)  // a degenerate box on a node
      for (unsigned i = 0; i < D; ++i) lo[i] = hi[i] = pos(i, node);
    std::vector<unsigned> expected;
    for (unsigned v : indexed) {
      bool in = true;
      for (unsigned i = 0; i < D; ++i) in = in && lo[i] <= pos(i, v) && pos(i, v) <= hi[i];
      if (in) expected.push_back(v);
    }
    dense1D<unsigned, 8> found = ids({77});  // results are appended
    const int r = d.find_in_box(point<D>(lo), point<D>(hi), found);
    std::vector<unsigned> got = to_vector(found);
    ASSERT_EQ(got.front(), 77u);
    got.erase(got.begin());
    EXPECT_EQ(r, int(got.size()));
    std::sort(got.begin(), got.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(got, expected) << "box " << t;
  }
}

// Visiting order of the whole tree: equal for identical trees.
std::vector<unsigned> walk(const node_detector& d) {
  dense1D<unsigned, 8> all;
  d.find_in_box(vector_fixed<double, 3>(-DBL_MAX, -DBL_MAX, -DBL_MAX), vector_fixed<double, 3>(DBL_MAX, DBL_MAX, DBL_MAX),
                all);
  return to_vector(all);
}

}  // namespace

TEST(NodeDetector, QueriesMatchALinearScanAfterBuildAndInsert) {
  for (unsigned rows : {2u, 3u}) {
    SCOPED_TRACE(rows);
    auto g = rng(40 + rows);
    // Strided coordinates: the tree must walk them with their leading dimension.
    const dense2D<double> pos = strided(cloud_with_copies(g, rows, 1500));
    const auto check = rows == 2 ? check_against_scan<2> : check_against_scan<3>;
    std::vector<unsigned> all(pos.cols());
    for (unsigned i = 0; i < pos.cols(); ++i) all[i] = i;
    node_detector whole(pos);
    EXPECT_EQ(whole.size(), pos.cols());
    check(whole, pos, all, g);

    // A tree built on the first half, then grown by insertion (twice the
    // second half: the repeats are left unlinked).
    dense1D<unsigned, 8> first(700), rest(800);
    std::copy(all.begin(), all.begin() + 700, first.begin());
    std::copy(all.begin() + 700, all.end(), rest.begin());
    node_detector grown;
    EXPECT_EQ(grown.insert(rest), 0u);  // empty detector
    EXPECT_EQ(grown.reinit(pos, first), 700);
    check(grown, pos, to_vector(first), g);
    EXPECT_EQ(grown.insert(rest), 800u);
    EXPECT_EQ(grown.insert(rest), 0u);
    EXPECT_EQ(grown.size(), 2300u);
    check(grown, pos, all, g);
    EXPECT_EQ(walk(grown).size(), pos.cols());

    // Same inputs, same trees.
    node_detector again(pos, first);
    again.insert(rest);
    EXPECT_EQ(walk(again), walk(grown));
    EXPECT_EQ(walk(node_detector(pos)), walk(whole));
  }
}

TEST(NodeDetector, ExactCopiesAndMixedDimensions) {
  const dense2D<double> pos = coordinates(3, {0, 0, 0, 1, 1, 1, 1, 1, 1, 2, 0, 0});
  node_detector d(pos);
  // Two nodes at one place: each finds the other.
  EXPECT_EQ(d.find_closest(1u), 2u);
  EXPECT_EQ(d.find_closest(2u), 1u);
  EXPECT_EQ(d.find_closest(4u), NO);
  const unsigned at = d.find_closest(vector_fixed<double, 3>(1, 1, 1));
  EXPECT_TRUE(at == 1 || at == 2);
  // A 2-D query on a 3-D tree is taken at z = 0.
  EXPECT_EQ(d.find_closest(vector_fixed<double, 2>(1.6, 0.1)), 3u);
  dense1D<unsigned, 8> box;
  EXPECT_EQ(d.find_in_box(vector_fixed<double, 2>(-1, -1), vector_fixed<double, 2>(5, 5), box), 2);
  EXPECT_EQ(box.size(), 2u);

  // A node with only the excluded node on its descent still finds the other.
  const dense2D<double> two = coordinates(2, {0, 0, -1, 0});
  node_detector t(two);
  EXPECT_EQ(t.find_closest(0u), 1u);
  EXPECT_EQ(t.find_closest(1u), 0u);
  EXPECT_EQ(node_detector(two, ids({0})).find_closest(0u), NO);
}

TEST(NodeDetector, LifecycleCopiesAndArguments) {
  dense2D<double> pos = coordinates(2, {0, 0, 1, 0, 0, 1, 1, 1});
  node_detector d(pos, connectivity(3, {0, 1, 2}));
  EXPECT_EQ(d.size(), 3u);
  EXPECT_EQ(d.reinit(coordinates(4, {0, 0, 0, 0})), -1);
  EXPECT_EQ(d.reinit(pos, ids({0, 9})), -2);
  const dense2D<unsigned> range[2] = {connectivity(2, {0, 1}), connectivity(1, {3, NO})};
  EXPECT_EQ(d.reinit(pos, range + 2, range), -3);
  EXPECT_EQ(d.size(), 3u);  // failures keep the previous tree
  EXPECT_EQ(d.find_closest(vector_fixed<double, 2>(0.9, 0.2)), 1u);

  node_detector copy(d);
  EXPECT_EQ(copy.insert(connectivity(2, {3, 3})), 1u);
  EXPECT_TRUE(copy.size() == 4 && d.size() == 3);
  EXPECT_EQ(copy.find_closest(vector_fixed<double, 2>(0.9, 0.9)), 3u);
  d.clear();
  EXPECT_EQ(d.size(), 0u);
  EXPECT_EQ(d.find_closest(vector_fixed<double, 2>(0, 0)), NO);
  d = copy;
  EXPECT_EQ(walk(d), walk(copy));

  // Nodes appended to the caller's matrix later can be inserted.
  EXPECT_EQ(d.reinit(pos, range, range + 2), 3);
  ASSERT_TRUE(pos.resize(2, 5, 5.0));
  EXPECT_EQ(d.insert(ids({4, 7, NO})), 1u);
  EXPECT_EQ(d.find_closest(vector_fixed<double, 2>(4, 4)), 4u);
}

TEST(NodeDetector, MemoryFailuresLeaveTheTreeAsItWas) {
  auto g = rng(9);
  const dense2D<double> pos = random_coordinates(g, 3, 200);
  node_detector d(pos, ids({0, 1, 2})), grown(pos, ids({0}));
  const std::vector<unsigned> before = walk(d);
  EXPECT_GT(for_each_allocation_failure([&] { return d.reinit(pos); }, [&] { EXPECT_EQ(walk(d), before); }), 0u);
  EXPECT_EQ(d.size(), 200u);
  dense1D<unsigned, 8> out;
  const vector_fixed<double, 3> lo(0, 0, 0), hi(1, 1, 1);
  EXPECT_GT(for_each_allocation_failure([&] { return d.find_in_box(lo, hi, out); }, [&] { EXPECT_TRUE(out.empty()); }),
            0u);
  const dense1D<unsigned, 8> more = ids({1, 2});
  zeb::testing::fail_allocations_after(0);
  EXPECT_EQ(grown.insert(more), 0u);
  zeb::testing::stop_failing_allocations();
  EXPECT_EQ(grown.size(), 1u);
}

TEST(NodeDetector, ShuffleGeneratorIsTheStandardMersenneTwister) {
  detail::mt19937 mine(1);
  std::mt19937 standard(1);
  for (unsigned k = 0; k < 2000; ++k) ASSERT_EQ(mine(), standard()) << k;
}
