// Element boundaries and neighbours (src/topology/neighbors.cpp,
// element_boundaries.cpp, boundary_match.hpp).
#include <algorithm>
#include <map>

#include "support/meshes.hpp"
#include "support/support.hpp"
#include "topology/boundary_tables.hpp"

using namespace zeb::plexa;
using namespace plexa_test;
using V = std::vector<unsigned>;

namespace {

// Neighbours from a map of sorted boundary node sets: two elements on a
// boundary are linked; with three or more, the first is linked to all others
// (ending on the last) when `links`, nobody otherwise.
V oracle_neighbors(const dense2D<unsigned>& c, element_type type, bool links) {
  const unsigned nb = nbr_boundaries(type), n = c.cols();
  std::map<V, V> groups;
  for (unsigned e = 0; e < n; ++e) {
    const unsigned* col = &c(0, e);
    const detail::boundary_list& t = *detail::boundaries_of(detail::column_kind(type, col));
    for (unsigned j = 0; j < t.count; ++j) {
      V nodes;
      for (unsigned i = 0; i < t.size[j]; ++i) nodes.push_back(col[t.node[j][i]]);
      std::sort(nodes.begin(), nodes.end());
      groups[nodes].push_back(e * nb + j);
    }
  }
  V out(std::size_t(n) * nb, NO);
  for (const auto& [nodes, keys] : groups)
    for (std::size_t q = 1; q < keys.size() && (keys.size() == 2 || links); ++q) {
      out[keys[0]] = keys[q] / nb;
      out[keys[q]] = keys[0] / nb;
    }
  return out;
}

// Per square, either the quadrangle or its two triangles, in a 4-row
// ELT_FACE_MIX connectivity.
dense2D<unsigned> mixed_faces(unsigned nx, unsigned ny, std::mt19937_64& g) {
  const dense2D<unsigned> q = grid_quadrangles(nx, ny, &g), t = grid_triangles(nx, ny, &g);
  V v;
  for (unsigned s = 0; s < q.cols(); ++s)
    if (g() % 2)
      v.insert(v.end(), {q(0, s), q(1, s), q(2, s), q(3, s)});
    else
      for (unsigned e : {2 * s, 2 * s + 1}) v.insert(v.end(), {t(0, e), t(1, e), t(2, e), NO});
  dense2D<unsigned> m(4, unsigned(v.size() / 4));
  std::copy(v.begin(), v.end(), m.data());
  return m;
}

}  // namespace

TEST(Neighbors, MatchTheOracle) {
  auto g = rng(42);
  const dense2D<unsigned> tri = grid_triangles(9, 7, &g), quad = grid_quadrangles(8, 6, &g),
                          tet = grid_tetrahedra(4, 3, 3, &g), mix = grid_mixed_solids(4, 4, 3, &g);
  const std::pair<dense2D<unsigned>, element_type> cases[] = {
      {tri, ELT_TRIA3},
      {with_fins(tri, 80, 40, g), ELT_TRIA3},  // non-manifold edges
      {strided(with_fins(tri, 80, 40, g)), ELT_FACE_MIX},
      {quad, ELT_QUAD4},
      {with_fins(quad, 63, 30, g), ELT_QUAD4},
      {mixed_faces(8, 8, g), ELT_FACE_MIX},  // triangles keep UINT_MAX in row 3
      {tet, ELT_TETRA4},
      {with_fins(tet, 80, 60, g), ELT_TETRA4},
      {mix, ELT_SOLID_MIX},
      {strided(mix, 3), ELT_SOLID_MIX},
      {grid_mixed_solids(3, 3, 3), ELT_SOLID_MIX},
      {connectivity(2, {0, 1, 1, 2, 2, 3, 2, 4, 5, 6}), ELT_EDGE2},
      // A degenerate triangle whose edges 0 and 2 coincide, then a third element on them.
      {connectivity(3, {0, 1, 0, 0, 1, 5, 2, 0, 1}), ELT_TRIA3},
      {connectivity(5, {0, 1, 2, 3, 9, 3, 2, 1, 0, 8, 0, 3, 4, 5, 8}), ELT_PYRA5},
      {connectivity(5, {0, 1, 2, 3, 4, 0, 1, 2, 3, 5}), ELT_SOLID_MIX},  // narrowed to ELT_PYRA5
      {connectivity(6, {0, 1, 2, 3, 4, 5, 3, 4, 5, 6, 7, 8, 2, 1, 9, 5, 4, 10}), ELT_WEDGE6},
      {connectivity(8, {0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11}), ELT_HEXA8}};
  for (const auto& [c, type] : cases)
    for (bool links : {false, true}) {
      SCOPED_TRACE(testing::Message() << "type " << type << " rows " << c.rows() << " links " << links);
      dense2D<unsigned> nbr;
      ASSERT_EQ(get_neighbors(c, type, links, nbr), 0);
      const element_type t = detail::narrow_type(type, c.rows());
      ASSERT_EQ(nbr.rows(), nbr_boundaries(t));
      ASSERT_EQ(nbr.cols(), c.cols());
      EXPECT_EQ(to_vector(nbr), oracle_neighbors(c, t, links));
    }
}

