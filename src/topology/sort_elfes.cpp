// Grouping the columns of a mixed connectivity by node count, more nodes
// first, in place.
#include <cstdint>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/topology.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "topology/column_order.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

int group_by_node_count(dense2D<unsigned>& connect, dense2D<unsigned>* neighbors, dense1D<unsigned, 8>& node_counts,
                        dense1D<unsigned, 8>& group_ends, dense1D<unsigned, 8>& new_index) {
  const unsigned n = connect.cols(), rows = connect.rows();

  // Sort key rows - node count (more nodes first); empty columns get no key
  // and are dropped.  The counting sort keeps equal keys in column order.
  // Every key starts as "no key": a matrix of 0 rows has columns but no
  // entries, and the walk below does not visit them.
  dense1D<unsigned, 8> keys, order, starts, full;
  if (!keys.resize(n, NO_INDEX)) return detail::OUT_OF_MEMORY;
  detail::for_each_column(connect, [&](const unsigned* col, unsigned j) {
    const unsigned k = detail::leading_nodes(col, rows);
    keys[j] = k == 0 ? NO_INDEX : rows - k;
  });
  if (get_sorted_order(keys, order, starts) != 0) return detail::OUT_OF_MEMORY;
  const unsigned kept = order.size();

  detail::column_reorder reorder;
  const unsigned nrows = neighbors ? neighbors->rows() : 0;
  if (!new_index.resize(n, NO_INDEX) || !full.resize(n) ||
      !reorder.prepare(n, rows > nrows ? rows : nrows) || !node_counts.reserve(starts.size()) ||
      !group_ends.reserve(starts.size()))
    return detail::OUT_OF_MEMORY;

  // The kept columns in sorted order, then the dropped ones, which the
  // shrink cuts off.
  unsigned* perm = full.data();
  for (unsigned p = 0; p < kept; ++p) {
    perm[p] = order[p];
    new_index[order[p]] = p;
  }
  for (unsigned j = 0, p = kept; j < n; ++j)
    if (keys[j] == NO_INDEX) perm[p++] = j;

  for (unsigned k = 0; k + 1 < starts.size(); ++k) {
    if (starts[k + 1] == starts[k]) continue;
    node_counts.push_back(rows - k);  // capacity reserved above
    group_ends.push_back(starts[k + 1]);
  }

  reorder.apply(connect, perm);
  connect = connect.sub_matrix(0, 0, rows, kept);
  if (neighbors) {
    reorder.apply(*neighbors, perm);
    *neighbors = neighbors->sub_matrix(0, 0, nrows, kept);
    change_indices(*neighbors, new_index);
  }
  return 0;
}

// `first_output` is the argument position of node_counts.
int sort_elfes_checked(dense2D<unsigned>& connect, dense2D<unsigned>* neighbors, unsigned first_output,
                       dense1D<unsigned, 8>& node_counts, dense1D<unsigned, 8>& group_ends,
                       dense1D<unsigned, 8>& new_index) {
  const dense2D<unsigned> none;
  const dense2D<unsigned>& nb = neighbors ? *neighbors : none;
  detail::empty_output(node_counts, connect, nb, group_ends, new_index);
  detail::empty_output(group_ends, connect, nb, node_counts, new_index);
  detail::empty_output(new_index, connect, nb, node_counts, group_ends);
  if (&group_ends == &node_counts) return detail::bad_argument(first_output + 1);
  if (&new_index == &node_counts || &new_index == &group_ends) return detail::bad_argument(first_output + 2);
  // Both are reordered in place: common entries could not hold both results.
  if (neighbors && detail::overlaps(connect, *neighbors)) return detail::bad_argument(2);
  if (neighbors && neighbors->empty()) neighbors = nullptr;
  if (neighbors && neighbors->cols() != connect.cols()) return -1;
  const int r = group_by_node_count(connect, neighbors, node_counts, group_ends, new_index);
  if (r != 0) {
    node_counts.clear();
    group_ends.clear();
    new_index.clear();
  }
  return r;
}

}  // namespace

int sort_elfes(dense2D<unsigned int>& connectivity, dense1D<unsigned int, 8>& node_counts,
               dense1D<unsigned int, 8>& group_ends, dense1D<unsigned int, 8>& new_index) {
  return sort_elfes_checked(connectivity, nullptr, 2, node_counts, group_ends, new_index);
}

int sort_elfes(dense2D<unsigned int>& connectivity, dense2D<unsigned int>& neighbors,
               dense1D<unsigned int, 8>& node_counts, dense1D<unsigned int, 8>& group_ends,
               dense1D<unsigned int, 8>& new_index) {
  return sort_elfes_checked(connectivity, &neighbors, 3, node_counts, group_ends, new_index);
}

}  // namespace plexa
}  // namespace zeb
