// The outputs of the mesh readers (NASTRAN, FEMAP) in one place, reading a
// text through them, and the check that a file written from blocks reads
// back as those blocks.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

#include "support/meshes.hpp"

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

// The stream form of a reader with every output.
using stream_reader = int (*)(std::FILE*, zeb::dense2D<double>&, zeb::dense2D<unsigned>&, zeb::dense1D<unsigned, 8>&,
                              zeb::dense1D<int, 8>&, zeb::dense1D<unsigned, 8>&, zeb::dense1D<unsigned, 8>&,
                              zeb::dense1D<unsigned, 8>&);

// Reads `text` through `reader` (a stream over it); the outputs are left in r.
int read_text(stream_reader reader, const std::string& text, read_mesh& r);
// The code of reading `text` through `reader`, with a failure checked to
// leave every output empty.
int code_of(stream_reader reader, const std::string& text);

// Reads the damaged copies of each text (damaged_copies of files.hpp, with
// `flips` copies of random bytes): each read gives 0 with node indices below
// the node count, or one of the file codes -2 to -5 with every output empty.
void expect_a_code_for_damaged_files(stream_reader reader, const std::vector<std::string>& texts, unsigned flips);

// Checks that r holds what a block writer wrote from d: the nodes in order
// (IDs 1, 2, ...) to `tolerance` (relative; 0: to the bit), planar ones
// with z = 0; the elements in order (IDs 1, 2, ...), mixed columns as their
// members, each as the type `held` says the file keeps it (its first rows),
// with its id; a new block only where the type changes.
void expect_read_back(const ranged_blocks& d, const read_mesh& r, zeb::plexa::element_type (*held)(zeb::plexa::element_type),
                      double tolerance);

}  // namespace plexa_test
