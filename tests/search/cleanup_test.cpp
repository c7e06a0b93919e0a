// remove_degenerated and simplify (src/search/degenerate_elements.cpp,
// unused_nodes.cpp).
#include "search/point_cloud.hpp"

using namespace zeb::plexa;
using namespace plexa_test;

TEST(Cleanup, RemoveDegenerated) {
  dense2D<unsigned> tris = strided(connectivity(3, {0, 1, 2, 3, 3, 4, 5, 6, 7, 4, 0, 4})), copy;
  dense1D<unsigned, 8> map;
  EXPECT_EQ(remove_degenerated(tris, map, false), 2);
  EXPECT_EQ(to_vector(map), (std::vector<unsigned>{0, NO, 1, NO}));
  EXPECT_EQ(to_vector(tris), (std::vector<unsigned>{0, 1, 2, 5, 6, 7}));

  // Markers: a single one is no repetition, two are one only on request.
  const dense2D<unsigned> faces = connectivity(4, {0, 1, 2, NO, 0, 1, NO, NO, 3, 4, 5, 6});
  dense2D<unsigned> keep = faces, drop;
  ASSERT_TRUE(drop.copy(faces) && copy.copy(tris));
  EXPECT_EQ(remove_degenerated(keep, false), 0);
  EXPECT_EQ(remove_degenerated(drop, map, true), 1);
  EXPECT_EQ(to_vector(map), (std::vector<unsigned>{0, NO, 1}));
  EXPECT_EQ(to_vector(drop), (std::vector<unsigned>{0, 1, 2, NO, 3, 4, 5, 6}));

  EXPECT_GT(for_each_allocation_failure([&] { return remove_degenerated(copy, map, true); },
                                        [&] { EXPECT_TRUE(map.empty() && to_vector(copy) == to_vector(tris)); }),
            0u);
}

TEST(Cleanup, Simplify) {
  const dense2D<double> five = coordinates(2, {0, 0, 1, 1, 2, 2, 3, 3, 4, 4});
  const struct {
    unsigned start;
    int removed;
    std::vector<unsigned> map, tri;
    std::vector<double> pos;
  } cases[] = {{0, 2, {0, NO, 1, NO, 2}, {0, 1, 2}, {0, 0, 2, 2, 4, 4}},
               {2, 1, {0, 1, 2, NO, 3}, {0, 2, 3}, {0, 0, 1, 1, 2, 2, 4, 4}}};  // nodes below start stay
  dense1D<unsigned, 8> map;
  for (const auto& c : cases) {
    dense2D<double> pos = strided(five);
    dense2D<unsigned> tri = connectivity(3, {0, 2, 4});
    EXPECT_EQ(simplify(pos, tri, map, c.start), c.removed);
    EXPECT_EQ(to_vector(map), c.map);
    EXPECT_EQ(to_vector(tri), c.tri);
    EXPECT_EQ(to_vector(pos), c.pos);
  }
  dense2D<double> pos = five;
  dense2D<unsigned> a = connectivity(2, {4, NO}), b = connectivity(2, {1, 4}), bad = connectivity(1, {5});
  map = ids({1});
  EXPECT_EQ(simplify(pos, a, map, 5), 0);
  EXPECT_TRUE(map.empty());
  EXPECT_EQ(simplify(pos, bad, 0), -2);
  EXPECT_EQ(simplify(pos, &a + 1, &a, map, 0), -3);
  EXPECT_EQ(simplify(pos, a, b, 0), 3);
  EXPECT_EQ(to_vector(a), (std::vector<unsigned>{1, NO}));
  EXPECT_EQ(to_vector(b), (std::vector<unsigned>{0, 1}));
  EXPECT_EQ(to_vector(pos), (std::vector<double>{1, 1, 4, 4}));

  dense2D<double> coords = strided(five);
  dense2D<unsigned> tri = connectivity(3, {0, 2, 4});
  const auto unchanged = [&] {
    EXPECT_TRUE(map.empty() && to_vector(coords) == to_vector(five));
    EXPECT_EQ(to_vector(tri), (std::vector<unsigned>{0, 2, 4}));
  };
  EXPECT_GT(for_each_allocation_failure([&] { return simplify(coords, tri, map, 0); }, unchanged), 0u);
}

// A triangulated grid exploded into a soup (three nodes per triangle, in a
// fixed order) is welded back: the same triangles on the same points.
TEST(Cleanup, WeldingASoupGivesTheMeshBack) {
  const unsigned m = 12, n = 6 * m * m;
  dense2D<double> pos(3, n + 6, 0.0), soup;
  for (unsigned c = 0; c < n; ++c) {  // corners (0 0)(1 0)(1 1), (0 0)(1 1)(0 1) of each cell
    const unsigned k = c % 6;
    pos(0, c) = c / 6 / m + (k == 1 || k == 2 || k == 4);
    pos(1, c) = c / 6 % m + (k == 2 || k == 4 || k == 5);
  }
  for (unsigned j = n; j < n + 6; ++j)  // and two sliver triangles
    for (unsigned r = 0; r < 3; ++r) pos(r, j) = (j % 3 == 2 ? 5.0 + 1e-9 * r : 5.0);
  ASSERT_TRUE(soup.copy(pos));
  dense2D<unsigned> tris(3, (n + 6) / 3);
  for (unsigned j = 0; j < n + 6; ++j) tris(j % 3, j / 3) = j;
  dense1D<unsigned, 8> map, kept, nodes;
  EXPECT_GT(merge(pos, tris, map, 1e-6, 0), 0);
  EXPECT_EQ(remove_degenerated(tris, kept, true), 2);
  EXPECT_EQ(simplify(pos, tris, nodes, 0), int(n + 6 - (m + 1) * (m + 1)));
  EXPECT_EQ(pos.cols(), (m + 1) * (m + 1));
  EXPECT_EQ(tris.cols(), 2 * m * m);
  // Every triangle keeps its corners and no two kept nodes coincide.
  for (unsigned t = 0; t < tris.cols(); ++t)
    for (unsigned r = 0; r < 3; ++r)
      for (unsigned k = 0; k < 3; ++k) ASSERT_EQ(pos(k, tris(r, t)), soup(k, 3 * t + r));
  for (unsigned a = 0; a < pos.cols(); ++a)
    for (unsigned b = a + 1; b < pos.cols(); ++b) ASSERT_GT(squared_distance(pos, a, b), 0.5);
}
