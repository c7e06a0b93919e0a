// Node graph, node-to-element lists and ancestors of a connectivity.
#include <zeb/plexa/topology.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "topology/incidence.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

// The connectivity is read through a copy of its view taken on entry: an
// output may be the connectivity's storage (as_vector), and emptying it must
// not take the entries away.

int get_node_graph(const dense2D<unsigned int>& connectivity_arg, dense1D<unsigned int, 8>& offsets,
                   dense1D<unsigned int, 8>& nodes, element_type type) {
  const dense2D<unsigned int> connectivity = connectivity_arg;
  detail::empty_output(offsets, connectivity, nodes);
  detail::empty_output(nodes, connectivity, offsets);
  if (&offsets == &nodes) return detail::bad_argument(3);
  if (connectivity.empty()) return 0;
  if (!detail::is_element_type(type)) return -5;
  const element_type t = detail::narrow_type(type, connectivity.rows());
  if (t != ELT_NONE && connectivity.rows() != detail::node_count(t)) return -2;
  return detail::build_node_graph(connectivity, t, offsets, nodes);
}

int get_connected_elements(const dense2D<unsigned int>& connectivity_arg, dense1D<unsigned int, 8>& offsets,
                           dense1D<unsigned int, 8>& elements) {
  const dense2D<unsigned int> connectivity = connectivity_arg;
  detail::empty_output(offsets, connectivity, elements);
  detail::empty_output(elements, connectivity, offsets);
  if (&offsets == &elements) return detail::bad_argument(3);
  if (connectivity.empty()) return 0;
  dense1D<unsigned, 8> items;
  if (detail::build_element_lists(connectivity, items) != 0) return detail::OUT_OF_MEMORY;
  return detail::transpose_lists(detail::view_of(items, connectivity.rows()), offsets, elements);
}

int get_ancestors(const dense2D<unsigned int>& connectivity_arg, dense1D<unsigned int, 8>& ancestors) {
  // ancestors is sized and written in place, over the connectivity's entries
  // when it shares their block.
  dense2D<unsigned int> connectivity;
  if (!detail::detach(connectivity_arg, ancestors, connectivity)) return detail::OUT_OF_MEMORY;
  if (ancestors.empty()) {
    unsigned size = 0;
    detail::for_each_entry(connectivity, [&size](unsigned v) {
      if (v != NO_INDEX && v >= size) size = v + 1;
    });
    if (!ancestors.resize(size, NO_INDEX))
      return detail::fail(detail::OUT_OF_MEMORY, ancestors);
  }
  unsigned* a = ancestors.data();
  const unsigned size = ancestors.size(), rows = connectivity.rows();
  detail::for_each_column(connectivity, [&](const unsigned* col, unsigned e) {
    for (unsigned i = 0; i < rows; ++i)
      if (col[i] < size) a[col[i]] = e;
  });
  return 0;
}

}  // namespace plexa
}  // namespace zeb
