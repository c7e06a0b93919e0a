// The plexa tool, run in-process: exit status and exact output of each
// command line, and the shape of the built-in mesh.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa/quality.hpp>
#include <zeb/plexa/topology.hpp>

#include "builtin_mesh.hpp"
#include "mesh_summary.hpp"
#include "support/files.hpp"
#include "support/support.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::result;
using plexa_cli_test::run;

TEST(Cli, VersionAndHelpPrintExactly) {
  const std::string overview =
      "Usage: plexa <command> [arguments]\n"
      "       plexa --version | --help | help <command>\n"
      "\n"
      "Finite-element mesh tools.\n"
      "\n"
      "Commands:\n"
#if PLEXA_CLI_MPI  // the commands on partitioned meshes widen the name column
      "  demo         describe the built-in mesh of mixed solids and write it as MEDIT files\n"
      "  info         describe what a mesh or solution file holds\n"
      "  check        list what is wrong with a mesh (exit status 3 when something is)\n"
      "  quality      measure the shape quality and the Jacobians of the elements of a mesh\n"
      "  sizemap      make a size field on a mesh, bounded and graded, as a solution file\n"
      "  convert      write a mesh in another file format\n"
      "  weld         weld the triangle soup of an STL file into a conforming surface\n"
      "  partition    split a mesh into parts for one process each (MEDIT part files)\n"
      "  merge-parts  glue part files back into one mesh, with their fields\n"
#else
      "  demo     describe the built-in mesh of mixed solids and write it as MEDIT files\n"
      "  info     describe what a mesh or solution file holds\n"
      "  check    list what is wrong with a mesh (exit status 3 when something is)\n"
      "  quality  measure the shape quality and the Jacobians of the elements of a mesh\n"
      "  sizemap  make a size field on a mesh, bounded and graded, as a solution file\n"
      "  convert  write a mesh in another file format\n"
      "  weld     weld the triangle soup of an STL file into a conforming surface\n"
#endif
      "\n"
      "Run 'plexa help <command>' for the arguments of a command.\n";
  const std::string demo = "Usage: plexa demo [--output-dir <folder>]\n\n";
  const std::string convert =
      "Usage: plexa convert <input> <output> [options]\n"
      "       plexa convert [<input> | builtin] --output <output> [options]\n\n";
  const std::string info = "Usage: plexa info <file> | builtin [--json]\n\n";
  const std::string weld = "Usage: plexa weld <input.stl> <output file> [--json]\n\n";
  const std::string quality = "Usage: plexa quality [builtin | <mesh file>] [--worst <n>] [--json]\n\n";
  const std::string check = "Usage: plexa check [builtin | <mesh file>] [--tolerance <t>] [--json]\n\n";
  const std::string help = "Usage: plexa help [<command>]\n\n";
  // The whole output, or the first lines of a command's help.
  const struct {
    std::vector<const char*> args;
    std::string out;
    bool whole;
  } cases[] = {{{"--version"}, "plexa 5.3.0.0\n", true}, {{"--help"}, overview, true},
               {{"-h"}, overview, true},                  {{"help"}, overview, true},
               {{"help", "demo"}, demo, false},           {{"demo", "-h"}, demo, false},
               {{"help", "convert"}, convert, false},     {{"convert", "--help"}, convert, false},
               {{"help", "quality"}, quality, false},     {{"quality", "-h"}, quality, false},
               {{"help", "info"}, info, false},           {{"info", "--help"}, info, false},
               {{"help", "weld"}, weld, false},           {{"weld", "--help"}, weld, false},
               {{"help", "check"}, check, false},         {{"check", "-h"}, check, false},
               {{"help", "help"}, help, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.args[0]) + (c.args.size() > 1 ? c.args[1] : ""));
    const result r = run(c.args);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(c.whole ? r.out : r.out.substr(0, c.out.size()), c.out);
    EXPECT_EQ(r.err, "");
  }
  EXPECT_EQ(run({"demo", "--help"}).out, run({"help", "demo"}).out);
}

