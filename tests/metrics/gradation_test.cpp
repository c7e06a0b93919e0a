// Gradation control (src/metrics/gradation.cpp, propagation.hpp,
// node_correction.hpp, edge_queue.hpp, size_fields.hpp, edge_measures.hpp):
// isotropic results against shortest-path bounds, properties of anisotropic
// results, frozen nodes, independence of the element order, argument codes.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <numeric>
#include <queue>
#include <set>

#include "metrics/gradation_session.hpp"
#include "metrics/metric_samples.hpp"
#include "metrics/propagation.hpp"
#include "support/meshes.hpp"
#include "topology/incidence.hpp"

using namespace plexa_test;

namespace {

using pair_set = std::set<std::pair<unsigned, unsigned>>;
using V = std::vector<double>;

enum class kind { gradation, variation };

int bound(kind k, const random_mesh& m, const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g,
          dense1D<double, 8>& H) {
  return k == kind::gradation ? bound_metric_gradations(m.coords, m.connect, m.type, nodes, frozen, mode, g, H)
                              : bound_metric_variations(m.coords, m.connect, m.type, nodes, frozen, mode, g, H);
}
int bound(kind k, const random_mesh& m, const dense1D<unsigned, 8>& nodes, bool frozen, int mode, double g,
          dense2D<double>& M) {
  return k == kind::gradation ? bound_metric_gradations(m.coords, m.connect, m.type, nodes, frozen, mode, g, M)
                              : bound_metric_variations(m.coords, m.connect, m.type, nodes, frozen, mode, g, M);
}

// The size change per unit length that meets the bound.
double rate(kind k, double g) { return k == kind::gradation ? std::log1p(g) : g; }

double distance(const dense2D<double>& pos, unsigned i, unsigned j) {
  double s = 0;
  for (unsigned r = 0; r < pos.rows(); ++r) s += (pos(r, j) - pos(r, i)) * (pos(r, j) - pos(r, i));
  return std::sqrt(s);
}

// The sizes of i and j along their edge.
std::pair<double, double> along(const dense2D<double>&, const dense1D<double, 8>& H, unsigned i, unsigned j) {
  return {H[i], H[j]};
}
std::pair<double, double> along(const dense2D<double>& pos, const dense2D<double>& M, unsigned i, unsigned j) {
  double e[3] = {};
  const double d = distance(pos, i, j);
  for (unsigned r = 0; r < pos.rows(); ++r) e[r] = (pos(r, j) - pos(r, i)) / d;
  auto size = [&](unsigned v) {
    return pos.rows() == 2 ? 1 / std::sqrt(quadratic<2>(column<2>(M, v), e))
                           : 1 / std::sqrt(quadratic<3>(column<3>(M, v), e));
  };
  return {size(i), size(j)};
}

// Size change per unit length along an edge, over what the bound allows
// (1 at the bound).
template <class Field>
double excess(kind k, double g, const random_mesh& m, const Field& f, unsigned i, unsigned j) {
  const auto [hi, hj] = along(m.coords, f, i, j);
  return std::fabs(hi - hj) / distance(m.coords, i, j) / rate(k, g);
}

// The sizes whose change per unit length along every edge is at most c:
// the largest such field below H (shrink) or the smallest above it (grow),
// by a shortest-path search from every node at once.
V lipschitz_envelope(const random_mesh& m, const pair_set& edges, const dense1D<double, 8>& H, double c,
                     bool shrink) {
  const unsigned n = H.size();
  std::vector<std::vector<std::pair<unsigned, double>>> adj(n);
  for (const auto& [a, b] : edges) {
    const double d = distance(m.coords, a, b);
    adj[a].push_back({b, d});
    adj[b].push_back({a, d});
  }
  const double sign = shrink ? 1 : -1;  // a min-search on sign * size
  V best(n);
  std::priority_queue<std::pair<double, unsigned>, std::vector<std::pair<double, unsigned>>, std::greater<>> q;
  for (unsigned v = 0; v < n; ++v) best[v] = sign * H[v], q.push({best[v], v});
  while (!q.empty()) {
    const auto [key, v] = q.top();
    q.pop();
    if (key > best[v]) continue;
    for (const auto& [w, d] : adj[v])
      if (key + c * d < best[w]) best[w] = key + c * d, q.push({best[w], w});
  }
  for (double& x : best) x *= sign;
  return best;
}

// Sizes between about 0.14 and 2.7, with a few tiny ones.
dense1D<double, 8> rough_sizes(std::mt19937_64& g, unsigned n) {
  std::uniform_real_distribution<double> u(-2, 1);
  dense1D<double, 8> H(n);
  for (unsigned v = 0; v < n; ++v) H[v] = std::exp(u(g));
  for (int k = 0; k < 3; ++k) H[unsigned(g() % n)] = 1e-3;
  return H;
}

// Metrics with sizes between 0.1 and 3 along random axes.
dense2D<double> rough_metrics(std::mt19937_64& g, unsigned dim, unsigned n) {
  dense2D<double> M(dim == 2 ? 3 : 6, n);
  for (unsigned v = 0; v < n; ++v) {
    if (dim == 2) {
      const Sym<2> s = random_metric<2>(g, -1, 2);
      for (unsigned k = 0; k < 3; ++k) M(k, v) = s[k];
    } else {
      const Sym<3> s = random_metric<3>(g, -1, 2);
      for (unsigned k = 0; k < 6; ++k) M(k, v) = s[k];
    }
  }
  return strided(M);
}

dense2D<double> copy_of(const dense2D<double>& M) {
  dense2D<double> c;
  EXPECT_TRUE(c.copy(M));
  return c;
}
dense1D<double, 8> copy_of(const dense1D<double, 8>& H) {
  dense1D<double, 8> c;
  EXPECT_TRUE(c.copy(H));
  return c;
}

bool same_value(const dense1D<double, 8>& a, const dense1D<double, 8>& b, unsigned v) {
  return std::memcmp(&a[v], &b[v], sizeof(double)) == 0;
}
bool same_value(const dense2D<double>& a, const dense2D<double>& b, unsigned v) {
  return std::memcmp(&a(0, v), &b(0, v), a.rows() * sizeof(double)) == 0;
}
unsigned count(const dense1D<double, 8>& H) { return H.size(); }
unsigned count(const dense2D<double>& M) { return M.cols(); }

// Nodes whose value differs, bit for bit.
template <class Field>
unsigned changed_nodes(const Field& a, const Field& b) {
  unsigned n = 0;
  for (unsigned v = 0; v < count(a); ++v) n += !same_value(a, b, v);
  return n;
}

// Smallest eigenvalue of B - A over the scale of both: >= 0 when the unit
// ball of B lies in that of A (B has the smaller sizes).
template <unsigned D>
double loewner_gap_of(const dense2D<double>& A, const dense2D<double>& B, unsigned v) {
  const Sym<D> a = column<D>(A, v), b = column<D>(B, v);
  Sym<D> d;
  for (unsigned k = 0; k < Sym<D>::packed_size; ++k) d[k] = b[k] - a[k];
  Vec<D> l;
  eigen_values(d, l);
  return l[0] / std::max(scale<D>(a), scale<D>(b));
}
double loewner_gap(const dense2D<double>& A, const dense2D<double>& B, unsigned v) {
  return A.rows() == 3 ? loewner_gap_of<2>(A, B, v) : loewner_gap_of<3>(A, B, v);
}

struct mesh_case {
  cell_cut cut;
  unsigned nx, ny, nz;
};
const mesh_case meshes[] = {{cell_cut::triangles, 14, 12, 1},
                            {cell_cut::tetrahedra, 6, 5, 4},
                            {cell_cut::mixed_solids, 5, 5, 4}};

const dense1D<unsigned, 8> none;

// The result is left within the bound up to the 0.001 threshold on t.
const double slack = 1 / 0.999 * (1 + 1e-9);

// Calls f(mesh, its edges, measure, g, mode) for runs in modes 1 and -1 on
// random meshes of each kind.
template <class F>
void for_each_directed_run(std::uint64_t seed, F&& f) {
  auto g = rng(seed);
  for (const mesh_case& c : meshes)
    for (const kind k : {kind::gradation, kind::variation})
      for (const int mode : {1, -1}) {
        const random_mesh m = random_conforming_mesh(g, c.cut, c.nx, c.ny, c.nz, 0.1);
        SCOPED_TRACE(testing::Message() << "type " << m.type << ", measure " << int(k) << ", mode " << mode);
        f(g, m, vertex_edges(m.connect, m.type), k, k == kind::gradation ? 0.3 : 0.8, mode);
      }
}

// A run on a copy of F0 without frozen nodes, with what every such run
// gives checked: the count of nodes changed, every edge within the bound
// up to the slack, nothing left for a second call.
template <class Field>
Field bounded(kind k, const random_mesh& m, const pair_set& edges, int mode, double bound_g, const Field& F0) {
  Field F = copy_of(F0);
  const int r = bound(k, m, none, true, mode, bound_g, F);
  EXPECT_GT(r, 0);
  EXPECT_EQ(unsigned(r), changed_nodes(F0, F));
  for (const auto& [a, b] : edges) {
    EXPECT_LE(excess(k, bound_g, m, F, a, b), slack) << a << "-" << b;
    if (excess(k, bound_g, m, F, a, b) > slack) break;
  }
  const Field once = copy_of(F);
  EXPECT_EQ(bound(k, m, none, true, mode, bound_g, F), 0);
  EXPECT_EQ(changed_nodes(once, F), 0u);
  return F;
}

}  // namespace

