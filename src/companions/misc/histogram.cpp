// zeb::misc::histogram: binning, summary values and a locale-independent
// text rendering.
#include <zeb/misc/histogram.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace zeb {
namespace misc {

namespace {

constexpr double default_edges[] = {0.0, 0.3, 0.6, 0.71, 0.9, 1.3, 1.41, 2.0, 5.0};

// Appends to a caller buffer, counting what does not fit.
class text_sink {
 public:
  text_sink(char* buffer, std::size_t size) noexcept : buffer_(buffer), size_(size) {}

  void put(const char* s, std::size_t n) noexcept {
    for (std::size_t k = 0; k < n; ++k, ++length_)
      if (length_ + 1 < size_) buffer_[length_] = s[k];
  }
  void put(const char* s) noexcept { put(s, std::strlen(s)); }
  void spaces(std::size_t n) noexcept {
    while (n-- > 0) put(" ", 1);
  }
  std::size_t finish() noexcept {
    if (size_ > 0) buffer_[length_ < size_ ? length_ : size_ - 1] = '\0';
    return length_;
  }

 private:
  char* buffer_;
  std::size_t size_;
  std::size_t length_ = 0;
};

// Short decimal forms, independent of the locale.
struct number {
  char text[48];
  std::size_t length;
};

// Shortest text that reads back as the same double (edges: "0.71", "5").
number shortest(double v) noexcept {
  number n;
  n.length = std::size_t(std::to_chars(n.text, n.text + sizeof n.text, v).ptr - n.text);
  return n;
}
// Six significant digits, trailing zeros dropped ("1.23457", "7", "1e-07").
number general6(double v) noexcept {
  number n;
  n.length = std::size_t(std::to_chars(n.text, n.text + sizeof n.text, v, std::chars_format::general, 6).ptr - n.text);
  return n;
}
number fixed1(double v) noexcept {
  number n;
  n.length = std::size_t(std::to_chars(n.text, n.text + sizeof n.text, v, std::chars_format::fixed, 1).ptr - n.text);
  return n;
}
number integer(std::size_t v) noexcept {
  number n;
  n.length = std::size_t(std::to_chars(n.text, n.text + sizeof n.text, v).ptr - n.text);
  return n;
}

// Range label of bin k: "< e0", "a - b" or ">= e(n-1)".
struct label {
  char text[2 * 48 + 4];
  std::size_t length = 0;

  void add(const char* s, std::size_t n) noexcept {
    std::memcpy(text + length, s, n);
    length += n;
  }
};

label bin_label(const double* edges, std::size_t n, std::size_t k) noexcept {
  label l;
  if (k == 0) {
    const number e = shortest(edges[0]);
    l.add("< ", 2);
    l.add(e.text, e.length);
  } else if (k == n) {
    const number e = shortest(edges[n - 1]);
    l.add(">= ", 3);
    l.add(e.text, e.length);
  } else {
    const number a = shortest(edges[k - 1]), b = shortest(edges[k]);
    l.add(a.text, a.length);
    l.add(" - ", 3);
    l.add(b.text, b.length);
  }
  return l;
}

}  // namespace

histogram::histogram() noexcept {
  set_edges(default_edges, sizeof default_edges / sizeof default_edges[0]);
}

histogram::~histogram() = default;

void histogram::process(double value) {
  if (std::isnan(value)) {
    ++nan_count_;
    return;
  }
  if (count_ == 0 || value < min_) min_ = value;
  if (count_ == 0 || value > max_) max_ = value;
  sum_ += value;
  ++count_;
  // Bin index = number of edges not above the value.
  ++bins_[std::upper_bound(edges_, edges_ + edge_count_, value) - edges_];
}

void histogram::reset() noexcept {
  std::fill(bins_, bins_ + max_edges + 1, std::size_t(0));
  count_ = nan_count_ = 0;
  min_ = max_ = sum_ = 0.0;
}

bool histogram::set_edges(const double* edges, std::size_t n) noexcept {
  if (!edges || n == 0 || n > max_edges) return false;
  for (std::size_t k = 0; k < n; ++k) {
    if (!std::isfinite(edges[k])) return false;
    if (k > 0 && !(edges[k - 1] < edges[k])) return false;
  }
  std::copy(edges, edges + n, edges_);
  edge_count_ = n;
  reset();
  return true;
}

std::size_t histogram::count() const noexcept { return count_; }
std::size_t histogram::nan_count() const noexcept { return nan_count_; }

double histogram::min() const noexcept { return count_ ? min_ : std::numeric_limits<double>::quiet_NaN(); }
double histogram::max() const noexcept { return count_ ? max_ : std::numeric_limits<double>::quiet_NaN(); }
double histogram::mean() const noexcept {
  return count_ ? sum_ / double(count_) : std::numeric_limits<double>::quiet_NaN();
}

std::size_t histogram::edge_count() const noexcept { return edge_count_; }
double histogram::edge(std::size_t k) const noexcept { return k < edge_count_ ? edges_[k] : 0.0; }
std::size_t histogram::bin_count() const noexcept { return edge_count_ + 1; }
std::size_t histogram::bin(std::size_t k) const noexcept { return k <= edge_count_ ? bins_[k] : 0; }

std::size_t histogram::render(char* buffer, std::size_t size) const noexcept {
  text_sink out(buffer, size);
  const number total = integer(count_);
  out.put("count ");
  out.put(total.text, total.length);
  if (count_ > 0) {
    const number lo = general6(min_), hi = general6(max_), avg = general6(mean());
    out.put("  min ");
    out.put(lo.text, lo.length);
    out.put("  max ");
    out.put(hi.text, hi.length);
    out.put("  mean ");
    out.put(avg.text, avg.length);
  }
  if (nan_count_ > 0) {
    const number nans = integer(nan_count_);
    out.put("  nan ");
    out.put(nans.text, nans.length);
  }
  out.put("\n");
  if (count_ == 0) return out.finish();

  // Column widths over the rows shown.
  const std::size_t first = bins_[0] > 0 ? 0 : 1;
  std::size_t label_width = 0, count_width = 0;
  for (std::size_t k = first; k <= edge_count_; ++k) {
    label_width = std::max(label_width, bin_label(edges_, edge_count_, k).length);
    count_width = std::max(count_width, integer(bins_[k]).length);
  }
  for (std::size_t k = first; k <= edge_count_; ++k) {
    const label l = bin_label(edges_, edge_count_, k);
    const number c = integer(bins_[k]);
    const number share = fixed1(100.0 * double(bins_[k]) / double(count_));
    out.put("  ");
    out.put(l.text, l.length);
    out.spaces(label_width - l.length + 2 + count_width - c.length);
    out.put(c.text, c.length);
    out.spaces(2 + (share.length < 5 ? 5 - share.length : 0));
    out.put(share.text, share.length);
    out.put("%\n");
  }
  return out.finish();
}

bool histogram::print(std::FILE* out) const noexcept {
  if (!out) return false;
  // At most max_edges + 2 lines of bounded width.
  char text[8192];
  const std::size_t n = render(text, sizeof text);
  const std::size_t shown = n < sizeof text ? n : sizeof text - 1;
  return std::fwrite(text, 1, shown, out) == shown && n < sizeof text;
}

}  // namespace misc
}  // namespace zeb
