// Outputs that share storage with inputs, over every public function that
// writes a container or a box corner: core/aliasing.hpp and its users
// core/{matching,permutation,renumbering,sorted_order,unique_indices}.cpp,
// geometry/{bounding_box,centroids,clip,mesh_copies}.cpp,
// search/{merge,degenerate_elements,unused_nodes}.cpp,
// topology/{element_boundaries,neighbors,node_graph,subdomains,sort_elfes,
// mesh_boundaries,elements_on_boundaries,edges}.cpp,
// metrics/{field_repair,field_conversions,gradation,shock,size_generation}.cpp and
// quality/{shape_qualities,jacobians}.cpp.
//
// A row of the table is one call: the role of each argument, a factory of
// fresh arguments from a seed, the call, and the codes it refuses with.  The
// harness aliases every written argument with every other argument of the
// same element type, in these ways:
//   same object   one object in both places;
//   shallow copy  the written one becomes a view of the other's block and
//                 entries (a list over a matrix, a matrix over a list when
//                 their types differ);
//   head view     the written one becomes a view of the other's first entry
//                 or column (its own row count), so that what it appends
//                 lands on entries not yet read;
//   overlapping   both become views of one block, one entry apart: the
//                 written one first and contiguous, the other strided
//                 (ld > rows); or the other first and contiguous, the
//                 written one widely strided: either way what is written
//                 lands on entries read later;
//   larger block  the written one first with a gap before the other: what
//                 grows in place runs over it.
// The call must give what it gives on private deep copies of the same
// contents, or refuse as documented.  Absent, having no pair to alias: the
// transforms and the all-node merge (pos is their only double container),
// shift_indices, node_detector::find_in_box, valid_metrics, bound_metrics,
// min_quality (whose outputs are scalars, written when it returns),
// edge_qualities (it writes only a histogram), STL_input (its two outputs
// differ in type and it reads no container).
#include <algorithm>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "support/meshes.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using plexa_test::NO;

