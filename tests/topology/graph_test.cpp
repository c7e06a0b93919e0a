#include <algorithm>
#include <deque>
#include <numeric>
#include <set>

#include "support/meshes.hpp"
#include "support/support.hpp"
#include "topology/boundary_tables.hpp"
#include "topology/compressed_lists.hpp"

using namespace zeb::plexa;
using plexa_test::connectivity;
using plexa_test::ids;
using plexa_test::NO;
using plexa_test::to_vector;
using zeb::dense1D;
using zeb::dense2D;
using V = std::vector<unsigned>;

namespace {

V list(const dense1D<unsigned>& offsets, const dense1D<unsigned>& items, unsigned i) {
  return V(items.data() + offsets[i], items.data() + offsets[i + 1]);
}

// Node pairs joined by an element edge (every pair of a column for
// ELT_NONE), from the edge tables, which list every pair of a simplex.
std::set<std::pair<unsigned, unsigned>> brute_force_edges(const dense2D<unsigned>& c, element_type type) {
  std::set<std::pair<unsigned, unsigned>> out;
  for (unsigned e = 0; e < c.cols(); ++e) {
    const unsigned* col = &c(0, e);
    auto join = [&](unsigned a, unsigned b) {
      if (a != b && a != NO && b != NO) out.insert({a, b}), out.insert({b, a});
    };
    if (type == ELT_NONE) {
      for (unsigned a = 0; a < c.rows(); ++a)
        for (unsigned b = 0; b < c.rows(); ++b) join(col[a], col[b]);
      continue;
    }
    const detail::edge_list& t = *detail::edges_of(detail::column_kind(type, col));
    for (unsigned k = 0; k < t.count; ++k) join(col[t.node[k][0]], col[t.node[k][1]]);
  }
  return out;
}

void expect_graph_oracle(const dense2D<unsigned>& c, element_type type) {
  dense1D<unsigned> offsets, nodes;
  ASSERT_EQ(get_node_graph(c, offsets, nodes, type), 0);
  const auto edges = brute_force_edges(c, detail::narrow_type(type, c.rows()));
  unsigned largest = 0;
  for (unsigned v : to_vector(c))
    if (v != NO) largest = std::max(largest, v);
  ASSERT_EQ(offsets.size(), largest + 2);
  std::set<std::pair<unsigned, unsigned>> found;
  for (unsigned v = 0; v <= largest; ++v)
    for (unsigned w : list(offsets, nodes, v)) EXPECT_TRUE(found.insert({v, w}).second) << v << " lists " << w << " twice";
  EXPECT_EQ(found, edges);
}

}  // namespace

TEST(NodeGraph, MatchesTheBruteForceEdgeSets) {
  auto g = plexa_test::rng(11);
  expect_graph_oracle(plexa_test::grid_triangles(7, 5, &g), ELT_TRIA3);
  expect_graph_oracle(plexa_test::grid_quadrangles(6, 5, &g), ELT_QUAD4);
  expect_graph_oracle(plexa_test::strided(plexa_test::grid_quadrangles(6, 5, &g)), ELT_NONE);
  expect_graph_oracle(plexa_test::grid_tetrahedra(3, 3, 2, &g), ELT_TETRA4);
  expect_graph_oracle(plexa_test::strided(plexa_test::grid_mixed_solids(3, 3, 3, &g)), ELT_SOLID_MIX);
  expect_graph_oracle(connectivity(4, {0, 1, 2, 3, 2, 1, 4, NO, 5, 4, 1, NO}), ELT_FACE_MIX);
  expect_graph_oracle(connectivity(5, {0, 1, 2, 3, 4, 3, 2, 5, 6, 7}), ELT_PYRA5);
  expect_graph_oracle(connectivity(6, {0, 1, 2, 3, 4, 5, 3, 4, 5, 6, 7, 8}), ELT_WEDGE6);
  expect_graph_oracle(connectivity(8, {0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11}), ELT_HEXA8);
  expect_graph_oracle(connectivity(2, {0, 1, 1, 2, 5, 1}), ELT_EDGE2);
}

