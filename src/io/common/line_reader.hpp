// Lines of a text stream for the line-based readers (NASTRAN bulk data,
// FEMAP neutral files), handed out in place.
//
// The stream is read in large blocks into a buffer of the reader's own; a
// line is a run of characters up to a '\n' (or the end of the stream),
// given without its '\n' and without a '\r' just before it, NUL-terminated
// in the buffer (the reader writes the NUL over the '\n'), so that the
// number readers of number_parse.hpp can work on it in place.  A NUL byte
// inside a line is an ordinary character.
//
// A line longer than LINE_LIMIT characters is cut: its first LINE_LIMIT
// characters are given, truncated() says so, and the rest of it is skipped.
// The memory of the reader is therefore one block, whatever the file holds.
// At least PADDING bytes of the buffer, initialised, follow the NUL of every
// line, so that a reader may load words that run past the line's end.
#pragma once

#include <cstdio>
#include <cstring>

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

class line_reader {
 public:
  static constexpr unsigned BLOCK = 1u << 19;
  static constexpr unsigned LINE_LIMIT = 1u << 12;
  static constexpr unsigned PADDING = 8;

  explicit line_reader(std::FILE* f) noexcept : f_(f) {}
  line_reader(const line_reader&) = delete;
  line_reader& operator=(const line_reader&) = delete;

  // Storage for the buffer; false when it cannot be had.
  bool init() noexcept;

  // The next line, [first, last) with *last == '\0'; false when the stream
  // has no character left (or reading it failed: read_error() tells).  The
  // characters stay valid and may be changed until the next call.
  bool next(char*& first, char*& last) noexcept {
    char* const base = buffer_.data();
    if (head_ < tail_) {
      char* const from = base + head_;
      const unsigned look = tail_ - head_ < LINE_LIMIT ? tail_ - head_ : LINE_LIMIT;
      if (void* newline = std::memchr(from, '\n', look)) {
        char* const end = static_cast<char*>(newline);
        head_ += unsigned(end - from) + 1;
        return cut(from, end, first, last);
      }
    }
    return next_slow(first, last);
  }

  // Whether the last line given was cut to LINE_LIMIT characters.
  bool truncated() const noexcept { return truncated_; }
  // Whether the stream reported an error while it was read.
  bool read_error() const noexcept { return error_; }

 private:
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
  bool next_slow(char*& first, char*& last) noexcept;
  // Moves what is left to the front and reads until the buffer is full or
  // the stream ends.
  void refill() noexcept;
  // Reads into the buffer from position `at` until it is full or the
  // stream ends.
  void read_from(unsigned at) noexcept;

  std::FILE* f_;
  dense1D<char, 8> buffer_;  // BLOCK characters, a last NUL and the padding
  unsigned head_ = 0, tail_ = 0;
  bool end_ = false, error_ = false, truncated_ = false;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
