// NASTRAN bulk data: exact bytes of small decks (nodes as GRID* cards,
// element cards of every type with their continuations, mixed blocks read
// column by column, element ids over all blocks), result codes in their
// order, the empty file a failed check leaves and the stream left open.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa/io/nastran.hpp>

#include "support/files.hpp"
#include "support/locale.hpp"
#include "support/support.hpp"

namespace {

using namespace zeb::plexa;
using namespace plexa_test;

const std::string banner =
    "$ ZEB Plexa(R) NASTRAN exporter\n"
    "BEGIN BULK\n"
    "$----------------------------------------\n"
    "$ Referenced Material Records -----------\n"
    "$ Material Record :    ------------------\n"
    "$ Description of Material :   -----------\n"
    "MAT1    1       0.                 0.  0.\n"
    "$----------------------------------------\n"
    "$                GRID POINTS            \n"
    "$----------------------------------------\n";
const std::string elements_banner =
    "$----------------------------------------\n"
    "$                 ELEMENTS              \n"
    "$----------------------------------------\n";

// A deck's element cards: all that follows the elements banner, "ENDDATA" included.
std::string cards_of(const std::string& deck) {
  const std::size_t k = deck.find(elements_banner);
  return k == std::string::npos ? "no cards in: " + deck : deck.substr(k + elements_banner.size());
}

dense2D<double> six_nodes() {
  return coordinates(3, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 1.5, -2.25, 1e-7, -0.1, 12345.678, -1e300});
}
const std::string six_grids =
    "GRID*                  1                    0.000000E+00    0.000000E+00*C\n"
    "*C          0.000000E+00\n"
    "GRID*                  2                    1.000000E+00    0.000000E+00*C\n"
    "*C          0.000000E+00\n"
    "GRID*                  3                    0.000000E+00    1.000000E+00*C\n"
    "*C          0.000000E+00\n"
    "GRID*                  4                    0.000000E+00    0.000000E+00*C\n"
    "*C          1.000000E+00\n"
    "GRID*                  5                    1.500000E+00   -2.250000E+00*C\n"
    "*C          1.000000E-07\n"
    "GRID*                  6                   -1.000000E-01    1.234568E+04*C\n"
    "*C        -1.000000E+300\n";

// An 8-row deck: a tetrahedron, a hexahedron (nodes past the node count are
// written: they are not bounded), mixed faces (rows past the fourth are not
// read), a 3-node edge, a node block (skipped), mixed solids.
struct small_deck {
  dense2D<unsigned> connect = connectivity(8, {0, 1, 2, 3, 99, 99, 99, 99,          // 1 ELT_TETRA4
                                               0, 1, 2, 3, 4, 5, 6, 7,              // 2 ELT_HEXA8
                                               0, 1, 2, NO, 99, 99, 99, 99,         // 3 ELT_FACE_MIX
                                               0, 1, 2, 3, NO, NO, NO, NO,          // 4
                                               5, 4, 3, NO, NO, NO, NO, NO,         // 5 ELT_EDGE3
                                               2, NO, NO, NO, NO, NO, NO, NO,       // 6 ELT_NODE
                                               0, 1, 3, 4, NO, NO, NO, NO,          // 7 ELT_SOLID_MIX
                                               0, 1, 2, 3, 6, NO, NO, NO,           // 8
                                               0, 1, 3, 4, 5, 7, NO, NO,            // 9
                                               7, 6, 5, 4, 3, 2, 1, 0});            // 10
  dense1D<unsigned, 8> ranges = ids({0, 1, 2, 4, 5, 6, 10});
  dense1D<int, 8> types = type_list({ELT_TETRA4, ELT_HEXA8, ELT_FACE_MIX, ELT_EDGE3, ELT_NODE, ELT_SOLID_MIX});
  dense1D<unsigned, 8> pids = ids({11, 12, 13, 14, 15, 16, 17, 18, 19, 20});
};
const std::string small_cards =
    "CTETRA,1,11,1,3,2,4\n"
    "CHEXA,2,12,1,2,3,4,5,6,+C\n+C,7,8\n"
    "CTRIA3,3,13,1,2,3\n"
    "CQUAD4,4,14,1,2,3,4\n"
    "CBAR,5,15,6,5\n"
    "CTETRA,7,17,1,4,2,5\n"
    "CPYRAM,8,18,1,2,3,4,7\n"
    "CPENTA,9,19,1,2,4,5,6,8\n"
    "CHEXA,10,20,8,7,6,5,4,3,+C\n+C,2,1\n"
    "ENDDATA\n";

