// The writers' write_options: with SHORTEST_DIGITS the MEDIT mesh and
// solution files and the OBJ files read back to the very doubles written
// (seeded random coordinates over many magnitudes); n digits write "%.<n-1>E";
// NASTRAN's large fields stay 16 characters wide and hold 10 or 11 digits.
#include <cmath>
#include <cstdlib>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include <zeb/plexa.hpp>

#include "support/files.hpp"
#include "support/support.hpp"

namespace {

using namespace zeb::plexa;
using plexa_test::read_file;
using plexa_test::scratch_dir;

zeb::dense2D<double> random_coordinates(unsigned n, unsigned seed) {
  auto gen = plexa_test::rng(seed);
  std::uniform_real_distribution<double> mantissa(-1, 1);
  std::uniform_int_distribution<int> exponent(-30, 30);
  zeb::dense2D<double> pos(3, n);
  for (unsigned j = 0; j < n; ++j)
    for (unsigned i = 0; i < 3; ++i) pos(i, j) = std::ldexp(mantissa(gen), exponent(gen));
  return pos;
}

TEST(WriteOptions, ShortestDigitsReadBackExactly) {
  scratch_dir dir;
  const zeb::dense2D<double> pos = random_coordinates(60, 5);
  zeb::dense2D<unsigned> tria(3, 20);
  for (unsigned j = 0; j < 20; ++j)
    for (unsigned i = 0; i < 3; ++i) tria(i, j) = 3 * j + i;
  const zeb::dense1D<unsigned, 8> ranges = plexa_test::ids({0, 20}), ids(20, 0u);
  const zeb::dense1D<int, 8> types = plexa_test::type_list({ELT_TRIA3});
  const write_options shortest{SHORTEST_DIGITS};
  const std::string mesh = dir.file("m.mesh"), obj = dir.file("m.obj"), sol = dir.file("m.sol");
  ASSERT_EQ(medit_output(mesh.c_str(), pos, tria, ranges, types, ids, shortest), 0);
  ASSERT_EQ(WavefrontOBJ_output(obj.c_str(), pos, tria, ranges, types, ids, shortest), 0);
  ASSERT_EQ(medit_solution_output(sol.c_str(), 3, pos, shortest), 0);

  zeb::dense2D<double> back;
  zeb::dense2D<unsigned> connect;
  zeb::dense1D<unsigned, 8> back_ranges, refs;
  zeb::dense1D<int, 8> back_types;
  unsigned dim;
  for (int file = 0; file < 3; ++file) {
    SCOPED_TRACE(file);
    if (file == 0) { ASSERT_EQ(medit_input(mesh.c_str(), back, connect, back_ranges, back_types, refs), 0); }
    if (file == 1) { ASSERT_EQ(WavefrontOBJ_input(obj.c_str(), back, connect, back_ranges, back_types, refs), 0); }
    if (file == 2) { ASSERT_EQ(medit_solution_input(sol.c_str(), dim, back), 0); }
    ASSERT_EQ(back.cols(), pos.cols());
    for (unsigned j = 0; j < pos.cols(); ++j)
      for (unsigned i = 0; i < 3; ++i) ASSERT_EQ(back(i, j), pos(i, j)) << i << " " << j;
  }
  // The default keeps "%E": 7 digits, not the same doubles.
  ASSERT_EQ(medit_output(mesh.c_str(), pos, tria, ranges, types, ids), 0);
  ASSERT_EQ(medit_input(mesh.c_str(), back, connect, back_ranges, back_types, refs), 0);
  EXPECT_NE(back(0, 0), pos(0, 0));
}

TEST(WriteOptions, DigitsAndFixedFields) {
  scratch_dir dir;
  const zeb::dense2D<double> pos = plexa_test::coordinates(3, {1.0 / 3, -2.0 / 3, 1e-300, 0, -0.5, 7e22});
  const zeb::dense2D<unsigned> edge = plexa_test::connectivity(2, {0, 1});
  const zeb::dense1D<unsigned, 8> ranges = plexa_test::ids({0, 1}), ids(1, 1u);
  const zeb::dense1D<int, 8> types = plexa_test::type_list({ELT_EDGE2});
  const std::string mesh = dir.file("m.mesh"), nas = dir.file("m.nas");
  ASSERT_EQ(medit_output(mesh.c_str(), pos, edge, ranges, types, ids, write_options{3}), 0);
  EXPECT_NE(read_file(mesh).find("Vertices\n2\n3.33E-01 -6.67E-01 1.00E-300 0\n0.00E+00 -5.00E-01 7.00E+22 0\n"),
            std::string::npos)
      << read_file(mesh);
  ASSERT_EQ(NASTRAN_output(nas.c_str(), pos, edge, ranges, types, ids, {SHORTEST_DIGITS}), 0);
  EXPECT_NE(read_file(nas).find("GRID*                  1                3.3333333333E-01-6.666666667E-01*C\n"
                                "*C               1.E-300\n"
                                "GRID*                  2                          0.E+00         -5.E-01*C\n"
                                "*C                7.E+22\n"),
            std::string::npos)
      << read_file(nas);
}

}  // namespace
