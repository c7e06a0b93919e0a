// The "%E" and "%d" formatters against the C library's snprintf in the C
// locale: seeded random bit patterns, values next to rounding ties, exact
// ties on both arithmetic paths, and the extremes of the double range.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "io/common/number_format.hpp"
#include "support/support.hpp"

namespace {

using zeb::plexa::detail::format_exponent;
using zeb::plexa::detail::format_exponent_exact;
using zeb::plexa::detail::format_int;

using formatter = char* (*)(double, char*) noexcept;

double from_bits(std::uint64_t b) {
  double v;
  std::memcpy(&v, &b, sizeof v);
  return v;
}

// Compares one formatter with snprintf over many values, reporting the first
// few disagreements.
struct oracle {
  formatter format;
  unsigned long checked = 0, failures = 0;

  void check(double v) {
    char mine[32], theirs[64];
    const char* end = format(v, mine);
    const int n = std::snprintf(theirs, sizeof theirs, "%E", v);
    ++checked;
    if ((end - mine == n && std::memcmp(mine, theirs, std::size_t(n)) == 0) || ++failures > 5) return;
    char hex[32];
    std::snprintf(hex, sizeof hex, "%a", v);
    ADD_FAILURE() << hex << ": got \"" << std::string(mine, std::size_t(end - mine)) << "\", snprintf gives \"" << theirs << '"';
  }
  void check_with_neighbours(double v) {
    check(v);
    check(std::nextafter(v, INFINITY));
    check(std::nextafter(v, -INFINITY));
  }
};

// Values that sit exactly on a rounding tie at 7 significant digits: an
// 8-digit odd multiple of 5, t = u * 5^j with u odd, gives v = u / 2^j =
// t / 10^j exactly (decided on the exact product path), and t * 10^j for
// t * 10^j < 2^53 (decided on the big-integer path).
std::vector<double> exact_ties(std::mt19937_64& g, unsigned per_scale) {
  std::vector<double> ties;
  std::uint64_t pow5 = 1;
  for (int j = 0; j <= 11; ++j, pow5 *= 5) {
    const std::uint64_t u_lo = (10000000 + pow5 - 1) / pow5, u_hi = 99999999 / pow5;
    std::uniform_int_distribution<std::uint64_t> pick(u_lo, u_hi);
    for (unsigned i = 0; i < per_scale; ++i) {
      const std::uint64_t u = pick(g) | 1;
      if (u * pow5 > 99999999 || (u * pow5) % 10 != 5) continue;
      ties.push_back(std::ldexp(double(u), -j));
      ties.push_back(-std::ldexp(double(u), -j));
    }
  }
  std::uniform_int_distribution<std::uint64_t> eight(1000000, 9999999);
  double scale = 10;
  for (int j = 1; j <= 8; ++j, scale *= 10)
    for (unsigned i = 0; i < per_scale; ++i) {
      const double t = double(eight(g) * 10 + 5) * scale;
      if (t < 9007199254740992.0) ties.push_back(t);
    }
  ties.push_back(9999999.5);  // rounds up into the next decade
  ties.push_back(9999998.5);
  ties.push_back(99999995.0);
  return ties;
}

// Checks `format` on the extremes of the double range, then on values drawn
// from one generator: exact ties and their neighbours; decimal texts of 8
// significant digits ending in 5, whose nearest doubles lie within one
// rounding error of a tie, at every decimal exponent; coordinates as meshes
// have them (a few units around the origin at every scale); random bits.
void prove(formatter format, std::uint64_t seed, unsigned ties, unsigned near, unsigned long mesh,
           unsigned long bits) {
  oracle o{format};
  char text[40];
  for (double v : {0.0, 1.0, 0.1, 1e308, double(INFINITY), DBL_MAX, DBL_MIN, DBL_TRUE_MIN})
    o.check_with_neighbours(v), o.check_with_neighbours(-v);
  // Quiet NaNs of both signs, a signalling pattern, all bits set.
  for (std::uint64_t b : {0x7FF8000000000000ull, 0xFFF8000000000000ull, 0x7FF0000000000001ull, ~0ull})
    o.check(from_bits(b));
  for (int e = -1074; e <= 1023; ++e) o.check_with_neighbours(std::ldexp(1.0, e));
  for (int e = -323; e <= 308; ++e) {
    std::snprintf(text, sizeof text, "1e%d", e);
    o.check_with_neighbours(std::strtod(text, nullptr));
    std::snprintf(text, sizeof text, "9.9999995e%d", e);  // next to a round-up into the next decade
    o.check_with_neighbours(std::strtod(text, nullptr));
  }

  auto g = plexa_test::rng(seed);
  for (double t : exact_ties(g, ties)) o.check_with_neighbours(t);
  std::uniform_int_distribution<int> digits(1000000, 9999999), exponent(-323, 307);
  for (unsigned i = 0; i < near; ++i) {
    std::snprintf(text, sizeof text, "%d5e%d", digits(g), exponent(g) - 7);
    o.check_with_neighbours(std::strtod(text, nullptr));
  }
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::uniform_int_distribution<int> scale(-8, 8);
  for (unsigned long i = 0; i < mesh; ++i) o.check(unit(g) * std::pow(10.0, scale(g)));
  for (unsigned long i = 0; i < bits; ++i) o.check(from_bits(g()));
  EXPECT_EQ(o.failures, 0u) << "of " << o.checked << " values";
}

TEST(NumberFormat, ExponentFormMatchesSnprintf) { prove(format_exponent, 20240611, 2000, 200000, 500000, 2000000); }

// The big-integer path on its own, so that its below-half and above-half
// branches are proven too, not only the ties that reach it in practice.
TEST(NumberFormat, ExactPathMatchesSnprintf) { prove(format_exponent_exact, 77, 200, 5000, 0, 50000); }

TEST(NumberFormat, IntegersMatchSnprintf) {
  auto g = plexa_test::rng(5);
  std::vector<int> values = {0, 1, -1, 9, 10, -10, 99, 100, INT_MAX, INT_MIN, INT_MIN + 1};
  for (long long p = 1; p <= INT_MAX; p *= 10)
    for (long long v : {p - 1, p, p + 1}) values.push_back(int(v)), values.push_back(int(-v));
  std::uniform_int_distribution<int> any(INT_MIN, INT_MAX), digits(0, 9);
  for (int i = 0; i < 200000; ++i) values.push_back(any(g) >> (3 * digits(g)));
  for (int v : values) {
    char mine[16], theirs[16];
    const char* end = format_int(v, mine);
    const int n = std::snprintf(theirs, sizeof theirs, "%d", v);
    ASSERT_EQ(std::string(mine, std::size_t(end - mine)), std::string(theirs, std::size_t(n)));
  }
}

// The long sweep: millions of random bit patterns, near ties and mesh-like
// coordinates.
TEST(NumberFormatSweep, ManyMillionsMatchSnprintf) { prove(format_exponent, 3141592653, 0, 500000, 1000000, 6000000); }

}  // namespace
