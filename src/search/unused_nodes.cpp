// simplify: drops the nodes that no connectivity uses, from a given index
// on, and renumbers the connectivities.
#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/search.hpp>

#include <algorithm>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// Connectivities of the range may reach common entries (views of one
// block).  Renumbering them in place one after the other would renumber
// such an entry twice, so they are renumbered from copies of their entries
// taken before anything changes.

// True when *m reaches an entry of another connectivity of [first, last).
bool meets_another(const dense2D<unsigned int>* first, const dense2D<unsigned int>* last,
                   const dense2D<unsigned int>* m) {
  for (const dense2D<unsigned int>* o = first; o != last; ++o)
    if (o != m && detail::overlaps(*o, *m)) return true;
  return false;
}

// The entries of the connectivities that meet another, in range order and
// column by column; false when memory cannot be had.
bool copy_shared(const dense2D<unsigned int>* first, const dense2D<unsigned int>* last,
                 dense1D<unsigned int, 8>& originals) {
  std::uint64_t total = 0;
  for (const dense2D<unsigned int>* m = first; m != last; ++m)
    if (meets_another(first, last, m)) total += std::uint64_t(m->rows()) * m->cols();
  if (total == 0) return true;
  if (total > UINT32_MAX || !originals.resize(unsigned(total))) return false;
  unsigned* out = originals.data();
  for (const dense2D<unsigned int>* m = first; m != last; ++m)
    if (meets_another(first, last, m))
      detail::all_runs(*m, [&out](const unsigned* p, std::size_t n) {
        out = std::copy(p, p + n, out);
        return true;
      });
  return true;
}

void renumber(dense2D<unsigned int>* first, dense2D<unsigned int>* last, const dense1D<unsigned int, 8>& map,
              const dense1D<unsigned int, 8>& originals) {
  const unsigned* table = map.data();
  const unsigned size = map.size();
  const unsigned* from = originals.data();
  for (dense2D<unsigned int>* m = first; m != last; ++m) {
    if (!meets_another(first, last, m)) {
      change_indices(*m, map);
      continue;
    }
    detail::for_each_entry(*m, [&](unsigned& v) {
      const unsigned x = *from++;
      v = x < size ? table[x] : x;
    });
  }
}

}  // namespace

int simplify(dense2D<double>& pos, dense2D<unsigned int>* first, dense2D<unsigned int>* last,
             dense1D<unsigned int, 8>& new_IDs, unsigned int start) {
  new_IDs.clear_hard();
  if (first == last) return 0;
  if (first > last) return -3;
  const unsigned n = pos.cols();
  for (const dense2D<unsigned int>* m = first; m != last; ++m)
    if (!check_IDs(*m, n)) return -2;
  if (pos.empty() || start >= n) return 0;

  dense1D<unsigned int, 8> map, used, originals;
  if (!map.resize(n) || !used.resize(unsigned((std::uint64_t(n) + 31) / 32), 0u) || !copy_shared(first, last, originals))
    return detail::OUT_OF_MEMORY;
  unsigned* bits = used.data();
  for (const dense2D<unsigned int>* m = first; m != last; ++m)
    detail::for_each_entry(*m, [&](unsigned v) {
      if (v != NO_INDEX) bits[v / 32] |= 1u << (v % 32);
    });
  unsigned* out = map.data();
  unsigned k = start;
  for (unsigned i = 0; i < start; ++i) out[i] = i;
  for (unsigned i = start; i < n; ++i) out[i] = (bits[i / 32] >> (i % 32)) & 1u ? k++ : NO_INDEX;

  if (k < n) {
    const unsigned rows = pos.rows();
    if (pos.contiguous()) {
      // In place: shrinking a contiguous matrix does not allocate.
      double* x = pos.data();
      for (unsigned i = start; i < n; ++i)
        if (out[i] != NO_INDEX && out[i] < i)
          for (unsigned r = 0; r < rows; ++r) x[std::size_t(out[i]) * rows + r] = x[std::size_t(i) * rows + r];
      pos.resize(rows, k);
    } else {
      // A strided view gets a block of its own, made before anything changes.
      dense2D<double> fresh;
      if (!fresh.resize(rows, k)) return detail::OUT_OF_MEMORY;
      const double* x = pos.data();
      const std::size_t ld = pos.ld();
      double* y = fresh.data();
      for (unsigned i = 0; i < n; ++i)
        if (out[i] != NO_INDEX)
          for (unsigned r = 0; r < rows; ++r) y[std::size_t(out[i]) * rows + r] = x[i * ld + r];
      pos = static_cast<dense2D<double>&&>(fresh);
    }
    renumber(first, last, map, originals);
  }
  new_IDs = static_cast<dense1D<unsigned int, 8>&&>(map);
  return int(n - k);
}

int simplify(dense2D<double>& pos, dense2D<unsigned int>& connect1, dense2D<unsigned int>& connect2,
             unsigned int start) {
  dense1D<unsigned int, 8> map;
  if (&connect1 == &connect2) return simplify(pos, &connect1, &connect1 + 1, map, start);
  // Views sharing the callers' storage: renumbering them renumbers the callers'.
  dense2D<unsigned int> range[2] = {connect1, connect2};
  return simplify(pos, range, range + 2, map, start);
}

int simplify(dense2D<double>& pos, dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& new_IDs,
             unsigned int start) {
  return simplify(pos, &connect, &connect + 1, new_IDs, start);
}

int simplify(dense2D<double>& pos, dense2D<unsigned int>& connect, unsigned int start) {
  dense1D<unsigned int, 8> map;
  return simplify(pos, &connect, &connect + 1, map, start);
}

}  // namespace plexa
}  // namespace zeb
