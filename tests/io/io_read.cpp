// Reads a mesh file with the library's readers and prints what they
// returned, for the interoperability tests that compare it with what other
// tools wrote:
//   nodes <n>                 then per node: its ID and x y z ("%.17g")
//   elements <m>              then per element: its ID, its element_type,
//                             its property and its nodes (node IDs)
// Usage: plexa_io_read nastran|femap <file>
// Exit status: 0 when read, 1 with the result code on standard error.
#include <cstdio>
#include <cstring>

#include <zeb/plexa.hpp>

int main(int argc, char** argv) {
  using namespace zeb::plexa;
  if (argc != 3) {
    std::fprintf(stderr, "usage: plexa_io_read nastran|femap <file>\n");
    return 2;
  }
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, ids, node_ids, element_ids;
  zeb::dense1D<int, 8> types;
  const bool nastran = std::strcmp(argv[1], "nastran") == 0;
  const int code = nastran ? NASTRAN_input(argv[2], pos, connect, ranges, types, ids, node_ids, element_ids)
                           : FEMAP_input(argv[2], pos, connect, ranges, types, ids, node_ids, element_ids);
  if (code != 0) {
    std::fprintf(stderr, "%s: result %d\n", argv[2], code);
    return 1;
  }
  std::printf("nodes %u\n", pos.cols());
  for (unsigned j = 0; j < pos.cols(); ++j)
    std::printf("%u %.17g %.17g %.17g\n", node_ids[j], pos(0, j), pos(1, j), pos(2, j));
  std::printf("elements %u\n", connect.cols());
  for (unsigned b = 0; b + 1 < ranges.size(); ++b)
    for (unsigned e = ranges[b]; e < ranges[b + 1]; ++e) {
      std::printf("%u %d %u", element_ids[e], types[b], ids[e]);
      for (unsigned i = 0; i < connect.rows() && connect(i, e) != 4294967295u; ++i)
        std::printf(" %u", node_ids[connect(i, e)]);
      std::printf("\n");
    }
  return 0;
}
