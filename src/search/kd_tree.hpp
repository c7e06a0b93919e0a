// The k-d tree shared by node_detector and merge: a table of slots
// (node, left child, right child) over the nodes of a caller's coordinate
// matrix, built balanced by median selection, extended by insertion
// (insertion_path.hpp), and walked by the closest-node and box queries.
//
// The splitting axis depends on depth only: x at the root, then y[, z] in
// turn.  Slots are stored in pre-order (a parent precedes its subtrees), so
// the left child of a slot built balanced is the next slot.
#pragma once

#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// Read access to a tree: coordinates (first entry and column stride), the
// slot table (3 unsigned per slot, contiguous) and, when the tree keeps
// them, the coordinates of every slot's node in slot order (D per slot),
// which the closest-node search reads instead of the caller's columns.
template <unsigned D>
struct kd_view {
  const double* x = nullptr;
  std::size_t ld = 0;
  const unsigned* slots = nullptr;
  unsigned count = 0;
  const double* slot_x = nullptr;

  const double* at(unsigned node) const noexcept { return x + node * ld; }
  unsigned node(unsigned s) const noexcept { return slots[3 * std::size_t(s)]; }
  unsigned left(unsigned s) const noexcept { return slots[3 * std::size_t(s) + 1]; }
  unsigned right(unsigned s) const noexcept { return slots[3 * std::size_t(s) + 2]; }
};

// An empty view when the caller has changed the row count of the matrix.
template <unsigned D>
inline kd_view<D> make_view(const dense2D<double>& pos, const dense2D<unsigned>& table) noexcept {
  kd_view<D> v;
  v.x = pos.data();
  v.ld = pos.ld();
  v.slots = table.data();
  v.count = pos.rows() == D ? table.cols() : 0;
  return v;
}

// The same with the slot coordinates (D per slot of the table).
template <unsigned D>
inline kd_view<D> make_view(const dense2D<double>& pos, const dense2D<unsigned>& table,
                            const dense1D<double, 8>& slot_x) noexcept {
  kd_view<D> v = make_view<D>(pos, table);
  if (slot_x.size() == std::size_t(D) * table.cols()) v.slot_x = slot_x.data();
  return v;
}

constexpr unsigned next_axis(unsigned axis, unsigned dim) noexcept { return axis + 1 == dim ? 0 : axis + 1; }

// A key whose unsigned order is the order of the doubles, made total: -0 and
// +0 are one key, NaNs sort beyond the infinities of their sign.  The build
// and the insertion compare coordinates through it, so a NaN coordinate can
// neither break the selection nor send two walks different ways.
inline std::uint64_t order_key(double v) noexcept {
  v += 0.0;
  std::uint64_t b;
  std::memcpy(&b, &v, sizeof b);
  const std::uint64_t sign = std::uint64_t(1) << 63;
  return (b & sign) ? ~b : (b | sign);
}

// A node with its coordinates, the unit of the balanced build.
template <unsigned D>
struct build_item {
  double x[D];
  unsigned node;
};

// (coordinate on axis, node index) order.
template <unsigned D>
inline bool item_less(const build_item<D>& a, const build_item<D>& b, unsigned axis) noexcept {
  const std::uint64_t ka = order_key(a.x[axis]), kb = order_key(b.x[axis]);
  return ka < kb || (ka == kb && a.node < b.node);
}

// The items of `nodes` (valid indices of pos) with their coordinates.
template <unsigned D>
bool gather_items(const dense2D<double>& pos, const unsigned* nodes, unsigned n, dense1D<build_item<D>, 8>& items) {
  if (!items.resize(n)) return false;
  build_item<D>* a = items.data();
  const double* x = pos.data();
  const std::size_t ld = pos.ld();
  for (unsigned i = 0; i < n; ++i) {
    const double* p = x + nodes[i] * ld;
    for (unsigned k = 0; k < D; ++k) a[i].x[k] = p[k];
    a[i].node = nodes[i];
  }
  return true;
}

