// Grouping columns by node count (src/topology/sort_elfes.cpp, column_order).
#include "support/support.hpp"

using namespace zeb::plexa;
using namespace plexa_test;
using V = std::vector<unsigned>;

namespace {

// Mixed solid columns: tetra, hexa, tetra, empty, wedge, hexa.
dense2D<unsigned> mixed_solids() {
  return connectivity(8, {0,  1,  2,  3,  NO, NO, NO, NO, 10, 11, 12, 13, 14, 15, 16, 17, 20, 21, 22, 23, NO, NO, NO, NO,
                          NO, NO, NO, NO, NO, NO, NO, NO, 30, 31, 32, 33, 34, 35, NO, NO, 40, 41, 42, 43, 44, 45, 46, 47});
}

}  // namespace

TEST(SortElfes, GroupsByNodeCountMostNodesFirstAndMovesTheNeighbours) {
  dense1D<unsigned> counts = ids({99}), ends = ids({99}), new_index = ids({99});
  for (bool with_neighbors : {false, true}) {
    SCOPED_TRACE(with_neighbors);
    dense2D<unsigned> c = with_neighbors ? mixed_solids() : strided(mixed_solids());
    // Column e of the neighbours: (e - 1, e + 1, 7 (no element), NO).
    dense2D<unsigned> n = strided(
        connectivity(4, {NO, 1, 7, NO, 0, 2, 7, NO, 1, 3, 7, NO, 2, 4, 7, NO, 3, 5, 7, NO, 4, NO, 7, NO}));
    ASSERT_EQ(with_neighbors ? sort_elfes(c, n, counts, ends, new_index) : sort_elfes(c, counts, ends, new_index), 0);
    EXPECT_EQ(to_vector(counts), V({8, 6, 4}));
    EXPECT_EQ(to_vector(ends), V({2, 3, 5}));
    EXPECT_EQ(to_vector(new_index), V({3, 0, 4, NO, 2, 1}));
    ASSERT_EQ(c.rows(), 8u);
    ASSERT_EQ(c.cols(), 5u);
    const unsigned firsts[] = {10, 40, 30, 0, 20};
    for (unsigned j = 0; j < 5; ++j) EXPECT_EQ(c(0, j), firsts[j]);
    EXPECT_EQ(c(7, 1), 47u);
    EXPECT_EQ(c(4, 4), NO);
    // New order of old columns: 1, 5, 4, 0, 2; old 3 is dropped.
    if (with_neighbors) {
      EXPECT_EQ(to_vector(n), V({3, 4, 7, NO, 2, NO, 7, NO, NO, 1, 7, NO, NO, 0, 7, NO, 0, NO, 7, NO}));
    }
  }
}

TEST(SortElfes, Codes) {
  dense2D<unsigned> c = mixed_solids(), wrong(4, 5, 0u), empty;
  dense1D<unsigned> counts, ends, new_index;
  EXPECT_EQ(sort_elfes(c, wrong, counts, ends, new_index), -1);
  EXPECT_TRUE(counts.empty() && ends.empty() && new_index.empty());
  EXPECT_EQ(to_vector(c), to_vector(mixed_solids()));
  EXPECT_EQ(sort_elfes(c, empty, counts, ends, new_index), 0);
  EXPECT_EQ(to_vector(counts), V({8, 6, 4}));
  EXPECT_EQ(sort_elfes(empty, counts, ends, new_index), 0);
  EXPECT_TRUE(counts.empty() && ends.empty() && new_index.empty());
  // Columns without rows hold no node: all of them are dropped.
  dense2D<unsigned> no_rows(0, 6), no_neighbors(0, 6);
  EXPECT_EQ(sort_elfes(no_rows, no_neighbors, counts, ends, new_index), 0);
  EXPECT_TRUE(counts.empty() && ends.empty());
  EXPECT_EQ(to_vector(new_index), V(6, NO));
  EXPECT_EQ(no_rows.cols(), 0u);
}
