// Reading MEDIT meshes and solutions: what the writers write reads back and
// writes again to the same bytes; files as other tools write them (the
// samples of tests/data); the result codes of damaged files; memory
// failures; a comma locale.  Files written by meshio and gmsh are read in
// medit_read_check.py.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa/io/medit.hpp>

#include "support/files.hpp"
#include "support/locale.hpp"
#include "support/support.hpp"

namespace {

using namespace zeb::plexa;
using namespace plexa_test;

struct read_mesh {
  dense2D<double> pos;
  dense2D<unsigned> connect;
  dense1D<unsigned, 8> ranges, refs;
  dense1D<int, 8> types;

  int read(const std::string& path) { return medit_input(path.c_str(), pos, connect, ranges, types, refs); }
  int write(const std::string& path) const {
    return medit_output(path.c_str(), pos, connect, ranges, types, refs);
  }
  bool empty() const { return pos.empty() && connect.empty() && ranges.empty() && types.empty() && refs.empty(); }
};

// A value as it reads back from the "%E" text the writers print.
double printed(double v) {
  char text[32];
  std::snprintf(text, sizeof text, "%E", v);
  return std::strtod(text, nullptr);
}

// Random blocks of the given types over n random nodes (mixed blocks get
// columns of every kind), written with the block-array writer.
struct random_mesh {
  dense2D<double> pos;
  std::vector<dense2D<unsigned>> blocks;
  dense1D<int, 8> types;

