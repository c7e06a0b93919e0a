// `plexa convert` with --scale, --translate and --rotate: the file written
// equals the built-in mesh moved by the library's transforms in the order
// given, and bad values are usage errors.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>

#include "builtin_mesh.hpp"
#include "support/files.hpp"
#include "tool_runner.hpp"

namespace {

using plexa_cli_test::run;
using V2 = zeb::vector_fixed<double, 2>;
using V3 = zeb::vector_fixed<double, 3>;

// The built-in mesh, moved by `move`, as a MEDIT file.
template <class Move>
std::string expected_file(const std::string& path, Move move) {
  zeb::dense2D<double> coords;
  zeb::dense2D<unsigned> solids;
  EXPECT_TRUE(plexa_cli::builtin_mesh(coords, solids));
  move(coords);
  zeb::dense1D<int, 8> types(1, int(zeb::plexa::ELT_SOLID_MIX));
  EXPECT_EQ(zeb::plexa::medit_output(path.c_str(), coords, &solids, &solids + 1, types, {zeb::plexa::SHORTEST_DIGITS}),
            0);
  return plexa_test::read_file(path);
}

}  // namespace

TEST(ConvertTransforms, AppliesTheTransformsInTheOrderGiven) {
  plexa_test::scratch_dir dir;
  const std::string out = dir.file("moved.mesh"), ref = dir.file("ref.mesh");
  const double deg = M_PI / 180;
  const auto r = run({"convert", "--translate", "1,-2.5,+3", "-o", out.c_str(), "--scale", "2", "--rotate",
                      "0,30,40", "--rotate", "-90"});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string want = expected_file(ref, [&](zeb::dense2D<double>& c) {
    zeb::plexa::translate(c, V3(1, -2.5, 3));
    zeb::plexa::zoom(c, V3(0, 0, 0), 2.0);
    zeb::plexa::rotate(c, V3(0, 0, 0), V3(0, 30 * deg, 40 * deg));
    // A quarter turn is exact: (x, y) becomes (y, -x).
    for (unsigned j = 0; j < c.cols(); ++j) {
      const double x = c(0, j);
      c(0, j) = c(1, j), c(1, j) = x == 0 ? 0.0 : -x;
    }
  });
  EXPECT_EQ(plexa_test::read_file(out), want);
  const std::string unmoved = expected_file(ref, [](zeb::dense2D<double>&) {});
  EXPECT_NE(want, unmoved);

  // Scaling before translating is another mesh.
  ASSERT_EQ(run({"convert", "-o", out.c_str(), "--scale", "2", "--translate", "1,-2.5,3"}).status, 0);
  EXPECT_EQ(plexa_test::read_file(out), expected_file(ref, [](zeb::dense2D<double>& c) {
              zeb::plexa::zoom(c, V3(0, 0, 0), 2.0);
              zeb::plexa::translate(c, V3(1, -2.5, 3));
            }));
}

TEST(ConvertTransforms, MalformedValuesAreUsageErrors) {
  const std::vector<std::vector<const char*>> bad = {
      {"--scale", "0"},        {"--scale", "1,2"},     {"--scale", "nan"},     {"--translate", "1"},
      {"--translate", "1,2,"}, {"--translate", "1;2"}, {"--rotate", "1,2"},    {"--rotate", "1,2,3,4"},
      {"--rotate", "1e999"},   {"--rotate", ""},       {"--translate", "1,x"}, {"--scale", "2 "}};
  for (const auto& b : bad) {
    const auto r = run({"convert", "-o", "x.mesh", b[0], b[1]});
    EXPECT_EQ(r.status, 2) << b[0] << " " << b[1];
    EXPECT_EQ(r.err, std::string("plexa convert: invalid value '") + b[1] + "' of '" + b[0] +
                         "' (see 'plexa help convert')\n");
  }
  EXPECT_EQ(run({"convert", "-o", "x.mesh", "--rotate"}).err,
            "plexa convert: missing value after '--rotate' (see 'plexa help convert')\n");
  std::vector<const char*> many = {"convert", "-o", "x.mesh"};
  for (int k = 0; k < 17; ++k) many.insert(many.end(), {"--scale", "2"});
  EXPECT_EQ(run(many).status, 2);
}

// Quarter turns move coordinates exactly, about z or a coordinate axis, in
// the plane or in space; other angles go through the library's rotation.
TEST(ConvertTransforms, QuarterTurnsAreExact) {
  plexa_test::scratch_dir dir;
  const std::string out = dir.file("turned.mesh"), ref = dir.file("ref.mesh");
  const struct {
    const char* value;
    unsigned a, b;  // the plane turned, from a towards b
    int turns;
  } cases[] = {{"90", 0, 1, 1}, {"-90", 0, 1, 3}, {"450", 0, 1, 1}, {"180", 0, 1, 2},
               {"0,0,270", 0, 1, 3}, {"90,0,0", 1, 2, 1}, {"0,-90,0", 2, 0, 3}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.value);
    ASSERT_EQ(run({"convert", "-o", out.c_str(), "--rotate", c.value}).status, 0);
    EXPECT_EQ(plexa_test::read_file(out), expected_file(ref, [&](zeb::dense2D<double>& m) {
                for (unsigned j = 0; j < m.cols(); ++j)
                  for (int k = 0; k < c.turns; ++k) {
                    const double x = m(c.a, j);
                    m(c.a, j) = m(c.b, j) == 0 ? 0.0 : -m(c.b, j), m(c.b, j) = x;
                  }
              }));
  }
  // 30 degrees: the library's rotation, zeros not kept.
  ASSERT_EQ(run({"convert", "-o", out.c_str(), "--rotate", "30"}).status, 0);
  EXPECT_EQ(plexa_test::read_file(out), expected_file(ref, [](zeb::dense2D<double>& m) {
              zeb::plexa::rotate(m, V2(0, 0), 30 * M_PI / 180);
            }));
}

TEST(ConvertTransforms, MirroringSaysSo) {
  plexa_test::scratch_dir dir;
  const std::string out = dir.file("m.mesh");
  const std::string warning =
      "plexa convert: warning: the transforms mirror the mesh (a negative scale in 3-D): its elements are now "
      "inside out\n";
  auto r = run({"convert", "-o", out.c_str(), "--scale", "-1"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, warning);
  r = run({"convert", "-o", out.c_str(), "--scale=-1", "--scale", "-2"});  // mirrored twice: not mirrored
  EXPECT_EQ(r.err, "");
  const std::string flat = dir.file("flat.mesh");
  ASSERT_TRUE(plexa_test::write_file(
      flat, "MeshVersionFormatted 1\nDimension 2\nVertices\n3\n0 0 0\n1 0 0\n0 1 0\nTriangles\n1\n1 2 3 0\nEnd\n"));
  r = run({"convert", flat.c_str(), "-o", out.c_str(), "--scale", "-1"});  // a half turn in 2-D
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
}
