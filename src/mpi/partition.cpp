// partition (METIS on the element graph that get_neighbors gives) and
// extract_part (one part as a mesh of its own, with its global node ids).
#include <metis.h>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/mpi.hpp>
#include <zeb/plexa/topology.hpp>

#include "core/aliasing.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

namespace {

constexpr unsigned NONE = 0xFFFFFFFFu;

// The element graph in METIS's compressed form: the neighbours of element
// e are adjacency[offsets[e]] up to adjacency[offsets[e + 1]] (each link
// once per side, no element linked to itself).
int element_graph(const dense2D<unsigned>& neighbors, dense1D<idx_t, 8>& offsets, dense1D<idx_t, 8>& adjacency) {
  const unsigned rows = neighbors.rows(), n = neighbors.cols();
  std::uint64_t links = 0;
  for (unsigned e = 0; e < n; ++e)
    for (unsigned j = 0; j < rows; ++j) links += neighbors(j, e) != NONE && neighbors(j, e) != e;
  if (links > 0x7FFFFFFF || !offsets.resize(n + 1) || !adjacency.resize(unsigned(links))) return detail::OUT_OF_MEMORY;
  idx_t k = 0;
  for (unsigned e = 0; e < n; ++e) {
    offsets[e] = k;
    const unsigned* col = &neighbors(0, e);
    for (unsigned j = 0; j < rows; ++j)
      if (col[j] != NONE && col[j] != e) adjacency[unsigned(k++)] = idx_t(col[j]);
  }
  offsets[n] = k;
  return detail::SUCCESS;
}

}  // namespace

int partition(const dense2D<unsigned int>& connect_arg, element_type type, unsigned int parts,
              dense1D<unsigned int, 8>& part_of) {
  const dense2D<unsigned> connect = connect_arg;
  detail::empty_output(part_of, connect);
  if (connect.empty()) return 0;
  dense2D<unsigned> neighbors;
  const int found = get_neighbors(connect, type, true, neighbors);
  if (found == -1 || found == -2) return found;
  if (found != 0) return detail::fail(detail::OUT_OF_MEMORY, part_of);
  if (parts == 0) return detail::bad_argument(3);
  const unsigned n = connect.cols();
  if (!part_of.resize(n, 0u)) return detail::fail(detail::OUT_OF_MEMORY, part_of);
  if (parts == 1) return 0;
  if (parts >= n) {
    for (unsigned e = 0; e < n; ++e) part_of[e] = e;
    return 0;
  }
  dense1D<idx_t, 8> offsets, adjacency, result;
  if (element_graph(neighbors, offsets, adjacency) != 0 || !result.resize(n))
    return detail::fail(detail::OUT_OF_MEMORY, part_of);
  neighbors.clear_hard();
  idx_t options[METIS_NOPTIONS];
  METIS_SetDefaultOptions(options);
  options[METIS_OPTION_SEED] = 1;
  options[METIS_OPTION_NUMBERING] = 0;
  idx_t vertices = idx_t(n), constraints = 1, count = idx_t(parts), cut = 0;
  const int status = METIS_PartGraphKway(&vertices, &constraints, offsets.data(), adjacency.data(), nullptr, nullptr,
                                         nullptr, &count, nullptr, nullptr, options, &cut, result.data());
  if (status == METIS_ERROR_MEMORY) return detail::fail(detail::OUT_OF_MEMORY, part_of);
  if (status != METIS_OK) return detail::fail(detail::bad_argument(3), part_of);
  for (unsigned e = 0; e < n; ++e) part_of[e] = unsigned(result[e]);
  return 0;
}

int extract_part(const dense2D<double>& pos_arg, const dense2D<unsigned int>& connect_arg,
                 const dense1D<unsigned int, 8>& part_of_arg, unsigned int part, dense2D<double>& part_pos,
                 dense2D<unsigned int>& part_connect, dense1D<unsigned int, 8>& global_ids) {
  const dense2D<double> pos = pos_arg;
  const dense2D<unsigned> connect = connect_arg;
  const dense1D<unsigned, 8> part_of = part_of_arg;
  detail::empty_output(part_pos, pos);
  detail::empty_output(part_connect, connect);
  detail::empty_output(global_ids, part_of);
  const unsigned n = pos.cols(), rows = connect.rows(), m = connect.empty() ? 0 : connect.cols();
  if (!check_IDs(connect, n)) return detail::bad_argument(2);
  if (part_of.size() != m) return detail::bad_argument(3);
  // New numbers of the part's nodes, by increasing node index.
  dense1D<unsigned, 8> renumber(n, NONE);
  if (renumber.size() != n) return detail::OUT_OF_MEMORY;
  unsigned elements = 0;
  for (unsigned e = 0; e < m; ++e) {
    if (part_of[e] != part) continue;
    ++elements;
    for (unsigned r = 0; r < rows; ++r)
      if (connect(r, e) != NONE) renumber[connect(r, e)] = 0;
  }
  if (elements == 0) return 0;
  unsigned nodes = 0;
  for (unsigned v = 0; v < n; ++v)
    if (renumber[v] != NONE) renumber[v] = nodes++;
  if (!part_pos.resize(pos.rows(), nodes) || !part_connect.resize(rows, elements) || !global_ids.resize(nodes))
    return detail::fail(detail::OUT_OF_MEMORY, part_pos, part_connect, global_ids);
  for (unsigned v = 0; v < n; ++v) {
    const unsigned k = renumber[v];
    if (k == NONE) continue;
    global_ids[k] = v;
    for (unsigned r = 0; r < pos.rows(); ++r) part_pos(r, k) = pos(r, v);
  }
  for (unsigned e = 0, c = 0; e < m; ++e) {
    if (part_of[e] != part) continue;
    for (unsigned r = 0; r < rows; ++r) part_connect(r, c) = connect(r, e) == NONE ? NONE : renumber[connect(r, e)];
    ++c;
  }
  return int(elements);
}

}  // namespace plexa
}  // namespace zeb
