#include "io/common/block_expansion.hpp"

#include <climits>
#include <cstdint>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/topology.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

bool is_mixed(int type) noexcept { return type == ELT_FACE_MIX || type == ELT_SOLID_MIX; }

}  // namespace

void block_expansion::clear() noexcept {
  for (vector_num<unsigned, 8>* s : held_) s->release();
  held_.clear_hard();
  blocks_.clear_hard();
}

int block_expansion::expand(const dense2D<unsigned>* first, const dense2D<unsigned>* last,
                            const int* types) noexcept {
  clear();
  const unsigned count = unsigned(last - first);

  // Room for every simple block up front: a mixed block gives at most one
  // group per node count (eight).  Nothing is appended beyond it, so no
  // append can fail.
  std::uint64_t mixed = 0, simple = 0;
  for (unsigned i = 0; i < count; ++i) {
    if (first[i].empty()) continue;
    if (is_mixed(types[i])) ++mixed;
    else ++simple;
  }
  if (simple + 8 * mixed > UINT32_MAX || !held_.reserve(unsigned(mixed)) ||
      !blocks_.reserve(unsigned(simple + 8 * mixed))) {
    clear();
    return OUT_OF_MEMORY;
  }

  dense1D<unsigned, 8> node_counts, group_ends, new_index;
  for (unsigned i = 0; i < count; ++i) {
    const dense2D<unsigned>& block = first[i];
    if (block.empty()) continue;
    const element_type type = element_type(types[i]);
    if (!is_mixed(type)) {
      blocks_.push_back({block.storage(), block.start(), block.rows(), block.cols(), block.ld(), type, i});
      continue;
    }
    dense2D<unsigned> grouped;
    if (!grouped.copy(block) || sort_elfes(grouped, node_counts, group_ends, new_index) != 0) {
      clear();
      return OUT_OF_MEMORY;
    }
    if (grouped.empty()) continue;
    vector_num<unsigned, 8>* storage = grouped.storage();
    storage->add_ref();
    held_.push_back(storage);
    unsigned begin = 0;
    for (unsigned g = 0; g < node_counts.size(); ++g) {
      const unsigned end = group_ends[g];
      const element_type member = mixed_member(type, node_counts[g]);
      if (member != ELT_NONE)
        blocks_.push_back(
            {storage, grouped.start() + begin * grouped.ld(), node_counts[g], end - begin, grouped.ld(), member, i});
      begin = end;
    }
  }
  return 0;
}

int check_blocks(const dense2D<unsigned>* first, const dense2D<unsigned>* last, const int* types,
                 unsigned type_count, unsigned nodes) noexcept {
  if (last < first) return -4;
  if (std::size_t(last - first) != type_count) return -5;
  for (unsigned i = 0; i < type_count; ++i) {
    if (first[i].empty()) continue;
    if (!is_element_type(types[i]) || !check_IDs(first[i], element_type(types[i]), nodes)) return -3;
  }
  return 0;
}

unsigned ranged_block_rows(element_type type, unsigned rows, bool& fits) noexcept {
  fits = true;
  if (type == ELT_FACE_MIX) return rows < 4 ? rows : 4;
  if (type == ELT_SOLID_MIX) return rows < 20 ? rows : 20;
  const unsigned needed = node_count(type);
  fits = needed <= rows;
  return fits ? needed : 0;
}

element_type ranged_column_type(element_type mixed, const unsigned* col, unsigned rows) noexcept {
  auto used = [&](unsigned i) { return i < rows && col[i] != NO_INDEX; };
  if (mixed == ELT_FACE_MIX) return used(3) ? ELT_QUAD4 : ELT_TRIA3;
  if (used(4) && used(5) && used(6)) return ELT_HEXA8;
  if (used(4)) return used(5) ? ELT_WEDGE6 : ELT_PYRA5;
  return ELT_TETRA4;
}

int check_ranged_blocks(const dense2D<unsigned>& connect, const dense1D<unsigned, 8>& ranges,
                        const dense1D<int, 8>& types, const dense1D<unsigned, 8>& ids, unsigned nodes) noexcept {
  const unsigned blocks = types.size(), rows = connect.rows(), cols = connect.cols();
  if (ranges.size() != blocks + 1) return -5;
  if (ids.size() != cols) return -6;
  for (unsigned i = 0; i < blocks; ++i)
    if (ranges[i] > ranges[i + 1] || ranges[i + 1] > cols) return -4;
  for (unsigned i = 0; i < blocks; ++i) {
    if (ranges[i] == ranges[i + 1]) continue;
    if (!is_element_type(types[i])) return -3;
    bool fits;
    const unsigned used = ranged_block_rows(element_type(types[i]), rows, fits);
    if (!fits ||
        !check_IDs(connect.sub_matrix(0, ranges[i], used, ranges[i + 1] - ranges[i]), element_type(types[i]), nodes))
      return -3;
  }
  return 0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
