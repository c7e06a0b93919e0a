// Locale-independent number text for the file writers: the exact bytes that
// printf's "%E" and "%d" produce in the C locale, without going through
// stdio.  No terminating NUL is written.
#pragma once

namespace zeb {
namespace plexa {
namespace detail {

// Longest text of format_exponent ("-1.234567E-308") and of format_int
// ("-2147483648").
constexpr unsigned EXPONENT_TEXT_MAX = 14;
constexpr unsigned INT_TEXT_MAX = 11;

// Writes `value` as "%E" does: the exact binary value rounded to 7
// significant digits (ties to even), "d.ddddddE+xx" with at least two
// exponent digits, "-" for a negative sign (negative zero included), and
// "INF", "-INF", "NAN", "-NAN" for the non-finite values.  Returns one past
// the last byte written (at most EXPONENT_TEXT_MAX bytes).
char* format_exponent(double value, char* out) noexcept;

// The same text computed entirely with exact big-integer arithmetic: the
// slow path that format_exponent falls back to near ties, open to tests.
char* format_exponent_exact(double value, char* out) noexcept;

// Writes `value` as "%d" does.  Returns one past the last byte written (at
// most INT_TEXT_MAX bytes).
char* format_int(int value, char* out) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
