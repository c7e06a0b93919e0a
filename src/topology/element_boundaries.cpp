// Listing the boundaries of every element, in table order.
#include <cstdint>

#include <zeb/plexa/topology.hpp>

#include "core/aliasing.hpp"
#include "core/column_append.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "topology/boundary_match.hpp"

namespace zeb {
namespace plexa {

int get_element_boundaries(const dense2D<unsigned int>& connectivity, element_type type,
                           dense2D<unsigned int>& boundaries) {
  if (connectivity.empty()) return 0;
  element_type t;
  if (const int r = detail::check_boundary_input(connectivity, type, t)) return r;
  const unsigned rows = detail::boundary_rows(t);
  if (!boundaries.empty() && boundaries.rows() != rows) return -2;

  // boundaries grows in place, over the connectivity's entries when it
  // shares their block.
  dense2D<unsigned int> elements;
  if (!detail::detach(connectivity, boundaries, elements)) return detail::OUT_OF_MEMORY;
  std::uint64_t count = 0;
  detail::for_each_column(elements, [&](const unsigned* col, unsigned) {
    count += detail::boundaries_of(detail::column_kind(t, col))->count;
  });
  unsigned* out;
  if (!detail::append_columns(boundaries, rows, count, out)) return detail::OUT_OF_MEMORY;

  detail::for_each_column(elements, [&](const unsigned* col, unsigned) {
    const detail::boundary_list& bl = *detail::boundaries_of(detail::column_kind(t, col));
    for (unsigned j = 0; j < bl.count; ++j, out += rows) detail::boundary_column(bl, col, j, rows, out);
  });
  return 0;
}

}  // namespace plexa
}  // namespace zeb
