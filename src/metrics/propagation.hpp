// The propagation engine of gradation control, one for every field and
// measure: the edges whose measure exceeds the bound g go into a priority
// queue, worst first; each popped edge corrects its first node against the
// second (metrics/node_correction.hpp), and every change puts the node's
// edges that now exceed g back into the queue, until it is empty.
//
// Per node: a mark, FROZEN for a node that may not change, 0 for a free
// node not yet changed, else the value of the modification counter at its
// last change (the counter is incremented before each change), so that the
// marks double as the time stamps that tell stale queue entries; and a
// direction mode byte.
#pragma once

#include <cstdint>

#include <zeb/dense.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "metrics/edge_queue.hpp"
#include "metrics/node_correction.hpp"

namespace zeb {
namespace plexa {
namespace detail {

constexpr unsigned FROZEN = 0xFFFFFFFFu;

// What one run did, for the benchmarks.
struct propagation_stats {
  std::uint64_t first = 0, pushes = 0, pops = 0, stale = 0, changes = 0, sweeps = 0, swept = 0;
  unsigned largest_queue = 0;
};

template <class Field, class Measure>
class propagation {
 public:
  // The field, the node graph (compressed lists: neighbours of node v are
  // nodes[offsets[v]] up to nodes[offsets[v + 1]]) and the bound.  The
  // modification counter is renumbered when it reaches `stamp_limit` (the
  // tests lower it to exercise that path).
  propagation(Field& field, const dense1D<unsigned, 8>& offsets, const dense1D<unsigned, 8>& nodes, double g,
              unsigned stamp_limit = FROZEN - 1) noexcept
      : field_(field), corrector_(field, g), off_(offsets.data()), adj_(nodes.data()),
        n_(offsets.size() - 1), g_(g), limit_(stamp_limit) {}

  // The marks and modes: the listed nodes (UINT_MAX entries and nodes
  // beyond the graph ignored) are frozen when `listed_frozen`, else they
  // are the only free ones; every node starts in `mode`.  -199 when the
  // per-node state cannot be had.
  int prepare(const dense1D<unsigned, 8>& listed, bool listed_frozen, unsigned char mode) noexcept {
    if (!marks_.resize(n_, listed_frozen ? 0u : FROZEN) || !modes_.resize(n_, mode)) return OUT_OF_MEMORY;
    unsigned* mark = marks_.data();
    for (unsigned k = 0, count = listed.size(); k < count; ++k)
      if (listed[k] < n_) mark[listed[k]] = listed_frozen ? FROZEN : 0u;
    any_frozen_ = false;
    for (unsigned v = 0; v < n_ && !any_frozen_; ++v) any_frozen_ = mark[v] == FROZEN;
    if (any_frozen_) {
      unsigned widest = 0;
      for (unsigned v = 0; v < n_; ++v)
        if (off_[v + 1] - off_[v] > widest) widest = off_[v + 1] - off_[v];
      if (!frozen_.resize(widest)) return OUT_OF_MEMORY;
    }
    return SUCCESS;
  }

  // The run; returns the number of distinct nodes changed, or -199 when
  // the queue cannot grow (the changes made so far stay).
  int run() noexcept {
    unsigned* mark = marks_.data();
    // The queue is sized for the first scan at once (a count first), so
    // that it does not hold two arrays while it grows through it.
    std::uint64_t first = 0;
    for_each_first_edge([&](double, unsigned i, unsigned j) {
      first += worth_queueing(i, j) + (mark[j] != FROZEN && worth_queueing(j, i));
      return true;
    });
    stats_.first = first;
    if (first == 0) return 0;
    const std::uint64_t room = first + first / 4;  // and some for the changes
    if (room > 0xFFFFFFF0u || !queue_.grow(unsigned(room)) ||
        !for_each_first_edge([&](double m, unsigned i, unsigned j) { return push_edge(m, 0, i, j); }))
      return OUT_OF_MEMORY;
    return drain();
  }

  // A later run, after the values of the listed nodes were changed from
  // outside (by the exchanges of gradation across parts): only their edges
  // are looked at first.  Returns the number of distinct nodes changed by
  // this run and the ones before it, or -199 as run().
  int run_from(const unsigned* nodes, unsigned count) noexcept {
    const unsigned* mark = marks_.data();
    for (unsigned k = 0; k < count; ++k) {
      const unsigned i = nodes[k];
      if (i >= n_) continue;
      const auto vi = field_.at(i);
      const double* pi = field_.point(i);
      for (unsigned a = off_[i]; a < off_[i + 1]; ++a) {
        const unsigned j = adj_[a];
        const double m = Field::template measure<Measure>(vi, pi, field_.at(j), field_.point(j));
        if (!(m > g_)) continue;
        // push_edge corrects its first node, which must be free.
        const bool pushed = mark[i] != FROZEN ? push_edge(m, counter_, i, j)
                                              : mark[j] == FROZEN || push_edge(m, counter_, j, i);
        if (!pushed) return OUT_OF_MEMORY;
      }
    }
    return drain();
  }

  const propagation_stats& stats() const noexcept { return stats_; }

