// In-place reordering of matrix columns.
#include "topology/column_order.hpp"

#include <cassert>
#include <cstring>

namespace zeb {
namespace plexa {
namespace detail {

bool column_reorder::prepare(unsigned cols, unsigned rows) noexcept {
  return done_.resize((cols + 31) / 32) && column_.resize(rows);
}

void column_reorder::apply(dense2D<unsigned>& m, const unsigned* order) noexcept {
  const unsigned n = m.cols(), rows = m.rows();
  if (n == 0 || rows == 0) return;
  assert(column_.size() >= rows && done_.size() * 32 >= n);
  done_ = 0u;
  unsigned* bits = done_.data();
  unsigned* tmp = column_.data();
  unsigned* base = m.data();
  const std::size_t ld = m.ld(), bytes = std::size_t(rows) * sizeof(unsigned);
  for (unsigned s = 0; s < n; ++s) {
    if (bits[s / 32] >> (s % 32) & 1u) continue;
    // Walk the cycle through s: position j receives the old column order[j].
    std::memcpy(tmp, base + s * ld, bytes);
    unsigned j = s;
    for (;;) {
      bits[j / 32] |= 1u << (j % 32);
      const unsigned from = order[j];
      if (from == s) {
        std::memcpy(base + j * ld, tmp, bytes);
        break;
      }
      std::memcpy(base + j * ld, base + from * ld, bytes);
      j = from;
    }
  }
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
