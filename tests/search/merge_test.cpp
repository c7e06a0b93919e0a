// Node merging (src/search/merge.cpp, coincident_sources.hpp, the implicit
// tree of kd_tree.hpp).
#include <cmath>

#include "search/kd_tree.hpp"
#include "search/merge_core.hpp"
#include "search/point_cloud.hpp"

using namespace zeb::plexa;
using namespace plexa_test;

namespace {

std::vector<unsigned> distinct(const std::vector<unsigned>& v) {
  std::vector<unsigned> out;
  for (unsigned x : v)
    if (x != NO && std::find(out.begin(), out.end(), x) == out.end()) out.push_back(x);
  return out;
}

// The rank rule by brute force: every source ends on the root of one of its
// closest targets of smaller rank within the tolerance (several when copies
// tie), or stays; nothing else moves; every entry is a root.
testing::AssertionResult follows_rank_rule(const dense2D<double>& pos, const std::vector<unsigned>& S,
                                           const std::vector<unsigned>& T, double tol,
                                           const std::vector<unsigned>& got) {
  if (got.size() != pos.cols()) return testing::AssertionFailure() << "map size " << got.size();
  std::vector<unsigned> rank(pos.cols(), NO), expected_fixed(pos.cols(), 1);
  for (unsigned k = 0; k < T.size(); ++k) rank[T[k]] = k;
  for (unsigned s : S) {
    expected_fixed[s] = 0;
    double best = tol * tol;
    bool any = false;
    for (unsigned c : T)
      if (rank[c] < rank[s] && squared_distance(pos, c, s) <= best) best = squared_distance(pos, c, s), any = true;
    bool ok = !any && got[s] == s;
    for (unsigned c : T)
      ok = ok || (any && rank[c] < rank[s] && squared_distance(pos, c, s) == best && got[c] == got[s]);
    if (!ok) return testing::AssertionFailure() << "source " << s << " maps to " << got[s];
  }
  for (unsigned i = 0; i < got.size(); ++i)
    if (got[got[i]] != got[i] || (expected_fixed[i] && got[i] != i))
      return testing::AssertionFailure() << "entry " << i << " maps to " << got[i];
  return testing::AssertionSuccess();
}

}  // namespace

TEST(Merge, SelfMergeAndNodeListsFollowTheRankRule) {
  for (unsigned rows : {2u, 3u})
    for (double tol : {0.0, 1e-8, 0.03}) {
      SCOPED_TRACE(testing::Message() << rows << "-D, tolerance " << tol);
      auto g = rng(7 * rows);
      const dense2D<double> original = cloud_with_copies(g, rows, 1200);
      dense2D<double> pos = strided(original);
      std::vector<unsigned> all(pos.cols());
      for (unsigned i = 0; i < all.size(); ++i) all[i] = i;
      dense1D<unsigned, 8> map;
      const int merged = merge(pos, map, tol);
      const std::vector<unsigned> got = to_vector(map);
      // The rule also keeps surviving nodes farther apart than the tolerance.
      EXPECT_TRUE(follows_rank_rule(original, all, all, tol, got));
      EXPECT_EQ(merged, int(std::count_if(all.begin(), all.end(), [&](unsigned i) { return got[i] != i; })));
      EXPECT_GT(merged, 300);
      ASSERT_EQ(pos.cols(), original.cols());
      for (unsigned i = 0; i < pos.cols(); ++i)
        for (unsigned r = 0; r < rows; ++r) ASSERT_EQ(pos(r, i), original(r, got[i]));
      // Node lists: sources onto targets, then one list for both (each node
      // onto the closest node listed before it).
      dense1D<unsigned, 8> nodes1(700), nodes2(500);
      for (unsigned k = 0; k < 700; ++k) nodes1[k] = k % 50 == 0 ? NO : unsigned(g() % 1200);
      for (unsigned k = 0; k < 500; ++k) nodes2[k] = unsigned(g() % 1200);
      const auto l1 = distinct(to_vector(nodes1)), l2 = distinct(to_vector(nodes2));
      EXPECT_GT(merge(original, nodes1, nodes2, map, tol), 0);
      EXPECT_TRUE(follows_rank_rule(original, l1, l2, tol, to_vector(map)));
      EXPECT_GE(merge(original, nodes1, map, tol), 0);
      EXPECT_TRUE(follows_rank_rule(original, l1, l1, tol, to_vector(map)));
    }
}

