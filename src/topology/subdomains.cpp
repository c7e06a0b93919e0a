// Sub-domains: components of the element adjacency, found breadth-first.
#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/topology.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "topology/column_order.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

int get_subdomains(const dense2D<unsigned int>& neighbors_arg, dense1D<unsigned int, 8>& elements,
                   dense1D<unsigned int, 8>& offsets) {
  const dense2D<unsigned int> neighbors = neighbors_arg;  // as on entry: an output may share its storage
  detail::empty_output(elements, neighbors, offsets);
  detail::empty_output(offsets, neighbors, elements);
  if (&elements == &offsets) return detail::bad_argument(3);
  const unsigned n = neighbors.cols(), rows = neighbors.rows();
  dense1D<unsigned, 8> visited;
  if (!visited.resize((n + 31) / 32, 0u) || !elements.resize(n) || !offsets.reserve(2) || !offsets.push_back(0u))
    return detail::fail(detail::OUT_OF_MEMORY, elements, offsets);
  unsigned* bits = visited.data();
  unsigned* queue = elements.data();
  const unsigned* base = neighbors.data();
  const std::size_t ld = neighbors.ld();
  // The output doubles as the queue: an element is marked when it is
  // queued, which keeps the order in which a pop-time test would place it.
  unsigned tail = 0;
  auto visit = [&](unsigned e) {
    bits[e / 32] |= 1u << (e % 32);
    queue[tail++] = e;
  };
  for (unsigned seed = 0; seed < n; ++seed) {
    if (bits[seed / 32] >> (seed % 32) & 1u) continue;
    unsigned head = tail;
    visit(seed);
    for (; head < tail; ++head) {
      const unsigned* col = base + std::size_t(queue[head]) * ld;
      for (unsigned i = 0; i < rows; ++i) {
        const unsigned f = col[i];
        if (f < n && !(bits[f / 32] >> (f % 32) & 1u)) visit(f);
      }
    }
    if (!offsets.push_back(tail))
      return detail::fail(detail::OUT_OF_MEMORY, elements, offsets);
  }
  return 0;
}

int get_subdomains(dense2D<unsigned int>& connectivity, dense2D<unsigned int>& neighbors,
                   dense1D<unsigned int, 8>& offsets) {
  detail::empty_output(offsets, connectivity, neighbors);
  // Both are reordered in place: common entries could not hold both results.
  if (detail::overlaps(connectivity, neighbors)) return detail::bad_argument(2);
  const unsigned n = neighbors.cols();
  if (connectivity.cols() != n) return -2;
  dense1D<unsigned, 8> order, new_index;
  if (const int r = get_subdomains(neighbors, order, offsets)) return r;
  for (unsigned k = 0; k < n; ++k)
    if (order[k] >= n) {
      offsets.clear();
      return -2;
    }
  detail::column_reorder reorder;
  const unsigned rows = connectivity.rows() > neighbors.rows() ? connectivity.rows() : neighbors.rows();
  if (!new_index.resize(n) || !reorder.prepare(n, rows))
    return detail::fail(detail::OUT_OF_MEMORY, offsets);
  for (unsigned k = 0; k < n; ++k) new_index[order[k]] = k;
  reorder.apply(connectivity, order.data());
  reorder.apply(neighbors, order.data());
  change_indices(neighbors, new_index);
  return 0;
}

}  // namespace plexa
}  // namespace zeb
