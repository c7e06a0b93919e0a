#include <algorithm>
#include <map>

#include "support/meshes.hpp"
#include "support/support.hpp"
#include "topology/boundary_tables.hpp"

using namespace zeb::plexa;
using plexa_test::connectivity;
using plexa_test::NO;
using plexa_test::to_vector;
using zeb::dense2D;
using V = std::vector<unsigned>;

namespace {

// Neighbours from a map of sorted boundary node sets: two elements on a
// boundary are linked; with three or more, the first is linked to all others
// (ending on the last) when `links`, nobody otherwise.
V oracle_neighbors(const dense2D<unsigned>& c, element_type type, bool links) {
  const unsigned nb = nbr_boundaries(type), n = c.cols();
  std::map<V, std::vector<unsigned>> groups;
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
  for (const auto& [nodes, keys] : groups) {
    if (keys.size() == 2 || (links && keys.size() > 2)) {
      for (std::size_t q = 1; q < keys.size(); ++q) {
        out[keys[0]] = keys[q] / nb;
        out[keys[q]] = keys[0] / nb;
      }
    }
  }
  return out;
}

void expect_oracle(const dense2D<unsigned>& c, element_type type) {
  for (bool links : {false, true}) {
    SCOPED_TRACE(links);
    dense2D<unsigned> nbr;
    ASSERT_EQ(get_neighbors(c, type, links, nbr), 0);
    const element_type t = detail::narrow_type(type, c.rows());
    ASSERT_EQ(nbr.rows(), nbr_boundaries(t));
    ASSERT_EQ(nbr.cols(), c.cols());
    EXPECT_EQ(to_vector(nbr), oracle_neighbors(c, t, links));
  }
}

// Per square, either the quadrangle or its two triangles, in a 4-row
// ELT_FACE_MIX connectivity.
dense2D<unsigned> mixed_faces(unsigned nx, unsigned ny, std::mt19937_64& g) {
  const dense2D<unsigned> q = plexa_test::grid_quadrangles(nx, ny, &g), t = plexa_test::grid_triangles(nx, ny, &g);
  V v;
  for (unsigned s = 0; s < q.cols(); ++s) {
    if (g() % 2) {
      for (unsigned i = 0; i < 4; ++i) v.push_back(q(i, s));
      continue;
    }
    for (unsigned e : {2 * s, 2 * s + 1}) v.insert(v.end(), {t(0, e), t(1, e), t(2, e), NO});
  }
  dense2D<unsigned> m(4, unsigned(v.size() / 4));
  std::copy(v.begin(), v.end(), m.data());
  return m;
}

}  // namespace

TEST(Neighbors, MatchTheOracleOnSplitGrids) {
  auto g = plexa_test::rng(42);
  const dense2D<unsigned> tri = plexa_test::grid_triangles(9, 7, &g), quad = plexa_test::grid_quadrangles(8, 6, &g),
                          tet = plexa_test::grid_tetrahedra(4, 3, 3, &g);
  {
    SCOPED_TRACE("triangles");
    expect_oracle(tri, ELT_TRIA3);
    expect_oracle(plexa_test::with_fins(tri, 80, 40, g), ELT_TRIA3);
    expect_oracle(plexa_test::strided(plexa_test::with_fins(tri, 80, 40, g)), ELT_FACE_MIX);
  }
  {
    SCOPED_TRACE("quadrangles");
    expect_oracle(quad, ELT_QUAD4);
    expect_oracle(plexa_test::with_fins(quad, 63, 30, g), ELT_QUAD4);
    expect_oracle(mixed_faces(8, 8, g), ELT_FACE_MIX);
  }
  {
    SCOPED_TRACE("tetrahedra");
    expect_oracle(tet, ELT_TETRA4);
    expect_oracle(plexa_test::with_fins(tet, 80, 60, g), ELT_TETRA4);
  }
  {
    SCOPED_TRACE("mixed solids");
    const dense2D<unsigned> mix = plexa_test::grid_mixed_solids(4, 4, 3, &g);
    expect_oracle(mix, ELT_SOLID_MIX);
    expect_oracle(plexa_test::strided(mix, 3), ELT_SOLID_MIX);
    expect_oracle(plexa_test::grid_mixed_solids(3, 3, 3), ELT_SOLID_MIX);
  }
  {
    SCOPED_TRACE("single solids and edges");
    expect_oracle(connectivity(2, {0, 1, 1, 2, 2, 3, 2, 4, 5, 6}), ELT_EDGE2);
    // A degenerate triangle whose edges 0 and 2 coincide, then a third element on them.
    expect_oracle(connectivity(3, {0, 1, 0, 0, 1, 5, 2, 0, 1}), ELT_TRIA3);
    expect_oracle(connectivity(5, {0, 1, 2, 3, 9, 3, 2, 1, 0, 8, 0, 3, 4, 5, 8}), ELT_PYRA5);
    expect_oracle(connectivity(6, {0, 1, 2, 3, 4, 5, 3, 4, 5, 6, 7, 8, 2, 1, 9, 5, 4, 10}), ELT_WEDGE6);
    expect_oracle(connectivity(8, {0, 1, 2, 3, 4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11}), ELT_HEXA8);
  }
}