TEST(Cli, UsageErrorsExitWithTwoAndOneExactLine) {
  plexa_test::scratch_dir dir;
  const std::string path = dir.file("x.mesh");
  auto top = [](const std::string& m) { return "plexa: " + m + " (see 'plexa --help')\n"; };
  auto demo = [](const std::string& m) { return "plexa demo: " + m + " (see 'plexa help demo')\n"; };
  auto convert = [](const std::string& m) { return "plexa convert: " + m + " (see 'plexa help convert')\n"; };
  auto quality = [](const std::string& m) { return "plexa quality: " + m + " (see 'plexa help quality')\n"; };
  auto weld = [](const std::string& m) { return "plexa weld: " + m + " (see 'plexa help weld')\n"; };
  auto info = [](const std::string& m) { return "plexa info: " + m + " (see 'plexa help info')\n"; };
  auto check = [](const std::string& m) { return "plexa check: " + m + " (see 'plexa help check')\n"; };
  auto sizemap = [](const std::string& m) { return "plexa sizemap: " + m + " (see 'plexa help sizemap')\n"; };
  const std::string known = ".mesh, .vtk, .nas, .bdf, .obj, .stl, .geo, .neu";
  const std::string readable = ".mesh, .nas, .bdf, .obj, .stl, .neu";
  const struct {
    std::vector<const char*> args;
    std::string err;
  } cases[] = {
      {{}, top("missing command")},
      {{"bogus"}, top("unknown command 'bogus'")},
      {{"--bogus"}, top("unknown option '--bogus'")},
      {{"--version", "extra"}, top("unexpected argument 'extra'")},
      {{"help", "bogus"}, top("unknown command 'bogus'")},
      {{"help", "demo", "extra"}, top("unexpected argument 'extra'")},
      {{"--help", "demo"}, top("unexpected argument 'demo'")},
      {{"demo", "extra"}, demo("unexpected argument 'extra'")},
      {{"demo", "-o"}, demo("missing folder after '-o'")},
      {{"demo", "--output-dir", ""}, demo("empty output folder")},
      {{"demo", "-o", "a", "b"}, demo("unexpected argument 'b'")},
      {{"convert"}, convert("missing output file")},
      {{"convert", "a.mesh"}, convert("missing output file")},
      {{"convert", "a.mesh", "b.mesh", "c.mesh"}, convert("unexpected argument 'c.mesh'")},
      {{"convert", "a.mesh", "b.mesh", "-o", "c.mesh"}, convert("unexpected argument 'b.mesh'")},
      {{"convert", "a.mesh", "b.sol"}, convert("cannot convert between a mesh and a solution ('a.mesh' to 'b.sol')")},
      {{"convert", "-o", "b.bb"}, convert("cannot convert between a mesh and a solution ('builtin' to 'b.bb')")},
      {{"convert", "a.sol", "b.bb", "--scale", "2"}, convert("transforms apply to meshes, not to solutions")},
      {{"convert", "a.xyz", "b.mesh"}, convert("unknown input format of 'a.xyz' (known: " + readable + ")")},
      {{"convert", "a.vtk", "b.mesh"}, convert("unknown input format of 'a.vtk' (known: " + readable + ")")},
      {{"info"}, info("missing file")},
      {{"info", "a.mesh", "b.mesh"}, info("unexpected argument 'b.mesh'")},
      {{"info", "-v"}, info("unknown option '-v'")},
      {{"info", "a.geo"}, info("unknown input format of 'a.geo' (known: " + readable + ")")},
      {{"convert", "-o"}, convert("missing file after '-o'")},
      {{"convert", "-o", "x.stl2"}, convert("unknown output format of 'x.stl2' (known: " + known + ")")},
      {{"convert", "-o", "x.VTK"}, convert("unknown output format of 'x.VTK' (known: " + known + ")")},
      {{"convert", "-o", ".mesh"}, convert("unknown output format of '.mesh' (known: " + known + ")")},
      {{"convert", "builtin", "builtin", "-o", path.c_str()}, convert("unexpected argument 'builtin'")},
      {{"convert", "--bogus"}, convert("unknown option '--bogus'")},
      {{"quality", "in.xyz"}, quality("unknown input format of 'in.xyz' (known: " + readable + ")")},
      {{"quality", "builtin", "x"}, quality("unexpected argument 'x'")},
      {{"quality", "--worst"}, quality("missing count after '--worst'")},
      {{"quality", "--worst", "-1"}, quality("invalid count '-1' of '--worst'")},
      {{"quality", "--worst", "1001"}, quality("invalid count '1001' of '--worst'")},
      {{"quality", "--worst", "2x"}, quality("invalid count '2x' of '--worst'")},
      {{"quality", "-o"}, quality("unknown option '-o'")},
      {{"weld"}, weld("missing input STL file")},
      {{"weld", "in.stl"}, weld("missing output file")},
      {{"weld", "in.stl", path.c_str(), "x"}, weld("unexpected argument 'x'")},
      {{"weld", "--ascii"}, weld("unknown option '--ascii'")},
      {{"weld", "in.vtk", path.c_str()}, weld("the input 'in.vtk' is not an STL file (.stl)")},
      {{"weld", "in.stl", "out.stl2"}, weld("unknown output format of 'out.stl2' (known: " + known + ")")},
      // The forms every command takes.
      {{"quality", "--worst=3", "--worst", "4"}, quality("option '--worst' given twice")},
      {{"quality", "--json=yes"}, quality("option '--json' takes no value")},
      {{"info", "--", "-v.xyz"}, info("unknown input format of '-v.xyz' (known: " + readable + ")")},
      {{"quality", "--worst="}, quality("invalid count '' of '--worst'")},
      {{"convert", "-o", "a.mesh", "--output=b.mesh"}, convert("option '--output' given twice")},
      {{"convert", "--digits", "18", "-o", "a.mesh"}, convert("invalid count '18' of '--digits' (0 to 17)")},
      {{"convert", "--quality", "-o", "a.mesh"},
       convert("'--quality' writes VTK cell data: the output must be a .vtk file")},
      {{"convert", "a.sol", "b.bb", "--quality"}, convert("'--quality' applies to meshes, not to solutions")},
      {{"check", "--tolerance", "-1"}, check("invalid tolerance '-1' (a number, 0 or more)")},
      {{"check", "--tolerance=x"}, check("invalid tolerance 'x' (a number, 0 or more)")},
      {{"check", "a.mesh", "b.mesh"}, check("unexpected argument 'b.mesh'")},
      {{"sizemap"}, sizemap("missing output file ('-o <file>')")},
      {{"sizemap", "-o", "s.mesh"}, sizemap("unknown solution format of 's.mesh' (known: .sol, .bb)")},
      {{"sizemap", "-o", "s.sol", "--gradation", "1", "--variation", "1"},
       sizemap("'--gradation' and '--variation' exclude each other")},
      {{"sizemap", "-o", "s.sol", "--hmax", "0"}, sizemap("invalid value '0' of '--hmax' (a number, above 0)")},
      {{"sizemap", "-o", "s.sol", "--gradation=-1"},
       sizemap("invalid value '-1' of '--gradation' (a number, 0 or more)")},
      {{"sizemap", "-o", "s.sol", "--hmin", "2", "--hmax", "1"}, sizemap("'--hmin' is above '--hmax'")},
      {{"sizemap", "-o", "s.sol", "--metric", "m.sol", "--exponent", "2"},
       sizemap("'--exponent' generates a field: not with '--metric'")},
  };
  for (const auto& c : cases) {
    const result r = run(c.args);
    EXPECT_EQ(r.status, 2) << c.err;
    EXPECT_EQ(r.out, "") << c.err;
    EXPECT_EQ(r.err, c.err);
  }
  EXPECT_FALSE(plexa_test::file_exists(path));
}

