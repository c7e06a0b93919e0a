// The k-d tree shared by node_detector and merge: a table of slots
// (node, left child, right child) over the nodes of a caller's coordinate
// matrix, built balanced by median selection, extended by insertion, and
// walked by the closest-node and box queries.
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

// Read access to a tree: coordinates (first entry and column stride) and the
// slot table (3 unsigned per slot, contiguous).
template <unsigned D>
struct kd_view {
  const double* x = nullptr;
  std::size_t ld = 0;
  const unsigned* slots = nullptr;
  unsigned count = 0;

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
// (hi - lo of them, pre-order).
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
// uses this form.
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

// Links slot `slot` (already holding `node`, no children) under the tree of
// slots [0, slot).  Walks from the root going left when the node's
// (coordinate, index) is below the slot's, as the balanced build orders
// them, so an indexed node is always met again.  Returns false, leaving the
// slot unlinked, when the walk meets the same node.
template <unsigned D>
bool link_slot(const double* x, std::size_t ld, unsigned* table, unsigned slot, unsigned node) noexcept {
  if (slot == 0) return true;
  const double* p = x + node * ld;
  unsigned s = 0, axis = 0;
  for (;;) {
    unsigned* t = table + 3 * std::size_t(s);
    if (t[0] == node) return false;
    const std::uint64_t a = order_key((x + t[0] * ld)[axis]);
    const std::uint64_t b = order_key(p[axis]);
    unsigned* child = (b < a || (b == a && node < t[0])) ? t + 1 : t + 2;
    if (*child == NO_INDEX) {
      *child = slot;
      return true;
    }
    s = *child;
    axis = next_axis(axis, D);
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

template <unsigned D>
struct closest_search {
  const kd_view<D>& tree;
  const double* q;
  unsigned excluded;
  double best;
  unsigned candidate;

  void visit(unsigned s, unsigned axis) noexcept {
    do {
      const unsigned v = tree.node(s);
      const double* p = tree.at(v);
      const double diff = q[axis] - p[axis];
      if (v != excluded && diff * diff < best) {
        const double d = squared_distance<D>(q, p);
        if (d < best) {
          best = d;
          candidate = v;
        }
      }
      const unsigned next = next_axis(axis, D);
      const unsigned near_side = diff < 0 ? tree.left(s) : tree.right(s);
      const unsigned far_side = diff < 0 ? tree.right(s) : tree.left(s);
      if (far_side != NO_INDEX && diff * diff < best) {
        if (near_side != NO_INDEX) visit(near_side, next);
        // The near side may have shrunk the radius.
        if (!(diff * diff < best)) return;
        s = far_side;
      } else {
        s = near_side;
      }
      axis = next;
    } while (s != NO_INDEX);
  }
};

// The indexed node closest to q other than `excluded` (UINT_MAX for none):
// first the descent along the query's own path, which ends the search on an
// exact hit and otherwise gives the starting radius, then the pruned search
// from the root, in which only a strictly closer node replaces the candidate.
template <unsigned D>
unsigned find_closest_node(const kd_view<D>& tree, const double* q, unsigned excluded) noexcept {
  if (tree.count == 0) return NO_INDEX;
  closest_search<D> c{tree, q, excluded, DBL_MAX, NO_INDEX};
  unsigned axis = 0;
  for (unsigned s = 0; s != NO_INDEX; axis = next_axis(axis, D)) {
    const unsigned v = tree.node(s);
    const double* p = tree.at(v);
    const double diff = q[axis] - p[axis];
    if (v != excluded && diff * diff < c.best) {
      const double d = squared_distance<D>(q, p);
      if (d < c.best) {
        c.best = d;
        c.candidate = v;
        if (d == 0.0) return v;
      }
    }
    s = diff < 0 ? tree.left(s) : tree.right(s);
  }
  // Also when the descent found nothing (it may have passed only through the
  // excluded node): the full search then starts without a bound.
  c.visit(0, 0);
  return c.candidate;
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
