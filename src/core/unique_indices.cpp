// Distinct indices of lists and connectivities, in order of first appearance.
#include <zeb/plexa/indices.hpp>

#include "core/index_set.hpp"
#include "core/matrix_walk.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// Appends the new distinct values of a run of n entries; false on memory failure.
bool collect_run(const unsigned* p, std::size_t n, const detail::index_set& excluded, bool use_excluded,
                 detail::index_set& seen, dense1D<unsigned int, 8>& out) {
  for (std::size_t k = 0; k < n; ++k) {
    const unsigned v = p[k];
    if (v == NO_INDEX || (use_excluded && excluded.contains(v))) continue;
    const auto r = seen.insert(v);
    if (r == detail::index_set::skipped) return false;
    if (r == detail::index_set::inserted && !out.push_back(v)) return false;
  }
  return true;
}

int collect(dense1D<unsigned int, 8>& uIDs, const dense2D<unsigned int>* first, const dense2D<unsigned int>* last,
            const dense1D<unsigned int, 8>* list, const dense1D<unsigned int, 8>& excluded) {
  std::uint64_t total = 0;
  if (list) total = list->size();
  for (const dense2D<unsigned int>* m = first; m != last; ++m) total += std::uint64_t(m->rows()) * m->cols();
  if (total == 0) return 0;
  const unsigned old_size = uIDs.size();
  if (std::uint64_t(old_size) + total > UINT32_MAX || !uIDs.reserve(old_size + unsigned(total))) return -199;

  detail::index_set ex;
  const bool use_excluded = !excluded.empty();
  if (use_excluded) {
    if (!ex.init() || !ex.presize(excluded.size())) return -199;
    for (unsigned v : excluded)
      if (ex.insert(v) == detail::index_set::skipped) return -199;
  }
  detail::index_set seen;
  if (!seen.init() || !seen.presize(total)) return -199;

  bool ok = true;
  if (list) ok = collect_run(list->data(), list->size(), ex, use_excluded, seen, uIDs);
  for (const dense2D<unsigned int>* m = first; ok && m != last; ++m) {
    detail::for_each_column(*m, [&](const unsigned* col, unsigned) {
      if (ok) ok = collect_run(col, m->rows(), ex, use_excluded, seen, uIDs);
    });
  }
  if (!ok) {
    uIDs.resize(old_size);
    return -199;
  }
  return 0;
}

}  // namespace

int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense1D<unsigned int, 8>& IDs,
                   dense1D<unsigned int, 8> excluded) {
  return collect(uIDs, nullptr, nullptr, &IDs, excluded);
}

int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense2D<unsigned int>& connect,
                   dense1D<unsigned int, 8> excluded) {
  return collect(uIDs, &connect, &connect + 1, nullptr, excluded);
}

int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense2D<unsigned int>* first,
                   const dense2D<unsigned int>* last, dense1D<unsigned int, 8> excluded) {
  if (first == last) return 0;
  if (first > last) return -3;
  return collect(uIDs, first, last, nullptr, excluded);
}

int count_unique_indices(const dense2D<unsigned int>* first, const dense2D<unsigned int>* last) {
  if (first == last) return 0;
  if (first > last) return -2;
  std::uint64_t total = 0;
  for (const dense2D<unsigned int>* m = first; m != last; ++m) total += std::uint64_t(m->rows()) * m->cols();
  detail::index_set seen;
  if (!seen.init() || !seen.presize(total)) return -199;
  bool ok = true;
  for (const dense2D<unsigned int>* m = first; ok && m != last; ++m) {
    detail::for_each_entry(*m, [&](unsigned v) {
      if (ok && v != NO_INDEX && seen.insert(v) == detail::index_set::skipped) ok = false;
    });
  }
  return ok ? int(seen.size()) : -199;
}

int count_unique_indices(const dense2D<unsigned int>& connect) { return count_unique_indices(&connect, &connect + 1); }

}  // namespace plexa
}  // namespace zeb
