// Writes MEDIT meshes with the library for the interoperability test, and
// beside each one the inputs it was written from: the node coordinates
// (exact, "%.17g") and every block with its element type and columns.  The
// test reads the mesh with an independent reader and checks it against
// these inputs.
//
// Usage: plexa_medit_sample <directory>   (writes mesh3.mesh, mesh3.txt,
//                                          mesh2.mesh, mesh2.txt)
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <zeb/plexa.hpp>

namespace {

using namespace zeb::plexa;
using zeb::dense1D;
using zeb::dense2D;

constexpr unsigned NO = 4294967295u;

struct block_spec {
  element_type type;
  unsigned cols;
};

// A mesh of random nodes and random blocks of the given types written to
// stem.mesh, and its inputs to stem.txt.
bool write_sample(const std::string& stem, unsigned dim, unsigned nodes, const std::vector<block_spec>& specs,
                  std::mt19937_64& g) {
  dense2D<double> pos(dim, nodes);
  std::uniform_real_distribution<double> coordinate(-100.0, 100.0);
  std::uniform_int_distribution<int> scale(-6, 6);
  std::uniform_int_distribution<unsigned> node(0, nodes - 1);
  for (unsigned j = 0; j < nodes; ++j)
    for (unsigned i = 0; i < dim; ++i) pos(i, j) = coordinate(g) * std::pow(10.0, scale(g));

  // Mixed blocks get columns of every kind: the first nodes, then markers.
  const unsigned face_counts[] = {3, 4}, solid_counts[] = {4, 5, 6, 8};
  std::vector<dense2D<unsigned>> blocks;
  dense1D<int, 8> types(unsigned(specs.size()));
  for (const block_spec& s : specs) {
    const unsigned rows = nbr_nodes(s.type);
    dense2D<unsigned> c(rows, s.cols);
    for (unsigned j = 0; j < s.cols; ++j) {
      const unsigned keep = s.type == ELT_FACE_MIX    ? face_counts[g() % 2]
                            : s.type == ELT_SOLID_MIX ? solid_counts[g() % 4]
                                                      : rows;
      for (unsigned i = 0; i < rows; ++i) c(i, j) = i < keep ? node(g) : NO;
    }
    types[unsigned(blocks.size())] = s.type;
    blocks.push_back(c);
  }
  if (medit_output((stem + ".mesh").c_str(), pos, blocks.data(), blocks.data() + blocks.size(), types) != 0)
    return false;

  std::FILE* f = std::fopen((stem + ".txt").c_str(), "w");
  if (!f) return false;
  std::fprintf(f, "nodes %u %u\n", dim, nodes);
  for (unsigned j = 0; j < nodes; ++j)
    for (unsigned i = 0; i < dim; ++i) std::fprintf(f, "%.17g%c", pos(i, j), i + 1 == dim ? '\n' : ' ');
  for (unsigned b = 0; b < blocks.size(); ++b) {
    const dense2D<unsigned>& c = blocks[b];
    std::fprintf(f, "block %d %u %u\n", int(types[b]), c.rows(), c.cols());
    for (unsigned j = 0; j < c.cols(); ++j)
      for (unsigned i = 0; i < c.rows(); ++i) std::fprintf(f, "%u%c", c(i, j), i + 1 == c.rows() ? '\n' : ' ');
  }
  return std::fclose(f) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: plexa_medit_sample <directory>\n", stderr);
    return 2;
  }
  const std::string dir = argv[1];
  std::mt19937_64 g(4242);
  if (!write_sample(dir + "/mesh3", 3, 300,
                    {{ELT_TETRA4, 30}, {ELT_HEXA8, 0}, {ELT_SOLID_MIX, 60}, {ELT_HEXA27, 8}, {ELT_PYRA13, 4},
                     {ELT_PYRA14, 5}, {ELT_WEDGE18, 6}, {ELT_WEDGE15, 3}, {ELT_TETRA10, 7}, {ELT_HEXA20, 4},
                     {ELT_PYRA5, 9}, {ELT_WEDGE6, 9}, {ELT_FACE_MIX, 25}, {ELT_EDGE2, 12}},
                    g) ||
      !write_sample(dir + "/mesh2", 2, 120,
                    {{ELT_TRIA3, 20}, {ELT_FACE_MIX, 30}, {ELT_QUAD9, 6}, {ELT_TRIA6, 6}, {ELT_QUAD8, 5},
                     {ELT_EDGE3, 8}, {ELT_QUAD4, 10}, {ELT_NODE, 4}},
                    g)) {
    std::fputs("plexa_medit_sample: cannot write the samples\n", stderr);
    return 1;
  }
  return 0;
}
