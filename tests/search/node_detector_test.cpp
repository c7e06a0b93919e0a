// node_detector (src/search/node_detector.cpp, kd_tree.hpp,
// insertion_path.hpp).
#include <pthread.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <thread>
#include <type_traits>
#include <vector>

#include "search/insertion_path.hpp"
#include "search/kd_tree.hpp"
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
  const dense2D<double> one_row = coordinates(1, {0, 0});
  EXPECT_EQ(d.reinit(one_row), -1);
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

  // One node per call, with memory running out at each allocation in turn
  // (the cache of the insertion walk included): the node is added or the
  // tree is unchanged, and later insertions give the tree grown without
  // failures.
  node_detector plain(pos, ids({0}));
  dense1D<unsigned, 8> one(1);
  for (unsigned i = 1; i < 40; ++i) plain.insert((one[0] = i, one));
  for (unsigned k = 0; k < 6; ++k) {
    node_detector d(pos, ids({0}));
    one[0] = 1;
    zeb::testing::fail_allocations_after(k);
    const unsigned added = d.insert(one);
    zeb::testing::stop_failing_allocations();
    EXPECT_EQ(d.size(), 1 + added);
    for (unsigned i = 1 + added; i < 40; ++i) d.insert((one[0] = i, one));
    EXPECT_EQ(walk(d), walk(plain)) << k;
  }
}

namespace {

// Runs f on a thread of its own with a 128 KiB stack.
template <class F>
void on_small_stack(F f) {
  pthread_attr_t attr;
  ASSERT_EQ(pthread_attr_init(&attr), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attr, 128 * 1024), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(
                &thread, &attr, [](void* p) -> void* { return (*static_cast<F*>(p))(), nullptr; }, &f),
            0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attr);
}

// Spine nodes (i, i), i < n, then leaves (j - 0.5, j - 0.5), 0 < j < n: inserted
// one per call, the spine is a chain of right children and leaf j hangs on
// the left of spine node j.
dense2D<double> caterpillar(unsigned n) {
  dense2D<double> pos(2, 2 * n - 1);
  for (unsigned i = 0; i < n; ++i) pos(0, i) = pos(1, i) = i;
  for (unsigned j = 1; j < n; ++j) pos(0, n + j - 1) = pos(1, n + j - 1) = j - 0.5;
  return pos;
}

void insert_one_by_one(node_detector& d, unsigned from, unsigned to) {
  dense1D<unsigned, 8> one(1);
  for (unsigned i = from; i < to; ++i) {
    one[0] = i;
    d.insert(one);
  }
}

}  // namespace

// A query far out on the diagonal prunes nothing: the search goes down the
// 10,000 spine nodes with every leaf left for later.
TEST(NodeDetector, DeepTreesAreSearchedOnASmallStack) {
  const unsigned n = 10000;
  const dense2D<double> pos = strided(caterpillar(n));
  node_detector d(pos, ids({0}));
  insert_one_by_one(d, 1, pos.cols());
  ASSERT_EQ(d.size(), pos.cols());
  const vector_fixed<double, 2> far(1e6, 1e6 + 1), inside(n / 2 + 0.1, n / 2 + 0.2);
  unsigned found[3] = {};
  on_small_stack([&] {
    found[0] = d.find_closest(far);
    found[1] = d.find_closest(inside);
    found[2] = d.find_closest(n - 1);
  });
  EXPECT_EQ(found[0], n - 1);
  EXPECT_EQ(found[1], n / 2);
  EXPECT_EQ(found[2], 2 * n - 2);  // leaf n - 1, at half the distance of spine node n - 2
  // The same queries while no memory can be had for a deeper walk stack.
  zeb::testing::fail_allocations_after(0);
  const unsigned starved[3] = {d.find_closest(far), d.find_closest(inside), d.find_closest(n - 1)};
  zeb::testing::stop_failing_allocations();
  EXPECT_EQ(std::vector<unsigned>(starved, starved + 3), std::vector<unsigned>(found, found + 3));
}

