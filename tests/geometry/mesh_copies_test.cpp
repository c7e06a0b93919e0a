// Mesh copies, mirrored copies and clipping (src/geometry/mesh_copies.cpp,
// clip.cpp).
#include <cmath>

#include "geometry/geometry_test.hpp"

TEST(CopyMesh, DuplicatesInOrderOfFirstAppearance) {
  dense2D<double> pos = plexa_test::coordinates(2, {0, 0, 1, 0, 0, 1, 9, 9, 9, 9, 5, 5});
  dense2D<unsigned> connect = plexa_test::connectivity(1, {77});
  EXPECT_EQ(copy_mesh(pos, connect, plexa_test::connectivity(3, {0, 1, 2})), 0);
  EXPECT_EQ(plexa_test::to_vector(connect), (std::vector<unsigned>{6, 7, 8}));
  ASSERT_EQ(pos.cols(), 9u);
  EXPECT_EQ(plexa_test::to_vector(pos.sub_matrix(0, 6, 2, 3)), (std::vector<double>{0, 0, 1, 0, 0, 1}));

  EXPECT_EQ(copy_mesh(pos, connect, plexa_test::strided(plexa_test::connectivity(2, {5, NO, 2, 5}))), 0);
  EXPECT_EQ(plexa_test::to_vector(connect), (std::vector<unsigned>{9, NO, 10, 9}));
  EXPECT_EQ(plexa_test::to_vector(pos.sub_matrix(0, 9, 2, 2)), (std::vector<double>{5, 5, 0, 1}));

  // A base naming a missing node is refused before anything changes.
  EXPECT_EQ(copy_mesh(pos, connect, plexa_test::connectivity(2, {0, 11})), -3);
  EXPECT_EQ(pos.cols(), 11u);
  EXPECT_EQ(connect.cols(), 2u);
}

TEST(CopyMesh, RepeatedCopiesRotateThenTranslateEveryDuplicate) {
  auto g = plexa_test::rng(31);
  const dense2D<double> base = plexa_test::random_coordinates(g, 2, 10, -1, 1);
  const auto connect0 = plexa_test::strided(plexa_test::connectivity(4, {5, 2, 7, NO, 2, 9, 5, 1}));
  const unsigned U[] = {5, 2, 7, 9, 1};
  const unsigned n = 3;
  for (int dim = 2; dim <= 3; ++dim) {
    SCOPED_TRACE(dim);
    dense2D<double> pos;
    pos.copy(base);
    dense2D<unsigned> connect = plexa_test::connectivity(4, {0, 1, 2, 3});
    const V3 T3(1, 0.5, -2), C3(0.2, 0.1, 0.3), R(0.3, -0.2, 0.9);
    const V2 T2(1, 0.5), C2(0.2, 0.1);
    const int r = dim == 2 ? copy_mesh(pos, connect, T2, C2, 0.4, n, connect0)
                           : copy_mesh(pos, connect, T3, C3, R, n, connect0);
    ASSERT_EQ(r, 0);
    ASSERT_EQ(pos.cols(), 10 + n * 5);
    ASSERT_EQ(pos.rows(), unsigned(dim));
    ASSERT_EQ(connect.cols(), 1 + n * 2);
    for (unsigned k = 1; k <= n; ++k) {
      const unsigned m = 10 + (k - 1) * 5;
      for (unsigned i = 0; i < 5; ++i) {
        const double x = base(0, U[i]) - C3[0], y = base(1, U[i]) - C3[1];
        std::vector<double> want;
        if (dim == 2) {
          const double a = k * 0.4;
          want = {C2[0] + std::cos(a) * x - std::sin(a) * y + k * T2[0],
                  C2[1] + std::sin(a) * x + std::cos(a) * y + k * T2[1]};
        } else {
          dense2D<double> one = plexa_test::coordinates(3, {base(0, U[i]), base(1, U[i]), 0.0});
          rotate(one, C3, V3(k * R[0], k * R[1], k * R[2]));
          translate(one, V3(k * T3[0], k * T3[1], k * T3[2]));
          want = plexa_test::to_vector(one);
        }
        EXPECT_TRUE(plexa_test::near(plexa_test::to_vector(pos.sub_matrix(0, m + i, dim, 1)), want));
      }
      const std::vector<unsigned> cols = {m, m + 1, m + 2, NO, m + 1, m + 3, m, m + 4};
      EXPECT_EQ(plexa_test::to_vector(connect.sub_matrix(0, 1 + (k - 1) * 2, 4, 2)), cols);
    }
  }
}