  random_mesh(unsigned seed, unsigned dim, std::vector<element_type> kinds) {
    auto g = rng(seed);
    const unsigned n = 40;
    pos = random_coordinates(g, dim, n, -1e3, 1e3);
    types.resize(unsigned(kinds.size()));
    for (unsigned b = 0; b < kinds.size(); ++b) {
      const unsigned rows = nbr_nodes(kinds[b]), cols = unsigned(g() % 6);
      dense2D<unsigned> c = random_connectivity(g, rows, cols, n);
      const unsigned solid_counts[4] = {4, 5, 6, 8};
      for (unsigned j = 0; j < cols; ++j) {
        const unsigned keep =
            kinds[b] == ELT_FACE_MIX ? 3 + j % 2 : kinds[b] == ELT_SOLID_MIX ? solid_counts[(j + seed) % 4] : rows;
        for (unsigned i = keep; i < rows; ++i) c(i, j) = NO;
      }
      blocks.push_back(c);
      types[b] = kinds[b];
    }
  }
  int write(const std::string& path) const {
    return medit_output(path.c_str(), pos, blocks.data(), blocks.data() + blocks.size(), types);
  }
};

// Linear kinds, mixed blocks among them: the writer's file reads back to
// the same vertices (as printed), the elements by kind with their block as
// reference, and writes again to the same bytes.
TEST(MeditInput, ReadsBackWhatTheWriterWroteAndWritesItAgain) {
  scratch_dir dir;
  const std::string first = dir.file("first.mesh"), again = dir.file("again.mesh");
  const std::vector<std::vector<element_type>> meshes = {
      {ELT_TETRA4, ELT_SOLID_MIX, ELT_HEXA8, ELT_PYRA5, ELT_WEDGE6, ELT_TRIA3, ELT_EDGE2, ELT_QUAD4},
      {ELT_FACE_MIX, ELT_EDGE2, ELT_QUAD4, ELT_TRIA3, ELT_FACE_MIX}};
  for (unsigned seed = 0; seed < 6; ++seed) {
    SCOPED_TRACE(seed);
    const random_mesh m(seed, seed % 2 ? 2 : 3, meshes[seed % 2]);
    ASSERT_EQ(m.write(first), 0);
    read_mesh r;
    ASSERT_EQ(r.read(first), 0);
    ASSERT_EQ(r.pos.rows(), m.pos.rows());
    std::vector<double> expected = to_vector(m.pos);
    for (double& x : expected) x = printed(x);
    EXPECT_EQ(to_vector(r.pos), expected);

    // Every element of the file, by kind and in file order, with its block.
    std::vector<std::vector<unsigned>> read_elements;
    for (unsigned b = 0; b + 1 < r.ranges.size(); ++b)
      for (unsigned j = r.ranges[b]; j < r.ranges[b + 1]; ++j) {
        std::vector<unsigned> e{unsigned(r.types[b]), r.refs[j]};
        for (unsigned i = 0; i < nbr_nodes(element_type(r.types[b])); ++i) e.push_back(r.connect(i, j));
        read_elements.push_back(e);
      }
    std::vector<std::vector<unsigned>> written;
    for (int t = 0; t < int(ELEMENT_TYPE_COUNT); ++t)
      for (unsigned b = 0; b < m.blocks.size(); ++b)
        for (unsigned j = 0; j < m.blocks[b].cols(); ++j) {
          unsigned k = 0;
          while (k < m.blocks[b].rows() && m.blocks[b](k, j) != NO) ++k;
          const int kind = m.types[b] == ELT_FACE_MIX ? (k == 3 ? ELT_TRIA3 : ELT_QUAD4)
                           : m.types[b] == ELT_SOLID_MIX
                               ? (k == 4 ? ELT_TETRA4 : k == 5 ? ELT_PYRA5 : k == 6 ? ELT_WEDGE6 : ELT_HEXA8)
                               : m.types[b];
          if (kind != t) continue;
          std::vector<unsigned> e{unsigned(kind), b};
          for (unsigned i = 0; i < k; ++i) e.push_back(m.blocks[b](i, j));
          written.push_back(e);
        }
    EXPECT_EQ(read_elements, written);
    ASSERT_EQ(r.write(again), 0);
    EXPECT_EQ(read_file(again), read_file(first));
  }
}

// Vertex references (the global ids of a part file, say) read back as
// written, the whole unsigned range included, and write again to the same
// bytes; without them every vertex has reference 0.
TEST(MeditInput, VertexReferencesReadBackAsWritten) {
  scratch_dir dir;
  const std::string first = dir.file("first.mesh"), again = dir.file("again.mesh");
  auto g = rng(3);
  read_mesh m;
  m.pos = random_coordinates(g, 3, 5, -1, 1);
  m.connect = random_connectivity(g, 4, 2, 5);
  m.ranges = ids({0, 2});
  m.types = type_list({ELT_TETRA4});
  m.refs = ids({7, 8});
  const dense1D<unsigned, 8> node_refs = ids({0, 4294967294u, 2147483648u, 12, 5});
  ASSERT_EQ(medit_output(first.c_str(), m.pos, m.connect, m.ranges, m.types, m.refs, node_refs), 0);
  read_mesh r;
  dense1D<unsigned, 8> read_refs;
  ASSERT_EQ(medit_input(first.c_str(), r.pos, r.connect, r.ranges, r.types, r.refs, read_refs), 0);
  EXPECT_EQ(to_vector(read_refs), to_vector(node_refs));
  ASSERT_EQ(medit_output(again.c_str(), r.pos, r.connect, r.ranges, r.types, r.refs, read_refs), 0);
  EXPECT_EQ(read_file(again), read_file(first));
  ASSERT_EQ(m.write(again), 0);
  ASSERT_EQ(medit_input(again.c_str(), r.pos, r.connect, r.ranges, r.types, r.refs, read_refs), 0);
  EXPECT_EQ(to_vector(read_refs), std::vector<unsigned>(5, 0));
  // A count that does not fit, and outputs that are one object.
  EXPECT_EQ(medit_output(again.c_str(), m.pos, m.connect, m.ranges, m.types, m.refs, ids({1})), -7);
  EXPECT_EQ(medit_input(first.c_str(), r.pos, r.connect, r.ranges, r.types, r.refs, r.refs), -7);
  EXPECT_TRUE(r.pos.empty() && r.refs.empty());
  // A damaged file leaves the references empty too.
  write_file(again, read_file(first).substr(0, 200));
  EXPECT_LT(medit_input(again.c_str(), r.pos, r.connect, r.ranges, r.types, r.refs, read_refs), 0);
  EXPECT_TRUE(read_refs.empty());
}

// Higher-order kinds are written by their vertices (and quadratic
// triangles after the quadrangles): they read back as linear elements, and
// from then on the file is stable.
TEST(MeditInput, HigherOrderKindsSettleAfterOneReading) {
  scratch_dir dir;
  const std::string first = dir.file("first.mesh"), second = dir.file("second.mesh"), third = dir.file("third.mesh");
  const random_mesh m(7, 3,
                      {ELT_TETRA10, ELT_TRIA6, ELT_QUAD9, ELT_TRIA3, ELT_QUAD4, ELT_HEXA27, ELT_PYRA14, ELT_WEDGE18,
                       ELT_EDGE3, ELT_PYRA13});
  ASSERT_EQ(m.write(first), 0);
  read_mesh r, s;
  ASSERT_EQ(r.read(first), 0);
  for (int t : r.types) EXPECT_TRUE(t == ELT_EDGE2 || t == ELT_TRIA3 || t == ELT_QUAD4 || t == ELT_TETRA4 ||
                                    t == ELT_PYRA5 || t == ELT_WEDGE6 || t == ELT_HEXA8)
      << t;
  ASSERT_EQ(r.write(second), 0);
  ASSERT_EQ(s.read(second), 0);
  ASSERT_EQ(s.write(third), 0);
  EXPECT_EQ(read_file(third), read_file(second));
}

TEST(MeditInput, ReadsFilesAsOtherToolsWriteThem) {
  read_mesh r;
  ASSERT_EQ(r.read(data_file("other_tools.mesh")), 0);
  EXPECT_EQ(to_vector(r.pos), (std::vector<double>{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 1.5, 1.5, 1.5, -0.5, 0.5, 0.25}));
  // Prisms, pyramids and the degenerate hexahedra; references as given.
  EXPECT_EQ(std::vector<int>(r.types.begin(), r.types.end()),
            (std::vector<int>{ELT_TRIA3, ELT_WEDGE6, ELT_PYRA5, ELT_WEDGE6, ELT_TETRA4}));
  EXPECT_EQ(to_vector(r.ranges), (std::vector<unsigned>{0, 2, 3, 5, 6, 7}));
  EXPECT_EQ(to_vector(r.refs), (std::vector<unsigned>{7, 8, 9, 10, 11, 12, NO}));
  EXPECT_EQ(to_vector(r.connect), (std::vector<unsigned>{0, 1, 2, NO, NO, NO, 1, 2, 3, NO, NO, NO,  //
                                                         0, 1, 2, 3, 4, 5, 0, 1, 2, 3, 4, NO,      //
                                                         0, 1, 2, 3, 4, NO, 0, 1, 2, 3, 4, 5,      //
                                                         0, 1, 2, 3, NO, NO}));

  // A 2-D file; the stream form reads from the stream's position and leaves
  // it open.
  scratch_dir dir;
  const std::string path = dir.file("flat.mesh");
  ASSERT_TRUE(write_file(path, "skipped\nMeshVersionFormatted 1 Dimension 2 Vertices 2 1 2 0 3 4 0 "
                               "Edges 1 2 1 5 End anything"));
  std::FILE* f = std::fopen(path.c_str(), "r");
  ASSERT_NE(f, nullptr);
  char skipped[9];
  ASSERT_NE(std::fgets(skipped, sizeof skipped, f), nullptr);
  EXPECT_EQ(medit_input(f, r.pos, r.connect, r.ranges, r.types, r.refs), 0);
  EXPECT_EQ(std::fclose(f), 0);
  EXPECT_EQ(to_vector(r.pos), (std::vector<double>{1, 2, 3, 4}));
  EXPECT_EQ(to_vector(r.connect), (std::vector<unsigned>{1, 0}));
  EXPECT_EQ(to_vector(r.refs), (std::vector<unsigned>{5}));
}

TEST(MeditInput, DamagedFilesGiveTheirCodesAndLeaveNothing) {
  scratch_dir dir;
  const std::string path = dir.file("bad.mesh");
  const std::string head = "MeshVersionFormatted 1\nDimension 3\n";
  const struct {
    std::string text;
    int code;
  } cases[] = {
      {"", -2},
      {"# only a comment\n", -2},
      {"Dimension 3\n", -2},
      {"MeshVersionFormatted\n", -3},
      {"MeshVersionFormatted 1.0\n", -3},
      {"MeshVersionFormatted 5\nDimension 3\n", -4},
      {"MeshVersionFormatted 1\n", -3},  // no dimension
      {"MeshVersionFormatted 1\nDimension 4\n", -4},
      {"MeshVersionFormatted 1\nVertices 0\nDimension 3\n", -3},
      {head + "Dimension 3\n", -3},
      {head + "Vertices 1\n0 0 0\n", -3},
      {head + "Vertices 1\n0 0 0 0 Vertices 0\n", -3},
      {head + "Vertices 1\n0 0 1,5 0\n", -3},
      {head + "Vertices 1\n0 0 1.5x 0\n", -3},
      {head + "Vertices -1\n", -3},
      {head + "Vertices 1\n0 0 0 0\nTriangles 1\n1 1 1\n", -3},
      {head + "Vertices 1\n0 0 0 0\nTriangles 1\n1 1 2 0\n", -5},
      {head + "Vertices 1\n0 0 0 0\nEdges 1\n0 1 0\n", -5},
      {head + "Vertices 1\n0 0 0 0\nEdges 1\n1 1 4294967296\n", -3},
      {head + "Vertices 1\n0 0 0 0\nTrianglesP2 0\n", -4},
      {head + "Vertices 1\n0 0 0 0\n17\n", -3},
      {head + "Corners 1 x\n", -3},
      {head + "Normals 1 0 0\n", -3},
      {head + "Vertices 1 0 0 0 " + std::string(40000, '7') + "\n", -3},  // a token beyond any buffer
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 80));
    ASSERT_TRUE(write_file(path, c.text));
    read_mesh r;
    r.refs = ids({1, 2});
    EXPECT_EQ(r.read(path), c.code);
    EXPECT_TRUE(r.empty());
  }

  // Every prefix of a small file and random changes of a few bytes: a code
  // from the table, never a crash, nothing left behind on failure.
  const std::string good = head +
                           "Vertices 5\n0 0 0 0\n1 0 0 0\n0 1 0 0\n0 0 1 0\n1 1 1 0\n"
                           "Triangles 1\n1 2 3 4\nHexahedra 1\n1 2 3 4 5 5 5 5 1\nEnd\n";
  for (const std::string& bytes : damaged_copies(good, 300, 11)) {
    ASSERT_TRUE(write_file(path, bytes));
    read_mesh r;
    const int code = r.read(path);
    EXPECT_TRUE(code == 0 || (code <= -2 && code >= -5)) << code << " for " << bytes;
    if (code != 0) { EXPECT_TRUE(r.empty()); }
  }

  // Arguments: refs and ranges as one object; no file; no stream.
  read_mesh r;
  ASSERT_TRUE(write_file(path, good));
  EXPECT_EQ(medit_input(path.c_str(), r.pos, r.connect, r.ranges, r.types, r.ranges), -6);
  EXPECT_EQ(r.read(dir.file("missing.mesh")), -1);
  EXPECT_EQ(medit_input(static_cast<const char*>(nullptr), r.pos, r.connect, r.ranges, r.types, r.refs), -1);
  EXPECT_EQ(medit_input(static_cast<std::FILE*>(nullptr), r.pos, r.connect, r.ranges, r.types, r.refs), -1);
  EXPECT_TRUE(r.empty());
}

