// The rows of the table of public calls (public_calls.hpp) and the
// arguments they are made of.
#include "support/public_calls.hpp"

#include <cstdio>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "support/files.hpp"
#include "support/meshes.hpp"
#include "support/support.hpp"

namespace plexa_test {

using namespace zeb::plexa;

std::vector<double> contents(const slot& s) {
  std::vector<double> out{double(s.index())};
  std::visit(
      [&out](const auto& c) {
        using C = std::decay_t<decltype(c)>;
        if constexpr (std::is_same_v<C, I1>) {
          for (int x : c) out.push_back(double(x));
        } else if constexpr (traits<C>::container) {
          if constexpr (traits<C>::matrix) out.insert(out.end(), {double(c.rows()), double(c.cols())});
          for (auto x : to_vector(c)) out.push_back(double(x));
        } else {
          out.insert(out.end(), c.v, c.v + C::size());
        }
      },
      s);
  return out;
}

bool is_empty(const slot& s) {
  return std::visit(
      [](const auto& c) {
        if constexpr (traits<std::decay_t<decltype(c)>>::container) return c.empty();
        return false;
      },
      s);
}

slot deep_copy(const slot& s) {
  return std::visit(
      [](const auto& c) -> slot {
        std::decay_t<decltype(c)> d;
        if constexpr (traits<std::decay_t<decltype(c)>>::container)
          EXPECT_TRUE(d.copy(c));
        else
          d = c;
        return d;
      },
      s);
}

namespace {

// ---------------------------------------------------------------------------
// Arguments.
// ---------------------------------------------------------------------------

// n values below `below`, about one in eight the marker.
U1 list(G& g, unsigned below, unsigned n) {
  U1 v(n);
  for (unsigned k = 0; k < n; ++k) v[k] = g() % 8 == 0 ? NO : unsigned(g() % below);
  return v;
}

U2 conn(G& g, unsigned rows, unsigned cols, unsigned below) {
  return random_connectivity(g, rows, cols, below);
}

// Points on a half-unit grid of [0, 1]^rows, so that many coincide.
D2 points(G& g, unsigned rows, unsigned cols) {
  D2 m(rows, cols);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = 0; i < rows; ++i) m(i, j) = 0.5 * double(g() % 3);
  return m;
}

// ELT_FACE_MIX columns of 0 to 4 nodes, trailing rows UINT_MAX.
U2 mixed_faces(G& g, unsigned cols, unsigned below) {
  U2 m = conn(g, 4, cols, below);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = unsigned(g() % 5); i < 4; ++i) m(i, j) = NO;
  return m;
}

U2 triangles(G& g) { return grid_triangles(2, 2, &g); }

// The neighbours, ancestors and free boundary of a triangle mesh.
U2 neighbors_of(const U2& tri) {
  U2 n;
  EXPECT_EQ(get_neighbors(tri, ELT_TRIA3, false, n), 0);
  return n;
}
U1 ancestors_of(const U2& tri) {
  U1 up;
  EXPECT_EQ(get_ancestors(tri, up), 0);
  return up;
}
U2 free_edges(const U2& tri) {
  U2 b;
  EXPECT_EQ(get_mesh_boundaries(tri, neighbors_of(tri), ELT_TRIA3, b), 0);
  return b;
}

// Sizes from -0.5 to 1.5, a third of them invalid.
D1 sizes(G& g, unsigned n) {
  D1 h(n);
  for (unsigned k = 0; k < n; ++k) h[k] = 0.5 * (double(g() % 5) - 1.0);
  return h;
}

// Isotropic metric columns (3 rows in 2-D, 6 in 3-D), a third of them
// invalid (zero or negative).
D2 field(G& g, unsigned rows, unsigned cols) {
  D2 m(rows, cols, 0.0);
  for (unsigned j = 0; j < cols; ++j) {
    const double d = double(g() % 3) - 0.5 * double(g() % 2);
    for (unsigned k = 0; k * (k + 3) / 2 < rows; ++k) m(k * (k + 3) / 2, j) = d;
  }
  return m;
}

// Isotropic metric columns, all valid.
D2 valid_field(G& g, unsigned rows, unsigned cols) {
  D2 m(rows, cols, 0.0);
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned k = 0; k * (k + 3) / 2 < rows; ++k) m(k * (k + 3) / 2, j) = 1.0 + double(g() % 3);
  return m;
}


// ELT_SOLID_MIX columns: tetrahedra, pyramids, wedges and hexahedra, rows
// past their nodes UINT_MAX.
U2 mixed_solids(G& g, unsigned cols, unsigned below) {
  U2 m = conn(g, 8, cols, below);
  static const unsigned counts[] = {4, 5, 6, 8};
  for (unsigned j = 0; j < cols; ++j)
    for (unsigned i = counts[g() % 4]; i < 8; ++i) m(i, j) = NO;
  return m;
}

I1 types_of(std::initializer_list<int> v) {
  I1 t(unsigned(v.size()), 0);
  std::copy(v.begin(), v.end(), t.begin());
  return t;
}

