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
  using detail::narrow_type;
  using detail::rows_fit;
  EXPECT_EQ(narrow_type(ELT_FACE_MIX, 3), ELT_TRIA3);
  EXPECT_EQ(narrow_type(ELT_FACE_MIX, 4), ELT_FACE_MIX);
  EXPECT_EQ(narrow_type(ELT_SOLID_MIX, 4), ELT_TETRA4);
  EXPECT_EQ(narrow_type(ELT_SOLID_MIX, 5), ELT_PYRA5);
  EXPECT_EQ(narrow_type(ELT_SOLID_MIX, 6), ELT_WEDGE6);
  EXPECT_EQ(narrow_type(ELT_SOLID_MIX, 8), ELT_SOLID_MIX);
  EXPECT_FALSE(rows_fit(narrow_type(ELT_SOLID_MIX, 7), 7));
  EXPECT_FALSE(rows_fit(narrow_type(ELT_FACE_MIX, 5), 5));
  EXPECT_TRUE(rows_fit(narrow_type(ELT_FACE_MIX, 3), 3));
  EXPECT_TRUE(rows_fit(ELT_HEXA27, 27));
  EXPECT_FALSE(rows_fit(ELT_HEXA27, 20));
}

TEST(ElementModel, MixedColumnsAreReadByTheirMarkers) {
  const unsigned tet[8] = {0, 1, 2, 3, NO, NO, NO, NO};
  const unsigned pyr[8] = {0, 1, 2, 3, 4, NO, NO, NO};
  const unsigned wed[8] = {0, 1, 2, 3, 4, 5, NO, NO};
  const unsigned hex[8] = {0, 1, 2, 3, 4, 5, 6, 7};
  const unsigned late_node[8] = {0, 1, 2, 3, 4, 5, NO, 7};
  const unsigned early_marker[8] = {0, 1, 2, NO, NO, NO, NO, NO};
  const unsigned last_only[8] = {0, 1, 2, 3, 4, 5, 6, NO};
  EXPECT_EQ(detail::solid_column_nodes(tet), 4u);
  EXPECT_EQ(detail::solid_column_nodes(pyr), 5u);
  EXPECT_EQ(detail::solid_column_nodes(wed), 6u);
  EXPECT_EQ(detail::solid_column_nodes(hex), 8u);
  EXPECT_EQ(detail::solid_column_nodes(late_node), 0u);
  EXPECT_EQ(detail::solid_column_nodes(early_marker), 0u);
  EXPECT_EQ(detail::solid_column_nodes(last_only), 0u);
  EXPECT_EQ(detail::solid_column_kind(tet), ELT_TETRA4);
  EXPECT_EQ(detail::solid_column_kind(pyr), ELT_PYRA5);
  EXPECT_EQ(detail::solid_column_kind(wed), ELT_WEDGE6);
  EXPECT_EQ(detail::solid_column_kind(hex), ELT_HEXA8);

  const unsigned tri[4] = {0, 1, 2, NO};
  const unsigned quad[4] = {0, 1, 2, 3};
  const unsigned bad[4] = {0, NO, 2, 3};
  EXPECT_EQ(detail::face_column_nodes(tri), 3u);
  EXPECT_EQ(detail::face_column_nodes(quad), 4u);
  EXPECT_EQ(detail::face_column_nodes(bad), 0u);
  EXPECT_EQ(detail::face_column_kind(tri), ELT_TRIA3);
  EXPECT_EQ(detail::face_column_kind(quad), ELT_QUAD4);
}
