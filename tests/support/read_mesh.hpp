// The outputs of the mesh readers (NASTRAN, FEMAP) in one place, and what
// their tests look at: the element type and the used rows of a column.
#pragma once

#include <vector>

#include <zeb/dense.hpp>

namespace plexa_test {

struct read_mesh {
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, ids, node_ids, element_ids;
  zeb::dense1D<int, 8> types;

  bool empty() const {
    return pos.empty() && connect.empty() && ranges.empty() && types.empty() && ids.empty() && node_ids.empty() &&
           element_ids.empty();
  }
  // The element type of column j, from the blocks.
  int type_of(unsigned j) const {
    for (unsigned b = 0; b + 1 < ranges.size(); ++b)
      if (j >= ranges[b] && j < ranges[b + 1]) return types[b];
    return -1;
  }
  // The entries of column j up to its first unused row.
  std::vector<unsigned> column(unsigned j) const {
    std::vector<unsigned> c;
    for (unsigned i = 0; i < connect.rows() && connect(i, j) != 4294967295u; ++i) c.push_back(connect(i, j));
    return c;
  }
};

}  // namespace plexa_test
