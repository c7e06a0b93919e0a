// Scatter of a vector by a permutation list.
#include <zeb/plexa/indices.hpp>

#include <utility>

#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

namespace {

// The entry at position i < min(v.size(), perm.size()) moves to perm[i] when
// that is a position of v other than i.  The moves are written into a deep
// copy, so an entry that moves away keeps its old value at its old position
// unless something moves there; v then takes over the copy (storage of its
// own, as a deep copy would give).
template <class T>
int scatter(dense1D<T, 8>& v, const dense1D<unsigned int, 8>& perm) {
  if (v.empty()) return 0;
  dense1D<T, 8> t;
  if (!t.copy(v)) return detail::OUT_OF_MEMORY;
  const unsigned n = v.size();
  const unsigned m = perm.size() < n ? perm.size() : n;
  const T* from = v.data();
  const unsigned* to = perm.data();
  T* out = t.data();
  for (unsigned i = 0; i < m; ++i) {
    const unsigned j = to[i];
    if (j < n && j != i) out[j] = from[i];
  }
  v = std::move(t);
  return 0;
}

}  // namespace

int permutation(dense1D<unsigned int, 8>& v, const dense1D<unsigned int, 8>& perm) { return scatter(v, perm); }

int permutation(dense1D<double, 8>& v, const dense1D<unsigned int, 8>& perm) { return scatter(v, perm); }

}  // namespace plexa
}  // namespace zeb
