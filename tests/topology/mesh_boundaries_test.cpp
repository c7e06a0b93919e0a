// Mesh boundaries (src/topology/mesh_boundaries.cpp, elements_on_boundaries.cpp):
// free boundaries, colour interfaces and the elements carrying boundary
// faces, against brute force over the faces of random conforming meshes.
#include <algorithm>
#include <map>
#include <set>

#include "support/meshes.hpp"
#include "support/support.hpp"
#include "topology/boundary_tables.hpp"

using namespace zeb::plexa;
using namespace plexa_test;
using V = std::vector<unsigned>;

namespace {

struct face {
  unsigned e, j;
  V nodes;  // table order
  V sorted;
};

std::vector<face> all_faces(const dense2D<unsigned>& c, element_type type) {
  std::vector<face> out;
  for (unsigned e = 0; e < c.cols(); ++e) {
    const unsigned* col = &c(0, e);
    const detail::boundary_list& t = *detail::boundaries_of(detail::column_kind(type, col));
    for (unsigned j = 0; j < t.count; ++j) {
      face f{e, j, {}, {}};
      for (unsigned i = 0; i < t.size[j]; ++i) f.nodes.push_back(col[t.node[j][i]]);
      f.sorted = f.nodes;
      std::sort(f.sorted.begin(), f.sorted.end());
      out.push_back(f);
    }
  }
  return out;
}

// For each face, the element on its other side, by comparing every pair of
// faces (conforming meshes: at most one).
V other_side(const std::vector<face>& faces) {
  V out(faces.size(), NO);
  for (std::size_t a = 0; a < faces.size(); ++a)
    for (std::size_t b = 0; b < faces.size(); ++b)
      if (a != b && faces[a].sorted == faces[b].sorted) out[a] = faces[b].e;
  return out;
}

void put_column(V& out, const V& nodes, unsigned rows) {
  out.insert(out.end(), nodes.begin(), nodes.end());
  out.insert(out.end(), rows - nodes.size(), NO);
}

const cell_cut every_cut[] = {cell_cut::triangles,  cell_cut::quadrangles, cell_cut::mixed_faces,
                              cell_cut::tetrahedra, cell_cut::wedges,      cell_cut::pyramids,
                              cell_cut::hexahedra,  cell_cut::mixed_solids};

random_mesh small_mesh(std::mt19937_64& g, cell_cut cut, double holes) {
  return random_conforming_mesh(g, cut, 4, 3, 2, holes);
}

dense2D<unsigned> neighbors_of(const random_mesh& m) {
  dense2D<unsigned> n;
  EXPECT_EQ(get_neighbors(m.connect, m.type, false, n), 0);
  return n;
}

}  // namespace

TEST(MeshBoundaries, FreeBoundaryIsTheFacesSeenOnce) {
  auto g = rng(11);
  for (const cell_cut cut : every_cut)
    for (int round = 0; round < 3; ++round) {
      const random_mesh m = small_mesh(g, cut, 0.2);
      SCOPED_TRACE(testing::Message() << "type " << m.type << " round " << round);
      const std::vector<face> faces = all_faces(m.connect, m.type);
      std::map<V, unsigned> seen;
      for (const face& f : faces) ++seen[f.sorted];
      const unsigned rows = detail::boundary_rows(m.type), nb = nbr_boundaries(m.type);
      V expected = {7, 7, 7, 7}, keys = {3};
      expected.resize(rows);  // one column already there: the output is appended to
      for (const face& f : faces)
        if (seen[f.sorted] == 1) put_column(expected, f.nodes, rows), keys.push_back(f.e * nb + f.j);

      const dense2D<unsigned> nbr = neighbors_of(m);
      dense2D<unsigned> out(rows, 1, 7u);
      ASSERT_EQ(get_mesh_boundaries(strided(m.connect), strided(nbr), m.type, out), 0);
      EXPECT_EQ(to_vector(out), expected);
      dense1D<unsigned> k = ids({3});
      unsigned stride = 99;
      ASSERT_EQ(get_mesh_bounding_elements(strided(m.connect), strided(nbr), m.type, k, stride), 0);
      EXPECT_EQ(stride, nb);
      EXPECT_EQ(to_vector(k), keys);
    }
}

