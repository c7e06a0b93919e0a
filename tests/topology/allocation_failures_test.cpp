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
  dense2D<unsigned> c, n;
  dense1D<unsigned> a, b, d;
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
       [&] { return sort_elfes(c, n, a, b, d); }, 1}};
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
