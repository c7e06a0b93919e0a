// The answers of the merging core for sources that lie at one place.
//
// Sources with identical coordinates (compared as values: -0 and +0 are one
// place) get identical box queries, which visit the same candidates in the
// same order at the same squared distances; only the rank limit of the
// source differs.  A source takes, among the candidates of rank below its
// limit within the tolerance, the one at the smallest squared distance, the
// last visited among equals.  So once the candidates of a place are sorted
// by rank, with the best so far kept at every step, every later source of
// that place is answered by a bisection on its limit instead of a query
// that visits the whole cluster again.
//
// Only the steps where the best so far changes are kept.  Their total is
// capped by a budget (the merging core gives the number of targets); a place
// that would exceed it is marked to be queried as usual, so that it is not
// examined again.
#pragma once

#include <algorithm>
#include <cstdint>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"
#include "search/exact_places.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// A query that meets this many targets at the very place of its source
// has the answers of that place kept for the later sources at it.
constexpr unsigned PLACE_COPIES = 16;

// A candidate of a box query within the tolerance: squared distance, rank
// (its node is the target of that rank) and position in the visiting order.
struct place_candidate {
  double squared;
  unsigned rank;
  unsigned visit;
};

template <unsigned D>
class coincident_sources {
 public:
  // Whether any place is known (lookups are pointless before).
  bool empty() const noexcept { return places_.empty(); }

  // The place of coordinates p, UINT_MAX when it is not known.
  unsigned find(const double* p) const noexcept {
    if (places_.empty()) return NO_INDEX;
    const unsigned* b = buckets_.data();
    const unsigned mask = buckets_.size() - 1;
    for (unsigned h = place_hash<D>(p) & mask;; h = (h + 1) & mask) {
      if (b[h] == NO_INDEX) return NO_INDEX;
      if (same_place<D>(places_[b[h]].x, p)) return b[h];
    }
  }

  // Whether place k has its answers (it may only be marked as examined).
  bool answered(unsigned k) const noexcept { return places_[k].count != NO_INDEX; }

  // The target of a source of place k whose eligible ranks are those below
  // `limit`, with its squared distance; UINT_MAX when no candidate is
  // eligible.
  unsigned answer(unsigned k, unsigned limit, double& squared) const noexcept {
    const step* first = steps_.data() + places_[k].first;
    const step* last = first + places_[k].count;
    const step* after = std::partition_point(first, last, [&](const step& e) { return e.rank < limit; });
    if (after == first) return NO_INDEX;
    squared = after[-1].squared;
    return after[-1].node;
  }

  // Adds the place of coordinates p (not known yet) with its candidates in
  // visiting order, c[0, m), reordered here; targets[r] is the node of rank
  // r.  Its steps are kept when the steps of all places stay within
  // `budget`; otherwise the place is only marked as examined.  False when
  // memory cannot be had.
  bool add(const double* p, place_candidate* c, unsigned m, const unsigned* targets, unsigned budget) noexcept {
    std::sort(c, c + m, [](const place_candidate& a, const place_candidate& b) { return a.rank < b.rank; });
    // The steps, written over the candidates: one wherever the best of the
    // ranks so far changes (smaller distance, or equal and visited later).
    unsigned count = 0;
    for (unsigned i = 0; i < m; ++i) {
      const place_candidate& best = c[count - (count > 0)];
      if (count == 0 || c[i].squared < best.squared || (c[i].squared == best.squared && c[i].visit > best.visit))
        c[count++] = c[i];
    }
    place at;
    for (unsigned k = 0; k < D; ++k) at.x[k] = p[k] + 0.0;
    at.first = steps_.size();
    at.count = NO_INDEX;
    if (std::uint64_t(steps_.size()) + count <= budget) {
      if (!steps_.reserve(steps_.size() + count)) return false;
      for (unsigned i = 0; i < count; ++i) steps_.push_back(step{c[i].squared, c[i].rank, targets[c[i].rank]});
      at.count = count;
    }
    if (2 * (std::uint64_t(places_.size()) + 1) > buckets_.size() && !rehash(2 * places_.size() + 2)) return false;
    if (!places_.push_back(at)) return false;
    place_bucket(places_.size() - 1);
    return true;
  }

 private:
  struct place {
    double x[D];
    unsigned first;
    unsigned count;  // UINT_MAX: examined, queried as usual
  };
  struct step {
    double squared;
    unsigned rank;
    unsigned node;
  };

  void place_bucket(unsigned k) noexcept {
    unsigned* b = buckets_.data();
    const unsigned mask = buckets_.size() - 1;
    unsigned h = place_hash<D>(places_[k].x) & mask;
    while (b[h] != NO_INDEX) h = (h + 1) & mask;
    b[h] = k;
  }

  // Buckets for at least `places` places at most half full.
  bool rehash(std::uint64_t places) noexcept {
    std::uint64_t size = 16;
    while (size < 2 * places) size *= 2;
    if (size > (std::uint64_t(1) << 31)) return false;
    dense1D<unsigned, 8> fresh;
    if (!fresh.resize(unsigned(size), NO_INDEX)) return false;
    buckets_ = static_cast<dense1D<unsigned, 8>&&>(fresh);
    for (unsigned k = 0; k < places_.size(); ++k) place_bucket(k);
    return true;
  }

  dense1D<place, 8> places_;
  dense1D<step, 8> steps_;
  dense1D<unsigned, 8> buckets_;  // place indices, UINT_MAX for a free bucket
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
