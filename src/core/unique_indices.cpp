// Distinct indices of lists and connectivities, in order of first appearance.
//
// Values that lie close together (the usual case: node indices of a mesh)
// are collected with a bitmap over [smallest, largest value]; sparse values go to
// the index hash set with its sizing policy.  Both give the same results.
#include <algorithm>

#include <zeb/plexa/indices.hpp>

#include "core/aliasing.hpp"
#include "core/index_bitmap.hpp"
#include "core/index_set.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// How far ahead the hash set path asks for buckets: its look-ups are cache
// misses on large inputs, and a few in flight at once hide most of them.
constexpr std::size_t lookahead = 16;

// The entries of one call: an optional list, then a range of matrices.
struct index_source {
  const dense1D<unsigned int, 8>* list;
  const dense2D<unsigned int>* first;
  const dense2D<unsigned int>* last;

  // Calls f(pointer, count) on every run of entries in order; false as soon
  // as f returns false.
  template <class F>
  bool all_runs(F&& f) const {
    if (list && !list->empty() && !f(list->data(), std::size_t(list->size()))) return false;
    for (const dense2D<unsigned int>* m = first; m != last; ++m)
      if (!detail::all_runs(*m, f)) return false;
    return true;
  }

  // True when a list or matrix of the source shares storage with `v`.
  bool shares_storage(const dense1D<unsigned int, 8>& v) const {
    if (list && detail::shares_storage(*list, v)) return true;
    for (const dense2D<unsigned int>* m = first; m != last; ++m)
      if (detail::shares_storage(*m, v)) return true;
    return false;
  }

  // All entries in order, copied into `out` (`total` of them); false when
  // memory cannot be had.
  bool copy_entries(std::uint64_t total, dense1D<unsigned int, 8>& out) const {
    if (total > UINT32_MAX || !out.resize(unsigned(total))) return false;
    unsigned* to = out.data();
    all_runs([&to](const unsigned* p, std::size_t n) {
      to = std::copy(p, p + n, to);
      return true;
    });
    return true;
  }

  std::uint64_t total() const {
    std::uint64_t n = list ? list->size() : 0;
    for (const dense2D<unsigned int>* m = first; m != last; ++m) n += std::uint64_t(m->rows()) * m->cols();
    return n;
  }

  // Smallest and largest entries other than the marker (0 and 0 when there
  // is none).
  void value_range(unsigned& lo, unsigned& hi) const {
    lo = NO_INDEX;
    hi = 0;
    all_runs([&](const unsigned* p, std::size_t n) {
      detail::fold_range(p, n, lo, hi);
      return true;
    });
    if (lo == NO_INDEX) lo = 0;
  }
};

// Writes the new distinct values of src to out, which has room for all
// entries; returns how many were written, or -1 when memory ran out.
std::int64_t collect(const index_source& src, const dense1D<unsigned int, 8>& excluded, std::uint64_t total,
                     unsigned* out) {
  std::size_t added = 0;
  unsigned lo, hi;
  src.value_range(lo, hi);
  if (detail::bitmap_pays_off(hi - lo, total)) {
    detail::index_bitmap seen;
    if (!seen.init(lo, hi)) return -1;
    // Excluded values are marked as already seen; the marker never is.
    for (unsigned v : excluded) seen.mark_if_in_range(v);
    src.all_runs([&](const unsigned* p, std::size_t n) {
      for (std::size_t k = 0; k < n; ++k) {
        const unsigned v = p[k];
        if (v != NO_INDEX && seen.mark(v)) out[added++] = v;
      }
      return true;
    });
    return std::int64_t(added);
  }

  detail::index_set ex;
  const bool use_excluded = !excluded.empty();
  if (use_excluded) {
    if (!ex.init() || !ex.presize(excluded.size())) return -1;
    for (unsigned v : excluded)
      if (ex.insert(v) == detail::index_set::skipped) return -1;
  }
  detail::index_set seen;
  if (!seen.init() || !seen.presize(total)) return -1;
  const bool ok = src.all_runs([&](const unsigned* p, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k) {
      if (k + lookahead < n) seen.prefetch(p[k + lookahead]);
      const unsigned v = p[k];
      if (v == NO_INDEX || (use_excluded && ex.contains(v))) continue;
      const auto r = seen.insert(v);
      if (r == detail::index_set::skipped) return false;
      if (r == detail::index_set::inserted) out[added++] = v;
    }
    return true;
  });
  return ok ? std::int64_t(added) : -1;
}

