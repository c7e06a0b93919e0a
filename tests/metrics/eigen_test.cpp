// Eigen-solvers and the validity test of metrics (src/metrics/eigen.{hpp,cpp}).
#include <algorithm>

#include "metrics/metric_samples.hpp"

namespace {


// Eigen-pairs of random metrics against the eigenvalues they were built
// from: residuals, orthonormality, right-handedness, ascending order.
template <unsigned D>
void check_pairs_of_random_metrics(std::uint64_t seed) {
  auto g = plexa_test::rng(seed);
  for (int trial = 0; trial < 3000; ++trial) {
    const Mat<D> R = plexa_test::random_rotation<D>(g);
    Vec<D> l = plexa_test::spread_values<D>(g);
    const Sym<D> M = plexa_test::compose<D>(R, l);
    const double tol = 1e-13 * plexa_test::scale<D>(M);
    std::sort(l.v, l.v + D);
    Vec<D> L, Lv;
    Mat<D> V;
    ASSERT_TRUE(eigen_pairs(M, L, V)) << trial;
    eigen_values(M, Lv);
    for (unsigned k = 0; k < D; ++k) {
      SCOPED_TRACE(testing::Message() << "trial " << trial << ", pair " << k);
      EXPECT_NEAR(L[k], l[k], tol);
      EXPECT_NEAR(Lv[k], L[k], tol);
      if (k > 0) {
        EXPECT_LE(L[k - 1], L[k]);
      }
      const Vec<D> Mv = plexa_test::times<D>(M, &V(0, k));
      for (unsigned i = 0; i < D; ++i) EXPECT_NEAR(Mv[i], L[k] * V(i, k), tol);
      for (unsigned p = 0; p < D; ++p) {
        double d = 0;
        for (unsigned i = 0; i < D; ++i) d += V(i, k) * V(i, p);
        EXPECT_NEAR(d, k == p ? 1.0 : 0.0, 1e-13);
      }
    }
    const double det = D == 2 ? V(0, 0) * V(1, 1) - V(1, 0) * V(0, 1)
                              : V(0, 2) * (V(1, 0) * V(2, 1) - V(2, 0) * V(1, 1)) +
                                    V(1, 2) * (V(2, 0) * V(0, 1) - V(0, 0) * V(2, 1)) +
                                    V(2, 2) * (V(0, 0) * V(1, 1) - V(1, 0) * V(0, 1));
    ASSERT_NEAR(det, 1.0, 1e-13) << trial;
  }
}

TEST(Eigen, PairsOfRandomMetricsRecoverTheirBuildingBlocks) {
  check_pairs_of_random_metrics<2>(101);
  check_pairs_of_random_metrics<3>(102);
}

// M2 v = l M1 v for random pairs; every vector of unit length.  Both
// solvers transform the problem by a factor of M1, so the residual is
// allowed to grow with the condition number of M1.
template <unsigned D>
void check_generalized_pairs(std::uint64_t seed) {
  auto g = plexa_test::rng(seed);
  for (int trial = 0; trial < 3000; ++trial) {
    const Vec<D> l1 = plexa_test::spread_values<D>(g);
    const double cond = *std::max_element(l1.v, l1.v + D) / *std::min_element(l1.v, l1.v + D);
    const Sym<D> M1 = plexa_test::compose<D>(plexa_test::random_rotation<D>(g), l1);
    const Sym<D> M2 = plexa_test::random_metric<D>(g);
    Vec<D> L;
    Mat<D> V;
    ASSERT_TRUE(eigen_pairs(M1, M2, L, V)) << trial;
    for (unsigned k = 0; k < D; ++k) {
      SCOPED_TRACE(testing::Message() << "trial " << trial << ", pair " << k);
      const Vec<D> a = plexa_test::times<D>(M2, &V(0, k)), b = plexa_test::times<D>(M1, &V(0, k));
      const double tol =
          1e-14 * cond * (plexa_test::scale<D>(M2) + std::fabs(L[k]) * plexa_test::scale<D>(M1));
      double n2 = 0;
      for (unsigned i = 0; i < D; ++i) {
        EXPECT_NEAR(a[i], L[k] * b[i], tol);
        n2 += V(i, k) * V(i, k);
      }
      EXPECT_NEAR(n2, 1.0, 1e-14);
    }
  }
}

TEST(Eigen, GeneralizedPairsSolveRandomProblems) {
  check_generalized_pairs<2>(103);
  check_generalized_pairs<3>(104);
}

TEST(Eigen, ClosedFormCornerCases) {
  Vec<2> L;
  Mat<2> V;
  eigen_values(Sym<2>(1.0, 1e-14), L);  // the smaller value comes from det / l2
  EXPECT_EQ(L[0], 1e-14);
  EXPECT_EQ(L[1], 1.0);

  ASSERT_TRUE(eigen_pairs(Sym<2>(2.0, 2.0), L, V));  // isotropic: the fixed basis
  EXPECT_EQ(std::vector<double>(V.a, V.a + 4), (std::vector<double>{1, 0, 0, 1}));
  EXPECT_TRUE(std::signbit(V(0, 1)));

  EXPECT_FALSE(eigen_pairs(Sym<2>(1.0, NAN, 1.0), L, V));
  EXPECT_FALSE(eigen_pairs(Sym<2>(1e200, 0.0, 1.0), L, V));  // (a - c)^2 overflows
}

TEST(Eigen, GeneralizedProblemsWithSingularFirstMetric) {
  Vec<2> L2;
  Mat<2> V2;
  EXPECT_FALSE(eigen_pairs(Sym<2>(0.0, 1.0), Sym<2>(1.0, 1.0), L2, V2));          // m11 == 0
  EXPECT_FALSE(eigen_pairs(Sym<2>(1.0, 2.0, 4.0), Sym<2>(1.0, 1.0), L2, V2));     // det == 0
  EXPECT_FALSE(eigen_pairs(Sym<2>(1.0, NAN, 4.0), Sym<2>(1.0, 1.0), L2, V2));

  // A zero pivot drops its direction: zero eigenvalue, zero vector; the
  // other pairs solve the problem restricted to the range of M1.
  auto g = plexa_test::rng(105);
  const Sym<3> M2 = plexa_test::random_metric<3>(g, -2, 2);
  for (const Sym<3>& M1 : {Sym<3>(0.0, 2.0, 3.0), Sym<3>(2.0, 0.0, 3.0), Sym<3>(2.0, 3.0, 0.0)}) {
    Vec<3> L;
    Mat<3> V;
    ASSERT_TRUE(eigen_pairs(M1, M2, L, V));
    unsigned zero_vectors = 0;
    for (unsigned k = 0; k < 3; ++k) {
      if (V(0, k) == 0 && V(1, k) == 0 && V(2, k) == 0) {
        ++zero_vectors;
        continue;
      }
      const Vec<3> a = plexa_test::times<3>(M2, &V(0, k)), b = plexa_test::times<3>(M1, &V(0, k));
      for (unsigned i = 0; i < 3; ++i)
        if (M1(i, i) != 0) {
          EXPECT_NEAR(a[i], L[k] * b[i], 1e-12 * (1 + std::fabs(L[k])));
        }
    }
    EXPECT_EQ(zero_vectors, 1u);
  }
  Vec<3> L;
  Mat<3> V;
  EXPECT_FALSE(eigen_pairs(Sym<3>(1.0, -1.0, 1.0), M2, L, V));                       // indefinite
  EXPECT_FALSE(eigen_pairs(Sym<3>(0.0, 1.0, 0.0, 0.0, 0.0, 1.0), M2, L, V));       // zero pivot, m12 != 0
  EXPECT_FALSE(eigen_pairs(Sym<3>(1.0, 1.0, NAN), M2, L, V));
  EXPECT_FALSE(eigen_pairs(Sym<3>(1.0, 1.0, 1.0), Sym<3>(1.0, INFINITY, 1.0), L, V));
}

TEST(Eigen, ValidityIsAPositiveSmallestEigenvalue) {
  auto g = plexa_test::rng(106);
  for (int trial = 0; trial < 500; ++trial) {
    Sym<2> m2 = plexa_test::random_metric<2>(g);
    Sym<3> m3 = plexa_test::random_metric<3>(g);
    EXPECT_TRUE(is_valid_metric(m2));
    EXPECT_TRUE(is_valid_metric(m3));
    for (double& x : m2.m) x = -x;
    for (double& x : m3.m) x = -x;
    EXPECT_FALSE(is_valid_metric(m2));
    EXPECT_FALSE(is_valid_metric(m3));
  }
  EXPECT_FALSE(is_valid_metric(Sym<2>(1.0, 0.0)));
  EXPECT_FALSE(is_valid_metric(Sym<3>(1.0, 1.0, 0.0)));
  EXPECT_FALSE(is_valid_metric(Sym<2>(1.0, NAN)));
  EXPECT_FALSE(is_valid_metric(Sym<3>(1.0, NAN, 1.0)));
  EXPECT_FALSE(is_valid_metric(Sym<3>(1.0, 1.0, INFINITY)));
  EXPECT_TRUE(is_valid_metric(Sym<3>(1e300, 1.0, 1.0)));

  // A 3-D matrix with a non-finite coefficient is not solved.
  Vec<3> L;
  Mat<3> V;
  eigen_values(Sym<3>(1.0, INFINITY, 1.0), L);
  EXPECT_TRUE(std::isnan(L[0]) && std::isnan(L[1]) && std::isnan(L[2]));
  EXPECT_FALSE(eigen_pairs(Sym<3>(NAN, 1.0, 1.0), L, V));
}

}  // namespace
