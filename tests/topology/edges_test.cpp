// Edge sets (src/topology/edges.cpp, edge_set.{hpp,cpp}): copy_edges against
// a std::set of node pairs.
#include <set>

#include "support/meshes.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using namespace plexa_test;
using V = std::vector<unsigned>;

namespace {

using edge_set = std::set<std::pair<unsigned, unsigned>>;

// Adds the vertex edges of a linear block.
void add_edges(edge_set& out, const dense2D<unsigned>& c, element_type type) {
  const edge_set more = vertex_edges(c, type);
  out.insert(more.begin(), more.end());
}

V flat(const edge_set& s) {
  V v;
  for (const auto& [a, b] : s) v.insert(v.end(), {a, b});
  return v;
}

// The block with `extra` rows of further nodes (numbered from `first`)
// under each column: a quadratic connectivity with the same vertices.
dense2D<unsigned> with_extra_rows(const dense2D<unsigned>& c, unsigned extra, unsigned first) {
  dense2D<unsigned> out(c.rows() + extra, c.cols());
  for (unsigned e = 0; e < c.cols(); ++e) {
    for (unsigned i = 0; i < c.rows(); ++i) out(i, e) = c(i, e);
    for (unsigned i = 0; i < extra; ++i) out(c.rows() + i, e) = first + e * extra + i;
  }
  return out;
}

}  // namespace

TEST(CopyEdges, MatchASetOfPairs) {
  auto g = rng(21);
  const cell_cut cuts[] = {cell_cut::triangles, cell_cut::quadrangles, cell_cut::mixed_faces, cell_cut::tetrahedra,
                           cell_cut::wedges,    cell_cut::pyramids,    cell_cut::hexahedra,   cell_cut::mixed_solids};
  for (const cell_cut cut : cuts) {
    const random_mesh m = random_conforming_mesh(g, cut, 5, 4, 3, 0.15);
    SCOPED_TRACE(testing::Message() << "type " << m.type);
    edge_set expected;
    add_edges(expected, m.connect, m.type);
    dense2D<unsigned> out(2, 1, 9u);  // appended after this column
    ASSERT_EQ(copy_edges(strided(m.connect), m.type, out), 0);
    V v = flat(expected);
    v.insert(v.begin(), {9, 9});
    EXPECT_EQ(to_vector(out), v);
  }
}

TEST(CopyEdges, BlocksShareTheirEdgesAndQuadraticNodesAreIgnored) {
  auto g = rng(22);
  const random_mesh tet = random_conforming_mesh(g, cell_cut::tetrahedra, 4, 4, 2, 0.0);
  const random_mesh hex = random_conforming_mesh(g, cell_cut::hexahedra, 4, 4, 2, 0.3);
  const random_mesh tri = random_conforming_mesh(g, cell_cut::triangles, 6, 5, 1, 0.3);
  const unsigned far = 100000;  // the added nodes, beyond every vertex
  const dense2D<unsigned> blocks[] = {tet.connect,
                                      with_extra_rows(tet.connect, 6, far),  // ELT_TETRA10: the same edges again
                                      with_extra_rows(hex.connect, 12, far),  // ELT_HEXA20: none
                                      with_extra_rows(hex.connect, 19, far),  // ELT_HEXA27
                                      with_extra_rows(tri.connect, 3, far),   // ELT_TRIA6
                                      strided(hex.connect),
                                      connectivity(2, {far, far + 1}),        // ELT_EDGE_MIX: none
                                      dense2D<unsigned>(),
                                      connectivity(3, {1, 1, 7})};            // repeated node: (1, 1)
  const int t[] = {ELT_SOLID_MIX, ELT_TETRA10, ELT_HEXA20, ELT_HEXA27, ELT_TRIA6, ELT_HEXA8, ELT_EDGE_MIX, ELT_NONE,
                   ELT_TRIA3};
  dense1D<int> ty(9);
  std::copy(t, t + 9, ty.begin());
  edge_set expected = {{1, 1}, {1, 7}};
  add_edges(expected, tet.connect, ELT_TETRA4);
  add_edges(expected, hex.connect, ELT_HEXA8);
  add_edges(expected, tri.connect, ELT_TRIA3);
  dense2D<unsigned> out;
  ASSERT_EQ(copy_edges(blocks, blocks + 9, ty, out), 0);
  EXPECT_EQ(to_vector(out), flat(expected));

  // The serendipity types, ELT_NONE and ELT_NODE add nothing and are no error.
  for (const auto& [c, type] : {std::pair{blocks[2], ELT_HEXA20}, {with_extra_rows(hex.connect, 5, far), ELT_PYRA13},
                                {connectivity(1, {4, 5}), ELT_NODE}, {connectivity(2, {4, 5}), ELT_EDGE_MIX}}) {
    ASSERT_EQ(copy_edges(c, type, out = dense2D<unsigned>()), 0) << type;
    EXPECT_TRUE(out.empty());
  }
  // Two triangles sharing an edge.
  ASSERT_EQ(copy_edges(connectivity(3, {0, 1, 2, 1, 3, 2}), ELT_FACE_MIX, out), 0);
  EXPECT_EQ(to_vector(out), V({0, 1, 0, 2, 1, 2, 1, 3, 2, 3}));
  // A node shared by many elements: a long run of larger ends.
  V fan;
  for (unsigned k = 1; k <= 300; ++k) fan.insert(fan.end(), {0, 301 - k, 302 - k});
  dense2D<unsigned> c(3, 300);
  std::copy(fan.begin(), fan.end(), c.data());
  edge_set fan_edges;
  add_edges(fan_edges, c, ELT_TRIA3);
  ASSERT_EQ(copy_edges(c, ELT_TRIA3, out = dense2D<unsigned>()), 0);
  EXPECT_EQ(to_vector(out), flat(fan_edges));
}

TEST(CopyEdges, CodesInTheOrderTestedAndOutputsUnchangedOnFailure) {
  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2});
  dense2D<unsigned> out(3, 1, 5u);
  EXPECT_EQ(copy_edges(dense2D<unsigned>(), element_type(40), out), 0);
  EXPECT_EQ(copy_edges(tri, element_type(40), out), -2);
  EXPECT_EQ(copy_edges(connectivity(3, {0, 1, NO}), ELT_TRIA3, out), -1);
  EXPECT_EQ(copy_edges(tri, ELT_TRIA3, out), -3);
  EXPECT_EQ(to_vector(out), V({5, 5, 5}));

  const dense2D<unsigned> blocks[] = {tri, connectivity(3, {0, NO, 1})};
  dense1D<int> types(2, int(ELT_TRIA3));
  EXPECT_EQ(copy_edges(blocks + 1, blocks, types, out), -2);
  EXPECT_EQ(copy_edges(blocks, blocks + 1, types, out), -3);
  types[1] = 99;
  EXPECT_EQ(copy_edges(blocks, blocks + 2, types, out), -3);
  types[1] = ELT_TRIA3;
  EXPECT_EQ(copy_edges(blocks, blocks + 2, types, out), -4);
  out = dense2D<unsigned>();
  EXPECT_EQ(copy_edges(blocks, blocks + 2, types, out), -1);
  EXPECT_EQ(copy_edges(blocks, blocks, dense1D<int>(), out), 0);
  EXPECT_TRUE(out.empty());
}
