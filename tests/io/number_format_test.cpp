// The number formatters against the C library's snprintf in the C locale:
// the exponent forms ("%E", "%.5e" and the other precisions) and "%f" on
// seeded random bit patterns, values next to rounding ties, exact ties on
// every arithmetic path, and the extremes of the double range; "%d" and
// "%u"; field widths; the shortest text that reads back exactly.
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "io/common/number_format.hpp"
#include "support/support.hpp"

namespace {

using zeb::plexa::detail::exponent_form;
using zeb::plexa::detail::format_exponent;
using zeb::plexa::detail::format_exponent_exact;
using zeb::plexa::detail::format_fixed;
using zeb::plexa::detail::format_int;
using zeb::plexa::detail::format_shortest;
using zeb::plexa::detail::format_unsigned;

double from_bits(std::uint64_t b) {
  double v;
  std::memcpy(&v, &b, sizeof v);
  return v;
}

// One formatter and the printf conversion it must match.
struct form_under_test {
  std::string printf_format;
  std::function<char*(double, char*)> format;
};

form_under_test exponent(exponent_form form, bool exact = false) {
  const std::string conversion = "%." + std::to_string(form.precision) + form.letter;
  if (exact) return {conversion, [form](double v, char* out) { return format_exponent_exact(v, form, out); }};
  if (form.precision == 6 && form.letter == 'E') return {"%E", [](double v, char* out) { return format_exponent(v, out); }};
  return {conversion, [form](double v, char* out) { return format_exponent(v, form, 0, out); }};
}

const form_under_test fixed{"%f", [](double v, char* out) { return format_fixed(v, out); }};

// Compares one formatter with snprintf over many values, reporting the first
// few disagreements.
struct oracle {
  const form_under_test& form;
  unsigned long checked = 0, failures = 0;

