// `plexa info` and `plexa convert` on files: what info prints, exactly;
// files converted from format to format and back; solutions between the two
// layouts; the one-line failures of files that cannot be read or held.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/files.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::result;
using plexa_cli_test::run;
using plexa_test::data_file;
using plexa_test::read_file;
using plexa_test::scratch_dir;
using plexa_test::write_file;

TEST(InfoCommand, DescribesMeshesAndSolutionsExactly) {
  const std::string builtin_counts =
      "nodes: 17\nelements: 7\n  TETRA4: 2\n  PYRA5: 1\n  WEDGE6: 2\n  HEXA8: 2\n"
      "bounding box: [-0.5, 2.5] x [0, 1] x [0, 1.5]\n";
  result r = run({"info", "builtin"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "built-in mesh (built-in)\n" + builtin_counts + "blocks: 1\n  0: SOLID_MIX, 7 elements\n");

  // Written as MEDIT, read back: the kinds in blocks of their own, all with
  // the reference of the one block.
  scratch_dir dir;
  const std::string mesh = dir.file("b.mesh");
  ASSERT_EQ(run({"convert", "builtin", mesh.c_str()}).status, 0);
  r = run({"info", mesh.c_str()});
  EXPECT_EQ(r.out, mesh + " (MEDIT)\n" + builtin_counts +
                       "blocks: 4\n  0: TETRA4, 2 elements, ids 0\n  1: PYRA5, 1 element, ids 0\n"
                       "  2: WEDGE6, 2 elements, ids 0\n  3: HEXA8, 2 elements, ids 0\n");

  const std::string obj = data_file("index_forms.obj");
  r = run({"info", obj.c_str()});
  EXPECT_EQ(r.out, obj +
                       " (Wavefront OBJ)\nnodes: 6\nelements: 11\n  NODE: 2\n  EDGE2: 2\n  TRIA3: 6\n  QUAD4: 1\n"
                       "bounding box: [0, 2] x [0, 1] x [0, 0]\nblocks: 4\n  0: FACE_MIX, 6 elements, ids 0-2\n"
                       "  1: EDGE2, 2 elements, ids 0\n  2: NODE, 2 elements, ids 0\n  3: FACE_MIX, 1 element, ids 1\n"
                       "names:\n  0: (none)\n  1: side walls\n  2: cap\n");

  const std::string sol = data_file("two_fields.sol");
  r = run({"info", sol.c_str()});
  EXPECT_EQ(r.out, sol + " (MEDIT solution)\ndimension: 2\nnodes: 3\nvalues per node: 3 (symmetric tensor)\n"
                         "  row 0: [-1, 2.5]\n  row 1: [0, 1]\n  row 2: [0, 2]\n");
  EXPECT_EQ(r.err, "");
}

TEST(ConvertFiles, MeshesAndSolutionsGoFromFormatToFormatAndBack) {
  scratch_dir dir;
  const std::string a = dir.file("a.mesh"), b = dir.file("b.mesh"), obj = dir.file("c.obj"),
                    obj2 = dir.file("d.obj"), stl = dir.file("e.stl"), stl2 = dir.file("f.stl");
  // MEDIT to MEDIT: the same bytes; references survive a trip through OBJ
  // as groups.
  ASSERT_EQ(run({"convert", "builtin", a.c_str()}).status, 0);
  result r = run({"convert", a.c_str(), b.c_str()});
  EXPECT_EQ(r.out, "wrote " + b + " (MEDIT): 17 nodes, 7 elements\n");
  EXPECT_EQ(read_file(b), read_file(a));

  // OBJ to OBJ keeps the groups and their names.
  r = run({"convert", data_file("index_forms.obj").c_str(), obj.c_str()});
  EXPECT_EQ(r.out, "wrote " + obj + " (Wavefront OBJ): 6 nodes, 11 elements\n");
  ASSERT_EQ(run({"convert", obj.c_str(), "-o", obj2.c_str()}).status, 0);
  EXPECT_EQ(read_file(obj2), read_file(obj));
  EXPECT_NE(read_file(obj).find("g side walls\nf 1 2 3 4\n"), std::string::npos);

  // Triangles: OBJ to STL to STL.
  ASSERT_TRUE(write_file(obj, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 1\nf 1 2 3\nf 2 4 3\n"));
  ASSERT_EQ(run({"convert", obj.c_str(), stl.c_str()}).status, 0);
  r = run({"convert", stl.c_str(), stl2.c_str()});
  EXPECT_EQ(r.out, "wrote " + stl2 + " (STL): 4 nodes, 2 elements\n");
  EXPECT_EQ(read_file(stl2), read_file(stl));

  // Solutions: keyword layout to header layout and back.
  const std::string demo = dir.file("demo"), bb = dir.file("d.bb"), sol = dir.file("d.sol");
  ASSERT_EQ(run({"demo", "-o", demo.c_str()}).status, 0);
  r = run({"convert", (demo + "/demo.sol").c_str(), bb.c_str()});
  EXPECT_EQ(r.out, "wrote " + bb + " (MEDIT solution, header layout): 17 nodes, 1 values per node\n");
  EXPECT_EQ(read_file(bb).substr(0, 9), "3 1 17 2\n");
  ASSERT_EQ(run({"convert", bb.c_str(), sol.c_str()}).status, 0);
  EXPECT_EQ(read_file(sol), read_file(demo + "/demo.sol"));
}

TEST(ConvertFiles, UnreadableFilesFailWithOneLine) {
  scratch_dir dir;
  const std::string bad = dir.file("bad.mesh"), out = dir.file("out.vtk"), sol = dir.file("bad.sol");
  ASSERT_TRUE(write_file(bad, "MeshVersionFormatted 1\nDimension 3\nVertices 2\n0 0 0 0\n"));
  ASSERT_TRUE(write_file(sol, "MeshVersionFormatted 1\nDimension 3\nSolAtTriangles 1 1 1 1\n"));
  const struct {
    std::vector<const char*> args;
    std::string err;
  } cases[] = {
      {{"convert", bad.c_str(), out.c_str()}, "cannot read '" + bad + "': the file is truncated or malformed"},
      {{"info", bad.c_str()}, "cannot read '" + bad + "': the file is truncated or malformed"},
      {{"info", sol.c_str()},
       "cannot read '" + sol +
           "': values at elements, a keyword, field kind, version or dimension that the reader does not read, or "
           "no solution at vertices"},
      {{"info", "missing.obj"}, "cannot read 'missing.obj': argument 1 (path): the file cannot be opened or read"},
  };
  for (const auto& c : cases) {
    const result r = run(c.args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, "plexa " + std::string(c.args[0]) + ": " + c.err + "\n");
  }
  EXPECT_FALSE(plexa_test::file_exists(out));
}

}  // namespace
