// `plexa check`: its exact reports (text and JSON) on meshes with every kind
// of defect, the figures against the library's own answers, and the exit
// statuses.
#include <string>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>

#include "support/files.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::result;
using plexa_cli_test::run;
using plexa_test::scratch_dir;
using plexa_test::write_file;
using namespace zeb::plexa;

// Six tetrahedra: three on the face (0 1 2) (a non-manifold face), one
// inverted (element 3) with a neighbour whose first node lies 1e-9 from
// node 6 (element 4), one flat (element 5, degenerate); node 11 unused, and
// nodes 12, 17 and 18 unused copies of node 0.
const char* const defects_mesh =
    "MeshVersionFormatted 1\nDimension 3\nVertices\n19\n"
    "0 0 0 0\n1 0 0 0\n0 1 0 0\n0 0 1 0\n0 0 -1 0\n0.3 0.3 0.5 0\n5 0 0 0\n6 0 0 0\n5 1 0 0\n5 0 1 0\n"
    "5.000000001 0 0 0\n9 9 9 0\n0 0 0 0\n0 5 0 0\n1 5 0 0\n0 6 0 0\n1 6 0 0\n0 0 0 0\n0 0 0 0\n"
    "Tetrahedra\n6\n1 2 3 4 1\n1 3 2 5 1\n1 2 3 6 1\n7 9 8 10 2\n11 8 9 10 2\n14 15 16 17 3\nEnd\n";

TEST(CheckCommand, ReportsEveryDefectWithItsFirstOffenders) {
  scratch_dir dir;
  const std::string path = dir.file("defects.mesh");
  ASSERT_TRUE(write_file(path, defects_mesh));
  result r = run({"check", path.c_str()});
  EXPECT_EQ(r.status, 3);
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, path + ": 19 nodes, 6 elements\n"
                          "node indices out of range: 0\n"
                          "unused nodes: 4\n"
                          "  first: 11, 12, 17, 18\n"
                          "nodes closer than 0: 3\n"
                          "  first: 12 to 0, 17 to 0, 18 to 0\n"
                          "degenerate elements: 1\n"
                          "  first: block 0 element 5 (TETRA4)\n"
                          "inverted elements: 1\n"
                          "  first: block 0 element 3 (TETRA4)\n"
                          "non-manifold faces: 1\n"
                          "  first: (2 1 0)\n"
                          "free boundary faces: 19\n"
                          "  first: (1 2 3), (2 0 3), (0 1 3), (2 1 4), (1 0 4)\n"
                          "connected parts: 3\n"
                          "sub-domains: 3\n"
                          "defects found: 10\n");
  r = run({"check", path.c_str(), "--json"});
  EXPECT_EQ(r.status, 3);
  EXPECT_EQ(r.out,
            "{\"mesh\": \"" + path +
                "\", \"nodes\": 19, \"elements\": 6, \"tolerance\": 0, \"out_of_range\": {\"count\": 0, \"first\": "
                "[]}, \"complete\": true, \"unused_nodes\": {\"count\": 4, \"first\": [11, 12, 17, 18]}, "
                "\"close_nodes\": {\"count\": 3, \"first\": [[12, 0], [17, 0], [18, 0]]}, \"degenerate\": "
                "{\"count\": 1, \"first\": [{\"block\": 0, \"element\": 5, \"type\": \"TETRA4\"}]}, \"inverted\": "
                "{\"count\": 1, \"first\": [{\"block\": 0, \"element\": 3, \"type\": \"TETRA4\"}]}, \"boundary\": "
                "\"faces\", \"non_manifold\": {\"count\": 1, \"first\": [[2, 1, 0]]}, \"free_boundaries\": "
                "{\"count\": 19, \"first\": [[1, 2, 3], [2, 0, 3], [0, 1, 3], [2, 1, 4], [1, 0, 4]]}, \"parts\": "
                "3, \"subdomains\": 3, \"defects\": 10}\n");

  // A tolerance finds the node 1e-9 away as well.
  r = run({"check", path.c_str(), "--tolerance=1e-6"});
  EXPECT_NE(r.out.find("nodes closer than 1e-06: 4\n  first: 10 to 6, 12 to 0, 17 to 0, 18 to 0\n"),
            std::string::npos)
      << r.out;
}

