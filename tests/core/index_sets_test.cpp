// Distinct indices, grouping by key, matching and permutation against
// brute-force oracles on seeded random inputs, and their memory failures.
#include <algorithm>
#include <set>

#include "core/index_set.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using zeb::dense1D;
using zeb::dense2D;
using plexa_test::connectivity;
using plexa_test::for_each_allocation_failure;
using plexa_test::ids;
using plexa_test::NO;
using plexa_test::strided;
using plexa_test::to_vector;

namespace {

// Distinct values in order of first appearance, markers and excluded skipped.
std::vector<unsigned> first_appearances(const std::vector<unsigned>& all, const std::vector<unsigned>& excluded) {
  std::set<unsigned> seen(excluded.begin(), excluded.end());
  std::vector<unsigned> out;
  for (unsigned v : all)
    if (v != NO && seen.insert(v).second) out.push_back(v);
  return out;
}

enum spread { dense_values, sparse_values, high_values };

// Random matrix of small values, of values spread over 32 bits (the hash set
// path) or of close values far from 0, with a few markers.
dense2D<unsigned> random_values(std::mt19937_64& g, unsigned rows, unsigned cols, spread s) {
  auto m = plexa_test::random_connectivity(g, rows, cols, s == sparse_values ? 0xFFFFFF00u : 300);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = 0; i < rows; ++i) {
      if (s == sparse_values && j % 3 == 1 && i == 0) m(0, j) = m(rows - 1, j - 1);  // duplicates
      if (s == high_values) m(i, j) += 4000000000u;
    }
  for (unsigned j = 0; j < cols; j += 7) m(j % rows, j) = NO;
  return m;
}

// First position of x in v, NO for none or for the marker.
unsigned first_in(const std::vector<unsigned>& v, unsigned x) {
  const auto it = std::find(v.begin(), v.end(), x);
  return x == NO || it == v.end() ? NO : unsigned(it - v.begin());
}

}  // namespace

TEST(UniqueIndices, AppendsFirstAppearancesOfEveryFormAgainstASetWalk) {
  auto g = plexa_test::rng(3);
  for (unsigned round = 0; round < 12; ++round) {
    const spread sparse = spread(round % 3);
    const dense2D<unsigned> ms[3] = {random_values(g, 4, 200, sparse), random_values(g, 3, 150, sparse),
                                     random_values(g, 4, 100, sparse)};
    std::vector<unsigned> all;
    for (const auto& m : ms)
      for (unsigned x : to_vector(m)) all.push_back(x);
    const auto ex = round % 4 ? ids({all[5], all[17], 12345, NO}) : ids({});
    const std::vector<unsigned> excluded(ex.begin(), ex.end());
    const auto expected = first_appearances(all, excluded);

    // Appends after the caller's entries, which are not consulted.
    dense1D<unsigned, 8> out = ids({NO, 1, 4000000001u});
    ASSERT_EQ(unique_indices(out, ms, ms + 3, ex), 0);
    std::vector<unsigned> with_prefix{NO, 1, 4000000001u};
    with_prefix.insert(with_prefix.end(), expected.begin(), expected.end());
    EXPECT_EQ(to_vector(out), with_prefix) << round;

    const dense2D<unsigned> views[3] = {strided(ms[0]), strided(ms[1], 1), strided(ms[2], 3)};
    dense1D<unsigned, 8> from_views, single, list;
    ASSERT_EQ(unique_indices(from_views, views, views + 3, ex), 0);
    EXPECT_EQ(to_vector(from_views), expected) << round;
    EXPECT_EQ(count_unique_indices(views, views + 3), int(first_appearances(all, {}).size())) << round;
    ASSERT_EQ(unique_indices(single, views[1], ex), 0);
    ASSERT_EQ(unique_indices(list, ms[1].as_vector(), ex), 0);
    EXPECT_EQ(to_vector(single), first_appearances(to_vector(ms[1]), excluded));
    EXPECT_EQ(to_vector(list), to_vector(single));
    EXPECT_EQ(count_unique_indices(ms[1]), int(first_appearances(to_vector(ms[1]), {}).size()));
    if (round < 3) {  // memory failures on each spread keep the caller's list
      EXPECT_GE(for_each_allocation_failure([&] { return unique_indices(out, ms[0], ex); },
                                            [&] { EXPECT_EQ(to_vector(out), with_prefix); }),
                2u);
      EXPECT_GE(for_each_allocation_failure([&] { return count_unique_indices(ms[0]); }, [] {}), 1u);
    }
  }
}

