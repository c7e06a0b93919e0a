// Compressed lists: element lists, their transpose, the node graph of pieces.
#include "core/compressed_lists.hpp"

#include <cstdint>
#include <cstring>

#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {
namespace detail {

int build_element_lists(const dense2D<unsigned>& connect, dense1D<unsigned, 8>& items) noexcept {
  items.clear();
  const unsigned rows = connect.rows(), n = connect.cols();
  const std::uint64_t total = std::uint64_t(rows) * n;
  if (total > NO_INDEX) return fail(OUT_OF_MEMORY, items);
  if (total == 0) return 0;
  if (connect.contiguous()) {
    items = connect.as_vector();
    return 0;
  }
  if (!items.resize(static_cast<unsigned>(total))) return fail(OUT_OF_MEMORY, items);
  unsigned* out = items.data();
  for_each_column(connect, [&](const unsigned* col, unsigned e) {
    std::memcpy(out + std::size_t(e) * rows, col, rows * sizeof(unsigned));
  });
  return 0;
}

int transpose_lists(const list_view& lists, dense1D<unsigned, 8>& t_offsets, dense1D<unsigned, 8>& t_items) noexcept {
  t_offsets.clear();
  t_items.clear();
  const unsigned* it = lists.items;
  const unsigned n_items = lists.item_count;
  unsigned largest = 0, kept = 0;
  for (unsigned k = 0; k < n_items; ++k) {
    if (it[k] == NO_INDEX) continue;
    ++kept;
    if (it[k] > largest) largest = it[k];
  }
  if (kept == 0) return t_offsets.resize(1, 0u) ? 0 : fail(OUT_OF_MEMORY, t_offsets, t_items);
  // Counts of node v stand at v + 2; after the running sum the start of v is
  // at v + 1, which the placement pass moves to its end, leaving offsets.
  if (std::uint64_t(largest) + 3 > NO_INDEX || !t_offsets.resize(largest + 3, 0u) || !t_items.resize(kept))
    return fail(OUT_OF_MEMORY, t_offsets, t_items);
  unsigned* to = t_offsets.data();
  for (unsigned k = 0; k < n_items; ++k)
    if (it[k] != NO_INDEX) ++to[it[k] + 2];
  for (unsigned v = 2; v < largest + 3; ++v) to[v] += to[v - 1];
  unsigned* out = t_items.data();
  for (unsigned i = 0; i < lists.count; ++i)
    for (std::size_t k = lists.begin(i), end = lists.end(i); k < end; ++k)
      if (it[k] != NO_INDEX) out[to[it[k] + 1]++] = i;
  t_offsets.resize(largest + 2);
  return 0;
}

int node_graph_of_pieces(const list_view& pieces, const dense1D<unsigned, 8>& node_offsets,
                         const dense1D<unsigned, 8>& node_pieces, dense1D<unsigned, 8>& offsets,
                         dense1D<unsigned, 8>& nodes) noexcept {
  offsets.clear();
  nodes.clear();
  const unsigned n = node_offsets.empty() ? 0 : node_offsets.size() - 1;
  dense1D<unsigned, 8> marker;
  if (!marker.resize(n, NO_INDEX) || !offsets.resize(n + 1)) return fail(OUT_OF_MEMORY, offsets, nodes);
  const unsigned* pit = pieces.items;
  const unsigned* noff = node_offsets.data();
  const unsigned* npc = node_pieces.data();
  unsigned* mark = marker.data();
  unsigned* off = offsets.data();

  // Calls f(w) for each node w newly found around v.
  auto walk = [&](unsigned v, auto&& f) {
    mark[v] = v;  // keeps v out of its own list
    for (unsigned q = noff[v]; q < noff[v + 1]; ++q) {
      const unsigned p = npc[q];
      for (std::size_t k = pieces.begin(p), end = pieces.end(p); k < end; ++k) {
        const unsigned w = pit[k];
        if (w == NO_INDEX || mark[w] == v) continue;
        mark[w] = v;
        f(w);
      }
    }
  };
  std::uint64_t count = 0;
  off[0] = 0;
  for (unsigned v = 0; v < n; ++v) {
    walk(v, [&](unsigned) { ++count; });
    if (count >= NO_INDEX) return fail(OUT_OF_MEMORY, offsets, nodes);
    off[v + 1] = static_cast<unsigned>(count);
  }
  if (!nodes.resize(static_cast<unsigned>(count))) return fail(OUT_OF_MEMORY, offsets, nodes);
  marker = NO_INDEX;
  unsigned* out = nodes.data();
  for (unsigned v = 0; v < n; ++v) walk(v, [&](unsigned w) { *out++ = w; });
  return 0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
