// --json of info, quality and weld: one line holding one object, keys in
// their documented order, figures equal to the text report's and to the
// library's own answers.  (check and sizemap: their own tests; the system
// Python's json module parses every command's output in json_check.py.)
#include <string>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>

#include "format.hpp"
#include "support/files.hpp"
#include "support/support.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::result;
using plexa_cli_test::run;
using plexa_test::scratch_dir;
using plexa_test::write_file;

TEST(JsonOutput, InfoOfMeshesAndSolutions) {
  result r = run({"info", "--json"});
  EXPECT_EQ(r.status, 2);  // a file is still needed
  r = run({"info", "builtin", "--json"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out,
            "{\"file\": \"built-in mesh\", \"format\": \"built-in\", \"dimension\": 3, \"nodes\": 17, \"elements\": "
            "7, \"kinds\": {\"TETRA4\": 2, \"PYRA5\": 1, \"WEDGE6\": 2, \"HEXA8\": 2}, \"bounding_box\": {\"min\": "
            "[-0.5, 0, 0], \"max\": [2.5, 1, 1.5]}, \"blocks\": [{\"type\": \"SOLID_MIX\", \"elements\": 7, "
            "\"ids\": []}], \"names\": []}\n");

  scratch_dir dir;
  const std::string obj = dir.file("g.obj"), sol = dir.file("v.sol");
  ASSERT_TRUE(write_file(obj, "v 0 0 0\nv 1 0 0\nv 0 1 0\ng \"quoted\" side\nf 1 2 3\ng top\nl 1 2\n"));
  r = run({"info", obj.c_str(), "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\"blocks\": [{\"type\": \"FACE_MIX\", \"elements\": 1, \"ids\": [[0, 0]]}, {\"type\": "
                       "\"EDGE2\", \"elements\": 1, \"ids\": [[1, 1]]}], \"names\": [\"\\\"quoted\\\" side\", "
                       "\"top\"]}\n"),
            std::string::npos)
      << r.out;

  const zeb::dense2D<double> values = plexa_test::coordinates(2, {0.1, -3, 1e-300, 2});
  ASSERT_EQ(zeb::plexa::medit_solution_output(sol.c_str(), 2, values, {zeb::plexa::SHORTEST_DIGITS}), 0);
  r = run({"info", "--json", sol.c_str()});
  EXPECT_EQ(r.out, "{\"file\": \"" + sol +
                       "\", \"format\": \"MEDIT solution\", \"dimension\": 2, \"nodes\": 2, \"values_per_node\": 2, "
                       "\"kind\": \"vector\", \"ranges\": [[1e-300, 0.1], [-3, 2]]}\n");
}

TEST(JsonOutput, QualityFiguresAreTheLibrarys) {
  using namespace zeb::plexa;
  scratch_dir dir;
  // Two triangles, the second one flat, and an edge.
  const std::string path = dir.file("q.obj");
  ASSERT_TRUE(write_file(path, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 2 0 0\nf 1 2 3\nf 1 2 4\nl 1 3\n"));
  const result r = run({"quality", path.c_str(), "--json", "--worst=1"});
  ASSERT_EQ(r.status, 0) << r.err;
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> ranges, groups;
  zeb::dense1D<int, 8> types;
  ASSERT_EQ(WavefrontOBJ_input(path.c_str(), pos, connect, ranges, types, groups), 0);
  zeb::dense1D<double, 8> qualities;
  ASSERT_EQ(shape_qualities(pos, connect.sub_matrix(0, 0, 3, 2), ELT_TRIA3, qualities), 0);
  const std::string best = plexa_cli::format_number(qualities[0]).text;
  EXPECT_NE(r.out.find("\"measured\": 2, \"unmeasured\": 1, \"shape_quality\": {\"count\": 2, \"nan\": 0, \"min\": 0, "
                       "\"max\": " + best),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("\"worst\": [{\"block\": 0, \"element\": 1, \"type\": \"TRIA3\", \"quality\": 0, "),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("\"inverted\": 0, \"degenerate\": 1}\n"), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find('\n'), r.out.size() - 1);
}

TEST(JsonOutput, WeldWritesItsFileThenReports) {
  scratch_dir dir;
  const std::string in = dir.file("t.stl"), out = dir.file("t.mesh");
  ASSERT_TRUE(write_file(in, "solid t\n facet normal 0 0 0\n  outer loop\n   vertex 0 0 0\n   vertex 1 0 0\n"
                             "   vertex 0 1 0\n  endloop\n endfacet\nendsolid t\n"));
  result r = run({"weld", in.c_str(), out.c_str(), "--json"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "{\"input\": \"" + in +
                       "\", \"variant\": \"ASCII\", \"triangles_read\": 1, \"tolerance\": 0.03535533905932738, "
                       "\"nodes_read\": 3, \"nodes\": 3, \"degenerate_removed\": 0, \"triangles\": 1, "
                       "\"free_edges\": 3, \"non_manifold_edges\": 0, \"output\": \"" +
                       out + "\", \"output_format\": \"MEDIT\"}\n");
  EXPECT_TRUE(plexa_test::file_exists(out));
  // A file that cannot be written: the reason, and no JSON.
  const std::string unwritable = dir.file("none/t.mesh");
  r = run({"weld", in.c_str(), unwritable.c_str(), "--json"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "plexa weld: cannot write '" + unwritable + "': No such file or directory\n");
}

}  // namespace
