// Free boundaries and colour interfaces of a mesh, read from its neighbour
// matrix: one pass over the elements and their boundaries in table order,
// no hashing.
#include <cstdint>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/topology.hpp>

#include "core/aliasing.hpp"
#include "core/column_append.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "topology/boundary_match.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// Calls f(column, table, e, j, neighbour) for every boundary j of every
// element e, elements in order and boundaries in table order (only those of
// the element's own kind in a mixed column).
template <class F>
void for_each_boundary(const dense2D<unsigned>& connect, element_type narrowed, const dense2D<unsigned>& neighbors,
                       F&& f) {
  const unsigned* links = neighbors.data();
  const std::size_t ld = neighbors.ld();
  detail::for_each_column(connect, [&](const unsigned* col, unsigned e) {
    const detail::boundary_list& t = *detail::boundaries_of(detail::column_kind(narrowed, col));
    const unsigned* across = links + std::size_t(e) * ld;
    for (unsigned j = 0; j < t.count; ++j) f(col, t, e, j, across[j]);
  });
}

// Appends to `out` (empty or of the type's boundary rows) every boundary
// (e, j) with neighbour f for which keep(e, f) holds.  The inputs are read
// from copies when they share storage with the output.
template <class Keep>
int append_boundaries(const dense2D<unsigned>& connectivity, const dense2D<unsigned>& neighbors,
                      element_type narrowed, dense2D<unsigned>& out, Keep keep) {
  dense2D<unsigned> connect, links;
  if (!detail::detach(connectivity, out, connect) || !detail::detach(neighbors, out, links))
    return detail::OUT_OF_MEMORY;
  std::uint64_t count = 0;
  for_each_boundary(connect, narrowed, links, [&](const unsigned*, const detail::boundary_list&, unsigned e,
                                                  unsigned, unsigned f) { count += keep(e, f); });
  const unsigned rows = detail::boundary_rows(narrowed);
  unsigned* column;
  if (!detail::append_columns(out, rows, count, column)) return detail::OUT_OF_MEMORY;
  for_each_boundary(connect, narrowed, links,
                    [&](const unsigned* col, const detail::boundary_list& t, unsigned e, unsigned j, unsigned f) {
                      if (!keep(e, f)) return;
                      detail::boundary_column(t, col, j, rows, column);
                      column += rows;
                    });
  return 0;
}

}  // namespace

int get_mesh_boundaries(const dense2D<unsigned int>& connectivity, const dense2D<unsigned int>& neighbors,
                        element_type type, dense2D<unsigned int>& boundaries) {
  if (connectivity.empty()) return 0;
  if (!detail::is_element_type(type)) return -3;
  const element_type t = detail::narrow_type(type, connectivity.rows());
  if (!check_IDs(connectivity, t, NO_INDEX)) return -1;
  if (!detail::neighbors_fit(neighbors, detail::boundary_count(t), connectivity.cols(), true)) return -2;
  if (!boundaries.empty() && boundaries.rows() != detail::boundary_rows(t)) return -4;
  if (!detail::has_boundary_tables(t)) return -3;
  return append_boundaries(connectivity, neighbors, t, boundaries, [](unsigned, unsigned f) { return f == NO_INDEX; });
}

int get_mesh_bounding_elements(const dense2D<unsigned int>& connectivity, const dense2D<unsigned int>& neighbors,
                               element_type type, dense1D<unsigned int, 8>& keys, unsigned int& nb) {
  nb = 0;
  if (connectivity.empty()) return 0;
  if (!detail::is_element_type(type)) return -2;
  const element_type t = detail::narrow_type(type, connectivity.rows());
  if (!check_IDs(connectivity, t, NO_INDEX)) return -1;
  const unsigned stride = detail::boundary_count(t);
  if (!detail::has_boundary_tables(t) || !detail::neighbors_fit(neighbors, stride, connectivity.cols(), false))
    return -2;
  nb = stride;

  dense2D<unsigned> connect, links;
  if (!detail::detach(connectivity, keys, connect) || !detail::detach(neighbors, keys, links))
    return detail::OUT_OF_MEMORY;
  std::uint64_t count = 0;
  for_each_boundary(connect, t, links, [&](const unsigned*, const detail::boundary_list&, unsigned, unsigned,
                                           unsigned f) { count += f == NO_INDEX; });
  const unsigned old = keys.size();
  if (old + count > UINT32_MAX || !keys.resize(static_cast<unsigned>(old + count))) return detail::OUT_OF_MEMORY;
  unsigned* out = keys.data() + old;
  for_each_boundary(connect, t, links, [&](const unsigned*, const detail::boundary_list&, unsigned e, unsigned j,
                                           unsigned f) {
    if (f == NO_INDEX) *out++ = e * stride + j;
  });
  return 0;
}

int get_colors_boundaries(const dense2D<unsigned int>& connectivity, const dense2D<unsigned int>& neighbors,
                          const dense1D<unsigned int, 8>& colors, element_type type, bool both_sides,
                          dense2D<unsigned int>& boundaries) {
  if (connectivity.empty()) return 0;
  if (!detail::is_element_type(type)) return -4;
  const element_type t = detail::narrow_type(type, connectivity.rows());
  if (!check_IDs(connectivity, t, NO_INDEX)) return -1;
  const unsigned n = connectivity.cols();
  if (!detail::neighbors_fit(neighbors, detail::boundary_count(t), n, true)) return -2;
  if (colors.size() != n) return -3;
  if (!boundaries.empty() && boundaries.rows() != detail::boundary_rows(t)) return -5;
  if (!detail::has_boundary_tables(t)) return -4;
  dense1D<unsigned, 8> regions;
  if (!detail::detach(colors, boundaries, regions)) return detail::OUT_OF_MEMORY;
  const unsigned* color = regions.data();
  return append_boundaries(connectivity, neighbors, t, boundaries, [color, both_sides](unsigned e, unsigned f) {
    return (f == NO_INDEX || color[f] != color[e]) && (both_sides || f > e);
  });
}

}  // namespace plexa
}  // namespace zeb
