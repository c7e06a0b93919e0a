// "%lg" without stdio: the scanner follows the C library's rules for the
// characters a floating-point conversion takes; the conversion of short
// decimal numbers is one exact division or product, the others go through
// std::from_chars (exact and locale-free), with the cases it reports out of
// range decided here: those are far beyond the double range on one side or
// the other, so the position of the leading digit and the exponent tell an
// overflow (an infinity) from an underflow (a zero).
#include "io/common/number_parse.hpp"

#include <charconv>
#include <cstdint>
#include <limits>

namespace zeb {
namespace plexa {
namespace detail {

namespace {

constexpr char lower(char c) noexcept { return c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c; }
constexpr bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }
constexpr bool is_hex_digit(char c) noexcept {
  return is_digit(c) || (lower(c) >= 'a' && lower(c) <= 'f');
}

// Whether `word` (lower case) starts at p, in any case.
bool starts_with(const char* p, const char* word) noexcept {
  for (; *word; ++p, ++word)
    if (lower(*p) != *word) return false;
  return true;
}

// The exponent after the exponent letter at e (the text ends at last),
// saturated far beyond any double's range; 0 without digits.
long exponent_at(const char* e, const char* last) noexcept {
  const char* p = e + 1;
  bool negative = false;
  if (p < last && (*p == '+' || *p == '-')) negative = *p++ == '-';
  long v = 0;
  for (; p < last && is_digit(*p); ++p)
    if (v < 100000000) v = v * 10 + (*p - '0');
  return negative ? -v : v;
}

// For a significand [p, last) in base 10 (digit_weight 1) or 16 (4, in
// bits) whose value is out of the double range: whether it is too large
// (true) or too small.  The weight of its leading non-zero digit plus its
// exponent is hundreds of units away from 0 either way.
bool too_large(const char* p, const char* last, char exponent_letter, long digit_weight) noexcept {
  long lead = 0;
  bool point = false, seen = false;
  for (; p < last && lower(*p) != exponent_letter; ++p) {
    if (*p == '.') {
      point = true;
      continue;
    }
    if (!seen && *p != '0') seen = true, lead = point ? lead - digit_weight : 0;
    else if (!seen && point) lead -= digit_weight;
    else if (seen && !point) lead += digit_weight;
  }
  return lead + (p < last ? exponent_at(p, last) : 0) >= 0;
}

// The value of a decimal text [p, last) of at most 15 significant digits
// and a power of ten within 10^-22 to 10^22, by exact_decimal (the strtod
// fast path).  False for other texts, left to the general conversion.
bool small_decimal(const char* p, const char* last, double& value) noexcept {
  std::uint64_t m = 0;
  int significant = 0, exponent = 0;
  bool digit = false, point = false;
  for (; p < last; ++p) {
    if (*p == '.' && !point) {
      point = true;
      continue;
    }
    if (!is_digit(*p)) break;
    digit = true;
    exponent -= point;
    if (m == 0 && *p == '0') continue;  // a leading zero
    if (++significant > 15) return false;
    m = m * 10 + unsigned(*p - '0');
  }
  if (!digit) return false;
  if (p < last && lower(*p) == 'e') {
    ++p;
    const bool negative = p < last && *p == '-';
    if (p < last && (*p == '-' || *p == '+')) ++p;
    int e = 0;
    for (; p < last && is_digit(*p); ++p)
      if ((e = e * 10 + (*p - '0')) > 1000) return false;
    exponent += negative ? -e : e;
  }
  if (p != last) return false;
  if (m == 0) {
    value = 0.0;
    return true;
  }
  return exact_decimal(m, exponent, value);
}

}  // namespace

bool scan_double(const char* text, number_text& number) noexcept {
  const char* p = text;
  while (is_c_space(*p)) ++p;
  const char* first = p;
  if (*p == '\0') return false;
  const bool sign = *p == '-' || *p == '+';
  if (sign && *++p == '\0') return false;
  if (lower(*p) == 'n') {
    if (!starts_with(p, "nan")) return false;
    number = {first, p + 3};
    return true;
  }
  if (lower(*p) == 'i') {
    if (!starts_with(p, "inf")) return false;
    p += 3;
    if (lower(*p) == 'i') {
      if (!starts_with(p, "inity")) return false;
      p += 5;
    }
    number = {first, p};
    return true;
  }
  if (p[0] == '0' && lower(p[1]) == 'x') {
    // Hexadecimal: hex digits and one point, then "p", one sign and
    // decimal digits; the exponent letter needs a digit before it.
    p += 2;
    bool digit = false, point = false;
    for (;; ++p) {
      if (is_hex_digit(*p))
        digit = true;
      else if (!point && *p == '.')
        point = true;
      else
        break;
    }
    if (digit && lower(*p) == 'p') {
      ++p;
      if (*p == '-' || *p == '+') ++p;
      while (is_digit(*p)) ++p;
    }
    // Only the "0x" after the sign is no number.
    if (p == first + sign + 2) return false;
  } else {
    // Decimal: digits and one point, then "e", one sign and digits.
    bool digit = false;
    for (; is_digit(*p); ++p) digit = true;
    if (*p == '.')
      for (++p; is_digit(*p); ++p) digit = true;
    if (digit && lower(*p) == 'e') {
      ++p;
      if (*p == '-' || *p == '+') ++p;
      while (is_digit(*p)) ++p;
    }
    // Nothing after the sign.
    if (p == first + sign) return false;
  }
  number = {first, p};
  return true;
}

bool convert_double(const number_text& number, double& value) noexcept {
  const char* p = number.first;
  const char* last = number.last;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  double v;
  if (lower(*p) == 'n') {
    v = std::numeric_limits<double>::quiet_NaN();
  } else if (lower(*p) == 'i') {
    v = std::numeric_limits<double>::infinity();
  } else {
    const bool hex = p + 1 < last && p[0] == '0' && lower(p[1]) == 'x';
    if (!hex && small_decimal(p, last, v)) {
      value = negative ? -v : v;
      return true;
    }
    const char* digits = hex ? p + 2 : p;
    const std::chars_format form = hex ? std::chars_format::hex : std::chars_format::general;
    const std::from_chars_result r = std::from_chars(digits, last, v, form);
    if (r.ec == std::errc::result_out_of_range) {
      v = too_large(digits, last, hex ? 'p' : 'e', hex ? 4 : 1) ? std::numeric_limits<double>::infinity() : 0.0;
    } else if (r.ec != std::errc()) {
      // A hexadecimal number without a digit ("0x.") is read as its "0";
      // other text without a digit is no number.
      if (!hex) return false;
      v = 0.0;
    }
  }
  value = negative ? -v : v;
  return true;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