TEST(MeditInput, MemoryFailuresLeaveNothingAndNumbersIgnoreTheLocale) {
  scratch_dir dir;
  const std::string path = dir.file("m.mesh");
  const random_mesh m(3, 3, {ELT_SOLID_MIX, ELT_TRIA3});
  ASSERT_EQ(m.write(path), 0);
  read_mesh r;
  EXPECT_GT(for_each_allocation_failure([&] { return r.read(path); }, [&] { EXPECT_TRUE(r.empty()); }), 3u);

  read_mesh in_comma;
  {
    decimal_comma_locale comma;
    ASSERT_EQ(in_comma.read(path), 0);
  }
  EXPECT_EQ(to_vector(in_comma.pos), to_vector(r.pos));
}

// ---------------------------------------------------------------------------
// Solutions
// ---------------------------------------------------------------------------

TEST(MeditSolutionOutput, WritesTheKeywordLayoutExactly) {
  scratch_dir dir;
  const std::string path = dir.file("f.sol");
  const char* p = path.c_str();
  const std::string head2 = "MeshVersionFormatted 2\nDimension 2\n# Solution format for MEDIT, generated by ZEB "
                            "Plexa(R).\n\nSolAtVertices\n";
  const std::string head3 = "MeshVersionFormatted 2\nDimension 3\n# Solution format for MEDIT, generated by ZEB "
                            "Plexa(R).\n\nSolAtVertices\n";
  EXPECT_EQ(outcome(medit_solution_output(p, 2, coordinates(1, {1.5, -2})), path),
            head2 + "2\n1 1\n1.500000E+00 \n-2.000000E+00 \n\nEnd\n");
  EXPECT_EQ(outcome(medit_solution_output(p, 2, strided(coordinates(2, {1, 2}))), path),
            head2 + "1\n1 2\n1.000000E+00 2.000000E+00 \n\nEnd\n");
  EXPECT_EQ(outcome(medit_solution_output(p, 2, coordinates(3, {1, 2, 3})), path),
            head2 + "1\n1 3\n1.000000E+00 2.000000E+00 3.000000E+00 \n\nEnd\n");
  EXPECT_EQ(outcome(medit_solution_output(p, 3, coordinates(3, {1, 2, 3})), path),
            head3 + "1\n1 2\n1.000000E+00 2.000000E+00 3.000000E+00 \n\nEnd\n");
  EXPECT_EQ(outcome(medit_solution_output(p, 3, coordinates(6, {1, 2, 3, 4, 5, 6})), path),
            head3 + "1\n1 3\n1.000000E+00 2.000000E+00 3.000000E+00 4.000000E+00 5.000000E+00 6.000000E+00 \n\nEnd\n");
  EXPECT_EQ(outcome(medit_solution_output(p, 3, dense2D<double>(1, 0)), path), head3 + "0\n1 1\n\nEnd\n");

  // Codes in their order; the path form leaves an empty file after a check.
  const char* missing = "/nonexistent-plexa-dir/f.sol";
  const dense2D<double> two_rows = coordinates(2, {1, 2});
  EXPECT_EQ(medit_solution_output(missing, 5, dense2D<double>()), -1);
  EXPECT_EQ(medit_solution_output(static_cast<const char*>(nullptr), 3, two_rows), -1);
  EXPECT_EQ(medit_solution_output(static_cast<std::FILE*>(nullptr), 3, two_rows), -1);
  EXPECT_EQ(medit_solution_output(p, 1, two_rows), -2);
  EXPECT_EQ(read_file(path), "");
  EXPECT_EQ(medit_solution_output(p, 4, dense2D<double>()), -2);
  EXPECT_EQ(medit_solution_output(p, 3, two_rows), -3);
  EXPECT_EQ(medit_solution_output(p, 2, dense2D<double>(6, 1, 0.0)), -3);
  EXPECT_EQ(medit_solution_output(p, 3, dense2D<double>()), -3);
}

