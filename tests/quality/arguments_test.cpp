// The quality family's argument checks, in their documented order, with
// outputs emptied on every failure; strided inputs and allocation failures.
#include <limits>

#include "quality/quality_test.hpp"
#include "support/meshes.hpp"

using namespace quality_test;
using plexa_test::NO;

namespace {

// Runs the three functions (and the metric form with `metrics`) and checks
// that they agree on `code` and leave empty outputs when it is a failure.
void expect_code(int code, const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type type,
                 const dense2D<double>& metrics, int metric_code) {
  dense1D<double, 8> q(2, 5.0), qm(2, 5.0);
  dense2D<double> d(2, 2, 5.0);
  double quality = 5;
  unsigned element = 5;
  EXPECT_EQ(shape_qualities(pos, connect, type, q), code) << type;
  EXPECT_EQ(jacobians(pos, connect, type, d), code) << type;
  EXPECT_EQ(min_quality(pos, connect, type, quality, element), code) << type;
  EXPECT_EQ(shape_qualities(pos, connect, type, metrics, qm), metric_code) << type;
  if (code < 0) {
    EXPECT_TRUE(q.empty() && d.empty());
    EXPECT_TRUE(std::isnan(quality));
    EXPECT_EQ(element, NO);
  }
  if (metric_code < 0) {
    EXPECT_TRUE(qm.empty());
  }
}

}  // namespace

// Names the failing line.
#define EXPECT_CODES(...)            \
  do {                               \
    SCOPED_TRACE("checked here");    \
    expect_code(__VA_ARGS__);        \
  } while (false)

TEST(QualityArguments, ChecksComeInOrderAndFailuresLeaveEmptyOutputs) {
  const one_element tet = mesh_of(regular(ELT_TETRA4), 3);
  const dense2D<double> metrics(6, 4, 0.0);
  dense2D<double> identity(6, 4, 0.0);
  for (unsigned j = 0; j < 4; ++j) identity(0, j) = identity(2, j) = identity(5, j) = 1;
  const dense2D<double> flat = mesh_of(regular(ELT_TETRA4), 2).pos;

  // -3 first: no quality for edges, nodes, or values outside the enumeration.
  for (int t : {int(ELT_NONE), int(ELT_NODE), int(ELT_EDGE_MIX), int(ELT_EDGE2), int(ELT_EDGE3), 23, 31})
    EXPECT_CODES(-3, flat, plexa_test::connectivity(2, {0, 1}), element_type(t), metrics, -3);
  // Then an empty connectivity is nothing to do, whatever the rest.
  EXPECT_CODES(0, dense2D<double>(), dense2D<unsigned>(4, 0), ELT_TETRA4, metrics, 0);
  EXPECT_CODES(0, dense2D<double>(), dense2D<unsigned>(), ELT_SOLID_MIX, metrics, 0);
  // -1: solids need 3 rows, faces 2 or 3.
  EXPECT_CODES(-1, flat, tet.connect, ELT_TETRA4, metrics, -1);
  EXPECT_CODES(-1, dense2D<double>(1, 4, 0.0), plexa_test::connectivity(3, {0, 1, 2}), ELT_TRIA3, metrics, -1);
  EXPECT_CODES(-1, dense2D<double>(4, 4, 0.0), plexa_test::connectivity(3, {0, 1, 2}), ELT_TRIA3, metrics, -1);
  // -2: what check_IDs refuses (a missing node, rows that do not fit, a bad
  // mixed column).
  EXPECT_CODES(-2, tet.pos, plexa_test::connectivity(4, {0, 1, 2, 4}), ELT_TETRA4, metrics, -2);
  EXPECT_CODES(-2, tet.pos, plexa_test::connectivity(5, {0, 1, 2, 3, 0}), ELT_TETRA4, metrics, -2);
  EXPECT_CODES(-2, tet.pos, plexa_test::connectivity(7, {0, 1, 2, 3, NO, NO, NO}), ELT_SOLID_MIX, metrics, -2);
  EXPECT_CODES(-2, tet.pos, plexa_test::connectivity(8, {0, 1, 2, NO, NO, NO, NO, NO}), ELT_SOLID_MIX, metrics,
              -2);
  // -4: the metric field, only in the metric form.
  EXPECT_CODES(0, tet.pos, tet.connect, ELT_TETRA4, dense2D<double>(3, 4, 1.0), -4);  // rows
  EXPECT_CODES(0, tet.pos, tet.connect, ELT_TETRA4, dense2D<double>(6, 5, 1.0), -4);  // columns
  EXPECT_CODES(0, tet.pos, tet.connect, ELT_TETRA4, metrics, -4);                       // zero
  constexpr double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
  for (double m12 : {-0.5, 1.0, 3.0, nan, inf}) {  // valid, singular, indefinite, not finite
    dense2D<double> m;
    ASSERT_TRUE(m.copy(identity));
    m(1, 2) = m12;
    EXPECT_CODES(0, tet.pos, tet.connect, ELT_TETRA4, m, m12 == -0.5 ? 0 : -4);
  }
  dense2D<double> unused_node_bad(6, 5, 0.0);  // one more node than the mesh uses, with a zero metric
  const dense2D<double> five_nodes = mesh_of(with_higher_order_nodes(ELT_EDGE3, regular(ELT_TETRA4)), 3).pos;
  for (unsigned j = 0; j < 4; ++j) unused_node_bad(0, j) = unused_node_bad(2, j) = unused_node_bad(5, j) = 1;
  EXPECT_CODES(0, five_nodes, tet.connect, ELT_TETRA4, unused_node_bad, -4);
  EXPECT_CODES(0, tet.pos, tet.connect, ELT_TETRA4, identity, 0);
}

