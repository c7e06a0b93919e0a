// Node graph, connected elements, ancestors, sub-domains
// (src/topology/node_graph.cpp, subdomains.cpp, incidence, core/compressed_lists).
#include <algorithm>
#include <deque>
#include <map>
#include <numeric>
#include <set>

#include "support/meshes.hpp"
#include "support/support.hpp"
#include "topology/boundary_tables.hpp"

using namespace zeb::plexa;
using namespace plexa_test;
using V = std::vector<unsigned>;

namespace {

V list(const dense1D<unsigned>& offsets, const dense1D<unsigned>& items, unsigned i) {
  return V(items.data() + offsets[i], items.data() + offsets[i + 1]);
}

// Directed node pairs joined by an element edge (every pair of a column for
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

}  // namespace

TEST(NodeGraph, MatchesTheBruteForceEdgeSets) {
  auto g = rng(11);
  const std::pair<dense2D<unsigned>, element_type> cases[] = {
      {grid_triangles(7, 5, &g), ELT_TRIA3},
      {grid_quadrangles(6, 5, &g), ELT_QUAD4},
      {strided(grid_quadrangles(6, 5, &g)), ELT_NONE},
      {grid_tetrahedra(3, 3, 2, &g), ELT_TETRA4},
      {strided(grid_mixed_solids(3, 3, 3, &g)), ELT_SOLID_MIX},
      {connectivity(4, {0, 1, 2, 3, 2, 1, 4, NO, 5, 4, 1, NO}), ELT_FACE_MIX},
      {connectivity(5, {0, 1, 2, 3, 4, 3, 2, 5, 6, 7}), ELT_PYRA5},
      {connectivity(6, {0, 1, 2, 3, 4, 5, 3, 4, 5, 6, 7, 8}), ELT_WEDGE6},
      {connectivity(8, {0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11}), ELT_HEXA8},
      {connectivity(2, {0, 1, 1, 2, 5, 1}), ELT_EDGE2}};
  for (const auto& [c, type] : cases) {
    SCOPED_TRACE(type);
    dense1D<unsigned> offsets, nodes;
    ASSERT_EQ(get_node_graph(c, offsets, nodes, type), 0);
    const V entries = to_vector(c);
    unsigned largest = 0;
    for (unsigned v : entries) largest = v == NO ? largest : std::max(largest, v);
    ASSERT_EQ(offsets.size(), largest + 2);
    std::set<std::pair<unsigned, unsigned>> found;
    for (unsigned v = 0; v <= largest; ++v)
      for (unsigned w : list(offsets, nodes, v)) EXPECT_TRUE(found.insert({v, w}).second) << v << " lists " << w << " twice";
    EXPECT_EQ(found, brute_force_edges(c, detail::narrow_type(type, c.rows())));
  }
}

TEST(NodeGraph, ListsFollowDiscoveryOrderAndCodes) {
  struct {
    dense2D<unsigned> c;
    element_type type;
    unsigned node;
    V expected;
  } const orders[] = {{connectivity(3, {0, 1, 2, 2, 1, 3}), ELT_TRIA3, 1, {0, 2, 3}},
                      {connectivity(3, {0, 1, 2, 2, 1, 3}), ELT_TRIA3, 2, {0, 1, 3}},
                      {connectivity(2, {0, 2}), ELT_EDGE2, 1, {}},  // node 1 is in no element
                      // Wedge edges in table order: (0,3), (2,0), (0,1).
                      {connectivity(6, {0, 1, 2, 3, 4, 5}), ELT_SOLID_MIX, 0, {3, 2, 1}}};
  dense1D<unsigned> offsets, nodes;
  for (const auto& o : orders) {
    ASSERT_EQ(get_node_graph(o.c, offsets, nodes, o.type), 0);
    EXPECT_EQ(list(offsets, nodes, o.node), o.expected) << o.type << " node " << o.node;
  }
  offsets = ids({1});
  nodes = ids({1});
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
}

