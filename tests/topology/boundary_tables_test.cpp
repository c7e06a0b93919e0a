// The local boundary and edge tables (src/topology/boundary_tables.hpp).
#include <array>
#include <set>
#include <utility>

#include "support/support.hpp"
#include "topology/boundary_tables.hpp"

using namespace zeb::plexa;
using detail::boundaries_of;
using detail::edges_of;
using point = std::array<double, 3>;

namespace {

point sub(point a, point b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
point cross(point a, point b) { return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]}; }
double dot(point a, point b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

}  // namespace

TEST(BoundaryTables, SolidFacesAreDistinctAndPointOutOfTheElement) {
  // Tetrahedron with 0, 1, 2 counter-clockwise seen from 3; the others with
  // their base clockwise seen from the apex or the top face.
  const std::pair<element_type, std::vector<point>> solids[] = {
      {ELT_TETRA4, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}},
      {ELT_PYRA5, {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {.5, .5, 1}}},
      {ELT_WEDGE6, {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}, {0, 1, 1}, {1, 0, 1}}},
      {ELT_HEXA8, {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}, {0, 0, 1}, {0, 1, 1}, {1, 1, 1}, {1, 0, 1}}}};
  for (const auto& [type, x] : solids) {
    SCOPED_TRACE(type);
    const detail::boundary_list& t = *boundaries_of(type);
    ASSERT_EQ(t.count, nbr_boundaries(type));
    point centre{0, 0, 0};
    for (const point& p : x)
      for (int k = 0; k < 3; ++k) centre[k] += p[k] / x.size();
    std::set<std::set<unsigned>> distinct;
    for (unsigned j = 0; j < t.count; ++j) {
      const auto* f = t.node[j];
      point fc{0, 0, 0}, normal{0, 0, 0};  // normal: sum over the fan, exact for planar faces
      for (unsigned i = 0; i < t.size[j]; ++i)
        for (int k = 0; k < 3; ++k) fc[k] += x[f[i]][k] / t.size[j];
      for (unsigned i = 1; i + 1 < t.size[j]; ++i) {
        const point c = cross(sub(x[f[i]], x[f[0]]), sub(x[f[i + 1]], x[f[0]]));
        for (int k = 0; k < 3; ++k) normal[k] += c[k];
      }
      const std::set<unsigned> nodes(f, f + t.size[j]);
      EXPECT_EQ(nodes.size(), t.size[j]) << "face " << j;
      distinct.insert(nodes);
      EXPECT_GT(dot(normal, sub(fc, centre)), 0.0) << "face " << j;
    }
    EXPECT_EQ(distinct.size(), t.count);
  }
}

TEST(BoundaryTables, EdgesAreTheSidesOfTheBoundaries) {
  // A solid's edges are the sides of its faces; a face element's are its boundaries.
  for (element_type type : {ELT_TRIA3, ELT_QUAD4, ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8}) {
    SCOPED_TRACE(type);
    const detail::boundary_list& b = *boundaries_of(type);
    const detail::edge_list& e = *edges_of(type);
    std::set<std::pair<unsigned, unsigned>> from_edges, from_faces;
    for (unsigned k = 0; k < e.count; ++k) from_edges.insert(std::minmax<unsigned>(e.node[k][0], e.node[k][1]));
    EXPECT_EQ(from_edges.size(), e.count);
    for (unsigned j = 0; j < b.count; ++j)
      for (unsigned i = 0; i < (b.size[j] == 2 ? 1 : b.size[j]); ++i)
        from_faces.insert(std::minmax<unsigned>(b.node[j][i], b.node[j][(i + 1) % b.size[j]]));
    EXPECT_EQ(from_edges, from_faces);
  }
  EXPECT_EQ(boundaries_of(ELT_TRIA6), nullptr);
  EXPECT_EQ(boundaries_of(ELT_SOLID_MIX), nullptr);
  EXPECT_EQ(edges_of(ELT_EDGE_MIX), edges_of(ELT_EDGE2));
}
