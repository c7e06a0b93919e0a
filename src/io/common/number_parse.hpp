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

#include <cstdint>

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
bool parse_integer(const char* first, const char* last, std::int64_t low, std::int64_t high,
                   std::int64_t& value) noexcept;

// White space as the C locale's isspace sees it.
constexpr bool is_c_space(char c) noexcept {
  return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
