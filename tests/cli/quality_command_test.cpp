// `plexa quality`: its exact report on the built-in mesh, and the counting
// behind it on a mesh with inverted, degenerate, unmeasurable and broken
// elements.
#include <cmath>
#include <string>

#include <gtest/gtest.h>

#include "mesh_quality.hpp"
#include "support/support.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::result;
using plexa_cli_test::run;
using namespace zeb::plexa;

const std::string tenths_of_builtin_qualities =
    "count 7  min 0.631579  max 1  mean 0.891382\n"
    "  0 - 0.1    0    0.0%\n"
    "  0.1 - 0.2  0    0.0%\n"
    "  0.2 - 0.3  0    0.0%\n"
    "  0.3 - 0.4  0    0.0%\n"
    "  0.4 - 0.5  0    0.0%\n"
    "  0.5 - 0.6  0    0.0%\n"
    "  0.6 - 0.7  1   14.3%\n"
    "  0.7 - 0.8  0    0.0%\n"
    "  0.8 - 0.9  3   42.9%\n"
    "  >= 0.9     3   42.9%\n";

TEST(QualityCommand, ReportsTheBuiltinMeshExactly) {
  const std::string head = "built-in mesh: 17 nodes, 7 elements\nshape quality:\n" + tenths_of_builtin_qualities +
                           "scaled Jacobian (smallest / largest determinant):\n"
                           "count 7  min 1  max 1  mean 1\n"
                           "  0 - 0.1    0    0.0%\n"
                           "  0.1 - 0.2  0    0.0%\n"
                           "  0.2 - 0.3  0    0.0%\n"
                           "  0.3 - 0.4  0    0.0%\n"
                           "  0.4 - 0.5  0    0.0%\n"
                           "  0.5 - 0.6  0    0.0%\n"
                           "  0.6 - 0.7  0    0.0%\n"
                           "  0.7 - 0.8  0    0.0%\n"
                           "  0.8 - 0.9  0    0.0%\n"
                           "  >= 0.9     7  100.0%\n";
  const std::string worst =
      "worst elements:\n"
      "  block 0 element 5 (TETRA4): quality 0.631579, scaled Jacobian 1\n"
      "  block 0 element 6 (TETRA4): quality 0.872727, scaled Jacobian 1\n"
      "  block 0 element 2 (WEDGE6): quality 0.891464, scaled Jacobian 1\n"
      "  block 0 element 3 (WEDGE6): quality 0.891464, scaled Jacobian 1\n"
      "  block 0 element 4 (PYRA5): quality 0.952441, scaled Jacobian 1\n";
  const std::string counts = "inverted: 0\ndegenerate: 0\n";
  result r = run({"quality"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, head + worst + counts);
  EXPECT_EQ(run({"quality", "builtin", "--worst", "2"}).out,
            head + worst.substr(0, worst.find("  block 0 element 2")) + counts);
  EXPECT_EQ(run({"quality", "--worst", "0", "builtin"}).out, head + counts);
}

// A mesh of blocks: tetrahedra (regular, mirrored, flat, with a NaN node),
// edges (not measured) and one hexahedron.
plexa_cli::mesh awkward_mesh() {
  plexa_cli::mesh m;
  const double h = std::sqrt(3.0) / 2, z = std::sqrt(2.0 / 3);
  m.coords = plexa_test::coordinates(3, {0, 0, 0, 1, 0, 0, 0.5, h, 0, 0.5, h / 3, z,  // regular tetrahedron
                                         0.5, h / 3, -z, 0.5, 0.3, 0, NAN, 0, 0,      // mirrored apex, flat, NaN
                                         0, 0, 2, 1, 0, 2, 1, 1, 2, 0, 1, 2,          // unit cube
                                         0, 0, 3, 1, 0, 3, 1, 1, 3, 0, 1, 3});
  EXPECT_TRUE(m.add_block(plexa_test::connectivity(4, {0, 1, 2, 3, 0, 1, 2, 4, 0, 1, 2, 5, 0, 1, 2, 6, 0, 1, 2, 2}),
                          ELT_TETRA4));
  EXPECT_TRUE(m.add_block(plexa_test::connectivity(2, {0, 1, 1, 2}), ELT_EDGE2));
  EXPECT_TRUE(m.add_block(plexa_test::connectivity(8, {7, 8, 9, 10, 11, 12, 13, 14}), ELT_HEXA8));
  return m;
}

TEST(QualityCommand, CountsInvertedAndDegenerateElementsAndListsTheWorst) {
  plexa_cli::mesh_quality q;
  const char* failed = nullptr;
  ASSERT_EQ(plexa_cli::measure_quality(awkward_mesh(), 4, q, failed), 0);
  EXPECT_EQ(q.measured, 6u);
  EXPECT_EQ(q.unmeasured, 2u);
  EXPECT_EQ(q.inverted, 1u);    // the mirrored tetrahedron
  EXPECT_EQ(q.degenerate, 2u);  // flat, and a repeated node
  EXPECT_EQ(q.qualities.nan_count(), 1u);
  ASSERT_EQ(q.worst.size(), 4u);
  EXPECT_EQ(q.worst[0].element, 3u);  // NaN first
  EXPECT_TRUE(std::isnan(q.worst[0].quality));
  EXPECT_EQ(q.worst[1].element, 1u);
  EXPECT_NEAR(q.worst[1].quality, -1, 1e-15);
  EXPECT_EQ(q.worst[1].scaled_jacobian, -1.0);  // the mirror image of a constant determinant
  EXPECT_EQ(q.worst[2].element, 2u);  // the two degenerate ones, in order
  EXPECT_EQ(q.worst[3].element, 4u);
  EXPECT_EQ(q.worst[3].kind, ELT_TETRA4);

  // A block that the library refuses stops the measure with its code.
  plexa_cli::mesh broken = awkward_mesh();
  ASSERT_TRUE(broken.add_block(plexa_test::connectivity(3, {0, 1, 99}), ELT_TRIA3));
  plexa_cli::mesh_quality r;
  EXPECT_EQ(plexa_cli::measure_quality(broken, 4, r, failed), -2);
  EXPECT_STREQ(failed, "shape_qualities(pos, connect, type, qualities)");
}

TEST(QualityCommand, ScaledJacobianKeepsTheSignOfTheOrientation) {
  using plexa_cli::scaled_jacobian;
  EXPECT_EQ(scaled_jacobian(1, 2), 0.5);
  EXPECT_EQ(scaled_jacobian(-2, -1), -0.5);
  EXPECT_EQ(scaled_jacobian(-1, 2), -0.5);
  EXPECT_EQ(scaled_jacobian(-1, 0), 0.0);
  EXPECT_EQ(scaled_jacobian(0, 0), 0.0);
  EXPECT_TRUE(std::isnan(scaled_jacobian(NAN, 1)));
}

}  // namespace