// Samples of the formats read, small but with every kind of statement that
// makes a reader allocate.
constexpr const char* stl_sample =
    "solid\n facet normal 0 0 1\n outer loop\n vertex 0 0 0\n vertex 1 0 0\n vertex 1 1 0\n endloop\n endfacet\n"
    " facet normal 0 0 1\n outer loop\n vertex 0 0 0\n vertex 1 1 0\n vertex 0 1 0\n endloop\n endfacet\n"
    "endsolid\n";
constexpr const char* medit_sample =
    "MeshVersionFormatted 2\nDimension 3\nVertices 6\n0 0 0 1\n1 0 0 1\n0 1 0 1\n0 0 1 1\n1 1 1 1\n1 1 0 1\n"
    "Triangles 2\n1 2 3 7\n2 3 4 8\nCorners 1 1\nTetrahedra 1\n1 2 3 4 5\n"
    "Hexahedra 2\n1 2 3 4 5 5 5 5 1\n1 2 3 3 4 5 6 6 2\nEnd\n";
constexpr const char* solution_sample =
    "MeshVersionFormatted 2\nDimension 2\nSolAtVertices\n3\n2 1 2\n1 2 3\n4 5 6\n7 8 9\nEnd\n";
constexpr const char* obj_sample =
    "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\nf 1 2 3\ng walls\nf 1 2 3 4 5\nl 1 2 3\n"
    "o cap\np 1 -1\nf 1//1 2 3 4\n";

const std::string nastran_sample_file = data_file("nastran_fields.bdf");
const std::string femap_sample_file = data_file("femap_sample.neu");

// A read-only stream over a sample, closed when it goes.
struct sample_stream {
  explicit sample_stream(const char* text) : f(fmemopen(const_cast<char*>(text), std::strlen(text), "r")) {}
  // A sample file of tests/data (its path made before any allocation fails).
  explicit sample_stream(const std::string& path) : f(std::fopen(path.c_str(), "r")) {}
  ~sample_stream() {
    if (f) std::fclose(f);
  }
  sample_stream(const sample_stream&) = delete;
  sample_stream& operator=(const sample_stream&) = delete;
  std::FILE* f;
};

// The file the writers write, in the test's temporary folder, removed when
// the program ends.
const char* scratch_file() {
  static const struct scratch {
    std::string path = ::testing::TempDir() + "plexa_public_calls_scratch";
    ~scratch() { std::remove(path.c_str()); }
  } file;
  return file.path.c_str();
}

// A stream the writers of streams write to, thrown away when it goes.
struct scratch_stream {
  scratch_stream() : f(std::tmpfile()) {}
  ~scratch_stream() {
    if (f) std::fclose(f);
  }
  scratch_stream(const scratch_stream&) = delete;
  scratch_stream& operator=(const scratch_stream&) = delete;
  std::FILE* f;
};

}  // namespace

