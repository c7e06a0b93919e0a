// Writes meshes with the library's writers for the interoperability tests,
// and beside each one the inputs it was written from: the node coordinates
// (exact, "%.17g") and every block with its element type and columns.  The
// tests read each file with an independent reader and check it against
// these inputs.
//
// Usage: plexa_io_samples <directory>   writes, each with its <stem>.txt:
//   mesh3.mesh, mesh2.mesh        MEDIT, every element type
//   vtk3.vtk, vtk2.vtk            VTK, every type with a VTK cell
//   linear3.vtk, linear2.vtk      VTK, linear types only (no poly-vertex cell)
//   nastran3.nas, nastran2.nas,   NASTRAN, every type but the quadratic
//   nastran_mixed.nas             pyramids and wedges (which meshio cannot
//                                 hold); the blocks joined in one
//                                 connectivity, property number = block
//                                 position + 1; mixed solids only among
//                                 blocks of at most 8 rows (the writer reads
//                                 them through up to 20 rows)
//   ensight3.geo                  EnSight, every type but ELT_TRIA6 (whose
//                                 double listing no reader takes)
//   scalar3.sol, vector3.sol,     MEDIT solutions of the keyword layout
//   tensor3.sol, tensor2.sol      (medit_solution_output), each with a .txt
//                                 of "solution <dim> <rows> <nodes>" and
//                                 the values, one node per line
//   stl_ascii.stl, stl_binary.stl STL of a closed, outward-oriented torus
//                                 (both from the inputs stl.txt)
//
// Usage: plexa_io_samples --read-stl <file>   reads an STL file with the
// library and prints its welded mesh in the same form as the inputs files
// (one block of ELT_TRIA3).
#include <cmath>
#include <cstdio>
#include <functional>
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

using blocks_writer = std::function<int(const char* path, const dense2D<double>& pos,
                                        const std::vector<dense2D<unsigned>>& blocks, const dense1D<int, 8>& types)>;

// Writes nodes and blocks as the inputs file of a sample.
bool write_inputs(const std::string& path, const dense2D<double>& pos, const std::vector<dense2D<unsigned>>& blocks,
                  const dense1D<int, 8>& types) {
  std::FILE* f = path == "-" ? stdout : std::fopen(path.c_str(), "w");
  if (!f) return false;
  const unsigned dim = pos.rows(), nodes = pos.cols();
  std::fprintf(f, "nodes %u %u\n", dim, nodes);
  for (unsigned j = 0; j < nodes; ++j)
    for (unsigned i = 0; i < dim; ++i) std::fprintf(f, "%.17g%c", pos(i, j), i + 1 == dim ? '\n' : ' ');
  for (unsigned b = 0; b < blocks.size(); ++b) {
    const dense2D<unsigned>& c = blocks[b];
    std::fprintf(f, "block %d %u %u\n", int(types[b]), c.rows(), c.cols());
    for (unsigned j = 0; j < c.cols(); ++j)
      for (unsigned i = 0; i < c.rows(); ++i) std::fprintf(f, "%u%c", c(i, j), i + 1 == c.rows() ? '\n' : ' ');
  }
  return f == stdout ? std::fflush(f) == 0 : std::fclose(f) == 0;
}

// A mesh of random nodes and random blocks of the given types written to
// stem + extension, and its inputs to stem.txt.
bool write_sample(const std::string& stem, const char* extension, unsigned dim, unsigned nodes,
                  const std::vector<block_spec>& specs, std::mt19937_64& g, const blocks_writer& write) {
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
  const int code = write((stem + extension).c_str(), pos, blocks, types);
  if (code != 0) {
    std::fprintf(stderr, "plexa_io_samples: writing %s%s gave %d\n", stem.c_str(), extension, code);
    return false;
  }

  return write_inputs(stem + ".txt", pos, blocks, types);
}

int write_medit(const char* path, const dense2D<double>& pos, const std::vector<dense2D<unsigned>>& blocks,
                const dense1D<int, 8>& types) {
  return medit_output(path, pos, blocks.data(), blocks.data() + blocks.size(), types);
}

int write_vtk(const char* path, const dense2D<double>& pos, const std::vector<dense2D<unsigned>>& blocks,
              const dense1D<int, 8>& types) {
  return vtk_output(path, pos, blocks.data(), blocks.data() + blocks.size(), types);
}