// A node whose distance is not a number is never the closest, and never
// hides the others.
TEST(NodeDetector, NotANumberAndInfiniteCoordinates) {
  const double nan = std::nan(""), inf = HUGE_VAL;
  for (unsigned first : {0u, 1u}) {
    dense2D<double> two(2, 2, 0.0);
    two(0, 1 - first) = nan;
    const node_detector d(two);
    EXPECT_EQ(d.find_closest(vector_fixed<double, 2>(0, 0)), first);
    EXPECT_EQ(d.find_closest(vector_fixed<double, 2>(5, -3)), first);
    EXPECT_EQ(d.find_closest(1 - first), NO);  // a NaN node has no closest node
    EXPECT_EQ(d.find_closest(first), NO);      // and the NaN node is not it
  }

  // Seeded clouds with NaN and infinite coordinates against a linear scan.
  for (unsigned rows : {2u, 3u}) {
    auto g = rng(60 + rows);
    dense2D<double> pos = cloud_with_copies(g, rows, 600);
    const double odd[] = {nan, -nan, inf, -inf, 1e300, -1e300};
    for (unsigned j = 0; j < pos.cols(); j += 1 + unsigned(g() % 6)) pos(unsigned(g() % rows), j) = odd[g() % 6];
    const dense2D<double> view = strided(pos);
    std::vector<unsigned> all(pos.cols());
    for (unsigned i = 0; i < all.size(); ++i) all[i] = i;
    dense1D<unsigned, 8> half(300), rest(300);
    std::copy(all.begin(), all.begin() + 300, half.begin());
    std::copy(all.begin() + 300, all.end(), rest.begin());
    node_detector built(view), grown(view, half);
    grown.insert(rest);
    std::uniform_real_distribution<double> u(-0.1, 1.1);
    for (unsigned t = 0; t < 400; ++t) {
      double q[3] = {u(g), u(g), u(g)};
      if (t % 4 == 0) q[g() % rows] = odd[g() % 6];
      const unsigned node = unsigned(g() % pos.cols());
      double best = DBL_MAX, best_other = DBL_MAX;
      for (unsigned v : all) {
        const double dq = squared_distance(pos, v, q), dn = squared_distance(pos, v, node);
        if (dq < best) best = dq;
        if (v != node && dn < best_other) best_other = dn;
      }
      for (const node_detector* d : {&built, &grown}) {
        const unsigned c = rows == 2 ? d->find_closest(vector_fixed<double, 2>(q[0], q[1]))
                                     : d->find_closest(vector_fixed<double, 3>(q[0], q[1], q[2]));
        if (best == DBL_MAX)
          EXPECT_EQ(c, NO) << "query " << t;
        else
          EXPECT_TRUE(c != NO && squared_distance(pos, c, q) == best) << "query " << t << " gives " << c;
        const unsigned cn = d->find_closest(node);
        if (best_other == DBL_MAX)
          EXPECT_EQ(cn, NO) << "node " << node;
        else
          EXPECT_TRUE(cn != NO && cn != node && squared_distance(pos, cn, node) == best_other)
              << "node " << node << " gives " << cn;
      }
    }
  }
}

namespace {

// The insertion walk from the root, as first written: the reference that
// the cached walk must match slot for slot.  Appends the slot of `node` to
// `table` and links it; false when the walk meets the node.
template <unsigned D>
bool reference_link(const dense2D<double>& pos, std::vector<unsigned>& table, unsigned node) {
  const unsigned slot = unsigned(table.size() / 3);
  table.insert(table.end(), {node, NO, NO});
  if (slot == 0) return true;
  for (unsigned s = 0, axis = 0;; axis = (axis + 1) % D) {
    const unsigned t = table[3 * s];
    if (t == node) return false;
    const auto a = detail::order_key(pos(axis, t)), b = detail::order_key(pos(axis, node));
    unsigned& child = table[3 * s + ((b < a || (b == a && node < t)) ? 1 : 2)];
    if (child == NO) return (child = slot), true;
    s = child;
  }
}

// The closest-node search as first written, recursive: the visiting order
// the library's walk must keep (among equals the first node met wins), with
// a NaN difference opening both sides.
template <unsigned D>
struct reference_closest {
  detail::kd_view<D> tree;
  const double* q;
  unsigned excluded;
  double best = DBL_MAX;
  unsigned candidate = NO;

  void visit(unsigned s, unsigned axis) {
    if (s == NO) return;
    const unsigned v = tree.node(s);
    const double diff = q[axis] - tree.at(v)[axis];
    if (v != excluded && detail::squared_distance<D>(q, tree.at(v)) < best)
      best = detail::squared_distance<D>(q, tree.at(v)), candidate = v;
    const unsigned near_side = diff < 0 ? tree.left(s) : tree.right(s);
    visit(near_side, (axis + 1) % D);
    if (!(diff * diff >= best)) visit(near_side == tree.left(s) ? tree.right(s) : tree.left(s), (axis + 1) % D);
  }

