// The merging core: one answer per source (the closest eligible target
// within the tolerance), then the chains flattened.
//
// The definition of an answer is a box query on the balanced k-d tree over
// the targets: among the eligible candidates at the smallest squared
// distance, the one the tree visits last.  Three ways give that answer, or
// one with the same root once the chains are flattened:
//
// - with tolerance 0 and every node eligible to those before it, a hash of
//   the places (exact_places.hpp): each node goes to the first at its place;
// - the tree itself (tree_answers), built on first use;
// - a uniform grid of bins (uniform_grid.hpp), sorted in one pass, whose
//   scans cost about one bin per source when few nodes are close.  Its
//   visiting order is not the tree's, so its answer is taken only when the
//   smallest distance is reached once.  When several candidates reach it,
//   the source asks the tree, except in one case where the choice cannot
//   change the flattened map (below).
//
// Every answer depends on its source only, so the grid and the tree mix
// freely.
#include "search/merge_core.hpp"

#include <cfloat>
#include <cmath>
#include <cstdint>

#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "search/coincident_sources.hpp"
#include "search/exact_places.hpp"
#include "search/kd_tree.hpp"
#include "search/uniform_grid.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

// One merged source node: squared distance, source, representative.
struct merge_record {
  double squared;
  unsigned source;
  unsigned target;
};

// Eligible target ranks by source rank (see merge_core.hpp).  Since the
// nodes are ranked in order of first appearance, the nodes that first appear
// in piece k have the ranks [start[k], start[k+1]).
struct eligibility {
  unsigned mode = 0;
  dense1D<unsigned, 8> start;

  // Piece starts from the connectivities of [first, last) and the ranks.
  bool init(const dense2D<unsigned>* first, const dense2D<unsigned>* last, const unsigned* rank) {
    if (!start.resize(unsigned(last - first) + 1)) return false;
    unsigned seen = 0, k = 0;
    start[0] = 0;
    for (const dense2D<unsigned>* m = first; m != last; ++m) {
      for_each_entry(*m, [&](unsigned v) {
        if (v != NO_INDEX && rank[v] >= seen) seen = rank[v] + 1;
      });
      start[++k] = seen;
    }
    return true;
  }

  // Bound on the target ranks for a source of rank r.
  unsigned limit(unsigned r) const {
    if (mode == 0) return r;
    if (mode == 2) return r < start[1] ? 0 : start[1];
    // The start of the last piece starting at or before r.
    unsigned lo = 0, hi = start.size() - 1;
    while (hi - lo > 1) {
      const unsigned mid = lo + (hi - lo) / 2;
      if (start[mid] <= r)
        lo = mid;
      else
        hi = mid;
    }
    return start[lo];
  }
};

// The answers by definition: box queries on the implicit balanced tree over
// the targets, made on first use.  Places where many targets coincide keep
// their answers for their later sources (coincident_sources.hpp).
template <unsigned D>
class tree_answers {
 public:
  tree_answers(const dense2D<double>& pos, const dense1D<unsigned, 8>& T, const unsigned* rank,
               double tolerance) noexcept
      : pos_(pos), T_(T), rank_(rank), d_(tolerance), d2_(tolerance * tolerance) {}

  // Builds the tree (once); false when memory cannot be had.
  bool ready() noexcept {
    if (built_) return true;
    if (!gather_items<D>(pos_, T_.data(), T_.size(), tree_) || !stack_.reserve(64)) return false;
    order_implicit<D>(tree_.data(), 0, tree_.size(), 0);
    built_ = true;
    return true;
  }

  // The targets in tree order (after ready()).
  const build_item<D>* items() const noexcept { return tree_.data(); }

  // The target that source s (at p, eligible ranks below `limit`) is merged
  // onto, with its squared distance; best = s when there is none.  False
  // when memory cannot be had.
  bool answer(unsigned s, const double* p, unsigned limit, unsigned& best, double& bound) noexcept {
    if (!ready()) return false;
    best = s;
    bound = d2_;
    const unsigned place = places_.find(p);
    if (place != NO_INDEX && places_.answered(place)) {
      double q;
      const unsigned t = places_.answer(place, limit, q);
      if (t != NO_INDEX) best = t, bound = q;
      return true;
    }
    double lo[D], hi[D];
    for (unsigned k = 0; k < D; ++k) {
      lo[k] = p[k] - d_;
      hi[k] = p[k] + d_;
    }
    const unsigned* rk = rank_;
    unsigned copies = 0, within = 0;
    const bool walked = for_each_in_box<D>(tree_.data(), tree_.size(), lo, hi, stack_, [&](const build_item<D>& c) {
      const double q = squared_distance<D>(c.x, p);
      if (q <= bound && rk[c.node] < limit) {
        best = c.node;
        bound = q;
      }
      within += q <= d2_;
      if (q == 0.0) copies += same_place<D>(c.x, p);
    });
    if (!walked) return false;
    if (copies < PLACE_COPIES || place != NO_INDEX) return true;
    // The same query again, keeping the candidates for the later sources.
    found_.clear();
    if (!found_.reserve(within)) return false;
    const bool again = for_each_in_box<D>(tree_.data(), tree_.size(), lo, hi, stack_, [&](const build_item<D>& c) {
      const double q = squared_distance<D>(c.x, p);
      if (q <= d2_) found_.push_back(place_candidate{q, rk[c.node], found_.size()});  // reserved
    });
    return again && places_.add(p, found_.data(), found_.size(), T_.data(), T_.size());
  }

