// The local order of the higher-order nodes is the one the NASTRAN and
// EnSight writers' node tables imply: the writers list the nodes of an
// element in the order of the file format's own convention (each format
// numbers its mid-edge nodes by the edges of its corner numbering), so the
// local node they write at a mid-edge position must sit on that edge.
#include <algorithm>
#include <vector>

#include "core/higher_order_nodes.hpp"
#include "support/support.hpp"
#include "topology/boundary_tables.hpp"

using namespace zeb::plexa;

namespace {

struct format_table {
  const char* format;
  element_type type;
  std::vector<unsigned> written;                    // local node at each position of the card
  std::vector<std::vector<unsigned>> mid_edges;     // the format's edge of each position after the corners
};

// The formats' conventions, by card position (0-based).
const format_table tables[] = {
    {"NASTRAN CTRIA6", ELT_TRIA6, {0, 1, 2, 5, 3, 4}, {{0, 1}, {1, 2}, {2, 0}}},
    {"EnSight tria6", ELT_TRIA6, {0, 1, 2, 5, 3, 4}, {{0, 1}, {1, 2}, {2, 0}}},
    {"NASTRAN CQUAD8", ELT_QUAD8, {0, 1, 2, 3, 4, 5, 6, 7}, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}},
    {"NASTRAN CTETRA", ELT_TETRA10, {0, 2, 1, 3, 5, 4, 6, 7, 9, 8},
     {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}},
    {"EnSight tetra10", ELT_TETRA10, {0, 2, 1, 3, 5, 4, 6, 7, 9, 8},
     {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}},
    {"NASTRAN CPYRAM", ELT_PYRA13, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12},
     {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {0, 4}, {1, 4}, {2, 4}, {3, 4}}},
    {"NASTRAN CPENTA", ELT_WEDGE15, {0, 1, 2, 3, 4, 5, 11, 9, 10, 6, 7, 8, 14, 12, 13},
     {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 4}, {2, 5}, {3, 4}, {4, 5}, {5, 3}}},
    {"NASTRAN CHEXA", ELT_HEXA20, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 16, 17, 18, 19, 12, 13, 14, 15},
     {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {0, 4}, {1, 5}, {2, 6}, {3, 7}, {4, 5}, {5, 6}, {6, 7}, {7, 4}}},
    {"EnSight hexa20", ELT_HEXA20, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19},
     {{0, 1}, {1, 2}, {2, 3}, {3, 0}, {4, 5}, {5, 6}, {6, 7}, {7, 4}, {0, 4}, {1, 5}, {2, 6}, {3, 7}}},
};

std::vector<unsigned> sorted(std::vector<unsigned> v) {
  std::sort(v.begin(), v.end());
  return v;
}

}  // namespace

TEST(HigherOrderNodes, SitOnTheEdgesTheWritersImply) {
  for (const format_table& t : tables) {
    const auto* list = detail::higher_order_nodes(t.type);
    const unsigned corners = nbr_base_nodes(t.type);
    ASSERT_EQ(t.written.size(), nbr_nodes(t.type)) << t.format;
    for (unsigned p = corners; p < t.written.size(); ++p) {
      const auto& edge = t.mid_edges[p - corners];
      const auto& parents = list->node[t.written[p] - corners];
      ASSERT_EQ(parents.count, 2) << t.format << " position " << p;
      EXPECT_EQ(sorted({parents.vertex[0], parents.vertex[1]}), sorted({t.written[edge[0]], t.written[edge[1]]}))
          << t.format << " position " << p;
    }
  }
}

// The complete types extend the serendipity ones, and every parent list is
// an edge or a boundary face of the linear kind (the centre of a hexahedron
// aside).
TEST(HigherOrderNodes, AreCentresOfEdgesAndFaces) {
  const element_type pairs[][2] = {{ELT_QUAD8, ELT_QUAD9}, {ELT_PYRA13, ELT_PYRA14}, {ELT_WEDGE15, ELT_WEDGE18},
                                   {ELT_HEXA20, ELT_HEXA27}};
  for (const auto& p : pairs) {
    const auto *a = detail::higher_order_nodes(p[0]), *b = detail::higher_order_nodes(p[1]);
    for (unsigned k = 0; k < a->count; ++k)
      EXPECT_TRUE(std::equal(a->node[k].vertex, a->node[k].vertex + 8, b->node[k].vertex)) << p[1];
  }
  for (unsigned t = 0; t < ELEMENT_TYPE_COUNT; ++t) {
    const auto* list = detail::higher_order_nodes(element_type(t));
    if (!list) continue;
    const element_type linear = detail::linear_type(element_type(t));
    EXPECT_EQ(list->count, nbr_nodes(element_type(t)) - nbr_base_nodes(element_type(t)));
    std::vector<std::vector<unsigned>> allowed;
    if (const auto* edges = detail::edges_of(linear))
      for (unsigned e = 0; e < edges->count; ++e) allowed.push_back(sorted({edges->node[e][0], edges->node[e][1]}));
    if (const auto* faces = detail::boundaries_of(linear))
      for (unsigned f = 0; f < faces->count; ++f)
        allowed.push_back(sorted(std::vector<unsigned>(faces->node[f], faces->node[f] + faces->size[f])));
    for (unsigned k = 0; k < list->count; ++k) {
      const auto& n = list->node[k];
      const auto parents = sorted(std::vector<unsigned>(n.vertex, n.vertex + n.count));
      const bool cell = n.count == nbr_base_nodes(linear);
      EXPECT_TRUE(cell || std::find(allowed.begin(), allowed.end(), parents) != allowed.end()) << t << ' ' << k;
    }
  }
}