  unsigned run() {
    for (unsigned k = 0; k < D; ++k)
      if (!std::isfinite(q[k])) return NO;
    for (unsigned s = 0, axis = 0; s != NO; axis = (axis + 1) % D) {  // the descent
      const unsigned v = tree.node(s);
      const double d = detail::squared_distance<D>(q, tree.at(v));
      if (v != excluded && d < best) {
        best = d, candidate = v;
        if (d == 0) return v;
      }
      s = q[axis] - tree.at(v)[axis] < 0 ? tree.left(s) : tree.right(s);
    }
    visit(0, 0);
    return candidate;
  }
};

template <unsigned D>
detail::kd_view<D> view_of(const dense2D<double>& pos, const std::vector<unsigned>& table) {
  return detail::kd_view<D>{pos.data(), pos.ld(), table.data(), unsigned(table.size() / 3)};
}

// Node sets that make chains when inserted one per call (a line in
// increasing order, one place, a diagonal in decreasing order, a grid row by
// row, a random walk), and a cloud with copies and NaN coordinates.
dense2D<double> growth_case(unsigned kind, unsigned rows, unsigned n, std::mt19937_64& g) {
  dense2D<double> pos(rows, n, 0.0);
  std::uniform_real_distribution<double> u(-1, 1);
  for (unsigned j = 0; j < n; ++j) {
    for (unsigned i = 0; i < rows; ++i) {
      double& x = pos(i, j);
      switch (kind) {
        case 0: x = i == 0 ? j : 0.0; break;
        case 1: x = 0.25; break;
        case 2: x = double(n - j); break;
        case 3: x = i == 0 ? j % 40 : i == 1 ? j / 40 : 0.5; break;
        case 4: x = (j ? pos(i, j - 1) : 0.0) + u(g); break;
        default: x = u(g);
      }
    }
  }
  if (kind == 5) {
    const dense2D<double> cloud = cloud_with_copies(g, rows, n);
    for (unsigned j = 0; j < n; ++j)
      for (unsigned i = 0; i < rows; ++i) pos(i, j) = j % 11 == 3 && i == j % rows ? std::nan("") : cloud(i, j);
  }
  return pos;
}

// The insertion order: every node once, with now and then a node inserted
// again (which must be left unlinked).
std::vector<unsigned> growth_order(unsigned n, std::mt19937_64& g) {
  std::vector<unsigned> order;
  for (unsigned j = 0; j < n; ++j) {
    order.push_back(j);
    if (g() % 8 == 0) order.push_back(unsigned(g() % (j + 1)));
  }
  return order;
}

// One walker per node (one node per insert call) or one for all of them
// (one call, which may stop using the cache on the way).
template <unsigned D>
void check_cached_walk(const dense2D<double>& pos, const std::vector<unsigned>& order, unsigned balanced,
                       bool one_walker) {
  // Both trees start balanced over the first nodes.
  std::vector<unsigned> first(order.begin(), order.begin() + balanced), expected, got;
  dense2D<unsigned> built;
  ASSERT_TRUE(detail::build_tree<D>(pos, first.data(), balanced, built));
  expected = got = to_vector(built);
  got.reserve(3 * order.size());  // the walkers keep its address
  std::vector<unsigned> path(detail::PATH_WORDS);
  detail::reset_path(path.data());
  detail::insertion_walk<D> shared(pos.data(), pos.ld(), got.data(), path.data());
  for (unsigned i = balanced; i < order.size(); ++i) {
    const unsigned slot = unsigned(got.size() / 3);
    got.insert(got.end(), {order[i], NO, NO});
    detail::insertion_walk<D> own(pos.data(), pos.ld(), got.data(), path.data());
    ASSERT_EQ((one_walker ? shared : own).link(slot, order[i]), reference_link<D>(pos, expected, order[i]))
        << "node " << i;
  }
  EXPECT_EQ(got, expected);

  // The closest-node search on the grown tree keeps the reference's order.
  auto g = rng(order.size());
  std::uniform_real_distribution<double> u(-2, 2);
  for (unsigned t = 0; t < 200; ++t) {
    const unsigned node = unsigned(g() % pos.cols());
    double q[3];
    for (unsigned k = 0; k < D; ++k) q[k] = t % 3 ? pos(k, node) + (t % 3 == 1 ? 0.0 : u(g) * 1e-3) : u(g) * pos.cols();
    const unsigned excluded = t % 2 ? node : NO;
    reference_closest<D> r{view_of<D>(pos, expected), q, excluded};
    EXPECT_EQ(detail::find_closest_node<D>(view_of<D>(pos, got), q, excluded), r.run()) << "query " << t;
  }
}

}  // namespace