// Puts the entry of rank m of a[lo, hi) in its sorted place with the smaller
// ones before it.  Ranges longer than 32 entries are partitioned (Hoare,
// median of three); shorter ones are finished by insertion sort.
template <unsigned D>
void select_median(build_item<D>* a, unsigned lo, unsigned hi, unsigned m, unsigned axis) noexcept {
  using item = build_item<D>;
  auto swap = [](item& p, item& q) {
    const item t = p;
    p = q;
    q = t;
  };
  while (hi - lo > 32) {
    const unsigned mid = lo + (hi - lo) / 2;
    if (item_less(a[mid], a[lo], axis)) swap(a[mid], a[lo]);
    if (item_less(a[hi - 1], a[mid], axis)) {
      swap(a[hi - 1], a[mid]);
      if (item_less(a[mid], a[lo], axis)) swap(a[mid], a[lo]);
    }
    const item pivot = a[mid];
    unsigned i = lo - 1, j = hi;
    for (;;) {
      do ++i; while (item_less(a[i], pivot, axis));
      do --j; while (item_less(pivot, a[j], axis));
      if (i >= j) break;
      swap(a[i], a[j]);
    }
    // a[lo, j] <= pivot <= a[j + 1, hi), with lo <= j < hi - 1.
    if (m <= j)
      hi = j + 1;
    else
      lo = j + 1;
  }
  for (unsigned i = lo + 1; i < hi; ++i) {
    const item v = a[i];
    unsigned k = i;
    for (; k > lo && item_less(v, a[k - 1], axis); --k) a[k] = a[k - 1];
    a[k] = v;
  }
}

// Builds the balanced subtree of a[lo, hi) into the slots from `slot` on
// (hi - lo of them, pre-order).  Only the left half is built by a nested
// call, the right half by the loop: the call depth is log2(hi - lo) at most.
template <unsigned D>
void build_range(build_item<D>* a, unsigned lo, unsigned hi, unsigned axis, unsigned slot, unsigned* table) noexcept {
  for (;;) {
    const unsigned m = lo + (hi - lo) / 2;
    if (hi - lo > 1) select_median(a, lo, hi, m, axis);
    unsigned* s = table + 3 * std::size_t(slot);
    s[0] = a[m].node;
    s[1] = m > lo ? slot + 1 : NO_INDEX;
    s[2] = hi > m + 1 ? slot + 1 + (m - lo) : NO_INDEX;
    const unsigned next = next_axis(axis, D);
    if (m > lo) build_range(a, lo, m, next, slot + 1, table);
    if (hi <= m + 1) return;
    slot += 1 + (m - lo);
    lo = m + 1;
    axis = next;
  }
}

// Balanced tree over `nodes` (n valid, distinct node indices of pos) into
// `table` (3 rows, n columns).  False when memory cannot be had (table is
// then unchanged).
template <unsigned D>
bool build_tree(const dense2D<double>& pos, const unsigned* nodes, unsigned n, dense2D<unsigned>& table) noexcept {
  dense2D<unsigned> fresh;
  if (!fresh.resize(3, n)) return false;
  if (n > 0) {
    dense1D<build_item<D>, 8> work;
    if (!gather_items<D>(pos, nodes, n, work)) return false;
    build_range<D>(work.data(), 0, n, 0, 0, fresh.data());
  }
  table = static_cast<dense2D<unsigned>&&>(fresh);
  return true;
}

// The same balanced tree kept implicit: after the selections, the median of
// every range [lo, hi) sits at lo + (hi - lo) / 2, with the left subtree in
// [lo, m) and the right one in [m + 1, hi).  The items keep their
// coordinates, so a walk never reads the caller's matrix; the merging core
// uses this form.  As in build_range, only the left half is a nested call:
// the call depth is log2(hi - lo) at most.
template <unsigned D>
void order_implicit(build_item<D>* a, unsigned lo, unsigned hi, unsigned axis) noexcept {
  while (hi - lo > 1) {
    const unsigned m = lo + (hi - lo) / 2;
    select_median(a, lo, hi, m, axis);
    axis = next_axis(axis, D);
    order_implicit(a, lo, m, axis);
    lo = m + 1;
  }
}