TEST(ConnectedElements, MatchTheBruteForceLists) {
  auto g = rng(12);
  dense2D<unsigned> c = grid_mixed_solids(3, 2, 2, &g);
  c(1, 5) = c(0, 5);  // an element naming a node twice is listed twice
  std::vector<V> expected;
  for (unsigned e = 0; e < c.cols(); ++e)
    for (unsigned i = 0; i < 8; ++i)
      if (const unsigned v = c(i, e); v != NO) {
        expected.resize(std::max<std::size_t>(expected.size(), v + 1));
        expected[v].push_back(e);
      }
  dense1D<unsigned> offsets, elements;
  for (const dense2D<unsigned>& m : {c, strided(c)}) {
    ASSERT_EQ(get_connected_elements(m, offsets, elements), 0);
    ASSERT_EQ(offsets.size(), expected.size() + 1);
    for (unsigned v = 0; v < expected.size(); ++v) EXPECT_EQ(list(offsets, elements, v), expected[v]) << v;
  }
  EXPECT_EQ(get_connected_elements(dense2D<unsigned>(), offsets, elements), 0);
  EXPECT_TRUE(offsets.empty());
}

TEST(Ancestors, LastElementWinsAndSizeIsKept) {
  dense1D<unsigned> a;
  ASSERT_EQ(get_ancestors(strided(connectivity(3, {0, 1, 4, 4, 5, NO, 6, 4, 1})), a), 0);
  EXPECT_EQ(to_vector(a), V({0, 2, NO, NO, 2, 1, 2}));
  a = ids({7, 7, 7, 7, 7, 7, 7, 7, 7});
  ASSERT_EQ(get_ancestors(connectivity(3, {0, 1, 4, 9, 12, 2}), a), 0);
  EXPECT_EQ(to_vector(a), V({0, 0, 1, 7, 0, 7, 7, 7, 7}));
}

namespace {

unsigned find(V& parent, unsigned x) {
  while (parent[x] != x) x = parent[x] = parent[parent[x]];
  return x;
}

// Breadth-first order, literally: mark on pop, queue every unvisited
// neighbour, duplicates included.
V literal_bfs(const dense2D<unsigned>& nbr, V& offsets) {
  const unsigned n = nbr.cols();
  std::vector<bool> seen(n);
  V out;
  offsets = {0};
  for (unsigned s = 0; s < n; ++s) {
    if (seen[s]) continue;
    for (std::deque<unsigned> q{s}; !q.empty(); q.pop_front()) {
      const unsigned e = q.front();
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
  auto g = rng(21);
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
    ASSERT_EQ(get_subdomains(round % 2 ? strided(nbr) : nbr, elements, offsets), 0);
    V expected_offsets;
    EXPECT_EQ(to_vector(elements), literal_bfs(nbr, expected_offsets));
    EXPECT_EQ(to_vector(offsets), expected_offsets);
    // Each sub-domain holds one union-find root, and no two share one.
    std::map<unsigned, unsigned> domain_of_root;
    for (unsigned k = 0; k + 1 < offsets.size(); ++k)
      for (unsigned p = offsets[k]; p < offsets[k + 1]; ++p)
        EXPECT_EQ(domain_of_root.emplace(find(parent, elements[p]), k).first->second, k) << elements[p];
    EXPECT_EQ(domain_of_root.size(), offsets.size() - 1);
  }
  dense1D<unsigned> elements, offsets;
  EXPECT_EQ(get_subdomains(dense2D<unsigned>(), elements, offsets), 0);
  EXPECT_EQ(to_vector(offsets), V({0}));
}

TEST(Subdomains, RenumberingMovesColumnsAndNeighbours) {
  // Triangles 0 and 2 joined, 1 alone.
  dense2D<unsigned> c = strided(connectivity(3, {0, 1, 2, 7, 8, 9, 2, 1, 3}));
  dense2D<unsigned> n = strided(connectivity(3, {2, NO, NO, NO, 5, NO, NO, NO, 0}));
  dense1D<unsigned> offsets;
  ASSERT_EQ(get_subdomains(c, n, offsets), 0);
  EXPECT_EQ(to_vector(offsets), V({0, 2, 3}));
  EXPECT_EQ(to_vector(c), V({0, 1, 2, 2, 1, 3, 7, 8, 9}));
  EXPECT_EQ(to_vector(n), V({1, NO, NO, NO, NO, 0, NO, 5, NO}));
  dense2D<unsigned> wrong(3, 2, 0u);
  EXPECT_EQ(get_subdomains(c, wrong, offsets), -2);
}
