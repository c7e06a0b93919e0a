// Grouping of positions by key: a stable counting sort.
#include <zeb/plexa/indices.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

int get_sorted_order(const dense1D<unsigned int, 8>& keys_arg, dense1D<unsigned int, 8>& order,
                     dense1D<unsigned int, 8>& offsets) {
  const dense1D<unsigned int, 8> keys = keys_arg;  // kept as on entry: an output may be keys_arg
  detail::empty_output(order, keys, offsets);
  detail::empty_output(offsets, keys, order);
  if (&order == &offsets) return detail::bad_argument(3);
  if (keys.empty()) {
    if (!offsets.resize(1, 0u)) return detail::OUT_OF_MEMORY;
    return 0;
  }
  const unsigned* k = keys.data();
  const unsigned n = keys.size();
  unsigned max_key = 0, kept = 0;
  for (unsigned i = 0; i < n; ++i) {
    if (k[i] == NO_INDEX) continue;
    ++kept;
    max_key = k[i] > max_key ? k[i] : max_key;
  }
  // Counts stand two places above their key; the prefix sum then leaves the
  // start of key k at k + 1, which the scatter advances to its end.
  if (std::uint64_t(max_key) + 3 > UINT32_MAX || !offsets.resize(max_key + 3, 0u) || !order.resize(kept))
    return detail::fail(detail::OUT_OF_MEMORY, order, offsets);
  unsigned* off = offsets.data();
  for (unsigned i = 0; i < n; ++i)
    if (k[i] != NO_INDEX) ++off[k[i] + 2];
  for (unsigned m = 2; m < max_key + 3; ++m) off[m] += off[m - 1];
  unsigned* out = order.data();
  for (unsigned i = 0; i < n; ++i)
    if (k[i] != NO_INDEX) out[off[k[i] + 1]++] = i;
  offsets.resize(max_key + 2);
  return 0;
}

}  // namespace plexa
}  // namespace zeb