template <unsigned D>
inline double squared_distance(const double* a, const double* b) noexcept {
  double d = 0.0;
  for (unsigned k = 0; k < D; ++k) {
    const double t = a[k] - b[k];
    d += t * t;
  }
  return d;
}

// A subtree left for later by the closest-node search: the far side `far`
// (splitting on `axis`) of slot `anchor`, with the squared distances from
// the query to the region of that subtree along each axis (`offset`, 0
// where the query lies within the region's bounds) and their sum, `floor`.
// No node of the subtree is closer than floor: it is worth entering while
// floor is below the best distance.
template <unsigned D>
struct closest_step {
  double floor;
  double offset[D];
  unsigned far;
  unsigned anchor;
  unsigned axis;
};

// The stack of pending far sides: entries[0, size) in a room of `capacity`.
template <unsigned D>
struct closest_stack {
  closest_step<D>* entries;
  unsigned size;
  unsigned capacity;
};

// Where the closest-node search puts its pending far sides once the 64 kept
// in its own frame are not enough: a block that doubles as needed.  When no
// block can be had the older half of the entries is forgotten instead
// (dropped() tells), and the search finds those again by climbing the tree.
template <unsigned D>
class closest_overflow {
 public:
  bool dropped() const noexcept { return dropped_; }

  // Room for one more entry on the full stack `at`.
  closest_stack<D> make_room(const closest_stack<D>& at) noexcept {
    if (!dropped_ && at.capacity <= (1u << 28)) {
      dense1D<closest_step<D>, 8> bigger;
      if (bigger.resize(2 * at.capacity)) {
        std::memcpy(static_cast<void*>(bigger.data()), at.entries, at.size * sizeof(closest_step<D>));
        block_ = static_cast<dense1D<closest_step<D>, 8>&&>(bigger);
        return closest_stack<D>{block_.data(), at.size, 2 * at.capacity};
      }
    }
    dropped_ = true;
    const unsigned kept = at.size / 2;
    std::memmove(static_cast<void*>(at.entries), at.entries + (at.size - kept), kept * sizeof(closest_step<D>));
    return closest_stack<D>{at.entries, kept, at.capacity};
  }

 private:
  dense1D<closest_step<D>, 8> block_;
  bool dropped_ = false;
};

// The slot whose child is slot x (UINT_MAX for the root).  A slot is always
// linked under an earlier one, so the scan goes down from x - 1.
template <unsigned D>
unsigned parent_slot(const kd_view<D>& tree, unsigned x) noexcept {
  for (unsigned s = x; s-- > 0;)
    if (tree.left(s) == x || tree.right(s) == x) return s;
  return NO_INDEX;
}

constexpr unsigned previous_axis(unsigned axis, unsigned dim) noexcept { return axis == 0 ? dim - 1 : axis - 1; }

// The sum of the squared offsets, taken in axis order as squared_distance
// takes its terms: for every node of the region each term is at most the
// node's term, so the sum is at most the node's squared distance, rounding
// included.
template <unsigned D>
inline double offset_floor(const double* offset) noexcept {
  double sum = 0.0;
  for (unsigned k = 0; k < D; ++k) sum += offset[k];
  return sum;
}

