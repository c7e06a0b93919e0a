// The assembly of a mesh read from a file (src/io/common/mesh_assembly).
#include <algorithm>
#include <map>
#include <vector>

#include "io/common/mesh_assembly.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using namespace plexa_test;
using detail::mesh_assembly;
using outcome = mesh_assembly::outcome;

namespace {

struct read_mesh {
  dense2D<double> pos;
  dense2D<unsigned> connect;
  dense1D<unsigned, 8> ranges, ids, node_ids, element_ids;
  dense1D<int, 8> types;
  outcome finish(mesh_assembly& a) {
    return a.finish(pos, connect, ranges, types, ids, &node_ids, &element_ids);
  }
  bool empty() const {
    return pos.empty() && connect.empty() && ranges.empty() && types.empty() && ids.empty() && node_ids.empty() &&
           element_ids.empty();
  }
};

}  // namespace

// Random files: node ids dense or sparse, in any order; elements of a few
// types in runs.  Checked against a direct reading of the same lists.
TEST(MeshAssembly, ResolvesIdsAndGroupsRunsOfOneType) {
  for (unsigned seed = 0; seed < 12; ++seed) {
    SCOPED_TRACE(seed);
    auto g = rng(seed);
    const unsigned n = 1 + unsigned(g() % 300), spread = seed % 2 ? 1 : 100000;
    std::vector<unsigned> node_id(n);
    for (unsigned i = 0; i < n; ++i) node_id[i] = 7 + i * spread;
    std::shuffle(node_id.begin(), node_id.end(), g);
    mesh_assembly a(3);
    std::map<unsigned, std::vector<double>> at;
    for (unsigned i = 0; i < n; ++i) {
      const double x[3] = {double(g() % 100), double(i), -double(seed)};
      at[node_id[i]] = {x[0], x[1], x[2]};
      ASSERT_TRUE(a.add_node(node_id[i], x));
    }
    // Mixed faces of 3 or 4 nodes: one block across runs of either count.
    const element_type kinds[] = {ELT_TRIA3, ELT_QUAD4, ELT_EDGE2, ELT_TETRA10, ELT_FACE_MIX};
    std::vector<std::vector<unsigned>> elements;
    std::vector<int> type_of;
    for (unsigned e = 0, m = unsigned(g() % 60); e < m; ++e) {
      const element_type t = kinds[(e / 7 + g() % 2) % 5];
      std::vector<unsigned> nodes(t == ELT_FACE_MIX ? 3 + g() % 2 : nbr_nodes(t));
      for (unsigned& v : nodes) v = node_id[g() % n];
      ASSERT_TRUE(a.add_element(t, nodes.data(), unsigned(nodes.size()), 1000 + e, e % 5));
      elements.push_back(nodes);
      type_of.push_back(t);
    }
    read_mesh r;
    ASSERT_EQ(r.finish(a), outcome::complete);
    // Nodes in ascending id order.
    std::vector<unsigned> sorted(node_id);
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(to_vector(r.node_ids), sorted);
    ASSERT_EQ(r.pos.cols(), n);
    for (unsigned p = 0; p < n; ++p)
      EXPECT_EQ(to_vector(r.pos.sub_matrix(0, p, 3, 1)), at[sorted[p]]) << p;
    // Elements in file order, one block per run of a type.
    const unsigned m = unsigned(elements.size());
    ASSERT_EQ(r.connect.cols(), m);
    unsigned rows = 0;
    for (const auto& e : elements) rows = std::max(rows, unsigned(e.size()));
    EXPECT_EQ(r.connect.rows(), m ? rows : 0u);
    std::vector<unsigned> ranges{0};
    std::vector<int> types;
    for (unsigned e = 0; e < m; ++e) {
      if (e > 0 && type_of[e] != type_of[e - 1]) ranges.push_back(e);
      if (e == 0 || type_of[e] != type_of[e - 1]) types.push_back(type_of[e]);
      for (unsigned k = 0; k < rows; ++k)
        EXPECT_EQ(r.connect(k, e), k < elements[e].size() ? unsigned(std::lower_bound(sorted.begin(), sorted.end(),
                                                                                        elements[e][k]) -
                                                                       sorted.begin())
                                                          : NO);
      EXPECT_EQ(r.ids[e], e % 5);
      EXPECT_EQ(r.element_ids[e], 1000 + e);
    }
    if (m > 0) ranges.push_back(m);
    EXPECT_EQ(to_vector(r.ranges), ranges);
    EXPECT_EQ(std::vector<int>(r.types.begin(), r.types.end()), types);
  }
}

TEST(MeshAssembly, RepeatedAndMissingNodesLeaveNothing) {
  const double x[3] = {0, 1, 2};
  const unsigned tri[3] = {1, 2, 9};
  mesh_assembly missing(3);
  for (unsigned id : {1u, 2u, 3u}) missing.add_node(id, x);
  missing.add_element(ELT_TRIA3, tri, 3, 1, 0);
  read_mesh r;
  r.ids = ids({5});
  EXPECT_EQ(r.finish(missing), outcome::missing_node);
  EXPECT_TRUE(r.empty());

  mesh_assembly twice(3);
  for (unsigned id : {1u, 2u, 1u}) twice.add_node(id, x);
  EXPECT_EQ(r.finish(twice), outcome::duplicate_node);
  EXPECT_TRUE(r.empty());

  // No element: the nodes alone, one range entry.
  mesh_assembly nodes_only(2);
  nodes_only.add_node(4, x);
  ASSERT_EQ(r.finish(nodes_only), outcome::complete);
  EXPECT_EQ(to_vector(r.pos), (std::vector<double>{0, 1}));
  EXPECT_EQ(to_vector(r.ranges), (std::vector<unsigned>{0}));
  EXPECT_TRUE(r.types.empty() && r.connect.empty());
}

TEST(MeshAssembly, MemoryFailuresLeaveNothing) {
  auto attempt = [](read_mesh& r) {
    mesh_assembly a(3);
    const double x[3] = {1, 2, 3};
    for (unsigned id = 0; id < 40; ++id)
      if (!a.add_node(id * 3, x)) return -199;
    for (unsigned e = 0; e < 30; ++e) {
      const unsigned tet[4] = {e * 3, e * 3 + 3, e * 3 + 6, 0};
      if (!a.add_element(e < 10 ? ELT_TETRA4 : ELT_QUAD4, tet, 4, e, e)) return -199;
    }
    return r.finish(a) == outcome::complete ? 0 : -199;
  };
  read_mesh r;
  EXPECT_GT(for_each_allocation_failure([&] { return attempt(r); }, [&] { EXPECT_TRUE(r.empty()); }), 5u);
  EXPECT_EQ(to_vector(r.ranges), (std::vector<unsigned>{0, 10, 30}));
}
