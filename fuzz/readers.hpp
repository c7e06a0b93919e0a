// The file readers as the fuzz targets and the regression test call them:
// one entry per reader, reading a byte string through the stream form (a
// memory stream over the bytes), and the promises a result must keep.
//
// Used by fuzz/reader_fuzz.cpp (one libFuzzer target per entry), by the
// seed generator and by tests/io/fuzz_regressions_test.cpp, which replays
// the files of tests/data/fuzz/<entry name>/.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <zeb/dense.hpp>

namespace plexa_fuzz {

// Everything a reader gives back.  Mesh readers fill pos, connect, ranges
// and types (a reader of one element type as one block); per-node and
// per-element lists (ids, references, groups) go to node_lists and
// element_lists, other matrices (the values of a solution) to `field`,
// names (of groups) to `names`, numbers of their own (a report, a
// dimension) to `values`.
struct read_outcome {
  int code = 0;
  zeb::dense2D<double> pos, field;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges;
  zeb::dense1D<int, 8> types;
  std::vector<zeb::dense1D<unsigned, 8>> node_lists, element_lists;
  std::vector<std::string> names;
  std::vector<double> values;
};

struct reader_entry {
  const char* name;       // fuzz_<name> is its target, tests/data/fuzz/<name>/ its regression files
  const char* extension;  // of the files that seed it (".stl")
  read_outcome (*read)(const unsigned char* data, std::size_t size);
  // The first promise that `o` breaks on success ("" when none): what the
  // reader documents about its outputs beyond the checks every mesh gets.
  std::string (*check)(const read_outcome& o);
  std::vector<int> codes;  // what it may return on arbitrary bytes, success excluded
  bool mesh = true;        // whether the outcome is a mesh (blocks checked)
};

const std::vector<reader_entry>& readers();
// The entry of that name, or nullptr.
const reader_entry* find_reader(const std::string& name);

// Reads the bytes with `r` and returns the first promise broken ("" when
// every one is kept):
//   a code that `r` does not document for arbitrary bytes;
//   on failure, an output that is not empty (or a value not 0);
//   on success, for a mesh: a node index that is not one (check_IDs of
//   every block), blocks whose ranges and types disagree (ranges 0 to the
//   column count, ascending, one more than types), a list of a size other
//   than the node or element count; and the entry's own check.
std::string broken_promise(const reader_entry& r, const unsigned char* data, std::size_t size);
// The same on what `r` gave back.
std::string broken_promise(const reader_entry& r, const read_outcome& o);

}  // namespace plexa_fuzz
