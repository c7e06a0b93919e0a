// The priority queue of gradation control: the edges whose measure exceeds
// the bound, worst first, as a binary heap on a growable array.  Entries
// are never removed from the middle: one that a later change has made
// stale stays until it is popped (or until drop() sweeps it out), and the
// caller tells stale entries by their stamps.
#pragma once

#include <cfloat>
#include <cstddef>

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// 16 bytes: the measure as a float (clamped to the largest float), the
// modification counter when the entry was made, the node to correct and
// the neighbour it is corrected against.
struct queue_entry {
  float key;
  unsigned stamp;
  unsigned node;
  unsigned neighbor;
};
static_assert(sizeof(queue_entry) == 16, "queue entries are 16 bytes");

// The key of a measure: a measure at or above the largest float is keyed
// by the largest float (a double just below it rounds to it, not beyond).
inline float queue_key(double measure) noexcept { return measure < FLT_MAX ? float(measure) : FLT_MAX; }

class edge_queue {
 public:
  bool empty() const noexcept { return heap_.empty(); }
  unsigned size() const noexcept { return heap_.size(); }
  // Whether the next push has to grow the array.
  bool full() const noexcept { return heap_.size() == heap_.capacity(); }

  // Room for `more` entries beyond the current size; false when the array
  // cannot grow (the queue is then unchanged).
  bool grow(unsigned more) noexcept {
    const unsigned long long wanted = (unsigned long long)heap_.size() + more;
    return heap_.reserve(wanted < 0xFFFFFFFFu ? unsigned(wanted) : 0xFFFFFFFFu);
  }

  // False when the array cannot grow (the queue is then unchanged).
  bool push(const queue_entry& e) noexcept {
    if (!heap_.push_back(e)) return false;
    sift_up(heap_.size() - 1);
    return true;
  }

  // The first entry in queue order; the queue must not be empty.
  queue_entry pop() noexcept {
    queue_entry* h = heap_.data();
    const queue_entry top = h[0];
    const unsigned last = heap_.size() - 1;
    h[0] = h[last];
    heap_.resize(last);
    if (last > 1) sift_down(0);
    return top;
  }

  // Removes every entry e with drop_it(e), lets restamp(e) rewrite the
  // stamps of the others, and rebuilds the heap.  Returns the count
  // removed.  The order of the kept entries does not depend on where they
  // stood.
  template <class Drop, class Restamp>
  unsigned sweep(Drop&& drop_it, Restamp&& restamp) noexcept {
    queue_entry* h = heap_.data();
    const unsigned n = heap_.size();
    unsigned kept = 0;
    for (unsigned k = 0; k < n; ++k)
      if (!drop_it(h[k])) {
        h[kept] = h[k];
        restamp(h[kept]);
        ++kept;
      }
    heap_.resize(kept);
    for (unsigned k = kept / 2; k-- > 0;) sift_down(k);
    return n - kept;
  }

  // Queue order: the larger key first; equal keys by increasing node, then
  // by increasing neighbour.  Entries equal in all three are
  // interchangeable (the correction they ask for reads only the nodes'
  // current state), so the order in which entries were pushed never shows.
  static bool before(const queue_entry& a, const queue_entry& b) noexcept {
    if (a.key != b.key) return a.key > b.key;
    if (a.node != b.node) return a.node < b.node;
    return a.neighbor < b.neighbor;
  }

 private:
  void sift_up(unsigned k) noexcept {
    queue_entry* h = heap_.data();
    const queue_entry e = h[k];
    while (k > 0) {
      const unsigned parent = (k - 1) / 2;
      if (!before(e, h[parent])) break;
      h[k] = h[parent];
      k = parent;
    }
    h[k] = e;
  }

  void sift_down(unsigned k) noexcept {
    queue_entry* h = heap_.data();
    const unsigned n = heap_.size();
    const queue_entry e = h[k];
    for (;;) {
      std::size_t child = 2 * std::size_t(k) + 1;
      if (child >= n) break;
      if (child + 1 < n && before(h[child + 1], h[child])) ++child;
      if (!before(h[child], e)) break;
      h[k] = h[child];
      k = unsigned(child);
    }
    h[k] = e;
  }

  dense1D<queue_entry, 8> heap_;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
