// copy_edges: the edge set of one or several blocks, appended to the
// caller's matrix.
#include <cstring>

#include <zeb/plexa/edges.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/column_append.hpp"
#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "topology/edge_set.hpp"

namespace zeb {
namespace plexa {

namespace {

// Builds the set of the blocks, then hands it over: an empty `edges` takes
// the new matrix, a non-empty one gets its columns appended.  The blocks are
// read completely before `edges` changes, so they may share its storage.
int append_edge_set(const detail::element_block* blocks, unsigned count, dense2D<unsigned>& edges) {
  dense2D<unsigned> set;
  if (detail::build_edge_set(blocks, count, set) != 0) return detail::OUT_OF_MEMORY;
  if (set.empty()) return 0;
  if (edges.empty()) {
    edges = set;
    return 0;
  }
  unsigned* out;
  if (!detail::append_columns(edges, 2, set.cols(), out)) return detail::OUT_OF_MEMORY;
  std::memcpy(out, set.data(), std::size_t(2) * set.cols() * sizeof(unsigned));
  return 0;
}

}  // namespace

int copy_edges(const dense2D<unsigned int>& connectivity, element_type type, dense2D<unsigned int>& edges) {
  if (connectivity.empty()) return 0;
  if (!detail::is_element_type(type)) return -2;
  const element_type t = detail::narrow_type(type, connectivity.rows());
  if (!check_IDs(connectivity, t, detail::NO_INDEX)) return -1;
  if (!edges.empty() && edges.rows() != 2) return -3;
  const detail::element_block block = detail::block_of(connectivity, t);
  return append_edge_set(&block, 1, edges);
}

int copy_edges(const dense2D<unsigned int>* first, const dense2D<unsigned int>* last, const dense1D<int, 8>& types,
               dense2D<unsigned int>& edges) {
  if (last < first) return -2;
  if (std::size_t(last - first) != types.size()) return -3;
  if (!detail::element_types(types)) return -3;
  if (!edges.empty() && edges.rows() != 2) return -4;
  if (!detail::blocks_fit(first, types, detail::NO_INDEX)) return -1;
  dense1D<detail::element_block, 8> blocks;
  if (!detail::blocks_of(first, types, blocks)) return detail::OUT_OF_MEMORY;
  return append_edge_set(blocks.data(), blocks.size(), edges);
}

}  // namespace plexa
}  // namespace zeb
