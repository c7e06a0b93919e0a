// The ascending table of 30 primes from which every hash table of the
// library takes its bucket count.
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

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
