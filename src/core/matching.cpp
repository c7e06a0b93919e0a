// Matching of two index lists and of the columns of two connectivities.
#include <zeb/plexa/indices.hpp>

#include "core/aliasing.hpp"
#include "core/hashing.hpp"
#include "core/index_bitmap.hpp"
#include "core/index_map.hpp"
#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// Empties both outputs, detaching those that share storage with an input
// (given as its copy taken on entry) or with each other; 0, or -4 when they
// are one object.
template <class In>
int empty_outputs(const In& in1, const In& in2, dense1D<unsigned int, 8>& pos1, dense1D<unsigned int, 8>& pos2) {
  detail::empty_output(pos1, in1, in2, pos2);
  detail::empty_output(pos2, in1, in2, pos1);
  return &pos1 == &pos2 ? detail::bad_argument(4) : 0;
}

// Sizes the emptied outputs, filled with the marker.
bool reset_outputs(dense1D<unsigned int, 8>& pos1, unsigned n1, dense1D<unsigned int, 8>& pos2, unsigned n2) {
  if (pos1.resize(n1, NO_INDEX) && pos2.resize(n2, NO_INDEX)) return true;
  detail::fail(detail::OUT_OF_MEMORY, pos1, pos2);
  return false;
}

// Records the matches of b (walked from its last entry to its first) given
// first_pos(v), the first position of v in the first list or UINT_MAX.
template <class FirstPos>
void match_backwards(const unsigned* b, unsigned nb, FirstPos first_pos, unsigned* p1, unsigned* p2) {
  for (unsigned j = nb; j-- > 0;) {
    const unsigned i = first_pos(b[j]);
    if (i != NO_INDEX) {
      p1[j] = i;
      p2[i] = j;
    }
  }
}

// Multimap from column key to column index: chained buckets, a power-of-two
// bucket count starting at 8, doubled whenever an insertion would take the
// load factor above 1.
class column_table {
 public:
  bool init(unsigned columns) noexcept {
    return buckets_.resize(8, NO_INDEX) && entries_.reserve(columns);
  }

  bool insert(unsigned key, unsigned column) noexcept {
    if (count_ + 1 > buckets_.size() && buckets_.size() < (1u << 31) && !grow()) return false;
    unsigned& head = buckets_[bucket(key)];
    if (!entries_.push_back(entry{key, column, head})) return false;
    head = count_++;
    return true;
  }

  // Calls f(column) for every column entered under `key`.
  template <class F>
  void for_each_with_key(unsigned key, F&& f) const noexcept {
    const entry* e = entries_.data();
    for (unsigned k = buckets_[bucket(key)]; k != NO_INDEX; k = e[k].next)
      if (e[k].key == key) f(e[k].column);
  }

  // The minimal-standard generator step on the scrambled key.
  static unsigned bucket_hash(unsigned key) noexcept {
    const std::int64_t x = (key ^ 3735928559u) & 2147483647u;
    std::int64_t h = (x % 127773) * 16807 - (x / 127773) * 2836;
    if (h < 0) h += 2147483647;
    return unsigned(h);
  }

 private:
  struct entry {
    unsigned key, column, next;
  };

  unsigned bucket(unsigned key) const noexcept { return bucket_hash(key) & (buckets_.size() - 1); }

  bool grow() noexcept {
    dense1D<unsigned, 8> fresh;
    if (!fresh.resize(buckets_.size() * 2, NO_INDEX)) return false;
    buckets_ = static_cast<dense1D<unsigned, 8>&&>(fresh);
    entry* e = entries_.data();
    for (unsigned k = 0; k < count_; ++k) {
      unsigned& head = buckets_[bucket(e[k].key)];
      e[k].next = head;
      head = k;
    }
    return true;
  }

  dense1D<unsigned, 8> buckets_;
  dense1D<entry, 8> entries_;
  unsigned count_ = 0;
};

// Position of the largest entry (the first one when it repeats).
unsigned largest_at(const unsigned* c, unsigned rows) noexcept {
  unsigned best = 0;
  for (unsigned t = 1; t < rows; ++t)
    if (c[t] > c[best]) best = t;
  return best;
}

// True when a read cyclically from ra equals b read cyclically from rb, or,
// with `reversed`, b read from rb and then backwards.
bool same_cycle(const unsigned* a, unsigned ra, const unsigned* b, unsigned rb, unsigned rows, bool reversed) noexcept {
  bool equal = true;
  for (unsigned t = 0, ia = ra, ib = rb; t < rows && equal; ++t) {
    equal = a[ia] == b[ib];
    if (++ia == rows) ia = 0;
    if (++ib == rows) ib = 0;
  }
  if (equal || !reversed) return equal;
  if (a[ra] != b[rb]) return false;
  for (unsigned t = 1, ia = ra, ib = rb; t < rows; ++t) {
    if (++ia == rows) ia = 0;
    ib = ib == 0 ? rows - 1 : ib - 1;
    if (a[ia] != b[ib]) return false;
  }
  return true;
}

}  // namespace

