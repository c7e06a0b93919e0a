// Reading NASTRAN bulk data: decks written by NASTRAN_output read back to
// the same mesh and write again to the same bytes; hand-written decks of
// every field form, continuation style, number form and coordinate system;
// the node counts of each card; result codes in their order; truncated and
// corrupted decks; memory failures.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa/io/nastran.hpp>

#include "support/files.hpp"
#include "support/locale.hpp"
#include "support/meshes.hpp"
#include "support/read_mesh.hpp"
#include "support/support.hpp"

namespace {

using namespace zeb::plexa;
using namespace plexa_test;

int read(const std::string& path, read_mesh& r) {
  return NASTRAN_input(path.c_str(), r.pos, r.connect, r.ranges, r.types, r.ids, r.node_ids, r.element_ids);
}

int read_text(const std::string& text, read_mesh& r) {
  return plexa_test::read_text(static_cast<stream_reader>(NASTRAN_input), text, r);
}

int code_of(const std::string& text) { return plexa_test::code_of(static_cast<stream_reader>(NASTRAN_input), text); }

// The element type a card of the deck holds for a column of `type`, and the
// rows it keeps: the quadratic types without a card of their own lose their
// last nodes.
element_type as_written(element_type type) {
  switch (type) {
    case ELT_EDGE3: return ELT_EDGE2;
    case ELT_QUAD9: return ELT_QUAD8;
    case ELT_PYRA14: return ELT_PYRA13;
    case ELT_WEDGE18: return ELT_WEDGE15;
    case ELT_HEXA27: return ELT_HEXA20;
    default: return type;
  }
}

TEST(NastranInput, WriterDecksReadBackToTheSameMeshAndBytes) {
  scratch_dir dir;
  for (unsigned seed = 0; seed < 6; ++seed) {
    SCOPED_TRACE(seed);
    const std::string first = dir.file("first" + std::to_string(seed) + ".nas");
    const std::string second = dir.file("second" + std::to_string(seed) + ".nas");
    auto g = rng(seed);
    const ranged_blocks d = random_ranged_blocks(g, seed % 3 == 0 ? 2 : 3, seed % 2 == 0);
    ASSERT_EQ(NASTRAN_output(first.c_str(), d.pos, d.connect, d.ranges, d.types, d.ids), 0);
    read_mesh r;
    if (seed == 1) {
      decimal_comma_locale comma;
      ASSERT_EQ(read(first, r), 0);
    } else {
      ASSERT_EQ(read(first, r), 0);
    }

    // The nodes to the 7 digits written.
    expect_read_back(d, r, as_written, 5.000001e-7);

    ASSERT_EQ(NASTRAN_output(second.c_str(), r.pos, r.connect, r.ranges, r.types, r.ids), 0);
    EXPECT_EQ(read_file(second), read_file(first));
  }
}

// Field forms, continuations, number forms, comments, what comes before
// BEGIN BULK and after ENDDATA: every line of the sample says what it shows.
TEST(NastranInput, ReadsEveryFieldFormAndContinuation) {
  read_mesh r;
  ASSERT_EQ(read(data_file("nastran_fields.bdf"), r), 0);
  EXPECT_EQ(to_vector(r.node_ids), std::vector<unsigned>({1, 2, 3, 4, 5, 6, 7, 8, 9, 10}));
  EXPECT_EQ(to_vector(r.pos), std::vector<double>({0, 0, 0,  0.15, -5, 1,     7, 2, 1,       1, 2, 3,
                                                   -0.125, 25, -3, 0.25, 0.5, 0.75, 1, 1, 1, 1, 0, 1,
                                                   1, 2, 3,  0.5, 0.5, 2}));
  EXPECT_EQ(to_vector(r.element_ids), std::vector<unsigned>({10, 11, 13, 14, 15, 16, 17, 18, 19}));
  EXPECT_EQ(to_vector(r.ids), std::vector<unsigned>({3, 11, 1, 2, 7, 8, 9, 9, 4}));
  EXPECT_EQ(to_vector(r.ranges), std::vector<unsigned>({0, 1, 2, 3, 4, 5, 6, 8, 9}));
  EXPECT_EQ(std::vector<int>(r.types.begin(), r.types.end()),
            std::vector<int>({ELT_HEXA8, ELT_TETRA4, ELT_TETRA10, ELT_QUAD4, ELT_EDGE2, ELT_TRIA3, ELT_PYRA5,
                              ELT_QUAD9}));
  const std::vector<std::vector<unsigned>> columns = {
      {0, 1, 2, 3, 4, 5, 6, 7}, {0, 2, 1, 3},    {0, 2, 1, 3, 5, 4, 6, 7, 9, 8}, {0, 1, 2, 3}, {0, 1},
      {0, 1, 2},                {0, 1, 2, 3, 4}, {4, 3, 2, 1, 0},                {0, 1, 2, 3, 4, 5, 6, 7, 8}};
  for (unsigned j = 0; j < columns.size(); ++j) EXPECT_EQ(r.column(j), columns[j]) << j;

  // The stream form reads from the stream's position and leaves it open;
  // the overload without IDs gives the same mesh.
  std::FILE* f = std::fopen(data_file("nastran_fields.bdf").c_str(), "r");
  ASSERT_NE(f, nullptr);
  read_mesh s;
  EXPECT_EQ(NASTRAN_input(f, s.pos, s.connect, s.ranges, s.types, s.ids), 0);
  EXPECT_EQ(to_vector(s.pos), to_vector(r.pos));
  EXPECT_EQ(to_vector(s.connect), to_vector(r.connect));
  EXPECT_EQ(std::fclose(f), 0);
}

// The number forms of a real field, each against the value of its %lg
// spelling; and what a real field refuses.
TEST(NastranInput, ReadsTheNumberFormsOfRealFields) {
  const std::pair<const char*, double> forms[] = {
      {"1.5-3", 1.5e-3}, {"-.5+2", -50.0}, {"1.D3", 1000.0}, {"7.", 7.0},        {"7", 7.0},
      {"+.7E1", 7.0},    {"70.-1", 7.0},   {"1.e-2", 0.01},  {"-2.5d+1", -25.0}, {"0.1", 0.1},
      {"1.E400", INFINITY}, {"-1.-400", -0.0},
      {"123456789012345678901234567890.", std::strtod("123456789012345678901234567890", nullptr)}};
  for (const auto& [text, value] : forms) {
    read_mesh r;
    ASSERT_EQ(read_text(std::string("GRID,1,,") + text + ",0.,0.\n", r), 0) << text;
    EXPECT_EQ(r.pos(0, 0), value) << text;
    EXPECT_EQ(std::signbit(r.pos(0, 0)), std::signbit(value)) << text;
  }
  for (const char* bad : {"1.5 -3", "1.5E", "1.5-", "E5", ".", "-", "1..5", "1.5E+3.", "nan", "inf", "0x1p3",
                          "1.5e3e3"})
    EXPECT_EQ(code_of(std::string("GRID    1               ") + std::string(bad).append(8 - std::string(bad).size(), ' ') +
                               "0.      0.\n"),
              -3)
        << bad;
}

// The node counts of every element card; a blank PID is the EID.
TEST(NastranInput, NodeCountsDecideTheElementType) {
  std::string grids;
  for (unsigned k = 1; k <= 20; ++k) grids += "GRID," + std::to_string(k) + ",,0.,0.,0.\n";
  // A free-field card of EID 7, PID 7 and `count` nodes, continued every
  // eight fields.
  auto card = [](const char* name, unsigned count) {
    std::vector<std::string> fields = {"7", "7"};
    for (unsigned k = 1; k <= count; ++k) fields.push_back(std::to_string(k));
    std::string s = name;
    for (std::size_t i = 0; i < fields.size(); ++i) s += (i > 0 && i % 8 == 0 ? ",+\n+," : ",") + fields[i];
    return s + "\n";
  };
  const struct {
    const char* name;
    unsigned count;
    int type;  // or the code
  } cases[] = {{"CBAR", 2, ELT_EDGE2},     {"CBEAM", 2, ELT_EDGE2},     {"CROD", 2, ELT_EDGE2},
               {"CROD", 1, -3},            {"CTRIA", 3, ELT_TRIA3},     {"CTRIA3", 3, ELT_TRIA3},
               {"CTRIA6", 3, ELT_TRIA3},   {"CTRIA6", 6, ELT_TRIA6},    {"CTRIA6", 5, -4},
               {"CQUAD4", 4, ELT_QUAD4},   {"CQUAD4", 3, -3},           {"CQUAD8", 4, ELT_QUAD4},
               {"CQUAD8", 8, ELT_QUAD8},   {"CQUAD8", 6, -4},           {"CQUAD", 4, ELT_QUAD4},
               {"CQUAD", 8, ELT_QUAD8},    {"CQUAD", 9, ELT_QUAD9},     {"CQUAD", 7, -4},
               {"CTETRA", 4, ELT_TETRA4},  {"CTETRA", 10, ELT_TETRA10}, {"CTETRA", 9, -4},
               {"CTETRA", 3, -3},          {"CPYRAM", 5, ELT_PYRA5},    {"CPYRA", 13, ELT_PYRA13},
               {"CPYRAM", 6, -4},          {"CPENTA", 6, ELT_WEDGE6},   {"CPENTA", 15, ELT_WEDGE15},
               {"CPENTA", 14, -4},         {"CHEXA", 8, ELT_HEXA8},     {"CHEXA", 20, ELT_HEXA20},
               {"CHEXA", 19, -4},          {"CHEXA", 7, -3}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.count));
    read_mesh r;
    const int code = read_text(grids + card(c.name, c.count), r);
    if (c.type < 0) {
      EXPECT_EQ(code, c.type);
      EXPECT_TRUE(r.empty());
      continue;
    }
    ASSERT_EQ(code, 0);
    ASSERT_EQ(r.types.size(), 1u);
    EXPECT_EQ(r.types[0], c.type);
    EXPECT_EQ(r.column(0).size(), nbr_nodes(element_type(c.type)));
    EXPECT_EQ(r.ids[0], 7u);
  }
  // A blank between nodes is none of the forms; a blank PID is the EID;
  // fields after the nodes are not read.
  EXPECT_EQ(code_of(grids + "CTETRA,1,1,1,2,3,4,,6,+\n+,7,8,9,10\n"), -4);
  read_mesh r;
  ASSERT_EQ(read_text(grids + "CQUAD4  42              1       2       3       4       not     read\n", r), 0);
  EXPECT_EQ(r.ids[0], 42u);
}