TEST(Merge, SmallCasesAndCodes) {
  dense2D<double> line = coordinates(2, {0, 0, 0.6, 0, 1.2, 0});
  dense1D<unsigned, 8> map = ids({5});
  EXPECT_EQ(merge(line, map, 1.0), 2);
  EXPECT_EQ(to_vector(map), (std::vector<unsigned>{0, 0, 0}));
  EXPECT_EQ(to_vector(line), (std::vector<double>{0, 0, 0, 0, 0, 0}));
  // A node in both lists is never merged onto a node listed after it; the
  // list may be the output itself.
  const dense2D<double> pos = coordinates(3, {0, 0, 0, 0, 0, 0, 0, 0, 0, 9, 9, 9});
  EXPECT_EQ(merge(pos, ids({2, 1, 0}), map, 0.0), 2);
  EXPECT_EQ(to_vector(map), (std::vector<unsigned>{2, 2, 2, 3}));
  map = ids({3, 1, 0});
  EXPECT_EQ(merge(pos, map, map, 0.0), 1);
  EXPECT_EQ(to_vector(map), (std::vector<unsigned>{1, 1, 2, 3}));

  const double nan = std::nan("");
  map = ids({5});
  EXPECT_EQ(merge(pos, ids({}), map, 1.0), 0);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(merge(dense2D<double>(3, 0), ids({0}), map, 1.0), 0);
  EXPECT_EQ(merge(coordinates(1, {0, 1}), ids({0}), map, 1.0), -1);
  EXPECT_EQ(merge(pos, ids({4}), ids({0}), map, 1.0), -2);
  EXPECT_EQ(merge(pos, ids({0}), ids({4}), map, 1.0), -3);
  EXPECT_EQ(merge(pos, ids({0}), map, nan), -4);
  EXPECT_EQ(merge(pos, ids({0}), map, -1.0), -4);
  dense2D<double> own = pos, bad = coordinates(1, {0});
  EXPECT_EQ(merge(own, nan), -3);
  EXPECT_EQ(merge(own, map, -0.5), -3);
  EXPECT_EQ(merge(bad, 1.0), -1);
  dense2D<unsigned> tri = connectivity(3, {0, 1, 2}), wrong = connectivity(2, {0, 4});
  EXPECT_EQ(merge(pos, tri, map, nan, 0), -5);
  EXPECT_EQ(merge(pos, tri, map, 1.0, 3), -6);
  EXPECT_EQ(merge(pos, &tri + 1, &tri, map, 1.0, 0), -3);
  EXPECT_EQ(merge(pos, tri, wrong, map, 1.0, 0), -2);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(to_vector(tri), (std::vector<unsigned>{0, 1, 2}));
  EXPECT_EQ(merge(pos, &tri, &tri, map, nan, 9), 0);
}

// Pieces A (0 1 2), B (3 5 4)(5 6 4) and C (7 8 9): B's nodes 3 and 4 lie on
// A's 1 and 2, node 6 next to 5 inside B, C's node 7 on B's 5.
TEST(Merge, ConnectivityModes) {
  const dense2D<double> pos =
      coordinates(2, {0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 1, 1, 1 + 1e-9, 1, 1, 1, 3, 3, 4, 3});
  const struct { unsigned mode; int merged; std::vector<unsigned> map; } cases[] = {
      {0, 4, {0, 1, 2, 1, 2, 5, 5, 5, 8, 9}}, {1, 3, {0, 1, 2, 1, 2, 5, 6, 5, 8, 9}},
      {2, 2, {0, 1, 2, 1, 2, 5, 6, 7, 8, 9}}};
  for (const auto& e : cases) {
    SCOPED_TRACE(e.mode);
    dense2D<unsigned> range[3] = {connectivity(3, {0, 1, 2}), strided(connectivity(3, {3, 5, 4, 5, 6, 4})),
                                  connectivity(3, {7, 8, 9})};
    dense1D<unsigned, 8> map;
    EXPECT_EQ(merge(pos, range, range + 3, map, 1e-6, e.mode), e.merged);
    EXPECT_EQ(to_vector(map), e.map);
    const auto m = [&](unsigned v) { return e.map[v]; };
    EXPECT_EQ(to_vector(range[1]), (std::vector<unsigned>{m(3), m(5), m(4), m(5), m(6), m(4)}));
    EXPECT_EQ(range[2](0, 0), m(7));
  }
  // One connectivity: only mode 0 merges; two connectivities: connect1 is the first piece.
  dense2D<unsigned> b = connectivity(3, {3, 5, 4, 5, 6, 4});
  EXPECT_EQ(merge(pos, b, 1e-6, 1), 0);
  EXPECT_EQ(merge(pos, b, 1e-6, 0), 1);
  EXPECT_EQ(to_vector(b), (std::vector<unsigned>{3, 5, 4, 5, 5, 4}));
  dense2D<unsigned> a = connectivity(3, {0, 1, 2}), c = connectivity(4, {NO, 1, 3, 4});
  EXPECT_EQ(merge(pos, a, c, 0.0, 2), 2);
  EXPECT_EQ(to_vector(c), (std::vector<unsigned>{NO, 1, 1, 2}));
}

