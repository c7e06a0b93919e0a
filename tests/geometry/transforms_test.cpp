// Translation, rotation and scaling (src/geometry/transforms.cpp,
// transform_ops.hpp).
#include <cmath>

#include "geometry/geometry_test.hpp"

namespace {

// Rotation about c by the rotation vector v, written as
// x' = c + d cos t + (u x d) sin t + u (u.d)(1 - cos t), u = v / t.
std::vector<double> rodrigues(std::vector<double> x, const V3& c, const V3& v) {
  const double t = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  const double u[3] = {v[0] / t, v[1] / t, v[2] / t};
  for (std::size_t j = 0; j < x.size(); j += 3) {
    const double d[3] = {x[j] - c[0], x[j + 1] - c[1], x[j + 2] - c[2]};
    const double ud = u[0] * d[0] + u[1] * d[1] + u[2] * d[2];
    const double cr[3] = {u[1] * d[2] - u[2] * d[1], u[2] * d[0] - u[0] * d[2], u[0] * d[1] - u[1] * d[0]};
    for (int k = 0; k < 3; ++k)
      x[j + k] = c[k] + d[k] * std::cos(t) + cr[k] * std::sin(t) + u[k] * ud * (1 - std::cos(t));
  }
  return x;
}

V3 random_direction(std::mt19937_64& g, double length) {
  std::normal_distribution<double> n;
  V3 v(n(g), n(g), n(g));
  const double s = length / std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  return V3(v[0] * s, v[1] * s, v[2] * s);
}

// Padding rows of a strided view still hold the garbage written there.
bool padding_intact(const dense2D<double>& m, double garbage = -9.75e300) {
  for (unsigned j = 0; j < m.cols(); ++j)
    if (m.data()[std::size_t(j) * m.ld() + m.rows()] != garbage) return false;
  return true;
}

}  // namespace

TEST(Transforms, Rotate3DMatchesRodriguesOnBothSidesOfTheSeriesSwitch) {
  auto g = plexa_test::rng(11);
  const double lengths[] = {1e-7, 1e-3, 0.05, 0.0999999, 0.1, 0.1000001, 0.3, 1.0, 2.5, 3.1};
  for (double len : lengths) {
    for (int trial = 0; trial < 5; ++trial) {
      SCOPED_TRACE(len);
      const V3 v = random_direction(g, len);
      const V3 c(0.3, -1.0, 2.0);
      dense2D<double> pos = plexa_test::random_coordinates(g, 3, 50, -2.0, 2.0);
      const auto expected = rodrigues(plexa_test::to_vector(pos), c, v);
      EXPECT_EQ(rotate(pos, c, v), 50);
      EXPECT_TRUE(plexa_test::near(plexa_test::to_vector(pos), expected, 1e-14));
    }
  }
  dense2D<double> p = plexa_test::coordinates(3, {1, 0, 0});
  rotate(p, V3(), V3(0, 0, M_PI / 2));
  EXPECT_TRUE(plexa_test::near(plexa_test::to_vector(p), {0, 1, 0}));
}

TEST(Transforms, RoundTripsRestoreStridedCoordinates) {
  auto g = plexa_test::rng(12);
  const dense2D<double> p3 = plexa_test::random_coordinates(g, 3, 40, -5, 5);
  const dense2D<double> p2 = plexa_test::random_coordinates(g, 2, 40, -5, 5);
  dense2D<double> a = plexa_test::strided(p3), b = plexa_test::strided(p2);
  const V3 v = random_direction(g, 1.7), c3(1, 2, 3);
  EXPECT_EQ(rotate(a, c3, v), 40);
  EXPECT_EQ(rotate(a, c3, V3(-v[0], -v[1], -v[2])), 40);
  EXPECT_EQ(zoom(a, c3, 3.5), 40);
  EXPECT_EQ(zoom(a, c3, 1 / 3.5), 40);
  EXPECT_EQ(translate(a, V3(1, -2, 0.5)), 40);
  EXPECT_EQ(translate(a, V3(-1, 2, -0.5)), 40);
  EXPECT_TRUE(plexa_test::near(a, p3, 1e-13));
  EXPECT_TRUE(padding_intact(a));
  const V2 c2(-1, 0.5);
  EXPECT_EQ(rotate(b, c2, 0.7), 40);
  EXPECT_EQ(rotate(b, c2, -0.7), 40);
  EXPECT_EQ(zoom(b, c2, 0.25), 40);
  EXPECT_EQ(zoom(b, c2, 4.0), 40);
  EXPECT_TRUE(plexa_test::near(b, p2, 1e-13));
  EXPECT_TRUE(padding_intact(b));

  dense2D<double> q = plexa_test::coordinates(2, {1, 0});
  rotate(q, V2(), M_PI / 2);
  EXPECT_TRUE(plexa_test::near(plexa_test::to_vector(q), {0, 1}));
}