  void check(double v) {
    char mine[400], theirs[400];
    const char* end = form.format(v, mine);
    const int n = std::snprintf(theirs, sizeof theirs, form.printf_format.c_str(), v);
    ++checked;
    if ((end - mine == n && std::memcmp(mine, theirs, std::size_t(n)) == 0) || ++failures > 5) return;
    char hex[32];
    std::snprintf(hex, sizeof hex, "%a", v);
    ADD_FAILURE() << form.printf_format << " of " << hex << ": got \"" << std::string(mine, std::size_t(end - mine))
                  << "\", snprintf gives \"" << theirs << '"';
  }
  void check_with_neighbours(double v) {
    check(v);
    check(std::nextafter(v, INFINITY));
    check(std::nextafter(v, -INFINITY));
  }
};

// The extremes and the special values, every power of two, and powers of
// ten with their neighbours.
void check_landmarks(oracle& o) {
  for (double v : {0.0, 1.0, 0.1, 0.5, 1e308, double(INFINITY), DBL_MAX, DBL_MIN, DBL_TRUE_MIN})
    o.check_with_neighbours(v), o.check_with_neighbours(-v);
  // Quiet NaNs of both signs, a signalling pattern, all bits set.
  for (std::uint64_t b : {0x7FF8000000000000ull, 0xFFF8000000000000ull, 0x7FF0000000000001ull, ~0ull})
    o.check(from_bits(b));
  for (int e = -1074; e <= 1023; ++e) o.check_with_neighbours(std::ldexp(1.0, e));
  char text[40];
  for (int e = -323; e <= 308; ++e) {
    std::snprintf(text, sizeof text, "1e%d", e);
    o.check_with_neighbours(std::strtod(text, nullptr));
  }
}

// Values that sit exactly on a rounding tie at `digits` significant digits:
// a (digits + 1)-digit odd multiple of 5, t = u * 5^j with u odd, gives
// v = u / 2^j = t / 10^j exactly (decided on the exact product path), and
// t * 10^j for t * 10^j < 2^53 (decided on the big-integer path).
std::vector<double> exact_ties(std::mt19937_64& g, unsigned digits, unsigned per_scale) {
  std::vector<double> ties;
  const std::uint64_t lo = std::uint64_t(std::pow(10.0, digits)), hi = 10 * lo - 1;
  std::uint64_t pow5 = 1;
  for (int j = 0; j <= 11; ++j, pow5 *= 5) {
    if (hi / pow5 < (lo + pow5 - 1) / pow5) break;
    std::uniform_int_distribution<std::uint64_t> pick((lo + pow5 - 1) / pow5, hi / pow5);
    for (unsigned i = 0; i < per_scale; ++i) {
      const std::uint64_t u = pick(g) | 1;
      if (u * pow5 > hi || (u * pow5) % 10 != 5) continue;
      ties.push_back(std::ldexp(double(u), -j));
      ties.push_back(-std::ldexp(double(u), -j));
    }
  }
  std::uniform_int_distribution<std::uint64_t> lead(lo / 10, lo - 1);
  double scale = 10;
  for (int j = 1; j <= 8; ++j, scale *= 10)
    for (unsigned i = 0; i < per_scale; ++i) {
      const double t = double(lead(g) * 10 + 5) * scale;
      if (t < 9007199254740992.0) ties.push_back(t);
    }
  ties.push_back(double(lo) - 0.5);  // 99..9.5: rounds up into the next decade
  ties.push_back(double(lo) - 1.5);
  ties.push_back(double(hi) - 4.0);  // 99..95
  return ties;
}

// Proves an exponent form with `digits` significant digits: landmarks;
// exact ties and their neighbours; decimal texts of digits + 1 significant
// digits ending in 5, whose nearest doubles lie within one rounding error of
// a tie, at every decimal exponent; coordinates as meshes have them (a few
// units around the origin at every scale); random bits.
void prove_exponent(const form_under_test& form, unsigned digits, std::uint64_t seed, unsigned ties, unsigned near,
                    unsigned long mesh, unsigned long bits) {
  oracle o{form};
  check_landmarks(o);
  char text[64];
  const std::string nines = "9." + std::string(digits - 1, '9') + "5e%d";
  for (int e = -323; e <= 308; ++e) {
    std::snprintf(text, sizeof text, nines.c_str(), e);  // next to a round-up into the next decade
    o.check_with_neighbours(std::strtod(text, nullptr));
  }
  auto g = plexa_test::rng(seed);
  for (double t : exact_ties(g, digits, ties)) o.check_with_neighbours(t);
  const int lo = int(std::pow(10.0, digits - 1));
  std::uniform_int_distribution<int> significand(lo, 10 * lo - 1), exponent(-323, 307);
  for (unsigned i = 0; i < near; ++i) {
    std::snprintf(text, sizeof text, "%d5e%d", significand(g), exponent(g) - int(digits));
    o.check_with_neighbours(std::strtod(text, nullptr));
  }
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::uniform_int_distribution<int> scale(-8, 8);
  for (unsigned long i = 0; i < mesh; ++i) o.check(unit(g) * std::pow(10.0, scale(g)));
  for (unsigned long i = 0; i < bits; ++i) o.check(from_bits(g()));
  EXPECT_EQ(o.failures, 0u) << "of " << o.checked << " values";
}

TEST(NumberFormat, ExponentFormMatchesSnprintf) {
  prove_exponent(exponent({6, 'E'}), 7, 20240611, 2000, 200000, 500000, 2000000);
}

TEST(NumberFormat, LowerCaseExponentFormsMatchSnprintf) {
  prove_exponent(exponent({5, 'e'}), 6, 1789, 2000, 200000, 500000, 1000000);
  for (unsigned char p = 1; p <= 6; ++p) prove_exponent(exponent({p, p % 2 ? 'e' : 'E'}), p + 1u, p, 200, 20000, 20000, 50000);
}

// The big-integer path on its own, so that its below-half and above-half
// branches are proven too, not only the ties that reach it in practice.
TEST(NumberFormat, ExactPathMatchesSnprintf) {
  prove_exponent(exponent({6, 'E'}, true), 7, 77, 200, 5000, 0, 50000);
  prove_exponent(exponent({5, 'e'}, true), 6, 78, 200, 5000, 0, 50000);
}

// "%f": landmarks, exact ties (odd multiples of 2^-7 sit on a tie at six
// decimals), decimal texts next to ties and to carries into the integer
// part, integers around the 2^53 and 2^64 limits of the fast paths, mesh
// coordinates, random bits (mostly huge integers or tiny fractions).
void prove_fixed(std::uint64_t seed, unsigned long near, unsigned long mesh, unsigned long bits) {
  oracle o{fixed};
  check_landmarks(o);
  for (int e = 50; e <= 70; ++e)
    for (double d : {-2.0, -1.0, 0.0, 1.0, 2.0}) o.check(std::ldexp(1.0, e) + d), o.check(-std::ldexp(1.0, e) - d);
  auto g = plexa_test::rng(seed);
  std::uniform_int_distribution<std::uint64_t> odd(0, (std::uint64_t(1) << 52) - 1);
  std::uniform_int_distribution<int> shift(0, 45);
  for (unsigned long i = 0; i < near; ++i) o.check_with_neighbours(std::ldexp(double((odd(g) >> shift(g)) | 1), -7));
  char text[64];
  std::uniform_int_distribution<long long> whole(0, 99999999999LL);
  std::uniform_int_distribution<int> six(0, 999999), width(0, 11);
  for (unsigned long i = 0; i < near; ++i) {
    const long long w = whole(g) >> (4 * width(g));
    std::snprintf(text, sizeof text, "%lld.%06d5", w, six(g));
    o.check_with_neighbours(std::strtod(text, nullptr));
    std::snprintf(text, sizeof text, "-%lld.9999995", w);
    o.check_with_neighbours(std::strtod(text, nullptr));
  }
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::uniform_int_distribution<int> scale(-8, 12);
  for (unsigned long i = 0; i < mesh; ++i) o.check(unit(g) * std::pow(10.0, scale(g)));
  for (unsigned long i = 0; i < bits; ++i) o.check(from_bits(g()));
  EXPECT_EQ(o.failures, 0u) << "of " << o.checked << " values";
}

TEST(NumberFormat, FixedFormMatchesSnprintf) { prove_fixed(2718, 200000, 1000000, 300000); }

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

TEST(NumberFormat, UnsignedMatchesSnprintf) {
  auto g = plexa_test::rng(6);
  std::vector<unsigned> values = {0, 1, 9, 10, 2147483647u, 2147483648u, 4294967295u};
  for (int i = 0; i < 20000; ++i) values.push_back(unsigned(g()) >> (g() % 32));
  for (unsigned v : values) {
    char mine[16], theirs[16];
    const int n = std::snprintf(theirs, sizeof theirs, "%u", v);
    ASSERT_EQ(std::string(mine, format_unsigned(v, mine)), std::string(theirs, std::size_t(n)));
  }
}

// The shortest text: a few spelled out, then random bit patterns, each read
// back by strtod to the same bits and never longer than "%.17g" (plus the
// point added to integers).
TEST(NumberFormat, ShortestTextReadsBackExactly) {
  char text[64];
  auto shortest = [&](double v) { return std::string(text, format_shortest(v, text)); };
  EXPECT_EQ(shortest(0.0), "0.");
  EXPECT_EQ(shortest(-0.0), "-0.");
  EXPECT_EQ(shortest(1.0), "1.");
  EXPECT_EQ(shortest(-1.5), "-1.5");
  EXPECT_EQ(shortest(0.1), "0.1");
  EXPECT_EQ(shortest(1e-7), "1e-07");
  EXPECT_EQ(shortest(12345.678), "12345.678");
  EXPECT_EQ(shortest(1e300), "1e+300");
  EXPECT_EQ(shortest(123456789012345680000.0), "123456789012345683968.");
  EXPECT_EQ(shortest(-DBL_MAX), "-1.7976931348623157e+308");
  EXPECT_EQ(shortest(double(INFINITY)), "inf");
  auto g = plexa_test::rng(8);
  for (int i = 0; i < 200000; ++i) {
    const double v = from_bits(g());
    if (std::isnan(v)) continue;
    const std::string t = shortest(v);
    ASSERT_EQ(std::strtod(t.c_str(), nullptr), v) << t;
    char longest[64];
    ASSERT_LE(t.size(), std::size_t(std::snprintf(longest, sizeof longest, "%.17g", v)) + 1) << t;
  }
}

// Field widths as the writers use them ("%8d", "%16d", "%16E", "%12.5e")
// and others, on texts shorter than, as long as and longer than the field.
TEST(NumberFormat, FieldWidthsMatchSnprintf) {
  auto g = plexa_test::rng(11);
  std::vector<int> ints = {0, -1, 1234567, 12345678, -1234567, 123456789, INT_MIN, INT_MAX};
  std::uniform_int_distribution<int> any(INT_MIN, INT_MAX), shift(0, 31);
  for (int i = 0; i < 20000; ++i) ints.push_back(any(g) >> shift(g));
  std::vector<double> reals = {0.0, -1.5, 1e-300, -DBL_MAX, double(NAN), -double(NAN), -double(INFINITY)};
  for (int i = 0; i < 20000; ++i) reals.push_back(from_bits(g()));
  char mine[64], theirs[64];
  for (unsigned width : {0u, 1u, 8u, 11u, 12u, 13u, 16u, 40u}) {
    const std::string d = "%" + std::to_string(width) + "d";
    for (int v : ints) {
      const int n = std::snprintf(theirs, sizeof theirs, d.c_str(), v);
      ASSERT_EQ(std::string(mine, format_int(v, width, mine)), std::string(theirs, std::size_t(n))) << d;
    }
    for (exponent_form form : {exponent_form{6, 'E'}, exponent_form{5, 'e'}, exponent_form{1, 'e'}}) {
      const std::string e = "%" + std::to_string(width) + "." + std::to_string(form.precision) + form.letter;
      for (double v : reals) {
        const int n = std::snprintf(theirs, sizeof theirs, e.c_str(), v);
        ASSERT_EQ(std::string(mine, format_exponent(v, form, width, mine)), std::string(theirs, std::size_t(n))) << e;
      }
    }
  }
}

// The long sweeps: millions of random bit patterns, near ties and mesh-like
// coordinates.
TEST(NumberFormatSweep, ManyMillionsMatchSnprintf) {
  prove_exponent(exponent({6, 'E'}), 7, 3141592653, 0, 500000, 1000000, 6000000);
  prove_exponent(exponent({5, 'e'}), 6, 1414213562, 0, 300000, 1000000, 2000000);
  prove_fixed(1732050807, 500000, 2000000, 1000000);
}

}  // namespace

