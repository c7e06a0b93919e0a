// The tool's mesh value.
#include "mesh.hpp"

#include <new>

#include <zeb/plexa/topology.hpp>

#include "builtin_mesh.hpp"

namespace plexa_cli {

bool mesh::add_block(const zeb::dense2D<unsigned>& connect, zeb::plexa::element_type type,
                     const zeb::dense1D<unsigned, 8>& block_ids) {
  if (!types.push_back(int(type))) return false;
  try {
    blocks.push_back(connect);
    try {
      ids.push_back(block_ids);
    } catch (const std::bad_alloc&) {
      blocks.pop_back();
      throw;
    }
  } catch (const std::bad_alloc&) {
    types.resize(types.size() - 1);
    return false;
  }
  return true;
}

bool mesh::assign(const zeb::dense2D<double>& pos, const zeb::dense2D<unsigned>& connect,
                  const zeb::dense1D<unsigned, 8>& ranges, const zeb::dense1D<int, 8>& block_types,
                  const zeb::dense1D<unsigned, 8>& element_ids) {
  *this = mesh();
  coords = pos;
  for (unsigned k = 0; k < block_types.size(); ++k) {
    const zeb::plexa::element_type type = zeb::plexa::element_type(block_types[k]);
    const unsigned first = ranges[k], count = ranges[k + 1] - first;
    const unsigned rows = type == zeb::plexa::ELT_FACE_MIX || type == zeb::plexa::ELT_SOLID_MIX
                              ? connect.rows()
                              : zeb::plexa::nbr_nodes(type);
    if (!add_block(connect.sub_matrix(0, first, rows, count), type, element_ids.sub_vector(first, count)))
      return false;
  }
  return true;
}

unsigned mesh::element_count() const {
  unsigned n = 0;
  for (const zeb::dense2D<unsigned>& b : blocks) n += b.empty() ? 0 : b.cols();
  return n;
}

bool mesh::joined(zeb::dense2D<unsigned>& connect, zeb::dense1D<unsigned, 8>& ranges) const {
  unsigned rows = 0, cols = 0;
  for (const zeb::dense2D<unsigned>& b : blocks) {
    if (b.rows() > rows) rows = b.rows();
    cols += b.cols();
  }
  if (!connect.resize(rows, cols, 4294967295u) || !ranges.resize(block_count() + 1)) return false;
  unsigned at = 0;
  ranges[0] = 0;
  for (unsigned k = 0; k < block_count(); ++k) {
    const zeb::dense2D<unsigned>& b = blocks[k];
    for (unsigned j = 0; j < b.cols(); ++j, ++at)
      for (unsigned i = 0; i < b.rows(); ++i) connect(i, at) = b(i, j);
    ranges[k + 1] = at;
  }
  return true;
}

bool mesh::joined_ids(zeb::dense1D<unsigned, 8>& element_ids, unsigned first) const {
  if (!element_ids.resize(element_count())) return false;
  unsigned at = 0;
  for (unsigned k = 0; k < block_count(); ++k)
    for (unsigned j = 0; j < blocks[k].cols(); ++j, ++at)
      element_ids[at] = ids[k].empty() ? first + k : ids[k][j];
  return true;
}

namespace {

// The element type of the columns of `nodes` nodes in a mixed block.
zeb::plexa::element_type member_type(int mixed, unsigned nodes) {
  using namespace zeb::plexa;
  if (mixed == ELT_FACE_MIX) return nodes == 3 ? ELT_TRIA3 : ELT_QUAD4;
  switch (nodes) {
    case 4: return ELT_TETRA4;
    case 5: return ELT_PYRA5;
    case 6: return ELT_WEDGE6;
    default: return ELT_HEXA8;
  }
}

}  // namespace

bool mesh::split_mixed(mesh& out) const {
  out = mesh();
  out.coords = coords;
  for (unsigned k = 0; k < block_count(); ++k) {
    if (types[k] != zeb::plexa::ELT_FACE_MIX && types[k] != zeb::plexa::ELT_SOLID_MIX) {
      if (!out.add_block(blocks[k], zeb::plexa::element_type(types[k]), ids[k])) return false;
      continue;
    }
    zeb::dense2D<unsigned> grouped;
    zeb::dense1D<unsigned, 8> node_counts, group_ends, new_index;
    if (!grouped.copy(blocks[k]) || zeb::plexa::sort_elfes(grouped, node_counts, group_ends, new_index) != 0)
      return false;
    for (unsigned g = 0, begin = 0; g < node_counts.size(); begin = group_ends[g++])
      if (!out.add_block(grouped.sub_matrix(0, begin, node_counts[g], group_ends[g] - begin),
                         member_type(types[k], node_counts[g])))
        return false;
  }
  return true;
}

bool builtin_mesh(mesh& m) {
  zeb::dense2D<unsigned> solids;
  return builtin_mesh(m.coords, solids) && m.add_block(solids, zeb::plexa::ELT_SOLID_MIX);
}

}  // namespace plexa_cli