// One node per insertion gives the very tree of the walk from the root.
TEST(NodeDetector, CachedInsertionWalkMatchesTheWalkFromTheRoot) {
  for (unsigned rows : {2u, 3u})
    for (unsigned kind = 0; kind < 6; ++kind) {
      SCOPED_TRACE(testing::Message() << rows << "-D, case " << kind);
      auto g = rng(100 * rows + kind);
      const dense2D<double> pos = strided(growth_case(kind, rows, 1500, g));
      const std::vector<unsigned> order = growth_order(pos.cols(), g);
      for (unsigned balanced : {1u, 200u})
        for (bool one_walker : {false, true}) {
          if (rows == 2)
            check_cached_walk<2>(pos, order, balanced, one_walker);
          else
            check_cached_walk<3>(pos, order, balanced, one_walker);
        }
    }
}

// The same through the detector: counts, slots and answers as the
// reference, and a copy made half way grows like the original.
TEST(NodeDetector, OneNodePerInsertAnswersLikeTheReference) {
  for (unsigned kind : {0u, 1u, 4u, 5u}) {
    SCOPED_TRACE(kind);
    auto g = rng(300 + kind);
    const dense2D<double> pos = strided(growth_case(kind, 3, 1200, g));
    const std::vector<unsigned> order = growth_order(pos.cols(), g);
    std::vector<unsigned> expected;
    node_detector d;
    ASSERT_EQ(d.reinit(pos, ids({order[0]})), 1);
    reference_link<3>(pos, expected, order[0]);
    dense1D<unsigned, 8> one(1);
    node_detector copy;
    for (unsigned i = 1; i < order.size(); ++i) {
      if (i == order.size() / 2) copy = d;
      one[0] = order[i];
      const bool linked = reference_link<3>(pos, expected, order[i]);
      ASSERT_EQ(d.insert(one), linked ? 1u : 0u) << "node " << i;
      if (i >= order.size() / 2) {
        ASSERT_EQ(copy.insert(one), linked ? 1u : 0u) << "copy, node " << i;
      }
    }
    EXPECT_EQ(d.size(), expected.size() / 3);
    EXPECT_EQ(walk(copy), walk(d));
    std::vector<unsigned> visited;
    const double lo[3] = {-DBL_MAX, -DBL_MAX, -DBL_MAX}, hi[3] = {DBL_MAX, DBL_MAX, DBL_MAX};
    dense1D<detail::box_step, 8> stack;
    detail::for_each_in_box<3>(view_of<3>(pos, expected), lo, hi, stack, [&](unsigned v) { visited.push_back(v); });
    EXPECT_EQ(walk(d), visited);
    for (unsigned t = 0; t < 100; ++t) {
      const unsigned node = unsigned(g() % pos.cols());
      reference_closest<3> r{view_of<3>(pos, expected), &pos(0, node), node};
      EXPECT_EQ(d.find_closest(node), r.run()) << "node " << node;
    }
  }
}

// Nodes on both sides of the diagonal, at equal distance from any point on
// it, hang off a long spine: a query far out on the diagonal leaves a far
// side open at every level and has ties to settle.  With and without memory
// for a deep walk stack the answers are the reference's.
TEST(NodeDetector, DeepSearchesKeepTheOrderOfTies) {
  const unsigned n = 2000;
  dense2D<double> pos(2, 3 * n);
  for (unsigned i = 0; i < n; ++i) {
    pos(0, i) = pos(1, i) = i;
    pos(0, n + i) = pos(1, 2 * n + i) = i + 0.25;
    pos(1, n + i) = pos(0, 2 * n + i) = i - 0.25;
  }
  const dense2D<double> view = strided(pos);
  std::vector<unsigned> table;
  for (unsigned j = 0; j < 3 * n; ++j) reference_link<2>(view, table, j);
  auto g = rng(8);
  std::uniform_real_distribution<double> u(0, 3 * n);
  for (unsigned t = 0; t < 40; ++t) {
    const double along = t < 20 ? 1e6 + t : u(g), q[2] = {along, along + (t % 4 == 0 ? 0.1 : 0.0)};
    reference_closest<2> r{view_of<2>(view, table), q, NO};
    const unsigned expected = r.run();
    EXPECT_EQ(detail::find_closest_node<2>(view_of<2>(view, table), q, NO), expected) << "query " << t;
    zeb::testing::fail_allocations_after(0);
    const unsigned starved = detail::find_closest_node<2>(view_of<2>(view, table), q, NO);
    zeb::testing::stop_failing_allocations();
    EXPECT_EQ(starved, expected) << "query " << t;
  }
}

