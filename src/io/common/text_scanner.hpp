// The text of a file for every text reader, read in blocks into a buffer of
// the scanner's own, and handed out in place in one of three ways (a reader
// uses one of them for a whole file):
//
//  - tokens (MEDIT, OBJ): runs of characters that are not white space,
//    always whole in the buffer and followed there by a character that ends
//    them (white space, or the NUL placed after the last byte read), so that
//    the number readers of number_parse.hpp work on them in place.  A token
//    longer than token_max() characters is refused (too_long() then tells).
//    White space is the C locale's; a '\n' is a line end, which the
//    line-based statements (OBJ) ask for separately.  A NUL byte in the file
//    is an ordinary character of a token (a number followed by one is
//    malformed).
//  - lines (NASTRAN bulk data, FEMAP neutral files): the characters up to a
//    '\n' (or the end of the stream), without the '\n' and without a '\r'
//    just before it, NUL-terminated in the buffer (the NUL is written over
//    the '\n').  A NUL byte inside a line is an ordinary character.  A line
//    longer than line_limit() characters (a '\r' before its '\n' counted)
//    is cut: its first line_limit() characters are given (without a last
//    '\r'), truncated() says so, and the rest of it is skipped.  At least PADDING initialised bytes follow the NUL of every
//    line, so that a reader may load words that run past the line's end.
//  - pieces (STL): the characters up to and including the next '\n', at
//    most a given number of them, as fgets gives them.
//
// A UTF-8 byte-order mark (EF BB BF) where the scanner starts reading is
// skipped, whichever way the text is handed out.  The memory of a scanner is
// one block, whatever the file holds.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>

#include <zeb/dense.hpp>

#include "io/common/number_parse.hpp"

namespace zeb {
namespace plexa {
namespace detail {

class text_scanner {
 public:
  static constexpr unsigned BLOCK = 1u << 19;
  static constexpr unsigned TOKEN_MAX = 1u << 15;
  static constexpr unsigned LINE_LIMIT = 1u << 12;
  static constexpr unsigned PADDING = 8;
  static constexpr unsigned SHORT = 64;

  // The characters of a token, [first, last), inside the buffer.
  struct token {
    const char* first;
    const char* last;
    unsigned size() const noexcept { return unsigned(last - first); }
  };

  // A scanner of f.  `block` (at least 16) sizes the buffer; the limits of
  // tokens and lines are TOKEN_MAX and LINE_LIMIT, or half the block when
  // that is less (small blocks are for tests of the refills).
  explicit text_scanner(std::FILE* f, unsigned block = BLOCK) noexcept
      : f_(f),
        block_(block),
        token_max_(block / 2 < TOKEN_MAX ? block / 2 : TOKEN_MAX),
        line_limit_(block / 2 < LINE_LIMIT ? block / 2 : LINE_LIMIT) {}
  text_scanner(const text_scanner&) = delete;
  text_scanner& operator=(const text_scanner&) = delete;

  // Storage for the buffer; false when it cannot be had.
  bool init() noexcept;

  unsigned token_max() const noexcept { return token_max_; }
  unsigned line_limit() const noexcept { return line_limit_; }
  // True when the stream reported an error while it was read.
  bool read_error() const noexcept { return error_; }

  // ---- Tokens ----

  // The next character without taking it; -1 at the end of the stream.
  int peek() noexcept {
    if (head_ == tail_ && !fill()) return -1;
    return static_cast<unsigned char>(buffer_[head_]);
  }
  void advance() noexcept { ++head_; }

  // Skips white space, line ends included (skip_blanks stops at a '\n'),
  // and, when `comments`, every '#' that starts a token with the rest of its
  // line.  Returns the next character, -1 at the end of the stream.
  int skip_space(bool comments) noexcept {
    for (;;) {
      while (head_ < tail_ && is_c_space(buffer_[head_])) ++head_;
      if (head_ == tail_) {
        if (!fill()) return -1;
        continue;
      }
      if (comments && buffer_[head_] == '#') {
        skip_line();
        continue;
      }
      return static_cast<unsigned char>(buffer_[head_]);
    }
  }
  int skip_blanks() noexcept {
    for (;;) {
      while (head_ < tail_ && buffer_[head_] != '\n' && is_c_space(buffer_[head_])) ++head_;
      if (head_ < tail_) return static_cast<unsigned char>(buffer_[head_]);
      if (!fill()) return -1;
    }
  }
  // Skips to the next line: past the first '\n', or to the end.
  void skip_line() noexcept;

  // Takes the token at the current position (after the white space was
  // skipped).  False at the end of the stream, or when the token is longer
  // than token_max() (too_long() then tells).
  bool take(token& t) noexcept {
    unsigned p = head_;
    while (p < tail_ && !is_c_space(buffer_[p])) ++p;
    if (p == tail_ && !end_) return take_slow(t);
    if (p == head_) return false;
    if (p - head_ > token_max_) return too_long_ = true, false;
    t = {buffer_.data() + head_, buffer_.data() + p};
    head_ = p;
    return true;
  }
  // Skips white space (and comments) and takes the token after it.
  bool next(token& t, bool comments) noexcept { return skip_space(comments) >= 0 && take(t); }

  // next() and the whole token read as token_double, or as token_integer in
  // [low, high], below; false when there is no token or it is no such
  // number.  The number is read in place when it is short (the common
  // case), through the token otherwise.
  bool next_double(double& value, bool comments) noexcept;
  bool next_integer(std::int64_t low, std::int64_t high, std::int64_t& value, bool comments) noexcept;

  bool too_long() const noexcept { return too_long_; }