const std::vector<public_call>& public_calls() {
  static const std::vector<public_call> table = {
    // Index utilities.
    {"change_indices(ids, new_IDs)", "ki", [](G& g) { return slots{list(g, 12, 10), list(g, 12, 12)}; },
     [](S a, unsigned) { return change_indices(u1(a[0]), u1(a[1])), 0; }},
    {"change_indices(connect, new_IDs)", "ki", [](G& g) { return slots{conn(g, 3, 4, 12), list(g, 12, 12)}; },
     [](S a, unsigned) { return change_indices(u2(a[0]), u1(a[1])), 0; }},
    {"permutation(v, perm)", "ki", [](G& g) { return slots{list(g, 12, 10), list(g, 10, 10)}; },
     [](S a, unsigned) { return permutation(u1(a[0]), u1(a[1])); }},
    {"get_IDs(IDs1, IDs2, pos1, pos2)", "iioo",
     [](G& g) { return slots{list(g, 6, 8), list(g, 6, 7), list(g, 9, 3), list(g, 9, 2)}; },
     [](S a, unsigned) { return get_IDs(u1(a[0]), u1(a[1]), u1(a[2]), u1(a[3])); }, {{2, 3, -4}}},
    {"get_IDs(connect1, connect2, pos1, pos2, strict)", "iioo",
     [](G& g) { return slots{conn(g, 3, 6, 4), conn(g, 3, 5, 4), list(g, 9, 3), list(g, 9, 2)}; },
     [](S a, unsigned s) { return get_IDs(u2(a[0]), u2(a[1]), u1(a[2]), u1(a[3]), s % 2 == 0); }, {{2, 3, -4}}},
    {"unique_indices(uIDs, IDs, excluded)", "kii",
     [](G& g) { return slots{list(g, 20, 3), list(g, 20, 12), list(g, 20, 3)}; },
     [](S a, unsigned) { return unique_indices(u1(a[0]), u1(a[1]), u1(a[2])); }},
    {"unique_indices(uIDs, connect, excluded)", "kii",
     [](G& g) { return slots{list(g, 20, 3), conn(g, 3, 4, 20), list(g, 20, 3)}; },
     [](S a, unsigned) { return unique_indices(u1(a[0]), u2(a[1]), u1(a[2])); }},
    {"unique_indices(uIDs, first, last, excluded)", "kiii",
     [](G& g) { return slots{list(g, 20, 3), conn(g, 3, 3, 20), conn(g, 2, 4, 20), list(g, 20, 3)}; },
     [](S a, unsigned) {
       U2 range[2] = {u2(a[1]), u2(a[2])};
       return unique_indices(u1(a[0]), range, range + 2, u1(a[3]));
     }},
    {"get_sorted_order(keys, order, offsets)", "ioo",
     [](G& g) { return slots{list(g, 6, 10), list(g, 9, 3), list(g, 9, 3)}; },
     [](S a, unsigned) { return get_sorted_order(u1(a[0]), u1(a[1]), u1(a[2])); }, {{1, 2, -3}}},

    // Geometry.
    {"centroids(pos, connect, G, type)", "iio",
     [](G& g) { return slots{points(g, 3, 8), conn(g, 3, 5, 8), points(g, 2, 2)}; },
     [](S a, unsigned) { return centroids(d2(a[0]), u2(a[1]), d2(a[2]), ELT_TRIA3); }},
    {"copy_mesh(pos, connect, connect0)", "kki",
     [](G& g) { return slots{points(g, 2, 6), conn(g, 3, 2, 6), conn(g, 3, 3, 6)}; },
     [](S a, unsigned) { return copy_mesh(d2(a[0]), u2(a[1]), u2(a[2])); }},
    {"copy_mesh(pos, connect, T, C, angle, n, connect0)", "xxi",
     [](G& g) { return slots{points(g, 2, 6), conn(g, 3, 2, 6), conn(g, 3, 3, 6)}; },
     [](S a, unsigned) { return copy_mesh(d2(a[0]), u2(a[1]), V2(0.5, 0.0), V2(0.0, 0.0), 0.25, 2, u2(a[2])); }},
    {"copy_mesh(pos, connect, T, C, R, n, connect0)", "xxi",
     [](G& g) { return slots{points(g, 3, 6), conn(g, 3, 2, 6), conn(g, 3, 3, 6)}; },
     [](S a, unsigned) {
       return copy_mesh(d2(a[0]), u2(a[1]), V3(0.5, 0.0, 0.0), V3(0.0, 0.0, 0.0), V3(0.0, 0.0, 0.25), 2, u2(a[2]));
     }},
    {"copy_sym_mesh(pos, connect, P, N, connect0) 2-D", "kki",
     [](G& g) { return slots{points(g, 2, 6), conn(g, 3, 2, 6), conn(g, 3, 3, 6)}; },
     [](S a, unsigned) { return copy_sym_mesh(d2(a[0]), u2(a[1]), V2(0.5, 0.0), V2(1.0, 1.0), u2(a[2])); }},
    {"copy_sym_mesh(pos, connect, P, N, connect0) 3-D", "kki",
     [](G& g) { return slots{points(g, 3, 6), conn(g, 3, 2, 6), conn(g, 3, 3, 6)}; },
     [](S a, unsigned) { return copy_sym_mesh(d2(a[0]), u2(a[1]), V3(0.5, 0, 0), V3(1, 1, 0), u2(a[2])); }},
    {"clip(pos, connect, P, N, kept)", "iik",
     [](G& g) { return slots{points(g, 3, 8), conn(g, 3, 6, 8), conn(g, 3, 1, 8)}; },
     [](S a, unsigned s) {
       return clip(d2(a[0]), u2(a[1]), V3(0.5, 0.5, 0.5), V3(1.0, double(s % 2), 0.0), u2(a[2]));
     }},
    {"inc_bounding_box(pos, min, max) 2-D", "ikk",
     [](G& g) { return slots{points(g, 2, 5), V2(0.6, 0.6), V2(0.4, 0.4)}; },
     [](S a, unsigned) { return inc_bounding_box(d2(a[0]), v2(a[1]), v2(a[2])); }, {{1, 2, -3}}},
    {"inc_bounding_box(pos, nodes, min, max) 2-D", "iikk",
     [](G& g) { return slots{points(g, 2, 6), list(g, 6, 4), V2(0.6, 0.6), V2(0.4, 0.4)}; },
     [](S a, unsigned) { return inc_bounding_box(d2(a[0]), u1(a[1]), v2(a[2]), v2(a[3])); }, {{2, 3, -4}}},
    {"inc_bounding_box(pos, connect, min, max) 2-D", "iikk",
     [](G& g) { return slots{points(g, 2, 6), conn(g, 3, 2, 6), V2(0.6, 0.6), V2(0.4, 0.4)}; },
     [](S a, unsigned) { return inc_bounding_box(d2(a[0]), u2(a[1]), v2(a[2]), v2(a[3])); }, {{2, 3, -4}}},
    {"inc_bounding_box(pos, min, max) 3-D", "ikk",
     [](G& g) { return slots{points(g, 3, 5), V3(0.6, 0.6, 0.6), V3(0.4, 0.4, 0.4)}; },
     [](S a, unsigned) { return inc_bounding_box(d2(a[0]), v3(a[1]), v3(a[2])); }, {{1, 2, -3}}},
    {"inc_bounding_box(pos, nodes, min, max) 3-D", "iikk",
     [](G& g) { return slots{points(g, 3, 6), list(g, 6, 4), V3(0.6, 0.6, 0.6), V3(0.4, 0.4, 0.4)}; },
     [](S a, unsigned) { return inc_bounding_box(d2(a[0]), u1(a[1]), v3(a[2]), v3(a[3])); }, {{2, 3, -4}}},
    {"inc_bounding_box(pos, connect, min, max) 3-D", "iikk",
     [](G& g) { return slots{points(g, 3, 6), conn(g, 3, 2, 6), V3(0.6, 0.6, 0.6), V3(0.4, 0.4, 0.4)}; },
     [](S a, unsigned) { return inc_bounding_box(d2(a[0]), u2(a[1]), v3(a[2]), v3(a[3])); }, {{2, 3, -4}}},

    // Node merging and clean-up.
    {"merge(pos, nodes1, nodes2, new_IDs, tolerance)", "iiio",
     [](G& g) { return slots{points(g, 3, 10), list(g, 10, 6), list(g, 10, 8), list(g, 9, 2)}; },
     [](S a, unsigned) { return merge(d2(a[0]), u1(a[1]), u1(a[2]), u1(a[3]), 0.1); }},
    {"merge(pos, nodes, new_IDs, tolerance)", "iio",
     [](G& g) { return slots{points(g, 3, 10), list(g, 10, 8), list(g, 9, 2)}; },
     [](S a, unsigned) { return merge(d2(a[0]), u1(a[1]), u1(a[2]), 0.1); }},
    {"merge(pos, connect1, connect2, new_IDs, tolerance, mode)", "ikko",
     [](G& g) { return slots{points(g, 2, 10), conn(g, 3, 3, 10), conn(g, 3, 3, 10), list(g, 9, 2)}; },
     [](S a, unsigned s) { return merge(d2(a[0]), u2(a[1]), u2(a[2]), u1(a[3]), 0.1, s % 3); }},
    {"merge(pos, connect1, connect2, tolerance, mode)", "ikk",
     [](G& g) { return slots{points(g, 2, 10), conn(g, 3, 3, 10), conn(g, 3, 3, 10)}; },
     [](S a, unsigned s) { return merge(d2(a[0]), u2(a[1]), u2(a[2]), 0.1, s % 3); }},
    {"merge(pos, connect, new_IDs, tolerance, mode)", "iko",
     [](G& g) { return slots{points(g, 2, 10), conn(g, 3, 4, 10), list(g, 9, 2)}; },
     [](S a, unsigned s) { return merge(d2(a[0]), u2(a[1]), u1(a[2]), 0.1, s % 3); }},
    {"merge(pos, first, last, new_IDs, tolerance, mode)", "ikkko",
     [](G& g) {
       return slots{points(g, 2, 10), conn(g, 3, 2, 10), conn(g, 2, 3, 10), conn(g, 3, 2, 10), list(g, 9, 2)};
     },
     [](S a, unsigned s) {
       U2 range[3] = {u2(a[1]), u2(a[2]), u2(a[3])};
       return merge(d2(a[0]), range, range + 3, u1(a[4]), 0.1, s % 3);
     }},
    {"remove_degenerated(connect, new_IDs, markers_degenerate)", "ko",
     [](G& g) { return slots{mixed_faces(g, 8, 5), list(g, 9, 2)}; },
     [](S a, unsigned s) { return remove_degenerated(u2(a[0]), u1(a[1]), s % 2 == 0); }},
    {"simplify(pos, first, last, new_IDs, start)", "kkko",
     [](G& g) { return slots{points(g, 2, 12), conn(g, 3, 3, 12), conn(g, 3, 2, 12), list(g, 9, 2)}; },
     [](S a, unsigned s) {
       U2 range[2] = {u2(a[1]), u2(a[2])};
       return simplify(d2(a[0]), range, range + 2, u1(a[3]), s % 4);
     }},
    {"simplify(pos, connect1, connect2, start)", "kkk",
     [](G& g) { return slots{points(g, 2, 12), conn(g, 3, 3, 12), conn(g, 3, 2, 12)}; },
     [](S a, unsigned s) { return simplify(d2(a[0]), u2(a[1]), u2(a[2]), s % 4); }},
    {"simplify(pos, connect, new_IDs, start)", "kko",
     [](G& g) { return slots{points(g, 2, 12), conn(g, 3, 3, 12), list(g, 9, 2)}; },
     [](S a, unsigned s) { return simplify(d2(a[0]), u2(a[1]), u1(a[2]), s % 4); }},

    // Topology.
    {"get_element_boundaries(connectivity, type, boundaries)", "ik",
     [](G& g) { return slots{triangles(g), conn(g, 2, 1, 9)}; },
     [](S a, unsigned) { return get_element_boundaries(u2(a[0]), ELT_TRIA3, u2(a[1])); }},
    {"get_neighbors(connectivity, type, non_manifold_links, neighbors)", "io",
     [](G& g) { return slots{triangles(g), conn(g, 3, 2, 9)}; },
     [](S a, unsigned s) { return get_neighbors(u2(a[0]), ELT_TRIA3, s % 2 == 0, u2(a[1])); }},
    {"get_node_graph(connectivity, offsets, nodes, type)", "ioo",
     [](G& g) { return slots{g() % 2 ? grid_quadrangles(2, 2, &g) : triangles(g), list(g, 9, 3), list(g, 9, 3)}; },
     [](S a, unsigned) {
       return get_node_graph(u2(a[0]), u1(a[1]), u1(a[2]), u2(a[0]).rows() == 4 ? ELT_QUAD4 : ELT_TRIA3);
     },
     {{1, 2, -3}}},
    {"get_connected_elements(connectivity, offsets, elements)", "ioo",
     [](G& g) { return slots{triangles(g), list(g, 9, 3), list(g, 9, 3)}; },
     [](S a, unsigned) { return get_connected_elements(u2(a[0]), u1(a[1]), u1(a[2])); }, {{1, 2, -3}}},
    {"get_ancestors(connectivity, ancestors)", "ix",
     [](G& g) { return slots{triangles(g), g() % 2 ? list(g, 9, 9) : U1()}; },
     [](S a, unsigned) { return get_ancestors(u2(a[0]), u1(a[1])); }},
    {"get_subdomains(neighbors, elements, offsets)", "ioo",
     [](G& g) { return slots{conn(g, 3, 8, 11), list(g, 9, 3), list(g, 9, 3)}; },
     [](S a, unsigned) { return get_subdomains(u2(a[0]), u1(a[1]), u1(a[2])); }, {{1, 2, -3}}},
    {"get_subdomains(connectivity, neighbors, offsets)", "kko",
     [](G& g) { return slots{conn(g, 3, 8, 20), conn(g, 3, 8, 11), list(g, 9, 3)}; },
     [](S a, unsigned) { return get_subdomains(u2(a[0]), u2(a[1]), u1(a[2])); }, {{0, 1, -2}}},
    {"sort_elfes(connectivity, node_counts, group_ends, new_index)", "kooo",
     [](G& g) { return slots{mixed_faces(g, 8, 10), list(g, 9, 3), list(g, 9, 3), list(g, 9, 3)}; },
     [](S a, unsigned) { return sort_elfes(u2(a[0]), u1(a[1]), u1(a[2]), u1(a[3])); },
     {{1, 2, -3}, {1, 3, -4}, {2, 3, -4}}},
    {"sort_elfes(connectivity, neighbors, node_counts, group_ends, new_index)", "kkooo",
     [](G& g) { return slots{mixed_faces(g, 8, 10), conn(g, 4, 8, 10), list(g, 9, 3), list(g, 9, 3), list(g, 9, 3)}; },
     [](S a, unsigned) { return sort_elfes(u2(a[0]), u2(a[1]), u1(a[2]), u1(a[3]), u1(a[4])); },
     {{0, 1, -2}, {2, 3, -4}, {2, 4, -5}, {3, 4, -5}}},

    {"get_mesh_boundaries(connectivity, neighbors, type, boundaries)", "iik",
     [](G& g) {
       const U2 t = triangles(g);
       return slots{t, neighbors_of(t), conn(g, 2, 1, 9)};
     },
     [](S a, unsigned) { return get_mesh_boundaries(u2(a[0]), u2(a[1]), ELT_TRIA3, u2(a[2])); }},
    {"get_mesh_bounding_elements(connectivity, neighbors, type, keys, nb)", "iik",
     [](G& g) {
       const U2 t = triangles(g);
       return slots{t, neighbors_of(t), list(g, 9, 2)};
     },
     [](S a, unsigned) {
       unsigned nb;
       return get_mesh_bounding_elements(u2(a[0]), u2(a[1]), ELT_TRIA3, u1(a[2]), nb);
     }},
    {"get_colors_boundaries(connectivity, neighbors, colors, type, both_sides, boundaries)", "iiik",
     [](G& g) {
       const U2 t = triangles(g);
       return slots{t, neighbors_of(t), list(g, 3, t.cols()), conn(g, 2, 1, 9)};
     },
     [](S a, unsigned s) {
       return get_colors_boundaries(u2(a[0]), u2(a[1]), u1(a[2]), ELT_TRIA3, s % 2 == 0, u2(a[3]));
     }},
    {"get_elements_on_boundaries(boundaries, connectivity, neighbors, ancestors, type, orientation, keys, nb)",
     "iiiio",
     [](G& g) {
       const U2 t = triangles(g);
       return slots{free_edges(t), t, neighbors_of(t), ancestors_of(t), list(g, 9, 3)};
     },
     [](S a, unsigned s) {
       unsigned nb;
       return get_elements_on_boundaries(u2(a[0]), u2(a[1]), u2(a[2]), u1(a[3]), ELT_TRIA3, int(s % 4) - 2, u1(a[4]),
                                         nb);
     }},
    {"copy_edges(connectivity, type, edges)", "ik", [](G& g) { return slots{triangles(g), conn(g, 2, 2, 9)}; },
     [](S a, unsigned) { return copy_edges(u2(a[0]), ELT_TRIA3, u2(a[1])); }},
    {"copy_edges(first, last, types, edges)", "iik",
     [](G& g) { return slots{triangles(g), conn(g, 2, 5, 12), conn(g, 2, 1, 9)}; },
     [](S a, unsigned) {
       const U2 range[2] = {u2(a[0]), u2(a[1])};
       zeb::dense1D<int, 8> types;
       if (!types.resize(2, int(ELT_TRIA3))) return -199;  // under the allocation-failure switch
       types[1] = ELT_EDGE2;
       return copy_edges(range, range + 2, types, u2(a[2]));
     }},

    // Quality.
    {"shape_qualities(pos, connect, type, qualities)", "iio",
     [](G& g) { return slots{points(g, 3, 8), conn(g, 4, 5, 8), sizes(g, 3)}; },
     [](S a, unsigned) { return shape_qualities(d2(a[0]), u2(a[1]), ELT_TETRA4, d1(a[2])); }},
    {"shape_qualities(pos, connect, type, metrics, qualities)", "iiio",
     [](G& g) { return slots{points(g, 2, 8), conn(g, 3, 5, 8), valid_field(g, 3, 8), sizes(g, 3)}; },
     [](S a, unsigned) { return shape_qualities(d2(a[0]), u2(a[1]), ELT_TRIA3, d2(a[2]), d1(a[3])); }},
    {"jacobians(pos, connect, type, dets)", "iio",
     [](G& g) { return slots{points(g, 3, 8), conn(g, 4, 5, 8), points(g, 2, 2)}; },
     [](S a, unsigned) { return jacobians(d2(a[0]), u2(a[1]), ELT_TETRA4, d2(a[2])); }},

    // Metric fields.
    {"overwrite_invalid_metrics(H, Href)", "ki", [](G& g) { return slots{sizes(g, 8), sizes(g, 7)}; },
     [](S a, unsigned) { return overwrite_invalid_metrics(d1(a[0]), d1(a[1])); }},
    {"overwrite_invalid_metrics(M, Mref)", "ki", [](G& g) { return slots{field(g, 3, 6), field(g, 3, 5)}; },
     [](S a, unsigned) { return overwrite_invalid_metrics(d2(a[0]), d2(a[1])); }},
    {"overwrite_invalid_metrics(M, Href)", "ki", [](G& g) { return slots{field(g, 6, 6), sizes(g, 8)}; },
     [](S a, unsigned) { return overwrite_invalid_metrics(d2(a[0]), d1(a[1])); }},
    {"bound_metrics(H, hmin, hmax, modified)", "ko", [](G& g) { return slots{sizes(g, 8), list(g, 9, 2)}; },
     [](S a, unsigned) { return bound_metrics(d1(a[0]), 0.25, 1.0, u1(a[1])); }},
    {"bound_metrics(M, hmin, hmax, modified)", "ko", [](G& g) { return slots{field(g, 6, 8), list(g, 9, 2)}; },
     [](S a, unsigned) { return bound_metrics(d2(a[0]), 0.25, 1.0, u1(a[1])); }},
    {"valid_metrics(M, ids)", "ik", [](G& g) { return slots{valid_field(g, 3, 8), list(g, 9, 2)}; },
     [](S a, unsigned) {
       // No code: a list that did not grow by every (valid) column is the
       // memory failure.
       const unsigned before = u1(a[1]).size();
       valid_metrics(d2(a[0]), u1(a[1]));
       return u1(a[1]).size() == before + d2(a[0]).cols() ? 0 : -199;
     }},
    {"metrics_iso_to_aniso2d(H, M)", "ik", [](G& g) { return slots{sizes(g, 4), field(g, 3, 5)}; },
     [](S a, unsigned) { return metrics_iso_to_aniso2d(d1(a[0]), d2(a[1])); }},
    {"metrics_iso_to_aniso3d(H, M)", "ik", [](G& g) { return slots{sizes(g, 4), field(g, 6, 5)}; },
     [](S a, unsigned) { return metrics_iso_to_aniso3d(d1(a[0]), d2(a[1])); }},
    {"metrics_iso_to_aniso2d(H, T, M)", "iik",
     [](G& g) { return slots{sizes(g, 4), random_coordinates(g, 6, 4), field(g, 3, 5)}; },
     [](S a, unsigned) { return metrics_iso_to_aniso2d(d1(a[0]), d2(a[1]), d2(a[2])); }},
    {"metrics_aniso3d_to_aniso2d(M3, T, M2)", "iik",
     [](G& g) { return slots{field(g, 6, 4), random_coordinates(g, 6, 4), field(g, 3, 5)}; },
     [](S a, unsigned) { return metrics_aniso3d_to_aniso2d(d2(a[0]), d2(a[1]), d2(a[2])); }},

    // Gradation and size generation.
    {"bound_metric_gradations(pos, connect, type, nodes, frozen, mode, g, H)", "iiix",
     [](G& g) { return slots{points(g, 2, 8), conn(g, 3, 5, 8), list(g, 8, 2), sizes(g, 8)}; },
     [](S a, unsigned s) {
       return bound_metric_gradations(d2(a[0]), u2(a[1]), ELT_TRIA3, u1(a[2]), s % 2 == 0, int(s % 3) - 1, 0.3,
                                      d1(a[3]));
     }},
    {"bound_metric_variations(pos, connect, type, nodes, frozen, mode, g, M)", "iiix",
     [](G& g) { return slots{points(g, 3, 8), conn(g, 4, 5, 8), list(g, 8, 2), valid_field(g, 6, 8)}; },
     [](S a, unsigned s) {
       return bound_metric_variations(d2(a[0]), u2(a[1]), ELT_TETRA4, u1(a[2]), s % 2 == 0, int(s % 3) - 1, 0.3,
                                      d2(a[3]));
     }},
    {"metrics_gen_iso(pos, connect, type, H, p)", "iik",
     [](G& g) { return slots{points(g, 3, 8), conn(g, 4, 5, 8), sizes(g, 6)}; },
     [](S a, unsigned s) { return metrics_gen_iso(d2(a[0]), u2(a[1]), ELT_TETRA4, d1(a[2]), double(s % 3)); }},
    {"H_shock(pos, edges, H, S)", "iiik",
     [](G& g) { return slots{points(g, 2, 8), conn(g, 2, 6, 8), sizes(g, 8), sizes(g, 5)}; },
     [](S a, unsigned) { return H_shock(d2(a[0]), u2(a[1]), d1(a[2]), d1(a[3])); }},
    {"H_shock(pos, edges, M, S)", "iiik",
     [](G& g) { return slots{points(g, 3, 8), conn(g, 2, 6, 8), valid_field(g, 6, 8), sizes(g, 3)}; },
     [](S a, unsigned) { return H_shock(d2(a[0]), u2(a[1]), d2(a[2]), d1(a[3])); }},

    // Index counts, transforms and merging of all nodes.
    {"count_unique_indices(connect)", "i", [](G& g) { return slots{conn(g, 3, 6, 40)}; },
     [](S a, unsigned) { return count_unique_indices(u2(a[0])); }},
    {"translate(pos, T, connect)", "ki", [](G& g) { return slots{points(g, 3, 8), conn(g, 3, 3, 8)}; },
     [](S a, unsigned) { return translate(d2(a[0]), V3(0.5, 0.0, 1.0), u2(a[1])); }},
    {"zoom(pos, C, factor, nodes)", "ki", [](G& g) { return slots{points(g, 2, 8), list(g, 8, 5)}; },
     [](S a, unsigned) { return zoom(d2(a[0]), V2(0.5, 0.0), 2.0, u1(a[1])); }},
    {"merge(pos, connect, tolerance, mode)", "ik", [](G& g) { return slots{points(g, 2, 10), conn(g, 3, 4, 10)}; },
     [](S a, unsigned s) { return merge(d2(a[0]), u2(a[1]), 0.1, s % 3); }},
    {"merge(pos, first, last, tolerance, mode)", "ikk",
     [](G& g) { return slots{points(g, 3, 10), conn(g, 3, 3, 10), conn(g, 4, 2, 10)}; },
     [](S a, unsigned s) {
       U2 range[2] = {u2(a[1]), u2(a[2])};
       return merge(d2(a[0]), range, range + 2, 0.1, s % 3);
     }},
    {"node_detector(pos): reinit, insert, find_in_box, copy", "iix",
     [](G& g) { return slots{points(g, 3, 12), list(g, 12, 6), list(g, 9, 2)}; },
     [](S a, unsigned) {
       node_detector d;
       int r = d.reinit(d2(a[0]), u1(a[1]));
       if (r < 0) return r;
       d.insert(u1(a[1]));
       r = d.find_in_box(V3(0.0, 0.0, 0.0), V3(0.5, 0.5, 1.0), u1(a[2]));
       if (r < 0) return r;
       const node_detector copy(d);
       return copy.size() == d.size() ? r : -199;
     }},
    {"edge_qualities(pos, connect, type, sizes, histogram, excluded)", "iiii",
     [](G& g) { return slots{points(g, 2, 9), triangles(g), valid_field(g, 1, 9).as_vector(), conn(g, 2, 1, 9)}; },
     [](S a, unsigned) {
       zeb::misc::histogram h;
       return edge_qualities(d2(a[0]), u2(a[1]), ELT_TRIA3, d1(a[2]), h, u2(a[3]));
     }},

    // Readers (of the row's sample file) and writers (to a scratch file).
    {"STL_input(f, pos, connect, report)", "oo", [](G& g) { return slots{points(g, 3, 3), conn(g, 3, 1, 3)}; },
     [](S a, unsigned) {
       sample_stream in(stl_sample);
       STL_read_report report;
       return STL_input(in.f, d2(a[0]), u2(a[1]), report);
     }},
    {"medit_input(f, pos, connect, ranges, types, refs)", "ooooo",
     [](G& g) { return slots{points(g, 3, 3), conn(g, 3, 1, 3), list(g, 9, 2), types_of({3}), list(g, 9, 1)}; },
     [](S a, unsigned) {
       sample_stream in(medit_sample);
       return medit_input(in.f, d2(a[0]), u2(a[1]), u1(a[2]), i1(a[3]), u1(a[4]));
     },
     {{2, 4, -6}}},
    {"medit_solution_input(f, dim, values)", "o", [](G& g) { return slots{points(g, 2, 2)}; },
     [](S a, unsigned) {
       sample_stream in(solution_sample);
       unsigned dim;
       return medit_solution_input(in.f, dim, d2(a[0]));
     }},
    {"medit_input(f, pos, connect, ranges, types, refs, node_refs)", "oooooo",
     [](G& g) {
       return slots{points(g, 3, 3), conn(g, 3, 1, 3), list(g, 9, 2), types_of({3}), list(g, 9, 1), list(g, 9, 3)};
     },
     [](S a, unsigned) {
       sample_stream in(medit_sample);
       return medit_input(in.f, d2(a[0]), u2(a[1]), u1(a[2]), i1(a[3]), u1(a[4]), u1(a[5]));
     },
     {{2, 4, -6}, {2, 5, -7}, {4, 5, -7}}},
    {"NASTRAN_input(f, pos, connect, ranges, types, pids, node_ids, element_ids)", "ooooooo",
     [](G& g) {
       return slots{points(g, 3, 3), conn(g, 3, 1, 3), list(g, 9, 2), types_of({3}),
                    list(g, 9, 1),   list(g, 9, 3),    list(g, 9, 1)};
     },
     [](S a, unsigned) {
       sample_stream in(nastran_sample_file);
       return NASTRAN_input(in.f, d2(a[0]), u2(a[1]), u1(a[2]), i1(a[3]), u1(a[4]), u1(a[5]), u1(a[6]));
     },
     {{2, 4, -6}, {2, 5, -7}, {4, 5, -7}, {2, 6, -8}, {4, 6, -8}, {5, 6, -8}}},
    {"FEMAP_input(f, pos, connect, ranges, types, ids, node_ids, element_ids)", "ooooooo",
     [](G& g) {
       return slots{points(g, 3, 3), conn(g, 3, 1, 3), list(g, 9, 2), types_of({3}),
                    list(g, 9, 1),   list(g, 9, 3),    list(g, 9, 1)};
     },
     [](S a, unsigned) {
       sample_stream in(femap_sample_file);
       return FEMAP_input(in.f, d2(a[0]), u2(a[1]), u1(a[2]), i1(a[3]), u1(a[4]), u1(a[5]), u1(a[6]));
     },
     {{2, 4, -6}, {2, 5, -7}, {4, 5, -7}, {2, 6, -8}, {4, 6, -8}, {5, 6, -8}}},
    {"WavefrontOBJ_input(f, pos, connect, ranges, types, groups, names)", "ooooo",
     [](G& g) { return slots{points(g, 3, 3), conn(g, 3, 1, 3), list(g, 9, 2), types_of({3}), list(g, 9, 1)}; },
     [](S a, unsigned) {
       sample_stream in(obj_sample);
       std::vector<std::string> names;
       return WavefrontOBJ_input(in.f, d2(a[0]), u2(a[1]), u1(a[2]), i1(a[3]), u1(a[4]), names);
     },
     {{2, 4, -6}}},
    {"medit_output(path, pos, connect1, connect2, type1, type2)", "iii",
     [](G& g) { return slots{points(g, 3, 10), mixed_faces(g, 6, 10), mixed_solids(g, 6, 10)}; },
     [](S a, unsigned) { return medit_output(scratch_file(), d2(a[0]), u2(a[1]), u2(a[2]), ELT_FACE_MIX, ELT_SOLID_MIX); }},
    {"medit_output(path, pos, connect, type, colors)", "iii",
     [](G& g) { return slots{points(g, 2, 9), triangles(g), list(g, 3, 8)}; },
     [](S a, unsigned) { return medit_output(scratch_file(), d2(a[0]), u2(a[1]), ELT_TRIA3, u1(a[2])); }, {}, -6},
    {"NASTRAN_output(f, pos, connect1, connect2, type1, type2)", "iii",
     [](G& g) { return slots{points(g, 3, 10), mixed_faces(g, 6, 10), mixed_solids(g, 6, 10)}; },
     [](S a, unsigned) {
       scratch_stream out;
       return NASTRAN_output(out.f, d2(a[0]), u2(a[1]), u2(a[2]), ELT_FACE_MIX, ELT_SOLID_MIX);
     }},
    {"ensight_output(path, pos, connect1, connect2, type1, type2)", "iii",
     [](G& g) { return slots{points(g, 3, 10), mixed_faces(g, 6, 10), mixed_solids(g, 6, 10)}; },
     [](S a, unsigned) {
       return ensight_output(scratch_file(), d2(a[0]), u2(a[1]), u2(a[2]), ELT_FACE_MIX, ELT_SOLID_MIX);
     }},
    {"vtk_output(path, pos, connect1, connect2, type1, type2)", "iii",
     [](G& g) { return slots{points(g, 3, 10), mixed_faces(g, 6, 10), mixed_solids(g, 6, 10)}; },
     [](S a, unsigned) { return vtk_output(scratch_file(), d2(a[0]), u2(a[1]), u2(a[2]), ELT_FACE_MIX, ELT_SOLID_MIX); }},
    {"NASTRAN_output(f, pos, connect, type)", "ii", [](G& g) { return slots{points(g, 3, 10), conn(g, 4, 5, 10)}; },
     [](S a, unsigned) {
       scratch_stream out;
       return NASTRAN_output(out.f, d2(a[0]), u2(a[1]), ELT_TETRA4);
     }},
    {"vtk_convert(connect, type, ncells, cells, cell_types)", "ikk",
     [](G& g) { return slots{conn(g, 6, 4, 12), list(g, 9, 3), list(g, 9, 1)}; },
     [](S a, unsigned) {
       unsigned ncells = 0;
       return vtk_convert(u2(a[0]), ELT_TRIA6, ncells, u1(a[1]), u1(a[2]));
     },
     {{1, 2, -5}}},
};
  return table;
}

}  // namespace plexa_test
