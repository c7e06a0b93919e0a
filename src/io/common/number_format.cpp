// "%E", "%.Pe", "%f" and "%d" without stdio.
//
// Exponent forms.  A finite non-zero double is v = m * 2^q.  Its text with P
// digits after the point is the integer n = round(v * 10^(P - e)) in
// [10^P, 10^(P+1)), with e = floor(log10 v), written as "d.ddd..." and the
// exponent e; rounding is to nearest, ties to even, as in the C library's
// default rounding mode.  The product v * 10^s is formed from a 128-bit
// significand of 10^s (a table) and the 64-bit normalised significand of v:
// 192 bits, exact for 0 <= s <= 55, otherwise low by less than one unit of
// its second word.  That error can only matter when the fraction lies
// within it of one half; those cases (exact ties at large magnitudes, in
// practice) are decided again with exact big-integer arithmetic.
//
// Fixed form.  A double of at least 2^52 is an integer, written in full
// (through the big integer above 2^64) with ".000000".  Below, v = i + f
// with i = floor(v), and the decimals are round(f * 10^6): f has at most
// 1074 fraction bits and fewer than 53 significant ones, so f * 10^6 is
// exact in 128 bits and a shift gives the rounded decimals; ties go to the
// even decimal, which is the even n = i * 10^6 + decimals since 10^6 is even.
#include "io/common/number_format.hpp"

#include <bit>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "io/common/pow10_table.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

using u32 = std::uint32_t;
using u64 = std::uint64_t;
__extension__ typedef unsigned __int128 u128;

constexpr char digit_pairs[] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

constexpr u32 pow10_u32[10] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};
constexpr unsigned PRECISION_MAX = 6;

// floor(b * log10(2)), exact for -1140 <= b <= 1030 (checked against exact
// rational arithmetic); the doubles need -1074 <= b <= 1023.
constexpr int floor_log10_pow2(int b) noexcept { return (b * 78913) >> 18; }

// Unsigned big integer, little-endian 32-bit limbs, large enough for
// 2^64 * 10^330 and for 2^1024 (the largest operands of exact_round).
class big_uint {
 public:
  explicit big_uint(u64 v) noexcept {
    limb_[0] = u32(v);
    limb_[1] = u32(v >> 32);
    size_ = limb_[1] ? 2 : 1;
  }

  void multiply(u32 factor) noexcept {
    u64 carry = 0;
    for (unsigned i = 0; i < size_; ++i) {
      const u64 t = u64(limb_[i]) * factor + carry;
      limb_[i] = u32(t);
      carry = t >> 32;
    }
    if (carry) push(u32(carry));
  }

  void multiply_pow10(unsigned n) noexcept {
    for (; n >= 9; n -= 9) multiply(pow10_u32[9]);
    if (n) multiply(pow10_u32[n]);
  }

  // this /= divisor; returns the remainder.
  u32 divide(u32 divisor) noexcept {
    u64 rest = 0;
    for (unsigned i = size_; i-- > 0;) {
      const u64 t = (rest << 32) | limb_[i];
      limb_[i] = u32(t / divisor);
      rest = t % divisor;
    }
    while (size_ > 1 && limb_[size_ - 1] == 0) --size_;
    return u32(rest);
  }

  bool is_zero() const noexcept { return size_ == 1 && limb_[0] == 0; }

  void shift_left(unsigned bits) noexcept {
    const unsigned words = bits / 32, rest = bits % 32;
    if (rest) {
      u32 carry = 0;
      for (unsigned i = 0; i < size_; ++i) {
        const u32 next = limb_[i] >> (32 - rest);
        limb_[i] = (limb_[i] << rest) | carry;
        carry = next;
      }
      if (carry) push(carry);
    }
    if (words) {
      assert(size_ + words <= LIMBS);
      for (unsigned i = size_; i-- > 0;) limb_[i + words] = limb_[i];
      for (unsigned i = 0; i < words; ++i) limb_[i] = 0;
      size_ += words;
    }
  }

  int compare(const big_uint& other) const noexcept {
    if (size_ != other.size_) return size_ < other.size_ ? -1 : 1;
    for (unsigned i = size_; i-- > 0;)
      if (limb_[i] != other.limb_[i]) return limb_[i] < other.limb_[i] ? -1 : 1;
    return 0;
  }

  // this -= other; requires this >= other.
  void subtract(const big_uint& other) noexcept {
    u64 borrow = 0;
    for (unsigned i = 0; i < size_; ++i) {
      const u64 t = u64(limb_[i]) - (i < other.size_ ? other.limb_[i] : 0) - borrow;
      limb_[i] = u32(t);
      borrow = (t >> 32) & 1;
    }
    assert(borrow == 0);
    while (size_ > 1 && limb_[size_ - 1] == 0) --size_;
  }