// Appends to uIDs; on failure uIDs keeps its size (only its capacity may
// have grown).  Entries that share uIDs's storage, which the appends may
// move or overwrite, are read from copies made first.
int append_unique(dense1D<unsigned int, 8>& uIDs, const index_source& given, const dense1D<unsigned int, 8>& excluded_arg) {
  const std::uint64_t total = given.total();
  if (total == 0) return 0;
  const unsigned old_size = uIDs.size();
  if (std::uint64_t(old_size) + total > UINT32_MAX) return detail::OUT_OF_MEMORY;
  dense1D<unsigned int, 8> excluded, entries;
  index_source src = given;
  if (given.shares_storage(uIDs)) {
    if (!given.copy_entries(total, entries)) return detail::OUT_OF_MEMORY;
    src = index_source{&entries, nullptr, nullptr};
  }
  if (!detail::detach(excluded_arg, uIDs, excluded) || !uIDs.reserve(old_size + unsigned(total)))
    return detail::OUT_OF_MEMORY;
  // The new values are written past the current size, into the reserved
  // room, and become part of uIDs only once the whole walk succeeded.
  const std::int64_t added = collect(src, excluded, total, uIDs.data() + old_size);
  if (added < 0) return detail::OUT_OF_MEMORY;
  uIDs.resize(old_size + unsigned(added));  // within the reserved room: cannot fail
  return 0;
}

}  // namespace

int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense1D<unsigned int, 8>& IDs,
                   dense1D<unsigned int, 8> excluded) {
  return append_unique(uIDs, index_source{&IDs, nullptr, nullptr}, excluded);
}

int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense2D<unsigned int>& connect,
                   dense1D<unsigned int, 8> excluded) {
  return append_unique(uIDs, index_source{nullptr, &connect, &connect + 1}, excluded);
}

int unique_indices(dense1D<unsigned int, 8>& uIDs, const dense2D<unsigned int>* first,
                   const dense2D<unsigned int>* last, dense1D<unsigned int, 8> excluded) {
  if (first == last) return 0;
  if (!first || !last || first > last) return -3;
  return append_unique(uIDs, index_source{nullptr, first, last}, excluded);
}

int count_unique_indices(const dense2D<unsigned int>* first, const dense2D<unsigned int>* last) {
  if (first == last) return 0;
  if (!first || !last || first > last) return -2;
  const index_source src{nullptr, first, last};
  const std::uint64_t total = src.total();
  if (total == 0) return 0;

  unsigned lo, hi;
  src.value_range(lo, hi);
  if (detail::bitmap_pays_off(hi - lo, total)) {
    detail::index_bitmap seen;
    if (!seen.init(lo, hi)) return detail::OUT_OF_MEMORY;
    std::size_t count = 0;
    src.all_runs([&](const unsigned* p, std::size_t n) {
      count += seen.mark_run(p, n);
      return true;
    });
    return int(count);
  }

  detail::index_set seen;
  if (!seen.init() || !seen.presize(total)) return detail::OUT_OF_MEMORY;
  const bool ok = src.all_runs([&seen](const unsigned* p, std::size_t n) {
    for (std::size_t k = 0; k < n; ++k) {
      if (k + lookahead < n) seen.prefetch(p[k + lookahead]);
      if (p[k] != NO_INDEX && seen.insert(p[k]) == detail::index_set::skipped) return false;
    }
    return true;
  });
  return ok ? int(seen.size()) : detail::OUT_OF_MEMORY;
}

int count_unique_indices(const dense2D<unsigned int>& connect) { return count_unique_indices(&connect, &connect + 1); }

}  // namespace plexa
}  // namespace zeb