TEST(NodeGraph, ListsFollowDiscoveryOrder) {
  dense1D<unsigned> offsets, nodes;
  ASSERT_EQ(get_node_graph(connectivity(4, {0, 1, 2, 3}), offsets, nodes, ELT_QUAD4), 0);
  EXPECT_EQ(list(offsets, nodes, 0), V({1, 3}));
  ASSERT_EQ(get_node_graph(connectivity(4, {0, 1, 2, 3}), offsets, nodes, ELT_NONE), 0);
  EXPECT_EQ(list(offsets, nodes, 0), V({1, 2, 3}));
  ASSERT_EQ(get_node_graph(connectivity(3, {0, 1, 2, 2, 1, 3}), offsets, nodes, ELT_TRIA3), 0);
  EXPECT_EQ(list(offsets, nodes, 1), V({0, 2, 3}));
  EXPECT_EQ(list(offsets, nodes, 2), V({0, 1, 3}));
  // Node 1 is used by no element: an empty list.
  ASSERT_EQ(get_node_graph(connectivity(2, {0, 2}), offsets, nodes, ELT_EDGE2), 0);
  EXPECT_EQ(to_vector(offsets), V({0, 1, 1, 2}));
  // Wedge edges in table order: node 0 meets 3 (0,3), 2 (2,0), 1 (0,1).
  ASSERT_EQ(get_node_graph(connectivity(6, {0, 1, 2, 3, 4, 5}), offsets, nodes, ELT_SOLID_MIX), 0);
  EXPECT_EQ(list(offsets, nodes, 0), V({3, 2, 1}));
}

TEST(NodeGraph, CodesAndAllocationFailures) {
  dense1D<unsigned> offsets = ids({1}), nodes = ids({1});
  EXPECT_EQ(get_node_graph(dense2D<unsigned>(), offsets, nodes, ELT_HEXA27), 0);
  EXPECT_TRUE(offsets.empty() && nodes.empty());
  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2});
  EXPECT_EQ(get_node_graph(tri, offsets, nodes, ELT_QUAD4), -2);
  EXPECT_EQ(get_node_graph(tri, offsets, nodes, ELT_TRIA6), -2);
  EXPECT_EQ(get_node_graph(connectivity(6, {0, 1, 2, 3, 4, 5}), offsets, nodes, ELT_TRIA6), -5);
  EXPECT_EQ(get_node_graph(connectivity(2, {0, 1}), offsets, nodes, ELT_EDGE_MIX), -5);
  EXPECT_EQ(get_node_graph(tri, offsets, nodes, element_type(99)), -5);
  EXPECT_EQ(get_node_graph(connectivity(3, {NO, NO, NO}), offsets, nodes, ELT_TRIA3), 0);
  EXPECT_EQ(to_vector(offsets), V({0}));

  auto g = plexa_test::rng(5);
  const dense2D<unsigned> hex = plexa_test::strided(plexa_test::grid_mixed_solids(2, 2, 1, &g));
  const unsigned failures = plexa_test::for_each_allocation_failure(
      [&] { return get_node_graph(hex, offsets, nodes, ELT_SOLID_MIX); },
      [&] { EXPECT_TRUE(offsets.empty() && nodes.empty()); });
  EXPECT_GE(failures, 6u);
}

TEST(ConnectedElements, ListElementsOfEachNodeInOrder) {
  auto g = plexa_test::rng(12);
  dense2D<unsigned> c = plexa_test::grid_mixed_solids(3, 2, 2, &g);
  c(1, 5) = c(0, 5);  // an element naming a node twice is listed twice
  for (const dense2D<unsigned>& m : {c, plexa_test::strided(c)}) {
    dense1D<unsigned> offsets, elements;
    ASSERT_EQ(get_connected_elements(m, offsets, elements), 0);
    std::vector<V> expected;
    for (unsigned e = 0; e < c.cols(); ++e)
      for (unsigned i = 0; i < 8; ++i) {
        const unsigned v = c(i, e);
        if (v == NO) continue;
        if (v >= expected.size()) expected.resize(v + 1);
        expected[v].push_back(e);
      }
    ASSERT_EQ(offsets.size(), expected.size() + 1);
    for (unsigned v = 0; v < expected.size(); ++v) EXPECT_EQ(list(offsets, elements, v), expected[v]) << v;
  }
  dense1D<unsigned> offsets, elements;
  EXPECT_EQ(get_connected_elements(dense2D<unsigned>(), offsets, elements), 0);
  EXPECT_TRUE(offsets.empty());
  const dense2D<unsigned> tri = plexa_test::strided(connectivity(3, {0, 1, 2}));
  const unsigned failures = plexa_test::for_each_allocation_failure(
      [&] { return get_connected_elements(tri, offsets, elements); },
      [&] { EXPECT_TRUE(offsets.empty() && elements.empty()); });
  EXPECT_GT(failures, 0u);
}

TEST(Ancestors, LastElementWinsAndSizeIsKept) {
  const dense2D<unsigned> c = connectivity(3, {0, 1, 4, 4, 5, NO, 6, 4, 1});
  dense1D<unsigned> a;
  ASSERT_EQ(get_ancestors(plexa_test::strided(c), a), 0);
  EXPECT_EQ(to_vector(a), V({0, 2, NO, NO, 2, 1, 2}));
  a = ids({7, 7, 7, 7, 7, 7, 7, 7, 7});
  ASSERT_EQ(get_ancestors(connectivity(3, {0, 1, 4, 9, 12, 2}), a), 0);
  EXPECT_EQ(to_vector(a), V({0, 0, 1, 7, 0, 7, 7, 7, 7}));
  a = dense1D<unsigned>();
  EXPECT_GT(plexa_test::for_each_allocation_failure([&] { return get_ancestors(c, a); }, [&] { EXPECT_TRUE(a.empty()); }),
            0u);
}

