// Map from an index (never the marker) to an unsigned value, for a number of
// keys known in advance: open addressing with linear probing over a
// power-of-two table kept at most half full.
#pragma once

#include <cstdint>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

class index_map {
 public:
  // Room for up to `keys` distinct keys; false when memory cannot be had.
  bool init(std::uint64_t keys) noexcept {
    unsigned bits = 4;
    while (bits < 31 && (std::uint64_t(1) << bits) < 2 * keys) ++bits;
    if ((std::uint64_t(1) << bits) < 2 * keys) return false;
    if (!slots_.resize(1u << bits, slot{NO_INDEX, 0})) return false;
    shift_ = 32 - bits;
    mask_ = (1u << bits) - 1;
    return true;
  }

  // Sets the value of key k (inserting it when missing).
  void assign(unsigned k, unsigned value) noexcept {
    slot* s = slots_.data();
    unsigned h = hash(k);
    while (s[h].key != NO_INDEX && s[h].key != k) h = (h + 1) & mask_;
    s[h] = slot{k, value};
  }

  // Value of key k, UINT_MAX when k was never assigned.
  unsigned find(unsigned k) const noexcept {
    const slot* s = slots_.data();
    for (unsigned h = hash(k);; h = (h + 1) & mask_) {
      if (s[h].key == k) return s[h].value;
      if (s[h].key == NO_INDEX) return NO_INDEX;
    }
  }

 private:
  struct slot {
    unsigned key;
    unsigned value;
  };
  unsigned hash(unsigned k) const noexcept { return unsigned((k * 0x9E3779B1u) >> shift_); }

  dense1D<slot, 8> slots_;
  unsigned shift_ = 28;
  unsigned mask_ = 15;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