 private:
  static constexpr unsigned LIMBS = 40;

  void push(u32 v) noexcept {
    assert(size_ < LIMBS);
    limb_[size_++] = v;
  }

  u32 limb_[LIMBS];
  unsigned size_;
};

// round(m * 2^q * 10^s), ties to even, by exact arithmetic; the result must
// be below 2^25.
u32 exact_round(u64 m, int q, int s) noexcept {
  big_uint num(m), den(1);
  if (q > 0) num.shift_left(unsigned(q));
  else den.shift_left(unsigned(-q));
  if (s > 0) num.multiply_pow10(unsigned(s));
  else den.multiply_pow10(unsigned(-s));

  u32 n = 0;
  for (int bit = 24; bit >= 0; --bit) {
    big_uint step = den;
    step.shift_left(unsigned(bit));
    if (num.compare(step) >= 0) {
      num.subtract(step);
      n |= u32(1) << bit;
    }
  }
  num.shift_left(1);  // twice the remainder against the divisor
  const int c = num.compare(den);
  return n + ((c > 0 || (c == 0 && (n & 1))) ? 1 : 0);
}

// Rounds v * 10^s for v = m * 2^q, m normalised to [2^63, 2^64).  Returns
// false when floor(v * 10^s) is `limit` or more (the decimal exponent guess
// was one too low); otherwise n is the rounded value, at most `limit`.
bool round_scaled(u64 m, int q, int s, u32 limit, bool force_exact, u32& n) noexcept {
  assert(s >= POW10_MIN && s <= POW10_MAX);
  const pow10_entry& p = pow10_table[s - POW10_MIN];
  const u128 low = u128(m) * p.lo;
  const u128 high = u128(m) * p.hi;
  const u64 w0 = u64(low);
  const u128 middle = (low >> 64) + u64(high);
  const u64 w1 = u64(middle);
  const u64 w2 = u64(high >> 64) + u64(middle >> 64);

  // The product is (w2, w1, w0) * 2^-(128 + r); r fractional bits stand in w2.
  const int r = -(q + p.exp2) - 128;
  assert(r > 0 && r < 64);
  const u64 whole = w2 >> r;
  if (whole >= limit) return false;
  const u64 fraction = w2 & ((u64(1) << r) - 1);
  const u64 half = u64(1) << (r - 1);

  bool up;
  if (force_exact) {
    n = exact_round(m, q, s);
    return true;
  }
  if (s >= 0 && s <= 55) {
    // 10^s is exact in 128 bits: so is the product.
    if (fraction != half) up = fraction > half;
    else up = (w1 | w0) != 0 || (whole & 1);
  } else if (fraction >= half) {
    up = true;  // the true product is larger still
  } else if (fraction != half - 1 || w1 != ~u64(0)) {
    up = false;  // below one half by more than the error
  } else {
    n = exact_round(m, q, s);
    return true;
  }
  n = u32(whole) + (up ? 1 : 0);
  return true;
}

unsigned decimal_digits(u32 u) noexcept {
  if (u < 100000) return u < 10 ? 1 : u < 100 ? 2 : u < 1000 ? 3 : u < 10000 ? 4 : 5;
  return u < 1000000 ? 6 : u < 10000000 ? 7 : u < 100000000 ? 8 : u < 1000000000 ? 9 : 10;
}

unsigned decimal_digits(u64 u) noexcept {
  unsigned n = 0;
  for (; u > UINT32_MAX; u /= 10000) n += 4;
  return n + decimal_digits(u32(u));
}

// Blanks before a text of `length` characters in a field of `width`.
char* pad(unsigned length, unsigned width, char* out) noexcept {
  if (length >= width) return out;
  std::memset(out, ' ', width - length);
  return out + (width - length);
}

// The `count` last decimal digits of u, leading zeros included, ending at
// `end`: four digits per division, in two independent pairs.
void write_digits(u32 u, unsigned count, char* end) noexcept {
  for (; count >= 4; count -= 4) {
    const u32 q = u / 10000, r = u - q * 10000;
    end -= 4;
    std::memcpy(end, digit_pairs + 2 * (r / 100), 2);
    std::memcpy(end + 2, digit_pairs + 2 * (r % 100), 2);
    u = q;
  }
  if (count >= 2) {
    end -= 2;
    std::memcpy(end, digit_pairs + 2 * (u % 100), 2);
    u /= 100;
    count -= 2;
  }
  if (count) end[-1] = char('0' + u % 10);
}

