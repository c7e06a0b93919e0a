// Bounding boxes and centroids (src/geometry/bounding_box.cpp, centroids.cpp).
#include <cmath>
#include <limits>

#include "geometry/geometry_test.hpp"

namespace {

constexpr double INF = std::numeric_limits<double>::infinity();

// Box of the listed columns by a plain scan (NaN ignored, markers skipped).
template <unsigned D>
void scan_box(const dense2D<double>& pos, const std::vector<unsigned>& nodes, double* lo, double* hi) {
  for (unsigned k = 0; k < D; ++k) lo[k] = INF, hi[k] = -INF;
  for (unsigned j : nodes) {
    if (j == NO) continue;
    for (unsigned k = 0; k < D; ++k) {
      const double x = pos(k, j);
      if (std::isnan(x)) continue;
      lo[k] = std::min(lo[k], x);
      hi[k] = std::max(hi[k], x);
    }
  }
}

template <unsigned D, class V>
void same_box(const V& mn, const V& mx, const double* lo, const double* hi) {
  for (unsigned k = 0; k < D; ++k) {
    EXPECT_EQ(mn[k], lo[k]);
    EXPECT_EQ(mx[k], hi[k]);
  }
}

template <unsigned D, class V>
void check_boxes(std::mt19937_64& g) {
  dense2D<double> pos = plexa_test::random_coordinates(g, D, 300, -10, 10);
  for (unsigned j = 0; j < 300; j += 7) pos(j % D, j) = NAN;
  const dense2D<double> view = plexa_test::strided(pos);
  const auto connect = plexa_test::random_connectivity(g, 3, 40, 300);
  std::vector<unsigned> all(300), used = plexa_test::to_vector(connect);
  for (unsigned j = 0; j < 300; ++j) all[j] = j;
  auto list = plexa_test::ids({5, NO, 17, 5, 299});
  double lo[D], hi[D];

  V mn, mx;
  for (unsigned k = 0; k < D; ++k) mn[k] = INF, mx[k] = -INF;
  ASSERT_EQ(inc_bounding_box(view, mn, mx), 0);
  scan_box<D>(pos, all, lo, hi);
  same_box<D>(mn, mx, lo, hi);

  for (unsigned k = 0; k < D; ++k) mn[k] = INF, mx[k] = -INF;
  ASSERT_EQ(inc_bounding_box(view, plexa_test::strided(connect), mn, mx), 0);
  scan_box<D>(pos, used, lo, hi);
  same_box<D>(mn, mx, lo, hi);

  // Grown, never reset: the union of the connectivity nodes and the list.
  ASSERT_EQ(inc_bounding_box(view, list, mn, mx), 0);
  used.insert(used.end(), {5, NO, 17, 299});
  scan_box<D>(pos, used, lo, hi);
  same_box<D>(mn, mx, lo, hi);
}

}  // namespace

TEST(BoundingBox, MatchesALinearScanInEveryForm) {
  auto g = plexa_test::rng(21);
  check_boxes<2, V2>(g);
  check_boxes<3, V3>(g);
}

TEST(BoundingBox, ChecksComeInOrder) {
  const dense2D<double> pos = plexa_test::coordinates(3, {0, 0, 0, 1, 1, 1});
  V2 mn2, mx2;
  V3 mn(5, 5, 5), mx(5, 5, 5);
  EXPECT_EQ(inc_bounding_box(pos, mn2, mx2), -1);
  EXPECT_EQ(inc_bounding_box(dense2D<double>(), mn, mx), -1);
  EXPECT_EQ(inc_bounding_box(dense2D<double>(3, 0), mn, mx), 0);
  EXPECT_EQ(inc_bounding_box(pos, dense1D<unsigned, 8>(), mn2, mx2), 0);  // empty list first
  EXPECT_EQ(inc_bounding_box(pos, plexa_test::ids({0, 2}), mn2, mx2), -1);
  EXPECT_EQ(inc_bounding_box(pos, plexa_test::ids({0, 2}), mn, mx), -2);
  EXPECT_EQ(inc_bounding_box(pos, plexa_test::connectivity(2, {1, 2}), mn, mx), -2);
  EXPECT_EQ(mn[0], 5.0);
  EXPECT_EQ(inc_bounding_box(pos, plexa_test::ids({1, NO}), mn, mx), 0);
  EXPECT_EQ(plexa_test::to_vector(pos.sub_matrix(0, 1, 3, 1)), std::vector<double>({mn[0], mn[1], mn[2]}));
  EXPECT_EQ(mx[2], 5.0);
}