TEST(CopyMesh, RepeatedCopiesStayConsistentWhenMemoryRunsOut) {
  auto g = plexa_test::rng(32);
  dense2D<double> pos = plexa_test::random_coordinates(g, 3, 20);
  const auto connect0 = plexa_test::random_connectivity(g, 3, 6, 20);
  const unsigned nu = count_unique_indices(connect0);
  dense2D<unsigned> connect;
  auto consistent = [&] {
    EXPECT_EQ(connect.cols() % 6, 0u);
    EXPECT_EQ(pos.cols(), 20 + connect.cols() / 6 * nu);
  };
  const unsigned failures = plexa_test::for_each_allocation_failure(
      [&] { return copy_mesh(pos, connect, V3(1, 0, 0), V3(), V3(0, 0, 0.1), 4, connect0); }, consistent);
  EXPECT_GT(failures, 0u);
  consistent();
  EXPECT_EQ(copy_mesh(pos, connect, V2(1, 0), V2(), 0.0, 1, plexa_test::connectivity(2, {0, 1})), -2);
  EXPECT_EQ(copy_mesh(pos, connect, V2(1, 0), V2(), 0.0, 1, plexa_test::connectivity(3, {0, 1, NO - 1})), -7);
}

TEST(CopySymMesh, MirrorsAcrossLinesAndPlanes) {
  dense2D<double> pos = plexa_test::coordinates(2, {3, 5, 0, 0});
  dense2D<unsigned> connect = plexa_test::connectivity(1, {1});
  EXPECT_EQ(copy_sym_mesh(pos, connect, V2(1, 0), V2(0, 0), plexa_test::connectivity(1, {0})), -4);
  EXPECT_EQ(pos.cols(), 2u);
  EXPECT_EQ(plexa_test::to_vector(connect), std::vector<unsigned>{1});
  EXPECT_EQ(copy_sym_mesh(pos, connect, V2(1, 0), V2(2, 0), plexa_test::connectivity(1, {0})), 0);
  EXPECT_EQ(plexa_test::to_vector(pos), (std::vector<double>{3, 5, 0, 0, -1, 5}));
  EXPECT_EQ(plexa_test::to_vector(connect), std::vector<unsigned>{2});

  // Normals whose square overflows or loses its precision mirror as a unit
  // normal does; one whose square underflows to 0 counts as zero.
  for (double scale : {1e200, 1e-160}) {
    SCOPED_TRACE(scale);
    pos = plexa_test::coordinates(2, {3, 5});
    EXPECT_EQ(copy_sym_mesh(pos, connect, V2(1, 0), V2(scale, 0), plexa_test::connectivity(1, {0})), 0);
    EXPECT_EQ(plexa_test::to_vector(pos), (std::vector<double>{3, 5, -1, 5}));
    pos = plexa_test::coordinates(3, {3, 5, 7});
    EXPECT_EQ(copy_sym_mesh(pos, connect, V3(0, 0, 1), V3(0, 0, -scale), plexa_test::connectivity(1, {0})), 0);
    EXPECT_EQ(plexa_test::to_vector(pos), (std::vector<double>{3, 5, 7, 3, 5, -5}));
  }
  pos = plexa_test::coordinates(2, {3, 5});
  EXPECT_EQ(copy_sym_mesh(pos, connect, V2(1, 0), V2(1e-170, 1e-170), plexa_test::connectivity(1, {0})), -4);

  // Mirror of the mirror: the same points again, on 2-row input widened to 3.
  auto g = plexa_test::rng(33);
  const dense2D<double> base = plexa_test::random_coordinates(g, 2, 30, -3, 3);
  pos.copy(base);
  const auto connect0 = plexa_test::random_connectivity(g, 3, 12, 30);
  const V3 P(0.5, -1, 2), N(0.3, 1.5, -0.7);
  ASSERT_EQ(copy_sym_mesh(pos, connect, P, N, connect0), 0);
  ASSERT_EQ(pos.rows(), 3u);
  dense2D<unsigned> first;
  first.copy(connect);
  ASSERT_EQ(copy_sym_mesh(pos, connect, P, N, first), 0);
  dense1D<unsigned, 8> u0, u2;
  unique_indices(u0, connect0, dense1D<unsigned, 8>());
  unique_indices(u2, connect, dense1D<unsigned, 8>());
  ASSERT_EQ(u0.size(), u2.size());
  for (unsigned i = 0; i < u0.size(); ++i)
    EXPECT_TRUE(plexa_test::near(plexa_test::to_vector(pos.sub_matrix(0, u2[i], 3, 1)),
                                 {base(0, u0[i]), base(1, u0[i]), 0.0}, 1e-13));
}