int write_ensight(const char* path, const dense2D<double>& pos, const std::vector<dense2D<unsigned>>& blocks,
                  const dense1D<int, 8>& types) {
  return ensight_output(path, pos, blocks.data(), blocks.data() + blocks.size(), types);
}

// The blocks side by side in one connectivity of as many rows as the
// highest block (unused entries UINT_MAX).
int write_nastran(const char* path, const dense2D<double>& pos, const std::vector<dense2D<unsigned>>& blocks,
                  const dense1D<int, 8>& types) {
  unsigned rows = 0, cols = 0;
  for (const dense2D<unsigned>& b : blocks) {
    rows = b.rows() > rows ? b.rows() : rows;
    cols += b.cols();
  }
  dense2D<unsigned> connect(rows, cols, NO);
  dense1D<unsigned, 8> ranges(unsigned(blocks.size()) + 1), pids(cols);
  unsigned at = 0;
  ranges[0] = 0;
  for (unsigned k = 0; k < blocks.size(); ++k) {
    for (unsigned j = 0; j < blocks[k].cols(); ++j, ++at) {
      for (unsigned i = 0; i < blocks[k].rows(); ++i) connect(i, at) = blocks[k](i, j);
      pids[at] = k + 1;
    }
    ranges[k + 1] = at;
  }
  return NASTRAN_output(path, pos, connect, ranges, types, pids);
}

// A random field written with medit_solution_output, and its values.
bool write_solution(const std::string& stem, unsigned dim, unsigned rows, unsigned nodes, std::mt19937_64& g) {
  dense2D<double> values(rows, nodes);
  std::uniform_real_distribution<double> value(-1e3, 1e3);
  for (unsigned j = 0; j < nodes; ++j)
    for (unsigned i = 0; i < rows; ++i) values(i, j) = value(g);
  if (medit_solution_output((stem + ".sol").c_str(), dim, values) != 0) return false;
  std::FILE* f = std::fopen((stem + ".txt").c_str(), "w");
  if (!f) return false;
  std::fprintf(f, "solution %u %u %u\n", dim, rows, nodes);
  for (unsigned j = 0; j < nodes; ++j)
    for (unsigned i = 0; i < rows; ++i) std::fprintf(f, "%.17g%c", values(i, j), i + 1 == rows ? '\n' : ' ');
  return std::fclose(f) == 0;
}