// The closest-node search: depth first from the root, the query's side of
// every splitting plane before the other side, which is entered only while
// its region can hold a node strictly closer than the best so far (the
// squared distance to the region, a tighter floor than the one to the
// splitting plane alone).  The first steps are the descent along the
// query's own path; the search ends on an exact hit, which nothing can
// beat.  The far sides met on the way wait on the stack and are taken back
// deepest first, as a search restarted from the root with the descent's
// radius would take them.  A NaN difference keeps both sides open (a node
// with a NaN coordinate may sit above finite ones).  Only a strictly closer
// node replaces the candidate, so among equals the first met wins.
//
// `at(slot, node)` gives the coordinates of a slot's node.  The walk keeps
// its pending far sides on a stack of its own, not on the call stack: a tree
// grown one node per insertion may be as deep as it is large.
template <unsigned D, class Coordinates>
unsigned closest_search(const kd_view<D>& tree, Coordinates at, const double* q, unsigned excluded) noexcept {
  closest_step<D> local[64];
  closest_stack<D> pending{local, 0, 64};
  closest_overflow<D> overflow;
  double best = DBL_MAX;
  unsigned candidate = NO_INDEX;
  double offset[D] = {};
  unsigned s = 0, axis = 0;
  for (;;) {
    while (s != NO_INDEX) {
      const unsigned v = tree.node(s);
      const double* p = at(s, v);
      const double diff = q[axis] - p[axis];
      if (v != excluded && diff * diff < best) {
        const double d = squared_distance<D>(q, p);
        if (d < best) {
          best = d;
          candidate = v;
          if (d == 0.0) return v;  // nothing can be strictly closer
        }
      }
      const unsigned next = next_axis(axis, D);
      const unsigned near_side = diff < 0 ? tree.left(s) : tree.right(s);
      const unsigned far_side = diff < 0 ? tree.right(s) : tree.left(s);
      if (far_side != NO_INDEX) {
        closest_step<D> e;
        for (unsigned k = 0; k < D; ++k) e.offset[k] = offset[k];
        e.offset[axis] = diff * diff;
        e.floor = offset_floor<D>(e.offset);
        if (!(e.floor >= best)) {
          e.far = far_side;
          e.anchor = s;
          e.axis = next;
          if (near_side == NO_INDEX) {
            for (unsigned k = 0; k < D; ++k) offset[k] = e.offset[k];
            s = far_side;
            axis = next;
            continue;
          }
          if (pending.size == pending.capacity) pending = overflow.make_room(pending);
          pending.entries[pending.size++] = e;
        }
      }
      s = near_side;
      axis = next;
    }
    // The next pending far side that the best distance has not ruled out
    // since.
    while (s == NO_INDEX && pending.size > 0) {
      const closest_step<D>& e = pending.entries[--pending.size];
      if (!(e.floor >= best)) {
        for (unsigned k = 0; k < D; ++k) offset[k] = e.offset[k];
        s = e.far;
        axis = e.axis;
      }
    }
    if (s != NO_INDEX) continue;
    if (!overflow.dropped()) return candidate;
    // Entries were forgotten: they are far sides of ancestors of the anchor
    // of the last entry taken (entries[0], the stack being empty), whose
    // subtree is done.  Climb to the first ancestor reached from its near
    // side whose far side is still open, and go on from there through the
    // stack, with the offset of that ancestor's plane alone (a lower floor
    // than the region's, which only opens more).  Every slot climbed
    // through has its subtree done, so a query climbs through each slot
    // once at most.
    unsigned x = pending.entries[0].anchor, x_axis = previous_axis(pending.entries[0].axis, D);
    for (;;) {
      const unsigned a = parent_slot(tree, x);
      if (a == NO_INDEX) return candidate;
      const unsigned a_axis = previous_axis(x_axis, D);
      const double diff = q[a_axis] - at(a, tree.node(a))[a_axis];
      const unsigned near_side = diff < 0 ? tree.left(a) : tree.right(a);
      const unsigned far_side = diff < 0 ? tree.right(a) : tree.left(a);
      if (x == near_side && far_side != NO_INDEX && !(diff * diff >= best)) {
        closest_step<D> e{};
        e.offset[a_axis] = diff * diff;
        e.floor = offset_floor<D>(e.offset);
        e.far = far_side;
        e.anchor = a;
        e.axis = next_axis(a_axis, D);
        pending.entries[pending.size++] = e;
        break;
      }
      x = a;
      x_axis = a_axis;
    }
  }
}