// Points in rectangular, cylindrical and spherical systems, one defined in
// another, some defined after the points that use them.
TEST(NastranInput, TurnsCoordinateSystemsIntoTheBasicOne) {
  read_mesh r;
  ASSERT_EQ(read(data_file("nastran_systems.bdf"), r), 0);
  // System 1: the basic axes moved to (1, 2, 3).  System 2 (cylindrical,
  // given in 1): origin (1, 2, 3), x along the basic y, z along z.  System
  // 3 (spherical, given in cylindrical coordinates of 2): origin (1, 2, 3),
  // x along the basic -x, z along z.
  EXPECT_TRUE(near(r.pos, coordinates(3, {2, 3, 4, -1, 2, 4, -1, 2, 3, 5, 5, 5}), 1e-14));

  const std::string grid = "GRID,1,5,1.,2.,3.\n";
  auto cord = [](const char* card, unsigned cid, unsigned rid, const char* points) {
    return std::string(card) + "," + std::to_string(cid) + "," + std::to_string(rid) + "," + points + "\n";
  };
  const char* axes = "0.,0.,0.,0.,0.,1.,+\n+,1.,0.,0.";
  EXPECT_EQ(code_of(grid + cord("CORD2R", 5, 0, axes)), 0);
  EXPECT_EQ(code_of(grid), -5);                                                   // CP names no system
  EXPECT_EQ(code_of(grid + cord("CORD2R", 5, 6, axes)), -5);                      // nor does the RID
  EXPECT_EQ(code_of(grid + cord("CORD2R", 5, 0, axes) + cord("CORD2C", 5, 0, axes)), -5);  // two 5
  EXPECT_EQ(code_of(grid + cord("CORD2R", 5, 6, axes) + cord("CORD2S", 6, 5, axes)), -3);  // a loop
  EXPECT_EQ(code_of(grid + cord("CORD2R", 5, 5, axes)), -3);
  EXPECT_EQ(code_of(grid + cord("CORD2R", 5, 0, "0.,0.,0.,0.,0.,0.,+\n+,1.,0.,0.")), -3);  // B on A
  EXPECT_EQ(code_of(grid + cord("CORD2R", 5, 0, "0.,0.,0.,0.,0.,1.,+\n+,0.,0.,7.")), -3);  // C on the axis
  EXPECT_EQ(code_of(grid + cord("CORD2R", 0, 0, axes)), -3);                      // CID 0

  // A chain of 50000 systems, each a translation by (1, 0, 0) in the one
  // before, listed from the last: walked without recursion.
  std::string chain = "GRID,1,50000,0.,0.,0.\n";
  for (unsigned cid = 50000; cid >= 1; --cid)
    chain += cord("CORD2R", cid, cid - 1, "1.,0.,0.,1.,0.,1.,+\n+,2.,0.,0.");
  ASSERT_EQ(read_text(chain, r), 0);
  EXPECT_EQ(to_vector(r.pos), std::vector<double>({50000, 0, 0}));
}

