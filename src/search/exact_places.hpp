// Places: nodes with exactly equal coordinates, compared as values (-0 and
// +0 are one place; a NaN coordinate is at no place).  The hash of a place
// and the table that finds, for a stream of nodes, the first one at each
// place: what merging with tolerance 0 makes of nodes ranked in the order
// they come (each merged onto the first node at its place, the chains
// being flattened).
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// Whether a and b are one place.
template <unsigned D>
inline bool same_place(const double* a, const double* b) noexcept {
  for (unsigned k = 0; k < D; ++k)
    if (!(a[k] == b[k])) return false;
  return true;
}

// A hash of the place of p (-0 and +0 alike).
template <unsigned D>
inline unsigned place_hash(const double* p) noexcept {
  std::uint64_t h = 0;
  for (unsigned k = 0; k < D; ++k) {
    const double v = p[k] + 0.0;  // -0 becomes +0
    std::uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    h = (h ^ bits) * 0x9E3779B97F4A7C15ull;
  }
  return unsigned(h >> 32);
}

// The first node seen at each place, over the nodes of a coordinate matrix.
// Open addressing on node indices, at most half full.
template <unsigned D>
class first_at_place {
 public:
  // An empty table with room for `places` places, over the columns of pos;
  // false when memory cannot be had.
  bool reset(const dense2D<double>& pos, unsigned places) noexcept {
    x_ = pos.data();
    ld_ = pos.ld();
    std::uint64_t size = 16;
    while (size < 2 * std::uint64_t(places)) size *= 2;
    if (size > (std::uint64_t(1) << 31)) return false;
    if (buckets_.size() != size && !buckets_.resize(unsigned(size))) return false;
    unsigned* b = buckets_.data();
    for (std::uint64_t i = 0; i < size; ++i) b[i] = NO_INDEX;
    return true;
  }

  // The first node seen at the place of `node`, whose coordinates p are all
  // finite: `node` itself when its place is new (it is then recorded).  At
  // most the `places` of reset() may be recorded.
  unsigned first(unsigned node, const double* p) noexcept {
    unsigned* b = buckets_.data();
    const unsigned mask = buckets_.size() - 1;
    for (unsigned h = place_hash<D>(p) & mask;; h = (h + 1) & mask) {
      if (b[h] == NO_INDEX) {
        b[h] = node;
        return node;
      }
      if (same_place<D>(x_ + b[h] * ld_, p)) return b[h];
    }
  }

 private:
  const double* x_ = nullptr;
  std::size_t ld_ = 0;
  dense1D<unsigned, 8> buckets_;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