TEST(Centroids, MeanOfThePresentNodesOfEveryLinearType) {
  auto g = plexa_test::rng(22);
  const unsigned nodes = 50;
  struct kind { element_type type; unsigned rows; };
  const kind kinds[] = {{ELT_EDGE2, 2},  {ELT_TRIA3, 3}, {ELT_QUAD4, 4},     {ELT_TETRA4, 4},    {ELT_PYRA5, 5},
                        {ELT_WEDGE6, 6}, {ELT_HEXA8, 8}, {ELT_FACE_MIX, 4},  {ELT_FACE_MIX, 3},  {ELT_SOLID_MIX, 8},
                        {ELT_SOLID_MIX, 5}};
  for (const kind& k : kinds) {
    dense2D<unsigned> connect = plexa_test::random_connectivity(g, k.rows, 30, nodes);
    if (k.rows == 4 && k.type == ELT_FACE_MIX)
      for (unsigned j = 0; j < 30; j += 2) connect(3, j) = NO;  // every other column a triangle
    if (k.rows == 8 && k.type == ELT_SOLID_MIX)
      for (unsigned j = 0; j < 30; ++j)
        for (unsigned i = 4 + j % 4 + (j % 4 == 3); i < 8; ++i) connect(i, j) = NO;  // tetra, pyramid, wedge, hexa
    for (unsigned rows = element_dim(k.type); rows <= 3; ++rows) {
      SCOPED_TRACE(testing::Message() << k.type << " " << k.rows << " rows " << rows);
      const dense2D<double> pos = plexa_test::random_coordinates(g, rows, nodes, -1, 1);
      dense2D<double> G;
      ASSERT_EQ(centroids(plexa_test::strided(pos), plexa_test::strided(connect), G, k.type), 0);
      ASSERT_EQ(G.rows(), rows);
      ASSERT_EQ(G.cols(), 30u);
      for (unsigned j = 0; j < 30; ++j) {
        unsigned n = 0;
        while (n < k.rows && connect(n, j) != NO) ++n;
        for (unsigned r = 0; r < rows; ++r) {
          double s = 0;
          for (unsigned i = 0; i < n; ++i) s += pos(r, connect(i, j));
          EXPECT_EQ(G(r, j), n == 3 ? s * 0.3333333333333333 : s / n);
        }
      }
    }
  }
}

TEST(Centroids, ChecksComeInOrderAndRefusedTypesLeaveGZeroFilled) {
  const dense2D<double> pos = plexa_test::coordinates(2, {0, 0, 1, 0, 0, 1});
  const auto tri = plexa_test::connectivity(3, {0, 1, 2});
  dense2D<double> G = plexa_test::coordinates(1, {42});
  EXPECT_EQ(centroids(pos, tri, G, ELT_TETRA4), -1);  // 2 rows below the element dimension
  EXPECT_EQ(G.cols(), 0u);
  EXPECT_EQ(centroids(plexa_test::coordinates(4, {0, 0, 0, 0}), tri, G, ELT_TRIA3), -1);
  EXPECT_EQ(centroids(pos, tri, G, ELT_QUAD4), -2);
  EXPECT_EQ(centroids(pos, plexa_test::connectivity(3, {0, 1, 3}), G, ELT_TRIA3), -2);
  EXPECT_EQ(centroids(pos, plexa_test::connectivity(4, {0, 1, NO, 2}), G, ELT_FACE_MIX), -2);
  EXPECT_EQ(centroids(pos, plexa_test::connectivity(6, {0, 1, 2, 0, 1, 2}), G, ELT_TRIA6), -4);
  EXPECT_EQ(plexa_test::to_vector(G), std::vector<double>({0, 0}));
  EXPECT_EQ(centroids(pos, plexa_test::connectivity(2, {0, 1}), G, ELT_EDGE_MIX), -4);
  EXPECT_EQ(centroids(pos, tri, G, element_type(23)), -4);
  EXPECT_EQ(centroids(pos, tri, G, ELT_TRIA3), 0);
  EXPECT_EQ(plexa_test::to_vector(G), std::vector<double>({1.0 / 3.0, 1.0 / 3.0}));

  const unsigned failures = plexa_test::for_each_allocation_failure(
      [&] { return centroids(pos, tri, G, ELT_TRIA3); }, [&] { EXPECT_EQ(G.cols(), 0u); });
  EXPECT_GT(failures, 0u);
}