TEST(MeshBoundaries, ColourInterfacesMatchABruteForcePassOverFacePairs) {
  auto g = rng(12);
  for (const cell_cut cut : every_cut) {
    const random_mesh m = small_mesh(g, cut, 0.1);
    SCOPED_TRACE(testing::Message() << "type " << m.type);
    const std::vector<face> faces = all_faces(m.connect, m.type);
    const V across = other_side(faces);
    const unsigned n = m.connect.cols(), rows = detail::boundary_rows(m.type);
    dense1D<unsigned> colors(n);
    for (unsigned e = 0; e < n; ++e) colors[e] = unsigned(g() % 3);
    const dense2D<unsigned> nbr = neighbors_of(m);
    for (bool both : {false, true}) {
      V expected;
      for (std::size_t a = 0; a < faces.size(); ++a) {
        const unsigned e = faces[a].e, f = across[a];
        if ((f == NO || colors[f] != colors[e]) && (both || f > e)) put_column(expected, faces[a].nodes, rows);
      }
      dense2D<unsigned> out;
      ASSERT_EQ(get_colors_boundaries(m.connect, strided(nbr), colors, m.type, both, out), 0);
      EXPECT_EQ(to_vector(out), expected) << "both sides " << both;
    }
  }
}

namespace {

// What get_elements_on_boundaries may answer for a boundary b: the keys of
// the element boundaries listing the same nodes in an accepted direction,
// among the elements reachable from the ancestor of b[0] across faces that
// hold b[0] (found by brute force over the faces).
class answers {
 public:
  answers(const dense2D<unsigned>& c, element_type type, const dense1D<unsigned>& up)
      : faces_(all_faces(c, type)), across_(other_side(faces_)), up_(up), nb_(nbr_boundaries(type)) {
    first_.assign(c.cols() + 1, 0);
    for (const face& f : faces_) ++first_[f.e + 1];
    for (unsigned e = 0; e < c.cols(); ++e) first_[e + 1] += first_[e];
    for (std::size_t q = 0; q < faces_.size(); ++q) by_nodes_[faces_[q].sorted].push_back(q);
  }

  std::set<unsigned> keys(const V& b, int orientation) {
    const unsigned a = b[0];
    if (a >= up_.size() || up_[a] == NO) return {};
    const std::set<unsigned>& reached = ball(a);
    V sorted = b;
    std::sort(sorted.begin(), sorted.end());
    std::set<unsigned> out;
    for (const std::size_t q : by_nodes_[sorted]) {
      const face& f = faces_[q];
      if (!reached.count(f.e)) continue;
      bool same = false, reversed = false;
      for (std::size_t s = 0; s < b.size(); ++s) {
        V rot(f.nodes.begin() + s, f.nodes.end());
        rot.insert(rot.end(), f.nodes.begin(), f.nodes.begin() + s);
        same |= rot == b;
        std::reverse(rot.begin(), rot.end());
        reversed |= rot == b;
      }
      if (b.size() == 2) same = f.nodes == b, reversed = f.nodes == V{b[1], b[0]};
      if ((same && orientation >= -1) || (reversed && orientation <= 0)) out.insert(f.e * nb_ + f.j);
    }
    return out;
  }

 private:
  const std::set<unsigned>& ball(unsigned a) {
    auto [it, fresh] = balls_.try_emplace(a);
    if (!fresh) return it->second;
    std::set<unsigned>& reached = it->second;
    V todo = {up_[a]};
    reached.insert(up_[a]);
    while (!todo.empty()) {
      const unsigned e = todo.back();
      todo.pop_back();
      for (std::size_t q = first_[e]; q < first_[e + 1]; ++q)
        if (across_[q] != NO && std::count(faces_[q].nodes.begin(), faces_[q].nodes.end(), a) &&
            reached.insert(across_[q]).second)
          todo.push_back(across_[q]);
    }
    return reached;
  }

  std::vector<face> faces_;
  V across_;
  const dense1D<unsigned>& up_;
  unsigned nb_;
  std::vector<std::size_t> first_;
  std::map<V, std::vector<std::size_t>> by_nodes_;
  std::map<unsigned, std::set<unsigned>> balls_;
};

}  // namespace