TEST(Transforms, NodeListsMoveEachEntryAndSkipInvalidOnes) {
  auto g = plexa_test::rng(13);
  const V3 c(0.5, 0.5, 0.5), v(0.2, -0.4, 0.1);
  // The list forms against the all-nodes forms applied one column at a time.
  dense2D<double> pos = plexa_test::random_coordinates(g, 3, 6), expected;
  expected.copy(pos);
  EXPECT_EQ(rotate(pos, c, v, plexa_test::ids({4, NO, 1, 4, 6, 0})), 4);  // 4 twice, two invalid entries
  EXPECT_EQ(zoom(pos, c, 2.0, plexa_test::ids({4, 7, 0})), 0);
  for (unsigned j : {4u, 1u, 4u, 0u}) {
    dense2D<double> col = expected.sub_matrix(0, j, 3, 1);
    rotate(col, c, v);
  }
  for (unsigned j : {4u, 0u}) {
    dense2D<double> col = expected.sub_matrix(0, j, 3, 1);
    zoom(col, c, 2.0);
  }
  EXPECT_TRUE(plexa_test::near(pos, expected, 0));

  // Connectivity forms: each distinct valid node once, whatever the strides.
  const auto connect = plexa_test::strided(plexa_test::connectivity(3, {4, 1, 4, 1, 0, NO}));
  EXPECT_EQ(translate(pos, V2(1, -1), connect), 3);
  EXPECT_EQ(translate(expected, V2(1, -1), plexa_test::ids({4, 1, 0})), 3);
  EXPECT_TRUE(plexa_test::near(pos, expected, 0));
}

TEST(Transforms, IdentitiesChangeNothingAndOtherTransformsWiden) {
  const dense2D<double> base = plexa_test::coordinates(2, {1, 2, 3, 4});
  dense2D<double> pos;
  pos.copy(base);
  EXPECT_EQ(zoom(pos, V3(7, 7, 7), 1.0), 0);
  EXPECT_EQ(zoom(pos, V2(7, 7), NAN, plexa_test::ids({0})), 0);
  EXPECT_EQ(rotate(pos, V2(7, 7), NAN), 0);
  EXPECT_EQ(rotate(pos, V3(7, 7, 7), V3(0, 0, 0)), 0);
  EXPECT_EQ(translate(pos, V3(0, 0, 0)), 0);
  EXPECT_EQ(pos.rows(), 2u);
  EXPECT_EQ(zoom(pos, V3(7, 7, 7), 3.0, dense1D<unsigned, 8>()), 0);  // empty list: returns before widening
  EXPECT_EQ(pos.rows(), 2u);
  EXPECT_TRUE(plexa_test::near(pos, base, 0));

  EXPECT_EQ(translate(pos, V3(0, 0, 2.5)), 2);
  EXPECT_EQ(plexa_test::to_vector(pos), (std::vector<double>{1, 2, 2.5, 3, 4, 2.5}));
  dense2D<double> line = plexa_test::coordinates(1, {2, 5});
  EXPECT_EQ(rotate(line, V2(0, 0), M_PI, plexa_test::ids({1, NO})), 1);
  EXPECT_TRUE(plexa_test::near(plexa_test::to_vector(line), {2, 0, -5, 0}));
  dense2D<double> empty;
  EXPECT_EQ(translate(empty, V3(1, 1, 1)), 0);
  EXPECT_EQ(empty.rows(), 0u);
}

TEST(Transforms, MemoryFailuresLeaveCoordinatesUnchanged) {
  auto g = plexa_test::rng(14);
  const dense2D<double> base = plexa_test::random_coordinates(g, 2, 30);
  const auto connect = plexa_test::random_connectivity(g, 4, 20, 30);
  dense2D<double> pos;
  pos.copy(base);
  unsigned failures = plexa_test::for_each_allocation_failure(
      [&] { return rotate(pos, V3(1, 0, 0), V3(0.1, 0.2, 0.3), connect); },
      [&] { EXPECT_TRUE(plexa_test::near(pos, base, 0)); });
  EXPECT_GT(failures, 0u);
  EXPECT_EQ(pos.rows(), 3u);
}