TEST(NastranInput, ResultCodesInTheirOrder) {
  scratch_dir dir;
  read_mesh r;
  // Arguments.
  EXPECT_EQ(NASTRAN_input(static_cast<const char*>(nullptr), r.pos, r.connect, r.ranges, r.types, r.ids), -1);
  EXPECT_EQ(NASTRAN_input(dir.file("missing.bdf").c_str(), r.pos, r.connect, r.ranges, r.types, r.ids), -1);
  EXPECT_EQ(NASTRAN_input(static_cast<std::FILE*>(nullptr), r.pos, r.connect, r.ranges, r.types, r.ids), -1);
  const std::string path = dir.file("deck.bdf");
  ASSERT_TRUE(write_file(path, "GRID,1,,0.,0.,0.\nCBAR,1,1,1,1\n"));
  // Outputs that are one object, refused before the file is looked at (a
  // missing file would give -1).
  read_mesh a;
  ASSERT_EQ(read(path, a), 0);
  EXPECT_EQ(NASTRAN_input(dir.file("missing").c_str(), a.pos, a.connect, a.ranges, a.types, a.ranges), -6);
  EXPECT_TRUE(a.pos.empty() && a.connect.empty() && a.ranges.empty() && a.types.empty());
  EXPECT_EQ(NASTRAN_input(path.c_str(), a.pos, a.connect, a.ranges, a.types, a.ids, a.ids, a.element_ids), -7);
  EXPECT_EQ(NASTRAN_input(path.c_str(), a.pos, a.connect, a.ranges, a.types, a.ids, a.node_ids, a.node_ids), -8);
  EXPECT_EQ(NASTRAN_input(path.c_str(), a.pos, a.connect, a.ranges, a.types, a.ids, a.node_ids, a.ranges), -8);

  // The file.
  EXPECT_EQ(code_of(""), -2);
  EXPECT_EQ(code_of("$ only a comment\n\n   \t\n"), -2);
  EXPECT_EQ(code_of("BEGIN BULK\nENDDATA\n"), 0);
  EXPECT_EQ(code_of("BEGIN BULK\nGRID,1,,0.,0.,0.\n"), -3);   // no ENDDATA
  EXPECT_EQ(code_of("GRID,0,,0.,0.,0.\n"), -3);               // ID 0
  EXPECT_EQ(code_of("GRID,,,0.,0.,0.\n"), -3);                // no ID
  EXPECT_EQ(code_of("GRID,4294967296,,0.,0.,0.\n"), -3);      // past 32 bits
  EXPECT_EQ(code_of("GRID,4294967295,,0.,0.,0.\n"), 0);
  EXPECT_EQ(code_of("GRID,1,-1,0.,0.,0.\n"), -3);             // negative CP
  EXPECT_EQ(code_of("GRID,1.,,0.,0.,0.\n"), -3);              // a real for an integer
  EXPECT_EQ(code_of("GRID,1,,0.,0.,0.,0,0,0,+\n"), 0);        // eight fields and the mark
  EXPECT_EQ(code_of("GRID,1,,0.,0.,0.,0,0,0,+,9\n"), -3);     // one more
  EXPECT_EQ(code_of("GRID*,1,,0.,0.,*\n*,0.\n"), 0);
  EXPECT_EQ(code_of("GRID*,1,,0.,0.,*,0.\n"), -3);            // five fields in large field
  EXPECT_EQ(code_of("GRID,1,,0.,0.,0.\nCBAR,1,1,1,2\n"), -5);  // node 2 missing
  EXPECT_EQ(code_of("GRID,1,,0.,0.,0.\nGRID,1,,1.,0.,0.\n"), -5);  // node 1 twice
  EXPECT_EQ(code_of("INCLUDE 'more.bdf'\n"), -4);
  // The first bad card decides: a malformed card before a missing node.
  EXPECT_EQ(code_of("CBAR,1,1,1,2\nCTETRA,2,1,1,2,3,4,5\nGRID,x\n"), -4);
  // A free-field line of a card read may not be cut; other long lines are
  // passed over (only 80 columns of fixed-field lines are read).
  const std::string blanks(5000, ' ');
  EXPECT_EQ(code_of("GRID,1,,0.,0.,0." + blanks + "\n"), -3);
  EXPECT_EQ(code_of("GRID    1               0.      0.      0." + blanks + "x\n"), 0);
  EXPECT_EQ(code_of("PLOAD4,1," + blanks + "\nGRID,1,,0.,0.,0.\n$" + blanks + "\n"), 0);
  // Unknown cards are not looked at, and neither are their continuations.
  EXPECT_EQ(code_of("FORCE,1,x,y\n+,GRID,z\nGRID,1,,0.,0.,0.\n"), 0);
}