TEST(NastranOutput, SmallDecksWriteExactly) {
  scratch_dir dir;
  const std::string path = dir.file("small.nas");
  const char* p = path.c_str();
  const small_deck deck;
  const std::string expected = banner + six_grids + elements_banner + small_cards;
  EXPECT_EQ(outcome(NASTRAN_output(p, six_nodes(), deck.connect, deck.ranges, deck.types, deck.pids), path), expected);
  // Through strided views, with a comma for decimal separator.
  {
    decimal_comma_locale comma;
    ASSERT_EQ(NASTRAN_output(p, strided(six_nodes()), strided(deck.connect), deck.ranges, deck.types, deck.pids), 0);
  }
  EXPECT_EQ(read_file(path), expected);

  // Planar nodes get z = 0; the two-block overload numbers the elements on
  // and gives the second block the property number 2.
  const dense2D<double> planar = coordinates(2, {0.5, -0.5, 2, 1e-5});
  EXPECT_EQ(outcome(NASTRAN_output(p, planar, connectivity(3, {0, 1, 1, 1, 0, 0}), connectivity(4, {1, 0, 1, 0}),
                                   ELT_TRIA3, ELT_QUAD4),
                    path),
            banner +
                "GRID*                  1                    5.000000E-01   -5.000000E-01*C\n"
                "*C          0.000000E+00\n"
                "GRID*                  2                    2.000000E+00    1.000000E-05*C\n"
                "*C          0.000000E+00\n" +
                elements_banner + "CTRIA3,1,1,1,2,2\nCTRIA3,2,1,2,1,1\nCQUAD4,3,2,2,1,2,1\nENDDATA\n");
  // One block, property number 1; no element at all.
  EXPECT_EQ(cards_of(outcome(NASTRAN_output(p, planar, connectivity(2, {1, 0, 0, 1}), ELT_EDGE2), path)),
            "CBAR,1,1,2,1\nCBAR,2,1,1,2\nENDDATA\n");
  EXPECT_EQ(outcome(NASTRAN_output(p, planar, dense2D<unsigned>(), ELT_TETRA4), path),
            banner + "GRID*                  1                    5.000000E-01   -5.000000E-01*C\n"
                     "*C          0.000000E+00\n"
                     "GRID*                  2                    2.000000E+00    1.000000E-05*C\n"
                     "*C          0.000000E+00\n" +
                elements_banner + "ENDDATA\n");
}

