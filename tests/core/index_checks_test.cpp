// Validity tests, largest index, shifting and renumbering.
#include <algorithm>

#include "support/support.hpp"

using namespace zeb::plexa;
using zeb::dense1D;
using zeb::dense2D;
using plexa_test::connectivity;
using plexa_test::ids;
using plexa_test::NO;
using plexa_test::strided;
using plexa_test::to_vector;

TEST(CheckIDs, UntypedFormsAcceptMarkersAndEntriesBelowTheBound) {
  EXPECT_TRUE(check_IDs(ids({}), 0));
  EXPECT_TRUE(check_IDs(ids({NO - 1, NO}), NO));
  EXPECT_TRUE(check_IDs(ids({NO}), 0));  // only markers: nothing to reject
  // Oracle over seeded random lists and matrices, contiguous and strided.
  auto g = plexa_test::rng(7);
  for (unsigned round = 0; round < 40; ++round) {
    auto m = plexa_test::random_connectivity(g, 1 + round % 5, 300, 1000);
    if (round % 3 == 0) m(round % m.rows(), (round * 37) % 300) = NO;
    if (round % 4 == 1) m(0, 299 - round) = 1000 + round;  // one bad entry
    const auto all = to_vector(m);
    const unsigned nods = round % 2 ? 1000 : 1000 + round;
    const bool expected = std::all_of(all.begin(), all.end(), [&](unsigned v) { return v < nods || v == NO; });
    EXPECT_EQ(check_IDs(m, nods), expected) << round;
    EXPECT_EQ(check_IDs(strided(m), nods), expected) << round;
    EXPECT_EQ(check_IDs(m.as_vector(), nods), expected) << round;
  }
}

TEST(CheckIDs, TypedFormReadsEveryMixedShapeStrictly) {
  const unsigned X = NO;
  const struct {
    element_type type;
    std::vector<unsigned> column;
    bool ok;
  } cases[] = {
      {ELT_FACE_MIX, {0, 1, 2, X}, true},  {ELT_FACE_MIX, {0, 1, 2, 3}, true},  {ELT_FACE_MIX, {0, X, 2, 3}, false},
      {ELT_FACE_MIX, {0, 1, 2, 9}, false}, {ELT_FACE_MIX, {0, 1, 2}, true},     {ELT_FACE_MIX, {0, 1, X}, false},
      {ELT_FACE_MIX, {0, 1, 2, 3, 4}, false},
      {ELT_SOLID_MIX, {0, 1, 2, 3, X, X, X, X}, true},  {ELT_SOLID_MIX, {0, 1, 2, 3, 4, X, X, X}, true},
      {ELT_SOLID_MIX, {0, 1, 2, 3, 4, 5, X, X}, true},  {ELT_SOLID_MIX, {0, 1, 2, 3, 4, 5, 6, 7}, true},
      {ELT_SOLID_MIX, {0, 1, 2, 3, 4, 5, X, 7}, false}, {ELT_SOLID_MIX, {0, 1, 2, X, X, X, X, X}, false},
      {ELT_SOLID_MIX, {0, 1, 2, 3, 4, 5, 6, X}, false}, {ELT_SOLID_MIX, {0, 1, 2, 3, 9, X, X, X}, false},
      {ELT_SOLID_MIX, {0, 1, 2, 3}, true},              {ELT_SOLID_MIX, {0, 1, 2, 3, X}, false},
      {ELT_SOLID_MIX, {0, 1, 2, 3, 4, 5}, true},        {ELT_SOLID_MIX, {0, 1, 2, 3, 4, 5, 6}, false},
      {ELT_TETRA4, {0, 1, 2, 3}, true},  {ELT_TETRA4, {0, 1, 2, X}, false},  {ELT_TETRA4, {0, 1, 2}, false},
      {ELT_EDGE_MIX, {0, 8}, true},      {ELT_NONE, {0}, false},  {ELT_HEXA27, std::vector<unsigned>(27, 8), true},
  };
  for (const auto& c : cases) {
    const unsigned rows = unsigned(c.column.size());
    SCOPED_TRACE(::testing::Message() << "type " << c.type << " rows " << rows << " expected " << c.ok);
    // The shape stands between two columns that are valid for every case.
    dense2D<unsigned> m(rows, 3);
    for (unsigned i = 0; i < rows; ++i) {
      m(i, 0) = m(i, 2) = i % 9;
      m(i, 1) = c.column[i];
    }
    EXPECT_EQ(check_IDs(m, c.type, 9), c.ok);
    EXPECT_EQ(check_IDs(strided(m), c.type, 9), c.ok);
  }
  // A marker of a single-type connectivity is rejected even for an unbounded
  // node count, while the untyped form accepts it.
  const auto tri = connectivity(3, {0, 1, NO});
  EXPECT_FALSE(check_IDs(tri, ELT_TRIA3, NO));
  EXPECT_TRUE(check_IDs(tri, NO));
  EXPECT_TRUE(check_IDs(connectivity(4, {}), ELT_TRIA3, 0));  // empty: true at once
}

