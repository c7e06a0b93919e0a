// zeb::lapack::dspev (src/companions/lapack/dspev.cpp).
#include <cmath>

#include <gtest/gtest.h>

#include <zeb/lapack.hpp>

// The second-difference matrix [2 -1 0; -1 2 -1; 0 -1 2]: eigenvalues
// 2 - sqrt 2, 2, 2 + sqrt 2 with eigenvectors (1, sqrt 2, 1) / 2,
// (1, 0, -1) / sqrt 2 and (1, -sqrt 2, 1) / 2.
TEST(Lapack, DspevSolvesAKnownThreeByThreeProblem) {
  const double r2 = std::sqrt(2.0);
  const double values[3] = {2 - r2, 2, 2 + r2};
  const double vectors[3][3] = {{0.5, r2 / 2, 0.5}, {1 / r2, 0, -1 / r2}, {0.5, -r2 / 2, 0.5}};

  double ap[6] = {2, -1, 2, 0, -1, 2};  // upper triangle by columns
  double w[3], z[9], work[10] = {};
  long info = -99;
  zeb::lapack::dspev('V', 'U', 3, ap, w, z, 3, work, info);
  ASSERT_EQ(info, 0);
  for (int k = 0; k < 3; ++k) {
    EXPECT_NEAR(w[k], values[k], 1e-14);
    const double sign = z[3 * k] * vectors[k][0] < 0 ? -1.0 : 1.0;
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(sign * z[3 * k + i], vectors[k][i], 1e-14) << k << ',' << i;
  }

  // Eigenvalues only: z null and ldz 1; the lower-triangle packing of the
  // same matrix gives the same values.
  double lower[6] = {2, -1, 0, 2, -1, 2};
  double wn[3] = {};
  EXPECT_EQ(zeb::lapack::dspev('N', 'L', 3, lower, wn, nullptr, 1, work, info), 0);
  EXPECT_EQ(info, 0);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(wn[k], values[k], 1e-14);

  // Bad arguments come back as -i instead of reaching LAPACK's error handler.
  double a[6] = {1, 0, 1, 0, 0, 1};
  const struct { char jobz, uplo; long n; double* z; long ldz, code; } bad[] = {
      {'X', 'U', 3, z, 3, -1},       {'N', 'Q', 3, z, 3, -2}, {'N', 'U', -1, z, 3, -3},
      {'V', 'U', 3, nullptr, 3, -6}, {'V', 'U', 3, z, 2, -7}, {'N', 'U', 3, nullptr, 0, -7}};
  for (const auto& b : bad) {
    EXPECT_EQ(zeb::lapack::dspev(b.jobz, b.uplo, b.n, a, w, b.z, b.ldz, work, info), b.code);
    EXPECT_EQ(info, b.code);
  }
}