TEST(Merge, MemoryFailuresLeaveEverythingAsItWas) {
  auto g = rng(5);
  const dense2D<double> cloud = cloud_with_copies(g, 3, 300);
  const dense2D<unsigned> tris = random_connectivity(g, 3, 200, 300);
  dense2D<unsigned> connect;
  dense2D<double> pos;
  dense1D<unsigned, 8> map;
  auto unchanged = [&] {
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(to_vector(connect), to_vector(tris));
    EXPECT_EQ(to_vector(pos), to_vector(cloud));
  };
  ASSERT_TRUE(connect.copy(tris) && pos.copy(cloud));
  EXPECT_GT(for_each_allocation_failure([&] { return merge(pos, connect, map, 1e-6, 0); }, unchanged), 3u);
  ASSERT_TRUE(connect.copy(tris) && pos.copy(cloud));
  EXPECT_GT(for_each_allocation_failure([&] { return merge(pos, map, 1e-6); }, unchanged), 3u);
  EXPECT_NE(to_vector(pos), to_vector(cloud));
}


// The merging core walks an implicit copy of the detector's balanced tree:
// both visit the nodes of a box in the same order (the tie rule depends on it).
TEST(Merge, ImplicitTreeVisitsLikeTheDetector) {
  auto g = rng(21);
  const dense2D<double> pos = cloud_with_copies(g, 3, 700);
  dense1D<unsigned, 8> nodes(500), found;
  for (unsigned k = 0; k < 500; ++k) nodes[k] = (k * 7) % 700;
  node_detector d(pos, nodes);
  dense1D<detail::build_item<3>, 8> items;
  ASSERT_TRUE(detail::gather_items<3>(pos, nodes.data(), 500, items));
  detail::order_implicit<3>(items.data(), 0, 500, 0);
  dense1D<detail::range_step, 8> stack;
  for (double half : {0.05, 0.3, 2.0}) {
    const zeb::vector_fixed<double, 3> lo(0.5 - half, 0.4 - half, 0.6 - half), hi(0.5 + half, 0.4 + half, 0.6 + half);
    std::vector<unsigned> implicit_order;
    detail::for_each_in_box<3>(items.data(), 500, lo.data(), hi.data(), stack,
                               [&](const auto& item) { implicit_order.push_back(item.node); });
    found.clear();
    d.find_in_box(lo, hi, found);
    EXPECT_EQ(implicit_order, to_vector(found));
  }
}

namespace {

// The merging rule written out, O(n^2): every source against every target
// inside its box, in the order the tree visits them (pre-order of the
// balanced tree, which decides among equal distances), then the chains
// flattened.  limit(r) bounds the eligible target ranks of a source of rank r.
template <unsigned D, class Limit>
std::vector<unsigned> merge_by_definition(const dense2D<double>& pos, const std::vector<unsigned>& S,
                                          const std::vector<unsigned>& T, double tol, Limit limit) {
  dense1D<detail::build_item<D>, 8> items;
  detail::gather_items<D>(pos, T.data(), unsigned(T.size()), items);
  detail::order_implicit<D>(items.data(), 0, items.size(), 0);
  std::vector<unsigned> preorder, rank(pos.cols(), NO), map(pos.cols());
  const auto visit = [&](auto&& self, unsigned lo, unsigned hi) -> void {
    if (lo == hi) return;
    const unsigned m = lo + (hi - lo) / 2;
    preorder.push_back(items[m].node);
    self(self, lo, m);
    self(self, m + 1, hi);
  };
  visit(visit, 0, items.size());
  for (unsigned k = 0; k < T.size(); ++k) rank[T[k]] = k;
  for (unsigned i = 0; i < map.size(); ++i) map[i] = i;
  for (unsigned s : S) {
    double p[D], c[D];
    for (unsigned k = 0; k < D; ++k) p[k] = pos(k, s);
    unsigned best = s;
    double bound = tol * tol;
    for (unsigned t : preorder) {
      bool inside = true;
      for (unsigned k = 0; k < D; ++k) inside = inside && p[k] - tol <= (c[k] = pos(k, t)) && c[k] <= p[k] + tol;
      const double q = detail::squared_distance<D>(c, p);
      if (inside && q <= bound && rank[t] < limit(rank[s])) best = t, bound = q;
    }
    map[s] = best;
  }
  for (unsigned& m : map)
    while (map[m] != m) m = map[m];
  return map;
}

// Nodes at a few dozen places, most of them many times over: places apart,
// places closer than the tolerance, places whose squared distance underflows
// to 0, -0 beside +0, and NaN coordinates.
dense2D<double> clustered(unsigned rows, unsigned n, std::mt19937_64& g) {
  std::vector<std::vector<double>> places;
  std::uniform_real_distribution<double> u(0, 1);
  for (unsigned k = 0; k < 30; ++k) {
    std::vector<double> x(rows);
    for (double& v : x) v = u(g);
    places.push_back(x);
    x[0] += 4e-4;  // a neighbour within the larger tolerance
    places.push_back(x);
  }
  for (unsigned k = 1; k < 6; ++k) places.push_back(std::vector<double>(rows, k * 1e-170));
  places.push_back(std::vector<double>(rows, 0.0));
  places.push_back(std::vector<double>(rows, -0.0));
  places.push_back(std::vector<double>(rows, std::nan("")));
  dense2D<double> pos(rows, n);
  for (unsigned j = 0; j < n; ++j) {
    // Skewed: the first places take most nodes.
    const auto& x = places[std::min<std::size_t>(g() % places.size(), g() % places.size())];
    for (unsigned i = 0; i < rows; ++i) pos(i, j) = x[i];
  }
  return pos;
}

}  // namespace

