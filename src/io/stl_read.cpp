// The STL grammars: the triangle soup of an ASCII or a binary file.
//
// ASCII lines are cut as fgets with a 256-byte buffer cuts them (at most
// 255 characters, through the newline) and examined as C strings (up to a
// NUL byte), but the stream is read in large blocks and the lines are
// copied, lower-cased, into a buffer of that size.
#include <bit>
#include <cstdint>
#include <cstring>

#include "core/result_codes.hpp"
#include "io/common/number_parse.hpp"
#include "io/common/text_scanner.hpp"
#include "io/stl_soup.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

// The lines of a stream, as fgets(line, 256, f) gives them, lower-cased.
class stl_lines {
 public:
  static constexpr unsigned LINE = 255;  // characters of a line at most

  explicit stl_lines(std::FILE* f) noexcept : text_(f) {}

  // Storage for the blocks; false when it cannot be had.
  bool init() noexcept { return text_.init(); }

  // The next line into line(); false when the stream has no character left
  // (or fails to give one).
  bool next() noexcept {
    const char* from;
    const unsigned n = text_.next_piece(from, LINE);
    if (n == 0) return false;
    for (unsigned i = 0; i < n; ++i) {
      const char c = from[i];
      line_[i] = c >= 'A' && c <= 'Z' ? char(c + ('a' - 'A')) : c;
    }
    line_[n] = '\0';
    return true;
  }

  const char* line() const noexcept { return line_; }
  // Whether the line contains `word` (up to its first NUL byte).
  bool has(const char* word) const noexcept { return std::strstr(line_, word) != nullptr; }

 private:
  text_scanner text_;
  char line_[LINE + 1];
};

// Whether `line` matches the sscanf pattern "<words>%lg %lg %lg", in which
// every blank of `words` matches any amount of white space (none included),
// with the three numbers read into v.
bool scan_three(const char* line, const char* words, double* v) noexcept {
  const char* p = line;
  for (const char* w = words; *w; ++w) {
    if (*w == ' ') {
      while (is_c_space(*p)) ++p;
    } else if (*p++ != *w) {
      return false;
    }
  }
  for (unsigned k = 0; k < 3; ++k)
    if (!(p = parse_double(p, v[k]))) return false;
  return true;
}

// The ASCII grammar on the lines of r.
int ascii_grammar(stl_lines& r, triangle_soup& soup) noexcept {
  if (!r.next() || !r.has("solid")) return -2;
  for (;;) {
    bool more;
    while ((more = r.next()) && r.has("color")) {
    }
    if (!more) return -3;
    if (r.has("endsolid")) {
      if (!r.next()) return 0;
      if (r.has("solid")) continue;  // a further solid
    }
    double v[9], normal[3];
    if (!scan_three(r.line(), " facet normal ", normal)) return -3;
    if (!r.next() || !r.has("outer loop")) return -3;
    for (unsigned k = 0; k < 3; ++k)
      if (!r.next() || !scan_three(r.line(), " vertex ", v + 3 * k)) return -3;
    if (!r.next() || !r.has("endloop") || !r.next() || !r.has("endfacet")) return -3;
    if (!soup.add(v)) return OUT_OF_MEMORY;
  }
}

// A little-endian 32-bit float or unsigned at b.
std::uint32_t little_u32(const unsigned char* b) noexcept {
  return std::uint32_t(b[0]) | std::uint32_t(b[1]) << 8 | std::uint32_t(b[2]) << 16 | std::uint32_t(b[3]) << 24;
}
float little_float(const unsigned char* b) noexcept { return std::bit_cast<float>(little_u32(b)); }

}  // namespace

int read_ascii_soup(std::FILE* f, triangle_soup& soup) noexcept {
  stl_lines r(f);
  if (!r.init()) return OUT_OF_MEMORY;
  return ascii_grammar(r, soup);
}

int read_binary_soup(std::FILE* f, triangle_soup& soup) noexcept {
  unsigned char header[84];
  if (std::fread(header, 1, 80, f) != 80) return -2;
  if (std::fread(header + 80, 1, 4, f) != 4) return -3;
  const std::uint32_t count = little_u32(header + 80);
  // The nodes grow with the triangles actually read, never beyond the count.
  soup.expect(count);
  constexpr unsigned CHUNK = 4096, RECORD = 50;
  dense1D<unsigned char, 8> chunk;
  if (count > 0 && !chunk.resize(CHUNK * RECORD)) return OUT_OF_MEMORY;
  for (std::uint32_t done = 0; done < count;) {
    const unsigned want = count - done < CHUNK ? unsigned(count - done) : CHUNK;
    const std::size_t got = std::fread(chunk.data(), 1, std::size_t(want) * RECORD, f);
    if (got != std::size_t(want) * RECORD) return -3;
    for (unsigned t = 0; t < want; ++t) {
      const unsigned char* record = chunk.data() + std::size_t(t) * RECORD + 12;  // after the normal
      double v[9];
      for (unsigned k = 0; k < 9; ++k) v[k] = little_float(record + 4 * k);
      if (!soup.add(v)) return OUT_OF_MEMORY;
    }
    done += want;
  }
  return 0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
