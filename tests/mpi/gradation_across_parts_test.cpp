// Gradation control across parts: a cube of tetrahedra partitioned over the
// ranks, graded in parallel, checked edge by edge and against the serial
// call on the whole cube.
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include <zeb/plexa/edges.hpp>
#include <zeb/plexa/gradation.hpp>
#include <zeb/plexa/metrics.hpp>

#include "parts.hpp"

namespace plexa_mpi_test {
namespace {

using namespace zeb::plexa;

constexpr double INF = std::numeric_limits<double>::infinity();

// Sizes from point sources: a few tiny sizes among large random ones.
dense1D<double, 8> point_sources(unsigned n, std::uint64_t seed) {
  std::mt19937_64 g(seed);
  std::uniform_real_distribution<double> large(0.3, 1.0);
  dense1D<double, 8> h(n);
  for (unsigned i = 0; i < n; ++i) h[i] = large(g);
  for (int s = 0; s < 6; ++s) h[unsigned(g() % n)] = 0.004;
  return h;
}

// Anisotropic metrics: random diagonal sizes, rotated about z.
dense2D<double> random_metrics(unsigned n, std::uint64_t seed) {
  std::mt19937_64 g(seed);
  std::uniform_real_distribution<double> size(0.01, 1.0), angle(0, 3.14159);
  dense2D<double> m(6, n);
  for (unsigned i = 0; i < n; ++i) {
    const double a = angle(g), c = std::cos(a), s = std::sin(a);
    const double l1 = 1 / std::pow(size(g), 2), l2 = 1 / std::pow(size(g), 2), l3 = 1 / std::pow(size(g), 2);
    m(0, i) = c * c * l1 + s * s * l2;
    m(1, i) = c * s * (l1 - l2);
    m(2, i) = s * s * l1 + c * c * l2;
    m(3, i) = 0;
    m(4, i) = 0;
    m(5, i) = l3;
  }
  return m;
}

// The copies of every global node agree: the smallest and the largest
// value of each, over the ranks, are equal.
void expect_copies_agree(const part& p, const double* values, unsigned width, unsigned global_nodes) {
  std::vector<double> low(std::size_t(global_nodes) * width, INF), high(low.size(), -INF), all_low(low.size()),
      all_high(low.size());
  for (unsigned i = 0; i < p.ids.size(); ++i)
    for (unsigned r = 0; r < width; ++r) low[p.ids[i] * width + r] = high[p.ids[i] * width + r] = values[i * width + r];
  MPI_Allreduce(low.data(), all_low.data(), int(low.size()), MPI_DOUBLE, MPI_MIN, MPI_COMM_WORLD);
  MPI_Allreduce(high.data(), all_high.data(), int(low.size()), MPI_DOUBLE, MPI_MAX, MPI_COMM_WORLD);
  unsigned differing = 0;
  for (std::size_t k = 0; k < low.size(); ++k) differing += all_low[k] != all_high[k] && all_low[k] != INF;
  EXPECT_EQ(differing, 0u);
}

// The same value on every rank.
void expect_same_everywhere(int value) {
  int low = 0, high = 0;
  MPI_Allreduce(&value, &low, 1, MPI_INT, MPI_MIN, MPI_COMM_WORLD);
  MPI_Allreduce(&value, &high, 1, MPI_INT, MPI_MAX, MPI_COMM_WORLD);
  EXPECT_EQ(low, high);
}

// The largest gradation along the part's edges (sizes or metrics).
template <class Field>
double largest_gradation(const part& p, const Field& field) {
  dense2D<unsigned> edges;
  dense1D<double, 8> shock;
  if (copy_edges(p.connect, ELT_TETRA4, edges) != 0 || H_shock(p.pos, edges, field, shock) != 0) return INF;
  double worst = 0;
  for (unsigned i = 0; i < shock.size(); ++i) worst = std::max(worst, shock[i]);
  return worst;
}

// The largest variation |hi - hj| / d along the part's element edges.
double largest_variation(const part& p, const dense1D<double, 8>& h) {
  double worst = 0;
  for (unsigned e = 0; e < p.connect.cols(); ++e)
    for (unsigned a = 0; a < 4; ++a)
      for (unsigned b = a + 1; b < 4; ++b) {
        const unsigned i = p.connect(a, e), j = p.connect(b, e);
        double d = 0;
        for (unsigned r = 0; r < 3; ++r) d += std::pow(p.pos(r, i) - p.pos(r, j), 2);
        worst = std::max(worst, std::fabs(h[i] - h[j]) / std::sqrt(d));
      }
  return worst;
}

double largest_of_all_ranks(double x) {
  double y = 0;
  MPI_Allreduce(&x, &y, 1, MPI_DOUBLE, MPI_MAX, MPI_COMM_WORLD);
  return y;
}

// The largest relative difference from the serial sizes.
double relative_difference(const part& p, const dense1D<double, 8>& h, const dense1D<double, 8>& serial) {
  double worst = 0;
  for (unsigned i = 0; i < p.ids.size(); ++i)
    worst = std::max(worst, std::fabs(h[i] - serial[p.ids[i]]) / serial[p.ids[i]]);
  return largest_of_all_ranks(worst);
}

// The parts: one per rank, or one fewer than the ranks (the last rank then
// holds nothing).
unsigned part_count(bool leave_one_empty) {
  const unsigned size = unsigned(world_size());
  return leave_one_empty && size > 1 ? size - 1 : size;
}

TEST(GradationAcrossParts, SizesMeetTheBoundOnEveryEdgeAndStayNearTheSerialResult) {
  const cube whole(8);
  const unsigned n = whole.pos.cols();
  for (bool leave_one_empty : {false, true})
    for (int mode : {-1, 1})
      for (bool gradation : {true, false}) {
        SCOPED_TRACE(testing::Message() << "mode " << mode << (gradation ? " gradation" : " variation")
                                        << (leave_one_empty ? ", one empty rank" : ""));
        const double g = gradation ? 0.3 : 0.5;
        const dense1D<double, 8> start = point_sources(n, 7);
        dense1D<double, 8> serial;
        serial.copy(start);
        const int serial_changed =
            gradation ? bound_metric_gradations(whole.pos, whole.tets, ELT_TETRA4, {}, true, mode, g, serial)
                      : bound_metric_variations(whole.pos, whole.tets, ELT_TETRA4, {}, true, mode, g, serial);
        ASSERT_GT(serial_changed, 0);
        const part p = part_of_rank(whole.pos, whole.tets, part_count(leave_one_empty));
        dense1D<double, 8> h = sizes_of(p, start);
        exchange_report report;
        const int changed =
            gradation
                ? bound_metric_gradations(MPI_COMM_WORLD, p.pos, p.connect, ELT_TETRA4, p.ids, {}, true, mode, g, h,
                                          &report)
                : bound_metric_variations(MPI_COMM_WORLD, p.pos, p.connect, ELT_TETRA4, p.ids, {}, true, mode, g, h,
                                          &report);
        ASSERT_GT(changed, 0);
        expect_same_everywhere(changed);
        expect_same_everywhere(int(report.rounds));
        expect_copies_agree(p, h.data(), 1, n);
        // The serial guarantee: within the bound up to the 0.001 threshold.
        const double worst = largest_of_all_ranks(gradation ? largest_gradation(p, h) : largest_variation(p, h));
        const double allowed = gradation ? std::pow(1 + g, 1 / 0.999) - 1 + 1e-9 : g / 0.999 + 1e-9;
        EXPECT_LE(worst, allowed);
        // Sizes only moved in the mode's direction.
        for (unsigned i = 0; i < h.size(); ++i)
          ASSERT_TRUE(mode < 0 ? h[i] <= start[p.ids[i]] : h[i] >= start[p.ids[i]]) << i;
        // The documented difference from the serial result.
        EXPECT_LE(relative_difference(p, h, serial), 1e-3);
        if (world_size() == 1) EXPECT_EQ(changed, serial_changed);
      }
}

TEST(GradationAcrossParts, MetricsMeetTheBoundOnEveryEdge) {
  const cube whole(6);
  const unsigned n = whole.pos.cols();
  for (int mode : {-1, 1}) {
    SCOPED_TRACE(testing::Message() << "mode " << mode);
    const double g = 0.4;
    const dense2D<double> start = random_metrics(n, 11);
    const part p = part_of_rank(whole.pos, whole.tets, part_count(false));
    dense2D<double> m = metrics_of(p, start);
    const int changed =
        bound_metric_gradations(MPI_COMM_WORLD, p.pos, p.connect, ELT_TETRA4, p.ids, {}, true, mode, g, m);
    ASSERT_GT(changed, 0);
    expect_same_everywhere(changed);
    expect_copies_agree(p, m.data(), 6, n);
    // Metrics land near the target, not on it: the bound with the slack the
    // serial call leaves.
    dense2D<double> serial;
    serial.copy(start);
    ASSERT_GT(bound_metric_gradations(whole.pos, whole.tets, ELT_TETRA4, {}, true, mode, g, serial), 0);
    part everything{whole.pos, whole.tets, {}};
    const double serial_worst = largest_gradation(everything, serial);
    EXPECT_LE(largest_of_all_ranks(largest_gradation(p, m)), std::max(serial_worst, g) * 1.05 + 1e-9);
  }
}

TEST(GradationAcrossParts, PartsWithoutBordersGiveTheSerialResult) {
  // Every rank its own cube, apart from the others.
  const int rank = world_rank();
  const cube mine(5, 0.2, 3.0 * rank);
  const unsigned n = mine.pos.cols();
  part p{mine.pos, mine.tets, dense1D<unsigned, 8>(n)};
  for (unsigned i = 0; i < n; ++i) p.ids[i] = unsigned(rank) * n + i;
  const dense1D<double, 8> start = point_sources(n, 3 + unsigned(rank));
  dense1D<double, 8> serial, h;
  serial.copy(start);
  h.copy(start);
  const int local = bound_metric_gradations(mine.pos, mine.tets, ELT_TETRA4, {}, true, -1, 0.2, serial);
  exchange_report report;
  const int changed =
      bound_metric_gradations(MPI_COMM_WORLD, p.pos, p.connect, ELT_TETRA4, p.ids, {}, true, -1, 0.2, h, &report);
  int total = 0;
  MPI_Allreduce(&local, &total, 1, MPI_INT, MPI_SUM, MPI_COMM_WORLD);
  EXPECT_EQ(changed, total);
  EXPECT_EQ(report.rounds, 1u);
  EXPECT_EQ(report.neighbors, 0u);
  EXPECT_EQ(report.shared_nodes, 0u);
  EXPECT_EQ(std::memcmp(h.data(), serial.data(), sizeof(double) * n), 0);
}

TEST(GradationAcrossParts, FrozenNodesStayOnEveryRank) {
  const cube whole(6);
  const unsigned n = whole.pos.cols();
  const dense1D<double, 8> start = point_sources(n, 5);
  const part p = part_of_rank(whole.pos, whole.tets, part_count(false));
  // Rank 0 freezes its nodes on the side x = 0; the other ranks freeze
  // nothing.
  dense1D<unsigned, 8> frozen;
  if (world_rank() == 0)
    for (unsigned i = 0; i < p.ids.size(); ++i)
      if (whole.pos(0, p.ids[i]) == 0) frozen.push_back(i);
  // Sparse global ids: any unsigned values will do.
  dense1D<unsigned, 8> sparse(p.ids.size());
  for (unsigned i = 0; i < p.ids.size(); ++i) sparse[i] = p.ids[i] * 7919u + 13u;
  dense1D<double, 8> h = sizes_of(p, start);
  ASSERT_GE(bound_metric_gradations(MPI_COMM_WORLD, p.pos, p.connect, ELT_TETRA4, sparse, frozen, true, -1, 0.1, h),
            0);
  // The nodes rank 0 froze, as every rank holding them sees them.
  std::vector<int> mine(n, 0), frozen_anywhere(n, 0);
  for (unsigned k = 0; k < frozen.size(); ++k) mine[p.ids[frozen[k]]] = 1;
  MPI_Allreduce(mine.data(), frozen_anywhere.data(), int(n), MPI_INT, MPI_MAX, MPI_COMM_WORLD);
  unsigned moved = 0;
  for (unsigned i = 0; i < p.ids.size(); ++i) moved += frozen_anywhere[p.ids[i]] && h[i] != start[p.ids[i]];
  EXPECT_EQ(moved, 0u);
  expect_copies_agree(p, h.data(), 1, n);
}

TEST(GradationAcrossParts, EveryRankReturnsTheSameCodeAndKeepsItsField) {
  const cube whole(4);
  const unsigned n = whole.pos.cols();
  const dense1D<double, 8> start = point_sources(n, 9);
  const part p = part_of_rank(whole.pos, whole.tets, part_count(false));
  const bool last = world_rank() == world_size() - 1;
  const auto call = [&](const dense1D<unsigned, 8>& ids, int mode, double g, dense1D<double, 8>& h) {
    return bound_metric_gradations(MPI_COMM_WORLD, p.pos, p.connect, ELT_TETRA4, ids, {}, true, mode, g, h);
  };
  dense1D<double, 8> h = sizes_of(p, start);
  EXPECT_EQ(call(p.ids, 0, 0.3, h), -8);  // mode 0 is refused
  EXPECT_EQ(call(p.ids, -1, last ? -1.0 : 0.3, h), -9);
  if (world_size() > 1) {  // scalars that differ between ranks
    EXPECT_EQ(call(p.ids, last ? 1 : -1, 0.3, h), -8);
    EXPECT_EQ(call(p.ids, -1, last ? 0.2 : 0.3, h), -9);
  }
  dense1D<unsigned, 8> repeated;
  repeated.copy(p.ids);
  if (last && repeated.size() > 1) repeated[1] = repeated[0];
  EXPECT_EQ(call(repeated, -1, 0.3, h), -5);
  dense1D<double, 8> short_field(last ? 1 : h.size());
  EXPECT_EQ(call(p.ids, -1, 0.3, short_field), -10);
  EXPECT_EQ(bound_metric_gradations(MPI_COMM_NULL, p.pos, p.connect, ELT_TETRA4, p.ids, {}, true, -1, 0.3, h), -1);
  const dense1D<double, 8> untouched = sizes_of(p, start);
  EXPECT_EQ(std::memcmp(h.data(), untouched.data(), sizeof(double) * h.size()), 0);
  // The largest double is no bound; other modes than 0, 1 and -1 block.
  EXPECT_EQ(call(p.ids, -1, std::numeric_limits<double>::max(), h), 0);
  EXPECT_EQ(call(p.ids, 7, 0.3, h), 0);
}

}  // namespace
}  // namespace plexa_mpi_test
