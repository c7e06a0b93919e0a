// Lines of a stream in blocks: the refill and the lines that are not whole
// in the buffer (the last one, long ones).
#include "io/common/line_reader.hpp"

#include <cstring>

namespace zeb {
namespace plexa {
namespace detail {

bool line_reader::init() noexcept {
  if (!buffer_.resize(BLOCK + 1 + PADDING)) return false;
  std::memset(buffer_.data(), 0, 1 + PADDING);
  return true;
}

void line_reader::read_from(unsigned at) noexcept {
  char* const base = buffer_.data();
  tail_ = at;
  while (tail_ < BLOCK && !end_) {
    const std::size_t got = std::fread(base + tail_, 1, BLOCK - tail_, f_);
    tail_ += unsigned(got);
    if (got == 0) {
      end_ = true;
      error_ = std::ferror(f_) != 0;
    }
  }
  // What lies past the characters read is read by the loads that run past
  // a line's end: it is made zeros.
  std::memset(base + tail_, 0, 1 + PADDING);
}

void line_reader::refill() noexcept {
  char* const base = buffer_.data();
  const unsigned left = tail_ - head_;
  std::memmove(base, base + head_, left);
  head_ = 0;
  read_from(left);
}

bool line_reader::next_slow(char*& first, char*& last) noexcept {
  if (tail_ - head_ < LINE_LIMIT && !end_) refill();
  if (head_ == tail_) return false;
  char* const base = buffer_.data();
  char* const from = base + head_;
  const unsigned available = tail_ - head_;
  const unsigned look = available < LINE_LIMIT ? available : LINE_LIMIT;
  if (void* newline = std::memchr(from, '\n', look)) {
    char* const end = static_cast<char*>(newline);
    head_ += unsigned(end - from) + 1;
    return cut(from, end, first, last);
  }
  if (available <= LINE_LIMIT && end_) {
    // The last line, without a '\n': the buffer has room for the NUL.
    head_ = tail_;
    return cut(from, from + available, first, last);
  }
  // Longer than LINE_LIMIT: the first LINE_LIMIT characters are given; the
  // rest of the line is skipped up to its '\n', read into the buffer past
  // them (and past the NUL put after them), from the front of the buffer so
  // that the reads are large.
  if (head_ != 0) {
    refill();
    return next_slow(first, last);
  }
  char* const end = from + LINE_LIMIT;
  const unsigned keep = unsigned(end - base) + 1;
  head_ += LINE_LIMIT;
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

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
