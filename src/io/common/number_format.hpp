// Locale-independent number text for the file writers: the exact bytes that
// printf's "%E", "%.Pe", "%f" and "%d" produce in the C locale (the
// exponent forms and "%d" with or without a field width), without going
// through stdio.  No terminating NUL is written.
#pragma once

namespace zeb {
namespace plexa {
namespace detail {

// Longest texts: format_exponent ("-1.234567E-308"), format_fixed (a sign,
// the 309 integer digits of the largest double, the point and 6 decimals)
// and format_int ("-2147483648").
constexpr unsigned EXPONENT_TEXT_MAX = 14;
constexpr unsigned FIXED_TEXT_MAX = 317;
constexpr unsigned INT_TEXT_MAX = 11;

// An exponent form: the digits after the point (1 to 6) and the exponent
// letter, 'E' (upper-case text, "INF", "NAN") or 'e' (lower-case, "inf",
// "nan").  "%E" is {6, 'E'}; "%.5e" is {5, 'e'}.
struct exponent_form {
  unsigned char precision;
  char letter;
};
constexpr exponent_form UPPER_E = {6, 'E'};
constexpr exponent_form LOWER_E = {6, 'e'};  // "%e"

// Writes `value` as "%E" does: the exact binary value rounded to 7
// significant digits (ties to even), "d.ddddddE+xx" with at least two
// exponent digits, "-" for a negative sign (negative zero included), and
// "INF", "-INF", "NAN", "-NAN" for the non-finite values.  Returns one past
// the last byte written (at most EXPONENT_TEXT_MAX bytes).
char* format_exponent(double value, char* out) noexcept;
// The same in another exponent form, right-aligned in a field of `width`
// characters (0: no field): "%<width>.Pe" or "%<width>.PE" for P =
// form.precision.  At most max(width, EXPONENT_TEXT_MAX) bytes.
char* format_exponent(double value, exponent_form form, unsigned width, char* out) noexcept;

// The same text computed entirely with exact big-integer arithmetic: the
// slow path that format_exponent falls back to near ties, open to tests.
char* format_exponent_exact(double value, exponent_form form, char* out) noexcept;

// Writes `value` as "%f" does: the exact binary value rounded to 6 decimals
// (ties to even), every integer digit, "-" for a negative sign (a negative
// value that rounds to zero and negative zero included), "inf", "-inf",
// "nan", "-nan" for the non-finite values.  Returns one past the last byte
// written (at most FIXED_TEXT_MAX bytes).
char* format_fixed(double value, char* out) noexcept;

// Writes `value` as "%d" does, or as "%<width>d" (right-aligned in a field
// of `width` characters).  Returns one past the last byte written (at most
// max(width, INT_TEXT_MAX) bytes).
char* format_int(int value, char* out) noexcept;
char* format_int(int value, unsigned width, char* out) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