// The figures are the library's: merge, the element qualities and
// Jacobians, the free boundaries.
TEST(CheckCommand, FiguresAreTheLibrarys) {
  scratch_dir dir;
  const std::string path = dir.file("defects.mesh");
  ASSERT_TRUE(write_file(path, defects_mesh));
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect, neighbors, free;
  zeb::dense1D<unsigned, 8> ranges, refs, all, merged;
  zeb::dense1D<int, 8> types;
  ASSERT_EQ(medit_input(path.c_str(), pos, connect, ranges, types, refs), 0);
  ASSERT_TRUE(all.resize(pos.cols()));
  for (unsigned v = 0; v < pos.cols(); ++v) all[v] = v;
  const std::string out = run({"check", path.c_str(), "-t", "1e-6"}).out;
  const int close = merge(pos, all, merged, 1e-6);
  EXPECT_NE(out.find("nodes closer than 1e-06: " + std::to_string(close) + "\n"), std::string::npos);

  zeb::dense1D<double, 8> qualities;
  zeb::dense2D<double> dets;
  ASSERT_EQ(shape_qualities(pos, connect, ELT_TETRA4, qualities), 0);
  ASSERT_EQ(jacobians(pos, connect, ELT_TETRA4, dets), 0);
  unsigned inverted = 0, degenerate = 0;
  for (unsigned e = 0; e < connect.cols(); ++e) {
    if (qualities[e] < 0 || dets(0, e) < 0)
      ++inverted;
    else if (qualities[e] == 0 || dets(0, e) == 0)
      ++degenerate;
  }
  EXPECT_NE(out.find("degenerate elements: " + std::to_string(degenerate) + "\n"), std::string::npos);
  EXPECT_NE(out.find("inverted elements: " + std::to_string(inverted) + "\n"), std::string::npos);

  ASSERT_EQ(get_neighbors(connect, ELT_TETRA4, true, neighbors), 0);
  ASSERT_EQ(get_mesh_boundaries(connect, neighbors, ELT_TETRA4, free), 0);
  EXPECT_NE(out.find("free boundary faces: " + std::to_string(free.cols()) + "\n"), std::string::npos);
}

TEST(CheckCommand, SurfacesAndSoundMeshes) {
  scratch_dir dir;
  // Three triangles on the edge (0 1).
  const std::string fan = dir.file("fan.obj");
  ASSERT_TRUE(write_file(fan, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 -1 0\nv 0 0 1\nf 1 2 3\nf 2 1 4\nf 1 2 5\n"));
  result r = run({"check", fan.c_str()});
  EXPECT_EQ(r.status, 3);
  EXPECT_NE(r.out.find("non-manifold edges: 1\n  first: (0 1)\nfree boundary edges: 6\n"), std::string::npos)
      << r.out;
  EXPECT_NE(run({"check", fan.c_str(), "--json"}).out.find("\"boundary\": \"edges\""), std::string::npos);

  r = run({"check"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "built-in mesh: 17 nodes, 7 elements\n"
                   "node indices out of range: 0\n"
                   "unused nodes: 0\n"
                   "nodes closer than 0: 0\n"
                   "degenerate elements: 0\n"
                   "inverted elements: 0\n"
                   "non-manifold faces: 0\n"
                   "free boundary faces: 19\n"
                   "  first: (0 3 9 6), (0 6 7 1), (3 4 10 9), (0 1 4 3), (1 7 8 2)\n"
                   "connected parts: 1\n"
                   "sub-domains: 1\n"
                   "no defects found\n");
  EXPECT_EQ(run({"check", "--json"}).status, 0);
}

TEST(CheckCommand, FilesThatCannotBeReadFail) {
  scratch_dir dir;
  const std::string missing = dir.file("missing.mesh"), bad = dir.file("bad.mesh");
  result r = run({"check", missing.c_str()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err.rfind("plexa check: cannot read '" + missing + "': ", 0), 0u) << r.err;
  ASSERT_TRUE(write_file(bad, "MeshVersionFormatted 1\nDimension 3\nVertices 2\n0 0 0 0\n"));
  r = run({"check", bad.c_str(), "--json"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "plexa check: cannot read '" + bad + "': the file is truncated or malformed\n");
}

}  // namespace