 private:
  // Pops the queue until it is empty: the corrections, and the edges they
  // put back.
  int drain() noexcept {
    unsigned* mark = marks_.data();
    while (!queue_.empty()) {
      const queue_entry e = queue_.pop();
      ++stats_.pops;
      if (stale(e)) {
        ++stats_.stale;
        continue;
      }
      const unsigned i = e.node;
      const unsigned frozen = any_frozen_ ? gather_frozen(i) : 0;
      unsigned char mode = modes_[i];
      if (!corrector_.correct(i, e.neighbor, mode, frozen_.data(), frozen)) continue;
      modes_[i] = mode;
      if (mark[i] == 0) ++changed_;
      if (counter_ == limit_) renumber();
      mark[i] = ++counter_;
      ++stats_.changes;
      // The neighbours lie anywhere in memory: their data is asked for
      // first, all at once, and measured after.
      for (unsigned k = off_[i]; k < off_[i + 1]; ++k) {
        field_.prefetch(adj_[k]);
        __builtin_prefetch(mark + adj_[k]);
      }
      const auto vi = field_.at(i);
      const double* pi = field_.point(i);
      for (unsigned k = off_[i]; k < off_[i + 1]; ++k) {
        const unsigned j = adj_[k];
        const double m = Field::template measure<Measure>(vi, pi, field_.at(j), field_.point(j));
        if (m > g_ && !push_edge(m, counter_, i, j)) return OUT_OF_MEMORY;
      }
    }
    return int(changed_);
  }

  // An entry is stale when its node, or its neighbour when free, changed
  // after it was made.
  bool stale(const queue_entry& e) const noexcept {
    const unsigned* mark = marks_.data();
    return mark[e.node] > e.stamp || (mark[e.neighbor] != FROZEN && mark[e.neighbor] > e.stamp);
  }

  // Calls f(measure, i, j), until it returns false, for every edge above
  // the bound: each edge between free nodes once, from its smaller node i;
  // an edge to a frozen node from its free node i.  False when f did.
  template <class F>
  bool for_each_first_edge(F&& f) noexcept {
    const unsigned* mark = marks_.data();
    for (unsigned i = 0; i < n_; ++i) {
      if (mark[i] == FROZEN) continue;
      const auto vi = field_.at(i);
      const double* pi = field_.point(i);
      for (unsigned k = off_[i]; k < off_[i + 1]; ++k) {
        const unsigned j = adj_[k];
        if (j < i && mark[j] != FROZEN) continue;
        const double m = Field::template measure<Measure>(vi, pi, field_.at(j), field_.point(j));
        if (m > g_ && !f(m, i, j)) return false;
      }
    }
    return true;
  }

  // Whether correcting i against j would do anything.  While an entry is
  // current (neither node changed since it was made) the values and the
  // mode its correction reads are those it was made with, so an entry that
  // would come to nothing is not made: leaving it out changes nothing but
  // the queue's length.
  bool worth_queueing(unsigned i, unsigned j) const noexcept {
    return corrector_.plan_for(i, j, modes_[i]).t != 0;
  }

  // Queues the correction of i against j and, when j is free, of j
  // against i (those worth queueing).
  bool push_edge(double measure, unsigned stamp, unsigned i, unsigned j) noexcept {
    const float key = queue_key(measure);
    return (!worth_queueing(i, j) || push({key, stamp, i, j})) &&
           (marks_[j] == FROZEN || !worth_queueing(j, i) || push({key, stamp, j, i}));
  }

  bool push(const queue_entry& e) noexcept {
    if ((queue_.full() && !make_room()) || !queue_.push(e)) return false;
    ++stats_.pushes;
    if (queue_.size() > stats_.largest_queue) stats_.largest_queue = queue_.size();
    return true;
  }

  // Before the array grows, the stale entries are swept out; it grows (by
  // a quarter) only when that frees less than a sixteenth of it, since a
  // growing array is held twice while it is copied.  A sweep follows at
  // least a sixteenth of the array's pushes after the one before, so it
  // costs at most 16 entries looked at per push.  False when the array is
  // still full.
  bool make_room() noexcept {
    const unsigned capacity = queue_.size();
    if (capacity >= 64) {
      const unsigned dropped = queue_.sweep([this](const queue_entry& x) { return stale(x); }, [](queue_entry&) {});
      ++stats_.sweeps;
      stats_.swept += dropped;
      if (dropped >= capacity / 16) return true;
    }
    return queue_.grow(capacity / 4 + 64) || !queue_.full();
  }

  unsigned gather_frozen(unsigned i) noexcept {
    const unsigned* mark = marks_.data();
    unsigned* out = frozen_.data();
    unsigned n = 0;
    for (unsigned k = off_[i]; k < off_[i + 1]; ++k)
      if (mark[adj_[k]] == FROZEN) out[n++] = adj_[k];
    return n;
  }

  // The counter has reached its limit: the stale entries go, every changed
  // node's mark and every later stamp become 1, and the counter restarts
  // from 1.  Entries that were valid stay valid and stale ones are gone,
  // so nothing else notices.
  void renumber() noexcept {
    queue_.sweep([this](const queue_entry& x) { return stale(x); },
                 [](queue_entry& x) { x.stamp = x.stamp == 0 ? 0u : 1u; });
    unsigned* mark = marks_.data();
    for (unsigned v = 0; v < n_; ++v)
      if (mark[v] != 0 && mark[v] != FROZEN) mark[v] = 1;
    counter_ = 1;
  }

  Field& field_;
  node_corrector<Field, Measure> corrector_;
  const unsigned *off_, *adj_;
  unsigned n_;
  double g_;
  unsigned limit_, counter_ = 0, changed_ = 0;
  bool any_frozen_ = false;
  dense1D<unsigned, 8> marks_, frozen_;
  dense1D<unsigned char, 8> modes_;
  edge_queue queue_;
  propagation_stats stats_;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