 private:
  const dense2D<double>& pos_;
  const dense1D<unsigned, 8>& T_;
  const unsigned* rank_;
  double d_, d2_;
  bool built_ = false;
  dense1D<build_item<D>, 8> tree_;
  dense1D<range_step, 8> stack_;
  coincident_sources<D> places_;
  dense1D<place_candidate, 8> found_;
};

// Whether a coordinate of a target is so close to 0 without being 0 that
// two different places could have a squared distance of 0 (their
// differences squared underflowing): below 1e-140 in magnitude, since
// distinct doubles above that differ by more than 1e-162.
template <unsigned D>
bool tiny_coordinates(const dense2D<double>& pos, const dense1D<unsigned, 8>& T) noexcept {
  const double* x = pos.data();
  const std::size_t ld = pos.ld();
  for (unsigned t : T)
    for (unsigned k = 0; k < D; ++k) {
      const double v = std::fabs(x[t * ld + k]);
      if (v > 0.0 && v < 1e-140) return true;
    }
  return false;
}

// The outcome of one source's scan of the grid.
template <unsigned D>
struct grid_answer {
  const grid_item<D>* best = nullptr;
  double bound;
  bool ambiguous = false;  // the smallest distance is reached by candidates whose order matters
};

// Scans the bins of the box of source p for the eligible candidates (rank
// below `limit`) within the tolerance.
//
// With `one_place_ties` (mode 0 with the sources as targets, and no tiny
// coordinates) candidates at one place are interchangeable: every node of a
// place has an earlier node of that place at distance 0 (the first one
// excepted), and no other place is at distance 0, so all nodes of a place
// end on one root, and a source that ties between them may take any.  A
// source meeting an eligible node at its own place stops there.
template <unsigned D>
grid_answer<D> scan_grid(const uniform_grid<D>& grid, const double* p, unsigned limit, double d, double d2,
                         bool one_place_ties, std::uint64_t& checks) noexcept {
  grid_answer<D> a;
  a.bound = d2;
  double lo[D], hi[D];
  for (unsigned k = 0; k < D; ++k) {
    lo[k] = p[k] - d;
    hi[k] = p[k] + d;
  }
  bool done = false;
  grid.for_each_bin(lo, hi, [&](const grid_item<D>* it, const grid_item<D>* end) {
    if (done) return;
    const grid_item<D>* const begin = it;
    for (; it != end; ++it) {
      bool inside = true;
      for (unsigned k = 0; k < D; ++k) inside &= (lo[k] <= it->x[k]) & (it->x[k] <= hi[k]);
      if (!inside) continue;
      const double q = squared_distance<D>(it->x, p);
      if (!(q <= a.bound) || it->rank >= limit) continue;
      if (one_place_ties && q == 0.0 && same_place<D>(it->x, p)) {
        a.best = it;
        a.bound = 0.0;
        a.ambiguous = false;
        done = true;
        break;
      }
      if (a.best && q == a.bound)
        a.ambiguous |= !(one_place_ties && same_place<D>(it->x, a.best->x));
      else
        a.ambiguous = false;
      a.best = it;
      a.bound = q;
    }
    checks += std::uint64_t(it - begin);
  });
  return a;
}

// Applies the records to the identity map `out` and flattens the chains;
// returns the number of records.
int finish(const dense1D<unsigned, 8>& S, const dense1D<merge_record, 8>& records, unsigned* out) noexcept {
  for (const merge_record& r : records) out[r.source] = r.target;
  if (records.size() > 1) {
    // Every step of a chain goes to a target of smaller rank, so chains end.
    for (unsigned s : S) {
      unsigned root = s;
      while (out[root] != root) root = out[root];
      for (unsigned v = s; out[v] != root;) {
        const unsigned next = out[v];
        out[v] = root;
        v = next;
      }
    }
  }
  return int(records.size());
}

