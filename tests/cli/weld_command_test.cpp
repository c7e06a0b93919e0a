// `plexa weld` (cli/commands/weld.cpp) and STL through `plexa convert`
// (cli/mesh_formats.cpp): exact reports on soups with duplicate, degenerate,
// free and non-manifold parts, the files written, and the failures.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>

#include "support/files.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::result;
using plexa_cli_test::run;
using plexa_test::read_file;
using plexa_test::scratch_dir;

std::string facet(const char* a, const char* b, const char* c) {
  return std::string(" facet normal 0 0 0\n  outer loop\n   vertex ") + a + "\n   vertex " + b + "\n   vertex " + c +
         "\n  endloop\n endfacet\n";
}

void write_text(const std::string& path, const std::string& text) {
  std::FILE* f = std::fopen(path.c_str(), "w");
  ASSERT_NE(f, nullptr);
  std::fputs(text.c_str(), f);
  std::fclose(f);
}

// A tetrahedron's four faces; a triangle glued on one of its edges (three
// triangles there, and two free edges); a copy of a face, one vertex moved
// by less than the tolerance (welded onto the face: its three edges get a
// third triangle); a triangle whose first two vertices are closer than the
// tolerance (degenerate once welded, its third node then unused).
const std::string soup =
    "solid soup\n" + facet("0 0 0", "0 1 0", "1 0 0") + facet("0 0 0", "1 0 0", "0 0 1") +
    facet("0 0 0", "0 0 1", "0 1 0") + facet("1 0 0", "0 1 0", "0 0 1") + facet("0 0 0", "1 0 0", "0.5 -1 0") +
    facet("1 0 0", "0 1 0", "1e-9 1e-9 1") + facet("0 1 0", "0 1.00000001 0", "0 2 0") + "endsolid soup\n";

TEST(Weld, ReportsTheWeldAndTheEdges) {
  scratch_dir dir;
  const std::string in = dir.file("soup.stl"), out = dir.file("welded.vtk");
  write_text(in, soup);
  const result r = run({"weld", in.c_str(), out.c_str()});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, in + ": ASCII STL, 7 triangles\n"
                        "tolerance: 0.0353553 (0.05 x the smallest triangle height)\n"
                        "nodes: 21 read, 5 after welding\n"
                        "degenerate triangles removed: 1\n"
                        "triangles: 6\n"
                        "free edges: 2\n"
                        "non-manifold edges: 4\n"
                        "wrote " + out + " (VTK): 5 nodes, 6 elements\n");
  EXPECT_EQ(r.err, "");
  // The file holds what the library makes of the welded surface.
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> triangles;
  ASSERT_EQ(zeb::plexa::STL_input(in.c_str(), pos, triangles), 0);
  const std::string reference = dir.file("reference.vtk");
  ASSERT_EQ(zeb::plexa::vtk_output(reference.c_str(), pos, triangles, zeb::plexa::ELT_TRIA3), 0);
  EXPECT_EQ(read_file(out), read_file(reference));

  // Degenerate triangles only: nothing welded.
  write_text(in, "solid\n" + facet("0 0 0", "1 1 1", "2 2 2") + "endsolid\n");
  EXPECT_EQ(run({"weld", in.c_str(), out.c_str()}).out,
            in + ": ASCII STL, 1 triangles\n"
                 "tolerance: none (no triangle of positive height: the soup is kept as read)\n"
                 "nodes: 3 read, 3 after welding\n"
                 "degenerate triangles removed: 0\n"
                 "triangles: 1\n"
                 "free edges: 3\n"
                 "non-manifold edges: 0\n"
                 "wrote " + out + " (VTK): 3 nodes, 1 elements\n");
}

TEST(Weld, FailuresSayWhy) {
  scratch_dir dir;
  const std::string in = dir.file("bad.stl"), out = dir.file("out.vtk");
  write_text(in, "solid\n facet normal 0 0\nendsolid\n");
  result r = run({"weld", in.c_str(), out.c_str()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "plexa weld: cannot read '" + in + "': not an STL file (no \"solid\" line, and too short for a "
                                                      "binary header)\n");
  write_text(in, "solid\n facet normal 0 0\nendsolid\n" + std::string(100, ' '));
  r = run({"weld", in.c_str(), out.c_str()});
  EXPECT_EQ(r.err, "plexa weld: cannot read '" + in + "': malformed or truncated STL file\n");
  const std::string missing = dir.file("missing.stl");
  r = run({"weld", missing.c_str(), out.c_str()});
  EXPECT_EQ(r.err, "plexa weld: cannot read '" + missing + "': argument 1 (path): the file cannot be opened\n");
  EXPECT_FALSE(plexa_test::file_exists(out));
  write_text(in, soup);
  const std::string unwritable = dir.file("no-folder/out.vtk");
  r = run({"weld", in.c_str(), unwritable.c_str()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "plexa weld: cannot write '" + unwritable + "'\n");
}

// convert reads STL files (welded) and writes the faces of any mesh as
// binary STL: the built-in mesh gives the free boundary of its solids, 8
// triangles and 11 quadrilaterals cut in two, a closed surface.
TEST(Convert, ReadsAndWritesStl) {
  scratch_dir dir;
  const std::string in = dir.file("soup.stl"), out = dir.file("soup.mesh"), builtin = dir.file("builtin.stl");
  write_text(in, soup);
  result r = run({"convert", in.c_str(), "-o", out.c_str()});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + out + " (MEDIT): 5 nodes, 6 elements\n");

  r = run({"convert", "-o", builtin.c_str()});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + builtin + " (STL): 17 nodes, 7 elements\n");
  const std::string welded = dir.file("again.vtk");
  r = run({"weld", builtin.c_str(), welded.c_str()});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("binary STL, 30 triangles\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("nodes: 90 read, 17 after welding\n"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("free edges: 0\nnon-manifold edges: 0\n"), std::string::npos) << r.out;
}

}  // namespace
