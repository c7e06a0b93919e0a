// The insertion walk of node_detector: links a new slot under the tree,
// starting from a cached part of the previous walk when that gives the same
// walk as starting from the root.
//
// The walk compares nodes on a slot's axis by (order_key(coordinate), node
// index), a strict total order (the order of the balanced build), and goes
// left below the slot's pair, right above it.  So the set of nodes whose
// walk from the root passes through a slot, its region, is a product of open
// intervals of such pairs, one per axis, bounded by the slot's ancestors.  A
// node strictly inside the region of a slot is held by none of its
// ancestors (its pair differs from each ancestor's on the ancestor's axis)
// and its walk from the root reaches that slot: starting there ends in the
// same slot, with the same duplicate detection, as starting at the root.
// Insertion only adds leaves, so the region of a slot never changes.
//
// The cache keeps the deepest 64 slots of the last walk with their regions.
// Nodes inserted one per call in sorted order, or at one place, then link in
// O(1) each instead of walking a chain from the root.  The cache lives in
// PATH_WORDS caller-provided words (or none: every walk then starts at the
// root); it changes no result, so a copy of the tree may start without it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "search/kd_tree.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// Words of the cache: [0] the number of entries held, [1] the depth of the
// deepest one, then PATH_SLOTS entries of PATH_STRIDE words.  The entry of
// depth d sits at index d mod PATH_SLOTS: its slot, then the node index of
// the lower bound on each of 3 axes, then of the upper bound (UINT_MAX for
// no bound; node indices never take that value).
constexpr unsigned PATH_SLOTS = 64;
constexpr unsigned PATH_STRIDE = 7;
constexpr unsigned PATH_WORDS = 2 + PATH_SLOTS * PATH_STRIDE;

// An empty cache: the next walk starts at the root.
inline void reset_path(unsigned* path) noexcept { path[0] = path[1] = 0; }

template <unsigned D>
class insertion_walk {
 public:
  // Coordinates (first entry, column stride), the slot table (3 words per
  // slot) and the cache (PATH_WORDS words, or nullptr).  One walker serves
  // the nodes of one insert call.
  insertion_walk(const double* x, std::size_t ld, unsigned* table, unsigned* path) noexcept
      : x_(x), ld_(ld), table_(table), path_(path) {}

  // Links slot `slot` (already holding `node`, no children) under the tree
  // of slots [0, slot).  Returns false, leaving the slot unlinked, when the
  // walk meets the same node.
  bool link(unsigned slot, unsigned node) noexcept {
    std::uint64_t k[D];
    for (unsigned a = 0; a < D; ++a) k[a] = key(node, a);
    unsigned lo[3] = {NO_INDEX, NO_INDEX, NO_INDEX}, hi[3] = {NO_INDEX, NO_INDEX, NO_INDEX};
    unsigned s = 0, depth = 0, base = 0;
    if (slot == 0) {
      record(0, 0, lo, hi);
      finish(0, 0);
      return true;
    }
    if (path_ && path_[0] > 0) {
      // Regions shrink down a path: the entries holding the node are the
      // shallowest ones up to some depth, found by bisection.
      const unsigned top = path_[1], low = top + 1 - path_[0];
      unsigned first_out = low, end = top + 1;
      while (first_out < end) {
        const unsigned mid = first_out + (end - first_out) / 2;
        if (holds(entry(mid), node, k))
          first_out = mid + 1;
        else
          end = mid;
      }
      if (first_out > low) {
        depth = first_out - 1;
        const unsigned* e = entry(depth);
        s = e[0];
        for (unsigned a = 0; a < 3; ++a) {
          lo[a] = e[1 + a];
          hi[a] = e[4 + a];
        }
        base = low;  // the entries above the start stay on the path
      }
      // A walk that starts near the root gains little from the cache.  When
      // walk after walk does so (the shuffled nodes of a large call), this
      // walker stops consulting and updating it; the cache keeps describing
      // a path of the tree, which later insertions do not change.
      shallow_ = depth < SHALLOW_START ? shallow_ + 1 : 0;
      if (shallow_ == SHALLOW_WALKS) path_ = nullptr;
    }
    for (unsigned axis = depth % D;; axis = next_axis(axis, D)) {
      record(depth, s, lo, hi);
      unsigned* t = table_ + 3 * std::size_t(s);
      if (t[0] == node) {
        finish(base, depth);
        return false;
      }
      const std::uint64_t a = key(t[0], axis);
      const bool left = k[axis] < a || (k[axis] == a && node < t[0]);
      (left ? hi : lo)[axis] = t[0];
      unsigned* child = t + (left ? 1 : 2);
      ++depth;
      if (*child == NO_INDEX) {
        *child = slot;
        record(depth, slot, lo, hi);
        finish(base, depth);
        return true;
      }
      s = *child;
    }
  }

 private:
  std::uint64_t key(unsigned node, unsigned axis) const noexcept { return order_key(x_[node * ld_ + axis]); }

  unsigned* entry(unsigned depth) const noexcept { return path_ + 2 + (depth % PATH_SLOTS) * PATH_STRIDE; }

  // Whether node (with keys k) lies strictly inside the region of entry e.
  bool holds(const unsigned* e, unsigned node, const std::uint64_t* k) const noexcept {
    for (unsigned a = 0; a < D; ++a) {
      const unsigned l = e[1 + a], h = e[4 + a];
      if (l != NO_INDEX) {
        const std::uint64_t b = key(l, a);
        if (!(b < k[a] || (b == k[a] && l < node))) return false;
      }
      if (h != NO_INDEX) {
        const std::uint64_t b = key(h, a);
        if (!(k[a] < b || (k[a] == b && node < h))) return false;
      }
    }
    return true;
  }

  void record(unsigned depth, unsigned slot, const unsigned* lo, const unsigned* hi) noexcept {
    if (!path_) return;
    unsigned* e = entry(depth);
    e[0] = slot;
    for (unsigned a = 0; a < 3; ++a) {
      e[1 + a] = lo[a];
      e[4 + a] = hi[a];
    }
  }

  // The path now ends at depth `top`; the entries from `base` on are valid,
  // of which the ring holds the last PATH_SLOTS.
  void finish(unsigned base, unsigned top) noexcept {
    if (!path_) return;
    const unsigned low = top - base >= PATH_SLOTS ? top - (PATH_SLOTS - 1) : base;
    path_[0] = top - low + 1;
    path_[1] = top;
  }

  static constexpr unsigned SHALLOW_START = 8;
  static constexpr unsigned SHALLOW_WALKS = 32;

  const double* x_;
  std::size_t ld_;
  unsigned* table_;
  unsigned* path_;
  unsigned shallow_ = 0;  // consecutive walks started above SHALLOW_START
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
