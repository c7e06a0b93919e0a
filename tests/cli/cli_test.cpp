// The plexa tool, run in-process: exit statuses, exact output, locale
// independence, and the geometry of the built-in mesh.
#include <algorithm>
#include <array>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <locale>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa/indices.hpp>

#include "builtin_mesh.hpp"
#include "cli.hpp"
#include "mesh_summary.hpp"
#include "support/locale.hpp"

namespace {

struct result {
  int status;
  std::string out, err;
};

// Runs the tool with the given arguments; `out` may replace the captured
// standard output (to simulate a stream that cannot be written).
result run(std::vector<const char*> args, std::FILE* out = nullptr) {
  args.insert(args.begin(), "plexa");
  char *out_text = nullptr, *err_text = nullptr;
  std::size_t out_size = 0, err_size = 0;
  std::FILE* captured = open_memstream(&out_text, &out_size);
  std::FILE* err = open_memstream(&err_text, &err_size);
  result r;
  r.status = plexa_cli::run(int(args.size()), args.data(), out ? out : captured, err);
  std::fclose(captured);
  std::fclose(err);
  r.out.assign(out_text, out_size);
  r.err.assign(err_text, err_size);
  std::free(out_text);
  std::free(err_text);
  return r;
}

bool one_line(const std::string& s) { return !s.empty() && s.find('\n') == s.size() - 1; }

const char* const demo_output =
    "built-in mesh of mixed solids\n"
    "nodes: 17\n"
    "elements: 7\n"
    "  TETRA4: 2\n"
    "  PYRA5: 1\n"
    "  WEDGE6: 2\n"
    "  HEXA8: 2\n"
    "bounding box: [-0.5, 2.5] x [0, 1] x [0, 1.5]\n";

TEST(Cli, VersionHelpAndDemoPrintExactly) {
  const result version = run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "plexa 5.3.0.0\n");
  EXPECT_EQ(version.err, "");

  const std::string overview =
      "Usage: plexa <command> [arguments]\n"
      "       plexa --version | --help | help <command>\n"
      "\n"
      "Finite-element mesh tools.\n"
      "\n"
      "Commands:\n"
      "  demo  describe the built-in mesh of mixed solids\n"
      "\n"
      "Run 'plexa help <command>' for the arguments of a command.\n";
  for (auto args : {std::vector<const char*>{"--help"}, {"-h"}, {"help"}}) {
    const result help = run(args);
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out, overview);
    EXPECT_EQ(help.err, "");
  }

  const result demo_help = run({"help", "demo"});
  EXPECT_EQ(demo_help.status, 0);
  EXPECT_EQ(demo_help.out.rfind("Usage: plexa demo\n\n", 0), 0u) << demo_help.out;
  EXPECT_EQ(run({"demo", "--help"}).out, demo_help.out);

  const result demo = run({"demo"});
  EXPECT_EQ(demo.status, 0);
  EXPECT_EQ(demo.out, demo_output);
  EXPECT_EQ(demo.err, "");
}

TEST(Cli, UsageErrorsExitWithTwoAndOneLineOnStderr) {
  const std::vector<std::vector<const char*>> cases = {
      {},                          // no command
      {"bogus"},                   // unknown command
      {"--bogus"},                 // unknown option
      {"--version", "extra"},      // stray argument
      {"help", "bogus"},           // help on an unknown command
      {"help", "demo", "extra"},   // too many words for help
      {"--help", "demo"},          // --help takes no command
      {"demo", "extra"},           // demo takes no argument
  };
  for (const auto& args : cases) {
    const result r = run(args);
    SCOPED_TRACE(args.empty() ? "(none)" : args[0]);
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(one_line(r.err)) << r.err;
    EXPECT_EQ(r.err.rfind("plexa", 0), 0u) << r.err;
  }
  EXPECT_EQ(run({"bogus"}).err, "plexa: unknown command 'bogus' (see 'plexa --help')\n");
  EXPECT_EQ(run({"demo", "x"}).err, "plexa demo: unexpected argument 'x' (see 'plexa help demo')\n");
}

TEST(Cli, OutputThatCannotBeWrittenIsAFailure) {
  std::FILE* full = std::fopen("/dev/full", "w");
  if (!full) GTEST_SKIP() << "no /dev/full";
  const result r = run({"demo"}, full);
  std::fclose(full);
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(one_line(r.err)) << r.err;
}