TEST(Gradation, IsotropicResultLiesBetweenTheShortestPathEnvelopes) {
  for_each_directed_run(71, [](auto& g, const random_mesh& m, const pair_set& edges, kind k, double bound_g,
                               int mode) {
    const dense1D<double, 8> H0 = rough_sizes(g, m.coords.cols());
    const dense1D<double, 8> H = bounded(k, m, edges, mode, bound_g, H0);
    // Every correction lands on the bound, so shrinking never goes below
    // the largest field under H0 whose change per unit length is c, nor
    // above the one for c times the slack; growing, the reverse.
    const double c = rate(k, bound_g);
    const bool shrink = mode == -1;
    const V exact = lipschitz_envelope(m, edges, H0, c, shrink);
    const V loose = lipschitz_envelope(m, edges, H0, c * slack, shrink);
    for (unsigned v = 0; v < H.size(); ++v) {
      const double lo = shrink ? exact[v] : loose[v], hi = shrink ? loose[v] : exact[v];
      ASSERT_GE(H[v], lo * (1 - 1e-12)) << "node " << v;
      ASSERT_LE(H[v], hi * (1 + 1e-12)) << "node " << v;
      ASSERT_TRUE(shrink ? H[v] <= H0[v] : H[v] >= H0[v]) << "node " << v;
    }
    // The shock of the result agrees with the bound.
    if (k == kind::gradation) {
      dense1D<double, 8> S;
      dense2D<unsigned> E;
      ASSERT_EQ(copy_edges(m.connect, m.type, E), 0);
      ASSERT_EQ(H_shock(m.coords, E, H, S), 0);
      for (unsigned v = 0; v < S.size(); ++v)
        ASSERT_LE(S[v], std::pow(1 + bound_g, slack * (1 + 3e-7)) - 1) << "node " << v;
    }
  });
}