template <unsigned D>
int merge_with(const dense2D<double>& pos, const dense1D<unsigned, 8>& S, const dense1D<unsigned, 8>& T,
               const dense2D<unsigned>* first, const dense2D<unsigned>* last, unsigned mode, double tolerance,
               dense1D<unsigned, 8>& map, merge_walk walk, merge_counts& counts) {
  const unsigned n = pos.cols();
  dense1D<unsigned, 8> rank;
  dense1D<merge_record, 8> records;
  eligibility rule;
  rule.mode = mode;
  if (!rank.resize(n, NO_INDEX) || !map.resize(n) || !records.reserve(64)) return OUT_OF_MEMORY;
  for (unsigned k = 0, m = T.size(); k < m; ++k) rank[T[k]] = k;
  if (mode != 0 && !rule.init(first, last, rank.data())) return OUT_OF_MEMORY;
  unsigned* out = map.data();
  for (unsigned i = 0; i < n; ++i) out[i] = i;

  const bool same = S.data() == T.data() && S.size() == T.size();
  const double* x = pos.data();
  const std::size_t ld = pos.ld();
  const double d = tolerance, d2 = tolerance * tolerance;
  const unsigned* rk = rank.data();
  tree_answers<D> tree(pos, T, rk, tolerance);

  if (walk == merge_walk::fastest && d == 0.0 && mode == 0 && same) {
    // Exact coincidence only, every node eligible to those before it: each
    // node with finite coordinates goes to the first node at its place.
    first_at_place<D> places;
    if (!places.reset(pos, T.size())) return OUT_OF_MEMORY;
    for (unsigned s : T) {
      const double* p = x + s * ld;
      if (!finite_point<D>(p)) continue;
      const unsigned f = places.first(s, p);
      if (f != s && !records.push_back(merge_record{0.0, s, f})) return OUT_OF_MEMORY;
    }
    counts.by_grid = T.size();
    return finish(S, records, out);
  }

  // The grid, unless the tolerance is so large that squared distances may
  // overflow (then a candidate at an infinite distance can be eligible).
  bool by_grid = walk == merge_walk::fastest && d2 < DBL_MAX / 16;
  uniform_grid<D> grid;
  if (by_grid) {
    const auto built = grid.build(pos, T.data(), T.size(), d);
    if (built == uniform_grid<D>::NO_MEMORY) return OUT_OF_MEMORY;
    by_grid = built == uniform_grid<D>::BUILT;
  }
  if (by_grid) {
    // A distribution that puts many targets in a few bins costs more than
    // the tree: past this many candidates scanned the tree takes over.
    const std::uint64_t budget = 48 * std::uint64_t(T.size()) + (1u << 20);
    std::uint64_t checks = 0;
    const bool one_place_ties = mode == 0 && same && !tiny_coordinates<D>(pos, T);
    // Sources with a non-finite coordinate are never merged: their squared
    // distances are NaN or infinite.  When the sources are the targets they
    // are taken in the grid's order, where consecutive scans read
    // neighbouring bins.
    const unsigned count = same ? grid.size() : S.size();
    for (unsigned i = 0; i < count && by_grid; ++i) {
      unsigned s, r;
      const double* p;
      if (same) {
        const grid_item<D>& it = grid.items()[i];
        r = it.rank;
        s = it.node;
        p = it.x;
      } else {
        s = S[i];
        r = rk[s];
        p = x + s * ld;
        if (!finite_point<D>(p)) continue;
      }
      const unsigned limit = rule.limit(r);
      if (limit == 0) continue;
      const grid_answer<D> a = scan_grid<D>(grid, p, limit, d, d2, one_place_ties, checks);
      unsigned best = a.best ? a.best->node : s;
      double bound = a.bound;
      if (a.ambiguous && !tree.answer(s, p, limit, best, bound)) return OUT_OF_MEMORY;
      ++(a.ambiguous ? counts.by_tree : counts.by_grid);
      if (best != s && !records.push_back(merge_record{bound, s, best})) return OUT_OF_MEMORY;
      by_grid = checks <= budget;
    }
    if (!by_grid) records.clear(), counts = merge_counts();
  }
  if (!by_grid) {
    // Every source by the tree.  When the sources are the targets they are
    // taken in tree order: there consecutive queries walk neighbouring
    // paths of the tree.
    if (!tree.ready()) return OUT_OF_MEMORY;
    for (unsigned i = 0, m = S.size(); i < m; ++i) {
      const unsigned s = same ? tree.items()[i].node : S[i];
      const unsigned limit = rule.limit(rk[s]);
      if (limit == 0) continue;
      unsigned best;
      double bound;
      if (!tree.answer(s, same ? tree.items()[i].x : x + s * ld, limit, best, bound)) return OUT_OF_MEMORY;
      ++counts.by_tree;
      if (best != s && !records.push_back(merge_record{bound, s, best})) return OUT_OF_MEMORY;
    }
  }

  return finish(S, records, out);
}

}  // namespace

int merge_core(const dense2D<double>& pos, const dense1D<unsigned, 8>& S, const dense1D<unsigned, 8>& T,
               const dense2D<unsigned>* first, const dense2D<unsigned>* last, unsigned mode, double tolerance,
               dense1D<unsigned, 8>& map, merge_walk walk, merge_counts* counts) {
  merge_counts ignored;
  merge_counts& c = counts ? *counts : ignored;
  c = merge_counts();
  return pos.rows() == 2 ? merge_with<2>(pos, S, T, first, last, mode, tolerance, map, walk, c)
                         : merge_with<3>(pos, S, T, first, last, mode, tolerance, map, walk, c);
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
