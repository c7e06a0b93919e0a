// The text scanner of the readers (src/io/common/text_scanner): tokens,
// lines and pieces of random texts against direct splits of the same bytes,
// with blocks small enough that every refill path is taken.
#include <cstdio>
#include <string>
#include <vector>

#include "io/common/text_scanner.hpp"
#include "support/support.hpp"

using zeb::plexa::detail::text_scanner;
using namespace plexa_test;

namespace {

// A stream over a copy of `text`, closed with the object.
class text_stream {
 public:
  explicit text_stream(const std::string& text) : bytes_(text) {
    f_ = bytes_.empty() ? std::tmpfile() : fmemopen(bytes_.data(), bytes_.size(), "r");
  }
  ~text_stream() {
    if (f_) std::fclose(f_);
  }
  std::FILE* get() const { return f_; }

 private:
  std::string bytes_;
  std::FILE* f_;
};

// Random bytes, mostly letters and digits, with white space, line ends
// (some after a '\r'), NULs and now and then a long run without a break.
std::string random_text(std::mt19937_64& g, unsigned size) {
  const char pick[] = "abcXYZ0123456789.-+e  \t\n\n\r\v\f#";
  std::string s;
  while (s.size() < size) {
    const unsigned r = unsigned(g() % 100);
    if (r == 0) {
      s.append(20 + g() % 120, 'w');
    } else if (r == 1) {
      s.push_back('\0');
    } else {
      s.push_back(pick[g() % (sizeof pick - 1)]);
    }
  }
  return s;
}

bool c_space(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

const unsigned blocks[] = {16, 37, 64, 256, text_scanner::BLOCK};

}  // namespace

TEST(TextScanner, LinesAreTheTextSplitAtLineEnds) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    auto g = rng(seed);
    const std::string text = random_text(g, unsigned(g() % 3000));
    for (const unsigned block : blocks) {
      SCOPED_TRACE(::testing::Message() << "seed " << seed << ", block " << block);
      text_stream in(text);
      text_scanner s(in.get(), block);
      ASSERT_TRUE(s.init());
      const unsigned limit = s.line_limit();
      std::size_t at = 0;
      char *first, *last;
      while (at < text.size()) {
        std::size_t end = text.find('\n', at);
        if (end == std::string::npos) end = text.size();
        // The limit counts a '\r' before the '\n'; the '\r' ending what is
        // given is dropped.
        std::string want = text.substr(at, end - at);
        const bool cut = want.size() > limit;
        if (cut) want.resize(limit);
        if (!want.empty() && want.back() == '\r') want.pop_back();
        ASSERT_TRUE(s.next_line(first, last));
        ASSERT_EQ(std::string(first, last), want);
        ASSERT_EQ(*last, '\0');
        ASSERT_EQ(s.truncated(), cut);
        at = end + 1;
      }
      EXPECT_FALSE(s.next_line(first, last));
      EXPECT_FALSE(s.read_error());
    }
  }
}

TEST(TextScanner, TokensAreTheTextSplitAtWhiteSpace) {
  for (unsigned seed = 0; seed < 40; ++seed) {
    auto g = rng(seed);
    const std::string text = random_text(g, unsigned(g() % 3000));
    for (const unsigned block : blocks) {
      SCOPED_TRACE(::testing::Message() << "seed " << seed << ", block " << block);
      text_stream in(text);
      text_scanner s(in.get(), block);
      ASSERT_TRUE(s.init());
      std::size_t at = 0;
      text_scanner::token t;
      bool stopped = false;
      for (;;) {
        while (at < text.size() && c_space(text[at])) ++at;
        if (at == text.size()) break;
        std::size_t end = at;
        while (end < text.size() && !c_space(text[end])) ++end;
        if (end - at > s.token_max()) {
          EXPECT_FALSE(s.next(t, false));
          EXPECT_TRUE(s.too_long());
          stopped = true;
          break;
        }
        ASSERT_TRUE(s.next(t, false));
        ASSERT_EQ(std::string(t.first, t.last), text.substr(at, end - at));
        ASSERT_TRUE(t.last == t.first + t.size() && (c_space(*t.last) || *t.last == '\0'));
        at = end;
      }
      if (!stopped) {
        EXPECT_FALSE(s.next(t, false));
        EXPECT_FALSE(s.too_long());
      }
    }
  }
}

TEST(TextScanner, PiecesAreWhatFgetsGives) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    auto g = rng(seed);
    const std::string text = random_text(g, unsigned(g() % 3000));
    const unsigned size = 2 + unsigned(g() % 40);
    text_stream in(text);
    text_scanner s(in.get(), 128);  // lines up to 64 characters
    ASSERT_TRUE(s.init());
    const char* first;
    std::size_t at = 0;
    for (unsigned n; (n = s.next_piece(first, size - 1)) > 0; at += n) {
      std::size_t end = text.find('\n', at);
      end = end == std::string::npos ? text.size() : end + 1;
      ASSERT_EQ(n, std::min<std::size_t>(end - at, size - 1));
      ASSERT_EQ(std::string(first, n), text.substr(at, n));
    }
    EXPECT_EQ(at, text.size());
  }
}

// Numbers read in place, at every position relative to the refills, and the
// same numbers through whole tokens.
TEST(TextScanner, NumbersReadInPlaceAcrossRefills) {
  for (unsigned seed = 0; seed < 20; ++seed) {
    auto g = rng(seed);
    std::string text;
    std::vector<long long> integers;
    std::vector<double> reals;
    for (unsigned k = 0; k < 300; ++k) {
      const long long i = (long long)(g() % 2000001) - 1000000;
      const double x = double(int(g() % 20001) - 10000) / 64;
      integers.push_back(i);
      reals.push_back(x);
      char buffer[64];
      std::snprintf(buffer, sizeof buffer, "%lld%s%.17g%s", i, g() % 2 ? " " : "\n  ", x, g() % 3 ? "\t" : " # c\n");
      text += buffer;
    }
    for (const unsigned block : blocks) {
      SCOPED_TRACE(::testing::Message() << "seed " << seed << ", block " << block);
      text_stream in(text);
      text_scanner s(in.get(), block);
      ASSERT_TRUE(s.init());
      for (unsigned k = 0; k < integers.size(); ++k) {
        std::int64_t i;
        double x;
        ASSERT_TRUE(s.next_integer(-1000000, 1000000, i, true));
        ASSERT_EQ(i, integers[k]);
        ASSERT_TRUE(s.next_double(x, true));
        ASSERT_EQ(x, reals[k]);
      }
      std::int64_t i;
      EXPECT_FALSE(s.next_integer(0, 1, i, true));
    }
  }
  // Up to 18 digits (leading zeros count); a longer number is refused.
  for (const char* sign : {"", "-", "+"}) {
    text_stream in(sign + std::string(17, '0') + "7 " + sign + std::string(18, '0') + "7");
    text_scanner s(in.get());
    ASSERT_TRUE(s.init());
    std::int64_t i;
    ASSERT_TRUE(s.next_integer(-10, 10, i, false));
    EXPECT_EQ(i, *sign == '-' ? -7 : 7);
    EXPECT_FALSE(s.next_integer(-10, 10, i, false));
  }
}
