// Listing the boundaries of every element, in table order.
#include <cstdint>

#include <zeb/plexa/topology.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "topology/boundary_match.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

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
  const unsigned old = boundaries.empty() ? 0 : boundaries.cols();
  if (old + count > NO_INDEX) return detail::OUT_OF_MEMORY;
  const unsigned total = static_cast<unsigned>(old + count);
  // Room for the new columns first, by doubling the column capacity (at
  // least 4 columns), so that repeated appends stay linear.
  std::uint64_t room = boundaries.empty() ? 0 : std::uint64_t(boundaries.ld()) * boundaries.cols();
  if (room < 4ull * rows) room = 4ull * rows;
  while (room < std::uint64_t(total) * rows) room *= 2;
  if (room > NO_INDEX) room = std::uint64_t(total) * rows;
  // Both keep the existing columns when they fail.
  if (!boundaries.reserve(rows, static_cast<unsigned>(room / rows)) || !boundaries.resize(rows, total)) return detail::OUT_OF_MEMORY;

  unsigned* out = boundaries.data() + std::size_t(old) * boundaries.ld();
  const std::size_t ld = boundaries.ld();
  detail::for_each_column(elements, [&](const unsigned* col, unsigned) {
    const detail::boundary_list& bl = *detail::boundaries_of(detail::column_kind(t, col));
    for (unsigned j = 0; j < bl.count; ++j, out += ld) {
      const unsigned k = detail::boundary_nodes(bl, col, j, out);
      for (unsigned i = k; i < rows; ++i) out[i] = NO_INDEX;
    }
  });
  return 0;
}

}  // namespace plexa
}  // namespace zeb
