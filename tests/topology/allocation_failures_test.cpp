// Every topology call under allocation failure: each failing attempt returns
// -199 and leaves everything the caller owns as it was; the first attempt
// that succeeds gives the same result as an undisturbed call.
#include <functional>

#include "support/meshes.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using namespace plexa_test;
using V = std::vector<unsigned>;

namespace {

void put(V& s, const dense1D<unsigned>& v) {
  s.push_back(v.size());
  s.insert(s.end(), v.begin(), v.end());
}
void put(V& s, const dense2D<unsigned>& m) {
  const V e = to_vector(m);
  s.insert(s.end(), {m.rows(), m.cols()});
  s.insert(s.end(), e.begin(), e.end());
}
template <class... M>
V snapshot(const M&... m) {
  V s;
  (put(s, m), ...);
  return s;
}

}  // namespace

TEST(TopologyAllocationFailures, LeaveEverythingAsItWas) {
  auto g = rng(5);
  const dense2D<unsigned> mix = strided(grid_mixed_solids(2, 2, 1, &g)), tet = grid_tetrahedra(2, 2, 2, &g);
  const dense2D<unsigned> tri_nbr = strided(connectivity(3, {2, NO, NO, NO, 5, NO, NO, NO, 0}));
  const dense2D<unsigned> sort_nbr = random_connectivity(g, 2, mix.cols(), mix.cols() + 2);
  const dense2D<unsigned> tet_nbr = [&] {
    dense2D<unsigned> m;
    get_neighbors(tet, ELT_TETRA4, false, m);
    return m;
  }();
  const dense2D<unsigned> faces = connectivity(3, {tet(1, 0), tet(2, 0), tet(3, 0), tet(0, 1), tet(2, 1), tet(1, 1)});
  dense1D<unsigned> colors(tet.cols()), up;
  for (unsigned e = 0; e < tet.cols(); ++e) colors[e] = e % 3;
  get_ancestors(tet, up);
  const dense2D<unsigned> blocks[] = {tet, mix};
  const dense1D<int> types = [] {
    dense1D<int> t(2, int(ELT_TETRA4));
    t[1] = ELT_SOLID_MIX;
    return t;
  }();
  dense2D<unsigned> c, n;
  dense1D<unsigned> a, b, d;
  unsigned nb = 0;
  struct fallible {
    const char* name;
    std::function<void()> fill;  // the inputs and outputs that do not start empty
    std::function<int()> call;
    unsigned min_failures;
  };
  const auto none = [] {};
  const fallible cases[] = {
      {"node graph", none, [&] { return get_node_graph(mix, a, b, ELT_SOLID_MIX); }, 6},
      {"connected elements", none, [&] { return get_connected_elements(mix, a, b); }, 1},
      {"ancestors", none, [&] { return get_ancestors(mix, a); }, 1},
      {"neighbours", none, [&] { return get_neighbors(tet, ELT_TETRA4, false, c); }, 3},
      {"neighbours, links", none, [&] { return get_neighbors(tet, ELT_TETRA4, true, c); }, 3},
      {"element boundaries (appended)", [&] { c = connectivity(4, {1, 2, 3, 4}); },
       [&] { return get_element_boundaries(mix, ELT_SOLID_MIX, c); }, 1},
      {"sub-domains", none, [&] { return get_subdomains(tri_nbr, a, b); }, 1},
      {"sub-domains, renumbered", [&] { c = strided(connectivity(3, {0, 1, 2, 7, 8, 9, 2, 1, 3})), n = strided(tri_nbr); },
       [&] { return get_subdomains(c, n, a); }, 3},
      {"sort", [&] { c = strided(mix); }, [&] { return sort_elfes(c, a, b, d); }, 1},
      {"sort with neighbours", [&] { c = strided(mix), n = strided(sort_nbr); },
       [&] { return sort_elfes(c, n, a, b, d); }, 1},
      {"mesh boundaries (appended)", [&] { c = connectivity(3, {1, 2, 3}); },
       [&] { return get_mesh_boundaries(tet, tet_nbr, ELT_TETRA4, c); }, 1},
      {"bounding elements (appended)", [&] { a = ids({1, 2}); },
       [&] { return get_mesh_bounding_elements(tet, tet_nbr, ELT_TETRA4, a, nb); }, 1},
      {"colour interfaces", none, [&] { return get_colors_boundaries(tet, tet_nbr, colors, ELT_TETRA4, true, c); }, 1},
      {"elements on boundaries", none,
       [&] { return get_elements_on_boundaries(faces, tet, tet_nbr, up, ELT_TETRA4, 0, a, nb); }, 2},
      {"edges (appended)", [&] { c = connectivity(2, {0, 1}); }, [&] { return copy_edges(mix, ELT_SOLID_MIX, c); }, 6},
      {"edges of blocks", none, [&] { return copy_edges(blocks, blocks + 2, types, c); }, 6}};
  const auto reset = [&](const fallible& f) {
    c = n = dense2D<unsigned>();
    a = b = d = dense1D<unsigned>();
    f.fill();
  };
  for (const fallible& f : cases) {
    SCOPED_TRACE(f.name);
    reset(f);
    ASSERT_EQ(f.call(), 0);
    const V undisturbed = snapshot(c, n, a, b, d);
    reset(f);
    const V before = snapshot(c, n, a, b, d);
    EXPECT_GE(for_each_allocation_failure(f.call, [&] { EXPECT_EQ(snapshot(c, n, a, b, d), before); }),
              f.min_failures);
    EXPECT_EQ(snapshot(c, n, a, b, d), undisturbed);
  }
}