char* write_u64(u64 u, char* out) noexcept {
  const unsigned n = decimal_digits(u);
  if (n <= 9) {
    write_digits(u32(u), n, out + n);
  } else {  // up to 20 digits: at most 2 groups of 9 below the leading ones
    char* end = out + n;
    for (; u > 999999999; u /= 1000000000, end -= 9) write_digits(u32(u % 1000000000), 9, end);
    write_digits(u32(u), unsigned(end - out), end);
  }
  return out + n;
}

// The decimal digits of an integer of up to 1024 bits (consumed).
char* write_big(big_uint& b, char* out) noexcept {
  u32 chunks[36];  // 9 digits each, least significant first
  unsigned n = 0;
  do chunks[n++] = b.divide(pow10_u32[9]); while (!b.is_zero());
  out = write_u64(chunks[--n], out);
  while (n > 0) {
    write_digits(chunks[--n], 9, out + 9);
    out += 9;
  }
  return out;
}

// The text of a non-finite value ("inf", "-NAN", ...) right-aligned in
// `width`; nullptr when the value is finite.
char* write_special(u64 bits, bool upper, unsigned width, char* out) noexcept {
  if ((bits >> 52 & 0x7FF) != 0x7FF) return nullptr;
  const bool negative = bits >> 63, nan = (bits & ((u64(1) << 52) - 1)) != 0;
  out = pad(3 + negative, width, out);
  if (negative) *out++ = '-';
  std::memcpy(out, nan ? (upper ? "NAN" : "nan") : (upper ? "INF" : "inf"), 3);
  return out + 3;
}

char* write_exponent(double value, exponent_form form, unsigned width, char* out, bool force_exact) noexcept {
  assert(form.precision >= 1 && form.precision <= PRECISION_MAX);
  u64 bits;
  std::memcpy(&bits, &value, sizeof bits);
  if (char* end = write_special(bits, form.letter == 'E', width, out)) return end;
  const unsigned precision = form.precision;
  const unsigned biased = unsigned(bits >> 52) & 0x7FF;
  u64 m = bits & ((u64(1) << 52) - 1);
  int k = 0;
  u32 n = 0;
  if (biased != 0 || m != 0) {
    int q = -1074;
    if (biased != 0) {
      m |= u64(1) << 52;
      q = int(biased) - 1075;
    }
    const int shift = std::countl_zero(m);
    m <<= shift;
    q -= shift;
    // 2^b <= v < 2^(b+1), so the decimal exponent is k or k + 1.
    const int b = 63 + q;
    k = floor_log10_pow2(b);
    const u32 limit = pow10_u32[precision + 1];
    if (!round_scaled(m, q, int(precision) - k, limit, force_exact, n)) {
      ++k;
      const bool fits = round_scaled(m, q, int(precision) - k, limit, force_exact, n);
      assert(fits);
      (void)fits;
    }
    if (n == limit) {
      n = pow10_u32[precision];
      ++k;
    }
  }

  // Sign, "d.", the decimals, the letter, the exponent's sign and 2 or 3 digits.
  const bool negative = bits >> 63;
  const unsigned e = unsigned(k < 0 ? -k : k);
  out = pad(negative + 2 + precision + 2 + (e < 100 ? 2 : 3), width, out);
  if (negative) *out++ = '-';
  out[0] = char('0' + n / pow10_u32[precision]);
  out[1] = '.';
  write_digits(n, precision, out + 2 + precision);
  out += 2 + precision;
  out[0] = form.letter;
  out[1] = k < 0 ? '-' : '+';
  if (e < 100) {
    std::memcpy(out + 2, digit_pairs + 2 * e, 2);
    return out + 4;
  }
  out[2] = char('0' + e / 100);
  std::memcpy(out + 3, digit_pairs + 2 * (e % 100), 2);
  return out + 5;
}

}  // namespace

char* format_exponent(double value, char* out) noexcept { return write_exponent(value, UPPER_E, 0, out, false); }

char* format_exponent(double value, exponent_form form, unsigned width, char* out) noexcept {
  return write_exponent(value, form, width, out, false);
}

char* format_exponent_exact(double value, exponent_form form, char* out) noexcept {
  return write_exponent(value, form, 0, out, true);
}