// A session's first run is the serial call; after a few values are changed
// from outside, resuming from those nodes gives what the serial call on the
// changed field would bound it to: within the shortest-path envelopes of
// the changed field, every edge within the bound.
TEST(GradationSession, ResumingFromChangedNodesBoundsTheChangedField) {
  for_each_directed_run(73, [](auto& g, const random_mesh& m, const pair_set& edges, kind k, double bound_g,
                               int mode) {
    const dense1D<double, 8> H0 = rough_sizes(g, m.coords.cols());
    dense1D<double, 8> serial = copy_of(H0), H = copy_of(H0);
    const int serial_changed = bound(k, m, none, true, mode, bound_g, serial);
    ASSERT_GT(serial_changed, 0);
    detail::gradation_session session;
    ASSERT_EQ(session.start(k == kind::variation, m.coords, m.connect, m.type, none, true, mode, bound_g, H),
              serial_changed);
    ASSERT_EQ(to_vector(H), to_vector(serial));
    const bool shrink = mode == -1;
    dense1D<unsigned, 8> touched;
    for (int t = 0; t < 3; ++t) {
      const unsigned v = unsigned(g() % H.size());
      H[v] *= shrink ? 0.05 : 20.0;
      touched.push_back(v);
    }
    const dense1D<double, 8> changed = copy_of(H);
    ASSERT_GE(session.resume(touched), 0);
    const double c = rate(k, bound_g);
    const V exact = lipschitz_envelope(m, edges, changed, c, shrink);
    const V loose = lipschitz_envelope(m, edges, changed, c * slack, shrink);
    for (unsigned v = 0; v < H.size(); ++v) {
      const double lo = shrink ? exact[v] : loose[v], hi = shrink ? loose[v] : exact[v];
      ASSERT_GE(H[v], lo * (1 - 1e-12)) << "node " << v;
      ASSERT_LE(H[v], hi * (1 + 1e-12)) << "node " << v;
    }
    for (const auto& [a, b] : edges) ASSERT_LE(excess(k, bound_g, m, H, a, b), slack) << a << "-" << b;
  });
}

