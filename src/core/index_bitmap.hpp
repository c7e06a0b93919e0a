// One mark per index over a range [lo, hi]: the dense counterpart of
// index_set, used when the values to collect lie close enough together that
// a bitmap is smaller than the hash set would be.
#pragma once

#include <cstddef>
#include <cstdint>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// True when a bitmap over a range of span + 1 values takes no more memory
// than a hash set presized for `total` values (at least 4 bytes of buckets
// per value).
constexpr bool bitmap_pays_off(unsigned span, std::uint64_t total) noexcept {
  return std::uint64_t(span) < 32 * total + 4096;
}

// Largest entry other than the marker in a run, folded into `m`.
inline unsigned fold_max(const unsigned* p, std::size_t n, unsigned m) noexcept {
  for (std::size_t k = 0; k < n; ++k) {
    const unsigned v = p[k] == NO_INDEX ? 0u : p[k];
    m = v > m ? v : m;
  }
  return m;
}

// Smallest and largest entries other than the marker in a run, folded into
// lo and hi (start from lo = UINT_MAX, hi = 0; lo stays UINT_MAX when the
// runs hold markers only).  The marker is the largest value, so the minimum
// needs no test.
inline void fold_range(const unsigned* p, std::size_t n, unsigned& lo, unsigned& hi) noexcept {
  unsigned l = lo, h = hi;
  for (std::size_t k = 0; k < n; ++k) {
    const unsigned v = p[k];
    l = v < l ? v : l;
    const unsigned w = v == NO_INDEX ? 0u : v;
    h = w > h ? w : h;
  }
  lo = l;
  hi = h;
}

class index_bitmap {
 public:
  // Room for the indices lo ... hi (lo <= hi), all unmarked; false when
  // memory cannot be had.
  bool init(unsigned lo, unsigned hi) noexcept {
    const unsigned words = unsigned((hi - lo) / 64) + 1;
    if (!words_.resize(words, std::uint64_t(0))) return false;
    bits_ = words_.data();
    lo_ = lo;
    span_ = hi - lo;
    return true;
  }

  // Marks v (lo <= v <= hi); true when it was not marked before.
  bool mark(unsigned v) noexcept {
    const unsigned d = v - lo_;
    std::uint64_t& w = bits_[d >> 6];
    const std::uint64_t b = std::uint64_t(1) << (d & 63);
    const bool fresh = (w & b) == 0;
    w |= b;
    return fresh;
  }

  // Clears the mark of v (lo <= v <= hi).
  void unmark(unsigned v) noexcept {
    const unsigned d = v - lo_;
    bits_[d >> 6] &= ~(std::uint64_t(1) << (d & 63));
  }

  // Marks v when it lies in the range (other values are ignored).
  void mark_if_in_range(unsigned v) noexcept {
    if (v - lo_ <= span_) mark(v);
  }

  // Marks every entry of a run other than the marker (all in the range) and
  // returns how many were not marked before.
  std::size_t mark_run(const unsigned* p, std::size_t n) noexcept {
    std::size_t fresh = 0;
    for (std::size_t k = 0; k < n; ++k) {
      if (p[k] == NO_INDEX) continue;
      const unsigned d = p[k] - lo_;
      std::uint64_t& w = bits_[d >> 6];
      const std::uint64_t b = std::uint64_t(1) << (d & 63);
      fresh += (w & b) == 0;
      w |= b;
    }
    return fresh;
  }

 private:
  dense1D<std::uint64_t, 8> words_;
  std::uint64_t* bits_ = nullptr;
  unsigned lo_ = 0;
  unsigned span_ = 0;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
