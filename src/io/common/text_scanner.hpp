// Tokens of a text file for the readers of keyword formats (MEDIT, OBJ).
//
// The stream is read in blocks into a buffer of its own; a token (a run of
// characters that are not white space) is always whole in the buffer and
// followed there by a character that ends it (white space, or a NUL placed
// after the last byte read), so that the number readers of number_parse.hpp
// can work on it in place.  A token longer than TOKEN_MAX characters is
// refused (the reader reports a malformed file), which keeps the memory of
// a reader independent of what the file holds.
//
// White space is the C locale's; a '\n' is a line end, which the line-based
// readers ask for separately.  A NUL byte in the file is an ordinary
// character of a token (so a number followed by one is malformed).
#pragma once

#include <cstdint>
#include <cstdio>

#include <zeb/dense.hpp>

#include "io/common/number_parse.hpp"

namespace zeb {
namespace plexa {
namespace detail {

class text_scanner {
 public:
  static constexpr unsigned BLOCK = 1u << 16;
  static constexpr unsigned TOKEN_MAX = BLOCK / 2;

  // The characters of a token, [first, last), inside the buffer.
  struct token {
    const char* first;
    const char* last;
    unsigned size() const noexcept { return unsigned(last - first); }
  };

  explicit text_scanner(std::FILE* f) noexcept : f_(f) {}
  text_scanner(const text_scanner&) = delete;
  text_scanner& operator=(const text_scanner&) = delete;

  // Storage for the buffer; false when it cannot be had.
  bool init() noexcept;

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
  // than TOKEN_MAX (too_long() then tells).
  bool take(token& t) noexcept {
    unsigned p = head_;
    while (p < tail_ && !is_c_space(buffer_[p])) ++p;
    if (p == tail_ && !end_) return take_slow(t);
    if (p == head_) return false;
    if (p - head_ > TOKEN_MAX) return too_long_ = true, false;
    t = {buffer_.data() + head_, buffer_.data() + p};
    head_ = p;
    return true;
  }
  // Skips white space (and comments) and takes the token after it.
  bool next(token& t, bool comments) noexcept { return skip_space(comments) >= 0 && take(t); }

  bool too_long() const noexcept { return too_long_; }
  // True when the stream reported an error while it was read.
  bool read_error() const noexcept { return error_; }

 private:
  // Moves what is left to the front and reads more; false when nothing is
  // left and the stream has no more.
  bool fill() noexcept;
  bool take_slow(token& t) noexcept;

  std::FILE* f_;
  dense1D<char, 8> buffer_;
  unsigned head_ = 0, tail_ = 0;
  bool end_ = false, error_ = false, too_long_ = false;
};

// Whether a token is `word`, in any case (word in lower case).
bool token_is(const text_scanner::token& t, const char* word) noexcept;

// The whole token as a decimal integer (an optional sign, then digits) in
// [low, high]; false for anything else.
bool token_integer(const text_scanner::token& t, std::int64_t low, std::int64_t high, std::int64_t& value) noexcept;
// The whole token as "%lg" reads it; false when characters are left over.
inline bool token_double(const text_scanner::token& t, double& value) noexcept {
  const char* end = parse_double(t.first, value);
  return end == t.last;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
