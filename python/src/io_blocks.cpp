// Block arguments of the file bindings (see io_blocks.hpp).
#include "io_blocks.hpp"

#include <algorithm>
#include <cstdint>

namespace plexa_py {

blocks_and_types blocks_with_types(py::handle connect, py::handle types) {
  blocks_and_types b;
  b.single = !is_block_sequence(connect);
  b.blocks = blocks_in(connect, "connect");
  b.types = types_in(types, b.blocks.size(), "types");
  return b;
}

namespace {

// Blocks placed side by side in one connectivity of the highest block's
// rows, unused entries NO_INDEX.
void join(const blocks_and_types& b, ranged_blocks& r) {
  unsigned rows = 0;
  std::uint64_t cols = 0;
  for (const index_matrix& c : b.blocks) {
    rows = std::max(rows, c.rows());
    cols += c.cols();
  }
  if (cols > UINT32_MAX || !r.connect.resize(rows, unsigned(cols), NO_INDEX) ||
      !r.ranges.resize(unsigned(b.blocks.size() + 1), 0u))
    throw std::bad_alloc();
  unsigned at = 0;
  for (std::size_t k = 0; k < b.blocks.size(); ++k) {
    const index_matrix& c = b.blocks[k];
    for (unsigned j = 0; j < c.cols(); ++j, ++at)
      for (unsigned i = 0; i < c.rows(); ++i) r.connect(i, at) = c(i, j);
    r.ranges[unsigned(k + 1)] = at;
  }
}

}  // namespace

ranged_blocks ranged_in(py::handle connect, py::handle types, py::handle ranges, py::handle ids, const char* ids_name,
                        unsigned first) {
  ranged_blocks r;
  if (!ranges.is_none()) {
    r.connect = matrix_in<unsigned>(connect, "connect");
    r.ranges = vector_in<unsigned>(ranges, "ranges");
    r.types = types_in(types, r.ranges.empty() ? 0 : r.ranges.size() - 1, "types");
  } else {
    const blocks_and_types b = blocks_with_types(connect, types);
    r.types = b.types;
    if (b.blocks.size() == 1) {  // one connectivity: read in place
      r.connect = b.blocks[0];
      if (!r.ranges.resize(2, 0u)) throw std::bad_alloc();
      r.ranges[1] = r.connect.cols();
    } else {
      join(b, r);
    }
  }
  if (!ids.is_none()) {
    r.ids = vector_in<unsigned>(ids, ids_name);
    return r;
  }
  // Ranges that decrease or go past the columns are the library's to refuse:
  // the default ids only cover what the ranges name.
  if (!r.ids.resize(r.connect.cols(), first)) throw std::bad_alloc();
  for (unsigned k = 0; k + 1 < r.ranges.size(); ++k)
    for (unsigned j = r.ranges[k]; j < r.ranges[k + 1] && j < r.connect.cols(); ++j) r.ids[j] = first + k;
  return r;
}

py::tuple ranged_out(const real_matrix& pos, const ranged_blocks& r) {
  return py::make_tuple(array_out(pos), array_out(r.connect), array_out(r.ranges), array_out(r.types),
                        array_out(r.ids));
}

}  // namespace plexa_py