namespace {

using U1 = zeb::dense1D<unsigned, 8>;
using U2 = zeb::dense2D<unsigned>;
using D1 = zeb::dense1D<double, 8>;
using D2 = zeb::dense2D<double>;
using V2 = zeb::vector_fixed<double, 2>;
using V3 = zeb::vector_fixed<double, 3>;
using slot = std::variant<U1, U2, D1, D2, V2, V3>;
using slots = std::vector<slot>;
using S = slot* const*;
using G = std::mt19937_64;

U1& u1(slot* s) { return std::get<U1>(*s); }
U2& u2(slot* s) { return std::get<U2>(*s); }
D1& d1(slot* s) { return std::get<D1>(*s); }
D2& d2(slot* s) { return std::get<D2>(*s); }
V2& v2(slot* s) { return std::get<V2>(*s); }
V3& v3(slot* s) { return std::get<V3>(*s); }

template <class C>
struct traits {
  static constexpr bool container = false, matrix = false;
};
template <class T>
struct traits<zeb::dense1D<T, 8>> {
  static constexpr bool container = true, matrix = false;
  using elem = T;
};
template <class T>
struct traits<zeb::dense2D<T>> {
  static constexpr bool container = true, matrix = true;
  using elem = T;
};

template <class A, class B>
constexpr bool can_share() {
  if constexpr (traits<A>::container && traits<B>::container)
    return std::is_same_v<typename traits<A>::elem, typename traits<B>::elem>;
  else
    return false;
}

// Containers of one element type, and each value type, form a kind.
std::size_t kind(const slot& s) { return s.index() < 2 ? 0 : s.index() < 4 ? 1 : s.index(); }

// Type, shape and entries (padding skipped).
std::vector<double> contents(const slot& s) {
  std::vector<double> out{double(s.index())};
  std::visit(
      [&out](const auto& c) {
        using C = std::decay_t<decltype(c)>;
        if constexpr (traits<C>::container) {
          if constexpr (traits<C>::matrix) out.insert(out.end(), {double(c.rows()), double(c.cols())});
          for (auto x : plexa_test::to_vector(c)) out.push_back(double(x));
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

template <class C>
zeb::Ptr<typename C::storage_type> block_of(const C& c) {
  zeb::Ptr<typename C::storage_type> p;
  p = c.storage();
  return p;
}

// A view of like's type over the block of `from`: over all of from's
// entries (a list over a matrix spans its columns, a matrix over a list takes
// like's row count), or with `head` over its first entry or column only.
slot view_over(const slot& from, const slot& like, bool head) {
  return std::visit(
      [head](const auto& f, const auto& l) -> slot {
        using F = std::decay_t<decltype(f)>;
        using L = std::decay_t<decltype(l)>;
        if constexpr (!can_share<F, L>()) {
          ADD_FAILURE() << "no shared view between these types";
          return l;
        } else {
          if constexpr (std::is_same_v<F, L>)
            if (!head) return f;
          unsigned span;  // elements of the block from f's first entry to its last
          if constexpr (traits<F>::matrix)
            span = f.empty() ? 0 : (f.cols() - 1) * f.ld() + f.rows();
          else
            span = f.size();
          if constexpr (traits<L>::matrix) {
            const unsigned rows = l.rows() ? l.rows() : 1, r = head ? std::min(rows, span) : rows;
            return L(block_of(f), f.start(), r, r == 0 ? 0 : head ? 1 : span / r, r);
          } else {
            return L(block_of(f), f.start(), head ? std::min(span, 1u) : span);
          }
        }
      },
      from, like);
}

// Block elements spanned by c laid out with ld = rows + pad.
template <class C>
unsigned extent(const C& c, unsigned pad) {
  if constexpr (traits<C>::matrix)
    return c.cols() == 0 ? 0 : (c.cols() - 1) * (c.rows() + pad) + c.rows();
  else
    return c.size();
}

unsigned extent_of(const slot& s) {
  return std::visit(
      [](const auto& c) -> unsigned {
        if constexpr (traits<std::decay_t<decltype(c)>>::container) return extent(c, 0);
        return 0;
      },
      s);
}

// c's entries in a view of `block` from `start`, with ld = rows + pad.
template <class C, class P>
C rebuilt(const C& c, const P& block, unsigned start, unsigned pad) {
  if constexpr (traits<C>::matrix) {
    C v(block, start, c.rows(), c.cols(), c.rows() + pad);
    for (unsigned j = 0; j < c.cols(); ++j)
      for (unsigned i = 0; i < c.rows(); ++i) v(i, j) = c(i, j);
    return v;
  } else {
    C v(block, start, c.size());
    std::copy(c.begin(), c.end(), v.begin());
    return v;
  }
}

// Moves both into one block, `in` starting `shift` elements after `out`
// (before it when negative), matrices with ld = rows + pad, garbage in the
// gaps.
void place(slot& out, slot& in, int shift, unsigned pad_out, unsigned pad_in) {
  std::visit(
      [=](auto& o, auto& i) {
        using O = std::decay_t<decltype(o)>;
        if constexpr (can_share<O, std::decay_t<decltype(i)>>()) {
          using T = typename traits<O>::elem;
          const unsigned at_o = shift < 0 ? unsigned(-shift) : 0, at_i = shift < 0 ? 0 : unsigned(shift);
          const unsigned size = std::max(at_i + extent(i, pad_in), at_o + extent(o, pad_out)) + 2;
          zeb::Ptr<zeb::vector_num<T, 8>> block;
          block = zeb::vector_num<T, 8>::create(size);
          std::fill_n(block->data(), size, T(0xDEADBEEFu));
          o = rebuilt(o, block, at_o, pad_out);
          i = rebuilt(i, block, at_i, pad_in);
        } else {
          ADD_FAILURE() << "no shared block between these types";
        }
      },
      out, in);
}

enum way { same_object, shallow_copy, head_view, written_first, read_first, larger_block };
const char* const way_names[] = {"same object",         "shallow copy",         "head view",
                                 "overlap, written first", "overlap, read first", "larger block"};

// Positions in its block of the entries a view reaches.
std::set<std::size_t> reach(const slot& s) {
  std::set<std::size_t> at;
  std::visit(
      [&at](const auto& c) {
        using C = std::decay_t<decltype(c)>;
        if constexpr (traits<C>::matrix) {
          for (std::size_t j = 0; j < c.cols(); ++j)
            for (std::size_t i = 0; i < c.rows(); ++i) at.insert(c.start() + j * c.ld() + i);
        } else if constexpr (traits<C>::container) {
          for (std::size_t k = 0; k < c.size(); ++k) at.insert(c.start() + k);
        }
      },
      s);
  return at;
}

const void* block_address(const slot& s) {
  return std::visit(
      [](const auto& c) -> const void* {
        if constexpr (traits<std::decay_t<decltype(c)>>::container) return c.storage();
        return nullptr;
      },
      s);
}

// True when two distinct views reach a common entry of one block.
bool meet(const slot& a, const slot& b) {
  if (!block_address(a) || block_address(a) != block_address(b)) return false;
  const std::set<std::size_t> ra = reach(a), rb = reach(b);
  return std::any_of(ra.begin(), ra.end(), [&rb](std::size_t k) { return rb.count(k) != 0; });
}

bool applies(const slot& a, const slot& b, way w) {
  if (w == same_object) return a.index() == b.index();
  return a.index() < 4 && b.index() < 4 && kind(a) == kind(b);
}

struct refusal {
  unsigned a, b;
  int code;
};

struct aliased_call {
  const char* name;
  // Per argument: 'i' read only, 'o' emptied by the call, 'k' kept as it was
  // when the call fails, 'x' written (no promise on failure).
  const char* roles;
  slots (*make)(G&);
  int (*call)(S, unsigned seed);  // the seed picks scalar options
  // Codes for two outputs that are one object, or for two arguments changed
  // in place that reach a common entry.
  std::vector<refusal> refused = {};
};

// The arguments of one aliased call, where each position points, and what
// each held before the call.
struct setup {
  slots args;
  std::vector<slot*> at;
  std::vector<std::vector<double>> before;
};

setup aliased(const aliased_call& c, unsigned seed, unsigned o, unsigned i, way w) {
  G g = plexa_test::rng(seed);
  setup s{c.make(g), {}, {}};
  for (slot& x : s.args) s.at.push_back(&x);
  if (w == same_object)
    s.at[o] = &s.args[i];
  else if (w == shallow_copy)
    s.args[o] = view_over(s.args[i], s.args[o], false);
  else if (w == head_view)
    s.args[o] = view_over(s.args[i], s.args[o], true);
  else if (w == written_first)
    place(s.args[o], s.args[i], 1, 0, 2);
  else if (w == read_first)
    place(s.args[o], s.args[i], -1, 8, 0);
  else
    place(s.args[o], s.args[i], int(extent_of(s.args[o])) + 3, 0, 2);
  for (slot* p : s.at) s.before.push_back(contents(*p));
  return s;
}

const refusal* refusal_for(const aliased_call& c, const setup& s, unsigned o, unsigned i, way w) {
  for (const refusal& r : c.refused)
    if (((r.a == o && r.b == i) || (r.a == i && r.b == o)) &&
        (w == same_object || (c.roles[o] != 'o' && c.roles[i] != 'o' && meet(*s.at[o], *s.at[i]))))
      return &r;
  return nullptr;
}

// Calls f(o, i, w) for every written o, other argument i and way that apply.
template <class F>
void for_each_alias(const aliased_call& c, F&& f) {
  G g = plexa_test::rng(0);
  const slots sample = c.make(g);
  for (unsigned o = 0; o < sample.size(); ++o)
    for (unsigned i = 0; i < sample.size(); ++i)
      for (way w : {same_object, shallow_copy, head_view, written_first, read_first, larger_block})
        if (c.roles[o] != 'i' && i != o && applies(sample[o], sample[i], w)) f(o, i, w);
}

// What a failed or refused call leaves: emptied outputs, and the arguments
// it keeps as they were.
void expect_left_alone(const aliased_call& c, const setup& s) {
  for (unsigned k = 0; c.roles[k]; ++k) {
    if (c.roles[k] == 'o') {
      EXPECT_TRUE(is_empty(*s.at[k])) << "argument " << k + 1;
    } else if (c.roles[k] == 'k') {
      EXPECT_EQ(contents(*s.at[k]), s.before[k]) << "argument " << k + 1;
    }
  }
}

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
  return plexa_test::random_connectivity(g, rows, cols, below);
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

U2 triangles(G& g) { return plexa_test::grid_triangles(2, 2, &g); }

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

const std::vector<aliased_call> table = {
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
     [](G& g) { return slots{g() % 2 ? plexa_test::grid_quadrangles(2, 2, &g) : triangles(g), list(g, 9, 3), list(g, 9, 3)}; },
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
    {"metrics_iso_to_aniso2d(H, M)", "ik", [](G& g) { return slots{sizes(g, 4), field(g, 3, 5)}; },
     [](S a, unsigned) { return metrics_iso_to_aniso2d(d1(a[0]), d2(a[1])); }},
    {"metrics_iso_to_aniso3d(H, M)", "ik", [](G& g) { return slots{sizes(g, 4), field(g, 6, 5)}; },
     [](S a, unsigned) { return metrics_iso_to_aniso3d(d1(a[0]), d2(a[1])); }},
    {"metrics_iso_to_aniso2d(H, T, M)", "iik",
     [](G& g) { return slots{sizes(g, 4), plexa_test::random_coordinates(g, 6, 4), field(g, 3, 5)}; },
     [](S a, unsigned) { return metrics_iso_to_aniso2d(d1(a[0]), d2(a[1]), d2(a[2])); }},
    {"metrics_aniso3d_to_aniso2d(M3, T, M2)", "iik",
     [](G& g) { return slots{field(g, 6, 4), plexa_test::random_coordinates(g, 6, 4), field(g, 3, 5)}; },
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
};

}  // namespace

TEST(Aliasing, EveryWrittenArgumentAgainstEveryOtherOfItsElementType) {
  for (const aliased_call& c : table) {
    unsigned cases = 0, succeeding = 0;
    for_each_alias(c, [&](unsigned o, unsigned i, way w) {
      for (unsigned seed = 0; seed < 4; ++seed) {
        SCOPED_TRACE(std::string(c.name) + ": argument " + std::to_string(o + 1) + " aliased to argument " +
                     std::to_string(i + 1) + " as " + way_names[w] + ", seed " + std::to_string(seed));
        setup s = aliased(c, seed, o, i, w);
        // The reference: the same contents in distinct private blocks.
        slots fresh;
        std::vector<slot*> at;
        for (slot* p : s.at) fresh.push_back(deep_copy(*p));
        for (slot& x : fresh) at.push_back(&x);
        const int expected = c.call(at.data(), seed);
        const int got = c.call(s.at.data(), seed);
        ++cases;
        succeeding += expected >= 0;
        if (const refusal* r = refusal_for(c, s, o, i, w)) {
          EXPECT_EQ(got, r->code);
          expect_left_alone(c, s);
          continue;
        }
        EXPECT_EQ(got, expected);
        for (unsigned k = 0; c.roles[k]; ++k)
          if (c.roles[k] != 'i') {
            EXPECT_EQ(contents(*s.at[k]), contents(*at[k])) << "argument " << k + 1;
          }
      }
    });
    EXPECT_GT(cases, 0u) << c.name;
    EXPECT_GT(succeeding, 0u) << c.name << ": the reference calls all fail";
  }
}

TEST(Aliasing, MemoryFailureOfAnAliasedCallLosesNothing) {
  for (const aliased_call& c : table)
    for_each_alias(c, [&](unsigned o, unsigned i, way w) {
      setup s = aliased(c, 1, o, i, w);
      if (refusal_for(c, s, o, i, w)) return;
      SCOPED_TRACE(std::string(c.name) + ": argument " + std::to_string(o + 1) + " aliased to argument " +
                   std::to_string(i + 1) + " as " + way_names[w]);
      plexa_test::for_each_allocation_failure([&] { return c.call(s.at.data(), 1); },
                                              [&] {
                                                expect_left_alone(c, s);
                                                s = aliased(c, 1, o, i, w);
                                              });
    });
}

TEST(Aliasing, ChangeIndicesLeavesItsIndicesAloneWhenTheMapCannotBeCopied) {
  U1 ids = plexa_test::ids({2, 0, 1});
  U2 connect = plexa_test::connectivity(1, {2, 0, 1});
  {
    zeb::testing::allocation_failure_scope no_memory(0);
    change_indices(ids, ids);
    change_indices(connect, connect.as_vector());
  }
  EXPECT_EQ(plexa_test::to_vector(ids), (std::vector<unsigned>{2, 0, 1}));
  EXPECT_EQ(plexa_test::to_vector(connect), (std::vector<unsigned>{2, 0, 1}));
}
