// Block reading of the token scanner.
#include "io/common/text_scanner.hpp"

#include <cstring>

namespace zeb {
namespace plexa {
namespace detail {

bool text_scanner::init() noexcept { return buffer_.resize(BLOCK + 1); }

bool text_scanner::fill() noexcept {
  char* b = buffer_.data();
  const unsigned left = tail_ - head_;
  std::memmove(b, b + head_, left);
  head_ = 0;
  tail_ = left;
  while (tail_ < BLOCK && !end_) {
    const std::size_t got = std::fread(b + tail_, 1, BLOCK - tail_, f_);
    tail_ += unsigned(got);
    if (got == 0) {
      end_ = true;
      error_ = std::ferror(f_) != 0;
    }
  }
  b[tail_] = '\0';  // ends a token that ends the stream
  // A UTF-8 byte-order mark before the first token is no part of it.
  if (!started_) {
    started_ = true;
    if (tail_ >= 3 && std::memcmp(b, "\xEF\xBB\xBF", 3) == 0) head_ = 3;
  }
  return tail_ > head_;
}

bool text_scanner::take_slow(token& t) noexcept {
  // The token reaches the end of what was read: bring the rest in.
  fill();
  unsigned p = head_;
  while (p < tail_ && !is_c_space(buffer_[p])) ++p;
  if (p == head_) return false;
  if (p - head_ > TOKEN_MAX || (p == tail_ && !end_)) return too_long_ = true, false;
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