// A torus of 40 x 16 quadrangles cut in two, outward-oriented, its nodes
// moved a little, written as ASCII and binary STL.
bool write_stl_samples(const std::string& dir, std::mt19937_64& g) {
  const unsigned nu = 40, nv = 16;
  dense2D<double> pos(3, nu * nv);
  dense2D<unsigned> tris(3, 2 * nu * nv);
  std::uniform_real_distribution<double> jitter(-0.01, 0.01);
  for (unsigned i = 0; i < nu; ++i)
    for (unsigned j = 0; j < nv; ++j) {
      const double a = 6.283185307179586 * i / nu, b = 6.283185307179586 * j / nv, r = 30 + 10 * std::cos(b);
      const unsigned k = i * nv + j, right = (i + 1) % nu * nv + j, up = i * nv + (j + 1) % nv,
                     both = (i + 1) % nu * nv + (j + 1) % nv;
      pos(0, k) = r * std::cos(a) + jitter(g);
      pos(1, k) = r * std::sin(a) + jitter(g);
      pos(2, k) = 10 * std::sin(b) + jitter(g);
      const unsigned t[6] = {k, right, both, k, both, up};
      for (unsigned c = 0; c < 6; ++c) tris(c % 3, 2 * k + c / 3) = t[c];
    }
  return STL_output((dir + "stl_ascii.stl").c_str(), pos, tris, true) == 0 &&
         STL_output((dir + "stl_binary.stl").c_str(), pos, tris, false) == 0 &&
         write_inputs(dir + "stl.txt", pos, {tris}, dense1D<int, 8>(1, int(ELT_TRIA3)));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "--read-stl") {
    dense2D<double> pos;
    dense2D<unsigned> tris;
    const int code = STL_input(argv[2], pos, tris);
    if (code != 0) {
      std::fprintf(stderr, "plexa_io_samples: reading %s gave %d\n", argv[2], code);
      return 1;
    }
    return write_inputs("-", pos, {tris}, dense1D<int, 8>(1, int(ELT_TRIA3))) ? 0 : 1;
  }
  if (argc != 2) {
    std::fputs("usage: plexa_io_samples <directory> | --read-stl <file>\n", stderr);
    return 2;
  }
  const std::string dir = argv[1] + std::string("/");
  std::mt19937_64 g(4242);
  const std::vector<block_spec> solids = {
      {ELT_TETRA4, 30}, {ELT_HEXA8, 0},  {ELT_SOLID_MIX, 60}, {ELT_HEXA27, 8},  {ELT_PYRA13, 4},
      {ELT_PYRA14, 5},  {ELT_WEDGE18, 6}, {ELT_WEDGE15, 3},   {ELT_TETRA10, 7}, {ELT_HEXA20, 4},
      {ELT_PYRA5, 9},   {ELT_WEDGE6, 9},  {ELT_FACE_MIX, 25}, {ELT_EDGE2, 12}};
  const std::vector<block_spec> faces = {{ELT_TRIA3, 20}, {ELT_FACE_MIX, 30}, {ELT_QUAD9, 6}, {ELT_TRIA6, 6},
                                         {ELT_QUAD8, 5},  {ELT_EDGE3, 8},     {ELT_QUAD4, 10}, {ELT_NODE, 4}};
  // The same without the types that VTK has no cell for.
  const auto with_cells = [](std::vector<block_spec> specs) {
    std::erase_if(specs, [](const block_spec& s) {
      return s.type == ELT_PYRA13 || s.type == ELT_WEDGE15 || s.type == ELT_NODE;
    });
    return specs;
  };
  const std::vector<block_spec> linear_solids = {{ELT_TETRA4, 30}, {ELT_SOLID_MIX, 60}, {ELT_PYRA5, 9},
                                                 {ELT_HEXA8, 7},   {ELT_WEDGE6, 9},     {ELT_TRIA3, 10}};
  const std::vector<block_spec> linear_faces = {{ELT_FACE_MIX, 30}, {ELT_EDGE2, 8}, {ELT_QUAD4, 10}};
  std::vector<block_spec> nastran_solids = solids;
  std::erase_if(nastran_solids, [](const block_spec& s) {
    return s.type == ELT_SOLID_MIX || s.type == ELT_PYRA13 || s.type == ELT_PYRA14 || s.type == ELT_WEDGE15 ||
           s.type == ELT_WEDGE18;
  });
  std::vector<block_spec> ensight = solids;
  ensight.insert(ensight.end(), {{ELT_EDGE3, 5}, {ELT_TRIA3, 7}, {ELT_QUAD4, 6}, {ELT_QUAD8, 4}, {ELT_QUAD9, 3},
                                 {ELT_NODE, 2}, {ELT_EDGE_MIX, 3}, {ELT_WEDGE6, 0}});
  const bool ok = write_sample(dir + "mesh3", ".mesh", 3, 300, solids, g, write_medit) &&
                  write_sample(dir + "mesh2", ".mesh", 2, 120, faces, g, write_medit) &&
                  write_sample(dir + "vtk3", ".vtk", 3, 300, with_cells(solids), g, write_vtk) &&
                  write_sample(dir + "vtk2", ".vtk", 2, 120, with_cells(faces), g, write_vtk) &&
                  write_sample(dir + "linear3", ".vtk", 3, 200, linear_solids, g, write_vtk) &&
                  write_sample(dir + "linear2", ".vtk", 2, 80, linear_faces, g, write_vtk) &&
                  write_sample(dir + "nastran3", ".nas", 3, 300, nastran_solids, g, write_nastran) &&
                  write_sample(dir + "nastran_mixed", ".nas", 3, 200, linear_solids, g, write_nastran) &&
                  write_sample(dir + "nastran2", ".nas", 2, 120, faces, g, write_nastran) &&
                  write_sample(dir + "ensight3", ".geo", 3, 300, ensight, g, write_ensight) &&
                  write_stl_samples(dir, g) && write_solution(dir + "scalar3", 3, 1, 50, g) &&
                  write_solution(dir + "vector3", 3, 3, 40, g) && write_solution(dir + "tensor3", 3, 6, 30, g) &&
                  write_solution(dir + "tensor2", 2, 3, 20, g);
  if (!ok) {
    std::fputs("plexa_io_samples: cannot write the samples\n", stderr);
    return 1;
  }
  return 0;
}
