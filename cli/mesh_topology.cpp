#include "mesh_topology.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <new>
#include <numeric>

#include <zeb/plexa/topology.hpp>

#include "mesh_summary.hpp"

namespace plexa_cli {

using namespace zeb::plexa;

unsigned top_dimension(const mesh& m) {
  unsigned top = 0;
  for (unsigned k = 0; k < m.block_count(); ++k)
    if (!m.blocks[k].empty() && m.blocks[k].cols() != 0)
      top = std::max(top, element_dim(element_type(m.types[k])));
  return top;
}

bool join_vertices(const mesh& m, unsigned dim, zeb::dense2D<unsigned>& cells, element_type& type) {
  const unsigned rows = dim == 3 ? 8 : dim == 2 ? 4 : 2;
  type = dim == 3 ? ELT_SOLID_MIX : dim == 2 ? ELT_FACE_MIX : ELT_EDGE2;
  unsigned count = 0;
  for (unsigned k = 0; k < m.block_count(); ++k)
    if (element_dim(element_type(m.types[k])) == dim && !m.blocks[k].empty()) count += m.blocks[k].cols();
  cells = zeb::dense2D<unsigned>();
  if (!cells.resize(rows, count, UINT_MAX)) return false;
  unsigned at = 0;
  for (unsigned k = 0; k < m.block_count(); ++k) {
    const element_type block_type = element_type(m.types[k]);
    const zeb::dense2D<unsigned>& b = m.blocks[k];
    if (element_dim(block_type) != dim || b.empty()) continue;
    for (unsigned j = 0; j < b.cols(); ++j, ++at) {
      const unsigned n = nbr_base_nodes(element_kind(b, block_type, j));
      for (unsigned i = 0; i < n && i < rows; ++i) cells(i, at) = b(i, j);
    }
  }
  return true;
}

namespace {

constexpr unsigned NONE = UINT_MAX;

// The boundaries of the element kind of column e.
unsigned own_boundaries(const zeb::dense2D<unsigned>& cells, element_type type, unsigned e) {
  return nbr_boundaries(element_kind(cells, type, e));
}

std::vector<unsigned> column(const zeb::dense2D<unsigned>& m, unsigned j) {
  std::vector<unsigned> nodes;
  for (unsigned i = 0; i < m.rows(); ++i) nodes.push_back(m(i, j));
  return nodes;
}

}  // namespace

bool count_boundaries(const zeb::dense2D<unsigned>& cells, element_type type, unsigned keep,
                      boundary_counts& counts) {
  counts = boundary_counts();
  if (cells.empty() || cells.cols() == 0) return true;
  zeb::dense2D<unsigned> linked, unlinked, boundaries;
  if (get_neighbors(cells, type, true, linked) != 0 || get_neighbors(cells, type, false, unlinked) != 0 ||
      get_mesh_boundaries(cells, unlinked, type, boundaries) != 0)
    return false;
  try {
    // The unlinked boundaries come out of get_mesh_boundaries element by
    // element and boundary by boundary: column `at` is the side (e, j).
    // Non-manifold sides are keyed by their sorted nodes (at most 4), then
    // by their column, so that each boundary counts once, first seen first.
    using side = std::pair<std::array<unsigned, 4>, unsigned>;
    std::vector<side> shared;
    unsigned at = 0;
    for (unsigned e = 0; e < cells.cols(); ++e)
      for (unsigned j = 0; j < own_boundaries(cells, type, e); ++j) {
        if (unlinked(j, e) != NONE) continue;
        const unsigned c = at++;
        if (linked(j, e) == NONE) {
          if (counts.first_free.size() < keep) counts.first_free.push_back(column(boundaries, c));
          ++counts.free;
          continue;
        }
        side s{{NONE, NONE, NONE, NONE}, c};
        for (unsigned i = 0; i < boundaries.rows() && i < 4; ++i) s.first[i] = boundaries(i, c);
        std::sort(s.first.begin(), s.first.end());
        shared.push_back(s);
      }
    std::sort(shared.begin(), shared.end());
    shared.erase(std::unique(shared.begin(), shared.end(), [](const side& a, const side& b) { return a.first == b.first; }),
                 shared.end());
    counts.non_manifold = unsigned(shared.size());
    std::sort(shared.begin(), shared.end(), [](const side& a, const side& b) { return a.second < b.second; });
    for (unsigned k = 0; k < shared.size() && k < keep; ++k)
      counts.first_non_manifold.push_back(column(boundaries, shared[k].second));
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

namespace {

unsigned root(std::vector<unsigned>& parent, unsigned v) {
  while (parent[v] != v) v = parent[v] = parent[parent[v]];
  return v;
}

}  // namespace

bool count_subdomains(const zeb::dense2D<unsigned>& cells, element_type type, unsigned& count) {
  count = 0;
  if (cells.empty() || cells.cols() == 0) return true;
  zeb::dense2D<unsigned> neighbors;
  if (get_neighbors(cells, type, true, neighbors) != 0) return false;
  // The links of a boundary of three or more elements are not symmetric
  // (the first element names only the last one): the adjacency is walked
  // both ways.
  try {
    std::vector<unsigned> parent(cells.cols());
    std::iota(parent.begin(), parent.end(), 0u);
    for (unsigned e = 0; e < cells.cols(); ++e)
      for (unsigned j = 0; j < neighbors.rows(); ++j)
        if (neighbors(j, e) < cells.cols()) parent[root(parent, neighbors(j, e))] = root(parent, e);
    for (unsigned e = 0; e < cells.cols(); ++e) count += root(parent, e) == e;
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

bool count_parts(const mesh& m, unsigned& parts) {
  parts = 0;
  try {
    std::vector<unsigned> parent(m.coords.cols());
    std::vector<char> used(m.coords.cols(), 0);
    std::iota(parent.begin(), parent.end(), 0u);
    for (const zeb::dense2D<unsigned>& b : m.blocks) {
      if (b.empty()) continue;
      for (unsigned j = 0; j < b.cols(); ++j) {
        unsigned first = NONE;
        for (unsigned i = 0; i < b.rows(); ++i) {
          const unsigned v = b(i, j);
          if (v == NONE) continue;
          used[v] = 1;
          if (first == NONE)
            first = root(parent, v);
          else
            parent[root(parent, v)] = first;
          first = root(parent, first);
        }
      }
    }
    for (unsigned v = 0; v < parent.size(); ++v)
      if (used[v] && root(parent, v) == v) ++parts;
  } catch (const std::bad_alloc&) {
    return false;
  }
  return true;
}

}  // namespace plexa_cli