TEST(ElementsOnBoundaries, FindTheFacesTheFilterAllows) {
  auto g = rng(13);
  for (const cell_cut cut : every_cut)
    for (double holes : {0.0, 0.2}) {
      const random_mesh m = small_mesh(g, cut, holes);
      SCOPED_TRACE(testing::Message() << "type " << m.type << " holes " << holes);
      const dense2D<unsigned> nbr = neighbors_of(m);
      dense1D<unsigned> up;
      ASSERT_EQ(get_ancestors(m.connect, up), 0);
      answers oracle(m.connect, m.type, up);
      const unsigned rows = detail::boundary_rows(m.type), nb = nbr_boundaries(m.type);

      // The free boundary as given, then reversed; then every face.
      dense2D<unsigned> free;
      ASSERT_EQ(get_mesh_boundaries(m.connect, nbr, m.type, free), 0);
      std::vector<V> columns;
      for (const V& c : {to_vector(free)})
        for (std::size_t i = 0; i < c.size(); i += rows) {
          V b(c.begin() + i, c.begin() + i + rows);
          b.erase(std::find(b.begin(), b.end(), NO), b.end());
          columns.push_back(b);
        }
      const std::size_t free_count = columns.size();
      for (std::size_t i = 0; i < free_count; ++i) columns.push_back(V(columns[i].rbegin(), columns[i].rend()));
      for (const face& f : all_faces(m.connect, m.type)) columns.push_back(f.nodes);
      V all;
      for (const V& b : columns) put_column(all, b, rows);
      dense2D<unsigned> queries(rows, unsigned(columns.size()));
      std::copy(all.begin(), all.end(), queries.data());

      for (int orientation : {0, 1, 7, -1, -2, -9}) {
        dense1D<unsigned> keys;
        unsigned stride = 0;
        ASSERT_EQ(get_elements_on_boundaries(strided(queries), m.connect, strided(nbr), up, m.type, orientation, keys,
                                             stride),
                  0);
        EXPECT_EQ(stride, nb);
        ASSERT_EQ(keys.size(), columns.size());
        unsigned found_free = 0;
        for (std::size_t i = 0; i < columns.size(); ++i) {
          const std::set<unsigned> ok = oracle.keys(columns[i], orientation);
          if (ok.empty())
            EXPECT_EQ(keys[i], NO) << "column " << i << " orientation " << orientation;
          else
            EXPECT_TRUE(ok.count(keys[i])) << "column " << i << " orientation " << orientation << " key " << keys[i];
          found_free += i < free_count && keys[i] != NO;
        }
        // Without holes every boundary node's elements are reached: every
        // free face is found as given unless only reversed ones count.
        if (holes == 0.0) {
          EXPECT_EQ(found_free, orientation < -1 ? 0u : free_count);
        }
      }
    }
}

TEST(ElementsOnBoundaries, TakeTheFirstElementReachedAndPreferTheDirectionAsked) {
  // Triangles 0 (0, 1, 2) and 1 (2, 1, 3) share edge (1, 2), listed 1-2 by
  // triangle 0 (its edge 0) and 2-1 by triangle 1 (its edge 2).
  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2, 2, 1, 3});
  const dense2D<unsigned> nbr = connectivity(3, {1, NO, NO, NO, NO, 0});
  const dense2D<unsigned> query = connectivity(2, {1, 2, 2, 1, 9, 1});
  const struct {
    dense1D<unsigned> up;
    int orientation;
    V keys;
  } cases[] = {
      {ids({0, 0, 0, 1}), 0, {0, 0, NO}},     // ball of 1 from triangle 0: 0, then 1
      {ids({0, 1, 0, 1}), 0, {5, 0, NO}},     // ball of 1 from triangle 1: its reversed edge
      {ids({0, 1, 0, 1}), 1, {0, 5, NO}},     // same direction only: the second element
      {ids({0, 1, 0, 1}), -2, {5, 0, NO}},    // reversed only
      {ids({0, NO, 0, 1}), 0, {NO, 0, NO}},   // node 1 has no ancestor
      {ids({0}), 0, {NO, NO, NO}},            // nor any beyond the size
  };
  for (const auto& c : cases) {
    dense1D<unsigned> keys = ids({4, 4});
    unsigned nb = 0;
    ASSERT_EQ(get_elements_on_boundaries(query, tri, nbr, c.up, ELT_TRIA3, c.orientation, keys, nb), 0);
    EXPECT_EQ(to_vector(keys), c.keys) << "orientation " << c.orientation;
    EXPECT_EQ(nb, 3u);
  }
  // Within one element (a degenerate triangle listing 1-2 and 2-1) the
  // direction asked for comes first.
  dense1D<unsigned> keys;
  unsigned nb = 0;
  for (const auto& [orientation, key] : {std::pair{0, 2u}, {-1, 0u}, {1, 2u}, {-2, 0u}}) {
    ASSERT_EQ(get_elements_on_boundaries(connectivity(2, {1, 2}), connectivity(3, {1, 2, 1}),
                                         connectivity(3, {NO, NO, NO}), ids({0, 0, 0}), ELT_TRIA3, orientation, keys,
                                         nb),
              0);
    EXPECT_EQ(to_vector(keys), V({key})) << "orientation " << orientation;
  }
  // A single node matches in both directions; mixed faces keep stride 4.
  ASSERT_EQ(get_elements_on_boundaries(connectivity(1, {1}), connectivity(2, {0, 1, 1, 2}),
                                       connectivity(2, {1, NO, NO, 0}), ids({0, 1, 1}), ELT_EDGE2, -2, keys, nb),
            0);
  EXPECT_EQ(to_vector(keys), V({3}));
  ASSERT_EQ(get_elements_on_boundaries(connectivity(2, {5, 2}), connectivity(4, {0, 1, 2, NO, 1, 4, 5, 2}),
                                       connectivity(4, {1, NO, NO, NO, NO, NO, NO, 0}), ids({0, 0, 1, 0, 1, 1}),
                                       ELT_FACE_MIX, 0, keys, nb),
            0);
  EXPECT_EQ(to_vector(keys), V({6}));
  EXPECT_EQ(nb, 4u);
}

