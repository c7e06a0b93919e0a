// The element model: count look-ups, narrowing, mixed columns
// (src/core/element_model.{hpp,cpp}).
#include "core/element_model.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using plexa_test::NO;

// A value outside the enumeration (a cast from a file or a wrong variable)
// reads as ELT_NONE instead of past the tables.
TEST(ElementModel, ValuesOutsideTheEnumerationCountNothing) {
  for (unsigned v : {23u, 24u, 31u}) {
    const auto t = static_cast<element_type>(v);
    EXPECT_EQ(nbr_nodes(t) + nbr_base_nodes(t) + nbr_boundaries(t) + element_dim(t), 0u) << v;
  }
  EXPECT_EQ(nbr_nodes(ELT_HEXA27), 27u);
  EXPECT_STREQ(version(), "5.3.0.0");
}

TEST(ElementModel, MixedTypesNarrowByRowCount) {
  const struct { element_type type; unsigned rows; element_type narrowed; bool fits; } cases[] = {
      {ELT_FACE_MIX, 3, ELT_TRIA3, true},      {ELT_FACE_MIX, 4, ELT_FACE_MIX, true},
      {ELT_FACE_MIX, 5, ELT_FACE_MIX, false},  {ELT_SOLID_MIX, 4, ELT_TETRA4, true},
      {ELT_SOLID_MIX, 5, ELT_PYRA5, true},     {ELT_SOLID_MIX, 6, ELT_WEDGE6, true},
      {ELT_SOLID_MIX, 7, ELT_SOLID_MIX, false}, {ELT_SOLID_MIX, 8, ELT_SOLID_MIX, true},
      {ELT_HEXA27, 27, ELT_HEXA27, true},      {ELT_HEXA27, 20, ELT_HEXA27, false}};
  for (const auto& c : cases) {
    EXPECT_EQ(detail::narrow_type(c.type, c.rows), c.narrowed) << c.type << ' ' << c.rows;
    EXPECT_EQ(detail::rows_fit(detail::narrow_type(c.type, c.rows), c.rows), c.fits) << c.type << ' ' << c.rows;
  }
}

// Every invalid shape is covered through check_IDs, which reads columns with
// these; here the kinds and node counts of the valid ones.
TEST(ElementModel, MixedColumnsAreReadByTheirMarkers) {
  const struct { unsigned column[8]; unsigned nodes; element_type kind; } solids[] = {
      {{0, 1, 2, 3, NO, NO, NO, NO}, 4, ELT_TETRA4}, {{0, 1, 2, 3, 4, NO, NO, NO}, 5, ELT_PYRA5},
      {{0, 1, 2, 3, 4, 5, NO, NO}, 6, ELT_WEDGE6},   {{0, 1, 2, 3, 4, 5, 6, 7}, 8, ELT_HEXA8},
      {{0, 1, 2, 3, 4, 5, NO, 7}, 0, ELT_NONE}};
  for (const auto& c : solids) {
    EXPECT_EQ(detail::solid_column_nodes(c.column), c.nodes);
    EXPECT_TRUE(!c.nodes || detail::solid_column_kind(c.column) == c.kind) << c.nodes;
  }
  const unsigned tri[4] = {0, 1, 2, NO}, quad[4] = {0, 1, 2, 3}, bad[4] = {0, NO, 2, 3};
  EXPECT_EQ(detail::face_column_nodes(tri), 3u);
  EXPECT_EQ(detail::face_column_nodes(quad), 4u);
  EXPECT_EQ(detail::face_column_nodes(bad), 0u);
  EXPECT_EQ(detail::face_column_kind(tri), ELT_TRIA3);
  EXPECT_EQ(detail::face_column_kind(quad), ELT_QUAD4);
}