// format_real: n digits as "%.<n-1>e" and "%.<n-1>E"; the shortest text
// reads back as the same double; in a field, the most digits that fit, a
// decimal point always, and the value within what those digits hold.
TEST(NumberFormat, RealsWithChosenDigits) {
  using zeb::plexa::detail::format_real;
  auto gen = plexa_test::rng(31);
  char mine[64], theirs[64];
  for (int k = 0; k < 20000; ++k) {
    double v = from_bits(gen());
    if (k % 3 == 0) v = std::ldexp(double(gen() % 2000001) - 1e6, int(gen() % 80) - 40);
    for (int digits = 1; digits <= 17; digits += 4) {
      const char letter = digits % 2 ? 'e' : 'E';
      const std::string conversion = "%." + std::to_string(digits - 1) + letter;
      std::snprintf(theirs, sizeof theirs, conversion.c_str(), v);
      if (std::isnan(v)) continue;  // the sign of a NaN is not printf's to tell
      ASSERT_EQ(std::string(mine, format_real(v, digits, letter, 0, mine)), theirs) << conversion;
    }
    if (!std::isfinite(v)) continue;
    const std::string shortest(mine, format_real(v, -1, 'E', 0, mine));
    ASSERT_EQ(std::strtod(shortest.c_str(), nullptr), v) << shortest;
    for (unsigned width : {12u, 16u}) {
      const std::string fitted(mine, format_real(v, -1, 'E', width, mine));
      ASSERT_EQ(fitted.size(), width) << fitted;
      ASSERT_NE(fitted.find('.'), std::string::npos) << fitted;
      ASSERT_NE(fitted.find('E'), std::string::npos) << fitted;
      // Either the shortest text fits, or as many digits as the field holds:
      // relative error below 10^-(digits - 1), digits >= width - 7.
      const double back = std::strtod(fitted.c_str(), nullptr);
      if (back != v) { ASSERT_LT(std::fabs(back - v), std::fabs(v) * std::pow(10.0, -double(width) + 8.5)) << fitted; }
    }
  }
  EXPECT_EQ(std::string(mine, format_real(0.1, -1, 'E', 0, mine)), "0.1");
  EXPECT_EQ(std::string(mine, format_real(1e-7, -1, 'E', 0, mine)), "1E-07");
  EXPECT_EQ(std::string(mine, format_real(0.0, -1, 'E', 16, mine)), "          0.E+00");
  EXPECT_EQ(std::string(mine, format_real(-1.0 / 3, -1, 'E', 16, mine)), "-3.333333333E-01");
  EXPECT_EQ(std::string(mine, format_real(1.0 / 3, -1, 'e', 12, mine)), "3.333333e-01");
}
