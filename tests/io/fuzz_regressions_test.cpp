// The inputs the fuzz targets found faults with, replayed through the same
// reader entries (fuzz/readers.cpp): tests/data/fuzz/<entry>/ holds the
// files of each reader, which must now give one of the reader's codes and
// keep every promise the fuzz target checks.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "readers.hpp"
#include "support/files.hpp"
#include "support/support.hpp"

namespace {

namespace fs = std::filesystem;

TEST(FuzzRegressions, EveryFileKeepsTheReadersPromises) {
  const fs::path root = PLEXA_FUZZ_REGRESSIONS;
  ASSERT_TRUE(fs::is_directory(root)) << root;
  unsigned files = 0;
  for (const fs::directory_entry& folder : fs::directory_iterator(root)) {
    const plexa_fuzz::reader_entry* reader = plexa_fuzz::find_reader(folder.path().filename().string());
    ASSERT_NE(reader, nullptr) << "no reader entry for " << folder.path();
    for (const fs::directory_entry& file : fs::directory_iterator(folder.path())) {
      SCOPED_TRACE(file.path().string());
      const std::string bytes = plexa_test::read_file(file.path().string());
      EXPECT_EQ(plexa_fuzz::broken_promise(*reader, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()),
                "");
      ++files;
    }
  }
  EXPECT_GT(files, 0u);
}

// The checks find what they look for: a good reading, then the same
// outcome broken in each way.
TEST(FuzzRegressions, ThePromisesAreChecked) {
  const plexa_fuzz::reader_entry* stl = plexa_fuzz::find_reader("stl");
  ASSERT_NE(stl, nullptr);
  const std::string square =
      "solid\n facet normal 0 0 1\n outer loop\n vertex 0 0 0\n vertex 1 0 0\n vertex 1 1 0\n endloop\n endfacet\n"
      " facet normal 0 0 1\n outer loop\n vertex 0 0 0\n vertex 1 1 0\n vertex 0 1 0\n endloop\n endfacet\n"
      "endsolid\n";
  const auto read = [&] { return stl->read(reinterpret_cast<const unsigned char*>(square.data()), square.size()); };
  plexa_fuzz::read_outcome o = read();
  ASSERT_EQ(o.code, 0);
  EXPECT_EQ(plexa_fuzz::broken_promise(*stl, o), "");
  o.connect(2, 1) = o.pos.cols();
  EXPECT_EQ(plexa_fuzz::broken_promise(*stl, o), "a node index that is none in block 0");
  o = read();
  o.ranges[1] = 1;
  EXPECT_EQ(plexa_fuzz::broken_promise(*stl, o), "ranges do not cover the columns");
  o = read();
  o.connect(1, 0) = o.connect(0, 0);
  EXPECT_EQ(plexa_fuzz::broken_promise(*stl, o), "degenerate triangle kept: 0");
  o = read();
  o.code = -3;
  EXPECT_EQ(plexa_fuzz::broken_promise(*stl, o), "outputs left after code -3");
  o = plexa_fuzz::read_outcome();
  o.code = -1;
  EXPECT_EQ(plexa_fuzz::broken_promise(*stl, o), "undocumented code -1");
  for (const plexa_fuzz::reader_entry& r : plexa_fuzz::readers()) EXPECT_EQ(plexa_fuzz::find_reader(r.name), &r);
}

// The checks of the shared mesh shape and of the OBJ groups.
TEST(FuzzRegressions, TheBlocksAndGroupsAreChecked) {
  const plexa_fuzz::reader_entry* obj = plexa_fuzz::find_reader("obj");
  ASSERT_NE(obj, nullptr);
  const std::string text = "v 0 0 0\nv 1 0 0\nv 1 1 0\ng a\nf 1 2 3\ng b\nf 1 2 3\nl 1 2\n";
  const auto read = [&] { return obj->read(reinterpret_cast<const unsigned char*>(text.data()), text.size()); };
  plexa_fuzz::read_outcome o = read();
  ASSERT_EQ(o.code, 0);
  EXPECT_EQ(plexa_fuzz::broken_promise(*obj, o), "");
  o.element_lists[0][0] = 1;
  EXPECT_EQ(plexa_fuzz::broken_promise(*obj, o), "a group numbered before its first use: 0");
  o = read();
  o.names[1] = o.names[0];
  EXPECT_EQ(plexa_fuzz::broken_promise(*obj, o), "two groups of one name");
  // The faces (columns 0 and 1) cut into two blocks, then an empty block
  // put between them and the segment.
  o = read();
  ASSERT_EQ(plexa_test::to_vector(o.ranges), (std::vector<unsigned>{0, 2, 3}));
  o.ranges = plexa_test::ids({0, 1, 2, 3});
  o.types = plexa_test::type_list({o.types[0], o.types[0], o.types[1]});
  EXPECT_EQ(plexa_fuzz::broken_promise(*obj, o), "one type in two blocks in a row: 1");
  o = read();
  o.ranges = plexa_test::ids({0, 2, 2, 3});
  o.types = plexa_test::type_list({o.types[0], o.types[1], o.types[1]});
  EXPECT_EQ(plexa_fuzz::broken_promise(*obj, o), "an empty block: 1");
  o = read();
  o.element_lists[0].resize(1);
  EXPECT_EQ(plexa_fuzz::broken_promise(*obj, o), "a per-element list of another size");
}

}  // namespace