// The detector keeps a pointer to its coordinates: not from a temporary.
template <class P>
concept reinit_from = requires(node_detector& d, P&& p) { d.reinit(static_cast<P&&>(p)); };
static_assert(reinit_from<const dense2D<double>&> && !reinit_from<dense2D<double>> &&
              !reinit_from<const dense2D<double>>);
static_assert(std::is_constructible_v<node_detector, dense2D<double>&> &&
              !std::is_constructible_v<node_detector, dense2D<double>> &&
              !std::is_constructible_v<node_detector, dense2D<double>, dense1D<unsigned, 8>> &&
              !std::is_constructible_v<node_detector, dense2D<double>, dense2D<unsigned>> &&
              !std::is_constructible_v<node_detector, dense2D<double>, dense2D<unsigned>*, dense2D<unsigned>*>);

// A hand-made tree: a spine of left children at one place, each with a leaf
// on the right; the query is closer to the first two leaves (at one
// distance) than to anything else, but its descent goes down the spine and
// every leaf stays open.  Without memory for the walk stack the oldest open
// leaves are forgotten and must be found again, in the same order.
TEST(NodeDetector, ForgottenFarSidesAreFoundAgainInOrder) {
  const unsigned n = 300;
  dense2D<double> pos(2, 2 * n, 1.0);
  pos(0, n) = pos(1, n + 1) = 0.5;
  pos(1, n) = pos(0, n + 1) = 0.0;
  std::vector<unsigned> table(6 * n, NO);
  for (unsigned i = 0; i < n; ++i) {
    table[3 * i] = i;
    table[3 * i + 1] = i + 1 < n ? i + 1 : NO;
    table[3 * i + 2] = n + i;
    table[3 * (n + i)] = n + i;
  }
  const double q[2] = {0, 0};
  reference_closest<2> r{view_of<2>(pos, table), q, NO};
  ASSERT_EQ(r.run(), n + 1);  // the deeper of the two leaves is met first
  zeb::testing::fail_allocations_after(0);
  const unsigned starved = detail::find_closest_node<2>(view_of<2>(pos, table), q, NO);
  zeb::testing::stop_failing_allocations();
  EXPECT_EQ(starved, n + 1);
  EXPECT_EQ(detail::find_closest_node<2>(view_of<2>(pos, table), q, NO), n + 1);
}

// Const queries of one detector from several threads at once: each thread
// gets the answers a single thread gets (run under ThreadSanitizer in CI).
TEST(NodeDetector, ConstQueriesRunConcurrently) {
  auto g = plexa_test::rng(2027);
  const dense2D<double> pos = plexa_test::random_coordinates(g, 3, 3000, -1, 1);
  const dense2D<double> queries = plexa_test::random_coordinates(g, 3, 400, -1.2, 1.2);
  const node_detector d(pos);
  auto answers = [&] {
    std::vector<unsigned> out;
    dense1D<unsigned, 8> box;
    for (unsigned j = 0; j < queries.cols(); ++j) {
      const vector_fixed<double, 3> q(queries(0, j), queries(1, j), queries(2, j));
      out.push_back(d.find_closest(q));
      out.push_back(d.find_closest(j));
      box.clear();
      const vector_fixed<double, 3> lo(q[0] - 0.1, q[1] - 0.1, q[2] - 0.1), hi(q[0] + 0.1, q[1] + 0.1, q[2] + 0.1);
      out.push_back(unsigned(d.find_in_box(lo, hi, box)));
      out.insert(out.end(), box.begin(), box.end());
    }
    return out;
  };
  const std::vector<unsigned> expected = answers();
  std::vector<std::vector<unsigned>> got(4);
  std::vector<std::thread> threads;
  for (unsigned t = 0; t < 4; ++t) threads.emplace_back([&, t] { got[t] = answers(); });
  for (std::thread& t : threads) t.join();
  for (unsigned t = 0; t < 4; ++t) EXPECT_EQ(got[t], expected) << t;
}
