// `plexa convert --quality` and `--digits`, and the demo's failures: the VTK
// cell data holds the library's measures in the writer's cell order, the
// digits reach the writers, and a demo that cannot write prints only why.
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>

#include "builtin_mesh.hpp"
#include "mesh_quality.hpp"
#include "support/files.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::result;
using plexa_cli_test::run;
using plexa_test::read_file;
using plexa_test::scratch_dir;
using namespace zeb::plexa;

// The values of the cell array `name` of a legacy VTK file.
std::vector<double> cell_array(const std::string& file, const std::string& name) {
  const std::size_t at = file.find("SCALARS " + name + " double 1\nLOOKUP_TABLE default\n");
  std::vector<double> values;
  if (at == std::string::npos) return values;
  std::istringstream in(file.substr(file.find("default\n", at) + 8));
  std::string line;
  while (std::getline(in, line) && !line.empty() && line.rfind("SCALARS", 0) != 0)
    values.push_back(std::strtod(line.c_str(), nullptr));
  return values;
}

// The built-in mesh's cells come out split by kind (hexahedra, wedges,
// pyramid, tetrahedra); each carries the library's shape quality and
// scaled Jacobian of its element.
TEST(ConvertQuality, CellDataHoldsTheLibrarysMeasures) {
  scratch_dir dir;
  const std::string out = dir.file("q.vtk");
  result r = run({"convert", "builtin", out.c_str(), "--quality"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "wrote " + out + " (VTK): 17 nodes, 7 elements, cell data shape_quality and scaled_jacobian\n");
  const std::string file = read_file(out);
  EXPECT_NE(file.find("\nCELL_TYPES 7\n12\n12\n13\n13\n14\n10\n10\n\nCELL_DATA 7\n"), std::string::npos) << file;

  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> solids;
  ASSERT_TRUE(plexa_cli::builtin_mesh(pos, solids));
  const struct {
    unsigned first, count, rows;
    element_type type;
  } kinds[] = {{0, 2, 8, ELT_HEXA8}, {2, 2, 6, ELT_WEDGE6}, {4, 1, 5, ELT_PYRA5}, {5, 2, 4, ELT_TETRA4}};
  std::vector<double> qualities, jacobians;
  for (const auto& k : kinds) {
    zeb::dense1D<double, 8> q;
    zeb::dense2D<double> dets;
    const zeb::dense2D<unsigned> block = solids.sub_matrix(0, k.first, k.rows, k.count);
    ASSERT_EQ(shape_qualities(pos, block, k.type, q), 0);
    ASSERT_EQ(zeb::plexa::jacobians(pos, block, k.type, dets), 0);
    for (unsigned j = 0; j < k.count; ++j) {
      qualities.push_back(q[j]);
      jacobians.push_back(plexa_cli::scaled_jacobian(dets(0, j), dets(1, j)));
    }
  }
  EXPECT_EQ(cell_array(file, "shape_quality"), qualities);
  EXPECT_EQ(cell_array(file, "scaled_jacobian"), jacobians);

  // Edges have no shape: 1.
  const std::string obj = dir.file("e.obj"), edges = dir.file("e.vtk");
  ASSERT_TRUE(plexa_test::write_file(obj, "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 3 2\nl 2 4\n"));
  ASSERT_EQ(run({"convert", obj.c_str(), edges.c_str(), "--quality"}).status, 0);
  const std::vector<double> q = cell_array(read_file(edges), "shape_quality");
  ASSERT_EQ(q.size(), 2u);
  EXPECT_GT(q[0], 0.8);  // a triangle in space has no orientation
  EXPECT_EQ(q[1], 1);

  // An unwritable VTK file: the reason, and no report.
  const std::string unwritable = dir.file("none/q.vtk");
  r = run({"convert", "builtin", unwritable.c_str(), "--quality"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "plexa convert: cannot write '" + unwritable + "': No such file or directory\n");
}

TEST(ConvertDigits, DigitsReachTheWriters) {
  scratch_dir dir;
  zeb::dense2D<double> pos;
  zeb::dense2D<unsigned> solids;
  ASSERT_TRUE(plexa_cli::builtin_mesh(pos, solids));
  const zeb::dense1D<int, 8> mixed(1, int(ELT_SOLID_MIX));
  const std::string out = dir.file("d.mesh"), ref = dir.file("ref.mesh");
  for (int digits : {0, 3, 17}) {
    SCOPED_TRACE(digits);
    const std::string value = std::to_string(digits);
    ASSERT_EQ(run({"convert", "-o", out.c_str(), "--digits", value.c_str(), "--rotate", "30"}).status, 0);
    zeb::dense2D<double> turned;
    ASSERT_TRUE(turned.copy(pos));
    ASSERT_EQ(rotate(turned, zeb::vector_fixed<double, 2>(0, 0), 30 * M_PI / 180), int(pos.cols()));
    ASSERT_EQ(medit_output(ref.c_str(), turned, &solids, &solids + 1, mixed, {digits}), 0);
    EXPECT_EQ(read_file(out), read_file(ref));
  }
  EXPECT_NE(read_file(out).find("\n8.66025403784438"), std::string::npos) << read_file(out);
}

TEST(DemoFailures, NothingButTheReasonWhenFilesCannotBeWritten) {
  scratch_dir dir;
  const std::string file = dir.file("plain");
  ASSERT_TRUE(plexa_test::write_file(file, ""));
  const result r = run({"demo", "--output-dir", (file + "/sub").c_str()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "plexa demo: cannot create the output folder '" + file + "/sub': Not a directory\n");
}

}  // namespace
