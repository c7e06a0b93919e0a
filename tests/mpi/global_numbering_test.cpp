// Global numbering of parts made independently, against the serial merge of
// all ranks' nodes in rank order.
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <zeb/plexa/search.hpp>

#include "parts.hpp"

namespace plexa_mpi_test {
namespace {

using namespace zeb::plexa;

// Every rank's nodes, concatenated in rank order, and the ids each got.
struct gathered {
  dense2D<double> pos;
  std::vector<unsigned> ids;
};

gathered gather(const dense2D<double>& pos, const dense1D<unsigned, 8>& ids) {
  const int size = world_size();
  const int n = int(pos.cols());
  std::vector<int> counts(size), at(size + 1, 0), coordinate_counts(size), coordinate_at(size);
  MPI_Allgather(&n, 1, MPI_INT, counts.data(), 1, MPI_INT, MPI_COMM_WORLD);
  for (int r = 0; r < size; ++r) {
    at[r + 1] = at[r] + counts[r];
    coordinate_counts[r] = 3 * counts[r];
    coordinate_at[r] = 3 * at[r];
  }
  gathered all;
  all.pos.resize(3, unsigned(at[size]));
  all.ids.resize(at[size]);
  std::vector<double> mine(3 * std::size_t(n));
  for (int j = 0; j < n; ++j)
    for (int r = 0; r < 3; ++r) mine[3 * j + r] = pos(unsigned(r), unsigned(j));
  MPI_Allgatherv(mine.data(), 3 * n, MPI_DOUBLE, all.pos.data(), coordinate_counts.data(), coordinate_at.data(),
                 MPI_DOUBLE, MPI_COMM_WORLD);
  MPI_Allgatherv(ids.data(), n, MPI_UNSIGNED, all.ids.data(), counts.data(), at.data(), MPI_UNSIGNED,
                 MPI_COMM_WORLD);
  return all;
}

// The ids against the serial merge of the concatenation: as many ids as
// unmerged nodes, and two nodes share an id exactly when merge gives them
// one representative.
void expect_serial_merge(const gathered& all, double tolerance, int count) {
  dense1D<unsigned, 8> map;
  const unsigned n = all.pos.cols();
  dense1D<unsigned, 8> list(n);
  for (unsigned i = 0; i < n; ++i) list[i] = i;
  const int merged = merge(all.pos, list, list, map, tolerance);
  ASSERT_GE(merged, 0);
  EXPECT_EQ(count, int(n) - merged);
  std::vector<unsigned> id_of_root(n, 0xFFFFFFFFu), root_of_id(n, 0xFFFFFFFFu);
  unsigned mismatches = 0;
  for (unsigned i = 0; i < n; ++i) {
    const unsigned root = n ? map[i] : i, id = all.ids[i];
    ASSERT_LT(id, unsigned(count));
    if (id_of_root[root] == 0xFFFFFFFFu) id_of_root[root] = id;
    if (root_of_id[id] == 0xFFFFFFFFu) root_of_id[id] = root;
    mismatches += id_of_root[root] != id || root_of_id[id] != root;
  }
  EXPECT_EQ(mismatches, 0u);
}

TEST(GlobalNumbering, SlabsMeshedApartGlueAsTheSerialMerge) {
  // Rank r meshes the slab r <= z <= r + 1 of a column of cubes on its own;
  // neighbouring slabs share a plane of nodes.
  const int rank = world_rank();
  const cube slab(4, 0.25, 0, 0, rank);
  dense1D<unsigned, 8> ids;
  const int count = number_nodes_globally(MPI_COMM_WORLD, slab.pos, 1e-9, ids);
  const unsigned per_slab = slab.pos.cols(), plane = 25;
  EXPECT_EQ(count, int(world_size() * (per_slab - plane) + plane));
  ASSERT_EQ(ids.size(), per_slab);
  expect_serial_merge(gather(slab.pos, ids), 1e-9, count);
}

TEST(GlobalNumbering, RandomClustersAcrossRanksFollowMergesRule) {
  // Points near a few shared places, with chains of joins across ranks.
  for (const double tolerance : {0.0, 0.02, 0.07}) {
    SCOPED_TRACE(tolerance);
    std::mt19937_64 g(100 + unsigned(world_rank()));
    std::uniform_int_distribution<int> place(0, 40);
    std::uniform_real_distribution<double> offset(-0.03, 0.03);
    const unsigned n = world_rank() == 1 ? 0 : 300;  // rank 1, when there is one, has no node
    dense2D<double> pos(3, n);
    for (unsigned j = 0; j < n; ++j) {
      const int p = place(g);
      const bool exact = g() % 3 == 0;  // some exact copies, for tolerance 0
      pos(0, j) = (p % 7) * 0.1 + (exact ? 0 : offset(g));
      pos(1, j) = (p / 7) * 0.1 + (exact ? 0 : offset(g));
      pos(2, j) = exact ? 0 : offset(g);
    }
    dense1D<unsigned, 8> ids;
    const int count = number_nodes_globally(MPI_COMM_WORLD, pos, tolerance, ids);
    ASSERT_GE(count, 0);
    ASSERT_EQ(ids.size(), n);
    expect_serial_merge(gather(pos, ids), tolerance, count);
  }
}

TEST(GlobalNumbering, PartsOfOneMeshGetOneIdPerOriginalNode) {
  const cube whole(6);
  const part p = part_of_rank(whole.pos, whole.tets, unsigned(world_size()));
  dense1D<unsigned, 8> ids;
  EXPECT_EQ(number_nodes_globally(MPI_COMM_WORLD, p.pos, 1e-6, ids), int(whole.pos.cols()));
  // The new ids are a renumbering of the original ones.
  std::vector<unsigned> fresh(whole.pos.cols(), 0), lowest(fresh.size()), highest(fresh.size());
  std::vector<unsigned> low(fresh.size(), 0xFFFFFFFFu), high(fresh.size(), 0);
  for (unsigned i = 0; i < ids.size(); ++i) low[p.ids[i]] = high[p.ids[i]] = ids[i];
  MPI_Allreduce(low.data(), lowest.data(), int(low.size()), MPI_UNSIGNED, MPI_MIN, MPI_COMM_WORLD);
  MPI_Allreduce(high.data(), highest.data(), int(low.size()), MPI_UNSIGNED, MPI_MAX, MPI_COMM_WORLD);
  std::vector<bool> seen(fresh.size(), false);
  for (unsigned v = 0; v < fresh.size(); ++v) {
    ASSERT_EQ(lowest[v], highest[v]) << v;
    ASSERT_LT(lowest[v], fresh.size());
    EXPECT_FALSE(seen[lowest[v]]);
    seen[lowest[v]] = true;
  }
}

TEST(GlobalNumbering, BadArgumentsGiveOneCodeOnEveryRank) {
  const cube c(2, 0.5, world_rank());
  dense1D<unsigned, 8> ids(3, 7u);
  const bool last = world_rank() == world_size() - 1;
  EXPECT_EQ(number_nodes_globally(MPI_COMM_WORLD, c.pos, last ? -1.0 : 0.1, ids), -3);
  EXPECT_TRUE(ids.empty());
  EXPECT_EQ(number_nodes_globally(MPI_COMM_WORLD, c.pos, last ? 0.2 : 0.1, ids), world_size() > 1 ? -3 : 27);
  dense2D<double> flat(last ? 4 : 3, 2, 0.0);
  EXPECT_EQ(number_nodes_globally(MPI_COMM_WORLD, flat, 0.1, ids), -2);
  EXPECT_EQ(number_nodes_globally(MPI_COMM_NULL, c.pos, 0.1, ids), -1);
}

}  // namespace
}  // namespace plexa_mpi_test