TEST(MaxID, MarkersCountAsNothingAndEmptyViewsDiffer) {
  EXPECT_EQ(max_ID(ids({})), NO);
  EXPECT_EQ(max_ID(ids({NO, NO})), 0u);
  const auto m = connectivity(2, {3, NO, 11, 2, NO, 5});
  EXPECT_EQ(max_ID(m.as_vector()), 11u);
  EXPECT_EQ(max_ID(m), 11u);
  EXPECT_EQ(max_ID(strided(m)), 11u);  // the padding garbage is not read
  EXPECT_EQ(max_ID(connectivity(3, {})), NO);
  EXPECT_EQ(max_ID(strided(connectivity(3, {}))), 0u);
}

TEST(ShiftIndices, MixedTypesKeepMarkersOthersShiftEverything) {
  auto v = ids({1, NO, 4});
  EXPECT_EQ(shift_indices(v, -1), 0);
  EXPECT_EQ(to_vector(v), (std::vector<unsigned>{0, NO, 3}));
  const auto tri = connectivity(3, {0, 1, 2, 3, NO, 4});
  for (element_type t : {ELT_TRIA3, ELT_FACE_MIX, ELT_SOLID_MIX})
    for (bool view : {false, true}) {
      dense2D<unsigned> m = strided(tri, 2, 77);  // the padding is left alone
      ASSERT_TRUE(view || m.copy(tri));
      EXPECT_EQ(shift_indices(m, 5, t), 0);
      EXPECT_EQ(to_vector(m), (std::vector<unsigned>{5, 6, 7, 8, t != ELT_TRIA3 ? NO : 4u, 9})) << t << view;
      EXPECT_TRUE(!view || (m.data()[-1] == 77u && m.data()[3] == 77u));
    }
}

TEST(ChangeIndices, ReplacesEntriesInsideTheMapAndLeavesTheRest) {
  auto g = plexa_test::rng(11);
  const auto map = plexa_test::random_connectivity(g, 1, 50, 1000).as_vector();
  auto m = plexa_test::random_connectivity(g, 4, 100, 60);
  m(2, 7) = NO;
  auto expected = to_vector(m);
  for (unsigned& v : expected)
    if (v < 50) v = map[v];
  dense1D<unsigned, 8> v;
  ASSERT_TRUE(v.copy(m.as_vector()));
  auto s = strided(m, 3, 55);  // 55 lies inside the map: padding must stay
  change_indices(s, map);
  EXPECT_EQ(to_vector(s), expected);
  EXPECT_EQ(s.data()[-1], 55u);
  change_indices(m, map);
  EXPECT_EQ(to_vector(m), expected);
  change_indices(v, map);
  EXPECT_EQ(to_vector(v), expected);
}