namespace {

unsigned find(V& parent, unsigned x) {
  while (parent[x] != x) x = parent[x] = parent[parent[x]];
  return x;
}

// Breadth-first order exactly as described: mark on pop, queue every
// unvisited neighbour, duplicates included.
V literal_bfs(const dense2D<unsigned>& nbr, V& offsets) {
  const unsigned n = nbr.cols();
  std::vector<bool> seen(n);
  V out;
  offsets = {0};
  for (unsigned s = 0; s < n; ++s) {
    if (seen[s]) continue;
    std::deque<unsigned> q{s};
    while (!q.empty()) {
      const unsigned e = q.front();
      q.pop_front();
      if (seen[e]) continue;
      seen[e] = true;
      out.push_back(e);
      for (unsigned i = 0; i < nbr.rows(); ++i)
        if (nbr(i, e) < n && !seen[nbr(i, e)]) q.push_back(nbr(i, e));
    }
    offsets.push_back(unsigned(out.size()));
  }
  return out;
}

}  // namespace

TEST(Subdomains, ComponentsMatchAUnionFindInBreadthFirstOrder) {
  auto g = plexa_test::rng(21);
  for (int round = 0; round < 4; ++round) {
    const unsigned n = 200;
    // Sparse random symmetric adjacency; free slots hold UINT_MAX or an
    // index past the elements, both meaning none.
    dense2D<unsigned> nbr(3, n, NO);
    V parent(n), used(n, 0);
    std::iota(parent.begin(), parent.end(), 0u);
    for (unsigned k = 0; k < n; ++k) {
      const unsigned a = unsigned(g() % n), b = unsigned(g() % n);
      if (a == b || used[a] == 3 || used[b] == 3) continue;
      nbr(used[a]++, a) = b;
      nbr(used[b]++, b) = a;
      parent[find(parent, a)] = find(parent, b);
    }
    for (unsigned e = 0; e < n; ++e)
      if (used[e] < 3 && g() % 2) nbr(used[e], e) = n + unsigned(g() % 5);
    dense1D<unsigned> elements, offsets;
    ASSERT_EQ(get_subdomains(round % 2 ? plexa_test::strided(nbr) : nbr, elements, offsets), 0);
    V expected_offsets;
    EXPECT_EQ(to_vector(elements), literal_bfs(nbr, expected_offsets));
    EXPECT_EQ(to_vector(offsets), expected_offsets);
    for (unsigned k = 0; k + 1 < offsets.size(); ++k) {
      std::set<unsigned> roots;
      for (unsigned p = offsets[k]; p < offsets[k + 1]; ++p) roots.insert(find(parent, elements[p]));
      EXPECT_EQ(roots.size(), 1u);
      unsigned size = 0;
      for (unsigned e = 0; e < n; ++e) size += find(parent, e) == *roots.begin();
      EXPECT_EQ(size, offsets[k + 1] - offsets[k]);
    }

  }
}

TEST(Subdomains, RenumberingMovesColumnsAndNeighbours) {
  // Two triangles 0 and 2 joined, 1 alone.
  dense2D<unsigned> c = plexa_test::strided(connectivity(3, {0, 1, 2, 7, 8, 9, 2, 1, 3}));
  dense2D<unsigned> n = plexa_test::strided(connectivity(3, {2, NO, NO, NO, 5, NO, NO, NO, 0}));
  dense1D<unsigned> offsets;
  ASSERT_EQ(get_subdomains(c, n, offsets), 0);
  EXPECT_EQ(to_vector(offsets), V({0, 2, 3}));
  EXPECT_EQ(to_vector(c), V({0, 1, 2, 2, 1, 3, 7, 8, 9}));
  EXPECT_EQ(to_vector(n), V({1, NO, NO, NO, NO, 0, NO, 5, NO}));

  dense2D<unsigned> wrong(3, 2, 0u);
  EXPECT_EQ(get_subdomains(c, wrong, offsets), -2);
  const V c_before = to_vector(c), n_before = to_vector(n);
  const unsigned failures = plexa_test::for_each_allocation_failure([&] { return get_subdomains(c, n, offsets); },
                                                                    [&] {
                                                                      EXPECT_EQ(to_vector(c), c_before);
                                                                      EXPECT_EQ(to_vector(n), n_before);
                                                                      EXPECT_TRUE(offsets.empty());
                                                                    });
  EXPECT_GE(failures, 3u);
  dense1D<unsigned> elements;
  EXPECT_EQ(get_subdomains(dense2D<unsigned>(), elements, offsets), 0);
  EXPECT_EQ(to_vector(offsets), V({0}));
}