TEST(Gradation, AnisotropicResultKeepsItsDirectionAndMeetsTheBoundAlongEdges) {
  for_each_directed_run(72, [](auto& g, const random_mesh& m, const pair_set& edges, kind k, double bound_g,
                               int mode) {
    const dense2D<double> M0 = rough_metrics(g, m.coords.rows(), m.coords.cols());
    const dense2D<double> M = bounded(k, m, edges, mode, bound_g, M0);
    // Growing, the new unit ball holds the old one; shrinking, the reverse.
    for (unsigned v = 0; v < M.cols(); ++v)
      ASSERT_GE(mode == 1 ? loewner_gap(M, M0, v) : loewner_gap(M0, M, v), -1e-9) << "node " << v;
  });
}

TEST(Gradation, ChainOfEdgesByHand) {
  const random_mesh chain{coordinates(2, {0, 0, 1, 0, 2, 0, 3, 0}), connectivity(2, {0, 1, 1, 2, 2, 3}),
                          ELT_EDGE2};
  auto run = [&](kind k, int mode, V sizes) {
    dense1D<double, 8> H(unsigned(sizes.size()));
    std::copy(sizes.begin(), sizes.end(), H.begin());
    const int r = bound(k, chain, none, true, mode, 0.5, H);
    sizes.assign(H.begin(), H.end());
    sizes.push_back(r);
    return sizes;
  };
  auto near_all = [](const V& a, const V& b) { return near(a, b, 1e-14); };
  // Shrinking, the peak comes down to its neighbours' size plus the change
  // the bound allows over one unit.
  EXPECT_TRUE(near_all(run(kind::variation, -1, {1, 1, 10, 1}), {1, 1, 1.5, 1, 1}));
  EXPECT_TRUE(near_all(run(kind::gradation, -1, {1, 1, 10, 1}), {1, 1, 1 + std::log(1.5), 1, 1}));
  // Growing, the valleys rise, the farther node after its neighbour.
  EXPECT_TRUE(near_all(run(kind::variation, 1, {1, 1, 10, 1}), {9, 9.5, 10, 9.5, 3}));
  // Undecided: the two edges of node 1 tie; node 0 comes first and grows,
  // then node 1 shrinks against node 2, and the edge (0, 1) is left above
  // the bound, neither node being allowed back.
  EXPECT_TRUE(near_all(run(kind::variation, 0, {1, 10, 1, 1}), {9.5, 1.5, 1, 1, 2}));
  // Other modes block every correction.
  EXPECT_TRUE(near_all(run(kind::variation, 2, {1, 10, 1, 1}), {1, 10, 1, 1, 0}));
  EXPECT_TRUE(near_all(run(kind::variation, 0x101, {1, 10, 1, 1}), run(kind::variation, 1, {1, 10, 1, 1})));
}

