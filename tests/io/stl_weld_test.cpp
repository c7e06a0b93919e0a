// The weld of an STL soup (src/io/stl_weld.cpp) against the calls it stands
// for, made one after the other through the public functions: exact merges
// of the slices, the merge within 0.05 h, remove_degenerated, simplify.
// Seeded soups hold every case that changes the result: copies of a vertex
// in one slice and across slices, copies moved by less than the tolerance,
// degenerate and repeated triangles, shuffled triangles, -0 beside +0, NaN
// and infinite coordinates; slices of a few triangles, so that many meet.
#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "io/stl_soup.hpp"
#include "support/meshes.hpp"
#include "support/support.hpp"

namespace {

using namespace zeb::plexa;
using namespace plexa_test;

struct soup {
  dense2D<double> pos;
  dense2D<unsigned> connect;
  double h2 = INFINITY;
};

// The triangles of a grid surface, each with its own three nodes, in
// shuffled order, with copies moved by up to `shift`, and the odd
// degenerate, repeated or non-finite triangle.
soup random_soup(std::mt19937_64& g, unsigned nx, unsigned ny, double shift) {
  const dense2D<unsigned> tris = grid_triangles(nx, ny, &g);
  std::vector<unsigned> order(tris.cols());
  for (unsigned j = 0; j < order.size(); ++j) order[j] = j;
  std::shuffle(order.begin(), order.end(), g);
  std::uniform_real_distribution<double> move(-shift, shift);
  std::vector<double> x;
  const auto vertex = [&](unsigned node) {
    const double p[3] = {double(node % (nx + 1)), double(node / (nx + 1)), node % 7 == 0 ? -0.0 : 0.0};
    for (double v : p) x.push_back(g() % 3 == 0 ? v + move(g) : v);
  };
  for (unsigned j : order) {
    const unsigned kind = unsigned(g() % 40);
    for (unsigned i = 0; i < 3; ++i) vertex(tris(kind == 0 && i == 2 ? 0 : i, j));  // kind 0: degenerate
    if (kind == 1)  // repeated
      for (unsigned i = 0; i < 3; ++i) vertex(tris(i, j));
    if (kind == 2) x[x.size() - 1 - g() % 9] = g() % 2 ? std::nan("") : std::numeric_limits<double>::infinity();
  }
  soup s;
  const unsigned nodes = unsigned(x.size() / 3);
  s.pos = dense2D<double>(3, nodes);
  std::copy(x.begin(), x.end(), s.pos.data());
  s.connect = dense2D<unsigned>(3, nodes / 3);
  for (unsigned v = 0; v < nodes; ++v) s.connect.data()[v] = v;
  for (unsigned t = 0; t < nodes / 3; ++t) {
    const double h2 = detail::triangle_soup::squared_height(&x[9 * t]);
    if (h2 > 0.0 && h2 < s.h2) s.h2 = h2;
  }
  return s;
}

// The weld as the sequence of public calls.
void weld_by_calls(dense2D<double>& pos, dense2D<unsigned>& connect, double h2, unsigned slice) {
  dense1D<unsigned, 8> map;
  for (unsigned j = 0; j < connect.cols(); j += slice) {
    dense2D<unsigned> part = connect.sub_matrix(0, j, 3, std::min(slice, connect.cols() - j));
    ASSERT_GE(merge(pos, part, map, 0.0, 0), 0);
  }
  ASSERT_GE(merge(pos, connect, map, 0.05 * std::sqrt(h2), 0), 0);
  ASSERT_GE(remove_degenerated(connect, map, true), 0);
  ASSERT_GE(simplify(pos, connect, map, 0), 0);
}

TEST(StlWeld, IsTheSequenceOfMerges) {
  unsigned removed = 0, kept = 0;
  for (unsigned seed = 0; seed < 60; ++seed) {
    auto g = rng(seed);
    const unsigned nx = 2 + unsigned(g() % 12), ny = 1 + unsigned(g() % 9);
    // Moves far below the tolerance, around it, and beyond it.
    const double shifts[] = {1e-9, 0.01, 0.03, 0.2};
    const soup s = random_soup(g, nx, ny, shifts[seed % 4]);
    const unsigned slice = 1 + unsigned(g() % 7);
    soup expected, got;
    ASSERT_TRUE(expected.pos.copy(s.pos) && expected.connect.copy(s.connect));
    ASSERT_TRUE(got.pos.copy(s.pos) && got.connect.copy(s.connect));
    weld_by_calls(expected.pos, expected.connect, s.h2, slice);
    const int r = detail::weld_soup(got.pos, got.connect, s.h2, slice);
    ASSERT_EQ(r, int(s.connect.cols() - expected.connect.cols())) << "seed " << seed;
    EXPECT_EQ(to_vector(got.connect), to_vector(expected.connect)) << "seed " << seed;
    const std::vector<double> a = to_vector(got.pos), b = to_vector(expected.pos);
    ASSERT_EQ(a.size(), b.size()) << "seed " << seed;
    for (std::size_t k = 0; k < a.size(); ++k)
      ASSERT_TRUE(a[k] == b[k] ? std::signbit(a[k]) == std::signbit(b[k]) : std::isnan(a[k]) && std::isnan(b[k]))
          << "seed " << seed << ", entry " << k;
    removed += unsigned(r);
    kept += got.pos.cols();
  }
  EXPECT_GT(removed, 5u);
  EXPECT_GT(kept, 1000u);
}

TEST(StlWeld, MemoryFailures) {
  auto g = rng(99);
  const soup s = random_soup(g, 8, 6, 0.01);
  // Fresh copies for every attempt, made outside the failing allocator.
  soup w;
  const auto fresh = [&] { ASSERT_TRUE(w.pos.copy(s.pos) && w.connect.copy(s.connect)); };
  fresh();
  EXPECT_GT(for_each_allocation_failure([&] { return detail::weld_soup(w.pos, w.connect, s.h2, 5); }, fresh), 5u);
  EXPECT_LT(w.pos.cols(), s.pos.cols());
}

}  // namespace
