// Reads a file with the library's readers and prints what it holds, for the
// interoperability tests: the files other tools write are read here and
// compared with what those tools say they wrote.
//
// Usage: plexa_io_read <file>   by extension:
//   .mesh (medit_input), .obj (WavefrontOBJ_input): "nodes <dim> <n>", one
//     line of coordinates per node ("%.17g"), then per block "block <type>
//     <count>" and one line per element: its id (reference or group) and
//     its 0-based nodes (markers left out);
//   .sol, .bb (medit_solution_input): "solution <dim> <rows> <nodes>" and
//     one line of values per node.
// Exit status 1 with the result code on standard error when reading fails.
#include <cstdio>
#include <cstring>

#include <zeb/plexa.hpp>

namespace {

using namespace zeb::plexa;

bool ends_with(const char* s, const char* end) {
  const std::size_t n = std::strlen(s), e = std::strlen(end);
  return n >= e && std::strcmp(s + n - e, end) == 0;
}

void print_columns(const zeb::dense2D<double>& m) {
  for (unsigned j = 0; j < m.cols(); ++j)
    for (unsigned i = 0; i < m.rows(); ++i) std::printf("%.17g%c", m(i, j), i + 1 == m.rows() ? '\n' : ' ');
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: plexa_io_read <file>\n", stderr);
    return 2;
  }
  const char* path = argv[1];
  if (ends_with(path, ".sol") || ends_with(path, ".bb")) {
    unsigned dim;
    zeb::dense2D<double> values;
    if (const int r = medit_solution_input(path, dim, values)) {
      std::fprintf(stderr, "plexa_io_read: %s: code %d\n", path, r);
      return 1;
    }
    std::printf("solution %u %u %u\n", dim, values.rows(), values.cols());
    print_columns(values);
    return 0;
  }
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, ids;
  zeb::dense1D<int, 8> types;
  const int r = ends_with(path, ".obj") ? WavefrontOBJ_input(path, pos, connect, ranges, types, ids)
                                        : medit_input(path, pos, connect, ranges, types, ids);
  if (r != 0) {
    std::fprintf(stderr, "plexa_io_read: %s: code %d\n", path, r);
    return 1;
  }
  std::printf("nodes %u %u\n", pos.rows(), pos.cols());
  print_columns(pos);
  for (unsigned b = 0; b < types.size(); ++b) {
    std::printf("block %d %u\n", types[b], ranges[b + 1] - ranges[b]);
    for (unsigned j = ranges[b]; j < ranges[b + 1]; ++j) {
      std::printf("%u", ids[j]);
      for (unsigned i = 0; i < connect.rows() && connect(i, j) != 4294967295u; ++i) std::printf(" %u", connect(i, j));
      std::printf("\n");
    }
  }
  return 0;
}