TEST(Gradation, FrozenNodesStayAndTheirEdgesDoNotGetWorse) {
  auto g = rng(73);
  for (const mesh_case& c : meshes)
    for (const kind k : {kind::gradation, kind::variation})
      for (const int mode : {1, -1, 0}) {
        const random_mesh m = random_conforming_mesh(g, c.cut, c.nx, c.ny, c.nz, 0.1);
        const unsigned n = m.coords.cols();
        const double bound_g = 0.4;
        std::vector<unsigned> listed, others;
        for (unsigned v = 0; v < n; ++v) (g() % 4 == 0 ? listed : others).push_back(v);
        dense1D<unsigned, 8> frozen_list(unsigned(listed.size())), free_list(unsigned(others.size()));
        std::copy(listed.begin(), listed.end(), frozen_list.begin());
        std::copy(others.begin(), others.end(), free_list.begin());
        SCOPED_TRACE(testing::Message() << "type " << m.type << ", measure " << int(k) << ", mode " << mode);

        auto check = [&](const auto& F0) {
          auto F = copy_of(F0), G = copy_of(F0);
          const int r = bound(k, m, frozen_list, true, mode, bound_g, F);
          ASSERT_GT(r, 0);
          // Listing the free nodes instead is the same run.
          EXPECT_EQ(bound(k, m, free_list, false, mode, bound_g, G), r);
          EXPECT_EQ(changed_nodes(F, G), 0u);
          const std::set<unsigned> is_frozen(listed.begin(), listed.end());
          for (unsigned v : listed) ASSERT_TRUE(same_value(F0, F, v)) << "node " << v;
          // A free node within the bound against all its frozen neighbours
          // stays within it.
          std::vector<double> before(n, 0.0), after(n, 0.0);
          for (const auto& [a, b] : vertex_edges(m.connect, m.type)) {
            if (is_frozen.count(a) == is_frozen.count(b)) continue;
            const unsigned v = is_frozen.count(a) ? b : a;
            before[v] = std::max(before[v], excess(k, bound_g, m, F0, a, b));
            after[v] = std::max(after[v], excess(k, bound_g, m, F, a, b));
          }
          for (unsigned v = 0; v < n; ++v)
            if (before[v] <= 1 - 1e-6) {
              ASSERT_LE(after[v], 1 + 1e-6) << "node " << v;
            }
        };
        check(rough_sizes(g, n));
        check(rough_metrics(g, m.coords.rows(), n));
      }
}

TEST(Gradation, ElementOrderDoesNotMatter) {
  auto g = rng(74);
  for (const mesh_case& c : meshes)
    for (const int mode : {0, 1, -1}) {
      const random_mesh m = random_conforming_mesh(g, c.cut, c.nx, c.ny, c.nz, 0.1);
      const unsigned n = m.coords.cols();
      // The columns shuffled; the nodes of each simplex too.
      random_mesh p = m;
      std::vector<unsigned> order(m.connect.cols());
      std::iota(order.begin(), order.end(), 0u);
      std::shuffle(order.begin(), order.end(), g);
      p.connect = dense2D<unsigned>(m.connect.rows(), m.connect.cols());
      for (unsigned e = 0; e < order.size(); ++e) {
        for (unsigned r = 0; r < m.connect.rows(); ++r) p.connect(r, e) = m.connect(r, order[e]);
        if (m.type == ELT_TRIA3 || m.type == ELT_TETRA4) std::shuffle(&p.connect(0, e), &p.connect(0, e) + m.connect.rows(), g);
      }
      const dense1D<unsigned, 8> frozen = ids({unsigned(g() % n), unsigned(g() % n), unsigned(g() % n)});
      SCOPED_TRACE(testing::Message() << "type " << m.type << ", mode " << mode);
      auto same_both_ways = [&](kind k, const auto& F0) {
        auto F = copy_of(F0), G = copy_of(F0);
        EXPECT_EQ(bound(k, m, frozen, true, mode, 0.2, F), bound(k, p, frozen, true, mode, 0.2, G));
        EXPECT_EQ(changed_nodes(F, G), 0u);
      };
      same_both_ways(kind::gradation, rough_sizes(g, n));
      same_both_ways(kind::variation, rough_metrics(g, m.coords.rows(), n));
    }
}