// Clusters of coincident nodes are answered from kept answers: the results
// are those of the rule applied to every pair.
TEST(Merge, CoincidentClustersFollowTheDefinition) {
  for (unsigned rows : {2u, 3u})
    for (double tol : {0.0, 1e-3, 0.2}) {
      SCOPED_TRACE(testing::Message() << rows << "-D, tolerance " << tol);
      auto g = rng(11 * rows);
      const dense2D<double> pos = strided(clustered(rows, 1600, g));
      const auto check = [&](const std::vector<unsigned>& S, const std::vector<unsigned>& T, auto limit,
                             const dense1D<unsigned, 8>& got, int merged) {
        const std::vector<unsigned> expected = rows == 2 ? merge_by_definition<2>(pos, S, T, tol, limit)
                                                         : merge_by_definition<3>(pos, S, T, tol, limit);
        EXPECT_EQ(to_vector(got), expected);
        EXPECT_EQ(merged, int(std::count_if(S.begin(), S.end(), [&](unsigned s) { return expected[s] != s; })));
      };
      const auto below = [](unsigned r) { return r; };

      // Every node among all nodes, in index order.
      std::vector<unsigned> all(pos.cols());
      for (unsigned i = 0; i < all.size(); ++i) all[i] = i;
      dense1D<unsigned, 8> map;
      dense2D<double> moved = pos;
      check(all, all, below, map, merge(moved, map, tol));

      // Sources onto other targets, both lists in shuffled order.
      std::vector<unsigned> S(all.begin(), all.begin() + 1000), T(all.begin() + 600, all.end());
      std::shuffle(S.begin(), S.end(), g);
      std::shuffle(T.begin(), T.end(), g);
      dense1D<unsigned, 8> list1(unsigned(S.size())), list2(unsigned(T.size()));
      std::copy(S.begin(), S.end(), list1.begin());
      std::copy(T.begin(), T.end(), list2.begin());
      check(S, T, below, map, merge(pos, list1, list2, map, tol));

      // Pieces: connectivities of 400 nodes each, modes 1 and 2.
      for (unsigned mode : {1u, 2u}) {
        dense2D<unsigned> pieces[4];
        for (unsigned k = 0; k < 4; ++k) {
          pieces[k] = dense2D<unsigned>(1, 400);
          for (unsigned j = 0; j < 400; ++j) pieces[k](0, j) = all[400 * k + j];
        }
        const auto piece_start = [&](unsigned r) {
          const unsigned start = r / 400 * 400;
          return mode == 1 ? start : (r < 400 ? 0u : 400u);
        };
        check(all, all, piece_start, map, merge(pos, pieces, pieces + 4, map, tol, mode));
      }
    }
}

// Memory for the answers kept at coincident places is checked too.
TEST(Merge, MemoryFailuresWithCoincidentClusters) {
  auto g = rng(6);
  const dense2D<double> cloud = clustered(3, 600, g);
  dense2D<double> pos;
  dense1D<unsigned, 8> map;
  ASSERT_TRUE(pos.copy(cloud));
  const unsigned failing = for_each_allocation_failure([&] { return merge(pos, map, 1e-3); }, [&] {
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(to_vector(pos), to_vector(cloud));
  });
  EXPECT_GT(failing, 8u);
  unsigned merged = 0;
  for (unsigned i = 0; i < map.size(); ++i) merged += map[i] != i;
  EXPECT_GT(merged, 400u);
}

