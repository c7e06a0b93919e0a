// Block reading of the text scanner, and what is not whole in the buffer:
// tokens and lines that reach its end, long lines, pieces.
#include "io/common/text_scanner.hpp"

#include <cstring>

namespace zeb {
namespace plexa {
namespace detail {

bool text_scanner::init() noexcept {
  if (block_ < 16 || !buffer_.resize(block_ + 1 + PADDING)) return false;
  std::memset(buffer_.data(), 0, 1 + PADDING);
  return true;
}

void text_scanner::read_from(unsigned at) noexcept {
  char* const base = buffer_.data();
  tail_ = at;
  while (tail_ < block_ && !end_) {
    const std::size_t got = std::fread(base + tail_, 1, block_ - tail_, f_);
    tail_ += unsigned(got);
    if (got == 0) {
      end_ = true;
      error_ = std::ferror(f_) != 0;
    }
  }
  // The NUL ends a token or a line that ends the stream; the zeros after it
  // are read by the loads that run past a line's end.
  std::memset(base + tail_, 0, 1 + PADDING);
  // A UTF-8 byte-order mark where the scanner starts is no part of the text.
  if (!started_) {
    started_ = true;
    if (tail_ >= 3 && std::memcmp(base, "\xEF\xBB\xBF", 3) == 0) head_ = 3;
  }
}

bool text_scanner::fill() noexcept {
  char* const base = buffer_.data();
  const unsigned left = tail_ - head_;
  std::memmove(base, base + head_, left);
  head_ = 0;
  read_from(left);
  return tail_ > head_;
}

bool text_scanner::take_slow(token& t) noexcept {
  // The token reaches the end of what was read: bring the rest in.
  fill();
  unsigned p = head_;
  while (p < tail_ && !is_c_space(buffer_[p])) ++p;
  if (p == head_) return false;
  if (p - head_ > token_max_ || (p == tail_ && !end_)) return too_long_ = true, false;
  t = {buffer_.data() + head_, buffer_.data() + p};
  head_ = p;
  return true;
}

void text_scanner::skip_line() noexcept {
  for (;;) {
    const void* nl = std::memchr(buffer_.data() + head_, '\n', tail_ - head_);
    if (nl) {
      head_ = unsigned(static_cast<const char*>(nl) - buffer_.data()) + 1;
      return;
    }
    head_ = tail_;
    if (!fill()) return;
  }
}

bool text_scanner::next_line_slow(char*& first, char*& last) noexcept {
  if (tail_ - head_ <= line_limit_ && !end_) fill();
  if (head_ == tail_) return false;
  char* const base = buffer_.data();
  char* const from = base + head_;
  const unsigned available = tail_ - head_;
  const unsigned look = available <= line_limit_ ? available : line_limit_ + 1;
  if (void* newline = std::memchr(from, '\n', look)) {
    char* const end = static_cast<char*>(newline);
    head_ += unsigned(end - from) + 1;
    return cut(from, end, first, last);
  }
  if (available <= line_limit_ && end_) {
    // The last line, without a '\n': the buffer has room for the NUL.
    head_ = tail_;
    return cut(from, from + available, first, last);
  }
  // Longer than line_limit_: the first line_limit_ characters are given;
  // the rest of the line is skipped up to its '\n', read into the buffer
  // past them (and past the NUL put after them), from the front of the
  // buffer so that the reads are large.
  if (head_ != 0) {
    fill();
    return next_line_slow(first, last);
  }
  char* const end = from + line_limit_;
  const unsigned keep = unsigned(end - base) + 1;
  head_ += line_limit_;
  for (;;) {
    char* const at = base + head_;
    if (void* newline = std::memchr(at, '\n', tail_ - head_)) {
      head_ += unsigned(static_cast<char*>(newline) - at) + 1;
      break;
    }
    if (end_) {
      head_ = tail_;
      break;
    }
    head_ = keep;
    read_from(keep);
  }
  cut(from, end, first, last);
  truncated_ = true;
  return true;
}

unsigned text_scanner::next_piece(const char*& first, unsigned limit) noexcept {
  if (limit > line_limit_) limit = line_limit_;
  if (tail_ - head_ < limit && !end_) fill();
  const unsigned available = tail_ - head_;
  if (available == 0) return 0;
  const char* const from = buffer_.data() + head_;
  const unsigned look = available < limit ? available : limit;
  const void* newline = std::memchr(from, '\n', look);
  const unsigned n = newline ? unsigned(static_cast<const char*>(newline) - from) + 1 : look;
  first = from;
  head_ += n;
  return n;
}

bool token_is(const text_scanner::token& t, const char* word) noexcept {
  const char* p = t.first;
  for (; *word; ++p, ++word) {
    if (p == t.last) return false;
    const char c = *p >= 'A' && *p <= 'Z' ? char(*p + ('a' - 'A')) : *p;
    if (c != *word) return false;
  }
  return p == t.last;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
