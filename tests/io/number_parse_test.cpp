// The number reader (src/io/common/number_parse.cpp) against the C
// library's sscanf("%lg") in the C locale: what it takes and what it
// reads, bit for bit, on seeded random strings over the characters that
// matter to the scanner, on random doubles printed in every form and on
// values of mesh sizes printed short, and on the quirks by name; the same
// results under a decimal-comma locale.  The digit runs of the readers'
// integer fields against a plain loop.
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "io/common/number_parse.hpp"
#include "support/locale.hpp"
#include "support/support.hpp"

namespace {

using zeb::plexa::detail::parse_double;

std::uint64_t bits(double v) {
  std::uint64_t b;
  std::memcpy(&b, &v, sizeof b);
  return b;
}

// What sscanf("%lg") does with `text` in the C locale: the characters taken
// (-1 when it fails) and the value.
struct scanf_result {
  int taken = -1;
  double value = 0.0;
};

scanf_result by_scanf(const std::string& text) {
  scanf_result r;
  int n = -1;
  if (std::sscanf(text.c_str(), "%lg%n", &r.value, &n) == 1) r.taken = n;
  return r;
}

::testing::AssertionResult reads_as_scanf(const std::string& text) {
  const scanf_result expected = by_scanf(text);
  double value = 12345.0;
  const char* end = parse_double(text.c_str(), value);
  const int taken = end ? int(end - text.c_str()) : -1;
  if (taken != expected.taken)
    return ::testing::AssertionFailure() << "'" << text << "': takes " << taken << ", scanf " << expected.taken;
  if (taken >= 0 && bits(value) != bits(expected.value)) {
    char a[40], b[40];
    std::snprintf(a, sizeof a, "%a", value);
    std::snprintf(b, sizeof b, "%a", expected.value);
    return ::testing::AssertionFailure() << "'" << text << "': reads " << a << ", scanf " << b;
  }
  return ::testing::AssertionSuccess();
}

TEST(NumberParse, QuirksOfTheCLibrary) {
  for (const char* text :
       {"1", " \t\n\v\f\r-2.5", "1e", "1e+", "1E-", "1e+-5", "1e5e3", "1.5.3", "1e5.3", ".5", "5.", ".", "+.", "+.e1",
        "-", "+", "", "  ", "e5", ".e5", "0x", "-0x", "0xg", "0x.", "0x.p3", "0xp3", "0x1p", "0x1.8p3", "0X1.8P-3",
        "0x1e3", "0x1.8e3", "0x1pa", "0x1p+", "0y", "00x1", "nan", "NaN(123)", "-nan", "na", "n", "inf", "INFx",
        "infinity", "-Infinityx", "infin", "infinit", "in", "1-2", "1+2", "0", "-0", "+0.0e0", "007", "1,5", "١",
        "4.9406564584124654e-324", "2.4703282292062327e-324", "2.4703282292062328e-324", "1e-400", "-1e-400",
        "1.7976931348623157e308", "1.7976931348623158e308", "1.7976931348623159e308", "1e400", "-1e99999999999",
        "0.000000000000000000000000000000000000001e-300", "123456789012345678901234567890e-330", "0x1p-1075",
        "0x1.0000000000001p-1074", "0x1p1024", "0x.8p1025", "-0x1p-2000", "0x123456789abcdef123p0",
        "9007199254740993", "0.1", "2.2250738585072011e-308", "1e23", "8.5e-323"})
    EXPECT_TRUE(reads_as_scanf(text));
}

// Random strings over the characters the scanner looks at: every rule in
// every combination, and lengths beyond a short buffer.
TEST(NumberParse, RandomStringsReadAsScanfReadsThem) {
  auto g = plexa_test::rng(77);
  const std::string alphabet = "0123456789.eEpPxX+-aAfFiInNtTy( \t";
  const std::string digits = "0123456789";
  for (unsigned t = 0; t < 300000; ++t) {
    std::string s;
    const unsigned length = unsigned(g() % 12);
    for (unsigned i = 0; i < length; ++i) {
      // Digits more often, so that numbers form.
      const std::string& from = g() % 3 ? alphabet : digits;
      s += from[g() % from.size()];
    }
    if (t % 50 == 0) s.append(g() % 300, char('0' + g() % 10));  // long runs of digits
    ASSERT_TRUE(reads_as_scanf(s));
  }
}

// Random doubles (every bit pattern) printed in the forms a file may hold.
TEST(NumberParse, PrintedDoublesReadBackAsScanfReadsThem) {
  auto g = plexa_test::rng(78);
  const char* formats[] = {"%.17g", "%.6e", "%.3E", "%a", "%A", "%.25f", "%.40e", "%g"};
  for (unsigned t = 0; t < 100000; ++t) {
    const std::uint64_t b = g();
    double v;
    std::memcpy(&v, &b, sizeof v);
    char text[400];
    std::snprintf(text, sizeof text, formats[t % 8], v);
    ASSERT_TRUE(reads_as_scanf(text));
  }
}

// Values of the size mesh files hold, printed with few digits: the short
// decimal path (at most 15 significant digits, a power of ten within 22).
TEST(NumberParse, ShortDecimalsReadBackAsScanfReadsThem) {
  auto g = plexa_test::rng(79);
  std::uniform_real_distribution<double> coordinate(-2000.0, 2000.0);
  const char* formats[] = {"%.6E", "%.15g", "%g", "%f", "%.3f", "%.12e", "%.0f", "%.14e"};
  for (unsigned t = 0; t < 200000; ++t) {
    const double v = coordinate(g) * std::pow(10.0, double(int(g() % 45) - 22));
    char text[400];
    std::snprintf(text, sizeof text, formats[t % 8], v);
    ASSERT_TRUE(reads_as_scanf(text));
  }
}

// Runs of up to eight digits, eight bytes at a time, against a plain loop.
TEST(NumberParse, LeadingDigitsOfAWord) {
  using zeb::plexa::detail::leading_digits;
  auto g = plexa_test::rng(80);
  const char alphabet[] = "/:,. +-\xff\xfa\0";  // the NUL of the literal is one of them
  for (unsigned t = 0; t < 200000; ++t) {
    char text[8];
    for (char& c : text) c = g() % 2 ? char('0' + g() % 10) : alphabet[g() % sizeof alphabet];
    unsigned n = 0;
    std::uint32_t want = 0;
    for (; n < 8 && text[n] >= '0' && text[n] <= '9'; ++n) want = want * 10 + std::uint32_t(text[n] - '0');
    std::uint32_t got = 0;
    ASSERT_EQ(leading_digits(text, got), n) << std::string(text, 8);
    if (n > 0) { ASSERT_EQ(got, want) << std::string(text, 8); }
  }
}

// The host locale changes nothing: a decimal comma is not taken, a point is.
TEST(NumberParse, IndependentOfTheHostLocale) {
  plexa_test::decimal_comma_locale comma;
  double v = 0.0;
  const std::string text = "1.5";
  EXPECT_EQ(parse_double(text.c_str(), v), text.c_str() + 3);
  EXPECT_EQ(v, 1.5);
  const std::string comma_text = "2,5";
  EXPECT_EQ(parse_double(comma_text.c_str(), v), comma_text.c_str() + 1);
  EXPECT_EQ(v, 2.0);
}

}  // namespace
