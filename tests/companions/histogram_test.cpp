// zeb::misc::histogram (src/companions/misc/histogram.cpp).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/misc/histogram.hpp>

#include "support/files.hpp"
#include "support/locale.hpp"

using zeb::misc::histogram;

namespace {
std::string text_of(const histogram& h) {
  std::string s(h.render(nullptr, 0), '\0');
  h.render(s.data(), s.size() + 1);
  return s;
}
}  // namespace

TEST(Histogram, BinsAgreeWithALinearScanAndSkipNaN) {
  histogram h;
  const std::vector<double> edges = {0, 0.3, 0.6, 0.71, 0.9, 1.3, 1.41, 2, 5};
  ASSERT_EQ(h.edge_count(), edges.size());
  for (std::size_t k = 0; k < edges.size(); ++k) EXPECT_EQ(h.edge(k), edges[k]);
  EXPECT_TRUE(std::isnan(h.min()) && std::isnan(h.max()) && std::isnan(h.mean()));

  std::mt19937_64 g(5);
  std::uniform_real_distribution<double> d(-1.0, 6.0);
  std::vector<double> values = {0.0, 0.3, 5.0, 1.41, -0.0};  // edges belong to the bin above
  for (int k = 0; k < 2000; ++k) values.push_back(d(g));
  std::vector<std::size_t> expected(edges.size() + 1, 0);
  double sum = 0;
  std::size_t nans = 0;
  for (double v : values) {
    ++expected[std::size_t(std::find_if(edges.begin(), edges.end(), [&](double e) { return v < e; }) - edges.begin())];
    sum += v;
    h.process(v);
    if (v > 4) h.process(std::numeric_limits<double>::quiet_NaN()), ++nans;
  }
  for (std::size_t k = 0; k < h.bin_count(); ++k) EXPECT_EQ(h.bin(k), expected[k]) << k;
  EXPECT_EQ(h.count(), values.size());
  EXPECT_EQ(h.nan_count(), nans);
  EXPECT_EQ(h.min(), *std::min_element(values.begin(), values.end()));
  EXPECT_EQ(h.max(), *std::max_element(values.begin(), values.end()));
  EXPECT_NEAR(h.mean(), sum / double(values.size()), 1e-12);

  const double bad_order[] = {1, 1};
  const double bad_value[] = {0, std::numeric_limits<double>::infinity()};
  EXPECT_FALSE(h.set_edges(bad_order, 2));
  EXPECT_FALSE(h.set_edges(bad_value, 2));
  EXPECT_FALSE(h.set_edges(edges.data(), 0));
  EXPECT_EQ(h.count(), values.size());  // a refused edge list changes nothing
}

TEST(Histogram, RendersTheSameTextInEveryLocale) {
  histogram h;
  EXPECT_EQ(text_of(h), "count 0\n");
  for (double v : {0.25, 0.95, 1.0, 1.0, 1.2, 1.35, 1.5, 7.0, 0.5, 1.0 / 3.0}) h.process(v);
  h.process(std::nan(""));
  const std::string expected =
      "count 10  min 0.25  max 7  mean 1.50833  nan 1\n"
      "  0 - 0.3     1   10.0%\n"
      "  0.3 - 0.6   2   20.0%\n"
      "  0.6 - 0.71  0    0.0%\n"
      "  0.71 - 0.9  0    0.0%\n"
      "  0.9 - 1.3   4   40.0%\n"
      "  1.3 - 1.41  1   10.0%\n"
      "  1.41 - 2    1   10.0%\n"
      "  2 - 5       0    0.0%\n"
      "  >= 5        1   10.0%\n";
  EXPECT_EQ(text_of(h), expected);
  {
    plexa_test::decimal_comma_locale comma;
    EXPECT_EQ(text_of(h), expected);
  }

  // Cut short: the full length comes back, the buffer stays terminated.
  char small[12];
  EXPECT_EQ(h.render(small, sizeof small), expected.size());
  EXPECT_EQ(std::string(small), expected.substr(0, 11));

  const plexa_test::scratch_dir dir;
  std::FILE* f = std::fopen(dir.file("h.txt").c_str(), "w");
  EXPECT_TRUE(h.print(f) && !h.print(nullptr));
  std::fclose(f);
  EXPECT_EQ(plexa_test::read_file(dir.file("h.txt")), expected);

  // Custom edges; the bin below the first edge shows once it holds values.
  const double edges[] = {-1.5, 1e-7};
  ASSERT_TRUE(h.set_edges(edges, 2));
  EXPECT_EQ(h.count(), 0u);
  for (double v : {-2.0, 0.0, 1e9, -1.0}) h.process(v);
  EXPECT_EQ(text_of(h),
            "count 4  min -2  max 1e+09  mean 2.5e+08\n"
            "  < -1.5        1   25.0%\n"
            "  -1.5 - 1e-07  2   50.0%\n"
            "  >= 1e-07      1   25.0%\n");
}