// Both layouts as the library writes them read back to the printed values
// and write again to the same bytes.
TEST(MeditSolutionInput, ReadsBothLayoutsBack) {
  scratch_dir dir;
  const std::string bb = dir.file("f.bb"), sol = dir.file("f.sol"), again = dir.file("again.sol");
  auto g = rng(5);
  for (unsigned rows : {1u, 2u, 3u, 6u}) {
    SCOPED_TRACE(rows);
    const unsigned nodes = 1 + unsigned(g() % 20), dim = rows == 2 || rows == 3 ? 2 : 3;
    const dense2D<double> values = random_coordinates(g, rows, nodes, -1e5, 1e5);
    std::vector<double> expected = to_vector(values);
    for (double& x : expected) x = printed(x);
    if (rows == 1) { ASSERT_EQ(medit_scalar(bb.c_str(), dim, values.as_vector()), 0); }
    if (rows == 2) { ASSERT_EQ(medit_vector(bb.c_str(), dim, values), 0); }
    if (rows >= 3) { ASSERT_EQ(medit_tensor(bb.c_str(), values), 0); }
    ASSERT_EQ(medit_solution_output(sol.c_str(), dim, values), 0);
    for (const std::string& file : {bb, sol}) {
      unsigned d = 99;
      dense2D<double> read;
      ASSERT_EQ(medit_solution_input(file.c_str(), d, read), 0) << file;
      EXPECT_EQ(d, dim);
      EXPECT_EQ(read.rows(), rows);
      EXPECT_EQ(to_vector(read), expected);
      ASSERT_EQ(medit_solution_output(again.c_str(), d, read), 0);
      EXPECT_EQ(read_file(again), read_file(sol));
    }
  }

  // Several fields side by side, as other tools write them.
  unsigned d = 0;
  dense2D<double> read;
  ASSERT_EQ(medit_solution_input(data_file("two_fields.sol").c_str(), d, read), 0);
  EXPECT_EQ(d, 2u);
  EXPECT_EQ(read.rows(), 3u);
  EXPECT_EQ(to_vector(read), (std::vector<double>{1.5, 1, 0, 2.5, 0, 1, -1, 1e-3, 2}));
  ASSERT_TRUE(write_file(bb, "3 1 0 2\n\n"));
  ASSERT_EQ(medit_solution_input(bb.c_str(), d, read), 0);
  EXPECT_EQ(read.rows(), 1u);
  EXPECT_EQ(read.cols(), 0u);
}