TEST(Neighbors, BoundariesMatchAsCyclesAndTypesAreChecked) {
  // Pyramid bases (1, 2, 6, 5) and (6, 2, 1, 5) are one cycle run both ways;
  // (1, 6, 2, 5) has the same nodes but is another quadrangle.
  dense2D<unsigned> a;
  ASSERT_EQ(get_neighbors(connectivity(5, {1, 2, 6, 5, 9, 6, 2, 1, 5, 10, 1, 6, 2, 5, 11}), ELT_PYRA5, false, a), 0);
  EXPECT_EQ(to_vector(a), V({NO, NO, NO, NO, 1, NO, NO, NO, NO, 0, NO, NO, NO, NO, NO}));

  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2, 2, 1, 3});
  EXPECT_EQ(get_neighbors(connectivity(3, {0, 1, NO}), ELT_TRIA3, false, a), -1);
  EXPECT_TRUE(a.empty());
  EXPECT_EQ(get_neighbors(tri, ELT_QUAD4, false, a), -1);
  EXPECT_EQ(get_neighbors(connectivity(6, {0, 1, 2, 3, 4, 5}), ELT_TRIA6, false, a), -2);
  EXPECT_EQ(get_neighbors(connectivity(6, {0, 1, 2, 3, 4, NO}), ELT_TRIA6, false, a), -1);
  EXPECT_EQ(get_neighbors(connectivity(2, {0, 1}), ELT_EDGE_MIX, false, a), -2);
  EXPECT_EQ(get_neighbors(tri, element_type(40), false, a), -2);
  EXPECT_EQ(get_neighbors(dense2D<unsigned>(), ELT_TRIA6, false, a), 0);
  EXPECT_TRUE(a.empty());
}

TEST(ElementBoundaries, ListsEveryBoundaryInTableOrderAndAppends) {
  // A wedge and a tetrahedron in a mixed solid connectivity.
  const dense2D<unsigned> c =
      strided(connectivity(8, {10, 11, 12, 13, 14, 15, NO, NO, 20, 21, 22, 23, NO, NO, NO, NO}));
  const V once = {10, 11, 12, NO, 13, 15, 14, NO, 12, 11, 14, 15, 10, 12, 15, 13, 11, 10, 13, 14,
                  21, 22, 23, NO, 22, 20, 23, NO, 20, 21, 23, NO, 22, 21, 20, NO};
  dense2D<unsigned> out, edges;
  ASSERT_EQ(get_element_boundaries(c, ELT_SOLID_MIX, out), 0);
  EXPECT_EQ(to_vector(out), once);
  ASSERT_EQ(get_element_boundaries(c, ELT_SOLID_MIX, out), 0);
  V twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(to_vector(out), twice);
  ASSERT_EQ(get_element_boundaries(connectivity(3, {5, 6, 7}), ELT_FACE_MIX, edges), 0);
  EXPECT_EQ(to_vector(edges), V({6, 7, 7, 5, 5, 6}));
  ASSERT_EQ(get_element_boundaries(connectivity(2, {5, 6}), ELT_EDGE2, out = dense2D<unsigned>()), 0);
  EXPECT_EQ(to_vector(out), V({6, 5}));

  EXPECT_EQ(get_element_boundaries(connectivity(4, {0, 1, 2, 3}), ELT_TETRA4, edges), -2);  // 2-row output
  EXPECT_EQ(get_element_boundaries(connectivity(4, {0, 1, 2, NO}), ELT_TETRA4, edges), -1);
  EXPECT_EQ(get_element_boundaries(connectivity(6, {0, 1, 2, 3, 4, 5}), ELT_TRIA6, edges), -2);
  EXPECT_EQ(get_element_boundaries(dense2D<unsigned>(), ELT_TRIA6, edges), 0);
  EXPECT_EQ(to_vector(edges), V({6, 7, 7, 5, 5, 6}));
}