TEST(Gradation, AFieldWithinTheBoundIsLeftAsItIs) {
  auto g = rng(75);
  for (const mesh_case& c : meshes) {
    const random_mesh m = random_conforming_mesh(g, c.cut, c.nx, c.ny, c.nz, 0.1);
    const unsigned n = m.coords.cols(), dim = m.coords.rows();
    dense1D<double, 8> H(n);
    dense2D<double> M(dim == 2 ? 3 : 6, n);
    const Sym<3> axes3 = random_metric<3>(g, -1, 1);
    const Sym<2> axes2 = random_metric<2>(g, -1, 1);
    for (unsigned v = 0; v < n; ++v) {
      double x = 0;
      for (unsigned r = 0; r < dim; ++r) x += m.coords(r, v);
      H[v] = 2 + 0.05 * x;
      for (unsigned k = 0; k < M.rows(); ++k) M(k, v) = dim == 2 ? axes2[k] : axes3[k];
    }
    for (const kind k : {kind::gradation, kind::variation})
      for (const int mode : {0, 1, -1})
        for (const double bound_g : {0.3, 0.0}) {
          dense1D<double, 8> h = copy_of(H);
          dense2D<double> mm = copy_of(M);
          if (bound_g > 0) {
            EXPECT_EQ(bound(k, m, none, true, mode, bound_g, h), 0);
            EXPECT_EQ(changed_nodes(H, h), 0u);
          }
          // A constant metric field meets even g = 0.
          EXPECT_EQ(bound(k, m, none, true, mode, bound_g, mm), 0);
          EXPECT_EQ(changed_nodes(M, mm), 0u);
        }
    // Nothing is free.
    dense1D<double, 8> rough = rough_sizes(g, n), h = copy_of(rough);
    EXPECT_EQ(bound(kind::gradation, m, none, false, 1, 0.1, h), 0);
    dense1D<unsigned, 8> all(n);
    std::iota(all.begin(), all.end(), 0u);
    EXPECT_EQ(bound(kind::variation, m, all, true, -1, 0.1, h), 0);
    EXPECT_EQ(changed_nodes(rough, h), 0u);
  }
}

TEST(Gradation, InvalidValuesAreNeitherRepairedNorFatal) {
  auto g = rng(76);
  for (const mesh_case& c : meshes) {
    const random_mesh m = random_conforming_mesh(g, c.cut, c.nx, c.ny, c.nz, 0.1);
    const unsigned n = m.coords.cols();
    dense1D<double, 8> H = rough_sizes(g, n);
    const double broken[] = {0.0, -1.0, NAN, INFINITY, DBL_MAX, 1e-300};
    for (unsigned v = 0; v < n; v += 3) H[v] = broken[g() % 6];
    const dense2D<double> M = m.coords.rows() == 2 ? mixed_field<2>(g, n) : mixed_field<3>(g, n);
    for (const kind k : {kind::gradation, kind::variation})
      for (const int mode : {0, 1, -1}) {
        dense1D<double, 8> h = copy_of(H);
        dense2D<double> mm = copy_of(M);
        EXPECT_GE(bound(k, m, ids({1, 2, 3}), true, mode, 0.25, h), 0);
        EXPECT_GE(bound(k, m, ids({1, 2, 3}), true, mode, 0.25, mm), 0);
        for (unsigned v = 0; v < n; ++v)
          if (!(H[v] > 0)) {
            EXPECT_TRUE(same_value(H, h, v)) << "node " << v;
          }
      }
  }
}

