// The merging core behind every merge overload: the sources S are merged
// onto the targets T (distinct, valid node lists) by the rank rule of
// zeb/plexa/search.hpp.
#pragma once

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// How the core finds the candidates of a source.  `fastest` scans a uniform
// grid of bins where the result cannot depend on the visiting order and
// asks the k-d tree otherwise; `tree_only` asks the tree for every source
// (the reference that the fast path must reproduce, open to tests).
enum class merge_walk { fastest, tree_only };

// How many sources were answered without the tree (by the grid or the hash
// of exact places) and by the tree (for tests).
struct merge_counts {
  unsigned by_grid = 0;
  unsigned by_tree = 0;
};

// Which targets a source may take, by rank: below its own rank (mode 0),
// below the first rank of its own piece (mode 1), or those of the first
// piece only (mode 2), the pieces being the connectivities of [first, last)
// (unused in mode 0).  Leaves the flattened map of pos.cols() entries in
// `map` and returns the number of merged sources, or -199.  `counts`, when
// given, receives how the sources were answered.
int merge_core(const dense2D<double>& pos, const dense1D<unsigned, 8>& S, const dense1D<unsigned, 8>& T,
               const dense2D<unsigned>* first, const dense2D<unsigned>* last, unsigned mode, double tolerance,
               dense1D<unsigned, 8>& map, merge_walk walk = merge_walk::fastest, merge_counts* counts = nullptr);

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