// The grid of bins answers the sources whose answer does not depend on the
// visiting order, the tree the rest: on seeded random inputs full of ties
// (lattice points, where many candidates sit at one distance, copies, -0
// beside +0, NaN and infinite coordinates, coordinates so small that squared
// distances underflow) the maps are those of the tree alone, for every form
// of the core.
TEST(Merge, GridAnswersAreTheTreeAnswers) {
  unsigned by_grid = 0;
  for (unsigned seed = 0; seed < 400; ++seed) {
    auto g = rng(seed);
    const unsigned rows = 2 + seed % 2, n = 1 + unsigned(g() % 300), spacing = 1 + unsigned(g() % 6);
    const double scales[] = {1.0, 1e-170, 1e10}, tolerances[] = {0.0, 0.001, 0.5, 1.0, 1.5, 3.0};
    const double scale = scales[g() % 3], tol = tolerances[g() % 6] * scale;
    dense2D<double> pos(rows, n);
    for (unsigned j = 0; j < n; ++j)
      for (unsigned i = 0; i < rows; ++i) {
        const unsigned kind = unsigned(g() % 10);
        pos(i, j) = scale * (kind < 5 ? double(g() % spacing) : kind < 9 ? double(g() % 1000) / 997.0 * spacing
                                                                         : (g() % 2 ? -0.0 : 0.0));
      }
    if (g() % 5 == 0) pos(0, unsigned(g() % n)) = std::nan("");
    if (g() % 5 == 0) pos(rows - 1, unsigned(g() % n)) = -std::numeric_limits<double>::infinity();
    const auto random_list = [&] {
      dense1D<unsigned, 8> list(1 + unsigned(g() % n)), distinct;
      for (unsigned& v : list) v = unsigned(g() % n);
      EXPECT_GE(unique_indices(distinct, list, dense1D<unsigned, 8>()), 0);
      return distinct;
    };
    const dense1D<unsigned, 8> S = random_list(), T = random_list();
    dense2D<unsigned> pieces[3];
    for (dense2D<unsigned>& piece : pieces) {
      piece = dense2D<unsigned>(1, 1 + unsigned(g() % n));
      for (unsigned j = 0; j < piece.cols(); ++j) piece(0, j) = unsigned(g() % n);
    }
    dense1D<unsigned, 8> all(n), ranked;
    for (unsigned j = 0; j < n; ++j) all[j] = j;
    ASSERT_GE(unique_indices(ranked, pieces, pieces + 3, dense1D<unsigned, 8>()), 0);
    const auto same_maps = [&](const dense1D<unsigned, 8>& s, const dense1D<unsigned, 8>& t, unsigned mode) {
      dense1D<unsigned, 8> fast, tree;
      detail::merge_counts counts;
      const int a =
          detail::merge_core(pos, s, t, pieces, pieces + 3, mode, tol, fast, detail::merge_walk::fastest, &counts);
      const int b = detail::merge_core(pos, s, t, pieces, pieces + 3, mode, tol, tree, detail::merge_walk::tree_only);
      EXPECT_EQ(a, b) << "seed " << seed << ", mode " << mode;
      EXPECT_EQ(to_vector(fast), to_vector(tree)) << "seed " << seed << ", mode " << mode;
      by_grid += counts.by_grid;
    };
    same_maps(all, all, 0);
    same_maps(S, T, 0);
    same_maps(S, S, 0);
    for (unsigned mode : {0u, 1u, 2u}) same_maps(ranked, ranked, mode);
  }
  EXPECT_GT(by_grid, 50000u);
}

// Every way of answering (exact places, the grid, the tree) gives up
// cleanly when memory runs out.
TEST(Merge, MemoryFailuresOnEveryPath) {
  auto g = rng(12);
  const dense2D<double> cloud = cloud_with_copies(g, 3, 400);
  for (double tol : {0.0, 1e-6, 1e200}) {
    dense2D<double> pos;
    dense1D<unsigned, 8> map;
    ASSERT_TRUE(pos.copy(cloud));
    EXPECT_GT(for_each_allocation_failure([&] { return merge(pos, map, tol); },
                                          [&] {
                                            EXPECT_TRUE(map.empty());
                                            EXPECT_EQ(to_vector(pos), to_vector(cloud));
                                          }),
              2u)
        << tol;
    EXPECT_EQ(map.size(), cloud.cols());
  }
}