TEST(Gradation, ArgumentsAreCheckedInOrder) {
  const random_mesh m{coordinates(2, {0, 0, 1, 0, 0, 1, 1, 1}), connectivity(3, {0, 1, 2, 1, 3, 2}), ELT_TRIA3};
  const dense1D<double, 8> H = reals({1, 1, 1, 5});
  dense2D<double> M(3, 4, 0.0);
  for (unsigned v = 0; v < 4; ++v) M(0, v) = M(2, v) = 1.0 / (v + 1);
  // Each argument list, run through the four overloads.
  struct args {
    dense2D<double> pos;
    dense2D<unsigned> connect;
    element_type type;
    dense1D<unsigned, 8> nodes;
    double g;
    dense1D<double, 8> H;
    dense2D<double> M;
  };
  auto codes = [](const args& a) {
    std::set<int> out;
    for (const kind k : {kind::gradation, kind::variation}) {
      const random_mesh mesh{a.pos, a.connect, a.type};
      dense1D<double, 8> h = copy_of(a.H);
      dense2D<double> mm = copy_of(a.M);
      out.insert(bound(k, mesh, a.nodes, true, 1, a.g, h));
      out.insert(bound(k, mesh, a.nodes, true, 1, a.g, mm));
    }
    return out.size() == 1 ? *out.begin() : 1000;
  };
  const args good{m.coords, m.connect, m.type, ids({0}), 0.1, H, M};
  EXPECT_GT(codes(good), 0);
  args a = good;
  a.g = 0;
  a.nodes = none;
  EXPECT_GT(codes(a), 0);

  // Each case is also wrong in every later argument.
  const dense2D<double> bad_pos(4, 4, 0.0);
  const dense2D<unsigned> bad_connect = connectivity(3, {0, 1, 4});
  const dense1D<unsigned, 8> bad_nodes = ids({NO, 4});
  args worst{bad_pos, bad_connect, ELT_TRIA6, bad_nodes, -1, reals({1}), dense2D<double>(6, 4, 1.0)};
  a = worst;
  a.connect = dense2D<unsigned>(3, 0);
  EXPECT_EQ(codes(a), 0);
  a = worst;
  a.g = DBL_MAX;
  EXPECT_EQ(codes(a), 0);
  EXPECT_EQ(codes(worst), -1);
  worst.pos = dense2D<double>(1, 4, 0.0);
  EXPECT_EQ(codes(worst), -1);
  worst.pos = strided(m.coords);
  EXPECT_EQ(codes(worst), -2);
  worst.connect = connectivity(6, {0, 1, 2, 3, 3, 3});
  EXPECT_EQ(codes(worst), -3);
  worst.type = ELT_NODE;
  worst.connect = connectivity(1, {2});
  EXPECT_EQ(codes(worst), -3);
  worst.type = ELT_EDGE2;
  worst.connect = connectivity(2, {0, 3});
  EXPECT_EQ(codes(worst), -4);
  worst.nodes = ids({NO, 3});
  EXPECT_EQ(codes(worst), -7);
  worst.g = NAN;
  EXPECT_EQ(codes(worst), -7);
  worst.g = 0.5;
  EXPECT_EQ(codes(worst), -8);  // H too short, M of 6 rows with 2-D coordinates
  worst.H = H;
  worst.M = M.sub_matrix(0, 0, 3, 3);
  dense1D<double, 8> h = copy_of(H);
  EXPECT_EQ(bound_metric_variations(worst.pos, worst.connect, worst.type, worst.nodes, true, 1, 0.5, worst.M), -8);
  EXPECT_GE(bound_metric_variations(worst.pos, worst.connect, worst.type, worst.nodes, true, 1, 0.5, h), 0);
  worst.M = M;
  EXPECT_GE(codes(worst), 0);
}

TEST(Gradation, OutOfMemoryKeepsTheCorrectionsMade) {
  auto g = rng(77);
  const random_mesh m = random_conforming_mesh(g, cell_cut::mixed_solids, 4, 4, 3, 0.1);
  const unsigned n = m.coords.cols();
  const dense1D<unsigned, 8> frozen = ids({1, 5, 9, 40});
  auto check = [&](const auto& F0, int mode) {
    auto reference = copy_of(F0);
    const int expected = bound(kind::gradation, m, frozen, true, mode, 0.2, reference);
    auto F = copy_of(F0);
    unsigned failures = 0;
    for_each_allocation_failure([&] { return bound(kind::gradation, m, frozen, true, mode, 0.2, F); },
                                [&] {
                                  ++failures;
                                  for (unsigned v : {1u, 5u, 9u, 40u}) ASSERT_TRUE(same_value(F0, F, v));
                                  F = copy_of(F0);
                                });
    EXPECT_GT(failures, 3u);
    EXPECT_EQ(changed_nodes(reference, F), 0u) << expected;
  };
  check(rough_sizes(g, n), 1);
  check(rough_metrics(g, 3, n), -1);
}