TEST(MeditSolutionInput, DamagedFilesGiveTheirCodes) {
  scratch_dir dir;
  const std::string path = dir.file("bad.sol");
  const std::string head = "MeshVersionFormatted 1\nDimension 3\n";
  const struct {
    std::string text;
    int code;
  } cases[] = {
      {"", -2},
      {"@ 1 1 2", -2},
      {"3 1 2", -3},
      {"3 1 2 2\n1", -3},
      {"3 1 1 2\n1 2", -3},
      {"3 0 1 2\n", -3},
      {"3 1 1 1\n5", -4},
      {"3 4294967295 2 2\n1", -3},
      {"-3 1 1 2\n5", -2},
      {head, -4},
      {head + "SolAtVertices 1 1 1\n", -3},
      {head + "SolAtVertices 1 1 5\n1", -4},
      {head + "SolAtVertices 1 0\n", -3},
      {head + "SolAtVertices 1 1 1 1 SolAtVertices 1 1 1 1\n", -3},
      {head + "SolAtTetrahedra 1 1 1 1\n", -4},
      {"MeshVersionFormatted 1\nSolAtVertices 1 1 1 1\n", -3},
      {"MeshVersionFormatted 1\nDimension 1\n", -4},
      {head + "SolAtVertices 1 1 1 x\n", -3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    ASSERT_TRUE(write_file(path, c.text));
    unsigned d = 7;
    dense2D<double> values(2, 2, 1.0);
    EXPECT_EQ(medit_solution_input(path.c_str(), d, values), c.code);
    EXPECT_EQ(d, 0u);
    EXPECT_TRUE(values.empty());
  }
  const dense2D<double> field = coordinates(6, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
  for (bool keyword : {false, true}) {
    ASSERT_EQ(keyword ? medit_solution_output(path.c_str(), 3, field) : medit_tensor(path.c_str(), field), 0);
    for (const std::string& bytes : damaged_copies(read_file(path), 200, 3)) {
      const std::string damaged = dir.file("damaged.sol");
      ASSERT_TRUE(write_file(damaged, bytes));
      unsigned d;
      dense2D<double> values;
      const int code = medit_solution_input(damaged.c_str(), d, values);
      EXPECT_TRUE(code == 0 || (code <= -2 && code >= -4)) << code;
      if (code != 0) { EXPECT_TRUE(values.empty()); }
    }
    unsigned d;
    dense2D<double> values;
    EXPECT_GT(for_each_allocation_failure([&] { return medit_solution_input(path.c_str(), d, values); },
                                          [&] { EXPECT_TRUE(values.empty()); }),
              0u);
    EXPECT_EQ(to_vector(values), to_vector(field));
  }
  unsigned d;
  dense2D<double> values;
  EXPECT_EQ(medit_solution_input(dir.file("missing.sol").c_str(), d, values), -1);
  EXPECT_EQ(medit_solution_input(static_cast<std::FILE*>(nullptr), d, values), -1);
}

}  // namespace