TEST(UniqueIndices, RangesAndMarkersOnly) {
  const dense2D<unsigned> ms[2] = {connectivity(2, {NO, NO}), connectivity(1, {})};
  dense1D<unsigned, 8> out = ids({5});
  EXPECT_EQ(unique_indices(out, ms, ms, ids({})), 0);
  EXPECT_EQ(unique_indices(out, ms + 1, ms, ids({})), -3);
  EXPECT_EQ(unique_indices(out, nullptr, ms, ids({})), -3);
  EXPECT_EQ(unique_indices(out, ms, ms + 2, ids({})), 0);
  EXPECT_EQ(to_vector(out), std::vector<unsigned>{5});
  EXPECT_EQ(count_unique_indices(ms, ms), 0);
  EXPECT_EQ(count_unique_indices(ms + 1, ms), -2);
  EXPECT_EQ(count_unique_indices(ms, nullptr), -2);
  EXPECT_EQ(count_unique_indices(ms, ms + 2), 0);
}

TEST(IndexSet, TakesPrimeBucketCountsAndSkipsOnFailedGrowth) {
  EXPECT_EQ(detail::bucket_prime(0), 13u);
  EXPECT_EQ(detail::bucket_prime(24), 53u);
  EXPECT_EQ(detail::bucket_prime(4294967291ull + 1), 4294967291u);
  detail::index_set t;
  ASSERT_TRUE(t.init());
  for (unsigned v = 0; v < 46; ++v) ASSERT_EQ(t.insert(v * 7919u), detail::index_set::inserted);
  EXPECT_EQ(t.insert(7919u), detail::index_set::already_there);
  zeb::testing::allocation_failure_scope fail(0);
  EXPECT_EQ(t.insert(46), detail::index_set::skipped);
  EXPECT_EQ(t.size(), 46u);
  EXPECT_FALSE(t.contains(46));
}

TEST(GetSortedOrder, MatchesAStableSortOfKeyAndPosition) {
  dense1D<unsigned, 8> order = ids({7}), offsets = ids({7});
  for (const auto& keys : {ids({}), ids({NO, NO})}) {  // offsets (0) for no keys, (0 0) for markers only
    EXPECT_EQ(get_sorted_order(keys, order, offsets), 0);
    EXPECT_TRUE(order.empty());
    EXPECT_EQ(to_vector(offsets), std::vector<unsigned>(keys.empty() ? 1 : 2, 0));
  }
  auto g = plexa_test::rng(9);
  for (unsigned round = 0; round < 10; ++round) {
    auto keys = plexa_test::random_connectivity(g, 1, 2000, 50 + 100 * round).as_vector();
    for (unsigned i = round; i < 2000; i += 13) keys[i] = NO;
    std::vector<std::pair<unsigned, unsigned>> pairs;
    for (unsigned i = 0; i < keys.size(); ++i)
      if (keys[i] != NO) pairs.emplace_back(keys[i], i);
    std::stable_sort(pairs.begin(), pairs.end(), [](auto& a, auto& b) { return a.first < b.first; });
    ASSERT_EQ(get_sorted_order(keys, order, offsets), 0);
    ASSERT_EQ(order.size(), pairs.size());
    ASSERT_EQ(offsets.size(), pairs.back().first + 2);
    EXPECT_EQ(offsets[0], 0u);
    for (unsigned k = 0; k < pairs.size(); ++k) {
      ASSERT_EQ(order[k], pairs[k].second);
      ASSERT_TRUE(offsets[pairs[k].first] <= k && k < offsets[pairs[k].first + 1]);
    }
  }
  for (const auto& keys : {ids({4, 1, 4}), ids({})}) {
    const auto attempt = [&] {
      order.clear_hard();  // no storage left, so that sizing needs memory
      offsets.clear_hard();
      return get_sorted_order(keys, order, offsets);
    };
    EXPECT_GE(for_each_allocation_failure(attempt, [&] { EXPECT_TRUE(order.empty() && offsets.empty()); }), 1u);
  }
}

TEST(GetIDs, ListsMatchTheFirstPositions) {
  dense1D<unsigned, 8> pos1, pos2;
  EXPECT_EQ(get_IDs(ids({}), ids({1, 2}), pos1, pos2), 0);
  EXPECT_EQ(to_vector(pos1), (std::vector<unsigned>{NO, NO}));
  EXPECT_TRUE(pos2.empty());

  auto g = plexa_test::rng(13);
  for (unsigned round = 0; round < 8; ++round) {
    const spread sparse = spread(round % 3);
    const auto a = random_values(g, 1, 400 + round, sparse).as_vector();
    auto b = random_values(g, 1, 300, sparse).as_vector();
    for (unsigned j = 0; j < 300; j += 4) b[j] = a[(j * 31) % a.size()];  // shared values
    ASSERT_EQ(get_IDs(a, b, pos1, pos2), 0);
    const auto va = to_vector(a), vb = to_vector(b);
    for (unsigned j = 0; j < vb.size(); ++j) ASSERT_EQ(pos1[j], first_in(va, vb[j])) << j;
    for (unsigned i = 0; i < va.size(); ++i)
      ASSERT_EQ(pos2[i], first_in(va, va[i]) == i ? first_in(vb, va[i]) : NO) << i;
    EXPECT_GE(for_each_allocation_failure([&] { return get_IDs(a, b, pos1, pos2); },
                                          [&] { EXPECT_TRUE(pos1.empty() && pos2.empty()); }),
              2u);
  }
}