// Every element type with a card, one column each holding 0, 1, ..., 26 in
// a 27-row connectivity: the node orders and the continuation lines.
TEST(NastranOutput, NodeOrdersAndContinuationsOfEveryType) {
  scratch_dir dir;
  const std::string path = dir.file("orders.nas");
  const int types[] = {ELT_EDGE2, ELT_EDGE3,  ELT_TRIA3, ELT_QUAD4, ELT_TRIA6,   ELT_QUAD8,   ELT_QUAD9, ELT_TETRA4,
                       ELT_TETRA10, ELT_PYRA5, ELT_PYRA13, ELT_PYRA14, ELT_WEDGE6, ELT_WEDGE15, ELT_WEDGE18,
                       ELT_HEXA8, ELT_HEXA20, ELT_HEXA27};
  const unsigned n = sizeof types / sizeof types[0];
  dense2D<unsigned> connect(27, n);
  dense1D<unsigned, 8> ranges(n + 1), pids(n, 0u);
  dense1D<int, 8> block_types(n);
  for (unsigned j = 0; j < n; ++j) {
    for (unsigned i = 0; i < 27; ++i) connect(i, j) = i;
    ranges[j] = j;
    block_types[j] = types[j];
  }
  ranges[n] = n;
  EXPECT_EQ(cards_of(outcome(NASTRAN_output(path.c_str(), dense2D<double>(3, 27, 0.0), connect, ranges, block_types, pids),
                             path)),
            "CBAR,1,0,1,2\n"
            "CBAR,2,0,1,2\n"
            "CTRIA3,3,0,1,2,3\n"
            "CQUAD4,4,0,1,2,3,4\n"
            "CTRIA6,5,0,1,2,3,6,4,5\n"
            "CQUAD8,6,0,1,2,3,4,5,6,+C\n+C,7,8\n"
            "CQUAD8,7,0,1,2,3,4,5,6,+C\n+C,7,8\n"
            "CTETRA,8,0,1,3,2,4\n"
            "CTETRA,9,0,1,3,2,4,6,5,+C\n+C,7,8,10,9\n"
            "CPYRAM,10,0,1,2,3,4,5\n"
            "CPYRAM,11,0,1,2,3,4,5,6,+C\n+C,7,8,9,10,11,12,13\n"
            "CPYRAM,12,0,1,2,3,4,5,6,+C\n+C,7,8,9,10,11,12,13\n"
            "CPENTA,13,0,1,2,3,4,5,6\n"
            "CPENTA,14,0,1,2,3,4,5,6,+C\n+C,12,10,11,7,8,9,15,13,+C\n+C,14\n"
            "CPENTA,15,0,1,2,3,4,5,6,+C\n+C,12,10,11,7,8,9,15,13,+C\n+C,14\n"
            "CHEXA,16,0,1,2,3,4,5,6,+C\n+C,7,8\n"
            "CHEXA,17,0,1,2,3,4,5,6,+C\n+C,7,8,9,10,11,12,17,18,+C\n+C,19,20,13,14,15,16\n"
            "CHEXA,18,0,1,2,3,4,5,6,+C\n+C,7,8,9,10,11,12,17,18,+C\n+C,19,20,13,14,15,16\n"
            "ENDDATA\n");
}