// Outputs sharing storage with inputs are covered by tests/core/aliasing_test.cpp.
TEST(QualityArguments, StridedViewsGiveTheSameResults) {
  auto g = plexa_test::rng(71);
  const dense2D<unsigned> c = plexa_test::grid_mixed_solids(3, 2, 2, &g);
  const unsigned nodes = max_ID(c) + 1;
  dense2D<double> x = plexa_test::random_coordinates(g, 3, nodes, 0, 3);
  dense2D<double> m(6, nodes);
  for (unsigned j = 0; j < nodes; ++j) {
    const double e[6] = {2, 0.5, 1, 0.1, 0.2, 3};
    for (unsigned k = 0; k < 6; ++k) m(k, j) = e[k] * (1 + 0.1 * j);
  }
  dense1D<double, 8> q, qm;
  dense2D<double> d;
  ASSERT_EQ(shape_qualities(x, c, ELT_SOLID_MIX, q), 0);
  ASSERT_EQ(shape_qualities(x, c, ELT_SOLID_MIX, m, qm), 0);
  ASSERT_EQ(jacobians(x, c, ELT_SOLID_MIX, d), 0);

  dense1D<double, 8> q2, qm2;
  dense2D<double> d2;
  ASSERT_EQ(shape_qualities(plexa_test::strided(x), plexa_test::strided(c), ELT_SOLID_MIX, q2), 0);
  ASSERT_EQ(shape_qualities(plexa_test::strided(x), plexa_test::strided(c), ELT_SOLID_MIX, plexa_test::strided(m),
                            qm2), 0);
  ASSERT_EQ(jacobians(plexa_test::strided(x), plexa_test::strided(c), ELT_SOLID_MIX, d2), 0);
  EXPECT_EQ(plexa_test::to_vector(q2), plexa_test::to_vector(q));
  EXPECT_EQ(plexa_test::to_vector(qm2), plexa_test::to_vector(qm));
  EXPECT_EQ(plexa_test::to_vector(d2), plexa_test::to_vector(d));

}

TEST(QualityArguments, AllocationFailuresLeaveEmptyOutputs) {
  const one_element hex = mesh_of(regular(ELT_HEXA8), 3);
  dense2D<double> identity(6, 8, 0.0);
  for (unsigned j = 0; j < 8; ++j) identity(0, j) = identity(2, j) = identity(5, j) = 1;
  dense1D<double, 8> q, qm;
  dense2D<double> d;
  EXPECT_GT(plexa_test::for_each_allocation_failure([&] { return shape_qualities(hex.pos, hex.connect, ELT_HEXA8, q); },
                                                    [&] { EXPECT_TRUE(q.empty()); }),
            0u);
  EXPECT_GT(plexa_test::for_each_allocation_failure(
                [&] { return shape_qualities(hex.pos, hex.connect, ELT_HEXA8, identity, qm); },
                [&] { EXPECT_TRUE(qm.empty()); }),
            0u);
  EXPECT_GT(plexa_test::for_each_allocation_failure([&] { return jacobians(hex.pos, hex.connect, ELT_HEXA8, d); },
                                                    [&] { EXPECT_TRUE(d.empty()); }),
            0u);
  EXPECT_EQ(q[0], 1.0);
  EXPECT_EQ(qm[0], 1.0);
  EXPECT_EQ(d(0, 0), 1.0);
  double quality = 0;
  unsigned element = 1;
  {
    zeb::testing::allocation_failure_scope none(0);
    EXPECT_EQ(min_quality(hex.pos, hex.connect, ELT_HEXA8, quality, element), 0);
  }
  EXPECT_NEAR(quality, 1.0, 1e-15);
  EXPECT_EQ(element, 0u);
}