TEST(Clip, KeepsTheColumnsWhoseNodesAllLieOnTheSideOfTheNormal) {
  auto g = plexa_test::rng(34);
  const dense2D<double> pos = plexa_test::random_coordinates(g, 3, 200, -1, 1);
  dense2D<unsigned> connect = plexa_test::random_connectivity(g, 8, 400, 200);
  for (unsigned j = 0; j < 400; ++j)
    for (unsigned i = 3 + j % 6; i < 8; ++i) connect(i, j) = NO;
  const V3 P(0.1, -0.2, 0.05), N(0.4, 1.0, -0.3);
  dense2D<unsigned> kept = plexa_test::connectivity(8, {0, 1, 2, 3, 4, 5, 6, 7});
  ASSERT_EQ(clip(plexa_test::strided(pos), plexa_test::strided(connect), P, N, kept), 0);
  std::vector<unsigned> want = {0, 1, 2, 3, 4, 5, 6, 7};
  for (unsigned j = 0; j < 400; ++j) {
    bool in = true;
    for (unsigned i = 0; i < 8 && connect(i, j) != NO; ++i) {
      const unsigned x = connect(i, j);
      in &= (pos(0, x) - P[0]) * N[0] + (pos(1, x) - P[1]) * N[1] + (pos(2, x) - P[2]) * N[2] >= 0;
    }
    for (unsigned i = 0; in && i < 8; ++i) want.push_back(connect(i, j));
  }
  EXPECT_GT(want.size(), 8u * 20);
  EXPECT_EQ(plexa_test::to_vector(kept), want);

  // Planar coordinates: every side is 0, so everything is kept.
  dense2D<unsigned> all;
  EXPECT_EQ(clip(plexa_test::coordinates(2, {0, 0, 1, 1}), plexa_test::connectivity(2, {0, 1, 1, 0}),
                 V3(), V3(0, 0, 1), all), 0);
  EXPECT_EQ(all.cols(), 2u);
}

TEST(Clip, ChecksComeInOrderAndFailuresLeaveKeptUnchanged) {
  const dense2D<double> pos = plexa_test::coordinates(3, {0, 0, 0, 0, 1, 0, 0, 0, 1, -1, 0, 0});
  const auto tris = plexa_test::connectivity(3, {0, 1, 2, 1, 2, 3});
  dense2D<unsigned> kept;
  const V3 O, X(1, 0, 0);
  EXPECT_EQ(clip(pos, dense2D<unsigned>(3, 0), O, V3(), kept), 0);
  EXPECT_EQ(clip(pos, plexa_test::connectivity(3, {0, 1, 4}), O, V3(), kept), -2);
  EXPECT_EQ(clip(pos, tris, O, V3(), kept), -4);
  dense2D<unsigned> wrong = plexa_test::connectivity(2, {0, 1});
  EXPECT_EQ(clip(pos, tris, O, X, wrong), -5);
  EXPECT_EQ(clip(pos, tris, V3(5, 0, 0), X, kept), 0);  // nothing selected
  EXPECT_EQ(kept.cols(), 0u);
  const unsigned failures = plexa_test::for_each_allocation_failure(
      [&] { return clip(pos, tris, O, X, kept); }, [&] { EXPECT_EQ(kept.cols(), 0u); });
  EXPECT_GT(failures, 0u);
  EXPECT_EQ(plexa_test::to_vector(kept), (std::vector<unsigned>{0, 1, 2}));
}