namespace {
// Columns equal entry by entry, or (not strict) equal once both are read from
// their largest entry on, in either direction.
bool columns_match(const dense2D<unsigned>& m1, unsigned i, const dense2D<unsigned>& m2, unsigned j, bool strict) {
  std::vector<unsigned> a, b;
  for (unsigned t = 0; t < m1.rows(); ++t) a.push_back(m1(t, i)), b.push_back(m2(t, j));
  if (strict || a == b) return a == b;
  std::rotate(a.begin(), std::max_element(a.begin(), a.end()), a.end());
  std::rotate(b.begin(), std::max_element(b.begin(), b.end()), b.end());
  if (a == b) return true;
  std::reverse(a.begin() + 1, a.end());
  return a == b;
}
}  // namespace

TEST(GetIDs, ColumnsMatchUpToRotationAndReversal) {
  dense1D<unsigned, 8> pos1, pos2;
  const auto t1 = connectivity(3, {1, 2, 3});
  EXPECT_EQ(get_IDs(t1, connectivity(4, {1, 2, 3, 4}), pos1, pos2, false), -2);
  EXPECT_EQ(to_vector(pos1), std::vector<unsigned>{NO});
  EXPECT_EQ(get_IDs(t1, connectivity(4, {}), pos1, pos2, false), 0);

  auto g = plexa_test::rng(17);
  for (unsigned round = 0; round < 12; ++round) {
    const unsigned rows = 1 + round % 5;
    auto c1 = plexa_test::random_connectivity(g, rows, 120, 4);
    for (unsigned i = 0; i < 120; i += 9) c1(i % rows, i) = NO;  // the marker is just the largest value here
    auto c2 = plexa_test::random_connectivity(g, rows, 100, 4);
    for (unsigned j = 0; j < 100; j += 2) {  // columns of c1, shuffled, rotated or reversed
      std::vector<unsigned> c;
      for (unsigned t = 0; t < rows; ++t) c.push_back(c1(t, (j * 7) % 120));
      if (j % 6 == 0) std::rotate(c.begin(), c.begin() + j % rows, c.end());
      if (j % 6 == 2) std::reverse(c.begin(), c.end());
      if (j % 6 == 4) std::shuffle(c.begin(), c.end(), g);
      for (unsigned t = 0; t < rows; ++t) c2(t, j) = c[t];
    }
    for (bool strict : {false, true}) {
      ASSERT_EQ(get_IDs(strided(c1), c2, pos1, pos2, strict), 0);
      std::vector<unsigned> want2(120, NO);
      for (unsigned j = 0; j < 100; ++j) {
        unsigned want1 = NO;
        for (unsigned i = 0; i < 120; ++i)
          if (columns_match(c1, i, c2, j, strict)) {
            if (want1 == NO) want1 = i;
            if (want2[i] == NO) want2[i] = j;
          }
        ASSERT_EQ(pos1[j], want1) << "round " << round << " column " << j << " strict " << strict;
      }
      EXPECT_EQ(to_vector(pos2), want2);
    }
    EXPECT_GE(for_each_allocation_failure([&] { return get_IDs(c1, c2, pos1, pos2, false); },
                                          [&] { EXPECT_TRUE(pos1.empty() && pos2.empty()); }),
              3u);
  }
}

TEST(Permutation, ScattersIntoACopy) {
  auto g = plexa_test::rng(19);
  for (unsigned round = 0; round < 10; ++round) {
    const unsigned n = 50 + round * 7, m = 40 + round * 5;
    auto perm = plexa_test::random_connectivity(g, 1, m, n + 10).as_vector();
    perm[round] = NO;
    dense1D<double, 8> d(n);
    dense1D<unsigned, 8> u(n);
    for (unsigned i = 0; i < n; ++i) d[i] = i + 0.5, u[i] = i;
    std::vector<double> want = to_vector(d);
    for (unsigned i = 0; i < std::min(n, m); ++i)
      if (perm[i] < n && perm[i] != i) want[perm[i]] = i + 0.5;
    const dense1D<double, 8> shared = d;  // a second view keeps the old entries
    ASSERT_EQ(permutation(d, perm), 0);
    ASSERT_EQ(permutation(u, perm), 0);
    EXPECT_EQ(to_vector(d), want);
    EXPECT_EQ(shared[n - 1], n - 0.5);
    for (unsigned i = 0; i < n; ++i) ASSERT_EQ(u[i] + 0.5, want[i]) << i;
    const auto before = to_vector(d);
    EXPECT_GE(for_each_allocation_failure([&] { return permutation(d, perm); },
                                          [&] { EXPECT_EQ(to_vector(d), before); }),
              1u);
  }
}