namespace {

// The text of `value` in `buffer` (REAL_TEXT_MAX bytes): scientific with
// `precision` digits after the point, or the shortest scientific text for
// precision -1, or the shortest text of any form for `any_form`.  Returns
// its length.
unsigned real_text(double value, int precision, bool any_form, char* buffer) noexcept {
  std::to_chars_result r;
  if (any_form)
    r = std::to_chars(buffer, buffer + REAL_TEXT_MAX, value);
  else if (precision < 0)
    r = std::to_chars(buffer, buffer + REAL_TEXT_MAX, value, std::chars_format::scientific);
  else
    r = std::to_chars(buffer, buffer + REAL_TEXT_MAX, value, std::chars_format::scientific, precision);
  return unsigned(r.ptr - buffer);
}

}  // namespace

char* format_real(double value, int digits, char letter, unsigned width, char* out) noexcept {
  char text[REAL_TEXT_MAX];
  unsigned n;
  if (width == 0) {
    n = real_text(value, digits > 0 ? digits - 1 : -1, digits <= 0, text);
  } else {
    // The digits asked for, then fewer until the text fits its field.
    n = real_text(value, digits > 0 ? digits - 1 : -1, false, text);
    if (n > width && std::isfinite(value)) {
      const char* e = static_cast<const char*>(std::memchr(text, 'e', n));
      int precision = e && text[1 + (text[0] == '-')] == '.' ? int(e - text) - 2 - (text[0] == '-') : 0;
      while (n > width && precision > 0) n = real_text(value, --precision, false, text);
    }
  }
  // A number in a fixed field keeps a decimal point ("1.E+00"): some
  // readers of such fields take a number without one for an integer.
  if (width != 0 && std::isfinite(value) && !std::memchr(text, '.', n) && n < width) {
    const unsigned point = 1 + (text[0] == '-');
    std::memmove(text + point + 1, text + point, n - point);
    text[point] = '.';
    ++n;
  }
  if (letter == 'E')
    for (unsigned k = 0; k < n; ++k)
      if (text[k] >= 'a' && text[k] <= 'z') text[k] = char(text[k] - 'a' + 'A');
  for (unsigned k = n; k < width; ++k) *out++ = ' ';
  std::memcpy(out, text, n);
  return out + n;
}

char* format_fixed(double value, char* out) noexcept {
  u64 bits;
  std::memcpy(&bits, &value, sizeof bits);
  if (char* end = write_special(bits, false, 0, out)) return end;
  if (bits >> 63) *out++ = '-';
  const unsigned biased = unsigned(bits >> 52) & 0x7FF;
  u64 m = bits & ((u64(1) << 52) - 1);
  int q = -1074;
  if (biased != 0) {
    m |= u64(1) << 52;
    q = int(biased) - 1075;
  }

  u64 whole = 0;
  u32 decimals = 0;
  if (q >= 0) {
    if (q > 11) {  // beyond 64 bits
      big_uint big(m);
      big.shift_left(unsigned(q));
      out = write_big(big, out);
      std::memcpy(out, ".000000", 7);
      return out + 7;
    }
    whole = m << q;
  } else {
    const unsigned s = unsigned(-q);
    u64 fraction = m;  // f = fraction / 2^s
    if (s < 64) {
      whole = m >> s;
      fraction = m & ((u64(1) << s) - 1);
    }
    // f * 10^6 < 2^73 is below 1/4 once s >= 75.
    if (s < 75) {
      const u128 scaled = u128(fraction) * pow10_u32[6];
      const u128 half = u128(1) << (s - 1);
      const u128 rest = scaled & ((half << 1) - 1);
      decimals = u32(scaled >> s);
      if (rest > half || (rest == half && (decimals & 1))) ++decimals;
      if (decimals == pow10_u32[6]) {
        decimals = 0;
        ++whole;
      }
    }
  }
  out = write_u64(whole, out);
  *out = '.';
  write_digits(decimals, 6, out + 7);
  return out + 7;
}

char* format_shortest(double value, char* out) noexcept {
  char* const end = format_real(value, -1, 'e', 0, out);
  for (char* p = out; p < end; ++p)
    if (*p != '-' && (*p < '0' || *p > '9')) return end;
  *end = '.';
  return end + 1;
}

char* format_unsigned(unsigned value, char* out) noexcept {
  return std::to_chars(out, out + UNSIGNED_TEXT_MAX, value).ptr;
}

char* format_int(int value, char* out) noexcept { return format_int(value, 0, out); }

char* format_int(int value, unsigned width, char* out) noexcept {
  const u32 u = value < 0 ? 0u - u32(value) : u32(value);
  const unsigned digits = decimal_digits(u);
  out = pad(digits + (value < 0), width, out);
  if (value < 0) *out++ = '-';
  write_digits(u, digits, out + digits);
  return out + digits;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
