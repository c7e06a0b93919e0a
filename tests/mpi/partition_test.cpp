// partition, extract_part and assemble_parts (serial; every rank runs them).
#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

#include "parts.hpp"

namespace plexa_mpi_test {
namespace {

using namespace zeb::plexa;

TEST(Partition, BalancedPartsSplitAndGlueBackToTheMesh) {
  const cube whole(6);
  const unsigned elements = whole.tets.cols();
  for (unsigned k : {1u, 2u, 3u, 5u, 8u}) {
    SCOPED_TRACE(k);
    dense1D<unsigned, 8> part_of, again;
    ASSERT_EQ(partition(whole.tets, ELT_TETRA4, k, part_of), 0);
    ASSERT_EQ(part_of.size(), elements);
    ASSERT_EQ(partition(whole.tets, ELT_TETRA4, k, again), 0);
    EXPECT_TRUE(part_of == again);  // reproducible
    std::vector<unsigned> counts(k, 0);
    for (unsigned e = 0; e < elements; ++e) {
      ASSERT_LT(part_of[e], k);
      ++counts[part_of[e]];
    }
    EXPECT_LE(*std::max_element(counts.begin(), counts.end()), elements / k * 105 / 100 + 1);
    std::vector<part> parts(k);
    unsigned total = 0;
    for (unsigned q = 0; q < k; ++q) {
      const int got = extract_part(whole.pos, whole.tets, part_of, q, parts[q].pos, parts[q].connect, parts[q].ids);
      ASSERT_EQ(got, int(counts[q]));
      total += unsigned(got);
      for (unsigned i = 0; i < parts[q].ids.size(); ++i) {
        ASSERT_TRUE(i == 0 || parts[q].ids[i - 1] < parts[q].ids[i]);
        for (unsigned r = 0; r < 3; ++r) ASSERT_EQ(parts[q].pos(r, i), whole.pos(r, parts[q].ids[i]));
      }
    }
    EXPECT_EQ(total, elements);
    // Glued back: the same nodes (by increasing id, which is the original
    // numbering) and the same elements, part after part.
    std::vector<dense2D<double>> pos(k);
    std::vector<dense2D<unsigned>> connect(k);
    std::vector<dense1D<unsigned, 8>> ids(k);
    for (unsigned q = 0; q < k; ++q) pos[q] = parts[q].pos, connect[q] = parts[q].connect, ids[q] = parts[q].ids;
    dense2D<double> glued_pos;
    dense2D<unsigned> glued;
    dense1D<unsigned, 8> node_of;
    ASSERT_EQ(assemble_parts(pos.data(), connect.data(), ids.data(), k, glued_pos, glued, node_of),
              int(whole.pos.cols()));
    EXPECT_TRUE(std::equal(glued_pos.data(), glued_pos.data() + 3 * glued_pos.cols(), whole.pos.data()));
    std::vector<std::vector<unsigned>> expected, got;
    for (unsigned e = 0; e < elements; ++e) {
      expected.push_back({whole.tets(0, e), whole.tets(1, e), whole.tets(2, e), whole.tets(3, e)});
      got.push_back({glued(0, e), glued(1, e), glued(2, e), glued(3, e)});
    }
    std::sort(expected.begin(), expected.end());
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, expected);
  }
}

TEST(Partition, MorePartsThanElementsAndEmptyParts) {
  const cube one(1);
  dense1D<unsigned, 8> part_of;
  ASSERT_EQ(partition(one.tets, ELT_TETRA4, 10, part_of), 0);
  for (unsigned e = 0; e < part_of.size(); ++e) EXPECT_EQ(part_of[e], e);
  part p;
  EXPECT_EQ(extract_part(one.pos, one.tets, part_of, 9, p.pos, p.connect, p.ids), 0);
  EXPECT_TRUE(p.pos.empty() && p.connect.empty() && p.ids.empty());
}

TEST(Partition, OutputsMayBeTheInputs) {
  const cube whole(3);
  dense1D<unsigned, 8> part_of;
  ASSERT_EQ(partition(whole.tets, ELT_TETRA4, 2, part_of), 0);
  part expected;
  const int count = extract_part(whole.pos, whole.tets, part_of, 1, expected.pos, expected.connect, expected.ids);
  ASSERT_GT(count, 0);
  // Views of the inputs as outputs: the inputs' blocks keep their entries.
  dense2D<double> pos = whole.pos;
  dense2D<unsigned> connect = whole.tets;
  dense1D<unsigned, 8> ids = part_of;
  EXPECT_EQ(extract_part(pos, connect, ids, 1, pos, connect, ids), count);
  EXPECT_EQ(std::vector<double>(pos.data(), pos.data() + 3 * pos.cols()),
            std::vector<double>(expected.pos.data(), expected.pos.data() + 3 * expected.pos.cols()));
  EXPECT_TRUE(std::equal(connect.data(), connect.data() + 4 * connect.cols(), expected.connect.data()));
  EXPECT_TRUE(ids == expected.ids);
  EXPECT_EQ(whole.pos.cols(), 64u);
  EXPECT_EQ(whole.tets(0, 0), 0u);
}

TEST(Partition, BadArguments) {
  const cube one(1);
  dense1D<unsigned, 8> part_of(2, 0u);
  EXPECT_EQ(partition(one.tets, ELT_TETRA4, 0, part_of), -3);
  EXPECT_EQ(partition(dense2D<unsigned>(6, 1, 0u), ELT_TRIA6, 2, part_of), -2);
  dense2D<unsigned> broken(4, 1, 0xFFFFFFFFu);
  EXPECT_EQ(partition(broken, ELT_TETRA4, 2, part_of), -1);
  EXPECT_TRUE(part_of.empty());
  part p;
  EXPECT_EQ(extract_part(one.pos, one.tets, part_of, 0, p.pos, p.connect, p.ids), -3);
  dense2D<double> few(3, 2, 0.0);
  EXPECT_EQ(extract_part(few, one.tets, part_of, 0, p.pos, p.connect, p.ids), -2);
  dense2D<double> pos;
  dense2D<unsigned> connect;
  dense1D<unsigned, 8> node_of, bad_ids(one.pos.cols(), 0xFFFFFFFFu);
  EXPECT_EQ(assemble_parts(&one.pos, &one.tets, &bad_ids, 1, pos, connect, node_of), -4);
  EXPECT_EQ(assemble_parts(&one.pos, &one.tets, &bad_ids, 0, pos, connect, node_of), -1);
}

}  // namespace
}  // namespace plexa_mpi_test