// The indexed node closest to q other than `excluded` (UINT_MAX for none).
template <unsigned D>
unsigned find_closest_node(const kd_view<D>& tree, const double* q, unsigned excluded) noexcept {
  if (tree.count == 0) return NO_INDEX;
  // A query with an infinite or NaN component has no finite squared
  // distance to any node: nothing can be the closest.
  for (unsigned k = 0; k < D; ++k)
    if (!(q[k] - q[k] == 0.0)) return NO_INDEX;
  if (tree.slot_x) {
    const double* sx = tree.slot_x;
    return closest_search<D>(tree, [sx](unsigned s, unsigned) { return sx + D * std::size_t(s); }, q, excluded);
  }
  return closest_search<D>(tree, [&tree](unsigned, unsigned v) { return tree.at(v); }, q, excluded);
}

// Walk stack entry of the box query.
struct box_step {
  unsigned slot;
  unsigned axis;
};

// Calls f(node) for every node of the tree inside the closed box [lo, hi],
// depth first with an explicit stack, left subtree before right subtree.
// `stack` is work storage (emptied here).  False when the stack cannot grow.
template <unsigned D, class F>
bool for_each_in_box(const kd_view<D>& tree, const double* lo, const double* hi, dense1D<box_step, 8>& stack,
                     F&& f) noexcept {
  stack.clear();
  if (tree.count == 0) return true;
  if (!stack.push_back(box_step{0, 0})) return false;
  while (!stack.empty()) {
    const box_step top = stack[stack.size() - 1];
    stack.resize(stack.size() - 1);
    const unsigned v = tree.node(top.slot);
    const double* p = tree.at(v);
    bool inside = true;
    for (unsigned k = 0; k < D; ++k) inside &= (lo[k] <= p[k]) & (p[k] <= hi[k]);
    if (inside) f(v);
    const unsigned a = top.axis, next = next_axis(a, D);
    const unsigned l = tree.left(top.slot), r = tree.right(top.slot);
    if (r != NO_INDEX && !(p[a] > hi[a]) && !stack.push_back(box_step{r, next})) return false;
    if (l != NO_INDEX && !(p[a] < lo[a]) && !stack.push_back(box_step{l, next})) return false;
  }
  return true;
}

// Walk stack entry of the implicit tree: the range of a subtree.
struct range_step {
  unsigned lo;
  unsigned hi;
  unsigned axis;
};

// for_each_in_box on the implicit tree of items[0, n): the same visiting
// order as on the slot table built from the same nodes.
template <unsigned D, class F>
bool for_each_in_box(const build_item<D>* items, unsigned n, const double* lo, const double* hi,
                     dense1D<range_step, 8>& stack, F&& f) noexcept {
  stack.clear();
  if (n == 0) return true;
  range_step at{0, n, 0};
  for (;;) {
    const unsigned m = at.lo + (at.hi - at.lo) / 2;
    const double* p = items[m].x;
    bool inside = true;
    for (unsigned k = 0; k < D; ++k) inside &= (lo[k] <= p[k]) & (p[k] <= hi[k]);
    if (inside) f(items[m]);
    const unsigned a = at.axis, next = next_axis(a, D);
    const bool left = m > at.lo && !(p[a] < lo[a]);
    const bool right = at.hi > m + 1 && !(p[a] > hi[a]);
    if (left) {
      // The right subtree waits on the stack; the walk goes on to the left.
      if (right && !stack.push_back(range_step{m + 1, at.hi, next})) return false;
      at = range_step{at.lo, m, next};
    } else if (right) {
      at = range_step{m + 1, at.hi, next};
    } else {
      if (stack.empty()) return true;
      at = stack[stack.size() - 1];
      stack.resize(stack.size() - 1);
    }
  }
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