TEST(Cli, OutputDoesNotDependOnTheLocale) {
  plexa_test::decimal_comma_locale comma;
  if (comma.c_locale_switched()) {
    char probe[16];
    std::snprintf(probe, sizeof probe, "%.1f", 0.5);
    ASSERT_STREQ(probe, "0,5");  // the locale is really in force
  }
  EXPECT_EQ(run({"demo"}).out, demo_output);
}

// Local faces of each solid, as the library numbers them (faces point out of
// the element).
std::vector<std::vector<unsigned>> local_faces(zeb::plexa::element_type kind) {
  using namespace zeb::plexa;
  switch (kind) {
    case ELT_TETRA4: return {{1, 2, 3}, {2, 0, 3}, {0, 1, 3}, {2, 1, 0}};
    case ELT_PYRA5: return {{0, 4, 1}, {1, 4, 2}, {2, 4, 3}, {3, 4, 0}, {0, 1, 2, 3}};
    case ELT_WEDGE6: return {{0, 1, 2}, {3, 5, 4}, {2, 1, 4, 5}, {0, 2, 5, 3}, {1, 0, 3, 4}};
    default: return {{0, 3, 7, 4}, {1, 5, 6, 2}, {0, 4, 5, 1}, {3, 2, 6, 7}, {0, 1, 2, 3}, {4, 7, 6, 5}};
  }
}

TEST(Cli, BuiltinMeshIsConformingAndOutwardOriented) {
  zeb::dense2D<double> xyz;
  zeb::dense2D<unsigned> solids;
  ASSERT_TRUE(plexa_cli::builtin_mesh(xyz, solids));
  ASSERT_TRUE(zeb::plexa::check_IDs(solids, zeb::plexa::ELT_SOLID_MIX, xyz.cols()));

  using point = std::array<double, 3>;
  auto at = [&](unsigned n) { return point{xyz(0, n), xyz(1, n), xyz(2, n)}; };
  struct face {
    std::vector<unsigned> nodes;
    unsigned element;
  };
  std::vector<face> faces;
  for (unsigned e = 0; e < solids.cols(); ++e) {
    const auto kind = plexa_cli::element_kind(solids, zeb::plexa::ELT_SOLID_MIX, e);
    const unsigned n = zeb::plexa::nbr_nodes(kind);
    point centre{};
    for (unsigned k = 0; k < n; ++k)
      for (int i = 0; i < 3; ++i) centre[i] += at(solids(k, e))[i] / n;
    for (const auto& local : local_faces(kind)) {
      face f{{}, e};
      point mid{}, normal{};
      for (unsigned k : local) f.nodes.push_back(solids(k, e));
      for (std::size_t k = 0; k < f.nodes.size(); ++k) {
        const point a = at(f.nodes[k]), b = at(f.nodes[(k + 1) % f.nodes.size()]);
        // Newell's normal of the polygon.
        normal[0] += (a[1] - b[1]) * (a[2] + b[2]);
        normal[1] += (a[2] - b[2]) * (a[0] + b[0]);
        normal[2] += (a[0] - b[0]) * (a[1] + b[1]);
        for (int i = 0; i < 3; ++i) mid[i] += a[i] / f.nodes.size();
      }
      double outward = 0;
      for (int i = 0; i < 3; ++i) outward += normal[i] * (mid[i] - centre[i]);
      EXPECT_GT(outward, 0.0) << "element " << e << " face at node " << f.nodes[0];
      faces.push_back(f);
    }
  }
  // A face shared by two elements is listed once by each, in opposite
  // directions; no face is shared by three.
  auto reversed_rotation = [](const std::vector<unsigned>& a, const std::vector<unsigned>& b) {
    if (a.size() != b.size()) return false;
    const std::size_t n = a.size();
    for (std::size_t s = 0; s < n; ++s) {
      bool all = true;
      for (std::size_t k = 0; k < n && all; ++k) all = a[k] == b[(s + n - k) % n];
      if (all) return true;
    }
    return false;
  };
  auto same_nodes = [](std::vector<unsigned> a, std::vector<unsigned> b) {
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    return a == b;
  };
  unsigned shared = 0;
  for (std::size_t i = 0; i < faces.size(); ++i) {
    unsigned partners = 0;
    for (std::size_t j = 0; j < faces.size(); ++j) {
      if (i == j || !same_nodes(faces[i].nodes, faces[j].nodes)) continue;
      ++partners;
      EXPECT_NE(faces[i].element, faces[j].element);
      EXPECT_TRUE(reversed_rotation(faces[i].nodes, faces[j].nodes));
    }
    EXPECT_LE(partners, 1u);
    shared += partners;
  }
  EXPECT_EQ(shared, 2u * 8u);  // eight interior faces
}

}  // namespace
