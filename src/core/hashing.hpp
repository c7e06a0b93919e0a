// The pieces every hash table of the library is built from: the ascending
// table of 30 primes that bucket counts are taken from, the modulo by a
// bucket count without a division, and the order-independent key of a list
// of node indices.
#pragma once

#include <cstdint>

namespace zeb {
namespace plexa {
namespace detail {

inline constexpr unsigned bucket_primes[30] = {
    13u,        23u,        53u,        97u,        193u,        389u,        769u,        1543u,
    3079u,      6151u,      12289u,     24593u,     49157u,     98317u,      196613u,     393241u,
    786433u,    1572869u,   3145739u,   6291469u,   12582917u,   25165843u,   50331653u,   100663319u,
    201326611u, 402653189u, 805306457u, 1610612741u, 3221225473u, 4294967291u};

// First prime of the table not below `request` (binary search); the last
// prime when the request exceeds them all.
constexpr unsigned bucket_prime(std::uint64_t request) noexcept {
  unsigned lo = 0, hi = 30;
  while (lo < hi) {
    const unsigned mid = (lo + hi) / 2;
    if (bucket_primes[mid] < request)
      lo = mid + 1;
    else
      hi = mid;
  }
  return lo < 30 ? bucket_primes[lo] : bucket_primes[29];
}

// x % d for 32-bit x and d without a division: with m = floor((2^64 - 1) / d)
// + 1, the high 64 bits of (m * x mod 2^64) * d are exactly x % d.
class fast_modulo {
 public:
  fast_modulo() noexcept = default;
  explicit fast_modulo(unsigned d) noexcept : d_(d), m_(~std::uint64_t(0) / d + 1) {}
  unsigned divisor() const noexcept { return unsigned(d_); }
  unsigned operator()(unsigned x) const noexcept {
    __extension__ typedef unsigned __int128 wide;
    return static_cast<unsigned>((static_cast<wide>(m_ * x) * d_) >> 64);
  }

 private:
  std::uint64_t d_ = 1, m_ = 0;
};

// Wrapping sum over the entries of (v XOR 2166136261) * 16777619: a key of
// the list that does not depend on the order of its entries.
inline unsigned unordered_key(const unsigned* v, unsigned n) noexcept {
  unsigned key = 0;
  for (unsigned i = 0; i < n; ++i) key += (v[i] ^ 2166136261u) * 16777619u;
  return key;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