TEST(ElementsOnBoundaries, BrokenRelationsGiveTheirCodesAndNeverLoop) {
  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2, 2, 1, 3, 4, 5, 6});
  const dense2D<unsigned> query = connectivity(2, {1, 3});
  dense1D<unsigned> keys = ids({1});
  unsigned nb = 7;
  auto run = [&](const dense2D<unsigned>& nbr, const dense1D<unsigned>& up) {
    return get_elements_on_boundaries(query, tri, nbr, up, ELT_TRIA3, 0, keys, nb);
  };
  const dense1D<unsigned> up = ids({0, 0, 0, 1, 2, 2, 2});
  // Triangle 0 points across its edge (1, 2) to triangle 2, which does not hold node 1.
  EXPECT_EQ(run(connectivity(3, {2, NO, NO, NO, NO, 0, NO, NO, NO}), up), -3);
  EXPECT_TRUE(keys.empty());
  EXPECT_EQ(nb, 0u);
  // Links in a cycle, and elements linked to themselves, end the walk.
  EXPECT_EQ(run(connectivity(3, {1, 0, 0, 0, 1, 1, NO, NO, NO}), up), 0);
  EXPECT_EQ(to_vector(keys), V({3}));
  EXPECT_EQ(run(connectivity(3, {0, 0, 0, 1, 1, 1, 2, 2, 2}), up), 0);
  EXPECT_EQ(to_vector(keys), V({NO}));
  // The ancestor of node 1 does not hold it.
  EXPECT_EQ(run(connectivity(3, {1, NO, NO, NO, NO, 0, NO, NO, NO}), ids({0, 2, 0, 1})), -4);

  // Random links and ancestors on a real mesh: codes, never a crash or a hang.
  auto g = rng(14);
  const random_mesh m = small_mesh(g, cell_cut::tetrahedra, 0.1);
  dense2D<unsigned> faces, nbr;
  ASSERT_EQ(get_element_boundaries(m.connect, m.type, faces), 0);
  const unsigned n = m.connect.cols();
  int codes[5] = {};
  for (int round = 0; round < 40; ++round) {
    ASSERT_EQ(get_neighbors(m.connect, m.type, false, nbr), 0);
    dense1D<unsigned> anc;
    ASSERT_EQ(get_ancestors(m.connect, anc), 0);
    for (int k = 0; k <= round / 2; ++k)
      if (round % 2)
        anc[unsigned(g() % anc.size())] = unsigned(g() % n);
      else
        nbr(unsigned(g() % 4), unsigned(g() % n)) = unsigned(g() % n);
    const int r = get_elements_on_boundaries(faces, m.connect, nbr, anc, m.type, int(g() % 5) - 2, keys, nb);
    ASSERT_TRUE(r == 0 || r == -3 || r == -4) << r;
    ++codes[-r];
  }
  EXPECT_GT(codes[3], 0);
  EXPECT_GT(codes[4], 0);
}