// The modification counter restarting from 1, and the queue's stale
// entries swept out, leave the run as it was.
TEST(GradationEngine, RenumberedStampsChangeNothing) {
  auto g = rng(78);
  const random_mesh m = random_conforming_mesh(g, cell_cut::tetrahedra, 6, 6, 5, 0.1);
  dense1D<unsigned, 8> offsets, adjacent;
  ASSERT_EQ(detail::build_node_graph(m.connect, m.type, offsets, adjacent), 0);
  // Rough sizes, and (to make the queue grow past its first size, and be
  // swept) a smooth field with three point sources.
  const dense1D<double, 8> rough = rough_sizes(g, m.coords.cols());
  dense1D<double, 8> source_field(m.coords.cols(), 2.0);
  for (const unsigned v : {10u, 100u, 200u}) source_field[v] = 1e-3;
  const dense1D<double, 8>& sources = source_field;
  const dense1D<unsigned, 8> frozen = ids({3, 30, 300});
  auto run = [&](const dense1D<double, 8>& H0, unsigned limit, int mode, detail::propagation_stats& stats) {
    dense1D<double, 8> H = copy_of(H0);
    detail::size_field<3> field(m.coords.data(), m.coords.ld(), H.data());
    detail::propagation<detail::size_field<3>, detail::variation> engine(field, offsets, adjacent, 0.3, limit);
    EXPECT_EQ(engine.prepare(frozen, true, static_cast<unsigned char>(mode)), 0);
    const int r = engine.run();
    stats = engine.stats();
    return std::make_pair(r, H);
  };
  std::uint64_t swept = 0;
  for (const dense1D<double, 8>* H0 : {&rough, &sources})
    for (const int mode : {0, 1, -1}) {
      detail::propagation_stats whole, cut;
      const auto [r, H] = run(*H0, detail::FROZEN - 1, mode, whole);
      swept += whole.swept;
      EXPECT_GT(whole.changes, H0 == &rough ? 40u : 0u);
      for (const unsigned limit : {2u, 7u, 40u}) {
        const auto [r2, H2] = run(*H0, limit, mode, cut);
        EXPECT_EQ(r2, r);
        EXPECT_EQ(changed_nodes(H, H2), 0u);
        EXPECT_EQ(cut.changes, whole.changes);
      }
    }
  EXPECT_GT(swept, 0u);
}

// Where the mean size takes its logarithmic form, the measures skip the
// logarithms: against the definition, with L = scale / H(a, b), on ends
// and scales that put L near both guards.
TEST(GradationMeasure, ShortFormAgreesWithTheDefinition) {
  auto g = rng(79);
  std::uniform_real_distribution<double> u(-1, 1);
  auto defined = [](kind k, double a, double b, double scale) {
    const double h = detail::mean_size(a, b), L = h > 0 ? scale / h : 0;
    if (L < 1e-12) return a == b ? 0.0 : DBL_MAX;
    if (L >= DBL_MAX) return 0.0;
    if (k == kind::variation) return std::fabs(a - b) / scale;
    const double x = std::log(std::max(a, b) / std::min(a, b)) / L;
    return x >= 700 ? DBL_MAX : std::expm1(x);
  };
  for (int n = 0; n < 200000; ++n) {
    const double a = std::pow(10.0, 3 * u(g)), b = n % 7 == 0 ? a : a * std::pow(10.0, u(g));
    double scale = std::pow(10.0, 2 * u(g)) * a;
    if (n % 5 == 1) scale = std::min(a, b) * 1e-12 * (1 + u(g));        // L near 1e-12
    if (n % 5 == 2) scale = std::max(a, b) * 1e-12 * (1 + u(g));
    if (n % 11 == 3) scale = DBL_MAX * std::min(a, b) * (0.5 + u(g) / 2);  // L near the largest double
    for (const kind k : {kind::gradation, kind::variation}) {
      const double want = defined(k, a, b, scale);
      auto equal = [&] { return a == b; };
      const double got = k == kind::gradation ? detail::edge_measure<detail::gradation>(a, b, scale, equal)
                                              : detail::edge_measure<detail::variation>(a, b, scale, equal);
      if (want == 0 || want == DBL_MAX || k == kind::variation)
        ASSERT_EQ(got, want) << a << " " << b << " " << scale;
      else
        ASSERT_NEAR(got, want, 1e-13 * (1 + want) * std::max(1.0, std::log1p(want))) << a << " " << b << " " << scale;
    }
  }
}
