// merge: maps every node lying within a tolerance of an eligible node onto a
// representative.  All overloads end in one core working on a source list
// and a target list of distinct nodes.
#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/search.hpp>

#include "core/aliasing.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "search/coincident_sources.hpp"
#include "search/kd_tree.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// One merged source node: squared distance, source, representative.
struct merge_record {
  double squared;
  unsigned source;
  unsigned target;
};

bool bad_tolerance(double tolerance) { return !(tolerance >= 0.0); }

// Which targets a source may take, by rank: below its own rank (mode 0 and
// the node-list forms), below the first rank of its own piece (mode 1), or
// those of the first piece only (mode 2).  Pieces are the connectivities of
// the range; since the nodes are ranked in order of first appearance, the
// nodes that first appear in piece k have the ranks [start[k], start[k+1]).
struct eligibility {
  unsigned mode = 0;
  dense1D<unsigned, 8> start;

  // Piece starts from the connectivities of [first, last) and the ranks.
  bool init(const dense2D<unsigned>* first, const dense2D<unsigned>* last, const unsigned* rank) {
    if (!start.resize(unsigned(last - first) + 1)) return false;
    unsigned seen = 0, k = 0;
    start[0] = 0;
    for (const dense2D<unsigned>* m = first; m != last; ++m) {
      detail::for_each_entry(*m, [&](unsigned v) {
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

// The core: merges the sources S onto the targets T (distinct valid node
// lists) and leaves the flattened map in `map`.  Returns the number of
// merged sources or -199.
template <unsigned D>
int merge_core(const dense2D<double>& pos, const dense1D<unsigned, 8>& S, const dense1D<unsigned, 8>& T,
               const dense2D<unsigned>* first, const dense2D<unsigned>* last, unsigned mode, double tolerance,
               dense1D<unsigned, 8>& map) {
  const unsigned n = pos.cols();
  dense1D<detail::build_item<D>, 8> tree;
  if (!detail::gather_items<D>(pos, T.data(), T.size(), tree)) return detail::OUT_OF_MEMORY;
  detail::order_implicit<D>(tree.data(), 0, tree.size(), 0);

  dense1D<unsigned, 8> rank;
  dense1D<merge_record, 8> records;
  dense1D<detail::range_step, 8> stack;
  eligibility rule;
  rule.mode = mode;
  if (!rank.resize(n, NO_INDEX) || !map.resize(n) || !stack.reserve(64) || !records.reserve(64)) return detail::OUT_OF_MEMORY;
  for (unsigned k = 0, m = T.size(); k < m; ++k) rank[T[k]] = k;
  if (mode != 0 && !rule.init(first, last, rank.data())) return detail::OUT_OF_MEMORY;
  unsigned* out = map.data();
  for (unsigned i = 0; i < n; ++i) out[i] = i;

  // One box query per source.  The result does not depend on the order of
  // the sources (eligibility is by rank, the records are applied at the end),
  // so when the sources are the targets they are taken in tree order: there
  // consecutive queries walk neighbouring paths of the tree.
  const bool same = S.data() == T.data() && S.size() == T.size();
  const double* x = pos.data();
  const std::size_t ld = pos.ld();
  const double d = tolerance, bound0 = tolerance * tolerance;
  const unsigned* rk = rank.data();
  const detail::build_item<D>* items = tree.data();
  // Places where many targets coincide: their later sources are answered
  // without a query (coincident_sources.hpp).
  detail::coincident_sources<D> places;
  dense1D<detail::place_candidate, 8> found;
  for (unsigned i = 0, m = S.size(); i < m; ++i) {
    const unsigned s = same ? items[i].node : S[i];
    const unsigned limit = rule.limit(rk[s]);
    if (limit == 0) continue;
    const double* p = same ? items[i].x : x + s * ld;
    const unsigned place = places.find(p);
    if (place != NO_INDEX && places.answered(place)) {
      double q;
      const unsigned t = places.answer(place, limit, q);
      if (t != NO_INDEX && !records.push_back(merge_record{q, s, t})) return detail::OUT_OF_MEMORY;
      continue;
    }
    double lo[D], hi[D];
    for (unsigned k = 0; k < D; ++k) {
      lo[k] = p[k] - d;
      hi[k] = p[k] + d;
    }
    unsigned best = s, copies = 0, within = 0;
    double bound = bound0;
    bool walked = detail::for_each_in_box<D>(items, tree.size(), lo, hi, stack, [&](const detail::build_item<D>& c) {
      const double q = detail::squared_distance<D>(c.x, p);
      if (q <= bound && rk[c.node] < limit) {
        best = c.node;
        bound = q;
      }
      within += q <= bound0;
      if (q == 0.0) copies += detail::same_place<D>(c.x, p);
    });
    if (!walked) return detail::OUT_OF_MEMORY;
    if (best != s && !records.push_back(merge_record{bound, s, best})) return detail::OUT_OF_MEMORY;
    if (copies >= detail::PLACE_COPIES && place == NO_INDEX) {
      // The same query again, keeping the candidates for the later sources.
      found.clear();
      if (!found.reserve(within)) return detail::OUT_OF_MEMORY;
      walked = detail::for_each_in_box<D>(items, tree.size(), lo, hi, stack, [&](const detail::build_item<D>& c) {
        const double q = detail::squared_distance<D>(c.x, p);
        if (q <= bound0) found.push_back(detail::place_candidate{q, rk[c.node], found.size()});  // reserved
      });
      if (!walked || !places.add(p, found.data(), found.size(), T.data(), T.size())) return detail::OUT_OF_MEMORY;
    }
  }

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

int run_core(const dense2D<double>& pos, const dense1D<unsigned, 8>& S, const dense1D<unsigned, 8>& T,
             const dense2D<unsigned>* first, const dense2D<unsigned>* last, unsigned mode, double tolerance,
             dense1D<unsigned, 8>& new_IDs) {
  dense1D<unsigned, 8> map;
  const int r = pos.rows() == 2 ? merge_core<2>(pos, S, T, first, last, mode, tolerance, map)
                                : merge_core<3>(pos, S, T, first, last, mode, tolerance, map);
  if (r >= 0) new_IDs = static_cast<dense1D<unsigned, 8>&&>(map);
  return r;
}

// The identity list 0 ... n - 1.
bool identity(unsigned n, dense1D<unsigned, 8>& list) {
  if (!list.resize(n)) return false;
  unsigned* p = list.data();
  for (unsigned i = 0; i < n; ++i) p[i] = i;
  return true;
}

}  // namespace

int merge(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes1, const dense1D<unsigned int, 8>& nodes2,
          dense1D<unsigned int, 8>& new_IDs, double tolerance) {
  // The lists as on entry: new_IDs may be one of them.
  const dense1D<unsigned int, 8> list1 = nodes1, list2 = nodes2;
  detail::empty_output(new_IDs, list1, list2);
  const unsigned n = pos.cols();
  if (n == 0) return 0;
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  if (!check_IDs(list1, n)) return -2;
  if (!check_IDs(list2, n)) return -3;
  if (bad_tolerance(tolerance)) return -4;

  dense1D<unsigned int, 8> S, T;
  if (unique_indices(S, list1, dense1D<unsigned int, 8>()) < 0) return detail::OUT_OF_MEMORY;
  if (list1 == list2)
    T = S;
  else if (unique_indices(T, list2, dense1D<unsigned int, 8>()) < 0)
    return detail::OUT_OF_MEMORY;
  if (S.empty() || T.empty()) return 0;
  return run_core(pos, S, T, nullptr, nullptr, 0, tolerance, new_IDs);
}

int merge(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes, dense1D<unsigned int, 8>& new_IDs,
          double tolerance) {
  return merge(pos, nodes, nodes, new_IDs, tolerance);
}

int merge(dense2D<double>& pos, dense1D<unsigned int, 8>& new_IDs, double tolerance) {
  new_IDs.clear_hard();
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  if (bad_tolerance(tolerance)) return -3;
  const unsigned n = pos.cols();
  if (n == 0) return 0;

  // The node-list form on 0 ... n - 1, already distinct.
  dense1D<unsigned int, 8> all, map;
  if (!identity(n, all)) return detail::OUT_OF_MEMORY;
  const int r = run_core(pos, all, all, nullptr, nullptr, 0, tolerance, map);
  // Argument codes of the inner form read one higher here (its tolerance is
  // this form's third argument); memory stays -199.
  if (r < 0) return (r < -2 && r != detail::OUT_OF_MEMORY) ? r + 1 : r;
  all.clear_hard();

  if (r > 0) {
    dense2D<double> moved;
    if (!moved.copy(pos)) return detail::OUT_OF_MEMORY;
    const unsigned rows = moved.rows();
    double* x = moved.data();
    for (unsigned i = 0; i < n; ++i) {
      const unsigned t = map[i];
      if (t != i)
        for (unsigned k = 0; k < rows; ++k) x[std::size_t(i) * rows + k] = x[std::size_t(t) * rows + k];
    }
    pos = static_cast<dense2D<double>&&>(moved);
  }
  new_IDs = static_cast<dense1D<unsigned int, 8>&&>(map);
  return r;
}

int merge(dense2D<double>& pos, double tolerance) {
  dense1D<unsigned int, 8> map;
  return merge(pos, map, tolerance);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>* first, dense2D<unsigned int>* last,
          dense1D<unsigned int, 8>& new_IDs, double tolerance, unsigned int mode) {
  new_IDs.clear_hard();
  const unsigned n = pos.cols();
  if (n == 0 || first == last) return 0;
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  if (first > last) return -3;
  if (bad_tolerance(tolerance)) return -5;
  if (mode > 2) return -6;
  for (const dense2D<unsigned int>* m = first; m != last; ++m)
    if (!check_IDs(*m, n)) return -2;

  dense1D<unsigned int, 8> nodes, map;
  if (unique_indices(nodes, first, last, dense1D<unsigned int, 8>()) < 0) return detail::OUT_OF_MEMORY;
  if (nodes.empty()) return 0;
  const int r = run_core(pos, nodes, nodes, first, last, mode, tolerance, map);
  if (r < 0) return r;
  if (r > 0)
    for (dense2D<unsigned int>* m = first; m != last; ++m) change_indices(*m, map);
  new_IDs = static_cast<dense1D<unsigned int, 8>&&>(map);
  return r;
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>* first, dense2D<unsigned int>* last, double tolerance,
          unsigned int mode) {
  dense1D<unsigned int, 8> map;
  return merge(pos, first, last, map, tolerance, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect1, dense2D<unsigned int>& connect2,
          dense1D<unsigned int, 8>& new_IDs, double tolerance, unsigned int mode) {
  // Views sharing the callers' storage: renumbering them renumbers the callers'.
  dense2D<unsigned int> range[2] = {connect1, connect2};
  return merge(pos, range, range + 2, new_IDs, tolerance, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect1, dense2D<unsigned int>& connect2,
          double tolerance, unsigned int mode) {
  dense1D<unsigned int, 8> map;
  return merge(pos, connect1, connect2, map, tolerance, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& new_IDs,
          double tolerance, unsigned int mode) {
  return merge(pos, &connect, &connect + 1, new_IDs, tolerance, mode);
}

int merge(const dense2D<double>& pos, dense2D<unsigned int>& connect, double tolerance, unsigned int mode) {
  dense1D<unsigned int, 8> map;
  return merge(pos, &connect, &connect + 1, map, tolerance, mode);
}

}  // namespace plexa
}  // namespace zeb
