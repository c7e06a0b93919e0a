// FEMAP neutral files: exact bytes of a small file; random meshes of every
// type written, read back to the same mesh (coordinates to the bit) and
// written again to the same bytes; a hand-written file with blocks to skip
// and end records; result codes of the writer and the reader in their
// order; truncated and corrupted files; memory failures.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa/io/femap.hpp>

#include "support/files.hpp"
#include "support/locale.hpp"
#include "support/meshes.hpp"
#include "support/read_mesh.hpp"
#include "support/support.hpp"

namespace {

using namespace zeb::plexa;
using namespace plexa_test;

int read(const std::string& path, read_mesh& r) {
  return FEMAP_input(path.c_str(), r.pos, r.connect, r.ranges, r.types, r.ids, r.node_ids, r.element_ids);
}

int code_of(const std::string& text) { return plexa_test::code_of(static_cast<stream_reader>(FEMAP_input), text); }

const std::string header = "   -1\n   100\nZEB Plexa(R) FEMAP exporter\n4.41,\n   -1\n";

// The eight records of an element.
std::string element(const std::string& first, std::vector<unsigned> slots) {
  slots.resize(20, 0);
  std::string s = first + "\n";
  for (unsigned k = 0; k < 20; ++k) s += std::to_string(slots[k]) + (k == 9 || k == 19 ? ",\n" : ",");
  return s + "0.,0.,0.,\n0.,0.,0.,\n0.,0.,0.,\n0,0,0,0,0,0,\n0,0,0,0,0,0,\n";
}

TEST(FemapOutput, SmallFilesWriteExactly) {
  scratch_dir dir;
  const std::string path = dir.file("small.neu");
  // A tetrahedron, a pyramid, a node block (the point), an empty block, a
  // block without topology (its column keeps its id), mixed faces, a
  // six-node triangle and a quadratic pyramid; strided, under a comma locale.
  const dense2D<double> pos =
      coordinates(3, {0, 0, 0, 1.5, -2.25, 1e-7, -0.1, 12345.678, 1e300, -0.0, 3, 1, 7, 8, 9, 0.1, 0.2, 0.3});
  const dense2D<unsigned> connect = connectivity(
      13, {0, 1, 2, 3, NO, NO, NO, NO, NO, NO, NO, NO, NO,    //
           0, 1, 2, 3, 4,  NO, NO, NO, NO, NO, NO, NO, NO,    //
           5, NO, NO, NO, NO, NO, NO, NO, NO, NO, NO, NO, NO,  //
           1, 2, NO, NO, NO, NO, NO, NO, NO, NO, NO, NO, NO,  //
           0, 1, 2, NO, NO, NO, NO, NO, NO, NO, NO, NO, NO,  //
           0, 1, 2, 3, NO, NO, NO, NO, NO, NO, NO, NO, NO,   //
           0, 1, 2, 3, 4,  5,  NO, NO, NO, NO, NO, NO, NO,   //
           0, 1, 2, 3, 4,  5,  1,  2,  3,  0,  4,  3,  2});
  const dense1D<unsigned, 8> ranges = ids({0, 1, 2, 3, 3, 4, 6, 7, 8});
  const dense1D<int, 8> types =
      type_list({ELT_TETRA4, ELT_PYRA5, ELT_NODE, ELT_HEXA8, ELT_NONE, ELT_FACE_MIX, ELT_TRIA6, ELT_PYRA13});
  const dense1D<unsigned, 8> props = ids({11, 12, 13, 14, 15, 16, 17, 4294967295u});
  const std::string expected =
      header +
      "   -1\n   403\n"
      "1,0,0,1,46,0,0,0,0,0,0,0.,0.,0.,\n"
      "2,0,0,1,46,0,0,0,0,0,0,1.5,-2.25,1e-07,\n"
      "3,0,0,1,46,0,0,0,0,0,0,-0.1,12345.678,1e+300,\n"
      "4,0,0,1,46,0,0,0,0,0,0,-0.,3.,1.,\n"
      "5,0,0,1,46,0,0,0,0,0,0,7.,8.,9.,\n"
      "6,0,0,1,46,0,0,0,0,0,0,0.1,0.2,0.3,\n"
      "   -1\n   -1\n   404\n" +
      element("1,124,11,25,6,1,0,0,", {1, 2, 3, 0, 4}) + element("2,124,12,25,8,1,0,0,", {1, 2, 3, 4, 5, 5, 5, 5}) +
      element("3,124,13,27,9,1,0,0,", {6}) + element("5,124,15,17,2,1,0,0,", {1, 2, 3}) +
      element("6,124,16,17,4,1,0,0,", {1, 2, 3, 4}) + element("7,124,17,18,3,1,0,0,", {1, 2, 3, 0, 6, 4, 5}) +
      element("8,124,4294967295,26,12,1,0,0,", {1, 2, 3, 4, 5, 5, 5, 5, 6, 2, 3, 4, 1, 5, 4, 3, 5, 5, 5, 5}) + "   -1\n";
  EXPECT_EQ(outcome(FEMAP_output(path.c_str(), pos, connect, ranges, types, props), path), expected);
  {
    decimal_comma_locale comma;
    ASSERT_EQ(FEMAP_output(path.c_str(), strided(pos), strided(connect), ranges, types, props), 0);
  }
  EXPECT_EQ(read_file(path), expected);

  // Planar nodes get z = 0; no element, no element block; no node, no node
  // block.
  EXPECT_EQ(outcome(FEMAP_output(path.c_str(), coordinates(2, {0.5, -8}), dense2D<unsigned>(),
                                 ids({0}), type_list({}), ids({})),
                    path),
            header + "   -1\n   403\n1,0,0,1,46,0,0,0,0,0,0,0.5,-8.,0.,\n   -1\n");
  EXPECT_EQ(outcome(FEMAP_output(path.c_str(), dense2D<double>(3, 0), dense2D<unsigned>(), ids({0}),
                                 type_list({}), ids({})),
                    path),
            header);
}

// The element type a file holds for a column of `type`: the quadratic types
// without a topology lose their last nodes.
element_type as_written(element_type type) {
  switch (type) {
    case ELT_QUAD9: return ELT_QUAD8;
    case ELT_PYRA14: return ELT_PYRA13;
    case ELT_WEDGE18: return ELT_WEDGE15;
    case ELT_HEXA27: return ELT_HEXA20;
    default: return type;
  }
}

TEST(FemapInput, WrittenFilesReadBackToTheSameMeshAndBytes) {
  scratch_dir dir;
  for (unsigned seed = 0; seed < 6; ++seed) {
    SCOPED_TRACE(seed);
    auto g = rng(100 + seed);
    const ranged_blocks d = random_ranged_blocks(g, seed % 3 == 0 ? 2 : 3, seed % 2 == 0);
    const std::string first = dir.file("first" + std::to_string(seed) + ".neu");
    const std::string second = dir.file("second" + std::to_string(seed) + ".neu");
    ASSERT_EQ(FEMAP_output(first.c_str(), d.pos, d.connect, d.ranges, d.types, d.ids), 0);
    read_mesh r;
    if (seed == 1) {
      decimal_comma_locale comma;
      ASSERT_EQ(read(first, r), 0);
    } else {
      ASSERT_EQ(read(first, r), 0);
    }
    expect_read_back(d, r, as_written, 0.0);  // the coordinates to the bit
    ASSERT_EQ(FEMAP_output(second.c_str(), r.pos, r.connect, r.ranges, r.types, r.ids), 0);
    EXPECT_EQ(read_file(second), read_file(first));
  }
}

// Blocks that are not read, blank lines between blocks, records with more
// fields than read, end records, nodes out of order, a pyramid held as a
// brick, a CR LF line end.
TEST(FemapInput, ReadsAHandWrittenFile) {
  read_mesh r;
  ASSERT_EQ(read(data_file("femap_sample.neu"), r), 0);
  EXPECT_EQ(to_vector(r.node_ids), std::vector<unsigned>({10, 20, 30, 40, 50, 60, 70, 80, 90, 100}));
  EXPECT_EQ(to_vector(r.pos), std::vector<double>({0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0.5, 0, 0,
                                                   0.5, 0.5, 0, 0, 0.5, 0, 0, 0, 0.5, 0.5, 0, 0.5, 0, 0.5, 0.5}));
  EXPECT_EQ(to_vector(r.element_ids), std::vector<unsigned>({7, 8, 9, 11, 12, 13}));
  EXPECT_EQ(to_vector(r.ids), std::vector<unsigned>({3, 3, 3, 0, 4, 4}));
  EXPECT_EQ(to_vector(r.ranges), std::vector<unsigned>({0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(std::vector<int>(r.types.begin(), r.types.end()),
            std::vector<int>({ELT_TETRA10, ELT_PYRA5, ELT_HEXA8, ELT_WEDGE6, ELT_EDGE2, ELT_NODE}));
  const std::vector<std::vector<unsigned>> columns = {
      {0, 1, 2, 3, 5, 6, 4, 7, 8, 9}, {0, 1, 5, 2, 3}, {0, 1, 5, 2, 3, 4, 8, 7}, {0, 1, 2, 3, 8, 9}, {0, 3}, {5}};
  for (unsigned j = 0; j < columns.size(); ++j) EXPECT_EQ(r.column(j), columns[j]) << j;
}

TEST(FemapOutput, ResultCodesInTheirOrder) {
  scratch_dir dir;
  const std::string path = dir.file("codes.neu");
  const char* p = path.c_str();
  const dense2D<double> pos(3, 4, 0.0);
  const dense2D<unsigned> tet = connectivity(4, {0, 1, 2, 3});
  const dense1D<unsigned, 8> ranges = ids({0, 1}), props = ids({1});
  const dense1D<int, 8> types = type_list({ELT_TETRA4});
  EXPECT_EQ(FEMAP_output(static_cast<std::FILE*>(nullptr), pos, tet, ranges, types, props), -1);
  EXPECT_EQ(FEMAP_output(dir.file("no/such/dir.neu").c_str(), dense2D<double>(4, 4), tet, ranges, types, props), -1);
  EXPECT_EQ(outcome(FEMAP_output(p, dense2D<double>(4, 4), tet, ranges, types, props), path), "code -2");
  EXPECT_EQ(read_file(path), "");  // a failed check leaves the file empty
  EXPECT_EQ(FEMAP_output(p, pos, tet, ids({0}), types, props), -5);
  EXPECT_EQ(FEMAP_output(p, pos, tet, ranges, types, ids({})), -6);
  EXPECT_EQ(FEMAP_output(p, pos, tet, ids({0, 2}), types, props), -4);
  EXPECT_EQ(FEMAP_output(p, pos, connectivity(4, {0, 1, 2, 4}), ranges, types, props), -3);  // node 4 of 4
  EXPECT_EQ(FEMAP_output(p, pos, tet, ranges, type_list({ELT_HEXA8}), props), -3);
  EXPECT_EQ(FEMAP_output(p, pos, tet, ranges, type_list({23}), props), -3);
  std::FILE* full = std::fopen("/dev/full", "w");
  if (full) {
    EXPECT_EQ(FEMAP_output(full, pos, tet, ranges, types, props), -1);
    std::fclose(full);
  }
}

TEST(FemapInput, ResultCodesInTheirOrder) {
  read_mesh a;
  EXPECT_EQ(FEMAP_input(static_cast<const char*>(nullptr), a.pos, a.connect, a.ranges, a.types, a.ids), -1);
  EXPECT_EQ(FEMAP_input(static_cast<std::FILE*>(nullptr), a.pos, a.connect, a.ranges, a.types, a.ids), -1);
  ASSERT_EQ(read(data_file("femap_sample.neu"), a), 0);
  EXPECT_EQ(FEMAP_input(static_cast<const char*>(nullptr), a.pos, a.connect, a.ranges, a.types, a.ranges), -6);
  EXPECT_TRUE(a.pos.empty() && a.connect.empty() && a.ranges.empty() && a.types.empty());
  const std::string path = data_file("femap_sample.neu");
  EXPECT_EQ(FEMAP_input(path.c_str(), a.pos, a.connect, a.ranges, a.types, a.ids, a.ranges, a.element_ids), -7);
  EXPECT_EQ(FEMAP_input(path.c_str(), a.pos, a.connect, a.ranges, a.types, a.ids, a.node_ids, a.ids), -8);

  const std::string nodes = "   -1\n   403\n1,0,0,1,46,0,0,0,0,0,0,0.,0.,0.,\n2,0,0,1,46,0,0,0,0,0,0,1.,0.,0.,\n";
  const std::string bar = element("1,124,1,2,0,1,0,0,", {1, 2});
  const std::string file = header + nodes + "   -1\n   -1\n   404\n" + bar + "   -1\n";
  EXPECT_EQ(code_of(file), 0);
  // Not a neutral file.
  EXPECT_EQ(code_of(""), -2);
  EXPECT_EQ(code_of("\n  \n"), -2);
  EXPECT_EQ(code_of("100\n"), -2);
  EXPECT_EQ(code_of(nodes + "   -1\n" + header), -2);
  EXPECT_EQ(code_of("   -1\n"), -2);
  // Malformed or truncated.
  EXPECT_EQ(code_of("   -1\n   100\ntitle\n"), -3);
  EXPECT_EQ(code_of("   -1\n   100\ntitle\nfour,\n   -1\n"), -3);
  EXPECT_EQ(code_of(header + "   -1\n   999\n"), -3);                        // a block not closed
  EXPECT_EQ(code_of(header + "stray line\n"), -3);
  EXPECT_EQ(code_of(header + "   -1\nx\n"), -3);                               // no block number
  EXPECT_EQ(code_of(header + "   -1\n   403\n1,0,0,1,46,0,0,0,0,0,0,0.,0.,\n   -1\n"), -3);  // 13 fields
  EXPECT_EQ(code_of(header + "   -1\n   403\n1,0,0,1,46,0,0,0,0,0,0,0.,0.,z,\n   -1\n"), -3);
  EXPECT_EQ(code_of(header + "   -1\n   403\n0,0,0,1,46,0,0,0,0,0,0,0.,0.,0.,\n   -1\n"), -3);
  EXPECT_EQ(code_of(header + "   -1\n   403\n\n   -1\n"), -3);
  EXPECT_EQ(code_of(header + nodes + "   -1\n   -1\n   404\n" + bar.substr(0, bar.size() - 40) + "   -1\n"), -3);
  EXPECT_EQ(code_of(header + nodes + "   -1\n   -1\n   404\n" + element("1,124,-1,2,0,1,0,0,", {1, 2}) +
                             "   -1\n"),
            -3);  // a negative property
  EXPECT_EQ(code_of(header + nodes + "   -1\n   -1\n   404\n" + element("1,124,1,2,0,1,0,0,", {1}) + "   -1\n"),
            -3);  // an empty slot of the topology
  EXPECT_EQ(code_of(header + "   -1\n   403\n1,0,0,1,46,0,0,0,0,0,0,0.,0.,0." + std::string(5000, ' ') +
                             ",\n   -1\n"),
            -3);  // a record too long to read
  // Not read by this reader.
  EXPECT_EQ(code_of("   -1\n   100\n<NULL>\n11.2,\n   -1\n"), -4);
  EXPECT_EQ(code_of(header + "   -1\n   403\n1,1,0,1,46,0,0,0,0,0,0,0.,0.,0.,\n   -1\n"), -4);
  EXPECT_EQ(code_of(header + nodes + "   -1\n   -1\n   404\n" + element("1,124,1,29,13,1,0,0,", {1, 2}) +
                             "   -1\n"),
            -4);  // a rigid element
  EXPECT_EQ(code_of(header + nodes + "   -1\n   -1\n   404\n" + element("1,124,1,2,0,1,0,0,", {1, 2, 1}) +
                             "   -1\n"),
            -4);  // a node in a slot line2 does not use
  // IDs that do not resolve.
  EXPECT_EQ(code_of(header + nodes + "   -1\n" + nodes + "   -1\n"), -5);
  EXPECT_EQ(code_of(header + "   -1\n   404\n" + bar + "   -1\n"), -5);
  // The first bad record decides.
  EXPECT_EQ(code_of("   -1\n   100\n<NULL>\n5.0,\n   -1\n   403\nx\n"), -4);
}

TEST(FemapInput, TruncatedAndCorruptedFilesGiveACode) {
  scratch_dir dir;
  auto g = rng(9);
  const ranged_blocks d = random_ranged_blocks(g, 3, true);
  const std::string path = dir.file("written.neu");
  ASSERT_EQ(FEMAP_output(path.c_str(), d.pos, d.connect, d.ranges, d.types, d.ids), 0);
  const std::string written = read_file(path), sample = read_file(data_file("femap_sample.neu"));
  expect_a_code_for_damaged_files(static_cast<stream_reader>(FEMAP_input), {sample, written.substr(0, 8000)}, 300);
}

TEST(FemapInput, MemoryFailuresLeaveTheOutputsEmpty) {
  const std::string path = data_file("femap_sample.neu");
  read_mesh r;
  EXPECT_GT(for_each_allocation_failure([&] { return read(path, r); }, [&] { EXPECT_TRUE(r.empty()); }), 5u);
  EXPECT_EQ(read(path, r), 0);
}

}  // namespace