TEST(NastranOutput, ResultCodesInTheirOrder) {
  scratch_dir dir;
  const std::string path = dir.file("codes.nas");
  const char* p = path.c_str();
  const small_deck d;
  const dense2D<double> pos = six_nodes(), line(1, 6, 0.0), four_d(4, 6, 0.0);
  const dense2D<unsigned> tria = connectivity(3, {0, 1, 2}), marker = connectivity(3, {0, 1, NO});
  std::FILE* f = std::fopen(path.c_str(), "w");
  ASSERT_NE(f, nullptr);
  const struct {
    int expected;
    int got;
  } cases[] = {
      {-1, NASTRAN_output(static_cast<std::FILE*>(nullptr), line, d.connect, ids({}), d.types, ids({}))},
      {-2, NASTRAN_output(f, line, d.connect, ids({}), d.types, ids({}))},  // -2 before -5
      {-2, NASTRAN_output(f, four_d, tria, ELT_TRIA3)},
      {-5, NASTRAN_output(f, pos, d.connect, ids({0, 10}), d.types, ids({}))},  // -5 before -6
      {-6, NASTRAN_output(f, pos, d.connect, d.ranges, d.types, ids({1}))},
      {-6, NASTRAN_output(f, pos, d.connect, ids({1, 0}), type_list({ELT_TETRA4}), ids({}))},  // -6 before -4
      {-4, NASTRAN_output(f, pos, d.connect, ids({1, 0}), type_list({ELT_TETRA4}), d.pids)},
      {-4, NASTRAN_output(f, pos, d.connect, ids({0, 11}), type_list({ELT_TETRA4}), d.pids)},
      {-4, NASTRAN_output(f, pos, d.connect, ids({0, 1, 99}), type_list({ELT_TETRA4, 99}), d.pids)},  // -4 before -3
      {-3, NASTRAN_output(f, pos, d.connect, ids({0, 1, 10}), type_list({99, ELT_TETRA4}), d.pids)},
      {-3, NASTRAN_output(f, pos, d.connect, ids({0, 10}), type_list({ELT_HEXA20}), d.pids)},  // too few rows
      {-3, NASTRAN_output(f, pos, marker, ELT_TRIA3)},  // the marker in a simple type
      {-3, NASTRAN_output(f, pos, tria, marker, ELT_TRIA3, ELT_TRIA3)},
      // A mixed solid block is read through up to 20 rows: 20 rows of 8-node solids are refused.
      {-3, NASTRAN_output(f, pos, connectivity(20, {0, 1, 2, 3, 4, 5, 6, 7, NO, NO, NO, NO, NO, NO, NO, NO, NO, NO, NO,
                                                    NO}),
                          ids({0, 1}), type_list({ELT_SOLID_MIX}), ids({1}))},
      {-3, NASTRAN_output(f, pos, d.connect, ELT_HEXA20)},  // the single-block form, too short
  };
  for (std::size_t k = 0; k < sizeof cases / sizeof cases[0]; ++k)
    EXPECT_EQ(cases[k].got, cases[k].expected) << "case " << k;
  // Nothing written by the failures; the stream stays open and usable.
  ASSERT_EQ(NASTRAN_output(f, pos, tria, ELT_TRIA3), 0);
  EXPECT_EQ(std::fputs("$ appended\n", f), 1);
  ASSERT_EQ(std::fclose(f), 0);
  EXPECT_EQ(read_file(path), banner + six_grids + elements_banner + "CTRIA3,1,1,1,2,3\nENDDATA\n$ appended\n");

  // A stream in error is refused.
  f = std::fopen(path.c_str(), "w");
  ASSERT_NE(f, nullptr);
  EXPECT_EQ(std::fgetc(f), EOF);  // reading a stream open for writing only
  EXPECT_EQ(NASTRAN_output(f, pos, tria, ELT_TRIA3), -1);
  std::fclose(f);
  EXPECT_EQ(read_file(path), "");

  // The path forms open the file first, leave it empty after a failed check
  // and close it on every path.
  const unsigned descriptors = open_descriptor_count();
  EXPECT_EQ(NASTRAN_output("/nonexistent-plexa-dir/x.nas", line, d.connect, ids({}), d.types, ids({})), -1);
  EXPECT_EQ(NASTRAN_output(static_cast<const char*>(nullptr), pos, tria, ELT_TRIA3), -1);
  EXPECT_EQ(NASTRAN_output(p, line, d.connect, d.ranges, d.types, d.pids), -2);
  EXPECT_EQ(NASTRAN_output(p, pos, tria, marker, ELT_TRIA3, ELT_TRIA3), -3);
  EXPECT_EQ(NASTRAN_output(p, pos, marker, ELT_TRIA3), -3);
  EXPECT_EQ(open_descriptor_count(), descriptors);
  bool exists = false;
  EXPECT_EQ(read_file(path, &exists), "");
  EXPECT_TRUE(exists);

  // Running out of memory in the convenience forms: -199, the file empty.
  EXPECT_GT(for_each_allocation_failure([&] { return NASTRAN_output(p, pos, tria, tria, ELT_TRIA3, ELT_TRIA3); },
                                        [&] { EXPECT_EQ(read_file(path), ""); }),
            0u);
  EXPECT_GT(for_each_allocation_failure([&] { return NASTRAN_output(p, pos, tria, ELT_TRIA3); },
                                        [&] { EXPECT_EQ(read_file(path), ""); }),
            0u);
  EXPECT_EQ(cards_of(read_file(path)), "CTRIA3,1,1,1,2,3\nENDDATA\n");
}

}  // namespace
