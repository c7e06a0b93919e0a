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
// contents, or refuse as documented.  Rows with no pair to alias are passed
// over: the transforms and the all-node merge (pos is their only double
// container), edge_qualities (it writes only a histogram), STL_input and
// medit_solution_input (outputs of different types, no container read),
// and the writers of files (nothing written in place).  Not in the table:
// shift_indices, valid_metrics, bound_metrics, min_quality (whose outputs
// are scalars, written when it returns).
#include <algorithm>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "support/public_calls.hpp"
#include "support/support.hpp"

using namespace zeb::plexa;
using namespace plexa_test;

namespace {

template <class A, class B>
constexpr bool can_share() {
  if constexpr (traits<A>::container && traits<B>::container)
    return std::is_same_v<typename traits<A>::elem, typename traits<B>::elem>;
  else
    return false;
}

// Containers of one element type, and each value type, form a kind.
std::size_t kind(const slot& s) { return s.index() < 2 ? 0 : s.index() < 4 ? 1 : s.index(); }

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

// The arguments of one aliased call, where each position points, and what
// each held before the call.
struct setup {
  slots args;
  std::vector<slot*> at;
  std::vector<std::vector<double>> before;
};

setup aliased(const public_call& c, unsigned seed, unsigned o, unsigned i, way w) {
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

const refusal* refusal_for(const public_call& c, const setup& s, unsigned o, unsigned i, way w) {
  for (const refusal& r : c.refused)
    if (((r.a == o && r.b == i) || (r.a == i && r.b == o)) &&
        (w == same_object || (c.roles[o] != 'o' && c.roles[i] != 'o' && meet(*s.at[o], *s.at[i]))))
      return &r;
  return nullptr;
}

// Calls f(o, i, w) for every written o, other argument i and way that apply.
template <class F>
void for_each_alias(const public_call& c, F&& f) {
  G g = plexa_test::rng(0);
  const slots sample = c.make(g);
  for (unsigned o = 0; o < sample.size(); ++o)
    for (unsigned i = 0; i < sample.size(); ++i)
      for (way w : {same_object, shallow_copy, head_view, written_first, read_first, larger_block})
        if (c.roles[o] != 'i' && i != o && applies(sample[o], sample[i], w)) f(o, i, w);
}

// Whether a row has a written argument and another of its element type (a
// writer of files, a reader of one output, do not).
bool has_alias(const public_call& c) {
  bool found = false;
  for_each_alias(c, [&found](unsigned, unsigned, way) { found = true; });
  return found;
}

// What a failed or refused call leaves: emptied outputs, and the arguments
// it keeps as they were.
void expect_left_alone(const public_call& c, const setup& s) {
  for (unsigned k = 0; c.roles[k]; ++k) {
    if (c.roles[k] == 'o') {
      EXPECT_TRUE(is_empty(*s.at[k])) << "argument " << k + 1;
    } else if (c.roles[k] == 'k') {
      EXPECT_EQ(contents(*s.at[k]), s.before[k]) << "argument " << k + 1;
    }
  }
}

}  // namespace

TEST(Aliasing, EveryWrittenArgumentAgainstEveryOtherOfItsElementType) {
  for (const public_call& c : public_calls()) {
    if (!has_alias(c)) continue;
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
  for (const public_call& c : public_calls())
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
