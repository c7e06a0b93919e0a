// Writes the seed corpus of every fuzz target into <out>/<target>/: small
// meshes written by the library's own writers, the hand-written samples of
// the tests (<data>/*<extension>) and the regression files of the target
// (<data>/fuzz/<target>/).
//
// Usage: plexa_fuzz_seeds <out> <data>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <zeb/plexa.hpp>

#include "readers.hpp"

namespace {

namespace fs = std::filesystem;
using namespace zeb::plexa;
using zeb::dense2D;

// rows x cols values that the writers print exactly.
dense2D<double> random_values(std::mt19937_64& g, unsigned rows, unsigned cols) {
  dense2D<double> v(rows, cols);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = 0; i < rows; ++i) v(i, j) = 0.125 * (double(g() % 4096) - 2048.0);
  return v;
}

struct surface {
  dense2D<double> pos;
  dense2D<unsigned> connect;
};

// A height field over an nu x nv grid of unit squares, each cut in two,
// its heights drawn from [0, bump).
surface height_field(unsigned nu, unsigned nv, double bump, std::mt19937_64& g) {
  const unsigned columns = nu + 1;
  surface s{dense2D<double>(3, columns * (nv + 1)), dense2D<unsigned>(3, 2 * nu * nv)};
  std::uniform_real_distribution<double> height(0.0, bump);
  for (unsigned k = 0; k < s.pos.cols(); ++k) {
    s.pos(0, k) = double(k % columns);
    s.pos(1, k) = double(k / columns);
    s.pos(2, k) = bump > 0 ? height(g) : 0.0;
  }
  unsigned t = 0;
  for (unsigned v = 0; v < nv; ++v)
    for (unsigned u = 0; u < nu; ++u, t += 2) {
      const unsigned corner = v * columns + u;
      const unsigned cut[6] = {corner, corner + 1, corner + columns + 1, corner, corner + columns + 1, corner + columns};
      for (unsigned c = 0; c < 6; ++c) s.connect(c % 3, t + c / 3) = cut[c];
    }
  return s;
}