TEST(Neighbors, ThreeQuadranglesOnOneEdge) {
  // Quadrangles 0, 1, 2 share edge (0, 1); quadrangle 3 is joined to 2 only.
  const dense2D<unsigned> c = connectivity(4, {0, 1, 2, 3, 1, 0, 4, 5, 0, 1, 6, 7, 7, 6, 8, 9});
  dense2D<unsigned> nbr;
  ASSERT_EQ(get_neighbors(c, ELT_QUAD4, false, nbr), 0);
  EXPECT_EQ(to_vector(nbr), V({NO, NO, NO, NO, NO, NO, NO, NO, NO, NO, 3, NO, 2, NO, NO, NO}));
  ASSERT_EQ(get_neighbors(c, ELT_QUAD4, true, nbr), 0);
  EXPECT_EQ(to_vector(nbr), V({2, NO, NO, NO, 0, NO, NO, NO, 0, NO, 3, NO, 2, NO, NO, NO}));
  // Pyramid bases (1, 2, 6, 5) and (6, 2, 1, 5) are one cycle run both ways;
  // (1, 6, 2, 5) has the same nodes but is another quadrangle.
  ASSERT_EQ(get_neighbors(connectivity(5, {1, 2, 6, 5, 9, 6, 2, 1, 5, 10, 1, 6, 2, 5, 11}), ELT_PYRA5, false, nbr), 0);
  EXPECT_EQ(to_vector(nbr), V({NO, NO, NO, NO, 1, NO, NO, NO, NO, 0, NO, NO, NO, NO, NO}));
}

TEST(Neighbors, TypesAreNarrowedAndChecked) {
  dense2D<unsigned> a, b;
  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2, 2, 1, 3});
  ASSERT_EQ(get_neighbors(tri, ELT_FACE_MIX, false, a), 0);
  ASSERT_EQ(get_neighbors(tri, ELT_TRIA3, false, b), 0);
  EXPECT_EQ(to_vector(a), to_vector(b));
  const dense2D<unsigned> pyr = connectivity(5, {0, 1, 2, 3, 4, 0, 1, 2, 3, 5});
  ASSERT_EQ(get_neighbors(pyr, ELT_SOLID_MIX, false, a), 0);
  EXPECT_EQ(a.rows(), 5u);
  EXPECT_EQ(a(4, 0), 1u);

  // In a mixed face column a triangle keeps UINT_MAX in row 3.
  ASSERT_EQ(get_neighbors(connectivity(4, {0, 1, 2, NO, 0, 1, 3, 4}), ELT_FACE_MIX, false, a), 0);
  EXPECT_EQ(to_vector(a), V({NO, NO, 1, NO, 0, NO, NO, NO}));

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

TEST(Neighbors, AllocationFailuresLeaveAnEmptyOutput) {
  auto g = plexa_test::rng(3);
  const dense2D<unsigned> c = plexa_test::grid_tetrahedra(2, 2, 2, &g);
  dense2D<unsigned> nbr;
  for (bool links : {false, true}) {
    const unsigned failures = plexa_test::for_each_allocation_failure(
        [&] { return get_neighbors(c, ELT_TETRA4, links, nbr); }, [&] { EXPECT_TRUE(nbr.empty()); });
    EXPECT_GE(failures, 3u);
    EXPECT_EQ(to_vector(nbr), oracle_neighbors(c, ELT_TETRA4, links));
  }
}

TEST(ElementBoundaries, ListsEveryBoundaryInTableOrderAndAppends) {
  // A wedge and a tetrahedron in a mixed solid connectivity.
  const dense2D<unsigned> c =
      plexa_test::strided(connectivity(8, {10, 11, 12, 13, 14, 15, NO, NO, 20, 21, 22, 23, NO, NO, NO, NO}));
  dense2D<unsigned> out;
  ASSERT_EQ(get_element_boundaries(c, ELT_SOLID_MIX, out), 0);
  const V once = {10, 11, 12, NO, 13, 15, 14, NO, 12, 11, 14, 15, 10, 12, 15, 13, 11, 10, 13, 14,
                  21, 22, 23, NO, 22, 20, 23, NO, 20, 21, 23, NO, 22, 21, 20, NO};
  EXPECT_EQ(to_vector(out), once);
  ASSERT_EQ(get_element_boundaries(c, ELT_SOLID_MIX, out), 0);
  V twice = once;
  twice.insert(twice.end(), once.begin(), once.end());
  EXPECT_EQ(to_vector(out), twice);

  dense2D<unsigned> edges;
  ASSERT_EQ(get_element_boundaries(connectivity(3, {5, 6, 7}), ELT_FACE_MIX, edges), 0);
  EXPECT_EQ(to_vector(edges), V({6, 7, 7, 5, 5, 6}));
  ASSERT_EQ(get_element_boundaries(connectivity(2, {5, 6}), ELT_EDGE2, out = dense2D<unsigned>()), 0);
  EXPECT_EQ(to_vector(out), V({6, 5}));

  EXPECT_EQ(get_element_boundaries(connectivity(4, {0, 1, 2, 3}), ELT_TETRA4, edges), -2);
  EXPECT_EQ(get_element_boundaries(connectivity(4, {0, 1, 2, NO}), ELT_TETRA4, edges), -1);
  EXPECT_EQ(get_element_boundaries(connectivity(6, {0, 1, 2, 3, 4, 5}), ELT_TRIA6, edges), -2);
  EXPECT_EQ(get_element_boundaries(dense2D<unsigned>(), ELT_TRIA6, edges), 0);
  EXPECT_EQ(edges.cols(), 3u);

  const unsigned failures = plexa_test::for_each_allocation_failure(
      [&] { return get_element_boundaries(c, ELT_SOLID_MIX, edges = dense2D<unsigned>()); },
      [&] { EXPECT_TRUE(edges.empty()); });
  EXPECT_GT(failures, 0u);
}