  // In-place reading of a token the caller parses itself, in one pass:
  // ahead() gives the characters from the current position (at least
  // SHORT of them unless the stream ends first, then the NUL after the
  // last character read, which stops any parse); when the parse stops at
  // p and ends_at(p), the token is [ahead(), p) and move_to(p) takes it.
  // Otherwise take() gives the token (reading more of the stream if need
  // be) for the caller's slower path.
  const char* ahead() noexcept {
    if (tail_ - head_ < SHORT && !end_) fill();
    return buffer_.data() + head_;
  }
  // Whether a token that stops at p ends there: white space, or the end of
  // the stream.
  bool ends_at(const char* p) const noexcept {
    const char* tail = buffer_.data() + tail_;
    return p < tail ? is_c_space(*p) : end_;
  }
  void move_to(const char* p) noexcept { head_ = unsigned(p - buffer_.data()); }

  // ---- Lines ----

  // The next line, [first, last) with *last == '\0'; false when the stream
  // has no character left (or reading it failed: read_error() tells).  The
  // characters stay valid and may be changed until the next call.
  bool next_line(char*& first, char*& last) noexcept {
    if (head_ < tail_) {
      char* const from = buffer_.data() + head_;
      // A '\n' just past line_limit_ characters still ends a whole line.
      const unsigned look = tail_ - head_ <= line_limit_ ? tail_ - head_ : line_limit_ + 1;
      if (void* newline = std::memchr(from, '\n', look)) {
        char* const end = static_cast<char*>(newline);
        head_ += unsigned(end - from) + 1;
        return cut(from, end, first, last);
      }
    }
    return next_line_slow(first, last);
  }
  // Whether the last line given was cut to line_limit() characters.
  bool truncated() const noexcept { return truncated_; }

  // ---- Pieces ----

  // The characters from the current position up to and including the
  // first '\n', at most `limit` (at most line_limit()) of them: their
  // count, 0 at the end of the stream.  Valid until the next call.
  unsigned next_piece(const char*& first, unsigned limit) noexcept;

 private:
  // Moves what is left to the front and reads more; false when nothing is
  // left and the stream has no more.
  bool fill() noexcept;
  // Reads into the buffer from position `at` until it is full or the
  // stream ends, and zeros what follows the characters read.
  void read_from(unsigned at) noexcept;
  bool take_slow(token& t) noexcept;
  // The line [from, end): drops a '\r' before end and puts the NUL.
  bool cut(char* from, char* end, char*& first, char*& last) noexcept {
    if (end > from && end[-1] == '\r') --end;
    *end = '\0';
    first = from;
    last = end;
    truncated_ = false;
    return true;
  }
  // A line that is not whole in the buffer: refills, cuts long lines.
  bool next_line_slow(char*& first, char*& last) noexcept;

  std::FILE* f_;
  unsigned block_, token_max_, line_limit_;
  dense1D<char, 8> buffer_;  // block_ characters, a NUL and the padding
  unsigned head_ = 0, tail_ = 0;
  bool end_ = false, error_ = false, too_long_ = false, truncated_ = false;
  bool started_ = false;  // the first block was read (and a byte-order mark skipped)
};

// Whether a token is `word`, in any case (word in lower case).
bool token_is(const text_scanner::token& t, const char* word) noexcept;

// The whole token as a decimal integer (an optional sign, then digits) in
// [low, high]; false for anything else.
inline bool token_integer(const text_scanner::token& t, std::int64_t low, std::int64_t high,
                          std::int64_t& value) noexcept {
  const char* p = t.first;
  const bool negative = p < t.last && *p == '-';
  if (p < t.last && (*p == '-' || *p == '+')) ++p;
  // At most 18 digits: no overflow, and far beyond any bound asked for.
  if (p == t.last || t.last - p > 18) return false;
  std::int64_t v = 0;
  for (; p < t.last; ++p) {
    const unsigned digit = unsigned(*p - '0');
    if (digit > 9) return false;
    v = v * 10 + digit;
  }
  if (negative) v = -v;
  if (v < low || v > high) return false;
  value = v;
  return true;
}
// The whole token as "%lg" reads it; false when characters are left over.
inline bool token_double(const text_scanner::token& t, double& value) noexcept {
  const char* end = parse_double(t.first, value);
  return end == t.last;
}

inline bool text_scanner::next_double(double& value, bool comments) noexcept {
  if (skip_space(comments) < 0) return false;
  const char* p = ahead();
  const char* end = parse_double(p, value);
  // A number read in place is a token like any other: no longer than
  // TOKEN_MAX, wherever it falls in the buffer.
  if (end && end - p <= TOKEN_MAX && ends_at(end)) {
    head_ = unsigned(end - buffer_.data());
    return true;
  }
  token t;
  return take(t) && token_double(t, value);
}

inline bool text_scanner::next_integer(std::int64_t low, std::int64_t high, std::int64_t& value,
                                       bool comments) noexcept {
  if (skip_space(comments) < 0) return false;
  const char* first = ahead();
  const char* p = first;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  const char* digits = p;
  // The NUL after the characters read stops the digits; v is exact up to
  // 18 of them, and longer numbers go through the token (which refuses
  // them).
  std::uint64_t u = 0;
  for (unsigned d; (d = unsigned(*p - '0')) <= 9; ++p) u = u * 10 + d;
  if (p > digits && p - digits <= 18 && ends_at(p)) {
    std::int64_t v = std::int64_t(u);
    if (negative) v = -v;
    if (v < low || v > high) return false;
    head_ = unsigned(p - buffer_.data());
    value = v;
    return true;
  }
  token t;
  return take(t) && token_integer(t, low, high, value);
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