// The surface of a tetrahedron, and a soup of degenerate triangles.
surface tetrahedron() {
  surface s{dense2D<double>(3, 4, 0.0), dense2D<unsigned>(3, 4)};
  for (unsigned i = 0; i < 3; ++i) s.pos(i, i + 1) = 1.0;
  const unsigned t[12] = {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
  for (unsigned k = 0; k < 12; ++k) s.connect.data()[k] = t[k];
  return s;
}
surface degenerate() {
  surface s{dense2D<double>(3, 3, 1.0), dense2D<unsigned>(3, 2, 0u)};
  s.connect(1, 1) = 1;
  s.connect(2, 1) = 2;
  return s;
}

void stl_seeds(const fs::path& dir) {
  std::mt19937_64 g(1);
  const surface surfaces[] = {tetrahedron(), height_field(4, 3, 0.0, g), height_field(5, 4, 0.25, g), degenerate(),
                              surface{dense2D<double>(3, 0), dense2D<unsigned>(3, 0)}};
  unsigned k = 0;
  for (const surface& s : surfaces) {
    for (bool ascii : {true, false}) {
      const std::string path = (dir / ("written" + std::to_string(k++) + ".stl")).string();
      if (STL_output(path.c_str(), s.pos, s.connect, ascii) != 0) std::fprintf(stderr, "cannot write %s\n", path.c_str());
    }
  }
}

// A mesh of blocks of the given types over nodes of a 3 x 3 x 3 grid (the
// first `dim` coordinates), each block of 1 to 3 elements of distinct
// nodes, the rows of the largest type, unused rows 4294967295; the
// reference of element j is j % 3.
struct block_mesh {
  dense2D<double> pos;
  dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, refs;
  zeb::dense1D<int, 8> types;
};

block_mesh blocks_of(unsigned dim, std::initializer_list<element_type> kinds, std::mt19937_64& g) {
  block_mesh m;
  m.pos = dense2D<double>(dim, 27);
  for (unsigned k = 0; k < 27; ++k)
    for (unsigned i = 0; i < dim; ++i) m.pos(i, k) = 0.5 * double(k / (i == 0 ? 1 : i == 1 ? 3 : 9) % 3);
  unsigned rows = 1, cols = 0;
  std::vector<unsigned> counts;
  for (element_type t : kinds) {
    rows = std::max(rows, nbr_nodes(t));
    counts.push_back(1 + unsigned(g() % 3));
    cols += counts.back();
  }
  m.connect = dense2D<unsigned>(rows, cols, 4294967295u);
  m.ranges = zeb::dense1D<unsigned, 8>(unsigned(counts.size() + 1), 0u);
  m.types = zeb::dense1D<int, 8>(unsigned(counts.size()), 0);
  m.refs = zeb::dense1D<unsigned, 8>(cols, 0u);
  unsigned j = 0, b = 0;
  for (element_type t : kinds) {
    m.types[b] = t;
    for (unsigned e = 0; e < counts[b]; ++e, ++j) {
      std::vector<unsigned> nodes(27);
      for (unsigned k = 0; k < 27; ++k) nodes[k] = k;
      std::shuffle(nodes.begin(), nodes.end(), g);
      for (unsigned i = 0; i < nbr_nodes(t); ++i) m.connect(i, j) = nodes[i];
      m.refs[j] = j % 3;
    }
    m.ranges[++b] = j;
  }
  return m;
}

void report_failure(int r, const fs::path& path) {
  if (r != 0) std::fprintf(stderr, "cannot write %s (%d)\n", path.c_str(), r);
}

void medit_seeds(const fs::path& dir) {
  std::mt19937_64 g(3);
  const block_mesh meshes[] = {
      blocks_of(3, {ELT_EDGE2, ELT_TRIA3, ELT_QUAD4, ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8}, g),
      blocks_of(3, {ELT_TETRA10, ELT_HEXA27, ELT_TRIA6, ELT_WEDGE18}, g),
      blocks_of(2, {ELT_TRIA3, ELT_QUAD4, ELT_EDGE2}, g),
      blocks_of(3, {}, g),
  };
  unsigned k = 0;
  for (const block_mesh& m : meshes) {
    const fs::path path = dir / ("written" + std::to_string(k++) + ".mesh");
    report_failure(medit_output(path.c_str(), m.pos, m.connect, m.ranges, m.types, m.refs), path);
  }
}

void medit_solution_seeds(const fs::path& dir) {
  std::mt19937_64 g(4);
  unsigned k = 0;
  for (unsigned dim : {2u, 3u})
    for (unsigned rows : {1u, dim, dim * (dim + 1) / 2}) {
      const dense2D<double> values = random_values(g, rows, 5);
      fs::path path = dir / ("written" + std::to_string(k++) + ".sol");
      report_failure(medit_solution_output(path.c_str(), dim, values), path);
      path = dir / ("written" + std::to_string(k++) + ".bb");
      report_failure(rows == 1 ? medit_scalar(path.c_str(), dim, values.as_vector())
                     : rows == dim ? medit_vector(path.c_str(), dim, values)
                                   : medit_tensor(path.c_str(), values),
                     path);
    }
}

void obj_seeds(const fs::path& dir) {
  std::mt19937_64 g(5);
  const block_mesh meshes[] = {
      blocks_of(3, {ELT_TRIA3, ELT_QUAD4, ELT_EDGE2, ELT_NODE, ELT_TRIA3}, g),
      blocks_of(2, {ELT_QUAD8, ELT_TRIA6, ELT_EDGE3}, g),
      blocks_of(3, {}, g),
  };
  const std::vector<std::string> names = {"", "walls", "a b"};
  unsigned k = 0;
  for (const block_mesh& m : meshes) {
    const fs::path path = dir / ("written" + std::to_string(k++) + ".obj");
    report_failure(WavefrontOBJ_output(path.c_str(), m.pos, m.connect, m.ranges, m.types, m.refs, names), path);
  }
}

// Meshes of every kind NASTRAN_output and FEMAP_output write, linear and
// quadratic, 3-D and 2-D.
template <class Writer>
void finite_element_seeds(const fs::path& dir, unsigned seed, const char* extension, Writer write) {
  std::mt19937_64 g(seed);
  const block_mesh meshes[] = {
      blocks_of(3, {ELT_EDGE2, ELT_TRIA3, ELT_QUAD4, ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8}, g),
      blocks_of(3, {ELT_EDGE3, ELT_TRIA6, ELT_QUAD8, ELT_TETRA10, ELT_PYRA13, ELT_WEDGE15, ELT_HEXA20}, g),
      blocks_of(2, {ELT_TRIA3, ELT_QUAD4}, g),
  };
  unsigned k = 0;
  for (const block_mesh& m : meshes) {
    const fs::path path = dir / ("written" + std::to_string(k++) + extension);
    report_failure(write(path.c_str(), m), path);
  }
}

void nastran_seeds(const fs::path& dir) {
  finite_element_seeds(dir, 6, ".nas", [](const char* path, const block_mesh& m) {
    return NASTRAN_output(path, m.pos, m.connect, m.ranges, m.types, m.refs);
  });
}
void femap_seeds(const fs::path& dir) {
  finite_element_seeds(dir, 7, ".neu", [](const char* path, const block_mesh& m) {
    return FEMAP_output(path, m.pos, m.connect, m.ranges, m.types, m.refs);
  });
}

// Inputs of the round-trip target: random bytes.
void roundtrip_seeds(const fs::path& dir) {
  std::mt19937_64 g(2);
  for (unsigned k = 0; k < 16; ++k) {
    std::FILE* f = std::fopen((dir / ("random" + std::to_string(k))).c_str(), "wb");
    for (unsigned n = 64u << (k % 4); n > 0; --n) std::fputc(int(g() & 255), f);
    std::fclose(f);
  }
}

void copy_into(const fs::path& dir, const fs::path& from, const std::string& extension) {
  if (!fs::is_directory(from)) return;
  for (const fs::directory_entry& e : fs::directory_iterator(from))
    if (e.is_regular_file() && (extension.empty() || e.path().extension() == extension))
      fs::copy_file(e.path(), dir / e.path().filename(), fs::copy_options::overwrite_existing);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fputs("usage: plexa_fuzz_seeds <out> <data>\n", stderr);
    return 2;
  }
  const fs::path out = argv[1], data = argv[2];
  // The targets with seeds written here (those of readers without a row in
  // the reader table are not written), and those of the readers (the
  // round-trip target reads no file).
  const std::map<std::string, void (*)(const fs::path&)> written = {
      {"roundtrip", roundtrip_seeds}, {"stl", stl_seeds},   {"medit", medit_seeds},
      {"medit_solution", medit_solution_seeds}, {"obj", obj_seeds}, {"nastran", nastran_seeds},
      {"femap", femap_seeds}};
  std::map<std::string, std::string> extensions = {{"roundtrip", ""}};
  for (const plexa_fuzz::reader_entry& r : plexa_fuzz::readers()) extensions[r.name] = r.extension;
  for (const auto& [name, extension] : extensions) {
    const fs::path dir = out / name;
    fs::create_directories(dir);
    if (const auto w = written.find(name); w != written.end()) w->second(dir);
    if (!extension.empty()) copy_into(dir, data, extension);
    copy_into(dir, data / "fuzz" / name, "");
  }
  return 0;
}
