// Writes the seed corpus of every fuzz target into <out>/<target>/: small
// meshes written by the library's own writers, the hand-written samples of
// the tests (<data>/*<extension>) and the regression files of the target
// (<data>/fuzz/<target>/).
//
// Usage: plexa_fuzz_seeds <out> <data>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <random>
#include <string>

#include <zeb/plexa.hpp>

#include "readers.hpp"

namespace {

namespace fs = std::filesystem;
using namespace zeb::plexa;
using zeb::dense2D;

struct surface {
  dense2D<double> pos;
  dense2D<unsigned> connect;
};

// A torus of nu x nv quadrangles cut in two, its nodes moved by up to
// `jitter`.
surface torus(unsigned nu, unsigned nv, double jitter, std::mt19937_64& g) {
  surface s{dense2D<double>(3, nu * nv), dense2D<unsigned>(3, 2 * nu * nv)};
  std::uniform_real_distribution<double> u(-jitter, jitter);
  for (unsigned i = 0; i < nu; ++i)
    for (unsigned j = 0; j < nv; ++j) {
      const double a = 2 * M_PI * i / nu, b = 2 * M_PI * j / nv, r = 3 + std::cos(b) + u(g);
      const unsigned k = i * nv + j, right = (i + 1) % nu * nv + j, up = i * nv + (j + 1) % nv,
                     both = (i + 1) % nu * nv + (j + 1) % nv;
      s.pos(0, k) = r * std::cos(a);
      s.pos(1, k) = r * std::sin(a);
      s.pos(2, k) = std::sin(b) + u(g);
      const unsigned t[6] = {k, right, both, k, both, up};
      for (unsigned c = 0; c < 6; ++c) s.connect(c % 3, 2 * k + c / 3) = t[c];
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
  const surface surfaces[] = {tetrahedron(), torus(4, 3, 0.0, g), torus(5, 4, 0.05, g), degenerate(),
                              surface{dense2D<double>(3, 0), dense2D<unsigned>(3, 0)}};
  unsigned k = 0;
  for (const surface& s : surfaces) {
    for (bool ascii : {true, false}) {
      const std::string path = (dir / ("written" + std::to_string(k++) + ".stl")).string();
      if (STL_output(path.c_str(), s.pos, s.connect, ascii) != 0) std::fprintf(stderr, "cannot write %s\n", path.c_str());
    }
  }
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
  // The targets with seeds written here, and those of the readers (the
  // round-trip target reads no file).
  const std::map<std::string, void (*)(const fs::path&)> written = {{"roundtrip", roundtrip_seeds},
                                                                     {"stl", stl_seeds}};
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
