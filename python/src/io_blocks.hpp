// The block arguments of the file bindings: one connectivity or a list of
// them with their types, and the layout of the writers that take column
// ranges of one connectivity with an id per element (MEDIT references,
// NASTRAN property numbers, OBJ groups).
#pragma once

#include <vector>

#include "convert.hpp"

namespace plexa_py {

// Blocks and one type per block; `single` when one connectivity was given.
struct blocks_and_types {
  std::vector<index_matrix> blocks;
  int_vector types;
  bool single = false;
  const index_matrix* first() const { return blocks.data(); }
  const index_matrix* last() const { return blocks.data() + blocks.size(); }
};
blocks_and_types blocks_with_types(py::handle connect, py::handle types);

// The column-range layout: connect (rows x m) whose block k is the columns
// ranges[k] to ranges[k+1] - 1, of type types[k], and ids (m).
struct ranged_blocks {
  index_matrix connect;
  index_vector ranges;
  int_vector types;
  index_vector ids;
};

// From `ranges` given (connect is then one connectivity) or from blocks
// placed side by side in one connectivity of the highest block's rows
// (unused entries NO_INDEX).  The ids: `ids` given (one per element), or
// first + the position of the element's block.
ranged_blocks ranged_in(py::handle connect, py::handle types, py::handle ranges, py::handle ids, const char* ids_name,
                        unsigned first);

// What a reader returned as a tuple of arrays.
py::tuple ranged_out(const real_matrix& pos, const ranged_blocks& r);

}  // namespace plexa_py
