// Metric builders, bound_metric, maximum/minimum metrics, aniso to iso
// (src/metrics/builders.cpp, clamping, extremes, simultaneous_reduction).
#include <algorithm>
#include <cfloat>

#include "metrics/metric_samples.hpp"
#include "metrics/simultaneous_reduction.hpp"

namespace {


std::vector<double> packed(const double* m, unsigned n) { return std::vector<double>(m, m + n); }
template <unsigned D>
std::vector<double> packed(const Sym<D>& m) {
  return packed(m.m, Sym<D>::packed_size);
}

TEST(Builders, SizesAndAxes) {
  Sym<2> m2;
  Sym<3> m3;
  metric_aniso(0.5, m2);
  EXPECT_EQ(packed(m2), (std::vector<double>{4, 0, 4}));
  metric_aniso(2.0, 0.0, NAN, m3);
  EXPECT_EQ(packed(m3), (std::vector<double>{0.25, 0, 0, 0, 0, 0}));
  metric_aniso(Vec<2>(-2.0, 4.0), m2);
  EXPECT_EQ(packed(m2), (std::vector<double>{0, 0, 0.0625}));
  for (double h : {0.0, -2.0, double(NAN)}) {
    metric_aniso(h, m3);
    EXPECT_EQ(packed(m3), std::vector<double>(6, 0.0)) << h;
  }
  // With axes, only a size of exactly zero gives no constraint.
  metric_aniso(Vec<2>(-2.0, 1.0), Mat<2>(1.0, 0.0, 0.0, 1.0), m2);
  EXPECT_EQ(packed(m2), (std::vector<double>{0.25, 0, 1}));
  const Mat<3> I(1.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 1.0);
  metric_aniso(Vec<3>(0.0, 1.0, 0.5), I, m3);
  EXPECT_EQ(packed(m3), (std::vector<double>{0, 0, 1, 0, 0, 4}));
  metric_aniso(Vec<3>(1.0, 1.0, NAN), I, m3);  // NaN reaches every coefficient
  EXPECT_TRUE(std::all_of(m3.m, m3.m + 6, [](double x) { return std::isnan(x); }));

  // Random axes and sizes: the size along each axis comes back.
  auto g = plexa_test::rng(201);
  std::uniform_real_distribution<double> u(0.1, 10);
  for (int trial = 0; trial < 200; ++trial) {
    const Mat<3> R = plexa_test::random_rotation<3>(g);
    const Vec<3> H(u(g), -u(g), u(g));
    metric_aniso(H, R, m3);
    for (unsigned k = 0; k < 3; ++k)
      EXPECT_NEAR(1 / std::sqrt(plexa_test::quadratic<3>(m3, &R(0, k))), std::fabs(H[k]), 1e-12 * std::fabs(H[k]));
  }
}

TEST(Builders, SurfaceMetricsMeasureTangentVectorsAsTheSpaceMetricDoes) {
  auto g = plexa_test::rng(202);
  std::normal_distribution<double> n;
  for (int trial = 0; trial < 300; ++trial) {
    zeb::matrix_fixed<double, 3, 2> T;
    for (double& t : T.a) t = n(g);
    const Sym<3> M3 = plexa_test::random_metric<3>(g, -3, 3);
    Sym<2> M2, iso2, iso_from3;
    metric_aniso3d_to_aniso2d(M3, T, M2);
    const double xy[2] = {n(g), n(g)};
    double w[3];
    for (unsigned i = 0; i < 3; ++i) w[i] = xy[0] * T(i, 0) + xy[1] * T(i, 1);
    const double expected = plexa_test::quadratic<3>(M3, w);
    EXPECT_NEAR(plexa_test::quadratic<2>(M2, xy), expected, 1e-12 * plexa_test::scale<3>(M3) * 100);

    // An isotropic size seen in the plane equals the restriction of the
    // isotropic 3-D metric.
    const double h = std::exp(n(g));
    Sym<3> iso3;
    metric_aniso(h, iso3);
    metric_aniso2d(h, T, iso2);
    metric_aniso3d_to_aniso2d(iso3, T, iso_from3);
    EXPECT_TRUE(plexa_test::near(packed(iso2), packed(iso_from3), 1e-14));
  }
  Sym<2> m(1.0, 1.0);
  metric_aniso2d(-1.0, zeb::matrix_fixed<double, 3, 2>(1.0, 0.0, 0.0, 0.0, 1.0, 0.0), m);
  EXPECT_EQ(packed(m), std::vector<double>(3, 0.0));
}

// bound_metric against the eigen-decomposition of the original metric:
// every eigenvalue clamped into [1/hmax^2, 1/hmin^2] (hmax winning), the
// eigenvectors kept; -1 with M untouched when nothing needed clamping.
template <unsigned D>
void check_bound_metric(std::uint64_t seed) {
  auto g = plexa_test::rng(seed);
  std::uniform_real_distribution<double> u(-3, 3);  // clamped spreads stay below 1e12
  for (int trial = 0; trial < 2000; ++trial) {
    const Sym<D> M = plexa_test::random_metric<D>(g);
    const double hmin = std::pow(10.0, u(g)), hmax = std::pow(10.0, u(g));
    const double lmin = 1 / (hmax * hmax), lmax = 1 / (hmin * hmin);
    Vec<D> l;
    Mat<D> V;
    ASSERT_TRUE(eigen_pairs(M, l, V));
    Vec<D> expected;
    bool changes = false;
    for (unsigned k = 0; k < D; ++k) {
      expected[k] = std::max(std::min(l[k], lmax), lmin);
      changes = changes || expected[k] != l[k];
    }
    Sym<D> B = M;
    const int rc = bound_metric(B, hmin, hmax);
    SCOPED_TRACE(testing::Message() << "trial " << trial);
    if (!changes) {
      EXPECT_EQ(rc, -1);
      EXPECT_EQ(packed(B), packed(M));
      continue;
    }
    EXPECT_EQ(rc, 0);
    const double tol = 1e-12 * plexa_test::scale<D>(B);
    for (unsigned k = 0; k < D; ++k) {
      const Vec<D> Bv = plexa_test::times<D>(B, &V(0, k));
      for (unsigned i = 0; i < D; ++i) EXPECT_NEAR(Bv[i], expected[k] * V(i, k), tol);
    }
  }
}

TEST(BoundMetric, ClampsEigenvaluesAndKeepsEigenvectors) {
  check_bound_metric<2>(203);
  check_bound_metric<3>(204);
}

TEST(BoundMetric, CodesAndExactCases) {
  Sym<2> M(1.0, 1.0);
  EXPECT_EQ(bound_metric(M, 0.5, 2.0), -1);
  EXPECT_EQ(packed(M), (std::vector<double>{1, 0, 1}));
  EXPECT_EQ(bound_metric(M, 0.0, DBL_MAX), 0);
  EXPECT_EQ(bound_metric(M, -INFINITY, DBL_MAX), 0);
  EXPECT_EQ(bound_metric(M, 0.0, INFINITY), -3);
  EXPECT_EQ(bound_metric(M, NAN, 2.0), -2);
  EXPECT_EQ(bound_metric(M, INFINITY, DBL_MAX), -2);
  EXPECT_EQ(bound_metric(M, 1.0, NAN), -3);
  EXPECT_EQ(packed(M), (std::vector<double>{1, 0, 1}));
  EXPECT_EQ(bound_metric(M, 2.0, DBL_MAX), 0);
  EXPECT_EQ(packed(M), (std::vector<double>{0.25, 0, 0.25}));

  Sym<3> M3(1.0, 100.0, 1e-4);
  EXPECT_EQ(bound_metric(M3, 4.0, 0.5), 0);  // hmin > hmax: the hmax bound wins
  EXPECT_TRUE(plexa_test::near(packed(M3), {4, 0, 4, 0, 0, 4}, 1e-15));
  Sym<3> zero;
  EXPECT_EQ(bound_metric(zero, 1.0, 0.0), -1);  // lmin 0: the zero eigenvalues stay, invalid
  EXPECT_EQ(packed(zero), std::vector<double>(6, 0.0));
  Sym<2> broken(1.0, NAN);
  EXPECT_EQ(bound_metric(broken, 1.0, 2.0), -1);
}

// The maximum holds both unit balls (v^T M v <= v^T Mi v everywhere), the
// minimum lies in both; each is diagonal in the reducing basis P with the
// smaller or larger of a_k, b_k, and does not depend on the order of its
// arguments.  Errors grow with the condition number c of the inputs (with
// c^2 for the swap in the 2-D closed form).
template <unsigned D>
void check_extremes(std::uint64_t seed, double lo, double hi) {
  auto g = plexa_test::rng(seed);
  for (int trial = 0; trial < 500; ++trial) {
    SCOPED_TRACE(testing::Message() << "trial " << trial);
    const Vec<D> l1 = plexa_test::spread_values<D>(g, lo, hi), l2 = plexa_test::spread_values<D>(g, lo, hi);
    const double c = std::max(*std::max_element(l1.v, l1.v + D) / *std::min_element(l1.v, l1.v + D),
                              *std::max_element(l2.v, l2.v + D) / *std::min_element(l2.v, l2.v + D));
    const Sym<D> M1 = plexa_test::compose<D>(plexa_test::random_rotation<D>(g), l1);
    const Sym<D> M2 = plexa_test::compose<D>(plexa_test::random_rotation<D>(g), l2);
    Sym<D> big, big21, small, small21;
    ASSERT_TRUE(maximum_metric(M1, M2, big));
    ASSERT_TRUE(maximum_metric(M2, M1, big21));
    ASSERT_TRUE(minimum_metric(M1, M2, small));
    ASSERT_TRUE(minimum_metric(M2, M1, small21));
    const double tol = 1e-14 * c, swap_tol = 1e-15 * c * c;
    const double sb = plexa_test::scale<D>(big), ss = plexa_test::scale<D>(small);
    EXPECT_TRUE(plexa_test::near(packed(big), packed(big21), swap_tol * sb));
    EXPECT_TRUE(plexa_test::near(packed(small), packed(small21), swap_tol * ss));
    for (int dir = 0; dir < 50; ++dir) {
      const Vec<D> v = plexa_test::random_unit<D>(g);
      const double q1 = plexa_test::quadratic<D>(M1, v.v), q2 = plexa_test::quadratic<D>(M2, v.v);
      EXPECT_LE(plexa_test::quadratic<D>(big, v.v), std::min(q1, q2) + tol * sb);
      EXPECT_GE(plexa_test::quadratic<D>(small, v.v), std::max(q1, q2) - tol * ss);
    }
    zeb::plexa::detail::reduction<D> r;
    ASSERT_TRUE(zeb::plexa::detail::reduce_simultaneously<D>(M1.m, M2.m, r));
    for (unsigned k = 0; k < D; ++k) {
      const double* p = r.P + k * D;
      const double s1 = plexa_test::scale<D>(M1), s2 = plexa_test::scale<D>(M2);
      EXPECT_NEAR(plexa_test::quadratic<D>(M1, p), r.a[k], tol * s1);
      EXPECT_NEAR(plexa_test::quadratic<D>(M2, p), r.b[k], tol * (s2 + r.b[k] / r.a[k] * s1));
      for (unsigned j = 0; j < D; ++j) {
        const Vec<D> bp = plexa_test::times<D>(big, r.P + j * D), sp = plexa_test::times<D>(small, r.P + j * D);
        double qb = 0, qs = 0, pq = 0;  // p_k^T big p_j, p_k^T small p_j, p_k^T Q_j
        for (unsigned i = 0; i < D; ++i) qb += p[i] * bp[i], qs += p[i] * sp[i], pq += p[i] * r.Q[j * D + i];
        EXPECT_NEAR(qb, j == k ? std::min(r.a[k], r.b[k]) : 0.0, tol * sb);
        EXPECT_NEAR(qs, j == k ? std::max(r.a[k], r.b[k]) : 0.0, tol * ss);
        EXPECT_NEAR(pq, j == k ? 1.0 : 0.0, tol);
      }
    }
  }
}

TEST(Extremes, MaximumHoldsAndMinimumLiesInBothUnitBalls) {
  check_extremes<2>(205, -8, 8);
  check_extremes<3>(206, -8, 8);
  check_extremes<2>(207, -2, 2);  // where the swap check is meaningful
  check_extremes<3>(208, -2, 2);
}

TEST(Extremes, ExactCasesFailuresAndAliasing) {
  Sym<2> M;
  const Sym<2> A(1.0, 4.0), B(4.0, 1.0);
  EXPECT_TRUE(maximum_metric(A, B, M));
  EXPECT_EQ(packed(M), (std::vector<double>{1, 0, 1}));
  EXPECT_TRUE(minimum_metric(A, B, M));
  EXPECT_EQ(packed(M), (std::vector<double>{4, 0, 4}));
  EXPECT_TRUE(maximum_metric(A, A, M));
  EXPECT_EQ(packed(M), packed(A));
  EXPECT_TRUE(minimum_metric(A, Sym<2>(8.0, 8.0), M));  // B holds every direction
  EXPECT_EQ(packed(M), (std::vector<double>{8, 0, 8}));

  Sym<3> mixed;
  EXPECT_TRUE(maximum_metric(Sym<3>(1.0, 1.0, 1.0), Sym<3>(DBL_MAX, 0.5, 1.0), mixed));
  EXPECT_TRUE(plexa_test::near(packed(mixed), packed(Sym<3>(1.0, 0.5, 1.0)), 1e-15));

  // A reduction that fails gives M1 and false; the record is all zero.
  const Sym<3> bad(1.0, -1.0, 1.0), good(2.0, 3.0, 4.0);
  Sym<3> M3;
  EXPECT_FALSE(minimum_metric(bad, good, M3));
  EXPECT_EQ(packed(M3), packed(bad));
  zeb::plexa::detail::reduction<3> r;
  for (double& x : r.P) x = 7;
  EXPECT_FALSE(zeb::plexa::detail::reduce_simultaneously<3>(bad.m, good.m, r));
  EXPECT_TRUE(std::all_of(r.P, r.P + 9, [](double x) { return x == 0; }));
  EXPECT_TRUE(std::all_of(r.b, r.b + 3, [](double x) { return x == 0; }));

  // The output may be either input.
  auto g = plexa_test::rng(209);
  const Sym<3> M1 = plexa_test::random_metric<3>(g, -3, 3), M2 = plexa_test::random_metric<3>(g, -3, 3);
  Sym<3> expected, in1 = M1, in2 = M2;
  maximum_metric(M1, M2, expected);
  maximum_metric(in1, M2, in1);
  maximum_metric(M1, in2, in2);
  EXPECT_EQ(packed(in1), packed(expected));
  EXPECT_EQ(packed(in2), packed(expected));
}

TEST(AnisoToIso, InterpolatesBetweenTheExtremeSizes) {
  EXPECT_EQ(metric_aniso_to_iso(Sym<2>(1.0, 4.0), 0.0), 0.5);
  EXPECT_EQ(metric_aniso_to_iso(Sym<2>(1.0, 4.0), 1.0), 1.0);
  EXPECT_EQ(metric_aniso_to_iso(Sym<2>(1.0, 4.0), 0.5), 0.75);
  EXPECT_EQ(metric_aniso_to_iso(Sym<2>(1.0, 4.0), 2.0), 1.5);
  EXPECT_EQ(metric_aniso_to_iso(Sym<2>(1.0, -4.0), 0.5), 0.0);
  EXPECT_EQ(metric_aniso_to_iso(Sym<3>(1.0, NAN, 4.0), 0.5), 0.0);
  EXPECT_EQ(metric_aniso_to_iso(Sym<3>(0.0, 1.0, 4.0), 0.5), 0.0);
  auto g = plexa_test::rng(208);
  for (int trial = 0; trial < 200; ++trial) {
    const Mat<3> R = plexa_test::random_rotation<3>(g);
    const Vec<3> l = plexa_test::spread_values<3>(g, -2, 2);
    const double lo = std::min({l[0], l[1], l[2]}), hi = std::max({l[0], l[1], l[2]});
    const Sym<3> M = plexa_test::compose<3>(R, l);
    EXPECT_NEAR(metric_aniso_to_iso(M, 0.0), 1 / std::sqrt(hi), 1e-9 / std::sqrt(hi));
    EXPECT_NEAR(metric_aniso_to_iso(M, 1.0), 1 / std::sqrt(lo), 1e-9 / std::sqrt(lo));
  }
}

}  // namespace
