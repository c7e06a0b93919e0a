// The priority queue of gradation control: the edges whose measure exceeds
// the bound, worst first, as a binary heap on a growable array.  Entries
// are never removed from the middle: one that a later change has made
// stale stays until it is popped (or until sweep() takes it out), and the
// caller tells stale entries by their stamps.
#pragma once

#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>

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

// The heap is numbered from 1 (the children of entry k are 2k and 2k + 1)
// and placed so that entry 0, never used, starts a 64-byte line: the two
// children of an entry then share a line, and so do its four
// grandchildren, which a pop fetches one level ahead.  Once the heap
// outgrows the caches, a pop is a walk down one path of lines.
class edge_queue {
 public:
  bool empty() const noexcept { return n_ == 0; }
  unsigned size() const noexcept { return n_; }
  // Whether the next push has to grow the array.
  bool full() const noexcept { return base_ + 1 + std::size_t(n_) >= array_.size(); }

  // Room for `more` entries beyond the current count; false when the array
  // cannot grow (the queue is then unchanged).
  bool grow(unsigned more) noexcept {
    const std::uint64_t wanted = std::uint64_t(n_) + more + 5;  // entry 0, and up to 4 to align
    if (wanted > 0xFFFFFFFFu) return false;
    dense1D<queue_entry, 8> fresh;
    if (!fresh.resize(unsigned(wanted))) return false;
    const unsigned base = aligned_base(fresh.data());
    if (n_ > 0) std::memcpy(static_cast<void*>(fresh.data() + base + 1), heap() + 1, sizeof(queue_entry) * n_);
    array_.swap(fresh);
    base_ = base;
    return true;
  }

  // False when the array cannot grow (the queue is then unchanged).
  bool push(const queue_entry& e) noexcept {
    if (full() && !grow(n_ + 64)) return false;
    queue_entry* h = heap();
    std::size_t k = ++n_;
    while (k > 1 && before(e, h[k / 2])) {
      h[k] = h[k / 2];
      k /= 2;
    }
    h[k] = e;
    return true;
  }

  // The first entry in queue order; the queue must not be empty.  The hole
  // at the root goes down along the better child of each pair to the
  // bottom, and the last entry rises into it from there: one comparison per
  // level on the way down (the last entry, coming from the bottom, rarely
  // rises far).
  queue_entry pop() noexcept {
    queue_entry* h = heap();
    const queue_entry top = h[1];
    const std::size_t n = --n_;
    const queue_entry last = h[n + 1];
    if (n == 0) return top;
    std::size_t k = 1;
    for (;;) {
      std::size_t child = 2 * k;
      if (child > n) break;
      if (8 * k + 7 <= n) {
        __builtin_prefetch(h + 8 * k);
        __builtin_prefetch(h + 8 * k + 4);
      }
      if (child < n && before(h[child + 1], h[child])) ++child;
      h[k] = h[child];
      k = child;
    }
    while (k > 1 && before(last, h[k / 2])) {
      h[k] = h[k / 2];
      k /= 2;
    }
    h[k] = last;
    return top;
  }

  // Removes every entry e with drop_it(e), lets restamp(e) rewrite the
  // stamps of the others, and rebuilds the heap.  Returns the count
  // removed.  The order of the kept entries does not depend on where they
  // stood.
  template <class Drop, class Restamp>
  unsigned sweep(Drop&& drop_it, Restamp&& restamp) noexcept {
    queue_entry* h = heap();
    const unsigned n = n_;
    unsigned kept = 0;
    for (unsigned k = 1; k <= n; ++k)
      if (!drop_it(h[k])) {
        h[++kept] = h[k];
        restamp(h[kept]);
      }
    n_ = kept;
    for (unsigned k = kept / 2; k >= 1; --k) sift_down(k);
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
  // Entries from the start of an array to the first that starts a 64-byte
  // line (0 when the array is not 16-byte aligned: the heap then works
  // unaligned).
  static unsigned aligned_base(const queue_entry* p) noexcept {
    const std::uintptr_t a = reinterpret_cast<std::uintptr_t>(p);
    return a % 16 != 0 ? 0u : unsigned((64 - a % 64) % 64 / 16);
  }

  queue_entry* heap() noexcept { return array_.data() + base_; }

  void sift_down(std::size_t k) noexcept {
    queue_entry* h = heap();
    const std::size_t n = n_;
    const queue_entry e = h[k];
    for (;;) {
      std::size_t child = 2 * k;
      if (child > n) break;
      if (child < n && before(h[child + 1], h[child])) ++child;
      if (!before(h[child], e)) break;
      h[k] = h[child];
      k = child;
    }
    h[k] = e;
  }

  dense1D<queue_entry, 8> array_;
  unsigned base_ = 0, n_ = 0;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
