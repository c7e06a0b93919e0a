// The 32-bit Mersenne Twister (MT19937): 624 state words, initialisation
// multiplier 1812433253, standard tempering.  Its output sequence is fixed
// for a seed, which makes the shuffled insertion of node_detector
// reproducible everywhere.
#pragma once

#include <cstdint>

namespace zeb {
namespace plexa {
namespace detail {

class mt19937 {
 public:
  explicit mt19937(std::uint32_t seed) noexcept {
    state_[0] = seed;
    for (unsigned i = 1; i < N; ++i) state_[i] = 1812433253u * (state_[i - 1] ^ (state_[i - 1] >> 30)) + i;
    index_ = N;
  }

  std::uint32_t operator()() noexcept {
    if (index_ == N) twist();
    std::uint32_t y = state_[index_++];
    y ^= y >> 11;
    y ^= (y << 7) & 0x9d2c5680u;
    y ^= (y << 15) & 0xefc60000u;
    return y ^ (y >> 18);
  }

 private:
  static constexpr unsigned N = 624, M = 397;

  void twist() noexcept {
    for (unsigned i = 0; i < N; ++i) {
      const std::uint32_t y = (state_[i] & 0x80000000u) | (state_[(i + 1) % N] & 0x7fffffffu);
      state_[i] = state_[(i + M) % N] ^ (y >> 1) ^ ((y & 1u) ? 0x9908b0dfu : 0u);
    }
    index_ = 0;
  }

  std::uint32_t state_[N];
  unsigned index_;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
