// Locale-independent number reading for the file readers: the doubles that
// scanf's "%lg" reads in the C locale, whatever locale the caller has set,
// taken in place from a NUL-terminated line buffer.
//
// Two layers:
// - scan_double finds the characters "%lg" takes: white space skipped, then
//   an optional sign and one of
//     "nan" (case-insensitive; "nan(123)" takes only "nan"),
//     "inf" or "infinity" ("infx" takes "inf"; "infin" fails),
//     a hexadecimal number "0x..." (hex digits, one point, then "p", a sign
//       and decimal digits; "0x" with nothing after it fails),
//     a decimal number (digits, one point, then "e", a sign and digits);
//   the exponent letter needs a digit before it, a sign is taken only just
//   after the exponent letter, and an exponent without digits ("1e", "1e+")
//   is taken whole.  This is the C library's scanner, quirks included.
// - convert_double turns those characters into the double the C library's
//   strtod makes of them: correctly rounded (ties to even), an infinity on
//   overflow, the rounded value (possibly 0 or subnormal) on underflow.
//   Text that holds no number at all ("." or "+."), which strtod rejects,
//   is refused.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace zeb {
namespace plexa {
namespace detail {

// The characters of one number, [first, last), inside the caller's text.
struct number_text {
  const char* first;
  const char* last;
};

// Scans the number at `text`; false when "%lg" fails there (a matching
// failure, or the end of the text before any character of a number).
bool scan_double(const char* text, number_text& number) noexcept;

// The value of scanned characters; false when they hold no number.
bool convert_double(const number_text& number, double& value) noexcept;

// Both layers: reads a double as "%lg" does.  Returns one past the last
// character taken, or nullptr when "%lg" fails (value unchanged).
inline const char* parse_double(const char* text, double& value) noexcept {
  number_text number;
  if (!scan_double(text, number) || !convert_double(number, value)) return nullptr;
  return number.last;
}

// The whole of [first, last) as a decimal integer in [low, high]: an
// optional sign and at least one digit, nothing else; false otherwise
// (value unchanged).
inline bool parse_integer(const char* first, const char* last, std::int64_t low, std::int64_t high,
                          std::int64_t& value) noexcept {
  const char* p = first;
  const bool negative = p < last && *p == '-';
  if (p < last && (*p == '-' || *p == '+')) ++p;
  if (p == last) return false;
  // Saturated far beyond the 32-bit ranges the readers ask for.
  std::int64_t v = 0;
  for (; p < last; ++p) {
    const unsigned digit = unsigned(*p) - unsigned('0');
    if (digit > 9) return false;
    if (v < (std::int64_t(1) << 40)) v = v * 10 + digit;
  }
  if (negative) v = -v;
  if (v < low || v > high) return false;
  value = v;
  return true;
}

// The decimal digits that start at p, eight at most: their count, and their
// value in `value`.  Eight bytes from p are read, whatever they hold (the
// line reader's padding allows it).
inline unsigned leading_digits(const char* p, std::uint32_t& value) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    std::uint64_t chunk;
    std::memcpy(&chunk, p, 8);
    // A byte is a digit when its high nibble is 3 and adding 6 keeps it so;
    // a carry out of a byte that is no digit only reaches later bytes.
    const std::uint64_t high = 0xF0F0F0F0F0F0F0F0u, threes = 0x3030303030303030u;
    const std::uint64_t other = ((chunk & high) ^ threes) | (((chunk + 0x0606060606060606u) & high) ^ threes);
    const unsigned n = other ? unsigned(std::countr_zero(other)) >> 3 : 8;
    if (n == 0) return 0;
    // The n digits moved to the high bytes (the low ones read as zeros),
    // then combined in pairs, fours and eights.
    std::uint64_t v = (chunk & 0x0F0F0F0F0F0F0F0Fu) << (8 * (8 - n));
    v = (v * 10 + (v >> 8)) & 0x00FF00FF00FF00FFu;
    v = (v * 100 + (v >> 16)) & 0x0000FFFF0000FFFFu;
    value = std::uint32_t((v * 10000 + (v >> 32)) & 0xFFFFFFFFu);
    return n;
  } else {
    unsigned n = 0;
    std::uint32_t v = 0;
    for (; n < 8 && p[n] >= '0' && p[n] <= '9'; ++n) v = v * 10 + std::uint32_t(p[n] - '0');
    value = v;
    return n;
  }
}

// The double m * 10^exponent, correctly rounded, when m is below 2^53 and
// the exponent within -22 to 22 (both factors are exact doubles, so one
// product or division rounds once); false otherwise.
inline bool exact_decimal(std::uint64_t m, int exponent, double& value) noexcept {
  static constexpr double powers[23] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  if (m >= (std::uint64_t(1) << 53) || exponent < -22 || exponent > 22) return false;
  value = exponent < 0 ? double(m) / powers[-exponent] : double(m) * powers[exponent];
  return true;
}

// White space as the C locale's isspace sees it.
constexpr bool is_c_space(char c) noexcept {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