TEST(Cli, OutputThatCannotBeWrittenIsAFailure) {
  std::FILE* full = std::fopen("/dev/full", "w");
  if (!full) GTEST_SKIP() << "no /dev/full";
  plexa_test::scratch_dir dir;
  const result r = run({"demo", "-o", dir.path().c_str()}, full);
  std::fclose(full);
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "plexa: cannot write the output\n");
}

// Every element is positive (its smallest Jacobian determinant too), the
// boundary tables see the faces of its tetrahedra pointing out and those of
// its other elements pointing in (Newell's normal against the direction from
// the element's centre), and the elements meet on exactly eight whole faces:
// a face that is not matched, or met by three elements, is left unlinked by
// get_neighbors.
TEST(Cli, BuiltinMeshIsConformingAndPositive) {
  using namespace zeb::plexa;
  zeb::dense2D<double> xyz, dets;
  zeb::dense2D<unsigned> solids, faces, neighbors;
  ASSERT_TRUE(plexa_cli::builtin_mesh(xyz, solids));
  ASSERT_EQ(get_element_boundaries(solids, ELT_SOLID_MIX, faces), 0);
  ASSERT_EQ(get_neighbors(solids, ELT_SOLID_MIX, false, neighbors), 0);
  ASSERT_EQ(jacobians(xyz, solids, ELT_SOLID_MIX, dets), 0);

  unsigned f = 0;
  for (unsigned e = 0; e < solids.cols(); ++e) {
    EXPECT_GT(dets(0, e), 0.0) << "element " << e;
    const element_type kind = plexa_cli::element_kind(solids, ELT_SOLID_MIX, e);
    const unsigned n = nbr_nodes(kind);
    double centre[3] = {};
    for (unsigned k = 0; k < n; ++k)
      for (int i = 0; i < 3; ++i) centre[i] += xyz(i, solids(k, e)) / n;
    for (unsigned b = 0; b < nbr_boundaries(kind); ++b, ++f) {
      const unsigned m = faces(3, f) == plexa_test::NO ? 3 : 4;
      double mid[3] = {}, normal[3] = {}, outward = 0;
      for (unsigned k = 0; k < m; ++k) {
        const double *a = &xyz(0, faces(k, f)), *c = &xyz(0, faces((k + 1) % m, f));
        normal[0] += (a[1] - c[1]) * (a[2] + c[2]);
        normal[1] += (a[2] - c[2]) * (a[0] + c[0]);
        normal[2] += (a[0] - c[0]) * (a[1] + c[1]);
        for (int i = 0; i < 3; ++i) mid[i] += a[i] / m;
      }
      for (int i = 0; i < 3; ++i) outward += normal[i] * (mid[i] - centre[i]);
      if (kind == ELT_TETRA4)
        EXPECT_GT(outward, 0.0) << "element " << e << " face " << b;
      else
        EXPECT_LT(outward, 0.0) << "element " << e << " face " << b;
    }
  }
  EXPECT_EQ(f, faces.cols());
  unsigned links = 0;
  for (unsigned v : plexa_test::to_vector(neighbors)) links += v != plexa_test::NO;
  EXPECT_EQ(links, 2u * 8u);
}

}  // namespace
