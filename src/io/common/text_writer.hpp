// Buffered text output over a C stream for the file writers.  Numbers are
// formatted by number_format (the bytes of "%E", "%.Pe", "%f" and "%d",
// with or without a field width, in the C locale, whatever the caller's
// locale) into a buffer on the writer itself, which goes to the stream in
// large blocks.
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstring>

#include "io/common/number_format.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// Opens `path` for writing text (or bytes, when `binary`), replacing the
// file; nullptr when path is null or the file cannot be opened.
inline std::FILE* open_for_writing(const char* path, bool binary = false) noexcept {
  return path ? std::fopen(path, binary ? "wb" : "w") : nullptr;
}

class text_writer {
 public:
  // Writes to `file`, which stays open and owned by the caller.
  explicit text_writer(std::FILE* file) noexcept : file_(file) {}
  text_writer(const text_writer&) = delete;
  text_writer& operator=(const text_writer&) = delete;
  // Hands what is still buffered to the stream.
  ~text_writer() { flush(); }

  void put(char c) noexcept {
    make_room(1);
    buffer_[used_++] = c;
  }
  // A NUL-terminated text.
  void put(const char* text) noexcept { put(text, std::strlen(text)); }
  void put(const char* text, std::size_t n) noexcept {
    if (n > CAPACITY - used_) {
      flush();
      if (n > CAPACITY) {
        write(text, n);
        return;
      }
    }
    std::memcpy(buffer_ + used_, text, n);
    used_ += n;
  }
  // The significant digits of the reals that follow (write_options::digits):
  // 0 keeps the forms below as they are; 1 to 17 and SHORTEST_DIGITS (-1)
  // replace each by format_real, fitted to its field when it has a width.
  void set_digits(int digits) noexcept { digits_ = digits >= -1 && digits <= 17 ? digits : 0; }

  // `value` as "%E" writes it.
  void put_exponent(double value) noexcept {
    make_room(EXPONENT_TEXT_MAX);
    if (digits_ != 0) {
      put_exponent(value, UPPER_E, 0);
      return;
    }
    used_ = std::size_t(format_exponent(value, buffer_ + used_) - buffer_);
  }
  // `value` in the exponent form, right-aligned in `width` characters:
  // "%16E" is put_exponent(v, UPPER_E, 16), "%12.5e" put_exponent(v, {5, 'e'}, 12).
  void put_exponent(double value, exponent_form form, unsigned width) noexcept {
    make_room(width > REAL_TEXT_MAX ? width : REAL_TEXT_MAX);
    char* at = buffer_ + used_;
    used_ = std::size_t((digits_ != 0 ? format_real(value, digits_, form.letter, width, at)
                                      : format_exponent(value, form, width, at)) -
                        buffer_);
  }
  // n values, each as "%E " writes it (a line of a node's coordinates or
  // of a solution).
  void put_exponents(const double* values, unsigned n) noexcept {
    for (unsigned i = 0; i < n; ++i) {
      put_exponent(values[i]);
      put(' ');
    }
  }
  // `value` as "%f" writes it.
  void put_fixed(double value) noexcept {
    if (digits_ != 0) {
      put_exponent(value, LOWER_E, 0);
      return;
    }
    make_room(FIXED_TEXT_MAX);
    used_ = std::size_t(format_fixed(value, buffer_ + used_) - buffer_);
  }
  // The shortest text that reads back as `value` (format_shortest).
  void put_shortest(double value) noexcept {
    make_room(SHORTEST_TEXT_MAX);
    used_ = std::size_t(format_shortest(value, buffer_ + used_) - buffer_);
  }
  // `value` as "%d" writes it.
  void put_int(int value) noexcept {
    make_room(INT_TEXT_MAX);
    used_ = std::size_t(format_int(value, buffer_ + used_) - buffer_);
  }
  // `value` as "%d" writes an unsigned argument: the bits read as an int.
  void put_int(unsigned value) noexcept { put_int(static_cast<int>(value)); }
  // `value` as "%u" writes it.
  void put_unsigned(unsigned value) noexcept {
    make_room(UNSIGNED_TEXT_MAX);
    used_ = std::size_t(format_unsigned(value, buffer_ + used_) - buffer_);
  }
  // `value` as "%<width>d" writes an unsigned argument.
  void put_int(unsigned value, unsigned width) noexcept {
    make_room(width > INT_TEXT_MAX ? width : INT_TEXT_MAX);
    used_ = std::size_t(format_int(static_cast<int>(value), width, buffer_ + used_) - buffer_);
  }

  // Hands the buffered bytes to the stream.
  void flush() noexcept {
    write(buffer_, used_);
    used_ = 0;
  }
  // Hands every byte to the system: flushes this buffer and the stream's.
  // Returns 0, or -1 when the stream refused bytes or is in error.
  int finish() noexcept {
    flush();
    return std::fflush(file_) == 0 && good_ && !std::ferror(file_) ? 0 : -1;
  }
  // False once the stream has refused bytes.
  bool good() const noexcept { return good_; }

 private:
  static constexpr std::size_t CAPACITY = 32768;

  void make_room(std::size_t n) noexcept {
    if (n > CAPACITY - used_) flush();
  }
  void write(const char* bytes, std::size_t n) noexcept {
    if (n != 0 && std::fwrite(bytes, 1, n, file_) != n) good_ = false;
  }

  std::FILE* file_;
  std::size_t used_ = 0;
  int digits_ = 0;
  bool good_ = true;
  char buffer_[CAPACITY];
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