int get_IDs(const dense1D<unsigned int, 8>& IDs1_arg, const dense1D<unsigned int, 8>& IDs2_arg,
            dense1D<unsigned int, 8>& pos1, dense1D<unsigned int, 8>& pos2) {
  const dense1D<unsigned int, 8> IDs1 = IDs1_arg, IDs2 = IDs2_arg;  // as on entry: an output may be one of them
  if (const int r = empty_outputs(IDs1, IDs2, pos1, pos2)) return r;
  const unsigned n1 = IDs1.size(), n2 = IDs2.size();
  if (!reset_outputs(pos1, n2, pos2, n1)) return detail::OUT_OF_MEMORY;
  if (n1 == 0 || n2 == 0) return 0;
  const unsigned* a = IDs1.data();
  const unsigned* b = IDs2.data();
  unsigned* p1 = pos1.data();
  unsigned* p2 = pos2.data();

  // Value -> first position in IDs1, entered from the last position to the
  // first so that the first one stays.  Close values go to a direct table.
  unsigned lo = NO_INDEX, hi = 0;
  detail::fold_range(a, n1, lo, hi);
  if (lo == NO_INDEX) return 0;  // IDs1 holds markers only
  const unsigned span = hi - lo;
  if (std::uint64_t(span) < 4 * std::uint64_t(n1) + 4096) {
    dense1D<unsigned, 8> first(span + 1, NO_INDEX);
    if (first.size() != span + 1) return detail::fail(detail::OUT_OF_MEMORY, pos1, pos2);
    unsigned* f = first.data();
    for (unsigned i = n1; i-- > 0;)
      if (a[i] != NO_INDEX) f[a[i] - lo] = i;
    // Values outside [lo, hi], the marker among them, never match.
    match_backwards(b, n2, [f, lo, span](unsigned v) { return v - lo <= span ? f[v - lo] : NO_INDEX; }, p1, p2);
    return 0;
  }
  detail::index_map first;
  if (!first.init(n1)) return detail::fail(detail::OUT_OF_MEMORY, pos1, pos2);
  for (unsigned i = n1; i-- > 0;)
    if (a[i] != NO_INDEX) first.assign(a[i], i);
  match_backwards(b, n2, [&first](unsigned v) { return v == NO_INDEX ? NO_INDEX : first.find(v); }, p1, p2);
  return 0;
}

int get_IDs(const dense2D<unsigned int>& connect1_arg, const dense2D<unsigned int>& connect2_arg,
            dense1D<unsigned int, 8>& pos1, dense1D<unsigned int, 8>& pos2, bool strict) {
  const dense2D<unsigned int> connect1 = connect1_arg, connect2 = connect2_arg;  // as on entry
  if (const int r = empty_outputs(connect1, connect2, pos1, pos2)) return r;
  const unsigned n1 = connect1.cols(), n2 = connect2.cols();
  if (!reset_outputs(pos1, n2, pos2, n1)) return detail::OUT_OF_MEMORY;
  if (connect1.empty() || connect2.empty()) return 0;
  if (connect1.rows() != connect2.rows()) return -2;
  const unsigned rows = connect1.rows();
  const unsigned* c1 = connect1.data();
  const unsigned* c2 = connect2.data();
  const std::size_t ld1 = connect1.ld(), ld2 = connect2.ld();

  column_table table;
  if (!table.init(n1)) return detail::fail(detail::OUT_OF_MEMORY, pos1, pos2);
  for (unsigned i = 0; i < n1; ++i)
    if (!table.insert(detail::unordered_key(c1 + i * ld1, rows), i)) return detail::fail(detail::OUT_OF_MEMORY, pos1, pos2);

  // Without strict, both columns are read from their largest entry on, and
  // the second one also backwards: equal cycles, either way round, match.
  const bool reversed = !strict && rows > 1;
  unsigned* p1 = pos1.data();
  unsigned* p2 = pos2.data();
  for (unsigned j = n2; j-- > 0;) {
    const unsigned* b = c2 + j * ld2;
    const unsigned rb = strict ? 0 : largest_at(b, rows);
    unsigned smallest = NO_INDEX;
    table.for_each_with_key(detail::unordered_key(b, rows), [&](unsigned i) {
      const unsigned* a = c1 + i * ld1;
      const unsigned ra = strict ? 0 : largest_at(a, rows);
      if (!same_cycle(b, rb, a, ra, rows, reversed)) return;
      if (j < p2[i]) p2[i] = j;
      if (i < smallest) smallest = i;
    });
    if (smallest != NO_INDEX) p1[j] = smallest;
  }
  return 0;
}

}  // namespace plexa
}  // namespace zeb
