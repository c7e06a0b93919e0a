#include "support/support.hpp"

using namespace zeb::plexa;
using zeb::dense1D;
using zeb::dense2D;
using plexa_test::connectivity;
using plexa_test::ids;
using plexa_test::NO;
using plexa_test::to_vector;
using V = std::vector<unsigned>;

namespace {

// Mixed solid columns: tetra, hexa, tetra, empty, wedge, hexa.
dense2D<unsigned> mixed_solids() {
  return connectivity(8, {0, 1, 2, 3, NO, NO, NO, NO,  10, 11, 12, 13, 14, 15, 16, 17, 20, 21, 22, 23, NO, NO, NO, NO,
                          NO, NO, NO, NO, NO, NO, NO, NO, 30, 31, 32, 33, 34, 35, NO, NO, 40, 41, 42, 43, 44, 45, 46, 47});
}

}  // namespace

TEST(SortElfes, GroupsByNodeCountMostNodesFirst) {
  dense1D<unsigned> counts = ids({99}), ends = ids({99}), new_index = ids({99});
  for (bool strided : {false, true}) {
    SCOPED_TRACE(strided);
    dense2D<unsigned> c = strided ? plexa_test::strided(mixed_solids()) : mixed_solids();
    ASSERT_EQ(sort_elfes(c, counts, ends, new_index), 0);
    EXPECT_EQ(to_vector(counts), V({8, 6, 4}));
    EXPECT_EQ(to_vector(ends), V({2, 3, 5}));
    EXPECT_EQ(to_vector(new_index), V({3, 0, 4, NO, 2, 1}));
    ASSERT_EQ(c.cols(), 5u);
    ASSERT_EQ(c.rows(), 8u);
    const unsigned firsts[] = {10, 40, 30, 0, 20};
    for (unsigned j = 0; j < 5; ++j) EXPECT_EQ(c(0, j), firsts[j]);
    EXPECT_EQ(c(7, 1), 47u);
    EXPECT_EQ(c(4, 4), NO);
  }
}

TEST(SortElfes, MovesAndRenumbersTheNeighbours) {
  dense2D<unsigned> c = mixed_solids();
  // Column e of the neighbours: (e - 1, e + 1, 7 (no element), NO).
  dense2D<unsigned> n = plexa_test::strided(connectivity(4, {NO, 1, 7, NO, 0, 2, 7, NO, 1, 3, 7, NO, 2, 4, 7, NO,
                                                             3, 5, 7, NO, 4, NO, 7, NO}));
  dense1D<unsigned> counts, ends, new_index;
  ASSERT_EQ(sort_elfes(c, n, counts, ends, new_index), 0);
  ASSERT_EQ(n.cols(), 5u);
  // New order of old columns: 1, 5, 4, 0, 2; old 3 is dropped.
  EXPECT_EQ(to_vector(n), V({3, 4, 7, NO,  2, NO, 7, NO,  NO, 1, 7, NO,  NO, 0, 7, NO,  0, NO, 7, NO}));

  dense2D<unsigned> wrong(4, 5, 0u), empty;
  c = mixed_solids();
  EXPECT_EQ(sort_elfes(c, wrong, counts, ends, new_index), -1);
  EXPECT_TRUE(counts.empty() && ends.empty() && new_index.empty());
  EXPECT_EQ(c.cols(), 6u);
  EXPECT_EQ(sort_elfes(c, empty, counts, ends, new_index), 0);
  EXPECT_EQ(to_vector(counts), V({8, 6, 4}));

  dense2D<unsigned> none;
  EXPECT_EQ(sort_elfes(none, counts, ends, new_index), 0);
  EXPECT_TRUE(counts.empty() && ends.empty() && new_index.empty());
}

TEST(SortElfes, AllocationFailureLeavesTheMatricesAlone) {
  dense2D<unsigned> c = mixed_solids(), n(6, 6, 1u);
  dense1D<unsigned> counts, ends, new_index;
  const unsigned failures = plexa_test::for_each_allocation_failure(
      [&] { return sort_elfes(c, n, counts, ends, new_index); },
      [&] {
        EXPECT_EQ(to_vector(c), to_vector(mixed_solids()));
        EXPECT_EQ(n.cols(), 6u);
        EXPECT_TRUE(counts.empty() && ends.empty() && new_index.empty());
      });
  EXPECT_GT(failures, 0u);
  EXPECT_EQ(c.cols(), 5u);
}
