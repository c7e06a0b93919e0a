// Metric fields: checks, bounds, repairs, conversions (src/metrics/field_*.cpp).
#include <cfloat>

#include "metrics/metric_samples.hpp"

namespace {

using plexa_test::ids;
using plexa_test::NO;
using plexa_test::reals;
using plexa_test::to_vector;

template <unsigned D>
bool valid_column(const dense2D<double>& M, unsigned j) {
  return is_valid_metric(plexa_test::column<D>(M, j));
}

template <unsigned D>
void check_validation(std::uint64_t seed) {
  auto g = plexa_test::rng(seed);
  const dense2D<double> M = plexa_test::mixed_field<D>(g, 400);
  std::vector<unsigned> valid;
  for (unsigned j = 0; j < M.cols(); ++j)
    if (valid_column<D>(M, j)) valid.push_back(j);
  ASSERT_GT(valid.size(), 200u);
  ASSERT_LT(valid.size(), 400u);

  dense1D<unsigned, 8> listed = ids({NO, 5});  // appended to, twice
  valid_metrics(M, listed);
  valid_metrics(M, listed);
  std::vector<unsigned> expected = {NO, 5};
  for (int twice = 0; twice < 2; ++twice) expected.insert(expected.end(), valid.begin(), valid.end());
  EXPECT_EQ(to_vector(listed), expected);

  // The first invalid column, over the field and over node lists.
  unsigned first = 0;
  while (first < valid.size() && valid[first] == first) ++first;
  EXPECT_EQ(first_invalid_metric(M), first);
  EXPECT_FALSE(are_valid_metrics(M));
  dense1D<unsigned, 8> good(unsigned(valid.size()));
  std::copy(valid.begin(), valid.end(), good.begin());
  EXPECT_EQ(first_invalid_metric(good, M), good.size());
  EXPECT_TRUE(are_valid_metrics(good, M));
  good[17] = M.cols();  // one past the last column
  EXPECT_EQ(first_invalid_metric(good, M), 17u);
  good[9] = first;
  EXPECT_EQ(first_invalid_metric(good, M), 9u);
  EXPECT_FALSE(are_valid_metrics(good, M));
  const dense2D<double> prefix = M.sub_matrix(0, 0, M.rows(), first);
  EXPECT_TRUE(are_valid_metrics(prefix));
}

TEST(FieldChecks, FieldsAreTestedColumnByColumn) {
  check_validation<2>(301);
  check_validation<3>(302);
  // Not a metric field: nothing is valid, unless there is nothing to scan.
  const dense2D<double> four(4, 2, 1.0);
  dense1D<unsigned, 8> listed;
  EXPECT_EQ(first_invalid_metric(four), 0u);
  EXPECT_FALSE(are_valid_metrics(four));
  EXPECT_TRUE(are_valid_metrics(dense2D<double>(4, 0)));
  EXPECT_EQ(first_invalid_metric(ids({1}), four), 0u);
  EXPECT_TRUE(are_valid_metrics(dense1D<unsigned, 8>(), four));
  const unsigned listed_before = listed.size();
  valid_metrics(four, listed);
  EXPECT_EQ(listed.size(), listed_before);
  EXPECT_TRUE(listed.empty());
}

TEST(FieldChecks, Sizes) {
  EXPECT_EQ(first_invalid_metric(reals({1, 0, 2})), 1u);
  EXPECT_EQ(first_invalid_metric(reals({1, DBL_MAX})), 1u);
  EXPECT_EQ(first_invalid_metric(reals({1, 2, NAN})), 2u);
  EXPECT_EQ(first_invalid_metric(reals({1, 2, 3e300})), 3u);
  EXPECT_TRUE(are_valid_metrics(reals({1, 2, 3e300})));
  EXPECT_FALSE(are_valid_metrics(reals({-1})));
  const auto H = reals({1, -2, 3, INFINITY, 5});
  EXPECT_EQ(first_invalid_metric(ids({0, 2, 4, 5, 1}), H), 3u);  // index 5 == H.size()
  EXPECT_EQ(first_invalid_metric(ids({4, 2, 3}), H), 2u);
  EXPECT_TRUE(are_valid_metrics(ids({4, 2, 0, 2}), H));
}

// bound_metrics against bound_metric applied to each column in turn.
template <unsigned D>
void check_field_bounds(std::uint64_t seed, double hmin, double hmax) {
  auto g = plexa_test::rng(seed);
  const dense2D<double> base = plexa_test::mixed_field<D>(g, 300);
  dense2D<double> expected, M = plexa_test::strided(base), plain = plexa_test::strided(base);
  expected.copy(base);
  std::vector<unsigned> counted;
  for (unsigned j = 0; j < base.cols(); ++j) {
    Sym<D> m = plexa_test::column<D>(expected, j);
    if (bound_metric(m, hmin, hmax) == 0) counted.push_back(j);
    for (unsigned k = 0; k < Sym<D>::packed_size; ++k) expected(k, j) = m[k];
  }
  ASSERT_GT(counted.size(), 20u);
  dense1D<unsigned, 8> modified = ids({1, 2, 3});
  EXPECT_EQ(bound_metrics(M, hmin, hmax, modified), int(counted.size()));
  EXPECT_EQ(to_vector(modified), counted);
  EXPECT_TRUE(plexa_test::near(M, expected, 0));
  EXPECT_EQ(bound_metrics(plain, hmin, hmax), int(counted.size()));
  EXPECT_TRUE(plexa_test::near(plain, expected, 0));
  EXPECT_EQ(M.data()[M.rows()], -9.75e300);  // padding untouched
}

TEST(FieldBounds, MetricsAreBoundColumnByColumn) {
  check_field_bounds<2>(303, 0.01, 100);
  check_field_bounds<3>(304, 0.01, 100);
  check_field_bounds<2>(305, 0.0, 1e3);
  check_field_bounds<3>(306, 10, 0.1);
}

TEST(FieldBounds, SizesAndCodes) {
  auto H = reals({0.1, 5, NAN, 1.5});
  dense1D<unsigned, 8> modified = ids({9});
  EXPECT_EQ(bound_metrics(H, 1, 2, modified), 2);
  EXPECT_TRUE(plexa_test::near(to_vector(H), {1, 2, NAN, 1.5}, 0));
  EXPECT_EQ(to_vector(modified), (std::vector<unsigned>{0, 1}));
  H = reals({0.1, 5});
  EXPECT_EQ(bound_metrics(H, 3, 2), 2);  // hmin is tested first
  EXPECT_EQ(to_vector(H), (std::vector<double>{3, 2}));

  // Checks in order: empty, no bounds, row count, hmin, hmax; the list is
  // emptied whatever the outcome.
  dense2D<double> M2(3, 2, 1.0), M4(4, 2, 1.0), none(6, 0);
  dense1D<double, 8> empty;
  const struct {
    dense2D<double>* M;
    double hmin, hmax;
    int code;
  } cases[] = {{&none, NAN, NAN, 0},   {&M4, 0, DBL_MAX, 0},  {&M4, 1, 2, -1},    {&M4, NAN, 2, -1},
               {&M2, NAN, 2, -2},      {&M2, 1, INFINITY, -3}, {&M2, -1, DBL_MAX, 0}, {&M2, 0, INFINITY, -3}};
  for (const auto& c : cases) {
    modified = ids({4});
    EXPECT_EQ(bound_metrics(*c.M, c.hmin, c.hmax, modified), c.code) << c.hmin << ' ' << c.hmax;
    EXPECT_TRUE(modified.empty());
    if (c.M->rows() == 4) continue;  // sizes have no row count
    dense1D<double, 8> h = c.M->empty() ? empty : reals({1, 1});
    EXPECT_EQ(bound_metrics(h, c.hmin, c.hmax, modified), c.code) << c.hmin << ' ' << c.hmax;
  }
  EXPECT_EQ(to_vector(M2), std::vector<double>(6, 1.0));
}

// The metric repairs against loops over is_valid_metric.
template <unsigned D>
void check_repairs(std::uint64_t seed) {
  constexpr unsigned P = Sym<D>::packed_size;
  auto g = plexa_test::rng(seed);
  const dense2D<double> base = plexa_test::mixed_field<D>(g, 200), ref = plexa_test::mixed_field<D>(g, 150);
  const auto sizes = reals({2, -1, NAN, 0.5, 4, 0, 1, 8});

  dense2D<double> from_field = plexa_test::strided(base), from_sizes = plexa_test::strided(base),
                  from_one = plexa_test::strided(base);
  dense2D<double> e_field, e_sizes, e_one;
  e_field.copy(base), e_sizes.copy(base), e_one.copy(base);
  Sym<D> fix = plexa_test::random_metric<D>(g);
  int n_field = 0, n_sizes = 0, n_one = 0;
  for (unsigned j = 0; j < base.cols(); ++j) {
    if (valid_column<D>(base, j)) continue;
    if (j < ref.cols() && valid_column<D>(ref, j)) {
      ++n_field;
      for (unsigned k = 0; k < P; ++k) e_field(k, j) = ref(k, j);
    }
    if (j < sizes.size() && sizes[j] > 0) {
      ++n_sizes;
      for (unsigned k = 0; k < P; ++k) e_sizes(k, j) = k == 0 || k == 2 || k == 5 ? 1 / (sizes[j] * sizes[j]) : 0;
    }
    ++n_one;
    for (unsigned k = 0; k < P; ++k) e_one(k, j) = fix[k];
  }
  EXPECT_EQ(overwrite_invalid_metrics(from_field, ref), n_field);
  EXPECT_EQ(overwrite_invalid_metrics(from_sizes, sizes), n_sizes);
  EXPECT_EQ(overwrite_invalid_metrics(from_one, fix), n_one);
  EXPECT_TRUE(plexa_test::near(from_field, e_field, 0));
  EXPECT_TRUE(plexa_test::near(from_sizes, e_sizes, 0));
  EXPECT_TRUE(plexa_test::near(from_one, e_one, 0));
  EXPECT_TRUE(are_valid_metrics(from_one));

  for (double& x : fix.m) x = -x;
  EXPECT_EQ(overwrite_invalid_metrics(from_field, fix), -2);
  EXPECT_EQ(overwrite_invalid_metrics(from_field, Sym<5 - D>()), -1);
  EXPECT_EQ(overwrite_invalid_metrics(from_field, dense2D<double>(9 - P, 2, 1.0)), -2);
}

TEST(FieldRepairs, MetricsAreReplacedColumnByColumn) {
  check_repairs<2>(307);
  check_repairs<3>(308);
  dense2D<double> four(4, 1, -1.0), empty;
  EXPECT_EQ(overwrite_invalid_metrics(four, dense2D<double>(4, 1, 1.0)), -1);
  EXPECT_EQ(overwrite_invalid_metrics(four, reals({1})), -1);
  EXPECT_EQ(overwrite_invalid_metrics(empty, dense2D<double>(4, 1, 1.0)), 0);
  EXPECT_EQ(overwrite_invalid_metrics(empty, Sym<2>(-1.0, -1.0)), 0);
}

TEST(FieldRepairs, SizesAreReplacedWhenNotPositive) {
  auto H = reals({-1, NAN, 0, INFINITY, 2});
  EXPECT_EQ(overwrite_invalid_metrics(H, 0.5), 2);
  EXPECT_TRUE(plexa_test::near(to_vector(H), {0.5, NAN, 0.5, INFINITY, 2}, 0));
  for (double h : {0.0, -1.0, double(NAN)}) EXPECT_EQ(overwrite_invalid_metrics(H, h), -2);
  dense1D<double, 8> none;
  EXPECT_EQ(overwrite_invalid_metrics(none, -1.0), 0);
  H = reals({-1, 0, -3, NAN, -5});
  EXPECT_EQ(overwrite_invalid_metrics(H, reals({-7, 2, 3, 4})), 2);
  EXPECT_TRUE(plexa_test::near(to_vector(H), {-1, 2, 3, NAN, -5}, 0));
}

// The conversions against the primitives, over strided inputs and outputs;
// columns beyond the input and columns of non-positive sizes are untouched.
TEST(FieldConversions, ArePrimitivesColumnByColumn) {
  auto g = plexa_test::rng(309);
  const auto H = reals({0.5, -1, 2, NAN, 0, 3, INFINITY});
  const unsigned n = H.size();
  const dense2D<double> T = plexa_test::strided(plexa_test::random_coordinates(g, 6, n, -1, 1));
  const dense2D<double> M3 = plexa_test::mixed_field<3>(g, n);
  dense2D<double> iso2 = plexa_test::strided(dense2D<double>(3, n + 1, 7.0));
  dense2D<double> iso3 = plexa_test::strided(dense2D<double>(6, n + 1, 7.0));
  dense2D<double> tan2 = plexa_test::strided(dense2D<double>(3, n + 1, 7.0));
  dense2D<double> cut2 = plexa_test::strided(dense2D<double>(3, n + 1, 7.0));
  EXPECT_EQ(metrics_iso_to_aniso2d(H, iso2), 0);
  EXPECT_EQ(metrics_iso_to_aniso3d(H, iso3), 0);
  EXPECT_EQ(metrics_iso_to_aniso2d(H, T, tan2), 0);
  EXPECT_EQ(metrics_aniso3d_to_aniso2d(M3, T, cut2), 0);
  for (unsigned j = 0; j <= n; ++j) {
    SCOPED_TRACE(j);
    Sym<2> a2(7.0, 7.0, 7.0), t2 = a2, c2 = a2;
    Sym<3> a3(7.0, 7.0, 7.0, 7.0, 7.0, 7.0);
    if (j < n) {
      zeb::matrix_fixed<double, 3, 2> t;
      for (unsigned k = 0; k < 6; ++k) t.a[k] = T(k, j);
      if (H[j] > 0) metric_aniso(H[j], a2), metric_aniso(H[j], a3);
      metric_aniso2d(H[j], t, t2);
      metric_aniso3d_to_aniso2d(plexa_test::column<3>(M3, j), t, c2);
    }
    EXPECT_TRUE(plexa_test::near(to_vector(iso2.sub_matrix(0, j, 3, 1)), {a2.m, a2.m + 3}, 0));
    EXPECT_TRUE(plexa_test::near(to_vector(iso3.sub_matrix(0, j, 6, 1)), {a3.m, a3.m + 6}, 0));
    EXPECT_TRUE(plexa_test::near(to_vector(tan2.sub_matrix(0, j, 3, 1)), {t2.m, t2.m + 3}, 0));
    EXPECT_TRUE(plexa_test::near(to_vector(cut2.sub_matrix(0, j, 3, 1)), {c2.m, c2.m + 3}, 0));
  }
}

TEST(FieldConversions, Codes) {
  const auto H = reals({1, 2});
  dense2D<double> none, M3x1(3, 1), M6(6, 2), M3(3, 2), T(6, 2, 0.5);
  EXPECT_EQ(metrics_iso_to_aniso2d(dense1D<double, 8>(), none), 0);
  EXPECT_EQ(metrics_iso_to_aniso2d(dense1D<double, 8>(), M6), -2);
  EXPECT_EQ(metrics_iso_to_aniso2d(H, M3x1), -2);
  EXPECT_EQ(metrics_iso_to_aniso3d(H, M3), -2);
  EXPECT_EQ(metrics_iso_to_aniso2d(dense1D<double, 8>(), none, none), 0);
  EXPECT_EQ(metrics_iso_to_aniso2d(H, dense2D<double>(6, 3), M3), -2);
  EXPECT_EQ(metrics_iso_to_aniso2d(H, dense2D<double>(5, 2), M3), -2);
  EXPECT_EQ(metrics_iso_to_aniso2d(H, T, M3x1), -3);
  EXPECT_EQ(metrics_iso_to_aniso2d(H, T, M6), -3);
  EXPECT_EQ(metrics_aniso3d_to_aniso2d(none, none, none), 0);
  EXPECT_EQ(metrics_aniso3d_to_aniso2d(M3, T, M3), -1);
  EXPECT_EQ(metrics_aniso3d_to_aniso2d(M6, dense2D<double>(6, 1), M3), -2);
  EXPECT_EQ(metrics_aniso3d_to_aniso2d(M6, T, M3x1), -3);
}

// Inputs that share storage with the output are read as they were on entry.
TEST(FieldAliasing, SharedInputsAreReadAsOnEntry) {
  auto g = plexa_test::rng(310);
  // H[i + 1] repaired from the old H[i]: written entries must not be read.
  dense1D<double, 8> H = reals({5, -1, -2, -3}), tail = H.sub_vector(1, 3);
  EXPECT_EQ(overwrite_invalid_metrics(tail, H), 1);
  EXPECT_EQ(to_vector(H), (std::vector<double>{5, 5, -2, -3}));

  // The same with metric columns.
  const dense2D<double> base = plexa_test::mixed_field<2>(g, 50);
  dense2D<double> M, expected, ref;
  M.copy(base), expected.copy(base), ref.copy(base);
  dense2D<double> shifted = M.sub_matrix(0, 1, 3, 49), expected_shifted = expected.sub_matrix(0, 1, 3, 49);
  const int count = overwrite_invalid_metrics(expected_shifted, ref);
  EXPECT_GT(count, 0);
  EXPECT_EQ(overwrite_invalid_metrics(shifted, M), count);
  EXPECT_TRUE(plexa_test::near(M, expected, 0));

  // Sizes read from the storage of the field they convert into.
  dense2D<double> F(3, 4, 0.0), F2(3, 4, 0.0);
  F(0, 0) = 2, F(1, 0) = 4, F(2, 0) = 0.5;
  F2(0, 0) = 0.25, F2(2, 0) = 0.25;
  F2(0, 1) = 0.0625, F2(2, 1) = 0.0625;
  F2(0, 2) = 4, F2(2, 2) = 4;
  EXPECT_EQ(metrics_iso_to_aniso2d(F.as_vector().sub_vector(0, 3), F), 0);
  EXPECT_EQ(to_vector(F), to_vector(F2));

  // 3-D metrics restricted into the top rows of the next column of their
  // own field.
  dense2D<double> big = plexa_test::mixed_field<3>(g, 8), T = plexa_test::random_coordinates(g, 6, 7);
  dense2D<double> M3, out(3, 7), top = big.sub_matrix(0, 1, 3, 7);
  M3.copy(big.sub_matrix(0, 0, 6, 7));
  EXPECT_EQ(metrics_aniso3d_to_aniso2d(M3, T, out), 0);
  EXPECT_EQ(metrics_aniso3d_to_aniso2d(big.sub_matrix(0, 0, 6, 7), T, top), 0);
  EXPECT_TRUE(plexa_test::near(top, out, 0));
}

// Out of memory: -199 and the caller's containers as they were.
TEST(FieldMemory, FailuresLeaveTheCallersContainersAlone) {
  auto g = plexa_test::rng(311);
  const dense2D<double> base = plexa_test::mixed_field<3>(g, 100);
  dense2D<double> M;
  M.copy(base);
  dense1D<unsigned, 8> listed = ids({7, 8});
  const unsigned valid_count = [&] {
    dense1D<unsigned, 8> all;
    valid_metrics(M, all);
    return all.size();
  }();
  auto list_all = [&] {
    valid_metrics(M, listed);
    return listed.size() == 2 + valid_count ? 0 : -199;
  };
  EXPECT_GT(plexa_test::for_each_allocation_failure(list_all,
                                                    [&] { EXPECT_EQ(to_vector(listed), (std::vector<unsigned>{7, 8})); }),
            0u);

  dense1D<unsigned, 8> modified;
  auto attempt = [&] {
    for (unsigned j = 0; j < base.cols(); ++j)
      for (unsigned i = 0; i < 6; ++i) M(i, j) = base(i, j);
    return bound_metrics(M, 0.1, 10, modified);
  };
  EXPECT_GT(plexa_test::for_each_allocation_failure(attempt, [&] { EXPECT_TRUE(plexa_test::near(M, base, 0)); }), 0u);
  EXPECT_GT(modified.size(), 0u);

  dense1D<double, 8> H = reals({-1, 2, 0, 3});
  EXPECT_GT(plexa_test::for_each_allocation_failure(
                [&] { return overwrite_invalid_metrics(H, H.sub_vector(1, 3)); },
                [&] { EXPECT_EQ(to_vector(H), (std::vector<double>{-1, 2, 0, 3})); }),
            0u);
  dense2D<double> F(3, 4, 0.0);
  F(0, 0) = 2;
  EXPECT_GT(plexa_test::for_each_allocation_failure([&] { return metrics_iso_to_aniso2d(F.as_vector().sub_vector(0, 4), F); },
                                                    [&] { EXPECT_EQ(F(0, 0), 2.0); }),
            0u);
}

}  // namespace