// Every prefix of a deck, and decks with random bytes changed, give a code
// and leave consistent or empty outputs.
TEST(NastranInput, TruncatedAndCorruptedDecksGiveACode) {
  scratch_dir dir;
  const std::string sample =
      read_file(data_file("nastran_fields.bdf")) + read_file(data_file("nastran_systems.bdf"));
  auto g = rng(7);
  const ranged_blocks d = random_ranged_blocks(g, 3, true);
  const std::string written = dir.file("written.nas");
  ASSERT_EQ(NASTRAN_output(written.c_str(), d.pos, d.connect, d.ranges, d.types, d.ids), 0);
  const std::string small = read_file(written).substr(0, 6000);
  expect_a_code_for_damaged_files(static_cast<stream_reader>(NASTRAN_input), {sample, small}, 300);
}

TEST(NastranInput, MemoryFailuresLeaveTheOutputsEmpty) {
  const std::string path = data_file("nastran_fields.bdf");
  read_mesh r;
  const unsigned found = for_each_allocation_failure([&] { return read(path, r); }, [&] { EXPECT_TRUE(r.empty()); });
  EXPECT_GT(found, 5u);
  EXPECT_EQ(read(path, r), 0);
  const std::string systems = data_file("nastran_systems.bdf");
  EXPECT_GT(for_each_allocation_failure([&] { return read(systems, r); }, [&] { EXPECT_TRUE(r.empty()); }), 5u);
}

}  // namespace
