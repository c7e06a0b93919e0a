// One mark per index over [0, n): the dense counterpart of index_set, used
// when the values to collect lie close enough together that a bitmap is
// smaller than the hash set would be.
#pragma once

#include <cstddef>
#include <cstdint>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// True when a bitmap over [0, max_value] takes no more memory than a hash set
// presized for `total` values (at least 4 bytes of buckets per value).
constexpr bool bitmap_pays_off(unsigned max_value, std::uint64_t total) noexcept {
  return std::uint64_t(max_value) < 32 * total + 4096;
}

// Largest entry other than the marker in a run, folded into `m`.
inline unsigned fold_max(const unsigned* p, std::size_t n, unsigned m) noexcept {
  for (std::size_t k = 0; k < n; ++k) {
    const unsigned v = p[k] == NO_INDEX ? 0u : p[k];
    m = v > m ? v : m;
  }
  return m;
}

class index_bitmap {
 public:
  // Room for the indices 0 ... max_value, all unmarked; false when memory
  // cannot be had.
  bool init(unsigned max_value) noexcept {
    const unsigned words = unsigned(max_value / 64) + 1;
    if (!words_.resize(words, std::uint64_t(0))) return false;
    bits_ = words_.data();
    limit_ = max_value;
    return true;
  }

  // Marks v (v <= max_value); true when it was not marked before.
  bool mark(unsigned v) noexcept {
    std::uint64_t& w = bits_[v >> 6];
    const std::uint64_t b = std::uint64_t(1) << (v & 63);
    const bool fresh = (w & b) == 0;
    w |= b;
    return fresh;
  }

  // Marks v when it lies in range (values beyond max_value are ignored).
  void mark_if_in_range(unsigned v) noexcept {
    if (v <= limit_) mark(v);
  }

  // Marks every entry of a run other than the marker (all <= max_value) and
  // returns how many were not marked before.
  std::size_t mark_run(const unsigned* p, std::size_t n) noexcept {
    std::size_t fresh = 0;
    for (std::size_t k = 0; k < n; ++k) {
      const unsigned v = p[k];
      if (v == NO_INDEX) continue;
      std::uint64_t& w = bits_[v >> 6];
      const std::uint64_t b = std::uint64_t(1) << (v & 63);
      fresh += (w & b) == 0;
      w |= b;
    }
    return fresh;
  }

 private:
  dense1D<std::uint64_t, 8> words_;
  std::uint64_t* bits_ = nullptr;
  unsigned limit_ = 0;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