TEST(MeshBoundaries, CodesInTheOrderTested) {
  const dense2D<unsigned> tri = connectivity(3, {0, 1, 2, 2, 1, 3});
  const dense2D<unsigned> nbr = connectivity(3, {1, NO, NO, NO, NO, 0});
  const dense2D<unsigned> bad_nbr = connectivity(3, {2, NO, NO, NO, NO, 0});
  const dense2D<unsigned> tri6 = connectivity(6, {0, 1, 2, 3, 4, 5});
  const dense2D<unsigned> nbr6 = connectivity(3, {NO, NO, NO});
  const dense2D<unsigned> bad_rows = connectivity(3, {0, 1, NO});
  const element_type none = element_type(40);
  dense2D<unsigned> out(3, 1, 5u), two;
  const dense2D<unsigned> empty;
  const V kept = to_vector(out);
  const dense1D<unsigned> colors = ids({1, 2});

  EXPECT_EQ(get_mesh_boundaries(empty, bad_nbr, none, out), 0);
  EXPECT_EQ(get_mesh_boundaries(tri, nbr, none, out), -3);
  EXPECT_EQ(get_mesh_boundaries(bad_rows, nbr, ELT_TRIA3, out), -1);
  EXPECT_EQ(get_mesh_boundaries(tri, nbr, ELT_QUAD4, out), -1);
  EXPECT_EQ(get_mesh_boundaries(tri, bad_nbr, ELT_TRIA3, out), -2);
  EXPECT_EQ(get_mesh_boundaries(tri, connectivity(3, {1, NO, NO}), ELT_TRIA3, out), -2);
  EXPECT_EQ(get_mesh_boundaries(tri, nbr, ELT_TRIA3, out), -4);
  EXPECT_EQ(get_mesh_boundaries(tri6, nbr6, ELT_TRIA6, out), -3);
  EXPECT_EQ(to_vector(out), kept);

  dense1D<unsigned> keys = ids({8});
  unsigned nb = 9;
  EXPECT_EQ(get_mesh_bounding_elements(empty, nbr, ELT_TRIA3, keys, nb), 0);
  EXPECT_EQ(nb, 0u);
  EXPECT_EQ(get_mesh_bounding_elements(tri, nbr, none, keys, nb), -2);
  EXPECT_EQ(get_mesh_bounding_elements(bad_rows, nbr, ELT_TRIA3, keys, nb), -1);
  EXPECT_EQ(get_mesh_bounding_elements(tri6, nbr6, ELT_TRIA6, keys, nb), -2);
  EXPECT_EQ(get_mesh_bounding_elements(tri, connectivity(4, {1, NO, NO, NO}), ELT_TRIA3, keys, nb), -2);
  EXPECT_EQ(get_mesh_bounding_elements(tri, bad_nbr, ELT_TRIA3, keys, nb), 0);  // entries are not checked
  EXPECT_EQ(to_vector(keys), V({8, 1, 2, 3, 4}));
  EXPECT_EQ(nb, 3u);

  EXPECT_EQ(get_colors_boundaries(empty, nbr, colors, none, false, out), 0);
  EXPECT_EQ(get_colors_boundaries(tri, nbr, colors, none, false, out), -4);
  EXPECT_EQ(get_colors_boundaries(bad_rows, nbr, colors, ELT_TRIA3, false, out), -1);
  EXPECT_EQ(get_colors_boundaries(tri, bad_nbr, colors, ELT_TRIA3, false, out), -2);
  EXPECT_EQ(get_colors_boundaries(tri, nbr, ids({1}), ELT_TRIA3, false, out), -3);
  EXPECT_EQ(get_colors_boundaries(tri, nbr, colors, ELT_TRIA3, false, out), -5);
  EXPECT_EQ(get_colors_boundaries(tri6, nbr6, ids({1}), ELT_TRIA6, false, out), -4);
  EXPECT_EQ(to_vector(out), kept);
  ASSERT_EQ(get_colors_boundaries(tri, nbr, colors, ELT_TRIA3, true, two), 0);
  EXPECT_EQ(to_vector(two), V({1, 2, 2, 0, 0, 1, 1, 3, 3, 2, 2, 1}));

  const dense2D<unsigned> q = connectivity(2, {1, 2});
  const dense1D<unsigned> up = ids({0, 0, 0, 1});
  EXPECT_EQ(get_elements_on_boundaries(empty, tri, bad_nbr, up, none, 0, keys, nb), 0);
  EXPECT_TRUE(keys.empty());
  EXPECT_EQ(nb, 0u);
  EXPECT_EQ(get_elements_on_boundaries(q, tri, nbr, up, none, 0, keys, nb), -5);
  EXPECT_EQ(get_elements_on_boundaries(connectivity(3, {1, 2, 0}), tri, nbr, up, ELT_TRIA3, 0, keys, nb), -1);
  EXPECT_EQ(get_elements_on_boundaries(q, bad_rows, nbr, up, ELT_TRIA3, 0, keys, nb), -2);
  EXPECT_EQ(get_elements_on_boundaries(q, tri, bad_nbr, up, ELT_TRIA3, 0, keys, nb), -3);
  EXPECT_EQ(get_elements_on_boundaries(q, tri, nbr, ids({0, 2}), ELT_TRIA3, 0, keys, nb), -4);
  EXPECT_EQ(get_elements_on_boundaries(connectivity(3, {1, 2, 3}), tri6, nbr6, ids({0}), ELT_TRIA6, 0, keys, nb),
            -5);
  EXPECT_TRUE(keys.empty());
  EXPECT_EQ(nb, 0u);
}
