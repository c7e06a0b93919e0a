#include "core/element_model.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using plexa_test::NO;

TEST(ElementModel, CountTablesMatchTheElementKinds) {
  struct row { element_type t; unsigned nodes, base, boundaries, dim; };
  const row table[] = {
      {ELT_NONE, 0, 0, 0, 0},     {ELT_NODE, 1, 1, 0, 0},      {ELT_EDGE_MIX, 2, 2, 2, 1},
      {ELT_EDGE2, 2, 2, 2, 1},    {ELT_EDGE3, 3, 2, 2, 1},     {ELT_FACE_MIX, 4, 4, 4, 2},
      {ELT_TRIA3, 3, 3, 3, 2},    {ELT_QUAD4, 4, 4, 4, 2},     {ELT_TRIA6, 6, 3, 3, 2},
      {ELT_QUAD8, 8, 4, 4, 2},    {ELT_QUAD9, 9, 4, 4, 2},     {ELT_SOLID_MIX, 8, 8, 6, 3},
      {ELT_TETRA4, 4, 4, 4, 3},   {ELT_TETRA10, 10, 4, 4, 3},  {ELT_PYRA5, 5, 5, 5, 3},
      {ELT_PYRA13, 13, 5, 5, 3},  {ELT_PYRA14, 14, 5, 5, 3},   {ELT_WEDGE6, 6, 6, 5, 3},
      {ELT_WEDGE15, 15, 6, 5, 3}, {ELT_WEDGE18, 18, 6, 5, 3},  {ELT_HEXA8, 8, 8, 6, 3},
      {ELT_HEXA20, 20, 8, 6, 3},  {ELT_HEXA27, 27, 8, 6, 3}};
  for (unsigned k = 0; k < 23; ++k) {
    SCOPED_TRACE(k);
    EXPECT_EQ(unsigned(table[k].t), k);
    EXPECT_EQ(nbr_nodes(table[k].t), table[k].nodes);
    EXPECT_EQ(nbr_base_nodes(table[k].t), table[k].base);
    EXPECT_EQ(nbr_boundaries(table[k].t), table[k].boundaries);
    EXPECT_EQ(element_dim(table[k].t), table[k].dim);
  }
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
